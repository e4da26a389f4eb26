// Completion and help of the console: what is offered for a text, and the keys that a user presses.
#include "app/actions/actions.h"
#include "app/console/commandarguments.h"
#include "app/console/commandcompletion.h"
#include "app/console/commandhelp.h"
#include "app/console/completionpopup.h"
#include "app/console/consolewindow.h"
#include "app/services/mainthread.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QTemporaryDir>
#include <QTest>

namespace {
QStringList GetTexts(const COMPLETION& c)
{
    QStringList Texts;
    for (const COMPLETION_ITEM& Item : c.Items) Texts.append(Item.Text);
    return Texts;
}
} // namespace

class tst_consolecompletion : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void completed_data();
    void completed();
    void offered_data();
    void offered();
    void everyParameterHasAName();
    void manySymbols();
    void tab();
    void insideTheLine_data();
    void insideTheLine();
    void listWhileTyping();
    void enterRunsWhatWasTyped();
    void enterTakesTheChoice();
    void arrowsAndHistory();
    void escape();
    void hint();
    void mouse();
    void focusLost();
    void help();

private:
    CConsoleWindow& Console() { return CConsoleWindow::Get(); }
    void Type(const char* s) { QTest::keyClicks(m_pInput, s); }
    void Key(Qt::Key k, Qt::KeyboardModifiers m = Qt::NoModifier) { QTest::keyClick(m_pInput, k, m); }
    QStringList Flushed()
    {
        Console().Flush();
        return Console().GetLines();
    }

    QTemporaryDir m_Dir;
    QLineEdit* m_pInput = nullptr;
    CCompletionPopup* m_pPopup = nullptr;
};

void tst_consolecompletion::initTestCase()
{
    SetMainThread();
    InitSysVars();
    InitColorsAndFonts(QFont());
    ACTION_HOOKS Hooks;
    Hooks.PrintError = [this](const QString& sText, const QString& sError) {
        Console().PrintError(sText, sError);
    };
    SetActionHooks(Hooks);
    const QDir Dir(m_Dir.path());
    QVERIFY(Dir.mkpath("build/sub folder"));
    for (const char* s :
         {"build/app.elf", "build/app.map", "build/sub folder/x.bin", "project.bdebug", ".hidden"}) {
        QFile File(Dir.filePath(s));
        QVERIFY(File.open(QIODevice::WriteOnly));
    }
    COMPLETION_SOURCES Sources;
    Sources.FindSymbols = [](const QString& sPrefix, bool FunctionsOnly, int) {
        QStringList Names{"main", "Main_Init"};
        if (!FunctionsOnly) Names.append("MainState");
        return Names.filter(QRegularExpression('^' + sPrefix, QRegularExpression::CaseInsensitiveOption));
    };
    Sources.GetSourceFiles = [] { return QStringList{"main.c", "timer.c"}; };
    Sources.GetWindows = [] { return QStringList{"Call Stack", "Console"}; };
    Sources.ExpandPath = [](QString s) { return s.replace("$(ProjectDir)", "build"); };
    Sources.GetBaseFolder = [this] { return m_Dir.path(); };
    SetCompletionSources(Sources);
    Console().resize(600, 300);
    Console().show();
    Console().activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&Console()));
    m_pInput = Console().findChild<QLineEdit*>("lineEditInput");
    m_pPopup = Console().findChild<CCompletionPopup*>();
    QVERIFY(m_pInput && m_pPopup);
}

void tst_consolecompletion::init()
{
    Console().Clear();
    m_pInput->setFocus();
    Key(Qt::Key_Escape);
    m_pInput->clear();
    QVERIFY(!m_pPopup->isVisible());
}

