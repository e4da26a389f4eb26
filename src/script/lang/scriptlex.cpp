// The lexical layer of the interpreter: white space, words, numbers, strings.
#include "script/lang/scriptinternal.h"

#include <cstring>

namespace Script {

namespace {
bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}
bool IsIdentStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
int HexDigit(char c)
{
    if (IsDigit(c)) {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

void StepOverLineFeed(SCRIPT_CTX* pCtx)
{
    ++pCtx->Line;
    pCtx->LineStart = ++pCtx->Cursor;
}

int SkipBlockComment(SCRIPT_CTX* pCtx)
{
    for (pCtx->Cursor += 2; *pCtx->Cursor;) {
        if (pCtx->Cursor[0] == '*' && pCtx->Cursor[1] == '/') {
            pCtx->Cursor += 2;
            return 0;
        }
        if (*pCtx->Cursor == '\n') {
            StepOverLineFeed(pCtx);
        } else {
            ++pCtx->Cursor;
        }
    }
    return SetError(pCtx, "C-comment has not been closed properly");
}

/// Resolves the escapes of [p, pEnd) into pOut (null: only checks). The number of bytes, or -1.
I64 Unescape(SCRIPT_CTX* pCtx, const char* p, const char* pEnd, char* pOut)
{
    static constexpr char ESCAPES[] = {'0', '\0', '\\', '\\', 'b', '\b', 'n', '\n', 'r', '\r', 't', '\t'};
    I64 Len = 0;
    for (; p < pEnd; ++p, ++Len) {
        char c = *p;
        if (c == '\\') {
            ++p;
            std::size_t i = 0;
            while (i < sizeof(ESCAPES) && (p >= pEnd || ESCAPES[i] != *p)) {
                i += 2;
            }
            if (i >= sizeof(ESCAPES)) {
                return SetError(pCtx, "unexpected escape character.");
            }
            c = ESCAPES[i + 1];
        }
        if (pOut) {
            pOut[Len] = c;
        }
    }
    return Len;
}

/// End of the string literal at the cursor (its closing quote), null with the error set.
const char* FindStringEnd(SCRIPT_CTX* pCtx)
{
    const char* p = pCtx->Cursor + 1;
    while (*p && *p != '"' && *p != '\n') {
        ++p;
    }
    if (*p != '"') {
        SetError(pCtx, "illegal character in string");
        return nullptr;
    }
    return p;
}
} // namespace

POS GetPos(const SCRIPT_CTX* pCtx)
{
    return {pCtx->Cursor, pCtx->LineStart, pCtx->Line};
}

void SetPos(SCRIPT_CTX* pCtx, const POS& Pos)
{
    pCtx->Cursor = Pos.Cursor;
    pCtx->LineStart = Pos.LineStart;
    pCtx->Line = Pos.Line;
}

int SkipSpace(SCRIPT_CTX* pCtx)
{
    while (!pCtx->Error) {
        const char c = *pCtx->Cursor;
        if (c == '\n') {
            StepOverLineFeed(pCtx);
        } else if (c == ' ' || c == '\t' || c == '\r') {
            ++pCtx->Cursor;
        } else if (c == '/' && pCtx->Cursor[1] == '/') {
            while (*pCtx->Cursor && *pCtx->Cursor != '\n' && *pCtx->Cursor != '\r') {
                ++pCtx->Cursor;
            }
        } else if (c == '/' && pCtx->Cursor[1] == '*') {
            SkipBlockComment(pCtx);
        } else {
            return 0;
        }
    }
    return -1;
}

bool IsIdentChar(char c)
{
    return IsIdentStart(c) || IsDigit(c) || c == '.';
}

bool PeekWord(SCRIPT_CTX* pCtx, WORD* pWord)
{
    if (SkipSpace(pCtx) < 0 || !IsIdentStart(*pCtx->Cursor)) {
        return false;
    }
    const char* p = pCtx->Cursor;
    while (IsIdentChar(*p)) {
        ++p;
    }
    pWord->Name = pCtx->Cursor;
    pWord->Len = static_cast<U32>(p - pCtx->Cursor);
    return true;
}

bool WordIs(const WORD& Word, const char* sText)
{
    U32 i = 0;
    while (i < Word.Len && sText[i] == Word.Name[i]) { // sText ends with a zero, which no word holds
        ++i;
    }
    return i == Word.Len && sText[i] == 0;
}

void Consume(SCRIPT_CTX* pCtx, const WORD& Word)
{
    pCtx->Cursor = Word.Name + Word.Len;
}

bool MatchChar(SCRIPT_CTX* pCtx, char c)
{
    if (SkipSpace(pCtx) < 0 || *pCtx->Cursor != c) {
        return false;
    }
    ++pCtx->Cursor;
    return true;
}

int ExpectChar(SCRIPT_CTX* pCtx, char c)
{
    return MatchChar(pCtx, c) ? 0 : SetErrorExpected(pCtx, c);
}

bool MatchText(SCRIPT_CTX* pCtx, const char* sText)
{
    const char* p = pCtx->Cursor;
    for (; *sText; ++sText, ++p) {
        if (*p != *sText) { // mostly the first character tells
            return false;
        }
    }
    pCtx->Cursor = p;
    return true;
}

bool ReadNumber(SCRIPT_CTX* pCtx, I64* pValue)
{
    const char* p = pCtx->Cursor;
    const bool Negative = *p == '-';
    p += Negative ? 1 : 0;
    if (!IsDigit(*p)) {
        return false;
    }
    U64 Value = 0;
    if (p[0] == '0' && p[1] == 'x') {
        for (p += 2; HexDigit(*p) >= 0; ++p) {
            Value = (Value << 4) | static_cast<U64>(HexDigit(*p));
        }
    } else {
        for (; IsDigit(*p); ++p) {
            Value = Value * 10 + static_cast<U64>(*p - '0');
        }
    }
    pCtx->Cursor = p;
    *pValue = static_cast<I64>(Negative ? 0 - Value : Value);
    return true;
}

int ReadString(SCRIPT_CTX* pCtx, bool Exec, SCRIPT_VAR** ppVar)
{
    static SCRIPT_VAR UnreadString; // stands for a literal of a branch that isn't taken
    const char* pEnd = FindStringEnd(pCtx);
    if (!pEnd) {
        return -1;
    }
    const char* pStart = pCtx->Cursor + 1;
    const I64 Len = Unescape(pCtx, pStart, pEnd, nullptr);
    if (Len < 0) {
        return -1;
    }
    *ppVar = &UnreadString;
    if (Exec) {
        auto* pBytes = static_cast<char*>(AllocLow(pCtx, static_cast<U64>(Len) + 1));
        auto* pType = static_cast<SCRIPT_ARRAY_TYPE*>(AllocLow(pCtx, sizeof(SCRIPT_ARRAY_TYPE)));
        auto* pVar = static_cast<SCRIPT_VAR*>(AllocLow(pCtx, sizeof(SCRIPT_VAR)));
        if (!pBytes || !pType || !pVar) {
            return -1;
        }
        Unescape(pCtx, pStart, pEnd, pBytes);
        InitSym(pType, SYM_ARRAY_TYPE, "", 0);
        pType->Type = pCtx->ConstCharType;
        pType->Count = static_cast<U64>(Len) + 1;
        InitSym(pVar, SYM_VARIABLE, "", 0);
        pVar->Type = pType;
        pVar->Data = reinterpret_cast<U8*>(pBytes);
        *ppVar = pVar;
    }
    pCtx->Cursor = pEnd + 1;
    return 0;
}

int SkipArgument(SCRIPT_CTX* pCtx)
{
    for (int Nesting = 0; SkipSpace(pCtx) == 0;) {
        const char c = *pCtx->Cursor;
        if (c == 0 || c == ';' || c == '{' || c == '}' || (Nesting == 0 && (c == ',' || c == ')'))) {
            return 0;
        }
        if (c == '"') {
            const char* pEnd = FindStringEnd(pCtx);
            if (!pEnd) {
                return -1;
            }
            pCtx->Cursor = pEnd;
        }
        Nesting += c == '(' || c == '[' ? 1 : 0;
        Nesting -= (c == ')' || c == ']') && Nesting > 0 ? 1 : 0;
        ++pCtx->Cursor;
    }
    return -1;
}

} // namespace Script
