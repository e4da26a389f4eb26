// The stack machine of location expressions.
#include "program/symbols/locexpr.h"
#include "program/symbols/diemodel.h"
#include "program/symbols/symcache.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>

namespace {

constexpr U32 MAX_OPERATIONS = 1000;
constexpr size_t MAX_STACK = 256;
constexpr U32 ADDRESS_SIZE = 4;
constexpr U64 MAX_PIECE_BYTES = 10000000; ///< no variable is larger
constexpr qsizetype MAX_PIECES = 10000;

/// A value with its type. The generic type is an address without a sign; its arithmetic wraps at 32 bits.
struct VALUE {
    U64 Bits = 0;
    U32 Size = ADDRESS_SIZE; ///< bytes, 1 to 8
    enum class KIND : U8 { GENERIC, SIGNED, UNSIGNED, FLOAT } Kind = KIND::GENERIC;

    I64 Signed() const
    {
        const U32 Shift = 64 - 8 * Size;
        return static_cast<I64>(Bits << Shift) >> Shift;
    }
    double Float() const { return Size == 4 ? static_cast<double>(std::bit_cast<float>(static_cast<U32>(Bits))) : std::bit_cast<double>(Bits); }
    void Set(U64 New) { Bits = Size < 8 ? New & ((1ull << 8 * Size) - 1) : New; }
    void SetFloat(double New) { Bits = Size == 4 ? std::bit_cast<U32>(static_cast<float>(New)) : std::bit_cast<U64>(New); }
    bool IsFloat() const { return Kind == KIND::FLOAT; }
    bool IsSameType(const VALUE& Other) const { return Kind == Other.Kind && Size == Other.Size; }
};
using KIND = VALUE::KIND;

/// The value in another type.
VALUE Convert(const VALUE& From, VALUE To)
{
    if (To.IsFloat()) {
        To.SetFloat(From.IsFloat() ? From.Float() : From.Kind == KIND::SIGNED ? static_cast<double>(From.Signed()) : static_cast<double>(From.Bits));
    } else if (From.IsFloat()) {
        // What doesn't fit has no defined value; it must not trap.
        const double Value = From.Float();
        To.Set(std::isfinite(Value) && std::fabs(Value) < 9e18 ? static_cast<U64>(static_cast<I64>(Value)) : 0);
    } else {
        To.Set(From.Kind == KIND::SIGNED ? static_cast<U64>(From.Signed()) : From.Bits);
    }
    return To;
}

std::optional<double> FloatResult(U32 Op, double A, double B)
{
    switch (Op) {
    case DW_OP_plus: return A + B;
    case DW_OP_minus: return A - B;
    case DW_OP_mul: return A * B;
    case DW_OP_div: return A / B;
    default: return {};
    }
}

std::optional<U64> IntegerResult(U32 Op, const VALUE& A, const VALUE& B)
{
    const U32 NumBits = A.Size * 8;
    const U64 Shift = B.Bits;
    switch (Op) {
    case DW_OP_plus: return A.Bits + B.Bits;
    case DW_OP_minus: return A.Bits - B.Bits;
    case DW_OP_mul: return A.Bits * B.Bits;
    case DW_OP_and: return A.Bits & B.Bits;
    case DW_OP_or: return A.Bits | B.Bits;
    case DW_OP_xor: return A.Bits ^ B.Bits;
    case DW_OP_shl: return Shift < NumBits ? A.Bits << Shift : 0;
    case DW_OP_shr: return Shift < NumBits ? A.Bits >> Shift : 0;
    case DW_OP_shra: return static_cast<U64>(A.Signed() >> std::min<U64>(Shift, NumBits - 1));
    case DW_OP_div:
        // The generic type is divided with a sign, unlike the remainder.
        if (B.Bits == 0) return {};
        if (A.Kind == KIND::UNSIGNED) return A.Bits / B.Bits;
        return B.Signed() == -1 ? 0 - A.Bits : static_cast<U64>(A.Signed() / B.Signed());
    case DW_OP_mod:
        if (B.Bits == 0) return {};
        if (A.Kind != KIND::SIGNED) return A.Bits % B.Bits;
        return B.Signed() == -1 ? 0 : static_cast<U64>(A.Signed() % B.Signed());
    default: return {};
    }
}

template <typename T> std::optional<bool> Compare(U32 Op, T A, T B)
{
    switch (Op) {
    case DW_OP_eq: return A == B;
    case DW_OP_ne: return A != B;
    case DW_OP_lt: return A < B;
    case DW_OP_le: return A <= B;
    case DW_OP_gt: return A > B;
    case DW_OP_ge: return A >= B;
    default: return {};
    }
}

class CLocMachine {
public:
    CLocMachine(const ELF_FILE& File, const SYM_EXPRESSION& Expr, CLocFrame& Frame)
        : m_File(File), m_Unit(*Expr.pUnit), m_Frame(Frame), m_Cur(Expr.pBytes, Expr.Size, File.Info.Sections().BigEndian), m_IsValue(Expr.IsValue)
    {
    }
    /// The stretches of the value; one without a size if it has one place. Empty: the frame doesn't know, or there is none.
    ELF_SYM_PIECES Run();

private:
    bool _Step(U32 Op);
    bool _Constant(U32 Op, bool* pIsDone);
    bool _Place(U32 Op, bool* pIsDone);
    bool _Typed(U32 Op, bool* pIsDone);
    bool _StackOp(U32 Op, bool* pIsDone);
    bool _Arithmetic(U32 Op);
    bool _Jump(bool IsTaken);
    bool _Deref(U32 NumBytes, VALUE Type);
    bool _EntryValue();
    bool _ImplicitValue();
    bool _ImplicitPointer();
    bool _EndPiece(U64 NumBits, U64 BitOffset);
    /// The base type at an offset of the unit; 0 is the generic one.
    bool _Type(U64 Offset, VALUE& Type) const;
    bool _Push(VALUE Value)
    {
        m_aStack.push_back(Value);
        return m_aStack.size() <= MAX_STACK && m_Cur.IsOk();
    }
    bool _PushGeneric(U64 Bits)
    {
        VALUE Value;
        Value.Set(Bits);
        return _Push(Value);
    }
    bool _Pop(VALUE& Value)
    {
        if (m_aStack.empty()) return false;
        Value = m_aStack.back();
        m_aStack.pop_back();
        return true;
    }

