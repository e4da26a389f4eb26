// Evaluation of locations in a frame. What a register held in an older frame is found by walking
// towards the innermost frame, whose registers are the live ones: each frame between says by its
// rule where it put the value that its caller had.
#include "app/services/log.h"
#include "core/host/corehost.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"
#include "program/unwind/regset.h"

#include <algorithm>

namespace {

ELF_SYM_LOC_PART MakePart(U32 Type) {
    ELF_SYM_LOC_PART Part{};
    Part.Type = Type;
    return Part;
}

ELF_SYM_LOC_PART GetNested(const ELF_SYM_LOC_PART& Part) {
    ELF_SYM_LOC_PART Nested = MakePart(Part.NestedType);
    Nested.Addr = Part.NestedAddr;
    Nested.Reg = Part.NestedReg;
    Nested.Offset = Part.NestedOffset;
    Nested.Value = Part.Value; // a nested constant has its value there
    return Nested;
}

/// Result of one of the types that are relative to SP, base pointer or CFA.
ELF_SYM_LOC_PART MakeRelative(const ELF_SYM_LOC_PART& Part, bool IsMemory, U64 Base) {
    ELF_SYM_LOC_PART Out = MakePart(IsMemory ? ELF_LOC_MEM_FIXED : ELF_LOC_CONST);
    const U32 Addr = static_cast<U32>(Base) + static_cast<U32>(Part.Offset);
    Out.Size = Part.Size;
    if (IsMemory) {
        Out.Addr = Addr;
    } else {
        Out.Value = Addr;
    }
    return Out;
}

/// Adds an offset to the value that a resolved part stands for.
void AddOffset(ELF_SYM_LOC_PART& Part, I32 Offset) {
    switch (Part.Type) {
    case ELF_LOC_CONST: Part.Value = static_cast<U32>(Part.Value) + static_cast<U32>(Offset); return;
    case ELF_LOC_MEM_FIXED: Part.Type = ELF_LOC_MEM_ADDR_OFFSET; break;
    case ELF_LOC_REG: Part.Type = ELF_LOC_REG_OFFSET; break;
    default: break;
    }
    Part.Offset = static_cast<I32>(static_cast<U32>(Part.Offset) + static_cast<U32>(Offset));
}

U64 GetInteger(const U8* pData, U32 NumBytes) {
    const bool IsBig = Core_GetConfig().DataByteOrder == 1;
    U64 Value = 0;
    for (U32 i = 0; i < NumBytes; i++) Value |= static_cast<U64>(pData[IsBig ? NumBytes - 1 - i : i]) << (8 * i);
    return Value;
}

/// A rule that leaves the register as it was.
bool IsSameValue(const ELF_SYM_LOC* pRule, U32 Reg) {
    if (!pRule || pRule->NumParts == 0) return true;
    const ELF_SYM_LOC_PART& Part = pRule->aPart[0];
    return Part.Type == ELF_LOC_REG && (Part.Reg == ELF_REG_SAME_VALUE || Part.Reg == Reg);
}

} // namespace

bool CCallStack::_ReadPart(const CCallFrame& Frame, const ELF_SYM_LOC_PART& Part, U64* pValue) const {
    const U32 Size = std::min(Core_GetStaticInfo().DataWordSize, 8u);
    U8 ab[8] = {};
    switch (Part.Type) {
    case ELF_LOC_CONST: *pValue = Part.Value; return true;
    case ELF_LOC_MEM_FIXED:
    case ELF_LOC_MEM_ADDR_OFFSET:
        if (!UNWIND_GetHooks().ReadMem || UNWIND_GetHooks().ReadMem(Part.Addr, Size, ab) != 0) return false;
        *pValue = GetInteger(ab, Size);
        if (Part.Type == ELF_LOC_MEM_ADDR_OFFSET) *pValue = static_cast<U32>(*pValue) + static_cast<U32>(Part.Offset);
        return true;
    case ELF_LOC_REG:
    case ELF_LOC_REG_OFFSET: {
        // A register part that is left over means the live register of the innermost frame.
        const CRegSet* pSet = UNWIND_FindRegSet(Frame.StackIdx, 0);
        if (!pSet || pSet->GetStatus(Part.Reg) != 0) return false;
        *pValue = pSet->GetValue(Part.Reg);
        if (Part.Type == ELF_LOC_REG_OFFSET) *pValue = static_cast<U32>(*pValue) + static_cast<U32>(Part.Offset);
        return true;
    }
    default: return false;
    }
}

