// What the debug views ask of program tables, breakpoint logic, instruction cache, unwinder and evaluator.
// The application registers the answers once at start; tests hand in their own. A missing answer means
// "nothing known", so that a view without it stays usable.
//
//   DEBUG_VIEW_HOOKS Hooks;
//   Hooks.GetSrcLoc = [](U32 PC) { return PROG_GetFirstSrcLoc(PC); };
//   SetDebugViewHooks(Hooks);
#pragma once
#include "app/services/types.h"
#include "device/queue/devicetypes.h"
#include "program/elf/elf.h"
#include "program/tables/addrrange.h"
#include "program/tables/srcloc.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

/// State of a break- or tracepoint at a place.
struct VIEW_POINT {
    bool Exists = false;
    U32 State = BP_STATE_OFF;
    bool IsAtStart = true;    ///< at the row's first address; else at a later one
    U8 TraceOp = TP_OP_START; ///< of a tracepoint
};

/// One instruction as the views print it.
struct VIEW_INST {
    U32 Addr = ADDR_NONE;
    U32 Size = 0;      ///< bytes
    QString sEncoding; ///< bytes in hexadecimal
    QString sText;     ///< mnemonic and operands
};

/// A function of a source file for the header bar.
struct VIEW_FUNC {
    QString sName;
    QString sScope; ///< class or namespace; empty = file scope
    U32 Line = 0;
    ELF_SYM_HANDLE hFunc = 0;
};

/// One row of the call stack window.
struct VIEW_FRAME {
    QString sFunction;
    QString sReturn;  ///< text of the return address column
    U64 PC = ~U64(0); ///< all ones = not known
    U64 SP = ~U64(0);
    U32 FrameSize = 0; ///< bytes
    CSrcLoc Loc;       ///< call site of outer frames
    bool IsPCValid = false;
};

/// One register or group of the register window.
struct VIEW_REG {
    QString sName;
    QString sDescription;
    U32 NumBits = 32;
    U32 RegIdx = 0; ///< key by which values are read and reported
};
struct VIEW_REG_GROUP {
    QString sName;
    QString sDescription;
    QList<VIEW_REG> Regs;
    bool ShowsCPUMode = false; ///< the registers are those of the CPU's mode, whose name is the group's value
};

/// One row of the break and tracepoints window; children are derived breakpoints.
struct VIEW_BREAKPOINT {
    enum KINDS : U8 { CODE, DATA, TRACE_START, TRACE_STOP };
    KINDS Kind = CODE;
    U32 State = BP_STATE_ON;
    QString sImpl;     ///< "Hard", "Soft" while connected
    QString sLocation; ///< as commands take it
    QString sExtras;
    CSrcLoc Loc; ///< invalid for a bare address
    U32 Addr = ADDR_NONE;
    QString sExpression;       ///< of a data breakpoint
    QStringList CommandParams; ///< parameters of a data breakpoint's commands
    QList<VIEW_BREAKPOINT> Derived;
};

/// One value of the local data window.
struct VIEW_SYMBOL {
    QString sName;
    QString sValue;
    QString sLocation;
    U32 Size = 0; ///< bytes
    QString sType;
    QString sScope;
    bool HasMembers = false;
    U64 SortValue = 0;
    bool IsValueValid = false;
};

