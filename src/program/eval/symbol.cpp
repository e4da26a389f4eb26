#include "program/eval/symbol.h"

#include "program/eval/evalhooks.h"
#include "program/tables/prog.h"

#include <QFloat16>
#include <algorithm>
#include <bit>
#include <cstring>

namespace {

enum { DW_AT_const_value = 0x1C, DW_AT_type = 0x49, DW_AT_data_bit_offset = 0x6B };

constexpr I64 MAX_RUNTIME_LENGTH = 1000000;
constexpr U32 MAX_TEXT_BYTES = 32; ///< of a char array that are read for its text

ELF_SYM_LOC MemLoc(U32 Addr)
{
    ELF_SYM_LOC Loc{};
    Loc.NumParts = 1;
    Loc.aPart[0].Type = ELF_LOC_MEM_FIXED;
    Loc.aPart[0].Addr = Addr;
    return Loc;
}

bool IsPointerTag(U32 Tag)
{
    return Tag == ELF_TAG_POINTER || Tag == ELF_TAG_REFERENCE || Tag == ELF_TAG_RVALUE_REFERENCE;
}

bool IsAggregateTag(U32 Tag)
{
    return Tag == ELF_TAG_STRUCT || Tag == ELF_TAG_UNION || Tag == ELF_TAG_CLASS;
}

/// Bytes from the start of the object to the member's storage, whatever form the compiler gave the offset.
U32 MemberOffset(ELF_SYM_HANDLE hMember)
{
    const ELF_SYM_LOC Loc = ELF_GetSymLoc(hMember, 0);
    return Loc.NumParts == 1 && Loc.aPart[0].Type == ELF_LOC_PARENT_LOC ? U32(Loc.aPart[0].Offset) : 0;
}

/// Finds the bytes of a bit field that is known by its first bit in the whole object only: the storage unit of its
/// type that holds it, or the bytes around it when it crosses the units of a packed object. Adds to Offset.
void PlaceBitField(CSymbol& Member, U32& Offset)
{
    bool Found = false;
    const U64 First = ELF_GetSymAttr(Member.hSym, DW_AT_data_bit_offset, &Found);
    if (!Found || Member.ByteSize == 0) return;
    U32 Size = Member.ByteSize;
    U32 Byte = U32(First / 8 / Size * Size);
    U32 Bit = U32(First - U64(Byte) * 8);
    if (Bit + Member.BitSize > Size * 8) {
        Byte += Bit / 8;
        Bit %= 8;
        for (Size = 1; Size < 8 && Bit + Member.BitSize > Size * 8;) Size *= 2;
    }
    // The first bit is the highest one of the unit where the highest byte comes first. One of more than 8 bytes
    // keeps an offset beyond its value, which tells that it has none.
    const bool IsFirstHighest = PROG_GetByteOrder() == ELF_BIG_ENDIAN && Bit + Member.BitSize <= Size * 8;
    Member.BitOffset = IsFirstHighest ? Size * 8 - Bit - Member.BitSize : Bit;
    Member.ByteSize = Size;
    Offset += Byte;
}

/// Data members only: a class lists its functions and types among its members.
QList<ELF_SYM_HANDLE> DataMembers(ELF_SYM_HANDLE hType)
{
    QList<ELF_SYM_HANDLE> List;
    for (U32 i = 0; i < ELF_GetSymMemberCount(hType); i++)
        if (const ELF_SYM_HANDLE h = ELF_GetSymMember(hType, i); ELF_GetSymTag(h) == ELF_TAG_MEMBER) List.append(h);
    return List;
}

/// Puts array dimensions and element size in place.
void FillArray(CSymbol& Symbol, ELF_SYM_HANDLE h)
{
    ELF_ARRAY_INFO Info;
    if (ELF_GetArrayInfo(h, &Info) != 0) return;
    for (U32 i = 0; i < Info.NumDims; i++) Symbol.Dims.append(Info.aDim[i]);
    Symbol.ElemSize = Info.ElemSize;
    Symbol.ByteSize = Info.TotalSize;
}

/// Lengths of an array that are only known while its function runs.
void FillLengths(CSymbol& Symbol, U32 PC)
{
    const EVAL_HOOKS& Hooks = EVAL_GetHooks();
    if (Symbol.Dims.isEmpty() || !Hooks.ResolveLoc || !Hooks.ReadLoc) return;
    bool HasChanged = false;
    for (qsizetype i = 0; i < Symbol.Dims.size(); i++) {
        I64 Add = 0;
        U8 ab[4] = {};
        const ELF_SYM_LOC Raw = ELF_GetArrayBoundLoc(Symbol.hSym, U32(i), PC, &Add);
        if (Raw.NumParts == 0) continue;
        const ELF_SYM_LOC Bound = Hooks.ResolveLoc(Raw);
        if (Bound.NumParts != 1) continue;
        U32 Value = U32(Bound.aPart[0].Value);
        if (Bound.aPart[0].Type != ELF_LOC_CONST) {
            if (Hooks.ReadLoc(Bound, sizeof ab, ab) != 0) continue;
            std::memcpy(&Value, ab, sizeof ab);
        }
        const I64 Length = I64(I32(Value)) + Add;
        // What was never set gives any number; no array of a function is that long.
        if (Length < 0 || Length > MAX_RUNTIME_LENGTH) continue;
        Symbol.Dims[i] = U32(Length);
        HasChanged = true;
    }
    if (!HasChanged) return;
    U64 Size = Symbol.ElemSize;
    for (const U32 Dim : std::as_const(Symbol.Dims)) Size = std::min<U64>(Size * Dim, 0xFFFFFFFFu);
    Symbol.ByteSize = U32(Size);
}

} // namespace

