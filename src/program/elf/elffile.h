// The record of one open program file. Internal to the ELF layer and the symbol model; everybody else uses
// program/elf/elf.h and program/symbols/elfsym.h.
#pragma once
#include "program/elf/dwarfadapter.h"
#include "program/elf/dwarfinfo.h"
#include "program/elf/dwarflines.h"
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

/// A DIE that has children: the stretch of ids that lies inside of it. The table is sorted by Id, so that the
/// parent of any DIE is found by binary search and nothing has to be kept for a DIE without children.
struct ELF_SCOPE {
    U32 Id, End; ///< id of the DIE; first id behind its last descendant
    U32 Parent;  ///< index of the enclosing scope, 0xFFFFFFFF for a root
    U32 Tag;
};

struct ELF_LINE {
    U32 Addr, Line, File; ///< File: index into the source file names, 0xFFFFFFFF if none
    U16 Col;
    U16 IsStmt : 1, EndSequence : 1;
};

struct ELF_MACRO {
    U32 Line;
    std::string sText;
};

/// Files of one line table by the table's own index.
struct ELF_CU_FILES {
    U32 FileBase = 1;
    std::vector<U32> aFile; ///< indices into the source file names
};

struct ELF_FILE {
    U32 Slot = 0;
    U64 Serial = 0; ///< differs between any two opens of the process
    U64 OpenTime = 0;
    bool Opened = false;
    std::string sPath;
    CElfImage Image;

    std::vector<U32> aByValue;     ///< symbol indices by value, then index
    std::vector<U32> aFunctions;   ///< function symbol list
    U32 SymLow = 0, SymHigh = 0;

    bool HasDebugInfo = false;
    CDwarfInfo Info;
    CDwarfAdapter Adapter;
    std::vector<ELF_SCOPE> aScope;
    std::vector<U32> aList[ELF_NUM_LISTS];
    std::unordered_map<U32, U32> Definitions;  ///< specified DIE to the DIE that specifies it
    std::unordered_map<U32, U32> Extensions;   ///< namespace DIE to its extension
    std::unordered_map<U32, U32> TypeByName;   ///< hash of a name to the id that defines it: types,
    std::unordered_map<U32, U32> VarByName;    ///< global variables
    std::unordered_map<U32, U32> FuncByName;   ///< and functions
    U32 MainFunction = DIE_ID_NONE;
    ELF_SRC_LANG Lang = ELF_SRC_LANG_C;
    U32 DwarfVersion = 0, NumDies = 0, NumTypeUnits = 0;
    U32 CfaFactor = 1;

    std::vector<ELF_LINE> aLine;
    std::vector<std::string> asSrcFile;
    std::unordered_map<std::string, U32> SrcFileIndex;
    std::unordered_map<U64, ELF_CU_FILES> CuFiles;            ///< by offset of the line table
    std::vector<std::vector<U32>> aaFileCus;                  ///< source file index to ids of the units
    std::vector<ELF_MACRO> aMacro;

    /// Opens a file and parses everything; 0 or an ELF_ERROR.
    U32 Open(const char* sPath, bool ParseDebugInfo);
    ELF_SYM_HANDLE DebugHandle(U32 Id) const { return Id == DIE_ID_NONE ? 0 : MakeSymHandle(Slot, ELF_SYM_KIND_DEBUG, Id); }

    // Parts of the parse (elfparse.cpp, elfsymtab.cpp, elfmacros.cpp)
    void CleanUpSymbols();
    bool ParseDebugInfo();
    bool WalkUnit(const DWARF_UNIT& Unit);
    void OfferDie(const DWARF_DIE& Die, bool InFunction, U32 ParentTag);
    bool IsStaticLocation(const DWARF_DIE& Die) const;
    bool ReadLines(const DWARF_UNIT& Unit);
    bool ReadMacros();
    void BuildNameIndex();
    void FindMainFunction();
    U32 InternSrcFile(const std::string& sPath);
    void LogSummary(const U64* paMs) const;

    // Questions about DIEs
    /// Index of the innermost scope around the DIE, 0xFFFFFFFF if none.
    U32 FindParentScope(U32 Id) const;
    /// Index of the scope that the DIE itself is, 0xFFFFFFFF if it has no children.
    U32 FindScope(U32 Id) const;
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
    ELF_FILE* pCurrent = nullptr;
    ELF_DIAG_FUNC pfDiag = nullptr;
    U32 CodeAlign = 1, SPColumn = 0;
    std::atomic<bool> Opening{false}, Closing{false}; ///< queries from other threads answer neutrally meanwhile
    U64 NextSerial = 1;
};
ELF_STATE& ElfState();

/// The record behind a handle, null unless it is open.
ELF_FILE* ElfFind(ELF_HANDLE hFile);
ELF_FILE* ElfCurrent();
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
