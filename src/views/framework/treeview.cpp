#include "views/framework/treeview.h"

#include "project/settings/appearance.h"
#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>

namespace {
constexpr int BRANCH_ICON_SIZE = 14;
constexpr int LARGE_TABLE = 10000; ///< rows from which on a layout takes time that one sees
}

CTreeView::CTreeView(QWidget* pParent) : QTreeView(pParent)
{
    setFrameShape(QFrame::NoFrame);
    setUniformRowHeights(true); // else a scroll bar walks all rows; windows with rows of other heights say so
    setAllColumnsShowFocus(true);
    setSelectionMode(SingleSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(DoubleClicked | EditKeyPressed);
    setExpandsOnDoubleClick(false);
    setHorizontalScrollMode(ScrollPerPixel);
    setMouseTracking(true);
    setIconSize(QSize(16, 16));
    setContextMenuPolicy(Qt::NoContextMenu); // the window asks for its menu itself
}

int CTreeView::GetNumVisibleRows() const
{
    return int(GetRowsOnScreen().size());
}

QModelIndexList CTreeView::GetRowsOnScreen() const
{
    QModelIndexList Rows;
    const int Bottom = viewport()->height();
    for (QModelIndex Index = indexAt(QPoint(columnViewportPosition(0) + 1, 0)).siblingAtColumn(0);
         Index.isValid(); Index = indexBelow(Index)) {
        if (visualRect(Index).top() >= Bottom) break;
        Rows.append(Index);
    }
    if (Rows.isEmpty() && model() && model()->rowCount() > 0 && verticalScrollBar()->value() == 0)
        for (QModelIndex Index = model()->index(0, 0); Index.isValid() && visualRect(Index).top() < Bottom;
             Index = indexBelow(Index))
            Rows.append(Index);
    return Rows;
}

void CTreeView::SetExpanded(const QModelIndex& Index, bool Expanded)
{
    if (!Index.isValid() || isExpanded(Index) == Expanded) return;
    if (Expanded)
        emit AboutToExpand(Index);
    else
        emit AboutToCollapse(Index);
    setExpanded(Index, Expanded);
}

void CTreeView::keyPressEvent(QKeyEvent* pEvent)
{
    pEvent->ignore();
    emit KeyPressed(pEvent);
    if (pEvent->isAccepted()) return;
    const QModelIndex Current = currentIndex().siblingAtColumn(0);
    if (pEvent->modifiers() == Qt::NoModifier && Current.isValid()) {
        if (pEvent->key() == Qt::Key_Right && model()->hasChildren(Current) && !isExpanded(Current))
            return SetExpanded(Current, true);
        if (pEvent->key() == Qt::Key_Left && isExpanded(Current)) return SetExpanded(Current, false);
    }
    // The toolkit would unfold all that is below the row: without end where a list leads back to itself.
    if (pEvent->key() == Qt::Key_Asterisk) {
        SetExpanded(Current, true);
        for (int Row = 0; Current.isValid() && Row < model()->rowCount(Current); Row++)
            SetExpanded(model()->index(Row, 0, Current), true);
        return;
    }
    // A typed digit or "+" is a key of the window, not the start of a search.
    pEvent->accept();
    QTreeView::keyPressEvent(pEvent);
}

QRect CTreeView::GetBranchRect(const QModelIndex& Index) const
{
    int Depth = rootIsDecorated() ? 1 : 0;
    for (QModelIndex Parent = Index.parent(); Parent.isValid(); Parent = Parent.parent()) Depth++;
    const QRect Row = visualRect(Index.siblingAtColumn(0));
    const int Left = columnViewportPosition(0) + (Depth - 1) * indentation();
    return QRect(Left, Row.top(), indentation(), Row.height());
}

void CTreeView::mousePressEvent(QMouseEvent* pEvent)
{
    const QModelIndex Index = indexAt(pEvent->pos()).siblingAtColumn(0);
    if (pEvent->button() == Qt::LeftButton && Index.isValid() && indentation() > 0 &&
        model()->hasChildren(Index) && GetBranchRect(Index).contains(pEvent->pos())) {
        SetExpanded(Index, !isExpanded(Index));
        pEvent->accept();
        return;
    }
    QTreeView::mousePressEvent(pEvent);
    emit ContentAreaClicked(pEvent);
}

void CTreeView::mouseDoubleClickEvent(QMouseEvent* pEvent)
{
    const QModelIndex Index = indexAt(pEvent->pos()).siblingAtColumn(0);
    if (Index.isValid() && indentation() > 0 && model()->hasChildren(Index) &&
        GetBranchRect(Index).contains(pEvent->pos())) {
        SetExpanded(Index, !isExpanded(Index));
        pEvent->accept();
        return;
    }
    QTreeView::mouseDoubleClickEvent(pEvent);
    emit TableAreaDoubleClicked(pEvent);
}

void CTreeView::mouseMoveEvent(QMouseEvent* pEvent)
{
    QTreeView::mouseMoveEvent(pEvent);
    emit MouseMoved(pEvent);
}

void CTreeView::doItemsLayout()
{
    const QScopedValueRollback Guard(m_IsLayingOut, true); // a layout may ask for another one
    QTreeView::doItemsLayout();
}

void CTreeView::updateGeometries()
{
    // Setting up a window asks for the places of all rows several times; those of a large table wait for the first show.
    if (!isVisible() && model() && model()->rowCount() >= LARGE_TABLE)
        scheduleDelayedItemsLayout();
    else
        QTreeView::updateGeometries();
}

bool CTreeView::event(QEvent* pEvent)
{
    if (pEvent->type() != QEvent::StyleChange) return QTreeView::event(pEvent);
    scheduleDelayedItemsLayout(); // once, however often the style changes before the next paint
    return QAbstractScrollArea::event(pEvent);
}

void CTreeView::drawRow(QPainter* pPainter, const QStyleOptionViewItem& Option, const QModelIndex& Index) const
{
    m_IsPaintingRow = true;
    QTreeView::drawRow(pPainter, Option, Index);
    m_IsPaintingRow = false;
    // The schemes do without lines; whoever gives them a colour sees them.
    if (GetColorValue(COLOR_TABLE_GRID_LINES) != GetColorRow(COLOR_TABLE_GRID_LINES)->Default)
        DrawGrid(pPainter, Option.rect);
}

void CTreeView::DrawGrid(QPainter* pPainter, const QRect& Row) const
{
    pPainter->save();
    pPainter->setPen(CTheme::GetColor(COLOR_TABLE_GRID_LINES));
    pPainter->drawLine(Row.bottomLeft(), Row.bottomRight());
    for (int i = 0; i < header()->count(); i++) {
        if (header()->isSectionHidden(i)) continue;
        const int x = header()->sectionViewportPosition(i) + header()->sectionSize(i) - 1;
        pPainter->drawLine(x, Row.top(), x, Row.bottom());
    }
    pPainter->restore();
}

void CTreeView::drawBranches(QPainter* pPainter, const QRect& Rect, const QModelIndex& Index) const
{
    const QVariant Background = Index.data(Qt::BackgroundRole);
    if (Background.canConvert<QBrush>()) pPainter->fillRect(Rect, qvariant_cast<QBrush>(Background));
    if (indentation() == 0 || !model()->hasChildren(Index)) return;
    const QRect Branch(Rect.right() - indentation() + 1, Rect.top(), indentation(), Rect.height());
    const QRectF IconRect(Branch.x() + (Branch.width() - BRANCH_ICON_SIZE) / 2.0,
                          Branch.y() + (Branch.height() - BRANCH_ICON_SIZE) / 2.0, BRANCH_ICON_SIZE,
                          BRANCH_ICON_SIZE);
    const QVariant Foreground = Index.data(Qt::ForegroundRole);
    const QColor Stroke = Foreground.canConvert<QBrush>() ? qvariant_cast<QBrush>(Foreground).color()
                                                          : palette().color(QPalette::Text);
    PaintIcon(*pPainter, isExpanded(Index) ? QStringLiteral("node-collapse") : QStringLiteral("node-expand"),
              IconRect, Stroke);
}

#include "moc_treeview.cpp"
