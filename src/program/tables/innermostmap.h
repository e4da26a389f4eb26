// Which of the intervals around an address is the innermost? For each stretch of addresses the answer is
// worked out once.
//
//   CInnermostMap Map;
//   Map.Add(0x8000, 0x801E, File);
//   Map.Build();
//   if (const U32* pFile = Map.Find(0x8004)) ...
//
// The innermost is the shortest; of equal ones the one that was added last. A question costs the same however
// many intervals lie around the address. Not thread-safe while it is being built.
#pragma once
#include "app/services/types.h"

#include <vector>

class CInnermostMap {
public:
    /// Adds [Low, High]; Low above High is left out.
    void Add(U64 Low, U64 High, U32 Payload);
    void Build();
    /// Payload of the innermost interval, null if there is none around the address. It stays until the next
    /// Build.
    const U32* Find(U64 Addr) const;

private:
    struct INTERVAL {
        U64 Low, High;
        U32 Payload, Order;
    };
    struct STRETCH {
        U64 Addr; ///< first address; the stretch ends where the next one begins
        U32 Payload;
        bool HasAny;
    };
    void _Append(U64 Addr, const INTERVAL* pInner);

    std::vector<INTERVAL> m_aInterval; ///< until Build()
    std::vector<STRETCH> m_aStretch;
};
