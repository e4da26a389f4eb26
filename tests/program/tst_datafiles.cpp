// Data files against objcopy, and the rules of the text formats.
#include "app/services/log.h"
#include "program/datafiles/filetypes.h"
#include "program/datafiles/fileworker.h"
#include "program/datafiles/recordparser.h"
#include "testbuild.h"

#include <QFile>
#include <QSignalSpy>
#include <QtTest>
#include <numeric>

using namespace BFile;

namespace {

QString Write(const QString& sName, const QByteArray& Data)
{
    const QString sPath = CTestBuild::Dir() + "/" + sName;
    QFile File(sPath);
    if (File.open(QIODevice::WriteOnly)) File.write(Data);
    return sPath;
}

QList<CFileBlock> Read(const QString& sPath, I64 LoadAddr = -1)
{
    return CFileWorker::Instance().ReadFile(sPath, LoadAddr);
}

QByteArray Hex(U32 Value, int Digits) { return QByteArray::number(Value, 16).rightJustified(Digits, '0').toUpper(); }

/// A line of either format with its checksum made here.
QByteArray SRecord(char Type, U32 Addr, int AddrDigits, const QByteArray& Data)
{
    const QByteArray Body = Hex(U32(AddrDigits / 2 + Data.size() + 1), 2) + Hex(Addr, AddrDigits) + Data.toHex().toUpper();
    U32 Sum = 0;
    for (const char c : QByteArray::fromHex(Body)) Sum += U8(c);
    return QByteArray("S") + Type + Body + Hex(~Sum & 0xFF, 2) + "\r\n";
}

QByteArray HexRecord(int Type, U32 Addr, const QByteArray& Data)
{
    const QByteArray Body = Hex(U32(Data.size()), 2) + Hex(Addr, 4) + Hex(U32(Type), 2) + Data.toHex().toUpper();
    U32 Sum = 0;
    for (const char c : QByteArray::fromHex(Body)) Sum += U8(c);
    return ":" + Body + Hex((0u - Sum) & 0xFF, 2) + "\n";
}

} // namespace

class tst_datafiles : public QObject {
    Q_OBJECT
private slots:
    void objcopy_data();
    void objcopy();
    void roundTrip_data();
    void roundTrip();
    void bigEndian();
    void records_data();
    void records();
    void suffixes();
    void move();
    void chunks();
    void corrupt();
    void tooLarge();
    void save();
    void filters();
};

void tst_datafiles::objcopy_data()
{
    QTest::addColumn<QString>("Format");
    QTest::addColumn<QString>("Suffix");
    QTest::addColumn<QStringList>("Extra");
    QTest::newRow("hex") << "ihex" << "hex" << QStringList();
    QTest::newRow("srec") << "srec" << "srec" << QStringList();
    QTest::newRow("S3 only") << "srec" << "mot" << QStringList{"--srec-forceS3"};
    QTest::newRow("long lines") << "srec" << "mot" << QStringList{"--srec-len=200"};
    QTest::newRow("binary") << "binary" << "bin" << QStringList();
    QTest::newRow("high addresses, hex") << "ihex" << "hex" << QStringList{"--change-addresses=0x20000000"};
}

void tst_datafiles::objcopy()
{
    QFETCH(QString, Format);
    QFETCH(QString, Suffix);
    QFETCH(QStringList, Extra);
    const QString sElf = CTestBuild::Get({"gcc", false, 4, 0, ""});
    const QString sOut = CTestBuild::Dir() + "/out." + Suffix;
    CTestBuild::Run("arm-none-eabi-objcopy", QStringList{"-O", Format} + Extra + QStringList{sElf, sOut});
    const QList<CFileBlock> aFromElf = Read(sElf), aBlock = Read(sOut);
    QVERIFY(!aFromElf.isEmpty() && !aBlock.isEmpty());
    const U32 Move = Extra.value(0).contains("addresses") ? 0x20000000 : Suffix == "bin" ? 0u - aFromElf[0].LoadAddr : 0;
    // Every byte of the program lies where the segments put it; what else there is comes from gaps.
    for (const CFileBlock& Elf : aFromElf) {
        QCOMPARE(Elf.Size, U32(Elf.Data.size()));
        QByteArray Found;
        for (const CFileBlock& Block : aBlock) {
            const U32 Start = Elf.LoadAddr + Move;
            if (Start >= Block.LoadAddr && Start - Block.LoadAddr + Elf.Size <= Block.Size) Found = Block.Data.mid(Start - Block.LoadAddr, Elf.Size);
        }
        QCOMPARE(Found, Elf.Data);
    }
    for (const CFileBlock& Block : aBlock) QVERIFY(Block.Size == U32(Block.Data.size()) && Block.VirtAddr == Block.LoadAddr);
}

