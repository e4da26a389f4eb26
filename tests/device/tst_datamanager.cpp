// The data manager's view of the target: what is read once, shared, cached and dropped.
#include "core/host/corecalls.h"
#include "device/target/datamanager.h"
#include "devicerig.h"
#include "platform/probe/bryllo.h"
#include "program/symbols/elfsymloc.h"

#include <QTest>
#include <cstring>

namespace {
/// Listener of the data manager's answers.
class CReader : public CDeviceEventListener {
public:
    QStringList Heard;
    QByteArray Data;
    QByteArray Status;
    void OnDeviceReadMemDone(U32 Addr, U32 n, const char*, U8* paData, U8* paStatus) override
    {
        Heard << QString("mem%1").arg(Addr, 0, 16);
        Data = QByteArray(reinterpret_cast<char*>(paData), n);
        Status = QByteArray(reinterpret_cast<char*>(paStatus), n);
    }
    void OnDeviceReadRegDone(U32 Idx, U64 Value) override { Heard << QString("reg%1=%2").arg(Idx).arg(Value, 0, 16); }
    void OnDeviceReadRegsDone(U32 Cnt, U32*, U64* p, U8*) override
    {
        Heard << QString("regs%1").arg(Cnt);
        Data = QByteArray(reinterpret_cast<char*>(p), qsizetype(Cnt) * 8);
    }
    void OnDeviceReadLocDone(const ELF_SYM_LOC&, U32 n, const char*, U8* p) override
    {
        Heard << "loc";
        Data = QByteArray(reinterpret_cast<char*>(p), n);
    }
    void OnDeviceReadLocFailed(const ELF_SYM_LOC&, U32, const char*, U8*) override { Heard << "locfailed"; }
    void OnDeviceReadCPRegDone(const char* s, U64) override { Heard << QString("cp") + s; }
};

ELF_SYM_LOC MemLoc(U32 Addr)
{
    ELF_SYM_LOC Loc = {};
    Loc.NumParts = 1;
    Loc.aPart[0].Type = ELF_LOC_MEM_FIXED;
    Loc.aPart[0].Addr = Addr;
    return Loc;
}
ELF_SYM_LOC RegLoc(U32 Reg)
{
    ELF_SYM_LOC Loc = {};
    Loc.NumParts = 1;
    Loc.aPart[0].Type = ELF_LOC_REG;
    Loc.aPart[0].Reg = Reg;
    return Loc;
}
constexpr U32 RAM = 0x20001000;
} // namespace

class tst_datamanager : public QObject {
    Q_OBJECT
    CDeviceRig& R = CDeviceRig::Get();
    CDevice& Dev() { return CDevice::Get(); }
    CDeviceDataManager& M() { return CDeviceDataManager::Get(); }
    U64 NumExecuted() { return Dev().GetCounters().Executed; }

private slots:
    void initTestCase() { QVERIFY(R.Connect()); }
    void cleanupTestCase() { R.Disconnect(); }
    void init()
    {
        Dev().ResetAsync(RM_RESET_HALT);
        QVERIFY(R.WaitHalted());
        R.pReports->Take();
    }
    void cleanup()
    {
        R.Sim("Sim.ClearFaults");
        R.Sim("Sim.ResetCaps");
        QVERIFY(R.WaitSettled());
    }

    void haltOfStandingTargetKeepsReads()
    {
        struct CCount : CDeviceEventListener {
            int NumDone = 0;
            void OnDeviceReadMemDone(U32, U32, const char*, U8*, U8*) override { NumDone++; }
        } Count;
        QVERIFY(Dev().IsHalted());
        M().Invalidate();
        // The first keeps the worker busy while the others wait behind the halt.
        R.Sim("Sim.Delay 30");
        for (U32 i = 0; i < 3; i++) QCOMPARE(M().ReadMemCached(&Count, RAM + 0x400 * i, 16, nullptr, 0, AW_ANY, 0), 2);
        Dev().HaltAsync();
        QVERIFY(R.WaitSettled());
        R.Sim("Sim.Delay 0");
        QCOMPARE(Count.NumDone, 3);
        QCOMPARE(M().GetNumRequests(), 0);
    }

