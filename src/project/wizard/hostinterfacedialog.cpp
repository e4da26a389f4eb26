#include "project/wizard/hostinterfacedialog.h"

#include "project/wizard/statetext.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QStyle>

namespace {
constexpr char TITLE[] = "Host Interface Settings";
constexpr char WIDEST_ADDRESS[] = "999.999.999.999";
constexpr int FIELD_MARGIN = 24; ///< of a text field beside its text, in pixels
constexpr int MAX_HOST_NAME = 255;
} // namespace

CHostInterfaceDialog::CHostInterfaceDialog(const QString& sStateText, QWidget* pParent)
    : CStateDialog("HostInterfaceDialog", TITLE, pParent), m_pButtonUSB(new QRadioButton(QStringLiteral("USB  "), this)),
      m_pButtonTCPIP(new QRadioButton(QStringLiteral("TCP/IP  "), this)),
      m_pCheckBoxUseSerialNo(new QCheckBox(QStringLiteral("Serial No."), this)), m_pEditSerialNo(new QLineEdit(this)),
      m_pEditHostName(new QLineEdit(this))
{
    m_pButtonUSB->setObjectName(QStringLiteral("radioButtonUSB"));
    m_pButtonTCPIP->setObjectName(QStringLiteral("radioButtonTCPIP"));
    m_pCheckBoxUseSerialNo->setObjectName(QStringLiteral("checkBoxUseSerialNo"));
    m_pEditSerialNo->setObjectName(QStringLiteral("editBoxSerialNo"));
    m_pEditSerialNo->setAccessibleName(QStringLiteral("Serial No."));
    m_pEditHostName->setObjectName(QStringLiteral("editBoxHostName"));
    // A name or an address, with or without a port. Blanks and quotes would break the project's command.
    m_pEditHostName->setValidator(new QRegularExpressionValidator(
        QRegularExpression(QStringLiteral("[^\\s\"]{0,%1}").arg(MAX_HOST_NAME)), m_pEditHostName));
    m_pLabelHost = new QLabel(QStringLiteral("IP Address: "), this);
    m_pLabelHost->setBuddy(m_pEditHostName);
    m_pEditHostName->setAccessibleName(QStringLiteral("IP Address"));
    for (QLineEdit* pEdit : {m_pEditSerialNo, m_pEditHostName})
        pEdit->setMinimumWidth(pEdit->fontMetrics().horizontalAdvance(QLatin1String(WIDEST_ADDRESS)) + FIELD_MARGIN);

    auto* pLayout = new QGridLayout(this);
    pLayout->setContentsMargins(18, 16, 18, 14);
    pLayout->setHorizontalSpacing(12);
    pLayout->setVerticalSpacing(10);
    pLayout->addWidget(m_pButtonUSB, 0, 0);
    pLayout->addWidget(m_pCheckBoxUseSerialNo, 0, 1);
    pLayout->addWidget(m_pEditSerialNo, 0, 2);
    pLayout->addWidget(m_pButtonTCPIP, 1, 0);
    pLayout->addWidget(m_pLabelHost, 1, 1);
    pLayout->addWidget(m_pEditHostName, 1, 2);
    pLayout->setRowMinimumHeight(2, 8);
    pLayout->setRowStretch(2, 1);
    pLayout->setColumnStretch(2, 1);
    pLayout->addWidget(MakeButtons(), 3, 0, 1, 3);

    const HOST_INTERFACE_STATE State = GetState<HOST_INTERFACE_STATE>(sStateText);
    (State.ConnectMode == HOST_CONNECT_TCPIP ? m_pButtonTCPIP : m_pButtonUSB)->setChecked(true);
    m_pCheckBoxUseSerialNo->setChecked(State.UseSerialNo);
    if (State.USBSerialNo != 0) m_pEditSerialNo->setText(QString::number(State.USBSerialNo));
    m_pEditHostName->setText(State.sHostName);

    connect(m_pButtonUSB, &QRadioButton::clicked, this, &CHostInterfaceDialog::OnRadioButtonHostIFClicked);
    connect(m_pButtonTCPIP, &QRadioButton::clicked, this, &CHostInterfaceDialog::OnRadioButtonHostIFClicked);
    connect(m_pCheckBoxUseSerialNo, &QCheckBox::clicked, this, &CHostInterfaceDialog::OnCheckboxUseSerialNoClicked);
    connect(m_pEditSerialNo, &QLineEdit::textEdited, this, &CHostInterfaceDialog::OnTextBoxSerialNoEdited);
    connect(m_pEditHostName, &QLineEdit::textEdited, this, &CHostInterfaceDialog::OnTextBoxHostNameEdited);
    Validate();
}

void CHostInterfaceDialog::Validate()
{
    const bool IsUSB = m_pButtonUSB->isChecked();
    m_pCheckBoxUseSerialNo->setEnabled(IsUSB);
    m_pEditSerialNo->setEnabled(IsUSB && m_pCheckBoxUseSerialNo->isChecked());
    m_pEditHostName->setEnabled(!IsUSB);
    m_pLabelHost->setEnabled(!IsUSB);
    bool IsNumber = false;
    m_pEditSerialNo->text().trimmed().toUInt(&IsNumber, 0);
    SetAcceptable(IsUSB ? !m_pCheckBoxUseSerialNo->isChecked() || IsNumber : !m_pEditHostName->text().trimmed().isEmpty());
}

void CHostInterfaceDialog::OnRadioButtonHostIFClicked()
{
    Validate();
    if (m_pButtonTCPIP->isChecked()) m_pEditHostName->setFocus();
}

void CHostInterfaceDialog::OnCheckboxUseSerialNoClicked()
{
    Validate();
    if (m_pEditSerialNo->isEnabled()) m_pEditSerialNo->setFocus();
}

void CHostInterfaceDialog::OnTextBoxSerialNoEdited()
{
    Validate();
}

void CHostInterfaceDialog::OnTextBoxHostNameEdited()
{
    Validate();
}

QString CHostInterfaceDialog::GetStateText() const
{
    HOST_INTERFACE_STATE State;
    State.ConnectMode = m_pButtonTCPIP->isChecked() ? HOST_CONNECT_TCPIP : HOST_CONNECT_USB;
    State.USBSerialNo = m_pEditSerialNo->text().trimmed().toUInt(nullptr, 0);
    State.sHostName = m_pEditHostName->text().trimmed();
    State.UseSerialNo = m_pCheckBoxUseSerialNo->isChecked();
    return WriteState(State);
}

QString CHostInterfaceDialog::GetSummary() const
{
    return DescribeState(GetState<HOST_INTERFACE_STATE>(GetStateText()));
}

#include "moc_hostinterfacedialog.cpp"
