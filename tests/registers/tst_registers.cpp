// CPU register descriptions: what is read, and that a bad file is refused with a reason and changes nothing.
#include "registers/svd/cpuregisters.h"
#include "registers/svd/xmlfile.h"

#include <QTemporaryDir>
#include <QTest>

class tst_Registers : public QObject {
    Q_OBJECT

private slots:
    void Reads();
    void Refuses_data();
    void Refuses();

private:
    QString Write(const QByteArray& Bytes);
    QTemporaryDir m_Dir;
};

QString tst_Registers::Write(const QByteArray& Bytes)
{
    const QString sPath = m_Dir.filePath("file.svd");
    QFile File(sPath);
    if (!File.open(QIODevice::WriteOnly)) qFatal("no temporary file");
    File.write(Bytes);
    return sPath;
}

static const QByteArray GOOD =
    "<?xml "
    "version=\"1.0\"?><cpu><name>x</name><groups><group><name>Core</name><cpumodedependent>true</"
    "cpumodedependent><registers>"
    "<register><name>R0</name><index>0</index></register>"
    "<register><name>R13</name><displayName>SP</displayName><index>0x0D</index><description>stack \n "
    "pointer</description></register>"
    "<register><name>PRIMASK</name><id>PRIMASK</id><access>read-only</access></register>"
    "</registers></group><group derivedFrom=\"Core\"><name>Copy</name></group></groups></cpu>";

void tst_Registers::Reads()
{
    QCOMPARE(LoadCpuRegisters(Write(GOOD)), QString());
    QCOMPARE(GetCpuRegisterGroups().size(), 1);
    const CPU_REGISTER_GROUP Group = GetCpuRegisterGroups().first();
    QVERIFY(Group.IsModeDependent);
    QCOMPARE(Group.Registers.size(), 3);
    QCOMPARE(Group.Registers[1].Description, QStringLiteral("stack pointer"));
    QVERIFY(Group.Registers[2].ReadOnly);
    QCOMPARE(FindCpuRegister("sp"), 13);
    QCOMPARE(FindCpuRegister("r13"), 13);
    QCOMPARE(FindCpuRegister("PRIMASK"), -1); // read by its name, not by an index
    QCOMPARE(FindCpuRegister("R99"), -1);
}

void tst_Registers::Refuses_data()
{
    QTest::addColumn<QByteArray>("Bytes");
    QTest::addColumn<QString>("Reason");
    QTest::newRow("empty") << QByteArray() << "empty file";
    QTest::newRow("no xml") << QByteArray("hello") << "in line 1";
    QTest::newRow("cut") << GOOD.left(GOOD.size() / 2) << "in line";
    QTest::newRow("wrong closing tag") << QByteArray("<cpu>\n<groups>\n</group></cpu>") << "in line 3";
    QTest::newRow("device file") << QByteArray("<device><name>d</name></device>") << "not a CMSIS CPU register set description file";
    QTest::newRow("no registers") << QByteArray("<cpu><groups/></cpu>") << "no registers";
    QTest::newRow("deep") << QByteArray("<a>").repeated(100000) + QByteArray("</a>").repeated(100000) << "nested too deeply";
}

void tst_Registers::Refuses()
{
    QFETCH(QByteArray, Bytes);
    QFETCH(QString, Reason);
    QCOMPARE(LoadCpuRegisters(Write(GOOD)), QString());
    const QString sError = LoadCpuRegisters(Write(Bytes));
    QVERIFY2(sError.contains(Reason), qPrintable(sError));
    QCOMPARE(GetCpuRegisterGroups().size(), 1); // what was there stays
}

QTEST_GUILESS_MAIN(tst_Registers)
#include "tst_registers.moc"
