// The steps of the load that build the address mapping and the source file tables.
#include "program/tables/progtables.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

namespace {

constexpr U32 NO_FILE = 0xFFFFFFFFu;

/// Adds a path of the debug information to the tables and gives its number.
U32 AddFile(PROG_TABLES& Tab, const QString& sPath)
{
    const U32 Known = ProgFileOfPath(Tab, sPath);
    if (Known != NO_FILE) return Known;
    const QString sLower = sPath.toLower();
    U32 Number = static_cast<U32>(qHash(sLower, size_t(0)));
    // 0 and the two highest numbers have meanings of their own; two paths must not share a number.
    while (Number == 0 || Number >= 0xFFFFFFFEu || Tab.Files.contains(Number)) Number++;
    PROG_FILE File;
    File.Number = Number;
    File.sPath = sPath;
    File.sNormPath = ProgNormalizePath(sPath);
    Tab.Files.insert(Number, File);
    Tab.aFile.append(Number);
    Tab.FileByPath.insert(sLower, Number);
    const QString sNorm = File.sNormPath.toLower();
    if (!Tab.FileByPath.contains(sNorm)) Tab.FileByPath.insert(sNorm, Number);
    Tab.FileByName.insert(sNorm.mid(sNorm.lastIndexOf(QLatin1Char('/')) + 1), Number);
    return Number;
}

U32 FileOfSrcIndex(PROG_TABLES& Tab, U32 Index)
{
    if (Index >= Tab.aFileOfSrc.size()) return NO_FILE;
    U32& Number = Tab.aFileOfSrc[Index];
    if (Number == NO_FILE) Number = AddFile(Tab, QString::fromUtf8(ELF_GetSrcFile(Tab.hFile, Index)));
    return Number;
}

/// Lowest code address: line records below it belong to code that isn't in the program.
U32 LowestFunction(const PROG_TABLES& Tab)
{
    U32 Lowest = 0xFFFFFFFFu;
    for (U32 i = 0; i < ELF_GetSymbolCount(Tab.hFile); i++) {
        const U32 Type = ELF_GetSymbolType(Tab.hFile, i);
        if ((Type != 2 && Type != 13) || ELF_GetSymbolSection(Tab.hFile, i) == 0) continue;
        const U32 Addr = ELF_ToRuntimeAddr(ELF_GetSymbolValue(Tab.hFile, i), 1, 0);
        if (Addr != 0) Lowest = std::min(Lowest, Addr);
    }
    return Lowest == 0xFFFFFFFFu ? 0 : ProgAlign(Lowest);
}

} // namespace

QString ProgNormalizePath(const QString& sPath)
{
    QString s = sPath;
    s.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (s.contains(QLatin1String("//"))) s.replace(QLatin1String("//"), QLatin1String("/"));
    return QDir::cleanPath(s);
}

U32 ProgAlign(U32 Addr)
{
    return Addr == 0xFFFFFFFFu ? Addr : Addr - Addr % ELF_GetCodeAlign();
}

U32 ProgFileOfPath(const PROG_TABLES& Tab, const QString& sPath)
{
    const auto it = Tab.FileByPath.constFind(sPath.toLower());
    if (it == Tab.FileByPath.constEnd()) return NO_FILE;
    // A normalised path must not stand in for another path of the debug information that spells it out.
    return it.value();
}

void ProgLoadLineFiles(PROG_TABLES& Tab)
{
    Tab.aFileOfSrc.assign(ELF_GetSrcFileCount(Tab.hFile), NO_FILE);
    const U32 Count = ELF_GetLineCount(Tab.hFile);
    for (U32 i = 0; i < Count; i++) FileOfSrcIndex(Tab, ELF_GetLineFileIndex(Tab.hFile, i));
}

void ProgLoadUnitFiles(PROG_TABLES& Tab)
{
    for (U32 i = 0; i < Tab.aFileOfSrc.size(); i++) FileOfSrcIndex(Tab, i);
}

void ProgLoadExists(PROG_TABLES& Tab)
{
    for (PROG_FILE& File : Tab.Files) {
        if (File.sOverride.isEmpty()) File.Exists = QFileInfo::exists(File.sPath);
    }
}

void ProgLoadMapping(PROG_TABLES& Tab)
{
    Tab.LowLimit = LowestFunction(Tab);
    const U32 Count = ELF_GetLineCount(Tab.hFile);
    Tab.aMap.reserve(Count);
    CSrcLoc Prev;
    bool IsFirstOfSequence = true, IsDead = false;
    for (U32 i = 0; i < Count; i++) {
        const U32 Addr = ELF_GetLineAddr(Tab.hFile, i);
        // The linker leaves the line records of code that it has dropped at address 0. Such a sequence may reach
        // up into the addresses of real code.
        if (IsFirstOfSequence) IsDead = Addr == 0 && Tab.LowLimit > 0;
        IsFirstOfSequence = ELF_LineIsEndOfSequence(Tab.hFile, i);
        // The end of a sequence only marks where its last record stops.
        if (IsFirstOfSequence || IsDead || Addr < Tab.LowLimit || Addr == 0xFFFFFFFFu) continue;
        const U32 File = FileOfSrcIndex(Tab, ELF_GetLineFileIndex(Tab.hFile, i));
        CSrcLoc Loc(File, ELF_GetLineNumber(Tab.hFile, i), ELF_GetLineColumn(Tab.hFile, i));
        if (Loc.Line == 0 && Prev.File == Loc.File) Loc.Line = Prev.Line;
        Prev = Loc;
        if (File == NO_FILE) continue;
        Tab.aMap.push_back({Addr, Loc});
        PROG_FILE& Info = Tab.Files[File];
        Info.LowAddr = std::min(Info.LowAddr, Addr);
        Info.HighAddr = std::max(Info.HighAddr, Addr);
    }
    ProgSortRows(Tab);
}

