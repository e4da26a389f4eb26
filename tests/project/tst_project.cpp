// The project file: opening, editing in place, the effects of its commands, warnings, saving.
#include "projectrig.h"

#include "app/actions/commandtext.h"
#include "project/file/projecttext.h"

#include <QSignalSpy>
#include <QTest>

namespace {
const char* const PROJECT = "// head: kept { as } it is\r\n"
                            "void OnProjectLoad (void) {\r\n"
                            "  //\r\n"
                            "  // Dialog-generated settings\r\n"
                            "  //\r\n"
                            "  Project.SetDevice (\"OLD\");\r\n"
                            "\tProject.SetTIFSpeed (\"4 MHz\");   // fast\r\n"
                            "  //\r\n"
                            "  // User settings\r\n"
                            "  //\r\n"
                            "  File.Open (\"$(ProjectDir)/a.elf\");\r\n"
                            "}\r\n"
                            "\r\n"
                            "/* my own */\r\n"
                            "void   AfterTargetConnect (void)\t{\r\n"
                            "\tUtil.Log(\"{kept}\");\r\n"
                            "}\r\n";

QString Text(const QByteArray& Bytes)
{
    return QString::fromUtf8(Bytes).replace("\r\n", "\n");
}
} // namespace

class tst_project : public QObject {
    Q_OBJECT
private slots:
    void Bounds_data();
    void Bounds();
    void Edit_data();
    void Edit();
    void EditOfNewProject();
    void WriteKeepsTheRest();
    void WriteFailures();
    void WriteVariables();
    void WriteSystemSettings();
    void OpenRunsCommands();
    void OpenWithinScript();
    void OpenOfMissingFile();
    void Commands_data();
    void Commands();
    void EditCommands_data();
    void EditCommands();
    void Speed_data();
    void Speed();
    void Duplicates();
    void WarningsAreToldOnce();
    void SaveNewProject_data();
    void SaveNewProject();
    void SaveKeepsUserText();
    void CommandLine();
    void CloseForgets();
};

void tst_project::Bounds_data()
{
    QTest::addColumn<QString>("Source");
    QTest::addColumn<QString>("Body"); ///< "none" if there is none
    QTest::newRow("plain") << "void OnProjectLoad (void) {\n  a;\n}\n"
                           << "  a;\n";
    QTest::newRow("name in a comment first") << "/* OnProjectLoad */\nvoid OnProjectLoad (void)\n{\n  a;\n}\n"
                                             << "  a;\n";
    QTest::newRow("nested braces") << "OnProjectLoad {\n if (1) { x; }\n}\n}"
                                   << " if (1) { x; }\n";
    QTest::newRow("a brace in a comment moves the end") << "OnProjectLoad {\n // }\n x;\n}\n"
                                                        << " // ";
    QTest::newRow("text behind the brace isn't in the body") << "OnProjectLoad { a;\n b;\n}"
                                                             << " b;\n";
    QTest::newRow("one line") << "OnProjectLoad { a; }\n"
                              << "none";
    QTest::newRow("not closed") << "OnProjectLoad {\n a;\n"
                                << "none";
    QTest::newRow("other name") << "void onprojectload (void) {\n}\n"
                                << "none";
    QTest::newRow("empty") << ""
                           << "none";
}

void tst_project::Bounds()
{
    QFETCH(QString, Source);
    QFETCH(QString, Body);
    int Begin = -1;
    int End = -1;
    const bool Found = CProject::GetFunctionBounds(Source, &Begin, &End);
    QCOMPARE(Found ? Source.mid(Begin, End - Begin) : QString("none"), Body);
}

