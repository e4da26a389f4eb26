// Interval tree.
#include "program/tables/intervaltree.h"

#include <algorithm>

void CIntervalTree::Clear()
{
    m_aAll.clear();
    m_aNode.clear();
    m_Root = NO_NODE;
}

void CIntervalTree::Add(U64 Low, U64 High, U64 Payload)
{
    if (Low <= High) m_aAll.push_back({Low, High, Payload, static_cast<U32>(m_aAll.size())});
}

void CIntervalTree::Build()
{
    m_aNode.clear();
    std::vector<INTERVAL> aInterval;
    aInterval.swap(m_aAll);
    m_Root = aInterval.empty() ? NO_NODE : _Build(aInterval, MAX_DEPTH);
}

U32 CIntervalTree::_Build(std::vector<INTERVAL>& aInterval, int Depth)
{
    const U32 Index = static_cast<U32>(m_aNode.size());
    m_aNode.emplace_back();
    NODE Node;
    std::vector<INTERVAL> aLeft, aRight;
    if (Depth > 0 && aInterval.size() >= MIN_BUCKET) {
        // The median of the low ends halves what goes down, whatever the spread of the addresses is.
        auto itMid = aInterval.begin() + static_cast<std::ptrdiff_t>(aInterval.size() / 2);
        std::nth_element(aInterval.begin(), itMid, aInterval.end(),
                         [](const INTERVAL& a, const INTERVAL& b) { return a.Low < b.Low; });
        Node.Centre = itMid->Low;
        for (const INTERVAL& Interval : aInterval) {
            if (Interval.High < Node.Centre) aLeft.push_back(Interval);
            else if (Interval.Low > Node.Centre) aRight.push_back(Interval);
            else Node.aOwn.push_back(Interval);
        }
    } else {
        Node.aOwn = aInterval;
    }
    std::vector<INTERVAL>().swap(aInterval);
    std::sort(Node.aOwn.begin(), Node.aOwn.end(), [](const INTERVAL& a, const INTERVAL& b) {
        return a.Low != b.Low ? a.Low < b.Low : a.Order < b.Order;
    });
    if (!aLeft.empty()) Node.Left = _Build(aLeft, Depth - 1);
    if (!aRight.empty()) Node.Right = _Build(aRight, Depth - 1);
    m_aNode[Index] = std::move(Node);
    return Index;
}

std::vector<U64> CIntervalTree::Find(U64 Low, U64 High) const
{
    std::vector<const INTERVAL*> apHit;
    std::vector<U32> aPending;
    if (m_Root != NO_NODE) aPending.push_back(m_Root);
    while (!aPending.empty()) {
        const NODE& Node = m_aNode[aPending.back()];
        aPending.pop_back();
        for (const INTERVAL& Interval : Node.aOwn) {
            if (Interval.Low > High) break;
            if (Interval.High >= Low) apHit.push_back(&Interval);
        }
        if (Node.Left != NO_NODE && Low <= Node.Centre) aPending.push_back(Node.Left);
        if (Node.Right != NO_NODE && High >= Node.Centre) aPending.push_back(Node.Right);
    }
    std::sort(apHit.begin(), apHit.end(), [](const INTERVAL* a, const INTERVAL* b) {
        const U64 SizeA = a->High - a->Low, SizeB = b->High - b->Low;
        return SizeA != SizeB ? SizeA > SizeB : a->Order < b->Order;
    });
    std::vector<U64> aPayload;
    aPayload.reserve(apHit.size());
    for (const INTERVAL* pHit : apHit) aPayload.push_back(pHit->Payload);
    return aPayload;
}
