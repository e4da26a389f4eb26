// Source breakpoints, conditions, skip counts and extras over a real program.
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/breakpoints/breakpointtext.h"
#include "devicerig.h"
#include "program/tables/prog.h"
#include "project/settings/sysvars.h"

#include <QSignalSpy>
#include <QTest>

class tst_devicebreakpoints : public QObject {
    Q_OBJECT
    CDeviceRig& R = CDeviceRig::Get();
    CBreakpointsDataModel& M() { return CBreakpointsDataModel::Get(); }
    BP_COND_RESULT m_Result;
    std::function<void()> m_OnEval;
    U64 m_CurrTask = 0;
    QStringList m_Shown;

    void SetSource(const char* sMarker, BP_STATES State = BP_STATE_ON)
    {
        M().SetSourceBreakpoint(R.Loc(sMarker), State, BP_TYPE_ANY);
        R.WaitSettled();
    }
    bool Go()
    {
        R.pReports->Take();
        R.Dev().ContinueAsync(RESUME_NORMAL);
        return R.WaitFor([this] { return !R.Dev().IsHalted() || R.Dev().GetCounters().Executed > 0; }) && R.WaitHalted();
    }
    void Edit(U32 Addr, const std::function<void(CBreakpoint&)>& Change)
    {
        CBreakpoint Record = M().GetBreakpoint(Addr);
        Change(Record);
        M().EditBreakpoint(Record);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(R.SetUp());
        BREAKPOINT_HOOKS Hooks;
        Hooks.EvalCondition = [this](const QString&, U32) {
            if (m_OnEval) m_OnEval();
            return m_Result;
        };
        Hooks.FindTaskId = [](const QString& s) { return s == "Idle" ? U64(5) : U64(0); };
        Hooks.GetCurrTaskId = [this] { return m_CurrTask; };
        Hooks.CallScript = [this](const QString& s) { m_Shown << "call " + s; };
        Hooks.ShowConsoleMsg = [this](const QString& s) { m_Shown << "console " + s; };
        Hooks.ShowPopupMsg = [this](const QString& t, const QString& s) { m_Shown << t + ' ' + s; };
        BP_SetHooks(Hooks);
        M();
        QVERIFY(R.Connect());
    }
    void cleanupTestCase() { R.Disconnect(); }
    void init()
    {
        m_Result = {};
        m_Result.Value = 1;
        m_OnEval = {};
        m_CurrTask = 0;
        R.Dev().ResetAsync(RM_RESET_HALT);
        QVERIFY(R.WaitHalted());
        QVERIFY(R.RunTo(R.Func("main")));
        M().ClearAll();
        R.WaitSettled();
    }

    void sourceLineToAddress()
    {
        SetSource("call");
        const U32 Addr = R.AddrOf("call");
        QCOMPARE(CBreakpointsDataModel::GetDerivedAddrs(R.Loc("call")), QList<U32>{Addr});
        QCOMPARE(M().GetBreakpoint(R.Loc("call")).State, U32(BP_STATE_ON));
        QVERIFY(M().GetBreakpoint(Addr).Derived);
        QVERIFY(!M().HasBreakpointOnLine(R.Loc("call")));
        QCOMPARE(M().GetBreakpoints(false).size(), 1);
        QCOMPARE(M().GetBreakpoints(true).size(), 2);
        QVERIFY(Go());
        QCOMPARE(R.Dev().GetPC(), Addr);
        M().ClearSourceBreakpoint(R.Loc("call"));
        R.WaitSettled();
        QVERIFY(M().GetBreakpoints(true).isEmpty());
        QCOMPARE(R.Target().Lists.BpListGetCount(), 0u);
    }

    void lineWithoutCodeMovesOn()
    {
        const CSrcLoc Loop = R.Loc("loop");
        const CSrcLoc Blank(Loop.File, R.Line("end") + 3); // behind Reset_Handler, before Fault_Handler
        QCOMPARE(CBreakpointsDataModel::GetCodeLine(Loop), Loop);
        const CSrcLoc Moved = CBreakpointsDataModel::GetCodeLine(Blank);
        QVERIFY(Moved.Line > Blank.Line && PROG_GetFirstAddr(Moved) >= 0);
        // A line behind all code, and one of no file.
        const CSrcLoc Far(Loop.File, 100000);
        QCOMPARE(CBreakpointsDataModel::GetCodeLine(Far), Far);
        M().SetSourceBreakpoint(CSrcLoc(), BP_STATE_ON, BP_TYPE_ANY);
        R.WaitSettled();
        QVERIFY(M().GetBreakpoints(true).isEmpty());
    }

