// CModelViewWindow, the base of all windows that show a table or tree: lazy reads for the rows on the screen
// only, change marks, filter bar, sorting, columns that can be shown and hidden, and a view state that
// survives a rebuild of the model.
//
//   CCallStackWindow::CCallStackWindow() : CModelViewWindow(...) {
//       SetView(new CTreeView, /*WithFilterBar*/ false);
//       SetModel(new CCallStackDataModel(this));
//       Init();
//   }
#pragma once
#include "views/framework/tablemodel.h"
#include "views/framework/window.h"

#include <QMap>
#include <QModelIndex>
#include <QPersistentModelIndex>

class CFilterHeaderView;
class CItemDelegate;
class CSortFilter;
class CTableHeader;
class CTreeView;

/// Which rows UpdateItems() reads.
enum UPDATE_POLICIES : int {
    UPDATE_POLICY_ON_SCREEN = 0, ///< rows on screen that aren't read
    UPDATE_POLICY_UNREAD = 1,    ///< all rows that aren't read
    UPDATE_POLICY_ALL = 2,
};

/// What RestoreState() leaves out.
enum DO_NOT_RESTORE_FLAGS : U32 {
    DNR_COLUMN_WIDTHS = 0x01,
    DNR_EXPANSION = 0x02,
    DNR_SCROLL_BARS = 0x04,
    DNR_SORT = 0x08,
    DNR_CURRENT_ITEM = 0x10,
};

class CModelViewWindow : public CWindow {
    Q_OBJECT

public:
    explicit CModelViewWindow(QWidget* pParent = nullptr, const QString& sName = QStringLiteral("Window"));
    ~CModelViewWindow() override;

    /// \name Set-up
    ///@{
    virtual void Init(); ///< signals and columns; call when view and model are set
    /// The view becomes the central widget. A delegate of the window's own may be given; both are taken over.
    virtual void SetView(CTreeView* pView, bool WithFilterBar, CItemDelegate* pDelegate = nullptr);
    virtual void SetModel(CTableModel* pModel); ///< takes ownership
    virtual void SetColumnFlags(int Column, int Flags); ///< COLUMN_FLAGS
    virtual void SetColumnVisible(int Column, bool Visible);
    virtual void SetColumnWidth(int Column, int Pixels);
    virtual void SetColumnMargin(int Column, int Pixels); ///< blank pixels at the left of the cells
    virtual void SetSortColumn(int Column, Qt::SortOrder Order);
    virtual void SetSortingEnabled(bool Enabled);
    virtual void ResizeColumnsToContents();
    virtual void SetIndentation(int Pixels); ///< 0 makes a flat table
    bool IsFlatTable() const { return m_Indentation == 0; }
    ///@}

    /// \name Rows and columns
    ///@{
    virtual int GetNumRows(const QModelIndex& Parent = {}) const; ///< after filtering
    virtual int GetNumColumns() const;
    virtual int GetNumVisibleColumns() const;
    virtual int GetNumVisibleRows() const;
    virtual bool IsItemExpanded(const QModelIndex& Index) const; ///< takes an index of either model
    virtual bool IsItemVisible(const QModelIndex& Index) const;
    virtual bool IsColumnEditable(int Column) const;
    virtual bool IsChangeHighlighted(int Column) const; ///< the column shows change levels
    virtual bool HasInputRow() const;                   ///< the last row takes new items
    QModelIndex GetCurrentItem() const;                 ///< index of the window's own model
    void SetCurrentItem(const QModelIndex& SourceIndex);
    /// Titles and texts of the columns that are shown, in their order on the screen. A check box is "[x]" or "[ ]" before
    /// its text; tabs and line ends are blanks.
    QStringList GetShownTitles() const;
    QStringList GetShownCells(const QModelIndex& ViewIndex) const;
    QModelIndex MapToView(const QModelIndex& SourceIndex) const;
    QModelIndex MapToSource(const QModelIndex& ViewIndex) const;
    CTableModel* GetModel() const { return m_pModel; }
    CTreeView* GetView() const { return m_pView; }
    CTableHeader* GetHeader() const { return m_pHeader; }
    CSortFilter* GetSortFilter() const { return m_pSortFilter; }
    CFilterHeaderView* GetFilterView() const { return m_pFilterView; }
    ///@}

