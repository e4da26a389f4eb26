// Floating-point instructions.
#include "execvfp.h"
#include "softfloat.h"

namespace Sim {

namespace {

constexpr uint32_t kSignBit = 0x80000000;

FpRound RoundOf(const SoftFloat& F, unsigned Aux)
{
    return Aux & 0x80 ? F.Mode() : FpRound(Aux & 7);
}

uint32_t Halve(uint32_t Value, bool Top)
{
    return Top ? Value >> 16 : Value & 0xFFFF;
}

void Arithmetic(ArmCore& C, const Op& O, SoftFloat F)
{
    uint32_t D = C.S[O.Rd], N = C.S[O.Rn], M = C.S[O.Rm];
    uint32_t Result = 0;
    switch (O.Sub) {
    case kVmla:
        Result = F.Add(D, F.Mul(N, M));
        break;
    case kVmls:
        Result = F.Add(D, F.Mul(N, M) ^ kSignBit);
        break;
    case kVnmls:
        Result = F.Add(D ^ kSignBit, F.Mul(N, M));
        break;
    case kVnmla:
        Result = F.Add(D ^ kSignBit, F.Mul(N, M) ^ kSignBit);
        break;
    case kVmul:
        Result = F.Mul(N, M);
        break;
    case kVnmul:
        Result = F.Mul(N, M) ^ kSignBit;
        break;
    case kVadd:
        Result = F.Add(N, M);
        break;
    case kVsub:
        Result = F.Sub(N, M);
        break;
    case kVdiv:
        Result = F.Div(N, M);
        break;
    case kVfma:
        Result = F.MulAdd(D, N, M);
        break;
    case kVfms:
        Result = F.MulAdd(D, N ^ kSignBit, M);
        break;
    case kVfnma:
        Result = F.MulAdd(D ^ kSignBit, N ^ kSignBit, M);
        break;
    case kVfnms:
        Result = F.MulAdd(D ^ kSignBit, N, M);
        break;
    case kVmaxnm:
        Result = F.MinMaxNum(N, M, true);
        break;
    case kVminnm:
        Result = F.MinMaxNum(N, M, false);
        break;
    default:
        break;
    }
    C.S[O.Rd] = Result;
}

void Convert(ArmCore& C, const Op& O, SoftFloat F)
{
    uint32_t M = C.S[O.Rm];
    uint32_t& D = C.S[O.Rd];
    switch (O.Sub) {
    case kVcvtFromHalf:
        D = F.FromHalf(Halve(M, O.Aux));
        break;
    case kVcvtToHalf: {
        uint32_t Half = F.ToHalf(M);
        D = O.Aux ? (D & 0xFFFF) | Half << 16 : (D & 0xFFFF0000) | Half;
        break;
    }
    case kVrint:
        D = F.RoundToInt(M, RoundOf(F, O.Aux), O.Aux & 0x100);
        break;
    case kVcvtFromInt:
        D = F.FromFixed(O.Aux ? int64_t(int32_t(M)) : int64_t(M), 0, F.Mode());
        break;
    case kVcvtToInt:
        D = F.ToFixed(M, 32, 0, O.Imm, RoundOf(F, O.Aux));
        break;
    case kVcvtFromFixed: {
        int64_t Value = O.Aux & 2 ? (O.Aux & 1 ? int64_t(uint16_t(D)) : int64_t(int16_t(D)))
                                  : (O.Aux & 1 ? int64_t(D) : int64_t(int32_t(D)));
        D = F.FromFixed(Value, O.Imm, kToNearest);
        break;
    }
    case kVcvtToFixed:
        D = F.ToFixed(D, O.Aux & 2 ? 16 : 32, O.Imm, O.Aux & 1, kToZero);
        break;
    default:
        break;
    }
}

} // namespace

void OpVfp(ArmCore& C, const Op& O)
{
    if (!C.PrepareFp()) return;
    SoftFloat F{C.Fpscr};
    uint32_t M = C.S[O.Rm];
    switch (O.Sub) {
    case kVmovImm:
        C.S[O.Rd] = O.Imm;
        break;
    case kVmovReg:
        C.S[O.Rd] = M;
        break;
    case kVabs:
        C.S[O.Rd] = M & ~kSignBit;
        break;
    case kVneg:
        C.S[O.Rd] = M ^ kSignBit;
        break;
    case kVsqrt:
        C.S[O.Rd] = F.Sqrt(M);
        break;
    case kVsel:
        C.S[O.Rd] = C.CondPassed(O.Aux) ? C.S[O.Rn] : M;
        break;
    case kVcmp: {
        uint32_t Flags = F.Compare(C.S[O.Rd], O.Aux & 2 ? 0 : M, O.Aux & 1);
        C.Fpscr = (C.Fpscr & 0x0FFFFFFF) | Flags;
        break;
    }
    case kVcvtFromHalf:
    case kVcvtToHalf:
    case kVrint:
    case kVcvtFromInt:
    case kVcvtToInt:
    case kVcvtFromFixed:
    case kVcvtToFixed:
        Convert(C, O, F);
        break;
    default:
        Arithmetic(C, O, F);
        break;
    }
}

void OpVfpUndef(ArmCore& C, const Op&)
{
    if (C.PrepareFp()) C.RaiseFault(FaultKind::UndefInstr);
}

namespace {

bool LoadWords(ArmCore& C, uint32_t Addr, unsigned First, unsigned NumWords)
{
    uint32_t Values[32];
    if (!C.AlignedWord(Addr)) return false;
    for (unsigned i = 0; i < NumWords; ++i)
        if (!C.Load<uint32_t>(Addr + 4 * i, Values[i])) return false;
    memcpy(C.S + First, Values, NumWords * 4);
    return true;
}

bool StoreWords(ArmCore& C, uint32_t Addr, unsigned First, unsigned NumWords)
{
    if (!C.AlignedWord(Addr)) return false;
    for (unsigned i = 0; i < NumWords; ++i)
        if (!C.Store<uint32_t>(Addr + 4 * i, C.S[First + i])) return false;
    return true;
}

// Base after and start of a multiple transfer of Rs words; false: stack limit.
bool MultipleAddress(ArmCore& C, const Op& O, uint32_t& Addr, uint32_t& NewBase)
{
    uint32_t Base = C.R[O.Rn], Bytes = 4u * O.Rs;
    NewBase = O.Imm & kMultiDown ? Base - Bytes : Base + Bytes;
    Addr = O.Imm & kMultiDown ? NewBase : Base;
    return O.Rn != 13 || !(O.Imm & kMultiWriteback) || C.SpAllowed(NewBase);
}

} // namespace

void OpVldr(ArmCore& C, const Op& O)
{
    if (C.PrepareFp()) LoadWords(C, O.Rn == 15 ? O.Imm : C.R[O.Rn] + O.Imm, O.Rd, O.Aux);
}

void OpVstr(ArmCore& C, const Op& O)
{
    if (C.PrepareFp()) StoreWords(C, O.Rn == 15 ? O.Imm : C.R[O.Rn] + O.Imm, O.Rd, O.Aux);
}

void OpVldm(ArmCore& C, const Op& O)
{
    uint32_t Addr, NewBase;
    if (!C.PrepareFp() || !MultipleAddress(C, O, Addr, NewBase)) return;
    if (LoadWords(C, Addr, O.Rd, O.Aux) && (O.Imm & kMultiWriteback)) C.R[O.Rn] = NewBase;
}

void OpVstm(ArmCore& C, const Op& O)
{
    uint32_t Addr, NewBase;
    if (!C.PrepareFp() || !MultipleAddress(C, O, Addr, NewBase)) return;
    if (StoreWords(C, Addr, O.Rd, O.Aux) && (O.Imm & kMultiWriteback)) C.R[O.Rn] = NewBase;
}

void OpVmovCore(ArmCore& C, const Op& O)
{
    if (!C.PrepareFp()) return;
    if (O.Sub)
        C.R[O.Rd] = C.S[O.Rn];
    else
        C.S[O.Rn] = C.R[O.Rd];
}

void OpVmovCore2(ArmCore& C, const Op& O)
{
    if (!C.PrepareFp()) return;
    if (O.Sub) {
        C.R[O.Rd] = C.S[O.Rm];
        C.R[O.Rs] = C.S[O.Rm + 1];
    } else {
        C.S[O.Rm] = C.R[O.Rd];
        C.S[O.Rm + 1] = C.R[O.Rs];
    }
}

void OpVmrs(ArmCore& C, const Op& O)
{
    if (!C.PrepareFp()) return;
    if (O.Rd != 15) {
        C.R[O.Rd] = C.Fpscr;
        return;
    }
    C.FlagN = C.Fpscr & 0x80000000;
    C.FlagZ = C.Fpscr & 0x40000000 ? 0 : 1;
    C.FlagC = C.Fpscr >> 29 & 1;
    C.FlagV = C.Fpscr << 3;
}

void OpVmsr(ArmCore& C, const Op& O)
{
    if (C.PrepareFp()) C.Fpscr = C.R[O.Rd] & 0xF7C0009F;
}

} // namespace Sim
