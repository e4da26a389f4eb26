// CDevice: the one object through which all traffic with the target passes.
//
//   CDevice& Dev = CDevice::Get();
//   Dev.ReadMemAsync(0x20000000, 64, 0, AW_ANY, 0, nullptr);   // returns at once
//   ...                                                        // OnDeviceReadMemDone comes by the data manager
//   Dev.HaltAsync();
//   Dev.WaitUntilDone(BT_HALT, false);                         // for commands that return after their effect
//
// Jobs go into one of three rings and are executed by the worker thread; finished jobs and notices go
// into the event ring and are delivered on the GUI thread by a CDeviceEventWorker. Any thread may
// schedule, post and read the published state; waits and delivery belong to the GUI thread.
//
// The operations that the jobs stand for are registered as executors by the layers above.
#pragma once
#include "device/queue/deviceevent.h"
#include "device/queue/deviceeventring.h"
#include "device/queue/devicehooks.h"
#include "device/queue/devicejob.h"
#include "device/queue/devicejobring.h"
#include "device/queue/devicestate.h"
#include "device/queue/devicetypes.h"

#include <QString>
#include <QThread>
#include <atomic>
#include <condition_variable>
#include <mutex>

class CDeviceEventWorker;
struct ELF_SYM_LOC;

class CDevice : public QThread {
public:
    /// The process-wide object; created, and its thread started, on first use.
    static CDevice& Get();
    /// To be called before the first Get().
    static void SetHooks(const DEVICE_HOOKS& Hooks);
    static const DEVICE_HOOKS& GetHooks();
    /// Registers the operation of a job type; null takes it away. Before the first Get(), or between jobs.
    static void SetExecutor(U32 Type, JOB_EXECUTOR pfExec);

    ~CDevice() override;
    /// Stops the worker, which disconnects first. Called at the end of the application; the destructor does
    /// it otherwise.
    void Shutdown();

    // ---- Published state, any thread -------------------------------------------------------------------
    DEVICE_STATE State;

    bool IsConnected() const { return State.Connected; }
    /// The published halted flag: the halt has passed all its conditions.
    bool IsHalted() const { return State.Halted; }
    /// Connected and not halted, as the windows see it.
    bool IsRunning() const { return State.Connected && !State.Halted; }
    DEBUG_STATES GetDebugState() const;
    U32 GetPC() const { return U32(State.PC.Get()); }
    U32 GetCapability(DEVICE_CAPABILITIES Cap) const { return State.aCapability[Cap]; }
    /// True on the worker thread.
    bool IsWorkerThread() const;
    /// The worker is told to stop or has stopped.
    void RequestStop(); ///< the worker ends after the job that it works on. Any thread
    bool HasEnded() const { return m_Ended.load(std::memory_order_acquire); } ///< the worker takes no job any more
    bool IsStopping() const { return m_Stop.load(std::memory_order_acquire); }
    /// The CPU and execution mode last seen by the delivery; GUI thread.
    U32 GetCPUMode() const { return m_CPUMode; }
    U32 GetExecMode() const { return m_ExecMode; }

