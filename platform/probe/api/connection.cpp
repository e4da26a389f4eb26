// C interface: library, probe selection, set-up and commands.
#include "platform/probe/core/session.h"
#include "platform/probe/sim/devicetable.h"

#include <algorithm>
#include <cstring>
#include <utility>

using Probe::CCall;

/// Copies a text with its zero into a caller's buffer, cut to fit.
static void CopyText(const std::string& Text, char* pBuffer, int BufferSize)
{
    if (!pBuffer || BufferSize <= 0) {
        return;
    }
    const std::size_t NumChars = std::min<std::size_t>(Text.size(), static_cast<std::size_t>(BufferSize) - 1);
    std::memcpy(pBuffer, Text.data(), NumChars);
    pBuffer[NumChars] = 0;
}

/// Runs a text command and fills the caller's buffer: the reason of a failure; or a zero with a value behind it, which is
/// told to the log as well, so that a user who types the command sees it.
static int RunCommand(Probe::CSession& Session, const char* sCmd, char* acOut, int BufferSize)
{
    std::string Answer;
    const int Result = Session.ExecCommand(sCmd, Answer);
    if (Result < 0) {
        CopyText(Answer, acOut, BufferSize);
        return BRYLLO_ERR_UNSPECIFIED;
    }
    if (!Answer.empty()) {
        Session.Log.Info(std::string(sCmd) + ": " + Answer);
        if (acOut && BufferSize > 1) {
            CopyText(Answer, acOut + 1, BufferSize - 1);
        }
    }
    return Result;
}

