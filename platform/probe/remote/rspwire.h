// Framing of the GDB remote serial protocol: packets to bytes and back. Bytes come from a server that may be broken or
// hostile; whatever they are, the result is a packet, a bad packet or more waiting.
//
//   Wire.Feed(pBytes, NumBytes);
//   while (auto Item = Wire.Next()) ...
#pragma once
#include "platform/probe/bryllo.h"

#include <optional>
#include <string>

namespace Remote {

/// "$text#checksum", the text as it is.
std::string EncodePacket(const std::string& Text);
/// A byte of binary data inside a packet, escaped where it must be.
void AppendEscaped(std::string& Text, U8 Byte);

std::string ToHex(const U8* pData, std::size_t NumBytes);
/// Number of whole bytes written, up to the first character that is no hex digit.
std::size_t FromHex(const std::string& Hex, U8* pData, std::size_t MaxBytes);
/// A hex number without prefix; nothing for an empty text, other characters or more than 32 bit.
std::optional<U32> HexNumber(const std::string& Text);

class CRspWire {
public:
    enum class EItem { Packet, BadPacket, TooLong, Ack, Nak };
    struct CItem {
        EItem Kind;
        std::string Text; // of a packet: unescaped, runs expanded
    };
    /// Longest packet that is taken, also after its runs are expanded.
    static constexpr std::size_t MAX_PACKET = 1 << 20;

    void Feed(const char* pBytes, std::size_t NumBytes) { m_Buffer.append(pBytes, NumBytes); }
    std::optional<CItem> Next();
    void Clear() { m_Buffer.clear(); }

private:
    static bool Decode(const std::string& Raw, std::string* pText);
    std::string m_Buffer;
};

} // namespace Remote
