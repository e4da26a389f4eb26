// Functions at addresses and the ranges of symbols.
#include "app/services/log.h"
#include "program/tables/progtables.h"

#include <algorithm>

namespace {

/// No program of a microcontroller comes near; a symbol that claims more is damaged.
constexpr U64 MAX_SYMBOL_SPAN = 1000000000;

CAddrRange SpanOf(U64 Low, U64 High)
{
    if (High <= Low) return {};
    if (High - Low < MAX_SYMBOL_SPAN) return CAddrRange(static_cast<U32>(Low), static_cast<U32>(High - Low));
    LogDebug(QStringLiteral("symbol address range could not be determined @ ") + QString::number(Low, 16));
    return {};
}

} // namespace

bool ProgIsFunction(ELF_SYM_HANDLE hSym)
{
    const U32 Tag = ELF_GetSymTag(hSym);
    if (ELF_SymIsElf(hSym)) return Tag == 2 || Tag == 13;
    return Tag == ELF_TAG_SUBPROGRAM || Tag == ELF_TAG_INLINED_SUBROUTINE || Tag == ELF_TAG_SUBROUTINE_TYPE;
}

/// Range of an ELF symbol where it lies at run time; bit 0 of a Thumb symbol isn't part of its address.
static CAddrRange ElfRange(ELF_SYM_HANDLE hSym)
{
    const U32 Low = ELF_GetSymRangeLow(hSym, 0), High = ELF_GetSymRangeHigh(hSym, 0);
    return High > Low ? CAddrRange(ProgAlign(Low), High - (ProgIsFunction(hSym) ? Low : ProgAlign(Low))) : CAddrRange();
}

const QList<CAddrRange>& ProgSymRanges(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym)
{
    const auto it = Tab.Ranges.constFind(hSym);
    if (it != Tab.Ranges.constEnd()) return it.value();
    QList<CAddrRange> aRange;
    if (ELF_SymIsElf(hSym)) {
        const CAddrRange Range = ElfRange(hSym);
        if (!Range.IsEmpty()) aRange.append(Range);
    } else {
        const U32 Count = ELF_GetSymRangeCount(hSym);
        for (U32 i = 0; i < Count; i++) {
            const U32 Low = ProgAlign(ELF_GetSymRangeLow(hSym, i)), High = ELF_GetSymRangeHigh(hSym, i);
            if (High > Low) aRange.append(CAddrRange(Low, High - Low));
        }
        std::sort(aRange.begin(), aRange.end());
    }
    return *Tab.Ranges.insert(hSym, aRange);
}

CAddrRange ProgSymRange(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym)
{
    // What the first pass over the file has noted costs less than a table of answers.
    if (ELF_SymIsElf(hSym)) return ElfRange(hSym);
    const auto it = Tab.Range.constFind(hSym);
    if (it != Tab.Range.constEnd()) return it.value();
    if (const ELF_CODE Code = ELF_FindCode(hSym); Code.hSym) {
        const CAddrRange Range = ProgCodeRange(Code);
        if (!Range.IsEmpty() || Code.NumRanges == 0) return Range;
    }
    U64 Low = ~0ull, High = 0;
    auto Merge = [&](ELF_SYM_HANDLE h) {
        for (const CAddrRange& Range : ProgSymRanges(Tab, h)) {
            Low = std::min<U64>(Low, Range.Start);
            High = std::max(High, Range.End());
        }
    };
    Merge(hSym);
    if (High <= Low && ELF_GetSymTag(hSym) == ELF_TAG_COMPILE_UNIT) {
        for (const ELF_SYM_HANDLE hFunc : ELF_GetSymChildren(hSym, ELF_TAG_SUBPROGRAM)) Merge(hFunc);
    }
    return *Tab.Range.insert(hSym, SpanOf(Low, High));
}

CAddrRange ProgCodeRange(const ELF_CODE& Code)
{
    U64 Low = ~0ull, High = 0;
    ProgForEachRange(Code, [&](U32 RangeLow, U32 RangeHigh) {
        Low = std::min<U64>(Low, ProgAlign(RangeLow));
        High = std::max<U64>(High, RangeHigh);
    });
    return SpanOf(Low, High);
}

std::pair<const PROG_INSTANCE*, const PROG_INSTANCE*> ProgInstances(const PROG_TABLES& Tab, ELF_SYM_HANDLE hOrigin)
{
    const PROG_INSTANCE* pBegin = Tab.aInstance.data();
    const PROG_INSTANCE* pEnd = pBegin + Tab.aInstance.size();
    return {std::lower_bound(pBegin, pEnd, PROG_INSTANCE{hOrigin, 0}), std::upper_bound(pBegin, pEnd, PROG_INSTANCE{hOrigin, ~0ull})};
}

const CFunctionMap::STRETCH* ProgStretchAt(const PROG_TABLES& Tab, U32 Addr)
{
    return Tab.CodeIndex.Floor<1>(Tab.FunctionMap.Stretches(), Addr);
}

ELF_SYM_HANDLE ProgFunctionAt(const PROG_TABLES& Tab, U32 Addr, bool PreferOuter)
{
    // Mostly the line is asked for next.
    Tab.CodeIndex.Prefetch<0>(Tab.aMap, Addr);
    const CFunctionMap::STRETCH* pStretch = ProgStretchAt(Tab, Addr);
    if (!pStretch) return 0;
    return Tab.FunctionMap.Handle(PreferOuter ? pStretch->Outer : pStretch->Inner);
}

ELF_SYM_HANDLE PROG_GetFunctionAt(U32 Addr, int PreferOuter)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    return Tab.Loaded ? ProgFunctionAt(Tab, Addr, PreferOuter != 0) : 0;
}

CAddrRange PROG_GetSymRange(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    return Tab.Loaded ? ProgSymRange(Tab, hSym) : CAddrRange();
}

QList<CAddrRange> PROG_GetSymRanges(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    return Tab.Loaded ? ProgSymRanges(Tab, hSym) : QList<CAddrRange>();
}

bool PROG_IsFunction(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    return ProgIsFunction(hSym);
}

bool PROG_HasFrameInfo(U32 Addr)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    auto it = std::upper_bound(Tab.aFde.begin(), Tab.aFde.end(), Addr, [](U32 Key, const PROG_FDE_ROW& Row) { return Key < Row.Low; });
    return Tab.Loaded && it != Tab.aFde.begin() && Addr < (--it)->High;
}
