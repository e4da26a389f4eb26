// The script's block, its symbols, and the reading of function heads.
#include "script/lang/scriptctx.h"
#include "script/lang/scriptinternal.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#ifdef __unix__
#include <sys/resource.h>
#endif

namespace Script {

namespace {
constexpr U64 ALIGNMENT = 8;

U64 RoundUp(U64 Size)
{
    return (Size + ALIGNMENT - 1) & ~(ALIGNMENT - 1);
}

U64 FreeSize(const SCRIPT_CTX* pCtx)
{
    return static_cast<U64>(pCtx->HeapHigh - pCtx->HeapLow);
}

struct PREDEFINED {
    const char* Name;
    int Kind;
    I64 Value;
};
constexpr I64 QUALIFIER_CONST = 2;
constexpr PREDEFINED PREDEFINED_SYMBOLS[] = {
    {"volatile", SYM_QUALIFIER, 1},     {"const", SYM_QUALIFIER, QUALIFIER_CONST},
    {"signed", SYM_QUALIFIER, 3},       {"unsigned", SYM_QUALIFIER, 4},
    {"__api__", SYM_FUNC_ATTRIBUTE, 0}, {"char", SYM_BASE_TYPE, 1},
    {"int", SYM_BASE_TYPE, 4},          {"__int64", SYM_BASE_TYPE, 8},
    {"void", SYM_BASE_TYPE, 0},         {"__const_char", SYM_BASE_TYPE, 1},
};

void AppendGlobal(SCRIPT_CTX* pCtx, SCRIPT_SYM* pSym)
{
    (pCtx->Globals ? pCtx->GlobalsTail->Next : pCtx->Globals) = pSym;
    pCtx->GlobalsTail = pSym;
}

bool IsNamed(const SCRIPT_SYM* pSym, const WORD& Word)
{
    return pSym->NameLen == Word.Len && std::memcmp(pSym->Name, Word.Name, Word.Len) == 0;
}

SCRIPT_SYM* FindInList(SCRIPT_SYM* pList, const WORD& Word)
{
    for (SCRIPT_SYM* p = pList; p; p = p->Next) {
        if (IsNamed(p, Word)) {
            return p;
        }
    }
    return nullptr;
}

/// The oldest global of the name. It stays the answer, as symbols are only ever added behind it.
SCRIPT_SYM* FindGlobal(SCRIPT_CTX* pCtx, const WORD& Word)
{
    U32 Hash = Word.Len;
    for (U32 i = 0; i < Word.Len; ++i) {
        Hash = Hash * 31 + static_cast<U8>(Word.Name[i]);
    }
    SCRIPT_SYM*& pFound = pCtx->Found[(Hash ^ (Hash >> 16)) % NUM_FOUND_SYMS];
    if (!pFound || !IsNamed(pFound, Word)) {
        SCRIPT_SYM* pSym = FindInList(pCtx->Globals, Word);
        if (!pSym) {
            return nullptr;
        }
        pFound = pSym;
    }
    return pFound;
}

int AttachAttribute(SCRIPT_CTX* pCtx, SCRIPT_SYM* pSym, SCRIPT_SYM* pQualifier)
{
    auto* pAttr = static_cast<SCRIPT_ATTRIBUTE*>(AllocLow(pCtx, sizeof(SCRIPT_ATTRIBUTE)));
    if (!pAttr) {
        return -1;
    }
    pAttr->Next = pSym->Attributes;
    pAttr->Qualifier = pQualifier;
    pSym->Attributes = pAttr;
    return 0;
}

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

std::size_t GetStackLimit()
{
#ifdef __unix__
    rlimit Limit = {};
    if (getrlimit(RLIMIT_STACK, &Limit) == 0 && Limit.rlim_cur != RLIM_INFINITY) {
        return std::min<std::size_t>(MAX_SCRIPT_STACK, Limit.rlim_cur / 2);
    }
#endif
    return MAX_SCRIPT_STACK;
}

int EnterPredefined(SCRIPT_CTX* pCtx)
{
    SCRIPT_SYM* pConst = nullptr;
    for (const PREDEFINED& Row : PREDEFINED_SYMBOLS) {
        auto* pSym = static_cast<SCRIPT_SYM*>(AllocLow(pCtx, sizeof(SCRIPT_SYM)));
        if (!pSym) {
            return -1;
        }
        InitSym(pSym, Row.Kind, Row.Name, static_cast<U32>(std::strlen(Row.Name)));
        pSym->Value = Row.Value;
        AppendGlobal(pCtx, pSym);
        if (Row.Kind == SYM_QUALIFIER && Row.Value == QUALIFIER_CONST) {
            pConst = pSym;
        }
        pCtx->ConstCharType = pSym; // the last row
    }
    return AttachAttribute(pCtx, pCtx->ConstCharType, pConst);
}
} // namespace

int SetError(SCRIPT_CTX* pCtx, const char* sText)
{
    if (!pCtx->Error) {
        pCtx->Error = 1;
        pCtx->ErrorText = sText;
        if (pCtx->OnError) {
            pCtx->OnError(pCtx);
        }
    }
    return -1;
}

int SetErrorExpected(SCRIPT_CTX* pCtx, char c)
{
    if (!pCtx->Error) {
        std::snprintf(pCtx->ErrorBuffer, sizeof(pCtx->ErrorBuffer), "Expected a '%c'", c);
    }
    return SetError(pCtx, pCtx->ErrorBuffer);
}

void* AllocLow(SCRIPT_CTX* pCtx, U64 Size)
{
    if (pCtx->Error) {
        return nullptr;
    }
    if (Size > FreeSize(pCtx) || RoundUp(Size) > FreeSize(pCtx)) {
        SetError(pCtx, ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    void* p = pCtx->HeapLow;
    pCtx->HeapLow += RoundUp(Size);
    std::memset(p, 0, RoundUp(Size)); // returned locals may have left their values here
    return p;
}

void* AllocHigh(SCRIPT_CTX* pCtx, U64 Size)
{
    if (pCtx->Error) {
        return nullptr;
    }
    if (Size > FreeSize(pCtx) || RoundUp(Size) > FreeSize(pCtx)) {
        SetError(pCtx, ERR_OUT_OF_MEMORY);
        return nullptr;
    }
    pCtx->HeapHigh -= RoundUp(Size);
    return pCtx->HeapHigh;
}

void InitSym(SCRIPT_SYM* pSym, int Kind, const char* sName, U32 NameLen)
{
    pSym->Next = nullptr;
    pSym->Attributes = nullptr;
    pSym->Name = sName;
    pSym->NameLen = NameLen;
    pSym->Kind = Kind;
    pSym->Type = nullptr;
}

void AppendLocal(SCRIPT_CTX* pCtx, SCRIPT_SYM* pSym)
{
    (pCtx->Locals ? pCtx->LocalsTail->Next : pCtx->Locals) = pSym;
    pCtx->LocalsTail = pSym;
}

SCRIPT_SYM* Lookup(SCRIPT_CTX* pCtx, const WORD& Word)
{
    SCRIPT_SYM* pSym = FindInList(pCtx->Locals, Word);
    return pSym ? pSym : FindGlobal(pCtx, Word);
}

SCRIPT_CTX* Create(void* pHeap, std::size_t HeapSize, const char* sText)
{
    if (!pHeap || HeapSize < sizeof(SCRIPT_CTX)) {
        return nullptr;
    }
    std::memset(pHeap, 0, HeapSize);
    auto* pCtx = new (pHeap) SCRIPT_CTX{};
    U8* pBlock = static_cast<U8*>(pHeap);
    pCtx->HeapLow = pBlock + RoundUp(sizeof(SCRIPT_CTX));
    pCtx->HeapEnd = pBlock + (HeapSize & ~static_cast<std::size_t>(ALIGNMENT - 1));
    pCtx->HeapHigh = pCtx->HeapEnd;
    pCtx->StackLimit = GetStackLimit();
    pCtx->Text = sText;
    SetPos(pCtx, {sText, sText, 1});
    if (pCtx->HeapLow > pCtx->HeapHigh || EnterPredefined(pCtx) < 0) {
        return nullptr;
    }
    return pCtx;
}

int RegisterConstant(SCRIPT_CTX* pCtx, const char* sName, std::size_t NameLen, I64 Value)
{
    if (pCtx->Error || FreeSize(pCtx) < sizeof(SCRIPT_SYM)) {
        return -1;
    }
    auto* pSym = static_cast<SCRIPT_SYM*>(AllocLow(pCtx, sizeof(SCRIPT_SYM)));
    if (!pSym) {
        return -1;
    }
    InitSym(pSym, SYM_CONSTANT, sName, static_cast<U32>(NameLen));
    pSym->Value = static_cast<I32>(static_cast<U32>(Value));
    AppendGlobal(pCtx, pSym);
    return 0;
}

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

SCRIPT_SYM* FindSymbol(SCRIPT_CTX* pCtx, const char* sName)
{
    return FindInList(pCtx->Globals, {sName, static_cast<U32>(std::strlen(sName))});
}

bool IsHeapString(const SCRIPT_CTX* pCtx, I64 Address)
{
    const U64 Start = reinterpret_cast<std::uintptr_t>(pCtx);
    const U64 End = reinterpret_cast<std::uintptr_t>(pCtx->HeapEnd);
    const U64 Addr = static_cast<U64>(Address);
    if (Addr < Start || Addr >= End) {
        return false;
    }
    return std::memchr(reinterpret_cast<const void*>(static_cast<std::uintptr_t>(Addr)), 0, End - Addr) !=
           nullptr;
}

} // namespace Script
