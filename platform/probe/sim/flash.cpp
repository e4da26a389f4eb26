#include "platform/probe/sim/flash.h"

#include <algorithm>
#include <utility>

namespace Sim {

constexpr U8 ERASED = 0xFF;

CFlash::CFlash(U32 NumBytes, U32 SectorSize) : m_SectorSize(SectorSize), m_Data(NumBytes, ERASED) {}

void CFlash::EraseAll()
{
    std::fill(m_Data.begin(), m_Data.end(), ERASED);
}

void CFlash::BeginDownload()
{
    m_Collected.clear();
    m_Downloading = true;
}

void CFlash::CancelDownload()
{
    m_Collected.clear();
    m_Downloading = false;
}

void CFlash::Collect(U32 Offset, const U8* pData, U32 NumBytes)
{
    while (NumBytes > 0) {
        const U32 Start = Offset / m_SectorSize * m_SectorSize;
        const U32 NumHere = std::min(NumBytes, Start + m_SectorSize - Offset);
        const auto [It, IsNew] = m_Collected.try_emplace(Start);
        if (IsNew) {
            It->second.assign(m_Data.begin() + Start, m_Data.begin() + Start + m_SectorSize);
        }
        std::copy_n(pData, NumHere, It->second.begin() + (Offset - Start));
        Offset += NumHere;
        pData += NumHere;
        NumBytes -= NumHere;
    }
}

void CFlash::ReadCollected(U32 Offset, U8* pData, U32 NumBytes) const
{
    while (NumBytes > 0) {
        const U32 Start = Offset / m_SectorSize * m_SectorSize;
        const U32 NumHere = std::min(NumBytes, Start + m_SectorSize - Offset);
        const auto It = m_Collected.find(Start);
        const U8* pFrom = It == m_Collected.end() ? &m_Data[Offset] : &It->second[Offset - Start];
        std::copy_n(pFrom, NumHere, pData);
        Offset += NumHere;
        pData += NumHere;
        NumBytes -= NumHere;
    }
}

std::optional<CFlash::CSector> CFlash::ProgramNext()
{
    if (m_Collected.empty()) {
        m_Downloading = false;
        return std::nullopt;
    }
    const auto Node = m_Collected.extract(m_Collected.begin());
    const U32 Offset = Node.key();
    const std::vector<U8>& Wanted = Node.mapped();
    const auto pSector = m_Data.begin() + Offset;
    const auto Fail = [&](int Result) {
        CancelDownload();
        m_FailNext = EPhase::None;
        return CSector{Offset, Result};
    };
    if (m_FailNext == EPhase::Compare) {
        return Fail(BRYLLO_ERR_DL_COMPARE);
    }
    if (std::equal(Wanted.begin(), Wanted.end(), pSector)) {
        return CSector{Offset, 0};
    }
    std::fill_n(pSector, m_SectorSize, ERASED);
    if (m_FailNext == EPhase::Program) {
        return Fail(BRYLLO_ERR_DL_PROGRAM);
    }
    // Programming can only take bits away; after an erase that yields what is wanted.
    std::transform(Wanted.begin(), Wanted.end(), pSector, pSector, [](U8 New, U8 Old) { return New & Old; });
    if (m_FailNext == EPhase::Verify) {
        const auto It = std::find_if(Wanted.begin(), Wanted.end(), [](U8 b) { return b != ERASED; });
        if (It != Wanted.end()) {
            *(pSector + (It - Wanted.begin())) = ERASED; // a byte that does not take its programming
        }
    }
    if (!std::equal(Wanted.begin(), Wanted.end(), pSector)) {
        return Fail(BRYLLO_ERR_DL_VERIFY);
    }
    return CSector{Offset, 1};
}

} // namespace Sim
