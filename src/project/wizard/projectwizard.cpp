#include "project/wizard/projectwizard.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/services/cmdline.h"
#include "app/services/settingsstore.h"
#include "core/host/corehost.h"
#include "device/queue/device.h"
#include "project/file/project.h"
#include "project/finder/filefinder.h"
#include "project/wizard/deviceselectiondialog.h"
#include "project/wizard/statetext.h"
#include "views/theme/icons.h"

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QStackedWidget>
#include <QStyle>
#include <QToolButton>

namespace {
constexpr char TITLE[] = "New Project Wizard";
constexpr char ICON[] = "wand.png";
constexpr char GROUP[] = "AppData/ProjectWizard";
constexpr char EXAMPLE_ADDRESS[] = "192.168.0.1";
constexpr char BIG_ENDIAN_MARK[] = " (Big Endian)";
constexpr int ICON_SIZE = 28;

struct WIZARD_PAGE {
    const char* Name;
    const char* Title;
    const char* Subtitle;
};
constexpr WIZARD_PAGE s_aPages[] = {
    {"pageTargetSettings", "Target Device", "Choose a Target Device"},
    {"pageConnectionSettings", "Connection Settings", "Choose a Target and Host Interface"},
    {"pageDataFile", "Program File", "Choose the Program to be debugged"},
};
constexpr int NUM_PAGES = 3;
constexpr int LAST_PAGE = NUM_PAGES - 1;

/// The program's drawing in the header; it takes its colour when it is painted.
class CIconLabel : public QWidget {
public:
    explicit CIconLabel(QWidget* pParent) : QWidget(pParent) { setFixedSize(ICON_SIZE, ICON_SIZE); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter Painter(this);
        PaintIcon(Painter, QLatin1String(ICON), rect(), palette().color(QPalette::WindowText));
    }
};

QFrame* MakeLine(QWidget* pParent)
{
    auto* pLine = new QFrame(pParent);
    pLine->setFrameShape(QFrame::HLine);
    pLine->setForegroundRole(QPalette::Mid);
    return pLine;
}

} // namespace

CProjectWizard::CProjectWizard(QWidget* pParent)
    : CDialog(QStringLiteral("ProjectWizard"), QLatin1String(TITLE), QLatin1String(ICON), pParent)
{
    setModal(true);
    m_pPages = new QStackedWidget(this);
    m_pPages->addWidget(BuildPageTargetSettings());
    m_pPages->addWidget(BuildPageConnectionSettings());
    m_pPages->addWidget(BuildPageDataFile());
    for (int i = 0; i < NUM_PAGES; i++) m_pPages->widget(i)->setObjectName(QLatin1String(s_aPages[i].Name));

    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->setSpacing(0);
    pLayout->addWidget(BuildHeader());
    pLayout->addWidget(MakeLine(this));
    pLayout->addWidget(m_pPages, 1);
    pLayout->addWidget(MakeLine(this));
    pLayout->addWidget(BuildButtons());

    connect(m_pPages, &QStackedWidget::currentChanged, this, &CProjectWizard::OnCurrentPageChanged);
    connect(m_pTargetDevice, &QLineEdit::textChanged, this, &CProjectWizard::ValidatePageTargetSettings);
    connect(m_pHostInterface, &QComboBox::currentIndexChanged, this, &CProjectWizard::OnComboBoxHostInterfaceItemChanged);
    LoadSettings();
    OnCurrentPageChanged(0);
    resize(520, 300);
}

CProjectWizard::~CProjectWizard()
{
    SaveSettings();
}

// ---- Form ----------------------------------------------------------------------------------------------

