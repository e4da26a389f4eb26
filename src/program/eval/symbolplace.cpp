// Where a symbol's value is when that is not one place: pieces of it are found, put together and written.
#include "program/eval/evalhooks.h"
#include "program/eval/symbol.h"
#include "program/tables/prog.h"

#include <algorithm>

namespace {

constexpr U32 MAX_VALUE_BITS = 64;

bool IsBigEndian() { return PROG_GetByteOrder() == ELF_BIG_ENDIAN; }

bool IsLost(const ELF_SYM_PIECE& Piece) { return Piece.Part.Type == ELF_LOC_NONE; }

U64 Mask(U32 NumBits) { return NumBits >= MAX_VALUE_BITS ? ~U64(0) : (U64(1) << NumBits) - 1; }

/// Bytes of the register, constant or saved register that holds the bits of a number.
U32 NumberSize(const ELF_SYM_PIECE& Piece) { return Piece.BitOffset + Piece.NumBits <= 32 ? 4 : 8; }

ELF_SYM_LOC LocOf(const ELF_SYM_LOC_PART& Part)
{
    ELF_SYM_LOC Loc{};
    Loc.NumParts = 1;
    Loc.aPart[0] = Part;
    Loc.aPart[0].Size = 0;
    return Loc;
}

/// One byte of memory that a piece lies in.
ELF_SYM_LOC ByteLoc(const ELF_SYM_PIECE& Piece, U32 Index)
{
    ELF_SYM_LOC Loc = LocOf(Piece.Part);
    Loc.aPart[0].Addr += Piece.BitOffset / 8 + Index;
    return Loc;
}

/// Where bit Index of a memory piece is in its byte.
U32 BitInByte(const ELF_SYM_PIECE& Piece, U32 Index)
{
    const U32 Bit = (Piece.BitOffset + Index) % 8;
    return IsBigEndian() ? 7 - Bit : Bit;
}

/// The bits of one piece, 64 at most, as a number. False if a part isn't there; the rest is asked for all the same.
bool ReadPiece(const CSymbol::READ_PART& ReadPart, const ELF_SYM_PIECE& Piece, U64* pBits)
{
    *pBits = 0;
    if (Piece.Part.Type == ELF_LOC_CONST) {
        if (Piece.BitOffset < MAX_VALUE_BITS) *pBits = (Piece.Part.Value >> Piece.BitOffset) & Mask(Piece.NumBits);
        return true;
    }
    if (IsLost(Piece) || ELF_IsPointee(Piece.Part)) return false;
    U64 Place = 0;
    if (Piece.IsNumber) {
        if (Piece.BitOffset + Piece.NumBits > MAX_VALUE_BITS || !ReadPart(LocOf(Piece.Part), NumberSize(Piece), &Place)) return false;
        *pBits = (Place >> Piece.BitOffset) & Mask(Piece.NumBits);
        return true;
    }
    bool IsThere = true;
    const U32 Skip = Piece.BitOffset % 8;
    for (U32 i = 0; i < Piece.NumBits; i++) {
        const U32 InByte = (Skip + i) % 8;
        if (i == 0 || InByte == 0) IsThere &= ReadPart(ByteLoc(Piece, (Skip + i) / 8), 1, &Place);
        const U64 Bit = (Place >> BitInByte(Piece, i)) & 1;
        *pBits = IsBigEndian() ? *pBits << 1 | Bit : *pBits | Bit << i;
    }
    return IsThere;
}

/// What is to be written into one register or byte, gathered from all pieces that lie in it.
struct PATCH {
    ELF_SYM_LOC Loc;
    U32 nBytes;
    U64 Keep; ///< bits that stay as they are
    U64 Bits;
};

void AddPatch(QList<PATCH>& aPatch, const ELF_SYM_LOC& Loc, U32 nBytes, U64 Taken, U64 Bits)
{
    auto It = std::find_if(aPatch.begin(), aPatch.end(), [&](const PATCH& Patch) { return ELF_LocIsEqual(Patch.Loc, Loc) && Patch.nBytes == nBytes; });
    if (It == aPatch.end()) It = aPatch.insert(aPatch.end(), {Loc, nBytes, Mask(8 * nBytes), 0});
    It->Keep &= ~Taken;
    It->Bits = (It->Bits & ~Taken) | (Bits & Taken);
}

/// False if the piece is no place that can be written.
bool AddPatches(QList<PATCH>& aPatch, const ELF_SYM_PIECE& Piece, U64 Bits)
{
    const U32 Type = Piece.Part.Type;
    if (Type != ELF_LOC_REG && Type != ELF_LOC_MEM_FIXED) return false;
    if (Piece.IsNumber) {
        if (Piece.BitOffset + Piece.NumBits > MAX_VALUE_BITS) return false;
        AddPatch(aPatch, LocOf(Piece.Part), NumberSize(Piece), Mask(Piece.NumBits) << Piece.BitOffset, Bits << Piece.BitOffset);
        return true;
    }
    for (U32 i = 0; i < Piece.NumBits; i++) {
        const U32 InByte = BitInByte(Piece, i);
        const U64 Bit = Bits >> (IsBigEndian() ? Piece.NumBits - 1 - i : i) & 1;
        AddPatch(aPatch, ByteLoc(Piece, (Piece.BitOffset % 8 + i) / 8), 1, U64(1) << InByte, Bit << InByte);
    }
    return true;
}

} // namespace

