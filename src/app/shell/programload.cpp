// Opening of the session's program file: the long parts run beside the main thread.
#include "app/shell/programload.h"

#include "app/services/log.h"
#include "app/services/mainthread.h"
#include "app/shell/programdata.h"
#include "core/cache/core.h"
#include "core/host/corehost.h"
#include "device/queue/device.h"
#include "program/tables/prog.h"
#include "views/framework/statusbar.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace {

/// A program that is read in this time needs no progress, and nothing happens meanwhile.
constexpr std::chrono::milliseconds QUIET_TIME(80);
constexpr std::chrono::milliseconds POLL_TIME(10);
constexpr std::chrono::milliseconds SLICE_TIME(15); ///< decoding between two looks at the events
constexpr U64 PIECE_BYTES = 0x1000;
constexpr int READ_SHARE = 1000; ///< of the progress: reading the file and building its tables
constexpr int DECODE_SHARE = 200;

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
        if (!Status.IsProgressRunning()) Status.StartProgress(0, READ_SHARE + DECODE_SHARE);
        do {
            Status.SetProgressValue(static_cast<int>(Load.Progress().Permille));
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            if (Status.WasCanceled()) Load.Progress().Cancel = true;
        } while (!Wait(POLL_TIME));
    }
    Thread.join();
}

/// Decodes the code that is bound to the core, in slices between which the application stays alive. The plug-in is only
/// asked on the main thread and under the device mutex: another part of the session may exchange it in between. False
/// after a cancel.
bool DecodeInSlices(ELF_HANDLE hFile)
{
    CStatusBar& Status = CStatusBar::Get();
    std::optional<Core::CProgramAnalysis> Analysis;
    QElapsedTimer Total;
    Total.start();
    for (bool HasMore = true; HasMore;) {
        {
            const std::lock_guard Lock(CDevice::Get().GetDeviceMutex());
            const CElfPrivate Private(hFile);
            QElapsedTimer Slice;
            Slice.start();
            if (!Analysis) Analysis.emplace();
            do {
                HasMore = Analysis->Step(PIECE_BYTES);
            } while (HasMore && Slice.elapsed() < SLICE_TIME.count());
        }
        if (!HasMore || (Total.elapsed() < QUIET_TIME.count() && !Status.IsProgressRunning())) continue;
        if (!Status.IsProgressRunning()) Status.StartProgress(0, READ_SHARE + DECODE_SHARE);
        Status.SetProgressValue(READ_SHARE + static_cast<int>(Analysis->GetPermille()) * DECODE_SHARE / 1000);
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        if (Status.WasCanceled()) return false;
    }
    return true;
}

/// A core plug-in that was loaded or exchanged while the program was being read has not met it. True if it is bound now
/// and has to be decoded.
bool BindAgain()
{
    if (!Core_IsLoaded() || Core::GetBoundFile() == PROG_GetFileHandle()) return false;
    Core::ClearCache();
    return Core::Bind(PROG_GetFileHandle()) == 0;
}

/// Decodes what is bound under a progress of its own. Between the slices the program may be closed or exchanged, which ends
/// the decoding: its file must not be held as the thread's own here.
void DecodeBound()
{
    const bool HadProgress = CStatusBar::Get().IsProgressRunning();
    DecodeInSlices(nullptr);
    if (!HadProgress) CStatusBar::Get().EndProgress();
}

} // namespace

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
        Core::ClearCache();
    }
    RunBeside(Load, [&Load] { Load.ReadFile(); });
    bool Good;
    {
        const std::lock_guard Lock(Dev.GetDeviceMutex());
        Good = Load.BindCore();
    }
    if (Good) RunBeside(Load, [&Load] { Load.BuildTables(); });
    if (Load.GetFile() && !Load.Progress().Cancel && !DecodeInSlices(Load.GetFile())) Load.Progress().Cancel = true;
    if (!HadProgress) CStatusBar::Get().EndProgress();
    int Result;
    bool HasToDecode = false;
    {
        const std::lock_guard Lock(Dev.GetDeviceMutex());
        Result = Load.Publish();
        if (Result == 0) HasToDecode = BindAgain();
        else Core::ClearCache();
    }
    if (HasToDecode) DecodeBound();
    if (Load.Progress().Cancel) LogWarning(QStringLiteral("opening of %1 was canceled").arg(sPath));
    s_IsLoading = false;
    return Result;
}

void DecodeProgram()
{
    AssertMainThread("DecodeProgram");
    {
        const std::lock_guard Lock(CDevice::Get().GetDeviceMutex());
        Core::ClearCache();
        BindOtherProgramData();
        // A load that waits for its thread has bound a file that nobody else knows yet; its own slices come later.
        if (s_IsLoading) {
            Core::AnalyzeProgram();
            return;
        }
    }
    DecodeBound();
}
