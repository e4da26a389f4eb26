// The script entry of all commands.
#include "app/actions/actions.h"
#include "app/actions/actionstate.h"
#include "app/actions/scriptwait.h"
#include "app/services/log.h"
#include "app/services/mainthread.h"

#include <algorithm>
#include <iterator>

namespace {
struct VALUE_TYPE {
    int NumBits;
    bool IsSigned;
};

VALUE_TYPE GetValueType(const QString& sDecl)
{
    const bool IsSigned = !sDecl.contains("unsigned");
    if (sDecl.contains("__int64")) return {64, IsSigned};
    return {sDecl.contains("char") ? 8 : 32, IsSigned};
}

/// Parameters whose handlers read base 16: addresses, and what a data breakpoint compares.
bool IsHexParam(const QString& sDecl)
{
    constexpr const char* HEX_NAMES[] = {"Addr", "Address", "AddrMask", "MatchValue", "ValueMask"};
    const QString sName = sDecl.section(' ', -1);
    return sDecl.contains("unsigned") && std::any_of(std::begin(HEX_NAMES), std::end(HEX_NAMES), [&](const char* s) { return sName == s; });
}

/// The value as the declared type holds it. A value that the type can't hold in either sign stays as it is,
/// so that the handler refuses it instead of working on other bits than the script gave.
I64 FitToType(I64 Value, VALUE_TYPE Type)
{
    if (Type.NumBits == 64) return Value;
    const I64 Range = I64(1) << Type.NumBits;
    if (Value < -Range / 2 || Value >= Range) return Value;
    if (Type.IsSigned) return Value >= Range / 2 ? Value - Range : Value;
    return Value < 0 ? Value + Range : Value;
}

QString FormatValue(I64 Value, const QString& sDecl)
{
    const I64 Fit = FitToType(Value, GetValueType(sDecl));
    if (IsHexParam(sDecl)) return QString::asprintf("0x%08llX", (unsigned long long)Fit);
    return QString::number(Fit);
}

bool ReadString(I64 Value, const QString& sName, QString* pText)
{
    const ACTION_HOOKS& Hooks = GetActionHooks();
    if (!Hooks.CheckStringArg || !Hooks.ReadStringArg) {
        LogError("No script heap to read the string arguments of " + sName);
        return false;
    }
    if (!Hooks.CheckStringArg(Value, sName)) return false;
    *pText = Hooks.ReadStringArg(Value);
    return true;
}
} // namespace

int BAPI(int ActionId, const I64* aArgs, int NumArgs)
{
    AssertMainThread("BAPI");
    if (!GetActionRow(ActionId)) return -1;
    const QString sName = GetCommandName(ActionId).remove('.');
    QStringList Params;
    for (int i = 0; i < NumArgs; i++) {
        QString sParam;
        if (!IsStringParam(ActionId, i))
            sParam = FormatValue(aArgs[i], GetParamDecl(ActionId, i));
        else if (!ReadString(aArgs[i], sName, &sParam))
            return -1;
        Params.append(sParam);
    }
    const I64 Result = PerformActionList(ActionId, Params);
    // A command that failed has started nothing, and the row's result is that of an earlier call.
    if (Result != -1 && !GetActionState(ActionId).Failed) WaitForScriptCall(ActionId, Params, Result);
    return int(Result);
}
