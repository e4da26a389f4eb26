// The commands on break- and tracepoints.
#include "app/actions/actions.h"
#include "app/actions/constants.h"
#include "app/shell/commandtable.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/queue/device.h"
#include "program/eval/expression.h"
#include "program/tables/prog.h"
#include "project/settings/sysvars.h"

namespace {

CBreakpointsDataModel& Model()
{
    return CBreakpointsDataModel::Get();
}

BP_TYPES DefaultType()
{
    return BP_TYPES(GetVarValue(VAR_BREAKPOINT_TYPE));
}

/// The type of an ...Ex command, its last parameter. False with the error set for an unknown one.
bool ParseType(int Id, const QString& sText, BP_TYPES* pType)
{
    I64 Value = 0;
    if (!ParseNumberOrConstant(sText, &Value) || Value < 0 || Value > BP_TYPE_MIXED) {
        SetActionError(Id, ERR_INVALID_PARAM, sText);
        return false;
    }
    *pType = BP_TYPES(Value);
    return true;
}

/// An address parameter: hexadecimal, a symbol, or any expression with an address.
bool ParseLocationAddr(int Id, const QString& sText, U32* pAddr)
{
    bool Ok = false;
    *pAddr = sText.trimmed().toUInt(&Ok, 16);
    if (Ok) return true;
    int Kind = PROG_LOCATION_NONE;
    const CAddrRange Range = PROG_ResolveLocationText(sText, &Kind);
    if (Kind != PROG_LOCATION_NONE) {
        *pAddr = Range.Start;
        return true;
    }
    if (const I64 Addr = EVAL_GetAddress(sText); Addr >= 0) {
        *pAddr = U32(Addr);
        return true;
    }
    SetActionError(Id, ERR_INVALID_PARAM);
    return false;
}

/// A source location, moved to the next line with code; an invalid one for a text that names none. A symbol or address
/// stands for its line.
CSrcLoc FindCodeLine(const QString& sText)
{
    CSrcLoc Loc = PROG_ParseSrcLoc(sText);
    if (!Loc.IsValid()) {
        int Kind = PROG_LOCATION_NONE;
        const CAddrRange Range = PROG_ResolveLocationText(sText, &Kind);
        if (Kind != PROG_LOCATION_NONE) Loc = PROG_GetFirstSrcLoc(Range.Start);
    }
    if (!Loc.IsValid()) return {};
    Loc.Col = 0;
    return Model().GetCodeLine(Loc);
}

bool ParseLocationSrc(int Id, const QString& sText, CSrcLoc* pLoc)
{
    *pLoc = FindCodeLine(sText);
    if (!pLoc->IsValid()) SetActionError(Id, ERR_INVALID_PARAM);
    return pLoc->IsValid();
}

// ---- Instruction breakpoints ---------------------------------------------------------------------------

void OnBreakSet(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QStringList Params = GetActionParams(Id);
    U32 Addr = 0;
    BP_TYPES Type = DefaultType();
    if (!ParseLocationAddr(Id, Params[0], &Addr) || (Id == ACT_BREAK_SET_EX && !ParseType(Id, Params[1], &Type))) return;
    const CBreakpoint Record = Model().GetBreakpoint(Addr);
    if (Record.State == BP_STATE_ON && Record.PermittedImpl == Type)
        return SetActionError(Id, QStringLiteral("Breakpoint already set"));
    CDevice::Get().SetBreakpointAsync(Addr, BP_STATE_ON, Type);
}

void OnBreakClear(int Id)
{
    U32 Addr = 0;
    if (!CheckParamCount(Id) || !ParseLocationAddr(Id, GetActionParam(Id), &Addr)) return;
    const CBreakpoint Record = Model().GetBreakpoint(Addr);
    if (Record.Derived)
        return SetActionError(Id, QStringLiteral("Derived instruction breakpoints cannot be cleared"));
    if (Record.State == BP_STATE_OFF) return SetActionError(Id, QStringLiteral("Breakpoint not set"));
    CDevice::Get().ClearBreakpointAsync(Addr);
}

void OnBreakEnable(int Id)
{
    U32 Addr = 0;
    if (!CheckParamCount(Id) || !ParseLocationAddr(Id, GetActionParam(Id), &Addr)) return;
    const CBreakpoint Record = Model().GetBreakpoint(Addr);
    const bool On = Id == ACT_BREAK_ENABLE;
    if (On && Record.State == BP_STATE_ON) return SetActionError(Id, QStringLiteral("Breakpoint not disabled"));
    if (!On && Record.State == BP_STATE_DISABLED) return SetActionError(Id, QStringLiteral("Breakpoint not set"));
    CDevice::Get().SetBreakpointAsync(Addr, On ? BP_STATE_ON : BP_STATE_DISABLED, BP_TYPES(Record.PermittedImpl));
}

// ---- Source breakpoints --------------------------------------------------------------------------------

void OnBreakSetOnSrc(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QStringList Params = GetActionParams(Id);
    CSrcLoc Loc;
    BP_TYPES Type = DefaultType();
    if (!ParseLocationSrc(Id, Params[0], &Loc) || (Id == ACT_BREAK_SET_ON_SRC_EX && !ParseType(Id, Params[1], &Type)))
        return;
    const CBreakpoint Record = Model().GetBreakpoint(Loc);
    if (Record.State == BP_STATE_ON && Record.PermittedImpl == Type)
        return SetActionError(Id, QStringLiteral("Breakpoint already set"));
    Model().SetSourceBreakpoint(Loc, BP_STATE_ON, Type);
}

void OnBreakClearOnSrc(int Id)
{
    CSrcLoc Loc;
    if (!CheckParamCount(Id) || !ParseLocationSrc(Id, GetActionParam(Id), &Loc)) return;
    if (Model().GetBreakpoint(Loc).State == BP_STATE_OFF)
        return SetActionError(Id, QStringLiteral("Breakpoint not set"));
    Model().ClearSourceBreakpoint(Loc);
}

void OnBreakEnableOnSrc(int Id)
{
    CSrcLoc Loc;
    if (!CheckParamCount(Id) || !ParseLocationSrc(Id, GetActionParam(Id), &Loc)) return;
    const CBreakpoint Record = Model().GetBreakpoint(Loc);
    const bool On = Id == ACT_BREAK_ENABLE_ON_SRC;
    if (On && Record.State == BP_STATE_ON) return SetActionError(Id, QStringLiteral("Breakpoint not disabled"));
    if (!On && Record.State == BP_STATE_DISABLED) return SetActionError(Id, QStringLiteral("Breakpoint not set"));
    Model().SetSourceBreakpoint(Loc, On ? BP_STATE_ON : BP_STATE_DISABLED, BP_TYPES(Record.PermittedImpl));
}

void OnBreakClearAll(int Id)
{
    if (CheckParamCount(Id)) Model().ClearAll();
}

// ---- Extras --------------------------------------------------------------------------------------------

/// The record that a location names; false with the error set if there is none.
bool RequireRecord(int Id, const QString& sLocation, CBreakpoint* pRecord)
{
    *pRecord = Model().FindBreakpoint(sLocation);
    if (pRecord->State != BP_STATE_OFF) return true;
    SetActionError(Id, ERR_INVALID_PARAM);
    return false;
}

/// A script function may follow the parameters that the prototype shows.
void OnBreakEdit(int Id)
{
    const QStringList Params = GetActionParams(Id);
    if (Params.size() != GetParamCount(Id) + 1 && !CheckParamCount(Id)) return;
    CBreakpoint Record;
    I64 OnChange = 0, Skip = 0;
    if (!RequireRecord(Id, Params[0], &Record) || !ParseNumberParam(Id, Params[2], &OnChange) ||
        !ParseNumberParam(Id, Params[3], &Skip))
        return;
    if (Skip < 0 || Skip > 0xFFFFFFFF) return SetActionError(Id, ERR_INVALID_PARAM, Params[3]);
    Record.Condition = Params[1];
    Record.TriggerOnChange = OnChange != 0;
    Record.SkipCount = U32(Skip);
    Record.TaskName = Params[4];
    Record.ConsoleMsg = Params[5];
    Record.PopupMsg = Params[6];
    Record.ScriptCallback = Params.value(7);
    Model().EditBreakpoint(Record);
}

void OnBreakSetType(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QStringList Params = GetActionParams(Id);
    CBreakpoint Record;
    BP_TYPES Type = BP_TYPE_ANY;
    if (!RequireRecord(Id, Params[0], &Record) || !ParseType(Id, Params[1], &Type)) return;
    if (Record.Loc.IsValid())
        Model().SetSourceBreakpoint(Record.Loc, BP_STATES(Record.State), Type);
    else
        CDevice::Get().SetBreakpointAsync(U32(Record.Addr), BP_STATES(Record.State), Type);
}

void OnBreakSetCommand(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QStringList Params = GetActionParams(Id);
    CBreakpoint Record;
    if (!RequireRecord(Id, Params[0], &Record)) return;
    Record.ScriptCallback = Params[1];
    Model().EditBreakpoint(Record);
}

// ---- Tracepoints ---------------------------------------------------------------------------------------

bool FindTracepoint(U32 Addr, TP* pTp)
{
    for (const TP& Tp : Model().GetTracepoints()) {
        if (U32(Tp.Addr) != Addr) continue;
        *pTp = Tp;
        return true;
    }
    return false;
}

void OnTraceSetPoint(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QStringList Params = GetActionParams(Id);
    I64 Op = 0;
    U32 Addr = 0;
    if (!ParseNumberParam(Id, Params[0], &Op)) return;
    if (Op != TP_OP_START && Op != TP_OP_STOP) return SetActionError(Id, ERR_INVALID_PARAM, Params[0]);
    if (!ParseLocationAddr(Id, Params[1], &Addr)) return;
    TP Tp;
    if (FindTracepoint(Addr, &Tp)) return SetActionError(Id, QStringLiteral("Tracepoint already set"));
    Tp.Op = Op == TP_OP_STOP ? TP_OP_STOP : TP_OP_START;
    Tp.Addr = Addr;
    Tp.State = BP_STATE_ON;
    Tp.HasSourceInfo = PROG_HasExactSrcLoc(Addr);
    CDevice::Get().SetTracepointsAsync(1, &Tp);
}

void OnTraceEditPoint(int Id)
{
    U32 Addr = 0;
    if (!CheckParamCount(Id) || !ParseLocationAddr(Id, GetActionParam(Id), &Addr)) return;
    TP Tp;
    if (!FindTracepoint(Addr, &Tp)) return SetActionError(Id, QStringLiteral("Tracepoint not set"));
    if (Id == ACT_TRACE_ENABLE_POINT && Tp.State == BP_STATE_ON)
        return SetActionError(Id, QStringLiteral("Tracepoint already set"));
    if (Id == ACT_TRACE_CLEAR_POINT) {
        CDevice::Get().ClearTracepointsAsync(1, &Tp);
        return;
    }
    Tp.State = Id == ACT_TRACE_ENABLE_POINT ? BP_STATE_ON : BP_STATE_DISABLED;
    CDevice::Get().SetTracepointsAsync(1, &Tp);
}

} // namespace

