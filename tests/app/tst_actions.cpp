// The action table: its rows, linking, parameters, errors, dispatch and the command list.
#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/services/mainthread.h"
#include "testdata.h"

#include <QAction>
#include <QSet>
#include <QTest>
#include <QWidget>

class tst_actions : public QObject {
    Q_OBJECT
private slots:
    void init();
    void rowsOfCommands();
    void rowsOfPlainActions();
    void uniqueNames();
    void oldNames_data();
    void oldNames();
    void prototypes();
    void hotKeys_data();
    void hotKeys();
    void linking();
    void unlinking();
    void params();
    void paramErrors();
    void results();
    void commandState();
    void greyCheckableAction();
    void execute_data();
    void execute();
    void commandList();

private:
    QAction* MakeAction(QWidget* pParent, const char* sName)
    {
        auto* pAction = new QAction(pParent);
        pAction->setObjectName(sName);
        return pAction;
    }
    QStringList m_Errors;
};

void tst_actions::init()
{
    SetMainThread();
    m_Errors.clear();
    ACTION_HOOKS Hooks;
    Hooks.PrintError = [this](const QString& s, const QString& e) {
        m_Errors.append(s.isEmpty() ? e : s + ": " + e);
    };
    SetActionHooks(Hooks);
}

void tst_actions::rowsOfCommands()
{
    const auto Rows = ReadTable("commands.tsv");
    QCOMPARE(Rows.size(), 180);
    for (const QStringList& r : Rows) {
        const ACTION_ROW* p = GetActionRow(r[0].toInt());
        QVERIFY(p);
        QString sMarks;
        if (!p->Listed) sMarks += 'N';
        if (p->RawParams) sMarks += 'P';
        if (p->Repeatable) sMarks += 'R';
        if (p->EchoAfter) sMarks += 'E';
        const QStringList Row{
            QString::number(p->ID), GetCommandName(p->ID),     p->Prototype, p->ArgLabel, p->HotKey, sMarks,
            p->Description,         QString::number(p->SysVar)};
        QCOMPARE(Row, r);
        QVERIFY(p->ScriptEntry == &BAPI);
    }
}

void tst_actions::rowsOfPlainActions()
{
    const auto Rows = ReadTable("guiactions.tsv");
    QCOMPARE(Rows.size(), 173);
    for (const QStringList& r : Rows) {
        const ACTION_ROW* p = GetActionRow(r[0].toInt());
        QVERIFY(p);
        QCOMPARE((QStringList{p->ObjectName, p->HotKey}), r.mid(1));
        QVERIFY(!p->ScriptEntry);
        QVERIFY(GetCommandName(p->ID).isEmpty());
        QVERIFY(*p->Description);
        QCOMPARE(p->SysVar, SYSVAR_NONE);
    }
}

void tst_actions::uniqueNames()
{
    QSet<QString> Objects;
    QSet<QString> Commands;
    int NumCommands = 0;
    for (int i = 0; i < NUM_ACTIONS; i++) {
        const ACTION_ROW* p = GetActionRow(i);
        QVERIFY(p && p->ID == i);
        Objects.insert(QString(p->ObjectName).toLower());
        QVERIFY(QString(p->ObjectName).startsWith("action"));
        if (*p->HotKey) QVERIFY2(!QKeySequence(p->HotKey).isEmpty(), p->HotKey);
        if (GetCommandName(i).isEmpty()) continue;
        NumCommands++;
        Commands.insert(GetCommandName(i).toLower());
        QCOMPARE(FindCommand(GetCommandName(i).toUpper()), i);
    }
    QCOMPARE(Objects.size(), NUM_ACTIONS);
    QCOMPARE(Commands.size(), NumCommands);
    QVERIFY(!GetActionRow(-1));
    QVERIFY(!GetActionRow(NUM_ACTIONS));
}

