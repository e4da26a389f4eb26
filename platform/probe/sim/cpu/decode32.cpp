// Decoder of the 32-bit Thumb-2 instructions other than loads, stores and floating point.
#include "armexec.h"

#include <bit>

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

// The modified immediate constant; Carry 2 means unchanged.
uint32_t ExpandImm(uint32_t Imm12, uint16_t& Carry)
{
    Carry = 2;
    uint32_t Byte = Imm12 & 0xFF;
    if ((Imm12 >> 10) == 0) {
        switch (Imm12 >> 8) {
        case 0:
            return Byte;
        case 1:
            return Byte * 0x00010001u;
        case 2:
            return Byte * 0x01000100u;
        default:
            return Byte * 0x01010101u;
        }
    }
    uint32_t Value = std::rotr(0x80 | (Imm12 & 0x7F), int(Imm12 >> 7));
    Carry = uint16_t(Value >> 31);
    return Value;
}

constexpr uint32_t Imm12Of(uint32_t I)
{
    return Field(I, 26, 26) << 11 | Field(I, 14, 12) << 8 | (I & 0xFF);
}

// Operation of the op field shared by the immediate and the shifted register forms; false:
// no such instruction. Rn 15 and Rd 15 select the special cases.
bool PickAlu(uint32_t I, AluOp& Operation)
{
    unsigned Code = Field(I, 24, 21);
    bool S = I >> 20 & 1;
    bool NoRn = Reg(I, 16) == 15, NoRd = Reg(I, 8) == 15;
    switch (Code) {
    case 0:
        Operation = NoRd && S ? kTst : kAnd;
        break;
    case 1:
        Operation = kBic;
        break;
    case 2:
        Operation = NoRn ? kMov : kOrr;
        break;
    case 3:
        Operation = NoRn ? kMvn : kOrn;
        break;
    case 4:
        Operation = NoRd && S ? kTeq : kEor;
        break;
    case 8:
        Operation = NoRd && S ? kCmn : kAdd;
        break;
    case 10:
        Operation = kAdc;
        break;
    case 11:
        Operation = kSbc;
        break;
    case 13:
        Operation = NoRd && S ? kCmp : kSub;
        break;
    case 14:
        Operation = kRsb;
        break;
    default:
        return false;
    }
    return Operation >= kTst || !NoRd;
}

void FinishAlu(const DecodeContext& X, AluOp Operation, AluForm Form, bool S, Op& O)
{
    O.Fn = AluHandler(Operation, Form, S);
    if (O.Rd == 13 && Operation < kTst)
        WrapSp(X.C, O, O.Rn == 13 && (Operation == kAdd || Operation == kSub));
}

void ModifiedImmediate(const DecodeContext& X, uint32_t I, Op& O)
{
    AluOp Operation;
    if (!PickAlu(I, Operation)) return;
    O.Rd = Reg(I, 8);
    O.Rn = Reg(I, 16);
    O.Imm = ExpandImm(Imm12Of(I), O.Aux);
    FinishAlu(X, Operation, kFormImm, I >> 20 & 1, O);
}

void Saturate(const DecodeContext& X, uint32_t I, Op& O)
{
    unsigned Shift = Field(I, 14, 12) << 2 | Field(I, 7, 6);
    bool Arithmetic = I >> 21 & 1;
    bool IsUnsigned = I >> 23 & 1;
    O.Aux = uint16_t(Field(I, 4, 0) + (IsUnsigned ? 0 : 1));
    O.Imm = Shift;
    if (Arithmetic && Shift == 0) {
        if (!X.C.HasDsp) return;
        O.Aux = uint16_t(Field(I, 3, 0) + (IsUnsigned ? 0 : 1));
        O.Sub = IsUnsigned;
        O.Fn = &OpSat16;
        return;
    }
    O.Sub = uint8_t((IsUnsigned ? 1 : 0) | (Arithmetic ? 2 : 0));
    O.Fn = &OpSat;
}

