// Builds what the main window shows: actions, menus, tool bars, the two drop-down buttons and the docks.
#include "app/actions/actions.h"
#include "app/console/consolewindow.h"
#include "app/services/settingsstore.h"
#include "app/services/appinfo.h"
#include "app/shell/commandtable.h"
#include "app/shell/docktabs.h"
#include "app/shell/mainwindow.h"
#include "app/shell/toolbar.h"
#include "project/file/project.h"
#include "project/settings/settingsnotifier.h"
#include "project/settings/sysvars.h"
#include "views/debug/breakpointwindow.h"
#include "views/debug/callstackwindow.h"
#include "views/debug/disassemblywindow.h"
#include "views/debug/localswindow.h"
#include "views/debug/registerwindow.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/dockwindow.h"
#include "views/framework/statusbar.h"
#include "views/theme/icons.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLabel>
#include <QMenuBar>
#include <QScreen>
#include <QToolButton>

namespace {

constexpr int MAX_RECENT = 10;

void OnShowAction(int ID)
{
    for (const SHOW_ACTION& Show : SHOW_ACTIONS)
        if (Show.ID == ID) ::PerformAction(ACT_WINDOW_SHOW, QLatin1String(Show.Window));
}

const ACTION_LOOK* FindLook(int ID)
{
    for (const ACTION_LOOK& Look : ACTION_LOOKS)
        if (Look.ID == ID) return &Look;
    return nullptr;
}

} // namespace

QAction* CMainWindow::MakeAction(int ID, QWidget* pOwner)
{
    const ACTION_ROW* pRow = GetActionRow(ID);
    auto* pAction = new QAction(pOwner);
    pAction->setObjectName(QLatin1String(pRow->ObjectName));
    const ACTION_LOOK* pLook = FindLook(ID);
    const QString sName = GetCommandName(ID);
    pAction->setText(pLook ? QString::fromLatin1(pLook->Text) : sName.isEmpty() ? QLatin1String(pRow->Description) : sName);
    if (pLook && *pLook->Icon) pAction->setIcon(GetIcon(QLatin1String(pLook->Icon)));
    // Keys run through the action table's own dispatch, which knows the window with the focus; the shortcut is shown only.
    pAction->setShortcutContext(Qt::WidgetShortcut);
    Connect(pAction, SIGNAL(triggered()), this, SLOT(OnActionCommandTriggered()));
    m_apAction[size_t(ID)] = pAction;
    return pAction;
}

void CMainWindow::BuildActions()
{
    for (const SHOW_ACTION& Show : SHOW_ACTIONS)
        if (!GetCommandHandler(Show.ID)) SetCommandHandler(Show.ID, OnShowAction);
    RegisterAbsentCommands();
    // A row works on the window that owns it. What only a window has that isn't part of this program is kept by a widget
    // that is never seen and never has the focus, grey, until a window comes and takes its rows over.
    auto* pAbsent = new QWidget(this);
    pAbsent->setObjectName(QStringLiteral("absentWindows"));
    pAbsent->hide();
    for (int ID = 0; ID < NUM_ACTIONS; ID++) {
        if (GetAction(ID)) continue; // a window brought it
        if (GetCommandHandler(ID))
            addAction(MakeAction(ID, this));
        else
            MakeAction(ID, pAbsent)->setEnabled(false);
    }
    for (const TOOLBAR_LAYOUT& Layout : TOOLBARS) m_apAction[size_t(Layout.ToggleAction)]->setCheckable(true);
}

void CMainWindow::OnActionCommandTriggered()
{
    const int ID = GetActionId(qobject_cast<QAction*>(sender()));
    if (const COMMAND_HANDLER pfHandler = GetCommandHandler(ID)) pfHandler(ID);
}

