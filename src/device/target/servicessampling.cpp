// CDeviceServices: high speed sampling of memory, and the power trace.
#include "app/services/log.h"
#include "app/services/messages.h"
#include "app/services/messagetable.h"
#include "device/queue/device.h"
#include "device/target/deviceservices.h"
#include "platform/probe/bryllo.h"

#include <algorithm>

namespace {
constexpr U32 MAX_HSS_RANGES = 511;
constexpr U32 MICROSECOND_STAMPS = 1 << 1; ///< in the capabilities and in the set-up of the power trace
enum POWER_CMDS : U32 { POWER_SETUP = 0, POWER_START = 1, POWER_STOP = 2, POWER_FLUSH = 3, POWER_CAPS = 4 };

const char* HSSErrorText(int Answer)
{
    switch (Answer) {
    case BRYLLO_HSS_ERR_NO_MEMORY:
        return "Failed to allocate memory for one or more buffers on the debug probe side";
    case BRYLLO_HSS_ERR_TOO_MANY_BLOCKS: return "Too many memory blocks specified";
    case BRYLLO_HSS_ERR_NO_SERVICE: return "Target hardware does not support high speed sampling";
    default: return "Unspecified error";
    }
}

/// "2500000 Hz", "20 kHz", "3 MHz": the largest unit that leaves a whole number, kHz below a megahertz only.
QByteArray FrequencyText(U32 Hz)
{
    const char* sUnit = "Hz";
    U32 Value = Hz;
    if (Hz > 0 && Hz % 1'000'000 == 0) {
        Value = Hz / 1'000'000;
        sUnit = "MHz";
    } else if (Hz >= 1'000 && Hz < 1'000'000 && Hz % 1'000 == 0) {
        Value = Hz / 1'000;
        sUnit = "kHz";
    }
    return QByteArray::number(Value) + ' ' + sUnit;
}
} // namespace

// ---- High speed sampling -------------------------------------------------------------------------------

int CDeviceServices::StartHSS(U32 Cnt, const U32* paAddrRanges, int interval_us, int Flags)
{
    if (!paAddrRanges || Cnt == 0 || Cnt > MAX_HSS_RANGES) return _Warn("StartHSS: invalid address range input");
    if (!_State().Connected) return _Warn("StartHSS: not connected");
    std::vector<BRYLLO_HSS_MEM_BLOCK> aBlock(Cnt);
    for (U32 i = 0; i < Cnt; i++) {
        const U32 Start = paAddrRanges[2 * i];
        const U32 End = paAddrRanges[2 * i + 1];
        aBlock[i] = {Start, End > Start ? End - Start : 0, 0, 0};
    }
    _Dev().LogInfoMsg("Starting HSS");
    const int Answer = BRYLLO_HSS_Start(aBlock.data(), int(Cnt), std::max(interval_us, 0), Flags);
    if (Answer != 0) {
        _Dev().LogWarnMsg("StartHSS: %s", HSSErrorText(Answer));
        return -1;
    }
    _State().HSSStarted = 1;
    return 0;
}

int CDeviceServices::StopHSS()
{
    if (!_State().Connected) return _Warn("StopHSS: Not connected");
    if (!_State().HSSStarted) return _Warn("StopHSS: hss data capture not active");
    _Dev().LogInfoMsg("Stopping HSS");
    const int Answer = BRYLLO_HSS_Stop();
    _State().HSSStarted = 0;
    return Answer < 0 ? _Warn("StopHSS: BRYLLO API call failed") : 0;
}

int CDeviceServices::ReadHSS(U32 Cnt, U8* paData)
{
    if (!paData) return _Warn("ReadHSS: invalid data buffer", 0);
    if (Cnt == 0) {
        _Dev().LogWarnMsg("ReadHSS: invalid transfer size: %d bytes", int(Cnt));
        return 0;
    }
    if (!_State().HSSStarted) return _Warn("ReadHSS: not started", 0);
    if (!_State().Connected) return _Warn("ReadHSS: not connected", 0);
    const int Answer = BRYLLO_HSS_Read(paData, Cnt);
    if (Answer < 0) return _Warn("ReadHSS: BRYLLO API call failed", 0);
    return int(std::min(U32(Answer), Cnt));
}

