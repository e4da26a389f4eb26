// The break and tracepoints window and the local data window with made-up lists.
#include "views/debug/breakpointsviewmodel.h"
#include "views/debug/breakpointwindow.h"
#include "views/debug/localsviewmodel.h"
#include "views/debug/localswindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/treeview.h"
#include "modelfaults.h"
#include "viewsenv.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QSignalSpy>
#include <QTest>

namespace {

VIEW_BREAKPOINT MakePoint(VIEW_BREAKPOINT::KINDS Kind, const QString& sLocation, U32 Addr, U32 Line = 0, U32 State = BP_STATE_ON)
{
    VIEW_BREAKPOINT Point;
    Point.Kind = Kind;
    Point.sLocation = sLocation;
    Point.Addr = Addr;
    Point.State = State;
    if (Line) Point.Loc = CSrcLoc(1, Line);
    return Point;
}

VIEW_SYMBOL MakeSymbol(const QString& sName, int Value, const QString& sLocation, const QString& sType = QStringLiteral("int"))
{
    VIEW_SYMBOL Symbol;
    Symbol.sName = sName;
    Symbol.sValue = QString::number(Value);
    Symbol.sLocation = sLocation;
    Symbol.Size = 4;
    Symbol.sType = sType;
    Symbol.SortValue = U64(I64(Value));
    Symbol.IsValueValid = true;
    return Symbol;
}

} // namespace

class tst_breaklocals : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { InitViewsForTest(); }
    void init();
    void breakpointRows();
    void stateBoxPerformsCommand_data();
    void stateBoxPerformsCommand();
    void actionsFollowSelection();
    void clearAllAsksFirst();
    void foldingSurvivesNewRows();
    void clickShowsPlace();
    void localsUnfoldLazily();
    void localsKeepFoldingAndMarkChanges();
    void localsOfAnotherFunction();
    void localsAsText();
    void localsWhileRunning();
    void pictures();

private:
    void Halt(CWindow& Window, bool IsStep = true);
    QModelIndex FindLocal(const CLocalsWindow& Window, const QString& sName) const;
    QPair<QString, QStringList> LastCommand() const { return m_Target.Commands.isEmpty() ? QPair<QString, QStringList>() : m_Target.Commands.last(); }

    CTestTarget m_Target;
    QList<VIEW_BREAKPOINT> m_Points;
    QString m_sFunction;
    int m_Count = 0;        ///< value of "count"
    int m_X = 0;            ///< value of "p->x"
    QList<QStringList> m_Asked;
};

