// CDevice: life cycle, the worker thread and the execution of jobs.
#include "device/queue/device.h"
#include "device/queue/deviceeventworker.h"
#include "device/queue/jobtable.h"

#include <QCoreApplication>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace {
constexpr int ROUNDS_PER_PASS = 100;
constexpr auto WAIT_CONNECTED = std::chrono::milliseconds(200);
/// 0 and 1 are answers of a wait that found no job, so no job bears them.
constexpr U64 FIRST_SEQ_NO = 2;

/// How long a run-to counts as on its way to its end.
constexpr I64 RUN_TO_MS = 3'000;

DEVICE_HOOKS s_Hooks;
std::atomic<JOB_EXECUTOR> s_apfExecutor[BT_LAST];
} // namespace

void CDevice::SetHooks(const DEVICE_HOOKS& Hooks)
{
    s_Hooks = Hooks;
}

const DEVICE_HOOKS& CDevice::GetHooks()
{
    return s_Hooks;
}

void CDevice::SetExecutor(U32 Type, JOB_EXECUTOR pfExec)
{
    if (Type < BT_LAST) s_apfExecutor[Type].store(pfExec, std::memory_order_release);
}

CDevice& CDevice::Get()
{
    // Never destroyed: windows and listeners that go after main() still find it. The thread ends in Shutdown.
    static CDevice* pDevice = [] {
        auto* p = new CDevice;
        std::atexit([] { CDevice::Get().Shutdown(); });
        p->start();
        return p;
    }();
    return *pDevice;
}

CDevice::CDevice() : m_NextSeqNo(FIRST_SEQ_NO) {}

CDevice::~CDevice()
{
    Shutdown();
}

void CDevice::RequestStop()
{
    m_Stop.store(true, std::memory_order_release);
    Wake();
}

void CDevice::Shutdown()
{
    RequestStop();
    while (!m_Ended.load(std::memory_order_acquire)) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    wait();
}

DEBUG_STATES CDevice::GetDebugState() const
{
    if (!State.Connected) return DEBUG_STATE_NO_CONNECTION;
    return State.Halted ? DEBUG_STATE_HALTED : DEBUG_STATE_RUNNING;
}

bool CDevice::IsWorkerThread() const
{
    return QThread::currentThreadId() == m_WorkerId.load(std::memory_order_acquire);
}

bool CDevice::_IsGuiThread() const
{
    return QCoreApplication::instance() && QCoreApplication::instance()->thread() == QThread::currentThread();
}

void CDevice::Wake()
{
    {
        std::lock_guard Lock(m_WakeMutex);
        m_WakeSignalled = true;
    }
    m_WakeCond.notify_one();
}

void CDevice::run()
{
    setPriority(QThread::LowestPriority);
    m_WorkerId.store(QThread::currentThreadId(), std::memory_order_release);
    if (s_Hooks.OnWorkerStart) s_Hooks.OnWorkerStart();

    while (!IsStopping()) {
        bool Exhausted;
        {
            std::lock_guard Lock(m_DeviceMutex);
            m_Pass.fetch_add(1, std::memory_order_seq_cst);
            Exhausted = _RunPass();
            m_Pass.fetch_add(1, std::memory_order_seq_cst);
        }
        if (Exhausted) continue;
        std::unique_lock Lock(m_WakeMutex);
        auto IsAwake = [this] { return m_WakeSignalled; };
        if (State.Connected && State.Running)
            m_WakeCond.wait_for(Lock, std::chrono::milliseconds(State.WatchIntervalMS + 1), IsAwake);
        else if (State.Connected)
            m_WakeCond.wait_for(Lock, WAIT_CONNECTED, IsAwake);
        else
            m_WakeCond.wait(Lock, IsAwake);
        m_WakeSignalled = false;
    }

    if (s_Hooks.OnWorkerStop) {
        std::lock_guard Lock(m_DeviceMutex);
        s_Hooks.OnWorkerStop();
    }
    m_Ended.store(true, std::memory_order_release);
}

/// True when the pass used up its rounds, so that there may be more to do.
bool CDevice::_RunPass()
{
    for (int i = 0; i < ROUNDS_PER_PASS; i++) {
        if (s_Hooks.CheckHandleNotifications) s_Hooks.CheckHandleNotifications();
        if (s_Hooks.CheckHandleHalt) s_Hooks.CheckHandleHalt();
        if (s_Hooks.CheckHandleSelfResume) s_Hooks.CheckHandleSelfResume();

        CDeviceJobRing* pQueue = nullptr;
        DEVICE_JOB* pJob = nullptr;
        for (CDeviceJobRing& Queue : m_aQueue) {
            // A job whose parameters were refused has nothing to run on; it must not hold up those behind it.
            while ((pJob = Queue.Front()) && !DEVJOB_IsValid(*pJob)) {
                Queue.PopFront();
                _ReleaseJob(pJob);
            }
            if (pJob) {
                pQueue = &Queue;
                break;
            }
        }
        if (!pJob) return false;
        pQueue->PopFront();
        _ExecuteJob(*pJob);
        if (IsStopping()) return true;
    }
    return true;
}

