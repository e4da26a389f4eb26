#include "project/wizard/deviceselectiondialog.h"

#include "project/wizard/devicedataproxymodel.h"
#include "project/wizard/deviceitemdelegate.h"
#include "project/wizard/statetext.h"
#include "views/framework/messagebox.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QTableView>
#include <algorithm>

namespace {
constexpr char TITLE[] = "Target Device Settings";
constexpr char NO_DEVICE[] = "none";
constexpr int FILTER_DELAY_MS = 5;
constexpr int HEADING_MARGIN = 30; ///< pixels beside a heading's text: padding and the mark of the sorting

/// Core families that have a core support plug-in, the common ones first.
const QList<U32> FAMILIES = {6, 1, 3, 14, 7, 9, 10, 11, 15, 8, 12, 19};
} // namespace

DEVICE_SELECTION ShowDeviceSelection(const QString& sStateText, bool CanChooseCore, const QString& sDeviceName,
                                     QWidget* pParent)
{
    CDeviceSelectionDialog Dialog(sStateText, CanChooseCore, sDeviceName, pParent);
    if (const auto& Interceptor = CMessageBox::GetInterceptor()) {
        DEVICE_SELECTION Choice = Dialog.GetSelection();
        const auto Buttons = Choice.DeviceIndex < 0 ? QDialogButtonBox::Cancel
                                                    : QDialogButtonBox::Ok | QDialogButtonBox::Cancel;
        const int Answer = Interceptor(QLatin1String(TITLE), QStringLiteral("Selected Device: ") + Choice.sDeviceName, Buttons);
        Choice.Accepted = Choice.DeviceIndex >= 0 && (Answer == QDialogButtonBox::Ok || Answer == 0);
        return Choice;
    }
    Dialog.exec();
    return Dialog.GetSelection();
}

CDeviceSelectionDialog::CDeviceSelectionDialog(const QString& sStateText, bool CanChooseCore, const QString& sDeviceName,
                                               QWidget* pParent)
    : CDialog(QStringLiteral("DeviceSelectionDialog"), QLatin1String(TITLE), QStringLiteral("cpu2"), pParent),
      m_pModel(new CDeviceDataModel(this)), m_pProxy(new CDeviceDataProxyModel(m_pModel, this)),
      m_pTable(new QTableView(this)), m_pLabelSelected(new QLabel(this)), m_pBoxEndian(new QComboBox(this)),
      m_pBoxCore(new QComboBox(this))
{
    BuildTable();

    auto* pLayout = new QVBoxLayout(this);
    pLayout->addWidget(m_pTable, 1);
    auto* pRow = new QHBoxLayout;
    pRow->addWidget(new QLabel(QStringLiteral("Selected Device:"), this));
    QFont Bold = m_pLabelSelected->font();
    Bold.setBold(true);
    m_pLabelSelected->setFont(Bold);
    m_pLabelSelected->setObjectName(QStringLiteral("labelSelectedDevice"));
    m_pLabelSelected->setCursor(Qt::PointingHandCursor);
    m_pLabelSelected->installEventFilter(this);
    pRow->addWidget(m_pLabelSelected, 1);
    m_pBoxEndian->setObjectName(QStringLiteral("comboBoxEndian"));
    m_pBoxEndian->addItems({QStringLiteral("Little Endian"), QStringLiteral("Big Endian")});
    m_pBoxEndian->setAccessibleName(QStringLiteral("Byte order"));
    m_pBoxCore->setObjectName(QStringLiteral("comboBoxCore"));
    m_pBoxCore->setAccessibleName(QStringLiteral("Core"));
    m_pBoxEndian->setEnabled(CanChooseCore);
    pRow->addWidget(m_pBoxEndian);
    pRow->addWidget(m_pBoxCore);
    pLayout->addLayout(pRow);
    auto* pBox = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    for (QAbstractButton* pButton : pBox->buttons()) pButton->setIcon({});
    m_pButtonAccept = pBox->button(QDialogButtonBox::Ok);
    connect(pBox, &QDialogButtonBox::accepted, this, &CDeviceSelectionDialog::OnButtonAcceptClicked);
    connect(pBox, &QDialogButtonBox::rejected, this, &CDeviceSelectionDialog::OnButtonRejectClicked);
    pLayout->addWidget(pBox);

    TARGET_DEVICE_STATE State;
    ReadState(sStateText, &State);
    Select(State.sDeviceName.isEmpty() ? sDeviceName : State.sDeviceName);
    m_pBoxEndian->setCurrentIndex(State.Endian ? 1 : 0);
    if (int(State.CoreIndex) < m_pBoxCore->count()) m_pBoxCore->setCurrentIndex(int(State.CoreIndex));
    resize(760, 580);
    m_pTable->setFocus();
}