void PlainImmediate(const DecodeContext& X, uint32_t I, Op& O)
{
    O.Rd = Reg(I, 8);
    O.Rn = Reg(I, 16);
    if (O.Rd == 15) return;
    uint32_t Imm12 = Imm12Of(I);
    unsigned Lsb = Field(I, 14, 12) << 2 | Field(I, 7, 6);
    unsigned Low = Field(I, 4, 0);
    O.Sub = uint8_t(Lsb);
    switch (Field(I, 24, 20)) {
    case 0:
    case 10: { // ADDW, SUBW, ADR
        bool Sub = I >> 23 & 1;
        if (O.Rn == 15) {
            uint32_t Base = (X.Pc + 4) & ~3u;
            O.Imm = Sub ? Base - Imm12 : Base + Imm12;
            O.Fn = &OpMovImm;
        } else {
            O.Imm = Imm12;
            O.Fn = AluHandler(Sub ? kSub : kAdd, kFormImm, false);
            if (O.Rd == 13) WrapSp(X.C, O, O.Rn == 13);
        }
        break;
    }
    case 4:
        O.Imm = O.Rn << 12 | Imm12;
        O.Fn = &OpMovImm;
        break;
    case 12:
        O.Imm = O.Rn << 12 | Imm12;
        O.Fn = &OpMovt;
        break;
    case 16:
    case 18:
    case 24:
    case 26:
        Saturate(X, I, O);
        break;
    case 20:
    case 28:
        if (Lsb + Low > 31) return;
        O.Aux = uint16_t(Low + 1);
        O.Fn = I >> 23 & 1 ? &OpUbfx : &OpSbfx;
        break;
    case 22:
        if (Low < Lsb) return;
        O.Imm = (0xFFFFFFFFu >> (31 - Low)) & (0xFFFFFFFFu << Lsb);
        O.Fn = &OpBfi;
        break;
    default:
        break;
    }
}

void ShiftedRegister(const DecodeContext& X, uint32_t I, Op& O)
{
    unsigned Amount = Field(I, 14, 12) << 2 | Field(I, 7, 6);
    unsigned Type = Field(I, 5, 4);
    O.Rd = Reg(I, 8);
    O.Rn = Reg(I, 16);
    O.Rm = Reg(I, 0);
    if (Field(I, 24, 21) == 6) { // PKH
        if (!X.C.HasDsp || (Type & 1) || (I >> 20 & 1)) return;
        O.Imm = Amount;
        O.Sub = Type == 2;
        O.Fn = &OpPkh;
        return;
    }
    AluOp Operation;
    if (!PickAlu(I, Operation)) return;
    AluForm Form = kFormShift;
    O.Imm = Amount;
    O.Sub = uint8_t(Type);
    if (Amount == 0) {
        if (Type == kLsl) Form = kFormReg;
        O.Imm = 32;
        if (Type == kRor) O.Sub = kRrx;
    }
    FinishAlu(X, Operation, Form, I >> 20 & 1, O);
}

void ParallelOrMisc(const DecodeContext& X, uint32_t I, Op& O)
{
    unsigned Op1 = Field(I, 23, 20), Op2 = Field(I, 7, 4);
    bool Parallel = !(Op2 & 8);
    if (Parallel) {
        unsigned Kind = Op1 & 7;
        if (!X.C.HasDsp || Kind == 3 || Kind == 7 || (Op2 & 3) == 3) return;
        O.Sub = uint8_t(Kind);
        O.Aux = uint16_t(Op2);
        O.Fn = &OpParallel;
        return;
    }
    constexpr Handler Reverse[4] = {&OpRev, &OpRev16, &OpRbit, &OpRevsh};
    if ((Op2 & 12) != 8) return;
    unsigned Low = Op2 & 3;
    switch (Op1 & 7) {
    case 0:
        O.Sub = uint8_t(Low);
        if (X.C.HasDsp) O.Fn = &OpQadd;
        break;
    case 1:
        O.Fn = Reverse[Low];
        break;
    case 2:
        if (Low == 0 && X.C.HasDsp) O.Fn = &OpSel;
        break;
    case 3:
        if (Low == 0) O.Fn = &OpClz;
        break;
    default:
        break;
    }
}

