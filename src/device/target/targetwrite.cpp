// CDeviceTarget: writing target memory, and the bracket around writes that land in flash.
#include "device/target/devicetarget.h"
#include "device/target/memchunks.h"
#include "platform/probe/bryllo.h"

#include <algorithm>
#include <cstring>

namespace {

template <class T> T Item(const U8* pData)
{
    T Value;
    std::memcpy(&Value, pData, sizeof Value);
    return Value;
}
U32 SizeIfOk(int Answer, U32 Size)
{
    return Answer == 0 ? Size : 0;
}
} // namespace

/// One access of the library, picked by size and alignment. Gives the bytes written.
U32 CDeviceTarget::_WriteOnce(U32 Addr, U32 nBytes, U32 AW, const char* sZone, const U8* pData)
{
    const bool Aligned = nBytes != 0 && Addr % nBytes == 0;
    if (nBytes == 2 && Aligned)
        return SizeIfOk(sZone ? BRYLLO_WriteZonedU16(Addr, Item<U16>(pData), sZone)
                              : BRYLLOARM_WriteU16(Addr, Item<U16>(pData)), 2);
    if (nBytes == 4 && Aligned)
        return SizeIfOk(sZone ? BRYLLO_WriteZonedU32(Addr, Item<U32>(pData), sZone)
                              : BRYLLOARM_WriteU32(Addr, Item<U32>(pData)), 4);
    if (!sZone && nBytes == 1) return SizeIfOk(BRYLLOARM_WriteU8(Addr, *pData), 1);
    if (!sZone && nBytes == 8 && Aligned) return SizeIfOk(BRYLLOARM_WriteU64(Addr, Item<U64>(pData)), 8);
    const int Answer = sZone ? BRYLLO_WriteMemZonedEx(Addr, nBytes, pData, AW, sZone)
                             : BRYLLOARM_WriteMemEx(Addr, nBytes, pData, AW);
    return Answer > 0 ? U32(Answer) : 0;
}

U32 CDeviceTarget::WriteMem(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone,
                            const U8* paData)
{
    if (!paData) return 0;
    if (ValidateMemoryAccessParams(false, Addr, nBytes, AW, Flags, paData, nullptr) < 0) return 0;
    const bool WasHaltedHere = _HaltBeforeMemoryIO(&Flags);
    if (Flags & MEM_FLAG_DOWNLOAD) BeginDownload();
    U32 Num = std::min(WriteMemSimple(Addr, nBytes, AW, sZone, paData), nBytes);
    if (Num < nBytes && ChunkSize != 0)
        Num += WriteMemChunkWise(Addr + Num, nBytes - Num, ChunkSize, AW, Flags, sZone, paData + Num);
    // What the library has only collected is not written when programming fails.
    if ((Flags & MEM_FLAG_DOWNLOAD) && EndDownload(false) < 0) Num = 0;
    _ResumeAfterMemoryIO(WasHaltedHere);
    return Num;
}

U32 CDeviceTarget::WriteMemSimple(U32 Addr, U32 nBytes, U32 AW, const char* sZone, const U8* paData)
{
    if (!paData || nBytes == 0) return 0;
    return _WriteOnce(Addr, nBytes, AW, sZone, paData);
}

U32 CDeviceTarget::WriteMemItemWise(U32 Addr, U32 nBytes, U32 AW, const char* sZone, const U8* pData)
{
    if (!pData) return 0;
    const U32 ItemSize = AW > 0 ? AW : 1;
    U32 Num = 0;
    for (U32 Pos = 0; Pos < nBytes;) {
        const U32 Size = std::min(ItemSize, nBytes - Pos);
        Num += std::min(WriteMemSimple(Addr + Pos, Size, AW, sZone, pData + Pos), Size);
        Pos += Size;
    }
    return Num;
}

U32 CDeviceTarget::WriteMemChunkWise(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone,
                                     const U8* paData)
{
    if (!paData || nBytes == 0) return 0;
    return AccessMemInChunks(_Dev(), nBytes, ChunkSize, "Writing Memory...", [&](U32 Pos, U32 Size) {
        U32 Num = 0;
        if (Size < nBytes) Num = std::min(WriteMemSimple(Addr + Pos, Size, AW, sZone, paData + Pos), Size);
        if (Num < Size && (Flags & MEM_FLAG_ITEM_WISE))
            Num += WriteMemItemWise(Addr + Pos + Num, Size - Num, AW, sZone, paData + Pos + Num);
        return Num;
    });
}

