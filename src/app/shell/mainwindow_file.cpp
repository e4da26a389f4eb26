// Opening projects, programs and sources; reload of a changed program; closing of documents.
#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/console/consolewindow.h"
#include "app/console/messageplace.h"
#include "app/services/appinfo.h"
#include "app/services/cmdline.h"
#include "app/services/log.h"
#include "app/services/messages.h"
#include "app/shell/aboutbox.h"
#include "app/shell/askpath.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "app/shell/sessiondecisions.h"
#include "app/shell/warningsdialog.h"
#include "app/shell/programdata.h"
#include "app/shell/sourcestats.h"
#include "app/shell/programload.h"
#include "core/cache/core.h"
#include "core/host/corehost.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "device/target/deviceservices.h"
#include "device/target/devicetarget.h"
#include "program/tables/prog.h"
#include "project/file/project.h"
#include "project/finder/filefinder.h"
#include "project/settings/sysvars.h"
#include "project/wizard/projectwizard.h"
#include "script/host/bscript.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/statusbar.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>

namespace {
constexpr char ERR_INVALID_ADDRESS[] = "Invalid Address Parameter";
} // namespace

QString CMainWindow::OpenFile(const QString& sPath, U32 Flags)
{
    QString sFile = QFileInfo::exists(sPath) ? sPath : CFileFinder::Get().Resolve(sPath);
    const QFileInfo Info(sFile);
    if (sFile.isEmpty() || !Info.exists() || Info.isDir()) return QLatin1String(ERR_FILE_NOT_FOUND);
    sFile = Info.absoluteFilePath();
    m_S.OpenFlags = Flags;
    switch (DecideOpenKind(sFile)) {
    case OPEN_PROJECT: OpenProject(sFile); break;
    case OPEN_SOURCE: m_W.pSource->Open(sFile); break;
    case OPEN_DATA: return OpenDataFile(sFile);
    }
    return {};
}

// ---- Projects ------------------------------------------------------------------------------------------

void CMainWindow::OpenProject(const QString& sPath)
{
    if (!QFileInfo::exists(sPath)) return;
    if (CDevice::Get().IsConnected()) {
        if (CMessageBox::Ask(MSGBOX_STOP_DEBUGGING) != QDialogButtonBox::Yes) return;
        m_S.PendingAction = PENDING_OPEN_PROJECT;
        m_S.sStoredProject = sPath;
        ::PerformAction(ACT_DEBUG_STOP);
        return;
    }
    if (!SaveModifiedDocuments()) return;
    CProject& Project = CProject::Get();
    const QString sProbeSettings = CProject::GetProbeSettingsPath(sPath);
    if (!sProbeSettings.isEmpty()) Project.GetHooks().SetDeviceParamText(DCP_SCRIPT_FILE, sProbeSettings);
    Project.SetFromCmdLine({});
    Project.Close();
    CloseProgram();
    Project.Open(sPath);
}

void CMainWindow::OnProjectFileOpened(QString sPath)
{
    AddRecent(m_RecentProjects, sPath);
    UpdateTitle();
    CProject& Project = CProject::Get();
    m_W.pSource->Open(sPath);
    if (BScript::HasError()) {
        Project.LogScriptError();
        ShowWindow(QStringLiteral("Console"));
        ShowScriptError();
        return;
    }
    Project.PrepareProjectLoad();
    BScript::ExecScriptFunction(EVENT_ON_PROJECT_LOAD);
    if (Project.GetPath() != sPath) return; // it has opened another one, or closed itself
    if (!ShowProjectWarnings()) return;
    LoadDefaultRegisterSet();
    UpdateConnectionLabel();
    UpdateActions();
    UpdateTitle();
}

void CMainWindow::OnProjectFileClosed(QString sPath)
{
    CDeviceServices::Get().ForgetMemlaneSearchRanges(); // they were the project's
    const QStringList Unsaved = m_W.pSource->GetDocsWithUnsavedChangesFileNames();
    if (m_W.pSource->IsOpen(sPath) && !Unsaved.contains(QFileInfo(sPath).fileName()) && !Unsaved.contains(sPath))
        m_W.pSource->Close(sPath);
    UpdateTitle();
    UpdateActions();
}

