#include "program/eval/expression.h"

#include "program/eval/evalhooks.h"
#include "program/eval/exproperators.h"
#include "program/eval/exprtokens.h"
#include "program/tables/prog.h"

#include <QFileInfo>
#include <algorithm>

namespace {
constexpr int MAX_DEPTH = 16; ///< macros that expand to macros
constexpr int MAX_FUNCTION_SCOPES = 64; ///< expansions within each other

QString GetCodeText(int Code)
{
    switch (Code) {
    case EXPR_SYNTAX_ERROR: return QStringLiteral("syntax error");
    case EXPR_EVALUATION_ERROR: return QStringLiteral("evaluation error");
    case EXPR_READ_ERROR: return QStringLiteral("data readout error");
    case EXPR_BAD_SIZE: return QStringLiteral("invalid data buffer size");
    default: return QStringLiteral("unknown error");
    }
}

/// An operator's own code as the expression's.
int ToExprCode(int OpCode)
{
    if (OpCode == -5) return EXPR_READ_ERROR;
    return OpCode <= -2 ? EXPR_EVALUATION_ERROR : EXPR_UNKNOWN_ERROR;
}

} // namespace

CExpression::CExpression(const QString& sText) : m_sText(sText)
{
    if (!sText.isEmpty()) m_Code = EXPR_Compile(sText, &m_Postfix, &m_sError);
}

int CExpression::Fail(int Code, const QString& sText)
{
    if (m_sError.isEmpty()) m_sError = sText.isEmpty() ? GetCodeText(Code) : sText;
    m_Code = Code;
    return Code;
}

int CExpression::Evaluate(const CSrcLoc& Scope)
{
    if (m_Code == EXPR_SYNTAX_ERROR && !m_sError.isEmpty()) return m_Code;
    m_Code = EXPR_OK;
    m_sError.clear();
    m_Result = {};
    m_Scope = Scope;
    QList<CSymbol> Stack;
    for (const QString& sToken : m_Postfix) {
        const EXPR_OPERATOR* pOp = EXPR_FindOperator(sToken);
        if (!pOp) {
            CSymbol Leaf;
            if (const int Result = EvaluateLeaf(sToken, &Leaf); Result < 0) return Fail(Result, {});
            Stack.append(Leaf);
            continue;
        }
        if (Stack.size() < (pOp->Binary ? 2 : 1)) return Fail(EXPR_SYNTAX_ERROR, {});
        CSymbol Right = pOp->Binary ? Stack.takeLast() : CSymbol();
        CSymbol Left = Stack.takeLast();
        CSymbol Result;
        int Failing = 0, Code = 0;
        if (pOp->Id == OP_SCOPE) {
            const QString sName = Left.Name + QStringLiteral("::") + Right.Name;
            Result = FindVariable(sName);
            if (Result.IsEmpty()) Result.Name = sName; // a scope in a scope is the left part of the next one
        } else {
            Code = EXPR_RunOperator(*pOp, Left, pOp->Binary ? &Right : nullptr, &Result, &Failing);
        }
        if (Code < 0) return Fail(ToExprCode(Code), EXPR_GetOperatorError(*pOp, Code, Failing, Failing ? Right : Left));
        Stack.append(Result);
    }
    if (Stack.size() != 1) {
        m_Code = m_Postfix.isEmpty() ? EXPR_UNKNOWN_ERROR : EXPR_SYNTAX_ERROR;
        return m_Postfix.isEmpty() ? m_Code : Fail(EXPR_SYNTAX_ERROR, {});
    }
    m_Result = Stack.first();
    if (m_Result.IsEmpty() || m_Result.ByteSize == 0) return m_Code = EXPR_UNKNOWN_ERROR;
    return int(m_Result.ByteSize);
}

