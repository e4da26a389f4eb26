// CMemBlock: an address range with its data. A plain value.
#pragma once
#include "app/services/types.h"

#include <QByteArray>

class CMemBlock {
public:
    U32 Addr = 0;
    QByteArray Data;

    U32 Size() const { return U32(Data.size()); }
    /// First address behind the block.
    U64 End() const { return U64(Addr) + Size(); }
};
