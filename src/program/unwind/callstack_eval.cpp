// Registers of one frame on demand: where each lies is worked out at once, the values are read by
// one job of the device.
#include "core/host/corehost.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"
#include "program/unwind/regset.h"

#include <algorithm>

int CCallStack::EvalFrame(int Index) {
    if (Index == m_SelectedFrame) return 1;
    const CCallFrame& Frame = GetFrame(Index);
    if (Frame.IsEmpty() || !IsPCValid(Frame) || !IsSPValid(Frame) || !UNWIND_GetHooks().ReadLocs) return -1;
    const U32 NumRegs = std::min(UNWIND_GetNumRegs(), Core_GetStaticInfo().NumRegs);
    m_aEvalLoc.assign(NumRegs, ELF_SYM_LOC{});
    for (U32 i = 0; i < NumRegs; i++) {
        ELF_SYM_LOC Loc{};
        Loc.NumParts = 1;
        Loc.aPart[0].Type = ELF_LOC_REG;
        Loc.aPart[0].Reg = i;
        m_aEvalLoc[i] = ResolveLocation(Frame, Loc);
    }
    m_EvalFrame = Index;
    if (UNWIND_GetHooks().ReadLocs(NumRegs, m_aEvalLoc.data(), static_cast<U32>(Index)) == 0) return 0;
    m_EvalFrame = -1;
    emit EvalFrameFailed(Index);
    return -1;
}

void CCallStack::OnReadLocsDone(U32 FrameIdx, U32 Count, const U64* paValue, const U8* paStatus) {
    const int Index = static_cast<int>(FrameIdx);
    CRegSet* pSet = UNWIND_FindRegSet(0, Index);
    if (Index != m_EvalFrame || !pSet || !paValue || !paStatus) return;
    m_EvalFrame = -1;
    const U32 NumRegs = std::min({Count, pSet->GetNumRegs(), static_cast<U32>(m_aEvalLoc.size())});
    for (U32 i = 0; i < NumRegs; i++) {
        const ELF_SYM_LOC& Loc = m_aEvalLoc[i];
        const U32 Type = Loc.NumParts == 1 ? Loc.aPart[0].Type : U32(ELF_LOC_NONE);
        if (Type == ELF_LOC_CONST) {
            pSet->SetValue(i, Loc.aPart[0].Value, 0); // known without the target
        } else if (paStatus[i] == 0) {
            const bool HasOffset = Type == ELF_LOC_MEM_ADDR_OFFSET || Type == ELF_LOC_REG_OFFSET || Type == ELF_LOC_MEM_REG_OFFSET;
            pSet->SetValue(i, HasOffset ? static_cast<U32>(paValue[i]) + static_cast<U32>(Loc.aPart[0].Offset) : paValue[i], 0);
        } else if (pSet->GetStatus(i) != 0) {
            pSet->SetValue(i, ~U64(0), 1); // what the unwinder knows of itself, PC and SP, stays
        }
    }
    // The PC of a frame is where its call is, whatever register it would be in.
    m_SelectedFrame = Index;
    emit EvalFrameDone(Index);
}

void CCallStack::OnReadLocsFailed(U32 FrameIdx) {
    const int Index = static_cast<int>(FrameIdx);
    CRegSet* pSet = UNWIND_FindRegSet(0, Index);
    if (Index != m_EvalFrame || !pSet) return;
    m_EvalFrame = -1;
    for (U32 i = 0; i < pSet->GetNumRegs(); i++) pSet->SetValue(i, ~U64(0), 1);
    emit EvalFrameDone(Index);
}