/// The pieces of the value, those of a value in one or two places too.
ELF_SYM_PIECES CSymbol::GetValuePieces() const
{
    if (!Pieces.isEmpty()) return Pieces;
    ELF_SYM_PIECES aPiece;
    for (U32 i = 0; i < Loc.NumParts; i++) {
        ELF_SYM_PIECE Piece{};
        Piece.Part = Loc.aPart[i];
        Piece.NumBits = 8 * (Piece.Part.Size ? Piece.Part.Size : ByteSize);
        Piece.IsNumber = !ELF_IsMemPart(Piece.Part.Type) || ELF_IsPointee(Piece.Part);
        aPiece.append(Piece);
    }
    return aPiece;
}

void CSymbol::SetPieces(const ELF_SYM_PIECES& aPiece)
{
    const bool IsWhole = GetKind() != SYMBOL_AGGREGATE && GetKind() != SYMBOL_ARRAY;
    const bool IsField = BitSize && BitOffset + BitSize <= 8 * ByteSize;
    const U32 First = !IsField ? 0 : IsBigEndian() ? 8 * ByteSize - BitOffset - BitSize : BitOffset;
    // A value is there when all of it is; of an object, the parts that are.
    const ELF_SYM_PIECES aNeeded = IsField ? ELF_SlicePieces(aPiece, First, BitSize, IsBigEndian())
                                   : ByteSize ? ELF_SlicePieces(aPiece, 0, U64(8) * ByteSize, IsBigEndian()) : aPiece;
    Loc = {};
    Pieces.clear();
    const auto NumLost = std::count_if(aNeeded.begin(), aNeeded.end(), IsLost);
    if (NumLost == aNeeded.size() || (IsWhole && NumLost)) return;
    for (const ELF_SYM_PIECE& Piece : aNeeded)
        if (!IsLost(Piece) && Loc.NumParts < ELF_SYM_LOC_MAX_PARTS) Loc.aPart[Loc.NumParts++] = Piece.Part;
    Pieces = aPiece;
    const ELF_SYM_PIECE& Only = aPiece.first();
    const bool IsPlain = Only.IsNumber ? Only.BitOffset == 0 && (Only.Part.Type != ELF_LOC_MEM_FIXED || !IsBigEndian()) : Only.BitOffset % 8 == 0;
    if (aPiece.size() > 1 || !IsPlain || (Only.Part.Type == ELF_LOC_CONST && ByteSize > 8)) return;
    // What a location can tell needs no pieces.
    Loc = LocOf(Only.Part);
    if (!Only.IsNumber) Loc.aPart[0].Addr += Only.BitOffset / 8;
    Pieces.clear();
}

void CSymbol::PlaceChild(CSymbol& Child, U32 Offset) const
{
    const bool IsMemory = Pieces.isEmpty() && Loc.NumParts == 1 && ELF_LocIsMemory(Loc) && !IsDroppedPointer();
    if (Loc.NumParts && !IsMemory) {
        Child.SetPieces(ELF_SlicePieces(GetValuePieces(), U64(8) * Offset, U64(8) * Child.ByteSize, IsBigEndian()));
        return;
    }
    Child.Loc = Loc;
    Child.Pieces.clear();
    if (Loc.NumParts == 0) return;
    ELF_SYM_LOC_PART& Part = Child.Loc.aPart[0];
    if (Part.Type == ELF_LOC_MEM_FIXED) Part.Addr += Offset;
    else Part.Offset = I32(U32(Part.Offset) + Offset);
}

