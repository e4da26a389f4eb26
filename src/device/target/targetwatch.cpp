// CDeviceTarget: data breakpoints and tracepoints.
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"

#include <algorithm>

namespace {
constexpr U8 ACCESS_MASK_DIRECTION = 1; ///< direction does not matter
constexpr U8 ACCESS_MASK_SIZE = 6;      ///< size does not matter

BRYLLOARM_DATA_EVENT MakeEvent(const WP& Wp)
{
    BRYLLOARM_DATA_EVENT Event = {};
    Event.SizeOfStruct = sizeof Event;
    Event.Type = 1;
    Event.Addr = Wp.Addr;
    Event.AddrMask = Wp.AddrMask;
    Event.Data = Wp.MatchValue;
    Event.DataMask = U32(Wp.ValueMask);
    Event.Access = Wp.AccessType == AT_WRITE_ONLY;
    if (Wp.AccessSize == AW_HALF_WORD || Wp.AccessSize == AW_WORD) Event.Access |= U8(Wp.AccessSize);
    Event.AccessMask = BRYLLO_ACCESS_MASK_SET;
    if (Wp.AccessType == AT_READ_WRITE) Event.AccessMask |= ACCESS_MASK_DIRECTION;
    if (Wp.AccessSize == AW_ANY) Event.AccessMask |= ACCESS_MASK_SIZE;
    return Event;
}

/// The library widens the address mask to the size of the access.
U32 MaskInLibrary(const WP& Wp)
{
    const U32 Size = Wp.AccessSize == AW_HALF_WORD ? 1 : Wp.AccessSize == AW_WORD ? 3 : 0;
    return Wp.AddrMask | Size;
}

struct ERROR_BIT {
    U32 Bit;
    const char* sText;
};
constexpr ERROR_BIT aErrorBit[] = {
    {0, "no more events"},
    {1, "no more address comparision units"},
    {2, "no more data comparision units"},
    {5, "address mask invalid or not supported by target device"},
    {7, "access mask invalid or not supported by target device"},
    {6, "value mask invalid or not supported by target device"},
};
} // namespace

const char* CDeviceTarget::GetWatchpointErrorText(U32 ErrorCode)
{
    if (ErrorCode == 0x80000000u) return "unknown error";
    for (const ERROR_BIT& Row : aErrorBit)
        if (ErrorCode & (1u << Row.Bit)) return Row.sText;
    return "";
}

int CDeviceTarget::_FindDataEvent(const WP& Wp, U32* pHandle)
{
    const BRYLLOARM_DATA_EVENT Event = MakeEvent(Wp);
    const int Num = BRYLLOARM_GetWPInfoEx(-1, nullptr);
    for (int i = 0; i < Num; i++) {
        BRYLLOARM_WP_INFO Info = {};
        Info.SizeOfStruct = sizeof Info;
        if (BRYLLOARM_GetWPInfoEx(i, &Info) < 0) continue;
        const bool SameAddr = Info.Addr == Event.Addr && Info.AddrMask == MaskInLibrary(Wp);
        const bool SameData = Info.Data == Event.Data && Info.DataMask == Event.DataMask;
        if (SameAddr && SameData && U8(Info.Access) == Event.Access && U8(Info.AccessMask) == Event.AccessMask) {
            *pHandle = Info.Handle;
            return 0;
        }
    }
    return -1;
}

int CDeviceTarget::SetWatchpoint(WP Wp)
{
    if (Wp.State == BP_STATE_OFF) return ClearWatchpoint(Wp);
    Wp.ErrorCode = 0;
    if (_State().Connected) {
        U32 Handle = 0;
        const bool IsFound = _FindDataEvent(Wp, &Handle) == 0;
        if (!IsFound && (Wp.State == BP_STATE_ON || Wp.State == BP_STATE_ON_HIDDEN)) {
            const BRYLLOARM_DATA_EVENT Event = MakeEvent(Wp);
            const int Answer = BRYLLOARM_SetDataEvent(&Event, &Handle);
            if (Answer < 0) {
                Wp.State = BP_STATE_DISABLED;
                Wp.ErrorCode = U32(Answer);
                _Dev().LogWarnMsg("SetWatchpoint: BRYLLO API call failed with error code %d", Answer);
            }
        } else if (IsFound && Wp.State == BP_STATE_DISABLED) {
            const int Answer = BRYLLOARM_ClrDataEvent(Handle);
            if (Answer != 0) {
                Wp.ErrorCode = U32(Answer);
                _Dev().LogWarnMsg("SetWatchpoint: BRYLLO API call failed");
            }
        }
    }
    if (Lists.WpListInsert(Wp) < 0) {
        U32 Handle = 0;
        if (_State().Connected && _FindDataEvent(Wp, &Handle) == 0) BRYLLOARM_ClrDataEvent(Handle);
        _Dev().LogWarnMsg("data breakpoint list full");
        return -1;
    }
    return int(Wp.ErrorCode);
}

