// Questions about debug symbols that several parts of the symbol model share. Internal to program_symbols.
//
//   DIE_REF Ref;
//   if (DieFind(hSym, Ref)) Value = DieAttr(*Ref.pFile, Ref.Die, DW_AT_type);
#pragma once
#include "program/elf/elffile.h"
#include "program/symbols/elfsym.h"

#include <libdwarf/dwarf.h>

/// A debug symbol of an open file.
struct DIE_REF {
    ELF_FILE* pFile = nullptr;
    DWARF_DIE Die;
};
/// False for ELF symbols and for handles of nothing.
bool DieFind(ELF_SYM_HANDLE hSym, DIE_REF& Ref);
/// The ELF symbol of a handle, null for debug symbols and handles of nothing.
const ELF_SYMBOL* ElfSymFind(ELF_SYM_HANDLE hSym);

/// Attribute with inheritance along extension, specification, origin and definition. pOwner (may be null) gets
/// the DIE that has it: the value's offsets belong to the owner's unit.
DWARF_VALUE DieAttr(const ELF_FILE& File, const DWARF_DIE& Die, U32 Attr, DWARF_DIE* pOwner = nullptr);
bool DieFlag(const ELF_FILE& File, const DWARF_DIE& Die, U32 Attr);
/// Target of a reference attribute; false if there is none or if it is the DIE itself.
bool DieTarget(const ELF_FILE& File, const DWARF_DIE& Die, U32 Attr, DWARF_DIE& Target);
/// The DIE that defines a declaration; the DIE itself if it is none or nothing defines it.
DWARF_DIE DieDefinition(const ELF_FILE& File, const DWARF_DIE& Die);
/// Size in bytes of the DIE itself, without its type; 0 if it has none.
U64 DieOwnSize(const ELF_FILE& File, const DWARF_DIE& Die);
U64 DieSize(const ELF_FILE& File, const DWARF_DIE& Die);
bool DieArray(const ELF_FILE& File, const DWARF_DIE& Die, ELF_ARRAY_INFO& Info);
/// Address ranges as linked.
void DieRanges(const ELF_FILE& File, const DWARF_DIE& Die, std::vector<std::pair<U32, U32>>& aRange);
/// Name in the scratch buffer or in the file's sections, empty if there is none.
const char* DieName(const ELF_FILE& File, const DWARF_DIE& Die);

inline bool IsRecordTag(U32 Tag)
{
    return Tag == DW_TAG_class_type || Tag == DW_TAG_structure_type || Tag == DW_TAG_union_type ||
           Tag == DW_TAG_interface_type;
}
inline bool IsFunctionDieTag(U32 Tag)
{
    return Tag == DW_TAG_subprogram || Tag == DW_TAG_inlined_subroutine;
}

inline constexpr U32 TYPE_CHAIN_LIMIT = 64; ///< links of a type chain that are followed
inline constexpr U32 TEXT_BUFFER_SIZE = 512;
