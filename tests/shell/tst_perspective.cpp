// The layout of the main window: what a first run shows, windows shown, closed, docked and floated by command and mouse,
// and what the settings bring back in the next run.
#include "mainwindowtest.h"
#include "app/actions/actions.h"
#include "app/console/consolewindow.h"
#include "app/services/cmdline.h"
#include "app/services/mainthread.h"
#include "app/services/messages.h"
#include "app/services/settingsstore.h"
#include "app/shell/mainwindow.h"
#include "app/shell/toolbar.h"
#include "device/queue/device.h"
#include "views/debug/registerwindow.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/dockwindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/modelviewwindow.h"
#include "views/framework/tableheader.h"
#include "views/theme/theme.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QImage>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScreen>
#include <QStatusBar>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <algorithm>

class tst_Perspective : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void firstRun();
    void registerWindowsComeAndGo();
    void closing();
    void dockAndUndock();
    void contextMenus();
    void toolBars();
    void clickOnTabGivesFocus();
    void draggedTabKeepsItsPlace();
    void overflowOfToolBars();
    void rowsOutliveTheirNewestWindow();
    void windowMenuByKeys();
    void smallAndLarge();
    void layoutOverRuns();
    void layoutFromElsewhere();

private:
    void Open();
    /// The tab bar that shows the window, and the place of its tab; null without one.
    static QTabBar* FindTab(const char* sName, int* pIndex)
    {
        for (QTabBar* pBar : CMainWindow::Get().findChildren<QTabBar*>(QString(), Qt::FindDirectChildrenOnly))
            for (int i = 0; i < pBar->count(); i++)
                if (pBar->isVisible() && pBar->tabText(i) == Dock(sName)->windowTitle()) {
                    *pIndex = i;
                    return pBar;
                }
        return nullptr;
    }
    static CWindow* Find(const char* sName) { return CMainWindow::Get().FindWindow(QLatin1String(sName), false); }
    static CDockWindow* Dock(const char* sName) { return Find(sName)->GetDock(); }
    static void Run(int Id, const QString& sParam = {})
    {
        if (sParam.isEmpty())
            ::PerformAction(Id);
        else
            ::PerformAction(Id, sParam);
        QApplication::processEvents();
    }

    QTemporaryDir m_Dir;
    QStringList m_Lines; ///< of the console
};

void tst_Perspective::Open()
{
    CMainWindow& Main = CMainWindow::Get();
    Main.show();
    QVERIFY(QTest::qWaitForWindowActive(&Main));
    QTest::qWait(50);
    CConsoleWindow::Get().SetTranscriptSink([this](const QString& sText, bool) { m_Lines += sText.split(u'\n'); });
}

void tst_Perspective::initTestCase()
{
    PrepareMainWindow(m_Dir.path(), QDialogButtonBox::No);
    Open();
}

void tst_Perspective::cleanupTestCase()
{
    CConsoleWindow::Get().SetTranscriptSink({});
    CMainWindow::Get().close();
    CMainWindow::Destroy();
}

void tst_Perspective::firstRun()
{
    CMainWindow& Main = CMainWindow::Get();
    QStringList Open;
    for (const CWindow* pWindow : Main.GetWindows())
        if (pWindow->GetDock() && pWindow->IsOpen()) Open.append(pWindow->GetName());
    Open.sort();
    QCOMPARE(Open, (QStringList{"Console", "Registers 1"}));
    for (int i = 0; i < NUM_TOOLBARS; i++)
        QCOMPARE(Main.GetToolBar(TOOLBAR_INDEX(i))->isVisible(), TOOLBARS[i].ShownAtFirst);
    QCOMPARE(Main.tabShape(), QTabWidget::Triangular);
    Run(ACT_WINDOW_SHOW, QStringLiteral("Local Data"));
    Run(ACT_WINDOW_SHOW, QStringLiteral("Call Stack"));
    int Index = -1;
    const QTabBar* pTabs = FindTab("Call Stack", &Index); // dressed before anything was clicked
    QVERIFY(pTabs && pTabs->isMovable() && pTabs->shape() == QTabBar::RoundedNorth && !pTabs->accessibleName().isEmpty());
    // The code has the middle and the most room.
    const QRect Code(Find("Source")->mapTo(&Main, QPoint()), Find("Source")->size());
    QVERIFY2(Code.width() * 2 >= Main.width() && Code.height() * 2 >= Main.height(), qPrintable(QStringLiteral("%1x%2").arg(Code.width()).arg(Code.height())));
    for (CWindow* pWindow : Main.GetWindows())
        if (pWindow->GetDock()) QVERIFY2(!pWindow->GetDock()->accessibleName().isEmpty() || !pWindow->GetDock()->windowTitle().isEmpty(), qPrintable(pWindow->GetName()));
}

