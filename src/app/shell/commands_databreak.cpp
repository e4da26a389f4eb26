// The commands on data breakpoints, by address or by symbol.
#include "app/actions/actions.h"
#include "app/actions/constants.h"
#include "app/shell/commandtable.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/queue/device.h"
#include "program/eval/expression.h"
#include "program/tables/prog.h"

#include <cstring>

namespace {

const CBreakpointsDataModel& Model()
{
    return CBreakpointsDataModel::Get();
}

/// An optional hexadecimal parameter of 32 bits; the default stays when it is missing.
template <class T> bool ParseHex(int Id, const QString& sText, T* pValue)
{
    if (sText.isEmpty()) return true;
    bool Ok = false;
    const U32 Value = sText.toUInt(&Ok, 16);
    if (Ok) *pValue = Value;
    if (!Ok) SetActionError(Id, ERR_INVALID_PARAM, sText);
    return Ok;
}

/// An optional name or number of a family of constants ("AT_"); the default stays when it is missing.
bool ParseEnum(int Id, const QString& sText, const char* sFamily, U32* pValue)
{
    if (sText.isEmpty()) return true;
    I64 Value = 0;
    const bool Ok = ParseNumberOrConstant(sText, &Value) && FindConstantByValue(QLatin1String(sFamily), Value);
    if (Ok) *pValue = U32(Value);
    if (!Ok) SetActionError(Id, ERR_INVALID_PARAM, sText);
    return Ok;
}

/// Where a symbol or an expression lies in memory, -1 if nowhere. The tables know names that are no expression.
I64 FindDataAddr(const QString& sText)
{
    CExpression Expr(sText);
    if (Expr.Evaluate() >= 0) return Expr.GetResult().GetMemAddr();
    int Kind = PROG_LOCATION_NONE;
    const CAddrRange Range = PROG_ResolveLocationText(sText, &Kind);
    return Kind == PROG_LOCATION_SYMBOL ? I64(Range.Start) : -1;
}

/// The record of the arguments: an address and its mask, or a symbol, then access and match. The last four
/// may be missing.
bool ParseWatchpoint(int Id, const QStringList& Params, WP* pWp)
{
    bool IsAddr = false;
    pWp->Addr = Params[0].toUInt(&IsAddr, 16);
    qsizetype Next = 1;
    if (IsAddr) {
        if (!ParseHex(Id, Params.value(Next++), &pWp->AddrMask)) return false;
    } else {
        const I64 Addr = FindDataAddr(Params[0]);
        if (Addr < 0) {
            SetActionError(Id, ERR_INVALID_PARAM, Params[0]);
            return false;
        }
        pWp->Addr = U32(Addr);
        const QByteArray Text = Params[0].toUtf8().left(int(sizeof(pWp->Expression)) - 1);
        std::memcpy(pWp->Expression, Text.constData(), size_t(Text.size()));
    }
    U32 Mask = 0xFFFFFFFFu;
    if (!ParseEnum(Id, Params.value(Next++), "AT_", &pWp->AccessType) ||
        !ParseEnum(Id, Params.value(Next++), "AW_", &pWp->AccessSize) ||
        !ParseHex(Id, Params.value(Next++), &pWp->MatchValue) || !ParseHex(Id, Params.value(Next++), &Mask))
        return false;
    pWp->ValueMask = Mask == 0xFFFFFFFFu ? ~U64(0) : Mask;
    return true;
}

bool IsSameWatchpoint(const WP& a, const WP& b)
{
    return a.Addr == b.Addr && a.AddrMask == b.AddrMask && a.MatchValue == b.MatchValue &&
           a.ValueMask == b.ValueMask && a.AccessType == b.AccessType && a.AccessSize == b.AccessSize;
}

/// The result that tells a script call which job to wait for: 1 something was set, 0 cleared.
template <BP_STATES STATE, bool MUST_EXIST> void OnWatchpoint(int Id)
{
    const QStringList Params = GetActionParams(Id);
    if (Params.isEmpty() || Params.size() > GetParamCount(Id))
        return SetActionError(Id, ERR_WRONG_PARAM_COUNT);
    WP Wanted;
    if (!ParseWatchpoint(Id, Params, &Wanted)) return;
    QList<WP> List;
    if (!MUST_EXIST) {
        List.append(Wanted);
    } else {
        for (const WP& Wp : Model().GetWatchpoints())
            if (IsSameWatchpoint(Wp, Wanted)) List.append(Wp);
        if (List.isEmpty())
            return SetActionError(Id, QStringLiteral("No breakpoint matches the given parameters."));
    }
    for (WP& Wp : List) Wp.State = STATE;
    SetActionResult(Id, STATE == BP_STATE_OFF ? 0 : 1);
    if (STATE == BP_STATE_OFF)
        CDevice::Get().ClearWatchpointsAsync(U32(List.size()), List.constData());
    else
        CDevice::Get().SetWatchpointsAsync(U32(List.size()), List.constData());
}

/// The points at a command's place, whatever they trigger on.
QList<WP> FindWatchpointsAt(const WP& Place)
{
    QList<WP> List;
    for (const WP& Wp : Model().GetWatchpoints())
        if (Wp.Addr == Place.Addr && Wp.AddrMask == Place.AddrMask) List.append(Wp);
    return List;
}

/// What stands at the place goes, and the point of the arguments comes. With nothing there the clear command
/// says so.
void OnWatchpointEdit(int Id)
{
    const bool OnSymbol = Id == ACT_BREAK_EDIT_ON_SYMBOL;
    const QStringList Params = GetActionParams(Id);
    WP Wanted;
    if (Params.isEmpty() || Params.size() > GetParamCount(Id))
        return SetActionError(Id, ERR_WRONG_PARAM_COUNT);
    if (!ParseWatchpoint(Id, Params, &Wanted)) return;
    const QList<WP> Old = FindWatchpointsAt(Wanted);
    if (Old.isEmpty())
        PerformActionList(OnSymbol ? ACT_BREAK_CLEAR_ON_SYMBOL : ACT_BREAK_CLEAR_ON_DATA,
                          Params.mid(0, OnSymbol ? 1 : 2));
    else
        CDevice::Get().ClearWatchpointsAsync(U32(Old.size()), Old.constData());
    SetActionResult(Id,
                    PerformActionList(OnSymbol ? ACT_BREAK_SET_ON_SYMBOL : ACT_BREAK_SET_ON_DATA, Params));
}

const char* GetAccessWidthName(U32 NumBytes)
{
    switch (NumBytes) {
    case 1:
        return "AW_BYTE";
    case 2:
        return "AW_HALF_WORD";
    case 4:
        return "AW_WORD";
    default:
        return "AW_ANY";
    }
}

/// A write of any value breaks: the comparator can't tell whether it is another one.
void OnBreakOnChange(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QString sSymbol = GetActionParam(Id);
    CExpression Expr(sSymbol);
    if (Expr.Evaluate() < 0 || Expr.GetResult().GetMemAddr() < 0)
        return SetActionError(Id, QStringLiteral("could not resolve the memory location of this symbol ") +
                                      sSymbol);
    ::PerformAction(ACT_BREAK_SET_ON_SYMBOL, sSymbol, QStringLiteral("AT_WRITE_ONLY"),
                    QLatin1String(GetAccessWidthName(Expr.GetResult().ByteSize)), QStringLiteral("0"),
                    QStringLiteral("FFFFFFFF"));
}

} // namespace