void tst_datafiles::roundTrip_data()
{
    QTest::addColumn<QString>("Format");
    QTest::addColumn<QString>("Suffix");
    QTest::addColumn<U32>("Addr");
    for (const U32 Addr : {0x0u, 0xFFF0u, 0x00FFFFF0u, 0x20000000u, 0xFFFE0000u}) {
        const QByteArray sAddr = Hex(Addr, 8);
        QTest::newRow(("hex " + sAddr).constData()) << "ihex" << "hex" << Addr;
        QTest::newRow(("srec " + sAddr).constData()) << "srec" << "srec" << Addr;
    }
    QTest::newRow("bin") << "binary" << "bin" << 0x08000000u;
}

/// What is saved, turned into a format by objcopy and read again is the same, and so is what objcopy makes of it.
void tst_datafiles::roundTrip()
{
    QFETCH(QString, Format);
    QFETCH(QString, Suffix);
    QFETCH(U32, Addr);
    QByteArray Data(70001, 0); // crosses a border of 64 KB, where the address record of the hex format changes
    U32 Seed = 1;
    for (char& c : Data) c = char((Seed = Seed * 1664525 + 1013904223) >> 24);
    const QString sSaved = CTestBuild::Dir() + "/saved.bin", sOut = CTestBuild::Dir() + "/trip." + Suffix;
    QCOMPARE(CFileWorker::Instance().SaveFile(sSaved, Data.constData(), U32(Data.size())), 0);
    CTestBuild::Run("objcopy", {"-I", "binary", "-O", Format, "--change-addresses=0x" + QString::number(Format == "binary" ? 0 : Addr, 16), sSaved, sOut});
    const QList<CFileBlock> aBlock = Read(sOut, Suffix == "bin" ? I64(Addr) : -1);
    QCOMPARE(aBlock.size(), 1);
    QCOMPARE(aBlock[0].LoadAddr, Addr);
    QCOMPARE(aBlock[0].Size, U32(Data.size()));
    QVERIFY(aBlock[0].Data == Data);
    const QString sAgain = CTestBuild::Dir() + "/again.bin", sTheirs = CTestBuild::Dir() + "/theirs.bin";
    QCOMPARE(CFileWorker::Instance().SaveFile(sAgain, aBlock[0].Data.constData(), aBlock[0].Size), 0);
    CTestBuild::Run("objcopy", {"-I", Format, "-O", "binary", sOut, sTheirs});
    QFile Again(sAgain), Theirs(sTheirs);
    QVERIFY(Again.open(QIODevice::ReadOnly) && Theirs.open(QIODevice::ReadOnly));
    QVERIFY(Again.readAll() == Theirs.readAll());
}

/// The bytes of a big-endian program are those that objcopy takes out of it.
void tst_datafiles::bigEndian()
{
    const QString sElf = CTestBuild::Get({"gcc", false, 4, 0, "-mbig-endian"}), sBin = CTestBuild::Dir() + "/big.bin";
    const QList<CFileBlock> aBlock = Read(sElf);
    QVERIFY(!aBlock.isEmpty());
    CTestBuild::Run("arm-none-eabi-objcopy", {"-O", "binary", sElf, sBin});
    const QList<CFileBlock> aBin = Read(sBin, aBlock[0].LoadAddr);
    QCOMPARE(aBin.size(), 1);
    for (const CFileBlock& Block : aBlock) QVERIFY(aBin[0].Data.mid(Block.LoadAddr - aBin[0].LoadAddr, Block.Size) == Block.Data);
}

