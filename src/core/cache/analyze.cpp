// Decoding ahead of use: program regions, blocks of a data file, and ranges read from the target.
#include "core/cache/core.h"
#include "core/cache/instcache.h"
#include "core/cache/regions.h"
#include "core/cache/textcache.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "core/host/debuggerapi.h"

#include <algorithm>
#include <cstring>

namespace Core {

namespace {

/// Bytes that the caller of AnalyzeAdd has brought along. The plug-in reads through the debugger's function,
/// which finds them here before it looks into the program or, byte by byte, at the target.
struct OVERLAY {
    U64 Start;
    U64 End;
    const U8* pData;
};
thread_local OVERLAY Overlay{};

U64 ExpectedAddr = ~U64(0);
U32 ExpectedSize = 0;

/// Bytes of the program for a span that lies in one loaded block, null if none holds all of it.
const U8* FindSpanData(U64 Start, U64 End) {
    const U64 FileAddr = ToFileAddr(Start);
    CBindingLock Lock;
    for (const BLOCK& B : Lock.Get().aBlock) {
        if (FileAddr >= B.Start && FileAddr + (End - Start) <= B.End) return B.pData ? B.pData + (FileAddr - B.Start) : nullptr;
    }
    return nullptr;
}

/// Decodes the part of a section that lies in the region at Pos. Gives the position to go on at.
U64 AnalyzeRegion(U64 Pos, U64 SectionEnd, U64* pNumBytes) {
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    REGION Region;
    U64 RegionEnd = 0;
    const int Index = FindRegion(Pos);
    if (!GetRegion(Index, &Region, &RegionEnd) || Region.Symbol < 1) return SectionEnd;
    const U64 Start = std::max(Pos, Region.Addr);
    const U64 End = std::min(RegionEnd, SectionEnd);
    if (End <= Start) return Pos + Alignment;
    if (!IsDataKind(Region.Kind)) {
        if (const U8* pData = FindSpanData(Start, End)) *pNumBytes += AnalyzeAdd(Start, End, pData);
    }
    return End;
}

} // namespace

/// For the debugger's memory function, on the thread that decodes.
int ReadOverlay(U64 Addr, U32 Size, void* pBuffer) {
    if (!Overlay.pData || Addr < Overlay.Start || Addr + Size > Overlay.End) return -1;
    std::memcpy(pBuffer, Overlay.pData + (Addr - Overlay.Start), Size);
    return 0;
}

U64 AnalyzeAdd(U64 Start, U64 End, const U8* pData) {
    if (!Core_IsLoaded()) {
        Core_Log("Failed to analyze instruction byte stream: module not initialized", CORE_LOG_FILE);
        return 0;
    }
    if (Start >= End) {
        Core_Log("Invalid address range input to function Core::AnalyzeAdd", CORE_LOG_FILE);
        return 0;
    }
    if (!pData) return 0;
    if (Start >= CACHE_LIMIT || End >= CACHE_LIMIT) {
        Core_Log("Cannot add to instruction cache outside 32-bit address range", CORE_LOG_FILE);
        return 0;
    }
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    Overlay = {Start, End, pData};
    U64 NumBytes = 0;
    for (U64 Addr = Start - Start % Alignment; Addr < End;) {
        CORE_INST_INFO Info;
        U64 Step = Alignment;
        if (Core_AnalyzeInst(Addr, &Info) == 0 && Info.Length > 0) {
            StoreInst(static_cast<U32>(Addr), Info);
            Step = std::max(Alignment, static_cast<U64>(Info.Length));
            NumBytes += static_cast<U64>(Info.Length);
        }
        Addr += Step;
    }
    Overlay = {};
    DropTexts(); // counts and texts of the range are of the time before
    return NumBytes;
}

int AnalyzeProgram() {
    std::vector<std::pair<U64, U64>> aSection;
    std::vector<std::pair<U64, U64>> aBlock;
    bool HasFile = false;
    {
        CBindingLock Lock;
        HasFile = Lock.Get().hFile != nullptr;
        for (const SECTION& S : Lock.Get().aSection) {
            if (S.IsCode) aSection.emplace_back(S.Start, S.End);
        }
        for (const BLOCK& B : Lock.Get().aBlock) aBlock.emplace_back(B.Start, B.End);
    }
    U64 NumBytes = 0;
    if (HasFile) {
        for (const auto& [Start, End] : aSection) {
            const U64 Offset = ToRuntimeAddr(Start) - Start;
            for (U64 Pos = Start + Offset; Pos < End + Offset;) Pos = AnalyzeRegion(Pos, End + Offset, &NumBytes);
        }
    } else {
        const U64 Alignment = Core_GetStaticInfo().InstAlignment;
        for (const auto& [Start, End] : aBlock) {
            const U64 First = (Start + Alignment - 1) / Alignment * Alignment;
            if (First < End) NumBytes += AnalyzeAdd(First, End, FindSpanData(First, End));
        }
    }
    return static_cast<int>(std::min<U64>(NumBytes, 0x7FFFFFFF));
}

void ClearCache() {
    FreeInsts();
    DropTexts();
}

void ExpectRead(U32 Addr, U32 Size) {
    ExpectedAddr = Addr;
    ExpectedSize = Size;
}

U64 OnReadDone(U32 Addr, U32 Size, const U8* pData) {
    if (Addr != ExpectedAddr || Size != ExpectedSize) return 0;
    ExpectedAddr = ~U64(0);
    return AnalyzeAdd(Addr, static_cast<U64>(Addr) + Size, pData);
}

} // namespace Core
