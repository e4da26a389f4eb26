// Windows and item models without a target.
#include "app/services/types.h"
#include "modelfaults.h"
#include "project/settings/sysvars.h"
#include "views/framework/dockwindow.h"
#include "views/framework/filterheaderview.h"
#include "views/framework/messagebox.h"
#include "views/framework/modelviewwindow.h"
#include "views/framework/sortfilter.h"
#include "views/framework/tableheader.h"
#include "views/framework/treeview.h"
#include "viewsenv.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

namespace {

/// Two levels: groups of counters. A read answers at once with the value that the test set.
class CCounterModel : public CTableModel {
public:
    explicit CCounterModel(int NumGroups) : CTableModel(nullptr, QStringLiteral("CounterDataModel"))
    {
        static constexpr TABLE_COLUMN aColumns[] = {
            {"Name", COLUMN_TEXT, 120}, {"Value", COLUMN_NUMERIC, 80}, {"Note", COLUMN_TEXT, 60}};
        SetColumns(aColumns, 3);
        for (int i = 0; i < NumGroups; i++)
            m_Groups.append({QStringLiteral("group %1").arg(i), {i * 10, i * 10 + 1}});
    }
    struct GROUP {
        QString sName;
        QList<int> Values;
    };
    QList<GROUP> m_Groups;
    int m_NumReads = 0;
    bool m_AnswerLater = false;

    int rowCount(const QModelIndex& Parent = {}) const override
    {
        if (!Parent.isValid()) return int(m_Groups.size());
        return Parent.internalId() < 1000 || Parent.column() > 0 ? 0
                                                                 : int(m_Groups[Parent.row()].Values.size());
    }
    QModelIndex index(int Row, int Column, const QModelIndex& Parent = {}) const override
    {
        if (Row < 0 || Row >= rowCount(Parent) || Column < 0 || Column >= columnCount()) return QModelIndex();
        return createIndex(Row, Column,
                           quintptr(Parent.isValid() ? 1 + Parent.row() * 10 + Row : 1000 + Row));
    }
    QModelIndex parent(const QModelIndex& Index) const override
    {
        if (!Index.isValid() || Index.internalId() >= 1000) return QModelIndex();
        const int Group = int((Index.internalId() - 1) / 10);
        return createIndex(Group, 0, quintptr(1000 + Group));
    }
    QString GetItemText(const QModelIndex& Index) const override
    {
        const bool IsGroup = Index.internalId() >= 1000;
        if (Index.column() == 0)
            return IsGroup ? m_Groups[Index.row()].sName : QStringLiteral("counter %1").arg(Index.row());
        if (Index.column() == 1) return QString::number(GetValue(Index));
        return QString();
    }
    QVariant data(const QModelIndex& Index, int Role = Qt::DisplayRole) const override
    {
        if (Index.isValid() && Role == ROLE_SORT_VALUE) return GetValue(Index);
        return CTableModel::data(Index, Role);
    }
    int GetValue(const QModelIndex& Index) const
    {
        return Index.internalId() >= 1000 ? m_Groups[Index.row()].Values.first()
                                          : m_Groups[Index.parent().row()].Values[Index.row()];
    }
    bool UpdateItem(const QModelIndex& Index) override
    {
        m_NumReads++;
        SetRole(Index, ROLE_READ_STATE, m_AnswerLater ? READ_STATE_PENDING : READ_STATE_VALID, false, true);
        return !m_AnswerLater;
    }
};

class CCounterWindow : public CModelViewWindow {
public:
    explicit CCounterWindow(int NumGroups = 3, bool WithFilterBar = false)
        : CModelViewWindow(nullptr, QStringLiteral("Counters"))
    {
        m_pCounters = new CCounterModel(NumGroups);
        SetFlag(WF_ACTIVATE_ON_HALT, true);
        SetView(new CTreeView, WithFilterBar);
        SetModel(m_pCounters);
        Init();
        LinkWindowActions();
    }
    bool IsChangeHighlighted(int Column) const override { return Column == 1; }
    void Update(U32 NewPC) override
    {
        m_Updates.append(NewPC);
        CModelViewWindow::Update(NewPC);
    }
    int GetLevel(int Row) const
    {
        return m_pCounters->GetStoredRole(m_pCounters->index(Row, 0), ROLE_CHANGE_LEVEL).toInt();
    }
    CCounterModel* m_pCounters;
    QList<U32> m_Updates;
};

/// Empty, with something to do about it.
class CAskingWindow : public CCounterWindow {
public:
    CAskingWindow() : CCounterWindow(0) {}
    QString GetEmptyWindowButtonText(DEBUG_STATES) const override { return QStringLiteral("Add"); }
    void OnEmptyWindowButtonClicked() override { m_NumClicks++; }
    int m_NumClicks = 0;
};

} // namespace

