// The state machine that unwinds. All of it but the top frame runs on the work stack.
//
// A frame takes up to three reads: base pointer, CFA, return address. Each is requested and its answer, which
// may come at once or with a later event, is noted; the loop in _Run takes it up. After each frame the
// window is asked by signal whether to go on.
#include "app/services/log.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"
#include "program/unwind/regset.h"

#include <QMetaMethod>
#include <QThread>
#include <algorithm>

namespace {

constexpr U64 MAX_FRAME_SIZE = 100'000; // bytes; a larger distance is a wrong CFA
constexpr int MAX_INLINE_STEPS = 10;
constexpr U32 TAG_INLINED = 0x1D;       // DW_TAG_inlined_subroutine

U64 AlignInst(U64 Addr) {
    return Addr - Addr % Core_GetStaticInfo().InstAlignment;
}

/// No rule, or one that says that the register is lost.
bool IsNoRule(const ELF_SYM_LOC* pRule) {
    return !pRule || pRule->NumParts == 0 || (pRule->aPart[0].Type == ELF_LOC_REG && pRule->aPart[0].Reg == ELF_REG_UNDEFINED);
}

bool HasOffset(const ELF_SYM_LOC& Loc) {
    const U32 Type = Loc.aPart[0].Type;
    return Loc.NumParts == 1 && (Type == ELF_LOC_MEM_ADDR_OFFSET || Type == ELF_LOC_REG_OFFSET || Type == ELF_LOC_MEM_REG_OFFSET);
}

/// A return address is one if the program holds code there, where it is loaded or where it runs.
bool IsProgramAddr(U64 Addr) {
    if (Addr >= 0xFFFFFFFFu) return false;
    const U32 Addr32 = static_cast<U32>(AlignInst(Addr));
    return PROG_ReadBytes(Addr32, 1, nullptr) == 1 || PROG_GetFunctionAt(Addr32, 1) != 0;
}

/// The function or expansion that an expansion lies in, 0 if there is none.
ELF_SYM_HANDLE GetFunctionAround(ELF_SYM_HANDLE hExpansion) {
    const CProgLock Lock;
    ELF_SYM_HANDLE h = ELF_GetSymParent(hExpansion);
    while (h && !PROG_IsFunction(h)) h = ELF_GetSymParent(h);
    return h;
}

bool HasCode(ELF_SYM_HANDLE hFunc, U64 Addr) {
    const QList<CAddrRange> aRange = PROG_GetSymRanges(hFunc);
    return std::any_of(aRange.begin(), aRange.end(), [Addr](const CAddrRange& Range) { return Addr >= Range.Start && Addr < Range.End(); });
}

} // namespace

// ---- Top frame, on the visible stack -----------------------------------------------------------

void CCallStack::UpdateTopFrame() {
    CRegSet* pSet = UNWIND_FindRegSet(0, 0);
    if (!pSet) return;
    pSet->Clear();
    CORE_REG_BUFFER& Scratch = Core_GetScratchRegs();
    if (m_TaskId) {
        for (U32 i = 0; i < m_aTaskValue.size(); i++) pSet->SetValue(i, m_aTaskValue[i], m_aTaskStatus[i]);
    } else if (Core_ReadAllRegs(Scratch) == 0) {
        for (U32 i = 0; i < Scratch.aValue.size(); i++) pSet->SetValue(i, Scratch.aValue[i], Scratch.aStatus[i]);
    }
    const U32 PCReg = Core_GetStaticInfo().PCRegIdx;
    pSet->SetValue(PCReg, AlignInst(pSet->GetValue(PCReg)), pSet->GetStatus(PCReg));
    if (m_aFrame.empty()) m_aFrame.emplace_back();
    m_aFrame[0] = CCallFrame();
    m_aFrame[0].StackIdx = 0;
    m_aFrame[0].Index = 0;
    _SetFunction(m_aFrame[0]);
    _SetTopBasePointer(m_aFrame[0]);
    m_IsTopValid = true;
}

