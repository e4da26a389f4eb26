// CDeviceTarget: configuration, the device table, commands of the library and what the probe can do.
#include "device/target/devicetable.h"
#include "device/target/deviceservices.h"
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"
#include "project/settings/sysvars.h"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>

namespace {
constexpr U32 CMD_SIZE = 1'024;
constexpr U32 MAX_CORES = 1'024;
constexpr int MAX_ZONES = 16;
constexpr int MAX_ZONE_NAME = 127;
constexpr U32 VERSION_STREAMING_TRACE = 61'000;
constexpr U32 VERSION_WEB_PORT = 62'006; ///< from here on a port of 0 means that there is no server
constexpr int WEB_PORT = 19'080;
constexpr const char* LINK_STOP_MODE = "docs/background-memory-access.md";

bool IsCortexM(U32 Family)
{
    return Family == 1 || Family == 3 || Family == 6 || Family == 14;
}
bool ReadDevice(int Index, BRYLLOARM_DEVICE_INFO* pInfo)
{
    std::memset(pInfo, 0, sizeof *pInfo);
    pInfo->SizeOfStruct = sizeof *pInfo;
    return BRYLLOARM_DEVICE_GetInfo(Index, pInfo) >= 0;
}
} // namespace

QString FormatLibVersion(U32 Version)
{
    const U32 Major = Version / 10'000;
    const U32 Minor = Version / 100 % 100;
    const U32 Revision = Version % 100;
    QString sText = QString("%1.%2%3").arg(Major).arg(Minor < 10 ? "0" : "").arg(Minor);
    if (Revision > 0) sText += QChar('a' + int(Revision) - 1);
    return sText;
}

DEVICE_INFO CDeviceTarget::GetInfo() const
{
    std::lock_guard Lock(m_InfoMutex);
    return m_Info;
}

// ---- Configuration -------------------------------------------------------------------------------------

void CDeviceTarget::_OnConfigChanged(U32 Id, int Value)
{
    _Dev().PostDeviceEvent(DEV_EVENT_CONFIG_PARAM, Id, U32(Value));
}

int CDeviceTarget::SetConfigParam(DEV_CONFIG_PARAMS Id, int Value)
{
    if (Id == DCP_DEVICE_INDEX) return _SelectDevice(Value);
    if (Config.SetInt(Id, Value) < 0) {
        _Dev().LogErrorMsg("Unknown configuration parameter with ID %d", int(Id));
        return -1;
    }
    if (Id == DCP_ENDIAN) ApplyDataEndianess(ENDIAN(Value));
    _OnConfigChanged(Id, Config.GetInt(Id));
    if (Id != DCP_SPEED && Id != DCP_USE_MAX_SPEED && Id != DCP_USE_ADAPTIVE) return 0;
    // The three of the speed change together.
    for (U32 Other : {DCP_SPEED, DCP_USE_MAX_SPEED, DCP_USE_ADAPTIVE})
        if (Other != Id) _OnConfigChanged(Other, Config.GetInt(Other));
    _ApplySpeed();
    return 0;
}

int CDeviceTarget::SetConfigParam(DEV_CONFIG_PARAMS Id, const char* sValue)
{
    if (!sValue) {
        _Dev().LogErrorMsg("Invalid configuration parameter string value");
        return -1;
    }
    if (Config.SetString(Id, QString::fromUtf8(sValue)) < 0) {
        _Dev().LogErrorMsg("Invalid configuration parameter");
        return -1;
    }
    _OnConfigChanged(Id, 0);
    if (Id == DCP_LOG_FILE) BRYLLOARM_SetLogFile(sValue);
    if (Id == DCP_DEVICE_NAME) return _SelectDevice(BRYLLOARM_DEVICE_GetIndex(sValue));
    return 0;
}

/// Index below 1: no device of the table; the core is unknown from then on.
int CDeviceTarget::_SelectDevice(int Index)
{
    Config.SetInt(DCP_DEVICE_INDEX, Index < 1 ? -1 : Index);
    const int Ret = UpdateDeviceInfo();
    UpdateBrylloFuncPtrs();
    UpdateMemZones();
    ResetHWCapabilityFlags();
    _OnConfigChanged(DCP_DEVICE_INDEX, Config.GetInt(DCP_DEVICE_INDEX));
    return Ret;
}

