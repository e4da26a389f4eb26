// The streaming services: what reaches the probe library, what comes back, and what is refused before. The services'
// operations of the library are this test's own; everything else is the simulated device.
#include "app/services/logfile.h"
#include "device/target/deviceservices.h"
#include "devicerig.h"
#include "platform/probe/bryllo.h"
#include "project/settings/sysvars.h"

#include <QTemporaryDir>
#include <QTest>
#include <cstring>

namespace {
QStringList s_Calls; ///< in order; the worker writes, the test reads when the device is idle
int s_Answer = 0;    ///< of the calls that have none of their own
int s_HSSAnswer = 0;
int s_PowerFreq = 10'000;
BRYLLO_POWERTRACE_CAPS s_Caps = {sizeof s_Caps, 3, 2};
int s_NumTraced = 0;
int s_SWORead = 0;
int s_MemlaneRoom = 1'000;

int Note(const QString& sText, int Answer)
{
    s_Calls << sText;
    return Answer;
}
} // namespace

extern "C" {
int BRYLLO_STRACE_Config(const char* s) { return Note(QString("config %1").arg(s), s_Answer); }
int BRYLLO_STRACE_Start(void) { return Note("trace start", s_Answer); }
int BRYLLO_STRACE_Stop(void) { return Note("trace stop", 0); }
int BRYLLO_STRACE_Read(U32*, U32 n) { return Note(QString("read %1").arg(n), s_Answer); }
int BRYLLO_STRACE_ReadEx(U32* paPCs, U32 n, BRYLLO_STRACE_TIMESTAMP_INFO* paTS, int* pNumTS, U32)
{
    for (int i = 0; i < s_NumTraced; i++) paPCs[i] = 0x100 + 2 * U32(i);
    paTS[0] = {77, 1, 0};
    *pNumTS = 1;
    return Note(QString("readex %1").arg(n), s_NumTraced);
}
int BRYLLO_STRACE_Control(U32, void*) { return 0; }
int BRYLLO_STRACE_GetInstStats(BRYLLO_STRACE_INST_STAT* p, U32 Addr, U32 n, U32 Size, U32 Type)
{
    // n/2 - 1 fetch counters and their total, as many skip counters and theirs.
    for (U32 i = 0; i < n; i++) p[i].Count = Addr + i;
    return Note(QString("stats %1 %2 %3 %4").arg(Addr, 0, 16).arg(n).arg(Size).arg(Type), int(n));
}
int BRYLLOARM_SWO_Control(U32 Cmd, U32* p)
{
    return Note(QString("swo control %1 %2").arg(Cmd).arg(p ? int(*p) : -1), s_Answer);
}
int BRYLLOARM_SWO_EnableTarget(U32 Cpu, U32 SWO, int Mode, U32 Mask)
{
    return Note(QString("swo enable %1 %2 %3 %4").arg(Cpu).arg(SWO).arg(Mode).arg(Mask), s_Answer);
}
int BRYLLOARM_SWO_DisableTarget(U32 Mask) { return Note(QString("swo disable %1").arg(Mask, 0, 16), s_Answer); }
int BRYLLOARM_SWO_ReadStimulus(int Port, U8* p, U32 n)
{
    std::memset(p, 'a', size_t(s_SWORead));
    return Note(QString("swo read %1 %2").arg(Port).arg(n), s_SWORead);
}
int BRYLLOARM_SWO_GetCompatibleSpeeds(U32, U32, U32* p, U32)
{
    p[0] = 2'000'000;
    p[1] = 1'000'000;
    return 2;
}
int BRYLLO_MEMLANE_Control(U32 Cmd, void*) { return Note(QString("memlane %1").arg(Cmd), s_Answer); }
int BRYLLO_MEMLANE_Read(U32, void* p, U32 n)
{
    std::memcpy(p, "hello", 5);
    return Note(QString("memlane read %1").arg(n), 5);
}
int BRYLLO_MEMLANE_Write(U32, const void*, U32 n) { return std::min(int(n), s_MemlaneRoom); }
int BRYLLO_HSS_Start(const BRYLLO_HSS_MEM_BLOCK* p, int n, int Period, int Flags)
{
    return Note(QString("hss %1 %2+%3 %4us %5").arg(n).arg(p[0].Addr, 0, 16).arg(p[0].NumBytes).arg(Period).arg(Flags), s_HSSAnswer);
}
int BRYLLO_HSS_Stop(void) { return Note("hss stop", s_Answer); }
int BRYLLO_HSS_Read(void*, U32 n) { return Note(QString("hss read %1").arg(n), s_Answer < 0 ? s_Answer : 12); }
int BRYLLO_POWERTRACE_Control(U32 Cmd, const void* pIn, void* pOut)
{
    if (Cmd == 4) return std::memcpy(pOut, &s_Caps, sizeof s_Caps), 0;
    if (Cmd != 0) return Note(QString("power %1").arg(Cmd), s_Answer);
    BRYLLO_POWERTRACE_SETUP Setup;
    std::memcpy(&Setup, pIn, sizeof Setup);
    return Note(QString("power setup %1 %2 %3 %4 %5").arg(Setup.ChannelMask).arg(Setup.SampleFreq).arg(Setup.RefSelect)
                    .arg(Setup.EnableCond).arg(Setup.Flags), s_PowerFreq);
}
int BRYLLO_POWERTRACE_Read(U64*, U32 n) { return Note(QString("power read %1").arg(n), 3); }
}

