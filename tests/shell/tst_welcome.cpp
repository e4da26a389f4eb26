// The welcome screen's answers, and the cache of source lines behind the disassembly.
#include "app/shell/sourcelines.h"
#include "app/shell/welcomescreen.h"

#include <QFile>
#include <QFontMetrics>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

class tst_Welcome : public QObject {
    Q_OBJECT

private slots:
    void Answers_data();
    void Answers();
    void Recent();
    void EnterClicksFocused();
    void SourceLines();
};

void tst_Welcome::Answers_data()
{
    QTest::addColumn<QString>("Button");
    QTest::addColumn<int>("Result");
    QTest::addColumn<QString>("Path");
    QTest::newRow("empty") << "buttonEmptyProject" << 0 << "";
    QTest::newRow("new") << "buttonNewProject" << 1 << "";
    QTest::newRow("open") << "buttonOpenProject" << 2 << "";
    QTest::newRow("the newest") << "buttonOpenRecent" << 3 << "/a/x&y.bdebug";
}

void tst_Welcome::Answers()
{
    QFETCH(QString, Button);
    CWelcomeScreen Screen({"/a/x&y.bdebug", "/b/z.bdebug"});
    auto* pButton = Screen.findChild<QToolButton*>(Button);
    QVERIFY(pButton);
    QVERIFY(pButton->minimumHeight() >= 3 * QFontMetrics(Screen.font()).height());
    pButton->click();
    QTEST(Screen.GetSelection().Result, "Result");
    QTEST(Screen.GetSelection().sPath, "Path");
}

void tst_Welcome::Recent()
{
    CWelcomeScreen Screen({"/a/x&y.bdebug", "/b/z.bdebug"});
    QMenu* pMenu = Screen.findChild<QToolButton*>("buttonOpenRecent")->menu();
    QCOMPARE(pMenu->actions().size(), 2);
    QCOMPARE(pMenu->actions()[0]->text(), QString("&1 /a/x&&y.bdebug"));
    pMenu->actions()[1]->trigger();
    QCOMPARE(Screen.GetSelection().Result, int(WELCOME_OPEN_RECENT));
    QCOMPARE(Screen.GetSelection().sPath, QString("/b/z.bdebug"));

    CWelcomeScreen Empty({});
    QVERIFY(!Empty.findChild<QToolButton*>("buttonOpenRecent")->isEnabled());
    Empty.OnButtonOpenRecentClicked();
    QCOMPARE(Empty.GetSelection().Result, int(WELCOME_EMPTY_PROJECT));
}

void tst_Welcome::EnterClicksFocused()
{
    CWelcomeScreen Screen({});
    Screen.show();
    Screen.activateWindow();
    auto* pNew = Screen.findChild<QToolButton*>("buttonNewProject");
    pNew->setFocus();
    QTRY_VERIFY(pNew->hasFocus());
    QTest::keyClick(&Screen, Qt::Key_Return);
    QTRY_VERIFY(!Screen.isVisible());
    QCOMPARE(Screen.GetSelection().Result, int(WELCOME_NEW_PROJECT));
}

void tst_Welcome::SourceLines()
{
    QTemporaryDir Dir;
    const QString sPath = Dir.filePath("a.c");
    QFile File(sPath);
    QVERIFY(File.open(QIODevice::WriteOnly));
    File.write("int a;\r\nint b;");
    File.close();
    CSourceLines& Lines = CSourceLines::Get();
    QCOMPARE(Lines.GetLine(sPath, 1), QString("int a;"));
    QCOMPARE(Lines.GetLine(sPath, 2), QString("int b;"));
    QCOMPARE(Lines.GetLine(sPath, 0), QString());
    QCOMPARE(Lines.GetLine(sPath, 3), QString());
    QCOMPARE(Lines.GetLine(Dir.filePath("none.c"), 1), QString());
}

QTEST_MAIN(tst_Welcome)
#include "tst_welcome.moc"
