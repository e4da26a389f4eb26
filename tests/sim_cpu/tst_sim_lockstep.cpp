// Compiled programs in lockstep with an independent emulator: all registers before every
// instruction must be the same.
#include "lockstep.h"
#include "randomcode.h"

#include <QTest>

class tst_sim_lockstep : public QObject {
    Q_OBJECT
private slots:
    void Programs_data();
    void Programs();
    void RandomInstructions_data();
    void RandomInstructions();
};

void tst_sim_lockstep::Programs_data()
{
    QTest::addColumn<const BoardInfo*>("pBoard");
    QTest::addColumn<QString>("sSource");
    QTest::addColumn<QString>("sOptions");
    QTest::addColumn<int>("MinInstructions");
    auto Row = [](const BoardInfo& Board, const char* sSource, const char* sOptions, int Min) {
        QTest::addRow("%s %s %s", Board.sName, sSource, sOptions)
            << &Board << QString(sSource) << QString(sOptions) << Min;
    };
    Row(kBoardM3, "integer.c", "-O2 -DROUNDS=2", 300000);
    Row(kBoardM3, "integer.c", "-O0 -DROUNDS=1", 150000);
    Row(kBoardM0, "integer.c", "-Os -DROUNDS=1", 150000);
    Row(kBoardM33, "integer.c", "-O3 -DROUNDS=1", 100000);
    Row(kBoardM4F, "fpu.c", "-O2 -DSTEP=1", 500000);
    Row(kBoardM7F, "fpu.c", "-O1 -DSTEP=5", 200000);
    Row(kBoardM33, "fpu.c", "-Os -DSTEP=7", 200000);
    Row(kBoardM3, "interrupts.c", "-O2", 4000);
    Row(kBoardM4F, "interrupts.c", "-O1", 4000);
    Row(kBoardM7F, "interrupts.c", "-Os", 4000);
    Row(kBoardM33, "interrupts.c", "-O2", 4000);
    Row(kBoardM0, "baseline.c", "-O1", 200);
    Row(kBoardM3, "mpu.c", "-O2", 5000);
    Row(kBoardM4F, "mpu.c", "-O1", 5000);
    Row(kBoardM7F, "mpu.c", "-Os", 5000);
    Row(kBoardM33, "mpu.c", "-O2", 5000);
    for (const BoardInfo* pBoard : {&kBoardM0, &kBoardM3, &kBoardM7F}) Row(*pBoard, "identity.c", "-O1", 100);
    Row(kBoardM4F, "classes.cpp", "-O2", 100000);
    Row(kBoardM3, "classes.cpp", "-Os", 100000);
}

void tst_sim_lockstep::Programs()
{
    QFETCH(const BoardInfo*, pBoard);
    QFETCH(QString, sSource);
    QFETCH(QString, sOptions);
    QFETCH(int, MinInstructions);
    QString sError;
    QByteArray Image = BuildProgram(*pBoard, sSource, sOptions.split(' '), &sError);
    QVERIFY2(!Image.isEmpty(), qPrintable(sError));
    uint32_t Value = 0;
    LockstepResult Result = RunLockstep(*pBoard, Image, 5000000, &Value);
    QVERIFY2(Result.sError.isEmpty(), qPrintable(Result.sError));
    QVERIFY2(Value != 0xDEAD0000, "the program ended in an unexpected exception");
    qInfo("%llu instructions without a difference", static_cast<unsigned long long>(Result.NumInstructions));
    QVERIFY(Result.NumInstructions >= uint64_t(MinInstructions));
}

void tst_sim_lockstep::RandomInstructions_data()
{
    QTest::addColumn<const BoardInfo*>("pBoard");
    QTest::addColumn<int>("Seed");
    for (const BoardInfo* pBoard : {&kBoardM0, &kBoardM3, &kBoardM4F, &kBoardM7F, &kBoardM33})
        for (int Seed = 1; Seed <= 2; ++Seed) QTest::addRow("%s %d", pBoard->sName, Seed) << pBoard << Seed;
}

void tst_sim_lockstep::RandomInstructions()
{
    QFETCH(const BoardInfo*, pBoard);
    QFETCH(int, Seed);
    int Extra = qEnvironmentVariableIntValue("SIM_RANDOM_SEED"); // other streams than the usual ones
    uint32_t End = 0;
    QByteArray Image = RandomCode(*pBoard, uint32_t(Seed + Extra)).Make(20000, &End);
    LockstepResult Result = RunLockstep(*pBoard, Image, 1000000);
    QVERIFY2(Result.sError.isEmpty(), qPrintable(Result.sError));
    qInfo("%llu instructions without a difference", static_cast<unsigned long long>(Result.NumInstructions));
    int Offset = int(Result.ExceptionPc - pBoard->Rom);
    QVERIFY2(Result.LastPc == End, qPrintable(QString("exception at %1: %2")
                                                  .arg(Result.ExceptionPc, 0, 16)
                                                  .arg(QString(Image.mid(Offset, 4).toHex()))));
    QVERIFY(Result.NumInstructions >= 12000);
}

QTEST_GUILESS_MAIN(tst_sim_lockstep)
#include "tst_sim_lockstep.moc"
