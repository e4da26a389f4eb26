// The file finder over a made-up tree: what resolves to what, and what is told about it.
#include "app/services/log.h"
#include "project/finder/filefinder.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class tst_filefinder : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void Expand_data();
    void Expand();
    void Resolve_data();
    void Resolve();
    void Substitutes();
    void Aliases();
    void RootPathOrder();
    void Collapse();
    void Reports();
    void Statistics();
    void Plugins();
    void ResetForgets();

private:
    void Touch(const QString& sPath);
    QString In(const QString& sPath) const { return m_pDir->path() + '/' + sPath; }
    std::unique_ptr<QTemporaryDir> m_pDir;
    std::unique_ptr<CFileFinder> m_pFinder;
    QStringList m_Console;
    QString m_sOldDir;
};

void tst_filefinder::Touch(const QString& sPath)
{
    QDir().mkpath(QFileInfo(In(sPath)).path());
    QFile File(In(sPath));
    QVERIFY(File.open(QIODevice::WriteOnly));
}

void tst_filefinder::init()
{
    m_pDir = std::make_unique<QTemporaryDir>();
    m_sOldDir = QDir::currentPath();
    for (const char* s : {"proj/p.bdebug",
                          "proj/src/main.c",
                          "proj/only.bin",
                          "install/Config/Peripherals/Dev.xml",
                          "install/Config/CPU/Core.svd",
                          "install/Plugins/Core/CorePlugin.so",
                          "install/Plugins/OS/MyOS.so",
                          "install/Doc/guide.pdf",
                          "install/data/tool.hex",
                          "prog/app.elf",
                          "prog/near.c",
                          "root1/lib/a.c",
                          "root2/lib/a.c",
                          "root2/lib/b.c",
                          "search/found.c",
                          "search/found.xyz",
                          "search/img.bin",
                          "search/header",
                          "cwd/here.c",
                          "sub/deep/er/x.c"}) {
        Touch(s);
    }
    QVERIFY(QDir::setCurrent(In("cwd")));
    m_pFinder = std::make_unique<CFileFinder>();
    m_pFinder->Hooks().InstallDir = [this] { return In("install"); };
    m_pFinder->Hooks().ProjectPath = [this] { return In("proj/p.bdebug"); };
    m_pFinder->Hooks().ProgramFile = [this] { return In("prog/app.elf"); };
    m_pFinder->Hooks().QualifySrcPath = [this](const QString& s) {
        return s == "table.c" ? In("sub/deep/er/x.c") : QString();
    };
    m_Console.clear();
    SetLogConsoleSink([this](const QString& sText, U32) { m_Console += sText; });
    qputenv("TST_FINDER_DIR", In("search").toLocal8Bit());
}

void tst_filefinder::cleanup()
{
    SetLogConsoleSink({});
    QDir::setCurrent(m_sOldDir);
    m_pFinder.reset();
    m_pDir.reset();
}

void tst_filefinder::Expand_data()
{
    QTest::addColumn<QString>("Text");
    QTest::addColumn<QString>("Expected"); ///< "@" stands for the test's folder
    const auto Row = [](const char* sText, const char* sExpected) {
        QTest::newRow(sText) << QString(sText) << QString(sExpected);
    };
    Row("plain/a.c", "plain/a.c");
    Row("$(ProjectDir)/a.c", "@/proj/a.c");
    Row("$(projectdir)/a.c", "@/proj/a.c");
    Row("$(InstallDir)|$(ExecutableDir)|$(AppBundleDir)", "@/install|@/install|@/install");
    Row("$(DocDir)|$(ConfigDir)|$(LibraryDir)|$(PluginDir)",
        "@/install/Doc|@/install/Config|@/install/Lib|@/install/Plugins");
    Row("$(AppDir)/x", "@/prog/x");
    Row("$(TST_FINDER_DIR)/a.c", "@/search/a.c");
    Row("%TST_FINDER_DIR%/a.c", "@/search/a.c");
    Row("$( TST_FINDER_DIR )/a.c", "@/search/a.c");
    Row("%NO_SUCH_VARIABLE%/a.c", "%NO_SUCH_VARIABLE%/a.c");
    Row("$(NoSuchName)/a.c", "$(NoSuchName)/a.c");
    Row("$(NoSuchName)/$(TST_FINDER_DIR)", "$(NoSuchName)/@/search");
    Row("100%/x", "100%/x");
    Row("%%", "%%");
    Row("$(", "$(");
    Row("$(open %TST_FINDER_DIR%", "$(open @/search");
}

void tst_filefinder::Expand()
{
    QFETCH(QString, Text);
    QFETCH(QString, Expected);
    QCOMPARE(m_pFinder->Expand(Text), Expected.replace('@', m_pDir->path()));
}

