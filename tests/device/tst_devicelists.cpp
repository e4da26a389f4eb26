// What needs no target: the fixed lists, the configuration and its XML, the images of the data manager, the text
// forms of breakpoints.
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/breakpoints/breakpointtext.h"
#include "device/target/bplists.h"
#include "device/target/deviceconfig.h"
#include "device/target/memimage.h"
#include "device/target/regimage.h"

#include <QTest>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

class tst_devicelists : public QObject {
    Q_OBJECT

private slots:
    void denseList()
    {
        CDeviceLists Lists;
        for (U32 i = 0; i < BP_LIST_SIZE; i++) QCOMPARE(Lists.BpListInsert(i * 2, BP_STATE_ON, BP_TYPE_ANY), 0);
        QCOMPARE(Lists.BpListInsert(0x10000, BP_STATE_ON, BP_TYPE_ANY), -1); // the 257th
        QCOMPARE(Lists.BpListGetInsertPos(), -1);
        QCOMPARE(Lists.BpListInsert(4, BP_STATE_DISABLED, BP_TYPE_HARD), 0); // there is an entry
        QVERIFY(Lists.BpListOccupied(255));
        QVERIFY(!Lists.BpListOccupied(256) && !Lists.BpListOccupied(-1));
        Lists.BpListCountHit(6);
        Lists.BpListSetCondition(6, true);
        QCOMPARE(Lists.BpListRemove(1), 0); // those behind move down
        QCOMPARE(Lists.BpListFind(6), 2);
        QCOMPARE(Lists.BpListGet(6).HitCount, U64(1));
        QVERIFY(!Lists.BpListOccupied(255));
        QCOMPARE(Lists.BpListInsert(6, BP_STATE_DISABLED, BP_TYPE_ANY), 0);
        QVERIFY(Lists.BpListGet(6).HasCondition); // an entry keeps its counter and mark
        QCOMPARE(Lists.BpListGet(2).State, U32(BP_STATE_OFF));
        QCOMPARE(Lists.BpListRemove(255), -1);
        QVERIFY(!Lists.BpListSetCondition(2, true));
    }

    void sparseLists()
    {
        CDeviceLists Lists;
        WP Wp;
        Wp.State = BP_STATE_ON;
        for (U32 i = 0; i < BP_LIST_SIZE; i++) {
            Wp.Addr = i;
            QCOMPARE(Lists.WpListInsert(Wp), 0);
        }
        Wp.Addr = 1000;
        QCOMPARE(Lists.WpListInsert(Wp), -1);
        QCOMPARE(Lists.WpListRemove(7), 0);
        QCOMPARE(Lists.WpListGetInsertPos(), 7); // the slot stays free, the others where they are
        Wp.Addr = 8;
        QCOMPARE(Lists.WpListFind(Wp), 8);
        Wp.AccessSize = AW_WORD; // one of the compared fields
        QCOMPARE(Lists.WpListFind(Wp), -1);
        TP Tp;
        Tp.Addr = 0x10;
        QCOMPARE(Lists.TpListInsert(Tp), 0);
        Tp.Op = TP_OP_STOP;
        QCOMPARE(Lists.TpListInsert(Tp), 0); // the same address: replaced
        TP aTp[BP_LIST_SIZE];
        QCOMPARE(Lists.TpListCopy(aTp), 1u);
        QCOMPARE(int(aTp[0].Op), int(TP_OP_STOP));
    }

    void readersNeverMeetAMove()
    {
        CDeviceLists Lists;
        std::atomic<bool> Stop{false};
        std::thread Writer([&] {
            for (int n = 0; n < 300; n++) {
                for (U32 i = 1; i <= 20; i++) Lists.BpListInsert(i * 0x1000, BP_STATE_ON, BP_TYPES(i % 6));
                for (int i = 0; i < 20; i++) Lists.BpListRemove(0);
            }
            Stop = true;
        });
        while (!Stop) {
            for (U32 i = 1; i <= 20; i++) {
                const BP Bp = Lists.BpListGet(i * 0x1000);
                if (Bp.Valid) QCOMPARE(Bp.Type, i % 6);
            }
        }
        Writer.join();
    }

    void speedsHangTogether()
    {
        CDeviceConfig Config;
        QCOMPARE(Config.GetSpeedKHz(), 0u);
        Config.SetInt(DCP_SPEED, 4'000'000);
        QCOMPARE(Config.GetInt(DCP_USE_MAX_SPEED), 0);
        QCOMPARE(Config.GetSpeedKHz(), 4000u);
        Config.SetInt(DCP_SPEED, 65535);
        QCOMPARE(Config.GetInt(DCP_USE_ADAPTIVE), 1);
        QCOMPARE(Config.GetSpeedKHz(), 65535u);
        Config.SetInt(DCP_USE_MAX_SPEED, 1);
        QCOMPARE(Config.GetInt(DCP_SPEED), 0);
        QCOMPARE(Config.GetInt(DCP_USE_ADAPTIVE), 0);
        for (U32 Id : {13u, 17u, 18u}) QCOMPARE(Config.SetInt(Id, 1), -1);
        for (U32 Id : {0u, 17u, 22u}) QCOMPARE(Config.SetString(Id, "x"), -1);
        Config.SetString(DCP_HOST_NAME, QString(300, 'h'));
        QCOMPARE(Config.GetString(DCP_HOST_NAME).size(), 255);
    }

