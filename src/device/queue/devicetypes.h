// Enumerations and records of target access that windows, controller and device share.
// Plain C++, no Qt: any layer may include it.
#pragma once
#include "app/services/types.h"

/// What a connect does to the target.
enum CONNECT_MODES : U32 {
    CM_DOWNLOAD_RESET = 0, ///< reset, download the program, go to the program's first operation
    CM_ATTACH = 1,         ///< leave the target as it is
    CM_ATTACH_HALT = 2,    ///< attach and halt
    CM_CONNECT_ONLY = 3,   ///< open and connect for a script; the controller finishes by itself
};

/// What a reset leads to. 3 to 5 are made by the controller and the device, never chosen by a user.
enum RESET_MODES : U32 {
    RM_RESET_HALT = 0,
    RM_BREAK_AT_SYMBOL = 1,
    RM_RESET_AND_RUN = 2,
    RM_RESET_BEFORE_DOWNLOAD = 3, ///< the reset that precedes the download of CM_DOWNLOAD_RESET
    RM_RESET_HARDWARE = 4,        ///< hardware reset alone, for a script
    RM_EXEC_STATE_SET = 5,        ///< what OnDeviceResetDone bears after BT_SET_TARGET_EXEC_STATE
};

enum RESUME_MODES : U32 {
    RESUME_NORMAL = 0,
    RESUME_RUN_TO = 1, ///< the resume is part of a step or a run-to
};

enum HALT_REASONS : U32 {
    HR_HALT = 0, ///< any halt not named below
    HR_PC_WRITTEN = 1,
    HR_BREAKPOINT = 2,
    HR_RUN_TO = 3,
};

/// The target as empty windows tell it.
enum DEBUG_STATES : U32 { DEBUG_STATE_RUNNING = 1, DEBUG_STATE_HALTED = 2, DEBUG_STATE_NO_CONNECTION = 3 };

enum DOWNLOAD_MODES : U32 { DM_PROGRAM = 0, DM_FILE = 1, DM_MEMORY = 2 };

/// Order of the instructions' or data's bytes in target memory.
enum ENDIAN : U32 { ENDIAN_LITTLE = 0, ENDIAN_BIG = 1 };

/// Ids of the device configuration; 0 to 16 are integers, from 18 on strings.
enum DEV_CONFIG_PARAMS : U32 {
    DCP_DEVICE_INDEX = 0,     ///< index in the library's device table, -1 when none is selected
    DCP_CORE_INDEX = 1,
    DCP_USB_SERIAL_NO = 2,
    DCP_USE_SERIAL_NO = 3,
    DCP_CONNECT_MODE = 4,     ///< host interface, 1 USB, 2 IP
    DCP_TARGET_IF = 5,        ///< 0 JTAG, 1 SWD, 3 FINE, 7 cJTAG
    DCP_SPEED = 6,            ///< Hz; 0 auto, 65535 adaptive
    DCP_USE_MAX_SPEED = 7,
    DCP_USE_ADAPTIVE = 8,
    DCP_ENDIAN = 9,
    DCP_DR_PRE = 10,
    DCP_IR_PRE = 11,
    DCP_MULTIPLE_TARGETS = 12,
    DCP_RESET_BREAK_ADDR = 14, ///< address of the break symbol, -1 when unknown
    DCP_MEMLANE_ADDR = 15,     ///< address of the control block, -1 to search for it
    DCP_MEMLANE_RANGE_CNT = 16,
    DCP_NUM_INT_PARAMS = 17,
    DCP_FIRST_STRING = 18,
    DCP_HOST_NAME = 18,   ///< 255 characters
    DCP_DEVICE_NAME = 19, ///< 255 characters
    DCP_SCRIPT_FILE = 20, ///< 2,047 characters
    DCP_LOG_FILE = 21,    ///< 2,047 characters
    DCP_NUM_PARAMS = 22,
};

/// Capability flags; all read 1 while no probe is connected.
enum DEVICE_CAPABILITIES : U32 {
    CAP_BACKGROUND_MEM_ACCESS = 0, ///< 0 none, 1 yes, 2 by stop mode emulation
    CAP_SWO = 1,
    CAP_STREAMING_TRACE = 2,
    CAP_TRACE_PINS = 3,
    CAP_TRACE_BUFFER = 4,
    CAP_TRACE_SWO = 5,
    CAP_COUNT = 6,
};

