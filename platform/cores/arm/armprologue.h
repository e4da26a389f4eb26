// What a function has done to stack and saved registers up to an address, told from its code.
#pragma once
#include <cstdint>

/// Frame of a function at one address. Offsets count from the stack pointer at that address.
struct ARM_FRAME {
    int32_t CFAOffset;       ///< from the stack pointer to where it stood at the function's entry
    uint32_t SavedMask;      ///< core registers that were stored by the prologue
    int32_t aSavedOffset[16];///< of each of them, from the CFA; negative
    int32_t PrologueSize;    ///< bytes that the prologue takes from the stack
};

/// Analyses the function from its start to PC, PC excluded. 0, or -1 if the code can't be followed.
int ARM_AnalyzePrologue(uint32_t FuncStart, uint32_t PC, ARM_FRAME* pFrame);
