// The IP host interface: framing and descriptions of GDB servers, a session with an emulator, flash through a server
// that has some, and servers that are broken.
#include "bench.h"
#include "gdbserver.h"
#include "platform/probe/remote/rspwire.h"
#include "platform/probe/remote/targetdesc.h"

#include <QTcpServer>
#include <QTest>

#include <csignal>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using Bench::Exec;
using namespace Remote;

namespace {
quint16 FreePort()
{
    QTcpServer Server; // finds a port that nobody listens on
    Server.listen(QHostAddress::LocalHost);
    return Server.serverPort();
}

/// Null when the session stands, else what has failed.
const char* ConnectTo(int Port)
{
    BRYLLOARM_Close();
    if (BRYLLOARM_SelectIP(QString("127.0.0.1:%1").arg(Port).toLatin1(), 0) != 0) {
        return "select";
    }
    if (const char* sError = BRYLLOARM_Open()) {
        return sError;
    }
    Exec("device=VS4F-512");
    BRYLLOARM_SetEndian(0);
    return BRYLLOARM_Connect() == 0 ? nullptr : "connect";
}

U64 Reg(U32 Index)
{
    U64 Value = 0;
    U8 Status = 1;
    return BRYLLOARM_ReadRegs(&Index, &Value, &Status, 1) == 0 && Status == 0 ? Value : ~U64(0);
}

bool SetReg(U32 Index, U64 Value)
{
    U8 Status = 1;
    return BRYLLOARM_WriteRegs(&Index, &Value, &Status, 1) == 0 && Status == 0;
}
} // namespace

/// The emulator, which doesn't outlive a test that fails. Spawned by the C library: the thread sanitizer bears no other
/// way to start a process.
class CEmulator {
public:
    bool Start(int Port)
    {
        const std::string Gdb = "tcp:127.0.0.1:" + std::to_string(Port);
        const char* const aArgs[] = {"qemu-system-arm", "-M",      "mps2-an386", "-S",         "-display", "none", "-monitor",
                                     "none",            "-serial", "none",       "-gdb", Gdb.c_str(), nullptr};
        return posix_spawnp(&m_Pid, aArgs[0], nullptr, nullptr, const_cast<char* const*>(aArgs), environ) == 0;
    }
    void Kill()
    {
        if (m_Pid > 0) {
            ::kill(m_Pid, SIGKILL);
            ::waitpid(m_Pid, nullptr, 0);
            m_Pid = 0;
        }
    }
    ~CEmulator() { Kill(); }

private:
    pid_t m_Pid = 0;
};

class tst_remote : public QObject {
    Q_OBJECT
    /// An emulated board at a free port, halted before its first instruction; 0 without the emulator.
    int StartEmulator(CEmulator& Emulator)
    {
        const int Port = FreePort();
        if (!Emulator.Start(Port)) {
            return 0;
        }
        for (int i = 0; i < 100; ++i) {
            if (!ConnectTo(Port)) {
                return Port;
            }
            QTest::qWait(50);
        }
        return 0;
    }

private slots:
    void cleanup()
    {
        BRYLLOARM_Close();
        BRYLLOARM_SelectUSB(0);
    }

    void packets_data()
    {
        QTest::addColumn<QByteArray>("Bytes");
        QTest::addColumn<QByteArray>("Expected"); // packets, a bad one as !, acknowledgements as they are
        QTest::newRow("plain") << QByteArray("$OK#9a") << QByteArray("OK|");
        QTest::newRow("acks") << QByteArray("+-$OK#9a") << QByteArray("+|-|OK|");
        QTest::newRow("two halves") << QByteArray("$O") << QByteArray();
        QTest::newRow("run") << QByteArray("$0* #7a") << QByteArray("0000|");
        QTest::newRow("escape") << QByteArray("$}\x03#80") << QByteArray("#|");
        QTest::newRow("wrong sum") << QByteArray("$OK#9b$OK#9a") << QByteArray("!|OK|");
        QTest::newRow("no sum") << QByteArray("$OK#zz") << QByteArray("!|");
        QTest::newRow("run of nothing") << QByteArray("$* #4a") << QByteArray("!|");
        QTest::newRow("run too short") << QByteArray("$0*\x01#5b") << QByteArray("!|");
        QTest::newRow("noise") << QByteArray("HTTP/1.1 200\r\n$OK#9a") << QByteArray("OK|");
        QTest::newRow("notification") << QByteArray("%Stop:T05#00$OK#9a") << QByteArray("OK|");
    }
    void packets()
    {
        QFETCH(QByteArray, Bytes);
        CRspWire Wire;
        QByteArray Seen;
        for (const char c : Bytes) { // as they may trickle in
            Wire.Feed(&c, 1);
            while (const auto Item = Wire.Next()) {
                Seen += Item->Kind == CRspWire::EItem::Ack         ? QByteArray("+")
                        : Item->Kind == CRspWire::EItem::Nak       ? QByteArray("-")
                        : Item->Kind == CRspWire::EItem::BadPacket ? QByteArray("!")
                                                                   : QByteArray::fromStdString(Item->Text);
                Seen += '|';
            }
        }
        QTEST(Seen, "Expected");
    }

