#include "views/debug/callstackwindow.h"

#include "project/settings/sysvars.h"
#include "views/framework/itemdelegate.h"
#include "views/framework/sortfilter.h"
#include "views/framework/tableheader.h"
#include "views/framework/treeview.h"

#include <QAction>
#include <QMenu>
#include <QPainter>

namespace {

constexpr I64 LAYOUT_CURRENT_AT_BOTTOM = 1;

/// Paints the closing row as one text across all columns.
class CCallStackItemDelegate : public CItemDelegate {
public:
    CCallStackItemDelegate(CCallStackWindow* pWindow) : CItemDelegate(pWindow), m_pWindow(pWindow) {}

    void paint(QPainter* pPainter, const QStyleOptionViewItem& Option,
               const QModelIndex& Index) const override
    {
        const QModelIndex First = m_pWindow->MapToSource(Index.siblingAtColumn(0));
        if (!m_pWindow->GetStackModel()->IsClosingRow(First))
            return CItemDelegate::paint(pPainter, Option, Index);
        const CTreeView* pView = m_pWindow->GetView();
        QRect Row = Option.rect;
        Row.setLeft(pView->header()->sectionViewportPosition(pView->header()->logicalIndex(0)));
        Row.setRight(pView->viewport()->width());
        pPainter->save();
        pPainter->setClipRect(Option.rect);
        pPainter->fillRect(Option.rect, m_pWindow->GetItemBackgroundColor(First));
        pPainter->setPen(m_pWindow->palette().color(QPalette::PlaceholderText));
        pPainter->setFont(m_pWindow->GetItemFont(0));
        pPainter->drawText(Row.adjusted(5, 0, -5, 0), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                           First.data().toString());
        pPainter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem& Option, const QModelIndex& Index) const override
    {
        // The closing text runs over all columns and makes none of them wider.
        const QSize Size = CItemDelegate::sizeHint(Option, Index);
        return m_pWindow->GetStackModel()->IsClosingRow(m_pWindow->MapToSource(Index)) ? QSize(0, Size.height()) : Size;
    }

private:
    CCallStackWindow* m_pWindow;
};

} // namespace

CCallStackWindow::CCallStackWindow(QWidget* pParent) : CModelViewWindow(pParent, QStringLiteral("Call Stack"))
{
    SetFlag(WF_ACTIVATE_ON_HALT, true);
    SetFlag(WF_CLEAR_ON_DISCONNECT, true);
    SetUpdateMode(WIN_UPDATE_ALWAYS); // other windows need the stack also while this one is closed
    m_pStack = new CCallStackDataModel(this);
    SetView(new CTreeView, false, new CCallStackItemDelegate(this));
    SetModel(m_pStack);
    SetIndentation(0);
    GetView()->setUniformRowHeights(false); // the closing row is taller
    m_pActionOnTop = AddAction("actionCallstackCurrFrameOnTop", QStringLiteral("Current Fra&me on Top"), "",
                               QStringLiteral("Shows the current Frame at the Top"));
    m_pActionOnTop->setCheckable(true);
    Connect(m_pActionOnTop, SIGNAL(triggered()), this, SLOT(OnActionCurrFrameOnTopTriggered()));
    GetHeader()->setSectionsClickable(false); // the order is the stack's
    Init();
    ApplyLayout();
    LinkWindowActions();
}

void CCallStackWindow::ApplyLayout()
{
    GetSortFilter()->SetSortingEnabled(true);
    GetSortFilter()->sort(0, GetVarValue(PREF_CALLSTACK_LAYOUT) == LAYOUT_CURRENT_AT_BOTTOM
                                 ? Qt::DescendingOrder
                                 : Qt::AscendingOrder);
    GetHeader()->setSortIndicatorShown(false);
}

bool CCallStackWindow::IsEmpty() const
{
    return !m_pStack || !IsTargetConnected() || m_pStack->rowCount() == 0;
}

void CCallStackWindow::OnContentChanged()
{
    // The rows come back in a moment; the hint of an empty window would only flicker at each step.
    if (m_IsUnwinding && IsEmpty()) return;
    CModelViewWindow::OnContentChanged();
}

void CCallStackWindow::Clear()
{
    m_IsUnwinding = false;
    m_pStack->Clear();
    emit CallStackChanged();
    emit ContentChanged();
}

// ---- Unwinding -------------------------------------------------------------------------------------------

void CCallStackWindow::Update(U32)
{
    // Nothing answers for the registers of a target that runs: the frames of its last halt stay.
    if (IsDebugSessionActive() && IsTargetHalted()) StartUnwind();
}

