// Large and foreign tables in item windows: order and filter against a plain computation, export, header state, icons.
#include "modelfaults.h"
#include "views/framework/filterheaderview.h"
#include "views/framework/modelviewwindow.h"
#include "views/framework/sortfilter.h"
#include "views/framework/tableexport.h"
#include "views/framework/tableheader.h"
#include "views/framework/treeview.h"
#include "views/theme/icons.h"
#include "viewsenv.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDirIterator>
#include <QLineEdit>
#include <QPainter>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <numeric>

namespace {

struct ROW {
    QString sName;
    QVariant Value;
    bool Pinned = false;
};

class CRowModel : public CTableModel {
public:
    explicit CRowModel(QList<ROW> Rows) : CTableModel(nullptr, QStringLiteral("RowDataModel")), m_Rows(std::move(Rows))
    {
        static constexpr TABLE_COLUMN COLUMNS[] = {{"Name", COLUMN_TEXT, 120}, {"Value", COLUMN_NUMERIC, 80}};
        SetColumns(COLUMNS, 2);
    }
    int rowCount(const QModelIndex& Parent = {}) const override { return Parent.isValid() ? 0 : int(m_Rows.size()); }
    QString GetItemText(const QModelIndex& Index) const override
    {
        const ROW& Row = m_Rows[Index.row()];
        return Index.column() == 0 ? Row.sName : Row.Value.toString();
    }
    QVariant data(const QModelIndex& Index, int Role) const override
    {
        if (Index.isValid() && Role == ROLE_PINNED) return m_Rows[Index.row()].Pinned;
        if (Index.isValid() && Role == ROLE_SORT_VALUE) return Index.column() == 1 ? m_Rows[Index.row()].Value : QVariant();
        if (Index.isValid() && Role == Qt::CheckStateRole && m_HasChecks && Index.column() == 0)
            return m_Rows[Index.row()].Pinned ? Qt::Checked : Qt::Unchecked;
        return CTableModel::data(Index, Role);
    }
    void Insert(int Row, const QList<ROW>& Rows)
    {
        beginInsertRows({}, Row, Row + int(Rows.size()) - 1);
        for (int i = 0; i < Rows.size(); i++) m_Rows.insert(Row + i, Rows[i]);
        endInsertRows();
    }
    void Remove(int Row, int Count)
    {
        beginRemoveRows({}, Row, Row + Count - 1);
        m_Rows.remove(Row, Count);
        endRemoveRows();
    }
    void Reverse()
    {
        emit layoutAboutToBeChanged();
        const QModelIndexList Old = persistentIndexList();
        QModelIndexList New;
        for (const QModelIndex& Index : Old)
            New.append(index(int(m_Rows.size()) - 1 - Index.row(), Index.column()));
        std::reverse(m_Rows.begin(), m_Rows.end());
        changePersistentIndexList(Old, New);
        emit layoutChanged();
    }
    QList<ROW> m_Rows;
    bool m_HasChecks = false; ///< pinned rows are the checked ones
};

class CRowWindow : public CModelViewWindow {
public:
    explicit CRowWindow(const QList<ROW>& Rows, bool WithFilterBar = false)
        : CModelViewWindow(nullptr, QStringLiteral("Rows")), m_pRows(new CRowModel(Rows))
    {
        SetView(new CTreeView, WithFilterBar);
        SetIndentation(0);
        SetModel(m_pRows);
        Init();
        SetSortingEnabled(true);
    }
    QList<int> GetOrder() const
    {
        QList<int> Order;
        for (int i = 0; i < GetNumRows(); i++) Order.append(MapToSource(GetSortFilter()->index(i, 0)).row());
        return Order;
    }
    CRowModel* m_pRows;
};

/// Names that share their beginning, differ in case only, repeat; values of both signs that repeat; a few pinned rows.
QList<ROW> MakeRows(int NumRows, bool AsDouble)
{
    QList<ROW> Rows;
    quint32 Random = 12345;
    for (int i = 0; i < NumRows; i++) {
        Random = Random * 1664525u + 1013904223u;
        QString sName = QStringLiteral("unit_%1").arg((Random >> 16) % 1200);
        if (Random >> 30 == 1) sName = sName.toUpper();
        const qlonglong Value = qlonglong((Random >> 8) % 300) - 150;
        Rows.append({sName, AsDouble ? QVariant(double(Value)) : QVariant(Value), Random % 211 == 0});
    }
    return Rows;
}

/// The order that the rules of the columns give, straight from the rows.
QList<int> SortPlainly(const QList<ROW>& Rows, int Column, bool Ascending)
{
    QList<int> Order(Rows.size());
    std::iota(Order.begin(), Order.end(), 0);
    std::stable_sort(Order.begin(), Order.end(), [&](int a, int b) {
        if (Rows[a].Pinned != Rows[b].Pinned) return Rows[a].Pinned;
        const int Text = QString::compare(Rows[a].sName, Rows[b].sName, Qt::CaseInsensitive);
        const double Number = Column == 1 ? Rows[a].Value.toDouble() - Rows[b].Value.toDouble() : 0;
        const double Difference = Number != 0 ? Number : Text;
        return Ascending ? Difference < 0 : Difference > 0;
    });
    return Order;
}

} // namespace

