// The hooks between windows and the rest: the debug state for all of them, the project's view of the session, and
// what single windows show.
#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/console/commandcompletion.h"
#include "app/console/consolewindow.h"
#include "app/services/appdirs.h"
#include "app/services/log.h"
#include "app/services/logfile.h"
#include "app/shell/askpath.h"
#include "app/shell/commandtable.h"
#include "app/shell/consolesources.h"
#include "app/shell/mainwindow.h"
#include "app/shell/pluginfiledialog.h"
#include "app/shell/programload.h"
#include "app/shell/sourcelines.h"
#include "app/shell/sourcestats.h"
#include "app/shell/wiring.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "device/queue/device.h"
#include "device/target/devicetable.h"
#include "device/target/deviceservices.h"
#include "device/target/devicetarget.h"
#include "program/elf/elf.h"
#include "program/tables/prog.h"
#include "project/file/project.h"
#include "project/finder/filefinder.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "project/wizard/deviceselectiondialog.h"
#include "registers/svd/cpuregisters.h"
#include "script/host/bscript.h"
#include "views/debug/registerwindow.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/windowenv.h"

#include <QFileInfo>

namespace {

/// What depends on a part of the configuration follows it at once: the next statement of the project may already use it.
void WaitForConfiguration()
{
    CDevice::Get().WaitUntilDone(BT_SET_CONFIG_PARAM, false);
}

/// Loads the core support of the selected device. False when there is none for it; that of the device before is
/// unloaded all the same, and an unknown device is told.
bool LoadCorePlugin()
{
    const U32 CoreId = CDeviceTarget::Get().GetInfo().CoreId;
    const bool Loaded = Core_Load(int(CoreId)) >= 0;
    if (Loaded) DecodeProgram(); // one that was opened before its core support has not been decoded yet
    if (CMainWindow::Exists()) CMainWindow::Get().UpdateActions();
    return Loaded;
}

/// The session's program against the core that is loaded; 0 when it fits.
U32 GetProgramFaults()
{
    const CProgLock Lock;
    const ELF_HANDLE hFile = PROG_GetFileHandle();
    constexpr U32 HEADER_SIZE = 52;
    if (!hFile || ELF_GetFileSize(hFile) < HEADER_SIZE) return 0;
    return Core_CheckProgram(ELF_GetFileImage(hFile));
}

/// A register description that the core plug-in names: where such files are looked for, else beside the plug-in. Empty if
/// it names none, or one that isn't there.
QString FindCoreFile(const QString& sName, bool TryPluginDir)
{
    if (sName.isEmpty()) return {};
    CFileFinder& Finder = CFileFinder::Get();
    Finder.SetLogResolutions(false); // the user has asked for no file
    QString sPath = Finder.Resolve(sName);
    if (sPath.isEmpty() && TryPluginDir) sPath = Finder.Resolve(QFileInfo(Core_GetCurrentPath()).path() + '/' + sName);
    Finder.SetLogResolutions(true);
    return sPath.replace(QLatin1String("$(InstallDir)"), GetInstallDir());
}

QString GetDefaultRegisterFile()
{
    return Core_IsLoaded() ? FindCoreFile(Core_GetCPURegFile(Core_GetCoreId()), true) : QString();
}

/// The peripherals of the device named: what the core's plug-in offers, a file of the device's own name, or the one
/// that the simulated devices of a maker share. Empty if there is none.
QString GetDefaultPeripheralFile(const QString& sDevice)
{
    if (Core_IsLoaded()) {
        const QString sPath = FindCoreFile(Core_GetPeriphRegFile(Core_GetCoreId()), false);
        if (!sPath.isEmpty()) return sPath;
    }
    QStringList Names{sDevice + QStringLiteral(".svd")};
    if (const DEVICE_ENTRY* pEntry = DEVICE_FindEntry(sDevice)) Names << pEntry->sManu + QStringLiteral("Sim.svd");
    for (const QString& sName : Names) {
        const QString sPath = GetPeripheralsDir() + '/' + sName;
        if (QFileInfo(sPath).isFile()) return sPath;
    }
    return {};
}

void OnRegisterFilesChanged(const QStringList& Files, const CMainWindow& Main)
{
    ClearCpuRegisters();
    for (const QString& sFile : Files) {
        const QString sPath = CFileFinder::Get().Resolve(sFile);
        if (sPath.isEmpty()) continue;
        LogDebug(QStringLiteral("Adding %1 to the register window").arg(QFileInfo(sPath).fileName()));
        if (!IsCpuRegisterFile(sPath)) continue;
        if (const QString sError = LoadCpuRegisters(sPath); !sError.isEmpty()) LogError(sError);
    }
    for (CWindow* pWindow : Main.GetWindows())
        if (auto* pRegisters = qobject_cast<CRegisterWindow*>(pWindow)) pRegisters->Rebuild();
}

void WireProject(CMainWindow& Main)
{
    PROJECT_HOOKS Hooks;
    Hooks.SetDeviceParam = [](int Id, I64 Value) {
        CDevice::Get().SetConfigParamAsync(DEV_CONFIG_PARAMS(Id), int(Value));
        if (Id != DCP_ENDIAN || !Core_IsLoaded()) return;
        WaitForConfiguration();
        LoadCorePlugin(); // the same plug-in takes over the byte order
    };
    Hooks.SetDeviceParamText = [](int Id, const QString& sValue) {
        CDevice::Get().SetConfigParamAsync(DEV_CONFIG_PARAMS(Id), sValue.toUtf8().constData());
        if (Id != DCP_DEVICE_NAME) return;
        WaitForConfiguration();
        LoadCorePlugin();
    };
    Hooks.SelectDevice = [&Main] {
        const QString sDevice = CDeviceTarget::Get().Config.GetString(DCP_DEVICE_NAME);
        const DEVICE_SELECTION Choice = ShowDeviceSelection({}, false, sDevice, &Main);
        return Choice.Accepted ? Choice.sDeviceName : QString();
    };
    Hooks.GetDeviceParam = [](int Id) { return I64(CDeviceTarget::Get().Config.GetInt(U32(Id))); };
    Hooks.GetDeviceParamText = [](int Id) { return CDeviceTarget::Get().Config.GetString(U32(Id)); };
    Hooks.PathsChanged = [&Main] {
        CSourceLines::Get().Clear();
        OnSourcePathsChanged();
        Main.GetSessionWindows().pSource->ReopenResolvedDocuments();
    };
    Hooks.RegisterFilesChanged = [&Main](const QStringList& Files) { OnRegisterFilesChanged(Files, Main); };
    Hooks.IsOSPluginSet = [] { return false; };
    Hooks.LoadOSPlugin = [](const QString& sPath) {
        return QStringLiteral("RTOS awareness plugin could not be loaded: ") + sPath;
    };
    Hooks.LoadCorePlugin = LoadCorePlugin;
    Hooks.IsCorePluginMissing = [] { return CDeviceTarget::Get().GetInfo().CoreId != 0 && !Core_IsLoaded(); };
    Hooks.HasCPURegisters = [] { return !GetCpuRegisterGroups().isEmpty(); };
    Hooks.DefaultRegisterFile = GetDefaultRegisterFile;
    Hooks.DefaultPeripheralFile = GetDefaultPeripheralFile;
    Hooks.HasSymbol = [](const QString& sName) {
        return !PROG_FindSymbols(sName, false, true, false, true, false).isEmpty();
    };
    Hooks.IsProgramOpen = [] { return PROG_IsLoaded(); };
    Hooks.CanProgramRun = [] { return (GetProgramFaults() & CORE_PROGRAM_NOT_EXECUTABLE) == 0; };
    Hooks.DataEndianMatches = [] { return (GetProgramFaults() & CORE_PROGRAM_DATA_ORDER) == 0; };
    Hooks.InstEndianMatches = [] { return (GetProgramFaults() & CORE_PROGRAM_INST_ORDER) == 0; };
    Hooks.SysVarChanged = [&Main](int VarID, I64 Value) { emit Main.SysVarEdited(VarID, Value); };
    Hooks.PreferenceChanged = [&Main](int VarID, I64 Value) {
        for (CWindow* pWindow : Main.GetWindows()) {
            pWindow->SetPreference(VarID, Value);
            pWindow->Repaint();
        }
    };
    Hooks.RelocateSymbols = [](const QString& sSymbols, int Offset) {
        const CProgLock Lock;
        return ELF_AddRelocation(sSymbols.toUtf8().constData(), Offset) == 0;
    };
    Hooks.SetConsoleLogFile = [](const QString& sPath) {
        CConsoleWindow::Get().SetLogFile(sPath);
        return sPath.isEmpty() || IsLogFileOpen(LOG_SLOT_CONSOLE);
    };
    Hooks.AskSavePath = [](const QString& sCaption, const QString& sFolder) {
        return AskSavePath(sCaption, sFolder, QStringLiteral("Project Files (*.bdebug)"));
    };
    Hooks.ShowErrorBox = [](const QString& sText) { CMessageBox::ShowInfo(QStringLiteral("Project Warning"), sText); };
    Hooks.ShowConsole = [&Main] { Main.ShowWindow(QStringLiteral("Console")); };
    Hooks.AddMemlaneSearchRange = [](U32 Addr, U32 Size) {
        return CDeviceServices::Get().AddMemlaneSearchRange(Addr, Size);
    };
    CProject::Get().SetHooks(Hooks);

    CORE_HOOKS& CoreHooks = Core_GetHooks();
    CoreHooks.SetProjectPluginPath = [](const QString& sPath) { CProject::Get().SetCorePluginFile(sPath); };
    // Batch mode answers no file dialogs: there a missing plug-in is an error at once.
    CoreHooks.IsInteractive = [] { return !CMessageBox::GetInterceptor(); };
    CoreHooks.AskPluginPath = [&Main](const QString& sTitle, const QString& sText) {
        return CPluginFileDialog::Ask(&Main, sTitle, sText);
    };
}

void WireEnvironment()
{
    WINDOW_ENV Env;
    Env.IsConnected = [] { return CDevice::Get().IsConnected(); };
    Env.IsHalted = [] { return CDevice::Get().IsConnected() && CDevice::Get().IsHalted(); };
    Env.IsDebugging = [] { return CDevice::Get().State.DebugStarted != 0; };
    Env.IsStepPending = [] { return CDevice::Get().IsJobScheduled(BT_ANY_STEP) || CDevice::Get().State.SrcStepActive; };
    Env.GetPC = [] { return CDevice::Get().GetPC(); };
    Env.GetInstAlignment = [] { return std::max<U32>(Core_GetStaticInfo().InstAlignment, 1); };
    Env.PerformCommand = [](const QString& sCommand, const QStringList& Params) {
        const int Id = FindCommand(sCommand);
        return Id < 0 ? -1 : int(PerformActionList(Id, Params));
    };
    Env.IsCommandEnabled = [](const QString& sCommand) {
        const int Id = FindCommand(sCommand);
        return IsCommandEnabled(Id) && !IsCommandAbsent(Id);
    };
    Env.LinkActions = LinkActions;
    Env.UnlinkActions = UnlinkActions;
    SetWindowEnv(Env);
}

} // namespace

void WireWindowEnvironment()
{
    WireEnvironment();
    CMessageBox::SetCheckBoxAllowed([] { return GetVarValue(PREF_DIALOG_SHOW_DNSA) != 0; });
}

void WireWindows(CMainWindow& Main)
{
    WireProject(Main);
    WireDebugViews(Main);
    WireTargetIO(Main);
    WireSettings(Main);
    WireConsoleCompletion(Main);
    CConsoleWindow::Get().SetBusyCheck(
        [] { return CProject::Get().IsOpening() || BScript::IsRunning() || !CDevice::Get().IsIdle(); });
}

void UnwireLayers()
{
    SetCompletionSources({});
    CProject::Get().SetHooks({});
    SetActionHooks({});
    BScript::SetHooks({});
    SetWindowEnv({});
}