void tst_breaklocals::init()
{
    m_Target = CTestTarget();
    m_Target.PC = 0x08000100;
    m_Target.Install();
    m_Points.clear();
    m_Points.append(MakePoint(VIEW_BREAKPOINT::CODE, QStringLiteral("main.c:20"), ADDR_NONE, 20, BP_STATE_MIXED));
    m_Points.last().Derived = {MakePoint(VIEW_BREAKPOINT::CODE, QStringLiteral("0x08000100"), 0x08000100),
                               MakePoint(VIEW_BREAKPOINT::CODE, QStringLiteral("0x08000120"), 0x08000120, 0, BP_STATE_DISABLED)};
    m_Points.append(MakePoint(VIEW_BREAKPOINT::CODE, QStringLiteral("0x08000200"), 0x08000200));
    m_Points.last().sImpl = QStringLiteral("Hard");
    m_Points.last().sExtras = QStringLiteral("count > 3");
    m_Points.append(MakePoint(VIEW_BREAKPOINT::DATA, QStringLiteral("counter"), 0x20000010));
    m_Points.last().sExpression = QStringLiteral("counter");
    m_Points.last().CommandParams = QStringList{"0x20000010", "0x3", "2", "0", "0x0", "0xffffffff"};
    m_Points.append(MakePoint(VIEW_BREAKPOINT::DATA, QStringLiteral("0x20000020"), 0x20000020, 0, BP_STATE_DISABLED));
    m_Points.last().CommandParams = QStringList{"0x20000020", "0x0", "1", "0", "0x5", "0xff"};
    m_Points.append(MakePoint(VIEW_BREAKPOINT::TRACE_STOP, QStringLiteral("main.c:30"), 0x08000300));
    m_sFunction = QStringLiteral("main");
    m_Count = 3;
    m_X = 7;
    m_Asked.clear();

    DEBUG_VIEW_HOOKS Hooks;
    Hooks.GetBreakpoints = [this] { return m_Points; };
    Hooks.GetSrcLoc = [](U32 PC) { return PC == 0x08000200 ? CSrcLoc(1, 44) : CSrcLoc(); };
    Hooks.GetSelectedFrame = [] { return 0; };
    Hooks.GetNumFrames = [] { return 1; };
    Hooks.GetFrame = [this](int) {
        VIEW_FRAME Frame;
        Frame.sFunction = m_sFunction;
        return Frame;
    };
    // p points to itself through its member next, as a list may.
    Hooks.GetLocals = [this](const QStringList& Path) -> QList<VIEW_SYMBOL> {
        m_Asked.append(Path);
        if (Path.isEmpty()) {
            QList<VIEW_SYMBOL> Rows{MakeSymbol(QStringLiteral("count"), m_Count, QStringLiteral("R4")), MakeSymbol(QStringLiteral("p"), 0x20000100, QStringLiteral("20000004"), QStringLiteral("struct NODE *"))};
            Rows[1].HasMembers = true;
            if (m_sFunction != QLatin1String("main")) Rows.removeAt(1);
            return Rows;
        }
        if (Path.last() != QLatin1String("p") && Path.last() != QLatin1String("next")) return {};
        QList<VIEW_SYMBOL> Rows{MakeSymbol(QStringLiteral("x"), m_X, QStringLiteral("20000100")), MakeSymbol(QStringLiteral("next"), 0x20000100, QStringLiteral("20000104"), QStringLiteral("struct NODE *"))};
        Rows[1].HasMembers = true;
        return Rows;
    };
    SetDebugViewHooks(Hooks);
}

void tst_breaklocals::Halt(CWindow& Window, bool IsStep)
{
    m_Target.Connected = m_Target.Halted = true;
    if (IsStep) Window.OnDeviceStepped(m_Target.PC);
    else Window.OnDeviceHaltDone(m_Target.PC, HR_BREAKPOINT);
    QTRY_VERIFY(!Window.IsUpdatePending());
}

QModelIndex tst_breaklocals::FindLocal(const CLocalsWindow& Window, const QString& sName) const
{
    const QModelIndexList Found = Window.GetModel()->match(Window.GetModel()->index(0, 0), Qt::DisplayRole, sName, 1, Qt::MatchExactly | Qt::MatchRecursive);
    return Found.isEmpty() ? QModelIndex() : Found.first();
}

void tst_breaklocals::breakpointRows()
{
    const CModelFaults Faults;
    CBreakpointWindow Window;
    QAbstractItemModelTester Tester(Window.GetModel(), QAbstractItemModelTester::FailureReportingMode::Warning);
    QCOMPARE(Window.GetText(0), (QStringList{"[ ]\tCode\tmain.c:20\t", "[x]\tCode (Hard)\t0x08000200\tcount > 3", "[x]\tData\tcounter\t",
                                             "[ ]\tData\t0x20000020\t", "[x]\tTrace Stop\tmain.c:30\t"}));
    QCOMPARE(Window.GetText(1).value(2), QStringLiteral("  [ ]\tCode\t0x08000120\t"));
    QCOMPARE(Window.GetModel()->index(0, 0).data(Qt::CheckStateRole).toInt(), int(Qt::PartiallyChecked));
    m_Points.removeAt(1);
    Window.OnBreakpointsChanged();
    m_Points.clear();
    Window.OnBreakpointsChanged();
    QCOMPARE(Window.GetText(), QStringList{"No breakpoints set"});
    QVERIFY2(Faults.Get().isEmpty(), qPrintable(Faults.Get().join(u'\n')));
}

