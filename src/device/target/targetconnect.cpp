// CDeviceTarget: opening and closing the session with probe and target.
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"
#include "project/settings/sysvars.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace {
constexpr auto POWER_UP_TIME = std::chrono::milliseconds(500);
constexpr U32 ALL_SWO_PORTS = 0xFFFFFFFF;

// Texts of the library, in the routing of their level. The library may call these on any thread.
constexpr U32 LIB_LOG = 0x241;
constexpr U32 LIB_WARN = 0x242;
constexpr U32 LIB_ERROR = 0x244;
void OnLibLog(const char* sText) { CDevice::Get().PostTextEvent(DEV_EVENT_LOG_MSG, sText, LIB_LOG); }
void OnLibWarn(const char* sText) { CDevice::Get().PostTextEvent(DEV_EVENT_LOG_MSG, sText, LIB_WARN); }
void OnLibError(const char* sText) { CDevice::Get().PostTextEvent(DEV_EVENT_LOG_MSG, sText, LIB_ERROR); }
} // namespace

CDeviceTarget& CDeviceTarget::Get()
{
    // Never destroyed: the worker may still be in it when static objects go.
    static auto* pTarget = new CDeviceTarget;
    return *pTarget;
}

int CDeviceTarget::Connect(CONNECT_MODES Mode)
{
    if (Mode == CM_CONNECT_ONLY) return ConnectSimple();
    Disconnect();
    if (ConnectSimple() < 0) return -1;
    return FinishConnect(Mode);
}

int CDeviceTarget::SelectHostIF()
{
    switch (Config.GetInt(DCP_CONNECT_MODE)) {
    case 2:
        if (BRYLLOARM_SelectIP(Config.GetString(DCP_HOST_NAME).toUtf8().constData(), 0) != 1) return 0;
        _Dev().LogErrorMsg("Connect: error during configuration of IP interface");
        return -1;
    case 1: {
        const int SerialNo = Config.GetInt(DCP_USB_SERIAL_NO);
        const bool BySerialNo = Config.GetInt(DCP_USE_SERIAL_NO) && SerialNo > 0;
        const int Ret = BySerialNo ? BRYLLOARM_EMU_SelectByUSBSN(U32(SerialNo)) : BRYLLOARM_SelectUSB(0);
        if (Ret >= 0) return 0;
        _Dev().LogErrorMsg("Connect: serial number not found on usb");
        return -1;
    }
    default:
        _Dev().LogErrorMsg("Connect: unknown host interface");
        return -1;
    }
}

void CDeviceTarget::_InstallLogHandlers()
{
    BRYLLOARM_EnableLog(OnLibLog);
    BRYLLOARM_SetWarnOutHandler(OnLibWarn);
    BRYLLOARM_SetErrorOutHandler(OnLibError);
}

int CDeviceTarget::ConnectSimple()
{
    CDevice& Dev = _Dev();
    ResetState();
    if (SelectHostIF() < 0) return -1;

    _InstallLogHandlers();
    Dev.LogDebugMsg("Opening connection to Bryllo...");
    if (const char* sError = BRYLLOARM_Open()) {
        Dev.LogErrorMsg("Open: BRYLLO API call failed with error message: %s", sError);
        return -1;
    }
    if (Config.GetInt(DCP_DEVICE_INDEX) < 1) SetSuppressDeviceSelectionDialog(true);
    if (GetVarValue(VAR_TARGET_POWER_ON)) {
        TurnOnTargetPower();
        std::this_thread::sleep_for(POWER_UP_TIME);
    }

    char sFirmware[256] = {};
    BRYLLOARM_GetFirmwareString(sFirmware, sizeof sFirmware);
    sFirmware[sizeof sFirmware - 1] = 0;
    if (char* pTail = std::strstr(sFirmware, "compiled")) *pTail = 0;
    {
        std::lock_guard Lock(m_InfoMutex);
        m_Info.SerialNo = U32(std::max(BRYLLOARM_GetSN(), 0));
        m_Info.FirmwareText = QString::fromUtf8(sFirmware).trimmed();
        m_Info.NumDevices = BRYLLOARM_DEVICE_GetInfo(-1, nullptr);
    }
    UpdateBrylloFuncPtrs();
    UpdateBrylloWebserverURL();
    const QByteArray sScript = Config.GetString(DCP_SCRIPT_FILE).toUtf8();
    if (!sScript.isEmpty()) ExecBrylloScript(sScript.constData());

    Dev.LogDebugMsg("Configuring hardware...");
    if (_SetUpTargetIF() < 0) {
        Dev.LogErrorMsg("Connect: could not configure Bryllo");
        BRYLLOARM_Close();
        return -1;
    }
    if (BRYLLOARM_Connect() != 0 || BRYLLOARM_IsConnected() != 1) {
        Dev.LogDebugMsg("Connecting to target...");
        BRYLLOARM_Connect(); // leaves the library's own reason in the log
        Dev.LogErrorMsg("Connect: BRYLLO API call failed");
        BRYLLOARM_Close();
        return -1;
    }
    _State().Connected = 1;
    UpdateTIFSpeed();
    UpdateHWCapabilityFlags();
    UpdateEndianess();
    UpdateMemZones();
    _State().Running = 1;
    return 0;
}

