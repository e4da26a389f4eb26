// Opening of a program file: the parse of the debug information into the lists that everything else uses.
#include "program/elf/elffile.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <libdwarf/dwarf.h>

namespace {

constexpr U32 FLAGS_INTERNAL = 28; ///< error to standard output and the log file
constexpr U32 FLAGS_INFO = 9;      ///< plain text to standard output

U64 NowMs()
{
    using namespace std::chrono;
    return static_cast<U64>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

/// The steps whose times are logged, in the order of the log.
enum STEP { STEP_TYPES, STEP_INFO, STEP_FILES, STEP_LINES, STEP_MACROS, STEP_FRAMES, STEP_NAMES, NUM_STEPS };

ELF_SRC_LANG LangOf(const CDwarfInfo& Info, const DWARF_UNIT& Unit)
{
    switch (Unit.Lang) {
    case DW_LANG_C_plus_plus:
    case DW_LANG_C_plus_plus_03:
    case DW_LANG_C_plus_plus_11:
    case DW_LANG_C_plus_plus_14: return ELF_SRC_LANG_CPP;
    case 0: break;
    default: return ELF_SRC_LANG_C;
    }
    DWARF_DIE Root;
    if (!Info.ReadDie(Unit, Unit.DieOffset, Root)) return ELF_SRC_LANG_C;
    return std::strstr(Info.GetText(Root, DW_AT_name), ".cpp") ? ELF_SRC_LANG_CPP : ELF_SRC_LANG_C;
}

bool IsFunctionTag(U32 Tag)
{
    return Tag == DW_TAG_subprogram || Tag == DW_TAG_inlined_subroutine;
}

} // namespace

U32 ElfHash(const char* sText)
{
    U32 Hash = 5381;
    for (; *sText; sText++) Hash = Hash * 33 + static_cast<U32>(static_cast<I32>(static_cast<I8>(*sText)));
    return Hash;
}

U32 ELF_FILE::Open(const char* sFilePath, bool WithDebugInfo)
{
    sPath = sFilePath ? sFilePath : "";
    OpenTime = NowMs();
    if (const U32 Error = Image.Load(sFilePath)) return Error;
    CleanUpSymbols();
    if (WithDebugInfo && !ParseDebugInfo()) ElfReport(ELF_ERR_DEBUG_SYMBOLS, 68);
    Opened = true;
    return 0;
}

bool ELF_FILE::ParseDebugInfo()
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
    if (!Sec.Info.Size || !Sec.Abbrev.Size) {
        ElfReport(ELF_ERR_LIB_NO_DEBUG_INFO, 66);
        return false;
    }
    U64 aMs[NUM_STEPS] = {};
    U64 Start = NowMs();
    auto Lap = [&](STEP Step) {
        const U64 Now = NowMs();
        aMs[Step] += Now - Start;
        Start = Now;
    };
    if (!Info.Init(Sec)) return false;
    HasDebugInfo = true;
    CfaFactor = Image.FindSection(".note.iar") >= 0 ? 4 : 1;
    for (U32 i = 0; i < Info.NumBadUnits(); i++) ElfReport(ELF_ERR_COMP_UNIT, FLAGS_INTERNAL);
    Lap(STEP_INFO);
    for (const DWARF_UNIT& Unit : Info.Units()) {
        if (Unit.Version > DwarfVersion) DwarfVersion = Unit.Version;
        if (Unit.InTypes) continue;
        if (!WalkUnit(Unit)) ElfReport(Unit.IsTypeUnit() ? ELF_ERR_TYPE_UNIT : ELF_ERR_COMP_UNIT, FLAGS_INTERNAL);
    }
    Lap(STEP_INFO);
    // Type units come after the others in the id order that the table of scopes keeps.
    for (const DWARF_UNIT& Unit : Info.Units()) {
        if (Unit.IsTypeUnit()) NumTypeUnits++;
        if (Unit.InTypes && !WalkUnit(Unit)) ElfReport(ELF_ERR_TYPE_UNIT, FLAGS_INTERNAL);
    }
    Lap(STEP_TYPES);
    for (const DWARF_UNIT& Unit : Info.Units()) {
        if (Unit.HasStmtList && !ReadLines(Unit)) ElfReport(ELF_ERR_SRC_LINES, FLAGS_INTERNAL);
    }
    Lap(STEP_LINES);
    FindMainFunction();
    if (!ReadMacros()) ElfReport(ELF_ERR_MACROS, FLAGS_INTERNAL);
    Lap(STEP_MACROS);
    const int EhFrame = Image.FindSection(".eh_frame");
    if (!Adapter.Init(Sec, EhFrame >= 0 ? Image.Sections()[static_cast<size_t>(EhFrame)].Addr : 0)) {
        ElfReport(ELF_ERR_CALL_FRAMES, FLAGS_INTERNAL);
    }
    Lap(STEP_FRAMES);
    BuildNameIndex();
    Lap(STEP_NAMES);
    LogSummary(aMs);
    return true;
}

