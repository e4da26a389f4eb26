// A sweep over all interval ends with the intervals around the present address in order of their sizes.
#include "program/tables/innermostmap.h"

#include <algorithm>
#include <set>

void CInnermostMap::Add(U64 Low, U64 High, U32 Payload)
{
    if (Low <= High) m_aInterval.push_back({Low, High, Payload, static_cast<U32>(m_aInterval.size())});
}

void CInnermostMap::_Append(U64 Addr, const INTERVAL* pInner)
{
    if (!m_aStretch.empty() && m_aStretch.back().Addr == Addr) m_aStretch.pop_back();
    m_aStretch.push_back({Addr, pInner ? pInner->Payload : 0, pInner != nullptr});
}

void CInnermostMap::Build()
{
    std::vector<INTERVAL> aAll;
    aAll.swap(m_aInterval);
    m_aStretch.clear();
    std::vector<const INTERVAL*> apByLow, apByEnd;
    for (const INTERVAL& Interval : aAll) apByLow.push_back(&Interval);
    apByEnd = apByLow;
    std::sort(apByLow.begin(), apByLow.end(),
              [](const INTERVAL* a, const INTERVAL* b) { return a->Low < b->Low; });
    std::sort(apByEnd.begin(), apByEnd.end(),
              [](const INTERVAL* a, const INTERVAL* b) { return a->High < b->High; });
    auto IsInner = [](const INTERVAL* a, const INTERVAL* b) {
        const U64 SizeA = a->High - a->Low, SizeB = b->High - b->Low;
        return SizeA != SizeB ? SizeA < SizeB : a->Order > b->Order;
    };
    std::set<const INTERVAL*, decltype(IsInner)> Around(IsInner);
    auto itLow = apByLow.begin();
    for (auto itEnd = apByEnd.begin(); itEnd != apByEnd.end();) {
        // What begins at or before the next end comes first: the end belongs to its interval.
        const bool Begins = itLow != apByLow.end() && (*itLow)->Low <= (*itEnd)->High;
        const U64 Addr = Begins ? (*itLow)->Low : (*itEnd)->High + 1;
        if (Begins)
            Around.insert(*itLow++);
        else
            Around.erase(*itEnd++);
        _Append(Addr, Around.empty() ? nullptr : *Around.begin());
    }
}

const U32* CInnermostMap::Find(U64 Addr) const
{
    const auto it = std::upper_bound(m_aStretch.begin(), m_aStretch.end(), Addr,
                                     [](U64 Key, const STRETCH& Stretch) { return Key < Stretch.Addr; });
    return it != m_aStretch.begin() && (it - 1)->HasAny ? &(it - 1)->Payload : nullptr;
}