SYMBOL_KINDS CSymbol::GetKind() const
{
    if (!Dims.isEmpty() || Type.IsArray()) return SYMBOL_ARRAY;
    const U32 Tag = hType ? ELF_GetSymTag(hType) : ELF_BAD_TAG;
    if (Type.IsPointer() || IsPointerTag(Tag)) return SYMBOL_POINTER;
    return IsAggregateTag(Tag) ? SYMBOL_AGGREGATE : SYMBOL_SCALAR;
}

CSymbol CSymbol::FromProgram(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    const EVAL_HOOKS& Hooks = EVAL_GetHooks();
    CSymbol Symbol;
    Symbol.Name = Symbol.FullName = PROG_GetSymName(hSym, PROG_NAME_PLAIN);
    Symbol.hSym = hSym;
    if (PROG_IsFunction(hSym)) {
        Symbol.IsFunction = true;
        Symbol.Type.Text = PROG_GetSymTypeText(hSym);
        Symbol.Type.BaseText = Symbol.Name;
        const CAddrRange Range = PROG_GetSymRange(hSym);
        Symbol.Loc = MemLoc(Range.Start);
        Symbol.ByteSize = Range.Size;
        return Symbol;
    }
    Symbol.Type = EVAL_GetType(hSym);
    Symbol.hType = ELF_GetSymType(hSym, true);
    Symbol.ByteSize = Symbol.Type.Size ? Symbol.Type.Size : ELF_GetSymSize(hSym);
    FillArray(Symbol, hSym);
    if (ELF_SymIsElf(hSym) && Symbol.Type.Text.isEmpty()) Symbol.Type = EVAL_MakeType(CTYPE_UINT);
    const U32 PC = EVAL_GetLocationPC();
    if (PC != ADDR_NONE) FillLengths(Symbol, PC);
    const ELF_SYM_LOC Raw = PROG_GetSymLoc(hSym, PC);
    Symbol.Loc = Hooks.ResolveLoc ? Hooks.ResolveLoc(Raw) : Raw;
    const ELF_SYM_LOC_PART& First = Raw.aPart[0];
    const bool IsOnePlace = Raw.NumParts == 1 && First.Size == 0 && First.Type != ELF_LOC_COMPUTED && (First.Type != ELF_LOC_CONST || Symbol.ByteSize <= 8);
    if (!IsOnePlace && Hooks.ResolvePieces)
        if (const ELF_SYM_PIECES aPiece = Hooks.ResolvePieces(hSym); !aPiece.isEmpty()) Symbol.SetPieces(aPiece);
    return Symbol;
}

