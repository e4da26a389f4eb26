// Finding, showing and closing windows and tool bars, and the window menu.
#include "app/actions/actions.h"
#include "app/console/consolewindow.h"
#include "app/shell/docktabs.h"
#include "app/shell/mainwindow.h"
#include "app/shell/toolbar.h"
#include "program/unwind/callstack.h"
#include "views/debug/registerwindow.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/dockwindow.h"
#include "views/framework/statusbar.h"

#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QTabBar>
#include <algorithm>

CWindow* CMainWindow::FindWindow(const QString& sName, bool OnlyVisible) const
{
    const QString sPlain = Unquote(sName);
    QList<CWindow*> Hits;
    for (CWindow* pWindow : m_Windows) {
        if (!pWindow->IsMatched(sPlain) || (OnlyVisible && !pWindow->IsVisible())) continue;
        // Of several namesakes the hidden one is shown and the visible one closed.
        if (pWindow->IsVisible() == OnlyVisible)
            Hits.prepend(pWindow);
        else
            Hits.append(pWindow);
    }
    return Hits.isEmpty() ? nullptr : Hits.first();
}

void CMainWindow::PlaceWindow(CWindow* pWindow, const char* sDockName, Qt::DockWidgetArea Area)
{
    auto* pDock = new CDockWindow(this);
    pDock->setObjectName(QLatin1String(sDockName));
    pDock->SetWindow(pWindow);
    addDockWidget(Area, pDock);
    connect(pDock, &CDockWindow::visibilityChanged, pWindow, &CWindow::VisibilityChanged);
    connect(pDock, &CDockWindow::topLevelChanged, pWindow, &CWindow::FloatingStateChanged);
    connect(pDock, &CDockWindow::topLevelChanged, this, [this] { m_TabBarUpdateTimer.start(); });
    connect(pDock, &CDockWindow::MenuRequested, this, [this, pDock](QPoint Pos) { ShowDockMenu(pDock, Pos); });
    // The close button is the command, so that the console shows it and the window hears of it.
    connect(pDock, &CDockWindow::CloseRequested, this,
            [pWindow] { ::PerformAction(ACT_WINDOW_CLOSE, pWindow->GetName()); }, Qt::QueuedConnection);
    pDock->hide();
    AdoptWindow(pWindow);
}

void CMainWindow::JoinSelections(CWindow* pWindow, const QList<CWindow*>& Others)
{
    CCallStack& Stack = CCallStack::GetInstance();
    connect(&Stack, &CCallStack::EvalFrameDone, pWindow, &CWindow::OnCallFrameEvaluated);
    connect(&Stack, &CCallStack::EvalFrameFailed, pWindow, &CWindow::OnCallFrameEvaluated);
    connect(&Stack, &CCallStack::UnwindComplete, pWindow, &CWindow::OnCallStackUnwinded);
    connect(pWindow, &CWindow::CallSiteSelected, this, &CMainWindow::OnCallSiteSelected);
    // A selection in one window reaches all, the sender included, which ignores what it said itself.
    const auto Join = [](CWindow* pFrom, CWindow* pTo) {
        connect(pFrom, &CWindow::InstSelected, pTo, &CWindow::OnInstSelected);
        connect(pFrom, &CWindow::BacktraceSelected, pTo, &CWindow::OnBacktraceSelected);
        connect(pFrom, &CWindow::BacktraceSelectionChanged, pTo, &CWindow::OnBacktraceSelectionChanged);
        connect(pFrom, &CWindow::SrcLocSelected, pTo, &CWindow::OnSrcLocSelected);
        connect(pFrom, &CWindow::FuncSelected, pTo, &CWindow::OnFuncSelected);
        connect(pFrom, &CWindow::TimeReferencesChanged, pTo, &CWindow::OnTimeReferencesChanged);
        connect(pFrom, &CWindow::TimeSelected, pTo, &CWindow::OnTimeSelected);
        connect(pFrom, &CWindow::SymbolSelected, pTo, &CWindow::OnSymbolSelected);
    };
    Join(pWindow, pWindow);
    for (CWindow* pOther : Others) {
        Join(pWindow, pOther);
        Join(pOther, pWindow);
    }
}

