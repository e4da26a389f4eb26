#include "app/shell/welcomescreen.h"

#include "views/framework/messagebox.h"
#include "views/theme/icons.h"

#include <QDir>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
constexpr char TITLE[] = "Vantrel - The Bryllo Debugger";
constexpr char GREETING[] = "Welcome to Vantrel - The Bryllo Debugger";
constexpr char QUESTION[] = "What do you want to do?";
constexpr int BUTTON_HEIGHT = 3; ///< in heights of the font
constexpr int ICON_SIZE = 20;

// A tool button is flat by the style; here it is what the whole dialog is about.
constexpr char STYLE[] = R"(
QToolButton { background: palette(base); border: 1px solid palette(mid); border-radius: 6px; padding: 0 10px; }
QToolButton:hover { background: palette(midlight); }
QToolButton:focus { border-color: palette(highlight); }
QToolButton:pressed { background: palette(mid); }
QToolButton:disabled { background: palette(window); }
QToolButton[popupMode="1"] { padding-right: 32px; }
QToolButton::menu-button { border: none; border-left: 1px solid palette(mid); width: 26px; margin: 6px 0; }
)";
} // namespace

CWelcomeScreen::CWelcomeScreen(const QStringList& RecentProjects, QWidget* pParent) : QDialog(pParent)
{
    setObjectName(QStringLiteral("WelcomeScreen"));
    setWindowTitle(QLatin1String(TITLE));
    setModal(true);
    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(16, 14, 16, 16);
    pLayout->setSpacing(7);
    auto* pGreeting = new QLabel(QLatin1String(GREETING), this);
    QFont Bold = pGreeting->font();
    Bold.setBold(true);
    pGreeting->setFont(Bold);
    auto* pQuestion = new QLabel(QLatin1String(QUESTION), this);
    pQuestion->setForegroundRole(QPalette::ButtonText);
    pLayout->addWidget(pGreeting);
    pLayout->addWidget(pQuestion);
    pLayout->addSpacing(4);

    const auto AddChoice = [this, pLayout](const char* sName, const char* sText, const char* sIcon, int Result) {
        QToolButton* pButton = AddButton(pLayout, sName, sText, sIcon);
        connect(pButton, &QToolButton::clicked, this, [this, Result] { done(Result); });
        return pButton;
    };
    AddChoice("buttonEmptyProject", "  Start with &Empty Project ", "document-empty", WELCOME_EMPTY_PROJECT);
    AddChoice("buttonNewProject", "  Create &New Project ", "document-new", WELCOME_NEW_PROJECT);
    AddChoice("buttonOpenProject", "  &Open Existing Project ", "folder-open", WELCOME_OPEN_PROJECT);
    QToolButton* pRecent = AddButton(pLayout, "buttonOpenRecent", "  Open &Recent Project ", "document-text");
    m_pRecentMenu = new QMenu(this);
    int Number = 0;
    for (const QString& sPath : RecentProjects) {
        const QString sShown = QDir::toNativeSeparators(sPath).replace(u'&', QLatin1String("&&"));
        m_pRecentMenu->addAction(QStringLiteral("&%1 %2").arg(++Number).arg(sShown))->setData(sPath);
    }
    pRecent->setMenu(m_pRecentMenu);
    pRecent->setPopupMode(QToolButton::MenuButtonPopup);
    pRecent->setEnabled(!RecentProjects.isEmpty());
    if (!RecentProjects.isEmpty()) pRecent->setToolTip(QDir::toNativeSeparators(RecentProjects.first()));
    connect(pRecent, &QToolButton::clicked, this, &CWelcomeScreen::OnButtonOpenRecentClicked);
    connect(m_pRecentMenu, &QMenu::triggered, this, &CWelcomeScreen::OnRecentProjectSelected);
    pLayout->addStretch();

    setStyleSheet(QLatin1String(STYLE));
    resize(277, 272); // grows to what the texts need
    // Most starts go on with the work of last time.
    (RecentProjects.isEmpty() ? findChild<QToolButton*>(QStringLiteral("buttonEmptyProject")) : pRecent)->setFocus();
}

QToolButton* CWelcomeScreen::AddButton(QVBoxLayout* pLayout, const char* sName, const char* sText, const char* sIcon)
{
    auto* pButton = new QToolButton(this);
    pButton->setObjectName(QLatin1String(sName));
    pButton->setText(QString::fromLatin1(sText));
    pButton->setAccessibleName(QString::fromLatin1(sText).remove(u'&').trimmed());
    pButton->setIcon(GetIcon(QLatin1String(sIcon)));
    pButton->setIconSize(QSize(ICON_SIZE, ICON_SIZE));
    pButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon); // which also sets the text to the left
    pButton->setFocusPolicy(Qt::StrongFocus);
    pButton->setMinimumHeight(BUTTON_HEIGHT * fontMetrics().height());
    pButton->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    pLayout->addWidget(pButton);
    return pButton;
}

void CWelcomeScreen::OnButtonOpenRecentClicked()
{
    const QList<QAction*> Entries = m_pRecentMenu->actions();
    if (Entries.isEmpty())
        done(WELCOME_EMPTY_PROJECT);
    else
        OnRecentProjectSelected(Entries.first());
}

void CWelcomeScreen::OnRecentProjectSelected(QAction* pAction)
{
    m_sSelected = pAction->data().toString();
    done(WELCOME_OPEN_RECENT);
}

void CWelcomeScreen::keyPressEvent(QKeyEvent* pEvent)
{
    if (pEvent->key() == Qt::Key_Return || pEvent->key() == Qt::Key_Enter) {
        if (auto* pButton = qobject_cast<QToolButton*>(focusWidget())) pButton->animateClick();
        return;
    }
    QDialog::keyPressEvent(pEvent);
}

CWelcomeScreen::SELECTION CWelcomeScreen::Ask(const QStringList& RecentProjects, QWidget* pParent)
{
    if (const auto& Interceptor = CMessageBox::GetInterceptor()) {
        Interceptor(QLatin1String(TITLE), QLatin1String(QUESTION), QDialogButtonBox::Ok);
        return {};
    }
    CWelcomeScreen Screen(RecentProjects, pParent);
    Screen.exec();
    return Screen.GetSelection();
}

#include "moc_welcomescreen.cpp"
