// Where the data of a symbol lies at a PC. The operations of a location expression are mapped one by one to the parts of
// a location, which covers most of what compilers emit for variables; what has no such form is kept as an expression
// (program/symbols/locexpr.h) and runs on a stack when a frame is there.
#include "program/symbols/elfsym.h"
#include "program/symbols/diemodel.h"
#include "program/symbols/symcache.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr U32 FLAGS_INTERNAL = 28;
constexpr U32 MAX_OPERATIONS = 1000;

/// Turns the operations of one expression into the parts of a location.
class CLocBuilder {
public:
    CLocBuilder(const CDwarfInfo& Info, const DWARF_UNIT& Unit, U32 Attr, U32 PC)
        : m_Info(Info), m_Unit(Unit), m_Attr(Attr), m_PC(PC)
    {
    }
    ELF_SYM_LOC Build(const U8* pExpr, U32 Size, bool Nested = false);
    /// Build() has met what has no place in a location.
    bool IsPartial() const { return m_IsPartial; }

private:
    ELF_SYM_LOC_PART* _Add(U32 Type);
    bool _Operation(CByteCursor& Cur, U32 Op);
    void _Register(U32 Reg);
    void _BaseRegister(U32 Reg, I64 Offset);
    void _EntryValue(CByteCursor& Cur);
    void _ImplicitValue(CByteCursor& Cur);
    bool _Skip(CByteCursor& Cur, U32 Op);
    void _Fold();
    void _MakeComputed();

    const CDwarfInfo& m_Info;
    const DWARF_UNIT& m_Unit;
    U32 m_Attr, m_PC;
    bool m_Nested = false;
    bool m_IsFull = false;    ///< a part didn't fit
    bool m_IsPartial = false; ///< an operation could not be expressed
    ELF_SYM_LOC m_Loc{};
};

ELF_SYM_LOC_PART* CLocBuilder::_Add(U32 Type)
{
    if (m_Loc.NumParts == ELF_SYM_LOC_MAX_PARTS) {
        m_IsFull = true;
        ElfReport(ELF_ERR_TOO_MANY_PARTS, FLAGS_INTERNAL);
        return nullptr;
    }
    ELF_SYM_LOC_PART* pPart = &m_Loc.aPart[m_Loc.NumParts++];
    pPart->Type = Type;
    return pPart;
}

void CLocBuilder::_Register(U32 Reg)
{
    if (ELF_SYM_LOC_PART* pPart = _Add(ELF_LOC_REG)) pPart->Reg = Reg;
}

void CLocBuilder::_BaseRegister(U32 Reg, I64 Offset)
{
    const bool IsFrameBase = m_Attr == DW_AT_frame_base || m_Nested;
    ELF_SYM_LOC_PART* pPart = _Add(IsFrameBase ? ELF_LOC_REG_OFFSET : ELF_LOC_MEM_REG_OFFSET);
    if (!pPart) return;
    pPart->Reg = Reg;
    pPart->Offset = static_cast<I32>(Offset);
    if (IsFrameBase) return;
    pPart->NestedType = ELF_LOC_REG_OFFSET;
    pPart->NestedReg = Reg;
    pPart->NestedOffset = static_cast<I32>(Offset);
}

void CLocBuilder::_EntryValue(CByteCursor& Cur)
{
    const U64 Size = Cur.GetULeb();
    const U8* pBlock = Cur.GetBytes(Size);
    ELF_SYM_LOC Inner{};
    if (pBlock && !m_Nested) {
        CLocBuilder Builder(m_Info, m_Unit, m_Attr, m_PC);
        Inner = Builder.Build(pBlock, static_cast<U32>(Size), true);
    }
    if (Inner.NumParts == 0) {
        ElfReport(ELF_ERR_ENTRY_VALUE, FLAGS_INTERNAL);
        m_IsPartial = true;
        return;
    }
    ELF_SYM_LOC_PART* pPart = _Add(ELF_LOC_ENTRY_VALUE);
    if (!pPart) return;
    pPart->NestedType = Inner.aPart[0].Type;
    pPart->NestedAddr = Inner.aPart[0].Addr;
    pPart->NestedReg = Inner.aPart[0].Reg;
    pPart->NestedOffset = Inner.aPart[0].Offset;
}

