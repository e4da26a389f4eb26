#include "views/framework/filterheaderview.h"

#include "views/framework/modelviewwindow.h"
#include "views/framework/sortfilter.h"
#include "views/framework/tableheader.h"
#include "views/framework/treeview.h"

#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

namespace {
constexpr int EDIT_DELAY_MS = 10;

/// "10..20", "10.." and "..20" are ranges; a single number is the range of itself.
bool ParseRange(const CTableModel* pModel, const QString& sText, int Radix, double& Min, double& Max)
{
    auto ParseNumber = [pModel, Radix](const QString& sNumber, double& Value) {
        bool Ok = false;
        Value = sNumber.toDouble(&Ok);
        U64 Parsed = 0;
        if (Ok && Radix == 10) return true;
        if (!pModel->ParseValue(sNumber, Radix, Parsed)) return Ok;
        Value = double(Parsed);
        return true;
    };
    const int Dots = int(sText.indexOf(QLatin1String("..")));
    if (Dots < 0) {
        if (!ParseNumber(sText.trimmed(), Min)) return false;
        Max = Min;
        return true;
    }
    const QString sMin = sText.left(Dots).trimmed();
    const QString sMax = sText.mid(Dots + 2).trimmed();
    Min = -1e300;
    Max = 1e300;
    return (sMin.isEmpty() || ParseNumber(sMin, Min)) && (sMax.isEmpty() || ParseNumber(sMax, Max));
}
} // namespace

CFilterHeaderView::CFilterHeaderView(CModelViewWindow* pWindow, CTreeView* pView)
    : QWidget(pWindow), m_pWindow(pWindow), m_pView(pView)
{
    setObjectName(QStringLiteral("filterHeaderView"));
    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->setSpacing(0);
    // Between the titles and the first row, so that each editor stands in its column.
    m_pBar = new QWidget(pView->header());
    m_pBar->setObjectName(QStringLiteral("filterBar"));
    m_pBar->hide();
    pLayout->addWidget(pView, 1);
    m_EditTimer.setSingleShot(true);
    m_EditTimer.setInterval(EDIT_DELAY_MS);
    pView->installEventFilter(this);
    connect(pView->horizontalScrollBar(), &QScrollBar::valueChanged, this, &CFilterHeaderView::UpdateEditors);
    connect(pView->header(), &QHeaderView::sectionMoved, this, &CFilterHeaderView::UpdateEditors);
    connect(&m_EditTimer, SIGNAL(timeout()), this, SLOT(OnEditTimerTimeout()));
}

void CFilterHeaderView::SetBarShown(bool Shown)
{
    m_pBar->setVisible(Shown);
    m_pWindow->GetHeader()->SetBarHeight(Shown ? fontMetrics().height() + 12 : 0);
    UpdateEditors();
}

bool CFilterHeaderView::HasEditFocus() const
{
    return std::any_of(m_Editors.cbegin(), m_Editors.cend(), [](const QLineEdit* pEditor) { return pEditor->hasFocus(); });
}

bool CFilterHeaderView::IsBarShown() const
{
    return !m_pBar->isHidden();
}

QLineEdit* CFilterHeaderView::GetEditor(int Column) const
{
    return Column >= 0 && Column < m_Editors.size() ? m_Editors[Column] : nullptr;
}

void CFilterHeaderView::UpdateEditors()
{
    const int NumColumns = m_pWindow->GetNumColumns();
    while (m_Editors.size() > NumColumns) delete m_Editors.takeLast();
    while (m_Editors.size() < NumColumns) {
        auto* pEditor = new QLineEdit(m_pBar);
        const int Column = int(m_Editors.size());
        pEditor->setPlaceholderText(QStringLiteral("Filter"));
        pEditor->setAccessibleName(QStringLiteral("Filter ") + m_pWindow->GetColumnName(Column));
        pEditor->setClearButtonEnabled(true);
        pEditor->installEventFilter(this);
        connect(pEditor, &QLineEdit::textChanged, this, [this, Column] {
            if (!m_EditedColumns.contains(Column)) m_EditedColumns.append(Column);
            m_EditTimer.start();
        });
        m_Editors.append(pEditor);
    }
    const CTableHeader* pHeader = m_pWindow->GetHeader();
    m_pBar->setGeometry(0, pHeader->GetTitleHeight(), pHeader->width(), pHeader->height() - pHeader->GetTitleHeight());
    for (int i = 0; i < NumColumns; i++) {
        m_Editors[i]->setVisible(!pHeader->isSectionHidden(i));
        m_Editors[i]->setGeometry(pHeader->sectionViewportPosition(i) + 1, 1, pHeader->sectionSize(i) - 2,
                                  m_pBar->height() - 2);
    }
}

void CFilterHeaderView::OnEditTimerTimeout()
{
    const QList<int> Columns = m_EditedColumns;
    m_EditedColumns.clear();
    for (int Column : Columns) SetColumnFilter(Column, m_Editors[Column]->text());
}

void CFilterHeaderView::SetColumnFilter(int Column, const QString& sText)
{
    CSortFilter* pFilter = m_pWindow->GetSortFilter();
    const int Flags = m_pWindow->GetColumnFlags(Column);
    double Min = 0;
    double Max = 0;
    const int Radix = Flags & COLUMN_HEX ? 16 : Flags & COLUMN_BINARY ? 2 : 10;
    if ((Flags & COLUMN_NUMERIC) && !sText.isEmpty() &&
        ParseRange(m_pWindow->GetModel(), sText, Radix, Min, Max))
        pFilter->SetFilterRange(Column, Min, Max);
    else
        pFilter->SetFilterText(Column, sText);
}

