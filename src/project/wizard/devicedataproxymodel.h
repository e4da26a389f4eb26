// CDeviceDataProxyModel: filter and order of the device table. The filter row stays on top.
#pragma once
#include "project/wizard/devicedatamodel.h"

#include <QSortFilterProxyModel>

class CDeviceDataProxyModel : public QSortFilterProxyModel {
    Q_OBJECT

public:
    CDeviceDataProxyModel(CDeviceDataModel* pModel, QObject* pParent);

public slots:
    void UpdateFilter(); ///< shows the rows that the filters of the model let pass

protected:
    bool filterAcceptsRow(int Row, const QModelIndex& Parent) const override;
    bool lessThan(const QModelIndex& Left, const QModelIndex& Right) const override;

private:
    CDeviceDataModel* m_pModel;
};
