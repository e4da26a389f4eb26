#include "app/shell/mainwindow.h"

#include "app/actions/actions.h"
#include "app/console/consolewindow.h"
#include "app/services/appinfo.h"
#include "app/services/cmdline.h"
#include "app/services/log.h"
#include "app/services/settingsstore.h"
#include "app/shell/askpath.h"
#include "app/shell/commandtable.h"
#include "app/shell/docktabs.h"
#include "app/shell/programdata.h"
#include "app/shell/welcomescreen.h"
#include "app/shell/wiring.h"
#include "core/cache/core.h"
#include "core/host/corehost.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/queue/device.h"
#include "device/queue/deviceeventworker.h"
#include "device/target/devicetarget.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"
#include "project/file/project.h"
#include "project/settings/appearance.h"
#include "project/settings/settingsnotifier.h"
#include "project/settings/settingspersist.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"
#include "views/debug/breakpointwindow.h"
#include "views/debug/callstackwindow.h"
#include "views/debug/disassemblywindow.h"
#include "views/debug/registerwindow.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/statusbar.h"
#include "views/theme/icons.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMenuBar>
#include <QTabBar>

namespace {
CMainWindow* s_pMainWindow = nullptr;
} // namespace

CMainWindow& CMainWindow::Get()
{
    if (!s_pMainWindow) new CMainWindow;
    return *s_pMainWindow;
}

bool CMainWindow::Exists()
{
    return s_pMainWindow != nullptr;
}

void CMainWindow::Destroy()
{
    // A dialog that is still open may hold a cell that is being edited, which is taken over as it hides.
    if (s_pMainWindow)
        for (QDialog* pDialog : s_pMainWindow->findChildren<QDialog*>()) pDialog->hide();
    delete s_pMainWindow;
}

CMainWindow::CMainWindow() : CWindow(nullptr, QStringLiteral("MainWindow"))
{
    s_pMainWindow = this;
    InstallQtMessageHandler();
    setAccessibleName(QString()); // its title says more
    setLocale(QLocale(QLocale::English));
    QLocale::setDefault(QLocale(QLocale::English));
    setWindowIcon(GetIcon(QStringLiteral("magnifier-32")));
    InitSysVars();
    InitColorsAndFonts(QApplication::font());
    LoadPreferences();
    LoadColorsAndFonts();
    RestoreAppearance();
    WireLayers();
    WireWindowEnvironment();
    CDevice::Get().CreateEventWorker(this);

    setStatusBar(&CStatusBar::Get());
    connect(&CStatusBar::Get(), &CStatusBar::Canceled, this, [] { CDevice::Get().State.TransferCanceled = 1; });
    RegisterConnectCommands();
    RegisterRunCommands();
    RegisterFileCommands();
    RegisterDocumentCommands();
    RegisterPlaceCommands();
    RegisterSymbolCommands();
    RegisterWindowCommands();
    RegisterBreakCommands();
    RegisterTargetCommands();
    RegisterProjectCommands();
    RegisterSettingsCommands();
    BuildWindows();
    BuildActions();
    BuildMenus();
    BuildToolBars();
    LinkWindowActions();
    CreateTimers();
    ConnectWindows();
    WireWindows(*this);
    SetVar(VAR_RESET_MODE, RM_BREAK_AT_SYMBOL, false);
    SetVar(VAR_CONNECT_MODE, CM_DOWNLOAD_RESET, false);
    UpdateModeButtons();
    RestoreAppData();
    UpdateConnectionLabel();
    UpdateTitle();
    UpdateActions();
    qApp->installEventFilter(this);
}

CMainWindow::~CMainWindow()
{
    qApp->removeEventFilter(this);
    UnwireLayers();
    s_pMainWindow = nullptr;
}

void CMainWindow::CreateTimers()
{
    const auto Init = [this](QTimer& Timer, int Interval, bool SingleShot, void (CMainWindow::*pfSlot)()) {
        Timer.setInterval(Interval);
        Timer.setSingleShot(SingleShot);
        connect(&Timer, &QTimer::timeout, this, pfSlot);
    };
    Init(m_TabBarUpdateTimer, 200, true, &CMainWindow::OnTabBarUpdateTimerTimeout);
    Init(m_WindowShownTimer, 10, true, &CMainWindow::OnWindowShown);
    Init(m_TargetHaltedTimer, 100, true, &CMainWindow::OnTargetHaltedAndTOElapsed);
    Init(m_MessageBoxTimer, 100, true, &CMainWindow::OnMessageBoxTimerTimeout);
    Init(m_PeriodicUpdateTimer, 200, false, &CMainWindow::OnPeriodicUpdateTimerTimeout);
}