void tst_consolecompletion::completed_data()
{
    QTest::addColumn<QString>("Text");
    QTest::addColumn<QString>("Completed");
    QTest::addColumn<int>("NumItems");
    const auto Row = [](const char* sText, const char* sCompleted, int NumItems) {
        QTest::newRow(sText) << sText << sCompleted << NumItems;
    };
    Row("debug.ha", "Debug.Halt", 1);
    Row("debug.st", "Debug.St", 5);
    Row("Debug.Step", "Debug.Step", 3);
    Row("  file.sa", "  File.Save", 3);
    Row("File.O", "File.Open", 2);
    Row("edit.sysvars", "Tools.SysVars", 1); // by its older name
    Row("stepov", "Debug.StepOver", 1);      // by what follows the family
    Row("SetOn", "SetOn", 4);                // several of these: nothing is certain
    Row("xyz", "xyz", 0);
    Row("Debug.SetResetMode (rm_r", "Debug.SetResetMode (RM_RESET_", 2);
    Row("Debug.SetConnectMode (RM_", "Debug.SetConnectMode (RM_", 0); // a constant of another command
    Row("Break.SetEx 0x100 bp_type_f", "Break.SetEx 0x100 BP_TYPE_FLASH", 1);
    Row("Break.SetEx 0x100   bp_type_f", "Break.SetEx 0x100   BP_TYPE_FLASH", 1);
    Row("Util.Log (Debug.Ha", "Util.Log (Debug.Ha", 0); // free text
    Row("Debug.Halt (", "Debug.Halt (", 0);
    Row("No.Such (m", "No.Such (m", 0);
    Row("Edit.SysVar (var_reset", "Edit.SysVar (VAR_RESET_MODE", 1);
    Row("Edit.SysVar (var_tab", "Edit.SysVar (var_tab", 0);
    Row("Edit.Preference (pref_tab", "Edit.Preference (PREF_TAB_SPACING", 1);
    Row("Edit.SysVar (VAR_ACCESS_WIDTH, h", "Edit.SysVar (VAR_ACCESS_WIDTH, HalfWord", 1);
    Row("Edit.SysVar VAR_RESET_MODE \"reset & r", "Edit.SysVar VAR_RESET_MODE \"Reset & Run\"", 1);
    Row("Edit.SysVar VAR_ACCESS_WIDTH au", "Edit.SysVar VAR_ACCESS_WIDTH \"Auto Access\"",
        1); // blanks need quotes
    Row("Edit.Color (COLOR_PC_ACTIVE, darkv", "Edit.Color (COLOR_PC_ACTIVE, \"darkviolet\"", 1);
    Row("Edit.Font font_con", "Edit.Font FONT_CONSOLE", 1);
    Row("Window.Show con", "Window.Show Console", 1);
    Row("Window.Show (cal", "Window.Show (\"Call Stack\"", 1);
    Row("Window.Show cal", "Window.Show \"Call Stack\"", 1);
    Row("Window.Show (\"cal", "Window.Show (\"Call Stack\"", 1);
    Row("Window.Show (\"Call Stack\"", "Window.Show (\"Call Stack\"", 0); // is complete
    Row("Find.Func mai", "Find.Func main", 2);
    Row("Find.Func (MAIN_", "Find.Func (\"Main_Init\"", 1);
    Row("Watch.Add (\"3 * mains", "Watch.Add (\"3 * MainState\"", 1);
    Row("Break.SetOnSrc tim", "Break.SetOnSrc timer.c:", 1);
    Row("File.Open build/app.e", "File.Open build/app.elf", 1);
    Row("File.Open (\"build/ap", "File.Open (\"build/app.", 2);
    Row("File.Open bu", "File.Open build/", 1);
    Row("File.Open build/sub", "File.Open \"build/sub folder/", 1); // the quote stays open
    Row("File.Open \"build/sub folder/x", "File.Open \"build/sub folder/x.bin\"", 1);
    Row("File.Open $(ProjectDir)/app.m", "File.Open $(ProjectDir)/app.map", 1);
    Row("Project.AddRootPath (p", "Project.AddRootPath (p", 0); // only folders
    Row("File.Open .h", "File.Open .hidden", 1);
    Row("help break.setone", "help break.setone", 0);
    Row("? util.logh", "? Util.LogHex", 1);
}

void tst_consolecompletion::completed()
{
    QFETCH(QString, Text);
    QFETCH(QString, Completed);
    QFETCH(int, NumItems);
    const COMPLETION c = CompleteCommand(Text);
    QCOMPARE((Text.left(c.Start) + c.Common).trimmed(), Completed.trimmed());
    QCOMPARE(c.Start + c.Length, int(Text.size()));
    QVERIFY2(int(c.Items.size()) == NumItems, qPrintable(GetTexts(c).join(' ')));
}