QWidget* CProjectWizard::BuildHeader()
{
    auto* pHeader = new QWidget(this);
    pHeader->setAutoFillBackground(true);
    pHeader->setBackgroundRole(QPalette::Base);
    m_pTitle = new QLabel(pHeader);
    m_pTitle->setObjectName(QStringLiteral("labelTitle"));
    QFont Bold = m_pTitle->font();
    Bold.setBold(true);
    Bold.setPointSize(Bold.pointSize() + 2);
    m_pTitle->setFont(Bold);
    m_pSubtitle = new QLabel(pHeader);
    m_pSubtitle->setObjectName(QStringLiteral("labelSubtitle"));
    auto* pLayout = new QGridLayout(pHeader);
    pLayout->setContentsMargins(18, 12, 18, 12);
    pLayout->setVerticalSpacing(3);
    pLayout->addWidget(m_pTitle, 0, 0);
    pLayout->addWidget(m_pSubtitle, 1, 0);
    pLayout->addWidget(new CIconLabel(pHeader), 0, 1, 2, 1, Qt::AlignCenter);
    pLayout->setColumnStretch(0, 1);
    return pHeader;
}

static QGridLayout* MakePageLayout(QWidget* pPage)
{
    auto* pLayout = new QGridLayout(pPage);
    pLayout->setContentsMargins(18, 14, 18, 14);
    pLayout->setVerticalSpacing(4);
    return pLayout;
}

QLineEdit* CProjectWizard::AddPathRow(QGridLayout* pLayout, const char* sField, const char* sButton, const char* sLabel,
                                      void (CProjectWizard::*pfSlot)())
{
    const int Row = pLayout->rowCount();
    auto* pEdit = new QLineEdit(pLayout->parentWidget());
    pEdit->setObjectName(QLatin1String(sField));
    pEdit->setAccessibleName(QLatin1String(sLabel));
    auto* pLabel = new QLabel(QLatin1String(sLabel), pLayout->parentWidget());
    pLabel->setBuddy(pEdit);
    auto* pButton = new QToolButton(pLayout->parentWidget());
    pButton->setObjectName(QLatin1String(sButton));
    pButton->setText(QStringLiteral("..."));
    pButton->setToolTip(QStringLiteral("Choose via Dialog"));
    pButton->setAccessibleName(QStringLiteral("Choose ") + QLatin1String(sLabel));
    pButton->setIcon(GetIcon(QStringLiteral("folder-open")));
    pButton->setFocusPolicy(Qt::StrongFocus);
    connect(pButton, &QToolButton::clicked, this, pfSlot);
    pLayout->addWidget(pLabel, Row, 0, 1, 2);
    pLayout->addWidget(pEdit, Row + 1, 0);
    pLayout->addWidget(pButton, Row + 1, 1);
    pLayout->setRowMinimumHeight(Row + 2, 8);
    return pEdit;
}

QWidget* CProjectWizard::BuildPageTargetSettings()
{
    auto* pPage = new QWidget(this);
    QGridLayout* pLayout = MakePageLayout(pPage);
    m_pTargetDevice = AddPathRow(pLayout, "editBoxTargetDevice", "buttonSelectDevice", "Device",
                                 &CProjectWizard::OnButtonSelectDevicePressed);
    m_pTargetDevice->setReadOnly(true);
    m_pTargetDevice->setPlaceholderText(QStringLiteral("Choose via Dialog"));
    m_pTargetPeripherals = AddPathRow(pLayout, "editBoxTargetPeripherals", "buttonSelectPeripherals",
                                      "Peripherals (optional)", &CProjectWizard::OnButtonSelectPeripheralsPressed);
    pPage->findChild<QToolButton*>(QStringLiteral("buttonSelectDevice"))->setIcon(GetIcon(QStringLiteral("cpu2")));
    pLayout->setRowStretch(pLayout->rowCount(), 1);
    return pPage;
}

QComboBox* CProjectWizard::AddChoice(QGridLayout* pLayout, const char* sName, const char* sLabel, const QStringList& Items)
{
    const int Row = pLayout->rowCount();
    auto* pBox = new QComboBox(pLayout->parentWidget());
    pBox->setObjectName(QLatin1String(sName));
    pBox->setAccessibleName(QLatin1String(sLabel));
    pBox->addItems(Items);
    auto* pLabel = new QLabel(QLatin1String(sLabel), pLayout->parentWidget());
    pLabel->setBuddy(pBox);
    pLayout->addWidget(pLabel, Row, 0);
    pLayout->addWidget(pBox, Row, 1);
    return pBox;
}

