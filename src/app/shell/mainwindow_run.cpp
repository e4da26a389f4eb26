// Running, halting and stepping, and where the PC is shown afterwards.
#include "app/actions/actions.h"
#include "app/console/consolewindow.h"
#include "app/services/log.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "app/shell/sessiondecisions.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "core/plugin/coreplugin.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "program/tables/prog.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"
#include "targetio/semihost/semihost.h"
#include "views/debug/disassemblywindow.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/dockwindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/statusbar.h"

void CMainWindow::Continue()
{
    CDevice& Dev = CDevice::Get();
    if (Dev.IsConnected() && Dev.IsHalted()) Dev.ContinueAsync(RESUME_NORMAL);
}

bool CMainWindow::StartSourceStep(int Job)
{
    const bool HasSource = PROG_HasSrcLoc(CDevice::Get().GetPC());
    const bool DisassemblyLeads = m_W.pDisassembly && m_W.pDisassembly->HasFocus();
    if (!HasSource || DisassemblyLeads) return false;
    CDevice& Dev = CDevice::Get();
    switch (Job) {
    case BT_STEP_INTO: Dev.StepIntoAsync(); break;
    case BT_STEP_OVER: Dev.StepOverAsync(); break;
    default: Dev.StepOutAsync(); break;
    }
    return true;
}

void CMainWindow::StepInstruction(bool Over)
{
    CDevice& Dev = CDevice::Get();
    const U32 PC = Dev.GetPC();
    CORE_INST_INFO Info{};
    if (Over) Core::ReadInst(&Info, PC);
    if (Info.Length > 0 && (Info.Flags & CORE_INST_CALL))
        Dev.RunToAsync(PC + U32(Info.Length));
    else
        Dev.StepInstAsync();
}

void CMainWindow::StepInto()
{
    if (!StartSourceStep(BT_STEP_INTO)) StepInstruction(false);
}

void CMainWindow::StepOver()
{
    if (!StartSourceStep(BT_STEP_OVER)) StepInstruction(true);
}

void CMainWindow::StepOut()
{
    if (!StartSourceStep(BT_STEP_OUT)) CDevice::Get().StepOutAsync();
}

/// True when the target is halted and nothing is on its way to let it go: a halt that the controller goes on from, as it
/// does after a reset, is none that anybody can work in. The jobs are asked for first, as one that ends in between has
/// taken the halt with it.
static bool IsStanding()
{
    CDevice& Dev = CDevice::Get();
    return !Dev.HasPendingJob(BT_CONTINUE) && !Dev.HasPendingJob(BT_RUN_TO) && Dev.IsHalted();
}

void CMainWindow::OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason)
{
    CWindow::OnDeviceHaltDone(NewPC, Reason);
    CStatusBar::Get().SetStatusMessage(QStringLiteral("CPU halted"));
    CStatusBar::Get().EndProgress();
    ShowPC(NewPC);
    UpdateActions();
    CBreakpointsDataModel::Get().OnBreakpointHalt(NewPC);
    if (Reason == HR_PC_WRITTEN) return;
    if (Reason == HR_RUN_TO)
        m_TargetHaltedTimer.start();
    else if (IsStanding() && NewPC == CDevice::Get().GetPC()) // else it has gone on, and tells its next halt itself
        OnTargetHaltedAndTOElapsed();
}

void CMainWindow::OnDeviceStepped(U32 NewPC)
{
    CWindow::OnDeviceStepped(NewPC);
    CStatusBar::Get().SetStatusMessage(QStringLiteral("CPU halted"));
    CStatusBar::Get().EndProgress();
    m_TargetHaltedTimer.start();
    ShowPC(NewPC);
    UpdateActions();
}

void CMainWindow::OnTargetHaltedAndTOElapsed()
{
    if (!IsStanding()) return;
    Core_OnTargetHalted();
    if (BScript::HasEvent(EVENT_AFTER_TARGET_HALT)) BScript::ExecScriptFunction(EVENT_AFTER_TARGET_HALT);
}

void CMainWindow::OnDeviceAboutToResume(RESUME_MODES Mode)
{
    if (Mode != RESUME_NORMAL) return;
    if (IsBackgrMemAccRequired()) AskBackgroundMemAccess();
    Core_OnTargetResume();
    if (BScript::HasEvent(EVENT_BEFORE_TARGET_RESUME)) BScript::ExecScriptFunction(EVENT_BEFORE_TARGET_RESUME);
}