void tst_actions::oldNames_data()
{
    QTest::addColumn<QString>("Name");
    QTest::addColumn<QString>("Other");
    for (const auto& p :
         {qMakePair("Trace", "Trace.Add"), qMakePair("Watch", "Watch.Add"),
          qMakePair("Window.SetNumberBase", "Window.SetDisplayFormat"), qMakePair("Break.Edit", "Edit.Break"),
          qMakePair("Project.SetPeripheralFile", "Project.AddSvdFile"),
          qMakePair("Project.SetRootPath", "Project.AddRootPath"),
          qMakePair("Debug.SetNextStmnt", "Debug.SetNextStatement"),
          qMakePair("Debug.ReadIntoTraceCache", "Debug.ReadIntoInstCache"),
          qMakePair("Project.SetTIFScanChain", "Project.SetJTAGConfig"),
          qMakePair("Edit.BrylloSettings", "Tools.BrylloSettings"),
          qMakePair("Edit.Preferences", "Tools.Preferences"),
          qMakePair("Edit.TraceSettings", "Tools.TraceSettings"), qMakePair("Edit.SysVars", "Tools.SysVars"),
          qMakePair("Edit.Find", "Find.Text"), qMakePair("View.InstrTrace", "View.InstTrace"),
          qMakePair("Help.Manual", "Help.UserGuide")})
        QTest::newRow(p.first) << p.first << p.second;
}

void tst_actions::oldNames()
{
    QFETCH(QString, Name);
    QFETCH(QString, Other);
    QCOMPARE(GetAliasOfName(Name), Other);
    QCOMPARE(GetAliasOfName(Other.toLower()), Name);
    QCOMPARE(FindCommand(Name), FindCommand(Other));
    // Only the pair without a command of its own leads nowhere.
    QCOMPARE(FindCommand(Name) < 0, Name == "Trace");
}

void tst_actions::prototypes()
{
    QCOMPARE(GetParamCount(ACT_DEBUG_HALT), 0);
    QCOMPARE(GetParamCount(ACT_TRACE_CLEAR_ALL_POINTS), 0);
    QCOMPARE(GetParamCount(ACT_BREAK_EDIT), 7);
    QCOMPARE(GetParamDecl(ACT_BREAK_EDIT_ON_DATA, 2), "unsigned char AccessType");
    QVERIFY(IsStringParam(ACT_BREAK_EDIT, 0)); // unsigned char*
    QVERIFY(!IsStringParam(ACT_BREAK_EDIT_ON_DATA, 2));
    QVERIFY(!IsStringParam(ACT_BREAK_EDIT, 2));
    QVERIFY(!IsStringParam(ACT_BREAK_EDIT, 7));
    QCOMPARE(GetAliasPrototype(ACT_TOOLS_PREFERENCES), "__api__ int Edit.Preferences (void);");
    QCOMPARE(GetAliasPrototype(ACT_FIND_TEXT), "__api__ int Edit.Find(const char* sFindWhat);");
    QCOMPARE(GetAliasPrototype(ACT_FILE_OPEN), QString());
}

void tst_actions::hotKeys_data()
{
    QTest::addColumn<QString>("Key");
    QTest::addColumn<QList<int>>("Ids");
    QTest::newRow("several rows") << "F5" << QList<int>{ACT_DEBUG_START, ACT_DEBUG_CONTINUE};
    QTest::newRow("equivalent") << "F6" << QList<int>{ACT_DEBUG_HALT};
    QTest::newRow("its own") << "Ctrl+F5" << QList<int>{ACT_DEBUG_HALT};
    QTest::newRow("plus without shift") << "=" << QList<int>{ACT_TIMELINE_ZOOM_IN, ACT_MEM_USAGE_ZOOM_IN};
    QTest::newRow("alt plus") << "Alt+="
                              << QList<int>{ACT_EXPAND_ALL, ACT_SRC_EXPAND_ALL_LINES, ACT_ITRACE_EXPAND_ALL};
    QTest::newRow("order of modifiers") << "Alt+Shift+D" << QList<int>{ACT_WINDOW_SHOW_DISASSEMBLY};
    QTest::newRow("as written") << "Shift+Alt+D" << QList<int>{ACT_WINDOW_SHOW_DISASSEMBLY};
    QTest::newRow("nothing") << "F12" << QList<int>{};
    QTest::newRow("empty") << "" << QList<int>{};
}

void tst_actions::hotKeys()
{
    QFETCH(QString, Key);
    QFETCH(QList<int>, Ids);
    QCOMPARE(FindActionsByHotKey(Key), Ids);
}

