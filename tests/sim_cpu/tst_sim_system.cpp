// What a program sees of the system around the core: timers, counters, stimulus ports, fault
// addresses, bit-banding, byte order, stack limits, reset. Expected values follow from the
// architecture, not from another emulator.
#include "lockstep.h"

#include <QTest>

#include <random>

using namespace Sim;

class tst_sim_system : public QObject {
    Q_OBJECT
private slots:
    void SysTick();
    void InterruptLines();
    void StimulusAndCycleCounter();
    void BitBand();
    void BigEndian();
    void StackLimits();
    void FaultRegisters();
    void LazyFloatState();
    void ResetRequest();
    void DebugAccess();
    void AnyBytes_data();
    void AnyBytes();

private:
    bool Load(TestMachine& Machine, const char* sSource)
    {
        return LoadAssembled(Machine, sSource, &m_Symbols);
    }
    uint32_t At(const char* sName) const { return m_Symbols.value(sName, ~0u) & ~1u; }
    StopInfo RunTo(TestMachine& Machine, const char* sName)
    {
        Machine.m_Cpu.SetBreakpoint(At(sName));
        StopInfo Info = Machine.m_Cpu.Run(Machine.m_Cpu.GetCycles() + 1000000, kRunStepOverBreakpoint);
        Machine.m_Cpu.ClearBreakpoint(At(sName));
        return Info;
    }
    static uint32_t Word(TestMachine& Machine, uint32_t Addr)
    {
        uint32_t Value = 0;
        Machine.m_Cpu.DebugRead(Addr, 4, &Value);
        return Value;
    }
    QMap<QString, uint32_t> m_Symbols;
};

