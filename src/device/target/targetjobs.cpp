// Executors of the jobs of this layer, and the hooks of the queue engine.
#include "core/host/corecalls.h"
#include "device/target/datamanager.h"
#include "device/target/deviceservices.h"
#include "device/target/devicetarget.h"
#include "device/target/jobparams.h"
#include "device/target/targetdownload.h"
#include "platform/probe/bryllo.h"
#include "program/symbols/elfsymloc.h"
#include "project/settings/sysvars.h"

namespace {
using JobParams::D;
using JobParams::EXECUTOR_ROW;
using JobParams::Fit;
using JobParams::P;

TARGET_HOOKS s_Hooks;

CDeviceTarget& T() { return CDeviceTarget::Get(); }
/// After a change of the breakpoints the windows want to know how they are implemented.
int WithImplTypes(int Ret)
{
    T().UpdateBPImplTypes();
    return Ret;
}

int ExecReadMem(CDevice& Dev, DEVICE_JOB& Job)
{
    Dev.State.TransferCanceled = 0;
    const U32 Size = Fit(Job, 1, 1, Fit(Job, 0, 1, P(Job, 1)));
    if (Size == 0) return -1;
    // Done in any case: the status bytes tell what is good.
    T().ReadMem(P(Job, 0), Size, P(Job, 2), P(Job, 3), P(Job, 4), Job.Text(2), D<U8>(Job, 0), D<U8>(Job, 1));
    return 0;
}

int ExecWriteMem(CDevice& Dev, DEVICE_JOB& Job)
{
    Dev.State.TransferCanceled = 0;
    const U32 Size = Fit(Job, 0, 1, P(Job, 1));
    const U32 Num = T().WriteMem(P(Job, 0), Size, P(Job, 2), P(Job, 3), P(Job, 4), T().GetAccessZone(Job.Text(1)),
                                 D<U8>(Job, 0));
    return Size > 0 && Num == Size ? 0 : -1;
}

int ExecWriteMemMultiple(CDevice& Dev, DEVICE_JOB& Job)
{
    Dev.State.TransferCanceled = 0;
    const U32 Cnt = Fit(Job, 0, 8, P(Job, 0));
    const U32 Size = Fit(Job, 1, 1, P(Job, 1));
    const U32 Num = T().WriteMemMultiple(Cnt, D<U32>(Job, 0), Size, D<U8>(Job, 1), P(Job, 2), P(Job, 3), P(Job, 4),
                                         T().GetAccessZone(Job.Text(2)));
    return Size > 0 && Num == Size ? 0 : -1;
}

int ExecReadRegs(CDevice&, DEVICE_JOB& Job)
{
    const U32 Cnt = Fit(Job, 2, 1, Fit(Job, 1, 8, Fit(Job, 0, 4, P(Job, 0))));
    return T().ReadRegs(Cnt, D<U32>(Job, 0), D<U64>(Job, 1), D<U8>(Job, 2));
}

int ExecReadLocs(CDevice&, DEVICE_JOB& Job)
{
    const U32 Cnt = Fit(Job, 2, 1, Fit(Job, 1, 8, Fit(Job, 0, sizeof(ELF_SYM_LOC), P(Job, 0))));
    return T().ReadLocs(Cnt, D<ELF_SYM_LOC>(Job, 0), D<U64>(Job, 1), D<U8>(Job, 2));
}

int ExecReadReg(CDevice&, DEVICE_JOB& Job)
{
    U64 Value = 0;
    const int Ret = T().ReadReg(P(Job, 0), &Value);
    Job.Result = I64(Value);
    return Ret;
}

int ExecReadCPReg(CDevice&, DEVICE_JOB& Job)
{
    U64 Value = 0;
    const int Ret = T().ReadCPReg(Job.Text(0), &Value);
    Job.Result = I64(Value);
    return Ret;
}

int ExecSetConfigParam(CDevice&, DEVICE_JOB& Job)
{
    const auto Id = DEV_CONFIG_PARAMS(P(Job, 0));
    return Job.DynParam[0] ? T().SetConfigParam(Id, Job.Text(0)) : T().SetConfigParam(Id, int(P(Job, 1)));
}

int ExecGetDeviceInfo(CDevice&, DEVICE_JOB& Job)
{
    U32 Core = 0;
    const int Ret = T().GetDeviceInfo(Job.Text(0), &Core);
    Job.Result1 = Core;
    return Ret;
}

int ExecMeasureCoreSpeed(CDevice&, DEVICE_JOB& Job)
{
    const int Hz = T().MeasureCoreSpeed();
    Job.Result = Hz;
    return Hz > 0 ? 0 : -1;
}

int ExecSetTargetExecState(CDevice& Dev, DEVICE_JOB& Job)
{
    // A program without reset values, or a plug-in that knows none, leaves PC and SP where the reset left them.
    if (Job.Param[2] != 0 && Dev.State.HaltedRaw) Core_SetResetState();
    const int Ret = T().SetTargetExecState(Job.Param[0], Job.Param[1]);
    if (Ret < 0) return Ret;
    // The listeners get the state in force, also where the job asked to read it.
    Job.Param[0] = Dev.State.PC;
    Job.Param[1] = Dev.State.SP;
    return Ret;
}

int ExecEndDownload(CDevice&, DEVICE_JOB& Job)
{
    return T().EndDownload(P(Job, 1) != 0);
}

constexpr EXECUTOR_ROW aExecutor[] = {
    {BT_CONNECT, [](CDevice&, DEVICE_JOB& J) { return T().Connect(CONNECT_MODES(P(J, 0))); }},
    {BT_DISCONNECT, [](CDevice&, DEVICE_JOB&) { return T().Disconnect(); }},
    {BT_RESET, [](CDevice&, DEVICE_JOB& J) { return T().Reset(RESET_MODES(P(J, 0))); }},
    {BT_HALT, [](CDevice&, DEVICE_JOB&) { return T().Halt(); }},
    {BT_CONTINUE, [](CDevice&, DEVICE_JOB&) { return T().Continue(); }},
    {BT_RUN_TO, [](CDevice&, DEVICE_JOB& J) { return T().RunTo(J.Param[0]); }},
    {BT_EXEC_BRYLLO_CMD,
     [](CDevice&, DEVICE_JOB& J) {
         // Whatever number the library gives a failure, the windows are to hear of it.
         return T().ExecBrylloCmd(J.Text(0), D<char>(J, 1), J.DynSize[1], true) == 0 ? 0 : -1;
     }},
    {BT_SET_BP,
     [](CDevice&, DEVICE_JOB& J) {
         return WithImplTypes(T().SetBreakpoint(P(J, 0), BP_STATES(P(J, 1)), BP_TYPES(P(J, 2))));
     }},
    {BT_SET_BPS,
     [](CDevice&, DEVICE_JOB& J) {
         return WithImplTypes(T().SetBreakpoints(Fit(J, 0, 4, P(J, 0)), D<U32>(J, 0), BP_STATES(P(J, 1)),
                                                 BP_TYPES(P(J, 2))));
     }},
    {BT_CLEAR_BP, [](CDevice&, DEVICE_JOB& J) { return WithImplTypes(T().ClearBreakpoint(P(J, 0))); }},
    {BT_CLEAR_BPS,
     [](CDevice&, DEVICE_JOB& J) {
         return WithImplTypes(T().ClearBreakpoints(Fit(J, 0, 4, P(J, 0)), D<U32>(J, 0)));
     }},
    {BT_CLEAR_ALL_BPS, [](CDevice&, DEVICE_JOB&) { return WithImplTypes(T().ClearAllBreakpoints()); }},
    {BT_RESET_BPS,
     [](CDevice&, DEVICE_JOB&) {
         T().Lists.BpListResetHits();
         return 0;
     }},
    {BT_SET_WPS,
     [](CDevice&, DEVICE_JOB& J) { return T().SetWatchpoints(Fit(J, 0, sizeof(WP), P(J, 0)), D<WP>(J, 0)); }},
    {BT_CLEAR_WPS,
     [](CDevice&, DEVICE_JOB& J) { return T().ClearWatchpoints(Fit(J, 0, sizeof(WP), P(J, 0)), D<WP>(J, 0)); }},
    {BT_CLEAR_ALL_WPS, [](CDevice&, DEVICE_JOB&) { return T().ClearAllWatchpoints(); }},
    {BT_SET_TPS,
     [](CDevice&, DEVICE_JOB& J) { return T().SetTracepoints(Fit(J, 0, sizeof(TP), P(J, 0)), D<TP>(J, 0)); }},
    {BT_CLEAR_TPS,
     [](CDevice&, DEVICE_JOB& J) { return T().ClearTracepoints(Fit(J, 0, sizeof(TP), P(J, 0)), D<TP>(J, 0)); }},
    {BT_CLEAR_ALL_TPS, [](CDevice&, DEVICE_JOB&) { return T().ClearAllTracepoints(); }},
    {BT_READ_REG, ExecReadReg},
    {BT_WRITE_REG, [](CDevice&, DEVICE_JOB& J) { return T().WriteReg(P(J, 0), J.Param[1]); }},
    {BT_READ_CP_REG, ExecReadCPReg},
    {BT_WRITE_CP_REG, [](CDevice&, DEVICE_JOB& J) { return T().WriteCPReg(J.Text(0), J.Param[0]); }},
    {BT_READ_REGS, ExecReadRegs},
    {BT_END_DOWNLOAD, ExecEndDownload},
    {BT_READ_MEM, ExecReadMem},
    {BT_WRITE_MEM, ExecWriteMem},
    {BT_WRITE_MEM_MULTIPLE, ExecWriteMemMultiple},
    {BT_READ_LOCS, ExecReadLocs},
    {BT_CONFIGURE, [](CDevice&, DEVICE_JOB& J) { return T().Configure(J.Text(0)); }},
    {BT_SET_CONFIG_PARAM, ExecSetConfigParam},
    {BT_GET_DEVICE_INFO, ExecGetDeviceInfo},
    {BT_MEASURE_CORE_SPEED, ExecMeasureCoreSpeed},
    {BT_RESET_TARGET_EXEC_STATE, [](CDevice&, DEVICE_JOB&) { return T().ResetTargetExecState(); }},
    {BT_SET_TARGET_EXEC_STATE, ExecSetTargetExecState},
};

/// A system variable whose value is a field of the configuration. The field is written at once, so that whoever sets
/// the variable reads what was set; the job brings it to the probe and to the windows.
template <DEV_CONFIG_PARAMS ID> void BindConfigVar(int VarID)
{
    T().Config.SetInt(ID, int(GetVarValue(VarID)));
    BindVar(
        VarID, [] { return I64(T().Config.GetInt(ID)); },
        [](I64 Value) {
            if (T().Config.GetInt(ID) == int(Value)) return;
            T().Config.SetInt(ID, int(Value));
            CDevice::Get().SetConfigParamAsync(ID, int(Value));
            if (ID == DCP_DR_PRE) CDevice::Get().SetConfigParamAsync(DCP_MULTIPLE_TARGETS, Value != 0);
        });
}
} // namespace

