// Reading of one line number table, version 2 to 5.
//
//   DWARF_LINE_TABLE Table;
//   if (DwarfReadLineTable(Sections, Offset, sCompDir, AddrSize, Table)) for (auto& Row : Table.aRow) ...
//
// A damaged table keeps the rows before the damage. Row file indices are those of the table: the first file has
// index FileBase (0 from version 5 on, 1 before; the table's version counts, not that of the unit).
#pragma once
#include "program/elf/dwarfinfo.h"

#include <string>
#include <vector>

struct DWARF_LINE_ROW {
    U32 Addr, Line, File;
    U16 Col;
    U16 IsStmt : 1, EndSequence : 1;
};

struct DWARF_LINE_TABLE {
    U16 Version = 0;
    U32 FileBase = 1;
    bool HasFiles = false;            ///< the header could be read
    bool HasLostPaths = false;        ///< some were too long, or too much for a table of its size; they are empty
    std::vector<std::string> aPath;   ///< whole paths as directory and compilation folder give them
    std::vector<DWARF_LINE_ROW> aRow; ///< in file order
};

/// False if the header can't be read, or the rows end in damage; what was read before stays in Table.
bool DwarfReadLineTable(const DWARF_SECTIONS& Sec, U64 Offset, const char* sCompDir, U32 AddrSize,
                        DWARF_LINE_TABLE& Table);
/// Bytes of the table that begins at an offset, as its header tells them; at most what the section holds.
U64 DwarfLineTableSize(const DWARF_SECTIONS& Sec, U64 Offset);
