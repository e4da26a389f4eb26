// One decoded instruction, as it lies in the decode cache, and the tables that decoding and
// execution share. Decoders (decode*.cpp) fill an Op, handlers (exec*.cpp) execute it.
#pragma once

#include <cstdint>

namespace Sim {

struct ArmCore;
struct Op;
using Handler = void (*)(ArmCore&, const Op&);

// Fields mean what the handler says; PC-relative operands are absolute here because an Op
// belongs to one address.
struct Op {
    Handler Fn = nullptr; // null: not decoded yet
    uint32_t Imm = 0;
    uint8_t Rd = 0, Rn = 0, Rm = 0, Rs = 0;
    uint16_t Aux = 0;   // register list, shift, or carry of an immediate
    uint8_t Len = 2;    // bytes
    uint8_t Cycles = 1; // without the extra cost of a taken branch
    uint8_t Flags = 0;  // kOp...
    uint8_t Sub = 0;    // operation inside a group handler
    uint16_t Wrap = 0;  // ArmCore::Wrapped index of the handler behind OpSpWrapper
};
static_assert(sizeof(Op) == 24, "the decode cache is dense");

enum : uint8_t {
    kOpUnconditional = 1, // executed in an IT block whatever the condition
    kOpCondBranch = 2     // conditional branch: not taken counts as skipped in the trace
};

// Data processing operations in the order of the 32-bit encoding's op field, extended.
enum AluOp : uint8_t {
    kAnd,
    kBic,
    kOrr,
    kOrn,
    kEor,
    kAdd,
    kAdc,
    kSbc,
    kSub,
    kRsb,
    kMov,
    kMvn,
    kTst,
    kTeq,
    kCmn,
    kCmp,
    kNumAluOps
};
enum ShiftType : uint8_t { kLsl, kLsr, kAsr, kRor, kRrx };
enum AluForm : uint8_t {
    kFormImm,   // Imm; Aux: carry out 0, 1, or 2 unchanged
    kFormReg,   // Rm unshifted
    kFormShift, // Rm shifted by Imm (1 to 32), Sub: ShiftType
    kNumAluForms
};

// Loads and stores of one register: kind and the way the address is made.
enum MemKind : uint8_t { kLdr, kLdrb, kLdrh, kLdrsb, kLdrsh, kStr, kStrb, kStrh, kNumMemKinds };
enum MemForm : uint8_t {
    kMemImm,    // Rn + Imm (two's complement)
    kMemPre,    // the same with writeback
    kMemPost,   // Rn, then Rn += Imm
    kMemReg,    // Rn + (Rm << Sub)
    kMemLit,    // Imm, absolute
    kMemUnpriv, // Rn + Imm as unprivileged code
    kNumMemForms
};

} // namespace Sim
