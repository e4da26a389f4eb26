// CDeviceTarget: reset, continue, halt and run-to, and the published execution state.
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"
#include "program/tables/prog.h"
#include "project/settings/sysvars.h"

int CDeviceTarget::Reset(RESET_MODES Mode)
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) {
        _Dev().LogWarnMsg("Reset: not connected");
        return -1;
    }
    if (Mode == RM_RESET_HARDWARE) return ResetHardware();
    State.ResetMode = Mode;
    State.StartupDone = 0;
    _Dev().LogInfoMsg("Resetting target...");
    if (ResetHardware() < 0) return -1;
    return FinishReset(Mode);
}

int CDeviceTarget::ResetHardware()
{
    BRYLLOARM_SetResetType(0);
    BRYLLOARM_SetResetDelay(0);
    BRYLLOARM_Halt();
    if (BRYLLOARM_Reset() != 0) {
        _Dev().LogErrorMsg("Reset: BRYLLO API call failed");
        return -1;
    }
    if (BRYLLOARM_IsHalted() < 1) {
        _Dev().LogWarnMsg("Reset: target did not halt following reset");
        BRYLLOARM_Halt();
    }
    return 0;
}

int CDeviceTarget::FinishReset(RESET_MODES Mode)
{
    DEVICE_STATE& State = _State();
    if (!RemoveHiddenBreakpoint()) _Dev().LogWarnMsg("Reset: could not clear hidden breakpoints");
    m_SavedBP = BP();
    State.PendingJob = 0;
    State.HaltSeqActive = 0;
    State.SrcStepActive = 0;
    State.UserHaltRequested = 0;
    State.ResetMode = Mode;
    // The reset's halt is known. Watched for, it would be told a second time.
    State.Running = 0;
    State.HaltedRaw = 1;
    SetTargetExecState(0, 0);
    State.Halted = 1;
    State.StartupDone = Mode == RM_RESET_HALT;
    return 0;
}

int CDeviceTarget::Continue()
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) {
        _Dev().LogWarnMsg("Continue: not connected");
        return -1;
    }
    if (State.ConnectionLost) {
        _Dev().LogWarnMsg("Continue: connection lost");
        return -1;
    }
    if (!IsTargetHalted()) {
        _Dev().LogWarnMsg("Continue: not halted");
        return 0;
    }
    _Dev().LogDebugMsg("Resuming target...");
    const U32 PC = U32(State.PC.Get());
    CORE_INST_INFO Inst = {};
    if (State.PCStatus == DATA_VALID) Core::ReadInst(&Inst, PC);
    if (Inst.Length > 0 && (Inst.Flags & CORE_INST_SKIP_ON_RESUME)) {
        // The user's halt may have come upon a request that nobody has looked at; it must not get lost.
        State.Halted = 0;
        auto* pfSemihosting = TARGET_GetHooks().CheckHandleSemihostingIRQ;
        const int Stop = pfSemihosting ? pfSemihosting(PC, true) : SEMIHOST_STOP_NONE;
        if (Stop == SEMIHOST_STOP_PENDING) State.HaltSeqActive = 1;
        if (Stop == SEMIHOST_STOP_RESUMED || Stop == SEMIHOST_STOP_PENDING) return 0;
        if (Stop == SEMIHOST_STOP_NONE) Core_WriteReg(Core_GetPCRegId(), U64(PC) + U32(Inst.Length));
    }
    State.HaltedRaw = 0;
    State.Halted = 0;
    BRYLLOARM_GoEx(0, 1);
    State.WatchIntervalMS = 0;
    State.ResumedAtMS = DEVSTATE_NowMS();
    State.Running = 1;
    State.UserHaltRequested = 0;
    if (State.ResetMode == RM_RESET_AND_RUN) State.StartupDone = 1;
    return 0;
}

int CDeviceTarget::Halt()
{
    if (!_State().Connected) {
        _Dev().LogWarnMsg("Halt: not connected");
        return -1;
    }
    // Set first: the halt may be seen before the call returns to a caller that is slow.
    _State().UserHaltRequested = 1;
    if (BRYLLOARM_Halt() != 0) {
        _State().UserHaltRequested = 0;
        _Dev().LogErrorMsg("Halt: BRYLLO API call failed");
        TestConnectionLost();
        return -1;
    }
    return 0;
}

