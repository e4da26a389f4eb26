// Margin, cursor keys, actions and menus of the disassembly window.
#include "project/settings/sysvars.h"
#include "views/debug/asmview.h"
#include "views/debug/breakpointactions.h"
#include "views/debug/debugviewhooks.h"
#include "views/debug/disassemblywindow.h"
#include "views/debug/insttext.h"
#include "views/framework/sidebar.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>
#include <algorithm>

namespace {

constexpr int BOTTOM_ROWS = 3; ///< the cursor keys scroll when the selection comes this near to the bottom

struct ASM_ACTION {
    const char* sName;
    const char* sText;
    const char* sShortcut;
    const char* sStatusTip;
    const char* sSlot;
    const char* sIcon = "";
    int CheckVarID = -1; ///< preference whose value the check shows
};
const ASM_ACTION aActions[] = {
    {"actionAsmViewPC", "Go To &PC", "Ctrl+P", "Navigates to the PC Instruction", SLOT(OnActionViewPCTriggered()), "arrow-pc"},
    {"actionAsmViewAddress", "&Go To...", "Ctrl+G", "Navigates to a Disassembly Location", SLOT(OnActionViewAddressTriggered())},
    {"actionAsmSetNextPC", "Set &Next PC", "Shift+F10", "Sets the next PC to the selected Instruction", SLOT(OnActionSetNextPCTriggered())},
    {"actionAsmRunToCursor", "&Run To Cursor", "Ctrl+F10", "Runs the Program to the selected Instruction", SLOT(OnActionRunToCursorTriggered())},
    {"actionAsmShowSource", "S&ource Lines", "", "Shows Source Lines", SLOT(OnActionShowSourceTriggered()), "", PREF_SHOW_ASM_SOURCE},
    {"actionAsmShowLabels", "&Labels", "", "Shows Labels", SLOT(OnActionShowLabelsTriggered()), "", PREF_SHOW_ASM_LABELS},
    {"actionAsmShowInstEncodings", "&Instruction Encodings", "", "Shows Instruction Encodings", SLOT(OnActionShowInstEncodingsTriggered()), "", PREF_SHOW_ENCODINGS_ASM},
    {"actionAsmShowCodeProfile", "&Execution Counters", "Ctrl+E", "Shows Execution Counters", SLOT(OnActionShowCodeProfileTriggered()), "", PREF_SHOW_ASM_CODE_PROFILE},
    {"actionAsmResetCodeProfile", "&Reset Execution Counters", "Ctrl+R", "Resets Execution Counters", SLOT(OnActionResetCodeProfileTriggered())},
};
const char GO_TO_HELP[] = "Address: \t\t e.g.  0x80000000\nFunction:\t\t e.g.  main\nLabel:   \t\t e.g.  $vectors\nRegister:\t\t e.g.  LR\n";

bool IsPointOn(const VIEW_POINT& Point) { return Point.State == BP_STATE_ON || Point.State == BP_STATE_MIXED || Point.State == BP_STATE_ON_HIDDEN; }

} // namespace

// ---- Margin ----------------------------------------------------------------------------------------------

