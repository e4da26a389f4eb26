// CTreeView, the view of all item windows; flat tables are trees without indentation.
#pragma once
#include <QTreeView>

class CTreeView : public QTreeView {
    Q_OBJECT

public:
    explicit CTreeView(QWidget* pParent = nullptr);

    bool IsEditing() const { return state() == EditingState; }
    int GetNumVisibleRows() const;           ///< whole and partial rows in the viewport
    QModelIndexList GetRowsOnScreen() const; ///< column 0 of every row that meets the viewport, from the top
    void SetExpanded(const QModelIndex& Index, bool Expanded); ///< with the signals below

signals:
    void AboutToExpand(QModelIndex Index);
    void AboutToCollapse(QModelIndex Index);
    void KeyPressed(QKeyEvent* pEvent); ///< accept the event to keep the view from handling the key
    void MouseMoved(QMouseEvent* pEvent);
    void ContentAreaClicked(QMouseEvent* pEvent);

protected:
    void keyPressEvent(QKeyEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseDoubleClickEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void drawBranches(QPainter* pPainter, const QRect& Rect, const QModelIndex& Index) const override;

private:
    QRect GetBranchRect(const QModelIndex& Index) const;
};
