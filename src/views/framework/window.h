// CWindow, the base of every debug window: it follows the debug state without blocking, says why it is empty,
// passes selections on and saves itself to the session. A CWindow sits as the only widget in a CDockWindow.
//
// A subclass fills itself in Update(), empties itself in Clear(), tells IsEmpty(), and connects its actions
// with Connect(), so that the console hears of every action before and after it ran:
//
//   Connect(m_pAction, SIGNAL(triggered()), this, SLOT(OnActionRunTriggered()));
//   LinkWindowActions();   // last line of the constructor of a concrete window
//
// Main thread only.
#pragma once
#include "app/services/types.h"
#include "device/queue/deviceeventlistener.h"
#include "program/elf/elf.h"
#include "program/tables/srcloc.h"
#include "views/framework/displayformat.h"
#include "views/framework/windowenv.h"
#include "views/framework/windowsettings.h"

#include <QMainWindow>
#include <QPointer>
#include <QTimer>
#include <QVariant>
#include <array>
#include <memory>

class CDockWindow;
class CEmptyOverlay;
class QGestureEvent;
class QPinchGesture;

/// Properties of a window; the bit values are fixed.
enum WINDOW_FLAGS : U32 {
    WF_ACTIVATE_ON_HALT = 0x1,     ///< turns active on halt and reset, inactive 500 ms after a resume
    WF_LIVE_ITEMS = 0x2,           ///< items may be read while the target runs
    WF_CLEAR_ON_HIDE = 0x4,        ///< Clear() when the window becomes invisible
    WF_CLEAR_ON_DISCONNECT = 0x8,  ///< Clear() when the target disconnects
    WF_CONTENTS_MODIFIABLE = 0x10, ///< the user can change the content
    WF_CONFIRM_CLEAR = 0x20,       ///< the clear action asks first
    WF_FILTER_BAR = 0x100,         ///< the filter bar is shown
    WF_ACCEPT_DROPS = 0x200,       ///< accepts text drops
};

/// When a halt, reset or step updates a window.
enum WIN_UPDATE_MODES : U8 {
    WIN_UPDATE_WHEN_VISIBLE = 0,
    WIN_UPDATE_WHEN_OPEN = 1,
    WIN_UPDATE_ALWAYS = 2,
};

class CWindow : public QMainWindow, public CDeviceEventListener {
    Q_OBJECT

public:
    explicit CWindow(QWidget* pParent = nullptr, const QString& sName = QStringLiteral("Window"));
    ~CWindow() override;

    /// \name Content
    ///@{
    virtual void Clear();
    virtual void Repaint();
    /// Follows the PC. Only schedules reads; never waits for the target. NewPC is ADDR_NONE when unknown.
    virtual void Update(U32 NewPC);
    /// The content as lines: columns separated by a tab, children indented by two blanks a level.
    /// Depth: levels below the top to print whether unfolded or not; -1 = what is unfolded on screen.
    /// Text windows give their visible lines.
    virtual QStringList GetText(int Depth = -1);
    /// Asks for the values that GetText(Depth) would show and that aren't read yet. True if reads were
    /// started.
    virtual bool PrepareText(int Depth);
    /// True while an update is scheduled or bulk work runs on a timer.
    virtual bool IsUpdatePending() const;
    /// Does an update now that waits for its timer; for those who cannot see and so need not wait.
    virtual void FlushUpdate();
    ///@}

    /// \name Look
    ///@{
    virtual void SetFont(int FontID, QFont& Font);
    virtual void SetColor(int ColorID, QColor& Color);
    virtual void SetPreference(int SysVarID, I64 Value);
    virtual void SetWindowTitle(QString sTitle);
    virtual void ShowContextMenu(QPoint Pos); ///< Pos in window coordinates
    virtual void SetSrcLanguage(ELF_SRC_LANG Lang);
    virtual void SetUpdateMode(WIN_UPDATE_MODES Mode);
    virtual void SetEnabled(bool Enabled);
    virtual void SetActive(bool Active);
    ///@}

    /// \name Scrolling
    ///@{
    virtual void ScrollToTop();
    virtual void ScrollToBottom();
    virtual void ScrollToLeft();
    virtual void ScrollToRight();
    virtual void ScrollBy(int dx, int dy); ///< columns (or pixels) and rows
    ///@}

    /// \name Identity and state
    ///@{
    virtual void SetName(QString sName); ///< object name of the window and of its dock
    virtual void ClearStateBackup();
    virtual void BackupState(int StateID);
    virtual void RestoreState(int StateID, U32 DoNotRestoreFlags = 0);
    virtual void ExpandAll();
    virtual void CollapseAll();
    virtual void SetFlag(WINDOW_FLAGS Flag, bool Enabled);
    virtual void SetDisplayFormat(int DisplayFormat); ///< only emits DisplayFormatChanged
    ///@}