CWindow* CMainWindow::AddFamilyWindow(WINDOW_FAMILY& Family, const QString& sWantedName)
{
    if (!sWantedName.isEmpty() && FindWindow(sWantedName, false)) return nullptr;
    // One that was closed has left a gap in the numbers, and no two windows may bear one name.
    QString sName = sWantedName;
    for (qsizetype Number = Family.Windows.size() + 1; sName.isEmpty() || FindWindow(sName, false); Number++)
        sName = QStringLiteral("%1 %2").arg(Family.sKind).arg(Number);
    const QList<CWindow*> Others = m_Windows;
    CWindow* pWindow = Family.Make(sName);
    PlaceWindow(pWindow, sName.toUtf8().constData(), Family.Area);
    JoinSelections(pWindow, Others);
    Family.Windows.append(pWindow);
    restoreDockWidget(pWindow->GetDock()); // to where one of its name was when the program ended
    pWindow->GetDock()->hide();
    // It has missed the halt that made the others active.
    if (pWindow->TestFlag(WF_ACTIVATE_ON_HALT) && IsTargetHalted()) pWindow->SetActive(true);
    return pWindow;
}

QStringList CMainWindow::GetExtraWindowNames() const
{
    QStringList Names;
    for (const WINDOW_FAMILY& Family : m_Families)
        for (const CWindow* pWindow : Family.Windows.mid(1)) Names.append(pWindow->GetName());
    return Names;
}

void CMainWindow::AddExtraWindows(const QStringList& Names)
{
    for (const QString& sName : Names) {
        bool IsNumber = false;
        const QString sKind = sName.section(u' ', 0, -2);
        const int Number = sName.section(u' ', -1).toInt(&IsNumber);
        for (WINDOW_FAMILY& Family : m_Families)
            if (IsNumber && Number > 0 && Family.sKind == sKind) AddFamilyWindow(Family, sName);
    }
}

bool CMainWindow::RemoveFamilyWindow(CWindow* pWindow)
{
    for (WINDOW_FAMILY& Family : m_Families) {
        if (Family.Windows.size() < 2 || !Family.Windows.contains(pWindow)) continue;
        Family.Windows.removeOne(pWindow);
        m_Windows.removeOne(pWindow);
        // The show action and the session's own pointers keep to a window that stays.
        for (CWindow*& pShown : m_WindowOfAction)
            if (pShown == pWindow) pShown = Family.Windows.first();
        if (m_W.pRegisters == pWindow) m_W.pRegisters = qobject_cast<CRegisterWindow*>(Family.Windows.first());
        CConsoleWindow::Get().RemoveCommandListener(pWindow);
        pWindow->GetDock()->deleteLater();
        return true;
    }
    return false;
}

CWindow* CMainWindow::FindWindowToShow(const QString& sName)
{
    const QString sPlain = Unquote(sName);
    for (WINDOW_FAMILY& Family : m_Families) {
        if (sPlain != Family.sKind) continue;
        for (CWindow* pWindow : std::as_const(Family.Windows))
            if (!pWindow->IsOpen()) return pWindow;
        return AddFamilyWindow(Family);
    }
    return FindWindow(sName, false);
}

bool CMainWindow::ShowWindow(const QString& sName)
{
    CWindow* pWindow = FindWindowToShow(sName);
    if (!pWindow) return false;
    if (CDockWindow* pDock = pWindow->GetDock()) {
        if (pDock->isHidden()) {
            pDock->show();
            emit WindowOpened(pWindow);
        }
        pDock->raise();
        pDock->setFocus();
        if (pDock->isFloating()) pDock->activateWindow();
    } else {
        pWindow->setFocus();
    }
    m_TabBarUpdateTimer.start();
    return true;
}

