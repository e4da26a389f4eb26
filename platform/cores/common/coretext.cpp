// What the texts of all instruction sets have in common.
#include "coretext.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

namespace {

struct LABEL {
    std::string sName;
    uint64_t Start;
    uint64_t End;
};

/// Symbol that the debugger has for the address. In a data region that is the symbol which the word stored
/// there points to.
bool GetLabel(const CORE_DEBUGGER_API& Debugger, uint32_t Addr, LABEL* pLabel) {
    const char* sName = nullptr;
    if (!Debugger.pfGetLabel || Debugger.pfGetLabel(Addr, &sName, &pLabel->Start, &pLabel->End) < 0) return false;
    if (!sName || !*sName) return false;
    pLabel->sName = sName;
    return true;
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

int CORETEXT_Copy(const char* sText, char* pBuffer, uint32_t Size) {
    const size_t Length = std::strlen(sText);
    if (!pBuffer || Length >= Size) return -1;
    std::memcpy(pBuffer, sText, Length + 1);
    return 0;
}

std::string CORETEXT_ToCapitals(const char* sText) {
    std::string s(sText);
    for (size_t i = 0; i < s.size(); i++) {
        const bool IsPrefix = s[i] == 'x' && i > 0 && s[i - 1] == '0' && (i < 2 || !std::isalnum(static_cast<unsigned char>(s[i - 2])));
        if (!IsPrefix) s[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(s[i])));
    }
    return s;
}

std::string CORETEXT_Hex8(uint32_t Value) {
    char ac[16];
    std::snprintf(ac, sizeof ac, "0x%08X", Value);
    return ac;
}

void CORETEXT_SetLastOperand(std::string& sOperands, const std::string& sNew) {
    const size_t Comma = sOperands.rfind(", ");
    sOperands = Comma == std::string::npos ? sNew : sOperands.substr(0, Comma + 2) + sNew;
}

std::string CORETEXT_GetPlaceName(const CORE_TEXT_ENV& Env, uint32_t Addr) {
    LABEL Label;
    if (!GetLabel(Env.Debugger, Addr, &Label) || Label.Start > Addr || (Label.Start != Addr && Addr >= Label.End)) return {};
    if (Label.Start == Addr) return Label.sName;
    char ac[24];
    std::snprintf(ac, sizeof ac, " + 0x%X", static_cast<unsigned>(Addr - Label.Start));
    return Label.sName + ac;
}

std::string CORETEXT_GetPointerName(const CORE_TEXT_ENV& Env, uint32_t Addr, uint32_t Value) {
    LABEL Label;
    for (uint32_t Place : {Addr, Value}) {
        if (GetLabel(Env.Debugger, Place, &Label) && (Label.Start == Value || Label.Start == (Value & Env.CodeMask))) return Label.sName;
    }
    return {};
}

int CORETEXT_Put(const CORE_TEXT& Text, int Length, char* pBuffer, uint32_t Size) {
    if (!pBuffer || Size == 0) return -1;
    std::string s = Text.sMnemonic;
    if (!Text.sOperands.empty()) s += "\t" + Text.sOperands;
    if (!Text.sComment.empty()) s += (Text.sOperands.empty() ? "\t\t; " : "\t; ") + Text.sComment;
    std::snprintf(pBuffer, Size, "%s", s.c_str());
    return Length;
}

int CORETEXT_GetDataMnemonic(uint32_t Length, char* pBuffer, uint32_t Size) {
    if (Length == 0) return -1;
    return CORETEXT_Copy(GetDirective(Length), pBuffer, Size) == 0 ? static_cast<int>(Length) : -1;
}

int CORETEXT_DisassembleData(const CORE_TEXT_ENV& Env, uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size) {
    uint8_t ab[8];
    if (Length == 0 || Addr > 0xFFFFFFFFu) return -1;
    Length = std::min(Length, static_cast<uint32_t>(sizeof ab));
    if (!Env.Debugger.pfReadMem || Env.Debugger.pfReadMem(Addr, Length, ab) != 0) return -1;
    CORE_TEXT Text;
    Text.sMnemonic = GetDirective(Length);
    const bool IsItem = Length == 1 || Length == 2 || Length == 4 || Length == 8;
    const uint32_t ItemSize = IsItem ? Length : 1;
    uint64_t Value = 0;
    for (uint32_t i = 0; i < Length; i += ItemSize) {
        Value = 0;
        for (uint32_t k = 0; k < ItemSize; k++) {
            const uint32_t Byte = Env.IsBigEndian ? ItemSize - 1 - k : k;
            Value |= static_cast<uint64_t>(ab[i + Byte]) << (8 * k);
        }
        char ac[24];
        std::snprintf(ac, sizeof ac, "%s0x%0*llX", i ? ", " : "", static_cast<int>(ItemSize * 2),
                      static_cast<unsigned long long>(Value));
        Text.sOperands += ac;
    }
    if (Length == 4) Text.sComment = CORETEXT_GetPointerName(Env, static_cast<uint32_t>(Addr), static_cast<uint32_t>(Value));
    return CORETEXT_Put(Text, static_cast<int>(Length), pBuffer, Size);
}
