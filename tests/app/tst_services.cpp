// Command line, folders, names, settings store, time texts and message table.
#include "app/services/appdirs.h"
#include "app/services/appinfo.h"
#include "app/services/cmdline.h"
#include "app/services/messages.h"
#include "app/services/messagetable.h"
#include "app/services/settingsstore.h"
#include "app/services/timetext.h"
#include "testdata.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

class tst_services : public QObject {
    Q_OBJECT
private slots:
    void commandLine_data();
    void commandLine();
    void commandLineFlags();
    void version_data();
    void version();
    void windowTitle_data();
    void windowTitle();
    void defaultDir();
    void settingsStore();
    void settingsOfOthers();
    void damagedSettings_data();
    void damagedSettings();
    void unwritableSettings();
    void timeText_data();
    void timeText();
    void messageRows();
    void messageTexts();
};

/// The fields in order, joined: only what was set shows.
static QString Describe(const CmdLineArgs& a)
{
    const QList<QPair<QString, QString>> Fields = {
        {"dev", a.Device},       {"host", a.HostIF},
        {"id", a.HostID},        {"tif", a.TargetIF},
        {"speed", a.Speed},      {"prog", a.ProgramFile},
        {"proj", a.ProjectFile}, {"log", a.LogFile},
        {"int", a.LogInterval},  {"bscr", a.BrylloScriptFile},
        {"jtag", a.JTAGConfig},  {"ts", a.LogTimestampsFile},
        {"set", a.SettingsDir},  {"batch", a.BatchFile},
    };
    QStringList Parts;
    for (const auto& f : Fields)
        if (!f.second.isEmpty()) Parts.append(f.first + '=' + f.second);
    if (a.Debug) Parts.append("debug");
    if (a.KeepGoing) Parts.append("keepgoing");
    return Parts.join('|');
}

void tst_services::commandLine_data()
{
    QTest::addColumn<QString>("Args"); // separated by "|"
    QTest::addColumn<QString>("Expected");
    QTest::newRow("upper case") << "-DEVICE|X"
                                << "dev=X";
    QTest::newRow("two dashes") << "--device|X"
                                << "dev=X";
    QTest::newRow("shared field, last wins") << "-datafile|a|-programfile|b"
                                             << "prog=b";
    QTest::newRow("value with a dash is none") << "-device|-usb"
                                               << "host=USB";
    QTest::newRow("last argument has no value") << "-if|SWD|-device"
                                                << "tif=SWD";
    QTest::newRow("usb with serial") << "-usb|600000001"
                                     << "host=USB|id=600000001";
    QTest::newRow("ip without address") << "-ip|-debug"
                                        << "host=IP|debug";
    QTest::newRow("positional and unknown") << "a.bdebug|-frobnicate|7|-device|Y"
                                            << "dev=Y";
    QTest::newRow("quotes and blanks") << "-device|\" A B \""
                                       << "dev=A B";
    QTest::newRow("one quote only") << "-device|A\""
                                    << "dev=A";
    QTest::newRow("path") << "-project|C:\\x\\..\\p//q.bdebug"
                          << "proj=C:/p/q.bdebug";
    QTest::newRow("script path stays") << "-brylloscriptfile|a\\b"
                                       << "bscr=a\\b";
    QTest::newRow("board") << "-kestrelboard"
                           << "dev=MK66FN2M0XXX18|tif=SWD|speed=2000";
    QTest::newRow("board, then its own speed") << "-kestrelboard|-speed|4000"
                                               << "dev=MK66FN2M0XXX18|tif=SWD|speed=4000";
    QTest::newRow("the rest") << "-logfile|l|-loginterval|9|-logtimestamps|t|-jtagconfig|1,4|-settings|s"
                              << "log=l|int=9|jtag=1,4|ts=t|set=s";
    QTest::newRow("select usb") << "-select|USB=123"
                                << "host=USB|id=123";
    QTest::newRow("select ip") << "-select|ip=10.0.0.1:3333"
                               << "host=IP|id=10.0.0.1:3333";
    QTest::newRow("batch from standard input") << "p.bdebug|-batch|-|-keepgoing"
                                               << "batch=-|keepgoing";
    QTest::newRow("batch needs a file") << "-batch|-debug"
                                        << "debug";
    QTest::newRow("dashes only") << "---|x"
                                 << "";
}

void tst_services::commandLine()
{
    QFETCH(QString, Args);
    QFETCH(QString, Expected);
    QCOMPARE(Describe(ParseCmdLine(QStringList{"/bin/vantrel"} + Args.split('|'))), Expected);
}