int CDeviceTarget::Configure(const char* sXmlConfigStr)
{
    CDeviceConfig::XML_VALUES Values;
    if (!sXmlConfigStr || CDeviceConfig::ParseXml(QString::fromUtf8(sXmlConfigStr), &Values) < 0) return -1;
    // The two switches of the speed come behind the speed, so that they have the last word.
    constexpr DEV_CONFIG_PARAMS aOrder[] = {DCP_CONNECT_MODE, DCP_USB_SERIAL_NO, DCP_USE_SERIAL_NO, DCP_CORE_INDEX,
                                            DCP_ENDIAN,       DCP_TARGET_IF,     DCP_DR_PRE,        DCP_IR_PRE,
                                            DCP_MULTIPLE_TARGETS, DCP_SPEED,     DCP_USE_ADAPTIVE,  DCP_USE_MAX_SPEED};
    int Ret = 0;
    for (DEV_CONFIG_PARAMS Id : aOrder) Ret |= SetConfigParam(Id, Values.aInt[Id]);
    if (Values.HasHostName) Ret |= SetConfigParam(DCP_HOST_NAME, Values.HostName.toUtf8().constData());
    if (Values.HasDeviceName) Ret |= SetConfigParam(DCP_DEVICE_NAME, Values.DeviceName.toUtf8().constData());
    return Ret < 0 ? -1 : 0;
}

int CDeviceTarget::ResetConfig()
{
    Config.Reset();
    CDeviceServices::Get().ForgetMemlaneSearchRanges();
    for (U32 Id = 0; Id < DCP_NUM_INT_PARAMS; Id++)
        if (CDeviceConfig::IsIntParam(Id)) _OnConfigChanged(Id, Config.GetInt(Id));
    for (U32 Id = DCP_FIRST_STRING; Id < DCP_NUM_PARAMS; Id++) _OnConfigChanged(Id, 0);
    return 0;
}

int CDeviceTarget::_ApplySpeed()
{
    if (!_State().Connected) return 0;
    BRYLLOARM_SetSpeed(Config.GetSpeedKHz());
    return UpdateTIFSpeed();
}

int CDeviceTarget::UpdateTIFSpeed()
{
    const U32 KHz = BRYLLOARM_GetSpeed() & 0xFFFF;
    _State().TIFSpeed = KHz == U32(SPEED_AUTO) || KHz == U32(SPEED_ADAPTIVE) ? KHz : KHz * 1000;
    return 0;
}

// ---- Device table --------------------------------------------------------------------------------------

int CDeviceTarget::UpdateDeviceInfo()
{
    int Index = Config.GetInt(DCP_DEVICE_INDEX);
    if (Index < 1) {
        Index = BRYLLOARM_DEVICE_GetIndex(Config.GetString(DCP_DEVICE_NAME).toUtf8().constData());
        if (Index >= 1) Config.SetInt(DCP_DEVICE_INDEX, Index);
    }
    BRYLLOARM_DEVICE_INFO Device;
    if (Index < 1 || !ReadDevice(Index, &Device)) {
        std::lock_guard Lock(m_InfoMutex);
        m_Info.CoreId = 0;
        m_Info.CoreFamily = 0;
        m_Info.CoreName.clear();
        m_Info.RAMAddr = ADDR_NONE;
        m_Info.RAMSize = 0;
        return -1;
    }
    const QString sName = Device.sName && *Device.sName ? QString::fromUtf8(Device.sName) : QString("Unspecified");
    const QString sCore = GetCoreName(Device.Core);
    if (Config.GetString(DCP_DEVICE_NAME).compare(sName, Qt::CaseInsensitive) != 0)
        Config.SetString(DCP_DEVICE_NAME, sName);
    std::lock_guard Lock(m_InfoMutex);
    m_Info.DeviceName = sName;
    m_Info.ManuName = QString::fromUtf8(Device.sManu ? Device.sManu : "");
    m_Info.RAMAddr = Device.RAMAddr;
    m_Info.RAMSize = Device.RAMSize;
    m_Info.FlashAddr = Device.FlashAddr;
    m_Info.FlashSize = Device.FlashSize;
    m_Info.CoreId = Device.Core;
    m_Info.CoreFamily = Device.Core >> 24;
    m_Info.CoreName = sCore;
    return 0;
}