void CCallStackWindow::OnOpened()
{
    Update(GetTargetPC());
}

void CCallStackWindow::StartUnwind()
{
    m_IsUnwinding = true;
    m_pStack->Clear();
    if (GetDebugViewHooks().StartUnwind)
        GetDebugViewHooks().StartUnwind();
    else
        m_IsUnwinding = false;
}

void CCallStackWindow::OnNextFrameUnwinded()
{
    const auto& Hooks = GetDebugViewHooks();
    // A window that nobody sees doesn't pay for frames that nobody needs.
    const bool IsWanted = IsOpen() && IsEnabled();
    if (IsWanted && Hooks.GetNumFrames && Hooks.GetFrame)
        while (m_pStack->GetNumFrames() < Hooks.GetNumFrames())
            m_pStack->AppendFrame(Hooks.GetFrame(m_pStack->GetNumFrames()));
    if (Hooks.UnwindNext) Hooks.UnwindNext(!IsWanted);
}

void CCallStackWindow::OnCallStackUnwinded()
{
    m_IsUnwinding = false;
    const auto& Hooks = GetDebugViewHooks();
    QList<VIEW_FRAME> Frames;
    const int NumFrames = AskHook(Hooks.GetNumFrames, 0);
    for (int i = 0; i < NumFrames && Hooks.GetFrame; i++) Frames.append(Hooks.GetFrame(i));
    m_pStack->SetStack(Frames, AskHook(Hooks.GetStopText, QString()));
    m_pStack->SetSelectedFrame(AskHook(Hooks.GetSelectedFrame, 0));
    if (NumFrames > 0) SetCurrentItem(m_pStack->index(0, 0));
    if (IsVisible()) ResizeColumnsToContents();
    GetVarValue(PREF_CALLSTACK_LAYOUT) == LAYOUT_CURRENT_AT_BOTTOM ? ScrollToBottom() : ScrollToTop();
    OnContentChanged();
    emit CallStackChanged();
}

void CCallStackWindow::OnCallFrameEvaluated(int Index)
{
    m_pStack->SetSelectedFrame(Index);
    Repaint();
    if (Index > 0 && m_pStack->GetFrame(Index).Loc.IsValid() && GetCurrentItem().row() != Index)
        SetCurrentItem(m_pStack->index(Index, 0));
    emit CallStackChanged();
}

void CCallStackWindow::SelectFrame(int Index)
{
    if (GetDebugViewHooks().SelectFrame) GetDebugViewHooks().SelectFrame(Index);
    m_pStack->SetSelectedFrame(Index);
}

void CCallStackWindow::ResetSelectedFrame()
{
    if (GetDebugViewHooks().SelectFrame && AskHook(GetDebugViewHooks().GetSelectedFrame, 0) != 0)
        GetDebugViewHooks().SelectFrame(0);
    m_pStack->SetSelectedFrame(0);
}

// ---- Clicks ----------------------------------------------------------------------------------------------

void CCallStackWindow::OnItemClicked(QModelIndex ViewIndex)
{
    const QModelIndex Index = MapToSource(ViewIndex);
    if (m_pStack->IsClosingRow(Index)) {
        SetCurrentItem(m_pStack->index(m_pStack->GetSelectedFrame(), 0));
        emit CallSiteSelected(m_pStack->GetSelectedFrame());
        return;
    }
    SelectFrame(qMax(0, Index.row()));
    emit CallSiteSelected(qMax(0, Index.row()));
}

void CCallStackWindow::OnItemDoubleClicked(QModelIndex ViewIndex)
{
    const QModelIndex Index = MapToSource(ViewIndex);
    if (!Index.isValid() || m_pStack->IsClosingRow(Index)) return;
    const VIEW_FRAME Frame = m_pStack->GetFrame(Index.row());
    SelectFrame(Index.row());
    if (!Frame.IsPCValid) return;
    if (Frame.Loc.IsValid())
        PerformWindowCommand(QStringLiteral("View.Source"), {GetViewSrcLocText(Frame.Loc)});
    else
        PerformWindowCommand(QStringLiteral("View.Disassembly"), {FormatAddr(U32(Frame.PC))});
}

void CCallStackWindow::OnBacktraceSelectionChanged(I64 InstIdx)
{
    if (InstIdx < 0 || !GetDebugViewHooks().FindFrame) return;
    const int Frame = qMax(0, GetDebugViewHooks().FindFrame(GetTargetPC()));
    if (Frame != m_pStack->GetSelectedFrame()) emit CallSiteSelected(Frame);
}