void CMainWindow::BuildMenus()
{
    for (const MENU_LAYOUT& Layout : MENUS) {
        auto* pMenu = new QMenu(QLatin1String(Layout.Text), this);
        pMenu->setObjectName(QLatin1String(Layout.ObjectName));
        pMenu->setToolTipsVisible(true);
        m_apMenu[size_t(Layout.Index)] = pMenu;
        if (Layout.OnBar) menuBar()->addMenu(pMenu);
    }
    for (const MENU_LAYOUT& Layout : MENUS) {
        QMenu* pMenu = m_apMenu[size_t(Layout.Index)];
        for (int i = 0; i < Layout.NumEntries; i++) {
            const int Entry = Layout.aEntries[i];
            if (Entry == MENU_SEPARATOR)
                pMenu->addSeparator();
            else if (Entry <= MENU_SUBMENU)
                pMenu->addMenu(m_apMenu[size_t(MENU_SUBMENU - Entry)]);
            else if (QAction* pAction = m_apAction[size_t(Entry)])
                pMenu->addAction(pAction);
        }
    }
    // A menu without a single command would open as an empty frame.
    for (const MENU_LAYOUT& Layout : MENUS)
        if (Layout.NumEntries > 0 && m_apMenu[size_t(Layout.Index)]->isEmpty())
            m_apMenu[size_t(Layout.Index)]->menuAction()->setVisible(false);
    m_apMenu[MENU_CONNECT]->setIcon(GetIcon(QStringLiteral("control-power-green")));
    m_apMenu[MENU_RESET]->setIcon(GetIcon(QStringLiteral("reset")));
    if (auto* pMore = menuBar()->findChild<QToolButton*>(QStringLiteral("qt_menubar_ext_button"))) {
        pMore->setIcon(GetIcon(QStringLiteral("chevrons-right")));
        pMore->setAccessibleName(QStringLiteral("More Menus"));
    }
    connect(m_apMenu[MENU_WINDOW], &QMenu::aboutToShow, this, &CMainWindow::UpdateWindowMenu);
    connect(m_apMenu[MENU_WINDOW], &QMenu::triggered, this, &CMainWindow::OnWindowMenuActionTriggered);
    connect(m_apMenu[MENU_RECENT_PROJECTS], &QMenu::triggered, this, &CMainWindow::OnRecentMenuActionTriggered);
    connect(m_apMenu[MENU_RECENT_PROGRAMS], &QMenu::triggered, this, &CMainWindow::OnRecentMenuActionTriggered);
}

void CMainWindow::BuildDropDownButtons()
{
    const auto MakeButton = [this](int ID, MENU_INDEX Menu) {
        auto* pButton = new QToolButton(this);
        pButton->setDefaultAction(m_apAction[size_t(ID)]);
        pButton->setMenu(m_apMenu[Menu]);
        pButton->setPopupMode(QToolButton::MenuButtonPopup);
        pButton->setAccessibleName(m_apAction[size_t(ID)]->text().remove(u'&'));
        return pButton;
    };
    m_pStartButton = MakeButton(ACT_DEBUG_START, MENU_CONNECT);
    m_pResetButton = MakeButton(ACT_DEBUG_RESET, MENU_RESET);
}

void CMainWindow::BuildToolBars()
{
    BuildDropDownButtons();
    // The long bar of windows has a line of its own; beside the others it would push buttons out of sight.
    for (const TOOLBAR_INDEX i : {TOOLBAR_FILE, TOOLBAR_DEBUG, TOOLBAR_BREAKPOINTS, TOOLBAR_VIEW}) {
        const TOOLBAR_LAYOUT& Layout = TOOLBARS[i];
        auto* pBar = new CToolBar(QLatin1String(Layout.Title), this);
        pBar->setObjectName(QLatin1String(Layout.ObjectName));
        // What the command of a button works on is settled before it is triggered, and must leave nothing behind.
        pBar->SetPressHooks({[this](int ID) { SetDefaultParam(ID); }, [](int ID) { ClearAction(ID); }});
        for (int k = 0; k < Layout.NumEntries; k++) {
            const int Entry = Layout.aEntries[k];
            if (Entry == MENU_SEPARATOR)
                pBar->addSeparator();
            else if (Entry == ACT_DEBUG_START)
                pBar->addWidget(m_pStartButton);
            else if (Entry == ACT_DEBUG_RESET)
                pBar->addWidget(m_pResetButton);
            else
                pBar->AddCommand(m_apAction[size_t(Entry)], Entry);
        }
        if (i == TOOLBAR_VIEW) addToolBarBreak(Qt::TopToolBarArea);
        addToolBar(Qt::TopToolBarArea, pBar);
        m_apToolBar[size_t(i)] = pBar;
    }
}

void CMainWindow::AdoptWindow(CWindow* pWindow)
{
    m_Windows.append(pWindow);
    CConsoleWindow::Get().AddCommandListener(pWindow);
    CWindow::Connect(pWindow, SIGNAL(StatusTextChanged()), this, SLOT(OnWindowStatusTextChanged()));
    connect(&CSettingsNotifier::Get(), &CSettingsNotifier::VarChanged, pWindow, &CWindow::OnSysVarChanged);
    connect(this, &CMainWindow::InitComplete, pWindow, &CWindow::OnGuiInitComplete);
    connect(this, &CMainWindow::WindowOpened, pWindow, &CWindow::OnWindowOpened);
    connect(this, &CMainWindow::WindowClosed, pWindow, &CWindow::OnWindowClosed);
    connect(&CProject::Get(), &CProject::Opened, pWindow, &CWindow::OnProjectFileOpened);
    connect(&CProject::Get(), &CProject::Closed, pWindow, &CWindow::OnProjectFileClosed);
    if (pWindow == this) return;
    connect(this, &CMainWindow::DataFileOpened, pWindow, &CWindow::OnDataFileOpened);
    connect(this, &CMainWindow::DataFileAboutToDownload, pWindow, &CWindow::OnDataFileAboutToDownload);
    connect(this, &CMainWindow::DataFileDownloaded, pWindow, &CWindow::OnDataFileDownloaded);
}