bool CDeviceTarget::IsReadyToStep()
{
    const DEVICE_STATE& State = _State();
    if (!State.Connected) {
        _Dev().LogWarnMsg("cannot step. target not connected");
        return false;
    }
    if (!IsTargetHalted()) {
        _Dev().LogWarnMsg("cannot step. target not halted");
        return false;
    }
    if (State.HiddenBPAddr != ADDR64_NONE) {
        _Dev().LogWarnMsg("cannot step. hidden breakpoint is set");
        return false;
    }
    return true;
}

int CDeviceTarget::RunTo(U64 Addr)
{
    DEVICE_STATE& State = _State();
    if (!IsReadyToStep()) {
        _Dev().LogWarnMsg("run to: target not ready");
        return -1;
    }
    const U32 Addr32 = U32(Addr);
    const BP Bp = GetBreakpoint(Addr32);
    if (Bp.State != BP_STATE_ON) {
        m_SavedBP = Bp.State == BP_STATE_DISABLED ? Bp : BP();
        if (Bp.State != BP_STATE_ON_HIDDEN &&
            SetBreakpoint(Addr32, BP_STATE_ON_HIDDEN, BP_TYPES(GetVarValue(VAR_BREAKPOINT_TYPE))) < 0) {
            m_SavedBP = BP();
            _Dev().LogWarnMsg("RunTo: could not set breakpoint on address %x", Addr32);
            return -1;
        }
        State.HiddenBPAddr = Addr32;
        if (State.PendingJob == 0) State.PendingJob = BT_RUN_TO;
    }
    _Dev().ContinueAsync(RESUME_RUN_TO);
    return 1;
}

int CDeviceTarget::SetTargetExecState(U64 PC, U64 SP)
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) {
        _Dev().LogWarnMsg("SetTargetExecState: not connected");
        return -1;
    }
    if (PC == 0 && SP == 0 && State.HaltedRaw) {
        ReadReg(Core_GetSPRegId(), &SP);
        ReadReg(Core_GetPCRegId(), &PC);
    }
    State.SP = SP;
    State.PC = PC;
    State.SPStatus = DATA_VALID;
    State.PCStatus = DATA_VALID;
    State.ReturnAddrStatus = DATA_UNREAD; // of the new place; the unwinder finds it

    const U32 PC32 = U32(PC);
    const CSrcLoc Loc = PROG_HasSrcLoc(PC32) ? PROG_GetFirstSrcLoc(PC32) : CSrcLoc();
    State.SrcFile = Loc.File;
    State.SrcLine = Loc.Line;
    const ELF_SYM_HANDLE hFunc = PROG_GetFunctionAt(PC32, 0);
    State.FuncHandle = hFunc;
    const CAddrRange Range = hFunc ? PROG_GetSymRange(hFunc) : CAddrRange();
    State.FuncStart = hFunc ? U64(Range.Start) : ADDR64_NONE;
    State.FuncEnd = hFunc ? Range.End() : ADDR64_NONE;
    return 0;
}

void CDeviceTarget::SetReturnAddr(U64 Addr)
{
    // A step that is under way has left the frame that this is about.
    if (!_State().Halted || _State().SrcStepActive) return;
    _State().ReturnAddr = Addr;
    _State().ReturnAddrStatus = DATA_VALID;
}

int CDeviceTarget::ResetTargetExecState()
{
    DEVICE_STATE& State = _State();
    State.PCStatus = DATA_UNREAD;
    State.SPStatus = DATA_UNREAD;
    State.ReturnAddrStatus = DATA_UNREAD;
    State.PC = 0;
    State.SP = 0;
    State.ReturnAddr = 0;
    State.SrcFile = ADDR_NONE;
    State.SrcLine = ADDR_NONE;
    State.FuncStart = ADDR64_NONE;
    State.FuncEnd = ADDR64_NONE;
    State.FuncHandle = 0;
    return 0;
}
