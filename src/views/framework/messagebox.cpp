#include "views/framework/messagebox.h"

#include "app/services/settingsstore.h"

#include "project/settings/sysvars.h"
#include "views/framework/messageboxtable.h"
#include "views/theme/icons.h"

#include <QApplication>
#include <QCheckBox>
#include <QDateTime>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <algorithm>

namespace {

constexpr quint64 STORED_NEVER_AGAIN = 4294967295u; // the modes -1 and -2 as unsigned 32-bit values
constexpr quint64 STORED_REMEMBER = 4294967294u;
constexpr quint64 MS_PER_HOUR = 3600000u;
constexpr int ICON_SIZE = 32;
constexpr int MIN_BUTTON_WIDTH = 25;
constexpr int MAX_TEXT_WIDTH = 640; ///< so that the buttons stay on every screen
const char* const sMemoryGroup = "AppData/MessageTimeouts";
const char* const sThirdText = "    Yes and do not show again    ";

struct BUTTON_NAME {
    QDialogButtonBox::StandardButton Button;
    const char* sName;
};
/// In the order in which a default is looked for.
constexpr BUTTON_NAME aButtonNames[] = {
    {QDialogButtonBox::Yes, "Yes"},
    {QDialogButtonBox::Ok, "OK"},
    {QDialogButtonBox::Save, "Save"},
    {QDialogButtonBox::Ignore, "Ignore"},
    {QDialogButtonBox::Open, "Open"},
    {QDialogButtonBox::Apply, "Apply"},
    {QDialogButtonBox::Retry, "Retry"},
    {QDialogButtonBox::No, "No"},
    {QDialogButtonBox::Cancel, "Cancel"},
    {QDialogButtonBox::Close, "Close"},
    {QDialogButtonBox::Abort, "Abort"},
    {QDialogButtonBox::Discard, "Discard"},
    {QDialogButtonBox::YesToAll, "Yes to All"},
    {QDialogButtonBox::NoToAll, "No to All"},
    {QDialogButtonBox::RestoreDefaults, "Yes and do not show again"},
};

CMessageBox::INTERCEPTOR& Interceptor()
{
    static CMessageBox::INTERCEPTOR s_Interceptor;
    return s_Interceptor;
}

std::function<bool()>& CheckBoxAllowed()
{
    static std::function<bool()> s_Allowed;
    return s_Allowed;
}

bool IsCheckBoxAllowed()
{
    return CheckBoxAllowed() ? CheckBoxAllowed()() : GetVarValue(PREF_DIALOG_SHOW_DNSA) != 0;
}

QString GetCheckBoxText(int Mode)
{
    if (Mode == MSGBOX_MODE_NEVER_AGAIN || Mode == MSGBOX_MODE_REMEMBER)
        return QStringLiteral("Do not show again");
    if (Mode == MSGBOX_MODE_TODAY) return QStringLiteral("Do not show again today");
    return QStringLiteral("Do not show again for %1 hours").arg(Mode);
}

/// The keys must be the same in every run, so the text hash takes no seed.
QString GetMemoryKey(const QString& sText)
{
    return QStringLiteral("%1/%2").arg(QLatin1String(sMemoryGroup)).arg(quint64(qHash(sText, size_t(0))));
}

QString GetClearText(const QString& sAction, const QString& sPostfix)
{
    if (sPostfix.isEmpty()) return QString(sAction).remove(u'&') + u'?';
    QString sText = sAction + u' ' + sPostfix;
    sText.replace(QLatin1String("All"), QLatin1String("all"));
    return sText.remove(u'&') + QStringLiteral("? ");
}

} // namespace

