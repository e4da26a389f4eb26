// Symbols by name. Built once from names that somebody else owns, then asked.
//
//   CNameIndex Index;
//   Index.Add(sName, hSym);             // sName lives as long as the index
//   Index.Build();
//   Index.ForEach("main", [&](U64 hSym) { ... });   // in the order of the adding
#pragma once
#include "app/services/types.h"

#include <cstring>
#include <vector>

class CNameIndex {
public:
    /// An empty name is left out.
    void Add(const char* sName, U64 hSym)
    {
        if (*sName) m_aEntry.push_back({Hash(sName), sName, hSym});
    }
    void Build();
    bool IsBuilt() const { return !m_aFirst.empty(); }
    template <typename VISIT> void ForEach(const char* sName, VISIT Visit) const
    {
        if (!IsBuilt()) return;
        const U32 Key = Hash(sName);
        const size_t Bucket = Key & (m_aFirst.size() - 2);
        const char* sSame = nullptr; // linkers keep one copy of each text
        for (U32 i = m_aFirst[Bucket]; i < m_aFirst[Bucket + 1]; i++) {
            const ENTRY& Entry = m_aEntry[i];
            if (Entry.Hash != Key || (Entry.sName != sSame && std::strcmp(Entry.sName, sName) != 0)) continue;
            sSame = Entry.sName;
            Visit(Entry.hSym);
        }
    }

private:
    struct ENTRY {
        U32 Hash;
        const char* sName;
        U64 hSym;
    };
    static constexpr size_t MAX_HASHED = 256; ///< characters; longer names differ before
    static U32 Hash(const char* sName)
    {
        U32 Value = 2166136261u;
        for (const char* pEnd = sName + MAX_HASHED; *sName && sName != pEnd; sName++) Value = (Value ^ static_cast<U8>(*sName)) * 16777619u;
        return Value ^ Value >> 15;
    }
    std::vector<ENTRY> m_aEntry; ///< by bucket, in each in the order of the adding
    std::vector<U32> m_aFirst;   ///< first entry of each bucket, and the end; a power of two and one
};
