// Decoder of the floating-point instructions (coprocessors 10 and 11).
#include "execvfp.h"
#include "softfloat.h"

namespace Sim {

namespace {

constexpr uint32_t Field(uint32_t I, unsigned High, unsigned Low)
{
    return I >> Low & ((2u << (High - Low)) - 1);
}
uint8_t Reg(uint32_t I, unsigned Low)
{
    return uint8_t(I >> Low & 15);
}

// Numbers of single registers: four bits and the low bit elsewhere.
uint8_t Sd(uint32_t I)
{
    return uint8_t(Field(I, 15, 12) << 1 | Field(I, 22, 22));
}
uint8_t Sn(uint32_t I)
{
    return uint8_t(Field(I, 19, 16) << 1 | Field(I, 7, 7));
}
uint8_t Sm(uint32_t I)
{
    return uint8_t(Field(I, 3, 0) << 1 | Field(I, 5, 5));
}

void SetOp(Op& O, VfpOp Operation, uint32_t I, uint16_t Aux = 0)
{
    O.Sub = Operation;
    O.Rd = Sd(I);
    O.Rn = Sn(I);
    O.Rm = Sm(I);
    O.Aux = Aux;
    O.Fn = &OpVfp;
}

void LoadStore(const DecodeContext& X, uint32_t I, Op& O)
{
    bool P = I >> 24 & 1, U = I >> 23 & 1, W = I >> 21 & 1, IsLoad = I >> 20 & 1, IsDouble = I >> 8 & 1;
    uint32_t Imm8 = I & 0xFF;
    O.Rn = Reg(I, 16);
    if (IsDouble && (I >> 22 & 1)) return; // D16 to D31
    O.Rd = IsDouble ? uint8_t(Field(I, 15, 12) * 2) : Sd(I);
    if (P && !W) {
        O.Aux = IsDouble ? 2 : 1;
        O.Imm = U ? Imm8 * 4 : 0 - Imm8 * 4;
        if (O.Rn == 15) O.Imm += (X.Pc + 4) & ~3u;
        O.Cycles = uint8_t(1 + O.Aux);
        O.Fn = IsLoad ? &OpVldr : &OpVstr;
        return;
    }
    if (P == U) return;
    unsigned NumWords = IsDouble ? Imm8 & ~1u : Imm8;
    if (NumWords == 0 || O.Rd + NumWords > 32 || O.Rn == 15) return;
    O.Aux = uint16_t(NumWords);
    O.Rs = uint8_t(Imm8);
    O.Imm = (W ? uint32_t(kMultiWriteback) : 0) | (U ? 0 : uint32_t(kMultiDown));
    O.Cycles = uint8_t(1 + NumWords);
    O.Fn = IsLoad ? &OpVldm : &OpVstm;
}

void TwoCore(uint32_t I, Op& O)
{
    if ((I & 0xD0) != 0x10) return;
    bool IsDouble = I >> 8 & 1;
    if (IsDouble && (I >> 5 & 1)) return;
    O.Rd = Reg(I, 12);
    O.Rs = Reg(I, 16);
    O.Rm = IsDouble ? uint8_t(Field(I, 3, 0) * 2) : Sm(I);
    O.Sub = I >> 20 & 1;
    if (O.Rm < 31) O.Fn = &OpVmovCore2;
}

void Transfer(uint32_t I, Op& O)
{
    unsigned A = Field(I, 23, 21);
    O.Rd = Reg(I, 12);
    O.Sub = I >> 20 & 1;
    if (I & 0x100) { // a word of a double register
        if ((A & 6) || (I & 0x60) || (I >> 7 & 1)) return;
        O.Rn = uint8_t(Field(I, 19, 16) * 2 + (A & 1));
        O.Fn = &OpVmovCore;
    } else if (A == 0) {
        O.Rn = Sn(I);
        O.Fn = &OpVmovCore;
    } else if (A == 7 && Reg(I, 16) == 1) {
        O.Fn = O.Sub ? &OpVmrs : &OpVmsr;
    }
}

uint32_t ExpandImm(uint32_t Imm8)
{
    uint32_t Exp = Imm8 & 0x40 ? 0x7Cu : 0x80u;
    return (Imm8 & 0x80) << 24 | (Exp | (Imm8 >> 4 & 3)) << 23 | (Imm8 & 15) << 19;
}

constexpr uint16_t kFpscrMode = 0x80, kSetsInexact = 0x100;
constexpr uint16_t kDirected[4] = {kTiesAway, kToNearest, kToPlusInf, kToMinusInf};

void Fixed(uint32_t I, Op& O)
{
    unsigned Size = I & 0x80 ? 32 : 16;
    unsigned Imm5 = Field(I, 3, 0) << 1 | Field(I, 5, 5);
    if (Imm5 > Size) return;
    SetOp(O, I & 0x40000 ? kVcvtToFixed : kVcvtFromFixed, I, uint16_t((I >> 16 & 1) | (Size == 16 ? 2 : 0)));
    O.Imm = Size - Imm5;
}

void OneOperand(const DecodeContext& X, uint32_t I, Op& O)
{
    if (!(I & 0x40)) {
        if (I & 0xA0) return;
        SetOp(O, kVmovImm, I);
        O.Rm = O.Rd;
        O.Imm = ExpandImm(Field(I, 19, 16) << 4 | (I & 15));
        return;
    }
    bool Bit7 = I >> 7 & 1;
    switch (Field(I, 19, 16)) {
    case 0:
        SetOp(O, Bit7 ? kVabs : kVmovReg, I);
        break;
    case 1:
        SetOp(O, Bit7 ? kVsqrt : kVneg, I);
        if (Bit7) O.Cycles = 14;
        break;
    case 2:
        SetOp(O, kVcvtFromHalf, I, Bit7);
        break;
    case 3:
        SetOp(O, kVcvtToHalf, I, Bit7);
        break;
    case 4:
        SetOp(O, kVcmp, I, Bit7);
        break;
    case 5:
        SetOp(O, kVcmp, I, uint16_t(Bit7 | 2));
        break;
    case 6:
        if (X.C.HasFpv5) SetOp(O, kVrint, I, Bit7 ? uint16_t(kToZero) : kFpscrMode);
        break;
    case 7:
        if (X.C.HasFpv5 && !Bit7) SetOp(O, kVrint, I, kFpscrMode | kSetsInexact);
        break;
    case 8:
        SetOp(O, kVcvtFromInt, I, Bit7);
        break;
    case 10:
    case 11:
    case 14:
    case 15:
        Fixed(I, O);
        break;
    case 12:
    case 13:
        SetOp(O, kVcvtToInt, I, Bit7 ? uint16_t(kToZero) : kFpscrMode);
        O.Imm = !(I & 0x10000);
        break;
    default:
        break;
    }
}

void DataProcessing(const DecodeContext& X, uint32_t I, Op& O)
{
    bool Bit6 = I >> 6 & 1;
    switch (Field(I, 23, 20) & 11) {
    case 0:
        SetOp(O, Bit6 ? kVmls : kVmla, I);
        break;
    case 1:
        SetOp(O, Bit6 ? kVnmla : kVnmls, I);
        break;
    case 2:
        SetOp(O, Bit6 ? kVnmul : kVmul, I);
        break;
    case 3:
        SetOp(O, Bit6 ? kVsub : kVadd, I);
        break;
    case 8:
        if (Bit6) return;
        SetOp(O, kVdiv, I);
        O.Cycles = 14;
        break;
    case 9:
        SetOp(O, Bit6 ? kVfnma : kVfnms, I);
        break;
    case 10:
        SetOp(O, Bit6 ? kVfms : kVfma, I);
        break;
    default:
        OneOperand(X, I, O);
        break;
    }
}

// The instructions FPv5 added in the space of the second coprocessor encoding.
void DataProcessing2(const DecodeContext& X, uint32_t I, Op& O)
{
    if (!X.C.HasFpv5) return;
    if (!(I >> 23 & 1)) {
        constexpr uint16_t Conds[4] = {0, 6, 10, 12}; // EQ, VS, GE, GT
        if (!(I & 0x40)) SetOp(O, kVsel, I, Conds[Field(I, 21, 20)]);
        return;
    }
    if (Field(I, 21, 20) == 0) {
        SetOp(O, I & 0x40 ? kVminnm : kVmaxnm, I);
        return;
    }
    if (Field(I, 21, 20) != 3 || !(I & 0x40)) return;
    if (Field(I, 19, 18) == 2 && !(I & 0x80)) {
        SetOp(O, kVrint, I, kDirected[Field(I, 17, 16)]);
    } else if (Field(I, 19, 18) == 3) {
        SetOp(O, kVcvtToInt, I, kDirected[Field(I, 17, 16)]);
        O.Imm = !(I & 0x80);
    }
}

} // namespace

void DecodeVfp(const DecodeContext& X, uint32_t I, Op& O)
{
    bool Second = I >> 28 & 1; // 0xF.......
    O.Fn = &OpVfpUndef;
    if (Field(I, 27, 25) == 6) {
        if (Second) return;
        if (Field(I, 24, 21) == 2)
            TwoCore(I, O);
        else
            LoadStore(X, I, O);
        return;
    }
    if (Field(I, 27, 24) != 14) return;
    if (I & 0x10) {
        if (!Second) Transfer(I, O);
        return;
    }
    if (I & 0x100) return; // double precision arithmetic isn't there
    if (Second)
        DataProcessing2(X, I, O);
    else
        DataProcessing(X, I, O);
}

} // namespace Sim
