#include "softfloat.h"

#include <bit>
#include <cmath>
#include <initializer_list>

namespace Sim {

namespace {

constexpr uint32_t kDefaultNan = 0x7FC00000;
constexpr uint32_t kInf = 0x7F800000;
constexpr uint32_t kSignBit = 0x80000000;

bool IsNan(uint32_t A)
{
    return (A & 0x7FFFFFFF) > kInf;
}
bool IsSignalling(uint32_t A)
{
    return IsNan(A) && !(A & 0x00400000);
}

// Shift right; lost bits stay visible in bit 0.
uint64_t ShiftJam(uint64_t Value, int Count)
{
    if (Count <= 0) return Value;
    if (Count > 63) return Value != 0;
    return (Value >> Count) | ((Value << (64 - Count)) != 0);
}

bool RoundsUp(FpRound Round, bool Sign, uint64_t Kept, uint64_t Rest, uint64_t Halfway)
{
    switch (Round) {
    case kToNearest:
        return Rest > Halfway || (Rest == Halfway && (Kept & 1));
    case kToPlusInf:
        return !Sign && Rest;
    case kToMinusInf:
        return Sign && Rest;
    case kTiesAway:
        return Rest >= Halfway;
    default:
        return false;
    }
}

} // namespace

// A finite or infinite value: Sig * 2^(Exp - 62) with bit 62 the leading one; Sig 0: zero.
struct SoftFloat::Unpacked {
    bool Sign;
    bool Inf;
    int Exp;
    uint64_t Sig;
    bool IsZero() const { return !Inf && Sig == 0; }
};

SoftFloat::Unpacked SoftFloat::Unpack(uint32_t A)
{
    Unpacked Result{bool(A >> 31), false, 0, 0};
    int Biased = int(A >> 23 & 0xFF);
    uint64_t Frac = A & 0x7FFFFF;
    if (Biased == 255) {
        Result.Inf = true;
    } else if (Biased) {
        Result.Exp = Biased - 127;
        Result.Sig = (Frac | 0x800000) << 39;
    } else if (Frac) {
        if (Fpscr & kFpFz) {
            Fpscr |= kFpIdc;
            return Result;
        }
        int Shift = std::countl_zero(Frac) - 1;
        Result.Sig = Frac << Shift;
        Result.Exp = -126 - (Shift - 39);
    }
    return Result;
}

uint32_t SoftFloat::PropagateNan(uint32_t Nan, bool Signalling)
{
    if (Signalling) Fpscr |= kFpIoc;
    return Fpscr & kFpDn ? kDefaultNan : Nan | 0x00400000;
}

bool SoftFloat::Nans(uint32_t A, uint32_t B, uint32_t& Result)
{
    if (!IsNan(A) && !IsNan(B)) return false;
    if (IsSignalling(A))
        Result = PropagateNan(A, true);
    else if (IsSignalling(B))
        Result = PropagateNan(B, true);
    else
        Result = PropagateNan(IsNan(A) ? A : B, false);
    return true;
}

uint32_t SoftFloat::RoundPack(bool Sign, int Exp, uint64_t Sig, FpRound Round)
{
    uint32_t SignWord = Sign ? kSignBit : 0;
    if (Sig == 0) return SignWord;
    int Biased = Exp + 127;
    bool Tiny = Biased <= 0;
    if (Tiny) {
        if (Fpscr & kFpFz) {
            Fpscr |= kFpUfc;
            return SignWord;
        }
        Sig = ShiftJam(Sig, 1 - Biased);
        Biased = 1;
    }
    constexpr uint64_t Halfway = uint64_t(1) << 38;
    uint64_t Rest = Sig & (2 * Halfway - 1);
    uint64_t Kept = Sig >> 39;
    if (RoundsUp(Round, Sign, Kept, Rest, Halfway)) ++Kept;
    // The leading one adds 1 to the exponent field, a carry out of the fraction another.
    uint64_t Bits = (uint64_t(Biased - 1) << 23) + Kept;
    if (Bits >= kInf) {
        Fpscr |= kFpOfc | kFpIxc;
        bool ToInf = Round == kToNearest || Round == kTiesAway || Round == (Sign ? kToMinusInf : kToPlusInf);
        return SignWord | (ToInf ? kInf : kInf - 1);
    }
    if (Rest) Fpscr |= kFpIxc | (Tiny ? uint32_t(kFpUfc) : 0);
    return SignWord | uint32_t(Bits);
}

// Sum of two finite values.
uint32_t SoftFloat::AddUnpacked(const Unpacked& A, const Unpacked& B)
{
    FpRound Round = Mode();
    if (A.IsZero() && B.IsZero()) {
        bool Sign = A.Sign == B.Sign ? A.Sign : Round == kToMinusInf;
        return Sign ? kSignBit : 0;
    }
    if (A.IsZero()) return RoundPack(B.Sign, B.Exp, B.Sig, Round);
    if (B.IsZero()) return RoundPack(A.Sign, A.Exp, A.Sig, Round);
    bool Swap = B.Exp > A.Exp || (B.Exp == A.Exp && B.Sig > A.Sig);
    const Unpacked& Big = Swap ? B : A;
    const Unpacked& Small = Swap ? A : B;
    uint64_t Aligned = ShiftJam(Small.Sig, Big.Exp - Small.Exp);
    if (Big.Sign == Small.Sign) {
        uint64_t Sum = Big.Sig + Aligned; // fits: both below 2^63
        int Exp = Big.Exp;
        if (Sum >> 63) {
            Sum = ShiftJam(Sum, 1);
            ++Exp;
        }
        return RoundPack(Big.Sign, Exp, Sum, Round);
    }
    uint64_t Diff = Big.Sig - Aligned;
    if (Diff == 0) return Round == kToMinusInf ? kSignBit : 0;
    int Shift = std::countl_zero(Diff) - 1;
    return RoundPack(Big.Sign, Big.Exp - Shift, Diff << Shift, Round);
}

uint32_t SoftFloat::Add(uint32_t A, uint32_t B)
{
    Unpacked X = Unpack(A), Y = Unpack(B);
    uint32_t Result;
    if (Nans(A, B, Result)) return Result;
    if (X.Inf || Y.Inf) {
        if (X.Inf && Y.Inf && X.Sign != Y.Sign) {
            Fpscr |= kFpIoc;
            return kDefaultNan;
        }
        return ((X.Inf ? X.Sign : Y.Sign) ? kSignBit : 0) | kInf;
    }
    return AddUnpacked(X, Y);
}

uint32_t SoftFloat::Sub(uint32_t A, uint32_t B)
{
    // Not Add(A, -B): a NaN operand keeps its sign.
    uint32_t Result;
    if (IsNan(B) || IsNan(A)) {
        Unpack(A);
        Unpack(B);
        Nans(A, B, Result);
        return Result;
    }
    return Add(A, B ^ kSignBit);
}

uint32_t SoftFloat::Mul(uint32_t A, uint32_t B)
{
    Unpacked X = Unpack(A), Y = Unpack(B);
    uint32_t Result;
    if (Nans(A, B, Result)) return Result;
    bool Sign = X.Sign != Y.Sign;
    uint32_t SignWord = Sign ? kSignBit : 0;
    if (X.Inf || Y.Inf) {
        if (X.IsZero() || Y.IsZero()) {
            Fpscr |= kFpIoc;
            return kDefaultNan;
        }
        return SignWord | kInf;
    }
    if (X.IsZero() || Y.IsZero()) return SignWord;
    uint64_t Product = (X.Sig >> 39) * (Y.Sig >> 39); // 47 or 48 bits
    int Shift = std::countl_zero(Product) - 1;
    return RoundPack(Sign, X.Exp + Y.Exp + 16 - Shift, Product << Shift, Mode());
}

uint32_t SoftFloat::Div(uint32_t A, uint32_t B)
{
    Unpacked X = Unpack(A), Y = Unpack(B);
    uint32_t Result;
    if (Nans(A, B, Result)) return Result;
    bool Sign = X.Sign != Y.Sign;
    uint32_t SignWord = Sign ? kSignBit : 0;
    if ((X.Inf && Y.Inf) || (X.IsZero() && Y.IsZero())) {
        Fpscr |= kFpIoc;
        return kDefaultNan;
    }
    if (X.Inf) return SignWord | kInf;
    if (Y.IsZero()) {
        Fpscr |= kFpDzc;
        return SignWord | kInf;
    }
    if (X.IsZero() || Y.Inf) return SignWord;
    uint64_t Dividend = X.Sig >> 1, Divisor = Y.Sig >> 39; // 62 and 24 bits
    uint64_t Quotient = Dividend / Divisor;                // 38 or 39 bits
    int Shift = std::countl_zero(Quotient) - 1;
    uint64_t Sig = Quotient << Shift | (Dividend % Divisor != 0);
    return RoundPack(Sign, X.Exp - Y.Exp + 24 - Shift, Sig, Mode());
}

uint32_t SoftFloat::Sqrt(uint32_t A)
{
    Unpacked X = Unpack(A);
    if (IsNan(A)) return PropagateNan(A, IsSignalling(A));
    if (X.IsZero()) return X.Sign ? kSignBit : 0;
    if (X.Sign) {
        Fpscr |= kFpIoc;
        return kDefaultNan;
    }
    if (X.Inf) return kInf;
    // The value is V * 2^Exp with an even exponent and Sig = V * 2^60: the root has 31 bits, a
    // remainder says that more follow. Shifting loses nothing, the fraction ends at bit 39.
    bool Odd = X.Exp & 1;
    uint64_t Sig = X.Sig >> (Odd ? 1 : 2);
    int Exp = (X.Exp - Odd) / 2;
    uint64_t Root = uint64_t(std::sqrt(double(Sig)));
    while (Root * Root > Sig) --Root;
    while ((Root + 1) * (Root + 1) <= Sig) ++Root;
    int Shift = std::countl_zero(Root) - 1;
    uint64_t Scaled = Root << Shift | (Root * Root != Sig);
    return RoundPack(false, Exp, Scaled, Mode());
}

uint32_t SoftFloat::MulAdd(uint32_t Addend, uint32_t A, uint32_t B)
{
    Unpacked Z = Unpack(Addend), X = Unpack(A), Y = Unpack(B);
    bool InfTimesZero = (X.Inf && !IsNan(A) && Y.IsZero()) || (X.IsZero() && Y.Inf && !IsNan(B));
    if (IsNan(Addend) || IsNan(A) || IsNan(B)) {
        for (uint32_t Operand : {Addend, A, B})
            if (IsSignalling(Operand)) return PropagateNan(Operand, true);
        if (IsNan(Addend) && InfTimesZero) {
            Fpscr |= kFpIoc;
            return kDefaultNan;
        }
        return PropagateNan(IsNan(Addend) ? Addend : IsNan(A) ? A : B, false);
    }
    bool Sign = X.Sign != Y.Sign;
    bool ProductInf = X.Inf || Y.Inf;
    if (InfTimesZero || (ProductInf && Z.Inf && Z.Sign != Sign)) {
        Fpscr |= kFpIoc;
        return kDefaultNan;
    }
    if (Z.Inf) return Addend;
    if (ProductInf) return (Sign ? kSignBit : 0) | kInf;
    Unpacked Product{Sign, false, 0, 0};
    if (!X.IsZero() && !Y.IsZero()) {
        uint64_t Bits = (X.Sig >> 39) * (Y.Sig >> 39);
        int Shift = std::countl_zero(Bits) - 1;
        Product.Sig = Bits << Shift;
        Product.Exp = X.Exp + Y.Exp + 16 - Shift;
    }
    return AddUnpacked(Z, Product);
}

uint32_t SoftFloat::MinMaxNum(uint32_t A, uint32_t B, bool Max)
{
    Unpacked X = Unpack(A), Y = Unpack(B);
    if (IsNan(A) || IsNan(B)) {
        bool Quiet = !IsSignalling(A) && !IsSignalling(B);
        uint32_t Result = 0;
        if (Quiet && IsNan(A) != IsNan(B)) { // a number wins over a quiet NaN
            const Unpacked& Number = IsNan(A) ? Y : X;
            uint32_t Word = IsNan(A) ? B : A;
            return Number.IsZero() ? Word & kSignBit : Word;
        }
        Nans(A, B, Result);
        return Result;
    }
    if (X.IsZero()) A &= kSignBit;
    if (Y.IsZero()) B &= kSignBit;
    auto Order = [](uint32_t V) { return V >> 31 ? ~int64_t(V & 0x7FFFFFFF) : int64_t(V); };
    return (Order(A) < Order(B)) == Max ? B : A;
}

uint32_t SoftFloat::Compare(uint32_t A, uint32_t B, bool Signal)
{
    Unpacked X = Unpack(A), Y = Unpack(B);
    if (IsNan(A) || IsNan(B)) {
        if (Signal || IsSignalling(A) || IsSignalling(B)) Fpscr |= kFpIoc;
        return 0x30000000;
    }
    if (X.IsZero()) A = 0;
    if (Y.IsZero()) B = 0;
    if (A == B) return 0x60000000;
    auto Order = [](uint32_t V) { return V >> 31 ? -int64_t(V & 0x7FFFFFFF) : int64_t(V); };
    return Order(A) < Order(B) ? 0x80000000 : 0x20000000;
}

uint32_t SoftFloat::RoundToInt(uint32_t A, FpRound Round, bool Exact)
{
    Unpacked X = Unpack(A);
    if (IsNan(A)) return PropagateNan(A, IsSignalling(A));
    if (X.Inf) return A;
    uint32_t SignWord = A & kSignBit;
    if (X.IsZero()) return SignWord;
    if (X.Exp >= 23) return A;
    // Kept: the integer part, Rest: the fraction as 62 bits below the point.
    int Point = 62 - X.Exp; // bits below the binary point
    uint64_t Kept = Point > 62 ? 0 : X.Sig >> Point;
    uint64_t Rest =
        Point > 62 ? ShiftJam(X.Sig, Point - 62) : X.Sig << (62 - Point) & ((uint64_t(1) << 62) - 1);
    uint64_t Halfway = uint64_t(1) << 61;
    bool Inexact = Rest != 0;
    if (RoundsUp(Round, X.Sign, Kept, Rest, Halfway)) ++Kept;
    if (Inexact && Exact) Fpscr |= kFpIxc;
    if (Kept == 0) return SignWord;
    int Shift = std::countl_zero(Kept) - 1;
    return RoundPack(X.Sign, 62 - Shift, Kept << Shift, kToZero);
}

uint32_t SoftFloat::ToFixed(uint32_t A, unsigned Bits, unsigned FracBits, bool IsUnsigned, FpRound Round)
{
    int64_t Max = IsUnsigned ? (int64_t(1) << Bits) - 1 : (int64_t(1) << (Bits - 1)) - 1;
    int64_t Min = IsUnsigned ? 0 : -(int64_t(1) << (Bits - 1));
    Unpacked X = Unpack(A);
    if (IsNan(A)) {
        Fpscr |= kFpIoc;
        return 0;
    }
    int Exp = X.Exp + int(FracBits);
    if (X.Inf || (!X.IsZero() && Exp >= 40)) {
        Fpscr |= kFpIoc;
        return uint32_t(X.Sign ? Min : Max);
    }
    if (X.IsZero()) return 0;
    int Point = 62 - Exp;
    uint64_t Kept = Point > 62 ? 0 : X.Sig >> Point;
    uint64_t Rest =
        Point > 62 ? ShiftJam(X.Sig, Point - 62) : X.Sig << (62 - Point) & ((uint64_t(1) << 62) - 1);
    bool Inexact = Rest != 0;
    if (RoundsUp(Round, X.Sign, Kept, Rest, uint64_t(1) << 61)) ++Kept;
    int64_t Value = X.Sign ? -int64_t(Kept) : int64_t(Kept);
    if (Value > Max || Value < Min) {
        Fpscr |= kFpIoc;
        return uint32_t(Value > Max ? Max : Min);
    }
    if (Inexact) Fpscr |= kFpIxc;
    return uint32_t(Value);
}

uint32_t SoftFloat::FromFixed(int64_t Value, unsigned FracBits, FpRound Round)
{
    if (Value == 0) return 0;
    uint64_t Magnitude = Value < 0 ? 0 - uint64_t(Value) : uint64_t(Value);
    int Shift = std::countl_zero(Magnitude) - 1;
    return RoundPack(Value < 0, 62 - Shift - int(FracBits), Magnitude << Shift, Round);
}

uint32_t SoftFloat::FromHalf(uint32_t A)
{
    uint32_t Sign = A << 16 & kSignBit, Exp = A >> 10 & 31, Frac = A & 0x3FF;
    if (Exp == 31 && !(Fpscr & kFpAhp)) {
        if (!Frac) return Sign | kInf;
        if (!(Frac & 0x200)) Fpscr |= kFpIoc;
        if (Fpscr & kFpDn) return kDefaultNan;
        return Sign | kInf | 0x00400000 | Frac << 13;
    }
    if (Exp == 0) {
        if (!Frac) return Sign;
        int Shift = std::countl_zero(Frac) - 21; // until bit 10 is the leading one
        return Sign | uint32_t(113 - Shift) << 23 | (Frac << Shift & 0x3FF) << 13;
    }
    return Sign | (Exp + 112) << 23 | Frac << 13;
}

uint32_t SoftFloat::ToHalf(uint32_t A)
{
    Unpacked X = Unpack(A);
    bool Alternative = Fpscr & kFpAhp;
    uint32_t Sign = A >> 16 & 0x8000;
    if (IsNan(A)) {
        if (Alternative || IsSignalling(A)) Fpscr |= kFpIoc;
        if (Alternative) return Sign;
        if (Fpscr & kFpDn) return 0x7E00;
        return Sign | 0x7E00 | (A >> 13 & 0x1FF);
    }
    if (X.Inf) {
        if (!Alternative) return Sign | 0x7C00;
        Fpscr |= kFpIoc;
        return Sign | 0x7FFF;
    }
    if (X.IsZero()) return Sign;
    int Biased = X.Exp + 15;
    uint64_t Sig = X.Sig;
    bool Tiny = Biased <= 0;
    if (Tiny) {
        Sig = ShiftJam(Sig, 1 - Biased);
        Biased = 1;
    }
    constexpr uint64_t Halfway = uint64_t(1) << 51;
    uint64_t Kept = Sig >> 52, Rest = Sig & (2 * Halfway - 1);
    FpRound Round = Mode();
    if (RoundsUp(Round, X.Sign, Kept, Rest, Halfway)) ++Kept;
    uint64_t Bits = (uint64_t(Biased - 1) << 10) + Kept;
    if (Alternative ? Bits >= 0x8000 : Bits >= 0x7C00) {
        if (Alternative) {
            Fpscr |= kFpIoc;
            return Sign | 0x7FFF;
        }
        Fpscr |= kFpOfc | kFpIxc;
        bool ToInf = Round == kToNearest || Round == (X.Sign ? kToMinusInf : kToPlusInf);
        return Sign | (ToInf ? 0x7C00 : 0x7BFF);
    }
    if (Rest) Fpscr |= kFpIxc | (Tiny ? uint32_t(kFpUfc) : 0);
    return Sign | uint32_t(Bits);
}

} // namespace Sim