class tst_itemtables : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { InitViewsForTest(); }
    void orderAndFilter_data();
    void orderAndFilter();
    void changesOfRowsKeepTheOrder();
    void rowsComeAndGo_data();
    void rowsComeAndGo();
    void filterKeepsTheSelection();
    void exportsWhatIsShown();
    void headerStateOfOtherColumns();
    void filterBarIsReachedByKeys();
    void filterDialogAndColumnsByKeys();
    void everyIconIsCrisp();
};

void tst_itemtables::orderAndFilter_data()
{
    QTest::addColumn<int>("NumRows");
    QTest::addColumn<int>("Column");
    QTest::addColumn<bool>("Ascending");
    QTest::addColumn<bool>("AsDouble");
    for (const int NumRows : {40, 5000}) // without and with keys
        for (const int Column : {0, 1})
            for (const bool Ascending : {true, false})
                for (const bool AsDouble : {false, true})
                    QTest::addRow("%d rows, column %d, %s, %s", NumRows, Column, Ascending ? "up" : "down",
                                  AsDouble ? "double" : "whole")
                        << NumRows << Column << Ascending << AsDouble;
}

void tst_itemtables::orderAndFilter()
{
    QFETCH(int, NumRows);
    QFETCH(int, Column);
    QFETCH(bool, Ascending);
    QFETCH(bool, AsDouble);
    const QList<ROW> Rows = MakeRows(NumRows, AsDouble);
    CRowWindow Window(Rows);
    CModelFaults Faults;
    QAbstractItemModelTester Tester(Window.GetSortFilter(), QAbstractItemModelTester::FailureReportingMode::Warning);
    Window.SetSortColumn(Column, Ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
    const QList<int> Order = SortPlainly(Rows, Column, Ascending);
    QCOMPARE(Window.GetOrder(), Order);
    const auto Filtered = [&](auto Keep) {
        QList<int> Kept;
        for (const int Row : Order)
            if (Keep(Rows[Row])) Kept.append(Row);
        return Kept;
    };
    Window.GetSortFilter()->SetFilterText(0, QStringLiteral("T_1"));
    QCOMPARE(Window.GetOrder(), Filtered([](const ROW& Row) { return Row.sName.contains(QLatin1String("t_1"), Qt::CaseInsensitive); }));
    Window.GetSortFilter()->SetFilterRange(1, -20, 30);
    QCOMPARE(Window.GetOrder(), Filtered([](const ROW& Row) {
                 return Row.sName.contains(QLatin1String("t_1"), Qt::CaseInsensitive) && Row.Value.toInt() >= -20 && Row.Value.toInt() <= 30;
             }));
    Window.GetSortFilter()->ClearAllFilters();
    QCOMPARE(Window.GetOrder(), Order);
    QCOMPARE(Faults.Get(), QStringList());
}

void tst_itemtables::changesOfRowsKeepTheOrder()
{
    QList<ROW> Rows = MakeRows(3000, false);
    CRowWindow Window(Rows);
    CModelFaults Faults;
    QAbstractItemModelTester Tester(Window.GetSortFilter(), QAbstractItemModelTester::FailureReportingMode::Warning);
    Window.SetSortColumn(1, Qt::AscendingOrder);
    Rows[17].Value = qlonglong(9999);
    Rows[17].Pinned = false;
    Window.m_pRows->m_Rows = Rows;
    Window.m_pRows->NotifyItemChanged(Window.m_pRows->index(17, 0), Window.m_pRows->index(17, 1));
    QCOMPARE(Window.GetOrder().last(), 17);
    QCOMPARE(Window.GetOrder(), SortPlainly(Rows, 1, true));
    Rows = MakeRows(2000, false);
    Window.m_pRows->BeginReset();
    Window.m_pRows->m_Rows = Rows;
    Window.m_pRows->EndReset();
    QCOMPARE(Window.GetOrder(), SortPlainly(Rows, 1, true));
    QCOMPARE(Faults.Get(), QStringList());
}

void tst_itemtables::rowsComeAndGo_data()
{
    QTest::addColumn<int>("Column"); // -1: unsorted
    QTest::addColumn<bool>("Filtered");
    QTest::addColumn<bool>("Flat");
    for (const int Column : {-1, 0, 1})
        for (const bool Filtered : {false, true})
            for (const bool Flat : {true, false})
                QTest::addRow("column %d, %s, %s", Column, Filtered ? "filtered" : "all",
                              Flat ? "flat" : "tree")
                    << Column << Filtered << Flat;
}

void tst_itemtables::rowsComeAndGo()
{
    QFETCH(int, Column);
    QFETCH(bool, Filtered);
    QFETCH(bool, Flat);
    CRowWindow Window(MakeRows(120, false));
    if (!Flat) Window.SetIndentation(14);
    CRowModel& Model = *Window.m_pRows;
    CModelFaults Faults;
    QAbstractItemModelTester Tester(Window.GetSortFilter(),
                                    QAbstractItemModelTester::FailureReportingMode::Warning);
    if (Column >= 0)
        Window.SetSortColumn(Column, Qt::DescendingOrder);
    else
        Window.SetSortingEnabled(false);
    if (Filtered) Window.GetSortFilter()->SetFilterText(0, QStringLiteral("1"));
    const auto Check = [&](const char* sAfter) {
        QList<int> Order(Model.m_Rows.size());
        std::iota(Order.begin(), Order.end(), 0);
        if (Column >= 0) Order = SortPlainly(Model.m_Rows, Column, false);
        Order.removeIf([&](int Row) { return Filtered && !Model.m_Rows[Row].sName.contains(u'1'); });
        const QList<int> Shown = Window.GetOrder();
        QVERIFY2(QSet(Shown.begin(), Shown.end()) == QSet(Order.begin(), Order.end()), sAfter);
        if (Flat) QVERIFY2(Shown == Order, sAfter); // the base class leaves equal rows as they came
    };
    // A row that is in the way of all of it and that the view keeps hold of.
    Model.Insert(100, {{QStringLiteral("unit_1 kept"), qlonglong(7)}});
    const QPersistentModelIndex Kept(Window.MapToView(Model.index(100, 1)));
    QVERIFY(Kept.isValid());
    quint32 Random = 1;
    for (int i = 0; i < 40; i++) {
        Random = Random * 1664525u + 1013904223u;
        const int Row = int((Random >> 10) % quint32(Model.m_Rows.size()));
        switch (i % 5) {
        case 0:
            Model.Insert(Row, MakeRows(i % 3 ? 3 : 70, false));
            break;
        case 1:
            Model.Insert(int(Model.m_Rows.size()), MakeRows(1, false));
            break;
        case 2:
            Model.Remove(0, i % 4 ? 2 : 70);
            break;
        case 3:
            if (Model.m_Rows[Row].sName.endsWith(QLatin1String("kept"))) break;
            Model.m_Rows[Row].sName = QStringLiteral("unit_%1").arg(i);
            Model.m_Rows[Row].Value = qlonglong(i) - 30;
            Model.NotifyItemChanged(Model.index(Row, 0), Model.index(Row, 1));
            break;
        default:
            Model.Reverse();
        }
        Check(qPrintable(QStringLiteral("step %1").arg(i)));
        if (Kept.isValid())
            QCOMPARE(Kept.sibling(Kept.row(), 0).data().toString(), QStringLiteral("unit_1 kept"));
    }
    Model.Remove(0, int(Model.m_Rows.size()));
    QCOMPARE(Window.GetNumRows(), 0);
    QVERIFY(!Kept.isValid());
    QCOMPARE(Faults.Get(), QStringList());
}

void tst_itemtables::filterKeepsTheSelection()
{
    CRowWindow Window({{QStringLiteral("alpha"), 1}, {QStringLiteral("beta"), 2}, {QStringLiteral("gamma"), 3}});
    Window.resize(400, 300);
    Window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&Window));
    Window.SetCurrentItem(Window.m_pRows->index(2, 0));
    Window.GetSortFilter()->SetFilterText(0, QStringLiteral("mm"));
    QCOMPARE(Window.GetCurrentItem().row(), 2);
    QCOMPARE(Window.GetView()->GetRowsOnScreen().size(), 1);
    Window.GetSortFilter()->SetFilterText(0, QStringLiteral("bet")); // it is gone, and nothing stale is left
    QCOMPARE(Window.GetNumRows(), 1);
    QVERIFY(Window.GetCurrentItem().row() != 2);
    int Length = 0;
    QCOMPARE(Window.GetSortFilter()->GetMatch(Window.GetSortFilter()->index(0, 0), Length), 0);
    QCOMPARE(Length, 3);
    QCOMPARE(Window.GetSortFilter()->GetMatch(Window.GetSortFilter()->index(0, 1), Length), -1);
}