namespace {
class CServiceReports : public CDeviceEventListener {
public:
    QStringList Heard;
    QString Take() { return std::exchange(Heard, {}).join(' '); }
    void OnDeviceEnableInstTraceDone() override { Heard << "enabled"; }
    void OnDeviceDisableInstTraceDone() override { Heard << "disabled"; }
    void OnDeviceDisableInstTraceFailed() override { Heard << "disablefailed"; }
    void OnDeviceStartInstTraceDone() override { Heard << "started"; }
    void OnDeviceStartInstTraceFailed() override { Heard << "startfailed"; }
    void OnDeviceStopInstTraceDone() override { Heard << "stopped"; }
    void OnDeviceStopInstTraceFailed() override { Heard << "stopfailed"; }
    void OnDeviceFlushInstTraceDone() override { Heard << "flushed"; }
    void OnDeviceReadInstTraceDone(U32 n, I64 Num, U64 Less, U64 New, U32* p, void* pTS, U64 NumTS) override
    {
        Heard << QString("trace %1/%2 %3 %4 %5 ts%6=%7").arg(Num).arg(n).arg(Less).arg(New).arg(p[0], 0, 16).arg(NumTS)
                     .arg(static_cast<BRYLLO_STRACE_TIMESTAMP_INFO*>(pTS)->Timestamp);
    }
    void OnDeviceReadInstTraceFailed(U32) override { Heard << "tracefailed"; }
    void OnDeviceReadInstStatsDone(U32, U32*, I64 Num, U64 Fetch, U64 Skip, U64* pF, U64* pS) override
    {
        Heard << QString("stats %1 %2 %3 first %4 %5 last %6").arg(Num).arg(Fetch, 0, 16).arg(Skip, 0, 16)
                     .arg(pF[0], 0, 16).arg(pS[0], 0, 16).arg(Num > 0 ? pF[Num - 1] : 0, 0, 16);
    }
    void OnDeviceStartSWODone(U32, U32, U32) override { Heard << "swo"; }
    void OnDeviceStartSWOFailed(U32, U32, U32) override { Heard << "swofailed"; }
    void OnDeviceStopSWODone(U32) override { Heard << "swostopped"; }
    void OnDeviceReadSWODone(U32 Port, U32, I64 n, U8* p) override { Heard << QString("swodata %1 %2 %3").arg(Port).arg(n).arg(QChar(p[0])); }
    void OnDeviceReadSWOFailed(U32, U32) override { Heard << "swodatafailed"; }
    void OnDeviceSWOSpeedsDone(U32, U32 n, U32* p) override { Heard << QString("speeds %1 %2").arg(n).arg(p[0]); }
    void OnDeviceSWOSpeedsFailed(U32, U32, U32*) override { Heard << "speedsfailed"; }
    void OnDeviceStartMemlaneDone() override { Heard << "memlane"; }
    void OnDeviceStartMemlaneFailed() override { Heard << "memlanefailed"; }
    void OnDeviceStopMemlaneDone() override { Heard << "memlanestopped"; }
    void OnDeviceReadMemlaneDone(U32, U32, I64 n, U8* p) override { Heard << QString("lane %1").arg(QString::fromLatin1(reinterpret_cast<char*>(p), n)); }
    void OnDeviceReadMemlaneFailed(U32, U32) override { Heard << "lanefailed"; }
    void OnDeviceWriteMemlaneDone(U32, U32 n, U8*) override { Heard << QString("written %1").arg(n); }
    void OnDeviceWriteMemlaneFailed(U32, U32 n, U32 Num, U8*) override { Heard << QString("written %2 of %1").arg(n).arg(Num); }
    void OnDeviceStartHSSDone(U32 n, U32*, int, int) override { Heard << QString("hss %1").arg(n); }
    void OnDeviceStartHSSFailed(U32, U32*, int, int) override { Heard << "hssfailed"; }
    void OnDeviceStopHSSDone() override { Heard << "hssstopped"; }
    void OnDeviceStopHSSFailed() override { Heard << "hssstopfailed"; }
    void OnDeviceReadHSSDone(U32, I64 n, U8*) override { Heard << QString("samples %1").arg(n); }
    void OnDeviceStartPowerTraceDone(U32 Mask, U32 Hz, U32 Ref, U32 Cond) override { Heard << QString("power %1 %2 %3 %4").arg(Mask).arg(Hz).arg(Ref).arg(Cond); }
    void OnDeviceStartPowerTraceFailed(U32, U32 Hz, U32, U32) override { Heard << QString("powerfailed %1").arg(Hz); }
    void OnDeviceStopPowerTraceDone() override { Heard << "powerstopped"; }
    void OnDeviceFlushPowerTraceDone() override { Heard << "powerflushed"; }
    void OnDeviceReadPowerTraceDone(U32, I64 n, U64*) override { Heard << QString("power samples %1").arg(n); }
    void OnDeviceCapabilityChanged(int Idx, int Value) override { Heard << QString("cap%1=%2").arg(Idx).arg(Value); }
};
} // namespace

