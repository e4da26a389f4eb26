// The probe library without a program of note: device table, selection, memory, download bracket,
// capabilities, faults made on purpose, registers described by the SVD file.
#include "bench.h"

#include <QFile>
#include <QTcpServer>
#include <QXmlStreamReader>
#include <QtTest>

#include <cstring>

using namespace Bench;

static QStringList g_Errors;
static void OnError(const char* sText)
{
    g_Errors.append(QString::fromUtf8(sText));
}

class tst_probe : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { BRYLLOARM_SetErrorOutHandler(nullptr); }
    void notOpen();
    void deviceTable();
    void everyDevice_data();
    void everyDevice();
    void selection();
    void noServer();
    void versionAndTexts();
    void speeds();
    void download();
    void downloadFailures_data();
    void downloadFailures();
    void memoryItems();
    void bigEndian();
    void runningAccess_data();
    void runningAccess();
    void failCalls();
    void lostConnection();
    void badRanges();
    void missingServices();
    void unknownCommands();
    void peripheralsMatchSvd();
    void bpUnitsAndKinds();
    void pendingBreakpoint();
    void eventLimits_data();
    void eventLimits();
    void powerOff();
};

void tst_probe::init()
{
    g_Errors.clear();
    BRYLLOARM_SetErrorOutHandler(OnError);
}

extern "C" int HeaderFromC(void);

void tst_probe::notOpen()
{
    QCOMPARE(HeaderFromC(), 1 + 2392);
    BRYLLOARM_Close();
    U8 Byte = 0, Status = 0;
    QCOMPARE(BRYLLOARM_IsOpen(), 0);
    QVERIFY(BRYLLOARM_Connect() < 0);
    QVERIFY(BRYLLOARM_IsHalted() < 0);
    QVERIFY(BRYLLOARM_ReadMemU8(0, 1, &Byte, &Status) < 0);
    QCOMPARE(Status, U8(1));
    QCOMPARE(BRYLLOARM_SetBPEx(0, BRYLLO_BP_TYPE_ANY), 0);
}

void tst_probe::deviceTable()
{
    const int NumDevices = BRYLLOARM_DEVICE_GetInfo(-1, nullptr);
    QVERIFY(NumDevices > 20);
    QSet<QString> Names;
    QSet<U32> Families;
    int NumBigFlash = 0, NumFurther = 0;
    for (int i = 1; i < NumDevices; ++i) {
        BRYLLOARM_DEVICE_INFO Info{};
        Info.SizeOfStruct = sizeof(Info);
        QCOMPARE(BRYLLOARM_DEVICE_GetInfo(i, &Info), 0);
        // A name that comes again is a further core; the name finds the first.
        const int First = BRYLLOARM_DEVICE_GetIndex(QString(Info.sName).toLower().toLatin1());
        if (Names.contains(QString(Info.sName).toLower())) {
            QVERIFY(First < i && QString(Info.sName).endsWith("2CORE"));
            NumFurther++;
            continue;
        }
        Names.insert(QString(Info.sName).toLower());
        QCOMPARE(First, i);
        QVERIFY(*Info.sManu && Info.FlashSize && Info.RAMSize);
        Families.insert(Info.Core >> 24);
        NumBigFlash += Info.FlashAddr == 0x08000000;
        char acCore[32];
        BRYLLOARM_Core2CoreName(Info.Core, acCore, sizeof(acCore));
        QVERIFY(QString(acCore) != "Unknown");
    }
    QCOMPARE(NumFurther, 2);
    QCOMPARE(Families, (QSet<U32>{3, 6, 14, 19}));
    QVERIFY(NumBigFlash >= 3);
    QVERIFY(BRYLLOARM_DEVICE_GetIndex("MK66FN2M0XXX18") > 0);
    QVERIFY(BRYLLOARM_DEVICE_GetIndex("no such device") < 1);
    QVERIFY(BRYLLOARM_DEVICE_GetIndex("Unspecified") < 1);

    BRYLLOARM_DEVICE_INFO Info{};
    QVERIFY(BRYLLOARM_DEVICE_GetInfo(1, &Info) < 0); // size not set
    Info.SizeOfStruct = sizeof(Info);
    QVERIFY(BRYLLOARM_DEVICE_GetInfo(NumDevices, &Info) < 0);
    char acShort[5];
    BRYLLOARM_Core2CoreName(BRYLLO_CORE_CORTEX_M4F, acShort, sizeof(acShort));
    QCOMPARE(QString(acShort), QString("Cort"));
}

void tst_probe::everyDevice_data()
{
    QTest::addColumn<int>("Index");
    for (int i = 1; i < BRYLLOARM_DEVICE_GetInfo(-1, nullptr); ++i) {
        BRYLLOARM_DEVICE_INFO Info{};
        Info.SizeOfStruct = sizeof(Info);
        BRYLLOARM_DEVICE_GetInfo(i, &Info);
        QTest::newRow(Info.sName) << i;
    }
}