    /// \name Update cycle
    ///@{
    virtual void UpdateItems();
    virtual bool IsItemUpdateRequired(const QModelIndex& SourceIndex) const;
    virtual void SetUpdatePolicy(int Policy) { m_UpdatePolicy = Policy; }
    virtual int GetUpdatePolicy() const { return m_UpdatePolicy; }
    virtual void ResetChangeTracking();
    ///@}

    /// \name What the model asks for its items
    ///@{
    virtual QColor GetItemTextColor(const QModelIndex& SourceIndex) const;
    virtual QColor GetItemBackgroundColor(const QModelIndex& SourceIndex) const;
    virtual QFont GetItemFont(int Column) const;
    virtual QSize GetItemSizeHint(const QModelIndex& SourceIndex) const;
    virtual QSize GetColumnHeaderSize(int Column) const;
    virtual int GetColumnFlags(int Column) const;
    virtual int GetColumnDisplayFormat(int Column) const; ///< -1 when the column has none of its own
    virtual int GetItemDisplayFormat(const QModelIndex& SourceIndex) const;
    virtual QString GetColumnName(int Column) const;
    int GetColumnMargin(int Column) const { return m_ColumnMargins.value(Column, 0); }
    ///@}

    void Clear() override;
    void Repaint() override;
    void Update(U32 NewPC) override;
    QStringList GetText(int Depth = -1) override;
    bool PrepareText(int Depth) override;
    bool IsUpdatePending() const override;
    void FlushUpdate() override;
    void SetFont(int FontID, QFont& Font) override;
    void SetPreference(int SysVarID, I64 Value) override;
    void ShowContextMenu(QPoint Pos) override;
    void ScrollToTop() override;
    void ScrollToBottom() override;
    void ScrollToLeft() override;
    void ScrollToRight() override;
    void ScrollBy(int dx, int dy) override;
    void ClearStateBackup() override;
    void BackupState(int StateID) override;
    void RestoreState(int StateID, U32 DoNotRestoreFlags = 0) override;
    void ExpandAll() override;
    void CollapseAll() override;
    QPoint GetContextMenuPos(int Reason) const override;
    bool IsEmpty() const override;
    bool IsVisible() const override;
    bool IsEscKeyOpActive() const override; ///< Esc ends an edit or leaves the filter bar
    void CopyRow();   ///< the shown cells of the current row to the clipboard, separated by tabs
    void CopyTable(); ///< all rows with the columns' titles

    void OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason) override;
    void OnDeviceStepped(U32 NewPC) override;
    void OnDeviceResumeDone(RESUME_MODES Mode) override;
    void OnDeviceResetDone(U32 NewPC, RESET_MODES Mode) override;
    void OnDeviceDisconnectDone() override;
    void OnDeviceWriteAccess() override;

