// Symbols by name.
#include "program/tables/nameindex.h"

#include <algorithm>
#include <bit>

/// For about one element a bucket.
int CNameIndex::_BucketBits(size_t Count)
{
    return std::clamp(static_cast<int>(std::bit_width(Count)), MIN_BUCKET_BITS, MAX_BUCKET_BITS);
}

void CNameIndex::Build()
{
    const int Bits = _BucketBits(m_aEntry.size()), Shift = 32 - Bits;
    const size_t NumBuckets = size_t(1) << Bits;
    // By bucket first, which takes two passes, then the few names of each bucket.
    std::vector<U32> aNext(NumBuckets + 1, 0);
    for (const ENTRY& Entry : m_aEntry) aNext[(Entry.Hash >> Shift) + 1]++;
    for (size_t i = 0; i < NumBuckets; i++) aNext[i + 1] += aNext[i];
    std::vector<ENTRY> aSorted(m_aEntry.size());
    for (const ENTRY& Entry : m_aEntry) aSorted[aNext[Entry.Hash >> Shift]++] = Entry;
    m_aEntry.swap(aSorted);
    // Equal texts are mostly one copy that the linker has kept.
    auto IsSameName = [](const ENTRY& a, const ENTRY& b) { return a.Hash == b.Hash && (a.sName == b.sName || std::strcmp(a.sName, b.sName) == 0); };
    for (auto it = m_aEntry.begin(); it != m_aEntry.end();) {
        const U32 Bucket = it->Hash >> Shift;
        auto itEnd = it + 1;
        bool IsMixed = false;
        for (; itEnd != m_aEntry.end() && (itEnd->Hash >> Shift) == Bucket; ++itEnd) IsMixed |= !IsSameName(*it, *itEnd);
        if (IsMixed) {
            std::stable_sort(it, itEnd, [](const ENTRY& a, const ENTRY& b) {
                if (a.Hash != b.Hash) return a.Hash < b.Hash;
                return a.sName != b.sName && std::strcmp(a.sName, b.sName) < 0;
            });
        }
        it = itEnd;
    }
    m_ahSym.reserve(m_aEntry.size());
    for (size_t i = 0; i < m_aEntry.size(); i++) {
        if (i == 0 || !IsSameName(m_aEntry[i - 1], m_aEntry[i])) m_aName.push_back({m_aEntry[i].sName, m_aEntry[i].Hash, static_cast<U32>(i)});
        m_ahSym.push_back(m_aEntry[i].hSym);
    }
    // Names are few where symbols are many: only they have buckets. Upper bits keep the order of the finer ones above.
    const int NameBits = _BucketBits(m_aName.size());
    m_Shift = 32 - NameBits;
    m_aFirst.assign((size_t(1) << NameBits) + 1, 0);
    for (const NAME& Name : m_aName) m_aFirst[(Name.Hash >> m_Shift) + 1]++;
    for (size_t i = 1; i < m_aFirst.size(); i++) m_aFirst[i] += m_aFirst[i - 1];
    m_aName.push_back({"", 0, static_cast<U32>(m_aEntry.size())});
    m_aName.shrink_to_fit();
    std::vector<ENTRY>().swap(m_aEntry);
}
