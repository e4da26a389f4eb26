// CRemoteBackend: memory, and flash through the server's erase and write operations.
#include "platform/probe/remote/remotebackend.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace Remote {

namespace {

std::string Range(const char* sLetter, U32 Addr, U32 NumBytes)
{
    char ac[48];
    std::snprintf(ac, sizeof(ac), "%s%x,%x", sLetter, Addr, NumBytes);
    return ac;
}

} // namespace

/// One request. Gives the bytes that came, 0 for none: servers may answer with less than was asked for.
U32 CRemoteBackend::ReadBlock(U32 Addr, U32 NumBytes, U8* pData)
{
    const auto Answer = m_Client.Request(Range("m", Addr, NumBytes));
    // An error is an E and two digits, which is no whole number of bytes.
    if (!Answer || Answer->size() % 2 != 0) {
        return 0;
    }
    return static_cast<U32>(FromHex(*Answer, pData, NumBytes));
}

bool CRemoteBackend::ReadBytes(U32 Addr, U32 NumBytes, U8* pData)
{
    const U32 Chunk = static_cast<U32>((m_Client.GetPacketSize() - 8) / 2) & ~7u;
    for (U32 Pos = 0; Pos < NumBytes;) {
        const U32 Num = ReadBlock(Addr + Pos, std::min(Chunk, NumBytes - Pos), pData + Pos);
        if (Num == 0) {
            return false;
        }
        Pos += Num;
    }
    return true;
}

bool CRemoteBackend::WriteBytes(U32 Addr, U32 NumBytes, const U8* pData)
{
    // Room for the address, and in the worst case two characters a byte in either form.
    const U32 Chunk = static_cast<U32>((m_Client.GetPacketSize() - 32) / 2) & ~7u;
    for (U32 Pos = 0; Pos < NumBytes;) {
        const U32 Num = std::min(Chunk, NumBytes - Pos);
        std::string Packet = Range(m_BinaryWrites ? "X" : "M", Addr + Pos, Num) + ":";
        if (m_BinaryWrites) {
            for (U32 i = 0; i < Num; ++i) {
                AppendEscaped(Packet, pData[Pos + i]);
            }
        } else {
            Packet += ToHex(pData + Pos, Num);
        }
        if (!m_Client.RequestOk(Packet)) {
            return false;
        }
        Pos += Num;
    }
    return true;
}

int CRemoteBackend::ReadMem(const Probe::CMemAccess& Access, U8* pData, U8* paStatus)
{
    const U64 NumBytes = U64(Access.NumItems) * Access.ItemSize;
    if (paStatus) {
        std::memset(paStatus, 1, Access.NumItems);
    }
    if (const int Error = CheckHalted()) {
        return Error;
    }
    if ((Access.sZone && *Access.sZone && std::strcmp(Access.sZone, "Default") != 0) || NumBytes > INT32_MAX ||
        U64(Access.Addr) + NumBytes > U64(1) << 32) {
        return BRYLLO_ERR_PARAM;
    }
    if (ReadBytes(Access.Addr, static_cast<U32>(NumBytes), pData)) {
        if (paStatus) {
            std::memset(paStatus, 0, Access.NumItems);
        }
        return static_cast<int>(Access.NumItems);
    }
    // Somewhere in it something can't be read: item by item.
    int NumRead = 0;
    for (U32 i = 0; i < Access.NumItems && m_Client.IsOpen(); ++i) {
        U8* const pItem = pData + std::size_t(i) * Access.ItemSize;
        if (ReadBytes(Access.Addr + i * Access.ItemSize, Access.ItemSize, pItem)) {
            ++NumRead;
            if (paStatus) {
                paStatus[i] = 0;
            }
            continue;
        }
        std::memset(pItem, 0, Access.ItemSize);
        if (!paStatus) {
            break;
        }
    }
    return NumRead > 0 || Access.NumItems == 0 ? NumRead : int(BRYLLO_ERR_MEM);
}

const CFlashRegion* CRemoteBackend::FindFlash(U32 Addr) const
{
    for (const CFlashRegion& Region : m_Flash) {
        if (Addr - Region.Addr < Region.NumBytes) {
            return &Region;
        }
    }
    return nullptr;
}

