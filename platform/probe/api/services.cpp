// C interface: SWO, memory buffers, sampling, power trace, instruction trace.
#include "platform/probe/core/session.h"

using Probe::CCall;

extern "C" {

int BRYLLOARM_SWO_Control(U32 Cmd, U32* pData)
{
    CCall Call("SWO_Control", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().SWOControl(Cmd, pData)) : Call.Error();
}

int BRYLLOARM_SWO_EnableTarget(U32 CpuHz, U32 SWOHz, int Mode, U32 PortMask)
{
    CCall Call("SWO_EnableTarget", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().SWOEnable(CpuHz, SWOHz, Mode, PortMask)) : Call.Error();
}

int BRYLLOARM_SWO_DisableTarget(U32 PortMask)
{
    CCall Call("SWO_DisableTarget", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().SWODisable(PortMask)) : Call.Error();
}

int BRYLLOARM_SWO_ReadStimulus(int Port, U8* pData, U32 NumBytes)
{
    CCall Call("SWO_ReadStimulus", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(pData ? Call.Backend().SWORead(Port, pData, NumBytes) : int(BRYLLO_ERR_PARAM));
}

int BRYLLOARM_SWO_GetCompatibleSpeeds(U32 CpuHz, U32 MaxSWOHz, U32* paSpeeds, U32 NumEntries)
{
    CCall Call("SWO_GetCompatibleSpeeds", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(paSpeeds ? Call.Backend().SWOSpeeds(CpuHz, MaxSWOHz, paSpeeds, NumEntries)
                              : int(BRYLLO_ERR_PARAM));
}

int BRYLLO_MEMLANE_Control(U32 Cmd, void* pData)
{
    (void)pData;
    CCall Call("MEMLANE_Control", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().MemlaneControl(Cmd)) : Call.Error();
}

int BRYLLO_MEMLANE_Read(U32 BufferIndex, void* pData, U32 NumBytes)
{
    CCall Call("MEMLANE_Read", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(pData ? Call.Backend().MemlaneRead(BufferIndex, pData, NumBytes)
                           : int(BRYLLO_ERR_PARAM));
}

int BRYLLO_MEMLANE_Write(U32 BufferIndex, const void* pData, U32 NumBytes)
{
    CCall Call("MEMLANE_Write", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(pData ? Call.Backend().MemlaneWrite(BufferIndex, pData, NumBytes)
                           : int(BRYLLO_ERR_PARAM));
}

int BRYLLO_HSS_Start(const BRYLLO_HSS_MEM_BLOCK* paBlocks, int NumBlocks, int PeriodUS, int Flags)
{
    CCall Call("HSS_Start", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error(BRYLLO_HSS_ERR_UNSPECIFIED);
    }
    return Call.Done(paBlocks ? Call.Backend().HSSStart(paBlocks, NumBlocks, PeriodUS, Flags)
                              : int(BRYLLO_HSS_ERR_UNSPECIFIED));
}

int BRYLLO_HSS_Stop(void)
{
    CCall Call("HSS_Stop", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().HSSStop()) : Call.Error();
}

int BRYLLO_HSS_Read(void* pData, U32 NumBytes)
{
    CCall Call("HSS_Read", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(pData ? Call.Backend().HSSRead(pData, NumBytes) : int(BRYLLO_ERR_PARAM));
}

int BRYLLO_POWERTRACE_Control(U32 Cmd, const void* pIn, void* pOut)
{
    CCall Call("POWERTRACE_Control", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().PowerControl(Cmd, pIn, pOut)) : Call.Error();
}

int BRYLLO_POWERTRACE_Read(U64* paSamples, U32 NumSamples)
{
    CCall Call("POWERTRACE_Read", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(paSamples ? Call.Backend().PowerRead(paSamples, NumSamples) : int(BRYLLO_ERR_PARAM));
}

int BRYLLO_STRACE_Config(const char* sConfig)
{
    CCall Call("STRACE_Config", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(sConfig ? Call.Backend().TraceConfig(sConfig) : int(BRYLLO_ERR_PARAM));
}

int BRYLLO_STRACE_Start(void)
{
    CCall Call("STRACE_Start", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().TraceStart()) : Call.Error();
}

int BRYLLO_STRACE_Stop(void)
{
    CCall Call("STRACE_Stop", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().TraceStop()) : Call.Error();
}

int BRYLLO_STRACE_Read(U32* paPCs, U32 NumInsts)
{
    CCall Call("STRACE_Read", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(paPCs ? Call.Backend().TraceRead(paPCs, NumInsts, nullptr, nullptr)
                           : int(BRYLLO_ERR_PARAM));
}

int BRYLLO_STRACE_ReadEx(U32* paPCs, U32 NumInsts, BRYLLO_STRACE_TIMESTAMP_INFO* paTS, int* pNumTS, U32 Flags)
{
    (void)Flags;
    CCall Call("STRACE_ReadEx", CCall::Connected);
    if (pNumTS) {
        *pNumTS = 0;
    }
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(paPCs && paTS && pNumTS ? Call.Backend().TraceRead(paPCs, NumInsts, paTS, pNumTS)
                                             : int(BRYLLO_ERR_PARAM));
}

int BRYLLO_STRACE_Control(U32 Cmd, void* pData)
{
    CCall Call("STRACE_Control", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().TraceControl(Cmd, pData)) : Call.Error();
}

int BRYLLO_STRACE_GetInstStats(BRYLLO_STRACE_INST_STAT* paStat, U32 Addr, U32 NumItems, U32 SizeOfItem,
                               U32 Type)
{
    CCall Call("STRACE_GetInstStats", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (!paStat || SizeOfItem != sizeof(*paStat) || Type != 9) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    return Call.Done(Call.Backend().TraceStats(&paStat->Count, Addr, NumItems));
}

} // extern "C"
