#include "views/framework/tableexport.h"

#include "views/framework/modelviewwindow.h"
#include "views/framework/sortfilter.h"
#include "views/framework/tableheader.h"

#include <QSaveFile>
#include <algorithm>

namespace {

QString QuoteCell(QString sCell)
{
    static const QLatin1String SPECIAL(",\"\r\n");
    const bool Quoted = std::any_of(sCell.cbegin(), sCell.cend(), [](QChar Char) { return SPECIAL.contains(Char); });
    return Quoted ? u'"' + sCell.replace(u'"', QLatin1String("\"\"")) + u'"' : sCell;
}

QList<int> GetShownColumns(const CTableHeader& Header)
{
    QList<int> Columns;
    for (int i = 0; i < Header.count(); i++)
        if (const int Column = Header.logicalIndex(i); !Header.isSectionHidden(Column)) Columns.append(Column);
    return Columns;
}

void AddRows(const CModelViewWindow& Window, const QModelIndex& Parent, int Level, const QList<int>& Columns, QString& sCsv)
{
    const CSortFilter& Rows = *Window.GetSortFilter();
    for (int Row = 0; Row < Rows.rowCount(Parent); Row++) {
        QStringList Cells;
        for (const int Column : Columns) {
            const QString sIndent(Cells.isEmpty() ? 2 * Level : 0, u' ');
            Cells.append(QuoteCell(sIndent + Rows.index(Row, Column, Parent).data().toString()));
        }
        sCsv += Cells.join(u',') + QLatin1String("\r\n");
        const QModelIndex First = Rows.index(Row, 0, Parent);
        if (Window.IsItemExpanded(First)) AddRows(Window, First, Level + 1, Columns, sCsv);
    }
}

} // namespace

QString MakeCsv(const CModelViewWindow& Window)
{
    const QList<int> Columns = GetShownColumns(*Window.GetHeader());
    QStringList Titles;
    for (const int Column : Columns) Titles.append(QuoteCell(Window.GetColumnName(Column)));
    QString sCsv = Titles.join(u',') + QLatin1String("\r\n");
    AddRows(Window, {}, 0, Columns, sCsv);
    return sCsv;
}

bool ExportCsv(const CModelViewWindow& Window, const QString& sPath, QString* pError)
{
    QSaveFile File(sPath);
    const QByteArray Text = MakeCsv(Window).toUtf8();
    if (File.open(QIODevice::WriteOnly) && File.write(Text) == Text.size() && File.flush() && File.commit()) return true;
    *pError = File.errorString();
    return false;
}
