// What the texts of all instruction sets have in common: names of places, data items, and how the parts are put together.
// Any thread.
#pragma once
#include "core/plugin/coreplugin.h"

#include <cstdint>
#include <string>

struct CORE_TEXT {
    std::string sMnemonic;
    std::string sOperands;
    std::string sComment; ///< without its ";"
};

/// The debugger's functions, and how the core lays out data and marks code pointers.
struct CORE_TEXT_ENV {
    const CORE_DEBUGGER_API& Debugger;
    bool IsBigEndian;
    uint32_t CodeMask; ///< bits of a code pointer that are the address
};

/// Copies a text into a buffer of the debugger. 0, or -1 if it doesn't fit or the buffer is missing.
int CORETEXT_Copy(const char* sText, char* pBuffer, uint32_t Size);
/// Capitals, but for the "0x" of numbers.
std::string CORETEXT_ToCapitals(const char* sText);
std::string CORETEXT_Hex8(uint32_t Value);
/// Replaces the last operand.
void CORETEXT_SetLastOperand(std::string& sOperands, const std::string& sNew);
/// Name of a place in the code, "name" or "name + 0x1F"; empty if it has none.
std::string CORETEXT_GetPlaceName(const CORE_TEXT_ENV& Env, uint32_t Addr);
/// Name of what the word at the address points to; empty if that isn't the start of something.
std::string CORETEXT_GetPointerName(const CORE_TEXT_ENV& Env, uint32_t Addr, uint32_t Value);
/// Puts the parts together; what doesn't fit is cut, the comment first. Gives Length, -1 without a buffer.
int CORETEXT_Put(const CORE_TEXT& Text, int Length, char* pBuffer, uint32_t Size);
/// Directive of a data item, and the item's whole text: the length in bytes, -1 if there is none.
int CORETEXT_GetDataMnemonic(uint32_t Length, char* pBuffer, uint32_t Size);
int CORETEXT_DisassembleData(const CORE_TEXT_ENV& Env, uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
