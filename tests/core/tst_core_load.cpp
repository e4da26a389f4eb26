// Decoding of a large program beside a living window: what a cancel, a closed file and an exchanged core in the middle of
// it leave behind.
#include "app/shell/programload.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "objdump.h"
#include "program/tables/prog.h"
#include "views/framework/statusbar.h"

#include <QFile>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <functional>

namespace {

constexpr U32 START = 0x8000, NUM_INSTS = 800000;
constexpr U32 LAST = START + 2 * (NUM_INSTS - 1);
constexpr int DECODING = 1000; ///< of the progress; below it lies the reading of the file
constexpr int CORTEX_M3 = 0x030000FF;

} // namespace

class tst_core_load : public QObject {
    Q_OBJECT
    QTemporaryDir m_Dir;
    QString m_sPath;
    int m_NumTicks = 0; ///< events that came while code was decoded

    /// Runs a job; with the first event that comes in the midst of its decoding something is done.
    template <typename JOB> auto RunDisturbed(JOB Job, const std::function<void()>& Disturb)
    {
        CStatusBar& Status = CStatusBar::Get();
        QTimer Timer;
        m_NumTicks = 0;
        connect(&Timer, &QTimer::timeout, this, [&] {
            if (!Status.IsProgressRunning()) return;
            Status.Flush();
            if (Status.findChild<QProgressBar*>()->value() > DECODING && m_NumTicks++ == 0) Disturb();
        });
        Timer.start(0);
        return Job();
    }

    /// Opens the program; true if all of it is decoded.
    bool Load() { return LoadProgramFile(m_sPath) == 0 && PROG_IsLoaded() && Core::IsInstStart(START) && Core::IsInstStart(LAST); }

private slots:
    void initTestCase()
    {
        Core::RegisterHooks();
        CORE_HOOKS& Hooks = Core_GetHooks();
        Hooks.GetProjectPluginPath = [] { return QStringLiteral(CORE_PLUGIN_ARM); };
        Hooks.CanReadTarget = [] { return true; };
        QCOMPARE(Core_Load(CORTEX_M3), 0);
        QFile Source(m_Dir.filePath("large.s"));
        QVERIFY(Source.open(QIODevice::WriteOnly));
        Source.write(QByteArray(".syntax unified\n.thumb\n.text\n.global Start\n.type Start, %function\nStart:\n.rept ") + QByteArray::number(NUM_INSTS) +
                     "\n nop\n.endr\n.size Start, .-Start\n");
        Source.close();
        m_sPath = m_Dir.filePath("large.elf");
        RunCommand(QStringLiteral("arm-none-eabi-gcc -mthumb -mcpu=cortex-m3 -nostdlib -Wl,-e,Start -Wl,-Ttext=0x%1 \"%2\" -o \"%3\"").arg(START, 0, 16).arg(Source.fileName(), m_sPath));
        QVERIFY(QFile::exists(m_sPath));
    }

    void Cancelled()
    {
        QVERIFY(Load()); // what was open before is closed in any case
        const int Result = RunDisturbed([this] { return LoadProgramFile(m_sPath); }, [] { CStatusBar::Get().OnButtonCancelClicked(); });
        QVERIFY(m_NumTicks > 0);
        QCOMPARE(Result, -1);
        QVERIFY(!PROG_IsLoaded() && PROG_GetPath().isEmpty());
        QVERIFY(!Core::IsInstStart(START) && !CStatusBar::Get().IsProgressRunning());
    }

    /// A core that was loaded behind its program decodes it; what a cancel leaves is decoded where it is asked for.
    void CancelledBehindACore()
    {
        QVERIFY(Load());
        RunDisturbed([] { DecodeProgram(); return 0; }, [] { CStatusBar::Get().OnButtonCancelClicked(); });
        QVERIFY(m_NumTicks > 0);
        QVERIFY(PROG_IsLoaded() && !CStatusBar::Get().IsProgressRunning());
        QVERIFY(Core::IsInstStart(START) && !Core::IsInstStart(LAST));
        CORE_INST_INFO Info{};
        Core::ReadInst(&Info, LAST);
        QCOMPARE(int(Info.Length), 2);
        DecodeProgram();
        QVERIFY(Core::IsInstStart(LAST));
    }

    void ClosedMeanwhile()
    {
        RunDisturbed([] { DecodeProgram(); return 0; }, [] { PROG_Unload(); Core::ClearCache(); });
        QVERIFY(m_NumTicks > 0);
        QVERIFY(!PROG_IsLoaded() && !Core::IsInstStart(START) && !CStatusBar::Get().IsProgressRunning());
    }

    /// The core that is there in the end has decoded the program, and a second file isn't opened in between.
    void CoreExchangedMeanwhile()
    {
        int Second = 0; // of a load within the load
        const int Result = RunDisturbed([this] { return LoadProgramFile(m_sPath); }, [&] {
            Core_Unload();
            if (Core_Load(CORTEX_M3) == 0) Second = LoadProgramFile(m_sPath);
        });
        QVERIFY(m_NumTicks > 0);
        QCOMPARE(Second, -1);
        QCOMPARE(Result, 0);
        QVERIFY(PROG_IsLoaded() && Core::IsInstStart(START) && Core::IsInstStart(LAST));
    }

    void cleanupTestCase()
    {
        PROG_Unload();
        Core_Unload();
    }
};

QTEST_MAIN(tst_core_load)
#include "tst_core_load.moc"
