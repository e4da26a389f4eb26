// Evaluation of one operator on symbols. Main thread; reads of operands block.
#pragma once
#include "program/eval/exprtokens.h"
#include "program/eval/symbol.h"

/// Runs a unary or binary operator (pRight null for a unary one, whose operand is pLeft). 0 with *pResult, or one of
/// -1 .. -5 with *pFailing 0 for the left and 1 for the right operand.
int EXPR_RunOperator(const EXPR_OPERATOR& Op, CSymbol& Left, CSymbol* pRight, CSymbol* pResult, int* pFailing);
/// The message of a failed operator.
QString EXPR_GetOperatorError(const EXPR_OPERATOR& Op, int Code, int Failing, const CSymbol& Operand);
