// What stands behind the console window: the ring and the history.
#include "app/console/commandhistory.h"
#include "app/console/consolering.h"

#include <QTest>
#include <thread>
#include <vector>

class tst_consolering : public QObject {
    Q_OBJECT
private slots:
    void ring();
    void ringManyWriters();
    void history();
};

void tst_consolering::ring()
{
    CConsoleRing Ring;
    CONSOLE_LOOK Look;
    CONSOLE_MESSAGE m;
    QVERIFY(Ring.IsEmpty());
    QVERIFY(!Ring.Read(&m));
    for (int i = 0; i < CONSOLE_RING_SLOTS; i++) QVERIFY(Ring.Write(QString::number(i), Look, i));
    QVERIFY(!Ring.Write("dropped", Look, 0));
    QVERIFY(Ring.Read(&m));
    QCOMPARE(m.Text, "0");
    Look.Fixed = true;
    Look.ColorID = 3;
    QVERIFY(Ring.Write(QString(1500, 'x') + '\n', Look, -1));
    for (int i = 1; i < CONSOLE_RING_SLOTS; i++) {
        QVERIFY(Ring.Read(&m));
        QCOMPARE(m.Text, QString::number(i));
        QCOMPARE(m.Time_us, I64(i));
    }
    QVERIFY(Ring.Read(&m));
    QCOMPARE(m.Text.size(), qsizetype(CONSOLE_MAX_CHARS));
    QCOMPARE(m.NumLines, 1); // counted in what was kept
    QVERIFY(m.Look.Fixed);
    QCOMPARE(m.Look.ColorID, 3);
    QVERIFY(!Ring.Read(&m));
    Ring.Write("a\n\nb", Look, 0);
    QVERIFY(Ring.Read(&m));
    QCOMPARE(m.NumLines, 3);
    Ring.Write("a", Look, 0);
    Ring.Clear();
    QVERIFY(Ring.IsEmpty());
}

/// Nothing is lost unless Write said so, nothing comes twice, each writer's messages keep their order.
void tst_consolering::ringManyWriters()
{
    constexpr int NUM_WRITERS = 4;
    constexpr int NUM_MESSAGES = 5000;
    CConsoleRing Ring;
    std::atomic<int> NumRunning{NUM_WRITERS};
    std::atomic<int> NumDropped{0};
    std::vector<std::thread> Writers;
    for (int t = 0; t < NUM_WRITERS; t++) {
        Writers.emplace_back([&, t] {
            const QString sText = QString(10 + t, QChar('a' + t));
            for (int i = 0; i < NUM_MESSAGES; i++)
                if (!Ring.Write(sText, {}, I64(t) * NUM_MESSAGES + i)) NumDropped++;
            NumRunning--;
        });
    }
    I64 aLast[NUM_WRITERS] = {-1, -1, -1, -1};
    int NumRead = 0;
    bool Ok = true;
    CONSOLE_MESSAGE m;
    for (;;) {
        const bool IsLastRound = NumRunning == 0;
        while (Ring.Read(&m)) {
            const int t = int(m.Time_us / NUM_MESSAGES);
            const I64 i = m.Time_us % NUM_MESSAGES;
            Ok = Ok && t >= 0 && t < NUM_WRITERS && i > aLast[t] && m.Text == QString(10 + t, QChar('a' + t));
            aLast[t] = i;
            NumRead++;
        }
        if (IsLastRound) break;
    }
    for (std::thread& t : Writers) t.join();
    QVERIFY(Ok);
    QCOMPARE(NumRead + NumDropped, NUM_WRITERS * NUM_MESSAGES);
}

void tst_consolering::history()
{
    CCommandHistory h;
    QVERIFY(h.GoOlder().isNull());
    QVERIFY(h.GoNewer().isNull());
    for (const char* s : {"a", "b", "c", "b", ""}) h.Add(s);
    QCOMPARE(h.GetLines(), (QStringList{"c", "b", "a"}));
    QString s;
    for (int i = 0; i < 4; i++) s += h.GoOlder();
    QCOMPARE(s, "cbac"); // back to the newest
    QCOMPARE(h.GoNewer(), "a");
    QCOMPARE(h.GoNewer(), "b");
    h.Add("A"); // other case is another line, and the place starts anew
    QCOMPARE(h.GoOlder(), "A");
}

QTEST_GUILESS_MAIN(tst_consolering)
#include "tst_consolering.moc"
