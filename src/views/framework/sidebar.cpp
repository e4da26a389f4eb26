#include "views/framework/sidebar.h"

#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace {

/// Drawing of each symbol number; row 0 is none.
constexpr const char* aSymbolIcons[] = {
    "", "breakpoint-11", "breakpoint-clear-11", "breakpoint-17", "breakpoint-disabled-17", "tracepoint-12",
    "tracepoint-disabled-12", "tracepoint-17", "tracepoint-disabled-16", "grey-dot-17", "arrow-pc-yellow-12",
    "arrow-pc-12", "play-12", "stop-12",
};
static_assert(std::size(aSymbolIcons) == SIDEBAR_TRACE_STOP + 1);

constexpr int MAX_COUNTER_DIGITS = 17;
constexpr int NUMBER_PADDING = 8; ///< pixels at the left and right of a column of digits

int CountDigits(U64 Value) { return Value < 1 ? 1 : std::min(int(std::floor(std::log10(double(Value)))) + 1, MAX_COUNTER_DIGITS); }

} // namespace

CSideBar::CSideBar(QWidget* pParent) : QWidget(pParent)
{
    setObjectName(QStringLiteral("sideBar"));
    setAccessibleName(QStringLiteral("Breakpoint margin"));
    setMouseTracking(true);
    setCursor(Qt::ArrowCursor);
    setContextMenuPolicy(Qt::NoContextMenu);
}

void CSideBar::SetSymbols(const QMap<int, int>& Left, const QMap<int, int>& Right)
{
    if (Left == m_Left && Right == m_Right) return;
    m_Left = Left;
    m_Right = Right;
    update();
    emit StateChanged();
}

void CSideBar::SetLineNumbers(const QMap<int, U32>& Numbers, int NumDigits)
{
    m_Numbers = Numbers;
    m_NumDigits = NumDigits;
    UpdateWidth();
    update();
}

void CSideBar::SetExecCounters(const QHash<int, QPair<U64, U64>>& Counters, bool Shown)
{
    m_Counters = Counters;
    m_CountersShown = Shown;
    UpdateWidth();
    update();
}

void CSideBar::SetGeometryOfRows(int FirstRow, int RowHeight, int TopMargin)
{
    if (FirstRow == m_FirstRow && RowHeight == m_RowHeight && TopMargin == m_TopMargin) return;
    m_FirstRow = FirstRow;
    m_RowHeight = std::max(1, RowHeight);
    m_TopMargin = TopMargin;
    UpdateWidth();
    update();
}

void CSideBar::SetCurrentRow(int Row)
{
    if (Row == m_CurrentRow) return;
    m_CurrentRow = Row;
    update();
}

void CSideBar::SetFonts(const QFont& LineNumbers, const QFont& Counters)
{
    m_NumberFont = LineNumbers;
    m_CounterFont = Counters;
    UpdateWidth();
    update();
}

void CSideBar::SetProfileInfo(std::function<QString(int Row)> PlaceText, U64 TotalExecuted)
{
    m_PlaceText = std::move(PlaceText);
    m_TotalExecuted = TotalExecuted;
}

void CSideBar::Clear()
{
    m_Left.clear();
    m_Right.clear();
    m_Numbers.clear();
    m_Counters.clear();
    update();
    emit StateChanged();
}

int CSideBar::GetNumberWidth() const
{
    return m_NumDigits > 0 ? QFontMetrics(m_NumberFont).horizontalAdvance(u'0') * m_NumDigits + NUMBER_PADDING : 0;
}

int CSideBar::GetCounterWidth() const
{
    if (!m_CountersShown) return 0;
    U64 Largest = 0;
    for (const auto& Counts : m_Counters) Largest = std::max(Largest, Counts.first);
    return QFontMetrics(m_CounterFont).horizontalAdvance(u'0') * CountDigits(Largest) + 2 * NUMBER_PADDING;
}

QSize CSideBar::sizeHint() const { return QSize(m_RowHeight + 2 + GetNumberWidth() + GetCounterWidth(), 100); }

void CSideBar::UpdateWidth()
{
    const int Width = sizeHint().width();
    if (Width == width() && minimumWidth() == Width) return;
    setFixedWidth(Width);
    emit SizeChanged();
}

int CSideBar::GetRowAt(int y) const
{
    const int Offset = y - m_TopMargin;
    return m_FirstRow + (Offset >= 0 ? Offset / m_RowHeight : (Offset - m_RowHeight + 1) / m_RowHeight);
}