    void framing()
    {
        QCOMPARE(EncodePacket("qSupported"), std::string("$qSupported#37"));
        std::string Text;
        for (int i = 0; i < 256; ++i) {
            AppendEscaped(Text, U8(i));
        }
        CRspWire Wire;
        const std::string Packet = EncodePacket(Text);
        Wire.Feed(Packet.data(), Packet.size());
        const auto Item = Wire.Next();
        QVERIFY(Item && Item->Text.size() == 256);
        for (int i = 0; i < 256; ++i) {
            QCOMPARE(U8(Item->Text[size_t(i)]), U8(i));
        }
        QVERIFY(!HexNumber("") && !HexNumber("0x1") && !HexNumber("100000000"));
        QCOMPARE(*HexNumber("fFFFffff"), 0xFFFFFFFFu);
    }

    void descriptions()
    {
        int NumAsked = 0;
        const auto Itself = [&](const std::string&) -> std::optional<std::string> {
            ++NumAsked;
            return std::string("<xi:include href='a'/><reg name='x' bitsize='32'/>");
        };
        // A description that includes itself comes to an end.
        QVERIFY(ParseTargetDescription("<xi:include href='a'/>", Itself).size() <= 1024);
        QVERIFY(NumAsked <= 32);
        const auto Nothing = [](const std::string&) { return std::optional<std::string>(); };
        for (const char* sXml : {"", "<", "<reg", "<reg name=>", "<reg name='a bitsize='32'/>", "<!--", "<reg name='' bitsize='32'/>",
                                 "<reg name='v' bitsize='4294967295'/>"}) {
            for (const CRemoteReg& r : ParseTargetDescription(sXml, Nothing)) {
                QVERIFY(r.NumBytes <= 1024);
            }
            QVERIFY(ParseMemoryMap(sXml).empty());
        }
        const auto Regs = ParseTargetDescription("<reg name='R0' bitsize='32'/><reg name='d0' bitsize='64' regnum='0x10'/>"
                                                 "<reg name='q' bitsize='128'/><reg name='z' bitsize='8'/>", Nothing);
        QCOMPARE(Regs.size(), size_t(4));
        QCOMPARE(Regs[0].Name, std::string("r0"));
        QCOMPARE(Regs[1].Number, 16u);
        QCOMPARE(Regs[2].NumBytes, 16u); // takes its place among the others
        QCOMPARE(Regs[3].Number, 18u);
        QVERIFY(ParseMemoryMap("<memory type='flash' start='0' length='0x100'><property name='blocksize'>0x200</property>").empty());
    }