void tst_breaklocals::stateBoxPerformsCommand_data()
{
    QTest::addColumn<int>("Row");
    QTest::addColumn<int>("Child");
    QTest::addColumn<QString>("Command");
    QTest::addColumn<QStringList>("Params");
    QTest::newRow("mixed line") << 0 << -1 << "Break.EnableOnSrc" << QStringList{"main.c:20"};
    QTest::newRow("derived, off") << 0 << 1 << "Break.Enable" << QStringList{"0x08000120"};
    QTest::newRow("derived, on") << 0 << 0 << "Break.Disable" << QStringList{"0x08000100"};
    QTest::newRow("address") << 1 << -1 << "Break.Disable" << QStringList{"0x08000200"};
    QTest::newRow("symbol") << 2 << -1 << "Break.DisableOnSymbol" << QStringList{"counter", "2", "0", "0x0", "0xffffffff"};
    QTest::newRow("data address") << 3 << -1 << "Break.EnableOnData" << QStringList{"0x20000020", "0x0", "1", "0", "0x5", "0xff"};
    QTest::newRow("tracepoint") << 4 << -1 << "Trace.DisablePoint" << QStringList{"0x08000300"};
}

void tst_breaklocals::stateBoxPerformsCommand()
{
    QFETCH(int, Row);
    QFETCH(int, Child);
    QFETCH(QString, Command);
    QFETCH(QStringList, Params);
    CBreakpointWindow Window;
    Window.resize(500, 300);
    Window.show();
    Window.ExpandAll();
    QModelIndex Index = Window.GetModel()->index(Row, 0);
    if (Child >= 0) Index = Window.GetModel()->index(Child, 0, Index);
    QTest::qWait(0);
    const QRect Cell = Window.GetView()->visualRect(Window.MapToView(Index));
    QTest::mouseClick(Window.GetView()->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(Cell.left() + 11, Cell.center().y()));
    QCOMPARE(m_Target.Commands.size(), 1);
    QCOMPARE(LastCommand(), qMakePair(Command, Params));
}

void tst_breaklocals::actionsFollowSelection()
{
    CBreakpointWindow Window;
    const auto IsEnabled = [&](const char* sName) { return Window.findChild<QAction*>(QLatin1String(sName))->isEnabled(); };
    QVERIFY(!IsEnabled("actionBPClear"));
    Window.SetCurrentItem(Window.GetModel()->index(0, 2));
    QVERIFY(IsEnabled("actionBPClear") && IsEnabled("actionBPEnable") && !IsEnabled("actionBPDisable") && !IsEnabled("actionBPClearWP"));
    // A key means one action only.
    QSet<QKeySequence> Keys;
    for (const QAction* pAction : Window.actions())
        for (const QKeySequence& Key : pAction->isEnabled() ? pAction->shortcuts() : QList<QKeySequence>()) {
            QVERIFY2(!Keys.contains(Key), qPrintable(pAction->objectName()));
            Keys.insert(Key);
        }
    Window.findChild<QAction*>(QStringLiteral("actionBPClear"))->trigger();
    QCOMPARE(LastCommand(), qMakePair(QStringLiteral("Break.ClearOnSrc"), QStringList{"main.c:20"}));
    // A derived breakpoint goes with its line.
    Window.SetCurrentItem(Window.GetModel()->index(0, 2, Window.GetModel()->index(0, 0)));
    QVERIFY(!IsEnabled("actionBPClear") && IsEnabled("actionBPDisable"));
    // What was cleared can be set again.
    Window.SetCurrentItem(Window.GetModel()->index(1, 2));
    QVERIFY(!IsEnabled("actionBPSet"));
    m_Points = {m_Points[2]};
    Window.GetView()->setCurrentIndex(QModelIndex());
    Window.OnBreakpointsChanged();
    QVERIFY(IsEnabled("actionBPSet") && !IsEnabled("actionBPClear"));
    Window.findChild<QAction*>(QStringLiteral("actionBPSet"))->trigger();
    QCOMPARE(LastCommand(), qMakePair(QStringLiteral("Break.Set"), QStringList{"0x08000200"}));
    Window.SetCurrentItem(Window.GetModel()->index(0, 1));
    QCOMPARE(Window.GetClearAllPostfix(), QStringLiteral("Data Breakpoints"));
    QVERIFY(IsEnabled("actionBPClearAllWP") && !IsEnabled("actionBPClearAllBP") && !IsEnabled("actionBPClearAllTP"));
}

