// Unwinding of what no compiler describes: the frame that the core stacks on an exception, and
// functions without call frame information.
//
// A handler is a plain function whose return address is an EXC_RETURN value. So the return
// address of every frame is looked at first: if it is such a value, the frame's caller is the
// interrupted code, and its registers lie in the stacked frame.
#include "armplugin.h"
#include "armprologue.h"

#include "platform/probe/bryllo.h"

#include <string>

namespace {

constexpr uint32_t REG_SP = 13;
constexpr uint32_t REG_LR = 14;
constexpr uint32_t REG_PC = 15;
constexpr uint32_t REG_XPSR = 16;

// EXC_RETURN bits.
constexpr uint32_t EXC_PROCESS_STACK = 1u << 2;
constexpr uint32_t EXC_STANDARD_FRAME = 1u << 4; // no FPU state stacked
constexpr uint32_t EXC_DEFAULT_STACKING = 1u << 5;
constexpr uint32_t EXC_SECURE_STACK = 1u << 6;

constexpr uint32_t BASIC_FRAME_SIZE = 0x20;
constexpr uint32_t FPU_FRAME_SIZE = 0x68;
constexpr uint32_t CALLEE_FRAME_SIZE = 0x28; // integrity signature, a reserved word, R4 to R11
constexpr uint32_t PSR_ALIGNED = 1u << 9;    // a word was left out to align the stack to 8 bytes

constexpr uint32_t VTOR_ADDR = 0xE000ED08;
constexpr uint32_t MAX_VECTORS = 496;

constexpr const char* asException[16] = {nullptr,      "Reset", "NMI",     "HardFault", "MemManage", "BusFault",
                                         "UsageFault", "SecureFault", nullptr, nullptr, nullptr, "SVCall",
                                         "DebugMonitor", nullptr, "PendSV", "SysTick"};

bool IsExcReturn(uint32_t Value) {
    if (ARM_GetKind().Profile == ARM_PROFILE_V8M_MAIN) return Value >= 0xFFFFFF80u && Value != 0xFFFFFFFFu;
    switch (Value) {
    case 0xFFFFFFF1u:
    case 0xFFFFFFF9u:
    case 0xFFFFFFFDu:
    case 0xFFFFFFE1u:
    case 0xFFFFFFE9u:
    case 0xFFFFFFEDu: return true;
    default: return false;
    }
}

bool GetReg(const CORE_REG_SET* pRegSet, uint32_t Reg, uint32_t* pValue) {
    if (!pRegSet || Reg >= pRegSet->NumRegs || !pRegSet->paValue || !pRegSet->paStatus || pRegSet->paStatus[Reg]) return false;
    *pValue = static_cast<uint32_t>(pRegSet->paValue[Reg]);
    return true;
}

/// Start of the function at the frame's PC; false if it isn't known.
bool GetFuncStart(const CORE_REG_SET* pRegSet, uint32_t PC, uint32_t* pStart) {
    if (pRegSet->FuncLow <= PC && PC < pRegSet->FuncHigh && pRegSet->FuncLow < 0xFFFFFFFFu) {
        *pStart = static_cast<uint32_t>(pRegSet->FuncLow) & ~1u;
        return true;
    }
    const CORE_DEBUGGER_API& Debugger = ARM_GetDebugger();
    const char* sName = nullptr;
    uint64_t Start = 0;
    uint64_t End = 0;
    if (!Debugger.pfGetLabel || Debugger.pfGetLabel(PC, &sName, &Start, &End) < 0 || Start > PC || PC >= End) return false;
    *pStart = static_cast<uint32_t>(Start) & ~1u;
    return true;
}

struct FRAME_STATE {
    uint32_t PC;
    uint32_t SP;
    ARM_FRAME Frame;
};

/// PC, SP and prologue of a frame; a frame whose function isn't known counts as one without prologue.
bool GetFrameState(const CORE_REG_SET* pRegSet, FRAME_STATE* pState) {
    pState->Frame = ARM_FRAME{};
    if (!GetReg(pRegSet, REG_PC, &pState->PC) || !GetReg(pRegSet, REG_SP, &pState->SP)) return false;
    pState->PC &= ~1u;
    uint32_t Start = 0;
    return GetFuncStart(pRegSet, pState->PC, &Start) && ARM_AnalyzePrologue(Start, pState->PC, &pState->Frame) == 0;
}

/// The value that the function will return to. Only the innermost frame has it in LR.
bool GetReturnValue(const CORE_REG_SET* pRegSet, const FRAME_STATE& State, uint32_t* pValue) {
    if (State.Frame.SavedMask & (1u << REG_LR)) {
        const uint32_t Addr = State.SP + static_cast<uint32_t>(State.Frame.CFAOffset + State.Frame.aSavedOffset[REG_LR]);
        return ARM_ReadU32(Addr, pValue) == 0;
    }
    return GetReg(pRegSet, REG_LR, pValue);
}

void SetRule(const CORE_UNWIND_REQUEST* pRequest, uint32_t Reg, uint32_t Type, uint32_t Address, int32_t Offset, uint32_t Base) {
    if (Reg >= pRequest->NumRules) return;
    CORE_LOC& Rule = pRequest->paRule[Reg];
    Rule = CORE_LOC{};
    Rule.NumParts = 1;
    Rule.aPart[0].Type = Type;
    Rule.aPart[0].Address = Address;
    Rule.aPart[0].Offset = Offset;
    Rule.aPart[0].Register = Base;
}

void SetConstRule(const CORE_UNWIND_REQUEST* pRequest, uint32_t Reg, uint32_t Value) {
    SetRule(pRequest, Reg, CORE_LOC_CONST, 0, 0, 0);
    if (Reg < pRequest->NumRules) pRequest->paRule[Reg].aPart[0].Value = Value;
}

void SetMemRule(const CORE_UNWIND_REQUEST* pRequest, uint32_t Reg, uint32_t Address) {
    SetRule(pRequest, Reg, CORE_LOC_MEM, Address, 0, 0);
}

/// Every register keeps its value, but for those that the prologue saved.
void SetSavedRules(const CORE_UNWIND_REQUEST* pRequest, const FRAME_STATE& State) {
    const uint32_t CFA = State.SP + static_cast<uint32_t>(State.Frame.CFAOffset);
    for (uint32_t Reg = 0; Reg < pRequest->NumRules; Reg++) {
        SetRule(pRequest, Reg, CORE_LOC_REG, 0, 0, CORE_RULE_SAME_VALUE);
        if (Reg < 16 && (State.Frame.SavedMask & (1u << Reg))) {
            SetMemRule(pRequest, Reg, CFA + static_cast<uint32_t>(State.Frame.aSavedOffset[Reg]));
        }
    }
}

/// Address of the stacked frame: on the handler's own stack, or on the process stack.
bool GetStackedFrame(const FRAME_STATE& State, uint32_t ExcReturn, uint32_t* pBase) {
    *pBase = State.SP + static_cast<uint32_t>(State.Frame.CFAOffset);
    if (ExcReturn & EXC_PROCESS_STACK) return COREREGS_ReadWord(BRYLLO_REG_PSP, pBase) == 0;
    return true;
}

int SetExceptionRules(const FRAME_STATE& State, uint32_t ExcReturn, CORE_UNWIND_REQUEST* pRequest) {
    uint32_t Base = 0;
    uint32_t PSR = 0;
    if (pRequest->NumRules <= REG_PC || !GetStackedFrame(State, ExcReturn, &Base)) return -1;
    SetSavedRules(pRequest, State);
    const bool IsV8M = ARM_GetKind().Profile == ARM_PROFILE_V8M_MAIN;
    if (IsV8M && !(ExcReturn & EXC_DEFAULT_STACKING) && (ExcReturn & EXC_SECURE_STACK)) {
        for (uint32_t i = 0; i < 8; i++) SetMemRule(pRequest, 4 + i, Base + 8 + 4 * i);
        Base += CALLEE_FRAME_SIZE;
    }
    if (ARM_ReadU32(Base + 0x1C, &PSR) != 0) return -1;
    uint32_t Size = (ExcReturn & EXC_STANDARD_FRAME) ? BASIC_FRAME_SIZE : FPU_FRAME_SIZE;
    if (PSR & PSR_ALIGNED) Size += 4;
    for (uint32_t i = 0; i < 4; i++) SetMemRule(pRequest, i, Base + 4 * i);
    SetMemRule(pRequest, 12, Base + 0x10);
    SetMemRule(pRequest, REG_LR, Base + 0x14);
    SetMemRule(pRequest, REG_PC, Base + 0x18);
    SetMemRule(pRequest, REG_XPSR, Base + 0x1C);
    SetConstRule(pRequest, REG_SP, Base + Size);
    // The interrupted code's LR is still in use, so the return address has a column of its own.
    pRequest->RARegIdx = REG_PC;
    return 0;
}

int SetPrologueRules(const FRAME_STATE& State, CORE_UNWIND_REQUEST* pRequest) {
    if (pRequest->NumRules <= REG_PC) return -1;
    SetSavedRules(pRequest, State);
    SetRule(pRequest, REG_SP, CORE_LOC_SP_PLUS, 0, State.Frame.CFAOffset, 0);
    if (!(State.Frame.SavedMask & (1u << REG_LR))) SetRule(pRequest, REG_LR, CORE_LOC_REG, 0, 0, REG_LR);
    pRequest->RARegIdx = REG_LR;
    return 0;
}

/// The program file describes the frame, and knows better than a guess from the code.
bool HasFrameInfo(const CORE_REG_SET* pRegSet) {
    return pRegSet->paRule && pRegSet->NumRegs > REG_SP && pRegSet->paRule[REG_SP].NumParts > 0;
}

/// Number of the exception that a handler serves: from the PSR of the innermost frame, else by the
/// vector table. 0 if it can't be told.
uint32_t FindException(const CORE_REG_SET* pRegSet, uint32_t PC) {
    uint32_t Value = 0;
    if (GetReg(pRegSet, REG_XPSR, &Value) && (Value & 0x1FF)) return Value & 0x1FF;
    uint32_t Start = 0;
    uint32_t Table = 0;
    if (!GetFuncStart(pRegSet, PC, &Start)) return 0;
    if (ARM_ReadU32(VTOR_ADDR, &Table) != 0) Table = 0;
    for (uint32_t i = 1; i < MAX_VECTORS; i++) {
        if (ARM_ReadU32(Table + 4 * i, &Value) != 0) return 0;
        if ((Value & ~1u) == Start) return i;
    }
    return 0;
}

std::string GetExceptionText(uint32_t Number) {
    if (Number >= 16) return "IRQ" + std::to_string(Number - 16);
    if (asException[Number]) return asException[Number];
    return "Exception";
}

} // namespace

