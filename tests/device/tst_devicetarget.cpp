// The session with the simulated device: connect, reset, run control, the halt sequence, breakpoint lists, memory,
// registers, download, loss of the connection.
#include "core/host/corecalls.h"
#include "devicerig.h"
#include "platform/probe/bryllo.h"
#include "project/settings/sysvars.h"

#include <QTest>
#include <cstring>
#include <vector>

namespace {
constexpr U32 RAM = 0x20001000;
} // namespace

class tst_devicetarget : public QObject {
    Q_OBJECT
    CDeviceRig& R = CDeviceRig::Get();
    CDevice& Dev() { return CDevice::Get(); }
    CDeviceTarget& T() { return CDeviceTarget::Get(); }
    U64 NumExecuted() { return Dev().GetCounters().Executed; }

    void SetBP(U32 Addr, BP_STATES State, BP_TYPES Type = BP_TYPE_ANY)
    {
        Dev().SetBreakpointAsync(Addr, State, Type);
        R.WaitSettled();
    }
    void ResetHalt()
    {
        Dev().ResetAsync(RM_RESET_HALT);
        QVERIFY(R.WaitHalted());
        R.pReports->Take();
    }

private slots:
    void initTestCase() { QVERIFY(R.Connect()); }
    void cleanupTestCase() { R.Disconnect(); }
    void init()
    {
        if (!Dev().IsConnected()) QVERIFY(R.Connect());
        ResetHalt();
        R.pReports->Faults.clear();
    }
    void cleanup()
    {
        R.Sim("Sim.ClearFaults");
        R.Sim("Sim.ResetCaps");
        Dev().ClearAllBreakpointsAsync();
        Dev().ClearAllWatchpointsAsync();
        QVERIFY(R.WaitSettled());
    }

    // ---- Session ---------------------------------------------------------------------------------------

    void published()
    {
        const DEVICE_INFO Info = T().GetInfo();
        QCOMPARE(Info.CoreId, BRYLLO_CORE_CORTEX_M4F);
        QCOMPARE(Info.CoreName, QString("Cortex-M4F"));
        QCOMPARE(Info.RAMAddr, 0x20000000u);
        QVERIFY(Info.SupportedCores.contains(BRYLLO_CORE_RV32IMAC));
        QVERIFY(!Info.FirmwareText.contains("compiled"));
        QVERIFY(Info.LibPath.endsWith("libbryllo.so"));
        QCOMPARE(FormatLibVersion(62101), QString("6.21a"));
        QCOMPARE(FormatLibVersion(60500), QString("6.05"));
        QCOMPARE(Dev().GetPC(), R.Func("Reset_Handler"));
        QCOMPARE(Dev().State.SP.Get(), U64(0x20020000));
        QCOMPARE(Dev().GetDebugState(), DEBUG_STATE_HALTED);
        U32 Core = 0;
        QCOMPARE(T().GetDeviceInfo("MK66FN2M0XXX18", &Core), 0);
        QCOMPARE(Core, BRYLLO_CORE_CORTEX_M4F);
        QCOMPARE(T().GetDeviceInfo("", &Core), -1);
    }

    void variablesOfTheConfiguration()
    {
        class CHear : public CDeviceEventListener {
        public:
            QStringList Heard;
            void OnDeviceConfigParamChanged(int Id, int Value) override { Heard << QString("%1=%2").arg(Id).arg(Value); }
        } Hear;
        SetVar(VAR_TIF_SPEED, 1'000'000, false);
        QCOMPARE(GetVarValue(VAR_TIF_SPEED), I64(1'000'000)); // at once
        QVERIFY(R.WaitSettled());
        QCOMPARE(Dev().State.TIFSpeed.Get(), 1'000'000u); // and in force at the probe
        QCOMPARE(Hear.Heard, (QStringList{"6=1000000", "7=0", "8=0"}));
        Dev().SetConfigParamAsync(DCP_USE_ADAPTIVE, 1);
        QVERIFY(R.WaitSettled());
        QCOMPARE(GetVarValue(VAR_TIF_SPEED), I64(65535));
        SetVar(VAR_TIF_SCAN_CHAIN_POS, 2, false);
        SetVar(VAR_TIF_SCAN_CHAIN_LEN, 9, false);
        QVERIFY(R.WaitSettled());
        QCOMPARE(T().Config.GetInt(DCP_DR_PRE), 2);
        QCOMPARE(T().Config.GetInt(DCP_IR_PRE), 9);
        QCOMPARE(T().Config.GetInt(DCP_MULTIPLE_TARGETS), 1);
        SetVar(VAR_TIF_SCAN_CHAIN_POS, 0, false);
        SetVar(VAR_TIF_SCAN_CHAIN_LEN, 0, false);
        SetVar(VAR_TIF_SPEED, 0, false);
        QVERIFY(R.WaitSettled());
        QCOMPARE(T().Config.GetInt(DCP_MULTIPLE_TARGETS), 0);
    }

