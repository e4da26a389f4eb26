// Texts of instructions and data items.
//
// Instructions read in capitals, numbers as 0x1F; a direct branch shows its absolute target and
// names it behind ";", a literal load shows the value behind "=" and the literal's address in the comment:
//   BL<tab>0x08000130<tab>; main
//   LDR<tab>R0, =0x20000004<tab>; [0x08000148]=Counter
#include "armplugin.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr uint32_t MAX_RAW_TEXT = 128;

/// Capitals, but for the "0x" of numbers.
std::string ToCapitals(const char* sText) {
    std::string s(sText);
    for (size_t i = 0; i < s.size(); i++) {
        const bool IsPrefix = s[i] == 'x' && i > 0 && s[i - 1] == '0' && (i < 2 || !std::isalnum(static_cast<unsigned char>(s[i - 2])));
        if (!IsPrefix) s[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(s[i])));
    }
    return s;
}

std::string Hex8(uint32_t Value) {
    char ac[16];
    std::snprintf(ac, sizeof ac, "0x%08X", Value);
    return ac;
}

struct LABEL {
    std::string sName;
    uint64_t Start;
    uint64_t End;
};

/// Symbol that the debugger has for the address. In a data region that is the symbol which the word stored
/// there points to.
bool GetLabel(uint32_t Addr, LABEL* pLabel) {
    const CORE_DEBUGGER_API& Debugger = ARM_GetDebugger();
    const char* sName = nullptr;
    if (!Debugger.pfGetLabel || Debugger.pfGetLabel(Addr, &sName, &pLabel->Start, &pLabel->End) < 0) return false;
    if (!sName || !*sName) return false;
    pLabel->sName = sName;
    return true;
}

/// Name of a place in the code, "name" or "name + 0x1F"; empty if it has none.
std::string GetPlaceName(uint32_t Addr) {
    LABEL Label;
    if (!GetLabel(Addr, &Label) || Label.Start > Addr || (Label.Start != Addr && Addr >= Label.End)) return {};
    if (Label.Start == Addr) return Label.sName;
    char ac[24];
    std::snprintf(ac, sizeof ac, " + 0x%X", static_cast<unsigned>(Addr - Label.Start));
    return Label.sName + ac;
}

/// Name of what the word at the address points to; empty if that isn't the start of something.
std::string GetPointerName(uint32_t Addr, uint32_t Value) {
    LABEL Label;
    for (uint32_t Place : {Addr, Value}) {
        if (GetLabel(Place, &Label) && (Label.Start == Value || Label.Start == (Value & ~1u))) return Label.sName;
    }
    return {};
}

/// Replaces the last operand.
void SetLastOperand(std::string& sOperands, const std::string& sNew) {
    const size_t Comma = sOperands.rfind(", ");
    sOperands = Comma == std::string::npos ? sNew : sOperands.substr(0, Comma + 2) + sNew;
}

struct TEXT {
    std::string sMnemonic;
    std::string sOperands;
    std::string sComment;
};

void AddTarget(const CORE_INST_INFO& Info, TEXT& Text) {
    const uint32_t Target = static_cast<uint32_t>(Info.BranchTarget);
    SetLastOperand(Text.sOperands, Hex8(Target));
    Text.sComment = GetPlaceName(Target);
}

void AddLiteral(const CORE_INST_INFO& Info, TEXT& Text) {
    const uint32_t Literal = static_cast<uint32_t>(Info.BranchTarget);
    Text.sComment = "[" + Hex8(Literal) + "]";
    uint32_t Value = 0;
    if (ARM_ReadU32(Literal, &Value) != 0) return;
    const size_t Bracket = Text.sOperands.find('[');
    if (Bracket == std::string::npos) return;
    Text.sOperands = Text.sOperands.substr(0, Bracket) + "=" + Hex8(Value);
    const std::string sName = GetPointerName(Literal, Value);
    if (!sName.empty()) Text.sComment += "=" + sName;
}

