// The steps of the load that build the address mapping and the source file tables.
#include "program/tables/progtables.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <cstring>

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

/// The record of each source file by its index in the ELF layer, null for one that has none. Files must not be added
/// while it is in use.
std::vector<PROG_FILE*> FilesOfSrc(PROG_TABLES& Tab)
{
    std::vector<PROG_FILE*> apFile;
    for (const U32 Number : Tab.aFileOfSrc) {
        const auto it = Tab.Files.find(Number);
        apFile.push_back(it != Tab.Files.end() ? &*it : nullptr);
    }
    return apFile;
}

/// Lowest code address: line records below it belong to code that isn't in the program.
U32 LowestFunction(const PROG_TABLES& Tab)
{
    if (ELF_HasFunctionAtZero(Tab.hFile)) return ProgAlign(ELF_ToRuntimeAddr(0, 1, 0));
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
    U32 Count;
    const ELF_LINE* pLine = ELF_GetLines(Tab.hFile, &Count);
    U32 Prev = NO_FILE;
    for (U32 i = 0; i < Count; i++) {
        if (pLine[i].File != Prev) FileOfSrcIndex(Tab, pLine[i].File);
        Prev = pLine[i].File;
    }
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

/// Declaration of the function that really lies at address 0, with an index of source files for a file number; line 0 if
/// there is none.
static CSrcLoc LocOfZero(const PROG_TABLES& Tab)
{
    constexpr U32 ATTR_DECL_FILE = 0x3A, ATTR_DECL_LINE = 0x3B;
    if (!ELF_HasFunctionAtZero(Tab.hFile)) return {};
    for (U32 i = 0; i < ELF_GetFunctionCount(Tab.hFile); i++) {
        const ELF_CODE Code = ELF_GetCode(Tab.hFile, ELF_LIST_FUNCTIONS, i);
        if (Code.NumRanges == 0 || Code.Low != 0 || !ELF_IsFunctionAtZero(Code.hSym)) continue;
        const U32 File = ELF_FindSrcFile(Tab.hFile, ELF_GetSymDeclFile(Code.hSym, ATTR_DECL_FILE));
        if (File != NO_FILE) return CSrcLoc(File, static_cast<U32>(ELF_GetSymAttr(Code.hSym, ATTR_DECL_LINE, nullptr)));
    }
    return {};
}

/// The rows of the line tables that belong to code of the program, still with indices of source files for file numbers.
/// Sequences come in the order of their addresses, so that the rows are sorted almost for free.
static void CollectRows(PROG_TABLES& Tab)
{
    U32 Count;
    const ELF_LINE* pLine = ELF_GetLines(Tab.hFile, &Count);
    const bool IsMoved = ELF_HasRelocations();
    auto AddrOf = [&](U32 i) { return IsMoved ? ELF_ToRuntimeAddr(pLine[i].Addr, 1, 0) : pLine[i].Addr; };
    struct SEQUENCE {
        U32 Addr, First, End;
        bool operator<(const SEQUENCE& Other) const { return Addr != Other.Addr ? Addr < Other.Addr : First < Other.First; }
    };
    std::vector<SEQUENCE> aSeq;
    for (U32 First = 0, i = 0; i < Count; i++) {
        if (!pLine[i].EndSequence && i + 1 < Count) continue;
        // The end of a sequence only marks where its last record stops. Linkers leave the line records of code that they
        // have dropped at address 0 or -1; such a sequence may reach up into the addresses of real code.
        const U32 Addr = AddrOf(First);
        const U32 End = pLine[i].EndSequence ? i : i + 1;
        if (End > First && (Addr != 0 || Tab.LowLimit == 0) && Addr < 0xFFFFFFFEu) aSeq.push_back({Addr, First, End});
        First = i + 1;
    }
    std::sort(aSeq.begin(), aSeq.end());
    if (const CSrcLoc Zero = LocOfZero(Tab); Zero.Line) {
        // Of the sequences at address 0 one is that of the function there: the one that begins next to its declaration.
        auto Distance = [&](const SEQUENCE& Seq) {
            const ELF_LINE& Row = pLine[Seq.First];
            return Row.File != Zero.File || Row.Line < Zero.Line ? 0xFFFFFFFFu : Row.Line - Zero.Line;
        };
        U32 Best = 0xFFFFFFFFu;
        for (const SEQUENCE& Seq : aSeq) {
            if (pLine[Seq.First].Addr == 0) Best = std::min(Best, Distance(Seq));
        }
        std::erase_if(aSeq, [&](const SEQUENCE& Seq) { return pLine[Seq.First].Addr == 0 && Distance(Seq) != Best; });
    }
    Tab.aMap.reserve(Count);
    for (const SEQUENCE& Seq : aSeq) {
        // A record without a line has that of the record before it, across sequences too.
        U32 PrevFile = NO_FILE, PrevLine = 0;
        if (pLine[Seq.First].Line == 0) {
            for (U32 i = Seq.First; i-- > 0 && PrevFile == NO_FILE;) {
                if (!pLine[i].EndSequence) PrevFile = pLine[i].File, PrevLine = pLine[i].Line;
            }
        }
        for (U32 i = Seq.First; i < Seq.End; i++) {
            const ELF_LINE& Row = pLine[i];
            const U32 Addr = AddrOf(i);
            if (Addr < Tab.LowLimit || Addr == 0xFFFFFFFFu || Row.File >= Tab.aFileOfSrc.size()) continue;
            const U32 Line = Row.Line == 0 && PrevFile == Row.File ? PrevLine : Row.Line;
            PrevFile = Row.File;
            PrevLine = Line;
            if (Tab.aFileOfSrc[Row.File] != NO_FILE) Tab.aMap.push_back({Addr, CSrcLoc(Row.File, Line, Row.Col)});
        }
    }
    ELF_DropLines(Tab.hFile);
}

/// Sorts the rows of each address and drops repeated ones: of several that differ in the column only the first stays.
static void TidyRows(PROG_TABLES& Tab)
{
    CBigVector<PROG_MAP_ROW>& aMap = Tab.aMap;
    auto IsBelow = [](const PROG_MAP_ROW& a, const PROG_MAP_ROW& b) { return a.Addr < b.Addr; };
    // What was added later stands behind the rest, which is in order already.
    const auto itSorted = std::is_sorted_until(aMap.begin(), aMap.end(), IsBelow);
    if (itSorted != aMap.end()) {
        std::stable_sort(itSorted, aMap.end(), IsBelow);
        std::inplace_merge(aMap.begin(), itSorted, aMap.end(), IsBelow);
    }
    auto itOut = aMap.begin();
    for (auto it = aMap.begin(); it != aMap.end();) {
        auto itEnd = it + 1;
        while (itEnd != aMap.end() && itEnd->Addr == it->Addr) ++itEnd;
        if (itEnd - it > 1) {
            std::stable_sort(it, itEnd, [](const PROG_MAP_ROW& a, const PROG_MAP_ROW& b) {
                return a.Loc.Line != b.Loc.Line ? a.Loc.Line < b.Loc.Line : a.Loc.File < b.Loc.File;
            });
            const auto itLast = std::unique(it, itEnd, [](const PROG_MAP_ROW& a, const PROG_MAP_ROW& b) { return a.Loc.IsSameLine(b.Loc); });
            std::sort(it, itLast, [](const PROG_MAP_ROW& a, const PROG_MAP_ROW& b) { return a.Loc < b.Loc; });
            itOut = std::move(it, itLast, itOut);
        } else {
            *itOut++ = *it;
        }
        it = itEnd;
    }
    aMap.erase(itOut, aMap.end());
}

void ProgLoadMapping(PROG_TABLES& Tab)
{
    Tab.LowLimit = LowestFunction(Tab);
    CollectRows(Tab);
    std::vector<PROG_FILE*> apFile = FilesOfSrc(Tab);
    for (const PROG_MAP_ROW& Row : Tab.aMap) {
        PROG_FILE& File = *apFile[Row.Loc.File];
        File.LowAddr = std::min(File.LowAddr, Row.Addr);
        File.HighAddr = std::max(File.HighAddr, Row.Addr);
    }
}

/// Widens the ranges of the files of a unit's line table by those of the functions that lie where the file has lines.
static void AddUnitRanges(const std::vector<PROG_FILE*>& apFile, ELF_SYM_HANDLE hCu, std::vector<std::pair<U32, U32>>& aRange)
{
    std::sort(aRange.begin(), aRange.end());
    std::vector<U32> aHighest; // highest last address of the ranges up to each
    for (const auto& Range : aRange) aHighest.push_back(aHighest.empty() ? Range.second : std::max(aHighest.back(), Range.second));
    for (U32 i = 0; i < ELF_GetCuFileCount(hCu); i++) {
        const U32 Src = ELF_GetCuFile(hCu, i);
        PROG_FILE* pFile = Src < apFile.size() ? apFile[Src] : nullptr;
        if (!pFile || pFile->LowAddr > pFile->HighAddr) continue;
        const size_t First = static_cast<size_t>(std::lower_bound(aHighest.begin(), aHighest.end(), pFile->LowAddr) - aHighest.begin());
        const size_t End = static_cast<size_t>(std::upper_bound(aRange.begin(), aRange.end(), std::pair<U32, U32>(pFile->HighAddr, 0xFFFFFFFFu)) - aRange.begin());
        if (First >= End) continue;
        U64 Low = aRange[First].first, Limit = static_cast<U64>(aHighest[End - 1]) + 1;
        if (!pFile->Range.IsEmpty()) {
            Low = std::min<U64>(Low, pFile->Range.Start);
            Limit = std::max(Limit, pFile->Range.End());
        }
        pFile->Range = CAddrRange(static_cast<U32>(Low), static_cast<U32>(std::min<U64>(Limit - Low, 0xFFFFFFFFu)));
    }
}

void ProgLoadFileRanges(PROG_TABLES& Tab)
{
    constexpr U32 ATTR_STMT_LIST = 0x10;
    // Units may share a line table: what they say of its files is put together first, so that the table is gone through
    // once and not for each of them.
    struct SHARED {
        ELF_SYM_HANDLE hCu; ///< one of the units
        std::vector<std::pair<U32, U32>> aRange; ///< low, last address
    };
    QHash<U64, SHARED> ByTable;
    // Functions of a unit follow the unit in id order.
    const U32 NumCus = ELF_GetCuCount(Tab.hFile), NumFunctions = ELF_GetFunctionCount(Tab.hFile);
    U32 Func = 0;
    for (U32 Cu = 0; Cu < NumCus; Cu++) {
        const ELF_SYM_HANDLE hCu = ELF_GetCu(Tab.hFile, Cu);
        const U32 NextCu = Cu + 1 < NumCus ? ELF_GetSymId(ELF_GetCu(Tab.hFile, Cu + 1)) : 0xFFFFFFFFu;
        bool HasTable;
        const U64 Table = ELF_GetSymAttr(hCu, ATTR_STMT_LIST, &HasTable);
        SHARED* pShared = nullptr;
        for (; Func < NumFunctions; Func++) {
            const ELF_CODE Code = ELF_GetCode(Tab.hFile, ELF_LIST_FUNCTIONS, Func);
            if (ELF_GetSymId(Code.hSym) >= NextCu) break;
            if (!HasTable || Code.NumRanges == 0) continue;
            if (!pShared) pShared = &ByTable[Table];
            pShared->hCu = hCu;
            ProgForEachRange(Code, [pShared](U32 Low, U32 High) { pShared->aRange.emplace_back(Low, High - 1); });
        }
    }
    const std::vector<PROG_FILE*> apFile = FilesOfSrc(Tab);
    for (SHARED& Shared : ByTable) AddUnitRanges(apFile, Shared.hCu, Shared.aRange);
}

void ProgCleanMapping(PROG_TABLES& Tab)
{
    const std::vector<PROG_FILE*> apFile = FilesOfSrc(Tab);
    std::erase_if(Tab.aMap, [&apFile](const PROG_MAP_ROW& Row) {
        const CAddrRange& Range = apFile[Row.Loc.File]->Range;
        return !Range.IsEmpty() && !Range.Contains(Row.Addr);
    });
    for (PROG_MAP_ROW& Row : Tab.aMap) Row.Loc.File = apFile[Row.Loc.File]->Number;
    TidyRows(Tab);
    Tab.CodeIndex.Build(Tab.aMap, Tab.FunctionMap.Stretches());
}

void ProgSortMapping(PROG_TABLES& Tab)
{
    TidyRows(Tab);
    Tab.aMap.shrink_to_fit();
    Tab.CodeIndex.Build(Tab.aMap, Tab.FunctionMap.Stretches());
}

void ProgLoadFileTree(PROG_TABLES& Tab)
{
    for (const U32 Number : std::as_const(Tab.aFile)) {
        const CAddrRange Range = Tab.Files[Number].Range;
        if (Range.Size >= 2) Tab.FileMap.Add(Range.Start, Range.End() - 2, Number);
    }
    Tab.FileMap.Build();
}
