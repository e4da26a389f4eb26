// CTreeView, the view of all item windows; flat tables are trees without indentation.
#pragma once
#include <QTreeView>

class CTreeView : public QTreeView {
    Q_OBJECT

public:
    explicit CTreeView(QWidget* pParent = nullptr);

    bool IsLayingOut() const { return m_IsLayingOut; }     ///< all rows are being gone through for their places
    bool IsPaintingRow() const { return m_IsPaintingRow; } ///< the row asked about is on the screen
    bool IsEditing() const { return state() == EditingState; }
    int GetNumVisibleRows() const;           ///< whole and partial rows in the viewport
    QModelIndexList GetRowsOnScreen() const; ///< column 0 of every row that meets the viewport, from the top
    void SetExpanded(const QModelIndex& Index, bool Expanded); ///< with the signals below

public slots:
    void doItemsLayout() override;

signals:
    void AboutToExpand(QModelIndex Index);
    void AboutToCollapse(QModelIndex Index);
    void KeyPressed(QKeyEvent* pEvent); ///< accept the event to keep the view from handling the key
    void MouseMoved(QMouseEvent* pEvent);
    void ContentAreaClicked(QMouseEvent* pEvent);
    void TableAreaDoubleClicked(QMouseEvent* pEvent); ///< anywhere, also beside the rows

protected slots:
    void updateGeometries() override;

protected:
    bool event(QEvent* pEvent) override;
    void keyPressEvent(QKeyEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseDoubleClickEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void drawRow(QPainter* pPainter, const QStyleOptionViewItem& Option, const QModelIndex& Index) const override;
    void drawBranches(QPainter* pPainter, const QRect& Rect, const QModelIndex& Index) const override;

private:
    QRect GetBranchRect(const QModelIndex& Index) const;
    void DrawGrid(QPainter* pPainter, const QRect& Row) const;

    mutable bool m_IsPaintingRow = false;
    bool m_IsLayingOut = false;
};
