// Saving that doesn't come to its end: the process is killed, or the disk takes no more. The file is the old or the new
// one, never a part of one.
#include "projectrig.h"

#include "script/host/textfile.h"

#include <QRandomGenerator>
#include <QTest>
#include <atomic>
#include <csignal>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr int NUM_KILLS = 200;
constexpr int MAX_DELAY_US = 12'000;

const char* const HEAD = "void OnProjectLoad (void) {\n  //\n  // Dialog-generated settings\n  //\n";
const char* const FOOT = "  //\n  // User settings\n  //\n  Util.Log (\"kept\");\n}\n";

QString Line(int Number)
{
    return QStringLiteral("Project.SetDevice (\"DEV%1\");").arg(Number);
}

QByteArray Project(int Number)
{
    return HEAD + ("  " + Line(Number) + "\n").toUtf8() + FOOT;
}

QByteArray LargeText(int Number)
{
    QByteArray Bytes = "// " + QByteArray::number(Number) + "\n";
    for (int i = 0; i < 8'000; i++) Bytes += "// a line of a long project, the same in every state\n";
    return Bytes + "// " + QByteArray::number(Number) + "\n";
}

/// Runs a function in a process of its own; the process ends when it returns, or is killed before.
pid_t RunInChild(const std::function<void()>& Function)
{
    const pid_t Pid = fork();
    if (Pid == 0) {
        Function();
        _exit(0);
    }
    return Pid;
}

int WaitFor(pid_t Pid)
{
    int Status = 0;
    waitpid(Pid, &Status, 0);
    return Status;
}
} // namespace

class tst_savecrash : public QObject {
    Q_OBJECT

private slots:
    void Killed_data();
    void Killed();
    void NoSpace();
    void WriteProtected();
    void FolderWithoutRight();
    void ThroughALink();
};

void tst_savecrash::Killed_data()
{
    QTest::addColumn<bool>("Large");
    QTest::newRow("settings of a project") << false;
    QTest::newRow("a large text") << true;
}

void tst_savecrash::Killed()
{
    QFETCH(bool, Large);
    CProjectRig Rig;
    const auto Content = [Large](int Number) { return Large ? LargeText(Number) : Project(Number); };
    // The number of the last save that returned, seen by both processes.
    void* pShared = mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    QVERIFY(pShared != MAP_FAILED);
    auto& Done = *new (pShared) std::atomic<int>(0);
    const QString sPath = Rig.Put("p.bdebug", Content(0));
    for (int Kill = 0; Kill < NUM_KILLS / 2; Kill++) {
        const int Start = Done.load();
        const pid_t Pid = RunInChild([&] {
            for (int n = Start + 1;; n++) {
                QString sError;
                const bool Ok = Large ? WriteTextFile(sPath, QString::fromUtf8(LargeText(n)), &sError)
                                      : CProject::Get().WriteSettings(sPath, true, {Line(n)}, {"Project.SetDevice"});
                if (!Ok) _exit(1);
                Done.store(n);
            }
        });
        // Once it has saved, at any moment of a later save.
        for (int i = 0; i < 5'000 && Done.load() == Start; i++) usleep(1'000);
        usleep(QRandomGenerator::global()->bounded(MAX_DELAY_US));
        kill(Pid, SIGKILL);
        QVERIFY(WIFSIGNALED(WaitFor(Pid)));
        const int Last = Done.load();
        const QByteArray Found = Rig.Bytes("p.bdebug");
        QVERIFY2(Found == Content(Last) || Found == Content(Last + 1), Found.left(200).constData());
        QVERIFY(Last > Start);
        // The next process goes on from what the file says.
        Done.store(Found == Content(Last) ? Last : Last + 1);
        for (const QString& sLeft : QDir(Rig.Dir.path()).entryList({"p.bdebug.*"})) QFile::remove(Rig.In(sLeft));
    }
    munmap(pShared, sizeof(std::atomic<int>));
}

void tst_savecrash::NoSpace()
{
    CProjectRig Rig;
    const QString sPath = Rig.Put("p.bdebug", Project(1));
    const pid_t Pid = RunInChild([&] {
        const rlimit Limit{16, 16};
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &Limit);
        const bool Ok = CProject::Get().WriteSettings(sPath, true, {Line(2)}, {"Project.SetDevice"});
        _exit(Ok ? 1 : Rig.Boxes.size() == 1 ? 0 : 2);
    });
    QCOMPARE(WaitFor(Pid), 0);
    QCOMPARE(Rig.Bytes("p.bdebug"), Project(1));
    QCOMPARE(QDir(Rig.Dir.path()).entryList(QDir::Files), QStringList{"p.bdebug"});
}

void tst_savecrash::WriteProtected()
{
    CProjectRig Rig;
    const QString sPath = Rig.Put("p.bdebug", Project(1));
    QVERIFY(QFile::setPermissions(sPath, QFileDevice::ReadOwner));
    QVERIFY(!CProject::Get().WriteSettings(sPath, true, {Line(2)}, {"Project.SetDevice"}));
    QCOMPARE(Rig.Boxes, QStringList{"Error writing project settings: file is write-protected"});
    QCOMPARE(Rig.Bytes("p.bdebug"), Project(1));
    QVERIFY(!CProject::Get().Save(sPath));
    QCOMPARE(Rig.Bytes("p.bdebug"), Project(1));
}

void tst_savecrash::FolderWithoutRight()
{
    CProjectRig Rig;
    const QString sPath = Rig.Put("p.bdebug", LargeText(1));
    QVERIFY(QFile::setPermissions(Rig.Dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    // Root may write into every folder, so it is somebody else for this.
    constexpr uid_t NOBODY = 65534;
    const bool IsRoot = geteuid() == 0;
    if (IsRoot) {
        QCOMPARE(chown(QFile::encodeName(sPath), NOBODY, NOBODY), 0);
        QCOMPARE(chown(QFile::encodeName(Rig.Dir.path()), NOBODY, NOBODY), 0);
        QCOMPARE(seteuid(NOBODY), 0);
    }
    QString sError;
    const bool Ok = WriteTextFile(sPath, QString::fromUtf8(Project(2)), &sError);
    if (IsRoot) QCOMPARE(seteuid(0), 0);
    QFile::setPermissions(Rig.Dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner | QFileDevice::WriteOwner);
    QVERIFY2(Ok, qPrintable(sError));
    QCOMPARE(Rig.Bytes("p.bdebug"), Project(2));
}

void tst_savecrash::ThroughALink()
{
    CProjectRig Rig;
    Rig.Put("real.bdebug", Project(1));
    QVERIFY(QFile::link("real.bdebug", Rig.In("p.bdebug")));
    QVERIFY(QFile::setPermissions(Rig.In("real.bdebug"), QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    QVERIFY(CProject::Get().WriteSettings(Rig.In("p.bdebug"), true, {Line(2)}, {"Project.SetDevice"}));
    QVERIFY(QFileInfo(Rig.In("p.bdebug")).isSymLink());
    QCOMPARE(Rig.Bytes("real.bdebug"), Project(2));
    QVERIFY(!(QFileInfo(Rig.In("real.bdebug")).permissions() & QFileDevice::ReadOther));
}

QTEST_MAIN(tst_savecrash)
#include "tst_savecrash.moc"
