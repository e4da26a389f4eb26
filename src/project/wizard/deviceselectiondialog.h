// CDeviceSelectionDialog: the table of all devices, with a filter row, and the choice of core and byte order.
//
//   const DEVICE_SELECTION Choice = ShowDeviceSelection(sState, true, "VS4F-512", this);
//   if (Choice.Accepted) ... Choice.sDeviceName ...
#pragma once
#include "app/services/types.h"
#include "views/framework/dialog.h"

#include <QModelIndex>
#include <QTimer>

class CDeviceDataModel;
class CDeviceDataProxyModel;
class QComboBox;
class QLabel;
class QPushButton;
class QTableView;

struct DEVICE_SELECTION {
    bool Accepted = false;
    bool BigEndian = false;
    int DeviceIndex = -1; ///< in the probe library's table
    U32 CoreId = 0;
    QString sDeviceName;
    QString sStateText; ///< the dialog's element, see statetext.h
};

/// The one entry of the dialog. sStateText holds the state to begin with, and sDeviceName the device where it names
/// none. CanChooseCore: byte order and core may be chosen beside the device. Without a user the device to begin with
/// is taken, if there is such a one.
DEVICE_SELECTION ShowDeviceSelection(const QString& sStateText, bool CanChooseCore, const QString& sDeviceName,
                                     QWidget* pParent);

class CDeviceSelectionDialog : public CDialog {
    Q_OBJECT

public:
    CDeviceSelectionDialog(const QString& sStateText, bool CanChooseCore, const QString& sDeviceName,
                           QWidget* pParent = nullptr);
    DEVICE_SELECTION GetSelection() const; ///< with Accepted as the dialog ended

public slots:
    void OnButtonAcceptClicked();
    void OnButtonRejectClicked();
    void OnTableClicked(QPoint Pos, int Button);
    void OnTableDoubleClicked(QPoint Pos, int Button);
    void OnTableSelectionChanged(QModelIndex Current, QModelIndex Previous);
    void KeepSelection();
    void OnLabelSelectedDeviceClicked(); ///< the selected row comes into view

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;
    void showEvent(QShowEvent* pEvent) override;

private:
    void BuildTable();
    void OpenFilterRow();
    void ApplyFilter();
    void Select(const QString& sDeviceName);
    void ShowSelected();

    CDeviceDataModel* m_pModel;
    CDeviceDataProxyModel* m_pProxy;
    QTableView* m_pTable;
    QLabel* m_pLabelSelected;
    QComboBox* m_pBoxEndian;
    QComboBox* m_pBoxCore;
    QPushButton* m_pButtonAccept;
    bool m_Filtering = false; ///< rows go and come by a filter, not by a user's choice
    QTimer m_FilterTimer;     ///< typing doesn't filter at each key
};