void tst_project::Edit_data()
{
    QTest::addColumn<QString>("Before");
    QTest::addColumn<QStringList>("Commands");
    QTest::addColumn<QStringList>("Names");
    QTest::addColumn<bool>("Merge");
    QTest::addColumn<QString>("After");
    QTest::addColumn<int>("Warnings");
    const QString Head = "void OnProjectLoad (void) {\n";
    const QString Dialog = "  //\n  // Dialog-generated settings\n  //\n";
    const QString User = "  //\n  // User settings\n  //\n";
    const QString Foot = "}\nvoid f(void) { Project.SetDevice(\"x\"); }\n";
    const QString Device = "Project.SetDevice (\"NEW\");";
    const QString Util = "Util.Log (\"hi\");";
    QTest::newRow("replace a dialog line")
        << Head + Dialog + "  Project.SetDevice (\"OLD\");\n  Other();\n" + User + Foot << QStringList{Device}
        << QStringList{"Project.SetDevice"} << true
        << Head + Dialog + "  " + Device + "\n  Other();\n" + User + Foot << 0;
    QTest::newRow("behind the old lines")
        << Head + Dialog + "  Other();\n" + User + Foot << QStringList{Device} << QStringList{} << false
        << Head + Dialog + "  Other();\n  " + Device + "\n" + User + Foot << 0;
    QTest::newRow("user line goes to the user section")
        << Head + Dialog + User + "\tMine();\n" + Foot << QStringList{Util, Device} << QStringList{} << true
        << Head + Dialog + "  " + Device + "\n" + User + "  " + Util + "\n  Mine();\n" + Foot << 0;
    QTest::newRow("empty lines stay")
        << Head + Dialog + "  a;\n\n  b;\n" + User + Foot << QStringList{Device} << QStringList{} << true
        << Head + Dialog + "  " + Device + "\n  a;\n\n  b;\n" + User + Foot << 0;
    QTest::newRow("a commented line is removed like a live one")
        << Head + Dialog + "// Project.SetDevice (\"x\");\n" + User + Foot << QStringList{Device}
        << QStringList{"Project.SetDevice"} << true << Head + Dialog + "  " + Device + "\n" + User + Foot
        << 0;
    QTest::newRow("only removed; the section's form stays")
        << Head + Dialog + "\ta;\n  Project.SetDevice(1);\n" + User + "\tb;\n" + Foot << QStringList{}
        << QStringList{"Project.SetDevice"} << true << Head + Dialog + "\ta;\n" + User + "\tb;\n" + Foot << 0;
    QTest::newRow("no user marker") << Head + Dialog + "  a;\n" + Foot << QStringList{Util, Device}
                                    << QStringList{} << true
                                    << Head + "  " + Util + "\n" + Dialog + "  " + Device + "\n  a;\n" + Foot
                                    << 1;
    QTest::newRow("no markers") << Head + "\ta;\n" + Foot << QStringList{Device} << QStringList{} << true
                                << Head + "  " + Device + "\n  a;\n" + Foot << 1;
    QTest::newRow("user marker before the dialog marker")
        << Head + User + "  u;\n" + Dialog + "  a;\n" + Foot << QStringList{Device} << QStringList{} << true
        << Head + User + "  u;\n" + Dialog + "  " + Device + "\n  a;\n" + Foot << 0;
    QTest::newRow("a command over several lines goes as one")
        << Head + Dialog + "  Project.SetDevice ( // which\n    \"a)\" /* (\n */\n  );\n  Other(1,\n    2);\n" + User + Foot
        << QStringList{Device} << QStringList{"Project.SetDevice"} << true
        << Head + Dialog + "  " + Device + "\n  Other(1,\n  2);\n" + User + Foot << 0;
    QTest::newRow("a variable on a line behind its command")
        << Head + Dialog + "  Edit.SysVar (\n    VAR_VERIFY_DOWNLOAD, 0);\n  Other(1;\n  a;\n" + User + Foot << QStringList{}
        << QStringList{GetVarCommandName(VAR_VERIFY_DOWNLOAD)} << true
        << Head + Dialog + "  Other(1;\n  a;\n" + User + Foot << 0;
    QTest::newRow("a comment over several lines opens no command")
        << Head + Dialog + "  /* (see\n  below */\n  Project.SetDevice(1);\n  a;\n" + User + Foot << QStringList{}
        << QStringList{"Project.SetDevice"} << true << Head + Dialog + "  /* (see\n  below */\n  a;\n" + User + Foot << 0;
    QTest::newRow("an old name goes with the new one")
        << Head + Dialog + "  Project.SetTIFScanChain (1, 4);\n" + User + Foot
        << QStringList{"Project.SetJTAGConfig (0, 4);"} << QStringList{"Project.SetJTAGConfig"} << true
        << Head + Dialog + "  Project.SetJTAGConfig (0, 4);\n" + User + Foot << 0;
    QTest::newRow("brace behind the last line")
        << Head + User + "  u; }\n"
        << QStringList{Util} << QStringList{} << false << Head + User + "  u;\n  " + Util + "\n}\n"
        << 0;
    QTest::newRow("no body") << QString("void f(void) {\n}\n") << QStringList{Device} << QStringList{} << true
                             << QString("void f(void) {\n}\n") << -1;
    QTest::newRow("one variable of many")
        << Head + Dialog + "  Edit.SysVar (VAR_VERIFY_DOWNLOAD, 0);\n  Edit.SysVar (VAR_ACCESS_WIDTH, 1);\n" +
               User + Foot
        << QStringList{} << QStringList{GetVarCommandName(VAR_VERIFY_DOWNLOAD)} << true
        << Head + Dialog + "  Edit.SysVar (VAR_ACCESS_WIDTH, 1);\n" + User + Foot << 0;
}

void tst_project::Edit()
{
    QFETCH(QString, Before);
    QFETCH(QStringList, Commands);
    QFETCH(QStringList, Names);
    QFETCH(bool, Merge);
    QFETCH(QString, After);
    QFETCH(int, Warnings);
    QString sText = Before;
    QStringList Told;
    QCOMPARE(EditProjectText(&sText, {Merge, Commands, Names}, &Told), Warnings >= 0);
    QCOMPARE(sText, After);
    QCOMPARE(int(Told.size()), qMax(Warnings, 0));
}

void tst_project::EditOfNewProject()
{
    // The generator's own text can be edited, and an edit that writes what stands there changes nothing.
    const QStringList Commands{"Project.SetDevice (\"A\");", "Project.SetTargetIF (\"SWD\");",
                               "File.Open (\"x.elf\");"};
    const QString sText = BScript::GetNewProjectText(Commands);
    QString s = sText;
    QStringList Warnings;
    QVERIFY(EditProjectText(&s, {true, Commands.mid(0, 2), {"Project.SetDevice", "Project.SetTargetIF"}},
                            &Warnings));
    QCOMPARE(s, sText);
    QVERIFY(Warnings.isEmpty());
}