CCallStack::PART_RESULT CCallStack::_ResolveRegister(const CCallFrame& Frame, const ELF_SYM_LOC_PART& Part, ELF_SYM_LOC_PART& Out) const {
    const CORE_STATIC_INFO& Info = Core_GetStaticInfo();
    Out = Part;
    for (int Index = Frame.Index; Index > 0; Index--) {
        // Every frame knows its own PC and stack pointer, so there is no need to walk for them.
        const CCallFrame& Own = Index == Frame.Index ? Frame : GetFrame(Index);
        if ((Part.Reg == Info.SPRegIdx || Part.Reg == Info.PCRegIdx) && GetRegStatus(Own, Part.Reg) == 0) {
            Out = MakeRelative(Part, false, GetRegValue(Own, Part.Reg));
            return PART_OK;
        }
        const CCallFrame& Younger = GetFrame(Index - 1);
        if (Younger.IsEmpty() || !IsPCValid(Younger) || !IsSPValid(Younger)) return PART_OK;
        const bool KeepsLR = Younger.IsInlined || (Younger.IsPluginFrame && Younger.ReturnAddrColumn != Info.LRRegIdx);
        if (Part.Reg == Info.LRRegIdx && !KeepsLR) return PART_EMPTY; // the call has used it up
        const CRegSet* pSet = _FindRegs(Younger);
        const ELF_SYM_LOC* pRule = pSet ? pSet->GetRule(Part.Reg) : nullptr;
        if (IsSameValue(pRule, Part.Reg)) continue;
        const ELF_SYM_LOC_PART& Rule = pRule->aPart[0];
        if (Rule.Type == ELF_LOC_REG && Rule.Reg == ELF_REG_UNDEFINED) return PART_EMPTY;
        const PART_RESULT Result = _ResolvePart(Younger, Rule, Out);
        if (Result != PART_OK) return Result;
        Out.Size = Part.Size;
        if (Part.Type == ELF_LOC_REG_OFFSET) AddOffset(Out, Part.Offset);
        return PART_OK;
    }
    return PART_OK;
}

CCallStack::PART_RESULT CCallStack::_ResolveNested(const CCallFrame& Frame, const ELF_SYM_LOC_PART& Part, ELF_SYM_LOC_PART& Out) const {
    ELF_SYM_LOC_PART Nested;
    Out = Part;
    if (Part.Type == ELF_LOC_ENTRY_VALUE) {
        // What a parameter held on entry is what the caller's register holds at the call.
        // For a register that the callee may use as it likes only the debug information of the call knows.
        bool IsTold = false;
        if (Part.NestedType == ELF_LOC_REG && _ReadPassed(Frame, Part.NestedReg, &Nested, &IsTold)) {
            if (IsTold) Out = Nested, Out.Size = Part.Size;
            return PART_OK;
        }
        const CCallFrame& Older = GetFrame(Frame.Index + 1);
        if (Older.IsEmpty() || !IsPCValid(Older) || !IsSPValid(Older)) return PART_OK;
        return _ResolvePart(Older, GetNested(Part), Out);
    }
    if (ELF_IsPointee(Part)) return PART_OK; // a dropped pointer has no place and no value, whatever the frame
    const PART_RESULT Result = _ResolvePart(Frame, GetNested(Part), Nested);
    if (Result != PART_OK) return Result;
    if (Part.Type == ELF_LOC_COMPUTED) {
        U64 Value = Nested.Addr;
        const bool IsAddress = Nested.Type == ELF_LOC_MEM_FIXED || Nested.Type == ELF_LOC_MEM_ADDR_OFFSET;
        if (!IsAddress && !_ReadPart(Frame, Nested, &Value)) return PART_FAILED;
        Out = MakePart(ELF_LOC_CONST);
        Out.Value = Value;
        Out.Size = Part.Size;
        return PART_OK;
    }
    U64 Addr = 0;
    if (!_ReadPart(Frame, Nested, &Addr)) return PART_FAILED;
    Out = MakePart(ELF_LOC_MEM_FIXED);
    // The part tells the offset of the register beneath it too, for its text; only another one comes on top.
    Out.Addr = static_cast<U32>(Addr) + (Part.Offset == Part.NestedOffset ? 0 : static_cast<U32>(Part.Offset));
    Out.Size = Part.Size;
    return PART_OK;
}

