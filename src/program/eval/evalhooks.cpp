#include "program/eval/evalhooks.h"

#include "program/tables/prog.h"

namespace {
EVAL_HOOKS s_Hooks;
}

void EVAL_SetHooks(const EVAL_HOOKS& Hooks)
{
    s_Hooks = Hooks;
}

const EVAL_HOOKS& EVAL_GetHooks()
{
    return s_Hooks;
}

U32 EVAL_GetLocationPC()
{
    if (s_Hooks.GetLocationPC) return s_Hooks.GetLocationPC();
    return s_Hooks.GetFramePC ? s_Hooks.GetFramePC() : ADDR_NONE;
}

ELF_SYM_HANDLE EVAL_GetFrameFunction()
{
    const ELF_SYM_HANDLE hFunc = s_Hooks.GetFrameFunction ? s_Hooks.GetFrameFunction() : 0;
    const U32 PC = s_Hooks.GetFramePC ? s_Hooks.GetFramePC() : ADDR_NONE;
    return hFunc || PC == ADDR_NONE ? hFunc : PROG_GetFunctionAt(PC, 0); // before the first unwinding only the PC is known
}

ELF_SYM_LIST EVAL_GetFrameLocals()
{
    const CProgLock Lock;
    return ELF_GetSymLocalsAt(EVAL_GetFrameFunction(), EVAL_GetLocationPC());
}