class tst_deviceservices : public QObject {
    Q_OBJECT
    CDeviceRig& R = CDeviceRig::Get();
    CServiceReports* m_p = nullptr;
    QTemporaryDir m_Dir;
    CDevice& Dev() { return CDevice::Get(); }
    /// Lets all jobs end; what was heard, what the library was asked.
    QString Heard()
    {
        return R.WaitSettled() ? m_p->Take() : QString("not settled");
    }
    QString Calls() { return std::exchange(s_Calls, {}).join("; "); }
    void Source(int Value) { SetVar(VAR_TRACE_SOURCE, Value, false); }

private slots:
    void initTestCase()
    {
        QVERIFY(m_Dir.isValid());
        OpenLogFile(LOG_SLOT_APP, m_Dir.filePath("log")); // without a log warnings are not made
        QVERIFY(R.Connect());
        m_p = new CServiceReports;
    }
    void cleanupTestCase()
    {
        R.Disconnect();
        delete m_p;
    }
    void init()
    {
        if (!Dev().IsConnected()) QVERIFY(R.Connect());
        for (auto& Flag : Dev().State.aCapability) Flag = 1;
        DEVICE_STATE& State = Dev().State;
        for (auto* pFlag : {&State.InstTraceEnabled, &State.InstTraceStarted, &State.InstTraceUsed, &State.SWOStarted,
                            &State.MemlaneStarted, &State.HSSStarted, &State.PowerTraceStarted})
            *pFlag = 0;
        s_Answer = s_HSSAnswer = 0;
        s_PowerFreq = 10'000;
        s_NumTraced = 3;
        Source(1);
        Heard();
        Calls();
        R.pReports->Faults.clear();
    }

    void traceLifeCycle()
    {
        // The probe without trace refuses the commands that go with it; the settings go by the operation.
        Dev().EnableSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("enabled started"));
        QCOMPARE(Calls(), QString("config PortWidth=4; trace start"));
        Dev().StartSimpleInstTraceAsync(); // started already
        QCOMPARE(Heard(), QString("started"));
        QCOMPARE(Calls(), QString());

