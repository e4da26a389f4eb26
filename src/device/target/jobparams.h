// What executors share: a job's parameters in the widths and with the sizes that operations take.
#pragma once
#include "device/queue/devicehooks.h"
#include "device/queue/devicejob.h"

namespace JobParams {
inline U32 P(const DEVICE_JOB& Job, int Idx) { return U32(Job.Param[Idx]); }
template <class TYPE> TYPE* D(DEVICE_JOB& Job, int Idx) { return Job.Dyn<TYPE>(Idx); }
/// Elements that a block really holds; an operation never goes beyond its buffers.
inline U32 Fit(const DEVICE_JOB& Job, int Idx, U32 ElemSize, U32 Cnt)
{
    const U32 Room = Job.DynParam[Idx] ? Job.DynSize[Idx] / ElemSize : 0;
    return Cnt < Room ? Cnt : Room;
}

struct EXECUTOR_ROW {
    U32 Type;
    JOB_EXECUTOR pfExec;
};
} // namespace JobParams
