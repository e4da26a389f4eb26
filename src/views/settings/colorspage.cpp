#include "views/settings/colorspage.h"

#include "project/settings/appearance.h"
#include "views/settings/settingsbaseline.h"
#include "views/theme/theme.h"

#include <QColorDialog>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
enum COLUMNS : int { COLUMN_LABEL, COLUMN_VALUE, NUM_COLUMNS };
constexpr int SWATCH_WIDTH = 32, SWATCH_HEIGHT = 14;
constexpr int SAMPLE_HEIGHT = 40;

struct COLOR_GROUP {
    const char* Title;
    int First; ///< id of the first colour; the group ends in front of the next one's
};
constexpr COLOR_GROUP GROUPS[] = {
    {"Selection", COLOR_SELECTION_HIGHLIGHT},
    {"Changed Values", COLOR_CHANGE_LEVEL_1_BG},
    {"Program Counter", COLOR_PC_ACTIVE},
    {"Tables", COLOR_TABLE_GRID_LINES},
    {"Syntax", COLOR_SYNTAX_REGISTER},
    {"Console", COLOR_LOGGING_SCRIPT},
    {"Progress Bar", COLOR_PROGRESS_BAR_PROGRESS},
    {"Symbol Icons", COLOR_SYMBOL_GLOBAL_VAR},
    {"Disassembly", COLOR_ASM_LABEL_BACKG},
    {"Code Profile", COLOR_EXEC_PROFILE_GOOD_INSTR},
    {"Filter", COLOR_TABLE_FILTER_MATCH},
};

QIcon MakeSwatch(const QWidget* pWidget, const QColor& Color)
{
    const qreal Ratio = pWidget->devicePixelRatioF();
    QPixmap Pixmap(QSize(SWATCH_WIDTH, SWATCH_HEIGHT) * Ratio);
    Pixmap.setDevicePixelRatio(Ratio);
    Pixmap.fill(Qt::transparent);
    QPainter Painter(&Pixmap);
    Painter.setRenderHint(QPainter::Antialiasing);
    Painter.setPen(CTheme::GetCheckBoxColor());
    Painter.setBrush(Color);
    Painter.drawRoundedRect(QRectF(0.5, 0.5, SWATCH_WIDTH - 1, SWATCH_HEIGHT - 1), 3, 3);
    return QIcon(Pixmap);
}

/// A value as the user reads it: a colour of the palette by what it follows.
QString GetValueText(int ColorID)
{
    switch (GetColorValue(ColorID)) {
    case PALETTE_BASE:
        return QStringLiteral("Background of the scheme");
    case PALETTE_TEXT:
        return QStringLiteral("Text of the scheme");
    case PALETTE_HIGHLIGHT:
        return QStringLiteral("Selection of the scheme");
    case PALETTE_HIGHLIGHTED_TEXT:
        return QStringLiteral("Selected text of the scheme");
    case PALETTE_BASE_DARKER:
        return QStringLiteral("Darker background of the scheme");
    default:
        return CTheme::GetColor(ColorID).name();
    }
}

bool IsForeground(int ColorID)
{
    switch (ColorID) {
    case COLOR_SELECTION_HIGHLIGHT_TEXT:
    case COLOR_CHANGE_LEVEL_1_FG:
    case COLOR_CHANGE_LEVEL_2_FG:
    case COLOR_CHANGE_LEVEL_3_FG:
    case COLOR_TABLE_FILTER_MATCH:
        return true;
    default:
        return (ColorID >= COLOR_SYNTAX_REGISTER && ColorID <= COLOR_LOGGING_BRYLLO) ||
               (ColorID >= COLOR_SYMBOL_GLOBAL_VAR && ColorID <= COLOR_SYMBOL_FUNCTION);
    }
}

/// The ground of a text colour, or the text on a ground.
int GetPartner(int ColorID)
{
    if (ColorID == COLOR_SELECTION_HIGHLIGHT) return COLOR_SELECTION_HIGHLIGHT_TEXT;
    if (ColorID == COLOR_SELECTION_HIGHLIGHT_TEXT) return COLOR_SELECTION_HIGHLIGHT;
    if (ColorID >= COLOR_CHANGE_LEVEL_1_BG && ColorID <= COLOR_CHANGE_LEVEL_3_BG) return ColorID + 3;
    if (ColorID >= COLOR_CHANGE_LEVEL_1_FG && ColorID <= COLOR_CHANGE_LEVEL_3_FG) return ColorID - 3;
    return -1;
}
} // namespace

