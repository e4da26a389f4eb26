// Priorities and pending state of all exceptions; the interrupt controller's registers.
#include "armcore.h"

#include <algorithm>

namespace Sim {

int ArmCore::GroupPrio(int Prio8) const
{
    if (Prio8 < 0) return Prio8;
    unsigned Prigroup = Scs.Aircr >> 8 & 7;
    return Prio8 & int(0xFFu << (Prigroup + 1));
}

int ArmCore::ExcPrio(unsigned Exc) const
{
    switch (Exc) {
    case kExcReset:
        return IsV8M ? -4 : -3;
    case kExcNmi:
        return -2;
    case kExcHardFault:
        return -1;
    default:
        return Prio[Exc];
    }
}

bool ArmCore::ExcEnabled(unsigned Exc) const
{
    switch (Exc) {
    case kExcMemManage:
        return Scs.ShcsrEnables & (1u << 16);
    case kExcBusFault:
        return Scs.ShcsrEnables & (1u << 17);
    case kExcUsageFault:
        return Scs.ShcsrEnables & (1u << 18);
    case kExcDebugMon:
        return Scs.Demcr & (1u << 16);
    default:
        return Exc < 16 || Bit(Enabled, Exc);
    }
}

int ArmCore::RawExecPrio() const
{
    int Result = 256;
    for (unsigned Word = 0; Word < 8; ++Word)
        for (uint64_t Bits = Active[Word]; Bits; Bits &= Bits - 1)
            Result = std::min(Result, GroupPrio(ExcPrio(Word * 64 + unsigned(__builtin_ctzll(Bits)))));
    return Result;
}

int ArmCore::ExecPrio(bool IgnorePrimask) const
{
    int Result = RawExecPrio();
    if (Basepri) Result = std::min(Result, GroupPrio(int(Basepri)));
    if (Primask && !IgnorePrimask) Result = std::min(Result, 0);
    if (Faultmask) Result = std::min(Result, -1);
    return Result;
}

unsigned ArmCore::HighestPending(int* pPrio) const
{
    unsigned Best = 0;
    int BestPrio = 256;
    for (unsigned Word = 0; Word < 8; ++Word) {
        for (uint64_t Bits = Pending[Word]; Bits; Bits &= Bits - 1) {
            unsigned Exc = Word * 64 + unsigned(__builtin_ctzll(Bits));
            if (!ExcEnabled(Exc) || ExcPrio(Exc) >= BestPrio) continue;
            if (MaskInterrupts && Exc >= kExcPendSv) continue;
            Best = Exc;
            BestPrio = ExcPrio(Exc);
        }
    }
    *pPrio = BestPrio;
    return Best;
}

bool ArmCore::HasWakeup() const
{
    int Prio8 = 0;
    return HighestPending(&Prio8) && GroupPrio(Prio8) < ExecPrio(true);
}

void ArmCore::SetPend(unsigned Exc, bool On)
{
    if (On && !Bit(Pending, Exc) && (Scs.Scr & 0x10)) EventReg = true; // SEVONPEND
    SetBit(Pending, Exc, On);
    Attend();
}

void ArmCore::SetIrqLevel(unsigned Irq, bool High)
{
    unsigned Exc = Irq + 16;
    if (Irq >= Config.NumIrqs) return;
    bool Rises = High && !Bit(Level, Exc);
    SetBit(Level, Exc, High);
    if (Rises) SetPend(Exc);
}

// --- registers, offsets from 0xE000E100 ---------------------------------------------------

namespace {

// External interrupts 32 * Word .. + 31 of a bit array indexed by exception.
uint32_t IrqWord(const uint64_t* p, unsigned Word)
{
    unsigned First = 16 + 32 * Word;
    uint64_t Value = p[First >> 6] >> (First & 63);
    if ((First & 63) > 32) Value |= p[(First >> 6) + 1] << (64 - (First & 63));
    return uint32_t(Value);
}

} // namespace

uint32_t ArmCore::NvicRead(uint32_t Offset) const
{
    unsigned Group = Offset >> 7, Word = Offset >> 2 & 15;
    bool WordExists = Word * 32 < Config.NumIrqs && Word < 15;
    if (Offset >= 0x300) {
        if (Offset >= 0x4F0) return 0;
        uint32_t Value = 0;
        for (unsigned i = 0; i < 4; ++i) {
            unsigned Exc = 16 + (Offset & ~3u) - 0x300 + i;
            if (Exc < NumExc) Value |= uint32_t(Prio[Exc]) << (8 * i);
        }
        return Value;
    }
    if (!WordExists || (Offset & 0x40)) return 0;
    switch (Group) {
    case 0:
    case 1:
        return IrqWord(Enabled, Word);
    case 2:
    case 3:
        return IrqWord(Pending, Word);
    case 4:
        return IsV6M ? 0 : IrqWord(Active, Word);
    default:
        return 0;
    }
}

void ArmCore::NvicWrite(uint32_t Offset, uint32_t Value, uint32_t LaneMask)
{
    if (Offset >= 0x300) {
        for (unsigned i = 0; i < 4; ++i) {
            unsigned Exc = 16 + (Offset & ~3u) - 0x300 + i;
            if (Exc < NumExc && Offset < 0x4F0 && (LaneMask >> (8 * i) & 1))
                Prio[Exc] = uint8_t(Value >> (8 * i)) & PrioMask();
        }
        Attend();
        return;
    }
    unsigned Group = Offset >> 7, Word = Offset >> 2 & 15;
    if (Offset & 0x40) return;
    for (uint32_t Bits = Value & LaneMask; Bits; Bits &= Bits - 1) {
        unsigned Exc = 16 + 32 * Word + unsigned(__builtin_ctz(Bits));
        if (Exc >= NumExc) break;
        switch (Group) {
        case 0:
            SetBit(Enabled, Exc, true);
            break;
        case 1:
            SetBit(Enabled, Exc, false);
            break;
        case 2:
            SetPend(Exc);
            break;
        case 3:
            SetPend(Exc, Bit(Level, Exc) && !Bit(Active, Exc));
            break;
        default:
            break;
        }
    }
    Attend();
}

} // namespace Sim