void CDeviceSelectionDialog::BuildTable()
{
    m_pModel->SetDevices(DEVICE_GetTable(), FAMILIES);
    m_pTable->setObjectName(QStringLiteral("tableDevices"));
    m_pTable->setAccessibleName(QStringLiteral("Devices"));
    m_pTable->setModel(m_pProxy);
    m_pTable->setItemDelegate(new CDeviceItemDelegate(m_pModel, this));
    m_pTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_pTable->setSelectionMode(QAbstractItemView::SingleSelection);
    m_pTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_pTable->setShowGrid(false);
    m_pTable->setTabKeyNavigation(false); // the key goes on to the next control, as everywhere
    m_pTable->verticalHeader()->hide();
    m_pTable->verticalHeader()->setDefaultSectionSize(m_pTable->fontMetrics().height() + 8);
    QHeaderView* pHeader = m_pTable->horizontalHeader();
    pHeader->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    pHeader->setHighlightSections(false);
    for (int i = 0; i < NUM_DEVICE_COLUMNS; i++) {
        const QString sHeading = m_pModel->headerData(i, Qt::Horizontal, Qt::DisplayRole).toString();
        const int Heading = pHeader->fontMetrics().horizontalAdvance(sHeading) + HEADING_MARGIN;
        m_pTable->setColumnWidth(i, std::max(m_pModel->GetColumnWidth(i), Heading));
    }
    pHeader->setSectionResizeMode(DEVICE_COL_NAME, QHeaderView::Stretch);
    pHeader->setSortIndicator(-1, Qt::AscendingOrder); // the library's order until the user asks for another
    m_pTable->setSortingEnabled(true);
    OpenFilterRow();

    m_FilterTimer.setSingleShot(true);
    m_FilterTimer.setInterval(FILTER_DELAY_MS);
    connect(m_pModel, &CDeviceDataModel::FilterChanged, &m_FilterTimer, qOverload<>(&QTimer::start));
    connect(&m_FilterTimer, &QTimer::timeout, this, &CDeviceSelectionDialog::ApplyFilter);
    connect(m_pTable->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &CDeviceSelectionDialog::OnTableSelectionChanged);
    connect(m_pTable->selectionModel(), &QItemSelectionModel::selectionChanged, this, &CDeviceSelectionDialog::KeepSelection);
    m_pTable->viewport()->installEventFilter(this);
}

void CDeviceSelectionDialog::OpenFilterRow()
{
    // From the right: the view puts each editor that opens right behind itself in the order of the Tab key.
    for (int i = NUM_DEVICE_COLUMNS - 1; i >= 0; i--) {
        const QModelIndex Index = m_pProxy->mapFromSource(m_pModel->index(0, i));
        m_pTable->openPersistentEditor(Index);
        if (auto* pEdit = qobject_cast<QLineEdit*>(m_pTable->indexWidget(Index))) pEdit->deselect();
    }
}

