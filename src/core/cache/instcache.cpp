// The table of decoded instruction records by address.
#include "core/cache/instcache.h"

#include <atomic>

namespace Core {

namespace {

/// The fields of CORE_INST_INFO, each readable while the other thread stores.
struct RECORD {
    std::atomic<U32> Class;
    std::atomic<I32> Length;
    std::atomic<U64> BranchTarget;
    std::atomic<I32> SPChange;
    std::atomic<U32> Flags;
};
static_assert(sizeof(RECORD) == sizeof(CORE_INST_INFO));

// Small pages, since a data file may touch every 64 KB of the address space with a few bytes.
constexpr U32 PAGE_SHIFT = 8;
constexpr U32 GROUP_SHIFT = 16;

/// Records of 256 bytes of code, one for each 2 bytes, whatever the alignment.
struct PAGE {
    RECORD aRecord[1u << (PAGE_SHIFT - 1)];
};

/// The pages of 64 KB of code; null where nothing was decoded.
struct GROUP {
    std::atomic<PAGE*> apPage[1u << (GROUP_SHIFT - PAGE_SHIFT)];
    ~GROUP() {
        for (std::atomic<PAGE*>& pPage : apPage) delete pPage.load(std::memory_order_relaxed);
    }
};

std::atomic<GROUP*> apGroup[1u << (32 - GROUP_SHIFT)];

size_t GetPageIndex(U64 Addr) {
    return (Addr >> PAGE_SHIFT) & ((1u << (GROUP_SHIFT - PAGE_SHIFT)) - 1);
}

size_t GetRecordIndex(U64 Addr) {
    return (Addr & ((1u << PAGE_SHIFT) - 1)) >> 1;
}

const RECORD* FindRecord(U64 Addr) {
    if (Addr >= CACHE_LIMIT) return nullptr;
    const GROUP* pGroup = apGroup[Addr >> GROUP_SHIFT].load(std::memory_order_acquire);
    const PAGE* pPage = pGroup ? pGroup->apPage[GetPageIndex(Addr)].load(std::memory_order_acquire) : nullptr;
    return pPage ? &pPage->aRecord[GetRecordIndex(Addr)] : nullptr;
}

/// What a slot of a table points to, made zeroed if it isn't there.
template <class NODE> NODE& GetOrMake(std::atomic<NODE*>& pSlot) {
    NODE* pNode = pSlot.load(std::memory_order_relaxed);
    if (!pNode) pSlot.store(pNode = new NODE(), std::memory_order_release);
    return *pNode;
}

} // namespace

void StoreInst(U32 Addr, const CORE_INST_INFO& Info) {
    PAGE& Page = GetOrMake(GetOrMake(apGroup[Addr >> GROUP_SHIFT]).apPage[GetPageIndex(Addr)]);
    RECORD& Record = Page.aRecord[GetRecordIndex(Addr)];
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
    for (std::atomic<GROUP*>& pSlot : apGroup) delete pSlot.exchange(nullptr);
}

} // namespace Core
