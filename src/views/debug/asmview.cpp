#include "views/debug/asmview.h"

#include "project/settings/appearance.h"
#include "views/debug/insttext.h"
#include "views/framework/windowenv.h"
#include "views/theme/theme.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>
#include <QPaintEvent>
#include <QScrollBar>
#include <algorithm>

namespace {
constexpr int EXTRA_ROW_HEIGHT = 3;
constexpr int TEXT_GAP = 6;          ///< pixels between the margin and the text
constexpr int INST_EXTRA_CHARS = 30; ///< columns of blanks between the parts of an instruction row, at most
constexpr int WHEEL_STEP = 120;      ///< eighths of a degree of one notch
} // namespace

CAsmView::CAsmView(const CAsmBlock& Block, QWidget* pParent) : QAbstractScrollArea(pParent), m_Block(Block)
{
    setObjectName(QStringLiteral("asmView"));
    setAccessibleName(QStringLiteral("Disassembly text"));
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::NoContextMenu);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    viewport()->setAutoFillBackground(false);
    UpdateFonts();
}

void CAsmView::UpdateFonts()
{
    m_Font = ::GetFont(FONT_ASM_CODE);
    m_RowHeight = QFontMetrics(m_Font).height() + EXTRA_ROW_HEIGHT;
    m_CharWidth = std::max(1.0, QFontMetricsF(m_Font).horizontalAdvance(u'0'));
    UpdateScrollBars();
    viewport()->update();
}

int CAsmView::GetNumVisibleRows() const { return std::max(1, viewport()->height() / m_RowHeight); }

void CAsmView::UpdateScrollBars()
{
    const QSignalBlocker Blocker(verticalScrollBar());
    verticalScrollBar()->setPageStep(GetNumVisibleRows());
    verticalScrollBar()->setRange(0, std::max(1, m_Block.GetNumRows() - 1));
    verticalScrollBar()->setValue(m_TopRow);
    verticalScrollBar()->update();
    horizontalScrollBar()->setSingleStep(int(m_CharWidth * 4));
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setRange(0, std::max(0, int(m_TextChars * m_CharWidth) + TEXT_GAP - viewport()->width()));
}

void CAsmView::SetTopRow(int Row)
{
    m_TopRow = Row;
    UpdateScrollBars();
    viewport()->update();
}

void CAsmView::SetSelectedRow(int Row)
{
    m_SelectedRow = Row;
    viewport()->update();
}

void CAsmView::SetMarks(U32 PC, bool Active)
{
    m_PC = PC;
    m_Active = Active;
    viewport()->update();
}

void CAsmView::SetEncodingsShown(bool Shown)
{
    m_EncodingsShown = Shown;
    viewport()->update();
}

// ---- Painting --------------------------------------------------------------------------------------------

QColor CAsmView::GetRowGround(int Row) const
{
    if (Row < 0 || Row >= m_Block.GetNumRows()) return QColor();
    const ASM_ROW& Found = m_Block.GetRow(Row);
    if (Found.Kind == ASM_ROW_INST) {
        if (Found.Addr == m_PC) return CTheme::GetColor(m_Active ? COLOR_PC_ACTIVE : COLOR_PC_INACTIVE);
        if (m_PC != ADDR_NONE && AskHook(GetDebugViewHooks().IsOnStack, false, Found.Addr))
            return CTheme::GetColor(m_Active ? COLOR_CALL_SITE_ACTIVE : COLOR_CALL_SITE_INACTIVE);
    }
    if (Row == m_SelectedRow) return hasFocus() ? CTheme::GetColor(COLOR_SELECTION_HIGHLIGHT) : CTheme::GetCurrentLineColor();
    if (Found.Kind == ASM_ROW_LABEL) return CTheme::GetColor(COLOR_ASM_LABEL_BACKG);
    return Found.Kind == ASM_ROW_SOURCE ? CTheme::GetColor(COLOR_ASM_BACKG) : QColor();
}