void CLocBuilder::_ImplicitValue(CByteCursor& Cur)
{
    const U64 Size = Cur.GetULeb();
    const U8* pBlock = Cur.GetBytes(Size);
    if (!pBlock) return;
    if (Size > 8) ElfReport(ELF_ERR_IMPLICIT_VALUE_SIZE, FLAGS_INTERNAL);
    CByteCursor Value(pBlock, Size, m_Info.Sections().BigEndian);
    if (ELF_SYM_LOC_PART* pPart = _Add(ELF_LOC_CONST)) pPart->Value = Value.GetUnsigned(static_cast<U32>(std::min<U64>(Size, 8)));
}

/// Steps over an operation that has no place in a location. What stands around it would be a wrong place or value
/// without it.
bool CLocBuilder::_Skip(CByteCursor& Cur, U32 Op)
{
    ElfReport(ELF_ERR_LOC_ELEMENT, FLAGS_INTERNAL);
    m_IsPartial = true;
    switch (Op) {
    case DW_OP_pick:
    case DW_OP_deref_size:
    case DW_OP_xderef_size: Cur.Skip(1); break;
    case DW_OP_bra:
    case DW_OP_skip:
    case DW_OP_call2: Cur.Skip(2); break;
    case DW_OP_call4:
    case DW_OP_GNU_parameter_ref: Cur.Skip(4); break;
    case DW_OP_call_ref:
    case DW_OP_GNU_variable_value: Cur.Skip(m_Unit.OffsetSize); break;
    case DW_OP_constx:
    case DW_OP_convert:
    case DW_OP_GNU_convert:
    case DW_OP_reinterpret:
    case DW_OP_GNU_reinterpret:
    case DW_OP_GNU_const_index: Cur.SkipLeb(); break;
    case DW_OP_deref_type:
    case DW_OP_GNU_deref_type:
        Cur.Skip(1);
        Cur.SkipLeb();
        break;
    case DW_OP_const_type:
    case DW_OP_GNU_const_type:
        Cur.SkipLeb();
        Cur.Skip(Cur.GetU8());
        break;
    case DW_OP_implicit_pointer:
    case DW_OP_GNU_implicit_pointer:
        Cur.Skip(m_Unit.Version <= 2 ? m_Unit.AddrSize : m_Unit.OffsetSize);
        Cur.SkipLeb();
        break;
    default: break; // arithmetic and the like have no operands
    }
    return Cur.IsOk();
}

