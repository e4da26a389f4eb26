// CDeviceTarget: reading target memory. The reads run on the worker and, directly, on the GUI thread.
#include "device/target/devicetarget.h"
#include "device/target/memchunks.h"
#include "platform/probe/bryllo.h"
#include "project/settings/sysvars.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr U32 MAX_SCRATCH_READ = 5'000;
/// Set in the flags of inner calls once this layer has halted the target for the access.
constexpr U32 FLAG_HELD_FOR_IO = 0x80000000;

U32 CountOf(int Answer, U32 BytesPerUnit)
{
    return Answer > 0 ? U32(Answer) * BytesPerUnit : 0;
}
} // namespace

int CDeviceTarget::ValidateMemoryAccessParams(bool IsRead, U32 Addr, U32 nBytes, U32 /*AW*/, U32 Flags,
                                              const void* paData, const U8* paStatus)
{
    QByteArray sReason;
    if (!_State().Connected)
        sReason = "not connected to target";
    else if (!paData)
        sReason = "invalid data buffer";
    else if (IsRead && !paStatus)
        sReason = "invalid status buffer";
    else if (nBytes == 0)
        sReason = "byte count is 0";
    else if (Addr == ADDR_NONE)
        sReason = QString::asprintf("attempting to access %d bytes at invalid address %x", int(nBytes), Addr).toUtf8();
    else if (U64(Addr) + nBytes >= 0xFFFFFFFF)
        sReason = "access outside address range limit";
    else if (!(Flags & (MEM_FLAG_HALT_FOR_IO | FLAG_HELD_FOR_IO)) && !CanAccessMemory())
        sReason = "cannot access memory while target is running";
    if (sReason.isEmpty()) return 0;
    _Dev().LogWarnMsg("%s %s", IsRead ? "ReadMem:" : "WriteMem:", sReason.constData());
    return -1;
}

/// Halts a running target for an access that asks for it. True when the caller must resume it.
bool CDeviceTarget::_HaltBeforeMemoryIO(U32* pFlags)
{
    if (!(*pFlags & MEM_FLAG_HALT_FOR_IO)) return false;
    *pFlags &= ~MEM_FLAG_HALT_FOR_IO;
    if (!_State().Connected) return false;
    if (_State().HaltedRaw) {
        *pFlags |= FLAG_HELD_FOR_IO;
        return false;
    }
    m_HaltedForIO = 1;
    // A target that stands already has stopped by itself; its halt is the watcher's, which will find it.
    if (BRYLLOARM_IsHalted() >= 1) {
        m_HaltedForIO = 0;
        *pFlags |= FLAG_HELD_FOR_IO;
        return false;
    }
    BRYLLOARM_Halt();
    *pFlags |= FLAG_HELD_FOR_IO;
    return true;
}

void CDeviceTarget::_ResumeAfterMemoryIO(bool WasHaltedHere)
{
    if (!WasHaltedHere) return;
    if (_State().Connected) BRYLLOARM_GoEx(0, 1);
    m_HaltedForIO = 0;
}

U32 CDeviceTarget::ReadMem(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone, U8* paData,
                           U8* paStatus)
{
    if (!paData || !paStatus) return 0;
    if (ValidateMemoryAccessParams(true, Addr, nBytes, AW, Flags, paData, paStatus) < 0) return 0;
    const bool WasHaltedHere = _HaltBeforeMemoryIO(&Flags);
    U32 Num = ReadMemSimple(Addr, nBytes, AW, Flags, sZone, paData, paStatus);
    if (Num < nBytes && ChunkSize != 0)
        Num += ReadMemChunkWise(Addr + Num, nBytes - Num, ChunkSize, AW, Flags, sZone, paData + Num, paStatus + Num);
    _ResumeAfterMemoryIO(WasHaltedHere);
    return Num;
}