        Dev().State.NewInstTraceData = 1;
        Dev().ReadSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("trace 3/100000 1 1 100 ts1=77"));
        Dev().ReadSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("trace 3/100000 1 0 100 ts1=77")); // the flag goes with the read
        Calls();

        Dev().FlushSimpleInstTraceBufferAsync();
        QCOMPARE(Heard(), QString("flushed"));
        QCOMPARE(Calls(), QString("trace stop; trace start"));
        Dev().DisableSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("disabled stopped"));
        QVERIFY(!Dev().State.InstTraceStarted);
        Dev().DisableSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("disablefailed"));
        Calls();
        Dev().FlushSimpleInstTraceBufferAsync(); // stopped before, stopped after
        QCOMPARE(Heard(), QString("flushed"));
        QCOMPARE(Calls(), QString("trace stop; trace start; trace stop"));
    }

    void enabledWhileDisconnected()
    {
        Dev().DisconnectAsync();
        Heard();
        Dev().EnableSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("enabled"));
        QVERIFY(Dev().State.InstTraceEnabled && !Dev().State.InstTraceStarted);
        Dev().StartSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("startfailed"));
        QCOMPARE(Dev().GetErrorMsg(DEV_ERR_INST_TRACE), QString("not connected"));
    }

    void failedTraceStartTakesTheFeatureAway()
    {
        s_Answer = BRYLLO_ERR_NO_SERVICE;
        Dev().EnableSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("enabled cap3=0 cap5=0 startfailed"));
        QCOMPARE(Dev().GetErrorMsg(DEV_ERR_INST_TRACE), QString("hardware does not support tracing via trace pins"));
        Calls();
        Dev().StartSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("startfailed"));
        QCOMPARE(Calls(), QString()); // not asked again
        Source(3);
        Dev().State.aCapability[CAP_TRACE_SWO] = 1;
        Dev().StartSimpleInstTraceAsync();
        QCOMPARE(Heard(), QString("startfailed"));
        QCOMPARE(Dev().GetErrorMsg(DEV_ERR_INST_TRACE), QString("instruction tracing disabled"));
    }

    void traceReadsAreChecked()
    {
        U32 aPC[4];
        int NumTS = 0;
        CDeviceServices& S = CDeviceServices::Get();
        QCOMPARE(S.ReadSimpleInstTrace(100'001, aPC, nullptr, &NumTS), -1);
        QCOMPARE(Dev().GetErrorMsg(DEV_ERR_INST_TRACE), QString("Invalid read size"));
        QCOMPARE(S.ReadSimpleInstTrace(0, aPC, nullptr, &NumTS), -1);
        Dev().ReadSimpleInstTraceAsync(); // not started
        QCOMPARE(Heard(), QString("tracefailed"));
        QCOMPARE(Calls(), QString());
    }

    void traceStatistics()
    {
        Dev().State.InstTraceStarted = 1;
        // An open range, one of 3 bytes (one half word), one of a single byte, one of 8 bytes.
        const U32 aRange[] = {0xFFFFFFFF, 0xFFFFFFFF, 0x100, 0x103, 0x200, 0x201, 0x300, 0x308};
        Dev().ReadInstStatsAsync(4, aRange);
        // 1 + 4 counters; the totals are the last range's.
        QCOMPARE(Heard(), QString("stats 5 304 309 first 100 102 last 303"));
        QCOMPARE(Calls(), QString("stats 100 4 8 9; stats 300 10 8 9"));
        Dev().State.aCapability[CAP_STREAMING_TRACE] = 0;
        U64 aFetch[4], aSkip[4], Fetch = 7, Skip = 7;
        CDeviceServices& S = CDeviceServices::Get();
        QCOMPARE(S.ReadSimpleTraceInstStats(1, aRange + 2, 4, aFetch, aSkip, &Fetch, &Skip), -1);
        QCOMPARE(Fetch + Skip, U64(0));
        QCOMPARE(Dev().GetErrorMsg(DEV_ERR_TRACE_STATS), QString("hardware does not support streaming trace"));
        Dev().State.aCapability[CAP_STREAMING_TRACE] = 1;
        QCOMPARE(S.ReadSimpleTraceInstStats(1, aRange + 6, 4, aFetch, aSkip, &Fetch, &Skip), 0); // 4 reach the size
        QCOMPARE(Dev().GetErrorMsg(DEV_ERR_TRACE_STATS), QString("request exceeds output buffer size"));
    }

    void swo()
    {
        SetVar(VAR_TRACE_SOURCE, 3, false);
        Dev().State.CoreSpeed = 0;
        Dev().StartSWOTraceAsync(0, 0);
        QCOMPARE(Heard(), QString("swofailed"));
        QCOMPARE(Dev().GetErrorMsg(DEV_ERR_SWO), QString("SWO trace cannot be started: invalid core frequency"));
        Calls();
        Dev().State.CoreSpeed = 48'000'000;
        Dev().StartSWOTraceAsync(0, 0);
        QCOMPARE(Heard(), QString("swo"));
        QCOMPARE(Calls(), QString("swo disable ffffffff; swo control 2 -1; swo enable 48000000 2000000 0 1"));
        s_SWORead = 9;
        Dev().ReadSWOTraceAsync();
        QCOMPARE(Heard(), QString("swodata 0 9 a"));
        QCOMPARE(Calls(), QString("swo read 0 4000; swo control 2 9")); // taken off the library's buffer
        s_SWORead = 0;
        Dev().ReadSWOTraceAsync();
        QVERIFY(Heard().startsWith("swodata 0 0"));
        QCOMPARE(Calls(), QString("swo read 0 4000"));
        Dev().GetCompatibleSWOSpeedsAsync(1'000'000);
        QCOMPARE(Heard(), QString("speeds 2 2000000"));
        Dev().State.InstTraceStarted = 1;
        Dev().ReadSWOTraceAsync();
        QCOMPARE(Heard(), QString("swodatafailed"));
        Dev().State.InstTraceStarted = 0;
        Dev().StopSWOTraceAsync(0xFFFFFFFF);
        QCOMPARE(Heard(), QString("swostopped"));
        Dev().StopSWOTraceAsync(0xFFFFFFFF); // not started: nothing to do
        QCOMPARE(Heard(), QString("swostopped"));
        QVERIFY(Calls().count("disable") == 1);
        Dev().SetConfigParamAsync(DCP_TARGET_IF, 0);
        Dev().StartSWOTraceAsync(1, 1);
        QCOMPARE(Heard(), QString("swofailed"));
        QCOMPARE(Dev().GetErrorMsg(DEV_ERR_SWO), QString("target interface not set to SWD"));
        Dev().SetConfigParamAsync(DCP_TARGET_IF, 1);
        Heard();
    }

    void memlane()
    {
        SetVar(VAR_MEMLANE_ENABLED, 1, false);
        Dev().SetConfigParamAsync(DCP_MEMLANE_ADDR, -1);
        Dev().StartMemlaneAsync();
        QCOMPARE(Heard(), QString("memlane"));
        Dev().ReadMemlaneAsync();
        QCOMPARE(Heard(), QString("lane hello"));
        Dev().WriteMemlaneAsync(100, QByteArray(100, 'x').constData());
        QCOMPARE(Heard(), QString("written 100"));
        s_MemlaneRoom = 60; // of a full buffer the window is told what went in
        Dev().WriteMemlaneAsync(100, QByteArray(100, 'x').constData());
        QCOMPARE(Heard(), QString("written 60 of 100"));
        R.Sim("Sim.SetCap BMA 0");
        Dev().State.aCapability[CAP_BACKGROUND_MEM_ACCESS] = 0;
        Dev().ReadMemlaneAsync();
        QCOMPARE(Heard(), QString("lanefailed"));
        Dev().StopMemlaneAsync();
        QCOMPARE(Heard(), QString("memlanestopped"));
        QCOMPARE(Calls(), QString("memlane 0; memlane read 200000; memlane 1"));
        s_Answer = BRYLLO_ERR_NO_SERVICE;
        Dev().StartMemlaneAsync();
        QCOMPARE(Heard(), QString("memlanefailed"));
        QVERIFY(!Dev().State.MemlaneStarted);
        SetVar(VAR_MEMLANE_ENABLED, 0, false);
        R.Sim("Sim.ResetCaps");
    }

    void memlaneSearchRanges()
    {
        CDeviceServices& S = CDeviceServices::Get();
        for (U32 i = 0; i < MAX_MEMLANE_RANGES; i++) QVERIFY(S.AddMemlaneSearchRange(0x20000000 + i, 16));
        QVERIFY(!S.AddMemlaneSearchRange(1, 1));
        Heard();
        QCOMPARE(CDeviceTarget::Get().Config.GetInt(DCP_MEMLANE_RANGE_CNT), 99);
        S.ForgetMemlaneSearchRanges();
        QVERIFY(S.AddMemlaneSearchRange(0x20000000, 16));
    }

    void sampling_data()
    {
        QTest::addColumn<U32>("Cnt");
        QTest::addColumn<int>("Answer");
        QTest::addColumn<QString>("Expected");
        QTest::addColumn<QString>("Warning");
        QTest::newRow("one") << 1u << 0 << "hss 1" << "";
        QTest::newRow("511") << 511u << 0 << "hss 511" << "";
        QTest::newRow("512") << 512u << 0 << "hssfailed" << "StartHSS: invalid address range input";
        QTest::newRow("none") << 0u << 0 << "hssfailed" << "StartHSS: invalid address range input";
        QTest::newRow("-2") << 1u << -2 << "hssfailed"
                            << "StartHSS: Failed to allocate memory for one or more buffers on the debug probe side";
        QTest::newRow("-3") << 1u << -3 << "hssfailed" << "StartHSS: Too many memory blocks specified";
        QTest::newRow("-4") << 1u << -4 << "hssfailed" << "StartHSS: Target hardware does not support high speed sampling";
        QTest::newRow("-262") << 1u << -262 << "hssfailed" << "StartHSS: Unspecified error";
    }
    void sampling()
    {
        QFETCH(U32, Cnt);
        QFETCH(int, Answer);
        QFETCH(QString, Warning);
        s_HSSAnswer = Answer;
        std::vector<U32> aRange(2 * size_t(Cnt) + 2, 0x20000000);
        aRange[1] = 0x20000006;
        Dev().StartHSSAsync(Cnt, aRange.data(), -5, 3);
        QTEST(Heard(), "Expected");
        if (!Warning.isEmpty()) QVERIFY2(R.pReports->Faults.contains(Warning), qPrintable(R.pReports->Faults.join('|')));
        if (Answer == 0 && Cnt == 1) QCOMPARE(Calls(), QString("hss 1 20000000+6 0us 3"));
        QCOMPARE(bool(Dev().State.HSSStarted), Warning.isEmpty());
        Calls();
        Dev().ReadHSSAsync();
        QCOMPARE(Heard(), Warning.isEmpty() ? QString("samples 12") : QString("samples 0"));
        s_Answer = -1; // the service counts as stopped whatever the library says
        Dev().StopHSSAsync();
        QCOMPARE(Heard(), QString("hssstopfailed"));
        QVERIFY(!Dev().State.HSSStarted);
    }

    void power()
    {
        Dev().StartPowerTraceAsync(1, 10'000);
        QCOMPARE(Heard(), QString("power 1 10000 2 1"));
        QCOMPARE(Calls(), QString("power setup 1 10000 2 1 2; power 1"));
        QCOMPARE(Dev().State.PowerTimeBase.Get(), 1'000'000u);
        Dev().ReadPowerTraceAsync();
        QCOMPARE(Heard(), QString("power samples 3"));
        Dev().FlushPowerTraceAsync();
        QCOMPARE(Heard(), QString("powerflushed"));
        Dev().StopPowerTraceAsync();
        QCOMPARE(Heard(), QString("powerstopped"));
        QCOMPARE(Calls(), QString("power read 10000; power 3; power 2"));

        s_PowerFreq = 3'000'000; // what the probe can do
        s_Caps.Flags = 0;
        Dev().StartPowerTraceAsync(1, 2'500'000);
        QCOMPARE(Heard(), QString("power 1 3000000 2 1"));
        QCOMPARE(Dev().State.PowerTimeBase.Get(), 1'000u);
        Dev().StartPowerTraceAsync(4, 10'000); // a channel that isn't there
        QCOMPARE(Heard(), QString("powerfailed 10000"));
        s_Answer = -262;
        Dev().StartPowerTraceAsync(1, 3'000'000);
        QCOMPARE(Heard(), QString("powerfailed 3000000"));
        s_Caps.Flags = 2;
    }
};

QTEST_GUILESS_MAIN(tst_deviceservices)
#include "tst_deviceservices.moc"