    void libraryCommands()
    {
        class CHear : public CDeviceEventListener {
        public:
            QStringList Heard;
            void OnDeviceExecCmdDone(const char* s) override { Heard << QString("done ") + s; }
            void OnDeviceExecCmdFailed(const char* s, const char* sAnswer) override
            {
                Heard << QString("failed ") + s << sAnswer;
            }
            void OnDeviceLogMsg(const char* s, U32 Flags) override { if (Flags & 0x240) Logged << s; }
            QStringList Logged;
        } Hear;
        // A value is no error, and whoever asks for it sees it.
        Dev().ExecBrylloCmdAsync("Sim.DiagReads");
        QVERIFY(R.WaitSettled());
        QCOMPARE(Hear.Heard, QStringList{"done Sim.DiagReads"});
        QVERIFY2(Hear.Logged.contains("Sim.DiagReads: 0"), qPrintable(Hear.Logged.join('|')));
        QVERIFY(R.pReports->Faults.isEmpty());
        Hear.Heard.clear();
        Dev().ExecBrylloCmdAsync("Sim.SetPin C0 1");
        Dev().ExecBrylloCmdAsync("SelectTraceSource=1");
        QVERIFY(R.WaitSettled());
        QCOMPARE(Hear.Heard, (QStringList{"failed Sim.SetPin C0 1", "usage: Sim.SetPin <A0..B15> <0 or 1>",
                                          "failed SelectTraceSource=1", "This probe has no instruction trace"}));
        QCOMPARE(R.pReports->Faults.first(),
                 QString("Error executing Bryllo command \"Sim.SetPin C0 1\": usage: Sim.SetPin <A0..B15> <0 or 1>"));
    }

