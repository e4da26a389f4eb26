// Call stack and register window with a made-up program.
#include "fakeprogram.h"
#include "modelfaults.h"
#include "project/settings/sysvars.h"
#include "views/debug/callstackwindow.h"
#include "views/debug/registerwindow.h"
#include "views/framework/sortfilter.h"
#include "views/framework/treeview.h"
#include "viewsenv.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

class tst_debugwindows : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { InitViewsForTest(); }
    void init();
    void framesArriveOneByOne();
    void hiddenStackUnwindsMinimum();
    void framesAreSelected();
    void layoutTurnsStackRound();
    void stackIsEmptyWithoutTarget();
    void registersAreReadByGroup();
    void registersChangeAndAge();
    void registersOfTheCPUMode();
    void registersOfOuterFrame();
    void registerEdits_data();
    void registerEdits();

private:
    void Halt(CWindow& Window, U32 Line);
    void Unwind(CCallStackWindow& Window);

    CFakeProgram m_Program;
};

void tst_debugwindows::init()
{
    m_Program = CFakeProgram();
    m_Program.Install();
    m_Program.SetFrames();
    SetVar(PREF_CALLSTACK_LAYOUT, 0, false);
}

void tst_debugwindows::Halt(CWindow& Window, U32 Line)
{
    m_Program.Connected = m_Program.Halted = true;
    m_Program.PC = CFakeProgram::GetAddr(Line);
    Window.OnDeviceHaltDone(m_Program.PC, HR_BREAKPOINT);
}

/// Plays the unwinder's part to its end.
void tst_debugwindows::Unwind(CCallStackWindow& Window)
{
    for (int i = 0; i < 5; i++) Window.OnNextFrameUnwinded();
    Window.OnCallStackUnwinded();
}

void tst_debugwindows::framesArriveOneByOne()
{
    CCallStackWindow Window;
    CModelFaults Faults;
    QAbstractItemModelTester Tester(Window.GetStackModel(),
                                    QAbstractItemModelTester::FailureReportingMode::Warning);
    Window.resize(700, 200);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    Halt(Window, 30);
    QVERIFY(Window.IsUpdatePending());
    QCOMPARE(Window.GetStackModel()->rowCount(), 0);
    m_Program.NumUnwound = 1;
    Window.OnNextFrameUnwinded();
    QCOMPARE(Window.GetStackModel()->rowCount(), 1);
    Unwind(Window);
    QVERIFY(!Window.IsUpdatePending());
    QCOMPARE(
        Window.GetText(),
        (QStringList{QStringLiteral("_Toggle\t16 @ 0x20000FD8\tblinky.c:30\t0x080001E0\tR14: 0x08000290"),
                     QStringLiteral("main\t24 @ 0x20000FE8\tblinky.c:41\t0x08000290\t[CFA-4]: 0x080001A0"),
                     QStringLiteral("no unwinding symbols at 0x080001A0\t\t\t\t")}));
    QCOMPARE(Window.GetCurrentItem().row(), 0);
    // A frame that can't be read says so.
    m_Program.Frames[1].IsPCValid = false;
    Window.OnCallStackUnwinded();
    QCOMPARE(Window.GetStackModel()->index(1, 3).data().toString(), QStringLiteral("N/A"));
    QCOMPARE(Faults.Get(), QStringList());
}

void tst_debugwindows::hiddenStackUnwindsMinimum()
{
    CCallStackWindow Window; // never shown
    Halt(Window, 30);
    m_Program.NumUnwound = 1;
    Window.OnNextFrameUnwinded();
    QVERIFY(m_Program.HasMinimumOnly);
    QCOMPARE(Window.GetStackModel()->rowCount(), 0);
}

