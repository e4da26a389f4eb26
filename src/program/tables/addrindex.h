// Where in an array that is sorted by address does an address belong? The answer of a binary search in about one
// access to memory: the first row of each small page is noted, and only its rows are searched.
//
//   CAddrIndex Index;
//   Index.Build(aRow.data(), aRow.size());                      // rows with a member Addr
//   const ROW* pRow = Index.LowerBound(aRow.data(), aRow.size(), Addr);
//
// Build anew after each change of the array. Without an index (few rows, or rows spread over the whole address
// space) the array is searched as it is.
#pragma once
#include "app/services/types.h"

#include <algorithm>
#include <cstddef>
#include <vector>

class CAddrIndex {
public:
    template <typename ROW> void Build(const ROW* pRow, size_t Count)
    {
        m_aBlock.assign(NUM_BLOCKS, 0);
        m_aPage.clear();
        size_t NumBlocks = 0;
        for (size_t i = 0; i < Count; i++) NumBlocks += i == 0 || Block(pRow[i].Addr) != Block(pRow[i - 1].Addr);
        if (Count < MIN_ROWS || NumBlocks * PAGES > Count * MAX_PAGES_A_ROW) {
            m_aBlock.clear();
            return;
        }
        m_aPage.reserve(NumBlocks * (PAGES + 1));
        for (size_t i = 0; i < Count;) {
            const U32 At = Block(pRow[i].Addr);
            m_aBlock[At] = static_cast<U32>(m_aPage.size()) + 1;
            for (U32 Page = 0; Page < PAGES; Page++) {
                const U32 Start = At << BLOCK_SHIFT | Page << PAGE_SHIFT;
                while (i < Count && Block(pRow[i].Addr) == At && pRow[i].Addr < Start) i++;
                m_aPage.push_back(static_cast<U32>(i));
            }
            while (i < Count && Block(pRow[i].Addr) == At) i++;
            m_aPage.push_back(static_cast<U32>(i));
        }
    }
    /// First row at or above the address.
    template <typename ROW> const ROW* LowerBound(const ROW* pRow, size_t Count, U32 Addr) const
    {
        const auto [pFirst, pLast] = _Span(pRow, Count, Addr);
        return _Search(pFirst, static_cast<size_t>(pLast - pFirst), [Addr](const ROW& Row) { return Row.Addr < Addr; });
    }
    /// First row above the address.
    template <typename ROW> const ROW* UpperBound(const ROW* pRow, size_t Count, U32 Addr) const
    {
        const auto [pFirst, pLast] = _Span(pRow, Count, Addr);
        return _Search(pFirst, static_cast<size_t>(pLast - pFirst), [Addr](const ROW& Row) { return Row.Addr <= Addr; });
    }

private:
    static constexpr U32 PAGE_SHIFT = 5, BLOCK_SHIFT = 20;
    static constexpr U32 PAGES = 1u << (BLOCK_SHIFT - PAGE_SHIFT), NUM_BLOCKS = 1u << (32 - BLOCK_SHIFT);
    static constexpr size_t MIN_ROWS = 256, MAX_PAGES_A_ROW = 64;

    /// First row that is not below, without a branch that depends on the rows.
    template <typename ROW, typename BELOW> static const ROW* _Search(const ROW* p, size_t Count, BELOW IsBelow)
    {
        while (Count > 1) {
            const size_t Half = Count / 2;
            p = IsBelow(p[Half - 1]) ? p + Half : p;
            Count -= Half;
        }
        return p + (Count == 1 && IsBelow(*p) ? 1 : 0);
    }
    static U32 Block(U32 Addr) { return Addr >> BLOCK_SHIFT; }
    /// The rows of the page that holds the address; all that is below it stands before the span.
    template <typename ROW> std::pair<const ROW*, const ROW*> _Span(const ROW* pRow, size_t Count, U32 Addr) const
    {
        if (m_aBlock.empty() || !m_aBlock[Block(Addr)]) return {pRow, pRow + Count};
        const U32* pPage = &m_aPage[m_aBlock[Block(Addr)] - 1 + (Addr >> PAGE_SHIFT & (PAGES - 1))];
        return {pRow + pPage[0], pRow + pPage[1]};
    }

    std::vector<U32> m_aBlock; ///< by megabyte: index into m_aPage plus 1, 0 if it has no rows
    std::vector<U32> m_aPage;  ///< first row at or above the start of each page, and the end of the block's rows
};