int CDeviceTarget::SetWatchpoints(U32 Cnt, const WP* paWPs)
{
    int Num = 0;
    for (U32 i = 0; i < std::min(Cnt, BP_LIST_SIZE); i++) Num += SetWatchpoint(paWPs[i]) == 0;
    return Num;
}

int CDeviceTarget::ClearWatchpoint(const WP& Wp)
{
    U32 Handle = 0;
    if (_State().Connected && _FindDataEvent(Wp, &Handle) == 0 && BRYLLOARM_ClrDataEvent(Handle) != 0) {
        _Dev().LogWarnMsg("ClearWatchpoint: BRYLLO API call failed");
        return -1;
    }
    Lists.WpListRemove(Lists.WpListFind(Wp));
    return 0;
}

int CDeviceTarget::ClearWatchpoints(U32 Cnt, const WP* paWPs)
{
    int Num = 0;
    for (U32 i = 0; i < Cnt; i++) Num += ClearWatchpoint(paWPs[i]) == 0;
    return Num;
}

int CDeviceTarget::ClearAllWatchpoints()
{
    if (_State().Connected && BRYLLOARM_ClrDataEvent(BRYLLO_HANDLE_ALL) != 0) {
        _Dev().LogWarnMsg("ClearAllWatchpoints: BRYLLO API call failed");
        return -1;
    }
    Lists.WpListClear();
    return 0;
}

int CDeviceTarget::ClearAllWatchpoints(BP_STATES State)
{
    WP aWp[BP_LIST_SIZE];
    const U32 Cnt = Lists.WpListCopy(aWp);
    int Num = 0;
    for (U32 i = 0; i < Cnt; i++)
        if (aWp[i].State == U32(State)) Num += ClearWatchpoint(aWp[i]) == 0;
    return Num;
}

// ---- Tracepoints ---------------------------------------------------------------------------------------

int CDeviceTarget::UpdateTraceEventsBryllo()
{
    if (!_State().Connected) return -1;
    if (BRYLLO_STRACE_Control(2, nullptr) < 0) return -1;
    TP aTp[BP_LIST_SIZE];
    const U32 Cnt = Lists.TpListCopy(aTp);
    int Answers = 0;
    for (U32 i = 0; i < Cnt; i++) {
        if (aTp[i].State != BP_STATE_ON) continue;
        BRYLLO_STRACE_EVENT Event = {};
        Event.SizeOfStruct = sizeof Event;
        // The library counts the operations the other way round.
        Event.Op = aTp[i].Op == TP_OP_START ? 1 : 0;
        Event.Addr = aTp[i].Addr;
        Answers |= BRYLLO_STRACE_Control(0, &Event);
    }
    return Answers > 0 ? -1 : 0;
}

int CDeviceTarget::SetTracepoint(const TP& Tp)
{
    if (Tp.State == BP_STATE_OFF) return ClearTracepoint(Tp);
    const int Ret = Lists.TpListInsert(Tp);
    if (Ret < 0) _Dev().LogWarnMsg("data breakpoint list full");
    UpdateTraceEventsBryllo();
    return Ret;
}

int CDeviceTarget::SetTracepoints(U32 Cnt, const TP* paTps)
{
    int Num = 0;
    for (U32 i = 0; i < std::min(Cnt, BP_LIST_SIZE); i++) Num += SetTracepoint(paTps[i]) == 0;
    return Num;
}

int CDeviceTarget::ClearTracepoint(const TP& Tp)
{
    Lists.TpListRemove(Lists.TpListFind(Tp));
    UpdateTraceEventsBryllo();
    return 0;
}

int CDeviceTarget::ClearTracepoints(U32 Cnt, const TP* paTps)
{
    int Num = 0;
    for (U32 i = 0; i < Cnt; i++) Num += ClearTracepoint(paTps[i]) == 0;
    return Num;
}

int CDeviceTarget::ClearAllTracepoints()
{
    const int Ret = _State().Connected ? BRYLLO_STRACE_Control(2, nullptr) : 0;
    // A target without trace holds none of them.
    if (Ret != 0 && Ret != BRYLLO_ERR_NO_SERVICE) {
        _Dev().LogWarnMsg("ClearAllTracepoints: BRYLLO API call failed");
        return -1;
    }
    Lists.TpListClear();
    return 0;
}