void CMainWindow::CheckProjectFileChanged()
{
    if (!BScript::ReloadIfChanged()) return;
    CProject::Get().ForgetScriptErrors();
    ShowProjectWarnings();
    ShowScriptError();
}

void CMainWindow::ShowScriptError()
{
    const int Line = BScript::HasError() ? BScript::GetErrorLine() : -1;
    const QString sPath = BScript::GetProjectPath();
    if (Line >= 1 && QFileInfo(sPath).isFile()) m_W.pSource->Open(sPath, DOC_OPEN_CURRENT, Line - 1);
}

void CMainWindow::ShowMessagePlace(const QString& sText)
{
    const std::optional<MESSAGE_PLACE> Place = FindMessagePlace(sText);
    if (!Place) return;
    const QString sPath = Place->sFile.isEmpty() ? BScript::GetProjectPath() : CFileFinder::Get().Resolve(Place->sFile);
    if (QFileInfo(sPath).isFile()) m_W.pSource->Open(sPath, DOC_OPEN_CURRENT, Place->Line - 1);
}

void CMainWindow::SetDefaultDirOf(bool Save, const QString& sFile)
{
    (Save ? m_sDefaultDirSave : m_sDefaultDirOpen) = QFileInfo(sFile).absolutePath();
}

bool CMainWindow::ShowProjectWarnings()
{
    CProject& Project = CProject::Get();
    const QStringList Warnings = Project.GetWarnings();
    bool Cancel = false;
    if (!Warnings.isEmpty() && GetVarValue(PREF_SHOW_PROJECT_WARNINGS_DIALOG))
        Cancel = CWarningsDialog::Ask(Warnings, Project.GetPath(), this) == CWarningsDialog::CANCELED;
    Project.LogNewWarnings();
    if (Cancel) ::PerformAction(ACT_FILE_NEW_PROJECT);
    UpdateActions();
    return !Cancel;
}

void CMainWindow::LoadDefaultRegisterSet()
{
    const PROJECT_HOOKS& Hooks = CProject::Get().GetHooks();
    if (Hooks.HasCPURegisters()) return;
    const QString sFile = Hooks.DefaultRegisterFile();
    if (sFile.isEmpty()) return;
    LogMessage(71, sFile.toUtf8().constData());
    ::PerformAction(ACT_PROJECT_ADD_SVD_FILE, sFile);
}

void CMainWindow::NewProject()
{
    if (CDevice::Get().IsConnected()) {
        if (CMessageBox::Ask(MSGBOX_STOP_DEBUGGING) != QDialogButtonBox::Yes) return;
        ::PerformAction(ACT_DEBUG_STOP);
        CDevice::Get().WaitUntilDone(BT_DISCONNECT, true);
    }
    if (!SaveModifiedDocuments()) return;
    CProject::Get().SetFromCmdLine({});
    CProject::Get().Close();
    CloseProgram();
    UpdateTitle();
    UpdateActions();
}

bool CMainWindow::CreateProject(const QString& sPath, const QStringList& Commands, bool Ask)
{
    if (CDevice::Get().IsConnected()) {
        LogError(QStringLiteral("Attempting to create project while debug session is running"));
        return false;
    }
    if (Ask && !SaveModifiedDocuments()) return false;
    CProject& Project = CProject::Get();
    Project.Close();
    BScript::SetProjectPath(sPath);
    ParseVarText(VAR_BREAK_AT_THIS_SYMBOL, 0, QStringLiteral("main"));
    SetVar(VAR_TRACE_SOURCE, 0, false);
    CloseProgram();
    const bool Created = Project.CreateFromCommands(Commands) == 0;
    if (!Ask)
        Project.LogNewWarnings();
    else if (!ShowProjectWarnings())
        return false;
    LoadDefaultRegisterSet();
    UpdateTitle();
    UpdateActions();
    return Created;
}

