#include "views/settings/sysvarseditor.h"

#include "app/actions/actions.h"
#include "project/settings/appearance.h"
#include "project/settings/settingsnotifier.h"
#include "project/settings/sysvars.h"
#include "views/theme/icons.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {
constexpr char OBJECT_NAME[] = "SysVarsEditor";
constexpr char TITLE[] = "System Variables";
constexpr int MARK_SIZE = 12, MARK_MARGIN = 6;
constexpr QSize EDITOR_SIZE(760, 330);

enum COLUMNS : int { COLUMN_NAME, COLUMN_VALUE, COLUMN_RANGE, COLUMN_DESCRIPTION, NUM_COLUMNS };
constexpr int ROLE_HAS_LIST = Qt::UserRole + 1;

/// Shows a mark in the cells that open a list.
class CValueDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* pPainter, const QStyleOptionViewItem& Option,
               const QModelIndex& Index) const override
    {
        QStyledItemDelegate::paint(pPainter, Option, Index);
        if (!Index.data(ROLE_HAS_LIST).toBool()) return;
        const QRect& r = Option.rect;
        const QRectF Mark(r.right() - MARK_SIZE - MARK_MARGIN, r.center().y() - MARK_SIZE / 2.0, MARK_SIZE,
                          MARK_SIZE);
        const bool Selected = Option.state & QStyle::State_Selected;
        PaintIcon(*pPainter, QStringLiteral("chevron-down"), Mark,
                  Option.palette.color(Selected ? QPalette::HighlightedText : QPalette::ButtonText));
    }
};

bool IsListed(int VarID)
{
    return HasValueList(VarID);
}

/// What may be entered, for the tool tip and the hidden column.
QString GetRangeText(int VarID)
{
    if (HasValueList(VarID)) return GetValueTexts(VarID).join(QStringLiteral(", "));
    if (IsStringVar(VarID)) return QStringLiteral("Up to %1 characters").arg(MAX_SYS_VAR_TEXT);
    I64 Min = 0;
    U64 Max = 0;
    GetVarRange(VarID, &Min, &Max);
    return QStringLiteral("%1 to %2").arg(Min).arg(Max);
}
} // namespace

CSysVarsEditor* CSysVarsEditor::Open(QWidget* pParent, SAVE_FUNCTION Save)
{
    return OpenOver<CSysVarsEditor>(pParent, OBJECT_NAME,
                                    [&] { return new CSysVarsEditor(std::move(Save), pParent); });
}

CSysVarsEditor::CSysVarsEditor(SAVE_FUNCTION Save, QWidget* pParent)
    : CDialog(QLatin1String(OBJECT_NAME), QLatin1String(TITLE), QStringLiteral("edit-mathematics"), pParent),
      m_Save(std::move(Save))
{
    auto* pColumn = new QVBoxLayout(this);
    BuildTable();
    pColumn->addWidget(m_pTable, 1);
    auto* pButtons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Close, this);
    pButtons->setObjectName(QStringLiteral("buttonBox"));
    QPushButton* pSave = pButtons->button(QDialogButtonBox::Save);
    pSave->setToolTip(QStringLiteral("Writes the system variables into the project"));
    pSave->setEnabled(bool(m_Save));
    // Enter belongs to the table; the buttons have their keys.
    SetOnlyDefault(pButtons, QDialogButtonBox::Close);
    connect(pButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(pSave, &QPushButton::clicked, this, [this] {
        if (m_Save()) accept();
    });
    pColumn->addWidget(pButtons);
    connect(&CSettingsNotifier::Get(), &CSettingsNotifier::VarChanged, this, &CSysVarsEditor::Refresh);
    resize(EDITOR_SIZE);
}

