// A connection with a GDB server: requests and their answers, stop replies, the time that may pass. A server that is
// silent, broken or gone ends the connection; no call waits longer than its time limit.
//
//   CRspClient Client(Log);
//   if (!Client.Open("localhost", 3333).empty()) ...
//   const std::optional<std::string> Answer = Client.Request("g");   // nothing: the connection is lost
#pragma once
#include "platform/probe/core/probelog.h"
#include "platform/probe/remote/rspwire.h"

#include <chrono>
#include <optional>
#include <string>

namespace Remote {

class CRspClient {
public:
    using Ms = std::chrono::milliseconds;
    static constexpr Ms USUAL{3000};  // limit of a plain request
    static constexpr Ms LONG{30000};  // of flash operations and commands of the server

    explicit CRspClient(Probe::CProbeLog& Log) : m_Log(Log) {}
    ~CRspClient() { Close(); }
    CRspClient(const CRspClient&) = delete;
    CRspClient& operator=(const CRspClient&) = delete;

    /// Connects and agrees on what both sides can. Empty when ok, else why not.
    std::string Open(const std::string& Host, int Port);
    void Close();
    bool IsOpen() const { return m_Socket >= 0; }

    /// Sends a request and waits for its answer; nothing when the connection is lost. Text that the server prints
    /// meanwhile goes to pOutput, else to the log.
    std::optional<std::string> Request(const std::string& Text, Ms Limit = USUAL, std::string* pOutput = nullptr);
    /// "OK" was answered.
    bool RequestOk(const std::string& Text, Ms Limit = USUAL);
    /// Sends a request whose answer is a stop reply that comes later.
    bool Resume(const std::string& Text);
    /// The stop reply of a target that was resumed; nothing when there is none within the limit.
    std::optional<std::string> WaitStop(Ms Limit);
    /// The character that stops a running target.
    bool Interrupt();
    /// A whole object of the server ("features:read:target.xml"); nothing when it has none.
    std::optional<std::string> ReadObject(const std::string& Name);
    /// Runs a command of the server's own command language. False: it doesn't take such commands or has failed.
    bool Monitor(const std::string& Command, std::string* pOutput);

    /// Longest packet that the server takes, in characters.
    std::size_t GetPacketSize() const { return m_PacketSize; }
    bool Supports(const std::string& Feature) const;
    /// Notices a server that has closed the connection while nothing was asked of it.
    bool IsAlive();

private:
    using Clock = std::chrono::steady_clock;
    bool Connect(const std::string& Host, int Port, std::string* pError);
    bool Send(const std::string& Bytes);
    /// The next item, or nothing when the time is up or the connection lost.
    std::optional<CRspWire::CItem> Receive(Clock::time_point Until);
    std::optional<std::string> ReceivePacket(Clock::time_point Until);
    void Lose(const char* sWhy);

    Probe::CProbeLog& m_Log;
    CRspWire m_Wire;
    int m_Socket = -1;
    bool m_Acks = true;
    std::size_t m_PacketSize = 0;
    std::string m_Features; // of qSupported, with a semicolon before and behind
    std::string m_LastSent;
};

} // namespace Remote