    void severalPlacesOfALine()
    {
        // The head of a loop is compiled in two places, before and behind its body.
        const CSrcLoc Loc = R.Loc("head");
        const QList<U32> Addrs = CBreakpointsDataModel::GetDerivedAddrs(Loc);
        QCOMPARE(Addrs.size(), 2);
        QVERIFY(Addrs.size() < PROG_GetAddrs(Loc).size()); // the first of each run only
        QVERIFY(R.AddrOf("body") > Addrs[0] && R.AddrOf("body") < Addrs[1]);
        SetSource("head");
        for (U32 Addr : Addrs) QVERIFY(M().GetBreakpoint(Addr).State == BP_STATE_ON && M().GetBreakpoint(Addr).Derived);
        QCOMPARE(M().GetBreakpoint(Loc).State, U32(BP_STATE_ON));
        R.Dev().SetBreakpointAsync(Addrs[0], BP_STATE_DISABLED, BP_TYPE_ANY);
        R.WaitSettled();
        QCOMPARE(M().GetBreakpoint(Loc).State, U32(BP_STATE_MIXED));
        M().SetSourceBreakpoint(Loc, BP_STATE_MIXED, BP_TYPE_ANY); // each keeps its own state
        R.WaitSettled();
        QCOMPARE(M().GetBreakpoint(Addrs[0]).State, U32(BP_STATE_DISABLED));
        QCOMPARE(M().GetBreakpoint(Addrs[1]).State, U32(BP_STATE_ON));
        R.Dev().SetBreakpointAsync(Addrs[0], BP_STATE_ON, BP_TYPE_SOFT);
        R.WaitSettled();
        QCOMPARE(M().GetBreakpoint(Loc).PermittedImpl, U32(BP_TYPE_MIXED));
    }

    void extrasGoToTheDerived()
    {
        SetSource("work");
        CBreakpoint Record = M().GetBreakpoint(R.Loc("work"));
        Record.ConsoleMsg = "hello";
        Record.ScriptCallback = "OnHit";
        Record.PopupMsg = "box";
        M().EditBreakpoint(Record);
        const U32 Addr = R.AddrOf("work");
        QCOMPARE(M().GetBreakpoint(Addr).ConsoleMsg, QString("hello"));
        QVERIFY(!R.Target().GetBreakpoint(Addr).HasCondition); // they act at a halt that happens anyway
        QVERIFY(Go());
        m_Shown.clear();
        M().OnBreakpointHalt(R.Dev().GetPC());
        QCOMPARE(m_Shown, (QStringList{"call OnHit", "console hello", "Breakpoint box"}));
        Record.SkipCount = 1;
        M().EditBreakpoint(Record);
        QVERIFY(R.Target().GetBreakpoint(Addr).HasCondition);
        // Disabled and enabled again: the device's entry is new, the mark comes back with the mirroring.
        SetSource("work", BP_STATE_DISABLED);
        SetSource("work", BP_STATE_ON);
        QVERIFY(R.Target().GetBreakpoint(Addr).HasCondition);
        M().OnBreakpointHalt(0x1234); // nothing there
    }

    void skipCounts_data()
    {
        QTest::addColumn<bool>("Reload");
        QTest::addColumn<QList<int>>("HaltsAt");
        QTest::newRow("once") << false << QList<int>{3, 4, 5};
        QTest::newRow("reload") << true << QList<int>{3, 6, 9};
    }
    void skipCounts()
    {
        QFETCH(bool, Reload);
        QFETCH(QList<int>, HaltsAt);
        const U32 Addr = R.AddrOf("work2"); // g_Count has just been counted
        R.Dev().SetBreakpointAsync(Addr, BP_STATE_ON, BP_TYPE_ANY);
        R.WaitSettled();
        Edit(Addr, [&](CBreakpoint& b) {
            b.SkipCount = 2;
            b.ReloadSkip = Reload;
        });
        for (int n : HaltsAt) {
            QVERIFY(Go());
            QCOMPARE(R.Var("g_Count"), U32(n));
            QVERIFY(R.pReports->Take().endsWith("halt2"));
        }
        QCOMPARE(M().GetBreakpoint(Addr).HitCount, U64(HaltsAt.last()));
    }