void CMainWindow::ConnectWindows()
{
    connect(&CSettingsNotifier::Get(), &CSettingsNotifier::VarChanged, this, &CMainWindow::OnVarChanged);
    connect(&CProject::Get(), &CProject::ModifiedChanged, this, &CMainWindow::UpdateTitle);
    connect(&CProject::Get(), &CProject::Written, m_W.pSource, &CSourceWindow::ReloadChangedDocuments);
    connect(&CProject::Get(), &CProject::ModifiedChanged, this, &CMainWindow::UpdateActions);
    connect(m_W.pSource, &CSourceWindow::DocumentStateChanged, this, &CMainWindow::UpdateActions);
    connect(m_W.pSource, &CSourceWindow::DocumentListChanged, this, &CMainWindow::UpdateActions);
    if (const auto* pTabs = m_W.pSource->findChild<QTabBar*>())
        connect(pTabs, &QTabBar::currentChanged, this, &CMainWindow::UpdateActions);
    connect(this, &CMainWindow::DataFileOpened, this, &CMainWindow::OnDataFileOpened);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget* pOld, QWidget* pNew) {
        if (!pOld || pNew != menuBar()) return;
        m_pFocusBeforeMenu = nullptr;
        for (CWindow* pWindow : std::as_const(m_Windows))
            if (pWindow != this && (pWindow->isAncestorOf(pOld) || pWindow == pOld)) m_pFocusBeforeMenu = pWindow;
    });
    CCallStack& Stack = CCallStack::GetInstance();
    CBreakpointsDataModel& Points = CBreakpointsDataModel::Get();
    connect(&Points, &CBreakpointsDataModel::Changed, this, &CMainWindow::UpdateActions);
    connect(&Points, &CBreakpointsDataModel::Changed, m_W.pBreakpoints, &CBreakpointWindow::OnBreakpointsChanged);
    connect(&Points, &CBreakpointsDataModel::Changed, m_W.pSource, &CSourceWindow::UpdateSidebarIcons);
    connect(&Points, &CBreakpointsDataModel::Changed, m_W.pDisassembly, &CDisassemblyWindow::Repaint);
    connect(this, &CMainWindow::DataFileDownloaded, this,
            [&Points](const QString& sPath) { Points.OnDataFileDownloaded(sPath); });
    connect(&Stack, &CCallStack::UnwindNextFrameDone, m_W.pCallStack, &CCallStackWindow::OnNextFrameUnwinded);
    for (int i = 0; i < m_Windows.size(); i++) JoinSelections(m_Windows[i], m_Windows.mid(0, i));
}

void CMainWindow::OnCallSiteSelected(int CallStackIdx)
{
    CCallStack& Stack = CCallStack::GetInstance();
    const CCallFrame& Frame = Stack.GetFrame(CallStackIdx);
    if (Frame.IsEmpty()) return;
    Stack.EvalFrame(CallStackIdx);
    const CSrcLoc Loc = CallStackIdx == 0 ? PROG_GetFirstSrcLoc(U32(Stack.GetPC(Frame))) : Stack.GetCallSite(Frame);
    if (Loc.IsValid()) m_W.pSource->SelectLocation(Loc);
}

void CMainWindow::OnVarChanged(int VarID, I64)
{
    if (VarID == VAR_CONNECT_MODE || VarID == VAR_RESET_MODE) UpdateModeButtons();
    if (VarID == VAR_BREAK_AT_THIS_SYMBOL) ResolveBreakSymbol();
}

void CMainWindow::OnWindowShown()
{
    // The worker reads the path as well, but may not have come to it yet.
    CDeviceTarget::Get().UpdateBrylloLibPath();
    Log(QStringLiteral("Bryllo software found at: ") + CDeviceTarget::Get().GetInfo().LibPath,
        MSG_INFO | MSG_STDOUT | MSG_FILE);
    emit InitComplete();
    ApplyCmdLine();
    OnSideBarStateChanged();
    for (const QString& sName : GetUnknownActionNames())
        qWarning("Unknown GUI action could not be linked: %s", qPrintable(sName));
}

void CMainWindow::ApplyCmdLine()
{
    const QStringList Args = GetArguments();
    if (!Args.isEmpty() && Args.first().endsWith(QStringLiteral(".bdebug"))) {
        ::PerformAction(ACT_FILE_OPEN, Args.first());
    } else if (!GetCmdLineArgs().Device.isEmpty()) {
        CreateProjectFromCmdLine();
    } else if (m_RecentProjects.isEmpty()) {
        ::PerformAction(ACT_FILE_NEW_PROJECT);
        // A run without hands begins with its first line.
        if (GetCmdLineArgs().BatchFile.isEmpty()) ::PerformAction(ACT_FILE_NEW_PROJECT_WIZARD);
    } else if (GetVarValue(PREF_START_WITH_MOST_RECENT_PROJ)) {
        ::PerformAction(ACT_FILE_OPEN, m_RecentProjects.first());
    } else {
        ShowWelcomeScreen();
    }
}

void CMainWindow::ShowWelcomeScreen()
{
    const CWelcomeScreen::SELECTION Choice = CWelcomeScreen::Ask(m_RecentProjects, this);
    switch (Choice.Result) {
    case WELCOME_OPEN_PROJECT:
        if (const QString sPath = AskProjectPath(); !sPath.isEmpty())
            ::PerformAction(ACT_FILE_OPEN, sPath);
        else
            ShowWelcomeScreen(); // nothing was chosen, so the question stands
        break;
    case WELCOME_OPEN_RECENT: ::PerformAction(ACT_FILE_OPEN, Choice.sPath); break;
    default:
        ::PerformAction(ACT_FILE_NEW_PROJECT);
        if (Choice.Result == WELCOME_NEW_PROJECT) ::PerformAction(ACT_FILE_NEW_PROJECT_WIZARD);
    }
}