class tst_views_framework : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void modelKeepsItemModelRules();
    void updateFollowsPresentPcOnly();
    void hiddenWindowCatchesUp();
    void burstOfHaltsReadsOnce();
    void changeLevelsAge();
    void lostReadIsAskedAgain();
    void activationFollowsHaltAndResume();
    void actionsAreReportedBeforeAndAfter();
    void overlayTellsWhyEmpty();
    void overlayButtonAnswersMouseAndKeys();
    void gridLinesHaveTheirColor();
    void sortingKeepsPinnedAndEqualStable();
    void filterTexts_data();
    void filterTexts();
    void filterBarFilters();
    void headerStateText();
    void attributesSurviveReset();
    void textOfTree();
    void sessionLine();
    void windowNames();
    void displayFormats();
    void itemFormatIsTicked();
    void dropsAreTheWindowsOwn();
    void parseValues_data();
    void parseValues();

private:
    CTestTarget m_Target;
};

void tst_views_framework::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("VantrelTest"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_views"));
    InitViewsForTest();
}

void tst_views_framework::init()
{
    m_Target = CTestTarget();
    m_Target.Install();
    CMessageBox::SetInterceptor({});
    CMessageBox::ResetMemory();
}

void tst_views_framework::modelKeepsItemModelRules()
{
    CCounterWindow Window;
    CModelFaults Faults;
    QAbstractItemModelTester Source(Window.GetModel(),
                                    QAbstractItemModelTester::FailureReportingMode::Warning);
    QAbstractItemModelTester Proxy(Window.GetSortFilter(),
                                   QAbstractItemModelTester::FailureReportingMode::Warning);
    Window.SetSortingEnabled(true);
    Window.SetSortColumn(1, Qt::DescendingOrder);
    Window.GetSortFilter()->SetFilterText(0, QStringLiteral("group"));
    Window.m_pCounters->BeginReset();
    Window.m_pCounters->m_Groups.append({QStringLiteral("group x"), {7}});
    Window.m_pCounters->EndReset();
    QCOMPARE(Window.GetNumRows(), 4);
    QCOMPARE(Faults.Get(), QStringList());
    // A cell of any column answers with the key of its row.
    const QModelIndex Cell = Window.GetModel()->index(1, 2);
    QCOMPARE(Cell.data(ROLE_ITEM_KEY), Cell.siblingAtColumn(0).data(ROLE_ITEM_KEY));
    QVERIFY(Cell.data(ROLE_ITEM_KEY) != Window.GetModel()->index(0, 2).data(ROLE_ITEM_KEY));
}

void tst_views_framework::updateFollowsPresentPcOnly()
{
    CCounterWindow Window;
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    m_Target.Connected = m_Target.Halted = true;
    m_Target.PC = 0x1002;
    Window.OnDeviceStepped(0x1000); // a later step has moved the PC on
    QVERIFY(Window.m_Updates.isEmpty());
    Window.OnDeviceStepped(0x1003); // the Thumb bit doesn't make another instruction
    QCOMPARE(Window.m_Updates, QList<U32>{0x1003});
    m_Target.PC = ADDR_NONE;
    Window.OnDeviceHaltDone(ADDR_NONE, HR_HALT);
    QCOMPARE(Window.m_Updates.size(), 2);
}

