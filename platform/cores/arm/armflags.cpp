// What a Thumb instruction does to flow and stack pointer, told from its encoding. The tables of
// the decoder know neither returns nor stack effects, and their flags differ between
// encodings of one operation, so all of it is decided here, by the encodings of the
// architecture manual. Only valid encodings come in.
#include "armflags.h"

#include <bit>

namespace {

constexpr uint32_t JUMP = CORE_INST_BRANCH | CORE_INST_DIRECT | CORE_INST_TARGET;
constexpr uint32_t REG_SP = 13;
constexpr uint32_t REG_LR = 14;
constexpr uint32_t REG_PC = 15;

int32_t SignExtend(uint32_t Value, int NumBits) {
    const uint32_t Sign = 1u << (NumBits - 1);
    return static_cast<int32_t>((Value ^ Sign) - Sign);
}

uint32_t Bits(uint32_t Value, int Low, int NumBits) {
    return (Value >> Low) & ((1u << NumBits) - 1);
}

/// The modified immediate of a data processing instruction.
uint32_t ExpandImm(ARM_ENCODING E) {
    const uint32_t Imm12 = (Bits(E.First, 10, 1) << 11) | (Bits(E.Second, 12, 3) << 8) | (E.Second & 0xFF);
    const uint32_t Byte = Imm12 & 0xFF;
    switch (Imm12 >> 8) {
    case 0: return Byte;
    case 1: return Byte | (Byte << 16);
    case 2: return (Byte << 8) | (Byte << 24);
    case 3: return Byte * 0x01010101u;
    default: return std::rotr(0x80u | (Imm12 & 0x7F), static_cast<int>(Imm12 >> 7));
    }
}

uint32_t PlainImm12(ARM_ENCODING E) {
    return (Bits(E.First, 10, 1) << 11) | (Bits(E.Second, 12, 3) << 8) | (E.Second & 0xFF);
}

void SetJump(CORE_INST_INFO* pInfo, uint32_t Flags, uint32_t Addr, int32_t Offset) {
    pInfo->Flags |= JUMP | Flags;
    pInfo->BranchTarget = static_cast<uint32_t>(Addr + 4 + static_cast<uint32_t>(Offset));
}

/// Branch to the address in a register: a return if it is the link register.
void SetRegBranch(CORE_INST_INFO* pInfo, uint32_t Reg) {
    pInfo->Flags |= CORE_INST_BRANCH | (Reg == REG_LR ? CORE_INST_RETURN : 0u);
}

void ClassifyNarrow(uint32_t Addr, uint16_t H, CORE_INST_INFO* pInfo) {
    if ((H & 0xF000) == 0xD000) {
        const uint32_t Cond = Bits(H, 8, 4);
        if (Cond >= 14) {
            pInfo->Flags |= CORE_INST_FLOW_OTHER; // UDF, SVC
        } else {
            SetJump(pInfo, CORE_INST_CONDITIONAL, Addr, SignExtend(H & 0xFF, 8) * 2);
        }
    } else if ((H & 0xF800) == 0xE000) {
        SetJump(pInfo, 0, Addr, SignExtend(H & 0x7FF, 11) * 2);
    } else if ((H & 0xF500) == 0xB100) { // CBZ, CBNZ
        const uint32_t Offset = (Bits(H, 9, 1) << 6) | (Bits(H, 3, 5) << 1);
        SetJump(pInfo, CORE_INST_CONDITIONAL, Addr, static_cast<int32_t>(Offset));
    } else if ((H & 0xFF00) == 0x4700) { // BX, BLX, and their non-secure forms
        if (H & 0x80) {
            pInfo->Flags |= CORE_INST_BRANCH | CORE_INST_CALL;
        } else {
            SetRegBranch(pInfo, Bits(H, 3, 4));
        }
    } else if ((H & 0xFF87) == 0x4687) { // MOV PC, Rm
        SetRegBranch(pInfo, Bits(H, 3, 4));
    } else if ((H & 0xFF87) == 0x4487) { // ADD PC, Rm
        pInfo->Flags |= CORE_INST_BRANCH;
    } else if ((H & 0xFE00) == 0xB400) { // PUSH
        pInfo->SPChange = -4 * std::popcount(static_cast<uint32_t>(H & 0x1FF));
    } else if ((H & 0xFE00) == 0xBC00) { // POP
        pInfo->SPChange = 4 * std::popcount(static_cast<uint32_t>(H & 0x1FF));
        if (H & 0x100) pInfo->Flags |= CORE_INST_BRANCH | CORE_INST_RETURN;
    } else if ((H & 0xFF00) == 0xB000) { // ADD and SUB SP, #imm
        pInfo->SPChange = (H & 0x80) ? -4 * (H & 0x7F) : 4 * (H & 0x7F);
    } else if ((H & 0xFF00) == 0xBE00) { // BKPT
        pInfo->Flags |= CORE_INST_SKIP_ON_RESUME;
    } else if (ARM_IsIT(H)) {
        pInfo->Flags |= CORE_INST_PREFIX;
    }
}

/// B.W, BL and what shares their space.
void ClassifyWideBranch(uint32_t Addr, ARM_ENCODING E, CORE_INST_INFO* pInfo) {
    const uint32_t S = Bits(E.First, 10, 1);
    const uint32_t J1 = Bits(E.Second, 13, 1);
    const uint32_t J2 = Bits(E.Second, 11, 1);
    const uint32_t Low = (E.Second & 0x7FF) << 1;
    if (E.Second & 0x1000) { // B.W and BL: 25 bit offset
        const uint32_t I1 = (~(J1 ^ S)) & 1;
        const uint32_t I2 = (~(J2 ^ S)) & 1;
        const uint32_t Offset = (S << 24) | (I1 << 23) | (I2 << 22) | (Bits(E.First, 0, 10) << 12) | Low;
        SetJump(pInfo, (E.Second & 0x4000) ? CORE_INST_CALL : 0u, Addr, SignExtend(Offset, 25));
    } else if ((E.Second & 0x4000) == 0) {
        if (Bits(E.First, 6, 4) < 14) {
            const uint32_t Offset = (S << 20) | (J2 << 19) | (J1 << 18) | (Bits(E.First, 0, 6) << 12) | Low;
            SetJump(pInfo, CORE_INST_CONDITIONAL, Addr, SignExtend(Offset, 21));
        } else if ((E.First & 0xFFF0) == 0xF7F0 && (E.Second & 0xF000) == 0xA000) {
            pInfo->Flags |= CORE_INST_FLOW_OTHER; // UDF.W
        }
    }
}

void SetWordBranch(CORE_INST_INFO* pInfo, uint32_t Base) {
    pInfo->Flags |= CORE_INST_BRANCH | (Base == REG_SP ? CORE_INST_RETURN : 0u);
}

/// LDR and STR of one word with an 8 bit offset that is written back to the base.
int32_t GetIndexedChange(ARM_ENCODING E) {
    const bool IsIndexed = (E.Second & 0x0800) && (E.Second & 0x0100); // bit 11 form, W
    if (!IsIndexed || Bits(E.First, 0, 4) != REG_SP) return 0;
    const int32_t Offset = E.Second & 0xFF;
    return (E.Second & 0x0200) ? Offset : -Offset;
}

void ClassifyWideMemory(ARM_ENCODING E, CORE_INST_INFO* pInfo) {
    const uint32_t Base = Bits(E.First, 0, 4);
    if ((E.First & 0xFE40) == 0xE800) { // LDM, STM
        const bool IsLoad = E.First & 0x10;
        if (Base == REG_SP && (E.First & 0x20)) {
            const int32_t Change = 4 * std::popcount(static_cast<uint32_t>(E.Second));
            pInfo->SPChange = (E.First & 0x80) ? Change : -Change;
        }
        if (IsLoad && (E.Second & 0x8000)) pInfo->Flags |= CORE_INST_BRANCH | CORE_INST_RETURN;
    } else if ((E.First & 0xFFF0) == 0xE8D0 && (E.Second & 0xFFE0) == 0xF000) { // TBB, TBH
        pInfo->Flags |= CORE_INST_BRANCH;
    } else if ((E.First & 0xFE40) == 0xE840) { // LDRD, STRD; without write-back: exclusives and others
        if (Base == REG_SP && (E.First & 0x20)) {
            const int32_t Offset = 4 * (E.Second & 0xFF);
            pInfo->SPChange = (E.First & 0x80) ? Offset : -Offset;
        }
    } else if ((E.First & 0xFF70) == 0xF850) { // LDR word
        pInfo->SPChange = (E.First & 0x80) ? 0 : GetIndexedChange(E);
        if (Bits(E.Second, 12, 4) == REG_PC) SetWordBranch(pInfo, Base);
    } else if ((E.First & 0xFFF0) == 0xF840) { // STR word
        pInfo->SPChange = GetIndexedChange(E);
    }
}

/// VPUSH and VPOP, and the same as VSTMDB SP! and VLDMIA SP!.
int32_t GetVectorChange(ARM_ENCODING E) {
    if ((E.Second & 0x0E00) != 0x0A00) return 0;
    if ((E.First & 0xFFBF) == 0xED2D) return -4 * (E.Second & 0xFF);
    if ((E.First & 0xFFBF) == 0xECBD) return 4 * (E.Second & 0xFF);
    return 0;
}

/// ADD and SUB of an immediate with SP as source and destination.
int32_t GetImmChange(ARM_ENCODING E) {
    if ((E.Second & 0x8F00) != (REG_SP << 8)) return 0;
    switch (E.First & 0xFBEF) {
    case 0xF10D: return static_cast<int32_t>(ExpandImm(E));
    case 0xF1AD: return -static_cast<int32_t>(ExpandImm(E));
    case 0xF20D: return static_cast<int32_t>(PlainImm12(E));
    case 0xF2AD: return -static_cast<int32_t>(PlainImm12(E));
    default: return 0;
    }
}

void ClassifyWide(uint32_t Addr, ARM_ENCODING E, CORE_INST_INFO* pInfo) {
    if ((E.First & 0xF800) == 0xF000) {
        if (E.Second & 0x8000) {
            ClassifyWideBranch(Addr, E, pInfo);
        } else {
            pInfo->SPChange = GetImmChange(E);
        }
    } else if ((E.First & 0xEC00) == 0xEC00) {
        pInfo->SPChange = GetVectorChange(E);
    } else {
        ClassifyWideMemory(E, pInfo);
    }
}

} // namespace

