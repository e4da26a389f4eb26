#include "views/debug/sourceeditor.h"

#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "views/debug/srcdocument.h"

#include <QFontMetricsF>
#include <QScrollBar>
#include <algorithm>
#include <cmath>

namespace {
constexpr int BLINK_MS = 500;
constexpr int EXPANSION_BAR_WIDTH = 14;
constexpr int TEXT_GAP = 6; ///< pixels between the margin and the text
constexpr int MAX_INSTS_PER_LINE = 1000;
constexpr int EXTRA_ROW_HEIGHT = 3;
} // namespace

CSourceEditor::CSourceEditor(QWidget* pParent) : QAbstractScrollArea(pParent)
{
    setObjectName(QStringLiteral("sourceEditor"));
    setAccessibleName(QStringLiteral("Source text"));
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::NoContextMenu);
    viewport()->setCursor(Qt::IBeamCursor);
    viewport()->setMouseTracking(true);
    viewport()->setAutoFillBackground(false);
    m_BlinkTimer.setInterval(BLINK_MS);
    connect(&m_BlinkTimer, &QTimer::timeout, this, [this] {
        m_CaretOn = !m_CaretOn;
        viewport()->update();
    });
    UpdateFonts();
    RebuildRows();
}

void CSourceEditor::UpdateFonts()
{
    m_Font = ::GetFont(FONT_SRC_CODE);
    m_AsmFont = ::GetFont(FONT_SRC_ASM_CODE);
    m_TabSpacing = int(GetVarValue(PREF_TAB_SPACING));
    const QFontMetrics Metrics(m_Font);
    m_RowHeight = std::max(Metrics.height(), QFontMetrics(m_AsmFont).height()) + EXTRA_ROW_HEIGHT;
    m_Ascent = Metrics.ascent() + EXTRA_ROW_HEIGHT / 2;
    m_CharWidth = std::max(1.0, QFontMetricsF(m_Font).horizontalAdvance(u'0'));
    UpdateScrollBars();
    viewport()->update();
    emit ViewChanged();
}

void CSourceEditor::SetDocument(CSrcDocument* pDocument)
{
    if (m_pDocument && m_pDocument != pDocument) {
        m_pDocument->m_Cursor = m_Cursor;
        m_pDocument->m_TopRow = GetFirstVisibleRow();
    }
    m_pDocument = pDocument;
    m_Highlights.clear();
    m_InstRow = -1;
    m_Cursor = m_Anchor = pDocument ? pDocument->Clamp(pDocument->m_Cursor) : QPoint();
    RebuildRows();
    verticalScrollBar()->setValue(pDocument ? pDocument->m_TopRow : 0);
    horizontalScrollBar()->setValue(0);
    viewport()->update();
    emit ViewChanged();
}

// ---- Rows ------------------------------------------------------------------------------------------------

void CSourceEditor::RebuildRows()
{
    m_Rows.clear();
    m_RowOfLine.clear();
    const int NumLines = m_pDocument ? m_pDocument->GetNumLines() : 0;
    m_Rows.reserve(NumLines);
    for (int Line = 0; Line < NumLines; Line++) {
        m_RowOfLine.append(int(m_Rows.size()));
        SRC_ROW Row;
        Row.Line = U32(Line + 1);
        if (m_pDocument->m_ExpandedLines.contains(Line)) {
            AskAddress(Row);
            Row.IsExpanded = true;
            m_Rows.append(Row);
            for (const VIEW_INST& Inst : GetInsts(Row.Ranges)) {
                SRC_ROW InstRow;
                InstRow.IsInst = true;
                InstRow.Line = Row.Line;
                InstRow.Addr = Inst.Addr;
                InstRow.EndAddr = U64(Inst.Addr) + 2;
                InstRow.Inst = Inst;
                m_Rows.append(InstRow);
            }
        } else
            m_Rows.append(Row);
    }
    UpdateScrollBars();
}

