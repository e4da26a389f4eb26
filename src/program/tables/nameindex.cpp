// Symbols by name.
#include "program/tables/nameindex.h"

#include <algorithm>

void CNameIndex::Build()
{
    size_t NumBuckets = 16;
    while (NumBuckets < m_aEntry.size()) NumBuckets *= 2;
    const U32 Mask = static_cast<U32>(NumBuckets - 1);
    // By bucket first, which takes two passes, then the few names of each bucket.
    std::vector<U32> aNext(NumBuckets + 1, 0);
    for (const ENTRY& Entry : m_aEntry) aNext[(Entry.Hash & Mask) + 1]++;
    for (size_t i = 0; i < NumBuckets; i++) aNext[i + 1] += aNext[i];
    std::vector<ENTRY> aSorted(m_aEntry.size());
    for (const ENTRY& Entry : m_aEntry) aSorted[aNext[Entry.Hash & Mask]++] = Entry;
    m_aEntry.swap(aSorted);
    // Equal texts are mostly one copy that the linker has kept.
    auto IsSameName = [](const ENTRY& a, const ENTRY& b) { return a.Hash == b.Hash && (a.sName == b.sName || std::strcmp(a.sName, b.sName) == 0); };
    for (auto it = m_aEntry.begin(); it != m_aEntry.end();) {
        const U32 Bucket = it->Hash & Mask;
        auto itEnd = it + 1;
        bool IsMixed = false;
        for (; itEnd != m_aEntry.end() && (itEnd->Hash & Mask) == Bucket; ++itEnd) IsMixed |= !IsSameName(*it, *itEnd);
        if (IsMixed) {
            std::stable_sort(it, itEnd, [](const ENTRY& a, const ENTRY& b) {
                if (a.Hash != b.Hash) return a.Hash < b.Hash;
                return a.sName != b.sName && std::strcmp(a.sName, b.sName) < 0;
            });
        }
        it = itEnd;
    }
    m_aFirst.assign(NumBuckets + 1, 0);
    m_ahSym.reserve(m_aEntry.size());
    for (size_t i = 0; i < m_aEntry.size(); i++) {
        if (i == 0 || !IsSameName(m_aEntry[i - 1], m_aEntry[i])) {
            m_aName.push_back({m_aEntry[i].sName, m_aEntry[i].Hash, static_cast<U32>(i)});
            m_aFirst[(m_aEntry[i].Hash & Mask) + 1]++;
        }
        m_ahSym.push_back(m_aEntry[i].hSym);
    }
    for (size_t i = 0; i < NumBuckets; i++) m_aFirst[i + 1] += m_aFirst[i];
    m_aName.push_back({"", 0, static_cast<U32>(m_aEntry.size())});
    m_aName.shrink_to_fit();
    std::vector<ENTRY>().swap(m_aEntry);
}