    void configurationXml()
    {
        CDeviceConfig Config;
        Config.SetInt(DCP_SPEED, 2'000'000);
        Config.SetInt(DCP_TARGET_IF, 1);
        Config.SetInt(DCP_USB_SERIAL_NO, 0x1234);
        Config.SetString(DCP_DEVICE_NAME, "A \"big\" <chip>");
        Config.SetString(DCP_HOST_NAME, "probe&1");
        const QString sXml = Config.GetXml();
        QVERIFY2(sXml.contains("Speed=\"2000\"") && sXml.contains("USBSerialNo=\"0x1234\""), qPrintable(sXml));
        CDeviceConfig::XML_VALUES Values;
        QCOMPARE(CDeviceConfig::ParseXml(sXml, &Values), 0);
        QCOMPARE(Values.aInt[DCP_SPEED], 2'000'000);
        QCOMPARE(Values.aInt[DCP_USB_SERIAL_NO], 0x1234);
        QCOMPARE(Values.HostName, QString("probe&1"));
        QCOMPARE(Values.DeviceName, QString("A big <chip>")); // quotes are dropped
        // Attributes count on the root too, and have defaults of their own when they are missing.
        QCOMPARE(CDeviceConfig::ParseXml("<BrylloSettings TargetIF='7' DRPre='010'><X IRPre='0x10'><Y Endian='1'/></X></BrylloSettings>",
                                         &Values), 0);
        QCOMPARE(Values.aInt[DCP_TARGET_IF], 7);
        QCOMPARE(Values.aInt[DCP_DR_PRE], 8);
        QCOMPARE(Values.aInt[DCP_IR_PRE], 16);
        QCOMPARE(Values.aInt[DCP_ENDIAN], 0); // too deep
        QCOMPARE(Values.aInt[DCP_CONNECT_MODE], 1);
        QCOMPARE(Values.aInt[DCP_USE_MAX_SPEED], 0);
        QVERIFY(!Values.HasHostName);
        for (const char* sBad : {"", "<a", "<a></b>", "text"}) QCOMPARE(CDeviceConfig::ParseXml(sBad, &Values), -1);
    }

    void memoryImage()
    {
        auto p = std::make_unique<CMemImage>();
        std::vector<U8> aData(100, 0xAB), aRead(100), aStatus(100);
        QCOMPARE(p->Read(0xFFF0, 32, aRead.data(), aStatus.data()), U8(DATA_UNREAD));
        p->Write(0xFFF0, 16, aData.data(), nullptr);
        QCOMPARE(p->Read(0xFFF0, 16, aRead.data(), nullptr), U8(DATA_VALID));
        QCOMPARE(p->Read(0xFFF0, 17, aRead.data(), aStatus.data()), U8(DATA_UNREAD)); // across two pages
        QCOMPARE(aStatus[16], U8(DATA_UNREAD));
        p->SetStatus(0x10000, 16, DATA_PENDING);
        QCOMPARE(p->Read(0xFFF0, 32, aRead.data(), nullptr), U8(DATA_PENDING));
        p->SetStatus(0x10000, 16, DATA_INVALID);
        QCOMPARE(p->Read(0xFFF0, 32, aRead.data(), nullptr), U8(DATA_INVALID));
        QCOMPARE(p->Find(0xFFF0, 0x20000, DATA_UNREAD), U64(0x10010));
        QCOMPARE(p->Find(0xFFF0, 0x10010, DATA_PENDING), U64(0x10010)); // none
        QCOMPARE(p->Find(0x50000, 0x60000, DATA_UNREAD), U64(0x50000)); // no page
        // The end of the address space.
        p->Write(0xFFFFFFF0, 16, aData.data(), nullptr);
        QCOMPARE(p->Read(0xFFFFFFF0, 16, aRead.data(), nullptr), U8(DATA_VALID));
        QCOMPARE(p->Read(0xFFFFFFF0, 32, aRead.data(), aStatus.data()), U8(DATA_INVALID));
        p->Invalidate();
        QCOMPARE(p->Read(0xFFF0, 1, aRead.data(), nullptr), U8(DATA_UNREAD));
    }

