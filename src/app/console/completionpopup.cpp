#include "app/console/completionpopup.h"

#include "app/console/commandhelp.h"
#include "views/theme/theme.h"

#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QVBoxLayout>
#include <algorithm>

namespace {
constexpr int MAX_ROWS = 10;
constexpr int TEXT_MARGIN = 6;
constexpr int COLUMN_GAP = 20;
constexpr int MAX_WIDTH = 720;
constexpr int MIN_WIDTH = 160;
constexpr int ROLE_DETAIL = Qt::UserRole;

/// A row: the text, and its detail in a weak colour in a column of its own.
class CRowDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    int TextWidth = 0; ///< of the first column

    void paint(QPainter* pPainter, const QStyleOptionViewItem& Option,
               const QModelIndex& Index) const override
    {
        const bool Selected = Option.state & QStyle::State_Selected;
        const QPalette& Palette = Option.palette;
        if (Selected) pPainter->fillRect(Option.rect, Palette.highlight());
        const QRect Row = Option.rect.adjusted(TEXT_MARGIN, 0, -TEXT_MARGIN, 0);
        pPainter->setFont(Option.font);
        pPainter->setPen(Palette.color(Selected ? QPalette::HighlightedText : QPalette::Text));
        pPainter->drawText(Row, Qt::AlignVCenter | Qt::AlignLeft, Index.data().toString());
        const QRect Detail = Row.adjusted(TextWidth + COLUMN_GAP, 0, 0, 0);
        if (!Selected) pPainter->setPen(CTheme::GetWeakTextColor());
        const QString sDetail = Index.data(ROLE_DETAIL).toString();
        pPainter->drawText(Detail, Qt::AlignVCenter | Qt::AlignLeft,
                           Option.fontMetrics.elidedText(sDetail, Qt::ElideRight, Detail.width()));
    }
    QSize sizeHint(const QStyleOptionViewItem& Option, const QModelIndex&) const override
    {
        return {TextWidth, Option.fontMetrics.height() + TEXT_MARGIN};
    }
};
} // namespace

CCompletionPopup::CCompletionPopup(QWidget* pInput)
    : QFrame(pInput, Qt::ToolTip | Qt::FramelessWindowHint), m_pInput(pInput)
{
    setObjectName(QStringLiteral("ConsoleCompletion"));
    setWindowTitle(QStringLiteral("Completions"));
    setAccessibleName(QStringLiteral("Completions"));
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    auto* pColumn = new QVBoxLayout(this);
    pColumn->setContentsMargins(1, 1, 1, 1);
    pColumn->setSpacing(1); // the line between list and hint
    m_pList = new QListWidget(this);
    m_pList->setAccessibleName(QStringLiteral("Completions"));
    m_pList->setFocusPolicy(Qt::NoFocus);
    m_pList->setFrameShape(QFrame::NoFrame);
    m_pList->setUniformItemSizes(true);
    m_pList->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_pList->setItemDelegate(new CRowDelegate(m_pList));
    m_pHint = new QLabel(this);
    m_pHint->setTextFormat(Qt::RichText);
    m_pHint->setMargin(TEXT_MARGIN);
    m_pHint->setWordWrap(true);
    pColumn->addWidget(m_pList);
    pColumn->addWidget(m_pHint);
    connect(m_pList, &QListWidget::itemClicked, this, &CCompletionPopup::Accepted);
    connect(m_pList, &QListWidget::currentRowChanged, this, &CCompletionPopup::ShowHintOfChoice);
    changeEvent(nullptr);
}

void CCompletionPopup::changeEvent(QEvent* pEvent)
{
    if (pEvent) QFrame::changeEvent(pEvent);
    if (pEvent && pEvent->type() != QEvent::PaletteChange) return;
    // The colours of a list rather than those of a tool tip, which its kind of window would have.
    const QPalette App = QGuiApplication::palette();
    QPalette Palette = App;
    Palette.setColor(QPalette::Window, App.color(QPalette::Base));
    Palette.setColor(QPalette::WindowText, App.color(QPalette::Text));
    if (Palette != palette()) setPalette(Palette);
    setAutoFillBackground(true);
}

void CCompletionPopup::paintEvent(QPaintEvent*)
{
    QPainter Painter(this);
    Painter.fillRect(rect(), palette().color(QPalette::Base));
    Painter.setPen(CTheme::GetCheckBoxColor());
    Painter.drawRect(rect().adjusted(0, 0, -1, -1));
    if (m_pList->isHidden() || m_pHint->isHidden()) return;
    Painter.setPen(CTheme::GetBorderColor());
    Painter.drawLine(1, m_pHint->y() - 1, width() - 2, m_pHint->y() - 1);
}

