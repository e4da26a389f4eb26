// How fast a program file is opened and asked, beside the debuggers and libraries that do the same. One figure a line.
//
//   bench/make_large.py build/large
//   build/release/bin/bench_open build/large/large.elf build/large/small.elf
//
// Each open runs in a process of its own, so that its peak memory is its own; files are in the page cache.
#include "app/services/log.h"
#include "program/tables/prog.h"

#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include <fcntl.h>
#ifdef BENCH_LIBDW
#include <elfutils/libdw.h>
#endif

namespace {

constexpr int NUM_RUNS = 3;
constexpr size_t NUM_LOOKUPS = 2000000;
constexpr size_t NUM_PEER_LOOKUPS = 20000;
constexpr int MAX_NAMESAKES = 60;

struct USE {
    double Ms = 0;    ///< from start to end
    double CpuMs = 0; ///< of all threads, in and for the process
    double PeakMb = 0;
    bool Good = false;
};

/// Runs a job in a child and measures it whole.
USE Measure(const std::function<int()>& Job)
{
    std::fflush(stdout);
    QElapsedTimer Timer;
    Timer.start();
    const pid_t Pid = fork();
    if (Pid == 0) {
        const int Result = Job();
        std::fflush(stdout);
        _exit(Result);
    }
    int Status = 0;
    rusage Usage{};
    wait4(Pid, &Status, 0, &Usage);
    auto Ms = [](const timeval& Time) { return double(Time.tv_sec) * 1e3 + double(Time.tv_usec) / 1e3; };
    return {double(Timer.nsecsElapsed()) / 1e6, Ms(Usage.ru_utime) + Ms(Usage.ru_stime), double(Usage.ru_maxrss) / 1024, WIFEXITED(Status) && WEXITSTATUS(Status) == 0};
}

/// The best of several runs.
USE Best(const std::function<int()>& Job)
{
    USE Use = Measure(Job);
    for (int i = 1; i < NUM_RUNS; i++) {
        const USE Next = Measure(Job);
        if (Next.Ms < Use.Ms) Use = Next;
    }
    return Use;
}

void Print(const char* sWhat, const USE& Use)
{
    if (!Use.Good) {
        std::printf("%s: failed\n", sWhat);
        return;
    }
    std::printf("%s: %.0f ms\n%s, processor time: %.0f ms\n%s, peak memory: %.0f MB\n", sWhat, Use.Ms, sWhat, Use.CpuMs, sWhat, Use.PeakMb);
}

int Exec(const std::vector<std::string>& asArg)
{
    if (!std::freopen("/dev/null", "w", stdout) || !std::freopen("/dev/null", "w", stderr)) return 1;
    std::vector<char*> apArg;
    for (const std::string& sArg : asArg) apArg.push_back(const_cast<char*>(sArg.c_str()));
    apArg.push_back(nullptr);
    execvp(apArg[0], apArg.data());
    return 1;
}

/// Processor time of this thread: what other programs take from the machine doesn't count.
qint64 CpuNs()
{
    timespec Time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &Time);
    return qint64(Time.tv_sec) * 1000000000 + Time.tv_nsec;
}

#ifdef BENCH_LIBDW
void WalkChildren(Dwarf_Die* pDie, size_t& NumDies)
{
    // Siblings by loop, children by recursion.
    Dwarf_Die Die = *pDie;
    for (;;) {
        NumDies++;
        Dwarf_Die Child;
        if (dwarf_child(&Die, &Child) == 0) WalkChildren(&Child, NumDies);
        if (dwarf_siblingof(&Die, &Die) != 0) return;
    }
}

int WalkLibdw(const char* sPath)
{
    const int File = open(sPath, O_RDONLY);
    Dwarf* pDwarf = File >= 0 ? dwarf_begin(File, DWARF_C_READ) : nullptr;
    if (!pDwarf) return 1;
    size_t NumDies = 0, NumRows = 0;
    Dwarf_CU* pUnit = nullptr;
    Dwarf_Die Root;
    while (dwarf_get_units(pDwarf, pUnit, &pUnit, nullptr, nullptr, &Root, nullptr) == 0) {
        Dwarf_Lines* pLines = nullptr;
        size_t Count = 0;
        if (dwarf_getsrclines(&Root, &pLines, &Count) == 0) NumRows += Count;
        WalkChildren(&Root, NumDies);
    }
    return NumDies > 0 && NumRows > 0 ? 0 : 1;
}