void tst_views_framework::hiddenWindowCatchesUp()
{
    QMainWindow Main;
    auto* pDock = new CDockWindow(&Main);
    auto* pWindow = new CCounterWindow;
    pDock->SetWindow(pWindow);
    connect(pDock, &CDockWindow::visibilityChanged, pWindow, &CWindow::VisibilityChanged);
    Main.addDockWidget(Qt::LeftDockWidgetArea, pDock);
    auto* pOtherDock = new CDockWindow(&Main);
    pOtherDock->SetWindow(new CCounterWindow);
    Main.addDockWidget(Qt::LeftDockWidgetArea, pOtherDock);
    Main.tabifyDockWidget(pDock, pOtherDock);
    Main.resize(400, 300);
    Main.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Main));
    pOtherDock->raise();
    QTRY_VERIFY(pWindow->IsObscured());
    QVERIFY(pWindow->IsOpen());
    QVERIFY(!pWindow->IsVisible());
    m_Target.Connected = m_Target.Halted = true;
    m_Target.PC = 0x2000;
    pWindow->m_Updates.clear();
    pWindow->OnDeviceHaltDone(0x2000, HR_HALT);
    QVERIFY(pWindow->m_Updates.isEmpty());
    pWindow->SetUpdateMode(WIN_UPDATE_WHEN_OPEN);
    pWindow->OnDeviceHaltDone(0x2000, HR_HALT);
    QCOMPARE(pWindow->m_Updates.size(), 1);
    pWindow->m_Updates.clear();
    pDock->raise();
    QTRY_VERIFY(pWindow->IsVisible());
    QTRY_VERIFY(pWindow->m_Updates.contains(0x2000u));
}

void tst_views_framework::burstOfHaltsReadsOnce()
{
    CCounterWindow Window;
    Window.resize(400, 300);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    QTRY_VERIFY(!Window.IsUpdatePending());
    m_Target.Connected = m_Target.Halted = true;
    m_Target.PC = 0x100;
    Window.m_pCounters->m_NumReads = 0;
    for (int i = 0; i < 5; i++) Window.OnDeviceHaltDone(0x100, HR_HALT);
    QVERIFY(Window.IsUpdatePending());
    QTRY_VERIFY(!Window.IsUpdatePending());
    QTRY_COMPARE(Window.m_pCounters->m_NumReads, 3); // one for each row on the screen
    // While a step is under way nothing is read: its own report brings the update.
    m_Target.StepPending = true;
    Window.m_pCounters->ClearRole(ROLE_READ_STATE);
    Window.m_pCounters->m_NumReads = 0;
    Window.UpdateItems();
    QCOMPARE(Window.m_pCounters->m_NumReads, 0);
}

void tst_views_framework::changeLevelsAge()
{
    CCounterWindow Window;
    Window.resize(400, 300);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    m_Target.Connected = m_Target.Halted = true;
    m_Target.PC = 0x100;
    auto Step = [&Window](int NewValue) {
        Window.m_pCounters->m_Groups[0].Values[0] = NewValue;
        Window.OnDeviceStepped(0x100);
        Window.UpdateItems();
        return Window.GetLevel(0);
    };
    Window.SetCurrentItem(Window.m_pCounters->index(2, 0)); // the current row has colours of its own
    QCOMPARE(Step(5), int(CHANGE_LEVEL_NONE));              // the first value is no change
    QCOMPARE(Step(6), 1);
    QCOMPARE(Window.GetItemTextColor(Window.m_pCounters->index(0, 1)), GetColor(COLOR_CHANGE_LEVEL_1_FG));
    QCOMPARE(Step(6), 2);
    QCOMPARE(Window.GetItemTextColor(Window.m_pCounters->index(0, 1)), GetColor(COLOR_CHANGE_LEVEL_2_FG));
    QCOMPARE(Step(6), 3);
    QCOMPARE(Step(6), 4);
    QCOMPARE(Window.GetItemTextColor(Window.m_pCounters->index(0, 1)), qApp->palette().color(QPalette::Text));
    QCOMPARE(Step(7), 1);
    Window.OnDeviceResumeDone(RESUME_NORMAL); // a run wipes the marks of the run before
    QCOMPARE(Window.GetLevel(0), 4);
}

void tst_views_framework::lostReadIsAskedAgain()
{
    CCounterWindow Window;
    Window.resize(400, 300);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    QTRY_VERIFY(!Window.IsUpdatePending());
    Window.m_pCounters->m_AnswerLater = true;
    Window.m_pCounters->ClearRole(ROLE_READ_STATE);
    Window.UpdateItems();
    const int NumReads = Window.m_pCounters->m_NumReads;
    Window.UpdateItems();
    QCOMPARE(Window.m_pCounters->m_NumReads, NumReads); // pending reads aren't repeated
    Window.OnWatchdogTimerTimeout();
    QCOMPARE(Window.m_pCounters->m_NumReads, NumReads + 3);
}

