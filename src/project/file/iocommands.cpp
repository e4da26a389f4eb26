// Commands for target output, trace, symbols and the session.
#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/services/log.h"
#include "project/file/project.h"
#include "project/file/projectcommands.h"
#include "project/finder/filefinder.h"
#include "project/settings/sysvars.h"

namespace {
constexpr I64 TRACE_SWO = 3;
constexpr I64 TRACE_NONE = 0;

const PROJECT_HOOKS& Hooks()
{
    return CProject::Get().GetHooks();
}

void InvalidParam(int Id, const QString& sParam)
{
    SetActionError(Id, QLatin1String(ERR_INVALID_PARAM), sParam);
}

/// Sets a variable to a value and tells who reacts to it.
void Apply(int VarID, I64 Value)
{
    SetVar(VarID, Value, false);
    if (VarID < FIRST_PREFERENCE && Hooks().SysVarChanged) {
        Hooks().SysVarChanged(VarID, Value);
    } else if (VarID >= FIRST_PREFERENCE && Hooks().PreferenceChanged) {
        Hooks().PreferenceChanged(VarID, Value);
    }
}

/// A parameter as a value of a variable; without one the action's error is set.
bool ParseParam(int Id, int VarID, const QString& sParam, I64* pValue)
{
    bool Ok = false;
    *pValue = ParseVar(VarID, sParam, &Ok);
    if (!Ok) {
        InvalidParam(Id, sParam);
    }
    return Ok;
}

/// A command whose one parameter is the value of a variable.
void SetOneVar(int Id, int VarID)
{
    I64 Value = 0;
    if (ParseParam(Id, VarID, GetActionParams(Id)[0], &Value)) {
        Apply(VarID, Value);
    }
}

void SetSwitch(int Id, int VarID, const std::function<bool(bool)>& Hook)
{
    I64 Value = 0;
    if (!ParseParam(Id, VarID, GetActionParams(Id)[0], &Value)) {
        return;
    }
    SetVar(VarID, Value, false);
    if (Hook) {
        Hook(Value != 0);
    } else {
        Apply(VarID, Value);
    }
}

void ConfigSemihosting(int Id)
{
    if (Hooks().ConfigSemihosting && !Hooks().ConfigSemihosting(GetActionParams(Id)[0])) {
        InvalidParam(Id, GetActionParams(Id)[0]);
    }
}

void AddMemlaneSearchRange(int Id)
{
    const QStringList Params = GetActionParams(Id);
    bool AddrOk = false;
    bool SizeOk = false;
    const U32 Addr = Params[0].toUInt(&AddrOk, 16);
    const U32 Size = Params[1].toUInt(&SizeOk, 0);
    if (!AddrOk || !SizeOk) {
        InvalidParam(Id, AddrOk ? Params[1] : Params[0]);
    } else if (Hooks().AddMemlaneSearchRange && !Hooks().AddMemlaneSearchRange(Addr, Size)) {
        LogError(QStringLiteral("Could not add Memlane search range. Buffer full."));
    }
}

/// The two frequencies of the SWO commands, from Params[First] on.
bool ApplySWOSpeeds(int Id, const QStringList& Params, int First)
{
    I64 Speed = 0;
    I64 CpuSpeed = 0;
    if (!ParseParam(Id, VAR_SWO_SPEED, Params[First], &Speed) ||
        !ParseParam(Id, VAR_SWO_CPU_SPEED, Params[First + 1], &CpuSpeed)) {
        return false;
    }
    Apply(VAR_SWO_SPEED, Speed);
    Apply(VAR_SWO_CPU_SPEED, CpuSpeed);
    return true;
}

void ConfigSWO(int Id)
{
    ApplySWOSpeeds(Id, GetActionParams(Id), 0);
}

void SetSWO(int Id)
{
    const QStringList Params = GetActionParams(Id);
    I64 OnOff = 0;
    // Any yes/no row knows the words of a switch.
    if (!ParseParam(Id, VAR_SEMIHOSTING_ENABLED, Params[0], &OnOff) || !ApplySWOSpeeds(Id, Params, 1)) {
        return;
    }
    if (OnOff) {
        Apply(VAR_TRACE_SOURCE, TRACE_SWO);
    } else if (GetVarValue(VAR_TRACE_SOURCE) == TRACE_SWO) {
        Apply(VAR_TRACE_SOURCE, TRACE_NONE);
    }
}

void SetTraceTiming(int Id)
{
    const QStringList Params = GetActionParams(Id);
    I64 aDelay[4] = {};
    for (int i = 0; i < 4; ++i) {
        if (!ParseParam(Id, VAR_TRACE_PORT_DELAY_0 + i, Params[i], &aDelay[i])) {
            return;
        }
    }
    for (int i = 0; i < 4; ++i) {
        Apply(VAR_TRACE_PORT_DELAY_0 + i, aDelay[i]);
    }
    Apply(VAR_TRACE_OVERRIDE_TIMINGS, 1);
}

void SetTraceFile(int Id)
{
    const QStringList Params = GetActionParams(Id);
    I64 MaxSize = 0;
    I64 KeepStart = 0;
    if (!ParseParam(Id, VAR_TRACE_FILE_MAX_SIZE, Params[1], &MaxSize) ||
        !ParseParam(Id, VAR_TRACE_FILE_KEEP_START, Params[2], &KeepStart)) {
        return;
    }
    if (SetVarString(VAR_TRACE_FILE_PATH, Params[0], false) < 0) {
        InvalidParam(Id, Params[0]);
        return;
    }
    Apply(VAR_TRACE_FILE_MAX_SIZE, MaxSize);
    Apply(VAR_TRACE_FILE_KEEP_START, KeepStart);
    Apply(VAR_TRACE_FILE_ENABLED, 1);
}

void RelocateSymbols(int Id)
{
    const QStringList Params = GetActionParams(Id);
    bool Ok = false;
    const int Offset = Params[1].toInt(&Ok, 0);
    if (!Ok || (Hooks().RelocateSymbols && !Hooks().RelocateSymbols(Params[0], Offset))) {
        SetActionError(
            Id,
            QStringLiteral("%1 \"%2\"").arg(QLatin1String(ERR_INVALID_PARAM), Ok ? Params[0] : Params[1]));
    }
}

void SetMemZoneRunning(int Id)
{
    const QString sZone = GetActionParams(Id)[0];
    if (SetVarString(VAR_MEM_ZONE_RUNNING, sZone, false) < 0) {
        InvalidParam(Id, sZone);
    } else if (Hooks().SysVarChanged) {
        Hooks().SysVarChanged(VAR_MEM_ZONE_RUNNING, 0);
    }
}
} // namespace