QWidget* CProjectWizard::BuildPageConnectionSettings()
{
    auto* pPage = new QWidget(this);
    QGridLayout* pLayout = MakePageLayout(pPage);
    pLayout->setVerticalSpacing(8);
    pLayout->setHorizontalSpacing(14);
    m_pTargetInterface = AddChoice(pLayout, "comboBoxTargetInterface", "Target Interface",
                                   {QStringLiteral("SWD"), QStringLiteral("cJTAG"), QStringLiteral("JTAG")});
    m_pTIFSpeed = AddChoice(pLayout, "comboBoxTIFSpeed", "Target Interface Speed", GetTIFSpeedTexts());
    m_pHostInterface = AddChoice(pLayout, "comboBoxHostInterface", "Host Interface",
                                 {QStringLiteral("IP"), QStringLiteral("USB")});
    m_pHostOptionLabel = new QLabel(QStringLiteral("Serial No (optional)"), pPage);
    m_pHostOptionLabel->setObjectName(QStringLiteral("labelHostOption"));
    m_pHostOption = new QLineEdit(pPage);
    m_pHostOption->setObjectName(QStringLiteral("editBoxHostOption"));
    m_pHostOptionLabel->setBuddy(m_pHostOption);
    const int Row = pLayout->rowCount();
    pLayout->addWidget(m_pHostOptionLabel, Row, 0);
    pLayout->addWidget(m_pHostOption, Row, 1);
    pLayout->setColumnStretch(1, 1);
    pLayout->setRowStretch(Row + 1, 1);
    return pPage;
}

QWidget* CProjectWizard::BuildPageDataFile()
{
    auto* pPage = new QWidget(this);
    QGridLayout* pLayout = MakePageLayout(pPage);
    m_pDataFile = AddPathRow(pLayout, "editBoxDataFile", "buttonSelectDataFile",
                             "ELF, Motorola S-record, Intel Hex, or Binary file (optional)",
                             &CProjectWizard::OnButtonSelectDataFilePressed);
    pLayout->setRowStretch(pLayout->rowCount(), 1);
    return pPage;
}

QWidget* CProjectWizard::BuildButtons()
{
    auto* pBar = new QWidget(this);
    auto* pLayout = new QHBoxLayout(pBar);
    pLayout->setContentsMargins(18, 10, 18, 10);
    pLayout->addStretch(1);
    const auto Add = [&](const char* sName, const QString& sText, void (CProjectWizard::*pfSlot)()) {
        auto* pButton = new QPushButton(sText, pBar);
        pButton->setObjectName(QLatin1String(sName));
        pButton->setAutoDefault(false);
        connect(pButton, &QPushButton::clicked, this, pfSlot);
        pLayout->addWidget(pButton);
        return pButton;
    };
    m_pButtonBack = Add("buttonBack", QStringLiteral("< &Back"), &CProjectWizard::OnButtonBackPressed);
    m_pButtonNext = Add("buttonNext", QStringLiteral("&Next >"), &CProjectWizard::OnButtonNextPressed);
    m_pButtonNext->setDefault(true);
    pLayout->addSpacing(8);
    Add("buttonCancel", QStringLiteral("Cancel"), &CProjectWizard::OnButtonCancelPressed);
    return pBar;
}

// ---- Settings ------------------------------------------------------------------------------------------

void CProjectWizard::LoadSettings()
{
    const CSettingsStore& Store = CSettingsStore::Get();
    const auto Read = [&Store](const char* sKey, const char* sDefault) {
        return Store.Read(GROUP, sKey, QString::fromLatin1(sDefault)).toString();
    };
    const auto Choose = [](QComboBox* pBox, const QString& sText) {
        if (const int Index = pBox->findText(sText, Qt::MatchFixedString); Index >= 0) pBox->setCurrentIndex(Index);
    };
    m_pTargetDevice->setText(Read("Device", ""));
    m_pTargetPeripherals->setText(Read("PeripheralFile", ""));
    Choose(m_pTargetInterface, Read("TargetInterface", "JTAG"));
    Choose(m_pTIFSpeed, Read("TifSpeed", "1 MHz"));
    {
        // The stored identifier belongs to the stored interface; only a user's change replaces it.
        const QSignalBlocker Block(m_pHostInterface);
        Choose(m_pHostInterface, Read("HostInterface", "USB"));
    }
    if (m_pHostInterface->currentText() == QLatin1String("IP")) m_pHostOptionLabel->setText(QStringLiteral("IP Address"));
    m_pHostOption->setText(Read("HostOption", ""));
    m_pDataFile->setText(Read("DataFile", ""));
}

