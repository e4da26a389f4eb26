// Speed of the simulated Cortex-M4F on a compiled integer program, in million instructions a
// second, beside an emulator that translates and counts instructions (-icount).
#include "tests/sim_cpu/lockstep.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

using namespace Sim;

namespace {

// Seconds until the program exits by semihosting.
double RunOurs(const QByteArray& Image, bool Traced, uint64_t* pNumInstructions)
{
    TestMachine Machine(kBoardM4F);
    Machine.LoadRom(Image);
    std::vector<TraceRecord> Records(1 << 20);
    TraceRing Ring{Records.data(), uint32_t(Records.size()), 0};
    if (Traced) Machine.m_Cpu.SetTraceRing(&Ring);
    QElapsedTimer Timer;
    Timer.start();
    // In slices, as a probe runs it.
    while (Machine.m_Cpu.Run(Machine.m_Cpu.GetCycles() + 1000000).Reason == StopReason::Budget) {
    }
    *pNumInstructions = Machine.m_Cpu.GetInstructions();
    return double(Timer.nsecsElapsed()) * 1e-9;
}

double RunEmulator(const QString& sImageFile)
{
    QProcess Process;
    QElapsedTimer Timer;
    Timer.start();
    Process.start("qemu-system-arm", {"-M", kBoardM4F.sMachine, "-display", "none", "-serial", "none",
                                      "-monitor", "none", "-semihosting", "-icount", "shift=0,sleep=off",
                                      "-device", "loader,file=" + sImageFile + ",addr=0,force-raw=on"});
    if (!Process.waitForFinished(300000)) return 0;
    return double(Timer.nsecsElapsed()) * 1e-9;
}

} // namespace

int main()
{
    QTemporaryDir Dir;
    QByteArray aImages[2];
    double EmulatorSeconds[2];
    for (int i = 0; i < 2; ++i) { // one round tells the cost of starting
        QString sError;
        aImages[i] = BuildProgram(kBoardM4F, "integer.c",
                                  {"-O2", "-DSEMIHOSTING_EXIT", i ? "-DROUNDS=1500" : "-DROUNDS=1"}, &sError);
        QFile File(Dir.filePath("image.bin"));
        if (aImages[i].isEmpty() || !File.open(QIODevice::WriteOnly)) {
            fprintf(stderr, "%s\n", qPrintable(sError));
            return 1;
        }
        File.write(aImages[i]);
        File.close();
        EmulatorSeconds[i] = RunEmulator(File.fileName());
    }
    uint64_t NumInstructions = 0;
    double Untraced = RunOurs(aImages[1], false, &NumInstructions);
    double Traced = RunOurs(aImages[1], true, &NumInstructions);
    double Millions = double(NumInstructions) * 1e-6;
    printf("sim_million_instructions: %.1f\n", Millions);
    printf("sim_mips_untraced: %.1f\n", Millions / Untraced);
    printf("sim_mips_traced: %.1f\n", Millions / Traced);
    printf("qemu_icount_mips: %.1f\n", Millions / (EmulatorSeconds[1] - EmulatorSeconds[0]));
    return 0;
}