bool CLocBuilder::_Operation(CByteCursor& Cur, U32 Op)
{
    if (Op >= DW_OP_reg0 && Op <= DW_OP_reg31) {
        _Register(Op - DW_OP_reg0);
        return true;
    }
    if (Op >= DW_OP_breg0 && Op <= DW_OP_breg31) {
        _BaseRegister(Op - DW_OP_breg0, Cur.GetSLeb());
        return Cur.IsOk();
    }
    if (Op >= DW_OP_lit0 && Op <= DW_OP_lit31) {
        if (ELF_SYM_LOC_PART* pPart = _Add(ELF_LOC_CONST)) pPart->Value = Op - DW_OP_lit0;
        return true;
    }
    auto Constant = [&](U64 Value) {
        if (ELF_SYM_LOC_PART* pPart = Cur.IsOk() ? _Add(ELF_LOC_CONST) : nullptr) pPart->Value = Value;
    };
    auto Memory = [&](U64 Addr) {
        if (ELF_SYM_LOC_PART* pPart = Cur.IsOk() ? _Add(ELF_LOC_MEM_FIXED) : nullptr) {
            pPart->Addr = ELF_ToRuntimeAddr(static_cast<U32>(Addr), 1, 0);
        }
    };
    auto WithOffset = [&](U32 Type, I64 Offset) {
        if (ELF_SYM_LOC_PART* pPart = Cur.IsOk() ? _Add(Type) : nullptr) pPart->Offset = static_cast<I32>(Offset);
    };
    switch (Op) {
    case DW_OP_addr: Memory(Cur.GetUnsigned(m_Unit.AddrSize)); break;
    case DW_OP_addrx:
    case DW_OP_GNU_addr_index: {
        U32 Addr = 0;
        if (m_Info.GetIndexedAddr(m_Unit, Cur.GetULeb(), Addr)) Memory(Addr);
        break;
    }
    case DW_OP_const1u: Constant(Cur.GetU8()); break;
    case DW_OP_const1s: Constant(static_cast<U64>(Cur.GetSigned(1))); break;
    case DW_OP_const2u: Constant(Cur.GetU16()); break;
    case DW_OP_const2s: Constant(static_cast<U64>(Cur.GetSigned(2))); break;
    case DW_OP_const4u: Constant(Cur.GetU32()); break;
    case DW_OP_const4s: Constant(static_cast<U64>(Cur.GetSigned(4))); break;
    case DW_OP_const8u:
    case DW_OP_const8s: Constant(Cur.GetU64()); break;
    case DW_OP_constu: Constant(Cur.GetULeb()); break;
    case DW_OP_consts: Constant(static_cast<U64>(Cur.GetSLeb())); break;
    case DW_OP_regx: _Register(static_cast<U32>(Cur.GetULeb())); break;
    case DW_OP_regval_type:
    case DW_OP_GNU_regval_type: {
        const U32 Reg = static_cast<U32>(Cur.GetULeb());
        Cur.SkipLeb();
        if (Cur.IsOk()) _Register(Reg);
        break;
    }
    case DW_OP_bregx: {
        const U32 Reg = static_cast<U32>(Cur.GetULeb());
        _BaseRegister(Reg, Cur.GetSLeb());
        break;
    }
    case DW_OP_fbreg: WithOffset(ELF_LOC_MEM_FB_OFFSET, Cur.GetSLeb()); break;
    case DW_OP_plus_uconst: WithOffset(ELF_LOC_PARENT_LOC, static_cast<I64>(Cur.GetULeb())); break;
    case DW_OP_call_frame_cfa: {
        const ELF_SYM_LOC Cfa = ELF_GetCfa(m_PC);
        if (Cfa.NumParts == 0) break;
        if (ELF_SYM_LOC_PART* pPart = _Add(ELF_LOC_NONE)) *pPart = Cfa.aPart[0];
        break;
    }
    case DW_OP_implicit_value: _ImplicitValue(Cur); break;
    case DW_OP_entry_value:
    case DW_OP_GNU_entry_value: _EntryValue(Cur); break;
    case DW_OP_piece: {
        const U64 Size = Cur.GetULeb();
        if (m_Loc.NumParts && !m_Loc.aPart[m_Loc.NumParts - 1].Size) m_Loc.aPart[m_Loc.NumParts - 1].Size = static_cast<U32>(Size);
        else m_IsPartial = true; // a piece that is lost; without it the others would be of other bytes
        break;
    }
    case DW_OP_bit_piece:
        Cur.SkipLeb();
        Cur.SkipLeb();
        ElfReport(ELF_ERR_BIT_PIECE, FLAGS_INTERNAL);
        m_IsPartial = true;
        break;
    case DW_OP_stack_value:
        // Of a value in pieces this one is computed; behind the last part Build() looks after it.
        if (!Cur.AtEnd()) _MakeComputed();
        break;
    case DW_OP_nop: break;
    default: return _Skip(Cur, Op);
    }
    return Cur.IsOk();
}

