// The job queues, the event ring and the delivery to listeners, against executors of this test.
#include "device/queue/device.h"
#include "device/queue/deviceeventlistener.h"
#include "device/queue/deviceeventworker.h"
#include "device/queue/jobtable.h"

#include <QElapsedTimer>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <mutex>
#include <thread>
#include <vector>

namespace {
QSemaphore s_Gate;       ///< the gate job waits here
QSemaphore s_AtGate;     ///< released when the worker has reached the gate
std::mutex s_OrderMutex;
std::vector<U32> s_Order; ///< types executed, in order
std::atomic<int> s_Ret{0};
std::atomic<int> s_Rounds{0};

int Record(CDevice&, DEVICE_JOB& Job)
{
    std::lock_guard Lock(s_OrderMutex);
    s_Order.push_back(Job.Type);
    return s_Ret;
}

// BT_CONFIGURE holds the worker until the test opens the gate.
int WaitAtGate(CDevice&, DEVICE_JOB&)
{
    s_AtGate.release();
    s_Gate.acquire();
    return 0;
}

std::vector<U32> TakeOrder()
{
    std::lock_guard Lock(s_OrderMutex);
    return std::exchange(s_Order, {});
}

/// Listener that writes down what it hears.
class CRecorder : public CDeviceEventListener {
public:
    QStringList Heard;
    int NumConfigured = 0;
    void OnDeviceConnectDone(CONNECT_MODES Mode) override { Heard << QString("ConnectDone %1").arg(Mode); }
    void OnDeviceResetDone(U32 PC, RESET_MODES Mode) override { Heard << QString("ResetDone %1 %2").arg(PC).arg(Mode); }
    void OnDeviceResetFailed(U32, RESET_MODES) override { Heard << "ResetFailed"; }
    void OnDeviceHaltDone(U32 PC, HALT_REASONS R) override { Heard << QString("HaltDone %1 %2").arg(PC).arg(R); }
    void OnDeviceResumeDone(RESUME_MODES) override { Heard << "ResumeDone"; }
    void OnDeviceStepInstDone(U32 PC) override { Heard << QString("StepInstDone %1").arg(PC); }
    void OnDeviceStepped(U32 PC) override { Heard << QString("Stepped %1").arg(PC); }
    void OnDeviceReadCPRegDone(const char* sReg, U64) override { Heard << QString("CPReg %1").arg(sReg); }
    void OnDeviceReadCPRegFailed(const char* sReg) override { Heard << QString("CPRegFailed %1").arg(sReg); }
    void OnDeviceConfigureDone(const char*) override { NumConfigured++; } // the gate
    void OnDeviceReadMemDone(U32 Addr, U32, const char*, U8*, U8*) override { Heard << QString("Mem %1").arg(Addr); }
    void OnDeviceAboutToResume(RESUME_MODES) override
    {
        Heard << (CDevice::Get().IsJobScheduled(BT_CONTINUE) ? "AboutToResume late" : "AboutToResume");
    }
    void OnDeviceWriteAccess() override { Heard << "WriteAccess"; }
    void OnDeviceWriteRegDone(U32 Idx, U64) override { Heard << QString("WriteRegDone %1").arg(Idx); }
    void OnDeviceBPStateChanged() override { Heard << "BPState"; }
    void OnDeviceSetBPDone(U32) override { Heard << "SetBPDone"; }
    void OnDeviceTPStateChanged() override { Heard << "TPState"; }
    void OnDeviceLogMsg(const char* s, U32) override { Heard << QString::fromUtf8(s); }
    void OnDeviceSetStatusMsg(const char* s) override { Heard << QString::fromUtf8(s); }
    void OnDeviceSetProgressValue(int Value) override { Heard << QString("Progress %1").arg(Value); }
    void OnDeviceSetConfigStrDone(DEV_CONFIG_PARAMS, const char* s) override { Heard << QString("Str ") + s; }
    void OnDeviceSetConfigIntDone(DEV_CONFIG_PARAMS, int v) override { Heard << QString("Int %1").arg(v); }
    void OnDeviceSetTargetExecStateDone(U64, U64) override { Heard << "ExecState"; }
    void OnDeviceEndDownloadFailed(const char* s, DOWNLOAD_MODES, int Code) override
    {
        Heard << QString("DownloadFailed %1 %2").arg(s).arg(Code);
    }
};
} // namespace