    void connectModes()
    {
        Dev().DisconnectAsync();
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString("disconnect"));
        QCOMPARE(Dev().GetDebugState(), DEBUG_STATE_NO_CONNECTION);
        for (U32 Cap = 0; Cap < CAP_COUNT; Cap++) QCOMPARE(Dev().GetCapability(DEVICE_CAPABILITIES(Cap)), 1u);
        Dev().ConnectAsync(CM_ATTACH);
        R.WaitSettled();
        QVERIFY(R.pReports->Take().startsWith("connect1"));
        QVERIFY(Dev().State.DebugStarted);
        // A script's connect: the half operation is silent, the deferred request reports.
        Dev().DisconnectAsync();
        R.WaitSettled();
        R.pReports->Take();
        Dev().SetJobEventSuppressed(BT_CONNECT, true);
        Dev().ConnectAsync(CM_CONNECT_ONLY);
        R.WaitSettled();
        Dev().SetJobEventSuppressed(BT_CONNECT, false);
        QCOMPARE(R.pReports->Take(), QString());
        T().RequestFinishConnect(CM_DOWNLOAD_RESET);
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString("connect0"));
        T().RequestFinishReset(RM_RESET_HALT);
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString("reset0"));
    }

    void failedConnect()
    {
        Dev().DisconnectAsync();
        R.WaitSettled();
        R.pReports->Take();
        R.Sim("Sim.Fail Connect 2 -1");
        Dev().ConnectAsync(CM_ATTACH);
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString("connectfailed"));
        QVERIFY(R.pReports->Faults.contains("Connect: BRYLLO API call failed"));
        QVERIFY(!Dev().IsConnected());
        Dev().SetConfigParamAsync(DCP_CONNECT_MODE, 9);
        Dev().ConnectAsync(CM_ATTACH);
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString("connectfailed"));
        QVERIFY(R.pReports->Faults.contains("Connect: unknown host interface"));
        Dev().SetConfigParamAsync(DCP_CONNECT_MODE, 1);
        R.WaitSettled();
    }

    void connectionLost()
    {
        Dev().ContinueAsync(RESUME_NORMAL);
        QVERIFY(R.WaitFor([&] { return !Dev().IsHalted(); }));
        R.WaitSettled();
        R.pReports->Take();
        R.Sim("Sim.Lose");
        QVERIFY(R.WaitFor([&] { return R.pReports->Heard.contains("lost"); }));
        QCOMPARE(R.pReports->Take(), QString("lost"));
        QVERIFY(Dev().IsConnected() && !Dev().IsHalted() && Dev().State.ConnectionLost);
        Dev().ContinueAsync(RESUME_NORMAL);
        R.WaitSettled();
        Dev().DisconnectAsync(); // in order, the lists stay
        R.WaitSettled();
        QVERIFY(R.pReports->Take().endsWith("disconnect"));
        R.Sim("Sim.Restore");
    }

    // ---- Run control -----------------------------------------------------------------------------------

    void runAndHalt()
    {
        Dev().ContinueAsync(RESUME_NORMAL);
        QVERIFY(R.WaitFor([&] { return R.pReports->Heard.contains("resume0"); }));
        QVERIFY(!Dev().IsHalted());
        Dev().HaltAsync();
        QVERIFY(R.WaitHalted());
        QCOMPARE(R.pReports->Take(), QString("resume0 halt0"));
        Dev().HaltAsync(); // halted already: nothing
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString());
        QVERIFY(R.Var("g_Count") > 0);
    }

    void runTo()
    {
        QVERIFY(R.RunTo(R.AddrOf("aftercall")));
        QCOMPARE(R.pReports->Take(), QString("resume1 halt3"));
        QCOMPARE(BRYLLOARM_FindBP(R.AddrOf("aftercall")), 0);
        // To the break symbol: the session has started there.
        const U32 Main = R.Func("main");
        Dev().SetConfigParamAsync(DCP_RESET_BREAK_ADDR, int(Main));
        ResetHalt();
        Dev().State.DebugStarted = 0;
        Dev().State.StartupDone = 0;
        QVERIFY(R.RunTo(Main));
        QCOMPARE(R.pReports->Take(), QString("resume1 runtosymbol halt3"));
        QVERIFY(Dev().State.DebugStarted && Dev().State.StartupDone);
    }

    void runToOverDisabledBreakpoint()
    {
        const U32 Addr = R.AddrOf("aftercall");
        SetBP(Addr, BP_STATE_DISABLED, BP_TYPE_HARD);
        T().Lists.BpListSetCondition(Addr, true);
        QVERIFY(R.RunTo(Addr));
        QCOMPARE(R.pReports->Take(), QString("resume1 halt3"));
        const BP Bp = T().GetBreakpoint(Addr);
        QCOMPARE(Bp.State, U32(BP_STATE_DISABLED));
        QCOMPARE(Bp.Type, U32(BP_TYPE_HARD));
        QVERIFY(Bp.HasCondition);
        QCOMPARE(BRYLLOARM_FindBP(Addr), 0);
        QCOMPARE(Dev().State.HiddenBPAddr.Get(), ADDR64_NONE);
    }

    void runToEnabledBreakpoint()
    {
        const U32 Addr = R.AddrOf("aftercall");
        SetBP(Addr, BP_STATE_ON);
        Dev().SetConfigParamAsync(DCP_RESET_BREAK_ADDR, int(Addr));
        QVERIFY(R.RunTo(Addr));
        QCOMPARE(R.pReports->Take(), QString("resume1 halt2"));
        QCOMPARE(T().GetBreakpoint(Addr).State, U32(BP_STATE_ON));
        QCOMPARE(T().GetBreakpoint(Addr).HitCount, U64(1));
    }

    void userHaltDuringRunTo()
    {
        const U32 Never = R.AddrOf("never");
        Dev().RunToAsync(Never);
        QVERIFY(R.WaitFor([&] { return R.pReports->Heard.contains("resume1"); }));
        QCOMPARE(T().GetBreakpoint(Never).State, U32(BP_STATE_ON_HIDDEN));
        QVERIFY(!T().Lists.BpListGet(Never).Valid); // no entry of the list
        QVERIFY(!Dev().IsIdle());
        QVERIFY(R.WaitSettled()); // whoever waits for the device need not wait for what may never come
        QVERIFY(Dev().IsRunning() && Dev().State.PendingJob == BT_RUN_TO);
        Dev().HaltAsync();
        QVERIFY(R.WaitHalted());
        QCOMPARE(R.pReports->Take(), QString("resume1 halt0"));
        QCOMPARE(BRYLLOARM_FindBP(Never), 0);
        QCOMPARE(T().GetBreakpoint(Never).State, U32(BP_STATE_OFF));
    }

    void conditionDecides()
    {
        const U32 Addr = R.AddrOf("work2");
        SetBP(Addr, BP_STATE_ON);
        T().Lists.BpListSetCondition(Addr, true);
        struct CJudge : CDeviceEventListener {
            int NumAsked = 0;
            int MetAt = 0;
            bool WasSeenHalted = false;
            void OnDeviceEvalBPCondition(U32 PC) override
            {
                WasSeenHalted |= CDevice::Get().IsHalted();
                CDeviceTarget::Get().PostBPConditionResult(PC, ++NumAsked == MetAt);
            }
        } Judge;
        Judge.MetAt = 4;
        Dev().ContinueAsync(RESUME_NORMAL);
        QVERIFY(R.WaitHalted());
        // Three hits cost a halt and a resume each, and nobody has heard of them.
        QCOMPARE(Judge.NumAsked, 4);
        QVERIFY(!Judge.WasSeenHalted);
        QCOMPARE(R.pReports->Take(), QString("resume0 halt2"));
        QCOMPARE(R.Var("g_Count"), 4u);
        QCOMPARE(T().GetBreakpoint(Addr).HitCount, U64(4));
        // A user who halts while the answer is outstanding does not wait for it.
        struct CSilent : CDeviceEventListener {
            bool Asked = false;
            void OnDeviceEvalBPCondition(U32) override { Asked = true; }
        };
        Judge.MetAt = -1;
        SetBP(Addr, BP_STATE_OFF);
        const U32 Other = R.AddrOf("work");
        SetBP(Other, BP_STATE_ON);
        T().Lists.BpListSetCondition(Other, true);
        Judge.NumAsked = -1000;
        Dev().ContinueAsync(RESUME_NORMAL);
        QVERIFY(R.WaitFor([&] { return Judge.NumAsked > -1000; }));
        Dev().HaltAsync();
        QVERIFY(R.WaitHalted());
        QVERIFY(R.pReports->Take().startsWith("resume0 halt"));
    }

    void targetThatRunsByItself()
    {
        BRYLLOARM_GoEx(0, 1);
        {
            std::lock_guard Lock(Dev().GetDeviceMutex());
            T().TestConnectionLost();
        }
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString("resume0"));
        Dev().HaltAsync();
        QVERIFY(R.WaitHalted());
    }

    void resetWhileStepping()
    {
        Dev().RunToAsync(R.AddrOf("end"));
        R.WaitFor([&] { return R.pReports->Heard.contains("resume1"); });
        Dev().ResetAsync(RM_RESET_HALT);
        QVERIFY(R.WaitHalted());
        QVERIFY(R.pReports->Take().endsWith("reset0 halt0")); // once
        QCOMPARE(Dev().State.HiddenBPAddr.Get(), ADDR64_NONE);
        QCOMPARE(Dev().State.PendingJob.Get(), 0u);
        Dev().ResetAsync(RM_RESET_AND_RUN);
        R.WaitSettled();
        QVERIFY(!Dev().State.StartupDone);
        Dev().ContinueAsync(RESUME_NORMAL);
        QVERIFY(R.WaitFor([&] { return bool(Dev().State.StartupDone); }));
        R.Sim("Sim.Fail Reset 1 -1");
        Dev().ResetAsync(RM_RESET_HALT);
        R.WaitSettled();
        QVERIFY(R.pReports->Take().contains("resetfailed"));
    }

    // ---- Breakpoint lists ------------------------------------------------------------------------------

    void breakpointAndLibrary()
    {
        const U32 Addr = R.AddrOf("work");
        SetBP(Addr, BP_STATE_ON, BP_TYPE_HARD);
        const int Handle = BRYLLOARM_FindBP(Addr);
        QVERIFY(Handle > 0);
        QCOMPARE(T().GetBreakpoint(Addr).ImplType, U32(BP_TYPE_HARD));
        Dev().ContinueAsync(RESUME_NORMAL);
        QVERIFY(R.WaitHalted());
        QVERIFY(R.pReports->Take().endsWith("halt2"));
        // The same again leaves library and counter alone.
        SetBP(Addr, BP_STATE_ON, BP_TYPE_HARD);
        QCOMPARE(BRYLLOARM_FindBP(Addr), Handle);
        QCOMPARE(T().GetBreakpoint(Addr).HitCount, U64(1));
        // Another type makes a new entry.
        SetBP(Addr, BP_STATE_ON, BP_TYPE_SOFT);
        QCOMPARE(T().GetBreakpoint(Addr).HitCount, U64(0));
        QCOMPARE(T().GetBreakpoint(Addr).ImplType, U32(BP_TYPE_FLASH));
        SetBP(Addr, BP_STATE_DISABLED);
        QCOMPARE(BRYLLOARM_FindBP(Addr), 0);
        QCOMPARE(T().GetBreakpoint(Addr).State, U32(BP_STATE_DISABLED));
    }

    void failedSetKeepsTheUsersBreakpoint()
    {
        const U32 Addr = R.AddrOf("work");
        R.Sim("Sim.SetBPUnits 0");
        SetBP(Addr, BP_STATE_ON, BP_TYPE_HARD);
        QVERIFY(!T().GetBreakpoint(Addr).Valid);
        QVERIFY(R.pReports->Faults.contains("SetBreakpoint: BRYLLO API call failed"));
        SetBP(Addr, BP_STATE_ON, BP_TYPE_SOFT);
        QCOMPARE(T().GetBreakpoint(Addr).State, U32(BP_STATE_ON));
        SetBP(Addr, BP_STATE_ON, BP_TYPE_HARD);
        QCOMPARE(T().GetBreakpoint(Addr).State, U32(BP_STATE_DISABLED));
        QCOMPARE(BRYLLOARM_FindBP(Addr), 0);
        // A clear that fails leaves the list as it is.
        R.Sim("Sim.ResetCaps");
        SetBP(Addr, BP_STATE_ON);
        R.Sim("Sim.Fail ClrBPEx 1 -1");
        SetBP(Addr, BP_STATE_OFF);
        QCOMPARE(T().GetBreakpoint(Addr).State, U32(BP_STATE_ON));
    }

    void breakpointsSurviveDisconnectAndDownload()
    {
        const U32 aAddr[3] = {R.AddrOf("work"), R.AddrOf("leaf"), R.AddrOf("deep2")};
        for (U32 Addr : aAddr) SetBP(Addr, BP_STATE_ON);
        U8 Byte = 0x5A;
        Dev().WriteMemAsync(0x40000, 1, 0, AW_ANY, MEM_FLAG_DOWNLOAD, &Byte, nullptr);
        R.WaitSettled();
        U8 Read = 0;
        QCOMPARE(T().ReadByte(0x40000, &Read), 0);
        QCOMPARE(Read, Byte);
        for (U32 Addr : aAddr) QVERIFY(BRYLLOARM_FindBP(Addr) > 0);
        QCOMPARE(T().Lists.BpListGetCount(), 3u);
        Dev().DisconnectAsync();
        R.WaitSettled();
        QCOMPARE(T().Lists.BpListGetCount(), 3u);
    }

    void dataBreakpoint()
    {
        QVERIFY(R.RunTo(R.Func("main")));
        WP Wp;
        Wp.Addr = R.VarAddr("g_Sum");
        Wp.AccessSize = AW_WORD;
        Wp.State = BP_STATE_ON;
        Dev().SetWatchpointsAsync(1, &Wp);
        R.WaitSettled();
        QCOMPARE(BRYLLOARM_GetWPInfoEx(-1, nullptr), 1);
        Dev().ContinueAsync(RESUME_NORMAL);
        QVERIFY(R.WaitHalted());
        QCOMPARE(R.Var("g_Sum"), 1u); // behind the first write
        // Found again, whatever the library made of its masks.
        Wp.State = BP_STATE_DISABLED;
        Dev().SetWatchpointsAsync(1, &Wp);
        R.WaitSettled();
        QCOMPARE(BRYLLOARM_GetWPInfoEx(-1, nullptr), 0);
        QCOMPARE(T().Lists.WpListGetCount(), 1u);
        // One that the target can't do comes back disabled, with its reason.
        R.Sim("Sim.SetDataUnits 0");
        Wp.State = BP_STATE_ON;
        Dev().SetWatchpointsAsync(1, &Wp);
        R.WaitSettled();
        WP aWp[BP_LIST_SIZE];
        QCOMPARE(T().Lists.WpListCopy(aWp), 1u);
        QCOMPARE(aWp[0].State, U32(BP_STATE_DISABLED));
        QVERIFY(I32(aWp[0].ErrorCode) < 0);
        QVERIFY(*CDeviceTarget::GetWatchpointErrorText(aWp[0].ErrorCode) != 0);
        Dev().ClearWatchpointsAsync(1, &Wp);
        R.WaitSettled();
        QCOMPARE(T().Lists.WpListGetCount(), 0u);
    }

    // ---- Memory and registers --------------------------------------------------------------------------

    void readPaths()
    {
        for (U32 i = 0; i < 64; i++) QCOMPARE(BRYLLOARM_WriteU8(RAM + i, U8(i)), 0);
        for (auto [Addr, n] : {std::pair{RAM, 1u}, {RAM, 2u}, {RAM + 1, 2u}, {RAM, 4u}, {RAM + 2, 4u}, {RAM, 8u}, {RAM + 4, 8u}, {RAM + 3, 33u}}) {
            std::vector<U8> aData(n), aStatus(n, 9);
            QCOMPARE(T().ReadMem(Addr, n, 0, AW_ANY, 0, nullptr, aData.data(), aStatus.data()), n);
            for (U32 i = 0; i < n; i++) {
                QCOMPARE(aData[i], U8(Addr - RAM + i));
                QCOMPARE(aStatus[i], U8(DATA_VALID));
            }
        }
    }

    void shortReads()
    {
        for (U32 i = 0; i < 16; i++) BRYLLOARM_WriteU8(RAM + i, U8(0xA0 + i));
        R.Sim("Sim.Unreadable 0x20001003 2");
        U8 aData[16], aStatus[16];
        // Up to the hole, then the rest by chunks and items.
        QCOMPARE(T().ReadMem(RAM, 15, 0, AW_BYTE, 0, nullptr, aData, aStatus), 3u);
        QCOMPARE(QByteArray((char*)aStatus, 15), QByteArray("\0\0\0\1\1\1\1\1\1\1\1\1\1\1\1", 15));
        QCOMPARE(T().ReadMem(RAM, 15, 4, AW_BYTE, MEM_FLAG_ITEM_WISE, nullptr, aData, aStatus), 13u);
        QCOMPARE(QByteArray((char*)aStatus, 15), QByteArray("\0\0\0\1\1\0\0\0\0\0\0\0\0\0\0", 15));
        QCOMPARE(aData[14], U8(0xAE));
        U16 HalfWord;
        QCOMPARE(T().ReadHalfWord(RAM + 4, &HalfWord), -1);
        QCOMPARE(HalfWord, U16(0xEEEE));
        U32 Word;
        QCOMPARE(T().ReadWord(RAM + 2, &Word), -1); // unaligned
        QCOMPARE(Word, 0xEEEEEEEEu);
        QCOMPARE(T().ReadInt(RAM + 8, 4, &Word), 0);
        QCOMPARE(Word, 0xABAAA9A8u);
        QCOMPARE(T().ReadInt(RAM + 8, 3, &Word), -1);
        Dev().State.DataEndian = ENDIAN_BIG;
        QCOMPARE(T().ReadInt(RAM + 8, 4, &Word), 0);
        QCOMPARE(Word, 0xA8A9AAABu);
        QCOMPARE(T().ReadInt(RAM + 8, 2, &HalfWord), 0);
        QCOMPARE(HalfWord, U16(0xA8A9));
        Dev().State.DataEndian = ENDIAN_LITTLE;
    }

    void validation()
    {
        U8 Data = 0, Status = 0;
        auto Check = [&](U32 Addr, U32 n, U8* p, U8* s) { return T().ValidateMemoryAccessParams(true, Addr, n, 0, 0, p, s); };
        QCOMPARE(Check(RAM, 1, &Data, &Status), 0);
        QCOMPARE(Check(RAM, 1, nullptr, &Status), -1);
        QCOMPARE(Check(RAM, 1, &Data, nullptr), -1);
        QCOMPARE(Check(RAM, 0, &Data, &Status), -1);
        QCOMPARE(Check(0xFFFFFFFF, 4, &Data, &Status), -1);
        QCOMPARE(Check(0xFFFFFFFB, 4, &Data, &Status), -1);
        QCOMPARE(Check(0xFFFFFFFA, 4, &Data, &Status), 0);
        QCOMPARE(Check(0xFFFFFFF0, 0x100, &Data, &Status), -1);
    }

    void runningTarget_data()
    {
        QTest::addColumn<QByteArray>("Cap");
        QTest::addColumn<U32>("Flags");
        QTest::addColumn<U32>("NumRead");
        QTest::newRow("background access") << QByteArray("Sim.SetCap BMA 1") << 0u << 4u;
        QTest::newRow("none") << QByteArray("Sim.SetCap BMA 0") << 0u << 0u;
        QTest::newRow("halted for it") << QByteArray("Sim.SetCap BMA 0") << U32(MEM_FLAG_HALT_FOR_IO) << 4u;
    }
    void runningTarget()
    {
        QFETCH(QByteArray, Cap);
        QFETCH(U32, Flags);
        QFETCH(U32, NumRead);
        R.Sim(Cap.constData());
        Dev().DisconnectAsync();
        Dev().ConnectAsync(CM_ATTACH);
        QVERIFY(R.WaitHalted()); // it stands, and that is found out
        Dev().ContinueAsync(RESUME_NORMAL);
        QVERIFY(R.WaitFor([&] { return R.pReports->Heard.contains("resume0"); }));
        R.WaitSettled();
        R.pReports->Take();
        U8 aData[4], aStatus[4];
        QCOMPARE(T().ReadMem(0x20000000, 4, 0, AW_ANY, Flags, nullptr, aData, aStatus), NumRead);
        QTest::qWait(120);
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString()); // the access is no halt
        QVERIFY(BRYLLOARM_IsHalted() == 0);
        Dev().HaltAsync();
        QVERIFY(R.WaitHalted());
    }

    void progressOfLargeTransfers()
    {
        struct CProgress : CDeviceEventListener {
            int NumStarts = 0, NumEnds = 0;
            QStringList Msgs;
            void OnDeviceStartProgress(int, int) override { NumStarts++; }
            void OnDeviceEndProgress() override { NumEnds++; }
            void OnDeviceSetProgressMsg(const char* s) override { Msgs << s; }
        } Progress;
        std::vector<U8> aData(4001), aStatus(4001);
        T().ReadMemChunkWise(RAM, 4000, 100, AW_ANY, 0, nullptr, aData.data(), aStatus.data());
        R.WaitSettled();
        QVERIFY(Progress.Msgs.isEmpty());
        T().ReadMemChunkWise(RAM, 4001, 1000, AW_ANY, 0, nullptr, aData.data(), aStatus.data());
        R.WaitSettled();
        QCOMPARE(Progress.Msgs, QStringList{"Reading Memory..."});
        QCOMPARE(Progress.NumStarts, 1);
        QCOMPARE(Progress.NumEnds, 1);
    }

    void canceledTransfer()
    {
        struct CCancel : CDeviceEventListener {
            bool Done = false, Failed = false;
            void OnDeviceSetProgressValue(int Value) override
            {
                if (Value >= 2) CDevice::Get().State.TransferCanceled = 1;
            }
            void OnDeviceWriteMemDone(U32, U32, U8*) override { Done = true; }
            void OnDeviceWriteMemFailed(U32, U32, U8*) override { Failed = true; }
        } Cancel;
        // A short answer in its first piece sends the write into chunks, each of which takes its time.
        const std::vector<U8> aData(100'000, 0x5A);
        R.Sim("Sim.Fail WriteMemEx 1");
        R.Sim("Sim.Delay 5");
        Dev().WriteMemAsync(RAM, U32(aData.size()), 500, AW_ANY, 0, aData.data(), nullptr);
        QVERIFY(R.WaitFor([&] { return Cancel.Done || Cancel.Failed; }));
        R.Sim("Sim.Delay 0");
        QVERIFY(Cancel.Failed && !Cancel.Done);
        U8 Last = 0;
        QCOMPARE(T().ReadByte(RAM + U32(aData.size()) - 1, &Last), 0);
        QVERIFY(Last != 0x5A);

        // Of a download nothing is programmed.
        U32 Before = 0, After = 0;
        QCOMPARE(T().ReadWord(0x10000, &Before), 0);
        R.Sim("Sim.Fail WriteMemEx 1");
        R.Sim("Sim.Delay 5");
        Cancel.Failed = false;
        Dev().WriteMemAsync(0x10000, U32(aData.size()), 500, AW_ANY, MEM_FLAG_DOWNLOAD, aData.data(), nullptr);
        QVERIFY(R.WaitFor([&] { return Cancel.Done || Cancel.Failed; }));
        R.Sim("Sim.Delay 0");
        QVERIFY(Cancel.Failed);
        QVERIFY(R.WaitSettled());
        QCOMPARE(T().ReadWord(0x10000, &After), 0);
        QCOMPARE(After, Before);
        QVERIFY(Before != 0x5A5A5A5A);
        R.pReports->Faults.clear();
    }

    void failedDownload()
    {
        R.Sim("Sim.FlashFail verify");
        U8 Data = 0x33;
        const U32 aRange[2] = {0x41000, 0x41001};
        Dev().WriteMemMultipleAsync(1, aRange, 1, &Data, 0, AW_ANY, MEM_FLAG_OPEN_DOWNLOAD, nullptr);
        Dev().EndDownloadAsync(DM_FILE, false, "x.bin");
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString("downloadfailed-4"));
        QCOMPARE(Dev().State.LastDownloadError.Get(), -4);
        QCOMPARE(CDeviceTarget::GetDownloadErrorText(-4), "error during verification phase");
        Dev().WriteMemMultipleAsync(1, aRange, 1, &Data, 0, AW_ANY, MEM_FLAG_OPEN_DOWNLOAD, nullptr);
        Dev().EndDownloadAsync(DM_FILE, false, "x.bin");
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString("download1"));
        QCOMPARE(Dev().State.LastDownloadError.Get(), 0);
        // A write with a bracket of its own has closed it; the end of the download tells its result.
        R.Sim("Sim.FlashFail program");
        Data = 0x11;
        Dev().WriteMemMultipleAsync(1, aRange, 1, &Data, 0, AW_ANY, MEM_FLAG_DOWNLOAD, nullptr);
        Dev().EndDownloadAsync(DM_FILE, false, "x.bin");
        R.WaitSettled();
        QCOMPARE(R.pReports->Take(), QString("downloadfailed-3"));
    }

    void registers()
    {
        const U32 aIdx[3] = {0, Core_GetPCRegId(), Core_GetSPRegId()};
        U64 aValue[3];
        U8 aStatus[3];
        Dev().WriteRegAsync(0, 0x12345678);
        R.WaitSettled();
        std::lock_guard Lock(Dev().GetDeviceMutex());
        QCOMPARE(T().ReadRegs(3, aIdx, aValue, aStatus), 0);
        QCOMPARE(aValue[0], U64(0x12345678));
        QCOMPARE(aValue[1], U64(Dev().GetPC()));
        QCOMPARE(aValue[2], Dev().State.SP.Get());
        const U32 aBad[2] = {0, 0xFFFFFFFF};
        QCOMPARE(T().ReadRegs(2, aBad, aValue, aStatus), -1);
        U64 Value = 0;
        QCOMPARE(T().ReadReg(0xFFFFFFFF, &Value), -1);
    }

    void writeOfThePC()
    {
        const U32 Addr = R.AddrOf("leaf");
        Dev().WriteRegAsync(Core_GetPCRegId(), Addr);
        QVERIFY(R.WaitHalted());
        QCOMPARE(R.pReports->Take(), QString("halt1"));
        QCOMPARE(Dev().GetPC(), Addr);
        QCOMPARE(Dev().State.SrcLine.Get(), R.Line("leaf"));
    }
};

QTEST_GUILESS_MAIN(tst_devicetarget)
#include "tst_devicetarget.moc"