void tst_actions::linking()
{
    QWidget Window;
    QAction* pHalt = MakeAction(&Window, "ACTIONDebugHalt");
    QAction* pGrey = MakeAction(&Window, "actionDebugReset");
    pGrey->setEnabled(false);
    MakeAction(&Window, "actionZebra");
    MakeAction(&Window, "actionApple");
    MakeAction(&Window, "actionZebra");
    MakeAction(&Window, "");
    LinkActions(&Window);
    QCOMPARE(GetAction(ACT_DEBUG_HALT), pHalt);
    QCOMPARE(GetActionId(pHalt), int(ACT_DEBUG_HALT));
    QCOMPARE(pHalt->shortcut(), QKeySequence("Ctrl+F5"));
    QCOMPARE(pHalt->statusTip(), "Halts program execution");
    QCOMPARE(pHalt->toolTip(), "Halts program execution (Ctrl+F5)");
    QVERIFY(IsCommandEnabled(ACT_DEBUG_HALT));
    QVERIFY(!IsCommandEnabled(ACT_DEBUG_RESET));
    QCOMPARE(GetUnknownActionNames(), (QStringList{"actionApple", "actionZebra"}));
}

void tst_actions::unlinking()
{
    QAction* pSecond = nullptr;
    QWidget First;
    QAction* pFirst = MakeAction(&First, "actionWinClear");
    {
        QWidget Second;
        pSecond = MakeAction(&Second, "actionWinClear");
        LinkActions(&First);
        LinkActions(&Second);
        QCOMPARE(GetAction(ACT_WIN_CLEAR), pSecond);
        {
            QWidget Third;
            QAction* pThird = MakeAction(&Third, "actionWinClear");
            LinkActions(&Third);
            QCOMPARE(GetAction(ACT_WIN_CLEAR), pThird);
            UnlinkActions(&Third); // the row goes back to the newest that is left
            QCOMPARE(GetAction(ACT_WIN_CLEAR), pSecond);
        }
        UnlinkActions(&First); // the row stays with the newer window
        QCOMPARE(GetAction(ACT_WIN_CLEAR), pSecond);
        QCOMPARE(GetActionId(pFirst), -1);
    }
    // A window that dies without unlinking leaves nothing behind.
    QVERIFY(!GetAction(ACT_WIN_CLEAR));
    QCOMPARE(GetActionId(pSecond), -1);
    QCOMPARE(PerformAction(ACT_WIN_CLEAR), -1);
    // The state was the dead window's; a row without an action reports nothing.
    SetCommandState(ACT_WIN_CLEAR, false, false);
    QVERIFY(IsCommandEnabled(ACT_WIN_CLEAR));
    QCOMPARE(PerformAction(ACT_WIN_CLEAR), -1);
    QVERIFY(m_Errors.isEmpty());
}

void tst_actions::params()
{
    const QString sThousands = QString("12") + QChar(0x2008) + "345";
    SetActionParams(ACT_EDIT_SYS_VAR, "\"a \"b\"\"", sThousands, QVariant(), 7);
    QCOMPARE(GetRawActionParams(ACT_EDIT_SYS_VAR), (QStringList{"a \"b\"", "12345", "7"}));
    QCOMPARE(GetActionParams(ACT_EDIT_SYS_VAR), (QStringList{"a b", "12345", "7"}));
    QCOMPARE(GetActionParam(ACT_EDIT_SYS_VAR), QString());
    QCOMPARE(GetActionError(ACT_EDIT_SYS_VAR), ERR_WRONG_PARAM_COUNT);
    ClearAction(ACT_EDIT_SYS_VAR);
    QVERIFY(!HasActionParams(ACT_EDIT_SYS_VAR));
    QCOMPARE(GetActionParam(ACT_EDIT_SYS_VAR), QString());
    QCOMPARE(GetActionError(ACT_EDIT_SYS_VAR), QString());
    // The clipboard gets a text as it is.
    SetActionParams(ACT_EDIT_COPY, '"' + sThousands + '"');
    QCOMPARE(GetActionParam(ACT_EDIT_COPY), '"' + sThousands + '"');
    SetActionSilent(ACT_EDIT_COPY);
    QVERIFY(IsActionSilent(ACT_EDIT_COPY) && !HasActionParams(ACT_EDIT_COPY));
    SetActionParams(ACT_EDIT_COPY, "x");
    QVERIFY(!IsActionSilent(ACT_EDIT_COPY));
    ClearAction(ACT_EDIT_COPY);
}

