// Speed of item windows over a large flat table: first paint, filter, sort and one scroll step, and the same work done
// by Qt's own proxy model and table view in the same run.
//   bench_model [rows, default 1000000] [-nopeer]
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "views/framework/modelviewwindow.h"
#include "views/framework/sortfilter.h"
#include "views/framework/treeview.h"
#include "views/theme/theme.h"

#include <QApplication>
#include <QScrollBar>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

constexpr int NUM_COLUMNS = 4;
constexpr int NUM_SCROLL_STEPS = 50;
constexpr int NUM_FIRST_PAINTS = 5;
constexpr QSize VIEW_SIZE(800, 600);

/// Functions of a program that nobody has: a name, an address, a size and a file each. Names are kept, as a window
/// over real symbols would; numbers become text when they are asked for.
QStringList s_Names;
QStringList s_Files;

void MakeProgram(int NumRows)
{
    for (int i = 0; i < NumRows; i++) s_Names.append(QStringLiteral("function_%1").arg((i * 7919LL) % 1000003));
    for (int i = 0; i < 500; i++) s_Files.append(QStringLiteral("module_%1.c").arg(i));
}

QString GetCell(int Row, int Column)
{
    const U32 Address = 0x08000000u + U32(Row) * 24u;
    switch (Column) {
    case 0:
        return s_Names[Row];
    case 1:
        return QStringLiteral("0x") + QString::number(Address, 16).toUpper().rightJustified(8, u'0');
    case 2:
        return QString::number((Row * 31LL) % 4096);
    default:
        return s_Files[Row % s_Files.size()];
    }
}

QVariant GetNumber(int Row, int Column)
{
    if (Column == 1) return qlonglong(0x08000000u + U32(Row) * 24u);
    if (Column == 2) return qlonglong((Row * 31LL) % 4096);
    return {};
}

class CBenchModel : public CTableModel {
public:
    explicit CBenchModel(int NumRows) : CTableModel(nullptr, QStringLiteral("BenchDataModel")), m_NumRows(NumRows)
    {
        static constexpr TABLE_COLUMN COLUMNS[] = {{"Name", COLUMN_TEXT, 220},
                                                   {"Address", COLUMN_NUMERIC | COLUMN_HEX, 120},
                                                   {"Size", COLUMN_NUMERIC | COLUMN_DEC, 80},
                                                   {"File", COLUMN_TEXT, 160}};
        SetColumns(COLUMNS, NUM_COLUMNS);
    }
    int rowCount(const QModelIndex& Parent = {}) const override { return Parent.isValid() ? 0 : m_NumRows; }
    QString GetItemText(const QModelIndex& Index) const override { return GetCell(Index.row(), Index.column()); }
    QVariant data(const QModelIndex& Index, int Role) const override
    {
        return Index.isValid() && Role == ROLE_SORT_VALUE ? GetNumber(Index.row(), Index.column())
                                                          : CTableModel::data(Index, Role);
    }

private:
    int m_NumRows;
};

class CBenchWindow : public CModelViewWindow {
public:
    explicit CBenchWindow(int NumRows) : CModelViewWindow(nullptr, QStringLiteral("Bench"))
    {
        SetView(new CTreeView, false);
        SetIndentation(0);
        SetModel(new CBenchModel(NumRows));
        Init();
        SetSortingEnabled(true);
    }
};

/// The plain model that the peer shows.
class CPlainModel : public QAbstractTableModel {
public:
    explicit CPlainModel(int NumRows) : m_NumRows(NumRows) {}
    int rowCount(const QModelIndex& Parent = {}) const override { return Parent.isValid() ? 0 : m_NumRows; }
    int columnCount(const QModelIndex& Parent = {}) const override { return Parent.isValid() ? 0 : NUM_COLUMNS; }
    QVariant data(const QModelIndex& Index, int Role) const override
    {
        if (Role == Qt::UserRole) return GetNumber(Index.row(), Index.column());
        return Role == Qt::DisplayRole ? QVariant(GetCell(Index.row(), Index.column())) : QVariant();
    }

private:
    int m_NumRows;
};

/// Time of the processor, all of which the GUI thread takes here: what others do on the machine doesn't count.
class CStopWatch {
public:
    double GetMs() const { return double(std::clock() - m_Start) * 1000.0 / CLOCKS_PER_SEC; }

private:
    std::clock_t m_Start = std::clock();
};

void Print(const char* sWho, const char* sWhat, double Ms)
{
    std::printf("%s %s: %.2f ms\n", sWho, sWhat, Ms);
    std::fflush(stdout);
}

/// Everything that is pending, with the painting done at once.
void Paint(QWidget& Widget)
{
    QApplication::processEvents();
    Widget.repaint();
}

