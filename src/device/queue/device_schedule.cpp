// CDevice: the scheduling functions. Each fills a zeroed record with copies of its input and with the
// output buffers that the operation needs.
#include "device/queue/device.h"
#include "program/symbols/elfsymloc.h"

namespace {
constexpr U32 ANSWER_SIZE = 512; ///< answer of a user's library command
constexpr U32 MEMLANE_READ_SIZE = 200'000;
constexpr U32 HSS_READ_SIZE = 250'000;
constexpr U32 POWER_READ_SAMPLES = 10'000;
constexpr U32 TRACE_READ_INSTS = 100'000;
constexpr U32 SWO_READ_SIZE = 4'000;
constexpr U32 SWO_NUM_SPEEDS = 10;
constexpr U32 SIZE_OF_TIMESTAMP = 16; ///< of the library's time stamp record
constexpr U32 WIDTH_OF_SESSION = 255; ///< from here on an access width means the session's default

DEVICE_JOB MakeJob(U32 Type, U64 Param0 = 0, U64 Param1 = 0, U64 Param2 = 0, U64 Param3 = 0, U64 Param4 = 0)
{
    DEVICE_JOB Job;
    Job.Type = Type;
    const U64 aParam[5] = {Param0, Param1, Param2, Param3, Param4};
    for (int i = 0; i < 5; i++) Job.Param[i] = aParam[i];
    return Job;
}

void FillStatus(DEVICE_JOB& Job, int Idx, U32 Size)
{
    if (void* pStatus = DEVJOB_AllocParam(Job, Idx, Size))
        for (U32 i = 0; i < Size; i++) static_cast<U8*>(pStatus)[i] = DATA_INVALID;
}
} // namespace

int CDevice::_ScheduleSimple(U32 Type, U64 Param0, U64 Param1, U64 Param2)
{
    DEVICE_JOB Job = MakeJob(Type, Param0, Param1, Param2);
    return ScheduleJob(&Job);
}

/// P0 the count, D0 the copied array, P1 and P2 as given.
int CDevice::_ScheduleList(U32 Type, U32 Cnt, const void* pData, U32 ElemSize, U64 Param1, U64 Param2)
{
    DEVICE_JOB Job = MakeJob(Type, Cnt, Param1, Param2);
    DEVJOB_CopyParam(Job, 0, pData, U64(Cnt) * ElemSize);
    return ScheduleJob(&Job);
}

U32 CDevice::_AccessWidth(U32 AW) const
{
    if (AW < WIDTH_OF_SESSION) return AW;
    return GetHooks().GetDefaultAccessWidth ? GetHooks().GetDefaultAccessWidth() : U32(AW_ANY);
}

// ---- Session and run control ---------------------------------------------------------------------------

int CDevice::ConnectAsync(CONNECT_MODES Mode) { return _ScheduleSimple(BT_CONNECT, Mode); }

int CDevice::DisconnectAsync()
{
    if (State.Connected) NotifyAboutToDisconnect();
    return _ScheduleSimple(BT_DISCONNECT);
}

int CDevice::ResetAsync(RESET_MODES Mode) { return _ScheduleSimple(BT_RESET, Mode); }
int CDevice::HaltAsync() { return _ScheduleSimple(BT_HALT); }

int CDevice::ContinueAsync(RESUME_MODES Mode)
{
    NotifyAboutToResume(Mode);
    return _ScheduleSimple(BT_CONTINUE, Mode);
}

int CDevice::StepInstAsync()
{
    NotifyAboutToStep();
    return _ScheduleSimple(BT_STEP_INST);
}

int CDevice::StepIntoAsync()
{
    NotifyAboutToStep();
    return _ScheduleSimple(BT_STEP_INTO);
}

int CDevice::StepOverAsync()
{
    NotifyAboutToStep();
    return _ScheduleSimple(BT_STEP_OVER);
}

int CDevice::StepOutAsync()
{
    NotifyAboutToStep();
    return _ScheduleSimple(BT_STEP_OUT);
}

int CDevice::RunToAsync(U64 Addr) { return _ScheduleSimple(BT_RUN_TO, Addr); }

int CDevice::ExecBrylloCmdAsync(const char* sCmd)
{
    DEVICE_JOB Job = MakeJob(BT_EXEC_BRYLLO_CMD);
    DEVJOB_CopyText(Job, 0, sCmd);
    DEVJOB_AllocParam(Job, 1, ANSWER_SIZE);
    return ScheduleJob(&Job);
}

// ---- Breakpoints ---------------------------------------------------------------------------------------

