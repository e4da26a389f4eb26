// Single precision arithmetic as the Arm floating-point unit does it: all rounding modes,
// flush to zero, default NaN, cumulative exception flags. In integers, so that the result
// doesn't depend on the host.
#pragma once

#include <cstdint>

namespace Sim {

// Bits of FPSCR.
enum : uint32_t {
    kFpIoc = 1,
    kFpDzc = 2,
    kFpOfc = 4,
    kFpUfc = 8,
    kFpIxc = 16,
    kFpIdc = 128,
    kFpFz = 1u << 24,
    kFpDn = 1u << 25,
    kFpAhp = 1u << 26
};
// Rounding: the first four as in FPSCR.RMode.
enum FpRound : uint8_t { kToNearest, kToPlusInf, kToMinusInf, kToZero, kTiesAway };

// Values are bit patterns of binary32. Fpscr gives the modes and collects the flags.
struct SoftFloat {
    uint32_t& Fpscr;

    FpRound Mode() const { return FpRound(Fpscr >> 22 & 3); }
    uint32_t Add(uint32_t A, uint32_t B);
    uint32_t Sub(uint32_t A, uint32_t B);
    uint32_t Mul(uint32_t A, uint32_t B);
    uint32_t Div(uint32_t A, uint32_t B);
    uint32_t Sqrt(uint32_t A);
    uint32_t MulAdd(uint32_t Addend, uint32_t A, uint32_t B); // rounded once
    uint32_t MinMaxNum(uint32_t A, uint32_t B, bool Max);
    // Flags as in FPSCR[31:28]; Signal: quiet NaNs set IOC too.
    uint32_t Compare(uint32_t A, uint32_t B, bool Signal);
    uint32_t RoundToInt(uint32_t A, FpRound Round, bool Exact); // Exact: sets IXC
    // A * 2^FracBits rounded and saturated to Bits (16 or 32); sign- or zero-extended.
    uint32_t ToFixed(uint32_t A, unsigned Bits, unsigned FracBits, bool IsUnsigned, FpRound Round);
    uint32_t FromFixed(int64_t Value, unsigned FracBits, FpRound Round);
    uint32_t FromHalf(uint32_t A);
    uint32_t ToHalf(uint32_t A);

private:
    struct Unpacked;
    Unpacked Unpack(uint32_t A);
    uint32_t PropagateNan(uint32_t Nan, bool Signalling);
    bool Nans(uint32_t A, uint32_t B, uint32_t& Result);
    uint32_t AddUnpacked(const Unpacked& A, const Unpacked& B);
    uint32_t RoundPack(bool Sign, int Exp, uint64_t Sig, FpRound Round);
};

} // namespace Sim
