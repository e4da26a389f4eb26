#include "views/framework/modelviewwindow.h"

#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "views/framework/dockwindow.h"
#include "views/framework/filterheaderview.h"
#include "views/framework/itemdelegate.h"
#include "views/framework/sortfilter.h"
#include "views/framework/tableheader.h"
#include "views/framework/treeview.h"
#include "views/theme/theme.h"

#include <QAction>
#include <QScrollBar>
#include <algorithm>

namespace {

constexpr int UPDATE_DELAY_MS = 10; ///< several halts in a row give one cycle of reads
constexpr int WATCHDOG_MS = 1000;
constexpr int ROW_EXTRA_HEIGHT = 3;

struct ITEM_FORMAT_ROW {
    const char* sObjectName; ///< empty: an entry of the window alone, no command
    const char* sText;
    const char* sShortcut;
    int Format; ///< -1 = the window's own
};
constexpr ITEM_FORMAT_ROW aItemFormats[] = {
    {"", "De&fault", "0", -1},
    {"actionDisplayAsBinary", "&Binary", "3", DISPLAY_FORMAT_BINARY},
    {"actionDisplayAsDec", "&Decimal", "2", DISPLAY_FORMAT_DEC},
    {"actionDisplayAsHex", "&Hexadecimal", "1", DISPLAY_FORMAT_HEX},
    {"actionDisplayAsChar", "Charac&ter", "4", DISPLAY_FORMAT_CHAR},
};

} // namespace

CModelViewWindow::CModelViewWindow(QWidget* pParent, const QString& sName) : CWindow(pParent, sName)
{
    for (WINDOW_FLAGS Flag : {WF_CLEAR_ON_HIDE, WF_CLEAR_ON_DISCONNECT}) SetFlag(Flag, false);
    SetFlag(WF_ACCEPT_DROPS, true);
    m_UpdateTimer.setSingleShot(true);
    m_UpdateTimer.setInterval(UPDATE_DELAY_MS);
    m_WatchdogTimer.setSingleShot(true);
    m_WatchdogTimer.setInterval(WATCHDOG_MS);
    m_pActionExpandAll = AddAction("actionExpandAll", QStringLiteral("E&xpand All"), "Alt++",
                                   QStringLiteral("Expands all Items"));
    m_pActionCollapseAll = AddAction("actionCollapseAll", QStringLiteral("C&ollapse All"), "Alt+-",
                                     QStringLiteral("Collapses all Items"));
    m_pActionRefreshItem =
        AddAction("actionRefreshItem", QStringLiteral("&Refresh"), "", QStringLiteral("Reads the Item anew"));
    m_pActionRefreshAll = AddAction("actionRefreshAll", QStringLiteral("Refresh &All"), "",
                                    QStringLiteral("Reads all Items anew"));
    m_pActionToggleFilterBar = AddAction("actionToggleFilterBar", QStringLiteral("&Filter Bar"), "",
                                         QStringLiteral("Shows or hides the Filter Bar"));
    m_pActionToggleFilterBar->setCheckable(true);
    m_pActionCopyRow = AddAction("", QStringLiteral("&Copy Row"), "Ctrl+C", QStringLiteral("Copies the Cells of the Row"));
    m_pActionCopyTable = AddAction("", QStringLiteral("Copy &Table"), "Ctrl+Shift+C",
                                   QStringLiteral("Copies all Rows, with the Columns' Titles"));
    m_pActionExport = AddAction("", QStringLiteral("Export Ta&ble..."), "",
                                QStringLiteral("Writes all Rows to a File of comma-separated Values"));
    for (const ITEM_FORMAT_ROW& Row : aItemFormats) {
        QAction* pAction = AddAction(Row.sObjectName, QString::fromLatin1(Row.sText), Row.sShortcut);
        pAction->setCheckable(true);
        m_ItemFormatActions.append(pAction);
    }
    CModelViewWindow::ConnectSignals();
}

CModelViewWindow::~CModelViewWindow()
{
    // The children die after this object is no window any more; none of them may still ask it anything.
    if (m_pHeader) m_pHeader->disconnect(this);
    if (m_pView) {
        m_pView->disconnect(this);
        m_pView->viewport()->removeEventFilter(this);
        m_pView->setModel(nullptr);
    }
    if (m_pModel) {
        m_pModel->disconnect(this);
        m_pModel->SetWindow(nullptr);
    }
}

