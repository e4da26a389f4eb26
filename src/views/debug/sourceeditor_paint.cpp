// Painting of the source editor: only the rows on the screen, coloured as they are painted.
#include "project/settings/settingids.h"
#include "project/settings/sysvars.h"
#include "views/debug/insttext.h"
#include "views/debug/sourceeditor.h"
#include "views/debug/srcdocument.h"
#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <QPainter>
#include <QPaintEvent>
#include <QScrollBar>

/// Looked up once a repaint.
struct CSourceEditor::PAINT_COLORS {
    QColor Text = CTheme::GetColor(COLOR_SYNTAX_TEXT);
    QColor Keyword = CTheme::GetColor(COLOR_SYNTAX_KEYWORD);
    QColor Directive = CTheme::GetColor(COLOR_SYNTAX_DIRECTIVE);
    QColor String = CTheme::GetColor(COLOR_SYNTAX_STRING);
    QColor Comment = CTheme::GetColor(COLOR_SYNTAX_COMMENT);
    QColor Selection = CTheme::GetColor(COLOR_SELECTION_HIGHLIGHT);
    QColor SelectionText = CTheme::GetColor(COLOR_SELECTION_HIGHLIGHT_TEXT);
    QColor InstGround = CTheme::GetColor(COLOR_ASM_BACKG);
    QColor CurrentLine = CTheme::GetCurrentLineColor();
    QColor Weak = CTheme::GetWeakTextColor();
    QColor Match;

    const QColor& Get(SYNTAX_CLASSES Class) const
    {
        switch (Class) {
        case SYNTAX_KEYWORD: return Keyword;
        case SYNTAX_DIRECTIVE: return Directive;
        case SYNTAX_STRING: return String;
        case SYNTAX_COMMENT: return Comment;
        default: return Text;
        }
    }
};

namespace {
constexpr int EXPANSION_BAR_WIDTH = 14;
constexpr int INST_INDENT_CHARS = 4;
constexpr int CARET_WIDTH = 2;
} // namespace

void CSourceEditor::paintEvent(QPaintEvent* pEvent)
{
    QPainter Painter(viewport());
    Painter.fillRect(pEvent->rect(), palette().color(QPalette::Base));
    if (!m_pDocument) return;
    PAINT_COLORS Colors;
    // Marked places keep the text readable on either ground.
    Colors.Match = CTheme::GetColor(COLOR_TABLE_FILTER_MATCH);
    Colors.Match.setAlpha(60);
    const int First = GetFirstVisibleRow();
    const int Last = qMin(First + GetNumVisibleRows(), GetNumRows() - 1);
    for (int Row = First; Row <= Last; Row++) {
        const int y = (Row - First) * m_RowHeight;
        if (y + m_RowHeight >= pEvent->rect().top() && y <= pEvent->rect().bottom()) PaintRow(Painter, Row, y, Colors);
    }
    const int CaretRow = GetRowOfLine(U32(m_Cursor.y() + 1));
    if (m_CaretOn && hasFocus() && m_InstRow < 0 && CaretRow >= First && CaretRow <= Last) {
        const QPoint Pos = GetViewportPos(m_Cursor);
        Painter.fillRect(Pos.x(), Pos.y() + 1, CARET_WIDTH, m_RowHeight - 2, palette().color(QPalette::Text));
    }
}

void CSourceEditor::PaintRow(QPainter& Painter, int Row, int y, const PAINT_COLORS& Colors)
{
    const QRect RowRect(0, y, viewport()->width(), m_RowHeight);
    const SRC_ROW& Found = GetRow(Row);
    const bool IsCurrent = m_InstRow >= 0 ? Row == m_InstRow : !Found.IsInst && int(Found.Line) - 1 == m_Cursor.y();
    QColor Ground = m_Highlights.value(Row);
    if (!Ground.isValid() && IsCurrent) Ground = Found.IsInst && hasFocus() ? Colors.Selection : Colors.CurrentLine;
    if (!Ground.isValid() && Found.IsInst) Ground = Colors.InstGround;
    if (Ground.isValid()) Painter.fillRect(RowRect, Ground);
    if (Found.IsInst) {
        PaintInstText(Painter, Row, y, Colors);
    } else {
        PaintSourceText(Painter, Row, y, Colors);
        if (IsExpansionBarShown() && !Found.Ranges.isEmpty()) {
            const QRectF IconRect(0, y + (m_RowHeight - EXPANSION_BAR_WIDTH) / 2.0, EXPANSION_BAR_WIDTH, EXPANSION_BAR_WIDTH);
            PaintIcon(Painter, Found.IsExpanded ? QStringLiteral("node-collapse") : QStringLiteral("node-expand"), IconRect, Colors.Weak);
        }
    }
}

