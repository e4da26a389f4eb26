// Text of a C expression to tokens in postfix order: tokeniser, the operator table, and the compile steps.
//
//   QStringList Tokens, Postfix; QString sError;
//   if (EXPR_Compile("a[i] + 1", &Postfix, &sError) == 0) ...   // a i [] 1 +
#pragma once
#include "app/services/types.h"

#include <QString>
#include <QStringList>

/// Operators by id; those that C writes alike but means differently have texts of their own after compiling.
enum EXPR_OPS : int {
    OP_NONE = 0,
    OP_POST_INC = 1, OP_POST_DEC = 2, OP_PRE_INC = 3, OP_PRE_DEC = 4,
    OP_PLUS = 5, OP_MINUS = 6, OP_ADD = 7, OP_SUB = 8, OP_MUL = 9, OP_DIV = 10, OP_MOD = 11, OP_COMPL = 12,
    OP_AND = 13, OP_OR = 14, OP_XOR = 15, OP_SHL = 16, OP_SHR = 17, OP_LOG_AND = 18, OP_LOG_OR = 19, OP_NOT = 20,
    OP_EQ = 21, OP_NE = 22, OP_LT = 23, OP_GT = 24, OP_LE = 25, OP_GE = 26, OP_INDEX = 27, OP_OPEN_INDEX = 28,
    OP_CLOSE_INDEX = 29, OP_ADDR = 30, OP_DEREF = 31, OP_ARROW = 32, OP_MEMBER = 33, OP_CAST = 34, OP_SIZEOF = 35,
    OP_SCOPE = 36, OP_OPEN = 37, OP_CLOSE = 38,
};

struct EXPR_OPERATOR {
    int Id;
    const char* Text;
    bool Binary;
    bool LeftAssoc;
    int Priority; ///< 1 binds strongest
};

/// The first row with that text, null if it is no operator.
const EXPR_OPERATOR* EXPR_FindOperator(const QString& sText);

bool EXPR_IsIdentifier(const QString& sText);
/// The number form: an integer or floating point number, group separators and suffixes removed. False if it is none.
bool EXPR_ParseNumber(const QString& sText, bool* pIsInteger, U64* pInteger, double* pDouble);
/// 0, or -2 at a character that begins no token.
int EXPR_Tokenise(const QString& sText, QStringList* pTokens);
/// All compile steps. 0, or -2 with the message of the step that failed.
int EXPR_Compile(const QString& sText, QStringList* pPostfix, QString* psError);