CSymbol CSymbol::FromInteger(const QString& sName, U64 Value, int TypeId)
{
    CSymbol Symbol;
    Symbol.Name = Symbol.FullName = sName;
    Symbol.Type = EVAL_MakeType(TypeId);
    Symbol.ByteSize = Symbol.Type.Size;
    Symbol.Value = QByteArray(reinterpret_cast<const char*>(&Value), qsizetype(std::min<U32>(Symbol.ByteSize, 8)));
    Symbol.IsConst = true;
    return Symbol;
}

CSymbol CSymbol::FromDouble(const QString& sName, double Value)
{
    U64 Bits = 0;
    std::memcpy(&Bits, &Value, sizeof(Bits));
    return FromInteger(sName, Bits, CTYPE_DOUBLE);
}

CSymbol CSymbol::FromMemory(const QString& sName, ELF_SYM_HANDLE hType, const CCType& Type, U32 Addr, U32 Size)
{
    CSymbol Symbol;
    Symbol.Name = Symbol.FullName = sName;
    Symbol.hType = hType;
    Symbol.Type = Type;
    Symbol.ByteSize = Size;
    if (hType) FillArray(Symbol, hType);
    Symbol.Loc = MemLoc(Addr);
    return Symbol;
}

CSymbol CSymbol::MakeMember(ELF_SYM_HANDLE hMember, U32 Offset) const
{
    CSymbol Member;
    Member.hSym = hMember;
    Member.Name = QString::fromUtf8(ELF_GetSymName(hMember));
    Member.Type = EVAL_GetType(hMember);
    Member.hType = ELF_GetSymType(hMember, true);
    Member.ByteSize = Member.Type.Size ? Member.Type.Size : ELF_GetSymSize(hMember);
    Member.BitSize = ELF_GetSymBitSize(hMember);
    if (Member.BitSize) {
        Member.BitOffset = ELF_GetSymBitOffset(hMember);
        PlaceBitField(Member, Offset);
    }
    FillArray(Member, hMember);
    PlaceChild(Member, Offset);
    Member.IsNullMember = IsNullMember;
    return Member;
}

int CSymbol::GetChildCount() const
{
    const CProgLock Lock;
    switch (GetKind()) {
    case SYMBOL_ARRAY: return Dims.isEmpty() ? int(Type.NumElems) : int(Dims.first());
    case SYMBOL_POINTER: return hType && ELF_GetSymType(hType) ? 1 : 0;
    case SYMBOL_AGGREGATE: return int(DataMembers(hType).size() + ELF_GetSymBaseCount(hType));
    default: return 0;
    }
}

CSymbol CSymbol::GetChild(int Index) const
{
    const CProgLock Lock;
    if (Index < 0) return {};
    switch (GetKind()) {
    case SYMBOL_ARRAY: return Index < GetChildCount() ? GetElement(Index) : CSymbol();
    case SYMBOL_POINTER: return Index == 0 ? GetPointee(0) : CSymbol();
    case SYMBOL_AGGREGATE: {
        const QList<ELF_SYM_HANDLE> Members = DataMembers(hType);
        if (Index < Members.size()) {
            CSymbol Member = MakeMember(Members[Index], MemberOffset(Members[Index]));
            Member.FullName = Member.Name.isEmpty() ? FullName : FullName + '.' + Member.Name;
            if (Member.Name.isEmpty()) {
                const auto Nameless = std::count_if(Members.begin(), Members.begin() + Index,
                                                    [](ELF_SYM_HANDLE h) { return !*ELF_GetSymName(h); });
                Member.Name = QStringLiteral("<anonymous>") + (Nameless ? QString::number(Nameless) : QString());
            }
            return Member;
        }
        const U32 Base = U32(Index - Members.size());
        if (Base >= ELF_GetSymBaseCount(hType)) return {};
        const ELF_SYM_HANDLE hBase = ELF_GetSymBase(hType, Base);
        CSymbol Child = MakeMember(hBase, MemberOffset(hBase));
        Child.Name = QStringLiteral("<inherited members>");
        Child.FullName = FullName;
        return Child;
    }
    default: return {};
    }
}

