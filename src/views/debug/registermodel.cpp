#include "views/debug/registermodel.h"

#include "views/framework/modelviewwindow.h"
#include "views/theme/icons.h"

#include <algorithm>

namespace {
enum COLUMNS { COL_NAME, COL_VALUE, COL_ADDRESS, COL_DESCRIPTION, NUM_COLUMNS };
constexpr TABLE_COLUMN aColumns[] = {{"Name", COLUMN_TEXT, 165},
                                     {"Value", COLUMN_NUMERIC, 140},
                                     {"Address", COLUMN_HEX, 80},
                                     {"Description", COLUMN_TEXT, 140}};
static_assert(std::size(aColumns) == NUM_COLUMNS);
constexpr int MAX_BATCH = 256; ///< registers in one request
const QString sUnknown = QStringLiteral("--------");
/// Ids of indexes: a group holds its number plus one, a register the number of its group in the upper half as
/// well.
constexpr quintptr GROUP_SHIFT = 16;
} // namespace

CRegistersDataModel::CRegistersDataModel(QObject* pParent)
    : CTableModel(pParent, QStringLiteral("RegistersDataModel"))
{
    SetColumns(aColumns, NUM_COLUMNS);
}

void CRegistersDataModel::SetGroups(const QList<VIEW_REG_GROUP>& Groups)
{
    BeginReset();
    m_Groups = Groups;
    EndReset();
}

bool CRegistersDataModel::ShowsCPUMode() const
{
    return std::any_of(m_Groups.cbegin(), m_Groups.cend(),
                       [](const VIEW_REG_GROUP& Group) { return Group.ShowsCPUMode; });
}

void CRegistersDataModel::Invalidate()
{
    m_Values.clear();
    ClearRole(ROLE_READ_STATE);
    for (int i = 0; i < rowCount(); i++)
        if (const int NumRegs = rowCount(index(i, 0)))
            NotifyItemChanged(index(0, 0, index(i, 0)), index(NumRegs - 1, NUM_COLUMNS - 1, index(i, 0)));
}

int CRegistersDataModel::rowCount(const QModelIndex& Parent) const
{
    if (!Parent.isValid()) return int(m_Groups.size());
    return Parent.parent().isValid() || Parent.column() > 0 ? 0 : int(m_Groups[Parent.row()].Regs.size());
}

QModelIndex CRegistersDataModel::index(int Row, int Column, const QModelIndex& Parent) const
{
    if (Row < 0 || Row >= rowCount(Parent) || Column < 0 || Column >= NUM_COLUMNS) return QModelIndex();
    if (!Parent.isValid()) return createIndex(Row, Column, quintptr(Row + 1));
    return createIndex(Row, Column, (quintptr(Parent.row() + 1) << GROUP_SHIFT) | quintptr(Row + 1));
}

QModelIndex CRegistersDataModel::parent(const QModelIndex& Index) const
{
    const quintptr Group = Index.isValid() ? Index.internalId() >> GROUP_SHIFT : 0;
    return Group == 0 ? QModelIndex() : createIndex(int(Group) - 1, 0, Group);
}

const VIEW_REG* CRegistersDataModel::GetReg(const QModelIndex& Index) const
{
    const QModelIndex Parent = Index.parent();
    if (!Parent.isValid() || Parent.row() >= m_Groups.size()) return nullptr;
    const QList<VIEW_REG>& Regs = m_Groups[Parent.row()].Regs;
    return Index.row() < Regs.size() ? &Regs[Index.row()] : nullptr;
}

QModelIndex CRegistersDataModel::FindReg(U32 RegIdx) const
{
    for (int i = 0; i < m_Groups.size(); i++)
        for (int j = 0; j < m_Groups[i].Regs.size(); j++)
            if (m_Groups[i].Regs[j].RegIdx == RegIdx) return index(j, 0, index(i, 0));
    return QModelIndex();
}

bool CRegistersDataModel::GetValue(const QModelIndex& Index, U64& Value) const
{
    const VIEW_REG* pReg = GetReg(Index);
    const auto it = pReg ? m_Values.constFind(pReg->RegIdx) : m_Values.constEnd();
    if (it == m_Values.constEnd()) return false;
    Value = *it;
    return true;
}

void CRegistersDataModel::SetRegValues(const QList<U32>& RegIdxs, const QList<U64>& Values,
                                       const QList<bool>& Valid)
{
    for (int i = 0; i < RegIdxs.size() && i < Values.size() && i < Valid.size(); i++) {
        if (Valid[i])
            m_Values.insert(RegIdxs[i], Values[i]);
        else
            m_Values.remove(RegIdxs[i]);
        const QModelIndex Index = FindReg(RegIdxs[i]);
        if (!Index.isValid()) continue;
        SetRole(Index, ROLE_READ_STATE, READ_STATE_VALID, false, true);
        NotifyItemChanged(Index, Index.siblingAtColumn(NUM_COLUMNS - 1));
    }
}