/// Sorts the rows, drops repeated ones and derives the other two arrays.
void ProgSortRows(PROG_TABLES& Tab)
{
    auto SameLine = [](const PROG_MAP_ROW& a, const PROG_MAP_ROW& b) {
        return a.Addr == b.Addr && a.Loc.IsSameLine(b.Loc);
    };
    // By address and line first, so that of several records that differ in the column only the first one stays.
    std::stable_sort(Tab.aMap.begin(), Tab.aMap.end(), [](const PROG_MAP_ROW& a, const PROG_MAP_ROW& b) {
        if (a.Addr != b.Addr) return a.Addr < b.Addr;
        return a.Loc.Line != b.Loc.Line ? a.Loc.Line < b.Loc.Line : a.Loc.File < b.Loc.File;
    });
    Tab.aMap.erase(std::unique(Tab.aMap.begin(), Tab.aMap.end(), SameLine), Tab.aMap.end());
    std::sort(Tab.aMap.begin(), Tab.aMap.end(), [](const PROG_MAP_ROW& a, const PROG_MAP_ROW& b) {
        return a.Addr != b.Addr ? a.Addr < b.Addr : a.Loc < b.Loc;
    });
    Tab.aByLoc.clear();
    Tab.aByLoc.reserve(Tab.aMap.size());
    Tab.aMapped.clear();
    for (const PROG_MAP_ROW& Row : Tab.aMap) {
        Tab.aByLoc.push_back({Row.Loc.File, Row.Loc.Line, Row.Addr});
        if (Tab.aMapped.empty() || Tab.aMapped.back() != Row.Addr) Tab.aMapped.push_back(Row.Addr);
    }
    std::sort(Tab.aByLoc.begin(), Tab.aByLoc.end());
}

void ProgSortMapping(PROG_TABLES& Tab)
{
    ProgSortRows(Tab);
}

void ProgLoadFileRanges(PROG_TABLES& Tab)
{
    // Functions of a unit follow the unit in id order.
    const U32 NumCus = ELF_GetCuCount(Tab.hFile), NumFunctions = ELF_GetFunctionCount(Tab.hFile);
    U32 Func = 0;
    for (U32 Cu = 0; Cu < NumCus; Cu++) {
        const ELF_SYM_HANDLE hCu = ELF_GetCu(Tab.hFile, Cu);
        const U32 NextCu = Cu + 1 < NumCus ? ELF_GetSymId(ELF_GetCu(Tab.hFile, Cu + 1)) : 0xFFFFFFFFu;
        std::vector<std::pair<U32, U32>> aRange; // low, last address
        for (; Func < NumFunctions; Func++) {
            const ELF_SYM_HANDLE hFunc = ELF_GetFunction(Tab.hFile, Func);
            if (ELF_GetSymId(hFunc) >= NextCu) break;
            for (U32 i = 0; i < ELF_GetSymRangeCount(hFunc); i++) {
                const U32 Low = ELF_GetSymRangeLow(hFunc, i), High = ELF_GetSymRangeHigh(hFunc, i);
                if (High > Low) aRange.emplace_back(Low, High - 1);
            }
        }
        if (aRange.empty()) continue;
        for (U32 i = 0; i < ELF_GetCuFileCount(hCu); i++) {
            const U32 Number = FileOfSrcIndex(Tab, ELF_GetCuFile(hCu, i));
            const auto it = Tab.Files.find(Number);
            if (it == Tab.Files.end() || it->LowAddr > it->HighAddr) continue;
            U64 Low = it->Range.IsEmpty() ? ~0ull : it->Range.Start, End = it->Range.IsEmpty() ? 0 : it->Range.End();
            for (const auto& [RangeLow, RangeLast] : aRange) {
                // A function counts for the file when the file has lines in its stretch of the program.
                if (RangeLow > it->HighAddr || RangeLast < it->LowAddr) continue;
                Low = std::min<U64>(Low, RangeLow);
                End = std::max<U64>(End, static_cast<U64>(RangeLast) + 1);
            }
            if (End > Low) it->Range = CAddrRange(static_cast<U32>(Low), static_cast<U32>(End - Low));
        }
    }
}

void ProgCleanMapping(PROG_TABLES& Tab)
{
    auto IsStray = [&Tab](const PROG_MAP_ROW& Row) {
        const auto it = Tab.Files.constFind(Row.Loc.File);
        return it != Tab.Files.constEnd() && !it->Range.IsEmpty() && !it->Range.Contains(Row.Addr);
    };
    const auto itEnd = std::remove_if(Tab.aMap.begin(), Tab.aMap.end(), IsStray);
    if (itEnd == Tab.aMap.end()) return;
    Tab.aMap.erase(itEnd, Tab.aMap.end());
    ProgSortRows(Tab);
}

void ProgLoadFileTree(PROG_TABLES& Tab)
{
    for (const U32 Number : std::as_const(Tab.aFile)) {
        const CAddrRange Range = Tab.Files[Number].Range;
        if (Range.Size >= 2) Tab.FileTree.Add(Range.Start, Range.End() - 2, Number);
    }
    Tab.FileTree.Build();
}