void tst_probe::everyDevice()
{
    QFETCH(int, Index);
    BRYLLOARM_DEVICE_INFO Info{};
    Info.SizeOfStruct = sizeof(Info);
    QCOMPARE(BRYLLOARM_DEVICE_GetInfo(Index, &Info), 0);
    if (Info.Core >> 24 == 19 && !Connect(Info.sName)) {
        QCOMPARE(g_Errors.size(), 1); // without a RISC-V core it must say so
        QVERIFY(g_Errors[0].contains("RV32IMAC"));
        return;
    }
    QVERIFY(Connect(Info.sName));
    QCOMPARE(Word(Info.FlashAddr), 0xFFFFFFFFu);
    QCOMPARE(Word(Info.FlashAddr + Info.FlashSize - 4), 0xFFFFFFFFu);
    for (U32 Addr : {Info.RAMAddr, Info.RAMAddr + Info.RAMSize - 4}) {
        QCOMPARE(BRYLLOARM_WriteU32(Addr, 0x11223344u ^ Addr), 0);
        QCOMPARE(Word(Addr), 0x11223344u ^ Addr);
    }
    U8 Byte;
    QVERIFY(BRYLLOARM_ReadMemU8(0xA0000000, 1, &Byte, nullptr) < 0);
    QVERIFY(BRYLLOARM_WriteU8(0xA0000000, 0) < 0);

    U32 LoopAddr;
    QVERIFY(LoadLoop(Info.FlashAddr, Info.RAMAddr, &LoopAddr));
    QCOMPARE(Pc(), LoopAddr - 4);
    QCOMPARE(U32(Reg(BRYLLO_REG_SP)), Info.RAMAddr + 0x400);
    QVERIFY(BRYLLOARM_SetBPEx(LoopAddr + 2, BRYLLO_BP_TYPE_ANY) > 0);
    for (U32 Round = 1; Round <= 3; ++Round) {
        QVERIFY(RunToHalt());
        QCOMPARE(Pc(), LoopAddr + 2);
        QCOMPARE(U32(Reg(0)), Round);
        QCOMPARE(Word(Info.RAMAddr), Round - 1 == 0 ? 0x11223344u ^ Info.RAMAddr : Round - 1);
    }
    QVERIFY(BRYLLOARM_MeasureCPUSpeedEx(Info.RAMAddr, 1, 1) >= 1000000);
    QVERIFY(BRYLLOARM_MeasureCPUSpeedEx(0xA0000000, 1, 1) <= 0);
}

void tst_probe::selection()
{
    QVERIFY(Connect("VS4F-512"));
    const int First = BRYLLOARM_GetSN();
    QCOMPARE(BRYLLOARM_WriteU32(0x20000000, 0x1111), 0);
    QVERIFY(BRYLLOARM_EMU_SelectByUSBSN(4711) < 0);
    QCOMPARE(BRYLLOARM_IsConnected(), 1); // a number that nobody has changes nothing

    QVERIFY(BRYLLOARM_EMU_SelectByUSBSN(U32(First) + 1) >= 0);
    QCOMPARE(BRYLLOARM_IsConnected(), 0);
    QVERIFY(!BRYLLOARM_Open());
    QCOMPARE(BRYLLOARM_Connect(), 0);
    QCOMPARE(BRYLLOARM_GetSN(), First + 1);
    QCOMPARE(Word(0x20000000), 0u); // a board of its own
    BRYLLOARM_Close();

    // The first board has stayed on the desk as it was.
    QVERIFY(BRYLLOARM_EMU_SelectByUSBSN(0) >= 0);
    QVERIFY(!BRYLLOARM_Open());
    QCOMPARE(BRYLLOARM_Connect(), 0);
    QCOMPARE(BRYLLOARM_IsHalted(), 1);
    QCOMPARE(Word(0x20000000), 0x1111u);
}

void tst_probe::noServer()
{
    QTcpServer Server; // finds a port that nobody listens on
    QVERIFY(Server.listen(QHostAddress::LocalHost));
    const quint16 Port = Server.serverPort();
    Server.close();
    QCOMPARE(BRYLLOARM_SelectIP("", 0), 1);
    QCOMPARE(BRYLLOARM_SelectIP("127.0.0.1:abc", 0), 1);
    QCOMPARE(BRYLLOARM_SelectIP(QString("127.0.0.1:%1").arg(Port).toLatin1(), 0), 0);
    const char* sError = BRYLLOARM_Open();
    QVERIFY(sError);
    QVERIFY(QString(sError).contains(QString("127.0.0.1:%1").arg(Port)));
    QCOMPARE(BRYLLOARM_IsOpen(), 0);
    QVERIFY(BRYLLOARM_IsHalted() < 0);
    QVERIFY(Connect("VS4F-512")); // and back to USB
}

void tst_probe::versionAndTexts()
{
    QVERIFY(Connect("VS4F-512"));
    QVERIFY(BRYLLOARM_GetDLLVersion() > 62101);
    QCOMPARE(Exec("Sim.SetVersion 60900"), 0);
    QCOMPARE(BRYLLOARM_GetDLLVersion(), 60900u);
    QCOMPARE(Exec("Sim.SetVersion 79400"), 0);
    char acText[256];
    BRYLLOARM_GetFirmwareString(acText, sizeof(acText));
    QVERIFY(QString(acText).contains("compiled"));
    char acCut[4] = "xyz";
    BRYLLOARM_GetFirmwareString(acCut, sizeof(acCut));
    QCOMPARE(QString(acCut), QString(acText).left(3));
    QVERIFY(!BRYLLO_GetpFunc(11));
    const auto pServer =
        reinterpret_cast<BRYLLO_PFUNC_SERVER_INFO>(BRYLLO_GetpFunc(BRYLLO_PFUNC_GET_SERVER_INFO));
    BRYLLO_SERVER_INFO Info{8, 99};
    QCOMPARE(pServer(&Info), 0);
    QCOMPARE(Info.Port, 0u);
    QCOMPARE(Exec("Sim.SetCap WEB 19080"), 0);
    QCOMPARE(pServer(&Info), 0);
    QCOMPARE(Info.Port, 19080u);
}

