// C interface: run control, breakpoints, data events, registers.
#include "platform/probe/core/session.h"

using Probe::CCall;

extern "C" {

int BRYLLOARM_IsHalted(void)
{
    CCall Call("IsHalted", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().IsHalted()) : Call.Error();
}

int BRYLLOARM_Halt(void)
{
    CCall Call("Halt", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().Halt()) : Call.Error();
}

int BRYLLOARM_GoEx(U32 MaxEmulInsts, U32 Flags)
{
    (void)MaxEmulInsts;
    CCall Call("GoEx", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().Go((Flags & 1) != 0)) : Call.Error();
}

int BRYLLOARM_Step(void)
{
    CCall Call("Step", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().Step()) : Call.Error();
}

int BRYLLOARM_SetResetType(int Type)
{
    CCall Call("SetResetType", CCall::Nothing);
    return Call.Ok() ? Call.Done(Type == 0 ? 0 : int(BRYLLO_ERR_PARAM)) : Call.Error();
}

void BRYLLOARM_SetResetDelay(int DelayMS)
{
    // The core is halted by vector catch, before its first instruction: a delay has no effect.
    (void)DelayMS;
    CCall Call("SetResetDelay", CCall::Nothing);
}

int BRYLLOARM_Reset(void)
{
    CCall Call("Reset", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().Reset()) : Call.Error();
}

void BRYLLOARM_EnableSoftBPs(char Enable)
{
    CCall Call("EnableSoftBPs", CCall::Nothing);
    if (Call.Ok()) {
        Call.Backend().EnableSoftBPs(Enable != 0);
    }
}

int BRYLLOARM_FindBP(U32 Addr)
{
    CCall Call("FindBP", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().FindBP(Addr)) : Call.Error(0);
}

int BRYLLOARM_SetBPEx(U32 Addr, U32 TypeWord)
{
    CCall Call("SetBPEx", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().SetBP(Addr, TypeWord)) : Call.Error(0);
}

int BRYLLOARM_ClrBPEx(U32 Handle)
{
    CCall Call("ClrBPEx", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().ClrBP(Handle)) : Call.Error();
}

int BRYLLOARM_GetBPInfoEx(int Index, BRYLLOARM_BP_INFO* pInfo)
{
    CCall Call("GetBPInfoEx", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (!pInfo || pInfo->SizeOfStruct != sizeof(*pInfo)) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    return Call.Done(Call.Backend().GetBPInfo(Index, pInfo));
}

int BRYLLOARM_SetDataEvent(const BRYLLOARM_DATA_EVENT* pEvent, U32* pHandle)
{
    constexpr int Unspecified = INT32_MIN; // bit 31 alone: no reason that has a bit
    CCall Call("SetDataEvent", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error(Unspecified);
    }
    if (!pEvent || !pHandle || pEvent->SizeOfStruct != sizeof(*pEvent) || pEvent->Type != 1) {
        return Call.Done(Unspecified);
    }
    return Call.Done(Call.Backend().SetDataEvent(*pEvent, pHandle));
}

int BRYLLOARM_ClrDataEvent(U32 Handle)
{
    CCall Call("ClrDataEvent", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().ClrDataEvent(Handle)) : Call.Error();
}

int BRYLLOARM_GetWPInfoEx(int Index, BRYLLOARM_WP_INFO* pInfo)
{
    CCall Call("GetWPInfoEx", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (Index != -1 && (!pInfo || pInfo->SizeOfStruct != sizeof(*pInfo))) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    return Call.Done(Call.Backend().GetWPInfo(Index, pInfo));
}

int BRYLLOARM_ReadRegs(const U32* paRegIdx, U64* paValue, U8* paStatus, U32 NumRegs)
{
    CCall Call("ReadRegs", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (!paRegIdx || !paValue || !paStatus) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    return Call.Done(Call.Backend().ReadRegs(paRegIdx, paValue, paStatus, NumRegs));
}

int BRYLLOARM_WriteRegs(const U32* paRegIdx, const U64* paValue, U8* paStatus, U32 NumRegs)
{
    CCall Call("WriteRegs", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (!paRegIdx || !paValue || !paStatus) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    return Call.Done(Call.Backend().WriteRegs(paRegIdx, paValue, paStatus, NumRegs));
}

int BRYLLOARM_ReadCPReg(const char* sName, U64* pValue)
{
    CCall Call("ReadCPReg", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(sName && pValue ? Call.Backend().ReadCPReg(sName, pValue) : int(BRYLLO_ERR_PARAM));
}

int BRYLLOARM_WriteCPReg(const char* sName, U64 Value)
{
    CCall Call("WriteCPReg", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(sName ? Call.Backend().WriteCPReg(sName, Value) : int(BRYLLO_ERR_PARAM));
}

} // extern "C"
