#include "views/debug/localsviewmodel.h"

#include "views/framework/displayformat.h"
#include "views/framework/modelviewwindow.h"

namespace {

constexpr TABLE_COLUMN aColumns[NUM_LOCALS_COLUMNS] = {
    {"Name", COLUMN_TEXT, 110},
    {"Value", COLUMN_NUMERIC, 108},
    {"Location", COLUMN_HEX | COLUMN_NUMERIC, 80},
    {"Size", COLUMN_DEC | COLUMN_NUMERIC, 46, "Bytes"},
    {"Type", COLUMN_VALUE_FONT | COLUMN_TEXT, 96},
    {"Scope", COLUMN_TEXT, 60},
};

bool IsSameCells(const VIEW_SYMBOL& A, const VIEW_SYMBOL& B)
{
    return A.sValue == B.sValue && A.sLocation == B.sLocation && A.Size == B.Size && A.sType == B.sType && A.sScope == B.sScope &&
           A.HasMembers == B.HasMembers && A.SortValue == B.SortValue && A.IsValueValid == B.IsValueValid;
}

} // namespace

CLocalsViewModel::CLocalsViewModel(QObject* pParent) : CTableModel(pParent, QStringLiteral("LocalsModel")) { SetColumns(aColumns, NUM_LOCALS_COLUMNS); }
CLocalsViewModel::~CLocalsViewModel() = default;

// ---- Tree ------------------------------------------------------------------------------------------------

CLocalsViewModel::NODE* CLocalsViewModel::GetNode(const QModelIndex& Index) const
{
    return Index.isValid() ? static_cast<NODE*>(Index.internalPointer()) : const_cast<NODE*>(&m_Root);
}

QModelIndex CLocalsViewModel::GetIndex(const NODE& Node, int Column) const
{
    return &Node == &m_Root ? QModelIndex() : createIndex(Node.Row, Column, const_cast<NODE*>(&Node));
}

QModelIndex CLocalsViewModel::index(int Row, int Column, const QModelIndex& Parent) const
{
    const NODE* pParent = GetNode(Parent);
    if (Row < 0 || Column < 0 || Column >= NUM_LOCALS_COLUMNS || Row >= rowCount(Parent)) return QModelIndex();
    return createIndex(Row, Column, pParent->Children[size_t(Row)].get());
}

QModelIndex CLocalsViewModel::parent(const QModelIndex& Index) const { return Index.isValid() ? GetIndex(*GetNode(Index)->pParent) : QModelIndex(); }
int CLocalsViewModel::rowCount(const QModelIndex& Parent) const { return Parent.column() > 0 ? 0 : int(GetNode(Parent)->Children.size()); }

bool CLocalsViewModel::hasChildren(const QModelIndex& Parent) const
{
    if (Parent.column() > 0) return false;
    const NODE* pNode = GetNode(Parent);
    return pNode == &m_Root || pNode->IsLoaded ? !pNode->Children.empty() : pNode->Symbol.HasMembers;
}

bool CLocalsViewModel::canFetchMore(const QModelIndex& Parent) const
{
    const NODE* pNode = GetNode(Parent);
    return pNode != &m_Root && Parent.column() == 0 && !pNode->IsLoaded && pNode->Symbol.HasMembers;
}

QStringList CLocalsViewModel::GetPath(const QModelIndex& Index) const
{
    QStringList Path;
    for (const NODE* pNode = GetNode(Index); pNode != &m_Root; pNode = pNode->pParent) Path.prepend(pNode->Symbol.sName);
    return Path;
}

// ---- Cells -----------------------------------------------------------------------------------------------

/// The value in the format that was chosen for the item or the window; the type's own text otherwise.
QString CLocalsViewModel::GetValueText(const QModelIndex& Index, const VIEW_SYMBOL& Symbol) const
{
    const int Format = GetWindow() ? GetWindow()->GetItemDisplayFormat(Index) : int(DISPLAY_FORMAT_AUTO);
    const bool IsNumber = Symbol.IsValueValid && !Symbol.HasMembers && Symbol.Size > 0 && Symbol.Size <= 8 &&
                          !Symbol.sType.contains(QLatin1String("float")) && !Symbol.sType.contains(QLatin1String("double"));
    if (Format == DISPLAY_FORMAT_AUTO || !IsNumber) return Symbol.sValue;
    const U32 NumBits = Symbol.Size * 8;
    const U64 Value = NumBits < 64 ? Symbol.SortValue & ((U64(1) << NumBits) - 1) : Symbol.SortValue;
    if (Format == DISPLAY_FORMAT_DEC)
        return Symbol.sType.contains(QLatin1String("unsigned")) || Symbol.sType.contains(u'*') ? QString::number(Value)
                                                                                               : QString::number(I64(Symbol.SortValue));
    return FormatValue(Value, Format, Format == DISPLAY_FORMAT_HEX ? int(Symbol.Size * 2) : 0);
}

QString CLocalsViewModel::GetItemText(const QModelIndex& Index) const
{
    if (!Index.isValid()) return QString();
    const VIEW_SYMBOL& Symbol = GetNode(Index)->Symbol;
    switch (Index.column()) {
    case LOCALS_COLUMN_NAME: return Symbol.sName;
    case LOCALS_COLUMN_VALUE: return GetValueText(Index, Symbol);
    case LOCALS_COLUMN_LOCATION: return Symbol.sLocation;
    case LOCALS_COLUMN_SIZE: return QString::number(Symbol.Size);
    case LOCALS_COLUMN_TYPE: return Symbol.sType;
    case LOCALS_COLUMN_SCOPE: return Symbol.sScope;
    default: return QString();
    }
}

