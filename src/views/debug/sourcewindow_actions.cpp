// Actions and menus of the source window.
#include "project/settings/sysvars.h"
#include "views/debug/breakpointactions.h"
#include "views/debug/findbar.h"
#include "views/debug/sourcewindow.h"
#include "views/debug/srcdocument.h"

#include <QAction>
#include <QActionGroup>
#include <QInputDialog>
#include <QMenu>
#include <QScrollBar>

namespace {

struct SRC_ACTION {
    const char* sName;
    const char* sText;
    const char* sShortcut;
    const char* sStatusTip;
    const char* sSlot;
    const char* sIcon = "";
    bool Checkable = false;
};
const SRC_ACTION aActions[] = {
    {"actionSrcViewPC", "Go To &PC", "Ctrl+P", "Displays the PC Line", SLOT(OnActionViewPCTriggered()),
     "arrow-pc"},
    {"actionSrcViewLine", "Go To &Line...", "Ctrl+L", "Displays a Source Line",
     SLOT(OnActionViewLineTriggered())},
    {"actionSrcFindNext", "Find &Next", "F3", "Finds the Text once more", SLOT(OnActionFindNextTriggered()),
     "chevron-down"},
    {"actionSrcFindPrev", "Find Pre&vious", "Shift+F3", "Finds the Text backwards",
     SLOT(OnActionFindPrevTriggered()), "chevron-up"},
    {"actionSrcFindNextUnderCursor", "Find Next &Under Cursor", "Ctrl+F3", "Finds the Word under the Cursor",
     SLOT(OnActionFindUnderCursorTriggered())},
    {"actionSrcShowNextDocument", "Next &Document", "Ctrl+Tab", "Shows the next Document",
     SLOT(OnActionNextDocumentTriggered())},
    {"actionSrcSetNextStmnt", "Set Next &Statement", "Shift+F10", "Sets the next Source Line to be executed",
     SLOT(OnActionSetNextStmntTriggered())},
    {"actionSrcSetNextPC", "Set Next P&C", "", "Sets the next Instruction to be executed",
     SLOT(OnActionSetNextPCTriggered())},
    {"actionSrcRunToCursor", "&Run To Cursor", "Ctrl+F10", "Runs the Program to the Cursor",
     SLOT(OnActionRunToCursorTriggered())},
    {"actionSrcExpandLine", "E&xpand Line", "Ctrl++", "Shows the Instructions of the Line",
     SLOT(OnActionExpandLineTriggered()), "node-expand"},
    {"actionSrcCollapseLine", "C&ollapse Line", "Ctrl+-", "Hides the Instructions of the Line",
     SLOT(OnActionCollapseLineTriggered()), "node-collapse"},
    {"actionSrcExpandAllLines", "Expand All Lines", "Alt++", "Shows the Instructions of all Lines",
     SLOT(OnActionExpandAllTriggered())},
    {"actionSrcCollapseAllLines", "Collapse All Lines", "Alt+-", "Hides the Instructions of all Lines",
     SLOT(OnActionCollapseAllTriggered())},
    {"actionSrcViewNextObsvPoint", "Next Location", "Alt+Right", "Displays the next viewed Location",
     SLOT(OnActionNextObsvPointTriggered()), "arrow-right"},
    {"actionSrcViewPrevObsvPoint", "Previous Location", "Alt+Left", "Displays the previously viewed Location",
     SLOT(OnActionPrevObsvPointTriggered()), "arrow-left"},
    {"actionSrcShowCodeProfile", "&Execution Counters", "Ctrl+E", "Shows Execution Counters",
     SLOT(OnActionShowCodeProfileTriggered()), "", true},
    {"actionSrcResetCodeProfile", "Reset Execution Counters", "Ctrl+R", "Resets Execution Counters",
     SLOT(OnActionResetCodeProfileTriggered())},
    {"actionSrcShowInstEncodings", "&Instruction Encodings", "", "Shows Instruction Encodings",
     SLOT(OnActionShowEncodingsTriggered()), "", true},
    {"actionSrcLockHeaderBar", "Lock &Header Bar", "", "Locks the Header Bar",
     SLOT(OnActionLockHeaderBarTriggered()), "", true},
};
const char* const aLineNumberTexts[] = {"&Off", "&Current Line", "&All Lines", "Every &5 Lines",
                                        "Every &10 Lines"};

} // namespace

