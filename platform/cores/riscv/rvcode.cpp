// Fetching and decoding of instructions, and what one does to flow and stack pointer, told from its encoding. Only valid
// encodings are classified.
#include "rvplugin.h"

#include "../common/llvmdecode.h"

#include <algorithm>

extern "C" {
void LLVMInitializeRISCVTargetInfo();
void LLVMInitializeRISCVTargetMC();
void LLVMInitializeRISCVDisassembler();
}

namespace {

constexpr LLVM_PROFILE PROFILE{"riscv32-unknown-elf", "generic-rv32", "+m,+a,+c"};
constexpr uint32_t JUMP = CORE_INST_BRANCH | CORE_INST_DIRECT | CORE_INST_TARGET;

constexpr uint32_t OP_IMM = 0x13;
constexpr uint32_t OP_STORE = 0x23;
constexpr uint32_t OP_BRANCH = 0x63;
constexpr uint32_t OP_JALR = 0x67;
constexpr uint32_t OP_JAL = 0x6F;
constexpr uint32_t OP_SYSTEM = 0x73;
constexpr uint32_t INST_ECALL = 0x00000073;
constexpr uint32_t INST_EBREAK = 0x00100073;
constexpr uint32_t INST_SRET = 0x10200073;
constexpr uint32_t INST_MRET = 0x30200073;
constexpr uint32_t INST_C_EBREAK = 0x9002;
constexpr uint32_t INST_UNIMP = 0xC0001073;
constexpr uint32_t INST_C_UNIMP = 0; // always a trap, so that a run into empty memory is one

uint32_t Bits(uint32_t Value, int Low, int NumBits) {
    return (Value >> Low) & ((1u << NumBits) - 1);
}

int32_t SignExtend(uint32_t Value, int NumBits) {
    const uint32_t Sign = 1u << (NumBits - 1);
    return static_cast<int32_t>((Value ^ Sign) - Sign);
}

bool IsLink(uint32_t Reg) {
    return Reg == RV_REG_RA || Reg == RV_REG_T0;
}

void SetJump(const RV_INST& Inst, uint32_t Flags, int32_t Offset, CORE_INST_INFO* pInfo) {
    pInfo->Flags |= JUMP | Flags;
    pInfo->BranchTarget = static_cast<uint32_t>(Inst.Addr + static_cast<uint32_t>(Offset));
}

/// A jump to the address in a register: a call if it sets a link register, a return if it uses one and sets none.
void SetRegJump(uint32_t Dest, uint32_t Base, CORE_INST_INFO* pInfo) {
    pInfo->Flags |= CORE_INST_BRANCH;
    if (Dest != RV_REG_ZERO) pInfo->Flags |= CORE_INST_CALL;
    else if (IsLink(Base)) pInfo->Flags |= CORE_INST_RETURN;
}

void ClassifyWord(const RV_INST& Inst, CORE_INST_INFO* pInfo) {
    const uint32_t w = Inst.Bits;
    const uint32_t Dest = Bits(w, 7, 5);
    const uint32_t Source = Bits(w, 15, 5);
    switch (w & 0x7F) {
    case OP_JAL: {
        const uint32_t Offset = (Bits(w, 31, 1) << 20) | (Bits(w, 12, 8) << 12) | (Bits(w, 20, 1) << 11) | (Bits(w, 21, 10) << 1);
        SetJump(Inst, Dest == RV_REG_ZERO ? 0u : CORE_INST_CALL, SignExtend(Offset, 21), pInfo);
        break;
    }
    case OP_JALR: SetRegJump(Dest, Source, pInfo); break;
    case OP_BRANCH: {
        const uint32_t Offset = (Bits(w, 31, 1) << 12) | (Bits(w, 7, 1) << 11) | (Bits(w, 25, 6) << 5) | (Bits(w, 8, 4) << 1);
        SetJump(Inst, CORE_INST_CONDITIONAL, SignExtend(Offset, 13), pInfo);
        break;
    }
    case OP_IMM:
        if (Bits(w, 12, 3) == 0 && Dest == RV_REG_SP && Source == RV_REG_SP) pInfo->SPChange = SignExtend(Bits(w, 20, 12), 12);
        break;
    case OP_SYSTEM:
        if (w == INST_ECALL || w == INST_UNIMP) pInfo->Flags |= CORE_INST_FLOW_OTHER;
        if (w == INST_EBREAK) pInfo->Flags |= CORE_INST_SKIP_ON_RESUME;
        if (w == INST_MRET || w == INST_SRET) pInfo->Flags |= CORE_INST_BRANCH | CORE_INST_RETURN;
        break;
    default: break;
    }
}

/// Offset of C.J and C.JAL.
int32_t GetShortJump(uint32_t h) {
    const uint32_t Offset = (Bits(h, 12, 1) << 11) | (Bits(h, 8, 1) << 10) | (Bits(h, 9, 2) << 8) | (Bits(h, 6, 1) << 7) |
                            (Bits(h, 7, 1) << 6) | (Bits(h, 2, 1) << 5) | (Bits(h, 11, 1) << 4) | (Bits(h, 3, 3) << 1);
    return SignExtend(Offset, 12);
}

/// Offset of C.BEQZ and C.BNEZ.
int32_t GetShortBranch(uint32_t h) {
    const uint32_t Offset = (Bits(h, 12, 1) << 8) | (Bits(h, 5, 2) << 6) | (Bits(h, 2, 1) << 5) | (Bits(h, 10, 2) << 3) |
                            (Bits(h, 3, 2) << 1);
    return SignExtend(Offset, 9);
}

/// Immediate of C.ADDI16SP.
int32_t GetStackStep(uint32_t h) {
    const uint32_t Value = (Bits(h, 12, 1) << 9) | (Bits(h, 3, 2) << 7) | (Bits(h, 5, 1) << 6) | (Bits(h, 2, 1) << 5) |
                           (Bits(h, 6, 1) << 4);
    return SignExtend(Value, 10);
}

void ClassifyHalfWord(const RV_INST& Inst, CORE_INST_INFO* pInfo) {
    const uint32_t h = Inst.Bits;
    const uint32_t Reg = Bits(h, 7, 5);
    if (h == INST_C_UNIMP) pInfo->Flags |= CORE_INST_FLOW_OTHER;
    switch (((h & 3) << 3) | Bits(h, 13, 3)) { // quadrant, operation
    case 0b01'000: // C.ADDI
        if (Reg == RV_REG_SP) pInfo->SPChange = SignExtend((Bits(h, 12, 1) << 5) | Bits(h, 2, 5), 6);
        break;
    case 0b01'001: SetJump(Inst, CORE_INST_CALL, GetShortJump(h), pInfo); break;
    case 0b01'011:
        if (Reg == RV_REG_SP) pInfo->SPChange = GetStackStep(h);
        break;
    case 0b01'101: SetJump(Inst, 0, GetShortJump(h), pInfo); break;
    case 0b01'110:
    case 0b01'111: SetJump(Inst, CORE_INST_CONDITIONAL, GetShortBranch(h), pInfo); break;
    case 0b10'100: // C.JR, C.JALR, C.EBREAK, C.MV and C.ADD
        if (h == INST_C_EBREAK) pInfo->Flags |= CORE_INST_SKIP_ON_RESUME;
        else if (Bits(h, 2, 5) == 0) SetRegJump(Bits(h, 12, 1) ? RV_REG_RA : RV_REG_ZERO, Reg, pInfo);
        break;
    default: break;
    }
}

} // namespace

