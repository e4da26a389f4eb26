// CSortFilter over a flat table: its rows are numbers in an order that is worked out here, without the tables
// of the base class. Also the item-model interface of both kinds, which asks the base for trees.
#include "views/framework/modelviewwindow.h"
#include "views/framework/sortfilter.h"
#include "views/framework/treeview.h"

#include <algorithm>
#include <numeric>

namespace {
constexpr int MIN_ROWS_FOR_SORT_KEYS = 1000;
/// From this number of rows on a change is told to the views as one new layout: each row told on its own
/// takes them as long as all of them together.
constexpr int MAX_SINGLE_ROWS = 64;
} // namespace

void CSortFilter::SetFlat(bool Flat)
{
    if (Flat == m_IsFlat) return;
    QAbstractItemModel* pModel = sourceModel();
    setSourceModel(nullptr);
    m_IsFlat = Flat;
    if (pModel) setSourceModel(pModel);
    if (pModel && m_SortColumn >= 0) sort(m_SortColumn, m_SortOrder);
}

void CSortFilter::ConnectFlat(QAbstractItemModel* pModel)
{
    // The base would keep tables of its own at each of these.
    disconnect(pModel, &QAbstractItemModel::dataChanged, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::headerDataChanged, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::rowsAboutToBeInserted, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::rowsInserted, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::rowsAboutToBeRemoved, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::rowsRemoved, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::rowsAboutToBeMoved, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::rowsMoved, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::layoutAboutToBeChanged, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::layoutChanged, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::modelAboutToBeReset, this, nullptr);
    disconnect(pModel, &QAbstractItemModel::modelReset, this, nullptr);
    for (auto pSignal : {&QAbstractItemModel::columnsAboutToBeInserted, &QAbstractItemModel::columnsInserted,
                         &QAbstractItemModel::columnsAboutToBeRemoved, &QAbstractItemModel::columnsRemoved})
        disconnect(pModel, pSignal, this, nullptr);

    connect(pModel, &QAbstractItemModel::dataChanged, this, &CSortFilter::OnSourceDataChanged);
    connect(pModel, &QAbstractItemModel::headerDataChanged, this, &QAbstractItemModel::headerDataChanged);
    connect(pModel, &QAbstractItemModel::rowsAboutToBeInserted, this,
            &CSortFilter::OnSourceRowsAboutToBeInserted);
    connect(pModel, &QAbstractItemModel::rowsInserted, this, &CSortFilter::OnSourceRowsInserted);
    connect(pModel, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            &CSortFilter::OnSourceRowsAboutToBeRemoved);
    connect(pModel, &QAbstractItemModel::rowsRemoved, this, &CSortFilter::OnSourceRowsRemoved);
    const auto BeginChange = [this] { m_Layout = BeginLayout(); };
    const auto EndChange = [this] {
        m_SortKeys.Clear();
        BuildOrder();
        EndLayout(m_Layout);
        m_Layout = LAYOUT();
    };
    connect(pModel, &QAbstractItemModel::rowsAboutToBeMoved, this, BeginChange);
    connect(pModel, &QAbstractItemModel::rowsMoved, this, EndChange);
    connect(pModel, &QAbstractItemModel::layoutAboutToBeChanged, this, BeginChange);
    connect(pModel, &QAbstractItemModel::layoutChanged, this, EndChange);
    const auto BeginReset = [this] { beginResetModel(); };
    const auto EndReset = [this] {
        m_SortKeys.Clear();
        BuildOrder();
        endResetModel();
    };
    connect(pModel, &QAbstractItemModel::modelAboutToBeReset, this, BeginReset);
    connect(pModel, &QAbstractItemModel::modelReset, this, EndReset);
    connect(pModel, &QAbstractItemModel::columnsAboutToBeInserted, this, BeginReset);
    connect(pModel, &QAbstractItemModel::columnsInserted, this, EndReset);
    connect(pModel, &QAbstractItemModel::columnsAboutToBeRemoved, this, BeginReset);
    connect(pModel, &QAbstractItemModel::columnsRemoved, this, EndReset);
    ApplyOrder();
}

// ---- Item-model interface --------------------------------------------------------------------------------

int CSortFilter::rowCount(const QModelIndex& Parent) const
{
    if (!m_IsFlat) return QSortFilterProxyModel::rowCount(Parent);
    if (Parent.isValid() || !sourceModel()) return 0;
    return m_Rows.IsPlain() ? sourceModel()->rowCount() : m_Rows.GetNumRows();
}

int CSortFilter::columnCount(const QModelIndex& Parent) const
{
    if (!m_IsFlat) return QSortFilterProxyModel::columnCount(Parent);
    return Parent.isValid() || !sourceModel() ? 0 : sourceModel()->columnCount();
}

