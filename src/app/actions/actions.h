// The action table at work: linking of QActions, parameters, errors and results, dispatch.
//
//   SetActionParams(ACT_FILE_OPEN, "a.elf");            // parameters without a call
//   PerformAction(ACT_BREAK_SET, "0x08000100");         // a call; the result is the command's
//   void CMainWindow::OnActionFileCloseTriggered() {    // a handler
//       if (!CheckParamCount(ACT_FILE_CLOSE, 0)) return;
//       ...
//       SetActionError(ACT_FILE_CLOSE, ERR_FILE_NOT_FOUND);
//   }
//
// Main thread only. Parameters and the error live for the time of one call: the console clears them
// after the echo (ClearAction).
#pragma once
#include "app/actions/actionrow.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>

class QAction;
class QWidget;

// Error words, the same in all handlers.
inline constexpr char ERR_WRONG_PARAM_COUNT[] = "wrong parameter count";
inline constexpr char ERR_INVALID_PARAM[] = "invalid parameter";
inline constexpr char ERR_NOT_A_NUMBER[] = "not a number";
inline constexpr char ERR_NOT_CONNECTED[] = "not connected";
inline constexpr char ERR_ALREADY_CONNECTED[] = "already connected";
inline constexpr char ERR_PROGRAM_RUNNING[] = "program is running";
inline constexpr char ERR_STEP_IN_PROGRESS[] = "step in progress";
inline constexpr char ERR_FILE_NOT_FOUND[] = "file not found";
inline constexpr char ERR_INVALID_FILENAME[] = "invalid filename";
inline constexpr char ERR_UNKNOWN_WINDOW[] = "unknown window";
inline constexpr char ERR_UNKNOWN_TOOLBAR[] = "unknown toolbar";
inline constexpr char ERR_UNKNOWN_SYMBOL[] = "unknown symbol";
inline constexpr char ERR_UNKNOWN_COLOR[] = "unknown color";
inline constexpr char ERR_UNKNOWN_FONT[] = "unknown font";
inline constexpr char ERR_UNKNOWN_PREFERENCE[] = "unknown preference";
inline constexpr char ERR_UNKNOWN_SYSVAR[] = "unknown system variable";
inline constexpr char ERR_UNKNOWN_HOST_IF[] = "unknown host interface";
inline constexpr char ERR_UNKNOWN_TARGET_IF[] = "unknown target interface";
inline constexpr char ERR_INVALID_NUMBER[] = "invalid number";
inline constexpr char ERR_COMMAND_DISABLED[] = "Command disabled";
inline constexpr char ERR_UNKNOWN_COMMAND[] = "unknown command";

/// What the table needs from the layers above it; each may stay empty.
struct ACTION_HOOKS {
    /// Errors that belong to no running action, a disabled or unknown command: the console's PrintError.
    std::function<void(const QString& sText, const QString& sError)> PrintError;
    /// Canonical text of a source location, empty if the text is none.
    std::function<QString(const QString& sText)> GetSrcLocText;
    /// Gives the stored parameters of a row the form in which they are echoed, before the row runs. For rows whose echo
    /// comes first, as the others do it themselves while they run.
    std::function<void(int Id)> CanonicalizeParams;
    /// True if the value points to a terminated string in the script heap; logs the error otherwise.
    /// sName is the short name of the script function, "FileOpen".
    std::function<bool(I64 Value, const QString& sName)> CheckStringArg;
    /// The string at an address that CheckStringArg accepted.
    std::function<QString(I64 Value)> ReadStringArg;
    /// Waits for a job type of the device (numbers of SCRIPT_JOBS), then lets its events be handled.
    std::function<void(int JobType, int Flag)> WaitJob;
    /// Number of addresses of a breakpoint location; 0 if unknown.
    std::function<int(const QString& sLocation)> GetNumAddrsOfLocation;
};
void SetActionHooks(const ACTION_HOOKS& Hooks);
const ACTION_HOOKS& GetActionHooks();

// --- Linking -------------------------------------------------------------------------------------

/// Joins every QAction below the widget whose object name a row has with that row: shortcut, status
/// tip, tool tip. A row follows the widget linked last.
void LinkActions(QWidget* pWindow);
/// Takes the widget's actions out again; before the widget dies. Its rows go back to the widget that was linked before it
/// and still is.
void UnlinkActions(QWidget* pWindow);
/// Object names for which no row was found, sorted.
QStringList GetUnknownActionNames();