int CDeviceTarget::GetDeviceInfo(const char* sDeviceName, U32* pCore)
{
    *pCore = 0;
    if (!sDeviceName || !*sDeviceName) {
        _Dev().LogErrorMsg("Invalid device name supplied to function GetDeviceInfo.");
        return -1;
    }
    BRYLLOARM_DEVICE_INFO Device;
    const int Index = BRYLLOARM_DEVICE_GetIndex(sDeviceName);
    if (Index < 1 || !ReadDevice(Index, &Device)) return -1;
    *pCore = Device.Core;
    return 0;
}

QString CDeviceTarget::GetCoreName(U32 CoreId) const
{
    char sName[128] = {};
    BRYLLOARM_Core2CoreName(CoreId, sName, sizeof sName);
    return QString::fromUtf8(sName);
}

int CDeviceTarget::UpdateSupportedCoresList()
{
    QList<U32> aCore;
    const int Num = BRYLLOARM_DEVICE_GetInfo(-1, nullptr);
    for (int i = 0; i < Num; i++) {
        BRYLLOARM_DEVICE_INFO Device;
        if (!ReadDevice(i, &Device) || !DEVICE_IsSupportedFamily(Device.Core >> 24) || aCore.contains(Device.Core)) continue;
        if (aCore.size() >= qsizetype(MAX_CORES)) {
            _Dev().LogErrorMsg("Internal error. supported cores list has insufficent size.");
            break;
        }
        aCore << Device.Core;
    }
    std::lock_guard Lock(m_InfoMutex);
    m_Info.SupportedCores = aCore;
    return 0;
}

int CDeviceTarget::UpdateMemZones()
{
    if (!_State().Connected) return -1;
    BRYLLO_MEM_ZONE aZone[MAX_ZONES] = {};
    const int Num = BRYLLO_GetMemZones(aZone, MAX_ZONES);
    QStringList asName;
    for (int i = 0; i < Num && i < MAX_ZONES; i++)
        if (aZone[i].sName) asName << QString::fromUtf8(aZone[i].sName).left(MAX_ZONE_NAME);
    std::lock_guard Lock(m_InfoMutex);
    m_Info.MemZones = asName;
    return 0;
}

// ---- Library -------------------------------------------------------------------------------------------

void CDeviceTarget::UpdateBrylloFuncPtrs()
{
    m_pfReadEndian = BRYLLO_GetpFunc(BRYLLO_PFUNC_GET_ENDIAN);
    m_pfReadBMA = BRYLLO_GetpFunc(BRYLLO_PFUNC_GET_BMA);
    m_pfReadServer = BRYLLO_GetpFunc(BRYLLO_PFUNC_GET_SERVER_INFO);
}

void CDeviceTarget::UpdateBrylloLibPath()
{
    Dl_info Info = {};
    QString sPath;
    if (dladdr(reinterpret_cast<void*>(&BRYLLOARM_Open), &Info) && Info.dli_fname)
        sPath = QString::fromLocal8Bit(Info.dli_fname).replace('\\', '/');
    const U32 Version = BRYLLOARM_GetDLLVersion();
    std::lock_guard Lock(m_InfoMutex);
    m_Info.LibPath = sPath;
    m_Info.LibVersion = Version;
    m_Info.LibVersionText = FormatLibVersion(Version);
    m_Info.NumDevices = BRYLLOARM_DEVICE_GetInfo(-1, nullptr);
}

