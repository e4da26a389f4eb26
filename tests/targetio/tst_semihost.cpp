// CSemiHost's operations over a memory of the test, terminal input, and what the device makes of the plug-in's answers.
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "device/queue/device.h"
#include "device/queue/deviceeventlistener.h"
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"
#include "project/settings/sysvars.h"
#include "targetio/semihost/semihost.h"
#include "targetio/semihost/semihostdevice.h"
#include "targetio/semihost/semihostswitch.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <cstring>

namespace {

constexpr U32 BASE = 0x20000000;
constexpr U32 SIZE = 0x4000;
constexpr U32 BLOCK = BASE;          ///< parameter block
constexpr U32 TEXT = BASE + 0x100;
U8 s_aRam[SIZE];
std::atomic<int> s_NumResumes{0};

bool IsRam(U32 Addr, U32 NumBytes)
{
    return Addr >= BASE && U64(Addr) + NumBytes <= BASE + SIZE;
}

} // namespace

extern "C" {
int BRYLLOARM_ReadMemU32(U32 Addr, U32, U32* paData, U8*)
{
    if (!IsRam(Addr, 4)) return -1;
    memcpy(paData, s_aRam + (Addr - BASE), 4);
    return 1;
}
int BRYLLOARM_ReadMemU8(U32 Addr, U32, U8* paData, U8*)
{
    if (!IsRam(Addr, 1)) return -1;
    *paData = s_aRam[Addr - BASE];
    return 1;
}
int BRYLLOARM_ReadMem(U32 Addr, U32 NumBytes, void* pData)
{
    if (!IsRam(Addr, NumBytes)) return -1;
    memcpy(pData, s_aRam + (Addr - BASE), NumBytes);
    return 0;
}
int BRYLLOARM_WriteMem(U32 Addr, U32 NumBytes, const void* pData)
{
    if (!IsRam(Addr, NumBytes)) return -1;
    memcpy(s_aRam + (Addr - BASE), pData, NumBytes);
    return int(NumBytes);
}
int BRYLLOARM_WriteU32(U32 Addr, U32 Data)
{
    return BRYLLOARM_WriteMem(Addr, 4, &Data) == 4 ? 0 : -1;
}
int BRYLLOARM_IsHalted(void)
{
    return 1;
}
int BRYLLOARM_GoEx(U32, U32)
{
    s_NumResumes++;
    return 0;
}
}

/// What the device logs.
class CLogListener : public CDeviceEventListener {
public:
    explicit CLogListener(QStringList* pLog) : m_pLog(pLog) {}
    void OnDeviceLogMsg(const char* sMsg, U32) override { m_pLog->append(QString::fromUtf8(sMsg)); }

private:
    QStringList* m_pLog;
};

class tst_semihost : public QObject {
    Q_OBJECT
    QString m_sOutput;
    QStringList m_Errors;
    QStringList m_Log;
    CLogListener m_LogListener{&m_Log};
    QList<U32> m_Inputs;
    int m_NumCanceled = 0;

    static void Put(U32 Addr, const QByteArray& Data) { memcpy(s_aRam + (Addr - BASE), Data.constData(), size_t(Data.size())); }
    static QByteArray Take(U32 Addr, int Count) { return QByteArray(reinterpret_cast<const char*>(s_aRam) + (Addr - BASE), Count); }
    static void PutWords(std::initializer_list<U32> Words)
    {
        U32 Addr = BLOCK;
        for (const U32 Word : Words) BRYLLOARM_WriteU32(std::exchange(Addr, Addr + 4), Word);
    }
    static U32 Perform(U32 Op, U32 Operand = BLOCK, int Answer = SEMIHOST_DONE)
    {
        U32 Result = 0x12345;
        const int Got = CSemiHost::Get().PerformOperation(Op, Operand, 0x100, Result);
        if (Got != Answer) QTest::qFail(qPrintable(QString("operation %1 answers %2").arg(Op).arg(Got)), __FILE__, __LINE__);
        return Result;
    }
    static U32 Open(const QByteArray& sName, U32 Mode)
    {
        Put(TEXT, sName);
        PutWords({TEXT, Mode, U32(sName.size())});
        return Perform(SYS_OPEN);
    }

private slots:
    void initTestCase()
    {
        SEMIHOST_Register();
        CDevice::Get().Shutdown(); // the test is the worker here
        CSemiHost& Host = CSemiHost::Get();
        connect(&Host, &CSemiHost::PrintDebug, this, [this](const QString& s) { m_sOutput += s; });
        connect(&Host, &CSemiHost::PrintError, this, [this](const QString& s) { m_Errors += s; });
        connect(&Host, &CSemiHost::InputRequestStarted, this, [this](U32 Count) { m_Inputs += Count; });
        connect(&Host, &CSemiHost::OperationCanceled, this, [this] { m_NumCanceled++; });
        connect(&CSemihostSwitch::Get(), &CSemihostSwitch::TextAdded, this, [this](const QString& s) { m_sOutput += s; });
    }