void tst_views_framework::activationFollowsHaltAndResume()
{
    CCounterWindow Window;
    m_Target.Connected = m_Target.Halted = true;
    m_Target.PC = 0x10;
    QSignalSpy Spy(&Window, SIGNAL(ActivationChanged(bool)));
    Window.OnDeviceHaltDone(0x10, HR_HALT);
    QVERIFY(Window.IsActive());
    QVERIFY(!(Window.GetModel()->index(0, 0).flags() & ITEM_FLAGS_STALE));
    Window.OnDeviceResumeDone(RESUME_NORMAL);
    QVERIFY(Window.IsActive()); // not before the delay, so that a step doesn't flicker
    Window.OnDeviceHaltDone(0x10, HR_HALT);
    QTest::qWait(600);
    QVERIFY(Window.IsActive());
    Window.OnDeviceResumeDone(RESUME_NORMAL);
    QTRY_VERIFY(!Window.IsActive());
    QVERIFY(Window.GetModel()->index(0, 0).flags() & ITEM_FLAGS_STALE);
    QCOMPARE(Spy.size(), 2);
}

void tst_views_framework::actionsAreReportedBeforeAndAfter()
{
    CCounterWindow Window;
    QStringList Order;
    connect(&Window, &CWindow::ActionTriggered, this,
            [&Order](QAction* pAction) { Order.append(QStringLiteral("before ") + pAction->objectName()); });
    connect(&Window, &CWindow::ActionPerformed, this,
            [&Order](QAction* pAction) { Order.append(QStringLiteral("after ") + pAction->objectName()); });
    auto* pHex = Window.findChild<QAction*>(QStringLiteral("actionWinSetDisplayFormatHex"));
    QVERIFY(pHex);
    pHex->trigger();
    QCOMPARE(Order, (QStringList{QStringLiteral("before actionWinSetDisplayFormatHex"),
                                 QStringLiteral("after actionWinSetDisplayFormatHex")}));
    QCOMPARE(m_Target.Commands.size(), 1);
    QCOMPARE(m_Target.Commands[0].first, QStringLiteral("Window.SetDisplayFormat"));
    QCOMPARE(m_Target.Commands[0].second,
             (QStringList{QStringLiteral("Counters"), QStringLiteral("DISPLAY_FORMAT_HEX")}));
    QCOMPARE(Window.GetDisplayFormat(), int(DISPLAY_FORMAT_AUTO)); // only the command changes it
    Window.SetDisplayFormat(DISPLAY_FORMAT_HEX);
    QCOMPARE(Window.GetDisplayFormat(), int(DISPLAY_FORMAT_HEX));
    QVERIFY(pHex->isChecked());
    Window.Disconnect(pHex, SIGNAL(triggered()), &Window, SLOT(OnActionSetDispFormTriggered()));
    Order.clear();
    pHex->trigger();
    QVERIFY(Order.isEmpty());
    QCOMPARE(m_Target.Commands.size(), 1);
}

void tst_views_framework::overlayTellsWhyEmpty()
{
    CCounterWindow Window(0);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    auto* pOverlay = Window.findChild<QFrame*>(QStringLiteral("buttonFrame"));
    auto* pLabel = pOverlay->findChild<QLabel*>();
    auto GetText = [&] {
        Window.repaint();
        return pOverlay->isVisible() ? pLabel->text() : QString();
    };
    QCOMPARE(GetText(), QStringLiteral("No target connection"));
    m_Target.Connected = true;
    QCOMPARE(GetText(), QStringLiteral("Program running"));
    m_Target.Halted = true;
    QCOMPARE(GetText(), QStringLiteral("No data"));
    QCOMPARE(Window.GetText(), QStringList{QStringLiteral("No data")});
    QCOMPARE(pLabel->minimumHeight(), QFontMetrics(Window.font()).height() + 19);
    QVERIFY(Window.GetView()->isHidden());
    Window.m_pCounters->BeginReset();
    Window.m_pCounters->m_Groups.append({QStringLiteral("new"), {1}});
    Window.m_pCounters->EndReset();
    QVERIFY(Window.GetView()->isVisible());
    QCOMPARE(GetText(), QString());
}

