// Symbols by name.
#include "program/tables/nameindex.h"

void CNameIndex::Build()
{
    size_t NumBuckets = 16;
    while (NumBuckets < m_aEntry.size()) NumBuckets *= 2;
    m_aFirst.assign(NumBuckets + 1, 0);
    const U32 Mask = static_cast<U32>(NumBuckets - 1);
    for (const ENTRY& Entry : m_aEntry) m_aFirst[(Entry.Hash & Mask) + 1]++;
    for (size_t i = 0; i < NumBuckets; i++) m_aFirst[i + 1] += m_aFirst[i];
    std::vector<U32> aNext(m_aFirst.begin(), m_aFirst.end() - 1);
    std::vector<ENTRY> aSorted(m_aEntry.size());
    for (const ENTRY& Entry : m_aEntry) aSorted[aNext[Entry.Hash & Mask]++] = Entry;
    m_aEntry.swap(aSorted);
}
