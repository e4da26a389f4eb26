#include "views/debug/breakpointwindow.h"

#include "views/debug/breakpointsviewmodel.h"
#include "views/framework/messagebox.h"
#include "views/framework/treeview.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QInputDialog>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSet>

namespace {

enum ACTION_OPS : U8 { AO_SET, AO_CLEAR, AO_ENABLE, AO_DISABLE, AO_EDIT, AO_DIALOG, AO_CLEAR_ALL };

struct BP_ACTION {
    const char* sName;
    const char* sText;
    const char* sShortcut;
    const char* sStatusTip;
    const char* sSlot;
    U8 Kind; ///< VIEW_BREAKPOINT::KINDS
    ACTION_OPS Op;
    const char* sIcon = "";
};

using KIND = VIEW_BREAKPOINT;
const BP_ACTION aActions[] = {
    {"actionBPSet", "Set &Breakpoint", "F9", "Sets the Breakpoint again", SLOT(OnActionSetTriggeredBP()), KIND::CODE, AO_SET, "breakpoint-set"},
    {"actionBPClear", "&Clear Breakpoint", "F9", "Clears the Breakpoint", SLOT(OnActionClearTriggeredBP()), KIND::CODE, AO_CLEAR, "breakpoint-clear-11"},
    {"actionBPEnable", "&Enable Breakpoint", "Shift+F9", "Enables the Breakpoint", SLOT(OnActionEnableTriggeredBP()), KIND::CODE, AO_ENABLE, "breakpoint-17"},
    {"actionBPDisable", "&Disable Breakpoint", "Shift+F9", "Disables the Breakpoint", SLOT(OnActionDisableTriggeredBP()), KIND::CODE, AO_DISABLE, "breakpoint-disabled-17"},
    {"actionBPEditDialog", "Ed&it Breakpoint...", "F8", "Edits the Properties of the Breakpoint", SLOT(OnActionEditDialogTriggeredBP()), KIND::CODE, AO_EDIT, "breakpoint-edit"},
    {"actionBPSetDialog", "&Set/Clear Breakpoint...", "Ctrl+Alt+B", "Sets or clears a Breakpoint at a Location", SLOT(OnActionSetDialogTriggeredBP()), KIND::CODE, AO_DIALOG, "breakpoint-set"},
    {"actionBPClearAllBP", "Clear &All Breakpoints", "", "Clears all Breakpoints", SLOT(OnActionClearAllTriggeredBP()), KIND::CODE, AO_CLEAR_ALL, "breakpoint-clear-all"},
    {"actionBPSetWP", "Set &Data Breakpoint", "F9", "Sets the Data Breakpoint again", SLOT(OnActionSetTriggeredWP()), KIND::DATA, AO_SET, "watchpoint-set"},
    {"actionBPClearWP", "&Clear Data Breakpoint", "F9", "Clears the Data Breakpoint", SLOT(OnActionClearTriggeredWP()), KIND::DATA, AO_CLEAR},
    {"actionBPEnableWP", "&Enable Data Breakpoint", "Shift+F9", "Enables the Data Breakpoint", SLOT(OnActionEnableTriggeredWP()), KIND::DATA, AO_ENABLE},
    {"actionBPDisableWP", "&Disable Data Breakpoint", "Shift+F9", "Disables the Data Breakpoint", SLOT(OnActionDisableTriggeredWP()), KIND::DATA, AO_DISABLE},
    {"actionBPEditDialogWP", "Ed&it Data Breakpoint...", "F8", "Edits the Properties of the Data Breakpoint", SLOT(OnActionEditDialogTriggeredWP()), KIND::DATA, AO_EDIT},
    {"actionBPClearAllWP", "Clear &All Data Breakpoints", "", "Clears all Data Breakpoints", SLOT(OnActionClearAllTriggeredWP()), KIND::DATA, AO_CLEAR_ALL, "watchpoint-clear-all"},
    {"actionBPSetStartTP", "Set Trace S&tart Point", "", "Sets the Tracepoint again", SLOT(OnActionSetStartTriggeredTP()), KIND::TRACE_START, AO_SET, "tracepoint-set"},
    {"actionBPClearStartTP", "&Clear Tracepoint", "", "Clears the Tracepoint", SLOT(OnActionClearTriggeredTP()), KIND::TRACE_START, AO_CLEAR},
    {"actionBPEnableStartTP", "&Enable Tracepoint", "", "Enables the Tracepoint", SLOT(OnActionEnableTriggeredTP()), KIND::TRACE_START, AO_ENABLE},
    {"actionBPDisableStartTP", "&Disable Tracepoint", "", "Disables the Tracepoint", SLOT(OnActionDisableTriggeredTP()), KIND::TRACE_START, AO_DISABLE},
    {"actionBPSetStopTP", "Set Trace St&op Point", "", "Sets the Tracepoint again", SLOT(OnActionSetStopTriggeredTP()), KIND::TRACE_STOP, AO_SET, "tracepoint-set"},
    {"actionBPClearStopTP", "&Clear Tracepoint", "", "Clears the Tracepoint", SLOT(OnActionClearTriggeredTP()), KIND::TRACE_STOP, AO_CLEAR},
    {"actionBPEnableStopTP", "&Enable Tracepoint", "", "Enables the Tracepoint", SLOT(OnActionEnableTriggeredTP()), KIND::TRACE_STOP, AO_ENABLE},
    {"actionBPDisableStopTP", "&Disable Tracepoint", "", "Disables the Tracepoint", SLOT(OnActionDisableTriggeredTP()), KIND::TRACE_STOP, AO_DISABLE},
    {"actionBPClearAllTP", "Clear &All Tracepoints", "", "Clears all Tracepoints", SLOT(OnActionClearAllTriggeredTP()), KIND::TRACE_START, AO_CLEAR_ALL, "tracepoint-clear-all"},
};

bool IsTrace(U8 Kind) { return Kind == KIND::TRACE_START || Kind == KIND::TRACE_STOP; }

/// Where a row leads to, as a command of the View group takes it.
QString GetPlaceText(const VIEW_BREAKPOINT& Row)
{
    if (Row.Kind != KIND::DATA) return Row.sLocation;
    return Row.sExpression.isEmpty() ? FormatAddr(Row.Addr) : Row.sExpression;
}

/// What the clear-all action of a kind clears.
QString GetKindName(U8 Kind)
{
    if (IsTrace(Kind)) return QStringLiteral("Tracepoints");
    return Kind == KIND::DATA ? QStringLiteral("Data Breakpoints") : QStringLiteral("Breakpoints");
}

/// A parameter list of a data breakpoint: address, mask, access type, access size, match value, value mask.
constexpr int NUM_DATA_PARAMS = 6;

bool ParseAddr(const QString& sText, U32& Addr)
{
    if (!sText.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) return false;
    bool Ok = false;
    Addr = sText.mid(2).toUInt(&Ok, 16);
    return Ok;
}

bool IsLineText(const QString& sText)
{
    static const QRegularExpression s_Line(QStringLiteral("^\\S.*:[1-9]\\d*(:\\d+)?$"));
    return s_Line.match(sText).hasMatch();
}

bool IsLocationText(const QString& sText)
{
    static const QRegularExpression s_Name(QStringLiteral("^[A-Za-z_][\\w:<>~,]*$"));
    U32 Addr = 0;
    return ParseAddr(sText, Addr) || IsLineText(sText) || s_Name.match(sText).hasMatch();
}

} // namespace