void tst_itemtables::exportsWhatIsShown()
{
    CRowWindow Window({{QStringLiteral("plain"), 2, true}, {QStringLiteral("a,b \"c\""), 1}, {QStringLiteral("hidden"), 3}});
    Window.m_pRows->m_HasChecks = true;
    Window.SetSortColumn(1, Qt::AscendingOrder);
    Window.GetSortFilter()->SetFilterRange(1, 1, 2);
    Window.GetHeader()->moveSection(1, 0);
    QCOMPARE(MakeCsv(Window), QStringLiteral("Value,Name\r\n2,[x]plain\r\n1,\"[ ]a,b \"\"c\"\"\"\r\n"));
    Window.CopyTable();
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("Value\tName\n2\t[x]plain\n1\t[ ]a,b \"c\""));
    QString sError;
    QVERIFY(!ExportCsv(Window, QStringLiteral("/nowhere/x.csv"), &sError));
    QVERIFY(!sError.isEmpty());
}

void tst_itemtables::headerStateOfOtherColumns()
{
    CRowWindow Window({{QStringLiteral("a"), 1}});
    CRowWindow Other({{QStringLiteral("a"), 1}});
    Window.SetColumnWidth(0, 222);
    Window.SetColumnVisible(1, false);
    const QByteArray State = Window.GetHeader()->saveState();
    QVERIFY(Other.GetHeader()->RestoreHeaderState(State));
    QCOMPARE(Other.GetHeader()->isSectionHidden(1), true);
    for (const QByteArray& Bad : {QByteArray("garbage"), State.left(20), QByteArray()}) {
        CRowWindow Fresh({{QStringLiteral("a"), 1}});
        QVERIFY(!Fresh.GetHeader()->RestoreHeaderState(Bad));
        QCOMPARE(Fresh.GetHeader()->count(), 2);
        QVERIFY(!Fresh.GetHeader()->isSectionHidden(1));
    }
}

