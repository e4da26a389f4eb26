// The process-wide host of the one project script: loads a text, fills the script's symbols with
// constants, variable names and the commands of the action table, and calls its functions.
//
//   if (BScript::Load("p.bdebug") == 0 && BScript::HasEvent(EVENT_ON_PROJECT_LOAD))
//       BScript::RunEvent(EVENT_ON_PROJECT_LOAD);
//   if (BScript::HasError()) ... BScript::GetErrorText() ...
//
// Main thread only. A host call may run the event loop, so script functions can nest; a load or
// close waits for the calls that run (see Close), therefore a project is opened through
// CProject::Open, which waits by timer instead.
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

/// Hooks that the application sets once at start; each may be empty.
struct BSCRIPT_HOOKS {
    std::function<bool()> IsProjectClosing;                         ///< no function may start any more
    std::function<bool(const QString& sExpr, I64* pValue)> EvalExpr; ///< the expression evaluator, as an integer
    std::function<void()> ShowConsole;                              ///< called when a run left an error that the user must see
    std::function<bool()> HasNewWarnings;                           ///< project warnings not yet reported
};

namespace BScript {

void SetHooks(const BSCRIPT_HOOKS& Hooks);
/// Gives the settings tables the constant names and the frequency rule. Called once at start.
void BindSettings();

int Load(const QString& sPath);      ///< 0, or negative with the error in GetErrorText
int LoadText(const QString& sText);  ///< 0 or -1
void Close();                        ///< ends a running script (waits at most 100,000 ms) and frees it

bool HasEvent(int EventId);
int RunEvent(int EventId);
/// 0 done; -1 no script; -2 unknown function; -3 bad prototype; -4 syntax error; -5 too many
/// calls nested; -6 more than 7 arguments. The text goes to GetErrorText. EventId -1: none.
int RunFunction(const QString& sName, int EventId, int NumArgs, const I64* aArgs, I64* pResult);

/// What the rest of the program calls: refuses while the project closes, logs, runs, and brings
/// the console to the front after an error.
int ExecScriptFunction(int EventId);
int ExecScriptFunction(const QString& sName, int NumArgs = 0, const I64* aArgs = nullptr, I64* pResult = nullptr);

bool IsLoaded();
bool HasError();      ///< the last load or call failed
bool IsRunning();     ///< an event function or any call is under way
int GetCallDepth();
int GetRunningEvent(); ///< -1 if none
void RequestClose();  ///< no function may start any more, and a running one ends at its next statement
bool IsClosing();

QString GetErrorText();      ///< for a user: without dots, with " at line N" if known
QString GetErrorStatement(); ///< text of the statement that failed, at most 512 characters
int GetErrorLine();          ///< -1 if none

QString GetProjectPath();
QString GetProjectDir();
void SetProjectPath(const QString& sPath); ///< stores path and folder
QString GetScriptText();                   ///< the text that was loaded, empty if none
void SetTextHash(const QString& sText);    ///< the text now stands in the file

bool IsFileChanged();
int ReloadIfChanged(); ///< 1 if it was reloaded, else 0

/// Checks that a string argument of a script call points into the script's block; otherwise logs
/// the error with sName's short form and gives false.
bool CheckStringArg(I64 Arg, const char* sName);

QString GetNewProjectText(const QStringList& Commands);
QString GetEventPrototype(int EventId); ///< empty for an unknown id
QString GetEventName(int EventId);
QString GetDialogSectionMark();
QString GetUserSectionMark();

/// Commands of the host; they take their parameters from the action and set its error.
void OnScriptExec(int ActionId);
void OnScriptDefineConst(int ActionId);

} // namespace BScript