CBreakpointWindow::CBreakpointWindow(QWidget* pParent) : CModelViewWindow(pParent, QStringLiteral("Break & Tracepoints"))
{
    for (const WINDOW_FLAGS Flag : {WF_CONTENTS_MODIFIABLE, WF_CONFIRM_CLEAR}) SetFlag(Flag, true);
    SetView(new CTreeView, false);
    m_pModel = new CBreakpointsViewModel(this);
    SetModel(m_pModel);
    connect(m_pModel, &CBreakpointsViewModel::StateRequested, this, &CBreakpointWindow::OnStateRequested);
    CreateActions();
    Init();
    OnBreakpointsChanged();
    LinkWindowActions();
}

void CBreakpointWindow::CreateActions()
{
    for (const BP_ACTION& Row : aActions) {
        QAction* pAction = AddAction(Row.sName, QString::fromLatin1(Row.sText), Row.sShortcut, QString::fromLatin1(Row.sStatusTip), Row.sIcon);
        // Delete is what a list teaches its user; only the clear action of the selected row's kind is enabled.
        if (Row.Op == AO_CLEAR) pAction->setShortcuts({pAction->shortcut(), QKeySequence(Qt::Key_Delete)});
        Connect(pAction, SIGNAL(triggered()), this, Row.sSlot);
    }
}

QAction* CBreakpointWindow::FindAction(const char* sName) const { return findChild<QAction*>(QLatin1String(sName), Qt::FindDirectChildrenOnly); }

