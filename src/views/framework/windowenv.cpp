#include "views/framework/windowenv.h"

namespace {
WINDOW_ENV& Env()
{
    static WINDOW_ENV s_Env;
    return s_Env;
}
} // namespace

void SetWindowEnv(const WINDOW_ENV& NewEnv)
{
    Env() = NewEnv;
}
const WINDOW_ENV& GetWindowEnv()
{
    return Env();
}

bool IsTargetConnected()
{
    return Env().IsConnected && Env().IsConnected();
}
bool IsTargetHalted()
{
    return IsTargetConnected() && Env().IsHalted && Env().IsHalted();
}
bool IsDebugSessionActive()
{
    return Env().IsDebugging ? Env().IsDebugging() : IsTargetConnected();
}
bool IsStepJobPending()
{
    return Env().IsStepPending && Env().IsStepPending();
}
U32 GetTargetPC()
{
    return Env().GetPC ? Env().GetPC() : ADDR_NONE;
}

U32 AlignToInst(U32 Addr)
{
    if (Addr == ADDR_NONE) return Addr;
    const U32 Alignment = Env().GetInstAlignment ? Env().GetInstAlignment() : 2;
    return Alignment > 1 ? Addr - Addr % Alignment : Addr;
}

DEBUG_STATES GetDebugState()
{
    if (!IsTargetConnected()) return DEBUG_STATE_NO_CONNECTION;
    return IsTargetHalted() ? DEBUG_STATE_HALTED : DEBUG_STATE_RUNNING;
}

int PerformWindowCommand(const QString& sCommand, const QStringList& Params)
{
    return Env().PerformCommand ? Env().PerformCommand(sCommand, Params) : -1;
}

bool IsWindowCommandEnabled(const QString& sCommand)
{
    return !Env().IsCommandEnabled || Env().IsCommandEnabled(sCommand);
}
