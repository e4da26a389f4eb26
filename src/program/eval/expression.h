// CExpression: a C expression, compiled once and evaluated as often as needed against the program and the target.
//
//   CExpression Expr("p->next->value + 1");
//   if (Expr.Evaluate() >= 0) Show(Expr.GetResult().GetValueStr(0));
//   else ShowError(Expr.GetError());
//
// No assignment, no calls, no comma. Names are resolved in the selected frame. Main thread; reads of the target block.
#pragma once
#include "app/services/types.h"
#include "program/eval/symbol.h"
#include "program/tables/srcloc.h"

#include <QString>
#include <QStringList>

/// Result codes of an evaluation.
enum EXPR_RESULTS : int {
    EXPR_OK = 0,
    EXPR_UNKNOWN_ERROR = -1,
    EXPR_SYNTAX_ERROR = -2,
    EXPR_EVALUATION_ERROR = -3,
    EXPR_READ_ERROR = -4,
    EXPR_BAD_SIZE = -5,
};

class CExpression {
public:
    explicit CExpression(const QString& sText);

    /// 0 or above on success, else an EXPR_RESULTS code. A valid scope comes before the selected frame.
    int Evaluate(const CSrcLoc& Scope = {});
    const CSymbol& GetResult() const { return m_Result; } ///< the empty symbol if there is none
    QString GetText() const { return m_sText; }
    QString GetError() const { return m_sError; }         ///< empty if there is none
    int GetResultCode() const { return m_Code; }

private:
    int EvaluateLeaf(const QString& sToken, CSymbol* pResult);
    CSymbol FindVariable(const QString& sName);
    int Fail(int Code, const QString& sText);

    QString m_sText;
    QStringList m_Postfix;
    QString m_sError;
    int m_Code = EXPR_OK;
    CSrcLoc m_Scope;
    CSymbol m_Result;
    int m_Depth = 0; ///< of macros and this-> that are being resolved

    friend class CExprDepth;
};

/// The text line of an expression's value for a user. sError is empty on success.
struct EVAL_TEXT {
    QString sValue, sType, sLocation, sError;
};
EVAL_TEXT EVAL_GetText(const QString& sExpr);
/// The value as an integer. False with the reason (which may be empty).
bool EVAL_GetInteger(const QString& sExpr, I64* pValue, QString* psError = nullptr);
/// The address that an expression stands for: of a function or an object, or its value. -1 if there
/// is none, or none of 32 bits.
I64 EVAL_GetAddress(const QString& sExpr);
