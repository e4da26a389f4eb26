// The console window: what it shows of messages and actions, and the input line.
#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/console/consolewindow.h"
#include "app/console/messageplace.h"
#include "app/services/log.h"
#include "app/services/logfile.h"
#include "app/services/mainthread.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <thread>
#include <vector>

/// A window with a few actions, whose handlers only note what they were given.
class CTestWindow : public CWindow {
    Q_OBJECT
public:
    CTestWindow()
    {
        for (const int Id : {ACT_DEBUG_HALT, ACT_FILE_CLOSE, ACT_WATCH_ADD, ACT_FILE_LOAD, ACT_EDIT_COPY,
                             ACT_HELP_COMMANDS, ACT_BP_SET}) {
            QAction* pAction = AddAction(GetActionRow(Id)->ObjectName, "x");
            Connect(pAction, SIGNAL(triggered()), this, SLOT(OnAnyTriggered()));
        }
        ::LinkActions(this);
    }
    ~CTestWindow() override { ::UnlinkActions(this); }

    std::function<void(int Id)> Handler;

public slots:
    void OnAnyTriggered()
    {
        const int Id = GetActionId(qobject_cast<QAction*>(sender()));
        if (Handler) Handler(Id);
    }
};

class tst_console : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void lines();
    void drainLimit();
    void manyLines();
    void timeStampAlignment();
    void plainText();
    void colorsAndFonts();
    void logMessages();
    void logFile();
    void transcript();
    void clear();
    void inputLine();
    void selection();
    void activatedLines();
    void pastedLines();
    void enteredCommands();
    void echo();
    void echoOfErrors();
    void echoOnce();
    void fromWorkers();

private:
    CConsoleWindow& Console() { return CConsoleWindow::Get(); }
    QPlainTextEdit* Text() { return Console().findChild<QPlainTextEdit*>("textEditConsole"); }
    QStringList Flushed()
    {
        Console().Flush();
        return Console().GetLines();
    }
};

void tst_console::initTestCase()
{
    SetMainThread();
    InitSysVars();
    InitColorsAndFonts(QFont());
    QVERIFY(!CConsoleWindow::Exists());
    Console().resize(600, 300);
    Console().show();
    QVERIFY(CConsoleWindow::Exists());
    ::LinkActions(&Console());
    ACTION_HOOKS Hooks;
    Hooks.PrintError = [this](const QString& sText, const QString& sError) {
        Console().PrintError(sText, sError);
    };
    SetActionHooks(Hooks);
}

void tst_console::init()
{
    Console().Clear();
}

void tst_console::lines()
{
    Console().Print("one");
    Console().Print("");
    Console().Print("two\nthree\nfour");
    Console().PrintLines({"", "five"});
    QCOMPARE(Flushed(), (QStringList{"one", "two", "three", "four", "", "five"}));
    const QStringList Stamps = Console().GetSidebarLines();
    QCOMPARE(Stamps.size(), 6);
    QCOMPARE(Stamps[1], Stamps[3]);
    for (const QString& s : Stamps)
        QVERIFY(QRegularExpression("^(\\d+:)*\\d+\\.\\d{3} \\d{3}$").match(s).hasMatch());
    // An empty first line is a line too.
    Console().Clear();
    Console().PrintLines({"", "x"});
    QCOMPARE(Flushed(), (QStringList{"", "x"}));
    QCOMPARE(Console().GetSidebarLines().size(), 2);
}

void tst_console::drainLimit()
{
    for (int i = 0; i < CONSOLE_RING_SLOTS + 5; i++) Console().Print(QString::number(i));
    QVERIFY(Console().IsUpdatePending());
    Console().OnUpdateTimerTimeout();
    QCOMPARE(Console().GetLines().size(), 100);
    QVERIFY(Console().IsUpdatePending());
    QCOMPARE(Flushed().size(), CONSOLE_RING_SLOTS); // five were dropped
    QCOMPARE(Console().GetLines().last(), "999");
    Console().Print("later");
    QTRY_COMPARE(Console().GetLines().last(), "later");
    QTRY_VERIFY(!Console().IsUpdatePending());
}

