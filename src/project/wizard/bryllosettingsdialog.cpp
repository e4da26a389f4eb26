#include "project/wizard/bryllosettingsdialog.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/services/log.h"
#include "device/queue/device.h"
#include "device/target/devicetable.h"
#include "device/target/devicetarget.h"
#include "project/file/project.h"
#include "project/wizard/deviceselectiondialog.h"
#include "project/wizard/hostinterfacedialog.h"
#include "project/wizard/statecommands.h"
#include "project/wizard/statetext.h"
#include "project/wizard/targetinterfacedialog.h"
#include "views/framework/messagebox.h"
#include "views/theme/icons.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

namespace {
constexpr char TITLE[] = "Bryllo Settings";
constexpr char ICON[] = "gear";
constexpr char ROW_DEVICE[] = "Target Device";
constexpr char ROW_TARGET_INTERFACE[] = "Target Interface";
constexpr char ROW_HOST_INTERFACE[] = "Host Interface";
constexpr char NO_DEVICE[] = "in function BrylloSettingsDialog::GetTargetDeviceSettings: invalid device name";
constexpr char NOT_KNOWN[] = "-";
constexpr U32 HZ_PER_KHZ = 1000;
constexpr int VALUE_WIDTH = 260;

/// The three elements of the configuration in force.
QString GetStateOfConfig()
{
    const CDeviceConfig& Config = CDeviceTarget::Get().Config;
    const auto Number = [&Config](DEV_CONFIG_PARAMS Id) { return U32(Config.GetInt(Id)); };
    TARGET_DEVICE_STATE Device;
    Device.CoreIndex = Number(DCP_CORE_INDEX);
    Device.Endian = Number(DCP_ENDIAN);
    Device.sDeviceName = Config.GetString(DCP_DEVICE_NAME);
    HOST_INTERFACE_STATE Host;
    Host.ConnectMode = Number(DCP_CONNECT_MODE);
    Host.USBSerialNo = Number(DCP_USB_SERIAL_NO);
    Host.sHostName = Config.GetString(DCP_HOST_NAME);
    Host.UseSerialNo = Number(DCP_USE_SERIAL_NO) != 0;
    TARGET_INTERFACE_STATE Target;
    Target.TargetIF = Number(DCP_TARGET_IF);
    Target.DRPre = Number(DCP_DR_PRE);
    Target.IRPre = Number(DCP_IR_PRE);
    Target.MultipleTargets = Number(DCP_MULTIPLE_TARGETS) != 0;
    Target.UseAdaptive = Number(DCP_USE_ADAPTIVE) != 0;
    Target.UseMaxSpeed = Number(DCP_USE_MAX_SPEED) != 0;
    Target.Speed = Target.UseAdaptive || Target.UseMaxSpeed ? 0 : Number(DCP_SPEED) / HZ_PER_KHZ;
    return WriteState(Host) + WriteState(Device) + WriteState(Target);
}

U32 GetNumCores(const QString& sDeviceName)
{
    const DEVICE_ENTRY* pDevice = DEVICE_FindEntry(sDeviceName);
    return pDevice ? pDevice->NumCores : 1;
}

/// True, with the box that tells it, while the settings of the connection are in use.
bool IsLocked(const char* sTitle)
{
    if (!CDevice::Get().IsConnected()) return false;
    CMessageBox::Ask(MSGBOX_SETTING_LOCKED, {}, QLatin1String(sTitle));
    return true;
}
} // namespace

CBrylloSettingsDialog::CBrylloSettingsDialog(QWidget* pParent)
    : CDialog(QStringLiteral("BrylloSettingsDialog"), QLatin1String(TITLE), QLatin1String(ICON), pParent), m_sOldState(GetStateOfConfig()), m_sStateText(m_sOldState)
{
    setModal(true);

    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(18, 16, 18, 14);
    pLayout->setSpacing(14);
    pLayout->addWidget(BuildProbe());
    auto* pRows = new QGridLayout;
    pRows->setHorizontalSpacing(14);
    pRows->setVerticalSpacing(10);
    m_pLabelDevice = AddRow(pRows, ROW_DEVICE, "Device", "cpu2", &CBrylloSettingsDialog::OnButtonSelectDeviceClicked);
    m_pLabelTargetInterface = AddRow(pRows, ROW_TARGET_INTERFACE, "TargetInterface", "gear",
                                     &CBrylloSettingsDialog::OnButtonSelectTargetInterfaceClicked);
    m_pLabelHostInterface = AddRow(pRows, ROW_HOST_INTERFACE, "HostInterface", "gear",
                                   &CBrylloSettingsDialog::OnButtonSelectHostInterfaceClicked);
    pRows->setColumnStretch(1, 1);
    pLayout->addLayout(pRows);
    pLayout->addStretch(1);

    auto* pBox = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Close, this);
    for (QAbstractButton* pButton : pBox->buttons()) pButton->setIcon({});
    connect(pBox, &QDialogButtonBox::accepted, this, &CBrylloSettingsDialog::OnButtonSaveClicked);
    connect(pBox, &QDialogButtonBox::rejected, this, &CBrylloSettingsDialog::OnButtonCloseClicked);
    pLayout->addWidget(pBox);
    ShowState();
}