    const ELF_FILE& m_File;
    const DWARF_UNIT& m_Unit;
    CLocFrame& m_Frame;
    CByteCursor m_Cur;
    bool m_IsValue;                      ///< what is left on the stack is the value, not its address
    std::vector<VALUE> m_aStack;
    std::optional<ELF_SYM_LOC_PART> m_Part; ///< present part, if it isn't on the stack
    ELF_SYM_PIECES m_aBytes; ///< ... or a block of constant bytes
    ELF_SYM_PIECES m_aPiece; ///< what is complete
};

bool CLocMachine::_Type(U64 Offset, VALUE& Type) const
{
    Type = VALUE();
    if (Offset == 0) return true;
    DWARF_DIE Die;
    const U32 Section = m_Unit.InTypes ? DIE_ID_TYPES : 0;
    if (Offset >= m_Unit.End - m_Unit.Offset || !m_File.ReadDie((m_Unit.Offset + static_cast<U32>(Offset)) | Section, Die) || Die.Tag() != DW_TAG_base_type) return false;
    const U64 Size = m_File.Info.GetAttr(Die, DW_AT_byte_size).Value;
    const U64 Encoding = m_File.Info.GetAttr(Die, DW_AT_encoding).Value;
    if (Size == 0 || Size > 8) return false;
    Type.Size = static_cast<U32>(Size);
    switch (Encoding) {
    case DW_ATE_float: Type.Kind = KIND::FLOAT; break;
    case DW_ATE_signed:
    case DW_ATE_signed_char: Type.Kind = KIND::SIGNED; break;
    default: Type.Kind = KIND::UNSIGNED; break;
    }
    return !Type.IsFloat() || Size == 4 || Size == 8;
}

bool CLocMachine::_Constant(U32 Op, bool* pIsDone)
{
    *pIsDone = true;
    if (Op >= DW_OP_lit0 && Op <= DW_OP_lit31) return _PushGeneric(Op - DW_OP_lit0);
    switch (Op) {
    case DW_OP_addr: return _PushGeneric(ELF_ToRuntimeAddr(static_cast<U32>(m_Cur.GetUnsigned(m_Unit.AddrSize)), 1, 0));
    case DW_OP_addrx:
    case DW_OP_GNU_addr_index:
    case DW_OP_constx:
    case DW_OP_GNU_const_index: {
        U32 Addr;
        if (!m_File.Info.GetIndexedAddr(m_Unit, m_Cur.GetULeb(), Addr)) return false;
        const bool IsAddr = Op == DW_OP_addrx || Op == DW_OP_GNU_addr_index;
        return _PushGeneric(IsAddr ? ELF_ToRuntimeAddr(Addr, 1, 0) : Addr);
    }
    case DW_OP_const1u: return _PushGeneric(m_Cur.GetU8());
    case DW_OP_const1s: return _PushGeneric(static_cast<U64>(m_Cur.GetSigned(1)));
    case DW_OP_const2u: return _PushGeneric(m_Cur.GetU16());
    case DW_OP_const2s: return _PushGeneric(static_cast<U64>(m_Cur.GetSigned(2)));
    case DW_OP_const4u: return _PushGeneric(m_Cur.GetU32());
    case DW_OP_const4s: return _PushGeneric(static_cast<U64>(m_Cur.GetSigned(4)));
    case DW_OP_const8u:
    case DW_OP_const8s: return _PushGeneric(m_Cur.GetU64());
    case DW_OP_constu: return _PushGeneric(m_Cur.GetULeb());
    case DW_OP_consts: return _PushGeneric(static_cast<U64>(m_Cur.GetSLeb()));
    default: *pIsDone = false; return true;
    }
}

bool CLocMachine::_Place(U32 Op, bool* pIsDone)
{
    *pIsDone = true;
    auto Relative = [&](bool IsKnown, U64 Base, I64 Offset) { return IsKnown && _PushGeneric(Base + static_cast<U64>(Offset)); };
    auto InRegister = [&](U32 Reg) {
        m_Part = ELF_SYM_LOC_PART{};
        m_Part->Type = ELF_LOC_REG;
        m_Part->Reg = Reg;
        return m_Cur.IsOk();
    };
    U64 Base = 0;
    if (Op >= DW_OP_reg0 && Op <= DW_OP_reg31) return InRegister(Op - DW_OP_reg0);
    if (Op >= DW_OP_breg0 && Op <= DW_OP_breg31) {
        const bool IsKnown = m_Frame.ReadReg(Op - DW_OP_breg0, &Base);
        return Relative(IsKnown, Base, m_Cur.GetSLeb());
    }
    switch (Op) {
    case DW_OP_regx: return InRegister(static_cast<U32>(m_Cur.GetULeb()));
    case DW_OP_bregx: {
        const bool IsKnown = m_Frame.ReadReg(static_cast<U32>(m_Cur.GetULeb()), &Base);
        return Relative(IsKnown, Base, m_Cur.GetSLeb());
    }
    case DW_OP_fbreg: {
        const bool IsKnown = m_Frame.GetFrameBase(&Base);
        return Relative(IsKnown, Base, m_Cur.GetSLeb());
    }
    case DW_OP_call_frame_cfa: {
        const bool IsKnown = m_Frame.GetCfa(&Base);
        return Relative(IsKnown, Base, 0);
    }
    case DW_OP_entry_value:
    case DW_OP_GNU_entry_value: return _EntryValue();
    case DW_OP_implicit_value: return _ImplicitValue();
    case DW_OP_implicit_pointer:
    case DW_OP_GNU_implicit_pointer: return _ImplicitPointer();
    case DW_OP_stack_value: {
        VALUE Value;
        if (!_Pop(Value)) return false;
        m_Part = ELF_SYM_LOC_PART{};
        m_Part->Type = ELF_LOC_CONST;
        // A value of a wider type than the generic one shows its sign in it.
        m_Part->Value = Value.Kind == KIND::UNSIGNED || Value.IsFloat() ? Value.Bits : static_cast<U64>(Value.Signed());
        return true;
    }
    case DW_OP_piece: {
        const U64 Size = std::min(m_Cur.GetULeb(), MAX_PIECE_BYTES);
        return Size == 0 || _EndPiece(8 * Size, 0);
    }
    case DW_OP_bit_piece: {
        const U64 NumBits = std::min(m_Cur.GetULeb(), 8 * MAX_PIECE_BYTES);
        const U64 Offset = std::min(m_Cur.GetULeb(), 8 * MAX_PIECE_BYTES);
        return NumBits == 0 || _EndPiece(NumBits, Offset);
    }
    default: *pIsDone = false; return true;
    }
}

bool CLocMachine::_ImplicitValue()
{
    const U64 Size = m_Cur.GetULeb();
    const U8* pBytes = m_Cur.GetBytes(Size);
    if (!m_Cur.IsOk()) return false; // the size is beyond the expression
    m_aBytes = ELF_MakeConstPieces(pBytes, Size, m_Cur.IsBigEndian());
    return !m_aBytes.isEmpty();
}

bool CLocMachine::_ImplicitPointer()
{
    m_Part = ELF_SYM_LOC_PART{};
    m_Part->Type = ELF_LOC_COMPUTED;
    m_Part->NestedType = SYM_NESTED_POINTEE;
    m_Part->NestedReg = m_File.Slot;
    m_Part->NestedAddr = static_cast<U32>(m_Cur.GetUnsigned(m_Unit.Version <= 2 ? m_Unit.AddrSize : m_Unit.OffsetSize));
    m_Part->NestedOffset = static_cast<I32>(m_Cur.GetSLeb());
    return m_Cur.IsOk();
}

bool CLocMachine::_EntryValue()
{
    // Compilers ask for a register; anything else would be an expression on a state that is gone.
    const U64 Size = m_Cur.GetULeb();
    CByteCursor Block(m_Cur.GetBytes(Size), Size, m_Cur.IsBigEndian());
    const U32 Op = Block.GetU8();
    const U32 Reg = Op == DW_OP_regx ? static_cast<U32>(Block.GetULeb()) : Op - DW_OP_reg0;
    U64 Value = 0;
    if (!Block.IsOk() || !Block.AtEnd() || (Op != DW_OP_regx && (Op < DW_OP_reg0 || Op > DW_OP_reg31))) return false;
    return m_Frame.ReadEntryReg(Reg, &Value) && _PushGeneric(Value);
}

bool CLocMachine::_Deref(U32 NumBytes, VALUE Type)
{
    VALUE Addr;
    U64 Bits = 0;
    if (!_Pop(Addr) || NumBytes == 0 || NumBytes > 8 || !m_Frame.ReadMem(static_cast<U32>(Addr.Bits), NumBytes, &Bits)) return false;
    Type.Set(Bits);
    return _Push(Type);
}

bool CLocMachine::_Typed(U32 Op, bool* pIsDone)
{
    *pIsDone = true;
    VALUE Type, Value;
    switch (Op) {
    case DW_OP_regval_type:
    case DW_OP_GNU_regval_type: {
        U64 Bits = 0;
        const U32 Reg = static_cast<U32>(m_Cur.GetULeb());
        if (!_Type(m_Cur.GetULeb(), Type) || !m_Frame.ReadReg(Reg, &Bits)) return false;
        Type.Set(Bits);
        return _Push(Type);
    }
    case DW_OP_deref_type:
    case DW_OP_GNU_deref_type: {
        const U32 NumBytes = m_Cur.GetU8();
        return _Type(m_Cur.GetULeb(), Type) && NumBytes == Type.Size && _Deref(NumBytes, Type);
    }
    case DW_OP_const_type:
    case DW_OP_GNU_const_type: {
        if (!_Type(m_Cur.GetULeb(), Type)) return false;
        const U32 NumBytes = m_Cur.GetU8();
        Type.Set(m_Cur.GetUnsigned(NumBytes));
        return NumBytes == Type.Size && _Push(Type);
    }
    case DW_OP_convert:
    case DW_OP_GNU_convert: return _Type(m_Cur.GetULeb(), Type) && _Pop(Value) && _Push(Convert(Value, Type));
    case DW_OP_reinterpret:
    case DW_OP_GNU_reinterpret:
        if (!_Type(m_Cur.GetULeb(), Type) || !_Pop(Value) || Value.Size != Type.Size) return false;
        Type.Set(Value.Bits);
        return _Push(Type);
    default: *pIsDone = false; return true;
    }
}

bool CLocMachine::_StackOp(U32 Op, bool* pIsDone)
{
    *pIsDone = true;
    const size_t Size = m_aStack.size();
    VALUE Value;
    switch (Op) {
    case DW_OP_nop: return true;
    case DW_OP_dup: return Size >= 1 && _Push(m_aStack[Size - 1]);
    case DW_OP_over: return Size >= 2 && _Push(m_aStack[Size - 2]);
    case DW_OP_drop: return _Pop(Value);
    case DW_OP_pick: {
        const U32 Index = m_Cur.GetU8();
        return Index < Size && _Push(m_aStack[Size - 1 - Index]);
    }
    case DW_OP_swap:
        if (Size < 2) return false;
        std::swap(m_aStack[Size - 1], m_aStack[Size - 2]);
        return true;
    case DW_OP_rot:
        if (Size < 3) return false;
        std::rotate(m_aStack.end() - 3, m_aStack.end() - 1, m_aStack.end());
        return true;
    case DW_OP_skip: return _Jump(true);
    case DW_OP_bra: return _Pop(Value) && _Jump(Value.Bits != 0);
    case DW_OP_deref: return _Deref(ADDRESS_SIZE, VALUE());
    case DW_OP_deref_size: {
        const U32 NumBytes = m_Cur.GetU8();
        return NumBytes <= ADDRESS_SIZE && _Deref(NumBytes, VALUE());
    }
    case DW_OP_plus_uconst: {
        const U64 Addend = m_Cur.GetULeb();
        if (!_Pop(Value) || Value.IsFloat()) return false;
        Value.Set(Value.Bits + Addend);
        return _Push(Value);
    }
    default: *pIsDone = false; return true;
    }
}

bool CLocMachine::_Jump(bool IsTaken)
{
    const I64 Target = m_Cur.GetSigned(2) + static_cast<I64>(m_Cur.Pos());
    if (!m_Cur.IsOk() || Target < 0) return false;
    if (IsTaken) m_Cur.Seek(static_cast<U64>(Target));
    return m_Cur.IsOk();
}

bool CLocMachine::_Arithmetic(U32 Op)
{
    VALUE A, B;
    if (Op == DW_OP_neg || Op == DW_OP_not || Op == DW_OP_abs) {
        if (!_Pop(A)) return false;
        if (A.IsFloat()) {
            if (Op == DW_OP_not) return false;
            A.SetFloat(Op == DW_OP_neg ? -A.Float() : std::fabs(A.Float()));
        } else {
            const bool IsNegated = Op == DW_OP_neg || (Op == DW_OP_abs && A.Kind != KIND::UNSIGNED && A.Signed() < 0);
            A.Set(Op == DW_OP_not ? ~A.Bits : IsNegated ? 0 - A.Bits : A.Bits);
        }
        return _Push(A);
    }
    const bool IsShift = Op == DW_OP_shl || Op == DW_OP_shr || Op == DW_OP_shra;
    if (!_Pop(B) || !_Pop(A) || B.IsFloat() != A.IsFloat() || (!IsShift && !A.IsSameType(B))) return false;
    const std::optional<bool> IsTrue = A.IsFloat()                     ? Compare(Op, A.Float(), B.Float())
                                       : A.Kind == KIND::UNSIGNED ? Compare(Op, A.Bits, B.Bits)
                                                                  : Compare(Op, A.Signed(), B.Signed());
    if (IsTrue) return _PushGeneric(*IsTrue);
    if (A.IsFloat()) {
        const std::optional<double> Result = FloatResult(Op, A.Float(), B.Float());
        if (Result) A.SetFloat(*Result);
        return Result && _Push(A);
    }
    const std::optional<U64> Result = IntegerResult(Op, A, B);
    if (Result) A.Set(*Result);
    return Result && _Push(A);
}

bool CLocMachine::_EndPiece(U64 NumBits, U64 BitOffset)
{
    if (m_aPiece.size() >= MAX_PIECES) return false;
    ELF_SYM_PIECE Piece{};
    VALUE Value;
    if (!m_aBytes.isEmpty()) {
        U64 Size = 0;
        for (const ELF_SYM_PIECE& Bytes : std::as_const(m_aBytes)) Size += Bytes.NumBits;
        m_aPiece += ELF_SlicePieces(m_aBytes, BitOffset, NumBits ? NumBits : Size, m_Cur.IsBigEndian());
        m_aBytes.clear();
        return m_Cur.IsOk();
    }
    if (m_Part) {
        Piece.Part = *m_Part;
        Piece.IsNumber = true;
    } else if (_Pop(Value)) {
        Piece.Part.Type = m_IsValue ? ELF_LOC_CONST : ELF_LOC_MEM_FIXED;
        if (m_IsValue) Piece.Part.Value = Value.Bits;
        else Piece.Part.Addr = static_cast<U32>(Value.Bits);
        Piece.IsNumber = m_IsValue;
    } else if (NumBits == 0) {
        return false; // no place at all; of a value in pieces this one is dropped
    }
    Piece.Part.Size = NumBits % 8 == 0 ? static_cast<U32>(NumBits / 8) : 0;
    Piece.NumBits = static_cast<U32>(NumBits);
    Piece.BitOffset = static_cast<U32>(BitOffset);
    m_aPiece.append(Piece);
    m_Part.reset();
    return m_Cur.IsOk();
}

bool CLocMachine::_Step(U32 Op)
{
    bool IsDone = false;
    for (auto pfTry : {&CLocMachine::_Constant, &CLocMachine::_Place, &CLocMachine::_StackOp, &CLocMachine::_Typed}) {
        const bool IsGood = (this->*pfTry)(Op, &IsDone);
        if (IsDone) return IsGood;
    }
    return _Arithmetic(Op); // or one that says that there is no value, such as a pointer to what isn't stored
}

ELF_SYM_PIECES CLocMachine::Run()
{
    for (U32 i = 0; !m_Cur.AtEnd(); i++) {
        if (i == MAX_OPERATIONS || !_Step(m_Cur.GetU8())) return {};
    }
    if (m_aPiece.isEmpty() && !_EndPiece(0, 0)) return {};
    return m_Cur.IsOk() ? m_aPiece : ELF_SYM_PIECES();
}

/// Pieces as a location, which has room for two of whole bytes that aren't lost. No parts for others.
ELF_SYM_LOC MakeLocation(const ELF_SYM_PIECES& aPiece)
{
    ELF_SYM_LOC Loc{};
    if (aPiece.size() > ELF_SYM_LOC_MAX_PARTS) return Loc;
    for (const ELF_SYM_PIECE& Piece : aPiece) {
        if (Piece.Part.Type == ELF_LOC_NONE || Piece.NumBits % 8 || Piece.BitOffset) return {};
        Loc.aPart[Loc.NumParts++] = Piece.Part;
    }
    if (Loc.NumParts == 1 && Loc.aPart[0].Type == ELF_LOC_CONST) Loc.aPart[0].Size = 0; // all there is, of any size
    return Loc;
}

} // namespace

ELF_SYM_PIECES SymRunPieces(const ELF_FILE& File, const SYM_EXPRESSION& Expr, CLocFrame& Frame)
{
    const ELF_SYM_PIECES aPiece = CLocMachine(File, Expr, Frame).Run();
    return aPiece.size() == 1 && aPiece[0].NumBits == 0 ? ELF_SYM_PIECES() : aPiece;
}

bool ELF_IsExpression(const ELF_SYM_LOC& Loc)
{
    return Loc.NumParts == 1 && Loc.aPart[0].Type == ELF_LOC_COMPUTED && Loc.aPart[0].NestedType == SYM_NESTED_EXPRESSION;
}

ELF_SYM_LOC ELF_EvalExpression(const ELF_SYM_LOC& Loc, CLocFrame& Frame)
{
    if (!ELF_IsExpression(Loc)) return {};
    const ELF_FILE* pFile = ELF_GetFileInSlot(Loc.aPart[0].NestedReg);
    const SYM_EXPRESSION* pExpr = pFile ? SymFindExpression(*pFile, Loc.aPart[0].NestedAddr) : nullptr;
    return pExpr ? MakeLocation(CLocMachine(*pFile, *pExpr, Frame).Run()) : ELF_SYM_LOC{};
}