void CLocBuilder::_Fold()
{
    ELF_SYM_LOC_PART& First = m_Loc.aPart[0];
    ELF_SYM_LOC_PART& Second = m_Loc.aPart[1];
    if (m_Loc.NumParts != 2 || Second.Type != ELF_LOC_PARENT_LOC) return;
    if (First.Type == ELF_LOC_ENTRY_VALUE || First.Type == ELF_LOC_CONST || First.Type == ELF_LOC_COMPUTED) {
        // A value that something is added to is no place that has an offset.
        m_IsPartial = true;
        return;
    }
    // Unsigned sums: what damaged input adds up to must wrap, not overflow.
    const U32 Offset = static_cast<U32>(Second.Offset);
    if (First.Type == ELF_LOC_MEM_FIXED) {
        First.Addr += Offset;
    } else {
        if (First.Type == ELF_LOC_REG) First.Type = ELF_LOC_REG_OFFSET;
        First.Offset = static_cast<I32>(static_cast<U32>(First.Offset) + Offset);
        if (First.Type == ELF_LOC_MEM_REG_OFFSET) First.NestedOffset = First.Offset;
    }
    Second = ELF_SYM_LOC_PART();
    m_Loc.NumParts = 1;
}

/// The last part is a value without storage: it moves into the nested fields.
void CLocBuilder::_MakeComputed()
{
    if (m_Loc.NumParts == 0) return;
    ELF_SYM_LOC_PART& Part = m_Loc.aPart[m_Loc.NumParts - 1];
    // The value on entry has no storage either way; it keeps its type, which can still be resolved in the caller.
    if (Part.Type == ELF_LOC_ENTRY_VALUE || Part.Type == ELF_LOC_CONST || Part.Type == ELF_LOC_COMPUTED) return;
    ELF_SYM_LOC_PART Value{};
    Value.Type = ELF_LOC_COMPUTED;
    Value.NestedAddr = Part.Addr;
    Value.NestedReg = Part.Reg;
    Value.NestedOffset = Part.Offset;
    // A value made of a register and an offset is not the memory there.
    Value.NestedType = Part.Type == ELF_LOC_MEM_REG_OFFSET ? ELF_LOC_REG_OFFSET : Part.Type;
    Part = Value;
}

ELF_SYM_LOC CLocBuilder::Build(const U8* pExpr, U32 Size, bool Nested)
{
    m_Nested = Nested;
    CByteCursor Cur(pExpr, Size, m_Info.Sections().BigEndian);
    U32 LastOp = 0;
    for (U32 i = 0; i < MAX_OPERATIONS && !Cur.AtEnd() && !m_IsFull; i++) {
        LastOp = Cur.GetU8();
        if (!_Operation(Cur, LastOp)) break;
    }
    if (!m_IsPartial) _Fold();
    if (m_IsPartial) return {};
    if (LastOp == DW_OP_stack_value && m_Loc.NumParts == 1) _MakeComputed();
    return m_Loc;
}

U32 LocationAttr(U32 Tag)
{
    switch (Tag) {
    case DW_TAG_member:
    case DW_TAG_inheritance: return DW_AT_data_member_location;
    case DW_TAG_subprogram:
    case DW_TAG_inlined_subroutine: return DW_AT_frame_base;
    default: return DW_AT_location;
    }
}

ELF_SYM_LOC OnePart(U32 Type, U32 Addr, I32 Offset, U64 Value)
{
    ELF_SYM_LOC Loc{};
    Loc.NumParts = 1;
    Loc.aPart[0].Type = Type;
    Loc.aPart[0].Addr = Addr;
    Loc.aPart[0].Offset = Offset;
    Loc.aPart[0].Value = Value;
    return Loc;
}

/// The expression that holds at a PC (as linked); false if none does.
bool ChooseEntry(const std::vector<DWARF_LOC_ENTRY>& aEntry, U32 PC, const U8*& pExpr, U32& Size)
{
    for (const DWARF_LOC_ENTRY& Entry : aEntry) {
        if (!Entry.ExprSize) continue;
        const bool Any = PC == 0 || PC == 0xFFFFFFFFu;
        const U64 High = std::min<U64>(Entry.High, 0xFFFFFFFFu);
        if (Any || (Entry.Low == High ? Entry.Low == PC : Entry.Low <= PC && PC < High)) {
            pExpr = Entry.pExpr;
            Size = Entry.ExprSize;
            return true;
        }
    }
    return false;
}

