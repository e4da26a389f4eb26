// Programs on the simulated board, looked at through the probe library: breakpoints, data events,
// stepping, interrupts, peripherals, two cores. What the program is comes from nm and objdump.
#include "bench.h"

#include <QtTest>

#include <algorithm>
#include <atomic>
#include <thread>

using namespace Bench;

class tst_simtarget : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void breakpoints();
    void stepsLikeRunning();
    void stepsFollowListing();
    void dataEvents_data();
    void dataEvents();
    void dataValueEvent();
    void interruptsAndOutput();
    void uartInput();
    void cppExample();
    void twoRunsAreEqual();
    void realTimeIsLimited();
    void programFaults();
    void resetWhileRunning();
    void systemRegisters();
    void twoCores();
    void manyThreads();
    void sessionsUnderReads();
    void hugeCounts();

private:
    bool Load(const char* sName, const char* sLevel = "O0");
    U32 Symbol(const char* sName) const { return m_Symbols.value(sName, 0xFFFFFFFF); }

    QHash<QString, U32> m_Symbols;
    QString m_Elf;
};

bool tst_simtarget::Load(const char* sName, const char* sLevel)
{
    m_Elf = Example(sName, sLevel);
    m_Symbols = Symbols(m_Elf);
    return Connect("VS4F-512") && LoadElf(m_Elf) > 0 && !m_Symbols.isEmpty();
}

void tst_simtarget::initTestCase()
{
    QVERIFY2(QFile::exists(Example("blinky")), "the example programs are not built: tools/setup installs the cross compiler");
}

void tst_simtarget::breakpoints()
{
    for (const char* sLevel : {"O0", "O2"}) {
        QVERIFY(Load("blinky", sLevel));
        QCOMPARE(Pc(), Symbol("Reset_Handler"));
        QVERIFY(BRYLLOARM_SetBPEx(Symbol("main"), BRYLLO_BP_TYPE_ANY) > 0);
        QVERIFY(RunToHalt());
        QCOMPARE(Pc(), Symbol("main"));
        QVERIFY(BRYLLOARM_SetBPEx(Symbol("TIMER0_Handler"), BRYLLO_BP_TYPE_ANY) > 0);
        const U32 Events = Symbol("NumTimerEvents");
        for (U32 i = 0; i < 5; ++i) {
            QVERIFY(RunToHalt());
            QCOMPARE(Pc(), Symbol("TIMER0_Handler"));
            QCOMPARE(Word(Events), i);
            QCOMPARE(U32(Reg(BRYLLO_REG_XPSR)) & 0x1FF, 16u); // inside the first interrupt
        }
        QCOMPARE(BRYLLOARM_ClrBPEx(BRYLLO_HANDLE_ALL), 0);
        QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
        QCOMPARE(BRYLLOARM_IsHalted(), 0);
        QTRY_VERIFY(Word(Events) > 100);
        QCOMPARE(BRYLLOARM_Halt(), 0);
    }
}

void tst_simtarget::stepsLikeRunning()
{
    // From main through the first round with its sleeps and interrupts, once in one go and once
    // instruction by instruction: the same registers, the same cycle.
    QVERIFY(Load("blinky"));
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("main"), BRYLLO_BP_TYPE_ANY) > 0);
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("_NextRound"), BRYLLO_BP_TYPE_ANY) > 0);
    QVector<U64> aRuns[2];
    for (int Run = 0; Run < 2; ++Run) {
        QCOMPARE(BRYLLOARM_Reset(), 0);
        QVERIFY(RunToHalt());
        QCOMPARE(Pc(), Symbol("main"));
        const U64 Start = Reg(BRYLLO_REG_CYCLES);
        if (Run == 0) {
            QVERIFY(RunToHalt());
            QVERIFY(RunToHalt());
        } else {
            int NumSteps = 0;
            for (int Visits = 0; Visits < 2 && NumSteps < 500000; Visits += Pc() == Symbol("_NextRound")) {
                QCOMPARE(BRYLLOARM_Step(), 0);
                ++NumSteps;
            }
        }
        QCOMPARE(Pc(), Symbol("_NextRound"));
        for (U32 i = 0; i <= BRYLLO_REG_CONTROL; ++i) {
            aRuns[Run].append(Reg(i));
        }
        aRuns[Run].append(Reg(BRYLLO_REG_CYCLES) - Start);
        aRuns[Run].append(Word(Symbol("NumTicks")));
        aRuns[Run].append(Word(Symbol("NumTimerEvents")));
    }
    QVERIFY(aRuns[0].last() > 0);
    QCOMPARE(aRuns[0], aRuns[1]);
}