QString CRegistersDataModel::GetValueText(const QModelIndex& Index) const
{
    const VIEW_REG* pReg = GetReg(Index);
    if (!pReg) {
        const bool ShowsMode =
            IsTargetHalted() && !Index.parent().isValid() && m_Groups.value(Index.row()).ShowsCPUMode;
        return ShowsMode ? AskHook(GetDebugViewHooks().GetCPUModeName, QString()) : QString();
    }
    U64 Value = 0;
    if (!GetValue(Index, Value)) return IsTargetConnected() ? sUnknown : QString();
    const int Format = GetWindow() ? GetWindow()->GetItemDisplayFormat(Index) : int(DISPLAY_FORMAT_HEX);
    const int Digits = Format == DISPLAY_FORMAT_BINARY ? int(pReg->NumBits)
                       : Format == DISPLAY_FORMAT_DEC  ? 0
                                                       : int(pReg->NumBits + 3) / 4;
    return FormatValue(Value, Format == DISPLAY_FORMAT_AUTO ? int(DISPLAY_FORMAT_HEX) : Format, Digits);
}

QString CRegistersDataModel::GetItemText(const QModelIndex& Index) const
{
    const VIEW_REG* pReg = GetReg(Index);
    switch (Index.column()) {
    case COL_NAME:
        return pReg ? pReg->sName : m_Groups.value(Index.row()).sName;
    case COL_VALUE:
        return GetValueText(Index);
    case COL_DESCRIPTION:
        return pReg ? pReg->sDescription : m_Groups.value(Index.row()).sDescription;
    default:
        return QString();
    }
}

QIcon CRegistersDataModel::GetIcon(const QModelIndex& Index) const
{
    return Index.column() == COL_NAME && !Index.parent().isValid() ? ::GetIcon(QStringLiteral("cpu2"))
                                                                   : QIcon();
}

QVariant CRegistersDataModel::data(const QModelIndex& Index, int Role) const
{
    if (!Index.isValid()) return QVariant();
    if (Role == ROLE_TIP_COLUMN) return COL_NAME;
    if (Role == ROLE_SORT_VALUE) {
        U64 Value = 0;
        return GetValue(Index, Value) ? QVariant(qulonglong(Value)) : QVariant();
    }
    return CTableModel::data(Index, Role);
}

bool CRegistersDataModel::setData(const QModelIndex& Index, const QVariant& Value, int Role)
{
    if (Role != Qt::EditRole) return CTableModel::setData(Index, Value, Role);
    const VIEW_REG* pReg = GetReg(Index);
    if (!pReg || Index.column() != COL_VALUE) return false;
    U64 NewValue = 0;
    const int Format = GetWindow() ? GetWindow()->GetItemDisplayFormat(Index) : 0;
    if (!ParseValue(Value.toString(), Format == DISPLAY_FORMAT_AUTO ? int(DISPLAY_FORMAT_HEX) : Format,
                    NewValue))
        return false;
    // The write is a user's command, so that it is echoed; the new value comes back with the next read.
    return PerformWindowCommand(
               QStringLiteral("Target.SetReg"),
               {pReg->sName, QStringLiteral("0x") + QString::number(NewValue, 16).toUpper()}) >= 0;
}

bool CRegistersDataModel::UpdateItem(const QModelIndex& Index)
{
    const QModelIndex Group = Index.parent();
    if (!Group.isValid() || !IsTargetConnected()) return false;
    const QList<VIEW_REG>& Regs = m_Groups[Group.row()].Regs;
    for (int i = 0; i < Regs.size(); i++)
        SetRole(index(i, 0, Group), ROLE_READ_STATE, READ_STATE_PENDING, false, true);
    const auto& Hooks = GetDebugViewHooks();
    if (!IsTargetHalted() || Regs.size() > MAX_BATCH) return false;
    QList<U32> RegIdxs;
    for (const VIEW_REG& Reg : Regs) RegIdxs.append(Reg.RegIdx);
    QList<U64> Values;
    QList<bool> Valid;
    const int Frame = AskHook(Hooks.GetSelectedFrame, 0);
    const bool Known = Frame > 0 ? Hooks.ReadFrameRegs && Hooks.ReadFrameRegs(Frame, RegIdxs, Values, Valid)
                                 : Hooks.ReadRegs && Hooks.ReadRegs(RegIdxs, Values, Valid);
    if (Known) SetRegValues(RegIdxs, Values, Valid);
    return Known;
}

#include "moc_registermodel.cpp"
