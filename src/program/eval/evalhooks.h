// What the evaluator asks of the layers above it: the target's data, the selected frame and named values.
// Set once at start; an empty function counts as "not there".
#pragma once
#include "app/services/types.h"
#include "program/symbols/elfsymloc.h"

#include <QString>
#include <functional>

struct EVAL_HOOKS {
    std::function<bool()> IsConnected;
    std::function<U32()> GetFramePC;                           ///< PC of the selected frame; ADDR_NONE without one
    std::function<U32()> GetLocationPC;                        ///< PC whose locations hold in it; as GetFramePC if empty
    std::function<ELF_SYM_LOC(const ELF_SYM_LOC&)> ResolveLoc; ///< evaluated in the selected frame; no parts if it can't be
    /// Bytes of a resolved location, in target order. 0, or another value when they can't be read.
    std::function<int(const ELF_SYM_LOC&, U32 nBytes, U8* paData)> ReadLoc;
    std::function<int(U32 Addr, U32 nBytes, U8* paData)> ReadMem; ///< the same for plain memory
    std::function<bool(const QString&, I64*)> FindConstant;
    std::function<bool(const QString&, I64*)> FindSysVar;
};

void EVAL_SetHooks(const EVAL_HOOKS& Hooks);
const EVAL_HOOKS& EVAL_GetHooks();