/// The oldest lines go, in both columns alike.
void tst_console::manyLines()
{
    const int NumLines = CONSOLE_MAX_LINES + 7000;
    for (int i = 0; i < NumLines; i++) {
        Console().Print(QString::number(i));
        if (i % 900 == 899) Console().Flush();
    }
    const QStringList Lines = Flushed();
    QCOMPARE(Lines.size(), CONSOLE_MAX_LINES);
    QCOMPARE(Lines.last(), QString::number(NumLines - 1));
    QCOMPARE(Lines.first(), QString::number(NumLines - Lines.size()));
    QCOMPARE(Console().GetSidebarLines().size(), Lines.size());
}

void tst_console::timeStampAlignment()
{
    Console().SetSidebarVisible(true);
    Console().Print("normal\nsecond");
    Console().PrintLines({"fixed", ""});
    for (int i = 0; i < 60; i++) Console().Print(i % 2 ? "line" : QString::fromUtf8("\u4e2d \u0e01 other scripts"));
    Console().Flush();
    auto* pSidebar = Console().findChild<QPlainTextEdit*>("textEditSidebar");
    const auto GetTops = [](const QPlainTextEdit* pEdit) {
        QList<int> Tops;
        for (QTextBlock b = pEdit->document()->begin(); b.isValid(); b = b.next())
            Tops.append(pEdit->cursorRect(QTextCursor(b)).top());
        return Tops;
    };
    for (const auto Action : {QScrollBar::SliderToMaximum, QScrollBar::SliderToMinimum}) {
        Text()->verticalScrollBar()->triggerAction(Action);
        QCOMPARE(GetTops(Text()), GetTops(pSidebar));
    }
    Text()->verticalScrollBar()->triggerAction(QScrollBar::SliderToMaximum);
    QVERIFY(pSidebar->width() > 10);
    QVERIFY(Console().GetText().size() < 63);
    QCOMPARE(Console().GetText().last(), "line");
    Console().SetSidebarVisible(false);
}

void tst_console::plainText()
{
    Console().Print("<b>x</b> &lt;");
    QCOMPARE(Flushed(), QStringList{"<b>x</b> &lt;"});
}

void tst_console::colorsAndFonts()
{
    SetColor(COLOR_LOGGING_ERROR, 0xFF112233u);
    Console().Print("plain");
    Console().Print("green", QColor(0, 200, 0));
    Console().PrintError("File.Open (\"x\")", "file not found");
    Console().PrintLines({"fixed"});
    Console().Print("plain again");
    Console().Flush();
    const auto Format = [this](int i) {
        return Text()->document()->findBlockByNumber(i).begin().fragment().charFormat();
    };
    QVERIFY(!Format(0).hasProperty(QTextFormat::ForegroundBrush));
    QCOMPARE(Format(1).foreground().color(), QColor(0, 200, 0));
    QCOMPARE(Format(2).foreground().color(), QColor(0x11, 0x22, 0x33));
    QCOMPARE(Text()->document()->findBlockByNumber(2).text(), "File.Open (\"x\"): file not found");
    QVERIFY(!Format(0).hasProperty(QTextFormat::FontFamilies));
    QVERIFY(Format(3).hasProperty(QTextFormat::FontFamilies));
    QVERIFY(!Format(4).hasProperty(QTextFormat::FontFamilies));
    // A change of the table or the font reaches what is shown.
    SetColor(COLOR_LOGGING_ERROR, 0xFF445566u);
    QCOMPARE(Format(2).foreground().color(), QColor(0x44, 0x55, 0x66));
    const QFont OldFont = GetFont(FONT_CONSOLE);
    QFont Font = OldFont;
    Font.setPointSize(17);
    SetFont(FONT_CONSOLE, Font, false);
    QCOMPARE(Format(3).font().pointSize(), 17);
    QCOMPARE(Text()->font().pointSize(), 17);
    SetFont(FONT_CONSOLE, OldFont, false);
}

void tst_console::logMessages()
{
    const U64 NumErrors = Console().GetLogErrorCount();
    LogInfo("connected");
    LogWarning("goes nowhere without a log file");
    LogError("lost\n");
    Log("shown", MSG_WARNING | MSG_ALL);
    QCOMPARE(Flushed(), (QStringList{"Connected", "Lost", "Shown"}));
    QCOMPARE(Console().GetLogErrorCount(), NumErrors + 1);
}

void tst_console::logFile()
{
    QTemporaryDir Dir;
    Console().SetLogFile(Dir.filePath("console.log"));
    Console().Print("first\nsecond");
    Console().Print("third");
    Console().Flush();
    Console().SetLogFile("");
    Console().Print("after");
    Console().Flush();
    QFile File(Dir.filePath("console.log"));
    QVERIFY(File.open(QIODevice::ReadOnly));
    QCOMPARE(File.readAll(), QByteArray("first\nsecond\nthird\n"));
    QVERIFY(!IsLogFileOpen(LOG_SLOT_CONSOLE));
}

