// Unwind rules and the CFA as locations.
#include "program/symbols/diemodel.h"
#include "program/symbols/elfsym.h"

#include <algorithm>

namespace {

constexpr U32 FLAGS_INTERNAL = 28;
constexpr U32 MAX_REGISTERS = 16400;

enum RULE_VALUE_TYPE : U8 { RULE_OFFSET = 0, RULE_VAL_OFFSET = 1, RULE_EXPRESSION = 2, RULE_VAL_EXPRESSION = 3 };

ELF_SYM_LOC OnePart(U32 Type, U32 Reg, I64 Offset)
{
    ELF_SYM_LOC Loc{};
    Loc.NumParts = 1;
    Loc.aPart[0].Type = Type;
    Loc.aPart[0].Reg = Reg;
    Loc.aPart[0].Offset = static_cast<I32>(Offset);
    return Loc;
}

/// The rule of a register; IsCfa: the rule gives an address made of a register and an offset.
ELF_SYM_LOC ToLoc(const DWARF_FRAME_RULE& Rule, U32 Reg, bool IsCfa)
{
    if (Rule.Reg == ELF_REG_SAME_VALUE) return OnePart(ELF_LOC_REG, Reg, 0);
    switch (Rule.ValueType) {
    case RULE_OFFSET: break;
    case RULE_VAL_OFFSET: return OnePart(ELF_LOC_CFA_OFFSET, 0, Rule.Offset);
    case RULE_EXPRESSION: ElfReport(ELF_ERR_CFI_EXPRESSION, FLAGS_INTERNAL); return {};
    case RULE_VAL_EXPRESSION: ElfReport(ELF_ERR_CFI_VAL_EXPRESSION, FLAGS_INTERNAL); return {};
    default: ElfReport(ELF_ERR_CFI_VALUE_TYPE, FLAGS_INTERNAL); return {};
    }
    if (!Rule.OffsetRelevant) return OnePart(ELF_LOC_REG, Rule.Reg, 0);
    if (IsCfa) return OnePart(ELF_LOC_REG_OFFSET, Rule.Reg, Rule.Offset);
    return OnePart(ELF_LOC_MEM_CFA_OFFSET, 0, Rule.Offset);
}

/// The last answer: a window asks for the CFA of one PC once for each of its variables.
struct CFA_CACHE {
    U64 Serial = 0; ///< of the file, 0 while the cache is empty
    U32 PC = 0;
    ELF_SYM_LOC Loc{};
};

} // namespace

U32 ELF_GetFrameRules(U32 PC, U32 NumRegs, ELF_SYM_LOC* paRule)
{
    ELF_FILE* pFile = ElfCurrent();
    if (!pFile || !paRule) return 0;
    NumRegs = std::min(NumRegs, MAX_REGISTERS);
    const U32 LinkPC = ELF_FromRuntimeAddr(PC, 1, 0);
    const int Fde = pFile->Adapter.FindFde(LinkPC);
    static std::vector<DWARF_FRAME_RULE> s_aRule;
    if (s_aRule.size() < NumRegs) s_aRule.resize(NumRegs);
    DWARF_FRAME_RULE Cfa;
    if (Fde < 0 || !pFile->Adapter.GetRules(Fde, LinkPC, NumRegs, s_aRule.data(), &Cfa)) return 0;
    const U32 SPColumn = ELF_GetSPColumn();
    Cfa.Offset *= pFile->CfaFactor;
    for (U32 i = 0; i < NumRegs; i++) {
        const bool IsSP = i == SPColumn;
        paRule[i] = ToLoc(IsSP ? Cfa : s_aRule[i], i, IsSP);
    }
    return NumRegs;
}

ELF_SYM_LOC ELF_GetCfa(U32 PC)
{
    static CFA_CACHE s_Cache;
    ELF_FILE* pFile = ElfCurrent();
    if (!pFile) return {};
    if (s_Cache.Serial == pFile->Serial && s_Cache.PC == PC) return s_Cache.Loc;
    const U32 LinkPC = ELF_FromRuntimeAddr(PC, 1, 0);
    const int Fde = pFile->Adapter.FindFde(LinkPC);
    DWARF_FRAME_RULE Cfa;
    ELF_SYM_LOC Loc{};
    if (Fde >= 0 && pFile->Adapter.GetRules(Fde, LinkPC, 0, nullptr, &Cfa)) Loc = ToLoc(Cfa, ELF_GetSPColumn(), true);
    s_Cache = {pFile->Serial, PC, Loc};
    return Loc;
}
