#include "views/framework/window.h"

#include "views/framework/dockwindow.h"
#include "views/framework/emptyoverlay.h"
#include "views/framework/messagebox.h"
#include "views/theme/icons.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QGestureEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <iterator>

namespace {
constexpr int DEACTIVATE_DELAY_MS = 500;
constexpr int FIRST_SIZE = 278;
} // namespace

CWindow::CWindow(QWidget* pParent, const QString& sName) : QMainWindow(pParent)
{
    // A main window is a top-level window unless told otherwise; here it is the content of a dock.
    setWindowFlags(Qt::Widget);
    setObjectName(sName);
    QMainWindow::setWindowTitle(sName);
    setAccessibleName(sName); // an empty window has the focus itself
    resize(FIRST_SIZE, FIRST_SIZE);
    setFocusPolicy(static_cast<Qt::FocusPolicy>(Qt::StrongFocus));
    setContextMenuPolicy(Qt::DefaultContextMenu);
    m_pFormatActions = std::make_unique<CDisplayFormatActions>(this);
    for (size_t i = 0; i < aDisplayFormats.size(); i++) addAction(m_pFormatActions->GetActionAt(i));
    m_pActionClear = AddAction("actionWinClear", QStringLiteral("C&lear"), "Alt+Del",
                               QStringLiteral("Clears the Window"), "broom");
    m_pActionAdd = AddAction("actionWinAdd", QStringLiteral("&Add..."), "Alt+Shift++",
                             QStringLiteral("Adds an Item to the Window"), "plus");
    m_pActionAdd->setVisible(false);
    m_pOverlay = new CEmptyOverlay(this);
    m_pOverlay->hide();
    m_DeactivateTimer.setInterval(DEACTIVATE_DELAY_MS);
    m_DeactivateTimer.setSingleShot(true);
    CWindow::ConnectSignals();
    CWindow::UpdateActions();
}

CWindow::~CWindow()
{
    disconnect(qApp, nullptr, this, nullptr);
    if (GetWindowEnv().UnlinkActions) GetWindowEnv().UnlinkActions(this);
}

void CWindow::ConnectSignals()
{
    connect(&m_DeactivateTimer, SIGNAL(timeout()), this, SLOT(OnDeactivateTimerTimeout()));
    Connect(m_pActionAdd, SIGNAL(triggered()), this, SLOT(OnActionAddTriggered()));
    Connect(m_pActionClear, SIGNAL(triggered()), this, SLOT(OnActionClearTriggered()));
    for (size_t i = 0; i < aDisplayFormats.size(); i++)
        Connect(m_pFormatActions->GetActionAt(i), SIGNAL(triggered()), this,
                SLOT(OnActionSetDispFormTriggered()));
    connect(this, SIGNAL(ContentChanged()), this, SLOT(OnContentChanged()));
    connect(this, SIGNAL(DisplayFormatChanged(int)), this, SLOT(OnDisplayFormatChanged(int)));
    connect(this, SIGNAL(SizeChanged(int, int)), this, SLOT(OnSizeChanged(int, int)));
    connect(this, SIGNAL(StateChanged(bool)), this, SLOT(OnStateChanged(bool)));
    connect(this, SIGNAL(ActivationChanged(bool)), this, SLOT(OnActivationChanged(bool)));
    connect(this, SIGNAL(FocusChanged(bool)), this, SLOT(OnFocusChanged(bool)));
    connect(this, SIGNAL(VisibilityChanged(bool)), this, SLOT(OnVisibilityChanged(bool)));
    connect(this, SIGNAL(FloatingStateChanged(bool)), this, SLOT(OnFloatingStateChanged(bool)));
    connect(this, SIGNAL(FlagChanged(WINDOW_FLAGS, bool)), this, SLOT(OnFlagChanged(WINDOW_FLAGS, bool)));
    connect(qApp, SIGNAL(focusChanged(QWidget*, QWidget*)), this, SLOT(OnFocusChanged(QWidget*, QWidget*)));
}

