// The table of decoded instruction records by address.
#include "core/cache/instcache.h"

#include <atomic>

namespace Core {

namespace {

constexpr U32 PAGE_SHIFT = 16;
constexpr U32 NUM_PAGES = 1u << (32 - PAGE_SHIFT);
constexpr U32 RECORDS_PER_PAGE = 1u << (PAGE_SHIFT - 1); // one for each 2 bytes, whatever the alignment

/// The fields of CORE_INST_INFO, each readable while the other thread stores.
struct RECORD {
    std::atomic<U32> Class;
    std::atomic<I32> Length;
    std::atomic<U64> BranchTarget;
    std::atomic<I32> SPChange;
    std::atomic<U32> Flags;
};
static_assert(sizeof(RECORD) == sizeof(CORE_INST_INFO));

struct PAGE {
    RECORD aRecord[RECORDS_PER_PAGE];
};
static_assert(sizeof(PAGE) == 0xC0000);

std::atomic<PAGE*> apPage[NUM_PAGES];

const RECORD* FindRecord(U64 Addr) {
    if (Addr >= CACHE_LIMIT) return nullptr;
    const PAGE* pPage = apPage[Addr >> PAGE_SHIFT].load(std::memory_order_acquire);
    return pPage ? &pPage->aRecord[(Addr & 0xFFFF) >> 1] : nullptr;
}

} // namespace

void StoreInst(U32 Addr, const CORE_INST_INFO& Info) {
    std::atomic<PAGE*>& pSlot = apPage[Addr >> PAGE_SHIFT];
    PAGE* pPage = pSlot.load(std::memory_order_relaxed);
    if (!pPage) {
        pPage = new PAGE(); // zeroed
        pSlot.store(pPage, std::memory_order_release);
    }
    RECORD& Record = pPage->aRecord[(Addr & 0xFFFF) >> 1];
    // A reader that comes in between finds no instruction rather than a mixture of two.
    Record.Length.store(0, std::memory_order_release);
    Record.Class.store(Info.Class, std::memory_order_relaxed);
    Record.BranchTarget.store(Info.BranchTarget, std::memory_order_relaxed);
    Record.SPChange.store(Info.SPChange, std::memory_order_relaxed);
    Record.Flags.store(Info.Flags, std::memory_order_relaxed);
    Record.Length.store(Info.Length, std::memory_order_release);
}

bool LoadInst(U64 Addr, CORE_INST_INFO* pInfo) {
    *pInfo = CORE_INST_INFO{};
    const RECORD* pRecord = FindRecord(Addr);
    const I32 Length = pRecord ? pRecord->Length.load(std::memory_order_acquire) : 0;
    if (Length <= 0) return false;
    pInfo->Class = pRecord->Class.load(std::memory_order_relaxed);
    pInfo->BranchTarget = pRecord->BranchTarget.load(std::memory_order_relaxed);
    pInfo->SPChange = pRecord->SPChange.load(std::memory_order_relaxed);
    pInfo->Flags = pRecord->Flags.load(std::memory_order_relaxed);
    pInfo->Length = Length;
    return true;
}

bool HasInst(U64 Addr) {
    const RECORD* pRecord = FindRecord(Addr);
    return pRecord && pRecord->Length.load(std::memory_order_acquire) > 0;
}

void FreeInsts() {
    for (std::atomic<PAGE*>& pSlot : apPage) delete pSlot.exchange(nullptr);
}

} // namespace Core
