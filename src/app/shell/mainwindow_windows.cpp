// Finding, showing and closing windows and tool bars; the window menu; the commands of these.
#include "app/actions/actions.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/dockwindow.h"
#include "views/framework/statusbar.h"

#include <QFileInfo>
#include <QMenu>
#include <QTabBar>
#include <QToolBar>
#include <algorithm>

CWindow* CMainWindow::FindWindow(const QString& sName, bool OnlyVisible) const
{
    QString sPlain = sName;
    if (sPlain.size() >= 2 && sPlain.startsWith('"') && sPlain.endsWith('"')) sPlain = sPlain.mid(1, sPlain.size() - 2);
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

bool CMainWindow::ShowWindow(const QString& sName)
{
    CWindow* pWindow = FindWindow(sName, false);
    if (!pWindow) return false;
    CDockWindow* pDock = pWindow->GetDock();
    if (pDock) {
        if (pDock->isHidden()) {
            pDock->show();
            pWindow->OnOpened();
            emit WindowOpened(pWindow);
        }
        pDock->raise();
        pDock->setFocus();
        if (pDock->isFloating()) pDock->activateWindow();
    }
    pWindow->setFocus();
    m_TabBarUpdateTimer.start();
    return true;
}

bool CMainWindow::CloseWindow(const QString& sName)
{
    CWindow* pWindow = nullptr;
    if (sName.isEmpty()) {
        for (CWindow* p : m_Windows)
            if (p->HasFocus()) pWindow = p;
    } else {
        pWindow = FindWindow(sName, true);
    }
    if (!pWindow) return sName.isEmpty();
    if (pWindow == this || pWindow == m_W.pSource) return true;
    if (CDockWindow* pDock = pWindow->GetDock(); pDock && !pDock->isHidden()) {
        pDock->hide();
        pWindow->OnClosed();
        emit WindowClosed(pWindow);
    }
    m_TabBarUpdateTimer.start();
    return true;
}

void CMainWindow::CloseAllWindows()
{
    for (CWindow* pWindow : m_Windows)
        if (pWindow->GetDock() && pWindow->IsOpen()) CloseWindow(pWindow->GetName());
}

bool CMainWindow::ShowToolBar(const QString& sTitle, bool Shown)
{
    for (int i = 0; i < NUM_TOOLBARS; i++) {
        if (sTitle != QLatin1String(TOOLBARS[i].Title)) continue;
        m_apToolBar[size_t(i)]->setVisible(Shown);
        if (QAction* pToggle = m_apAction[size_t(TOOLBARS[i].ToggleAction)]) pToggle->setChecked(Shown);
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
    for (QTabBar* pTabs : findChildren<QTabBar*>(QString(), Qt::FindDirectChildrenOnly)) {
        pTabs->setMovable(true);
        pTabs->setElideMode(Qt::ElideRight);
        pTabs->setDocumentMode(true);
    }
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

void CMainWindow::UpdateWindowMenu()
{
    QMenu* pMenu = m_apMenu[MENU_WINDOW];
    pMenu->clear();
    for (const int Id : {ACT_WINDOW_CLOSE, ACT_WINDOW_CLOSE_ALL, ACT_WINDOW_UNDOCK, ACT_WINDOW_DOCK})
        if (m_apAction[size_t(Id)]) pMenu->addAction(m_apAction[size_t(Id)]);
    pMenu->addSeparator();
    QList<CWindow*> Open;
    for (CWindow* pWindow : m_Windows)
        if (pWindow != this && pWindow != m_W.pSource && pWindow->IsOpen()) Open.append(pWindow);
    std::sort(Open.begin(), Open.end(),
              [](CWindow* a, CWindow* b) { return a->GetDisplayName() < b->GetDisplayName(); });
    for (CWindow* pWindow : Open) {
        QAction* pEntry = pMenu->addAction(GetEntryText(pWindow->GetDisplayName(), GetMnemonic(m_WindowOfAction.key(pWindow, -1))));
        pEntry->setCheckable(true);
        pEntry->setChecked(pWindow->HasFocus());
        pEntry->setData(pWindow->GetName());
    }
    pMenu->addSeparator();
    for (const int Id : {ACT_FILE_CLOSE, ACT_FILE_CLOSE_ALL, ACT_FILE_CLOSE_ALL_UNEDITED})
        if (m_apAction[size_t(Id)]) pMenu->addAction(m_apAction[size_t(Id)]);
    pMenu->addSeparator();
    int Number = 0;
    for (const QString& sPath : m_W.pSource->GetFilePaths()) {
        const QString sMark = m_W.pSource->IsDocumentModified(GetViewFileNo(sPath)) ? QStringLiteral("*") : QString();
        QAction* pEntry = pMenu->addAction(QStringLiteral("&%1 %2%3").arg(++Number).arg(QFileInfo(sPath).fileName(), sMark));
        pEntry->setCheckable(true);
        pEntry->setChecked(sPath == m_W.pSource->GetActiveFile());
        pEntry->setProperty("document", sPath);
    }
}

void CMainWindow::OnWindowMenuActionTriggered(QAction* pAction)
{
    if (const QString sPath = pAction->property("document").toString(); !sPath.isEmpty())
        m_W.pSource->Open(sPath);
    else if (pAction->data().metaType().id() == QMetaType::QString)
        ::PerformAction(ACT_WINDOW_SHOW, pAction->data());
}

// ---- Commands ------------------------------------------------------------------------------------------

namespace {

CMainWindow& Main()
{
    return CMainWindow::Get();
}

/// The window of a command's first parameter; sets "unknown window" if there is none.
CWindow* RequireWindow(int Id)
{
    CWindow* pWindow = Main().FindWindow(GetActionParams(Id).value(0), false);
    if (!pWindow) SetActionError(Id, ERR_UNKNOWN_WINDOW);
    return pWindow;
}

void OnWindowShow(int Id)
{
    if (CheckParamCount(Id) && !Main().ShowWindow(GetActionParam(Id))) SetActionError(Id, ERR_UNKNOWN_WINDOW);
}

void OnWindowClose(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    if (!Main().CloseWindow(GetActionParam(Id))) SetActionError(Id, ERR_UNKNOWN_WINDOW);
}

void OnWindowClear(int Id)
{
    if (!CheckParamCount(Id)) return;
    CWindow* pWindow = RequireWindow(Id);
    if (!pWindow) return;
    if (!pWindow->IsContentsModifiable()) return SetActionError(Id, ERR_INVALID_PARAM);
    pWindow->Clear();
}

template <void (CWindow::*OPERATION)()> void OnWindowOperation(int Id)
{
    if (!CheckParamCount(Id)) return;
    if (CWindow* pWindow = RequireWindow(Id)) (pWindow->*OPERATION)();
}

void OnSetDisplayFormat(int Id)
{
    if (!CheckParamCount(Id)) return;
    CWindow* pWindow = RequireWindow(Id);
    I64 Format = 0;
    if (!pWindow || !ParseNumberParam(Id, GetActionParams(Id).value(1), &Format)) return;
    if (Format != 0 && Format != 2 && Format != 8 && Format != 10 && Format != 16)
        return SetActionError(Id, ERR_INVALID_PARAM);
    pWindow->SetDisplayFormat(int(Format));
}

void OnShowFullScreen(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    I64 On = !Main().IsFullScreenShown();
    if (HasActionParams(Id) && !ParseNumberParam(Id, GetActionParam(Id), &On)) return;
    SetActionParams(Id, On ? 1 : 0);
    Main().ShowFullScreen(On != 0);
}

void OnToolbar(int Id)
{
    if (!CheckParamCount(Id)) return;
    if (!Main().ShowToolBar(GetActionParam(Id), Id == ACT_TOOLBAR_SHOW)) SetActionError(Id, ERR_UNKNOWN_TOOLBAR);
}

template <TOOLBAR_INDEX INDEX> void OnToggleToolbar(int)
{
    const bool Shown = !Main().GetToolBar(INDEX)->isHidden();
    ::PerformAction(Shown ? ACT_TOOLBAR_CLOSE : ACT_TOOLBAR_SHOW, QString::fromLatin1(TOOLBARS[INDEX].Title));
}

void SetFloating(bool Floating)
{
    for (CWindow* pWindow : Main().GetWindows())
        if (pWindow->HasFocus() && pWindow->GetDock()) pWindow->GetDock()->setFloating(Floating);
}

} // namespace

void RegisterWindowCommands()
{
    SetCommandHandler(ACT_WINDOW_SHOW, OnWindowShow);
    SetCommandHandler(ACT_WINDOW_CLOSE, OnWindowClose);
    SetCommandHandler(ACT_WINDOW_CLOSE_ALL, [](int Id) { if (CheckParamCount(Id)) Main().CloseAllWindows(); });
    SetCommandHandler(ACT_WINDOW_CLEAR, OnWindowClear);
    SetCommandHandler(ACT_WINDOW_EXPAND_ALL, OnWindowOperation<&CWindow::ExpandAll>);
    SetCommandHandler(ACT_WINDOW_COLLAPSE_ALL, OnWindowOperation<&CWindow::CollapseAll>);
    SetCommandHandler(ACT_WINDOW_SET_DISPLAY_FORMAT, OnSetDisplayFormat);
    SetCommandHandler(ACT_WINDOW_SHOW_FULL_SCREEN, OnShowFullScreen);
    SetCommandHandler(ACT_WINDOW_DOCK, [](int) { SetFloating(false); });
    SetCommandHandler(ACT_WINDOW_UNDOCK, [](int) { SetFloating(true); });
    SetCommandHandler(ACT_TOOLBAR_SHOW, OnToolbar);
    SetCommandHandler(ACT_TOOLBAR_CLOSE, OnToolbar);
    SetCommandHandler(ACT_TOOLBAR_SHOW_FILE, OnToggleToolbar<TOOLBAR_FILE>);
    SetCommandHandler(ACT_TOOLBAR_SHOW_DEBUG, OnToggleToolbar<TOOLBAR_DEBUG>);
    SetCommandHandler(ACT_TOOLBAR_SHOW_VIEWS, OnToggleToolbar<TOOLBAR_VIEW>);
    SetCommandHandler(ACT_TOOLBAR_SHOW_BREAKPOINTS, OnToggleToolbar<TOOLBAR_BREAKPOINTS>);
}