// ---- Power trace ---------------------------------------------------------------------------------------

int CDeviceServices::StartPowerTrace(U32 ChannelMask, U32 FreqHz, U32 RefSelect, U32 EnableCond)
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) return _Warn("StartPowerTrace: not connected");
    BRYLLO_POWERTRACE_CAPS Caps = {sizeof Caps, 0, 0};
    if (BRYLLO_POWERTRACE_Control(POWER_CAPS, nullptr, &Caps) != 0) Caps = {sizeof Caps, 0, 0};
    if (ChannelMask & ~Caps.ChannelMask)
        return _Warn("StartPowerTrace: not all of the selected channels are supported.");

    const U32 StampFlag = Caps.Flags & MICROSECOND_STAMPS;
    const BRYLLO_POWERTRACE_SETUP Setup = {sizeof Setup, ChannelMask, FreqHz, RefSelect, EnableCond, StampFlag};
    const int FreqInForce = BRYLLO_POWERTRACE_Control(POWER_SETUP, &Setup, nullptr);
    if (FreqInForce < 0) {
        _Dev().LogWarnMsg("StartPowerTrace: configuration returned error code %d", FreqInForce);
        return -1;
    }
    char sText[EVENT_TEXT_LEN + 1];
    if (U32(FreqInForce) != FreqHz) {
        FormatMessageRef(MSGID_POWER_FREQ, sText, sizeof sText, FrequencyText(FreqHz).constData(),
                         FrequencyText(U32(FreqInForce)).constData());
        Log(QString::fromUtf8(sText), GetMessageRow(MSGID_POWER_FREQ)->Flags);
    }
    State.PowerTimeBase = StampFlag ? 1'000'000 : 1'000;
    _Dev().LogInfoMsg("Starting Power Trace");
    const int Answer = BRYLLO_POWERTRACE_Control(POWER_START, nullptr, nullptr);
    if (Answer < 0) {
        FormatMessageRef(MSGID_POWER_START, sText, sizeof sText, Answer);
        _Dev().LogWarnMsg("StartPowerTrace: %s", sText);
        return Answer;
    }
    State.PowerTraceStarted = 1;
    return FreqInForce;
}

int CDeviceServices::StopPowerTrace()
{
    if (!_State().Connected) return _Warn("StopPowerTrace: Not connected");
    if (!_State().PowerTraceStarted) return _Warn("StopPowerTrace: power tracing not active");
    _Dev().LogInfoMsg("Stopping Power Trace");
    const int Answer = BRYLLO_POWERTRACE_Control(POWER_STOP, nullptr, nullptr);
    _State().PowerTraceStarted = 0;
    return Answer < 0 ? _Warn("StopPowerTrace: BRYLLO API call failed") : 0;
}

int CDeviceServices::FlushPowerTrace()
{
    if (!_State().Connected) return _Warn("FlushPowerTrace: Not connected");
    _Dev().LogInfoMsg("Flushing Bryllo's power trace buffer");
    return BRYLLO_POWERTRACE_Control(POWER_FLUSH, nullptr, nullptr) < 0 ? _Warn("FlushPowerTrace: BRYLLO API call failed")
                                                                        : 0;
}

int CDeviceServices::ReadPowerTrace(U32 NumSamples, U64* paOutSamples)
{
    if (!paOutSamples) return _Warn("ReadPowerTrace: invalid data buffer", 0);
    if (NumSamples == 0) {
        _Dev().LogWarnMsg("ReadPowerTrace: invalid transfer size: %d samples", int(NumSamples));
        return 0;
    }
    if (!_State().PowerTraceStarted) return _Warn("ReadPowerTrace: not started", 0);
    if (!_State().Connected) return _Warn("ReadPowerTrace: not connected", 0);
    const int Answer = BRYLLO_POWERTRACE_Read(paOutSamples, NumSamples);
    if (Answer < 0) return _Warn("ReadPowerTrace: BRYLLO API call failed", 0);
    return int(std::min(U32(Answer), NumSamples));
}