void tst_project::WriteKeepsTheRest()
{
    CProjectRig Rig;
    const QString sPath = Rig.Put("p.bdebug", PROJECT);
    BScript::SetProjectPath(sPath);
    QVERIFY(CProject::Get().WriteBrylloSettings(
        {"Project.SetDevice (\"NEW\");", "Project.SetTIFSpeed (\"1 MHz\");"}));
    QCOMPARE(Rig.Bytes("p.bdebug"),
             QByteArray(PROJECT).replace("(\"OLD\");\r\n\tProject.SetTIFSpeed (\"4 MHz\");   // fast",
                                         "(\"NEW\");\r\n  Project.SetTIFSpeed (\"1 MHz\");"));
    QVERIFY(Rig.Console.contains("Bryllo settings were written to the project file"));
}

void tst_project::WriteFailures()
{
    CProjectRig Rig;
    CProject& Project = CProject::Get();
    QVERIFY(!Project.WriteSettings("", true, {"Project.SetDevice (\"x\");"}, {}));
    QCOMPARE(Rig.Boxes, QStringList{"Error writing project settings: project file path not specified"});
    QVERIFY(!Project.WriteSettings(Rig.Put("empty.bdebug", ""), true, {}, {}));
    QCOMPARE(Rig.Boxes.last(), QString("Error writing project settings: file contents could not be read"));
    const QByteArray NoLoad("void f(void) {\r\n}\r\n");
    QVERIFY(
        !Project.WriteSettings(Rig.Put("noload.bdebug", NoLoad), true, {"Project.SetDevice (\"x\");"}, {}));
    QVERIFY(Rig.Boxes.last().endsWith("Verify that script function 'OnProjectLoad' is present."));
    QCOMPARE(Rig.Bytes("noload.bdebug"), NoLoad);
    // A write-protected file stays as it was, although its folder could take another in its place.
    QFile File(Rig.Put("ro.bdebug", PROJECT));
    File.setPermissions(QFileDevice::ReadOwner);
    QVERIFY(!Project.WriteSettings(File.fileName(), true, {"Project.SetDevice (\"x\");"}, {})); // not even root's
    QVERIFY(Rig.Boxes.last().contains("write-protected"));
    QCOMPARE(Rig.Bytes("ro.bdebug"), QByteArray(PROJECT));
    QVERIFY(!Project.WriteSettings(Rig.In("no/such/folder/p.bdebug"), true, {}, {}));
    QVERIFY(Rig.Console.contains(Rig.Boxes.last().replace("\n", "\n")));
}

void tst_project::WriteVariables()
{
    CProjectRig Rig;
    const QString sPath = Rig.Put("p.bdebug", PROJECT);
    CProject& Project = CProject::Get();
    QVERIFY(Project.WriteVar(sPath, VAR_ALLOW_BMA_EMULATION, "yes"));
    QVERIFY(Project.WriteVar(sPath, PREF_TIMESTAMP_FORMAT, "Cycles"));
    QString s = Text(Rig.Bytes("p.bdebug"));
    QVERIFY2(s.contains("\n  Edit.SysVar (VAR_ALLOW_BMA_EMULATION, YES);\n"), qPrintable(s));
    QVERIFY2(s.contains("\n  Edit.Preference (PREF_TIMESTAMP_FORMAT, TIMESTAMP_FORMAT_CYCLES);\n"),
             qPrintable(s));
    QVERIFY(Project.WriteVar(sPath, PREF_TIMESTAMP_FORMAT, "1"));
    s = Text(Rig.Bytes("p.bdebug"));
    QCOMPARE(s.count("PREF_TIMESTAMP_FORMAT"), 1);
    // Back at the default, the line goes and the text is as before.
    QVERIFY(Project.WriteVar(sPath, PREF_TIMESTAMP_FORMAT, "Time"));
    QVERIFY(Project.WriteVar(sPath, VAR_ALLOW_BMA_EMULATION, "no"));
    QCOMPARE(Text(Rig.Bytes("p.bdebug")).count("\n"), QByteArray(PROJECT).count('\n'));
    QVERIFY(!Project.WriteVar(sPath, VAR_ALLOW_BMA_EMULATION, "perhaps"));
}

