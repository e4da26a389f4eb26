// Registers through the probe library, reset values, semihosting, and frames without call frame information.
#include "rvplugin.h"

#include "../common/coretext.h"
#include "platform/probe/bryllo.h"

namespace {

constexpr uint32_t NO_REG = 0xFFFFFFFFu;
constexpr uint32_t MAX_PROLOGUE_INSTS = 32;

// A request is a breakpoint between two instructions that do nothing; all three are words.
constexpr uint32_t SEMIHOST_BEFORE = 0x01F01013; // slli zero, zero, 31
constexpr uint32_t SEMIHOST_BREAK = 0x00100073;  // ebreak
constexpr uint32_t SEMIHOST_BEHIND = 0x40705013; // srai zero, zero, 7

bool IsRequest(uint32_t Addr) {
    uint32_t aWord[3] = {};
    for (uint32_t i = 0; i < 3; i++) {
        if (RV_ReadU32(Addr - 4 + 4 * i, &aWord[i]) != 0) return false;
    }
    return aWord[0] == SEMIHOST_BEFORE && aWord[1] == SEMIHOST_BREAK && aWord[2] == SEMIHOST_BEHIND;
}

bool GetReg(const CORE_REG_SET& Regs, uint32_t Reg, uint32_t* pValue) {
    if (Reg >= Regs.NumRegs || Regs.paStatus[Reg]) return false;
    *pValue = static_cast<uint32_t>(Regs.paValue[Reg]);
    return true;
}

/// Start of the function at PC; false if nobody knows it.
bool GetFuncStart(const CORE_REG_SET& Regs, uint32_t PC, uint32_t* pStart) {
    const CORE_DEBUGGER_API& Debugger = RV_GetDebugger();
    uint64_t Start = Regs.FuncLow;
    uint64_t End = Regs.FuncHigh;
    const char* sName = nullptr;
    const bool IsKnown = Start < 0xFFFFFFFFu && Start <= PC && PC < End;
    if (!IsKnown && (!Debugger.pfGetLabel || Debugger.pfGetLabel(PC, &sName, &Start, &End) < 0 || Start > PC || PC >= End)) return false;
    *pStart = static_cast<uint32_t>(Start);
    return true;
}

void SetRule(CORE_UNWIND_REQUEST* pRequest, uint32_t Reg, uint32_t Type, uint32_t Address, int32_t Offset, uint32_t Base) {
    CORE_LOC& Rule = pRequest->paRule[Reg];
    Rule = CORE_LOC{};
    Rule.NumParts = 1;
    Rule.aPart[0].Type = Type;
    Rule.aPart[0].Address = Address;
    Rule.aPart[0].Offset = Offset;
    Rule.aPart[0].Register = Base;
}

} // namespace

int RV_WriteReg(uint32_t RegId, uint32_t Size, const uint64_t* pValue) {
    return RegId == RV_REG_ZERO ? -1 : COREREGS_Write(RegId, Size, pValue);
}

uint32_t RV_GetRegIdOfIndex(uint32_t RegIdx) {
    return RegIdx < RV_NUM_REGS ? RegIdx : NO_REG;
}

int RV_GetCPURegFile(int32_t, char* pBuffer, uint32_t Size) {
    return CORETEXT_Copy("RV32IMAC.svd", pBuffer, Size);
}

int RV_SetResetState() {
    const CORE_DEBUGGER_API& Debugger = RV_GetDebugger();
    uint64_t aRange[3];
    if (!Debugger.pfGetProgramRange || Debugger.pfGetProgramRange(aRange) != 0 || aRange[2] > 0xFFFFFFFFu) return -1;
    return COREREGS_WriteWord(RV_REG_PC, static_cast<uint32_t>(aRange[2]) & ~1u); // the start-up code sets SP itself
}

int RV_InitSemihosting(const char*) {
    return 0; // requests are breakpoint instructions, for which the hardware needs no preparation
}

