// One frame of a call stack; a plain value. Its registers lie in the register sets of the stack.
#pragma once
#include "app/services/types.h"
#include "program/elf/elf.h"
#include "program/symbols/elfsymloc.h"

/// Status of a value that is worked out.
enum FRAME_VALUE_STATUS : U8 {
    FRAME_VALUE_VALID = 0,
    FRAME_VALUE_FAILED = 1,
    FRAME_VALUE_UNKNOWN = 3,
};

class CCallFrame {
public:
    int StackIdx = -1;       ///< 0 visible, 1 work; -1 the empty frame
    int Index = -1;          ///< 0 is the innermost; -1 the empty frame
    bool IsInlined = false;  ///< an expansion of an inlined function
    bool IsPluginFrame = false; ///< the core plug-in supplied the rules
    U32 FrameSize = 0;       ///< bytes from SP to CFA; 0 if that makes no sense or is above 100,000
    U64 RulePC = ~U64(0);    ///< PC whose rules unwind the frame. The caller of an expansion shows the place in front of
                             ///< it, but the stack is as it is at the PC inside of it
    U32 NumRules = 0;        ///< rules in the register set
    U32 ReturnAddrColumn = 0;///< rule that gives the return address
    U64 ReturnAddr = ~U64(0);///< -1 until known
    U64 BasePointer = ~U64(0);
    U64 CFA = ~U64(0);
    U8 ReturnAddrStatus = FRAME_VALUE_UNKNOWN;
    U8 BasePointerStatus = FRAME_VALUE_UNKNOWN;
    U8 CFAStatus = FRAME_VALUE_UNKNOWN;
    ELF_SYM_LOC FrameBase{}; ///< the function's frame base, evaluated in this frame
    ELF_SYM_HANDLE hFunc = 0;///< innermost function at the PC, 0 if none

    bool IsEmpty() const { return Index < 0; }
};
