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
#include <utility>
#include <vector>

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
    return FindBlockData(Lock.Get(), FileAddr, End - Start);
}

/// Finds the part of a section that lies in the region at Pos; it joins the spans if it is code with bytes. Gives the
/// position to go on at.
U64 CollectRegion(U64 Pos, U64 SectionEnd, std::vector<std::pair<U64, U64>>& aSpan) {
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    REGION Region;
    U64 RegionEnd = 0;
    const int Index = FindRegion(Pos);
    // Compilers leave a table of vectors at the start of the code without a symbol; the code behind it counts.
    if (Index < 0) return std::min(GetNextRegionAddr(Pos), SectionEnd);
    if (!GetRegion(Index, &Region, &RegionEnd) || Region.Symbol < 1) return SectionEnd;
    const U64 Start = std::max(Pos, Region.Addr);
    const U64 End = std::min(RegionEnd, SectionEnd);
    if (End <= Start) return Pos + Alignment;
    if (!IsDataKind(Region.Kind) && FindSpanData(Start, End)) aSpan.emplace_back(Start, End);
    return End;
}

/// Decodes from *pAddr on until it is at or behind Stop, with the bytes of the whole range at hand. Gives the bytes decoded.
U64 Decode(const OVERLAY& Range, U64* pAddr, U64 Stop) {
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    U64 NumBytes = 0;
    Overlay = Range;
    while (*pAddr < Stop) {
        CORE_INST_INFO Info;
        U64 Step = Alignment;
        if (Core_AnalyzeInst(*pAddr, &Info) == 0 && Info.Length > 0) {
            StoreInst(static_cast<U32>(*pAddr), Info);
            Step = std::max(Alignment, static_cast<U64>(Info.Length));
            NumBytes += static_cast<U64>(Info.Length);
        }
        *pAddr += Step;
    }
    Overlay = {};
    DropTexts(); // counts and texts of the range are of the time before
    return NumBytes;
}

/// False, with a report, for a range that the cache can't take.
bool CheckRange(U64 Start, U64 End) {
    if (Start >= End) {
        Core_Log("Invalid address range input to function Core::AnalyzeAdd", CORE_LOG_FILE);
        return false;
    }
    return true;
}

/// Addresses that the records have no place for; reported.
bool IsOutside(U64 Start, U64 End) {
    if (Start < CACHE_LIMIT && End < CACHE_LIMIT) return false;
    Core_Log("Cannot add to instruction cache outside 32-bit address range", CORE_LOG_FILE);
    return true;
}

bool CheckCore() {
    if (Core_IsLoaded()) return true;
    Core_Log("Failed to analyze instruction byte stream: module not initialized", CORE_LOG_FILE);
    return false;
}

} // namespace

/// For the debugger's memory function, on the thread that decodes.
int ReadOverlay(U64 Addr, U32 Size, void* pBuffer) {
    if (!Overlay.pData || Addr < Overlay.Start || Addr + Size > Overlay.End) return -1;
    std::memcpy(pBuffer, Overlay.pData + (Addr - Overlay.Start), Size);
    return 0;
}

U64 AnalyzeAdd(U64 Start, U64 End, const U8* pData) {
    if (!CheckCore() || !CheckRange(Start, End) || !pData || IsOutside(Start, End)) return 0;
    U64 Addr = Start - Start % Core_GetStaticInfo().InstAlignment;
    return Decode({Start, End, pData}, &Addr, End);
}

CProgramAnalysis::CProgramAnalysis() : m_Generation(GetBindingGeneration()) {
    std::vector<std::pair<U64, U64>> aSection;
    bool HasFile = false;
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    {
        CBindingLock Lock;
        HasFile = Lock.Get().hFile != nullptr;
        for (const SECTION& S : Lock.Get().aSection) {
            if (S.IsCode) aSection.emplace_back(S.Start, S.End);
        }
        for (const BLOCK& B : Lock.Get().aBlock) {
            const U64 First = (B.Start + Alignment - 1) / Alignment * Alignment;
            if (!HasFile && First < B.End && B.pData) m_aSpan.emplace_back(First, B.End);
        }
    }
    for (const auto& [Start, End] : aSection) {
        const U64 Offset = ToRuntimeAddr(Start) - Start;
        for (U64 Pos = Start + Offset; Pos < End + Offset;) Pos = CollectRegion(Pos, End + Offset, m_aSpan);
    }
    if (!m_aSpan.empty() && !CheckCore()) m_aSpan.clear();
    std::erase_if(m_aSpan, [](const auto& Span) { return IsOutside(Span.first, Span.second); });
    for (const auto& [Start, End] : m_aSpan) m_NumTotal += End - Start;
}

bool CProgramAnalysis::Step(U64 MaxBytes) {
    // Pointers into the bytes of the program die with the binding; a core that was exchanged decodes from the beginning.
    if (m_Next >= m_aSpan.size() || !Core_IsLoaded() || GetBindingGeneration() != m_Generation) return false;
    const auto [Start, End] = m_aSpan[m_Next];
    const U64 From = Start - Start % Core_GetStaticInfo().InstAlignment;
    U64 Addr = From + m_Pos;
    m_NumDecoded += Decode({Start, End, FindSpanData(Start, End)}, &Addr, std::min(End, Addr + std::min(MaxBytes, End)));
    m_Pos = Addr - From;
    if (Addr >= End) {
        m_NumDone += End - Start;
        m_Pos = 0;
        m_Next++;
    }
    return m_Next < m_aSpan.size();
}

U32 CProgramAnalysis::GetPermille() const {
    return m_NumTotal ? static_cast<U32>(std::min<U64>(1000, (m_NumDone + m_Pos) * 1000 / m_NumTotal)) : 1000;
}

int AnalyzeProgram() {
    CProgramAnalysis Analysis;
    while (Analysis.Step(CACHE_LIMIT)) {
    }
    return static_cast<int>(std::min<U64>(Analysis.GetNumDecoded(), 0x7FFFFFFF));
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
