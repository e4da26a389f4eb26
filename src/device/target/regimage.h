// Images of core registers and of coprocessor registers during one halt.
#pragma once
#include "device/queue/devicetypes.h"

#include <array>
#include <vector>

/// Core registers by BrylloRegIdx.
class CRegImage {
public:
    void Resize(U32 Count);
    U32 GetCount() const { return U32(m_aValue.size()); }
    /// An index beyond the image is DATA_INVALID.
    U8 GetStatus(U32 Idx) const { return Idx < GetCount() ? m_aStatus[Idx] : U8(DATA_INVALID); }
    U64 GetValue(U32 Idx) const { return Idx < GetCount() ? m_aValue[Idx] : 0; }
    void Set(U32 Idx, U64 Value, U8 Status);
    void SetStatus(U32 Idx, U8 Status);
    void Invalidate();

private:
    std::vector<U64> m_aValue;
    std::vector<U8> m_aStatus;
};

/// Coprocessor registers by name: a ring of the last 100, found by a hash of the name. Two names with one hash
/// share an entry.
class CCPRegImage {
public:
    static U32 Hash(const char* sName); ///< 0 for null
    U8 GetStatus(const char* sName) const;
    U64 GetValue(const char* sName) const;
    void Set(const char* sName, U64 Value, U8 Status);
    void Invalidate();

private:
    struct ENTRY {
        U32 Hash = 0;
        U64 Value = 0;
        U8 Status = DATA_UNREAD;
        bool IsUsed = false;
    };
    const ENTRY* _Find(const char* sName) const;
    std::array<ENTRY, 100> m_aEntry;
    U32 m_Next = 0;
};
