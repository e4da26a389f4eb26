#include "program/symbols/locpieces.h"
#include "program/symbols/diemodel.h"
#include "program/symbols/symcache.h"

#include <algorithm>

namespace {

/// Bits [First, First + NumBits) of a stretch.
ELF_SYM_PIECE Cut(const ELF_SYM_PIECE& Piece, U32 First, U32 NumBits, bool IsBigEndian)
{
    ELF_SYM_PIECE Result = Piece;
    Result.NumBits = NumBits;
    // The first bits in memory are the highest ones of a number where the highest byte comes first.
    Result.BitOffset += Piece.IsNumber && IsBigEndian ? Piece.NumBits - First - NumBits : First;
    if (ELF_IsPointee(Piece.Part) && NumBits != Piece.NumBits) Result.Part = {}; // half a pointer points to nothing
    Result.Part.Size = NumBits % 8 == 0 ? NumBits / 8 : 0;
    return Result;
}

ELF_SYM_PIECE Lost(U64 NumBits)
{
    ELF_SYM_PIECE Piece{};
    Piece.NumBits = static_cast<U32>(NumBits);
    return Piece;
}

} // namespace

ELF_SYM_PIECES ELF_SlicePieces(const ELF_SYM_PIECES& aPiece, U64 FirstBit, U64 NumBits, bool IsBigEndian)
{
    ELF_SYM_PIECES Result;
    const U64 End = FirstBit + NumBits;
    U64 Pos = 0;
    for (ELF_SYM_PIECE Piece : aPiece) {
        if (Piece.NumBits == 0) Piece.NumBits = static_cast<U32>(std::min<U64>(End - Pos, 0xFFFFFFFFu));
        const U64 Low = std::max(Pos, FirstBit), High = std::min(Pos + Piece.NumBits, End);
        if (Low < High) Result.append(Cut(Piece, static_cast<U32>(Low - Pos), static_cast<U32>(High - Low), IsBigEndian));
        Pos += Piece.NumBits;
        if (Pos >= End) break;
    }
    if (Pos < End) Result.append(Lost(End - std::max(Pos, FirstBit)));
    return Result;
}

ELF_SYM_PIECES ELF_MakeConstPieces(const U8* pBytes, U64 NumBytes, bool IsBigEndian)
{
    constexpr U64 MAX_NUMBER_BYTES = 8;
    ELF_SYM_PIECES Result;
    CByteCursor Cur(pBytes, NumBytes, IsBigEndian);
    for (U64 Pos = 0; Pos < NumBytes; Pos += MAX_NUMBER_BYTES) {
        const U32 Size = static_cast<U32>(std::min(NumBytes - Pos, MAX_NUMBER_BYTES));
        ELF_SYM_PIECE Piece{};
        Piece.Part.Type = ELF_LOC_CONST;
        Piece.Part.Size = Size;
        Piece.Part.Value = Cur.GetUnsigned(Size);
        Piece.NumBits = 8 * Size;
        Piece.IsNumber = true;
        Result.append(Piece);
    }
    return Cur.IsOk() ? Result : ELF_SYM_PIECES();
}

ELF_SYM_PIECES ELF_EvalPieces(ELF_SYM_HANDLE hSym, U32 PC, CLocFrame& Frame)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return {};
    const ELF_FILE& File = *Ref.pFile;
    SYM_EXPRESSION Expr;
    if (SymFindLocation(File, Ref.Die, DW_AT_location, PC, &Expr)) return SymRunPieces(File, Expr, Frame);
    U32 Size = 0;
    const U8* pBlock = ELF_GetSymBlock(hSym, DW_AT_const_value, &Size);
    return pBlock ? ELF_MakeConstPieces(pBlock, Size, File.Image.IsBigEndian()) : ELF_SYM_PIECES();
}

bool ELF_IsPointee(const ELF_SYM_LOC_PART& Part)
{
    return Part.Type == ELF_LOC_COMPUTED && Part.NestedType == SYM_NESTED_POINTEE;
}

ELF_SYM_HANDLE ELF_GetPointee(const ELF_SYM_LOC_PART& Part, I32* pOffset)
{
    *pOffset = Part.NestedOffset;
    if (!ELF_IsPointee(Part)) return 0;
    const ELF_SYM_HANDLE hSym = MakeSymHandle(Part.NestedReg, ELF_SYM_KIND_DEBUG, Part.NestedAddr);
    return ELF_SymIsValid(hSym) ? hSym : 0;
}