void CDeviceSelectionDialog::ApplyFilter()
{
    // A row that goes hands the table's cursor to its neighbour, which nobody chose.
    m_Filtering = true;
    m_pProxy->UpdateFilter();
    const QModelIndex Index = m_pProxy->mapFromSource(m_pModel->index(m_pModel->GetSelectedRow(), DEVICE_COL_NAME));
    if (Index.isValid())
        m_pTable->selectionModel()->setCurrentIndex(Index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    else
        m_pTable->selectionModel()->clear();
    m_pTable->scrollToTop(); // the filter row is what the user is at
    m_Filtering = false;
}

void CDeviceSelectionDialog::Select(const QString& sDeviceName)
{
    const int Row = m_pModel->FindRow(sDeviceName);
    if (Row > 0) m_pTable->setCurrentIndex(m_pProxy->mapFromSource(m_pModel->index(Row, DEVICE_COL_NAME)));
    ShowSelected();
}

/// The rows under the table: name of the device, its cores.
void CDeviceSelectionDialog::ShowSelected()
{
    const DEVICE_ENTRY* pDevice = m_pModel->GetDevice(m_pModel->GetSelectedRow());
    m_pLabelSelected->setText(pDevice ? pDevice->sName : QLatin1String(NO_DEVICE));
    m_pLabelSelected->setEnabled(pDevice != nullptr);
    const int NumCores = pDevice ? int(pDevice->NumCores) : 1;
    while (m_pBoxCore->count() < NumCores) m_pBoxCore->addItem(QStringLiteral("Core #%1").arg(m_pBoxCore->count()));
    while (m_pBoxCore->count() > NumCores) m_pBoxCore->removeItem(m_pBoxCore->count() - 1);
    m_pBoxCore->setEnabled(NumCores > 1 && m_pBoxEndian->isEnabled());
    m_pButtonAccept->setEnabled(pDevice != nullptr);
}

DEVICE_SELECTION CDeviceSelectionDialog::GetSelection() const
{
    DEVICE_SELECTION Choice;
    const DEVICE_ENTRY* pDevice = m_pModel->GetDevice(m_pModel->GetSelectedRow());
    if (!pDevice) return Choice;
    Choice.Accepted = result() == QDialog::Accepted;
    Choice.BigEndian = m_pBoxEndian->currentIndex() == 1;
    Choice.DeviceIndex = pDevice->Index;
    Choice.CoreId = pDevice->Core;
    Choice.sDeviceName = pDevice->sName;
    TARGET_DEVICE_STATE State;
    State.CoreIndex = U32(std::max(m_pBoxCore->currentIndex(), 0));
    State.Endian = Choice.BigEndian ? 1 : 0;
    State.sDeviceName = pDevice->sName;
    Choice.sStateText = WriteState(State);
    return Choice;
}

void CDeviceSelectionDialog::OnButtonAcceptClicked()
{
    if (m_pModel->GetSelectedRow() > 0) accept();
}

void CDeviceSelectionDialog::OnButtonRejectClicked()
{
    reject();
}

void CDeviceSelectionDialog::OnTableClicked(QPoint Pos, int Button)
{
    // The filter row is no device: a click beside its editors leaves the choice as it is.
    const QModelIndex Index = m_pTable->indexAt(Pos);
    if (Button == Qt::LeftButton && Index.isValid() && m_pProxy->mapToSource(Index).row() > 0)
        m_pTable->setCurrentIndex(Index);
}

void CDeviceSelectionDialog::OnTableDoubleClicked(QPoint Pos, int Button)
{
    const QModelIndex Index = m_pTable->indexAt(Pos);
    if (Button == Qt::LeftButton && Index.isValid() && m_pProxy->mapToSource(Index).row() > 0) OnButtonAcceptClicked();
}

void CDeviceSelectionDialog::OnTableSelectionChanged(QModelIndex Current, QModelIndex)
{
    const int Row = m_pProxy->mapToSource(Current).row();
    if (Row <= 0 || m_Filtering) return; // a filter that hides the row chosen doesn't undo the choice
    m_pModel->SetSelectedRow(Row);
    ShowSelected();
}

/// A field of the filter row that gets the focus takes the table's cursor with it, but the device stays chosen.
void CDeviceSelectionDialog::KeepSelection()
{
    const int Row = m_pModel->GetSelectedRow();
    if (m_Filtering || Row <= 0 || m_pTable->selectionModel()->hasSelection()) return;
    const QModelIndex Index = m_pProxy->mapFromSource(m_pModel->index(Row, DEVICE_COL_NAME));
    if (Index.isValid()) m_pTable->selectionModel()->select(Index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

void CDeviceSelectionDialog::OnLabelSelectedDeviceClicked()
{
    const QModelIndex Index = m_pProxy->mapFromSource(m_pModel->index(m_pModel->GetSelectedRow(), DEVICE_COL_NAME));
    if (Index.isValid()) m_pTable->scrollTo(Index);
}

void CDeviceSelectionDialog::showEvent(QShowEvent* pEvent)
{
    CDialog::showEvent(pEvent);
    // The filter row is in sight unless the device chosen lies further down than the table is high.
    m_pTable->scrollToTop();
    OnLabelSelectedDeviceClicked();
}

bool CDeviceSelectionDialog::eventFilter(QObject* pObject, QEvent* pEvent)
{
    const bool IsPress = pEvent->type() == QEvent::MouseButtonPress;
    if (IsPress || pEvent->type() == QEvent::MouseButtonDblClick) {
        const auto* pMouse = static_cast<QMouseEvent*>(pEvent);
        if (pObject == m_pLabelSelected && IsPress) OnLabelSelectedDeviceClicked();
        if (pObject == m_pTable->viewport() && IsPress) OnTableClicked(pMouse->pos(), pMouse->button());
        if (pObject == m_pTable->viewport() && !IsPress) OnTableDoubleClicked(pMouse->pos(), pMouse->button());
    }
    return CDialog::eventFilter(pObject, pEvent);
}

#include "moc_deviceselectiondialog.cpp"