void tst_simtarget::stepsFollowListing()
{
    QVERIFY(Load("blinky"));
    const QList<CInst> Listing = Disassemble(m_Elf);
    QSet<U32> Starts;
    for (const CInst& Inst : Listing) {
        Starts.insert(Inst.Addr);
    }
    for (int i = 0; i < 3000; ++i) {
        QVERIFY2(Starts.contains(Pc()), qPrintable(QString::number(Pc(), 16)));
        QCOMPARE(BRYLLOARM_Step(), 0);
    }
}

void tst_simtarget::dataEvents_data()
{
    QTest::addColumn<QString>("Variable");
    QTest::addColumn<int>("Access");
    QTest::addColumn<int>("AccessMask");
    QTest::addColumn<U32>("AddrMask");
    QTest::addColumn<QString>("Mnemonic"); // pattern of the accessing instruction; empty: no hit
    QTest::newRow("word write") << "FibResult" << 5 << 0x10 << 0u << "^str\t";
    QTest::newRow("word read") << "FibResult" << 4 << 0x10 << 0u << "^ldr\t";
    QTest::newRow("either") << "FibResult" << 0 << 0x17 << 0u << "^(str|ldr)\t";
    QTest::newRow("half write") << "Signal" << 3 << 0x10 << 0x1Fu << "^strh";
    QTest::newRow("any size write") << "Signal" << 1 << 0x16 << 0x1Fu << "^str";
    QTest::newRow("float") << "Temperature" << 5 << 0x10 << 0u << "^v?str";
    QTest::newRow("byte write never") << "FibResult" << 1 << 0x10 << 0u << "";
    QTest::newRow("const read") << "aModes" << 4 << 0x10 << 0x7u << "^ldr";
}

void tst_simtarget::dataEvents()
{
    QFETCH(QString, Variable);
    QFETCH(int, Access);
    QFETCH(int, AccessMask);
    QFETCH(U32, AddrMask);
    QFETCH(QString, Mnemonic);
    QVERIFY(Load("blinky"));
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("main"), BRYLLO_BP_TYPE_ANY) > 0);
    QVERIFY(RunToHalt());
    BRYLLOARM_DATA_EVENT Event{
        28, 1, Symbol(Variable.toLatin1()), AddrMask, 0, ~0u, U8(Access), U8(AccessMask), 0};
    U32 Handle = 0;
    QCOMPARE(BRYLLOARM_SetDataEvent(&Event, &Handle), 0);
    if (Mnemonic.isEmpty()) {
        QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
        QTRY_VERIFY(Word(Symbol("NumTicks")) > 500);
        QCOMPARE(BRYLLOARM_IsHalted(), 0);
        QCOMPARE(BRYLLOARM_Halt(), 0);
        return;
    }
    const QList<CInst> Listing = Disassemble(m_Elf);
    for (int Hit = 0; Hit < 3; ++Hit) {
        QVERIFY(RunToHalt());
        // PC is the instruction after the accessing one, none further.
        const U32 HaltPc = Pc();
        const auto It =
            std::find_if(Listing.begin(), Listing.end(), [&](const CInst& i) { return i.Addr == HaltPc; });
        QVERIFY(It != Listing.end() && It != Listing.begin());
        QVERIFY2(std::prev(It)->Text.contains(QRegularExpression(Mnemonic)), qPrintable(std::prev(It)->Text));
    }
    QCOMPARE(BRYLLOARM_ClrDataEvent(Handle), 0);
    QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
    const U32 Ticks = Word(Symbol("NumTicks"));
    QTRY_VERIFY(Word(Symbol("NumTicks")) > Ticks + 500);
    QCOMPARE(BRYLLOARM_Halt(), 0);
}