/// Random addresses of the program: the function around each, and its line.
int AskLibdw(const char* sPath)
{
    const int File = open(sPath, O_RDONLY);
    Dwarf* pDwarf = File >= 0 ? dwarf_begin(File, DWARF_C_READ) : nullptr;
    Dwarf_Aranges* pRanges = nullptr;
    size_t NumRanges = 0;
    if (!pDwarf || dwarf_getaranges(pDwarf, &pRanges, &NumRanges) != 0 || NumRanges == 0) return 1;
    std::mt19937 Random(1);
    size_t NumFunctions = 0, NumLines = 0;
    qint64 Start = 0;
    // The first round reads the units that it meets, the second one asks.
    for (int Round = 0; Round < 2; Round++) {
        NumFunctions = NumLines = 0;
        Start = CpuNs();
        for (size_t i = 0; i < NUM_PEER_LOOKUPS; i++) {
            Dwarf_Addr Low = 0;
            Dwarf_Word Size = 0;
            Dwarf_Off Unit = 0;
            Dwarf_Die Cu;
            if (dwarf_getarangeinfo(dwarf_onearange(pRanges, Random() % NumRanges), &Low, &Size, &Unit) != 0 || Size == 0) continue;
            const Dwarf_Addr Addr = (Low + Random() % Size) & ~Dwarf_Addr(1);
            if (!dwarf_addrdie(pDwarf, Addr, &Cu)) continue;
            Dwarf_Die* paScope = nullptr;
            NumFunctions += dwarf_getscopes(&Cu, Addr, &paScope) > 0;
            std::free(paScope);
            NumLines += dwarf_getsrc_die(&Cu, Addr) != nullptr;
        }
    }
    std::printf("libdw, address to function and line: %.4f million/s\n", double(NUM_PEER_LOOKUPS) * 1e3 / double(CpuNs() - Start));
    std::printf("  with a function: %.1f %%, with a line: %.1f %%\n", 100.0 * double(NumFunctions) / double(NUM_PEER_LOOKUPS),
                100.0 * double(NumLines) / double(NUM_PEER_LOOKUPS));
    return 0;
}
#endif

/// Time of an open alone, without the start of the process.
double OpenMs(const char* sPath)
{
    QElapsedTimer Timer;
    Timer.start();
    if (PROG_Load(QString::fromUtf8(sPath)) != 0) std::exit(1);
    return double(Timer.nsecsElapsed()) / 1e6;
}

void PrintRate(const char* sWhat, size_t Count, qint64 Ns)
{
    std::printf("%s: %.2f million/s\n", sWhat, double(Count) * 1e3 / double(Ns));
}

/// Look-ups by random address and by random name.
void MeasureLookups()
{
    std::vector<CAddrRange> aRange;
    std::vector<QString> asName;
    for (const ELF_SYM_HANDLE hFunc : PROG_GetFunctions()) {
        aRange.push_back(PROG_GetSymRange(hFunc));
        asName.push_back(PROG_GetSymName(hFunc, PROG_NAME_PLAIN));
    }
    std::mt19937 Random(1);
    std::vector<U32> aAddr;
    for (size_t i = 0; i < NUM_LOOKUPS; i++) {
        const CAddrRange& Range = aRange[Random() % aRange.size()];
        aAddr.push_back((Range.Start + U32(Random() % Range.Size)) & ~1u);
    }
    // Then as code runs: some instructions in a row at each place, and few places for some time.
    std::vector<U32> aRun;
    for (size_t i = 0; i < NUM_LOOKUPS; i++) aRun.push_back(i % 16 ? aRun.back() + 2 : aAddr[Random() % 64 + i / 4096 * 64 % (aAddr.size() - 64)]);
    // Who asks for many holds the lock meanwhile, but not for so long that another thread notices.
    constexpr size_t AT_ONCE = 256;
    const struct {
        const char* sText;
        const std::vector<U32>& aAddr;
        bool AtOnce;
    } aPass[] = {{"address to function and line, first round", aAddr, false},
                 {"address to function and line, anywhere in the program", aAddr, false},
                 {"address to function and line, anywhere, 256 at a time", aAddr, true},
                 {"address to function and line, as code runs", aRun, false},
                 {"address to function and line, as code runs, 256 at a time", aRun, true}};
    for (const auto& [sText, aAddr, AtOnce] : aPass) {
        const qint64 Start = CpuNs();
        size_t NumLines = 0, NumFunctions = 0;
        for (size_t First = 0; First < aAddr.size(); First += AT_ONCE) {
            std::optional<CProgLock> Lock;
            if (AtOnce) Lock.emplace();
            for (size_t i = First; i < std::min(First + AT_ONCE, aAddr.size()); i++) {
                NumFunctions += PROG_GetFunctionAt(aAddr[i], 0) != 0;
                NumLines += PROG_GetFirstSrcLoc(aAddr[i]).IsValid();
            }
        }
        PrintRate(sText, aAddr.size(), CpuNs() - Start);
        std::printf("  with a function: %.1f %%, with a line: %.1f %%\n", 100.0 * double(NumFunctions) / double(aAddr.size()),
                    100.0 * double(NumLines) / double(aAddr.size()));
    }
    QElapsedTimer Timer;
    Timer.start();
    PROG_FindSymbols(QStringLiteral("main"), true, true, true, true, false);
    std::printf("first name asked for: %.0f ms\n", double(Timer.nsecsElapsed()) / 1e6);
    // Names as a user types them: a name that stands for hundreds of functions gives a list, whose length takes the time.
    std::sort(asName.begin(), asName.end());
    asName.erase(std::unique(asName.begin(), asName.end()), asName.end());
    std::erase_if(asName, [](const QString& sName) { return PROG_FindSymbols(sName, true, false, false, false, false).size() > MAX_NAMESAKES; });
    std::shuffle(asName.begin(), asName.end(), Random);
    std::printf("names asked for: %zu\n", asName.size());
    if (asName.empty()) return;
    size_t Found = 0, Asked = 0;
    const qint64 Start = CpuNs();
    for (size_t Round = 0; Asked < NUM_LOOKUPS / 2; Round++) {
        for (const QString& sName : asName) Found += !PROG_FindSymbols(sName, true, false, false, false, false).isEmpty();
        Asked += asName.size();
    }
    PrintRate("name to function", Asked, CpuNs() - Start);
    std::printf("  found: %.1f %%\n", 100.0 * double(Found) / double(Asked));
    Timer.restart();
    size_t NumTexts = 0;
    for (const ELF_SYM_HANDLE hVar : PROG_GetGlobals()) NumTexts += !PROG_GetSymTypeText(hVar).isEmpty();
    std::printf("type texts of %zu globals: %.0f ms\n", NumTexts, double(Timer.nsecsElapsed()) / 1e6);
}