void CDevice::_ExecuteJob(DEVICE_JOB& Job)
{
    if (!DEVJOB_IsPending(Job)) {
        m_Counters.Canceled++;
        _ReleaseJob(&Job);
        return;
    }
    m_Counters.Executed++;
    int Ret = 0;
    if (!_PreProcessJob(Job)) {
        const U32 Type = Job.Type;
        const JOB_ROW* pRow = DEVJOB_GetRow(Type);
        JOB_EXECUTOR pfExec = s_apfExecutor[Type].load(std::memory_order_acquire);
        if (pfExec) {
            Ret = pfExec(*this, Job);
        } else {
            if (!pRow || !(pRow->Flags & JRF_RESERVED)) LogWarnMsg("%s: service not available", GetJobName(Type));
            Ret = -1;
        }
    }
    // Once the report is out or the slot is released, the slot may hold another job, whose pending flag is not to be
    // touched. Only this thread sets the ending flag, so that taking it away can hit no other job's.
    DEVJOB_SetFlags(Job, JOB_FLAG_ENDING);
    DEVJOB_ClearFlags(Job, JOB_FLAG_PENDING);
    _PostProcessJob(Job, Ret);
    DEVJOB_ClearFlags(Job, JOB_FLAG_ENDING);
}

/// Cancels work that the job overtakes. True when the job is settled without its operation.
bool CDevice::_PreProcessJob(DEVICE_JOB& Job)
{
    // A halt of a target that stands does nothing: the reads that wait must still be answered.
    if (Job.Type == BT_HALT && State.Halted) return true;
    const JOB_ROW* pRow = DEVJOB_GetRow(Job.Type);
    if (pRow && (pRow->Flags & JRF_CANCELS_READS)) {
        CancelJobs(BT_ALL, QUEUE_IDLE);
        CancelJobs(BT_ALL, QUEUE_READ);
    }
    switch (Job.Type) {
    case BT_START_HSS:
        CancelJobs(BT_READ_HSS, QUEUE_OF_TYPE);
        return false;
    case BT_START_POWER_TRACE:
        CancelJobs(BT_READ_POWER_TRACE, QUEUE_OF_TYPE);
        return false;
    default:
        return false;
    }
}

void CDevice::_PostProcessJob(DEVICE_JOB& Job, int Ret)
{
    const U32 Type = Job.Type;
    const JOB_ROW* pRow = DEVJOB_GetRow(Type);
    const U32 RowFlags = pRow ? pRow->Flags : 0;

    Job.Status = Ret == -1 ? JOB_FAILED : Ret < 0 ? JOB_DROPPED : JOB_DONE;
    if (Type == BT_END_DOWNLOAD && Ret < 0) {
        Job.Status = JOB_FAILED;
        Job.Result = Ret;
    }
    // A halt and a run-to are told by the halt sequence, a step that goes on in the background as well.
    const bool IsUnderWay = Ret == 1 && (Type == BT_STEP_INTO || Type == BT_STEP_OVER || Type == BT_STEP_OUT);
    if (Job.Status == JOB_DROPPED || (RowFlags & JRF_NO_EVENT) || IsUnderWay) {
        _ReleaseJob(&Job);
        return;
    }
    if (RowFlags & JRF_PC_RESULT) Job.Result = I64(State.PC.Get());
    if (Type == BT_WRITE_REG && s_Hooks.RefreshExecState) s_Hooks.RefreshExecState();

    if (IsJobEventSuppressed(Type)) {
        _ReleaseJob(&Job);
        return;
    }
    m_Counters.Posted++;
    if (PostDeviceEvent(DEV_EVENT_JOB_DONE, U64(reinterpret_cast<uintptr_t>(&Job)), 0) < 0) _ReleaseJob(&Job);
}

void CDevice::_ReleaseJob(DEVICE_JOB* pJob)
{
    m_Counters.Freed++;
    CDeviceJobRing::Release(*pJob);
    m_NumLive.fetch_sub(1, std::memory_order_acq_rel);
}

bool CDevice::IsIdle() const
{
    if (HasEnded()) return true; // what was scheduled behind the end is never worked on
    // Within a pass a request is already taken back and its report not yet posted: only what is the same before and
    // after, with no pass between, says that nothing is under way.
    const U64 Pass = m_Pass.load(std::memory_order_seq_cst);
    if (Pass % 2 != 0) return false;
    DEVICE_EVENT Event;
    // A run-to that hasn't arrived by then may never: the program may not come there. The target just runs.
    const bool IsGoalFar =
        State.PendingJob == BT_RUN_TO && State.Running && DEVSTATE_NowMS() - State.ResumedAtMS > RUN_TO_MS;
    return m_NumLive.load(std::memory_order_acquire) == 0 && !m_Events.Peek(0, &Event) && !State.HaltSeqActive &&
           !State.SrcStepActive && (State.PendingJob == 0 || IsGoalFar) && !State.UserHaltRequested &&
           State.FinishConnectMode < 0 && State.FinishResetMode < 0 && State.BPConditionResult < 0 &&
           m_Pass.load(std::memory_order_seq_cst) == Pass;
}

