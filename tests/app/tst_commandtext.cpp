// Parsing and generating command text, frequency texts and constants.
#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/actions/constants.h"
#include "testdata.h"

#include <QTest>

class tst_commandtext : public QObject {
    Q_OBJECT
private slots:
    void parse_data();
    void parse();
    void format_data();
    void format();
    void formatSrcLoc();
    void roundTrip();
    void frequency_data();
    void frequency();
    void constantTable();
    void constantLookup_data();
    void constantLookup();
    void numbers_data();
    void numbers();
    void definedConstants();
};

void tst_commandtext::parse_data()
{
    QTest::addColumn<QString>("Line");
    QTest::addColumn<int>("Id");
    QTest::addColumn<QStringList>("Params");
    QTest::newRow("no arguments") << "Debug.Connect" << int(ACT_DEBUG_CONNECT) << QStringList{};
    QTest::newRow("empty parentheses") << "Debug.Connect()" << int(ACT_DEBUG_CONNECT) << QStringList{};
    QTest::newRow("void") << "Debug.Connect ( VOID );" << int(ACT_DEBUG_CONNECT) << QStringList{};
    QTest::newRow("case") << "DEBUG.HALT" << int(ACT_DEBUG_HALT) << QStringList{};
    QTest::newRow("lower case") << "debug.halt();" << int(ACT_DEBUG_HALT) << QStringList{};
    QTest::newRow("too many") << "Debug.Connect 1" << int(ACT_DEBUG_CONNECT) << QStringList{"1"};
    QTest::newRow("quoted blank") << "File.Open \"a b.elf\"" << int(ACT_FILE_OPEN) << QStringList{"a b.elf"};
    QTest::newRow("unquoted blank") << "File.Open a b.elf" << int(ACT_FILE_OPEN) << QStringList{"a", "b.elf"};
    QTest::newRow("quoted comma") << "Project.SetDevice (\"A,B\")" << int(ACT_PROJECT_SET_DEVICE)
                                  << QStringList{"A,B"};
    QTest::newRow("parentheses inside")
        << "Watch.Add (\"f(1, 2)\");" << int(ACT_WATCH_ADD) << QStringList{"f(1, 2)"};
    QTest::newRow("xor stays") << "Watch.Add (a^b)" << int(ACT_WATCH_ADD) << QStringList{"a^b"};
    QTest::newRow("empty entries") << "Project.SetHostIF (\"USB\", )" << int(ACT_PROJECT_SET_HOST_IF)
                                   << QStringList{"USB", ""};
    QTest::newRow("empty string") << "Project.SetHostIF (\"USB\", \"\");" << int(ACT_PROJECT_SET_HOST_IF)
                                  << QStringList{"USB", ""};
    QTest::newRow("no closing parenthesis") << "File.Open (\"a\"" << int(ACT_FILE_OPEN) << QStringList{};
    QTest::newRow("blanks around") << "   Break.SetEx   (  0x100 ,  BP_TYPE_HARD )  ; "
                                   << int(ACT_BREAK_SET_EX) << QStringList{"0x100", "BP_TYPE_HARD"};
    QTest::newRow("as in a prototype")
        << "int Break.SetEx (1, 2);" << int(ACT_BREAK_SET_EX) << QStringList{"1", "2"};
    QTest::newRow("old name") << "Edit.Preferences" << int(ACT_TOOLS_PREFERENCES) << QStringList{};
    QTest::newRow("old name, case") << "window.setnumberbase (\"Watched Data\", 16)"
                                    << int(ACT_WINDOW_SET_DISPLAY_FORMAT)
                                    << QStringList{"Watched Data", "16"};
    QTest::newRow("old name is another family") << "Edit.Break" << int(ACT_BREAK_EDIT) << QStringList{};
    QTest::newRow("only one pair of quotes")
        << "Util.Log (\"\"a\"\")" << int(ACT_UTIL_LOG) << QStringList{"\"a\""};
    QTest::newRow("unknown") << "Foo.Bar 1" << -1 << QStringList{"1"};
    QTest::newRow("plain gui action") << "actionWinClear" << -1 << QStringList{};
    QTest::newRow("empty") << "" << -1 << QStringList{};
    QTest::newRow("only parentheses") << "()" << -1 << QStringList{};
}

void tst_commandtext::parse()
{
    QFETCH(QString, Line);
    QFETCH(int, Id);
    QFETCH(QStringList, Params);
    const PARSED_COMMAND c = ParseCommand(Line);
    QCOMPARE(c.Id, Id);
    QCOMPARE(c.Params, Params);
}

