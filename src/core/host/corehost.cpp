// State of the plug-in host and the choice of the plug-in file. The path from file to
// running plug-in is in coreload.cpp.
#include "core/host/corehost.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/coreload.h"
#include "core/host/debuggerapi.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <cstring>

namespace {

#if defined(Q_OS_WIN)
constexpr const char* LIB_SUFFIX = "dll";
#elif defined(Q_OS_MACOS)
constexpr const char* LIB_SUFFIX = "dylib";
#else
constexpr const char* LIB_SUFFIX = "so";
#endif

constexpr const char* ASK_TITLE = "Project Warning";
constexpr const char* ASK_TEXT =
    "Vantrel could not locate the target core support plugin for the selected device.\n"
    "Please specify the file location manually.";

int CurrentCoreId = 0;
CORE_REG_BUFFER LiveRegs;
CORE_REG_BUFFER ScratchRegs;

QString GetDefaultPath(int CoreId) {
    const char* sName = Core_GetDefaultPluginName(CoreId);
    if (!sName) return QString();
    const CORE_HOOKS& Hooks = Core_GetHooks();
    const QString sAppDir = Hooks.GetAppDir ? Hooks.GetAppDir() : QCoreApplication::applicationDirPath();
    return QStringLiteral("%1/Core/%2.%3").arg(sAppDir, QLatin1String(sName), QLatin1String(LIB_SUFFIX));
}

/// Checks what a load starts from; logs the fault and gives false.
bool CheckSelection(int CoreId, const QString& sPath) {
    if (CoreId <= 0) {
        Core_Log("Project Warning: unknown target device specified.", CORE_LOG_WARNING);
        return false;
    }
    if (sPath.isEmpty()) {
        Core_Log("Project Warning: target core support plugin not specified and could not determine default.",
                 CORE_LOG_WARNING);
        return false;
    }
    if (!QFileInfo(sPath).isFile()) {
        const QString sText = QStringLiteral("Project Warning: target core support plugin not found at %1").arg(sPath);
        Core_Log(sText.toUtf8().constData(), CORE_LOG_WARNING);
        return false;
    }
    return true;
}

void SizeRegBuffer(CORE_REG_BUFFER& Regs, U32 NumRegs) {
    Regs.aRegId.resize(NumRegs);
    for (U32 i = 0; i < NumRegs; i++) Regs.aRegId[i] = Core_GetRegId(i);
    Regs.aValue.assign(NumRegs, 0);
    Regs.aStatus.assign(NumRegs, 3);
    Regs.aRule.assign(NumRegs, CORE_LOC{});
}

} // namespace

const char* Core_GetDefaultPluginName(int CoreId) {
    const U32 Family = static_cast<U32>(CoreId) >> 24;
    if (Family == 3 || (Family >= 6 && Family <= 12) || Family == 14 || Family == 15) return "CorePluginARM";
    if (Family == 19) return "CorePluginRISCV";
    return nullptr;
}

CCoreDeviceLock::CCoreDeviceLock() {
    if (Core_GetHooks().LockDevice) Core_GetHooks().LockDevice();
}

CCoreDeviceLock::~CCoreDeviceLock() {
    if (Core_GetHooks().UnlockDevice) Core_GetHooks().UnlockDevice();
}

void Core_SizeBuffers(U32 NumRegs) {
    SizeRegBuffer(LiveRegs, NumRegs);
    SizeRegBuffer(ScratchRegs, NumRegs);
}

CORE_REG_BUFFER& Core_GetLiveRegs() {
    return LiveRegs;
}

CORE_REG_BUFFER& Core_GetScratchRegs() {
    return ScratchRegs;
}

int Core_GetCoreId() {
    return CurrentCoreId;
}

