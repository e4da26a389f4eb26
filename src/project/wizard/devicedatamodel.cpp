#include "project/wizard/devicedatamodel.h"

#include "project/settings/appearance.h"

#include <QFontMetrics>

namespace {
constexpr int COMBO_BOX_EXTRA = 18; ///< pixels that a list box needs beside its text
constexpr int NUMBER_WIDTH = 70;
constexpr char ANY[] = "*";

struct DEVICE_COLUMN {
    int ID;
    const char* Title;
    const char* WidthText; ///< null: as wide as a number
    bool HasValueList;
};
constexpr DEVICE_COLUMN s_aColumns[] = {
    {DEVICE_COL_MANUFACTURER, "Manufacturer", "Energy Micro_", true},
    {DEVICE_COL_NAME, "Device", "STM32L152VC-A (allow opt. bytes)_", false},
    {DEVICE_COL_CORE, "Core", "PowerPC (Nexus)____", true},
    {DEVICE_COL_NUM_CORES, "NumCores", nullptr, false},
    {DEVICE_COL_FLASH, "Flash Size", nullptr, false},
    {DEVICE_COL_RAM, "RAM Size", nullptr, false},
};
static_assert(sizeof(s_aColumns) / sizeof(s_aColumns[0]) == NUM_DEVICE_COLUMNS);

QString SizeText(U32 Bytes)
{
    constexpr U32 K = 1024, M = 1024 * 1024;
    if (Bytes == 0) return QStringLiteral("-");
    if (Bytes % M == 0) return QStringLiteral("%1 MB").arg(Bytes / M);
    return Bytes % K == 0 ? QStringLiteral("%1 KB").arg(Bytes / K) : QStringLiteral("%1 Bytes").arg(Bytes);
}

bool IsColumn(int Column)
{
    return Column >= 0 && Column < NUM_DEVICE_COLUMNS;
}

} // namespace

CDeviceDataModel::CDeviceDataModel(QObject* pParent) : QAbstractItemModel(pParent)
{
    setObjectName(QStringLiteral("DeviceDataModel"));
    m_aFilter.fill(QLatin1String(ANY));
}

void CDeviceDataModel::SetDevices(const QList<DEVICE_ENTRY>& Table, const QList<U32>& AllowedFamilies)
{
    beginResetModel();
    m_Devices.clear();
    for (const DEVICE_ENTRY& Device : Table)
        if (AllowedFamilies.contains(Device.Core >> 24)) m_Devices << Device;
    m_SelectedRow = -1;
    endResetModel();
}

QModelIndex CDeviceDataModel::index(int Row, int Column, const QModelIndex& Parent) const
{
    return hasIndex(Row, Column, Parent) ? createIndex(Row, Column) : QModelIndex();
}

int CDeviceDataModel::rowCount(const QModelIndex& Parent) const
{
    return Parent.isValid() ? 0 : int(m_Devices.size()) + 1;
}

int CDeviceDataModel::columnCount(const QModelIndex& Parent) const
{
    return Parent.isValid() ? 0 : NUM_DEVICE_COLUMNS;
}

const DEVICE_ENTRY* CDeviceDataModel::GetDevice(int Row) const
{
    return Row >= 1 && Row <= m_Devices.size() ? &m_Devices[Row - 1] : nullptr;
}

int CDeviceDataModel::FindRow(const QString& sDeviceName) const
{
    for (int Row = 1; const DEVICE_ENTRY& Device : m_Devices) {
        if (Device.sName.compare(sDeviceName, Qt::CaseInsensitive) == 0) return Row;
        Row++;
    }
    return -1;
}

QString CDeviceDataModel::GetText(const DEVICE_ENTRY& Device, int Column) const
{
    switch (Column) {
    case DEVICE_COL_MANUFACTURER: return Device.sManu;
    case DEVICE_COL_NAME: return Device.sName;
    case DEVICE_COL_CORE: return Device.sCore;
    case DEVICE_COL_NUM_CORES: return QString::number(Device.NumCores);
    case DEVICE_COL_FLASH: return SizeText(Device.FlashSize);
    case DEVICE_COL_RAM: return SizeText(Device.RAMSize);
    default: return {};
    }
}

