// CDevice: posting of events from any thread and their delivery on the GUI thread.
#include "device/queue/device.h"
#include "device/queue/deviceeventlistener.h"
#include "device/queue/deviceeventworker.h"
#include "device/queue/jobtable.h"

#include <QtGlobal>

namespace {
/// How far a step report looks for a later one that makes it needless.
constexpr U32 STEP_LOOK_AHEAD = 10;

DEVICE_JOB* JobOf(const DEVICE_EVENT& Event)
{
    return reinterpret_cast<DEVICE_JOB*>(uintptr_t(Event.Arg0));
}
} // namespace

int CDevice::PostDeviceEvent(U32 Type, U64 Arg0, U64 Arg1)
{
    if (m_Events.Post({Type, Arg0, Arg1}) < 0) {
        qWarning("Target event queue full. job not inserted");
        return -1;
    }
    std::lock_guard Lock(m_EventWorkerMutex);
    if (m_pEventWorker) QMetaObject::invokeMethod(m_pEventWorker, "start");
    return 0;
}

int CDevice::PostTextEvent(U32 Type, const char* sText, U64 Arg1)
{
    return PostDeviceEvent(Type, m_Events.StoreText(sText ? sText : ""), Arg1);
}

CDeviceEventWorker* CDevice::CreateEventWorker(QObject* pParent)
{
    return new CDeviceEventWorker(pParent);
}

void CDevice::_SetEventWorker(CDeviceEventWorker* pWorker)
{
    std::lock_guard Lock(m_EventWorkerMutex);
    m_pEventWorker = pWorker;
}

int CDevice::DispatchEvents(int MaxEvents)
{
    int Num = 0;
    while (Num < MaxEvents && _DispatchOne(nullptr)) Num++;
    return Num;
}

/// False when the ring is empty. *pSeqNo becomes the job's number for a DEV_EVENT_JOB_DONE, else it stays.
bool CDevice::_DispatchOne(U64* pSeqNo)
{
    DEVICE_EVENT Event;
    if (!m_Events.Pop(&Event)) return false;
    if (Event.Type == DEV_EVENT_JOB_DONE) {
        DEVICE_JOB* pJob = JobOf(Event);
        if (pJob && pSeqNo) *pSeqNo = DEVJOB_LoadSeqNo(*pJob);
        _DeliverJob(pJob);
        if (pJob) _ReleaseJob(pJob);
    } else {
        _DispatchEvent(Event);
    }
    return true;
}

void CDevice::_DispatchEvent(const DEVICE_EVENT& Event)
{
    using LISTENER = CDeviceEventListener;
    const int Int0 = int(Event.Arg0);
    const int Int1 = int(Event.Arg1);
    char sText[EVENT_TEXT_LEN + 1] = {};
    if (Event.Type >= DEV_EVENT_LOG_MSG && Event.Type <= DEV_EVENT_PROGRESS_MSG)
        m_Events.LoadText(U32(Event.Arg0), sText);

    DEVICE_ForEachListener([&](LISTENER& Listener) {
        switch (Event.Type) {
        case DEV_EVENT_EVAL_BP_CONDITION: Listener.OnDeviceEvalBPCondition(U32(Event.Arg0)); break;
        case DEV_EVENT_CONFIG_PARAM: Listener.OnDeviceConfigParamChanged(Int0, Int1); break;
        case DEV_EVENT_CAPABILITY: Listener.OnDeviceCapabilityChanged(Int0, Int1); break;
        case DEV_EVENT_CONNECTION_LOST: Listener.OnDeviceConnectionLost(); break;
        case DEV_EVENT_ABOUT_TO_DISCONNECT: Listener.OnDeviceAboutToDisconnect(); break;
        case DEV_EVENT_ABOUT_TO_RESUME: Listener.OnDeviceAboutToResume(RESUME_MODES(Event.Arg0)); break;
        case DEV_EVENT_ABOUT_TO_STEP: Listener.OnDeviceAboutToStep(); break;
        case DEV_EVENT_ENDIANESS: Listener.OnDeviceEndianessChanged(Int0, Int1); break;
        case DEV_EVENT_LOG_MSG: Listener.OnDeviceLogMsg(sText, U32(Event.Arg1)); break;
        case DEV_EVENT_STATUS_MSG: Listener.OnDeviceSetStatusMsg(sText); break;
        case DEV_EVENT_PROGRESS_MSG: Listener.OnDeviceSetProgressMsg(sText); break;
        case DEV_EVENT_PROGRESS_START: Listener.OnDeviceStartProgress(Int0, Int1); break;
        case DEV_EVENT_PROGRESS_END: Listener.OnDeviceEndProgress(); break;
        case DEV_EVENT_PROGRESS_VALUE: Listener.OnDeviceSetProgressValue(Int0); break;
        default: break;
        }
    });
}

