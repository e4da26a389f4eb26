// Speed of decoding: plug-in alone, the instruction cache over a whole program, and look-ups in it.
//   bench_core <plug-in> <program.elf> [core id]
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "program/tables/prog.h"

#include <QElapsedTimer>
#include <QString>
#include <cstdio>
#include <cstdlib>

namespace {

void Print(const char* sName, double Value, const char* sUnit) {
    std::printf("%s: %.2f %s\n", sName, Value, sUnit);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const QString sPlugin = QString::fromLocal8Bit(argv[1]);
    Core::RegisterHooks();
    Core_GetHooks().GetProjectPluginPath = [sPlugin] { return sPlugin; };
    const int CoreId = argc > 3 ? static_cast<int>(std::strtoul(argv[3], nullptr, 0)) : 0x0E0100FF;
    if (Core_Load(CoreId) < 0 || PROG_Load(QString::fromLocal8Bit(argv[2])) < 0) return 1;
    QElapsedTimer Timer;
    Timer.start();
    const int NumBytes = Core::AnalyzeProgram();
    const double Seconds = static_cast<double>(Timer.nsecsElapsed()) * 1e-9;
    U32 NumInsts = 0;
    const U32 Start = PROG_GetEntryPoint() & ~0xFFFFu;
    for (U64 Addr = Start; Addr < Start + 0x400000; Addr += 2) NumInsts += Core::IsInstStart(Addr);
    Print("program decoded ahead", NumBytes / 1024.0 / Seconds, "KB/s");
    Print("instructions into the cache", NumInsts / Seconds * 1e-6, "M/s");
    Timer.start();
    U32 NumText = 0;
    for (U64 Addr = Start; Addr < Start + 0x400000 && NumText < 100000; Addr += 2) {
        char acText[128];
        if (Core::IsInstStart(Addr)) NumText += Core::GetInstText(Addr, acText, sizeof acText) > 0;
    }
    Print("texts", NumText / (static_cast<double>(Timer.nsecsElapsed()) * 1e-9) * 1e-6, "M/s");
    Timer.start();
    CORE_INST_INFO Info;
    U64 Sum = 0;
    for (int i = 0; i < 5'000'000; i++) {
        Core::ReadInst(&Info, PROG_GetEntryPoint() & ~1u);
        Sum += Info.Flags;
    }
    Print("look-ups of a record", 5.0 / (static_cast<double>(Timer.nsecsElapsed()) * 1e-9), "M/s");
    std::printf("check: %llu\n", static_cast<unsigned long long>(Sum & 1));
    PROG_Unload();
    return Core_Unload();
}
