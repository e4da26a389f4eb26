// The table of decoded instruction records by address.
//
// A slot is one word, so that a reader sees a record whole while the other thread stores: the branch target, and a number
// for the rest of the record, of which a program has a few hundred different ones.
#include "core/cache/instcache.h"

#include <atomic>
#include <bit>
#include <unordered_map>

namespace Core {

namespace {

/// A record without the lower half of its branch target.
struct KIND {
    U32 Class;
    I32 Length;
    I32 SPChange;
    U32 Flags;
    U32 TargetHigh;
    bool operator==(const KIND&) const = default;
};

struct KIND_HASH {
    size_t operator()(const KIND& Kind) const {
        U64 Hash = 0;
        for (const U32 Field : {Kind.Class, static_cast<U32>(Kind.Length), static_cast<U32>(Kind.SPChange), Kind.Flags, Kind.TargetHigh})
            Hash = (Hash ^ Field) * 0x9E3779B97F4A7C15ull;
        return static_cast<size_t>(Hash ^ (Hash >> 32));
    }
};

/// The kinds by number. Numbered on one thread; a number that was given out may be looked up on any.
class CKinds {
public:
    ~CKinds() { Clear(); }
    U32 GetNumber(const KIND& Kind) {
        const auto [It, IsNew] = m_NumberOfKind.try_emplace(Kind, static_cast<U32>(m_NumberOfKind.size()));
        if (IsNew) Append(It->second, Kind);
        return It->second;
    }
    const KIND& Get(U32 Number) const {
        const PLACE Place = Find(Number);
        return m_apChunk[Place.Chunk].load(std::memory_order_acquire)[Place.Index];
    }
    void Clear() {
        m_NumberOfKind.clear();
        for (std::atomic<KIND*>& pChunk : m_apChunk) delete[] pChunk.exchange(nullptr);
    }

private:
    // Each chunk is twice as large as the one before, and none ever moves.
    static constexpr unsigned FIRST_BITS = 10;
    static constexpr unsigned NUM_CHUNKS = 32 - FIRST_BITS + 1;
    struct PLACE {
        unsigned Chunk;
        size_t Index;
    };
    static PLACE Find(U32 Number) {
        const U64 n = U64(Number) + (1u << FIRST_BITS);
        const auto Chunk = static_cast<unsigned>(std::bit_width(n)) - 1 - FIRST_BITS;
        return {Chunk, static_cast<size_t>(n - (U64(1) << (FIRST_BITS + Chunk)))};
    }
    void Append(U32 Number, const KIND& Kind) {
        const PLACE Place = Find(Number);
        if (Place.Index == 0) m_apChunk[Place.Chunk].store(new KIND[size_t(1) << (FIRST_BITS + Place.Chunk)], std::memory_order_release);
        m_apChunk[Place.Chunk].load(std::memory_order_relaxed)[Place.Index] = Kind;
    }

    std::unordered_map<KIND, U32, KIND_HASH> m_NumberOfKind;
    std::atomic<KIND*> m_apChunk[NUM_CHUNKS] = {};
};

CKinds Kinds;

// Small pages, since a data file may touch every 64 KB of the address space with a few bytes.
constexpr U32 PAGE_SHIFT = 8;
constexpr U32 GROUP_SHIFT = 16;

/// Slots of 256 bytes of code, one for each 2 bytes, whatever the alignment: the number of the kind plus 1 above the branch
/// target; 0: no instruction starts there.
struct PAGE {
    std::atomic<U64> aSlot[1u << (PAGE_SHIFT - 1)];
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

size_t GetSlotIndex(U64 Addr) {
    return (Addr & ((1u << PAGE_SHIFT) - 1)) >> 1;
}

/// What is stored for an address, 0 for nothing.
U64 LoadSlot(U64 Addr) {
    if (Addr >= CACHE_LIMIT) return 0;
    const GROUP* pGroup = apGroup[Addr >> GROUP_SHIFT].load(std::memory_order_acquire);
    const PAGE* pPage = pGroup ? pGroup->apPage[GetPageIndex(Addr)].load(std::memory_order_acquire) : nullptr;
    return pPage ? pPage->aSlot[GetSlotIndex(Addr)].load(std::memory_order_acquire) : 0;
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
    U64 Slot = 0;
    if (Info.Length > 0) {
        const U32 Kind = Kinds.GetNumber({Info.Class, Info.Length, Info.SPChange, Info.Flags, static_cast<U32>(Info.BranchTarget >> 32)});
        Slot = (U64(Kind) + 1) << 32 | static_cast<U32>(Info.BranchTarget);
    }
    Page.aSlot[GetSlotIndex(Addr)].store(Slot, std::memory_order_release);
}

bool LoadInst(U64 Addr, CORE_INST_INFO* pInfo) {
    *pInfo = CORE_INST_INFO{};
    const U64 Slot = LoadSlot(Addr);
    if (Slot == 0) return false;
    const KIND& Kind = Kinds.Get(static_cast<U32>(Slot >> 32) - 1);
    pInfo->Class = Kind.Class;
    pInfo->Length = Kind.Length;
    pInfo->BranchTarget = U64(Kind.TargetHigh) << 32 | static_cast<U32>(Slot);
    pInfo->SPChange = Kind.SPChange;
    pInfo->Flags = Kind.Flags;
    return true;
}

bool HasInst(U64 Addr) {
    return LoadSlot(Addr) != 0;
}

void FreeInsts() {
    for (std::atomic<GROUP*>& pSlot : apGroup) delete pSlot.exchange(nullptr);
    Kinds.Clear();
}

} // namespace Core