void tst_probe::speeds()
{
    QVERIFY(Connect("VS4F-512"));
    BRYLLOARM_SetSpeed(2000);
    QCOMPARE(BRYLLOARM_GetSpeed(), 2000u);
    BRYLLOARM_SetSpeed(60000);
    QCOMPARE(BRYLLOARM_GetSpeed(), 15000u); // the highest of this probe
    BRYLLOARM_SetSpeed(BRYLLO_SPEED_ADAPTIVE);
    QCOMPARE(BRYLLOARM_GetSpeed(), 65535u);
    BRYLLOARM_SetSpeed(BRYLLO_SPEED_AUTO);
    QVERIFY(BRYLLOARM_GetSpeed() > 0 && BRYLLOARM_GetSpeed() < 65535);
}

void tst_probe::download()
{
    QVERIFY(Connect("VS4F-512")); // sectors of 4 KB
    QByteArray Image(10000, 0);
    for (int i = 0; i < Image.size(); ++i) {
        Image[i] = char(i * 7 + i / 256);
    }
    QVERIFY(BRYLLOARM_WriteMemEx(0x1000, 4, Image.constData(), 0) < 0); // outside a bracket
    QVERIFY(BRYLLOARM_WriteU32(0x1000, 0) < 0);
    QVERIFY(BRYLLOARM_EndDownload() < 0);

    QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
    QCOMPARE(BRYLLOARM_WriteMemEx(0x1FF0, U32(Image.size()), Image.constData(), 0), int(Image.size()));
    QCOMPARE(BRYLLOARM_WriteU32(0x20000010, 0xCAFE), 0); // RAM is written at once
    QCOMPARE(Word(0x20000010), 0xCAFEu);
    QCOMPARE(BRYLLOARM_EndDownload(), 4); // 0x1000 to 0x4FFF
    QByteArray Back(Image.size(), 0);
    QCOMPARE(BRYLLOARM_ReadMemEx(0x1FF0, U32(Back.size()), Back.data(), 0), int(Back.size()));
    QCOMPARE(Back, Image);
    QCOMPARE(Word(0x1FEC), 0xFFFFFFFFu);
    QCOMPARE(Word(0x1FF0 + 10000), 0xFFFFFFFFu);

    // The same again needs no programming; one byte costs one sector and keeps its neighbours.
    QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
    QCOMPARE(BRYLLOARM_WriteMemEx(0x1FF0, U32(Image.size()), Image.constData(), 0), int(Image.size()));
    QCOMPARE(BRYLLOARM_EndDownload(), 0);
    Image[5000] = char(Image[5000] ^ 0xFF);
    QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
    QCOMPARE(BRYLLOARM_WriteU8(0x1FF0 + 5000, U8(Image[5000])), 0);
    QCOMPARE(BRYLLOARM_EndDownload(), 1);
    QCOMPARE(BRYLLOARM_ReadMem(0x1FF0, U32(Back.size()), Back.data()), 0);
    QCOMPARE(Back, Image);

    // A bracket that the session's end cut off leaves nothing behind.
    QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
    QCOMPARE(BRYLLOARM_WriteU32(0x8000, 0), 0);
    BRYLLOARM_Close();
    QVERIFY(!BRYLLOARM_Open());
    QCOMPARE(BRYLLOARM_Connect(), 0);
    QCOMPARE(Word(0x8000), 0xFFFFFFFFu);
}

void tst_probe::downloadFailures_data()
{
    QTest::addColumn<QString>("Phase");
    QTest::addColumn<int>("Code");
    QTest::newRow("compare") << "compare" << -2;
    QTest::newRow("program") << "program" << -3;
    QTest::newRow("verify") << "verify" << -4;
}

void tst_probe::downloadFailures()
{
    QFETCH(QString, Phase);
    QFETCH(int, Code);
    QVERIFY(Connect("VS4F-512"));
    QCOMPARE(Exec("Sim.FlashFail " + Phase), 0);
    QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
    QCOMPARE(BRYLLOARM_WriteU32(0, 0x12345678), 0);
    QCOMPARE(BRYLLOARM_EndDownload(), Code);
    QVERIFY(Word(0) != 0x12345678);
    QCOMPARE(BRYLLOARM_BeginDownload(0), 0); // the failure was for once
    QCOMPARE(BRYLLOARM_WriteU32(0, 0x12345678), 0);
    QCOMPARE(BRYLLOARM_EndDownload(), 1);
    QCOMPARE(Word(0), 0x12345678u);
}

