#include "views/settings/preferencesdialog.h"

#include "project/settings/settingsnotifier.h"
#include "project/settings/sysvars.h"
#include "views/framework/messagebox.h"
#include "views/settings/colorspage.h"
#include "views/settings/fontspage.h"
#include "views/settings/varspage.h"
#include "views/theme/icons.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
constexpr char OBJECT_NAME[] = "PreferencesDialog";
constexpr char TITLE[] = "Preferences";
constexpr char KEY_RECENT_PAGE[] = "RecentPageID";
constexpr int TREE_WIDTH = 230;
constexpr QSize DIALOG_SIZE(870, 680);

/// The page that a head stands for.
int ResolveHead(int Page)
{
    if (Page == PAGE_GENERAL) return PAGE_APPLICATION;
    if (Page == PAGE_APPEARANCE) return PAGE_FONTS;
    return Page >= 0 && Page < NUM_PREFERENCE_PAGES ? Page : int(PAGE_APPLICATION);
}
} // namespace

CPreferencesDialog* CPreferencesDialog::Open(QWidget* pParent)
{
    return OpenOver<CPreferencesDialog>(pParent, OBJECT_NAME,
                                        [pParent] { return new CPreferencesDialog(pParent); });
}

CPreferencesDialog::CPreferencesDialog(QWidget* pParent)
    : CDialog(QLatin1String(OBJECT_NAME), QLatin1String(TITLE), QStringLiteral("gear"), pParent)
{
    m_Baseline.Take();
    auto* pColumn = new QVBoxLayout(this);
    auto* pRow = new QHBoxLayout;
    pRow->setSpacing(12);
    auto* pLeft = new QVBoxLayout;
    m_pFilter = new QLineEdit(this);
    m_pFilter->setObjectName(QStringLiteral("lineEditFilter"));
    m_pFilter->setAccessibleName(QStringLiteral("Search preferences"));
    m_pFilter->setPlaceholderText(QStringLiteral("Search"));
    m_pFilter->setClearButtonEnabled(true);
    m_pFilter->setFixedWidth(TREE_WIDTH);
    m_pTree = new QTreeWidget(this);
    m_pTree->setObjectName(QStringLiteral("treePages"));
    m_pTree->setAccessibleName(QStringLiteral("Pages"));
    m_pTree->setHeaderHidden(true);
    m_pTree->setUniformRowHeights(true);
    m_pTree->setFixedWidth(TREE_WIDTH);
    pLeft->addWidget(m_pFilter);
    pLeft->addWidget(m_pTree, 1);
    pRow->addLayout(pLeft);
    auto* pRight = new QVBoxLayout;
    m_pTitle = new QLabel(this);
    m_pTitle->setObjectName(QStringLiteral("labelTitle"));
    m_pStack = new QStackedWidget(this);
    pRight->addWidget(m_pTitle);
    pRight->addWidget(m_pStack, 1);
    pRow->addLayout(pRight, 1);
    pColumn->addLayout(pRow, 1);
    BuildPages();
    BuildTree();
    BuildButtons();
    pColumn->addWidget(m_pButtons);

    connect(m_pTree, &QTreeWidget::currentItemChanged, this, &CPreferencesDialog::OnCurrentPageChanged);
    connect(m_pFilter, &QLineEdit::textChanged, this, &CPreferencesDialog::OnFilterChanged);
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, this, [this] {
        m_pFilter->setFocus(Qt::ShortcutFocusReason);
        m_pFilter->selectAll();
    });
    const CSettingsNotifier& Notifier = CSettingsNotifier::Get();
    connect(&Notifier, &CSettingsNotifier::VarChanged, this, &CPreferencesDialog::OnSettingsChanged);
    connect(&Notifier, &CSettingsNotifier::ColorChanged, this, &CPreferencesDialog::OnSettingsChanged);
    connect(&Notifier, &CSettingsNotifier::FontChanged, this, &CPreferencesDialog::OnSettingsChanged);
    resize(DIALOG_SIZE.expandedTo(minimumSizeHint()));
    ShowPage(ReadSetting(QLatin1String(KEY_RECENT_PAGE), int(PAGE_APPLICATION)).toInt());
    m_pTree->setFocus();
}

void CPreferencesDialog::BuildPages()
{
    m_pFonts = new CFontsPage(this);
    m_pColors = new CColorsPage(this);
    for (int i = 0; i < NUM_PREFERENCE_PAGES; i++) {
        QWidget* pPage = nullptr;
        if (i == PAGE_GENERAL || i == PAGE_APPEARANCE)
            pPage = new QWidget(this);
        else if (i == PAGE_FONTS)
            pPage = m_pFonts;
        else if (i == PAGE_COLORS)
            pPage = m_pColors;
        else
            pPage = m_apVars[size_t(i)] = new CVarsPage(i, this);
        // On a small screen or with a large font a page is scrolled instead of cut.
        auto* pArea = new QScrollArea(this);
        pArea->setFrameShape(QFrame::NoFrame);
        pArea->setFocusPolicy(Qt::NoFocus); // it follows the control with the focus, and has nothing to do itself
        pArea->setWidgetResizable(true);
        pArea->setWidget(pPage);
        pArea->viewport()->setAutoFillBackground(false);
        pPage->setAutoFillBackground(false);
        if (pPage->layout()) pPage->layout()->setContentsMargins(0, 4, 4, 0);
        m_pStack->addWidget(pArea);
    }
}