int CDevice::SetBreakpointAsync(U32 Addr, BP_STATES State, BP_TYPES Type)
{
    return _ScheduleSimple(BT_SET_BP, Addr, State, Type);
}
int CDevice::SetBreakpointsAsync(U32 Cnt, const U32* paAddrs, BP_STATES State, BP_TYPES Type)
{
    return _ScheduleList(BT_SET_BPS, Cnt, paAddrs, sizeof(U32), State, Type);
}
int CDevice::ClearBreakpointAsync(U32 Addr) { return _ScheduleSimple(BT_CLEAR_BP, Addr); }
int CDevice::ClearBreakpointsAsync(U32 Cnt, const U32* paAddrs)
{
    return _ScheduleList(BT_CLEAR_BPS, Cnt, paAddrs, sizeof(U32));
}
int CDevice::ClearAllBreakpointsAsync() { return _ScheduleSimple(BT_CLEAR_ALL_BPS); }
int CDevice::ResetBreakpointsAsync() { return _ScheduleSimple(BT_RESET_BPS); }
int CDevice::SetWatchpointsAsync(U32 Cnt, const WP* paWPs) { return _ScheduleList(BT_SET_WPS, Cnt, paWPs, sizeof(WP)); }
int CDevice::ClearWatchpointsAsync(U32 Cnt, const WP* paWPs)
{
    return _ScheduleList(BT_CLEAR_WPS, Cnt, paWPs, sizeof(WP));
}
int CDevice::ClearAllWatchpointsAsync() { return _ScheduleSimple(BT_CLEAR_ALL_WPS); }
int CDevice::SetTracepointsAsync(U32 Cnt, const TP* paTPs) { return _ScheduleList(BT_SET_TPS, Cnt, paTPs, sizeof(TP)); }
int CDevice::ClearTracepointsAsync(U32 Cnt, const TP* paTPs)
{
    return _ScheduleList(BT_CLEAR_TPS, Cnt, paTPs, sizeof(TP));
}
int CDevice::ClearAllTracepointsAsync() { return _ScheduleSimple(BT_CLEAR_ALL_TPS); }

// ---- Registers and memory ------------------------------------------------------------------------------

int CDevice::ReadRegAsync(U32 BrylloRegIdx) { return _ScheduleSimple(BT_READ_REG, BrylloRegIdx); }
int CDevice::WriteRegAsync(U32 BrylloRegIdx, U64 Value) { return _ScheduleSimple(BT_WRITE_REG, BrylloRegIdx, Value); }

int CDevice::ReadCPRegAsync(const char* sReg)
{
    DEVICE_JOB Job = MakeJob(BT_READ_CP_REG);
    DEVJOB_CopyText(Job, 0, sReg);
    return ScheduleJob(&Job);
}

int CDevice::WriteCPRegAsync(const char* sReg, U64 Value)
{
    DEVICE_JOB Job = MakeJob(BT_WRITE_CP_REG, Value);
    DEVJOB_CopyText(Job, 0, sReg);
    return ScheduleJob(&Job);
}

int CDevice::ReadRegsAsync(U32 Cnt, const U32* paBrylloRegIdxs)
{
    DEVICE_JOB Job = MakeJob(BT_READ_REGS, Cnt);
    DEVJOB_CopyParam(Job, 0, paBrylloRegIdxs, U64(Cnt) * sizeof(U32));
    DEVJOB_AllocParam(Job, 1, U64(Cnt) * sizeof(U64));
    FillStatus(Job, 2, Cnt);
    return ScheduleJob(&Job);
}

int CDevice::EndDownloadAsync(DOWNLOAD_MODES Mode, bool DoHalt, const char* sFilePath)
{
    DEVICE_JOB Job = MakeJob(BT_END_DOWNLOAD, Mode, DoHalt);
    DEVJOB_CopyText(Job, 0, sFilePath ? sFilePath : "");
    return ScheduleJob(&Job);
}

int CDevice::ReadMemAsync(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone)
{
    DEVICE_JOB Job = MakeJob(BT_READ_MEM, Addr, nBytes, ChunkSize, _AccessWidth(AW), Flags);
    DEVJOB_AllocParam(Job, 0, nBytes);
    FillStatus(Job, 1, nBytes);
    DEVJOB_CopyText(Job, 2, sZone);
    return ScheduleJob(&Job);
}

int CDevice::WriteMemAsync(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const void* pData,
                           const char* sZone)
{
    DEVICE_JOB Job = MakeJob(BT_WRITE_MEM, Addr, nBytes, ChunkSize, _AccessWidth(AW), Flags);
    DEVJOB_CopyParam(Job, 0, pData, nBytes);
    DEVJOB_CopyText(Job, 1, sZone);
    return ScheduleJob(&Job);
}