void tst_commandtext::format_data()
{
    QTest::addColumn<int>("Id");
    QTest::addColumn<QStringList>("Params");
    QTest::addColumn<QString>("Expected");
    QTest::newRow("string") << int(ACT_FILE_OPEN) << QStringList{"a.elf"} << "File.Open (\"a.elf\");";
    QTest::newRow("none") << int(ACT_DEBUG_HALT) << QStringList{} << "Debug.Halt();";
    QTest::newRow("quotes are removed")
        << int(ACT_FILE_OPEN) << QStringList{"\"a\"b\""} << "File.Open (\"ab\");";
    QTest::newRow("constant") << int(ACT_DEBUG_SET_RESET_MODE) << QStringList{"rm_reset_halt"}
                              << "Debug.SetResetMode (RM_RESET_HALT);";
    QTest::newRow("display name") << int(ACT_DEBUG_SET_RESET_MODE) << QStringList{"Reset & Run"}
                                  << "Debug.SetResetMode (RM_RESET_AND_RUN);";
    QTest::newRow("older constant") << int(ACT_DEBUG_SET_RESET_MODE) << QStringList{"RM_BREAK_AT_MAIN"}
                                    << "Debug.SetResetMode (RM_BREAK_AT_SYMBOL);";
    QTest::newRow("number stays") << int(ACT_BREAK_SET) << QStringList{"0x08000100"}
                                  << "Break.Set (0x08000100);";
    QTest::newRow("frequency") << int(ACT_EDIT_REFRESH_RATE) << QStringList{"x", "2,5 kHz"}
                               << "Edit.RefreshRate (\"x\", 2500);";
    QTest::newRow("negative stays") << int(ACT_PROJECT_RELOCATE_SYMBOLS) << QStringList{"*", "-256"}
                                    << "Project.RelocateSymbols (\"*\", -256);";
    QTest::newRow("anything stays") << int(ACT_BREAK_SET) << QStringList{"main"} << "Break.Set (main);";
    QTest::newRow("unsigned char* is a string")
        << int(ACT_BREAK_SET_ON_SYMBOL) << QStringList{"x", "AT_WRITE_ONLY", "AW_WORD", "0", "0"}
        << "Break.SetOnSymbol (\"x\", AT_WRITE_ONLY, AW_WORD, 0, 0);";
    QTest::newRow("more than declared")
        << int(ACT_SCRIPT_EXEC) << QStringList{"f", "7", "-1"} << "Script.Exec (\"f\", 7, -1);";
    QTest::newRow("plain gui action") << int(ACT_WIN_CLEAR) << QStringList{"x"} << "";
    QTest::newRow("no such row") << NUM_ACTIONS << QStringList{} << "";
}

void tst_commandtext::format()
{
    QFETCH(int, Id);
    QFETCH(QStringList, Params);
    QFETCH(QString, Expected);
    QCOMPARE(FormatCommand(Id, Params), Expected);
}

void tst_commandtext::formatSrcLoc()
{
    ACTION_HOOKS Hooks;
    Hooks.GetSrcLocText = [](const QString& s) {
        return s.startsWith("main.c") ? QString("main.c:20:1") : QString();
    };
    SetActionHooks(Hooks);
    QCOMPARE(FormatCommand(ACT_BREAK_SET_ON_SRC, {"main.c: 20"}), "Break.SetOnSrc (\"main.c:20:1\");");
    QCOMPARE(FormatCommand(ACT_BREAK_SET_ON_SRC, {"main"}), "Break.SetOnSrc (\"main\");");
    QCOMPARE(FormatCommand(ACT_FILE_OPEN, {"C:/x.elf"}), "File.Open (\"C:/x.elf\");");
    SetActionHooks({});
}

/// What is echoed can be typed again: for every command with made-up arguments.
void tst_commandtext::roundTrip()
{
    for (int i = 0; i < NUM_ACTIONS; i++) {
        if (GetCommandName(i).isEmpty()) continue;
        QStringList Params;
        for (int k = 0; k < GetParamCount(i); k++) Params.append(IsStringParam(i, k) ? "a, (b) c" : "0x1234");
        const QString sLine = FormatCommand(i, Params);
        const PARSED_COMMAND c = ParseCommand(sLine);
        QCOMPARE(c.Id, i);
        QCOMPARE(c.Params, Params);
        QCOMPARE(FormatCommand(c.Id, c.Params), sLine);
    }
}

void tst_commandtext::frequency_data()
{
    QTest::addColumn<QString>("Text");
    QTest::addColumn<qint64>("Hz");
    QTest::newRow("auto") << "AUTO" << qint64(0);
    QTest::newRow("adaptive") << "Adaptive" << qint64(65535);
    QTest::newRow("plain") << "4000" << qint64(4000);
    QTest::newRow("Hz") << "50 Hz" << qint64(50);
    QTest::newRow("kHz") << "4 khz" << qint64(4000);
    QTest::newRow("MHz without blank") << "12MHz" << qint64(12000000);
    QTest::newRow("GHz") << "1 GHz" << qint64(1000000000);
    QTest::newRow("beyond 32 bits") << "5 GHz" << qint64(5000000000);
    QTest::newRow("fraction") << "4.1 MHz" << qint64(4100000);
    QTest::newRow("comma") << "1,5 MHz" << qint64(1500000);
    QTest::newRow("quoted") << "\"2000 kHz\"" << qint64(2000000);
    QTest::newRow("word") << "fast" << qint64(-1);
    QTest::newRow("unit alone") << "MHz" << qint64(-1);
    QTest::newRow("empty") << "" << qint64(-1);
    QTest::newRow("negative") << "-5" << qint64(-1);
    QTest::newRow("infinite") << "inf" << qint64(-1);
}

