// CDisassemblyWindow, the machine instructions around the PC or an address of the user's choice, with labels,
// source lines and encodings between and beside them. It decodes only as far as the user scrolls: rows that are
// wanted beyond the decoded block are made by the work timer, so that scrolling never waits.
#pragma once
#include "views/debug/asmblock.h"
#include "views/framework/window.h"

class CAsmView;
class CBreakpointActions;
class CSideBar;
class QKeyEvent;

class CDisassemblyWindow : public CWindow {
    Q_OBJECT

public:
    explicit CDisassemblyWindow(QWidget* pParent = nullptr);

    /// \name Position
    ///@{
    /// Shows an address and, with Select, selects its row. KeepTop: decodes nothing anew if the address has a row.
    bool ViewAddr(U32 Addr, bool Select = true, bool KeepTop = true);
    void ViewPC();
    U32 GetSelectedAddr() const; ///< of the selected row; ADDR_NONE without one
    U32 GetPC() const { return m_PC; }
    int GetRowOf(U32 Addr) const { return m_Block.FindInstRow(Addr); } ///< -1 while it isn't decoded
    ///@}

    void Clear() override;
    void Repaint() override;
    void Update(U32 NewPC) override;
    using QMainWindow::update;
    /// The rows on the screen. Instruction rows start with "> " at the PC, else with two blanks; label rows stand
    /// at the left end and source rows are indented by four blanks.
    QStringList GetText(int Depth = -1) override;
    bool IsUpdatePending() const override { return m_WorkTimer.isActive(); }
    bool IsEmpty() const override;
    QString GetEmptyWindowText(DEBUG_STATES State) const override;
    void SetFont(int FontID, QFont& Font) override;
    void SetPreference(int SysVarID, I64 Value) override;
    void ShowContextMenu(QPoint Pos) override;
    QPoint GetContextMenuPos(int Reason) const override;
    void ScrollToTop() override;
    void ScrollToBottom() override;
    void ScrollBy(int dx, int dy) override;

    CAsmView* GetView() const { return m_pView; }
    CSideBar* GetSideBar() const { return m_pSideBar; }

    void OnDeviceResumeDone(RESUME_MODES Mode) override;
    void OnDeviceDisconnectDone() override;
    void OnDeviceBPStateChanged() override;
    void OnDeviceTPStateChanged() override;

signals:
    void ResetExecCounters();

public slots:
    void UpdateSidebar();
    void ScheduleRepaintAll(); ///< decodes anew at the present top address
    void OnDoWorkTimerTimeout();
    void OnInstSelected(I64 Addr) override;
    void OnCallFrameEvaluated(int Index) override;
    void OnCallStackUnwinded() override;
    void OnActivationChanged(bool Active) override;
    void OnContentChanged() override;
    void OnDeactivateTimerTimeout() override;
    void OnPluginLoaded(QString sFilePath, int Type) override;
    void OnPluginUnloaded(QString sFilePath, int Type) override;
    void OnPluginReconfigured(QString sFilePath, int Type) override;
    void OnDataFileOpened(QString sFilePath) override;
    void OnDataFileDownloaded(QString sFilePath) override;
    void OnSidebarClicked(int Row, int Button);
    void OnEditorClicked(int Row, int Button);
    void OnKeyPressed(QKeyEvent* pEvent);
    void OnVertScrollbarActionTriggered(int Action);
    void OnActionViewAddressTriggered();
    void OnActionViewPCTriggered();
    void OnActionSetNextPCTriggered();
    void OnActionRunToCursorTriggered();
    void OnActionShowSourceTriggered();
    void OnActionShowLabelsTriggered();
    void OnActionShowInstEncodingsTriggered();
    void OnActionShowCodeProfileTriggered();
    void OnActionResetCodeProfileTriggered();

protected:
    void UpdateActions() override;

private:
    void CreateWidgets();
    void CreateActions();
    QAction* FindAction(const char* sName) const; ///< null before the actions are made
    bool GoToAddr(U32 Addr);
    void SetPC(U32 PC);
    void SetTopRow(int Row);
    void SelectRow(int Row, bool Tell);
    void MoveSelection(int NumRows);
    void EnsureRowVisible(int Row);
    void ClampTopRow();
    void DropBlock();
    bool NeedsRows() const; ///< rows are on the screen that aren't decoded yet
    bool PrependRows();
    bool AppendRows();
    bool IsPCShown() const { return IsTargetHalted() && m_PC != ADDR_NONE; }
    void RunBreakpointCommand(int Row, bool ToggleState);
    void TogglePreference(int VarID);

    CAsmBlock m_Block;
    CBreakpointActions* m_pBreakpointActions = nullptr;
    CSideBar* m_pSideBar = nullptr;
    CAsmView* m_pView = nullptr;
    QTimer m_WorkTimer;
    U32 m_PC = ADDR_NONE;
    U32 m_TopAddr = ADDR_NONE;       ///< address on top when the block was dropped
    QString m_sGoToText;
    bool m_IsSelecting = false;      ///< a selection of our own is on its way round
    bool m_IsFirstReached = false;   ///< nothing can be decoded before the block
    bool m_IsLastReached = false;    ///< nor behind it
};