void tst_debugwindows::framesAreSelected()
{
    CCallStackWindow Window;
    Window.resize(700, 200);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    Halt(Window, 30);
    Unwind(Window);
    QSignalSpy Spy(&Window, &CWindow::CallSiteSelected);
    CTreeView* pView = Window.GetView();
    auto Click = [&](int Row) {
        QTest::mouseClick(pView->viewport(), Qt::LeftButton, {},
                          pView->visualRect(pView->model()->index(Row, 1)).center());
    };
    Click(1);
    QCOMPARE(m_Program.SelectedFrame, 1);
    QCOMPARE(Spy.last()[0].toInt(), 1);
    QVERIFY(!Window.GetStackModel()->index(1, 0).data(Qt::DecorationRole).isNull());
    Click(2); // the closing row is no frame
    QCOMPARE(m_Program.SelectedFrame, 1);
    QCOMPARE(Window.GetCurrentItem().row(), 1);
    emit pView->doubleClicked(pView->model()->index(1, 0));
    QCOMPARE(m_Program.Commands.last(),
             (QPair<QString, QStringList>(QStringLiteral("View.Source"), {QStringLiteral("blinky.c:41")})));
    Halt(Window, 31); // a halt goes back to the innermost frame
    QCOMPARE(m_Program.SelectedFrame, 0);
    m_Program.SelectedFrame = 1;
    Window.OnDeviceWriteAccess();
    QVERIFY(Window.IsUpdatePending()); // the values that the unwinding used may have changed
}

void tst_debugwindows::layoutTurnsStackRound()
{
    CCallStackWindow Window;
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    Halt(Window, 30);
    Unwind(Window);
    SetVar(PREF_CALLSTACK_LAYOUT, 1, false);
    Window.SetPreference(PREF_CALLSTACK_LAYOUT, 1);
    const QAbstractItemModel* pModel = Window.GetView()->model();
    QCOMPARE(pModel->index(0, 0).data().toString(), QStringLiteral("main"));
    QCOMPARE(pModel->index(1, 0).data().toString(), QStringLiteral("_Toggle"));
    QVERIFY(pModel->index(2, 0).data().toString().startsWith(
        QLatin1String("no unwinding"))); // stays behind the frames
    QVERIFY(!Window.findChild<QAction*>(QStringLiteral("actionCallstackCurrFrameOnTop"))->isChecked());
}

void tst_debugwindows::stackIsEmptyWithoutTarget()
{
    CCallStackWindow Window;
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    QCOMPARE(Window.GetText(), QStringList{QStringLiteral("No target connection")});
    Halt(Window, 30);
    Unwind(Window);
    QVERIFY(!Window.IsEmpty());
    m_Program.Connected = false;
    Window.OnDeviceDisconnectDone();
    QVERIFY(Window.IsEmpty());
    QCOMPARE(Window.GetStackModel()->rowCount(), 0);
}

void tst_debugwindows::registersAreReadByGroup()
{
    CRegisterWindow Window;
    CModelFaults Faults;
    QAbstractItemModelTester Tester(Window.GetRegisterModel(),
                                    QAbstractItemModelTester::FailureReportingMode::Warning);
    Window.resize(500, 500);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    QVERIFY(Window.IsItemExpanded(Window.GetRegisterModel()->index(0, 0)));
    QVERIFY(!Window.IsItemExpanded(Window.GetRegisterModel()->index(1, 0)));
    QCOMPARE(m_Program.NumRegReads, 0); // nothing is read without a target
    Halt(Window, 30);
    QTRY_COMPARE(m_Program.NumRegReads, 1); // sixteen registers in one request; the folded group isn't read
    QVERIFY(Window.GetText().contains(QStringLiteral("  R2\t0x00002000\t\t")));
    const QStringList All = Window.GetText(1);
    QVERIFY(All.contains(QStringLiteral("  XPSR\t--------\t\tProgram status")));
    Window.PrepareText(1);
    QVERIFY(Window.GetText(1).contains(QStringLiteral("  XPSR\t0x00010000\t\tProgram status")));
    QVERIFY(Window.GetText(1).contains(QStringLiteral("  PRIMASK\t--------\t\t"))); // could not be read
    Window.SetDisplayFormat(DISPLAY_FORMAT_DEC);
    QVERIFY(Window.GetText().contains(QStringLiteral("  R2\t8192\t\t")));
    Window.Rebuild(); // the same core again: what was unfolded stays so
    QVERIFY(Window.IsItemExpanded(Window.GetRegisterModel()->index(0, 0)));
    m_Program.Connected = false;
    Window.OnDeviceDisconnectDone();
    QVERIFY(Window.GetText().contains(QStringLiteral("  R2\t\t\t")));
    QCOMPARE(Faults.Get(), QStringList());
}

