// What the evaluator asks of the layers above it: the target's data, the selected frame and named values.
// Set once at start; an empty function counts as "not there".
#pragma once
#include "app/services/types.h"
#include "program/symbols/locpieces.h"

#include <QString>
#include <functional>

struct EVAL_HOOKS {
    std::function<bool()> IsConnected;
    std::function<U32()> GetFramePC;                           ///< PC of the selected frame; ADDR_NONE without one
    std::function<U32()> GetLocationPC;                        ///< PC whose locations hold in it; as GetFramePC if empty
    std::function<ELF_SYM_HANDLE()> GetFrameFunction;          ///< of the selected frame, maybe an expansion; the innermost at GetFramePC if empty
    std::function<ELF_SYM_LOC(const ELF_SYM_LOC&)> ResolveLoc; ///< evaluated in the selected frame; no parts if it can't be
    /// Where the stretches of a symbol's value are in the selected frame; empty if its location tells all.
    std::function<ELF_SYM_PIECES(ELF_SYM_HANDLE)> ResolvePieces;
    /// The number at a resolved location, its lowest byte first on any target. 0, or another value when they can't be read.
    std::function<int(const ELF_SYM_LOC&, U32 nBytes, U8* paData)> ReadLoc;
    std::function<int(U32 Addr, U32 nBytes, U8* paData)> ReadMem; ///< bytes of memory as they lie there
    std::function<int(const ELF_SYM_LOC&, U32 nBytes, const U8* paData)> WriteLoc; ///< 0, or -1 when it can't be written
    std::function<bool(const QString&, I64*)> FindConstant;
    std::function<bool(const QString&, I64*)> FindSysVar;
};

void EVAL_SetHooks(const EVAL_HOOKS& Hooks);
const EVAL_HOOKS& EVAL_GetHooks();

/// PC whose locations and blocks hold in the selected frame; ADDR_NONE without one.
U32 EVAL_GetLocationPC();
/// Function of the selected frame, which may be an expansion; 0 without one.
ELF_SYM_HANDLE EVAL_GetFrameFunction();
/// Variables that the function of the selected frame sees where it stands, inner blocks first, parameters last.
ELF_SYM_LIST EVAL_GetFrameLocals();