CColorsPage::CColorsPage(QWidget* pParent) : QWidget(pParent)
{
    auto* pColumn = new QVBoxLayout(this);
    pColumn->addWidget(MakeSchemeRow());
    m_pList = new QTreeWidget(this);
    m_pList->setObjectName(QStringLiteral("treeColors"));
    m_pList->setAccessibleName(QStringLiteral("Colors"));
    m_pList->setColumnCount(NUM_COLUMNS);
    m_pList->setHeaderLabels({QStringLiteral("Color"), QStringLiteral("Value")});
    m_pList->setIconSize(QSize(SWATCH_WIDTH, SWATCH_HEIGHT));
    m_pList->setAllColumnsShowFocus(true);
    m_pList->setUniformRowHeights(true);
    FillList();
    pColumn->addWidget(m_pList, 1);
    pColumn->addWidget(MakeEditor());
    connect(m_pList, &QTreeWidget::currentItemChanged, this, &CColorsPage::ShowSelected);
    connect(m_pList, &QTreeWidget::itemActivated, this, &CColorsPage::Choose);
    connect(&CTheme::Get(), &CTheme::SchemeChanged, this, &CColorsPage::Refresh);
    Refresh();
    m_pList->setCurrentItem(FindItem(COLOR_SELECTION_HIGHLIGHT));
    m_pList->resizeColumnToContents(COLUMN_LABEL);
}

QWidget* CColorsPage::MakeSchemeRow()
{
    auto* pLine = new QWidget(this);
    auto* pRow = new QHBoxLayout(pLine);
    pRow->setContentsMargins(0, 0, 0, 4);
    m_pScheme = new QComboBox(pLine);
    m_pScheme->setObjectName(QStringLiteral("comboBoxScheme"));
    m_pScheme->setAccessibleName(QStringLiteral("Color scheme"));
    m_pScheme->addItem(QStringLiteral("As the desktop"), int(THEME_AUTO));
    m_pScheme->addItem(QStringLiteral("Light"), int(THEME_LIGHT));
    m_pScheme->addItem(QStringLiteral("Dark"), int(THEME_DARK));
    auto* pLabel = new QLabel(QStringLiteral("Color &scheme:"), pLine);
    pLabel->setBuddy(m_pScheme);
    pRow->addWidget(pLabel);
    pRow->addWidget(m_pScheme);
    pRow->addStretch(1);
    connect(m_pScheme, &QComboBox::activated, this,
            [this] { CTheme::SetScheme(THEME_SCHEMES(m_pScheme->currentData().toInt())); });
    return pLine;
}

void CColorsPage::FillList()
{
    constexpr int NUM_GROUPS = int(std::size(GROUPS));
    for (int g = 0; g < NUM_GROUPS; g++) {
        auto* pHead = new QTreeWidgetItem(m_pList, {QLatin1String(GROUPS[g].Title)});
        const int End = g + 1 < NUM_GROUPS ? GROUPS[g + 1].First : int(NUM_COLORS);
        for (int i = GROUPS[g].First; i < End; i++) {
            auto* pItem = new QTreeWidgetItem(pHead, {QLatin1String(GetColorRow(i)->Label)});
            pItem->setToolTip(COLUMN_LABEL, QLatin1String(GetColorRow(i)->Name));
        }
        pHead->setData(COLUMN_LABEL, Qt::UserRole, -1);
        for (int i = 0; i < pHead->childCount(); i++)
            pHead->child(i)->setData(COLUMN_LABEL, Qt::UserRole, GROUPS[g].First + i);
    }
    m_pList->expandAll();
}

QWidget* CColorsPage::MakeEditor()
{
    auto* pGroup = new QGroupBox(QStringLiteral("Selected Color"), this);
    auto* pColumn = new QVBoxLayout(pGroup);
    auto* pRow = new QHBoxLayout;
    m_pValue = new QLineEdit(pGroup);
    m_pValue->setObjectName(QStringLiteral("lineEditColor"));
    m_pValue->setAccessibleName(QStringLiteral("Color value"));
    m_pValue->setPlaceholderText(QStringLiteral("#rrggbb or a name"));
    m_pChoose = new QPushButton(QStringLiteral("C&hoose..."), pGroup);
    m_pChoose->setObjectName(QStringLiteral("pushButtonChoose"));
    m_pDefault = new QPushButton(QStringLiteral("&Default"), pGroup);
    m_pDefault->setObjectName(QStringLiteral("pushButtonColorDefault"));
    m_pDefault->setToolTip(QStringLiteral("Default of the selected color"));
    for (QPushButton* pButton : {m_pChoose, m_pDefault}) pButton->setAutoDefault(false);
    m_pSample = new QLabel(QStringLiteral("Sample text 0x1F"), pGroup);
    m_pSample->setObjectName(QStringLiteral("labelColorSample"));
    m_pSample->setAutoFillBackground(true);
    m_pSample->setMargin(6);
    m_pSample->setMinimumHeight(SAMPLE_HEIGHT);
    pRow->addWidget(m_pValue, 1);
    pRow->addWidget(m_pChoose);
    pRow->addWidget(m_pDefault);
    pColumn->addLayout(pRow);
    pColumn->addWidget(m_pSample);
    connect(m_pValue, &QLineEdit::editingFinished, this, [this] {
        const QColor Color(m_pValue->text().trimmed());
        if (GetColorID() < 0 || Color == CTheme::GetColor(GetColorID())) return;
        if (Color.isValid())
            Change(Color.rgba());
        else
            ShowSelected();
    });
    connect(m_pChoose, &QPushButton::clicked, this, &CColorsPage::Choose);
    connect(m_pDefault, &QPushButton::clicked, this, [this] {
        if (GetColorID() >= 0) Change(GetColorRow(GetColorID())->Default);
    });
    return pGroup;
}

