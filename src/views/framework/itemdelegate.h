// CItemDelegate, paints the cells of item windows: check boxes with a margin, filter matches highlighted.
#pragma once
#include "app/services/types.h"

#include <QItemDelegate>

class CSortFilter;

class CItemDelegate : public QItemDelegate {
    Q_OBJECT

public:
    explicit CItemDelegate(QObject* pParent = nullptr);

    /// Whose filter matches are marked in the cells' texts. They are looked for as a cell is painted: a table may have
    /// a million that no screen ever shows.
    void SetSortFilter(const CSortFilter* pSortFilter) { m_pSortFilter = pSortFilter; }

    static bool IsEditing() { return s_IsEditing; } ///< a cell editor is filling or storing its value

    void paint(QPainter* pPainter, const QStyleOptionViewItem& Option,
               const QModelIndex& Index) const override;
    QSize sizeHint(const QStyleOptionViewItem& Option, const QModelIndex& Index) const override;
    QWidget* createEditor(QWidget* pParent, const QStyleOptionViewItem& Option,
                          const QModelIndex& Index) const override;
    void setEditorData(QWidget* pEditor, const QModelIndex& Index) const override;
    void setModelData(QWidget* pEditor, QAbstractItemModel* pModel, const QModelIndex& Index) const override;
    void updateEditorGeometry(QWidget* pEditor, const QStyleOptionViewItem& Option,
                              const QModelIndex& Index) const override;

protected:
    void drawDisplay(QPainter* pPainter, const QStyleOptionViewItem& Option, const QRect& Rect,
                     const QString& sText) const override;
    void drawCheck(QPainter* pPainter, const QStyleOptionViewItem& Option, const QRect& Rect,
                   Qt::CheckState State) const override;
    void drawFocus(QPainter* pPainter, const QStyleOptionViewItem& Option, const QRect& Rect) const override;
    bool editorEvent(QEvent* pEvent, QAbstractItemModel* pModel, const QStyleOptionViewItem& Option,
                     const QModelIndex& Index) override;

private:
    const CSortFilter* m_pSortFilter = nullptr;
    mutable int m_MatchPos = -1; ///< of the cell being painted
    mutable int m_MatchLength = 0;
    static bool s_IsEditing;
};