void CModelViewWindow::ConnectSignals()
{
    connect(&m_UpdateTimer, SIGNAL(timeout()), this, SLOT(OnUpdateTimerTimeout()));
    connect(&m_WatchdogTimer, SIGNAL(timeout()), this, SLOT(OnWatchdogTimerTimeout()));
    Connect(m_pActionExpandAll, SIGNAL(triggered()), this, SLOT(OnActionExpandAllTriggered()));
    Connect(m_pActionCollapseAll, SIGNAL(triggered()), this, SLOT(OnActionCollapseAllTriggered()));
    Connect(m_pActionRefreshItem, SIGNAL(triggered()), this, SLOT(OnActionRefreshItemTriggered()));
    Connect(m_pActionRefreshAll, SIGNAL(triggered()), this, SLOT(OnActionRefreshAllTriggered()));
    Connect(m_pActionToggleFilterBar, SIGNAL(triggered()), this, SLOT(OnActionToggleFilterBarTriggered()));
    connect(m_pActionCopyRow, &QAction::triggered, this, &CModelViewWindow::CopyRow);
    connect(m_pActionCopyTable, &QAction::triggered, this, &CModelViewWindow::CopyTable);
    connect(m_pActionExport, &QAction::triggered, this, &CModelViewWindow::OnActionExportTriggered);
    for (QAction* pAction : std::as_const(m_ItemFormatActions))
        Connect(pAction, SIGNAL(triggered()), this, SLOT(OnItemDisplayFormatActionTriggered()));
}

// ---- Set-up ----------------------------------------------------------------------------------------------

void CModelViewWindow::SetView(CTreeView* pView, bool WithFilterBar, CItemDelegate* pDelegate)
{
    m_pView = pView;
    m_pDelegate = pDelegate ? pDelegate : new CItemDelegate(this);
    m_pSortFilter = new CSortFilter(this, m_pDelegate);
    m_pHeader = new CTableHeader(pView);
    pView->setObjectName(objectName() + QStringLiteral("View"));
    pView->setAccessibleName(GetName());
    pView->setHeader(m_pHeader);
    pView->setItemDelegate(m_pDelegate);
    pView->setModel(m_pSortFilter);
    pView->setIndentation(m_Indentation);
    pView->viewport()->installEventFilter(this);
    m_pHeader->setContextMenuPolicy(Qt::DefaultContextMenu);
    if (WithFilterBar) {
        m_pFilterView = new CFilterHeaderView(this, pView);
        setCentralWidget(m_pFilterView);
    } else
        setCentralWidget(pView);
    setFocusProxy(pView);
    SetSortingEnabled(false);
    UpdateRowHeight();
}

void CModelViewWindow::SetModel(CTableModel* pModel)
{
    m_pModel = pModel;
    pModel->setParent(this);
    pModel->SetWindow(this);
    m_pSortFilter->setSourceModel(pModel);
}