int CColorsPage::GetColorID() const
{
    const QTreeWidgetItem* pItem = m_pList->currentItem();
    return pItem ? pItem->data(COLUMN_LABEL, Qt::UserRole).toInt() : -1;
}

QTreeWidgetItem* CColorsPage::FindItem(int ColorID) const
{
    for (int g = 0; g < m_pList->topLevelItemCount(); g++) {
        QTreeWidgetItem* pHead = m_pList->topLevelItem(g);
        for (int i = 0; i < pHead->childCount(); i++)
            if (pHead->child(i)->data(COLUMN_LABEL, Qt::UserRole).toInt() == ColorID) return pHead->child(i);
    }
    return nullptr;
}

void CColorsPage::Refresh()
{
    for (int i = 0; i < NUM_COLORS; i++) {
        QTreeWidgetItem* pItem = FindItem(i);
        pItem->setIcon(COLUMN_VALUE, MakeSwatch(this, CTheme::GetColor(i)));
        pItem->setText(COLUMN_VALUE, GetValueText(i));
    }
    m_pScheme->setCurrentIndex(m_pScheme->findData(int(CTheme::GetScheme())));
    ShowSelected();
}

void CColorsPage::ShowSelected()
{
    const int ColorID = GetColorID();
    for (QWidget* pWidget : QList<QWidget*>{m_pValue, m_pChoose, m_pDefault, m_pSample})
        pWidget->setEnabled(ColorID >= 0);
    m_pValue->setText(ColorID >= 0 ? CTheme::GetColor(ColorID).name() : QString());
    QPalette Palette;
    Palette.setColor(QPalette::Window, Palette.color(QPalette::Base));
    Palette.setColor(QPalette::WindowText, Palette.color(QPalette::Text));
    if (ColorID >= 0) {
        const bool IsText = IsForeground(ColorID);
        Palette.setColor(IsText ? QPalette::WindowText : QPalette::Window, CTheme::GetColor(ColorID));
        if (const int Partner = GetPartner(ColorID); Partner >= 0)
            Palette.setColor(IsText ? QPalette::Window : QPalette::WindowText, CTheme::GetColor(Partner));
    }
    m_pSample->setPalette(Palette);
}

void CColorsPage::Change(U32 Value)
{
    if (GetColorID() >= 0) EditColor(GetColorID(), Value);
    Refresh();
}

/// While the user moves about in the dialog the windows show the colour; only the answer is a command.
void CColorsPage::Choose()
{
    const int ColorID = GetColorID();
    if (ColorID < 0) return;
    const U32 Old = GetColorValue(ColorID);
    auto* pDialog = new QColorDialog(CTheme::GetColor(ColorID), this);
    pDialog->setWindowTitle(QLatin1String(GetColorRow(ColorID)->Label));
    pDialog->setOption(QColorDialog::DontUseNativeDialog);
    pDialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(pDialog, &QColorDialog::currentColorChanged, this, [this, ColorID](const QColor& Color) {
        SetColor(ColorID, Color.rgba(), false);
        Refresh();
    });
    connect(pDialog, &QDialog::finished, this, [this, pDialog, ColorID, Old](int Result) {
        SetColor(ColorID, Old, false);
        if (Result == QDialog::Accepted) EditColor(ColorID, pDialog->selectedColor().rgba());
        Refresh();
    });
    pDialog->open();
}

void CColorsPage::RestoreDefaults()
{
    for (int i = 0; i < NUM_COLORS; i++) {
        const U32 Default = GetColorRow(i)->Default;
        if (GetColorValue(i) != Default || GetColorStored(i) != Default) EditColor(i, Default);
    }
    if (CTheme::GetScheme() != THEME_AUTO) CTheme::SetScheme(THEME_AUTO);
    Refresh();
}

bool CColorsPage::Match(const QString& sFilter)
{
    bool Any = false;
    for (int i = 0; i < NUM_COLORS; i++) {
        const COLOR_ROW& Row = *GetColorRow(i);
        const QString sTexts = QLatin1String(Row.Label) + QStringLiteral("\n") + QLatin1String(Row.Name);
        const bool Hit = !sFilter.isEmpty() && sTexts.contains(sFilter, Qt::CaseInsensitive);
        QFont Font = m_pList->font();
        Font.setBold(Hit);
        FindItem(i)->setFont(COLUMN_LABEL, Font);
        if (Hit && !Any) m_pList->scrollToItem(FindItem(i));
        Any |= Hit;
    }
    return Any;
}

#include "moc_colorspage.cpp"
