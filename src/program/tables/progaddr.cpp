// Addresses to source locations and back.
#include "program/tables/progtables.h"

#include <algorithm>

namespace {

constexpr U32 FALLBACK_BYTES = 256; ///< how far below an address its line record may lie
constexpr U32 NEXT_LINE_BYTES = 1000;
constexpr U32 NEXT_LINE_LINES = 1000;

/// The addresses of one line of a file.
std::pair<const PROG_LOC_ROW*, const PROG_LOC_ROW*> RowsOfLine(PROG_TABLES& Tab, U32 File, U32 Line)
{
    const CBigVector<PROG_LOC_ROW>& aRow = ProgRowsByLoc(Tab);
    const PROG_LOC_ROW* pEnd = aRow.data() + aRow.size();
    const PROG_LOC_ROW* pFirst = std::lower_bound(aRow.data(), pEnd, PROG_LOC_ROW{File, Line, 0});
    const PROG_LOC_ROW* pLast = pFirst;
    while (pLast != pEnd && pLast->File == File && pLast->Line == Line) pLast++;
    return {pFirst, pLast};
}

} // namespace

const CBigVector<PROG_LOC_ROW>& ProgRowsByLoc(PROG_TABLES& Tab)
{
    if (Tab.aByLoc.empty() && !Tab.aMap.empty()) {
        Tab.aByLoc.reserve(Tab.aMap.size());
        for (const PROG_MAP_ROW& Row : Tab.aMap) Tab.aByLoc.push_back({Row.Loc.File, Row.Loc.Line, Row.Addr});
        std::sort(Tab.aByLoc.begin(), Tab.aByLoc.end());
    }
    return Tab.aByLoc;
}

/// The rows that share the address of this one, which is their first; none if it is null.
static PROG_MAP_SPAN GroupOf(const PROG_TABLES& Tab, const PROG_MAP_ROW* pFirst)
{
    const PROG_MAP_ROW* pEnd = Tab.aMap.data() + Tab.aMap.size();
    const PROG_MAP_ROW* pLast = pFirst;
    while (pLast && pLast != pEnd && pLast->Addr == pFirst->Addr) pLast++;
    return {pFirst, pLast};
}

/// The first row that answers for an address, null if there is none.
static const PROG_MAP_ROW* FirstRowFor(const PROG_TABLES& Tab, U32 Addr)
{
    if (Addr == 0 || Addr == 0xFFFFFFFFu) return nullptr;
    const PROG_MAP_ROW* pRow = Tab.CodeIndex.Floor<0>(Tab.aMap, Addr);
    if (!pRow || pRow->Addr == Addr) return pRow;
    // Compilers emit a record where a line begins; the rest of its instructions are found from below.
    const U32 Below = pRow->Addr;
    if (Addr - Below > FALLBACK_BYTES) return nullptr;
    const CFunctionMap::STRETCH* pStretch = ProgStretchAt(Tab, Addr);
    const ELF_SYM_HANDLE hFunc = pStretch ? Tab.FunctionMap.Handle(pStretch->Outer) : 0;
    if (!hFunc || (pStretch->Addr > Below && ProgFunctionAt(Tab, Below, true) != hFunc)) return nullptr;
    return pRow;
}

static CSrcLoc FirstLoc(const PROG_TABLES& Tab, U32 Addr)
{
    const PROG_MAP_ROW* pRow = FirstRowFor(Tab, Addr);
    return pRow ? pRow->Loc : CSrcLoc();
}

PROG_MAP_SPAN ProgRowsAt(const PROG_TABLES& Tab, U32 Addr)
{
    const PROG_MAP_ROW* pRow = Tab.CodeIndex.Floor<0>(Tab.aMap, Addr);
    return GroupOf(Tab, pRow && pRow->Addr == Addr ? pRow : nullptr);
}

PROG_MAP_SPAN ProgRowsFor(const PROG_TABLES& Tab, U32 Addr) { return GroupOf(Tab, FirstRowFor(Tab, Addr)); }

QList<CSrcLoc> PROG_GetSrcLocs(U32 Addr)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    QList<CSrcLoc> aLoc;
    if (!Tab.Loaded) return aLoc;
    const PROG_MAP_SPAN Rows = ProgRowsFor(Tab, Addr);
    for (const PROG_MAP_ROW* p = Rows.pFirst; p != Rows.pLast; p++) aLoc.append(p->Loc);
    return aLoc;
}

CSrcLoc PROG_GetFirstSrcLoc(U32 Addr)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    return Tab.Loaded ? FirstLoc(Tab, Addr) : CSrcLoc();
}

CSrcLoc PROG_GetLastSrcLoc(U32 Addr)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    const PROG_MAP_SPAN Rows = Tab.Loaded ? ProgRowsFor(Tab, Addr) : PROG_MAP_SPAN{nullptr, nullptr};
    return Rows.IsEmpty() ? CSrcLoc() : Rows.pLast[-1].Loc;
}

CSrcLoc PROG_GetExactSrcLoc(U32 Addr)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded || Addr == 0 || Addr == 0xFFFFFFFFu) return {};
    const PROG_MAP_SPAN Rows = ProgRowsAt(Tab, Addr);
    return Rows.IsEmpty() ? CSrcLoc() : Rows.pFirst->Loc;
}