int Core_GetPluginPath(int CoreId, QString* pPath) {
    const CORE_HOOKS& Hooks = Core_GetHooks();
    const QString sDefault = GetDefaultPath(CoreId);
    QString sPath = Hooks.GetProjectPluginPath ? Hooks.GetProjectPluginPath() : QString();
    if (!sPath.isEmpty() && sPath == sDefault) {
        // A project that names the default would stop working when it is moved to another machine.
        if (Hooks.SetProjectPluginPath) Hooks.SetProjectPluginPath(QString());
        sPath.clear();
    }
    if (sPath.isEmpty()) sPath = sDefault;
    if (!sPath.isEmpty() && !QFileInfo::exists(sPath) && Hooks.IsInteractive && Hooks.IsInteractive() &&
        Hooks.AskPluginPath) {
        sPath = Hooks.AskPluginPath(QString::fromUtf8(ASK_TITLE), QString::fromUtf8(ASK_TEXT));
        if (!sPath.isEmpty() && Hooks.SetProjectPluginPath) Hooks.SetProjectPluginPath(sPath);
    }
    if (pPath) *pPath = sPath;
    return sPath.isEmpty() ? -1 : 0;
}

int Core_Load(int CoreId) {
    CORE_CONFIG Config{};
    if (Core_GetHooks().GetByteOrders) Core_GetHooks().GetByteOrders(&Config.DataByteOrder, &Config.InstByteOrder);
    QString sPath;
    Core_GetPluginPath(CoreId, &sPath);
    if (!CheckSelection(CoreId, sPath)) {
        Core_Unload();
        return -1;
    }
    CurrentCoreId = CoreId;
    Config.CoreId = CoreId;
    const QByteArray aPath = sPath.toUtf8().left(CORE_PATH_SIZE - 1);
    std::memcpy(Config.sPath, aPath.constData(), static_cast<size_t>(aPath.size()));

    if (Core_IsLoaded() && Core_GetCurrentPath() == QString::fromUtf8(aPath)) {
        const int Result = Core_Reconfigure(Config);
        if (Result != CORE_RECONFIGURE_NEEDS_RELOAD) return Result == 0 ? 2 : Result;
    }
    if (Core_Unload() < 0) {
        Core_Log("Failed to deinitialize target core support plugin prior to initialization", CORE_LOG_WARNING);
        return -1;
    }
    CCoreDeviceLock Lock;
    return Core_Init(Config);
}

int Core_Unload() {
    CCoreDeviceLock Lock;
    return Core_Deinit();
}

int Core_ReadAllRegs(CORE_REG_BUFFER& Regs) {
    std::vector<U32> aId;
    std::vector<U32> aIndex;
    for (U32 i = 0; i < Regs.aRegId.size(); i++) {
        Regs.aStatus[i] = 1;
        Regs.aValue[i] = 0;
        if (Regs.aRegId[i] == 0xFFFFFFFFu) continue;
        aId.push_back(Regs.aRegId[i]);
        aIndex.push_back(i);
    }
    if (aId.empty()) return -1;
    std::vector<U64> aValue(aId.size());
    std::vector<U8> aStatus(aId.size(), 255);
    if (Core_ReadRegs(static_cast<U32>(aId.size()), aId.data(), aValue.data(), aStatus.data()) < 0) return -1;
    bool HasValue = false;
    for (size_t i = 0; i < aId.size(); i++) {
        Regs.aValue[aIndex[i]] = aValue[i];
        Regs.aStatus[aIndex[i]] = aStatus[i] ? 1 : 0;
        HasValue |= aStatus[i] == 0;
    }
    return HasValue ? 0 : -1;
}

U32 Core_CheckProgram(const void* pHeader) {
    U32 Faults = 0;
    if (!Core_CanRunElf(pHeader)) Faults |= CORE_PROGRAM_NOT_EXECUTABLE;
    U32 DataOrder = 0;
    U32 InstOrder = 0;
    if (Core_GetElfByteOrders(pHeader, &DataOrder, &InstOrder) == 0) {
        if (DataOrder != Core_GetConfig().DataByteOrder) Faults |= CORE_PROGRAM_DATA_ORDER;
        if (InstOrder != Core_GetConfig().InstByteOrder) Faults |= CORE_PROGRAM_INST_ORDER;
    }
    return Faults;
}
