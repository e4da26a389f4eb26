// CDeviceServices: simple instruction trace.
#include "device/queue/device.h"
#include "device/target/deviceservices.h"
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"
#include "project/settings/sysvars.h"

#include <algorithm>

namespace {
enum TRACE_SOURCES : I64 { TRACE_PINS = 1, TRACE_BUFFER = 2, TRACE_SWO = 3 };
constexpr int NUM_PINS = 4;
constexpr I64 DEFAULT_DELAY = 2'000; ///< ps
constexpr U32 MAX_READ_INSTS = 100'000;
constexpr U64 MAX_STAT_BYTES = 1'000'000'000;

I64 GetSource()
{
    return GetVarValue(VAR_TRACE_SOURCE);
}
DEVICE_CAPABILITIES CapabilityOf(I64 Source)
{
    return Source == TRACE_PINS ? CAP_TRACE_PINS : Source == TRACE_BUFFER ? CAP_TRACE_BUFFER : CAP_TRACE_SWO;
}
const char* RefusalOf(I64 Source)
{
    switch (Source) {
    case TRACE_PINS: return "hardware does not support tracing via trace pins";
    case TRACE_BUFFER: return "hardware does not support tracing via trace buffer";
    default: return "hardware does not support tracing via SWO";
    }
}
} // namespace

CDeviceServices& CDeviceServices::Get()
{
    // Never destroyed: the worker may still be in it when static objects go.
    static auto* pServices = new CDeviceServices;
    return *pServices;
}

CDevice& CDeviceServices::_Dev() const
{
    return CDevice::Get();
}

DEVICE_STATE& CDeviceServices::_State() const
{
    return CDevice::Get().State;
}

int CDeviceServices::_Warn(const char* sText, int Ret)
{
    _Dev().LogWarnMsg("%s", sText);
    return Ret;
}

int CDeviceServices::_FailTrace(DEVICE_ERR_MSGS Slot, const char* sText)
{
    _Dev().SetErrorMsg(Slot, sText);
    return -1;
}

bool CDeviceServices::_IsSourceOffered() const
{
    return _Dev().GetCapability(CapabilityOf(GetSource())) != 0;
}

int CDeviceServices::EnableSimpleInstTrace()
{
    DEVICE_STATE& State = _State();
    State.InstTraceEnabled = 1;
    if (!State.Connected || State.InstTraceStarted) return 0;
    return _Dev().StartSimpleInstTraceAsync();
}

int CDeviceServices::DisableSimpleInstTrace()
{
    if (!_State().InstTraceEnabled) {
        _Dev().LogDebugMsg("DisableSimpleInstTrace: simple instruction trace already disabled");
        return -1;
    }
    _State().InstTraceEnabled = 0;
    return _State().Connected ? _Dev().StopSimpleInstTraceAsync() : 0;
}

int CDeviceServices::StartSimpleInstTrace()
{
    DEVICE_STATE& State = _State();
    const I64 Source = GetSource();
    if (!State.Connected) return _FailTrace(DEV_ERR_INST_TRACE, "not connected");
    if (!_IsSourceOffered()) return _FailTrace(DEV_ERR_INST_TRACE, RefusalOf(Source));
    if (!State.InstTraceEnabled || (Source != TRACE_PINS && Source != TRACE_BUFFER))
        return _FailTrace(DEV_ERR_INST_TRACE, "instruction tracing disabled");
    if (State.InstTraceStarted) {
        _Dev().LogDebugMsg("StartSimpleInstTrace: trace already started");
        return 0;
    }
    ApplySimpleInstTraceConfig();
    const int Answer = BRYLLO_STRACE_Start();
    if (Answer < 0) {
        BRYLLO_STRACE_Stop();
        OnStartSimpleInstTraceFailed();
        return Answer;
    }
    State.InstTraceStarted = 1;
    State.InstTraceUsed = 1;
    return 0;
}

void CDeviceServices::OnStartSimpleInstTraceFailed()
{
    const DEVICE_CAPABILITIES Cap = CapabilityOf(GetSource());
    auto& aFlag = _State().aCapability;
    if (aFlag[Cap] != 1) return;
    for (const DEVICE_CAPABILITIES Lost : {Cap, CAP_TRACE_SWO}) {
        aFlag[Lost] = 0;
        _Dev().PostDeviceEvent(DEV_EVENT_CAPABILITY, Lost, 0);
    }
    _Dev().SetErrorMsg(DEV_ERR_INST_TRACE, RefusalOf(GetSource()));
}