void CDeviceTarget::UpdateBrylloWebserverURL()
{
    int Port = WEB_PORT;
    const U32 Version = BRYLLOARM_GetDLLVersion();
    if (m_pfReadServer) {
        BRYLLO_SERVER_INFO Info = {sizeof Info, 0};
        reinterpret_cast<BRYLLO_PFUNC_SERVER_INFO>(m_pfReadServer)(&Info);
        const bool IsOldRelease = Version < VERSION_WEB_PORT || Version == 62'100 || Version == 62'101;
        Port = Info.Port != 0 ? int(Info.Port) : IsOldRelease ? WEB_PORT : 0;
    }
    std::lock_guard Lock(m_InfoMutex);
    m_Info.WebUrl = Port ? QString::asprintf("http://%s:%d", "127.0.0.1", Port) : QString();
}

int CDeviceTarget::ExecBrylloCmd(const char* sCmd, char* sAnswer, U32 AnswerSize, bool LogMsg)
{
    char sOwnAnswer[129] = {};
    if (!sAnswer || AnswerSize < 2) {
        sAnswer = sOwnAnswer;
        AnswerSize = sizeof sOwnAnswer;
    }
    char sBuffer[CMD_SIZE] = {};
    const int Length = std::snprintf(sBuffer, sizeof sBuffer, "%s", sCmd ? sCmd : "");
    sAnswer[0] = 0;
    if (Length >= int(sizeof sBuffer)) {
        // A part of it could mean something else.
        std::snprintf(sAnswer, AnswerSize, "command too long");
        _Dev().LogErrorMsg("Error executing Bryllo command \"%.64s...\": %s", sBuffer, sAnswer);
        return -1;
    }
    const int Ret = BRYLLOARM_ExecCommand(sBuffer, sAnswer, int(AnswerSize));
    sAnswer[AnswerSize - 1] = 0;
    if (sAnswer[0]) {
        _Dev().LogErrorMsg("Error executing Bryllo command \"%s\": %s", sBuffer, sAnswer);
        return Ret;
    }
    if (LogMsg) _Dev().LogInfoMsg("Executed Bryllo command \"%s\"", sBuffer);
    return 0;
}

int CDeviceTarget::ExecBrylloScript(const char* sFilePath)
{
    const QByteArray sCmd = QByteArray("ScriptFile=") + sFilePath;
    return ExecBrylloCmd(sCmd.constData(), nullptr, 0, true);
}

int CDeviceTarget::SetSuppressDeviceSelectionDialog(bool Enabled)
{
    return ExecBrylloCmd(Enabled ? "HideDeviceSelection=1" : "HideDeviceSelection=0", nullptr, 0, false);
}

int CDeviceTarget::TurnOnTargetPower() { return ExecBrylloCmd("SupplyPower=1", nullptr, 0, true); }

int CDeviceTarget::MeasureCoreSpeed()
{
    const U32 RAMAddr = GetInfo().RAMAddr;
    if (RAMAddr == ADDR_NONE) {
        _Dev().LogWarnMsg("MeasureCoreSpeed: invalid RAM address");
        return -1;
    }
    if (!_State().Connected) {
        _Dev().LogWarnMsg("MeasureCoreSpeed: not connected");
        return -1;
    }
    if (!IsTargetHalted()) {
        _Dev().LogWarnMsg("MeasureCoreSpeed: not halted");
        return -1;
    }
    const int Hz = BRYLLOARM_MeasureCPUSpeedEx(RAMAddr, 1, 1);
    if (Hz <= 0) {
        _Dev().SetErrorMsg(DEV_ERR_SWO, "could not determine core frequency");
        return -1;
    }
    _Dev().LogInfoMsg("Core speed measured at %d Hz", Hz);
    _State().CoreSpeed = U32(Hz);
    return Hz;
}

// ---- Capabilities --------------------------------------------------------------------------------------

void CDeviceTarget::ResetHWCapabilityFlags()
{
    for (auto& Flag : _State().aCapability) Flag = 1;
}

void CDeviceTarget::UpdateHWCapabilityFlags()
{
    auto& aFlag = _State().aCapability;
    const int BMA = ReadBMACapability();
    if (BMA == 2) _Dev().LogInfoMsg("Using stop mode for background memory accesses: %s", LINK_STOP_MODE);
    aFlag[CAP_BACKGROUND_MEM_ACCESS] = U8(BMA);
    aFlag[CAP_SWO] = ReadSWOTraceCapability();
    aFlag[CAP_STREAMING_TRACE] = ReadStreamingTraceCapability();
    aFlag[CAP_TRACE_PINS] = 1;
    aFlag[CAP_TRACE_BUFFER] = 1;
    aFlag[CAP_TRACE_SWO] = 1;
}

