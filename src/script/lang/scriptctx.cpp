// The script's block and its symbols.
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

void AppendGlobal(SCRIPT_CTX* pCtx, SCRIPT_SYM* pSym)
{
    (pCtx->Globals ? pCtx->GlobalsTail->Next : pCtx->Globals) = pSym;
    pCtx->GlobalsTail = pSym;
}

void AppendLocal(SCRIPT_CTX* pCtx, SCRIPT_SYM* pSym)
{
    (pCtx->Locals ? pCtx->LocalsTail->Next : pCtx->Locals) = pSym;
    pCtx->LocalsTail = pSym;
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
