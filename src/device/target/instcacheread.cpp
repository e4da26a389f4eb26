#include "device/target/instcacheread.h"
#include "core/cache/core.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "device/target/devicetarget.h"
#include "project/settings/sysvars.h"

#include <algorithm>

namespace {
constexpr U32 MAX_RANGE = 64u << 20; ///< more code than any of these targets has

class CInstCacheReader : public CDeviceEventListener {
public:
    void OnDeviceReadMemDone(U32 Addr, U32 nBytes, const char*, U8* paData, U8* paStatus) override
    {
        if (std::any_of(paStatus, paStatus + nBytes, [](U8 Status) { return Status != DATA_VALID; })) {
            CDevice::Get().LogErrorMsg("could not read target memory");
            return;
        }
        std::lock_guard Lock(CDevice::Get().GetDeviceMutex());
        Core::OnReadDone(Addr, nBytes, paData);
    }
};
} // namespace

int DEVICE_ReadIntoInstCache(U32 Addr, U32 Size)
{
    CDevice& Dev = CDevice::Get();
    if (Size == 0 || Size > MAX_RANGE || U64(Addr) + Size >= 0xFFFFFFFF) return -1;
    if (Dev.State.Connected && Dev.GetCapability(CAP_STREAMING_TRACE)) {
        const QByteArray sCmd = QString::asprintf("ReadIntoTraceCache 0x%X 0x%X", Addr, Size).toLatin1();
        Dev.ExecBrylloCmdAsync(sCmd.constData());
    }
    static auto* pReader = new CInstCacheReader; // stands in the list of listeners to the end, as the manager does
    Core::ExpectRead(Addr, Size);
    const int Answer =
        CDeviceDataManager::Get().ReadMemCached(pReader, Addr, Size, nullptr, CDeviceTarget::Get().GetBulkChunkSize(),
                                                U32(GetVarValue(VAR_ACCESS_WIDTH)), MEM_FLAG_BYPASS_CACHE);
    return Answer == CDeviceDataManager::REFUSED ? -1 : 0;
}
