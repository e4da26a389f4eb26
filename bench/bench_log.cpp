// Speed of logging while the window is alive: what a message costs its writer, what the console shows of a
// flood, and how long the GUI's event loop stands still meanwhile. A peer in the same run writes the same
// lines by fprintf under a mutex.
//   bench_log [seconds a case] [lines in the console before]
#include "app/console/consolewindow.h"
#include "app/services/log.h"
#include "app/services/logfile.h"
#include "app/services/mainthread.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using CLOCK = std::chrono::steady_clock;
constexpr int PACED_RATE = 100'000; ///< messages a second of all writers together

struct CASE {
    const char* Name;
    int NumWriters;
    int Rate; ///< messages a second of all writers, 0: as fast as they can
    std::function<void(const QString&)> Write;
};

struct WRITER {
    std::vector<U32> aNs;
    long NumMessages = 0;
};

/// Writes until the end, in bursts of a millisecond when a rate is asked for.
void RunWriter(const CASE& Case, const std::atomic<bool>& Stop, WRITER* pWriter)
{
    const QString sText = QStringLiteral("Read of register R0 returned 0x20001234 after 12 us");
    const double NsPerMessage = Case.Rate ? 1e9 * Case.NumWriters / Case.Rate : 0;
    const CLOCK::time_point Start = CLOCK::now();
    while (!Stop.load(std::memory_order_relaxed)) {
        const CLOCK::time_point t0 = CLOCK::now();
        if (Case.Rate && double((t0 - Start).count()) < NsPerMessage * double(pWriter->NumMessages)) {
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            continue;
        }
        Case.Write(sText);
        pWriter->aNs.push_back(U32(std::min<I64>((CLOCK::now() - t0).count(), 0xFFFFFFFF)));
        pWriter->NumMessages++;
    }
}

/// Time that this thread has computed, which other work of the machine doesn't lengthen.
double GetThreadMs()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) * 1e-6;
}

void Print(const char* sCase, const char* sName, double Value, const char* sUnit)
{
    std::printf("%s, %s: %.1f %s\n", sCase, sName, Value, sUnit);
    std::fflush(stdout);
}

void RunCase(const CASE& Case, double Seconds)
{
    CConsoleWindow& Console = CConsoleWindow::Get();
    std::atomic<long> NumShown{0};
    Console.SetTranscriptSink([&](const QString&, bool) { NumShown++; });
    std::vector<WRITER> aWriter(size_t(Case.NumWriters));
    std::atomic<bool> Stop{false};
    std::vector<std::thread> Threads;
    for (WRITER& Writer : aWriter) {
        Writer.aNs.reserve(size_t(Seconds * 8e6) / aWriter.size());
        Threads.emplace_back(RunWriter, std::cref(Case), std::cref(Stop), &Writer);
    }
    // A timer of a millisecond is late by as long as the event loop was busy.
    double MaxGapMs = 0, MaxWorkMs = 0, WorkMs = GetThreadMs();
    QElapsedTimer Tick;
    QTimer Timer;
    Timer.setTimerType(Qt::PreciseTimer);
    Timer.setInterval(1);
    QObject::connect(&Timer, &QTimer::timeout, [&] {
        MaxGapMs = std::max(MaxGapMs, double(Tick.nsecsElapsed()) * 1e-6);
        const double NowMs = GetThreadMs();
        MaxWorkMs = std::max(MaxWorkMs, NowMs - WorkMs);
        WorkMs = NowMs;
        Tick.start();
    });
    QTimer::singleShot(int(Seconds * 1000), qApp, &QCoreApplication::quit);
    Tick.start();
    Timer.start();
    QElapsedTimer Total;
    Total.start();
    QApplication::exec();
    const double Elapsed = double(Total.nsecsElapsed()) * 1e-9;
    Stop = true;
    for (std::thread& t : Threads) t.join();
    Console.SetTranscriptSink({});

    std::vector<U32> aNs;
    for (const WRITER& Writer : aWriter) aNs.insert(aNs.end(), Writer.aNs.begin(), Writer.aNs.end());
    if (aNs.empty()) return;
    std::sort(aNs.begin(), aNs.end());
    double Sum = 0;
    for (const U32 ns : aNs) Sum += ns;
    Print(Case.Name, "written", double(aNs.size()) / Elapsed, "messages/s");
    Print(Case.Name, "writer, mean", Sum / double(aNs.size()), "ns/message");
    Print(Case.Name, "writer, 99.9 %", aNs[aNs.size() * 999 / 1000], "ns/message");
    Print(Case.Name, "shown in the console", double(NumShown) / Elapsed, "messages/s");
    Print(Case.Name, "largest gap of the event loop", MaxGapMs, "ms");
    Print(Case.Name, "of it computing, at most", MaxWorkMs, "ms");
}

} // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication App(argc, argv);
    const double Seconds = argc > 1 ? std::atof(argv[1]) : 3;
    const int NumLines = argc > 2 ? std::atoi(argv[2]) : 0;
    SetMainThread();
    InitSysVars();
    InitColorsAndFonts(QApplication::font());
    SetVar(PREF_SHOW_TIMESTAMPS_CONSOLE, 1, false);
    QTemporaryDir Dir;
    CConsoleWindow& Console = CConsoleWindow::Get();
    Console.resize(1000, 300);
    Console.show();
    for (int i = 0; i < NumLines; i++) {
        Console.Print(QStringLiteral("line %1 of what was there before").arg(i));
        if (i % 900 == 899) Console.Flush();
    }
    Console.Flush();
    QApplication::processEvents();

    if (!OpenLogFile(LOG_SLOT_APP, Dir.filePath("app.log"))) return 1;
    std::mutex PeerMutex;
    FILE* pPeer = std::fopen(qPrintable(Dir.filePath("peer.log")), "w");
    if (!pPeer) return 1;
    const auto WriteLog = [](const QString& s) { LogInfo(s); };
    const auto WriteFileOnly = [](const QString& s) { LogDebug(s); };
    const auto WritePeer = [&](const QString& s) {
        const std::lock_guard Lock(PeerMutex);
        std::fprintf(pPeer, " i  %s\n", s.toUtf8().constData());
    };
    const CASE aCase[] = {
        {"idle", 1, 10, WriteFileOnly},
        {"LogInfo, 1 thread at 100,000/s", 1, PACED_RATE, WriteLog},
        {"LogInfo, 4 threads at 100,000/s", 4, PACED_RATE, WriteLog},
        {"LogInfo, 1 thread at full speed", 1, 0, WriteLog},
        {"LogDebug (file only), 1 thread at full speed", 1, 0, WriteFileOnly},
        {"fprintf and a mutex, 1 thread at 100,000/s", 1, PACED_RATE, WritePeer},
        {"fprintf and a mutex, 4 threads at 100,000/s", 4, PACED_RATE, WritePeer},
        {"fprintf and a mutex, 1 thread at full speed", 1, 0, WritePeer},
    };
    for (const CASE& Case : aCase) RunCase(Case, Seconds);
    std::fclose(pPeer);
    ShutdownLog();
    CloseLogFile(LOG_SLOT_APP);
    delete &Console;
    return 0;
}
