// Memory protection unit: the ARMv6-M/ARMv7-M kind (size and subregions) and the ARMv8-M
// kind (base and limit).
#include "armcore.h"

namespace Sim {

namespace {

struct Permission {
    bool Read, Write, Execute;
};

// AP field of RASR for privileged and unprivileged code.
Permission AccessV7(uint32_t Rasr, bool Priv)
{
    unsigned Ap = Rasr >> 24 & 7;
    bool Execute = !(Rasr >> 28 & 1);
    switch (Ap) {
    case 1:
        return {Priv, Priv, Execute};
    case 2:
        return {true, Priv, Execute};
    case 3:
        return {true, true, Execute};
    case 5:
        return {Priv, false, Execute};
    case 6:
    case 7:
        return {true, false, Execute};
    default:
        return {false, false, false};
    }
}

bool MatchesV7(uint32_t Rbar, uint32_t Rasr, uint32_t Addr)
{
    unsigned Bits = (Rasr >> 1 & 31) + 1;
    if (!(Rasr & 1) || Bits < 5) return false;
    uint64_t Size = uint64_t(1) << Bits;
    uint32_t Base = uint32_t(Rbar & ~(Size - 1));
    if (Addr - Base >= Size) return false;
    if (Bits < 8) return true;
    unsigned Subregion = unsigned((Addr - Base) >> (Bits - 3));
    return !(Rasr >> (8 + Subregion) & 1);
}

bool MatchesV8(uint32_t Rbar, uint32_t Rlar, uint32_t Addr)
{
    return (Rlar & 1) && Addr >= (Rbar & ~31u) && Addr <= (Rlar | 31u);
}

Permission AccessV8(uint32_t Rbar, bool Priv)
{
    bool AnyPriv = Rbar & 2, ReadOnly = Rbar & 4;
    bool May = Priv || AnyPriv;
    return {May, May && !ReadOnly, May && !(Rbar & 1)};
}

} // namespace

bool ArmCore::MpuAllows(uint32_t Addr, MpuAccess Kind, bool Priv) const
{
    if ((Addr >> 20) == 0xE00) return true; // the system space has its own rules
    // Handlers at the priority of HardFault and above go without when HFNMIENA is off.
    if (!(Scs.MpuCtrl & 2) && (Ipsr == kExcHardFault || Ipsr == kExcNmi || Faultmask)) return true;
    int Found = -1;
    for (int i = Config.NumMpuRegions - 1; i >= 0; --i) {
        bool Match = IsV8M ? MatchesV8(Scs.MpuRbar[i], Scs.MpuRasr[i], Addr)
                           : MatchesV7(Scs.MpuRbar[i], Scs.MpuRasr[i], Addr);
        if (!Match) continue;
        if (IsV8M && Found >= 0) return false; // overlapping regions are a fault there
        Found = i;
        if (!IsV8M) break;
    }
    if (Found < 0) return Priv && (Scs.MpuCtrl & 4);
    Permission P = IsV8M ? AccessV8(Scs.MpuRbar[Found], Priv) : AccessV7(Scs.MpuRasr[Found], Priv);
    return Kind == MpuAccess::Read ? P.Read : Kind == MpuAccess::Write ? P.Write : P.Read && P.Execute;
}

uint32_t ArmCore::TestTarget(uint32_t Addr, bool Unpriv) const
{
    bool Priv = IsPrivileged() && !Unpriv;
    uint32_t Result = 0;
    int Found = -1, NumFound = 0;
    for (int i = 0; MpuEnabled() && i < Config.NumMpuRegions; ++i)
        if (MatchesV8(Scs.MpuRbar[i], Scs.MpuRasr[i], Addr)) {
            Found = i;
            ++NumFound;
        }
    if (NumFound == 1 && (IsPrivileged() || Unpriv)) Result = uint32_t(Found) | 1u << 16;
    if (!MpuEnabled() || MpuAllows(Addr, MpuAccess::Read, Priv)) Result |= 1u << 18;
    if (!MpuEnabled() || MpuAllows(Addr, MpuAccess::Write, Priv)) Result |= 1u << 19;
    return Result;
}

// Offsets from 0xE000ED90.
uint32_t ArmCore::MpuRead(uint32_t Offset) const
{
    if (Offset == 0) return uint32_t(Config.NumMpuRegions) << 8;
    if (!HasMpu) return 0;
    unsigned Region = Scs.MpuRnr;
    if (Offset >= 0x14 && Offset <= 0x28) {
        Region = IsV8M ? (Region & ~3u) + (Offset - 0x0C) / 8 : Region;
        Offset = Offset & 4 ? 0x0C + 0 : 0x10;
        // Aliases come in pairs: base at 0x14, 0x1C, 0x24, attributes behind each.
    }
    switch (Offset) {
    case 4:
        return Scs.MpuCtrl;
    case 8:
        return Scs.MpuRnr;
    case 0x0C:
        return IsV8M ? Scs.MpuRbar[Region] : Scs.MpuRbar[Region] | Region;
    case 0x10:
        return Scs.MpuRasr[Region];
    case 0x30:
        return IsV8M ? Scs.MpuMair[0] : 0;
    case 0x34:
        return IsV8M ? Scs.MpuMair[1] : 0;
    default:
        return 0;
    }
}

void ArmCore::MpuWrite(uint32_t Offset, uint32_t Value)
{
    if (!HasMpu) return;
    unsigned Region = Scs.MpuRnr;
    if (Offset >= 0x14 && Offset <= 0x28) {
        if (IsV8M) Region = (Region & ~3u) + (Offset - 0x0C) / 8;
        Offset = Offset & 4 ? 0x0C : 0x10;
    }
    switch (Offset) {
    case 4:
        Scs.MpuCtrl = (Value & 1) ? Value & 7 : Value & 6;
        break;
    case 8:
        if ((Value & 0xFF) < Config.NumMpuRegions) Scs.MpuRnr = Value & 0xFF;
        break;
    case 0x0C:
        if (IsV8M) {
            Scs.MpuRbar[Region] = Value;
        } else {
            if (Value & 0x10) { // VALID: the region's number comes along
                if ((Value & 15) >= Config.NumMpuRegions) return;
                Scs.MpuRnr = Region = Value & 15;
            }
            Scs.MpuRbar[Region] = Value & ~31u;
        }
        break;
    case 0x10:
        Scs.MpuRasr[Region] = IsV8M ? Value & ~16u : Value & 0x173FFF3F;
        break;
    case 0x30:
    case 0x34:
        if (IsV8M) Scs.MpuMair[(Offset >> 2) & 1] = Value;
        break;
    default:
        return;
    }
    UpdateTlbAllowed();
    CloseWindow();
    // What was decoded under other permissions may hold a fetch fault in its second half word.
    for (auto& pRegion : Regions) InvalidateCode(pRegion->Mem.Base, pRegion->Mem.Size);
    Attend();
}

} // namespace Sim