void tst_sim_system::SysTick()
{
    TestMachine Machine(kBoardM0);
    QVERIFY(Load(Machine, R"(
start: ldr r0, =0xE000E010
 ldr r1, =999
 str r1, [r0, #4]
 str r1, [r0, #8]
 movs r1, #7
 str r1, [r0]
on: nop
loop: b loop
 .thumb_func
systick: adds r4, #1
 ldr r5, [r0, #8]
 ldr r6, [r0]
 bx lr
)"));
    ArmCpu& Cpu = Machine.m_Cpu;
    RunTo(Machine, "on");
    uint64_t Start = Cpu.GetCycles();
    QCOMPARE(Word(Machine, 0xE000E018), 0u); // loads the reload value at the next clock
    Cpu.Run(Start + 400);
    QCOMPARE(Word(Machine, 0xE000E018), uint32_t(1000 - (Cpu.GetCycles() - Start)));
    QCOMPARE(Word(Machine, 0xE000E010), 7u); // COUNTFLAG not yet
    for (unsigned Period = 1; Period <= 50; ++Period) {
        Cpu.SetBreakpoint(At("systick"));
        QCOMPARE(Cpu.Run(~uint64_t(0), kRunStepOverBreakpoint).Reason, StopReason::Breakpoint);
        uint64_t Late = Cpu.GetCycles() - (Start + 1000 * Period);
        QVERIFY(Late < 20); // entry and the rest of an instruction
        QCOMPARE(Machine.GetReg(4), uint64_t(Period - 1));
    }
    QVERIFY(Word(Machine, 0xE000E010) & 0x10000); // reading by the debug port keeps the flag
    QVERIFY(Word(Machine, 0xE000E010) & 0x10000);
    Cpu.ClearAllBreakpoints();
    Cpu.Run(Cpu.GetCycles() + 200);
    QVERIFY(Machine.GetReg(6) & 0x10000);
    QVERIFY(!(Word(Machine, 0xE000E010) & 0x10000)); // the program's read clears it
    QVERIFY(Machine.GetReg(5) > 900 && Machine.GetReg(5) < 1000);
}

void tst_sim_system::InterruptLines()
{
    TestMachine Machine(kBoardM4F);
    QVERIFY(Load(Machine, R"(
start: ldr r0, =0xE000E100
 movs r1, #3
 str r1, [r0]
loop: b loop
 .thumb_func
irq0: adds r4, #1
 bx lr
 .thumb_func
irq1: adds r5, #1
 bx lr
)"));
    ArmCpu& Cpu = Machine.m_Cpu;
    RunTo(Machine, "loop");
    Cpu.SetIrqPending(1);
    Cpu.SetIrqPending(5);   // not enabled
    Cpu.SetIrqPending(500); // not there
    Cpu.Run(Cpu.GetCycles() + 1000);
    QCOMPARE(Machine.GetReg(5), uint64_t(1));
    Cpu.SetIrqLevel(0, true); // again and again until the line falls
    Cpu.Run(Cpu.GetCycles() + 1000);
    uint64_t Count = Machine.GetReg(4);
    QVERIFY(Count > 10);
    Cpu.SetIrqLevel(0, false);
    Cpu.Run(Cpu.GetCycles() + 1000);
    QVERIFY(Machine.GetReg(4) <= Count + 1);
    Count = Machine.GetReg(4);
    Cpu.Run(Cpu.GetCycles() + 1000);
    QCOMPARE(Machine.GetReg(4), Count);
    QCOMPARE(Word(Machine, 0xE000E200), 0x20u);
}

void tst_sim_system::StimulusAndCycleCounter()
{
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, R"(
start: ldr r0, =0xE0000000
 movs r1, #'a'
 strb r1, [r0]          @ everything off: lost
 ldr r2, =0xE000EDFC
 ldr r3, =0x01000000
 str r3, [r2]
 ldr r2, =0xE0000E80
 movs r3, #1
 str r3, [r2]
 movs r3, #5
 str r3, [r0, #0xE00]
 ldr r4, [r0, #8]
 ldr r5, [r0, #4]
 movs r1, #'b'
 strb r1, [r0]
 strh r1, [r0, #4]      @ port 1 is off
 ldr r1, =0x12345678
 str r1, [r0, #8]
 ldr r2, =0xE0001000
 movs r3, #1
 str r3, [r2]
 ldr r6, [r2, #4]
 nop
 nop
 nop
 ldr r7, [r2, #4]
end: b end
)"));
    RunTo(Machine, "end");
    QCOMPARE(Machine.m_Itm, (std::vector<uint32_t>{0, 1, 'b', 2, 4, 0x12345678}));
    QCOMPARE(Machine.GetReg(4), uint64_t(1));
    QCOMPARE(Machine.GetReg(5), uint64_t(0));
    QCOMPARE(Machine.GetReg(7) - Machine.GetReg(6), uint64_t(3 + 2));
}

void tst_sim_system::BitBand()
{
    const char* sSource = R"(
start: ldr r0, =0x20000100
 movs r1, #0x5A
 str r1, [r0]
 ldr r2, =0x22002000 + 4*5
 movs r3, #1
 str r3, [r2]           @ bit 5 of the byte at 0x100
 ldr r4, [r2, #-4]
 movs r3, #2
 str r3, [r2, #-4]      @ only bit 0 of the value counts
 ldr r5, [r0]
end: b end
 .thumb_func
hardfault: movs r7, #1
 b end
)";
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, sSource));
    RunTo(Machine, "end");
    QCOMPARE(Machine.GetReg(4), uint64_t(1));
    QCOMPARE(Machine.GetReg(5), uint64_t((0x5A | 0x20) & ~0x10));
    TestMachine Without(kBoardM7F);
    QVERIFY(Load(Without, sSource));
    RunTo(Without, "end");
    QCOMPARE(Without.GetReg(7), uint64_t(1));
}

void tst_sim_system::BigEndian()
{
    TestMachine Machine(kBoardM3);
    ArmCpuConfig Config = Machine.m_Cpu.GetConfig();
    Config.BigEndianData = true;
    ArmCpu Cpu(Config, &Machine);
    QVERIFY(Load(Machine, R"(
start: ldr r0, =0x20000100
 ldr r1, value
 str r1, [r0]
 ldrb r2, [r0]
 ldrh r3, [r0, #2]
 ldr r4, [r0, #1]       @ unaligned
 ldr r5, =0xE000ED00
 ldr r5, [r5]
end: b end
 .align 2
value: .byte 1, 2, 3, 4
)"));
    // Vectors and literals are data.
    for (uint32_t i = 0; i < 0x48; i += 4) std::reverse(&Machine.m_Rom[i], &Machine.m_Rom[i] + 4);
    for (uint32_t i = At("value") + 4; i < At("value") + 12; i += 4)
        std::reverse(&Machine.m_Rom[i], &Machine.m_Rom[i] + 4);
    QVERIFY(Cpu.MapMemory({0, kBoardM3.RomSize, Machine.m_Rom.data(), kMemRead | kMemExec}));
    QVERIFY(Cpu.MapMemory({kBoardM3.Ram, kBoardM3.RamSize, Machine.m_Ram.data(), kMemRead | kMemWrite}));
    QVERIFY(!Cpu.MapMemory({kBoardM3.Ram + 1024, 1024, Machine.m_Ram.data(), kMemRead})); // overlaps
    Cpu.Reset();
    Cpu.SetBreakpoint(At("end"));
    QCOMPARE(Cpu.Run(1000).Reason, StopReason::Breakpoint);
    auto Reg = [&](unsigned Index) {
        uint64_t Value = 0;
        Cpu.GetReg(Index, &Value);
        return Value;
    };
    QCOMPARE(Reg(1), uint64_t(0x01020304));
    QCOMPARE(Reg(2), uint64_t(1));
    QCOMPARE(Reg(3), uint64_t(0x0304));
    QCOMPARE(Reg(4), uint64_t(0x02030400));
    QCOMPARE(Reg(5), uint64_t(0x410FC231)); // system registers are little-endian
    QCOMPARE(Machine.m_Ram[0x100], uint8_t(1));
}

void tst_sim_system::StackLimits()
{
    TestMachine Machine(kBoardM33);
    QVERIFY(Load(Machine, R"(
start: ldr r0, =0xE000ED24
 ldr r1, =0x70000
 str r1, [r0]
 ldr r0, =0x38000F00
 msr msplim, r0
 mrs r1, msplim
 movs r6, #3
loop: sub sp, #0x40
l1: subs r6, #1
 bne loop
 sub sp, #0x60          @ would lie below
p1: push {r0-r7}
 b p1
 .thumb_func
usagefault: ldr r4, =0xE000ED28
 ldr r4, [r4]
u1: b u1
)"));
    RunTo(Machine, "p1");
    QCOMPARE(Machine.GetReg(1), uint64_t(0x38000F00));
    QCOMPARE(Machine.GetReg(kRegSp), uint64_t(0x38000F40) - 0x20); // in the handler, frame stacked
    QCOMPARE(Machine.GetReg(kRegPc) & ~63u, uint64_t(At("usagefault") & ~63u));
    RunTo(Machine, "u1");
    QCOMPARE(Machine.GetReg(4), uint64_t(0x100000)); // STKOF
    QCOMPARE(Machine.GetReg(kRegMsplim), uint64_t(0x38000F00));
}

void tst_sim_system::FaultRegisters()
{
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, R"(
start: ldr r0, =0xE000ED00
 ldr r1, =0x70000
 str r1, [r0, #0x24]
 ldr r1, =0x60001234
a1: str r1, [r1]
 udf #0
 .thumb_func
busfault: ldr r2, [r0, #0x28]
 ldr r3, [r0, #0x38]
 ldr r4, [r0, #0x24]
 movs r5, #0
 mvns r6, r5
 str r6, [r0, #0x28]
 ldr r6, [r0, #0x28]
 mov r7, #0x300         @ STKALIGN, BFHFNMIGN
 str r7, [r0, #0x14]
 cpsid f
 ldr r8, [r1]           @ ignored at this priority
 ldr r9, [r0, #0x28]
b1: cpsie f
 ldr r8, [r1]           @ while BusFault is active: escalates
 .thumb_func
hardfault: ldr r10, [r0, #0x2C]
h1: b h1
)"));
    RunTo(Machine, "b1");
    QCOMPARE(Machine.GetReg(2), uint64_t(0x8200)); // PRECISERR, BFARVALID
    QCOMPARE(Machine.GetReg(3), uint64_t(0x60001234));
    QCOMPARE(Machine.GetReg(4), uint64_t(0x70002)); // BUSFAULTACT
    QCOMPARE(Machine.GetReg(6), uint64_t(0));
    QCOMPARE(Machine.GetReg(9), uint64_t(0x8200));
    RunTo(Machine, "h1");
    QCOMPARE(Machine.GetReg(10), uint64_t(0x40000000));
    uint32_t Frame[8];
    memcpy(Frame, Machine.m_Ram.data() + 0x1000 - 0x20, sizeof Frame);
    QCOMPARE(Frame[6], At("a1"));
}

void tst_sim_system::LazyFloatState()
{
    TestMachine Machine(kBoardM4F);
    QVERIFY(Load(Machine, R"(
start: ldr r0, =0xE000ED88
 ldr r1, =0x00F00000
 str r1, [r0]
 vmov.f32 s0, #1.5
 vmov.f32 s15, #2.0
 svc #0
a1: nop
 movs r6, #1
 svc #0
a2: nop
end: b end
 .thumb_func
svcall: nop
s1: cbz r6, s2
 vmov.f32 s0, #3.0
s2: bx lr
)"));
    const uint32_t Fpccr = 0xE000EF34, Fpcar = 0xE000EF38;
    RunTo(Machine, "s1"); // the place is reserved, nothing stored
    uint32_t Frame = uint32_t(Machine.GetReg(kRegSp));
    QCOMPARE(Frame, 0x20001000u - 0x68);
    QVERIFY(Word(Machine, Fpccr) & 1);
    QCOMPARE(Word(Machine, Fpcar), Frame + 0x20);
    QCOMPARE(Word(Machine, Frame + 0x20), 0u);
    QCOMPARE(Machine.GetReg(kRegLr), uint64_t(0xFFFFFFE9));
    QCOMPARE(Machine.GetReg(kRegControl), uint64_t(0));
    RunTo(Machine, "a1");
    QVERIFY(!(Word(Machine, Fpccr) & 1));
    QCOMPARE(Machine.GetReg(kRegControl), uint64_t(4));
    RunTo(Machine, "s2"); // the handler's own use stores them first
    QVERIFY(!(Word(Machine, Fpccr) & 1));
    QCOMPARE(Word(Machine, Frame + 0x20), 0x3FC00000u);
    QCOMPARE(Word(Machine, Frame + 0x20 + 15 * 4), 0x40000000u);
    QCOMPARE(Machine.GetReg(kRegS0), uint64_t(0x40400000));
    RunTo(Machine, "a2");
    QCOMPARE(Machine.GetReg(kRegS0), uint64_t(0x3FC00000));
    QCOMPARE(Machine.GetReg(kRegSp), uint64_t(0x20001000));
}

void tst_sim_system::ResetRequest()
{
    TestMachine Machine(kBoardM3);
    QVERIFY(Load(Machine, R"(
start: movs r4, #1
 ldr r0, =0x20000000
 ldr r1, [r0]
 adds r1, #1
 str r1, [r0]
 cpsid i
 ldr r0, =0xE000ED0C
 ldr r1, =0x05FA0004
 str r1, [r0]
end: b end
)"));
    Machine.m_Cpu.Run(2000);
    QVERIFY(Word(Machine, 0x20000000) > 10); // over and over
    Machine.m_Cpu.SetVectorCatch(1);
    StopInfo Info = Machine.m_Cpu.Run(4000);
    QCOMPARE(Info.Reason, StopReason::Reset);
    QCOMPARE(Info.Pc, At("start"));
    QCOMPARE(Machine.GetReg(kRegPrimask), uint64_t(0));
    QCOMPARE(Machine.GetReg(4), uint64_t(0));
    QCOMPARE(Machine.GetReg(kRegSp), uint64_t(0x20001000));
    QCOMPARE(Machine.m_Cpu.GetVectorCatch(), 1u);
}

void tst_sim_system::DebugAccess()
{
    TestMachine Machine(kBoardM3);
    ArmCpu& Cpu = Machine.m_Cpu;
    uint32_t Value = 0;
    QVERIFY(Cpu.DebugWrite(0x20000101, 4, 0x11223344)); // unaligned
    QVERIFY(Cpu.DebugRead(0x20000102, 2, &Value));
    QCOMPARE(Value, 0x2233u);
    QVERIFY(!Cpu.DebugRead(0x60000000, 4, &Value));
    QVERIFY(!Cpu.DebugWrite(0x60000000, 1, 0));
    QVERIFY(!Cpu.DebugRead(0x20000000, 3, &Value));
    for (unsigned Reg = 0; Reg < 13; ++Reg) QVERIFY(Cpu.SetReg(Reg, 0x1000 + Reg));
    QVERIFY(Cpu.SetReg(kRegPsp, 0x20000803));
    QVERIFY(Cpu.SetReg(kRegMsp, 0x20000900));
    QVERIFY(Cpu.SetReg(kRegControl, 2));
    QCOMPARE(Machine.GetReg(kRegSp), uint64_t(0x20000800));
    QVERIFY(Cpu.SetReg(kRegXpsr, 0x01000003)); // as if in HardFault: the main stack
    QCOMPARE(Machine.GetReg(kRegSp), uint64_t(0x20000900));
    QCOMPARE(Machine.GetReg(kRegPsp), uint64_t(0x20000800));
    uint64_t Wide = 1;
    QVERIFY(!Cpu.GetReg(kRegS0, &Wide));
    QCOMPARE(Wide, uint64_t(0));
    QVERIFY(!Cpu.GetReg(kRegMsplim, &Wide));
    QVERIFY(!Cpu.SetReg(kRegCycles, 0));
    QVERIFY(!Cpu.SetReg(999, 0));
}

void tst_sim_system::AnyBytes_data()
{
    QTest::addColumn<int>("Kind");
    for (int Kind = 0; Kind <= int(ArmCoreKind::M33); ++Kind) QTest::addRow("core %d", Kind) << Kind;
}

// Memory full of noise is executed without harm to the host, twice with the same end, and
// once in other slices.
void tst_sim_system::AnyBytes()
{
    QFETCH(int, Kind);
    BoardInfo Board = kBoardM33;
    Board.Kind = ArmCoreKind(Kind);
    Board.Rom = 0;
    Board.RomSize = 0x10000;
    Board.Ram = 0x20000000;
    Board.RamSize = 0x4000;
    const int kNumStarts = qEnvironmentVariableIsSet("SIM_MANY_STARTS") ? 20000 : 1000;
    uint64_t NumInstructions = 0;
    for (uint32_t Seed = 0; Seed < 12; ++Seed) {
        std::unique_ptr<TestMachine> aMachines[2];
        for (int k = 0; k < 2; ++k) {
            std::mt19937 Random(Seed * 16 + uint32_t(Kind));
            aMachines[k] = std::make_unique<TestMachine>(Board);
            TestMachine& Machine = *aMachines[k];
            for (auto* pMemory : {&Machine.m_Rom, &Machine.m_Ram})
                for (uint8_t& Byte : *pMemory) Byte = uint8_t(Random());
            for (uint32_t i = 1; i < 64; ++i) { // handlers in memory, so that it goes on
                uint32_t Vector = (Random() % 0xFF00) | 1;
                memcpy(&Machine.m_Rom[4 * i], &Vector, 4);
            }
            memcpy(Machine.m_Rom.data(), "\0\x20\0\x20", 4);
            Machine.m_Cpu.InvalidateCode(0, Board.RomSize);
            for (int Start = 0; Start < kNumStarts; ++Start) { // each part from a reset somewhere else
                ArmCpu& Cpu = Machine.m_Cpu;
                Cpu.Reset();
                Cpu.SetReg(kRegPc, Random() % Board.RomSize);
                for (unsigned Reg = 0; Reg < 13; ++Reg) Cpu.SetReg(Reg, 0x20000000 + (Random() & 0x3FFC));
                Cpu.DebugWrite(0xE000ED88, 4, 0x00F00000);
                Cpu.DebugWrite(0xE000ED24, 4, 0x00070000);
                uint64_t End = Cpu.GetCycles() + 2000;
                while (Cpu.GetCycles() < End) {
                    StopInfo Info = Cpu.Run(k ? std::min(End, Cpu.GetCycles() + 77) : End);
                    if (Info.Reason == StopReason::BkptInstruction) Cpu.SetReg(kRegPc, Info.Pc + 2);
                    if (Info.Reason == StopReason::Lockup) break;
                }
            }
        }
        NumInstructions += aMachines[0]->m_Cpu.GetInstructions();
        QCOMPARE(aMachines[0]->m_Cpu.GetCycles(), aMachines[1]->m_Cpu.GetCycles());
        QVERIFY(aMachines[0]->GetState() == aMachines[1]->GetState());
        QVERIFY(aMachines[0]->m_Ram == aMachines[1]->m_Ram);
    }
    QVERIFY(NumInstructions > 20000);
}

QTEST_GUILESS_MAIN(tst_sim_system)
#include "tst_sim_system.moc"
