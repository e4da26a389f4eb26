// The commands on windows and tool bars: showing, closing, clearing, unfolding, display formats, docking, full screen.
#include "app/actions/actions.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "app/shell/toolbar.h"
#include "views/framework/dockwindow.h"

#include <QApplication>

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

/// The window that the widget with the focus lies in; null outside all windows.
CWindow* GetFocusedWindow()
{
    for (QWidget* pWidget = QApplication::focusWidget(); pWidget; pWidget = pWidget->parentWidget()) {
        if (auto* pWindow = qobject_cast<CWindow*>(pWidget)) return pWindow;
        if (auto* pDock = qobject_cast<CDockWindow*>(pWidget)) return pDock->GetWindow();
    }
    return nullptr;
}

void OnWindowUndock(int)
{
    const CWindow* pWindow = GetFocusedWindow();
    if (CDockWindow* pDock = pWindow ? pWindow->GetDock() : nullptr) pDock->setFloating(true);
}

void OnWindowDock(int)
{
    const CWindow* pWindow = GetFocusedWindow();
    CDockWindow* pDock = pWindow ? pWindow->GetDock() : nullptr;
    if (!pDock) return;
    pDock->setFloating(false);
    Main().activateWindow(); // the window that had the desktop's attention is gone
    pDock->setFocus();
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
    SetCommandHandler(ACT_WINDOW_DOCK, OnWindowDock);
    SetCommandHandler(ACT_WINDOW_UNDOCK, OnWindowUndock);
    SetCommandHandler(ACT_TOOLBAR_SHOW, OnToolbar);
    SetCommandHandler(ACT_TOOLBAR_CLOSE, OnToolbar);
    SetCommandHandler(ACT_TOOLBAR_SHOW_FILE, OnToggleToolbar<TOOLBAR_FILE>);
    SetCommandHandler(ACT_TOOLBAR_SHOW_DEBUG, OnToggleToolbar<TOOLBAR_DEBUG>);
    SetCommandHandler(ACT_TOOLBAR_SHOW_VIEWS, OnToggleToolbar<TOOLBAR_VIEW>);
    SetCommandHandler(ACT_TOOLBAR_SHOW_BREAKPOINTS, OnToggleToolbar<TOOLBAR_BREAKPOINTS>);
}
