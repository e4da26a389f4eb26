#include "platform/probe/remote/rspclient.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Remote {

namespace {

/// Longest wait for a server to accept: a user who mistyped an address should not wait for the system's own limit of
/// minutes.
constexpr int CONNECT_TIMEOUT_MS = 2000;
constexpr std::size_t DEFAULT_PACKET_SIZE = 400; // what every server takes
constexpr std::size_t MAX_OBJECT = 1 << 20;
constexpr int MAX_RETRIES = 3;
constexpr char INTERRUPT = 3;

bool Answers(int Socket, const addrinfo& Address)
{
    if (::connect(Socket, Address.ai_addr, Address.ai_addrlen) == 0) {
        return true;
    }
    if (errno != EINPROGRESS) {
        return false;
    }
    pollfd Poll{Socket, POLLOUT, 0};
    int Error = 0;
    socklen_t Size = sizeof(Error);
    return ::poll(&Poll, 1, CONNECT_TIMEOUT_MS) == 1 &&
           ::getsockopt(Socket, SOL_SOCKET, SO_ERROR, &Error, &Size) == 0 && Error == 0;
}

std::string TextOfHex(const std::string& Hex)
{
    std::string Text(Hex.size() / 2, '\0');
    Text.resize(FromHex(Hex, reinterpret_cast<U8*>(Text.data()), Text.size()));
    return Text;
}

/// What the server or the program prints.
bool IsOutput(const std::string& Packet)
{
    return Packet.size() > 1 && Packet[0] == 'O' && Packet != "OK";
}

/// A stop reply that nobody asked for: the other half of a stop that came twice.
bool IsStopReply(const std::string& Text)
{
    return Text.size() >= 3 && (Text[0] == 'T' || Text[0] == 'S');
}

} // namespace

bool CRspClient::Connect(const std::string& Host, int Port, std::string* pError)
{
    addrinfo Hints{};
    Hints.ai_socktype = SOCK_STREAM;
    addrinfo* pList = nullptr;
    if (::getaddrinfo(Host.c_str(), std::to_string(Port).c_str(), &Hints, &pList) != 0) {
        *pError = "Unknown host: " + Host;
        return false;
    }
    for (const addrinfo* p = pList; p && m_Socket < 0; p = p->ai_next) {
        const int Socket = ::socket(p->ai_family, p->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, p->ai_protocol);
        if (Socket >= 0 && Answers(Socket, *p)) {
            m_Socket = Socket;
        } else if (Socket >= 0) {
            ::close(Socket);
        }
    }
    ::freeaddrinfo(pList);
    if (m_Socket < 0) {
        *pError = "No GDB server answered at " + Host + ":" + std::to_string(Port);
        return false;
    }
    // Requests are short and answered at once; held back by the system each would cost 40 ms.
    const int One = 1;
    ::setsockopt(m_Socket, IPPROTO_TCP, TCP_NODELAY, &One, sizeof(One));
    return true;
}

std::string CRspClient::Open(const std::string& Host, int Port)
{
    Close();
    std::string Error;
    if (!Connect(Host, Port, &Error)) {
        return Error;
    }
    m_Acks = true;
    m_PacketSize = DEFAULT_PACKET_SIZE;
    m_Features.clear();
    m_Wire.Clear();
    const auto Answer = Request("qSupported:xmlRegisters=arm;hwbreak+;swbreak+");
    if (!Answer) {
        return "What answers at " + Host + ":" + std::to_string(Port) + " is no GDB server";
    }
    m_Features = ";" + *Answer + ";";
    const auto Size = m_Features.find(";PacketSize=");
    if (Size != std::string::npos) {
        const auto Begin = Size + std::strlen(";PacketSize=");
        const auto Number = HexNumber(m_Features.substr(Begin, m_Features.find(';', Begin) - Begin));
        if (Number && *Number >= 64) {
            m_PacketSize = std::min<std::size_t>(*Number, 0x10000);
        }
    }
    if (Supports("QStartNoAckMode+") && RequestOk("QStartNoAckMode")) {
        m_Acks = false;
    }
    return IsOpen() ? std::string() : "The GDB server has closed the connection";
}

void CRspClient::Close()
{
    if (m_Socket >= 0) {
        ::close(m_Socket);
        m_Socket = -1;
    }
}

void CRspClient::Lose(const char* sWhy)
{
    if (IsOpen()) {
        m_Log.Warning(std::string("Connection with the GDB server lost: ") + sWhy);
        Close();
    }
}

bool CRspClient::Supports(const std::string& Feature) const
{
    return m_Features.find(";" + Feature + ";") != std::string::npos;
}

bool CRspClient::IsAlive()
{
    if (!IsOpen()) {
        return false;
    }
    char c;
    const auto Num = ::recv(m_Socket, &c, 1, MSG_PEEK | MSG_DONTWAIT);
    if (Num == 0 || (Num < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
        Lose("it has closed the connection");
    }
    return IsOpen();
}

bool CRspClient::Send(const std::string& Bytes)
{
    const auto Until = Clock::now() + USUAL;
    std::size_t Pos = 0;
    while (IsOpen() && Pos < Bytes.size()) {
        const auto Num = ::send(m_Socket, Bytes.data() + Pos, Bytes.size() - Pos, MSG_NOSIGNAL);
        if (Num > 0) {
            Pos += static_cast<std::size_t>(Num);
            continue;
        }
        if (Num < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) && Clock::now() < Until) {
            pollfd Poll{m_Socket, POLLOUT, 0};
            ::poll(&Poll, 1, 50);
            continue;
        }
        Lose("it takes no data");
    }
    return IsOpen();
}

