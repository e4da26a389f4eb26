#include "views/settings/varspage.h"

#include "app/actions/constants.h"
#include "project/settings/sysvars.h"
#include "views/settings/preferencepages.h"
#include "views/settings/settingsbaseline.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpressionValidator>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace {
constexpr char PREFIX_SESSION_FLAGS[] = "DISABLE_SAVE_";
constexpr I64 ALL_SESSION_FLAGS = 0xFFFFFFFF;

bool IsSwitch(int VarID)
{
    return GetVar(VarID)->Type == SVT_SELECTION &&
           GetValueTexts(VarID) == QStringList{QStringLiteral("no"), QStringLiteral("yes")};
}

QString GetKey(int VarID)
{
    // An ampersand of a text is no mnemonic.
    return QString::fromLatin1(GetVar(VarID)->Key).replace('&', QLatin1String("&&"));
}

void Mark(QWidget* pWidget, bool Marked)
{
    QFont Font = pWidget->font();
    Font.setBold(Marked);
    pWidget->setFont(Font);
    QPalette Palette;
    if (Marked) Palette.setColor(pWidget->foregroundRole(), Palette.color(QPalette::Link));
    pWidget->setPalette(Palette);
}
} // namespace

CVarsPage::CVarsPage(int Page, QWidget* pParent) : QWidget(pParent)
{
    auto* pColumn = new QVBoxLayout(this);
    QFormLayout* pForm = nullptr;
    QString sGroup;
    for (int i = 0; i < NUM_PREFERENCE_ROWS; i++) {
        const PREFERENCE_ROW& Row = GetPreferenceRows()[i];
        if (Row.Page != Page) continue;
        if (!pForm || sGroup != QLatin1String(Row.Group)) {
            sGroup = QLatin1String(Row.Group);
            auto* pGroup = new QGroupBox(sGroup, this);
            pForm = new QFormLayout(pGroup);
            pForm->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
            pColumn->addWidget(pGroup);
        }
        AddRow(pForm, Row.VarID);
    }
    pColumn->addStretch(1);
    Refresh();
}

void CVarsPage::AddRow(QFormLayout* pForm, int VarID)
{
    const SYS_VAR& Row = *GetVar(VarID);
    QWidget* pEditor = nullptr;
    if (VarID == PREF_SESSION_SAVE_FLAGS)
        pEditor = AddSessionFlags(VarID);
    else if (IsSwitch(VarID))
        pEditor = AddSwitch(VarID);
    else if (HasValueList(VarID))
        pEditor = AddList(VarID);
    else if (Row.Type == SVT_ULONGLONG)
        pEditor = AddBigNumber(VarID);
    else
        pEditor = AddNumber(VarID);
    pEditor->setObjectName(QLatin1String(Row.Name));
    pEditor->setAccessibleName(QLatin1String(Row.Label));
    pEditor->setToolTip(QStringLiteral("%1\n%2").arg(QLatin1String(Row.Label), QLatin1String(Row.Name)));
    CONTROL& Control = m_Controls.last();
    Control.Texts =
        QStringList{QLatin1String(Row.Key), QLatin1String(Row.Label), QLatin1String(Row.Name)}.join('\n');
    Control.pMarked = pEditor;
    if (VarID == PREF_SESSION_SAVE_FLAGS || IsSwitch(VarID)) {
        pForm->addRow(pEditor);
        return;
    }
    auto* pLabel = new QLabel(GetKey(VarID) + ':', this);
    pLabel->setBuddy(pEditor);
    pForm->addRow(pLabel, pEditor);
    Control.pMarked = pLabel;
}

QWidget* CVarsPage::AddSwitch(int VarID)
{
    auto* pBox = new QCheckBox(GetKey(VarID), this);
    connect(pBox, &QCheckBox::clicked, this,
            [this, VarID](bool On) { Change(VarID, On ? QStringLiteral("yes") : QStringLiteral("no")); });
    m_Controls.append({VarID, nullptr, {}, [pBox, VarID] { pBox->setChecked(GetVarValue(VarID) != 0); }});
    return pBox;
}