void CMainWindow::OnDeviceResumeDone(RESUME_MODES Mode)
{
    CWindow::OnDeviceResumeDone(Mode);
    CStatusBar& Bar = CStatusBar::Get();
    Bar.SetStatusMessage(QStringLiteral("CPU running..."));
    if (GetVarValue(PREF_SHOW_PROGBAR_WHILE_RUNNING) && Mode == RESUME_NORMAL) {
        Bar.SetProgressMessage(QStringLiteral("CPU running..."));
        Bar.StartProgress(0, 0, false);
    }
    UpdateActions();
}

void CMainWindow::OnDeviceRunToSymbolDone(U32)
{
    m_W.pSource->setFocus();
}

void CMainWindow::AskBackgroundMemAccess()
{
    if (CDevice::Get().GetCapability(CAP_BACKGROUND_MEM_ACCESS) != 2 || IsVarSet(VAR_ALLOW_BMA_EMULATION)) return;
    const auto Answer = CMessageBox::ShowBox(
        QStringLiteral("Background Memory Access Emulation"),
        QStringLiteral("Debugging features have been activated that require memory<br>to be accessed periodically "
                       "while the program is running.<br><br>The target does not support memory access during program "
                       "execution.<br>Bryllo has to stop the CPU for a short period of time when accessing<br>memory "
                       "(background memory access emulation).<br><br>See the user guide, chapter Background Memory "
                       "Access.<br><br>Enable background memory access emulation?"),
        QDialogButtonBox::Yes | QDialogButtonBox::No, MSGBOX_MODE_REMEMBER);
    ::PerformAction(ACT_EDIT_SYS_VAR, QStringLiteral("VAR_ALLOW_BMA_EMULATION"),
                  Answer == QDialogButtonBox::Yes ? 1 : 0);
}

void CMainWindow::OnPeriodicUpdateTimerTimeout()
{
    UpdateActionDebugHaltResume();
    if (CDevice::Get().IsRunning() && IsBackgrMemAccRequired()) AskBackgroundMemAccess();
}

void CMainWindow::UpdateActionDebugHaltResume()
{
    const CDevice& Dev = CDevice::Get();
    const bool Halted = Dev.IsHalted(), Connected = Dev.IsConnected(), Core = IsTargetUsable();
    QAction* pContinue = m_apAction[ACT_DEBUG_CONTINUE];
    QAction* pHalt = m_apAction[ACT_DEBUG_HALT];
    // One of the two is always there, so that the buttons behind them don't move.
    pContinue->setVisible(Connected && Halted);
    pHalt->setVisible(!Connected || !Halted);
    SetCommandState(ACT_DEBUG_CONTINUE, Core, Core && Connected && Halted);
    SetCommandState(ACT_DEBUG_HALT, Core, Core && Connected && !Halted);
}

void CMainWindow::ShowPC(U32 NewPC)
{
    if (CSemiHost::Get().IsInputInProgress()) {
        // The user is to type there; the place of the program is of no interest now.
        ShowWindow(QStringLiteral("Terminal"));
        return;
    }
    SHOW_PC_FACTS Facts;
    Facts.ConsoleHasFocus = m_W.pConsole && m_W.pConsole->HasFocus();
    Facts.DisassemblyHasFocus = m_W.pDisassembly && m_W.pDisassembly->HasFocus();
    Facts.HasSourceLine = PROG_HasSrcLoc(NewPC);
    Facts.HasUnknownBreakpoint = !Facts.HasSourceLine &&
                                 CBreakpointsDataModel::Get().GetBreakpoint(NewPC).State == BP_STATE_ON;
    const SHOW_PC_IN Where = DecideShowPC(Facts);
    if (Where == SHOW_PC_NOWHERE) return;
    const bool InSource = Where == SHOW_PC_SOURCE || !m_W.pDisassembly;
    m_W.pSource->SetActive(InSource);
    if (m_W.pDisassembly) m_W.pDisassembly->SetActive(!InSource);
    if (InSource) {
        if (Facts.HasSourceLine) m_W.pSource->setFocus();
        return;
    }
    // A window that the user closed stays closed while he follows source; without a line it is the only view.
    if (CDockWindow* pDock = m_W.pDisassembly->GetDock(); pDock && (pDock->isVisible() || !Facts.HasSourceLine)) {
        pDock->show();
        pDock->raise();
        m_W.pDisassembly->setFocus();
    }
}

