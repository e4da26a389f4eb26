// Which function carries out which command. The families register theirs at start; the main window makes a
// QAction for every command that has a handler and routes its trigger here.
//
//   SetCommandHandler(ACT_UTIL_LOG, OnUtilLog);
//
// Main thread only.
#pragma once
#include "app/actions/actionids.h"
#include "app/services/types.h"

#include <QString>

/// Carries out one command: takes the parameters from its action, sets its error or result there.
using COMMAND_HANDLER = void (*)(int ActionId);

void SetCommandHandler(int ActionId, COMMAND_HANDLER pfHandler);
COMMAND_HANDLER GetCommandHandler(int ActionId); ///< null if nobody carries it out

/// Puts the name of the mode into the parameter of Debug.SetConnectMode and Debug.SetResetMode, before they are echoed.
void CanonicalizeModeParam(int ActionId);

/// How many addresses a breakpoint on a source location has; 0 for a text that names no line with code.
int GetNumBreakAddrs(const QString& sLocation);

void RegisterConnectCommands();  ///< Debug.* of the session, Exec.*
void RegisterRunCommands();      ///< Debug.* of running and stepping
void RegisterFileCommands();     ///< File.*, Help.*
void RegisterDocumentCommands(); ///< closing and searching documents, Edit.Copy, Help.UserGuide
void RegisterPlaceCommands();    ///< View.*, Find.Func, Find.GlobalData
void RegisterSymbolCommands();   ///< symbols in windows: Window.Add, Edit.DisplayFormat
void RegisterWindowCommands();   ///< Window.*, Toolbar.* and the show actions
void RegisterBreakCommands();    ///< Break.*, Trace.*
void RegisterDataBreakCommands(); ///< of those on data breakpoints; called by RegisterBreakCommands()
void RegisterTargetCommands();   ///< Target.*, Elf.*, Util.*
void RegisterProjectCommands();  ///< Project.*, Edit.*, Script.*
void RegisterSettingsCommands(); ///< Tools.BrylloSettings, Tools.Preferences, Tools.SysVars
/// The last one: a handler for each command that nobody carries out, because the window or dialog that it
/// works on isn't part of this program. It checks the parameters and answers "unknown window".
void RegisterAbsentCommands();
/// True for a command that only answers that its window is missing.
bool IsCommandAbsent(int ActionId);

/// Checks number and kind of all parameters by the prototype. False, with the error set, for a wrong one.
bool CheckParams(int ActionId, int Min = -1);

/// An address of a command, read with base 16. False, with the error set, if it is none.
bool ParseAddrParam(int ActionId, const QString& sText, U32* pAddr, const char* sError = "invalid parameter");
/// A number of a command: a named constant, or C notation. False, with the error set, if it is neither.
bool ParseNumberParam(int ActionId, const QString& sText, I64* pValue,
                      const char* sError = "invalid parameter");
