// The functions that the debugger gives to a core support plug-in. Every one of them takes
// its answer from a hook, so that the plug-in host knows neither the device nor the program
// tables; without the hook the answer is that of an empty debugger.
#include "core/host/debuggerapi.h"
#include "app/services/log.h"
#include "core/host/corehooks.h"

#include <QCoreApplication>
#include <QThread>

namespace {

bool IsMainThread() {
    const QCoreApplication* pApp = QCoreApplication::instance();
    return !pApp || QThread::currentThread() == pApp->thread();
}

int ReadTarget(U64 Addr, U32 Size, void* pBuffer) {
    const CORE_HOOKS& Hooks = Core_GetHooks();
    if (Size > CORE_MAX_TARGET_READ) return -1;
    if (!Hooks.CanReadTarget || !Hooks.CanReadTarget()) return -1;
    // The worker must not queue behind itself for what the cache already holds.
    if (!IsMainThread() && Hooks.ReadTargetCache && Hooks.ReadTargetCache(Addr, Size, pBuffer) == 0) return 0;
    return Hooks.ReadTarget && Hooks.ReadTarget(Addr, Size, pBuffer) == 0 ? 0 : -1;
}

int GetCodeSection(U64 Addr, const char** psName, U64* pStart, U64* pEnd) {
    const CORE_HOOKS& Hooks = Core_GetHooks();
    return Hooks.GetCodeSection ? Hooks.GetCodeSection(Addr, psName, pStart, pEnd) : -1;
}

int GetLabel(U64 Addr, const char** psName, U64* pAddr, U64* pEnd) {
    const CORE_HOOKS& Hooks = Core_GetHooks();
    return Hooks.GetLabel ? Hooks.GetLabel(Addr, psName, pAddr, pEnd) : -1;
}

int ReadProgram(U64 Addr, U32 Size, void* pBuffer) {
    if (Size == 0) return 0;
    const CORE_HOOKS& Hooks = Core_GetHooks();
    if (!pBuffer || !Hooks.ReadProgramData) return -1;
    return Hooks.ReadProgramData(Addr, Size, pBuffer) == static_cast<int>(Size) ? static_cast<int>(Size) : -1;
}

int GetProgramRange(U64* paRange) {
    if (!paRange) return -1;
    paRange[0] = paRange[1] = paRange[2] = ~U64(0);
    const CORE_HOOKS& Hooks = Core_GetHooks();
    if (Hooks.GetProgramRange) Hooks.GetProgramRange(paRange);
    return 0;
}

int GetRegSet(const CORE_REG_SET** ppRegSet) {
    const CORE_HOOKS& Hooks = Core_GetHooks();
    return ppRegSet && Hooks.GetRegSet ? Hooks.GetRegSet(ppRegSet) : -1;
}

int LogText(const char* sText, U32 Level) {
    return Core_Log(sText, Level);
}

constexpr CORE_DEBUGGER_API API = {GetCodeSection, GetLabel,  Core_ReadMem, ReadProgram,
                                   GetProgramRange, GetRegSet, LogText};

} // namespace

const CORE_DEBUGGER_API& Core_GetDebuggerAPI() {
    return API;
}

int Core_ReadMem(U64 Addr, U32 Size, void* pBuffer) {
    if (Size == 0) {
        Core_Log("invalid target memory read request of size 0", CORE_LOG_FILE);
        return -1;
    }
    if (!pBuffer) return -1;
    const CORE_HOOKS& Hooks = Core_GetHooks();
    if (Hooks.ReadElfSection && Hooks.ReadElfSection(Addr, Size, pBuffer) == 0) return 0;
    if (ReadProgram(Addr, Size, pBuffer) == static_cast<int>(Size)) return 0;
    return ReadTarget(Addr, Size, pBuffer);
}

int Core_Log(const char* sText, U32 Level) {
    if (!sText) return -1;
    switch (Level) {
    case CORE_LOG_WARNING:
        Log(QString::fromUtf8(sText), MSG_WARNING | MSG_CONSOLE);
        return 0;
    case CORE_LOG_FILE:
        if (IsLoggingOn()) Log(QString::fromUtf8(sText), MSG_FILE);
        return 0;
    case CORE_LOG_PLAIN:
        Log(QString::fromUtf8(sText), MSG_CONSOLE);
        return 0;
    default:
        return -1;
    }
}