void CDisassemblyWindow::UpdateSidebar()
{
    if (!m_pView || !m_pSideBar) return;
    const auto& Hooks = GetDebugViewHooks();
    const bool CountersShown = GetVarValue(PREF_SHOW_ASM_CODE_PROFILE) != 0;
    QMap<int, int> Left;
    QMap<int, int> Right;
    QHash<int, QPair<U64, U64>> Counters;
    const int Last = std::min(m_pView->GetTopRow() + m_pView->GetNumVisibleRows(), m_Block.GetNumRows() - 1);
    for (int Row = std::max(0, m_pView->GetTopRow()); Row <= Last; Row++) {
        if (!m_Block.IsInstRow(Row)) continue;
        const U32 Addr = m_Block.GetRow(Row).Addr;
        const U64 End = Row + 1 < m_Block.GetNumRows() ? m_Block.GetRow(Row + 1).Addr : m_Block.GetEnd();
        const VIEW_POINT Breakpoint = AskHook(Hooks.GetBreakpointAt, VIEW_POINT(), Addr);
        const VIEW_POINT Tracepoint = AskHook(Hooks.GetTracepointIn, VIEW_POINT(), Addr, End);
        int Symbol = SIDEBAR_HAS_CODE;
        if (Breakpoint.Exists) Symbol = IsPointOn(Breakpoint) ? SIDEBAR_BP_ON : SIDEBAR_BP_OFF;
        else if (Tracepoint.Exists) Symbol = IsPointOn(Tracepoint) ? SIDEBAR_TP_ON : SIDEBAR_TP_OFF;
        Left.insert(Row, Symbol);
        if (IsPCShown() && Addr == m_PC) Right.insert(Row, SIDEBAR_PC);
        else if (IsPCShown() && AskHook(Hooks.IsOnStack, false, Addr)) Right.insert(Row, SIDEBAR_CALL_SITE);
        U64 Fetched = 0, NotExecuted = 0;
        if (CountersShown && Hooks.GetExecCounts && Hooks.GetExecCounts(Addr, End, Fetched, NotExecuted)) Counters.insert(Row, {Fetched, NotExecuted});
    }
    m_pSideBar->SetGeometryOfRows(m_pView->GetTopRow(), m_pView->GetRowHeight());
    m_pSideBar->SetSymbols(Left, Right);
    m_pSideBar->SetExecCounters(Counters, CountersShown);
    m_pSideBar->SetProfileInfo([this](int Row) { return Row >= 0 && Row < m_Block.GetNumRows() ? FormatAddr(m_Block.GetRow(Row).Addr) : QString(); },
                               CountersShown ? AskHook(Hooks.GetTotalExecuted, U64(0)) : 0);
}

void CDisassemblyWindow::RunBreakpointCommand(int Row, bool ToggleState)
{
    if (Row < 0 || Row >= m_Block.GetNumRows()) return;
    const U32 Addr = m_Block.GetRow(Row).Addr;
    const VIEW_POINT Point = AskHook(GetDebugViewHooks().GetBreakpointAt, VIEW_POINT(), Addr);
    if (ToggleState && !Point.Exists) return;
    const char* sVerb = ToggleState ? (Point.State == BP_STATE_DISABLED ? "Enable" : "Disable") : Point.Exists ? "Clear" : "Set";
    const QString sCommand = QStringLiteral("Break.") + QLatin1String(sVerb);
    if (IsWindowCommandEnabled(sCommand)) PerformWindowCommand(sCommand, {FormatAddr(Addr)});
}

void CDisassemblyWindow::OnSidebarClicked(int Row, int Button)
{
    if (Row < 0 || Row >= m_Block.GetNumRows()) return;
    SelectRow(Row, true);
    // Labels and source lines have no symbol of their own to click at.
    if (Button == Qt::LeftButton && m_Block.IsInstRow(Row)) RunBreakpointCommand(Row, m_pSideBar->GetClickModifiers() & Qt::ShiftModifier);
}

// ---- Keys ------------------------------------------------------------------------------------------------

void CDisassemblyWindow::MoveSelection(int NumRows)
{
    const int NumVisible = m_pView->GetNumVisibleRows();
    int Row = m_pView->GetSelectedRow();
    if (Row == ASM_NO_ROW) Row = m_Block.FindInstRow(m_PC);
    if (Row < 0) Row = std::max(0, m_pView->GetTopRow());
    if (std::abs(NumRows) > 1) SetTopRow(m_pView->GetTopRow() + NumRows);
    Row += NumRows;
    if (Row < 0 || Row >= m_Block.GetNumRows()) {
        // The rows are wanted first; the selection goes as far as it can.
        if (std::abs(NumRows) == 1) SetTopRow(m_pView->GetTopRow() + NumRows);
        Row = std::clamp(Row, 0, m_Block.GetNumRows() - 1);
    }
    const int Top = m_pView->GetTopRow();
    if (std::abs(NumRows) == 1) {
        if (Row < Top || Row >= Top + NumVisible) EnsureRowVisible(Row);
        else if (Row == Top && NumRows < 0) SetTopRow(Top - 1);
        else if (Row >= Top + NumVisible - BOTTOM_ROWS && NumRows > 0) SetTopRow(Top + 1);
    }
    SelectRow(Row, true);
}