void CSourceEditor::PaintSelection(QPainter& Painter, int Line, int y, const QColor& Color) const
{
    if (!HasSelection()) return;
    const auto [From, To] = GetSelectionRange();
    if (Line < From.y() || Line > To.y()) return;
    const QString& sLine = m_pDocument->GetLine(Line);
    const int Left = GetTextLeft() - horizontalScrollBar()->value();
    const int Start = Line == From.y() ? GetColumnX(sLine, From.x()) : 0;
    // A selected line end shows as half a character.
    const int End = Line == To.y() ? GetColumnX(sLine, To.x()) : GetColumnX(sLine, int(sLine.size())) + int(m_CharWidth / 2);
    QColor Ground = Color;
    if (!hasFocus()) Ground.setAlpha(110);
    Painter.fillRect(Left + Start, y, End - Start, m_RowHeight, Ground);
}

void CSourceEditor::PaintSourceText(QPainter& Painter, int Row, int y, const PAINT_COLORS& Colors)
{
    const int Line = int(m_Rows[Row].Line) - 1;
    const QString& sLine = m_pDocument->GetLine(Line);
    const int Left = GetTextLeft() - horizontalScrollBar()->value();
    Painter.setFont(m_Font);
    if (!m_sMatch.isEmpty())
        for (qsizetype Pos = sLine.indexOf(m_sMatch, 0, m_MatchCase); Pos >= 0; Pos = sLine.indexOf(m_sMatch, Pos + m_sMatch.size(), m_MatchCase)) {
            const int x = GetColumnX(sLine, int(Pos));
            Painter.fillRect(Left + x, y + 1, GetColumnX(sLine, int(Pos + m_sMatch.size())) - x, m_RowHeight - 2, Colors.Match);
        }
    PaintSelection(Painter, Line, y, Colors.Selection);

    auto DrawPiece = [&](int From, int To, const QColor& Color) {
        if (From >= To) return;
        Painter.setPen(Color);
        const QString sBefore = ExpandTabs(sLine.left(From));
        const QString sPiece = ExpandTabs(sLine.left(To)).mid(sBefore.size());
        Painter.drawText(QPointF(Left + double(sBefore.size()) * m_CharWidth, y + m_Ascent), sPiece);
    };
    int SelFrom = 0, SelTo = 0;
    if (HasSelection() && hasFocus()) {
        const auto [From, To] = GetSelectionRange();
        if (Line >= From.y() && Line <= To.y()) {
            SelFrom = Line == From.y() ? From.x() : 0;
            SelTo = Line == To.y() ? To.x() : int(sLine.size());
        }
    }
    // The selected part is drawn in the selection's own text colour.
    auto DrawAround = [&](int From, int To, const QColor& Color) {
        DrawPiece(From, qMin(To, qMax(From, SelFrom)), Color);
        DrawPiece(qMax(From, SelFrom), qMin(To, SelTo), Colors.SelectionText);
        DrawPiece(qMax(From, qMin(To, SelTo)), To, SelTo > From ? Color : QColor());
    };
    auto Draw = [&](int From, int To, const QColor& Color) {
        if (SelTo <= From || SelFrom >= To) DrawPiece(From, To, Color);
        else DrawAround(From, To, Color);
    };
    int Pos = 0;
    for (const SYNTAX_SPAN& Span : m_pDocument->GetSpans(Line)) {
        Draw(Pos, Span.Pos, Colors.Text);
        Draw(Span.Pos, Span.Pos + Span.Length, Colors.Get(Span.Class));
        Pos = Span.Pos + Span.Length;
    }
    Draw(Pos, int(sLine.size()), Colors.Text);
}

void CSourceEditor::PaintInstText(QPainter& Painter, int Row, int y, const PAINT_COLORS& Colors)
{
    const VIEW_INST& Inst = m_Rows[Row].Inst;
    const double CharWidth = QFontMetricsF(m_AsmFont).horizontalAdvance(u'0');
    int x = GetTextLeft() - horizontalScrollBar()->value();
    if (GetVarValue(PREF_INDENT_INLINE_ASSEMBLY)) {
        // In line with the source text above it.
        const QString& sLine = m_pDocument->GetLine(int(m_Rows[Row].Line) - 1);
        const QString sExpanded = ExpandTabs(sLine);
        int Blanks = 0;
        while (Blanks < sExpanded.size() && sExpanded[Blanks] == u' ') Blanks++;
        x += int(Blanks * m_CharWidth);
    }
    x += int(INST_INDENT_CHARS * CharWidth / 2);
    const bool IsSelected = Row == m_InstRow && hasFocus() && !m_Highlights.contains(Row);
    Painter.setFont(m_AsmFont);
    PaintInst(Painter, QPoint(x, y), m_RowHeight, CharWidth, Inst, IsSelected ? Colors.SelectionText : QColor());
}