    void init()
    {
        memset(s_aRam, 0, sizeof s_aRam);
        DEVICE_STATE& State = CDevice::Get().State;
        State.Running = 0;
        State.HaltedRaw = 1;
        State.Connected = 1;
        CSemiHost::Get().SetEnabled(true);
        CSemiHost::Get().CancelOperation();
        CSemiHost::Get().TakeCanceled(0x100);
        m_sOutput.clear();
        m_Errors.clear();
        m_Log.clear();
        m_Inputs.clear();
        m_NumCanceled = 0;
        s_NumResumes = 0;
        for (const char* s : {"CORE_TEST_FAULT", "CORE_TEST_SEMIHOST", "CORE_TEST_FINISHED", "CORE_TEST_CONFIG"}) qunsetenv(s);
    }

    void cleanup()
    {
        Core_Unload();
        CDevice::Get().State.Connected = 0;
    }

    void Names()
    {
        char ac[16];
        QCOMPARE(CSemiHost::PrintOperationName(SYS_OPEN, ac, sizeof ac), 0);
        QCOMPARE(ac, "SYS_OPEN");
        QCOMPARE(CSemiHost::PrintOperationName(SYS_GET_CMDLINE, ac, 7), 0); // cut to the buffer
        QCOMPARE(ac, "SysGet");
        for (const U32 Op : {0u, 11u, 20u, U32(SYS_ENTERSVC), 50u}) {
            QCOMPARE(CSemiHost::PrintOperationName(Op, ac, sizeof ac), -1);
            QCOMPARE(ac, "?");
        }
        QCOMPARE(CSemiHost::PrintOperationName(SYS_OPEN, ac, 0), -1);
    }

    void Refusals()
    {
        for (const U32 Op : {SYS_TMPNAM, SYS_REMOVE, SYS_RENAME, SYS_SYSTEM, SYS_ELAPSED, SYS_TICKFREQ}) QCOMPARE(Perform(Op), U32(-1));
        QCOMPARE(m_Errors, (QStringList{
            "Command SYS_TMPNAM failed: declined for security reasons.",
            "Command SYS_REMOVE failed: target tries to remove file. Declined for security reasons.",
            "Command SYS_RENAME failed: target tries to rename file. Declined for security reasons.",
            "Command SYS_SYSTEM failed: target tries to pass a command to host command interpreter. Declined for security reasons.",
            "Command SYS_ELAPSED failed: command is not supported.", "Command SYS_TICKFREQ failed: command not supported."}));
        m_Errors.clear();
        QCOMPARE(Perform(11, BLOCK, SEMIHOST_UNKNOWN), U32(-1));
        QCOMPARE(Perform(50, BLOCK, SEMIHOST_UNKNOWN), U32(-1));
        QCOMPARE(m_Errors, (QStringList{"unsupported semihosting opcode 11", "unsupported semihosting opcode 50"}));
        CSemiHost::Get().SetEnabled(false);
        Perform(SYS_TIME, BLOCK, SEMIHOST_NOT_ENABLED);
        CDevice::Get().State.Connected = 0;
        Perform(SYS_TIME, BLOCK, SEMIHOST_NOT_CONNECTED);
    }