void tst_debugwindows::registersChangeAndAge()
{
    CRegisterWindow Window;
    Window.resize(500, 500);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    Window.SetActive(true);
    auto Step = [&](U64 R3) {
        m_Program.Regs.insert(3, R3);
        Window.OnDeviceStepped(m_Program.PC);
        Window.UpdateItems();
        return Window.GetRegisterModel()
            ->GetStoredRole(Window.GetRegisterModel()->FindReg(3), ROLE_CHANGE_LEVEL)
            .toInt();
    };
    Halt(Window, 30);
    QTRY_COMPARE(m_Program.NumRegReads, 1);
    QCOMPARE(Step(1), 1);
    QCOMPARE(Step(1), 2);
    QCOMPARE(Step(0x80000000), 1);
    const QModelIndex R3 = Window.GetRegisterModel()->FindReg(3).siblingAtColumn(1);
    QCOMPARE(Window.GetItemTextColor(R3), CTheme::GetColor(COLOR_CHANGE_LEVEL_1_FG));
    Window.OnDeviceResetDone(m_Program.PC, RM_RESET_HALT);
    QVERIFY(!Window.GetRegisterModel()->GetStoredRole(R3, ROLE_CHANGE_LEVEL).isValid());
}

void tst_debugwindows::registersOfTheCPUMode()
{
    m_Program.Connected = m_Program.Halted = true;
    DEBUG_VIEW_HOOKS Hooks = GetDebugViewHooks();
    QString sMode = QStringLiteral("Thread");
    Hooks.GetCPUModeName = [&sMode] { return sMode; };
    Hooks.GetRegGroups = [&sMode] { // the handler has a stack pointer of its own
        const VIEW_REG SP{QStringLiteral("SP"), {}, 32, sMode == QLatin1String("Thread") ? 14u : 13u};
        return QList<VIEW_REG_GROUP>{{QStringLiteral("Mode"), {}, {SP}, true},
                                     {QStringLiteral("Others"), {}, {{QStringLiteral("R0"), {}, 32, 0}}}};
    };
    SetDebugViewHooks(Hooks);
    CRegisterWindow Window;
    CRegistersDataModel* pModel = Window.GetRegisterModel();
    QCOMPARE(pModel->index(0, 1).data().toString(), QStringLiteral("Thread"));
    QCOMPARE(pModel->index(1, 1).data().toString(), QString());
    QVERIFY(pModel->FindReg(14).isValid());
    sMode = QStringLiteral("Handler");
    Window.OnDeviceCPUModeChanged(2);
    QCOMPARE(pModel->index(0, 1).data().toString(), QStringLiteral("Handler"));
    QVERIFY(pModel->FindReg(13).isValid() && !pModel->FindReg(14).isValid());
    m_Program.Halted = false; // the mode of the last halt says nothing about a program that runs
    QCOMPARE(pModel->index(0, 1).data().toString(), QString());
}

