// The layout of the main window over the runs of the program: what a first run shows, and what the application settings
// keep of it. A project's own layout lies in its session and comes on top.
#include "app/console/consolewindow.h"
#include "app/services/appinfo.h"
#include "app/services/settingsstore.h"
#include "app/shell/layoutstore.h"
#include "app/shell/mainwindow.h"
#include "app/shell/screenplace.h"
#include "app/shell/toolbar.h"
#include "views/debug/breakpointwindow.h"
#include "views/debug/callstackwindow.h"
#include "views/debug/disassemblywindow.h"
#include "views/debug/localswindow.h"
#include "views/debug/registerwindow.h"
#include "views/framework/dockwindow.h"
#include "views/framework/modelviewwindow.h"
#include "views/framework/tableheader.h"

#include <QApplication>
#include <QDir>
#include <QGuiApplication>
#include <QScreen>
#include <algorithm>

namespace {

constexpr char GROUP_MAIN[] = "AppData/MainWindow";
constexpr char KEY_TABLE_HEADERS[] = "TableHeaderState/";
constexpr char KEY_EXTRA_WINDOWS[] = "ExtraWindows";
constexpr int STATE_VERSION = 0;

/// The settings group of a perspective: 0 to edit, 1 to debug. Empty for any other number.
QString GetPerspectiveGroup(int Perspective)
{
    static constexpr const char* NAMES[] = {"Edit", "Debug"};
    if (Perspective < 0 || Perspective > 1) return {};
    return QStringLiteral("AppData/Perspectives/") + QLatin1String(NAMES[Perspective]);
}

QList<QRect> GetScreens()
{
    QList<QRect> Screens;
    for (const QScreen* pScreen : QGuiApplication::screens()) Screens.append(pScreen->availableGeometry());
    return Screens;
}

void BringOntoScreen(QWidget* pWidget)
{
    const QRect Frame = pWidget->frameGeometry();
    const QRect Moved = GetReachableFrame(Frame, GetScreens());
    if (Moved == Frame) return;
    pWidget->resize(pWidget->size() - (Frame.size() - Moved.size()));
    pWidget->move(Moved.topLeft());
}

} // namespace

void CMainWindow::ApplyDefaultLayout()
{
    for (int i = 0; i < NUM_TOOLBARS; i++) m_apToolBar[size_t(i)]->setVisible(TOOLBARS[i].ShownAtFirst);
    for (CWindow* pWindow : m_Windows)
        if (CDockWindow* pDock = pWindow->GetDock()) pDock->hide();
    tabifyDockWidget(m_W.pCallStack->GetDock(), m_W.pLocals->GetDock());
    tabifyDockWidget(m_W.pRegisters->GetDock(), m_W.pDisassembly->GetDock());
    for (const char* sName : {"Functions", "Memory 1"})
        if (CWindow* pWindow = FindWindow(QLatin1String(sName), false)) pWindow->GetDock()->show();
    for (CWindow* pWindow : QList<CWindow*>{m_W.pRegisters, m_W.pConsole}) pWindow->GetDock()->show();
    m_W.pCallStack->GetDock()->raise();
    m_W.pRegisters->GetDock()->raise();
    // The code has the most room on every screen: what stands around it gets its part, within what its columns can use.
    const int Left = std::clamp(width() * 17 / 100, 190, 320), Right = std::clamp(width() * 31 / 100, 280, 620);
    resizeDocks({m_W.pBreakpoints->GetDock(), m_W.pRegisters->GetDock()}, {Left, Right}, Qt::Horizontal);
    resizeDocks({m_W.pCallStack->GetDock(), m_W.pRegisters->GetDock()}, {height() * 24 / 100, height() * 48 / 100}, Qt::Vertical);
    resizeDocks({m_W.pConsole->GetDock()}, {std::clamp(height() * 21 / 100, 150, 300)}, Qt::Vertical);
}

