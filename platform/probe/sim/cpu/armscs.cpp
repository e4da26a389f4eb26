// System control space, SysTick, cycle counter and stimulus ports as a program reads and
// writes them.
#include "armcore.h"

#include <algorithm>

namespace Sim {

namespace {

struct IdRegisters {
    uint32_t Cpuid;
    uint32_t Id[16]; // 0xE000ED40-0xE000ED7C
    uint32_t Mvfr[3];
};

const IdRegisters& IdsOf(ArmCoreKind Kind)
{
    static constexpr IdRegisters M0{0x410CC200, {}, {}};
    static constexpr IdRegisters M0Plus{0x410CC601, {}, {}};
    static constexpr IdRegisters M3{
        0x410FC231,
        {0x30, 0x200, 0x100000, 0, 0x30, 0, 0, 0, 0x01141110, 0x02111000, 0x21112231, 0x01111110, 0x01310102},
        {}};
    static constexpr IdRegisters M4{
        0x410FC240,
        {0x30, 0x200, 0x100000, 0, 0x30, 0, 0, 0, 0x01141110, 0x02112000, 0x21232231, 0x01111131, 0x01310132},
        {}};
    static constexpr IdRegisters M4F{
        0x410FC240,
        {0x30, 0x200, 0x100000, 0, 0x30, 0, 0, 0, 0x01141110, 0x02112000, 0x21232231, 0x01111131, 0x01310132},
        {0x10110021, 0x11000011, 0}};
    static constexpr IdRegisters M7F{0x411FC272,
                                     {0x30, 0x200, 0x100000, 0, 0x00100030, 0, 0x01000000, 0, 0x01101110,
                                      0x02112000, 0x20232231, 0x01111131, 0x01310132},
                                     {0x10110021, 0x11000011, 0x40}};
    static constexpr IdRegisters M33{0x410FD213,
                                     {0x30, 0x200, 0x200000, 0, 0x00101F40, 0, 0x01000000, 0, 0x01101110,
                                      0x02212000, 0x20232232, 0x01111131, 0x01310132},
                                     {0x10110021, 0x11000011, 0x40}};
    switch (Kind) {
    case ArmCoreKind::M0:
        return M0;
    case ArmCoreKind::M0Plus:
        return M0Plus;
    case ArmCoreKind::M3:
        return M3;
    case ArmCoreKind::M4:
        return M4;
    case ArmCoreKind::M4F:
        return M4F;
    case ArmCoreKind::M7F:
        return M7F;
    default:
        return M33;
    }
}

constexpr uint32_t kAircrKey = 0x05FA;
constexpr uint32_t kTrcena = 1u << 24;
constexpr uint32_t kSysTickEnable = 1, kSysTickInt = 2, kSysTickCountFlag = 1u << 16;

} // namespace

void ArmCore::ResetScs()
{
    uint32_t Catch = Scs.Demcr & 0x7F1; // the debugger's settings outlive a reset
    Scs = ScsState();
    Scs.Vtor = Config.VectorTable;
    Scs.Demcr = Catch;
    Scs.Ccr = IsV6M ? 0x208 : IsV8M ? 0x201 : Config.Kind == ArmCoreKind::M7F ? 0x40200 : 0x200;
    Scs.Fpccr = HasFpu ? 0xC0000000 : 0;
}

// --- SysTick: both clock sources count core cycles -----------------------------------------

void ArmCore::SysTickSync()
{
    while (Cycles >= Scs.SysTickNext) {
        Scs.SysTickCtrl |= kSysTickCountFlag;
        if (Scs.SysTickCtrl & kSysTickInt) SetPend(kExcSysTick);
        if (Scs.SysTickLoad) {
            Scs.SysTickNext += Scs.SysTickLoad + 1;
        } else {
            Scs.SysTickNext = kNever;
            Scs.SysTickVal = 0;
        }
    }
}

uint32_t ArmCore::SysTickValue() const
{
    if (!(Scs.SysTickCtrl & kSysTickEnable) || Scs.SysTickNext == kNever) return Scs.SysTickVal;
    uint64_t Left = Scs.SysTickNext - Cycles;
    return Left > Scs.SysTickLoad ? 0 : uint32_t(Left); // between 0 and the reload
}

uint32_t ArmCore::SysTickRead(uint32_t Offset, bool Debug)
{
    SysTickSync();
    switch (Offset) {
    case 0x10: {
        uint32_t Value = Scs.SysTickCtrl;
        if (!Debug) Scs.SysTickCtrl &= ~kSysTickCountFlag;
        return Value;
    }
    case 0x14:
        return Scs.SysTickLoad;
    case 0x18:
        return SysTickValue();
    default:
        return Config.SysTickCalib;
    }
}

void ArmCore::SysTickWrite(uint32_t Offset, uint32_t Value)
{
    SysTickSync();
    uint64_t FullPeriod = Scs.SysTickLoad ? Cycles + Scs.SysTickLoad + 1 : kNever;
    if (Offset == 0x10) {
        bool Was = Scs.SysTickCtrl & kSysTickEnable, Is = Value & kSysTickEnable;
        if (Was && !Is) {
            Scs.SysTickVal = SysTickValue();
            Scs.SysTickNext = kNever;
        } else if (!Was && Is) {
            Scs.SysTickNext = Scs.SysTickVal ? Cycles + Scs.SysTickVal : FullPeriod;
        }
        Scs.SysTickCtrl = (Scs.SysTickCtrl & kSysTickCountFlag) | (Value & 7);
    } else if (Offset == 0x14) {
        Scs.SysTickLoad = Value & 0xFFFFFF;
        bool Idle = (Scs.SysTickCtrl & kSysTickEnable) && Scs.SysTickNext == kNever;
        if (Idle && Scs.SysTickLoad) Scs.SysTickNext = Cycles + Scs.SysTickLoad + 1;
    } else if (Offset == 0x18) {
        Scs.SysTickVal = 0;
        Scs.SysTickCtrl &= ~kSysTickCountFlag;
        if (Scs.SysTickCtrl & kSysTickEnable) Scs.SysTickNext = FullPeriod;
    }
    Attend();
}

// --- DWT and ITM --------------------------------------------------------------------------

uint32_t ArmCore::DwtCycles() const
{
    bool Counting = (Scs.DwtCtrl & 1) && (Scs.Demcr & kTrcena);
    return Counting ? uint32_t(Cycles) - Scs.DwtBase : Scs.DwtHeld;
}

uint32_t ArmCore::DwtRead(uint32_t Offset) const
{
    if (Offset == 0) return (kNumDataWatches << 28) | Scs.DwtCtrl;
    return Offset == 4 ? DwtCycles() : 0;
}

void ArmCore::DwtWrite(uint32_t Offset, uint32_t Value)
{
    uint32_t Now = DwtCycles();
    if (Offset == 4) {
        Now = Value;
    } else if (Offset == 0) {
        Scs.DwtCtrl = Value & 1;
    } else {
        return;
    }
    Scs.DwtHeld = Now;
    Scs.DwtBase = uint32_t(Cycles) - Now;
}

bool ArmCore::ItmAccess(uint32_t Offset, unsigned Size, uint32_t& Value, bool Write, bool Priv)
{
    unsigned Port = Offset >> 2;
    if (Offset < 0x80) { // stimulus ports
        bool Allowed = Priv || !(Scs.ItmTpr >> (Port / 8) & 1);
        bool On = (Scs.Demcr & kTrcena) && (Scs.ItmTcr & 1) && (Scs.ItmTer >> Port & 1);
        if (!Write) Value = On ? 1 : 0; // the FIFO always has room
        if (Write && On && Allowed) pBus->OnItmWrite(Port, Size, Value);
        return true;
    }
    if (!Priv && Write) return true;
    uint32_t* pReg = Offset == 0xE00   ? &Scs.ItmTer
                     : Offset == 0xE40 ? &Scs.ItmTpr
                     : Offset == 0xE80 ? &Scs.ItmTcr
                                       : nullptr;
    if (Write && pReg)
        *pReg = pReg == &Scs.ItmTpr ? Value & 15 : pReg == &Scs.ItmTcr ? Value & 0x7F0FFF : Value;
    if (!Write) Value = pReg ? *pReg : 0;
    return true;
}

// --- system control block, offsets from 0xE000E000 -----------------------------------------

namespace {

// Bits of SHCSR: exception and the positions of its active and pending bits (32: none).
struct ShcsrRow {
    uint8_t Exc, ActiveBit, PendingBit;
};
constexpr ShcsrRow kShcsr[] = {{kExcMemManage, 0, 13},
                               {kExcBusFault, 1, 14},
                               {kExcUsageFault, 3, 12},
                               {kExcSvc, 7, 15},
                               {kExcDebugMon, 8, 32},
                               {kExcPendSv, 10, 32},
                               {kExcSysTick, 11, 32},
                               // ARMv8-M shows these too; a write doesn't change them
                               {kExcHardFault, 2, 21},
                               {kExcNmi, 5, 32}};

uint32_t ReadShcsr(const ArmCore& C)
{
    uint32_t Value = C.Scs.ShcsrEnables;
    for (const ShcsrRow& Row : kShcsr) {
        if (C.IsV6M && Row.Exc != kExcSvc) continue;
        if (Row.Exc <= kExcHardFault && !C.IsV8M) continue;
        if (!C.IsV6M && C.Bit(C.Active, Row.Exc)) Value |= 1u << Row.ActiveBit;
        if (Row.PendingBit < 32 && C.Bit(C.Pending, Row.Exc)) Value |= 1u << Row.PendingBit;
    }
    return Value;
}

void WriteShcsr(ArmCore& C, uint32_t Value)
{
    if (!C.IsV6M) C.Scs.ShcsrEnables = Value & 0x70000;
    for (const ShcsrRow& Row : kShcsr) {
        if ((C.IsV6M && Row.Exc != kExcSvc) || Row.Exc <= kExcHardFault) continue;
        if (!C.IsV6M) C.SetBit(C.Active, Row.Exc, Value >> Row.ActiveBit & 1);
        if (Row.PendingBit < 32) C.SetPend(Row.Exc, Value >> Row.PendingBit & 1);
    }
    C.Attend();
}

uint32_t ReadIcsr(const ArmCore& C)
{
    int Prio = 0;
    uint32_t Value = C.Ipsr | C.HighestPending(&Prio) << 12;
    if (!C.IsV6M && C.NumActive() <= 1) Value |= 1u << 11;
    uint64_t External = C.Pending[0] >> 16;
    for (unsigned i = 1; i < 8; ++i) External |= C.Pending[i];
    if (External) Value |= 1u << 22;
    if (C.Bit(C.Pending, kExcSysTick)) Value |= 1u << 26;
    if (C.Bit(C.Pending, kExcPendSv)) Value |= 1u << 28;
    if (C.Bit(C.Pending, kExcNmi)) Value |= 1u << 31;
    return Value;
}

void WriteIcsr(ArmCore& C, uint32_t Value)
{
    if (Value >> 31 & 1) C.SetPend(kExcNmi);
    if (Value >> 28 & 1)
        C.SetPend(kExcPendSv);
    else if (Value >> 27 & 1)
        C.SetPend(kExcPendSv, false);
    if (Value >> 26 & 1)
        C.SetPend(kExcSysTick);
    else if (Value >> 25 & 1)
        C.SetPend(kExcSysTick, false);
}

void WriteAircr(ArmCore& C, uint32_t Value)
{
    if (Value >> 16 != kAircrKey) return;
    if (!C.IsV6M) C.Scs.Aircr = Value & 0x700;
    if (Value & 4) C.ResetRequested = true;
    if (Value & 2) { // VECTCLRACTIVE
        std::fill(std::begin(C.Active), std::end(C.Active), uint64_t(0));
        C.Ipsr = 0;
    }
    C.Attend();
}

bool PriorityExists(const ArmCore& C, unsigned Exc)
{
    if (Exc == kExcSvc || Exc == kExcPendSv || Exc == kExcSysTick) return true;
    return !C.IsV6M && ((Exc >= kExcMemManage && Exc <= kExcUsageFault) || Exc == kExcDebugMon);
}

} // namespace

uint32_t ArmCore::ScbRead(uint32_t Offset, bool Debug)
{
    if (Offset >= 0xD90 && Offset < 0xDC8) return MpuRead(Offset - 0xD90);
    if (Offset >= 0xD18 && Offset < 0xD24) {
        unsigned First = Offset - 0xD14;
        return uint32_t(Prio[First]) | uint32_t(Prio[First + 1]) << 8 | uint32_t(Prio[First + 2]) << 16 |
               uint32_t(Prio[First + 3]) << 24;
    }
    if (Offset >= 0xD40 && Offset < 0xD80) return IdsOf(Config.Kind).Id[(Offset - 0xD40) / 4];
    if (Offset >= 0xF40 && Offset < 0xF4C) return IdsOf(Config.Kind).Mvfr[(Offset - 0xF40) / 4];
    switch (Offset) {
    case 0x004:
        return IsV6M ? 0 : (NumExc - 16 + 31) / 32 - 1;
    case 0x008:
        return Scs.Actlr;
    case 0xD00:
        return IdsOf(Config.Kind).Cpuid;
    case 0xD04:
        return ReadIcsr(*this);
    case 0xD08:
        return HasVtor ? Scs.Vtor : 0;
    case 0xD0C:
        return 0xFA050000u | uint32_t(Config.BigEndianData) << 15 | Scs.Aircr;
    case 0xD10:
        return Scs.Scr;
    case 0xD14:
        return Scs.Ccr;
    case 0xD24:
        return ReadShcsr(*this);
    case 0xD28:
        return Scs.Cfsr;
    case 0xD2C:
        return Scs.Hfsr;
    case 0xD30:
        return Scs.Dfsr;
    case 0xD34:
        return Scs.Mmfar;
    case 0xD38:
        return Scs.Bfar;
    case 0xD3C:
        return Scs.Afsr;
    case 0xD88:
        return Scs.Cpacr;
    case 0xDF0:
        return Debug ? 1u << 16 | uint32_t(DebugEnabled) : 1u << 24 | 1u << 16 | uint32_t(DebugEnabled);
    case 0xDFC:
        return Scs.Demcr;
    case 0xF34:
        return Scs.Fpccr;
    case 0xF38:
        return Scs.Fpcar;
    case 0xF3C:
        return Scs.Fpdscr;
    default:
        return 0;
    }
}

void ArmCore::ScbWrite(uint32_t Offset, uint32_t Value, uint32_t LaneMask, bool Debug)
{
    (void)Debug;
    if (Offset >= 0xD90 && Offset < 0xDC8) return MpuWrite(Offset - 0xD90, Value);
    if (Offset >= 0xD18 && Offset < 0xD24) {
        for (unsigned i = 0; i < 4; ++i)
            if ((LaneMask >> (8 * i) & 1) && PriorityExists(*this, Offset - 0xD14 + i))
                Prio[Offset - 0xD14 + i] = uint8_t(Value >> (8 * i)) & PrioMask();
        return Attend();
    }
    if (Offset == 0xD28) { // bits are cleared by ones
        if (!IsV6M) Scs.Cfsr &= ~(Value & LaneMask);
        return;
    }
    if (LaneMask != ~0u) return; // the others are written as words only
    constexpr uint32_t kCcrBits = 0x31B, kCcrBitsV8 = 0x71D1A | 2;
    switch (Offset) {
    case 0x008:
        Scs.Actlr = IsV6M ? 0 : Value & 0x7;
        break;
    case 0xD04:
        WriteIcsr(*this, Value);
        break;
    case 0xD08:
        if (HasVtor) Scs.Vtor = Value & 0xFFFFFF80u;
        break;
    case 0xD0C:
        WriteAircr(*this, Value);
        break;
    case 0xD10:
        Scs.Scr = Value & 0x16;
        break;
    case 0xD14:
        if (IsV8M)
            Scs.Ccr = (Value & kCcrBitsV8) | 0x201;
        else if (Config.Kind == ArmCoreKind::M7F)
            Scs.Ccr = (Value & (kCcrBits | 0x30000)) | 0x40000;
        else if (!IsV6M)
            Scs.Ccr = Value & kCcrBits;
        break;
    case 0xD24:
        WriteShcsr(*this, Value);
        break;
    case 0xD2C:
        Scs.Hfsr &= ~Value;
        break;
    case 0xD30:
        Scs.Dfsr &= ~Value;
        break;
    case 0xD34:
        if (!IsV6M) Scs.Mmfar = Value;
        break;
    case 0xD38:
        if (!IsV6M) Scs.Bfar = Value;
        break;
    case 0xD88:
        if (HasFpu) Scs.Cpacr = Value & 0x00F00000;
        break;
    case 0xDFC: {
        uint32_t Held = DwtCycles();
        Scs.Demcr = IsV6M ? Value & (kTrcena | 0x401) : Value & 0x010F07F1;
        Scs.DwtHeld = Held;
        Scs.DwtBase = uint32_t(Cycles) - Held;
        break;
    }
    case 0xF00:
        if (!IsV6M && 16 + (Value & 0x1FF) < NumExc) SetPend(16 + (Value & 0x1FF));
        break;
    case 0xF34:
        if (HasFpu) Scs.Fpccr = Value & (IsV8M ? 0xD000057Bu : 0xC000017Bu);
        break;
    case 0xF38:
        if (HasFpu) Scs.Fpcar = Value & ~7u;
        break;
    case 0xF3C:
        if (HasFpu) Scs.Fpdscr = Value & 0x07C00000;
        break;
    default:
        break;
    }
    Attend();
}

bool ArmCore::SystemAccess(uint32_t Addr, unsigned Size, uint32_t& Value, bool Write, bool Priv, bool Debug)
{
    uint32_t Block = Addr >> 12, Offset = Addr & 0xFFC;
    bool IsScs = Block == 0xE000E;
    if (Block == 0xE0000 && !IsV6M) return ItmAccess(Addr & 0xFFF, Size, Value, Write, Priv);
    bool StirByUser = IsScs && Write && Offset == 0xF00 && (Scs.Ccr & 2);
    if (!Priv && !StirByUser) return false;
    unsigned Shift = 8 * (Addr & 3);
    uint32_t LaneMask = Size == 4 ? ~0u : ((1u << (8 * Size)) - 1) << Shift;
    if (Write) {
        uint32_t Word = Value << Shift;
        if (IsScs && Offset >= 0x010 && Offset < 0x020) {
            if (Size == 4) SysTickWrite(Offset, Word);
        } else if (IsScs && Offset >= 0x100 && Offset < 0xD00) {
            NvicWrite(Offset - 0x100, Word, LaneMask);
        } else if (IsScs) {
            ScbWrite(Offset, Word, LaneMask, Debug);
        } else if (Block == 0xE0001 && !IsV6M && Size == 4) {
            DwtWrite(Offset, Word);
        }
        return true;
    }
    uint32_t Word = 0;
    if (IsScs && Offset >= 0x010 && Offset < 0x020) {
        Word = SysTickRead(Offset, Debug);
    } else if (IsScs && Offset >= 0x100 && Offset < 0xD00) {
        Word = NvicRead(Offset - 0x100);
    } else if (IsScs) {
        Word = ScbRead(Offset, Debug);
    } else if (Block == 0xE0001 && !IsV6M) {
        Word = DwtRead(Offset);
    }
    Value = (Word & LaneMask) >> Shift;
    return true;
}

} // namespace Sim