void DataRegister(const DecodeContext& X, uint32_t I, Op& O)
{
    unsigned Op1 = Field(I, 23, 20), Op2 = Field(I, 7, 4);
    O.Rd = Reg(I, 8);
    O.Rn = Reg(I, 16);
    O.Rm = Reg(I, 0);
    if (O.Rd == 15 || Field(I, 15, 12) != 15) return;
    if (Op1 & 8) return ParallelOrMisc(X, I, O);
    if (Op2 == 0) {
        O.Fn = ShiftRegHandler(ShiftType(Op1 >> 1), Op1 & 1);
    } else if ((Op2 & 8) && Op1 < 6) {
        bool Add = O.Rn != 15;
        bool IsDsp = Add || Op1 == 2 || Op1 == 3;
        if (IsDsp && !X.C.HasDsp) return;
        O.Imm = (Op2 & 3) * 8;
        O.Fn = ExtendHandler(ExtendKind(Op1), Add);
    }
    if (O.Rd == 13) WrapSp(X.C, O, false);
}

void DspMul(const DecodeContext& X, DspMulKind Kind, uint32_t I, Op& O)
{
    if (!X.C.HasDsp) return;
    O.Sub = Kind;
    O.Aux = uint16_t(Field(I, 5, 4));
    O.Fn = &OpDspMul;
}

void Multiply(const DecodeContext& X, uint32_t I, Op& O)
{
    unsigned Op2 = Field(I, 5, 4);
    O.Rd = Reg(I, 8);
    O.Rn = Reg(I, 16);
    O.Rm = Reg(I, 0);
    O.Rs = Reg(I, 12);
    if (Field(I, 7, 6) != 0) return;
    O.Cycles = 2;
    switch (Field(I, 22, 20)) {
    case 0:
        if (Op2 > 1) return;
        O.Fn = Op2 ? &OpMls : O.Rs == 15 ? &OpMul : &OpMla;
        break;
    case 1:
        DspMul(X, kSmlaxy, I, O);
        break;
    case 2:
        if (Op2 < 2) DspMul(X, kSmlad, I, O);
        break;
    case 3:
        if (Op2 < 2) DspMul(X, kSmlaw, I, O);
        break;
    case 4:
        if (Op2 < 2) DspMul(X, kSmlsd, I, O);
        break;
    case 5:
        if (Op2 < 2) DspMul(X, kSmmla, I, O);
        break;
    case 6:
        if (Op2 < 2) DspMul(X, kSmmls, I, O);
        break;
    default:
        if (Op2 == 0) DspMul(X, kUsada8, I, O);
        break;
    }
}

void LongMultiply(const DecodeContext& X, uint32_t I, Op& O)
{
    unsigned Op2 = Field(I, 7, 4);
    O.Rd = Reg(I, 8);
    O.Rn = Reg(I, 16);
    O.Rm = Reg(I, 0);
    O.Rs = Reg(I, 12);
    O.Cycles = 3;
    switch (Field(I, 22, 20) << 4 | Op2) {
    case 0x00:
        O.Fn = &OpSmull;
        break;
    case 0x1F:
        O.Cycles = 6;
        O.Fn = &OpSdiv;
        break;
    case 0x20:
        O.Fn = &OpUmull;
        break;
    case 0x3F:
        O.Cycles = 6;
        O.Fn = &OpUdiv;
        break;
    case 0x40:
        O.Fn = &OpSmlal;
        break;
    case 0x48:
    case 0x49:
    case 0x4A:
    case 0x4B:
        DspMul(X, kSmlalxy, I, O);
        break;
    case 0x4C:
    case 0x4D:
        DspMul(X, kSmlald, I, O);
        break;
    case 0x5C:
    case 0x5D:
        DspMul(X, kSmlsld, I, O);
        break;
    case 0x60:
        O.Fn = &OpUmlal;
        break;
    case 0x66:
        if (X.C.HasDsp) O.Fn = &OpUmaal;
        break;
    default:
        break;
    }
}

constexpr uint32_t SignExtend(uint32_t Value, unsigned Bits)
{
    return uint32_t(int32_t(Value << (32 - Bits)) >> (32 - Bits));
}