int CDevice::PostJobEvent(U32 Type, U32 Status, U64 Param0, I64 Result, U64 Result1)
{
    DEVICE_JOB Job;
    Job.Type = Type;
    Job.Status = Status;
    Job.Param[0] = Param0;
    Job.Result = Result;
    Job.Result1 = Result1;
    return _PostCompletion(Job);
}

int CDevice::_PostCompletion(const DEVICE_JOB& Job)
{
    if (IsJobEventSuppressed(Job.Type)) return 0;
    DEVICE_JOB Record = Job;
    Record.Queue = QUEUE_COMPLETION;
    Record.Flags = JOB_FLAG_TAKEN;
    int Slot;
    {
        std::lock_guard Lock(m_CompletionMutex);
        Slot = m_Completion.ReserveAlways();
    }
    m_NumLive.fetch_add(1, std::memory_order_acq_rel);
    m_Completion.Publish(Slot, Record);
    DEVICE_JOB& Dest = m_Completion.At(U32(Slot));
    m_Counters.Posted++;
    if (PostDeviceEvent(DEV_EVENT_JOB_DONE, U64(reinterpret_cast<uintptr_t>(&Dest)), 0) < 0) {
        _ReleaseJob(&Dest);
        return -1;
    }
    return 0;
}

void CDevice::SetJobEventSuppressed(U32 Type, bool Suppressed)
{
    if (Type < BT_LAST) m_aSuppressed[Type].store(Suppressed, std::memory_order_release);
}

bool CDevice::IsJobEventSuppressed(U32 Type) const
{
    return Type < BT_LAST && m_aSuppressed[Type].load(std::memory_order_acquire);
}

int CDevice::ScheduleJob(DEVICE_JOB* pJob)
{
    if (!pJob) return -1;
    if (pJob->Type < 1 || pJob->Type > BT_ALL) {
        DEVJOB_FreeParams(*pJob);
        return -1;
    }
    const U32 QueueIdx = DEVJOB_GetQueue(pJob->Type);
    CDeviceJobRing& Queue = m_aQueue[QueueIdx];
    int Slot;
    U64 SeqNo = 0;
    {
        std::lock_guard Lock(m_ScheduleMutex);
        Slot = Queue.Reserve();
        if (Slot >= 0) SeqNo = m_NextSeqNo++;
    }
    if (Slot < 0) {
        LogWarnMsg("Job %s not scheduled. Queue is full.", GetJobName(pJob->Type));
        DEVJOB_FreeParams(*pJob);
        return -1;
    }
    pJob->SeqNo = SeqNo;
    pJob->Queue = QueueIdx;
    pJob->Flags = JOB_FLAG_PENDING;
    m_NumLive.fetch_add(1, std::memory_order_acq_rel);
    Queue.Publish(Slot, *pJob);
    m_Counters.Scheduled++;
    LogDebugMsg("Job scheduled: %s", GetJobName(pJob->Type));
    Wake();
    return 0;
}

bool CDevice::IsJobScheduled(U32 Type)
{
    if (Type != BT_ANY_STEP) return FindJob(Type, QUEUE_OF_TYPE);
    for (U32 Step = BT_STEP_INST; Step <= BT_STEP_OUT; Step++)
        if (FindJob(Step, QUEUE_CONTROL)) return true;
    return false;
}

DEVICE_JOB* CDevice::FindJob(U32 Type, U32 Queue)
{
    if (Queue == QUEUE_OF_TYPE) Queue = DEVJOB_GetQueue(Type);
    DEVICE_JOB* pFound = nullptr;
    for (U32 i = 0; i < QUEUE_COUNT && !pFound; i++) {
        if (Queue != QUEUE_ALL && Queue != i) continue;
        m_aQueue[i].ForEachAhead([&](DEVICE_JOB& Job, U32) {
            if (DEVJOB_LoadType(Job) != Type) return false;
            pFound = &Job;
            return true;
        });
    }
    return pFound;
}

void CDevice::CancelJobs(U32 Type, U32 Queue)
{
    if (Queue == QUEUE_OF_TYPE) Queue = DEVJOB_GetQueue(Type);
    for (U32 i = 0; i < QUEUE_COUNT; i++) {
        if (Queue != QUEUE_ALL && Queue != i) continue;
        m_aQueue[i].ForEachAhead([&](DEVICE_JOB& Job, U32) {
            if (Type == BT_ALL || DEVJOB_LoadType(Job) == Type) DEVJOB_ClearFlags(Job, JOB_FLAG_PENDING);
            return false;
        });
    }
}
