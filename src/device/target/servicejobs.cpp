// Executors of the jobs of the streaming services.
#include "device/queue/device.h"
#include "device/target/deviceservices.h"
#include "device/target/jobparams.h"
#include "platform/probe/bryllo.h"

#include <algorithm>

namespace {
using JobParams::D;
using JobParams::Fit;
using JobParams::P;

CDeviceServices& S() { return CDeviceServices::Get(); }

/// Whatever negative number the library answers, the windows are to hear of the failure: other numbers than -1 would
/// drop the job without a report.
int Failed(int Ret) { return Ret < 0 ? -1 : 0; }

/// A job whose first result is a count, or -1 for a failure.
int WithCount(DEVICE_JOB& Job, int Count)
{
    Job.Result = std::max(Count, 0);
    return Failed(Count);
}

int ExecReadTrace(CDevice& Dev, DEVICE_JOB& Job)
{
    // A request that does not fit the table of instructions is refused by its own number.
    const U32 NumInsts = Fit(Job, 0, sizeof(U32), P(Job, 0)) == P(Job, 0) ? P(Job, 0) : 0;
    void* pInfo = Fit(Job, 1, sizeof(BRYLLO_STRACE_TIMESTAMP_INFO), NumInsts) == NumInsts ? Job.DynParam[1] : nullptr;
    int NumTS = 0;
    const int Num = S().ReadSimpleInstTrace(NumInsts, D<U32>(Job, 0), pInfo, &NumTS);
    if (Num < 0) return -1;
    Job.Result = Num;
    Job.Result1 = U32(Num) < NumInsts;
    Job.Result2 = Dev.State.NewInstTraceData.Exchange(0);
    Job.Result3 = U64(NumTS);
    return 0;
}

int ExecReadInstStats(CDevice&, DEVICE_JOB& Job)
{
    const U32 Cnt = Fit(Job, 0, 2 * sizeof(U32), P(Job, 0));
    const U32 BufSize = Fit(Job, 2, sizeof(U64), Fit(Job, 1, sizeof(U64), P(Job, 1)));
    return WithCount(Job, S().ReadSimpleTraceInstStats(Cnt, D<U32>(Job, 0), BufSize, D<U64>(Job, 1), D<U64>(Job, 2),
                                                       &Job.Result1, &Job.Result2));
}

int ExecReadSWO(CDevice&, DEVICE_JOB& Job)
{
    return WithCount(Job, S().ReadSWOTrace(P(Job, 0), Fit(Job, 0, 1, P(Job, 1)), D<U8>(Job, 0)));
}

int ExecSWOSpeeds(CDevice&, DEVICE_JOB& Job)
{
    const int Num = S().GetCompatibleSWOSpeeds(P(Job, 0), Fit(Job, 0, sizeof(U32), P(Job, 1)), D<U32>(Job, 0));
    if (Num > 0) Job.Param[1] = U32(Num); // the listeners are told how many items there are
    return WithCount(Job, Num);
}

int ExecReadMemlane(CDevice&, DEVICE_JOB& Job)
{
    return WithCount(Job, S().ReadMemlane(P(Job, 0), Fit(Job, 0, 1, P(Job, 1)), D<U8>(Job, 0)));
}

int ExecWriteMemlane(CDevice&, DEVICE_JOB& Job)
{
    const U32 NumBytes = Fit(Job, 0, 1, P(Job, 1));
    const int Num = S().WriteMemlane(P(Job, 0), NumBytes, D<U8>(Job, 0));
    Job.Result1 = U64(std::max(Num, 0));
    // What the buffer has no room for is not written later: the user is told what is missing.
    return NumBytes > 0 && Num == int(NumBytes) ? 0 : -1;
}

int ExecStartHSS(CDevice&, DEVICE_JOB& Job)
{
    const U32 Cnt = Fit(Job, 0, 2 * sizeof(U32), P(Job, 0));
    return Failed(S().StartHSS(Cnt, D<U32>(Job, 0), int(P(Job, 1)), int(P(Job, 2))));
}

int ExecStartPowerTrace(CDevice&, DEVICE_JOB& Job)
{
    const int Hz = S().StartPowerTrace(P(Job, 0), P(Job, 1), P(Job, 2), P(Job, 3));
    Job.Result1 = U64(std::max(Hz, 0));
    return Failed(Hz);
}

int ExecReadPowerTrace(CDevice&, DEVICE_JOB& Job)
{
    return WithCount(Job, S().ReadPowerTrace(Fit(Job, 0, sizeof(U64), P(Job, 0)), D<U64>(Job, 0)));
}

using JobParams::EXECUTOR_ROW;
constexpr EXECUTOR_ROW aExecutor[] = {
    {BT_ENABLE_SIMPLE_TRACE, [](CDevice&, DEVICE_JOB&) { return S().EnableSimpleInstTrace(); }},
    {BT_DISABLE_SIMPLE_TRACE, [](CDevice&, DEVICE_JOB&) { return S().DisableSimpleInstTrace(); }},
    {BT_START_SIMPLE_TRACE, [](CDevice&, DEVICE_JOB&) { return Failed(S().StartSimpleInstTrace()); }},
    {BT_STOP_SIMPLE_TRACE, [](CDevice&, DEVICE_JOB&) { return Failed(S().StopSimpleInstTrace()); }},
    {BT_READ_SIMPLE_TRACE, ExecReadTrace},
    {BT_READ_INST_STATS, ExecReadInstStats},
    {BT_FLUSH_STRACE_BUFFER, [](CDevice&, DEVICE_JOB&) { return Failed(S().FlushSimpleInstTraceBuffer()); }},
    {BT_START_SWO_TRACE, [](CDevice&, DEVICE_JOB& J) { return S().StartSWOTrace(P(J, 0), P(J, 1), P(J, 2)); }},
    {BT_STOP_SWO_TRACE, [](CDevice&, DEVICE_JOB& J) { return S().StopSWOTrace(P(J, 0)); }},
    {BT_READ_SWO_TRACE, ExecReadSWO},
    {BT_SWO_GET_COMPAT_SPEEDS, ExecSWOSpeeds},
    {BT_START_MEMLANE, [](CDevice&, DEVICE_JOB&) { return S().StartMemlane(); }},
    {BT_STOP_MEMLANE, [](CDevice&, DEVICE_JOB&) { return S().StopMemlane(); }},
    {BT_READ_MEMLANE, ExecReadMemlane},
    {BT_WRITE_MEMLANE, ExecWriteMemlane},
    {BT_START_HSS, ExecStartHSS},
    {BT_STOP_HSS, [](CDevice&, DEVICE_JOB&) { return S().StopHSS(); }},
    {BT_READ_HSS,
     [](CDevice&, DEVICE_JOB& J) { return WithCount(J, S().ReadHSS(Fit(J, 0, 1, P(J, 0)), D<U8>(J, 0))); }},
    {BT_START_POWER_TRACE, ExecStartPowerTrace},
    {BT_STOP_POWER_TRACE, [](CDevice&, DEVICE_JOB&) { return S().StopPowerTrace(); }},
    {BT_READ_POWER_TRACE, ExecReadPowerTrace},
    {BT_FLUSH_POWER_TRACE, [](CDevice&, DEVICE_JOB&) { return S().FlushPowerTrace(); }},
};
} // namespace

void DEVICE_RegisterServices()
{
    for (const EXECUTOR_ROW& Row : aExecutor) CDevice::SetExecutor(Row.Type, Row.pfExec);
}
