// Work on many independent pieces by a few threads.
//
//   RunParallel(aUnit.size(), [&](size_t i) { aScan[i] = Scan(aUnit[i]); }, pProgress);
#pragma once
#include "program/elf/elf.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

/// More threads than this only wait for the memory.
inline constexpr size_t MAX_PARALLEL = 4;
/// Fewer pieces than this aren't worth a thread.
inline constexpr size_t MIN_PIECES = 8;

/// Runs Job(0) to Job(Count - 1), each once, in no fixed order; returns when all have ended. After a cancel the rest is
/// left out. Job must not throw. Share: thousandths of the whole progress that these pieces make up.
template <typename JOB> void RunParallel(size_t Count, const JOB& Job, ELF_PROGRESS* pProgress = nullptr, U32 Share = 0)
{
    const U32 Start = pProgress ? pProgress->Permille.load() : 0;
    std::atomic<size_t> Next{0};
    auto Work = [&] {
        for (size_t i = Next++; i < Count; i = Next++) {
            if (pProgress && pProgress->Cancel) return;
            Job(i);
            if (pProgress && Share) {
                const U32 Now = Start + static_cast<U32>(Share * (i + 1) / Count);
                U32 Shown = pProgress->Permille;
                while (Shown < Now && !pProgress->Permille.compare_exchange_weak(Shown, Now)) {
                }
            }
        }
    };
    const size_t NumThreads = Count < MIN_PIECES ? 1 : std::min<size_t>({MAX_PARALLEL, Count, std::max(1u, std::thread::hardware_concurrency())});
    std::vector<std::thread> aThread;
    for (size_t i = 1; i < NumThreads; i++) aThread.emplace_back(Work);
    Work();
    for (std::thread& Thread : aThread) Thread.join();
}