void tst_project::WriteSystemSettings()
{
    CProjectRig Rig;
    const QString sPath = Rig.Put("p.bdebug", PROJECT);
    BScript::SetProjectPath(sPath);
    SetVar(VAR_ACCESS_WIDTH, 2, false);
    SetVar(VAR_BREAKPOINT_TYPE, 2, false);
    SetVar(VAR_VERIFY_DOWNLOAD, 0, false);
    SetVarString(VAR_BREAK_AT_THIS_SYMBOL, "Reset_Handler", false);
    SetVarString(VAR_MEM_ZONE_RUNNING, "AHB", false);
    SetVar(VAR_RESET_MODE, 2, false); // no row of the editor
    QVERIFY(CProject::Get().WriteSystemSettings());
    const QString s = Text(Rig.Bytes("p.bdebug"));
    for (const char* sLine : {"\n  Project.SetBPType (BP_TYPE_SOFT);\n",
                              "\n  Edit.SysVar (VAR_BREAK_AT_THIS_SYMBOL, \"Reset_Handler\");\n",
                              "\n  Project.SetMemZoneRunning (\"AHB\");\n", "\n  Target.SetAccessWidth ("}) {
        QVERIFY2(s.contains(sLine), qPrintable(s));
    }
    QVERIFY(!s.contains("VAR_RESET_MODE"));
    // What was written is understood again: the script sets the same values.
    InitSysVars();
    QCOMPARE(BScript::Load(sPath), 0);
    QCOMPARE(BScript::ExecScriptFunction(EVENT_ON_PROJECT_LOAD), 0);
    QCOMPARE(Rig.Errors, QStringList());
    QCOMPARE(GetVarValue(VAR_BREAKPOINT_TYPE), 2);
    QCOMPARE(GetVarValue(VAR_VERIFY_DOWNLOAD), 0);
    QCOMPARE(GetVarString(VAR_BREAK_AT_THIS_SYMBOL), QString("Reset_Handler"));
    QCOMPARE(GetVarString(VAR_MEM_ZONE_RUNNING), QString("AHB"));
    QVERIFY(Rig.Calls.contains("Target.SetAccessWidth(2)"));
    // All back at their defaults: no line is left.
    InitSysVars();
    QVERIFY(CProject::Get().WriteSystemSettings());
    QVERIFY(!Text(Rig.Bytes("p.bdebug")).contains("SysVar"));
}

void tst_project::OpenRunsCommands()
{
    CProjectRig Rig;
    CProject& Project = CProject::Get();
    const QString sPath = Rig.Put("p.bdebug", PROJECT);
    QSignalSpy AboutToOpen(&Project, &CProject::AboutToOpen);
    QSignalSpy Opened(&Project, &CProject::Opened);
    Project.Open(sPath);
    QCOMPARE(AboutToOpen.size(), 1);
    QCOMPARE(Opened.size(), 0); // later, when no script runs
    QVERIFY(BScript::IsClosing());
    QVERIFY(Opened.wait(PATIENCE_MS));
    QVERIFY(!BScript::IsClosing() && BScript::IsLoaded() && Project.IsOpen() && !Project.IsModified());
    QCOMPARE(Project.GetPath(), sPath);
    QCOMPARE(Project.GetSessionPath(), Rig.In("p.bdebug.user"));
    QVERIFY(BScript::HasEvent(EVENT_AFTER_TARGET_CONNECT) && !BScript::HasEvent(EVENT_TARGET_RESET));
    QCOMPARE(BScript::ExecScriptFunction(EVENT_ON_PROJECT_LOAD), 0);
    QCOMPARE(Rig.Texts[19], QString("OLD"));
    QCOMPARE(Rig.Numbers[6], I64(4000000));
    QCOMPARE(Rig.Calls, QStringList{"File.Open($(ProjectDir)/a.elf)"});
    QCOMPARE(Rig.Errors, QStringList());
    QVERIFY(Project.HasCommand("File.Open") && !Project.HasCommand("Project.SetTraceFile"));
    Rig.Put("p.bryllo", "x");
    QCOMPARE(Project.GetProbeSettingsPath(), Rig.In("p.bryllo"));
}

void tst_project::OpenWithinScript()
{
    CProjectRig Rig;
    CProject& Project = CProject::Get();
    const QString sSecond = Rig.Put("second.bdebug", "void OnProjectLoad (void) { Util.Log(\"second\"); }");
    Rig.OnOther = [&](int Id) {
        if (Id == ACT_FILE_OPEN) {
            Project.Open(sSecond);
            QTest::qWait(100); // as a wait for a job does; the script must not go meanwhile
            QVERIFY(BScript::IsLoaded() && Project.IsOpening());
        }
    };
    QCOMPARE(BScript::LoadText(
                 "void OnProjectLoad (void) { File.Open(\"second.bdebug\"); Util.Log(\"not run\"); }"),
             0);
    QSignalSpy Opened(&Project, &CProject::Opened);
    BScript::ExecScriptFunction(EVENT_ON_PROJECT_LOAD);
    QCOMPARE(Opened.size(), 0);
    QVERIFY(Opened.wait(PATIENCE_MS));
    QCOMPARE(Project.GetPath(), sSecond);
    QCOMPARE(Rig.Calls, QStringList{"File.Open(second.bdebug)"});
    BScript::ExecScriptFunction(EVENT_ON_PROJECT_LOAD);
    QCOMPARE(Rig.Calls.last(), QString("Util.Log(second)"));
}

void tst_project::OpenOfMissingFile()
{
    CProjectRig Rig;
    QTest::ignoreMessage(QtWarningMsg, "file not found");
    CProject::Get().Open(Rig.In("none.bdebug"));
    QTRY_VERIFY(!CProject::Get().IsOpening());
    QVERIFY(!CProject::Get().IsOpen());
}