QVariant CDeviceDataModel::data(const QModelIndex& Index, int Role) const
{
    if (!Index.isValid()) return {};
    const DEVICE_ENTRY* pDevice = GetDevice(Index.row());
    if (Role == Qt::DisplayRole || Role == Qt::EditRole)
        return pDevice ? GetText(*pDevice, Index.column()) : m_aFilter[size_t(Index.column())];
    if (Role == Qt::TextAlignmentRole && Index.column() >= DEVICE_COL_NUM_CORES && pDevice)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

bool CDeviceDataModel::setData(const QModelIndex& Index, const QVariant& Value, int Role)
{
    if (Index.row() != 0 || !IsColumn(Index.column()) || Role != Qt::EditRole) return false;
    const QString sText = Value.toString().trimmed();
    QString& sFilter = m_aFilter[size_t(Index.column())];
    const QString sNew = sText.isEmpty() ? QLatin1String(ANY) : sText;
    if (sFilter == sNew) return true;
    sFilter = sNew;
    emit FilterChanged();
    return true;
}

QVariant CDeviceDataModel::headerData(int Section, Qt::Orientation Orientation, int Role) const
{
    if (Orientation != Qt::Horizontal || !IsColumn(Section)) return {};
    if (Role == Qt::DisplayRole) return QLatin1String(s_aColumns[Section].Title);
    if (Role == Qt::SizeHintRole) return QSize(GetColumnWidth(Section), QFontMetrics(GetFont(FONT_TABLE_HEADER)).height() + 10);
    if (Role == Qt::TextAlignmentRole && Section >= DEVICE_COL_NUM_CORES)
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

Qt::ItemFlags CDeviceDataModel::flags(const QModelIndex& Index) const
{
    if (!Index.isValid()) return Qt::NoItemFlags;
    return Index.row() == 0 ? Qt::ItemIsEnabled | Qt::ItemIsEditable : Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}

QStringList CDeviceDataModel::GetValueList(int Column) const
{
    QStringList Values;
    if (!IsColumn(Column) || !s_aColumns[Column].HasValueList) return Values;
    for (const DEVICE_ENTRY& Device : m_Devices) Values << GetText(Device, Column);
    Values.removeDuplicates();
    Values.sort(Qt::CaseInsensitive);
    return Values;
}

int CDeviceDataModel::GetColumnWidth(int Column) const
{
    int& Width = m_aWidth[size_t(Column)];
    if (Width == 0) {
        const DEVICE_COLUMN& Row = s_aColumns[Column];
        Width = NUMBER_WIDTH;
        if (Row.WidthText) {
            const QFontMetrics Metrics(GetFont(FONT_ITEM_NAME));
            Width = Metrics.horizontalAdvance(QLatin1String(Row.WidthText)) + (Row.HasValueList ? COMBO_BOX_EXTRA : 0);
        }
    }
    return Width;
}

bool CDeviceDataModel::IsMatched(const QString& sText, const QString& sPattern)
{
    if (sPattern.startsWith('*')) return sText.endsWith(sPattern.mid(1), Qt::CaseInsensitive);
    if (sPattern.endsWith('*')) return sText.startsWith(sPattern.chopped(1), Qt::CaseInsensitive);
    return sText.contains(sPattern, Qt::CaseInsensitive);
}

bool CDeviceDataModel::IsAccepted(int Row) const
{
    const DEVICE_ENTRY* pDevice = GetDevice(Row);
    if (!pDevice) return true;
    for (int Column = 0; Column < NUM_DEVICE_COLUMNS; Column++) {
        const QString& sFilter = m_aFilter[size_t(Column)];
        if (sFilter != QLatin1String(ANY) && !IsMatched(GetText(*pDevice, Column), sFilter)) return false;
    }
    return true;
}

#include "moc_devicedatamodel.cpp"
