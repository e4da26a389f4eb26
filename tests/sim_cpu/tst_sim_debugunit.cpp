// The debug unit: breakpoints, data comparators, single steps, stops of the program's own
// making, and the trace. Programs are assembled; places are symbols of theirs.
#include "lockstep.h"

#include <QTest>

#include <thread>

using namespace Sim;

class tst_sim_debugunit : public QObject {
    Q_OBJECT
private slots:
    void Watch_data();
    void Watch();
    void BreakpointsInItBlock();
    void ChangedCode();
    void Steps();
    void Sleep();
    void StopsOfTheProgram();
    void Trace();
    void StopFromAnotherThread();

private:
    bool Load(TestMachine& Machine, const char* sSource);
    uint32_t At(const char* sName) const { return m_Symbols.value(sName, ~0u) & ~1u; }
    StopInfo RunTo(TestMachine& Machine, const char* sName);
    QMap<QString, uint32_t> m_Symbols;
};

bool tst_sim_debugunit::Load(TestMachine& Machine, const char* sSource)
{
    return LoadAssembled(Machine, sSource, &m_Symbols);
}

StopInfo tst_sim_debugunit::RunTo(TestMachine& Machine, const char* sName)
{
    Machine.m_Cpu.SetBreakpoint(At(sName));
    StopInfo Info = Machine.m_Cpu.Run(Machine.m_Cpu.GetCycles() + 100000, kRunStepOverBreakpoint);
    Machine.m_Cpu.ClearBreakpoint(At(sName));
    return Info;
}

void tst_sim_debugunit::Watch_data()
{
    QTest::addColumn<uint32_t>("Addr");
    QTest::addColumn<uint32_t>("AddrMask");
    QTest::addColumn<uint32_t>("Value");
    QTest::addColumn<uint32_t>("ValueMask");
    QTest::addColumn<int>("Access");
    QTest::addColumn<int>("Sizes");
    QTest::addColumn<QString>("sAfter"); // where the core stops, the instruction before accessed
    const uint32_t Any = ~0u;
    const int R = kWatchRead, W = kWatchWrite, Rw = R | W, All = 7;
    const uint32_t Ram = 0x20000000;
    QTest::newRow("write") << Ram << 0u << 0u << Any << W << All << "a1";
    QTest::newRow("read") << Ram << 0u << 0u << Any << R << All << "a3";
    QTest::newRow("read or write") << Ram << 0u << 0u << Any << Rw << All << "a1";
    QTest::newRow("byte of a word") << Ram + 3 << 0u << 0u << Any << W << All << "a1";
    QTest::newRow("byte read") << Ram + 1 << 0u << 0u << Any << R << All << "a2";
    QTest::newRow("word size alone") << Ram + 1 << 0u << 0u << Any << R << 4 << "a3";
    QTest::newRow("half word") << Ram + 2 << 0u << 0u << Any << W << 2 << "a4";
    QTest::newRow("value") << Ram << 0u << 0x77u << 0u << W << All << "a6";
    QTest::newRow("low byte of the value") << Ram << 0u << 0x12345677u << 0xFFFFFF00u << W << All << "a6";
    QTest::newRow("masked address") << Ram + 0x100 << 0xFCu << 0u << Any << W << All << "a7";
    QTest::newRow("several registers") << Ram + 0x48 << 0u << 0u << Any << W << All << "a5";
    QTest::newRow("inside an IT block") << Ram + 0x20 << 0u << 0u << Any << W << All << "a9";
    QTest::newRow("branching load") << Ram + 0x30 << 0u << 0u << Any << R << All << "b1";
    QTest::newRow("pushed with the call's frame") << Ram + 0xFFC << 0u << 0u << Any << W << All << "b2";
    QTest::newRow("never") << Ram + 0x24 << 0u << 0u << Any << Rw << All << "end";
}

