#include "project/wizard/devicedataproxymodel.h"

CDeviceDataProxyModel::CDeviceDataProxyModel(CDeviceDataModel* pModel, QObject* pParent)
    : QSortFilterProxyModel(pParent), m_pModel(pModel)
{
    setSourceModel(pModel);
}

void CDeviceDataProxyModel::UpdateFilter()
{
    invalidateFilter();
}

bool CDeviceDataProxyModel::filterAcceptsRow(int Row, const QModelIndex&) const
{
    return m_pModel->IsAccepted(Row);
}

bool CDeviceDataProxyModel::lessThan(const QModelIndex& Left, const QModelIndex& Right) const
{
    // Whichever way the rows run, the answer puts the filter row first.
    const bool Ascending = sortOrder() == Qt::AscendingOrder;
    if (Left.row() == 0) return Ascending;
    if (Right.row() == 0) return !Ascending;
    return Left.data().toString().compare(Right.data().toString(), Qt::CaseInsensitive) < 0;
}

#include "moc_devicedataproxymodel.cpp"