QString CMainWindow::AskProjectPath()
{
    const QString sPath = AskOpenPath(QStringLiteral("Open Project"), m_sDefaultDirOpen,
                                                       QStringLiteral("Project Files (*.bdebug);;All Files (*)"));
    if (!sPath.isEmpty()) SetDefaultDirOf(false, sPath);
    return sPath;
}

void CMainWindow::closeEvent(QCloseEvent* pEvent)
{
    OnWindowClosed(pEvent);
}

void CMainWindow::OnWindowClosed(QCloseEvent* pEvent)
{
    CDevice& Dev = CDevice::Get();
    if (Dev.IsConnected()) {
        if (CMessageBox::Ask(MSGBOX_STOP_DEBUGGING) == QDialogButtonBox::Yes) {
            m_S.PendingAction = PENDING_CLOSE;
            ::PerformAction(ACT_DEBUG_STOP);
        }
        pEvent->ignore();
        return;
    }
    CProject& Project = CProject::Get();
    if (Project.IsModified()) {
        const auto Answer = CMessageBox::Ask(MSGBOX_SAVE_PROJECT);
        if (Answer == QDialogButtonBox::Cancel) return pEvent->ignore();
        if (Answer == QDialogButtonBox::Yes) {
            if (Project.GetPath().isEmpty())
                ::PerformAction(ACT_FILE_SAVE_PROJECT_AS);
            else
                Project.Save(Project.GetPath());
            // A save that was called off or failed is no reason to lose the project.
            if (Project.IsModified()) return pEvent->ignore();
        }
    }
    if (!SaveModifiedDocuments()) return pEvent->ignore();
    m_S.Closing = true;
    CMessageBox::ResetMemory();
    SaveAppData();
    for (QTimer* pTimer : {&m_TabBarUpdateTimer, &m_WindowShownTimer, &m_TargetHaltedTimer, &m_MessageBoxTimer,
                           &m_PeriodicUpdateTimer})
        pTimer->stop(); // those of the other windows end in eventFilter() as they fire
    Project.Close();
    Dev.CancelJobs(BT_ALL, QUEUE_ALL);
    // The worker may stand in a call of the library: the window lives until it has come out.
    Dev.disconnect();
    Dev.RequestStop();
    while (!Dev.HasEnded()) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    Dev.Shutdown();
    SavePreferences();
    SaveColorsAndFonts();
    InitSysVars();
    {
        const std::lock_guard Lock(Dev.GetDeviceMutex());
        PROG_Unload();
        ClearProgramData();
        Core::ClearCache();
    }
    pEvent->accept();
    QApplication::closeAllWindows();
    QApplication::exit(0);
}

bool CMainWindow::event(QEvent* pEvent)
{
    if (pEvent->type() == QEvent::WindowActivate && m_ShownOnce && !m_S.Closing) {
        CheckProgramFileChanged();
        CheckProjectFileChanged();
    }
    // A group of docks gets its tab bar as it is laid out; it has its look before it shows for the first time.
    if (pEvent->type() == QEvent::ChildPolished && m_pDockTabs && qobject_cast<QTabBar*>(static_cast<QChildEvent*>(pEvent)->child()))
        m_pDockTabs->Update();
    if (pEvent->type() == QEvent::Paint && !m_ShownOnce) {
        m_ShownOnce = true;
        m_WindowShownTimer.start();
    }
    return CWindow::event(pEvent);
}

bool CMainWindow::eventFilter(QObject* pObject, QEvent* pEvent)
{
    // No window works on once the program ends: what a timer would read or paint is being taken down.
    if (m_S.Closing && pEvent->type() == QEvent::Timer) {
        if (auto* pTimer = qobject_cast<QTimer*>(pObject)) {
            pTimer->stop();
            return true;
        }
    }
    if (pEvent->type() == QEvent::KeyPress && pObject->isWindowType() && pObject->inherits("QWidgetWindow") &&
        !QApplication::activeModalWidget() && !QApplication::activePopupWidget() &&
        HandleKey(static_cast<QKeyEvent*>(pEvent)))
        return true;
    return CWindow::eventFilter(pObject, pEvent);
}

void CMainWindow::UpdateTitle()
{
    const CProject& Project = CProject::Get();
    WINDOW_TITLE_STATE State;
    State.ProjectOpen = Project.IsOpen();
    State.Modified = Project.IsModified();
    State.SessionActive = CDevice::Get().IsConnected();
    State.ProjectPath = Project.GetPath();
    State.ProgramFile = CProject::Get().GetProgramFile();
    QMainWindow::setWindowTitle(GetWindowTitle(State));
}

bool CMainWindow::IsTargetUsable() const
{
    return Core_IsLoaded();
}