bool ELF_FILE::WalkUnit(const DWARF_UNIT& Unit)
{
    if (!Unit.IsTypeUnit()) {
        aList[ELF_LIST_COMPILATION_UNITS].push_back(Unit.RootId());
        if (LangOf(Info, Unit) == ELF_SRC_LANG_CPP) Lang = ELF_SRC_LANG_CPP;
    }
    const U32 Section = Unit.InTypes ? DIE_ID_TYPES : 0;
    std::vector<U32> aOpen; // scopes around the present DIE, innermost last
    U32 NumFunctions = 0;   // how many of them are functions
    U32 Offset = Unit.DieOffset;
    bool Good = true;
    auto Close = [&](U32 End) {
        ELF_SCOPE& Scope = aScope[aOpen.back()];
        Scope.End = End | Section;
        if (IsFunctionTag(Scope.Tag)) NumFunctions--;
        aOpen.pop_back();
    };
    while (Offset < Unit.End) {
        DWARF_DIE Die;
        Good = Info.ReadDie(Unit, Offset, Die);
        const U32 Next = Good ? Info.EndOfDie(Die) : 0;
        Good = Next > Offset;
        if (!Good) break;
        Offset = Next;
        if (Die.IsNull()) {
            if (!aOpen.empty()) Close(Offset);
            if (aOpen.empty()) break;
            continue;
        }
        NumDies++;
        OfferDie(Die, NumFunctions > 0, aOpen.empty() ? 0 : aScope[aOpen.back()].Tag);
        if (Die.pAbbrev->HasChildren) {
            const U32 Parent = aOpen.empty() ? 0xFFFFFFFFu : aOpen.back();
            aOpen.push_back(static_cast<U32>(aScope.size()));
            aScope.push_back({Die.Id, Unit.End | Section, Parent, Die.Tag()});
            if (IsFunctionTag(Die.Tag())) NumFunctions++;
        } else if (aOpen.empty()) {
            break;
        }
    }
    while (!aOpen.empty()) Close(Unit.End);
    return Good;
}