    /// \name Wiring
    ///@{
    /// The only way to connect a QAction's triggered(): OnActionTriggered(), the slot, OnActionPerformed(),
    /// in this order. Any other signal is connected plainly. True if all connections were made.
    virtual bool Connect(QObject* pSender, const char* sSignal, QObject* pReceiver, const char* sSlot);
    virtual bool Disconnect(QObject* pSender, const char* sSignal, QObject* pReceiver, const char* sSlot);
    /// Runs a window's own operation by action id; the base knows none and answers -1.
    virtual int PerformAction(int ActionID, QVariant v1 = {}, QVariant v2 = {}, QVariant v3 = {},
                              QVariant v4 = {});
    ///@}

    /// \name Queries
    ///@{
    virtual int GetDisplayFormat() const;
    virtual QStringList GetAliasNames() const;
    virtual QString GetName() const;
    virtual QString GetDisplayName() const;
    virtual QString GetClearAllPostfix() const;
    virtual QString GetEmptyWindowText(DEBUG_STATES State) const;
    virtual QString GetEmptyWindowButtonText(DEBUG_STATES State) const; ///< empty = no button
    virtual QPoint GetContextMenuPos(int Reason) const;
    virtual QString GetStatusText() const;
    /// What the current row stands for as the parameter of a command of the View group ("View.Source"); empty for nothing.
    virtual QString GetViewParam(const QString& sCommand) const;
    virtual U32 GetFlags() const { return m_Flags; }
    virtual bool TestFlag(WINDOW_FLAGS Flag) const { return (m_Flags & Flag) != 0; }
    virtual bool HasFocus() const { return m_HasFocus; }
    virtual bool IsMatched(QString sInput) const; ///< answers to its names and old names, case-sensitively
    virtual bool IsContentsModifiable() const { return TestFlag(WF_CONTENTS_MODIFIABLE); }
    virtual bool IsEnabled() const { return m_Enabled; }
    virtual bool IsEmpty() const;
    virtual bool IsOpen() const;
    virtual bool IsVisible() const;
    virtual bool IsObscured() const; ///< open, but another tab lies over it
    virtual bool IsFloating() const;
    virtual bool IsActive() const { return m_Active; }
    virtual bool IsEscKeyOpActive() const;
    virtual bool IsBackgrMemAccRequired() const;
    CDockWindow* GetDock() const; ///< null outside a dock
    WIN_UPDATE_MODES GetUpdateMode() const { return m_UpdateMode; }
    ///@}

    /// \name Session settings
    ///@{
    virtual QList<int> GetUserSettings() const;
    virtual int GetUserSetting(QString sName) const; ///< id of a name; -1 for none
    virtual QString GetUserSettingName(int Setting) const;
    virtual QString GetUserSettingValueStr(int Setting) const;
    virtual int GetUserSettingValue(int Setting, bool FromStore) const;
    virtual bool IsUserSettingStored(int Setting) const;
    virtual bool SetUserSetting(QString sName, QString sValue); ///< false for an unknown name
    virtual int ParseUserSettingValue(int Setting, QString sValue) const;
    virtual void ClearUserSettings();
    int FindSessionLine(const QStringList& Lines) const; ///< index of this window's line; -1 for none
    int ApplySessionLine(const QStringList& Lines);      ///< number of settings applied; -1 without a line
    /// This window's line. A setting that isn't stored keeps the value it had in OldLines.
    virtual QString MakeSessionLine(const QStringList& OldLines) const;
    ///@}

signals:
    void StatusTextChanged();
    void ContentChanged();
    void DisplayFormatChanged(int Format);
    void SizeChanged(int w, int h);
    void FocusChanged(bool HasFocus);
    void FlagChanged(WINDOW_FLAGS Flag, bool Value);
    void FloatingStateChanged(bool IsFloating);
    void VisibilityChanged(bool Visible);
    void StateChanged(bool Enabled);
    void ActivationChanged(bool Active);
    void InstSelected(I64 Addr); ///< -1 = none
    void BacktraceSelected(I64 InstIdx);
    void BacktraceSelectionChanged(I64 InstIdx);
    void SrcLocSelected(CSrcLoc Location, int Type = 0);
    void SymbolSelected(U64 SymID);
    void FuncSelected(ELF_SYM_HANDLE hFunc);
    void TimeReferencesChanged();
    void TimeSelected(U64 TimeNS);
    void CallSiteSelected(int CallStackIdx);
    void ActionTriggered(QAction* pAction);
    void ActionPerformed(QAction* pAction);

public slots:
    virtual bool OnPaint(QWidget* pWidget); ///< true = the widget's own painting is done with
    virtual void OnFocusChanged(bool HasFocus);
    virtual void OnFocusChanged(QWidget* pOld, QWidget* pNew);
    virtual void OnDragEnter(QDragEnterEvent* pEvent);
    virtual void OnDragDrop(QDropEvent* pEvent);
    virtual void OnDisplayFormatChanged(int Format);
    virtual void OnSizeChanged(int w, int h);
    virtual void OnFlagChanged(WINDOW_FLAGS Flag, bool Value);
    virtual void OnStateChanged(bool Enabled);
    virtual void OnStatusChanged();
    virtual bool OnGestureEvent(QGestureEvent* pEvent);
    virtual bool OnPinchGestureEvent(QPinchGesture* pGesture);
    virtual void OnFloatingStateChanged(bool IsFloating);
    virtual void OnVisibilityChanged(bool Visible);
    virtual void OnActivationChanged(bool Active);
    virtual void OnContextMenuRequested(QPoint Pos);
    virtual bool OnTooltipRequested(QPoint Pos);
    virtual void OnTimeReferencesChanged();
    virtual void OnGuiInitComplete();
    virtual void OnTimeSelected(U64 TimeNS);
    virtual void OnSrcLocSelected(CSrcLoc Loc, int Type = 0);
    virtual void OnFuncSelected(ELF_SYM_HANDLE hFunc);
    virtual void OnSymbolSelected(U64 SymID);
    virtual void OnInstSelected(I64 Addr);
    virtual void OnBacktraceSelected(I64 InstIdx);
    virtual void OnBacktraceSelectionChanged(I64 InstIdx);
    virtual void OnEmptyWindowButtonClicked();
    virtual void OnContentChanged();
    virtual void OnActionAddTriggered();
    virtual void OnActionClearTriggered();
    virtual void OnActionTriggered();
    virtual void OnActionPerformed();
    virtual void OnActionSetDispFormTriggered();
    virtual void OnCallFrameEvaluated(int Index);
    virtual void OnCallStackUnwinded();
    virtual void OnSysVarChanged(int VarID, I64 Value);
    virtual void OnPluginLoaded(QString sFilePath, int Type);
    virtual void OnPluginUnloaded(QString sFilePath, int Type);
    virtual void OnPluginReconfigured(QString sFilePath, int Type);
    virtual void OnDataFileOpened(QString sFilePath);
    virtual void OnDataFileAboutToDownload(QString sFilePath);
    virtual void OnDataFileDownloaded(QString sFilePath);
    virtual void OnProjectFileOpened(QString sFileName);
    virtual void OnProjectFileClosed(QString sFileName);
    virtual void OnDeactivateTimerTimeout();
    virtual void OnWindowOpened(CWindow* pWindow);
    virtual void OnWindowClosed(CWindow* pWindow);
    virtual void OnOpened();
    virtual void OnClosed();

public:
    /// \name Device events
    ///@{
    void OnDeviceConnectDone(CONNECT_MODES Mode) override;
    void OnDeviceDisconnectDone() override;
    void OnDeviceResumeDone(RESUME_MODES Mode) override;
    void OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason) override;
    void OnDeviceResetDone(U32 NewPC, RESET_MODES Mode) override;
    void OnDeviceStepped(U32 NewPC) override;
    void OnDeviceSetBPDone(U32 Addr) override;
    void OnDeviceSetBPFailed(U32 Addr) override;
    void OnDeviceClearBPDone(U32 Addr) override;
    void OnDeviceClearBPFailed(U32 Addr) override;
    ///@}

