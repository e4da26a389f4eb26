#include "views/framework/tablemodel.h"

#include "views/framework/modelviewwindow.h"
#include "views/theme/icons.h"

#include <QBrush>
#include <algorithm>

namespace {

constexpr int aAttributeRoles[] = {ROLE_LAST_VALUE,   ROLE_CHANGE_LEVEL, ROLE_DISPLAY_FORMAT, ROLE_READ_STATE,
                                   ROLE_REFRESH_RATE, ROLE_MEM_ZONE,     ROLE_EXPANDED};
constexpr int aBackupRoles[] = {ROLE_REFRESH_RATE, ROLE_DISPLAY_FORMAT, ROLE_MEM_ZONE};

bool IsAttributeRole(int Role)
{
    return std::find(std::begin(aAttributeRoles), std::end(aAttributeRoles), Role) !=
           std::end(aAttributeRoles);
}

/// Stable over runs, since attributes may be kept over a rebuild but never over a process.
U32 HashText(U32 Seed, const QString& sText)
{
    U32 Hash = Seed;
    for (const QChar Char : sText) Hash = Hash * 31 + Char.unicode();
    return Hash;
}

} // namespace

CTableModel::CTableModel(QObject* pParent, const QString& sName) : QAbstractTableModel(pParent)
{
    setObjectName(sName);
    // Ids may be given to other items from here on.
    connect(this, &QAbstractItemModel::rowsRemoved, this, [this] { m_KeyCache.clear(); });
    connect(this, &QAbstractItemModel::rowsInserted, this, [this] { m_KeyCache.clear(); });
}

void CTableModel::SetColumns(const TABLE_COLUMN* paColumns, int NumColumns)
{
    m_Columns.clear();
    for (int i = 0; i < NumColumns; i++)
        m_Columns.append({QString::fromUtf8(paColumns[i].sTitle), paColumns[i].Flags, paColumns[i].Width,
                          QString::fromUtf8(paColumns[i].sToolTip)});
}

int CTableModel::columnCount(const QModelIndex&) const
{
    return int(m_Columns.size());
}

int CTableModel::GetColumnFlags(int Column) const
{
    return Column >= 0 && Column < m_Columns.size() ? m_Columns[Column].Flags : 0;
}
void CTableModel::SetColumnFlags(int Column, int Flags)
{
    if (Column < 0 || Column >= m_Columns.size()) return;
    m_Columns[Column].Flags = Flags;
    emit headerDataChanged(Qt::Horizontal, Column, Column);
}
int CTableModel::GetColumnWidth(int Column) const
{
    return Column >= 0 && Column < m_Columns.size() ? m_Columns[Column].Width : 0;
}
QString CTableModel::GetColumnName(int Column) const
{
    return Column >= 0 && Column < m_Columns.size() ? m_Columns[Column].sTitle : QString();
}

// ---- Item-model interface --------------------------------------------------------------------------------

QVariant CTableModel::data(const QModelIndex& Index, int Role) const
{
    if (!Index.isValid()) return QVariant();
    if (IsAttributeRole(Role)) return GetAttribute(Index, Role);
    switch (Role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return GetItemText(Index);
    case Qt::DecorationRole: {
        const QIcon Icon = GetIcon(Index);
        return Icon.isNull() ? QVariant() : QVariant(Icon);
    }
    case Qt::ToolTipRole:
        return MakeToolTip(Index);
    case ROLE_ITEM_KEY:
        return GetCachedKey(Index);
    case Qt::BackgroundRole:
        if (m_pWindow) {
            const QColor Color = m_pWindow->GetItemBackgroundColor(Index);
            return Color.isValid() ? QVariant(QBrush(Color)) : QVariant();
        }
        return QVariant();
    case Qt::ForegroundRole:
        return m_pWindow ? QVariant(QBrush(m_pWindow->GetItemTextColor(Index))) : QVariant();
    case Qt::FontRole:
        return m_pWindow ? QVariant(m_pWindow->GetItemFont(Index.column())) : QVariant();
    case Qt::SizeHintRole:
        return m_pWindow ? QVariant(m_pWindow->GetItemSizeHint(Index)) : QVariant();
    default:
        return QVariant();
    }
}

bool CTableModel::setData(const QModelIndex& Index, const QVariant& Value, int Role)
{
    if (!Index.isValid() || !IsAttributeRole(Role)) return false;
    m_Attributes[Role].insert(GetCachedKey(Index), Value);
    return true;
}

QVariant CTableModel::headerData(int Section, Qt::Orientation Orientation, int Role) const
{
    if (Orientation != Qt::Horizontal || Section < 0 || Section >= m_Columns.size()) return QVariant();
    switch (Role) {
    case Qt::DisplayRole:
        return m_Columns[Section].sTitle;
    case Qt::ToolTipRole:
        return m_Columns[Section].sToolTip;
    case Qt::TextAlignmentRole:
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    case ROLE_COLUMN_FLAGS:
        return m_pWindow ? m_pWindow->GetColumnFlags(Section) : m_Columns[Section].Flags;
    case ROLE_DISPLAY_FORMAT:
        return m_pWindow ? m_pWindow->GetColumnDisplayFormat(Section) : -1;
    default:
        return QVariant();
    }
}

