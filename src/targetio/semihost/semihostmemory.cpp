// Target memory for semihosting operations.
#include "targetio/semihost/semihostmemory.h"

#include "device/queue/device.h"
#include "platform/probe/bryllo.h"

#include <cstring>

namespace {

/// A word as it lies in the target's memory, from or to the host's order.
U32 Reorder(U32 Value)
{
    return CDevice::Get().State.DataEndian == ENDIAN_BIG ? __builtin_bswap32(Value) : Value;
}

bool Wraps(U32 Addr, U32 Size)
{
    return U64(Addr) + Size > 0x100000000ull;
}

} // namespace

int SEMIHOST_ReadWords(U32 Addr, U32 Count, U32* paValue)
{
    if (Wraps(Addr, Count * 4)) return -1;
    for (U32 i = 0; i < Count; i++) {
        U32 Value = 0;
        if (BRYLLOARM_ReadMemU32(Addr + 4 * i, 1, &Value, nullptr) != 1) return -1;
        paValue[i] = Reorder(Value);
    }
    return 0;
}

int SEMIHOST_ReadByte(U32 Addr, U8* pValue)
{
    return BRYLLOARM_ReadMemU8(Addr, 1, pValue, nullptr) == 1 ? 0 : -1;
}

int SEMIHOST_ReadBytes(U32 Addr, U32 Size, QByteArray* pData)
{
    if (Wraps(Addr, Size)) return -1;
    pData->resize(qsizetype(Size));
    return Size == 0 || BRYLLOARM_ReadMem(Addr, Size, pData->data()) == 0 ? 0 : -1;
}

int SEMIHOST_WriteWord(U32 Addr, U32 Value)
{
    return BRYLLOARM_WriteU32(Addr, Reorder(Value)) == 0 ? 0 : -1;
}

int SEMIHOST_WriteBytes(U32 Addr, const QByteArray& Data)
{
    const U32 Size = U32(Data.size());
    if (Wraps(Addr, Size)) return -1;
    return Size == 0 || BRYLLOARM_WriteMem(Addr, Size, Data.constData()) == int(Size) ? 0 : -1;
}