    /// Each operation with its parameters out of memory.
    void Unreadable()
    {
        const U32 Nowhere = BASE + SIZE;
        for (const U32 Op : {SYS_OPEN, SYS_CLOSE, SYS_WRITEC, SYS_WRITE, SYS_ISTTY, SYS_SEEK, SYS_FLEN, SYS_GET_CMDLINE, SYS_HEAPINFO})
            QCOMPARE(Perform(Op, Nowhere), U32(-1));
        QCOMPARE(Perform(SYS_READ, Nowhere, -1), U32(-1));
        QCOMPARE(m_Errors, (QStringList{
            "Command SYS_OPEN failed: target memory could not be read", "Command SYS_CLOSE failed. target memory could not be read.",
            "Command SYS_WRITEC failed. Could not read target memory.", "Command SYS_WRITE failed. target memory could not be read.",
            "Command SysIsTty failed. target memory could not be read.", "Command SYS_SEEK failed. Target memory could not be read.",
            "Command SYS_FLEN failed. Target memory could not be read.",
            "Command SYS_GET_CMDLINE failed. Target memory could not be read.",
            "Command SYS_HeapInfo failed: target memory could not be read.",
            "Semihosting Command SYS_READ failed. could not read target memory.",
            "semihosting operation with opcode 6 returned error code -1"}));
        QCOMPARE(Perform(SYS_EXIT, Nowhere), 0u); // quietly
        QVERIFY(m_sOutput.isEmpty());
    }

    void Strings()
    {
        Put(TEXT, "one\ntwo\r\n" + QByteArray(300, 'x') + "\n");
        Perform(SYS_WRITE0, TEXT);
        QCOMPARE(m_sOutput, "one\r\ntwo\r\n" + QString(300, 'x') + "\r\n");
        m_sOutput.clear();
        // Two bytes of one character, written one by one.
        Put(TEXT, "\xC3\xBC");
        Perform(SYS_WRITEC, TEXT);
        QVERIFY(m_sOutput.isEmpty());
        Perform(SYS_WRITEC, TEXT + 1);
        QCOMPARE(m_sOutput, QString::fromUtf8("\xC3\xBC"));
        m_sOutput.clear();
        // The end of memory without an end of the string: the chunk shrinks twice, then it is given up.
        const U32 Start = BASE + SIZE - 200;
        Put(Start, QByteArray(200, 'y'));
        Perform(SYS_WRITE0, Start);
        QCOMPARE(m_sOutput.size(), 200); // chunks end at the page that the memory ends at
        QCOMPARE(m_Errors, QStringList{"Command SYS_WRITE0 failed. Could not find string terminating 0. 200 bytes read."});
        Put(BASE, QByteArray(SIZE, 'z'));
        m_sOutput.clear();
        Perform(SYS_WRITE0, BASE + 5);
        QCOMPARE(m_sOutput.size(), 4096);
        QCOMPARE(m_Errors.last(), QString("Command SYS_WRITE0 failed. Could not find string terminating 0. 4096 bytes read."));
    }

    void Files()
    {
        const QTemporaryDir Dir;
        const QByteArray sPath = QFile::encodeName(Dir.filePath("f"));
        QCOMPARE(Open(sPath, 0), U32(-1)); // a missing file can't be read
        QCOMPARE(Open(QByteArray(255, 'n'), 4), U32(-1));
        QCOMPARE(m_Errors, QStringList{"Command SYS_OPEN failed: max. file name size exceeded"});
        QCOMPARE(Open(sPath, 12), U32(-1)); // no such mode
        const U32 Handle = Open(sPath, 4);
        QVERIFY(I32(Handle) > 2);
        Put(TEXT, "abcdef");
        PutWords({Handle, TEXT, 6});
        QCOMPARE(Perform(SYS_WRITE), 0u);
        PutWords({Handle, TEXT, 1'000'000});
        QCOMPARE(Perform(SYS_WRITE), U32(-1));
        PutWords({Handle, BASE + SIZE - 2, 6});
        QCOMPARE(Perform(SYS_WRITE), U32(-1));
        PutWords({Handle});
        QCOMPARE(Perform(SYS_CLOSE), 0u);
        QCOMPARE(Perform(SYS_CLOSE), U32(-1)); // it is closed
        const U32 Reader = Open(sPath, 1);
        PutWords({Reader, 2});
        QCOMPARE(Perform(SYS_SEEK), 0u);
        PutWords({Reader, TEXT, 8});
        QCOMPARE(Perform(SYS_READ), 4u);
        QCOMPARE(Take(TEXT, 4), QByteArray("cdef"));
        QCOMPARE(Perform(SYS_READ), 8u); // the end of the file
        QCOMPARE(Perform(SYS_FLEN), 6u);
        PutWords({Reader, TEXT, 1'000'000});
        QCOMPARE(Perform(SYS_READ), U32(-1));
        QCOMPARE(m_Errors.last(), QString("Command SYS_READ failed. data size exceeds limit."));
        PutWords({77, TEXT, 4});
        for (const U32 Op : {SYS_WRITE, SYS_READ, SYS_SEEK, SYS_FLEN}) QCOMPARE(Perform(Op), U32(-1));
        QCOMPARE(Perform(SYS_ERRNO), 9u);
        QCOMPARE(m_sOutput, QString("Command SYS_FLEN failed. Invalid file handle."));
    }

