// Exceptions: faults and their escalation, entry with stacking, return with unstacking and
// tail chaining, lazy floating-point state.
#include "armcore.h"

#include <algorithm>

namespace Sim {

namespace {

constexpr uint32_t kFpccrAspen = 1u << 31, kFpccrLspen = 1u << 30, kFpccrLspact = 1, kFpccrUser = 2;
constexpr uint32_t kHfsrVectTbl = 2, kHfsrForced = 1u << 30, kHfsrDebugEvt = 1u << 31;
constexpr uint32_t kControlFpca = 4, kControlSpsel = 2;

// How a fault is reported: the exception, the bits of CFSR and the DEMCR bit that catches it.
struct FaultRow {
    FaultKind Kind;
    uint8_t Exc;
    uint32_t Cfsr;
    uint32_t Catch;
};
constexpr FaultRow kFaults[] = {
    {FaultKind::None, 0, 0, 0},
    {FaultKind::UndefInstr, kExcUsageFault, 1u << 16, 1u << 7},
    {FaultKind::InvState, kExcUsageFault, 1u << 17, 1u << 7},
    {FaultKind::InvPc, kExcUsageFault, 1u << 18, 1u << 7},
    {FaultKind::NoCp, kExcUsageFault, 1u << 19, 1u << 5},
    {FaultKind::StackOverflow, kExcUsageFault, 1u << 20, 1u << 6},
    {FaultKind::Unaligned, kExcUsageFault, 1u << 24, 1u << 6},
    {FaultKind::DivByZero, kExcUsageFault, 1u << 25, 1u << 6},
    {FaultKind::FetchMpu, kExcMemManage, 1u << 0, 1u << 4},
    {FaultKind::DataMpu, kExcMemManage, 1u << 1 | 1u << 7, 1u << 4},
    {FaultKind::FetchBus, kExcBusFault, 1u << 8, 1u << 8},
    {FaultKind::DataBus, kExcBusFault, 1u << 9 | 1u << 15, 1u << 8},
    {FaultKind::LazyBus, kExcBusFault, 1u << 13, 1u << 8},
    {FaultKind::LazyMpu, kExcMemManage, 1u << 5, 1u << 4},
    {FaultKind::Svc, kExcSvc, 0, 0},
    {FaultKind::Bkpt, kExcDebugMon, 0, 0},
};
constexpr bool RowsInOrder()
{
    for (unsigned i = 0; i < std::size(kFaults); ++i)
        if (unsigned(kFaults[i].Kind) != i) return false;
    return true;
}
static_assert(RowsInOrder() && std::size(kFaults) == unsigned(FaultKind::Bkpt) + 1);

} // namespace

// --- state words ------------------------------------------------------------------------

void ArmCore::SetPsp(bool Psp)
{
    if (Psp == SpIsPsp) return;
    std::swap(R[13], OtherSp);
    SpIsPsp = Psp;
}

void ArmCore::SetControl(uint32_t Value)
{
    uint32_t New = Control;
    if (HasUnpriv) New = (New & ~1u) | (Value & 1);
    if (!IsHandler()) New = (New & ~kControlSpsel) | (Value & kControlSpsel);
    if (HasFpu) New = (New & ~kControlFpca) | (Value & kControlFpca);
    Control = New;
    SetPsp(!IsHandler() && (Control & kControlSpsel));
    Attend();
}

uint32_t ArmCore::GetXpsr() const
{
    return (FlagN & 0x80000000u) | (FlagZ ? 0 : 0x40000000u) | FlagC << 29 | (FlagV & 0x80000000u) >> 3 |
           FlagQ << 27 | uint32_t(It & 3) << 25 | uint32_t(Thumb) << 24 | Ge << 16 |
           uint32_t(It & 0xFC) << 8 | Ipsr;
}

void ArmCore::SetXpsr(uint32_t Value)
{
    FlagN = Value & 0x80000000u;
    FlagZ = Value & 0x40000000u ? 0 : 1;
    FlagC = Value >> 29 & 1;
    FlagV = Value << 3 & 0x80000000u;
    FlagQ = IsV6M ? 0 : Value >> 27 & 1;
    Ge = HasDsp ? Value >> 16 & 15 : 0;
    Thumb = Value >> 24 & 1;
    It = IsV6M ? 0 : uint8_t((Value >> 25 & 3) | (Value >> 8 & 0xFC));
    Ipsr = Value & 0x1FF;
    SetPsp(!IsHandler() && (Control & kControlSpsel));
    Attend();
}

// --- faults -----------------------------------------------------------------------------

void ArmCore::LockUp()
{
    LockedUp = true;
    R[15] = 0xFFFFFFFE;
    Attend();
}

void ArmCore::RaiseSync(unsigned Exc, uint32_t HfsrBit)
{
    int Exec = ExecPrio();
    bool Direct = !(IsV6M && Exc != kExcSvc) && ExcEnabled(Exc) && GroupPrio(ExcPrio(Exc)) < Exec;
    if (!Direct) {
        if (Exec <= -1) return LockUp();
        if (!IsV6M) Scs.Hfsr |= HfsrBit;
        Exc = kExcHardFault;
    }
    SetPend(Exc);
}

void ArmCore::TakeFault()
{
    const FaultRow& Row = kFaults[unsigned(Fault)];
    Fault = FaultKind::None;
    if (!IsV6M) {
        Scs.Cfsr |= Row.Cfsr;
        if (Row.Kind == FaultKind::DataMpu) Scs.Mmfar = FaultAddr;
        if (Row.Kind == FaultKind::DataBus) Scs.Bfar = FaultAddr;
        if (Row.Kind == FaultKind::Bkpt) Scs.Dfsr |= 2;
    }
    CatchPending = (Scs.Demcr & Row.Catch) != 0;
    RaiseSync(Row.Exc, Row.Kind == FaultKind::Bkpt ? kHfsrDebugEvt : kHfsrForced);
}

// --- entry ------------------------------------------------------------------------------

// One word of an exception frame. A refused access leaves its fault pending.
bool ArmCore::StackAccess(uint32_t Addr, uint32_t& Value, bool Write, bool Priv)
{
    if (MpuEnabled() && !MpuAllows(Addr, Write ? MpuAccess::Write : MpuAccess::Read, Priv)) {
        StackFault(true, Write ? 4 : 3);
        return false;
    }
    if (Write ? RawStore(Addr, 4, Value, Priv) : RawLoad(Addr, 4, Value, Priv)) return true;
    StackFault(false, Write ? 12 : 11);
    return false;
}

void ArmCore::StackFault(bool Mpu, unsigned CfsrBit)
{
    if (!IsV6M) Scs.Cfsr |= 1u << CfsrBit;
    CatchPending = (Scs.Demcr & (1u << 9)) != 0;
    RaiseSync(Mpu ? kExcMemManage : kExcBusFault, kHfsrForced);
}

void ArmCore::PushFp(uint32_t Frame)
{
    if (!(Scs.Fpccr & kFpccrLspen)) {
        bool Ok = true;
        for (unsigned i = 0; Ok && i < 16; ++i)
            Ok = StackAccess(Frame + 0x20 + 4 * i, S[i], true, IsPrivileged());
        if (Ok && StackAccess(Frame + 0x60, Fpscr, true, IsPrivileged())) {
            // Unknown to the handler by the architecture.
            std::fill(S, S + 16, 0u);
            Fpscr = 0;
        }
        return;
    }
    // Lazily: the place is noted, with what the stores would be allowed to do.
    Scs.Fpcar = Frame + 0x20;
    int Exec = ExecPrio();
    auto Ready = [&](unsigned Exc) { return ExcEnabled(Exc) && GroupPrio(ExcPrio(Exc)) < Exec; };
    uint32_t Bits = kFpccrLspact;
    if (!IsPrivileged()) Bits |= kFpccrUser;
    if (!IsHandler()) Bits |= 1u << 3;
    if (Exec > -1) Bits |= 1u << 4;
    if (Ready(kExcMemManage)) Bits |= 1u << 5;
    if (Ready(kExcBusFault)) Bits |= 1u << 6;
    if (Ready(kExcDebugMon)) Bits |= 1u << 8;
    if (IsV8M && Ready(kExcUsageFault)) Bits |= 1u << 10;
    uint32_t Mask = IsV8M ? 0x57Bu : 0x17Bu;
    Scs.Fpccr = (Scs.Fpccr & ~Mask) | Bits;
}

uint32_t ArmCore::PushFrame()
{
    bool Fp = HasFpu && (Control & kControlFpca);
    bool Align = IsV6M || IsV8M || (Scs.Ccr & 0x200);
    bool Priv = IsPrivileged();
    uint32_t Sp = R[13];
    bool Pad = Align && (Sp & 4);
    uint32_t Frame = (Sp - (Fp ? 0x68 : 0x20)) & (Align ? ~4u : ~0u);
    uint32_t Words[8] = {R[0],  R[1],  R[2],  R[3],
                         R[12], R[14], R[15], (GetXpsr() & ~0x200u) | (Pad ? 0x200u : 0)};
    uint32_t Result = IsV8M ? 0xFFFFFFA0u : 0xFFFFFFE1u;
    if (!Fp) Result |= 0x10;
    if (!IsHandler()) Result |= 8;
    if (SpIsPsp) Result |= 4;
    if (IsV8M && Frame < SpLimit[SpIsPsp]) {
        R[13] = SpLimit[SpIsPsp];
        Scs.Cfsr |= 1u << 20;
        CatchPending = (Scs.Demcr & (1u << 9)) != 0;
        RaiseSync(kExcUsageFault, kHfsrForced);
        return Result;
    }
    R[13] = Frame;
    bool Ok = true;
    for (unsigned i = 0; Ok && i < 8; ++i) Ok = StackAccess(Frame + 4 * i, Words[i], true, Priv);
    if (Fp && Ok) PushFp(Frame);
    return Result;
}

void ArmCore::EnterHandler(unsigned Exc, uint32_t ExcReturnValue)
{
    uint32_t Vector = 0;
    if (!RawLoad(Scs.Vtor + 4 * Exc, 4, Vector, true)) {
        Scs.Hfsr |= kHfsrVectTbl;
        if (Exc == kExcHardFault || ExecPrio() <= -1 || !RawLoad(Scs.Vtor + 12, 4, Vector, true))
            return LockUp();
        Exc = kExcHardFault;
    }
    SetPend(Exc, false);
    SetBit(Active, Exc, true);
    Ipsr = Exc;
    Control &= ~(kControlFpca | kControlSpsel);
    SetPsp(false);
    R[14] = ExcReturnValue;
    R[15] = Vector & ~1u;
    Thumb = Vector & 1;
    It = 0;
    ExclActive = false;
    EventReg = true;
    if (Sleeping) WakeUp();
    bool IsFault = Exc >= kExcHardFault && Exc <= kExcUsageFault;
    if (IsFault && (CatchPending || (Exc == kExcHardFault && (Scs.Demcr & (1u << 10)))))
        StopWith(StopReason::VectorCatch);
    CatchPending = false;
    Attend();
}

unsigned ArmCore::Preempting()
{
    int Prio = 0;
    unsigned Exc = HighestPending(&Prio);
    return Exc && GroupPrio(Prio) < ExecPrio() ? Exc : 0;
}

bool ArmCore::TryTakeException()
{
    if (LockedUp || !Preempting()) return false;
    Cycles += 12;
    uint32_t Value = PushFrame();
    if (LockedUp) return true;
    // A fault of the stacking may have the higher priority; the other stays pending then.
    unsigned Exc = Preempting();
    if (Exc) EnterHandler(Exc, Value);
    return true;
}

// --- return -----------------------------------------------------------------------------

unsigned ArmCore::NumActive() const
{
    unsigned Count = 0;
    for (uint64_t Word : Active) Count += unsigned(__builtin_popcountll(Word));
    return Count;
}

bool ArmCore::TailChain(uint32_t ExcReturnValue)
{
    unsigned Exc = LockedUp ? 0 : Preempting();
    if (!Exc) return false;
    Cycles += 6;
    EnterHandler(Exc, ExcReturnValue);
    return true;
}

void ArmCore::DoExceptionReturn()
{
    uint32_t Value = ExcReturn;
    ExcReturn = 0;
    unsigned Exc = Ipsr;
    bool ToThread = Value & 8;
    bool Valid = IsV8M ? !(Value & 2) : (Value & 15) == 1 || (Value & 15) == 9 || (Value & 15) == 13;
    if (!HasFpu && !(Value & 0x10)) Valid = false;
    if (!Bit(Active, Exc)) Valid = false;
    unsigned Nested = NumActive();
    if (ToThread ? Nested != 1 && !(Scs.Ccr & 1) && !IsV8M : Nested == 1) Valid = false;

    int RawPrio = RawExecPrio();
    SetBit(Active, Exc, false);
    if (IsV8M ? RawPrio >= 0 : Exc != kExcNmi) Faultmask = 0;
    if (Exc >= 16 && Bit(Level, Exc)) SetPend(Exc);
    if (!Valid) {
        Scs.Cfsr |= IsV6M ? 0 : 1u << 18;
        CatchPending = (Scs.Demcr & (1u << 9)) != 0;
        RaiseSync(kExcUsageFault, kHfsrForced);
        TailChain(Value);
        return;
    }
    if (TailChain(Value)) return;
    Cycles += 10;
    if (HasFpu && (Scs.Fpccr & (1u << 28)) && (Control & kControlFpca)) { // CLRONRET
        std::fill(S, S + 16, 0u);
        Fpscr = 0;
    }
    if (!PopFrame(Value)) {
        TailChain(Value);
        return;
    }
    ExclActive = false;
    EventReg = true;
    if (ToThread != (Ipsr == 0)) {
        RaiseFault(FaultKind::InvPc);
        return;
    }
    if (ToThread && (Scs.Scr & 2) && NumActive() == 0) {
        Sleeping = true;
        SleepIsWfe = false;
    }
}

bool ArmCore::PopFrame(uint32_t Value)
{
    bool ToThread = Value & 8, Psp = ToThread && (Value & 4), Fp = HasFpu && !(Value & 0x10);
    bool Align = IsV6M || IsV8M || (Scs.Ccr & 0x200);
    bool Priv = !ToThread || !(Control & 1);
    uint32_t Frame = GetSp(Psp);
    uint32_t Words[8], FpWords[17];
    for (unsigned i = 0; i < 8; ++i)
        if (!StackAccess(Frame + 4 * i, Words[i], false, Priv)) return false;
    bool LoadFp = Fp && !(Scs.Fpccr & kFpccrLspact);
    for (unsigned i = 0; LoadFp && i < 17; ++i)
        if (!StackAccess(Frame + 0x20 + 4 * i, FpWords[i], false, Priv)) return false;
    if (LoadFp) {
        std::copy(FpWords, FpWords + 16, S);
        Fpscr = FpWords[16] & 0xF7C0009F;
    }
    if (Fp) Scs.Fpccr &= ~kFpccrLspact;
    if (HasFpu) Control = (Control & ~kControlFpca) | (Fp ? kControlFpca : 0);
    R[0] = Words[0];
    R[1] = Words[1];
    R[2] = Words[2];
    R[3] = Words[3];
    R[12] = Words[4];
    R[14] = Words[5];
    uint32_t Sp = Frame + (Fp ? 0x68 : 0x20);
    if (Align && (Words[7] & 0x200)) Sp |= 4;
    SetSp(Psp, Sp);
    Control = (Control & ~kControlSpsel) | (Psp ? kControlSpsel : 0);
    SetXpsr(Words[7]);
    R[15] = NextPc = Words[6] & ~1u;
    return true;
}

// --- floating point ---------------------------------------------------------------------

bool ArmCore::PrepareFp()
{
    unsigned Access = Scs.Cpacr >> 20 & 3;
    if (Access == 0 || Access == 2 || (Access == 1 && !IsPrivileged())) {
        RaiseFault(FaultKind::NoCp);
        return false;
    }
    if (Scs.Fpccr & kFpccrLspact) {
        bool Priv = !(Scs.Fpccr & kFpccrUser);
        for (unsigned i = 0; i < 17; ++i) {
            uint32_t Addr = Scs.Fpcar + 4 * i;
            if (MpuEnabled() && !MpuAllows(Addr, MpuAccess::Write, Priv)) {
                RaiseFault(FaultKind::LazyMpu);
                return false;
            }
            if (!RawStore(Addr, 4, i < 16 ? S[i] : Fpscr, Priv)) {
                RaiseFault(FaultKind::LazyBus);
                return false;
            }
        }
        Scs.Fpccr &= ~kFpccrLspact;
    }
    if ((Scs.Fpccr & kFpccrAspen) && !(Control & kControlFpca)) {
        Control |= kControlFpca;
        Fpscr = Scs.Fpdscr & 0x07C00000;
    }
    return true;
}

} // namespace Sim