extern "C" {

U32 BRYLLOARM_GetDLLVersion(void)
{
    CCall Call("GetDLLVersion", CCall::Nothing);
    return Call.Done(Call.Session().Version);
}

const char* BRYLLOARM_Open(void)
{
    CCall Call("Open", CCall::Nothing);
    std::string Error = Call.Ok() ? Call.Session().Open() : std::string("Failure asked for by Sim.Fail");
    Call.Done(Error.empty() ? 0 : -1);
    return KeepOpenError(Call.Session(), std::move(Error));
}

void BRYLLOARM_Close(void)
{
    CCall Call("Close", CCall::Nothing);
    Call.Session().Close();
    Call.Done(0);
}

int BRYLLOARM_IsOpen(void)
{
    CCall Call("IsOpen", CCall::Nothing);
    return Call.Ok() ? Call.Done(int(Call.Session().IsOpen())) : Call.Error(0);
}

int BRYLLOARM_Connect(void)
{
    CCall Call("Connect", CCall::Opened);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(Call.Session().Faults.IsLost() ? int(BRYLLO_ERR_LOST) : Call.Session().Connect());
}

int BRYLLOARM_IsConnected(void)
{
    CCall Call("IsConnected", CCall::Nothing);
    return Call.Ok() ? Call.Done(int(Call.Session().IsConnected())) : Call.Error(0);
}

int BRYLLOARM_SelectUSB(int Port)
{
    CCall Call("SelectUSB", CCall::Nothing);
    if (!Call.Ok()) {
        return Call.Error();
    }
    // Ports beyond the first are a relic of fixed port numbers; probes are told apart by serial number.
    return Call.Done(Port != 0 || !Call.Session().SelectUSB(0).empty() ? int(BRYLLO_ERR_PARAM) : 0);
}

int BRYLLOARM_EMU_SelectByUSBSN(U32 SerialNo)
{
    CCall Call("EMU_SelectByUSBSN", CCall::Nothing);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(Call.Session().SelectUSB(SerialNo).empty() ? 0 : int(BRYLLO_ERR_PARAM));
}

int BRYLLOARM_SelectIP(const char* sHost, int Port)
{
    CCall Call("SelectIP", CCall::Nothing);
    if (!Call.Ok()) {
        return Call.Error(1);
    }
    return Call.Done(sHost && Call.Session().SelectIP(sHost, Port).empty() ? 0 : 1);
}

int BRYLLOARM_GetSN(void)
{
    CCall Call("GetSN", CCall::Opened);
    return Call.Ok() ? Call.Done(int(Call.Backend().GetSerialNo())) : Call.Error();
}

void BRYLLOARM_GetFirmwareString(char* pBuffer, int BufferSize)
{
    CCall Call("GetFirmwareString", CCall::Opened);
    CopyText(Call.Ok() ? Call.Backend().GetFirmware() : std::string(), pBuffer, BufferSize);
}

int BRYLLOARM_EMU_HasCapEx(int Capability)
{
    CCall Call("EMU_HasCapEx", CCall::Opened);
    return Call.Ok() ? Call.Done(int(Capability == BRYLLO_EMU_CAP_SWO && Call.Backend().HasSWO()))
                     : Call.Error(0);
}

int BRYLLOARM_TIF_Select(int Interface)
{
    CCall Call("TIF_Select", CCall::Nothing);
    if (!Call.Ok()) {
        return Call.Error();
    }
    switch (Interface) {
    case BRYLLO_TIF_JTAG:
    case BRYLLO_TIF_SWD:
    case BRYLLO_TIF_FINE:
    case BRYLLO_TIF_CJTAG:
        return Call.Done(std::exchange(Call.Session().Params.TargetInterface, Interface));
    default:
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
}

void BRYLLOARM_ConfigJTAG(int IRPre, int DRPre)
{
    CCall Call("ConfigJTAG", CCall::Nothing);
    Call.Session().Params.IRPre = IRPre;
    Call.Session().Params.DRPre = DRPre;
}

int BRYLLOARM_SetCoreIndex(U32 CoreIndex)
{
    CCall Call("SetCoreIndex", CCall::Nothing);
    if (!Call.Ok()) {
        return Call.Error();
    }
    auto& Params = Call.Session().Params;
    const unsigned NumCores = Call.Backend().GetNumCores(Params.Device);
    if (NumCores != 0 && CoreIndex >= NumCores) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    Params.CoreIndex = CoreIndex;
    return Call.Done(0);
}

int BRYLLOARM_SetEndian(int Endian)
{
    CCall Call("SetEndian", CCall::Nothing);
    if (!Call.Ok()) {
        return Call.Error();
    }
    auto& Session = Call.Session();
    const bool Before = std::exchange(Session.Params.BigEndian, Endian != 0);
    if (Session.IsConnected()) {
        Session.Backend().Reconfigure(Session.Params);
    }
    return Call.Done(int(Before));
}

void BRYLLOARM_SetSpeed(U32 SpeedKHz)
{
    CCall Call("SetSpeed", CCall::Nothing);
    Call.Session().Params.SpeedKHz = SpeedKHz;
}

U32 BRYLLOARM_GetSpeed(void)
{
    CCall Call("GetSpeed", CCall::Nothing);
    const U32 Wanted = Call.Session().Params.SpeedKHz;
    if (Wanted == BRYLLO_SPEED_ADAPTIVE) {
        return Call.Done(Wanted);
    }
    const U32 Max = Call.Backend().GetMaxSpeed();
    return Call.Done(Wanted == BRYLLO_SPEED_AUTO ? std::min<U32>(4000, Max) : std::min(Wanted, Max));
}

void BRYLLOARM_SetLogFile(const char* sPath)
{
    CCall Call("SetLogFile", CCall::Nothing);
    const std::string Path = sPath ? sPath : "";
    if (!Call.Session().Log.SetFile(Path)) {
        Call.Session().Log.Warning("Log file cannot be opened: " + Path);
    }
}

void BRYLLOARM_EnableLog(BRYLLO_LOG_HANDLER pHandler)
{
    CCall Call("EnableLog", CCall::Nothing);
    Call.Session().Log.SetLogHandler(pHandler);
}

void BRYLLOARM_SetWarnOutHandler(BRYLLO_LOG_HANDLER pHandler)
{
    CCall Call("SetWarnOutHandler", CCall::Nothing);
    Call.Session().Log.SetWarnHandler(pHandler);
}

void BRYLLOARM_SetErrorOutHandler(BRYLLO_LOG_HANDLER pHandler)
{
    CCall Call("SetErrorOutHandler", CCall::Nothing);
    Call.Session().Log.SetErrorHandler(pHandler);
}

/// The device of an entry, null for none. Behind the devices stands an entry more for each further core of one.
static const Sim::CDeviceEntry* FindDeviceOfIndex(int Index)
{
    const auto Devices = Sim::GetDeviceTable();
    if (Index < 0) {
        return nullptr;
    }
    std::size_t Rest = std::size_t(Index);
    if (Rest < Devices.size()) {
        return &Devices[Rest];
    }
    Rest -= Devices.size();
    for (const Sim::CDeviceEntry& Device : Devices) {
        const std::size_t NumFurther = Device.NumCores - 1;
        if (Rest < NumFurther) {
            return &Device;
        }
        Rest -= NumFurther;
    }
    return nullptr;
}

int BRYLLOARM_DEVICE_GetInfo(int Index, BRYLLOARM_DEVICE_INFO* pInfo)
{
    CCall Call("DEVICE_GetInfo", CCall::Nothing);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (Index == -1) {
        int Num = 0;
        for (const Sim::CDeviceEntry& Device : Sim::GetDeviceTable()) {
            Num += int(Device.NumCores);
        }
        return Call.Done(Num);
    }
    const Sim::CDeviceEntry* pEntry = FindDeviceOfIndex(Index);
    if (!pEntry || !pInfo || pInfo->SizeOfStruct != sizeof(*pInfo)) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    const Sim::CDeviceEntry& Entry = *pEntry;
    *pInfo = {};
    pInfo->SizeOfStruct = sizeof(*pInfo);
    pInfo->sName = Entry.sName;
    pInfo->sManu = Entry.sManu;
    pInfo->Core = Entry.Core;
    pInfo->FlashAddr = Entry.Flash.Addr;
    pInfo->FlashSize = Entry.Flash.NumBytes;
    pInfo->RAMAddr = Entry.RAM[0].Addr;
    pInfo->RAMSize = Entry.RAM[0].NumBytes;
    return Call.Done(0);
}

int BRYLLOARM_DEVICE_GetIndex(const char* sName)
{
    CCall Call("DEVICE_GetIndex", CCall::Nothing);
    if (!Call.Ok()) {
        return Call.Error();
    }
    const Sim::CDeviceEntry* pEntry = sName ? Sim::FindDevice(sName) : nullptr;
    return Call.Done(pEntry ? int(pEntry - Sim::GetDeviceTable().data()) : -1);
}

void BRYLLOARM_Core2CoreName(U32 Core, char* pBuffer, U16 BufferSize)
{
    CopyText(Sim::GetCoreName(Core), pBuffer, BufferSize);
}

int BRYLLO_GetMemZones(BRYLLO_MEM_ZONE* paZones, int MaxZones)
{
    CCall Call("GetMemZones", CCall::Connected);
    if (!Call.Ok()) {
        return Call.Error();
    }
    return Call.Done(Call.Backend().GetMemZones(paZones, paZones && MaxZones > 0 ? MaxZones : 0));
}

int BRYLLOARM_RAWTRACE_Control(U32 Cmd, U32* pData)
{
    CCall Call("RAWTRACE_Control", CCall::Opened);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (Cmd != BRYLLO_RAWTRACE_CMD_GET_CAPS || !pData) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    *pData = Call.Backend().HasStreamingTrace() ? BRYLLO_RAWTRACE_CAP_STREAMING : 0;
    return Call.Done(0);
}

int BRYLLOARM_MeasureCPUSpeedEx(U32 RAMAddr, int PreserveMem, int AllowFail)
{
    (void)PreserveMem; // nothing is written to the target, so that there is nothing to restore
    CCall Call("MeasureCPUSpeedEx", CCall::Connected);
    const int Result = Call.Ok() ? Call.Backend().MeasureClock(RAMAddr) : Call.Error();
    if (Result <= 0 && !AllowFail) {
        Call.Session().Log.Error("CPU clock could not be measured");
    }
    return Call.Done(Result);
}

static int GetBMA(void)
{
    CCall Call("GetBMA", CCall::Nothing);
    return Call.Ok() ? Call.Done(Call.Backend().GetBMA()) : Call.Error(0);
}

static int GetEndian(void)
{
    CCall Call("GetEndian", CCall::Connected);
    return Call.Ok() ? Call.Done(Call.Backend().GetEndian()) : Call.Error();
}

static int GetServerInfo(BRYLLO_SERVER_INFO* pInfo)
{
    CCall Call("GetServerInfo", CCall::Opened);
    if (!Call.Ok()) {
        return Call.Error();
    }
    if (!pInfo) {
        return Call.Done(int(BRYLLO_ERR_PARAM));
    }
    pInfo->Port = Call.Backend().GetWebPort();
    return Call.Done(0);
}

void* BRYLLO_GetpFunc(int Id)
{
    switch (Id) {
    case BRYLLO_PFUNC_GET_BMA:
        return reinterpret_cast<void*>(&GetBMA);
    case BRYLLO_PFUNC_GET_ENDIAN:
        return reinterpret_cast<void*>(&GetEndian);
    case BRYLLO_PFUNC_GET_SERVER_INFO:
        return reinterpret_cast<void*>(&GetServerInfo);
    default:
        return nullptr;
    }
}

int BRYLLOARM_ExecCommand(const char* sCmd, char* acOut, int BufferSize)
{
    CopyText({}, acOut, BufferSize);
    if (!sCmd) {
        return BRYLLO_ERR_PARAM;
    }
    // A "Sim." command is the tester's hand on the bench: neither slowed, counted nor failed.
    const bool IsBench = std::strncmp(sCmd, "Sim.", 4) == 0;
    if (IsBench) {
        auto& Session = Probe::CSession::Get();
        std::lock_guard Guard(Session.Lock);
        return RunCommand(Session, sCmd, acOut, BufferSize);
    }
    CCall Call("ExecCommand", CCall::Nothing);
    if (!Call.Ok()) {
        CopyText("Failure asked for by Sim.Fail", acOut, BufferSize);
        return Call.Error();
    }
    return Call.Done(RunCommand(Call.Session(), sCmd, acOut, BufferSize));
}

} // extern "C"