void CSourceEditor::AskAddress(SRC_ROW& Row) const
{
    if (Row.Addr != ROW_ADDR_NOT_ASKED) return;
    Row.Addr = ROW_ADDR_UNKNOWN;
    if (!m_pDocument) return;
    Row.Ranges = AskHook(GetDebugViewHooks().GetLineRanges, QList<CAddrRange>(), CSrcLoc(m_pDocument->GetFileNo(), Row.Line));
    for (const CAddrRange& Range : std::as_const(Row.Ranges)) {
        // Several ranges of a line show as one: from the smallest start to the largest end.
        Row.Addr = Row.Addr == ROW_ADDR_UNKNOWN ? Range.Start : std::min<U64>(Row.Addr, Range.Start);
        Row.EndAddr = std::max(Row.EndAddr, std::max(Range.End(), U64(Range.Start) + 1));
    }
}

QList<VIEW_INST> CSourceEditor::GetInsts(const QList<CAddrRange>& Ranges) const
{
    QList<VIEW_INST> Insts;
    const auto& Hooks = GetDebugViewHooks();
    if (!Hooks.GetInst) return Insts;
    const bool WithEncoding = GetVarValue(PREF_SHOW_ENCODINGS_SRC) != 0;
    for (const CAddrRange& Range : Ranges)
        for (U64 Addr = Range.Start; Addr < Range.End() && Insts.size() < MAX_INSTS_PER_LINE;) {
            VIEW_INST Inst = Hooks.GetInst(U32(Addr), WithEncoding);
            Inst.Addr = U32(Addr);
            Inst.Size = std::max(Inst.Size, 1u);
            Addr += Inst.Size;
            Insts.append(Inst);
        }
    return Insts;
}

void CSourceEditor::ForgetAddresses()
{
    RebuildRows();
    viewport()->update();
}

const SRC_ROW& CSourceEditor::GetRow(int Row)
{
    static const SRC_ROW s_None;
    if (Row < 0 || Row >= m_Rows.size()) return s_None;
    AskAddress(m_Rows[Row]);
    return m_Rows[Row];
}

int CSourceEditor::GetRowOfLine(U32 Line) const { return Line >= 1 && Line <= U32(m_RowOfLine.size()) ? m_RowOfLine[int(Line) - 1] : -1; }

int CSourceEditor::GetRowOfInst(U32 Addr) const
{
    for (int Row = 0; Row < m_Rows.size(); Row++)
        if (m_Rows[Row].IsInst && m_Rows[Row].Addr == Addr) return Row;
    return -1;
}

int CSourceEditor::GetFirstVisibleRow() const { return verticalScrollBar()->value(); }
int CSourceEditor::GetNumVisibleRows() const { return (viewport()->height() + m_RowHeight - 1) / m_RowHeight; }
int CSourceEditor::GetRowAt(int y) const { return GetFirstVisibleRow() + (y >= 0 ? y / m_RowHeight : -1); }

// ---- Line expansion --------------------------------------------------------------------------------------

bool CSourceEditor::IsLineExpandable(int Row)
{
    const SRC_ROW& Found = GetRow(Row);
    return !Found.IsInst && !Found.Ranges.isEmpty() && GetDebugViewHooks().GetInst;
}

bool CSourceEditor::IsLineExpanded(U32 Line) const { return m_pDocument && m_pDocument->m_ExpandedLines.contains(int(Line) - 1); }

void CSourceEditor::SetLineExpanded(U32 Line, bool Expanded)
{
    const int Row = GetRowOfLine(Line);
    if (!m_pDocument || Row < 0 || IsLineExpanded(Line) == Expanded || (Expanded && !IsLineExpandable(Row))) return;
    if (Expanded)
        m_pDocument->m_ExpandedLines.insert(int(Line) - 1);
    else
        m_pDocument->m_ExpandedLines.remove(int(Line) - 1);
    m_InstRow = -1;
    RebuildRows();
    viewport()->update();
    emit ViewChanged();
}

