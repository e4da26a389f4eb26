// CDeviceServices: the two services that bring the program's text to the terminal: SWO and Memlane.
#include "device/queue/device.h"
#include "device/target/deviceservices.h"
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"
#include "project/settings/sysvars.h"

#include <algorithm>

namespace {
constexpr U32 ALL_PORTS = 0xFFFFFFFF;
constexpr U32 MAX_SWO_READ = 4'000;
constexpr U32 NUM_SPEEDS = 10;
constexpr U32 SWO_CMD_TAKE = 2; ///< takes bytes off the library's buffer; all of them without a count
constexpr U32 MEMLANE_START = 0;
constexpr U32 MEMLANE_STOP = 1;
constexpr const char* ERR_WITH_TRACE = "SWO trace cannot be used in conjunction with instruction trace";
constexpr const char* ERR_NO_SWO = "SWO trace not supported";
} // namespace

// ---- SWO -----------------------------------------------------------------------------------------------

int CDeviceServices::_FailSWO(const char* sText)
{
    _Dev().SetErrorMsg(DEV_ERR_SWO, sText);
    return -1;
}

int CDeviceServices::StartSWOTrace(U32 CpuHz, U32 SWOHz, U32 PortMask)
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) return _FailSWO("not connected");
    if (CDeviceTarget::Get().Config.GetInt(DCP_TARGET_IF) != BRYLLO_TIF_SWD)
        return _FailSWO("target interface not set to SWD");
    if (!State.aCapability[CAP_SWO]) return _FailSWO(ERR_NO_SWO);
    if (State.InstTraceStarted) return _FailSWO(ERR_WITH_TRACE);
    if (BRYLLOARM_SWO_DisableTarget(ALL_PORTS) < 0)
        return _FailSWO("BRYLLOARM_SWO_DisableTarget: Bryllo API call failed");
    if (BRYLLOARM_SWO_Control(SWO_CMD_TAKE, nullptr) < 0) return -1;
    if (CpuHz == 0) CpuHz = State.CoreSpeed;
    if (CpuHz == 0) return _FailSWO("SWO trace cannot be started: invalid core frequency");
    if (SWOHz == 0) {
        U32 aSpeed[NUM_SPEEDS] = {};
        if (GetCompatibleSWOSpeeds(CpuHz, NUM_SPEEDS, aSpeed) > 0) SWOHz = aSpeed[0];
    }
    if (BRYLLOARM_SWO_EnableTarget(CpuHz, SWOHz, 0, PortMask) < 0) return _FailSWO("Bryllo API call failed");
    State.SWOStarted = 1;
    return 0;
}

int CDeviceServices::StopSWOTrace(U32 PortMask)
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) return _FailSWO("not connected");
    if (State.ConnectionLost) return _FailSWO("connection lost");
    if (!State.aCapability[CAP_SWO]) return _FailSWO(ERR_NO_SWO);
    if (State.InstTraceStarted) return _FailSWO(ERR_WITH_TRACE);
    if (!State.SWOStarted) return _Warn("StopSWOTrace: SWO trace not started", 0);
    if (BRYLLOARM_SWO_DisableTarget(PortMask) < 0)
        return _FailSWO("BRYLLOARM_SWO_DisableTarget: Bryllo API call failed.");
    State.SWOStarted = 0;
    return 0;
}

int CDeviceServices::ReadSWOTrace(U32 Port, U32 NumBytes, U8* paData)
{
    const DEVICE_STATE& State = _State();
    if (!paData) return _FailSWO("ReadSWOTrace: invaid data buffer");
    if (NumBytes == 0 || NumBytes > MAX_SWO_READ) return _FailSWO("ReadSWOTrace: invalid read request size");
    if (!State.Connected) return _FailSWO("ReadSWOTrace: not connected.");
    if (!State.aCapability[CAP_SWO]) return _FailSWO(ERR_NO_SWO);
    if (!State.SWOStarted) return _FailSWO("ReadSWOTrace: SWO trace not started");
    if (State.InstTraceStarted) return _FailSWO(ERR_WITH_TRACE);
    const int Answer = BRYLLOARM_SWO_ReadStimulus(int(Port), paData, NumBytes);
    if (Answer < 0) return -1;
    if (Answer == 0) {
        _Dev().LogDebugMsg("ReadSWOTrace: 0 bytes read");
        return 0;
    }
    U32 NumRead = std::min(U32(Answer), NumBytes);
    BRYLLOARM_SWO_Control(SWO_CMD_TAKE, &NumRead);
    return int(std::min(U32(Answer), NumBytes));
}

int CDeviceServices::GetCompatibleSWOSpeeds(U32 CpuHz, U32 NumItems, U32* paItems)
{
    const DEVICE_STATE& State = _State();
    if (CpuHz == 0) CpuHz = State.CoreSpeed;
    if (!paItems || NumItems == 0) return _FailSWO("GetCompatibleSWOFreqs: invalid input buffer");
    if (!State.Connected) return _FailSWO("GetCompatibleSWOFreqs: not connected");
    if (!State.aCapability[CAP_SWO]) return _FailSWO("GetCompatibleSWOFreqs: SWO not supported");
    const int Answer = BRYLLOARM_SWO_GetCompatibleSpeeds(CpuHz, 0, paItems, NumItems);
    if (Answer <= 0) return _FailSWO("Could not find compatible SWO frequencies for CPU clock given.");
    return int(std::min(U32(Answer), NumItems));
}

