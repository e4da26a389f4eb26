// How the source window feeds its margin: symbols, line numbers and counters of the rows on the screen.
#include "project/settings/sysvars.h"
#include "views/debug/insttext.h"
#include "views/debug/sourcewindow.h"
#include "views/debug/srcdocument.h"
#include "views/framework/sidebar.h"

#include <QLabel>

namespace {

/// Values of PREF_LINE_NUMBER_FREQ.
enum LINE_NUMBER_FREQS : int {
    LINE_NUMBERS_OFF,
    LINE_NUMBERS_CURRENT,
    LINE_NUMBERS_ALL,
    LINE_NUMBERS_EVERY_5,
    LINE_NUMBERS_EVERY_10
};

bool IsLineNumbered(U32 Line, U32 CurrentLine, I64 Frequency)
{
    switch (Frequency) {
    case LINE_NUMBERS_CURRENT:
        return Line == CurrentLine;
    case LINE_NUMBERS_ALL:
        return true;
    case LINE_NUMBERS_EVERY_5:
        return Line % 5 == 0;
    case LINE_NUMBERS_EVERY_10:
        return Line % 10 == 0;
    default:
        return false;
    }
}

int GetPointSymbol(const VIEW_POINT& Point, int OnAtStart, int OffAtStart, int OnLater, int OffLater)
{
    const bool IsOn =
        Point.State == BP_STATE_ON || Point.State == BP_STATE_MIXED || Point.State == BP_STATE_ON_HIDDEN;
    if (Point.IsAtStart) return IsOn ? OnAtStart : OffAtStart;
    return IsOn ? OnLater : OffLater;
}

} // namespace

void CSourceWindow::UpdateSidebar()
{
    if (!m_pEditor || !m_pSideBar) return;
    const int First = m_pEditor->GetFirstVisibleRow();
    const int Last = qMin(First + m_pEditor->GetNumVisibleRows(), m_pEditor->GetNumRows() - 1);
    m_pSideBar->SetGeometryOfRows(First, m_pEditor->GetRowHeight());
    const I64 Frequency = GetVarValue(PREF_LINE_NUMBER_FREQ);
    const bool CountersShown = GetVarValue(PREF_SHOW_SRC_CODE_PROFILE) != 0;
    const auto& Hooks = GetDebugViewHooks();
    QMap<int, U32> Numbers;
    QHash<int, QPair<U64, U64>> Counters;
    for (int Row = First; Row <= Last; Row++) {
        const SRC_ROW& Found = m_pEditor->GetRow(Row);
        if (!Found.IsInst && IsLineNumbered(Found.Line, U32(m_pEditor->GetCursor().y() + 1), Frequency))
            Numbers.insert(Row, Found.Line);
        U64 Fetched = 0, NotExecuted = 0;
        if (CountersShown && Hooks.GetExecCounts && Found.Addr < ROW_ADDR_NOT_ASKED &&
            Hooks.GetExecCounts(U32(Found.Addr), Found.EndAddr, Fetched, NotExecuted))
            Counters.insert(Row, {Fetched, NotExecuted});
    }
    const CSrcDocument* pDocument = m_pEditor->GetDocument();
    const int NumDigits = Frequency == LINE_NUMBERS_OFF || !pDocument
                              ? 0
                              : qMax(3, int(QString::number(pDocument->GetNumLines()).size()));
    m_pSideBar->SetLineNumbers(Numbers, NumDigits);
    m_pSideBar->SetExecCounters(Counters, CountersShown);
    m_pSideBar->SetProfileInfo([this](int Row) { return GetRowLocationText(Row); },
                               CountersShown ? AskHook(Hooks.GetTotalExecuted, U64(0)) : 0);
}

VIEW_POINT CSourceWindow::GetBreakpointOfRow(const SRC_ROW& Row) const
{
    const auto& Hooks = GetDebugViewHooks();
    if (Row.IsInst) return AskHook(Hooks.GetBreakpointAt, VIEW_POINT(), U32(Row.Addr));
    return AskHook(Hooks.GetBreakpointOnLine, VIEW_POINT(), CSrcLoc(GetActiveFileNo(), Row.Line));
}

