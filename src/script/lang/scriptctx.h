// The interpreter of the project script: a single-pass executor that walks the source text with
// a moving pointer. No token list and no syntax tree: loading only records where each function's
// body lies, a statement is recognised when it runs, a loop body is read again at each pass, and
// an untaken branch is read with a flag that stops every effect.
//
//   void* pHeap = calloc(1, SCRIPT_HEAP_SIZE);
//   SCRIPT_CTX* pCtx = Script::Create(pHeap, SCRIPT_HEAP_SIZE, sText);
//   Script::RegisterFunction(pCtx, "__api__ int Util.Sleep (int ms);", Host, 17);
//   if (Script::Parse(pCtx) == 0 && pCtx->Error == 0) Script::CallByName(pCtx, "OnProjectLoad");
//   free(pHeap);
//
// All memory of a script lies in the one block: lasting items grow up from its start, locals
// grow down from its end, and nothing but the locals of a function that returns is ever freed.
// Main thread; calls may nest through a host function. Plain C++, no Qt.
#pragma once
#include "app/services/types.h"

/// Size of the block that a script lives in, in bytes.
inline constexpr std::size_t SCRIPT_HEAP_SIZE = 1000000;
/// Most arguments that a host function or a call from the host can have.
inline constexpr int MAX_SCRIPT_ARGS = 8;

struct SCRIPT_CTX;
struct SCRIPT_SYM;

/// A function of the host. String arguments are addresses in the script's block, if the script
/// gave a string: the host checks them. The result reaches the script sign-extended.
using SCRIPT_HOST_FUNC = int (*)(int ActionId, const I64* aArgs, int NumArgs);

enum SCRIPT_SYM_KINDS : int {
    SYM_BASE_TYPE = 0,
    SYM_CONSTANT = 4,
    SYM_POINTER_TYPE = 6,
    SYM_FUNCTION = 7,
    SYM_QUALIFIER = 8,
    SYM_FUNC_ATTRIBUTE = 9,
    SYM_RETURN_WRAPPER = 10,
    SYM_VARIABLE = 11,
    SYM_ARRAY_TYPE = 12,
};

/// A qualifier or attribute attached to a symbol.
struct SCRIPT_ATTRIBUTE {
    SCRIPT_ATTRIBUTE* Next;
    SCRIPT_SYM* Qualifier;
};

/// What all symbols begin with; constants, base types, qualifiers and pointer types are this alone.
struct SCRIPT_SYM {
    SCRIPT_SYM* Next;
    SCRIPT_ATTRIBUTE* Attributes;
    const char* Name; ///< NameLen bytes, not zero-terminated in general
    I32 Kind;
    U32 NameLen;
    union {
        SCRIPT_SYM* Type; ///< kinds 6, 7, 10, 11, 12
        I64 Value; ///< kind 0: size in bytes; 4: the 32-bit value, sign-extended; 8, 9: number of the word
    };
};
static_assert(sizeof(SCRIPT_SYM) == 40, "a constant takes 40 bytes of the block");

struct SCRIPT_VAR : SCRIPT_SYM {
    U8* Data; ///< storage, null for the declaration of a parameter
};

struct SCRIPT_ARRAY_TYPE : SCRIPT_SYM {
    U64 Count;
};

struct SCRIPT_FUNC : SCRIPT_SYM {
    SCRIPT_VAR* Params; ///< first declared parameter
    const char* Body;   ///< text position behind the head, null for a host function
    const char* BodyLineStart;
    SCRIPT_HOST_FUNC Host; ///< null for a script function
    I32 BodyLine;
    I32 HostId; ///< handed to Host as ActionId
};

/// Global symbols that were looked up, by a number made from their name.
inline constexpr std::size_t NUM_FOUND_SYMS = 128;

/// The context, at the start of its block.
struct SCRIPT_CTX {
    U8* HeapLow;  ///< next free byte for lasting items
    U8* HeapHigh; ///< lowest byte in use by locals
    const char* Text;
    const char* Cursor;
    const char* LineStart;
    int Line;                 ///< 1 at the start of the text
    int Error;                ///< set by the first error; every operation then returns at once
    int Abort;                ///< set from outside to end a running script
    int Depth;                ///< statements, expressions and calls now nested
    std::uintptr_t StackBase; ///< where the outermost of them stands on the C stack
    std::size_t StackLimit;   ///< bytes of the C stack that the others may take from there
    const char* ErrorText;
    void (*OnError)(SCRIPT_CTX* pCtx); ///< called when an error is set; Line and LineStart say where
    void (*OnStatement)(
        SCRIPT_CTX* pCtx); ///< called before each statement that runs, may set Abort; may be null
    void* User;            ///< the host's own
    SCRIPT_SYM* Globals;
    SCRIPT_SYM* GlobalsTail;
    SCRIPT_SYM* Locals;
    SCRIPT_SYM* LocalsTail;
    SCRIPT_SYM* ConstCharType;
    SCRIPT_SYM* Found[NUM_FOUND_SYMS]; ///< spares walking the list again; null or any global
    U8* HeapEnd;                       ///< one past the block
    char ErrorBuffer[80];              ///< holds an ErrorText that was put together
};

namespace Script {

/// Sets up the block (cleared here) with the predefined symbols. sText is zero-terminated and
/// must outlive the context. Null if the block can't hold the context and its symbols.
SCRIPT_CTX* Create(void* pHeap, std::size_t HeapSize, const char* sText);

/// Enters a named constant; the 32-bit value reads sign-extended. sName must outlive the
/// context. 0, or -1 when less than 40 bytes are free (the name is left out).
int RegisterConstant(SCRIPT_CTX* pCtx, const char* sName, std::size_t NameLen, I64 Value);

/// Declares a host function from its prototype ("__api__ int Util.Sleep (int ms);"), which need
/// not outlive the call. 0, or -1 with the error in the context.
int RegisterFunction(SCRIPT_CTX* pCtx, const char* sPrototype, SCRIPT_HOST_FUNC pfHost, int HostId);

/// Reads the whole text and records its functions. 0, or -1 on an error in a function's head;
/// an error in a body (brace count, comment) gives 0 with Error set.
int Parse(SCRIPT_CTX* pCtx);

/// Runs a function without arguments. -2: no function of that name; 0; -1 on an error, which stays set:
/// called from a host function, it also ends the run that this one stands in. *pResult as below.
int CallByName(SCRIPT_CTX* pCtx, const char* sName, I64* pResult = nullptr);
/// Runs a function with up to 8 integers; missing ones are 0. The same results, but a failed run
/// clears the error. *pResult (may be null) gets the function's value; -1 for one without a return.
int CallByName(SCRIPT_CTX* pCtx, const char* sName, int NumArgs, const I64* aArgs, I64* pResult);

/// Among the globals (a call from the host has no locals of its own), oldest first; null if unknown.
SCRIPT_SYM* FindSymbol(SCRIPT_CTX* pCtx, const char* sName);

/// True if the zero-terminated text at the address lies wholly inside the script's block.
bool IsHeapString(const SCRIPT_CTX* pCtx, I64 Address);

} // namespace Script