int CDeviceServices::ApplySimpleInstTraceConfig()
{
    CDeviceTarget& Target = CDeviceTarget::Get();
    const int Width = int(GetVarValue(VAR_TRACE_PORT_WIDTH));
    BRYLLO_STRACE_Config(QByteArray("PortWidth=").append(QByteArray::number(Width)).constData());

    const int NumUsed = Width == 1 || Width == 2 ? Width : NUM_PINS;
    I64 aDelay[NUM_PINS];
    for (int i = 0; i < NUM_PINS; i++) aDelay[i] = GetVarValue(VAR_TRACE_PORT_DELAY_0 + i);
    const bool AreDefault = std::all_of(aDelay, aDelay + NumUsed, [](I64 d) { return d == DEFAULT_DELAY; });
    if (!AreDefault || !m_DelaysWereDefault) {
        QByteArray sCmd = "TraceSampleAdjust ";
        if (std::all_of(aDelay, aDelay + NumUsed, [&](I64 d) { return d == aDelay[0]; })) {
            sCmd += "TD = " + QByteArray::number(qlonglong(aDelay[0]));
        } else {
            for (int i = 0; i < NUM_PINS; i++) {
                sCmd += "TD" + QByteArray::number(i) + " = " + QByteArray::number(qlonglong(aDelay[i]));
                if (i + 1 < NUM_PINS) sCmd += ' ';
            }
        }
        Target.ExecBrylloCmd(sCmd.constData(), nullptr, 0, true);
    }
    m_DelaysWereDefault = AreDefault;

    const bool IsPins = GetSource() == TRACE_PINS;
    Target.ExecBrylloCmd(IsPins ? "SelectTraceSource=1" : "SelectTraceSource=0", nullptr, 0, true);
    const bool HasStamps = GetVarValue(VAR_TRACE_TIMESTAMPS_ENABLED) != 0;
    Target.ExecBrylloCmd(HasStamps ? "TRACE_SetEnableTimestamps=1" : "TRACE_SetEnableTimestamps=0", nullptr, 0, true);
    return 0;
}

int CDeviceServices::StopSimpleInstTrace()
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) return _Warn("StopSimpleInstTrace: not connected");
    if (!_IsSourceOffered()) return _FailTrace(DEV_ERR_INST_TRACE, RefusalOf(GetSource()));
    if (!State.InstTraceStarted) return _Warn("StopSimpleInstTrace: instruction trace not started");
    if (State.ConnectionLost) return -1;
    const int Answer = BRYLLO_STRACE_Stop();
    State.InstTraceStarted = 0;
    return Answer < 0 ? Answer : 0;
}

int CDeviceServices::FlushSimpleInstTraceBuffer()
{
    const DEVICE_STATE& State = _State();
    if (!State.Connected) return -1;
    if (!_IsSourceOffered()) return _FailTrace(DEV_ERR_INST_TRACE, RefusalOf(GetSource()));
    if (GetSource() == TRACE_SWO)
        return _FailTrace(DEV_ERR_INST_TRACE, "Instruction trace cannot be used while SWO trace is active");
    if (!State.InstTraceUsed) return -1;
    BRYLLO_STRACE_Stop();
    const int Answer = BRYLLO_STRACE_Start();
    if (!State.InstTraceStarted) BRYLLO_STRACE_Stop();
    return Answer < 0 ? -1 : 0;
}