CCallStack::PART_RESULT CCallStack::_ResolvePart(const CCallFrame& Frame, const ELF_SYM_LOC_PART& Part, ELF_SYM_LOC_PART& Out) const {
    switch (Part.Type) {
    case ELF_LOC_CONST:
    case ELF_LOC_MEM_FIXED:
    case ELF_LOC_MEM_ADDR_OFFSET: Out = Part; return PART_OK;
    case ELF_LOC_SP_OFFSET:
    case ELF_LOC_MEM_SP_OFFSET:
        if (!IsSPValid(Frame)) return PART_FAILED;
        Out = MakeRelative(Part, Part.Type == ELF_LOC_MEM_SP_OFFSET, GetSP(Frame));
        return PART_OK;
    case ELF_LOC_FB_OFFSET:
    case ELF_LOC_MEM_FB_OFFSET:
        if (Frame.BasePointerStatus != FRAME_VALUE_VALID) return PART_FAILED;
        Out = MakeRelative(Part, Part.Type == ELF_LOC_MEM_FB_OFFSET, Frame.BasePointer);
        return PART_OK;
    case ELF_LOC_CFA_OFFSET:
    case ELF_LOC_MEM_CFA_OFFSET:
        if (Frame.CFAStatus != FRAME_VALUE_VALID) return PART_FAILED;
        Out = MakeRelative(Part, Part.Type == ELF_LOC_MEM_CFA_OFFSET, Frame.CFA);
        return PART_OK;
    case ELF_LOC_REG:
    case ELF_LOC_REG_OFFSET: return _ResolveRegister(Frame, Part, Out);
    case ELF_LOC_MEM_REG_OFFSET:
    case ELF_LOC_ENTRY_VALUE:
    case ELF_LOC_COMPUTED: return _ResolveNested(Frame, Part, Out);
    default: return PART_FAILED;
    }
}

U64 CCallStack::GetLocationPC(const CCallFrame& Frame) const {
    const CCallFrame* pFrame = &Frame;
    while (pFrame->Index > 0 && GetFrame(pFrame->Index - 1).IsInlined) pFrame = &GetFrame(pFrame->Index - 1);
    const U64 PC = GetPC(*pFrame);
    if (pFrame->Index <= 0) return PC;
    // An interrupted function has called nothing: it goes on at its PC.
    const CCallFrame& Callee = GetFrame(pFrame->Index - 1);
    return Callee.ReturnAddrStatus == FRAME_VALUE_VALID && PC < Callee.ReturnAddr ? Callee.ReturnAddr - 1 : PC;
}

/// Callers that are asked for what they have passed, each of which may have got it from its own caller.
static constexpr int MAX_PASSED_ON = 32;
static thread_local int s_NumPassedOn = 0;

bool CCallStack::_ReadPassed(const CCallFrame& Frame, U32 Reg, ELF_SYM_LOC_PART* pOut, bool* pIsKnown) const {
    *pIsKnown = false;
    const CCallFrame* pCallee = &Frame;
    while (pCallee->IsInlined) pCallee = &GetFrame(pCallee->Index + 1);
    const CCallFrame& Caller = GetFrame(pCallee->Index + 1);
    if (pCallee->IsEmpty() || Caller.IsEmpty() || pCallee->ReturnAddrStatus != FRAME_VALUE_VALID || !IsPCValid(Caller) || !IsSPValid(Caller)) return false;
    const CProgLock Lock;
    const U64 PC = pCallee->RulePC == ~U64(0) ? GetPC(*pCallee) : pCallee->RulePC;
    const ELF_SYM_HANDLE hCallee = PROG_GetFunctionAt(static_cast<U32>(PC), 1);
    const ELF_SYM_HANDLE hCaller = PROG_GetFunctionAt(static_cast<U32>(GetPC(Caller)), 1);
    ELF_SYM_LOC Loc;
    if (!ELF_FindCallValue(hCaller, hCallee, static_cast<U32>(pCallee->ReturnAddr), Reg, &Loc)) return false;
    if (Loc.NumParts == 0 || s_NumPassedOn >= MAX_PASSED_ON) return true;
    s_NumPassedOn++;
    const ELF_SYM_LOC Value = ResolveLocation(Caller, Loc);
    s_NumPassedOn--;
    if (Value.NumParts == 1 && Value.aPart[0].Type == ELF_LOC_CONST) {
        *pOut = Value.aPart[0];
        *pIsKnown = true;
    }
    return true;
}

