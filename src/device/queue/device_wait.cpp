// CDevice: the synchronous forms. They run on the GUI thread only; the worker that they wait for
// never comes here.
#include "device/queue/device.h"
#include "device/queue/jobtable.h"

#include <QCoreApplication>
#include <chrono>
#include <thread>

namespace {
constexpr int MAX_EVENTS_OF_WAIT = 100;
using CLOCK = std::chrono::steady_clock;
/// Short jobs are awaited by yielding alone; after that a nap a round leaves the processor to the worker.
constexpr auto YIELD_PHASE = std::chrono::milliseconds(2);
constexpr auto NAP = std::chrono::microseconds(100);
} // namespace

I64 CDevice::WaitForJob(U32 Type, bool ProcessEvents, U32 TimeoutMS)
{
    if (IsWorkerThread()) return 1;
    for (U32 Queue = 0; Queue < QUEUE_COUNT; Queue++) {
        int Found = -1;
        m_aQueue[Queue].ForEachAhead([&](DEVICE_JOB& Job, U32 Slot) {
            if (DEVJOB_LoadType(Job) != Type || !DEVJOB_IsPending(Job)) return false;
            Found = int(Slot);
            return true;
        });
        if (Found >= 0) return _WaitForSlot(Type, Queue, U32(Found), ProcessEvents, TimeoutMS);
    }
    return 1;
}

bool CDevice::HasPendingJob(U32 Type)
{
    for (CDeviceJobRing& Queue : m_aQueue)
        for (U32 Slot = 0; Slot < JOB_SLOTS; Slot++)
            if (const DEVICE_JOB& Job = Queue.At(Slot); DEVJOB_IsUnderWay(Job) && DEVJOB_LoadType(Job) == Type) return true;
    return false;
}

I64 CDevice::_WaitForSlot(U32 Type, U32 Queue, U32 Slot, bool ProcessEvents, U32 TimeoutMS)
{
    const DEVICE_JOB& Job = m_aQueue[Queue].At(Slot);
    const U64 SeqNo = DEVJOB_LoadSeqNo(Job);
    const auto Limit = std::chrono::milliseconds(TimeoutMS == WAIT_DEFAULT ? DEVJOB_GetTimeout(Type) : TimeoutMS);
    const auto Start = CLOCK::now();

    while (DEVJOB_IsUnderWay(Job) && DEVJOB_LoadSeqNo(Job) == SeqNo) {
        // What goes on in the background of a step is no longer this job's.
        if (DEVJOB_IsStep(Type) && !State.SrcStepActive) break;
        if (IsStopping() || isFinished()) return -1;
        const auto Elapsed = CLOCK::now() - Start;
        if (Elapsed > Limit) {
            LogWarnMsg("Timeout while waiting for Job %s", GetJobName(Type));
            return -1;
        }
        if (ProcessEvents) QCoreApplication::processEvents();
        QThread::yieldCurrentThread();
        if (Elapsed > YIELD_PHASE) std::this_thread::sleep_for(NAP);
    }
    return I64(SeqNo);
}

I64 CDevice::WaitForJobAndEvent(U32 Type, bool ProcessEvents)
{
    const I64 Answer = WaitForJob(Type, ProcessEvents, WAIT_DEFAULT);
    _DispatchUntil(Answer);
    return Answer;
}

void CDevice::WaitUntilDone(U32 Type, bool ProcessEvents)
{
    if (IsWorkerThread()) return;
    I64 Last = 1;
    for (U32 Queue = 0; Queue < QUEUE_COUNT; Queue++) {
        for (U32 Slot = 0; Slot < JOB_SLOTS; Slot++) {
            const DEVICE_JOB& Job = m_aQueue[Queue].At(Slot);
            if (DEVJOB_IsUnderWay(Job) && DEVJOB_LoadType(Job) == Type)
                Last = std::max(Last, _WaitForSlot(Type, Queue, Slot, ProcessEvents, WAIT_DEFAULT));
        }
    }
    _DispatchUntil(Last);
}

void CDevice::_DispatchUntil(I64 JobSeqNo)
{
    for (int i = 0; i < MAX_EVENTS_OF_WAIT; i++) {
        U64 SeqNo = 0;
        if (!_DispatchOne(&SeqNo)) break;
        if (JobSeqNo > 1 && SeqNo == U64(JobSeqNo)) break;
    }
}
