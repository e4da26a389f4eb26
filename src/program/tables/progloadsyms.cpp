// The steps of the load that build the symbol lists, the functions list and the trees.
#include "app/services/log.h"
#include "program/tables/progtables.h"

#include <algorithm>
#include <span>

namespace {

constexpr U32 FLAG_EXECUTABLE = 4;
constexpr U32 ATTR_CALL_FILE = 0x58, ATTR_CALL_LINE = 0x59;

ELF_SYM_LIST BuildList(const PROG_TABLES& Tab, ELF_LIST List)
{
    ELF_SYM_LIST aSym;
    const U32 Count = ELF_GetListCount(Tab.hFile, List);
    aSym.reserve(Count);
    U32 NumNull = 0;
    for (U32 i = 0; i < Count; i++) {
        const ELF_SYM_HANDLE hSym = ELF_GetListItem(Tab.hFile, List, i);
        if (hSym) aSym.append(hSym);
        else NumNull++;
    }
    if (NumNull) LogDebug(QStringLiteral("Warning: found %1 null pointers in symbol list").arg(NumNull));
    return aSym;
}

bool IsFunctionType(U32 Type) { return Type == 2 || Type == 13; }

} // namespace

void ProgLoadSymbolLists(PROG_TABLES& Tab)
{
    Tab.aGlobal = BuildList(Tab, ELF_LIST_GLOBAL_VARS);
    Tab.aCu = BuildList(Tab, ELF_LIST_COMPILATION_UNITS);
    Tab.aType = BuildList(Tab, ELF_LIST_TYPES);
}

void ProgLoadInlines(PROG_TABLES& Tab)
{
    const U32 Count = ELF_GetInlinedCount(Tab.hFile);
    Tab.aInstance.reserve(Count);
    std::vector<std::pair<U32, ELF_SYM_HANDLE>> aEntry; // first address of each expansion
    for (U32 i = 0; i < Count; i++) {
        const ELF_CODE Code = ELF_GetCode(Tab.hFile, ELF_LIST_INLINED, i);
        Tab.aInstance.push_back({Code.hOrigin ? Code.hOrigin : Code.hSym, Code.hSym});
        if (Code.NumRanges == 0) continue;
        const U32 Addr = Code.NumRanges == 1 ? ELF_ToRuntimeAddr(Code.Low, 1, 0) : ELF_GetSymRangeLow(Code.hSym, 0);
        if (Addr >= Tab.LowLimit && Addr != 0xFFFFFFFFu) aEntry.emplace_back(Addr, Code.hSym);
    }
    std::sort(Tab.aInstance.begin(), Tab.aInstance.end());
    // An expansion that the line table doesn't know gets the line of its call.
    const size_t NumMapped = Tab.aMap.size();
    for (const auto& [Addr, hInst] : aEntry) {
        // What is added here stands behind the rows that the index knows.
        const PROG_MAP_ROW* pRow = Tab.CodeIndex.LowerBound<0>(std::span(Tab.aMap.data(), NumMapped), Addr);
        if (pRow != Tab.aMap.data() + NumMapped && pRow->Addr == Addr) continue;
        const QString sFile = QString::fromUtf8(ELF_GetSymDeclFile(hInst, ATTR_CALL_FILE));
        const U32 File = sFile.isEmpty() ? 0xFFFFFFFFu : ProgFileOfPath(Tab, sFile);
        const U32 Line = static_cast<U32>(ELF_GetSymAttr(hInst, ATTR_CALL_LINE, nullptr));
        if (File != 0xFFFFFFFFu && Line) Tab.aMap.push_back({Addr, CSrcLoc(File, Line)});
    }
}

