// The reading of function heads: of the prototypes of host functions, and of a whole text.
#include "script/lang/scriptinternal.h"

#include <cstring>

namespace Script {

namespace {
/// Gives a symbol the word at the cursor as its name, copied into the block.
int ReadName(SCRIPT_CTX* pCtx, SCRIPT_SYM* pSym)
{
    WORD Word;
    if (!PeekWord(pCtx, &Word)) {
        return SetError(pCtx, ERR_NEED_IDENT);
    }
    auto* pName = static_cast<char*>(AllocLow(pCtx, Word.Len + 1ull));
    if (!pName) {
        return -1;
    }
    std::memcpy(pName, Word.Name, Word.Len);
    pSym->Name = pName;
    pSym->NameLen = Word.Len;
    Consume(pCtx, Word);
    return 0;
}

/// The known symbol at the cursor, consumed; null with the error set.
SCRIPT_SYM* ReadSymbol(SCRIPT_CTX* pCtx)
{
    WORD Word;
    SCRIPT_SYM* pSym = PeekWord(pCtx, &Word) ? Lookup(pCtx, Word) : nullptr;
    if (!pSym) {
        SetError(pCtx, ERR_SYNTAX);
        return nullptr;
    }
    Consume(pCtx, Word);
    return pSym;
}

/// Qualifiers, attached to pSym, and the type behind them; null with the error set.
SCRIPT_SYM* ReadQualifiedType(SCRIPT_CTX* pCtx, SCRIPT_SYM* pFirst, SCRIPT_SYM* pSym)
{
    SCRIPT_SYM* pType = pFirst;
    while (pType && pType->Kind == SYM_QUALIFIER) {
        if (AttachAttribute(pCtx, pSym, pType) < 0) {
            return nullptr;
        }
        pType = ReadSymbol(pCtx);
    }
    if (pType && pType->Kind != SYM_BASE_TYPE) {
        SetError(pCtx, ERR_SYNTAX);
        return nullptr;
    }
    return pType;
}

SCRIPT_VAR* ReadParam(SCRIPT_CTX* pCtx)
{
    auto* pParam = static_cast<SCRIPT_VAR*>(AllocLow(pCtx, sizeof(SCRIPT_VAR)));
    if (!pParam) {
        return nullptr;
    }
    InitSym(pParam, SYM_VARIABLE, "", 0);
    SCRIPT_SYM* pType = ReadQualifiedType(pCtx, ReadSymbol(pCtx), pParam);
    if (!pType) {
        return nullptr;
    }
    if (MatchChar(pCtx, '*')) {
        auto* pPointer = static_cast<SCRIPT_SYM*>(AllocLow(pCtx, sizeof(SCRIPT_SYM)));
        if (!pPointer) {
            return nullptr;
        }
        InitSym(pPointer, SYM_POINTER_TYPE, "", 0);
        pPointer->Type = pType;
        pType = pPointer;
    }
    pParam->Type = pType;
    return ReadName(pCtx, pParam) < 0 ? nullptr : pParam;
}

/// True if "void )" comes next; it is consumed then.
bool MatchVoidList(SCRIPT_CTX* pCtx)
{
    WORD Word;
    const POS Start = GetPos(pCtx);
    if (PeekWord(pCtx, &Word) && WordIs(Word, "void")) {
        Consume(pCtx, Word);
        if (MatchChar(pCtx, ')')) {
            return true;
        }
        SetPos(pCtx, Start);
    }
    return false;
}

int ReadParams(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc)
{
    if (MatchVoidList(pCtx)) {
        return 0;
    }
    SCRIPT_VAR* pLast = nullptr;
    while (!MatchChar(pCtx, ')')) {
        SCRIPT_VAR* pParam = ReadParam(pCtx);
        if (!pParam) {
            return -1;
        }
        if (pLast) {
            pLast->Next = pParam;
        } else {
            pFunc->Params = pParam;
        }
        pLast = pParam;
        MatchChar(pCtx, ',');
    }
    return 0;
}

/// Attributes, return type, name and parameters of a function; null with the error set.
SCRIPT_FUNC* ReadHead(SCRIPT_CTX* pCtx)
{
    auto* pFunc = static_cast<SCRIPT_FUNC*>(AllocLow(pCtx, sizeof(SCRIPT_FUNC)));
    auto* pWrapper = static_cast<SCRIPT_SYM*>(AllocLow(pCtx, sizeof(SCRIPT_SYM)));
    if (!pFunc || !pWrapper) {
        return nullptr;
    }
    InitSym(pFunc, SYM_FUNCTION, "", 0);
    InitSym(pWrapper, SYM_RETURN_WRAPPER, "", 0);
    pFunc->Type = pWrapper;
    SCRIPT_SYM* pSym = ReadSymbol(pCtx);
    while (pSym && pSym->Kind == SYM_FUNC_ATTRIBUTE) {
        if (pSym->Value != 0) {
            SetError(pCtx, "invalid function attribute.");
            return nullptr;
        }
        if (AttachAttribute(pCtx, pFunc, pSym) < 0) {
            return nullptr;
        }
        pSym = ReadSymbol(pCtx);
    }
    pWrapper->Type = ReadQualifiedType(pCtx, pSym, pWrapper);
    if (!pWrapper->Type || ReadName(pCtx, pFunc) < 0 || ExpectChar(pCtx, '(') < 0 ||
        ReadParams(pCtx, pFunc) < 0) {
        return nullptr;
    }
    return pFunc;
}

/// Passes over a body by counting braces, also those in strings. A comment is none inside a string.
int SkipBody(SCRIPT_CTX* pCtx)
{
    if (!MatchChar(pCtx, '{')) {
        return SetError(pCtx, "expected '{'");
    }
    int Level = 1;
    bool InString = false; // to its closing quote or the end of its line
    while (Level > 0) {
        if (*pCtx->Cursor == '\n') {
            InString = false;
        }
        if (!InString && SkipSpace(pCtx) < 0) {
            return -1;
        }
        const char c = *pCtx->Cursor;
        if (c == 0) {
            return SetError(pCtx, "unexpected end of file looking for '}'");
        }
        if (c == '\n') {
            continue; // ended a string; the white space behind it counts the line
        }
        InString ^= c == '"';
        Level += c == '{' ? 1 : 0;
        Level -= c == '}' ? 1 : 0;
        ++pCtx->Cursor;
    }
    return 0;
}
} // namespace

int RegisterFunction(SCRIPT_CTX* pCtx, const char* sPrototype, SCRIPT_HOST_FUNC pfHost, int HostId)
{
    const POS Saved = GetPos(pCtx);
    SetPos(pCtx, {sPrototype, sPrototype, 1});
    SCRIPT_FUNC* pFunc = ReadHead(pCtx);
    const bool Ok = pFunc && ExpectChar(pCtx, ';') == 0;
    if (Ok) {
        pFunc->Host = pfHost;
        pFunc->HostId = HostId;
        AppendGlobal(pCtx, pFunc);
    }
    SetPos(pCtx, Saved);
    return Ok ? 0 : -1;
}

int Parse(SCRIPT_CTX* pCtx)
{
    SetPos(pCtx, {pCtx->Text, pCtx->Text, 1});
    for (;;) {
        if (SkipSpace(pCtx) < 0) {
            return -1;
        }
        if (*pCtx->Cursor == 0) {
            return 0;
        }
        WORD Word;
        if (!PeekWord(pCtx, &Word) || !Lookup(pCtx, Word)) {
            return SetError(pCtx, ERR_SYNTAX);
        }
        SCRIPT_FUNC* pFunc = ReadHead(pCtx);
        if (!pFunc) {
            return -1;
        }
        pFunc->Body = pCtx->Cursor;
        pFunc->BodyLine = pCtx->Line;
        pFunc->BodyLineStart = pCtx->LineStart;
        AppendGlobal(pCtx, pFunc);
        if (SkipBody(pCtx) < 0) {
            return 0; // the heads were good; Error tells that a body wasn't
        }
    }
}

} // namespace Script
