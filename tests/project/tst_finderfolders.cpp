// The file finder and its memory of folders against a file system that changes and is not always
// kind: whatever was looked up before, an answer is that of the file system as it is now.
#include "app/services/log.h"
#include "project/finder/dircache.h"
#include "project/finder/filefinder.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>
#include <unistd.h>

class tst_finderfolders : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void Changes_data();
    void Changes();
    void ChangesWithoutWatch();
    void BetterMatchAppears();
    void PlacesChange();
    void ProgramTableIsAskedAgain();
    void CurrentFolderChanges();
    void Links();
    void ForeignPaths_data();
    void ForeignPaths();
    void CaseDifferences_data();
    void CaseDifferences();
    void ExactCaseWins();
    void UnreadableFolder();
    void OddNames();
    void ManyPaths();
    void LargeFolder();
    void KindsAgreeWithSystem();

private:
    QString In(const QString& sPath) const { return m_pDir->path() + '/' + sPath; }
    void Touch(const QString& sPath) const;
    std::unique_ptr<QTemporaryDir> m_pDir;
    std::unique_ptr<CFileFinder> m_pFinder;
    QString m_sProject;
    QString m_sOldDir;
};

void tst_finderfolders::Touch(const QString& sPath) const
{
    QDir().mkpath(QFileInfo(In(sPath)).path());
    QFile File(In(sPath));
    QVERIFY2(File.open(QIODevice::WriteOnly), qPrintable(In(sPath)));
}

void tst_finderfolders::init()
{
    m_sOldDir = QDir::currentPath();
    m_pDir = std::make_unique<QTemporaryDir>();
    for (const char* s : {"proj/p.bdebug", "proj/src/main.c", "search/found.c", "cwd/here.c", "install/x"}) {
        Touch(s);
    }
    QVERIFY(QDir::setCurrent(In("cwd")));
    m_sProject = In("proj/p.bdebug");
    m_pFinder = std::make_unique<CFileFinder>();
    m_pFinder->Hooks().InstallDir = [this] { return In("install"); };
    m_pFinder->Hooks().ProjectPath = [this] { return m_sProject; };
    m_pFinder->AddSearchPath(In("search"));
}

void tst_finderfolders::cleanup()
{
    QDir::setCurrent(m_sOldDir);
    m_pFinder.reset();
    m_pDir.reset();
}

/// Each row: a path, whether it is found at first, what is done ("+x" makes a file, "-x" removes a
/// file or a tree, "x>y" renames, "x@y" makes a link x to y), and what it resolves to then.
void tst_finderfolders::Changes_data()
{
    QTest::addColumn<QString>("Path");
    QTest::addColumn<QString>("Before");
    QTest::addColumn<QStringList>("Steps");
    QTest::addColumn<QString>("After");
    const auto Row = [](const char* sName, const char* sPath, const char* sBefore, const QStringList& Steps,
                        const char* sAfter) {
        QTest::newRow(sName) << QString(sPath) << QString(sBefore) << Steps << QString(sAfter);
    };
    Row("file comes", "C:/b/new.c", "", {"+search/new.c"}, "search/new.c");
    Row("file goes", "C:/b/found.c", "search/found.c", {"-search/found.c"}, "");
    Row("file comes back", "C:/b/found.c", "search/found.c", {"-search/found.c", "+search/found.c"},
        "search/found.c");
    Row("renamed to", "C:/b/new.c", "", {"search/found.c>search/new.c"}, "search/new.c");
    Row("renamed from", "C:/b/found.c", "search/found.c", {"search/found.c>search/other.c"}, "");
    Row("moved out", "C:/b/found.c", "search/found.c", {"search/found.c>cwd/found.c"}, "");
    Row("folder goes", "C:/b/found.c", "search/found.c", {"-search"}, "");
    Row("folder comes back", "C:/b/found.c", "search/found.c", {"-search", "+search/found.c"},
        "search/found.c");
    Row("folder is renamed", "C:/b/found.c", "search/found.c", {"search>search2"}, "");
    Row("folder is replaced", "C:/b/new.c", "", {"+other/new.c", "search>old", "other>search"},
        "search/new.c");
    Row("folder of a path comes", "@/a/b/c/x.c", "", {"+a/b/c/x.c"}, "a/b/c/x.c");
    Row("folder above is renamed", "@/up/low/x.c", "", {"+from/low/x.c", "from>up"}, "up/low/x.c");
    Row("folder above goes by renaming", "src/main.c", "proj/src/main.c", {"proj>gone"}, "");
    Row("folder becomes file", "@/proj/src/main.c", "proj/src/main.c", {"-proj/src", "+proj/src"}, "");
    Row("file becomes folder", "C:/b/found.c", "search/found.c", {"-search/found.c", "+search/found.c/x"},
        "");
    Row("link comes", "@/link/main.c", "", {"link@proj/src"}, "link/main.c");
    Row("link leads elsewhere", "@/link/here.c", "", {"link@proj/src", "?@/link/main.c", "-link", "link@cwd"},
        "link/here.c");
    Row("project's file comes", "late.c", "", {"+proj/late.c"}, "proj/late.c");
    Row("install's file comes", "late.c", "", {"+install/late.c"}, "install/late.c");
}