void CModelViewWindow::Init()
{
    for (int i = 0; i < GetNumColumns(); i++)
        if (const int Width = m_pModel->GetColumnWidth(i)) m_pHeader->resizeSection(i, Width);
    connect(m_pModel, SIGNAL(dataChanged(QModelIndex, QModelIndex)), this,
            SLOT(OnDataChanged(QModelIndex, QModelIndex)));
    connect(m_pModel, SIGNAL(modelReset()), this, SIGNAL(ContentChanged()));
    connect(m_pModel, SIGNAL(rowsInserted(QModelIndex, int, int)), this, SIGNAL(ContentChanged()));
    connect(m_pModel, SIGNAL(rowsRemoved(QModelIndex, int, int)), this, SIGNAL(ContentChanged()));
    connect(m_pView, SIGNAL(clicked(QModelIndex)), this, SLOT(OnItemClicked(QModelIndex)));
    connect(m_pView, SIGNAL(doubleClicked(QModelIndex)), this, SLOT(OnItemDoubleClicked(QModelIndex)));
    connect(m_pView, SIGNAL(expanded(QModelIndex)), this, SLOT(OnItemExpanded(QModelIndex)));
    connect(m_pView, SIGNAL(collapsed(QModelIndex)), this, SLOT(OnItemCollapsed(QModelIndex)));
    connect(m_pView, SIGNAL(AboutToExpand(QModelIndex)), this, SLOT(OnItemAboutToExpand(QModelIndex)));
    connect(m_pView, SIGNAL(AboutToCollapse(QModelIndex)), this, SLOT(OnItemAboutToCollapse(QModelIndex)));
    connect(m_pView, SIGNAL(KeyPressed(QKeyEvent*)), this, SLOT(OnKeyPressed(QKeyEvent*)));
    connect(m_pView, SIGNAL(MouseMoved(QMouseEvent*)), this, SLOT(OnMouseMoved(QMouseEvent*)));
    connect(m_pView, SIGNAL(ContentAreaClicked(QMouseEvent*)), this,
            SLOT(OnContentAreaClicked(QMouseEvent*)));
    connect(m_pView, SIGNAL(TableAreaDoubleClicked(QMouseEvent*)), this,
            SLOT(OnTableAreaDoubleClicked(QMouseEvent*)));
    connect(m_pView->verticalScrollBar(), SIGNAL(valueChanged(int)), this, SLOT(OnScrollBarValueChanged()));
    connect(m_pView->horizontalScrollBar(), SIGNAL(valueChanged(int)), this, SLOT(OnScrollBarValueChanged()));
    connect(m_pView->selectionModel(), SIGNAL(currentChanged(QModelIndex, QModelIndex)), this,
            SLOT(OnSelectionChanged(QModelIndex, QModelIndex)));
    connect(m_pHeader, SIGNAL(sectionDoubleClicked(int)), this, SLOT(OnColumnResized(int)));
    connect(m_pHeader, SIGNAL(sectionHandleDoubleClicked(int)), this,
            SLOT(OnTableHeaderColDividerDoubleClicked(int)));
    connect(m_pHeader, SIGNAL(sortIndicatorChanged(int, Qt::SortOrder)), this,
            SLOT(OnSortIndicatorChanged(int, Qt::SortOrder)));
    connect(m_pHeader, &QHeaderView::sectionResized, this, [this](int Column) { OnColumnResized(Column); });
    connect(m_pHeader, &CTableHeader::SectionVisibilityChanged, this,
            [this](int Column) { OnColumnResized(Column); });
    OnContentChanged();
}

void CModelViewWindow::SetColumnVisible(int Column, bool Visible)
{
    m_pHeader->SetSectionVisible(Column, Visible);
}
void CModelViewWindow::SetColumnWidth(int Column, int Pixels)
{
    m_pHeader->resizeSection(Column, Pixels);
}
void CModelViewWindow::SetColumnMargin(int Column, int Pixels)
{
    m_ColumnMargins.insert(Column, Pixels);
}

void CModelViewWindow::SetSortColumn(int Column, Qt::SortOrder Order)
{
    m_pHeader->setSortIndicator(Column, Order);
    m_pSortFilter->sort(Column, Order);
}

void CModelViewWindow::SetSortingEnabled(bool Enabled)
{
    m_pSortFilter->SetSortingEnabled(Enabled);
    m_pHeader->setSortIndicatorShown(Enabled);
    m_pView->setSortingEnabled(Enabled);
    if (!Enabled) {
        m_pHeader->setSortIndicator(-1, Qt::AscendingOrder);
        m_pSortFilter->sort(-1);
    }
}

void CModelViewWindow::ResizeColumnsToContents()
{
    for (int i = 0; i < GetNumColumns(); i++)
        if (!m_pHeader->isSectionHidden(i)) m_pView->resizeColumnToContents(i);
}

void CModelViewWindow::SetIndentation(int Pixels)
{
    m_Indentation = Pixels;
    m_pSortFilter->SetFlat(IsFlatTable());
    m_pView->setIndentation(Pixels);
    m_pView->setRootIsDecorated(Pixels > 0);
}

// ---- Rows and columns ------------------------------------------------------------------------------------

int CModelViewWindow::GetNumRows(const QModelIndex& Parent) const
{
    return m_pSortFilter ? m_pSortFilter->rowCount(MapToView(Parent)) : 0;
}
int CModelViewWindow::GetNumColumns() const
{
    return m_pModel ? m_pModel->columnCount() : 0;
}
int CModelViewWindow::GetNumVisibleColumns() const
{
    return m_pHeader ? m_pHeader->count() - m_pHeader->hiddenSectionCount() : 0;
}
int CModelViewWindow::GetNumVisibleRows() const
{
    return m_pView ? m_pView->GetNumVisibleRows() : 0;
}

QModelIndex CModelViewWindow::MapToView(const QModelIndex& SourceIndex) const
{
    if (!SourceIndex.isValid() || SourceIndex.model() == m_pSortFilter) return SourceIndex;
    return m_pSortFilter->mapFromSource(SourceIndex);
}