ELF_SYM_LOC LocationByAttr(const ELF_FILE& File, const DWARF_DIE& Die, U32 Attr, U32 PC)
{
    SYM_EXPRESSION Expr;
    if (!SymFindLocation(File, Die, Attr, PC, &Expr)) return {};
    CLocBuilder Builder(File.Info, *Expr.pUnit, Attr, PC);
    const ELF_SYM_LOC Loc = Builder.Build(Expr.pBytes, Expr.Size);
    // Where a member lies can't depend on a frame.
    if (!Builder.IsPartial() || Attr == DW_AT_data_member_location) return Loc;
    return SymKeepExpression(File, Expr);
}

ELF_SYM_LOC MemberLocation(const ELF_FILE& File, const DWARF_DIE& Die)
{
    const DWARF_VALUE Value = DieAttr(File, Die, DW_AT_data_member_location);
    if (Value.Class == DWARF_CLASS::CONSTANT || Value.Class == DWARF_CLASS::SIGNED) {
        return OnePart(ELF_LOC_PARENT_LOC, 0, static_cast<I32>(Value.Value), 0);
    }
    const DWARF_SCOPE* pScope = File.FindParentScope(Die.Id);
    const bool InUnion = pScope && pScope->Tag == DW_TAG_union_type;
    if (InUnion || DieAttr(File, Die, DW_AT_data_bit_offset)) return OnePart(ELF_LOC_PARENT_LOC, 0, 0, 0);
    return {};
}

bool IsMemoryType(U32 Type)
{
    return Type == 2 || Type == 3 || Type == 6 || Type == 10 || Type == 11 || Type == 12 || Type == 15 || Type == 16;
}
bool IsRegisterType(U32 Type)
{
    return Type == ELF_LOC_REG || Type == ELF_LOC_REG_OFFSET;
}

} // namespace

bool SymFindLocation(const ELF_FILE& File, const DWARF_DIE& Die, U32 Attr, U32 PC, SYM_EXPRESSION* pExpr)
{
    DWARF_DIE Owner;
    const DWARF_VALUE Value = DieAttr(File, Die, Attr, &Owner);
    if (!Value) return false;
    *pExpr = {nullptr, 0, Owner.pUnit, false};
    if (Value.Class == DWARF_CLASS::EXPRESSION || Value.Class == DWARF_CLASS::BLOCK) {
        pExpr->pBytes = Value.pBlock;
        pExpr->Size = Value.BlockSize;
    } else if (Attr != DW_AT_data_member_location || Value.Class == DWARF_CLASS::OFFSET) {
        std::vector<DWARF_LOC_ENTRY> aEntry;
        const U32 LinkPC = PC == 0 || PC == 0xFFFFFFFFu ? PC : ELF_FromRuntimeAddr(PC, 1, 0);
        if (!DwarfReadLocList(File.Info, *Owner.pUnit, Value, aEntry)) return false;
        if (!ChooseEntry(aEntry, LinkPC, pExpr->pBytes, pExpr->Size)) return false;
    }
    return pExpr->pBytes != nullptr;
}

bool ELF_IsMemPart(U32 LocType)
{
    switch (LocType) {
    case ELF_LOC_MEM_FIXED:
    case ELF_LOC_MEM_ADDR_OFFSET:
    case ELF_LOC_MEM_REG_OFFSET:
    case ELF_LOC_MEM_SP_OFFSET:
    case ELF_LOC_MEM_FB_OFFSET:
    case ELF_LOC_MEM_CFA_OFFSET:
    case ELF_LOC_ENTRY_VALUE:
    case ELF_LOC_COMPUTED: return true;
    default: return false;
    }
}

bool ELF_IsRegPart(U32 LocType)
{
    return LocType == ELF_LOC_REG || LocType == ELF_LOC_REG_OFFSET;
}