void TARGET_SetHooks(const TARGET_HOOKS& Hooks)
{
    s_Hooks = Hooks;
}

const TARGET_HOOKS& TARGET_GetHooks()
{
    return s_Hooks;
}

void DEVICE_RegisterTarget()
{
    DEVICE_HOOKS Hooks;
    Hooks.OnWorkerStart = [] {
        T().UpdateBrylloLibPath();
        T().UpdateSupportedCoresList();
        T().UpdateBrylloFuncPtrs();
    };
    Hooks.OnWorkerStop = [] {
        T().Disconnect();
        // The library may outlive this program's log.
        BRYLLOARM_EnableLog(nullptr);
        BRYLLOARM_SetWarnOutHandler(nullptr);
        BRYLLOARM_SetErrorOutHandler(nullptr);
    };
    Hooks.CheckHandleNotifications = [] { T().CheckHandleNotifications(); };
    Hooks.CheckHandleHalt = [] { T().CheckHandleHalt(); };
    Hooks.CheckHandleSelfResume = [] { T().CheckHandleSelfResume(); };
    Hooks.RefreshExecState = [] { return T().SetTargetExecState(0, 0); };
    Hooks.GetModes = [](U32* pCPUMode, U32* pExecMode) {
        *pCPUMode = Core_GetCPUMode();
        *pExecMode = Core_GetExecMode();
    };
    Hooks.GetPCRegIdx = [] { return Core_GetPCRegId(); };
    Hooks.OnListenerGone = [](CDeviceEventListener* p) { CDeviceDataManager::OnListenerGone(p); };
    Hooks.GetDataManager = []() -> CDeviceEventListener* { return &CDeviceDataManager::Get(); };
    Hooks.GetDefaultAccessWidth = [] { return U32(GetVarValue(VAR_ACCESS_WIDTH)); };
    CDevice::SetHooks(Hooks);
    // The manager has to clear its images before any window asks for data at the same event.
    CDeviceDataManager::Get();
    for (const EXECUTOR_ROW& Row : aExecutor) CDevice::SetExecutor(Row.Type, Row.pfExec);
    DEVICE_RegisterServices();
    BindConfigVar<DCP_SPEED>(VAR_TIF_SPEED);
    BindConfigVar<DCP_DR_PRE>(VAR_TIF_SCAN_CHAIN_POS);
    BindConfigVar<DCP_IR_PRE>(VAR_TIF_SCAN_CHAIN_LEN);
}