void CMainWindow::RestoreAppData()
{
    const CSettingsStore& Store = CSettingsStore::Get();
    m_sDefaultDirOpen = Store.Read(GROUP_MAIN, "DefaultDirOpen", QDir::homePath()).toString();
    m_sDefaultDirSave = Store.Read(GROUP_MAIN, "DefaultDirSave", QDir::homePath()).toString();
    resize(GetFirstSize(QGuiApplication::platformName()));
    if (const QByteArray Geometry = ReadLayout(GROUP_MAIN, "Geometry"); !Geometry.isEmpty())
        restoreGeometry(Geometry);
    m_RecentProjects = Store.Read(GROUP_MAIN, "RecentProjects", {}).toStringList();
    m_RecentPrograms = Store.Read(GROUP_MAIN, "RecentPrograms", {}).toStringList();
    RebuildRecentMenus();
    RestorePerspective();
    BringOntoScreen();
    connect(qApp, &QGuiApplication::screenRemoved, this, [this] { BringOntoScreen(); }, Qt::QueuedConnection);
}

void CMainWindow::RestorePerspective()
{
    const CSettingsStore& Store = CSettingsStore::Get();
    QWidget* pFocus = QApplication::focusWidget();
    m_Perspective = PERSPECTIVE_DEBUG;
    const QString sGroup = GetPerspectiveGroup(m_Perspective);
    ApplyDefaultLayout();
    AddExtraWindows(Store.Read(sGroup, KEY_EXTRA_WINDOWS, {})
                        .toStringList()); // the state places only windows that are there
    // A state that can't be read, or that belongs to another program, leaves the default layout.
    if (const QByteArray State = ReadLayout(sGroup, "WindowState"); !State.isEmpty())
        restoreState(State, STATE_VERSION);
    for (int i = 0; i < NUM_TOOLBARS; i++) {
        const TOOLBAR_LAYOUT& Layout = TOOLBARS[i];
        CToolBar* pBar = m_apToolBar[size_t(i)];
        pBar->setVisible(Store.Read(sGroup, Layout.SettingsKey, Layout.ShownAtFirst).toBool());
        if (QAction* pToggle = m_apAction[size_t(Layout.ToggleAction)]) pToggle->setChecked(!pBar->isHidden());
    }
    for (CWindow* pWindow : std::as_const(m_Windows)) {
        const auto* pTable = qobject_cast<CModelViewWindow*>(pWindow);
        if (!pTable || !pTable->GetHeader()) continue;
        if (const QByteArray State = ReadLayout(sGroup, KEY_TABLE_HEADERS + pTable->GetName()); !State.isEmpty())
            pTable->GetHeader()->RestoreHeaderState(State);
    }
    if (pFocus && pFocus->isVisible()) pFocus->setFocus();
}

void CMainWindow::BringOntoScreen()
{
    if (!isMaximized() && !isFullScreen()) ::BringOntoScreen(this);
    for (CWindow* pWindow : std::as_const(m_Windows))
        if (pWindow->IsFloating()) ::BringOntoScreen(pWindow->GetDock());
}

void CMainWindow::SaveAppData()
{
    CSettingsStore& Store = CSettingsStore::Get();
    Store.Write(GROUP_MAIN, "DefaultDirOpen", m_sDefaultDirOpen);
    Store.Write(GROUP_MAIN, "DefaultDirSave", m_sDefaultDirSave);
    WriteLayout(GROUP_MAIN, "Geometry", saveGeometry());
    Store.Write(GROUP_MAIN, "RecentProjects", m_RecentProjects);
    Store.Write(GROUP_MAIN, "RecentPrograms", m_RecentPrograms);
    Store.Write(GROUP_MAIN, "Version", GetVersionText());
    const QString sGroup = GetPerspectiveGroup(m_Perspective);
    WriteLayout(sGroup, "WindowState", saveState(STATE_VERSION));
    Store.Write(sGroup, KEY_EXTRA_WINDOWS, GetExtraWindowNames());
    for (int i = 0; i < NUM_TOOLBARS; i++)
        Store.Write(sGroup, TOOLBARS[i].SettingsKey, m_apToolBar[size_t(i)]->isVisible());
    for (CWindow* pWindow : std::as_const(m_Windows))
        if (const auto* pTable = qobject_cast<CModelViewWindow*>(pWindow); pTable && pTable->GetHeader())
            WriteLayout(sGroup, KEY_TABLE_HEADERS + pTable->GetName(), pTable->GetHeader()->saveState());
}