void tst_probe::memoryItems()
{
    QVERIFY(Connect("VS4F-512"));
    const U32 End = 0x20020000; // behind RAM
    QCOMPARE(BRYLLOARM_WriteU64(End - 8, 0x8877665544332211ull), 0);
    U8 aData[16], aStatus[16];
    QCOMPARE(BRYLLOARM_ReadMemU8(End - 3, 6, aData, aStatus), 3);
    QCOMPARE(QByteArray((char*)aData, 6), QByteArray("\x66\x77\x88\0\0\0", 6));
    QCOMPARE(QByteArray((char*)aStatus, 6), QByteArray("\0\0\0\1\1\1", 6));
    U16 aHalf[4];
    QCOMPARE(BRYLLOARM_ReadMemU16(End - 4, 4, aHalf, nullptr), 2);
    QCOMPARE(aHalf[1], U16(0x8877));
    U64 Long = 0;
    QCOMPARE(BRYLLOARM_ReadMemU64(End - 8, 1, &Long, aStatus), 1);
    QCOMPARE(Long, 0x8877665544332211ull);
    QCOMPARE(BRYLLOARM_ReadMemEx(End - 5, 16, aData, 0), 5);
    QCOMPARE(BRYLLOARM_WriteMemEx(End - 2, 4, aData, 1), 2);
    QVERIFY(BRYLLOARM_ReadMemEx(End, 4, aData, 0) < 0);
    QVERIFY(BRYLLOARM_ReadMem(End - 2, 4, aData) < 0);
    QVERIFY(BRYLLOARM_ReadMemEx(0x20000000, 4, aData, 3) < 0); // no such width
    QVERIFY(BRYLLOARM_ReadMemEx(0xFFFFFFFC, 16, aData, 0) <= 4);
    QCOMPARE(BRYLLOARM_ReadMemEx(0x20000000, 0, aData, 0), 0);
}

void tst_probe::bigEndian()
{
    const auto pEndian = reinterpret_cast<BRYLLO_PFUNC_ENDIAN>(BRYLLO_GetpFunc(BRYLLO_PFUNC_GET_ENDIAN));
    QVERIFY(Connect("VS4F-512"));
    BRYLLOARM_SetEndian(1);
    QCOMPARE(BRYLLOARM_Reset(), 0);
    QCOMPARE(pEndian(), 0); // this device cannot
    QVERIFY(Connect("VS3-512-BE"));
    QCOMPARE(pEndian(), 0);
    BRYLLOARM_SetEndian(1);
    QCOMPARE(BRYLLOARM_Reset(), 0);
    QCOMPARE(pEndian(), 2); // data only: the instructions of these cores stay little-endian

    // ldr r1, literal ; movs r0,#0x12 ; str r0,[r1] ; b . : words are big-endian, code is not.
    const U8 aImage[] = {0x20, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x09, 0x01, 0x49,
                         0x12, 0x20, 0x08, 0x60, 0xFE, 0xE7, 0x20, 0x00, 0x00, 0x00};
    QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
    QCOMPARE(BRYLLOARM_WriteMemEx(0, sizeof(aImage), aImage, 0), int(sizeof(aImage)));
    QCOMPARE(BRYLLOARM_EndDownload(), 1);
    QCOMPARE(BRYLLOARM_Reset(), 0);
    QCOMPARE(Pc(), 8u);
    QCOMPARE(Reg(BRYLLO_REG_SP), U64(0x20000400));
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(BRYLLOARM_Step(), 0);
    }
    U8 aBytes[4];
    QCOMPARE(BRYLLOARM_ReadMemU8(0x20000000, 4, aBytes, nullptr), 4);
    QCOMPARE(QByteArray((char*)aBytes, 4), QByteArray("\0\0\0\x12", 4));
    QCOMPARE(BRYLLOARM_ReadMemU32(0x20000000, 1, reinterpret_cast<U32*>(aBytes), nullptr), 1);
    QCOMPARE(QByteArray((char*)aBytes, 4), QByteArray("\0\0\0\x12", 4)); // the same bytes at every width
    QCOMPARE(BRYLLOARM_ReadMemU32(0x40000000, 1, reinterpret_cast<U32*>(aBytes), nullptr), 1);
    QCOMPARE(aBytes[0], U8(0x56)); // DEVID, as the CPU would see it in memory
    BRYLLOARM_SetEndian(0);
}

void tst_probe::runningAccess_data()
{
    QTest::addColumn<QString>("Device");
    QTest::addColumn<int>("BMA");
    QTest::addColumn<QString>("Zone");
    QTest::newRow("yes") << "VS4F-512" << 1 << "";
    QTest::newRow("no") << "VS4F-1024-NOBMA" << 0 << "";
    QTest::newRow("emulated") << "VS4F-1024-STOP" << 2 << "";
    QTest::newRow("zone") << "VS4-256" << 0 << "AHB";
}

