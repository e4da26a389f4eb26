// Which of many closed intervals overlap a range? Built once, then asked.
//
//   CIntervalTree Tree;
//   Tree.Add(0x8000, 0x801E, hFunc);
//   Tree.Build();
//   for (U64 Payload : Tree.Find(0x8004, 0x8004)) ...  // longest interval first
//
// Each node has a centre and keeps the intervals that contain it, sorted by their low ends; the others go left
// and right. A node that is small or deep keeps everything. Not thread-safe while it is being built.
#pragma once
#include "app/services/types.h"

#include <vector>

class CIntervalTree {
public:
    void Clear();
    /// Adds [Low, High]; Low above High is left out.
    void Add(U64 Low, U64 High, U64 Payload);
    void Build();
    /// Payloads of all intervals that overlap [Low, High], the longest first; of equal ones the one added first.
    std::vector<U64> Find(U64 Low, U64 High) const;

private:
    static constexpr int MAX_DEPTH = 16;
    static constexpr size_t MIN_BUCKET = 64;
    static constexpr U32 NO_NODE = 0xFFFFFFFFu;
    struct INTERVAL {
        U64 Low, High, Payload;
        U32 Order;
    };
    struct NODE {
        U64 Centre = 0;
        std::vector<INTERVAL> aOwn;
        U32 Left = NO_NODE, Right = NO_NODE;
    };
    U32 _Build(std::vector<INTERVAL>& aInterval, int Depth);
    std::vector<INTERVAL> m_aAll;
    std::vector<NODE> m_aNode;
    U32 m_Root = NO_NODE;
};