namespace {
void Do(const QString& sStep, const QString& sDir, const std::function<void(QString)>& fTouch,
        CFileFinder& Finder)
{
    const QString s = sStep.mid(1);
    if (sStep.startsWith('+')) {
        fTouch(s);
    } else if (sStep.startsWith('-')) {
        const QFileInfo Info(sDir + s);
        QVERIFY(Info.isDir() && !Info.isSymLink() ? QDir(sDir + s).removeRecursively()
                                                  : QFile::remove(sDir + s));
    } else if (sStep.startsWith('?')) {
        QVERIFY(!Finder.Resolve(QString(s).replace("@/", sDir)).isEmpty());
    } else if (sStep.contains('>')) {
        QVERIFY(QDir().rename(sDir + sStep.section('>', 0, 0), sDir + sStep.section('>', 1)));
    } else {
        QVERIFY(QFile::link(sDir + sStep.section('@', 1), sDir + sStep.section('@', 0, 0)));
    }
}
} // namespace

void tst_finderfolders::Changes()
{
    QFETCH(QString, Path);
    QFETCH(QString, Before);
    QFETCH(QStringList, Steps);
    QFETCH(QString, After);
    const QString sDir = In("");
    const auto Full = [&](const QString& s) { return s.isEmpty() ? s : In(s); };
    const QString sPath = Path.replace("@/", sDir);
    QCOMPARE(m_pFinder->Resolve(sPath), Full(Before));
    QCOMPARE(m_pFinder->Resolve(sPath), Full(Before)); // out of the memory
    for (const QString& sStep : Steps) {
        Do(
            sStep, sDir, [this](const QString& s) { Touch(s); }, *m_pFinder);
    }
    QCOMPARE(m_pFinder->Resolve(sPath), Full(After));
    QCOMPARE(m_pFinder->GetNumResolved(), After.isEmpty() ? 0u : m_pFinder->GetNumResolved());
    QCOMPARE(m_pFinder->GetResolvedSrcFiles().contains(sPath), !After.isEmpty());
    QCOMPARE(m_pFinder->GetUnresolvedSrcFiles().contains(sPath), After.isEmpty());
}

void tst_finderfolders::ChangesWithoutWatch()
{
    CDirCache Dirs(false);
    const auto Kind = [&](const char* s) {
        Dirs.Poll();
        return Dirs.GetKind(In(s));
    };
    for (int i = 0; i < 20; ++i) { // many changes under one time stamp
        QCOMPARE(Kind("search/x.c"), PATH_NONE);
        Touch("search/x.c");
        QCOMPARE(Kind("search/x.c"), PATH_FILE);
        QVERIFY(QFile::remove(In("search/x.c")));
    }
    QCOMPARE(Kind("far/away/x.c"), PATH_NONE);
    Touch("far/away/x.c");
    QCOMPARE(Kind("far/away/x.c"), PATH_FILE);
    QCOMPARE(Kind("far/away"), PATH_OTHER);
    QVERIFY(Dirs.TakeUnwatched());
    QVERIFY(!Dirs.TakeUnwatched());
}

