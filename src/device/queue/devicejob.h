// The job record and the ids of all device jobs.
//
// A job is filled by a scheduling function of CDevice on any thread, copied into a slot of
// a queue, executed by the device worker and reported to the listeners on the GUI thread.
#pragma once
#include "app/services/types.h"

/// Job ids. 10 is no job but the wildcard for any step job of CDevice::IsJobScheduled.
enum DEVICE_JOB_TYPES : U32 {
    BT_CONNECT = 1,
    BT_DISCONNECT = 2,
    BT_RESET = 3,
    BT_HALT = 4,
    BT_CONTINUE = 5,
    BT_STEP_INST = 6,
    BT_STEP_INTO = 7,
    BT_STEP_OVER = 8,
    BT_STEP_OUT = 9,
    BT_ANY_STEP = 10,
    BT_RUN_TO = 11,
    BT_EXEC_BRYLLO_CMD = 12,
    BT_SET_BP = 13,
    BT_SET_BPS = 14,
    BT_CLEAR_BP = 15,
    BT_CLEAR_BPS = 16,
    BT_CLEAR_ALL_BPS = 17,
    BT_RESET_BPS = 18,
    BT_SET_WPS = 19,
    BT_CLEAR_WPS = 20,
    BT_CLEAR_ALL_WPS = 21,
    BT_SET_TPS = 22,
    BT_CLEAR_TPS = 23,
    BT_CLEAR_ALL_TPS = 24,
    BT_READ_REG = 25,
    BT_WRITE_REG = 26,
    BT_READ_CP_REG = 27,
    BT_WRITE_CP_REG = 28,
    BT_READ_REGS = 29,
    BT_END_DOWNLOAD = 30,
    BT_READ_MEM = 31,
    BT_WRITE_MEM = 32,
    BT_WRITE_MEM_MULTIPLE = 33,
    BT_READ_BYTE = 34,
    BT_WRITE_BYTE = 35,
    BT_READ_LOCS = 36,
    BT_ENABLE_SIMPLE_TRACE = 37,
    BT_DISABLE_SIMPLE_TRACE = 38,
    BT_START_SIMPLE_TRACE = 39,
    BT_STOP_SIMPLE_TRACE = 40,
    BT_READ_SIMPLE_TRACE = 41,
    BT_READ_INST_STATS = 42,
    BT_FLUSH_STRACE_BUFFER = 43,
    BT_START_SWO_TRACE = 44,
    BT_STOP_SWO_TRACE = 45,
    BT_READ_SWO_TRACE = 46,
    BT_SWO_GET_COMPAT_SPEEDS = 47,
    BT_START_MEMLANE = 48,
    BT_STOP_MEMLANE = 49,
    BT_FLUSH_MEMLANE = 50,
    BT_READ_MEMLANE = 51,
    BT_WRITE_MEMLANE = 52,
    BT_START_HSS = 53,
    BT_STOP_HSS = 54,
    BT_READ_HSS = 55,
    BT_START_POWER_TRACE = 56,
    BT_STOP_POWER_TRACE = 57,
    BT_READ_POWER_TRACE = 58,
    BT_FLUSH_POWER_TRACE = 59,
    BT_CONFIGURE = 60,
    BT_SET_CONFIG_PARAM = 61,
    BT_GET_DEVICE_INFO = 62,
    BT_MEASURE_CORE_SPEED = 63,
    BT_RESET_TARGET_EXEC_STATE = 64,
    BT_SET_TARGET_EXEC_STATE = 65,
    BT_SET_SH_INPUT_TEXT = 66,
    BT_ALL = 67, ///< every type, for CancelJobs
    BT_LAST = 68,
};

enum DEVICE_QUEUES : U32 {
    QUEUE_CONTROL = 0, ///< all that changes the target or the session
    QUEUE_READ = 1,
    QUEUE_IDLE = 2,
    QUEUE_COUNT = 3,
    QUEUE_OF_TYPE = 3, ///< for FindJob and CancelJobs: the queue that the type belongs to
    QUEUE_ALL = 4,     ///< for FindJob and CancelJobs: all three, in their order
    QUEUE_COMPLETION = 5, ///< a record of the completion pool, which no queue holds
};

enum JOB_STATUS : U32 { JOB_DONE = 0, JOB_FAILED = 1, JOB_DROPPED = 2 };

enum JOB_FLAGS : U32 {
    JOB_FLAG_PENDING = 1, ///< set when scheduled, cleared by cancelling and by finishing
    JOB_FLAG_TAKEN = 2,   ///< the worker has taken it out of its queue's order
    JOB_FLAG_ENDING = 4,  ///< no longer pending, but its report isn't in the event ring yet
};

inline constexpr U32 JOB_SLOTS = 10'000;         ///< slots of each queue and of the completion pool
inline constexpr U32 JOB_MAX_DYN_SIZE = 1'000'000'000; ///< limit of one dynamic parameter, bytes

/// One job, a plain record. Type, Flags and SeqNo of a record that lies in a slot are read by
/// other threads; there they are accessed through std::atomic_ref only (see CDeviceJobRing).
struct DEVICE_JOB {
    U32 Type = 0;   ///< 0 marks a free slot
    U32 Queue = 0;  ///< set when scheduled
    U64 SeqNo = 0;  ///< set when scheduled; identifies the job to a waiter
    U32 Status = 0; ///< JOB_STATUS
    U32 Flags = 0;  ///< JOB_FLAGS
    I64 Result = 0; ///< first result; for reset and step jobs the PC after the job
    U64 Result1 = 0;
    U64 Result2 = 0;
    U64 Result3 = 0;
    U64 Param[5] = {};
    void* DynParam[3] = {}; ///< heap blocks owned by the job
    U32 DynSize[3] = {};    ///< their requested sizes, bytes; each block has one spare zero byte

    template <class T> T* Dyn(int Idx) { return static_cast<T*>(DynParam[Idx]); }
    const char* Text(int Idx) const { return static_cast<const char*>(DynParam[Idx]); }
};

/// Allocates a zero-filled block of Size bytes and one more in DynParam[Idx]. Returns the block, or null
/// (after logging) when Size is 0 or above 1,000,000,000, or when the parameter is in use.
void* DEVJOB_AllocParam(DEVICE_JOB& Job, int Idx, U64 Size);
/// The same with a copy of pData.
void* DEVJOB_CopyParam(DEVICE_JOB& Job, int Idx, const void* pData, U64 Size);
/// A copy of a text with its terminator; a null text leaves the parameter empty.
void* DEVJOB_CopyText(DEVICE_JOB& Job, int Idx, const char* sText);
/// Frees all blocks of a job.
void DEVJOB_FreeParams(DEVICE_JOB& Job);
/// True when the job has a type and, where its input lives in DynParam[0], that block.
bool DEVJOB_IsValid(const DEVICE_JOB& Job);
/// True for BT_STEP_INST, BT_STEP_INTO, BT_STEP_OVER, BT_STEP_OUT.
constexpr bool DEVJOB_IsStep(U32 Type) { return Type >= BT_STEP_INST && Type <= BT_STEP_OUT; }