Qt::ItemFlags CTableModel::flags(const QModelIndex& Index) const
{
    if (!Index.isValid()) return Qt::ItemIsEnabled;
    Qt::ItemFlags Flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (!m_pWindow) return Flags;
    const bool Live = m_pWindow->IsActive() ||
                      (m_pWindow->TestFlag(WF_LIVE_ITEMS) && data(Index, ROLE_REFRESH_RATE).toInt() != 0);
    const bool IsInputRow =
        m_pWindow->HasInputRow() && !Index.parent().isValid() && Index.row() == rowCount() - 1;
    if (IsInputRow || (Live && m_pWindow->IsColumnEditable(Index.column()))) Flags |= Qt::ItemIsEditable;
    if (!Live && m_pWindow->TestFlag(WF_ACTIVATE_ON_HALT)) Flags |= ITEM_FLAGS_STALE;
    return Flags;
}

QModelIndex CTableModel::sibling(int Row, int Column, const QModelIndex& Index) const
{
    // The table base takes every index for a top-level one.
    return Row == Index.row() && Column == Index.column() ? Index : index(Row, Column, Index.parent());
}

bool CTableModel::hasChildren(const QModelIndex& Parent) const
{
    return Parent.column() <= 0 && rowCount(Parent) > 0;
}

// ---- Resets ----------------------------------------------------------------------------------------------

void CTableModel::BeginReset()
{
    beginResetModel();
}

void CTableModel::EndReset()
{
    m_KeyCache.clear();
    endResetModel();
}

void CTableModel::Reset()
{
    BeginReset();
    EndReset();
}

void CTableModel::ResetKeepView()
{
    if (m_pWindow) m_pWindow->BackupState(0);
    Reset();
    if (m_pWindow) m_pWindow->RestoreState(0);
}

// ---- Attributes ------------------------------------------------------------------------------------------

QVariant CTableModel::GetAttribute(const QModelIndex& Index, int Role) const
{
    const auto itTable = m_Attributes.constFind(Role);
    if (itTable == m_Attributes.constEnd() || itTable->isEmpty()) return 0;
    const auto it = itTable->constFind(GetCachedKey(Index));
    if (it != itTable->constEnd()) return *it;
    const bool Inherited = Role == ROLE_REFRESH_RATE || Role == ROLE_MEM_ZONE;
    if (Inherited && Index.parent().isValid()) return GetAttribute(Index.parent(), Role);
    return QVariant();
}

QVariant CTableModel::GetStoredRole(const QModelIndex& Index, int Role) const
{
    const auto itTable = m_Attributes.constFind(Role);
    return itTable == m_Attributes.constEnd() ? QVariant() : itTable->value(GetCachedKey(Index));
}

void CTableModel::SetRole(const QModelIndex& Index, int Role, U32 Value, bool Recurse, bool Always)
{
    if (!Index.isValid()) return;
    auto& Table = m_Attributes[Role];
    const U32 Key = GetCachedKey(Index);
    if (Always || !Table.contains(Key)) Table.insert(Key, Value);
    if (!Recurse) return;
    const QModelIndex First = Index.siblingAtColumn(0);
    const int NumRows = rowCount(First);
    for (int i = 0; i < NumRows; i++) SetRole(index(i, 0, First), Role, Value, true, Always);
}

void CTableModel::RemoveRoleEntry(const QModelIndex& Index, int Role)
{
    const auto it = m_Attributes.find(Role);
    if (Index.isValid() && it != m_Attributes.end()) it->remove(GetCachedKey(Index));
}

void CTableModel::SetRoleText(const QModelIndex& Index, int Role, const QString& sText)
{
    if (Index.isValid()) m_Attributes[Role].insert(GetCachedKey(Index), sText);
}

void CTableModel::RemoveItemAttributes(const QModelIndex& Index, bool Recurse, bool WithChildren)
{
    if (!Index.isValid()) return;
    const U32 Key = GetCachedKey(Index);
    for (auto& Table : m_Attributes) Table.remove(Key);
    if (!WithChildren) return;
    const QModelIndex First = Index.siblingAtColumn(0);
    const int NumRows = rowCount(First);
    for (int i = 0; i < NumRows; i++) RemoveItemAttributes(index(i, 0, First), Recurse, Recurse);
}

void CTableModel::ForgetItem(const QModelIndex& Index)
{
    if (Index.isValid()) m_Attributes[ROLE_READ_STATE].remove(GetCachedKey(Index));
}

void CTableModel::ClearRole(int Role)
{
    m_Attributes.remove(Role);
}

void CTableModel::RemoveRoleValue(int Role, U32 Value)
{
    auto it = m_Attributes.find(Role);
    if (it != m_Attributes.end())
        it->removeIf([Value](const auto& Entry) { return Entry.value().toUInt() == Value; });
}

