// What the unwinder reaches in the device layer, the data manager and the preferences. Set once at
// start; an entry that stays empty fails or is passed over, as told beside it.
#pragma once
#include "app/services/types.h"
#include "program/symbols/elfsymloc.h"

#include <functional>

struct UNWIND_HOOKS {
    std::function<bool()> IsTargetHalted;   ///< default no
    /// Asks the data manager for the value at a location, at most 8 bytes. The answer goes to
    /// CCallStack::OnReadLocDone, which may be called before this returns. 0, or -1 if no answer will come.
    std::function<int(const ELF_SYM_LOC& Loc, U32 NumBytes)> ReadLoc;
    /// Reads memory at once, at most 8 bytes, in the target's order; 0 or -1.
    std::function<int(U32 Addr, U32 NumBytes, void* pData)> ReadMem;
    /// Schedules one job of location reads, whose answer goes to OnReadLocsDone or OnReadLocsFailed with the tag.
    /// 0 or -1.
    std::function<int(U32 Count, const ELF_SYM_LOC* paLoc, U32 Tag)> ReadLocs;
    /// The return address of the innermost frame, for stepping.
    std::function<void(U64 ReturnAddr)> SetTopReturnAddr;
    std::function<U32()> GetDepthLimit;     ///< most frames of a stack; default 50, at least 1 is taken
};

/// Replaces the hooks; main thread, before the core plug-in is loaded.
void UNWIND_SetHooks(const UNWIND_HOOKS& Hooks);
const UNWIND_HOOKS& UNWIND_GetHooks();