void tst_consolecompletion::offered_data()
{
    QTest::addColumn<QString>("Text");
    QTest::addColumn<QStringList>("Items");
    QTest::newRow("in the table's order")
        << "Debug.SetResetMode " << QStringList{"RM_RESET_HALT", "RM_BREAK_AT_SYMBOL", "RM_RESET_AND_RUN"};
    QTest::newRow("files") << "File.Open (" << QStringList{"build/", "project.bdebug"};
    QTest::newRow("words") << "Project.SetTargetIF (\"" << QStringList{"SWD", "JTAG", "cJTAG", "FINE"};
    QTest::newRow("a number") << "Target.FillMemory 0x20000000 " << QStringList();
    QTest::newRow("values of a switch")
        << "Edit.Preference (PREF_SHOW_TOOLTIPS, " << QStringList{"no", "yes"};
    QTest::newRow("a range has no list") << "Edit.Preference (PREF_CALLSTACK_DEPTH_LIMIT, " << QStringList();
    QTest::newRow("too many arguments") << "Debug.SetResetMode (0, " << QStringList();
    QTest::newRow("behind the bracket") << "Window.Show (\"Console\")" << QStringList();
}

void tst_consolecompletion::offered()
{
    QFETCH(QString, Text);
    QFETCH(QStringList, Items);
    QCOMPARE(GetTexts(CompleteCommand(Text)), Items);
}

void tst_consolecompletion::everyParameterHasAName()
{
    for (int Id = 0; Id < NUM_ACTIONS; Id++)
        for (int i = 0; i < GetParamCount(Id); i++)
            QVERIFY2(!GetArgumentName(Id, i).isEmpty() && !GetArgumentName(Id, i).contains(' '),
                     GetActionRow(Id)->Prototype);
    QCOMPARE(GetArgumentName(ACT_DEBUG_HALT, 0), QString());
}

void tst_consolecompletion::manySymbols()
{
    COMPLETION_SOURCES Sources;
    Sources.FindSymbols = [](const QString& sPrefix, bool, int Max) {
        QStringList Names;
        for (int i = 0; i < Max; i++) Names.append(sPrefix + "_same_" + QString::number(i));
        return Names;
    };
    SetCompletionSources(Sources);
    const COMPLETION c = CompleteCommand("Find.Func a");
    QCOMPARE(c.Common, "a"); // the list is cut, so nothing is known to be common
    QVERIFY(c.Items.size() < 1000);
    initTestCase();
}

void tst_consolecompletion::tab()
{
    Type("debug.ste");
    Key(Qt::Key_Tab);
    QCOMPARE(m_pInput->text(), "Debug.Step");
    QCOMPARE(m_pPopup->GetTexts(), (QStringList{"Debug.StepInto", "Debug.StepOut", "Debug.StepOver"}));
    QVERIFY(!m_pPopup->GetChosen());
    Key(Qt::Key_Tab); // adds nothing: walks through the list
    QCOMPARE(m_pInput->text(), "Debug.Step");
    QCOMPARE(m_pPopup->GetChosen()->Text, "Debug.StepInto");
    Key(Qt::Key_Backtab);
    QCOMPARE(m_pPopup->GetChosen()->Text, "Debug.StepOver");
    Key(Qt::Key_Tab); // takes the choice
    QCOMPARE(m_pInput->text(), "Debug.StepOver");
    QVERIFY(!m_pPopup->HasList());
    QVERIFY(m_pInput->hasFocus());
    // In the middle of a line the rest stays.
    m_pInput->setText("debug.ha (x)");
    m_pInput->setCursorPosition(8);
    Key(Qt::Key_Tab);
    QCOMPARE(m_pInput->text(), "Debug.Halt (x)");
    QCOMPARE(m_pInput->cursorPosition(), 10);
    Key(Qt::Key_Z, Qt::ControlModifier); // the line's undo knows about it
    QCOMPARE(m_pInput->text(), "debug.ha (x)");
}

