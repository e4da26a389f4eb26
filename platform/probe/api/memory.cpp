// C interface: memory, plain and zoned, and the download bracket.
#include "platform/probe/core/session.h"

#include <cstring>

using Probe::CCall;
using Probe::CMemAccess;

static int ReadItems(const char* sOperation, U32 Addr, U32 NumItems, unsigned ItemSize, void* pData,
                     U8* paStatus, const char* sZone)
{
    CCall Call(sOperation, CCall::Connected);
    if (!Call.Ok()) {
        if (paStatus) {
            std::memset(paStatus, 1, NumItems);
        }
        return Call.Error();
    }
    if (!pData) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    return Call.Done(
        Call.Backend().ReadMem({Addr, NumItems, ItemSize, sZone}, static_cast<U8*>(pData), paStatus));
}

static int WriteItem(const char* sOperation, U32 Addr, unsigned ItemSize, const void* pData,
                     const char* sZone)
{
    CCall Call(sOperation, CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    const int NumItems = Call.Backend().WriteMem({Addr, 1, ItemSize, sZone}, static_cast<const U8*>(pData));
    return Call.Done(NumItems == 1 ? 0 : NumItems < 0 ? NumItems : int(BRYLLO_ERR_MEM));
}

/// Item size of a transfer by bytes: the width asked for, or the largest that fits all of it.
static unsigned ChooseWidth(U32 Addr, U32 NumBytes, U32 AccessWidth)
{
    const unsigned Width = AccessWidth == 0 ? 4 : AccessWidth;
    return (Addr | NumBytes) % Width == 0 ? Width : 1;
}

static bool IsWidth(U32 AccessWidth)
{
    return AccessWidth == 0 || AccessWidth == 1 || AccessWidth == 2 || AccessWidth == 4;
}

/// A transfer by bytes. With width 0 the odd ends go byte by byte and the middle word by word;
/// with a width the whole transfer does, and must fit it.
template <class Transfer> static int ByBytes(U32 Addr, U32 NumBytes, U32 AccessWidth, Transfer Part)
{
    if (AccessWidth != 0 || NumBytes < 8) {
        const unsigned Width = ChooseWidth(Addr, NumBytes, AccessWidth);
        const int NumItems = Part(Addr, U32(0), NumBytes / Width, Width);
        return NumItems < 0 ? NumItems : NumItems * int(Width);
    }
    const U32 Head = -Addr & 3;
    const U32 Tail = (NumBytes - Head) & 3;
    const U32 Middle = NumBytes - Head - Tail;
    int Done = 0;
    struct {
        U32 Offset, NumBytes;
        unsigned Width;
    } const aParts[] = {{0, Head, 1}, {Head, Middle, 4}, {Head + Middle, Tail, 1}};
    for (const auto& p : aParts) {
        if (p.NumBytes == 0) {
            continue;
        }
        const int NumItems = Part(Addr + p.Offset, p.Offset, p.NumBytes / p.Width, p.Width);
        if (NumItems < 0) {
            return Done > 0 ? Done : NumItems;
        }
        Done += NumItems * int(p.Width);
        if (U32(NumItems) * p.Width < p.NumBytes) {
            break;
        }
    }
    return Done;
}

static int ReadBytes(const char* sOperation, U32 Addr, U32 NumBytes, void* pData, U32 AccessWidth,
                     const char* sZone)
{
    CCall Call(sOperation, CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (!pData || !IsWidth(AccessWidth) || NumBytes > INT32_MAX) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    U8* const pBytes = static_cast<U8*>(pData);
    return Call.Done(
        ByBytes(Addr, NumBytes, AccessWidth, [&](U32 PartAddr, U32 Offset, U32 NumItems, unsigned Width) {
            return Call.Backend().ReadMem({PartAddr, NumItems, Width, sZone}, pBytes + Offset, nullptr);
        }));
}

static int WriteBytes(const char* sOperation, U32 Addr, U32 NumBytes, const void* pData, U32 AccessWidth,
                      const char* sZone)
{
    CCall Call(sOperation, CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (!pData || !IsWidth(AccessWidth) || NumBytes > INT32_MAX) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    const U8* const pBytes = static_cast<const U8*>(pData);
    return Call.Done(
        ByBytes(Addr, NumBytes, AccessWidth, [&](U32 PartAddr, U32 Offset, U32 NumItems, unsigned Width) {
            return Call.Backend().WriteMem({PartAddr, NumItems, Width, sZone}, pBytes + Offset);
        }));
}

extern "C" {

int BRYLLOARM_ReadMemU8(U32 Addr, U32 NumItems, U8* paData, U8* paStatus)
{
    return ReadItems("ReadMemU8", Addr, NumItems, 1, paData, paStatus, nullptr);
}

int BRYLLOARM_ReadMemU16(U32 Addr, U32 NumItems, U16* paData, U8* paStatus)
{
    return ReadItems("ReadMemU16", Addr, NumItems, 2, paData, paStatus, nullptr);
}

int BRYLLOARM_ReadMemU32(U32 Addr, U32 NumItems, U32* paData, U8* paStatus)
{
    return ReadItems("ReadMemU32", Addr, NumItems, 4, paData, paStatus, nullptr);
}

int BRYLLOARM_ReadMemU64(U32 Addr, U32 NumItems, U64* paData, U8* paStatus)
{
    return ReadItems("ReadMemU64", Addr, NumItems, 8, paData, paStatus, nullptr);
}

int BRYLLOARM_ReadMemEx(U32 Addr, U32 NumBytes, void* pData, U32 AccessWidth)
{
    return ReadBytes("ReadMemEx", Addr, NumBytes, pData, AccessWidth, nullptr);
}

int BRYLLOARM_ReadMem(U32 Addr, U32 NumBytes, void* pData)
{
    const int NumRead = ReadBytes("ReadMem", Addr, NumBytes, pData, 0, nullptr);
    return NumRead < 0 ? NumRead : U32(NumRead) == NumBytes ? 0 : int(BRYLLO_ERR_MEM);
}

int BRYLLOARM_WriteU8(U32 Addr, U8 Data)
{
    return WriteItem("WriteU8", Addr, 1, &Data, nullptr);
}

int BRYLLOARM_WriteU16(U32 Addr, U16 Data)
{
    return WriteItem("WriteU16", Addr, 2, &Data, nullptr);
}

int BRYLLOARM_WriteU32(U32 Addr, U32 Data)
{
    return WriteItem("WriteU32", Addr, 4, &Data, nullptr);
}

int BRYLLOARM_WriteU64(U32 Addr, U64 Data)
{
    return WriteItem("WriteU64", Addr, 8, &Data, nullptr);
}

int BRYLLOARM_WriteMemEx(U32 Addr, U32 NumBytes, const void* pData, U32 AccessWidth)
{
    return WriteBytes("WriteMemEx", Addr, NumBytes, pData, AccessWidth, nullptr);
}

int BRYLLOARM_WriteMem(U32 Addr, U32 NumBytes, const void* pData)
{
    return WriteBytes("WriteMem", Addr, NumBytes, pData, 0, nullptr);
}

int BRYLLO_ReadMemZonedU16(U32 Addr, U32 NumItems, U16* paData, U8* paStatus, const char* sZone)
{
    return ReadItems("ReadMemZonedU16", Addr, NumItems, 2, paData, paStatus, sZone);
}

int BRYLLO_ReadMemZonedU32(U32 Addr, U32 NumItems, U32* paData, U8* paStatus, const char* sZone)
{
    return ReadItems("ReadMemZonedU32", Addr, NumItems, 4, paData, paStatus, sZone);
}

int BRYLLO_ReadMemZonedEx(U32 Addr, U32 NumBytes, void* pData, U32 AccessWidth, const char* sZone)
{
    return ReadBytes("ReadMemZonedEx", Addr, NumBytes, pData, AccessWidth, sZone);
}

int BRYLLO_WriteZonedU16(U32 Addr, U16 Data, const char* sZone)
{
    return WriteItem("WriteZonedU16", Addr, 2, &Data, sZone);
}

int BRYLLO_WriteZonedU32(U32 Addr, U32 Data, const char* sZone)
{
    return WriteItem("WriteZonedU32", Addr, 4, &Data, sZone);
}

int BRYLLO_WriteMemZonedEx(U32 Addr, U32 NumBytes, const void* pData, U32 AccessWidth, const char* sZone)
{
    return WriteBytes("WriteMemZonedEx", Addr, NumBytes, pData, AccessWidth, sZone);
}

int BRYLLOARM_BeginDownload(U32 Flags)
{
    (void)Flags;
    CCall Call("BeginDownload", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().BeginDownload()) : Call.Error();
}

int BRYLLOARM_EndDownload(void)
{
    CCall Call("EndDownload", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().EndDownload()) : Call.Error(BRYLLO_ERR_UNSPECIFIED);
}

} // extern "C"
