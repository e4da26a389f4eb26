// The action table in the main window: every row has its action, the menus hold what they shall, and keys
// reach the row that they belong to. Keys are pressed in the window system's way, so that all that stands
// before the dispatch is passed.
//
// With VANTREL_MENU_PICTURES set to a folder, pictures of all menus are left there.
#include "app/actions/actions.h"
#include "app/shell/commandtable.h"
#include "app/shell/documentsearch.h"
#include "app/shell/toolbar.h"
#include "testdata.h"
#include "tests/shell/mainwindowtest.h"
#include "views/debug/breakpointwindow.h"
#include "views/debug/disassemblywindow.h"
#include "views/debug/findbar.h"
#include "views/debug/sourceeditor.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/statusbar.h"
#include "views/theme/theme.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>

class tst_ActionsWindow : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void EveryRow();
    void Menus_data();
    void Menus();
    void AbsentCommands();
    void Keys_data();
    void Keys();
    void KeysOfFocusedWindow();
    void Escape();
    void Copy();
    void SaveByKey();
    void Search();

private:
    void Press(const QString& sKey) { m_Main.Press(sKey); }
    QStringList TakeLines() { return m_Main.TakeLines(); }

    CMainWindowTest m_Main;
    QLineEdit* m_pInput = nullptr;
};

void tst_ActionsWindow::initTestCase()
{
    QVERIFY(m_Main.Start());
    m_pInput = CConsoleWindow::Get().findChild<QLineEdit*>();
    QVERIFY(m_pInput);
}

void tst_ActionsWindow::cleanupTestCase()
{
    m_Main.Stop();
}

void tst_ActionsWindow::init()
{
    m_pInput->setFocus();
    m_pInput->clear();
    TakeLines();
}

void tst_ActionsWindow::EveryRow()
{
    for (int Id = 0; Id < NUM_ACTIONS; Id++) {
        const QAction* pAction = GetAction(Id);
        QVERIFY2(pAction, GetActionRow(Id)->ObjectName);
        QVERIFY2(!pAction->text().isEmpty(), GetActionRow(Id)->ObjectName);
        QCOMPARE(GetActionId(pAction), Id);
        if (!GetCommandName(Id).isEmpty()) QVERIFY2(GetCommandHandler(Id), GetActionRow(Id)->ObjectName);
    }
    QCOMPARE(GetUnknownActionNames(), QStringList());
}

void tst_ActionsWindow::Menus_data()
{
    QTest::addColumn<QString>("Text");
    QTest::addColumn<QString>("Entries");
    const auto Rows = ReadTable("menus.tsv");
    QCOMPARE(Rows.size(), 14);
    for (const QStringList& Row : Rows) QTest::newRow(qPrintable(Row[0])) << Row[1] << Row.value(2);
}

void tst_ActionsWindow::Menus()
{
    QFETCH(QString, Text);
    QFETCH(QString, Entries);
    auto* pMenu = CMainWindow::Get().findChild<QMenu*>(QTest::currentDataTag());
    QVERIFY(pMenu);
    QCOMPARE(pMenu->title(), Text);
    QStringList Names;
    for (const QAction* pAction : pMenu->actions())
        Names << (pAction->isSeparator() ? "---"
                  : pAction->menu()      ? pAction->menu()->objectName()
                                         : pAction->objectName());
    if (!Entries.isEmpty()) QCOMPARE(Names.join(' '), Entries);
    const QString sFolder = qEnvironmentVariable("VANTREL_MENU_PICTURES");
    if (sFolder.isEmpty()) return;
    for (const THEME_SCHEMES Scheme : {THEME_LIGHT, THEME_DARK}) {
        CTheme::SetScheme(Scheme);
        emit pMenu->aboutToShow();
        pMenu->adjustSize();
        QVERIFY(pMenu->grab().save(
            QStringLiteral("%1/%2_%3.png")
                .arg(sFolder, pMenu->objectName(), Scheme == THEME_DARK ? "dark" : "light")));
    }
    CTheme::SetScheme(THEME_LIGHT);
}

void tst_ActionsWindow::AbsentCommands()
{
    // The parameters are judged before the window is missed, and a menu doesn't offer what can only fail.
    const auto Run = [this](const char* sLine) {
        CConsoleWindow::Get().ExecuteCommand(sLine);
        return TakeLines().value(1);
    };
    QCOMPARE(Run("View.Memory"), QString()); // told by its state: there is no session
    QCOMPARE(Run("Profile.ExportCSV (\"a.csv\")"), "Profile.ExportCSV (\"a.csv\"): wrong parameter count");
    QCOMPARE(Run("Profile.ExportCSV (\"a.csv\", nothing)"),
             "Profile.ExportCSV (\"a.csv\", nothing): not a number");
    QCOMPARE(Run("Profile.ExportCSV (\"a.csv\", CSV_FUNCS)"),
             "Profile.ExportCSV (\"a.csv\", CSV_FUNCS): unknown window");
    QCOMPARE(GetActionResult(ACT_PROFILE_EXPORT_CSV), -1);
    QVERIFY(!GetAction(ACT_WINDOW_SHOW_TIMELINE)->isEnabled());
    QVERIFY(GetAction(ACT_WINDOW_SHOW_CONSOLE)->isEnabled());
    QVERIFY(!GetAction(ACT_TIMELINE_ZOOM_IN)->isEnabled());
}

