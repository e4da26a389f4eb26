// Source steps over a real program: where they end, and what the listeners hear of it.
#include "devicerig.h"
#include "device/stepping/devicestepping.h"
#include "program/tables/prog.h"

#include <QTest>

class tst_devicestepping : public QObject {
    Q_OBJECT
    CDeviceRig& R = CDeviceRig::Get();

    /// Runs to a line's first instruction.
    bool GoTo(const char* sMarker)
    {
        R.Dev().ResetAsync(RM_RESET_HALT);
        if (!R.WaitHalted() || !R.RunTo(R.AddrOf(sMarker))) return false;
        R.pReports->Take();
        return true;
    }
    QString Step(int (CDevice::*pfStep)())
    {
        (R.Dev().*pfStep)();
        if (!R.WaitHalted()) return "no halt";
        return R.pReports->Take();
    }

private slots:
    void initTestCase() { QVERIFY(R.Connect()); }
    void cleanupTestCase() { R.Disconnect(); }
    void cleanup()
    {
        R.Dev().ClearAllBreakpointsAsync();
        QVERIFY(R.WaitSettled());
        QCOMPARE(R.Dev().State.HiddenBPAddr.Get(), ADDR64_NONE);
        QCOMPARE(int(R.Dev().State.SrcStepActive), 0);
        QCOMPARE(R.Dev().State.PendingJob.Get(), 0u);
    }

    void stepOver_data()
    {
        QTest::addColumn<QString>("From");
        QTest::addColumn<QString>("To");
        QTest::newRow("short line") << "first" << "second";
        QTest::newRow("straight code") << "straight" << "call";
        QTest::newRow("call, calls inside") << "call" << "aftercall";
        QTest::newRow("callee without line information") << "nolines" << "inlined";
        QTest::newRow("two calls in a line") << "twocalls" << "oneline";
        QTest::newRow("loop in a line") << "oneline" << "afterloop";
        QTest::newRow("end of a loop") << "test" << "loop";
        QTest::newRow("return to the caller") << "deep2" << "aftercall";
    }
    void stepOver()
    {
        QFETCH(QString, From);
        QFETCH(QString, To);
        QVERIFY(GoTo(From.toLatin1()));
        // A step may stop at the end of a function first, whose closing brace has a line of its own.
        QString Heard;
        for (int i = 0; i < 4 && R.CurrentLine() != R.Line(To.toLatin1()); i++) Heard += Step(&CDevice::StepOverAsync) + ' ';
        QCOMPARE(R.CurrentLine(), R.Line(To.toLatin1()));
        QVERIFY2(Heard.contains("stepover") || Heard.contains("halt"), qPrintable(Heard));
        QVERIFY(!Heard.contains("failed"));
    }

    void stepOverOfStraightLineRunsOnce()
    {
        // Two single steps, then one run to the next line's address.
        QVERIFY(GoTo("straight"));
        QCOMPARE(Step(&CDevice::StepOverAsync), QString("resume1 stepover"));
        QCOMPARE(R.Dev().GetPC(), R.AddrOf("call"));
        QVERIFY(R.Dev().State.PCStatus == DATA_VALID);
    }

    void inlinedCodeIsSteppedThrough()
    {
        QVERIFY(GoTo("inlined"));
        for (int i = 0; i < 3 && R.CurrentLine() != R.Line("twocalls"); i++) {
            Step(&CDevice::StepOverAsync);
            // None of the lines of the expansion ends the step.
            for (const char* s : {"inl2", "inl3"}) QVERIFY2(R.CurrentLine() != R.Line(s), s);
        }
        QCOMPARE(R.CurrentLine(), R.Line("twocalls"));
    }

    void breakpointInCalleeEndsTheStep()
    {
        QVERIFY(GoTo("call"));
        R.Dev().SetBreakpointAsync(R.AddrOf("leaf"), BP_STATE_ON, BP_TYPE_ANY);
        R.WaitSettled();
        R.pReports->Take();
        const QString Heard = Step(&CDevice::StepOverAsync);
        QCOMPARE(R.CurrentLine(), R.Line("leaf"));
        QVERIFY2(Heard.endsWith("halt2"), qPrintable(Heard));
        QVERIFY(!Heard.contains("stepover"));
    }

    void stepInto()
    {
        QVERIFY(GoTo("call"));
        QString Heard = Step(&CDevice::StepIntoAsync);
        QCOMPARE(Heard, QString("stepinto"));
        const ELF_SYM_HANDLE hFunc = PROG_GetFunctionAt(R.Dev().GetPC(), 1);
        QCOMPARE(PROG_GetSymName(hFunc, PROG_NAME_PLAIN), QString("Deep"));
        // Into code without lines: the PC stands in its first instruction.
        QVERIFY(GoTo("nolines"));
        Step(&CDevice::StepIntoAsync);
        QCOMPARE(R.Dev().GetPC(), R.Func("NoLines"));
        // From there a step over ends after one instruction.
        Step(&CDevice::StepOverAsync);
        QCOMPARE(R.Dev().GetPC(), R.Func("NoLines") + 2);
    }

    void stepOut()
    {
        QVERIFY(GoTo("leaf"));
        const U64 SP = R.Dev().State.SP;
        // Nobody has told the return address: single steps until the stack is popped.
        QCOMPARE(Step(&CDevice::StepOutAsync), QString("stepout"));
        QVERIFY(R.Dev().State.SP > SP);
        // With the return address one run does it, whatever line that is.
        QVERIFY(GoTo("leaf"));
        U64 LR = 0;
        QVERIFY(R.WaitHalted());
        LR = R.AddrOf("deep1") + 6; // behind the call, on the line of the call
        R.Target().SetReturnAddr(LR);
        QCOMPARE(Step(&CDevice::StepOutAsync), QString("resume1 stepout"));
        QCOMPARE(R.Dev().GetPC(), U32(LR));
    }

    void stepInst()
    {
        QVERIFY(GoTo("first"));
        const U32 PC = R.Dev().GetPC();
        QCOMPARE(Step(&CDevice::StepInstAsync), QString("stepinst"));
        QCOMPARE(R.Dev().GetPC(), PC + 2);
    }

    void stepOverAnInstructionLimit()
    {
        // 1200 instructions in a line, with branches, so that nothing can be run: the step ends where it stands.
        QVERIFY(GoTo("long"));
        const U32 Start = R.Dev().GetPC();
        QCOMPARE(Step(&CDevice::StepOverAsync), QString("stepover"));
        QCOMPARE(R.Dev().GetPC() - Start, MAX_STEP_INSTS / 2 * 6);
        QCOMPARE(Step(&CDevice::StepOverAsync), QString("stepover"));
        QCOMPARE(R.CurrentLine(), R.Line("afterlong"));
    }

    void notReady()
    {
        QVERIFY(GoTo("loop"));
        R.Dev().ContinueAsync(RESUME_NORMAL);
        QVERIFY(R.WaitFor([&] { return !R.Dev().IsHalted(); }));
        R.WaitSettled();
        R.pReports->Take();
        R.Dev().StepOverAsync();
        R.Dev().RunToAsync(R.AddrOf("loop"));
        QVERIFY(R.WaitSettled());
        QCOMPARE(R.pReports->Take(), QString()); // a step of a running target is no news
        R.Dev().HaltAsync();
        QVERIFY(R.WaitHalted());
        QCOMPARE(R.pReports->Take(), QString("halt0"));
    }
};

QTEST_GUILESS_MAIN(tst_devicestepping)
#include "tst_devicestepping.moc"
