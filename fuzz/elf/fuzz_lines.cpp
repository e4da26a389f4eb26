// libFuzzer target: any bytes as a line number program. The first byte chooses byte order and size of an address, the
// second where the texts of version 5 begin; the rest is the section.
#include "program/elf/dwarflines.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, std::size_t Size)
{
    if (Size < 2) return 0;
    DWARF_SECTIONS Sections;
    Sections.BigEndian = (pData[0] & 1) != 0;
    const U32 AddrSize = (pData[0] & 2) ? 8 : 4;
    const std::size_t Texts = 2 + pData[1] % (Size - 1);
    Sections.Line = {pData + 2, U32(Size - 2)};
    Sections.Str = {pData + Texts, U32(Size - Texts)};
    Sections.LineStr = Sections.Str;
    DWARF_LINE_TABLE Table;
    DwarfReadLineTable(Sections, 0, "/compilation/folder", AddrSize, Table);
    // A special opcode is a byte; nothing makes more rows than there are bytes.
    if (Table.aRow.size() > Size) std::abort();
    if (DwarfLineTableSize(Sections, 0) > Size) std::abort();
    return 0;
}