    // ---- Scheduling, any thread: 0, or -1 when refused -------------------------------------------------
    // Input is copied; the caller's buffers may go at once. A null zone is the default zone.
    int ConnectAsync(CONNECT_MODES Mode);
    int DisconnectAsync();
    int ResetAsync(RESET_MODES Mode);
    int HaltAsync();
    int ContinueAsync(RESUME_MODES Mode); ///< raises OnDeviceAboutToResume first
    int StepInstAsync();                  ///< the step forms raise OnDeviceAboutToStep first
    int StepIntoAsync();
    int StepOverAsync();
    int StepOutAsync();
    int RunToAsync(U64 Addr);
    int ExecBrylloCmdAsync(const char* sCmd);
    int SetBreakpointAsync(U32 Addr, BP_STATES State, BP_TYPES Type);
    int SetBreakpointsAsync(U32 Cnt, const U32* paAddrs, BP_STATES State, BP_TYPES Type);
    int ClearBreakpointAsync(U32 Addr);
    int ClearBreakpointsAsync(U32 Cnt, const U32* paAddrs);
    int ClearAllBreakpointsAsync();
    int ResetBreakpointsAsync(); ///< sets all hit counters to 0
    int SetWatchpointsAsync(U32 Cnt, const WP* paWPs);
    int ClearWatchpointsAsync(U32 Cnt, const WP* paWPs);
    int ClearAllWatchpointsAsync();
    int SetTracepointsAsync(U32 Cnt, const TP* paTPs);
    int ClearTracepointsAsync(U32 Cnt, const TP* paTPs);
    int ClearAllTracepointsAsync();
    int ReadRegAsync(U32 BrylloRegIdx);
    int WriteRegAsync(U32 BrylloRegIdx, U64 Value);
    int ReadCPRegAsync(const char* sReg);
    int WriteCPRegAsync(const char* sReg, U64 Value);
    int ReadRegsAsync(U32 Cnt, const U32* paBrylloRegIdxs);
    int EndDownloadAsync(DOWNLOAD_MODES Mode, bool DoHalt, const char* sFilePath);
    /// AW 255 or above takes the session's access width. ChunkSize 0: one access.
    int ReadMemAsync(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone);
    int WriteMemAsync(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const void* pData, const char* sZone);
    /// paAddrRanges: Cnt pairs of start and end address; paData: their NumBytes of data one behind the other.
    int WriteMemMultipleAsync(U32 Cnt, const U32* paAddrRanges, U32 NumBytes, const void* paData, U32 ChunkSize,
                              U32 AW, U32 Flags, const char* sZone);
    int ReadLocsAsync(U32 Cnt, const ELF_SYM_LOC* paLocs, U32 Tag);
    int EnableSimpleInstTraceAsync();
    int DisableSimpleInstTraceAsync();
    int StartSimpleInstTraceAsync();
    int StopSimpleInstTraceAsync();
    int ReadSimpleInstTraceAsync();
    int ReadInstStatsAsync(U32 Cnt, const U32* paAddrRanges);
    int FlushSimpleInstTraceBufferAsync();
    int StartSWOTraceAsync(U32 CpuHz, U32 SWOHz);
    int StopSWOTraceAsync(U32 PortMask);
    int ReadSWOTraceAsync();
    int GetCompatibleSWOSpeedsAsync(U32 CpuHz);
    int StartMemlaneAsync();
    int StopMemlaneAsync();
    int ReadMemlaneAsync();
    int WriteMemlaneAsync(U32 NumBytes, const void* pData);
    int StartHSSAsync(U32 Cnt, const U32* paAddrRanges, int interval_us, int Flags);
    int StopHSSAsync();
    int ReadHSSAsync();
    int StartPowerTraceAsync(U32 ChannelMask, U32 FreqHz);
    int StopPowerTraceAsync();
    int ReadPowerTraceAsync();
    int FlushPowerTraceAsync();
    int ConfigureAsync(const char* sXmlConfigStr);
    int SetConfigParamAsync(DEV_CONFIG_PARAMS Id, int Value);
    int SetConfigParamAsync(DEV_CONFIG_PARAMS Id, const char* sValue);
    int GetDeviceInfoAsync(const char* sDeviceName);
    int MeasureCoreSpeedAsync();
    int ResetTargetExecStateAsync();
    int SetTargetExecStateAsync(U64 PC, U64 SP); ///< 0, 0 reads both from the target
    /// The core plug-in sets PC and SP to the program's reset values; the report is that of SetTargetExecState.
    int SetResetStateAsync();
    int SetSemihostingInputTextAsync(U32 StrLen, const char* sText);