int ARM_GetUnwindRules(const CORE_REG_SET* pRegSet, CORE_UNWIND_REQUEST* pRequest) {
    if (!pRegSet || !pRequest || !pRequest->paRule) return -1;
    FRAME_STATE State;
    const bool IsKnown = GetFrameState(pRegSet, &State);
    uint32_t ReturnValue = 0;
    if (IsKnown && GetReturnValue(pRegSet, State, &ReturnValue) && IsExcReturn(ReturnValue)) {
        return SetExceptionRules(State, ReturnValue, pRequest);
    }
    return IsKnown && !HasFrameInfo(pRegSet) ? SetPrologueRules(State, pRequest) : -1;
}

int ARM_GetFrameName(const CORE_REG_SET* pRegSet, char* pBuffer, uint32_t Size) {
    FRAME_STATE State;
    uint32_t ReturnValue = 0;
    if (!pBuffer || Size == 0 || !GetFrameState(pRegSet, &State)) return -1;
    if (!GetReturnValue(pRegSet, State, &ReturnValue) || !IsExcReturn(ReturnValue)) return -1;
    const CORE_DEBUGGER_API& Debugger = ARM_GetDebugger();
    const char* sName = nullptr;
    uint64_t Start = 0;
    uint64_t End = 0;
    std::string sText = "<" + GetExceptionText(FindException(pRegSet, State.PC)) + ">";
    if (Debugger.pfGetLabel && Debugger.pfGetLabel(State.PC, &sName, &Start, &End) >= 0 && sName && *sName) {
        sText = std::string(sName).substr(0, Size > sText.size() + 2 ? Size - sText.size() - 2 : 0) + " " + sText;
    }
    return ARM_CopyText(sText.c_str(), pBuffer, Size);
}

int ARM_GetCallFrameSize(uint64_t Addr, uint32_t) {
    ARM_FRAME Frame;
    const uint32_t Start = static_cast<uint32_t>(Addr) & ~1u;
    if (Addr > 0xFFFFFFFFu) return -1;
    // With a PC far behind the start the analysis ends where the prologue does.
    return ARM_AnalyzePrologue(Start, Start + 256, &Frame) == 0 ? Frame.PrologueSize : -1;
}
