// A sweep over all interval ends, with the intervals around the present address kept outermost first.
#include "program/tables/functionmap.h"

void CFunctionMap::Add(U32 Low, U32 High, U64 hSym, KIND Kind)
{
    if (Low > High) return;
    m_ahSym.push_back(hSym);
    m_aInterval.push_back({Low, High, static_cast<U32>(m_ahSym.size()), Kind});
}

void CFunctionMap::Reserve(size_t Count)
{
    m_aInterval.reserve(Count);
    m_ahSym.reserve(Count);
}

void CFunctionMap::_Append(U32 Addr, const std::vector<INTERVAL>& aAround)
{
    U32 Outer = 0, Inner = 0;
    for (const INTERVAL& Interval : aAround) {
        if (!Outer && Interval.Kind == KIND::FUNCTION) Outer = Interval.Ref;
        if (Interval.Kind == KIND::EXPANSION) Inner = Interval.Ref;
    }
    if (!Outer && !aAround.empty()) Outer = aAround.front().Ref;
    if (!Inner) Inner = Outer;
    if (!m_aStretch.empty() && m_aStretch.back().Addr == Addr) m_aStretch.pop_back();
    if (!m_aStretch.empty() && m_aStretch.back().Outer == Outer && m_aStretch.back().Inner == Inner) return;
    m_aStretch.push_back({Addr, Outer, Inner});
}

void CFunctionMap::Build()
{
    m_aStretch.clear();
    std::vector<INTERVAL> aAll;
    aAll.swap(m_aInterval);
    auto IsOuter = [](const INTERVAL& a, const INTERVAL& b) { return a.Size() != b.Size() ? a.Size() > b.Size() : a.Ref < b.Ref; };
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
    m_Index.Build(m_aStretch.data(), m_aStretch.size());
}

const CFunctionMap::STRETCH* CFunctionMap::Find(U32 Addr) const
{
    const STRETCH* pNext = m_Index.UpperBound(m_aStretch.data(), m_aStretch.size(), Addr);
    return pNext == m_aStretch.data() ? nullptr : pNext - 1;
}