void CSourceWindow::CreateActions()
{
    for (const SRC_ACTION& Row : aActions) {
        QAction* pAction = AddAction(Row.sName, QString::fromLatin1(Row.sText), Row.sShortcut,
                                     QString::fromLatin1(Row.sStatusTip), Row.sIcon);
        pAction->setCheckable(Row.Checkable);
        Connect(pAction, SIGNAL(triggered()), this, Row.sSlot);
    }
    m_pBreakpointActions = new CBreakpointActions(
        this, {[this] {
                   const int Row = GetCursorRow();
                   return Row >= 0 ? GetBreakpointOfRow(m_pEditor->GetRow(Row)) : VIEW_POINT();
               },
               [this] { return GetRowLocationText(GetCursorRow()); },
               [this](bool ToggleState) { RunBreakpointCommand(GetCursorRow(), ToggleState); }});
    UpdateActions();
}

int CSourceWindow::GetCursorRow() const
{
    const int Row = m_pEditor->GetSelectedInstRow();
    return Row >= 0 ? Row : m_pEditor->GetRowOfLine(GetCursorLoc().Line);
}

QAction* CSourceWindow::FindAction(const char* sName) const
{
    return findChild<QAction*>(QLatin1String(sName), Qt::FindDirectChildrenOnly);
}

void CSourceWindow::UpdateActions()
{
    CWindow::UpdateActions();
    if (!m_pEditor || !FindAction("actionSrcLockHeaderBar")) return; // still under construction
    const bool HasDocument = !IsEmpty();
    for (const SRC_ACTION& Row : aActions) FindAction(Row.sName)->setEnabled(HasDocument);
    const bool Halted = IsTargetHalted();
    FindAction("actionSrcViewPC")->setEnabled(Halted);
    FindAction("actionSrcSetNextStmnt")->setEnabled(Halted && HasDocument);
    FindAction("actionSrcSetNextPC")->setEnabled(Halted && m_pEditor->GetSelectedInstRow() >= 0);
    FindAction("actionSrcRunToCursor")->setEnabled(Halted && HasDocument);
    FindAction("actionSrcViewNextObsvPoint")->setEnabled(m_HistoryPos + 1 < m_History.size());
    FindAction("actionSrcViewPrevObsvPoint")->setEnabled(m_HistoryPos > 0);
    FindAction("actionSrcShowCodeProfile")->setChecked(GetVarValue(PREF_SHOW_SRC_CODE_PROFILE) != 0);
    FindAction("actionSrcShowInstEncodings")->setChecked(GetVarValue(PREF_SHOW_ENCODINGS_SRC) != 0);
    FindAction("actionSrcLockHeaderBar")->setChecked(GetVarValue(PREF_LOCK_HEADER_BAR) != 0);
}

void CSourceWindow::OnActionViewPCTriggered()
{
    if (PerformWindowCommand(QStringLiteral("View.PCLine")) < 0) ViewPC();
}

void CSourceWindow::OnActionViewLineTriggered()
{
    bool Ok = false;
    const QString sLine = QInputDialog::getText(this, QStringLiteral("Line"), QStringLiteral("Line:"),
                                                QLineEdit::Normal, QStringLiteral("1"), &Ok);
    if (Ok) PerformWindowCommand(QStringLiteral("View.Line"), {sLine});
}

void CSourceWindow::OnActionFindNextTriggered()
{
    FindNext(true);
}
void CSourceWindow::OnActionFindPrevTriggered()
{
    FindNext(false);
}

void CSourceWindow::OnActionFindUnderCursorTriggered()
{
    const QString sWord = GetSelectedTextOrWordUnderCursor();
    if (sWord.isEmpty() || sWord.contains(u'\n')) return;
    m_pFindBar->SetText(sWord);
    FindNext(true);
}

