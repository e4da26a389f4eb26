#include "app/services/mainthread.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {
std::atomic<std::thread::id> MainId{};

[[noreturn]] void Fail(const char* sWhere, const char* sThread)
{
    std::fprintf(stderr, "%s: must run on %s thread\n", sWhere, sThread);
    std::abort();
}
} // namespace

void SetMainThread()
{
    MainId.store(std::this_thread::get_id());
}

bool IsMainThread()
{
    const std::thread::id Id = MainId.load(std::memory_order_relaxed);
    return Id == std::thread::id() || Id == std::this_thread::get_id();
}

void AssertMainThread(const char* sWhere)
{
    if (!IsMainThread()) Fail(sWhere, "the main");
}

void AssertWorkerThread(const char* sWhere)
{
    const std::thread::id Id = MainId.load(std::memory_order_relaxed);
    if (Id == std::this_thread::get_id()) Fail(sWhere, "a worker");
}
