// The walk over a long memory access in chunks, with the progress that reads and writes show alike.
#pragma once
#include "device/queue/device.h"

#include <algorithm>

/// Calls Access(position, size) for each chunk of nBytes and adds up the bytes that it answers. A ChunkSize of 0 or
/// above nBytes is one chunk. sText stands in the status bar while a long access runs. A user who cancels it ends it
/// between two chunks.
template <class ACCESS>
U32 AccessMemInChunks(CDevice& Dev, U32 nBytes, U32 ChunkSize, const char* sText, ACCESS Access)
{
    constexpr U32 PROGRESS_MIN_BYTES = 4'000;
    const U32 Chunk = ChunkSize > 0 && ChunkSize <= nBytes ? ChunkSize : nBytes;
    const U32 NumChunks = (nBytes - 1) / Chunk + 1;
    const bool ShowsProgress = nBytes > PROGRESS_MIN_BYTES;
    if (ShowsProgress) {
        Dev.SetProgressMsg(sText);
        if (NumChunks > 1) Dev.StartProgress(0, int(NumChunks - 1));
    }
    U32 Total = 0;
    for (U32 i = 0; i < NumChunks && !Dev.State.TransferCanceled; i++) {
        const U32 Pos = i * Chunk;
        Total += Access(Pos, std::min(Chunk, nBytes - Pos));
        if (ShowsProgress && NumChunks > 1) Dev.SetProgressValue(int(i));
    }
    if (ShowsProgress) Dev.EndProgress();
    return Total;
}
