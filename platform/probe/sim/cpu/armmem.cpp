// Memory of the core: regions, the page cache of direct accesses, and the slow way with
// alignment, MPU, bit-banding, watch hits and the decode cache behind stores.
#include "armcore.h"

#include <algorithm>
#include <cstdlib>

namespace Sim {

bool ArmCore::MapMemory(const MemRegion& Region)
{
    uint64_t End = uint64_t(Region.Base) + Region.Size;
    if (!Region.pData || !Region.Size || ((Region.Base | Region.Size) & (kPageSize - 1))) return false;
    if (End > 0xE0000000u) return false;
    for (const auto& pOther : Regions) {
        uint64_t OtherEnd = uint64_t(pOther->Mem.Base) + pOther->Mem.Size;
        if (Region.Base < OtherEnd && pOther->Mem.Base < End) return false;
    }
    auto pNew = std::make_unique<CodeRegion>();
    pNew->Mem = Region;
    auto Pos = std::find_if(Regions.begin(), Regions.end(),
                            [&](const auto& p) { return p->Mem.Base > Region.Base; });
    Regions.insert(Pos, std::move(pNew));
    FlushTlb();
    CloseWindow();
    return true;
}

void ArmCore::UnmapAll()
{
    for (auto& pRegion : Regions) {
        free(pRegion->pOps);
        free(pRegion->pItOps);
    }
    Regions.clear();
    FlushTlb();
    CloseWindow();
}

CodeRegion* ArmCore::FindRegion(uint32_t Addr)
{
    for (auto& pRegion : Regions)
        if (Addr - pRegion->Mem.Base < pRegion->Mem.Size) return pRegion.get();
    return nullptr;
}

void ArmCore::FlushTlb()
{
    for (TlbEntry& E : ReadTlb) E.Tag = TlbEntry::kNoTag;
    for (TlbEntry& E : WriteTlb) E.Tag = TlbEntry::kNoTag;
}

void ArmCore::UpdateTlbAllowed()
{
    TlbAllowed = !AnyWatch && !MpuEnabled() && !Config.BigEndianData;
    FlushTlb();
}

void ArmCore::InvalidateCode(uint32_t Addr, uint32_t NumBytes)
{
    // From 2 bytes before, where a 32-bit instruction may have begun.
    uint64_t Begin = Addr >= 2 ? Addr - 2 : 0, End = uint64_t(Addr) + NumBytes;
    if (!NumBytes) return;
    for (auto& pRegion : Regions) {
        if (!pRegion->pOps) continue;
        uint64_t Base = pRegion->Mem.Base;
        uint64_t From = std::max(Begin, Base), To = std::min(End, Base + pRegion->Mem.Size);
        while (From < To) {
            uint64_t PageEnd = std::min(To, (From | (kPageSize - 1)) + 1);
            if (pRegion->CodePages[(From - Base) >> kPageShift])
                for (uint64_t i = (From - Base) / 2; i < (PageEnd - Base + 1) / 2; ++i)
                    pRegion->pOps[i].Fn = pRegion->pItOps[i].Fn = nullptr;
            From = PageEnd;
        }
    }
}

namespace {

uint32_t Swap(uint32_t Value, unsigned Size)
{
    return Size == 4 ? __builtin_bswap32(Value) : Size == 2 ? __builtin_bswap16(uint16_t(Value)) : Value;
}

uint32_t LoadBytes(const uint8_t* p, unsigned Size)
{
    uint32_t Value = 0;
    memcpy(&Value, p, Size);
    return Value;
}

bool IsSystem(uint32_t Addr)
{
    return (Addr >> 20) == 0xE00;
}

// Bit-band alias: 32 words for each byte of the first MB of SRAM and of the peripherals.
bool IsBitBandAlias(uint32_t Addr)
{
    return (Addr >> 25) == (0x22000000u >> 25) || (Addr >> 25) == (0x42000000u >> 25);
}

} // namespace

bool ArmCore::FetchHalf(uint32_t Addr, uint32_t& Value)
{
    CodeRegion* pRegion = FindRegion(Addr);
    if (!pRegion || !(pRegion->Mem.Flags & kMemExec)) return false;
    Value = LoadBytes(pRegion->Mem.pData + (Addr - pRegion->Mem.Base), 2);
    return true;
}

bool ArmCore::RawLoad(uint32_t Addr, unsigned Size, uint32_t& Value, bool Priv)
{
    if (IsSystem(Addr)) return SystemAccess(Addr, Size, Value, false, Priv, false);
    CodeRegion* pRegion = FindRegion(Addr);
    if (pRegion && (pRegion->Mem.Flags & kMemRead)) {
        Value = LoadBytes(pRegion->Mem.pData + (Addr - pRegion->Mem.Base), Size);
        if (Config.BigEndianData) Value = Swap(Value, Size);
        return true;
    }
    if (HasBitBand && !pRegion && IsBitBandAlias(Addr)) {
        uint32_t Bit = (Addr & 0x1FFFFFF) >> 2, Byte = 0;
        if (!RawLoad((Addr & 0xF0000000) + Bit / 8, 1, Byte, Priv)) return false;
        Value = Byte >> (Bit & 7) & 1;
        return true;
    }
    return pBus->Read(Addr, Size, &Value);
}

bool ArmCore::RawStore(uint32_t Addr, unsigned Size, uint32_t Value, bool Priv)
{
    if (IsSystem(Addr)) return SystemAccess(Addr, Size, Value, true, Priv, false);
    CodeRegion* pRegion = FindRegion(Addr);
    if (pRegion && (pRegion->Mem.Flags & kMemWrite)) {
        uint32_t Offset = Addr - pRegion->Mem.Base;
        uint32_t Raw = Config.BigEndianData ? Swap(Value, Size) : Value;
        memcpy(pRegion->Mem.pData + Offset, &Raw, Size);
        if (pRegion->pOps && pRegion->CodePages[Offset >> kPageShift]) InvalidateCode(Addr, Size);
        return true;
    }
    if (HasBitBand && !pRegion && IsBitBandAlias(Addr)) {
        uint32_t Bit = (Addr & 0x1FFFFFF) >> 2, Byte = 0;
        uint32_t Target = (Addr & 0xF0000000) + Bit / 8;
        if (!RawLoad(Target, 1, Byte, Priv)) return false;
        Byte = (Byte & ~(1u << (Bit & 7))) | (Value & 1) << (Bit & 7);
        return RawStore(Target, 1, Byte, Priv);
    }
    return pBus->Write(Addr, Size, Value);
}

void ArmCore::CheckWatch(uint32_t Addr, unsigned Size, uint32_t Value, bool IsWrite)
{
    for (unsigned i = 0; i < kNumDataWatches; ++i) {
        const DataWatch& W = Watches[i];
        if (!W.Enabled || !(W.Access & (IsWrite ? kWatchWrite : kWatchRead)) || !(W.Sizes & Size)) continue;
        uint32_t SizeMask = Size == 4 ? ~0u : (1u << (8 * Size)) - 1;
        if ((Value ^ W.Value) & ~W.ValueMask & SizeMask) continue;
        bool AddrHit = false;
        for (unsigned Byte = 0; Byte < Size; ++Byte) AddrHit |= !(((Addr + Byte) ^ W.Addr) & ~W.AddrMask);
        if (!AddrHit || StopPending) continue;
        Stop.WatchIndex = uint8_t(i);
        Stop.WatchSize = uint8_t(Size);
        Stop.WatchIsWrite = IsWrite;
        Stop.WatchAddr = Addr;
        Stop.WatchValue = Value & SizeMask;
        Stop.WatchPc = R[15];
        StopWith(StopReason::Watch);
        return;
    }
}

// CCR.BFHFNMIGN: handlers at the priority of HardFault may probe for memory.
bool ArmCore::BusFaultIgnored(uint32_t Addr)
{
    if (!(Scs.Ccr & 0x100) || ExecPrio() >= 0) return false;
    Scs.Cfsr |= 1u << 9 | 1u << 15;
    Scs.Bfar = Addr;
    return true;
}

unsigned ArmCore::CheckAccess(uint32_t Addr, unsigned Size, MpuAccess Kind, bool Priv)
{
    unsigned Chunk = Size;
    if (Addr & (Size - 1)) {
        if (IsV6M || (Scs.Ccr & 8) || IsSystem(Addr)) {
            RaiseFault(FaultKind::Unaligned, Addr);
            return 0;
        }
        Chunk = 1;
    }
    if (MpuEnabled())
        for (unsigned i = 0; i < Size; i += Chunk)
            if (!MpuAllows(Addr + i, Kind, Priv)) {
                RaiseFault(FaultKind::DataMpu, Addr);
                return 0;
            }
    return Chunk;
}

bool ArmCore::LoadSlow(uint32_t Addr, unsigned Size, uint32_t& Value, unsigned Flags)
{
    bool Priv = IsPrivileged() && !(Flags & kAccUnpriv);
    unsigned Chunk = CheckAccess(Addr, Size, MpuAccess::Read, Priv);
    if (Chunk == 0) return false;
    uint32_t Result = 0;
    for (unsigned i = 0; i < Size; i += Chunk) {
        uint32_t Part = 0;
        if (!RawLoad(Addr + i, Chunk, Part, Priv) && !BusFaultIgnored(Addr)) {
            RaiseFault(FaultKind::DataBus, Addr);
            return false;
        }
        Result |= Part << (8 * (Config.BigEndianData ? Size - Chunk - i : i));
    }
    Value = Result;
    if (AnyWatch) CheckWatch(Addr, Size, Value, false);
    CodeRegion* pRegion = TlbAllowed ? FindRegion(Addr) : nullptr;
    if (pRegion && (pRegion->Mem.Flags & kMemRead)) {
        uint32_t Page = Addr & ~(kPageSize - 1);
        ReadTlb[(Addr >> kPageShift) & (kTlbSize - 1)] = {Page,
                                                          pRegion->Mem.pData + (Page - pRegion->Mem.Base)};
    }
    return true;
}

bool ArmCore::StoreSlow(uint32_t Addr, unsigned Size, uint32_t Value, unsigned Flags)
{
    bool Priv = IsPrivileged() && !(Flags & kAccUnpriv);
    unsigned Chunk = CheckAccess(Addr, Size, MpuAccess::Write, Priv);
    if (Chunk == 0) return false;
    if (Size < 4) Value &= (1u << (8 * Size)) - 1;
    for (unsigned i = 0; i < Size; i += Chunk) {
        uint32_t Part = Value >> (8 * (Config.BigEndianData ? Size - Chunk - i : i));
        if (Chunk == 1) Part &= 0xFF;
        if (!RawStore(Addr + i, Chunk, Part, Priv) && !BusFaultIgnored(Addr)) {
            RaiseFault(FaultKind::DataBus, Addr);
            return false;
        }
    }
    if (AnyWatch) CheckWatch(Addr, Size, Value, true);
    CodeRegion* pRegion = TlbAllowed ? FindRegion(Addr) : nullptr;
    if (pRegion && (pRegion->Mem.Flags & kMemWrite)) {
        uint32_t Page = Addr & ~(kPageSize - 1), Offset = Page - pRegion->Mem.Base;
        if (!pRegion->pOps || !pRegion->CodePages[Offset >> kPageShift])
            WriteTlb[(Addr >> kPageShift) & (kTlbSize - 1)] = {Page, pRegion->Mem.pData + Offset};
    }
    return true;
}

bool ArmCore::DebugAccess(uint32_t Addr, unsigned Size, uint32_t& Value, bool Write)
{
    if (Addr & (Size - 1)) { // byte by byte, in the order of the core's data
        uint32_t Result = 0;
        for (unsigned i = 0; i < Size; ++i) {
            unsigned Shift = 8 * (Config.BigEndianData ? Size - 1 - i : i);
            uint32_t Byte = Value >> Shift & 0xFF;
            if (!DebugAccess(Addr + i, 1, Byte, Write)) return false;
            Result |= Byte << Shift;
        }
        if (!Write) Value = Result;
        return true;
    }
    if (IsSystem(Addr)) return SystemAccess(Addr, Size, Value, Write, true, true);
    CodeRegion* pRegion = FindRegion(Addr);
    if (!Write && pRegion) {
        Value = LoadBytes(pRegion->Mem.pData + (Addr - pRegion->Mem.Base), Size);
        if (Config.BigEndianData) Value = Swap(Value, Size);
        return true;
    }
    return Write ? RawStore(Addr, Size, Value, true) : RawLoad(Addr, Size, Value, true);
}

} // namespace Sim
