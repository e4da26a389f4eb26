// Multiplication and division, the DSP multiplications included.
#include "armexec.h"

#include <cstdlib>

namespace Sim {

void OpMul(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = C.R[O.Rn] * C.R[O.Rm];
}

void OpMuls(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = C.R[O.Rn] * C.R[O.Rm];
    C.SetNz(C.R[O.Rd]);
}

void OpMla(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = C.R[O.Rs] + C.R[O.Rn] * C.R[O.Rm];
}
void OpMls(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = C.R[O.Rs] - C.R[O.Rn] * C.R[O.Rm];
}

namespace {

void SetLong(ArmCore& C, const Op& O, uint64_t Value)
{
    C.R[O.Rs] = uint32_t(Value);
    C.R[O.Rd] = uint32_t(Value >> 32);
}
uint64_t GetLong(const ArmCore& C, const Op& O)
{
    return uint64_t(C.R[O.Rd]) << 32 | C.R[O.Rs];
}
uint64_t MulUnsigned(const ArmCore& C, const Op& O)
{
    return uint64_t(C.R[O.Rn]) * C.R[O.Rm];
}
uint64_t MulSigned(const ArmCore& C, const Op& O)
{
    return uint64_t(int64_t(int32_t(C.R[O.Rn])) * int32_t(C.R[O.Rm]));
}

} // namespace

void OpUmull(ArmCore& C, const Op& O)
{
    SetLong(C, O, MulUnsigned(C, O));
}
void OpSmull(ArmCore& C, const Op& O)
{
    SetLong(C, O, MulSigned(C, O));
}
void OpUmlal(ArmCore& C, const Op& O)
{
    SetLong(C, O, GetLong(C, O) + MulUnsigned(C, O));
}
void OpSmlal(ArmCore& C, const Op& O)
{
    SetLong(C, O, GetLong(C, O) + MulSigned(C, O));
}
void OpUmaal(ArmCore& C, const Op& O)
{
    SetLong(C, O, MulUnsigned(C, O) + C.R[O.Rs] + C.R[O.Rd]);
}

void OpSdiv(ArmCore& C, const Op& O)
{
    int32_t N = int32_t(C.R[O.Rn]), M = int32_t(C.R[O.Rm]);
    if (M == 0) {
        if (C.Scs.Ccr & 0x10) return C.RaiseFault(FaultKind::DivByZero);
        C.R[O.Rd] = 0;
    } else {
        C.R[O.Rd] = uint32_t(int64_t(N) / M); // 64 bit: INT_MIN / -1 wraps
    }
}

void OpUdiv(ArmCore& C, const Op& O)
{
    uint32_t M = C.R[O.Rm];
    if (M == 0) {
        if (C.Scs.Ccr & 0x10) return C.RaiseFault(FaultKind::DivByZero);
        C.R[O.Rd] = 0;
    } else {
        C.R[O.Rd] = C.R[O.Rn] / M;
    }
}

namespace {

int32_t Half(uint32_t Value, bool Top)
{
    return int16_t(Top ? Value >> 16 : Value);
}

// Sum or difference of the two half word products; X swaps the halves of the second operand.
int64_t DualProduct(const ArmCore& C, const Op& O, bool Subtract)
{
    uint32_t N = C.R[O.Rn], M = C.R[O.Rm];
    bool X = O.Aux & 1;
    int64_t P1 = int64_t(Half(N, false)) * Half(M, X);
    int64_t P2 = int64_t(Half(N, true)) * Half(M, !X);
    return Subtract ? P1 - P2 : P1 + P2;
}

void Accumulate(ArmCore& C, const Op& O, int64_t Value)
{
    if (O.Rs != 15) Value += int32_t(C.R[O.Rs]);
    if (Value != int32_t(Value)) C.FlagQ = 1;
    C.R[O.Rd] = uint32_t(Value);
}

// Most significant word of the product; the accumulator is a fraction in the high word.
void MostSignificant(ArmCore& C, const Op& O)
{
    uint64_t Value = O.Rs == 15 ? 0 : uint64_t(C.R[O.Rs]) << 32;
    Value = O.Sub == kSmmls ? Value - MulSigned(C, O) : Value + MulSigned(C, O);
    if (O.Aux & 1) Value += 0x80000000u;
    C.R[O.Rd] = uint32_t(Value >> 32);
}

} // namespace

void OpDspMul(ArmCore& C, const Op& O)
{
    uint32_t N = C.R[O.Rn], M = C.R[O.Rm];
    switch (O.Sub) {
    case kSmlaxy:
        Accumulate(C, O, int64_t(Half(N, O.Aux & 2)) * Half(M, O.Aux & 1));
        break;
    case kSmlad:
        Accumulate(C, O, DualProduct(C, O, false));
        break;
    case kSmlsd:
        Accumulate(C, O, DualProduct(C, O, true));
        break;
    case kSmlaw:
        Accumulate(C, O, (int64_t(int32_t(N)) * Half(M, O.Aux & 1)) >> 16);
        break;
    case kSmmla:
    case kSmmls:
        MostSignificant(C, O);
        break;
    case kUsada8: {
        uint32_t Sum = O.Rs == 15 ? 0 : C.R[O.Rs];
        for (int i = 0; i < 32; i += 8) Sum += uint32_t(abs(int((N >> i) & 0xFF) - int((M >> i) & 0xFF)));
        C.R[O.Rd] = Sum;
        break;
    }
    case kSmlalxy:
        SetLong(C, O, GetLong(C, O) + uint64_t(int64_t(Half(N, O.Aux & 2)) * Half(M, O.Aux & 1)));
        break;
    case kSmlald:
        SetLong(C, O, GetLong(C, O) + uint64_t(DualProduct(C, O, false)));
        break;
    default:
        SetLong(C, O, GetLong(C, O) + uint64_t(DualProduct(C, O, true)));
        break;
    }
}

} // namespace Sim