class CCallStack::CFrameReader : public CLocFrame {
public:
    CFrameReader(const CCallStack& Stack, const CCallFrame& OfFrame) : m_Stack(Stack), m_Frame(OfFrame) {}
    bool ReadReg(U32 Reg, U64* pValue) override {
        ELF_SYM_LOC_PART Part = MakePart(ELF_LOC_REG), Place;
        Part.Reg = Reg;
        return m_Stack._ResolveRegister(m_Frame, Part, Place) == PART_OK && m_Stack._ReadPart(m_Frame, Place, pValue);
    }
    bool ReadMem(U32 Addr, U32 NumBytes, U64* pValue) override {
        U8 ab[8] = {};
        if (!UNWIND_GetHooks().ReadMem || UNWIND_GetHooks().ReadMem(Addr, NumBytes, ab) != 0) return false;
        *pValue = GetInteger(ab, NumBytes);
        return true;
    }
    bool GetFrameBase(U64* pValue) override {
        *pValue = m_Frame.BasePointer;
        return m_Frame.BasePointerStatus == FRAME_VALUE_VALID;
    }
    bool GetCfa(U64* pValue) override {
        *pValue = m_Frame.CFA;
        return m_Frame.CFAStatus == FRAME_VALUE_VALID;
    }
    bool ReadEntryReg(U32 Reg, U64* pValue) override {
        ELF_SYM_LOC_PART Passed;
        bool IsTold = false;
        if (m_Stack._ReadPassed(m_Frame, Reg, &Passed, &IsTold)) return IsTold && m_Stack._ReadPart(m_Frame, Passed, pValue);
        // Else known is what the function has put away; a register that it may have changed since has lost its value.
        const CRegSet* pSet = m_Stack._FindRegs(m_Frame);
        const ELF_SYM_LOC* pRule = pSet ? pSet->GetRule(Reg) : nullptr;
        ELF_SYM_LOC_PART Place;
        if (!pRule || pRule->NumParts != 1 || pRule->aPart[0].Type != ELF_LOC_MEM_CFA_OFFSET) return false;
        return m_Stack._ResolvePart(m_Frame, pRule->aPart[0], Place) == PART_OK && m_Stack._ReadPart(m_Frame, Place, pValue);
    }

private:
    const CCallStack& m_Stack;
    const CCallFrame& m_Frame;
};

ELF_SYM_LOC CCallStack::_EvalExpression(const CCallFrame& Frame, const ELF_SYM_LOC& Loc) const {
    const CProgLock Lock;
    CFrameReader Reader(*this, Frame);
    return ELF_EvalExpression(Loc, Reader);
}

ELF_SYM_LOC CCallStack::ResolveLocation(const CCallFrame& Frame, const ELF_SYM_LOC& Unresolved) const {
    const ELF_SYM_LOC Loc = ELF_IsExpression(Unresolved) ? _EvalExpression(Frame, Unresolved) : Unresolved;
    ELF_SYM_LOC Out{};
    Out.NumParts = std::min(Loc.NumParts, ELF_SYM_LOC_MAX_PARTS);
    for (U32 i = 0; i < Out.NumParts; i++) {
        const PART_RESULT Result = _ResolvePart(Frame, Loc.aPart[i], Out.aPart[i]);
        if (Result == PART_EMPTY) return ELF_SYM_LOC{};
        if (Result == PART_FAILED) {
            Out.aPart[i] = MakePart(ELF_LOC_NONE);
            LogDebug(QStringLiteral("Failed to evaluate register data location: ") + _GetLocText(Loc));
        }
    }
    return Out;
}

ELF_SYM_PIECES CCallStack::ResolvePieces(const CCallFrame& Frame, ELF_SYM_HANDLE hSym) const {
    const CProgLock Lock;
    CFrameReader Reader(*this, Frame);
    ELF_SYM_PIECES aPiece = ELF_EvalPieces(hSym, static_cast<U32>(GetLocationPC(Frame)), Reader);
    for (ELF_SYM_PIECE& Piece : aPiece) {
        ELF_SYM_LOC_PART Part = Piece.Part;
        if (Part.Type == ELF_LOC_NONE || ELF_IsPointee(Part)) continue;
        if (_ResolvePart(Frame, Part, Piece.Part) != PART_OK) Piece.Part = MakePart(ELF_LOC_NONE);
    }
    return aPiece;
}