void tst_services::commandLineFlags()
{
    SetCmdLineArgs(ParseCmdLine({"vantrel", "-debug"}));
    QVERIFY(IsDebugConsole());
    QVERIFY(GetCmdLineArgs().Debug);
    SetCmdLineArgs({});
    QVERIFY(!IsDebugConsole());
}

void tst_services::version_data()
{
    QTest::addColumn<int>("Revision");
    QTest::addColumn<QString>("Expected");
    QTest::newRow("none") << 0 << "V3.07";
    QTest::newRow("first") << 1 << "V3.07a";
    QTest::newRow("last letter") << 26 << "V3.07z";
    QTest::newRow("beyond") << 27 << "V3.07z01";
    QTest::newRow("far beyond") << 40 << "V3.07z14";
}

void tst_services::version()
{
    QFETCH(int, Revision);
    QFETCH(QString, Expected);
    QCOMPARE(FormatVersion(3, 7, Revision), Expected);
}

void tst_services::windowTitle_data()
{
    QTest::addColumn<bool>("Open");
    QTest::addColumn<bool>("Modified");
    QTest::addColumn<bool>("Session");
    QTest::addColumn<QString>("Project");
    QTest::addColumn<QString>("Program");
    QTest::addColumn<QString>("Expected");
    const QString sLong = "Vantrel - The Bryllo Debugger";
    const QString sFull = sLong + ' ' + GetVersionText();
    QTest::newRow("no project") << false << false << false << ""
                                << "" << sFull;
    QTest::newRow("project") << true << false << false << "/a/p.bdebug"
                             << "/a/x.elf" << sFull + " - /a/p.bdebug";
    QTest::newRow("modified") << true << true << false << "/a/p.bdebug"
                              << "" << sFull + " - */a/p.bdebug";
    QTest::newRow("never saved") << true << true << false << ""
                                 << "" << sFull + " - *New Project";
    QTest::newRow("session") << true << false << true << "/a/p.x.bdebug"
                             << "" << sFull + " - p.x";
    QTest::newRow("session with program") << true << false << true << "/a/p.bdebug"
                                          << "/a/x.elf" << sLong + " - /a/x.elf";
}

void tst_services::windowTitle()
{
    QFETCH(bool, Open);
    QFETCH(bool, Modified);
    QFETCH(bool, Session);
    QFETCH(QString, Project);
    QFETCH(QString, Program);
    QFETCH(QString, Expected);
    QCOMPARE(GetWindowTitle({Open, Modified, Session, Project, Program}), Expected);
}

void tst_services::defaultDir()
{
    QTemporaryDir Dir;
    const QString sFile = Dir.filePath("here.svd");
    QFile File(sFile);
    QVERIFY(File.open(QIODevice::WriteOnly));
    QCOMPARE(GetDefaultDir(sFile), QFileInfo(Dir.path()).canonicalFilePath());
    const QString sInstall = QFileInfo(QCoreApplication::applicationFilePath()).canonicalPath();
    QCOMPARE(GetInstallDir(), sInstall);
    QCOMPARE(GetDefaultDir("absent.svd"), sInstall + "/Config/Peripherals");
    QCOMPARE(GetDefaultDir("Map.XML"), sInstall + "/Config/Peripherals");
    QCOMPARE(GetDefaultDir("manual.pdf"), sInstall + "/Doc");
    QCOMPARE(GetDefaultDir("libx.so"), sInstall + "/Plugins");
    QCOMPARE(GetDefaultDir("a.elf"), sInstall);
    QCOMPARE(GetDefaultDir("a.svd.elf"), sInstall);
}

void tst_services::settingsStore()
{
    QTemporaryDir Dir;
    CSettingsStore Store;
    Store.SetDir(Dir.filePath("new/folder"));
    Store.Write("AppData/MainWindow", "Geometry", QByteArray("\0\x01\xFF", 3));
    Store.Write("AppData//MainWindow/", "RecentProjects", QStringList{"a b.bdebug", "c,d"});
    Store.Write("AppData/Gone", 5);
    Store.Write("AppData/Group/One", 1);
    Store.Write("AppData/Group/Sub/Two", 2);
    Store.Write("AppData/GroupOther", 3);
    QVERIFY(Store.Save());
    Store.Remove("AppData/Gone");
    Store.RemoveGroup("AppData/Group");
    QVERIFY(Store.Contains("AppData/GroupOther"));
    QVERIFY(Store.Save());

    CSettingsStore Again;
    Again.SetDir(Dir.filePath("new/folder"));
    Again.Load();
    QCOMPARE(Again.Read("AppData/MainWindow/Geometry").toByteArray(), QByteArray("\0\x01\xFF", 3));
    QCOMPARE(Again.Read("AppData/MainWindow", "RecentProjects", {}).toStringList(),
             (QStringList{"a b.bdebug", "c,d"}));
    QVERIFY(!Again.Contains("AppData/Gone"));
    QCOMPARE(Again.Read("AppData/Gone", 7).toInt(), 7);
    QCOMPARE(Again.GetKeys("AppData/Group"), QStringList());
    QCOMPARE(Again.GetKeys("AppData/MainWindow"), (QStringList{"Geometry", "RecentProjects"}));
}