/// Text of an instruction; the length in bytes, 0 if there is none.
int GetText(uint64_t Addr, TEXT& Text) {
    ARM_INST Inst;
    char acRaw[MAX_RAW_TEXT];
    if (ARM_Fetch(Addr, &Inst) != 0) return 0;
    const int Length = ARM_Decode(Inst, acRaw, sizeof acRaw);
    if (Length <= 0) return 0;
    char* pTab = std::strchr(acRaw, '\t');
    if (pTab) *pTab = '\0';
    Text.sMnemonic = ToCapitals(acRaw);
    if (pTab) Text.sOperands = ToCapitals(pTab + 1);
    CORE_INST_INFO Info;
    ARM_Classify(Inst.Addr, Inst.Encoding, Inst.ITState, &Info);
    if (Info.Flags & CORE_INST_DIRECT) AddTarget(Info, Text);
    if (Info.Flags & CORE_INST_INDIRECT_MEM) AddLiteral(Info, Text);
    return Length;
}

/// Puts the parts together; what doesn't fit is cut, the comment first.
int PutText(const TEXT& Text, int Length, char* pBuffer, uint32_t Size) {
    if (!pBuffer || Size == 0) return -1;
    std::string s = Text.sMnemonic;
    if (!Text.sOperands.empty()) s += "\t" + Text.sOperands;
    if (!Text.sComment.empty()) s += (Text.sOperands.empty() ? "\t\t; " : "\t; ") + Text.sComment;
    std::snprintf(pBuffer, Size, "%s", s.c_str());
    return Length;
}

const char* GetDirective(uint32_t Length) {
    switch (Length) {
    case 8: return "DC64";
    case 4: return "DC32";
    case 2: return "DC16";
    default: return "DC8";
    }
}

} // namespace

int ARM_GetInstMnemonic(uint64_t Addr, uint32_t, char* pBuffer, uint32_t Size) {
    ARM_INST Inst;
    char acRaw[MAX_RAW_TEXT];
    if (ARM_Fetch(Addr, &Inst) != 0) return -1;
    const int Length = ARM_Decode(Inst, acRaw, sizeof acRaw);
    if (Length <= 0) return -1;
    if (char* pTab = std::strchr(acRaw, '\t')) *pTab = '\0';
    return ARM_CopyText(ToCapitals(acRaw).c_str(), pBuffer, Size) == 0 ? Length : -1;
}

int ARM_DisassembleInst(uint64_t Addr, uint32_t, char* pBuffer, uint32_t Size) {
    TEXT Text;
    const int Length = GetText(Addr, Text);
    return Length > 0 ? PutText(Text, Length, pBuffer, Size) : -1;
}

int ARM_GetDataMnemonic(uint64_t, uint32_t Length, char* pBuffer, uint32_t Size) {
    if (Length == 0) return -1;
    return ARM_CopyText(GetDirective(Length), pBuffer, Size) == 0 ? static_cast<int>(Length) : -1;
}

int ARM_DisassembleData(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size) {
    uint8_t ab[8];
    if (Length == 0 || Addr > 0xFFFFFFFFu) return -1;
    Length = std::min(Length, static_cast<uint32_t>(sizeof ab));
    if (ARM_ReadMem(static_cast<uint32_t>(Addr), Length, ab) != 0) return -1;
    TEXT Text;
    Text.sMnemonic = GetDirective(Length);
    const bool IsItem = Length == 1 || Length == 2 || Length == 4 || Length == 8;
    const uint32_t ItemSize = IsItem ? Length : 1;
    uint64_t Value = 0;
    for (uint32_t i = 0; i < Length; i += ItemSize) {
        Value = 0;
        for (uint32_t k = 0; k < ItemSize; k++) {
            const uint32_t Byte = ARM_IsDataBigEndian() ? ItemSize - 1 - k : k;
            Value |= static_cast<uint64_t>(ab[i + Byte]) << (8 * k);
        }
        char ac[24];
        std::snprintf(ac, sizeof ac, "%s0x%0*llX", i ? ", " : "", static_cast<int>(ItemSize * 2),
                      static_cast<unsigned long long>(Value));
        Text.sOperands += ac;
    }
    if (Length == 4) Text.sComment = GetPointerName(static_cast<uint32_t>(Addr), static_cast<uint32_t>(Value));
    return PutText(Text, static_cast<int>(Length), pBuffer, Size);
}
