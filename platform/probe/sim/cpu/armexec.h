// The instruction handlers, as the decoders pick them. Each group says which fields of the
// Op it uses.
#pragma once

#include "armcore.h"

namespace Sim {

struct DecodeContext {
    ArmCore& C;
    uint32_t Pc;
    bool InIt;
};
void Decode16(const DecodeContext& X, uint32_t Insn, Op& O);
void Decode32(const DecodeContext& X, uint32_t Insn, Op& O);
void DecodeVfp(const DecodeContext& X, uint32_t Insn, Op& O);
void DecodeLoadStore32(const DecodeContext& X, uint32_t Insn, Op& O);
void DecodeDualExclusive(const DecodeContext& X, uint32_t Insn, Op& O);
// Puts OpSpWrapper in front: the result in SP has its two low bits cleared and is compared
// with the limit when CheckLimit. The op writes no other register then.
void WrapSp(ArmCore& C, Op& O, bool CheckLimit);

// --- execalu.cpp ------------------------------------------------------------------------
Handler AluHandler(AluOp Operation, AluForm Form, bool SetFlags);
Handler ShiftRegHandler(ShiftType Type, bool SetFlags); // Rd = Rn shifted by Rm
void OpMovImm(ArmCore& C, const Op& O);                 // Rd = Imm, no flags
void OpMovt(ArmCore& C, const Op& O);
void OpClz(ArmCore& C, const Op& O); // Rd, Rm
void OpRbit(ArmCore& C, const Op& O);
void OpRev(ArmCore& C, const Op& O);
void OpRev16(ArmCore& C, const Op& O);
void OpRevsh(ArmCore& C, const Op& O);
enum ExtendKind : uint8_t { kSxth, kUxth, kSxtb16, kUxtb16, kSxtb, kUxtb };
Handler ExtendHandler(ExtendKind Kind, bool Add); // Rd = (Rn +) extended Rm rotated right by Imm
void OpBfi(ArmCore& C, const Op& O);              // Imm: mask in place, Sub: lsb; Rn 15: BFC
void OpSbfx(ArmCore& C, const Op& O);             // Sub: lsb, Aux: width
void OpUbfx(ArmCore& C, const Op& O);
void OpSat(ArmCore& C, const Op& O); // Rn, Imm: shift, Aux: bits, Sub: 1 unsigned, 2 arithmetic right
void OpPkh(ArmCore& C, const Op& O); // Imm: shift amount, Sub 1: PKHTB

// --- execmul.cpp ------------------------------------------------------------------------
void OpMul(ArmCore& C, const Op& O);  // Rd = Rn * Rm
void OpMuls(ArmCore& C, const Op& O); // with N and Z
void OpMla(ArmCore& C, const Op& O);  // Rs + Rn * Rm
void OpMls(ArmCore& C, const Op& O);
void OpUmull(ArmCore& C, const Op& O); // Rs (low), Rd (high)
void OpSmull(ArmCore& C, const Op& O);
void OpUmlal(ArmCore& C, const Op& O);
void OpSmlal(ArmCore& C, const Op& O);
void OpUmaal(ArmCore& C, const Op& O);
void OpSdiv(ArmCore& C, const Op& O);
void OpUdiv(ArmCore& C, const Op& O);
enum DspMulKind : uint8_t {
    kSmlaxy,
    kSmlad,
    kSmlaw,
    kSmlsd,
    kSmmla,
    kSmmls,
    kUsada8,
    kSmlalxy,
    kSmlald,
    kSmlsld
};
// Sub: DspMulKind, Aux: bits 5:4 of the encoding (N/M, X, R). Rs 15: without accumulator;
// the long kinds use Rs as low and Rd as high word.
void OpDspMul(ArmCore& C, const Op& O);

// --- execdsp.cpp ------------------------------------------------------------------------
void OpParallel(ArmCore& C, const Op& O); // Sub: op1[2:0], Aux: prefix bits 6:4
void OpQadd(ArmCore& C, const Op& O);     // Sub: QADD, QDADD, QSUB, QDSUB of Rm and Rn
void OpSel(ArmCore& C, const Op& O);
void OpSat16(ArmCore& C, const Op& O); // Rn, Aux: bits, Sub 1: unsigned

// --- execmem.cpp ------------------------------------------------------------------------
Handler MemHandler(MemKind Kind, MemForm Form); // Rd: Rt
Handler LdrPcHandler(MemForm Form);             // LDR PC
enum : uint32_t { kMultiWriteback = 1, kMultiDown = 2 };
void OpLdm(ArmCore& C, const Op& O); // Rn, Aux: list, Imm: kMulti...
void OpStm(ArmCore& C, const Op& O);
void OpLdrd(ArmCore& C, const Op& O); // Rd, Rs, Imm: offset, Sub: 1 index, 2 writeback, 4 literal
void OpStrd(ArmCore& C, const Op& O);
void OpLdrex(ArmCore& C, const Op& O);       // Rd, Rn, Imm, Sub: bytes; Aux 1: not exclusive (LDA)
void OpStrex(ArmCore& C, const Op& O);       // Rd status, Rs value
void OpStl(ArmCore& C, const Op& O);         // Rs value, Rn, Sub: bytes
void OpTableBranch(ArmCore& C, const Op& O); // Rn (15: Imm is its value), Rm, Sub 1: half words

// --- execbranch.cpp ---------------------------------------------------------------------
void OpUndef(ArmCore& C, const Op& O);
void OpFetchFault(ArmCore& C, const Op& O); // Sub: FaultKind, Imm: address
void OpBreakpoint(ArmCore& C, const Op& O);
void OpBkpt(ArmCore& C, const Op& O); // Imm
void OpSpWrapper(ArmCore& C, const Op& O);
Handler CondBranchHandler(unsigned Cond); // Imm: target
void OpBranch(ArmCore& C, const Op& O);
void OpBl(ArmCore& C, const Op& O);      // Rs: return address is the next instruction
void OpBx(ArmCore& C, const Op& O);      // Rm
void OpBlx(ArmCore& C, const Op& O);     // Rm
void OpMovPc(ArmCore& C, const Op& O);   // Rm
void OpAddPc(ArmCore& C, const Op& O);   // Imm + Rm
void OpBxConst(ArmCore& C, const Op& O); // BX PC: Imm
void OpCbz(ArmCore& C, const Op& O);
void OpCbnz(ArmCore& C, const Op& O);
void OpIt(ArmCore& C, const Op& O); // Imm: ITSTATE
void OpSvc(ArmCore& C, const Op& O);
void OpNop(ArmCore& C, const Op& O);
void OpWfi(ArmCore& C, const Op& O);
void OpWfe(ArmCore& C, const Op& O);
void OpSev(ArmCore& C, const Op& O);
Handler HintHandler(unsigned Hint); // NOP for YIELD, DBG and the unallocated ones
void OpClrex(ArmCore& C, const Op& O);
void OpCps(ArmCore& C, const Op& O); // Sub: bit 4 disable, bit 1 PRIMASK, bit 0 FAULTMASK
void OpMrs(ArmCore& C, const Op& O); // Rd, Sub: SYSm
void OpMsr(ArmCore& C, const Op& O); // Rn, Sub: SYSm, Aux: mask (2: NZCVQ, 1: GE)
void OpNoCp(ArmCore& C, const Op& O);
void OpTt(ArmCore& C, const Op& O); // Rd, Rn, Sub 1: unprivileged

} // namespace Sim
