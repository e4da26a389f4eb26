// The one session of the process with a probe: which backend, what it has been told, and the
// guard that every operation of the C interface starts with.
//
//   int BRYLLOARM_Halt(void)
//   {
//       Probe::CCall Call("Halt", Probe::CCall::Connected);
//       return Call.Ok() ? Call.Done(Call.Backend().Halt()) : Call.Error();
//   }
#pragma once
#include "platform/probe/core/backend.h"
#include "platform/probe/core/faults.h"
#include "platform/probe/core/probelog.h"
#include "platform/probe/core/ticketlock.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace Probe {

/// Release reported by default: newer than every release whose behaviour callers work around.
constexpr U32 VERSION = 79400;

class CSession {
public:
    /// Created on first use and never destroyed: callers may still be about when static objects
    /// of the process go. What runs threads is stopped when the library is unloaded.
    static CSession& Get();

    std::string SelectUSB(U32 SerialNo); // "" ok, 0: the first probe
    std::string SelectIP(const std::string& Host, int Port);
    std::string Open();
    void Close();
    bool IsOpen() const { return m_IsOpen; }
    bool IsConnected() const { return m_IsOpen && !Faults.IsLost() && m_pBackend->IsConnected(); }
    int Connect();
    CBackend& Backend() { return *m_pBackend; }
    int ExecCommand(const std::string& Cmd, std::string& Answer);

    CTicketLock Lock;
    CProbeLog Log;
    CFaults Faults;
    CConnectParams Params;
    U32 Version = VERSION;

private:
    CSession();
    /// The library's own commands and the set-up commands. False: not one of these.
    bool ExecOwn(const std::string& Name, const std::string& Args, int& Result, std::string& Answer);
    bool ExecRange(const std::string& Name, const std::string& Args, int& Result, std::string& Answer);
    bool ExecFault(const std::string& Name, const std::string& Args, int& Result, std::string& Answer);

    std::unique_ptr<CBackend> m_pSim;
    std::unique_ptr<CBackend> m_pRemote;
    CBackend* m_pBackend = nullptr; // the selected one
    bool m_IsOpen = false;
    std::string m_OpenError; // keeps the text that Open handed out
    friend const char* KeepOpenError(CSession& Session, std::string Text);
};

/// Stores the text in the session, so that it outlives the call; null for an empty one.
const char* KeepOpenError(CSession& Session, std::string Text);

/// Guard of one operation: waits the delay asked for, takes the lock, and tells why the operation
/// must not be done.
class CCall {
public:
    enum ENeed { Nothing, Opened, Connected };
    CCall(const char* sOperation, ENeed Need);
    CCall(const CCall&) = delete;
    CCall& operator=(const CCall&) = delete;

    bool Ok() const { return m_Ok; }
    /// The failure as a code; operations that fail by 0 or 1 name that.
    int Error(int Usual) const { return m_Code.value_or(Usual); }
    int Error() const { return m_Code.value_or(m_Reason); }
    template <class T> T Done(T Result)
    {
        m_Session.Log.Call(m_sOperation, static_cast<long long>(Result));
        return Result;
    }
    CSession& Session() { return m_Session; }
    CBackend& Backend() { return m_Session.Backend(); }

private:
    CSession& m_Session;
    const char* m_sOperation;
    std::unique_lock<CTicketLock> m_Guard;
    bool m_Ok = true;
    int m_Reason = 0;
    std::optional<int> m_Code; // asked for by "Sim.Fail"
};

} // namespace Probe