int CDeviceTarget::ReadBMACapability()
{
    if (!m_pfReadBMA) return 0;
    const int BMA = reinterpret_cast<BRYLLO_PFUNC_BMA>(m_pfReadBMA)();
    return BMA == 1 || BMA == 2 ? BMA : 0;
}

bool CDeviceTarget::ReadSWOTraceCapability()
{
    if (!_State().Connected) return true;
    const char* sError = nullptr;
    if (!IsCortexM(GetInfo().CoreFamily))
        sError = "SWO trace: not a Cortex-M target device";
    else if (Config.GetInt(DCP_TARGET_IF) != BRYLLO_TIF_SWD)
        sError = "SWO trace: target interface not set to SWD";
    else if (!BRYLLOARM_EMU_HasCapEx(BRYLLO_EMU_CAP_SWO))
        sError = "Bryllo emulator does not support SWO.";
    if (sError) _Dev().SetErrorMsg(DEV_ERR_SWO, sError);
    return !sError;
}

bool CDeviceTarget::ReadStreamingTraceCapability()
{
    if (!_State().Connected) return true;
    if (BRYLLOARM_GetDLLVersion() < VERSION_STREAMING_TRACE) return false;
    U32 Caps = 0;
    if (BRYLLOARM_RAWTRACE_Control(BRYLLO_RAWTRACE_CMD_GET_CAPS, &Caps) < 0) return false;
    return Caps & BRYLLO_RAWTRACE_CAP_STREAMING;
}

bool CDeviceTarget::IsBMAAvailable() const
{
    switch (_State().aCapability[CAP_BACKGROUND_MEM_ACCESS]) {
    case 1: return true;
    case 2: return GetVarValue(VAR_ALLOW_BMA_EMULATION) != 0;
    default: return false;
    }
}

bool CDeviceTarget::IsStanding()
{
    if (_Dev().IsWorkerThread()) return IsTargetHalted();
    const DEVICE_STATE& State = _State();
    if (!State.Connected) return false;
    return State.Halted || (State.HaltSeqActive && State.HaltedRaw);
}

bool CDeviceTarget::CanAccessMemory()
{
    if (!_State().Connected) return false;
    return IsStanding() || IsBMAAvailable();
}

const char* CDeviceTarget::GetAccessZone(const char* sZone) const
{
    if (sZone) return *sZone ? sZone : nullptr;
    if (!_State().Connected || _State().Halted) return nullptr;
    thread_local QByteArray s_sZone;
    s_sZone = GetVarString(VAR_MEM_ZONE_RUNNING).toUtf8();
    return s_sZone.isEmpty() || s_sZone == "Default" ? nullptr : s_sZone.constData();
}

// ---- Byte order ----------------------------------------------------------------------------------------

void CDeviceTarget::_SetEndian(U32 Data, U32 Inst)
{
    DEVICE_STATE& State = _State();
    if (Data == State.DataEndian && Inst == State.InstEndian) return;
    State.DataEndian = Data;
    State.InstEndian = Inst;
    _Dev().PostDeviceEvent(DEV_EVENT_ENDIANESS, Data, Inst);
}

int CDeviceTarget::UpdateEndianess()
{
    U32 Data = U32(Config.GetInt(DCP_ENDIAN));
    U32 Inst = Data;
    const int Read = _State().Connected && m_pfReadEndian ? reinterpret_cast<BRYLLO_PFUNC_ENDIAN>(m_pfReadEndian)() : -1;
    if (Read >= 0) {
        Data = (Read >> 1) & 1;
        Inst = Read & 1;
    }
    _SetEndian(Data, Inst);
    return 0;
}

int CDeviceTarget::ApplyDataEndianess(ENDIAN Endian)
{
    if (_State().Connected) BRYLLOARM_SetEndian(int(Endian));
    return UpdateEndianess();
}