void tst_console::transcript()
{
    QStringList Lines;
    Console().SetTranscriptSink(
        [&](const QString& s, bool IsError) { Lines.append((IsError ? "E " : "  ") + s); });
    Console().PrintCommand("Debug.Halt();");
    Console().PrintError("Debug.Halt()", "not connected");
    Log("odd", MSG_WARNING | MSG_CONSOLE);
    Log("bad", MSG_ERROR | MSG_CONSOLE);
    QVERIFY(Lines.isEmpty());
    Console().Flush();
    Console().SetTranscriptSink(nullptr);
    QCOMPARE(Lines, (QStringList{"  Debug.Halt();", "E Debug.Halt(): not connected", "  Odd", "E Bad"}));
}

void tst_console::clear()
{
    Console().Print("shown");
    Console().Flush();
    Console().Print("unread");
    Console().Clear();
    QCOMPARE(Flushed(), QStringList());
    Console().Print("new");
    QCOMPARE(Flushed(), QStringList{"new"});
}

void tst_console::inputLine()
{
    auto* pInput = Console().findChild<QLineEdit*>("lineEditInput");
    const auto Type = [&](const char* s) { QTest::keyClicks(pInput, s); };
    const auto Key = [&](Qt::Key k) { QTest::keyClick(pInput, k); };
    Key(Qt::Key_Up); // nothing typed yet
    QCOMPARE(pInput->text(), QString());
    Type("no.such");
    Key(Qt::Key_Return);
    QCOMPARE(pInput->text(), QString());
    Type("other x");
    Key(Qt::Key_Enter);
    Key(Qt::Key_Return); // empty line
    QCOMPARE(Flushed(),
             (QStringList{"no.such: unknown command. Type ? or help for a list of available commands.",
                          "other x: unknown command. Type ? or help for a list of available commands.", ""}));
    QCOMPARE(Console().GetHistory(), (QStringList{"other x", "no.such"}));
    Key(Qt::Key_Up);
    QCOMPARE(pInput->text(), "other x");
    Key(Qt::Key_Up);
    QCOMPARE(pInput->text(), "no.such");
    Key(Qt::Key_Down);
    pInput->clear();
    // The page keys scroll what is above.
    for (int i = 0; i < 100; i++) Console().Print("line");
    Console().Flush();
    const QScrollBar* pBar = Text()->verticalScrollBar();
    QCOMPARE(pBar->value(), pBar->maximum());
    Key(Qt::Key_PageUp);
    QVERIFY(pBar->value() < pBar->maximum());
    Key(Qt::Key_PageDown);
    QCOMPARE(pBar->value(), pBar->maximum());
}

/// What somebody selects stays selected and in sight until it is let go.
void tst_console::activatedLines()
{
    const struct {
        const char *sText, *sPlace; // the place as "file|line"
    } ROWS[] = {
        {"Script.Exec syntax error at line 39. Check for valid command syntax", "|39"},
        {"Could not open file \"a b/x.hex\": file contains corrupt data record at line 7", "a b/x.hex|7"},
        {"File.Load (\"no.elf\"): mismatched tag in line 12", "no.elf|12"},
        {"src/main.c:17:5: changed", "src/main.c|17"},
        {"C:\\work\\main.cpp:8", "C:\\work\\main.cpp|8"},
        {"at line 0", ""},
        {"at line 99999999999999999999", ""},
        {"Connected to 127.0.0.1:2331", ""},
        {"12:30:05.001 Halted at 0x08001234", ""},
        {"", ""},
    };
    for (const auto& Row : ROWS) {
        const std::optional<MESSAGE_PLACE> Place = FindMessagePlace(Row.sText);
        QCOMPARE(Place ? QStringLiteral("%1|%2").arg(Place->sFile).arg(Place->Line) : QString(), QString(Row.sPlace));
    }
    for (const char* sLine : {"one", "error at line 2", "three"}) Console().Print(sLine);
    Console().Flush();
    QSignalSpy Lines(&Console(), &CConsoleWindow::LineActivated);
    Text()->setTextCursor(QTextCursor(Text()->document()->findBlockByNumber(1)));
    QTest::keyClick(Text(), Qt::Key_Return);
    const QPoint Third = Text()->cursorRect().center() + QPoint(0, Text()->cursorRect().height());
    QTest::mouseDClick(Text()->viewport(), Qt::LeftButton, {}, Third);
    QCOMPARE(Lines.size(), 2);
    QCOMPARE(Lines[0][0].toString(), "error at line 2");
    QCOMPARE(Lines[1][0].toString(), "three");
    QTextCursor Cursor = Text()->textCursor(); // the double click has selected a word, which holds the view
    Cursor.clearSelection();
    Text()->setTextCursor(Cursor);
}

