// Parallel and saturating arithmetic of the DSP extension.
#include "armexec.h"

namespace Sim {

namespace {

int32_t Saturate(int64_t Value, bool& Saturated)
{
    if (Value == int32_t(Value)) return int32_t(Value);
    Saturated = true;
    return Value < 0 ? INT32_MIN : INT32_MAX;
}

int32_t Clamp(int32_t Value, int32_t Min, int32_t Max)
{
    return Value < Min ? Min : Value > Max ? Max : Value;
}

// What the prefix makes of one lane's sum: S and U give GE bits, Q and UQ saturate, SH and
// UH halve.
enum Prefix : uint8_t { kPlain = 0, kSaturating = 1, kHalving = 2 };

struct Lane {
    bool IsUnsigned;
    uint8_t Mode;
    unsigned Bits;

    int32_t Get(uint32_t Value, unsigned Pos) const
    {
        Value >>= Pos;
        if (Bits == 16) return IsUnsigned ? int32_t(uint16_t(Value)) : int32_t(int16_t(Value));
        return IsUnsigned ? int32_t(uint8_t(Value)) : int32_t(int8_t(Value));
    }
    uint32_t Finish(int32_t Value, bool WasAdd, bool& GeBit) const
    {
        uint32_t Mask = (1u << Bits) - 1;
        if (Mode == kSaturating) {
            int32_t Max = IsUnsigned ? int32_t(Mask) : int32_t(Mask >> 1);
            return uint32_t(Clamp(Value, IsUnsigned ? 0 : -Max - 1, Max)) & Mask;
        }
        if (Mode == kHalving) return uint32_t(Value >> 1) & Mask;
        GeBit = IsUnsigned && WasAdd ? Value > int32_t(Mask) : Value >= 0;
        return uint32_t(Value) & Mask;
    }
};

} // namespace

void OpParallel(ArmCore& C, const Op& O)
{
    uint32_t N = C.R[O.Rn], M = C.R[O.Rm], Result = 0, Ge = 0;
    bool Bytes = (O.Sub & 3) == 0; // ADD8 0, SUB8 4
    Lane L{bool(O.Aux & 4), uint8_t(O.Aux & 3), Bytes ? 8u : 16u};
    bool Exchange = O.Sub == 2 || O.Sub == 6; // ASX 2, SAX 6
    for (unsigned Pos = 0; Pos < 32; Pos += L.Bits) {
        // ASX adds in the high lane and subtracts in the low one, SAX the other way round.
        bool Add = Exchange ? (O.Sub == 2) == (Pos == 16) : !(O.Sub & 4);
        int32_t A = L.Get(N, Pos), B = L.Get(M, Exchange ? 16 - Pos : Pos);
        bool GeBit = false;
        Result |= L.Finish(Add ? A + B : A - B, Add, GeBit) << Pos;
        if (GeBit) Ge |= (Bytes ? 1u : 3u) << (Pos / 8);
    }
    C.R[O.Rd] = Result;
    if (L.Mode == kPlain) C.Ge = Ge;
}

void OpQadd(ArmCore& C, const Op& O)
{
    bool Saturated = false;
    int64_t M = int32_t(C.R[O.Rm]), N = int32_t(C.R[O.Rn]);
    if (O.Sub & 1) N = Saturate(2 * N, Saturated);
    int32_t Result = Saturate(O.Sub & 2 ? M - N : M + N, Saturated);
    if (Saturated) C.FlagQ = 1;
    C.R[O.Rd] = uint32_t(Result);
}

void OpSel(ArmCore& C, const Op& O)
{
    uint32_t Mask = 0;
    for (unsigned i = 0; i < 4; ++i)
        if (C.Ge >> i & 1) Mask |= 0xFFu << (8 * i);
    C.R[O.Rd] = (C.R[O.Rn] & Mask) | (C.R[O.Rm] & ~Mask);
}

void OpSat16(ArmCore& C, const Op& O)
{
    int32_t Max = O.Sub ? (1 << O.Aux) - 1 : (1 << (O.Aux - 1)) - 1;
    int32_t Min = O.Sub ? 0 : -(1 << (O.Aux - 1));
    uint32_t Result = 0;
    for (unsigned Pos = 0; Pos < 32; Pos += 16) {
        int32_t Value = int16_t(C.R[O.Rn] >> Pos);
        int32_t Clamped = Clamp(Value, Min, Max);
        if (Clamped != Value) C.FlagQ = 1;
        Result |= (uint32_t(Clamped) & 0xFFFF) << Pos;
    }
    C.R[O.Rd] = Result;
}

} // namespace Sim
