// The device's side of semihosting.
#include "targetio/semihost/semihostdevice.h"

#include "core/host/corecalls.h"
#include "device/queue/device.h"
#include "device/target/devicetarget.h"
#include "targetio/semihost/semihost.h"

#include <cstring>

namespace {

/// What becomes of a stop whose operation PerformOperation has left open. A run that waits for terminal input waits
/// in the halt sequence; whatever else is open, the user is to see the program stand.
int OnPending(const CSemiHost& Host, bool WasRunning)
{
    if (!WasRunning) return SEMIHOST_STOP_PENDING;
    return Host.IsInputInProgress() && Host.IsAutoResuming() ? SEMIHOST_STOP_PENDING : SEMIHOST_STOP_NONE;
}

int Serve(U32 OpCode, U64 OperandAddr, U32 PC, bool WasRunning)
{
    CSemiHost& Host = CSemiHost::Get();
    Host.SetAutoResume(WasRunning && !CDeviceTarget::Get().IsHaltedAtBreakpoint(PC));
    U32 Result = 0;
    const int Answer = Host.PerformOperation(OpCode, OperandAddr, PC, Result);
    if (Answer == SEMIHOST_PENDING) return OnPending(Host, WasRunning);
    const bool IsServed = Answer != SEMIHOST_NOT_CONNECTED && Answer != SEMIHOST_NOT_ENABLED;
    return SEMIHOST_OnOperationCompleted(IsServed ? I64(I32(Result)) : -1) ? SEMIHOST_STOP_RESUMED : SEMIHOST_STOP_SERVED;
}

int ExecSetInputText(CDevice&, DEVICE_JOB& Job)
{
    return SEMIHOST_SetInputText(U32(Job.Param[0]), Job.Text(0));
}

} // namespace

void SEMIHOST_Register()
{
    CSemiHost::Get(); // becomes an object of this thread
    TARGET_HOOKS Hooks = TARGET_GetHooks();
    Hooks.CheckHandleSemihostingIRQ = SEMIHOST_CheckHandleIRQ;
    TARGET_SetHooks(Hooks);
    CDevice::SetExecutor(BT_SET_SH_INPUT_TEXT, ExecSetInputText);
}

int SEMIHOST_CheckHandleIRQ(U32 PC, bool WasRunning)
{
    CSemiHost& Host = CSemiHost::Get();
    if (!Host.IsEnabled() || !Core_HasSemihosting()) return SEMIHOST_STOP_NONE;
    if (Host.TakeCanceled(PC)) return SEMIHOST_STOP_NONE; // the target goes on without an answer
    if (Host.IsPending() && Host.GetPendingPC() == PC) {
        // The same stop is looked at more than once while a step ends; its request is served once.
        if (WasRunning) Host.SetAutoResume(true);
        return OnPending(Host, WasRunning);
    }
    U32 OpCode = 0;
    U64 OperandAddr = 0;
    switch (Core_HandleSemihosting(PC, &OpCode, &OperandAddr)) {
    case CORE_SEMIHOST_NO: return SEMIHOST_STOP_NONE;
    case CORE_SEMIHOST_SERVE: return Serve(OpCode, OperandAddr, PC, WasRunning);
    case CORE_SEMIHOST_RESUME:
        return CDeviceTarget::Get().Continue() == 0 ? SEMIHOST_STOP_RESUMED : SEMIHOST_STOP_NONE;
    default:
        CDevice::Get().LogErrorMsg("Target core support plugin API function 'HandleSemihosting' returned an invalid result code");
        return SEMIHOST_STOP_NONE;
    }
}

bool SEMIHOST_OnOperationCompleted(I64 Result)
{
    CDevice& Dev = CDevice::Get();
    CDeviceTarget& Target = CDeviceTarget::Get();
    Core_FinishSemihosting(Result);
    if (!CSemiHost::Get().IsAutoResuming() || !Dev.IsConnected()) return false;
    if (Dev.State.Halted) {
        // The user has halted the program while the request was open; windows that saw it must see it run.
        Target.SetTargetExecState(0, 0);
        Dev.ContinueAsync(RESUME_NORMAL);
        return true;
    }
    // As after a condition that isn't met nobody is told: to windows and scripts there was no halt.
    Target.SetTargetExecState(0, 0); // the PC has gone past the request
    if (Target.Continue() != 0) return false;
    Dev.State.HaltSeqActive = 0;
    return true;
}

int SEMIHOST_SetInputText(U32 StrLen, const char* sText)
{
    if (!sText || std::strlen(sText) != StrLen) return -1;
    const I64 Answer = CSemiHost::Get().SetInputText(sText);
    if (Answer < 0) return 0;
    if (!SEMIHOST_OnOperationCompleted(Answer)) CDeviceTarget::Get().SetTargetExecState(0, 0);
    return 0;
}