void ProgLoadElfSymbols(PROG_TABLES& Tab)
{
    const U32 Count = ELF_GetSymbolCount(Tab.hFile), NumSections = ELF_GetSectionCount(Tab.hFile);
    Tab.aElfSym.reserve(Count);
    for (U32 i = 1; i < Count; i++) {
        const U32 Section = ELF_GetSymbolSection(Tab.hFile, i);
        if (Section == 0) continue; // undefined, defined nowhere in the program
        if (Section < NumSections && !(ELF_GetSectionFlags(Tab.hFile, Section) & FLAG_EXECUTABLE)) continue;
        const U32 Addr = ProgAlign(ELF_ToRuntimeAddr(ELF_GetSymbolValue(Tab.hFile, i), 1, 0));
        Tab.aElfSym.push_back({Addr, IsFunctionType(ELF_GetSymbolType(Tab.hFile, i)), ELF_GetSymbolHandle(Tab.hFile, i)});
    }
    std::stable_sort(Tab.aElfSym.begin(), Tab.aElfSym.end(), [](const PROG_ELF_ROW& a, const PROG_ELF_ROW& b) {
        return a.Addr != b.Addr ? a.Addr < b.Addr : a.IsFunction > b.IsFunction;
    });
}

void ProgLoadFunctions(PROG_TABLES& Tab)
{
    struct BEST {
        CAddrRange Range;
        ELF_SYM_HANDLE hSym;
        bool IsExpansion;
    };
    std::vector<BEST> aBest; // by address, then the order of preference
    const U32 Count = ELF_GetFunctionCount(Tab.hFile);
    std::vector<ELF_SYM_HANDLE> ahAbstract;
    // Real functions first; an expansion stands for its function only where no function starts.
    for (U32 i = 0; i < Count; i++) {
        const ELF_CODE Code = ELF_GetCode(Tab.hFile, ELF_LIST_FUNCTIONS, i);
        if (Code.NumRanges == 0) ahAbstract.push_back(Code.hSym);
        else aBest.push_back({ProgCodeRange(Code), Code.hSym, false});
    }
    for (const PROG_ELF_ROW& Row : Tab.aElfSym) {
        if (!Row.IsFunction) continue;
        const char First = *ELF_GetSymbolName(Tab.hFile, ELF_GetSymId(Row.hSym));
        if (First != '?' && First != '$') aBest.push_back({ProgSymRange(Tab, Row.hSym), Row.hSym, false});
    }
    auto IsEmpty = [](const BEST& Best) { return Best.Range.Size == 0 || (Best.Range.Start == 0 && !ELF_IsFunctionAtZero(Best.hSym)); };
    auto IsBefore = [](const BEST& a, const BEST& b) { return a.Range.Start < b.Range.Start; };
    std::erase_if(aBest, IsEmpty);
    std::stable_sort(aBest.begin(), aBest.end(), [](const BEST& a, const BEST& b) {
        return a.Range.Start != b.Range.Start ? a.Range.Start < b.Range.Start : a.Range.Size > b.Range.Size;
    });
    auto KeepFirst = [&aBest] {
        aBest.erase(std::unique(aBest.begin(), aBest.end(), [](const BEST& a, const BEST& b) { return a.Range.Start == b.Range.Start; }), aBest.end());
    };
    KeepFirst();
    const size_t NumReal = aBest.size();
    auto itInst = Tab.aInstance.cbegin(); // both lists rise by handle
    for (const ELF_SYM_HANDLE hFunc : ahAbstract) {
        while (itInst != Tab.aInstance.cend() && itInst->hOrigin < hFunc) ++itInst;
        for (auto it = itInst; it != Tab.aInstance.cend() && it->hOrigin == hFunc; ++it) {
            const BEST Inst{ProgSymRange(Tab, it->hInst), it->hInst, true};
            if (IsEmpty(Inst)) continue;
            const auto itEnd = aBest.begin() + static_cast<std::ptrdiff_t>(NumReal);
            if (!std::binary_search(aBest.begin(), itEnd, Inst, IsBefore)) aBest.push_back(Inst);
            break;
        }
    }
    std::stable_sort(aBest.begin(), aBest.end(), IsBefore);
    KeepFirst();
    Tab.aFunction.reserve(static_cast<qsizetype>(aBest.size()));
    for (const BEST& Best : aBest) {
        Tab.aFunction.append(Best.hSym);
        Tab.aFunctionRange.push_back(Best.IsExpansion ? CAddrRange() : Best.Range);
        Tab.aFunctionStart.push_back(Best.Range.Start);
    }
}