void tst_finderfolders::BetterMatchAppears()
{
    m_pFinder->AddRootPath(In("root"));
    QCOMPARE(m_pFinder->Resolve("lib/found.c"), In("search/found.c"));
    Touch("proj/lib/found.c");
    QCOMPARE(m_pFinder->Resolve("lib/found.c"), In("proj/lib/found.c"));
    Touch("root/lib/found.c");
    QCOMPARE(m_pFinder->Resolve("lib/found.c"), In("root/lib/found.c"));
}

void tst_finderfolders::PlacesChange()
{
    Touch("proj2/src/main.c");
    QCOMPARE(m_pFinder->Resolve("src/main.c"), In("proj/src/main.c"));
    m_sProject = In("proj2/p.bdebug");
    QCOMPARE(m_pFinder->Resolve("src/main.c"), In("proj2/src/main.c"));
    m_sProject.clear();
    QCOMPARE(m_pFinder->Resolve("src/main.c"), QString());
    QCOMPARE(m_pFinder->Resolve("found.c"), In("search/found.c"));
    Touch("proj/found.c");
    m_pFinder->AddRootPath(In("proj")); // each change of the paths counts at once
    QCOMPARE(m_pFinder->Resolve("found.c"), In("proj/found.c"));
    m_pFinder->AddFileAlias("found.c", In("proj2/src/main.c"));
    QCOMPARE(m_pFinder->Resolve("found.c"), In("proj2/src/main.c"));
    QVERIFY(qputenv("TST_FINDER_PLACE", In("proj").toLocal8Bit()));
    QCOMPARE(m_pFinder->Resolve("$(TST_FINDER_PLACE)/src/main.c"), In("proj/src/main.c"));
    QVERIFY(qputenv("TST_FINDER_PLACE", In("proj2").toLocal8Bit()));
    QCOMPARE(m_pFinder->Resolve("$(TST_FINDER_PLACE)/src/main.c"), In("proj2/src/main.c"));
}

void tst_finderfolders::ProgramTableIsAskedAgain()
{
    QString sKnown;
    m_pFinder->Hooks().QualifySrcPath = [&sKnown](const QString&) { return sKnown; };
    QCOMPARE(m_pFinder->Resolve("unit.c"), QString());
    sKnown = In("proj/src/main.c"); // another program was opened
    QCOMPARE(m_pFinder->Resolve("unit.c"), In("proj/src/main.c"));
    sKnown = In("cwd/here.c");
    QCOMPARE(m_pFinder->Resolve("unit.c"), In("cwd/here.c"));
    sKnown = In("nowhere/found.c"); // a path that isn't here is looked for by its name as written
    QCOMPARE(m_pFinder->Resolve("unit.c"), QString());
}

void tst_finderfolders::CurrentFolderChanges()
{
    m_pFinder->AddSearchPath("lists"); // relative, and only below the current folder
    Touch("cwd/lists/listed.c");
    Touch("cwd2/here.c");
    Touch("cwd2/lists/listed.c");
    QCOMPARE(m_pFinder->Resolve("here.c"), QString("here.c"));
    QCOMPARE(m_pFinder->Resolve("C:/x/listed.c"), In("cwd/lists/listed.c"));
    QVERIFY(QDir::setCurrent(In("proj")));
    QCOMPARE(m_pFinder->Resolve("here.c"), QString());
    QVERIFY(QDir::setCurrent(In("cwd2")));
    QCOMPARE(m_pFinder->Resolve("here.c"), QString("here.c"));
    QCOMPARE(m_pFinder->Resolve("C:/x/listed.c"), In("cwd2/lists/listed.c"));
}

void tst_finderfolders::Links()
{
    QVERIFY(QFile::link("loop", In("search/loop")));    // to itself
    QVERIFY(QFile::link("loop2", In("search/loop.c"))); // round and round
    QVERIFY(QFile::link("loop.c", In("search/loop2")));
    QVERIFY(QFile::link("gone.c", In("search/dangling.c")));
    QVERIFY(QFile::link("found.c", In("search/linked.c")));
    QVERIFY(QFile::link("..", In("search/up"))); // a folder that contains itself
    QVERIFY(QFile::link("search", In("linked")));
    QCOMPARE(m_pFinder->Resolve("loop.c"), QString());
    QCOMPARE(m_pFinder->Resolve(In("search/loop/x.c")), QString());
    QCOMPARE(m_pFinder->Resolve("dangling.c"), QString());
    QCOMPARE(m_pFinder->Resolve("linked.c"), In("search/linked.c"));
    QCOMPARE(m_pFinder->Resolve(In("search/up/search/up/search/found.c")),
             In("search/up/search/up/search/found.c"));
    QCOMPARE(m_pFinder->Resolve(In("linked/found.c")), In("linked/found.c"));
    Touch("search/gone.c"); // what the link leads to comes
    QCOMPARE(m_pFinder->Resolve("dangling.c"), In("search/dangling.c"));
    QVERIFY(QFile::remove(In("search/found.c")));
    QCOMPARE(m_pFinder->Resolve("linked.c"), QString());
}

