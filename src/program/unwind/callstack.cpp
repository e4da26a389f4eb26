// Life, frames and look-ups of the call stack.
#include "program/unwind/callstack.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "program/tables/prog.h"
#include "program/unwind/regset.h"

#include <algorithm>

namespace {

constexpr U32 DEFAULT_DEPTH_LIMIT = 50;

UNWIND_HOOKS Hooks;
const CCallFrame EmptyFrame;

U32 GetDepthLimit() {
    return std::max(1u, Hooks.GetDepthLimit ? Hooks.GetDepthLimit() : DEFAULT_DEPTH_LIMIT);
}

} // namespace

void UNWIND_SetHooks(const UNWIND_HOOKS& New) {
    Hooks = New;
}

const UNWIND_HOOKS& UNWIND_GetHooks() {
    return Hooks;
}

CCallStack::CCallStack(int StackIdx, CCallStack* pVisible) : m_StackIdx(StackIdx), m_pVisible(pVisible) {
    if (StackIdx == 0) m_pWork.reset(new CCallStack(1, this));
}

CCallStack& CCallStack::GetInstance() {
    static CCallStack Instance(0, nullptr);
    return Instance;
}

void CCallStack::RegisterHooks() {
    CORE_HOOKS& Core = Core_GetHooks();
    Core.SizeFrameRegs = [](U32 NumRegs) {
        GetInstance().Clear();
        UNWIND_SizeRegSets(NumRegs, GetDepthLimit());
    };
    Core.GetRegSet = [](const CORE_REG_SET** ppRegSet) {
        CRegSet* pSet = UNWIND_FindRegSet(0, 0);
        if (!pSet || GetInstance().m_aFrame.empty()) return -1;
        *ppRegSet = pSet->GetPluginView();
        return 0;
    };
}

void CCallStack::SetDepthLimit(U32 Limit) {
    Clear();
    UNWIND_SizeRegSets(UNWIND_GetNumRegs(), std::max(1u, Limit));
}

void CCallStack::Clear() {
    m_aFrame.clear();
    m_aCallSitePC.clear();
    m_aCallSiteLoc.clear();
    m_StopReason = STOP_NONE;
    m_MaxFrameSize = 0;
    m_Pending = PENDING_NONE;
    m_SelectedFrame = -1;
    m_IsTopValid = false;
    m_HasAnswer = false;
    m_Phase = IDLE;
    m_EvalFrame = -1;
    if (m_pWork) m_pWork->Clear();
}

const CCallFrame& CCallStack::GetFrame(int Index) const {
    return Index >= 0 && Index < GetFrameCount() ? m_aFrame[static_cast<size_t>(Index)] : EmptyFrame;
}

const CCallFrame& CCallStack::GetTopFrame() const {
    return m_aFrame.empty() ? EmptyFrame : m_aFrame.back();
}

CRegSet* CCallStack::_FindRegs(const CCallFrame& Frame) const {
    return UNWIND_FindRegSet(Frame.StackIdx, Frame.Index);
}

U64 CCallStack::GetRegValue(const CCallFrame& Frame, U32 Reg) const {
    const CRegSet* pSet = _FindRegs(Frame);
    return pSet ? pSet->GetValue(Reg) : 0;
}

U8 CCallStack::GetRegStatus(const CCallFrame& Frame, U32 Reg) const {
    const CRegSet* pSet = _FindRegs(Frame);
    return pSet ? pSet->GetStatus(Reg) : 1;
}

U64 CCallStack::GetPC(const CCallFrame& Frame) const {
    return GetRegValue(Frame, Core_GetStaticInfo().PCRegIdx);
}

U64 CCallStack::GetSP(const CCallFrame& Frame) const {
    return GetRegValue(Frame, Core_GetStaticInfo().SPRegIdx);
}

bool CCallStack::IsPCValid(const CCallFrame& Frame) const {
    return GetRegStatus(Frame, Core_GetStaticInfo().PCRegIdx) == 0;
}

bool CCallStack::IsSPValid(const CCallFrame& Frame) const {
    return GetRegStatus(Frame, Core_GetStaticInfo().SPRegIdx) == 0;
}

int CCallStack::FindFunction(ELF_SYM_HANDLE hFunc) const {
    for (const CCallFrame& Frame : m_aFrame) {
        if (hFunc && Frame.hFunc == hFunc) return Frame.Index;
    }
    return -1;
}

bool CCallStack::IsPcOnStack(U32 PC) const {
    return GetFrameCount() >= 2 && m_aCallSitePC.contains(PC);
}

bool CCallStack::IsSrcLocOnStack(const CSrcLoc& Loc) const {
    if (GetFrameCount() < 2) return false;
    return std::any_of(m_aCallSiteLoc.begin(), m_aCallSiteLoc.end(), [&](const CSrcLoc& L) { return L.IsValid() && L.IsSameLine(Loc); });
}

CSrcLoc CCallStack::GetCallSite(const CCallFrame& Frame) const {
    const CCallFrame& Younger = GetFrame(Frame.Index - 1);
    if (!Younger.IsEmpty() && Younger.IsInlined) {
        const CSrcLoc Loc = PROG_GetSymSrcLoc(Younger.hFunc); // of an expansion that is where it was called
        if (Loc.IsValid()) return Loc;
    }
    return PROG_GetLastSrcLoc(static_cast<U32>(GetPC(Frame)));
}

void CCallStack::_FillCallSites() {
    m_aCallSitePC.clear();
    m_aCallSiteLoc.clear();
    for (size_t i = 1; i < m_aFrame.size(); i++) {
        m_aCallSitePC.append(static_cast<U32>(GetPC(m_aFrame[i])));
        m_aCallSiteLoc.append(GetCallSite(m_aFrame[i]));
    }
}

void CCallStack::_TakeOver(const CCallStack& Work) {
    m_aFrame = Work.m_aFrame;
    m_StopReason = Work.m_StopReason;
    m_SelectedFrame = m_aFrame.empty() ? -1 : 0;
    m_Pending = PENDING_NONE;
    m_MaxFrameSize = 0;
    for (CCallFrame& Frame : m_aFrame) {
        CRegSet* pFrom = UNWIND_FindRegSet(1, Frame.Index);
        CRegSet* pTo = UNWIND_FindRegSet(0, Frame.Index);
        if (pFrom && pTo) *pTo = *pFrom;
        Frame.StackIdx = 0;
        m_MaxFrameSize = std::max(m_MaxFrameSize, Frame.FrameSize);
    }
    _FillCallSites();
    emit UnwindComplete();
}

void CCallStack::SetTaskContext(U32 TaskId, U32 NumRegs, const U64* paValue, const U8* paStatus) {
    m_TaskId = TaskId;
    m_aTaskValue.clear();
    m_aTaskStatus.clear();
    if (TaskId && paValue && paStatus) {
        m_aTaskValue.assign(paValue, paValue + NumRegs);
        m_aTaskStatus.assign(paStatus, paStatus + NumRegs);
    }
    m_IsTopValid = false;
}

int CCallStack::GetTaskReg(U32 RegId, U64* pValue) const {
    if (!m_TaskId) return -1;
    for (U32 i = 0; i < m_aTaskValue.size(); i++) {
        if (Core_GetRegId(i) != RegId || m_aTaskStatus[i] != 0) continue;
        *pValue = m_aTaskValue[i];
        return 0;
    }
    return 1;
}

#include "moc_callstack.cpp"