void CMainWindow::AddDock(CWindow* pWindow, const char* sDockName, Qt::DockWidgetArea Area, int ShowAction)
{
    PlaceWindow(pWindow, sDockName, Area);
    m_WindowOfAction.insert(ShowAction, pWindow);
    SetCommandHandler(ShowAction, [](int ID) {
        if (CWindow* p = CMainWindow::Get().m_WindowOfAction.value(ID)) ::PerformAction(ACT_WINDOW_SHOW, p->GetName());
    });
}

void CMainWindow::BuildWindows()
{
    setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
    setDocumentMode(true);
    setTabShape(QTabWidget::Triangular);
    setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
    m_pDockTabs = new CDockTabs(this);
    AdoptWindow(this);
    m_W.pCallStack = new CCallStackWindow(this);
    AddDock(m_W.pCallStack, "dockWidgetCallStack", Qt::RightDockWidgetArea, ACT_WINDOW_SHOW_CALL_STACK);
    m_W.pDisassembly = new CDisassemblyWindow(this);
    AddDock(m_W.pDisassembly, "dockWidgetDisassembly", Qt::RightDockWidgetArea, ACT_WINDOW_SHOW_DISASSEMBLY);
    m_W.pSource = new CSourceWindow(this);
    setCentralWidget(m_W.pSource);
    AdoptWindow(m_W.pSource);
    m_W.pBreakpoints = new CBreakpointWindow(this);
    AddDock(m_W.pBreakpoints, "dockWidgetBreakpoints", Qt::LeftDockWidgetArea, ACT_WINDOW_SHOW_BREAKPOINTS);
    m_W.pLocals = new CLocalsWindow(this);
    AddDock(m_W.pLocals, "dockWidgetLocals", Qt::RightDockWidgetArea, ACT_WINDOW_SHOW_LOCAL_DATA);
    m_W.pConsole = &CConsoleWindow::Get();
    connect(m_W.pConsole, &CConsoleWindow::LineActivated, this, &CMainWindow::ShowMessagePlace);
    AddDock(m_W.pConsole, "dockWidgetConsole", Qt::BottomDockWidgetArea, ACT_WINDOW_SHOW_CONSOLE);
    m_W.pRegisters = new CRegisterWindow(this);
    m_Families.append({QStringLiteral("Registers"), Qt::RightDockWidgetArea, {m_W.pRegisters}, [this](const QString& sName) {
                           return new CRegisterWindow(this, sName);
                       }});
    AddDock(m_W.pRegisters, "Registers 1", Qt::RightDockWidgetArea, ACT_WINDOW_SHOW_REGISTERS);
}

void CMainWindow::AddRecent(QStringList& List, const QString& sPath)
{
    List.removeAll(sPath);
    List.prepend(sPath);
    while (List.size() > MAX_RECENT) List.removeLast();
    RebuildRecentMenus();
}

void CMainWindow::RebuildRecentMenus()
{
    const auto Fill = [](QMenu* pMenu, const QStringList& List) {
        pMenu->clear();
        int Number = 0;
        for (const QString& sPath : List)
            pMenu->addAction(QStringLiteral("&%1 %2").arg(++Number).arg(QString(sPath).replace('&', "&&")))->setData(sPath);
        pMenu->setEnabled(!List.isEmpty());
    };
    Fill(m_apMenu[MENU_RECENT_PROJECTS], m_RecentProjects);
    Fill(m_apMenu[MENU_RECENT_PROGRAMS], m_RecentPrograms);
}

void CMainWindow::OnRecentMenuActionTriggered(QAction* pAction)
{
    // Only the list of programs has a command of its own; a project is opened by its path.
    const qsizetype Program = sender() == m_apMenu[MENU_RECENT_PROGRAMS] ? m_RecentPrograms.indexOf(pAction->data().toString()) : -1;
    if (Program >= 0)
        ::PerformAction(ACT_FILE_OPEN_RECENT, int(Program));
    else
        ::PerformAction(ACT_FILE_OPEN, pAction->data());
}