int CDeviceTarget::_SetUpTargetIF()
{
    const QByteArray sDevice = Config.GetString(DCP_DEVICE_NAME).toUtf8();
    char sAnswer[256] = {};
    if (!sDevice.isEmpty()) {
        const QByteArray sCmd = "device=" + sDevice;
        ExecBrylloCmd(sCmd.constData(), sAnswer, sizeof sAnswer, false);
    }
    BRYLLOARM_SetEndian(Config.GetInt(DCP_ENDIAN));
    BRYLLOARM_SetCoreIndex(U32(Config.GetInt(DCP_CORE_INDEX)));
    BRYLLOARM_TIF_Select(Config.GetInt(DCP_TARGET_IF));
    if (Config.GetInt(DCP_MULTIPLE_TARGETS)) BRYLLOARM_ConfigJTAG(Config.GetInt(DCP_IR_PRE), Config.GetInt(DCP_DR_PRE));
    BRYLLOARM_SetSpeed(Config.GetSpeedKHz());
    return sAnswer[0] ? -1 : 0;
}

int CDeviceTarget::FinishConnect(CONNECT_MODES Mode)
{
    DEVICE_STATE& State = _State();
    const bool IsConnected = BRYLLOARM_IsOpen() && BRYLLOARM_IsConnected() == 1;
    State.ConnectionLost = 0;
    State.SrcStepActive = 0;
    State.Connected = IsConnected;
    State.DebugStarted = Mode == CM_ATTACH || Mode == CM_ATTACH_HALT;
    BRYLLOARM_EnableSoftBPs(1);
    ApplyDataEndianess(ENDIAN(Config.GetInt(DCP_ENDIAN)));
    return IsConnected ? 0 : -1;
}

void CDeviceTarget::ResetState()
{
    DEVICE_STATE& State = _State();
    State.Connected = 0;
    State.ConnectionLost = 0;
    State.HaltedRaw = 0;
    State.Halted = 0;
    State.Running = 1;
    State.StartupDone = 0;
    State.HaltSeqActive = 0;
    State.DebugStarted = 0;
    State.UserHaltRequested = 0;
    State.InstTraceStarted = 0;
    State.InstTraceUsed = 0;
    State.MemlaneStarted = 0;
    State.SWOStarted = 0;
    State.HSSStarted = 0;
    State.PowerTraceStarted = 0;
    State.SrcStepActive = 0;
    State.PendingJob = 0;
    State.ResetMode = RM_RESET_HALT;
    State.LastDownloadError = 0;
    State.CoreSpeed = 0;
    State.HiddenBPAddr = ADDR64_NONE;
    State.BPConditionResult = -1;
    m_SavedBP = BP();
    m_NumDownloadBPs = 0;
    m_DownloadOpen = false;
    ResetTargetExecState();
}

int CDeviceTarget::Disconnect()
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) return 0;
    if (State.MemlaneStarted) BRYLLO_MEMLANE_Control(1, nullptr);
    if (State.HSSStarted) BRYLLO_HSS_Stop();
    if (State.SWOStarted) BRYLLOARM_SWO_DisableTarget(ALL_SWO_PORTS);
    if (State.InstTraceStarted) BRYLLO_STRACE_Stop();
    if (!State.ConnectionLost) {
        // The lists stay as they are, to be set again at the next connect.
        BRYLLOARM_ClrBPEx(BRYLLO_HANDLE_ALL);
        BRYLLOARM_ClrDataEvent(BRYLLO_HANDLE_ALL);
    }
    State.HiddenBPAddr = ADDR64_NONE;
    ResetState();
    BRYLLOARM_Close();
    ResetHWCapabilityFlags();
    return 0;
}

void CDeviceTarget::StartDebugSession()
{
    DEVICE_STATE& State = _State();
    State.DebugStarted = 1;
    if (State.Connected && State.Halted) _Dev().PostJobEvent(BT_HALT, JOB_DONE, HR_HALT, I64(State.PC.Get()), 0);
}

void CDeviceTarget::RequestFinishConnect(CONNECT_MODES Mode)
{
    _State().FinishConnectMode = Mode;
    _Dev().Wake();
}

void CDeviceTarget::RequestFinishReset(RESET_MODES Mode)
{
    _State().FinishResetMode = Mode;
    _Dev().Wake();
}

void CDeviceTarget::PostBPConditionResult(U32 PC, bool CondMet)
{
    // Instructions lie at even addresses, so bit 0 is free for the answer.
    _State().BPConditionResult = I64((PC & ~1u) | U32(CondMet));
    _Dev().Wake();
}

void CDeviceTarget::CheckHandleNotifications()
{
    DEVICE_STATE& State = _State();
    const I64 ConnectMode = State.FinishConnectMode.Exchange(-1);
    if (ConnectMode != -1) {
        FinishConnect(CONNECT_MODES(ConnectMode));
        _Dev().PostJobEvent(BT_CONNECT, State.Connected ? JOB_DONE : JOB_FAILED, U64(ConnectMode), 0, 0);
        // A halt that was found before the session began has told nobody.
        if (State.DebugStarted && State.Halted) StartDebugSession();
    }
    const I64 ResetMode = State.FinishResetMode.Exchange(-1);
    if (ResetMode != -1) {
        FinishReset(RESET_MODES(ResetMode));
        _Dev().PostJobEvent(BT_RESET, JOB_DONE, U64(ResetMode), I64(State.PC.Get()), 0);
    }
    const I64 Condition = State.BPConditionResult.Exchange(-1);
    if (Condition != -1) OnDeviceBPConditionEvaluated(U32(Condition) & ~1u, Condition & 1);
}