int GetNumBreakAddrs(const QString& sLocation)
{
    return int(CBreakpointsDataModel::GetDerivedAddrs(FindCodeLine(sLocation)).size());
}

void RegisterBreakCommands()
{
    SetCommandHandler(ACT_BREAK_SET, OnBreakSet);
    SetCommandHandler(ACT_BREAK_SET_EX, OnBreakSet);
    SetCommandHandler(ACT_BREAK_CLEAR, OnBreakClear);
    SetCommandHandler(ACT_BREAK_ENABLE, OnBreakEnable);
    SetCommandHandler(ACT_BREAK_DISABLE, OnBreakEnable);
    SetCommandHandler(ACT_BREAK_SET_ON_SRC, OnBreakSetOnSrc);
    SetCommandHandler(ACT_BREAK_SET_ON_SRC_EX, OnBreakSetOnSrc);
    SetCommandHandler(ACT_BREAK_CLEAR_ON_SRC, OnBreakClearOnSrc);
    SetCommandHandler(ACT_BREAK_ENABLE_ON_SRC, OnBreakEnableOnSrc);
    SetCommandHandler(ACT_BREAK_DISABLE_ON_SRC, OnBreakEnableOnSrc);
    SetCommandHandler(ACT_BREAK_CLEAR_ALL, OnBreakClearAll);
    SetCommandHandler(ACT_BREAK_EDIT, OnBreakEdit);
    SetCommandHandler(ACT_BREAK_SET_TYPE, OnBreakSetType);
    SetCommandHandler(ACT_BREAK_SET_COMMAND, OnBreakSetCommand);
    SetCommandHandler(ACT_BREAK_SET_CMD_ON_ADDR, OnBreakSetCommand);
    RegisterDataBreakCommands();
    SetCommandHandler(ACT_TRACE_SET_POINT, OnTraceSetPoint);
    for (const int Id : {ACT_TRACE_CLEAR_POINT, ACT_TRACE_ENABLE_POINT, ACT_TRACE_DISABLE_POINT})
        SetCommandHandler(Id, OnTraceEditPoint);
    SetCommandHandler(ACT_TRACE_CLEAR_ALL_POINTS,
                      [](int Id) { if (CheckParamCount(Id)) CDevice::Get().ClearAllTracepointsAsync(); });
}