void tst_console::selection()
{
    for (int i = 0; i < 100; i++) Console().Print(QStringLiteral("line %1").arg(i));
    Console().Flush();
    QScrollBar* pBar = Text()->verticalScrollBar();
    pBar->setValue(10);
    QTextCursor Cursor(Text()->document()->findBlockByNumber(12));
    Cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    Text()->setTextCursor(Cursor);
    const int Top = pBar->value();
    for (int i = 0; i < 500; i++) Console().Print("more");
    Console().Flush();
    QCOMPARE(Text()->textCursor().selectedText(), "line 12");
    QCOMPARE(pBar->value(), Top);
    // Lines that go above take the view with them.
    const int NumLines = CONSOLE_MAX_LINES - 600 + 5;
    for (int i = 0; i < NumLines; i++) {
        Console().Print("more");
        if (i % 900 == 899) Console().Flush();
    }
    Console().Flush();
    QCOMPARE(Text()->textCursor().selectedText(), "line 12");
    QCOMPARE(pBar->value(), Top - 5);
    // A command is entered to see what it says.
    auto* pInput = Console().findChild<QLineEdit*>("lineEditInput");
    QTest::keyClicks(Text(), "no.such"); // typing goes to the input line from here too
    QCOMPARE(pInput->text(), "no.such");
    QTest::keyClick(pInput, Qt::Key_Return);
    Console().Flush();
    QCOMPARE(pBar->value(), pBar->maximum());
}

void tst_console::pastedLines()
{
    CTestWindow Window;
    Console().AddCommandListener(&Window);
    auto* pInput = Console().findChild<QLineEdit*>("lineEditInput");
    bool IsBusy = true;
    Console().SetBusyCheck([&] { return IsBusy; });
    QApplication::clipboard()->setText("Debug.Halt();\r\n  // a comment\n\n\tFile.Load (\"a\", 1);\nDebug.");
    pInput->setFocus();
    QTest::keySequence(pInput, QKeySequence::Paste);
    QCOMPARE(pInput->text(), "Debug."); // the line that isn't ended waits for the user
    QTest::qWait(50);
    QCOMPARE(Flushed(), QStringList());
    QVERIFY(Console().IsUpdatePending());
    Window.Handler = [&](int) { IsBusy = true; };
    IsBusy = false;
    QTRY_COMPARE(Flushed(), QStringList{"Debug.Halt();"});
    QTest::qWait(50);
    QCOMPARE(Flushed().size(), 1);
    IsBusy = false;
    QTRY_COMPARE(Flushed().value(1), "File.Load (\"a\", 1);");
    QVERIFY(!Console().IsUpdatePending());
    QCOMPARE(pInput->text(), "Debug.");
    QCOMPARE(Console().GetHistory().mid(0, 2), (QStringList{"File.Load (\"a\", 1);", "Debug.Halt();"}));
    Console().SetBusyCheck({});
}

void tst_console::enteredCommands()
{
    CTestWindow Window;
    Console().AddCommandListener(&Window);
    QCOMPARE(Console().ExecuteCommand("debug.halt"), int(EXECUTE_DONE));
    QCOMPARE(Flushed(), QStringList{"Debug.Halt();"});
    Window.Handler = [this](int Id) {
        if (Id == ACT_HELP_COMMANDS) Console().PrintCommandHelp();
    };
    QCOMPARE(Console().ExecuteCommand("?"), int(EXECUTE_DONE));
    const QStringList Lines = Flushed();
    QCOMPARE(Lines[1], "Help.Commands();");
    QCOMPARE(Lines[2], QString(150, '-'));
    QCOMPARE(Lines[3], QString());
    QVERIFY(Lines.last().startsWith("Help.Commands"));
    const U64 NumErrors = Console().GetErrorCount();
    SetCommandState(ACT_DEBUG_HALT, false, true);
    QCOMPARE(Console().ExecuteCommand("Debug.Halt"), int(EXECUTE_DISABLED));
    QCOMPARE(Flushed().last(), "Debug.Halt: Command disabled");
    QCOMPARE(Console().GetErrorCount(), NumErrors + 1);
}