void tst_simtarget::dataValueEvent()
{
    QVERIFY(Load("blinky"));
    BRYLLOARM_DATA_EVENT Event{28, 1, Symbol("NumTicks"), 0, 123, 0, 5, 0x10, 0};
    U32 Handle = 0;
    QCOMPARE(BRYLLOARM_SetDataEvent(&Event, &Handle), 0);
    QVERIFY(RunToHalt());
    QCOMPARE(Word(Symbol("NumTicks")), 123u);
    // Only the bits outside the mask are compared: the next count with low byte 0x10.
    QCOMPARE(BRYLLOARM_ClrDataEvent(Handle), 0);
    Event.Data = 0x10;
    Event.DataMask = 0xFFFFFF00;
    QCOMPARE(BRYLLOARM_SetDataEvent(&Event, &Handle), 0);
    QVERIFY(RunToHalt());
    QCOMPARE(Word(Symbol("NumTicks")), 0x110u);
    QVERIFY(RunToHalt());
    QCOMPARE(Word(Symbol("NumTicks")), 0x210u);
}

void tst_simtarget::interruptsAndOutput()
{
    QVERIFY(Load("blinky"));
    QString Output;
    QCOMPARE(Exec("Sim.UartRead"), 0); // what earlier programs have sent
    QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
    const auto HasAll = [&] {
        QString More;
        Exec("Sim.UartRead", &More);
        Output += More;
        return Output.contains("random 3");
    };
    QTRY_VERIFY_WITH_TIMEOUT(HasAll(), PATIENCE_MS);
    QCOMPARE(BRYLLOARM_Halt(), 0);
    const QStringList Lines = Output.split("\r\n");
    QCOMPARE(Lines[0], QString("Blinky"));
    const int aFib[] = {0, 1, 1, 2, 3, 5, 8, 13, 21, 34};
    static const QRegularExpression Form("^(chase|count|random) (\\d+): fib (\\d+), mean (\\d+)$");
    for (int i = 1; i < 28; ++i) {
        const auto Match = Form.match(Lines[i]);
        QVERIFY2(Match.hasMatch(), qPrintable(Lines[i]));
        QCOMPARE(Match.captured(3).toInt(), aFib[Match.captured(2).toInt() % 10]);
    }
    // A timer period is 16,000 cycles, a SysTick 16,000: they stay together.
    const qint64 Drift = qint64(Word(Symbol("NumTicks"))) - Word(Symbol("NumTimerEvents"));
    QVERIFY(Drift >= -2 && Drift <= 2);
    QCOMPARE(Word(0x40001004), Word(Symbol("State")) & 0xF); // the lights show the state
}

void tst_simtarget::uartInput()
{
    QVERIFY(Load("blinky"));
    QCOMPARE(BRYLLOARM_WriteU32(0x40003008, 1), 0); // port on
    QCOMPARE(Exec("Sim.UartFeed \"A\\x42\\n\""), 0);
    QCOMPARE(Word(0x40003004) & 2, 0u); // no time has gone by yet
    QCOMPARE(BRYLLOARM_SetBPEx(Symbol("main"), BRYLLO_BP_TYPE_ANY) > 0, true);
    QVERIFY(RunToHalt());
    QCOMPARE(BRYLLOARM_ClrBPEx(BRYLLO_HANDLE_ALL), 0);
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("_SumList"), BRYLLO_BP_TYPE_ANY) > 0);
    QVERIFY(RunToHalt());
    QVERIFY(RunToHalt()); // two rounds of 50 ms: all bytes are in
    for (U32 Expected : {U32('A'), U32('B'), U32('\n')}) {
        QCOMPARE(Word(0x40003004) & 2, 2u);
        QCOMPARE(Word(0x40003000), Expected);
    }
    QCOMPARE(Word(0x40003004) & 2, 0u);
}

void tst_simtarget::cppExample()
{
    for (const char* sLevel : {"O0", "O2"}) {
        QVERIFY(Load("cpp", sLevel));
        QString Output, More;
        Exec("Sim.UartRead", &More);
        QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
        QTRY_VERIFY((Exec("Sim.UartRead", &More), Output += More).count('\n') >= 4);
        QCOMPARE(BRYLLOARM_Halt(), 0);
        const QStringList Lines = Output.split("\r\n");
        QCOMPARE(Lines[0], QString("3 shapes, largest 25, square at 0,1")); // 5 * 5; constructors have run
        QCOMPARE(Lines[3], QString("3 shapes, largest 25, square at 6,4")); // 0 + 1 + 2 + 3
    }
}

