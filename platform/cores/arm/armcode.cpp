// Fetching of instructions with the IT state in which they run.
//
// A Thumb instruction inside of an IT block is another instruction than outside of it, and the
// block's start lies up to 14 bytes in front. The debugger asks for any address in any
// order, so the state is worked out from the half words in front of the address: an IT
// instruction there counts when it is at an instruction start and when the instructions
// behind it end up exactly at the address.
#include "armplugin.h"

#include <algorithm>

namespace {

constexpr uint32_t MAX_BACK = 32; // bytes in front: 14 for the block, the rest to find instruction starts

/// Half word at an even offset; M profile code is little-endian whatever the data are.
uint16_t GetHalfWord(const uint8_t* pBytes, uint32_t Offset) {
    return static_cast<uint16_t>(pBytes[Offset] | (pBytes[Offset + 1] << 8));
}

/// Bytes in front of the address that belong to the same code region.
uint32_t GetBackLimit(uint32_t Addr) {
    const CORE_DEBUGGER_API& Debugger = ARM_GetDebugger();
    const char* sName = nullptr;
    uint64_t Start = 0;
    uint64_t End = 0;
    if (!Debugger.pfGetCodeSection || Debugger.pfGetCodeSection(Addr, &sName, &Start, &End) != 0 || Start > Addr) {
        return std::min(MAX_BACK, Addr);
    }
    return static_cast<uint32_t>(std::min<uint64_t>(MAX_BACK, Addr - Start)) & ~1u;
}

/// A half word is an instruction's first exactly if an even number of half words that could be the first
/// of two stand in front of it without a gap.
bool IsStart(const uint16_t* paHalfWord, uint32_t Index) {
    uint32_t NumWide = 0;
    while (NumWide < Index && ARM_IsWide(paHalfWord[Index - 1 - NumWide])) NumWide++;
    return NumWide % 2 == 0;
}

/// IT state behind the last of Count half words, of which the one at Index is an IT instruction.
uint8_t RunBlock(const uint16_t* paHalfWord, uint32_t Index, uint32_t Count) {
    uint8_t ITState = static_cast<uint8_t>(paHalfWord[Index]);
    for (uint32_t i = Index + 1; i < Count;) {
        i += ARM_IsWide(paHalfWord[i]) ? 2 : 1;
        ITState = ARM_AdvanceIT(ITState);
        if (ITState == 0 || i > Count) return 0;
    }
    return ITState;
}

uint8_t FindITState(const uint16_t* paHalfWord, uint32_t Count) {
    const uint32_t First = Count > 7 ? Count - 7 : 0;
    for (uint32_t i = Count; i-- > First;) {
        if (!ARM_IsIT(paHalfWord[i]) || !IsStart(paHalfWord, i)) continue;
        return RunBlock(paHalfWord, i, Count);
    }
    return 0;
}

/// Reads as much as there is in front of the address and 2 or 4 bytes from it. Bytes from the address, 0 if none.
uint32_t ReadWindow(uint32_t Addr, uint8_t* pBytes, uint32_t* pBack) {
    for (uint32_t Back = *pBack;; Back /= 2) {
        Back &= ~1u;
        for (uint32_t Size = 4; Size >= 2; Size -= 2) {
            if (ARM_ReadMem(Addr - Back, Back + Size, pBytes) == 0) {
                *pBack = Back;
                return Size;
            }
        }
        if (Back == 0) return 0;
    }
}

} // namespace

int ARM_ReadMem(uint32_t Addr, uint32_t Size, void* pBuffer) {
    const CORE_DEBUGGER_API& Debugger = ARM_GetDebugger();
    return Debugger.pfReadMem ? Debugger.pfReadMem(Addr, Size, pBuffer) : -1;
}

int ARM_ReadU32(uint32_t Addr, uint32_t* pValue) {
    uint8_t ab[4];
    if (ARM_ReadMem(Addr, 4, ab) != 0) return -1;
    if (ARM_IsDataBigEndian()) std::reverse(ab, ab + 4);
    *pValue = ab[0] | (ab[1] << 8) | (ab[2] << 16) | (static_cast<uint32_t>(ab[3]) << 24);
    return 0;
}

int ARM_ReadU16(uint32_t Addr, uint16_t* pValue) {
    uint8_t ab[2];
    if (ARM_ReadMem(Addr, 2, ab) != 0) return -1;
    *pValue = GetHalfWord(ab, 0);
    return 0;
}

int ARM_Fetch(uint64_t Addr, ARM_INST* pInst) {
    if (Addr > 0xFFFFFFFEu || (Addr & 1)) return -1;
    const uint32_t Addr32 = static_cast<uint32_t>(Addr);
    const bool HasIT = ARM_GetKind().Profile != ARM_PROFILE_V6M;
    uint32_t Back = HasIT ? GetBackLimit(Addr32) : 0;
    uint8_t abWindow[MAX_BACK + 4];
    const uint32_t NumRead = ReadWindow(Addr32, abWindow, &Back);
    if (NumRead == 0) return -1;
    pInst->Addr = Addr32;
    pInst->Encoding.First = GetHalfWord(abWindow, Back);
    pInst->Encoding.Second = 0;
    pInst->NumBytes = ARM_IsWide(pInst->Encoding.First) ? 4 : 2;
    if (pInst->NumBytes > NumRead) return -1;
    if (pInst->NumBytes == 4) pInst->Encoding.Second = GetHalfWord(abWindow, Back + 2);
    uint16_t aHalfWord[MAX_BACK / 2];
    for (uint32_t i = 0; i < Back / 2; i++) aHalfWord[i] = GetHalfWord(abWindow, i * 2);
    pInst->ITState = FindITState(aHalfWord, Back / 2);
    return 0;
}

int ARM_Decode(const ARM_INST& Inst, char* sText, uint32_t Size) {
    const uint8_t ab[4] = {static_cast<uint8_t>(Inst.Encoding.First), static_cast<uint8_t>(Inst.Encoding.First >> 8),
                           static_cast<uint8_t>(Inst.Encoding.Second), static_cast<uint8_t>(Inst.Encoding.Second >> 8)};
    return ARMDIS_Decode(ARM_GetKind().Profile, Inst.Addr, ab, Inst.NumBytes, Inst.ITState, sText, Size);
}

int ARM_AnalyzeInst(uint64_t Addr, CORE_INST_INFO* pInfo) {
    if (!pInfo) return -1;
    *pInfo = CORE_INST_INFO{};
    ARM_INST Inst;
    if (ARM_Fetch(Addr, &Inst) != 0) return -1;
    const int Length = ARM_Decode(Inst, nullptr, 0);
    if (Length <= 0) return -1;
    ARM_Classify(Inst.Addr, Inst.Encoding, Inst.ITState, pInfo);
    return 0;
}