CMessageBox::CMessageBox(const QString& sTitle, const QString& sText, const QString& sIcon, BUTTONS Buttons,
                         int Mode, QWidget* pParent)
    : QDialog(pParent,
              static_cast<Qt::WindowFlags>(Qt::Dialog | Qt::FramelessWindowHint | Qt::WindowTitleHint)),
      m_sTitle(QString(sTitle).remove(u'&').trimmed()), m_sText(sText), m_Buttons(Buttons), m_Mode(Mode)
{
    setObjectName(QStringLiteral("MessageBox"));
    setWindowTitle(QStringLiteral("   ") + m_sTitle);
    setAccessibleName(m_sTitle);
    resize(200, 0);
    auto* pLayout = new QGridLayout(this);
    pLayout->setContentsMargins(20, 16, 20, 14);
    pLayout->setHorizontalSpacing(14);
    pLayout->setVerticalSpacing(12);
    // The frame has no title bar of the desktop, so the box shows its title itself.
    auto* pLabelTitle = new QLabel(m_sTitle, this);
    pLabelTitle->setObjectName(QStringLiteral("labelTitle"));
    QFont TitleFont = font();
    TitleFont.setBold(true);
    pLabelTitle->setFont(TitleFont);
    pLayout->addWidget(pLabelTitle, 0, 0, 1, 2);
    auto* pLabelIcon = new QLabel(this);
    pLabelIcon->setObjectName(QStringLiteral("labelIcon"));
    const bool IsQuestion = Buttons & QDialogButtonBox::No;
    QIcon Icon = GetIcon(sIcon);
    if (Icon.isNull())
        Icon = GetIcon(IsQuestion ? QStringLiteral("question") : QStringLiteral("information"));
    pLabelIcon->setPixmap(Icon.pixmap(QSize(ICON_SIZE, ICON_SIZE), devicePixelRatioF()));
    pLayout->addWidget(pLabelIcon, 1, 0, Qt::AlignTop);
    m_pLabelText = new QLabel(sText, this);
    m_pLabelText->setObjectName(QStringLiteral("labelText"));
    if (Qt::mightBeRichText(sText)) {
        m_pLabelText->setTextFormat(Qt::RichText);
        m_pLabelText->setTextInteractionFlags(Qt::TextBrowserInteraction);
        m_pLabelText->setOpenExternalLinks(true);
    } else
        m_pLabelText->setTextFormat(Qt::PlainText);
    FitText();
    pLayout->addWidget(m_pLabelText, 1, 1);
    pLayout->setColumnStretch(1, 1);
    m_pCheckBox = new QCheckBox(GetCheckBoxText(Mode), this);
    m_pCheckBox->setObjectName(QStringLiteral("checkBoxDoNotShow"));
    m_pCheckBox->setVisible(Mode != MSGBOX_MODE_NONE && IsCheckBoxAllowed());
    pLayout->addWidget(m_pCheckBox, 2, 1);
    m_pButtonBox = new QDialogButtonBox(Buttons, this);
    m_pButtonBox->setObjectName(QStringLiteral("buttonBox"));
    pLayout->addWidget(m_pButtonBox, 3, 0, 1, 2);
    if (Buttons & QDialogButtonBox::RestoreDefaults) AddThirdButton();
    connect(m_pButtonBox, SIGNAL(clicked(QAbstractButton*)), this, SLOT(OnButtonClicked(QAbstractButton*)));
    if (QPushButton* pDefault = m_pButtonBox->button(GetDefaultButton(Buttons))) pDefault->setDefault(true);
}

void CMessageBox::FitText()
{
    if (m_pLabelText->sizeHint().width() <= MAX_TEXT_WIDTH) return;
    // What is too long is mostly a path, which has no blanks to break at.
    if (m_pLabelText->textFormat() == Qt::PlainText)
        for (const char16_t Separator : {u'/', u'\\'})
            m_pLabelText->setText(m_pLabelText->text().replace(QChar(Separator), QString(QChar(Separator)) + QChar(0x200B)));
    m_pLabelText->setWordWrap(true);
    m_pLabelText->setFixedWidth(MAX_TEXT_WIDTH);
    m_pLabelText->setMinimumHeight(m_pLabelText->heightForWidth(MAX_TEXT_WIDTH)); // of which the layout takes no notice
}

void CMessageBox::AddThirdButton()
{
    m_pButtonBox->button(QDialogButtonBox::RestoreDefaults)->setText(QLatin1String(sThirdText));
    m_pButtonBox->setCenterButtons(true);
}

void CMessageBox::showEvent(QShowEvent* pEvent)
{
    int Width = MIN_BUTTON_WIDTH;
    const QList<QAbstractButton*> Buttons = m_pButtonBox->buttons();
    for (QAbstractButton* pButton : Buttons) Width = std::max(Width, pButton->sizeHint().width());
    for (QAbstractButton* pButton : Buttons) pButton->setMinimumWidth(Width);
    QDialog::showEvent(pEvent);
}