void tst_commandtext::frequency()
{
    QFETCH(QString, Text);
    QFETCH(qint64, Hz);
    QCOMPARE(ParseFrequency(Text), Hz);
}

void tst_commandtext::constantTable()
{
    const auto Rows = ReadTable("constants.tsv");
    QCOMPARE(Rows.size(), NUM_CONSTANTS);
    QCOMPARE(GetConstants().size(), NUM_CONSTANTS);
    for (int i = 0; i < NUM_CONSTANTS; i++) {
        const CONSTANT_ROW& r = GetConstantRow(i);
        QCOMPARE((QStringList{r.Name, QString::number(r.Value), r.DisplayName}), Rows[i].mid(1));
    }
}

void tst_commandtext::constantLookup_data()
{
    QTest::addColumn<QString>("Name");
    QTest::addColumn<QString>("Canonical");
    QTest::addColumn<qint64>("Value");
    QTest::newRow("any case") << "aw_half_word"
                              << "AW_HALF_WORD" << qint64(2);
    QTest::newRow("older name") << "RM_BREAK_AT_MAIN"
                                << "RM_BREAK_AT_SYMBOL" << qint64(1);
    QTest::newRow("older name, case") << "aw_auto"
                                      << "AW_ANY" << qint64(0);
    QTest::newRow("display name") << "trace pins"
                                  << "TRACE_SOURCE_ETM" << qint64(1);
    QTest::newRow("quoted") << "\"SWD\""
                            << "SWD" << qint64(1);
    QTest::newRow("name before display name") << "Off"
                                              << "OFF" << qint64(0);
    QTest::newRow("hexadecimal truth") << "0X1"
                                       << "0x1" << qint64(1);
    QTest::newRow("all bits") << "DISABLE_SAVE_ANY"
                              << "DISABLE_SAVE_ANY" << qint64(4294967295);
    QTest::newRow("unknown") << "RM_"
                             << "" << qint64(0);
    QTest::newRow("empty") << "\"\""
                           << "" << qint64(0);
}

void tst_commandtext::constantLookup()
{
    QFETCH(QString, Name);
    QFETCH(QString, Canonical);
    QFETCH(qint64, Value);
    I64 Found = 0;
    QCOMPARE(GetConstantValue(Name, &Found), !Canonical.isEmpty());
    QCOMPARE(Found, Value);
    QCOMPARE(GetCanonicalConstantName(Name), Canonical);
}

void tst_commandtext::numbers_data()
{
    QTest::addColumn<QString>("Text");
    QTest::addColumn<bool>("Ok");
    QTest::addColumn<qint64>("Value");
    QTest::newRow("constant") << "BP_TYPE_FLASH" << true << qint64(3);
    QTest::newRow("decimal") << "12" << true << qint64(12);
    QTest::newRow("hexadecimal") << "0xFFFFFFFF" << true << qint64(4294967295);
    QTest::newRow("octal") << "010" << true << qint64(8);
    QTest::newRow("negative") << " -3 " << true << qint64(-3);
    QTest::newRow("64 bits") << "0xFFFFFFFFFFFFFFFF" << true << qint64(-1);
    QTest::newRow("hexadecimal digits alone") << "FF" << false << qint64(0);
    QTest::newRow("word") << "main" << false << qint64(0);
}

void tst_commandtext::numbers()
{
    QFETCH(QString, Text);
    QFETCH(bool, Ok);
    QFETCH(qint64, Value);
    I64 Found = 0;
    QCOMPARE(ParseNumberOrConstant(Text, &Found), Ok);
    if (Ok) QCOMPARE(Found, Value);
}

void tst_commandtext::definedConstants()
{
    QVERIFY(DefineConstant("MY_ADDR", 0x20000000));
    QVERIFY(DefineConstant("MY_ADDR", 0x30000000));
    QVERIFY(!DefineConstant("SWD", 5));
    QVERIFY(!DefineConstant("", 5));
    I64 Value = 0;
    QVERIFY(GetConstantValue("my_addr", &Value));
    QCOMPARE(Value, I64(0x30000000));
    QCOMPARE(GetConstants().size(), NUM_CONSTANTS + 1);
    QCOMPARE(FormatCommand(ACT_BREAK_SET, {"my_addr"}), "Break.Set (MY_ADDR);");
    const CONSTANT* p = FindConstantByValue("CM_", 1);
    QVERIFY(p);
    QCOMPARE(p->Name, "CM_ATTACH");
    QVERIFY(!FindConstantByValue("CM_", 9));
}

QTEST_GUILESS_MAIN(tst_commandtext)
#include "tst_commandtext.moc"
