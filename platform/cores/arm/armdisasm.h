// Decoding of one Thumb instruction to text; what an instruction does is told by armflags.h.
//
//   char acText[128];
//   int Length = ARMDIS_Decode(ARM_PROFILE_V7M, Addr, abBytes, 4, ITState, acText, sizeof acText);
//
// Any thread; requests of several threads run side by side.
#pragma once
#include <cstdint>

/// Architecture profiles, which decide what is an instruction.
enum ARM_PROFILE : uint32_t {
    ARM_PROFILE_V6M,
    ARM_PROFILE_V7M,
    ARM_PROFILE_V7EM,     ///< with DSP, single precision FPU
    ARM_PROFILE_V7EM_DP,  ///< with DSP, double precision FPU
    ARM_PROFILE_V8M_MAIN, ///< with DSP, security extension, single precision FPU
    ARM_NUM_PROFILES,
};

/// Length in bytes of the instruction in little-endian bytes, 0 if they are none. NumBytes is 2 or 4.
/// ITState is the IT state in which the instruction runs, 0 outside of an IT block. sText gets mnemonic and
/// operands separated by a tab; it may be null.
int ARMDIS_Decode(ARM_PROFILE Profile, uint64_t Addr, const uint8_t* pBytes, uint32_t NumBytes, uint8_t ITState,
                  char* sText, uint32_t Size);

/// Frees all decoders; no request may be under way.
void ARMDIS_Free();
