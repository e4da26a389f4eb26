// Where in arrays that are sorted by address does an address belong? The answer of a binary search in about one
// access to memory: the first row of each small page is noted, and only its rows are searched.
//
//   CAddrIndex<2> Index;
//   Index.Build(aLine, aFunction);                              // arrays of rows with a member Addr
//   const LINE* pRow = Index.LowerBound<0>(aLine, Addr);
//
// What is noted of all arrays about one page lies side by side: who asks for the function at an address mostly asks
// for its line next. Build anew after each change of an array. Without an index (few rows, or rows spread over the
// whole address space) the arrays are searched as they are.
#pragma once
#include "app/services/types.h"
#include "program/elf/bigarray.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

template <std::size_t LANES> class CAddrIndex {
public:
    template <typename... ROWS> void Build(const ROWS&... aRow)
    {
        static_assert(sizeof...(ROWS) == LANES);
        m_aBlock.assign(NUM_BLOCKS, 0);
        m_aPage.clear();
        (_MarkBlocks(aRow), ...);
        const std::size_t Count = (aRow.size() + ...);
        const std::size_t NumBlocks = static_cast<std::size_t>(std::count(m_aBlock.begin(), m_aBlock.end(), 1u));
        if (Count < MIN_ROWS || NumBlocks * PAGES > Count * MAX_PAGES_A_ROW) {
            m_aBlock.clear();
            return;
        }
        m_aPage.resize(NumBlocks * (PAGES + 1));
        U32 Next = 1;
        for (U32& Block : m_aBlock) {
            if (!Block) continue;
            Block = Next;
            Next += PAGES + 1;
        }
        std::size_t Lane = 0;
        (_Fill(aRow, Lane++), ...);
    }
    /// First row at or above the address.
    template <std::size_t LANE, typename ROWS> auto LowerBound(const ROWS& aRow, U32 Addr) const
    {
        return _Search(_Span<LANE>(aRow, Addr), [Addr](const auto& Row) { return Row.Addr < Addr; });
    }
    /// First row above the address.
    template <std::size_t LANE, typename ROWS> auto UpperBound(const ROWS& aRow, U32 Addr) const
    {
        return _Search(_Span<LANE>(aRow, Addr), [Addr](const auto& Row) { return Row.Addr <= Addr; });
    }
    /// Has the memory that a search in this array will look at fetched meanwhile.
    template <std::size_t LANE, typename ROWS> void Prefetch(const ROWS& aRow, U32 Addr) const
    {
        const PAGE* pPage = _Page(Addr);
        if (!pPage) return;
        // Where rows are dense, those of a page take several lines of the cache: the likely one is guessed.
        const std::size_t First = pPage[0][LANE], Count = pPage[1][LANE] - First;
        __builtin_prefetch(aRow.data() + First + (Count * (Addr & ((1u << PAGE_SHIFT) - 1)) >> PAGE_SHIFT));
    }

private:
    static constexpr U32 PAGE_SHIFT = 5, BLOCK_SHIFT = 20;
    static constexpr U32 PAGES = 1u << (BLOCK_SHIFT - PAGE_SHIFT), NUM_BLOCKS = 1u << (32 - BLOCK_SHIFT);
    static constexpr std::size_t MIN_ROWS = 256, MAX_PAGES_A_ROW = 64;
    using PAGE = std::array<U32, LANES>;

    static U32 Block(U32 Addr) { return Addr >> BLOCK_SHIFT; }
    template <typename ROWS> void _MarkBlocks(const ROWS& aRow)
    {
        for (const auto& Row : aRow) m_aBlock[Block(Row.Addr)] = 1;
    }
    template <typename ROWS> void _Fill(const ROWS& aRow, std::size_t Lane)
    {
        std::size_t i = 0;
        for (U32 At = 0; At < NUM_BLOCKS; At++) {
            if (!m_aBlock[At]) continue;
            PAGE* pPage = &m_aPage[m_aBlock[At] - 1];
            for (U32 Page = 0; Page < PAGES; Page++, pPage++) {
                const U32 Start = At << BLOCK_SHIFT | Page << PAGE_SHIFT;
                while (i < aRow.size() && aRow[i].Addr < Start) i++;
                (*pPage)[Lane] = static_cast<U32>(i);
            }
            while (i < aRow.size() && Block(aRow[i].Addr) == At) i++;
            (*pPage)[Lane] = static_cast<U32>(i);
        }
    }
    /// First row of a span that is not below, without a branch that depends on the rows.
    template <typename ROW, typename BELOW> static const ROW* _Search(std::pair<const ROW*, const ROW*> Span, BELOW IsBelow)
    {
        const ROW* p = Span.first;
        std::size_t Count = static_cast<std::size_t>(Span.second - p);
        while (Count > 1) {
            const std::size_t Half = Count / 2;
            p = IsBelow(p[Half - 1]) ? p + Half : p;
            Count -= Half;
        }
        return p + (Count == 1 && IsBelow(*p) ? 1 : 0);
    }
    /// The page that holds an address, null if nothing is noted about it.
    const PAGE* _Page(U32 Addr) const
    {
        if (m_aBlock.empty() || !m_aBlock[Block(Addr)]) return nullptr;
        return &m_aPage[m_aBlock[Block(Addr)] - 1 + (Addr >> PAGE_SHIFT & (PAGES - 1))];
    }
    /// The rows of the page that holds the address; all that is below it stands before the span.
    template <std::size_t LANE, typename ROWS> auto _Span(const ROWS& aRow, U32 Addr) const
    {
        const auto* pRow = aRow.data();
        const PAGE* pPage = _Page(Addr);
        return pPage ? std::pair{pRow + pPage[0][LANE], pRow + pPage[1][LANE]} : std::pair{pRow, pRow + aRow.size()};
    }

    std::vector<U32> m_aBlock;  ///< by megabyte: index into m_aPage plus 1, 0 if it has no rows
    CBigVector<PAGE> m_aPage;   ///< first row at or above the start of each page, and the end of the block's rows
};
