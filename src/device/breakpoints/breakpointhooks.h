// What the breakpoint logic reaches in the layers above it. Set once at start; an empty function counts as told
// beside it. All are called on the GUI thread.
#pragma once
#include "app/services/types.h"
#include "program/tables/srcloc.h"

#include <QString>
#include <functional>

/// What became of a condition.
enum BP_COND_RESULTS : int {
    BP_COND_VALUE = 0,       ///< Value holds it
    BP_COND_PARSE_ERROR = 1, ///< the text is no expression
    BP_COND_EVAL_ERROR = 2,  ///< it could not be evaluated; Error says why
    BP_COND_NO_RESULT = 3,   ///< the result has neither type nor name
    BP_COND_UNREADABLE = 4,  ///< the result's value can't be read
};
struct BP_COND_RESULT {
    int Kind = BP_COND_VALUE;
    I64 Value = 0;
    QString Error;
};

struct BREAKPOINT_HOOKS {
    /// The condition at a place in the program. Default: BP_COND_PARSE_ERROR, so that the target stays halted.
    std::function<BP_COND_RESULT(const QString& sExpr, U32 Addr)> EvalCondition;
    /// Brings the task list up to date and gives a task's id by name, 0 when unknown. Default 0.
    std::function<U64(const QString& sName)> FindTaskId;
    std::function<U64()> GetCurrTaskId;                   ///< default 0
    std::function<void(const QString& sFunc)> CallScript; ///< runs a script function by name
    std::function<void(const QString& sText)> ShowConsoleMsg;
    std::function<void(const QString& sTitle, const QString& sText)> ShowPopupMsg; ///< modal
    std::function<QString(const CSrcLoc& Loc)> GetSourceText;   ///< the source line as it stands; default empty
    std::function<bool(U32 File)> IsSourceOutOfDate;            ///< the file differs from what was compiled; default no
};

void BP_SetHooks(const BREAKPOINT_HOOKS& Hooks);
const BREAKPOINT_HOOKS& BP_GetHooks();
