// The loadable blocks of an open program file, as pointers into its image.
#pragma once
#include "app/services/types.h"
#include "program/elf/elf.h"

#include <QList>

namespace BFile {

/// The data belong to the file and die with its close.
struct RAW_BLOCK {
    U64 LoadAddr;
    U64 VirtAddr;
    U32 Size; ///< bytes
    const U8* pData;
};

/// One block for each PT_LOAD segment with data, what lies before the first section left out.
QList<RAW_BLOCK> GetElfBlocks(ELF_HANDLE hFile);

} // namespace BFile