void tst_views_framework::overlayButtonAnswersMouseAndKeys()
{
    CAskingWindow Window;
    Window.show();
    Window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&Window));
    Window.repaint();
    Window.setFocus();
    QCOMPARE(QApplication::focusWidget(), &Window); // what is hidden can't have it
    QCOMPARE(Window.accessibleName(), QStringLiteral("Counters"));
    QCOMPARE(Window.accessibleDescription(), QStringLiteral("No target connection"));
    const auto* pButton = Window.findChild<QFrame*>(QStringLiteral("buttonFrame"))->findChild<QPushButton*>();
    QTest::mouseClick(&Window, Qt::LeftButton, {}, pButton->mapTo(&Window, pButton->rect().center()));
    QCOMPARE(Window.m_NumClicks, 1);
    for (const Qt::Key Key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) QTest::keyClick(&Window, Key);
    QCOMPARE(Window.m_NumClicks, 4);
    QTest::keyClick(&Window, Qt::Key_A);
    QCOMPARE(Window.m_NumClicks, 4);
}

void tst_views_framework::gridLinesHaveTheirColor()
{
    CCounterWindow Window;
    Window.resize(300, 200);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    const QRect Cell = Window.GetView()->visualRect(Window.GetSortFilter()->index(0, 1));
    const auto GetPixel = [&](QPoint Pos) { return Window.GetView()->viewport()->grab().toImage().pixelColor(Pos); };
    const QPoint Under(Cell.center().x(), Cell.bottom()), Beside(Cell.left() - 1, Cell.top() + 2);
    const U32 Line = 0xFF12B456;
    QVERIFY(GetPixel(Under).rgba() != Line);
    SetColor(COLOR_TABLE_GRID_LINES, Line, false);
    QCOMPARE(GetPixel(Under).rgba(), Line);
    QCOMPARE(GetPixel(Beside).rgba(), Line);
    ResetColor(COLOR_TABLE_GRID_LINES);
    QVERIFY(GetPixel(Under).rgba() != Line);
}

void tst_views_framework::sortingKeepsPinnedAndEqualStable()
{
    CCounterWindow Window;
    Window.m_pCounters->m_Groups = {
        {QStringLiteral("b"), {5}}, {QStringLiteral("a"), {5}}, {QStringLiteral("c"), {1}}};
    Window.m_pCounters->Reset();
    Window.SetSortingEnabled(true);
    auto GetNames = [&Window] {
        QString sNames;
        for (int i = 0; i < 3; i++) sNames += Window.GetSortFilter()->index(i, 0).data().toString();
        return sNames;
    };
    Window.SetSortColumn(1, Qt::AscendingOrder);
    QCOMPARE(GetNames(), QStringLiteral("cab")); // equal values fall to the names
    Window.SetSortColumn(1, Qt::AscendingOrder);
    QCOMPARE(GetNames(), QStringLiteral("cab"));
    Window.SetSortColumn(0, Qt::DescendingOrder);
    QCOMPARE(GetNames(), QStringLiteral("cba"));
    Window.SetSortingEnabled(false);
    QCOMPARE(GetNames(), QStringLiteral("bac"));
}

void tst_views_framework::filterTexts_data()
{
    QTest::addColumn<QString>("sCell");
    QTest::addColumn<QString>("sFilter");
    QTest::addColumn<int>("Pos");
    QTest::newRow("anywhere") << "UART_Init"
                              << "art" << 1;
    QTest::newRow("both ends") << "UART_Init"
                               << "*init*" << 5;
    QTest::newRow("starts, yes") << "UART_Init"
                                 << "uart*" << 0;
    QTest::newRow("starts, no") << "UART_Init"
                                << "init*" << -1;
    QTest::newRow("ends, yes") << "UART_Init"
                               << "*INIT" << 5;
    QTest::newRow("ends, no") << "UART_Init"
                              << "*uart" << -1;
    QTest::newRow("beyond ASCII") << QStringLiteral("\u00C4nderung") << QStringLiteral("\u00E4N") << 0;
    QTest::newRow("folds to ASCII") << QStringLiteral("5 \u212A") << "k" << 2;
    QTest::newRow("star") << "x"
                          << "*" << 0;
    QTest::newRow("empty cell") << ""
                                << "a" << -1;
}

void tst_views_framework::filterTexts()
{
    QFETCH(QString, sCell);
    QFETCH(QString, sFilter);
    QFETCH(int, Pos);
    QCOMPARE(int(CTextMatch(sFilter).Find(sCell)), Pos);
}