bool HandleIOSetting(int ActionId)
{
    void (*pfHandler)(int) = nullptr;
    switch (ActionId) {
    case ACT_PROJECT_SET_SEMIHOSTING:
        pfHandler = [](int Id) { SetSwitch(Id, VAR_SEMIHOSTING_ENABLED, Hooks().SetSemihosting); };
        break;
    case ACT_PROJECT_CONFIG_SEMIHOSTING:
        pfHandler = ConfigSemihosting;
        break;
    case ACT_PROJECT_SET_MEMLANE:
        pfHandler = [](int Id) { SetSwitch(Id, VAR_MEMLANE_ENABLED, Hooks().SetMemlane); };
        break;
    case ACT_PROJECT_ADD_MEMLANE_SEARCH_RANGE:
        pfHandler = AddMemlaneSearchRange;
        break;
    case ACT_PROJECT_CONFIG_SWO:
        pfHandler = ConfigSWO;
        break;
    case ACT_PROJECT_SET_SWO:
        pfHandler = SetSWO;
        break;
    case ACT_PROJECT_SET_TRACE_SOURCE:
        pfHandler = [](int Id) { SetOneVar(Id, VAR_TRACE_SOURCE); };
        break;
    case ACT_PROJECT_SET_TRACE_PORT_WIDTH:
        pfHandler = [](int Id) { SetOneVar(Id, VAR_TRACE_PORT_WIDTH); };
        break;
    case ACT_PROJECT_SET_TRACE_TIMING:
        pfHandler = SetTraceTiming;
        break;
    case ACT_PROJECT_SET_TRACE_FILE:
        pfHandler = SetTraceFile;
        break;
    case ACT_PROJECT_SET_BP_TYPE:
        pfHandler = [](int Id) { SetOneVar(Id, VAR_BREAKPOINT_TYPE); };
        break;
    case ACT_PROJECT_RELOCATE_SYMBOLS:
        pfHandler = RelocateSymbols;
        break;
    case ACT_PROJECT_DISABLE_SESSION_SAVE:
        pfHandler = [](int Id) { SetOneVar(Id, PREF_SESSION_SAVE_FLAGS); };
        break;
    case ACT_PROJECT_SET_MEM_ZONE_RUNNING:
        pfHandler = SetMemZoneRunning;
        break;
    default:
        return false;
    }
    if (CheckParamCount(ActionId)) {
        pfHandler(ActionId);
    }
    return true;
}
