#include "views/debug/registerwindow.h"

#include "views/framework/treeview.h"

#include <QAction>
#include <QMenu>

CRegisterWindow::CRegisterWindow(QWidget* pParent, const QString& sName) : CModelViewWindow(pParent, sName)
{
    SetFlag(WF_ACTIVATE_ON_HALT, true);
    m_pRegisters = new CRegistersDataModel(this);
    SetView(new CTreeView, false);
    SetModel(m_pRegisters);
    Init();
    Rebuild();
    LinkWindowActions();
}

void CRegisterWindow::Rebuild()
{
    const bool IsFirst = !m_pRegisters->HasGroups();
    BackupState(0);
    m_pRegisters->SetGroups(AskHook(GetDebugViewHooks().GetRegGroups, QList<VIEW_REG_GROUP>()));
    if (IsFirst && m_pRegisters->HasGroups())
        GetView()->SetExpanded(MapToView(m_pRegisters->index(0, 0)), true);
    else
        RestoreState(0);
    Update(GetTargetPC());
}

void CRegisterWindow::Clear()
{
    m_pRegisters->Invalidate();
}

QString CRegisterWindow::GetDisplayName() const
{
    QStringList Names;
    for (int i = 0; i < m_pRegisters->rowCount(); i++)
        Names.append(m_pRegisters->index(i, 0).data().toString());
    return Names.isEmpty() ? GetName()
                           : QStringLiteral("%1 (%2)").arg(GetName(), Names.join(QStringLiteral(", ")));
}

bool CRegisterWindow::IsCurrentFrameSelected() const
{
    return AskHook(GetDebugViewHooks().GetSelectedFrame, 0) <= 0;
}

void CRegisterWindow::UpdateWindowTitle()
{
    QString sTitle = GetName();
    if (IsTargetHalted() && !IsCurrentFrameSelected() && GetDebugViewHooks().GetFrame) {
        const VIEW_FRAME Frame = GetDebugViewHooks().GetFrame(GetDebugViewHooks().GetSelectedFrame());
        sTitle += QStringLiteral(" @ ") +
                  (Frame.sFunction.isEmpty() ? FormatAddr(U32(Frame.PC), false) : Frame.sFunction);
    }
    SetWindowTitle(sTitle);
}

void CRegisterWindow::OnCallFrameEvaluated(int Index)
{
    UpdateWindowTitle();
    // Another frame's registers are other values, not changed ones.
    if (Index > 0 || m_ShownFrame > 0) ResetChangeTracking();
    m_ShownFrame = Index;
    m_pRegisters->ClearRole(ROLE_READ_STATE);
    Update(GetTargetPC());
}

void CRegisterWindow::OnDeviceConnectDone(CONNECT_MODES Mode)
{
    if (!m_pRegisters->HasGroups()) Rebuild();
    CModelViewWindow::OnDeviceConnectDone(Mode);
}

void CRegisterWindow::OnDeviceDisconnectDone()
{
    m_pRegisters->Invalidate();
    CModelViewWindow::OnDeviceDisconnectDone();
}

void CRegisterWindow::OnDeviceCPUModeChanged(U32)
{
    if (m_pRegisters->ShowsCPUMode()) Rebuild(); // the group of the mode's registers has others now
}

void CRegisterWindow::OnPluginLoaded(QString, int)
{
    Rebuild();
}
void CRegisterWindow::OnPluginReconfigured(QString, int)
{
    Rebuild();
}

void CRegisterWindow::OnDeviceReadRegsDone(U32 Cnt, U32* paBrylloRegIdxs, U64* paRegVals, U8* paRegStatus)
{
    // The answers of the live registers mustn't overwrite those of an outer frame.
    if (!IsEnabled() || !IsOpen() || !IsCurrentFrameSelected()) return;
    QList<U32> RegIdxs(paBrylloRegIdxs, paBrylloRegIdxs + Cnt);
    QList<U64> Values(paRegVals, paRegVals + Cnt);
    QList<bool> Valid;
    for (U32 i = 0; i < Cnt; i++) Valid.append(paRegStatus[i] == DATA_VALID);
    m_pRegisters->SetRegValues(RegIdxs, Values, Valid);
}

void CRegisterWindow::OnDeviceReadRegsFailed(U32 Cnt, U32* paBrylloRegIdxs)
{
    if (!IsEnabled() || !IsOpen() || !IsCurrentFrameSelected()) return;
    m_pRegisters->SetRegValues(QList<U32>(paBrylloRegIdxs, paBrylloRegIdxs + Cnt), QList<U64>(Cnt),
                               QList<bool>(Cnt, false));
}

void CRegisterWindow::OnDeviceReadRegDone(U32 BrylloRegIdx, U64 RegValue)
{
    U8 Status = DATA_VALID;
    OnDeviceReadRegsDone(1, &BrylloRegIdx, &RegValue, &Status);
}

void CRegisterWindow::OnDeviceReadRegFailed(U32 BrylloRegIdx)
{
    OnDeviceReadRegsFailed(1, &BrylloRegIdx);
}

QString CRegisterWindow::GetViewParam(const QString& sCommand) const
{
    U64 Value = 0;
    if (!m_pRegisters->GetValue(GetCurrentItem(), Value)) return {};
    // A return address carries the state bit; all ones is no address that could be rounded.
    const U32 Addr = U32(Value) == ADDR_NONE ? ADDR_NONE : AlignToInst(U32(Value));
    if (sCommand == QLatin1String("View.Source") &&
        !AskHook(GetDebugViewHooks().GetSrcLoc, CSrcLoc(), Addr).IsValid())
        return {};
    return FormatAddr(Addr);
}

void CRegisterWindow::FillContextMenu(QMenu* pMenu, const QModelIndex& SourceIndex)
{
    auto Add = [pMenu, this](const char* sText, const QString& sCommand) {
        const QString sAddr = GetViewParam(sCommand);
        if (sAddr.isEmpty()) return;
        QAction* pAction = pMenu->addAction(QString::fromLatin1(sText).arg(sAddr));
        connect(pAction, &QAction::triggered, this,
                [sCommand, sAddr] { PerformWindowCommand(sCommand, {sAddr}); });
    };
    if (SourceIndex.isValid()) {
        Add("View &Source of %1", QStringLiteral("View.Source"));
        Add("View &Disassembly of %1", QStringLiteral("View.Disassembly"));
        Add("View D&ata at %1", QStringLiteral("View.Data"));
    }
    AddCommonMenuEntries(pMenu, SourceIndex);
}

#include "moc_registerwindow.cpp"
