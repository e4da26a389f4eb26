// The commands Script.Exec and Script.DefineConst, and what the settings tables need of the actions.
#include "script/host/bscript.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/actions/constants.h"
#include "app/services/log.h"
#include "project/settings/sysvars.h"
#include "script/host/scriptinstance.h"
#include "script/host/scriptstate.h"

#include <QVarLengthArray>

namespace BScript {

namespace {
constexpr qsizetype MAX_CONST_NAME = 127;
constexpr const char* EXEC_SYNTAX = "\"Script.Exec(<funcname> [,<para1>, <para2>,...])\"";

/// "4 MHz" where the value is a whole number of a unit.
QString FreqText(I64 Hz)
{
    if (const CONSTANT* pRow = FindConstantByValue(QStringLiteral("FREQ_"), Hz)) {
        return pRow->DisplayName;
    }
    struct UNIT {
        I64 Factor;
        const char* Name;
    };
    static constexpr UNIT UNITS[] = {{1000000000, "GHz"}, {1000000, "MHz"}, {1000, "kHz"}};
    for (const UNIT& Unit : UNITS) {
        if (Hz >= Unit.Factor && Hz % Unit.Factor == 0) {
            return QStringLiteral("%1 %2").arg(Hz / Unit.Factor).arg(QLatin1String(Unit.Name));
        }
    }
    return QStringLiteral("%1 Hz").arg(Hz);
}
} // namespace

void BindSettings()
{
    SETTINGS_HOOKS Hooks;
    Hooks.pfFindConstant = GetConstantValue;
    Hooks.pfParseFreq = ParseFrequency;
    Hooks.pfFreqText = FreqText;
    SetSettingsHooks(Hooks);
}

void OnScriptExec(int ActionId)
{
    const QStringList Params = GetActionParams(ActionId);
    const QString sCommand = GetCommandName(ActionId);
    // A script must not take the value of an earlier call for that of one that fails.
    SetActionResult(ActionId, -1);
    if (Params.isEmpty() || Params[0].isEmpty()) {
        SetActionError(ActionId, QStringLiteral("Script.Exec: no function name given"));
        return;
    }
    QVarLengthArray<I64, 8> Args;
    for (const QString& sParam : Params.mid(1)) {
        bool Ok = false;
        Args.append(sParam.toLongLong(&Ok, 10));
        if (!Ok) {
            SetActionError(ActionId, QLatin1String(ERR_INVALID_PARAM), sParam);
            return;
        }
    }
    if (IsProjectClosing()) {
        LogInfo(
            QStringLiteral("Not executing script function: %1. Project is about to close").arg(Params[0]));
        return;
    }
    I64 Value = 0;
    const int Result = RunFunction(Params[0], -1, static_cast<int>(Args.size()), Args.data(), &Value);
    // The function may have called Script.Exec, too, which leaves nothing to echo this call by.
    SetActionParamList(ActionId, Params);
    if (Result == -2) {
        SetActionError(ActionId,
                       sCommand +
                           QStringLiteral(" first parameter not a function name or function unknown. "
                                          "Compare with valid command syntax: ") +
                           QLatin1String(EXEC_SYNTAX));
    } else if (Result < 0) {
        SetActionError(ActionId, sCommand + QLatin1Char(' ') + GetErrorText() +
                                     QStringLiteral(". Check for valid command syntax: ") +
                                     QLatin1String(EXEC_SYNTAX));
    } else {
        SetActionResult(ActionId, Value);
        if (Hooks().LogScriptError) Hooks().LogScriptError();
        LogInfo(QStringLiteral("Script function \"%1\" executed").arg(Params[0]));
    }
}

void OnScriptDefineConst(int ActionId)
{
    if (!CheckParamCount(ActionId)) {
        return;
    }
    const QStringList Params = GetActionParams(ActionId);
    const QString sName = Params[0].left(MAX_CONST_NAME);
    I64 Value = 0;
    if (sName.isEmpty() || !Hooks().EvalExpr || !Hooks().EvalExpr(Params[1], &Value) ||
        !DefineConstant(sName, Value)) {
        SetActionError(ActionId, QLatin1String(ERR_INVALID_PARAM));
        return;
    }
    if (SCRIPT_INSTANCE* pScript = GetCurrentInstance()) {
        EnterConstant(pScript, sName, Value);
    }
}

} // namespace BScript