// ---- Memlane -------------------------------------------------------------------------------------------

bool CDeviceServices::AddMemlaneSearchRange(U32 Addr, U32 Size)
{
    U32 Count = 0;
    {
        std::lock_guard Lock(m_RangeMutex);
        if (m_aMemlaneRange.size() >= MAX_MEMLANE_RANGES) return false;
        m_aMemlaneRange.emplace_back(Addr, Size);
        Count = U32(m_aMemlaneRange.size());
    }
    return _Dev().SetConfigParamAsync(DCP_MEMLANE_RANGE_CNT, int(Count)) == 0;
}

void CDeviceServices::ForgetMemlaneSearchRanges()
{
    std::lock_guard Lock(m_RangeMutex);
    m_aMemlaneRange.clear();
}

int CDeviceServices::InitMemlaneCtrlBlockAddr()
{
    CDeviceTarget& Target = CDeviceTarget::Get();
    const U32 Addr = U32(Target.Config.GetInt(DCP_MEMLANE_ADDR));
    if (Addr == ADDR_NONE) return 0; // the library searches
    const QByteArray sCmd = "SetMemlaneAddr 0x" + QByteArray::number(Addr, 16);
    return Target.ExecBrylloCmd(sCmd.constData(), nullptr, 0, true) == 0 ? 0 : -1;
}

int CDeviceServices::InitMemlaneSearchRanges()
{
    QByteArray sRanges;
    {
        std::lock_guard Lock(m_RangeMutex);
        for (const auto& [Addr, Size] : m_aMemlaneRange)
            sRanges += (sRanges.isEmpty() ? " 0x" : ", 0x") + QByteArray::number(Addr, 16).toUpper() + " 0x" +
                       QByteArray::number(Size, 16).toUpper();
    }
    if (sRanges.isEmpty()) return 0;
    return CDeviceTarget::Get().ExecBrylloCmd(("SetMemlaneSearchRanges" + sRanges).constData(), nullptr, 0, true) == 0 ? 0
                                                                                                                  : -1;
}

int CDeviceServices::StartMemlane()
{
    if (!_State().Connected) return _Warn("StartMemlane: Not connected");
    InitMemlaneSearchRanges();
    InitMemlaneCtrlBlockAddr();
    _Dev().LogInfoMsg("Starting Memlane");
    const int Answer = BRYLLO_MEMLANE_Control(MEMLANE_START, nullptr);
    if (Answer != 0) {
        const char* sReason = Answer == BRYLLO_ERR_NO_SERVICE ? "not supported by the target or the probe" : "error";
        _Dev().LogWarnMsg("StartMemlane: BRYLLO API call failed: %s", sReason);
        return -1;
    }
    _State().MemlaneStarted = 1;
    return 0;
}

int CDeviceServices::StopMemlane()
{
    if (!_State().Connected) return _Warn("StopMemlane: Not connected");
    if (!_State().MemlaneStarted) return _Warn("StopMemlane: Memlane not started", 0);
    _Dev().LogInfoMsg("Stopping Memlane");
    const int Answer = BRYLLO_MEMLANE_Control(MEMLANE_STOP, nullptr);
    _State().MemlaneStarted = 0;
    return Answer != 0 ? _Warn("StopMemlane: BRYLLO API call failed", 0) : 0;
}

int CDeviceServices::ReadMemlane(U32 BuffIdx, U32 NumBytes, U8* paData)
{
    if (!paData) return _Warn("ReadMemlane: invalid data buffer");
    if (NumBytes == 0) {
        _Dev().LogWarnMsg("ReadMemlane: invalid transfer size: %d bytes", int(NumBytes));
        return -1;
    }
    if (!GetVarValue(VAR_MEMLANE_ENABLED)) return _Warn("ReadMemlane: not enabled");
    if (!_State().MemlaneStarted) return _Warn("ReadMemlane: not started");
    if (!_State().Connected) return _Warn("ReadMemlane: not connected");
    if (!CDeviceTarget::Get().IsBMAAvailable())
        return _Warn("ReadMemlane: target does not support background memory access");
    const int Answer = BRYLLO_MEMLANE_Read(BuffIdx, paData, NumBytes);
    if (Answer < 0) return _Warn("ReadMemlane: BRYLLO API call failed");
    return int(std::min(U32(Answer), NumBytes));
}

int CDeviceServices::WriteMemlane(U32 BuffIdx, U32 NumBytes, const U8* paData)
{
    if (!paData) return _Warn("WriteMemlane: invalid data buffer", 0);
    if (NumBytes == 0) return _Warn("WriteMemlane: invalid transfer size", 0);
    if (!_State().Connected) return _Warn("WriteMemlane: Not connected", 0);
    if (!GetVarValue(VAR_MEMLANE_ENABLED)) return _Warn("WriteMemlane: not enabled", 0);
    if (!_State().MemlaneStarted) return _Warn("WriteMemlane: not started", 0);
    if (!CDeviceTarget::Get().IsBMAAvailable())
        return _Warn("WriteMemlane: target does not support background memory access");
    const int Answer = BRYLLO_MEMLANE_Write(BuffIdx, paData, NumBytes);
    if (Answer < 0) return _Warn("WriteMemlane: BRYLLO API call failed", 0);
    return int(std::min(U32(Answer), NumBytes));
}