void tst_Perspective::registerWindowsComeAndGo()
{
    CMainWindow& Main = CMainWindow::Get();
    const qsizetype NumWindows = Main.GetWindows().size();
    Run(ACT_WINDOW_SHOW, QStringLiteral("Registers")); // the first is open
    QVERIFY(Find("Registers 2"));
    QCOMPARE(Dock("Registers 2")->objectName(), QStringLiteral("Registers 2"));
    QVERIFY(Find("Registers 2")->HasFocus());
    Run(ACT_WINDOW_SHOW, QStringLiteral("Registers"));
    QVERIFY(Find("Registers 3"));
    Run(ACT_WINDOW_CLOSE, QStringLiteral("Registers 2"));
    QVERIFY(!Find("Registers 2"));
    Run(ACT_WINDOW_SHOW, QStringLiteral("Registers")); // a free name, though three were counted before
    QCOMPARE(Main.GetWindows().size(), NumWindows + 2);
    Run(ACT_WINDOW_CLOSE_ALL);
    QCOMPARE(Main.GetWindows().size(), NumWindows);
    CWindow* pLast = Main.GetSessionWindows().pRegisters;
    QVERIFY(pLast && !pLast->IsOpen());
    Run(ACT_WINDOW_SHOW, QStringLiteral("Registers")); // the last one was only hidden
    QCOMPARE(Main.GetWindows().size(), NumWindows);
    QVERIFY(pLast->IsOpen());
}

void tst_Perspective::closing()
{
    Run(ACT_WINDOW_SHOW, QStringLiteral("Console"));
    QVERIFY(Find("Console")->HasFocus());
    Dock("Console")->RequestClose(); // the button in the title
    QTRY_VERIFY(!Find("Console")->IsOpen());
    QTRY_VERIFY(Find("Source")->HasFocus());
    m_Lines.clear();
    Run(ACT_WINDOW_CLOSE, QStringLiteral("\"Source\""));
    QVERIFY2(m_Lines.filter(QStringLiteral("unknown")).isEmpty(), qPrintable(m_Lines.join(u'|')));
    QVERIFY(Find("Source")->IsVisible());
    Run(ACT_WINDOW_CLOSE, QStringLiteral("Nothing"));
    QTRY_VERIFY(!m_Lines.filter(QStringLiteral("unknown window")).isEmpty());
    Run(ACT_WINDOW_SHOW, QStringLiteral("\"Console\""));
    QVERIFY(Find("Console")->IsOpen());
}

void tst_Perspective::dockAndUndock()
{
    Run(ACT_WINDOW_SHOW, QStringLiteral("Console"));
    Run(ACT_WINDOW_UNDOCK);
    QVERIFY(Find("Console")->IsFloating());
    QVERIFY(Find("Console")->IsOpen());
    Run(ACT_WINDOW_SHOW, QStringLiteral("Console"));
    Run(ACT_WINDOW_DOCK);
    QVERIFY(!Find("Console")->IsFloating());
    QTRY_VERIFY(Find("Console")->HasFocus());
}

void tst_Perspective::contextMenus()
{
    CMainWindow& Main = CMainWindow::Get();
    // Texts of the menu that a right click opens.
    const auto RightClick = [](QWidget* pWidget, const QPoint& Pos) {
        QStringList Texts;
        QTimer::singleShot(0, pWidget, [&Texts] {
            auto* pMenu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!pMenu) return;
            for (const QAction* pAction : pMenu->actions()) Texts.append(pAction->text().remove(u'&'));
            pMenu->close();
        });
        QContextMenuEvent Event(QContextMenuEvent::Mouse, Pos, pWidget->mapToGlobal(Pos));
        QApplication::sendEvent(pWidget, &Event);
        QApplication::processEvents();
        pWidget->window()->activateWindow(); // no desktop here that would give the focus back
        return QTest::qWaitForWindowActive(pWidget->window()) ? Texts : QStringList{"the window stays inactive"};
    };
    const QStringList Docked{"Close Window", "Undock"}, Floating{"Close Window", "Dock"};
    Run(ACT_WINDOW_SHOW, QStringLiteral("Console"));
    Find("Source")->setFocus();
    QWidget* pTitle = Dock("Console")->titleBarWidget();
    QCOMPARE(RightClick(pTitle, QPoint(10, 5)), Docked);
    Run(ACT_WINDOW_UNDOCK); // works on the window of the title, wherever the focus was
    QVERIFY(Find("Console")->IsFloating());
    QCOMPARE(RightClick(pTitle, QPoint(10, 5)), Floating);
    Run(ACT_WINDOW_DOCK);
    QVERIFY(!Find("Console")->IsFloating());
    QCOMPARE(RightClick(Main.GetToolBar(TOOLBAR_DEBUG), QPoint(2, 2)), (QStringList{"Breakpoints", "Debug", "File", "View"}));
    QCOMPARE(RightClick(Main.statusBar(), QPoint(5, 5)), QStringList());
    // The title has one button, to close.
    QCOMPARE(pTitle->findChildren<QToolButton*>().size(), 1);
}

