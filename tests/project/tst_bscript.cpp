// The script host: what a project may use, its events, errors and limits, and a new project's text.
#include "projectrig.h"

#include "app/actions/constants.h"
#include "project/settings/appearance.h"
#include "script/host/textfile.h"

#include <QTest>
#include <QTimer>

class tst_bscript : public QObject {
    Q_OBJECT
private slots:
    void SymbolsOfAProject();
    void StringArguments();
    void LoadErrors_data();
    void LoadErrors();
    void RunResults();
    void EventErrorShutsScriptDown();
    void NestedErrorEndsOuterRun();
    void AllErrorsOfARun();
    void NestingLimit();
    void CloseWithinCall();
    void EndlessLoopEnds();
    void TextBehindAZero();
    void ExceptionsAreCaught();
    void ExecCommand_data();
    void ExecCommand();
    void DefinedConstants();
    void NewProjectText();
    void NewProjectTextOfTheCore();
    void ChangeOnDisk();
    void Wrapper();
};

void tst_bscript::SymbolsOfAProject()
{
    CProjectRig Rig;
    // Every command with a prototype, under both of its names, and every name of the tables.
    QCOMPARE(BScript::LoadText("int Zero(void) { return 0; }"), 0);
    QVERIFY2(!Rig.Console.join('\n').contains("Error registering"), qPrintable(Rig.Console.join('\n')));
    int Commands = 0;
    for (int Id = 0; Id < NUM_ACTIONS; ++Id) {
        if (!GetActionRow(Id)->ScriptEntry) {
            continue;
        }
        ++Commands;
        for (const QString& sName : {GetCommandName(Id), GetCommandAlias(Id)}) {
            if (!sName.isEmpty()) {
                QVERIFY2(
                    BScript::LoadText(QString("int F(void) { if (0) { %1(); } return 0; }").arg(sName)) == 0,
                    qPrintable(sName));
            }
        }
    }
    QVERIFY(Commands > 150);
    struct ROW {
        const char* Name;
        I64 Value;
    };
    for (const ROW& Row : {ROW{"RM_BREAK_AT_SYMBOL", 1}, ROW{"RM_BREAK_AT_MAIN", 1}, ROW{"Hardware", 1},
                           ROW{"FREQ_4_MHZ", 4000000}, ROW{"DISABLE_SAVE_ANY", -1}, ROW{"VAR_RESET_MODE", 0},
                           ROW{"PREF_BIN_BLOCK_SEPARATOR", 83}, ROW{"COLOR_TABLE_FILTER_MATCH", 38},
                           ROW{"FONT_EXEC_COUNTERS", 10}, ROW{"YES", 1}}) {
        QCOMPARE(BScript::LoadText(QString("int F(void) { return %1; }").arg(QString(Row.Name))), 0);
        I64 Value = 0;
        QCOMPARE(BScript::RunFunction("F", -1, 0, nullptr, &Value), 0);
        QCOMPARE(Value, Row.Value);
    }
}

void tst_bscript::StringArguments()
{
    CProjectRig Rig;
    QCOMPARE(BScript::LoadText("void F(void) { Util.Log(\"text \\\\ \xC3\xA4\"); Util.Log(12); "
                               "Target.SetReg(\"R0\", 0xFFFFFFFF); "
                               "Break.Set(0x8000100); }"),
             0);
    QCOMPARE(BScript::RunFunction("F", -1, 0, nullptr, nullptr), 0);
    QCOMPARE(Rig.Calls, (QStringList{QString("Util.Log(text \\ %1)").arg(QChar(0xE4)),
                                     "Target.SetReg(R0,4294967295)", "Break.Set(0x08000100)"}));
    QCOMPARE(Rig.Console.filter("Invalid command argument").join('|'),
             QString("Invalid command argument in command \"UtilLog\": 0xc (12)"));
    QVERIFY(!BScript::CheckStringArg(-1, "BAPI::FileOpenGen"));
    QVERIFY(Rig.Console.last().contains("in command \"FileOpen\": 0xffffffffffffffff (-1)"));
    QCOMPARE(BScript::ReadStringArg(12), QString());
}