void tst_filefinder::Resolve_data()
{
    QTest::addColumn<QString>("Path");
    QTest::addColumn<QString>("Expected"); ///< "@" stands for the test's folder; empty: not found
    const auto Row = [](const char* sPath, const char* sExpected) {
        QTest::newRow(sPath) << QString(sPath) << QString(sExpected);
    };
    Row("@/proj/src/main.c", "@/proj/src/main.c");
    Row("@/proj//src/../src/main.c", "@/proj/src/main.c");
    Row("@\\proj\\src\\main.c", "@/proj/src/main.c");
    Row("$(ProjectDir)\\\\src\\\\main.c", "@/proj/src/main.c");
    Row("src/main.c", "@/proj/src/main.c");
    Row("here.c", "here.c"); // exists as it stands, seen from the current directory
    Row("near.c", "@/prog/near.c");
    Row("table.c", "@/sub/deep/er/x.c"); // the program's file table knows it
    Row("found.c", "@/search/found.c");
    Row("C:\\build\\job\\found.c", "@/search/found.c"); // whatever its folders were
    Row("/nowhere/found.c", "@/search/found.c");
    Row("/nowhere/found.xyz", "@/search/found.xyz"); // an unknown extension counts as source
    Row("/nowhere/header", "@/search/header");       // no extension counts as data
    Row("/nowhere/img.bin", "@/search/img.bin");
    Row("x.c", ""); // the search never descends
    Row("missing.c", "");
    Row("missing.bin", "");
    Row("proj", ""); // a folder is no file
    Row("src", "");
    Row("only.bin", "@/proj/only.bin");
    Row("data/tool.hex", "@/install/data/tool.hex");
    Row("guide.pdf", "@/install/Doc/guide.pdf");
    Row("Dev.svd", "@/install/Config/Peripherals/Dev.xml");
    Row("Dev.xml", "@/install/Config/Peripherals/Dev.xml");
    Row("Core.xml", "@/install/Config/CPU/Core.svd");
    Row("Other.svd", "");
    Row("COREPLUGIN.SO", "@/install/Plugins/Core/CorePlugin.so");
    Row("/elsewhere/myos.so", "@/install/Plugins/OS/MyOS.so");
    Row("%NO_SUCH_VARIABLE%/a.c", "");
    Row("", "");
    Row("lib/b.c", "@/root2/lib/b.c");
}

void tst_filefinder::Resolve()
{
    QFETCH(QString, Path);
    QFETCH(QString, Expected);
    m_pFinder->AddRootPath(In("root1"));
    m_pFinder->AddRootPath(In("root2"));
    m_pFinder->AddSearchPath(In("search"));
    QCOMPARE(m_pFinder->Resolve(Path.replace('@', m_pDir->path())), Expected.replace('@', m_pDir->path()));
}

void tst_filefinder::Substitutes()
{
    m_pFinder->AddPathSubstitute("C:\\build\\job", "$(ProjectDir)");
    QCOMPARE(m_pFinder->Resolve("c:/BUILD/job/src/main.c"), In("proj/src/main.c"));
    QCOMPARE(m_pFinder->Resolve("C:\\build\\\\job\\src\\main.c"), In("proj/src/main.c"));
    QCOMPARE(m_pFinder->Resolve("D:/build/job/src/main.c"), QString());
    // Several work on one path, in the order of their keys, each on what the one before left.
    m_pFinder->Reset();
    m_pFinder->AddPathSubstitute("/b/", "/proj/");
    m_pFinder->AddPathSubstitute("/a/", "/b/");
    QCOMPARE(m_pFinder->Resolve(In("a/src/main.c")), In("proj/src/main.c"));
}

void tst_filefinder::Aliases()
{
    m_pFinder->AddFileAlias("/old/Gone.c", "$(ProjectDir)/src/../src/main.c");
    QCOMPARE(m_pFinder->Resolve("/old/gone.c"), In("proj/src/main.c"));
    QCOMPARE(m_pFinder->Resolve("/old/x/../GONE.C"), In("proj/src/main.c"));
    QCOMPARE(m_pFinder->MapReverse(In("PROJ/src/main.c")), QString("/old/Gone.c"));
    QCOMPARE(m_pFinder->MapReverse("/other"), QString("/other"));
    // An alias is applied before the substitutes, and both to what the variables gave.
    m_pFinder->AddFileAlias("$(InstallDir)/gone.bin", "C:/x/only.bin");
    m_pFinder->AddPathSubstitute("C:/x", In("proj"));
    QCOMPARE(m_pFinder->Resolve(In("install/gone.bin")), In("proj/only.bin"));
}

