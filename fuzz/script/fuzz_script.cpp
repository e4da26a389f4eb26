// Fuzz target of the script interpreter: the input is a whole script; its function f is called, and
// any other function it defines with arguments. Endless loops are cut by a budget of statements.
#include "script/lang/scriptctx.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {
constexpr std::size_t HEAP_SIZE = 64 * 1024;
int s_Budget;

int Host(int, const I64* aArgs, int NumArgs)
{
    return NumArgs > 0 ? static_cast<int>(static_cast<U32>(static_cast<U64>(aArgs[0]))) : 0;
}

void CallAll(SCRIPT_CTX* pCtx)
{
    static constexpr I64 ARGS[MAX_SCRIPT_ARGS] = {1, -1, 0x7FFFFFFF, INT64_MIN, 5, 6, 7, 8};
    for (const SCRIPT_SYM* p = pCtx->Globals; p && !pCtx->Abort; p = p->Next) {
        if (p->Kind == SYM_FUNCTION) {
            I64 Result = 0;
            Script::CallByName(pCtx, std::string(p->Name, p->NameLen).c_str(), MAX_SCRIPT_ARGS, ARGS,
                               &Result);
        }
    }
    Script::CallByName(pCtx, "f");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, std::size_t Size)
{
    const std::string sText(reinterpret_cast<const char*>(pData), Size);
    void* pHeap = std::calloc(1, HEAP_SIZE);
    if (SCRIPT_CTX* pCtx = Script::Create(pHeap, HEAP_SIZE, sText.c_str())) {
        s_Budget = 20000;
        pCtx->OnStatement = [](SCRIPT_CTX* p) {
            if (--s_Budget <= 0) {
                p->Abort = 1;
            }
        };
        Script::RegisterConstant(pCtx, "SEVEN", 5, 7);
        Script::RegisterFunction(pCtx, "__api__ int Util.Log (const char* sText);", Host, 1);
        Script::RegisterFunction(pCtx, "__api__ int Out (__int64 Value);", Host, 2);
        if (Script::Parse(pCtx) == 0 && !pCtx->Error) {
            CallAll(pCtx);
        }
    }
    std::free(pHeap);
    return 0;
}