void tst_sim_debugunit::Watch()
{
    QFETCH(uint32_t, Addr);
    QFETCH(uint32_t, AddrMask);
    QFETCH(uint32_t, Value);
    QFETCH(uint32_t, ValueMask);
    QFETCH(int, Access);
    QFETCH(int, Sizes);
    QFETCH(QString, sAfter);
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, R"(
start: ldr r0, =0x20000000
 movs r1, #5
w0: str r1, [r0]
a1: ldrb r2, [r0, #1]
a2: ldr r3, [r0]
a3: strh r1, [r0, #2]
a4: add r4, r0, #0x40
 stmia r4!, {r1, r2, r3}
a5: movs r1, #0x77
 str r1, [r0]
a6: str.w r1, [r0, #0x128]
a7: cmp r0, r0
 ite ne
 strne r1, [r0, #0x24]
 streq r1, [r0, #0x20]
a9: adr r1, b1 + 1
 str r1, [r0, #0x34]
 add r5, r0, #0x30
 ldr r1, =b1 + 1
 mov r6, r1
 stm r5, {r6}
b0: ldr pc, [r0, #0x30]
 udf #0
 .align 2
b1: push {r0, lr}
b2: pop {r0, r1}
end: b end
)"));
    DataWatch Watch;
    Watch.Addr = Addr;
    Watch.AddrMask = AddrMask;
    Watch.Value = Value;
    Watch.ValueMask = ValueMask;
    Watch.Access = uint8_t(Access);
    Watch.Sizes = uint8_t(Sizes);
    Watch.Enabled = true;
    Machine.m_Cpu.SetWatch(1, Watch);
    StopInfo Info = Machine.m_Cpu.Run(5000);
    QCOMPARE(Info.Reason, sAfter == "end" ? StopReason::Budget : StopReason::Watch);
    QCOMPARE(Info.Pc, At(qPrintable(sAfter)));
    if (sAfter == "end") return;
    QCOMPARE(Info.WatchIndex, uint8_t(1));
    QVERIFY(Info.WatchIsWrite ? Access & kWatchWrite : Access & kWatchRead);
    QVERIFY(Info.WatchSize & Sizes);
    uint32_t Stored = 0;
    QVERIFY(Machine.m_Cpu.DebugRead(Info.WatchAddr, Info.WatchSize, &Stored));
    QCOMPARE(Stored, Info.WatchValue);
    QVERIFY(Info.WatchPc < Info.Pc || sAfter == "b1");
    // The hit is over: going on doesn't stop at the same access again.
    uint32_t WatchPc = Info.WatchPc;
    Info = Machine.m_Cpu.Step();
    QVERIFY(Info.Reason != StopReason::Watch || Info.WatchPc != WatchPc);
}

void tst_sim_debugunit::BreakpointsInItBlock()
{
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, R"(
start: movs r0, #0
 movs r1, #1
 cmp r0, #0
i0: itete eq
i1: addeq r1, #1
i2: addne r1, #2
i3: addeq.w r1, r1, #4
i4: addne r1, #8
i5: nop
end: b end
)"));
    for (const char* sName : {"i0", "i1", "i2", "i3", "i4", "i5"}) {
        StopInfo Info = RunTo(Machine, sName);
        QCOMPARE(Info.Reason, StopReason::Breakpoint);
        QCOMPARE(Info.Pc, At(sName));
    }
    QCOMPARE(Machine.GetReg(1), uint64_t(6));
    // A breakpoint on PC stops at once or is passed over, as asked.
    Machine.m_Cpu.SetBreakpoint(At("i5"));
    uint64_t NumInstructions = Machine.m_Cpu.GetInstructions(), Cycles = Machine.m_Cpu.GetCycles();
    QCOMPARE(Machine.m_Cpu.Run(Cycles + 100).Reason, StopReason::Breakpoint);
    QCOMPARE(Machine.m_Cpu.GetInstructions(), NumInstructions);
    QCOMPARE(Machine.m_Cpu.GetCycles(), Cycles);
    QCOMPARE(Machine.m_Cpu.Run(Cycles + 100, kRunStepOverBreakpoint).Reason, StopReason::Budget);
    // The state of an IT block goes through the registers.
    Machine.m_Cpu.Reset();
    RunTo(Machine, "i2");
    uint64_t Xpsr = Machine.GetReg(kRegXpsr);
    QVERIFY(Xpsr & 0x0600FC00);
    Machine.m_Cpu.SetReg(kRegXpsr, Xpsr ^ 0x40000000); // Z inverted: the other halves are executed
    RunTo(Machine, "i5");
    QCOMPARE(Machine.GetReg(1), uint64_t(1 + 1 + 2 + 8));
}

void tst_sim_debugunit::ChangedCode()
{
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, R"(
start: ldr r0, =0x20000000
 ldr r1, =0x4770202A   @ movs r0,#42 ; bx lr
 str r1, [r0]
 adds r0, #1
 mov r7, r0
 blx r7
c1: ldr r2, =0x20000000
 movs r1, #43
 strb r1, [r2]         @ a store into what was executed
 blx r7
c2: ldr r1, =0xF8404770
 blx r7
c3: blx r7
c4: ldr r2, =0x20000100
 ldr r1, =0x0001F04F   @ mov.w r0,#1 ; bx lr
 str r1, [r2]
 ldr r1, =0x47700000
 lsrs r1, #16
 strh r1, [r2, #4]
 adds r7, r2, #1
 ldr r1, =0x0001F04F
 lsrs r3, r1, #16
 strh r3, [r2, #2]
 blx r7
c5: movs r3, #2
 strb r3, [r2, #2]     @ the second half of a 32-bit instruction
 blx r7
end: b end
)"));
    RunTo(Machine, "c1");
    QCOMPARE(Machine.GetReg(0), uint64_t(42));
    RunTo(Machine, "c2");
    QCOMPARE(Machine.GetReg(0), uint64_t(43));
    // Written from outside, by the debug port and behind its back.
    QVERIFY(Machine.m_Cpu.DebugWrite(0x20000000, 1, 44));
    RunTo(Machine, "c3");
    QCOMPARE(Machine.GetReg(0), uint64_t(44));
    Machine.m_Ram[0] = 45;
    Machine.m_Cpu.InvalidateCode(0x20000000, 1);
    RunTo(Machine, "c4");
    QCOMPARE(Machine.GetReg(0), uint64_t(45));
    RunTo(Machine, "c5");
    QCOMPARE(Machine.GetReg(0), uint64_t(1));
    RunTo(Machine, "end");
    QCOMPARE(Machine.GetReg(0), uint64_t(2));
}

void tst_sim_debugunit::Steps()
{
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, R"(
start: movs r0, #1
 svc #5
s1: movs r0, #2
s2: movs r0, #3
s3: udf #0
s4: nop
end: b end
 .thumb_func
svcall: movs r1, #1
 bx lr
 .thumb_func
irq0: movs r2, #1
i1: bx lr
 .thumb_func
hardfault: ldr r3, [sp, #24]
 adds r3, #2
 str r3, [sp, #24]
h3: bx lr
)"));
    ArmCpu& Cpu = Machine.m_Cpu;
    QCOMPARE(Cpu.Step().Reason, StopReason::Step);
    QCOMPARE(Cpu.Step().Pc, At("svcall")); // SVC enters its handler within the step
    QCOMPARE(Cpu.Step().Pc, At("svcall") + 2);
    QCOMPARE(Cpu.Step().Pc, At("s1"));
    QVERIFY(Cpu.DebugWrite(0xE000E100, 4, 1));
    Cpu.SetIrqPending(0);
    QCOMPARE(Cpu.Step(kRunMaskInterrupts).Pc, At("s2"));
    QCOMPARE(Cpu.Step().Pc, At("i1")); // entry and the handler's first instruction
    QCOMPARE(Machine.GetReg(2), uint64_t(1));
    QCOMPARE(Cpu.Step().Pc, At("s2"));
    QCOMPARE(Cpu.Step().Pc, At("s3"));
    QCOMPARE(Cpu.Step(kRunMaskInterrupts).Pc, At("hardfault")); // faults aren't masked
    for (int i = 0; i < 3; ++i) Cpu.Step();
    QCOMPARE(Cpu.GetPc(), At("h3"));
    QCOMPARE(Cpu.Step().Pc, At("s4"));
    uint64_t NumInstructions = Cpu.GetInstructions();
    Cpu.Step();
    QCOMPARE(Cpu.GetInstructions(), NumInstructions + 1);
}

void tst_sim_debugunit::Sleep()
{
    TestMachine Machine(kBoardM4F);
    QVERIFY(Load(Machine, R"(
start: movs r0, #1
 ldr r1, =0xE000E100
 str r0, [r1]
 wfi
s1: adds r0, #1
 sev
 wfe
 wfe
s2: adds r0, #1
 ldr r1, =0xE000ED10
 movs r2, #2
 str r2, [r1]          @ sleep on exit
 ldr r1, =0xE000E200
 movs r2, #1
 str r2, [r1]
s3: b s3
 .thumb_func
irq0: movs r4, #1
 bx lr
)"));
    ArmCpu& Cpu = Machine.m_Cpu;
    QCOMPARE(Cpu.Run(1000).Reason, StopReason::Sleeping);
    QVERIFY(Cpu.IsSleeping());
    QCOMPARE(Cpu.GetCycles(), uint64_t(1000));
    QCOMPARE(Machine.m_NumSleeps, 1u);
    QCOMPARE(Cpu.Step().Reason, StopReason::Sleeping);
    QCOMPARE(Cpu.GetCycles(), uint64_t(1000)); // no time passes while nothing can happen
    Machine.m_EventIrq = 0;
    Cpu.ScheduleEvent(5000);
    QCOMPARE(Cpu.Run(4000).Reason, StopReason::Sleeping);
    StopInfo Info = Cpu.Run(5200); // woken at 5000; WFE passes once by SEV, then sleeps again
    QCOMPARE(Info.Reason, StopReason::Sleeping);
    QCOMPARE(Info.Pc, At("s2"));
    QCOMPARE(Machine.GetReg(4), uint64_t(1));
    Cpu.SetEvent();
    Info = Cpu.Run(6000);
    QCOMPARE(Info.Reason, StopReason::Sleeping);
    QVERIFY(Info.Pc == At("s3"));
    QCOMPARE(Machine.GetReg(0), uint64_t(3));
    Cpu.RequestStop();
    QCOMPARE(Cpu.Run(~uint64_t(0)).Reason, StopReason::StopRequested);
}

void tst_sim_debugunit::StopsOfTheProgram()
{
    const char* sSource = R"(
start: cmp r0, r0
 it ne
 bkpt 0xAB
b1: movs r0, #1
 ldr r1, =0x70000000
l1: ldr r2, [r1]
 nop
 .thumb_func
hardfault: movs r4, #1
 ldr r5, =0xE000ED2C
 ldr r5, [r5]
h3: ldr r2, [r1]
 b hardfault
)";
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, sSource));
    ArmCpu& Cpu = Machine.m_Cpu;
    // BKPT is executed whatever the condition says, and again until the owner moves on.
    for (int i = 0; i < 2; ++i) {
        StopInfo Info = Cpu.Run(1000);
        QCOMPARE(Info.Reason, StopReason::BkptInstruction);
        QCOMPARE(Info.BkptImm, uint8_t(0xAB));
        QCOMPARE(Info.Pc, At("b1") - 2);
    }
    Cpu.SetReg(kRegPc, At("b1"));
    Cpu.SetReg(kRegXpsr, 0x01000000);
    Cpu.SetVectorCatch(1u << 10);
    StopInfo Info = Cpu.Run(1000);
    QCOMPARE(Info.Reason, StopReason::VectorCatch);
    QCOMPARE(Info.Pc, At("hardfault"));
    QCOMPARE(Machine.GetReg(4), uint64_t(0));
    QCOMPARE(Cpu.Run(1000).Reason, StopReason::Lockup);
    QVERIFY(Cpu.IsLockedUp());
    QCOMPARE(Machine.GetReg(5), uint64_t(0x40000000)); // HFSR.FORCED
    QCOMPARE(Cpu.Step().Reason, StopReason::Lockup);
    Cpu.Reset();
    QVERIFY(!Cpu.IsLockedUp());
    QCOMPARE(Cpu.GetPc(), At("start"));
    Cpu.SetVectorCatch(0);
    Cpu.SetDebugEnabled(false);
    RunTo(Machine, "h3");
    QCOMPARE(Machine.GetReg(5), uint64_t(0x80000000)); // HFSR.DEBUGEVT
}

void tst_sim_debugunit::Trace()
{
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, R"(
start: movs r0, #3
t1: subs r0, #1
 bne t1
 ite eq
 moveq r1, #1
 movne r1, #2
end: b end
)"));
    std::vector<TraceRecord> aRecords(16);
    std::vector<CodeCounter> aCounters(64);
    TraceRing Ring{aRecords.data(), 16, 0};
    Machine.m_Cpu.SetTraceRing(&Ring);
    uint32_t Start = At("start");
    Machine.m_Cpu.SetCodeCounters(Start, 128, aCounters.data());
    RunTo(Machine, "end");
    const int Expected[] = {0, 2, 4, 2, 4, 2, -4, 6, 8, -10}; // negative: skipped
    QCOMPARE(Ring.Count, uint64_t(std::size(Expected)));
    uint32_t Cycle = 0;
    for (size_t i = 0; i < std::size(Expected); ++i) {
        uint32_t Pc = Start + uint32_t(std::abs(Expected[i]));
        QCOMPARE(aRecords[i].Pc, Pc | (Expected[i] < 0));
        QVERIFY(i == 0 || aRecords[i].Cycle > Cycle);
        Cycle = aRecords[i].Cycle;
    }
    QCOMPARE(aCounters[1].NumFetched, 3u);
    QCOMPARE(aCounters[2].NumFetched, 3u);
    QCOMPARE(aCounters[2].NumSkipped, 1u);
    QCOMPARE(aCounters[5].NumSkipped, 1u);
    Machine.m_Cpu.SetTraceRing(nullptr);
    Machine.m_Cpu.Run(Machine.m_Cpu.GetCycles() + 100);
    QCOMPARE(Ring.Count, uint64_t(std::size(Expected)));
}

void tst_sim_debugunit::StopFromAnotherThread()
{
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, "start: b start"));
    std::thread Other([&] { Machine.m_Cpu.RequestStop(); });
    StopInfo Info = Machine.m_Cpu.Run(~uint64_t(0));
    Other.join();
    QCOMPARE(Info.Reason, StopReason::StopRequested);
    QCOMPARE(Info.Pc, At("start"));
}

QTEST_GUILESS_MAIN(tst_sim_debugunit)
#include "tst_sim_debugunit.moc"