    void conditions_data()
    {
        QTest::addColumn<int>("Kind");
        QTest::addColumn<I64>("Value");
        QTest::addColumn<bool>("Met");
        QTest::newRow("true") << int(BP_COND_VALUE) << I64(7) << true;
        QTest::newRow("false") << int(BP_COND_VALUE) << I64(0) << false;
        QTest::newRow("syntax error halts") << int(BP_COND_PARSE_ERROR) << I64(0) << true;
        QTest::newRow("evaluation error doesn't") << int(BP_COND_EVAL_ERROR) << I64(0) << false;
        QTest::newRow("no result") << int(BP_COND_NO_RESULT) << I64(0) << true;
        QTest::newRow("unreadable") << int(BP_COND_UNREADABLE) << I64(0) << true;
    }
    void conditions()
    {
        QFETCH(int, Kind);
        QFETCH(I64, Value);
        QFETCH(bool, Met);
        const U32 Addr = R.AddrOf("work");
        R.Dev().SetBreakpointAsync(Addr, BP_STATE_ON, BP_TYPE_ANY);
        R.WaitSettled();
        Edit(Addr, [](CBreakpoint& b) { b.Condition = "x"; });
        m_Result.Kind = Kind;
        m_Result.Value = Value;
        QCOMPARE(M().EvalHit(Addr), Met);
        QVERIFY(M().EvalHit(0x4444)); // no record: met
    }

    void conditionReadsTheTarget()
    {
        // The condition is evaluated while the halt is not published; it reads the stopped target all the same,
        // on a device without background access too.
        R.Sim("Sim.SetCap BMA 0");
        R.Dev().DisconnectAsync();
        R.Dev().ConnectAsync(CM_ATTACH);
        QVERIFY(R.WaitHalted());
        const U32 Addr = R.AddrOf("work2");
        R.Dev().SetBreakpointAsync(Addr, BP_STATE_ON, BP_TYPE_ANY);
        R.WaitSettled();
        Edit(Addr, [](CBreakpoint& b) { b.Condition = "g_Count == 5"; });
        m_OnEval = [this] {
            U32 Count = 0;
            m_Result.Kind = R.Target().ReadMemBlocking(R.VarAddr("g_Count"), nullptr, 4, &Count, nullptr) < 0
                                ? BP_COND_EVAL_ERROR
                                : BP_COND_VALUE;
            m_Result.Value = Count == 5;
        };
        QVERIFY(Go());
        QCOMPARE(R.Var("g_Count"), 5u);
        R.Sim("Sim.ResetCaps");
    }

    void triggerOnChange()
    {
        const U32 Addr = R.AddrOf("work");
        R.Dev().SetBreakpointAsync(Addr, BP_STATE_ON, BP_TYPE_ANY);
        R.WaitSettled();
        Edit(Addr, [](CBreakpoint& b) {
            b.Condition = "x";
            b.TriggerOnChange = true;
        });
        auto Hit = [&](I64 Value) {
            m_Result.Value = Value;
            return M().EvalHit(Addr);
        };
        QVERIFY(!Hit(3)); // the first is only remembered
        QVERIFY(!Hit(3));
        QVERIFY(Hit(4));
        QVERIFY(!Hit(4));
        QVERIFY(Hit(0));
        QCOMPARE(M().GetBreakpoint(Addr).LastValue, I64(0));
        Edit(Addr, [](CBreakpoint& b) { b.Condition = "y"; });
        QVERIFY(!Hit(9)); // another condition starts anew
    }

    void taskFilter_data()
    {
        QTest::addColumn<QString>("Task");
        QTest::addColumn<U64>("Current");
        QTest::addColumn<bool>("Met");
        QTest::newRow("number") << "0x10" << U64(16) << true;
        QTest::newRow("other number") << "17" << U64(16) << false;
        QTest::newRow("name") << "Idle" << U64(5) << true;
        QTest::newRow("unknown name is id 0") << "Nobody" << U64(0) << true;
        QTest::newRow("unknown name, a task runs") << "Nobody" << U64(3) << false;
    }
    void taskFilter()
    {
        QFETCH(QString, Task);
        QFETCH(U64, Current);
        const U32 Addr = R.AddrOf("work");
        R.Dev().SetBreakpointAsync(Addr, BP_STATE_ON, BP_TYPE_ANY);
        R.WaitSettled();
        Edit(Addr, [&](CBreakpoint& b) { b.TaskName = Task; });
        m_CurrTask = Current;
        QTEST(M().EvalHit(Addr), "Met");
    }

