// Values that compilers compute: location expressions that say more than where a value lies, run on a stack.
//
//   ELF_SYM_LOC Loc = ELF_GetSymLoc(hSym, PC);
//   if (ELF_IsExpression(Loc)) Loc = ELF_EvalExpression(Loc, Frame);
//
// A location holds such an expression as one computed part that names it by number; the number is valid until the file
// is closed. Everything runs under the program table mutex.
#pragma once
#include "program/symbols/elfsym.h"

/// What an expression asks of the frame that it is evaluated in. False: it is not known there.
class CLocFrame {
public:
    virtual ~CLocFrame() = default;
    virtual bool ReadReg(U32 Reg, U64* pValue) = 0;                ///< by DWARF register number
    virtual bool ReadMem(U32 Addr, U32 NumBytes, U64* pValue) = 0; ///< 1 to 8 bytes, in the byte order of the target
    virtual bool GetFrameBase(U64* pValue) = 0;
    virtual bool GetCfa(U64* pValue) = 0;
    virtual bool ReadEntryReg(U32 Reg, U64* pValue) = 0;           ///< what the register held on entry
};

/// The location is an expression that has to be evaluated in a frame.
bool ELF_IsExpression(const ELF_SYM_LOC& Loc);
/// The place or the value that an expression gives: parts that are constants, memory at fixed addresses or registers. No
/// parts when the frame doesn't know what is needed, or when the compiler says that there is no value.
ELF_SYM_LOC ELF_EvalExpression(const ELF_SYM_LOC& Loc, CLocFrame& Frame);

/// What a caller has passed in a register: false if nothing is known of the call that returns to an address, or if the
/// caller has no debug information. *pLoc is to be evaluated in the caller's frame; it has no parts when the call doesn't
/// tell, or when it was another function that was called there.
bool ELF_FindCallValue(ELF_SYM_HANDLE hCaller, ELF_SYM_HANDLE hCallee, U32 ReturnAddr, U32 Reg, ELF_SYM_LOC* pLoc);