bool ARM_GetLiteralAddr(uint32_t Addr, ARM_ENCODING E, uint32_t* pLiteral) {
    const uint32_t Base = (Addr + 4) & ~3u;
    if ((E.First & 0xF800) == 0x4800) {
        *pLiteral = Base + (E.First & 0xFF) * 4u;
        return true;
    }
    if ((E.First & 0xFF7F) == 0xF85F) {
        const uint32_t Offset = E.Second & 0xFFF;
        *pLiteral = (E.First & 0x80) ? Base + Offset : Base - Offset;
        return true;
    }
    return false;
}

uint32_t ARM_GetPushMask(ARM_ENCODING E) {
    if ((E.First & 0xFE00) == 0xB400) return (E.First & 0xFFu) | ((E.First & 0x100u) ? 1u << REG_LR : 0u);
    if (E.First == 0xE92D) return E.Second & 0x5FFFu;
    if (E.First == 0xF84D && (E.Second & 0x0FFF) == 0x0D04) return 1u << (E.Second >> 12); // STR Rt, [SP, #-4]!
    return 0;
}

void ARM_Classify(uint32_t Addr, ARM_ENCODING Encoding, uint8_t ITState, CORE_INST_INFO* pInfo) {
    *pInfo = CORE_INST_INFO{};
    pInfo->Class = CORE_INST_CLASS_SECOND; // all of an M profile core's code is Thumb
    const bool IsWide = ARM_IsWide(Encoding.First);
    pInfo->Length = IsWide ? 4 : 2;
    if (IsWide) {
        ClassifyWide(Addr, Encoding, pInfo);
    } else {
        ClassifyNarrow(Addr, Encoding.First, pInfo);
    }
    uint32_t Literal = 0;
    if (ARM_GetLiteralAddr(Addr, Encoding, &Literal)) {
        pInfo->Flags |= CORE_INST_INDIRECT_MEM;
        pInfo->BranchTarget = Literal;
    }
    // BKPT runs whatever the condition of its IT block is.
    const bool IsBreakpoint = (Encoding.First & 0xFF00) == 0xBE00;
    if ((ITState & 0x0F) && !IsBreakpoint) pInfo->Flags |= CORE_INST_CONDITIONAL;
}