void tst_filefinder::RootPathOrder()
{
    m_pFinder->AddRootPath(In("root2"));
    m_pFinder->AddRootPath(In("root1"));
    QCOMPARE(m_pFinder->Resolve("lib/a.c"), In("root2/lib/a.c"));
    m_pFinder->Reset();
    m_pFinder->AddRootPath("src"); // relative: below the project
    QCOMPARE(m_pFinder->GetRootPaths(), QStringList{In("proj/src")});
    QCOMPARE(m_pFinder->Resolve("main.c"), In("proj/src/main.c"));
}

void tst_filefinder::Collapse()
{
    QCOMPARE(m_pFinder->Collapse(In("proj/src/main.c"), "$(ProjectDir)"),
             QString("$(ProjectDir)/src/main.c"));
    QCOMPARE(m_pFinder->Collapse(In("project2/main.c"), "$(ProjectDir)"), In("project2/main.c"));
    QCOMPARE(m_pFinder->Collapse(In("install/Config/a.svd"), "$(InstallDir)"),
             QString("$(InstallDir)/Config/a.svd"));
    m_pFinder->Hooks().ProjectPath = {};
    QCOMPARE(m_pFinder->Collapse("/x/main.c", "$(ProjectDir)"), QString("/x/main.c"));
    QCOMPARE(m_pFinder->GetVariable("$(ProjectDir)"), QString());
}

void tst_filefinder::Reports()
{
    m_pFinder->AddRootPath(In("root1"));
    Touch("root1/img2.bin");
    m_pFinder->Resolve(In("proj/only.bin")); // itself: nothing is said
    m_pFinder->Resolve("only.bin");          // through the project's folder: nothing
    m_pFinder->Resolve("missing.bin");
    m_pFinder->Resolve("missing.bin");
    m_pFinder->Resolve("img2.bin");
    m_pFinder->Resolve("img2.bin");
    m_pFinder->Resolve("missing.c"); // source files are counted, not told one by one
    QCOMPARE(m_Console,
             (QStringList{
                 "File not found: missing.bin",
                 QString("File path resolved: \"img2.bin\" was found at \"%1\"").arg(In("root1/img2.bin"))}));
    m_pFinder->Reset();
    m_pFinder->SetLogResolutions(false);
    m_pFinder->Resolve("missing.bin");
    QCOMPARE(m_Console.size(), 2);
}

void tst_filefinder::Statistics()
{
    QSignalSpy Resolved(m_pFinder.get(), &CFileFinder::SrcFilePathResolved);
    QSignalSpy Stats(m_pFinder.get(), &CFileFinder::SrcFileResStatsChanged);
    m_pFinder->Resolve("src/main.c");
    m_pFinder->Resolve("missing.c");
    m_pFinder->Resolve("missing.c");
    QCOMPARE(Resolved.size(), 1);
    QCOMPARE(m_pFinder->GetNumResolved(), 1u);
    QCOMPARE(m_pFinder->GetNumUnresolved(), 1u);
    QVERIFY(Stats.wait(PATIENCE_MS)); // one signal for the burst
    QCOMPARE(Stats.size(), 1);
    m_pFinder->AddSearchPath(In("search"));
    QCOMPARE(m_pFinder->GetNumResolved() + m_pFinder->GetNumUnresolved(), 0u);
}

void tst_filefinder::Plugins()
{
    QCOMPARE(m_pFinder->ResolvePlugin("MyOS"), In("install/Plugins/OS/MyOS.so"));
    QCOMPARE(m_pFinder->ResolvePlugin("MyOS.dll"), In("install/Plugins/OS/MyOS.so"));
    QCOMPARE(m_pFinder->ResolvePlugin("myos.so"), In("install/Plugins/OS/MyOS.so"));
    for (const QString& sLine : m_Console) {
        QVERIFY2(!sLine.startsWith("File not found"), qPrintable(sLine)); // the first try isn't reported
    }
    QCOMPARE(m_pFinder->ResolvePlugin("None"), QString());
    QCOMPARE(m_Console.last(), QString("File not found: None"));
    QCOMPARE(m_pFinder->ResolvePlugin(""), QString());
}

void tst_filefinder::ResetForgets()
{
    m_pFinder->AddSearchPath(In("search"));
    m_pFinder->AddFileAlias("a.c", In("proj/src/main.c"));
    QCOMPARE(m_pFinder->Resolve("found.c"), In("search/found.c"));
    m_pFinder->Reset();
    QCOMPARE(m_pFinder->Resolve("found.c"), QString());
    QCOMPARE(m_pFinder->Resolve("a.c"), QString());
    QVERIFY(m_pFinder->GetSearchPaths().isEmpty() && m_pFinder->GetRootPaths().isEmpty());
}

QTEST_GUILESS_MAIN(tst_filefinder)
#include "tst_filefinder.moc"