void tst_datafiles::records_data()
{
    QTest::addColumn<QByteArray>("Text");
    QTest::addColumn<QString>("Suffix");
    QTest::addColumn<QString>("Blocks"); ///< "address:bytes address:bytes"
    const QByteArray A("\x11\x22", 2), B("\x33\x44\x55", 3);
    QTest::newRow("S0, S1 and S9") << SRecord('0', 0, 4, "name") + SRecord('1', 0x100, 4, A) + SRecord('9', 0, 4, "") << "srec" << "100:1122";
    QTest::newRow("three widths") << SRecord('1', 0x100, 4, A) + SRecord('2', 0x123456, 6, A) + SRecord('3', 0x20000000, 8, B) << "mot" << "100:1122 123456:1122 20000000:334455";
    QTest::newRow("adjoining") << SRecord('1', 0x100, 4, A) + SRecord('1', 0x102, 4, B) << "srec" << "100:1122334455";
    QTest::newRow("descending") << SRecord('1', 0x102, 4, B) + SRecord('1', 0x100, 4, A) << "srec" << "100:1122334455";
    QTest::newRow("overlap: the higher address wins") << SRecord('1', 0x101, 4, B) + SRecord('1', 0x100, 4, A) << "srec" << "100:11334455";
    QTest::newRow("last line without end") << SRecord('1', 0x100, 4, A) + SRecord('1', 0x200, 4, A).trimmed() << "srec" << "100:1122";
    QTest::newRow("only line without end") << SRecord('1', 0x100, 4, A).trimmed() << "srec" << "100:1122";
    QTest::newRow("empty lines") << "\n\n" + SRecord('1', 0x100, 4, A) + "\n\n  \n" + SRecord('1', 0x200, 4, A) << "srec" << "";
    QTest::newRow("type 4") << HexRecord(4, 0, QByteArray("\x08\x00", 2)) + HexRecord(0, 0x10, A) << "hex" << "8000010:1122";
    QTest::newRow("type 2") << HexRecord(2, 0, QByteArray("\x10\x00", 2)) + HexRecord(0, 0x10, A) << "hex" << "10010:1122";
    QTest::newRow("end record doesn't stop") << HexRecord(0, 0x10, A) + HexRecord(1, 0, "") + HexRecord(0, 0x20, B) << "hex" << "10:1122 20:334455";
    QTest::newRow("start addresses") << HexRecord(3, 0, "abcd") + HexRecord(5, 0, "abcd") + HexRecord(0, 0x10, A) << "hex" << "10:1122";
}

void tst_datafiles::records()
{
    QFETCH(QByteArray, Text);
    QFETCH(QString, Suffix);
    QFETCH(QString, Blocks);
    QStringList asBlock;
    for (const CFileBlock& Block : Read(Write("records." + Suffix, Text))) {
        asBlock.append(QString::number(Block.LoadAddr, 16) + ":" + QString::fromLatin1(Block.Data.toHex()));
    }
    QCOMPARE(asBlock.join(' '), Blocks);
}

void tst_datafiles::suffixes()
{
    const QByteArray Line = SRecord('1', 0x100, 4, "ab");
    QVERIFY(Read(Write("x.SREC", Line)).isEmpty());
    QVERIFY(Read(Write("x.txt", Line)).isEmpty());
    QVERIFY(Read(CTestBuild::Dir()).isEmpty());
    QVERIFY(Read("/nonexistent.bin").isEmpty());
    QFile Elf(CTestBuild::Get({"gcc", false, 4, 0, ""}));
    QVERIFY(Elf.open(QIODevice::ReadOnly));
    QByteArray Image = Elf.readAll();
    QVERIFY(!Read(Write("program", Image)).isEmpty());
    Image[4] = 2;
    QVERIFY(Read(Write("program64", Image)).isEmpty());
    QVERIFY(Read(Write("broken.elf", "abc")).isEmpty());
}

void tst_datafiles::move()
{
    const QString sPath = Write("move.hex", HexRecord(0, 0x2000, "xy") + HexRecord(0, 0x1000, "ab"));
    const QList<CFileBlock> aBlock = Read(sPath, 0x20000000);
    QCOMPARE(aBlock.size(), 2);
    QCOMPARE(aBlock[0].LoadAddr, 0x20000000u);
    QCOMPARE(aBlock[1].LoadAddr, 0x20001000u);
    QCOMPARE(aBlock[0].VirtAddr, 0x1000u);
}

void tst_datafiles::chunks()
{
    // Lines that cross the chunk's end are read whole, whatever the line ends are.
    for (const QByteArray& End : {QByteArray("\n"), QByteArray("\r\n")}) {
        QByteArray Text, Expected;
        U32 Addr = 0;
        while (Text.size() < 2500000) {
            QByteArray Data(16, 0);
            std::iota(Data.begin(), Data.end(), char(Addr / 16));
            Text += SRecord('3', Addr, 8, Data).trimmed() + End;
            Expected += Data;
            Addr += 16;
        }
        const QList<CFileBlock> aBlock = Read(Write("chunks.srec", Text));
        QCOMPARE(aBlock.size(), 1);
        QVERIFY(aBlock[0].Data == Expected);
    }
    // A file of one endless line comes to an end, as an error.
    QVERIFY(Read(Write("endless.hex", QByteArray(2300000, 'A'))).isEmpty());
}