/// One access of the library, picked by size and alignment. Gives the bytes read.
U32 CDeviceTarget::_ReadOnce(U32 Addr, U32 nBytes, U32 AW, const char* sZone, U8* pData)
{
    U8 Status = 0;
    const bool Aligned = nBytes != 0 && Addr % nBytes == 0;
    if (sZone) {
        if (nBytes == 2 && Aligned) {
            U16 Value = 0;
            const U32 Num = CountOf(BRYLLO_ReadMemZonedU16(Addr, 1, &Value, &Status, sZone), 2);
            std::memcpy(pData, &Value, 2);
            return Num;
        }
        if (nBytes == 4 && Aligned) {
            U32 Value = 0;
            const U32 Num = CountOf(BRYLLO_ReadMemZonedU32(Addr, 1, &Value, &Status, sZone), 4);
            std::memcpy(pData, &Value, 4);
            return Num;
        }
        return CountOf(BRYLLO_ReadMemZonedEx(Addr, nBytes, pData, nBytes == 1 ? 1 : AW, sZone), 1);
    }
    if (nBytes == 1) return CountOf(BRYLLOARM_ReadMemU8(Addr, 1, pData, &Status), 1);
    if (nBytes == 2 && Aligned) {
        U16 Value = 0;
        const U32 Num = CountOf(BRYLLOARM_ReadMemU16(Addr, 1, &Value, &Status), 2);
        std::memcpy(pData, &Value, 2);
        return Num;
    }
    if (nBytes == 4 && Aligned) {
        U32 Value = 0;
        const U32 Num = CountOf(BRYLLOARM_ReadMemU32(Addr, 1, &Value, &Status), 4);
        std::memcpy(pData, &Value, 4);
        return Num;
    }
    if (nBytes == 8 && Aligned) {
        U64 Value = 0;
        const U32 Num = CountOf(BRYLLOARM_ReadMemU64(Addr, 1, &Value, &Status), 8);
        std::memcpy(pData, &Value, 8);
        return Num;
    }
    return CountOf(BRYLLOARM_ReadMemEx(Addr, nBytes, pData, AW), 1);
}

U32 CDeviceTarget::ReadMemSimple(U32 Addr, U32 nBytes, U32 AW, U32 Flags, const char* sZone, U8* paData,
                                 U8* paStatus)
{
    if (!paData || !paStatus) return 0;
    if (ValidateMemoryAccessParams(true, Addr, nBytes, AW, Flags, paData, paStatus) < 0) return 0;
    std::memset(paData, 0, nBytes);
    const U32 Num = std::min(_ReadOnce(Addr, nBytes, AW, sZone, paData), nBytes);
    std::memset(paStatus, DATA_VALID, Num);
    std::memset(paStatus + Num, DATA_INVALID, nBytes - Num);
    return Num;
}

U32 CDeviceTarget::ReadMemItemWise(U32 Addr, U32 nBytes, U32 AW, U32 Flags, const char* sZone, U8* pData,
                                   U8* paStatus)
{
    if (!pData || !paStatus) return 0;
    const U32 ItemSize = AW > 0 ? AW : 1;
    U32 Num = 0;
    for (U32 Pos = 0; Pos < nBytes;) {
        const U32 Size = std::min(ItemSize, nBytes - Pos);
        Num += ReadMemSimple(Addr + Pos, Size, AW, Flags, sZone, pData + Pos, paStatus + Pos);
        Pos += Size;
    }
    return Num;
}

U32 CDeviceTarget::ReadMemChunkWise(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone,
                                    U8* pData, U8* paStatus)
{
    if (!pData || !paStatus || nBytes == 0) return 0;
    return AccessMemInChunks(_Dev(), nBytes, ChunkSize, "Reading Memory...", [&](U32 Pos, U32 Size) {
        U32 Num = 0;
        if (Size < nBytes) Num = ReadMemSimple(Addr + Pos, Size, AW, Flags, sZone, pData + Pos, paStatus + Pos);
        if (Num < Size && (Flags & MEM_FLAG_ITEM_WISE)) {
            const U32 At = Pos + Num;
            Num += ReadMemItemWise(Addr + At, Size - Num, AW, Flags, sZone, pData + At, paStatus + At);
        }
        return Num;
    });
}