class tst_devicequeue : public QObject {
    Q_OBJECT
    CDevice& Dev() { return CDevice::Get(); }
    CRecorder* m_p = nullptr;

    void CloseGate()
    {
        QCOMPARE(Dev().ConfigureAsync("x"), 0);
        s_AtGate.acquire();
    }
    /// Lets the worker run until all that was scheduled has ended.
    void OpenGate()
    {
        s_Gate.release();
        Settle();
    }
    void Settle()
    {
        // The idle queue comes last, so its end means that the others are empty.
        QTRY_VERIFY(!AnyAhead());
        const CDevice::COUNTERS& C = Dev().GetCounters();
        QTRY_COMPARE(C.Executed.load() + C.Canceled.load() + m_NumInvalid, C.Scheduled.load());
        Dev().WaitForJob(BT_MEASURE_CORE_SPEED, false); // nothing is ahead: answers at once
        std::lock_guard Lock(Dev().GetDeviceMutex());   // the pass has ended
    }
    bool AnyAhead()
    {
        for (U32 Type = 1; Type < BT_ALL; Type++)
            if (Dev().FindJob(Type, QUEUE_ALL)) return true;
        return false;
    }
    void Deliver()
    {
        while (Dev().DispatchEvents(1000) > 0) {}
    }
    QStringList Heard()
    {
        Deliver();
        return std::exchange(m_p->Heard, {});
    }
    U64 m_NumInvalid = 0;

private slots:
    void initTestCase()
    {
        DEVICE_HOOKS Hooks;
        Hooks.CheckHandleNotifications = [] { s_Rounds++; };
        Hooks.GetPCRegIdx = [] { return U32(15); };
        CDevice::SetHooks(Hooks);
        for (U32 Type = 1; Type < BT_ALL; Type++)
            if (const JOB_ROW* pRow = DEVJOB_GetRow(Type); pRow && !(pRow->Flags & JRF_RESERVED))
                CDevice::SetExecutor(Type, Record);
        CDevice::SetExecutor(BT_CONFIGURE, WaitAtGate);
        CDevice::Get();
    }
    void init()
    {
        m_p = new CRecorder;
        s_Ret = 0;
        TakeOrder();
    }
    void cleanup()
    {
        Settle();
        Deliver();
        delete m_p;
        for (U32 i = 0; i < BT_LAST; i++) Dev().SetJobEventSuppressed(i, false);
        Dev().State.Halted = 0;
        Dev().State.HaltedRaw = 0;
        Dev().State.Connected = 0;
        Dev().State.DebugStarted = 0;
        Dev().State.SrcStepActive = 0;
        Dev().State.PC = 0;
    }

    void namesAndQueues()
    {
        QCOMPARE(GetJobName(BT_WRITE_MEM_MULTIPLE), "BT_WRITE_MEM_MULTIPLE");
        QCOMPARE(GetJobName(68), "Last");
        for (U32 Type : {0u, 10u, 67u, 69u, 0xFFFFFFFFu}) QCOMPARE(GetJobName(Type), "Unknown");
        QCOMPARE(DEVJOB_GetQueue(12345), U32(QUEUE_READ));
        // Types out of range are refused.
        for (U32 Type : {0u, 68u}) {
            DEVICE_JOB Job;
            Job.Type = Type;
            QCOMPARE(Dev().ScheduleJob(&Job), -1);
        }
        QCOMPARE(Dev().ScheduleJob(nullptr), -1);
    }

    void higherQueuesGoFirst()
    {
        CloseGate();
        Dev().MeasureCoreSpeedAsync();
        Dev().ReadRegAsync(1);
        Dev().ReadCPRegAsync("VTOR");
        Dev().SetBreakpointAsync(0x100, BP_STATE_ON, BP_TYPE_ANY);
        Dev().ClearAllBreakpointsAsync();
        QVERIFY(Dev().IsJobScheduled(BT_MEASURE_CORE_SPEED));
        QVERIFY(!Dev().IsJobScheduled(BT_ANY_STEP));
        OpenGate();
        QCOMPARE(TakeOrder(), (std::vector<U32>{BT_SET_BP, BT_CLEAR_ALL_BPS, BT_READ_REG, BT_READ_CP_REG,
                                                BT_MEASURE_CORE_SPEED}));
    }

