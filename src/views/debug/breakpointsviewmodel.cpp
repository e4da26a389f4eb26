#include "views/debug/breakpointsviewmodel.h"

#include "views/framework/modelviewwindow.h"
#include "views/theme/icons.h"

#include <QBrush>

namespace {

// The state column holds the fold mark, the check box and the icon side by side.
constexpr TABLE_COLUMN aColumns[NUM_BP_COLUMNS] = {
    {"", COLUMN_NUMERIC, 58, "Enabled"},
    {"Type", COLUMN_TEXT, 92, "What the point reacts to, and how it is implemented"},
    {"Location", COLUMN_TEXT | COLUMN_VALUE_FONT, 130, "Address, source line or expression"},
    {"Extras", COLUMN_TEXT, 200, "Condition and extra actions"},
};

constexpr const char* aKindTexts[] = {"Code", "Data", "Trace Start", "Trace Stop"};
constexpr const char* aKindIcons[] = {"breakpoint-small", "watchpoint-small", "tracepoint-12-start", "tracepoint-12-stop"};
static_assert(std::size(aKindTexts) == VIEW_BREAKPOINT::TRACE_STOP + 1 && std::size(aKindIcons) == std::size(aKindTexts));

// Ids: a top-level row is its number plus 1 in the high half, a child has its own number plus 1 in the low half.
constexpr int ID_SHIFT = sizeof(quintptr) * 4;
constexpr quintptr LOW_MASK = (quintptr(1) << ID_SHIFT) - 1;
int TopOf(const QModelIndex& Index) { return int(Index.internalId() >> ID_SHIFT) - 1; }
int ChildOf(const QModelIndex& Index) { return int(Index.internalId() & LOW_MASK) - 1; }

QString MakeKeyText(const VIEW_BREAKPOINT& Row)
{
    return QStringLiteral("%1|%2|%3").arg(Row.Kind).arg(Row.sLocation, Row.CommandParams.join(u','));
}

bool IsSamePlace(const VIEW_BREAKPOINT& A, const VIEW_BREAKPOINT& B)
{
    return A.Kind == B.Kind && A.sLocation == B.sLocation && A.Loc == B.Loc && A.Addr == B.Addr && A.CommandParams == B.CommandParams;
}

Qt::CheckState GetCheckState(U32 State)
{
    if (State == BP_STATE_ON) return Qt::Checked;
    return State == BP_STATE_MIXED ? Qt::PartiallyChecked : Qt::Unchecked;
}

QColor Blend(const QColor& A, const QColor& B)
{
    const auto Mix = [](int a, int b) { return (2 * a + b) / 3; };
    return QColor(Mix(A.red(), B.red()), Mix(A.green(), B.green()), Mix(A.blue(), B.blue()));
}

} // namespace

CBreakpointsViewModel::CBreakpointsViewModel(QObject* pParent) : CTableModel(pParent, QStringLiteral("BreakpointsModel"))
{
    SetColumns(aColumns, NUM_BP_COLUMNS);
}

QModelIndex CBreakpointsViewModel::index(int Row, int Column, const QModelIndex& Parent) const
{
    if (Row < 0 || Column < 0 || Column >= NUM_BP_COLUMNS || Row >= rowCount(Parent)) return QModelIndex();
    if (!Parent.isValid()) return createIndex(Row, Column, quintptr(Row + 1) << ID_SHIFT);
    return createIndex(Row, Column, Parent.internalId() | quintptr(Row + 1));
}

QModelIndex CBreakpointsViewModel::parent(const QModelIndex& Index) const
{
    if (!Index.isValid() || ChildOf(Index) < 0) return QModelIndex();
    return createIndex(TopOf(Index), 0, Index.internalId() & ~LOW_MASK);
}

int CBreakpointsViewModel::rowCount(const QModelIndex& Parent) const
{
    if (!Parent.isValid()) return int(m_Rows.size());
    if (Parent.column() > 0 || ChildOf(Parent) >= 0) return 0;
    const VIEW_BREAKPOINT* pRow = GetRow(Parent);
    return pRow ? int(pRow->Derived.size()) : 0;
}

const VIEW_BREAKPOINT* CBreakpointsViewModel::GetRow(const QModelIndex& Index) const
{
    if (!Index.isValid() || TopOf(Index) >= m_Rows.size()) return nullptr;
    const VIEW_BREAKPOINT& Top = m_Rows[TopOf(Index)];
    const int Child = ChildOf(Index);
    if (Child < 0) return &Top;
    return Child < Top.Derived.size() ? &Top.Derived[Child] : nullptr;
}

