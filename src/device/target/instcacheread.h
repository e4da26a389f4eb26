// Code that is only on the target, brought into the instruction cache. GUI thread.
#pragma once
#include "app/services/types.h"

/// Has the probe's trace cache read the range, where there is one, and schedules a read of it whose bytes are decoded
/// into the instruction cache when they arrive. A further call takes the place of one that is under way. 0, or -1 when
/// the range is empty or runs over the end of the address space, or when the read is refused.
int DEVICE_ReadIntoInstCache(U32 Addr, U32 Size);
