// The steps of the load that build the symbol lists, the functions list and the trees.
#include "app/services/log.h"
#include "program/tables/progtables.h"

#include <algorithm>
#include <unordered_map>

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

bool IsElfFunction(ELF_SYM_HANDLE hSym)
{
    const U32 Tag = ELF_GetSymTag(hSym);
    return Tag == 2 || Tag == 13;
}

} // namespace

void ProgLoadSymbolLists(PROG_TABLES& Tab)
{
    Tab.aInlined = BuildList(Tab, ELF_LIST_INLINED);
    Tab.aDwarfFunction = BuildList(Tab, ELF_LIST_FUNCTIONS);
    Tab.aGlobal = BuildList(Tab, ELF_LIST_GLOBAL_VARS);
    Tab.aNamespace = BuildList(Tab, ELF_LIST_NAMESPACES);
    Tab.aCu = BuildList(Tab, ELF_LIST_COMPILATION_UNITS);
    Tab.aType = BuildList(Tab, ELF_LIST_TYPES);
}

void ProgLoadInlines(PROG_TABLES& Tab)
{
    for (const ELF_SYM_HANDLE hInst : std::as_const(Tab.aInlined)) {
        const ELF_SYM_HANDLE hOrigin = ELF_GetSymOrigin(hInst);
        Tab.Instances[hOrigin ? hOrigin : hInst].append(hInst);
        // An expansion that the line table doesn't know gets the line of its call.
        if (ELF_GetSymRangeCount(hInst) == 0) continue;
        const U32 Addr = ELF_GetSymRangeLow(hInst, 0);
        const bool IsMapped = std::binary_search(Tab.aMapped.begin(), Tab.aMapped.end(), Addr);
        if (Addr < Tab.LowLimit || Addr == 0xFFFFFFFFu || IsMapped) continue;
        const QString sFile = QString::fromUtf8(ELF_GetSymDeclFile(hInst, ATTR_CALL_FILE));
        const U32 File = sFile.isEmpty() ? 0xFFFFFFFFu : ProgFileOfPath(Tab, sFile);
        const U32 Line = static_cast<U32>(ELF_GetSymAttr(hInst, ATTR_CALL_LINE, nullptr));
        if (File != 0xFFFFFFFFu && Line) Tab.aMap.push_back({Addr, CSrcLoc(File, Line)});
    }
}

void ProgLoadElfSymbols(PROG_TABLES& Tab)
{
    const U32 Count = ELF_GetSymbolCount(Tab.hFile);
    Tab.aElfSym.reserve(Count);
    for (U32 i = 1; i < Count; i++) {
        const U32 Section = ELF_GetSymbolSection(Tab.hFile, i);
        if (Section == 0) continue; // undefined, defined nowhere in the program
        if (Section < ELF_GetSectionCount(Tab.hFile) && !(ELF_GetSectionFlags(Tab.hFile, Section) & FLAG_EXECUTABLE)) continue;
        const ELF_SYM_HANDLE hSym = ELF_GetSymbolHandle(Tab.hFile, i);
        const U32 Addr = ProgAlign(ELF_ToRuntimeAddr(ELF_GetSymbolValue(Tab.hFile, i), 1, 0));
        if (IsElfFunction(hSym)) {
            const char First = *ELF_GetSymbolName(Tab.hFile, i);
            if (First != '?' && First != '$') Tab.aElfFunction.append(hSym);
        }
        Tab.aElfSym.push_back({Addr, hSym});
    }
    std::stable_sort(Tab.aElfSym.begin(), Tab.aElfSym.end(), [](const PROG_ELF_ROW& a, const PROG_ELF_ROW& b) {
        return a.Addr != b.Addr ? a.Addr < b.Addr : IsElfFunction(a.hSym) > IsElfFunction(b.hSym);
    });
}

void ProgLoadFunctions(PROG_TABLES& Tab)
{
    struct BEST {
        U32 Size;
        ELF_SYM_HANDLE hSym;
    };
    std::unordered_map<U32, BEST> Best;
    auto Offer = [&](ELF_SYM_HANDLE hSym) {
        const CAddrRange Range = ProgSymRange(Tab, hSym);
        if (Range.Start == 0 || Range.Size == 0) return;
        const auto [it, IsNew] = Best.try_emplace(Range.Start, BEST{Range.Size, hSym});
        if (!IsNew && it->second.Size < Range.Size) it->second = {Range.Size, hSym};
    };
    // Real functions first; an expansion stands for its function only where no function starts.
    for (const ELF_SYM_HANDLE hFunc : std::as_const(Tab.aDwarfFunction)) Offer(hFunc);
    for (const ELF_SYM_HANDLE hFunc : std::as_const(Tab.aElfFunction)) Offer(hFunc);
    for (const ELF_SYM_HANDLE hFunc : std::as_const(Tab.aDwarfFunction)) {
        if (ELF_GetSymRangeCount(hFunc)) continue;
        const auto itInst = Tab.Instances.constFind(hFunc);
        if (itInst == Tab.Instances.constEnd()) continue;
        for (const ELF_SYM_HANDLE hInst : itInst.value()) {
            const CAddrRange Range = ProgSymRange(Tab, hInst);
            if (Range.Start == 0 || Range.Size == 0) continue;
            Best.try_emplace(Range.Start, BEST{Range.Size, hInst});
            break;
        }
    }
    std::vector<std::pair<U32, ELF_SYM_HANDLE>> aSorted;
    aSorted.reserve(Best.size());
    for (const auto& [Addr, Entry] : Best) aSorted.emplace_back(Addr, Entry.hSym);
    std::sort(aSorted.begin(), aSorted.end());
    Tab.aFunction.reserve(static_cast<qsizetype>(aSorted.size()));
    for (const auto& [Addr, hSym] : aSorted) Tab.aFunction.append(hSym);
    Tab.aDwarfFunction.clear();
    Tab.aElfFunction.clear();
}

void ProgLoadFunctionTree(PROG_TABLES& Tab)
{
    auto AddRanges = [&Tab](ELF_SYM_HANDLE hSym) {
        for (const CAddrRange& Range : ProgSymRanges(Tab, hSym)) {
            if (Range.Size >= 2) Tab.FunctionTree.Add(Range.Start, Range.End() - 2, hSym);
        }
    };
    for (const ELF_SYM_HANDLE hFunc : std::as_const(Tab.aFunction)) {
        if (ELF_GetSymTag(hFunc) != ELF_TAG_INLINED_SUBROUTINE) AddRanges(hFunc);
    }
    // In the order of the debug information an expansion stands before those that it contains.
    for (const ELF_SYM_HANDLE hInst : std::as_const(Tab.aInlined)) AddRanges(hInst);
    Tab.FunctionTree.Build();
}

void ProgLoadFileFunctions(PROG_TABLES& Tab)
{
    for (const ELF_SYM_HANDLE hFunc : std::as_const(Tab.aFunction)) {
        const U32 Addr = ProgSymRange(Tab, hFunc).Start;
        const PROG_MAP_SPAN Rows = ProgRowsAt(Tab, Addr);
        U32 File = Rows.IsEmpty() ? 0xFFFFFFFFu : Rows.pFirst->Loc.File;
        if (File == 0xFFFFFFFFu && !ELF_SymIsElf(hFunc)) {
            const std::vector<U64> aHit = Tab.FileTree.Find(Addr, Addr);
            if (!aHit.empty()) File = static_cast<U32>(aHit.back());
        }
        const auto it = Tab.Files.find(File);
        if (it != Tab.Files.end()) it->aFunction.append(hFunc);
        else Tab.aFunctionWithoutFile.append(hFunc);
    }
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