void tst_views_framework::filterBarFilters()
{
    CCounterWindow Window(12, true);
    Window.resize(500, 300);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    QVERIFY(!Window.GetFilterView()->IsBarShown());
    Window.SetFlag(WF_FILTER_BAR, true);
    QVERIFY(Window.GetFilterView()->IsBarShown());
    QTest::keyClicks(Window.GetFilterView()->GetEditor(0), QStringLiteral("group 1"));
    QTRY_COMPARE(Window.GetNumRows(), 3); // 1, 10, 11
    QTest::keyClicks(Window.GetFilterView()->GetEditor(1), QStringLiteral("100..100"));
    QTRY_COMPARE(Window.GetNumRows(), 1);
    QCOMPARE(Window.GetText(), QStringList{QStringLiteral("group 10\t100\t")});
    QTest::keyClick(Window.GetFilterView()->GetEditor(0), Qt::Key_Escape);
    Window.GetFilterView()->ClearAllFilters();
    QCOMPARE(Window.GetNumRows(), 12);
    SetVar(PREF_FILTER_BARS_DISABLED, 1, false);
    Window.SetPreference(PREF_FILTER_BARS_DISABLED, 1);
    QVERIFY(!Window.GetFilterView()->IsBarShown());
    SetVar(PREF_FILTER_BARS_DISABLED, 0, false);
}

void tst_views_framework::headerStateText()
{
    CCounterWindow Window;
    Window.SetSortingEnabled(true);
    CTableHeader* pHeader = Window.GetHeader();
    pHeader->SetSectionVisible(2, false);
    Window.SetSortColumn(1, Qt::DescendingOrder);
    const QString sState = pHeader->GetStateText();
    QVERIFY2(sState.startsWith(QLatin1String(
                 "SortCol=Value, SortOrder=DESCENDING, VisibleCols=[\"Name\";\"Value\"], ColWidths=[")),
             qPrintable(sState));
    CCounterWindow Other;
    Other.SetSortingEnabled(true);
    QCOMPARE(Other.GetHeader()->SetStateText(QStringLiteral(
                 "SortCol=Name, SortOrder=descending, VisibleCols=[\"Value\";\"Name\"], ColWidths=[200;5]")),
             4);
    QVERIFY(Other.GetHeader()->isSectionHidden(2));
    QCOMPARE(Other.GetHeader()->logicalIndex(0), 1);
    QCOMPARE(Other.GetHeader()->sectionSize(1), 27); // too narrow to grab otherwise
    QCOMPARE(Other.GetHeader()->sortIndicatorOrder(), Qt::DescendingOrder);
    Other.GetHeader()->SetStateText(QStringLiteral("SortCol=None"));
    QCOMPARE(Other.GetHeader()->GetSetting(QStringLiteral("SortCol")), QStringLiteral("None"));
    Other.GetHeader()->SetStateText(QStringLiteral("SortCol=Name"));
    // Garbage from a file changes nothing.
    QCOMPARE(Other.GetHeader()->SetStateText(QStringLiteral("VisibleCols=[\"None of them\"], Foo=1, ,=,")),
             1);
    QVERIFY(!Other.GetHeader()->isSectionHidden(0));
}

void tst_views_framework::attributesSurviveReset()
{
    CCounterWindow Window;
    Window.resize(400, 300);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    Window.GetView()->SetExpanded(Window.MapToView(Window.m_pCounters->index(1, 0)), true);
    Window.m_pCounters->SetRole(Window.m_pCounters->index(1, 0), ROLE_DISPLAY_FORMAT, DISPLAY_FORMAT_HEX,
                                false, true);
    Window.SetCurrentItem(Window.m_pCounters->index(2, 0));
    Window.BackupState(0);
    Window.m_pCounters->BeginReset();
    Window.m_pCounters->m_Groups.prepend({QStringLiteral("first"), {1}});
    Window.m_pCounters->EndReset();
    Window.RestoreState(0);
    QVERIFY(Window.IsItemExpanded(Window.m_pCounters->index(2, 0))); // the same group, one row down
    QVERIFY(!Window.IsItemExpanded(Window.m_pCounters->index(1, 0)));
    QCOMPARE(Window.GetItemDisplayFormat(Window.m_pCounters->index(2, 0)), int(DISPLAY_FORMAT_HEX));
    QCOMPARE(Window.GetItemDisplayFormat(Window.m_pCounters->index(1, 0)), int(DISPLAY_FORMAT_AUTO));
    QCOMPARE(Window.GetCurrentItem().row(), 3);
}