void tst_bscript::LoadErrors_data()
{
    QTest::addColumn<QByteArray>("Text");
    QTest::addColumn<int>("Result");
    QTest::addColumn<QString>("Error");
    QTest::addColumn<QString>("Statement");
    QTest::newRow("good") << QByteArray("void OnProjectLoad (void) { }") << 0 << ""
                          << "";
    QTest::newRow("empty") << QByteArray("") << -1 << "empty file"
                           << "";
    QTest::newRow("no OnProjectLoad") << QByteArray("void f (void) { }") << 0
                                      << "Required user function missing: void OnProjectLoad (void);"
                                      << "";
    QTest::newRow("global variable") << QByteArray("void OnProjectLoad (void) { }\r\n\r\nint x = 1; int y;")
                                     << -1 << "Expected a '(' at line 3"
                                     << "int x = 1";
    QTest::newRow("unknown word") << QByteArray("foo bar;") << -1 << "syntax error at line 1"
                                  << "foo bar";
    QTest::newRow("body not closed") << QByteArray("void OnProjectLoad (void) {\n") << -1
                                     << "unexpected end of file looking for '}' at line 2"
                                     << "";
    QTest::newRow("comment not closed")
        << QByteArray("/* x") << -1 << "C-comment has not been closed properly at line 1"
        << "/* x";
    QTest::newRow("long statement") << QByteArray("x") + QByteArray(2000, 'y') << -1
                                    << "syntax error at line 1" << QString("x") + QString(511, 'y');
}

void tst_bscript::LoadErrors()
{
    QFETCH(QByteArray, Text);
    QFETCH(int, Result);
    QFETCH(QString, Error);
    QFETCH(QString, Statement);
    CProjectRig Rig;
    QCOMPARE(BScript::Load(Rig.Put("p.bdebug", Text)), Result);
    QCOMPARE(BScript::GetErrorText(), Error);
    QCOMPARE(BScript::GetErrorStatement(), Statement);
    QCOMPARE(BScript::HasError(), !Error.isEmpty());
    QCOMPARE(BScript::IsLoaded(), Result == 0);
    QCOMPARE(BScript::HasEvent(EVENT_ON_PROJECT_LOAD), Error.isEmpty());
    QCOMPARE(BScript::GetProjectDir(), Rig.Dir.path());
    QVERIFY(BScript::Load(Rig.In("missing.bdebug")) < 0);
    QCOMPARE(BScript::GetErrorText(), QString("file not found"));
}