    void sentAgainAfterConnect()
    {
        SetSource("call");
        SetSource("deep2");
        R.Dev().SetBreakpointAsync(R.Func("NoLines"), BP_STATE_DISABLED, BP_TYPE_ANY);
        R.WaitSettled();
        R.Dev().DisconnectAsync();
        R.WaitSettled();
        R.Target().Lists.BpListRemove(R.Target().Lists.BpListFind(R.AddrOf("deep2"))); // as after a start
        R.Dev().ConnectAsync(CM_DOWNLOAD_RESET);
        R.WaitSettled();
        // What is in flash now is about to be overwritten: nothing is sent before the download.
        QCOMPARE(R.Target().GetBreakpoint(R.AddrOf("deep2")).State, U32(BP_STATE_OFF));
        M().OnDataFileDownloaded("");
        R.WaitSettled();
        QCOMPARE(R.Target().GetBreakpoint(R.AddrOf("deep2")).State, U32(BP_STATE_OFF));
        M().OnDataFileDownloaded("steps.elf");
        R.WaitSettled();
        QCOMPARE(R.Target().GetBreakpoint(R.AddrOf("deep2")).State, U32(BP_STATE_ON));
        QCOMPARE(R.Target().GetBreakpoint(R.Func("NoLines")).State, U32(BP_STATE_DISABLED));
        R.Dev().ResetAsync(RM_RESET_HALT);
        QVERIFY(R.WaitHalted());
        R.Target().StartDebugSession();
        QVERIFY(Go());
        QCOMPARE(R.Dev().GetPC(), R.AddrOf("call"));
    }

    void resetClearsCounters()
    {
        SetSource("work");
        QVERIFY(Go());
        QVERIFY(Go());
        QCOMPARE(M().GetBreakpoint(R.AddrOf("work")).HitCount, U64(2));
        R.Dev().ResetAsync(RM_RESET_HALT);
        QVERIFY(R.WaitHalted());
        QCOMPARE(M().GetBreakpoint(R.AddrOf("work")).HitCount, U64(0));
    }

    void typeOfAllFollowsTheVariable()
    {
        SetSource("work");
        R.Dev().SetBreakpointAsync(R.AddrOf("leaf"), BP_STATE_ON, BP_TYPE_ANY);
        R.WaitSettled();
        SetVar(VAR_BREAKPOINT_TYPE, BP_TYPE_SOFT, false);
        R.WaitSettled();
        QCOMPARE(M().GetBreakpoint(R.AddrOf("work")).ActualImpl, U32(BP_TYPE_FLASH));
        QCOMPARE(M().GetBreakpoint(R.AddrOf("leaf")).ActualImpl, U32(BP_TYPE_FLASH));
        QVERIFY(CBreakpointsDataModel::ExtrasText(M().GetBreakpoint(R.AddrOf("leaf"))).contains("Type=BP_TYPE_FLASH"));
        SetVar(VAR_BREAKPOINT_TYPE, BP_TYPE_ANY, false);
        R.WaitSettled();
    }

    void restoreFromSession()
    {
        CBreakpoint Record = BP_FromText(QString("Breakpoint=%1, State=BP_STATE_ON, Condition=\"a, b\", SkipCount=4")
                                             .arg(PROG_GetSrcLocText(R.Loc("work"))));
        QCOMPARE(Record.Loc, R.Loc("work"));
        M().RestoreBreakpoint(Record);
        const CBreakpoint Derived = M().GetBreakpoint(R.AddrOf("work"));
        QCOMPARE(Derived.State, U32(BP_STATE_ON));
        QCOMPARE(Derived.Condition, QString("a, b"));
        QVERIFY(R.Target().GetBreakpoint(R.AddrOf("work")).HasCondition);
        QCOMPARE(BP_ToText(M().GetBreakpoint(R.Loc("work"))), BP_ToText(Record));
    }
};

QTEST_GUILESS_MAIN(tst_devicebreakpoints)
#include "tst_devicebreakpoints.moc"
