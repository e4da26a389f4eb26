// What a function has done to stack and saved registers up to an address.
//
// The prologue is followed instruction by instruction: each PUSH and each change of SP counts.
// It ends at the first branch; from there to the end of the body SP stands still, but for the
// pushes of arguments around a call, which balance out. An epilogue is known by its end: when
// nothing but stack restoring stands between PC and a return, what it still gives back is the offset.
#include "armprologue.h"
#include "armplugin.h"

#include <bit>

namespace {

constexpr uint32_t MAX_FUNC_BYTES = 65536; // a PC farther from the start isn't of this function
constexpr uint32_t MAX_PROLOGUE_INSTS = 64;
constexpr int MAX_EPILOGUE_INSTS = 8;

struct STEP {
    ARM_INST Inst;
    CORE_INST_INFO Info;
};

int ReadStep(uint32_t Addr, STEP* pStep) {
    if (ARM_Fetch(Addr, &pStep->Inst) != 0) return -1;
    ARM_Classify(Addr, pStep->Inst.Encoding, pStep->Inst.ITState, &pStep->Info);
    return 0;
}

/// Notes the registers that a PUSH stores; Depth is the stack taken with it, in bytes.
void NotePush(ARM_ENCODING Encoding, int32_t Depth, ARM_FRAME* pFrame) {
    int32_t Offset = -Depth; // the lowest register lies at the new stack pointer
    for (uint32_t Mask = ARM_GetPushMask(Encoding); Mask; Mask &= Mask - 1) {
        const int Reg = std::countr_zero(Mask);
        const uint32_t Bit = 1u << Reg;
        // Only the first store of a register in the prologue holds the caller's value.
        if (!(pFrame->SavedMask & Bit)) {
            pFrame->SavedMask |= Bit;
            pFrame->aSavedOffset[Reg] = Offset;
        }
        Offset += 4;
    }
}

/// Bytes that the instructions from PC to a return give back; -1 if PC isn't in an epilogue. LR is told
/// to be in its register when the way to the return doesn't load it.
int32_t GetEpilogueSize(uint32_t PC) {
    int32_t Size = 0;
    for (int i = 0; i < MAX_EPILOGUE_INSTS; i++) {
        STEP Step;
        if (ReadStep(PC, &Step) != 0 || Step.Inst.ITState != 0) return -1;
        if (Step.Info.Flags & CORE_INST_RETURN) return Size + Step.Info.SPChange;
        if (Step.Info.SPChange <= 0 || (Step.Info.Flags & CORE_INST_BRANCH)) return -1;
        Size += Step.Info.SPChange;
        PC += Step.Inst.NumBytes;
    }
    return -1;
}

} // namespace

int ARM_AnalyzePrologue(uint32_t FuncStart, uint32_t PC, ARM_FRAME* pFrame) {
    *pFrame = ARM_FRAME{};
    if (PC < FuncStart || PC - FuncStart > MAX_FUNC_BYTES) return -1;
    int32_t Depth = 0;
    uint32_t Addr = FuncStart;
    for (uint32_t i = 0; Addr < PC && i < MAX_PROLOGUE_INSTS; i++) {
        STEP Step;
        if (ReadStep(Addr, &Step) != 0) return -1;
        if (Step.Info.Flags & CORE_INST_BRANCH) break;
        if (Step.Info.SPChange > 0) break; // a shrinking stack isn't a prologue any more
        Depth -= Step.Info.SPChange;
        NotePush(Step.Inst.Encoding, Depth, pFrame);
        Addr += Step.Inst.NumBytes;
    }
    pFrame->PrologueSize = Depth;
    pFrame->CFAOffset = Depth;
    if (Addr < PC || Depth > 0) {
        const int32_t Rest = GetEpilogueSize(PC);
        if (Rest >= 0 && Rest <= Depth) {
            pFrame->CFAOffset = Rest;
            // What lies above the part still to be given back has been restored.
            for (int Reg = 0; Reg < 16; Reg++) {
                if ((pFrame->SavedMask & (1u << Reg)) && pFrame->aSavedOffset[Reg] < -Rest) pFrame->SavedMask &= ~(1u << Reg);
            }
        }
    }
    return 0;
}