// ---- Commands ------------------------------------------------------------------------------------------

namespace {

bool RequireHalted(int Id)
{
    if (!CDevice::Get().IsConnected()) {
        SetActionError(Id, ERR_NOT_CONNECTED);
        return false;
    }
    if (!CDevice::Get().IsHalted()) {
        SetActionError(Id, ERR_PROGRAM_RUNNING);
        return false;
    }
    return true;
}

bool RequireNoStep(int Id)
{
    if (!CDevice::Get().State.SrcStepActive) return true;
    SetActionError(Id, ERR_STEP_IN_PROGRESS);
    return false;
}

void OnContinue(int Id)
{
    if (!CheckParamCount(Id) || !RequireHalted(Id)) return;
    CSemiHost::Get().CancelOperation();
    CMainWindow::Get().Continue();
}

void OnHalt(int Id)
{
    if (CheckParamCount(Id)) CDevice::Get().HaltAsync();
}

void OnStepInto(int Id)
{
    if (!CheckParamCount(Id) || !RequireHalted(Id) || !RequireNoStep(Id)) return;
    CSemiHost::Get().CancelOperation();
    CMainWindow::Get().StepInto();
}

void OnStepOver(int Id)
{
    if (!CheckParamCount(Id) || !RequireHalted(Id) || !RequireNoStep(Id)) return;
    CSemiHost::Get().CancelOperation();
    CMainWindow::Get().StepOver();
}

void OnStepOut(int Id)
{
    if (!CheckParamCount(Id) || !RequireHalted(Id)) return;
    CSemiHost::Get().CancelOperation();
    CMainWindow::Get().StepOut();
}

void WritePC(U32 Addr)
{
    CDeviceDataManager::Get().Invalidate();
    CDevice::Get().WriteRegAsync(Core_GetRegId(Core_GetStaticInfo().PCRegIdx), Addr);
}

/// The address that a location parameter names, -1 with the error set if it names none.
I64 ResolveLocation(int Id)
{
    int Kind = PROG_LOCATION_NONE;
    const CAddrRange Range = PROG_ResolveLocationText(GetActionParam(Id), &Kind);
    if (Kind != PROG_LOCATION_NONE) return Range.Start;
    SetActionError(Id, ERR_INVALID_PARAM);
    return -1;
}

bool RequireConnected(int Id)
{
    if (CDevice::Get().IsConnected()) return true;
    SetActionError(Id, ERR_NOT_CONNECTED);
    return false;
}

void OnSetNextPC(int Id)
{
    if (!CheckParamCount(Id) || !RequireHalted(Id)) return; // a running target's PC can't be written
    U32 Addr = 0;
    if (ParseAddrParam(Id, GetActionParam(Id), &Addr)) WritePC(Addr);
}

void OnSetNextStatement(int Id)
{
    if (!CheckParamCount(Id) || !RequireHalted(Id)) return;
    if (const I64 Addr = ResolveLocation(Id); Addr >= 0) WritePC(U32(Addr));
}

void OnRunTo(int Id)
{
    if (!CheckParamCount(Id) || !RequireConnected(Id)) return;
    const I64 Addr = ResolveLocation(Id);
    if (Addr < 0) return;
    CSemiHost::Get().CancelOperation();
    CDevice::Get().RunToAsync(U64(Addr));
}

} // namespace

void RegisterRunCommands()
{
    SetCommandHandler(ACT_DEBUG_CONTINUE, OnContinue);
    SetCommandHandler(ACT_DEBUG_HALT, OnHalt);
    SetCommandHandler(ACT_DEBUG_STEP_INTO, OnStepInto);
    SetCommandHandler(ACT_DEBUG_STEP_OVER, OnStepOver);
    SetCommandHandler(ACT_DEBUG_STEP_OUT, OnStepOut);
    SetCommandHandler(ACT_DEBUG_SET_NEXT_PC, OnSetNextPC);
    SetCommandHandler(ACT_DEBUG_SET_NEXT_STATEMENT, OnSetNextStatement);
    SetCommandHandler(ACT_DEBUG_RUN_TO, OnRunTo);
}