/// NumBits bits of the value, 64 at most, from one on that is counted in the order of memory.
bool CSymbol::GetBits(const READ_PART& ReadPart, U64 FirstBit, U32 NumBits, U64* pValue) const
{
    *pValue = 0;
    bool IsThere = true;
    U32 Pos = 0;
    for (const ELF_SYM_PIECE& Piece : ELF_SlicePieces(Pieces, FirstBit, NumBits, IsBigEndian())) {
        U64 Bits = 0;
        IsThere &= ReadPiece(ReadPart, Piece, &Bits);
        if (IsBigEndian()) *pValue = (Piece.NumBits < MAX_VALUE_BITS ? *pValue << Piece.NumBits : 0) | Bits;
        else *pValue |= Bits << Pos;
        Pos += Piece.NumBits;
    }
    return IsThere;
}

bool CSymbol::ReadPieces(const READ_PART& ReadPart)
{
    constexpr U32 MAX_TEXT_BYTES = 32; ///< of a char array that are read for its text
    const CProgLock Lock;
    U64 Bits = 0;
    if (GetKind() == SYMBOL_ARRAY) {
        if (ElemSize != 1) return true;
        QByteArray Text;
        bool IsThere = true;
        for (U32 i = 0; i < std::min(ByteSize, MAX_TEXT_BYTES); i++) {
            IsThere &= GetBits(ReadPart, U64(8) * i, 8, &Bits);
            Text.append(char(Bits));
        }
        if (IsThere) Value = Text;
        return IsThere;
    }
    if (GetKind() == SYMBOL_AGGREGATE || ByteSize == 0 || ByteSize > 8) return true; // shown by its members
    const bool IsField = BitSize && BitOffset + BitSize <= 8 * ByteSize;
    const U32 Low = IsField ? BitOffset : 0, NumBits = IsField ? BitSize : 8 * ByteSize;
    if (!GetBits(ReadPart, IsBigEndian() ? 8 * ByteSize - Low - NumBits : Low, NumBits, &Bits)) return false;
    Bits <<= Low;
    Value = QByteArray(reinterpret_cast<const char*>(&Bits), qsizetype(ByteSize));
    return true;
}

int CSymbol::Write(const QByteArray& Bytes) const
{
    const EVAL_HOOKS& Hooks = EVAL_GetHooks();
    const bool IsScalar = GetKind() == SYMBOL_SCALAR || GetKind() == SYMBOL_POINTER;
    if (!Hooks.WriteLoc || !IsScalar || IsDroppedPointer() || Loc.NumParts == 0 || U32(Bytes.size()) != ByteSize || ByteSize == 0 || ByteSize > 8) return -1;
    if (Pieces.isEmpty() && !(Loc.NumParts == 1 && Loc.aPart[0].Type == ELF_LOC_CONST))
        return Hooks.WriteLoc(Loc, ByteSize, reinterpret_cast<const U8*>(Bytes.constData()));
    const CProgLock Lock;
    U64 Value64 = 0;
    std::copy(Bytes.begin(), Bytes.end(), reinterpret_cast<char*>(&Value64));
    const bool IsField = BitSize && BitOffset + BitSize <= 8 * ByteSize;
    const U32 Low = IsField ? BitOffset : 0, NumBits = IsField ? BitSize : 8 * ByteSize;
    QList<PATCH> aPatch;
    U32 Pos = 0;
    for (const ELF_SYM_PIECE& Piece : ELF_SlicePieces(GetValuePieces(), IsBigEndian() ? 8 * ByteSize - Low - NumBits : Low, NumBits, IsBigEndian())) {
        const U32 Shift = Low + (IsBigEndian() ? NumBits - Pos - Piece.NumBits : Pos);
        if (!AddPatches(aPatch, Piece, (Value64 >> Shift) & Mask(Piece.NumBits))) return -1;
        Pos += Piece.NumBits;
    }
    // All that stays is read before anything is written.
    for (PATCH& Patch : aPatch) {
        U64 Old = 0;
        if (Patch.Keep && (!Hooks.ReadLoc || Hooks.ReadLoc(Patch.Loc, Patch.nBytes, reinterpret_cast<U8*>(&Old)) != 0)) return -1;
        Patch.Bits |= Old & Patch.Keep;
    }
    for (const PATCH& Patch : std::as_const(aPatch))
        if (Hooks.WriteLoc(Patch.Loc, Patch.nBytes, reinterpret_cast<const U8*>(&Patch.Bits)) < 0) return -1;
    return 0;
}