    void emulator()
    {
        CEmulator Emulator;
        const int Port = StartEmulator(Emulator);
        QVERIFY(Port != 0);
        QCOMPARE(BRYLLOARM_IsConnected(), 1);
        QCOMPARE(BRYLLOARM_IsHalted(), 1);

        // After a reset without a program a PC that is set runs all the same.
        QCOMPARE(BRYLLOARM_Reset(), 0);
        QCOMPARE(Reg(BRYLLO_REG_PC), U64(0));
        QCOMPARE(BRYLLOARM_WriteU16(0x20000000, 0x3005), 0); // adds r0,#5
        QVERIFY(SetReg(0, 0) && SetReg(BRYLLO_REG_PC, 0x20000001));
        QCOMPARE(BRYLLOARM_Step(), 0);
        QCOMPARE(Reg(0), U64(5));

        // A vector table, and a loop that counts in R0 and stores where R1 points to.
        const U32 aTable[] = {0x20001000, 0x00000101};
        const U16 aCode[] = {0x2000, 0x3001, 0x6008, 0xE7FC}; // movs r0,#0; adds r0,#1; str r0,[r1]; b
        QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
        QCOMPARE(BRYLLOARM_WriteMemEx(0, sizeof(aTable), aTable, 0), int(sizeof(aTable)));
        QCOMPARE(BRYLLOARM_WriteMemEx(0x100, sizeof(aCode), aCode, 0), int(sizeof(aCode)));
        QCOMPARE(BRYLLOARM_EndDownload(), 0);
        QCOMPARE(BRYLLOARM_Reset(), 0);
        QCOMPARE(BRYLLOARM_IsHalted(), 1);
        QCOMPARE(Reg(BRYLLO_REG_PC), U64(0x100));
        QCOMPARE(Reg(BRYLLO_REG_SP), U64(0x20001000));

        // Registers, those of the floating point unit by halves of doubles.
        QVERIFY(SetReg(1, 0x20000100));
        QVERIFY(SetReg(BRYLLO_REG_S0 + 4, 0x3F800000));
        QVERIFY(SetReg(BRYLLO_REG_S0 + 5, 0x40490FDB));
        QCOMPARE(Reg(BRYLLO_REG_S0 + 4), U64(0x3F800000));
        QCOMPARE(Reg(BRYLLO_REG_S0 + 5), U64(0x40490FDB));
        QCOMPARE(Reg(BRYLLO_REG_CYCLES), ~U64(0)); // the server has no such register
        U64 Value = 0;
        QCOMPARE(BRYLLOARM_ReadCPReg("CPUID", &Value), 0);
        QCOMPARE(Value & 0xFF00FFF0, U64(0x4100C240)); // a Cortex-M4
        QVERIFY(BRYLLOARM_ReadCPReg("NOSUCHREG", &Value) < 0);

        QCOMPARE(BRYLLOARM_Step(), 0);
        QCOMPARE(Reg(BRYLLO_REG_PC), U64(0x102));

        // A breakpoint is passed when the target goes on from it, and hit in the next round.
        const int Handle = BRYLLOARM_SetBPEx(0x104, BRYLLO_BP_TYPE_ANY);
        QVERIFY(Handle > 0);
        QCOMPARE(BRYLLOARM_FindBP(0x104), Handle);
        for (U64 Round = 1; Round <= 3; ++Round) {
            QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
            QTRY_COMPARE(BRYLLOARM_IsHalted(), 1);
            QCOMPARE(Reg(BRYLLO_REG_PC), U64(0x104));
            QCOMPARE(Reg(0), Round);
        }
        QCOMPARE(BRYLLOARM_Step(), 0); // from a breakpoint as well
        QCOMPARE(Reg(BRYLLO_REG_PC), U64(0x106));
        QCOMPARE(BRYLLOARM_ClrBPEx(BRYLLO_HANDLE_ALL), 0);
        QCOMPARE(BRYLLOARM_FindBP(0x104), 0);

        // Running: no memory, no registers. A breakpoint that is set stops it for a moment, and works.
        QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
        QCOMPARE(BRYLLOARM_IsHalted(), 0);
        U32 Word = 0;
        QVERIFY(BRYLLOARM_ReadMemU32(0x20000100, 1, &Word, nullptr) < 0);
        QVERIFY(BRYLLOARM_SetBPEx(0x106, BRYLLO_BP_TYPE_HARD) > 0);
        QTRY_COMPARE(BRYLLOARM_IsHalted(), 1);
        QCOMPARE(Reg(BRYLLO_REG_PC), U64(0x106));
        QCOMPARE(BRYLLOARM_ReadMemU32(0x20000100, 1, &Word, nullptr), 1);
        QCOMPARE(U64(Word), Reg(0));
        QCOMPARE(BRYLLOARM_ClrBPEx(BRYLLO_HANDLE_ALL), 0);
        const U64 Before = Reg(0);
        const auto HasRun = [&] {
            return BRYLLOARM_GoEx(0, 1) == 0 && BRYLLOARM_Halt() == 0 && Reg(0) > Before;
        };
        QTRY_VERIFY(HasRun());

        // A data event on the store.
        BRYLLOARM_DATA_EVENT Event = {sizeof(Event), 1, 0x20000100, 3, 0, 0xFFFFFFFF, BRYLLO_ACCESS_WRITE,
                                      U8(BRYLLO_ACCESS_SIZE_MASK | BRYLLO_ACCESS_MASK_SET), 0};
        U32 EventHandle = 0;
        QCOMPARE(BRYLLOARM_SetDataEvent(&Event, &EventHandle), 0);
        QCOMPARE(BRYLLOARM_GoEx(0, 1), 0);
        QTRY_COMPARE(BRYLLOARM_IsHalted(), 1);
        QVERIFY(Reg(BRYLLO_REG_PC) >= 0x104 && Reg(BRYLLO_REG_PC) <= 0x106);
        QCOMPARE(BRYLLOARM_ClrDataEvent(EventHandle), 0);
        Event.DataMask = 0;
        QVERIFY(BRYLLOARM_SetDataEvent(&Event, &EventHandle) & BRYLLO_EVENT_ERR_INVALID_DATA_MASK);

        // Memory that isn't there, and a command of the server's own.
        QVERIFY(BRYLLOARM_ReadMemU32(0x60000000, 1, &Word, nullptr) < 0);
        QString Answer;
        QCOMPARE(Exec("monitor info version", &Answer), 0);
        QVERIFY(Exec("SupplyPower=1", &Answer) < 0);

        Emulator.Kill();
        QTRY_VERIFY(BRYLLOARM_IsHalted() < 0);
        QVERIFY(BRYLLOARM_ReadMemU32(0x20000100, 1, &Word, nullptr) < 0);
    }