void tst_simtarget::twoRunsAreEqual()
{
    QVERIFY(Load("blinky"));
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("_NextRound"), BRYLLO_BP_TYPE_ANY) > 0);
    QVector<U64> aRuns[2];
    for (QVector<U64>& Run : aRuns) {
        Exec(&Run == &aRuns[0] ? "Sim.SetSpeed max" : "Sim.SetSpeed 100000000"); // pace changes nothing
        QCOMPARE(Exec("Sim.PowerCycle"), 0);
        QCOMPARE(BRYLLOARM_Halt(), 0);
        QCOMPARE(BRYLLOARM_Reset(), 0);
        const U64 Start = Reg(BRYLLO_REG_CYCLES);
        for (int i = 0; i < 30; ++i) {
            QVERIFY(RunToHalt());
            Run << (Reg(BRYLLO_REG_CYCLES) - Start) << Reg(BRYLLO_REG_SP) << Word(Symbol("State"))
                << Word(Symbol("Signal") + 36);
        }
    }
    QCOMPARE(aRuns[0], aRuns[1]);
}

void tst_simtarget::realTimeIsLimited()
{
    QVERIFY(Load("blinky"));
    QCOMPARE(Exec("Sim.SetSpeed real"), 0);
    QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
    QElapsedTimer Timer;
    Timer.start();
    const qint64 Start = Query("Sim.Cycles");
    QTest::qWait(200);
    const qint64 NumCycles = Query("Sim.Cycles") - Start;
    const double Seconds = double(Timer.nsecsElapsed()) / 1e9;
    QCOMPARE(BRYLLOARM_Halt(), 0);
    // Never faster than the clock, give or take a slice; how much slower depends on the machine.
    QVERIFY2(double(NumCycles) <= (Seconds + 0.05) * 16e6, qPrintable(QString::number(NumCycles)));
    QVERIFY(NumCycles > 0);
}

void tst_simtarget::programFaults()
{
    QVERIFY(Load("blinky"));
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("main"), BRYLLO_BP_TYPE_ANY) > 0);
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("HardFault_Handler"), BRYLLO_BP_TYPE_ANY) > 0);
    QVERIFY(RunToHalt());
    // A store to flash by the program is a bus error, as is one into nowhere.
    for (U32 Addr : {0x1000u, 0xA0000000u}) {
        QCOMPARE(BRYLLOARM_WriteU16(0x20001000, 0x6001), 0); // str r1, [r0]
        QVERIFY(SetReg(0, Addr));
        QVERIFY(SetReg(BRYLLO_REG_PC, 0x20001000));
        QVERIFY(RunToHalt());
        QCOMPARE(Pc(), Symbol("HardFault_Handler"));
        U64 Cfsr = 0, Hfsr = 0;
        QCOMPARE(BRYLLOARM_ReadCPReg("CFSR", &Cfsr), 0);
        QCOMPARE(BRYLLOARM_ReadCPReg("hfsr", &Hfsr), 0);
        QVERIFY((Cfsr & 0x0600) != 0);            // a data bus error, precise or not
        QCOMPARE(Hfsr & 0x40000000, 0x40000000u); // escalated
        QCOMPARE(BRYLLOARM_Reset(), 0);
        QVERIFY(RunToHalt());
    }
    // Without a handler that can run the CPU locks up: it runs, and a halt gets hold of it.
    QVERIFY(Connect("VS4F-512"));
    QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
    QTest::qWait(20);
    QCOMPARE(BRYLLOARM_IsHalted(), 0);
    QCOMPARE(BRYLLOARM_Halt(), 0);
    QCOMPARE(BRYLLOARM_Reset(), 0);
}

void tst_simtarget::resetWhileRunning()
{
    QVERIFY(Load("blinky"));
    QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
    QTRY_VERIFY(Word(Symbol("NumTicks")) > 50);
    QCOMPARE(BRYLLOARM_Reset(), 0);
    QCOMPARE(BRYLLOARM_IsHalted(), 1);
    QCOMPARE(Pc(), Symbol("Reset_Handler"));
    QCOMPARE(Word(0x4000400C), 0u); // the timer stands
    QCOMPARE(Word(0x40004000), 0u);
    QVERIFY(Word(Symbol("NumTicks")) > 50); // RAM outlives a reset
    QCOMPARE(Word(0x40000004) & 2, 2u);     // reset cause: pin
    // A reset that the program asks for goes on running, and the cause tells.
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("main"), BRYLLO_BP_TYPE_ANY) > 0);
    QVERIFY(RunToHalt());
    QCOMPARE(BRYLLOARM_WriteU16(0x20001000, 0x6001), 0); // str r1, [r0]
    QCOMPARE(BRYLLOARM_WriteU16(0x20001002, 0xE7FE), 0); // b .
    QVERIFY(SetReg(0, 0xE000ED0C));
    QVERIFY(SetReg(1, 0x05FA0004));
    QVERIFY(SetReg(BRYLLO_REG_PC, 0x20001000));
    QVERIFY(RunToHalt());
    QCOMPARE(Pc(), Symbol("main"));
    QCOMPARE(Word(0x40000004) & 4, 4u);
}