void CDisassemblyWindow::OnKeyPressed(QKeyEvent* pEvent)
{
    if (m_Block.IsEmpty()) return;
    if (pEvent->matches(QKeySequence::Copy)) {
        const int Row = m_pView->GetSelectedRow();
        if (GetSelectedAddr() == ADDR_NONE) return;
        const bool WithEncoding = GetVarValue(PREF_SHOW_ENCODINGS_ASM) != 0;
        QApplication::clipboard()->setText(m_Block.IsInstRow(Row) ? GetInstLine(AskHook(GetDebugViewHooks().GetInst, VIEW_INST(), GetSelectedAddr(), WithEncoding))
                                                                  : m_Block.GetRow(Row).sText);
        pEvent->accept();
        return;
    }
    if (pEvent->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) return;
    switch (pEvent->key()) {
    case Qt::Key_Up: MoveSelection(-1); break;
    case Qt::Key_Down: MoveSelection(1); break;
    case Qt::Key_PageUp: MoveSelection(-m_pView->GetNumVisibleRows()); break;
    case Qt::Key_PageDown: MoveSelection(m_pView->GetNumVisibleRows()); break;
    case Qt::Key_Home:
        ScrollToTop();
        SelectRow(0, true);
        break;
    case Qt::Key_End:
        SelectRow(m_Block.GetNumRows() - 1, true);
        ScrollToBottom();
        break;
    case Qt::Key_Left: ScrollBy(-m_pView->horizontalScrollBar()->singleStep(), 0); break;
    case Qt::Key_Right: ScrollBy(m_pView->horizontalScrollBar()->singleStep(), 0); break;
    default: return;
    }
    pEvent->accept();
}

// ---- Actions ---------------------------------------------------------------------------------------------

void CDisassemblyWindow::CreateActions()
{
    for (const ASM_ACTION& Row : aActions) {
        QAction* pAction = AddAction(Row.sName, QString::fromLatin1(Row.sText), Row.sShortcut, QString::fromLatin1(Row.sStatusTip), Row.sIcon);
        pAction->setCheckable(Row.CheckVarID >= 0);
        Connect(pAction, SIGNAL(triggered()), this, Row.sSlot);
    }
    m_pBreakpointActions = new CBreakpointActions(
        this, {[this] {
                   const U32 Addr = GetSelectedAddr();
                   return Addr == ADDR_NONE
                              ? VIEW_POINT()
                              : AskHook(GetDebugViewHooks().GetBreakpointAt, VIEW_POINT(), Addr);
               },
               [this] { return FormatAddr(GetSelectedAddr()); },
               [this](bool ToggleState) { RunBreakpointCommand(m_pView->GetSelectedRow(), ToggleState); }});
    UpdateActions();
}

QAction* CDisassemblyWindow::FindAction(const char* sName) const { return findChild<QAction*>(QLatin1String(sName), Qt::FindDirectChildrenOnly); }

void CDisassemblyWindow::UpdateActions()
{
    CWindow::UpdateActions();
    if (!m_pView || !FindAction(std::end(aActions)[-1].sName)) return; // still under construction
    const bool HasContent = !IsEmpty();
    for (const ASM_ACTION& Row : aActions) {
        FindAction(Row.sName)->setEnabled(HasContent);
        if (Row.CheckVarID >= 0) FindAction(Row.sName)->setChecked(GetVarValue(Row.CheckVarID) != 0);
    }
    const bool CanMove = HasContent && IsTargetHalted();
    FindAction("actionAsmViewPC")->setEnabled(CanMove);
    FindAction("actionAsmSetNextPC")->setEnabled(CanMove && GetSelectedAddr() != ADDR_NONE);
    FindAction("actionAsmRunToCursor")->setEnabled(CanMove && GetSelectedAddr() != ADDR_NONE);
}