void tst_breaklocals::clearAllAsksFirst()
{
    CBreakpointWindow Window;
    QVERIFY(Window.IsContentsModifiable() && Window.TestFlag(WF_CONFIRM_CLEAR));
    int Answer = QDialogButtonBox::No;
    QStringList Asked;
    CMessageBox::SetInterceptor([&](const QString& sTitle, const QString& sText, CMessageBox::BUTTONS) {
        Asked.append(sTitle + u'|' + sText);
        return Answer;
    });
    struct CASE { const char* sAction; const char* sQuestion; const char* sCommand; };
    for (const CASE& Case : {CASE{"actionBPClearAllBP", "Clear All|Clear all Breakpoints? ", "Break.ClearAll"},
                             CASE{"actionBPClearAllWP", "Clear All|Clear all Data Breakpoints? ", "Break.ClearAllOnData"},
                             CASE{"actionBPClearAllTP", "Clear All|Clear all Tracepoints? ", "Trace.ClearAllPoints"}}) {
        auto* pAction = Window.findChild<QAction*>(QLatin1String(Case.sAction));
        Answer = QDialogButtonBox::No;
        pAction->trigger();
        QVERIFY(m_Target.Commands.isEmpty());
        QCOMPARE(Asked.last(), QLatin1String(Case.sQuestion));
        Answer = QDialogButtonBox::Yes;
        pAction->trigger();
        QCOMPARE(LastCommand().first, QLatin1String(Case.sCommand));
        m_Target.Commands.clear();
    }
    Asked.clear();
    Window.SetCurrentItem(Window.GetModel()->index(2, 2)); // a data breakpoint
    Window.Clear();                                        // a command doesn't ask
    QVERIFY(Asked.isEmpty());
    QCOMPARE(LastCommand().first, QStringLiteral("Break.ClearAllOnData"));
    CMessageBox::SetInterceptor({});
}