    /// Numbers of a big-endian target, aligned and not, by all ways to them. The library has bytes as they lie in memory.
    void bigEndianNumbers()
    {
        const U8 aMem[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C};
        const struct { U32 Offset, Size; U64 Value; } Rows[] = {
            {0, 1, 0x01}, {0, 2, 0x0102}, {1, 2, 0x0203}, {0, 4, 0x01020304}, {2, 4, 0x03040506}, {0, 8, 0x0102030405060708}, {3, 8, 0x0405060708090A0B}};
        Dev().State.DataEndian = ENDIAN_BIG;
        for (const auto& Row : Rows) {
            BRYLLOARM_WriteMemEx(RAM, sizeof aMem, aMem, 1);
            U64 Blocking = 0, Cached = 0;
            M().Invalidate();
            QCOMPARE(M().ReadSymDataBlocking(MemLoc(RAM + Row.Offset), Row.Size, nullptr, &Blocking), 0);
            QCOMPARE(Blocking, Row.Value);
            M().Invalidate();
            CReader Reader;
            M().ReadSymDataCached(&Reader, MemLoc(RAM + Row.Offset), Row.Size, nullptr);
            R.WaitSettled();
            std::memcpy(&Cached, Reader.Data.constData(), size_t(Reader.Data.size()));
            QCOMPARE(Cached, Row.Value);
            U8 aPlain[8] = {};
            QCOMPARE(M().ReadMemBlocking(RAM + Row.Offset, Row.Size, aPlain), 0);
            QCOMPARE(QByteArray((char*)aPlain, Row.Size), QByteArray((char*)aMem + Row.Offset, Row.Size));
            if (Row.Size == 4) {
                const ELF_SYM_LOC Loc = MemLoc(RAM + Row.Offset);
                U64 Value = 0;
                U8 Status = 1;
                QCOMPARE(R.Target().ReadLocs(1, &Loc, &Value, &Status), 1);
                QCOMPARE(Value, Row.Value);
            }
            const U64 New = ~Row.Value;
            QCOMPARE(M().WriteSymDataAsync(MemLoc(RAM + Row.Offset), Row.Size, nullptr, &New), 0);
            R.WaitSettled();
            U8 aNow[sizeof aMem];
            BRYLLOARM_ReadMemEx(RAM, sizeof aMem, aNow, 1);
            for (U32 i = 0; i < sizeof aMem; i++)
                QCOMPARE(aNow[i], i < Row.Offset || i >= Row.Offset + Row.Size ? aMem[i] : U8(~aMem[i]));
        }
        Dev().State.DataEndian = ENDIAN_LITTLE;
    }

    void oneReadServesTwo()
    {
        for (U32 i = 0; i < 16; i++) BRYLLOARM_WriteU8(RAM + i, U8(i));
        CReader A, B;
        U64 Before = NumExecuted();
        QCOMPARE(M().ReadMemCached(&A, RAM, 16, nullptr, 0, AW_ANY, 0), 2);
        QCOMPARE(M().ReadMemCached(&A, RAM, 16, nullptr, 0, AW_ANY, 0), 2); // the same request, once
        QCOMPARE(M().ReadMemCached(&B, RAM + 4, 4, nullptr, 0, AW_ANY, 0), 2);
        R.WaitSettled();
        QCOMPARE(NumExecuted() - Before, U64(1));
        QCOMPARE(A.Heard, QStringList{"mem20001000"});
        QCOMPARE(B.Heard, QStringList{"mem20001004"});
        QCOMPARE(B.Data, QByteArray("\4\5\6\7"));
        // From the image, at once; a resume or step makes it ask again.
        QCOMPARE(M().ReadMemCached(&B, RAM + 8, 2, nullptr, 0, AW_ANY, 0), 0);
        QCOMPARE(B.Data, QByteArray("\10\11"));
        Dev().StepInstAsync();
        R.WaitHalted();
        QCOMPARE(M().ReadMemCached(&B, RAM + 8, 2, nullptr, 0, AW_ANY, 0), 2);
        R.WaitSettled();
        QCOMPARE(M().GetNumRequests(), 0);
    }

    void overlapReadsTheRest()
    {
        CReader A, B;
        U64 Before = NumExecuted();
        M().ReadMemCached(&A, RAM + 16, 16, nullptr, 0, AW_ANY, 0);
        M().ReadMemCached(&B, RAM, 48, nullptr, 0, AW_ANY, 0);
        R.WaitSettled();
        QCOMPARE(NumExecuted() - Before, U64(3)); // 16..32, 0..16, 32..48
        QCOMPARE(A.Heard.size(), 1);
        QCOMPARE(B.Heard, QStringList{"mem20001000"}); // once, when all has come
        // Unaligned four bytes are read from the word's start.
        Before = NumExecuted();
        M().ReadMemCached(&A, RAM + 0x102, 4, nullptr, 0, AW_ANY, 0);
        R.WaitSettled();
        QCOMPARE(NumExecuted() - Before, U64(1));
        QCOMPARE(M().ReadMemCached(&A, RAM + 0x100, 2, nullptr, 0, AW_ANY, 0), 0);
    }

    void unreadableMemoryIsAnAnswer()
    {
        R.Sim("Sim.Unreadable 0x20001100 4");
        CReader A;
        M().ReadMemCached(&A, RAM + 0x100, 4, nullptr, 0, AW_ANY, 0);
        R.WaitSettled();
        QCOMPARE(A.Status, QByteArray("\1\1\1\1"));
        QCOMPARE(M().ReadSymDataCached(&A, MemLoc(RAM + 0x100), 4, nullptr), 0);
        QCOMPARE(A.Heard.last(), QString("locfailed"));
    }