void tst_views_framework::textOfTree()
{
    CCounterWindow Window(2);
    QCOMPARE(Window.GetText(),
             (QStringList{QStringLiteral("group 0\t0\t"), QStringLiteral("group 1\t10\t")}));
    Window.ExpandAll();
    QCOMPARE(Window.GetText().size(), 6);
    Window.CollapseAll();
    Window.SetColumnVisible(2, false);
    const QStringList Expected{QStringLiteral("group 0\t0"),      QStringLiteral("  counter 0\t0"),
                               QStringLiteral("  counter 1\t1"),  QStringLiteral("group 1\t10"),
                               QStringLiteral("  counter 0\t10"), QStringLiteral("  counter 1\t11")};
    QCOMPARE(Window.GetText(1), Expected);
    Window.m_pCounters->m_AnswerLater = true;
    QVERIFY(Window.PrepareText(0)); // reads for rows that no screen shows
    QCOMPARE(Window.m_pCounters->m_NumReads, 2);
}

void tst_views_framework::sessionLine()
{
    QMainWindow Main;
    auto* pDock = new CDockWindow(&Main);
    auto* pWindow = new CCounterWindow;
    pDock->SetWindow(pWindow);
    pWindow->SetName(QStringLiteral("Memory 1"));
    Main.addDockWidget(Qt::RightDockWidgetArea, pDock);
    Main.resize(600, 400);
    Main.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Main));
    const QString sLine = pWindow->MakeSessionLine({});
    QVERIFY2(sLine.startsWith(QLatin1String("OpenWindow=\"Memory 1\", DockArea=RIGHT, x=0, y=0, w=")),
             qPrintable(sLine));
    QVERIFY2(sLine.endsWith(QLatin1String(", FilterBarShown=0")), qPrintable(sLine));
    // A line under the window's old name finds it; settings it doesn't know are skipped.
    const QStringList Lines{
        QStringLiteral("OpenWindow=\"Other\", x=9"),
        QStringLiteral(
            "OpenWindow=\"Memory Content1\", DockArea=bottom, x=1, w=333, FilterBarShown=1, Bogus=2")};
    QCOMPARE(pWindow->FindSessionLine(Lines), 1);
    QCOMPARE(pWindow->ApplySessionLine(Lines), 5);
    QCOMPARE(pWindow->GetUserSettingValue(USER_SETTING_DOCK_AREA, true), int(DOCK_AREA_BOTTOM));
    QVERIFY(pWindow->TestFlag(WF_FILTER_BAR));
    // With the layout frozen the line keeps what the file held.
    SetVar(PREF_SESSION_SAVE_FLAGS, 1, false);
    QVERIFY(pWindow->MakeSessionLine(Lines).contains(QLatin1String("DockArea=bottom, x=1")));
    SetVar(PREF_SESSION_SAVE_FLAGS, 0, false);
    pDock->hide();
    QVERIFY(pWindow->MakeSessionLine(Lines).contains(QLatin1String("DockArea=BOTTOM, x=1, y=0, w=333")));
}

void tst_views_framework::windowNames()
{
    CWindow Window(nullptr, QStringLiteral("Break & Tracepoints"));
    QVERIFY(Window.IsMatched(QStringLiteral("Break & Tracepoints")));
    QVERIFY(Window.IsMatched(QStringLiteral("Breakpoints")));
    QVERIFY(!Window.IsMatched(QStringLiteral("breakpoints")));
    QCOMPARE(Window.GetAliasNames().size(), 5);
    QCOMPARE(Window.GetUserSettingValue(100, true), 0);
    QVERIFY(!Window.SetUserSetting(QStringLiteral("Nothing"), QStringLiteral("1")));
}

void tst_views_framework::displayFormats()
{
    QCOMPARE(FormatValue(0x2A, DISPLAY_FORMAT_AUTO, 8), QStringLiteral("0x0000002A"));
    QCOMPARE(FormatValue(5, DISPLAY_FORMAT_BINARY, 8), QStringLiteral("0b00000101"));
    QCOMPARE(FormatValue(65, DISPLAY_FORMAT_CHAR), QStringLiteral("'A'"));
    QCOMPARE(FormatValue(7, DISPLAY_FORMAT_CHAR), QStringLiteral("7"));
    QCOMPARE(FormatValue(~U64(0), DISPLAY_FORMAT_DEC), QStringLiteral("18446744073709551615"));
    QCOMPARE(FindDisplayFormat(QStringLiteral("\"display_format_dec\"")), int(DISPLAY_FORMAT_DEC));
    QCOMPARE(FindDisplayFormat(QStringLiteral("HEX")), -1);
}