QAction* CWindow::AddAction(const char* sObjectName, const QString& sText, const char* sShortcut,
                            const QString& sStatusTip, const char* sIcon)
{
    auto* pAction = new QAction(sText, this);
    pAction->setObjectName(QLatin1String(sObjectName));
    if (*sShortcut) pAction->setShortcut(QKeySequence(QLatin1String(sShortcut)));
    pAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    pAction->setStatusTip(sStatusTip);
    if (*sIcon) pAction->setIcon(GetIcon(QLatin1String(sIcon)));
    addAction(pAction);
    return pAction;
}

void CWindow::LinkWindowActions()
{
    if (GetWindowEnv().LinkActions) GetWindowEnv().LinkActions(this);
}

// ---- Content ---------------------------------------------------------------------------------------------

void CWindow::Clear() {}
void CWindow::Repaint()
{
    QWidget::update();
}
void CWindow::Update(U32) {}
QStringList CWindow::GetText(int)
{
    return IsEmpty() ? QStringList{GetEmptyWindowText(GetDebugState())} : QStringList();
}
bool CWindow::PrepareText(int)
{
    return false;
}
void CWindow::FlushUpdate() {}
bool CWindow::IsUpdatePending() const
{
    return false;
}

// ---- Look ------------------------------------------------------------------------------------------------

void CWindow::SetFont(int, QFont&)
{
    Repaint();
}
void CWindow::SetColor(int, QColor&)
{
    Repaint();
}
void CWindow::SetPreference(int, I64) {}
void CWindow::SetSrcLanguage(ELF_SRC_LANG) {}

void CWindow::SetWindowTitle(QString sTitle)
{
    if (sTitle == windowTitle()) return;
    QMainWindow::setWindowTitle(sTitle);
    setAccessibleName(sTitle);
    if (CDockWindow* pDock = GetDock()) pDock->SetTitle(sTitle);
}

void CWindow::ShowContextMenu(QPoint Pos)
{
    QMenu Menu(this);
    if (IsContentsModifiable() && m_pActionClear->isVisible()) Menu.addAction(m_pActionClear);
    if (!Menu.isEmpty()) Menu.exec(mapToGlobal(Pos));
}

void CWindow::SetUpdateMode(WIN_UPDATE_MODES Mode)
{
    m_UpdateMode = Mode;
}

void CWindow::SetEnabled(bool Enabled)
{
    if (Enabled == m_Enabled) return;
    m_Enabled = Enabled;
    emit StateChanged(Enabled);
}

void CWindow::SetActive(bool Active)
{
    if (Active) m_DeactivateTimer.stop();
    if (Active == m_Active) return;
    m_Active = Active;
    emit ActivationChanged(Active);
    Repaint();
}

// ---- Scrolling, identity and state -----------------------------------------------------------------------

void CWindow::ScrollToTop() {}
void CWindow::ScrollToBottom() {}
void CWindow::ScrollToLeft() {}
void CWindow::ScrollToRight() {}
void CWindow::ScrollBy(int, int) {}

void CWindow::SetName(QString sName)
{
    setObjectName(sName);
    if (CDockWindow* pDock = GetDock()) pDock->setObjectName(sName);
    SetWindowTitle(sName);
}

void CWindow::ClearStateBackup() {}
void CWindow::BackupState(int) {}
void CWindow::RestoreState(int, U32) {}
void CWindow::ExpandAll() {}
void CWindow::CollapseAll() {}

void CWindow::SetFlag(WINDOW_FLAGS Flag, bool Enabled)
{
    const U32 NewFlags = Enabled ? m_Flags | Flag : m_Flags & ~U32(Flag);
    if (NewFlags == m_Flags) return;
    m_Flags = NewFlags;
    emit FlagChanged(Flag, Enabled);
}

void CWindow::SetDisplayFormat(int DisplayFormat)
{
    emit DisplayFormatChanged(DisplayFormat);
}

// ---- Wiring ----------------------------------------------------------------------------------------------

bool CWindow::Connect(QObject* pSender, const char* sSignal, QObject* pReceiver, const char* sSlot)
{
    const bool IsAction = qobject_cast<QAction*>(pSender) && qstrcmp(sSignal, SIGNAL(triggered())) == 0;
    if (!IsAction) return bool(connect(pSender, sSignal, pReceiver, sSlot));
    bool Ok = bool(connect(pSender, sSignal, this, SLOT(OnActionTriggered())));
    Ok = bool(connect(pSender, sSignal, pReceiver, sSlot)) && Ok;
    return bool(connect(pSender, sSignal, this, SLOT(OnActionPerformed()))) && Ok;
}

