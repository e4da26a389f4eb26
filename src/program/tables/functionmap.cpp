// A sweep over all interval ends, with the intervals around the present address kept outermost first.
#include "program/tables/functionmap.h"

#include <algorithm>

void CFunctionMap::Add(U32 Low, U32 High, U64 hSym, KIND Kind)
{
    if (Low > High) return;
    // The highest bit of an id would name a unit of types, which has no code.
    const U32 Base = Kind == KIND::ELF_SYMBOL;
    m_ahBase[Base] = hSym & ~0xFFFFFFFFull;
    const U32 Ref = Base << ID_BITS | (static_cast<U32>(hSym) & ID_MASK);
    m_aInterval.push_back({Low, High, static_cast<U32>(m_aInterval.size()), Ref, Kind});
}

void CFunctionMap::Reserve(size_t Count)
{
    m_aInterval.reserve(Count);
}

void CFunctionMap::_Append(U32 Addr, const std::vector<INTERVAL>& aAround)
{
    U32 Outer = NO_SYMBOL, Inner = NO_SYMBOL;
    for (const INTERVAL& Interval : aAround) {
        if (Outer == NO_SYMBOL && Interval.Kind == KIND::FUNCTION) Outer = Interval.Ref;
        if (Interval.Kind == KIND::EXPANSION) Inner = Interval.Ref;
    }
    if (Outer == NO_SYMBOL && !aAround.empty()) Outer = aAround.front().Ref;
    if (Inner == NO_SYMBOL) Inner = Outer;
    if (!m_aStretch.empty() && m_aStretch.back().Addr == Addr) m_aStretch.pop_back();
    if (!m_aStretch.empty() && m_aStretch.back().Outer == Outer && m_aStretch.back().Inner == Inner) return;
    m_aStretch.push_back({Addr, Outer, Inner});
}

void CFunctionMap::Build()
{
    m_aStretch.clear();
    std::vector<INTERVAL> aAll;
    aAll.swap(m_aInterval);
    auto IsOuter = [](const INTERVAL& a, const INTERVAL& b) { return a.Size() != b.Size() ? a.Size() > b.Size() : a.Order < b.Order; };
    std::sort(aAll.begin(), aAll.end(), [&](const INTERVAL& a, const INTERVAL& b) { return a.Low != b.Low ? a.Low < b.Low : IsOuter(a, b); });
    m_aStretch.reserve(aAll.size() * 2);
    std::vector<INTERVAL> aAround;
    U32 NextEnd = 0xFFFFFFFFu; // lowest end of all that is around
    auto CloseBelow = [&](U64 Limit) {
        while (!aAround.empty() && NextEnd < Limit) {
            const U32 End = NextEnd;
            NextEnd = 0xFFFFFFFFu;
            std::erase_if(aAround, [End](const INTERVAL& Interval) { return Interval.High == End; });
            for (const INTERVAL& Interval : aAround) NextEnd = std::min(NextEnd, Interval.High);
            if (End != 0xFFFFFFFFu) _Append(End + 1, aAround);
        }
    };
    for (size_t i = 0; i < aAll.size();) {
        const U32 Low = aAll[i].Low;
        CloseBelow(Low);
        for (; i < aAll.size() && aAll[i].Low == Low; i++) {
            if (aAround.size() >= MAX_AROUND) continue;
            aAround.insert(std::upper_bound(aAround.begin(), aAround.end(), aAll[i], IsOuter), aAll[i]);
            NextEnd = std::min(NextEnd, aAll[i].High);
        }
        _Append(Low, aAround);
    }
    CloseBelow(0x100000000ull);
    m_aStretch.shrink_to_fit();
}

const CFunctionMap::STRETCH* CFunctionMap::Find(U32 Addr) const
{
    const auto it = std::upper_bound(m_aStretch.begin(), m_aStretch.end(), Addr, [](U32 Key, const STRETCH& Stretch) { return Key < Stretch.Addr; });
    return it == m_aStretch.begin() ? nullptr : &*it - 1;
}
