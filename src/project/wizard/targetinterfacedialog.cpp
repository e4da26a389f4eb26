#include "project/wizard/targetinterfacedialog.h"

#include "project/file/project.h"
#include "project/settings/sysvars.h"
#include "project/wizard/statetext.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>

namespace {
constexpr char TITLE[] = "Target Interface Settings";
constexpr U32 INTERFACES[] = {7, 3, 0, 1}; ///< by name
constexpr U32 IF_JTAG = 0, IF_CJTAG = 7;
constexpr U32 IR_LEN_ARM = 4;
constexpr U32 HZ_PER_KHZ = 1000;

I64 GetVarMax(int VarID)
{
    I64 Min = 0;
    U64 Max = 0;
    GetVarRange(VarID, &Min, &Max);
    return I64(Max);
}
} // namespace

CTargetInterfaceDialog::CTargetInterfaceDialog(const QString& sStateText, QWidget* pParent)
    : CStateDialog("TargetInterfaceDialog", TITLE, pParent), m_pBoxTargetIF(new QComboBox(this))
{
    m_pBoxTargetIF->setObjectName(QStringLiteral("comboBoxTargetInterface"));
    m_pBoxTargetIF->setAccessibleName(QStringLiteral("Target Interface"));
    for (const U32 TargetIF : INTERFACES) m_pBoxTargetIF->addItem(GetTargetIFName(TargetIF), TargetIF);

    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(18, 16, 18, 14);
    pLayout->setSpacing(12);
    auto* pRow = new QHBoxLayout;
    auto* pLabel = new QLabel(QStringLiteral("Target Interface"), this);
    pLabel->setBuddy(m_pBoxTargetIF);
    pRow->addWidget(pLabel);
    pRow->addWidget(m_pBoxTargetIF, 1);
    pLayout->addLayout(pRow);
    pLayout->addWidget(BuildSpeed());
    pLayout->addWidget(BuildScanChain());
    pLayout->addStretch(1);
    pLayout->addWidget(MakeButtons());

    SetState(GetState<TARGET_INTERFACE_STATE>(sStateText));
    for (QRadioButton* pButton : {m_pButtonAuto, m_pButtonAdaptive, m_pButtonFixed})
        connect(pButton, &QRadioButton::clicked, this, &CTargetInterfaceDialog::OnRadioButtonSpeedClicked);
    connect(m_pBoxTargetIF, &QComboBox::currentIndexChanged, this, &CTargetInterfaceDialog::Validate);
    connect(m_pBoxSpeed, &QComboBox::editTextChanged, this, &CTargetInterfaceDialog::Validate);
    connect(m_pScanChain, &QGroupBox::toggled, this, &CTargetInterfaceDialog::Validate);
    connect(m_pBoxDRPre, &QComboBox::currentIndexChanged, this, &CTargetInterfaceDialog::OnComboBoxDRPreItemChanged);
    connect(m_pEditIRPre, &QLineEdit::textEdited, this, &CTargetInterfaceDialog::OnTextBoxIRPreEdited);
    Validate();
}

QGroupBox* CTargetInterfaceDialog::BuildSpeed()
{
    auto* pGroup = new QGroupBox(QStringLiteral("Speed"), this);
    m_pButtonAuto = new QRadioButton(QStringLiteral("auto"), pGroup);
    m_pButtonAuto->setObjectName(QStringLiteral("radioButtonAuto"));
    m_pButtonAdaptive = new QRadioButton(QStringLiteral("adaptive"), pGroup);
    m_pButtonAdaptive->setObjectName(QStringLiteral("radioButtonAdaptive"));
    m_pButtonFixed = new QRadioButton(QStringLiteral("fixed:"), pGroup);
    m_pButtonFixed->setObjectName(QStringLiteral("radioButtonFixed"));
    m_pBoxSpeed = new QComboBox(pGroup);
    m_pBoxSpeed->setObjectName(QStringLiteral("comboBoxSpeed"));
    m_pBoxSpeed->setAccessibleName(QStringLiteral("Fixed speed"));
    m_pBoxSpeed->setEditable(true);
    m_pBoxSpeed->addItems(GetTIFSpeedTexts());
    auto* pRow = new QHBoxLayout(pGroup);
    pRow->setSpacing(14);
    pRow->addWidget(m_pButtonAuto);
    pRow->addWidget(m_pButtonAdaptive);
    pRow->addWidget(m_pButtonFixed);
    pRow->addWidget(m_pBoxSpeed, 1);
    return pGroup;
}