    void Exits()
    {
        Perform(SYS_EXIT, 0x20026);
        Perform(SYS_EXIT, 0x20023);
        PutWords({0x20026});
        Perform(SYS_EXIT, BLOCK);
        Perform(SYS_EXIT, 0x20024, SEMIHOST_PENDING);
        QCOMPARE(m_sOutput, QString("Target application exited normally.\nTarget application exited with error.\n"
                                    "Target application exited normally.\nTarget application exited with unknown status (0x20024).\n"));
        QVERIFY(CSemiHost::Get().IsPending() && !CSemiHost::Get().IsInputInProgress());
        CSemiHost::Get().CancelOperation();
        CSemiHost::Get().CancelOperation();
        QCOMPARE(m_NumCanceled, 1);
    }

    void Input()
    {
        CSemiHost& Host = CSemiHost::Get();
        QCOMPARE(Host.SetInputText("nobody asked"), I64(-1));
        PutWords({SEMIHOST_HANDLE_TTY, TEXT, 10});
        Perform(SYS_READ, BLOCK, SEMIHOST_PENDING);
        QVERIFY(Host.IsInputInProgress());
        QCOMPARE(Host.SetInputText("four"), I64(-1)); // the request stays
        QVERIFY(Host.IsInputInProgress());
        QCOMPARE(Host.SetInputText("twelve chars"), I64(0));
        QCOMPARE(Take(TEXT, 11), QByteArray("twelve cha\0", 11));
        QVERIFY(!Host.IsInputInProgress() && !Host.IsPending());
        Perform(SYS_READC, BLOCK, SEMIHOST_PENDING);
        QCOMPARE(SEMIHOST_SetInputText(3, "Q"), -1); // the length is another
        QCOMPARE(SEMIHOST_SetInputText(1, "Q"), 0);
        QVERIFY(!Host.IsInputInProgress());
        QCOMPARE(m_Inputs, (QList<U32>{10, 1}));
    }

    /// The plug-in's answers at a halt and at the end of a step.
    void Stops()
    {
        Core_GetHooks().GetProjectPluginPath = [] { return QStringLiteral(CORE_TEST_PLUGIN); };
        QCOMPARE(Core_Load(0x0E0000FF), 0);
        const auto Check = [](const char* sAnswer, bool WasRunning) {
            qputenv("CORE_TEST_SEMIHOST", sAnswer);
            CDevice::Get().State.HaltedRaw = 1;
            CDevice::Get().State.Running = 0;
            return SEMIHOST_CheckHandleIRQ(0x100, WasRunning);
        };
        QCOMPARE(Check("0", true), int(SEMIHOST_STOP_NONE));
        QCOMPARE(Check("1 8 0", false), int(SEMIHOST_STOP_SERVED)); // a step stands where it ended
        QCOMPARE(qgetenv("CORE_TEST_FINISHED"), QByteArray("0"));
        QCOMPARE(s_NumResumes.load(), 0);
        QCOMPARE(Check("1 18 0", true), int(SEMIHOST_STOP_RESUMED)); // refused: the program gets -1 and goes on
        QCOMPARE(qgetenv("CORE_TEST_FINISHED"), QByteArray("-1"));
        QCOMPARE(s_NumResumes.load(), 1);
        QCOMPARE(Check("2", true), int(SEMIHOST_STOP_RESUMED));
        QCOMPARE(s_NumResumes.load(), 2);
        QCOMPARE(Check("9", true), int(SEMIHOST_STOP_NONE));
        m_Log.clear();
        while (CDevice::Get().DispatchEvents(10) > 0) {}
        QVERIFY2(m_Log.contains("Target core support plugin API function 'HandleSemihosting' returned an invalid result code"),
                 qPrintable(m_Log.join('\n')));
        // Input is awaited inside of the halt; a request that nothing can end is shown as a halt.
        QCOMPARE(Check("1 7 0", true), int(SEMIHOST_STOP_PENDING));
        QCOMPARE(Check("1 7 0", true), int(SEMIHOST_STOP_PENDING)); // looked at again: not served again
        QCOMPARE(m_Inputs.size(), 1);
        QCOMPARE(SEMIHOST_SetInputText(1, "A"), 0);
        QCOMPARE(qgetenv("CORE_TEST_FINISHED"), QByteArray("65"));
        QCOMPARE(s_NumResumes.load(), 3);
        QCOMPARE(Check("1 24 20024", true), int(SEMIHOST_STOP_NONE));
        CSemiHost::Get().CancelOperation();
        QCOMPARE(Check("1 8 0", true), int(SEMIHOST_STOP_NONE)); // given up: passed over once
        QCOMPARE(Check("1 8 0", true), int(SEMIHOST_STOP_RESUMED));
        CSemiHost::Get().SetEnabled(false);
        QCOMPARE(Check("1 8 0", true), int(SEMIHOST_STOP_NONE));
    }