int RV_DeinitSemihosting() {
    return 0;
}

int RV_HandleSemihosting(uint64_t Addr, uint32_t* pOpCode, uint64_t* pParam) {
    uint32_t PC = 0;
    uint32_t Op = 0;
    uint32_t Param = 0;
    if (!pOpCode || !pParam || Addr < 4 || Addr > 0xFFFFFFF8u || !IsRequest(static_cast<uint32_t>(Addr))) return CORE_SEMIHOST_NO;
    // A breakpoint may have been reported for a request that was served there; the PC has gone on since.
    if (COREREGS_ReadWord(RV_REG_PC, &PC) != 0 || PC != Addr) return CORE_SEMIHOST_NO;
    if (COREREGS_ReadWord(RV_REG_A0, &Op) != 0 || COREREGS_ReadWord(RV_REG_A1, &Param) != 0) return CORE_SEMIHOST_NO;
    *pOpCode = Op;
    *pParam = Param;
    return CORE_SEMIHOST_SERVE;
}

int RV_FinishSemihosting(int64_t Result, int64_t) {
    uint32_t PC = 0;
    if (COREREGS_WriteWord(RV_REG_A0, static_cast<uint32_t>(Result)) != 0 || COREREGS_ReadWord(RV_REG_PC, &PC) != 0) return -1;
    // The user may have moved the PC while the request waited for input.
    return PC >= 4 && IsRequest(PC) ? COREREGS_WriteWord(RV_REG_PC, PC + 4) : 0;
}

int RV_GetUnwindRules(const CORE_REG_SET* pRegSet, CORE_UNWIND_REQUEST* pRequest) {
    uint32_t PC = 0;
    uint32_t SP = 0;
    uint32_t Start = 0;
    if (!pRegSet || !pRequest || !pRequest->paRule || pRequest->NumRules <= RV_REG_SP) return -1;
    // The program file describes the frame, and knows better than a guess from the code.
    if (pRegSet->paRule && pRegSet->NumRegs > RV_REG_SP && pRegSet->paRule[RV_REG_SP].NumParts > 0) return -1;
    if (!GetReg(*pRegSet, RV_REG_PC, &PC) || !GetReg(*pRegSet, RV_REG_SP, &SP) || !GetFuncStart(*pRegSet, PC, &Start)) return -1;
    int32_t Depth = 0; // bytes that the prologue has taken up to PC
    int32_t SaveDepth = 0;
    int32_t Offset = 0;
    bool IsSaved = false;
    for (uint32_t Addr = Start, i = 0; Addr < PC && i < MAX_PROLOGUE_INSTS; i++) {
        RV_INST Inst;
        CORE_INST_INFO Info;
        if (RV_Fetch(Addr, &Inst) != 0) return -1;
        RV_Classify(Inst, &Info);
        if ((Info.Flags & CORE_INST_BRANCH) || Info.SPChange > 0) break;
        Depth -= Info.SPChange;
        if (!IsSaved && RV_GetSaveOfRA(Inst, &Offset)) {
            IsSaved = true;
            SaveDepth = Depth;
        }
        Addr += Inst.NumBytes;
    }
    for (uint32_t Reg = 0; Reg < pRequest->NumRules; Reg++) SetRule(pRequest, Reg, CORE_LOC_REG, 0, 0, CORE_RULE_SAME_VALUE);
    SetRule(pRequest, RV_REG_SP, CORE_LOC_SP_PLUS, 0, Depth, 0);
    if (IsSaved) {
        SetRule(pRequest, RV_REG_RA, CORE_LOC_MEM, SP + static_cast<uint32_t>(Depth - SaveDepth + Offset), 0, 0);
    } else {
        SetRule(pRequest, RV_REG_RA, CORE_LOC_REG, 0, 0, RV_REG_RA);
    }
    pRequest->RARegIdx = RV_REG_RA;
    return 0;
}
