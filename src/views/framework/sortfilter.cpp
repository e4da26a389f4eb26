#include "views/framework/sortfilter.h"

#include "views/framework/itemdelegate.h"
#include "views/framework/modelviewwindow.h"
#include "views/framework/treeview.h"
#include "views/theme/icons.h"

#include <cmath>

namespace {
constexpr double TOLERANCE = 1e-15;
constexpr int MIN_ROWS_FOR_SORT_KEYS = 1000;
/// Models whose top-level rows have an order of their own.
constexpr const char* OWN_ORDER_MODELS[] = {"CallStackDataModel", "FunctionsDataModel"};

bool IsDouble(const QVariant& Value)
{
    return Value.typeId() == QMetaType::Double || Value.typeId() == QMetaType::Float;
}
} // namespace

CSortFilter::CSortFilter(CModelViewWindow* pWindow, CItemDelegate* pDelegate)
    : QSortFilterProxyModel(pWindow), m_pWindow(pWindow)
{
    setDynamicSortFilter(true);
    pDelegate->SetSortFilter(this);
}

void CSortFilter::setSourceModel(QAbstractItemModel* pModel)
{
    if (QAbstractItemModel* pOld = sourceModel()) pOld->disconnect(this);
    m_Rows.SetPlain();
    if (!pModel) return QSortFilterProxyModel::setSourceModel(pModel);
    // Connected ahead of the base, which sorts anew in its own answers to these signals.
    const auto OnWholeChange = [this] { DropSortKeys(true); };
    const auto OnRowChange = [this] { DropSortKeys(false); };
    connect(pModel, &QAbstractItemModel::modelAboutToBeReset, this, OnWholeChange);
    connect(pModel, &QAbstractItemModel::modelReset, this, OnWholeChange);
    connect(pModel, &QAbstractItemModel::layoutAboutToBeChanged, this, OnWholeChange);
    connect(pModel, &QAbstractItemModel::layoutChanged, this, OnWholeChange);
    connect(pModel, &QAbstractItemModel::dataChanged, this, OnRowChange);
    connect(pModel, &QAbstractItemModel::rowsInserted, this, OnRowChange);
    connect(pModel, &QAbstractItemModel::rowsRemoved, this, OnRowChange);
    connect(pModel, &QAbstractItemModel::rowsMoved, this, OnRowChange);
    DropSortKeys(true);
    QSortFilterProxyModel::setSourceModel(pModel);
    if (m_IsFlat) ConnectFlat(pModel);
}

CTableModel* CSortFilter::GetTableModel() const
{
    return qobject_cast<CTableModel*>(sourceModel());
}

QVariant CSortFilter::data(const QModelIndex& Index, int Role) const
{
    // A row that scrolls into view fetches its value as it is drawn.
    if (Role == Qt::BackgroundRole && Index.isValid())
        if (CTableModel* pModel = GetTableModel()) pModel->RefreshItem(mapToSource(Index));
    return QSortFilterProxyModel::data(Index, Role);
}

QVariant CSortFilter::headerData(int Section, Qt::Orientation Orientation, int Role) const
{
    if (Role == Qt::DecorationRole && Orientation == Qt::Horizontal && m_Filters.value(Section).IsActive())
        return GetIcon(QStringLiteral("funnel-small"));
    if (m_IsFlat && sourceModel())
        return sourceModel()->headerData(Section, Orientation, Role); // the base makes its tables here
    return QSortFilterProxyModel::headerData(Section, Orientation, Role);
}

// ---- Sorting ---------------------------------------------------------------------------------------------

bool CSortFilter::IsTextLess(const QModelIndex& Left, const QModelIndex& Right) const
{
    return QString::compare(Left.data().toString(), Right.data().toString(), Qt::CaseInsensitive) < 0;
}