void CCallStack::_SetTopBasePointer(CCallFrame& Frame) {
    _SetFrameBase(Frame);
    U64 Value = 0;
    if (ELF_LocIsValid(Frame.FrameBase) && _ReadPart(Frame, Frame.FrameBase.aPart[0], &Value)) {
        Frame.BasePointer = Value;
    } else {
        if (Frame.hFunc) {
            LogDebug(QStringLiteral("Invalid BP data location for function ") + PROG_GetSymName(Frame.hFunc, PROG_NAME_PLAIN) +
                     QStringLiteral(". Falling back to SP"));
        }
        Frame.BasePointer = GetSP(Frame);
    }
    Frame.BasePointerStatus = FRAME_VALUE_VALID;
}

// ---- Start and end -----------------------------------------------------------------------------

void CCallStack::Unwind() {
    if (!m_IsTopValid && UNWIND_GetHooks().IsTargetHalted && UNWIND_GetHooks().IsTargetHalted()) UpdateTopFrame();
    if (m_pWork) m_pWork->_Start();
}

void CCallStack::_Start() {
    Clear();
    CRegSet* pLive = UNWIND_FindRegSet(0, 0);
    CRegSet* pOwn = UNWIND_FindRegSet(m_StackIdx, 0);
    if (!pLive || !pOwn || m_pVisible->m_aFrame.empty()) {
        m_pVisible->_TakeOver(*this);
        return;
    }
    *pOwn = *pLive;
    CCallFrame Frame;
    Frame.StackIdx = m_StackIdx;
    Frame.Index = 0;
    Frame.BasePointer = m_pVisible->m_aFrame[0].BasePointer;
    Frame.BasePointerStatus = m_pVisible->m_aFrame[0].BasePointerStatus;
    m_aFrame.push_back(Frame);
    _SetFunction(m_aFrame[0]);
    m_Phase = NEXT_FRAME;
    _Run();
}

void CCallStack::UnwindNextFrame() {
    CCallStack& Work = m_pWork ? *m_pWork : *this;
    if (Work.m_Phase != WAIT_FOR_WINDOW) return;
    Work.m_Phase = NEXT_FRAME;
    Work._Run();
}

void CCallStack::FinishUnwind() {
    CCallStack& Work = m_pWork ? *m_pWork : *this;
    if (Work.m_Phase == IDLE) return;
    Work.m_Phase = FINISH;
    Work._Run();
}

void CCallStack::_Finish() {
    m_Phase = IDLE;
    m_Pending = PENDING_NONE;
    m_HasAnswer = false;
    m_pVisible->_TakeOver(*this);
}

// ---- The loop ----------------------------------------------------------------------------------

void CCallStack::_Run() {
    if (m_IsRunning) return; // the loop further out takes it up
    m_IsRunning = true;
    for (bool GoOn = true; GoOn;) {
        switch (m_Phase) {
        case NEXT_FRAME:
            m_Phase = EVALUATE;
            _FrameStep();
            break;
        case EVALUATE: {
            if (m_Pending != PENDING_NONE) {
                GoOn = m_HasAnswer;
                if (m_HasAnswer) _ApplyAnswer();
                break;
            }
            const STEP_RESULT Result = _EvalStep(m_aFrame.back());
            if (Result == STEP_END) {
                m_Phase = FINISH;
            } else if (Result == STEP_DONE) {
                if (!_AddNextFrame()) {
                    m_Phase = FINISH;
                    break;
                }
                static const QMetaMethod Signal = QMetaMethod::fromSignal(&CCallStack::UnwindNextFrameDone);
                const bool IsDriven = m_pVisible->isSignalConnected(Signal);
                m_Phase = IsDriven ? WAIT_FOR_WINDOW : NEXT_FRAME; // without a window there is nobody to ask
                emit m_pVisible->UnwindNextFrameDone();
            }
            break;
        }
        case FINISH:
            _Finish();
            break;
        case IDLE:
        case WAIT_FOR_WINDOW: GoOn = false; break;
        }
    }
    m_IsRunning = false;
}