protected:
    virtual void Refresh(); ///< OnContentChanged(), then UpdateActions()
    virtual void ConnectSignals();
    virtual void AddDisplayFormatMenu(QMenu* pMenu);
    virtual void SetCentralWidgetVisible(bool Visible);
    virtual void UpdateActions();
    virtual void UpdateOverlay();
    virtual void StartDeactivateTimer(int Ms);
    virtual QSize GetOverlayTextSize(QString sText) const;
    virtual QSize GetOverlayIconSize(QString sIcon) const;

    /// Ties the QAction children to the action table; the last step of a concrete window's constructor.
    void LinkWindowActions();
    /// A new action of this window: object name, text, shortcut and status tip; shortcut context widget and
    /// children.
    QAction* AddAction(const char* sObjectName, const QString& sText, const char* sShortcut = "",
                       const QString& sStatusTip = {}, const char* sIcon = "");

    bool event(QEvent* pEvent) override;
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void keyPressEvent(QKeyEvent* pEvent) override;
    void dragEnterEvent(QDragEnterEvent* pEvent) override;
    void dropEvent(QDropEvent* pEvent) override;
    void contextMenuEvent(QContextMenuEvent* pEvent) override;
    QSize sizeHint() const override;

    QAction* m_pActionClear = nullptr;
    QAction* m_pActionAdd = nullptr;
    std::unique_ptr<CDisplayFormatActions> m_pFormatActions;

private:
    bool FollowPC(U32 PC); ///< the update of a halt, reset or step; false if it was dropped
    void TakeFocusForOverlay(bool Empty);

    U32 m_Flags = WF_CLEAR_ON_HIDE | WF_CLEAR_ON_DISCONNECT;
    WIN_UPDATE_MODES m_UpdateMode = WIN_UPDATE_WHEN_VISIBLE;
    bool m_Enabled = true;
    bool m_Active = false;
    bool m_HasFocus = false;
    U8 m_DisplayFormat = DISPLAY_FORMAT_AUTO;
    std::array<int, NUM_USER_SETTINGS> m_aUserSettings{};
    QTimer m_DeactivateTimer;
    CEmptyOverlay* m_pOverlay = nullptr;
    QPointer<QWidget> m_pContentFocusProxy; ///< the focus proxy while the window is empty and keeps the focus itself
};