void tst_actions::paramErrors()
{
    SetActionParams(ACT_FILE_LOAD, "a.bin");
    QVERIFY(!CheckParamCount(ACT_FILE_LOAD));
    QCOMPARE(GetActionError(ACT_FILE_LOAD), ERR_WRONG_PARAM_COUNT);
    QVERIFY(CheckParamCount(ACT_FILE_LOAD, 1));
    SetActionError(ACT_FILE_LOAD, ERR_FILE_NOT_FOUND, "a.bin"); // one parameter: the line names it already
    QCOMPARE(GetActionError(ACT_FILE_LOAD), "file not found");
    SetActionParams(ACT_FILE_LOAD, "a.bin", "0");
    SetActionError(ACT_FILE_LOAD, ERR_FILE_NOT_FOUND, "a.bin");
    QCOMPARE(GetActionError(ACT_FILE_LOAD), "file not found: a.bin");
    SetActionError(ACT_FILE_LOAD, ERR_INVALID_PARAM);
    QCOMPARE(GetActionError(ACT_FILE_LOAD), "invalid parameter");
    SetActionParams(ACT_FILE_LOAD, "a", "b", "c");
    QVERIFY(!CheckParamCount(ACT_FILE_LOAD, 0));
    ClearAction(ACT_FILE_LOAD);
    QVERIFY(CheckParamCount(ACT_FILE_LOAD, 0));
    ClearAction(ACT_FILE_LOAD);
}

void tst_actions::results()
{
    QWidget Window;
    QAction* pAction = MakeAction(&Window, "actionElfGetExprValue");
    LinkActions(&Window);
    int Mode = 0;
    connect(pAction, &QAction::triggered, &Window, [&] {
        if (Mode == 1) SetActionResult(ACT_ELF_GET_EXPR_VALUE, I64(1) << 40);
        if (Mode == 2) SetActionError(ACT_ELF_GET_EXPR_VALUE, ERR_UNKNOWN_SYMBOL);
        if (Mode == 3)
            SetActionResult(ACT_ELF_GET_EXPR_VALUE, GetActionParam(ACT_ELF_GET_EXPR_VALUE).toInt());
    });
    QCOMPARE(PerformAction(ACT_ELF_GET_EXPR_VALUE, "x"), I64(0));
    Mode = 1;
    QCOMPARE(PerformAction(ACT_ELF_GET_EXPR_VALUE, "x"), I64(1) << 40);
    Mode = 2; // a call that gives no value leaves the row's, whether it fails or not
    const U64 NumErrors = GetActionErrorCount();
    QCOMPARE(PerformAction(ACT_ELF_GET_EXPR_VALUE, "x"), I64(1) << 40);
    QCOMPARE(GetActionErrorCount(), NumErrors + 1);
    Mode = 3;
    QCOMPARE(PerformAction(ACT_ELF_GET_EXPR_VALUE, 77), I64(77));
    SetCommandState(ACT_ELF_GET_EXPR_VALUE, false, false);
    QCOMPARE(PerformAction(ACT_ELF_GET_EXPR_VALUE, 78), I64(-1));
    QCOMPARE(GetActionResult(ACT_ELF_GET_EXPR_VALUE), I64(77));
    QCOMPARE(PerformAction(NUM_ACTIONS), -1);
    QCOMPARE(PerformAction(-1), -1);
}

void tst_actions::commandState()
{
    QWidget Window;
    QAction* pHalt = MakeAction(&Window, "actionDebugHalt");
    LinkActions(&Window);
    int NumCalls = 0;
    connect(pHalt, &QAction::triggered, &Window, [&] { NumCalls++; });
    // Grey in the menu, but open to console and scripts.
    SetCommandState(ACT_DEBUG_HALT, true, false);
    QVERIFY(!pHalt->isEnabled());
    QCOMPARE(PerformAction(ACT_DEBUG_HALT), 0);
    QCOMPARE(NumCalls, 1);
    QVERIFY(!pHalt->isEnabled());
    SetCommandState(ACT_DEBUG_HALT, false, true);
    QCOMPARE(PerformAction(ACT_DEBUG_HALT), -1);
    QCOMPARE(NumCalls, 1);
    QCOMPARE(m_Errors, QStringList{"Debug.Halt: Command disabled"});
    // An action without a command is named by what it shows.
    QAction* pCursor = MakeAction(&Window, "actionSrcRunToCursor");
    pCursor->setText("&Run To && Stop...");
    LinkActions(&Window);
    pCursor->setEnabled(false); // the window's own switch
    QVERIFY(!IsCommandEnabled(ACT_SRC_RUN_TO_CURSOR));
    pCursor->setEnabled(true);
    QVERIFY(IsCommandEnabled(ACT_SRC_RUN_TO_CURSOR));
    SetCommandState(ACT_SRC_RUN_TO_CURSOR, false, true);
    QCOMPARE(PerformAction(ACT_SRC_RUN_TO_CURSOR), -1);
    QCOMPARE(m_Errors.last(), QStringLiteral("Run To & Stop: Command disabled"));
}

