#include "platform/probe/remote/remotebackend.h"

#include "platform/probe/core/textargs.h"

#include <cerrno>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Remote {

/// Longest wait for a server to accept, in ms: a user who mistyped an address should not wait for
/// the system's own limit of minutes.
constexpr int CONNECT_TIMEOUT_MS = 2000;

CRemoteBackend::CRemoteBackend(Probe::CProbeLog& Log) : m_Log(Log) {}

bool CRemoteBackend::Select(const std::string& Host, int Port)
{
    std::string Name = Probe::Trim(Host);
    std::string PortText;
    const auto Bracket = Name.find(']');
    const auto Colon = Name.rfind(':');
    if (Name.starts_with('[') && Bracket != std::string::npos) {
        if (Bracket + 1 < Name.size()) {
            if (Name[Bracket + 1] != ':') {
                return false;
            }
            PortText = Name.substr(Bracket + 2);
        }
        Name = Name.substr(1, Bracket - 1);
    } else if (Colon != std::string::npos && Name.find(':') == Colon) {
        PortText = Name.substr(Colon + 1);
        Name.resize(Colon);
    }
    m_Port = Port > 0 ? Port : DEFAULT_PORT;
    if (!PortText.empty()) {
        const auto Number = Probe::ToU32(PortText);
        m_Port = Number && *Number <= 65535 ? int(*Number) : 0;
    }
    m_Host = Name;
    return !m_Host.empty() && m_Port > 0 && m_Port <= 65535;
}

static bool Answers(const addrinfo& Address)
{
    const int Socket =
        ::socket(Address.ai_family, Address.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, Address.ai_protocol);
    if (Socket < 0) {
        return false;
    }
    bool Ok = ::connect(Socket, Address.ai_addr, Address.ai_addrlen) == 0;
    if (!Ok && errno == EINPROGRESS) {
        pollfd Poll{Socket, POLLOUT, 0};
        int Error = 0;
        socklen_t Size = sizeof(Error);
        Ok = ::poll(&Poll, 1, CONNECT_TIMEOUT_MS) == 1 &&
             ::getsockopt(Socket, SOL_SOCKET, SO_ERROR, &Error, &Size) == 0 && Error == 0;
    }
    ::close(Socket);
    return Ok;
}

std::string CRemoteBackend::Open()
{
    const std::string Place = m_Host + ":" + std::to_string(m_Port);
    m_Log.Info("Looking for a GDB server at " + Place);
    addrinfo Hints{};
    Hints.ai_socktype = SOCK_STREAM;
    addrinfo* pList = nullptr;
    if (::getaddrinfo(m_Host.c_str(), std::to_string(m_Port).c_str(), &Hints, &pList) != 0) {
        return "Unknown host: " + m_Host;
    }
    bool Found = false;
    for (const addrinfo* p = pList; p && !Found; p = p->ai_next) {
        Found = Answers(*p);
    }
    ::freeaddrinfo(pList);
    if (!Found) {
        return "No GDB server answered at " + Place;
    }
    return "A server answers at " + Place +
           ", but this library has no session over IP to offer; use the host interface USB";
}

} // namespace Remote
