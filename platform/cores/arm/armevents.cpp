// What the plug-in does at events of the session: reset values of PC and SP, and semihosting
// by breakpoint instructions.
#include "armplugin.h"

#include "platform/probe/bryllo.h"


namespace {

constexpr uint16_t SEMIHOSTING_BKPT = 0xBEAB;
constexpr uint32_t EPSR_THUMB = 1u << 24;
constexpr uint32_t EVENT_AFTER_RESET = 4;
constexpr uint32_t EVENT_AFTER_DOWNLOAD = 11;

/// Load address of the program and its entry point; false without a program.
bool GetProgram(uint32_t* pBase, uint64_t* pEntry) {
    const CORE_DEBUGGER_API& Debugger = ARM_GetDebugger();
    uint64_t aRange[3];
    if (!Debugger.pfGetProgramRange || Debugger.pfGetProgramRange(aRange) != 0 || aRange[1] > 0xFFFFFFFFu) return false;
    // A program may have parts that run at lower addresses than those it is loaded to; the vector table is where
    // the loaded image begins.
    *pBase = static_cast<uint32_t>(aRange[1]);
    *pEntry = aRange[2];
    return true;
}

} // namespace

int ARM_SetResetState() {
    uint32_t Base = 0;
    uint64_t Entry = 0;
    uint32_t SP = 0;
    uint32_t PC = 0;
    if (!GetProgram(&Base, &Entry)) return -1;
    const bool HasVectors = ARM_ReadU32(Base, &SP) == 0 && ARM_ReadU32(Base + 4, &PC) == 0 && (PC & 1) && (SP & 3) == 0 && SP != 0;
    if (!HasVectors) {
        if (Entry > 0xFFFFFFFFu) return -1;
        PC = static_cast<uint32_t>(Entry);
    } else if (COREREGS_WriteWord(BRYLLO_REG_SP, SP) != 0) {
        return -1;
    }
    uint32_t PSR = 0;
    if (COREREGS_ReadWord(BRYLLO_REG_XPSR, &PSR) == 0 && !(PSR & EPSR_THUMB)) {
        COREREGS_WriteWord(BRYLLO_REG_XPSR, PSR | EPSR_THUMB); // left clear by a reset from empty flash
    }
    return COREREGS_WriteWord(BRYLLO_REG_PC, PC & ~1u);
}

int ARM_InitSemihosting(const char*) {
    return 0; // requests are breakpoint instructions, for which the hardware needs no preparation
}

int ARM_DeinitSemihosting() {
    return 0;
}

int ARM_HandleSemihosting(uint64_t Addr, uint32_t* pOpCode, uint64_t* pParam) {
    uint16_t HalfWord = 0;
    uint32_t PC = 0;
    uint32_t R0 = 0;
    uint32_t R1 = 0;
    if (!pOpCode || !pParam || Addr > 0xFFFFFFFEu) return CORE_SEMIHOST_NO;
    if (ARM_ReadU16(static_cast<uint32_t>(Addr) & ~1u, &HalfWord) != 0 || HalfWord != SEMIHOSTING_BKPT) return CORE_SEMIHOST_NO;
    // A breakpoint may have been reported for a request that was served there; the PC has gone on since.
    if (COREREGS_ReadWord(BRYLLO_REG_PC, &PC) != 0 || ((PC ^ static_cast<uint32_t>(Addr)) & ~1u) != 0) return CORE_SEMIHOST_NO;
    if (COREREGS_ReadWord(BRYLLO_REG_R0, &R0) != 0 || COREREGS_ReadWord(BRYLLO_REG_R0 + 1, &R1) != 0) return CORE_SEMIHOST_NO;
    *pOpCode = R0;
    *pParam = R1;
    return CORE_SEMIHOST_SERVE;
}

int ARM_FinishSemihosting(int64_t Result, int64_t) {
    uint32_t PC = 0;
    uint16_t HalfWord = 0;
    if (COREREGS_WriteWord(BRYLLO_REG_R0, static_cast<uint32_t>(Result)) != 0) return -1;
    if (COREREGS_ReadWord(BRYLLO_REG_PC, &PC) != 0) return -1;
    // The user may have moved the PC while the request waited for input.
    if (ARM_ReadU16(PC & ~1u, &HalfWord) != 0 || HalfWord != SEMIHOSTING_BKPT) return 0;
    return COREREGS_WriteWord(BRYLLO_REG_PC, (PC & ~1u) + 2);
}

int ARM_GetEventBody(uint32_t EventId, char* pBuffer, uint32_t Size) {
    if (EventId != EVENT_AFTER_RESET && EventId != EVENT_AFTER_DOWNLOAD) return -1;
    // A core that was reset out of empty flash has lost its Thumb bit; without it the first instruction faults.
    static constexpr const char* sBody =
        "  unsigned int SP;\n"
        "  unsigned int PC;\n"
        "  unsigned int VectorTableAddr;\n"
        "\n"
        "  VectorTableAddr = Elf.GetBaseAddr();\n"
        "  if (VectorTableAddr != 0xFFFFFFFF) {\n"
        "    SP = Target.ReadU32(VectorTableAddr);\n"
        "    Target.SetReg(\"SP\", SP);\n"
        "    PC = Target.ReadU32(VectorTableAddr + 4);\n"
        "    Target.SetReg(\"PC\", PC);\n"
        "    Target.SetReg(\"XPSR\", 0x01000000);\n"
        "  }\n";
    return ARM_CopyText(sBody, pBuffer, Size);
}