bool PROG_HasSrcLoc(U32 Addr)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    return Tab.Loaded && FirstRowFor(Tab, Addr);
}

bool PROG_HasExactSrcLoc(U32 Addr)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    return Tab.Loaded && Addr != 0 && Addr != 0xFFFFFFFFu && !ProgRowsAt(Tab, Addr).IsEmpty();
}

I64 PROG_GetNextMappedAddr(U32 Addr)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return -1;
    const PROG_MAP_ROW* pRow = Tab.CodeIndex.UpperBound<0>(Tab.aMap, Addr);
    return pRow != Tab.aMap.data() + Tab.aMap.size() ? static_cast<I64>(pRow->Addr) : -1;
}

I64 PROG_GetPrevMappedAddr(U32 Addr)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return -1;
    const PROG_MAP_ROW* pRow = Tab.CodeIndex.LowerBound<0>(Tab.aMap, Addr);
    return pRow != Tab.aMap.data() ? static_cast<I64>(pRow[-1].Addr) : -1;
}

int PROG_GetNextLineAddr(U32 Addr, U32* pNext)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded || Tab.aMap.empty()) return -1;
    const CSrcLoc Start = FirstLoc(Tab, Addr);
    const U32 Step = ELF_GetCodeAlign();
    const U64 Limit = std::min<U64>(static_cast<U64>(Addr) + NEXT_LINE_BYTES, static_cast<U64>(Tab.aMap.back().Addr));
    for (U64 At = ProgAlign(Addr); At < Limit; At += Step) {
        const CSrcLoc Loc = FirstLoc(Tab, static_cast<U32>(At));
        if (At <= Addr || !Loc.IsValid() || Loc.IsSameLine(Start)) continue;
        *pNext = static_cast<U32>(At);
        return 0;
    }
    return -1;
}

U32 PROG_GetFileOfAddr(U32 Addr)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return 0xFFFFFFFFu;
    // Files whose ranges overlap: one that has a line at the address is right, else the one with the least code.
    const PROG_MAP_SPAN Rows = ProgRowsAt(Tab, Addr);
    if (!Rows.IsEmpty()) return Rows.pFirst->Loc.File;
    const U32* pFile = Tab.FileMap.Find(Addr);
    return pFile ? *pFile : 0xFFFFFFFFu;
}

QList<U32> PROG_GetAddrs(const CSrcLoc& Loc)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    QList<U32> aAddr;
    if (!Tab.Loaded) return aAddr;
    const auto [pFirst, pLast] = RowsOfLine(Tab, Loc.File, Loc.Line);
    for (const PROG_LOC_ROW* p = pFirst; p != pLast; p++) aAddr.append(p->Addr);
    return aAddr;
}

I64 PROG_GetFirstAddr(const CSrcLoc& Loc)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return -1;
    const auto [pFirst, pLast] = RowsOfLine(Tab, Loc.File, Loc.Line);
    return pFirst == pLast ? -1 : static_cast<I64>(pFirst->Addr);
}

QList<U32> PROG_GetAddrsInRange(const CSrcLoc& Loc, U32 Start, U32 End)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    QList<U32> aAddr;
    if (!Tab.Loaded) return aAddr;
    const PROG_HOOKS& Hooks = PROG_Hooks();
    for (U64 At = ProgAlign(Start); At < End; At += ELF_GetCodeAlign()) {
        const U32 Addr = static_cast<U32>(At);
        if (Hooks.IsInstStart && !Hooks.IsInstStart(Addr)) continue;
        const PROG_MAP_SPAN Rows = ProgRowsFor(Tab, Addr);
        const bool IsOnLine = std::any_of(Rows.pFirst, Rows.pLast, [&Loc](const PROG_MAP_ROW& Row) { return Row.Loc.IsSameLine(Loc); });
        if (!IsOnLine) break;
        aAddr.append(Addr);
    }
    return aAddr;
}

CSrcLoc PROG_GetNextLineWithCode(const CSrcLoc& Loc)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return {};
    const CBigVector<PROG_LOC_ROW>& aRow = ProgRowsByLoc(Tab);
    const auto it = std::lower_bound(aRow.begin(), aRow.end(), PROG_LOC_ROW{Loc.File, Loc.Line, 0});
    if (it == aRow.end() || it->File != Loc.File || it->Line - Loc.Line > NEXT_LINE_LINES) return {};
    return CSrcLoc(it->File, it->Line);
}

CSrcLoc PROG_GetPrevLineWithCode(const CSrcLoc& Loc)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return {};
    const CBigVector<PROG_LOC_ROW>& aRow = ProgRowsByLoc(Tab);
    auto it = std::upper_bound(aRow.begin(), aRow.end(), PROG_LOC_ROW{Loc.File, Loc.Line, 0xFFFFFFFFu});
    if (it == aRow.begin()) return {};
    --it;
    return it->File == Loc.File ? CSrcLoc(it->File, it->Line) : CSrcLoc();
}