CSymbol CExpression::FindVariable(const QString& sName)
{
    const CProgLock Lock;
    // "file::name" or "scope::name": the last of the symbols that go by the qualified name.
    if (const qsizetype Pos = sName.lastIndexOf(QStringLiteral("::")); Pos >= 0) {
        const QString sScope = sName.left(Pos), sPlain = sName.mid(Pos + 2);
        for (const ELF_SYM_HANDLE h : PROG_FindSymbols(sPlain, true, true, true, false, true)) {
            if (PROG_GetSymName(h, PROG_NAME_QUALIFIED) == sName) return CSymbol::FromProgram(h);
            for (ELF_SYM_HANDLE hUp = ELF_GetSymParent(h); hUp; hUp = ELF_GetSymParent(hUp)) {
                if (ELF_GetSymTag(hUp) == ELF_TAG_COMPILE_UNIT &&
                    QFileInfo(QString::fromUtf8(ELF_GetSymName(hUp))).fileName() == sScope)
                    return CSymbol::FromProgram(h);
            }
        }
        return {};
    }
    // What is seen where the selected frame stands comes first, inner blocks before outer ones; an expansion sees what the
    // functions have that it lies in as well.
    const QByteArray Utf8 = sName.toUtf8();
    const auto IsNamed = [&Utf8](ELF_SYM_HANDLE h) { return Utf8 == ELF_GetSymName(h); };
    ELF_SYM_LIST OfOtherBlocks;
    ELF_SYM_HANDLE hFunc = EVAL_GetFrameFunction();
    for (int i = 0; hFunc && !ELF_SymIsElf(hFunc) && i < MAX_FUNCTION_SCOPES; i++) {
        const ELF_SYM_LIST Seen = ELF_GetSymLocalsAt(hFunc, EVAL_GetLocationPC());
        if (const auto it = std::find_if(Seen.begin(), Seen.end(), IsNamed); it != Seen.end())
            return CSymbol::FromProgram(*it); // what has no value here hides others of its name all the same
        for (U32 n = ELF_GetSymLocalCount(hFunc); n-- > 0;)
            if (const ELF_SYM_HANDLE h = ELF_GetSymLocal(hFunc, n); IsNamed(h)) OfOtherBlocks.append(h);
        if (ELF_GetSymTag(hFunc) == ELF_TAG_SUBPROGRAM) break;
        do hFunc = ELF_GetSymParent(hFunc);
        while (hFunc && !PROG_IsFunction(hFunc));
    }
    CSymbol OutOfScope;
    for (const bool Elf : {false, true})
        for (const ELF_SYM_HANDLE h : PROG_FindSymbols(sName, false, !Elf, false, Elf, true)) {
            CSymbol Global = CSymbol::FromProgram(h);
            if (Global.Loc.NumParts && !Global.IsFunction) return Global;
            // One that was optimised away has no value, but a type and a size.
            if (OutOfScope.IsEmpty() && !Global.IsFunction) OutOfScope = Global;
        }
    if (!OfOtherBlocks.isEmpty()) return CSymbol::FromProgram(OfOtherBlocks.first());
    const ELF_SYM_LIST Funcs = PROG_FindSymbols(sName, true, false, false, true, true);
    return Funcs.isEmpty() ? OutOfScope : CSymbol::FromProgram(Funcs.first());
}