ELF_SYM_LOC ELF_GetSymLoc(ELF_SYM_HANDLE hSym, U32 PC)
{
    if (const ELF_SYMBOL* pSym = ElfSymFind(hSym)) {
        if (pSym->IsFunction() || pSym->Type() > 2) return {};
        return OnePart(ELF_LOC_MEM_FIXED, ELF_ToRuntimeAddr(pSym->Value, 1, 0), 0, 0);
    }
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return {};
    const ELF_FILE& File = *Ref.pFile;
    const U32 Attr = LocationAttr(Ref.Die.Tag());
    ELF_SYM_LOC Loc = LocationByAttr(File, Ref.Die, Attr, PC);
    if (Loc.NumParts) return Loc;
    if (Attr == DW_AT_data_member_location) {
        Loc = LocationByAttr(File, Ref.Die, DW_AT_location, PC);
        if (!Loc.NumParts && !DieFlag(File, Ref.Die, DW_AT_external)) Loc = MemberLocation(File, Ref.Die);
    }
    if (!Loc.NumParts && Attr != DW_AT_frame_base) {
        // A variable that the compiler has turned into a constant has its value in place of a location.
        const DWARF_VALUE Value = DieAttr(File, Ref.Die, DW_AT_const_value);
        if (Value.pBlock) {
            CByteCursor Cur(Value.pBlock, Value.BlockSize, File.Image.IsBigEndian());
            if (Value.BlockSize <= 8) Loc = OnePart(ELF_LOC_CONST, 0, 0, Cur.GetUnsigned(Value.BlockSize));
        } else if (Value.Class == DWARF_CLASS::CONSTANT || Value.Class == DWARF_CLASS::SIGNED) {
            Loc = OnePart(ELF_LOC_CONST, 0, 0, Value.Value);
        }
    }
    return Loc;
}

ELF_SYM_LOC ELF_GetArrayBoundLoc(ELF_SYM_HANDLE hSym, U32 Dim, U32 PC, I64* pAdd)
{
    *pAdd = 0;
    DIE_REF Ref;
    if (!DieFind(ELF_GetSymType(hSym, true), Ref) || Ref.Die.Tag() != DW_TAG_array_type) return {};
    const ELF_FILE& File = *Ref.pFile;
    DWARF_DIE Child, Next;
    bool Has = File.FirstChild(Ref.Die, Child);
    for (U32 Index = 0; Has; Child = Next) {
        if (Child.Tag() == DW_TAG_subrange_type && Index++ == Dim) break;
        Has = File.NextSibling(Child, Next);
    }
    if (!Has) return {};
    DWARF_VALUE Bound = File.Info.GetAttr(Child, DW_AT_count);
    if (!Bound) {
        Bound = File.Info.GetAttr(Child, DW_AT_upper_bound);
        *pAdd = 1 - static_cast<I64>(File.Info.GetAttr(Child, DW_AT_lower_bound).Value);
    }
    DWARF_DIE Variable;
    if (Bound.Class == DWARF_CLASS::REFERENCE && File.ReadDie(static_cast<U32>(Bound.Value), Variable) && !Variable.IsNull())
        return LocationByAttr(File, Variable, DW_AT_location, PC);
    return Bound.pBlock ? SymKeepExpression(File, {Bound.pBlock, Bound.BlockSize, Child.pUnit, true}) : ELF_SYM_LOC{};
}

bool ELF_LocIsValid(const ELF_SYM_LOC& Loc)
{
    for (U32 i = 0; i < Loc.NumParts && i < ELF_SYM_LOC_MAX_PARTS; i++) {
        const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
        const bool IsFixed = Part.Type >= ELF_LOC_CONST && Part.Type <= ELF_LOC_MEM_ADDR_OFFSET;
        if (!IsFixed && !(IsRegisterType(Part.Type) && Part.Reg != ELF_REG_UNDEFINED && Part.Reg != ELF_REG_SAME_VALUE)) return false;
    }
    return Loc.NumParts > 0;
}