QModelIndex CModelViewWindow::MapToSource(const QModelIndex& ViewIndex) const
{
    if (!ViewIndex.isValid() || ViewIndex.model() == m_pModel) return ViewIndex;
    return m_pSortFilter->mapToSource(ViewIndex);
}

bool CModelViewWindow::IsItemExpanded(const QModelIndex& Index) const
{
    return m_pView->isExpanded(MapToView(Index).siblingAtColumn(0));
}

bool CModelViewWindow::IsItemVisible(const QModelIndex& Index) const
{
    if (m_pView->IsPaintingRow()) return true; // only rows on the screen are painted
    const QRect Rect = m_pView->visualRect(MapToView(Index));
    return Rect.isValid() && Rect.intersects(m_pView->viewport()->rect());
}

bool CModelViewWindow::IsColumnEditable(int) const
{
    return false;
}
bool CModelViewWindow::IsChangeHighlighted(int) const
{
    return false;
}
bool CModelViewWindow::HasInputRow() const
{
    return false;
}
QModelIndex CModelViewWindow::GetCurrentItem() const
{
    return m_pView ? MapToSource(m_pView->currentIndex()) : QModelIndex();
}
void CModelViewWindow::SetCurrentItem(const QModelIndex& SourceIndex)
{
    m_pView->setCurrentIndex(MapToView(SourceIndex));
}

// ---- Update cycle ----------------------------------------------------------------------------------------

void CModelViewWindow::Update(U32)
{
    m_UpdateTimer.start();
}
bool CModelViewWindow::IsUpdatePending() const
{
    return m_UpdateTimer.isActive();
}
void CModelViewWindow::FlushUpdate()
{
    if (!m_UpdateTimer.isActive()) return;
    m_UpdateTimer.stop();
    OnUpdateTimerTimeout();
}
void CModelViewWindow::OnUpdateTimerTimeout()
{
    UpdateItems();
}

void CModelViewWindow::UpdateItems()
{
    if (!m_pModel || !IsOpen() || IsStepJobPending()) return;
    QModelIndexList Rows;
    if (m_UpdatePolicy == UPDATE_POLICY_ON_SCREEN)
        Rows = m_pView->GetRowsOnScreen();
    else
        for (QModelIndex Index = m_pSortFilter->index(0, 0); Index.isValid();
             Index = m_pView->indexBelow(Index))
            Rows.append(Index);
    for (const QModelIndex& ViewIndex : std::as_const(Rows)) {
        const QModelIndex Index = MapToSource(ViewIndex);
        if (!IsItemUpdateRequired(Index)) continue;
        if (m_pModel->UpdateItem(Index))
            m_pModel->NotifyItemChanged(Index, Index.siblingAtColumn(GetNumColumns() - 1));
    }
    Repaint();
}

bool CModelViewWindow::IsItemUpdateRequired(const QModelIndex& SourceIndex) const
{
    if (!SourceIndex.isValid()) return false;
    if (m_UpdatePolicy == UPDATE_POLICY_ALL) return true;
    if (m_pModel->data(SourceIndex, ROLE_READ_STATE).toInt() != READ_STATE_NONE) return false;
    return m_UpdatePolicy == UPDATE_POLICY_UNREAD || IsItemVisible(SourceIndex);
}

void CModelViewWindow::OnDataChanged(QModelIndex First, QModelIndex Last)
{
    for (int Row = First.row(); Row <= Last.row(); Row++) {
        const QModelIndex Index = m_pModel->index(Row, 0, First.parent());
        if (m_pModel->data(Index, ROLE_READ_STATE).toInt() != READ_STATE_VALID) continue;
        const QVariant Sort = m_pModel->data(Index, ROLE_SORT_VALUE);
        if (!Sort.isValid() || Sort.toDouble() < 0) continue;
        const U32 Value = static_cast<U32>(Sort.toULongLong());
        const QVariant LastValue = m_pModel->GetStoredRole(Index, ROLE_LAST_VALUE);
        const QVariant Level = m_pModel->GetStoredRole(Index, ROLE_CHANGE_LEVEL);
        if (!LastValue.isValid()) {
            m_pModel->SetRole(Index, ROLE_CHANGE_LEVEL, CHANGE_LEVEL_NONE, false, true);
            m_pModel->SetRole(Index, ROLE_LAST_VALUE, Value, false, true);
        } else if (Level.isValid() && Level.toUInt() == CHANGE_LEVEL_WRAPPED) {
            // Also when the value is the old one: a level left at 0 would age to a change.
            m_pModel->SetRole(Index, ROLE_CHANGE_LEVEL, CHANGE_LEVEL_NONE, false, true);
        } else if (LastValue.toUInt() != Value) {
            m_pModel->SetRole(Index, ROLE_CHANGE_LEVEL, CHANGE_LEVEL_1, false, true);
            m_pModel->SetRole(Index, ROLE_LAST_VALUE, Value, false, true);
        }
    }
}

