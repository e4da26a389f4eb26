// Where in arrays that are sorted by address does an address belong? The answer of a binary search in one access to
// memory: for each even address it is noted which row is the last at or below.
//
//   CAddrIndex<2> Index;
//   Index.Build(aLine, aFunction);                              // arrays of rows with a member Addr
//   const LINE* pRow = Index.Floor<0>(aLine, Addr);
//
// What is noted of all arrays about one page of addresses lies side by side: who asks for the function at an address
// mostly asks for its line next. Build anew after each change of an array. Without an index (few rows, or rows spread
// over the whole address space) the arrays are searched as they are.
#pragma once
#include "app/services/types.h"
#include "program/elf/bigarray.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>
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
        if (Count < MIN_ROWS || NumBlocks * PAGES > Count * MAX_PAGES_A_ROW || NumBlocks > MAX_BLOCKS) {
            m_aBlock.clear();
            return;
        }
        m_aPage.resize(NumBlocks * PAGES);
        U32 Next = 1;
        for (U32& Block : m_aBlock) {
            if (!Block) continue;
            Block = Next;
            Next += PAGES;
        }
        std::size_t Lane = 0;
        (_Fill(aRow, Lane++), ...);
    }
    /// First row of the highest address at or below the given one, null if there is none.
    template <std::size_t LANE, typename ROWS> const auto* Floor(const ROWS& aRow, U32 Addr) const
    {
        const auto* pRow = _Near<LANE>(aRow, Addr);
        if (!pRow) {
            const auto itAbove = std::upper_bound(aRow.begin(), aRow.end(), Addr, IS_ABOVE);
            if (itAbove == aRow.begin()) return pRow;
            return &*std::lower_bound(aRow.begin(), itAbove, itAbove[-1].Addr, IS_BELOW);
        }
        // What begins at an odd address isn't noted.
        if (Addr % 2 != 0) {
            const auto* pNext = _BehindGroup(aRow, pRow);
            if (pNext != aRow.data() + aRow.size() && pNext->Addr == Addr) return pNext;
        }
        return pRow->Addr <= Addr ? pRow : nullptr;
    }
    /// First row at or above the address.
    template <std::size_t LANE, typename ROWS> const auto* LowerBound(const ROWS& aRow, U32 Addr) const
    {
        const auto* pRow = Floor<LANE>(aRow, Addr);
        if (!pRow) return aRow.data();
        return pRow->Addr == Addr ? pRow : _BehindGroup(aRow, pRow);
    }
    /// First row above the address.
    template <std::size_t LANE, typename ROWS> const auto* UpperBound(const ROWS& aRow, U32 Addr) const
    {
        const auto* pRow = Floor<LANE>(aRow, Addr);
        return pRow ? _BehindGroup(aRow, pRow) : aRow.data();
    }
    /// Has the memory that a search in this array will look at fetched meanwhile.
    template <std::size_t LANE, typename ROWS> void Prefetch(const ROWS& aRow, U32 Addr) const
    {
        if (const auto* pRow = _Near<LANE>(aRow, Addr)) __builtin_prefetch(pRow);
    }

private:
    static constexpr U32 PAGE_SHIFT = 5, BLOCK_SHIFT = 17;
    static constexpr U32 PAGES = 1u << (BLOCK_SHIFT - PAGE_SHIFT), NUM_BLOCKS = 1u << (32 - BLOCK_SHIFT);
    static constexpr U32 PLACES = 1u << (PAGE_SHIFT - 1); ///< even addresses of a page
    static constexpr U8 TOO_FAR = 255;
    static constexpr std::size_t MIN_ROWS = 256, MAX_PAGES_A_ROW = 16;
    /// 32 MB of code, which cost 40 MB here. No target has more; rows of damaged files lie gigabytes apart.
    static constexpr std::size_t MAX_BLOCKS = (32u << 20) >> BLOCK_SHIFT;
    struct PAGE {
        U32 aFirst[LANES];         ///< the row that is the floor of the page's start, 0 if there is none
        U8 aaStep[LANES][PLACES];  ///< from there to the floor of each even address
    };
    static constexpr auto IS_BELOW = [](const auto& Row, U32 Addr) { return Row.Addr < Addr; };
    static constexpr auto IS_ABOVE = [](U32 Addr, const auto& Row) { return Addr < Row.Addr; };

    static U32 Block(U32 Addr) { return Addr >> BLOCK_SHIFT; }
    template <typename ROWS> void _MarkBlocks(const ROWS& aRow)
    {
        for (const auto& Row : aRow) m_aBlock[Block(Row.Addr)] = 1;
    }
    template <typename ROWS> void _Fill(const ROWS& aRow, std::size_t Lane)
    {
        std::size_t Floor = 0, Next = 0; // the group of rows at or below the address, and the first row above it
        for (U32 At = 0; At < NUM_BLOCKS; At++) {
            if (!m_aBlock[At]) continue;
            PAGE* pPage = &m_aPage[m_aBlock[At] - 1];
            const U32 Start = At << BLOCK_SHIFT;
            for (U32 Place = 0; Place < PAGES * PLACES; Place++) {
                while (Next < aRow.size() && aRow[Next].Addr <= Start + Place * 2) {
                    if (aRow[Next].Addr != aRow[Floor].Addr) Floor = Next;
                    Next++;
                }
                PAGE& Page = pPage[Place / PLACES];
                if (Place % PLACES == 0) Page.aFirst[Lane] = static_cast<U32>(Floor);
                const std::size_t Step = Floor - Page.aFirst[Lane];
                Page.aaStep[Lane][Place % PLACES] = Step < TOO_FAR ? static_cast<U8>(Step) : TOO_FAR;
            }
        }
    }
    /// The floor of an even address, or the very first row when all are above; null if nothing is noted.
    template <std::size_t LANE, typename ROWS> const auto* _Near(const ROWS& aRow, U32 Addr) const
    {
        using ROW = std::remove_pointer_t<decltype(aRow.data())>;
        const ROW* const pNone = nullptr;
        if (m_aBlock.empty() || !m_aBlock[Block(Addr)] || aRow.empty()) return pNone;
        const PAGE& Page = m_aPage[m_aBlock[Block(Addr)] - 1 + (Addr >> PAGE_SHIFT & (PAGES - 1))];
        const U8 Step = Page.aaStep[LANE][Addr / 2 % PLACES];
        return Step == TOO_FAR ? pNone : aRow.data() + Page.aFirst[LANE] + Step;
    }
    template <typename ROWS, typename ROW> static const ROW* _BehindGroup(const ROWS& aRow, const ROW* pRow)
    {
        const ROW* pEnd = aRow.data() + aRow.size();
        const U32 Addr = pRow->Addr;
        while (pRow != pEnd && pRow->Addr == Addr) pRow++;
        return pRow;
    }

    std::vector<U32> m_aBlock; ///< by 128 KB: index into m_aPage plus 1, 0 if it has no rows
    CBigVector<PAGE> m_aPage;
};
