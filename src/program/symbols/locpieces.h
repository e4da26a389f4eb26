// Values that don't lie in one place: stretches of bits in registers, memory and constants, some of them lost; and
// pointers that the compiler has dropped while what they point to still has a value.
//
//   ELF_SYM_PIECES aPiece = ELF_EvalPieces(hSym, PC, Frame);
//   if (!aPiece.isEmpty()) aPiece = ELF_SlicePieces(aPiece, 8 * MemberOffset, 8 * MemberSize, IsBigEndian);
//
// Bits of a value are counted as they lie in memory: from the lowest bit of the first byte, on a target that keeps the
// highest byte first from the highest. Everything runs under the program table mutex.
#pragma once
#include "program/symbols/locexpr.h"

/// One stretch of a value.
struct ELF_SYM_PIECE {
    ELF_SYM_LOC_PART Part; ///< where it is; ELF_LOC_NONE: the compiler has dropped it
    U32 NumBits;           ///< 0: the whole value, whatever its size
    U32 BitOffset;         ///< bits of the place in front of it: from the lowest one of a number, else in the order of memory
    bool IsNumber;         ///< the place is a register (wherever that was saved) or a constant, else it is plain memory
};
using ELF_SYM_PIECES = QList<ELF_SYM_PIECE>;

/// The stretches of a symbol's value in a frame; registers are those of this frame. Empty when the location of the symbol
/// says as much, or when the frame doesn't know what is needed.
ELF_SYM_PIECES ELF_EvalPieces(ELF_SYM_HANDLE hSym, U32 PC, CLocFrame& Frame);
/// The stretches of NumBits bits from FirstBit on; what lies behind the end is lost.
ELF_SYM_PIECES ELF_SlicePieces(const ELF_SYM_PIECES& aPiece, U64 FirstBit, U64 NumBits, bool IsBigEndian);
/// The stretches of a block of bytes that stands for a value.
ELF_SYM_PIECES ELF_MakeConstPieces(const U8* pBytes, U64 NumBytes, bool IsBigEndian);

/// The part is a pointer without a value of its own, of which is known what it points to.
bool ELF_IsPointee(const ELF_SYM_LOC_PART& Part);
/// The variable (or nameless constant) that such a pointer points into, and the byte offset in it. 0 if there is none.
ELF_SYM_HANDLE ELF_GetPointee(const ELF_SYM_LOC_PART& Part, I32* pOffset);