void CMessageBox::paintEvent(QPaintEvent* pEvent)
{
    QDialog::paintEvent(pEvent);
    // Without a frame of the desktop the box would run into the window behind it, which has the same ground.
    QPainter Painter(this);
    Painter.setPen(palette().color(QPalette::Disabled, QPalette::WindowText));
    Painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

CMessageBox::BUTTON CMessageBox::Show()
{
    BUTTON Answer = QDialogButtonBox::Yes;
    if (AnswerFromMemory(Answer)) return Answer;
    if (Interceptor()) {
        const int Chosen = Interceptor()(m_sTitle, m_sText, m_Buttons);
        const bool IsOffered = Chosen != 0 && (m_Buttons & static_cast<BUTTON>(Chosen));
        return IsOffered ? static_cast<BUTTON>(Chosen) : GetDefaultButton(m_Buttons);
    }
    exec();
    // Esc closes without a button: the answer that changes nothing.
    if (m_Pressed == QDialogButtonBox::NoButton) {
        if (m_Buttons & QDialogButtonBox::Cancel) return QDialogButtonBox::Cancel;
        if (m_Buttons & QDialogButtonBox::RestoreDefaults) return QDialogButtonBox::NoButton; // neither yes nor no
        if (m_Buttons & QDialogButtonBox::No) return QDialogButtonBox::No;
        return GetDefaultButton(m_Buttons);
    }
    return m_Pressed;
}

bool CMessageBox::AnswerFromMemory(BUTTON& Answer) const
{
    Answer = QDialogButtonBox::Yes;
    if (m_sText.isEmpty()) return true;
    const quint64 Stored = CSettingsStore::Get().Read(GetMemoryKey(m_sText), 0).toULongLong();
    if (Stored == STORED_NEVER_AGAIN || Stored == STORED_REMEMBER) return true;
    if (Stored <= quint64(QDateTime::currentMSecsSinceEpoch())) return false;
    Answer = QDialogButtonBox::No;
    return true;
}

void CMessageBox::StoreAnswer(int Mode) const
{
    if (Mode == MSGBOX_MODE_NONE || m_sText.isEmpty()) return;
    quint64 Value = Mode == MSGBOX_MODE_NEVER_AGAIN ? STORED_NEVER_AGAIN : STORED_REMEMBER;
    if (Mode > 0) Value = quint64(QDateTime::currentMSecsSinceEpoch()) + quint64(Mode) * MS_PER_HOUR;
    CSettingsStore::Get().Write(GetMemoryKey(m_sText), Value);
}

void CMessageBox::OnButtonClicked(QAbstractButton* pButton)
{
    m_Pressed = m_pButtonBox->standardButton(pButton);
    if (m_Pressed == QDialogButtonBox::RestoreDefaults) {
        StoreAnswer(MSGBOX_MODE_REMEMBER);
        done(Accepted);
        return;
    }
    switch (m_pButtonBox->buttonRole(pButton)) {
    case QDialogButtonBox::AcceptRole:
    case QDialogButtonBox::YesRole:
    case QDialogButtonBox::ApplyRole:
        if (m_pCheckBox->isChecked()) StoreAnswer(m_Mode);
        done(Accepted);
        break;
    case QDialogButtonBox::NoRole:
        if (m_pCheckBox->isChecked()) StoreAnswer(m_Mode);
        done(Rejected);
        break;
    default:
        done(2);
    }
}

CMessageBox::BUTTON CMessageBox::Ask(MSGBOX_IDS ID, const QString& sTextArg, const QString& sTitleArg)
{
    const MSGBOX_ROW& Row = aMsgBoxes[size_t(ID)];
    QString sTitle = *Row.sTitle ? QString::fromLatin1(Row.sTitle) : sTitleArg;
    QString sText = QString::fromLatin1(Row.sText);
    if (sText.contains(QLatin1String("%1"))) sText = sText.arg(sTextArg);
    if (ID == MSGBOX_CLEAR) {
        if (sTitle.isEmpty()) sTitle = QStringLiteral("Clear");
        sText = GetClearText(sTitle, sTextArg);
    }
    BUTTONS Buttons = static_cast<BUTTONS>(Row.Buttons);
    if (Row.HasThird) Buttons |= QDialogButtonBox::RestoreDefaults;
    return ShowBox(sTitle, sText, Buttons, Row.Mode, QString::fromLatin1(Row.sIcon));
}

CMessageBox::BUTTON CMessageBox::ShowBox(const QString& sTitle, const QString& sText, BUTTONS Buttons,
                                         int Mode, const QString& sIcon)
{
    CMessageBox Box(sTitle, sText, sIcon, Buttons, Mode, QApplication::activeWindow());
    return Box.Show();
}

int CMessageBox::AskWithThird(MSGBOX_IDS ID)
{
    const BUTTON Button = Ask(ID);
    if (Button == QDialogButtonBox::Yes || Button == QDialogButtonBox::RestoreDefaults) return 1;
    return Button == QDialogButtonBox::No ? 0 : 2;
}

void CMessageBox::SetInterceptor(INTERCEPTOR NewInterceptor)
{
    Interceptor() = std::move(NewInterceptor);
}
const CMessageBox::INTERCEPTOR& CMessageBox::GetInterceptor()
{
    return Interceptor();
}
void CMessageBox::SetCheckBoxAllowed(std::function<bool()> Allowed)
{
    CheckBoxAllowed() = std::move(Allowed);
}

void CMessageBox::ResetMemory()
{
    CSettingsStore::Get().RemoveGroup(QLatin1String(sMemoryGroup));
}

CMessageBox::BUTTON CMessageBox::GetDefaultButton(BUTTONS Buttons)
{
    for (const BUTTON_NAME& Row : aButtonNames)
        if (Buttons & Row.Button) return Row.Button;
    return QDialogButtonBox::NoButton;
}

QString CMessageBox::GetButtonName(int Button)
{
    for (const BUTTON_NAME& Row : aButtonNames)
        if (Row.Button == Button) return QString::fromLatin1(Row.sName);
    return QString();
}

QStringList CMessageBox::GetButtonNames(BUTTONS Buttons)
{
    QStringList Names;
    for (const BUTTON_NAME& Row : aButtonNames)
        if (Buttons & Row.Button) Names.append(QString::fromLatin1(Row.sName));
    return Names;
}

int CMessageBox::FindButton(const QString& sName, BUTTONS Buttons)
{
    const QString sPlain = QString(sName).remove(u'&').trimmed();
    for (const BUTTON_NAME& Row : aButtonNames)
        if ((Buttons & Row.Button) && sPlain.compare(QLatin1String(Row.sName), Qt::CaseInsensitive) == 0)
            return Row.Button;
    return 0;
}

#include "moc_messagebox.cpp"