QString CBreakpointWindow::GetEmptyWindowText(DEBUG_STATES) const { return QStringLiteral("No breakpoints set"); }

QString CBreakpointWindow::GetClearAllPostfix() const
{
    return GetKindName(m_HasEdited ? m_Edited.Kind : U8(KIND::CODE));
}

// ---- Rows ------------------------------------------------------------------------------------------------

void CBreakpointWindow::OnBreakpointsChanged()
{
    const QList<VIEW_BREAKPOINT> Rows = AskHook(GetDebugViewHooks().GetBreakpoints, QList<VIEW_BREAKPOINT>());
    if (m_pModel->HasSamePlaces(Rows)) {
        m_pModel->SetRows(Rows);
        OnSelectionChanged(QModelIndex(), QModelIndex());
        return;
    }
    // The window may be hidden behind another tab, so the view's state is kept here.
    QSet<U32> Unfolded;
    for (int i = 0; i < m_pModel->rowCount(); i++)
        if (IsItemExpanded(m_pModel->index(i, 0))) Unfolded.insert(m_pModel->data(m_pModel->index(i, 0), ROLE_ITEM_KEY).toUInt());
    const QModelIndex Current = GetCurrentItem();
    const U32 CurrentKey = Current.isValid() ? m_pModel->data(Current, ROLE_ITEM_KEY).toUInt() : 0;
    const int ScrollY = GetView()->verticalScrollBar()->value();
    m_pModel->SetRows(Rows);
    for (int i = 0; i < m_pModel->rowCount(); i++) {
        const QModelIndex Index = m_pModel->index(i, 0);
        if (Unfolded.contains(m_pModel->data(Index, ROLE_ITEM_KEY).toUInt())) GetView()->SetExpanded(MapToView(Index), true);
        if (!Current.isValid()) continue;
        if (m_pModel->data(Index, ROLE_ITEM_KEY).toUInt() == CurrentKey) SetCurrentItem(Index);
        for (int k = 0; k < m_pModel->rowCount(Index); k++)
            if (const QModelIndex Child = m_pModel->index(k, 0, Index); m_pModel->data(Child, ROLE_ITEM_KEY).toUInt() == CurrentKey) SetCurrentItem(Child);
    }
    GetView()->verticalScrollBar()->setValue(ScrollY);
    OnSelectionChanged(QModelIndex(), QModelIndex());
}

void CBreakpointWindow::OnGuiInitComplete() { OnBreakpointsChanged(); }
void CBreakpointWindow::OnDataFileOpened(QString) { OnBreakpointsChanged(); }
void CBreakpointWindow::OnDataFileDownloaded(QString) { OnBreakpointsChanged(); }
void CBreakpointWindow::OnUpdateTimerTimeout() { OnBreakpointsChanged(); }
void CBreakpointWindow::OnDeviceBPStateChanged() { OnBreakpointsChanged(); }
void CBreakpointWindow::OnDeviceWPStateChanged() { OnBreakpointsChanged(); }
void CBreakpointWindow::OnDeviceTPStateChanged() { OnBreakpointsChanged(); }

void CBreakpointWindow::OnDeviceConnectDone(CONNECT_MODES Mode)
{
    CModelViewWindow::OnDeviceConnectDone(Mode);
    OnBreakpointsChanged(); // implementations are known while connected only
}

void CBreakpointWindow::OnDeviceDisconnectDone()
{
    CModelViewWindow::OnDeviceDisconnectDone();
    OnBreakpointsChanged();
}

// ---- Selection -------------------------------------------------------------------------------------------

void CBreakpointWindow::OnSelectionChanged(QModelIndex Current, QModelIndex Previous)
{
    const QModelIndex Index = GetCurrentItem();
    if (const VIEW_BREAKPOINT* pRow = m_pModel->GetRow(Index)) {
        m_Edited = *pRow;
        m_HasEdited = true;
        m_IsEditedDerived = Index.parent().isValid();
    }
    // The row may have gone while its copy stays.
    m_IsEditedSet = m_HasEdited && m_pModel->Find([this](const VIEW_BREAKPOINT& Row) {
                                               return Row.Kind == m_Edited.Kind && Row.sLocation == m_Edited.sLocation && Row.CommandParams == m_Edited.CommandParams;
                                           }).isValid();
    CModelViewWindow::OnSelectionChanged(Current, Previous);
}

