#include "views/framework/tableview.h"

#include <QHeaderView>

CTableView::CTableView(QWidget* pParent) : QTableView(pParent)
{
    setFrameShape(QFrame::NoFrame);
    setShowGrid(false);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setHorizontalScrollMode(ScrollPerPixel);
    setWordWrap(false);
    verticalHeader()->hide();
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    SetRowHeight(fontMetrics().height() + 5);
}

void CTableView::SetRowHeight(int Pixels)
{
    verticalHeader()->setMinimumSectionSize(Pixels);
    verticalHeader()->setDefaultSectionSize(Pixels);
}

#include "moc_tableview.cpp"