int CDeviceServices::ReadSimpleInstTrace(U32 NumInsts, U32* paPCs, void* pOutInfo, int* pOutNumTS)
{
    const DEVICE_STATE& State = _State();
    if (NumInsts < 1 || NumInsts > MAX_READ_INSTS || !paPCs)
        return _FailTrace(DEV_ERR_INST_TRACE, "Invalid read size");
    if (!State.Connected) return -1;
    if (!State.InstTraceStarted) return _Warn("ReadSimpleInstTrace: instruction trace not started");
    if (!_IsSourceOffered()) return _FailTrace(DEV_ERR_INST_TRACE, RefusalOf(GetSource()));
    if (!State.InstTraceEnabled) return _Warn("ReadSimpleInstTrace: instruction trace diasabled");
    if (!CDeviceTarget::Get().IsTargetHalted()) return _Warn("ReadSimpleInstTrace :target not halted");
    *pOutNumTS = 0;
    const int Answer =
        pOutInfo ? BRYLLO_STRACE_ReadEx(paPCs, NumInsts, static_cast<BRYLLO_STRACE_TIMESTAMP_INFO*>(pOutInfo), pOutNumTS, 0)
                 : BRYLLO_STRACE_Read(paPCs, NumInsts);
    if (Answer < 0) return _FailTrace(DEV_ERR_INST_TRACE, "BRYLLO API call failed");
    if (Answer == 0) _Dev().LogDebugMsg("ReadSimpleInstTrace: 0 instructions read");
    // Nothing beyond the buffers, whatever the library says.
    *pOutNumTS = std::clamp(*pOutNumTS, 0, int(NumInsts));
    return std::min(Answer, int(NumInsts));
}

int CDeviceServices::ReadSimpleTraceInstStats(U32 nAddrRanges, const U32* paAddrRanges, U32 BufSize, U64* paFetchStat,
                                              U64* paSkipStat, U64* pOutTotalFetchCnt, U64* pOutTotalSkipCnt)
{
    const DEVICE_STATE& State = _State();
    if (pOutTotalFetchCnt) *pOutTotalFetchCnt = 0;
    if (pOutTotalSkipCnt) *pOutTotalSkipCnt = 0;
    if (!paAddrRanges || !paFetchStat || !paSkipStat || !pOutTotalFetchCnt || !pOutTotalSkipCnt) return -1;
    if (nAddrRanges == 0) return _Warn("ReadSimpleInstTraceInstStats: invalid request size");
    if (!State.Connected) return _Warn("ReadSimpleInstTraceInstStats: not connected");
    if (!State.InstTraceStarted) return _Warn("ReadSimpleInstTraceInstStats: instruction trace not started");
    if (!State.aCapability[CAP_STREAMING_TRACE])
        return _FailTrace(DEV_ERR_TRACE_STATS, "hardware does not support streaming trace");

    U32 NumWritten = 0;
    for (U32 i = 0; i < nAddrRanges; i++) {
        const U32 Start = paAddrRanges[2 * i];
        const U32 End = paAddrRanges[2 * i + 1];
        if (Start == ADDR_NONE || End < Start || End - Start < 2) continue;
        const U64 NumHalfWords = (End - Start) / 2;
        const U64 NumAsked = 2 * NumHalfWords + 2;
        if (NumAsked * sizeof(U64) >= MAX_STAT_BYTES) {
            _Dev().LogWarnMsg("LTRACE read request exceeds buffer size limit @ %x to %X", Start, End);
            continue;
        }
        if (m_aStat.size() < NumAsked) m_aStat.resize(NumAsked);
        static_assert(sizeof(BRYLLO_STRACE_INST_STAT) == sizeof(U64));
        const int Answer = BRYLLO_STRACE_GetInstStats(reinterpret_cast<BRYLLO_STRACE_INST_STAT*>(m_aStat.data()), Start,
                                                      U32(NumAsked), sizeof(U64), 9);
        // Both halves hold their counters and a total: less than four items are no counters.
        const U64 Half = Answer < 1 ? 0 : std::min(U64(Answer), NumAsked) / 2;
        if (Half < 1) continue;
        const U32 Num = U32(std::min(Half - 1, NumHalfWords));
        *pOutTotalFetchCnt = m_aStat[Num];
        *pOutTotalSkipCnt = m_aStat[2 * Num + 1];
        if (U64(NumWritten) + Num >= BufSize) {
            _FailTrace(DEV_ERR_TRACE_STATS, "request exceeds output buffer size");
            break;
        }
        std::copy_n(m_aStat.begin(), Num, paFetchStat + NumWritten);
        std::copy_n(m_aStat.begin() + Num + 1, Num, paSkipStat + NumWritten);
        NumWritten += Num;
    }
    return int(NumWritten);
}