    /// Copies the record, its dynamic parameters included, into a slot and wakes the worker. A refused job's
    /// parameters are freed.
    int ScheduleJob(DEVICE_JOB* pJob);
    /// A job of the type lies ahead of its queue's read index. BT_ANY_STEP looks for the step jobs.
    bool IsJobScheduled(U32 Type);
    /// The oldest job of the type ahead of the read index, null if none. Queue: DEVICE_QUEUES.
    DEVICE_JOB* FindJob(U32 Type, U32 Queue);
    /// Clears the pending flag of every job of the type (BT_ALL: of every type); the worker then drops it.
    void CancelJobs(U32 Type, U32 Queue);
    /// While set, a finished job of the type raises no event.
    void SetJobEventSuppressed(U32 Type, bool Suppressed);
    bool IsJobEventSuppressed(U32 Type) const;
    /// Nothing is under way: no job waits or runs, no event is undelivered, no halt is being evaluated and no step or
    /// run-to is on its way to its end. A target that runs by a user's wish is idle, and so is one whose run-to hasn't
    /// arrived in three seconds. GUI thread.
    bool IsIdle() const;
    /// Wakes the worker, after one of the deferred words of State was written.
    void Wake();

    // ---- Waits, GUI thread -----------------------------------------------------------------------------
    static constexpr U32 WAIT_DEFAULT = 0xFFFFFFFF; ///< the job table's time-out
    /// Waits until the oldest job of the type has ended. Returns its SeqNo; 1 when no such job waits (at once);
    /// -1 when time runs out or the worker stops. TimeoutMS in milliseconds.
    I64 WaitForJob(U32 Type, bool ProcessEvents, U32 TimeoutMS = WAIT_DEFAULT);
    /// The same, then delivers up to 100 events, until the job's own has been delivered.
    I64 WaitForJobAndEvent(U32 Type, bool ProcessEvents);
    /// Waits until all jobs of the type have ended that wait or are carried out now, each up to the job table's time-out,
    /// then delivers events likewise. Unlike WaitForJob, which misses one that the worker has just taken up, this makes
    /// sure that what was asked for has happened.
    void WaitUntilDone(U32 Type, bool ProcessEvents);
    /// True while a job of the type waits or is carried out: unlike WaitForJob, which knows only those not yet taken up.
    bool HasPendingJob(U32 Type);

    // ---- Events ----------------------------------------------------------------------------------------
    /// Any thread. Returns 0, or -1 when the ring is full.
    int PostDeviceEvent(U32 Type, U64 Arg0, U64 Arg1);
    /// Posts an event that carries a text, cut at 1,000 characters.
    int PostTextEvent(U32 Type, const char* sText, U64 Arg1 = 0);
    /// Reports something that no queued job stands for, unless the type is suppressed. Returns 0 or -1.
    int PostJobEvent(U32 Type, U32 Status, U64 Param0, I64 Result, U64 Result1);
    /// Delivers up to MaxEvents events; returns the number delivered. GUI thread.
    int DispatchEvents(int MaxEvents);
    /// The notices of a resume, a step, a disconnect: delivered directly on the GUI thread, posted elsewhere.
    void NotifyAboutToDisconnect();
    void NotifyAboutToResume(RESUME_MODES Mode);
    void NotifyAboutToStep();
    /// The timer that delivers events. Owned by pParent, the main window; one at a time. GUI thread.
    CDeviceEventWorker* CreateEventWorker(QObject* pParent);

