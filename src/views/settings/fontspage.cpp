#include "views/settings/fontspage.h"

#include "project/settings/appearance.h"
#include "views/settings/settingsbaseline.h"

#include <QCheckBox>
#include <QFontComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
constexpr int MIN_SIZE = 1, MAX_SIZE = 59; ///< points; what a font's text can hold
constexpr int SAMPLE_HEIGHT = 64;
constexpr char SAMPLE[] = "for (i = 0; i < 10; i++) Value += 0x1F;\nABCDEFGHIJ abcdefghij 0123456789 {}[]()";

enum COLUMNS : int { COLUMN_USE, COLUMN_LABEL, COLUMN_FONT, NUM_COLUMNS };

/// What a font serves, by the window that shows it.
const char* GetUse(int FontID)
{
    switch (FontID) {
    case FONT_APP:
    case FONT_APP_MONO:
        return "Application";
    case FONT_ITEM_NAME:
    case FONT_ITEM_VALUE:
        return "Tables";
    case FONT_TABLE_HEADER:
        return "Table Headers";
    case FONT_SRC_CODE:
    case FONT_SRC_ASM_CODE:
        return "Source Viewer";
    case FONT_ASM_CODE:
        return "Disassembly, Trace";
    case FONT_CONSOLE:
        return "Console";
    default:
        return "Code Margins";
    }
}
} // namespace

CFontsPage::CFontsPage(QWidget* pParent) : QWidget(pParent)
{
    auto* pColumn = new QVBoxLayout(this);
    m_pList = new QTreeWidget(this);
    m_pList->setObjectName(QStringLiteral("treeFonts"));
    m_pList->setAccessibleName(QStringLiteral("Fonts"));
    m_pList->setColumnCount(NUM_COLUMNS);
    m_pList->setHeaderLabels({QStringLiteral("Used in"), QStringLiteral("For"), QStringLiteral("Font")});
    m_pList->setRootIsDecorated(false);
    m_pList->setUniformRowHeights(false);
    m_pList->setAllColumnsShowFocus(true);
    for (int i = 0; i < NUM_FONTS; i++) {
        const FONT_ROW& Row = *GetFontRow(i);
        auto* pItem =
            new QTreeWidgetItem(m_pList, {QLatin1String(GetUse(i)), QLatin1String(Row.Label), QString()});
        pItem->setData(COLUMN_USE, Qt::UserRole, i);
        for (int c = 0; c < NUM_COLUMNS; c++)
            pItem->setToolTip(
                c, QStringLiteral("%1\n%2").arg(QLatin1String(Row.Description), QLatin1String(Row.Name)));
    }
    pColumn->addWidget(m_pList, 1);
    pColumn->addWidget(MakeEditor());
    connect(m_pList, &QTreeWidget::currentItemChanged, this, &CFontsPage::ShowSelected);
    Refresh();
    m_pList->setCurrentItem(m_pList->topLevelItem(0));
    for (const int c : {COLUMN_USE, COLUMN_LABEL}) m_pList->resizeColumnToContents(c);
}