void tst_project::Commands_data()
{
    QTest::addColumn<QString>("Line");
    QTest::addColumn<QString>("Effect"); ///< numbers and texts of the configuration, in id order
    QTest::addColumn<QString>("Error");
    const auto Row = [](const char* sLine, const char* sEffect, const char* sError = "") {
        QTest::newRow(sLine) << QString(sLine) << QString(sEffect) << QString(sError);
    };
    Row("Project.SetDevice (\"A,B\")", "19=A,B");
    Row("Project.SetHostIF (\"USB\", \"\")", "2=0 3=0 4=1");
    Row("Project.SetHostIF (\"usb\", \"0x10\")", "2=16 3=1 4=1");
    Row("Project.SetHostIF (\"USB\", \"600000001\")", "2=600000001 3=1 4=1");
    Row("Project.SetHostIF (\"USB\", \"name\")", "2=0 3=0 4=1", "invalid parameter: name");
    Row("Project.SetHostIF (\"IP\", \"10.0.0.1\")", "4=2 18=10.0.0.1");
    Row("Project.SetHostIF (\"IP\", \"\")", "4=2 18=192.168.0.1");
    Row("Project.SetHostIF (\"WLAN\", \"\")", "", "invalid parameter: WLAN");
    Row("Project.SetTargetIF (\"SWD\")", "5=1");
    Row("Project.SetTargetIF (\"cjtag\")", "5=7");
    Row("Project.SetTargetIF (\"YES\")", "", "unknown target interface");
    Row("Project.SetTargetIF (\"SWIM\")", "", "unknown target interface");
    Row("Project.SetTIFSpeed (\"2000\")", "6=2000000");
    Row("Project.SetTIFSpeed (\"quick\")", "", "invalid number");
    Row("Project.SetJTAGConfig (3, 5)", "10=3 11=5 12=1");
    Row("Project.SetJTAGConfig (0, 4)", "10=0 11=4 12=0");
    Row("Project.SetTIFScanChain (1, 4)", "10=1 11=4 12=1"); // the old name
    Row("Project.SetJTAGConfig (8, 5)", "", "invalid parameter: 8");
    Row("Project.SetJTAGConfig (0, -1)", "", "invalid parameter: -1");
    Row("Project.SetJTAGConfig (1)", "", "wrong parameter count");
    Row("Project.SetBrylloScript (\"missing.bin\")", "", "file not found");
    Row("Project.SetBrylloScript (\"@/s.bin\")", "20=@/s.bin");
    Row("Project.SetBrylloLogFile (\"@/log.txt\")", "21=@/log.txt");
    Row("Project.SetBrylloLogFile (\"@/no/log.txt\")", "", "invalid filename");
    Row("Project.AddSvdFile (\"@/s.bin\")", "", "invalid parameter");
    Row("Project.AddSvdFile (\"none.svd\")", "", "file not found");
    Row("Project.SetCorePlugin (\"none.so\")", "", "file not found");
    Row("Project.SetOSPlugin (\"none\")", "", "file not found");
    Row("Project.SetBPType (9)", "", "invalid parameter");
    Row("Project.SetTracePortWidth (3)", "", "invalid parameter");
    Row("Project.SetTraceTiming (1, 2, 3, 100001)", "", "invalid parameter: 100001");
    Row("Project.RelocateSymbols (\"x\", y)", "", "invalid parameter \"y\"");
    Row("Project.ConfigSWO (\"x\", \"1000\")", "", "invalid parameter: x");
    Row("Project.AddMemlaneSearchRange (zz, 1)", "", "invalid parameter: zz");
    Row("Project.AddRootPath ()", "", "wrong parameter count");
}

void tst_project::Commands()
{
    QFETCH(QString, Line);
    QFETCH(QString, Effect);
    QFETCH(QString, Error);
    CProjectRig Rig;
    Rig.Put("s.bin", "x");
    Line.replace("@", Rig.Dir.path());
    QCOMPARE(ExecuteCommand(Line), int(EXECUTE_DONE));
    QStringList Seen;
    for (auto it = Rig.Numbers.begin(); it != Rig.Numbers.end(); ++it) {
        Seen += QString("%1=%2").arg(it.key()).arg(it.value());
    }
    for (auto it = Rig.Texts.begin(); it != Rig.Texts.end(); ++it) {
        Seen += QString("%1=%2").arg(it.key()).arg(it.value());
    }
    QCOMPARE(Seen.join(' '), Effect.replace("@", Rig.Dir.path()));
    const QString sName = GetCommandName(FindCommand(GetNameOfCommandText(Line)));
    QCOMPARE(Rig.Errors.join('|'),
             Error.isEmpty() ? QString() : sName + ": " + Error.replace("@", Rig.Dir.path()));
    QVERIFY(!QFileInfo::exists(Rig.In("log.txt"))); // a test file is removed again
}