void CFilterHeaderView::ClearAllFilters()
{
    for (QLineEdit* pEditor : std::as_const(m_Editors)) pEditor->clear();
    m_EditTimer.stop();
    m_EditedColumns.clear();
    m_pWindow->GetSortFilter()->ClearAllFilters();
}

void CFilterHeaderView::ShowFilterDialog(int Column)
{
    const bool IsNumeric = m_pWindow->GetColumnFlags(Column) & COLUMN_NUMERIC;
    CFilterHeaderDialog Dialog(m_pWindow->GetColumnName(Column), IsNumeric, this);
    QLineEdit* pEditor = GetEditor(Column);
    if (!pEditor) return;
    const QString sText = pEditor->text();
    // A number alone is the range of itself, and must be one still when the dialog is closed without a change.
    if (IsNumeric && sText.contains(QLatin1String("..")))
        Dialog.SetRange(sText.section(QLatin1String(".."), 0, 0), sText.section(QLatin1String(".."), 1, 1));
    else if (IsNumeric)
        Dialog.SetRange(sText, sText);
    else
        Dialog.SetText(sText);
    if (Dialog.exec() != QDialog::Accepted) return;
    if (IsNumeric && Dialog.GetMin() == Dialog.GetMax())
        pEditor->setText(Dialog.GetMin());
    else if (IsNumeric)
        pEditor->setText(Dialog.GetMin() + QStringLiteral("..") + Dialog.GetMax());
    else
        pEditor->setText(Dialog.GetText());
}

void CFilterHeaderView::ShowEditorMenu(int Column, const QPoint& GlobalPos)
{
    QMenu Menu(this);
    connect(Menu.addAction(QStringLiteral("Clear &All Filters")), &QAction::triggered, this,
            [this] { ClearAllFilters(); });
    connect(Menu.addAction(QStringLiteral("&Set Filter...")), &QAction::triggered, this,
            [this, Column] { ShowFilterDialog(Column); });
    Menu.exec(GlobalPos);
}

bool CFilterHeaderView::eventFilter(QObject* pObject, QEvent* pEvent)
{
    const int Column = int(m_Editors.indexOf(qobject_cast<QLineEdit*>(pObject)));
    if (Column >= 0 && pEvent->type() == QEvent::ContextMenu) {
        ShowEditorMenu(Column, static_cast<QContextMenuEvent*>(pEvent)->globalPos());
        return true;
    }
    if (Column >= 0 && pEvent->type() == QEvent::KeyPress) {
        const int Key = static_cast<QKeyEvent*>(pEvent)->key();
        if (Key == Qt::Key_Down || Key == Qt::Key_Return || Key == Qt::Key_Enter) {
            m_pView->setFocus();
            return true;
        }
        if (Key == Qt::Key_Escape) { // first the filter, then the bar
            if (m_Editors[Column]->text().isEmpty())
                m_pView->setFocus();
            else
                m_Editors[Column]->clear();
            return true;
        }
    }
    if (pObject == m_pView && pEvent->type() == QEvent::KeyPress && IsBarShown() &&
        static_cast<QKeyEvent*>(pEvent)->key() == Qt::Key_Up && !m_pView->indexAbove(m_pView->currentIndex()).isValid()) {
        const int First = m_pWindow->GetHeader()->logicalIndex(0);
        if (QLineEdit* pEditor = GetEditor(std::max(0, First))) pEditor->setFocus(Qt::BacktabFocusReason);
        return true;
    }
    return QWidget::eventFilter(pObject, pEvent);
}

void CFilterHeaderView::resizeEvent(QResizeEvent* pEvent)
{
    QWidget::resizeEvent(pEvent);
    UpdateEditors();
}

CFilterHeaderDialog::CFilterHeaderDialog(const QString& sColumn, bool IsNumeric, QWidget* pParent)
    : CDialog(QStringLiteral("FilterHeaderDialog"), QStringLiteral("Set Filter"),
              QStringLiteral("funnel-small"), pParent)
{
    auto* pLayout = new QFormLayout(this);
    auto AddEdit = [this, pLayout](const char* sLabel, const char* sName) {
        auto* pEdit = new QLineEdit(this);
        pEdit->setObjectName(QLatin1String(sName));
        pEdit->setMinimumWidth(220);
        pLayout->addRow(QString::fromLatin1(sLabel), pEdit);
        return pEdit;
    };
    pLayout->addRow(new QLabel(sColumn, this));
    if (IsNumeric) {
        m_pEditMin = AddEdit("Min:", "lineEditMin");
        m_pEditMax = AddEdit("Max:", "lineEditMax");
    } else
        m_pEditText = AddEdit("Filter substring (case-insensitive):", "lineEditFilter");
    auto* pButtons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    pLayout->addRow(pButtons);
    connect(pButtons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(pButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void CFilterHeaderDialog::SetText(const QString& sText)
{
    if (m_pEditText) m_pEditText->setText(sText);
}

void CFilterHeaderDialog::SetRange(const QString& sMin, const QString& sMax)
{
    if (!m_pEditMin) return;
    m_pEditMin->setText(sMin);
    m_pEditMax->setText(sMax);
}

QString CFilterHeaderDialog::GetText() const
{
    return m_pEditText ? m_pEditText->text() : QString();
}
QString CFilterHeaderDialog::GetMin() const
{
    return m_pEditMin ? m_pEditMin->text().trimmed() : QString();
}
QString CFilterHeaderDialog::GetMax() const
{
    return m_pEditMax ? m_pEditMax->text().trimmed() : QString();
}

#include "moc_filterheaderview.cpp"