double PeakMb()
{
    rusage Usage{};
    getrusage(RUSAGE_SELF, &Usage);
    return double(Usage.ru_maxrss) / 1024;
}

/// Memory that belongs to this process alone at the moment; the pages of the program file aren't counted.
double HeldMb()
{
    std::FILE* pFile = std::fopen("/proc/self/statm", "r");
    long Size = 0, Resident = 0, Shared = 0;
    const bool Good = pFile && std::fscanf(pFile, "%ld %ld %ld", &Size, &Resident, &Shared) == 3;
    if (pFile) std::fclose(pFile);
    return Good ? double(Resident - Shared) * double(sysconf(_SC_PAGESIZE)) / 1048576 : -1;
}

/// Has the file read from the disk again; pages that another process maps stay.
void DropFromPageCache(const char* sPath)
{
    const int File = open(sPath, O_RDONLY);
    if (File < 0) return;
    fsync(File);
    posix_fadvise(File, 0, 0, POSIX_FADV_DONTNEED);
    close(File);
}

/// A program as small as most firmware, each time in a process of its own.
void MeasureSmall(const char* sPath)
{
    DropFromPageCache(sPath);
    for (const char* sWhat : {"file not in the page cache", "file in the page cache"}) {
        Measure([&] {
            std::printf("small program, first open, %s: %.1f ms\n", sWhat, OpenMs(sPath));
            std::printf("small program, opened again: %.1f ms\n", OpenMs(sPath));
            return 0;
        });
    }
}

int OpenAndAsk(const char* sPath)
{
    const double HeldBefore = HeldMb();
    // The steps of the load tell their times.
    SetLogStdoutSink([](const QString& sLine) { std::printf("  %s\n", qPrintable(sLine.trimmed())); });
    std::printf("open to ready: %.0f ms\n", OpenMs(sPath));
    SetLogStdoutSink([](const QString&) {});
    std::printf("open to ready, peak memory: %.0f MB\n", PeakMb());
    std::printf("held after the open: %.0f MB\n", HeldMb() - HeldBefore);
    std::printf("functions %lld, globals %lld, types %lld, files %lld\n", (long long)PROG_GetFunctions().size(), (long long)PROG_GetGlobals().size(),
                (long long)PROG_GetTypes().size(), (long long)PROG_GetFiles().size());
    MeasureLookups();
    std::printf("held after the look-ups: %.0f MB\n", HeldMb() - HeldBefore);
    QElapsedTimer Timer;
    Timer.start();
    PROG_Unload();
    std::printf("unload: %.0f ms\n", double(Timer.nsecsElapsed()) / 1e6);
    return 0;
}

} // namespace

int main(int NumArgs, char** asArg)
{
    if (NumArgs < 2) {
        std::fprintf(stderr, "usage: bench_open large.elf [small.elf] [-own | -openonly]\n");
        return 1;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::string sLarge = asArg[1];
    if (std::strcmp(asArg[NumArgs - 1], "-openonly") == 0) return OpenMs(sLarge.c_str()) > 0 ? 0 : 1;
    const bool OwnOnly = std::strcmp(asArg[NumArgs - 1], "-own") == 0;
    Print("open in a process", Best([&] { return OpenMs(sLarge.c_str()) > 0 ? 0 : 1; }));
    Measure([&] { return OpenAndAsk(sLarge.c_str()); });
    if (NumArgs > 2 && asArg[2][0] != '-') MeasureSmall(asArg[2]);
    if (OwnOnly) return 0;
#ifdef BENCH_LIBDW
    Print("libdw walk of entries and lines", Best([&] { return WalkLibdw(sLarge.c_str()); }));
    Measure([&] { return AskLibdw(sLarge.c_str()); });
#endif
    Print("gdb -readnow", Measure([&] { return Exec({"gdb-multiarch", "-nx", "-batch", "-readnow", sLarge}); }));
    Print("gdb start and info functions", Measure([&] { return Exec({"gdb-multiarch", "-nx", "-batch", sLarge, "-ex", "info functions"}); }));
    return 0;
}
