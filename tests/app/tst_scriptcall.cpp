// The script entry of commands: argument checks, conversions and what a call waits for.
#include "app/actions/actions.h"
#include "app/actions/scriptwait.h"
#include "app/services/mainthread.h"
#include "testdata.h"

#include <QAction>
#include <QTest>
#include <QWidget>

class tst_scriptcall : public QObject {
    Q_OBJECT
private slots:
    void init();
    void conversions_data();
    void conversions();
    void badString();
    void noHeap();
    void result();
    void waitTable();
    void waits_data();
    void waits();

private:
    int Call(int Id, const QList<I64>& Args, I64 Result = 0, bool Fail = false);

    QStringList m_Params;
    QStringList m_Waits; // "type/flag"
    QStringList m_Refused;
};

static const char HEAP[] = "a.elf\0main.c:10\0";

void tst_scriptcall::init()
{
    SetMainThread();
    m_Params.clear();
    m_Waits.clear();
    m_Refused.clear();
    ACTION_HOOKS Hooks;
    Hooks.CheckStringArg = [this](I64 Value, const QString& sName) {
        const auto* p = reinterpret_cast<const char*>(Value);
        if (p >= HEAP && p < HEAP + sizeof(HEAP)) return true;
        m_Refused.append(sName);
        return false;
    };
    Hooks.ReadStringArg = [](I64 Value) { return QString::fromUtf8(reinterpret_cast<const char*>(Value)); };
    Hooks.WaitJob = [this](int Type, int Flag) { m_Waits.append(QString("%1/%2").arg(Type).arg(Flag)); };
    Hooks.GetNumAddrsOfLocation = [](const QString& s) { return s == "main.c:10" ? 3 : 1; };
    SetActionHooks(Hooks);
}

int tst_scriptcall::Call(int Id, const QList<I64>& Args, I64 Result, bool Fail)
{
    QWidget Window;
    auto* pAction = new QAction(&Window);
    pAction->setObjectName(GetActionRow(Id)->ObjectName);
    connect(pAction, &QAction::triggered, &Window, [&] {
        m_Params = GetActionParams(Id);
        if (Fail)
            SetActionError(Id, ERR_NOT_CONNECTED);
        else
            SetActionResult(Id, Result);
        ClearAction(Id);
    });
    LinkActions(&Window);
    return GetActionRow(Id)->ScriptEntry(Id, Args.data(), int(Args.size()));
}

void tst_scriptcall::conversions_data()
{
    const auto sFile = reinterpret_cast<I64>(HEAP);
    QTest::addColumn<int>("Id");
    QTest::addColumn<QList<I64>>("Args");
    QTest::addColumn<QStringList>("Params");
    QTest::newRow("string and address")
        << int(ACT_FILE_LOAD) << QList<I64>{sFile, 0x20} << QStringList{"a.elf", "0x00000020"};
    QTest::newRow("address of a negative int")
        << int(ACT_BREAK_SET) << QList<I64>{-2} << QStringList{"0xFFFFFFFE"};
    QTest::newRow("named Address") << int(ACT_VIEW_MEMORY) << QList<I64>{0x80000000}
                                   << QStringList{"0x80000000"};
    QTest::newRow("masks") << int(ACT_BREAK_SET_ON_DATA) << QList<I64>{16, 3, 1, 4, 0, -1}
                                        << QStringList{"0x00000010", "0x00000003", "1", "4", "0x00000000", "0xFFFFFFFF"};
    QTest::newRow("size") << int(ACT_TARGET_FILL_MEMORY) << QList<I64>{0x20000000, 0x100, 0xFF}
                          << QStringList{"0x20000000", "256", "255"};
    QTest::newRow("signed int") << int(ACT_PROJECT_RELOCATE_SYMBOLS) << QList<I64>{sFile, 0xFFFFFF00}
                                << QStringList{"a.elf", "-256"};
    QTest::newRow("signed 64 bits") << int(ACT_EDIT_SYS_VAR) << QList<I64>{4, -(I64(1) << 40)}
                                    << QStringList{"4", "-1099511627776"};
    QTest::newRow("beyond the type") << int(ACT_TARGET_WRITE_U8) << QList<I64>{0, 0x1FF}
                                     << QStringList{"0x00000000", "511"};
    QTest::newRow("64 bit value") << int(ACT_TARGET_WRITE_U64) << QList<I64>{8, 0x123456789A}
                                  << QStringList{"0x00000008", "78187493530"};
    QTest::newRow("none") << int(ACT_DEBUG_HALT) << QList<I64>{} << QStringList{};
}

void tst_scriptcall::conversions()
{
    QFETCH(int, Id);
    QFETCH(QList<I64>, Args);
    QFETCH(QStringList, Params);
    QCOMPARE(Call(Id, Args), 0);
    QCOMPARE(m_Params, Params);
}

void tst_scriptcall::badString()
{
    m_Params = {"untouched"};
    QCOMPARE(Call(ACT_FILE_OPEN, {0x1234}), -1);
    QCOMPARE(m_Refused, QStringList{"FileOpen"});
    QCOMPARE(m_Params, QStringList{"untouched"});
    QVERIFY(m_Waits.isEmpty());
}

void tst_scriptcall::noHeap()
{
    SetActionHooks({});
    QCOMPARE(Call(ACT_FILE_OPEN, {reinterpret_cast<I64>(HEAP)}), -1);
    QVERIFY(m_Params.isEmpty());
}

