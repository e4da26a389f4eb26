// Statements. With Exec false a statement is read and nothing but a declaration takes effect.
#include "script/lang/scriptinternal.h"

#include <cstdio>
#include <cstring>

namespace Script {

namespace {
struct ASSIGN_OP {
    const char* Text;
    char Code; ///< operator of a compound assignment, '=' for the plain one
};
// In the order in which the text is tried.
constexpr ASSIGN_OP ASSIGN_OPS[] = {
    {"+=", '+'}, {"-=", '-'}, {"*=", '*'},  {"/=", '/'},  {"&=", '&'},
    {"|=", '|'}, {"^=", '^'}, {"<<=", 'l'}, {">>=", 'r'}, {"=", '='},
};

bool MatchKeyword(SCRIPT_CTX* pCtx, const char* sKeyword)
{
    WORD Word;
    if (!PeekWord(pCtx, &Word) || !WordIs(Word, sKeyword)) {
        return false;
    }
    Consume(pCtx, Word);
    return true;
}

int Block(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, I64* pResult, bool Exec)
{
    int Result = 0;
    while (Result == 0 && !MatchChar(pCtx, '}')) {
        Result = Stmt(pCtx, pFunc, pResult, Exec);
    }
    return Result;
}

int Condition(SCRIPT_CTX* pCtx, bool Exec, bool* pTrue)
{
    I64 Value = 0;
    if (ExpectChar(pCtx, '(') < 0 || EvalValue(pCtx, Exec, &Value) < 0 || ExpectChar(pCtx, ')') < 0) {
        return -1;
    }
    *pTrue = Exec && Value != 0;
    return 0;
}

/// A return in a branch that isn't taken is passed over like any other statement, so that the
/// branch is read to its own end.
int Return(SCRIPT_CTX* pCtx, I64* pResult, bool Exec)
{
    I64 Value = 0;
    if (EvalValue(pCtx, Exec, &Value) < 0 || ExpectChar(pCtx, ';') < 0) {
        return -1;
    }
    if (!Exec) {
        return 0;
    }
    *pResult = Value;
    return 1;
}

int If(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, I64* pResult, bool Exec)
{
    bool Taken = false;
    if (Condition(pCtx, Exec, &Taken) < 0) {
        return -1;
    }
    const int Result = Stmt(pCtx, pFunc, pResult, Taken);
    if (Result != 0 || !MatchKeyword(pCtx, "else")) {
        return Result;
    }
    return Stmt(pCtx, pFunc, pResult, Exec && !Taken);
}

int While(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, I64* pResult, bool Exec)
{
    const POS Top = GetPos(pCtx);
    for (;;) {
        bool Taken = false;
        if (Condition(pCtx, Exec, &Taken) < 0) {
            return -1;
        }
        const int Result = Stmt(pCtx, pFunc, pResult, Taken);
        if (Result != 0 || !Taken) {
            return Result;
        }
        if (pCtx->Abort) {
            return -1;
        }
        SetPos(pCtx, Top);
    }
}

int DoWhile(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, I64* pResult, bool Exec)
{
    const POS Top = GetPos(pCtx);
    for (;;) {
        const int Result = Stmt(pCtx, pFunc, pResult, Exec);
        if (Result != 0) {
            return Result;
        }
        if (!MatchKeyword(pCtx, "while")) {
            if (!pCtx->Error) {
                std::snprintf(pCtx->ErrorBuffer, sizeof(pCtx->ErrorBuffer),
                              "syntax error. Missing \"while\" at line %d", pCtx->Line);
            }
            return SetError(pCtx, pCtx->ErrorBuffer);
        }
        bool Again = false;
        if (Condition(pCtx, Exec, &Again) < 0) {
            return -1;
        }
        if (!Again || pCtx->Abort) {
            return ExpectChar(pCtx, ';');
        }
        SetPos(pCtx, Top);
    }
}

/// Behind the name of a local: its size if it is an array. 0, 1 for an array, -1.
int ArraySize(SCRIPT_CTX* pCtx, U64* pCount)
{
    *pCount = 1;
    if (!MatchChar(pCtx, '[')) {
        return 0;
    }
    I64 Count = 0;
    if (SkipSpace(pCtx) < 0) {
        return -1;
    }
    if (!ReadNumber(pCtx, &Count)) {
        return SetError(pCtx, "expected an integer value");
    }
    if (ExpectChar(pCtx, ']') < 0) {
        return -1;
    }
    *pCount = static_cast<U64>(Count);
    return 1;
}

int Declaration(SCRIPT_CTX* pCtx, SCRIPT_SYM* pFirst)
{
    SCRIPT_SYM* pType = pFirst;
    while (pType && pType->Kind == SYM_QUALIFIER) {
        WORD Word;
        pType = PeekWord(pCtx, &Word) ? Lookup(pCtx, Word) : nullptr;
        if (!pType) {
            return SetError(pCtx, ERR_SYNTAX);
        }
        Consume(pCtx, Word);
    }
    auto* pVar = static_cast<SCRIPT_VAR*>(AllocHigh(pCtx, sizeof(SCRIPT_VAR)));
    if (!pVar) {
        return -1;
    }
    if (pType->Kind != SYM_BASE_TYPE || MatchChar(pCtx, '*')) {
        return SetError(pCtx, "currently only basic data types for local variables are allowed.");
    }
    WORD Name;
    if (!PeekWord(pCtx, &Name)) {
        return SetError(pCtx, ERR_NEED_IDENT);
    }
    Consume(pCtx, Name);
    U64 Count = 0;
    const int IsArray = ArraySize(pCtx, &Count);
    if (IsArray < 0 || ExpectChar(pCtx, ';') < 0) {
        return -1;
    }
    InitSym(pVar, SYM_VARIABLE, Name.Name, Name.Len);
    pVar->Type = pType;
    if (IsArray) {
        auto* pArray = static_cast<SCRIPT_ARRAY_TYPE*>(AllocHigh(pCtx, sizeof(SCRIPT_ARRAY_TYPE)));
        if (!pArray) {
            return -1;
        }
        InitSym(pArray, SYM_ARRAY_TYPE, "", 0);
        pArray->Type = pType;
        pArray->Count = Count;
        pVar->Type = pArray;
    }
    // A count from the text may be anything; the product must not wrap before it is compared.
    const U64 Size = static_cast<U64>(pType->Value);
    if (Size != 0 && Count > static_cast<U64>(pCtx->HeapHigh - pCtx->HeapLow) / Size) {
        return SetError(pCtx, ERR_OUT_OF_MEMORY);
    }
    pVar->Data = static_cast<U8*>(AllocHigh(pCtx, Size * Count));
    if (!pVar->Data) {
        return -1;
    }
    AppendLocal(pCtx, pVar);
    return 0;
}

/// The effect of an assignment whose parts have been read.
int Assign(SCRIPT_CTX* pCtx, SCRIPT_VAR* pVar, I64 Index, char Op, I64 Value)
{
    SCRIPT_SYM* pType = pVar->Type;
    const bool IsArray = pType->Kind == SYM_ARRAY_TYPE;
    if (IsArray) {
        if (static_cast<U64>(Index) >= static_cast<SCRIPT_ARRAY_TYPE*>(pType)->Count) {
            return SetError(pCtx, ERR_INDEX_RANGE);
        }
        if (Op != '=') {
            return SetError(pCtx, ERR_NEED_BASE_TYPE);
        }
        pType = pType->Type;
    }
    if (pType->Kind != SYM_BASE_TYPE) {
        return SetError(pCtx, Op != '=' ? ERR_NEED_BASE_TYPE : "assignments are allowed for base types only");
    }
    const U64 Size = static_cast<U64>(pType->Value);
    if (Op != '=') {
        I64 Old = 0;
        if (LoadBytes(pCtx, pVar->Data, Size, &Old) < 0 || Combine(pCtx, Op, Old, Value, &Value) < 0) {
            return -1;
        }
    }
    if (Size > 8) {
        return SetError(pCtx, "base type size exceeds 8 bytes");
    }
    if (Size < 1) {
        return SetError(pCtx, "base type size must be at least 1 byte");
    }
    StoreBytes(pVar->Data + Size * static_cast<U64>(Index), Size, Value);
    return 0;
}

int Assignment(SCRIPT_CTX* pCtx, SCRIPT_VAR* pVar, bool Exec)
{
    I64 Index = 0;
    if (pVar->Type->Kind == SYM_ARRAY_TYPE && EvalIndex(pCtx, Exec, &Index) < 0) {
        return -1;
    }
    if (SkipSpace(pCtx) < 0) {
        return -1;
    }
    const ASSIGN_OP* pOp = nullptr;
    for (const ASSIGN_OP& Op : ASSIGN_OPS) {
        if (MatchText(pCtx, Op.Text)) {
            pOp = &Op;
            break;
        }
    }
    if (!pOp) {
        return SetError(pCtx, ERR_SYNTAX);
    }
    I64 Value = 0;
    if (EvalValue(pCtx, Exec, &Value) < 0 || ExpectChar(pCtx, ';') < 0) {
        return -1;
    }
    return Exec ? Assign(pCtx, pVar, Index, pOp->Code, Value) : 0;
}

int KeywordStmt(SCRIPT_CTX* pCtx, const WORD& Word, SCRIPT_FUNC* pFunc, I64* pResult, bool Exec,
                bool* pIsKeyword)
{
    using STATEMENT = int (*)(SCRIPT_CTX*, SCRIPT_FUNC*, I64*, bool);
    struct ROW {
        const char* Keyword;
        STATEMENT pfRun;
    };
    static constexpr ROW ROWS[] = {
        {"return", [](SCRIPT_CTX* c, SCRIPT_FUNC*, I64* r, bool e) { return Return(c, r, e); }},
        {"if", If},
        {"while", While},
        {"do", DoWhile},
        {"for", [](SCRIPT_CTX* c, SCRIPT_FUNC*, I64*,
                   bool) { return SetError(c, "keyword \"for\" is not yet supported"); }},
        {"else", [](SCRIPT_CTX* c, SCRIPT_FUNC*, I64*,
                    bool) { return SetError(c, "keyword \"else\" is not allowed without \"if\""); }},
    };
    for (const ROW& Row : ROWS) {
        if (WordIs(Word, Row.Keyword)) {
            *pIsKeyword = true;
            Consume(pCtx, Word);
            return Row.pfRun(pCtx, pFunc, pResult, Exec);
        }
    }
    *pIsKeyword = false;
    return 0;
}

int SymbolStmt(SCRIPT_CTX* pCtx, const WORD& Word, bool Exec)
{
    SCRIPT_SYM* pSym = Lookup(pCtx, Word);
    if (!pSym) {
        return SetError(pCtx, ERR_SYNTAX);
    }
    I64 Ignored = 0;
    switch (pSym->Kind) {
    case SYM_BASE_TYPE:
    case SYM_QUALIFIER:
        Consume(pCtx, Word);
        return Declaration(pCtx, pSym);
    case SYM_VARIABLE:
        Consume(pCtx, Word);
        return Assignment(pCtx, static_cast<SCRIPT_VAR*>(pSym), Exec);
    case SYM_FUNCTION:
        Consume(pCtx, Word);
        if (Call(pCtx, static_cast<SCRIPT_FUNC*>(pSym), Exec, true, &Ignored) < 0) {
            return -1;
        }
        return ExpectChar(pCtx, ';');
    default:
        return SetError(pCtx, ERR_SYNTAX);
    }
}
} // namespace

int Stmt(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, I64* pResult, bool Exec)
{
    const CDepth Depth(pCtx);
    if (Exec && pCtx->OnStatement && !pCtx->Error) {
        pCtx->OnStatement(pCtx);
    }
    if (pCtx->Abort || SkipSpace(pCtx) < 0) {
        return -1;
    }
    if (Depth.IsTooDeep()) {
        return SetError(pCtx, ERR_OUT_OF_MEMORY);
    }
    if (MatchChar(pCtx, '{')) {
        return Block(pCtx, pFunc, pResult, Exec);
    }
    WORD Word;
    if (!PeekWord(pCtx, &Word)) {
        return SetError(pCtx, ERR_SYNTAX);
    }
    bool IsKeyword = false;
    const int Result = KeywordStmt(pCtx, Word, pFunc, pResult, Exec, &IsKeyword);
    return IsKeyword ? Result : SymbolStmt(pCtx, Word, Exec);
}

} // namespace Script