    void WithoutHandler()
    {
        qputenv("CORE_TEST_FAULT", "nosemihosting");
        Core_GetHooks().GetProjectPluginPath = [] { return QStringLiteral(CORE_TEST_PLUGIN); };
        QCOMPARE(Core_Load(0x0E0000FF), 0);
        qputenv("CORE_TEST_SEMIHOST", "1 8 0");
        QCOMPARE(SEMIHOST_CheckHandleIRQ(0x100, true), int(SEMIHOST_STOP_NONE));
    }

    void Switch_data()
    {
        QTest::addColumn<QByteArray>("Fault");
        QTest::addColumn<bool>("Works");
        QTest::newRow("works") << QByteArray() << true;
        QTest::newRow("fails") << QByteArray("semihosting") << false;
        QTest::newRow("missing") << QByteArray("noinitsemihosting") << false;
    }

    void Switch()
    {
        QFETCH(QByteArray, Fault);
        QFETCH(bool, Works);
        if (!Fault.isEmpty()) qputenv("CORE_TEST_FAULT", Fault);
        Core_GetHooks().GetProjectPluginPath = [] { return QStringLiteral(CORE_TEST_PLUGIN); };
        QCOMPARE(Core_Load(0x0E0000FF), 0);
        CSemihostSwitch& Switch = CSemihostSwitch::Get();
        CDevice::Get().State.Connected = 0;
        Switch.Configure("port=3");
        Switch.SetCapture(true);
        QVERIFY(qgetenv("CORE_TEST_CONFIG").isEmpty()); // no target yet
        QCOMPARE(GetVarValue(VAR_SEMIHOSTING_ENABLED), I64(1));
        CDevice::Get().State.Connected = 1;
        Switch.OnDeviceConnectDone(CM_ATTACH);
        QCOMPARE(Switch.IsEnabled(), Works);
        QCOMPARE(GetVarValue(VAR_SEMIHOSTING_ENABLED), I64(Works));
        const QString sActive = ">> Semihosting IO active\n";
        const QString sInactive = ">> Semihosting IO inactive\n";
        const QString sFailed = ">> Failed to initialize hardware for semihosting IO: target core support plugin function "
                                "'InitSemihosting' returned error code.\n";
        QCOMPARE(m_sOutput, Works ? sActive : sActive + sFailed + sInactive);
        if (!Works) return;
        QCOMPARE(qgetenv("CORE_TEST_CONFIG"), QByteArray("port=3"));
        Switch.Suspend();
        QCOMPARE(qgetenv("CORE_TEST_CONFIG"), QByteArray("off"));
        Switch.Restart();
        QCOMPARE(qgetenv("CORE_TEST_CONFIG"), QByteArray("port=3"));
        Switch.SetCapture(false);
        QCOMPARE(qgetenv("CORE_TEST_CONFIG"), QByteArray("off"));
        QCOMPARE(m_sOutput, sActive + sInactive);
    }
};

QTEST_GUILESS_MAIN(tst_semihost)
#include "tst_semihost.moc"