bool CWindow::Disconnect(QObject* pSender, const char* sSignal, QObject* pReceiver, const char* sSlot)
{
    const bool IsAction = qobject_cast<QAction*>(pSender) && qstrcmp(sSignal, SIGNAL(triggered())) == 0;
    if (!IsAction) return disconnect(pSender, sSignal, pReceiver, sSlot);
    bool Ok = disconnect(pSender, sSignal, this, SLOT(OnActionTriggered()));
    Ok = disconnect(pSender, sSignal, pReceiver, sSlot) && Ok;
    return disconnect(pSender, sSignal, this, SLOT(OnActionPerformed())) && Ok;
}

int CWindow::PerformAction(int, QVariant, QVariant, QVariant, QVariant)
{
    return -1;
}

void CWindow::OnActionTriggered()
{
    emit ActionTriggered(qobject_cast<QAction*>(sender()));
}
void CWindow::OnActionPerformed()
{
    emit ActionPerformed(qobject_cast<QAction*>(sender()));
}

// ---- Queries ---------------------------------------------------------------------------------------------

int CWindow::GetDisplayFormat() const
{
    return m_DisplayFormat;
}
QStringList CWindow::GetAliasNames() const
{
    return GetWindowAliases(GetName());
}

QString CWindow::GetName() const
{
    const CDockWindow* pDock = GetDock();
    return pDock && !pDock->objectName().isEmpty() ? pDock->objectName() : objectName();
}

QString CWindow::GetDisplayName() const
{
    return GetName();
}
QString CWindow::GetClearAllPostfix() const
{
    return GetName();
}

QString CWindow::GetEmptyWindowText(DEBUG_STATES State) const
{
    if (State == DEBUG_STATE_RUNNING) return QStringLiteral("Program running");
    if (State == DEBUG_STATE_NO_CONNECTION) return QStringLiteral("No target connection");
    return QStringLiteral("No data");
}

QString CWindow::GetEmptyWindowButtonText(DEBUG_STATES) const
{
    return QString();
}
QPoint CWindow::GetContextMenuPos(int) const
{
    return mapFromGlobal(QCursor::pos());
}
QString CWindow::GetStatusText() const
{
    return QString();
}
QString CWindow::GetViewParam(const QString&) const
{
    return {};
}

bool CWindow::IsMatched(QString sInput) const
{
    const QString sName = MapWindowAlias(sInput);
    return sName == GetName() || sName == GetDisplayName() || sInput == GetName();
}

bool CWindow::IsEmpty() const
{
    return false;
}
bool CWindow::IsOpen() const
{
    return IsVisible() || IsObscured();
}

bool CWindow::IsVisible() const
{
    if (const CDockWindow* pDock = GetDock())
        return pDock->isFloating() ? pDock->isVisible()
                                   : pDock->isVisible() && !pDock->visibleRegion().isEmpty();
    return isVisible() && !visibleRegion().isEmpty();
}

bool CWindow::IsObscured() const
{
    const QWidget* pParent = parentWidget();
    return pParent && !pParent->isHidden() && !IsVisible();
}

bool CWindow::IsFloating() const
{
    const CDockWindow* pDock = GetDock();
    return pDock && pDock->isFloating();
}

bool CWindow::IsEscKeyOpActive() const
{
    return false;
}
bool CWindow::IsBackgrMemAccRequired() const
{
    return false;
}

CDockWindow* CWindow::GetDock() const
{
    for (QWidget* pWidget = parentWidget(); pWidget; pWidget = pWidget->parentWidget())
        if (auto* pDock = qobject_cast<CDockWindow*>(pWidget)) return pDock;
    return nullptr;
}

// ---- Reactions -------------------------------------------------------------------------------------------

void CWindow::OnDragEnter(QDragEnterEvent* pEvent)
{
    if (TestFlag(WF_ACCEPT_DROPS) && pEvent->mimeData()->hasFormat(QStringLiteral("text/plain")))
        pEvent->acceptProposedAction();
}

void CWindow::OnDragDrop(QDropEvent*) {}

void CWindow::OnDisplayFormatChanged(int Format)
{
    m_DisplayFormat = static_cast<U8>(Format);
    UpdateActions();
}