public slots:
    virtual void OnActionExpandAllTriggered();
    virtual void OnActionCollapseAllTriggered();
    virtual void OnActionRefreshItemTriggered();
    virtual void OnActionRefreshAllTriggered();
    virtual void OnActionToggleFilterBarTriggered();
    virtual void OnKeyPressed(QKeyEvent* pEvent);
    virtual void OnKeyPlusPressed();
    virtual void OnKeyMinusPressed();
    virtual void OnUpdateTimerTimeout();
    virtual void OnWatchdogTimerTimeout();
    virtual void OnMouseMoved(QMouseEvent* pEvent);
    virtual void OnContentAreaClicked(QMouseEvent* pEvent);
    virtual void OnTableAreaDoubleClicked(QMouseEvent* pEvent);
    virtual void OnItemClicked(QModelIndex ViewIndex);
    virtual void OnItemDoubleClicked(QModelIndex ViewIndex);
    virtual void OnItemDisplayFormatActionTriggered();
    virtual void OnItemAboutToExpand(QModelIndex ViewIndex);
    virtual void OnItemAboutToCollapse(QModelIndex ViewIndex);
    virtual void OnItemExpanded(QModelIndex ViewIndex);
    virtual void OnItemCollapsed(QModelIndex ViewIndex);
    virtual void OnSelectionChanged(QModelIndex Current, QModelIndex Previous);
    virtual void OnDataChanged(QModelIndex First, QModelIndex Last);
    virtual void OnScrollBarValueChanged();
    virtual void OnHeaderContextMenuRequested(QPoint Pos);
    virtual void OnHeaderContextMenuActionTriggered();
    virtual void OnActionExportTriggered();
    virtual void OnColumnResized(int Column);
    virtual void OnSortIndicatorChanged(int Column, Qt::SortOrder Order);
    virtual void OnTableHeaderColDividerDoubleClicked(int Column);
    void OnDragEnter(QDragEnterEvent* pEvent) override;
    void OnContentChanged() override;
    void OnFlagChanged(WINDOW_FLAGS Flag, bool Value) override;
    void OnActivationChanged(bool Active) override;
    void OnFocusChanged(bool HasFocus) override;

public:
    using CWindow::OnFocusChanged; // the form that takes two widgets stays reachable

protected:
    /// Fills the context menu of a row (an index of the window's own model; invalid for the empty area).
    virtual void FillContextMenu(QMenu* pMenu, const QModelIndex& SourceIndex);
    void AddCommonMenuEntries(QMenu* pMenu, const QModelIndex& SourceIndex);
    void UpdateActions() override;
    void ConnectSignals() override;
    /// Qt::Key_Up or Qt::Key_Down, whichever came last: the way in which to pass rows that can't be selected.
    int GetLastArrowKey() const { return m_LastArrowKey; }

    QAction* m_pActionExpandAll = nullptr;
    QAction* m_pActionCollapseAll = nullptr;
    QAction* m_pActionRefreshItem = nullptr;
    QAction* m_pActionRefreshAll = nullptr;
    QAction* m_pActionToggleFilterBar = nullptr;
    QAction* m_pActionCopyRow = nullptr;
    QAction* m_pActionCopyTable = nullptr;
    QAction* m_pActionExport = nullptr;

private:
    struct STATE_BACKUP {
        QList<U32> Expanded;
        QList<U32> CurrentPath;
        int CurrentColumn = 0;
        QList<int> Widths;
        int ScrollX = 0;
        int ScrollY = 0;
        int SortColumn = -1;
        Qt::SortOrder SortOrder = Qt::AscendingOrder;
    };

    void CollectExpanded(const QModelIndex& Parent, QList<U32>& Keys) const;
    void RestoreExpansion(const QModelIndex& Parent, const QList<U32>& Keys);
    void AddTextLines(const QModelIndex& Parent, int Level, int Depth, QStringList& Lines) const;
    bool PrepareRows(const QModelIndex& Parent, int Level, int Depth);
    void UpdateRowHeight();
    bool IsTreeModel() const;

    CFilterHeaderView* m_pFilterView = nullptr;
    CTableHeader* m_pHeader = nullptr;
    CTreeView* m_pView = nullptr;
    CTableModel* m_pModel = nullptr;
    CSortFilter* m_pSortFilter = nullptr;
    CItemDelegate* m_pDelegate = nullptr;
    QTimer m_UpdateTimer;
    QTimer m_WatchdogTimer;
    QMap<int, int> m_ColumnMargins;
    int m_UpdatePolicy = UPDATE_POLICY_ON_SCREEN;
    int m_RowHeight = 0;
    int m_Indentation = 14;
    QMap<int, STATE_BACKUP> m_StateBackups;
    QList<QAction*> m_ItemFormatActions;
    int m_LastArrowKey = Qt::Key_Down;
};