void LLVMDEC_InitTargets() {
    LLVMInitializeRISCVTargetInfo();
    LLVMInitializeRISCVTargetMC();
    LLVMInitializeRISCVDisassembler();
}

int RV_ReadMem(uint32_t Addr, uint32_t Size, void* pBuffer) {
    const CORE_DEBUGGER_API& Debugger = RV_GetDebugger();
    return Debugger.pfReadMem ? Debugger.pfReadMem(Addr, Size, pBuffer) : -1;
}

int RV_ReadU32(uint32_t Addr, uint32_t* pValue) {
    uint8_t ab[4];
    if (RV_ReadMem(Addr, 4, ab) != 0) return -1;
    *pValue = ab[0] | (ab[1] << 8) | (ab[2] << 16) | (static_cast<uint32_t>(ab[3]) << 24);
    return 0;
}

int RV_Fetch(uint64_t Addr, RV_INST* pInst) {
    if (Addr > 0xFFFFFFFEu || (Addr & 1)) return -1;
    uint8_t ab[4] = {};
    const uint32_t Addr32 = static_cast<uint32_t>(Addr);
    if (RV_ReadMem(Addr32, 2, ab) != 0) return -1;
    pInst->Addr = Addr32;
    pInst->NumBytes = (ab[0] & 3) == 3 ? 4 : 2;
    if ((ab[0] & 0x1F) == 0x1F) return -1; // six bytes and more
    if (pInst->NumBytes == 4 && (Addr32 > 0xFFFFFFFCu || RV_ReadMem(Addr32 + 2, 2, ab + 2) != 0)) return -1;
    pInst->Bits = ab[0] | (ab[1] << 8) | (ab[2] << 16) | (static_cast<uint32_t>(ab[3]) << 24);
    return 0;
}

int RV_Decode(const RV_INST& Inst, char* sText, uint32_t Size) {
    const uint8_t ab[4] = {static_cast<uint8_t>(Inst.Bits), static_cast<uint8_t>(Inst.Bits >> 8),
                           static_cast<uint8_t>(Inst.Bits >> 16), static_cast<uint8_t>(Inst.Bits >> 24)};
    return LLVMDEC_Decode(PROFILE, Inst.Addr, ab, Inst.NumBytes, nullptr, 0, sText, Size);
}

void RV_Classify(const RV_INST& Inst, CORE_INST_INFO* pInfo) {
    *pInfo = CORE_INST_INFO{};
    pInfo->Length = static_cast<int32_t>(Inst.NumBytes);
    pInfo->Class = Inst.NumBytes == 2 ? CORE_INST_CLASS_SECOND : CORE_INST_CLASS_FIRST;
    if (Inst.NumBytes == 2) ClassifyHalfWord(Inst, pInfo);
    else ClassifyWord(Inst, pInfo);
}

bool RV_GetSaveOfRA(const RV_INST& Inst, int32_t* pOffset) {
    const uint32_t b = Inst.Bits;
    if (Inst.NumBytes == 2) { // C.SWSP
        if ((b & 0xE003) != 0xC002 || Bits(b, 2, 5) != RV_REG_RA) return false;
        *pOffset = static_cast<int32_t>((Bits(b, 9, 4) << 2) | (Bits(b, 7, 2) << 6));
        return true;
    }
    if ((b & 0x707F) != (0x2000 | OP_STORE) || Bits(b, 15, 5) != RV_REG_SP || Bits(b, 20, 5) != RV_REG_RA) return false;
    *pOffset = SignExtend((Bits(b, 25, 7) << 5) | Bits(b, 7, 5), 12);
    return true;
}

int RV_AnalyzeInst(uint64_t Addr, CORE_INST_INFO* pInfo) {
    if (!pInfo) return -1;
    *pInfo = CORE_INST_INFO{};
    RV_INST Inst;
    if (RV_Fetch(Addr, &Inst) != 0 || RV_Decode(Inst, nullptr, 0) <= 0) return -1;
    RV_Classify(Inst, pInfo);
    return 0;
}