void tst_consolecompletion::insideTheLine_data()
{
    QTest::addColumn<QString>("Line"); ///< the cursor is a bar
    QTest::addColumn<QString>("Completed");
    const auto Row = [](const char* sLine, const char* sCompleted) { QTest::newRow(sLine) << sLine << sCompleted; };
    Row("Window.Clo|se \"Console\"", "Window.Close| \"Console\"");
    Row("File.O|pen \"build/app.elf\"", "File.Open| \"build/app.elf\"");
    Row("stepov|", "Debug.StepOver|");
    Row("Debug.SetResetM| RM_RESET_HALT", "Debug.SetResetMode |RM_RESET_HALT"); // one blank stays one
    Row("Debug.SetResetM|Mode RM_RESET_HALT", "Debug.SetResetMode |Mode RM_RESET_HALT");
    Row("Debug.SetResetM|ode RM_RESET_HALT", "Debug.SetResetMode |RM_RESET_HALT"); // the rest of the word is its own
    Row("Debug.SetResetM|ODE RM_RESET_HALT", "Debug.SetResetMode |RM_RESET_HALT");
    Row("Debug.SetResetM|ode (RM_RESET_HALT)", "Debug.SetResetMode |(RM_RESET_HALT)");
    Row("Debug.SetResetMode (RM_RESET_H|, 2)", "Debug.SetResetMode (RM_RESET_HALT|, 2)");
    Row("Debug.SetResetMode (RM_RESET_H|ALT)", "Debug.SetResetMode (RM_RESET_HALT|)");
    Row("Window.Show (\"Cons|\")", "Window.Show (\"Console\"|)"); // one closing quote stays one
    Row("Window.Show (\"Cons|ole\")", "Window.Show (\"Console\"|)");
    Row("Window.SetDisplayFormat (\"Call|\", 16)", "Window.SetDisplayFormat (\"Call Stack\"|, 16)");
    Row("Window.SetDisplayFormat (\"Call S|tack\", 16)", "Window.SetDisplayFormat (\"Call Stack\"|, 16)");
}

void tst_consolecompletion::insideTheLine()
{
    QFETCH(QString, Line);
    QFETCH(QString, Completed);
    const int Cursor = int(Line.indexOf('|'));
    m_pInput->setText(QString(Line).remove('|'));
    m_pInput->setCursorPosition(Cursor);
    Key(Qt::Key_Tab);
    QCOMPARE(m_pInput->text().insert(m_pInput->cursorPosition(), '|'), Completed);
}

void tst_consolecompletion::listWhileTyping()
{
    Type("b");
    QVERIFY(!m_pPopup->isVisible());
    Type("reak.setont");
    QVERIFY(!m_pPopup->isVisible());
    m_pInput->clear();
    Type("debug.ste");
    QVERIFY(m_pPopup->HasList());
    QVERIFY(!m_pPopup->GetChosen());
    Type("pover");
    QVERIFY(!m_pPopup->HasList()); // what would be offered stands there
    m_pInput->clear();
    Type("Window.Show ");
    QCOMPARE(m_pPopup->GetTexts(), (QStringList{"Call Stack", "Console"}));
    Type("co");
    QCOMPARE(m_pPopup->GetTexts(), QStringList{"Console"});
    Key(Qt::Key_Backspace);
    Key(Qt::Key_Backspace);
    QCOMPARE(m_pPopup->GetTexts().size(), 2);
}

void tst_consolecompletion::enterRunsWhatWasTyped()
{
    Type("debug.ste");
    QVERIFY(m_pPopup->HasList());
    Key(Qt::Key_Return);
    QVERIFY(Flushed().value(0).startsWith("debug.ste: unknown command"));
    QCOMPARE(m_pInput->text(), QString());
    QVERIFY(!m_pPopup->isVisible());
}

void tst_consolecompletion::enterTakesTheChoice()
{
    Type("debug.ste");
    Key(Qt::Key_Down);
    Key(Qt::Key_Down);
    Key(Qt::Key_Return);
    QCOMPARE(m_pInput->text(), "Debug.StepOut"); // not run yet
    QCOMPARE(Flushed(), QStringList());
    QCOMPARE(Console().GetHistory().count("Debug.StepOut"), 0);
    Key(Qt::Key_Return);
    QCOMPARE(m_pInput->text(), QString());
    QCOMPARE(Console().GetHistory().value(0), "Debug.StepOut");
    // What was chosen stands there already: one key is enough.
    Type("Debug.StepInto");
    Key(Qt::Key_Space, Qt::ControlModifier);
    Key(Qt::Key_Down);
    QVERIFY(m_pPopup->GetChosen());
    Key(Qt::Key_Return);
    QCOMPARE(Console().GetHistory().value(0), "Debug.StepInto");
}