void tst_actions::greyCheckableAction()
{
    QWidget Window;
    QAction* pAction = MakeAction(&Window, "actionTerminalEchoInput");
    pAction->setCheckable(true);
    LinkActions(&Window);
    SetCommandState(ACT_TERMINAL_ECHO_INPUT, true, false);
    QList<bool> States;
    connect(pAction, &QAction::triggered, &Window, [&](bool On) { States.append(On); });
    PerformAction(ACT_TERMINAL_ECHO_INPUT);
    PerformAction(ACT_TERMINAL_ECHO_INPUT);
    QCOMPARE(States, (QList<bool>{true, false}));
}

void tst_actions::execute_data()
{
    QTest::addColumn<QString>("Line");
    QTest::addColumn<int>("Result");
    QTest::addColumn<QString>("Called"); // commands that ran, with their parameters
    QTest::addColumn<QString>("Error");
    const QString sHint = ". Type ? or help for a list of available commands.";
    QTest::newRow("command") << "file.open a.elf" << int(EXECUTE_DONE) << "File.Open (\"a.elf\");"
                             << "";
    QTest::newRow("old name") << "Edit.Preferences()" << int(EXECUTE_DONE) << "Tools.Preferences();"
                              << "";
    QTest::newRow("question mark") << "?" << int(EXECUTE_DONE) << "Help.Commands();"
                                   << "";
    QTest::newRow("help") << "HELP" << int(EXECUTE_DONE) << "Help.Commands();"
                          << "";
    QTest::newRow("unknown") << "Foo.Bar (1)" << int(EXECUTE_UNKNOWN) << ""
                             << "Foo.Bar (1): unknown command" + sHint;
    QTest::newRow("blank") << "  " << int(EXECUTE_UNKNOWN) << ""
                           << "unknown command" + sHint;
    QTest::newRow("disabled") << "debug.reset" << int(EXECUTE_DISABLED) << ""
                              << "Debug.Reset: Command disabled";
    QTest::newRow("window is closed") << "Debug.Halt" << int(EXECUTE_DONE) << ""
                                      << "";
}

void tst_actions::execute()
{
    QFETCH(QString, Line);
    QFETCH(int, Result);
    QFETCH(QString, Called);
    QFETCH(QString, Error);
    QWidget Window;
    QStringList Calls;
    for (const int Id : {ACT_FILE_OPEN, ACT_TOOLS_PREFERENCES, ACT_HELP_COMMANDS, ACT_DEBUG_RESET}) {
        QAction* pAction = MakeAction(&Window, GetActionRow(Id)->ObjectName);
        connect(pAction, &QAction::triggered, &Window, [&Calls, Id] {
            Calls.append(GetCommandText(Id));
            ClearAction(Id);
        });
    }
    LinkActions(&Window);
    SetCommandState(ACT_DEBUG_RESET, false, false);
    const U64 NumErrors = GetActionErrorCount();
    QCOMPARE(ExecuteCommand(Line), Result);
    QCOMPARE(Calls.join('|'), Called);
    QCOMPARE(m_Errors.join('|'), Error);
    QCOMPARE(GetActionErrorCount() != NumErrors, Called.isEmpty());
    QVERIFY(!HasActionParams(ACT_DEBUG_HALT));
}

void tst_actions::commandList()
{
    QWidget Window;
    for (const char* sName :
         {"actionFileOpen", "actionDebugHalt", "actionEditCopy", "actionWinClear", "actionBreakSetOnData"})
        MakeAction(&Window, sName);
    LinkActions(&Window);
    const QStringList List = GetCommandList();
    const QString sRule(150, '-');
    QCOMPARE(List.size(), 4 + 3); // neither the unlisted command nor the plain action
    QCOMPARE(List[0], sRule);
    QCOMPARE(List[1], QString());
    QCOMPARE(List[2].indexOf("Arguments"), 29);
    QCOMPARE(List[2].indexOf("Hotkey"), 56);
    QCOMPARE(List[2].indexOf("Description"), 76);
    QCOMPARE(List[3], sRule);
    QVERIFY(List[4].startsWith("Break.SetOnData"));
    QCOMPARE(List[5].mid(0, 29).trimmed(), "Debug.Halt");
    QCOMPARE(List[5].mid(56, 20).trimmed(), "Ctrl+F5");
    QCOMPARE(List[6].mid(29, 27).trimmed(), "File");
    QCOMPARE(List[6].mid(76), "Opens a document");
}

QTEST_MAIN(tst_actions)
#include "tst_actions.moc"
