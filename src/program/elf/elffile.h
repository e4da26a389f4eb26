// The record of one open program file. Internal to the ELF layer and the symbol model; everybody else uses
// program/elf/elf.h and program/symbols/elfsym.h.
#pragma once
#include "program/elf/dwarfadapter.h"
#include "program/elf/dwarfinfo.h"
#include "program/elf/dwarflines.h"
#include "program/elf/dwarfscan.h"
#include "program/elf/elf.h"
#include "program/elf/elfimage.h"

#include <atomic>
#include <string>
#include <unordered_map>
#include <vector>

inline constexpr U32 ELF_MAX_OPEN_FILES = 3;
inline constexpr U64 ELF_HANDLE_TAG = 0xE0FE0Full << 40;

constexpr ELF_SYM_HANDLE MakeSymHandle(U32 Slot, U32 Kind, U32 Id)
{
    return ELF_HANDLE_TAG | (static_cast<U64>(Slot) << 35) | (static_cast<U64>(Kind) << 32) | Id;
}

struct ELF_MACRO {
    U32 Line;
    const char* sText; ///< name, a blank and the definition, in the file's sections
};

/// Files of one line table by the table's own index.
struct ELF_CU_FILES {
    U32 FileBase = 1;
    std::vector<U32> aFile; ///< indices into the source file names
};

/// Addresses in [Low, High) have moved by Offset.
struct ELF_RELOC {
    std::string sSpec;
    U32 Low = 0, High = 0;
    I32 Offset = 0;
    bool Resolved = false;
};

/// The steps of reading debug information, in the order of the log.
enum ELF_STEP { ELF_STEP_TYPES, ELF_STEP_INFO, ELF_STEP_FILES, ELF_STEP_LINES, ELF_STEP_MACROS, ELF_STEP_FRAMES, ELF_STEP_NAMES, NUM_ELF_STEPS };

/// The time that steps take: what has passed since the last Lap() counts for the step of the next.
class CElfStepTimer {
public:
    CElfStepTimer();
    void Lap(ELF_STEP Step);
    U64 Ms(ELF_STEP Step) const { return m_aMs[Step]; }
    void Log(ELF_STEP Step) const;

private:
    U64 m_Start;
    U64 m_aMs[NUM_ELF_STEPS] = {};
};

struct ELF_FILE {
    std::vector<ELF_RELOC> aReloc; ///< while the file is private: the relocations that it is read with
    U32 Slot = 0;
    U64 Serial = 0; ///< differs between any two opens of the process
    U64 OpenTime = 0;
    bool Opened = false;
    std::string sPath;
    CElfImage Image;

    std::vector<U32> aByValue;     ///< symbol indices by value, then index
    std::vector<U32> aFunctions;   ///< function symbol list
    U32 SymLow = 0, SymHigh = 0;

    DWARF_ZERO Zero;
    bool HasDebugInfo = false;
    CDwarfInfo Info;
    CDwarfAdapter Adapter;
    std::vector<U32> aList[ELF_NUM_LISTS];     ///< those of functions and expansions stay empty: they are below
    std::vector<DWARF_CODE> aFunction, aInlined;
    std::vector<std::pair<U32, U32>> aDefinition; ///< specified DIE and the DIE that specifies it, sorted
    std::vector<U32> aAbstract;                   ///< variables to leave out, while the units are read
    std::vector<std::pair<U32, U32>> aExtension;  ///< namespace DIE and its extension, sorted
    mutable std::vector<DWARF_SCOPES> aScopes; ///< by unit, read when asked for
    mutable bool HasNameIndex = false;
    /// Hash of a name and the id that defines it: types, global variables and functions. Sorted; made when first asked for.
    mutable std::vector<std::pair<U32, U32>> aTypeByName, aVarByName, aFuncByName;
    mutable std::unordered_map<U32, U32> DefinitionByName; ///< declarations that were looked for by name; DIE_ID_NONE: no definition
    U32 MainFunction = DIE_ID_NONE;
    ELF_SRC_LANG Lang = ELF_SRC_LANG_C;
    U32 DwarfVersion = 0, NumTypeUnits = 0;
    U32 NumSymbols = 0; ///< entries that are something to a user: units, code, variables, types, members, namespaces
    U32 CfaFactor = 1;

    mutable CBigVector<ELF_LINE> aLine;
    mutable bool AreLinesDropped = false;
    std::vector<const DWARF_UNIT*> apLineUnit; ///< first unit of each line table, in the order of aLine
    std::vector<std::string> asSrcFile;
    std::unordered_map<std::string, U32> SrcFileIndex;
    std::unordered_map<U64, ELF_CU_FILES> CuFiles;            ///< by offset of the line table
    std::vector<std::vector<U32>> aaFileTables;               ///< source file index to line tables (as apLineUnit)
    std::vector<std::vector<U32>> aaTableCus;                 ///< line table to ids of its units
    U64 NumSrcChars = 0;                                      ///< of all source file names
    mutable U32 LastFileOfCus = 0xFFFFFFFFu;                  ///< source file that aLastCus answers for
    mutable std::vector<U32> aLastCus;
    mutable std::vector<ELF_MACRO> aMacro; ///< through Macros()
    mutable bool HasMacros = false;

