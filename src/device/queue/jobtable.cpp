// The job table. A row: id, name, queue, time-out of a wait in ms, flags, Done, Failed.
#include "device/queue/jobtable.h"

#include <array>
#include <string_view>

namespace {
using L = CDeviceEventListener;
using J = DEVICE_JOB;

// Parameters of a job in the widths that the listeners take.
U32 P0(const J& Job) { return U32(Job.Param[0]); }
U32 P1(const J& Job) { return U32(Job.Param[1]); }
U32 P2(const J& Job) { return U32(Job.Param[2]); }
U32 P3(const J& Job) { return U32(Job.Param[3]); }
template <class T> T* D(J& Job, int Idx) { return Job.Dyn<T>(Idx); }

// The deliveries of operations without arguments, and of those with the PC alone.
template <void (L::*OP)()> void Plain(L& Listener, J&) { (Listener.*OP)(); }
template <void (L::*OP)(U32)> void WithPC(L& Listener, J& Job) { (Listener.*OP)(U32(Job.Result)); }
template <void (L::*OP)(U32)> void WithP0(L& Listener, J& Job) { (Listener.*OP)(P0(Job)); }
template <class MODE, void (L::*OP)(MODE)> void WithMode(L& Listener, J& Job) { (Listener.*OP)(MODE(P0(Job))); }
template <void (L::*OP)(U32, RESET_MODES)> void WithReset(L& Listener, J& Job)
{
    (Listener.*OP)(U32(Job.Result), RESET_MODES(P0(Job)));
}
template <void (L::*OP)(U32, U32*)> void WithAddrs(L& Listener, J& Job) { (Listener.*OP)(P0(Job), D<U32>(Job, 0)); }
template <void (L::*OP)(U32, WP*)> void WithWPs(L& Listener, J& Job) { (Listener.*OP)(P0(Job), D<WP>(Job, 0)); }
template <void (L::*OP)(const char*)> void WithText(L& Listener, J& Job) { (Listener.*OP)(Job.Text(0)); }
template <void (L::*OP)(U32, U32, U8*)> void WithWrite(L& Listener, J& Job)
{
    (Listener.*OP)(P0(Job), P1(Job), D<U8>(Job, 0));
}
template <void (L::*OP)(U32, U32*, U8*)> void WithWrites(L& Listener, J& Job)
{
    (Listener.*OP)(P0(Job), D<U32>(Job, 0), D<U8>(Job, 1));
}
template <void (L::*OP)(U32, U32, U32)> void WithSWO(L& Listener, J& Job)
{
    (Listener.*OP)(P0(Job), P1(Job), P2(Job));
}
template <void (L::*OP)(U32, U32, U32*)> void WithSpeeds(L& Listener, J& Job)
{
    (Listener.*OP)(P0(Job), P1(Job), D<U32>(Job, 0));
}
template <void (L::*OP)(U32, U32*, int, int)> void WithHSS(L& Listener, J& Job)
{
    (Listener.*OP)(P0(Job), D<U32>(Job, 0), int(P1(Job)), int(P2(Job)));
}
template <void (L::*OP)(U32, const char*)> void WithInput(L& Listener, J& Job)
{
    (Listener.*OP)(P0(Job), Job.Text(0));
}
template <void (L::*OP)(U64, U64)> void WithExecState(L& Listener, J& Job)
{
    (Listener.*OP)(Job.Param[0], Job.Param[1]);
}
template <void (L::*STR)(DEV_CONFIG_PARAMS, const char*), void (L::*INT)(DEV_CONFIG_PARAMS, int)>
void WithConfig(L& Listener, J& Job)
{
    if (Job.DynParam[0])
        (Listener.*STR)(DEV_CONFIG_PARAMS(P0(Job)), Job.Text(0));
    else
        (Listener.*INT)(DEV_CONFIG_PARAMS(P0(Job)), int(P1(Job)));
}

constexpr U32 CTRL = QUEUE_CONTROL;
constexpr U32 READ = QUEUE_READ;
constexpr U32 IDLE = QUEUE_IDLE;
constexpr U32 STEP = JRF_CANCELS_READS | JRF_PC_RESULT | JRF_MODE_CHECK;
constexpr U32 DATA = JRF_NEEDS_DATA;

constexpr std::array<JOB_ROW, BT_LAST> aRow = {{
    {0, nullptr, READ, 5'000, 0, nullptr, nullptr},
    {BT_CONNECT, "BT_CONNECT", CTRL, 120'000, 0, WithMode<CONNECT_MODES, &L::OnDeviceConnectDone>,
     WithMode<CONNECT_MODES, &L::OnDeviceConnectFailed>},
    {BT_DISCONNECT, "BT_DISCONNECT", CTRL, 5'000, 0, Plain<&L::OnDeviceDisconnectDone>,
     Plain<&L::OnDeviceDisconnectFailed>},
    {BT_RESET, "BT_RESET", CTRL, 60'000, JRF_CANCELS_READS | JRF_PC_RESULT | JRF_MODE_CHECK,
     WithReset<&L::OnDeviceResetDone>, WithReset<&L::OnDeviceResetFailed>},
    {BT_HALT, "BT_HALT", CTRL, 5'000, JRF_CANCELS_READS | JRF_NO_EVENT | JRF_MODE_CHECK,
     [](L& Listener, J& Job) { Listener.OnDeviceHaltDone(U32(Job.Result), HALT_REASONS(P0(Job))); },
     Plain<&L::OnDeviceHaltFailed>},
    {BT_CONTINUE, "BT_CONTINUE", CTRL, 5'000, JRF_CANCELS_READS, WithMode<RESUME_MODES, &L::OnDeviceResumeDone>,
     WithMode<RESUME_MODES, &L::OnDeviceResumeFailed>},
    {BT_STEP_INST, "BT_STEP_INST", CTRL, 5'000, STEP, WithPC<&L::OnDeviceStepInstDone>,
     WithPC<&L::OnDeviceStepInstFailed>},
    {BT_STEP_INTO, "BT_STEP_INTO", CTRL, 5'000, STEP, WithPC<&L::OnDeviceStepIntoDone>,
     WithPC<&L::OnDeviceStepIntoFailed>},
    {BT_STEP_OVER, "BT_STEP_OVER", CTRL, 5'000, STEP, WithPC<&L::OnDeviceStepOverDone>,
     WithPC<&L::OnDeviceStepOverFailed>},
    {BT_STEP_OUT, "BT_STEP_OUT", CTRL, 5'000, STEP, WithPC<&L::OnDeviceStepOutDone>,
     WithPC<&L::OnDeviceStepOutFailed>},
    {BT_ANY_STEP, nullptr, READ, 5'000, 0, nullptr, nullptr},
    {BT_RUN_TO, "BT_RUN_TO", CTRL, 5'000, JRF_NO_EVENT, WithPC<&L::OnDeviceRunToSymbolDone>,
     WithPC<&L::OnDeviceRunToSymbolFailed>},
    {BT_EXEC_BRYLLO_CMD, "BT_EXEC_BRYLLO_CMD", CTRL, 60'000, DATA, WithText<&L::OnDeviceExecCmdDone>,
     [](L& Listener, J& Job) { Listener.OnDeviceExecCmdFailed(Job.Text(0), Job.Text(1)); }},
    {BT_SET_BP, "BT_SET_BP", CTRL, 5'000, JRF_BP_STATE, WithP0<&L::OnDeviceSetBPDone>, WithP0<&L::OnDeviceSetBPFailed>},
    {BT_SET_BPS, "BT_SET_BPS", CTRL, 5'000, DATA | JRF_BP_STATE, WithAddrs<&L::OnDeviceSetBPsDone>,
     WithAddrs<&L::OnDeviceSetBPsFailed>},
    {BT_CLEAR_BP, "BT_CLEAR_BP", CTRL, 5'000, JRF_BP_STATE, WithP0<&L::OnDeviceClearBPDone>,
     WithP0<&L::OnDeviceClearBPFailed>},
    {BT_CLEAR_BPS, "BT_CLEAR_BPS", CTRL, 5'000, DATA | JRF_BP_STATE, WithAddrs<&L::OnDeviceClearBPsDone>,
     WithAddrs<&L::OnDeviceClearBPsFailed>},
    {BT_CLEAR_ALL_BPS, "BT_CLEAR_ALL_BPS", CTRL, 5'000, JRF_BP_STATE, Plain<&L::OnDeviceClearAllBPsDone>,
     Plain<&L::OnDeviceClearAllBPsFailed>},
    {BT_RESET_BPS, "BT_RESET_BPS", CTRL, 5'000, 0, Plain<&L::OnDeviceResetBPsDone>, Plain<&L::OnDeviceResetBPsFailed>},
    {BT_SET_WPS, "BT_SET_WPS", CTRL, 5'000, DATA | JRF_WP_STATE, WithWPs<&L::OnDeviceSetWPsDone>,
     WithWPs<&L::OnDeviceSetWPsFailed>},
    {BT_CLEAR_WPS, "BT_CLEAR_WPS", CTRL, 5'000, DATA | JRF_WP_STATE, WithWPs<&L::OnDeviceClearWPsDone>,
     WithWPs<&L::OnDeviceClearWPsFailed>},
    {BT_CLEAR_ALL_WPS, "BT_CLEAR_ALL_WPS", CTRL, 5'000, JRF_WP_STATE, Plain<&L::OnDeviceClearAllWPsDone>,
     Plain<&L::OnDeviceClearAllWPsFailed>},
    {BT_SET_TPS, "BT_SET_TPS", CTRL, 5'000, DATA | JRF_TP_STATE, nullptr, nullptr},
    {BT_CLEAR_TPS, "BT_CLEAR_TPS", CTRL, 5'000, DATA | JRF_TP_STATE, nullptr, nullptr},
    {BT_CLEAR_ALL_TPS, "BT_CLEAR_ALL_TPS", CTRL, 5'000, JRF_TP_STATE, nullptr, nullptr},
    {BT_READ_REG, "BT_READ_REG", READ, 5'000, JRF_DATA_MANAGER,
     [](L& Listener, J& Job) { Listener.OnDeviceReadRegDone(P0(Job), U64(Job.Result)); },
     WithP0<&L::OnDeviceReadRegFailed>},
    {BT_WRITE_REG, "BT_WRITE_REG", CTRL, 5'000, JRF_WRITE | JRF_MODE_CHECK,
     [](L& Listener, J& Job) { Listener.OnDeviceWriteRegDone(P0(Job), Job.Param[1]); },
     WithP0<&L::OnDeviceWriteRegFailed>},
    {BT_READ_CP_REG, "BT_READ_CP_REG", READ, 5'000, DATA,
     [](L& Listener, J& Job) { Listener.OnDeviceReadCPRegDone(Job.Text(0), U64(Job.Result)); },
     WithText<&L::OnDeviceReadCPRegFailed>},
    {BT_WRITE_CP_REG, "BT_WRITE_CP_REG", CTRL, 5'000, DATA | JRF_WRITE,
     [](L& Listener, J& Job) { Listener.OnDeviceWriteCPRegDone(Job.Text(0), U64(Job.Result)); },
     WithText<&L::OnDeviceWriteCPRegFailed>},
    {BT_READ_REGS, "BT_READ_REGS", READ, 5'000, DATA | JRF_DATA_MANAGER,
     [](L& Listener, J& Job) {
         Listener.OnDeviceReadRegsDone(P0(Job), D<U32>(Job, 0), D<U64>(Job, 1), D<U8>(Job, 2));
     },
     WithAddrs<&L::OnDeviceReadRegsFailed>},
    {BT_END_DOWNLOAD, "BT_END_DOWNLOAD", CTRL, 120'000, 0,
     [](L& Listener, J& Job) { Listener.OnDeviceEndDownloadDone(Job.Text(0), DOWNLOAD_MODES(P0(Job))); },
     [](L& Listener, J& Job) {
         Listener.OnDeviceEndDownloadFailed(Job.Text(0), DOWNLOAD_MODES(P0(Job)), int(Job.Result));
     }},
    {BT_READ_MEM, "BT_READ_MEM", READ, 10'000, JRF_DATA_MANAGER,
     [](L& Listener, J& Job) {
         Listener.OnDeviceReadMemDone(P0(Job), P1(Job), Job.Text(2), D<U8>(Job, 0), D<U8>(Job, 1));
     },
     [](L& Listener, J& Job) { Listener.OnDeviceReadMemFailed(P0(Job), P1(Job), Job.Text(2)); }},
    {BT_WRITE_MEM, "BT_WRITE_MEM", CTRL, 120'000, DATA | JRF_WRITE, WithWrite<&L::OnDeviceWriteMemDone>,
     WithWrite<&L::OnDeviceWriteMemFailed>},
    {BT_WRITE_MEM_MULTIPLE, "BT_WRITE_MEM_MULTIPLE", CTRL, 5'000, DATA | JRF_WRITE,
     WithWrites<&L::OnDeviceWriteMemMultipleDone>, WithWrites<&L::OnDeviceWriteMemMultipleFailed>},
    {BT_READ_BYTE, "BT_READ_BYTE", READ, 5'000, JRF_RESERVED, nullptr, nullptr},
    {BT_WRITE_BYTE, "BT_WRITE_BYTE", CTRL, 5'000, JRF_RESERVED | JRF_WRITE, nullptr, nullptr},
    {BT_READ_LOCS, "BT_READ_LOCS", READ, 5'000, DATA,
     [](L& Listener, J& Job) {
         Listener.OnDeviceReadLocsDone(P0(Job), D<ELF_SYM_LOC>(Job, 0), D<U64>(Job, 1), D<U8>(Job, 2), P1(Job));
     },
     [](L& Listener, J& Job) { Listener.OnDeviceReadLocsFailed(P0(Job), D<ELF_SYM_LOC>(Job, 0), P1(Job)); }},
    {BT_ENABLE_SIMPLE_TRACE, "BT_ENABLE_SIMPLE_TRACE", CTRL, 5'000, 0, Plain<&L::OnDeviceEnableInstTraceDone>,
     Plain<&L::OnDeviceEnableInstTraceFailed>},
    {BT_DISABLE_SIMPLE_TRACE, "BT_DISABLE_SIMPLE_TRACE", CTRL, 5'000, 0, Plain<&L::OnDeviceDisableInstTraceDone>,
     Plain<&L::OnDeviceDisableInstTraceFailed>},
    {BT_START_SIMPLE_TRACE, "BT_START_SIMPLE_TRACE", CTRL, 5'000, 0, Plain<&L::OnDeviceStartInstTraceDone>,
     Plain<&L::OnDeviceStartInstTraceFailed>},
    {BT_STOP_SIMPLE_TRACE, "BT_STOP_SIMPLE_TRACE", CTRL, 5'000, 0, Plain<&L::OnDeviceStopInstTraceDone>,
     Plain<&L::OnDeviceStopInstTraceFailed>},
    {BT_READ_SIMPLE_TRACE, "BT_READ_SIMPLE_TRACE", READ, 5'000, DATA,
     [](L& Listener, J& Job) {
         Listener.OnDeviceReadInstTraceDone(P0(Job), Job.Result, Job.Result1, Job.Result2, D<U32>(Job, 0),
                                            Job.DynParam[1], Job.Result3);
     },
     WithP0<&L::OnDeviceReadInstTraceFailed>},
    {BT_READ_INST_STATS, "BT_READ_INST_STATS", READ, 5'000, DATA,
     [](L& Listener, J& Job) {
         Listener.OnDeviceReadInstStatsDone(P0(Job), D<U32>(Job, 0), Job.Result, Job.Result1, Job.Result2,
                                            D<U64>(Job, 1), D<U64>(Job, 2));
     },
     WithAddrs<&L::OnDeviceReadInstStatsFailed>},
    {BT_FLUSH_STRACE_BUFFER, "BT_FLUSH_STRACE_BUFFER", CTRL, 5'000, 0, Plain<&L::OnDeviceFlushInstTraceDone>,
     Plain<&L::OnDeviceFlushInstTraceFailed>},
    {BT_START_SWO_TRACE, "BT_START_SWO_TRACE", CTRL, 10'000, 0, WithSWO<&L::OnDeviceStartSWODone>,
     WithSWO<&L::OnDeviceStartSWOFailed>},
    {BT_STOP_SWO_TRACE, "BT_STOP_SWO_TRACE", CTRL, 10'000, 0, WithP0<&L::OnDeviceStopSWODone>,
     WithP0<&L::OnDeviceStopSWOFailed>},
    {BT_READ_SWO_TRACE, "BT_READ_SWO_TRACE", READ, 5'000, DATA,
     [](L& Listener, J& Job) { Listener.OnDeviceReadSWODone(P0(Job), P1(Job), Job.Result, D<U8>(Job, 0)); },
     [](L& Listener, J& Job) { Listener.OnDeviceReadSWOFailed(P0(Job), P1(Job)); }},
    {BT_SWO_GET_COMPAT_SPEEDS, "BT_SWO_GET_COMPAT_SPEEDS", CTRL, 5'000, DATA, WithSpeeds<&L::OnDeviceSWOSpeedsDone>,
     WithSpeeds<&L::OnDeviceSWOSpeedsFailed>},
    {BT_START_MEMLANE, "BT_START_MEMLANE", CTRL, 10'000, 0, Plain<&L::OnDeviceStartMemlaneDone>,
     Plain<&L::OnDeviceStartMemlaneFailed>},
    {BT_STOP_MEMLANE, "BT_STOP_MEMLANE", CTRL, 10'000, 0, Plain<&L::OnDeviceStopMemlaneDone>,
     Plain<&L::OnDeviceStopMemlaneFailed>},
    {BT_FLUSH_MEMLANE, "BT_FLUSH_MEMLANE", READ, 10'000, JRF_RESERVED, nullptr, nullptr},
    {BT_READ_MEMLANE, "BT_READ_MEMLANE", READ, 5'000, DATA,
     [](L& Listener, J& Job) { Listener.OnDeviceReadMemlaneDone(P0(Job), P1(Job), Job.Result, D<U8>(Job, 0)); },
     [](L& Listener, J& Job) { Listener.OnDeviceReadMemlaneFailed(P0(Job), P1(Job)); }},
    {BT_WRITE_MEMLANE, "BT_WRITE_MEMLANE", READ, 5'000, 0, WithWrite<&L::OnDeviceWriteMemlaneDone>,
     [](L& Listener, J& Job) {
         Listener.OnDeviceWriteMemlaneFailed(P0(Job), P1(Job), U32(Job.Result1), D<U8>(Job, 0));
     }},
    {BT_START_HSS, "BT_START_HSS", CTRL, 10'000, 0, WithHSS<&L::OnDeviceStartHSSDone>,
     WithHSS<&L::OnDeviceStartHSSFailed>},
    {BT_STOP_HSS, "BT_STOP_HSS", CTRL, 10'000, 0, Plain<&L::OnDeviceStopHSSDone>, Plain<&L::OnDeviceStopHSSFailed>},
    {BT_READ_HSS, "BT_READ_HSS", READ, 5'000, DATA,
     [](L& Listener, J& Job) { Listener.OnDeviceReadHSSDone(P0(Job), Job.Result, D<U8>(Job, 0)); },
     WithP0<&L::OnDeviceReadHSSFailed>},
    {BT_START_POWER_TRACE, "BT_START_POWER_TRACE", CTRL, 10'000, 0,
     [](L& Listener, J& Job) {
         Listener.OnDeviceStartPowerTraceDone(P0(Job), U32(Job.Result1), P2(Job), P3(Job));
     },
     [](L& Listener, J& Job) { Listener.OnDeviceStartPowerTraceFailed(P0(Job), P1(Job), P2(Job), P3(Job)); }},
    {BT_STOP_POWER_TRACE, "BT_STOP_POWER_TRACE", CTRL, 10'000, 0, Plain<&L::OnDeviceStopPowerTraceDone>,
     Plain<&L::OnDeviceStopPowerTraceFailed>},
    {BT_READ_POWER_TRACE, "BT_READ_POWER_TRACE", READ, 5'000, 0,
     [](L& Listener, J& Job) { Listener.OnDeviceReadPowerTraceDone(P0(Job), Job.Result, D<U64>(Job, 0)); },
     WithP0<&L::OnDeviceReadPowerTraceFailed>},
    {BT_FLUSH_POWER_TRACE, "BT_FLUSH_POWER_TRACE", CTRL, 5'000, 0, Plain<&L::OnDeviceFlushPowerTraceDone>,
     Plain<&L::OnDeviceFlushPowerTraceFailed>},
    {BT_CONFIGURE, "BT_CONFIGURE", CTRL, 60'000, DATA, WithText<&L::OnDeviceConfigureDone>,
     WithText<&L::OnDeviceConfigureFailed>},
    {BT_SET_CONFIG_PARAM, "BT_SET_CONFIG_PARAM", CTRL, 5'000, 0,
     WithConfig<&L::OnDeviceSetConfigStrDone, &L::OnDeviceSetConfigIntDone>,
     WithConfig<&L::OnDeviceSetConfigStrFailed, &L::OnDeviceSetConfigIntFailed>},
    {BT_GET_DEVICE_INFO, "BT_GET_DEVICE_INFO", READ, 5'000, DATA,
     [](L& Listener, J& Job) { Listener.OnDeviceGetInfoDone(Job.Text(0), U32(Job.Result1)); },
     WithText<&L::OnDeviceGetInfoFailed>},
    {BT_MEASURE_CORE_SPEED, "BT_MEASURE_CORE_SPEED", IDLE, 5'000, 0,
     [](L& Listener, J& Job) { Listener.OnDeviceMeasureSpeedDone(Job.Result); },
     Plain<&L::OnDeviceMeasureSpeedFailed>},
    {BT_RESET_TARGET_EXEC_STATE, "BT_RESET_TARGET_EXEC_STATE", CTRL, 5'000, 0,
     Plain<&L::OnDeviceResetTargetExecStateDone>, Plain<&L::OnDeviceResetTargetExecStateFailed>},
    {BT_SET_TARGET_EXEC_STATE, "BT_SET_TARGET_EXEC_STATE", CTRL, 5'000, 0,
     WithExecState<&L::OnDeviceSetTargetExecStateDone>, WithExecState<&L::OnDeviceSetTargetExecStateFailed>},
    {BT_SET_SH_INPUT_TEXT, "BT_SET_SH_INPUT_TEXT", READ, 5'000, DATA, WithInput<&L::OnDeviceSetSHInputDone>,
     WithInput<&L::OnDeviceSetSHInputFailed>},
    {BT_ALL, nullptr, READ, 5'000, 0, nullptr, nullptr},
}};

constexpr bool RowsInOrder()
{
    for (U32 i = 0; i < aRow.size(); i++)
        if (aRow[i].Id != i) return false;
    return true;
}
constexpr bool NamesUnique()
{
    for (U32 i = 0; i < aRow.size(); i++)
        for (U32 k = i + 1; k < aRow.size(); k++)
            if (aRow[i].sName && aRow[k].sName && std::string_view(aRow[i].sName) == aRow[k].sName) return false;
    return true;
}
constexpr bool TimeoutsGiven()
{
    for (const JOB_ROW& Row : aRow)
        if (Row.TimeoutMS < 5'000 || Row.Queue >= QUEUE_COUNT) return false;
    return true;
}
static_assert(RowsInOrder(), "the id of a row is its index");
static_assert(NamesUnique());
static_assert(TimeoutsGiven());
} // namespace

const JOB_ROW* DEVJOB_GetRow(U32 Type)
{
    return Type < aRow.size() && aRow[Type].sName ? &aRow[Type] : nullptr;
}

const char* GetJobName(U32 Type)
{
    if (Type == BT_LAST) return "Last";
    const JOB_ROW* pRow = DEVJOB_GetRow(Type);
    return pRow ? pRow->sName : "Unknown";
}

U32 DEVJOB_GetQueue(U32 Type)
{
    return Type < aRow.size() ? aRow[Type].Queue : U32(QUEUE_READ);
}

U32 DEVJOB_GetTimeout(U32 Type)
{
    return Type < aRow.size() ? aRow[Type].TimeoutMS : 5'000;
}