void tst_ActionsWindow::Keys_data()
{
    QTest::addColumn<QString>("Key");
    QTest::addColumn<QStringList>("Lines");
    const QStringList Halt{"Debug.Halt: Command disabled"};
    QTest::newRow("hot key of a disabled command") << "Ctrl+F5" << Halt;
    QTest::newRow("the row's second hot key") << "F6" << Halt;
    QTest::newRow("the first of two that can't run") << "F5" << QStringList{"Debug.Start: Command disabled"};
    QTest::newRow("disabled, and consumed") << "Ctrl+S" << QStringList{"File.Save: Command disabled"};
    QTest::newRow("window that isn't there")
        << "Shift+Alt+N"
        << QStringList{"Window.Show (\"Timeline\");", "Window.Show (\"Timeline\"): unknown window"};
    QTest::newRow("old order of modifiers") << "Alt+Shift+C" << QStringList{"Window.Show (\"Console\");"};
    QTest::newRow("command without its window")
        << "Ctrl+H" << QStringList{"View.CallGraph();", "View.CallGraph(): wrong parameter count"};
    QTest::newRow("nobody's key") << "Ctrl+F11" << QStringList{};
    QTest::newRow("key of a window that isn't there") << "Ctrl+Shift+Right" << QStringList{};
    QTest::newRow("a letter is text") << "R" << QStringList{};
}

void tst_ActionsWindow::Keys()
{
    QFETCH(QString, Key);
    QFETCH(QStringList, Lines);
    Press(Key);
    QCOMPARE(TakeLines(), Lines);
    QCOMPARE(m_pInput->text(), QTest::currentDataTag() == QByteArray("a letter is text") ? "r" : "");
}

void tst_ActionsWindow::KeysOfFocusedWindow()
{
    const SESSION_WINDOWS& W = CMainWindow::Get().GetSessionWindows();
    Press("Shift+Alt+D");
    QCOMPARE(TakeLines(), QStringList{"Window.Show (\"Disassembly\");"});
    QVERIFY(W.pDisassembly->HasFocus());
    // "Go To PC" of the disassembly and of the source window share a key: the window with the focus has it.
    int NumAsm = 0, NumSrc = 0;
    const auto Asm = connect(GetAction(ACT_ASM_VIEW_PC), &QAction::triggered, this, [&] { NumAsm++; });
    const auto Src = connect(GetAction(ACT_SRC_VIEW_PC), &QAction::triggered, this, [&] { NumSrc++; });
    GetAction(ACT_ASM_VIEW_PC)->setEnabled(true);
    GetAction(ACT_SRC_VIEW_PC)->setEnabled(true);
    Press("Ctrl+P");
    QCOMPARE(NumAsm, 1);
    QCOMPARE(NumSrc, 0);
    Press("Shift+Alt+S");
    QVERIFY(W.pSource->HasFocus());
    Press("Ctrl+P");
    QCOMPARE(NumAsm, 1);
    QCOMPARE(NumSrc, 1);
    // From anywhere else the source window's row serves.
    m_pInput->setFocus();
    Press("Ctrl+P");
    QCOMPARE(NumSrc, 2);
    disconnect(Asm);
    disconnect(Src);
}

void tst_ActionsWindow::Escape()
{
    Press("Esc");
    CSourceWindow& Source = *CMainWindow::Get().GetSessionWindows().pSource;
    QVERIFY(Source.HasFocus());
    QCOMPARE(TakeLines(), QStringList());
    // What is selected or searched in the code doesn't keep the key from leading there.
    const QString sPath = m_Main.GetPath("esc.c");
    QFile File(sPath);
    QVERIFY(File.open(QIODevice::WriteOnly) && File.write("int a;\n") > 0);
    File.close();
    QVERIFY(Source.Open(sPath));
    CSourceEditor* pEditor = Source.GetEditor();
    Source.OpenFindBar("int");
    const auto* pBar = Source.findChild<CFindBar*>();
    pEditor->SelectText(QPoint(0, 0), 3);
    m_pInput->setFocus();
    Press("Esc");
    QVERIFY(pEditor->hasFocus() && pBar->isVisible() && pEditor->HasSelection());
    // There it ends one thing after the other.
    Press("Esc");
    QVERIFY(pEditor->hasFocus() && pBar->isHidden() && pEditor->HasSelection());
    Press("Esc");
    QVERIFY(pEditor->hasFocus() && !pEditor->HasSelection());
    CConsoleWindow::Get().ExecuteCommand("File.CloseAll");
    TakeLines();
    // It cancels work that takes long, once; work that nobody can cancel leaves the key its use.
    CStatusBar& Bar = CStatusBar::Get();
    for (const bool CanCancel : {true, false}) {
        m_pInput->setFocus();
        Bar.StartProgress(0, 100, CanCancel);
        Bar.Flush();
        QCOMPARE(Bar.findChild<QToolButton*>("buttonCancel")->isVisible(), CanCancel);
        Press("Esc");
        QCOMPARE(Bar.WasCanceled(), CanCancel);
        QCOMPARE(m_pInput->hasFocus(), CanCancel);
        Press("Esc");
        QVERIFY(Source.HasFocus());
        Bar.EndProgress();
        Bar.Flush();
    }
}