void CTableModel::BackupAttributes()
{
    for (int Role : aBackupRoles) m_Backup[Role] = m_Attributes.value(Role);
}

void CTableModel::RestoreAttributes()
{
    for (int Role : aBackupRoles)
        if (m_Backup.contains(Role)) m_Attributes[Role] = m_Backup.value(Role);
}

void CTableModel::AgeChangeLevels(int Role)
{
    auto it = m_Attributes.find(Role);
    if (it == m_Attributes.end()) return;
    for (QVariant& Level : *it) Level = U32(U8(Level.toUInt() + 1));
}

// ---- Values ----------------------------------------------------------------------------------------------

bool CTableModel::UpdateItem(const QModelIndex&)
{
    return false;
}

void CTableModel::RefreshItem(const QModelIndex& Index)
{
    if (m_pWindow && m_pWindow->IsItemUpdateRequired(Index)) UpdateItem(Index);
}

void CTableModel::NotifyItemChanged(const QModelIndex& First, const QModelIndex& Last)
{
    emit dataChanged(First, Last);
}

int CTableModel::GetRadix(const QString& sText) const
{
    const QString sPlain = sText.trimmed();
    if (sPlain.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) return 16;
    if (sPlain.startsWith(QLatin1String("0b"), Qt::CaseInsensitive)) return 2;
    return 10;
}

bool CTableModel::ParseValue(const QString& sText, int Radix, U64& Value) const
{
    QString sPlain;
    for (const QChar Char : sText)
        if (!Char.isSpace() && Char != QChar(0x2008) && Char != u'\'' && Char != u'_') sPlain.append(Char);
    if (sText.trimmed().size() == 3 && sText.trimmed().startsWith(u'\'') && sText.trimmed().endsWith(u'\'')) {
        Value = sText.trimmed()[1].unicode();
        return true;
    }
    const bool Negative = sPlain.startsWith(u'-');
    if (Negative) sPlain.remove(0, 1);
    if (GetRadix(sPlain) != 10) {
        Radix = GetRadix(sPlain);
        sPlain.remove(0, 2);
    }
    bool Ok = false;
    const U64 Parsed = sPlain.toULongLong(&Ok, Radix == 2 || Radix == 16 ? Radix : 10);
    if (!Ok || sPlain.startsWith(u'+') || sPlain.startsWith(u'-')) return false;
    Value = Negative ? U64(0) - Parsed : Parsed;
    return true;
}

U32 CTableModel::GetItemKey(const QModelIndex& Index) const
{
    // Names, not row numbers, so that the attributes stay on the item when rows before it come and go.
    const QModelIndex First = Index.siblingAtColumn(0);
    const QString sName = GetItemText(First);
    const U32 ParentKey = First.parent().isValid() ? GetCachedKey(First.parent()) : 713;
    return HashText(ParentKey * 31 + 7, sName.isEmpty() ? QString::number(First.row()) : sName);
}

U32 CTableModel::GetCachedKey(const QModelIndex& Index) const
{
    const quintptr ID = Index.internalId();
    if (ID == 0) return GetItemKey(Index.siblingAtColumn(0)); // flat models give no ids to their rows
    const auto it = m_KeyCache.constFind(ID);
    if (it != m_KeyCache.constEnd()) return *it;
    const U32 Key = GetItemKey(Index.siblingAtColumn(0));
    m_KeyCache.insert(ID, Key);
    return Key;
}

QString CTableModel::MakeToolTip(const QModelIndex& Index) const
{
    bool HasTipColumn = false;
    const int TipColumn = data(Index, ROLE_TIP_COLUMN).toInt(&HasTipColumn);
    if (!HasTipColumn) return QString();
    QString sTip =
        QStringLiteral("<b>%1</b><table>").arg(GetItemText(Index.siblingAtColumn(TipColumn)).toHtmlEscaped());
    for (int Column = 0; Column < columnCount(); Column++) {
        const QModelIndex Cell = Index.siblingAtColumn(Column);
        const QString sText = GetItemText(Cell);
        if (Column == TipColumn || sText.isEmpty() || data(Cell, ROLE_TIP_ROW_HIDE).toInt() > 0) continue;
        sTip += QStringLiteral("<tr><td>%1&nbsp;&nbsp;</td><td>%2</td></tr>")
                    .arg(GetColumnName(Column).toHtmlEscaped(), sText.toHtmlEscaped());
    }
    return sTip + QStringLiteral("</table>");
}

QString CTableModel::GetItemText(const QModelIndex&) const
{
    return QString();
}

int CTableModel::GetItemDepth(const QModelIndex& Index) const
{
    int Depth = 0;
    for (QModelIndex Parent = Index.parent(); Parent.isValid(); Parent = Parent.parent()) Depth++;
    return Depth;
}

QIcon CTableModel::GetIcon(const QModelIndex&) const
{
    return QIcon();
}

#include "moc_tablemodel.cpp"