QWidget* CBrylloSettingsDialog::BuildProbe()
{
    const DEVICE_INFO Info = CDeviceTarget::Get().GetInfo();
    const bool Connected = CDevice::Get().IsConnected();
    auto* pGroup = new QGroupBox(QStringLiteral("Bryllo"), this);
    auto* pLayout = new QFormLayout(pGroup);
    pLayout->setHorizontalSpacing(14);
    const auto Add = [&](const char* sLabel, const char* sName, const QString& sValue) {
        auto* pValue = new QLabel(sValue.isEmpty() ? QLatin1String(NOT_KNOWN) : sValue, pGroup);
        pValue->setObjectName(QLatin1String(sName));
        pValue->setTextInteractionFlags(Qt::TextSelectableByMouse);
        pLayout->addRow(QLatin1String(sLabel), pValue);
    };
    Add("Model:", "labelModel", Connected ? Info.FirmwareText : QString());
    Add("Serial-No:", "labelSerialNo", Connected ? QString::number(Info.SerialNo) : QString());
    Add("API Version:   ", "labelAPIVersion", Info.LibVersionText);
    return pGroup;
}

QLabel* CBrylloSettingsDialog::AddRow(QGridLayout* pLayout, const char* sTitle, const char* sName, const char* sIcon,
                                      void (CBrylloSettingsDialog::*pfSlot)())
{
    const int Row = pLayout->rowCount();
    auto* pValue = new QLabel(this);
    pValue->setObjectName(QStringLiteral("label") + QLatin1String(sName));
    pValue->setProperty("valueField", true); // the theme frames it like an input field
    pValue->setMinimumWidth(VALUE_WIDTH);
    auto* pButton = new QToolButton(this);
    pButton->setObjectName(QStringLiteral("buttonSelect") + QLatin1String(sName));
    pButton->setIcon(GetIcon(QLatin1String(sIcon)));
    pButton->setToolTip(QStringLiteral("Choose via Dialog"));
    pButton->setAccessibleName(QStringLiteral("Choose ") + QLatin1String(sTitle));
    pButton->setFocusPolicy(Qt::StrongFocus);
    connect(pButton, &QToolButton::clicked, this, pfSlot);
    pValue->setAccessibleName(QLatin1String(sTitle));
    pLayout->addWidget(new QLabel(QLatin1String(sTitle), this), Row, 0);
    pLayout->addWidget(pValue, Row, 1);
    pLayout->addWidget(pButton, Row, 2);
    return pValue;
}

void CBrylloSettingsDialog::SetStateText(const QString& sStateText)
{
    m_sStateText = sStateText;
    ShowState();
}

void CBrylloSettingsDialog::ShowState()
{
    const TARGET_STATE State(m_sStateText);
    m_pLabelDevice->setText(DescribeState(State.Device, GetNumCores(State.Device.sDeviceName)));
    m_pLabelHostInterface->setText(DescribeState(State.Host));
    m_pLabelTargetInterface->setText(DescribeState(State.Interface));
}

QString CBrylloSettingsDialog::GetSummary() const
{
    const QString sRow = QStringLiteral("%1: %2");
    return QStringList{sRow.arg(QLatin1String(ROW_DEVICE), m_pLabelDevice->text()),
                       sRow.arg(QLatin1String(ROW_TARGET_INTERFACE), m_pLabelTargetInterface->text()),
                       sRow.arg(QLatin1String(ROW_HOST_INTERFACE), m_pLabelHostInterface->text())}
        .join('\n');
}

// ---- The three rows --------------------------------------------------------------------------------------

void CBrylloSettingsDialog::OnButtonSelectDeviceClicked()
{
    if (IsLocked(ROW_DEVICE)) return;
    const DEVICE_SELECTION Choice = ShowDeviceSelection(m_sStateText, true, {}, this);
    if (!Choice.Accepted) return;
    ReplaceState(&m_sStateText, Choice.sStateText);
    ShowState();
}

void CBrylloSettingsDialog::OnButtonSelectHostInterfaceClicked()
{
    if (IsLocked(ROW_HOST_INTERFACE)) return;
    if (CHostInterfaceDialog(m_sStateText, this).Edit(&m_sStateText)) ShowState();
}

void CBrylloSettingsDialog::OnButtonSelectTargetInterfaceClicked()
{
    if (IsLocked(ROW_TARGET_INTERFACE)) return;
    if (CTargetInterfaceDialog(m_sStateText, this).Edit(&m_sStateText)) ShowState();
}

// ---- Saving ----------------------------------------------------------------------------------------------

QStringList CBrylloSettingsDialog::GetCommands() const
{
    if (TARGET_STATE(m_sStateText).Device.sDeviceName.isEmpty()) LogError(QLatin1String(NO_DEVICE));
    return GetStateCommands(m_sStateText);
}

void CBrylloSettingsDialog::Configure()
{
    // The text holds what no command can say: the core of the device, and all that is off again. The commands reach what
    // depends on a setting, and the console's record.
    CDevice::Get().ConfigureAsync(GetConfigXml(m_sStateText).toUtf8().constData());
    if (!UsesSamePlugin(m_sOldState, m_sStateText)) CProject::Get().SetCorePluginFile({});
    for (const QString& sCommand : GetChangeCommands(m_sOldState, m_sStateText)) {
        const PARSED_COMMAND Command = ParseCommand(sCommand);
        PerformActionList(Command.Id, Command.Params);
    }
}

void CBrylloSettingsDialog::OnButtonSaveClicked()
{
    const QStringList Untouched = GetUntouchedCommands(m_sOldState, m_sStateText);
    if (m_sStateText != m_sOldState) {
        if (IsLocked(TITLE)) return;
        Configure();
    }
    if (!CProject::Get().WriteBrylloSettings(GetCommands(), GetSilentCommands(m_sStateText), Untouched)) return;
    m_sOldState = m_sStateText;
    accept();
}

void CBrylloSettingsDialog::OnButtonCloseClicked()
{
    reject();
}

#include "moc_bryllosettingsdialog.cpp"
