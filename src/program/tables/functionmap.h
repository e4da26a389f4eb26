// Which functions lie around an address? For each stretch of addresses the answer is worked out once: the function
// that is really there and the innermost inline expansion.
//
//   CFunctionMap Map;
//   Map.Add(0x8000, 0x801E, hFunc, false);
//   Map.Build();
//   if (const CFunctionMap::STRETCH* p = Map.Find(PC)) Show(p->hInner);
//
// Of several intervals around an address the longest is the outermost; of equal ones the one added first. Not
// thread-safe while it is being built.
#pragma once
#include "program/tables/addrindex.h"

#include <vector>

class CFunctionMap {
public:
    struct STRETCH {
        U32 Addr;   ///< first address; the stretch ends where the next one begins
        U64 hOuter; ///< first real function, else the outermost interval; 0 if there is none
        U64 hInner; ///< innermost expansion, else hOuter
    };
    enum class KIND : U8 { FUNCTION, EXPANSION, ELF_SYMBOL };

    /// Adds [Low, High]; Low above High is left out.
    void Add(U32 Low, U32 High, U64 hSym, KIND Kind);
    void Build();
    /// The stretch around an address, null below the first one. It stays until the next Build.
    const STRETCH* Find(U32 Addr) const;

private:
    struct INTERVAL {
        U32 Low, High, Order;
        KIND Kind;
        U64 hSym;
        U32 Size() const { return High - Low; }
    };
    /// No program nests deeper; damaged input must not make each stretch look through thousands.
    static constexpr size_t MAX_AROUND = 1024;
    void _Append(U32 Addr, const std::vector<INTERVAL>& aAround);

    std::vector<INTERVAL> m_aInterval;
    std::vector<STRETCH> m_aStretch;
    CAddrIndex m_Index;
};
