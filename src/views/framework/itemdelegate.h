// CItemDelegate, paints the cells of item windows: check boxes with a margin, filter matches highlighted.
#pragma once
#include "app/services/types.h"

#include <QColor>
#include <QHash>
#include <QItemDelegate>

class CItemDelegate : public QItemDelegate {
    Q_OBJECT

public:
    explicit CItemDelegate(QObject* pParent = nullptr);

    /// A stretch of a cell's text that the filter matched.
    struct MATCH {
        int Pos = 0;
        int Length = 0;
        QColor Color;
    };
    void SetMatch(U32 ItemKey, int Column, const MATCH& Match);
    void ClearMatches() { m_Matches.clear(); }
    bool HasMatch(U32 ItemKey, int Column) const { return m_Matches.contains(MakeKey(ItemKey, Column)); }

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
    static U32 MakeKey(U32 ItemKey, int Column) { return (ItemKey + 713) * 31 + U32(Column); }

    QHash<U32, MATCH> m_Matches;
    mutable const MATCH* m_pPaintedMatch = nullptr;
    static bool s_IsEditing;
};
