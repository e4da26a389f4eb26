#include "views/debug/callstackmodel.h"

#include "project/settings/settingids.h"
#include "views/framework/modelviewwindow.h"
#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <QBrush>
#include <QPixmap>
#include <algorithm>

namespace {
enum COLUMNS { COL_FUNCTION, COL_STACK, COL_SOURCE, COL_PC, COL_RETURN, NUM_COLUMNS };
constexpr TABLE_COLUMN aColumns[] = {
    {"Function", COLUMN_TEXT, 170}, {"Stack Info", COLUMN_VALUE_FONT, 120},     {"Source", COLUMN_TEXT, 110},
    {"PC", COLUMN_VALUE_FONT, 90},  {"Return Address", COLUMN_VALUE_FONT, 150},
};
static_assert(std::size(aColumns) == NUM_COLUMNS);
constexpr int CLOSING_ROW_EXTRA = 6; ///< pixels that the closing row is higher
constexpr int MAX_SIZE_DIGITS = 4;
const QString sNotKnown = QStringLiteral("N/A");

/// Takes the place of the arrow in the other rows, so that all names start at one edge.
QIcon GetBlankIcon()
{
    static const QIcon s_Blank = [] {
        QPixmap Pixmap(16, 16);
        Pixmap.fill(Qt::transparent);
        return QIcon(Pixmap);
    }();
    return s_Blank;
}
} // namespace

CCallStackDataModel::CCallStackDataModel(QObject* pParent)
    : CTableModel(pParent, QStringLiteral("CallStackDataModel"))
{
    SetColumns(aColumns, NUM_COLUMNS);
}

void CCallStackDataModel::Clear()
{
    SetStack({}, QString());
}

void CCallStackDataModel::AppendFrame(const VIEW_FRAME& Frame)
{
    const int Row = int(m_Frames.size());
    beginInsertRows(QModelIndex(), Row, Row);
    m_Frames.append(Frame);
    endInsertRows();
    // The field width of the sizes depends on the largest.
    NotifyItemChanged(index(0, COL_STACK), index(Row, COL_STACK));
}

void CCallStackDataModel::SetStack(const QList<VIEW_FRAME>& Frames, const QString& sStopText)
{
    BeginReset();
    m_Frames = Frames;
    m_sStopText = sStopText;
    EndReset();
}

VIEW_FRAME CCallStackDataModel::GetFrame(int Row) const
{
    return Row >= 0 && Row < m_Frames.size() ? m_Frames[Row] : VIEW_FRAME();
}
bool CCallStackDataModel::IsClosingRow(const QModelIndex& Index) const
{
    return Index.isValid() && Index.row() >= m_Frames.size();
}

void CCallStackDataModel::SetSelectedFrame(int Index)
{
    m_SelectedFrame = Index;
    if (rowCount() > 0) NotifyItemChanged(index(0, 0), index(rowCount() - 1, NUM_COLUMNS - 1));
}

int CCallStackDataModel::rowCount(const QModelIndex& Parent) const
{
    return Parent.isValid() ? 0 : int(m_Frames.size()) + !m_sStopText.isEmpty();
}

QString CCallStackDataModel::GetStackInfo(const VIEW_FRAME& Frame) const
{
    if (!Frame.IsPCValid) return sNotKnown;
    U32 Largest = 0;
    for (const VIEW_FRAME& Other : m_Frames) Largest = std::max(Largest, Other.FrameSize);
    const int Digits = std::min(int(QString::number(Largest).size()), MAX_SIZE_DIGITS);
    return QStringLiteral("%1 @ %2").arg(Frame.FrameSize, Digits).arg(FormatAddr(U32(Frame.SP)));
}

QString CCallStackDataModel::GetItemText(const QModelIndex& Index) const
{
    if (IsClosingRow(Index)) return Index.column() == COL_FUNCTION ? m_sStopText : QString();
    const VIEW_FRAME Frame = GetFrame(Index.row());
    switch (Index.column()) {
    case COL_FUNCTION:
        return Frame.sFunction;
    case COL_STACK:
        return GetStackInfo(Frame);
    case COL_SOURCE:
        return Frame.Loc.IsValid() ? GetViewSrcLocText(Frame.Loc) : QString();
    case COL_PC:
        return Frame.IsPCValid ? FormatAddr(U32(Frame.PC)) : sNotKnown;
    case COL_RETURN:
        return Frame.sReturn;
    default:
        return QString();
    }
}

QIcon CCallStackDataModel::GetIcon(const QModelIndex& Index) const
{
    if (Index.column() != COL_FUNCTION || IsClosingRow(Index)) return QIcon();
    if (GetWindow() && (flags(Index) & ITEM_FLAGS_STALE)) return GetBlankIcon();
    if (Index.row() == 0) return ::GetIcon(QStringLiteral("arrow-pc"));
    return Index.row() == m_SelectedFrame ? ::GetIcon(QStringLiteral("arrow-pc-yellow")) : GetBlankIcon();
}

U32 CCallStackDataModel::GetItemKey(const QModelIndex& Index) const
{
    return U32(Index.row()) + 1;
} // a recursive function stands in several frames

QVariant CCallStackDataModel::data(const QModelIndex& Index, int Role) const
{
    if (!Index.isValid()) return QVariant();
    switch (Role) {
    case ROLE_PINNED:
        return !IsClosingRow(Index);
    case ROLE_TIP_COLUMN:
        return COL_FUNCTION;
    case Qt::SizeHintRole:
        if (IsClosingRow(Index) && GetWindow())
            return GetWindow()->GetItemSizeHint(Index) + QSize(0, CLOSING_ROW_EXTRA);
        break;
    case Qt::BackgroundRole:
        if (Index.row() == m_SelectedFrame && Index.row() > 0 && !IsClosingRow(Index) && GetWindow() &&
            !GetWindow()->HasFocus())
            return QBrush(CTheme::GetColor(COLOR_CALL_SITE_ACTIVE));
        break;
    default:
        break;
    }
    return CTableModel::data(Index, Role);
}

#include "moc_callstackmodel.cpp"
