// Opening of a program file: the parse of the debug information into the lists that everything else uses.
#include "program/elf/elffile.h"
#include "program/elf/parallel.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <libdwarf/dwarf.h>

namespace {

constexpr U32 FLAGS_INTERNAL = 28; ///< error to standard output and the log file
constexpr U32 FLAGS_WARNING = 66; ///< warning to all sinks
constexpr U32 FLAGS_INFO = 9;      ///< plain text to standard output

U64 NowMs()
{
    using namespace std::chrono;
    return static_cast<U64>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

constexpr const char* STEP_TEXTS[NUM_ELF_STEPS] = {
    "parsed type unit tree in ms:   %ld",  "parsed debug info tree in ms:  %ld",
    "parsed source file info in ms: %ld",  "parsed source line info in ms: %ld",
    "parsed macro info in ms: %ld",        "parsed call frame info in ms:  %ld",
    "intialized symbol name index in ms:  %ld",
};

/// Languages that are younger than the library's list.
constexpr U32 LANG_CPP_17 = 0x2A, LANG_CPP_20 = 0x2B, LANG_CPP_23 = 0x3A;

ELF_SRC_LANG LangOf(const CDwarfInfo& Info, const DWARF_UNIT& Unit)
{
    switch (Unit.Lang) {
    case DW_LANG_C_plus_plus:
    case DW_LANG_C_plus_plus_03:
    case DW_LANG_C_plus_plus_11:
    case DW_LANG_C_plus_plus_14:
    case LANG_CPP_17:
    case LANG_CPP_20:
    case LANG_CPP_23: return ELF_SRC_LANG_CPP;
    case 0: break;
    default: return ELF_SRC_LANG_C;
    }
    DWARF_DIE Root;
    if (!Info.ReadDie(Unit, Unit.DieOffset, Root)) return ELF_SRC_LANG_C;
    return std::strstr(Info.GetText(Root, DW_AT_name), ".cpp") ? ELF_SRC_LANG_CPP : ELF_SRC_LANG_C;
}

constexpr U32 MAX_HASHED = 1024; ///< characters of a text that count for its hash
/// Line tables are read once each; tables that overlap in a damaged section may be read this often in all.
constexpr U64 MAX_LINE_PASSES = 2;
/// Characters of all different source paths for each byte of the sections that their parts stand in.
constexpr U64 MAX_SRC_RATIO = 32, MAX_SRC_FREE = 64 * 1024;

/// Thousandths of the progress that the parts of an open make up.
constexpr U32 SHARE_READ = 100, SHARE_SCAN = 400, SHARE_LINES = 200, SHARE_REST = 50;

void Advance(ELF_PROGRESS* pProgress, U32 Share)
{
    if (pProgress) pProgress->Permille += Share;
}

bool HasLongText(const ELF_BYTES& Texts)
{
    for (const U8 *p = Texts.pData, *pEnd = p + Texts.Size; p != pEnd;) {
        const U8* pZero = static_cast<const U8*>(std::memchr(p, 0, static_cast<size_t>(pEnd - p)));
        if (static_cast<U64>(pZero - p) > DWARF_MAX_TEXT) return true;
        p = pZero + 1;
    }
    return false;
}

/// Tells what of the file is left out because no sound file has it.
void ReportLosses(const CElfImage& Image, const DWARF_SECTIONS& Sec)
{
    for (const std::string& sName : Image.BadSections())
        ElfReport(0, FLAGS_WARNING, ("Compressed section " + sName + " is damaged or far larger than it can be: it is left out").c_str());
    if (Image.NumLostNames() || HasLongText(Sec.Str) || HasLongText(Sec.LineStr))
        ElfReport(0, FLAGS_WARNING, ("Texts of more than " + std::to_string(DWARF_MAX_TEXT) + " characters count as empty").c_str());
}

} // namespace

CElfStepTimer::CElfStepTimer() : m_Start(NowMs()) {}

void CElfStepTimer::Lap(ELF_STEP Step)
{
    const U64 Now = NowMs();
    m_aMs[Step] += Now - m_Start;
    m_Start = Now;
}

void CElfStepTimer::Log(ELF_STEP Step) const
{
    char acLine[64];
    std::snprintf(acLine, sizeof(acLine), STEP_TEXTS[Step], static_cast<long>(m_aMs[Step]));
    ElfReport(0, FLAGS_INFO, acLine);
}

U32 ElfHash(const char* sText)
{
    U32 Hash = 5381;
    // Longer texts differ before; the whole of each name would take time that damaged input can multiply.
    for (const char* pEnd = sText + MAX_HASHED; *sText && sText != pEnd; sText++) Hash = Hash * 33 + static_cast<U32>(static_cast<I32>(static_cast<I8>(*sText)));
    return Hash;
}

U32 ELF_FILE::Open(const char* sFilePath, bool WithDebugInfo, ELF_PROGRESS* pProgress)
{
    sPath = sFilePath ? sFilePath : "";
    OpenTime = NowMs();
    if (const U32 Error = Image.Load(sFilePath)) return Error;
    CleanUpSymbols();
    Advance(pProgress, SHARE_READ);
    if (WithDebugInfo && !ParseDebugInfo(pProgress)) ElfReport(ELF_ERR_DEBUG_SYMBOLS, 68);
    Opened = true;
    return 0;
}

bool ELF_FILE::ParseDebugInfo(ELF_PROGRESS* pProgress)
{
    DWARF_SECTIONS Sec;
    Sec.BigEndian = Image.IsBigEndian();
    const struct {
        const char* sName;
        ELF_BYTES& Bytes;
    } aSection[] = {{".debug_info", Sec.Info},         {".debug_types", Sec.Types},
                    {".debug_abbrev", Sec.Abbrev},     {".debug_str", Sec.Str},
                    {".debug_line_str", Sec.LineStr},  {".debug_str_offsets", Sec.StrOffsets},
                    {".debug_addr", Sec.Addr},         {".debug_line", Sec.Line},
                    {".debug_ranges", Sec.Ranges},     {".debug_rnglists", Sec.Rnglists},
                    {".debug_loc", Sec.Loc},           {".debug_loclists", Sec.Loclists},
                    {".debug_frame", Sec.Frame},       {".eh_frame", Sec.EhFrame},
                    {".debug_macro", Sec.Macro},       {".debug_macinfo", Sec.Macinfo}};
    for (const auto& Row : aSection) Row.Bytes = Image.DebugBytes(Row.sName);
    for (ELF_BYTES* pTexts : {&Sec.Str, &Sec.LineStr}) *pTexts = WithWholeTexts(*pTexts);
    ReportLosses(Image, Sec);
    if (!Sec.Info.Size || !Sec.Abbrev.Size) {
        ElfReport(ELF_ERR_LIB_NO_DEBUG_INFO, 66);
        return false;
    }
    CElfStepTimer Timer;
    FindCodeAtZero();
    if (!Info.Init(Sec, Zero)) return false;
    HasDebugInfo = true;
    CfaFactor = Image.FindSection(".note.iar") >= 0 ? 4 : 1;
    for (U32 i = 0; i < Info.NumBadUnits(); i++) ElfReport(ELF_ERR_COMP_UNIT, FLAGS_INTERNAL);
    Timer.Lap(ELF_STEP_INFO);
    ScanUnits(pProgress, Timer);
    ReadLineTables(pProgress, Timer);
    if (pProgress && pProgress->Cancel) return true;
    const int EhFrame = Image.FindSection(".eh_frame");
    if (!Adapter.Init(Sec, EhFrame >= 0 ? Image.Sections()[static_cast<size_t>(EhFrame)].Addr : 0, Zero)) {
        ElfReport(ELF_ERR_CALL_FRAMES, FLAGS_INTERNAL);
    }
    Timer.Lap(ELF_STEP_FRAMES);
    Advance(pProgress, SHARE_REST);
    LogSummary(Timer);
    return true;
}

void ELF_FILE::ScanUnits(ELF_PROGRESS* pProgress, CElfStepTimer& Timer)
{
    const std::vector<DWARF_UNIT>& aUnit = Info.Units();
    std::vector<DWARF_SCAN> aScan(aUnit.size());
    std::vector<U8> aGood(aUnit.size(), 1);
    std::vector<size_t> aOfTypes, aOfCode;
    for (size_t i = 0; i < aUnit.size(); i++) (aUnit[i].InTypes ? aOfTypes : aOfCode).push_back(i);
    const auto Scan = [&](const std::vector<size_t>& aIndex, ELF_STEP Step) {
        const U32 Share = aIndex.empty() ? 0 : static_cast<U32>(SHARE_SCAN * aIndex.size() / aUnit.size());
        RunParallel(aIndex.size(), [&](size_t k) { aGood[aIndex[k]] = DwarfScanUnit(Info, aUnit[aIndex[k]], aScan[aIndex[k]]); }, pProgress, Share);
        Timer.Lap(Step);
    };
    Scan(aOfTypes, ELF_STEP_TYPES);
    Scan(aOfCode, ELF_STEP_INFO);
    if (pProgress && pProgress->Cancel) return;
    size_t NumFunctions = 0, NumInlined = 0;
    for (const DWARF_SCAN& Scan : aScan) {
        NumFunctions += Scan.aFunction.size();
        NumInlined += Scan.aInlined.size();
    }
    aFunction.reserve(NumFunctions);
    aInlined.reserve(NumInlined);
    U32 MainByName = DIE_ID_NONE;
    for (size_t i = 0; i < aUnit.size(); i++) {
        const DWARF_UNIT& Unit = aUnit[i];
        if (!aGood[i]) ElfReport(Unit.IsTypeUnit() ? ELF_ERR_TYPE_UNIT : ELF_ERR_COMP_UNIT, FLAGS_INTERNAL);
        if (Unit.Version > DwarfVersion) DwarfVersion = Unit.Version;
        if (Unit.IsTypeUnit()) {
            NumTypeUnits++;
        } else {
            aList[ELF_LIST_COMPILATION_UNITS].push_back(Unit.RootId());
            if (LangOf(Info, Unit) == ELF_SRC_LANG_CPP) Lang = ELF_SRC_LANG_CPP;
        }
        MergeScan(aScan[i]);
        if (MainFunction == DIE_ID_NONE) MainFunction = aScan[i].MainById;
        if (MainByName == DIE_ID_NONE) MainByName = aScan[i].MainByName;
        aScan[i] = DWARF_SCAN();
    }
    if (MainFunction == DIE_ID_NONE) MainFunction = MainByName;
    DropAbstractVariables();
    // Of several entries that specify one, the first counts.
    for (auto* pPairs : {&aDefinition, &aExtension}) std::sort(pPairs->begin(), pPairs->end());
    Timer.Lap(ELF_STEP_INFO);
}

void ELF_FILE::DropAbstractVariables()
{
    std::sort(aAbstract.begin(), aAbstract.end());
    std::erase_if(aList[ELF_LIST_GLOBAL_VARS], [this](U32 Id) { return std::binary_search(aAbstract.begin(), aAbstract.end(), Id); });
    aAbstract = {};
}

void ELF_FILE::MergeScan(const DWARF_SCAN& Scan)
{
    auto Append = [](auto& aTo, const auto& aFrom) { aTo.insert(aTo.end(), aFrom.begin(), aFrom.end()); };
    Append(aFunction, Scan.aFunction);
    Append(aInlined, Scan.aInlined);
    Append(aList[ELF_LIST_GLOBAL_VARS], Scan.aVariable);
    Append(aList[ELF_LIST_TYPES], Scan.aType);
    Append(aList[ELF_LIST_NAMESPACES], Scan.aNamespace);
    for (const auto& Pair : Scan.aExtension) aList[ELF_LIST_NAMESPACE_EXTENSIONS].push_back(Pair.second);
    Append(aDefinition, Scan.aDefinition);
    Append(aExtension, Scan.aExtension);
    Append(aAbstract, Scan.aAbstract);
    NumSymbols += Scan.NumSymbols;
}

U32 ELF_FILE::InternSrcFile(const std::string& sFile)
{
    if (sFile.empty() || sFile.find("<built-in>") != std::string::npos || sFile.find("<stdin>") != std::string::npos) {
        return 0xFFFFFFFFu;
    }
    const DWARF_SECTIONS& Sec = Info.Sections();
    const auto itKnown = SrcFileIndex.find(sFile);
    if (itKnown != SrcFileIndex.end()) return itKnown->second;
    if (NumSrcChars + sFile.size() > MAX_SRC_RATIO * (static_cast<U64>(Sec.Line.Size) + Sec.LineStr.Size) + MAX_SRC_FREE) {
        ElfReport(ELF_ERR_SRC_FILES, FLAGS_INTERNAL);
        return 0xFFFFFFFFu;
    }
    NumSrcChars += sFile.size();
    const U32 Index = static_cast<U32>(asSrcFile.size());
    SrcFileIndex.emplace(sFile, Index);
    asSrcFile.push_back(sFile);
    aaFileTables.emplace_back();
    return Index;
}

const std::vector<U32>& ELF_FILE::CusOfFile(U32 File) const
{
    if (LastFileOfCus != File) {
        aLastCus.clear();
        for (const U32 Table : aaFileTables[File]) aLastCus.insert(aLastCus.end(), aaTableCus[Table].begin(), aaTableCus[Table].end());
        std::sort(aLastCus.begin(), aLastCus.end());
        LastFileOfCus = File;
    }
    return aLastCus;
}

void ELF_FILE::AppendLines(const DWARF_LINE_TABLE& Table, const ELF_CU_FILES& Files) const
{
    for (const DWARF_LINE_ROW& Row : Table.aRow) {
        const U32 Index = Row.File - Files.FileBase;
        aLine.push_back({Row.Addr, Row.Line, Index < Files.aFile.size() ? Files.aFile[Index] : 0xFFFFFFFFu, Row.Col, Row.IsStmt, Row.EndSequence});
    }
}

/// Reads the line tables of units side by side; false entries of aGood mark damage.
static std::vector<DWARF_LINE_TABLE> ReadTables(const CDwarfInfo& Info, const std::vector<const DWARF_UNIT*>& apUnit, std::vector<U8>& aGood,
                                                ELF_PROGRESS* pProgress)
{
    std::vector<DWARF_LINE_TABLE> aTable(apUnit.size());
    aGood.assign(apUnit.size(), 1);
    U64 Total = 0;
    for (size_t i = 0; i < apUnit.size(); i++) {
        Total += DwarfLineTableSize(Info.Sections(), apUnit[i]->StmtList);
        if (Total > MAX_LINE_PASSES * Info.Sections().Line.Size) aGood[i] = 0;
    }
    RunParallel(apUnit.size(), [&](size_t i) {
        if (!aGood[i]) return;
        const DWARF_UNIT& Unit = *apUnit[i];
        DWARF_DIE Root;
        const char* sDir = Info.ReadDie(Unit, Unit.DieOffset, Root) ? Info.GetText(Root, DW_AT_comp_dir) : "";
        aGood[i] = DwarfReadLineTable(Info.Sections(), Unit.StmtList, sDir, Unit.AddrSize, aTable[i]);
    }, pProgress, SHARE_LINES);
    return aTable;
}

void ELF_FILE::ReadLineTables(ELF_PROGRESS* pProgress, CElfStepTimer& Timer)
{
    for (const DWARF_UNIT& Unit : Info.Units()) {
        if (Unit.HasStmtList && CuFiles.emplace(Unit.StmtList, ELF_CU_FILES()).second) apLineUnit.push_back(&Unit);
    }
    std::vector<U8> aGood;
    std::vector<DWARF_LINE_TABLE> aTable = ReadTables(Info, apLineUnit, aGood, pProgress);
    size_t NumRows = 0;
    for (const DWARF_LINE_TABLE& Table : aTable) NumRows += Table.aRow.size();
    aLine.reserve(NumRows);
    for (size_t i = 0; i < aTable.size(); i++) {
        if (!aTable[i].HasFiles || aTable[i].HasLostPaths) ElfReport(ELF_ERR_SRC_FILES, FLAGS_INTERNAL);
        if (!aGood[i]) ElfReport(ELF_ERR_SRC_LINES, FLAGS_INTERNAL);
        Timer.Lap(ELF_STEP_LINES);
        ELF_CU_FILES& Files = CuFiles[apLineUnit[i]->StmtList];
        Files.FileBase = aTable[i].FileBase;
        Files.aFile.reserve(aTable[i].aPath.size());
        for (const std::string& sFile : aTable[i].aPath) {
            const U32 File = InternSrcFile(sFile);
            Files.aFile.push_back(File);
            if (File == 0xFFFFFFFFu) continue;
            std::vector<U32>& aTables = aaFileTables[File];
            if (aTables.empty() || aTables.back() != i) aTables.push_back(static_cast<U32>(i));
        }
        Timer.Lap(ELF_STEP_FILES);
        AppendLines(aTable[i], Files);
        aTable[i] = DWARF_LINE_TABLE();
    }
    Timer.Lap(ELF_STEP_LINES);
    // Units may share a table, so that the units of each file would be more than files and units together.
    std::unordered_map<U64, U32> TableIndex;
    for (const DWARF_UNIT* pUnit : apLineUnit) TableIndex.emplace(pUnit->StmtList, static_cast<U32>(TableIndex.size()));
    aaTableCus.resize(apLineUnit.size());
    for (const DWARF_UNIT& Unit : Info.Units()) {
        if (!Unit.IsTypeUnit() && Unit.HasStmtList) aaTableCus[TableIndex[Unit.StmtList]].push_back(Unit.RootId());
    }
    Timer.Lap(ELF_STEP_FILES);
}

void ELF_FILE::ReadLinesAgain() const
{
    AreLinesDropped = false;
    std::vector<U8> aGood;
    const std::vector<DWARF_LINE_TABLE> aTable = ReadTables(Info, apLineUnit, aGood, nullptr);
    for (size_t i = 0; i < aTable.size(); i++) AppendLines(aTable[i], *GetCuFiles(*apLineUnit[i]));
}

const ELF_CU_FILES* ELF_FILE::GetCuFiles(const DWARF_UNIT& Unit) const
{
    const auto it = Unit.HasStmtList ? CuFiles.find(Unit.StmtList) : CuFiles.end();
    return it != CuFiles.end() ? &it->second : nullptr;
}

void ELF_FILE::BuildNameIndex() const
{
    HasNameIndex = true;
    CElfStepTimer Timer;
    auto Add = [this](std::vector<std::pair<U32, U32>>& aIndex, U32 Id) {
        DWARF_DIE Die;
        if (!ReadDie(Id, Die) || Die.IsNull() || Die.Tag() == DW_TAG_typedef) return;
        if (!Die.pAbbrev->HasName && Die.pAbbrev->HasSpecification) {
            // What is defined outside of its class has its name there.
            const DWARF_VALUE Target = Info.GetAttr(Die, DW_AT_specification);
            if (Target.Class != DWARF_CLASS::REFERENCE || !ReadDie(static_cast<U32>(Target.Value), Die) || Die.IsNull()) return;
        }
        const char* sName = Info.GetText(Die, DW_AT_name);
        if (*sName) aIndex.emplace_back(ElfHash(sName), Id);
    };
    for (const U32 Id : aList[ELF_LIST_TYPES]) Add(aTypeByName, Id);
    for (const U32 Id : aList[ELF_LIST_GLOBAL_VARS]) Add(aVarByName, Id);
    for (const DWARF_CODE& Code : aFunction) Add(aFuncByName, Code.Id);
    for (auto* pIndex : {&aTypeByName, &aVarByName, &aFuncByName}) std::sort(pIndex->begin(), pIndex->end());
    Timer.Lap(ELF_STEP_NAMES);
    Timer.Log(ELF_STEP_NAMES);
}

void ELF_FILE::LogSummary(const CElfStepTimer& Timer) const
{
    char acLine[128];
    auto Say = [&acLine](const char* sFormat, auto Value) {
        std::snprintf(acLine, sizeof(acLine), sFormat, Value);
        ElfReport(0, FLAGS_INFO, acLine);
    };
    long Total = 0;
    for (U32 i = 0; i < NUM_ELF_STEPS; i++) {
        // Macros and the name index are read when first asked for, which is logged again then.
        Timer.Log(static_cast<ELF_STEP>(i));
        Total += static_cast<long>(Timer.Ms(static_cast<ELF_STEP>(i)));
    }
    Say("File Size: %u", static_cast<U32>(Image.Size()));
    Say("DWARF Symbol Count: %u", NumSymbols);
    Say("ELF Symbol Count: %u", static_cast<U32>(Image.Symbols().size()));
    Say("Data Encoding: %s", Image.IsBigEndian() ? "Big Endian" : "Little Endian");
    Say("Source Language: %s", Lang == ELF_SRC_LANG_CPP ? "C++" : "C");
    Say("total init time: %ld ms", Total);
    Say("DWARF Version: %d", static_cast<int>(DwarfVersion));
}