void CModelViewWindow::OnScrollBarValueChanged()
{
    m_WatchdogTimer.start();
}

void CModelViewWindow::OnWatchdogTimerTimeout()
{
    // A read that was lost, or dropped with the job queue, is asked for again.
    if (m_pModel) m_pModel->RemoveRoleValue(ROLE_READ_STATE, READ_STATE_PENDING);
    UpdateItems();
}

void CModelViewWindow::ResetChangeTracking()
{
    if (m_pModel)
        for (int Role : {ROLE_LAST_VALUE, ROLE_CHANGE_LEVEL, ROLE_READ_STATE}) m_pModel->ClearRole(Role);
    Repaint();
}

void CModelViewWindow::OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason)
{
    if (m_pModel) m_pModel->ClearRole(ROLE_READ_STATE);
    CWindow::OnDeviceHaltDone(NewPC, Reason);
}

void CModelViewWindow::OnDeviceStepped(U32 NewPC)
{
    if (m_pModel) {
        if (IsVisible())
            m_pModel->AgeChangeLevels();
        else
            m_pModel->ClearRole(ROLE_CHANGE_LEVEL);
        m_pModel->ClearRole(ROLE_READ_STATE);
    }
    CWindow::OnDeviceStepped(NewPC);
}

void CModelViewWindow::OnDeviceResumeDone(RESUME_MODES Mode)
{
    if (m_pModel && Mode == RESUME_NORMAL) {
        for (int i = 0; i < CHANGE_LEVEL_3; i++) m_pModel->AgeChangeLevels();
        Repaint();
    }
    CWindow::OnDeviceResumeDone(Mode);
}

void CModelViewWindow::OnDeviceResetDone(U32 NewPC, RESET_MODES Mode)
{
    ResetChangeTracking();
    CWindow::OnDeviceResetDone(NewPC, Mode);
}

void CModelViewWindow::OnDeviceDisconnectDone()
{
    ResetChangeTracking();
    CWindow::OnDeviceDisconnectDone();
}

void CModelViewWindow::OnDeviceWriteAccess()
{
    if (!IsEnabled() || !m_pModel) return;
    m_pModel->ClearRole(ROLE_READ_STATE);
    Update(GetTargetPC());
}

// ---- Item look -------------------------------------------------------------------------------------------

QColor CModelViewWindow::GetItemTextColor(const QModelIndex& SourceIndex) const
{
    const QColor Plain = palette().color(QPalette::Text);
    if (!SourceIndex.isValid()) return Plain;
    const QModelIndex Current = GetCurrentItem();
    if (HasFocus() && Current.row() == SourceIndex.row() && Current.parent() == SourceIndex.parent())
        return CTheme::GetColor(COLOR_SELECTION_HIGHLIGHT_TEXT);
    if (!IsTargetConnected()) return Plain;
    if (m_pModel->flags(SourceIndex) & ITEM_FLAGS_STALE)
        return palette().color(QPalette::Disabled, QPalette::Text);
    const int Level = m_pModel->GetStoredRole(SourceIndex, ROLE_CHANGE_LEVEL).toInt();
    if (IsChangeHighlighted(SourceIndex.column()) && Level >= CHANGE_LEVEL_1 && Level <= CHANGE_LEVEL_3)
        return CTheme::GetColor(COLOR_CHANGE_LEVEL_1_FG + Level - 1);
    return Plain;
}