bool CMainWindow::CloseWindow(const QString& sName)
{
    CWindow* pWindow = nullptr;
    if (sName.isEmpty()) {
        pWindow = GetFocusedWindow();
    } else {
        pWindow = FindWindow(sName, true);
    }
    if (!pWindow) return sName.isEmpty();
    if (pWindow == this || pWindow == m_W.pSource) return true;
    if (CDockWindow* pDock = pWindow->GetDock(); pDock && !pDock->isHidden()) {
        // The focus goes to the code, not to whatever widget happens to come next.
        const bool HadFocus = pWindow->HasFocus();
        pDock->hide();
        emit WindowClosed(pWindow);
        RemoveFamilyWindow(pWindow);
        if (HadFocus) m_W.pSource->setFocus();
    }
    m_TabBarUpdateTimer.start();
    return true;
}

void CMainWindow::CloseAllWindows()
{
    const QList<CWindow*> Windows = m_Windows; // closing takes some out
    for (CWindow* pWindow : Windows) {
        CDockWindow* pDock = pWindow->GetDock();
        if (!pDock || pDock->isHidden()) continue;
        pDock->hide();
        emit WindowClosed(pWindow);
        RemoveFamilyWindow(pWindow);
    }
    m_W.pSource->setFocus();
    m_TabBarUpdateTimer.start();
}

bool CMainWindow::ShowToolBar(const QString& sTitle, bool Shown)
{
    const QString sPlain = Unquote(sTitle);
    for (int i = 0; i < NUM_TOOLBARS; i++) {
        if (sPlain != QLatin1String(TOOLBARS[i].Title)) continue;
        m_apToolBar[size_t(i)]->setVisible(Shown);
        if (QAction* pToggle = m_apAction[size_t(TOOLBARS[i].ToggleAction)]) pToggle->setChecked(Shown);
        m_TabBarUpdateTimer.start();
        return true;
    }
    return false;
}

void CMainWindow::ShowFullScreen(bool On)
{
    setWindowState(On ? Qt::WindowFullScreen | Qt::WindowActive : Qt::WindowStates(Qt::WindowActive));
}

void CMainWindow::OnTabBarUpdateTimerTimeout()
{
    m_pDockTabs->Update();
}

void CMainWindow::OnWindowStatusTextChanged()
{
    const auto* pWindow = qobject_cast<CWindow*>(sender());
    if (!pWindow) return;
    // The window with the focus has the field; one without a text of its own leaves it to the source window.
    QString sText;
    for (const CWindow* pFocused : m_Windows)
        if (pFocused != this && pFocused->HasFocus()) sText = pFocused->GetStatusText();
    if (sText.isEmpty()) sText = m_W.pSource->GetStatusText();
    CStatusBar::Get().SetActiveWindowStatus(sText);
}

namespace {

/// The letter by which an action is reached in its menu; null for none.
QChar GetMnemonic(int Action)
{
    for (const ACTION_LOOK& Look : ACTION_LOOKS) {
        if (Look.ID != Action) continue;
        const QString sText = QString::fromLatin1(Look.Text).remove(QStringLiteral("&&"));
        const qsizetype Pos = sText.indexOf(u'&');
        return Pos >= 0 && Pos + 1 < sText.size() ? sText[Pos + 1] : QChar();
    }
    return {};
}

/// A window's name as the text of a menu entry, reached by the same letter as in the view menu.
QString GetEntryText(const QString& sName, QChar Mnemonic)
{
    const qsizetype Pos = Mnemonic.isNull() ? -1 : sName.indexOf(Mnemonic);
    const auto Double = [](QString sPart) { return sPart.replace(u'&', QLatin1String("&&")); };
    return Pos < 0 ? Double(sName) : Double(sName.left(Pos)) + u'&' + Double(sName.mid(Pos));
}

} // namespace