void CBreakpointWindow::ShowLocation(const VIEW_BREAKPOINT& Row)
{
    if (Row.Kind == KIND::DATA) return;
    CSrcLoc Loc = Row.Loc;
    if (!Loc.IsValid() && Row.Addr != ADDR_NONE) Loc = AskHook(GetDebugViewHooks().GetSrcLoc, CSrcLoc(), Row.Addr);
    if (Loc.IsValid()) emit SrcLocSelected(Loc);
    if (Row.Addr != ADDR_NONE) emit InstSelected(Row.Addr);
}

QString CBreakpointWindow::GetViewParam(const QString&) const
{
    const VIEW_BREAKPOINT* pRow = m_pModel->GetRow(GetCurrentItem());
    return pRow ? GetPlaceText(*pRow) : QString();
}

void CBreakpointWindow::OnItemClicked(QModelIndex ViewIndex)
{
    const VIEW_BREAKPOINT* pRow = m_pModel->GetRow(MapToSource(ViewIndex));
    if (!pRow) return;
    const VIEW_BREAKPOINT Row = *pRow; // a listener may bring new rows
    ShowLocation(Row);
}

void CBreakpointWindow::OnItemDoubleClicked(QModelIndex ViewIndex)
{
    const VIEW_BREAKPOINT* pRow = m_pModel->GetRow(MapToSource(ViewIndex));
    if (!pRow || ViewIndex.column() == BP_COLUMN_STATE) return;
    const VIEW_BREAKPOINT Row = *pRow;
    if (Row.Kind == KIND::DATA)
        PerformWindowCommand(QStringLiteral("View.Data"), {GetPlaceText(Row)});
    else if (PerformWindowCommand(Row.Loc.IsValid() ? QStringLiteral("View.Source") : QStringLiteral("View.Disassembly"), {GetPlaceText(Row)}) < 0)
        ShowLocation(Row);
}

void CBreakpointWindow::OnSrcLocSelected(CSrcLoc Loc, int)
{
    const QModelIndex Index = m_pModel->Find([Loc](const VIEW_BREAKPOINT& Row) { return Row.Loc.IsValid() && Row.Loc.IsSameLine(Loc); });
    if (Index.isValid()) SetCurrentItem(Index);
}

void CBreakpointWindow::OnInstSelected(I64 Addr)
{
    if (Addr < 0) return;
    const QModelIndex Index = m_pModel->Find([Addr](const VIEW_BREAKPOINT& Row) { return Row.Kind != KIND::DATA && Row.Addr != ADDR_NONE && I64(Row.Addr) == Addr; });
    if (Index.isValid()) SetCurrentItem(Index);
}

// ---- Actions ---------------------------------------------------------------------------------------------

void CBreakpointWindow::UpdateActions()
{
    CModelViewWindow::UpdateActions();
    if (!m_pModel || !FindAction(aActions[0].sName)) return; // the base's constructor runs before this one's
    m_pActionClear->setVisible(false); // the three clear-all actions say what they clear
    bool aHasKind[KIND::TRACE_STOP + 1] = {};
    for (int i = 0; i < m_pModel->rowCount(); i++) aHasKind[m_pModel->GetRow(m_pModel->index(i, 0))->Kind] = true;
    for (const BP_ACTION& Row : aActions) {
        const bool IsKind = m_HasEdited && m_Edited.Kind == Row.Kind;
        bool Enabled = false;
        switch (Row.Op) {
        case AO_SET: Enabled = IsKind && !m_IsEditedSet && !m_IsEditedDerived; break;
        case AO_CLEAR: Enabled = IsKind && m_IsEditedSet && !m_IsEditedDerived; break;
        case AO_ENABLE: Enabled = IsKind && m_IsEditedSet && m_Edited.State != BP_STATE_ON; break;
        case AO_DISABLE: Enabled = IsKind && m_IsEditedSet && m_Edited.State == BP_STATE_ON; break;
        case AO_EDIT: Enabled = IsKind && Row.Kind == KIND::CODE && m_IsEditedSet && GetDebugViewHooks().EditBreakpoint != nullptr; break;
        case AO_DIALOG: Enabled = true; break;
        case AO_CLEAR_ALL: Enabled = aHasKind[Row.Kind] || (IsTrace(Row.Kind) && aHasKind[KIND::TRACE_STOP]); break;
        }
        FindAction(Row.sName)->setEnabled(Enabled);
    }
}