void tst_services::settingsOfOthers()
{
    QTemporaryDir Dir;
    const auto Open = [&Dir] {
        auto pStore = std::make_unique<CSettingsStore>();
        pStore->SetDir(Dir.path());
        pStore->Load();
        return pStore;
    };
    auto pFirst = Open();
    pFirst->Write("AppData/Window/Width", 100);
    pFirst->Write("AppData/Window/Height", 50);
    pFirst->Write("AppData/Window/Gone", 1);
    pFirst->Write("AppData/Window/List", QStringList{"a", "b"});
    QVERIFY(pFirst->Save());

    // Two at a time: each keeps what it has changed, whoever ends last.
    auto pOne = Open();
    auto pTwo = Open();
    pOne->Write("AppData/Window/Width", 200);
    pOne->Write("AppData/Later/Key", "of a later version");
    pOne->Remove("AppData/Window/Gone");
    QVERIFY(pOne->Save());
    pTwo->Write("AppData/Window/Width", 100); // as it was read: no change
    pTwo->Write("AppData/Window/Height", 60);
    pTwo->Write("AppData/Window/List", QStringList{"a", "b"});
    QVERIFY(pTwo->Save());
    auto pLast = Open();
    QCOMPARE(pLast->Read("AppData/Window/Width").toInt(), 200);
    QCOMPARE(pLast->Read("AppData/Window/Height").toInt(), 60);
    QCOMPARE(pLast->Read("AppData/Later/Key").toString(), "of a later version");
    QCOMPARE(pLast->Read("AppData/Window/List").toStringList(), (QStringList{"a", "b"}));
    QVERIFY(pLast->GetProblem().isEmpty());
    // What this one took out goes, also when it never knew the rest.
    pLast->Remove("AppData/Later/Key");
    QVERIFY(pLast->Save());
    QVERIFY(!Open()->Contains("AppData/Later/Key"));
}

void tst_services::damagedSettings_data()
{
    QTest::addColumn<QByteArray>("Content");
    QTest::addColumn<bool>("Good");
    QTest::newRow("empty") << QByteArray() << true;
    QTest::newRow("good") << QByteArray("[AppData]\nKey=1\n") << true;
    QTest::newRow("no settings") << QByteArray("once upon a time\n") << false;
    QTest::newRow("cut off") << QByteArray("[AppData]\nKey=1\nOth") << false;
    QTest::newRow("bytes") << QByteArray("\x7F""ELF\0\1\2\3\xFF\xFE\n\0\0\x80", 14) << false;
    QTest::newRow("somebody else's") << QByteArray("[Desktop Entry]\nName=x\n") << false;
}

void tst_services::damagedSettings()
{
    QFETCH(QByteArray, Content);
    QFETCH(bool, Good);
    QTemporaryDir Dir;
    CSettingsStore Store;
    Store.SetDir(Dir.path());
    const QString sPath = Store.GetFilePath();
    {
        QFile File(sPath);
        QVERIFY(File.open(QIODevice::WriteOnly));
        File.write(Content);
    }
    Store.Load();
    QCOMPARE(Store.GetProblem().isEmpty(), Good);
    if (Good) return;
    QVERIFY(Store.GetProblem().contains(sPath));
    QCOMPARE(Store.GetKeys("AppData"), QStringList());
    QFile Aside(sPath + ".damaged");
    QVERIFY(Aside.open(QIODevice::ReadOnly));
    QCOMPARE(Aside.readAll(), Content);
    Store.Write("AppData/Key", 2);
    QVERIFY(Store.Save());
    CSettingsStore Again;
    Again.SetDir(Dir.path());
    Again.Load();
    QVERIFY2(Again.GetProblem().isEmpty(), qPrintable(Again.GetProblem()));
    QCOMPARE(Again.Read("AppData/Key").toInt(), 2);
}

/// A write that fails leaves the file as it was.
void tst_services::unwritableSettings()
{
    QTemporaryDir Dir;
    CSettingsStore Store;
    Store.SetDir(Dir.filePath("x"));
    Store.Write("AppData/Key", 1);
    QVERIFY(Store.Save());
    CSettingsStore Other;
    Other.SetDir("/proc/self/no-such-folder");
    Other.Write("AppData/Key", 2);
    QVERIFY(!Other.Save());
    Store.Load();
    QCOMPARE(Store.Read("AppData/Key").toInt(), 1);
    // Nothing but the one file is left behind.
    QCOMPARE(QDir(Dir.filePath("x")).entryList(QDir::Files), QStringList{QFileInfo(Store.GetFilePath()).fileName()});
}

