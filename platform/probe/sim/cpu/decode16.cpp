// Decoder of the 16-bit Thumb instructions.
#include "armexec.h"

namespace Sim {

namespace {

constexpr uint32_t SignExtend(uint32_t Value, unsigned Bits)
{
    return uint32_t(int32_t(Value << (32 - Bits)) >> (32 - Bits));
}

void ShiftAddSub(const DecodeContext& X, uint32_t I, Op& O)
{
    bool S = !X.InIt;
    O.Rd = I & 7;
    O.Rn = I >> 3 & 7;
    unsigned Opc = I >> 11 & 3;
    if (Opc < 3) { // shift by immediate
        unsigned Amount = I >> 6 & 31;
        O.Rm = O.Rn;
        O.Imm = Amount ? Amount : 32;
        O.Sub = uint8_t(Opc);
        O.Fn = AluHandler(kMov, Opc == 0 && Amount == 0 ? kFormReg : kFormShift, S);
        return;
    }
    AluOp Operation = I & 0x200 ? kSub : kAdd;
    if (I & 0x400) {
        O.Imm = I >> 6 & 7;
        O.Fn = AluHandler(Operation, kFormImm, S);
    } else {
        O.Rm = I >> 6 & 7;
        O.Fn = AluHandler(Operation, kFormReg, S);
    }
}

void Immediate8(const DecodeContext& X, uint32_t I, Op& O)
{
    constexpr AluOp Ops[4] = {kMov, kCmp, kAdd, kSub};
    O.Rd = O.Rn = I >> 8 & 7;
    O.Imm = I & 0xFF;
    O.Aux = 2;
    O.Fn = AluHandler(Ops[I >> 11 & 3], kFormImm, !X.InIt);
}

void Register(const DecodeContext& X, uint32_t I, Op& O)
{
    bool S = !X.InIt;
    O.Rd = O.Rn = I & 7;
    O.Rm = I >> 3 & 7;
    switch (I >> 6 & 15) {
    case 0:
        O.Fn = AluHandler(kAnd, kFormReg, S);
        break;
    case 1:
        O.Fn = AluHandler(kEor, kFormReg, S);
        break;
    case 2:
        O.Fn = ShiftRegHandler(kLsl, S);
        break;
    case 3:
        O.Fn = ShiftRegHandler(kLsr, S);
        break;
    case 4:
        O.Fn = ShiftRegHandler(kAsr, S);
        break;
    case 5:
        O.Fn = AluHandler(kAdc, kFormReg, S);
        break;
    case 6:
        O.Fn = AluHandler(kSbc, kFormReg, S);
        break;
    case 7:
        O.Fn = ShiftRegHandler(kRor, S);
        break;
    case 8:
        O.Fn = AluHandler(kTst, kFormReg, true);
        break;
    case 9: // RSB Rd, Rn, #0
        O.Rn = O.Rm;
        O.Fn = AluHandler(kRsb, kFormImm, S);
        break;
    case 10:
        O.Fn = AluHandler(kCmp, kFormReg, true);
        break;
    case 11:
        O.Fn = AluHandler(kCmn, kFormReg, true);
        break;
    case 12:
        O.Fn = AluHandler(kOrr, kFormReg, S);
        break;
    case 13:
        O.Fn = S ? &OpMuls : &OpMul;
        break;
    case 14:
        O.Fn = AluHandler(kBic, kFormReg, S);
        break;
    default:
        O.Fn = AluHandler(kMvn, kFormReg, S);
        break;
    }
}

void HighRegister(const DecodeContext& X, uint32_t I, Op& O)
{
    O.Rd = O.Rn = uint8_t((I & 7) | (I >> 4 & 8));
    O.Rm = I >> 3 & 15;
    uint32_t PcValue = X.Pc + 4;
    switch (I >> 8 & 3) {
    case 0: // ADD
        if (O.Rd == 15) {
            O.Imm = PcValue;
            O.Fn = &OpAddPc;
        } else if (O.Rm == 15) {
            O.Imm = PcValue;
            O.Fn = AluHandler(kAdd, kFormImm, false);
        } else {
            O.Fn = AluHandler(kAdd, kFormReg, false);
        }
        if (O.Rd == 13) WrapSp(X.C, O, true);
        break;
    case 1:
        O.Fn = AluHandler(kCmp, kFormReg, true);
        break;
    case 2: // MOV
        if (O.Rd == 15) {
            O.Fn = &OpMovPc;
        } else if (O.Rm == 15) {
            O.Imm = PcValue;
            O.Fn = &OpMovImm;
        } else {
            O.Fn = AluHandler(kMov, kFormReg, false);
        }
        if (O.Rd == 13) WrapSp(X.C, O, false);
        break;
    default: // BX, BLX; with bit 2 the secure forms of ARMv8-M, plain branches here
        if ((I & 4) && !X.C.IsV8M) {
            O.Fn = &OpUndef;
        } else if (I & 0x80) {
            O.Fn = &OpBlx;
        } else if (O.Rm == 15) {
            O.Imm = PcValue;
            O.Fn = &OpBxConst;
        } else {
            O.Fn = &OpBx;
        }
        break;
    }
}

void LoadStore(uint32_t I, Op& O)
{
    O.Rd = I & 7;
    O.Rn = I >> 3 & 7;
    if ((I >> 12) == 5) {
        constexpr MemKind Kinds[8] = {kStr, kStrh, kStrb, kLdrsb, kLdr, kLdrh, kLdrb, kLdrsh};
        MemKind Kind = Kinds[I >> 9 & 7];
        O.Rm = I >> 6 & 7;
        O.Fn = MemHandler(Kind, kMemReg);
        O.Cycles = Kind >= kStr ? 1 : 2;
        return;
    }
    uint32_t Offset = I >> 6 & 31;
    bool IsLoad = I & 0x800;
    MemKind Kind;
    switch (I >> 12) {
    case 6:
        Kind = IsLoad ? kLdr : kStr;
        O.Imm = Offset * 4;
        break;
    case 7:
        Kind = IsLoad ? kLdrb : kStrb;
        O.Imm = Offset;
        break;
    case 8:
        Kind = IsLoad ? kLdrh : kStrh;
        O.Imm = Offset * 2;
        break;
    default:
        Kind = IsLoad ? kLdr : kStr;
        O.Rd = I >> 8 & 7;
        O.Rn = 13;
        O.Imm = (I & 0xFF) * 4;
        break;
    }
    O.Fn = MemHandler(Kind, kMemImm);
    O.Cycles = IsLoad ? 2 : 1;
}

void Multiple(Op& O, bool IsLoad, unsigned Rn, uint32_t List, uint32_t Flags)
{
    O.Rn = uint8_t(Rn);
    O.Aux = uint16_t(List);
    O.Imm = Flags;
    O.Cycles = uint8_t(1 + __builtin_popcount(List));
    O.Fn = List == 0 ? &OpUndef : IsLoad ? &OpLdm : &OpStm;
}

void Hints(const DecodeContext& X, uint32_t I, Op& O)
{
    if (I & 15) { // IT
        if (X.C.IsV6M || X.InIt) {
            O.Fn = &OpUndef;
        } else {
            O.Imm = I & 0xFF;
            O.Fn = &OpIt;
        }
        return;
    }
    O.Fn = HintHandler(I >> 4 & 15);
}

void Misc(const DecodeContext& X, uint32_t I, Op& O)
{
    O.Rd = I & 7;
    O.Rm = I >> 3 & 7;
    unsigned Op8 = I >> 8 & 15;
    if (Op8 == 0) { // ADD/SUB SP
        O.Rd = O.Rn = 13;
        O.Imm = (I & 0x7F) * 4;
        O.Fn = AluHandler(I & 0x80 ? kSub : kAdd, kFormImm, false);
        if (X.C.IsV8M) WrapSp(X.C, O, true);
    } else if ((Op8 & 5) == 1) { // CBZ, CBNZ
        O.Rn = I & 7;
        O.Imm = X.Pc + 4 + ((I >> 3 & 31) << 1 | (I >> 9 & 1) << 6);
        O.Flags = kOpCondBranch;
        O.Fn = X.C.IsV6M || X.InIt ? &OpUndef : Op8 & 8 ? &OpCbnz : &OpCbz;
    } else if (Op8 == 2) {
        constexpr ExtendKind Kinds[4] = {kSxth, kSxtb, kUxth, kUxtb};
        O.Fn = ExtendHandler(Kinds[I >> 6 & 3], false);
    } else if ((Op8 & 14) == 4) {
        Multiple(O, false, 13, (I & 0xFF) | (I & 0x100) << 6, kMultiWriteback | kMultiDown);
    } else if ((Op8 & 14) == 12) {
        Multiple(O, true, 13, (I & 0xFF) | (I & 0x100) << 7, kMultiWriteback);
    } else if ((I & 0xFFE8) == 0xB660) {
        O.Sub = I & 0x13;
        O.Flags = kOpUnconditional;
        O.Fn = &OpCps;
    } else if (Op8 == 10) {
        constexpr Handler Fns[4] = {&OpRev, &OpRev16, &OpUndef, &OpRevsh};
        O.Fn = Fns[I >> 6 & 3];
    } else if (Op8 == 14) {
        O.Imm = I & 0xFF;
        O.Flags = kOpUnconditional;
        O.Fn = &OpBkpt;
    } else if (Op8 == 15) {
        Hints(X, I, O);
    } else {
        O.Fn = &OpUndef;
    }
}

void CondBranch(const DecodeContext& X, uint32_t I, Op& O)
{
    unsigned Cond = I >> 8 & 15;
    if (Cond == 14) {
        O.Fn = &OpUndef;
    } else if (Cond == 15) {
        O.Fn = &OpSvc;
    } else {
        O.Imm = X.Pc + 4 + SignExtend(I << 1 & 0x1FE, 9);
        O.Flags = kOpCondBranch;
        O.Fn = CondBranchHandler(Cond);
    }
}

} // namespace

void Decode16(const DecodeContext& X, uint32_t I, Op& O)
{
    O.Len = 2;
    O.Aux = 2;
    switch (I >> 12) {
    case 0:
    case 1:
        ShiftAddSub(X, I, O);
        break;
    case 2:
    case 3:
        Immediate8(X, I, O);
        break;
    case 4:
        if (I & 0x800) {
            O.Rd = I >> 8 & 7;
            O.Imm = ((X.Pc + 4) & ~3u) + (I & 0xFF) * 4;
            O.Cycles = 2;
            O.Fn = MemHandler(kLdr, kMemLit);
        } else if (I & 0x400) {
            HighRegister(X, I, O);
        } else {
            Register(X, I, O);
        }
        break;
    case 10: // ADR, ADD Rd, SP
        O.Rd = I >> 8 & 7;
        O.Rn = 13;
        O.Imm = (I & 0xFF) * 4;
        if (I & 0x800) {
            O.Fn = AluHandler(kAdd, kFormImm, false);
        } else {
            O.Imm += (X.Pc + 4) & ~3u;
            O.Fn = &OpMovImm;
        }
        break;
    case 11:
        Misc(X, I, O);
        break;
    case 12: {
        unsigned Rn = I >> 8 & 7;
        bool IsLoad = I & 0x800;
        bool InList = I >> Rn & 1;
        Multiple(O, IsLoad, Rn, I & 0xFF, IsLoad && InList ? 0 : kMultiWriteback);
        break;
    }
    case 13:
        CondBranch(X, I, O);
        break;
    case 14:
        O.Imm = X.Pc + 4 + SignExtend(I << 1 & 0xFFE, 12);
        O.Fn = &OpBranch;
        break;
    default:
        LoadStore(I, O);
        break;
    }
}

} // namespace Sim