void CBreakpointWindow::PerformPointCommand(const VIEW_BREAKPOINT& Row, POINT_OPS Op)
{
    static const QString s_aOps[] = {QStringLiteral("Set"), QStringLiteral("Clear"), QStringLiteral("Enable"), QStringLiteral("Disable")};
    const QString& sOp = s_aOps[Op];
    if (IsTrace(Row.Kind)) {
        QStringList Params{Row.Addr != ADDR_NONE ? FormatAddr(Row.Addr) : Row.sLocation};
        if (Op == POINT_SET) Params.prepend(QString::number(Row.Kind == KIND::TRACE_START ? TP_OP_START : TP_OP_STOP));
        PerformWindowCommand(QStringLiteral("Trace.%1Point").arg(sOp), Params);
    } else if (Row.Kind == KIND::DATA && !Row.sExpression.isEmpty() && Row.CommandParams.size() == NUM_DATA_PARAMS) {
        // Address and mask follow from the symbol, as they did when the record was made.
        PerformWindowCommand(QStringLiteral("Break.%1OnSymbol").arg(sOp), QStringList{Row.sExpression} + Row.CommandParams.mid(2));
    } else if (Row.Kind == KIND::DATA) {
        PerformWindowCommand(QStringLiteral("Break.%1OnData").arg(sOp), Row.CommandParams);
    } else if (Row.Loc.IsValid()) {
        PerformWindowCommand(QStringLiteral("Break.%1OnSrc").arg(sOp), {Row.sLocation});
    } else {
        PerformWindowCommand(QStringLiteral("Break.") + sOp, {FormatAddr(Row.Addr)});
    }
}

void CBreakpointWindow::OnStateRequested(const VIEW_BREAKPOINT& Row, bool Enabled) { PerformPointCommand(Row, Enabled ? POINT_ENABLE : POINT_DISABLE); }

void CBreakpointWindow::EditRow()
{
    const auto Edit = GetDebugViewHooks().EditBreakpoint;
    if (Edit && m_HasEdited) Edit(VIEW_BREAKPOINT(m_Edited));
}

// A command may bring new rows before it returns, so each gets a copy.
void CBreakpointWindow::OnActionSetTriggeredBP() { PerformPointCommand(VIEW_BREAKPOINT(m_Edited), POINT_SET); }
void CBreakpointWindow::OnActionClearTriggeredBP() { PerformPointCommand(VIEW_BREAKPOINT(m_Edited), POINT_CLEAR); }
void CBreakpointWindow::OnActionEnableTriggeredBP() { PerformPointCommand(VIEW_BREAKPOINT(m_Edited), POINT_ENABLE); }
void CBreakpointWindow::OnActionDisableTriggeredBP() { PerformPointCommand(VIEW_BREAKPOINT(m_Edited), POINT_DISABLE); }
void CBreakpointWindow::OnActionEditDialogTriggeredBP() { EditRow(); }
void CBreakpointWindow::OnActionClearAllTriggeredBP() { ConfirmClearAll(KIND::CODE); }
void CBreakpointWindow::OnActionSetTriggeredWP() { OnActionSetTriggeredBP(); }
void CBreakpointWindow::OnActionClearTriggeredWP() { OnActionClearTriggeredBP(); }
void CBreakpointWindow::OnActionEnableTriggeredWP() { OnActionEnableTriggeredBP(); }
void CBreakpointWindow::OnActionDisableTriggeredWP() { OnActionDisableTriggeredBP(); }
void CBreakpointWindow::OnActionEditDialogTriggeredWP() { EditRow(); }
void CBreakpointWindow::OnActionClearAllTriggeredWP() { ConfirmClearAll(KIND::DATA); }
void CBreakpointWindow::OnActionSetStartTriggeredTP() { OnActionSetTriggeredBP(); }
void CBreakpointWindow::OnActionSetStopTriggeredTP() { OnActionSetTriggeredBP(); }
void CBreakpointWindow::OnActionClearTriggeredTP() { OnActionClearTriggeredBP(); }
void CBreakpointWindow::OnActionEnableTriggeredTP() { OnActionEnableTriggeredBP(); }
void CBreakpointWindow::OnActionDisableTriggeredTP() { OnActionDisableTriggeredBP(); }
void CBreakpointWindow::OnActionClearAllTriggeredTP() { ConfirmClearAll(KIND::TRACE_START); }

void CBreakpointWindow::PerformClearAll(U8 Kind)
{
    const QString sCommand = IsTrace(Kind)         ? QStringLiteral("Trace.ClearAllPoints")
                             : Kind == KIND::DATA ? QStringLiteral("Break.ClearAllOnData")
                                                  : QStringLiteral("Break.ClearAll");
    if (IsWindowCommandEnabled(sCommand)) PerformWindowCommand(sCommand); // off when there are none
}