    void flash()
    {
        CGdbServer Server;
        QCOMPARE(ConnectTo(Server.Listen()), static_cast<const char*>(nullptr));
        QCOMPARE(Reg(0), U64(0x10)); // little-endian digits
        QCOMPARE(Reg(BRYLLO_REG_MSP), U64(0x12345678));
        QCOMPARE(Reg(BRYLLO_REG_XPSR), ~U64(0)); // the server doesn't know it
        QVERIFY(SetReg(BRYLLO_REG_PC, 0x08000100));
        QCOMPARE(Reg(BRYLLO_REG_PC), U64(0x08000100));

        // All bytes, some of which have to be escaped, over the edge of two blocks and more than one packet.
        QByteArray Data;
        for (int i = 0; i < 0x500; ++i) {
            Data += char(i);
        }
        QCOMPARE(BRYLLOARM_WriteMem(0x20000000, U32(Data.size()), Data.constData()), int(Data.size()));
        QByteArray Read(Data.size(), 0);
        QCOMPARE(BRYLLOARM_ReadMem(0x20000000, U32(Read.size()), Read.data()), 0);
        QCOMPARE(Read, Data);
        U8 aStatus[2];
        U32 aWord[2];
        QCOMPARE(BRYLLOARM_ReadMemU32(0x20000FFC, 2, aWord, aStatus), 1); // the end of the memory
        QCOMPARE(aStatus[0] + 2 * aStatus[1], 2);
        QVERIFY(BRYLLOARM_WriteMem(0x08000000, 4, "abcd") < 0); // no bracket
        QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
        QCOMPARE(BRYLLOARM_WriteMem(0x08000200, U32(Data.size()), Data.constData()), int(Data.size()));
        QCOMPARE(BRYLLOARM_EndDownload(), 2);
        QCOMPARE(Server.TakeLog(), (QStringList{"erase 8000000+400", "erase 8000400+400", "done"}));
        QCOMPARE(Server.Flash().mid(0x200, Data.size()), Data);
        QCOMPARE(Server.Flash().left(0x200), QByteArray(0x200, '\xff'));
        // What is there already isn't programmed again; what stands beside it is kept.
        QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
        QCOMPARE(BRYLLOARM_WriteMem(0x08000200, U32(Data.size()), Data.constData()), int(Data.size()));
        QCOMPARE(BRYLLOARM_EndDownload(), 0);
        QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
        QCOMPARE(BRYLLOARM_WriteMem(0x08000700, 2, "xy"), 2);
        QCOMPARE(BRYLLOARM_EndDownload(), 1);
        QCOMPARE(Server.Flash().mid(0x600, 0x100), Data.mid(0x400));
        QCOMPARE(Server.TakeLog(), (QStringList{"erase 8000400+400", "done"}));
        QCOMPARE(BRYLLOARM_Reset(), 0);
        QCOMPARE(Server.TakeLog(), QStringList{"monitor reset halt"});
    }

    void brokenServers_data()
    {
        QTest::addColumn<int>("Fault");
        QTest::newRow("silent") << int(CGdbServer::Silent);
        QTest::newRow("garbage") << int(CGdbServer::Garbage);
        QTest::newRow("endless") << int(CGdbServer::Endless);
        QTest::newRow("hangs up") << int(CGdbServer::HangUp);
        QTest::newRow("bad checksums") << int(CGdbServer::BadChecksums);
    }
    void brokenServers()
    {
        QFETCH(int, Fault);
        {
            CGdbServer Server{CGdbServer::EFault(Fault)};
            QVERIFY(ConnectTo(Server.Listen())); // no session, and no hang
            QCOMPARE(BRYLLOARM_IsConnected(), 0);
        }
        // The same in the middle of a session.
        CGdbServer Server;
        QVERIFY(!ConnectTo(Server.Listen()));
        Server.SetFault(CGdbServer::EFault(Fault));
        U32 aWord[64] = {};
        QVERIFY(BRYLLOARM_ReadMemU32(0x20000000, 64, aWord, nullptr) < 0);
        QVERIFY(BRYLLOARM_IsHalted() < 0);
        QVERIFY(BRYLLOARM_Halt() < 0);
        QVERIFY(Bench::Connect("VS4F-512")); // back to the simulated probe
    }

    void badMemoryMap()
    {
        CGdbServer Server{CGdbServer::BadMap};
        QVERIFY(!ConnectTo(Server.Listen()));
        QCOMPARE(BRYLLOARM_BeginDownload(0), 0);
        QCOMPARE(BRYLLOARM_WriteMem(0x20000000, 4, "abcd"), 4); // all is RAM then
        QCOMPARE(BRYLLOARM_EndDownload(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_remote)
#include "tst_remote.moc"