void CSourceWindow::OnActionNextDocumentTriggered()
{
    if (!m_TabFiles.isEmpty())
        SetCurrentTab((int(m_TabFiles.indexOf(GetActiveFileNo())) + 1) % int(m_TabFiles.size()));
}

/// Execution can only be led to a line with code: on any other the next one is meant, as for a breakpoint.
QString CSourceWindow::GetCursorCodeLocText() const
{
    const CSrcLoc Code = AskHook(GetDebugViewHooks().GetNextCodeLoc, CSrcLoc(), GetCursorLoc());
    return GetViewSrcLocText(Code.IsValid() ? Code : GetCursorLoc());
}

void CSourceWindow::OnActionSetNextStmntTriggered()
{
    PerformWindowCommand(QStringLiteral("Debug.SetNextStatement"), {GetCursorCodeLocText()});
}

void CSourceWindow::OnActionSetNextPCTriggered()
{
    const int Row = m_pEditor->GetSelectedInstRow();
    if (Row >= 0)
        PerformWindowCommand(QStringLiteral("Debug.SetNextPC"),
                             {FormatAddr(U32(m_pEditor->GetRow(Row).Addr))});
}

void CSourceWindow::OnActionRunToCursorTriggered()
{
    const int Row = m_pEditor->GetSelectedInstRow();
    const QString sPlace =
        Row >= 0 ? FormatAddr(U32(m_pEditor->GetRow(Row).Addr)) : GetCursorCodeLocText();
    PerformWindowCommand(QStringLiteral("Debug.RunTo"), {sPlace});
}

void CSourceWindow::OnActionExpandLineTriggered()
{
    m_pEditor->SetLineExpanded(GetCursorLoc().Line, true);
    Repaint();
}

void CSourceWindow::OnActionCollapseLineTriggered()
{
    m_pEditor->SetLineExpanded(GetCursorLoc().Line, false);
    Repaint();
}

void CSourceWindow::ExpandAll()
{
    m_pEditor->SetAllExpanded(true);
    Repaint();
}

void CSourceWindow::CollapseAll()
{
    m_pEditor->SetAllExpanded(false);
    Repaint();
}

void CSourceWindow::OnActionExpandAllTriggered()
{
    ExpandAll();
}
void CSourceWindow::OnActionCollapseAllTriggered()
{
    CollapseAll();
}
void CSourceWindow::OnActionNextObsvPointTriggered()
{
    SelectNextObsvPoint();
}
void CSourceWindow::OnActionPrevObsvPointTriggered()
{
    SelectPrevObsvPoint();
}
void CSourceWindow::OnActionResetCodeProfileTriggered()
{
    emit ResetExecCounters();
}

namespace {
/// A preference is changed by its command, so that the change is echoed and stored.
void TogglePreference(CSourceWindow* pWindow, int VarID)
{
    const I64 Value = GetVarValue(VarID) ? 0 : 1;
    if (PerformWindowCommand(
            QStringLiteral("Edit.Preference"),
            {QLatin1String(GetVar(VarID)->Name), QString::number(Value), QStringLiteral("1")}) < 0) {
        SetVar(VarID, Value, true);
        pWindow->SetPreference(VarID, Value);
    }
}
} // namespace

void CSourceWindow::OnActionShowCodeProfileTriggered()
{
    TogglePreference(this, PREF_SHOW_SRC_CODE_PROFILE);
}
void CSourceWindow::OnActionShowEncodingsTriggered()
{
    TogglePreference(this, PREF_SHOW_ENCODINGS_SRC);
}
void CSourceWindow::OnActionLockHeaderBarTriggered()
{
    TogglePreference(this, PREF_LOCK_HEADER_BAR);
}

void CSourceWindow::OnActionLineNumbersTriggered()
{
    auto* pAction = qobject_cast<QAction*>(sender());
    if (pAction)
        PerformWindowCommand(
            QStringLiteral("Edit.Preference"),
            {QStringLiteral("PREF_LINE_NUMBER_FREQ"), pAction->data().toString(), QStringLiteral("1")});
}

