// Texts of instructions and data items, cut to what really lies at the address.
#include "core/cache/core.h"
#include "core/cache/regions.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"

#include <algorithm>

namespace Core {

namespace {

using TEXT_FUNC = int (*)(U64 Addr, U32 Length, char* pBuffer, U32 Size);

/// Length that an item of NumBytes has at the address: it ends at the next region, at the block that begins
/// inside of it, and at the end of the program.
U32 Clip(U64 Addr, U32 NumBytes) {
    U64 End = Addr + NumBytes;
    REGION Region;
    U64 RegionEnd = 0;
    U64 BlockEnd = 0;
    if (GetRegion(FindRegion(Addr), &Region, &RegionEnd) && RegionEnd > Addr) End = std::min(End, RegionEnd);
    if (GetBlockEnd(Addr, &BlockEnd)) End = std::min(End, BlockEnd);
    End = std::min(End, GetNextBlock(Addr));
    return static_cast<U32>(End - Addr);
}

int GetItemText(U64 Addr, TEXT_FUNC pfInst, TEXT_FUNC pfData, char* pBuf, U32 Size) {
    if (!pBuf || Size == 0) return -1;
    pBuf[0] = '\0';
    const U32 DataSize = GetDataItemSize(Addr);
    const int Length = DataSize ? pfData(Addr, DataSize, pBuf, Size) : pfInst(Addr, GetInstSize(Addr), pBuf, Size);
    if (Length < 1) return Length;
    const U32 Clipped = Clip(Addr, static_cast<U32>(Length));
    if (Clipped < static_cast<U32>(Length)) pfData(Addr, Clipped, pBuf, Size); // a part of an instruction is data
    return static_cast<int>(Clipped);
}

} // namespace

int GetInstText(U64 Addr, char* pBuf, U32 Size) {
    return GetItemText(Addr, Core_DisassembleInst, Core_DisassembleData, pBuf, Size);
}

int GetMnemonic(U64 Addr, char* pBuf) {
    return GetItemText(Addr, Core_GetInstMnemonic, Core_GetDataMnemonic, pBuf, CORE_MNEMONIC_SIZE);
}

} // namespace Core