int CRemoteBackend::WriteMem(const Probe::CMemAccess& Access, const U8* pData)
{
    const U64 NumBytes = U64(Access.NumItems) * Access.ItemSize;
    if (const int Error = CheckHalted()) {
        return Error;
    }
    if ((Access.sZone && *Access.sZone && std::strcmp(Access.sZone, "Default") != 0) || NumBytes > INT32_MAX ||
        U64(Access.Addr) + NumBytes > U64(1) << 32) {
        return BRYLLO_ERR_PARAM;
    }
    U32 Pos = 0;
    while (Pos < NumBytes) {
        const U32 Addr = Access.Addr + Pos;
        const CFlashRegion* const pFlash = FindFlash(Addr);
        // Up to where flash begins or ends.
        U32 Num = static_cast<U32>(NumBytes) - Pos;
        for (const CFlashRegion& Region : m_Flash) {
            const U64 Edge = pFlash == &Region ? U64(Region.Addr) + Region.NumBytes : Region.Addr;
            if (Edge > Addr) {
                Num = static_cast<U32>(std::min<U64>(Num, Edge - Addr));
            }
        }
        if (pFlash && !m_Downloading) {
            break;
        }
        if (pFlash) {
            for (U32 i = 0; i < Num; ++i) {
                m_Collected[Addr + i] = pData[Pos + i];
            }
        } else if (!WriteBytes(Addr, Num, pData + Pos)) {
            break;
        }
        Pos += Num;
    }
    const U32 NumWritten = Pos / Access.ItemSize;
    return NumWritten > 0 || Access.NumItems == 0 ? static_cast<int>(NumWritten) : int(BRYLLO_ERR_MEM);
}

int CRemoteBackend::BeginDownload()
{
    m_Downloading = true;
    m_Collected.clear();
    return 0;
}

/// Brings what was collected for one block into flash. 1 programmed, 0 it was there already, or a failure.
int CRemoteBackend::ProgramBlock(const CFlashRegion& Region, U32 BlockAddr)
{
    const U32 NumBytes = std::min<U32>(Region.BlockSize, Region.Addr + Region.NumBytes - BlockAddr);
    std::vector<U8> Old(NumBytes);
    if (!ReadBytes(BlockAddr, NumBytes, Old.data())) {
        return BRYLLO_ERR_DL_COMPARE;
    }
    std::vector<U8> New = Old;
    for (auto It = m_Collected.lower_bound(BlockAddr); It != m_Collected.end() && It->first - BlockAddr < NumBytes; ++It) {
        New[It->first - BlockAddr] = It->second;
    }
    if (New == Old) {
        return 0;
    }
    if (!m_Client.RequestOk(Range("vFlashErase:", BlockAddr, NumBytes), CRspClient::LONG)) {
        return BRYLLO_ERR_DL_PROGRAM;
    }
    const U32 Chunk = static_cast<U32>((m_Client.GetPacketSize() - 32) / 2);
    for (U32 Pos = 0; Pos < NumBytes; Pos += Chunk) {
        char acHead[32];
        std::snprintf(acHead, sizeof(acHead), "vFlashWrite:%x:", BlockAddr + Pos);
        std::string Packet = acHead;
        for (U32 i = Pos; i < std::min(NumBytes, Pos + Chunk); ++i) {
            AppendEscaped(Packet, New[i]);
        }
        if (!m_Client.RequestOk(Packet, CRspClient::LONG)) {
            return BRYLLO_ERR_DL_PROGRAM;
        }
    }
    return 1;
}

int CRemoteBackend::EndDownload()
{
    if (!m_Downloading) {
        return BRYLLO_ERR_UNSPECIFIED;
    }
    m_Downloading = false;
    const std::map<U32, U8> Collected = m_Collected;
    int NumProgrammed = 0;
    int Error = 0;
    for (auto It = Collected.begin(); It != Collected.end() && Error == 0;) {
        const CFlashRegion* const pRegion = FindFlash(It->first);
        const U32 BlockAddr = It->first - (It->first - pRegion->Addr) % pRegion->BlockSize;
        const int Result = ProgramBlock(*pRegion, BlockAddr);
        Error = std::min(Result, 0);
        NumProgrammed += Result > 0;
        while (It != Collected.end() && It->first - BlockAddr < pRegion->BlockSize) {
            ++It;
        }
    }
    if (NumProgrammed > 0 && !m_Client.RequestOk("vFlashDone", CRspClient::LONG) && Error == 0) {
        Error = BRYLLO_ERR_DL_PROGRAM;
    }
    for (auto It = Collected.begin(); It != Collected.end() && Error == 0;) {
        // Verified in runs of neighbouring bytes.
        std::vector<U8> Wanted;
        const U32 Addr = It->first;
        for (; It != Collected.end() && It->first - Addr == Wanted.size() && Wanted.size() < 0x1000; ++It) {
            Wanted.push_back(It->second);
        }
        std::vector<U8> Read(Wanted.size());
        if (!ReadBytes(Addr, static_cast<U32>(Read.size()), Read.data()) || Read != Wanted) {
            Error = BRYLLO_ERR_DL_VERIFY;
        }
    }
    m_Collected.clear();
    if (Error != 0) {
        m_Log.Error("Flash download failed");
    }
    return Error != 0 ? Error : NumProgrammed;
}

} // namespace Remote