bool ELF_LocIsMixed(const ELF_SYM_LOC& Loc)
{
    bool HasRegister = false, HasMemory = false;
    for (U32 i = 0; i < Loc.NumParts && i < ELF_SYM_LOC_MAX_PARTS; i++) {
        HasRegister |= IsRegisterType(Loc.aPart[i].Type);
        HasMemory |= IsMemoryType(Loc.aPart[i].Type);
    }
    return HasRegister && HasMemory;
}

bool ELF_LocIsRegister(const ELF_SYM_LOC& Loc)
{
    return Loc.NumParts > 0 && IsRegisterType(Loc.aPart[0].Type) && !ELF_LocIsMixed(Loc);
}
bool ELF_LocIsMemory(const ELF_SYM_LOC& Loc)
{
    return Loc.NumParts > 0 && IsMemoryType(Loc.aPart[0].Type) && !ELF_LocIsMixed(Loc);
}
bool ELF_LocIsSingle(const ELF_SYM_LOC& Loc)
{
    return Loc.NumParts == 1 && !ELF_LocIsMixed(Loc);
}
bool ELF_LocIsEqual(const ELF_SYM_LOC& A, const ELF_SYM_LOC& B)
{
    return std::memcmp(&A, &B, sizeof(A)) == 0;
}

const char* ELF_GetLocText(const ELF_SYM_LOC& Loc, U32 Part)
{
    static char s_acText[64];
    struct FORMS {
        const char* sOffset; ///< before sign and offset
        const char* sEnd;    ///< behind the offset
        const char* sPlain;  ///< without offset
    };
    static constexpr FORMS FORM[ELF_LOC_NUM_TYPES] = {
        {nullptr, nullptr, "N/A"}, {nullptr, nullptr, "const"}, {nullptr, nullptr, nullptr}, {"", "", nullptr},
        {nullptr, nullptr, nullptr}, {"", "", nullptr}, {"", "", nullptr}, {"SP", "", "SP"}, {"BP", "", "BP"},
        {"CFA", "", "CFA"}, {"[SP", "]", "[SP]"}, {"[BP", "]", "[BP]"}, {"[CFA", "]", "[CFA]"},
        {"Parent value", "", "Parent value"}, {"Parent loc", "", "Parent loc"},
        {nullptr, nullptr, "? (on entry)"}, {nullptr, nullptr, "N/A"}};
    if (Part >= Loc.NumParts || Part >= ELF_SYM_LOC_MAX_PARTS || Loc.aPart[Part].Type >= ELF_LOC_NUM_TYPES) return "N/A";
    const ELF_SYM_LOC_PART& P = Loc.aPart[Part];
    char acReg[24];
    if (P.Reg == ELF_REG_UNDEFINED) std::snprintf(acReg, sizeof(acReg), "<undefined>");
    else if (P.Reg == ELF_REG_SAME_VALUE) std::snprintf(acReg, sizeof(acReg), "same as caller");
    else std::snprintf(acReg, sizeof(acReg), "R%u", P.Reg);
    char acName[48];
    switch (P.Type) {
    case ELF_LOC_MEM_FIXED:
    case ELF_LOC_MEM_ADDR_OFFSET: std::snprintf(acName, sizeof(acName), "[%X]", P.Addr); break;
    case ELF_LOC_REG:
    case ELF_LOC_REG_OFFSET: std::snprintf(acName, sizeof(acName), "%s", acReg); break;
    case ELF_LOC_MEM_REG_OFFSET: std::snprintf(acName, sizeof(acName), "[%s]", acReg); break;
    default: std::snprintf(acName, sizeof(acName), "%s", FORM[P.Type].sPlain); break;
    }
    const FORMS& Form = FORM[P.Type];
    if (P.Offset == 0 || !Form.sOffset) {
        std::snprintf(s_acText, sizeof(s_acText), "%s", acName);
    } else {
        std::snprintf(s_acText, sizeof(s_acText), "%s %s %lld%s", *Form.sOffset ? Form.sOffset : acName,
                      P.Offset < 0 ? "-" : "+", std::llabs(static_cast<long long>(P.Offset)), Form.sEnd);
    }
    return s_acText;
}