void CCallStack::_FrameStep() {
    if (static_cast<U32>(m_aFrame.size()) > UNWIND_GetNumFrames()) {
        _SetStopReason(STOP_DEPTH);
        m_Phase = FINISH;
        return;
    }
    CCallFrame& Frame = m_aFrame.back();
    const bool IsInlineCaller = Frame.Index > 0 && GetFrame(Frame.Index - 1).IsInlined;
    _SetFunction(Frame);
    _FillRules(Frame);
    _SetFrameBase(Frame);
    // The caller of an expansion shares the base pointer with it; everything else is unknown again.
    if (!IsInlineCaller) {
        Frame.BasePointer = ~U64(0);
        Frame.BasePointerStatus = FRAME_VALUE_UNKNOWN;
    }
    Frame.CFA = Frame.ReturnAddr = ~U64(0);
    Frame.CFAStatus = Frame.ReturnAddrStatus = FRAME_VALUE_UNKNOWN;
    Frame.FrameSize = 0;
}

void CCallStack::_SetStopReason(STOP_REASONS Reason) {
    if (m_StopReason == STOP_NONE) m_StopReason = Reason; // the first cause stays
}

// ---- Facts about a frame -----------------------------------------------------------------------

void CCallStack::_SetFunction(CCallFrame& Frame) {
    Frame.hFunc = 0;
    Frame.IsInlined = false;
    CRegSet* pSet = _FindRegs(Frame);
    if (!pSet || !IsPCValid(Frame)) return;
    // What lies before an expansion that is the first in its function belongs to another one.
    if (const CCallFrame& Younger = GetFrame(Frame.Index - 1); Younger.IsInlined) Frame.hFunc = GetFunctionAround(Younger.hFunc);
    if (!Frame.hFunc) Frame.hFunc = PROG_GetFunctionAt(static_cast<U32>(GetPC(Frame)), 0);
    pSet->FuncLow = 0xFFFFFFFFu;
    pSet->FuncHigh = 0;
    if (!Frame.hFunc) return;
    Frame.IsInlined = PROG_GetSymTag(Frame.hFunc) == TAG_INLINED;
    const CAddrRange Range = PROG_GetSymRange(Frame.hFunc);
    pSet->FuncLow = Range.Start;
    pSet->FuncHigh = Range.End();
}

void CCallStack::_FillRules(CCallFrame& Frame) {
    CRegSet* pSet = _FindRegs(Frame);
    Frame.NumRules = UNWIND_GetNumRegs();
    Frame.ReturnAddrColumn = Core_GetStaticInfo().RARegIdx;
    Frame.IsPluginFrame = false;
    if (!pSet) return;
    std::vector<ELF_SYM_LOC>& aRule = pSet->Rules();
    std::fill(aRule.begin(), aRule.end(), ELF_SYM_LOC{});
    if (Frame.IsInlined) {
        // No frame of its own: the caller's registers are where they are.
        for (ELF_SYM_LOC& Rule : aRule) {
            Rule.NumParts = 1;
            Rule.aPart[0].Type = ELF_LOC_REG;
            Rule.aPart[0].Reg = ELF_REG_SAME_VALUE;
        }
        return;
    }
    if (!IsPCValid(Frame)) return;
    const U32 PCReg = Core_GetStaticInfo().PCRegIdx;
    const U64 ShownPC = GetPC(Frame);
    if (Frame.RulePC == ~U64(0)) Frame.RulePC = ShownPC;
    {
        CProgLock Lock;
        if (PROG_IsLoaded()) ELF_GetFrameRules(static_cast<U32>(Frame.RulePC), static_cast<U32>(aRule.size()), aRule.data());
    }
    // The plug-in has the first word. It sees in the register set what the program file says of the frame, and has an
    // array of its own to fill.
    std::vector<ELF_SYM_LOC> aPluginRule(aRule.size());
    pSet->SetValue(PCReg, Frame.RulePC, 0);
    CORE_UNWIND_REQUEST Request{Core_GetStaticInfo().RARegIdx, static_cast<U32>(aPluginRule.size()), 0,
                                reinterpret_cast<CORE_LOC*>(aPluginRule.data())};
    const int Result = Core_GetUnwindRules(pSet->GetPluginView(), &Request);
    pSet->SetValue(PCReg, ShownPC, 0);
    if (Result != 0) return;
    aRule.swap(aPluginRule);
    Frame.IsPluginFrame = true;
    Frame.ReturnAddrColumn = std::min(Request.RARegIdx, static_cast<U32>(aRule.size()) - 1);
}

