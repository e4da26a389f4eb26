// The process-wide host of the one project script: loads a text, fills the script's symbols with
// constants, variable names and the commands of the action table, and calls its functions.
//
//   if (BScript::Load("p.bdebug") == 0 && BScript::HasEvent(EVENT_ON_PROJECT_LOAD))
//       BScript::RunEvent(EVENT_ON_PROJECT_LOAD);
//   if (BScript::HasError()) ... BScript::GetErrorText() ...
//
// Main thread only. A host call may run the event loop, so script functions can nest; a project is
// therefore opened through CProject::Open, which waits by timer until no function runs.
#pragma once
#include "app/services/types.h"
#include "script/lang/scriptctx.h"

#include <QString>
#include <QStringList>
#include <functional>

/// Functions of a project with a fixed meaning.
enum SCRIPT_EVENTS : int {
    EVENT_ON_PROJECT_LOAD = 1,
    EVENT_TARGET_RESET = 2,
    EVENT_BEFORE_TARGET_RESET = 3,
    EVENT_AFTER_TARGET_RESET = 4,
    EVENT_DEBUG_START = 5,
    EVENT_TARGET_CONNECT = 6,
    EVENT_BEFORE_TARGET_CONNECT = 7,
    EVENT_AFTER_TARGET_CONNECT = 8,
    EVENT_TARGET_DOWNLOAD = 9,
    EVENT_BEFORE_TARGET_DOWNLOAD = 10,
    EVENT_AFTER_TARGET_DOWNLOAD = 11,
    EVENT_BEFORE_TARGET_DISCONNECT = 12,
    EVENT_AFTER_TARGET_DISCONNECT = 13,
    EVENT_AFTER_TARGET_HALT = 14,
    EVENT_BEFORE_TARGET_RESUME = 15,
};

/// What the host asks of the layers above it; set once at start, each may be empty.
struct BSCRIPT_HOOKS {
    std::function<bool()> IsProjectClosing; ///< no function may start any more
    std::function<bool(const QString& sExpr, I64* pValue)>
        EvalExpr;                         ///< the expression evaluator, as an integer
    std::function<QString(int EventId)>
        GetEventBody; ///< what the core does in an event function of a new project; empty: nothing of its own
    std::function<void()> ShowConsole;    ///< a run left an error that the user must see
    std::function<bool()> IsRunCanceled;  ///< asked now and then during a long run; true ends it
    std::function<void()> RunEnded;       ///< the outermost call has returned
    std::function<int()>
        LogNewWarnings; ///< logs the project warnings not yet reported; their number (CProject sets it)
    std::function<int()> LogScriptError; ///< the same for the errors of the script alone (CProject sets it)
};

namespace BScript {

/// The hooks, to be filled in place.
BSCRIPT_HOOKS& Hooks();
/// Replaces the hooks; those of the project, which log, stay unless others are given.
void SetHooks(const BSCRIPT_HOOKS& NewHooks);
/// Gives the settings tables the constant names and the frequency rule. Called once at start.
void BindSettings();

int Load(const QString& sPath);     ///< 0, or negative with the error in GetErrorText
int LoadText(const QString& sText); ///< 0 or -1
/// Ends the script and frees it. A call that still runs stands below this one on the same stack, so
/// it can't be waited for: it ends at its next statement, and its memory goes with it.
void Close();

bool HasEvent(int EventId);
int RunEvent(int EventId);
/// 0 done; -1 no script; -2 unknown function; -3 bad prototype; -4 syntax error; -5 too many
/// calls nested; -6 more than 7 arguments. The text goes to GetErrorText. EventId -1: none.
int RunFunction(const QString& sName, int EventId, int NumArgs, const I64* aArgs, I64* pResult);

/// What the rest of the program calls: refuses while the project closes, logs, runs, and brings
/// the console to the front after an error.
int ExecScriptFunction(int EventId);
int ExecScriptFunction(const QString& sName, int NumArgs = 0, const I64* aArgs = nullptr,
                       I64* pResult = nullptr);

bool IsLoaded();
bool HasError();  ///< the last load or call failed
/// The text has an error or OnProjectLoad hasn't come to its end: not all settings are in force. Stays over a reload.
bool HasLoadFailed();
bool IsRunning(); ///< an event function or any call is under way
int GetCallDepth();
int GetRunningEvent(); ///< -1 if none
void RequestClose();   ///< no function may start any more, and a running one ends at its next statement
bool IsClosing();
bool IsAborted(); ///< the innermost call that runs has to end: a command that waits in it must return

QString GetErrorText();      ///< for a user: without dots, with " at line N" if known
/// All errors since the load in that form, each once: a bad argument leaves out its statement alone, so that
/// a run can have several. What the caller of a failed call with arguments was told isn't among them.
QStringList GetErrorTexts();
QString GetErrorStatement(); ///< text of the statement that failed, at most 512 characters
int GetErrorLine();          ///< -1 if none

QString GetProjectPath();
QString GetProjectDir();
void SetProjectPath(const QString& sPath); ///< stores path and folder
QString GetScriptText();                   ///< the text that was loaded; empty if none, or once its project is closed
void SetTextHash(const QString& sText);    ///< the text now stands in the file

bool IsFileChanged();
int ReloadIfChanged(); ///< 1 if it was reloaded, else 0

/// Checks that a string argument of a script call points into the script's block; otherwise logs
/// the error with sName's short form and gives false.
bool CheckStringArg(I64 Arg, const QString& sName);
/// The text at an address that CheckStringArg accepted, which may be empty; null for any other.
QString ReadStringArg(I64 Arg);

QString GetNewProjectText(const QStringList& Commands);
/// Body of a new project's OnProjectLoad with its head: both markers and the commands.
QString GetProjectLoadText(const QStringList& Commands);
QString GetEventPrototype(int EventId); ///< empty for an unknown id
QString GetEventName(int EventId);
QString GetDialogSectionMark();
QString GetUserSectionMark();

/// Commands of the host; they take their parameters from the action and set its error.
void OnScriptExec(int ActionId);
void OnScriptDefineConst(int ActionId);

} // namespace BScript
