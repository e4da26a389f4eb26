// From library file to running plug-in and back.
#include "core/host/coreload.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "core/host/debuggerapi.h"
#include "core/host/staticinfo.h"

#include <QLibrary>
#include <QString>
#include <atomic>
#include <cstring>
#include <memory>

namespace {

constexpr CORE_STATIC_INFO NO_CORE = [] {
    CORE_STATIC_INFO Info{};
    Info.InstAlignment = 2; // addresses are rounded down by it with or without a core
    return Info;
}();

std::unique_ptr<QLibrary> pLibrary;
CORE_PLUGIN_API API{};
CORE_CONFIG CurrentConfig{};
CORE_STATIC_INFO StaticInfo = NO_CORE;
std::atomic<bool> IsInitialised{false};

struct EXPORTS {
    CORE_PLUGIN_GETAPI_FUNC* pfGetAPI;
    CORE_PLUGIN_SETAPI_FUNC* pfSetAPI;
};

void LogFault(const QString& sText) {
    Core_Log(sText.toUtf8().constData(), CORE_LOG_WARNING);
}

/// All four are tried before the failure is returned, so that one log tells all that is missing.
int BindExports(EXPORTS* pExports) {
    constexpr const char* asName[] = {CORE_PLUGIN_GETAPI_NAME, CORE_PLUGIN_SETAPI_NAME, CORE_PLUGIN_GETVERSION_NAME,
                                      CORE_PLUGIN_GETNAME_NAME};
    QFunctionPointer apfExport[4] = {};
    int Result = 0;
    for (int i = 0; i < 4; i++) {
        apfExport[i] = pLibrary->resolve(asName[i]);
        if (apfExport[i]) continue;
        LogFault(QStringLiteral("invalid target core support plugin: required function '%1' not found.")
                     .arg(QLatin1String(asName[i])));
        Result = -1;
    }
    pExports->pfGetAPI = reinterpret_cast<CORE_PLUGIN_GETAPI_FUNC*>(apfExport[0]);
    pExports->pfSetAPI = reinterpret_cast<CORE_PLUGIN_SETAPI_FUNC*>(apfExport[1]);
    return Result;
}

int ExchangeTables(const EXPORTS& Exports) {
    API = CORE_PLUGIN_API{};
    if (Exports.pfGetAPI(&API, sizeof API) != 0) {
        LogFault(QStringLiteral("Target core support plugin initialization failed: incompatible plugin API"));
        return -1;
    }
    if (Exports.pfSetAPI(&Core_GetDebuggerAPI(), sizeof(CORE_DEBUGGER_API)) != 0) {
        LogFault(QStringLiteral("Target core support plugin initialization failed: incompatible debugger API"));
        return -1;
    }
    return 0;
}

int StartPlugin() {
    if (!API.pfInit) {
        LogFault(QStringLiteral("Target core support plugin initialization failed: plugin API is missing init function"));
        return -1;
    }
    const int Result = API.pfInit(&CurrentConfig);
    if (Result != 0) {
        LogFault(QStringLiteral("Target core support plugin initialization failed: plugin API function 'Init' "
                                "returned error code %1")
                     .arg(Result));
        return -1;
    }
    return 0;
}

/// Reads and validates; takes the record over only when it is sound.
int ReadStaticInfo() {
    CORE_STATIC_INFO Info{};
    if (!API.pfGetStaticInfo || API.pfGetStaticInfo(&Info, sizeof Info) != 0) {
        LogFault(QStringLiteral("Error reading static core information from plugin"));
        return -1;
    }
    if (const char* sFault = Core_FindStaticInfoFault(Info)) {
        LogFault(QLatin1String(sFault));
        return -1;
    }
    StaticInfo = Info;
    return 0;
}

/// Sizes all that depends on the core's numbers.
void SizeDependents() {
    const CORE_HOOKS& Hooks = Core_GetHooks();
    Core_SizeBuffers(StaticInfo.NumRegs);
    if (Hooks.BindProgram && Hooks.BindProgram() < 0) Core_Log("program file could not be bound to the core", CORE_LOG_FILE);
    if (Hooks.SizeFrameRegs) Hooks.SizeFrameRegs(StaticInfo.MaxUnwindRegIdx + 1);
    if (Hooks.SizeRegCache) Hooks.SizeRegCache(StaticInfo.NumExtraRegs);
}

} // namespace

int Core_Init(const CORE_CONFIG& Config) {
    if (pLibrary) Core_Deinit();
    CurrentConfig = Config;
    const QString sPath = QString::fromUtf8(Config.sPath);
    pLibrary = std::make_unique<QLibrary>(sPath);
    if (!pLibrary->load()) {
        LogFault(QStringLiteral("Failed to load library at %1").arg(sPath));
        Core_Log(pLibrary->errorString().toUtf8().constData(), CORE_LOG_FILE);
        Core_Deinit();
        return -1;
    }
    EXPORTS Exports{};
    if (BindExports(&Exports) < 0 || ExchangeTables(Exports) < 0 || StartPlugin() < 0 || ReadStaticInfo() < 0) {
        Core_Deinit();
        return -1;
    }
    SizeDependents();
    IsInitialised = true;
    return 0;
}

int Core_Deinit() {
    if (!pLibrary) return 0;
    const CORE_HOOKS& Hooks = Core_GetHooks();
    IsInitialised = false;
    if (Hooks.UnbindProgram) Hooks.UnbindProgram();
    if (Hooks.SizeFrameRegs) Hooks.SizeFrameRegs(0);
    Core_SizeBuffers(0);
    StaticInfo = NO_CORE;
    CurrentConfig = CORE_CONFIG{};
    API = CORE_PLUGIN_API{};
    const bool IsReleased = !pLibrary->isLoaded() || pLibrary->unload();
    pLibrary.reset();
    if (IsReleased) return 0;
    LogFault(QStringLiteral("Target core support plugin deinitialization failed"));
    return -1;
}

int Core_Reconfigure(const CORE_CONFIG& Config) {
    CCoreDeviceLock Lock;
    const bool IsSame = std::memcmp(&Config, &CurrentConfig, sizeof Config) == 0;
    if (!API.pfReconfigure) return IsSame ? 1 : CORE_RECONFIGURE_NEEDS_RELOAD;
    const int Result = API.pfReconfigure(&Config);
    if (Result == 1) return 1;
    if (Result != 0) return -1;
    CurrentConfig = Config;
    if (Core_GetHooks().ClearInstCache) Core_GetHooks().ClearInstCache();
    const CORE_STATIC_INFO Old = StaticInfo;
    if (ReadStaticInfo() < 0) return -1;
    if (std::memcmp(&Old, &StaticInfo, sizeof Old) != 0) SizeDependents();
    return 0;
}

const CORE_PLUGIN_API& Core_GetPluginAPI() {
    return API;
}

bool Core_IsLoaded() {
    return IsInitialised;
}

QString Core_GetCurrentPath() {
    return QString::fromUtf8(CurrentConfig.sPath);
}

const CORE_CONFIG& Core_GetConfig() {
    return CurrentConfig;
}

const CORE_STATIC_INFO& Core_GetStaticInfo() {
    return StaticInfo;
}
