// Which of many address ranges holds an address.
#include "core/cache/spanindex.h"

#include <algorithm>

namespace Core {

void CSpanIndex::Sort() {
    std::sort(m_aSpan.begin(), m_aSpan.end(), [](const SPAN& A, const SPAN& B) { return A.Start < B.Start; });
    U64 MaxEnd = 0;
    for (SPAN& Span : m_aSpan) Span.MaxEnd = MaxEnd = std::max(MaxEnd, Span.End);
}

std::vector<CSpanIndex::SPAN>::const_iterator CSpanIndex::FindAbove(U64 Addr) const {
    return std::upper_bound(m_aSpan.begin(), m_aSpan.end(), Addr, [](U64 A, const SPAN& Span) { return A < Span.Start; });
}

int CSpanIndex::Find(U64 Addr, U64 Size) const {
    int Found = -1;
    // Going back ends at once unless ranges overlap.
    for (auto It = FindAbove(Addr); It != m_aSpan.begin() && (It - 1)->MaxEnd > Addr; --It) {
        const SPAN& Span = *(It - 1);
        if (Addr < Span.End && Size <= Span.End - Addr && (Found < 0 || Span.Index < Found)) Found = Span.Index;
    }
    return Found;
}

bool CSpanIndex::FindNext(U64 Addr, U64* pStart) const {
    const auto Next = FindAbove(Addr);
    if (Next == m_aSpan.end()) return false;
    *pStart = Next->Start;
    return true;
}

} // namespace Core
