// Expressions: precedence climbing straight on the text.
#include "script/lang/scriptinternal.h"

namespace Script {

namespace {
constexpr U64 MAX_VALUE_SIZE = 8;

struct BINARY_OP {
    const char* Text;
    char Code;
    U8 Precedence;
};
// In the order in which the text is tried, so that ">=" is not read as ">".
constexpr BINARY_OP BINARY_OPS[] = {
    {">=", 'G', 11}, {"<=", 'L', 13}, {"&&", 'A', 5}, {"||", 'O', 4}, {"==", '=', 10}, {"!=", '!', 9},
    {"<<", 'l', 16}, {">>", 'r', 15}, {"*", '*', 21}, {"/", '/', 20}, {"+", '+', 18},  {"-", '-', 17},
    {">", '>', 12},  {"<", '<', 14},  {"&", '&', 8},  {"^", '^', 7},  {"|", '|', 6},
};

enum PREFIX_OPS : U8 {
    PREFIX_NONE,
    PREFIX_INC,
    PREFIX_DEC,
    PREFIX_NOT,
    PREFIX_COMPLEMENT,
    PREFIX_MINUS,
    PREFIX_PLUS
};

PREFIX_OPS MatchPrefix(SCRIPT_CTX* pCtx)
{
    static constexpr const char* TEXTS[] = {"++", "--", "!", "~", "-", "+"};
    for (U8 i = 0; i < 6; ++i) {
        if (MatchText(pCtx, TEXTS[i])) {
            return static_cast<PREFIX_OPS>(i + 1);
        }
    }
    return PREFIX_NONE;
}

I64 ApplyPrefix(PREFIX_OPS Op, I64 Value)
{
    const U64 v = static_cast<U64>(Value); // the arithmetic wraps
    switch (Op) {
    case PREFIX_INC:
        return static_cast<I64>(v + 1);
    case PREFIX_DEC:
        return static_cast<I64>(v - 1);
    case PREFIX_NOT:
        return Value == 0 ? 1 : 0;
    case PREFIX_COMPLEMENT:
        return static_cast<I64>(~v);
    case PREFIX_MINUS:
        return static_cast<I64>(0 - v);
    default:
        return Value;
    }
}

const BINARY_OP* MatchBinaryOp(SCRIPT_CTX* pCtx)
{
    if (SkipSpace(pCtx) < 0) {
        return nullptr;
    }
    switch (*pCtx->Cursor) {
    case ';':
    case ')':
    case ',':
    case ']':
        return nullptr; // what most expressions end with
    default:
        break;
    }
    for (const BINARY_OP& Op : BINARY_OPS) {
        if (MatchText(pCtx, Op.Text)) {
            return &Op;
        }
    }
    return nullptr;
}

int ReadElement(SCRIPT_CTX* pCtx, SCRIPT_VAR* pVar, bool Exec, I64* pValue)
{
    const auto* pArray = static_cast<const SCRIPT_ARRAY_TYPE*>(pVar->Type);
    I64 Index = 0;
    if (EvalIndex(pCtx, Exec, &Index) < 0) {
        return -1;
    }
    if (pArray->Type->Kind != SYM_BASE_TYPE) {
        return SetError(pCtx, "currently, only arrays of base type variables are allowed.");
    }
    const U64 Size = static_cast<U64>(pArray->Type->Value);
    if (!Exec) {
        return 0;
    }
    if (static_cast<U64>(Index) >= pArray->Count) {
        return SetError(pCtx, ERR_INDEX_RANGE);
    }
    return LoadBytes(pCtx, pVar->Data + Size * static_cast<U64>(Index), Size, pValue);
}

int ReadVariable(SCRIPT_CTX* pCtx, SCRIPT_VAR* pVar, bool Exec, I64* pValue)
{
    if (pVar->Type->Kind == SYM_ARRAY_TYPE) {
        return ReadElement(pCtx, pVar, Exec, pValue);
    }
    if (pVar->Type->Kind != SYM_BASE_TYPE) {
        return SetError(pCtx, ERR_NEED_BASE_TYPE);
    }
    return LoadBytes(pCtx, pVar->Data, static_cast<U64>(pVar->Type->Value), pValue);
}

int ReadIdentifier(SCRIPT_CTX* pCtx, bool Exec, I64* pValue)
{
    WORD Word;
    if (!PeekWord(pCtx, &Word)) {
        return SetError(pCtx, ERR_NEED_OPERAND);
    }
    SCRIPT_SYM* pSym = Lookup(pCtx, Word);
    Consume(pCtx, Word);
    if (!pSym) {
        return SetError(pCtx, "unknown identifier.");
    }
    switch (pSym->Kind) {
    case SYM_CONSTANT:
        *pValue = pSym->Value;
        return 0;
    case SYM_VARIABLE:
        return ReadVariable(pCtx, static_cast<SCRIPT_VAR*>(pSym), Exec, pValue);
    case SYM_FUNCTION:
        return Call(pCtx, static_cast<SCRIPT_FUNC*>(pSym), Exec, false, pValue);
    default:
        return SetError(pCtx, "syntax error. Unexpected type");
    }
}

/// 1 for a string literal, 0, -1.
int ReadPrimary(SCRIPT_CTX* pCtx, bool Exec, SCRIPT_VAR** ppSym, I64* pValue)
{
    if (SkipSpace(pCtx) < 0) {
        return -1;
    }
    if (*pCtx->Cursor == '(') {
        ++pCtx->Cursor;
        return Eval(pCtx, Exec, ppSym, pValue, 0) < 0 || ExpectChar(pCtx, ')') < 0 ? -1 : 0;
    }
    if (*pCtx->Cursor == '"') {
        return ReadString(pCtx, Exec, ppSym) < 0 ? -1 : 1;
    }
    return ReadNumber(pCtx, pValue) ? 0 : ReadIdentifier(pCtx, Exec, pValue);
}

int CombineOp(SCRIPT_CTX* pCtx, char Op, I64 Left, I64 Right, I64* pValue)
{
    switch (Op) {
    case 'G':
        *pValue = Left >= Right;
        return 0;
    case 'L':
        *pValue = Left <= Right;
        return 0;
    case 'A':
        *pValue = Left && Right;
        return 0;
    case 'O':
        *pValue = Left || Right;
        return 0;
    case '=':
        *pValue = Left == Right;
        return 0;
    case '!':
        *pValue = Left != Right;
        return 0;
    case '>':
        *pValue = Left > Right;
        return 0;
    case '<':
        *pValue = Left < Right;
        return 0;
    default:
        return Combine(pCtx, Op, Left, Right, pValue);
    }
}
} // namespace

int LoadBytes(SCRIPT_CTX* pCtx, const U8* pData, U64 Size, I64* pValue)
{
    if (Size < 1 || Size > MAX_VALUE_SIZE || !pData) {
        return SetError(pCtx, "unsupported base type size.");
    }
    U64 Value = 0;
    for (U64 i = Size; i-- > 0;) {
        Value = (Value << 8) | pData[i];
    }
    *pValue = static_cast<I64>(Value);
    return 0;
}

void StoreBytes(U8* pData, U64 Size, I64 Value)
{
    U64 v = static_cast<U64>(Value);
    for (U64 i = 0; i < Size; ++i, v >>= 8) {
        pData[i] = static_cast<U8>(v);
    }
}

int Combine(SCRIPT_CTX* pCtx, char Op, I64 Left, I64 Right, I64* pValue)
{
    const U64 a = static_cast<U64>(Left);
    const U64 b = static_cast<U64>(Right);
    switch (Op) {
    case '*':
        *pValue = static_cast<I64>(a * b);
        return 0;
    case '/':
        if (Right == 0) {
            return SetError(pCtx, "division by zero.");
        }
        if (Left == INT64_MIN && Right == -1) {
            return SetError(pCtx, "division overflow."); // 64 bits can't hold it
        }
        *pValue = Left / Right;
        return 0;
    case '+':
        *pValue = static_cast<I64>(a + b);
        return 0;
    case '-':
        *pValue = static_cast<I64>(a - b);
        return 0;
    case 'l':
        *pValue = static_cast<I64>(a << (b & 63));
        return 0;
    case 'r':
        *pValue = Left >> (b & 63);
        return 0;
    case '&':
        *pValue = static_cast<I64>(a & b);
        return 0;
    case '|':
        *pValue = static_cast<I64>(a | b);
        return 0;
    case '^':
        *pValue = static_cast<I64>(a ^ b);
        return 0;
    default:
        return SetError(pCtx, ERR_SYNTAX);
    }
}

int EvalIndex(SCRIPT_CTX* pCtx, bool Exec, I64* pIndex)
{
    SCRIPT_VAR* pSym = nullptr;
    if (ExpectChar(pCtx, '[') < 0 || Eval(pCtx, Exec, &pSym, pIndex, 0) < 0) {
        return -1;
    }
    return pSym ? SetError(pCtx, ERR_NEED_VALUE) : ExpectChar(pCtx, ']');
}

int EvalValue(SCRIPT_CTX* pCtx, bool Exec, I64* pValue)
{
    SCRIPT_VAR* pSym = nullptr;
    if (Eval(pCtx, Exec, &pSym, pValue, 0) < 0) {
        return -1;
    }
    return pSym ? SetError(pCtx, ERR_NEED_BASE_TYPE) : 0;
}

int Eval(SCRIPT_CTX* pCtx, bool Exec, SCRIPT_VAR** ppSym, I64* pValue, int MinPrecedence)
{
    *ppSym = nullptr;
    *pValue = 0;
    const CDepth Depth(pCtx);
    if (SkipSpace(pCtx) < 0) {
        return -1;
    }
    if (Depth.IsTooDeep()) {
        return SetError(pCtx, ERR_OUT_OF_MEMORY);
    }
    const PREFIX_OPS Prefix = MatchPrefix(pCtx);
    const int Kind = ReadPrimary(pCtx, Exec, ppSym, pValue);
    if (Kind != 0) {
        return Kind;
    }
    if (Prefix != PREFIX_NONE) {
        if (*ppSym) {
            return SetError(pCtx, ERR_NEED_BASE_TYPE);
        }
        *pValue = ApplyPrefix(Prefix, *pValue);
    }
    for (;;) {
        const POS BeforeOp = GetPos(pCtx);
        const BINARY_OP* pOp = MatchBinaryOp(pCtx);
        if (!pOp || pOp->Precedence < MinPrecedence) {
            SetPos(pCtx, BeforeOp);
            return pCtx->Error ? -1 : 0;
        }
        SCRIPT_VAR* pRightSym = nullptr;
        I64 Right = 0;
        if (Eval(pCtx, Exec, &pRightSym, &Right, pOp->Precedence) < 0) {
            return -1;
        }
        if (*ppSym || pRightSym) {
            return SetError(pCtx, ERR_NEED_BASE_TYPE);
        }
        // Values of a branch that isn't taken mean nothing, so a zero there is no divisor.
        if (Exec && CombineOp(pCtx, pOp->Code, *pValue, Right, pValue) < 0) {
            return -1;
        }
    }
}

} // namespace Script