void ELF_FILE::OfferDie(const DWARF_DIE& Die, bool InFunction, U32 ParentTag)
{
    const DWARF_ABBREV& Abbrev = *Die.pAbbrev;
    const bool IsDefinition = !Abbrev.HasDeclaration;
    const bool IsTypeUnit = Die.pUnit->IsTypeUnit();
    if (Abbrev.HasSpecification) {
        const DWARF_VALUE Target = Info.GetAttr(Die, DW_AT_specification);
        if (Target.Class == DWARF_CLASS::REFERENCE) Definitions.emplace(static_cast<U32>(Target.Value), Die.Id);
    }
    switch (Abbrev.Tag) {
    case DW_TAG_variable:
        // A static data member is a variable among the members; its definition stands elsewhere.
        if (IsTypeUnit || !IsDefinition || Abbrev.HasArtificial) break;
        if (ParentTag == DW_TAG_class_type || ParentTag == DW_TAG_structure_type || ParentTag == DW_TAG_union_type) break;
        if (InFunction && !IsStaticLocation(Die)) break;
        aList[ELF_LIST_GLOBAL_VARS].push_back(Die.Id);
        break;
    case DW_TAG_subprogram:
        if (!IsTypeUnit && IsDefinition && !Abbrev.HasArtificial) aList[ELF_LIST_FUNCTIONS].push_back(Die.Id);
        break;
    case DW_TAG_inlined_subroutine:
        if (!IsTypeUnit && IsDefinition && !Abbrev.HasArtificial) aList[ELF_LIST_INLINED].push_back(Die.Id);
        break;
    case DW_TAG_typedef: aList[ELF_LIST_TYPES].push_back(Die.Id); break;
    case DW_TAG_class_type:
    case DW_TAG_structure_type:
    case DW_TAG_union_type:
    case DW_TAG_enumeration_type:
        if (IsDefinition && !Abbrev.HasArtificial && Info.HasAttr(Die, DW_AT_byte_size)) {
            aList[ELF_LIST_TYPES].push_back(Die.Id);
        }
        break;
    case DW_TAG_namespace:
        if (IsTypeUnit) break;
        aList[ELF_LIST_NAMESPACES].push_back(Die.Id);
        if (const DWARF_VALUE Target = Info.GetAttr(Die, DW_AT_extension); Target.Class == DWARF_CLASS::REFERENCE) {
            aList[ELF_LIST_NAMESPACE_EXTENSIONS].push_back(Die.Id);
            Extensions.emplace(static_cast<U32>(Target.Value), Die.Id);
        }
        break;
    default: break;
    }
}

bool ELF_FILE::IsStaticLocation(const DWARF_DIE& Die) const
{
    const DWARF_VALUE Value = Info.GetAttr(Die, DW_AT_location);
    const U8* pExpr = Value.pBlock;
    U32 Size = Value.BlockSize;
    std::vector<DWARF_LOC_ENTRY> aEntry;
    if (Value && Value.Class != DWARF_CLASS::EXPRESSION && Value.Class != DWARF_CLASS::BLOCK) {
        DwarfReadLocList(Info, *Die.pUnit, Value, aEntry);
        Size = 0;
        for (const DWARF_LOC_ENTRY& Entry : aEntry) {
            if (!Entry.ExprSize) continue;
            pExpr = Entry.pExpr;
            Size = Entry.ExprSize;
            break;
        }
    }
    if (!pExpr || !Size) return false;
    const bool IsAddr = pExpr[0] == DW_OP_addr || pExpr[0] == DW_OP_addrx || pExpr[0] == DW_OP_GNU_addr_index;
    return IsAddr && pExpr[Size - 1] != DW_OP_stack_value;
}

U32 ELF_FILE::InternSrcFile(const std::string& sFile)
{
    if (sFile.empty() || sFile.find("<built-in>") != std::string::npos || sFile.find("<stdin>") != std::string::npos) {
        return 0xFFFFFFFFu;
    }
    const auto [it, IsNew] = SrcFileIndex.emplace(sFile, static_cast<U32>(asSrcFile.size()));
    if (IsNew) {
        asSrcFile.push_back(sFile);
        aaFileCus.emplace_back();
    }
    return it->second;
}