void CPreferencesDialog::BuildTree()
{
    for (int i = 0; i < NUM_PREFERENCE_PAGES; i++) {
        const PREFERENCE_PAGE& Page = GetPreferencePages()[i];
        const QStringList Texts{QLatin1String(Page.Title)};
        m_apItem[size_t(i)] = Page.Parent < 0 ? new QTreeWidgetItem(m_pTree, Texts)
                                              : new QTreeWidgetItem(m_apItem[size_t(Page.Parent)], Texts);
        m_apItem[size_t(i)]->setData(0, Qt::UserRole, i);
    }
    m_pTree->ensurePolished(); // the heights of the rows are those of the style sheet
    m_pTree->expandAll();
}

void CPreferencesDialog::BuildButtons()
{
    m_pButtons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel |
                                          QDialogButtonBox::Apply | QDialogButtonBox::RestoreDefaults,
                                      this);
    m_pButtons->setObjectName(QStringLiteral("buttonBox"));
    QPushButton* pApply = m_pButtons->button(QDialogButtonBox::Apply);
    QPushButton* pDefaults = m_pButtons->button(QDialogButtonBox::RestoreDefaults);
    pApply->setEnabled(false);
    pApply->setToolTip(QStringLiteral("Keeps the changes made so far; Cancel then returns to them"));
    pDefaults->setToolTip(QStringLiteral("Defaults of this page"));
    SetOnlyDefault(m_pButtons, QDialogButtonBox::Ok);
    connect(m_pButtons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_pButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(pDefaults, &QPushButton::clicked, this, &CPreferencesDialog::RestoreDefaults);
    connect(pApply, &QPushButton::clicked, this, [this] {
        m_Baseline.Take();
        OnSettingsChanged();
    });
}

void CPreferencesDialog::ShowPage(int Page)
{
    m_pTree->setCurrentItem(m_apItem[size_t(ResolveHead(Page))]);
    OnCurrentPageChanged();
}

int CPreferencesDialog::GetPage() const
{
    const QTreeWidgetItem* pItem = m_pTree->currentItem();
    return ResolveHead(pItem ? pItem->data(0, Qt::UserRole).toInt() : int(PAGE_APPLICATION));
}

void CPreferencesDialog::OnCurrentPageChanged()
{
    const int Page = GetPage();
    m_pStack->setCurrentIndex(Page);
    QFont Font = font();
    Font.setBold(true);
    m_pTitle->setFont(Font);
    m_pTitle->setText(QLatin1String(GetPreferencePages()[Page].Title));
}

/// Pages without a hit leave the tree; the controls that were found are marked.
void CPreferencesDialog::OnFilterChanged(const QString& sFilter)
{
    const QString s = sFilter.trimmed();
    int First = -1;
    std::array<bool, NUM_PREFERENCE_PAGES> aShown{};
    for (int i = 0; i < NUM_PREFERENCE_PAGES; i++) {
        bool Hit = false;
        if (m_apVars[size_t(i)]) Hit = m_apVars[size_t(i)]->Match(s);
        if (i == PAGE_FONTS) Hit = m_pFonts->Match(s);
        if (i == PAGE_COLORS) Hit = m_pColors->Match(s);
        const PREFERENCE_PAGE& Page = GetPreferencePages()[i];
        if (Page.Parent >= 0) Hit |= QLatin1String(Page.Title).contains(s, Qt::CaseInsensitive);
        aShown[size_t(i)] = Hit || s.isEmpty();
        if (Page.Parent < 0 || !aShown[size_t(i)]) continue;
        aShown[size_t(Page.Parent)] = true;
        if (First < 0) First = i;
    }
    for (int i = 0; i < NUM_PREFERENCE_PAGES; i++) m_apItem[size_t(i)]->setHidden(!aShown[size_t(i)]);
    if (First >= 0 && !aShown[size_t(GetPage())]) ShowPage(First);
}

void CPreferencesDialog::OnSettingsChanged()
{
    m_pButtons->button(QDialogButtonBox::Apply)->setEnabled(m_Baseline.IsChanged());
}

void CPreferencesDialog::RestoreDefaults()
{
    const int Page = GetPage();
    if (m_apVars[size_t(Page)]) m_apVars[size_t(Page)]->RestoreDefaults();
    if (Page == PAGE_FONTS) m_pFonts->RestoreDefaults();
    if (Page == PAGE_COLORS) m_pColors->RestoreDefaults();
}

void CPreferencesDialog::RefreshPages()
{
    for (CVarsPage* pPage : m_apVars)
        if (pPage) pPage->Refresh();
    m_pFonts->Refresh();
    m_pColors->Refresh();
}

/// The box is an order rather than a state: it is carried out once and goes back.
void CPreferencesDialog::ResetDialogMemory()
{
    if (GetVarValue(PREF_RESET_DIALOG_DNSA) == 0) return;
    CMessageBox::ResetMemory();
    EditPreference(PREF_RESET_DIALOG_DNSA, I64(0));
}

void CPreferencesDialog::done(int Result)
{
    // The value of a field that still has the focus counts as entered with OK and not with Cancel.
    if (QWidget* pFocus = focusWidget(); pFocus && Result == Accepted) pFocus->clearFocus();
    if (Result == Accepted) {
        ResetDialogMemory();
    } else {
        m_Baseline.Restore();
        RefreshPages();
    }
    WriteSetting(QLatin1String(KEY_RECENT_PAGE), GetPage());
    CDialog::done(Result);
}

#include "moc_preferencesdialog.cpp"