    /// Opens a file and parses everything; 0 or an ELF_ERROR.
    U32 Open(const char* sPath, bool ParseDebugInfo, ELF_PROGRESS* pProgress);
    ELF_SYM_HANDLE DebugHandle(U32 Id) const { return Id == DIE_ID_NONE ? 0 : MakeSymHandle(Slot, ELF_SYM_KIND_DEBUG, Id); }

    // Parts of the parse (elfparse.cpp, elfsymtab.cpp, elfmacros.cpp)
    void CleanUpSymbols();
    void FindCodeAtZero();
    bool ParseDebugInfo(ELF_PROGRESS* pProgress);
    void ScanUnits(ELF_PROGRESS* pProgress, CElfStepTimer& Timer);
    void MergeScan(const DWARF_SCAN& Scan);
    void DropAbstractVariables();
    void ReadLineTables(ELF_PROGRESS* pProgress, CElfStepTimer& Timer);
    /// Reads the rows of all line tables again.
    void ReadLinesAgain() const;
    void AppendLines(const DWARF_LINE_TABLE& Table, const ELF_CU_FILES& Files) const;
    bool ReadMacros() const;
    /// The macro definitions, read when first asked for.
    const std::vector<ELF_MACRO>& Macros() const;
    void BuildNameIndex() const;
    U32 InternSrcFile(const std::string& sPath);
    /// Ids of the units that mention a source file, rising.
    const std::vector<U32>& CusOfFile(U32 File) const;
    void LogSummary(const CElfStepTimer& Timer) const;

    // Questions about DIEs
    /// The innermost scope around the DIE, null if none. It stays until the file is closed.
    const DWARF_SCOPE* FindParentScope(U32 Id) const;
    /// The scope that the DIE itself is, null if it has no children.
    const DWARF_SCOPE* FindScope(U32 Id) const;
    /// Scopes that a loop goes through on its way up; sound programs nest some dozens.
    static constexpr U32 MAX_SCOPES = 1000;
    static const DWARF_SCOPE* ParentOf(const DWARF_SCOPE* pScope) { return pScope->ParentDelta ? pScope - pScope->ParentDelta : nullptr; }
    /// The DIE that specifies this one, or the extension of a namespace; DIE_ID_NONE if none.
    U32 FindDefinition(U32 Id) const;
    U32 FindExtension(U32 Id) const;
    bool ReadDie(U32 Id, DWARF_DIE& Die) const { return Info.ReadDie(Id, Die); }
    /// First child; false if there is none.
    bool FirstChild(const DWARF_DIE& Die, DWARF_DIE& Child) const;
    /// Next DIE at the same level; false at the end.
    bool NextSibling(const DWARF_DIE& Die, DWARF_DIE& Next) const;
    const ELF_CU_FILES* GetCuFiles(const DWARF_UNIT& Unit) const;
};

/// Settings of the whole layer.
struct ELF_STATE {
    ELF_FILE* apFile[ELF_MAX_OPEN_FILES] = {};
    bool aReserved[ELF_MAX_OPEN_FILES] = {};  ///< the slot belongs to a file that is private yet
    ELF_FILE* pCurrent = nullptr;
    ELF_DIAG_FUNC pfDiag = nullptr;
    std::atomic<U32> CodeAlign{1}, SPColumn{0};
    std::atomic<bool> Opening{false}, Closing{false}; ///< queries from other threads answer neutrally meanwhile
    std::atomic<U64> NextSerial{1};
};
ELF_STATE& ElfState();

/// The record behind a handle, null unless it is open.
ELF_FILE* ElfFind(ELF_HANDLE hFile);
ELF_FILE* ElfCurrent();
/// The private file of this thread, null if it has none.
ELF_FILE* ElfPrivate();
/// The record behind a symbol handle, null for anything but a symbol of an open file.
ELF_FILE* ElfFindSym(ELF_SYM_HANDLE hSym);
void ElfReport(U32 Code, U32 Flags, const char* sText = nullptr, const char* sArg = nullptr);
void ElfEvalRelocations();

/// Rounded down to the code alignment; 0xFFFFFFFF stays.
inline U32 ElfAlignCode(U32 Addr)
{
    return Addr == 0xFFFFFFFFu ? Addr : Addr - Addr % ElfState().CodeAlign;
}
/// DJB hash of a text.
U32 ElfHash(const char* sText);
