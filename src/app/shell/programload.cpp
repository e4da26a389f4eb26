// Opening of the session's program file: the long parts run beside the main thread.
#include "app/shell/programload.h"

#include "app/services/log.h"
#include "app/services/mainthread.h"
#include "core/cache/core.h"
#include "device/queue/device.h"
#include "program/tables/prog.h"
#include "views/framework/statusbar.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace {

/// A program that is read in this time needs no progress, and nothing happens meanwhile.
constexpr std::chrono::milliseconds QUIET_TIME(80);
constexpr std::chrono::milliseconds POLL_TIME(10);
constexpr int PROGRESS_MAX = 1000;

bool s_IsLoading = false;

/// Runs a job on a thread and keeps the application alive until it has ended.
void RunBeside(CProgLoad& Load, const std::function<void()>& Job)
{
    std::mutex Mutex;
    std::condition_variable Ended;
    bool IsDone = false;
    std::thread Thread([&] {
        Job();
        const std::lock_guard Lock(Mutex);
        IsDone = true;
        Ended.notify_one();
    });
    auto Wait = [&](std::chrono::milliseconds Time) {
        std::unique_lock Lock(Mutex);
        return Ended.wait_for(Lock, Time, [&] { return IsDone; });
    };
    CStatusBar& Status = CStatusBar::Get();
    if (!Wait(QUIET_TIME)) {
        if (!Status.IsProgressRunning()) Status.StartProgress(0, PROGRESS_MAX);
        do {
            Status.SetProgressValue(static_cast<int>(Load.Progress().Permille));
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            if (Status.WasCanceled()) Load.Progress().Cancel = true;
        } while (!Wait(POLL_TIME));
    }
    Thread.join();
}

} // namespace

bool IsProgramLoading() { return s_IsLoading; }

int LoadProgramFile(const QString& sPath)
{
    AssertMainThread("LoadProgramFile");
    if (s_IsLoading) {
        LogWarning(QStringLiteral("another program file is being opened"));
        return -1;
    }
    s_IsLoading = true;
    CDevice& Dev = CDevice::Get();
    const bool HadProgress = CStatusBar::Get().IsProgressRunning();
    CProgLoad Load(sPath);
    {
        const std::lock_guard Lock(Dev.GetDeviceMutex());
        PROG_Unload();
    }
    RunBeside(Load, [&Load] { Load.ReadFile(); });
    bool Good;
    {
        const std::lock_guard Lock(Dev.GetDeviceMutex());
        Good = Load.BindCore();
    }
    if (Good) RunBeside(Load, [&Load] { Load.BuildTables(); });
    if (!HadProgress) CStatusBar::Get().EndProgress();
    int Result;
    {
        const std::lock_guard Lock(Dev.GetDeviceMutex());
        Result = Load.Publish();
        if (Result == 0) {
            Core::ClearCache();
            Core::AnalyzeProgram();
        }
    }
    if (Load.Progress().Cancel) LogWarning(QStringLiteral("opening of %1 was canceled").arg(sPath));
    s_IsLoading = false;
    return Result;
}