void CProjectWizard::SaveSettings() const
{
    CSettingsStore& Store = CSettingsStore::Get();
    Store.Write(GROUP, "Device", m_pTargetDevice->text());
    Store.Write(GROUP, "PeripheralFile", m_pTargetPeripherals->text());
    Store.Write(GROUP, "TargetInterface", m_pTargetInterface->currentText());
    Store.Write(GROUP, "TifSpeed", m_pTIFSpeed->currentText());
    Store.Write(GROUP, "HostInterface", m_pHostInterface->currentText());
    Store.Write(GROUP, "HostOption", m_pHostOption->text());
    Store.Write(GROUP, "DataFile", m_pDataFile->text());
}

QString CProjectWizard::GetSummary() const
{
    return QStringLiteral("Device: %1\nPeripherals: %2\nTarget Interface: %3, %4\nHost Interface: %5 %6\nProgram File: %7")
        .arg(m_pTargetDevice->text(), m_pTargetPeripherals->text(), m_pTargetInterface->currentText(),
             m_pTIFSpeed->currentText(), m_pHostInterface->currentText(), m_pHostOption->text(), m_pDataFile->text());
}

QString CProjectWizard::GetDeviceName() const
{
    const QString sText = m_pTargetDevice->text();
    const qsizetype Paren = sText.lastIndexOf('(');
    return (Paren < 0 ? sText : sText.left(Paren)).trimmed();
}

// ---- Steps ---------------------------------------------------------------------------------------------

void CProjectWizard::showEvent(QShowEvent* pEvent)
{
    CDialog::showEvent(pEvent);
    ValidatePageTargetSettings();
    if (GetDeviceName().isEmpty()) findChild<QToolButton*>(QStringLiteral("buttonSelectDevice"))->setFocus();
}

void CProjectWizard::ValidatePageTargetSettings()
{
    if (m_pButtonNext) m_pButtonNext->setEnabled(!GetDeviceName().isEmpty());
}

void CProjectWizard::OnCurrentPageChanged(int NewPage)
{
    if (NewPage < 0 || NewPage > LAST_PAGE) return;
    m_pTitle->setText(QLatin1String(s_aPages[NewPage].Title));
    m_pSubtitle->setText(QLatin1String(s_aPages[NewPage].Subtitle));
    m_pButtonNext->setText(NewPage == LAST_PAGE ? QStringLiteral("&Finish") : QStringLiteral("&Next >"));
    m_pButtonBack->setEnabled(NewPage > 0);
    if (NewPage == 0) ValidatePageTargetSettings();
}

void CProjectWizard::OnButtonNextPressed()
{
    if (m_pPages->currentIndex() < LAST_PAGE)
        m_pPages->setCurrentIndex(m_pPages->currentIndex() + 1);
    else
        OnButtonFinishPressed();
}

void CProjectWizard::OnButtonBackPressed()
{
    if (m_pPages->currentIndex() > 0) m_pPages->setCurrentIndex(m_pPages->currentIndex() - 1);
}

void CProjectWizard::OnButtonCancelPressed()
{
    done(0);
}

void CProjectWizard::OnComboBoxHostInterfaceItemChanged()
{
    const bool IsIP = m_pHostInterface->currentText() == QLatin1String("IP");
    m_pHostOptionLabel->setText(IsIP ? QStringLiteral("IP Address") : QStringLiteral("Serial No"));
    m_pHostOption->setText(IsIP ? QLatin1String(EXAMPLE_ADDRESS) : QString());
}

