// The first pass over the entries of one unit: what the lists of the program are made of.
//
//   DWARF_SCAN Scan;
//   bool Good = DwarfScanUnit(Info, Unit, Scan);   // any thread, several units at once
//
// It steps over all entries and looks into few: functions, expansions, variables, types and namespaces. A damaged
// unit keeps what stands before the damage.
#pragma once
#include "program/elf/dwarfinfo.h"

#include <utility>
#include <vector>

/// Code of a function or of an inline expansion.
struct DWARF_CODE {
    U32 Id;
    U32 Origin;     ///< id of the function that is expanded, DIE_ID_NONE if none
    U32 Low, High;  ///< lowest address and highest end as linked; Low is 0xFFFFFFFF if there is no code
    U32 NumRanges;
};

struct DWARF_SCAN {
    std::vector<DWARF_CODE> aFunction, aInlined;
    std::vector<U32> aVariable, aType, aNamespace;
    std::vector<std::pair<U32, U32>> aExtension;  ///< extended namespace, the extension
    std::vector<std::pair<U32, U32>> aDefinition; ///< specified entry, the one that specifies it
    std::vector<U32> aAbstract; ///< variables that are described in full elsewhere: what other variables are made of
    U32 MainById = DIE_ID_NONE;   ///< function that is marked as the start of the program
    U32 MainByName = DIE_ID_NONE; ///< first function named "main"
    U32 NumSymbols = 0; ///< entries that are something to a user
};

/// False if the entries end in damage.
bool DwarfScanUnit(const CDwarfInfo& Info, const DWARF_UNIT& Unit, DWARF_SCAN& Scan);

/// An entry that has children: the stretch of ids that lies inside of it.
struct DWARF_SCOPE {
    U32 Id, End;      ///< id of the entry; first id behind its last descendant
    U32 ParentDelta;  ///< how many records before this one the enclosing scope stands, 0 for the root
    U32 Tag;
};
/// The scopes of one unit.
struct DWARF_SCOPES {
    std::vector<DWARF_SCOPE> aScope; ///< by rising id
    std::vector<U32> aByEnd;         ///< indices into aScope by rising end, an inner scope before its outer ones
};
DWARF_SCOPES DwarfReadScopes(const CDwarfInfo& Info, const DWARF_UNIT& Unit);

/// Address ranges of the very entry, as linked; empty ones left out.
void DwarfGetDieRanges(const CDwarfInfo& Info, const DWARF_DIE& Die, std::vector<std::pair<U32, U32>>& aRange);
