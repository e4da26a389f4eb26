// The registers of call frames: a set for each frame of the visible and of the work stack.
#pragma once
#include "app/services/types.h"
#include "core/plugin/coreplugin.h"
#include "program/symbols/elfsymloc.h"

#include <vector>

/// Registers of one frame. The arrays exist from the first use on.
class CRegSet {
public:
    bool IsValid() const { return !m_aValue.empty(); }
    void Allocate(U32 NumRegs);
    void Clear();                           ///< all values unknown, no rules, no function
    U32 GetNumRegs() const { return static_cast<U32>(m_aValue.size()); }
    U64 GetValue(U32 Reg) const { return Reg < m_aValue.size() ? m_aValue[Reg] : 0; }
    U8 GetStatus(U32 Reg) const { return Reg < m_aStatus.size() ? m_aStatus[Reg] : 1; } ///< 0 valid
    void SetValue(U32 Reg, U64 Value, U8 Status);
    std::vector<ELF_SYM_LOC>& Rules() { return m_aRule; }
    const ELF_SYM_LOC* GetRule(U32 Reg) const { return Reg < m_aRule.size() ? &m_aRule[Reg] : nullptr; }
    /// The set as the core plug-in sees it; valid until the set changes.
    const CORE_REG_SET* GetPluginView();

    U64 FuncLow = 0xFFFFFFFFu;              ///< range of the frame's function; 0xFFFFFFFF: none
    U64 FuncHigh = 0;

private:
    std::vector<U64> m_aValue;
    std::vector<U8> m_aStatus;
    std::vector<ELF_SYM_LOC> m_aRule;
    CORE_REG_SET m_View{};
};

inline constexpr int NUM_CALL_STACKS = 2;

/// Sizes the table: registers of a set (0 frees all) and frames of a stack.
void UNWIND_SizeRegSets(U32 NumRegs, U32 NumFrames);
U32 UNWIND_GetNumRegs();
U32 UNWIND_GetNumFrames();
/// The set of a frame, made on its first use; null for a stack or frame outside of the table.
CRegSet* UNWIND_FindRegSet(int StackIdx, int FrameIdx);