void CAsmView::paintEvent(QPaintEvent* pEvent)
{
    QPainter Painter(viewport());
    Painter.fillRect(pEvent->rect(), palette().color(QPalette::Base));
    const int Last = std::min(GetRowAt(pEvent->rect().bottom()), m_Block.GetNumRows() - 1);
    int Widest = m_TextChars;
    for (int Row = std::max(0, GetRowAt(pEvent->rect().top())); Row <= Last; Row++) Widest = std::max(Widest, PaintRow(Painter, Row, (Row - m_TopRow) * m_RowHeight));
    if (Widest == m_TextChars) return;
    // The scroll bar changes the layout, which painting may not do itself.
    m_TextChars = Widest;
    QMetaObject::invokeMethod(this, [this] { UpdateScrollBars(); }, Qt::QueuedConnection);
}

int CAsmView::PaintRow(QPainter& Painter, int Row, int y)
{
    const ASM_ROW& Found = m_Block.GetRow(Row);
    const QColor Ground = GetRowGround(Row);
    if (Ground.isValid()) Painter.fillRect(0, y, viewport()->width(), m_RowHeight, Ground);
    // A marked row keeps its mark; only the selection's own ground takes the selection's text colour.
    const bool IsSelectionGround = Row == m_SelectedRow && hasFocus() && Ground == CTheme::GetColor(COLOR_SELECTION_HIGHLIGHT);
    // The weak colour of address and encoding is too faint on the strong ground of the PC.
    const bool IsActivePC = Found.Kind == ASM_ROW_INST && Found.Addr == m_PC && m_Active;
    const QColor Single = IsSelectionGround ? CTheme::GetColor(COLOR_SELECTION_HIGHLIGHT_TEXT) : IsActivePC ? CTheme::GetColor(COLOR_SYNTAX_TEXT) : QColor();
    const int x = TEXT_GAP - horizontalScrollBar()->value();
    Painter.setFont(m_Font);
    if (Found.Kind == ASM_ROW_INST) {
        const VIEW_INST Inst = AskHook(GetDebugViewHooks().GetInst, VIEW_INST(), Found.Addr, m_EncodingsShown);
        PaintInst(Painter, QPoint(x, y), m_RowHeight, m_CharWidth, Inst, Single);
        return int(Inst.sEncoding.size() + Inst.sText.size()) + INST_EXTRA_CHARS;
    }
    const bool IsLabel = Found.Kind == ASM_ROW_LABEL;
    if (IsLabel) {
        QFont Bold(m_Font);
        Bold.setBold(true);
        Painter.setFont(Bold);
    }
    Painter.setPen(Single.isValid() ? Single : IsLabel ? CTheme::GetColor(COLOR_SYNTAX_LABEL) : CTheme::GetColor(COLOR_SYNTAX_TEXT));
    Painter.drawText(QRect(x, y, std::max(viewport()->width() - x, 1), m_RowHeight), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextExpandTabs, Found.sText);
    return int(Found.sText.size()) + 1;
}

// ---- Input -----------------------------------------------------------------------------------------------

void CAsmView::resizeEvent(QResizeEvent* pEvent)
{
    QAbstractScrollArea::resizeEvent(pEvent);
    UpdateScrollBars();
    emit Resized();
}

void CAsmView::mousePressEvent(QMouseEvent* pEvent) { emit RowClicked(GetRowAt(pEvent->pos().y()), int(pEvent->button())); }

void CAsmView::mouseMoveEvent(QMouseEvent* pEvent)
{
    if (pEvent->buttons() & Qt::LeftButton) emit RowClicked(std::clamp(GetRowAt(pEvent->pos().y()), m_TopRow, m_TopRow + GetNumVisibleRows() - 1), Qt::NoButton);
}

void CAsmView::wheelEvent(QWheelEvent* pEvent)
{
    if (pEvent->angleDelta().y() == 0) {
        QAbstractScrollArea::wheelEvent(pEvent);
        return;
    }
    m_WheelRest += pEvent->angleDelta().y() * QApplication::wheelScrollLines();
    const int Rows = m_WheelRest / WHEEL_STEP;
    m_WheelRest -= Rows * WHEEL_STEP;
    if (Rows) emit Scrolled(-Rows);
    pEvent->accept();
}

void CAsmView::keyPressEvent(QKeyEvent* pEvent)
{
    pEvent->ignore();
    emit KeyPressed(pEvent);
}

void CAsmView::focusInEvent(QFocusEvent*) { viewport()->update(); }
void CAsmView::focusOutEvent(QFocusEvent*) { viewport()->update(); }
void CAsmView::scrollContentsBy(int, int) { viewport()->update(); }

#include "moc_asmview.cpp"
