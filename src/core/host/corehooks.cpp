// The one set of hooks of the process.
#include "core/host/corehooks.h"

CORE_HOOKS& Core_GetHooks() {
    static CORE_HOOKS Hooks;
    return Hooks;
}