void CWindow::OnSizeChanged(int, int) {}
void CWindow::OnFlagChanged(WINDOW_FLAGS Flag, bool Value)
{
    if (Flag == WF_ACCEPT_DROPS) setAcceptDrops(Value);
}
void CWindow::OnStateChanged(bool)
{
    OnContentChanged();
}
void CWindow::OnStatusChanged()
{
    emit StatusTextChanged();
}

bool CWindow::OnGestureEvent(QGestureEvent* pEvent)
{
    if (QGesture* pGesture = pEvent->gesture(Qt::PinchGesture))
        return OnPinchGestureEvent(static_cast<QPinchGesture*>(pGesture));
    return false;
}

bool CWindow::OnPinchGestureEvent(QPinchGesture*)
{
    return false;
}
void CWindow::OnFloatingStateChanged(bool) {}

void CWindow::OnVisibilityChanged(bool Visible)
{
    if (Visible)
        Update(GetTargetPC());
    else if (TestFlag(WF_CLEAR_ON_HIDE))
        Clear();
}

void CWindow::OnActivationChanged(bool) {}
void CWindow::OnContextMenuRequested(QPoint Pos)
{
    ShowContextMenu(Pos);
}
bool CWindow::OnTooltipRequested(QPoint)
{
    return false;
}
void CWindow::OnTimeReferencesChanged() {}
void CWindow::OnGuiInitComplete() {}
void CWindow::OnTimeSelected(U64) {}
void CWindow::OnSrcLocSelected(CSrcLoc, int) {}
void CWindow::OnFuncSelected(ELF_SYM_HANDLE) {}
void CWindow::OnSymbolSelected(U64) {}
void CWindow::OnInstSelected(I64) {}
void CWindow::OnBacktraceSelected(I64) {}
void CWindow::OnBacktraceSelectionChanged(I64) {}
void CWindow::OnEmptyWindowButtonClicked() {}
void CWindow::OnActionAddTriggered() {}

void CWindow::OnActionClearTriggered()
{
    if (TestFlag(WF_CONFIRM_CLEAR) &&
        CMessageBox::Ask(MSGBOX_CLEAR, GetClearAllPostfix(), m_pActionClear->text()) != QDialogButtonBox::Yes)
        return;
    PerformWindowCommand(QStringLiteral("Window.Clear"), {GetName()});
}

void CWindow::OnActionSetDispFormTriggered()
{
    const int Format = m_pFormatActions->GetFormat(qobject_cast<QAction*>(sender()));
    if (Format >= 0)
        PerformWindowCommand(QStringLiteral("Window.SetDisplayFormat"),
                             {GetName(), GetDisplayFormatName(Format)});
}

void CWindow::OnCallFrameEvaluated(int) {}
void CWindow::OnCallStackUnwinded() {}
void CWindow::OnSysVarChanged(int, I64) {}
void CWindow::OnPluginLoaded(QString, int) {}
void CWindow::OnPluginUnloaded(QString, int) {}
void CWindow::OnPluginReconfigured(QString, int) {}
void CWindow::OnDataFileOpened(QString) {}
void CWindow::OnDataFileAboutToDownload(QString) {}
void CWindow::OnDataFileDownloaded(QString) {}
void CWindow::OnProjectFileOpened(QString) {}
void CWindow::OnProjectFileClosed(QString) {}
void CWindow::OnDeactivateTimerTimeout()
{
    SetActive(false);
}

void CWindow::OnWindowOpened(CWindow* pWindow)
{
    if (pWindow == this) OnOpened();
}

void CWindow::OnWindowClosed(CWindow* pWindow)
{
    if (pWindow != this) return;
    // The user put the window away: a session keeps its size but doesn't open it again.
    m_aUserSettings[USER_SETTING_DOCK_AREA] = DOCK_AREA_NONE;
    OnClosed();
}

void CWindow::OnOpened() {}
void CWindow::OnClosed() {}

void CWindow::Refresh()
{
    OnContentChanged();
    UpdateActions();
}

void CWindow::AddDisplayFormatMenu(QMenu* pMenu)
{
    m_pFormatActions->AddMenu(pMenu);
}