void CBreakpointWindow::ConfirmClearAll(U8 Kind)
{
    if (CMessageBox::Ask(MSGBOX_CLEAR, GetKindName(Kind), QStringLiteral("Clear &All")) == QDialogButtonBox::Yes) PerformClearAll(Kind);
}

void CBreakpointWindow::Clear() { PerformClearAll(m_HasEdited ? m_Edited.Kind : U8(KIND::CODE)); }

// ---- Setting at a text -----------------------------------------------------------------------------------

bool CBreakpointWindow::IsSetAt(const QString& sText) const
{
    U32 Addr = 0;
    const bool IsAddr = ParseAddr(sText, Addr);
    return m_pModel->Find([&](const VIEW_BREAKPOINT& Row) {
        if (Row.Kind != KIND::CODE) return false;
        return IsAddr ? !Row.Loc.IsValid() && Row.Addr == Addr : Row.Loc.IsValid() && Row.sLocation == sText;
    }).isValid();
}

void CBreakpointWindow::PerformOnText(const QString& sText)
{
    if (!IsLocationText(sText)) return;
    const QString sOp = IsSetAt(sText) ? QStringLiteral("Clear") : QStringLiteral("Set");
    PerformWindowCommand(QStringLiteral("Break.") + sOp + (IsLineText(sText) ? QStringLiteral("OnSrc") : QString()), {sText});
}

void CBreakpointWindow::OnActionSetDialogTriggeredBP()
{
    QInputDialog Dialog(this);
    Dialog.setWindowTitle(QStringLiteral("Set/Clear Breakpoint"));
    Dialog.setLabelText(QStringLiteral("Location:"));
    Dialog.setTextValue(m_sLastInput);
    Dialog.setToolTip(QStringLiteral("Address:      \t\te.g.  0x80000000\nSource Line:  \t\te.g.  main.cpp:20\nSymbol Name:  \te.g.  main"));
    connect(&Dialog, SIGNAL(textValueChanged(QString)), this, SLOT(OnInputDialogValueChanged(QString)));
    m_pInputDialog = &Dialog;
    OnInputDialogValueChanged(m_sLastInput);
    const bool Accepted = Dialog.exec() == QDialog::Accepted;
    m_pInputDialog = nullptr;
    if (!Accepted) return;
    m_sLastInput = Dialog.textValue().trimmed();
    PerformOnText(m_sLastInput);
}

void CBreakpointWindow::OnInputDialogValueChanged(QString sText)
{
    if (!m_pInputDialog) return;
    m_pInputDialog->setOkButtonText(IsSetAt(sText.trimmed()) ? QStringLiteral("Clear") : QStringLiteral("Set"));
    if (auto* pBox = m_pInputDialog->findChild<QDialogButtonBox*>()) pBox->button(QDialogButtonBox::Ok)->setEnabled(IsLocationText(sText.trimmed()));
}

void CBreakpointWindow::OnDragDrop(QDropEvent* pEvent)
{
    const QString sText = pEvent->mimeData()->text().trimmed();
    if (IsLocationText(sText) && !IsSetAt(sText)) PerformOnText(sText);
    pEvent->acceptProposedAction();
}

// ---- Menu ------------------------------------------------------------------------------------------------

void CBreakpointWindow::FillContextMenu(QMenu* pMenu, const QModelIndex& SourceIndex)
{
    if (SourceIndex.isValid())
        for (const BP_ACTION& Row : aActions) {
            QAction* pAction = FindAction(Row.sName);
            if (Row.Op < AO_DIALOG && pAction->isEnabled()) pMenu->addAction(pAction);
        }
    if (!pMenu->isEmpty()) pMenu->addSeparator();
    for (const BP_ACTION& Row : aActions)
        if (Row.Op == AO_DIALOG) pMenu->addAction(FindAction(Row.sName));
    for (const BP_ACTION& Row : aActions) {
        const bool IsSelectedKind = !m_HasEdited ? Row.Kind == KIND::CODE : m_Edited.Kind == Row.Kind || (IsTrace(Row.Kind) && IsTrace(m_Edited.Kind));
        if (Row.Op == AO_CLEAR_ALL && IsSelectedKind) pMenu->addAction(FindAction(Row.sName));
    }
    AddCommonMenuEntries(pMenu, SourceIndex);
}

#include "moc_breakpointwindow.cpp"
