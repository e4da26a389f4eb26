// Data processing instructions: logic, arithmetic, shifts, bit fields, extension.
#include "armexec.h"

#include <array>
#include <bit>
#include <utility>

namespace Sim {

namespace {

// Shift by Amount (0 to 255) as the architecture's Shift_C; Carry is changed only when
// something is shifted out.
uint32_t ShiftWithCarry(uint32_t Value, ShiftType Type, unsigned Amount, uint32_t& Carry)
{
    if (Type == kRrx) {
        uint32_t Result = (Value >> 1) | (Carry << 31);
        Carry = Value & 1;
        return Result;
    }
    if (Amount == 0) return Value;
    switch (Type) {
    case kLsl:
        if (Amount > 32) return Carry = 0;
        Carry = (Value >> (32 - Amount)) & 1;
        return Amount == 32 ? 0 : Value << Amount;
    case kLsr:
        if (Amount > 32) return Carry = 0;
        Carry = (Value >> (Amount - 1)) & 1;
        return Amount == 32 ? 0 : Value >> Amount;
    case kAsr:
        if (Amount > 31) {
            Carry = Value >> 31;
            return uint32_t(int32_t(Value) >> 31);
        }
        Carry = (Value >> (Amount - 1)) & 1;
        return uint32_t(int32_t(Value) >> Amount);
    default: {
        uint32_t Result = std::rotr(Value, int(Amount & 31));
        Carry = Result >> 31;
        return Result;
    }
    }
}

constexpr bool IsLogical(AluOp Operation)
{
    return Operation <= kEor || Operation == kMov || Operation == kMvn || Operation == kTst ||
           Operation == kTeq;
}
constexpr bool IsTest(AluOp Operation)
{
    return Operation >= kTst;
}

template <AluOp Operation> uint32_t Logic(uint32_t A, uint32_t B)
{
    switch (Operation) {
    case kAnd:
    case kTst:
        return A & B;
    case kBic:
        return A & ~B;
    case kOrr:
        return A | B;
    case kOrn:
        return A | ~B;
    case kEor:
    case kTeq:
        return A ^ B;
    case kMov:
        return B;
    default:
        return ~B;
    }
}

template <AluOp Operation, bool SetFlags> uint32_t Arith(ArmCore& C, uint32_t A, uint32_t B)
{
    uint32_t Carry = Operation == kAdd || Operation == kCmn   ? 0
                     : Operation == kAdc || Operation == kSbc ? C.FlagC
                                                              : 1;
    uint32_t X = Operation == kRsb ? ~A : A;
    uint32_t Y = Operation == kSub || Operation == kSbc || Operation == kCmp ? ~B : B;
    if constexpr (SetFlags) return C.AddWithCarry(X, Y, Carry);
    return X + Y + Carry;
}

template <AluOp Operation, AluForm Form, bool SetFlags> void Alu(ArmCore& C, const Op& O)
{
    uint32_t A = Operation == kMov || Operation == kMvn ? 0 : C.R[O.Rn];
    uint32_t B;
    uint32_t Carry = C.FlagC;
    if constexpr (Form == kFormImm) {
        B = O.Imm;
        if (SetFlags && IsLogical(Operation) && O.Aux != 2) Carry = O.Aux;
    } else if constexpr (Form == kFormReg) {
        B = C.R[O.Rm];
    } else {
        B = ShiftWithCarry(C.R[O.Rm], ShiftType(O.Sub), O.Imm, Carry);
    }
    uint32_t Result;
    if constexpr (IsLogical(Operation)) {
        Result = Logic<Operation>(A, B);
        if constexpr (SetFlags) {
            C.SetNz(Result);
            C.FlagC = Carry;
        }
    } else {
        Result = Arith<Operation, SetFlags>(C, A, B);
    }
    if constexpr (!IsTest(Operation)) C.R[O.Rd] = Result;
}

template <ShiftType Type, bool SetFlags> void ShiftReg(ArmCore& C, const Op& O)
{
    uint32_t Carry = C.FlagC;
    uint32_t Result = ShiftWithCarry(C.R[O.Rn], Type, C.R[O.Rm] & 0xFF, Carry);
    if constexpr (SetFlags) {
        C.SetNz(Result);
        C.FlagC = Carry;
    }
    C.R[O.Rd] = Result;
}

template <AluForm Form, bool SetFlags, size_t... Ops>
constexpr std::array<Handler, kNumAluOps> AluRow(std::index_sequence<Ops...>)
{
    return {&Alu < AluOp(Ops), Form, SetFlags || IsTest(AluOp(Ops)) > ...};
}
using AluSeq = std::make_index_sequence<kNumAluOps>;
constexpr std::array<Handler, kNumAluOps> kAluTable[kNumAluForms][2] = {
    {AluRow<kFormImm, false>(AluSeq{}), AluRow<kFormImm, true>(AluSeq{})},
    {AluRow<kFormReg, false>(AluSeq{}), AluRow<kFormReg, true>(AluSeq{})},
    {AluRow<kFormShift, false>(AluSeq{}), AluRow<kFormShift, true>(AluSeq{})},
};

template <ExtendKind Kind, bool Add> void Extend(ArmCore& C, const Op& O)
{
    uint32_t Value = std::rotr(C.R[O.Rm], int(O.Imm));
    uint32_t Base = Add ? C.R[O.Rn] : 0;
    switch (Kind) {
    case kSxth:
        Value = Base + uint32_t(int32_t(int16_t(Value)));
        break;
    case kUxth:
        Value = Base + uint16_t(Value);
        break;
    case kSxtb:
        Value = Base + uint32_t(int32_t(int8_t(Value)));
        break;
    case kUxtb:
        Value = Base + uint8_t(Value);
        break;
    case kSxtb16:
        Value = ((Base + uint32_t(int8_t(Value))) & 0xFFFF) |
                (((Base >> 16) + uint32_t(int8_t(Value >> 16))) << 16);
        break;
    default:
        Value = ((Base + uint8_t(Value)) & 0xFFFF) | (((Base >> 16) + uint8_t(Value >> 16)) << 16);
        break;
    }
    C.R[O.Rd] = Value;
}

} // namespace

Handler AluHandler(AluOp Operation, AluForm Form, bool SetFlags)
{
    return kAluTable[Form][SetFlags][Operation];
}

Handler ShiftRegHandler(ShiftType Type, bool SetFlags)
{
    constexpr Handler Table[4][2] = {{&ShiftReg<kLsl, false>, &ShiftReg<kLsl, true>},
                                     {&ShiftReg<kLsr, false>, &ShiftReg<kLsr, true>},
                                     {&ShiftReg<kAsr, false>, &ShiftReg<kAsr, true>},
                                     {&ShiftReg<kRor, false>, &ShiftReg<kRor, true>}};
    return Table[Type & 3][SetFlags];
}

Handler ExtendHandler(ExtendKind Kind, bool Add)
{
    constexpr Handler Table[6][2] = {
        {&Extend<kSxth, false>, &Extend<kSxth, true>},     {&Extend<kUxth, false>, &Extend<kUxth, true>},
        {&Extend<kSxtb16, false>, &Extend<kSxtb16, true>}, {&Extend<kUxtb16, false>, &Extend<kUxtb16, true>},
        {&Extend<kSxtb, false>, &Extend<kSxtb, true>},     {&Extend<kUxtb, false>, &Extend<kUxtb, true>}};
    return Table[Kind][Add];
}

void OpMovImm(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = O.Imm;
}
void OpMovt(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = (C.R[O.Rd] & 0xFFFF) | (O.Imm << 16);
}
void OpClz(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = uint32_t(std::countl_zero(C.R[O.Rm]));
}

void OpRbit(ArmCore& C, const Op& O)
{
    uint32_t V = C.R[O.Rm];
    V = ((V >> 1) & 0x55555555) | ((V & 0x55555555) << 1);
    V = ((V >> 2) & 0x33333333) | ((V & 0x33333333) << 2);
    V = ((V >> 4) & 0x0F0F0F0F) | ((V & 0x0F0F0F0F) << 4);
    C.R[O.Rd] = __builtin_bswap32(V);
}

void OpRev(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = __builtin_bswap32(C.R[O.Rm]);
}

void OpRev16(ArmCore& C, const Op& O)
{
    uint32_t V = C.R[O.Rm];
    C.R[O.Rd] = ((V >> 8) & 0x00FF00FF) | ((V & 0x00FF00FF) << 8);
}

void OpRevsh(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = uint32_t(int32_t(int16_t(__builtin_bswap16(uint16_t(C.R[O.Rm])))));
}

void OpBfi(ArmCore& C, const Op& O)
{
    uint32_t Field = O.Rn == 15 ? 0 : C.R[O.Rn] << O.Sub;
    C.R[O.Rd] = (C.R[O.Rd] & ~O.Imm) | (Field & O.Imm);
}

void OpSbfx(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = uint32_t(int32_t(C.R[O.Rn] << (32 - O.Sub - O.Aux)) >> (32 - O.Aux));
}

void OpUbfx(ArmCore& C, const Op& O)
{
    C.R[O.Rd] = (C.R[O.Rn] << (32 - O.Sub - O.Aux)) >> (32 - O.Aux);
}

void OpSat(ArmCore& C, const Op& O)
{
    int64_t Value = O.Sub & 2 ? int32_t(C.R[O.Rn]) >> O.Imm : int32_t(C.R[O.Rn] << O.Imm);
    int64_t Max = O.Sub & 1 ? (int64_t(1) << O.Aux) - 1 : (int64_t(1) << (O.Aux - 1)) - 1;
    int64_t Min = O.Sub & 1 ? 0 : -(int64_t(1) << (O.Aux - 1));
    if (Value > Max || Value < Min) {
        Value = Value > Max ? Max : Min;
        C.FlagQ = 1;
    }
    C.R[O.Rd] = uint32_t(Value);
}

void OpPkh(ArmCore& C, const Op& O)
{
    uint32_t M = C.R[O.Rm];
    if (O.Sub) { // PKHTB: ASR, 0 means 32
        M = uint32_t(int32_t(M) >> (O.Imm ? O.Imm : 31));
        C.R[O.Rd] = (C.R[O.Rn] & 0xFFFF0000) | (M & 0xFFFF);
    } else {
        C.R[O.Rd] = (C.R[O.Rn] & 0xFFFF) | ((M << O.Imm) & 0xFFFF0000);
    }
}

} // namespace Sim
