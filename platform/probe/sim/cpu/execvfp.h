// Operations of the floating-point handlers.
#pragma once

#include "armexec.h"

namespace Sim {

enum VfpOp : uint8_t {
    kVmla,
    kVmls,
    kVnmls,
    kVnmla,
    kVmul,
    kVnmul,
    kVadd,
    kVsub,
    kVdiv,
    kVfnms,
    kVfnma,
    kVfma,
    kVfms,
    kVmovImm, // Imm: the value
    kVmovReg,
    kVabs,
    kVneg,
    kVsqrt,
    kVcvtFromHalf,
    kVcvtToHalf,    // Aux 1: top half
    kVcmp,          // Aux bit 0: signalling, bit 1: with zero
    kVrint,         // Aux: FpRound, 0x80: FPSCR's mode, 0x100: sets inexact
    kVcvtFromInt,   // Aux 1: signed
    kVcvtToInt,     // Aux: FpRound, 0x80: FPSCR's mode; Imm 1: unsigned
    kVcvtFromFixed, // Imm: fraction bits, Aux: 1 unsigned, 2 16 bit
    kVcvtToFixed,
    kVsel, // Aux: condition
    kVmaxnm,
    kVminnm
};

void OpVfp(ArmCore& C, const Op& O);  // Sub: VfpOp; Rd, Rn, Rm: single registers
void OpVldr(ArmCore& C, const Op& O); // Rd: first single, Aux: number of words; Rn 15: Imm absolute
void OpVstr(ArmCore& C, const Op& O);
void OpVldm(ArmCore& C, const Op& O); // Rd first single, Aux words, Imm kMulti..., Rs words moved in SP/Rn
void OpVstm(ArmCore& C, const Op& O);
void OpVmovCore(ArmCore& C, const Op& O);  // Rd: core, Rn: single; Sub 1: to core
void OpVmovCore2(ArmCore& C, const Op& O); // Rd, Rs: core, Rm: first single; Sub 1: to core
void OpVmrs(ArmCore& C, const Op& O);      // Rd (15: flags)
void OpVmsr(ArmCore& C, const Op& O);
void OpVfpUndef(ArmCore& C, const Op& O); // no such operation: access check, then undefined

} // namespace Sim