CSymbol CSymbol::GetChild(const QString& sName) const
{
    const CProgLock Lock;
    if (GetKind() != SYMBOL_AGGREGATE) return {};
    const int Count = GetChildCount();
    for (int i = 0; i < Count; i++)
        if (CSymbol Child = GetChild(i); Child.Name == sName) return Child;
    for (int i = 0; i < Count; i++) {
        const CSymbol Child = GetChild(i);
        if (!Child.Name.startsWith('<')) continue;
        if (CSymbol Found = Child.GetChild(sName); !Found.IsEmpty()) return Found;
    }
    return {};
}

CSymbol CSymbol::GetElement(I64 Index) const
{
    const CProgLock Lock;
    CSymbol Element;
    const QString sIndex = QStringLiteral("[%1]").arg(Index);
    Element.Name = Name.isEmpty() ? sIndex : Name + sIndex;
    Element.FullName = FullName + sIndex;
    Element.IsNullMember = IsNullMember;
    U32 Stride = ElemSize;
    for (qsizetype i = 1; i < Dims.size(); i++) Stride *= Dims[i];
    Element.Dims = Dims.mid(1);
    Element.ElemSize = ElemSize;
    Element.ByteSize = Stride;
    PlaceChild(Element, U32(I64(Stride) * Index));
    Element.Type = Type;
    if (Element.Dims.isEmpty()) {
        Element.hType = hType ? ELF_GetSymType(hType) : 0;
        Element.ElemSize = 0;
        Element.Type = Element.hType ? EVAL_GetType(Element.hType) : EVAL_MakeType(Type.TypeId);
    } else {
        // One dimension less of the same array type.
        Element.hType = hType;
        const qsizetype Open = Type.Text.indexOf('['), Close = Type.Text.indexOf(']');
        if (Open >= 0 && Close > Open) Element.Type.Text = QString(Type.Text).remove(Open, Close - Open + 1);
        Element.Type.Size = Stride;
    }
    return Element;
}

CSymbol CSymbol::GetPointee(I64 Index) const
{
    const CProgLock Lock;
    const ELF_SYM_HANDLE hTarget = hType ? ELF_GetSymType(hType) : 0;
    I64 Address = 0;
    const bool HasValue = GetInteger(&Address);
    if (!hTarget && Type.Declarators.isEmpty()) return {};
    CCType TargetType = hTarget ? EVAL_GetType(hTarget) : EVAL_MakeType(Type.TypeId);
    const U32 Size = TargetType.Size ? TargetType.Size : 1;
    CSymbol Target = FromMemory({}, hTarget, TargetType, U32(Address + Index * I64(Size)), Size);
    if (IsDroppedPointer()) {
        I32 Offset = 0;
        const ELF_SYM_HANDLE hObject = ELF_GetPointee(Loc.aPart[0], &Offset);
        if (hObject) FromProgram(hObject).PlaceChild(Target, U32(Offset + Index * I64(Size)));
        else Target.Loc = {};
    }
    Target.Name = QStringLiteral("%1[%2]").arg(Name).arg(Index);
    Target.FullName = Index == 0 ? "(*" + FullName + ')' : QStringLiteral("%1[%2]").arg(FullName).arg(Index);
    if (!IsDroppedPointer() && (!HasValue || Address == 0)) {
        Target.IsNullMember = true;
        Target.Loc = {};
    }
    return Target;
}

I64 CSymbol::GetMemAddr() const
{
    if (Loc.NumParts == 0 || !Pieces.isEmpty() || !ELF_LocIsMemory(Loc)) return -1; // what lies in pieces has no one address
    const ELF_SYM_LOC_PART& Part = Loc.aPart[0];
    return Part.Type == ELF_LOC_MEM_FIXED ? I64(Part.Addr) : -1;
}