void tst_services::timeText_data()
{
    QTest::addColumn<qint64>("Time");
    QTest::addColumn<QString>("Micro");
    QTest::addColumn<QString>("Nano"); // of the same number as nanoseconds
    QTest::newRow("zero") << qint64(0) << "0.000 000"
                          << "0.000 000 000";
    QTest::newRow("small") << qint64(1'002'003) << "1.002 003"
                           << "0.001 002 003";
    QTest::newRow("below a minute") << qint64(59'999'999) << "59.999 999"
                                    << "0.059 999 999";
    QTest::newRow("a minute") << qint64(60'000'000) << "01:00.000 000"
                              << "0.060 000 000";
    QTest::newRow("below an hour") << qint64(3'599'000'001) << "59:59.000 001"
                                   << "3.599 000 001";
    QTest::newRow("an hour") << qint64(3'600'000'000) << "1:00:00.000 000"
                             << "3.600 000 000";
    QTest::newRow("days") << qint64(360'061'000'002) << "100:01:01.000 002"
                          << "06:00.061 000 002";
    QTest::newRow("negative") << qint64(-5) << "0.000 000"
                              << "0.000 000 000";
}

void tst_services::timeText()
{
    QFETCH(qint64, Time);
    QFETCH(QString, Micro);
    QFETCH(QString, Nano);
    QCOMPARE(FormatTimeUs(Time), Micro);
    QCOMPARE(FormatTimeNs(Time), Nano);
    QCOMPARE(FormatTimeUs(Time, "", " s"), Micro.remove(' ') + " s");
}

void tst_services::messageRows()
{
    const auto Rows = ReadTable("messages.tsv");
    QCOMPARE(Rows.size(), NUM_MESSAGES);
    for (int i = 0; i < NUM_MESSAGES; i++) {
        const MESSAGE_ROW* pRow = GetMessageRow(i);
        QVERIFY(pRow);
        const QStringList Row{QString::number(pRow->ID), QString::number(pRow->Flags),
                              QString::number(pRow->Base), pRow->Text};
        QCOMPARE(Row, Rows[i]);
        QCOMPARE(pRow->Code, i + pRow->Base);
        QCOMPARE(pRow->NumArgs, Rows[i][3].count('%'));
        QVERIFY(qstrlen(pRow->Format) < sizeof(pRow->Format) - 1);
    }
    QVERIFY(!GetMessageRow(-1));
    QVERIFY(!GetMessageRow(NUM_MESSAGES));
}

void tst_services::messageTexts()
{
    char ac[400];
    QCOMPARE(FormatMessage(74, ac, sizeof(ac), "out of stack"), int(qstrlen(ac)));
    QCOMPARE(ac, "Project warning (2074): script interpretation failure: out of stack.");
    FormatMessage(MSGID_ELF_NO_FRAME_FOR_PC, ac, sizeof(ac), 0x8000ABCu);
    QCOMPARE(ac, "ELF warning (1045): no call frame information for PC 0x8000ABC.");
    FormatMessage(MSGID_ELF_NOT_EXECUTABLE, ac, sizeof(ac));
    QCOMPARE(ac, "ELF error (1024): not an executable ELF file.");
    FormatMessage(MSGID_TERMINAL_LOG_FILE, ac, sizeof(ac), "t.log");
    QCOMPARE(ac, "logging terminal content to t.log.");
    FormatMessage(MSGID_BAD_TRACE_TIMESTAMP, ac, sizeof(ac), 1ull << 40, 7u);
    QCOMPARE(ac, "warning (4091): invalid trace timestamp detected at cycle 1099511627776, buffer index 7.");
    FormatMessage(MSGID_CORRUPT_DATA_RECORD, ac, sizeof(ac), "a.hex", 12);
    QCOMPARE(ac, "error (5094): Could not open file a.hex: file contains corrupt data record at line 12.");
    FormatMessageRef(MSGID_TERMINAL_LOG_FILE, ac, sizeof(ac), "t");
    QVERIFY(
        QString(ac).endsWith(". Refer to the user guide and application logfile for further information."));
    QCOMPARE(FormatMessage(96, ac, sizeof(ac)), 0);
    QCOMPARE(ac, "");
    char acSmall[10];
    QCOMPARE(FormatMessage(24, acSmall, sizeof(acSmall)), 9);
    QCOMPARE(acSmall, "ELF error");
}

QTEST_GUILESS_MAIN(tst_services)
#include "tst_services.moc"