U32 CDeviceTarget::WriteMemMultiple(U32 Cnt, const U32* paAddrRanges, U32 NumBytes, const U8* paData, U32 ChunkSize,
                                    U32 AW, U32 Flags, const char* sZone)
{
    if (!paAddrRanges || !paData || Cnt == 0) return 0;
    const bool HasBracket = Flags & MEM_FLAG_DOWNLOAD;
    const bool OpensDownload = HasBracket || (Flags & MEM_FLAG_OPEN_DOWNLOAD);
    const bool WasHaltedHere = _HaltBeforeMemoryIO(&Flags);
    if (OpensDownload) BeginDownload();
    Flags &= ~U32(MEM_FLAG_DOWNLOAD | MEM_FLAG_OPEN_DOWNLOAD);
    U32 Pos = 0;
    U32 Total = 0;
    for (U32 i = 0; i < Cnt; i++) {
        const U32 Start = paAddrRanges[2 * i];
        const U32 End = paAddrRanges[2 * i + 1];
        const U32 Size = End > Start ? End - Start : 0;
        if (Size > NumBytes - Pos) break;
        if (Size > 0) Total += WriteMem(Start, Size, ChunkSize, AW, Flags, sZone, paData + Pos);
        Pos += Size;
        if (_State().TransferCanceled) break;
    }
    if (HasBracket && EndDownload(false) < 0) Total = 0;
    _ResumeAfterMemoryIO(WasHaltedHere);
    return Total;
}

// ---- Download ------------------------------------------------------------------------------------------

int CDeviceTarget::BeginDownload()
{
    if (!_State().Connected) {
        _Dev().LogDebugMsg("BeginDL: not connected");
        return -1;
    }
    ClearBreakpointsBeforeFlashDL();
    m_DownloadOpen = true;
    return BRYLLOARM_BeginDownload(0);
}

int CDeviceTarget::EndDownload(bool DoHalt)
{
    CDevice& Dev = _Dev();
    DEVICE_STATE& State = _State();
    if (!State.Connected) {
        Dev.LogDebugMsg("EndDL: not connected");
        return -1;
    }
    if (DoHalt) {
        if (IsTargetHalted())
            DoHalt = false;
        else
            BRYLLOARM_Halt();
    }
    // A write that has closed its bracket by itself has left its result.
    int Answer = State.LastDownloadError;
    if (m_DownloadOpen) {
        m_DownloadOpen = false;
        // Half a program is worse than the old one: what a user has canceled is forgotten, and nothing programmed.
        const bool IsCanceled = State.TransferCanceled;
        if (IsCanceled) BRYLLOARM_BeginDownload(0);
        Dev.SetProgressMsg("Writing Memory...");
        Dev.StartProgress(0, 0);
        Answer = BRYLLOARM_EndDownload();
        Dev.EndProgress();
        if (IsCanceled) Answer = -1;
    }
    RestoreBreakpointsAfterFlashDL();
    if (DoHalt && State.Running) BRYLLOARM_GoEx(0, 1);
    if (State.Connected && !m_HaltedForIO) TestConnectionLost();
    State.LastDownloadError = Answer < 0 ? Answer : 0;
    if (Answer >= 0) return 0;
    Dev.LogErrorMsg("BRYLLOARM_EndDownload: Bryllo API call returned error code %d", Answer);
    return Answer;
}

const char* CDeviceTarget::GetDownloadErrorText(int Code)
{
    switch (Code) {
    case BRYLLO_ERR_DL_COMPARE: return "error during compare phase";
    case BRYLLO_ERR_DL_PROGRAM: return "error during program/erase phase";
    case BRYLLO_ERR_DL_VERIFY: return "error during verification phase";
    default: return "Bryllo reports an unspecified error";
    }
}

U32 CDeviceTarget::GetBulkChunkSize() const
{
    const U32 Hz = _State().TIFSpeed;
    if (Hz == U32(SPEED_ADAPTIVE)) return 16'000;
    if (Hz == U32(SPEED_AUTO)) return 0xFFFFFFFF;
    if (Hz <= 50'000) return 8'000;
    if (Hz <= 100'000) return 16'000;
    if (Hz <= 500'000) return 32'000;
    return 0xFFFFFFFF;
}
