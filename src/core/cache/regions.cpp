// The region table: what the mapping symbols of the program say about code and data.
#include "core/cache/regions.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "program/tables/prog.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <shared_mutex>

namespace Core {

namespace {

constexpr U32 SECTION_NOBITS = 8;
constexpr U32 FLAG_ALLOC = 2;
constexpr U32 FLAG_EXEC = 4;
constexpr U32 SEGMENT_LOAD = 1;
constexpr U32 SYMBOL_NOTYPE = 0;
constexpr U32 SYMBOL_LOCAL = 0;
constexpr U64 ADDR_LIMIT = 0x100000000ull;

std::shared_mutex BindingMutex;
BINDING Binding;
std::atomic<bool> IsRelocated{false};
std::atomic<U32> Generation{0};

void AddBlock(BINDING& New, U64 Start, U64 Size, const U8* pData) {
    if (Size == 0 || Start + Size > ADDR_LIMIT) return;
    New.aBlock.push_back({Start, Start + Size, pData, nullptr});
}

void MakeLookups(BINDING& New) {
    if (New.aRegion.empty()) return;
    for (BLOCK& Block : New.aBlock) {
        const U64 NumEntries = (Block.End - Block.Start + 1) / 2;
        Block.paLookup.reset(new std::atomic<I32>[NumEntries]);
        for (U64 i = 0; i < NumEntries; i++) Block.paLookup[i].store(-1, std::memory_order_relaxed);
    }
}

void AddBlocksAndSections(BINDING& New) {
    for (U32 i = 0; i < ELF_GetSegmentCount(New.hFile); i++) {
        if (ELF_GetSegmentType(New.hFile, i) != SEGMENT_LOAD) continue;
        const U8* pData = ELF_GetSegmentData(New.hFile, i);
        if (pData) AddBlock(New, ELF_GetSegmentVirtAddr(New.hFile, i), ELF_GetSegmentFileSize(New.hFile, i), pData);
    }
    for (U32 i = 0; i < ELF_GetSectionCount(New.hFile); i++) {
        const U32 Flags = ELF_GetSectionFlags(New.hFile, i);
        const U64 Start = ELF_GetSectionAddr(New.hFile, i);
        const U64 Size = ELF_GetSectionSize(New.hFile, i);
        const U8* pData = ELF_GetSectionData(New.hFile, i);
        if (!(Flags & FLAG_ALLOC) || ELF_GetSectionType(New.hFile, i) == SECTION_NOBITS || !pData || Size == 0) continue;
        if (Start + Size > ADDR_LIMIT) continue;
        New.aSection.push_back({Start, Start + Size, pData, (Flags & FLAG_EXEC) != 0});
    }
}

void AddRegions(BINDING& New) {
    const QByteArray aPrefix = Core_GetMapSymPrefix();
    const U32 NumSymbols = ELF_GetSymbolCount(New.hFile);
    New.aRegionOfSymbol.assign(NumSymbols, -1);
    if (aPrefix.isEmpty()) return;
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    for (U32 i = 0; i < NumSymbols; i++) {
        if (ELF_GetSymbolType(New.hFile, i) != SYMBOL_NOTYPE || ELF_GetSymbolBinding(New.hFile, i) != SYMBOL_LOCAL) continue;
        const U32 Section = ELF_GetSymbolSection(New.hFile, i);
        if (Section < ELF_GetSectionCount(New.hFile) && Section != 0 && !(ELF_GetSectionFlags(New.hFile, Section) & FLAG_EXEC)) continue;
        const char* sName = ELF_GetSymbolName(New.hFile, i);
        U32 Kind = 0;
        if (!sName || std::strncmp(sName, aPrefix.constData(), static_cast<size_t>(aPrefix.size())) != 0) continue;
        if (Core_ParseMapSym(sName, &Kind) != 0) continue;
        const U64 Addr = ELF_ToRuntimeAddr(ELF_GetSymbolValue(New.hFile, i), 1, 0);
        New.aRegion.push_back({Addr - Addr % Alignment, i, Kind, sName});
    }
    std::stable_sort(New.aRegion.begin(), New.aRegion.end(), [](const REGION& A, const REGION& B) { return A.Addr < B.Addr; });
    for (size_t i = 0; i < New.aRegion.size(); i++) New.aRegionOfSymbol[New.aRegion[i].Symbol] = static_cast<I32>(i);
}

bool FindRelocation(const BINDING& New) {
    for (const SECTION& S : New.aSection) {
        if (ELF_ToRuntimeAddr(static_cast<U32>(S.Start), 1, 0) != S.Start) return true;
    }
    for (const REGION& R : New.aRegion) {
        if (ELF_FromRuntimeAddr(static_cast<U32>(R.Addr), 1, 0) != R.Addr) return true;
    }
    return false;
}

void SetEnd(BINDING& New) {
    New.End = 0;
    for (const BLOCK& B : New.aBlock) {
        const U64 Last = New.hFile ? ELF_ToRuntimeAddr(static_cast<U32>(B.End - 1), 1, 0) : B.End - 1;
        New.End = std::max(New.End, Last + 1);
    }
}

void Finish(BINDING& New) {
    SetEnd(New);
    MakeLookups(New);
    New.BlockIndex.Build(New.aBlock);
    New.SectionIndex.Build(New.aSection);
}

const BLOCK* FindBlock(const BINDING& B, U64 FileAddr) {
    const int Index = B.BlockIndex.Find(FileAddr, 1);
    return Index >= 0 ? &B.aBlock[static_cast<size_t>(Index)] : nullptr;
}

/// The last region at or below the address, -1 if all are above.
I32 SearchRegion(const BINDING& B, U64 Addr) {
    const auto Next = std::upper_bound(B.aRegion.begin(), B.aRegion.end(), Addr, [](U64 A, const REGION& R) { return A < R.Addr; });
    return static_cast<I32>(Next - B.aRegion.begin()) - 1;
}

} // namespace

CBindingLock::CBindingLock() {
    BindingMutex.lock_shared();
}

CBindingLock::~CBindingLock() {
    BindingMutex.unlock_shared();
}

const BINDING& CBindingLock::Get() const {
    return Binding;
}

const U8* FindBlockData(const BINDING& B, U64 FileAddr, U64 Size) {
    const int Index = B.BlockIndex.Find(FileAddr, Size);
    if (Index < 0) return nullptr;
    const BLOCK& Block = B.aBlock[static_cast<size_t>(Index)];
    return Block.pData ? Block.pData + (FileAddr - Block.Start) : nullptr;
}

void ReplaceBinding(BINDING&& New) {
    IsRelocated = New.IsRelocated;
    std::unique_lock Lock(BindingMutex);
    Generation++;
    std::swap(Binding, New); // the old one is freed by the caller, after the lock
}

U64 ToFileAddr(U64 Addr) {
    if (!IsRelocated || Addr >= 0xFFFFFFFFu) return Addr;
    CProgLock Lock;
    return ELF_FromRuntimeAddr(static_cast<U32>(Addr), 1, 0);
}

U64 ToRuntimeAddr(U64 Addr) {
    if (!IsRelocated || Addr >= 0xFFFFFFFFu) return Addr;
    CProgLock Lock;
    return ELF_ToRuntimeAddr(static_cast<U32>(Addr), 1, 0);
}

int Bind(ELF_HANDLE hFile) {
    if (!hFile) return -1;
    Unbind();
    const CORE_STATIC_INFO& Info = Core_GetStaticInfo();
    CProgLock Lock;
    ELF_SetCoreParameters(Info.InstAlignment, Info.SPRegIdx);
    BINDING New;
    New.hFile = hFile;
    AddBlocksAndSections(New);
    AddRegions(New);
    New.IsRelocated = FindRelocation(New);
    Finish(New);
    ReplaceBinding(std::move(New));
    return 0;
}

int Unbind() {
    ReplaceBinding(BINDING());
    return 0;
}

void SetBlocks(const BFile::RAW_BLOCK* paBlock, U32 NumBlocks) {
    {
        CBindingLock Lock;
        if (Lock.Get().hFile) return; // the file's own blocks are in place already
    }
    BINDING New;
    for (U32 i = 0; i < NumBlocks; i++) AddBlock(New, paBlock[i].VirtAddr, paBlock[i].Size, paBlock[i].pData);
    Finish(New);
    ReplaceBinding(std::move(New));
}

int FindRegion(U64 Addr) {
    const U64 FileAddr = ToFileAddr(Addr);
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    CBindingLock Lock;
    const BLOCK* pBlock = FindBlock(Lock.Get(), FileAddr);
    if (!pBlock || !pBlock->paLookup) return -1;
    std::atomic<I32>& Lookup = pBlock->paLookup[(FileAddr - pBlock->Start) / 2];
    I32 Index = Lookup.load(std::memory_order_relaxed);
    if (Index != -1) return Index;
    Index = SearchRegion(Lock.Get(), Addr - Addr % Alignment);
    Lookup.store(Index, std::memory_order_relaxed);
    return Index;
}

U64 GetNextRegionAddr(U64 Addr) {
    CBindingLock Lock;
    const BINDING& B = Lock.Get();
    const auto Next = static_cast<size_t>(SearchRegion(B, Addr) + 1);
    return Next < B.aRegion.size() ? B.aRegion[Next].Addr : ADDR_LIMIT;
}

bool GetRegion(int Index, REGION* pRegion, U64* pEnd) {
    CBindingLock Lock;
    const BINDING& B = Lock.Get();
    if (Index < 0 || static_cast<size_t>(Index) >= B.aRegion.size()) return false;
    *pRegion = B.aRegion[static_cast<size_t>(Index)];
    *pEnd = static_cast<size_t>(Index) + 1 < B.aRegion.size() ? B.aRegion[static_cast<size_t>(Index) + 1].Addr : B.End;
    return true;
}

bool GetBlockEnd(U64 Addr, U64* pEnd) {
    const U64 FileAddr = ToFileAddr(Addr);
    CBindingLock Lock;
    const BLOCK* pBlock = FindBlock(Lock.Get(), FileAddr);
    if (!pBlock) return false;
    *pEnd = Addr + (pBlock->End - FileAddr);
    return true;
}

bool IsInSection(U64 Addr) {
    const U64 FileAddr = ToFileAddr(Addr);
    CBindingLock Lock;
    const BINDING& B = Lock.Get();
    return (B.hFile ? B.SectionIndex : B.BlockIndex).Find(FileAddr, 1) >= 0;
}

U64 GetNextBlock(U64 Addr) {
    const U64 FileAddr = ToFileAddr(Addr);
    U64 Next = 0;
    CBindingLock Lock;
    return Lock.Get().BlockIndex.FindNext(FileAddr, &Next) ? Addr + (Next - FileAddr) : ~U64(0);
}

ELF_HANDLE GetBoundFile() {
    CBindingLock Lock;
    return Lock.Get().hFile;
}

U32 GetBindingGeneration() {
    return Generation;
}

U64 GetProgramEnd() {
    CBindingLock Lock;
    return Lock.Get().End;
}

int ReadSection(U64 Addr, U32 Size, void* pBuffer) {
    const U64 FileAddr = ToFileAddr(Addr);
    CBindingLock Lock;
    const BINDING& B = Lock.Get();
    const int Section = B.SectionIndex.Find(FileAddr, Size);
    const U8* pData = Section >= 0 ? B.aSection[static_cast<size_t>(Section)].pData + (FileAddr - B.aSection[static_cast<size_t>(Section)].Start)
                                   : FindBlockData(B, FileAddr, Size);
    if (!pData) return -1;
    std::memcpy(pBuffer, pData, Size);
    return 0;
}

} // namespace Core