/// The linked action, null if there is none.
QAction* GetAction(int Id);
/// Id of a linked action, -1 if unknown.
int GetActionId(const QAction* pAction);

// --- Reading the table ---------------------------------------------------------------------------

/// Id of a command by its name or old name, ignoring case; -1 if unknown.
int FindCommand(const QString& sName);
/// Name of a command, empty for a plain GUI action.
QString GetCommandName(int Id);
/// How messages name an action: the command, or the text that a plain GUI action shows.
QString GetActionTitle(int Id);
/// The other name of a command, empty if it has none.
QString GetCommandAlias(int Id);
/// The other half of a pair of names, in both directions; empty if there is none.
QString GetAliasOfName(const QString& sName);
/// The prototype with the name replaced by the alias, empty without an alias.
QString GetAliasPrototype(int Id);
/// Number of parameters of the prototype; 0 for void and for plain GUI actions.
int GetParamCount(int Id);
/// Declaration of one parameter ("const char* sFile"), empty outside the list.
QString GetParamDecl(int Id, int Index);
/// True if the parameter is a string.
bool IsStringParam(int Id, int Index);
/// Rows whose hot key or its equivalent is this key sequence text, in id order.
QList<int> FindActionsByHotKey(const QString& sKey);

// --- Parameters, errors, results -----------------------------------------------------------------

/// Stores parameters (normalised unless the row takes them raw) without a call; invalid variants are
/// left out. None at all removes the list.
void SetActionParams(int Id, const QVariant& P1 = {}, const QVariant& P2 = {}, const QVariant& P3 = {},
                     const QVariant& P4 = {}, const QVariant& P5 = {}, const QVariant& P6 = {},
                     const QVariant& P7 = {}, const QVariant& P8 = {});
void SetActionParamList(int Id, const QStringList& Params);
/// Empties parameters and error.
void ClearAction(int Id);
/// The operation is not to be echoed afterwards; replaces the parameters.
void SetActionSilent(int Id);
bool IsActionSilent(int Id);
/// True if a list is stored.
bool HasActionParams(int Id);
/// The stored list, every double quote removed from its entries.
QStringList GetActionParams(int Id);
/// The stored list as it is.
QStringList GetRawActionParams(int Id);
/// The single parameter. A list of another length sets the error ERR_WRONG_PARAM_COUNT and gives an
/// empty text; no list gives an empty text without an error.
QString GetActionParam(int Id);
/// True if the list has at least Min (-1: all of the prototype) and at most the prototype's number of
/// entries; otherwise sets ERR_WRONG_PARAM_COUNT.
bool CheckParamCount(int Id, int Min = -1);
/// The error of the call that runs. sDetail is added when there is more than one parameter.
void SetActionError(int Id, const QString& sText, const QString& sDetail = {});
QString GetActionError(int Id);
/// The value of the call that runs; it stays the row's until another call sets one.
void SetActionResult(int Id, I64 Value);
I64 GetActionResult(int Id);
/// Number of failures since the start: errors set by handlers, calls of disabled commands and of actions
/// that aren't linked. A change tells a caller that something inside a call failed.
U64 GetActionErrorCount();

/// What console, scripts and PerformAction obey. True for a row without an action.
bool IsCommandEnabled(int Id);
/// Sets the command state and the state that menus show, separately.
void SetCommandState(int Id, bool CommandEnabled, bool GuiEnabled);

// --- Execution -----------------------------------------------------------------------------------

/// Triggers the action with the parameters that are stored. 0, or -1 for an unknown id, a disabled
/// command (which is printed) or an action that isn't linked.
int PerformAction(int Id);
/// Stores the parameters and performs the action. The value is the row's result: what a handler set last by
/// SetActionResult, in this call or an earlier one, else 0; -1 if the action could not run.
I64 PerformAction(int Id, const QVariant& P1, const QVariant& P2 = {}, const QVariant& P3 = {},
                  const QVariant& P4 = {}, const QVariant& P5 = {}, const QVariant& P6 = {},
                  const QVariant& P7 = {}, const QVariant& P8 = {});
I64 PerformActionList(int Id, const QStringList& Params);

enum EXECUTE_RESULTS : int {
    EXECUTE_UNKNOWN = 0,  ///< no such command
    EXECUTE_DONE = 1,     ///< the action was triggered, whatever came of it
    EXECUTE_DISABLED = 2, ///< the command's state is off
};
/// Runs a line of the console.
int ExecuteCommand(const QString& sText);

/// The lines of Help.Commands.
QStringList GetCommandList();