void tst_ActionsWindow::Copy()
{
    m_pInput->setText("break here");
    m_pInput->setSelection(0, 5);
    QApplication::clipboard()->setText("old");
    Press("Ctrl+C");
    QCOMPARE(QApplication::clipboard()->text(), "break");
    CConsoleWindow::Get().ExecuteCommand("Edit.Copy (\"a  b\")");
    QCOMPARE(QApplication::clipboard()->text(), "a  b");
    QCOMPARE(TakeLines(), QStringList());
}

void tst_ActionsWindow::SaveByKey()
{
    const QString sPath = m_Main.GetPath("text.c"), sOther = m_Main.GetPath("other.c");
    for (const QString& s : {sPath, sOther}) {
        QFile File(s);
        QVERIFY(File.open(QIODevice::WriteOnly) && File.write("int a;\n") > 0);
    }
    CSourceWindow& Source = *CMainWindow::Get().GetSessionWindows().pSource;
    QVERIFY(Source.Open(sOther) && Source.Open(sPath));
    Source.GetEditor()->setFocus();
    QVERIFY(!IsCommandEnabled(ACT_FILE_SAVE));
    Press("X");
    QVERIFY(IsCommandEnabled(ACT_FILE_SAVE) && IsCommandEnabled(ACT_FILE_SAVE_ALL));
    Source.SetCurrentTab(Source.GetTabNumber(sOther));
    QVERIFY(!IsCommandEnabled(ACT_FILE_SAVE) && IsCommandEnabled(ACT_FILE_SAVE_ALL));
    Source.SetCurrentTab(Source.GetTabNumber(sPath));
    Press("Ctrl+S");
    QCOMPARE(TakeLines(), QStringList{QStringLiteral("File.Save (\"%1\");").arg(sPath)});
    QVERIFY(!IsCommandEnabled(ACT_FILE_SAVE));
    QFile File(sPath);
    QVERIFY(File.open(QIODevice::ReadOnly));
    QCOMPARE(File.readAll(), "xint a;\n");
    // A tool button's command works on the cursor's line; no program knows this one.
    auto* pBar = CMainWindow::Get().GetToolBar(TOOLBAR_BREAKPOINTS);
    pBar->show();
    QTest::mouseClick(pBar->widgetForAction(GetAction(ACT_BREAK_SET_ON_SRC)), Qt::LeftButton);
    QCOMPARE(TakeLines(), (QStringList{"Break.SetOnSrc (\"text.c:1\");",
                                       "Break.SetOnSrc (\"text.c:1\"): invalid parameter"}));
    Press("Ctrl+Shift+F4");
    QCOMPARE(Source.GetFilePaths(), QStringList{sPath});
    Press("Ctrl+F4");
    QVERIFY(Source.IsEmpty());
    QCOMPARE(TakeLines().last(), QStringLiteral("File.Close (\"%1\");").arg(sPath));
}

void tst_ActionsWindow::Search()
{
    const QHash<QString, QString> Texts{{"a", "one\ntwo one\n"}, {"b", "none here"}, {"c", "x\nONE"}};
    const auto GetText = [&](const QString& sPath) { return Texts.value(sPath); };
    CDocumentSearch Search;
    QVERIFY(Search.Step(true, GetText).sPath.isEmpty());
    Search.Start("one", {"a", "b", "c"}, "a", QPoint(1, 0));
    QStringList Found;
    const auto Step = [&](bool Forward) {
        const SEARCH_MATCH m = Search.Step(Forward, GetText);
        Found << QStringLiteral("%1%2:%3").arg(m.sPath).arg(m.Pos.y()).arg(m.Pos.x());
    };
    for (int i = 0; i < 5; i++) Step(true);
    QCOMPARE(Found.join(' '), "a1:4 b0:1 c1:0 a0:0 a1:4");
    Found.clear();
    for (int i = 0; i < 4; i++) Step(false);
    QCOMPARE(Found.join(' '), "a0:0 c1:0 b0:1 a1:4");
    Search.Start("zero", {"a"}, "a", {});
    QVERIFY(Search.Step(true, GetText).sPath.isEmpty());
    Search.Start("x", {"c"}, "c", {});
    QCOMPARE(Search.Step(true, GetText).Length, 1);
    QCOMPARE(Search.Step(true, GetText).Length, 1); // the only match is found again
}

QTEST_MAIN(tst_ActionsWindow)
#include "tst_actions_window.moc"