void tst_probe::runningAccess()
{
    QFETCH(QString, Device);
    QFETCH(int, BMA);
    QFETCH(QString, Zone);
    const auto pBMA = reinterpret_cast<BRYLLO_PFUNC_BMA>(BRYLLO_GetpFunc(BRYLLO_PFUNC_GET_BMA));
    QVERIFY(Connect(Device.toLatin1()));
    QCOMPARE(pBMA(), BMA);
    U32 LoopAddr;
    QVERIFY(LoadLoop(0, 0x20000000, &LoopAddr));
    QCOMPARE(BRYLLOARM_WriteU32(0x20000100, 5), 0);
    QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
    U32 Value = 0;
    U8 Status = 9;
    const int NumRead = BRYLLOARM_ReadMemU32(0x20000100, 1, &Value, &Status);
    QCOMPARE(NumRead, BMA ? 1 : int(BRYLLO_ERR_RUNNING));
    QCOMPARE(Status, U8(BMA ? 0 : 1));
    QCOMPARE(BRYLLOARM_WriteU32(0x20000100, 6), BMA ? 0 : int(BRYLLO_ERR_RUNNING));
    if (BMA) { // the program is alive under the reads
        const U32 Before = Word(0x20000000);
        QTRY_VERIFY(Word(0x20000000) != Before);
    }
    QVERIFY(BRYLLO_ReadMemZonedU32(0x20000100, 1, &Value, &Status, "no such zone") < 0);
    BRYLLO_MEM_ZONE aZones[16];
    QCOMPARE(BRYLLO_GetMemZones(aZones, 16), Zone.isEmpty() ? 0 : 2);
    if (!Zone.isEmpty()) {
        QCOMPARE(QString(aZones[1].sName), Zone);
        QCOMPARE(BRYLLO_ReadMemZonedU32(0x20000100, 1, &Value, &Status, Zone.toLatin1()), 1);
        QCOMPARE(Value, 5u);
        QCOMPARE(BRYLLO_WriteZonedU32(0x20000100, 7, Zone.toLatin1()), 0);
    }
    QCOMPARE(BRYLLOARM_IsHalted(), 0);
    U64 Pc64;
    U32 Index = BRYLLO_REG_PC;
    QVERIFY(BRYLLOARM_ReadRegs(&Index, &Pc64, &Status, 1) < 0); // registers need a halt
    QVERIFY(BRYLLOARM_Step() < 0);
    QCOMPARE(BRYLLOARM_Halt(), 0);
    QCOMPARE(Word(0x20000100), Zone.isEmpty() ? (BMA ? 6u : 5u) : 7u);
    QVERIFY(Pc() >= LoopAddr - 4 && Pc() < LoopAddr + 8);
}

void tst_probe::failCalls()
{
    QVERIFY(Connect("VS4F-512"));
    QCOMPARE(Exec("Sim.Fail Halt 2"), 0);
    QVERIFY(BRYLLOARM_Halt() < 0);
    QVERIFY(BRYLLOARM_Halt() < 0);
    QCOMPARE(BRYLLOARM_Halt(), 0);
    QCOMPARE(Exec("Sim.Fail BRYLLOARM_EndDownload 1 -3"), 0);
    QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
    QCOMPARE(BRYLLOARM_EndDownload(), -3);
    QCOMPARE(BRYLLOARM_EndDownload(), 0);
    QCOMPARE(Exec("Sim.Fail SetBPEx 1"), 0);
    QCOMPARE(BRYLLOARM_SetBPEx(0x100, BRYLLO_BP_TYPE_ANY), 0); // this one fails by 0
    QVERIFY(BRYLLOARM_SetBPEx(0x100, BRYLLO_BP_TYPE_ANY) > 0);
    QVERIFY(Exec("Sim.Fail Halt") < 0);
    QVERIFY(Exec("Sim.Fail Halt 1 x") < 0);
}

void tst_probe::lostConnection()
{
    QVERIFY(Connect("VS4F-512"));
    QCOMPARE(BRYLLOARM_WriteU32(0x20000000, 77), 0);
    QCOMPARE(Exec("Sim.Lose 3"), 0);
    QCOMPARE(BRYLLOARM_IsHalted(), 1);
    QCOMPARE(BRYLLOARM_IsHalted(), 1);
    QCOMPARE(BRYLLOARM_IsHalted(), 1);
    QVERIFY(BRYLLOARM_IsHalted() < 0);
    QCOMPARE(BRYLLOARM_IsConnected(), 0);
    QVERIFY(BRYLLOARM_Halt() != 0);
    U8 Byte;
    QVERIFY(BRYLLOARM_ReadMemU8(0x20000000, 1, &Byte, nullptr) < 0);
    BRYLLOARM_Close();
    QVERIFY(BRYLLOARM_Open()); // still off the cable
    QCOMPARE(Exec("Sim.Restore"), 0);
    QVERIFY(!BRYLLOARM_Open());
    QCOMPARE(BRYLLOARM_Connect(), 0);
    QCOMPARE(Word(0x20000000), 77u); // the board has not noticed
}

void tst_probe::badRanges()
{
    QVERIFY(Connect("VS4F-512"));
    U8 aData[64], aStatus[64];
    QCOMPARE(Exec("Sim.Unreadable 0x20000010 4"), 0);
    QCOMPARE(BRYLLOARM_ReadMemEx(0x20000000, 64, aData, 0), 16);
    QCOMPARE(BRYLLOARM_ReadMemU8(0x20000000, 64, aData, aStatus), 60); // passes over the hole
    for (int i = 0; i < 64; ++i) {
        QCOMPARE(int(aStatus[i]), int(i >= 16 && i < 20));
    }
    QCOMPARE(Exec("Sim.ClearRanges"), 0);
    QCOMPARE(Exec("Sim.ShortRead 0x20000020 1"), 0);
    QCOMPARE(BRYLLOARM_ReadMemEx(0x20000000, 64, aData, 0), 32);
    QCOMPARE(BRYLLOARM_ReadMemU8(0x20000020, 1, aData, aStatus), 1); // one by one it goes
    QCOMPARE(Exec("Sim.Unwritable 0x20000000 2"), 0);
    QVERIFY(BRYLLOARM_WriteU16(0x20000000, 1) < 0);
    QCOMPARE(BRYLLOARM_WriteU16(0x20000002, 1), 0);
    QCOMPARE(Exec("Sim.ClearFaults"), 0);
    QCOMPARE(BRYLLOARM_ReadMemEx(0x20000000, 64, aData, 0), 64);
}