bool CMainWindow::CreateProjectFromCmdLine()
{
    const CmdLineArgs Args = GetCmdLineArgs();
    // The description files of a core are known to its plug-in, so it is there before the commands are made.
    U32 CoreId = 0;
    if (CDeviceTarget::Get().GetDeviceInfo(Args.Device.toUtf8().constData(), &CoreId) == 0) Core_Load(int(CoreId));
    CProject& Project = CProject::Get();
    const QStringList Commands = Project.CreateFromCmdLine(Args);
    if (Commands.isEmpty()) return false;
    Project.SetFromCmdLine(Commands);
    // The file is a project whatever its suffix is.
    bool Created = false;
    if (!QFileInfo(Args.ProjectFile).isFile()) {
        Created = CreateProject(Args.ProjectFile, Commands, false);
    } else if (Project.WriteCmdLineSettings(Args.ProjectFile)) {
        OpenProject(Args.ProjectFile);
        Created = true;
    }
    Project.SetFromCmdLine(Commands); // opening forgets where a project came from
    return Created;
}

// ---- Programs ------------------------------------------------------------------------------------------

/// The source window keeps its documents, and what the user fills or can clear stays: breakpoints wait for their
/// program, and in the console the errors of a project's first lines are still to be read.
void CMainWindow::ClearProgramWindows()
{
    for (CWindow* pWindow : m_Windows)
        if (pWindow != this && pWindow != m_W.pSource && !pWindow->IsContentsModifiable()) pWindow->Clear();
}

void CMainWindow::CloseProgram()
{
    const std::lock_guard Lock(CDevice::Get().GetDeviceMutex());
    PROG_Unload();
    CProject::Get().SetProgramFile({});
    m_S.sProgramPath.clear();
    ClearProgramData();
    ResolveBreakSymbol(); // the address of the program that goes is none of the next session's
    CDeviceDataManager::Get().Invalidate();
    ClearProgramWindows();
}

QString CMainWindow::OpenDataFile(const QString& sPath)
{
    QString sError;
    m_S.OpenTime.start();
    if (sPath.isEmpty()) {
        CloseProgram();
    } else if (IsElfProgram(sPath)) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        CStatusBar::Get().SetStatusMessage(QStringLiteral("Opening File..."));
        OpenElfDataFile(sPath);
        QApplication::restoreOverrideCursor();
    } else {
        sError = OpenOtherDataFile(sPath, QFileInfo(sPath).suffix().compare("bin", Qt::CaseInsensitive) == 0);
    }
    // How this file was to be opened says nothing about the next one, and a file that failed has not taken it.
    m_S.OpenFlags = 0;
    m_S.DownloadMode = DM_PROGRAM;
    m_S.LoadAddr = -1;
    return sError;
}

void CMainWindow::OpenElfDataFile(const QString& sPath)
{
    CDevice& Dev = CDevice::Get();
    CDeviceDataManager::Get().Invalidate();
    if (!Dev.IsHalted()) Dev.ResetTargetExecStateAsync();
    ClearProgramWindows();
    ClearProgramData();
    if (LoadProgramFile(sPath) < 0) {
        // The reason is in the console already; the project keeps no program that isn't there.
        CProject::Get().SetProgramFile({});
        m_S.sProgramPath.clear();
        ResolveBreakSymbol();
        CStatusBar::Get().SetStatusMessage(QStringLiteral("Ready"));
        UpdateActions();
        UpdateTitle();
        return;
    }
    CProject::Get().SetProgramFile(sPath);
    emit DataFileOpened(sPath);
}

QString CMainWindow::OpenOtherDataFile(const QString& sPath, bool Binary)
{
    CDevice& Dev = CDevice::Get();
    if (Binary && m_S.LoadAddr < 1) return QLatin1String(ERR_INVALID_ADDRESS);
    const QString sError = LoadOtherProgramData(sPath, Binary ? U32(m_S.LoadAddr) : 0);
    if (!sError.isEmpty()) {
        LogError(sError);
        return {};
    }
    {
        const std::lock_guard Lock(Dev.GetDeviceMutex());
        PROG_Unload();
    }
    DecodeProgram();
    CProject::Get().SetProgramFile(sPath);
    ClearProgramWindows();
    if (!Dev.IsHalted()) {
        Dev.ResetTargetExecStateAsync();
        Dev.WaitForJob(BT_RESET_TARGET_EXEC_STATE, false, 100);
    }
    emit DataFileOpened(sPath);
    return {};
}

