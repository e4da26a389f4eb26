// Statements a second of the script interpreter, beside the same programs in python3, which compiles
// them first. One figure a line; the better of three runs.
#include "script/lang/scriptctx.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {
constexpr int NUM_RUNS = 3;
constexpr int NUM_NAMES = 800; ///< about as many as a project script has in front of its functions

struct PROGRAM {
    const char* Name;
    const char* Script;   ///< its function f is called
    const char* Python;   ///< defines f
    double NumStatements; ///< that a run of the script executes
};

const PROGRAM PROGRAMS[] = {
    {"counting loop", "void f(void){ int i; i = 0; while (i < 300000) { i += 1; } }",
     "def f():\n i = 0\n while i < 300000:\n  i += 1\n", 300000 * 2 + 1},
    {"arithmetic",
     "void f(void){ int i; __int64 s; i = 0; s = 0; while (i < 100000) {\n"
     "  s = s + i * 3 - (i >> 2) & 0xFFFFFF;\n  if (s > 1000000) s -= 1000000; else s += 1;\n  i += 1; } }",
     "def f():\n i = 0\n s = 0\n while i < 100000:\n  s = s + i * 3 - (i >> 2) & 0xFFFFFF\n"
     "  if s > 1000000:\n   s -= 1000000\n  else:\n   s += 1\n  i += 1\n",
     100000 * 5 + 2},
    {"script calls",
     "int g(int a){ return a + 1; } void f(void){ int i; i = 0; while (i < 100000) { i = g(i); } }",
     "def g(a):\n return a + 1\ndef f():\n i = 0\n while i < 100000:\n  i = g(i)\n", 100000 * 3 + 1},
    {"host calls", "void f(void){ int i; i = 0; while (i < 100000) { Host.Add(i, 1); i += 1; } }",
     "def f():\n i = 0\n while i < 100000:\n  max(i, 1)\n  i += 1\n", 100000 * 3 + 1},
};

double Seconds(std::chrono::steady_clock::time_point Since)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - Since).count();
}

double RunScript(const PROGRAM& Program)
{
    const std::unique_ptr<void, decltype(&std::free)> pHeap(std::calloc(1, SCRIPT_HEAP_SIZE), &std::free);
    SCRIPT_CTX* pCtx = Script::Create(pHeap.get(), SCRIPT_HEAP_SIZE, Program.Script);
    std::vector<std::string> Names;
    Names.reserve(NUM_NAMES);
    for (int i = 0; i < NUM_NAMES; ++i) {
        Names.push_back("CONSTANT_NUMBER_" + std::to_string(i));
        Script::RegisterConstant(pCtx, Names.back().c_str(), Names.back().size(), i);
    }
    Script::RegisterFunction(
        pCtx, "__api__ int Host.Add (int a, int b);",
        [](int, const I64* aArgs, int) { return static_cast<int>(aArgs[0] + aArgs[1]); }, 0);
    if (Script::Parse(pCtx) != 0) {
        std::fprintf(stderr, "%s doesn't parse\n", Program.Name);
        std::exit(1);
    }
    const auto Start = std::chrono::steady_clock::now();
    if (Script::CallByName(pCtx, "f") != 0) {
        std::fprintf(stderr, "%s fails: %s\n", Program.Name, pCtx->ErrorText);
        std::exit(1);
    }
    return Seconds(Start);
}

/// Negative without python3. The interpreter's start isn't counted.
double RunPython(const PROGRAM& Program)
{
    const std::string sCommand =
        "python3 -c '" + std::string(Program.Python) +
        "import time\nt = time.perf_counter()\nf()\nprint(time.perf_counter() - t)' 2>/dev/null";
    FILE* pPipe = popen(sCommand.c_str(), "r");
    double Result = -1;
    if (pPipe && std::fscanf(pPipe, "%lf", &Result) != 1) {
        Result = -1;
    }
    if (pPipe) {
        pclose(pPipe);
    }
    return Result;
}
} // namespace

int main()
{
    for (const PROGRAM& Program : PROGRAMS) {
        double Script = 1e9;
        double Python = 1e9;
        for (int i = 0; i < NUM_RUNS; ++i) {
            Script = std::min(Script, RunScript(Program));
            Python = std::min(Python, RunPython(Program));
        }
        std::printf("%-15s %10.2f million statements/s", Program.Name, Program.NumStatements / Script / 1e6);
        if (Python > 0) {
            std::printf(", python3 %8.2f", Program.NumStatements / Python / 1e6);
        }
        std::printf("\n");
    }
    return 0;
}