    void runControlDropsReads_data()
    {
        QTest::addColumn<U32>("Type");
        for (U32 Type : {BT_RESET, BT_HALT, BT_CONTINUE, BT_STEP_INST, BT_STEP_OUT})
            QTest::newRow(GetJobName(Type)) << Type;
    }
    void runControlDropsReads()
    {
        QFETCH(U32, Type);
        CloseGate();
        for (U32 i = 0; i < 500; i++) Dev().ReadMemAsync(i * 4, 4, 0, AW_ANY, 0, nullptr);
        Dev().MeasureCoreSpeedAsync();
        DEVICE_JOB Job;
        Job.Type = Type;
        QCOMPARE(Dev().ScheduleJob(&Job), 0);
        const U64 Canceled = Dev().GetCounters().Canceled;
        OpenGate();
        QCOMPARE(TakeOrder(), std::vector<U32>{Type});
        QCOMPARE(Dev().GetCounters().Canceled - Canceled, U64(501));
        for (const QString& s : Heard()) QVERIFY2(!s.startsWith("Mem"), qPrintable(s));
    }

    void otherControlJobsKeepReads()
    {
        CloseGate();
        Dev().ReadCPRegAsync("A");
        Dev().RunToAsync(0x100);
        Dev().ReadHSSAsync();
        Dev().StartHSSAsync(0, nullptr, 0, 0);
        OpenGate();
        QCOMPARE(TakeOrder(), (std::vector<U32>{BT_RUN_TO, BT_START_HSS, BT_READ_CP_REG}));
        QCOMPARE(Heard(), QStringList{"CPReg A"}); // a run-to raises nothing by itself
    }

    void haltOfHaltedTarget()
    {
        Dev().State.Connected = 1;
        Dev().State.Halted = 1;
        Dev().HaltAsync();
        Settle();
        QVERIFY(TakeOrder().empty());
        QVERIFY(Heard().isEmpty());
    }

    void fullQueue()
    {
        CloseGate();
        for (U32 i = 0; i < JOB_SLOTS; i++) QCOMPARE(Dev().ReadCPRegAsync("R"), 0);
        QCOMPARE(Dev().ReadCPRegAsync("R"), -1);
        QVERIFY(Dev().FindJob(BT_READ_CP_REG, QUEUE_OF_TYPE)); // a full ring is not an empty one
        QCOMPARE(Dev().HaltAsync(), 0);                        // the other queues have room
        Dev().CancelJobs(BT_HALT, QUEUE_ALL);
        // The event of the gate's job takes a place in the ring of 10,000, so the last read goes unreported.
        QTest::ignoreMessage(QtWarningMsg, "Target event queue full. job not inserted");
        OpenGate();
        // All have run, none is delivered: each still holds its slot.
        QCOMPARE(Dev().ReadCPRegAsync("S"), -1);
        Settle();
        Deliver();
        QCOMPARE(Dev().ReadCPRegAsync("T"), 0);
        Settle();
        QCOMPARE(Heard().last(), QString("CPReg T"));
    }