void tst_finderfolders::ForeignPaths_data()
{
    QTest::addColumn<QString>("Path");
    QTest::addColumn<QString>("Expected");
    const auto Row = [](const char* sPath, const char* sExpected) {
        QTest::newRow(sPath) << QString(sPath) << QString(sExpected);
    };
    // The build machine's C:\Work\Fw stands for the project's folder, \\server\lib for "search".
    Row("C:\\Work\\Fw\\src\\main.c", "proj/src/main.c");
    Row("c:\\work\\fw\\src\\main.c", "proj/src/main.c");
    Row("C:/Work/Fw/src/main.c", "proj/src/main.c");
    Row("C:\\Work/Fw\\src/main.c", "proj/src/main.c");
    Row("C:\\\\Work\\\\Fw\\\\src\\\\main.c", "proj/src/main.c");
    Row("C:\\Work\\Fw\\build\\..\\src\\.\\main.c", "proj/src/main.c");
    Row("\\\\server\\lib\\found.c", "search/found.c");
    Row("//server/lib/found.c", "search/found.c");
    Row("\\\\SERVER\\Lib\\sub\\..\\found.c", "search/found.c");
    Row("D:\\elsewhere\\found.c", "search/found.c"); // by its name in the search path
    Row("D:found.c", "");                            // a drive's current folder: no folder to search by name
    Row("D:\\", "");
    Row("D:", "");
    Row("\\\\", "");
    Row("\\src\\main.c", ""); // from the root of a drive
    Row("src\\main.c", "proj/src/main.c");
    Row(".\\src\\main.c", "proj/src/main.c");
    Row("..\\install\\..\\src\\main.c", "");
    Row("/cygdrive/c/x/found.c", "search/found.c");
    Row("file with blanks.c", "");
}

void tst_finderfolders::ForeignPaths()
{
    QFETCH(QString, Path);
    QFETCH(QString, Expected);
    m_pFinder->AddPathSubstitute("C:\\Work\\Fw", "$(ProjectDir)");
    m_pFinder->AddPathSubstitute("\\\\server\\lib", In("search"));
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(m_pFinder->Resolve(Path), Expected.isEmpty() ? Expected : In(Expected));
    }
}

void tst_finderfolders::CaseDifferences_data()
{
    QTest::addColumn<QString>("Path");
    QTest::addColumn<QString>("Expected");
    const auto Row = [](const char* sPath, const char* sExpected) {
        QTest::newRow(sPath) << QString(sPath) << QString(sExpected);
    };
    Row("SRC/MAIN.C", "proj/src/main.c");
    Row("C:\\WORK\\SRC\\Main.c", "proj/src/main.c"); // through a substitute
    Row("@/PROJ/Src/main.C", "proj/src/main.c");
    Row("C:\\x\\FOUND.C", "search/found.c");
    Row("STRASSE.C", ""); // one letter doesn't become two
    Row("\xC3\x84RGER.C", "search/\xC3\xA4rger.c");
    Row("IMG.BIN", "search/img.bin");
    Row("X", "install/x");
    Row("src/MAIN.CPP", "");
}

void tst_finderfolders::CaseDifferences()
{
    QFETCH(QString, Path);
    QFETCH(QString, Expected);
    Touch(QString::fromUtf8("search/\xC3\xA4rger.c"));
    Touch(QString::fromUtf8("search/stra\xC3\x9F"
                            "e.c"));
    Touch("search/img.bin");
    m_pFinder->AddPathSubstitute("c:\\work", "$(ProjectDir)");
    Path.replace('@', m_pDir->path());
    QCOMPARE(m_pFinder->Resolve(Path), Expected.isEmpty() ? Expected : In(Expected));
}