void RegisterDataBreakCommands()
{
    SetCommandHandler(ACT_BREAK_CLEAR_ALL_ON_DATA, [](int Id) {
        if (CheckParamCount(Id)) CDevice::Get().ClearAllWatchpointsAsync();
    });
    for (const int Id : {ACT_BREAK_SET_ON_DATA, ACT_BREAK_SET_ON_SYMBOL})
        SetCommandHandler(Id, OnWatchpoint<BP_STATE_ON, false>);
    for (const int Id : {ACT_BREAK_CLEAR_ON_DATA, ACT_BREAK_CLEAR_ON_SYMBOL})
        SetCommandHandler(Id, OnWatchpoint<BP_STATE_OFF, true>);
    for (const int Id : {ACT_BREAK_ENABLE_ON_DATA, ACT_BREAK_ENABLE_ON_SYMBOL})
        SetCommandHandler(Id, OnWatchpoint<BP_STATE_ON, true>);
    for (const int Id : {ACT_BREAK_DISABLE_ON_DATA, ACT_BREAK_DISABLE_ON_SYMBOL})
        SetCommandHandler(Id, OnWatchpoint<BP_STATE_DISABLED, true>);
    for (const int Id : {ACT_BREAK_EDIT_ON_DATA, ACT_BREAK_EDIT_ON_SYMBOL})
        SetCommandHandler(Id, OnWatchpointEdit);
    SetCommandHandler(ACT_BREAK_ON_CHANGE, OnBreakOnChange);
}