void CSourceEditor::SetAllExpanded(bool Expanded)
{
    if (!m_pDocument) return;
    m_pDocument->m_ExpandedLines.clear();
    if (Expanded)
        for (int Line = 0; Line < m_pDocument->GetNumLines(); Line++)
            if (IsLineExpandable(GetRowOfLine(U32(Line + 1)))) m_pDocument->m_ExpandedLines.insert(Line);
    m_InstRow = -1;
    RebuildRows();
    viewport()->update();
    emit ViewChanged();
}

// ---- Text geometry ---------------------------------------------------------------------------------------

bool CSourceEditor::IsExpansionBarShown() const { return GetVarValue(PREF_SHOW_EXPANSION_BAR) != 0 && GetDebugViewHooks().GetInst; }
int CSourceEditor::GetTextLeft() const { return (IsExpansionBarShown() ? EXPANSION_BAR_WIDTH : 0) + TEXT_GAP; }

QString CSourceEditor::ExpandTabs(const QString& sText) const
{
    if (!sText.contains(u'\t')) return sText;
    QString sExpanded;
    for (const QChar Char : sText) {
        if (Char != u'\t') {
            sExpanded.append(Char);
            continue;
        }
        const int Stop = std::max(1, m_TabSpacing);
        if (m_TabSpacing > 0) sExpanded.append(QString(Stop - int(sExpanded.size()) % Stop, u' '));
    }
    return sExpanded;
}

int CSourceEditor::GetColumnX(const QString& sLine, int Col) const { return int(std::lround(double(ExpandTabs(sLine.left(Col)).size()) * m_CharWidth)); }

int CSourceEditor::GetColumnAtX(const QString& sLine, int x) const
{
    int Col = 0;
    while (Col < sLine.size() && (GetColumnX(sLine, Col) + GetColumnX(sLine, Col + 1)) / 2 <= x) Col++;
    return Col;
}

QPoint CSourceEditor::GetTextPosAt(QPoint ViewportPos) const
{
    const int Row = GetRowAt(ViewportPos.y());
    if (Row < 0 || Row >= m_Rows.size() || m_Rows[Row].IsInst) return QPoint(-1, -1);
    const int Line = int(m_Rows[Row].Line) - 1;
    return QPoint(GetColumnAtX(m_pDocument->GetLine(Line), ViewportPos.x() - GetTextLeft() + horizontalScrollBar()->value()), Line);
}

QPoint CSourceEditor::GetViewportPos(QPoint TextPos) const
{
    const int Row = GetRowOfLine(U32(TextPos.y() + 1));
    const QString sLine = m_pDocument ? m_pDocument->GetLine(TextPos.y()) : QString();
    return QPoint(GetTextLeft() + GetColumnX(sLine, TextPos.x()) - horizontalScrollBar()->value(), (Row - GetFirstVisibleRow()) * m_RowHeight);
}

// ---- Scrolling -------------------------------------------------------------------------------------------

void CSourceEditor::UpdateScrollBars()
{
    const int WholeRows = std::max(1, viewport()->height() / m_RowHeight);
    verticalScrollBar()->setRange(0, std::max(0, int(m_Rows.size()) - WholeRows));
    verticalScrollBar()->setPageStep(WholeRows);
    int Longest = 0;
    if (m_pDocument)
        for (const QString& sLine : m_pDocument->GetLines()) Longest = std::max(Longest, int(sLine.size()));
    const int Width = GetTextLeft() + int((Longest + 2) * m_CharWidth);
    horizontalScrollBar()->setRange(0, std::max(0, Width - viewport()->width()));
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setSingleStep(int(4 * m_CharWidth));
}

void CSourceEditor::scrollContentsBy(int, int)
{
    viewport()->update();
    emit ViewChanged();
}

void CSourceEditor::resizeEvent(QResizeEvent* pEvent)
{
    QAbstractScrollArea::resizeEvent(pEvent);
    UpdateScrollBars();
    emit ViewChanged();
}