void tst_breaklocals::foldingSurvivesNewRows()
{
    CBreakpointWindow Window;
    Window.GetView()->SetExpanded(Window.MapToView(Window.GetModel()->index(0, 0)), true);
    Window.SetCurrentItem(Window.GetModel()->index(1, 1, Window.GetModel()->index(0, 0)));
    m_Points.prepend(MakePoint(VIEW_BREAKPOINT::CODE, QStringLiteral("a.c:1"), ADDR_NONE, 1));
    Window.OnBreakpointsChanged();
    QVERIFY(!Window.IsItemExpanded(Window.GetModel()->index(0, 0)));
    QVERIFY(Window.IsItemExpanded(Window.GetModel()->index(1, 0)));
    QCOMPARE(Window.GetCurrentItem().siblingAtColumn(2).data().toString(), QStringLiteral("0x08000120"));
    // A change of state alone leaves the model standing.
    QSignalSpy Resets(Window.GetModel(), SIGNAL(modelReset()));
    m_Points[1].State = BP_STATE_ON;
    Window.OnBreakpointsChanged();
    QCOMPARE(Resets.size(), 0);
    QCOMPARE(Window.GetModel()->index(1, 0).data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
}

void tst_breaklocals::clickShowsPlace()
{
    CBreakpointWindow Window;
    QList<U32> Lines;
    connect(&Window, &CWindow::SrcLocSelected, this, [&](CSrcLoc Loc) { Lines.append(Loc.Line); });
    QSignalSpy Insts(&Window, SIGNAL(InstSelected(I64)));
    for (int Row = 0; Row < 3; Row++) Window.OnItemClicked(Window.MapToView(Window.GetModel()->index(Row, 2)));
    QCOMPARE(Lines, (QList<U32>{20, 44})); // the address has a source line too
    QCOMPARE(Insts.size(), 1);
    Window.OnItemDoubleClicked(Window.MapToView(Window.GetModel()->index(1, 0)));
    QVERIFY(m_Target.Commands.isEmpty());
    Window.OnItemDoubleClicked(Window.MapToView(Window.GetModel()->index(1, 2)));
    QCOMPARE(LastCommand(), qMakePair(QStringLiteral("View.Disassembly"), QStringList{"0x08000200"}));
    Window.OnSrcLocSelected(CSrcLoc(1, 20));
    QCOMPARE(Window.GetCurrentItem().row(), 0);
    QCOMPARE(Lines.size(), 2); // answering a selection makes no new one
}

void tst_breaklocals::localsUnfoldLazily()
{
    const CModelFaults Faults;
    CLocalsWindow Window;
    QAbstractItemModelTester Tester(Window.GetModel(), QAbstractItemModelTester::FailureReportingMode::Warning);
    Tester.setUseFetchMore(false); // the circle has no end
    Window.show();
    Halt(Window);
    QCOMPARE(m_Asked, QList<QStringList>{QStringList()});
    QCOMPARE(Window.windowTitle(), QStringLiteral("Local Data @ main"));
    const QModelIndex P = FindLocal(Window, QStringLiteral("p"));
    QVERIFY(Window.GetModel()->hasChildren(P));
    QCOMPARE(Window.GetModel()->rowCount(P), 0);
    QVERIFY(Window.GetView()->model()->hasChildren(Window.MapToView(P))); // the fold mark is there
    // Unfolding marks children too; through a pointer in a circle that must end at once.
    Window.GetView()->SetExpanded(Window.MapToView(P), true);
    QCOMPARE(m_Asked.last(), QStringList{"p"});
    QCOMPARE(Window.GetModel()->rowCount(P), 2);
    QCOMPARE(Window.GetModel()->rowCount(Window.GetModel()->index(1, 0, P)), 0);
    QTest::keyClick(Window.GetView(), Qt::Key_Asterisk); // nor may the key for all that is below the row go round
    Window.SetCurrentItem(P);
    QTest::keyClick(Window.GetView(), Qt::Key_Asterisk);
    QCOMPARE(m_Asked.last(), (QStringList{"p", "next"}));
    m_sFunction = QStringLiteral("other");
    Halt(Window);
    Window.OnDeviceDisconnectDone();
    QCOMPARE(Window.GetText(), QStringList{"No local data"});
    QVERIFY2(Faults.Get().isEmpty(), qPrintable(Faults.Get().join(u'\n')));
}

void tst_breaklocals::localsKeepFoldingAndMarkChanges()
{
    CLocalsWindow Window;
    Window.resize(500, 300);
    Window.show();
    Halt(Window);
    Window.GetView()->SetExpanded(Window.MapToView(FindLocal(Window, QStringLiteral("p"))), true);
    QTRY_VERIFY(!Window.IsUpdatePending());
    const auto GetLevel = [&](const QString& sName) { return Window.GetModel()->GetStoredRole(FindLocal(Window, sName), ROLE_CHANGE_LEVEL).toInt(); };
    m_X = 8;
    Halt(Window);
    QVERIFY(Window.IsItemExpanded(FindLocal(Window, QStringLiteral("p"))));
    QCOMPARE(FindLocal(Window, QStringLiteral("x")).siblingAtColumn(1).data().toString(), QStringLiteral("8"));
    QCOMPARE(GetLevel(QStringLiteral("x")), int(CHANGE_LEVEL_1));
    QCOMPARE(GetLevel(QStringLiteral("count")), int(CHANGE_LEVEL_NONE) + 1); // untouched but for its age
    Window.UpdateItems(); // an answer that comes late is no new change
    QCOMPARE(GetLevel(QStringLiteral("x")), int(CHANGE_LEVEL_1));
    // A folded level costs nothing any more.
    Window.GetView()->SetExpanded(Window.MapToView(FindLocal(Window, QStringLiteral("p"))), false);
    m_Asked.clear();
    Halt(Window);
    QCOMPARE(m_Asked, QList<QStringList>{QStringList()});
}

void tst_breaklocals::localsOfAnotherFunction()
{
    CLocalsWindow Window;
    Window.show();
    Halt(Window);
    Window.GetView()->SetExpanded(Window.MapToView(FindLocal(Window, QStringLiteral("p"))), true);
    m_sFunction = QStringLiteral("other");
    m_Count = 99;
    Window.OnCallFrameEvaluated(1);
    QCOMPARE(Window.windowTitle(), QStringLiteral("Local Data @ other"));
    QCOMPARE(Window.GetModel()->rowCount(), 1);
    // A variable of the same name in another function has not changed, it is another one.
    QCOMPARE(Window.GetModel()->GetStoredRole(FindLocal(Window, QStringLiteral("count")), ROLE_CHANGE_LEVEL).toInt(), int(CHANGE_LEVEL_NONE));
}

void tst_breaklocals::localsAsText()
{
    CLocalsWindow Window;
    Window.show();
    Halt(Window, false);
    QCOMPARE(Window.GetText().size(), 2);
    QCOMPARE(Window.GetText().first(), QStringLiteral("count\t3\tR4\t4\tint\t"));
    Window.PrepareText(1);
    QCOMPARE(Window.GetText(1).value(2), QStringLiteral("  x\t7\t20000100\t4\tint\t"));
    QCOMPARE(Window.GetText(1).size(), 4);
    Window.PrepareText(2);
    QCOMPARE(Window.GetText(2).value(4), QStringLiteral("    x\t7\t20000100\t4\tint\t"));
    Window.GetView()->SetExpanded(Window.MapToView(FindLocal(Window, QStringLiteral("p"))), true);
    QCOMPARE(Window.GetText().size(), 4);
}

void tst_breaklocals::localsWhileRunning()
{
    CLocalsWindow Window;
    Window.show();
    Halt(Window);
    m_Target.Halted = false;
    Window.OnDeviceResumeDone(RESUME_NORMAL);
    QCOMPARE(Window.windowTitle(), QStringLiteral("Local Data"));
    m_Asked.clear();
    Window.UpdateItems();
    QVERIFY(m_Asked.isEmpty());
    QCOMPARE(Window.GetModel()->rowCount(), 2); // the last values stay
    Window.SetActive(false);
    QVERIFY((Window.GetModel()->flags(Window.GetModel()->index(0, 1)) & ITEM_FLAGS_STALE) == ITEM_FLAGS_STALE);
}

/// Writes pictures to look at when a folder is named; otherwise only paints under both schemes.
void tst_breaklocals::pictures()
{
    const QString sDir = qEnvironmentVariable("VIEWS_PICTURES");
    for (const THEME_SCHEMES Scheme : {THEME_LIGHT, THEME_DARK}) {
        CTheme::SetScheme(Scheme);
        CBreakpointWindow Points;
        CLocalsWindow Locals;
        Points.resize(620, 200);
        Locals.resize(620, 200);
        Points.show();
        Locals.show();
        m_X = 7;
        Halt(Locals);
        Points.ExpandAll();
        Points.SetCurrentItem(Points.GetModel()->index(1, 2));
        Locals.GetView()->SetExpanded(Locals.MapToView(FindLocal(Locals, QStringLiteral("p"))), true);
        m_X = 9;
        Halt(Locals);
        for (CWindow* pWindow : {static_cast<CWindow*>(&Points), static_cast<CWindow*>(&Locals)}) {
            const QImage Image = pWindow->grab().toImage();
            QVERIFY(!Image.isNull());
            if (!sDir.isEmpty()) QVERIFY(Image.save(QStringLiteral("%1/%2%3.png").arg(sDir, QLatin1String(pWindow == &Points ? "points" : "locals")).arg(Scheme)));
        }
    }
    CTheme::SetScheme(THEME_LIGHT);
}

QTEST_MAIN(tst_breaklocals)
#include "tst_breaklocals.moc"
