// The row of the action table: one operation that a user can make.
//
// The rows stand in tables/, in id order; a row's index is its id.
#pragma once
#include "app/actions/actionids.h"
#include "app/services/types.h"

/// What a script call of a command runs: the id of its row and the arguments, strings as addresses in
/// the script heap. Returns the value of the call, -1 for failure. Main thread.
using SCRIPT_ENTRY = int(int ActionId, const I64* aArgs, int NumArgs);

/// The script entry of all commands: checks and converts the arguments, performs the action and waits
/// for the target work that it started.
int BAPI(int ActionId, const I64* aArgs, int NumArgs);

/// ACTION_ROW::SysVar of a row that sets no system variable.
inline constexpr int SYSVAR_NONE = 84;

struct ACTION_ROW {
    int ID;
    bool Listed = true;                  ///< in the command list, and echoed
    bool Repeatable = false;             ///< may stand several times in a project without a warning
    bool RawParams = false;              ///< parameters are stored as given
    bool EchoAfter = false;              ///< echoed after the operation instead of before
    SCRIPT_ENTRY* ScriptEntry = nullptr; ///< null for rows that a script can't call
    const char* HotKey = "";             ///< as QKeySequence reads it
    const char* Prototype = "";          ///< "__api__ int Family.Name (...);", empty for a plain GUI action
    const char* ArgLabel = "";           ///< arguments in the command list
    const char* Description = "";        ///< status tip and command list text
    const char* ToolTip = nullptr;       ///< null where the description serves
    const char* ObjectName = "";         ///< object name of the QAction
    int SysVar = SYSVAR_NONE;            ///< system variable that the command sets
};

/// Row of an id, null for an id outside the table. The row lives as long as the program.
const ACTION_ROW* GetActionRow(int Id);
/// Tool tip of a row: its own, or the description.
const char* GetActionToolTip(const ACTION_ROW& Row);
