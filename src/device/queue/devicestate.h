// What the device worker publishes of the target, and the few words that the GUI thread hands back.
// Every field is written by one thread and read by any other without a lock.
#pragma once
#include "app/services/types.h"
#include "device/queue/devicetypes.h"

#include <atomic>
#include <chrono>

/// A value shared between threads, read and written like a plain one.
template <class T> class CShared {
public:
    constexpr CShared(T Value = T()) : m_Value(Value) {}
    CShared& operator=(T Value) { m_Value.store(Value, std::memory_order_release); return *this; }
    CShared& operator=(const CShared&) = delete;
    operator T() const { return m_Value.load(std::memory_order_acquire); }
    T Get() const { return m_Value.load(std::memory_order_acquire); }
    /// Takes the value and leaves another in its place.
    T Exchange(T Value) { return m_Value.exchange(Value, std::memory_order_acq_rel); }

private:
    std::atomic<T> m_Value;
};

inline constexpr U64 ADDR64_NONE = ~U64(0);
inline constexpr U32 WATCH_INTERVAL_MAX_MS = 50;

/// Milliseconds of the clock that State's times are in.
inline I64 DEVSTATE_NowMS()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct DEVICE_STATE {
    // Target state, written by the worker.
    CShared<U8> Connected;         ///< a session with the probe and the target exists
    CShared<U8> ConnectionLost;    ///< the probe stopped answering; Connected stays set
    CShared<U8> HaltedRaw;         ///< the worker knows that the CPU stands
    CShared<U8> Halted;            ///< the halt has passed all conditions
    CShared<U8> Running = 1;       ///< the worker watches for a halt
    CShared<U8> StartupDone;       ///< the reset sequence of the session has reached its goal
    CShared<U8> HaltSeqActive;     ///< a halt is being evaluated
    CShared<U8> DebugStarted;      ///< halts are reported to the GUI
    CShared<U8> UserHaltRequested; ///< a halt has gone to the probe; the next halt skips the conditions
    CShared<U8> SrcStepActive;     ///< a source step is under way

    // Execution state, written by the worker. Status: 0 valid, 1 invalid, 3 not read.
    CShared<U64> PC;
    CShared<U64> SP;
    CShared<U64> ReturnAddr; ///< of the frame left by stepping
    CShared<U8> PCStatus = DATA_UNREAD;
    CShared<U8> SPStatus = DATA_UNREAD;
    CShared<U8> ReturnAddrStatus = DATA_UNREAD;
    CShared<U32> SrcFile;                   ///< source location of the PC, 0 when none
    CShared<U32> SrcLine;
    CShared<U64> FuncStart = ADDR64_NONE;   ///< range of the function at the PC
    CShared<U64> FuncEnd = ADDR64_NONE;     ///< saturates at 0x100000000
    CShared<U64> FuncHandle;                ///< ELF_SYM_HANDLE of that function, 0 when none

    CShared<U64> HiddenBPAddr = ADDR64_NONE; ///< breakpoint of a step or run-to, all ones when none
    /// Time between two looks at a running target, ms. Short right after a resume, as most steps and conditions end at
    /// once, and doubled with each look in vain, so that a target that runs on costs little probe traffic.
    CShared<U32> WatchIntervalMS = WATCH_INTERVAL_MAX_MS;
    /// Last resume, ms of the steady clock.
    CShared<I64> ResumedAtMS;
    CShared<U32> PendingJob;                 ///< the job that the hidden breakpoint is to complete, 0 when none
    CShared<U32> ResetMode;                  ///< last RESET_MODES
    CShared<I32> LastDownloadError;          ///< 0 or the library's negative code
    CShared<U32> CoreSpeed;                  ///< Hz as measured, 0 when unknown
    CShared<U32> TIFSpeed;                   ///< Hz as read; 0 auto, 65535 adaptive
    CShared<U32> DataEndian;
    CShared<U32> InstEndian;
    CShared<U8> aCapability[CAP_COUNT] = {1, 1, 1, 1, 1, 1};

    // Streaming services.
    CShared<U8> InstTraceEnabled;
    CShared<U8> InstTraceStarted;
    CShared<U8> InstTraceUsed;    ///< has been started since the connect
    CShared<U8> NewInstTraceData; ///< set by each step and halt, cleared by the next read
    CShared<U8> SWOStarted;
    CShared<U8> MemlaneStarted;
    CShared<U8> HSSStarted;
    CShared<U8> PowerTraceStarted;
    CShared<U32> PowerTimeBase = 1'000; ///< ticks of a power sample's time stamp per second

    /// A user doesn't want the memory transfer under way any more; taken back when the next one begins. A
    /// download that it ends is not programmed. GUI thread.
    CShared<U8> TransferCanceled;

    // Deferred requests, written by the GUI thread, taken by the worker; -1 when empty.
    CShared<I64> FinishConnectMode = -1; ///< CONNECT_MODES to finish a script's connect with
    CShared<I64> FinishResetMode = -1;   ///< RESET_MODES to finish a script's reset with
    CShared<I64> BPConditionResult = -1; ///< address, bit 0 set when the condition is met
};