void tst_probe::missingServices()
{
    QVERIFY(Connect("VS4F-512"));
    U32 Word32 = ~0u;
    QCOMPARE(BRYLLOARM_EMU_HasCapEx(BRYLLO_EMU_CAP_SWO), 0);
    QCOMPARE(BRYLLOARM_RAWTRACE_Control(BRYLLO_RAWTRACE_CMD_GET_CAPS, &Word32), 0);
    QCOMPARE(Word32 & BRYLLO_RAWTRACE_CAP_STREAMING, 0u);
    const BRYLLO_HSS_MEM_BLOCK Block{0x20000000, 4, 0, 0};
    QCOMPARE(BRYLLO_HSS_Start(&Block, 1, 1000, 0), int(BRYLLO_HSS_ERR_NO_SERVICE));
    BRYLLO_POWERTRACE_CAPS Caps{12, 0, 0};
    QVERIFY(BRYLLO_POWERTRACE_Control(4, nullptr, &Caps) < 0);
    QVERIFY(BRYLLO_STRACE_Start() < 0);
    QVERIFY(BRYLLO_MEMLANE_Control(0, nullptr) != 0);
    QVERIFY(BRYLLOARM_SWO_EnableTarget(16000000, 1000000, 0, 1) < 0);
}

void tst_probe::unknownCommands()
{
    QVERIFY(Connect("VS4F-512"));
    QString Answer;
    for (const char* sCmd :
         {"NoSuchCommand 1", "Sim.NoSuchThing", "", "device=nothing", "HideDeviceSelection=2", "Sim.SetPin C0 1",
          "SelectTraceSource=1", "SetMemlaneAddr 0x20000000", "SetMemlaneSearchRanges 0x20000000 0x1000"}) {
        QCOMPARE(Exec(sCmd, &Answer), -1);
        QVERIFY2(!Answer.isEmpty(), sCmd);
    }
    for (const char* sCmd :
         {"HideDeviceSelection=1", "device = VS4F-512", "device=\"VS4F-512\"", "SupplyPower=1"}) {
        QVERIFY2(Exec(sCmd, &Answer) == 0, sCmd);
        QVERIFY2(Answer.isEmpty(), sCmd);
    }
    // A text that begins with another character than 0 would be an error's.
    char acValue[16];
    QCOMPARE(BRYLLOARM_ExecCommand("Sim.GetPin A0", acValue, sizeof(acValue)), 0);
    QCOMPARE(acValue[0], '\0');
    QCOMPARE(acValue[1], '0');
    char cOnly = 'x';
    QCOMPARE(BRYLLOARM_ExecCommand("Sim.GetPin A0", &cOnly, 1), 0);
    QCOMPARE(cOnly, '\0');
    QVERIFY(Exec("ScriptFile=/no/such/file", &Answer) < 0);
    char acSmall[4] = "abc";
    QVERIFY(BRYLLOARM_ExecCommand("nonsense", acSmall, sizeof(acSmall)) < 0);
    QCOMPARE(qstrlen(acSmall), size_t(3));
    QVERIFY(BRYLLOARM_ExecCommand("nonsense", nullptr, 0) < 0);
}

