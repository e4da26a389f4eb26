// What a script call waits for after its action was performed.
//
// The numbers are the job types of the device's queue; the queue itself lies above this layer and is
// reached by ACTION_HOOKS::WaitJob.
#pragma once
#include "app/actions/actionids.h"
#include "app/services/types.h"

#include <QStringList>

/// Job types that script calls wait for.
namespace SCRIPT_JOBS {
enum : int {
    CONNECT = 1,
    DISCONNECT = 2,
    RESET = 3,
    HALT = 4,
    CONTINUE = 5,
    STEP_INST = 6,
    STEP_INTO = 7,
    STEP_OVER = 8,
    STEP_OUT = 9,
    RUN_TO = 11,
    EXEC_BRYLLO_CMD = 12,
    SET_BP = 13,
    SET_BPS = 14,
    CLEAR_BP = 15,
    CLEAR_BPS = 16,
    CLEAR_ALL_BPS = 17,
    SET_WPS = 19,
    CLEAR_WPS = 20,
    CLEAR_ALL_WPS = 21,
    SET_TPS = 22,
    CLEAR_TPS = 23,
    CLEAR_ALL_TPS = 24,
    WRITE_REG = 26,
    WRITE_CP_REG = 28,
    END_DOWNLOAD = 30,
    READ_MEM = 31,
    WRITE_MEM = 32,
    START_SWO_TRACE = 44,
    START_MEMLANE = 48,
    STOP_MEMLANE = 49,
    CONFIGURE = 60,
    SET_CONFIG_PARAM = 61,
};
}

/// When a row of the table applies.
enum WAIT_CONDITIONS : U8 {
    WAIT_ALWAYS,
    WAIT_IF_ON,         ///< first parameter is not 0
    WAIT_IF_OFF,        ///< first parameter is 0
    WAIT_IF_ONE_ADDR,   ///< the location has at most one address
    WAIT_IF_MANY_ADDRS, ///< the location has several addresses
    WAIT_IF_WP_SET,     ///< the action reported a data breakpoint to set (result 1 or 3)
    WAIT_IF_WP_CLEARED, ///< the action reported one to clear (result 0)
};

struct SCRIPT_WAIT {
    int ActionId;
    int JobType;
    int Flag;
    WAIT_CONDITIONS Condition;
};

/// Number of rows of the table, and one of them; the rows of one command stand in the order of waiting.
int GetNumScriptWaits();
const SCRIPT_WAIT& GetScriptWait(int Index);

/// Runs the waits of a command through the hook. Params are those of the call, Result its value.
void WaitForScriptCall(int ActionId, const QStringList& Params, I64 Result);