void CMainWindow::OnDataFileOpened(QString sPath)
{
    CDevice& Dev = CDevice::Get();
    AddRecent(m_RecentPrograms, sPath);
    const PROJECT_HOOKS& Hooks = CProject::Get().GetHooks();
    if (PROG_IsLoaded() && !Hooks.DataEndianMatches()) {
        LogMessage(93);
        ::PerformAction(ACT_TARGET_SET_ENDIANESS, PROG_GetByteOrder());
    }
    for (CWindow* pWindow : m_Windows)
        if (PROG_IsLoaded()) pWindow->SetSrcLanguage(PROG_GetSrcLang());
    ResolveBreakSymbol();
    UpdateActions();
    UpdateTitle();
    LookUpProgramSources();
    if (sPath == m_S.sProgramPath)
        m_W.pSource->ReopenResolvedDocuments();
    else
        m_W.pSource->SelectLocation(PROG_GetMainSrcLoc());
    if (PROG_IsLoaded())
        LogInfo(QStringLiteral("File.Open: completed in %1 ms").arg(m_S.OpenTime.elapsed()));
    const bool SameFile = sPath == m_S.sProgramPath;
    const U32 Flags = std::exchange(m_S.OpenFlags, 0);
    const DOWNLOAD_MODES Mode = std::exchange(m_S.DownloadMode, DM_PROGRAM);
    m_S.sProgramPath = sPath;
    m_S.LoadAddr = -1;
    if (!Dev.IsConnected()) {
        CStatusBar::Get().SetStatusMessage(QStringLiteral("Ready"));
        return;
    }
    if (Mode == DM_FILE) {
        Download(sPath, {}, DM_FILE);
    } else if (!Dev.IsHalted() || !PROG_IsLoaded() || (SameFile && (Flags & OPEN_FLAG_RELOAD))) {
        Reset(RM_RESET_BEFORE_DOWNLOAD);
    } else if (Flags & OPEN_FLAG_INTERACTIVE) {
        if (CMessageBox::Ask(MSGBOX_DOWNLOAD_PROGRAM) == QDialogButtonBox::Yes) Reset(RM_RESET_BEFORE_DOWNLOAD);
    }
}

void CMainWindow::CheckProgramFileChanged()
{
    if (m_S.AskingReload) return;
    CProject& Project = CProject::Get();
    const QString sPath = Project.GetProgramFile();
    const QFileInfo Info(sPath);
    if (sPath.isEmpty() || !Info.exists() || Info.lastModified() == Project.GetProgramFileTime()) return;
    m_S.AskingReload = true;
    Project.SetProgramFile(sPath);
    if (CMessageBox::Ask(MSGBOX_RELOAD_PROGRAM) == QDialogButtonBox::Yes) {
        m_S.OpenFlags = OPEN_FLAG_RELOAD;
        SetActionParams(ACT_FILE_OPEN, sPath);
        ::PerformAction(ACT_FILE_OPEN);
    }
    m_S.AskingReload = false;
}

bool CMainWindow::SaveModifiedDocuments()
{
    const QStringList Names = m_W.pSource->GetDocsWithUnsavedChangesFileNames();
    if (Names.isEmpty()) return true;
    const auto Answer = Names.size() == 1 ? CMessageBox::Ask(MSGBOX_SAVE_DOCUMENT, Names.first())
                                          : CMessageBox::Ask(MSGBOX_SAVE_DOCUMENTS, Names.join('\n'));
    if (Answer == QDialogButtonBox::Cancel) return false;
    // What could not be saved must not be lost by what comes next.
    return Answer != QDialogButtonBox::Yes || m_W.pSource->SaveAll();
}

// ---- Commands ------------------------------------------------------------------------------------------