void tst_bscript::RunResults()
{
    CProjectRig Rig;
    const I64 aArgs[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    I64 Value = 0;
    BScript::Close();
    QCOMPARE(BScript::RunFunction("F", -1, 0, nullptr, nullptr), -1);
    QCOMPARE(BScript::GetErrorText(), QString("Script interpreter not allocated"));
    QCOMPARE(BScript::LoadText("int F(int a, int b) { return a - b; } int G(int a) { return a / 0; }\nvoid "
                               "OnProjectLoad(void) { }"),
             0);
    QCOMPARE(BScript::RunFunction("", -1, 0, nullptr, nullptr), -2);
    QCOMPARE(BScript::GetErrorText(), QString("empty function name"));
    QCOMPARE(BScript::RunFunction("None", -1, 0, nullptr, nullptr), -2);
    QCOMPARE(BScript::GetErrorText(), QString("unknown function"));
    QCOMPARE(BScript::RunFunction("F", -1, 8, aArgs, &Value), -6);
    QCOMPARE(BScript::GetErrorText(), QString("maximum amount of parameters 7 exceeded"));
    QCOMPARE(BScript::RunFunction("F", -1, 7, aArgs, &Value), 0);
    QCOMPARE(Value, I64(-1));
    QCOMPARE(BScript::RunEvent(16), -2);
    QCOMPARE(BScript::RunEvent(0), -2);
    QCOMPARE(BScript::RunFunction("G", -1, 1, aArgs, &Value), -4); // with arguments the script goes on
    QCOMPARE(BScript::GetErrorText(), QString("division by zero at line 1"));
    QVERIFY(!BScript::HasError());
    QCOMPARE(BScript::RunFunction("F", -1, 2, aArgs + 2, &Value), 0);
    BScript::RequestClose();
    QCOMPARE(BScript::RunFunction("F", -1, 2, aArgs, &Value), 0); // nothing runs
    QCOMPARE(BScript::GetErrorText(), QString("script is closing"));
    ExecuteCommand("Script.Exec (\"F\", 1)");
    QCOMPARE(Rig.Console.last(), QString("Not executing script function: F. Project is about to close"));
}

void tst_bscript::EventErrorShutsScriptDown()
{
    CProjectRig Rig;
    QCOMPARE(BScript::LoadText("void OnProjectLoad (void) { }\nvoid TargetReset (void) {\n  Bad one;\n}"), 0);
    QVERIFY(BScript::HasEvent(EVENT_TARGET_RESET) && !BScript::HasEvent(EVENT_TARGET_CONNECT) &&
            !BScript::HasEvent(99));
    QCOMPARE(BScript::RunEvent(EVENT_TARGET_RESET), -4);
    QCOMPARE(BScript::GetErrorText(), QString("syntax error at line 3"));
    QCOMPARE(BScript::GetErrorStatement(), QString("  Bad one"));
    QVERIFY(!BScript::HasEvent(EVENT_TARGET_RESET) && !BScript::HasEvent(EVENT_ON_PROJECT_LOAD));
    QCOMPARE(BScript::RunEvent(EVENT_ON_PROJECT_LOAD), -4);
    QCOMPARE(BScript::LoadText("void OnProjectLoad (void) { }"), 0); // until the next load
    QVERIFY(BScript::HasEvent(EVENT_ON_PROJECT_LOAD));
}

// An event that fails within the wait of a call ends the function that waits, too; a call with arguments doesn't.
void tst_bscript::NestedErrorEndsOuterRun()
{
    CProjectRig Rig;
    const QString sScript = "void AfterTargetHalt (void) {\n  Bad;\n}\nint D(int a) { return 1 / a; }\n"
                            "void TargetReset (void) { Util.Log(\"a\"); Util.Log(\"b\"); }";
    QCOMPARE(BScript::LoadText(sScript), 0);
    Rig.OnOther = [](int) { QCOMPARE(BScript::RunEvent(EVENT_AFTER_TARGET_HALT), -4); };
    QCOMPARE(BScript::RunEvent(EVENT_TARGET_RESET), -4);
    QCOMPARE(Rig.Calls, QStringList{"Util.Log(a)"});
    QCOMPARE(BScript::GetErrorText(), QString("syntax error at line 2"));
    QVERIFY(!BScript::HasEvent(EVENT_TARGET_RESET));
    QCOMPARE(BScript::LoadText(sScript), 0);
    Rig.Calls.clear();
    Rig.OnOther = [](int) {
        const I64 Zero = 0;
        QCOMPARE(BScript::RunFunction("D", -1, 1, &Zero, nullptr), -4);
    };
    QCOMPARE(BScript::RunEvent(EVENT_TARGET_RESET), 0);
    QCOMPARE(Rig.Calls, (QStringList{"Util.Log(a)", "Util.Log(b)"}));
    QVERIFY(BScript::HasEvent(EVENT_TARGET_RESET));
}

// A bad argument leaves out its statement alone, so a run can have several errors; every one is told, and once.
void tst_bscript::AllErrorsOfARun()
{
    CProjectRig Rig;
    const auto Told = [&Rig] { return Rig.Console.filter("script interpretation failure").join('|'); };
    const QString sScript = "void TargetReset (void) {\n  int i;\n  i = 0;\n  while (i < 3) {\n    Util.Log (Nothing);\n"
                            "    i += 1;\n  }\n  Util.Log (\"\\q\");\n  Util.Log (\"end\");\n}\n"
                            "int G (int a) {\n  Util.Log (Nothing);\n  return 7 / a;\n}";
    QCOMPARE(BScript::LoadText(sScript), 0);
    QCOMPARE(BScript::ExecScriptFunction(EVENT_TARGET_RESET), 0);
    QCOMPARE(Rig.Calls, QStringList{"Util.Log(end)"});
    const QStringList Errors{"unknown identifier at line 5", "unexpected escape character at line 8"};
    QCOMPARE(BScript::GetErrorTexts(), Errors);
    QVERIFY2(Told().contains(Errors[0]) && Told().contains(Errors[1]) && Told().count('|') == 1, qPrintable(Told()));
    // A refused call leaves them as they are.
    QCOMPARE(BScript::RunEvent(EVENT_TARGET_RESET), -4);
    QCOMPARE(BScript::GetErrorTexts(), Errors);
    // A call with arguments keeps the script usable, but what it went on behind isn't lost either.
    QCOMPARE(BScript::LoadText(sScript), 0);
    Rig.Console.clear();
    ExecuteCommand("Script.Exec (\"G\", 1)");
    QCOMPARE(GetActionResult(ACT_SCRIPT_EXEC), I64(7));
    QVERIFY2(Told().contains("unknown identifier at line 12") && !BScript::HasError(), qPrintable(Told()));
    // The error that ends it is the command's own, and its result none of an earlier call.
    Rig.Console.clear();
    ExecuteCommand("Script.Exec (\"G\", 0)");
    QVERIFY2(Rig.Errors.join('|').contains("division by zero at line 13"), qPrintable(Rig.Errors.join('|')));
    QCOMPARE(GetActionResult(ACT_SCRIPT_EXEC), I64(-1));
    QCOMPARE(Told(), QString());
    QCOMPARE(BScript::GetErrorTexts(), QStringList{"unknown identifier at line 12"});
}

void tst_bscript::NestingLimit()
{
    CProjectRig Rig;
    QList<int> Results;
    int Deepest = 0;
    Rig.OnOther = [&](int) { // as a halt's report does that arrives during a wait
        Deepest = qMax(Deepest, BScript::GetCallDepth());
        Results.prepend(BScript::ExecScriptFunction(EVENT_AFTER_TARGET_HALT));
        QCOMPARE(BScript::GetRunningEvent(), int(EVENT_AFTER_TARGET_HALT));
    };
    QCOMPARE(BScript::LoadText("void AfterTargetHalt (void) { Util.Log(\"x\"); }"), 0);
    QCOMPARE(BScript::RunEvent(EVENT_AFTER_TARGET_HALT), 0);
    QCOMPARE(Deepest, 11);
    QCOMPARE(Results.count(-5), 1); // the twelfth is refused
    QCOMPARE(Rig.Console.filter("maximum call").join('|'), QString("AfterTargetHalt: maximum call level reached"));
    QCOMPARE(Results.count(0), 10);
    QCOMPARE(BScript::GetCallDepth(), 0);
    QCOMPARE(BScript::GetRunningEvent(), -1);
}

void tst_bscript::CloseWithinCall()
{
    CProjectRig Rig;
    Rig.OnOther = [](int) {
        QVERIFY(!BScript::IsAborted());
        QCOMPARE(BScript::LoadText("void TargetReset (void) { Util.Log(\"new\"); }"), 0);
        QVERIFY(BScript::IsAborted()); // a command that waits must return to the old script
    };
    QCOMPARE(
        BScript::LoadText("int Arg(void) { Util.Log(\"a\"); return 1; }\n"
                          "void TargetReset (void) { int a; a = Arg() + Arg(); Util.Log(\"old\"); Bad; }"),
        0);
    BScript::RunEvent(EVENT_TARGET_RESET);
    QCOMPARE(Rig.Calls, QStringList{"Util.Log(a)"}); // the old script ended, without an error of its own
    QVERIFY(!BScript::HasError() && BScript::HasEvent(EVENT_TARGET_RESET) && !BScript::IsAborted());
    Rig.OnOther = {};
    BScript::RunEvent(EVENT_TARGET_RESET);
    QCOMPARE(Rig.Calls.last(), QString("Util.Log(new)"));
}

void tst_bscript::ExceptionsAreCaught()
{
    CProjectRig Rig;
    BScript::Hooks().EvalExpr = [](const QString&, I64*) -> bool { throw 1; };
    QCOMPARE(BScript::LoadText("void TargetReset (void) { Script.DefineConst(\"A\", \"1\"); }"), 0);
    QCOMPARE(BScript::RunEvent(EVENT_TARGET_RESET), -4);
    QCOMPARE(BScript::GetErrorText(), QString("Error in script function void TargetReset (void);"));
    QCOMPARE(BScript::GetErrorLine(), -1);
    QCOMPARE(BScript::GetCallDepth(), 0);
    BScript::Hooks().EvalExpr = {};
}

void tst_bscript::ExecCommand_data()
{
    QTest::addColumn<QString>("Line");
    QTest::addColumn<QString>("Error");
    QTest::addColumn<qint64>("Value");
    const QString Syntax = "\"Script.Exec(<funcname> [,<para1>, <para2>,...])\"";
    QTest::newRow("plain") << "Script.Exec (\"F\", 7, -2)"
                           << "" << qint64(5);
    QTest::newRow("missing arguments are 0") << "Script.Exec (\"F\")"
                                             << "" << qint64(0);
    QTest::newRow("64 bits") << "Script.Exec (\"W\", -9223372036854775808)"
                             << "" << qint64(INT64_MIN);
    QTest::newRow("no name") << "Script.Exec ()"
                             << "Script.Exec: no function name given" << qint64(0);
    QTest::newRow("unknown") << "Script.Exec (\"None\", 1)"
                             << "Script.Exec first parameter not a function name or function unknown. "
                                "Compare with valid command syntax: " +
                                    Syntax
                             << qint64(0);
    QTest::newRow("eight numbers")
        << "Script.Exec (\"F\", 1, 2, 3, 4, 5, 6, 7, 8)"
        << "Script.Exec maximum amount of parameters 7 exceeded. Check for valid command syntax: " + Syntax
        << qint64(0);
    QTest::newRow("fails") << "Script.Exec (\"D\", 1)"
                           << "Script.Exec division by zero at line 1. Check for valid command syntax: " +
                                  Syntax
                           << qint64(0);
    QTest::newRow("hexadecimal is no base 10") << "Script.Exec (\"F\", 0x10)"
                                               << "invalid parameter: 0x10" << qint64(0);
}

void tst_bscript::ExecCommand()
{
    QFETCH(QString, Line);
    QFETCH(QString, Error);
    QFETCH(qint64, Value);
    CProjectRig Rig;
    QCOMPARE(BScript::LoadText("int F(__int64 a, __int64 b) { return a + b; } int W(__int64 a) { return a; } "
                               "int D(int a) { return a / 0; }"),
             0);
    SetActionResult(ACT_SCRIPT_EXEC, 0);
    QCOMPARE(ExecuteCommand(Line), int(EXECUTE_DONE));
    QCOMPARE(Rig.Errors.join('|'), Error.isEmpty() ? QString() : "Script.Exec: " + Error);
    if (Error.isEmpty()) {
        QCOMPARE(GetActionResult(ACT_SCRIPT_EXEC), Value);
        QVERIFY(Rig.Console.last().startsWith("Script function \""));
    }
}

void tst_bscript::DefinedConstants()
{
    CProjectRig Rig;
    BScript::Hooks().EvalExpr = [](const QString& s, I64* pValue) {
        bool Ok = false;
        *pValue = s.toLongLong(&Ok, 0);
        return Ok;
    };
    QCOMPARE(BScript::LoadText("int F(void) { return TST_FIRST; }"), 0);
    I64 Value = 0;
    ExecuteCommand("Script.DefineConst (\"TST_FIRST\", \"0x10\")");
    QCOMPARE(BScript::RunFunction("F", -1, 0, nullptr, &Value), 0); // at once
    QCOMPARE(Value, I64(16));
    ExecuteCommand("Script.DefineConst (\"TST_FIRST\", \"-3\")");
    QCOMPARE(BScript::RunFunction("F", -1, 0, nullptr, &Value), 0);
    QCOMPARE(Value, I64(-3));
    QCOMPARE(BScript::LoadText("int F(void) { return TST_FIRST + 1; }"), 0); // and after a reload
    QCOMPARE(BScript::RunFunction("F", -1, 0, nullptr, &Value), 0);
    QCOMPARE(Value, I64(-2));
    ExecuteCommand("Script.DefineConst (\"TST_SECOND\", \"x y\")");
    ExecuteCommand("Script.DefineConst (\"RM_RESET_HALT\", \"7\")"); // a built-in name stays
    ExecuteCommand("Script.DefineConst (\"TST_THIRD\")");
    QCOMPARE(Rig.Errors,
             (QStringList{"Script.DefineConst: invalid parameter", "Script.DefineConst: invalid parameter",
                          "Script.DefineConst: wrong parameter count"}));
    BScript::Hooks().EvalExpr = {};
}

void tst_bscript::NewProjectText()
{
    CProjectRig Rig;
    const QString s = BScript::GetNewProjectText({"Project.SetDevice (\"A\");", "File.Open (\"x\");"});
    QVERIFY(s.startsWith("/*****"));
    QVERIFY(s.contains("void OnProjectLoad (void) {\n  //\n  // Dialog-generated settings\n  //\n  "
                       "Project.SetDevice (\"A\");\n"
                       "  //\n  // User settings\n  //\n  File.Open (\"x\");\n}\n\n/***"));
    // 14 blocks in id order; the last is AfterTargetHalt.
    qsizetype Pos = 0;
    for (int Id = 1; Id <= 14; ++Id) {
        const QString sHead =
            QString(Id == 1 ? "\nvoid %1 (void) {" : "\n//void %1 (void) {").arg(BScript::GetEventName(Id));
        Pos = s.indexOf(sHead, Pos);
        QVERIFY2(Pos > 0, qPrintable(sHead));
    }
    QCOMPARE(s.count("\n*/\n"), 14);
    QVERIFY(!s.contains("BeforeTargetResume"));
    QCOMPARE(BScript::GetEventName(15), QString("BeforeTargetResume"));
    for (const QString& sLine : s.split('\n')) {
        QVERIFY(!sLine.startsWith('*') || sLine == "*/" || sLine.size() == 70);
    }
    // It runs as it is, and its examples run when the comment signs are taken away.
    QCOMPARE(BScript::LoadText(s), 0);
    QVERIFY(BScript::HasEvent(EVENT_ON_PROJECT_LOAD) && !BScript::HasEvent(EVENT_TARGET_RESET));
    BScript::RunEvent(EVENT_ON_PROJECT_LOAD);
    QCOMPARE(Rig.Calls, QStringList{"File.Open(x)"});
    QString sLive = s;
    sLive.replace("\n//", "\n");
    QCOMPARE(BScript::LoadText(sLive), 0);
    Rig.Calls.clear();
    Rig.OnOther = [](int Id) { SetActionResult(Id, Id == ACT_ELF_GET_BASE_ADDR ? 0x100 : 0x200); };
    QCOMPARE(BScript::RunEvent(EVENT_TARGET_RESET), 0);
    QCOMPARE(Rig.Calls, (QStringList{"Exec.Reset()", "Elf.GetBaseAddr()", "Util.Log(Resetting Program.)",
                                     "Target.ReadU32(0x00000100)", "Target.SetReg(SP,512)",
                                     "Target.ReadU32(0x00000104)", "Target.SetReg(PC,512)"}));
    Rig.Calls.clear();
    QCOMPARE(BScript::RunEvent(EVENT_AFTER_TARGET_DOWNLOAD), 0);
    QCOMPARE(Rig.Calls.size(), 6);
}

/// What the core adds: a whole function is taken as it stands, anything else becomes the function's body.
void tst_bscript::NewProjectTextOfTheCore()
{
    CProjectRig Rig;
    QList<int> Asked;
    BScript::Hooks().GetEventBody = [&](int Id) -> QString {
        Asked += Id;
        if (Id == EVENT_AFTER_TARGET_RESET) return "  Exec.Reset();";
        return Id == EVENT_AFTER_TARGET_DOWNLOAD ? "void AfterTargetDownload (void) {\n}\n" : "";
    };
    const QString s = BScript::GetNewProjectText({});
    BScript::Hooks().GetEventBody = {};
    QCOMPARE(Asked, (QList<int>{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
    QVERIFY(s.contains("\nvoid AfterTargetReset (void) {\n  Exec.Reset();\n}\n\n/***"));
    QVERIFY(s.contains("*/\nvoid AfterTargetDownload (void) {\n}\n\n/***"));
    QVERIFY(s.contains("\n//void TargetReset (void) {\n"));
    QCOMPARE(BScript::LoadText(s), 0); // and it parses
    QVERIFY(BScript::HasEvent(EVENT_AFTER_TARGET_RESET) && !BScript::HasEvent(EVENT_TARGET_RESET));
}

void tst_bscript::ChangeOnDisk()
{
    CProjectRig Rig;
    const QString sPath = Rig.Put("p.bdebug", "void OnProjectLoad (void) { }\n");
    QCOMPARE(BScript::Load(sPath), 0);
    QVERIFY(!BScript::IsFileChanged());
    Rig.Put("p.bdebug",
            "void OnProjectLoad (void) { }\r\n"); // another time stamp and line end, the same text
    QVERIFY(!BScript::IsFileChanged());
    QCOMPARE(BScript::ReloadIfChanged(), 0);
    Rig.Put("p.bdebug", "void OnProjectLoad (void) { }\nvoid TargetReset (void) { }\n");
    QVERIFY(BScript::IsFileChanged());
    QCOMPARE(BScript::ReloadIfChanged(), 1);
    QVERIFY(BScript::HasEvent(EVENT_TARGET_RESET));
    QVERIFY(QFile::remove(sPath));
    QVERIFY(!BScript::IsFileChanged());
    // A mistake is mended in the file: the script is there, but its settings come into force by its function alone.
    QVERIFY(BScript::Load(Rig.Put("q.bdebug", "x\n")) < 0);
    QVERIFY(BScript::HasLoadFailed());
    Rig.Put("q.bdebug", "void OnProjectLoad (void) { }\n");
    QCOMPARE(BScript::ReloadIfChanged(), 1);
    QVERIFY(BScript::HasLoadFailed() && !BScript::HasError());
    QCOMPARE(BScript::RunEvent(EVENT_ON_PROJECT_LOAD), 0);
    QVERIFY(!BScript::HasLoadFailed());
}

void tst_bscript::Wrapper()
{
    CProjectRig Rig;
    bool Closing = true;
    int Shown = 0;
    BScript::Hooks().IsProjectClosing = [&] { return Closing; };
    BScript::Hooks().ShowConsole = [&] { ++Shown; };
    QCOMPARE(
        BScript::LoadText("void OnProjectLoad (void) { Util.Log(\"x\"); }\nvoid TargetReset (void) { Bad; }"),
        0);
    BScript::ExecScriptFunction(EVENT_ON_PROJECT_LOAD);
    QCOMPARE(Rig.Calls, QStringList());
    QCOMPARE(Rig.Console.last(),
             QString("Not executing script function: OnProjectLoad. Project is about to close"));
    Closing = false;
    QCOMPARE(BScript::ExecScriptFunction(EVENT_ON_PROJECT_LOAD), 0);
    QCOMPARE(Rig.Calls.size(), 1);
    QCOMPARE(Shown, 0);
    BScript::ExecScriptFunction(QString("TargetReset"));
    QCOMPARE(Shown, 1);
    QVERIFY(Rig.Console.last().contains("script interpretation failure: syntax error at line 2"));
    BScript::Hooks().IsProjectClosing = {};
    BScript::Hooks().ShowConsole = {};
}

void tst_bscript::EndlessLoopEnds()
{
    CProjectRig Rig;
    QCOMPARE(BScript::LoadText("int One(void) { return 1; }\nvoid Loop(void) { while (1) { } }"), 0);
    int Asked = 0, Ended = 0;
    BScript::Hooks().IsRunCanceled = [&] { return ++Asked == 3; };
    BScript::Hooks().RunEnded = [&] { Ended++; };
    QCOMPARE(BScript::RunFunction("Loop", -1, 0, nullptr, nullptr), 0);
    QCOMPARE(Asked, 3);
    QCOMPARE(Ended, 1);
    I64 Value = 0;
    QCOMPARE(BScript::RunFunction("One", -1, 0, nullptr, &Value), 0); // usable as before
    QCOMPARE(Value, 1);
    BScript::Hooks().IsRunCanceled = {};
    BScript::Hooks().RunEnded = {};
    QTimer::singleShot(0, qApp, [] { BScript::RequestClose(); });
    QCOMPARE(BScript::RunFunction("Loop", -1, 0, nullptr, nullptr), 0);
}

void tst_bscript::TextBehindAZero()
{
    CProjectRig Rig;
    QCOMPARE(BScript::LoadText(QString("int A(void) { return 1; }\n") + QChar(0) + "int B(void) { return 2; }"), -1);
    QVERIFY2(BScript::GetErrorText().startsWith("illegal character in text at line 2"), qPrintable(BScript::GetErrorText()));
    // Read once: as long as the file stays as it is, it isn't tried again.
    QVERIFY(BScript::Load(Rig.Put("p.bdebug", QByteArray("x\0y", 3))) < 0);
    QCOMPARE(BScript::ReloadIfChanged(), 0);
}

QTEST_MAIN(tst_bscript)
#include "tst_bscript.moc"