QString CCallStackWindow::GetViewParam(const QString& sCommand) const
{
    const QModelIndex Index = GetCurrentItem();
    if (!Index.isValid() || m_pStack->IsClosingRow(Index)) return {};
    const VIEW_FRAME Frame = m_pStack->GetFrame(Index.row());
    if (!Frame.IsPCValid) return {};
    if (sCommand == QLatin1String("View.Source"))
        return Frame.Loc.IsValid() ? GetViewSrcLocText(Frame.Loc) : QString();
    return FormatAddr(U32(sCommand == QLatin1String("View.Data") ? Frame.SP : Frame.PC));
}

void CCallStackWindow::FillContextMenu(QMenu* pMenu, const QModelIndex& SourceIndex)
{
    if (SourceIndex.isValid() && !m_pStack->IsClosingRow(SourceIndex)) {
        auto Add = [pMenu, this](const char* sText, const QString& sCommand) {
            const QString sParam = GetViewParam(sCommand);
            if (sParam.isEmpty()) return;
            QAction* pAction = pMenu->addAction(QString::fromLatin1(sText));
            pAction->setEnabled(IsWindowCommandEnabled(sCommand));
            connect(pAction, &QAction::triggered, this,
                    [sCommand, sParam] { PerformWindowCommand(sCommand, {sParam}); });
        };
        Add("View &Source", QStringLiteral("View.Source"));
        Add("View &Disassembly", QStringLiteral("View.Disassembly"));
        Add("View D&ata", QStringLiteral("View.Data"));
        pMenu->addSeparator();
    }
    pMenu->addAction(m_pActionOnTop);
    AddCommonMenuEntries(pMenu, SourceIndex);
}

void CCallStackWindow::UpdateActions()
{
    CModelViewWindow::UpdateActions();
    if (m_pActionOnTop)
        m_pActionOnTop->setChecked(GetVarValue(PREF_CALLSTACK_LAYOUT) != LAYOUT_CURRENT_AT_BOTTOM);
}

void CCallStackWindow::OnActionCurrFrameOnTopTriggered()
{
    const I64 Layout =
        GetVarValue(PREF_CALLSTACK_LAYOUT) == LAYOUT_CURRENT_AT_BOTTOM ? 0 : LAYOUT_CURRENT_AT_BOTTOM;
    if (PerformWindowCommand(
            QStringLiteral("Edit.Preference"),
            {QStringLiteral("PREF_CALLSTACK_LAYOUT"), QString::number(Layout), QStringLiteral("1")}) < 0) {
        SetVar(PREF_CALLSTACK_LAYOUT, Layout, true);
        SetPreference(PREF_CALLSTACK_LAYOUT, Layout);
    }
}

void CCallStackWindow::SetPreference(int SysVarID, I64 Value)
{
    if (SysVarID == PREF_CALLSTACK_LAYOUT) ApplyLayout();
    UpdateActions();
    CModelViewWindow::SetPreference(SysVarID, Value);
}

// ---- Device events ---------------------------------------------------------------------------------------

void CCallStackWindow::OnDeviceEvalBPCondition(U32)
{
    // A condition is worked out with the target as it stands at the hit.
    if (GetDebugViewHooks().InvalidateStack) GetDebugViewHooks().InvalidateStack();
}

void CCallStackWindow::OnDeviceSetTargetExecStateDone(U64, U64)
{
    ResetSelectedFrame();
    Update(GetTargetPC());
}

void CCallStackWindow::OnDeviceResetDone(U32 NewPC, RESET_MODES Mode)
{
    if (Mode != RM_RESET_BEFORE_DOWNLOAD) ResetSelectedFrame();
    CModelViewWindow::OnDeviceResetDone(NewPC, Mode);
}

void CCallStackWindow::OnDeviceResumeDone(RESUME_MODES Mode)
{
    m_IsUnwinding = false;
    CModelViewWindow::OnDeviceResumeDone(Mode);
}

void CCallStackWindow::OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason)
{
    ResetSelectedFrame();
    CModelViewWindow::OnDeviceHaltDone(NewPC, Reason);
}

void CCallStackWindow::OnDeviceStepped(U32 NewPC)
{
    ResetSelectedFrame();
    CModelViewWindow::OnDeviceStepped(NewPC);
}

void CCallStackWindow::OnDeviceWriteAccess()
{
    if (!IsDebugSessionActive() || !IsTargetHalted()) return;
    if (GetDebugViewHooks().InvalidateStack) GetDebugViewHooks().InvalidateStack();
    Update(GetTargetPC());
}

#include "moc_callstackwindow.cpp"