void CDisassemblyWindow::OnActionViewPCTriggered()
{
    if (PerformWindowCommand(QStringLiteral("View.PC")) < 0) ViewPC();
}

void CDisassemblyWindow::OnActionViewAddressTriggered()
{
    bool Ok = false;
    const QString sText = QInputDialog::getText(this, QStringLiteral("Disassembly Location"), QString::fromLatin1(GO_TO_HELP), QLineEdit::Normal, m_sGoToText, &Ok).trimmed();
    if (!Ok || sText.isEmpty()) return;
    m_sGoToText = sText;
    PerformWindowCommand(QStringLiteral("View.Disassembly"), {sText});
}

void CDisassemblyWindow::OnActionSetNextPCTriggered()
{
    if (GetSelectedAddr() != ADDR_NONE) PerformWindowCommand(QStringLiteral("Debug.SetNextPC"), {FormatAddr(GetSelectedAddr())});
}

void CDisassemblyWindow::OnActionRunToCursorTriggered()
{
    if (GetSelectedAddr() != ADDR_NONE) PerformWindowCommand(QStringLiteral("Debug.RunTo"), {FormatAddr(GetSelectedAddr())});
}

void CDisassemblyWindow::TogglePreference(int VarID)
{
    // A preference is changed by its command, so that the change is echoed and stored.
    const I64 Value = GetVarValue(VarID) ? 0 : 1;
    if (PerformWindowCommand(QStringLiteral("Edit.Preference"), {QLatin1String(GetVar(VarID)->Name), QString::number(Value), QStringLiteral("1")}) >= 0) return;
    SetVar(VarID, Value, true);
    SetPreference(VarID, Value);
}

void CDisassemblyWindow::OnActionShowSourceTriggered() { TogglePreference(PREF_SHOW_ASM_SOURCE); }
void CDisassemblyWindow::OnActionShowLabelsTriggered() { TogglePreference(PREF_SHOW_ASM_LABELS); }
void CDisassemblyWindow::OnActionShowInstEncodingsTriggered() { TogglePreference(PREF_SHOW_ENCODINGS_ASM); }
void CDisassemblyWindow::OnActionShowCodeProfileTriggered() { TogglePreference(PREF_SHOW_ASM_CODE_PROFILE); }
void CDisassemblyWindow::OnActionResetCodeProfileTriggered() { emit ResetExecCounters(); }

// ---- Menu ------------------------------------------------------------------------------------------------

QPoint CDisassemblyWindow::GetContextMenuPos(int Reason) const
{
    const int Row = m_pView->GetSelectedRow() - m_pView->GetTopRow();
    if (GetSelectedAddr() == ADDR_NONE || Row < 0 || Row >= m_pView->GetNumVisibleRows()) return CWindow::GetContextMenuPos(Reason);
    return m_pView->viewport()->mapTo(const_cast<CDisassemblyWindow*>(this), QPoint(m_pView->GetRowHeight(), (Row + 1) * m_pView->GetRowHeight()));
}

void CDisassemblyWindow::ShowContextMenu(QPoint Pos)
{
    if (IsEmpty()) return;
    QMenu Menu(this);
    for (const char* sName : {"actionAsmSetNextPC", "actionAsmRunToCursor"})
        if (FindAction(sName)->isEnabled()) Menu.addAction(FindAction(sName));
    Menu.addSeparator();
    if (GetSelectedAddr() != ADDR_NONE) {
        m_pBreakpointActions->AddTo(Menu);
        Menu.addSeparator();
    }
    for (const char* sName : {"actionAsmViewPC", "actionAsmViewAddress"})
        if (FindAction(sName)->isEnabled()) Menu.addAction(FindAction(sName));
    Menu.addSeparator();
    for (const char* sName : {"actionAsmShowSource", "actionAsmShowLabels", "actionAsmShowInstEncodings", "actionAsmShowCodeProfile", "actionAsmResetCodeProfile"})
        Menu.addAction(FindAction(sName));
    Menu.exec(mapToGlobal(Pos));
}
