// Lines and instructions of address ranges.
#include "app/services/log.h"
#include "app/services/mainthread.h"
#include "program/tables/progtables.h"

#include <algorithm>

namespace {

constexpr U32 MAX_RANGE = 10000000; ///< bytes that are analysed at most

bool IsTooLarge(const CAddrRange& Range, const char* sWhat, const char* sAnalysis)
{
    if (Range.Size <= MAX_RANGE) return false;
    LogDebug(QStringLiteral("Size of %1 @ %2 exceeds limit for %3")
                 .arg(QLatin1String(sWhat), QString::number(Range.Start, 16), QLatin1String(sAnalysis)));
    return true;
}

/// Walks a range by the code alignment and calls Visit(address, line) with the line each address belongs to.
template <typename VISIT> void WalkLines(PROG_TABLES& Tab, const CAddrRange& Range, VISIT Visit)
{
    const PROG_HOOKS& Hooks = PROG_Hooks();
    U32 Line = 0;
    for (U64 At = ProgAlign(Range.Start); At < Range.End(); At += ELF_GetCodeAlign()) {
        const U32 Addr = static_cast<U32>(At);
        if (!Hooks.IsData || !Hooks.IsData(Addr)) {
            const PROG_MAP_SPAN Rows = ProgRowsFor(Tab, Addr);
            if (!Rows.IsEmpty()) Line = Rows.pFirst->Loc.Line;
        }
        Visit(At, Line);
    }
}

} // namespace

QMap<U32, CAddrRange> PROG_GetFunctionLines(const CAddrRange& Range)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    QMap<U32, CAddrRange> Lines;
    if (!Tab.Loaded || Range.IsEmpty() || IsTooLarge(Range, "function", "line count analysis")) return Lines;
    U32 Current = 0;
    U64 Start = 0;
    bool IsOpen = false; // the entry of Current was made by this run and waits for its size
    auto Close = [&](U64 End) {
        if (IsOpen) Lines[Current].Size = static_cast<U32>(End - Start);
        IsOpen = false;
    };
    WalkLines(Tab, Range, [&](U64 At, U32 Line) {
        if (At != ProgAlign(Range.Start) && Line == Current) return;
        Close(At);
        Current = Line;
        Start = At;
        // A line that comes back stays with its first run.
        if (Line == 0 || Lines.contains(Line)) return;
        Lines.insert(Line, CAddrRange(static_cast<U32>(At), 0));
        IsOpen = true;
    });
    Close(Range.End());
    return Lines;
}

QList<CAddrRange> PROG_GetLineInstructions(U32 Line, const CAddrRange& Range)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    QList<CAddrRange> aRun;
    if (!Tab.Loaded || Range.IsEmpty() || IsTooLarge(Range, "function", "instruction analysis")) return aRun;
    U64 Start = 0;
    bool IsIn = false;
    auto Close = [&](U64 End) {
        if (IsIn) aRun.append(CAddrRange(static_cast<U32>(Start), static_cast<U32>(End - Start)));
        IsIn = false;
    };
    WalkLines(Tab, Range, [&](U64 At, U32 AtLine) {
        if (AtLine != Line) return Close(At);
        if (!IsIn) Start = At;
        IsIn = true;
    });
    Close(Range.End());
    return aRun;
}

QList<CAddrRange> PROG_GetSymbolSections(const CAddrRange& Range)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded || Range.IsEmpty()) return {};
    if (IsTooLarge(Range, "symbol", "line count analysis") || Tab.aElfSym.empty()) return {Range};
    auto it = std::upper_bound(Tab.aElfSym.begin(), Tab.aElfSym.end(), Range.Start, [](U32 Key, const PROG_ELF_ROW& Row) { return Key < Row.Addr; });
    // Back to the first symbol of the last address at or below the start.
    if (it != Tab.aElfSym.begin()) {
        const U32 Addr = (it - 1)->Addr;
        while (it != Tab.aElfSym.begin() && (it - 1)->Addr == Addr) --it;
    }
    QList<CAddrRange> aRun;
    U64 Start = Range.Start;
    bool IsCode = true;
    while (it != Tab.aElfSym.end() && it->Addr < Range.End()) {
        // Of the symbols at an address, an object or a mapping symbol of data makes what follows data.
        const U32 Addr = it->Addr;
        bool IsDataAt = false, IsCodeAt = false;
        for (; it != Tab.aElfSym.end() && it->Addr == Addr; ++it) {
            const char* sName = ELF_GetSymName(it->hSym);
            const U32 Type = ELF_GetSymTag(it->hSym);
            if (Type == 1 || (sName[0] == '$' && sName[1] == 'd')) IsDataAt = true;
            if (Type == 2 || Type == 13 || (sName[0] == '$' && (sName[1] == 't' || sName[1] == 'a' || sName[1] == 'x'))) IsCodeAt = true;
        }
        const bool NowCode = IsCodeAt || (IsCode && !IsDataAt);
        const U64 At = std::max<U64>(Addr, Range.Start);
        if (IsCode && !NowCode && At > Start) aRun.append(CAddrRange(static_cast<U32>(Start), static_cast<U32>(At - Start)));
        if (!IsCode && NowCode) Start = At;
        IsCode = NowCode;
    }
    if (IsCode && Range.End() > Start) aRun.append(CAddrRange(static_cast<U32>(Start), static_cast<U32>(Range.End() - Start)));
    return aRun;
}

QList<CAddrRange> PROG_GetRangeGaps(const CAddrRange& Range)
{
    QList<CAddrRange> aGap;
    U64 At = Range.Start;
    for (const CAddrRange& Section : PROG_GetSymbolSections(Range)) {
        if (Section.Start > At) aGap.append(CAddrRange(static_cast<U32>(At), static_cast<U32>(Section.Start - At)));
        At = Section.End();
    }
    if (PROG_IsLoaded() && At < Range.End()) aGap.append(CAddrRange(static_cast<U32>(At), static_cast<U32>(Range.End() - At)));
    return aGap;
}

U32 PROG_GetLineCount(const CAddrRange& Range)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return 0;
    const auto it = Tab.LineCounts.constFind(Range);
    if (it != Tab.LineCounts.constEnd()) return it.value();
    return *Tab.LineCounts.insert(Range, static_cast<U32>(PROG_GetFunctionLines(Range).size()));
}

U32 PROG_GetFileInstructionCount(U32 File)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    const auto it = Tab.FileInstCounts.constFind(File);
    if (it != Tab.FileInstCounts.constEnd()) return it.value();
    if (!Tab.Loaded || !IsMainThread() || !PROG_Hooks().CountInsts) return 0;
    return *Tab.FileInstCounts.insert(File, PROG_Hooks().CountInsts(PROG_GetFileRanges(File)));
}

U32 PROG_GetFileCodeSize(U32 File)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    U32 Size = 0;
    for (const ELF_SYM_HANDLE hFunc : PROG_GetFileFunctions(File)) {
        if (ELF_GetSymTag(hFunc) != ELF_TAG_INLINED_SUBROUTINE) Size += ProgSymRange(Tab, hFunc).Size;
    }
    return Size;
}
