// The list of listeners, and the delivery of one finished job to one listener.
#include "device/queue/deviceeventlistener.h"
#include "device/queue/device.h"
#include "device/queue/jobtable.h"

namespace {
// Listeners live in windows and singletons alike; the list is never destroyed, so that the last of them can
// still leave it.
DeviceListeners::NODE* s_pFirst = nullptr;
} // namespace

DeviceListeners::NODE* DeviceListeners::First()
{
    return s_pFirst;
}

CDeviceEventListener::CDeviceEventListener()
{
    DeviceListeners::NODE** ppNode = &s_pFirst;
    for (; *ppNode; ppNode = &(*ppNode)->pNext) {
        if (!(*ppNode)->pListener) {
            (*ppNode)->pListener = this;
            return;
        }
    }
    *ppNode = new DeviceListeners::NODE{this, nullptr};
}

CDeviceEventListener::~CDeviceEventListener()
{
    for (auto* pNode = s_pFirst; pNode; pNode = pNode->pNext)
        if (pNode->pListener == this) pNode->pListener = nullptr;
    if (auto* pfGone = CDevice::GetHooks().OnListenerGone) pfGone(this);
}

void CDeviceEventListener::OnDeviceJobDone(DEVICE_JOB* pJob)
{
    const JOB_ROW* pRow = DEVJOB_GetRow(pJob->Type);
    if (!pRow) return;
    const DEVICE_STATE& State = CDevice::Get().State;

    if ((pRow->Flags & JRF_WRITE) && State.DebugStarted) OnDeviceWriteAccess();

    if (JOB_DELIVERY pfDeliver = pJob->Status == JOB_DONE ? pRow->pfDone : pRow->pfFailed) pfDeliver(*this, *pJob);

    if (pJob->Type == BT_RESET && State.DebugStarted && U64(pJob->Result) == State.PC)
        OnDeviceHaltDone(U32(pJob->Result), HR_HALT);
    if (DEVJOB_IsStep(pJob->Type)) OnDeviceStepped(U32(pJob->Result));
    if (pRow->Flags & JRF_BP_STATE) OnDeviceBPStateChanged();
    if (pRow->Flags & JRF_WP_STATE) OnDeviceWPStateChanged();
    if (pRow->Flags & JRF_TP_STATE) OnDeviceTPStateChanged();
    if (pJob->Type == BT_WRITE_REG && State.DebugStarted) {
        auto* pfPCRegIdx = CDevice::GetHooks().GetPCRegIdx;
        if (pfPCRegIdx && pfPCRegIdx() == U32(pJob->Param[0])) OnDeviceHaltDone(U32(pJob->Param[1]), HR_PC_WRITTEN);
    }
    if (pJob->Type == BT_SET_TARGET_EXEC_STATE) OnDeviceResetDone(U32(pJob->Param[0]), RM_EXEC_STATE_SET);
}
