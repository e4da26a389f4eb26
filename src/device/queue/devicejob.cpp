// Dynamic parameters of jobs and the rings that hold the records.
#include "device/queue/devicejob.h"
#include "app/services/log.h"
#include "device/queue/devicejobring.h"
#include "device/queue/jobtable.h"

#include <cstdlib>
#include <cstring>

void* DEVJOB_AllocParam(DEVICE_JOB& Job, int Idx, U64 Size)
{
    if (Size == 0 || Size > JOB_MAX_DYN_SIZE) {
        LogError(QString::asprintf("Size limit exceeded for dynamic parameter of job %s.", GetJobName(Job.Type)));
        return nullptr;
    }
    if (Job.DynParam[Idx]) {
        LogWarning(QString::asprintf("Job %s has unallocated parameter.", GetJobName(Job.Type)));
        return nullptr;
    }
    Job.DynParam[Idx] = std::calloc(size_t(Size) + 1, 1);
    Job.DynSize[Idx] = Job.DynParam[Idx] ? U32(Size) : 0;
    return Job.DynParam[Idx];
}

void* DEVJOB_CopyParam(DEVICE_JOB& Job, int Idx, const void* pData, U64 Size)
{
    if (!pData) return nullptr;
    void* pBlock = DEVJOB_AllocParam(Job, Idx, Size);
    if (pBlock) std::memcpy(pBlock, pData, size_t(Size));
    return pBlock;
}

void* DEVJOB_CopyText(DEVICE_JOB& Job, int Idx, const char* sText)
{
    // The terminator counts, so that an empty text is a text and not a refused block.
    return sText ? DEVJOB_CopyParam(Job, Idx, sText, std::strlen(sText) + 1) : nullptr;
}

void DEVJOB_FreeParams(DEVICE_JOB& Job)
{
    for (int i = 0; i < 3; i++) {
        if (Job.DynSize[i] > 0) std::free(Job.DynParam[i]);
        Job.DynParam[i] = nullptr;
        Job.DynSize[i] = 0;
    }
}

bool DEVJOB_IsValid(const DEVICE_JOB& Job)
{
    const U32 Type = DEVJOB_LoadType(Job);
    if (Type == 0) return false;
    const JOB_ROW* pRow = DEVJOB_GetRow(Type);
    return !pRow || !(pRow->Flags & JRF_NEEDS_DATA) || Job.DynParam[0];
}

int CDeviceJobRing::Reserve()
{
    const U32 Slot = m_Write.load(std::memory_order_relaxed);
    if (DEVJOB_LoadType(m_aSlot[Slot]) != 0) return -1;
    m_Write.store((Slot + 1) % JOB_SLOTS, std::memory_order_release);
    return int(Slot);
}

int CDeviceJobRing::ReserveAlways()
{
    const U32 Slot = m_Write.load(std::memory_order_relaxed);
    Release(m_aSlot[Slot]);
    m_Write.store((Slot + 1) % JOB_SLOTS, std::memory_order_release);
    return int(Slot);
}

void CDeviceJobRing::Publish(int Slot, const DEVICE_JOB& Job)
{
    DEVICE_JOB& Dest = m_aSlot[U32(Slot)];
    // Everything but the fields that others look at, then those, the Type last.
    Dest.Queue = Job.Queue;
    Dest.Status = Job.Status;
    Dest.Result = Job.Result;
    Dest.Result1 = Job.Result1;
    Dest.Result2 = Job.Result2;
    Dest.Result3 = Job.Result3;
    std::memcpy(Dest.Param, Job.Param, sizeof Dest.Param);
    std::memcpy(Dest.DynParam, Job.DynParam, sizeof Dest.DynParam);
    std::memcpy(Dest.DynSize, Job.DynSize, sizeof Dest.DynSize);
    std::atomic_ref<U64>(Dest.SeqNo).store(Job.SeqNo, std::memory_order_release);
    std::atomic_ref<U32>(Dest.Flags).store(Job.Flags, std::memory_order_release);
    std::atomic_ref<U32>(Dest.Type).store(Job.Type, std::memory_order_release);
}

DEVICE_JOB* CDeviceJobRing::Front()
{
    DEVICE_JOB& Job = m_aSlot[m_Read.load(std::memory_order_relaxed)];
    return _IsWaiting(Job) ? &Job : nullptr;
}

void CDeviceJobRing::PopFront()
{
    const U32 Slot = m_Read.load(std::memory_order_relaxed);
    DEVJOB_SetFlags(m_aSlot[Slot], JOB_FLAG_TAKEN);
    m_Read.store((Slot + 1) % JOB_SLOTS, std::memory_order_release);
}

void CDeviceJobRing::Release(DEVICE_JOB& Job)
{
    DEVJOB_FreeParams(Job);
    std::atomic_ref<U32>(Job.Flags).store(0, std::memory_order_release);
    std::atomic_ref<U32>(Job.Type).store(0, std::memory_order_release);
}
