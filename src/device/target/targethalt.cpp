// CDeviceTarget: watching the target, and the sequence of checks that a halt passes before the user hears of it:
// user halt, semihosting, breakpoint count and condition, hidden breakpoint of a step or run-to, plain halt.
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"

#include <algorithm>

namespace {
constexpr int SELF_RESUME_INTERVAL_MS = 5'000;
constexpr auto HALTED_QUERY_INTERVAL = std::chrono::milliseconds(51);
} // namespace

int CDeviceTarget::_QueryHaltStatus()
{
    m_LastHaltQuery = CLOCK::now();
    const int Answer = BRYLLOARM_IsHalted();
    return Answer < 0 ? -1 : Answer >= 1;
}

bool CDeviceTarget::IsTargetHalted()
{
    if (!_State().Connected) return false;
    if (_State().HaltedRaw) return true;
    if (m_HaltedForIO || CLOCK::now() - m_LastHaltQuery < HALTED_QUERY_INTERVAL) return false;
    return _QueryHaltStatus() == 1;
}

int CDeviceTarget::PollTargetHaltStatus(int MinQueryIntervalMS)
{
    if (!_State().Connected) return 0;
    if (m_HaltedForIO || CLOCK::now() - m_LastHaltQuery <= std::chrono::milliseconds(MinQueryIntervalMS)) return -2;
    return _QueryHaltStatus();
}

void CDeviceTarget::CheckHandleHalt()
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) return;
    if (State.HaltSeqActive && State.HaltedRaw) {
        // The CPU stands and an answer is outstanding; a user who wants the halt doesn't wait for it.
        if (!State.UserHaltRequested.Exchange(0)) return;
        OnHalted();
        return;
    }
    if (!State.Running) return;
    const U32 Interval = State.WatchIntervalMS;
    const int Halted = PollTargetHaltStatus(int(Interval));
    if (Halted == -1) OnInvalidHaltStatus();
    if (Halted == 0) State.WatchIntervalMS = std::min(Interval * 2 + 1, WATCH_INTERVAL_MAX_MS);
    if (Halted != 1) return;

    const bool IsUserHalt = State.UserHaltRequested.Exchange(0);
    State.HaltSeqActive = 1;
    State.Running = 0;
    State.HaltedRaw = 1;
    _Dev().LogDebugMsg("Target has halted. Evaluating halt conditions...");
    SetTargetExecState(0, 0);
    if (IsUserHalt) {
        OnHalted();
        return;
    }
    auto* pfSemihosting = TARGET_GetHooks().CheckHandleSemihostingIRQ;
    const int Stop = pfSemihosting ? pfSemihosting(U32(State.PC.Get()), true) : SEMIHOST_STOP_NONE;
    if (Stop == SEMIHOST_STOP_RESUMED) State.HaltSeqActive = 0;
    if (Stop == SEMIHOST_STOP_RESUMED || Stop == SEMIHOST_STOP_PENDING) return;
    // A request that was served on a user breakpoint is a halt at that breakpoint.
    EvalBPCondAndContinueHaltSeq(U32(State.PC.Get()));
}

void CDeviceTarget::CheckHandleSelfResume()
{
    const DEVICE_STATE& State = _State();
    if (!State.Connected || State.Running || State.HaltSeqActive) return;
    const int Halted = PollTargetHaltStatus(SELF_RESUME_INTERVAL_MS);
    if (Halted == -1)
        OnInvalidHaltStatus();
    else
        CheckHandleResume(Halted);
}

void CDeviceTarget::CheckHandleResume(int TargetHaltState)
{
    DEVICE_STATE& State = _State();
    if (TargetHaltState != 0 || !State.Connected || State.ConnectionLost || State.Running || State.HaltSeqActive)
        return;
    State.Running = 1;
    State.HaltedRaw = 0;
    State.Halted = 0;
    _Dev().PostJobEvent(BT_CONTINUE, JOB_DONE, RESUME_NORMAL, 0, 0);
}

bool CDeviceTarget::IsHaltedAtBreakpoint(U32 PC) const
{
    return GetBreakpoint(PC).State == BP_STATE_ON;
}

void CDeviceTarget::EvalBPCondAndContinueHaltSeq(U32 PC)
{
    const BP Bp = GetBreakpoint(PC);
    if (Bp.State == BP_STATE_ON) {
        Lists.BpListCountHit(PC);
        if (Bp.HasCondition) {
            // The sequence stays open until the GUI thread has answered. A question that can't be asked is none.
            if (_Dev().PostDeviceEvent(DEV_EVENT_EVAL_BP_CONDITION, PC, 0) == 0) return;
        }
    } else if (Bp.State == BP_STATE_ON_HIDDEN || _State().HiddenBPAddr == PC) {
        // The hidden breakpoint counts as well where a disabled one of the user stands.
        _Dev().LogDebugMsg("Target has halted on invisible BP");
        CompleteSrcStepAndContHaltSeq(PC);
        return;
    }
    OnHalted();
}

