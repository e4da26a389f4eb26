// Texts of instructions and data items.
//
// Instructions read in capitals, numbers as 0x1F; a direct branch shows its absolute target and
// names it behind ";", a literal load shows the value behind "=" and the literal's address in the comment:
//   BL<tab>0x08000130<tab>; main
//   LDR<tab>R0, =0x20000004<tab>; [0x08000148]=Counter
#include "armplugin.h"

#include "../common/coretext.h"

#include <cstring>
#include <string>

namespace {

constexpr uint32_t MAX_RAW_TEXT = 128;

CORE_TEXT_ENV GetEnv() {
    return {ARM_GetDebugger(), ARM_IsDataBigEndian(), ~1u};
}

void AddTarget(const CORE_INST_INFO& Info, CORE_TEXT& Text) {
    const uint32_t Target = static_cast<uint32_t>(Info.BranchTarget);
    CORETEXT_SetLastOperand(Text.sOperands, CORETEXT_Hex8(Target));
    Text.sComment = CORETEXT_GetPlaceName(GetEnv(), Target);
}

void AddLiteral(const CORE_INST_INFO& Info, CORE_TEXT& Text) {
    const uint32_t Literal = static_cast<uint32_t>(Info.BranchTarget);
    Text.sComment = "[" + CORETEXT_Hex8(Literal) + "]";
    uint32_t Value = 0;
    if (ARM_ReadU32(Literal, &Value) != 0) return;
    const size_t Bracket = Text.sOperands.find('[');
    if (Bracket == std::string::npos) return;
    Text.sOperands = Text.sOperands.substr(0, Bracket) + "=" + CORETEXT_Hex8(Value);
    const std::string sName = CORETEXT_GetPointerName(GetEnv(), Literal, Value);
    if (!sName.empty()) Text.sComment += "=" + sName;
}

/// Text of an instruction; the length in bytes, 0 if there is none.
int GetText(uint64_t Addr, CORE_TEXT& Text) {
    ARM_INST Inst;
    char acRaw[MAX_RAW_TEXT];
    if (ARM_Fetch(Addr, &Inst) != 0) return 0;
    const int Length = ARM_Decode(Inst, acRaw, sizeof acRaw);
    if (Length <= 0) return 0;
    char* pTab = std::strchr(acRaw, '\t');
    if (pTab) *pTab = '\0';
    Text.sMnemonic = CORETEXT_ToCapitals(acRaw);
    if (pTab) Text.sOperands = CORETEXT_ToCapitals(pTab + 1);
    CORE_INST_INFO Info;
    ARM_Classify(Inst.Addr, Inst.Encoding, Inst.ITState, &Info);
    if (Info.Flags & CORE_INST_DIRECT) AddTarget(Info, Text);
    if (Info.Flags & CORE_INST_INDIRECT_MEM) AddLiteral(Info, Text);
    return Length;
}

} // namespace

int ARM_GetInstMnemonic(uint64_t Addr, uint32_t, char* pBuffer, uint32_t Size) {
    ARM_INST Inst;
    char acRaw[MAX_RAW_TEXT];
    if (ARM_Fetch(Addr, &Inst) != 0) return -1;
    const int Length = ARM_Decode(Inst, acRaw, sizeof acRaw);
    if (Length <= 0) return -1;
    if (char* pTab = std::strchr(acRaw, '\t')) *pTab = '\0';
    return ARM_CopyText(CORETEXT_ToCapitals(acRaw).c_str(), pBuffer, Size) == 0 ? Length : -1;
}

int ARM_DisassembleInst(uint64_t Addr, uint32_t, char* pBuffer, uint32_t Size) {
    CORE_TEXT Text;
    const int Length = GetText(Addr, Text);
    return Length > 0 ? CORETEXT_Put(Text, Length, pBuffer, Size) : -1;
}

int ARM_GetDataMnemonic(uint64_t, uint32_t Length, char* pBuffer, uint32_t Size) {
    return CORETEXT_GetDataMnemonic(Length, pBuffer, Size);
}

int ARM_DisassembleData(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size) {
    return CORETEXT_DisassembleData(GetEnv(), Addr, Length, pBuffer, Size);
}
