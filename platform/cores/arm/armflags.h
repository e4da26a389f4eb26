// What a Thumb instruction does to flow and stack pointer, told from its encoding.
#pragma once
#include "core/plugin/coreplugin.h"

/// Half words of one instruction.
struct ARM_ENCODING {
    uint16_t First;
    uint16_t Second; ///< 0 for an instruction of one half word
};

/// True if a half word is the first of two.
constexpr bool ARM_IsWide(uint16_t HalfWord) {
    return HalfWord >= 0xE800;
}

/// True for an IT instruction; its low byte is the IT state of the instruction behind it.
constexpr bool ARM_IsIT(uint16_t HalfWord) {
    return (HalfWord & 0xFF00) == 0xBF00 && (HalfWord & 0x000F) != 0;
}

/// State behind the next instruction of an IT block; 0 behind its last.
constexpr uint8_t ARM_AdvanceIT(uint8_t ITState) {
    return (ITState & 0x07) ? static_cast<uint8_t>((ITState & 0xE0) | ((ITState << 1) & 0x1F)) : 0;
}

/// Fills the record of a valid instruction. ITState is that in which it runs, 0 outside of an IT block.
void ARM_Classify(uint32_t Addr, ARM_ENCODING Encoding, uint8_t ITState, CORE_INST_INFO* pInfo);

/// Address of the word that an "LDR Rt, [PC, #imm]" reads; false for any other instruction.
bool ARM_GetLiteralAddr(uint32_t Addr, ARM_ENCODING Encoding, uint32_t* pLiteral);

/// The stack frame offset that the instruction stores each register at, for the prologue analysis: mask of
/// core registers that a PUSH or STMDB SP! stores, lowest register at the lowest address; 0 for any other.
uint32_t ARM_GetPushMask(ARM_ENCODING Encoding);
