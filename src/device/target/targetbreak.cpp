// CDeviceTarget: instruction breakpoints. Keeps the list and the library in step.
#include "core/host/corecalls.h"
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"

namespace {
U32 TypeWord(BP_TYPES Type)
{
    switch (Type) {
    case BP_TYPE_ANY: return BRYLLO_BP_TYPE_ANY;
    case BP_TYPE_HARD: return BRYLLO_BP_TYPE_HARD;
    default: return BRYLLO_BP_TYPE_SOFT;
    }
}

BP_TYPES ImplType(U32 ImpFlags)
{
    if (ImpFlags & BRYLLO_BP_IMP_SOFT_FLASH) return BP_TYPE_FLASH;
    if (ImpFlags & BRYLLO_BP_IMP_SOFT_RAM) return BP_TYPE_RAM;
    if (ImpFlags & BRYLLO_BP_IMP_HARD) return BP_TYPE_HARD;
    if (ImpFlags & BRYLLO_BP_IMP_PENDING) return BP_TYPE_PENDING;
    return BP_TYPE_HARD;
}
} // namespace

BP CDeviceTarget::GetBreakpoint(U32 Addr) const
{
    BP Bp = Lists.BpListGet(Addr);
    if (Bp.Valid || _State().HiddenBPAddr != Addr) return Bp;
    Bp.Addr = Addr;
    Bp.Valid = 1;
    Bp.State = BP_STATE_ON_HIDDEN;
    Bp.Type = BP_TYPE_ANY;
    Bp.ImplType = BP_TYPE_HARD;
    return Bp;
}

int CDeviceTarget::SetBreakpoint(U32 Addr, BP_STATES State, BP_TYPES Type)
{
    CDevice& Dev = _Dev();
    if (State == BP_STATE_OFF) return ClearBreakpoint(Addr);

    U32 NewHandle = 0;
    if (_State().Connected) {
        bool IsSet = false;
        bool WasCleared = false;
        if (BRYLLOARM_FindBP(Addr) > 0) {
            const BP Old = GetBreakpoint(Addr);
            IsSet = State != BP_STATE_DISABLED && Type == Old.Type;
            if (!IsSet) {
                if (ClearBreakpoint(Addr) < 0) {
                    Dev.LogErrorMsg("SetBreakpoint: BRYLLO API call failed");
                    return -1;
                }
                WasCleared = Old.Valid && Old.State != BP_STATE_ON_HIDDEN;
            }
        }
        if (!IsSet && (State == BP_STATE_ON || State == BP_STATE_ON_HIDDEN)) {
            const int Handle = BRYLLOARM_SetBPEx(Addr, TypeWord(Type) | Core_GetBPMode(Addr));
            if (Handle == 0) {
                Dev.LogErrorMsg("SetBreakpoint: BRYLLO API call failed");
                if (!WasCleared) return -1;
                // The user's breakpoint is no longer in the target, but not forgotten.
                return Lists.BpListInsert(Addr, BP_STATE_DISABLED, Type);
            }
            NewHandle = U32(Handle);
        }
    }
    if (State == BP_STATE_ON_HIDDEN) {
        _State().HiddenBPAddr = Addr;
        return 0;
    }
    if (Lists.BpListInsert(Addr, State, Type) < 0) {
        // What has no entry would never be cleared again.
        if (NewHandle) BRYLLOARM_ClrBPEx(NewHandle);
        Dev.LogErrorMsg("breakpoint list full.");
        return -1;
    }
    return 0;
}

int CDeviceTarget::SetBreakpoints(U32 Cnt, const U32* paAddrs, BP_STATES State, BP_TYPES Type)
{
    int Num = 0;
    for (U32 i = 0; i < Cnt; i++) Num += SetBreakpoint(paAddrs[i], State, Type) == 0;
    return Num;
}

int CDeviceTarget::ClearBreakpoint(U32 Addr)
{
    if (_State().Connected) {
        const int Handle = BRYLLOARM_FindBP(Addr);
        if (Handle > 0 && BRYLLOARM_ClrBPEx(U32(Handle)) != 0) {
            _Dev().LogWarnMsg("ClearBreakpoint: BRYLLO API call failed");
            return -1;
        }
    }
    Lists.BpListRemove(Lists.BpListFind(Addr));
    if (_State().HiddenBPAddr == Addr) _State().HiddenBPAddr = ADDR64_NONE;
    return 0;
}

int CDeviceTarget::ClearBreakpoints(U32 Cnt, const U32* paAddrs)
{
    int Num = 0;
    for (U32 i = 0; i < Cnt; i++) Num += ClearBreakpoint(paAddrs[i]) == 0;
    return Num;
}

int CDeviceTarget::ClearAllBreakpoints()
{
    if (_State().Connected && BRYLLOARM_ClrBPEx(BRYLLO_HANDLE_ALL) != 0) {
        _Dev().LogWarnMsg("ClearAllBreakpoints: BRYLLO API call failed");
        return -1;
    }
    Lists.BpListClear();
    _State().HiddenBPAddr = ADDR64_NONE;
    return 0;
}

int CDeviceTarget::ClearAllBreakpoints(BP_STATES State)
{
    if (State == BP_STATE_ON_HIDDEN && _State().HiddenBPAddr != ADDR64_NONE) {
        RemoveHiddenBreakpoint();
        return 1;
    }
    BP aBp[BP_LIST_SIZE];
    const U32 Cnt = Lists.BpListCopy(aBp);
    int Num = 0;
    for (U32 i = 0; i < Cnt; i++)
        if (aBp[i].State == U32(State)) Num += ClearBreakpoint(aBp[i].Addr) == 0;
    return Num;
}

int CDeviceTarget::ClearBreakpointsBeforeFlashDL()
{
    m_NumDownloadBPs = Lists.BpListCopy(m_aDownloadBP);
    if (m_NumDownloadBPs == 0) return 0;
    ClearAllBreakpoints();
    Lists.BpListAssign(m_aDownloadBP, m_NumDownloadBPs);
    return 0;
}

int CDeviceTarget::RestoreBreakpointsAfterFlashDL()
{
    if (m_NumDownloadBPs == 0) return 0;
    m_NumDownloadBPs = 0;
    BP aBp[BP_LIST_SIZE];
    const U32 Cnt = Lists.BpListCopy(aBp);
    for (U32 i = 0; i < Cnt; i++)
        if (SetBreakpoint(aBp[i].Addr, BP_STATES(aBp[i].State), BP_TYPES(aBp[i].Type)) < 0)
            _Dev().LogWarnMsg("Failed to restore breakpoint following flash download at address %X", aBp[i].Addr);
    return 0;
}

int CDeviceTarget::UpdateBPImplTypes()
{
    BP aBp[BP_LIST_SIZE];
    const U32 Cnt = Lists.BpListCopy(aBp);
    for (U32 i = 0; i < Cnt; i++) {
        BP_TYPES Type = BP_TYPE_HARD;
        const int Handle = _State().Connected ? BRYLLOARM_FindBP(aBp[i].Addr) : 0;
        if (Handle > 0) {
            BRYLLOARM_BP_INFO Info = {};
            Info.SizeOfStruct = sizeof Info;
            Info.Handle = U32(Handle);
            if (BRYLLOARM_GetBPInfoEx(-1, &Info) >= 0) Type = ImplType(Info.ImpFlags);
        }
        Lists.BpListSetImplType(aBp[i].Addr, Type);
    }
    return 0;
}