int CDevice::WriteMemMultipleAsync(U32 Cnt, const U32* paAddrRanges, U32 NumBytes, const void* paData, U32 ChunkSize,
                                   U32 AW, U32 Flags, const char* sZone)
{
    DEVICE_JOB Job = MakeJob(BT_WRITE_MEM_MULTIPLE, Cnt, NumBytes, ChunkSize, _AccessWidth(AW), Flags);
    DEVJOB_CopyParam(Job, 0, paAddrRanges, U64(Cnt) * 2 * sizeof(U32));
    DEVJOB_CopyParam(Job, 1, paData, NumBytes);
    DEVJOB_CopyText(Job, 2, sZone);
    return ScheduleJob(&Job);
}

int CDevice::ReadLocsAsync(U32 Cnt, const ELF_SYM_LOC* paLocs, U32 Tag)
{
    DEVICE_JOB Job = MakeJob(BT_READ_LOCS, Cnt, Tag);
    DEVJOB_CopyParam(Job, 0, paLocs, U64(Cnt) * sizeof(ELF_SYM_LOC));
    DEVJOB_AllocParam(Job, 1, U64(Cnt) * sizeof(U64));
    FillStatus(Job, 2, Cnt);
    return ScheduleJob(&Job);
}

// ---- Trace and sampling --------------------------------------------------------------------------------

int CDevice::EnableSimpleInstTraceAsync() { return _ScheduleSimple(BT_ENABLE_SIMPLE_TRACE); }
int CDevice::DisableSimpleInstTraceAsync() { return _ScheduleSimple(BT_DISABLE_SIMPLE_TRACE); }
int CDevice::StartSimpleInstTraceAsync() { return _ScheduleSimple(BT_START_SIMPLE_TRACE); }
int CDevice::StopSimpleInstTraceAsync() { return _ScheduleSimple(BT_STOP_SIMPLE_TRACE); }
int CDevice::FlushSimpleInstTraceBufferAsync() { return _ScheduleSimple(BT_FLUSH_STRACE_BUFFER); }

int CDevice::ReadSimpleInstTraceAsync()
{
    DEVICE_JOB Job = MakeJob(BT_READ_SIMPLE_TRACE, TRACE_READ_INSTS);
    DEVJOB_AllocParam(Job, 0, TRACE_READ_INSTS * sizeof(U32));
    DEVJOB_AllocParam(Job, 1, TRACE_READ_INSTS * SIZE_OF_TIMESTAMP);
    return ScheduleJob(&Job);
}

int CDevice::ReadInstStatsAsync(U32 Cnt, const U32* paAddrRanges)
{
    if (!paAddrRanges) return -1;
    U64 NumCounters = 0;
    for (U32 i = 0; i < Cnt; i++) {
        const U32 Start = paAddrRanges[2 * i];
        const U32 End = paAddrRanges[2 * i + 1];
        NumCounters += (End > Start ? (End - Start) / 2 : 0) + 1;
    }
    DEVICE_JOB Job = MakeJob(BT_READ_INST_STATS, Cnt, NumCounters);
    DEVJOB_CopyParam(Job, 0, paAddrRanges, U64(Cnt) * 2 * sizeof(U32));
    DEVJOB_AllocParam(Job, 1, NumCounters * sizeof(U64));
    DEVJOB_AllocParam(Job, 2, NumCounters * sizeof(U64));
    return ScheduleJob(&Job);
}

int CDevice::StartSWOTraceAsync(U32 CpuHz, U32 SWOHz)
{
    return _ScheduleSimple(BT_START_SWO_TRACE, CpuHz, SWOHz, 1);
}
int CDevice::StopSWOTraceAsync(U32 PortMask) { return _ScheduleSimple(BT_STOP_SWO_TRACE, PortMask); }

int CDevice::ReadSWOTraceAsync()
{
    DEVICE_JOB Job = MakeJob(BT_READ_SWO_TRACE, 0, SWO_READ_SIZE);
    DEVJOB_AllocParam(Job, 0, SWO_READ_SIZE);
    return ScheduleJob(&Job);
}

int CDevice::GetCompatibleSWOSpeedsAsync(U32 CpuHz)
{
    DEVICE_JOB Job = MakeJob(BT_SWO_GET_COMPAT_SPEEDS, CpuHz, SWO_NUM_SPEEDS);
    DEVJOB_AllocParam(Job, 0, SWO_NUM_SPEEDS * sizeof(U32));
    return ScheduleJob(&Job);
}

int CDevice::StartMemlaneAsync() { return _ScheduleSimple(BT_START_MEMLANE); }
int CDevice::StopMemlaneAsync() { return _ScheduleSimple(BT_STOP_MEMLANE); }