bool CSortFilter::IsNumberLess(const QModelIndex& Left, const QModelIndex& Right) const
{
    const QVariant A = Left.data(ROLE_SORT_VALUE);
    const QVariant B = Right.data(ROLE_SORT_VALUE);
    if (!A.isValid() || !B.isValid()) return IsTextLess(Left, Right);
    const QModelIndex LeftName = Left.siblingAtColumn(0);
    const QModelIndex RightName = Right.siblingAtColumn(0);
    if (IsDouble(A) || IsDouble(B)) {
        if (std::abs(A.toDouble() - B.toDouble()) >= TOLERANCE) return A.toDouble() < B.toDouble();
        const QVariant A2 = Left.data(ROLE_SORT_VALUE2);
        const QVariant B2 = Right.data(ROLE_SORT_VALUE2);
        if (A2.isValid() && B2.isValid() && std::abs(A2.toDouble() - B2.toDouble()) >= TOLERANCE)
            return A2.toDouble() < B2.toDouble();
        return IsTextLess(LeftName, RightName);
    }
    if (A.toLongLong() != B.toLongLong()) return A.toLongLong() < B.toLongLong();
    return IsTextLess(LeftName, RightName);
}

void CSortFilter::DropSortKeys(bool MayBuild)
{
    m_SortKeys.Clear();
    m_MayBuildSortKeys = MayBuild;
}

bool CSortFilter::HasSortKeys(int Column) const
{
    if (m_SortKeys.IsBuilt() && m_SortKeys.GetColumn() == Column) return true;
    if (m_IsFlat || !m_MayBuildSortKeys || sourceModel()->rowCount() < MIN_ROWS_FOR_SORT_KEYS) return false;
    m_MayBuildSortKeys = false;
    return BuildSortKeys(Column);
}

bool CSortFilter::BuildSortKeys(int Column) const
{
    const QString sModel = sourceModel()->objectName();
    for (const char* sOwnOrder : OWN_ORDER_MODELS)
        if (sModel == QLatin1String(sOwnOrder)) return false;
    const int Flags = m_pWindow->GetColumnFlags(Column);
    return m_SortKeys.Build(*sourceModel(), Column, !(Flags & COLUMN_TEXT) && (Flags & COLUMN_NUMERIC));
}

void CSortFilter::sort(int Column, Qt::SortOrder Order)
{
    m_SortColumn = Column;
    m_SortOrder = Order;
    m_MayBuildSortKeys = true;
    if (m_IsFlat)
        ApplyOrder();
    else
        QSortFilterProxyModel::sort(Column, Order);
}

bool CSortFilter::lessThan(const QModelIndex& Left, const QModelIndex& Right) const
{
    if (!m_SortingEnabled) {
        // Source order under either direction.
        const bool Less = Left.row() < Right.row();
        return m_SortOrder == Qt::AscendingOrder ? Less : Right.row() < Left.row();
    }
    if (HasSortKeys(Left.column()) && (m_IsFlat || !Left.parent().isValid())) {
        const bool Ascending = m_SortOrder == Qt::AscendingOrder;
        if (m_SortKeys.IsPinned(Left.row()) != m_SortKeys.IsPinned(Right.row()))
            return m_SortKeys.IsPinned(Ascending ? Left.row() : Right.row());
        return m_SortKeys.IsLess(Left.row(), Right.row());
    }
    const bool PinnedLeft = Left.data(ROLE_PINNED).toBool();
    const bool PinnedRight = Right.data(ROLE_PINNED).toBool();
    if (PinnedLeft != PinnedRight) return m_SortOrder == Qt::AscendingOrder ? PinnedLeft : PinnedRight;
    const QString sModel = sourceModel()->objectName();
    if (sModel == QLatin1String("CallStackDataModel")) return Left.row() < Right.row();
    const int Flags = m_pWindow->GetColumnFlags(Left.column());
    if (sModel == QLatin1String("FunctionsDataModel") && (Flags & COLUMN_TEXT)) {
        const QVariant A = Left.data(ROLE_SORT_VALUE); // the symbol's position in its file
        const QVariant B = Right.data(ROLE_SORT_VALUE);
        if (A.isValid() && B.isValid() && A != B) return A.toLongLong() < B.toLongLong();
    }
    if (sModel == QLatin1String("CallGraphDataModel"))
        if (Left.column() == 0 && Left.parent().isValid()) return Left.row() < Right.row();
    if (sModel == QLatin1String("SymbolsDataModel") && (Flags & COLUMN_TEXT) && Left.parent().isValid()) {
        // Members keep the order of their declaration, whichever way the column is sorted.
        return m_SortOrder == Qt::AscendingOrder ? Left.row() < Right.row() : Right.row() < Left.row();
    }
    if (!(Flags & COLUMN_TEXT) && (Flags & COLUMN_NUMERIC)) return IsNumberLess(Left, Right);
    return IsTextLess(Left, Right);
}