namespace {

void OnFileOpen(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    QString sPath = GetActionParam(Id);
    SESSION_STATE& S = CMainWindow::Get().GetSession();
    U32 Flags = S.OpenFlags & OPEN_FLAG_RELOAD;
    if (!HasActionParams(Id)) {
        Flags |= OPEN_FLAG_INTERACTIVE;
        sPath = AskOpenPath(QStringLiteral("Open File"), CMainWindow::Get().GetDefaultDir(false),
                            QStringLiteral("All Files (*);;Source Files (*.h *.c *.hpp *.cpp *.s);;"
                                           "Data Files (*.bin *.mot *.srec *.hex *.elf *.out *.axf);;"
                                           "Project Files (*.bdebug)"));
        if (sPath.isEmpty()) return SetActionSilent(Id);
        CMainWindow::Get().SetDefaultDirOf(false, sPath);
    }
    SetActionParams(Id, sPath);
    const QString sError = CMainWindow::Get().OpenFile(sPath, Flags);
    if (sError.isEmpty()) return;
    if (sError != QLatin1String(ERR_FILE_NOT_FOUND) || !IsDataFileName(sPath)) return SetActionError(Id, sError, sPath);
    // A missing program is a fault of the project: it stands among the warnings that are shown when it is loaded.
    char ac[2300];
    FormatMessage(70, ac, sizeof(ac), sPath.toUtf8().constData());
    CProject::Get().AddWarning(QString::fromUtf8(ac));
    if (BScript::GetRunningEvent() == EVENT_ON_PROJECT_LOAD)
        SetActionSilent(Id);
    else
        SetActionError(Id, ERR_FILE_NOT_FOUND, sPath);
}

void OnFileLoad(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    const QStringList Params = GetActionParams(Id);
    QString sPath = Params.value(0);
    if (sPath.isEmpty()) {
        sPath = AskOpenPath(QStringLiteral("Load File"));
        if (sPath.isEmpty()) return SetActionSilent(Id);
    }
    const QString sFile = CFileFinder::Get().Resolve(sPath);
    if (sFile.isEmpty() || !QFileInfo(sFile).isFile()) return SetActionError(Id, ERR_FILE_NOT_FOUND, sPath);
    bool HasAddr = false;
    const I64 Addr = Params.value(1).toLongLong(&HasAddr, 0);
    const bool Binary = QFileInfo(sFile).suffix().compare("bin", Qt::CaseInsensitive) == 0;
    if (Binary && !(HasAddr && Addr <= 0xFFFFFFFF)) return SetActionError(Id, QLatin1String(ERR_INVALID_ADDRESS));
    SESSION_STATE& S = CMainWindow::Get().GetSession();
    S.DownloadMode = DM_FILE;
    S.LoadAddr = IsElfProgram(sFile) || !HasAddr ? -1 : Addr;
    const QString sError = CMainWindow::Get().OpenDataFile(sFile);
    if (!sError.isEmpty()) SetActionError(Id, sError);
}

void OnFileNewProject(int Id)
{
    if (CheckParamCount(Id)) CMainWindow::Get().NewProject();
}

void OnFileNewProjectWizard(int Id)
{
    if (!CheckParamCount(Id)) return;
    if (CDevice::Get().IsConnected()) {
        LogError(QStringLiteral("Attempting to create project while debug session is running"));
        return SetActionSilent(Id);
    }
    CProjectWizard Wizard(&CMainWindow::Get());
    bool Done = false;
    QObject::connect(&Wizard, &CProjectWizard::Finished, [&Done](QStringList& Commands) {
        Done = true;
        CProject::Get().SetFromCmdLine({});
        CMainWindow::Get().CreateProject({}, Commands, true);
    });
    if (const auto& Interceptor = CMessageBox::GetInterceptor()) {
        const auto Buttons = Wizard.CanFinish() ? QDialogButtonBox::Ok | QDialogButtonBox::Cancel : QDialogButtonBox::Cancel;
        const int Answer = Interceptor(Wizard.windowTitle(), Wizard.GetSummary(), Buttons);
        if (Wizard.CanFinish() && Answer != QDialogButtonBox::Cancel) {
            Wizard.OnButtonFinishPressed();
            CDevice::Get().WaitUntilDone(BT_GET_DEVICE_INFO, true);
        }
    } else {
        Wizard.exec();
    }
    if (!Done) SetActionSilent(Id);
}

void OnFileExit(int Id)
{
    if (CheckParamCount(Id)) QMetaObject::invokeMethod(&CMainWindow::Get(), "close", Qt::QueuedConnection);
}

void OnFileClose(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    CSourceWindow& Source = *CMainWindow::Get().GetSessionWindows().pSource;
    const QString sPath = HasActionParams(Id) ? GetActionParam(Id) : Source.GetActiveFile();
    if (!Source.IsOpen(sPath)) return SetActionError(Id, ERR_FILE_NOT_FOUND, sPath);
    SetActionParams(Id, sPath);
    Source.Close(sPath);
}

void OnFileSave(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    CSourceWindow& Source = *CMainWindow::Get().GetSessionWindows().pSource;
    const QString sPath = HasActionParams(Id) ? GetActionParam(Id) : Source.GetActiveFile();
    if (!Source.IsOpen(sPath)) return SetActionError(Id, ERR_FILE_NOT_FOUND, sPath);
    SetActionParams(Id, sPath);
    Source.Save(sPath);
    CMainWindow::Get().CheckProjectFileChanged(); // it may be the project that was edited
}

/// True when a file of this name can be written. An existing one stays as it is.
bool CanCreate(const QString& sPath)
{
    const bool Existed = QFileInfo::exists(sPath);
    QFile File(sPath);
    if (!File.open(QIODevice::ReadWrite)) return false;
    File.close();
    return Existed || File.remove();
}

void OnFileSaveProjectAs(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    CMainWindow& Main = CMainWindow::Get();
    QString sPath = GetActionParam(Id);
    if (!HasActionParams(Id)) {
        sPath = AskSavePath(QStringLiteral("Save Project as..."), Main.GetDefaultDir(true),
                            QStringLiteral("Project Files (*.bdebug)"));
        if (sPath.isEmpty()) return SetActionSilent(Id);
    }
    if (!sPath.isEmpty() && QFileInfo(sPath).suffix().isEmpty()) sPath += QStringLiteral(".bdebug");
    if (!QDir::match(QStringLiteral("*.bdebug"), QFileInfo(sPath).fileName()) || !CanCreate(sPath))
        return SetActionError(Id, QStringLiteral("invalid project filename"));
    Main.SetDefaultDirOf(true, sPath);
    SetActionParams(Id, sPath);
    // A project outlives the folder that a console line is relative to.
    if (!CProject::Get().Save(QFileInfo(sPath).absoluteFilePath())) SetActionError(Id, QStringLiteral("invalid project filename"));
    Main.UpdateTitle();
    Main.UpdateActions();
}

void OnFileSaveAll(int Id)
{
    if (!CheckParamCount(Id)) return;
    CProject& Project = CProject::Get();
    if (Project.IsModified()) {
        if (QFileInfo(Project.GetPath()).isFile())
            Project.Save(Project.GetPath());
        else if (Project.GetPath().isEmpty())
            ::PerformAction(ACT_FILE_SAVE_PROJECT_AS);
        else
            ::PerformAction(ACT_FILE_SAVE_PROJECT_AS, Project.GetPath()); // chosen before, only not there yet
    }
    CMainWindow::Get().GetSessionWindows().pSource->SaveAll();
    CMainWindow::Get().CheckProjectFileChanged(); // it may be among the documents
}

void OnHelpCommands(int Id)
{
    if (CheckParamCount(Id)) CConsoleWindow::Get().PrintCommandHelp();
}

void OnHelpAbout(int Id)
{
    if (CheckParamCount(Id)) ShowAboutBox(&CMainWindow::Get());
}

} // namespace

void RegisterFileCommands()
{
    SetCommandHandler(ACT_FILE_OPEN, OnFileOpen);
    SetCommandHandler(ACT_FILE_LOAD, OnFileLoad);
    SetCommandHandler(ACT_FILE_NEW_PROJECT, OnFileNewProject);
    SetCommandHandler(ACT_FILE_NEW_PROJECT_WIZARD, OnFileNewProjectWizard);
    SetCommandHandler(ACT_FILE_EXIT, OnFileExit);
    SetCommandHandler(ACT_FILE_CLOSE, OnFileClose);
    SetCommandHandler(ACT_FILE_CLOSE_ALL,
                      [](int Id) { if (CheckParamCount(Id)) CMainWindow::Get().GetSessionWindows().pSource->CloseAll(); });
    SetCommandHandler(ACT_FILE_SAVE, OnFileSave);
    SetCommandHandler(ACT_FILE_SAVE_PROJECT_AS, OnFileSaveProjectAs);
    SetCommandHandler(ACT_FILE_SAVE_ALL, OnFileSaveAll);
    SetCommandHandler(ACT_HELP_COMMANDS, OnHelpCommands);
    SetCommandHandler(ACT_HELP_ABOUT, OnHelpAbout);
}
