// Bounds-checked reading of bytes that come from a file.
//
//   CByteCursor Cur(pData, Size, BigEndian);
//   U32 Version = Cur.GetU16();
//   if (!Cur.IsOk()) return false;  // one test after a group of reads
//
// A read that doesn't fit clears the ok flag, gives 0 and moves nothing; all later reads give 0 too. The bytes
// belong to the caller.
#pragma once
#include "app/services/types.h"

#include <cstring>

class CByteCursor {
public:
    CByteCursor() = default;
    CByteCursor(const U8* pData, U64 Size, bool BigEndian, U64 Pos = 0)
        : m_pData(pData), m_Size(pData ? Size : 0), m_Pos(Pos), m_BigEndian(BigEndian), m_Ok(Pos <= m_Size)
    {
    }

    bool IsOk() const { return m_Ok; }
    bool IsBigEndian() const { return m_BigEndian; }
    void Fail() { m_Ok = false; }
    bool AtEnd() const { return !m_Ok || m_Pos >= m_Size; }
    U64 Pos() const { return m_Pos; }
    U64 Remaining() const { return m_Ok ? m_Size - m_Pos : 0; }
    const U8* Ptr() const { return m_pData + m_Pos; }

    void Seek(U64 Pos)
    {
        if (Pos > m_Size) m_Ok = false;
        else m_Pos = Pos;
    }
    void Skip(U64 Count)
    {
        if (!m_Ok || Count > m_Size - m_Pos) m_Ok = false;
        else m_Pos += Count;
    }
    /// Narrows the readable bytes to those before End.
    void Limit(U64 End)
    {
        if (End < m_Pos || End > m_Size) m_Ok = false;
        else m_Size = End;
    }

    U8 GetU8()
    {
        if (!m_Ok || m_Pos >= m_Size) {
            m_Ok = false;
            return 0;
        }
        return m_pData[m_Pos++];
    }
    U16 GetU16() { return static_cast<U16>(GetUnsigned(2)); }
    U32 GetU32() { return static_cast<U32>(GetUnsigned(4)); }
    U64 GetU64() { return GetUnsigned(8); }

    /// Number of 1 to 8 bytes in the file's byte order.
    U64 GetUnsigned(U32 NumBytes)
    {
        if (!m_Ok || NumBytes > 8 || NumBytes > m_Size - m_Pos) {
            m_Ok = false;
            return 0;
        }
        U64 Value = 0;
        const U8* p = m_pData + m_Pos;
        for (U32 i = 0; i < NumBytes; i++) {
            Value |= static_cast<U64>(p[i]) << (8 * (m_BigEndian ? NumBytes - 1 - i : i));
        }
        m_Pos += NumBytes;
        return Value;
    }
    I64 GetSigned(U32 NumBytes)
    {
        const U64 Value = GetUnsigned(NumBytes);
        if (NumBytes == 0 || NumBytes >= 8) return static_cast<I64>(Value);
        const U32 Shift = 64 - 8 * NumBytes;
        return static_cast<I64>(Value << Shift) >> Shift;
    }

    U64 GetULeb()
    {
        U64 Value = 0;
        U32 Shift = 0;
        for (;;) {
            const U8 Byte = GetU8();
            if (!m_Ok) return 0;
            if (Shift < 64) Value |= static_cast<U64>(Byte & 0x7F) << Shift;
            Shift += 7;
            if (!(Byte & 0x80)) return Value;
        }
    }
    I64 GetSLeb()
    {
        U64 Value = 0;
        U32 Shift = 0;
        for (;;) {
            const U8 Byte = GetU8();
            if (!m_Ok) return 0;
            if (Shift < 64) Value |= static_cast<U64>(Byte & 0x7F) << Shift;
            Shift += 7;
            if (Byte & 0x80) continue;
            if (Shift < 64 && (Byte & 0x40)) Value |= ~0ull << Shift;
            return static_cast<I64>(Value);
        }
    }
    void SkipLeb()
    {
        while (GetU8() & 0x80) {
        }
    }
    /// Zero-terminated text; the terminator must lie inside. The empty text on failure.
    const char* GetText()
    {
        const void* pEnd = m_Ok && m_Pos < m_Size ? std::memchr(m_pData + m_Pos, 0, m_Size - m_Pos) : nullptr;
        if (!pEnd) {
            m_Ok = false;
            return "";
        }
        const char* sText = reinterpret_cast<const char*>(m_pData + m_Pos);
        m_Pos = static_cast<U64>(static_cast<const U8*>(pEnd) - m_pData) + 1;
        return sText;
    }
    /// Pointer to Count bytes, null if they don't fit.
    const U8* GetBytes(U64 Count)
    {
        if (!m_Ok || Count > m_Size - m_Pos) {
            m_Ok = false;
            return nullptr;
        }
        const U8* p = m_pData + m_Pos;
        m_Pos += Count;
        return p;
    }

private:
    const U8* m_pData = nullptr;
    U64 m_Size = 0;
    U64 m_Pos = 0;
    bool m_BigEndian = false;
    bool m_Ok = false;
};
