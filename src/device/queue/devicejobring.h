// CDeviceJobRing: a fixed ring of job slots.
//
// A slot is free exactly when its Type is 0. It is filled by one thread, which publishes it by storing
// the Type last, executed by the worker, and freed by whoever ends it by storing Type 0.
#pragma once
#include "device/queue/devicejob.h"

#include <array>
#include <atomic>

// Fields of a slot that other threads look at.
inline U32 DEVJOB_LoadType(const DEVICE_JOB& Job)
{
    return std::atomic_ref<U32>(const_cast<U32&>(Job.Type)).load(std::memory_order_acquire);
}
inline U32 DEVJOB_LoadFlags(const DEVICE_JOB& Job)
{
    return std::atomic_ref<U32>(const_cast<U32&>(Job.Flags)).load(std::memory_order_acquire);
}
inline U64 DEVJOB_LoadSeqNo(const DEVICE_JOB& Job)
{
    return std::atomic_ref<U64>(const_cast<U64&>(Job.SeqNo)).load(std::memory_order_acquire);
}
/// Returns the flags as they were before.
inline U32 DEVJOB_SetFlags(DEVICE_JOB& Job, U32 Mask)
{
    return std::atomic_ref<U32>(Job.Flags).fetch_or(Mask, std::memory_order_acq_rel);
}
inline U32 DEVJOB_ClearFlags(DEVICE_JOB& Job, U32 Mask)
{
    return std::atomic_ref<U32>(Job.Flags).fetch_and(~Mask, std::memory_order_acq_rel);
}
inline bool DEVJOB_IsPending(const DEVICE_JOB& Job) { return DEVJOB_LoadFlags(Job) & JOB_FLAG_PENDING; }
/// Pending, or its report still on its way into the event ring: what a waiter waits for.
inline bool DEVJOB_IsUnderWay(const DEVICE_JOB& Job)
{
    return DEVJOB_LoadFlags(Job) & (JOB_FLAG_PENDING | JOB_FLAG_ENDING);
}

class CDeviceJobRing {
public:
    /// Takes the slot at the write index if it is free, and advances. -1 if it isn't. One thread at a time.
    int Reserve();
    /// Takes the slot at the write index whatever it holds, and advances; its old content is freed.
    int ReserveAlways();
    /// Copies a complete record into a reserved slot and makes it visible.
    void Publish(int Slot, const DEVICE_JOB& Job);
    /// The job at the read index: published and not yet taken. Null when the queue has no job. Worker only.
    DEVICE_JOB* Front();
    /// Marks the front as taken and advances the read index. Worker only.
    void PopFront();
    /// Frees the blocks of a slot and the slot.
    static void Release(DEVICE_JOB& Job);

    /// Calls Op(Job, Slot) for each slot from the read to the write index until it answers true. Any thread;
    /// slots may come and go meanwhile.
    template <class OP> void ForEachAhead(OP&& Op)
    {
        const U32 Read = m_Read.load(std::memory_order_acquire);
        const U32 Write = m_Write.load(std::memory_order_acquire);
        // Equal indices mean an empty ring or a full one; a full one has a job not yet taken at the read index.
        U32 Num = (Write + JOB_SLOTS - Read) % JOB_SLOTS;
        if (Num == 0 && _IsWaiting(m_aSlot[Read])) Num = JOB_SLOTS;
        for (U32 i = 0; i < Num; i++) {
            const U32 Slot = (Read + i) % JOB_SLOTS;
            if (_IsWaiting(m_aSlot[Slot]) && Op(m_aSlot[Slot], Slot)) return;
        }
    }
    DEVICE_JOB& At(U32 Slot) { return m_aSlot[Slot]; }
    bool Holds(const DEVICE_JOB* pJob) const { return pJob >= m_aSlot.data() && pJob < m_aSlot.data() + JOB_SLOTS; }

private:
    static bool _IsWaiting(const DEVICE_JOB& Job)
    {
        return DEVJOB_LoadType(Job) != 0 && !(DEVJOB_LoadFlags(Job) & JOB_FLAG_TAKEN);
    }
    std::array<DEVICE_JOB, JOB_SLOTS> m_aSlot;
    std::atomic<U32> m_Read{0};
    std::atomic<U32> m_Write{0};
};