int CDeviceTarget::ReadMemBlocking(U32 Addr, const char* sZone, U32 nBytes, void* paData, U8* paStatus)
{
    thread_local U8 s_aScratch[MAX_SCRATCH_READ];
    if (!paStatus) {
        if (nBytes > MAX_SCRATCH_READ) return -1;
        paStatus = s_aScratch;
    }
    const U32 AW = U32(GetVarValue(VAR_ACCESS_WIDTH));
    return ReadMem(Addr, nBytes, 0, AW, 0, GetAccessZone(sZone), static_cast<U8*>(paData), paStatus) == nBytes ? 0 : -1;
}

// ---- Small reads: the output holds a pattern when they fail --------------------------------------------

int CDeviceTarget::ReadByte(U32 Addr, U8* pOutByte)
{
    if (!pOutByte) return -1;
    *pOutByte = 0xEE;
    if (!_State().Connected || Addr == 0xFFFFFFFE) return -1;
    if (Addr == ADDR_NONE) {
        _Dev().LogDebugMsg("Attempting to read byte at invalid address %x", Addr);
        return -1;
    }
    U8 Status = 0;
    U8 Value = 0;
    if (BRYLLOARM_ReadMemU8(Addr, 1, &Value, &Status) < 0 || Status != 0) {
        _Dev().LogWarnMsg("ReadByte: Bryllo API call failed");
        return -1;
    }
    *pOutByte = Value;
    return 0;
}

int CDeviceTarget::ReadHalfWord(U32 Addr, U16* pOutHW)
{
    if (!pOutHW) return -1;
    *pOutHW = 0xEEEE;
    const char* sError = nullptr;
    if (!_State().Connected)
        sError = "ReadHalfWord: not connected";
    else if (Addr == 0xFFFFFFFD)
        sError = "ReadHalfWord: Outside address range";
    if (sError) {
        _Dev().LogDebugMsg("%s", sError);
        return -1;
    }
    if (Addr >= 0xFFFFFFFE) {
        _Dev().LogDebugMsg("Attempting to read half word at invalid address %x", Addr);
        return -1;
    }
    if (Addr & 1) {
        _Dev().LogDebugMsg("Attempting to read half word unaligned at %x", Addr);
        return -1;
    }
    U8 Status = 0;
    U16 Value = 0;
    if (BRYLLOARM_ReadMemU16(Addr, 1, &Value, &Status) < 0 || Status != 0) {
        _Dev().LogWarnMsg("ReadHalfWord: Bryllo API call failed");
        return -1;
    }
    *pOutHW = _State().DataEndian == ENDIAN_BIG ? __builtin_bswap16(Value) : Value;
    return 0;
}

int CDeviceTarget::ReadWord(U32 Addr, U32* pOutWord)
{
    if (!pOutWord) return -1;
    *pOutWord = 0xEEEEEEEE;
    const char* sError = nullptr;
    if (!_State().Connected)
        sError = "ReadWord: Not connected";
    else if (Addr == 0xFFFFFFFB)
        sError = "ReadWord: Outside address range";
    if (sError) {
        _Dev().LogDebugMsg("%s", sError);
        return -1;
    }
    if (Addr >= 0xFFFFFFFE) {
        _Dev().LogDebugMsg("Attempting to read word at invalid address %x", Addr);
        return -1;
    }
    if (Addr & 3) {
        _Dev().LogDebugMsg("Attempting to read word unaligned at %x", Addr);
        return -1;
    }
    U8 Status = 0;
    U32 Value = 0;
    if (BRYLLOARM_ReadMemU32(Addr, 1, &Value, &Status) < 0 || Status != 0) {
        _Dev().LogWarnMsg("ReadWord: Bryllo API call failed");
        return -1;
    }
    *pOutWord = _State().DataEndian == ENDIAN_BIG ? __builtin_bswap32(Value) : Value;
    return 0;
}

int CDeviceTarget::ReadInt(U32 Addr, U32 Size, void* pOutData)
{
    switch (Size) {
    case 1: return ReadByte(Addr, static_cast<U8*>(pOutData));
    case 2: return ReadHalfWord(Addr, static_cast<U16*>(pOutData));
    case 4: return ReadWord(Addr, static_cast<U32*>(pOutData));
    default: return -1;
    }
}
