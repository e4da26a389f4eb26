#include "platform/probe/core/session.h"

#include "platform/probe/core/textargs.h"
#include "platform/probe/remote/remotebackend.h"
#include "platform/probe/sim/devicetable.h"
#include "platform/probe/sim/simbackend.h"

#include <chrono>
#include <filesystem>
#include <thread>

namespace Probe {

CSession& CSession::Get()
{
    static CSession* const pSession = new CSession;
    return *pSession;
}

CSession::CSession() : m_pSim(std::make_unique<Sim::CSimBackend>(Lock, Log, Faults)), m_pBackend(m_pSim.get())
{
}

/// Runs when the library is unloaded or the process ends: the simulated CPU's thread must not
/// outlive what it uses.
__attribute__((destructor)) static void StopThreads()
{
    Sim::CSimBackend::StopAll();
}

std::string CSession::SelectUSB(U32 SerialNo)
{
    auto& Simulator = static_cast<Sim::CSimBackend&>(*m_pSim);
    if (!Simulator.Select(SerialNo)) {
        return "No probe with serial number " + std::to_string(SerialNo) + " found.";
    }
    if (m_pBackend != m_pSim.get()) {
        Close();
        m_pBackend = m_pSim.get();
    }
    return {};
}

std::string CSession::SelectIP(const std::string& Host, int Port)
{
    auto pRemote = std::make_unique<Remote::CRemoteBackend>(Log);
    if (!pRemote->Select(Host, Port)) {
        return "Invalid host name.";
    }
    Close();
    m_pRemote = std::move(pRemote);
    m_pBackend = m_pRemote.get();
    return {};
}

std::string CSession::Open()
{
    if (Faults.IsLost()) {
        return "Cannot connect to the probe: it does not answer.";
    }
    if (m_IsOpen) {
        return {};
    }
    std::string Error = m_pBackend->Open();
    m_IsOpen = Error.empty();
    if (m_IsOpen) {
        Log.Info("Probe opened: " +
                 m_pBackend->GetFirmware().substr(0, m_pBackend->GetFirmware().find(" compiled")) +
                 ", serial number " + std::to_string(m_pBackend->GetSerialNo()));
    }
    return Error;
}

void CSession::Close()
{
    if (m_IsOpen) {
        m_pBackend->Close();
        m_IsOpen = false;
        Log.Info("Probe closed");
    }
}

int CSession::Connect()
{
    if (m_pBackend->IsConnected()) {
        return 0;
    }
    return m_pBackend->Connect(Params);
}

int CSession::ExecCommand(const std::string& Cmd, std::string& Answer)
{
    const std::string Text = Trim(Cmd);
    const auto NameEnd = Text.find_first_of(" =\t");
    const std::string Name = ToLower(Text.substr(0, NameEnd));
    std::string Args = NameEnd == std::string::npos ? "" : Trim(Text.substr(NameEnd));
    if (Args.starts_with('=')) {
        Args = Trim(Args.substr(1));
    }
    int Result = 0;
    if (ExecOwn(Name, Args, Result, Answer) || ExecFault(Name, Args, Result, Answer) ||
        ExecRange(Name, Args, Result, Answer) || m_pBackend->ExecCommand(Name, Args, Result, Answer)) {
        return Result;
    }
    Answer = Text.empty() ? "Empty command" : "Unknown command: \"" + Text + "\"";
    return BRYLLO_ERR_UNSPECIFIED;
}

bool CSession::ExecOwn(const std::string& Name, const std::string& Args, int& Result, std::string& Answer)
{
    const auto Fail = [&](std::string Text) {
        Answer = std::move(Text);
        Result = BRYLLO_ERR_UNSPECIFIED;
        return true;
    };
    if (Name == "device") {
        std::string Device = Args;
        if (Device.size() >= 2 && Device.front() == '"' && Device.back() == '"') {
            Device = Device.substr(1, Device.size() - 2);
        }
        const Sim::CDeviceEntry* pEntry = Sim::FindDevice(Device);
        if (!pEntry) {
            return Fail("Unknown device: \"" + Device + "\"");
        }
        Params.Device = pEntry->sName;
        return true;
    }
    if (Name == "hidedeviceselection") {
        return Args == "0" || Args == "1"
                   ? true
                   : Fail("HideDeviceSelection takes 0 or 1"); // there is no dialog to hide
    }
    if (Name == "scriptfile") {
        std::error_code Ignored;
        if (!std::filesystem::is_regular_file(Args, Ignored)) {
            return Fail("Script file not found: \"" + Args + "\"");
        }
        return Fail("This probe does not run script files");
    }
    return false;
}

bool CSession::ExecRange(const std::string& Name, const std::string& Args, int& Result, std::string& Answer)
{
    const std::vector<std::string> Words = SplitWords(Args);
    const auto Number = [&](std::size_t Index) {
        return Index < Words.size() ? ToU32(Words[Index]) : std::nullopt;
    };
    const auto Usage = [&](const char* sText) {
        Answer = sText;
        Result = BRYLLO_ERR_PARAM;
        return true;
    };
    if (Name == "sim.unreadable" || Name == "sim.unwritable" || Name == "sim.shortread") {
        const auto Addr = Number(0);
        const auto NumBytes = Number(1);
        if (!Addr || !NumBytes || *NumBytes == 0) {
            return Usage("usage: <command> <address> <number of bytes>");
        }
        using ERange = CFaults::ERange;
        Faults.AddRange(Name == "sim.unreadable"   ? ERange::Unreadable
                        : Name == "sim.unwritable" ? ERange::Unwritable
                                                   : ERange::ShortRead,
                        *Addr, *NumBytes);
        return true;
    }
    if (Name == "sim.clearranges") {
        Faults.ClearRanges();
        return true;
    }
    return false;
}

bool CSession::ExecFault(const std::string& Name, const std::string& Args, int& Result, std::string& Answer)
{
    const std::vector<std::string> Words = SplitWords(Args);
    const auto Number = [&](std::size_t Index) {
        return Index < Words.size() ? ToU32(Words[Index]) : std::nullopt;
    };
    const auto Usage = [&](const char* sText) {
        Answer = sText;
        Result = BRYLLO_ERR_PARAM;
        return true;
    };
    if (Name == "sim.fail") {
        const auto NumCalls = Number(1);
        const auto Code = Words.size() > 2 ? ToInt(Words[2]) : std::nullopt;
        if (!NumCalls || Words.size() > 3 || (Words.size() == 3 && !Code)) {
            return Usage("usage: Sim.Fail <operation> <number of calls> [<code>]");
        }
        Faults.FailCalls(Words[0], *NumCalls, Code);
        return true;
    }
    if (Name == "sim.lose") {
        const auto NumCalls = Words.empty() ? std::optional<U32>(0) : Number(0);
        if (!NumCalls) {
            return Usage("usage: Sim.Lose [<number of calls>]");
        }
        Faults.LoseAfter(*NumCalls);
        return true;
    }
    if (Name == "sim.restore") {
        Faults.Restore();
        return true;
    }
    if (Name == "sim.clearfaults") {
        Faults.Reset();
        return true;
    }
    if (Name == "sim.delay") {
        const auto MS = Number(0);
        if (!MS || *MS > 60000) {
            return Usage("usage: Sim.Delay <ms, 0 to 60000>");
        }
        Faults.SetDelay(*MS);
        return true;
    }
    if (Name == "sim.setversion") {
        const auto NewVersion = Number(0);
        if (!NewVersion) {
            return Usage("usage: Sim.SetVersion <major * 10000 + minor * 100 + revision>");
        }
        Version = *NewVersion;
        return true;
    }
    return false;
}

const char* KeepOpenError(CSession& Session, std::string Text)
{
    // Only replaced by another failure, so that a text handed out stays readable for long.
    if (Text.empty()) {
        return nullptr;
    }
    Session.m_OpenError = std::move(Text);
    return Session.m_OpenError.c_str();
}

CCall::CCall(const char* sOperation, ENeed Need)
    : m_Session(CSession::Get()), m_sOperation(sOperation), m_Guard(m_Session.Lock, std::defer_lock)
{
    // Slept before the lock is taken: one slow caller does not slow the others.
    if (const unsigned MS = m_Session.Faults.GetDelayMS()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(MS));
    }
    m_Guard.lock();
    if (const auto Failure = m_Session.Faults.OnCall(sOperation)) {
        m_Ok = false;
        m_Reason = BRYLLO_ERR_UNSPECIFIED;
        if (Failure->HasCode) {
            m_Code = Failure->Code;
        }
    } else if (Need >= Opened && !m_Session.IsOpen()) {
        m_Ok = false;
        m_Reason = BRYLLO_ERR_NOT_OPEN;
    } else if (Need >= Connected && m_Session.Faults.IsLost()) {
        m_Ok = false;
        m_Reason = BRYLLO_ERR_LOST;
    } else if (Need >= Connected && !m_Session.IsConnected()) {
        m_Ok = false;
        m_Reason = BRYLLO_ERR_NOT_CONNECTED;
    }
    if (!m_Ok) {
        m_Session.Log.Call(sOperation, m_Code.value_or(m_Reason));
    }
}

} // namespace Probe