void tst_datafiles::corrupt()
{
    QStringList asLine;
    SetLogConsoleSink([&](const QString& sText, U32) { asLine.append(sText); });
    const QByteArray Good = SRecord('1', 0x100, 4, "ab");
    for (const QByteArray& Bad : {QByteArray("S1"), QByteArray(Good).replace("S1", "S4"), QByteArray(Good).replace("S1", "T1"),
                                  QByteArray(Good).replace("61", "62"), QByteArray(Good).replace("61", "6G"), QByteArray("S10361620000000000")}) {
        asLine.clear();
        const QString sPath = Write("bad.srec", Good + "\n" + Bad.trimmed() + "\n" + Good + Good);
        QVERIFY2(Read(sPath).isEmpty(), Bad.constData());
        QCOMPARE(asLine.size(), 1);
        QVERIFY(asLine[0].contains("Could not open file " + sPath + ": file contains corrupt data record at line 1"));
    }
    for (const char* sBad : {":0000000", ":00000001FE", ":020000041234", ":0200000400FA01", ":01000010AA45", "x0000000000"}) {
        U32 Base = 0;
        DATA_RECORD Rec;
        QVERIFY2(!ParseHexRecord(QByteArrayView(sBad), Base, Rec), sBad);
    }
    SetLogConsoleSink({});
    // The last line of the last chunk isn't noted, though it is discarded.
    QCOMPARE(Read(Write("badlast.srec", Good + "S1bad\n")).size(), 1);
}

void tst_datafiles::tooLarge()
{
    QStringList asLine;
    SetLogConsoleSink([&](const QString& sText, U32) { asLine.append(sText); });
    const QString sPath = Write("huge.bin", "x");
    QVERIFY(QFile::resize(sPath, 0x100000000));
    QVERIFY(Read(sPath).isEmpty());
    QFile::remove(sPath);
    SetLogConsoleSink({});
    QVERIFY(asLine.value(0).contains("larger than the memory of any target"));
}

void tst_datafiles::save()
{
    QSignalSpy Spy(&CFileWorker::Instance(), &CFileWorker::FileSaved);
    QByteArray Data(2500001, 0);
    std::iota(Data.begin(), Data.end(), char(0));
    const QString sPath = CTestBuild::Dir() + "/saved.bin";
    QCOMPARE(CFileWorker::Instance().SaveFile(sPath, Data.constData(), U32(Data.size())), 0);
    QCOMPARE(Spy.size(), 1);
    QCOMPARE(Spy[0][1].toUInt(), U32(Data.size()));
    QVERIFY(Read(sPath).value(0).Data == Data);
    QCOMPARE(Read(sPath).value(0).LoadAddr, 0u);
    QCOMPARE(CFileWorker::Instance().SaveFile("/nonexistent/x.bin", Data.constData(), 4), -1);
    QCOMPARE(Spy.size(), 1);
}

void tst_datafiles::filters()
{
    QVERIFY(IsBinFile("a.BIN") && !IsBinFile("bin") && IsHexFile("x/y.mot") && IsSourceFile("A.CPP") && !IsSourceFile("a.cc"));
    QVERIFY(IsSvdFile("x.xml") && IsProjectFile("p.bdebug") && IsDocumentFile("d.pdf") && IsLibraryFile("l.so") && !IsDataFile("x.c.txt"));
    QCOMPARE(GetOpenFilter(), "All Files (*);;Source Files (*.h *.c *.hpp *.cpp *.s);;Data Files (*.bin *.mot *.srec *.hex *.elf *.out *.axf);;Project Files (*.bdebug);;");
    QCOMPARE(GetDataFilter(), "Data Files (*.mot *.srec *.hex *.elf *.out *.axf)");
    QCOMPARE(GetFileTypeText("x.AXF"), "Executable and Linkable Format File");
    QVERIFY(GetFileTypeText("x.unknown").isEmpty());
}

QTEST_GUILESS_MAIN(tst_datafiles)
#include "tst_datafiles.moc"