void CCallStack::_SetFrameBase(CCallFrame& Frame) {
    Frame.FrameBase = ELF_SYM_LOC{};
    const U32 PC = static_cast<U32>(Frame.RulePC == ~U64(0) ? GetPC(Frame) : Frame.RulePC);
    const ELF_SYM_HANDLE hOuter = IsPCValid(Frame) ? PROG_GetFunctionAt(PC, 1) : 0;
    if (!hOuter) return;
    const ELF_SYM_LOC Loc = PROG_GetSymLoc(hOuter, PC);
    if (Loc.NumParts == 0) return;
    Frame.FrameBase = ResolveLocation(Frame, Loc);
    const U32 Alignment = Core_GetStaticInfo().SPSize;
    U32& Addr = Frame.FrameBase.aPart[0].Addr;
    if (!ELF_LocIsMemory(Frame.FrameBase) || !ELF_LocIsValid(Frame.FrameBase) || !Alignment || Addr % Alignment == 0) return;
    const auto Hex = [](U64 Value) { return QString::number(Value, 16).toUpper().rightJustified(8, '0'); };
    LogWarning(QStringLiteral("function base pointer memory location not word-aligned. Function @ ") +
               Hex(static_cast<U64>(PROG_GetSymAddr(hOuter))) + QStringLiteral(" BP @ ") + Hex(Addr));
    Addr -= Addr % Alignment;
}

U64 CCallStack::_GetPlainSP(const CCallFrame& Frame) const {
    return GetSP(Frame);
}

void CCallStack::_FailCFA(CCallFrame& Frame, STOP_REASONS Reason) {
    _SetStopReason(Reason);
    Frame.CFA = _GetPlainSP(Frame);
    Frame.CFAStatus = FRAME_VALUE_FAILED;
    Frame.FrameSize = 0;
}

// ---- Evaluation of a frame ---------------------------------------------------------------------

CCallStack::STEP_RESULT CCallStack::_Request(PENDING Pending, const ELF_SYM_LOC& Loc, U32 NumBytes) {
    m_Pending = Pending;
    m_PendingLoc = Loc;
    m_HasAnswer = false;
    const bool IsAsked = UNWIND_GetHooks().ReadLoc && UNWIND_GetHooks().ReadLoc(Loc, NumBytes) == 0;
    if (!IsAsked && m_Pending == Pending && !m_HasAnswer) {
        m_HasAnswer = true;
        m_IsAnswerValid = false;
    }
    return STEP_PENDING;
}

CCallStack::STEP_RESULT CCallStack::_EvalStep(CCallFrame& Frame) {
    const CORE_STATIC_INFO& Info = Core_GetStaticInfo();
    const CRegSet* pSet = _FindRegs(Frame);
    const ELF_SYM_LOC* pCFARule = pSet ? pSet->GetRule(Info.CFARegIdx) : nullptr;
    const ELF_SYM_LOC* pReturnRule = pSet ? pSet->GetRule(Frame.ReturnAddrColumn) : nullptr;
    const bool HasNoCFA = IsNoRule(pCFARule);
    if (HasNoCFA) _FailCFA(Frame, STOP_NO_CFA_RULE);
    if (IsNoRule(pReturnRule)) {
        _SetStopReason(STOP_NO_RA_RULE);
        Frame.ReturnAddr = ~U64(0);
        Frame.ReturnAddrStatus = FRAME_VALUE_FAILED;
        return STEP_END;
    }
    if (HasNoCFA) return STEP_END;
    if (Frame.BasePointerStatus == FRAME_VALUE_UNKNOWN) {
        QThread::yieldCurrentThread();
        if (ELF_LocIsValid(Frame.FrameBase)) return _Request(PENDING_BASE_POINTER, Frame.FrameBase, Info.SPSize);
        Frame.BasePointer = ~U64(0);
        Frame.BasePointerStatus = FRAME_VALUE_FAILED;
    }
    if (Frame.IsInlined) return STEP_DONE;
    if (Frame.CFAStatus == FRAME_VALUE_UNKNOWN) {
        const ELF_SYM_LOC Loc = ResolveLocation(Frame, *pCFARule);
        if (ELF_LocIsValid(Loc)) return _Request(PENDING_CFA, Loc, Info.SPSize);
        _FailCFA(Frame, STOP_CFA_LOC);
        return STEP_END;
    }
    if (Frame.ReturnAddrStatus == FRAME_VALUE_UNKNOWN) {
        const ELF_SYM_LOC Loc = ResolveLocation(Frame, *pReturnRule);
        if (ELF_LocIsValid(Loc)) return _Request(PENDING_RETURN_ADDR, Loc, Info.PCSize);
        _SetStopReason(STOP_RA_LOC);
        Frame.ReturnAddr = ~U64(0);
        Frame.ReturnAddrStatus = FRAME_VALUE_FAILED;
        return STEP_END;
    }
    return STEP_DONE;
}