void tst_Perspective::toolBars()
{
    CMainWindow& Main = CMainWindow::Get();
    Run(ACT_TOOLBAR_SHOW, QStringLiteral("\"File\""));
    QVERIFY(Main.GetToolBar(TOOLBAR_FILE)->isVisible());
    QVERIFY(GetAction(ACT_TOOLBAR_SHOW_FILE)->isChecked());
    Run(ACT_TOOLBAR_CLOSE, QStringLiteral("File"));
    QVERIFY(!Main.GetToolBar(TOOLBAR_FILE)->isVisible());
    m_Lines.clear();
    Run(ACT_TOOLBAR_SHOW, QStringLiteral("file"));
    QTRY_VERIFY(!m_Lines.filter(QStringLiteral("unknown toolbar")).isEmpty());
}

void tst_Perspective::clickOnTabGivesFocus()
{
    CMainWindow& Main = CMainWindow::Get();
    for (const char* sName : {"Call Stack", "Local Data"}) Run(ACT_WINDOW_SHOW, QLatin1String(sName));
    Main.tabifyDockWidget(Dock("Call Stack"), Dock("Local Data"));
    QTest::qWait(20); // the toolkit makes the tab bar with the next layout
    Main.OnTabBarUpdateTimerTimeout();
    Find("Source")->setFocus();
    int Index = -1;
    QTabBar* pTabs = FindTab("Call Stack", &Index);
    QVERIFY(pTabs && pTabs->isMovable());
    QTest::mouseClick(pTabs, Qt::LeftButton, {}, pTabs->tabRect(Index).center());
    QTRY_VERIFY(Find("Call Stack")->HasFocus());
    QVERIFY(Find("Call Stack")->IsVisible());
    QVERIFY(Find("Local Data")->IsObscured());
}

void tst_Perspective::draggedTabKeepsItsPlace()
{
    CMainWindow& Main = CMainWindow::Get();
    const QList<const char*> Names{"Call Stack", "Local Data", "Disassembly"};
    for (const char* sName : Names) Run(ACT_WINDOW_SHOW, QLatin1String(sName));
    Main.tabifyDockWidget(Dock(Names[0]), Dock(Names[1]));
    Main.tabifyDockWidget(Dock(Names[1]), Dock(Names[2]));
    QTest::qWait(20);
    Main.OnTabBarUpdateTimerTimeout();
    int Index = -1;
    QTabBar* pTabs = FindTab("Disassembly", &Index);
    QVERIFY(pTabs);
    QCOMPARE(Index, 2);
    // By hand: press, a few moves to the left over both neighbours, release.
    const QPoint From = pTabs->tabRect(2).center(), To = pTabs->tabRect(0).center() - QPoint(20, 0);
    const auto Send = [pTabs](QEvent::Type Type, const QPoint& Pos, Qt::MouseButton Button, Qt::MouseButtons Down) {
        QMouseEvent Event(Type, Pos, pTabs->mapToGlobal(Pos), Button, Down, Qt::NoModifier);
        QApplication::sendEvent(pTabs, &Event);
    };
    Send(QEvent::MouseButtonPress, From, Qt::LeftButton, Qt::LeftButton);
    for (int i = 1; i <= 8; i++) Send(QEvent::MouseMove, From + (To - From) * i / 8, Qt::NoButton, Qt::LeftButton);
    Send(QEvent::MouseButtonRelease, To, Qt::LeftButton, Qt::NoButton);
    const auto GetIndex = [](const char* sName) {
        int At = -1;
        return FindTab(sName, &At) ? At : -1;
    };
    QTRY_COMPARE(GetIndex("Disassembly"), 0);
    QTRY_VERIFY(Find("Disassembly")->HasFocus());
    Main.resize(Main.size() - QSize(40, 40)); // the group is laid out anew
    QTest::qWait(50);
    QCOMPARE(GetIndex("Disassembly"), 0);
    QCOMPARE(GetIndex("Call Stack"), 1);
    QCOMPARE(GetIndex("Local Data"), 2);
    // And in the next run.
    Main.close();
    CMainWindow::Destroy();
    Open();
    QTRY_COMPARE(GetIndex("Disassembly"), 0);
    QCOMPARE(GetIndex("Call Stack"), 1);
    QCOMPARE(GetIndex("Local Data"), 2);
    QVERIFY(Find("Disassembly")->IsVisible()); // which was in front
}