    void registerImages()
    {
        CRegImage Regs;
        Regs.Resize(4);
        QCOMPARE(Regs.GetStatus(0), U8(DATA_UNREAD));
        QCOMPARE(Regs.GetStatus(4), U8(DATA_INVALID));
        Regs.Set(9, 1, DATA_VALID); // beyond: nothing
        CCPRegImage CP;
        QCOMPARE(CCPRegImage::Hash(nullptr), 0u);
        QCOMPARE(CCPRegImage::Hash("a"), 5381u * 33 + 'a');
        for (int i = 0; i < 101; i++) CP.Set(QByteArray::number(i).constData(), U64(i), DATA_VALID);
        QCOMPARE(CP.GetStatus("0"), U8(DATA_UNREAD)); // the oldest has made room
        QCOMPARE(CP.GetValue("100"), U64(100));
        // Two names with one hash share an entry: "b!" and "aB".
        QCOMPARE(CCPRegImage::Hash("b!"), CCPRegImage::Hash("aB"));
        CP.Set("aB", 7, DATA_VALID);
        QCOMPARE(CP.GetValue("b!"), U64(7));
    }

    void breakpointText()
    {
        CBreakpoint Record;
        Record.Addr = 0x1F0;
        QCOMPARE(BP_ToText(Record), QString("Breakpoint=0x1F0"));
        Record.State = BP_STATE_DISABLED;
        Record.PermittedImpl = BP_TYPE_HARD;
        Record.Condition = "x";
        Record.TaskName = "My Task";
        Record.SkipCount = 3;
        Record.ReloadSkip = true;
        Record.ConsoleMsg = "hit";
        Record.PopupMsg = "a, b = c";
        const QString sText = BP_ToText(Record);
        QCOMPARE(sText, QString("Breakpoint=0x1F0, Permitted Impl.=BP_TYPE_HARD, State=BP_STATE_DISABLED, "
                                "Condition=\"x\", TaskName=\"My Task\", SkipCount=3, ReloadSkip=1, ConsoleMsg=hit, "
                                "PopupMsg=\"a, b = c\""));
        QCOMPARE(BP_FromText(sText), Record);
        const CBreakpoint Odd = BP_FromText("Breakpoint=10, Actual Impl.=BP_TYPE_RAM, Source=abc, Unknown=1, junk, State=9");
        QCOMPARE(Odd.Addr, U64(0x10));
        QCOMPARE(Odd.PermittedImpl, U32(BP_TYPE_RAM));
        QCOMPARE(Odd.State, U32(BP_STATE_OFF));
        QVERIFY(Odd.Source.isEmpty());

        WP Wp;
        Wp.Addr = 0x20000000;
        Wp.AccessSize = AW_WORD;
        Wp.State = BP_STATE_ON;
        const QString sWp = BP_WatchToText(Wp);
        QCOMPARE(sWp, QString("DataBreakpoint=0x20000000, AccessSize=AW_WORD, State=BP_STATE_ON"));
        const WP Back = BP_WatchFromText(sWp + ", AccessType=nonsense");
        QVERIFY(Back.Addr == Wp.Addr && Back.AccessSize == Wp.AccessSize && Back.State == Wp.State);
        QCOMPARE(Back.AccessType, U32(AT_READ_ONLY)); // the faulty field becomes 0
        const WP Sym = BP_WatchFromText("DataBreakpoint=" + QString(400, 'g'));
        QCOMPARE(strlen(Sym.Expression), size_t(255));
        QCOMPARE(Sym.State, U32(BP_STATE_UNKNOWN));
        TP Tp;
        Tp.Addr = 0x44;
        Tp.Op = TP_OP_STOP;
        Tp.State = BP_STATE_ON;
        QCOMPARE(BP_TraceToText(Tp), QString("Tracepoint=0x44, Type=TP_OP_STOP, State=BP_STATE_ON"));
        QCOMPARE(BP_TraceFromText(BP_TraceToText(Tp)).Addr, U64(0x44));
        QCOMPARE(BP_GetLineKind(" Breakpoint=1"), BP_LINE_BREAKPOINT);
        QCOMPARE(BP_GetLineKind("DataBreakpoint=1"), BP_LINE_WATCHPOINT);
        QCOMPARE(BP_GetLineKind("Tracepoint=1"), BP_LINE_TRACEPOINT);
        QCOMPARE(BP_GetLineKind("Breakpoints=1"), BP_LINE_NONE);
    }

    void extrasText()
    {
        CBreakpoint b;
        QVERIFY(CBreakpointsDataModel::ExtrasText(b).isEmpty());
        b.SkipCount = 2;
        QCOMPARE(CBreakpointsDataModel::ExtrasText(b), QString("Skip 2"));
        b.TaskName = "T";
        QCOMPARE(CBreakpointsDataModel::ExtrasText(b), QString("Task T and 2 skipped"));
        b.Condition = "i";
        b.TriggerOnChange = true;
        b.ReloadSkip = true;
        b.ConsoleMsg = "m";
        b.ScriptCallback = "f";
        b.PermittedImpl = BP_TYPE_SOFT;
        b.Source = "i++;";
        QCOMPARE(CBreakpointsDataModel::ExtrasText(b), QString("When i changes in task T and 2 skipped (reload), call f, "
                                                               "show message, Type=BP_TYPE_SOFT, i++;"));
    }
};

QTEST_GUILESS_MAIN(tst_devicelists)
#include "tst_devicelists.moc"