void tst_itemtables::filterBarIsReachedByKeys()
{
    CRowWindow Window({{QStringLiteral("a"), 1}, {QStringLiteral("b"), 2}}, true);
    Window.resize(400, 300);
    Window.show();
    QVERIFY(QTest::qWaitForWindowActive(&Window));
    Window.SetFlag(WF_FILTER_BAR, true);
    QLineEdit* pEditor = Window.GetFilterView()->GetEditor(0);
    QVERIFY(pEditor && pEditor->isVisible());
    // Between the titles and the first row, in its column.
    const QPoint Pos = pEditor->mapTo(&Window, QPoint());
    QVERIFY(Pos.y() >= Window.GetHeader()->GetTitleHeight());
    QVERIFY(Pos.y() + pEditor->height() <= Window.GetView()->viewport()->mapTo(&Window, QPoint()).y());
    Window.SetCurrentItem(Window.m_pRows->index(0, 0));
    Window.GetView()->setFocus();
    QTest::keyClick(Window.GetView(), Qt::Key_Up);
    QTRY_VERIFY(pEditor->hasFocus());
    QVERIFY(Window.IsEscKeyOpActive());
    QTest::keyClicks(pEditor, QStringLiteral("b"));
    QTRY_COMPARE(Window.GetNumRows(), 1);
    QTest::keyClick(pEditor, Qt::Key_Escape); // clears, and then leaves
    QTRY_COMPARE(Window.GetNumRows(), 2);
    QTest::keyClick(pEditor, Qt::Key_Escape);
    QTRY_VERIFY(Window.GetView()->hasFocus());
}

