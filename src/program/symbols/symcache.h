// Lists and texts of symbols that are made on first use and kept until the file is closed. Internal to
// program_symbols; runs under the program table mutex.
#pragma once
#include "program/symbols/diemodel.h"
#include "program/symbols/locpieces.h"

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

/// An expression that has to be run; its bytes lie in the file's sections.
struct SYM_EXPRESSION {
    const U8* pBytes;
    U32 Size;
    const DWARF_UNIT* pUnit;
    bool IsValue; ///< it gives the value itself, not the place of it
};
/// The nested type of a computed part that is an expression: NestedAddr is its number, NestedReg the slot of its file.
inline constexpr U32 SYM_NESTED_EXPRESSION = 32;
/// ... and of one that is a dropped pointer: NestedAddr is the entry of what it points to, NestedOffset the offset in it.
inline constexpr U32 SYM_NESTED_POINTEE = 33;
/// The location that stands for an expression, and the expression behind a number (null if there is none).
ELF_SYM_LOC SymKeepExpression(const ELF_FILE& File, const SYM_EXPRESSION& Expr);
const SYM_EXPRESSION* SymFindExpression(const ELF_FILE& File, U32 Number);
/// The expression of a location attribute that holds at a PC; false if there is none.
bool SymFindLocation(const ELF_FILE& File, const DWARF_DIE& Die, U32 Attr, U32 PC, SYM_EXPRESSION* pExpr);
/// The stretches that an expression gives in a frame; empty if it gives one place, or fails.
ELF_SYM_PIECES SymRunPieces(const ELF_FILE& File, const SYM_EXPRESSION& Expr, CLocFrame& Frame);