QWidget* CVarsPage::AddList(int VarID)
{
    auto* pBox = new QComboBox(this);
    pBox->addItems(GetValueTexts(VarID));
    connect(pBox, &QComboBox::activated, this, [this, pBox, VarID] { Change(VarID, pBox->currentText()); });
    m_Controls.append({VarID, nullptr, {}, [pBox, VarID] {
                           pBox->setCurrentIndex(int(GetValues(VarID).indexOf(GetVarValue(VarID))));
                       }});
    return pBox;
}

QWidget* CVarsPage::AddNumber(int VarID)
{
    // Numbers of 32 bits without a sign don't fit into the plain spin box.
    auto* pBox = new QDoubleSpinBox(this);
    I64 Min = 0;
    U64 Max = 0;
    GetVarRange(VarID, &Min, &Max);
    pBox->setDecimals(0);
    pBox->setRange(double(Min), double(Max));
    pBox->setKeyboardTracking(false);
    pBox->setMinimumWidth(110);
    connect(pBox, &QDoubleSpinBox::valueChanged, this,
            [this, VarID](double Value) { Change(VarID, QString::number(I64(Value))); });
    m_Controls.append({VarID, nullptr, {}, [pBox, VarID] {
                           const QSignalBlocker Block(pBox);
                           pBox->setValue(double(GetVarValue(VarID)));
                       }});
    return pBox;
}

QWidget* CVarsPage::AddBigNumber(int VarID)
{
    auto* pEdit = new QLineEdit(this);
    pEdit->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("\\d{1,20}")), pEdit));
    connect(pEdit, &QLineEdit::editingFinished, this, [this, pEdit, VarID] {
        if (pEdit->text() != VarToText(VarID)) Change(VarID, pEdit->text());
    });
    m_Controls.append({VarID, nullptr, {}, [pEdit, VarID] { pEdit->setText(VarToText(VarID)); }});
    return pEdit;
}

/// One box a bit of the flags, as the constants name them.
QWidget* CVarsPage::AddSessionFlags(int VarID)
{
    auto* pBoxes = new QWidget(this);
    auto* pGrid = new QGridLayout(pBoxes);
    pGrid->setContentsMargins(0, 0, 0, 0);
    pGrid->setHorizontalSpacing(24);
    QList<QCheckBox*> Boxes;
    for (const CONSTANT& c : GetConstants()) {
        if (!c.Name.startsWith(QLatin1String(PREFIX_SESSION_FLAGS)) || c.Value == ALL_SESSION_FLAGS) continue;
        auto* pBox = new QCheckBox(c.DisplayName, pBoxes);
        pBox->setObjectName(c.Name);
        pGrid->addWidget(pBox, int(Boxes.size()) / 2, int(Boxes.size()) % 2);
        Boxes.append(pBox);
        const I64 Bit = c.Value;
        connect(pBox, &QCheckBox::clicked, this, [this, VarID, Bit](bool On) {
            const I64 Old = GetVarValue(VarID);
            Change(VarID, QString::number(On ? Old | Bit : Old & ~Bit));
        });
    }
    m_Controls.append({VarID, nullptr, {}, [Boxes, VarID] {
                           for (QCheckBox* pBox : Boxes) {
                               I64 Bit = 0;
                               GetConstantValue(pBox->objectName(), &Bit);
                               pBox->setChecked((GetVarValue(VarID) & Bit) != 0);
                           }
                       }});
    return pBoxes;
}

void CVarsPage::Change(int VarID, const QString& sValue)
{
    // A value that is refused changes nothing, and the control shows again what holds.
    EditPreference(VarID, sValue);
    Refresh();
}

void CVarsPage::Refresh()
{
    for (const CONTROL& Control : m_Controls) Control.Refresh();
}

void CVarsPage::RestoreDefaults()
{
    for (const CONTROL& Control : m_Controls)
        if (GetVarValue(Control.VarID) != GetVarDefault(Control.VarID) ||
            GetVarStored(Control.VarID) != GetVarDefault(Control.VarID))
            EditPreference(Control.VarID, GetVarDefault(Control.VarID));
    Refresh();
}

bool CVarsPage::Match(const QString& sFilter)
{
    bool Any = false;
    for (const CONTROL& Control : m_Controls) {
        const bool Hit = !sFilter.isEmpty() && Control.Texts.contains(sFilter, Qt::CaseInsensitive);
        Mark(Control.pMarked, Hit);
        Any |= Hit;
    }
    return Any;
}

#include "moc_varspage.cpp"