void CCallStack::OnReadLocDone(const ELF_SYM_LOC& Loc, U32 NumBytes, const U8* pData) {
    if (m_pWork) {
        m_pWork->OnReadLocDone(Loc, NumBytes, pData);
        return;
    }
    // An answer that was asked for by an unwind before this one isn't for the pending location.
    if (m_aFrame.empty() || m_Pending == PENDING_NONE || m_HasAnswer || !ELF_LocIsEqual(Loc, m_PendingLoc)) return;
    m_HasAnswer = true;
    m_IsAnswerValid = pData != nullptr && NumBytes > 0;
    m_Answer = 0;
    if (m_IsAnswerValid) {
        const U32 Count = std::min(NumBytes, 8u);
        for (U32 i = 0; i < Count; i++) m_Answer |= static_cast<U64>(pData[i]) << (8 * i);
        if (HasOffset(Loc)) m_Answer = static_cast<U32>(m_Answer) + static_cast<U32>(Loc.aPart[0].Offset);
    }
    _Run();
}

void CCallStack::_ApplyAnswer() {
    CCallFrame& Frame = m_aFrame.back();
    const U32 Pending = m_Pending;
    m_Pending = PENDING_NONE;
    m_HasAnswer = false;
    switch (Pending) {
    case PENDING_BASE_POINTER:
        Frame.BasePointer = m_IsAnswerValid ? m_Answer : ~U64(0);
        Frame.BasePointerStatus = m_IsAnswerValid ? FRAME_VALUE_VALID : FRAME_VALUE_FAILED;
        if (!m_IsAnswerValid) _SetStopReason(STOP_BP_READ);
        break;
    case PENDING_CFA: {
        if (!m_IsAnswerValid) {
            _FailCFA(Frame, STOP_CFA_READ);
            m_Phase = FINISH; // without it there is no older frame
            break;
        }
        const U64 SP = GetSP(Frame);
        Frame.CFA = m_Answer;
        Frame.CFAStatus = FRAME_VALUE_VALID;
        Frame.FrameSize = m_Answer >= SP && m_Answer - SP <= MAX_FRAME_SIZE ? static_cast<U32>(m_Answer - SP) : 0;
        break;
    }
    default: _ApplyReturnAddr(Frame, m_Answer); break;
    }
}

void CCallStack::_ApplyReturnAddr(CCallFrame& Frame, U64 Value) {
    if (!m_IsAnswerValid) {
        _SetStopReason(STOP_RA_READ);
        Frame.ReturnAddr = ~U64(0);
        Frame.ReturnAddrStatus = FRAME_VALUE_FAILED;
    } else if (!IsProgramAddr(Value)) {
        _SetStopReason(STOP_RA_RANGE);
        Frame.ReturnAddr = Value; // shown in the closing row
        Frame.ReturnAddrStatus = FRAME_VALUE_FAILED;
    } else {
        Frame.ReturnAddr = AlignInst(Value);
        Frame.ReturnAddrStatus = FRAME_VALUE_VALID;
        if (Frame.Index == 0 && UNWIND_GetHooks().SetTopReturnAddr) UNWIND_GetHooks().SetTopReturnAddr(Frame.ReturnAddr);
        return;
    }
    m_Phase = FINISH;
}

// ---- The next frame ----------------------------------------------------------------------------