void CSideBar::paintEvent(QPaintEvent*)
{
    QPainter Painter(this);
    Painter.fillRect(rect(), CTheme::GetMarginColor());
    const int StripWidth = m_RowHeight + 2;
    const int NumberWidth = GetNumberWidth();
    const int CounterWidth = GetCounterWidth();
    if (CounterWidth > 0) Painter.fillRect(width() - CounterWidth, 0, CounterWidth, height(), CTheme::GetMarginColor().lighter(106));
    const int LastRow = GetRowAt(height());
    for (int Row = m_FirstRow; Row <= LastRow; Row++) {
        const int y = m_TopMargin + (Row - m_FirstRow) * m_RowHeight;
        // Symbols may not grow past the drawings' own proportions on tall rows.
        const double Side = std::min(m_RowHeight, 22);
        const QRectF IconRect(1 + (m_RowHeight - Side) / 2, y + (m_RowHeight - Side) / 2, Side, Side);
        for (int Symbol : {GetLeftSymbol(Row), GetRightSymbol(Row)})
            if (Symbol > SIDEBAR_NONE && Symbol <= SIDEBAR_TRACE_STOP)
                PaintIcon(Painter, QLatin1String(aSymbolIcons[Symbol]), IconRect, palette().color(QPalette::Text));
        if (Row == m_HoverRow && GetLeftSymbol(Row) == SIDEBAR_HAS_CODE) {
            Painter.setOpacity(0.35);
            PaintIcon(Painter, QStringLiteral("breakpoint-17"), IconRect, palette().color(QPalette::Text));
            Painter.setOpacity(1);
        }
        if (const auto it = m_Numbers.constFind(Row); it != m_Numbers.constEnd() && NumberWidth > 0) {
            Painter.setFont(m_NumberFont);
            Painter.setPen(Row == m_CurrentRow ? palette().color(QPalette::ButtonText) : CTheme::GetWeakTextColor());
            Painter.drawText(QRect(StripWidth, y, NumberWidth - NUMBER_PADDING, m_RowHeight), Qt::AlignRight | Qt::AlignVCenter, QString::number(*it));
        }
        if (const auto it = m_Counters.constFind(Row); it != m_Counters.constEnd() && CounterWidth > 0) {
            Painter.setFont(m_CounterFont);
            Painter.setPen(palette().color(QPalette::ButtonText));
            Painter.drawText(QRect(width() - CounterWidth, y, CounterWidth - NUMBER_PADDING, m_RowHeight), Qt::AlignRight | Qt::AlignVCenter, QString::number(it->first));
        }
    }
    Painter.fillRect(width() - 1, 0, 1, height(), CTheme::GetBorderColor());
}

void CSideBar::mousePressEvent(QMouseEvent* pEvent)
{
    pEvent->accept();
    m_ClickModifiers = pEvent->modifiers();
    emit MouseClicked(GetRowAt(pEvent->pos().y()), int(pEvent->button()));
}

void CSideBar::mouseMoveEvent(QMouseEvent* pEvent)
{
    const int Row = pEvent->pos().x() <= m_RowHeight + 2 ? GetRowAt(pEvent->pos().y()) : -1;
    if (Row == m_HoverRow) return;
    m_HoverRow = Row;
    update();
}

void CSideBar::leaveEvent(QEvent*)
{
    m_HoverRow = -1;
    update();
}

void CSideBar::changeEvent(QEvent* pEvent)
{
    QWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::PaletteChange) update();
}

QString CSideBar::MakeCounterTip(int Row) const
{
    const auto it = m_Counters.constFind(Row);
    if (it == m_Counters.constEnd() || it->first == 0) return QString();
    const U64 Fetched = it->first;
    const U64 NotExecuted = std::min(it->second, Fetched);
    auto Cell = [Fetched](U64 Count) { return QStringLiteral("%1 (%2 %)").arg(Count).arg(100.0 * double(Count) / double(Fetched), 0, 'f', 1); };
    const QString sRow = QStringLiteral("<tr><td>%1&nbsp;&nbsp;</td><td>%2</td></tr>");
    QString sPlace = m_Numbers.contains(Row) ? QStringLiteral("line %1").arg(m_Numbers.value(Row)) : QString();
    if (m_PlaceText) sPlace = m_PlaceText(Row);
    QString sTip = QStringLiteral("Execution Profile for<br>&nbsp;%1<table>").arg(sPlace.toHtmlEscaped());
    sTip += sRow.arg(QStringLiteral("Fetched"), QString::number(Fetched));
    sTip += sRow.arg(QStringLiteral("Executed"), Cell(Fetched - NotExecuted));
    sTip += sRow.arg(QStringLiteral("Not-Executed"), Cell(NotExecuted));
    if (m_TotalExecuted > 0)
        sTip += sRow.arg(QStringLiteral("Load"), QStringLiteral("%1 %").arg(100.0 * double(Fetched - NotExecuted) / double(m_TotalExecuted), 0, 'f', 1));
    return sTip + QStringLiteral("</table>");
}

bool CSideBar::event(QEvent* pEvent)
{
    if (pEvent->type() != QEvent::ToolTip) return QWidget::event(pEvent);
    auto* pHelp = static_cast<QHelpEvent*>(pEvent);
    const bool InCounters = m_CountersShown && pHelp->pos().x() >= width() - GetCounterWidth();
    const QString sTip = InCounters ? MakeCounterTip(GetRowAt(pHelp->pos().y())) : QString();
    if (sTip.isEmpty()) QToolTip::hideText();
    else QToolTip::showText(pHelp->globalPos(), sTip, this);
    return true;
}

#include "moc_sidebar.cpp"