// ---- Menus -----------------------------------------------------------------------------------------------

QPoint CSourceWindow::GetContextMenuPos(int) const
{
    const QPoint Pos =
        m_pEditor->GetViewportPos(m_pEditor->GetCursor()) + QPoint(0, m_pEditor->GetRowHeight());
    return m_pEditor->viewport()->mapTo(const_cast<CSourceWindow*>(this), Pos);
}

void CSourceWindow::ShowContextMenu(QPoint Pos)
{
    if (IsEmpty()) return;
    QMenu Menu(this);
    for (const char* sName : {"actionSrcSetNextStmnt", "actionSrcSetNextPC", "actionSrcRunToCursor"})
        if (FindAction(sName)->isEnabled()) Menu.addAction(FindAction(sName));
    Menu.addSeparator();
    m_pBreakpointActions->AddTo(Menu);
    Menu.addSeparator();
    const QString sWord = GetSelectedTextOrWordUnderCursor();
    if (!sWord.isEmpty() && !sWord.contains(u'\n')) {
        // The entries name what they will act on.
        static const std::pair<const char*, const char*> aCommands[] = {
            {"Watch.Add", "&Watch \"%1\""},
            {"View.Source", "View S&ource of \"%1\""},
            {"View.Disassembly", "View &Disassembly of \"%1\""},
            {"View.Data", "View D&ata of \"%1\""}};
        for (const auto& [sCommand, sText] : aCommands) {
            const QString sName = QLatin1String(sCommand);
            if (!IsWindowCommandEnabled(sName)) continue;
            connect(Menu.addAction(
                        QString::fromLatin1(sText).arg(QString(sWord).replace(u'&', QLatin1String("&&")))),
                    &QAction::triggered, this, [sName, sWord] { PerformWindowCommand(sName, {sWord}); });
        }
        Menu.addSeparator();
    }
    for (const char* sName :
         {"actionSrcViewPC", "actionSrcViewLine", "actionSrcExpandLine", "actionSrcCollapseLine"})
        if (FindAction(sName)->isEnabled()) Menu.addAction(FindAction(sName));
    Menu.addSeparator();
    QMenu* pNumbers = Menu.addMenu(QStringLiteral("Line Number&s"));
    auto* pGroup = new QActionGroup(pNumbers);
    for (int i = 0; i < int(std::size(aLineNumberTexts)); i++) {
        QAction* pAction = pNumbers->addAction(QString::fromLatin1(aLineNumberTexts[i]));
        pAction->setCheckable(true);
        pAction->setChecked(GetVarValue(PREF_LINE_NUMBER_FREQ) == i);
        pAction->setData(i);
        pGroup->addAction(pAction);
        connect(pAction, SIGNAL(triggered()), this, SLOT(OnActionLineNumbersTriggered()));
    }
    for (const char* sName : {"actionSrcShowCodeProfile", "actionSrcShowInstEncodings"})
        Menu.addAction(FindAction(sName));
    Menu.addSeparator();
    QAction* pSelectAll = Menu.addAction(QStringLiteral("Select &All"));
    pSelectAll->setShortcut(QKeySequence(QStringLiteral("Ctrl+A")));
    connect(pSelectAll, &QAction::triggered, this, [this] { m_pEditor->SelectAll(); });
    const QString sInclude = GetFileNameUnderCursor();
    if (!sInclude.isEmpty())
        connect(Menu.addAction(QStringLiteral("Open ") + sInclude), &QAction::triggered, this,
                [sInclude] { PerformWindowCommand(QStringLiteral("Source.OpenIncludeFile"), {sInclude}); });
    Menu.exec(mapToGlobal(Pos));
}

void CSourceWindow::ScrollBy(int dx, int dy)
{
    m_pEditor->horizontalScrollBar()->setValue(m_pEditor->horizontalScrollBar()->value() + dx);
    m_pEditor->verticalScrollBar()->setValue(m_pEditor->verticalScrollBar()->value() + dy);
}
