// What target access reaches in the layers above it; set once at start, before the first CDevice::Get().
// An entry that stays null is passed over, as told beside it.
#pragma once
#include "app/services/types.h"

/// What has become of a stop that may be a semihosting request.
enum SEMIHOST_STOPS : int {
    SEMIHOST_STOP_NONE = 0,    ///< an ordinary stop
    SEMIHOST_STOP_RESUMED = 1, ///< served, and the target runs again
    SEMIHOST_STOP_PENDING = 2, ///< the request waits for input; the target stands and the halt stays open
    SEMIHOST_STOP_SERVED = 3,  ///< served; the target stands, with its PC past the request
};

struct TARGET_HOOKS {
    /// The target has stopped on the hidden breakpoint of a step: 1 when the step goes on, 0 when it is over.
    /// Default 0. Worker.
    int (*CompleteSrcStepOnHiddenBP)(U32 PC) = nullptr;
    /// Semihosting at a halt or after a step: SEMIHOST_STOP_... Default SEMIHOST_STOP_NONE. Worker.
    int (*CheckHandleSemihostingIRQ)(U32 PC, bool WasRunning) = nullptr;
    /// Value of a register in the selected task's context, which takes the place of the target's registers: 0 and
    /// the value, 1 when the context does not hold it, -1 when no context is selected. Default -1. GUI thread.
    int (*GetTaskReg)(U32 RegIdx, U64* pValue) = nullptr;
};

void TARGET_SetHooks(const TARGET_HOOKS& Hooks);
const TARGET_HOOKS& TARGET_GetHooks();