int CDevice::ReadMemlaneAsync()
{
    DEVICE_JOB Job = MakeJob(BT_READ_MEMLANE, 0, MEMLANE_READ_SIZE);
    DEVJOB_AllocParam(Job, 0, MEMLANE_READ_SIZE);
    return ScheduleJob(&Job);
}

int CDevice::WriteMemlaneAsync(U32 NumBytes, const void* pData)
{
    DEVICE_JOB Job = MakeJob(BT_WRITE_MEMLANE, 0, NumBytes);
    DEVJOB_CopyParam(Job, 0, pData, NumBytes);
    return ScheduleJob(&Job);
}

int CDevice::StartHSSAsync(U32 Cnt, const U32* paAddrRanges, int interval_us, int Flags)
{
    return _ScheduleList(BT_START_HSS, Cnt, paAddrRanges, 2 * sizeof(U32), U64(I64(interval_us)), U64(I64(Flags)));
}
int CDevice::StopHSSAsync() { return _ScheduleSimple(BT_STOP_HSS); }

int CDevice::ReadHSSAsync()
{
    DEVICE_JOB Job = MakeJob(BT_READ_HSS, HSS_READ_SIZE);
    DEVJOB_AllocParam(Job, 0, HSS_READ_SIZE);
    return ScheduleJob(&Job);
}

int CDevice::StartPowerTraceAsync(U32 ChannelMask, U32 FreqHz)
{
    DEVICE_JOB Job = MakeJob(BT_START_POWER_TRACE, ChannelMask, FreqHz, 2, 1);
    return ScheduleJob(&Job);
}
int CDevice::StopPowerTraceAsync() { return _ScheduleSimple(BT_STOP_POWER_TRACE); }

int CDevice::ReadPowerTraceAsync()
{
    DEVICE_JOB Job = MakeJob(BT_READ_POWER_TRACE, POWER_READ_SAMPLES);
    DEVJOB_AllocParam(Job, 0, POWER_READ_SAMPLES * sizeof(U64));
    return ScheduleJob(&Job);
}
int CDevice::FlushPowerTraceAsync() { return _ScheduleSimple(BT_FLUSH_POWER_TRACE); }

// ---- Configuration and state ---------------------------------------------------------------------------

int CDevice::ConfigureAsync(const char* sXmlConfigStr)
{
    DEVICE_JOB Job = MakeJob(BT_CONFIGURE);
    DEVJOB_CopyText(Job, 0, sXmlConfigStr);
    return ScheduleJob(&Job);
}

int CDevice::SetConfigParamAsync(DEV_CONFIG_PARAMS Id, int Value)
{
    if (Id >= DCP_NUM_INT_PARAMS) {
        LogWarnMsg("Unknown configuration parameter with ID %d", int(Id));
        return -1;
    }
    return _ScheduleSimple(BT_SET_CONFIG_PARAM, Id, U64(I64(Value)));
}

int CDevice::SetConfigParamAsync(DEV_CONFIG_PARAMS Id, const char* sValue)
{
    if (Id < DCP_FIRST_STRING) {
        LogWarnMsg("Unknown configuration parameter with ID %d", int(Id));
        return -1;
    }
    if (!sValue) {
        LogWarnMsg("Invalid configuration parameter string value");
        return -1;
    }
    DEVICE_JOB Job = MakeJob(BT_SET_CONFIG_PARAM, Id);
    DEVJOB_CopyText(Job, 0, sValue);
    return ScheduleJob(&Job);
}

int CDevice::GetDeviceInfoAsync(const char* sDeviceName)
{
    DEVICE_JOB Job = MakeJob(BT_GET_DEVICE_INFO);
    DEVJOB_CopyText(Job, 0, sDeviceName);
    return ScheduleJob(&Job);
}

int CDevice::MeasureCoreSpeedAsync() { return _ScheduleSimple(BT_MEASURE_CORE_SPEED); }
int CDevice::ResetTargetExecStateAsync() { return _ScheduleSimple(BT_RESET_TARGET_EXEC_STATE); }
int CDevice::SetTargetExecStateAsync(U64 PC, U64 SP) { return _ScheduleSimple(BT_SET_TARGET_EXEC_STATE, PC, SP); }
int CDevice::SetResetStateAsync() { return _ScheduleSimple(BT_SET_TARGET_EXEC_STATE, 0, 0, 1); }

int CDevice::SetSemihostingInputTextAsync(U32 StrLen, const char* sText)
{
    DEVICE_JOB Job = MakeJob(BT_SET_SH_INPUT_TEXT, StrLen);
    DEVJOB_CopyText(Job, 0, sText);
    return ScheduleJob(&Job);
}
