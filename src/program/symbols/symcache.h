// Lists and texts of symbols that are made on first use and kept until the file is closed. Internal to
// program_symbols; runs under the program table mutex.
#pragma once
#include "program/symbols/diemodel.h"

#include <string>
#include <vector>

/// Variables and parameters of a function, those of lexical blocks included; null for other symbols.
const std::vector<U32>* SymLocals(ELF_SYM_HANDLE hSym);
/// Members, member functions and enumerators of a type.
const std::vector<U32>* SymMembers(ELF_SYM_HANDLE hSym);
const std::vector<U32>* SymBases(ELF_SYM_HANDLE hSym);
/// Address ranges as linked; valid until the next call for another symbol.
const std::vector<std::pair<U32, U32>>& SymRanges(ELF_SYM_HANDLE hSym);
/// The kept type text of a symbol, null if it was not made yet; and the keeping of one.
const std::string* SymFindTypeText(const ELF_FILE& File, U32 Id);
const std::string& SymKeepTypeText(const ELF_FILE& File, U32 Id, std::string sText);