    void registersCached()
    {
        CReader A;
        const U32 aIdx[2] = {0, 1};
        Dev().WriteRegAsync(0, 0x55);
        R.WaitSettled();
        QCOMPARE(M().ReadRegCached(&A, 2, aIdx), 2);
        R.WaitSettled();
        QCOMPARE(A.Heard, QStringList{"regs2"});
        QCOMPARE(M().ReadRegCached(&A, 1, aIdx), 0);
        QCOMPARE(A.Heard.last(), QString("reg0=55"));
        U64 Value = 0;
        QCOMPARE(M().ReadRegBlocking(nullptr, 0, &Value), 0);
        QCOMPARE(Value, U64(0x55));
        QCOMPARE(M().ReadRegBlocking(nullptr, Core_GetPCRegId(), &Value), 0); // not read yet: waits
        QCOMPARE(Value, U64(Dev().GetPC()));
        QCOMPARE(M().ReadCPRegCached(&A, "VTOR"), 2);
        R.WaitSettled();
        QCOMPARE(A.Heard.count("cpVTOR"), 1);
        QCOMPARE(M().ReadCPRegCached(&A, "VTOR"), 0);
        QCOMPARE(M().GetNumRequests(), 0);
    }

    void symbolData()
    {
        BRYLLOARM_WriteU32(RAM, 0xCAFEBABE);
        CReader A;
        QCOMPARE(M().ReadSymDataCached(&A, MemLoc(RAM), 4, nullptr), 2);
        R.WaitSettled();
        QCOMPARE(A.Data, QByteArray("\xBE\xBA\xFE\xCA"));
        // A value in two pieces: half in memory, half in a register.
        ELF_SYM_LOC Loc = MemLoc(RAM);
        Loc.NumParts = 2;
        Loc.aPart[0].Size = 4;
        Loc.aPart[1] = RegLoc(0).aPart[0];
        Loc.aPart[1].Size = 4;
        Dev().WriteRegAsync(0, 0x11223344);
        R.WaitSettled();
        U64 Value = 0;
        QCOMPARE(M().ReadSymDataBlocking(Loc, 8, nullptr, &Value), 0);
        QCOMPARE(Value, U64(0x11223344CAFEBABEull));
        A.Heard.clear();
        QCOMPARE(M().ReadSymDataCached(&A, Loc, 8, nullptr), 2);
        R.WaitSettled();
        QCOMPARE(A.Heard, QStringList{"loc"});
        QCOMPARE(A.Data, QByteArray("\xBE\xBA\xFE\xCA\x44\x33\x22\x11"));
        // Constants need no target.
        ELF_SYM_LOC Const = {};
        Const.NumParts = 1;
        Const.aPart[0].Type = ELF_LOC_CONST;
        Const.aPart[0].Value = 42;
        QCOMPARE(M().ReadSymDataCached(&A, Const, 4, nullptr), 0);
        QCOMPARE(A.Data, QByteArray("\x2A\0\0\0", 4));
        QCOMPARE(M().ReadSymDataCached(&A, Const, 9, nullptr), 1);
        const U32 New = 77;
        QCOMPARE(M().WriteSymDataAsync(MemLoc(RAM), 4, nullptr, &New), 0);
        QCOMPARE(M().WriteSymDataAsync(RegLoc(1), 4, nullptr, &New), 0);
        R.WaitSettled();
        QCOMPARE(R.ReadWord(RAM), New);
        QCOMPARE(M().ReadSymDataBlocking(RegLoc(1), 4, nullptr, &Value), 0);
        QCOMPARE(U32(Value), New);
    }

    void requestsEndWithTheirListener()
    {
        {
            std::lock_guard Lock(Dev().GetDeviceMutex()); // nothing is read meanwhile
            CReader A;
            M().ReadMemCached(&A, RAM + 0x200, 16, nullptr, 0, AW_ANY, 0);
            QCOMPARE(M().GetNumRequests(), 1);
        }
        QCOMPARE(M().GetNumRequests(), 0);
        R.WaitSettled();
        CReader B;
        {
            std::lock_guard Lock(Dev().GetDeviceMutex());
            M().ReadMemCached(&B, RAM + 0x300, 16, nullptr, 0, AW_ANY, 0);
            M().CancelMemRequests();
        }
        R.WaitSettled();
        QVERIFY(B.Heard.isEmpty());
        QCOMPARE(M().ReadMemCached(&B, RAM + 0x300, 16, nullptr, 0, AW_ANY, 0), 2);
        R.WaitSettled();
        QCOMPARE(B.Heard.size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_datamanager)
#include "tst_datamanager.moc"