QVariant CBreakpointsViewModel::data(const QModelIndex& Index, int Role) const
{
    const VIEW_BREAKPOINT* pRow = GetRow(Index);
    if (!pRow) return QVariant();
    switch (Role) {
    case Qt::CheckStateRole:
        return Index.column() == BP_COLUMN_STATE ? QVariant(GetCheckState(pRow->State)) : QVariant();
    case ROLE_SORT_VALUE:
        return pRow->State;
    case ROLE_TIP_COLUMN:
        return int(BP_COLUMN_LOCATION);
    case Qt::ForegroundRole:
        // The place of a derived breakpoint stands back behind the line it belongs to.
        if (ChildOf(Index) >= 0 && Index.column() == BP_COLUMN_LOCATION && GetWindow()) {
            const QColor Plain = GetWindow()->palette().color(QPalette::Text);
            if (GetWindow()->GetItemTextColor(Index) == Plain) return QBrush(Blend(Plain, GetWindow()->palette().color(QPalette::Base)));
        }
        break;
    default:
        break;
    }
    return CTableModel::data(Index, Role);
}

bool CBreakpointsViewModel::setData(const QModelIndex& Index, const QVariant& Value, int Role)
{
    if (Index.column() != BP_COLUMN_STATE || (Role != Qt::CheckStateRole && Role != Qt::EditRole)) return CTableModel::setData(Index, Value, Role);
    const VIEW_BREAKPOINT* pRow = GetRow(Index);
    if (!pRow) return false;
    const VIEW_BREAKPOINT Copy = *pRow; // the answer may replace the rows
    emit StateRequested(Copy, Value.toInt() == Qt::Checked);
    return true;
}

Qt::ItemFlags CBreakpointsViewModel::flags(const QModelIndex& Index) const
{
    Qt::ItemFlags Flags = CTableModel::flags(Index) & ~Qt::ItemIsEditable;
    if (Index.isValid() && Index.column() == BP_COLUMN_STATE) Flags |= Qt::ItemIsUserCheckable;
    return Flags;
}

QString CBreakpointsViewModel::GetItemText(const QModelIndex& Index) const
{
    const VIEW_BREAKPOINT* pRow = GetRow(Index);
    if (!pRow) return QString();
    switch (Index.column()) {
    case BP_COLUMN_TYPE: {
        const QString sKind = QString::fromLatin1(aKindTexts[pRow->Kind]);
        return pRow->sImpl.isEmpty() ? sKind : QStringLiteral("%1 (%2)").arg(sKind, pRow->sImpl);
    }
    case BP_COLUMN_LOCATION: return pRow->sLocation;
    case BP_COLUMN_EXTRAS: return pRow->sExtras;
    default: return QString();
    }
}

QIcon CBreakpointsViewModel::GetIcon(const QModelIndex& Index) const
{
    const VIEW_BREAKPOINT* pRow = GetRow(Index);
    // Derived breakpoints are indented and always code; their check box fills the column.
    if (!pRow || Index.column() != BP_COLUMN_STATE || ChildOf(Index) >= 0) return QIcon();
    return ::GetIcon(QString::fromLatin1(aKindIcons[pRow->Kind]));
}

U32 CBreakpointsViewModel::GetItemKey(const QModelIndex& Index) const
{
    const VIEW_BREAKPOINT* pRow = GetRow(Index);
    if (!pRow) return 0;
    const QModelIndex Parent = parent(Index);
    return U32(qHash(MakeKeyText(*pRow), Parent.isValid() ? GetItemKey(Parent) : 0));
}

QModelIndex CBreakpointsViewModel::Find(const std::function<bool(const VIEW_BREAKPOINT&)>& Matches) const
{
    for (int i = 0; i < m_Rows.size(); i++)
        if (Matches(m_Rows[i])) return index(i, 0);
    for (int i = 0; i < m_Rows.size(); i++)
        for (int k = 0; k < m_Rows[i].Derived.size(); k++)
            if (Matches(m_Rows[i].Derived[k])) return index(k, 0, index(i, 0));
    return QModelIndex();
}

bool CBreakpointsViewModel::HasSamePlaces(const QList<VIEW_BREAKPOINT>& Rows) const
{
    if (Rows.size() != m_Rows.size()) return false;
    for (int i = 0; i < Rows.size(); i++) {
        if (!IsSamePlace(Rows[i], m_Rows[i]) || Rows[i].Derived.size() != m_Rows[i].Derived.size()) return false;
        for (int k = 0; k < Rows[i].Derived.size(); k++)
            if (!IsSamePlace(Rows[i].Derived[k], m_Rows[i].Derived[k])) return false;
    }
    return true;
}

void CBreakpointsViewModel::NotifyRow(int Row, const QModelIndex& Parent) { NotifyItemChanged(index(Row, 0, Parent), index(Row, NUM_BP_COLUMNS - 1, Parent)); }

bool CBreakpointsViewModel::SetRows(const QList<VIEW_BREAKPOINT>& Rows)
{
    if (!HasSamePlaces(Rows)) {
        BeginReset();
        m_Rows = Rows;
        EndReset();
        return false;
    }
    m_Rows = Rows;
    for (int i = 0; i < m_Rows.size(); i++) {
        NotifyRow(i, QModelIndex());
        for (int k = 0; k < m_Rows[i].Derived.size(); k++) NotifyRow(k, index(i, 0));
    }
    return true;
}

#include "moc_breakpointsviewmodel.cpp"