bool CCallStack::_AddNextFrame() {
    CCallFrame Next;
    Next.StackIdx = m_StackIdx;
    Next.Index = m_aFrame.back().Index + 1;
    if (Next.Index >= static_cast<int>(UNWIND_GetNumFrames())) {
        _SetStopReason(STOP_DEPTH);
        return false;
    }
    CRegSet* pSet = _FindRegs(Next);
    if (!pSet) return false;
    pSet->Clear();
    const bool IsMade = m_aFrame.back().IsInlined ? _AddCallerOfInlined(m_aFrame.back(), Next) : _AddCaller(m_aFrame.back(), Next);
    if (!IsMade || !IsPCValid(Next) || GetPC(Next) == 0) {
        _SetStopReason(STOP_PC_RANGE);
        return false;
    }
    _SetFunction(Next);
    m_aFrame.push_back(Next);
    return true;
}

bool CCallStack::_AddCaller(const CCallFrame& Frame, CCallFrame& Next) {
    if (Frame.ReturnAddrStatus != FRAME_VALUE_VALID || Frame.CFAStatus != FRAME_VALUE_VALID) return false;
    const CORE_STATIC_INFO& Info = Core_GetStaticInfo();
    CRegSet* pSet = _FindRegs(Next);
    U64 PC = Frame.ReturnAddr;
    // Code that an exception has interrupted stands at the address itself; a caller at the call before it.
    const bool IsInterrupted = Frame.IsPluginFrame && Frame.ReturnAddrColumn != Info.RARegIdx;
    if (!IsInterrupted) Core::GetPrevInst(Frame.ReturnAddr, &PC);
    pSet->SetValue(Info.PCRegIdx, PC, 0);
    pSet->SetValue(Info.SPRegIdx, Frame.CFA, 0);
    if (IsInterrupted) _ReadStackedRegs(Frame, *pSet);
    return true;
}

/// Registers that lie in the frame which the core stacked on the exception: the interrupted function may have
/// its own return address nowhere else.
void CCallStack::_ReadStackedRegs(const CCallFrame& Frame, CRegSet& Next) const {
    const CORE_STATIC_INFO& Info = Core_GetStaticInfo();
    for (U32 Reg = 0; Reg < Next.GetNumRegs(); Reg++) {
        const ELF_SYM_LOC Rule = _GetRule(Frame, Reg);
        U64 Value = 0;
        if (Reg == Info.PCRegIdx || Reg == Info.SPRegIdx || Rule.NumParts != 1 || Rule.aPart[0].Type != ELF_LOC_MEM_FIXED) continue;
        if (_ReadPart(Frame, Rule.aPart[0], &Value)) Next.SetValue(Reg, Value, 0);
    }
}

bool CCallStack::_AddCallerOfInlined(const CCallFrame& Frame, CCallFrame& Next) {
    const CORE_STATIC_INFO& Info = Core_GetStaticInfo();
    CRegSet* pSet = _FindRegs(Next);
    const CAddrRange Range = PROG_GetSymRange(Frame.hFunc);
    U64 PC = Range.Start;
    if (Core::GetPrevInst(Range.Start, &PC) != 0) PC = Range.Start - Info.InstAlignment;
    if (const ELF_SYM_HANDLE hCaller = GetFunctionAround(Frame.hFunc); hCaller && !HasCode(hCaller, PC)) PC = Range.Start;
    CCallFrame& Inlined = m_aFrame.back();
    Inlined.CFA = GetSP(Frame);
    Inlined.CFAStatus = FRAME_VALUE_VALID;
    Inlined.FrameSize = 0;
    U64 End = Range.End();
    for (int i = 0; i < MAX_INLINE_STEPS && End < 0xFFFFFFFFu; i++) {
        const ELF_SYM_HANDLE hFunc = PROG_GetFunctionAt(static_cast<U32>(End), 0);
        if (!hFunc || PROG_GetSymTag(hFunc) != TAG_INLINED) break;
        const U64 InnerEnd = PROG_GetSymRange(hFunc).End();
        if (InnerEnd <= End) break;
        End = InnerEnd;
    }
    Inlined.ReturnAddr = End;
    Inlined.ReturnAddrStatus = FRAME_VALUE_VALID;
    Next.RulePC = Frame.RulePC == ~U64(0) ? GetPC(Frame) : Frame.RulePC;
    Next.BasePointer = Inlined.BasePointer;
    Next.BasePointerStatus = Inlined.BasePointerStatus;
    pSet->SetValue(Info.PCRegIdx, PC, 0);
    pSet->SetValue(Info.SPRegIdx, GetSP(Frame), 0);
    return true;
}