/// The dialog gives back what it was opened with, and what is entered there; columns are chosen without a mouse.
void tst_itemtables::filterDialogAndColumnsByKeys()
{
    CRowWindow Window({{QStringLiteral("a"), 1}, {QStringLiteral("b"), 2}, {QStringLiteral("c"), 3}}, true);
    Window.resize(400, 300);
    Window.show();
    QVERIFY(QTest::qWaitForWindowActive(&Window));
    Window.SetFlag(WF_FILTER_BAR, true);
    QLineEdit* pEditor = Window.GetFilterView()->GetEditor(1);
    struct {
        const char* sBefore;
        const char* sMin; ///< typed over what stands there; null to leave it
        const char* sMax;
        const char* sAfter;
        QList<int> Rows;
    } const CASES[] = {{"2", nullptr, nullptr, "2", {1}},
                       {"2..", nullptr, nullptr, "2..", {1, 2}},
                       {"2", nullptr, "3", "2..3", {1, 2}},
                       {"", nullptr, "1", "..1", {0}},
                       {"1..2", "", "", "", {0, 1, 2}}};
    for (const auto& Case : CASES) {
        pEditor->setText(QLatin1String(Case.sBefore));
        QTimer::singleShot(0, &Window, [&Case] {
            QWidget* pDialog = QApplication::activeModalWidget();
            const auto Type = [pDialog](const char* sName, const char* sText) {
                auto* pEdit = pDialog->findChild<QLineEdit*>(QLatin1String(sName));
                if (!sText) return;
                pEdit->selectAll();
                QTest::keyClick(pEdit, Qt::Key_Delete);
                QTest::keyClicks(pEdit, QLatin1String(sText));
            };
            Type("lineEditMin", Case.sMin);
            Type("lineEditMax", Case.sMax);
            QTest::keyClick(pDialog, Qt::Key_Return);
        });
        Window.GetFilterView()->ShowFilterDialog(1);
        QCOMPARE(pEditor->text(), QLatin1String(Case.sAfter));
        QTRY_COMPARE(Window.GetOrder().size(), Case.Rows.size());
        for (const int Row : Case.Rows) QVERIFY(Window.GetOrder().contains(Row));
    }
    Window.SetCurrentItem(Window.m_pRows->index(0, 0));
    QTimer::singleShot(0, &Window, [] {
        QWidget* pMenu = QApplication::activePopupWidget();
        QTest::keyClick(pMenu, 'u');
        if (QTest::qWaitFor([pMenu] { return QApplication::activePopupWidget() != pMenu; }))
            QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Return); // the first entry
        while (QWidget* pPopup = QApplication::activePopupWidget()) pPopup->close();
    });
    Window.ShowContextMenu(Window.GetContextMenuPos(QContextMenuEvent::Keyboard));
    QVERIFY(Window.GetHeader()->isSectionHidden(0) && !Window.GetHeader()->isSectionHidden(1));
    QCOMPARE(Window.GetShownTitles(), QStringList{QStringLiteral("Value")});
}

void tst_itemtables::everyIconIsCrisp()
{
    // Every picture that menus, windows and messages name.
    QFile List(QStringLiteral(VANTREL_SOURCE_DIR "/tests/views/icons.txt"));
    QVERIFY(List.open(QIODevice::ReadOnly));
    QStringList Missing;
    for (const QByteArray& Line : List.readAll().split('\n'))
        if (!Line.isEmpty() && !HasIcon(QString::fromLatin1(Line))) Missing.append(QString::fromLatin1(Line));
    QCOMPARE(Missing, QStringList());
    QDirIterator Icons(QStringLiteral(":/Resources/Icons"));
    while (Icons.hasNext()) {
        const QString sName = QFileInfo(Icons.next()).fileName();
        for (const double Ratio : {1.0, 1.5, 2.0, 3.0}) {
            QImage Images[2];
            for (const bool Dark : {false, true}) {
                CTheme::SetScheme(Dark ? THEME_DARK : THEME_LIGHT);
                QImage& Image = Images[Dark];
                Image = QImage(QSize(16, 16) * Ratio, QImage::Format_ARGB32_Premultiplied);
                Image.setDevicePixelRatio(Ratio);
                Image.fill(Qt::transparent);
                QPainter Painter(&Image);
                PaintIcon(Painter, sName, QRectF(0, 0, 16, 16), QGuiApplication::palette().color(QPalette::ButtonText));
            }
            int NumInked = 0;
            for (int y = 0; y < Images[0].height(); y++)
                for (int x = 0; x < Images[0].width(); x++) NumInked += qAlpha(Images[0].pixel(x, y)) > 100;
            QVERIFY2(NumInked > 4 * Ratio * Ratio, qPrintable(QStringLiteral("%1 at %2").arg(sName).arg(Ratio)));
        }
    }
    CTheme::SetScheme(THEME_LIGHT);
}

QTEST_MAIN(tst_itemtables)
#include "tst_itemtables.moc"
