// A run that is stopped, stepped, watched or traced ends in exactly the state of a run that
// isn't: registers, memory, cycle and instruction counts.
#include "lockstep.h"
#include "randomcode.h"

#include <QTest>

#include <random>

using namespace Sim;

class tst_sim_resume : public QObject {
    Q_OBJECT
private slots:
    void SameRun_data();
    void SameRun();

private:
    struct EndState {
        CpuState Regs;
        std::vector<uint64_t> aSpecial;
        std::vector<uint8_t> aRam;
        uint64_t Cycles, NumInstructions;
        bool operator==(const EndState&) const = default;
    };
    static EndState StateOf(const TestMachine& Machine);
    static void Prepare(TestMachine& Machine, const QByteArray& Image);
};

namespace {

enum Way {
    kSlices,
    kSteps,
    kStepsAndRuns,
    kBreakpoints,
    kIdleWatch,
    kWatchHits,
    kTrace,
    kStopRequests,
    kNumWays
};
constexpr const char* kWayNames[] = {
    "slices",     "steps", "steps and runs", "breakpoints", "watch without hits",
    "watch hits", "trace", "stop requests"};
static_assert(std::size(kWayNames) == kNumWays);
constexpr uint64_t kRunCycles = 400000;

} // namespace

tst_sim_resume::EndState tst_sim_resume::StateOf(const TestMachine& Machine)
{
    EndState State{
        Machine.GetState(), {}, Machine.m_Ram, Machine.m_Cpu.GetCycles(), Machine.m_Cpu.GetInstructions()};
    for (unsigned Reg = kRegMsp; Reg <= kRegPsplim; ++Reg) State.aSpecial.push_back(Machine.GetReg(Reg));
    return State;
}

void tst_sim_resume::Prepare(TestMachine& Machine, const QByteArray& Image)
{
    Machine.LoadRom(Image);
    Machine.m_EventIrq = 0;
    Machine.m_EventPeriod = 1511;
    Machine.m_Cpu.ScheduleEvent(5000);
}

void tst_sim_resume::SameRun_data()
{
    QTest::addColumn<const BoardInfo*>("pBoard");
    QTest::addColumn<QString>("sSource");
    QTest::addColumn<int>("How");
    for (int How = 0; How < kNumWays; ++How) {
        for (const BoardInfo* pBoard : {&kBoardM3, &kBoardM4F, &kBoardM33})
            QTest::addRow("%s timers.c %s", pBoard->sName, kWayNames[How])
                << pBoard << QString("timers.c") << How;
        QTest::addRow("interrupts.c %s", kWayNames[How]) << &kBoardM4F << QString("interrupts.c") << How;
        QTest::addRow("random code %s", kWayNames[How]) << &kBoardM4F << QString() << How;
    }
}

void tst_sim_resume::SameRun()
{
    QFETCH(const BoardInfo*, pBoard);
    QFETCH(QString, sSource);
    QFETCH(int, How);
    QString sError;
    uint32_t End;
    static QMap<QString, QByteArray> Images; // compiling takes longer than running
    QByteArray& Image = Images[pBoard->sName + sSource];
    if (Image.isEmpty())
        Image = sSource.isEmpty() ? RandomCode(*pBoard, 5).Make(3000, &End)
                                  : BuildProgram(*pBoard, sSource, {"-O2"}, &sError);
    QVERIFY2(!Image.isEmpty(), qPrintable(sError));

    TestMachine Straight(*pBoard);
    Prepare(Straight, Image);
    QCOMPARE(Straight.m_Cpu.Run(kRunCycles).Reason, StopReason::Budget);
    uint64_t EndCycle = Straight.m_Cpu.GetCycles();

    TestMachine Machine(*pBoard);
    Prepare(Machine, Image);
    ArmCpu& Cpu = Machine.m_Cpu;
    std::mt19937 Random{uint32_t(How)};
    std::vector<TraceRecord> aRecords(1024);
    TraceRing Ring{aRecords.data(), uint32_t(aRecords.size()), 0};
    if (How == kTrace) Cpu.SetTraceRing(&Ring);
    DataWatch Watch;
    Watch.Enabled = true;
    if (How == kIdleWatch) Watch.Addr = 0x70000000;
    if (How == kWatchHits) {
        Watch.Addr = pBoard->Ram + 0x10;
        Watch.AddrMask = 0xFFF8; // one word of each 64 KB area, every 16 bytes
    }
    if (How == kIdleWatch || How == kWatchHits) Cpu.SetWatch(2, Watch);
    uint64_t NumStops = 0;
    while (Cpu.GetCycles() < EndCycle) {
        uint64_t Now = Cpu.GetCycles();
        StopInfo Info;
        switch (How) {
        case kSlices:
            Info = Cpu.Run(std::min(EndCycle, Now + Random() % 300));
            break;
        case kSteps:
            Info = Cpu.Step();
            break;
        case kStepsAndRuns:
            Info = Random() % 3 ? Cpu.Step() : Cpu.Run(std::min(EndCycle, Now + Random() % 60));
            break;
        case kBreakpoints:
            // At any half word, also inside IT blocks and instructions.
            for (int i = 0; i < 3; ++i)
                Cpu.SetBreakpoint(pBoard->Rom + 0x100 + Random() % uint32_t(Image.size() - 0x100));
            Cpu.SetBreakpoint(Cpu.GetPc() + 2 * (Random() % 8));
            Info = Cpu.Run(std::min(EndCycle, Now + 500), kRunStepOverBreakpoint);
            if (Random() % 16 == 0) Cpu.ClearAllBreakpoints();
            break;
        case kStopRequests:
            Cpu.RequestStop();
            Info = Cpu.Run(EndCycle);
            NumStops += Info.Reason == StopReason::StopRequested;
            if (Info.Reason == StopReason::StopRequested)
                Info = Cpu.Run(std::min(EndCycle, Now + 1 + Random() % 900));
            break;
        default:
            Info = Cpu.Run(EndCycle, kRunStepOverBreakpoint);
            break;
        }
        NumStops += Info.Reason != StopReason::Budget || How == kSlices;
        QCOMPARE(Info.Pc, Cpu.GetPc());
        QVERIFY(Info.Reason != StopReason::Lockup);
    }
    // The last step may end behind the cycle where a run stops; both go to a common one.
    Straight.m_Cpu.Run(EndCycle + 1000);
    Cpu.ClearAllBreakpoints();
    Cpu.SetWatch(2, DataWatch());
    Cpu.Run(EndCycle + 1000);
    QVERIFY(StateOf(Straight) == StateOf(Machine));
    if (How != kIdleWatch && How != kTrace) QVERIFY(NumStops > 20);
    if (How == kTrace) QVERIFY(Ring.Count > 10000);
}

QTEST_GUILESS_MAIN(tst_sim_resume)
#include "tst_sim_resume.moc"
