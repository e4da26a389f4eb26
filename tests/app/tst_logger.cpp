// The logger with its ways out, the log file slots and the diagnostics filter.
#include "app/services/cmdline.h"
#include "app/services/diaglog.h"
#include "app/services/log.h"
#include "app/services/logfile.h"
#include "app/services/mainthread.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <thread>
#include <vector>

class tst_logger : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void routing_data();
    void routing();
    void text();
    void levelFunctions();
    void batchThreshold();
    void qtMessages();
    void sinkThatLogs();
    void fileSlots();
    void fileSizeRule();
    void programDiagnostics();
    void manyThreads();

private:
    QByteArray ReadLog() const
    {
        QFile File(m_Dir.filePath("app.log"));
        return File.open(QIODevice::ReadOnly) ? File.readAll() : QByteArray();
    }
    void SetArgs(bool Debug, const char* sInterval = "")
    {
        CmdLineArgs Args;
        Args.Debug = Debug;
        Args.LogInterval = sInterval;
        SetCmdLineArgs(Args);
    }

    QTemporaryDir m_Dir;
    QStringList m_Console;
    QStringList m_Stdout;
};

void tst_logger::init()
{
    SetMainThread();
    ShutdownLog();
    CloseLogFile(LOG_SLOT_APP);
    SetArgs(false);
    m_Console.clear();
    m_Stdout.clear();
    SetLogConsoleSink([this](const QString& s, U32) { m_Console.append(s); });
    SetLogStdoutSink([this](const QString& s) { m_Stdout.append(s); });
}

void tst_logger::cleanup()
{
    ShutdownLog();
    CloseLogFile(LOG_SLOT_APP);
}

void tst_logger::routing_data()
{
    QTest::addColumn<uint>("Flags");
    QTest::addColumn<bool>("Debug");
    QTest::addColumn<QString>("Ways"); // c console, s standard output, f file
    QTest::newRow("all, debug") << uint(MSG_INFO | MSG_ALL) << true << "csf";
    QTest::newRow("all, no debug") << uint(MSG_INFO | MSG_ALL) << false << "cf";
    QTest::newRow("file only") << uint(MSG_INFO | MSG_FILE) << true << "f";
    QTest::newRow("stdout only") << uint(MSG_INFO | MSG_STDOUT) << true << "s";
    QTest::newRow("console only") << uint(MSG_ERROR | MSG_CONSOLE) << true << "c";
    QTest::newRow("level only") << uint(MSG_WARNING) << true << "";
}

void tst_logger::routing()
{
    QFETCH(uint, Flags);
    QFETCH(bool, Debug);
    QFETCH(QString, Ways);
    SetArgs(Debug);
    QVERIFY(OpenLogFile(LOG_SLOT_APP, m_Dir.filePath("app.log")));
    QCOMPARE(Log("text", Flags), 0);
    FlushLog();
    QString sWays;
    if (!m_Console.isEmpty()) sWays += 'c';
    if (!m_Stdout.isEmpty()) sWays += 's';
    if (!ReadLog().isEmpty()) sWays += 'f';
    QCOMPARE(sWays, Ways);
}

void tst_logger::text()
{
    SetArgs(true);
    QCOMPARE(Log(QString(), MSG_ALL), -1);
    Log("connected \r\n \n", MSG_INFO | MSG_ALL);
    Log("bad", MSG_WARNING | MSG_ALL);
    Log("worse", MSG_ERROR | MSG_ALL);
    Log("plain", MSG_ALL);
    // Info wins over error, as it is tested first.
    Log("both", MSG_INFO | MSG_ERROR | MSG_ALL);
    QCOMPARE(m_Console, (QStringList{"Connected", "Bad", "Worse", "Plain", "Both"}));
    QCOMPARE(m_Stdout, (QStringList{" i  Connected", "[W] Bad", "[E] Worse", "Plain", " i  Both"}));
    m_Console.clear();
    Log(QString(3000, 'x'), MSG_ALL);
    QCOMPARE(m_Console[0].size(), 2048);
}

void tst_logger::levelFunctions()
{
    LogDebug("debug");
    LogInfo("info");
    LogWarning("warning");
    LogError("error");
    QCOMPARE(m_Console, (QStringList{"Info", "Error"}));
    QVERIFY(OpenLogFile(LOG_SLOT_APP, m_Dir.filePath("app.log")));
    LogDebug("debug");
    LogWarning("warning");
    FlushLog();
    QCOMPARE(ReadLog(), QByteArray(" i  Debug\n[W] Warning\n"));
    QCOMPARE(m_Console.size(), 2);
}

void tst_logger::batchThreshold()
{
    SetArgs(false, "10");
    QVERIFY(OpenLogFile(LOG_SLOT_APP, m_Dir.filePath("app.log")));
    Log("12345", MSG_FILE); // 6 bytes with its line end
    Log("6789", MSG_FILE);  // 11 bytes: at the threshold, but only the next line writes them
    QCOMPARE(ReadLog(), QByteArray());
    QCOMPARE(GetLogBatchSize(), 11);
    Log("abc", MSG_FILE);
    QCOMPARE(ReadLog(), QByteArray("12345\n6789\n"));
    ShutdownLog();
    QCOMPARE(ReadLog(), QByteArray("12345\n6789\nAbc\n"));

    // An interval below 1 counts as none: 512 bytes.
    SetArgs(false, "0");
    for (int i = 0; i < 52; i++) Log("123456789", MSG_FILE);
    QCOMPARE(GetLogBatchSize(), 520);
    Log("x", MSG_FILE);
    QCOMPARE(GetLogBatchSize(), 2);
}