void tst_probe::peripheralsMatchSvd()
{
    QVERIFY(Connect("VS4F-512"));
    QFile File(VANTREL_SOURCE_DIR "/platform/probe/sim/svd/VantrelSim.svd");
    QVERIFY(File.open(QIODevice::ReadOnly));
    QXmlStreamReader Xml(&File);
    QString Peripheral, Register, Access;
    U32 Base = 0, Offset = 0;
    int NumRegisters = 0;
    bool InRegister = false, InField = false;
    const auto Number = [&] { return Xml.readElementText().toUInt(nullptr, 0); };
    while (!Xml.atEnd()) {
        Xml.readNext();
        const QString Name = Xml.name().toString();
        if (Xml.isEndElement() && Name == "field") {
            InField = false;
        }
        if (Xml.isEndElement() && Name == "register") {
            InRegister = false;
        }
        if (!Xml.isStartElement() || InField) {
            continue;
        }
        if (Name == "register") {
            InRegister = true;
        } else if (Name == "field") {
            InField = true;
        } else if (Name == "name" && InRegister) {
            Register = Xml.readElementText();
        } else if (Name == "baseAddress") {
            Base = Number();
        } else if (Name == "addressOffset") {
            Offset = Number();
        } else if (Name == "access" && InRegister) {
            Access = Xml.readElementText();
        } else if (Name == "resetValue" && InRegister) {
            const U32 ResetValue = Number();
            ++NumRegisters;
            // DEVID, clock and reset cause are the device's own, DIAG.READS counts this very read,
            // and CPU1CTRL is not on a device of one core.
            if (Register == "CPU1CTRL") {
                U32 Value;
                QVERIFY(BRYLLOARM_ReadMemU32(Base + Offset, 1, &Value, nullptr) < 0);
            } else if (Register == "DEVID" || Register == "RSTCAUSE" || Register == "CLKHZ") {
                QVERIFY(Word(Base + Offset) != 0);
            } else {
                const U32 Expected = Register == "READS" ? 1 : ResetValue;
                QVERIFY2(Word(Base + Offset) == Expected, qPrintable(Register));
            }
        }
    }
    QVERIFY(!Xml.hasError());
    QVERIFY(NumRegisters > 35);
    QCOMPARE(Query("Sim.DiagReads"), 1);
    U32 Value;
    QVERIFY(BRYLLOARM_ReadMemU32(0x40000040, 1, &Value, nullptr) < 0); // behind the last register
    QVERIFY(BRYLLOARM_ReadMemU32(0x40000500, 1, &Value, nullptr) < 0); // between two peripherals

    QCOMPARE(BRYLLOARM_WriteU32(0x40001000, 1), 0); // GPIOA.DIR: pin 0 out
    QCOMPARE(BRYLLOARM_WriteU8(0x40001005, 0xAB), 0);
    QCOMPARE(Word(0x40001004), 0xAB00u); // a narrow write keeps the rest
    QCOMPARE(Exec("Sim.SetPin A3 1"), 0);
    QCOMPARE(Word(0x40001008), 8u);
    QCOMPARE(BRYLLOARM_WriteU32(0x4000100C, 1), 0);
    QCOMPARE(Query("Sim.GetPin A0"), 1);
    QVERIFY(Exec("Sim.SetPin C0 1") < 0);
}

void tst_probe::bpUnitsAndKinds()
{
    QVERIFY(Connect("VS4F-512"));
    const auto Kind = [](int Handle) {
        BRYLLOARM_BP_INFO Info{28, U32(Handle), 0, 0, 0, 0, 0};
        return BRYLLOARM_GetBPInfoEx(-1, &Info) < 0 ? ~0u : Info.ImpFlags;
    };
    QCOMPARE(Exec("Sim.SetBPUnits 2"), 0);
    const int aHandles[] = {BRYLLOARM_SetBPEx(0x100, BRYLLO_BP_TYPE_ANY),
                            BRYLLOARM_SetBPEx(0x200, BRYLLO_BP_TYPE_HARD)};
    QCOMPARE(Kind(aHandles[0]), U32(BRYLLO_BP_IMP_HARD));
    QCOMPARE(BRYLLOARM_FindBP(0x200), aHandles[1]);
    QCOMPARE(BRYLLOARM_FindBP(0x201), aHandles[1]); // the Thumb bit is not an address bit
    QCOMPARE(BRYLLOARM_FindBP(0x202), 0);
    QCOMPARE(BRYLLOARM_SetBPEx(0x300, BRYLLO_BP_TYPE_HARD), 0);
    QCOMPARE(Kind(BRYLLOARM_SetBPEx(0x300, BRYLLO_BP_TYPE_ANY)), U32(BRYLLO_BP_IMP_SOFT_FLASH));
    QCOMPARE(Kind(BRYLLOARM_SetBPEx(0x20000100, BRYLLO_BP_TYPE_ANY)), U32(BRYLLO_BP_IMP_SOFT_RAM));
    QCOMPARE(Kind(BRYLLOARM_SetBPEx(0x400, BRYLLO_BP_TYPE_SOFT)), U32(BRYLLO_BP_IMP_SOFT_FLASH));
    BRYLLOARM_EnableSoftBPs(0);
    QCOMPARE(BRYLLOARM_SetBPEx(0x500, BRYLLO_BP_TYPE_ANY), 0);
    QCOMPARE(BRYLLOARM_ClrBPEx(U32(aHandles[0])), 0);
    QVERIFY(BRYLLOARM_ClrBPEx(U32(aHandles[0])) < 0);
    QVERIFY(BRYLLOARM_SetBPEx(0x500, BRYLLO_BP_TYPE_ANY) > 0); // its unit is free again
    QCOMPARE(BRYLLOARM_ClrBPEx(BRYLLO_HANDLE_ALL), 0);
    QCOMPARE(BRYLLOARM_FindBP(0x500), 0);
    // Comparators of this core only see the code region.
    QCOMPARE(BRYLLOARM_SetBPEx(0x20000100, BRYLLO_BP_TYPE_HARD), 0);
}

void tst_probe::pendingBreakpoint()
{
    QVERIFY(Connect("VS4F-512"));
    U32 LoopAddr;
    QVERIFY(LoadLoop(0, 0x20000000, &LoopAddr));
    QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
    const int Handle = BRYLLOARM_SetBPEx(LoopAddr, BRYLLO_BP_TYPE_SOFT); // flash of a running target
    BRYLLOARM_BP_INFO Info{28, U32(Handle), 0, 0, 0, 0, 0};
    QVERIFY(BRYLLOARM_GetBPInfoEx(-1, &Info) > 0);
    QCOMPARE(Info.ImpFlags, U32(BRYLLO_BP_IMP_PENDING));
    QCOMPARE(BRYLLOARM_Halt(), 0);
    QVERIFY(RunToHalt());
    QCOMPARE(Pc(), LoopAddr);
    QVERIFY(BRYLLOARM_GetBPInfoEx(-1, &Info) > 0);
    QCOMPARE(Info.ImpFlags, U32(BRYLLO_BP_IMP_SOFT_FLASH));
    // A comparator is set under the running program.
    QCOMPARE(BRYLLOARM_ClrBPEx(BRYLLO_HANDLE_ALL), 0);
    QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
    QVERIFY(BRYLLOARM_SetBPEx(LoopAddr + 2, BRYLLO_BP_TYPE_HARD) > 0);
    QVERIFY(WaitHalted());
    QCOMPARE(Pc(), LoopAddr + 2);
}

