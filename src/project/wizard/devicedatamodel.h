// CDeviceDataModel: the table of devices to choose from. Row 0 is the filter row and holds the text that each column
// is filtered by; the devices follow from row 1.
//
// The rows refer to the device table of device/target, which lives as long as the program. Main thread only.
#pragma once
#include "app/services/types.h"
#include "device/target/devicetable.h"

#include <QAbstractItemModel>
#include <QList>
#include <QStringList>
#include <array>

enum DEVICE_COLUMNS : int {
    DEVICE_COL_MANUFACTURER,
    DEVICE_COL_NAME,
    DEVICE_COL_CORE,
    DEVICE_COL_NUM_CORES,
    DEVICE_COL_FLASH,
    DEVICE_COL_RAM,
    NUM_DEVICE_COLUMNS
};

class CDeviceDataModel : public QAbstractItemModel {
    Q_OBJECT

public:
    explicit CDeviceDataModel(QObject* pParent = nullptr);
    /// Takes the devices of the table that belong to one of the core families, in the order of the table.
    void SetDevices(const QList<DEVICE_ENTRY>& Table, const QList<U32>& AllowedFamilies);

    QModelIndex index(int Row, int Column, const QModelIndex& Parent = {}) const override;
    QModelIndex parent(const QModelIndex&) const override { return {}; }
    int rowCount(const QModelIndex& Parent = {}) const override;
    int columnCount(const QModelIndex& Parent = {}) const override;
    QVariant data(const QModelIndex& Index, int Role) const override;
    bool setData(const QModelIndex& Index, const QVariant& Value, int Role) override;
    QVariant headerData(int Section, Qt::Orientation Orientation, int Role) const override;
    Qt::ItemFlags flags(const QModelIndex& Index) const override;

    const DEVICE_ENTRY* GetDevice(int Row) const; ///< null for the filter row
    int FindRow(const QString& sDeviceName) const; ///< ignoring case, -1 if there is none
    /// All texts of a column, each once, sorted; empty for a column that is filtered by free text.
    QStringList GetValueList(int Column) const;
    QString GetFilter(int Column) const { return m_aFilter[size_t(Column)]; } ///< "*" if nobody set it
    QString GetText(const DEVICE_ENTRY& Device, int Column) const;
    int GetColumnWidth(int Column) const; ///< pixels
    bool IsAccepted(int Row) const; ///< each column's filter lets the row pass; the filter row always passes
    /// "*end", "begin*", or a part of the text, ignoring case.
    static bool IsMatched(const QString& sText, const QString& sPattern);

    int GetSelectedRow() const { return m_SelectedRow; } ///< -1 for none
    void SetSelectedRow(int Row) { m_SelectedRow = Row; }

signals:
    void FilterChanged();

private:
    QList<DEVICE_ENTRY> m_Devices;
    std::array<QString, NUM_DEVICE_COLUMNS> m_aFilter;
    mutable std::array<int, NUM_DEVICE_COLUMNS> m_aWidth{}; ///< 0 until asked for
    int m_SelectedRow = -1;
};