void tst_simtarget::systemRegisters()
{
    QVERIFY(Load("blinky"));
    U64 Value = 0;
    QCOMPARE(BRYLLOARM_ReadCPReg("CPUID", &Value), 0);
    QCOMPARE(U32(Value) & 0xFF0FFFF0u, 0x410FC240u); // a Cortex-M4
    QCOMPARE(U32(Value), Word(0xE000ED00));
    QCOMPARE(BRYLLOARM_WriteCPReg("VTOR", 0x20000000), 0);
    QCOMPARE(Word(0xE000ED08), 0x20000000u);
    QVERIFY(BRYLLOARM_ReadCPReg("NOSUCH", &Value) < 0);
    // A project script writes the vector's content into PC, Thumb bit and all.
    QVERIFY(SetReg(BRYLLO_REG_PC, Word(4)));
    QCOMPARE(Word(4) & 1, 1u);
    QCOMPARE(Pc(), Symbol("Reset_Handler"));
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("main"), BRYLLO_BP_TYPE_ANY) > 0);
    QVERIFY(RunToHalt());
    QCOMPARE(Pc(), Symbol("main"));
    const U32 aIndex[] = {0, BRYLLO_REG_S0 + 3, 31, BRYLLO_REG_CYCLES};
    const U64 aWrite[] = {0x12345678, 0x3F800000, 1, 1};
    U64 aRead[4];
    U8 aStatus[4];
    QCOMPARE(BRYLLOARM_WriteRegs(aIndex, aWrite, aStatus, 4), 0);
    QCOMPARE(QByteArray((char*)aStatus, 4),
             QByteArray("\0\0\1\1", 4)); // 31 is none, the cycle count is read only
    QCOMPARE(BRYLLOARM_ReadRegs(aIndex, aRead, aStatus, 4), 0);
    QCOMPARE(aRead[0], aWrite[0]);
    QCOMPARE(aRead[1], aWrite[1]);
    QCOMPARE(aStatus[2], U8(1));
}

void tst_simtarget::twoCores()
{
    U32 LoopAddr;
    QVERIFY(BRYLLOARM_SetCoreIndex(0) == 0 && Connect("VS33-2CORE"));
    QVERIFY(LoadLoop(0, 0x20000000, &LoopAddr));
    QVERIFY(BRYLLOARM_SetCoreIndex(2) < 0);
    QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
    BRYLLOARM_Close();

    // The second core waits in reset; the debugger gets it out and runs it beside the first.
    QCOMPARE(BRYLLOARM_SetCoreIndex(1), 0);
    QVERIFY(!BRYLLOARM_Open());
    QCOMPARE(BRYLLOARM_Connect(), 0);
    QCOMPARE(BRYLLOARM_IsHalted(), 0);
    QCOMPARE(BRYLLOARM_Halt(), 0);
    QCOMPARE(Pc(), LoopAddr - 4);
    QCOMPARE(Reg(0), 0u);
    const U32 Before = Word(0x20000000);
    QTRY_VERIFY(Word(0x20000000) != Before); // the first runs on while this one stands
    QVERIFY(BRYLLOARM_SetBPEx(LoopAddr, BRYLLO_BP_TYPE_ANY) > 0);
    QVERIFY(RunToHalt());
    QCOMPARE(Pc(), LoopAddr);
    QVERIFY(RunToHalt());
    QCOMPARE(Reg(0), 1u);
    BRYLLOARM_Close();
    QCOMPARE(BRYLLOARM_SetCoreIndex(0), 0);
    QVERIFY(!BRYLLOARM_Open());
    QCOMPARE(BRYLLOARM_Connect(), 0);
    QCOMPARE(BRYLLOARM_IsHalted(), 0); // the other core's halt is not this one's
    QCOMPARE(BRYLLOARM_Halt(), 0);
}