void tst_Perspective::overflowOfToolBars()
{
    CMainWindow& Main = CMainWindow::Get();
    for (const char* sName : {"File", "Breakpoints", "View"}) Run(ACT_TOOLBAR_SHOW, QLatin1String(sName));
    const CToolBar* pBar = Main.GetToolBar(TOOLBAR_VIEW);
    const auto* pButton = pBar->findChild<QToolButton*>(QStringLiteral("qt_toolbar_ext_button"));
    QVERIFY(pButton);
    const QSize Before = Main.size();
    Main.resize(1280, 800);
    QTRY_VERIFY(!pButton->isVisible()); // all have room
    Main.GetToolBar(TOOLBAR_VIEW)->setMaximumWidth(400);
    QTRY_VERIFY(pButton->isVisible());
    QVERIFY(!pButton->accessibleName().isEmpty() && pButton->width() >= 24 && pBar->rect().contains(pButton->geometry()));
    // It can be seen: its strokes stand out from the ground as those of the other buttons do.
    const QImage Picture = const_cast<QToolButton*>(pButton)->grab().toImage();
    int Darkest = 255, Lightest = 0;
    for (int y = 0; y < Picture.height(); y++)
        for (int x = 0; x < Picture.width(); x++) {
            Darkest = std::min(Darkest, qGray(Picture.pixel(x, y)));
            Lightest = std::max(Lightest, qGray(Picture.pixel(x, y)));
        }
    QVERIFY2(Lightest - Darkest > 120, qPrintable(QString::number(Lightest - Darkest)));
    Main.GetToolBar(TOOLBAR_VIEW)->setMaximumWidth(QWIDGETSIZE_MAX);
    for (const char* sName : {"File", "Breakpoints", "View"}) Run(ACT_TOOLBAR_CLOSE, QLatin1String(sName));
    Main.resize(Before);
}

void tst_Perspective::rowsOutliveTheirNewestWindow()
{
    Run(ACT_WINDOW_SHOW, QStringLiteral("Registers 1"));
    Run(ACT_WINDOW_SHOW, QStringLiteral("Registers")); // all are open: a new one, which takes the rows over
    const CWindow* pNewest = CMainWindow::Get().GetWindows().last();
    QList<int> Rows;
    for (int Id = 0; Id < NUM_ACTIONS; Id++)
        if (GetAction(Id) && GetAction(Id)->parent() == pNewest) Rows.append(Id);
    QVERIFY(Rows.contains(ACT_WIN_CLEAR));
    Run(ACT_WINDOW_CLOSE, pNewest->GetName());
    QTest::qWait(20);
    for (const int Id : Rows) QVERIFY2(GetAction(Id), GetActionRow(Id)->ObjectName);
}

void tst_Perspective::windowMenuByKeys()
{
    CMainWindow& Main = CMainWindow::Get();
    Run(ACT_WINDOW_SHOW, QStringLiteral("Console"));
    QVERIFY(Find("Console")->HasFocus());
    QMenu* pMenu = Main.findChild<QMenu*>(QStringLiteral("menuWindow"));
    Main.menuBar()->setFocus(Qt::MenuBarFocusReason); // as Alt does
    Main.UpdateWindowMenu();
    QStringList Checked;
    for (const QAction* pAction : pMenu->actions())
        if (pAction->isChecked() && pAction->property("document").isNull()) Checked += pAction->data().toString();
    QCOMPARE(Checked, QStringList{"Console"});
    Find("Source")->setFocus();
    Main.UpdateWindowMenu();
    for (const QAction* pAction : pMenu->actions()) QVERIFY(!pAction->isChecked() || !pAction->property("document").isNull());
}

void tst_Perspective::smallAndLarge()
{
    CMainWindow& Main = CMainWindow::Get();
    for (const QSize Size : {QSize(1280, 800), QSize(3840, 2160), QSize(1280, 800)}) {
        Main.resize(Size);
        QTest::qWait(20);
        QCOMPARE(Main.size(), Size); // nothing forces it wider
        for (CWindow* pWindow : Main.GetWindows()) {
            if (pWindow == &Main || !pWindow->IsVisible()) continue;
            const QRect Place(pWindow->mapTo(&Main, QPoint()), pWindow->size());
            QVERIFY2(Main.rect().contains(Place), qPrintable(pWindow->GetName()));
        }
    }
}

