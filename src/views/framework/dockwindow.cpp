#include "views/framework/dockwindow.h"

#include "views/framework/docktitlebar.h"
#include "views/framework/window.h"

#include <QAction>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QMainWindow>
#include <QMetaMethod>

CDockWindow::CDockWindow(QWidget* pParent) : QDockWidget(pParent)
{
    setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea | Qt::BottomDockWidgetArea);
    setFeatures(DockWidgetClosable | DockWidgetMovable | DockWidgetFloatable);
    m_pTitleBar = new CDockTitleBar(this);
    setTitleBarWidget(m_pTitleBar);
}

void CDockWindow::SetWindow(CWindow* pWindow)
{
    const QString sName = pWindow->objectName();
    setWidget(pWindow);
    setFocusProxy(pWindow);
    setObjectName(sName);
    SetTitle(pWindow->windowTitle());
}

CWindow* CDockWindow::GetWindow() const
{
    return qobject_cast<CWindow*>(widget());
}

void CDockWindow::SetTitle(const QString& sTitle)
{
    if (sTitle == m_sTitle) return;
    m_sTitle = sTitle;
    // Tabs and menus take a single "&" for a mnemonic.
    setWindowTitle(QString(sTitle).replace(u'&', QLatin1String("&&")));
    UpdateMinimumSize();
    m_pTitleBar->update();
}

void CDockWindow::SetHighlighted(bool Highlighted)
{
    if (Highlighted == m_Highlighted) return;
    m_Highlighted = Highlighted;
    m_pTitleBar->SetHighlighted(Highlighted);
}

bool CDockWindow::IsTabbed() const
{
    auto* pMainWindow = qobject_cast<QMainWindow*>(parentWidget());
    return pMainWindow && !isFloating() &&
           !pMainWindow->tabifiedDockWidgets(const_cast<CDockWindow*>(this)).isEmpty();
}

QSize CDockWindow::sizeHint() const
{
    const CWindow* pWindow = GetWindow();
    const int w = pWindow ? pWindow->GetUserSettingValue(USER_SETTING_W, true) : 0;
    const int h = pWindow ? pWindow->GetUserSettingValue(USER_SETTING_H, true) : 0;
    return w >= 1 && h >= 1 ? QSize(w, h) : QSize(300, 300);
}

void CDockWindow::UpdateMinimumSize()
{
    QFont Bold = font();
    Bold.setBold(true);
    setMinimumSize(QFontMetrics(Bold).horizontalAdvance(m_sTitle + QStringLiteral("----")), 38);
}

void CDockWindow::keyPressEvent(QKeyEvent* pEvent)
{
    if (const CWindow* pWindow = GetWindow()) {
        const QKeySequence Keys(pEvent->keyCombination());
        for (QAction* pAction : pWindow->actions()) {
            if (!pAction->isEnabled() || pAction->shortcut() != Keys || Keys.isEmpty()) continue;
            pAction->trigger();
            pEvent->accept();
            return;
        }
    }
    QDockWidget::keyPressEvent(pEvent);
}

void CDockWindow::contextMenuEvent(QContextMenuEvent* pEvent)
{
    emit MenuRequested(pEvent->globalPos());
    pEvent->accept();
}

void CDockWindow::closeEvent(QCloseEvent* pEvent)
{
    // Closing a dock only hides it. A receiver runs the close as a command, so that it is echoed.
    if (pEvent->spontaneous() && isSignalConnected(QMetaMethod::fromSignal(&CDockWindow::CloseRequested))) {
        pEvent->ignore();
        emit CloseRequested();
        return;
    }
    QDockWidget::closeEvent(pEvent);
}

void CDockWindow::RequestClose()
{
    if (isSignalConnected(QMetaMethod::fromSignal(&CDockWindow::CloseRequested)))
        emit CloseRequested();
    else
        close();
}

void CDockWindow::changeEvent(QEvent* pEvent)
{
    QDockWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::FontChange || pEvent->type() == QEvent::WindowTitleChange)
        UpdateMinimumSize();
}

#include "moc_dockwindow.cpp"