void tst_finderfolders::ExactCaseWins()
{
    Touch("search/Two.c");
    Touch("search/two.C");
    Touch("search2/two.c");
    m_pFinder->AddSearchPath(In("search2"));
    QCOMPARE(m_pFinder->Resolve("C:/two.c"), In("search2/two.c")); // though a folder before has lookalikes
    QCOMPARE(m_pFinder->Resolve("C:/two.C"), In("search/two.C"));
    QCOMPARE(m_pFinder->Resolve("C:/TWO.C"), In("search/Two.c")); // of several always the same one
    QVERIFY(QFile::remove(In("search/Two.c")));
    QCOMPARE(m_pFinder->Resolve("C:/TWO.C"), In("search/two.C"));
}

void tst_finderfolders::UnreadableFolder()
{
    Touch("locked/a.c");
    Touch("sealed/a2.c");
    m_pFinder->AddSearchPath(In("locked"));
    m_pFinder->AddSearchPath(In("sealed"));
    QVERIFY(chmod(QFile::encodeName(m_pDir->path()).constData(), 0755) == 0);
    QVERIFY(chmod(QFile::encodeName(In("locked")).constData(), 0311) == 0); // its files can be opened by name
    QVERIFY(chmod(QFile::encodeName(In("sealed")).constData(), 0) == 0);
    const bool IsRoot = geteuid() == 0;
    if (IsRoot) {
        QVERIFY(seteuid(65534) == 0); // to whom no folder is closed sees no difference
    }
    const QString sLocked = m_pFinder->Resolve("C:/a.c");
    const QString sSealed = m_pFinder->Resolve("C:/a2.c");
    const QString sBehind = m_pFinder->Resolve("C:/found.c");
    const bool CanList = QDir(In("locked")).entryList().contains("a.c");
    if (IsRoot) {
        QVERIFY(seteuid(0) == 0);
    }
    chmod(QFile::encodeName(In("sealed")).constData(), 0755);
    chmod(QFile::encodeName(In("locked")).constData(), 0755);
    QVERIFY(!CanList);
    QCOMPARE(sLocked, In("locked/a.c"));
    QCOMPARE(sSealed, QString());
    QCOMPARE(sBehind, In("search/found.c"));
    QCOMPARE(m_pFinder->Resolve("C:/a2.c"), In("sealed/a2.c")); // open now
}

void tst_finderfolders::OddNames()
{
    // A name that isn't UTF-8 is no trouble to its neighbours, nor to a lookup that resembles it.
    const QByteArray RawName = QFile::encodeName(In("search/")) + "\xE4rger.c";
    FILE* pFile = fopen(RawName.constData(), "w");
    QVERIFY(pFile);
    fclose(pFile);
    QCOMPARE(m_pFinder->Resolve("C:/found.c"), In("search/found.c"));
    QCOMPARE(m_pFinder->Resolve(QFile::decodeName("C:/\xE4RGER.C")), QString());
    QCOMPARE(m_pFinder->Resolve(QFile::decodeName("C:/\xE4rger.c")), QString());
    const QString sLong(255 - 2, 'n');
    Touch("search/" + sLong + ".c");
    QCOMPARE(m_pFinder->Resolve("C:/" + sLong + ".c"), In("search/" + sLong + ".c"));
    QCOMPARE(m_pFinder->Resolve("C:/" + QString(256, 'n') + ".c"), QString());
    QCOMPARE(m_pFinder->Resolve("/" + QString("deep/").repeated(20000) + "found.c"), In("search/found.c"));
    QCOMPARE(m_pFinder->Resolve(QString(100000, 'x')), QString());
    QCOMPARE(m_pFinder->Resolve("found.c" + QString(QChar(0)) + ".c"), QString());
    QCOMPARE(m_pFinder->Resolve("a\nb.c"), QString());
    QCOMPARE(m_pFinder->Resolve("..."), QString());
    QCOMPARE(m_pFinder->Resolve(".."), QString());
    QCOMPARE(m_pFinder->Resolve("/"), QString());
    Touch("search/.c");
    QCOMPARE(m_pFinder->Resolve("C:/.c"), In("search/.c")); // "*.c" holds it
    m_pFinder->AddRootPath("");
    m_pFinder->AddSearchPath("");
    m_pFinder->AddFileAlias("", "");
    m_pFinder->AddPathSubstitute("", "x");
    QCOMPARE(m_pFinder->Resolve("C:/found.c"), In("search/found.c"));
    QVERIFY(remove(RawName.constData()) == 0);
}