QModelIndex CSortFilter::index(int Row, int Column, const QModelIndex& Parent) const
{
    if (!m_IsFlat) return QSortFilterProxyModel::index(Row, Column, Parent);
    // A view asks for every row of a table, all of which there are, when it works out their places.
    if (m_pWindow->GetView()->IsLayingOut() && !Parent.isValid()) return createIndex(Row, Column);
    const bool Exists =
        Row >= 0 && Column >= 0 && !Parent.isValid() && Row < rowCount() && Column < columnCount();
    return Exists ? createIndex(Row, Column) : QModelIndex();
}

QModelIndex CSortFilter::parent(const QModelIndex& Index) const
{
    return m_IsFlat ? QModelIndex() : QSortFilterProxyModel::parent(Index);
}

QModelIndex CSortFilter::sibling(int Row, int Column, const QModelIndex& Index) const
{
    return m_IsFlat ? index(Row, Column) : QSortFilterProxyModel::sibling(Row, Column, Index);
}

QModelIndex CSortFilter::mapToSource(const QModelIndex& Index) const
{
    if (!m_IsFlat) return QSortFilterProxyModel::mapToSource(Index);
    if (!Index.isValid() || Index.row() >= rowCount()) return QModelIndex();
    return sourceModel()->index(m_Rows.ToSource(Index.row()), Index.column());
}

QModelIndex CSortFilter::mapFromSource(const QModelIndex& SourceIndex) const
{
    if (!m_IsFlat) return QSortFilterProxyModel::mapFromSource(SourceIndex);
    if (!SourceIndex.isValid() || SourceIndex.parent().isValid()) return QModelIndex();
    const int Row = m_Rows.ToView(SourceIndex.row());
    return Row < 0 ? QModelIndex() : createIndex(Row, SourceIndex.column());
}

bool CSortFilter::hasChildren(const QModelIndex& Parent) const
{
    if (m_IsFlat) return !Parent.isValid() && rowCount() > 0;
    if (!Parent.isValid()) return QSortFilterProxyModel::hasChildren(Parent);
    // Children are never filtered, so the mapping that the base would make for each row isn't needed.
    return Parent.column() == 0 && sourceModel() && sourceModel()->hasChildren(mapToSource(Parent));
}

Qt::ItemFlags CSortFilter::flags(const QModelIndex& Index) const
{
    // For the places of its rows a view only wants to know whether they can unfold.
    if (m_IsFlat && m_pWindow->GetView()->IsLayingOut()) return Qt::ItemNeverHasChildren;
    return QSortFilterProxyModel::flags(Index);
}

// ---- Order -----------------------------------------------------------------------------------------------

bool CSortFilter::IsSorted() const
{
    return m_SortingEnabled && m_SortColumn >= 0 && m_SortColumn < columnCount();
}

bool CSortFilter::IsLess(int SourceRow, int OtherSourceRow) const
{
    const QModelIndex One = sourceModel()->index(SourceRow, m_SortColumn);
    const QModelIndex Other = sourceModel()->index(OtherSourceRow, m_SortColumn);
    return m_SortOrder == Qt::AscendingOrder ? lessThan(One, Other) : lessThan(Other, One);
}

bool CSortFilter::IsAhead(int SourceRow, int OtherSourceRow) const
{
    if (!IsSorted()) return SourceRow < OtherSourceRow;
    // Equal rows keep the model's order, so that no change of another row moves them.
    return IsLess(SourceRow, OtherSourceRow) ||
           (SourceRow < OtherSourceRow && !IsLess(OtherSourceRow, SourceRow));
}

void CSortFilter::SortRows(std::vector<int>& Rows) const
{
    const bool IsLarge = sourceModel()->rowCount() >= MIN_ROWS_FOR_SORT_KEYS;
    const bool HasKeys = m_SortKeys.IsBuilt() && m_SortKeys.GetColumn() == m_SortColumn;
    if (IsLarge && (HasKeys || BuildSortKeys(m_SortColumn)))
        m_SortKeys.Sort(Rows, m_SortOrder == Qt::AscendingOrder);
    else
        std::stable_sort(Rows.begin(), Rows.end(), [this](int One, int Other) { return IsLess(One, Other); });
}

void CSortFilter::BuildOrder()
{
    const bool Sorted = IsSorted();
    const bool Filtered = IsFiltering();
    if (!Sorted && !Filtered) return m_Rows.SetPlain();
    const int NumRows = sourceModel()->rowCount();
    std::vector<int> Rows;
    if (Filtered) {
        for (int i = 0; i < NumRows; i++)
            if (filterAcceptsRow(i, QModelIndex())) Rows.push_back(i);
    } else {
        Rows.resize(size_t(NumRows));
        std::iota(Rows.begin(), Rows.end(), 0);
    }
    if (Sorted) SortRows(Rows);
    m_Rows.Take(std::move(Rows), NumRows);
}

CSortFilter::LAYOUT CSortFilter::BeginLayout()
{
    emit layoutAboutToBeChanged();
    LAYOUT Layout;
    Layout.Places = persistentIndexList();
    for (const QModelIndex& Place : std::as_const(Layout.Places))
        Layout.SourceCells.append(mapToSource(Place));
    return Layout;
}

