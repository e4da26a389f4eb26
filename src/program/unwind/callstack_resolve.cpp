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
        const CCallFrame& Older = GetFrame(Frame.Index + 1);
        if (Older.IsEmpty() || !IsPCValid(Older) || !IsSPValid(Older)) return PART_OK;
        return _ResolvePart(Older, GetNested(Part), Out);
    }
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
    Out = MakePart(ELF_LOC_MEM_ADDR_OFFSET);
    Out.Addr = static_cast<U32>(Addr);
    Out.Offset = Part.Offset;
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

ELF_SYM_LOC CCallStack::ResolveLocation(const CCallFrame& Frame, const ELF_SYM_LOC& Loc) const {
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