CWindow* CMainWindow::GetFocusedWindow() const
{
    // A menu bar that was reached by a key has taken the focus, but what its commands work on stays the same.
    if (menuBar()->hasFocus() && m_pFocusBeforeMenu) return m_pFocusBeforeMenu;
    for (CWindow* pWindow : m_Windows)
        if (pWindow->HasFocus()) return pWindow;
    return nullptr;
}

QAction* CMainWindow::GetDockingAction(const CWindow* pWindow) const
{
    return m_apAction[pWindow && pWindow->IsFloating() ? ACT_WINDOW_DOCK : ACT_WINDOW_UNDOCK];
}

void CMainWindow::ShowDockMenu(QDockWidget* pDock, const QPoint& GlobalPos)
{
    // The commands work on the window with the focus.
    pDock->raise();
    pDock->setFocus();
    QMenu Menu(this);
    Menu.addActions({m_apAction[ACT_WINDOW_CLOSE], GetDockingAction(GetFocusedWindow())});
    Menu.exec(GlobalPos);
}

void CMainWindow::ShowContextMenu(QPoint Pos)
{
    if (statusBar()->geometry().contains(Pos)) return;
    const auto* pTabs = qobject_cast<QTabBar*>(childAt(Pos));
    if (QDockWidget* pDock = pTabs ? m_pDockTabs->GetDockAt(pTabs, pTabs->mapFrom(this, Pos)) : nullptr)
        ShowDockMenu(pDock, mapToGlobal(Pos));
    else
        m_apMenu[MENU_TOOLBARS]->exec(mapToGlobal(Pos));
}

void CMainWindow::UpdateWindowMenu()
{
    QMenu* pMenu = m_apMenu[MENU_WINDOW];
    pMenu->clear();
    const CWindow* pFocused = GetFocusedWindow();
    pMenu->addActions({m_apAction[ACT_WINDOW_CLOSE], m_apAction[ACT_WINDOW_CLOSE_ALL], GetDockingAction(pFocused)});
    pMenu->addSeparator();
    QList<CWindow*> Open;
    for (CWindow* pWindow : m_Windows)
        if (pWindow != this && pWindow != m_W.pSource && pWindow->IsOpen()) Open.append(pWindow);
    std::sort(Open.begin(), Open.end(),
              [](CWindow* a, CWindow* b) { return a->GetDisplayName() < b->GetDisplayName(); });
    for (CWindow* pWindow : Open) {
        QAction* pEntry = pMenu->addAction(GetEntryText(pWindow->GetDisplayName(), GetMnemonic(m_WindowOfAction.key(pWindow, -1))));
        pEntry->setCheckable(true);
        pEntry->setChecked(pWindow == pFocused);
        pEntry->setData(pWindow->GetName());
    }
    pMenu->addSeparator();
    for (const int Id : {ACT_FILE_CLOSE, ACT_FILE_CLOSE_ALL, ACT_FILE_CLOSE_ALL_UNEDITED})
        if (m_apAction[size_t(Id)]) pMenu->addAction(m_apAction[size_t(Id)]);
    pMenu->addSeparator();
    int Number = 0;
    for (const QString& sPath : m_W.pSource->GetFilePaths()) {
        const QString sMark = m_W.pSource->IsDocumentModified(GetViewFileNo(sPath)) ? QStringLiteral("*") : QString();
        QAction* pEntry = pMenu->addAction(QStringLiteral("&%1 %2%3").arg(++Number).arg(QFileInfo(sPath).fileName().replace(u'&', QLatin1String("&&")), sMark));
        pEntry->setCheckable(true);
        pEntry->setChecked(sPath == m_W.pSource->GetActiveFile());
        pEntry->setProperty("document", sPath);
    }
}

void CMainWindow::OnWindowMenuActionTriggered(QAction* pAction)
{
    if (const QString sPath = pAction->property("document").toString(); !sPath.isEmpty()) {
        m_W.pSource->Open(sPath);
        m_W.pSource->setFocus();
    } else if (pAction->data().metaType().id() == QMetaType::QString)
        ::PerformAction(ACT_WINDOW_SHOW, pAction->data());
}
