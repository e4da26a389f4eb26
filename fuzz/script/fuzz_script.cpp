// Fuzz target of the script interpreter: the input is a whole script, whose functions are all called,
// with and without arguments, in blocks of several sizes. The host's functions read strings, call back
// into the script and stop it. Endless loops are cut by a budget of statements. Whatever the text, a
// call leaves the interpreter as it was, and the line it counts is that of its cursor.
#include "script/lang/scriptctx.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

namespace {
constexpr I64 ARGS[MAX_SCRIPT_ARGS] = {1, -1, 0x7FFFFFFF, INT64_MIN, 5, 6, 7, 8};
constexpr int MAX_NESTING = 3;
int s_Budget;
int s_Nesting;
SCRIPT_CTX* s_pCtx;
unsigned s_Sum; ///< keeps the reading of strings from being left out

void Require(bool Holds, const char* sWhat)
{
    if (!Holds) {
        std::fprintf(stderr, "fuzz_script: %s\n", sWhat);
        std::abort();
    }
}

enum HOST_FUNCS : int { HOST_VALUE, HOST_STRING, HOST_CALL, HOST_STOP };

int ReadString(I64 Address)
{
    if (!Script::IsHeapString(s_pCtx, Address)) {
        return -1;
    }
    const auto* s = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(Address));
    for (; *s; ++s) {
        s_Sum += static_cast<U8>(*s);
    }
    return 0;
}

int CallBack(const I64* aArgs, int NumArgs)
{
    if (s_Nesting >= MAX_NESTING || NumArgs < 1 || ReadString(aArgs[0]) < 0) {
        return -1;
    }
    ++s_Nesting;
    const std::string sName(reinterpret_cast<const char*>(static_cast<std::uintptr_t>(aArgs[0])));
    I64 Result = 0;
    const int Code = Script::CallByName(s_pCtx, sName.c_str(), NumArgs - 1, aArgs + 1, &Result);
    --s_Nesting;
    return Code;
}

int Host(int Id, const I64* aArgs, int NumArgs)
{
    switch (Id) {
    case HOST_STRING:
        for (int i = 0; i < NumArgs; ++i) {
            ReadString(aArgs[i]);
        }
        return NumArgs;
    case HOST_CALL:
        return CallBack(aArgs, NumArgs);
    case HOST_STOP:
        s_pCtx->Abort = 1;
        return 0;
    default:
        return NumArgs > 0 ? static_cast<int>(static_cast<U32>(static_cast<U64>(aArgs[0]))) : 0;
    }
}

void Register(SCRIPT_CTX* pCtx)
{
    struct ROW {
        const char* Prototype;
        int Id;
    };
    static constexpr ROW ROWS[] = {
        {"__api__ int Util.Log (const char* sText);", HOST_STRING},
        {"__api__ int Out (__int64 Value);", HOST_VALUE},
        {"__api__ int Target.ReadU32 (unsigned int Address);", HOST_VALUE},
        {"__api__ int Target.SetReg (const char* sName, __int64 Value);", HOST_STRING},
        {"__api__ int Project.AddPathSubstitute (const char* sPath, const char* sSubstitute);", HOST_STRING},
        {"__api__ int Edit.SysVar (int Id, int Value);", HOST_VALUE},
        {"__api__ int Exec.Reset (void);", HOST_VALUE},
        {"__api__ int Script.Exec (const char* sName, __int64 a, __int64 b);", HOST_CALL},
        {"__api__ int Stop (void);", HOST_STOP},
        {"__api__ int Eight (int a, int b, int c, int d, int e, int f, int g, int h);", HOST_VALUE},
        {"__api__ int Nine (int a, int b, int c, int d, int e, int f, int g, int h, int i);", HOST_VALUE},
    };
    Script::RegisterConstant(pCtx, "SEVEN", 5, 7);
    Script::RegisterConstant(pCtx, "VAR_RESET_MODE", 14, -1);
    for (const ROW& Row : ROWS) {
        Script::RegisterFunction(pCtx, Row.Prototype, Host, Row.Id);
    }
    pCtx->Error = 0; // a block too small for all of them still runs what it has
}

void CheckPlace(const SCRIPT_CTX* pCtx, const std::string& sText)
{
    const auto Offset = pCtx->Cursor - pCtx->Text;
    Require(Offset >= 0 && static_cast<std::size_t>(Offset) <= sText.size(), "the cursor has left the text");
    const auto NumLines = std::count(sText.begin(), sText.begin() + Offset, '\n');
    Require(pCtx->Line == 1 + NumLines, "the line isn't that of the cursor");
    const auto Start = sText.rfind('\n', static_cast<std::size_t>(std::max<std::ptrdiff_t>(Offset - 1, 0)));
    const bool AtFirst = Offset == 0 || Start == std::string::npos;
    Require(pCtx->LineStart == pCtx->Text + (AtFirst ? 0 : Start + 1), "the start of the line is wrong");
}

void CallAll(SCRIPT_CTX* pCtx)
{
    for (const SCRIPT_SYM* p = pCtx->Globals; p && !pCtx->Abort; p = p->Next) {
        if (p->Kind != SYM_FUNCTION) {
            continue;
        }
        const std::string sName(p->Name, p->NameLen);
        I64 Result = 0;
        const char* pCursor = pCtx->Cursor;
        Script::CallByName(pCtx, sName.c_str(), MAX_SCRIPT_ARGS, ARGS, &Result);
        Require(pCtx->Error == 0 && pCtx->Depth == 0, "a call with arguments leaves an error or a level");
        Require(pCtx->HeapHigh == pCtx->HeapEnd && !pCtx->Locals, "a call leaves locals");
        Require(pCtx->Cursor == pCursor, "a call moves the cursor of its caller");
        Require(pCtx->HeapLow <= pCtx->HeapHigh, "the ends of the block overlap");
    }
    Script::CallByName(pCtx, "f");
    Require(pCtx->Depth == 0 && pCtx->HeapHigh == pCtx->HeapEnd, "a call without arguments leaves something");
}

void Run(const std::string& sText, std::size_t HeapSize)
{
    void* pHeap = std::calloc(1, HeapSize);
    s_pCtx = Script::Create(pHeap, HeapSize, sText.c_str());
    if (s_pCtx) {
        s_Budget = 5000;
        s_Nesting = 0;
        s_pCtx->OnStatement = [](SCRIPT_CTX* p) {
            if (--s_Budget <= 0) {
                p->Abort = 1;
            }
        };
        Register(s_pCtx);
        const int Result = Script::Parse(s_pCtx);
        CheckPlace(s_pCtx, sText);
        if (Result == 0 && !s_pCtx->Error) {
            CallAll(s_pCtx);
        }
    }
    std::free(pHeap);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, std::size_t Size)
{
    const std::string sText(reinterpret_cast<const char*>(pData), Size);
    static constexpr std::size_t SIZES[] = {SCRIPT_HEAP_SIZE, 64 * 1024, 6000, 3000};
    Run(sText, SIZES[Size % std::size(SIZES)]);
    return 0;
}
