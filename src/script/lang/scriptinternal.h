// What the files of the interpreter share: positions, the block's allocators, the lexical layer.
//
// Every operation returns 0 or a positive value on success and -1 once an error is set; nothing
// moves the cursor any further after that.
#pragma once
#include "script/lang/scriptctx.h"

namespace Script {

/// Most of the C stack that statements, expressions and calls nested in each other may take, in
/// bytes. A script that goes deeper ends with an error instead of a crash. Where the system grants
/// less than twice as much, it is half of that.
inline constexpr std::size_t MAX_SCRIPT_STACK = 4 * 1024 * 1024;

inline constexpr const char* ERR_OUT_OF_MEMORY = "out of memory.";
inline constexpr const char* ERR_SYNTAX = "syntax error.";
inline constexpr const char* ERR_NEED_IDENT = "expected an identifier.";
inline constexpr const char* ERR_NEED_OPERAND = "expected a value or an identifier.";
inline constexpr const char* ERR_NEED_BASE_TYPE = "expected a base type.";
inline constexpr const char* ERR_NEED_VALUE = "expected a value.";
inline constexpr const char* ERR_INDEX_RANGE = "array index out of range.";

/// A place in the text.
struct POS {
    const char* Cursor;
    const char* LineStart;
    int Line;
};

struct WORD {
    const char* Name = nullptr;
    U32 Len = 0;
};

/// Counts one level of nesting for its life. The outermost one marks where the script's share of the
/// C stack begins; calls that nest through a host function count from there too.
class CDepth {
public:
    explicit CDepth(SCRIPT_CTX* pCtx) : m_pCtx(pCtx)
    {
        if (pCtx->Depth++ == 0) {
            pCtx->StackBase = GetStack();
        }
    }
    ~CDepth() { --m_pCtx->Depth; }
    CDepth(const CDepth&) = delete;
    CDepth& operator=(const CDepth&) = delete;
    bool IsTooDeep() const
    {
        const std::uintptr_t Here = GetStack();
        const std::uintptr_t Base = m_pCtx->StackBase;
        return (Here < Base ? Base - Here : Here - Base) > m_pCtx->StackLimit;
    }

private:
    static std::uintptr_t GetStack() { return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)); }
    SCRIPT_CTX* m_pCtx;
};

// --- Errors and memory
int SetError(SCRIPT_CTX* pCtx, const char* sText); ///< keeps the first error; always -1
int SetErrorExpected(SCRIPT_CTX* pCtx, char c);
void* AllocLow(SCRIPT_CTX* pCtx, U64 Size);  ///< cleared; null with the error set when there is no room
void* AllocHigh(SCRIPT_CTX* pCtx, U64 Size); ///< not cleared; null with the error set when there is no room

// --- Lexical layer
POS GetPos(const SCRIPT_CTX* pCtx);
void SetPos(SCRIPT_CTX* pCtx, const POS& Pos);
int SkipSpace(SCRIPT_CTX* pCtx); ///< white space and comments
bool IsIdentChar(char c);
bool PeekWord(SCRIPT_CTX* pCtx,
              WORD* pWord); ///< the identifier at the cursor, after white space; not consumed
bool WordIs(const WORD& Word, const char* sText);
void Consume(SCRIPT_CTX* pCtx, const WORD& Word);
bool MatchChar(SCRIPT_CTX* pCtx, char c); ///< consumes it if it comes next, after white space
int ExpectChar(SCRIPT_CTX* pCtx, char c);
bool MatchText(SCRIPT_CTX* pCtx, const char* sText);
bool ReadNumber(SCRIPT_CTX* pCtx, I64* pValue); ///< an integer literal at the cursor; consumed
/// The string literal at the cursor, which stands on its opening quote. Without Exec it is checked
/// and passed over, and *ppVar becomes a variable that must not be read.
int ReadString(SCRIPT_CTX* pCtx, bool Exec, SCRIPT_VAR** ppVar);
int SkipArgument(SCRIPT_CTX* pCtx); ///< to the "," or ")" that ends the argument of a call

// --- Symbols
SCRIPT_SYM* Lookup(SCRIPT_CTX* pCtx, const WORD& Word);
void InitSym(SCRIPT_SYM* pSym, int Kind, const char* sName, U32 NameLen);
void AppendGlobal(SCRIPT_CTX* pCtx, SCRIPT_SYM* pSym);
void AppendLocal(SCRIPT_CTX* pCtx, SCRIPT_SYM* pSym);
int AttachAttribute(SCRIPT_CTX* pCtx, SCRIPT_SYM* pSym, SCRIPT_SYM* pQualifier);
int LoadBytes(SCRIPT_CTX* pCtx, const U8* pData, U64 Size, I64* pValue); ///< little-endian, zero-extended
void StoreBytes(U8* pData, U64 Size, I64 Value);

// --- Execution
/// Reads one expression of at least the precedence. *ppSym is set when it is a string, else
/// *pValue. 0, 1 for a string literal, -1.
int Eval(SCRIPT_CTX* pCtx, bool Exec, SCRIPT_VAR** ppSym, I64* pValue, int MinPrecedence);
/// The same where a string isn't allowed.
int EvalValue(SCRIPT_CTX* pCtx, bool Exec, I64* pValue);
/// "[" index "]"; the index isn't checked.
int EvalIndex(SCRIPT_CTX* pCtx, bool Exec, I64* pIndex);
/// Operators by their characters: '*', '/', '+', '-', '&', '|', '^', 'l' "<<", 'r' ">>".
int Combine(SCRIPT_CTX* pCtx, char Op, I64 Left, I64 Right, I64* pValue);
/// The call whose function name has been read. IsStatement: a bad argument is reported and the call left out.
int Call(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, bool Exec, bool IsStatement, I64* pResult);
/// Runs a function; aArgs holds one value for each declared parameter.
int RunFunction(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, const I64* aArgs, I64* pResult);
/// 1 after a return, 0, -1.
int Stmt(SCRIPT_CTX* pCtx, SCRIPT_FUNC* pFunc, I64* pResult, bool Exec);

} // namespace Script
