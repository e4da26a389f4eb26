#include "views/framework/sortfilter.h"

#include "project/settings/settingids.h"
#include "views/framework/itemdelegate.h"
#include "views/framework/modelviewwindow.h"
#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <cmath>

namespace {
constexpr double TOLERANCE = 1e-15;

bool IsDouble(const QVariant& Value)
{
    return Value.typeId() == QMetaType::Double || Value.typeId() == QMetaType::Float;
}
} // namespace

CSortFilter::CSortFilter(CModelViewWindow* pWindow, CItemDelegate* pDelegate)
    : QSortFilterProxyModel(pWindow), m_pWindow(pWindow), m_pDelegate(pDelegate)
{
    setDynamicSortFilter(true);
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

bool CSortFilter::lessThan(const QModelIndex& Left, const QModelIndex& Right) const
{
    if (!m_SortingEnabled) {
        // Source order under either direction.
        const bool Less = Left.row() < Right.row();
        return sortOrder() == Qt::AscendingOrder ? Less : Right.row() < Left.row();
    }
    const bool PinnedLeft = Left.data(ROLE_PINNED).toBool();
    const bool PinnedRight = Right.data(ROLE_PINNED).toBool();
    if (PinnedLeft != PinnedRight) return sortOrder() == Qt::AscendingOrder ? PinnedLeft : PinnedRight;
    const QString sModel = sourceModel()->objectName();
    if (sModel == QLatin1String("CallStackDataModel")) return Left.row() < Right.row();
    const int Flags = m_pWindow->GetColumnFlags(Left.column());
    if (sModel == QLatin1String("CallGraphDataModel"))
        if (Left.column() == 0 && Left.parent().isValid()) return Left.row() < Right.row();
    if (sModel == QLatin1String("SymbolsDataModel") && (Flags & COLUMN_TEXT) && Left.parent().isValid()) {
        // Members keep the order of their declaration, whichever way the column is sorted.
        return sortOrder() == Qt::AscendingOrder ? Left.row() < Right.row() : Right.row() < Left.row();
    }
    if (!(Flags & COLUMN_TEXT) && (Flags & COLUMN_NUMERIC)) return IsNumberLess(Left, Right);
    return IsTextLess(Left, Right);
}

// ---- Filtering -------------------------------------------------------------------------------------------

int CSortFilter::FindMatch(const QString& sCell, const QString& sFilter, int& Length)
{
    Length = 0;
    const bool AtStart = sFilter.startsWith(u'*');
    const bool AtEnd = sFilter.endsWith(u'*');
    QString sPlain = sFilter;
    if (AtEnd) sPlain.chop(1);
    if (AtStart && !sPlain.isEmpty()) sPlain.remove(0, 1);
    if (sPlain.isEmpty()) return 0;
    int Pos = -1;
    if (AtStart == AtEnd)
        Pos = int(sCell.indexOf(sPlain, 0, Qt::CaseInsensitive));
    else if (AtEnd)
        Pos = sCell.startsWith(sPlain, Qt::CaseInsensitive) ? 0 : -1;
    else
        Pos = sCell.endsWith(sPlain, Qt::CaseInsensitive) ? int(sCell.size() - sPlain.size()) : -1;
    if (Pos >= 0) Length = int(sPlain.size());
    return Pos;
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
    const QVariant Own = Cell.data(ROLE_FILTER_TEXT);
    const QString sCell = Own.isValid() ? Own.toString() : Cell.data().toString();
    int Length = 0;
    const int Pos = FindMatch(sCell, Filter.sText, Length);
    if (Pos < 0) return false;
    m_pDelegate->SetMatch(Cell.data(ROLE_ITEM_KEY).toUInt(), Cell.column(),
                          {Pos, Length, CTheme::GetColor(COLOR_TABLE_FILTER_MATCH)});
    return true;
}

bool CSortFilter::filterAcceptsRow(int Row, const QModelIndex& Parent) const
{
    if (Parent.isValid()) return true;
    for (auto it = m_Filters.constBegin(); it != m_Filters.constEnd(); ++it) {
        if (!it->IsActive()) continue;
        const QModelIndex Cell = sourceModel()->index(Row, it.key(), Parent);
        if (Cell.data(ROLE_FILTER_EXEMPT).toBool()) continue;
        if (!AcceptsCell(Cell, *it)) return false;
    }
    return true;
}

void CSortFilter::SetFilterText(int Column, const QString& sText)
{
    COLUMN_FILTER Filter;
    if (!sText.isEmpty()) Filter.sText = sText;
    m_Filters.insert(Column, Filter);
    ApplyFilters();
}

void CSortFilter::SetFilterRange(int Column, double Min, double Max)
{
    COLUMN_FILTER Filter;
    Filter.HasRange = true;
    Filter.Min = Min;
    Filter.Max = Max;
    m_Filters.insert(Column, Filter);
    ApplyFilters();
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
    m_pDelegate->ClearMatches();
    invalidateFilter();
    sort(sortColumn(), sortOrder());
    emit headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
}

#include "moc_sortfilter.cpp"
