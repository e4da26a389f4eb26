// The session's decisions, the places of windows on screens and the reading of batch files, which need no window.
#include "app/batch/batchscript.h"
#include "app/shell/screenplace.h"
#include "app/shell/sessiondecisions.h"

#include <QTest>

class tst_Shell : public QObject {
    Q_OBJECT

private slots:
    void SessionChain();
    void ShowPC_data();
    void ShowPC();
    void OpenKinds();
    void Screens_data();
    void Screens();
    void FirstSize();
    void BatchLines_data();
    void BatchLines();
};

void tst_Shell::SessionChain()
{
    // A start with download: connect, the reset before the download, then the initial operation by the reset mode.
    QCOMPARE(DecideAfterConnect(CM_DOWNLOAD_RESET, true), AFTER_CONNECT_RESET_FOR_DOWNLOAD);
    QCOMPARE(DecideAfterReset(RM_RESET_BEFORE_DOWNLOAD), AFTER_RESET_DOWNLOAD);
    QCOMPARE(DecideInitialOperation(CM_DOWNLOAD_RESET, RM_RESET_HALT), INITIAL_HALT);
    QCOMPARE(DecideInitialOperation(CM_DOWNLOAD_RESET, RM_BREAK_AT_SYMBOL), INITIAL_RUN_TO_SYMBOL);
    QCOMPARE(DecideInitialOperation(CM_DOWNLOAD_RESET, RM_RESET_AND_RUN), INITIAL_CONTINUE);
    QCOMPARE(DecideInitialOperation(CM_DOWNLOAD_RESET, 7), INITIAL_UNKNOWN);
    // An attach touches nothing, whatever the reset mode says.
    QCOMPARE(DecideAfterConnect(CM_ATTACH, false), AFTER_CONNECT_RUNNING);
    QCOMPARE(DecideAfterConnect(CM_ATTACH, true), AFTER_CONNECT_HALT);
    QCOMPARE(DecideAfterConnect(CM_ATTACH_HALT, false), AFTER_CONNECT_HALT);
    QCOMPARE(DecideAfterConnect(CM_CONNECT_ONLY, true), AFTER_CONNECT_NOTHING);
    for (const I64 Mode : {RM_RESET_HALT, RM_BREAK_AT_SYMBOL, RM_RESET_AND_RUN})
        QCOMPARE(DecideInitialOperation(CM_ATTACH, Mode), INITIAL_NOTHING);
    QCOMPARE(DecideAfterReset(RM_EXEC_STATE_SET), AFTER_RESET_REFRESH);
    QCOMPARE(DecideAfterReset(RM_RESET_HARDWARE), AFTER_RESET_UNKNOWN);
}

void tst_Shell::ShowPC_data()
{
    QTest::addColumn<bool>("Console");
    QTest::addColumn<bool>("Disassembly");
    QTest::addColumn<bool>("HasLine");
    QTest::addColumn<bool>("UnknownBreakpoint");
    QTest::addColumn<int>("Where");
    QTest::newRow("source") << false << false << true << false << int(SHOW_PC_SOURCE);
    QTest::newRow("user types") << true << false << true << false << int(SHOW_PC_NOWHERE);
    QTest::newRow("user follows instructions") << false << true << true << false << int(SHOW_PC_DISASSEMBLY);
    QTest::newRow("no line") << false << false << false << false << int(SHOW_PC_DISASSEMBLY);
    QTest::newRow("breakpoint without a line") << false << false << false << true << int(SHOW_PC_DISASSEMBLY);
}

void tst_Shell::ShowPC()
{
    QFETCH(bool, Console);
    QFETCH(bool, Disassembly);
    QFETCH(bool, HasLine);
    QFETCH(bool, UnknownBreakpoint);
    QTEST(int(DecideShowPC({Console, Disassembly, HasLine, UnknownBreakpoint})), "Where");
}

void tst_Shell::OpenKinds()
{
    QCOMPARE(DecideOpenKind("/a/b.bdebug"), OPEN_PROJECT);
    QCOMPARE(DecideOpenKind("/a/main.C"), OPEN_SOURCE);
    QCOMPARE(DecideOpenKind("/a/readme.txt"), OPEN_SOURCE);
    QCOMPARE(DecideOpenKind("/a/APP.HEX"), OPEN_DATA);
    QCOMPARE(DecideOpenKind("/a.dir/firmware"), OPEN_DATA);
}