QColor CModelViewWindow::GetItemBackgroundColor(const QModelIndex& SourceIndex) const
{
    const QColor Plain = palette().color(QPalette::Base);
    if (!SourceIndex.isValid()) return Plain;
    const QModelIndex Current = GetCurrentItem();
    if (HasFocus() && Current.row() == SourceIndex.row() && Current.parent() == SourceIndex.parent())
        return CTheme::GetColor(COLOR_SELECTION_HIGHLIGHT);
    if (!IsTargetConnected() || (m_pModel->flags(SourceIndex) & ITEM_FLAGS_STALE)) return Plain;
    const int Level = m_pModel->GetStoredRole(SourceIndex, ROLE_CHANGE_LEVEL).toInt();
    if (IsChangeHighlighted(SourceIndex.column()) && Level >= CHANGE_LEVEL_1 && Level <= CHANGE_LEVEL_3)
        return CTheme::GetColor(COLOR_CHANGE_LEVEL_1_BG + Level - 1);
    return Plain;
}

QFont CModelViewWindow::GetItemFont(int Column) const
{
    const int Flags = GetColumnFlags(Column);
    return ::GetFont((Flags & COLUMN_TEXT) && !(Flags & COLUMN_VALUE_FONT) ? FONT_ITEM_NAME
                                                                           : FONT_ITEM_VALUE);
}

QSize CModelViewWindow::GetItemSizeHint(const QModelIndex&) const
{
    return QSize(-1, m_RowHeight);
}
QSize CModelViewWindow::GetColumnHeaderSize(int Column) const
{
    return m_pHeader ? QSize(m_pHeader->sectionSize(Column), m_pHeader->height()) : QSize();
}
int CModelViewWindow::GetColumnFlags(int Column) const
{
    return m_pModel ? m_pModel->GetColumnFlags(Column) : 0;
}
void CModelViewWindow::SetColumnFlags(int Column, int Flags)
{
    if (m_pModel) m_pModel->SetColumnFlags(Column, Flags);
}
QString CModelViewWindow::GetColumnName(int Column) const
{
    return m_pModel ? m_pModel->GetColumnName(Column) : QString();
}

int CModelViewWindow::GetColumnDisplayFormat(int Column) const
{
    const int Flags = GetColumnFlags(Column);
    if (Flags & COLUMN_HEX) return DISPLAY_FORMAT_HEX;
    if (Flags & COLUMN_DEC) return DISPLAY_FORMAT_DEC;
    if (Flags & COLUMN_BINARY) return DISPLAY_FORMAT_BINARY;
    return -1;
}

int CModelViewWindow::GetItemDisplayFormat(const QModelIndex& SourceIndex) const
{
    const QVariant Own = m_pModel->GetStoredRole(SourceIndex, ROLE_DISPLAY_FORMAT);
    if (Own.isValid()) return Own.toInt();
    const int Column = GetColumnDisplayFormat(SourceIndex.column());
    return Column >= 0 ? Column : GetDisplayFormat();
}

void CModelViewWindow::UpdateRowHeight()
{
    const int Name = QFontMetrics(::GetFont(FONT_ITEM_NAME)).height();
    const int Value = QFontMetrics(::GetFont(FONT_ITEM_VALUE)).height();
    m_RowHeight = std::max(Name, Value) + ROW_EXTRA_HEIGHT;
    if (m_pHeader) {
        const QFont HeaderFont = ::GetFont(FONT_TABLE_HEADER);
        m_pHeader->setFont(HeaderFont);
        m_pHeader->UpdateHeight();
        if (m_pFilterView) m_pFilterView->UpdateEditors();
    }
    if (m_pView) m_pView->doItemsLayout();
}

void CModelViewWindow::SetFont(int FontID, QFont& Font)
{
    if (FontID == FONT_ITEM_NAME || FontID == FONT_ITEM_VALUE || FontID == FONT_TABLE_HEADER)
        UpdateRowHeight();
    CWindow::SetFont(FontID, Font);
}

void CModelViewWindow::SetPreference(int SysVarID, I64 Value)
{
    if (SysVarID == PREF_FILTER_BARS_DISABLED) OnFlagChanged(WF_FILTER_BAR, TestFlag(WF_FILTER_BAR));
    CWindow::SetPreference(SysVarID, Value);
}

void CModelViewWindow::Repaint()
{
    CWindow::Repaint();
    if (m_pView) m_pView->viewport()->update();
}

bool CModelViewWindow::IsEmpty() const
{
    return !m_pModel || m_pModel->rowCount() == 0;
}
bool CModelViewWindow::IsVisible() const
{
    return m_UpdatePolicy != UPDATE_POLICY_ON_SCREEN || CWindow::IsVisible();
}
void CModelViewWindow::Clear() {}

#include "moc_modelviewwindow.cpp"