CSourceWindow::ROW_MARKS CSourceWindow::GetRowMarks(int Row)
{
    ROW_MARKS Marks;
    const SRC_ROW& Found = m_pEditor->GetRow(Row);
    const auto& Hooks = GetDebugViewHooks();
    const bool HasCode = Found.Addr < ROW_ADDR_NOT_ASKED;
    const bool HasProgram = AskHook(Hooks.HasProgram, false);
    const VIEW_POINT Breakpoint = GetBreakpointOfRow(Found);
    VIEW_POINT Tracepoint;
    if (HasCode && Hooks.GetTracepointIn) Tracepoint = Hooks.GetTracepointIn(U32(Found.Addr), Found.EndAddr);
    if (!HasCode && HasProgram)
        Marks.Left = SIDEBAR_NONE; // the debug information knows that there is no code
    else if (Breakpoint.Exists)
        Marks.Left = GetPointSymbol(Breakpoint, SIDEBAR_BP_ON, SIDEBAR_BP_OFF, SIDEBAR_BP_ON_SMALL,
                                    SIDEBAR_BP_OFF_SMALL);
    else if (Tracepoint.Exists)
        Marks.Left = GetPointSymbol(Tracepoint, SIDEBAR_TP_ON, SIDEBAR_TP_OFF, SIDEBAR_TP_ON_SMALL,
                                    SIDEBAR_TP_OFF_SMALL);
    else if (HasCode)
        Marks.Left = SIDEBAR_HAS_CODE;

    if (IsTargetHalted()) {
        const U32 PC = AlignToInst(m_PC);
        const bool IsPcLine = m_PCLoc.IsValid() && m_PCLoc.IsSameLine(CSrcLoc(GetActiveFileNo(), Found.Line));
        // Of an unfolded line the instruction carries the arrow.
        const bool IsPcRow = Found.IsInst ? Found.Addr == PC : IsPcLine && m_pEditor->GetRowOfInst(PC) < 0;
        if (IsPcRow && PC != ADDR_NONE)
            Marks.Right = SIDEBAR_PC;
        else if (Found.IsInst ? AskHook(Hooks.IsOnStack, false, U32(Found.Addr)) : false)
            Marks.Right = SIDEBAR_CALL_SITE;
        else if (!Found.IsInst)
            for (const CSrcLoc& Loc : AskHook(Hooks.GetCallSites, QList<CSrcLoc>()))
                if (Loc.IsSameLine(CSrcLoc(GetActiveFileNo(), Found.Line))) Marks.Right = SIDEBAR_CALL_SITE;
    }
    const bool HasTraceSymbol = Marks.Left >= SIDEBAR_TP_ON_SMALL && Marks.Left <= SIDEBAR_TP_OFF;
    if (!Marks.Right && Tracepoint.Exists && !HasTraceSymbol)
        Marks.Right = Tracepoint.TraceOp == TP_OP_START ? SIDEBAR_TRACE_START : SIDEBAR_TRACE_STOP;
    return Marks;
}

void CSourceWindow::UpdateSidebarIcons()
{
    if (!m_pEditor || !m_pSideBar) return;
    QMap<int, int> Left;
    QMap<int, int> Right;
    const int First = m_pEditor->GetFirstVisibleRow();
    const int Last = qMin(First + m_pEditor->GetNumVisibleRows(), m_pEditor->GetNumRows() - 1);
    for (int Row = First; Row <= Last; Row++) {
        const ROW_MARKS Marks = GetRowMarks(Row);
        if (Marks.Left) Left.insert(Row, Marks.Left);
        if (Marks.Right) Right.insert(Row, Marks.Right);
    }
    m_pSideBar->SetSymbols(Left, Right);
}

