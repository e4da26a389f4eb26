// Branches, the IT instruction, hints, special registers and everything that ends in an
// exception or a stop.
#include "armexec.h"

namespace Sim {

void OpUndef(ArmCore& C, const Op&)
{
    C.RaiseFault(FaultKind::UndefInstr);
}
void OpNoCp(ArmCore& C, const Op&)
{
    C.RaiseFault(FaultKind::NoCp);
}
void OpFetchFault(ArmCore& C, const Op& O)
{
    C.RaiseFault(FaultKind(O.Sub), O.Imm);
}

namespace {

// The instruction isn't executed: it was counted before its handler was called.
void StayHere(ArmCore& C, const Op& O)
{
    C.NextPc = C.R[15];
    C.Cycles -= O.Cycles;
    --C.NumInstr;
}

} // namespace

void OpBreakpoint(ArmCore& C, const Op& O)
{
    StayHere(C, O);
    C.StopWith(StopReason::Breakpoint);
}

void OpBkpt(ArmCore& C, const Op& O)
{
    if (!C.DebugEnabled) return C.RaiseFault(FaultKind::Bkpt);
    StayHere(C, O);
    C.Stop.BkptImm = uint8_t(O.Imm);
    C.StopWith(StopReason::BkptInstruction);
}

void OpSpWrapper(ArmCore& C, const Op& O)
{
    uint32_t Old = C.R[13];
    C.Wrapped[O.Wrap](C, O);
    C.R[13] &= ~3u;
    if ((O.Wrap & 1) && C.Fault == FaultKind::None && !C.SpAllowed(C.R[13])) C.R[13] = Old;
}

void WrapSp(ArmCore& C, Op& O, bool CheckLimit)
{
    // Handlers lie in pairs, the odd index is the one with the limit check.
    unsigned Index = 0;
    while (Index < C.Wrapped.size() && C.Wrapped[Index] != O.Fn) Index += 2;
    if (Index >= C.Wrapped.size()) C.Wrapped.insert(C.Wrapped.end(), 2, O.Fn);
    O.Wrap = uint16_t(Index + CheckLimit);
    O.Fn = &OpSpWrapper;
}

namespace {

template <unsigned Cond> void CondBranch(ArmCore& C, const Op& O)
{
    if (C.CondPassed(Cond)) C.Branch(O.Imm);
}

} // namespace

Handler CondBranchHandler(unsigned Cond)
{
    constexpr Handler Table[14] = {&CondBranch<0>,  &CondBranch<1>, &CondBranch<2>,  &CondBranch<3>,
                                   &CondBranch<4>,  &CondBranch<5>, &CondBranch<6>,  &CondBranch<7>,
                                   &CondBranch<8>,  &CondBranch<9>, &CondBranch<10>, &CondBranch<11>,
                                   &CondBranch<12>, &CondBranch<13>};
    return Table[Cond];
}

void OpBranch(ArmCore& C, const Op& O)
{
    C.Branch(O.Imm);
}

void OpBl(ArmCore& C, const Op& O)
{
    C.R[14] = (C.R[15] + 4) | 1;
    C.Branch(O.Imm);
}

void OpBx(ArmCore& C, const Op& O)
{
    C.BranchExchange(C.R[O.Rm]);
}
void OpBxConst(ArmCore& C, const Op& O)
{
    C.BranchExchange(O.Imm);
}

void OpBlx(ArmCore& C, const Op& O)
{
    uint32_t Target = C.R[O.Rm];
    C.R[14] = (C.R[15] + 2) | 1;
    C.NextPc = Target & ~1u;
    C.Cycles += 2;
    if (!(Target & 1)) {
        C.Thumb = false;
        C.Attend();
    }
}

void OpMovPc(ArmCore& C, const Op& O)
{
    C.Branch(C.R[O.Rm]);
}
void OpAddPc(ArmCore& C, const Op& O)
{
    C.Branch(O.Imm + C.R[O.Rm]);
}

void OpCbz(ArmCore& C, const Op& O)
{
    if (C.R[O.Rn] == 0) C.Branch(O.Imm);
}

void OpCbnz(ArmCore& C, const Op& O)
{
    if (C.R[O.Rn] != 0) C.Branch(O.Imm);
}

void OpIt(ArmCore& C, const Op& O)
{
    C.It = uint8_t(O.Imm);
}

void OpSvc(ArmCore& C, const Op&)
{
    C.Fault = FaultKind::Svc; // NextPc stays: the handler returns behind the SVC
    C.Attend();
}

void OpNop(ArmCore&, const Op&) {}

void OpWfi(ArmCore& C, const Op&)
{
    C.Sleeping = true;
    C.SleepIsWfe = false;
    C.Attend();
}

void OpWfe(ArmCore& C, const Op&)
{
    if (C.EventReg) {
        C.EventReg = false;
        return;
    }
    C.Sleeping = true;
    C.SleepIsWfe = true;
    C.Attend();
}

void OpSev(ArmCore& C, const Op&)
{
    C.EventReg = true;
}

Handler HintHandler(unsigned Hint)
{
    switch (Hint) {
    case 2: return &OpWfe;
    case 3: return &OpWfi;
    case 4: return &OpSev;
    default: return &OpNop;
    }
}
void OpClrex(ArmCore& C, const Op&)
{
    C.ExclActive = false;
}

void OpCps(ArmCore& C, const Op& O)
{
    if (!C.IsPrivileged()) return;
    uint32_t Value = O.Sub >> 4 & 1;
    if (O.Sub & 2) C.Primask = Value;
    if ((O.Sub & 1) && !C.IsV6M && (!Value || C.ExecPrio() > -1)) C.Faultmask = Value;
    C.Attend();
}

void OpMrs(ArmCore& C, const Op& O)
{
    uint32_t Value = 0;
    bool Priv = C.IsPrivileged();
    switch (O.Sub) {
    case 8:
        Value = Priv ? C.GetSp(false) : 0;
        break;
    case 9:
        Value = Priv ? C.GetSp(true) : 0;
        break;
    case 10:
        Value = Priv && C.IsV8M ? C.SpLimit[0] : 0;
        break;
    case 11:
        Value = Priv && C.IsV8M ? C.SpLimit[1] : 0;
        break;
    case 16:
        Value = Priv ? C.Primask : 0;
        break;
    case 17:
    case 18:
        Value = Priv && !C.IsV6M ? C.Basepri : 0;
        break;
    case 19:
        Value = Priv && !C.IsV6M ? C.Faultmask : 0;
        break;
    case 20:
        Value = C.Control;
        break;
    default:
        if (O.Sub < 8) {
            if (O.Sub & 1) Value |= C.Ipsr;
            if (!(O.Sub & 4)) Value |= C.GetXpsr() & (C.HasDsp ? 0xF80F0000u : 0xF8000000u);
        }
        break;
    }
    C.R[O.Rd] = Value;
}

namespace {

void WriteApsr(ArmCore& C, uint32_t Value, unsigned Mask)
{
    if (Mask & 2) {
        C.FlagN = Value & 0x80000000u;
        C.FlagZ = Value & 0x40000000u ? 0 : 1;
        C.FlagC = Value >> 29 & 1;
        C.FlagV = Value << 3;
        if (!C.IsV6M) C.FlagQ = Value >> 27 & 1;
    }
    if ((Mask & 1) && C.HasDsp) C.Ge = Value >> 16 & 15;
}

void WriteMask(ArmCore& C, unsigned Sysm, uint32_t Value)
{
    uint32_t Prio = Value & C.PrioMask();
    switch (Sysm) {
    case 16:
        C.Primask = Value & 1;
        break;
    case 17:
        C.Basepri = Prio;
        break;
    case 18:
        if (Prio && (!C.Basepri || Prio < C.Basepri)) C.Basepri = Prio;
        break;
    default:
        if (!(Value & 1) || C.ExecPrio() > -1) C.Faultmask = Value & 1;
        break;
    }
    C.Attend();
}

} // namespace

void OpMsr(ArmCore& C, const Op& O)
{
    uint32_t Value = C.R[O.Rn];
    if (O.Sub < 8) {
        if (!(O.Sub & 4)) WriteApsr(C, Value, O.Aux);
        return;
    }
    if (!C.IsPrivileged()) return;
    switch (O.Sub) {
    case 8:
        // An explicit write of the stack pointer in use is checked against its limit.
        if (!C.SpIsPsp && !C.SpAllowed(Value)) return;
        C.SetSp(false, Value);
        break;
    case 9:
        if (C.SpIsPsp && !C.SpAllowed(Value)) return;
        C.SetSp(true, Value);
        break;
    case 10:
    case 11:
        if (C.IsV8M) C.SpLimit[O.Sub - 10] = Value & ~7u;
        break;
    case 16:
        WriteMask(C, 16, Value);
        break;
    case 17:
    case 18:
    case 19:
        if (!C.IsV6M) WriteMask(C, O.Sub, Value);
        break;
    case 20:
        C.SetControl(Value);
        break;
    default:
        break;
    }
}

void OpTt(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = C.TestTarget(C.R[O.Rn], O.Sub);
}

} // namespace Sim
