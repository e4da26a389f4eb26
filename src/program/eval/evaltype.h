// Types of values: those of the program as the reduced C types that the evaluator works with.
#pragma once
#include "program/symbols/ctype.h"
#include "program/symbols/elfsym.h"

/// The type of a variable, member or type symbol of the program; typedefs and qualifiers are seen through.
CCType EVAL_GetType(ELF_SYM_HANDLE hSym);
/// A base type by its id.
CCType EVAL_MakeType(int TypeId);

inline bool EVAL_IsBase(const CCType& Type) { return Type.TypeId != CTYPE_UNKNOWN && Type.Declarators.isEmpty(); }
inline bool EVAL_IsFloat(const CCType& Type)
{
    return Type.Declarators.isEmpty() && (Type.TypeId == CTYPE_FLOAT || Type.TypeId == CTYPE_DOUBLE);
}

/// A number without its fraction; what is beyond the range becomes the nearest number in it, and what is no number 0.
I64 EVAL_ToInteger(double Value);
