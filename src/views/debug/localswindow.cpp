#include "views/debug/localswindow.h"

#include "views/debug/localsviewmodel.h"
#include "views/framework/treeview.h"

CLocalsWindow::CLocalsWindow(QWidget* pParent) : CModelViewWindow(pParent, QStringLiteral("Local Data"))
{
    SetFlag(WF_ACTIVATE_ON_HALT, true);
    SetFlag(WF_CLEAR_ON_DISCONNECT, true);
    SetView(new CTreeView, false);
    m_pModel = new CLocalsViewModel(this);
    SetModel(m_pModel);
    Init();
    LinkWindowActions();
}

QString CLocalsWindow::GetEmptyWindowText(DEBUG_STATES) const { return QStringLiteral("No local data"); }
bool CLocalsWindow::IsChangeHighlighted(int Column) const { return Column == LOCALS_COLUMN_VALUE; }

void CLocalsWindow::Clear()
{
    m_pModel->SetScope(QString());
    SetWindowTitle(GetName());
}

QString CLocalsWindow::GetFrameFunction() const
{
    const DEBUG_VIEW_HOOKS& Hooks = GetDebugViewHooks();
    const int Frame = AskHook(Hooks.GetSelectedFrame, 0);
    const QString sFunction = Frame >= 0 && Frame < AskHook(Hooks.GetNumFrames, 0) ? AskHook(Hooks.GetFrame, VIEW_FRAME(), Frame).sFunction : QString();
    // Before the first unwinding only the PC is known.
    return sFunction.isEmpty() ? AskHook(Hooks.GetFunctionName, QString(), GetTargetPC()) : sFunction;
}

void CLocalsWindow::UpdateItems()
{
    if (IsOpen()) RefreshRows();
}

void CLocalsWindow::RefreshRows()
{
    // While the program runs the last values stay, grey.
    if (!IsTargetHalted() || IsStepJobPending()) return;
    const QString sFunction = GetFrameFunction();
    if (sFunction != m_pModel->GetScope()) {
        const bool WasOpen = IsOpen(); // the view of a hidden window has no state to keep
        if (WasOpen) BackupState(0);
        m_pModel->SetScope(sFunction);
        m_pModel->Refresh();
        if (WasOpen) RestoreState(0, DNR_COLUMN_WIDTHS);
    } else
        m_pModel->Refresh();
    SetWindowTitle(sFunction.isEmpty() ? GetName() : QStringLiteral("%1 @ %2").arg(GetName(), sFunction));
    Repaint();
}

bool CLocalsWindow::PrepareText(int Depth)
{
    RefreshRows(); // values come with the rows; those that are being read are pending afterwards
    return CModelViewWindow::PrepareText(Depth);
}

void CLocalsWindow::OnDeviceResumeDone(RESUME_MODES Mode)
{
    CModelViewWindow::OnDeviceResumeDone(Mode);
    if (Mode == RESUME_NORMAL) SetWindowTitle(GetName());
}

void CLocalsWindow::OnCallFrameEvaluated(int Index)
{
    if (Index >= 0) UpdateItems();
}

void CLocalsWindow::OnCallStackUnwinded() { Update(GetTargetPC()); }

void CLocalsWindow::OnItemDoubleClicked(QModelIndex ViewIndex)
{
    const QStringList Path = m_pModel->GetPath(MapToSource(ViewIndex));
    // Members have no declaration of their own to show.
    if (Path.size() == 1 && ViewIndex.column() != LOCALS_COLUMN_VALUE) PerformWindowCommand(QStringLiteral("View.Source"), Path);
}

QString CLocalsWindow::GetViewParam(const QString&) const
{
    const QStringList Path = m_pModel->GetPath(GetCurrentItem());
    return Path.size() == 1 ? Path.first() : QString();
}

#include "moc_localswindow.cpp"