QGroupBox* CTargetInterfaceDialog::BuildScanChain()
{
    m_pScanChain = new QGroupBox(QStringLiteral("Scan Chain with Multiple Devices"), this);
    m_pScanChain->setObjectName(QStringLiteral("groupBoxScanChain"));
    m_pScanChain->setCheckable(true);
    m_pBoxDRPre = new QComboBox(m_pScanChain);
    m_pBoxDRPre->setObjectName(QStringLiteral("comboBoxDRPre"));
    m_pBoxDRPre->setAccessibleName(QStringLiteral("Position"));
    for (const QString& sPosition : GetValueTexts(VAR_TIF_SCAN_CHAIN_POS)) m_pBoxDRPre->addItem(sPosition, sPosition.toUInt());
    m_pEditIRPre = new QLineEdit(m_pScanChain);
    m_pEditIRPre->setObjectName(QStringLiteral("editBoxIRPre"));
    m_pEditIRPre->setAccessibleName(QStringLiteral("IRPre"));
    auto* pLayout = new QGridLayout(m_pScanChain);
    pLayout->setVerticalSpacing(8);
    const auto AddRow = [&](int Row, const char* sLabel, QWidget* pField, const char* sHint) {
        auto* pLabel = new QLabel(QLatin1String(sLabel), m_pScanChain);
        pLabel->setBuddy(pField);
        pField->setMaximumWidth(90);
        pField->setToolTip(QLatin1String(sHint));
        auto* pHint = new QLabel(QLatin1String(sHint), m_pScanChain);
        pHint->setWordWrap(true);
        pHint->setMinimumWidth(260);
        pLayout->addWidget(pLabel, Row, 0);
        pLayout->addWidget(pField, Row, 1);
        pLayout->addWidget(pHint, Row, 2);
    };
    AddRow(0, "Position:", m_pBoxDRPre, "0 is closest to TDO.");
    AddRow(1, "IRPre:", m_pEditIRPre, "Sum of IRLens of devices closer to TDO. IRLen of ARM devices is 4.");
    pLayout->setColumnStretch(2, 1);
    return m_pScanChain;
}

void CTargetInterfaceDialog::SetState(const TARGET_INTERFACE_STATE& State)
{
    // A number without a name stays what it is until another interface is chosen.
    if (m_pBoxTargetIF->findData(State.TargetIF) < 0) m_pBoxTargetIF->addItem(GetTargetIFName(State.TargetIF), State.TargetIF);
    m_pBoxTargetIF->setCurrentIndex(m_pBoxTargetIF->findData(State.TargetIF));
    (State.UseAdaptive ? m_pButtonAdaptive : State.UseMaxSpeed ? m_pButtonAuto : m_pButtonFixed)->setChecked(true);
    const TARGET_INTERFACE_STATE Fresh; // what is offered to someone who leaves one of the two modes
    const bool IsFixed = m_pButtonFixed->isChecked() && State.Speed != 0;
    m_pBoxSpeed->setEditText(FormatTIFSpeed(I64(IsFixed ? State.Speed : Fresh.Speed) * HZ_PER_KHZ));
    m_pScanChain->setChecked(State.MultipleTargets);
    if (m_pBoxDRPre->findData(State.DRPre) < 0) m_pBoxDRPre->addItem(QString::number(State.DRPre), State.DRPre);
    m_pBoxDRPre->setCurrentIndex(m_pBoxDRPre->findData(State.DRPre));
    m_pEditIRPre->setText(QString::number(State.IRPre));
}

U32 CTargetInterfaceDialog::GetFixedSpeed() const
{
    // The words of the two modes give numbers that are no whole kHz, or none at all.
    const I64 Hz = ParseTIFSpeed(m_pBoxSpeed->currentText());
    return Hz > 0 && Hz % HZ_PER_KHZ == 0 ? U32(Hz / HZ_PER_KHZ) : 0;
}

void CTargetInterfaceDialog::Validate()
{
    const U32 TargetIF = m_pBoxTargetIF->currentData().toUInt();
    m_pScanChain->setEnabled(TargetIF == IF_JTAG || TargetIF == IF_CJTAG);
    m_pBoxSpeed->setEnabled(m_pButtonFixed->isChecked());
    bool Ok = true;
    if (m_pScanChain->isEnabled() && m_pScanChain->isChecked()) {
        const U32 IRPre = m_pEditIRPre->text().trimmed().toUInt(&Ok, 0);
        Ok = Ok && IRPre <= GetVarMax(VAR_TIF_SCAN_CHAIN_LEN);
    }
    SetAcceptable(Ok && (!m_pButtonFixed->isChecked() || GetFixedSpeed() != 0));
}

void CTargetInterfaceDialog::OnComboBoxDRPreItemChanged()
{
    // Nearly always the neighbours are of one make; who has others corrects the number.
    m_pEditIRPre->setText(QString::number(m_pBoxDRPre->currentData().toUInt() * IR_LEN_ARM));
    Validate();
}

void CTargetInterfaceDialog::OnTextBoxIRPreEdited()
{
    Validate();
}

void CTargetInterfaceDialog::OnRadioButtonSpeedClicked()
{
    Validate();
    if (m_pButtonFixed->isChecked()) m_pBoxSpeed->setFocus();
}

QString CTargetInterfaceDialog::GetStateText() const
{
    TARGET_INTERFACE_STATE State;
    State.TargetIF = m_pBoxTargetIF->currentData().toUInt();
    State.MultipleTargets = m_pScanChain->isEnabled() && m_pScanChain->isChecked();
    State.DRPre = State.MultipleTargets ? m_pBoxDRPre->currentData().toUInt() : 0;
    State.IRPre = State.MultipleTargets ? m_pEditIRPre->text().trimmed().toUInt(nullptr, 0) : 0;
    State.UseAdaptive = m_pButtonAdaptive->isChecked();
    State.UseMaxSpeed = m_pButtonAuto->isChecked();
    State.Speed = m_pButtonFixed->isChecked() ? GetFixedSpeed() : 0;
    return WriteState(State);
}

QString CTargetInterfaceDialog::GetSummary() const
{
    return DescribeState(GetState<TARGET_INTERFACE_STATE>(GetStateText()));
}

#include "moc_targetinterfacedialog.cpp"