std::optional<CRspWire::CItem> CRspClient::Receive(Clock::time_point Until)
{
    char acBytes[4096];
    while (IsOpen()) {
        if (auto Item = m_Wire.Next()) {
            return Item;
        }
        const auto Num = ::recv(m_Socket, acBytes, sizeof(acBytes), MSG_DONTWAIT);
        if (Num > 0) {
            m_Wire.Feed(acBytes, static_cast<std::size_t>(Num));
            continue;
        }
        if (Num == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            Lose("it has closed the connection");
            return std::nullopt;
        }
        const auto Left = std::chrono::duration_cast<Ms>(Until - Clock::now()).count();
        if (Left <= 0) {
            return std::nullopt;
        }
        pollfd Poll{m_Socket, POLLIN, 0};
        ::poll(&Poll, 1, static_cast<int>(Left));
    }
    return std::nullopt;
}

/// The next packet, acknowledged; one that is damaged is asked for again.
std::optional<std::string> CRspClient::ReceivePacket(Clock::time_point Until)
{
    for (int Retry = 0; Retry <= MAX_RETRIES;) {
        auto Item = Receive(Until);
        if (!Item) {
            return std::nullopt;
        }
        switch (Item->Kind) {
        case CRspWire::EItem::Packet:
            if (m_Acks) {
                Send("+");
            }
            return std::move(Item->Text);
        case CRspWire::EItem::BadPacket:
            // Without acknowledgements nothing is sent twice, and what was in it is lost.
            Retry = m_Acks ? Retry + 1 : MAX_RETRIES + 1;
            if (m_Acks) {
                Send("-");
            }
            break;
        case CRspWire::EItem::TooLong:
            Lose("it sends without end");
            return std::nullopt;
        case CRspWire::EItem::Nak:
            ++Retry;
            Send(m_LastSent);
            break;
        case CRspWire::EItem::Ack:
            break;
        }
    }
    Lose("its packets arrive damaged");
    return std::nullopt;
}

std::optional<std::string> CRspClient::Request(const std::string& Text, Ms Limit, std::string* pOutput)
{
    m_LastSent = EncodePacket(Text);
    if (!Send(m_LastSent)) {
        return std::nullopt;
    }
    const bool WantsStop = Text == "?";
    const auto Until = Clock::now() + Limit;
    while (auto Answer = ReceivePacket(Until)) {
        if (IsOutput(*Answer)) {
            const std::string Output = TextOfHex(Answer->substr(1));
            if (!pOutput) {
                m_Log.Info(Output);
            } else if (pOutput->size() + Output.size() <= MAX_OBJECT) {
                pOutput->append(Output);
            }
        } else if (WantsStop || !IsStopReply(*Answer)) {
            return Answer;
        }
    }
    Lose("it does not answer");
    return std::nullopt;
}

bool CRspClient::RequestOk(const std::string& Text, Ms Limit)
{
    const auto Answer = Request(Text, Limit);
    return Answer && *Answer == "OK";
}

bool CRspClient::Resume(const std::string& Text)
{
    m_LastSent = EncodePacket(Text);
    return Send(m_LastSent);
}

std::optional<std::string> CRspClient::WaitStop(Ms Limit)
{
    const auto Until = Clock::now() + Limit;
    while (auto Answer = ReceivePacket(Until)) {
        if (IsStopReply(*Answer) || (!Answer->empty() && ((*Answer)[0] == 'W' || (*Answer)[0] == 'X'))) {
            return Answer;
        }
        if (IsOutput(*Answer)) {
            m_Log.Info(TextOfHex(Answer->substr(1)));
        }
    }
    return std::nullopt;
}

bool CRspClient::Interrupt()
{
    return Send(std::string(1, INTERRUPT));
}

std::optional<std::string> CRspClient::ReadObject(const std::string& Name)
{
    std::string Object;
    const std::size_t Chunk = m_PacketSize - 16;
    while (Object.size() < MAX_OBJECT) {
        char acRange[40];
        std::snprintf(acRange, sizeof(acRange), ":%zx,%zx", Object.size(), Chunk);
        const auto Answer = Request("qXfer:" + Name + acRange);
        if (!Answer || Answer->empty() || ((*Answer)[0] != 'm' && (*Answer)[0] != 'l')) {
            return std::nullopt;
        }
        Object += Answer->substr(1);
        if ((*Answer)[0] == 'l' || Answer->size() == 1) {
            return Object;
        }
    }
    return std::nullopt;
}

bool CRspClient::Monitor(const std::string& Command, std::string* pOutput)
{
    const auto Answer =
        Request("qRcmd," + ToHex(reinterpret_cast<const U8*>(Command.data()), Command.size()), LONG, pOutput);
    if (!Answer || Answer->empty() || (*Answer)[0] == 'E') {
        return false;
    }
    if (*Answer != "OK" && pOutput) {
        pOutput->append(TextOfHex(*Answer)); // some servers answer with the text itself
    }
    return true;
}

} // namespace Remote