// ---- Filtering -------------------------------------------------------------------------------------------

bool CSortFilter::IsTested(const QModelIndex& SourceCell, const COLUMN_FILTER& Filter) const
{
    return Filter.IsActive() && !SourceCell.parent().isValid() && !SourceCell.data(ROLE_FILTER_EXEMPT).toBool();
}

QString CSortFilter::GetFilterText(const QModelIndex& SourceCell) const
{
    const QVariant Own = SourceCell.data(ROLE_FILTER_TEXT);
    return Own.isValid() ? Own.toString() : SourceCell.data().toString();
}

int CSortFilter::GetMatch(const QModelIndex& Index, int& Length) const
{
    const auto it = m_Filters.constFind(Index.column());
    if (it == m_Filters.constEnd() || it->HasRange) return -1;
    const QModelIndex Cell = mapToSource(Index);
    if (!IsTested(Cell, *it)) return -1;
    Length = int(it->Match.GetLength());
    return int(it->Match.Find(GetFilterText(Cell)));
}

bool CSortFilter::AcceptsCell(const QModelIndex& Cell, const COLUMN_FILTER& Filter) const
{
    const int Flags = m_pWindow->GetColumnFlags(Cell.column());
    if (Filter.HasRange && (Flags & COLUMN_NUMERIC)) {
        const QVariant Value = Cell.data(ROLE_SORT_VALUE);
        double Number = Value.toDouble();
        if (!Value.isValid()) {
            const int Format = m_pWindow->GetItemDisplayFormat(Cell);
            U64 Parsed = 0;
            if (!GetTableModel()->ParseValue(Cell.data().toString(), Format == 0 ? 10 : Format, Parsed))
                return false;
            Number = double(Parsed);
        }
        if (Flags & COLUMN_FLOAT) return Filter.Min <= Number && Number <= Filter.Max;
        return std::floor(Filter.Min) <= Number && Number <= std::floor(Filter.Max);
    }
    return Filter.Match.Find(GetFilterText(Cell)) >= 0;
}

bool CSortFilter::filterAcceptsRow(int Row, const QModelIndex& Parent) const
{
    if (Parent.isValid()) return true;
    for (auto it = m_Filters.constBegin(); it != m_Filters.constEnd(); ++it) {
        const QModelIndex Cell = sourceModel()->index(Row, it.key(), Parent);
        if (IsTested(Cell, *it) && !AcceptsCell(Cell, *it)) return false;
    }
    return true;
}

void CSortFilter::SetFilter(int Column, const COLUMN_FILTER& Filter)
{
    m_Filters.insert(Column, Filter);
    ApplyFilters();
}

void CSortFilter::SetFilterText(int Column, const QString& sText)
{
    COLUMN_FILTER Filter;
    if (!sText.isEmpty()) Filter.sText = sText;
    Filter.Match = CTextMatch(Filter.sText);
    SetFilter(Column, Filter);
}

void CSortFilter::SetFilterRange(int Column, double Min, double Max)
{
    COLUMN_FILTER Filter;
    Filter.HasRange = true;
    Filter.Min = Min;
    Filter.Max = Max;
    SetFilter(Column, Filter);
}

void CSortFilter::ClearFilter(int Column)
{
    SetFilterText(Column, QString());
}

void CSortFilter::ClearAllFilters()
{
    m_Filters.clear();
    ApplyFilters();
}

bool CSortFilter::HasFilters() const
{
    for (const COLUMN_FILTER& Filter : m_Filters)
        if (Filter.IsActive()) return true;
    return false;
}

void CSortFilter::ApplyFilters()
{
    // One report of a new layout, which keeps selection and expansion: to tell views of each run of rows that comes or
    // goes takes minutes in a large table. The present sort is applied to what is left.
    m_MayBuildSortKeys = true;
    if (m_IsFlat)
        ApplyOrder();
    else
        invalidate();
    emit headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
}

#include "moc_sortfilter.cpp"