double MeasureScroll(QAbstractItemView& View, QWidget& Widget)
{
    QScrollBar& Bar = *View.verticalScrollBar();
    const CStopWatch Watch;
    for (int i = 0; i < NUM_SCROLL_STEPS; i++) {
        Bar.setValue((i % 2 ? Bar.maximum() / 2 : Bar.maximum() / 4) + i * 3);
        Widget.repaint();
    }
    return Watch.GetMs() / NUM_SCROLL_STEPS;
}

/// From nothing to the first rows on the screen; the best of several, since the first also loads fonts.
double MeasureFirstPaint(int NumRows)
{
    double Best = 0;
    for (int i = 0; i < NUM_FIRST_PAINTS; i++) {
        const CStopWatch Watch;
        CBenchWindow Window(NumRows);
        Window.resize(VIEW_SIZE);
        Window.show();
        Paint(Window);
        Best = i == 0 ? Watch.GetMs() : std::min(Best, Watch.GetMs());
    }
    return Best;
}

int MeasureWindow(int NumRows)
{
    Print("window", "first paint", MeasureFirstPaint(NumRows));
    CBenchWindow Window(NumRows);
    Window.resize(VIEW_SIZE);
    Window.show();
    Paint(Window);
    Print("window", "scroll step", MeasureScroll(*Window.GetView(), Window));
    const auto Filter = [&Window](const char* sWhat, int Column, const QString& sText) {
        const CStopWatch Watch;
        Window.GetSortFilter()->SetFilterText(Column, sText);
        Paint(Window);
        Print("window", sWhat, Watch.GetMs());
        return Window.GetNumRows();
    };
    const int NumMatches = Filter("filter by text", 0, QStringLiteral("77"));
    Filter("filter removed", 0, QString());
    const CStopWatch RangeWatch;
    Window.GetSortFilter()->SetFilterRange(2, 100, 200);
    Paint(Window);
    Print("window", "filter by range", RangeWatch.GetMs());
    Window.GetSortFilter()->ClearAllFilters();
    const auto Sort = [&Window](const char* sWhat, int Column, Qt::SortOrder Order) {
        const CStopWatch Watch;
        Window.SetSortColumn(Column, Order);
        Paint(Window);
        Print("window", sWhat, Watch.GetMs());
    };
    Sort("sort by text", 0, Qt::AscendingOrder);
    Sort("sort by text, other way", 0, Qt::DescendingOrder);
    Sort("sort by number", 2, Qt::AscendingOrder);
    Print("window", "scroll step, sorted", MeasureScroll(*Window.GetView(), Window));
    return NumMatches;
}

int MeasurePeer(int NumRows)
{
    const CStopWatch FirstPaint;
    CPlainModel Model(NumRows);
    QSortFilterProxyModel Proxy;
    Proxy.setFilterCaseSensitivity(Qt::CaseInsensitive);
    Proxy.setSortCaseSensitivity(Qt::CaseInsensitive);
    Proxy.setSourceModel(&Model);
    QTableView View;
    View.setModel(&Proxy);
    View.resize(VIEW_SIZE);
    View.show();
    Paint(View);
    Print("peer", "first paint", FirstPaint.GetMs());
    Print("peer", "scroll step", MeasureScroll(View, View));
    const auto Sort = [&](const char* sWhat, int Column, int Role) {
        const CStopWatch Watch;
        Proxy.setSortRole(Role);
        Proxy.sort(Column, Qt::AscendingOrder);
        Paint(View);
        Print("peer", sWhat, Watch.GetMs());
    };
    Sort("sort by text", 0, Qt::DisplayRole);
    Sort("sort by number", 2, Qt::UserRole);
    Proxy.sort(-1);
    // Last, since a view is told of every run of rows that goes: with a million rows that takes its time.
    const CStopWatch Watch;
    Proxy.setFilterFixedString(QStringLiteral("77"));
    Paint(View);
    Print("peer", "filter by text", Watch.GetMs());
    return Proxy.rowCount();
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication App(argc, argv);
    InitSysVars();
    InitColorsAndFonts(App.font());
    CTheme::Init(App);
    int NumRows = 1000000;
    bool WithPeer = true;
    for (int i = 1; i < argc; i++) {
        if (qstrcmp(argv[i], "-nopeer") == 0)
            WithPeer = false;
        else
            NumRows = std::atoi(argv[i]);
    }
    if (NumRows < 1) return 2;
    MakeProgram(NumRows);
    const int NumMatches = MeasureWindow(NumRows);
    std::printf("rows: %d, matches: %d\n", NumRows, NumMatches);
    if (WithPeer && MeasurePeer(NumRows) != NumMatches) {
        std::fprintf(stderr, "the filters disagree\n");
        return 1;
    }
    return 0;
}