int CExpression::EvaluateLeaf(const QString& sToken, CSymbol* pResult)
{
    if (sToken.isEmpty()) return EXPR_EVALUATION_ERROR;
    bool IsInteger = false;
    U64 Integer = 0;
    double Double = 0;
    if (sToken[0].isDigit() && EXPR_ParseNumber(sToken, &IsInteger, &Integer, &Double)) {
        *pResult = IsInteger ? CSymbol::FromInteger(sToken, Integer, CTYPE_ULONGLONG) : CSymbol::FromDouble(sToken, Double);
        return 0;
    }
    const EVAL_HOOKS& Hooks = EVAL_GetHooks();
    I64 Value = 0;
    if ((Hooks.FindConstant && Hooks.FindConstant(sToken, &Value)) || (Hooks.FindSysVar && Hooks.FindSysVar(sToken, &Value))) {
        *pResult = CSymbol::FromInteger(sToken, U64(Value), CTYPE_UINT);
        return 0;
    }
    if (const QString sMacro = PROG_GetMacroText(sToken); !sMacro.isEmpty() && m_Depth < MAX_DEPTH) {
        CExpression Macro(sMacro);
        Macro.m_Depth = m_Depth + 1;
        if (Macro.Evaluate() >= 0) {
            *pResult = Macro.GetResult();
            pResult->Name = sToken;
            return 0;
        }
    }
    *pResult = FindVariable(sToken);
    if (pResult->IsEmpty() && PROG_GetSrcLang() == ELF_SRC_LANG_CPP && sToken != "this" && m_Depth < MAX_DEPTH &&
        EXPR_IsIdentifier(sToken)) {
        CExpression Member(QStringLiteral("this->") + sToken);
        Member.m_Depth = MAX_DEPTH;
        if (Member.Evaluate() >= 0) *pResult = Member.GetResult();
    }
    if (pResult->IsEmpty()) {
        const CProgLock Lock;
        const ELF_SYM_LIST Types = PROG_FindSymbols(sToken, false, false, true, false, true);
        if (!Types.isEmpty()) {
            pResult->IsType = true;
            pResult->hType = ELF_GetSymType(Types.first(), true);
            pResult->Type = EVAL_GetType(Types.first());
            pResult->ByteSize = ELF_GetSymSize(pResult->hType);
        } else if (CCType Type(sToken); !Type.Declarators.isEmpty()) {
            pResult->IsType = true;
            pResult->Type = Type;
        }
    }
    // A name that nothing knows is no failure here: right of "." it is a member.
    pResult->Name = sToken;
    if (pResult->FullName.isEmpty()) pResult->FullName = sToken;
    return 0;
}

EVAL_TEXT EVAL_GetText(const QString& sExpr)
{
    EVAL_TEXT Text;
    CExpression Expr(sExpr);
    if (Expr.Evaluate() < 0) {
        Text.sError = Expr.GetError().isEmpty() ? QStringLiteral("unknown symbol: ") + sExpr : Expr.GetError();
        return Text;
    }
    CSymbol Result = Expr.GetResult();
    const EVAL_HOOKS& Hooks = EVAL_GetHooks();
    const bool CanRead = Hooks.IsConnected && Hooks.IsConnected() && Result.Loc.NumParts > 0 && Result.ByteSize > 0;
    if (!Result.IsFunction && Result.Read() < 0 && CanRead) {
        Text.sError = GetCodeText(EXPR_READ_ERROR);
        return Text;
    }
    Text.sValue = Result.GetValueStr(0);
    Text.sType = Result.GetTypeStr();
    Text.sLocation = Result.GetLocationStr();
    return Text;
}

bool EVAL_GetInteger(const QString& sExpr, I64* pValue, QString* psError)
{
    CExpression Expr(sExpr);
    CSymbol Result;
    if (Expr.Evaluate() >= 0) {
        Result = Expr.GetResult();
        if (Result.IsFunction) {
            *pValue = Result.GetMemAddr();
            return true;
        }
        Result.Read();
        double Double = 0;
        if (EVAL_IsFloat(Result.Type) && Result.GetDouble(&Double)) {
            *pValue = EVAL_ToInteger(Double);
            return true;
        }
        if (Result.GetInteger(pValue)) return true;
    }
    if (psError) *psError = Expr.GetError();
    return false;
}

I64 EVAL_GetAddress(const QString& sExpr)
{
    CExpression Expr(sExpr);
    if (Expr.Evaluate() < 0) return -1;
    CSymbol Result = Expr.GetResult();
    if (Result.IsFunction || Result.GetMemAddr() >= 0) return Result.GetMemAddr();
    I64 Value = 0;
    return Result.GetInteger(&Value) && Value <= 0xFFFFFFFF ? Value : -1;
}
