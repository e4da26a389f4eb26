#include "coreexports.h"

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr uint32_t PLUGIN_VERSION = 10000; // 1.00.00

CORE_DEBUGGER_API Debugger{};

} // namespace

const CORE_DEBUGGER_API& COREEXP_GetDebugger() {
    return Debugger;
}

EXPORT int CORE_PLUGIN_GetAPI(CORE_PLUGIN_API* pAPI, uint32_t Size) {
    if (!pAPI || Size != sizeof *pAPI) return -1;
    *pAPI = COREEXP_GetTable();
    return 0;
}

EXPORT int CORE_PLUGIN_SetAPI(const CORE_DEBUGGER_API* pAPI, uint32_t Size) {
    if (!pAPI || Size != sizeof *pAPI) return -1;
    Debugger = *pAPI;
    return 0;
}

EXPORT uint32_t CORE_PLUGIN_GetVersion(void) {
    return PLUGIN_VERSION;
}

EXPORT const char* CORE_PLUGIN_GetName(void) {
    return COREEXP_GetName();
}