void tst_project::EditCommands_data()
{
    QTest::addColumn<QString>("Line");
    QTest::addColumn<int>("VarID");
    QTest::addColumn<QString>("Value");
    QTest::addColumn<QString>("Error");
    const auto Row = [](const char* sLine, int VarID, const char* sValue, const char* sError = "") {
        QTest::newRow(sLine) << QString(sLine) << VarID << QString(sValue) << QString(sError);
    };
    Row("Edit.SysVar (VAR_RESET_MODE, RM_RESET_HALT)", VAR_RESET_MODE, "Reset & Halt");
    Row("Edit.SysVar (0, 2)", VAR_RESET_MODE, "Reset & Run");
    Row("edit.sysvar (var_reset_mode, \"reset & run\")", VAR_RESET_MODE, "Reset & Run");
    Row("Edit.SysVar (VAR_RESET_MODE, 5)", VAR_RESET_MODE, "Reset & Break At Symbol", "invalid parameter: 5");
    Row("Edit.SysVar (VAR_NONE, 5)", VAR_RESET_MODE, "Reset & Break At Symbol",
        "unknown system variable: VAR_NONE");
    Row("Edit.SysVar (VAR_RESET_MODE)", VAR_RESET_MODE, "Reset & Break At Symbol", "wrong parameter count");
    Row("Edit.SysVar (VAR_BREAK_AT_THIS_SYMBOL, \"start\")", VAR_BREAK_AT_THIS_SYMBOL, "start");
    Row("Edit.SysVar (VAR_SWO_SPEED, 2 MHz)", VAR_SWO_SPEED, "2 MHz");
    Row("Edit.SysVar (VAR_TRACE_CORE_CLOCK, 18446744073709551615)", VAR_TRACE_CORE_CLOCK,
        "18446744073709551615");
    Row("Edit.Preference (PREF_TAB_SPACING, 4)", PREF_TAB_SPACING, "4");
    Row("Edit.Preference (PREF_TAB_SPACING, 9)", PREF_TAB_SPACING, "2", "invalid parameter: 9");
    Row("Edit.Preference (PREF_NONE, 9)", PREF_TAB_SPACING, "2", "unknown preference: PREF_NONE");
    Row("Project.SetBPType (BP_TYPE_HARD)", VAR_BREAKPOINT_TYPE, "Hardware");
    Row("Project.DisableSessionSave (DISABLE_SAVE_ANY)", PREF_SESSION_SAVE_FLAGS, "4294967295");
    Row("Project.SetTraceSource (\"Trace Pins\")", VAR_TRACE_SOURCE, "Trace Pins");
    Row("Project.SetTraceSource (\"TRACE_SOURCE_ETB\")", VAR_TRACE_SOURCE, "Trace Buffer");
    Row("Project.SetTracePortWidth (2)", VAR_TRACE_PORT_WIDTH, "2 bit");
    Row("Project.SetTraceTiming (-1, 2, 3, 4)", VAR_TRACE_PORT_DELAY_0, "-1");
    Row("Project.SetTraceFile (\"t.bin\", 5000000000, 0)", VAR_TRACE_FILE_MAX_SIZE, "5000000000");
    Row("Project.SetSWO (ON, \"2 MHz\", \"100 MHz\")", VAR_TRACE_SOURCE, "SWO");
    Row("Project.SetSemihosting (yes)", VAR_SEMIHOSTING_ENABLED, "yes");
    Row("Project.SetSemihosting (perhaps)", VAR_SEMIHOSTING_ENABLED, "no", "invalid parameter");
}

void tst_project::EditCommands()
{
    QFETCH(QString, Line);
    QFETCH(int, VarID);
    QFETCH(QString, Value);
    QFETCH(QString, Error);
    CProjectRig Rig;
    QCOMPARE(ExecuteCommand(Line), int(EXECUTE_DONE));
    QCOMPARE(VarToText(VarID), Value);
    const QString sName = GetCommandName(FindCommand(GetNameOfCommandText(Line)));
    QCOMPARE(Rig.Errors.join('|'), Error.isEmpty() ? QString() : sName + ": " + Error);
    QCOMPARE(GetVarStored(VarID), GetVarDefault(VarID)); // a command changes the current value alone
}

void tst_project::Speed_data()
{
    QTest::addColumn<QString>("SpeedText");
    QTest::addColumn<qint64>("Hz");
    const auto Row = [](const char* sText, qint64 Hz) { QTest::newRow(sText) << QString(sText) << Hz; };
    Row("4000", 4000000);
    Row("0x10", 16000);
    Row("0", 0);
    Row("auto", 0);
    Row("Adaptive", 65535);
    Row("65535", 65535000);
    Row("4 MHz", 4000000);
    Row("1500 Hz", 1000);
    Row("1501 Hz", 2000);
    Row("999 Hz", 1000);
    Row("1 Hz", 1000);
    Row("12.5 kHz", 12000);
    Row("\"2 MHz\"", 2000000);
    Row("-1", -1);
    Row("", -1);
    Row("99 GHz", -1);
    Row("4294967295", -1);
}

void tst_project::Speed()
{
    QFETCH(QString, SpeedText);
    QFETCH(qint64, Hz);
    QCOMPARE(ParseTIFSpeed(SpeedText), Hz);
}