void CDeviceTarget::OnDeviceBPConditionEvaluated(U32 PC, bool CondMet)
{
    DEVICE_STATE& State = _State();
    if (!State.HaltSeqActive || !State.HaltedRaw) return;
    // An answer that took longer than its halt has nothing to say about this one.
    if ((U32(State.PC.Get()) & ~1u) != (PC & ~1u)) return;
    if (CondMet) {
        CompleteSrcStepAndContHaltSeq(PC);
        return;
    }
    Continue();
    State.HaltSeqActive = 0;
}

void CDeviceTarget::CompleteSrcStepAndContHaltSeq(U32 PC)
{
    DEVICE_STATE& State = _State();
    if (State.HiddenBPAddr == PC && State.HaltSeqActive) {
        auto* pfComplete = TARGET_GetHooks().CompleteSrcStepOnHiddenBP;
        if (pfComplete && pfComplete(PC) > 0) {
            State.HaltSeqActive = 0;
            return;
        }
    }
    OnHalted();
}

void CDeviceTarget::_RestoreListEntry(const BP& Saved)
{
    SetBreakpoint(Saved.Addr, BP_STATES(Saved.State), BP_TYPES(Saved.Type));
    Lists.BpListCarryOver(Saved);
}

bool CDeviceTarget::RemoveHiddenBreakpoint()
{
    DEVICE_STATE& State = _State();
    const U64 Hidden = State.HiddenBPAddr;
    if (Hidden == ADDR64_NONE) {
        ClearAllBreakpoints(BP_STATE_ON_HIDDEN);
        return true;
    }
    const U32 Addr = U32(Hidden);
    const BP Listed = Lists.BpListGet(Addr);
    const bool IsCleared = ClearBreakpoint(Addr) == 0;
    if (Listed.Valid && Listed.State != BP_STATE_ON_HIDDEN) _RestoreListEntry(Listed);
    State.HiddenBPAddr = ADDR64_NONE;
    return IsCleared;
}

void CDeviceTarget::OnHalted()
{
    CDevice& Dev = _Dev();
    DEVICE_STATE& State = _State();
    const U64 PC = State.PC;
    const bool IsUserBP = IsHaltedAtBreakpoint(U32(PC));
    State.HaltedRaw = 1;
    State.NewInstTraceData = 1;
    const bool IsOnHidden = State.HiddenBPAddr == PC;
    Dev.LogDebugMsg("Target has halted and all halt conditions were passed");

    RemoveHiddenBreakpoint();
    const U32 Job = State.PendingJob;
    if (IsOnHidden && m_SavedBP.Valid) _RestoreListEntry(m_SavedBP);
    m_SavedBP = BP();
    State.PendingJob = 0;
    State.HaltSeqActive = 0;
    State.SrcStepActive = 0;
    State.Halted = 1;

    if (IsOnHidden) {
        if (DEVJOB_IsStep(Job)) Dev.PostJobEvent(Job, JOB_DONE, 0, I64(PC), 0);
        if (Job == BT_RUN_TO) {
            if (PC == U64(U32(Config.GetInt(DCP_RESET_BREAK_ADDR)))) {
                State.StartupDone = 1;
                State.DebugStarted = 1;
                Dev.PostJobEvent(BT_RUN_TO, JOB_DONE, 0, I64(PC), 0);
            }
            Dev.PostJobEvent(BT_HALT, JOB_DONE, HR_RUN_TO, I64(PC), 0);
        }
    } else if (State.DebugStarted) {
        // Whoever waits for the goal of a reset need not wait longer: the run to it has ended here.
        State.StartupDone = 1;
        Dev.PostJobEvent(BT_HALT, JOB_DONE, IsUserBP ? HR_BREAKPOINT : HR_HALT, I64(PC), 0);
    }
}

void CDeviceTarget::OnStepped()
{
    SetTargetExecState(0, 0);
    auto* pfSemihosting = TARGET_GetHooks().CheckHandleSemihostingIRQ;
    if (pfSemihosting && pfSemihosting(U32(_State().PC.Get()), false) == SEMIHOST_STOP_SERVED) SetTargetExecState(0, 0);
}

void CDeviceTarget::OnInvalidHaltStatus()
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) return;
    _Dev().LogWarnMsg("Invalid connection status received");
    if (State.ConnectionLost) return;
    State.ConnectionLost = 1;
    State.Halted = 0;
    _Dev().CancelJobs(BT_ALL, QUEUE_ALL);
    _Dev().PostDeviceEvent(DEV_EVENT_CONNECTION_LOST, 0, 0);
}

void CDeviceTarget::TestConnectionLost()
{
    const int Halted = _QueryHaltStatus();
    if (Halted == -1)
        OnInvalidHaltStatus();
    else
        CheckHandleResume(Halted);
}