QVariant CLocalsViewModel::data(const QModelIndex& Index, int Role) const
{
    if (!Index.isValid()) return QVariant();
    if (Role == ROLE_TIP_COLUMN) return int(LOCALS_COLUMN_NAME);
    if (Role != ROLE_SORT_VALUE) return CTableModel::data(Index, Role);
    const VIEW_SYMBOL& Symbol = GetNode(Index)->Symbol;
    if (Index.column() == LOCALS_COLUMN_SIZE) return Symbol.Size;
    if (Index.column() == LOCALS_COLUMN_LOCATION) {
        bool Ok = false;
        const U64 Addr = Symbol.sLocation.toULongLong(&Ok, 16);
        return Ok ? QVariant(qulonglong(Addr)) : QVariant(-1);
    }
    return Symbol.IsValueValid ? QVariant(qulonglong(Symbol.SortValue)) : QVariant(-1);
}

U32 CLocalsViewModel::GetItemKey(const QModelIndex& Index) const { return GetNode(Index)->Key; }

void CLocalsViewModel::SetRole(const QModelIndex& Index, int Role, U32 Value, bool Recurse, bool Always)
{
    CTableModel::SetRole(Index, Role, Value, Recurse && Role != ROLE_EXPANDED, Always);
    if (Role == ROLE_EXPANDED && Value) LoadChildren(Index);
}

// ---- Fetching --------------------------------------------------------------------------------------------

QList<VIEW_SYMBOL> CLocalsViewModel::Ask(const NODE& Node) const
{
    return AskHook(GetDebugViewHooks().GetLocals, QList<VIEW_SYMBOL>(), GetPath(GetIndex(Node)));
}

std::unique_ptr<CLocalsViewModel::NODE> CLocalsViewModel::MakeNode(const VIEW_SYMBOL& Symbol, NODE& Parent, int Row) const
{
    auto pNode = std::make_unique<NODE>();
    pNode->Symbol = Symbol;
    pNode->pParent = &Parent;
    pNode->Row = Row;
    // A variable of an inner block may hide one of the same name: the second of a name has a key of its own.
    U32 Occurrence = 0;
    for (const auto& pSibling : Parent.Children)
        if (pSibling->Symbol.sName == Symbol.sName) Occurrence++;
    const U32 ParentKey = &Parent == &m_Root ? U32(qHash(m_sScope)) : Parent.Key;
    pNode->Key = U32(qHash(Symbol.sName, (size_t(ParentKey) << 8) + Occurrence));
    return pNode;
}

void CLocalsViewModel::TakeRow(NODE& Node, const VIEW_SYMBOL& Symbol)
{
    const bool IsNewRow = !GetStoredRole(GetIndex(Node), ROLE_READ_STATE).isValid();
    if (!IsNewRow && IsSameCells(Node.Symbol, Symbol)) return;
    Node.Symbol = Symbol;
    const QModelIndex First = GetIndex(Node);
    const bool IsPending = !Symbol.IsValueValid && Symbol.sValue.isEmpty() && !Symbol.HasMembers;
    if (Symbol.IsValueValid || IsPending)
        CTableModel::SetRole(First, ROLE_READ_STATE, IsPending ? READ_STATE_PENDING : READ_STATE_VALID, false, true);
    NotifyItemChanged(First, GetIndex(Node, NUM_LOCALS_COLUMNS - 1));
}

void CLocalsViewModel::Merge(NODE& Node, const QList<VIEW_SYMBOL>& Symbols)
{
    const QModelIndex Parent = GetIndex(Node);
    // The rows up to the first that is called otherwise stay; what follows is made anew.
    size_t NumSame = 0;
    while (NumSame < Node.Children.size() && qsizetype(NumSame) < Symbols.size() &&
           Node.Children[NumSame]->Symbol.sName == Symbols[qsizetype(NumSame)].sName)
        NumSame++;
    if (NumSame < Node.Children.size()) {
        beginRemoveRows(Parent, int(NumSame), int(Node.Children.size()) - 1);
        Node.Children.resize(NumSame);
        endRemoveRows();
    }
    if (qsizetype(NumSame) < Symbols.size()) {
        beginInsertRows(Parent, int(NumSame), int(Symbols.size()) - 1);
        for (qsizetype i = qsizetype(NumSame); i < Symbols.size(); i++) Node.Children.push_back(MakeNode(Symbols[i], Node, int(i)));
        endInsertRows();
    }
    for (size_t i = 0; i < Node.Children.size(); i++) TakeRow(*Node.Children[i], Symbols[qsizetype(i)]);
}

void CLocalsViewModel::RefreshLevel(NODE& Node)
{
    Merge(Node, Ask(Node));
    for (const auto& pChild : Node.Children) {
        if (!pChild->IsLoaded) continue;
        // A folded level is dropped: the next unfolding fetches it, and until then it costs no reads.
        if (GetStoredRole(GetIndex(*pChild), ROLE_EXPANDED).toInt() == 0) {
            Merge(*pChild, {});
            pChild->IsLoaded = false;
        } else
            RefreshLevel(*pChild);
    }
}

void CLocalsViewModel::Refresh() { RefreshLevel(m_Root); }

void CLocalsViewModel::LoadChildren(const QModelIndex& Index)
{
    NODE* pNode = GetNode(Index);
    if (pNode == &m_Root || pNode->IsLoaded || !pNode->Symbol.HasMembers) return;
    pNode->IsLoaded = true;
    Merge(*pNode, Ask(*pNode));
}

void CLocalsViewModel::SetScope(const QString& sScope)
{
    BeginReset();
    m_sScope = sScope;
    m_Root.Children.clear();
    EndReset();
}

#include "moc_localsviewmodel.cpp"