void tst_scriptcall::result()
{
    QCOMPARE(Call(ACT_TARGET_READ_U16, {0}, 0xBEEF), 0xBEEF);
    QCOMPARE(Call(ACT_DEBUG_HALT, {}, 0, true), 0);
    QVERIFY(m_Waits.isEmpty()); // a failed command has started nothing
    QCOMPARE(Call(ACT_TARGET_READ_U16, {0}, 0, true), 0xBEEF); // and gives the row's last result
    const I64 None = 0;
    QCOMPARE(BAPI(NUM_ACTIONS, &None, 0), -1);
}

/// The commands and their jobs, in order, against the listing; conditions are tested by waits().
void tst_scriptcall::waitTable()
{
    static const QHash<QString, int> Jobs = {{"BT_CONNECT", 1},
                                             {"BT_DISCONNECT", 2},
                                             {"BT_RESET", 3},
                                             {"BT_HALT", 4},
                                             {"BT_CONTINUE", 5},
                                             {"BT_STEP_INST", 6},
                                             {"BT_STEP_INTO", 7},
                                             {"BT_STEP_OVER", 8},
                                             {"BT_STEP_OUT", 9},
                                             {"BT_RUN_TO", 11},
                                             {"BT_EXEC_BRYLLO_CMD", 12},
                                             {"BT_SET_BP", 13},
                                             {"BT_SET_BPS", 14},
                                             {"BT_CLEAR_BP", 15},
                                             {"BT_CLEAR_BPS", 16},
                                             {"BT_CLEAR_ALL_BPS", 17},
                                             {"BT_SET_WPS", 19},
                                             {"BT_CLEAR_WPS", 20},
                                             {"BT_CLEAR_ALL_WPS", 21},
                                             {"BT_SET_TPS", 22},
                                             {"BT_CLEAR_TPS", 23},
                                             {"BT_CLEAR_ALL_TPS", 24},
                                             {"BT_WRITE_REG", 26},
                                             {"BT_WRITE_CP_REG", 28},
                                             {"BT_END_DOWNLOAD", 30},
                                             {"BT_READ_MEM", 31},
                                             {"BT_WRITE_MEM", 32},
                                             {"BT_START_SWO_TRACE", 44},
                                             {"BT_START_MEMLANE", 48},
                                             {"BT_STOP_MEMLANE", 49},
                                             {"BT_CONFIGURE", 60},
                                             {"BT_SET_CONFIG_PARAM", 61}};
    QHash<int, QList<int>> Expected;
    for (const QStringList& r : ReadTable("waits.tsv")) {
        QList<int> Types;
        for (const QString& sJob : r[1].split(' ')) {
            QVERIFY2(Jobs.contains(sJob), qPrintable(sJob));
            Types.append(Jobs[sJob]);
        }
        for (const QString& sCommand : r[0].split(' ')) {
            QVERIFY2(FindCommand(sCommand) >= 0, qPrintable(sCommand));
            Expected[FindCommand(sCommand)] = Types;
        }
    }
    QHash<int, QList<int>> Found;
    for (int i = 0; i < GetNumScriptWaits(); i++)
        Found[GetScriptWait(i).ActionId].append(GetScriptWait(i).JobType);
    QCOMPARE(Found, Expected);
}

void tst_scriptcall::waits_data()
{
    const auto sMany = reinterpret_cast<I64>(HEAP + 6);
    const auto sOne = reinterpret_cast<I64>(HEAP);
    QTest::addColumn<int>("Id");
    QTest::addColumn<QList<I64>>("Args");
    QTest::addColumn<int>("Result");
    QTest::addColumn<QString>("Waits");
    QTest::newRow("two in order") << int(ACT_DEBUG_STEP_OVER) << QList<I64>{} << 0 << "8/0|6/0";
    QTest::newRow("flag") << int(ACT_EXEC_CONNECT) << QList<I64>{} << 0 << "1/1";
    QTest::newRow("flag of a variable") << int(ACT_EDIT_SYS_VAR) << QList<I64>{9, 4} << 0 << "61/1";
    QTest::newRow("none") << int(ACT_DEBUG_CONNECT) << QList<I64>{} << 0 << "";
    QTest::newRow("memlane on") << int(ACT_PROJECT_SET_MEMLANE) << QList<I64>{1} << 0 << "48/0";
    QTest::newRow("memlane off") << int(ACT_PROJECT_SET_MEMLANE) << QList<I64>{0} << 0 << "49/0";
    QTest::newRow("one address") << int(ACT_BREAK_SET_ON_SRC_EX) << QList<I64>{sOne, 1} << 0 << "13/0";
    QTest::newRow("several addresses") << int(ACT_BREAK_SET_TYPE) << QList<I64>{sMany, 1} << 0 << "14/0";
    for (const auto& r : {qMakePair(0, "20/0"), qMakePair(1, "19/0"), qMakePair(2, ""), qMakePair(3, "19/0")})
        QTest::addRow("data breakpoint, result %d", r.first)
            << int(ACT_BREAK_SET_ON_DATA) << QList<I64>{1, 0, 0, 0, 0, 0} << r.first << r.second;
}

void tst_scriptcall::waits()
{
    QFETCH(int, Id);
    QFETCH(QList<I64>, Args);
    QFETCH(int, Result);
    QFETCH(QString, Waits);
    QCOMPARE(Call(Id, Args, Result), Result);
    QCOMPARE(m_Waits.join('|'), Waits);
}

QTEST_MAIN(tst_scriptcall)
#include "tst_scriptcall.moc"