void tst_probe::eventLimits_data()
{
    QTest::addColumn<QString>("Device");
    QTest::addColumn<U32>("AddrMask");
    QTest::addColumn<U32>("DataMask");
    QTest::addColumn<int>("AccessMask");
    QTest::addColumn<U32>("Bits"); // 0: accepted
    const U32 Any = ~0u;
    QTest::newRow("plain") << "VS4F-512" << 0u << Any << 0x17 << 0u;
    QTest::newRow("value") << "VS4F-512" << 0xFFu << 0u << 0x17 << 0u;
    QTest::newRow("hole in address mask")
        << "VS4F-512" << 5u << Any << 0x17 << U32(BRYLLO_EVENT_ERR_INVALID_ADDR_MASK);
    QTest::newRow("address mask too wide")
        << "VS4F-512" << 0xFFFFu << Any << 0x17 << U32(BRYLLO_EVENT_ERR_INVALID_ADDR_MASK);
    QTest::newRow("access mask") << "VS4F-512" << 0u << Any << 0x37
                                 << U32(BRYLLO_EVENT_ERR_INVALID_ACCESS_MASK);
    QTest::newRow("no value comparator")
        << "VS0-32" << 0u << 0u << 0x17 << U32(BRYLLO_EVENT_ERR_NO_MORE_DATA_COMP);
    QTest::newRow("address on the small core") << "VS0-32" << 0u << Any << 0x17 << 0u;
}

void tst_probe::eventLimits()
{
    QFETCH(QString, Device);
    QFETCH(U32, AddrMask);
    QFETCH(U32, DataMask);
    QFETCH(int, AccessMask);
    QFETCH(U32, Bits);
    QVERIFY(Connect(Device.toLatin1()));
    BRYLLOARM_DATA_EVENT Event{28, 1, 0x20000100, AddrMask, 0, DataMask, 0, U8(AccessMask), 0};
    U32 Handle = 0;
    QCOMPARE(U32(BRYLLOARM_SetDataEvent(&Event, &Handle)), Bits ? 0x80000000u | Bits : 0u);
    if (Bits != 0) {
        return;
    }
    // As many as there are units, and the next one is refused.
    int NumSet = 1, Result = 0;
    while (NumSet < 20 && (Event.Addr += 0x100, Result = BRYLLOARM_SetDataEvent(&Event, &Handle)) == 0) {
        ++NumSet;
    }
    QCOMPARE(NumSet, Device == "VS0-32" ? 2 : 4);
    QVERIFY(Result < 0 && (Result & BRYLLO_EVENT_ERR_NO_MORE_EVENTS));
    QCOMPARE(BRYLLOARM_GetWPInfoEx(-1, nullptr), NumSet);
    QCOMPARE(BRYLLOARM_ClrDataEvent(Handle), 0);
    QVERIFY(BRYLLOARM_ClrDataEvent(Handle) < 0);
    // Sized events bear the bits below their size in the address mask.
    if (AddrMask == 0) {
        for (const auto& [Size, Low] : {std::pair(0, 0u), std::pair(2, 1u), std::pair(4, 3u)}) {
            QCOMPARE(BRYLLOARM_ClrDataEvent(BRYLLO_HANDLE_ALL), 0);
            Event.Access = U8(Size | BRYLLO_ACCESS_WRITE);
            Event.AccessMask = BRYLLO_ACCESS_MASK_SET;
            QCOMPARE(BRYLLOARM_SetDataEvent(&Event, &Handle), 0);
            BRYLLOARM_WP_INFO Info{};
            Info.SizeOfStruct = sizeof(Info);
            QCOMPARE(BRYLLOARM_GetWPInfoEx(0, &Info), 0);
            QCOMPARE(Info.Handle, Handle);
            QCOMPARE(Info.AddrMask, Low);
            QCOMPARE(Info.Access, U32(Event.Access));
            QCOMPARE(Info.AccessMask, U32(Event.AccessMask));
        }
    }
}

void tst_probe::powerOff()
{
    QVERIFY(Connect("VS4F-512"));
    QCOMPARE(BRYLLOARM_WriteU32(0x20000000, 1), 0);
    QCOMPARE(Exec("SupplyPower=0"), 0);
    QVERIFY(BRYLLOARM_IsHalted() < 0);
    QCOMPARE(Exec("SupplyPower=1"), 0);
    QCOMPARE(BRYLLOARM_Halt(), 0);
    QCOMPARE(Word(0x20000000), 0u);
    QCOMPARE(Word(0x40000004), 1u); // reset cause: power
}

QTEST_GUILESS_MAIN(tst_probe)
#include "tst_probe.moc"
