// Symbols by name. Built once from names that somebody else owns, then asked.
//
//   CNameIndex Index;
//   Index.Add(sName, hSym);             // sName lives as long as the index
//   Index.Build();
//   for (U64 hSym : Index.Find("main")) ...         // in the order of the adding
//
// The symbols of a name lie side by side, so that a name that stands for many costs little more than one.
#pragma once
#include "app/services/types.h"

#include <cstring>
#include <span>
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
    /// The symbols of a name; empty before Build().
    std::span<const U64> Find(const char* sName) const
    {
        if (!IsBuilt()) return {};
        const U32 Key = Hash(sName);
        const U32 Bucket = Key >> m_Shift;
        for (U32 i = m_aFirst[Bucket]; i < m_aFirst[Bucket + 1]; i++) {
            const NAME& Name = m_aName[i];
            if (Name.Hash == Key && std::strcmp(Name.sName, sName) == 0) return {m_ahSym.data() + Name.First, m_aName[i + 1].First - Name.First};
        }
        return {};
    }

private:
    struct ENTRY {
        U32 Hash;
        const char* sName;
        U64 hSym;
    };
    struct NAME {
        const char* sName;
        U32 Hash;
        U32 First; ///< its first symbol; they end where those of the next name begin
    };
    static constexpr int MIN_BUCKET_BITS = 4, MAX_BUCKET_BITS = 30;
    static constexpr size_t MAX_HASHED = 256; ///< characters; longer names differ before
    /// Eight characters a step: names of templates are long.
    static U32 Hash(const char* sName)
    {
        constexpr U64 FACTOR = 0x9E3779B97F4A7C15ull;
        size_t Left = strnlen(sName, MAX_HASHED);
        U64 Value = Left;
        while (Left > 0) {
            const size_t Count = Left < 8 ? Left : 8;
            U64 Word = 0;
            std::memcpy(&Word, sName, Count);
            Value = (Value ^ Word) * FACTOR;
            Value ^= Value >> 29;
            sName += Count;
            Left -= Count;
        }
        return static_cast<U32>(Value ^ Value >> 32);
    }
    static int _BucketBits(size_t Count);
    std::vector<ENTRY> m_aEntry; ///< until Build()
    std::vector<NAME> m_aName;   ///< by bucket, and one behind the last
    std::vector<U64> m_ahSym;    ///< by name, for each in the order of the adding
    std::vector<U32> m_aFirst;   ///< first name of each bucket, and the end; a power of two and one
    int m_Shift = 0;             ///< the bucket of a hash are the bits above
};