void tst_views_framework::itemFormatIsTicked()
{
    class CMenuWindow : public CCounterWindow {
    public:
        QString GetTicked(const QModelIndex& Index)
        {
            QMenu Menu;
            SetCurrentItem(Index);
            AddCommonMenuEntries(&Menu, Index);
            for (const QAction* pAction : Menu.actions())
                if (pAction->text() == QLatin1String("Displa&y As"))
                    for (const QAction* pEntry : pAction->menu()->actions())
                        if (pEntry->isChecked()) return pEntry->text();
            return {};
        }
    } Window;
    const QModelIndex Cell = Window.m_pCounters->index(1, 1);
    QCOMPARE(Window.GetTicked(Cell), QStringLiteral("De&fault"));
    Window.findChild<QAction*>(QStringLiteral("actionDisplayAsBinary"))->trigger();
    QCOMPARE(Window.GetItemDisplayFormat(Cell), int(DISPLAY_FORMAT_BINARY));
    QCOMPARE(Window.GetTicked(Cell), QStringLiteral("&Binary"));
    QCOMPARE(Window.GetTicked(Window.m_pCounters->index(0, 1)), QStringLiteral("De&fault"));
}

void tst_views_framework::dropsAreTheWindowsOwn()
{
    class CDropWindow : public CCounterWindow {
    public:
        void OnDragDrop(QDropEvent* pEvent) override { m_sDropped = pEvent->mimeData()->text(); }
        QString m_sDropped;
    } Window;
    QMimeData Text;
    Text.setText(QStringLiteral("Counter + 1"));
    QMimeData Other;
    Other.setData(QStringLiteral("image/png"), "x");
    const auto Drop = [&Window](const QMimeData& Data) {
        QWidget* pViewport = Window.GetView()->viewport();
        QDragEnterEvent Enter(QPoint(5, 5), Qt::CopyAction, &Data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(pViewport, &Enter);
        if (!Enter.isAccepted()) return false;
        QDragMoveEvent Move(QPoint(6, 6), Qt::CopyAction, &Data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(pViewport, &Move);
        QDropEvent Event(QPointF(6, 6), Qt::CopyAction, &Data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(pViewport, &Event);
        return Move.isAccepted();
    };
    QVERIFY(!Drop(Text)); // its view takes none
    Window.GetView()->setDragDropMode(QAbstractItemView::DropOnly);
    QVERIFY(!Drop(Other));
    QVERIFY(Drop(Text));
    QCOMPARE(Window.m_sDropped, Text.text());
}

void tst_views_framework::parseValues_data()
{
    QTest::addColumn<QString>("sText");
    QTest::addColumn<int>("Radix");
    QTest::addColumn<bool>("Ok");
    QTest::addColumn<quint64>("Value");
    QTest::newRow("hex prefix") << "0x1F" << 10 << true << quint64(31);
    QTest::newRow("hex radix") << "1F" << 16 << true << quint64(31);
    QTest::newRow("binary") << "0b1010" << 16 << true << quint64(10);
    QTest::newRow("blocks") << QStringLiteral("0xDEAD") + QChar(0x2008) + QStringLiteral("BEEF") << 10 << true
                            << quint64(0xDEADBEEF);
    QTest::newRow("negative") << "-1" << 10 << true << ~quint64(0);
    QTest::newRow("char") << "'A'" << 10 << true << quint64(65);
    QTest::newRow("too big") << "0x10000000000000000" << 10 << false << quint64(0);
    QTest::newRow("word") << "abc" << 10 << false << quint64(0);
    QTest::newRow("empty") << "" << 10 << false << quint64(0);
    QTest::newRow("two signs") << "--1" << 10 << false << quint64(0);
}

void tst_views_framework::parseValues()
{
    QFETCH(QString, sText);
    QFETCH(int, Radix);
    QFETCH(bool, Ok);
    QFETCH(quint64, Value);
    const CCounterModel Model(1);
    U64 Parsed = 0;
    QCOMPARE(Model.ParseValue(sText, Radix, Parsed), Ok);
    QCOMPARE(quint64(Parsed), Value);
}

QTEST_MAIN(tst_views_framework)
#include "tst_views_framework.moc"
