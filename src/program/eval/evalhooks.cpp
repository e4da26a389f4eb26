#include "program/eval/evalhooks.h"

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