void CSortFilter::EndLayout(const LAYOUT& Layout)
{
    QModelIndexList Places;
    for (const QPersistentModelIndex& Cell : Layout.SourceCells) Places.append(mapFromSource(Cell));
    changePersistentIndexList(Layout.Places, Places);
    emit layoutChanged();
}

void CSortFilter::ApplyOrder()
{
    if (!sourceModel()) return;
    const bool WasPlain = m_Rows.IsPlain();
    if (WasPlain && !IsSorted() && !IsFiltering()) return;
    const LAYOUT Layout = BeginLayout();
    BuildOrder();
    EndLayout(Layout);
}

bool CSortFilter::IsOrderKept(int First, int Last) const
{
    if (Last - First >= MAX_SINGLE_ROWS) return false;
    for (int i = First; i <= Last; i++) {
        const int Row = m_Rows.ToView(i);
        if (filterAcceptsRow(i, QModelIndex()) != (Row >= 0)) return false;
        if (Row < 0) continue;
        if (Row > 0 && IsAhead(i, m_Rows.ToSource(Row - 1))) return false;
        if (Row + 1 < m_Rows.GetNumRows() && IsAhead(m_Rows.ToSource(Row + 1), i)) return false;
    }
    return true;
}

// ---- Changes of the model --------------------------------------------------------------------------------

void CSortFilter::OnSourceDataChanged(const QModelIndex& First, const QModelIndex& Last,
                                      const QList<int>& Roles)
{
    m_SortKeys.Clear();
    if (m_Rows.IsPlain()) {
        emit dataChanged(mapFromSource(First), mapFromSource(Last), Roles);
        return;
    }
    if (!IsOrderKept(First.row(), Last.row())) ApplyOrder();
    if (Last.row() - First.row() >= MAX_SINGLE_ROWS) { // more rows than a screen has: wherever they stand now
        if (const int NumRows = rowCount())
            emit dataChanged(index(0, First.column()), index(NumRows - 1, Last.column()), Roles);
        return;
    }
    for (int i = First.row(); i <= Last.row(); i++)
        if (const int Row = m_Rows.ToView(i); Row >= 0)
            emit dataChanged(createIndex(Row, First.column()), createIndex(Row, Last.column()), Roles);
}

void CSortFilter::OnSourceRowsAboutToBeInserted(const QModelIndex& Parent, int First, int Last)
{
    if (m_Rows.IsPlain() && !Parent.isValid()) beginInsertRows({}, First, Last);
}

void CSortFilter::OnSourceRowsInserted(const QModelIndex& Parent, int First, int Last)
{
    if (Parent.isValid()) return;
    m_SortKeys.Clear();
    if (m_Rows.IsPlain()) return endInsertRows();
    m_Rows.InsertSource(First, Last - First + 1);
    if (Last - First >= MAX_SINGLE_ROWS) return ApplyOrder();
    for (int i = First; i <= Last; i++) {
        if (!filterAcceptsRow(i, QModelIndex())) continue;
        int Low = 0;
        for (int High = m_Rows.GetNumRows(); Low < High;) {
            const int Middle = (Low + High) / 2;
            if (IsAhead(i, m_Rows.ToSource(Middle)))
                High = Middle;
            else
                Low = Middle + 1;
        }
        beginInsertRows({}, Low, Low);
        m_Rows.Show(Low, i);
        endInsertRows();
    }
}

void CSortFilter::OnSourceRowsAboutToBeRemoved(const QModelIndex& Parent, int First, int Last)
{
    if (Parent.isValid()) return;
    if (m_Rows.IsPlain()) return beginRemoveRows({}, First, Last);
    std::vector<int> Rows;
    for (int i = First; i <= Last; i++)
        if (m_Rows.ToView(i) >= 0) Rows.push_back(m_Rows.ToView(i));
    if (int(Rows.size()) > MAX_SINGLE_ROWS) {
        const LAYOUT Layout = BeginLayout();
        std::vector<int> Left;
        for (int i = 0; i < m_Rows.GetNumRows(); i++)
            if (const int Source = m_Rows.ToSource(i); Source < First || Source > Last)
                Left.push_back(Source);
        m_Rows.Take(std::move(Left), sourceModel()->rowCount());
        return EndLayout(Layout);
    }
    std::sort(Rows.begin(), Rows.end());
    while (!Rows.empty()) { // runs of rows, from the end
        const int End = Rows.back();
        int Start = End;
        for (Rows.pop_back(); !Rows.empty() && Rows.back() == Start - 1; Rows.pop_back()) Start--;
        beginRemoveRows({}, Start, End);
        m_Rows.Hide(Start, End - Start + 1);
        endRemoveRows();
    }
}

void CSortFilter::OnSourceRowsRemoved(const QModelIndex& Parent, int First, int Last)
{
    if (Parent.isValid()) return;
    m_SortKeys.Clear();
    if (m_Rows.IsPlain()) return endRemoveRows();
    m_Rows.RemoveSource(First, Last - First + 1);
}