void tst_finderfolders::ManyPaths()
{
    constexpr int NUM = 1000;
    QStringList Folders;
    for (int i = 0; i < 10; ++i) {
        Folders += QString("lib%1").arg(i);
        m_pFinder->AddSearchPath(In(Folders.last()));
    }
    for (int i = 0; i < NUM; i += 2) {
        Touch(Folders[i % 10] + QString("/f%1.c").arg(i));
    }
    QSignalSpy Stats(m_pFinder.get(), &CFileFinder::SrcFileResStatsChanged);
    QSignalSpy Resolved(m_pFinder.get(), &CFileFinder::SrcFilePathResolved);
    for (int Round = 0; Round < 2; ++Round) {
        for (int i = 0; i < NUM; ++i) {
            const QString sExpected = i % 2 == 0 ? In(Folders[i % 10] + QString("/f%1.c").arg(i)) : QString();
            QCOMPARE(m_pFinder->Resolve(QString("C:\\b\\u%1\\f%2.c").arg(i / 7).arg(i)), sExpected);
        }
    }
    QCOMPARE(m_pFinder->GetNumResolved(), U32(NUM / 2));
    QCOMPARE(m_pFinder->GetNumUnresolved(), U32(NUM / 2));
    QCOMPARE(Resolved.size(), NUM);
    QCOMPARE(Stats.size(), 0);
    m_pFinder->Resolve("C:\\b\\last.c");
    QVERIFY(Stats.wait(PATIENCE_MS));
    QCOMPARE(Stats.size(), 1);
    m_pFinder->Resolve("C:\\b\\last.c"); // the next burst is told too
    QVERIFY(Stats.wait(PATIENCE_MS));
}

void tst_finderfolders::LargeFolder()
{
    // A folder of more entries than are kept is asked for each name.
    for (int i = 0; i < 30; ++i) {
        Touch(QString("large/%1.c").arg(i));
    }
    CDirCache Dirs(true, 20);
    QCOMPARE(Dirs.GetKind(In("large/29.c")), PATH_FILE);
    QVERIFY(Dirs.HasFile(In("large"), "7.c", "7.c"));
    QVERIFY(!Dirs.HasFile(In("large"), "7.C", "7.C"));
    QCOMPARE(Dirs.FindIgnoringCase(In("large"), "7.C"), QString("7.c"));
    QCOMPARE(Dirs.MatchIgnoringCase(In("LARGE/28.C")), In("large/28.c"));
    QCOMPARE(Dirs.GetKind(In("large/30.c")), PATH_NONE);
    Touch("large/30.c");
    Dirs.Poll();
    QCOMPARE(Dirs.GetKind(In("large/30.c")), PATH_FILE);
}

void tst_finderfolders::KindsAgreeWithSystem()
{
    QVERIFY(mkfifo(QFile::encodeName(In("search/pipe")).constData(), 0600) == 0);
    QVERIFY(QFile::link("pipe", In("search/pipelink")));
    CDirCache Dirs;
    for (const QString& s :
         {QString("/"), QString("/etc"), QString("/etc/passwd"), QString("/etc/passwd/x"),
          QString("/dev/null"), QString("/nothing/at/all"), In("search"), In("search/found.c"),
          In("search/pipe"), In("search/pipelink"), In("search/found.c/x"), QString("relative"), QString()}) {
        Dirs.Poll();
        const QFileInfo Info(s);
        const bool IsHere = s.startsWith('/') && Info.exists();
        QCOMPARE(Dirs.GetKind(s), !IsHere ? PATH_NONE : Info.isFile() ? PATH_FILE : PATH_OTHER);
    }
    QVERIFY(!Dirs.Poll());
    Touch("search/more");
    QVERIFY(Dirs.Poll());
    QVERIFY(!Dirs.Poll());
}

QTEST_GUILESS_MAIN(tst_finderfolders)
#include "tst_finderfolders.moc"
