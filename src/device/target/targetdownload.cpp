#include "device/target/targetdownload.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "device/target/devicetarget.h"
#include "project/settings/sysvars.h"

#include <vector>

int DEVICE_ScheduleDownload(const QList<CMemBlock>& Blocks, const char* sFilePath, DOWNLOAD_MODES Mode,
                            const char* sZone, CDeviceEventListener* pReader)
{
    CDevice& Dev = CDevice::Get();
    std::vector<U32> aRange;
    QByteArray Data;
    for (const CMemBlock& Block : Blocks) {
        if (Block.Size() == 0) continue;
        if (U64(Data.size()) + Block.Size() > JOB_MAX_DYN_SIZE || Block.End() > 0xFFFFFFFF) return -1;
        aRange.push_back(Block.Addr);
        aRange.push_back(U32(Block.End()));
        Data += Block.Data;
    }
    if (aRange.empty()) return -1;

    const U32 ChunkSize = CDeviceTarget::Get().GetBulkChunkSize();
    const U32 AW = U32(GetVarValue(VAR_ACCESS_WIDTH));
    U32 Flags = MEM_FLAG_OPEN_DOWNLOAD;
    // Without real background access the target stands while it is written.
    if (Dev.GetCapability(CAP_BACKGROUND_MEM_ACCESS) != 1) Flags |= MEM_FLAG_HALT_FOR_IO;

    Dev.SetStatusMsg("Writing Memory...");
    if (Dev.WriteMemMultipleAsync(U32(aRange.size() / 2), aRange.data(), U32(Data.size()), Data.constData(), ChunkSize,
                                  AW, Flags, sZone) < 0)
        return -1;
    if (Dev.EndDownloadAsync(Mode, Flags & MEM_FLAG_HALT_FOR_IO, sFilePath) < 0) return -1;
    if (!pReader) return 0;
    for (const CMemBlock& Block : Blocks)
        if (Block.Size() > 0)
            CDeviceDataManager::Get().ReadMemCached(pReader, Block.Addr, Block.Size(), sZone, ChunkSize, AW,
                                                    MEM_FLAG_BYPASS_CACHE | (Flags & MEM_FLAG_HALT_FOR_IO));
    return 0;
}