    void slotIsReusedAtOnce()
    {
        // A full queue with a caller that waits for the first free slot: the job that comes in as another's slot is
        // released must be the one that runs, and not be taken for the one that has ended.
        Dev().SetJobEventSuppressed(BT_READ_REG, true);
        for (int Round = 0; Round < 3; Round++) {
            CloseGate();
            for (U32 i = 0; i < JOB_SLOTS; i++) QCOMPARE(Dev().ReadRegAsync(i), 0);
            const U64 Canceled = Dev().GetCounters().Canceled;
            s_Gate.release();
            for (int i = 0; i < 20'000; i++) {
                DEVICE_JOB Job;
                Job.Type = BT_READ_REG;
                while (Dev().ScheduleJob(&Job) < 0) {}
            }
            Settle();
            QCOMPARE(TakeOrder().size(), size_t(JOB_SLOTS + 20'000));
            QCOMPARE(Dev().GetCounters().Canceled.load(), Canceled);
        }
        Deliver(); // the warnings of the full queue
        m_p->Heard.clear();
    }

    void fullEventRing()
    {
        for (U32 i = 0; i < EVENT_SLOTS; i++) QCOMPARE(Dev().PostDeviceEvent(DEV_EVENT_PROGRESS_VALUE, i, 0), 0);
        QTest::ignoreMessage(QtWarningMsg, "Target event queue full. job not inserted");
        QCOMPARE(Dev().PostDeviceEvent(DEV_EVENT_PROGRESS_VALUE, 7, 0), -1);
        const QStringList All = Heard();
        QCOMPARE(All.size(), qsizetype(EVENT_SLOTS));
        QCOMPARE(All.first(), QString("Progress 0"));
        QCOMPARE(All.last(), QString("Progress 9999"));
    }

    void suppression()
    {
        Dev().SetJobEventSuppressed(BT_RESET, true);
        Dev().ResetAsync(RM_RESET_HALT);
        Settle();
        QCOMPARE(TakeOrder(), std::vector<U32>{BT_RESET});
        QVERIFY(Heard().isEmpty());
        QCOMPARE(Dev().PostJobEvent(BT_RESET, JOB_DONE, RM_RESET_HALT, 0, 0), 0);
        QVERIFY(Heard().isEmpty());
        Dev().SetJobEventSuppressed(BT_RESET, false);
        Dev().PostJobEvent(BT_RESET, JOB_DONE, RM_RESET_HALT, 0x42, 0);
        QCOMPARE(Heard(), QStringList{"ResetDone 66 0"});
    }

    void outcome_data()
    {
        QTest::addColumn<int>("Ret");
        QTest::addColumn<QStringList>("Expected");
        QTest::newRow("done") << 0 << QStringList{"CPReg R"};
        QTest::newRow("count") << 5 << QStringList{"CPReg R"};
        QTest::newRow("failed") << -1 << QStringList{"CPRegFailed R"};
        QTest::newRow("dropped") << -2 << QStringList();
    }
    void outcome()
    {
        QFETCH(int, Ret);
        s_Ret = Ret;
        Dev().ReadCPRegAsync("R");
        Settle();
        QTEST(Heard(), "Expected");
    }

    void downloadKeepsItsCode()
    {
        s_Ret = -3; // any negative answer is a failure with that code
        Dev().EndDownloadAsync(DM_PROGRAM, false, "a.elf");
        Settle();
        QCOMPARE(Heard(), QStringList{"DownloadFailed a.elf -3"});
    }

    void staleReports_data()
    {
        QTest::addColumn<U32>("Type");
        QTest::addColumn<U64>("P0");
        QTest::addColumn<bool>("Halted");
        QTest::addColumn<U64>("PC");
        QTest::addColumn<bool>("SrcStep");
        QTest::addColumn<QStringList>("Expected");
        const QStringList None;
        QTest::newRow("connect") << U32(BT_CONNECT) << U64(1) << false << U64(0) << false << QStringList{"ConnectDone 1"};
        QTest::newRow("connect only") << U32(BT_CONNECT) << U64(3) << false << U64(0) << false << None;
        QTest::newRow("hardware reset") << U32(BT_RESET) << U64(4) << true << U64(0x42) << false << None;
        QTest::newRow("halt") << U32(BT_HALT) << U64(2) << true << U64(0x42) << false << QStringList{"HaltDone 66 2"};
        QTest::newRow("halt, running") << U32(BT_HALT) << U64(2) << false << U64(0x42) << false << None;
        QTest::newRow("halt elsewhere") << U32(BT_HALT) << U64(2) << true << U64(0x44) << false << None;
        QTest::newRow("step") << U32(BT_STEP_INST) << U64(0) << true << U64(0x42) << false
                              << QStringList{"StepInstDone 66", "Stepped 66"};
        QTest::newRow("step, running") << U32(BT_STEP_INST) << U64(0) << false << U64(0x42) << false << None;
        QTest::newRow("step, another PC") << U32(BT_STEP_INST) << U64(0) << true << U64(0x40) << false << None;
        QTest::newRow("step under way") << U32(BT_STEP_INST) << U64(0) << true << U64(0x42) << true << None;
    }
    void staleReports()
    {
        QFETCH(U32, Type);
        QFETCH(U64, P0);
        QFETCH(bool, Halted);
        QFETCH(U64, PC);
        QFETCH(bool, SrcStep);
        Dev().State.Halted = Halted;
        Dev().State.PC = PC;
        Dev().State.SrcStepActive = SrcStep;
        Dev().PostJobEvent(Type, JOB_DONE, P0, 0x42, 0);
        QTEST(Heard(), "Expected");
    }

    void burstOfSteps()
    {
        Dev().State.Halted = 1;
        Dev().State.PC = 0x42;
        for (int i = 0; i < 10; i++) Dev().StepInstAsync();
        Settle();
        QCOMPARE(TakeOrder().size(), size_t(10));
        QCOMPARE(Heard(), (QStringList{"StepInstDone 66", "Stepped 66"}));
        // A later step that is 11 entries away doesn't count.
        Dev().PostJobEvent(BT_STEP_INST, JOB_DONE, 0, 0x42, 0);
        for (int i = 0; i < 10; i++) Dev().PostDeviceEvent(DEV_EVENT_ABOUT_TO_STEP, 0, 0);
        Dev().PostJobEvent(BT_STEP_INST, JOB_DONE, 0, 0x42, 0);
        QCOMPARE(Heard().count("Stepped 66"), 2);
    }

    void followUps()
    {
        Dev().State.DebugStarted = 1;
        Dev().State.PC = 0x80;
        Dev().WriteRegAsync(15, 0x80);
        Dev().WriteRegAsync(0, 1);
        Dev().SetBreakpointAsync(0, BP_STATE_OFF, BP_TYPE_ANY);
        Dev().ClearAllTracepointsAsync();
        Dev().SetConfigParamAsync(DCP_HOST_NAME, "h");
        Dev().SetConfigParamAsync(DCP_CORE_INDEX, -5);
        Dev().SetTargetExecStateAsync(0x90, 0);
        Settle();
        QCOMPARE(Heard(), (QStringList{"WriteAccess", "WriteRegDone 15", "HaltDone 128 1", "WriteAccess",
                                       "WriteRegDone 0", "SetBPDone", "BPState", "TPState", "Str h", "Int -5",
                                       "ExecState", "ResetDone 144 5"}));
        Dev().ResetAsync(RM_RESET_HALT);
        Settle();
        QCOMPARE(Heard(), (QStringList{"ResetDone 128 0", "HaltDone 128 0"}));
        QCOMPARE(Dev().SetConfigParamAsync(DCP_NUM_INT_PARAMS, 1), -1);
        QCOMPARE(Dev().SetConfigParamAsync(DCP_SPEED, "x"), -1);
        QCOMPARE(Dev().SetConfigParamAsync(DCP_HOST_NAME, static_cast<const char*>(nullptr)), -1);
    }

    void aboutToNoticeComesFirst()
    {
        CloseGate();
        Dev().ContinueAsync(RESUME_NORMAL);
        QCOMPARE(m_p->Heard, QStringList{"AboutToResume"}); // without any delivery
        OpenGate();
        // From another thread it is posted.
        m_p->Heard.clear();
        std::thread([this] { Dev().ContinueAsync(RESUME_NORMAL); }).join();
        QVERIFY(m_p->Heard.isEmpty());
        Settle();
        QVERIFY(Heard().join(' ').contains("AboutToResume"));
    }

    void refusedParameterDoesNotBlock()
    {
        // No block of input: the job is scheduled, ignored, and those behind it run.
        QCOMPARE(Dev().ReadHSSAsync(), 0); // one with its block, for the difference
        QCOMPARE(Dev().SetWatchpointsAsync(0, nullptr), 0);
        m_NumInvalid++;
        QCOMPARE(Dev().SetBreakpointsAsync(JOB_MAX_DYN_SIZE, nullptr, BP_STATE_ON, BP_TYPE_ANY), 0);
        m_NumInvalid++;
        Dev().ReadCPRegAsync("R");
        Settle();
        QCOMPARE(TakeOrder(), (std::vector<U32>{BT_READ_HSS, BT_READ_CP_REG}));
        QCOMPARE(Heard(), QStringList{"CPReg R"});
        // A read of memory says what happened to it, whatever its size.
        QCOMPARE(Dev().ReadMemAsync(0x100, 0, 0, AW_ANY, 0, nullptr), 0);
        QCOMPARE(Dev().ReadMemAsync(0x100, JOB_MAX_DYN_SIZE + 1, 0, AW_ANY, 0, nullptr), 0);
        Settle();
        QCOMPARE(TakeOrder(), (std::vector<U32>{BT_READ_MEM, BT_READ_MEM}));

        DEVICE_JOB Job;
        Job.Type = BT_READ_MEM;
        char* p = static_cast<char*>(DEVJOB_AllocParam(Job, 0, 3));
        QVERIFY(p && p[0] == 0 && p[3] == 0); // one spare byte
        QVERIFY(!DEVJOB_AllocParam(Job, 0, 3));
        QVERIFY(!DEVJOB_AllocParam(Job, 1, U64(JOB_MAX_DYN_SIZE) + 1));
        DEVJOB_FreeParams(Job);
    }

    void waits()
    {
        QCOMPARE(Dev().WaitForJob(BT_READ_MEM, false, 1000), I64(1)); // nothing there: at once

        CloseGate();
        Dev().ReadCPRegAsync("R");
        QCOMPARE(Dev().WaitForJob(BT_READ_CP_REG, false, 20), I64(-1)); // time runs out, the job stays
        Dev().StepOverAsync();
        QElapsedTimer Timer;
        Timer.start();
        QVERIFY(Dev().WaitForJob(BT_STEP_OVER, false) > 1); // no source step is under way
        QVERIFY(Timer.elapsed() < 4000);
        Dev().CancelJobs(BT_STEP_OVER, QUEUE_ALL);
        QCOMPARE(Dev().WaitForJob(BT_STEP_OVER, false), I64(1)); // a cancelled job does not count
        Dev().CancelJobs(BT_STEP_OVER, QUEUE_ALL);
        std::thread Opener([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            s_Gate.release();
        });
        const I64 SeqNo = Dev().WaitForJobAndEvent(BT_READ_CP_REG, false);
        Opener.join();
        QVERIFY(SeqNo > 1);
        QVERIFY(m_p->Heard.contains("CPReg R"));
        Settle();
        // A job that the worker has taken up: one wait doesn't see it, the other waits for its end and its event.
        Deliver();
        const int Before = m_p->NumConfigured;
        CloseGate();
        QCOMPARE(Dev().WaitForJob(BT_CONFIGURE, false), I64(1));
        QVERIFY(Dev().HasPendingJob(BT_CONFIGURE));
        std::thread Later([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            s_Gate.release();
        });
        Dev().WaitUntilDone(BT_CONFIGURE, false);
        QVERIFY(!Dev().HasPendingJob(BT_CONFIGURE));
        Later.join();
        QCOMPARE(m_p->NumConfigured, Before + 1);
    }

    void waitForEventStopsAtItsJob()
    {
        CloseGate();
        Dev().ReadCPRegAsync("A");
        Dev().ReadLocsAsync(0, nullptr, 0); // invalid, dropped
        m_NumInvalid++;
        Dev().SetStatusMsg("before");
        std::thread Opener([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            s_Gate.release();
        });
        Dev().WaitForJobAndEvent(BT_READ_CP_REG, true);
        Opener.join();
        Dev().SetStatusMsg("after");
        QCOMPARE(m_p->Heard.last(), QString("CPReg A"));
        QVERIFY(m_p->Heard.contains("before"));
        QVERIFY(!m_p->Heard.contains("after"));
        QCOMPARE(Heard().last(), QString("after"));
    }

    void texts()
    {
        const QByteArray Long(1500, 'x');
        Dev().SetStatusMsg(Long.constData());
        QCOMPARE(Heard(), QStringList{QString(1000, 'x')});
        for (U32 i = 0; i < EVENT_TEXT_SLOTS + 1; i++) Dev().SetProgressMsg("p");
        Dev().SetStatusMsg("s");
        Dev().LogErrorMsg("%d%%", 5);
        const QStringList All = Heard();
        QCOMPARE(All, (QStringList{"s", "5%"}));
        Dev().SetErrorMsg(DEV_ERR_INST_TRACE, QByteArray(3000, 'e').constData());
        QCOMPARE(Dev().GetErrorMsg(DEV_ERR_INST_TRACE).size(), 2047);
        QVERIFY(Dev().GetErrorMsg(DEV_ERR_SWO).isEmpty());
    }

    void listenersComeAndGo()
    {
        struct CNamed : CDeviceEventListener {
            QString Name;
            QStringList* pLog;
            CDeviceEventListener** ppVictim = nullptr;
            CNamed(const char* s, QStringList* p) : Name(s), pLog(p) {}
            void OnDeviceEndProgress() override
            {
                *pLog << Name;
                if (ppVictim && *ppVictim) {
                    delete *ppVictim;
                    *ppVictim = nullptr;
                }
            }
        };
        QStringList Log;
        CNamed A("A", &Log);
        CDeviceEventListener* pB = new CNamed("B", &Log);
        CNamed C("C", &Log);
        Dev().EndProgress();
        Deliver();
        QCOMPARE(Log, (QStringList{"A", "B", "C"}));
        A.ppVictim = &pB; // goes while the event is under way
        Log.clear();
        Dev().EndProgress();
        Deliver();
        QCOMPARE(Log, (QStringList{"A", "C"}));
        CNamed D("D", &Log); // takes the place that B left
        Log.clear();
        Dev().EndProgress();
        Deliver();
        QCOMPARE(Log, (QStringList{"A", "D", "C"}));
    }

    void eventWorkerDeliversInBatches()
    {
        QObject Parent;
        CDeviceEventWorker* pWorker = Dev().CreateEventWorker(&Parent);
        QVERIFY(pWorker->isSingleShot());
        for (int i = 0; i < 25; i++) Dev().SetProgressValue(i);
        // Each turn of the timer delivers ten at most.
        qsizetype Last = 0;
        qsizetype Most = 0;
        QElapsedTimer Timer;
        for (Timer.start(); m_p->Heard.size() < 25 && Timer.elapsed() < PATIENCE_MS;) {
            QCoreApplication::processEvents(QEventLoop::AllEvents);
            Most = qMax(Most, m_p->Heard.size() - Last);
            Last = m_p->Heard.size();
        }
        QCOMPARE(m_p->Heard.size(), 25);
        QVERIFY(Most <= 20); // two timer turns may fall into one turn of the loop
        // A post from another thread starts it again.
        m_p->Heard.clear();
        std::thread([this] { Dev().SetStatusMsg("from afar"); }).join();
        QTRY_COMPARE(m_p->Heard, QStringList{"from afar"});
    }

    void manyThreads()
    {
        std::atomic<bool> Stop{false};
        std::vector<std::thread> aThread;
        for (int t = 0; t < 3; t++) {
            aThread.emplace_back([this, t, &Stop] {
                for (int i = 0; i < 400 && !Stop; i++) {
                    Dev().ReadCPRegAsync("R");
                    Dev().SetStatusMsg("m");
                    if (t == 0 && i % 50 == 0) Dev().CancelJobs(BT_READ_CP_REG, QUEUE_ALL);
                    if (t == 1 && i % 40 == 0) Dev().HaltAsync();
                    if (t == 2) Dev().PostJobEvent(BT_CONTINUE, JOB_DONE, 0, 0, 0);
                }
            });
        }
        int Resumed = 0;
        int Messages = 0;
        auto Count = [&] {
            for (const QString& s : Heard()) {
                Resumed += s == "ResumeDone";
                Messages += s == "m";
            }
        };
        for (int i = 0; i < 200; i++) {
            Dev().FindJob(BT_READ_CP_REG, QUEUE_ALL);
            Count();
        }
        for (std::thread& T : aThread) T.join();
        Settle();
        Count();
        QCOMPARE(Resumed, 400);
        QCOMPARE(Messages, 1200);
        const CDevice::COUNTERS& C = Dev().GetCounters();
        QCOMPARE(C.Executed.load() + C.Canceled.load() + m_NumInvalid, C.Scheduled.load());
    }
};

QTEST_GUILESS_MAIN(tst_devicequeue)
#include "tst_devicequeue.moc"
