// The session's decisions and the reading of batch files, which need no window.
#include "app/batch/batchscript.h"
#include "app/shell/sessiondecisions.h"

#include <QTest>

class tst_Shell : public QObject {
    Q_OBJECT

private slots:
    void SessionChain();
    void ShowPC_data();
    void ShowPC();
    void OpenKinds();
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