void tst_Perspective::layoutOverRuns()
{
    Run(ACT_WINDOW_SHOW, QStringLiteral("Call Stack"));
    Run(ACT_WINDOW_CLOSE, QStringLiteral("Console"));
    Run(ACT_TOOLBAR_SHOW, QStringLiteral("Breakpoints"));
    auto* pStack = qobject_cast<CModelViewWindow*>(Find("Call Stack"));
    pStack->SetColumnWidth(0, 321);
    pStack->SetColumnVisible(2, false);
    Dock("Call Stack")->setFloating(true);
    Dock("Call Stack")->move(90000, 90000); // on a screen that has gone by the next run
    for (int i = 0; i < 2; i++) Run(ACT_WINDOW_SHOW, QStringLiteral("Registers"));
    Run(ACT_WINDOW_CLOSE, QStringLiteral("Registers 2")); // leaves a gap in the numbers
    qobject_cast<CModelViewWindow*>(Find("Registers 3"))->SetColumnWidth(0, 222);
    CMainWindow::Get().close();
    CMainWindow::Destroy();
    Open();
    QVERIFY(!Find("Console")->IsOpen());
    QVERIFY(CMainWindow::Get().GetToolBar(TOOLBAR_BREAKPOINTS)->isVisible());
    pStack = qobject_cast<CModelViewWindow*>(Find("Call Stack"));
    QCOMPARE(pStack->GetHeader()->sectionSize(0), 321);
    QVERIFY(pStack->GetHeader()->isSectionHidden(2));
    QVERIFY(pStack->IsFloating());
    QVERIFY(!Find("Registers 2"));
    QVERIFY(Find("Registers 3") && Find("Registers 3")->IsOpen());
    QCOMPARE(qobject_cast<CModelViewWindow*>(Find("Registers 3"))->GetHeader()->sectionSize(0), 222);
    QVERIFY(QGuiApplication::primaryScreen()->availableGeometry().intersects(Dock("Call Stack")->frameGeometry()));
}

void tst_Perspective::layoutFromElsewhere()
{
    CMainWindow::Get().close();
    CMainWindow::Destroy();
    CSettingsStore& Store = CSettingsStore::Get();
    for (const char* sKey : {"WindowState", "TableHeaderState/Call Stack"})
        Store.Write(QStringLiteral("AppData/Perspectives/Debug"), QLatin1String(sKey), QByteArray("no state at all"));
    Store.Write(QStringLiteral("AppData/MainWindow"), QStringLiteral("Geometry"), QByteArray(50, 'x'));
    Store.Write(QStringLiteral("AppData/Perspectives/Debug"), QStringLiteral("ExtraWindows"),
                QStringList{QStringLiteral("Registers 1"), QStringLiteral("Registers x"),
                            QStringLiteral("Nothing 2"), QString()});
    Open();
    QVERIFY(Find("Console")->IsOpen()); // the default layout
    QVERIFY(Find("Registers 1")->IsOpen());
    int NumRegisters = 0;
    for (const CWindow* pWindow : CMainWindow::Get().GetWindows())
        NumRegisters += pWindow->GetName().startsWith(QLatin1String("Registers"));
    QCOMPARE(NumRegisters, 1);
    QVERIFY(!qobject_cast<CModelViewWindow*>(Find("Call Stack"))->GetHeader()->isSectionHidden(2));
    // Of its own, with a few bytes changed: such a one the toolkit would walk through into foreign memory.
    for (int Damage = 0; Damage < 4; Damage++) {
        Run(ACT_WINDOW_CLOSE, QStringLiteral("Console"));
        CMainWindow::Get().close();
        CMainWindow::Destroy();
        for (const char* sKey : {"AppData/Perspectives/Debug/WindowState", "AppData/Perspectives/Debug/TableHeaderState/Call Stack",
                                 "AppData/MainWindow/Geometry"}) {
            QByteArray State = Store.Read(QLatin1String(sKey)).toByteArray();
            QVERIFY2(State.size() > 40, sKey);
            for (int i = 8 + Damage; i < State.size(); i += 11 + 5 * Damage) State[i] = char(~State[i]);
            Store.Write(QLatin1String(sKey), State);
        }
        Open();
        QVERIFY(Find("Console")->IsOpen() && Find("Registers 1")->IsOpen());
        QVERIFY(!qobject_cast<CModelViewWindow*>(Find("Call Stack"))->GetHeader()->isSectionHidden(2));
    }
}

QTEST_MAIN(tst_Perspective)
#include "tst_perspective.moc"
