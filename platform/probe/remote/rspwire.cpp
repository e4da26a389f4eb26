#include "platform/probe/remote/rspwire.h"

#include <cctype>
#include <cstdio>

namespace Remote {

namespace {

constexpr char ESCAPE = '}';

unsigned Checksum(const std::string& Text)
{
    unsigned Sum = 0;
    for (const char c : Text) {
        Sum += static_cast<U8>(c);
    }
    return Sum & 0xFF;
}

int HexDigit(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

} // namespace

std::string EncodePacket(const std::string& Text)
{
    char acTail[4];
    std::snprintf(acTail, sizeof(acTail), "#%02x", Checksum(Text));
    return "$" + Text + acTail;
}

void AppendEscaped(std::string& Text, U8 Byte)
{
    if (Byte == '$' || Byte == '#' || Byte == ESCAPE || Byte == '*') {
        Text += ESCAPE;
        Byte ^= 0x20;
    }
    Text += static_cast<char>(Byte);
}

std::string ToHex(const U8* pData, std::size_t NumBytes)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string Hex;
    Hex.reserve(2 * NumBytes);
    for (std::size_t i = 0; i < NumBytes; ++i) {
        Hex += DIGITS[pData[i] >> 4];
        Hex += DIGITS[pData[i] & 15];
    }
    return Hex;
}

std::size_t FromHex(const std::string& Hex, U8* pData, std::size_t MaxBytes)
{
    std::size_t NumBytes = 0;
    while (NumBytes < MaxBytes && 2 * NumBytes + 1 < Hex.size()) {
        const int High = HexDigit(Hex[2 * NumBytes]);
        const int Low = HexDigit(Hex[2 * NumBytes + 1]);
        if (High < 0 || Low < 0) {
            break;
        }
        pData[NumBytes++] = static_cast<U8>(High << 4 | Low);
    }
    return NumBytes;
}

std::optional<U32> HexNumber(const std::string& Text)
{
    if (Text.empty() || Text.size() > 16) {
        return std::nullopt;
    }
    U64 Value = 0;
    for (const char c : Text) {
        const int Digit = HexDigit(c);
        if (Digit < 0) {
            return std::nullopt;
        }
        Value = Value << 4 | static_cast<U64>(Digit);
    }
    return Value <= 0xFFFFFFFF ? std::optional<U32>(static_cast<U32>(Value)) : std::nullopt;
}

/// Takes out escapes and expands runs ("0* " is 0 four times). False: too long, or a run of nothing.
bool CRspWire::Decode(const std::string& Raw, std::string* pText)
{
    for (std::size_t i = 0; i < Raw.size(); ++i) {
        if (Raw[i] == ESCAPE && i + 1 < Raw.size()) {
            *pText += static_cast<char>(Raw[++i] ^ 0x20);
        } else if (Raw[i] == '*' && i + 1 < Raw.size()) {
            const int Count = static_cast<U8>(Raw[++i]) - 29;
            if (Count < 1 || pText->empty()) {
                return false;
            }
            pText->append(static_cast<std::size_t>(Count), pText->back());
        } else {
            *pText += Raw[i];
        }
        if (pText->size() > MAX_PACKET) {
            return false;
        }
    }
    return true;
}

std::optional<CRspWire::CItem> CRspWire::Next()
{
    while (!m_Buffer.empty()) {
        const char First = m_Buffer[0];
        if (First == '+' || First == '-') {
            m_Buffer.erase(0, 1);
            return CItem{First == '+' ? EItem::Ack : EItem::Nak, {}};
        }
        if (First != '$' && First != '%') {
            m_Buffer.erase(0, 1); // noise between packets
            continue;
        }
        const std::size_t End = m_Buffer.find('#', 1);
        if (End == std::string::npos || End + 2 >= m_Buffer.size()) {
            if (m_Buffer.size() <= MAX_PACKET + 4) {
                return std::nullopt; // the rest comes
            }
            m_Buffer.clear();
            return CItem{EItem::TooLong, {}};
        }
        const std::string Raw = m_Buffer.substr(1, End - 1);
        const int High = HexDigit(m_Buffer[End + 1]);
        const int Low = HexDigit(m_Buffer[End + 2]);
        m_Buffer.erase(0, End + 3);
        if (First == '%') {
            continue; // a notification; nothing has been asked for that would give one
        }
        CItem Item{EItem::Packet, {}};
        if (High < 0 || Low < 0 || static_cast<unsigned>(High << 4 | Low) != Checksum(Raw) || !Decode(Raw, &Item.Text)) {
            return CItem{EItem::BadPacket, {}};
        }
        return Item;
    }
    return std::nullopt;
}

} // namespace Remote