void CDevice::_DeliverJob(DEVICE_JOB* pJob)
{
    if (pJob && !DEVJOB_IsValid(*pJob)) return;
    if (!pJob || _IsStale(*pJob)) {
        qDebug("Skipping job event %s", pJob ? GetJobName(pJob->Type) : "");
        return;
    }
    _CheckModes(*pJob);
    const JOB_ROW* pRow = DEVJOB_GetRow(pJob->Type);
    if (pRow && (pRow->Flags & JRF_DATA_MANAGER)) {
        if (auto* pfManager = GetHooks().GetDataManager) pfManager()->OnDeviceJobDone(pJob);
        return;
    }
    DEVICE_ForEachListener([pJob](CDeviceEventListener& Listener) { Listener.OnDeviceJobDone(pJob); });
}

/// True for a report whose moment has passed, or that the session controller makes itself.
bool CDevice::_IsStale(const DEVICE_JOB& Job)
{
    const U64 P0 = Job.Param[0];
    if (Job.Type >= BT_LAST) return true;
    if (Job.Type == BT_CONNECT && (P0 == 3 || P0 == 4)) return true;
    if (Job.Type == BT_RESET && P0 == RM_RESET_HARDWARE) return true;
    const bool IsStep = DEVJOB_IsStep(Job.Type);
    if (Job.Type != BT_HALT && !IsStep) return false;
    if (!State.Halted || U64(Job.Result) != State.PC) return true;
    if (!IsStep) return false;
    if (State.SrcStepActive) return true;
    // Of a burst of steps only the last is worth a refresh of the windows.
    DEVICE_EVENT Event;
    for (U32 i = 0; i < STEP_LOOK_AHEAD && m_Events.Peek(i, &Event); i++)
        if (Event.Type == DEV_EVENT_JOB_DONE && DEVJOB_IsStep(DEVJOB_LoadType(*JobOf(Event)))) return true;
    return false;
}

void CDevice::_CheckModes(const DEVICE_JOB& Job)
{
    const JOB_ROW* pRow = DEVJOB_GetRow(Job.Type);
    if (!pRow || !(pRow->Flags & JRF_MODE_CHECK) || !GetHooks().GetModes) return;
    U32 CPUMode = 0;
    U32 ExecMode = 0;
    GetHooks().GetModes(&CPUMode, &ExecMode);
    const bool IsReset = Job.Type == BT_RESET;
    if (CPUMode != m_CPUMode || IsReset) {
        m_CPUMode = CPUMode;
        DEVICE_ForEachListener([&](CDeviceEventListener& L) { L.OnDeviceCPUModeChanged(IsReset ? 0 : CPUMode); });
    }
    if (ExecMode != m_ExecMode || IsReset) {
        m_ExecMode = ExecMode;
        DEVICE_ForEachListener([&](CDeviceEventListener& L) { L.OnDeviceExecModeChanged(IsReset ? 0 : ExecMode); });
    }
}

void CDevice::NotifyAboutToDisconnect()
{
    if (_IsGuiThread())
        _DispatchEvent({DEV_EVENT_ABOUT_TO_DISCONNECT, 0, 0});
    else
        PostDeviceEvent(DEV_EVENT_ABOUT_TO_DISCONNECT, 0, 0);
}

void CDevice::NotifyAboutToResume(RESUME_MODES Mode)
{
    if (_IsGuiThread())
        _DispatchEvent({DEV_EVENT_ABOUT_TO_RESUME, Mode, 0});
    else
        PostDeviceEvent(DEV_EVENT_ABOUT_TO_RESUME, Mode, 0);
}

void CDevice::NotifyAboutToStep()
{
    if (_IsGuiThread())
        _DispatchEvent({DEV_EVENT_ABOUT_TO_STEP, 0, 0});
    else
        PostDeviceEvent(DEV_EVENT_ABOUT_TO_STEP, 0, 0);
}
