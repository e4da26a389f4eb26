// What the queue engine reaches in the layers above it. The layers register at start, before the
// first CDevice::Get(); an entry that stays null is passed over.
#pragma once
#include "app/services/types.h"
#include "device/queue/devicejob.h"

class CDevice;
class CDeviceEventListener;

/// Runs one job on the worker. Returns 0 done, 1 under way in the background, -1 failed, any other
/// negative number: dropped without an event.
using JOB_EXECUTOR = int (*)(CDevice& Device, DEVICE_JOB& Job);

struct DEVICE_HOOKS {
    // On the worker.
    void (*OnWorkerStart)() = nullptr;            ///< first act of the thread
    void (*OnWorkerStop)() = nullptr;             ///< last act: closes a connection that is still there
    void (*CheckHandleNotifications)() = nullptr; ///< top of each round: deferred requests
    void (*CheckHandleHalt)() = nullptr;          ///< each round: has a running target halted?
    void (*CheckHandleSelfResume)() = nullptr;    ///< each round: does a halted target run by itself?
    int (*RefreshExecState)() = nullptr;          ///< re-reads PC and SP after a register was written

    // On the GUI thread.
    void (*GetModes)(U32* pCPUMode, U32* pExecMode) = nullptr; ///< as the core plug-in sees them
    U32 (*GetPCRegIdx)() = nullptr;                            ///< BrylloRegIdx of the PC, all ones when unknown
    void (*OnListenerGone)(CDeviceEventListener*) = nullptr;   ///< in each listener's destructor
    CDeviceEventListener* (*GetDataManager)() = nullptr;       ///< alone gets register and memory reads

    // On any thread.
    U32 (*GetDefaultAccessWidth)() = nullptr; ///< the session's memory access width
};