void tst_simtarget::manyThreads()
{
    QVERIFY(Load("blinky"));
    QVERIFY(BRYLLOARM_SetBPEx(Symbol("_NextRound"), BRYLLO_BP_TYPE_ANY) > 0);
    std::atomic<bool> Quit = false;
    std::atomic<int> NumBad = 0, NumReads = 0;
    const U32 Vectors = Word(0);
    std::thread Reader([&] { // as the GUI thread does it
        while (!Quit) {
            U32 Value = 0;
            U8 Status = 1;
            NumBad += BRYLLOARM_ReadMemU32(0, 1, &Value, &Status) != 1 || Value != Vectors;
            NumBad += BRYLLOARM_IsHalted() < 0;
            ++NumReads;
        }
    });
    bool Ok = true;
    for (int i = 0; i < 40 && Ok; ++i) {
        Ok = RunToHalt() && Pc() == Symbol("_NextRound");
    }
    Quit = true;
    Reader.join();
    QVERIFY(Ok);
    QCOMPARE(NumBad.load(), 0);
    QVERIFY(NumReads > 0);
}

void tst_simtarget::sessionsUnderReads()
{
    // One thread opens, downloads, runs and closes; the other asks all the while. Neither may
    // crash or hang, and the thread sanitizer has a look at both.
    QVERIFY(Connect("VS4F-512"));
    QCOMPARE(Exec("Sim.FlashCost 1"), 0);
    std::atomic<bool> Quit = false;
    std::thread Reader([&] {
        while (!Quit) {
            U32 Value = 0, Index = BRYLLO_REG_PC;
            U64 Reg = 0;
            U8 Status = 0;
            BRYLLOARM_ReadMemU32(0x20000000, 1, &Value, &Status);
            BRYLLOARM_WriteU32(0x20000100, 1);
            BRYLLOARM_ReadRegs(&Index, &Reg, &Status, 1);
            BRYLLOARM_IsHalted();
            BRYLLOARM_FindBP(4);
            reinterpret_cast<BRYLLO_PFUNC_BMA>(BRYLLO_GetpFunc(BRYLLO_PFUNC_GET_BMA))();
            Query("Sim.Cycles");
        }
    });
    bool Ok = true;
    const char* const asDevices[] = {"VS4F-512", "VS33-2CORE", "VS3-512-BE", "VS0P-256-LP"};
    for (int i = 0; i < 24 && Ok; ++i) {
        U32 LoopAddr;
        BRYLLOARM_SetEndian(i & 1);
        Ok = Connect(asDevices[i % 4]) && LoadLoop(i % 4 == 3 ? 0x08000000 : 0, 0x20000000, &LoopAddr) &&
             BRYLLOARM_SetBPEx(LoopAddr, BRYLLO_BP_TYPE_ANY) > 0 && RunToHalt() && Pc() == LoopAddr;
        BRYLLOARM_GoEx(0, 1);
        if (i % 3 == 0) BRYLLOARM_Close();
    }
    Quit = true;
    Reader.join();
    QCOMPARE(Exec("Sim.FlashCost 0"), 0);
    QVERIFY(Ok);
}

void tst_simtarget::hugeCounts()
{
    QVERIFY(Load("blinky"));
    U8 Byte = 0;
    QVERIFY(BRYLLOARM_ReadMemEx(0, 0xFFFFFFFF, &Byte, 0) < 0);
    QVERIFY(BRYLLOARM_WriteMemEx(0, 0xFFFFFFFF, &Byte, 0) < 0);
    BRYLLOARM_BP_INFO Info{};
    QVERIFY(BRYLLOARM_GetBPInfoEx(0, &Info) < 0); // size not set
    Info.SizeOfStruct = sizeof(Info);
    QVERIFY(BRYLLOARM_GetBPInfoEx(1000000, &Info) < 0);
    QVERIFY(BRYLLOARM_GetBPInfoEx(-2, &Info) < 0);
    BRYLLOARM_WP_INFO Wp{};
    Wp.SizeOfStruct = sizeof(Wp);
    QVERIFY(BRYLLOARM_GetWPInfoEx(0, &Wp) < 0);
}

QTEST_GUILESS_MAIN(tst_simtarget)
#include "tst_simtarget.moc"
