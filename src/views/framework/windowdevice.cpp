// How a window follows the debug state, and what it shows while it is empty.
#include "app/services/log.h"
#include "views/framework/dockwindow.h"
#include "views/framework/emptyoverlay.h"
#include "views/framework/window.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPainter>

namespace {
constexpr int DEACTIVATE_AFTER_RESUME_MS = 500;

/// The window that a focus widget belongs to: the content of a dock, else the nearest one above.
CWindow* FindWindowOf(QWidget* pWidget)
{
    if (auto* pDock = qobject_cast<CDockWindow*>(pWidget)) return pDock->GetWindow();
    for (; pWidget; pWidget = pWidget->parentWidget()) {
        if (auto* pWindow = qobject_cast<CWindow*>(pWidget)) return pWindow;
        if (auto* pDock = qobject_cast<CDockWindow*>(pWidget)) return pDock->GetWindow();
    }
    return nullptr;
}
} // namespace

void CWindow::OnDeviceConnectDone(CONNECT_MODES)
{
    QWidget::update();
    UpdateActions();
}

void CWindow::OnDeviceDisconnectDone()
{
    if (TestFlag(WF_CLEAR_ON_DISCONNECT)) Clear();
    SetWindowTitle(GetName());
    QWidget::update();
    UpdateActions();
}

void CWindow::OnDeviceResumeDone(RESUME_MODES)
{
    if (IsEmpty()) QWidget::update();
    if (TestFlag(WF_ACTIVATE_ON_HALT)) StartDeactivateTimer(DEACTIVATE_AFTER_RESUME_MS);
    UpdateActions();
}

void CWindow::OnDeviceHaltDone(U32 NewPC, HALT_REASONS)
{
    if (TestFlag(WF_ACTIVATE_ON_HALT)) SetActive(true);
    if (FollowPC(NewPC)) UpdateActions();
}

void CWindow::OnDeviceResetDone(U32 NewPC, RESET_MODES)
{
    if (TestFlag(WF_ACTIVATE_ON_HALT)) SetActive(true);
    if (FollowPC(NewPC)) UpdateActions();
}

void CWindow::OnDeviceStepped(U32 NewPC)
{
    if (TestFlag(WF_ACTIVATE_ON_HALT)) SetActive(true);
    FollowPC(NewPC);
}

bool CWindow::FollowPC(U32 PC)
{
    // A step or halt that came later has moved the PC on; its own event will bring the update.
    if (AlignToInst(PC) != AlignToInst(GetTargetPC())) {
        LogDebug(QStringLiteral("Not updating window as PC is superseeded"));
        return false;
    }
    if (m_UpdateMode == WIN_UPDATE_WHEN_VISIBLE && !IsVisible()) return false;
    if (m_UpdateMode == WIN_UPDATE_WHEN_OPEN && !IsOpen()) return false;
    Update(PC);
    if (IsEmpty()) QWidget::update();
    return true;
}

// Listeners of many breakpoints need to write only one reaction.
void CWindow::OnDeviceSetBPDone(U32 Addr)
{
    OnDeviceSetBPsDone(1, &Addr);
}
void CWindow::OnDeviceSetBPFailed(U32 Addr)
{
    OnDeviceSetBPsFailed(1, &Addr);
}
void CWindow::OnDeviceClearBPDone(U32 Addr)
{
    OnDeviceClearBPsDone(1, &Addr);
}
void CWindow::OnDeviceClearBPFailed(U32 Addr)
{
    OnDeviceClearBPsFailed(1, &Addr);
}

// ---- Focus -----------------------------------------------------------------------------------------------

void CWindow::OnFocusChanged(QWidget* pOld, QWidget* pNew)
{
    const CWindow* pOldWindow = FindWindowOf(pOld);
    const CWindow* pNewWindow = FindWindowOf(pNew);
    if (pOldWindow == pNewWindow) return;
    if (pNewWindow == this) {
        m_HasFocus = true;
        emit FocusChanged(true);
        emit StatusTextChanged();
    } else if (pOldWindow == this) {
        m_HasFocus = false;
        emit FocusChanged(false);
    }
}

void CWindow::OnFocusChanged(bool HasFocus)
{
    if (CDockWindow* pDock = GetDock()) pDock->SetHighlighted(HasFocus);
}

// ---- Empty window ----------------------------------------------------------------------------------------

void CWindow::SetCentralWidgetVisible(bool Visible)
{
    if (QWidget* pCentral = centralWidget()) pCentral->setVisible(Visible);
}

void CWindow::OnContentChanged()
{
    setMinimumSize(0, 0);
    setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    if (!IsEmpty()) {
        if (const QWidget* pCentral = centralWidget(); pCentral && pCentral->isHidden()) SetCentralWidgetVisible(true);
        TakeFocusForOverlay(false);
        m_pOverlay->hide();
    } else {
        TakeFocusForOverlay(true); // first: a hidden widget would pass the focus to some other window
        SetCentralWidgetVisible(false);
        UpdateOverlay();
    }
    UpdateActions();
}

void CWindow::TakeFocusForOverlay(bool Empty)
{
    if (Empty) {
        if (!focusProxy()) return;
        m_pContentFocusProxy = focusProxy();
        setFocusProxy(nullptr);
        if (m_HasFocus) setFocus();
    } else if (m_pContentFocusProxy && !focusProxy()) {
        setFocusProxy(m_pContentFocusProxy);
        if (m_HasFocus) m_pContentFocusProxy->setFocus();
    }
}

void CWindow::UpdateOverlay()
{
    const DEBUG_STATES State = GetDebugState();
    const QString sText = GetEmptyWindowText(State);
    const QString sButton = GetEmptyWindowButtonText(State);
    m_pOverlay->SetTexts(sText, sButton);
    // A longer text than the window is wide goes over several lines.
    m_pOverlay->SetTextMinimumSize(GetOverlayTextSize(sText).boundedTo(QSize(width() / 2, height() / 2)));
    if (accessibleDescription() != sText) setAccessibleDescription(sText);
    if (m_pOverlay->geometry() != rect()) m_pOverlay->setGeometry(rect());
    const bool Wanted = !sText.isEmpty() || !sButton.isEmpty();
    if (m_pOverlay->isHidden() == Wanted) {
        m_pOverlay->setVisible(Wanted);
        if (Wanted) m_pOverlay->raise();
    }
}

QSize CWindow::GetOverlayTextSize(QString sText) const
{
    const QFontMetrics Metrics(font());
    return QSize(Metrics.horizontalAdvance(sText) + 39, Metrics.height() + 19);
}

QSize CWindow::GetOverlayIconSize(QString sIcon) const
{
    const QFontMetrics Metrics(font());
    const QSize Pixmap = QPixmap(sIcon).size();
    return QSize(Pixmap.width() + 2 * Metrics.horizontalAdvance(u' ') + 7, Pixmap.height() + 7);
}

void CWindow::paintEvent(QPaintEvent* pEvent)
{
    QMainWindow::paintEvent(pEvent);
    QPainter Painter(this);
    Painter.fillRect(rect(), palette().color(QPalette::Window));
    Painter.end();
    if (IsEmpty())
        UpdateOverlay();
    else if (m_pOverlay->isVisible())
        m_pOverlay->hide();
}