void CWindow::UpdateActions()
{
    const bool HasContent = !IsEmpty();
    m_pActionClear->setVisible(HasContent);
    m_pActionClear->setEnabled(HasContent);
    m_pFormatActions->SetChecked(m_DisplayFormat);
}

void CWindow::StartDeactivateTimer(int Ms)
{
    m_DeactivateTimer.start(Ms);
}

// ---- Events ----------------------------------------------------------------------------------------------

bool CWindow::event(QEvent* pEvent)
{
    if (pEvent->type() == QEvent::Gesture && OnGestureEvent(static_cast<QGestureEvent*>(pEvent))) return true;
    if (pEvent->type() == QEvent::ToolTip && OnTooltipRequested(static_cast<QHelpEvent*>(pEvent)->pos()))
        return true;
    return QMainWindow::event(pEvent);
}

bool CWindow::eventFilter(QObject* pObject, QEvent* pEvent)
{
    auto* pWidget = qobject_cast<QWidget*>(pObject);
    switch (pEvent->type()) {
    case QEvent::Paint:
        return pWidget ? OnPaint(pWidget) : false;
    case QEvent::ToolTip:
        return pWidget ? OnTooltipRequested(pWidget->mapTo(this, static_cast<QHelpEvent*>(pEvent)->pos()))
                       : false;
    case QEvent::MouseButtonPress:
        if (QToolTip::isVisible()) QToolTip::hideText();
        break;
    case QEvent::Gesture:
        return OnGestureEvent(static_cast<QGestureEvent*>(pEvent));
    case QEvent::DragEnter:
        if (!TestFlag(WF_ACCEPT_DROPS)) break;
        pEvent->ignore();
        OnDragEnter(static_cast<QDragEnterEvent*>(pEvent));
        return true;
    case QEvent::DragMove: // an item view would ask its model, which has no say in what a drop means
        if (!TestFlag(WF_ACCEPT_DROPS)) break;
        pEvent->setAccepted(
            static_cast<QDragMoveEvent*>(pEvent)->mimeData()->hasFormat(QStringLiteral("text/plain")));
        return true;
    case QEvent::Drop:
        if (!TestFlag(WF_ACCEPT_DROPS)) break;
        OnDragDrop(static_cast<QDropEvent*>(pEvent));
        return true;
    default:
        break;
    }
    return QMainWindow::eventFilter(pObject, pEvent);
}

bool CWindow::OnPaint(QWidget*)
{
    return false;
}

void CWindow::resizeEvent(QResizeEvent* pEvent)
{
    QMainWindow::resizeEvent(pEvent);
    m_pOverlay->setGeometry(rect());
    emit SizeChanged(width(), height());
}

void CWindow::mousePressEvent(QMouseEvent* pEvent)
{
    const bool IsCentralHidden = !centralWidget() || centralWidget()->isHidden();
    if (IsCentralHidden && m_pOverlay->isVisible()) {
        if (m_pOverlay->GetButtonRect().contains(pEvent->pos())) {
            OnEmptyWindowButtonClicked();
            pEvent->accept();
            return;
        }
        if (CDockWindow* pDock = GetDock()) pDock->setFocus();
    }
    QMainWindow::mousePressEvent(pEvent);
}

void CWindow::keyPressEvent(QKeyEvent* pEvent)
{
    // The button of an empty window has no focus of its own: the window has it.
    constexpr int KEYS[] = {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space};
    const bool IsPress = std::find(std::begin(KEYS), std::end(KEYS), pEvent->key()) != std::end(KEYS);
    if (IsPress && m_pOverlay->isVisible() && !m_pOverlay->GetButtonText().isEmpty() && !pEvent->isAutoRepeat())
        return OnEmptyWindowButtonClicked();
    QMainWindow::keyPressEvent(pEvent);
}

void CWindow::dragEnterEvent(QDragEnterEvent* pEvent)
{
    OnDragEnter(pEvent);
}
void CWindow::dropEvent(QDropEvent* pEvent)
{
    OnDragDrop(pEvent);
}

void CWindow::contextMenuEvent(QContextMenuEvent* pEvent)
{
    const bool ByMouse = pEvent->reason() == QContextMenuEvent::Mouse;
    OnContextMenuRequested(ByMouse ? pEvent->pos() : GetContextMenuPos(pEvent->reason()));
    pEvent->accept();
}

#include "moc_window.cpp"
