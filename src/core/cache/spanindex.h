// Which of many address ranges holds an address: a scattered data file has tens of thousands of blocks.
#pragma once
#include "app/services/types.h"

#include <cstddef>
#include <vector>

namespace Core {

/// Ranges by start address. They may overlap: the first in the order of the list counts then.
class CSpanIndex {
public:
    /// From a list of things with Start and End, the end exclusive.
    template <class RANGE> void Build(const std::vector<RANGE>& aRange) {
        m_aSpan.clear();
        for (size_t i = 0; i < aRange.size(); i++) m_aSpan.push_back({aRange[i].Start, aRange[i].End, 0, static_cast<int>(i)});
        Sort();
    }
    /// Position in the list of the range that holds all of Size bytes at the address, -1 for none.
    int Find(U64 Addr, U64 Size) const;
    /// Start of the first range above the address; false if there is none.
    bool FindNext(U64 Addr, U64* pStart) const;

private:
    struct SPAN {
        U64 Start;
        U64 End;    ///< exclusive
        U64 MaxEnd; ///< highest end of this range and all before it
        int Index;  ///< in the list
    };
    void Sort();
    std::vector<SPAN>::const_iterator FindAbove(U64 Addr) const; ///< first span that starts above the address

    std::vector<SPAN> m_aSpan;
};

} // namespace Core