void tst_consolecompletion::arrowsAndHistory()
{
    Console().OnCommandEntered("old line");
    Type("debug.ste");
    QVERIFY(m_pPopup->HasList());
    Key(Qt::Key_Up); // the list opened by itself: the key is the history's
    QCOMPARE(m_pInput->text(), "old line");
    QVERIFY(!m_pPopup->isVisible());
    m_pInput->clear();
    Type("debug.st");
    Key(Qt::Key_Space, Qt::ControlModifier);
    Key(Qt::Key_Up); // the list was asked for
    QCOMPARE(m_pPopup->GetChosen()->Text, "Debug.Stop");
    Key(Qt::Key_PageUp);
    QCOMPARE(m_pPopup->GetChosen()->Text, "Debug.Start");
    Key(Qt::Key_PageDown);
    QCOMPARE(m_pPopup->GetChosen()->Text, "Debug.Stop");
    Key(Qt::Key_Down);
    QCOMPARE(m_pPopup->GetChosen()->Text, "Debug.Start");
    QCOMPARE(m_pInput->text(), "debug.st");
}

void tst_consolecompletion::escape()
{
    Type("debug.ste");
    QVERIFY(Console().IsEscKeyOpActive());
    Key(Qt::Key_Escape);
    QVERIFY(!m_pPopup->isVisible());
    QVERIFY(!Console().IsEscKeyOpActive());
    QCOMPARE(m_pInput->text(), "debug.ste");
    Type("p"); // and stays away while this line is typed
    QVERIFY(!m_pPopup->isVisible());
    Key(Qt::Key_Tab);
    QVERIFY(m_pPopup->HasList());
    Key(Qt::Key_Escape);
    Key(Qt::Key_Return);
    Type("debug.ste"); // the next line starts anew
    QVERIFY(m_pPopup->HasList());
}

void tst_consolecompletion::hint()
{
    Type("Break.SetEx ");
    QVERIFY(m_pPopup->isVisible() && !m_pPopup->HasList());
    QVERIFY(m_pPopup->GetHintText().contains("<b>unsigned int Addr</b>"));
    Type("0x100 ");
    QVERIFY(m_pPopup->GetHintText().contains("<b>int Type</b>"));
    QVERIFY(m_pPopup->GetHintText().contains("Sets a hardware or software breakpoint"));
    QVERIFY(m_pPopup->HasList());
    m_pInput->clear();
    Type("debug.ste");
    QCOMPARE(m_pPopup->GetHintText(), QString());
    Key(Qt::Key_Down);
    QVERIFY(m_pPopup->GetHintText().startsWith("Debug.StepInto ()"));
}

void tst_consolecompletion::mouse()
{
    Type("debug.ste");
    auto* pList = m_pPopup->findChild<QListWidget*>();
    QTest::mouseClick(pList->viewport(), Qt::LeftButton, {}, pList->visualItemRect(pList->item(1)).center());
    QCOMPARE(m_pInput->text(), "Debug.StepOut");
    QVERIFY(m_pInput->hasFocus());
}

void tst_consolecompletion::focusLost()
{
    Type("debug.ste");
    QVERIFY(m_pPopup->isVisible());
    Console().findChild<QWidget*>("textEditConsole")->setFocus();
    QVERIFY(!m_pPopup->isVisible());
}

void tst_consolecompletion::help()
{
    QCOMPARE(Console().ExecuteCommand("? file.open"), int(EXECUTE_DONE));
    QStringList Lines = Flushed();
    QCOMPARE(Lines.value(0), "File.Open (const char* sFileName)");
    QVERIFY(Lines.contains("    Opens a document") && Lines.contains("    Hotkey: Ctrl+O"));
    Console().Clear();
    QCOMPARE(Console().ExecuteCommand("HELP  Edit.SysVars"), int(EXECUTE_DONE)); // an older name
    Lines = Flushed();
    QCOMPARE(Lines.value(0), "Tools.SysVars ()");
    QVERIFY(Lines.contains("    Other name: Edit.SysVars"));
    Console().Clear();
    QCOMPARE(Console().ExecuteCommand("help no.such"), int(EXECUTE_UNKNOWN));
    QCOMPARE(Flushed(),
             QStringList{"help no.such: unknown command. Type ? or help for a list of available commands."});
}

QTEST_MAIN(tst_consolecompletion)
#include "tst_consolecompletion.moc"