QWidget* CFontsPage::MakeEditor()
{
    auto* pGroup = new QGroupBox(QStringLiteral("Selected Font"), this);
    auto* pColumn = new QVBoxLayout(pGroup);
    auto* pRow = new QHBoxLayout;
    m_pFamily = new QFontComboBox(pGroup);
    m_pFamily->setObjectName(QStringLiteral("comboBoxFamily"));
    m_pFamily->setAccessibleName(QStringLiteral("Font family"));
    m_pFamily->setEditable(false);
    m_pSize = new QSpinBox(pGroup);
    m_pSize->setObjectName(QStringLiteral("spinBoxSize"));
    m_pSize->setAccessibleName(QStringLiteral("Font size"));
    m_pSize->setRange(MIN_SIZE, MAX_SIZE);
    m_pSize->setSuffix(QStringLiteral(" pt"));
    m_pSize->setKeyboardTracking(false);
    m_pBold = new QCheckBox(QStringLiteral("&Bold"), pGroup);
    m_pItalic = new QCheckBox(QStringLiteral("&Italic"), pGroup);
    auto* pDefault = new QPushButton(QStringLiteral("&Default"), pGroup);
    pDefault->setObjectName(QStringLiteral("pushButtonFontDefault"));
    pDefault->setToolTip(QStringLiteral("Default of the selected font"));
    pDefault->setAutoDefault(false);
    pRow->addWidget(m_pFamily, 1);
    for (QWidget* pWidget : QList<QWidget*>{m_pSize, m_pBold, m_pItalic, pDefault}) pRow->addWidget(pWidget);
    pColumn->addLayout(pRow);
    m_pSample = new QLabel(QLatin1String(SAMPLE), pGroup);
    m_pSample->setObjectName(QStringLiteral("labelFontSample"));
    m_pSample->setAutoFillBackground(true);
    m_pSample->setBackgroundRole(QPalette::Base);
    m_pSample->setMargin(6);
    m_pSample->setMinimumHeight(SAMPLE_HEIGHT);
    // A large font must not push the page apart.
    m_pSample->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    pColumn->addWidget(m_pSample);

    connect(m_pFamily, &QComboBox::activated, this, [this] { Change(true); });
    connect(m_pSize, &QSpinBox::valueChanged, this, [this] { Change(false); });
    connect(m_pBold, &QCheckBox::clicked, this, [this] { Change(false); });
    connect(m_pItalic, &QCheckBox::clicked, this, [this] { Change(false); });
    connect(pDefault, &QPushButton::clicked, this, [this] {
        if (GetFontID() >= 0) EditFont(GetFontID(), GetFontDefault(GetFontID()));
        Refresh();
    });
    return pGroup;
}

int CFontsPage::GetFontID() const
{
    const QTreeWidgetItem* pItem = m_pList->currentItem();
    return pItem ? pItem->data(COLUMN_USE, Qt::UserRole).toInt() : -1;
}

void CFontsPage::Refresh()
{
    for (int i = 0; i < NUM_FONTS; i++) {
        QTreeWidgetItem* pItem = m_pList->topLevelItem(i);
        pItem->setText(COLUMN_FONT, FontToText(::GetFont(i)));
        // In its own family, but in a size that leaves the list readable.
        QFont Font = ::GetFont(i);
        Font.setPointSize(m_pList->font().pointSize());
        pItem->setFont(COLUMN_FONT, Font);
    }
    ShowSelected();
}

void CFontsPage::ShowSelected()
{
    if (GetFontID() < 0) return;
    const QFont Font = ::GetFont(GetFontID());
    const QSignalBlocker BlockFamily(m_pFamily), BlockSize(m_pSize);
    m_pFamily->setCurrentFont(Font);
    m_pSize->setValue(Font.pointSize());
    m_pBold->setChecked(Font.weight() > QFont::Normal);
    m_pItalic->setChecked(Font.italic());
    m_pSample->setFont(Font);
}

void CFontsPage::Change(bool FamilyChosen)
{
    if (GetFontID() < 0) return;
    // A family that only stands for another one ("monospace") stays until another is chosen.
    QFont Font(FamilyChosen ? m_pFamily->currentFont().family() : ::GetFont(GetFontID()).family(),
               m_pSize->value());
    Font.setWeight(m_pBold->isChecked() ? QFont::Bold : QFont::Normal);
    Font.setItalic(m_pItalic->isChecked());
    EditFont(GetFontID(), Font);
    Refresh();
}

void CFontsPage::RestoreDefaults()
{
    for (int i = 0; i < NUM_FONTS; i++)
        if (::GetFont(i) != GetFontDefault(i) || GetFontStored(i) != GetFontDefault(i))
            EditFont(i, GetFontDefault(i));
    Refresh();
}

bool CFontsPage::Match(const QString& sFilter)
{
    bool Any = false;
    for (int i = 0; i < NUM_FONTS; i++) {
        const FONT_ROW& Row = *GetFontRow(i);
        const QString sTexts = QStringList{QLatin1String(GetUse(i)), QLatin1String(Row.Label),
                                           QLatin1String(Row.Description), QLatin1String(Row.Name)}
                                   .join('\n');
        const bool Hit = !sFilter.isEmpty() && sTexts.contains(sFilter, Qt::CaseInsensitive);
        QFont Font = m_pList->font();
        Font.setBold(Hit);
        m_pList->topLevelItem(i)->setFont(COLUMN_USE, Font);
        m_pList->topLevelItem(i)->setFont(COLUMN_LABEL, Font);
        Any |= Hit;
    }
    return Any;
}

#include "moc_fontspage.cpp"
