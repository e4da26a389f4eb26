// Calls: arguments, the parameters and locals of a script function, and calls by the host.
#include "script/lang/scriptinternal.h"

#include <cstring>

namespace Script {

namespace {
int CountParams(const SCRIPT_FUNC* pFunc)
{
    int Count = 0;
    for (const SCRIPT_SYM* p = pFunc->Params; p; p = p->Next) {
        ++Count;
    }
    return Count;
}

/// Evaluates the arguments into aArgs (null: nothing is kept). *pExec becomes false when a bad
/// argument of a statement leaves the call out.
int ReadArgs(SCRIPT_CTX* pCtx, int NumArgs, I64* aArgs, bool IsStatement, bool* pExec)
{
    for (int i = 0; i < NumArgs; ++i) {
        const POS Start = GetPos(pCtx);
        SCRIPT_VAR* pSym = nullptr;
        I64 Value = 0;
        if (Eval(pCtx, *pExec, &pSym, &Value, 0) < 0) {
            if (!IsStatement || !pCtx->Error || pCtx->Abort) {
                return -1;
            }
            // The error has been reported. The script goes on behind this statement.
            pCtx->Error = 0;
            *pExec = false;
            SetPos(pCtx, Start);
            if (SkipArgument(pCtx) < 0) {
                return -1;
            }
        }
        if (*pExec && aArgs) {
            aArgs[i] = pSym ? static_cast<I64>(reinterpret_cast<std::uintptr_t>(pSym->Data)) : Value;
        }
        MatchChar(pCtx, ',');
    }
    return pCtx->Error ? -1 : 0;
}

bool IsHostFunction(const SCRIPT_FUNC* pFunc)
{
    for (const SCRIPT_ATTRIBUTE* p = pFunc->Attributes; p; p = p->Next) {
        if (p->Qualifier->Kind == SYM_FUNC_ATTRIBUTE) {
            return true;
        }
    }
    return false;
}

/// Makes the parameters of a script function its first locals.
int EnterParams(SCRIPT_CTX* pCtx, const SCRIPT_FUNC* pFunc, const I64* aArgs)
{
    int i = 0;
    for (const SCRIPT_SYM* p = pFunc->Params; p; p = p->Next, ++i) {
        auto* pVar = static_cast<SCRIPT_VAR*>(AllocHigh(pCtx, sizeof(SCRIPT_VAR)));
        auto* pSlot = static_cast<U8*>(AllocHigh(pCtx, sizeof(I64)));
        if (!pVar || !pSlot) {
            return -1;
        }
        InitSym(pVar, SYM_VARIABLE, p->Name, p->NameLen);
        pVar->Attributes = p->Attributes;
        pVar->Type = p->Type;
        pVar->Data = pSlot;
        StoreBytes(pSlot, sizeof(I64), aArgs[i]);
        AppendLocal(pCtx, pVar);
    }
    return 0;
}

/// Statements of a body up to its "}" or a return.
int RunBody(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, I64* pResult)
{
    if (ExpectChar(pCtx, '{') < 0) {
        return -1;
    }
    int Result = 0;
    while (Result == 0 && !MatchChar(pCtx, '}')) {
        Result = Stmt(pCtx, pFunc, pResult, true);
    }
    return Result < 0 || pCtx->Error ? -1 : 0;
}
} // namespace

int RunFunction(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, const I64* aArgs, I64* pResult)
{
    if (IsHostFunction(pFunc)) {
        const int NumArgs = CountParams(pFunc);
        *pResult = NumArgs <= MAX_SCRIPT_ARGS && pFunc->Host ? pFunc->Host(pFunc->HostId, aArgs, NumArgs) : 0;
        return 0;
    }
    const CDepth Depth(pCtx);
    if (Depth.IsTooDeep()) {
        return SetError(pCtx, ERR_OUT_OF_MEMORY);
    }
    const POS Saved = GetPos(pCtx);
    SCRIPT_SYM* pLocals = pCtx->Locals;
    SCRIPT_SYM* pLocalsTail = pCtx->LocalsTail;
    U8* pHeapHigh = pCtx->HeapHigh;
    pCtx->Locals = nullptr;
    pCtx->LocalsTail = nullptr;
    *pResult = -1;
    int Result = EnterParams(pCtx, pFunc, aArgs);
    if (Result == 0) {
        SetPos(pCtx, {pFunc->Body, pFunc->BodyLineStart, pFunc->BodyLine});
        Result = RunBody(pCtx, pFunc, pResult);
    }
    pCtx->Locals = pLocals;
    pCtx->LocalsTail = pLocalsTail;
    pCtx->HeapHigh = pHeapHigh;
    SetPos(pCtx, Saved);
    return Result;
}

int Call(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, bool Exec, bool IsStatement, I64* pResult)
{
    if (ExpectChar(pCtx, '(') < 0) {
        return -1;
    }
    U8* pHeapHigh = pCtx->HeapHigh;
    const int NumArgs = CountParams(pFunc);
    I64* aArgs = nullptr;
    if (Exec && NumArgs > 0) {
        aArgs = static_cast<I64*>(AllocHigh(pCtx, static_cast<U64>(NumArgs) * sizeof(I64)));
        if (!aArgs) {
            return -1;
        }
        std::memset(aArgs, 0, static_cast<std::size_t>(NumArgs) * sizeof(I64));
    }
    int Result = ReadArgs(pCtx, NumArgs, aArgs, IsStatement, &Exec);
    if (Result == 0) {
        Result = ExpectChar(pCtx, ')');
    }
    if (Result == 0 && Exec && pCtx->Abort) {
        Result = -1; // set by a call in an argument
    }
    if (Result == 0 && Exec) {
        Result = RunFunction(pCtx, pFunc, aArgs, pResult);
    }
    pCtx->HeapHigh = pHeapHigh;
    return Result;
}

namespace {
/// Runs a function by its name; the error stays set.
int RunByName(SCRIPT_CTX* pCtx, const char* sName, int NumArgs, const I64* aArgs, I64* pResult)
{
    SCRIPT_SYM* pSym = FindSymbol(pCtx, sName);
    if (!pSym || pSym->Kind != SYM_FUNCTION) {
        return -2;
    }
    auto* pFunc = static_cast<SCRIPT_FUNC*>(pSym);
    const int NumParams = CountParams(pFunc);
    U8* pHeapHigh = pCtx->HeapHigh;
    auto* aSlots = static_cast<I64*>(AllocHigh(pCtx, static_cast<U64>(NumParams) * sizeof(I64)));
    int Result = -1;
    if (aSlots) {
        for (int i = 0; i < NumParams; ++i) {
            aSlots[i] = i < NumArgs && i < MAX_SCRIPT_ARGS ? aArgs[i] : 0;
        }
        Result = RunFunction(pCtx, pFunc, aSlots, pResult);
    }
    pCtx->HeapHigh = pHeapHigh;
    return Result;
}
} // namespace

int CallByName(SCRIPT_CTX* pCtx, const char* sName, int NumArgs, const I64* aArgs, I64* pResult)
{
    I64 Value = -1;
    const int Result = RunByName(pCtx, sName, NumArgs, aArgs, &Value);
    if (Result == -1) {
        pCtx->Error = 0;
    }
    if (pResult) {
        *pResult = Value;
    }
    return Result;
}

int CallByName(SCRIPT_CTX* pCtx, const char* sName, I64* pResult)
{
    I64 Value = -1;
    const int Result = RunByName(pCtx, sName, 0, nullptr, &Value);
    if (pResult) {
        *pResult = Value;
    }
    return Result;
}

} // namespace Script