int CSymbol::Read()
{
    if (!Value.isEmpty()) return 0;
    const EVAL_HOOKS& Hooks = EVAL_GetHooks();
    const SYMBOL_KINDS Kind = GetKind();
    U8 ac[MAX_TEXT_BYTES] = {};
    if (Pieces.isEmpty() && Loc.NumParts == 1 && Loc.aPart[0].Type == ELF_LOC_CONST) {
        Value = QByteArray(reinterpret_cast<const char*>(&Loc.aPart[0].Value), std::min<qsizetype>(ByteSize, 8));
        return 0;
    }
    if (Kind == SYMBOL_AGGREGATE || Loc.NumParts == 0 || ByteSize == 0) return Kind == SYMBOL_AGGREGATE ? 0 : -1;
    if (IsDroppedPointer()) return -1;
    if (!Hooks.IsConnected || !Hooks.IsConnected()) return -1;
    int Result = -1;
    if (!Pieces.isEmpty()) {
        const READ_PART ReadPart = [&Hooks](const ELF_SYM_LOC& Part, U32 nBytes, U64* pValue) {
            *pValue = 0;
            return Hooks.ReadLoc && Hooks.ReadLoc(Part, nBytes, reinterpret_cast<U8*>(pValue)) == 0;
        };
        Result = ReadPieces(ReadPart) ? 0 : -1;
    } else if (Kind == SYMBOL_ARRAY) {
        const U32 n = std::min(ByteSize, MAX_TEXT_BYTES);
        const I64 Addr = GetMemAddr();
        if (ElemSize != 1 || Addr < 0) return 0;
        Result = Hooks.ReadMem ? Hooks.ReadMem(U32(Addr), n, ac) : -1;
        if (Result == 0) Value = QByteArray(reinterpret_cast<const char*>(ac), n);
    } else if (ByteSize <= 8) {
        Result = Hooks.ReadLoc ? Hooks.ReadLoc(Loc, ByteSize, ac) : -1;
        if (Result == 0) Value = QByteArray(reinterpret_cast<const char*>(ac), ByteSize);
    } else {
        return 0;
    }
    ReadFailed = Result != 0;
    return ReadFailed ? -1 : 0;
}

bool CSymbol::IsSigned() const
{
    if (Type.TypeId == CTYPE_BOOL) return false; // one bit of it is 1 or 0
    if (Type.TypeId != CTYPE_ENUM || !hType || GetKind() == SYMBOL_POINTER) return Type.IsSignedIntegral();
    const CProgLock Lock;
    bool HasType = false;
    ELF_GetSymAttr(hType, DW_AT_type, &HasType);
    if (HasType) return ELF_SymIsSigned(hType);
    for (U32 i = 0; i < ELF_GetSymMemberCount(hType); i++)
        if (I64(ELF_GetSymAttr(ELF_GetSymMember(hType, i), DW_AT_const_value, nullptr)) < 0) return true;
    return false;
}

bool CSymbol::GetInteger(I64* pValue) const
{
    if (Value.isEmpty() || Value.size() > 8) return false;
    U64 Raw = 0;
    std::memcpy(&Raw, Value.constData(), size_t(Value.size()));
    U32 Bits = U32(Value.size()) * 8;
    if (BitSize && BitSize < 64) {
        if (BitOffset + BitSize > Bits) return false; // it lies across more bytes than a value holds
        Raw = (Raw >> BitOffset) & ((U64(1) << BitSize) - 1);
        Bits = BitSize;
    }
    if (Bits < 64 && IsSigned() && (Raw >> (Bits - 1)) & 1) Raw |= ~U64(0) << Bits;
    *pValue = I64(Raw);
    return true;
}

bool CSymbol::GetDouble(double* pValue) const
{
    if (EVAL_IsFloat(Type)) {
        if (Value.size() == 2) {
            // Half precision, or the upper half of a float, as the type's name tells.
            U16 Bits = 0;
            std::memcpy(&Bits, Value.constData(), 2);
            *pValue = double(Type.BaseText.contains(QStringLiteral("bf16")) ? std::bit_cast<float>(U32(Bits) << 16) : float(std::bit_cast<qfloat16>(Bits)));
            return true;
        }
        if (Value.size() == 4) {
            float f = 0;
            std::memcpy(&f, Value.constData(), 4);
            *pValue = double(f);
            return true;
        }
        if (Value.size() != 8) return false;
        std::memcpy(pValue, Value.constData(), 8);
        return true;
    }
    I64 Integer = 0;
    if (!GetInteger(&Integer)) return false;
    *pValue = IsSigned() ? double(Integer) : double(U64(Integer));
    return true;
}