void CSysVarsEditor::BuildTable()
{
    QList<int> Vars;
    for (int i = 0; i < NUM_SYS_VARS; i++)
        if (GetVar(i)->Editable) Vars.append(i);
    m_pTable = new QTableWidget(int(Vars.size()), NUM_COLUMNS, this);
    m_pTable->setObjectName(QStringLiteral("tableVariables"));
    m_pTable->setAccessibleName(QLatin1String(TITLE));
    m_pTable->setHorizontalHeaderLabels({QStringLiteral("Name"), QStringLiteral("Value"),
                                         QStringLiteral("Range"), QStringLiteral("Description")});
    m_pTable->verticalHeader()->hide();
    m_pTable->setShowGrid(false);
    m_pTable->setTabKeyNavigation(false);
    m_pTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_pTable->setSelectionMode(QAbstractItemView::SingleSelection);
    m_pTable->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                              QAbstractItemView::AnyKeyPressed | QAbstractItemView::SelectedClicked);
    m_pTable->setItemDelegateForColumn(COLUMN_VALUE, new CValueDelegate(m_pTable));
    for (int Row = 0; Row < Vars.size(); Row++) {
        const SYS_VAR& Var = *GetVar(Vars[Row]);
        const QString asText[NUM_COLUMNS] = {
            QLatin1String(Var.Name), {}, GetRangeText(Vars[Row]), QLatin1String(Var.Label)};
        for (int c = 0; c < NUM_COLUMNS; c++) {
            auto* pItem = new QTableWidgetItem(asText[c]);
            const bool Editable = c == COLUMN_VALUE && !IsListed(Vars[Row]);
            pItem->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable |
                            (Editable ? Qt::ItemIsEditable : Qt::NoItemFlags));
            pItem->setToolTip(asText[COLUMN_RANGE]);
            m_pTable->setItem(Row, c, pItem);
        }
        m_pTable->item(Row, COLUMN_NAME)->setData(Qt::UserRole, Vars[Row]);
        m_pTable->item(Row, COLUMN_VALUE)->setData(ROLE_HAS_LIST, IsListed(Vars[Row]));
    }
    m_pTable->setColumnHidden(COLUMN_RANGE, true);
    Refresh();
    m_pTable->resizeColumnToContents(COLUMN_NAME);
    m_pTable->setColumnWidth(COLUMN_VALUE, 150);
    m_pTable->horizontalHeader()->setStretchLastSection(true);
    m_pTable->horizontalHeader()->setHighlightSections(false);
    m_pTable->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_pTable->setCurrentCell(0, COLUMN_VALUE);
    m_pTable->installEventFilter(this);
    connect(m_pTable, &QTableWidget::cellClicked, this, &CSysVarsEditor::OnCellClicked);
    connect(m_pTable, &QTableWidget::itemChanged, this, &CSysVarsEditor::OnCellChanged);
}

int CSysVarsEditor::GetVarID(int Row) const
{
    const QTableWidgetItem* pItem = m_pTable->item(Row, COLUMN_NAME);
    return pItem ? pItem->data(Qt::UserRole).toInt() : -1;
}

void CSysVarsEditor::Refresh()
{
    const QSignalBlocker Block(m_pTable);
    for (int Row = 0; Row < m_pTable->rowCount(); Row++) {
        QTableWidgetItem* pItem = m_pTable->item(Row, COLUMN_VALUE);
        pItem->setText(VarToText(GetVarID(Row)));
        QFont Font = ::GetFont(FONT_APP_MONO);
        Font.setBold(IsVarChanged(GetVarID(Row))); // stands out from the defaults
        pItem->setFont(Font);
    }
    m_pTable->viewport()->update();
}

bool CSysVarsEditor::eventFilter(QObject* pObject, QEvent* pEvent)
{
    if (pObject == m_pTable && pEvent->type() == QEvent::KeyPress) {
        const int Key = static_cast<QKeyEvent*>(pEvent)->key();
        const int Row = m_pTable->currentRow();
        const bool Opens =
            Key == Qt::Key_Return || Key == Qt::Key_Enter || Key == Qt::Key_F2 || Key == Qt::Key_Space;
        if (Opens && Row >= 0) {
            m_pTable->setCurrentCell(Row, COLUMN_VALUE);
            if (IsListed(GetVarID(Row)))
                ShowValues(Row);
            else
                m_pTable->editItem(m_pTable->item(Row, COLUMN_VALUE));
            return true;
        }
    }
    return CDialog::eventFilter(pObject, pEvent);
}

void CSysVarsEditor::OnCellClicked(int Row, int Column)
{
    if (Column == COLUMN_VALUE && IsListed(GetVarID(Row))) ShowValues(Row);
}

void CSysVarsEditor::ShowValues(int Row)
{
    const int VarID = GetVarID(Row);
    auto* pMenu = new QMenu(this);
    pMenu->setObjectName(QStringLiteral("menuValues"));
    pMenu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* pCurrent = nullptr;
    for (const QString& sText : GetValueTexts(VarID)) {
        QAction* pAction = pMenu->addAction(QString(sText).replace('&', QLatin1String("&&")));
        pAction->setCheckable(true);
        pAction->setChecked(sText == VarToText(VarID));
        if (pAction->isChecked()) pCurrent = pAction;
        connect(pAction, &QAction::triggered, this, [this, VarID, sText] { Edit(VarID, sText); });
    }
    const QRect Cell = m_pTable->visualItemRect(m_pTable->item(Row, COLUMN_VALUE));
    pMenu->setMinimumWidth(Cell.width());
    pMenu->popup(m_pTable->viewport()->mapToGlobal(Cell.bottomLeft()));
    pMenu->setActiveAction(pCurrent);
}

void CSysVarsEditor::OnCellChanged(QTableWidgetItem* pItem)
{
    if (pItem->column() != COLUMN_VALUE) return;
    const int VarID = GetVarID(pItem->row());
    if (pItem->text() != VarToText(VarID)) Edit(VarID, pItem->text());
}

void CSysVarsEditor::Edit(int VarID, const QString& sText)
{
    PerformActionList(ACT_EDIT_SYS_VAR, {QString::fromLatin1(GetVar(VarID)->Name), sText});
    // A text that was refused gives way to the value that holds.
    Refresh();
}

#include "moc_sysvarseditor.cpp"