QString CSourceWindow::GetRowLocationText(int Row)
{
    const SRC_ROW& Found = m_pEditor->GetRow(Row);
    if (Found.IsInst) return FormatAddr(U32(Found.Addr));
    const CSrcLoc Loc(GetActiveFileNo(), Found.Line);
    const QString sText = GetViewSrcLocText(Loc);
    const CSrcDocument* pDocument = GetCurrentDocument();
    return sText.isEmpty() && pDocument
               ? QStringLiteral("%1:%2").arg(pDocument->GetFileName()).arg(Found.Line)
               : sText;
}

void CSourceWindow::RunBreakpointCommand(int Row, bool ToggleState)
{
    if (Row < 0 || Row >= m_pEditor->GetNumRows()) return;
    const SRC_ROW& Found = m_pEditor->GetRow(Row);
    const VIEW_POINT Point = GetBreakpointOfRow(Found);
    QString sVerb;
    if (ToggleState) {
        if (!Point.Exists) return;
        sVerb = Point.State == BP_STATE_DISABLED ? QStringLiteral("Enable") : QStringLiteral("Disable");
    } else
        sVerb = Point.Exists ? QStringLiteral("Clear") : QStringLiteral("Set");
    const QString sCommand =
        QStringLiteral("Break.") + sVerb + (Found.IsInst ? QString() : QStringLiteral("OnSrc"));
    if (IsWindowCommandEnabled(sCommand)) PerformWindowCommand(sCommand, {GetRowLocationText(Row)});
}

void CSourceWindow::OnSidebarClicked(int Row, int Button)
{
    if (Row < 0 || Row >= m_pEditor->GetNumRows()) return;
    const SRC_ROW& Found = m_pEditor->GetRow(Row);
    m_pEditor->SetCursorTextPos(QPoint(0, int(Found.Line) - 1));
    if (Found.IsInst) m_pEditor->SetSelectedInstRow(Row);
    m_IsSelecting = true;
    if (Found.IsInst)
        emit InstSelected(I64(Found.Addr));
    else
        emit SrcLocSelected(CSrcLoc(GetActiveFileNo(), Found.Line));
    m_IsSelecting = false;
    if (Button == Qt::LeftButton)
        RunBreakpointCommand(Row, m_pSideBar->GetClickModifiers() & Qt::ShiftModifier);
}

QStringList CSourceWindow::GetText(int Depth)
{
    if (IsEmpty()) return CWindow::GetText(Depth);
    if (const CSrcDocument* pDocument = GetCurrentDocument(); pDocument && !pDocument->IsFound())
        return m_pLabelNotFound->text().split(u'\n', Qt::SkipEmptyParts);
    // One letter a mark: breakpoint "B" (disabled "b"), tracepoint "T" ("t"), code ".", PC ">", call site
    // "^".
    static constexpr char aLetters[] = {' ', 'B', 'b', 'B', 'b', 'T', 't', 'T', 't', '.', '^', '>', 'S', 'E'};
    QStringList Lines;
    const int First = m_pEditor->GetFirstVisibleRow();
    const int Last = qMin(First + m_pEditor->GetNumVisibleRows(), m_pEditor->GetNumRows()) - 1;
    for (int Row = First; Row <= Last; Row++) {
        const SRC_ROW& Found = m_pEditor->GetRow(Row);
        const ROW_MARKS Marks = GetRowMarks(Row);
        const QString sMarks =
            QString(QLatin1Char(aLetters[Marks.Left])) + QLatin1Char(aLetters[Marks.Right]);
        const QString sText = Found.IsInst
                                  ? QStringLiteral("  ") + GetInstLine(Found.Inst) +
                                        (sMarks.trimmed().isEmpty() ? QString() : u'\t' + sMarks.trimmed())
                                  : QString::number(Found.Line) + u'\t' + sMarks.trimmed() + u'\t' +
                                        m_pEditor->GetDocument()->GetLine(int(Found.Line) - 1);
        Lines.append(sText);
    }
    return Lines;
}
