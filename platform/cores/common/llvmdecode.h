// Decoding of one instruction to text by LLVM's instruction tables. This file pair is the only one that knows LLVM; a
// plug-in says which of its targets are linked in.
//
//   static const LLVM_PROFILE Profile{"thumbv7m-none-eabi", "cortex-m3", ""};
//   int Length = LLVMDEC_Decode(Profile, Addr, abBytes, 4, nullptr, 0, acText, sizeof acText);
//
// Any thread; requests of several threads run side by side.
#pragma once
#include <cstdint>

/// What decides what is an instruction. Lives as long as the library.
struct LLVM_PROFILE {
    const char* sTriple;
    const char* sCPU;
    const char* sFeatures;
};

/// Registers the targets that the plug-in links; supplied by the plug-in, called once before the first request.
void LLVMDEC_InitTargets();

/// Length in bytes of the instruction, 0 if the bytes are none. The instruction of pPrefix, if there is one, is decoded
/// first and puts the decoder into its state. sText gets mnemonic and operands separated by a tab; it may be null.
int LLVMDEC_Decode(const LLVM_PROFILE& Profile, uint64_t Addr, const uint8_t* pBytes, uint32_t NumBytes,
                   const uint8_t* pPrefix, uint32_t PrefixSize, char* sText, uint32_t Size);

/// Frees all decoders; no request may be under way.
void LLVMDEC_Free();