void tst_project::Duplicates()
{
    CProjectRig Rig;
    QCOMPARE(BScript::LoadText("void OnProjectLoad (void) {\n"
                               "  Project.SetDevice (\"a\");\n  File.Open (\"a\");\n  File.Open (\"b\");\n"
                               "  // Project.SetTargetIF (\"SWD\");\n  Project.SetTargetIF (\"SWD\");\n"
                               "  Project.SetDevice (\"b\");\n  Project.SetDevice (\"c\");\n"
                               "  Project.AddRootPath (\"x\");\n  Project.SetRootPath (\"y\");\n}\n"),
             0);
    QCOMPARE(CProject::Get().GetDuplicateCommands(),
             (QStringList{"Project.SetDevice", "Project.AddRootPath"}));
    const QStringList Warnings = CProject::Get().GetWarnings();
    QCOMPARE(Warnings.size(), 2);
    QVERIFY2(Warnings[0].contains("project command specified twice: Project.SetDevice"),
             qPrintable(Warnings[0]));
}

void tst_project::WarningsAreToldOnce()
{
    CProjectRig Rig;
    CProject& Project = CProject::Get();
    PROJECT_HOOKS Hooks = Project.GetHooks();
    Hooks.IsProgramOpen = [] { return true; };
    Hooks.DataEndianMatches = [] { return false; };
    Hooks.HasSymbol = [](const QString& s) { return s == "pxCurrentTCB"; };
    Project.SetHooks(Hooks);
    const QString sPath = Rig.Put("p.bdebug", "void OnProjectLoad (void) {\n  Bad;\n}\n");
    QCOMPARE(BScript::Load(sPath), 0);
    BScript::RunEvent(EVENT_ON_PROJECT_LOAD);
    Project.AddRegisterFile("none.svd");
    const QStringList Warnings = Project.GetWarnings();
    QCOMPARE(Warnings.size(), 4); // script, description file, RTOS, byte order, in this order
    QVERIFY2(Warnings[0].contains("script interpretation failure: syntax error at line 2"),
             qPrintable(Warnings[0]));
    QVERIFY2(Warnings[2].contains("FreeRTOS"), qPrintable(Warnings[2]));
    QCOMPARE(Project.LogNewWarnings(), 4);
    QCOMPARE(Project.LogNewWarnings(), 0);
    QCOMPARE(Project.LogScriptError(), 0);
    Project.AddWarning(Warnings[0].toUpper()); // the same but for case
    QCOMPARE(Project.LogNewWarnings(), 0);
    Project.ForgetScriptErrors(); // as after a reload, whose text may have the same error again
    QCOMPARE(Project.LogNewWarnings(), 1);
    Project.Close();
    BScript::Load(sPath);
    BScript::RunEvent(EVENT_ON_PROJECT_LOAD);
    QCOMPARE(Project.LogScriptError(), 1); // told again after a close
}

void tst_project::SaveNewProject_data()
{
    QTest::addColumn<QString>("Folder");
    QTest::addColumn<int>("NumSubstitutes");
    // The random part of a temporary folder's name may or may not have capitals: both cases have names of their own.
    QTest::newRow("capitals") << QDir::tempPath() + QStringLiteral("/Vantrel-Save-%1").arg(QCoreApplication::applicationPid()) << 2;
    QTest::newRow("no capitals")
        << QStringLiteral("/tmp/vantrel-save-%1").arg(QCoreApplication::applicationPid()) << 1;
}

void tst_project::SaveNewProject()
{
    QFETCH(QString, Folder);
    QFETCH(int, NumSubstitutes);
    QVERIFY(QDir().mkpath(Folder));
    const auto Cleanup = qScopeGuard([&Folder] { QDir(Folder).removeRecursively(); });
    CProjectRig Rig;
    CProject& Project = CProject::Get();
    QSignalSpy Modified(&Project, &CProject::ModifiedChanged);
    QCOMPARE(
        Project.CreateFromCommands({"Project.SetDevice (\"DEV\");", "Project.SetHostIF (\"USB\", \"\");",
                                    "Project.SetTargetIF (\"SWD\");", "Project.SetTIFSpeed (\"4 MHz\");"}),
        0);
    QVERIFY(Project.IsModified());
    QCOMPARE(Modified.last()[0].toBool(), true);
    QCOMPARE(Rig.Texts[19], QString("DEV")); // the commands have run
    const QString sPath = Folder + "/new.bdebug";
    const auto Read = [&sPath] {
        QFile File(sPath);
        return File.open(QIODevice::ReadOnly) ? File.readAll() : QByteArray();
    };
    Project.SetProgramFile(Folder + "/sub/app.elf");
    QVERIFY(Project.Save(sPath));
    QVERIFY(!Project.IsModified());
    QVERIFY(!BScript::IsFileChanged());
    const QString s = Text(Read());
    QVERIFY2(s.contains("  Project.SetDevice (\"DEV\");\n  Project.SetHostIF (\"USB\", \"\");\n  "
                        "Project.SetTargetIF (\"SWD\");\n"
                        "  Project.SetTIFSpeed (\"4 MHz\");\n"),
             qPrintable(s));
    QVERIFY2(s.contains("  // User settings\n  //\n  File.Open (\"$(ProjectDir)/sub/app.elf\");\n}\n"),
             qPrintable(s));
    QCOMPARE(s.count("Project.AddPathSubstitute"), NumSubstitutes);
    // Saving again changes nothing, and the file loads as it is.
    const QByteArray Before = Read();
    QVERIFY(Project.Save(sPath));
    QCOMPARE(Read(), Before);
    QCOMPARE(BScript::Load(sPath), 0);
    BScript::RunEvent(EVENT_ON_PROJECT_LOAD);
    QCOMPARE(Rig.Errors, QStringList());
}