void CCompletionPopup::Show(const QList<COMPLETION_ITEM>& Items, const QString& sHint, int x)
{
    m_sHint = sHint;
    m_Items = Items;
    if (Items.isEmpty() && sHint.isEmpty()) {
        hide();
        m_pList->clear();
        return;
    }
    m_pList->setFont(m_pInput->font());
    m_pList->blockSignals(true);
    m_pList->clear();
    const QFontMetrics Metrics(m_pInput->font());
    int TextWidth = 0, DetailWidth = 0;
    for (const COMPLETION_ITEM& Item : Items) {
        auto* pRow = new QListWidgetItem(Item.Text, m_pList);
        pRow->setData(ROLE_DETAIL, Item.Detail);
        TextWidth = std::max(TextWidth, Metrics.horizontalAdvance(Item.Text));
        DetailWidth = std::max(DetailWidth, Metrics.horizontalAdvance(Item.Detail));
    }
    m_pList->setCurrentRow(-1);
    m_pList->blockSignals(false);
    static_cast<CRowDelegate*>(m_pList->itemDelegate())->TextWidth = TextWidth;
    m_pList->setVisible(!Items.isEmpty());
    const int ListWidth = TextWidth + (DetailWidth ? COLUMN_GAP + DetailWidth : 0) + 2 * TEXT_MARGIN + 4 +
                          (Items.size() > MAX_ROWS ? m_pList->verticalScrollBar()->sizeHint().width() : 0);
    m_pHint->setFont(m_pInput->font());
    m_pHint->setText(m_sHint);
    m_pHint->setVisible(!m_sHint.isEmpty());
    const int HintWidth = m_sHint.isEmpty() ? 0 : 480;
    setFixedWidth(std::clamp(std::max(Items.isEmpty() ? 0 : ListWidth, HintWidth), MIN_WIDTH, MAX_WIDTH));
    m_pList->setFixedHeight(int(std::min<qsizetype>(Items.size(), MAX_ROWS)) *
                            (Metrics.height() + TEXT_MARGIN));
    Place(x);
}

void CCompletionPopup::FitHeight()
{
    const int HintHeight = m_pHint->isHidden() ? 0 : m_pHint->heightForWidth(width() - 2) + 3;
    setFixedHeight((m_pList->isHidden() ? 0 : m_pList->height()) + HintHeight + 2);
}

void CCompletionPopup::Place(int x)
{
    FitHeight();
    const QRect Screen = m_pInput->screen()->availableGeometry();
    QPoint Pos = m_pInput->mapToGlobal(QPoint(x, 0)) - QPoint(0, height() + 2);
    if (Pos.y() < Screen.top()) Pos.setY(m_pInput->mapToGlobal(QPoint(0, m_pInput->height() + 2)).y());
    Pos.setX(std::clamp(Pos.x(), Screen.left(), std::max(Screen.left(), Screen.right() - width())));
    move(Pos);
    show();
}

bool CCompletionPopup::HasList() const
{
    return isVisible() && !m_Items.isEmpty();
}

const COMPLETION_ITEM* CCompletionPopup::GetChosen() const
{
    const int Row = m_pList->currentRow();
    return HasList() && Row >= 0 && Row < m_Items.size() ? &m_Items[Row] : nullptr;
}

void CCompletionPopup::MoveChoice(int Rows, bool Wrap)
{
    const int Count = m_pList->count();
    if (Count == 0) return;
    int Row = m_pList->currentRow();
    if (Row < 0)
        Row = Rows > 0 ? 0 : Count - 1;
    else if (Wrap)
        Row = (Row + Rows + Count) % Count;
    else
        Row = std::clamp(Row + Rows, 0, Count - 1);
    m_pList->setCurrentRow(Row);
}

int CCompletionPopup::GetPageRows() const
{
    return MAX_ROWS;
}

QStringList CCompletionPopup::GetTexts() const
{
    QStringList Texts;
    for (const COMPLETION_ITEM& Item : m_Items) Texts.append(Item.Text);
    return Texts;
}

QString CCompletionPopup::GetHintText() const
{
    return m_pHint->isHidden() ? QString() : m_pHint->text();
}

/// A chosen command tells how it is written.
void CCompletionPopup::ShowHintOfChoice()
{
    const COMPLETION_ITEM* pItem = GetChosen();
    const QString sHint = pItem && pItem->ActionId >= 0 ? GetCommandHint(pItem->ActionId, -1) : m_sHint;
    if (sHint == m_pHint->text()) return;
    const QPoint Bottom = geometry().bottomLeft();
    m_pHint->setText(sHint);
    m_pHint->setVisible(!sHint.isEmpty());
    FitHeight();
    if (Bottom.y() < m_pInput->mapToGlobal(QPoint(0, 0)).y()) move(Bottom - QPoint(0, height() - 1));
}

#include "moc_completionpopup.cpp"
