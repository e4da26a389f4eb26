// Texts of instructions and data items: "JAL<tab>RA, 0x00010130<tab>; main".
#include "rvplugin.h"

#include "../common/coretext.h"

#include <cstring>

namespace {

constexpr uint32_t MAX_RAW_TEXT = 128;

CORE_TEXT_ENV GetEnv() {
    return {RV_GetDebugger(), false, ~1u};
}

/// Text of an instruction; the length in bytes, 0 if there is none.
int GetText(uint64_t Addr, CORE_TEXT& Text) {
    RV_INST Inst;
    char acRaw[MAX_RAW_TEXT];
    if (RV_Fetch(Addr, &Inst) != 0) return 0;
    const int Length = RV_Decode(Inst, acRaw, sizeof acRaw);
    if (Length <= 0) return 0;
    char* pTab = std::strchr(acRaw, '\t');
    if (pTab) *pTab = '\0';
    Text.sMnemonic = CORETEXT_ToCapitals(acRaw);
    if (pTab) Text.sOperands = CORETEXT_ToCapitals(pTab + 1);
    CORE_INST_INFO Info;
    RV_Classify(Inst, &Info);
    if (Info.Flags & CORE_INST_DIRECT) {
        const uint32_t Target = static_cast<uint32_t>(Info.BranchTarget);
        CORETEXT_SetLastOperand(Text.sOperands, CORETEXT_Hex8(Target));
        Text.sComment = CORETEXT_GetPlaceName(GetEnv(), Target);
    }
    return Length;
}

} // namespace

int RV_GetInstMnemonic(uint64_t Addr, uint32_t, char* pBuffer, uint32_t Size) {
    CORE_TEXT Text;
    const int Length = GetText(Addr, Text);
    return Length > 0 && CORETEXT_Copy(Text.sMnemonic.c_str(), pBuffer, Size) == 0 ? Length : -1;
}

int RV_DisassembleInst(uint64_t Addr, uint32_t, char* pBuffer, uint32_t Size) {
    CORE_TEXT Text;
    const int Length = GetText(Addr, Text);
    return Length > 0 ? CORETEXT_Put(Text, Length, pBuffer, Size) : -1;
}

int RV_GetDataMnemonic(uint64_t, uint32_t Length, char* pBuffer, uint32_t Size) {
    return CORETEXT_GetDataMnemonic(Length, pBuffer, Size);
}

int RV_DisassembleData(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size) {
    return CORETEXT_DisassembleData(GetEnv(), Addr, Length, pBuffer, Size);
}
