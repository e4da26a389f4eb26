#include "device/target/memimage.h"

#include <algorithm>
#include <cstring>

namespace {
/// Calls Op(page index, offset in the page, position in the range, count) for each page that a range touches.
template <class OP> void ForEachPage(U32 Addr, U32 nBytes, OP&& Op)
{
    const U64 End = std::min(U64(Addr) + nBytes, U64(1) << 32);
    for (U64 At = Addr; At < End;) {
        const U32 Offset = U32(At) % CMemImage::PAGE_SIZE;
        const U32 Cnt = U32(std::min<U64>(CMemImage::PAGE_SIZE - Offset, End - At));
        Op(U32(At) / CMemImage::PAGE_SIZE, Offset, U32(At - Addr), Cnt);
        At += Cnt;
    }
}
} // namespace

CMemImage::PAGE& CMemImage::_GetPage(U32 Idx)
{
    if (!m_apPage[Idx]) m_apPage[Idx] = std::make_unique<PAGE>();
    return *m_apPage[Idx];
}

U8 CMemImage::Read(U32 Addr, U32 nBytes, U8* paData, U8* paStatus) const
{
    const std::lock_guard Lock(m_Mutex);
    U8 Worst = DATA_VALID;
    if (U64(Addr) + nBytes > (U64(1) << 32)) {
        Worst = DATA_INVALID;
        if (paData) std::memset(paData, 0, nBytes);
        if (paStatus) std::memset(paStatus, DATA_INVALID, nBytes);
    }
    ForEachPage(Addr, nBytes, [&](U32 Idx, U32 Offset, U32 Pos, U32 Cnt) {
        const PAGE* pPage = m_apPage[Idx].get();
        if (!pPage) {
            if (paData) std::memset(paData + Pos, 0, Cnt);
            if (paStatus) std::memset(paStatus + Pos, DATA_UNREAD, Cnt);
            Worst = DATA_UNREAD;
            return;
        }
        const U8* pStatus = pPage->Status.data() + Offset;
        if (paData) std::memcpy(paData + Pos, pPage->Data.data() + Offset, Cnt);
        if (paStatus) std::memcpy(paStatus + Pos, pStatus, Cnt);
        Worst = std::max(Worst, *std::max_element(pStatus, pStatus + Cnt));
    });
    return Worst;
}

void CMemImage::Write(U32 Addr, U32 nBytes, const U8* paData, const U8* paStatus)
{
    const std::lock_guard Lock(m_Mutex);
    ForEachPage(Addr, nBytes, [&](U32 Idx, U32 Offset, U32 Pos, U32 Cnt) {
        PAGE& Page = _GetPage(Idx);
        Page.IsClean = false;
        std::memcpy(Page.Data.data() + Offset, paData + Pos, Cnt);
        if (paStatus)
            std::memcpy(Page.Status.data() + Offset, paStatus + Pos, Cnt);
        else
            std::memset(Page.Status.data() + Offset, DATA_VALID, Cnt);
    });
}

void CMemImage::SetStatus(U32 Addr, U32 nBytes, U8 Status)
{
    const std::lock_guard Lock(m_Mutex);
    ForEachPage(Addr, nBytes, [&](U32 Idx, U32 Offset, U32, U32 Cnt) {
        if (Status == DATA_UNREAD && !m_apPage[Idx]) return;
        PAGE& Page = _GetPage(Idx);
        if (Status != DATA_UNREAD) Page.IsClean = false;
        std::memset(Page.Status.data() + Offset, Status, Cnt);
    });
}

void CMemImage::Invalidate()
{
    const std::lock_guard Lock(m_Mutex);
    for (auto& pPage : m_apPage) {
        if (!pPage || pPage->IsClean) continue;
        pPage->Data.fill(0);
        pPage->Status.fill(DATA_UNREAD);
        pPage->IsClean = true;
    }
}

U64 CMemImage::Find(U64 Addr, U64 End, U8 Status) const
{
    const std::lock_guard Lock(m_Mutex);
    while (Addr < End) {
        const U32 Offset = U32(Addr) % PAGE_SIZE;
        const U32 Cnt = U32(std::min<U64>(PAGE_SIZE - Offset, End - Addr));
        const PAGE* pPage = m_apPage[U32(Addr) / PAGE_SIZE].get();
        if (!pPage) {
            if (Status == DATA_UNREAD) return Addr;
        } else if (const void* p = std::memchr(pPage->Status.data() + Offset, Status, Cnt)) {
            return Addr + U64(static_cast<const U8*>(p) - (pPage->Status.data() + Offset));
        }
        Addr += Cnt;
    }
    return End;
}
