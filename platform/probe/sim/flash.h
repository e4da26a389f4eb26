// Flash memory of the simulated device. It reads like memory and changes only by whole sectors:
// a download bracket collects what is written, and its end compares, erases, programs and verifies
// each sector touched.
#pragma once
#include "platform/probe/bryllo.h"

#include <map>
#include <optional>
#include <vector>

namespace Sim {

class CFlash {
public:
    CFlash(U32 NumBytes, U32 SectorSize);

    U8* GetData() { return m_Data.data(); }
    U32 GetSize() const { return static_cast<U32>(m_Data.size()); }
    U32 GetSectorSize() const { return m_SectorSize; }
    void EraseAll();

    /// Opens the bracket; what an earlier one left collected is dropped.
    void BeginDownload();
    bool IsDownloading() const { return m_Downloading; }
    /// Ends the bracket without programming.
    void CancelDownload();
    /// Collects bytes for an offset inside the flash; only in a bracket.
    void Collect(U32 Offset, const U8* pData, U32 NumBytes);
    /// The bytes as they would be read after the bracket.
    void ReadCollected(U32 Offset, U8* pData, U32 NumBytes) const;

    enum class EPhase { None, Compare, Program, Verify };
    /// The next end of a bracket fails in this phase as a worn or locked flash would.
    void FailNext(EPhase Phase) { m_FailNext = Phase; }

    /// One sector of the end of a bracket.
    struct CSector {
        U32 Offset;
        int Result; // 1 programmed, 0 was equal, negative: BRYLLO_ERR_DL_...
    };
    /// Works on the next collected sector; nothing left: closes the bracket. A failed sector ends
    /// the bracket too.
    std::optional<CSector> ProgramNext();

private:
    const U32 m_SectorSize;
    std::vector<U8> m_Data;
    bool m_Downloading = false;
    EPhase m_FailNext = EPhase::None;
    std::map<U32, std::vector<U8>> m_Collected; // by offset of the sector: its content to be
};

} // namespace Sim