    // ---- Texts, any thread -----------------------------------------------------------------------------
    void LogDebugMsg(const char* sFormat, ...) __attribute__((format(printf, 2, 3)));
    void LogInfoMsg(const char* sFormat, ...) __attribute__((format(printf, 2, 3)));
    void LogWarnMsg(const char* sFormat, ...) __attribute__((format(printf, 2, 3)));
    void LogErrorMsg(const char* sFormat, ...) __attribute__((format(printf, 2, 3)));
    void SetStatusMsg(const char* sMsg);
    void SetProgressMsg(const char* sMsg);
    void StartProgress(int Min, int Max);
    void SetProgressValue(int Value);
    void EndProgress();
    /// Keeps at most 2,047 characters for the windows, and logs a text that isn't empty as a warning.
    void SetErrorMsg(DEVICE_ERR_MSGS Slot, const char* sErrorMsg);
    QString GetErrorMsg(DEVICE_ERR_MSGS Slot) const;

    /// Held by the worker during each pass of job execution; the GUI thread takes it while it reloads the
    /// program or the core plug-in. Recursive.
    std::recursive_mutex& GetDeviceMutex() { return m_DeviceMutex; }

    struct COUNTERS {
        std::atomic<U64> Scheduled{0}, Executed{0}, Canceled{0}, Freed{0}, Posted{0};
    };
    const COUNTERS& GetCounters() const { return m_Counters; } ///< for diagnosis only

protected:
    void run() override;

private:
    friend class CDeviceEventWorker;
    CDevice();

    bool _RunPass();
    void _ExecuteJob(DEVICE_JOB& Job);
    bool _PreProcessJob(DEVICE_JOB& Job);
    void _PostProcessJob(DEVICE_JOB& Job, int Ret);
    void _ReleaseJob(DEVICE_JOB* pJob);
    int _PostCompletion(const DEVICE_JOB& Job);
    int _Schedule(DEVICE_JOB& Job) { return ScheduleJob(&Job); }
    int _ScheduleSimple(U32 Type, U64 Param0 = 0, U64 Param1 = 0, U64 Param2 = 0);
    int _ScheduleList(U32 Type, U32 Cnt, const void* pData, U32 ElemSize, U64 Param1 = 0, U64 Param2 = 0);
    U32 _AccessWidth(U32 AW) const;
    I64 _WaitForSlot(U32 Type, U32 Queue, U32 Slot, bool ProcessEvents, U32 TimeoutMS);
    void _DispatchUntil(I64 JobSeqNo); ///< up to and with the event of that job; 1 or below: all, within a limit
    bool _DispatchOne(U64* pSeqNo);
    void _DispatchEvent(const DEVICE_EVENT& Event);
    void _DeliverJob(DEVICE_JOB* pJob);
    bool _IsStale(const DEVICE_JOB& Job);
    void _CheckModes(const DEVICE_JOB& Job);
    void _SetEventWorker(CDeviceEventWorker* pWorker);
    bool _IsGuiThread() const;
    void _LogV(U32 Flags, const char* sFormat, va_list Args);

    CDeviceJobRing m_aQueue[QUEUE_COUNT];
    CDeviceJobRing m_Completion;
    CDeviceEventRing m_Events;
    std::mutex m_ScheduleMutex; ///< write indices of the queues, and SeqNo
    std::mutex m_CompletionMutex;
    std::recursive_mutex m_DeviceMutex;
    U64 m_NextSeqNo;
    std::atomic<I64> m_NumLive{0}; ///< records in slots: scheduled or posted, and not yet released
    std::atomic<U64> m_Pass{0};    ///< odd while the worker is within a pass
    std::atomic<U8> m_aSuppressed[BT_LAST] = {};

    std::mutex m_WakeMutex;
    std::condition_variable m_WakeCond;
    bool m_WakeSignalled = false;
    std::atomic<bool> m_Stop{false};
    std::atomic<bool> m_Ended{false};
    std::atomic<Qt::HANDLE> m_WorkerId{nullptr};

    std::mutex m_EventWorkerMutex;
    CDeviceEventWorker* m_pEventWorker = nullptr;
    U32 m_CPUMode = 0;
    U32 m_ExecMode = 0;

    mutable std::mutex m_ErrorMutex;
    QString m_asError[DEV_ERR_COUNT];
    COUNTERS m_Counters;
};