void tst_Shell::Screens_data()
{
    const QRect Laptop(0, 0, 1280, 770), Right(1280, 0, 3840, 2130), Above(0, -1080, 1920, 1080);
    QTest::addColumn<QList<QRect>>("Screens");
    QTest::addColumn<QRect>("Frame");
    QTest::addColumn<QRect>("Expected");
    const auto Row = [](const char* sName, const QList<QRect>& Screens, const QRect& Frame, const QRect& Expected) {
        QTest::newRow(sName) << Screens << Frame << Expected;
    };
    const QRect Inside(100, 50, 800, 600);
    Row("where it was", {Laptop}, Inside, Inside);
    Row("on the second screen", {Laptop, Right}, QRect(2000, 300, 1600, 1000), QRect(2000, 300, 1600, 1000));
    Row("across two screens", {Laptop, Right}, QRect(1000, 100, 800, 600), QRect(1000, 100, 800, 600));
    Row("on a screen above", {Laptop, Above}, QRect(50, -900, 800, 600), QRect(50, -900, 800, 600));
    Row("half out at the bottom is reached", {Laptop}, QRect(100, 700, 800, 600), QRect(100, 700, 800, 600));
    Row("half out at the left is reached", {Laptop}, QRect(-700, 50, 800, 600), QRect(-700, 50, 800, 600));
    Row("only a corner is left", {Laptop}, QRect(-750, 50, 800, 600), QRect(0, 50, 800, 600));
    Row("the title is above the screen", {Laptop}, QRect(100, -20, 800, 600), QRect(100, 0, 800, 600));
    Row("the right screen has gone", {Laptop}, QRect(2000, 100, 800, 600), QRect(480, 100, 800, 600));
    Row("larger than what is left", {Laptop}, QRect(2000, 300, 1600, 1000), QRect(0, 0, 1280, 770));
    Row("the screen above has gone", {Laptop}, QRect(50, -900, 800, 600), QRect(50, 0, 800, 600));
    Row("of two the nearer", {Laptop, Right}, QRect(6000, 500, 800, 600), QRect(4320, 500, 800, 600));
    Row("narrow, but all of it shows", {Laptop}, QRect(100, 100, 50, 400), QRect(100, 100, 50, 400));
    Row("no screens known", {}, QRect(9000, 9000, 800, 600), QRect(9000, 9000, 800, 600));
}

void tst_Shell::Screens()
{
    QFETCH(QList<QRect>, Screens);
    QFETCH(QRect, Frame);
    QTEST(GetReachableFrame(Frame, Screens), "Expected");
}

void tst_Shell::FirstSize()
{
    QCOMPARE(GetFirstSize(QStringLiteral("xcb")), QSize(752, 560));
    QCOMPARE(GetFirstSize(QStringLiteral("windows")), QSize(752, 560));
    QVERIFY(GetFirstSize(QStringLiteral("offscreen")).width() >= 1600); // pictures of a batch show all windows
}

void tst_Shell::BatchLines_data()
{
    QTest::addColumn<QString>("Line");
    QTest::addColumn<int>("Kind");
    QTest::addColumn<QString>("Name");
    QTest::addColumn<QStringList>("Args");
    QTest::newRow("empty") << "  " << int(BATCH_STEP_NONE) << "" << QStringList();
    QTest::newRow("comment") << " // @print x" << int(BATCH_STEP_NONE) << "" << QStringList();
    QTest::newRow("command") << "Debug.Start();" << int(BATCH_STEP_COMMAND) << "" << QStringList();
    QTest::newRow("directive") << "@WaitHalt 500" << int(BATCH_STEP_DIRECTIVE) << "waithalt" << QStringList{"500"};
    QTest::newRow("quotes") << "@print \"Call Stack\" 2" << int(BATCH_STEP_DIRECTIVE) << "print"
                            << QStringList{"Call Stack", "2"};
    QTest::newRow("empty quotes") << "@answer \"\"" << int(BATCH_STEP_DIRECTIVE) << "answer" << QStringList{""};
    QTest::newRow("carriage return") << "@quit 3\r" << int(BATCH_STEP_DIRECTIVE) << "quit" << QStringList{"3"};
    QTest::newRow("bare at") << "@" << int(BATCH_STEP_DIRECTIVE) << "" << QStringList();
}

void tst_Shell::BatchLines()
{
    QFETCH(QString, Line);
    const BATCH_STEP Step = ParseBatchLine(Line, 7);
    QTEST(int(Step.Kind), "Kind");
    QTEST(Step.Name, "Name");
    QTEST(Step.Args, "Args");
    QCOMPARE(Step.Line, 7);
}

QTEST_GUILESS_MAIN(tst_Shell)
#include "tst_shell.moc"