void tst_console::echo()
{
    CTestWindow Window;
    Console().AddCommandListener(&Window);
    QStringList During;
    Window.Handler = [&](int Id) {
        During = Flushed();
        if (Id == ACT_FILE_CLOSE) SetActionParams(Id, "chosen.c");
    };
    // Before the operation, with what it was called with.
    ::PerformAction(ACT_FILE_LOAD, "a.bin", "0x100");
    QCOMPARE(During, QStringList{"File.Load (\"a.bin\", 0x100);"});
    QCOMPARE(Flushed(), During);
    QVERIFY(!HasActionParams(ACT_FILE_LOAD));
    // After the operation, with what the handler made of it.
    Console().Clear();
    ::PerformAction(ACT_FILE_CLOSE);
    QCOMPARE(During, QStringList());
    QCOMPARE(Flushed(), QStringList{"File.Close (\"chosen.c\");"});
    // From a menu.
    Console().Clear();
    GetAction(ACT_DEBUG_HALT)->trigger();
    QCOMPARE(Flushed(), QStringList{"Debug.Halt();"});
    // Not listed, and a plain action.
    Console().Clear();
    ::PerformAction(ACT_WATCH_ADD, "x");
    ::PerformAction(ACT_BP_SET);
    QCOMPARE(Flushed(), QStringList());
    // Silent.
    Window.Handler = [](int Id) { SetActionSilent(Id); };
    ::PerformAction(ACT_FILE_CLOSE, "x");
    QCOMPARE(Flushed(), QStringList());
    QVERIFY(!IsActionSilent(ACT_FILE_CLOSE));
}

void tst_console::echoOfErrors()
{
    CTestWindow Window;
    Console().AddCommandListener(&Window);
    Window.Handler = [](int Id) {
        if (CheckParamCount(Id)) SetActionError(Id, ERR_FILE_NOT_FOUND, GetActionParams(Id).value(0));
    };
    Console().ExecuteCommand("File.Load a.bin");
    QCOMPARE(Flushed(),
             (QStringList{"File.Load (\"a.bin\");", "File.Load (\"a.bin\"): wrong parameter count"}));
    Console().Clear();
    Console().ExecuteCommand("File.Load (a.bin, 0)");
    QCOMPARE(Flushed().last(), "File.Load (\"a.bin\", 0): file not found: a.bin");
    QCOMPARE(GetActionError(ACT_FILE_LOAD), QString());
    // A command that isn't listed still tells its errors.
    Console().Clear();
    Window.Handler = [](int Id) { SetActionError(Id, ERR_UNKNOWN_SYMBOL); };
    ::PerformAction(ACT_WATCH_ADD, "x");
    QCOMPARE(Flushed(), QStringList{"Watch.Add (\"x\"): unknown symbol"});
}

void tst_console::echoOnce()
{
    {
        CTestWindow Window;
        Console().AddCommandListener(&Window);
        Console().AddCommandListener(&Window);
        ::PerformAction(ACT_DEBUG_HALT);
        QCOMPARE(Flushed().size(), 1);
        Console().RemoveCommandListener(&Window);
        ::PerformAction(ACT_DEBUG_HALT);
        QCOMPARE(Flushed().size(), 1);
        Console().AddCommandListener(&Window);
        ::PerformAction(ACT_DEBUG_HALT);
        QCOMPARE(Flushed().size(), 2);
    }
    // A closed window is no trouble: its commands do nothing and say nothing.
    QCOMPARE(Console().ExecuteCommand("Debug.Halt"), int(EXECUTE_DONE));
    QCOMPARE(Flushed().size(), 2);
}

void tst_console::fromWorkers()
{
    std::vector<std::thread> Threads;
    for (int t = 0; t < 3; t++) {
        Threads.emplace_back([this, t] {
            for (int i = 0; i < 100; i++) {
                LogInfo(QString("l%1").arg(t));
                Console().Print(QString("p%1").arg(t));
            }
        });
    }
    for (std::thread& t : Threads) t.join();
    QTRY_COMPARE(Console().GetLines().size(), 600);
    QCOMPARE(Console().GetLines().count("L1"), 100);
    QCOMPARE(Console().GetLines().count("p2"), 100);
}

QTEST_MAIN(tst_console)
#include "tst_console.moc"