/// Slots of the error texts that windows read.
enum DEVICE_ERR_MSGS : U32 { DEV_ERR_SWO = 0, DEV_ERR_INST_TRACE = 1, DEV_ERR_TRACE_STATS = 2, DEV_ERR_COUNT = 3 };

enum BP_STATES : U32 {
    BP_STATE_OFF = 0,
    BP_STATE_ON = 1,
    BP_STATE_ON_HIDDEN = 2, ///< placed by a step or a run-to
    BP_STATE_DISABLED = 3,
    BP_STATE_MIXED = 4,   ///< a source breakpoint whose derived breakpoints differ
    BP_STATE_UNKNOWN = 5, ///< a data breakpoint whose expression could not be resolved
};

enum BP_TYPES : U32 {
    BP_TYPE_ANY = 0,
    BP_TYPE_HARD = 1,
    BP_TYPE_SOFT = 2,
    BP_TYPE_FLASH = 3,
    BP_TYPE_RAM = 4,
    BP_TYPE_PENDING = 5,
    BP_TYPE_MIXED = 6,
};

enum BP_ACCESS_TYPES : U32 { AT_READ_ONLY = 0, AT_WRITE_ONLY = 1, AT_READ_WRITE = 2, AT_NO_ACCESS = 3 };

/// Access sizes of data breakpoints and access widths of memory: the value is the size in bytes.
enum BP_ACCESS_SIZES : U32 { AW_ANY = 0, AW_BYTE = 1, AW_HALF_WORD = 2, AW_WORD = 4 };

enum TP_OPS : U8 { TP_OP_START = 0, TP_OP_STOP = 1 };

/// One byte per data byte or register: how good the value beside it is.
enum DATA_STATUS : U8 { DATA_VALID = 0, DATA_INVALID = 1, DATA_PENDING = 2, DATA_UNREAD = 3 };

/// Access flags of memory operations.
enum MEM_ACCESS_FLAGS : U32 {
    MEM_FLAG_BYPASS_CACHE = 4,   ///< data manager only
    MEM_FLAG_ITEM_WISE = 8,      ///< on a short chunk go on item by item
    MEM_FLAG_HALT_FOR_IO = 16,   ///< halt a running target for the access, resume it afterwards
    MEM_FLAG_DOWNLOAD = 32,      ///< bracket the write in a download, for writes that may land in flash
    MEM_FLAG_OPEN_DOWNLOAD = 64, ///< WriteMemMultiple only: open a download that BT_END_DOWNLOAD closes
};

/// One instruction breakpoint as the device holds it. All zero means none.
struct BP {
    U32 Addr = 0;
    U64 HitCount = 0;
    U8 HasCondition = 0; ///< a hit must be reported for evaluation
    U8 Valid = 0;        ///< 1 in every stored record
    U32 State = BP_STATE_OFF;
    U32 Type = BP_TYPE_ANY;     ///< implementation asked for
    U32 ImplType = BP_TYPE_ANY; ///< implementation in force
};

/// One data breakpoint.
struct WP {
    U32 Addr = 0;
    U32 AddrMask = 0; ///< address bits to ignore
    U32 MatchValue = 0;
    U64 ValueMask = ~U64(0); ///< value bits to ignore; all ones means any value
    U32 ErrorCode = 0;       ///< negative answer of the library at the last set, 0 when none
    U8 Valid = 0;
    U32 State = BP_STATE_UNKNOWN;
    U32 AccessType = AT_WRITE_ONLY;
    U32 AccessSize = AW_ANY;
    char Expression[256] = {}; ///< as the user wrote it; empty for a bare address
};

/// One tracepoint. The head has the form of the library's trace event.
struct TP {
    U32 SizeOfStruct = 40;
    U8 Type = 0;
    U8 Op = TP_OP_START;
    U64 Addr = 0;
    U8 State = BP_STATE_OFF;
    U8 Valid = 0;
    U8 HasSourceInfo = 0; ///< shown as a source location where the address has one
};

/// Records that each of the three device lists holds.
inline constexpr U32 BP_LIST_SIZE = 256;