bool ELF_FILE::ReadLines(const DWARF_UNIT& Unit)
{
    const auto [it, IsNew] = CuFiles.emplace(Unit.StmtList, ELF_CU_FILES());
    bool Good = true;
    if (IsNew) {
        DWARF_DIE Root;
        const char* sDir = Info.ReadDie(Unit, Unit.DieOffset, Root) ? Info.GetText(Root, DW_AT_comp_dir) : "";
        DWARF_LINE_TABLE Table;
        Good = DwarfReadLineTable(Info.Sections(), Unit.StmtList, sDir, Unit.AddrSize, Table);
        ELF_CU_FILES& Files = it->second;
        Files.FileBase = Table.FileBase;
        Files.aFile.reserve(Table.aPath.size());
        for (const std::string& sFile : Table.aPath) Files.aFile.push_back(InternSrcFile(sFile));
        for (const DWARF_LINE_ROW& Row : Table.aRow) {
            const U32 Index = Row.File - Files.FileBase;
            aLine.push_back({Row.Addr, Row.Line, Index < Files.aFile.size() ? Files.aFile[Index] : 0xFFFFFFFFu,
                             Row.Col, Row.IsStmt, Row.EndSequence});
        }
    }
    if (!Unit.IsTypeUnit()) {
        for (const U32 File : it->second.aFile) {
            if (File == 0xFFFFFFFFu) continue;
            std::vector<U32>& aCu = aaFileCus[File];
            if (aCu.empty() || aCu.back() != Unit.RootId()) aCu.push_back(Unit.RootId());
        }
    }
    return Good;
}

const ELF_CU_FILES* ELF_FILE::GetCuFiles(const DWARF_UNIT& Unit) const
{
    const auto it = Unit.HasStmtList ? CuFiles.find(Unit.StmtList) : CuFiles.end();
    return it != CuFiles.end() ? &it->second : nullptr;
}

void ELF_FILE::FindMainFunction()
{
    U32 Named = DIE_ID_NONE;
    for (const U32 Id : aList[ELF_LIST_FUNCTIONS]) {
        DWARF_DIE Die;
        if (!ReadDie(Id, Die)) continue;
        if (Info.HasAttr(Die, DW_AT_main_subprogram)) {
            MainFunction = Id;
            return;
        }
        if (Named == DIE_ID_NONE && std::strcmp(Info.GetText(Die, DW_AT_name), "main") == 0) Named = Id;
    }
    MainFunction = Named;
}

void ELF_FILE::BuildNameIndex()
{
    const struct {
        ELF_LIST List;
        std::unordered_map<U32, U32>& Index;
    } aIndex[] = {{ELF_LIST_TYPES, TypeByName}, {ELF_LIST_GLOBAL_VARS, VarByName}, {ELF_LIST_FUNCTIONS, FuncByName}};
    for (const auto& Row : aIndex) {
        Row.Index.reserve(aList[Row.List].size());
        for (const U32 Id : aList[Row.List]) {
            DWARF_DIE Die;
            if (!ReadDie(Id, Die) || Die.Tag() == DW_TAG_typedef) continue;
            const char* sName = Info.GetText(Die, DW_AT_name);
            if (*sName) Row.Index.emplace(ElfHash(sName), Id);
        }
    }
}

void ELF_FILE::LogSummary(const U64* paMs) const
{
    char acLine[128];
    auto Say = [&acLine](const char* sFormat, auto Value) {
        std::snprintf(acLine, sizeof(acLine), sFormat, Value);
        ElfReport(0, FLAGS_INFO, acLine);
    };
    static constexpr const char* STEP_TEXTS[NUM_STEPS] = {
        "parsed type unit tree in ms:   %ld",  "parsed debug info tree in ms:  %ld",
        "parsed source file info in ms: %ld",  "parsed source line info in ms: %ld",
        "parsed macro info in ms: %ld",        "parsed call frame info in ms:  %ld",
        "intialized symbol name index in ms:  %ld",
    };
    long Total = 0;
    for (U32 i = 0; i < NUM_STEPS; i++) {
        Say(STEP_TEXTS[i], static_cast<long>(paMs[i]));
        Total += static_cast<long>(paMs[i]);
    }
    Say("File Size: %u", static_cast<U32>(Image.Bytes().size()));
    Say("DWARF Symbol Count: %u", NumDies);
    Say("ELF Symbol Count: %u", static_cast<U32>(Image.Symbols().size()));
    Say("Data Encoding: %s", Image.IsBigEndian() ? "Big Endian" : "Little Endian");
    Say("Source Language: %s", Lang == ELF_SRC_LANG_CPP ? "C++" : "C");
    Say("total init time: %ld ms", Total);
    Say("DWARF Version: %d", static_cast<int>(DwarfVersion));
}