void tst_logger::qtMessages()
{
    InstallQtMessageHandler();
    qWarning("dropped: nothing is open");
    qCritical("critical");
    SetArgs(true);
    qDebug("debug");
    qWarning("warning");
    qInstallMessageHandler(nullptr);
    QCOMPARE(m_Console, QStringList{"Critical"});
    QCOMPARE(m_Stdout, (QStringList{" i  Debug", "[W] Warning"}));
}

void tst_logger::sinkThatLogs()
{
    int Inner = 0;
    SetLogConsoleSink([&](const QString&, U32) { Inner = Log("from inside", MSG_ALL); });
    QCOMPARE(Log("outer", MSG_ALL), 0);
    QCOMPARE(Inner, -1);
}

void tst_logger::fileSlots()
{
    const QString sPath = m_Dir.filePath("slot.log");
    QVERIFY(!OpenLogFile(LOG_SLOT_TERMINAL, QString()));
    QVERIFY(!OpenLogFile(NUM_LOG_SLOTS, sPath));
    QVERIFY(!WriteLogFile(LOG_SLOT_TERMINAL, "x"));
    QVERIFY(OpenLogFile(LOG_SLOT_TERMINAL, sPath));
    QVERIFY(WriteLogFile(LOG_SLOT_TERMINAL, "first\n"));
    QVERIFY(OpenLogFile(LOG_SLOT_TERMINAL, sPath)); // emptied again
    QVERIFY(WriteLogFile(LOG_SLOT_TERMINAL, "second\n"));
    QFile File(sPath);
    QVERIFY(File.open(QIODevice::ReadOnly));
    QCOMPARE(File.readAll(), QByteArray("second\n"));
    QVERIFY(!OpenLogFile(LOG_SLOT_TERMINAL, m_Dir.filePath("no/such/folder/x")));
    QVERIFY(!IsLogFileOpen(LOG_SLOT_TERMINAL));
    QVERIFY(!WriteLogFile(LOG_SLOT_TERMINAL, "x"));
    CloseLogFile(LOG_SLOT_TERMINAL);
}

void tst_logger::fileSizeRule()
{
    const QString sPath = m_Dir.filePath("big.log");
    QVERIFY(OpenLogFile(LOG_SLOT_TERMINAL, sPath));
    QVERIFY(WriteLogFile(LOG_SLOT_TERMINAL, QByteArray(16'000'000, 'a')));
    QVERIFY(WriteLogFile(LOG_SLOT_TERMINAL, "b")); // not longer than the limit before this write
    QCOMPARE(QFile(sPath).size(), qint64(16'000'001));
    QVERIFY(WriteLogFile(LOG_SLOT_TERMINAL, "cd"));
    QFile File(sPath);
    QVERIFY(File.open(QIODevice::ReadOnly));
    QCOMPARE(File.size(), qint64(16'002));
    QCOMPARE(File.readAll().right(3), QByteArray("acd"));
    CloseLogFile(LOG_SLOT_TERMINAL);
}

void tst_logger::programDiagnostics()
{
    const U32 Flags = MSG_WARNING | MSG_ALL;
    LogProgramDiag("no symbols", Flags, 1);
    LogProgramDiag("no symbols", Flags, 1);
    LogProgramDiag("no lines", Flags, 1);
    LogProgramDiag("no symbols", Flags, 2);
    QCOMPARE(m_Console, (QStringList{"No symbols", "No lines", "No symbols"}));
    std::thread([] {
        LogProgramDiag("from a worker", MSG_WARNING | MSG_ALL, 2);
        LogProgramDiag("from a worker", MSG_WARNING | MSG_ALL, 2);
    }).join();
    QCOMPARE(m_Console.size(), 5);
    // Without a log file and without -debug a text for these ways leaves no trace, not even in the set.
    LogProgramDiag("later", MSG_WARNING | MSG_FILE | MSG_STDOUT, 2);
    SetArgs(true);
    LogProgramDiag("later", MSG_WARNING | MSG_FILE | MSG_STDOUT, 2);
    QCOMPARE(m_Stdout, QStringList{"[W] Later"});
}

void tst_logger::manyThreads()
{
    SetArgs(true, "100");
    QVERIFY(OpenLogFile(LOG_SLOT_APP, m_Dir.filePath("app.log")));
    std::vector<std::thread> Threads;
    for (int t = 0; t < 4; t++) {
        Threads.emplace_back([t] {
            for (int i = 0; i < 200; i++) LogInfo(QString("t%1 %2").arg(t).arg(i));
        });
    }
    for (std::thread& t : Threads) t.join();
    FlushLog();
    QList<QByteArray> Lines = ReadLog().split('\n');
    QCOMPARE(Lines.takeLast(), QByteArray());
    QCOMPARE(Lines.size(), 800);
    QCOMPARE(m_Console.size(), 800);
    // Each thread's lines are whole and in its order.
    int aNext[4] = {};
    for (const QByteArray& Line : Lines) {
        const int t = Line[5] - '0';
        QVERIFY(t >= 0 && t < 4);
        QCOMPARE(Line, QString(" i  T%1 %2").arg(t).arg(aNext[t]++).toUtf8());
    }
}

QTEST_GUILESS_MAIN(tst_logger)
#include "tst_logger.moc"
