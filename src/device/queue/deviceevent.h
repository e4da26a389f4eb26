// Entries of the device event ring: everything that travels from any thread to the listeners
// on the GUI thread.
#pragma once
#include "app/services/types.h"

enum DEVICE_EVENT_TYPES : U32 {
    DEV_EVENT_NONE = 0,
    DEV_EVENT_JOB_DONE = 1,            ///< Arg0: DEVICE_JOB*
    DEV_EVENT_EVAL_BP_CONDITION = 2,   ///< Arg0: address
    DEV_EVENT_CONFIG_PARAM = 3,        ///< Arg0: DEV_CONFIG_PARAMS, Arg1: value
    DEV_EVENT_CAPABILITY = 4,          ///< Arg0: DEVICE_CAPABILITIES, Arg1: value
    DEV_EVENT_CONNECTION_LOST = 5,
    DEV_EVENT_ABOUT_TO_DISCONNECT = 6,
    DEV_EVENT_ABOUT_TO_RESUME = 7,     ///< Arg0: RESUME_MODES
    DEV_EVENT_ABOUT_TO_STEP = 8,
    DEV_EVENT_ENDIANESS = 9,           ///< Arg0: data order, Arg1: instruction order
    DEV_EVENT_LOG_MSG = 11,            ///< Arg0: text slot, Arg1: MSG_FLAGS
    DEV_EVENT_STATUS_MSG = 12,         ///< Arg0: text slot
    DEV_EVENT_PROGRESS_MSG = 13,       ///< Arg0: text slot
    DEV_EVENT_PROGRESS_START = 14,     ///< Arg0: minimum, Arg1: maximum
    DEV_EVENT_PROGRESS_END = 15,
    DEV_EVENT_PROGRESS_VALUE = 16,     ///< Arg0: value
};

struct DEVICE_EVENT {
    U32 Type = DEV_EVENT_NONE;
    U64 Arg0 = 0;
    U64 Arg1 = 0;
};

inline constexpr U32 EVENT_SLOTS = 10'000;
inline constexpr U32 EVENT_TEXT_SLOTS = 1'000;
inline constexpr U32 EVENT_TEXT_LEN = 1'000; ///< characters kept of a message
