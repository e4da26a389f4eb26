// The table of all device jobs: one row a job, from which names, queues, time-outs, validity and the
// delivery to listeners come.
#pragma once
#include "device/queue/deviceeventlistener.h"
#include "device/queue/devicejob.h"

/// What a row says about input and side effects of its job.
enum JOB_ROW_FLAGS : U32 {
    JRF_NEEDS_DATA = 1,  ///< parameters live in DynParam[0]; without that block the job is invalid
    JRF_WRITE = 2,       ///< changes target data: raises OnDeviceWriteAccess
    JRF_CANCELS_READS = 4, ///< run control: waiting jobs of the read and idle queues are dropped
    JRF_PC_RESULT = 8,   ///< Result is the PC after the job
    JRF_BP_STATE = 16,   ///< raises OnDeviceBPStateChanged
    JRF_WP_STATE = 32,   ///< raises OnDeviceWPStateChanged
    JRF_TP_STATE = 64,   ///< raises OnDeviceTPStateChanged
    JRF_NO_EVENT = 128,  ///< never reported by the job itself, only by the halt sequence
    JRF_DATA_MANAGER = 256, ///< delivered to the data manager alone
    JRF_RESERVED = 512,  ///< an id without an operation: fails
    JRF_MODE_CHECK = 1024, ///< CPU and execution mode are compared before the delivery
};

using JOB_DELIVERY = void (*)(CDeviceEventListener& Listener, DEVICE_JOB& Job);

struct JOB_ROW {
    U32 Id;
    const char* sName;
    U32 Queue;     ///< DEVICE_QUEUES
    U32 TimeoutMS; ///< of a wait
    U32 Flags;     ///< JOB_ROW_FLAGS
    JOB_DELIVERY pfDone;   ///< null: the job names no operation
    JOB_DELIVERY pfFailed;
};

/// The row of a job id; null for an id that does not exist.
const JOB_ROW* DEVJOB_GetRow(U32 Type);
/// "BT_CONNECT" and so on; "Last" for 68, "Unknown" for anything else.
const char* GetJobName(U32 Type);
/// The queue of a type; unknown ids go to the read queue.
U32 DEVJOB_GetQueue(U32 Type);
/// Time-out of a wait in milliseconds.
U32 DEVJOB_GetTimeout(U32 Type);