void tst_debugwindows::registersOfOuterFrame()
{
    DEBUG_VIEW_HOOKS Hooks = GetDebugViewHooks();
    Hooks.ReadFrameRegs = [](int Frame, const QList<U32>& Idxs, QList<U64>& Values, QList<bool>& Valid) {
        for (U32 Idx : Idxs) {
            Values.append(U64(Frame) << 16 | Idx);
            Valid.append(Idx != 12); // lost on the way
        }
        return true;
    };
    SetDebugViewHooks(Hooks);
    CRegisterWindow Window;
    Window.resize(500, 500);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    Halt(Window, 30);
    QTRY_COMPARE(m_Program.NumRegReads, 1);
    m_Program.SelectedFrame = 1;
    Window.OnCallFrameEvaluated(1);
    QTRY_VERIFY(Window.GetText().contains(QStringLiteral("  R2\t0x00010002\t\t")));
    QVERIFY(Window.GetText().contains(QStringLiteral("  R12\t--------\t\t")));
    QCOMPARE(Window.windowTitle(), QStringLiteral("Registers 1 @ main"));
    // An answer for the live registers comes late and must not show.
    U32 Idx = 2;
    U64 Value = 0xDEAD;
    U8 Status = DATA_VALID;
    Window.OnDeviceReadRegsDone(1, &Idx, &Value, &Status);
    QVERIFY(Window.GetText().contains(QStringLiteral("  R2\t0x00010002\t\t")));
    m_Program.SelectedFrame = 0;
    Window.OnCallFrameEvaluated(0);
    QTRY_VERIFY(Window.GetText().contains(QStringLiteral("  R2\t0x00002000\t\t")));
    QCOMPARE(Window.windowTitle(), QStringLiteral("Registers 1"));
}

void tst_debugwindows::registerEdits_data()
{
    QTest::addColumn<QString>("sText");
    QTest::addColumn<int>("Format");
    QTest::addColumn<QString>("sValue"); ///< empty = refused
    QTest::newRow("hex without prefix") << "1f" << int(DISPLAY_FORMAT_AUTO) << "0x1F";
    QTest::newRow("decimal") << "31" << int(DISPLAY_FORMAT_DEC) << "0x1F";
    QTest::newRow("prefix wins") << "0x10" << int(DISPLAY_FORMAT_DEC) << "0x10";
    QTest::newRow("binary") << "101" << int(DISPLAY_FORMAT_BINARY) << "0x5";
    QTest::newRow("rubbish") << "xyz" << int(DISPLAY_FORMAT_AUTO) << "";
}

void tst_debugwindows::registerEdits()
{
    QFETCH(QString, sText);
    QFETCH(int, Format);
    QFETCH(QString, sValue);
    CRegisterWindow Window;
    Window.resize(500, 500);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    const QModelIndex R3 = Window.GetRegisterModel()->FindReg(3).siblingAtColumn(1);
    QVERIFY(!(R3.flags() & Qt::ItemIsEditable)); // not before the target has halted
    Halt(Window, 30);
    QTRY_COMPARE(m_Program.NumRegReads, 1);
    QVERIFY(R3.flags() & Qt::ItemIsEditable);
    QVERIFY(!(R3.siblingAtColumn(0).flags() & Qt::ItemIsEditable));
    Window.SetDisplayFormat(Format);
    // Through the cell editor, as a user does.
    Window.GetView()->edit(Window.MapToView(R3));
    auto* pEditor = Window.GetView()->viewport()->findChild<QLineEdit*>();
    QVERIFY(pEditor);
    pEditor->setText(sText);
    QTest::keyClick(pEditor, Qt::Key_Return);
    QCoreApplication::processEvents(); // views commit an edit from the event loop
    if (sValue.isEmpty()) {
        QVERIFY(m_Program.Commands.isEmpty());
        return;
    }
    QCOMPARE(m_Program.Commands.size(), 1);
    QCOMPARE(m_Program.Commands[0],
             (QPair<QString, QStringList>(QStringLiteral("Target.SetReg"), {QStringLiteral("R3"), sValue})));
}

QTEST_MAIN(tst_debugwindows)
#include "tst_debugwindows.moc"