void tst_project::SaveKeepsUserText()
{
    CProjectRig Rig;
    CProject& Project = CProject::Get();
    const QString sPath = Rig.Put("p.bdebug", PROJECT);
    QCOMPARE(BScript::Load(sPath), 0);
    BScript::RunEvent(EVENT_ON_PROJECT_LOAD);
    Rig.Texts[19] = "OTHER";
    QVERIFY(Project.Save(Rig.In("copy.bdebug")));
    const QString s = Text(Rig.Bytes("copy.bdebug"));
    QVERIFY2(s.contains("(\"OTHER\")") && !s.contains("(\"OLD\")"), qPrintable(s));
    QVERIFY2(s.contains("\tUtil.Log(\"{kept}\");\n") && s.contains("File.Open (\"$(ProjectDir)/a.elf\");"),
             qPrintable(s));
    QCOMPARE(Rig.Bytes("p.bdebug"), QByteArray(PROJECT));
    // What a project with an error asks for isn't in force, so nothing of it is replaced.
    for (const QByteArray& Text : {QByteArray("\xEF\xBB\xBFint x;\r\nvoid OnProjectLoad (void) {\r\n  Project.SetDevice (\"A\");\n}\n"),
                                   QByteArray("void OnProjectLoad (void) {\n  Bad;\n  Project.SetDevice (\"A\");\n}\n")}) {
        const QString sBad = Rig.Put("bad.bdebug", Text);
        if (BScript::Load(sBad) == 0) BScript::RunEvent(EVENT_ON_PROJECT_LOAD);
        QVERIFY(BScript::HasLoadFailed());
        Rig.Console.clear();
        QVERIFY(Project.Save(Rig.In("badcopy.bdebug")));
        QCOMPARE(Rig.Bytes("badcopy.bdebug"), Text);
        QCOMPARE(Rig.Console, QStringList()); // the text isn't tried once more
    }
}

void tst_project::CommandLine()
{
    CProjectRig Rig;
    CProject& Project = CProject::Get();
    CmdLineArgs Args;
    Args.Device = "DEV";
    QVERIFY(Project.CreateFromCmdLine(Args).isEmpty());
    QCOMPARE(Rig.Console.last(), QString("Failed to create project from command line arguments: required "
                                         "argument \"host interface\" is missing."));
    Args.HostIF = "USB";
    Args.TargetIF = "SWD";
    Args.JTAGConfig = "1,2";
    Args.ProgramFile = "a.elf";
    const QStringList Commands = Project.CreateFromCmdLine(Args);
    QCOMPARE(Commands, (QStringList{"Project.SetDevice (\"DEV\");", "Project.SetHostIF (\"USB\", \"\");",
                                    "Project.SetTargetIF (\"SWD\");", "Project.SetJTAGConfig (1, 2);",
                                    "File.Open (\"a.elf\");"}));
    Args.JTAGConfig = "1,2,3";
    QCOMPARE(Project.CreateFromCmdLine(Args).size(), 4);
    // Saved over a project that exists, the commands go into its text.
    Rig.Put("p.bdebug", PROJECT);
    Project.SetFromCmdLine(Commands);
    QVERIFY(Project.Save(Rig.In("p.bdebug")));
    Project.SetFromCmdLine({});
    const QString s = Text(Rig.Bytes("p.bdebug"));
    QVERIFY2(s.contains("(\"DEV\")") && !s.contains("OLD") && s.contains("\tUtil.Log(\"{kept}\");"),
             qPrintable(s));
    QVERIFY2(s.contains("  File.Open (\"a.elf\");\n}") && s.count("File.Open") == 1, qPrintable(s));
}

void tst_project::CloseForgets()
{
    CProjectRig Rig;
    CProject& Project = CProject::Get();
    BScript::Load(Rig.Put("p.bdebug", PROJECT));
    Project.AddRegisterFile("a.svd");
    Project.SetProgramFile("a.elf");
    Project.AddWarning("w");
    CFileFinder::Get().AddSearchPath("x");
    QSignalSpy AboutToClose(&Project, &CProject::AboutToClose);
    QSignalSpy Closed(&Project, &CProject::Closed);
    Project.Close();
    QCOMPARE(AboutToClose.size(), 1);
    QCOMPARE(AboutToClose[0][0].toString(), Rig.In("p.bdebug"));
    QCOMPARE(Closed.size(), 1);
    QVERIFY(Project.GetPath().isEmpty() && Project.GetRegisterFiles().isEmpty() &&
            Project.GetProgramFile().isEmpty());
    QVERIFY(Project.GetWarnings().isEmpty() && CFileFinder::Get().GetSearchPaths().isEmpty());
    QVERIFY(!BScript::HasEvent(EVENT_ON_PROJECT_LOAD)); // nothing of the closed project runs
    QCOMPARE(Project.GetName(), QString("New Project"));
    Project.Close();
    QCOMPARE(AboutToClose.size(), 1);
}

QTEST_MAIN(tst_project)
#include "tst_project.moc"