void MiscControl(uint32_t I, Op& O)
{
    switch (Field(I, 7, 4)) {
    case 2:
        O.Fn = &OpClrex;
        break;
    case 4:
    case 5:
    case 6:
        O.Fn = &OpNop;
        break; // DSB, DMB, ISB: every access is complete in order
    default:
        break;
    }
}

void WideHint(uint32_t I, Op& O)
{
    if (Field(I, 10, 8) != 0) return; // CPS.W belongs to other profiles
    O.Fn = HintHandler(I & 0xFF);
}

void BranchOrControl(const DecodeContext& X, uint32_t I, Op& O)
{
    bool IsV6M = X.C.IsV6M;
    uint32_t Sign = Field(I, 26, 26), J1 = Field(I, 13, 13), J2 = Field(I, 11, 11);
    if (I & 0x1000) { // B.W, BL
        bool Link = I & 0x4000;
        if (!Link && IsV6M) return;
        uint32_t Offset = Sign << 24 | (J1 == Sign) << 23 | (J2 == Sign) << 22 | Field(I, 25, 16) << 12 |
                          Field(I, 10, 0) << 1;
        O.Imm = X.Pc + 4 + SignExtend(Offset, 25);
        O.Fn = Link ? &OpBl : &OpBranch;
        return;
    }
    if (I & 0x4000) return; // BLX immediate, UDF.W
    if (Field(I, 25, 23) != 7) {
        if (IsV6M) return;
        uint32_t Offset = Sign << 20 | J2 << 19 | J1 << 18 | Field(I, 21, 16) << 12 | Field(I, 10, 0) << 1;
        O.Imm = X.Pc + 4 + SignExtend(Offset, 21);
        O.Flags = kOpCondBranch;
        O.Fn = CondBranchHandler(Field(I, 25, 22));
        return;
    }
    switch (Field(I, 26, 20)) {
    case 0x38:
    case 0x39:
        O.Rn = Reg(I, 16);
        O.Sub = uint8_t(I & 0xFF);
        O.Aux = uint16_t(Field(I, 11, 10));
        O.Fn = &OpMsr;
        break;
    case 0x3A:
        if (!IsV6M) WideHint(I, O);
        break;
    case 0x3B:
        MiscControl(I, O);
        break;
    case 0x3E:
    case 0x3F:
        O.Rd = Reg(I, 8);
        O.Sub = uint8_t(I & 0xFF);
        O.Fn = &OpMrs;
        break;
    default:
        break;
    }
}

void Coprocessor(const DecodeContext& X, uint32_t I, Op& O)
{
    unsigned Cp = Field(I, 11, 8);
    if (X.C.HasFpu && (Cp == 10 || Cp == 11)) return DecodeVfp(X, I, O);
    O.Fn = &OpNoCp;
}

} // namespace

void Decode32(const DecodeContext& X, uint32_t I, Op& O)
{
    O.Len = 4;
    O.Fn = &OpUndef;
    if (X.C.IsV6M) {
        if (Field(I, 28, 27) == 2 && (I & 0x8000)) BranchOrControl(X, I, O);
        return;
    }
    uint32_t Op2 = Field(I, 26, 20);
    switch (Field(I, 28, 27)) {
    case 1:
        if (Op2 & 0x40) {
            Coprocessor(X, I, O);
        } else if (Op2 & 0x20) {
            ShiftedRegister(X, I, O);
        } else if (Op2 & 4) {
            DecodeDualExclusive(X, I, O);
        } else {
            DecodeLoadStore32(X, I, O);
        }
        break;
    case 2:
        if (I & 0x8000) {
            BranchOrControl(X, I, O);
        } else if (Op2 & 0x20) {
            PlainImmediate(X, I, O);
        } else {
            ModifiedImmediate(X, I, O);
        }
        break;
    default:
        if (Op2 & 0x40) {
            Coprocessor(X, I, O);
        } else if (!(Op2 & 0x20)) {
            DecodeLoadStore32(X, I, O);
        } else if (!(Op2 & 0x10)) {
            DataRegister(X, I, O);
        } else if (!(Op2 & 8)) {
            Multiply(X, I, O);
        } else {
            LongMultiply(X, I, O);
        }
        break;
    }
}

} // namespace Sim
