// A piece of a data file: bytes and the address they belong to.
#pragma once
#include "app/services/types.h"

#include <QByteArray>
#include <QList>

/// A value; Size equals the size of Data when a reader hands it out.
struct CFileBlock {
    U32 LoadAddr = 0; ///< where the bytes go in the target; the physical address of an ELF segment
    U32 Size = 0;     ///< bytes
    U32 VirtAddr = 0; ///< virtual address of an ELF segment; else equal to LoadAddr
    QByteArray Data;
    QByteArray Text;  ///< not filled by the readers
};
