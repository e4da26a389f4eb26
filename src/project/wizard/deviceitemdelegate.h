// CDeviceItemDelegate: the editors of the filter row of the device table, and the look of the selected row.
#pragma once
#include <QItemDelegate>

class CDeviceDataModel;

class CDeviceItemDelegate : public QItemDelegate {
    Q_OBJECT

public:
    /// pModel outlives the delegate.
    CDeviceItemDelegate(const CDeviceDataModel* pModel, QObject* pParent);
    QWidget* createEditor(QWidget* pParent, const QStyleOptionViewItem& Option, const QModelIndex& Index) const override;
    void setEditorData(QWidget* pEditor, const QModelIndex& Index) const override;
    void setModelData(QWidget* pEditor, QAbstractItemModel* pModel, const QModelIndex& Index) const override;
    void updateEditorGeometry(QWidget* pEditor, const QStyleOptionViewItem& Option,
                              const QModelIndex& Index) const override;
    void paint(QPainter* pPainter, const QStyleOptionViewItem& Option, const QModelIndex& Index) const override;

protected:
    bool eventFilter(QObject* pEditor, QEvent* pEvent) override;

private:
    const CDeviceDataModel* m_pModel;
};
