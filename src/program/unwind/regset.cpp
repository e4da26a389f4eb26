// The registers of call frames.
#include "program/unwind/regset.h"

#include <algorithm>
#include <cstddef>

// Rules of plug-in and program file lie in one array.
static_assert(sizeof(CORE_LOC) == sizeof(ELF_SYM_LOC));
static_assert(offsetof(CORE_LOC, aPart) == offsetof(ELF_SYM_LOC, aPart));
static_assert(offsetof(CORE_LOC_PART, Address) == offsetof(ELF_SYM_LOC_PART, Addr));
static_assert(offsetof(CORE_LOC_PART, Register) == offsetof(ELF_SYM_LOC_PART, Reg));
static_assert(offsetof(CORE_LOC_PART, Offset) == offsetof(ELF_SYM_LOC_PART, Offset));
static_assert(offsetof(CORE_LOC_PART, Size) == offsetof(ELF_SYM_LOC_PART, Size));
static_assert(offsetof(CORE_LOC_PART, Value) == offsetof(ELF_SYM_LOC_PART, Value));
static_assert(offsetof(CORE_LOC_PART, NestedType) == offsetof(ELF_SYM_LOC_PART, NestedType));
static_assert(offsetof(CORE_LOC_PART, NestedOffset) == offsetof(ELF_SYM_LOC_PART, NestedOffset));
static_assert(U32(CORE_RULE_UNDEFINED) == ELF_REG_UNDEFINED && U32(CORE_RULE_SAME_VALUE) == ELF_REG_SAME_VALUE);
static_assert(int(CORE_LOC_MEM_AT_CFA) == int(ELF_LOC_MEM_CFA_OFFSET));

namespace {

U32 NumRegsOfSet = 0;
std::vector<CRegSet> aaSet[NUM_CALL_STACKS];

} // namespace

void CRegSet::Allocate(U32 NumRegs) {
    m_aValue.resize(NumRegs);
    m_aStatus.resize(NumRegs);
    m_aRule.resize(NumRegs);
    Clear();
}

void CRegSet::Clear() {
    std::fill(m_aValue.begin(), m_aValue.end(), 0);
    std::fill(m_aStatus.begin(), m_aStatus.end(), U8(1));
    std::fill(m_aRule.begin(), m_aRule.end(), ELF_SYM_LOC{});
    FuncLow = 0xFFFFFFFFu;
    FuncHigh = 0;
}

void CRegSet::SetValue(U32 Reg, U64 Value, U8 Status) {
    if (Reg >= m_aValue.size()) return;
    m_aValue[Reg] = Value;
    m_aStatus[Reg] = Status;
}

const CORE_REG_SET* CRegSet::GetPluginView() {
    m_View.FuncLow = FuncLow;
    m_View.FuncHigh = FuncHigh;
    m_View.NumRegs = GetNumRegs();
    m_View.ValueSize = sizeof(U64);
    m_View.paValue = m_aValue.data();
    m_View.paStatus = m_aStatus.data();
    m_View.paRule = reinterpret_cast<CORE_LOC*>(m_aRule.data());
    return &m_View;
}

void UNWIND_SizeRegSets(U32 NumRegs, U32 NumFrames) {
    NumRegsOfSet = NumRegs;
    for (auto& aSet : aaSet) {
        aSet.clear();
        aSet.resize(NumRegs ? std::max(NumFrames, 1u) : 0);
    }
}

U32 UNWIND_GetNumRegs() {
    return NumRegsOfSet;
}

U32 UNWIND_GetNumFrames() {
    return static_cast<U32>(aaSet[0].size());
}

CRegSet* UNWIND_FindRegSet(int StackIdx, int FrameIdx) {
    if (StackIdx < 0 || StackIdx >= NUM_CALL_STACKS || FrameIdx < 0) return nullptr;
    std::vector<CRegSet>& aSet = aaSet[StackIdx];
    if (static_cast<size_t>(FrameIdx) >= aSet.size()) return nullptr;
    CRegSet& Set = aSet[static_cast<size_t>(FrameIdx)];
    if (!Set.IsValid()) Set.Allocate(NumRegsOfSet);
    return &Set;
}