void ProgLoadFunctionTree(PROG_TABLES& Tab)
{
    // The last address that is found is the last 2-byte aligned one.
    auto Add = [&Tab](U64 Low, U64 High, ELF_SYM_HANDLE hSym, CFunctionMap::KIND Kind) {
        Low = ProgAlign(static_cast<U32>(Low));
        if (High >= Low + 2) Tab.FunctionMap.Add(static_cast<U32>(Low), static_cast<U32>(High - 2), hSym, Kind);
    };
    const U32 Count = ELF_GetInlinedCount(Tab.hFile);
    Tab.FunctionMap.Reserve(Count + static_cast<size_t>(Tab.aFunction.size()));
    for (qsizetype i = 0; i < Tab.aFunction.size(); i++) {
        const ELF_SYM_HANDLE hFunc = Tab.aFunction[i];
        const CAddrRange& Range = Tab.aFunctionRange[static_cast<size_t>(i)];
        if (ELF_SymIsElf(hFunc)) {
            Add(Range.Start, Range.End(), hFunc, CFunctionMap::KIND::ELF_SYMBOL);
        } else if (!Range.IsEmpty()) {
            ProgForEachRange(ELF_FindCode(hFunc), [&](U32 Low, U32 High) { Add(Low, High, hFunc, CFunctionMap::KIND::FUNCTION); });
        }
    }
    // In the order of the debug information an expansion stands before those that it contains.
    for (U32 i = 0; i < Count; i++) {
        const ELF_CODE Code = ELF_GetCode(Tab.hFile, ELF_LIST_INLINED, i);
        ProgForEachRange(Code, [&](U32 Low, U32 High) { Add(Low, High, Code.hSym, CFunctionMap::KIND::EXPANSION); });
    }
    Tab.FunctionMap.Build();
    Tab.CodeIndex.Build(Tab.aMap, Tab.FunctionMap.Stretches());
}

void ProgLoadFileFunctions(PROG_TABLES& Tab)
{
    for (qsizetype i = 0; i < Tab.aFunction.size(); i++) {
        const ELF_SYM_HANDLE hFunc = Tab.aFunction[i];
        const U32 Addr = Tab.aFunctionStart[static_cast<size_t>(i)];
        const PROG_MAP_SPAN Rows = ProgRowsAt(Tab, Addr);
        U32 File = Rows.IsEmpty() ? 0xFFFFFFFFu : Rows.pFirst->Loc.File;
        if (File == 0xFFFFFFFFu && !ELF_SymIsElf(hFunc)) {
            if (const U32* pFile = Tab.FileMap.Find(Addr)) File = *pFile;
        }
        const auto it = Tab.Files.find(File);
        if (it != Tab.Files.end()) it->aFunction.append(hFunc);
        else Tab.aFunctionWithoutFile.append(hFunc);
    }
    std::vector<CAddrRange>().swap(Tab.aFunctionRange);
    std::vector<U32>().swap(Tab.aFunctionStart);
}

void ProgLoadFrames(PROG_TABLES& Tab)
{
    const U32 Count = ELF_GetFdeCount(Tab.hFile);
    Tab.aFde.reserve(Count);
    for (U32 i = 0; i < Count; i++) {
        const U32 Low = ELF_GetFdeLowPc(Tab.hFile, i), High = ELF_GetFdeHighPc(Tab.hFile, i);
        if (Low <= High) Tab.aFde.push_back({Low, High});
    }
    std::sort(Tab.aFde.begin(), Tab.aFde.end(), [](const PROG_FDE_ROW& a, const PROG_FDE_ROW& b) {
        return a.Low != b.Low ? a.Low < b.Low : a.High > b.High;
    });
    Tab.aFde.erase(std::unique(Tab.aFde.begin(), Tab.aFde.end(),
                               [](const PROG_FDE_ROW& a, const PROG_FDE_ROW& b) { return a.Low == b.Low; }),
                   Tab.aFde.end());
}
