#include "views/framework/tableexport.h"

#include "views/framework/modelviewwindow.h"
#include "views/framework/sortfilter.h"

#include <QSaveFile>
#include <algorithm>

namespace {

QString QuoteCell(QString sCell)
{
    static const QLatin1String SPECIAL(",\"\r\n");
    const bool Quoted = std::any_of(sCell.cbegin(), sCell.cend(), [](QChar Char) { return SPECIAL.contains(Char); });
    return Quoted ? u'"' + sCell.replace(u'"', QLatin1String("\"\"")) + u'"' : sCell;
}

void AddLine(QStringList Cells, QString& sCsv)
{
    for (QString& sCell : Cells) sCell = QuoteCell(sCell);
    sCsv += Cells.join(u',') + QLatin1String("\r\n");
}

void AddRows(const CModelViewWindow& Window, const QModelIndex& Parent, int Level, QString& sCsv)
{
    const CSortFilter& Rows = *Window.GetSortFilter();
    for (int Row = 0; Row < Rows.rowCount(Parent); Row++) {
        const QModelIndex First = Rows.index(Row, 0, Parent);
        QStringList Cells = Window.GetShownCells(First);
        if (!Cells.isEmpty()) Cells.first().prepend(QString(2 * Level, u' '));
        AddLine(Cells, sCsv);
        if (Window.IsItemExpanded(First)) AddRows(Window, First, Level + 1, sCsv);
    }
}

} // namespace

QString MakeCsv(const CModelViewWindow& Window)
{
    QString sCsv;
    AddLine(Window.GetShownTitles(), sCsv);
    AddRows(Window, {}, 0, sCsv);
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