void CSourceEditor::ScrollToRow(int Row, bool Center)
{
    const int WholeRows = std::max(1, viewport()->height() / m_RowHeight);
    verticalScrollBar()->setValue(Center ? Row - WholeRows / 2 : Row);
}

void CSourceEditor::EnsureRowVisible(int Row, bool Center)
{
    const int WholeRows = std::max(1, viewport()->height() / m_RowHeight);
    const int First = GetFirstVisibleRow();
    if (Row >= First && Row < First + WholeRows) return;
    if (Center) ScrollToRow(Row, true);
    else verticalScrollBar()->setValue(Row < First ? Row : Row - WholeRows + 1);
}

// ---- Cursor and selection --------------------------------------------------------------------------------

std::pair<QPoint, QPoint> CSourceEditor::GetSelectionRange() const
{
    const bool CursorFirst = m_Cursor.y() < m_Anchor.y() || (m_Cursor.y() == m_Anchor.y() && m_Cursor.x() < m_Anchor.x());
    return CursorFirst ? std::pair{m_Cursor, m_Anchor} : std::pair{m_Anchor, m_Cursor};
}

QString CSourceEditor::GetSelectedText() const
{
    if (!m_pDocument || !HasSelection()) return QString();
    const auto [From, To] = GetSelectionRange();
    return m_pDocument->GetText(From, To);
}

void CSourceEditor::SetCursorTextPos(QPoint Pos, bool KeepAnchor)
{
    if (!m_pDocument) return;
    const QPoint OldCursor = m_Cursor;
    const bool HadSelection = HasSelection();
    m_Cursor = m_pDocument->Clamp(Pos);
    if (!KeepAnchor) m_Anchor = m_Cursor;
    m_InstRow = -1;
    m_pDocument->m_Cursor = m_Cursor;
    RestartBlink();
    viewport()->update();
    if (m_Cursor != OldCursor) emit CursorPositionChanged(m_Cursor);
    if (HadSelection || HasSelection()) emit TextSelectionChanged();
}

void CSourceEditor::SelectText(QPoint Pos, int Length)
{
    SetCursorTextPos(Pos);
    SetCursorTextPos(QPoint(m_Cursor.x() + Length, m_Cursor.y()), true);
    EnsureRowVisible(GetRowOfLine(U32(m_Cursor.y() + 1)), true);
}

void CSourceEditor::SelectAll()
{
    if (!m_pDocument) return;
    SetCursorTextPos(QPoint(0, 0));
    const int Last = m_pDocument->GetNumLines() - 1;
    SetCursorTextPos(QPoint(int(m_pDocument->GetLine(Last).size()), Last), true);
}

void CSourceEditor::Unselect() { SetCursorTextPos(m_Cursor); }

QString CSourceEditor::GetWordUnderCursor() const { return m_pDocument ? GetWordAt(m_pDocument->GetLine(m_Cursor.y()), m_Cursor.x(), false) : QString(); }

void CSourceEditor::SetSelectedInstRow(int Row)
{
    m_InstRow = Row >= 0 && Row < m_Rows.size() && m_Rows[Row].IsInst ? Row : -1;
    viewport()->update();
}

// ---- Look ------------------------------------------------------------------------------------------------

void CSourceEditor::SetHighlight(int Row, const QColor& Color)
{
    if (Row < 0) return;
    m_Highlights.insert(Row, Color);
    viewport()->update();
}

void CSourceEditor::ClearHighlights()
{
    m_Highlights.clear();
    viewport()->update();
}

void CSourceEditor::ClearHighlights(const QColor& Color)
{
    m_Highlights.removeIf([&Color](const auto& Entry) { return Entry.value() == Color; });
    viewport()->update();
}

void CSourceEditor::SetMatches(const QString& sText, bool MatchCase)
{
    m_sMatch = sText;
    m_MatchCase = MatchCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    viewport()->update();
}

void CSourceEditor::RestartBlink()
{
    m_CaretOn = hasFocus();
    if (hasFocus()) m_BlinkTimer.start();
}

#include "moc_sourceeditor.cpp"