/// Answers of the program to the debug views. Main thread only.
struct DEBUG_VIEW_HOOKS {
    // Program tables.
    std::function<CSrcLoc(U32 PC)> GetSrcLoc;                    ///< of a PC; invalid for none
    std::function<QList<CAddrRange>(CSrcLoc Loc)> GetLineRanges; ///< code of a line, ascending
    std::function<U32(const QString& sPath)> GetFileNo; ///< 0xFFFFFFFF for a file that isn't the program's
    std::function<QString(U32 FileNo)> GetFilePath;     ///< empty for an unknown number
    std::function<QString(const QString& sPath)> ResolvePath; ///< where a file really is; empty if nowhere
    std::function<QString(CSrcLoc Loc)> GetSrcLocText;        ///< "main.c:12"
    std::function<CSrcLoc(CSrcLoc Loc)> GetNextCodeLoc; ///< the line itself or the next one with code; invalid if none follows
    std::function<QList<VIEW_FUNC>(U32 FileNo)> GetFileFuncs;
    std::function<QString(U32 Addr)> GetFunctionName; ///< empty for none
    std::function<ELF_SYM_HANDLE(U32 Addr)> GetFunctionAt;
    std::function<bool()> HasProgram;
    std::function<U32()> GetEntryPoint; ///< ADDR_NONE for none
    // Instruction cache.
    std::function<bool()> HasCore;                 ///< a core plug-in is loaded
    std::function<U32(U32 Addr)> GetSafeStartAddr; ///< nearest certain instruction start at or below
    std::function<U32(U32 Addr)> GetInstSize;      ///< bytes, at least 1
    std::function<VIEW_INST(U32 Addr, bool WithEncoding)> GetInst;
    std::function<U32()> GetMaxInstSize;                   ///< bytes; default 4
    std::function<QStringList(U32 Addr)> GetLabelsAt;      ///< symbols that start at the address
    std::function<QList<CSrcLoc>(U32 Addr)> GetSrcLinesAt; ///< source lines whose code starts at the address
    std::function<QString(CSrcLoc Loc)> GetSrcLineText;    ///< text of a line of a file
    // Breakpoints.
    std::function<VIEW_POINT(CSrcLoc Loc)> GetBreakpointOnLine;
    std::function<VIEW_POINT(U32 Addr)> GetBreakpointAt;
    std::function<VIEW_POINT(U32 Start, U64 End)> GetTracepointIn;
    std::function<QList<VIEW_BREAKPOINT>()> GetBreakpoints;
    std::function<void(const VIEW_BREAKPOINT& Row)> EditBreakpoint; ///< the properties dialog of a row
    // Call stack.
    std::function<void()> StartUnwind;
    std::function<void(bool OnlyMinimum)> UnwindNext; ///< next frame, or just what other windows need
    std::function<int()> GetNumFrames;
    std::function<VIEW_FRAME(int Index)> GetFrame;
    std::function<QString()> GetStopText; ///< why the unwinding ended
    std::function<int()> GetSelectedFrame;
    std::function<void(int Index)>
        SelectFrame;                         ///< asks for its registers; the answer is OnCallFrameEvaluated
    std::function<bool(U32 Addr)> IsOnStack; ///< PC of a frame but the innermost
    std::function<QList<CSrcLoc>()> GetCallSites; ///< of all frames but the innermost
    std::function<int(U32 PC)> FindFrame;         ///< -1 for none
    std::function<void()> InvalidateStack;
    // Registers.
    std::function<QList<VIEW_REG_GROUP>()> GetRegGroups; ///< asked anew when the CPU's mode changes
    std::function<QString()> GetCPUModeName;             ///< of the target's last halt; empty if unknown
    /// Asks for registers by index; true and the values if they are known at once, else the answer is an
    /// event.
    std::function<bool(const QList<U32>& RegIdxs, QList<U64>& Values, QList<bool>& Valid)> ReadRegs;
    /// Registers of an outer call frame as the unwinder worked them out; false if the frame has none.
    std::function<bool(int Frame, const QList<U32>& RegIdxs, QList<U64>& Values, QList<bool>& Valid)>
        ReadFrameRegs;
    // Values.
    std::function<QList<VIEW_SYMBOL>(const QStringList& Path)>
        GetLocals; ///< members of the symbol at a path of names
    std::function<QString(const QString& sExpr, CSrcLoc Loc)> GetTooltip; ///< empty for none
    // Execution counters.
    std::function<bool(U32 Start, U64 End, U64& Fetched, U64& NotExecuted)> GetExecCounts;
    std::function<U64()> GetTotalExecuted;
};

void SetDebugViewHooks(const DEBUG_VIEW_HOOKS& Hooks);
const DEBUG_VIEW_HOOKS& GetDebugViewHooks();

/// The answer of a hook, or Default when nobody answers.
template <class RESULT, class... ARGS, class... VALUES>
RESULT AskHook(const std::function<RESULT(ARGS...)>& Hook, RESULT Default, VALUES&&... Values)
{
    return Hook ? Hook(std::forward<VALUES>(Values)...) : Default;
}

/// File number of a path: the program's, or for a file that isn't the program's a number made from the path.
U32 GetViewFileNo(const QString& sPath);
/// "file:line" of a location, for commands and texts.
QString GetViewSrcLocText(const CSrcLoc& Loc);
QString FormatAddr(U32 Addr, bool WithPrefix = true); ///< 8 hexadecimal digits