void CProjectWizard::OnButtonSelectDevicePressed()
{
    const DEVICE_SELECTION Choice = ShowDeviceSelection(m_sDeviceState, true, GetDeviceName(), this);
    if (!Choice.Accepted) return;
    m_sDeviceState = Choice.sStateText;
    Core_Load(int(Choice.CoreId));
    m_pTargetDevice->setText(Choice.sDeviceName + (Choice.BigEndian ? QLatin1String(BIG_ENDIAN_MARK) : QString()));
    const PROJECT_HOOKS& Hooks = CProject::Get().GetHooks();
    m_pTargetPeripherals->setText(Hooks.DefaultPeripheralFile ? Hooks.DefaultPeripheralFile(Choice.sDeviceName) : QString());
    m_pButtonNext->setFocus();
}

void CProjectWizard::SelectFile(QLineEdit* pEdit, const QString& sStart, const QString& sFilter)
{
    const QString sPath = QFileDialog::getOpenFileName(this, QStringLiteral("Open File"),
                                                       pEdit->text().isEmpty() ? sStart : pEdit->text(), sFilter);
    if (!sPath.isEmpty()) pEdit->setText(NormalizePath(sPath));
}

void CProjectWizard::OnButtonSelectPeripheralsPressed()
{
    SelectFile(m_pTargetPeripherals, QStringLiteral("*.svd"), QStringLiteral("Svd Files (*.svd *.xml)"));
}

void CProjectWizard::OnButtonSelectDataFilePressed()
{
    SelectFile(m_pDataFile, CSettingsStore::Get().Read("AppData/MainWindow", "DefaultDirOpen", QString()).toString(),
               QStringLiteral("Data Files (*.bin *.mot *.srec *.hex *.elf *.out *.axf)"));
}

void CProjectWizard::OnButtonFinishPressed()
{
    const QString sDevice = GetDeviceName();
    if (sDevice.isEmpty() || m_Finishing) return;
    m_Finishing = true;
    if (CDevice::Get().GetDeviceInfoAsync(sDevice.toUtf8().constData()) < 0) finish(sDevice.toUtf8().constData(), 0);
}

void CProjectWizard::OnDeviceGetInfoDone(const char* sDeviceName, U32 Core)
{
    if (!m_Finishing) return;
    if (!Core_IsLoaded()) Core_Load(int(Core));
    finish(sDeviceName, Core);
}

void CProjectWizard::OnDeviceGetInfoFailed(const char* sDeviceName)
{
    if (m_Finishing) finish(sDeviceName, 0);
}

void CProjectWizard::finish(const char* sDeviceName, U32 BrylloCoreID)
{
    m_Finishing = false;
    const CProject& Project = CProject::Get();
    const PROJECT_HOOKS& Hooks = Project.GetHooks();
    QStringList Commands;
    const auto Add = [&Commands](int Id, const QStringList& Params) {
        if (!Params[0].isEmpty()) Commands << FormatCommand(Id, Params);
    };
    const auto AddDescription = [&Add](const QString& sFile) {
        // Files of the installation are named so that the project stays good when the installation moves.
        Add(ACT_PROJECT_ADD_SVD_FILE,
            {sFile.isEmpty() ? sFile : CFileFinder::Get().Collapse(NormalizePath(sFile), QStringLiteral("$(InstallDir)"))});
    };
    Add(ACT_PROJECT_SET_CORE_PLUGIN, {Project.GetCorePluginFile()});
    Add(ACT_PROJECT_SET_DEVICE, {QString::fromUtf8(sDeviceName)});
    if (m_pTargetDevice->text().endsWith(QLatin1String(BIG_ENDIAN_MARK)))
        Add(ACT_TARGET_SET_ENDIANESS, {QStringLiteral("1")});
    Add(ACT_PROJECT_SET_HOST_IF, {m_pHostInterface->currentText(), m_pHostOption->text().trimmed()});
    Add(ACT_PROJECT_SET_TARGET_IF, {m_pTargetInterface->currentText()});
    Add(ACT_PROJECT_SET_TIF_SPEED, {m_pTIFSpeed->currentText()});
    if (BrylloCoreID != 0 && Hooks.DefaultRegisterFile) AddDescription(Hooks.DefaultRegisterFile());
    AddDescription(m_pTargetPeripherals->text().trimmed());
    Add(ACT_FILE_OPEN, {NormalizePath(m_pDataFile->text().trimmed())});
    done(QDialog::Accepted);
    emit Finished(Commands);
}

#include "moc_projectwizard.cpp"
