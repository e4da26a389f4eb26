// The chain of a session: connect, reset, download, first run, disconnect. Each handler starts the next link.
#include "app/actions/actions.h"
#include "app/actions/constants.h"
#include "app/console/consolewindow.h"
#include "app/services/diaglog.h"
#include "app/services/log.h"
#include "app/services/messages.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "app/shell/programdata.h"
#include "app/shell/sessiondecisions.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "device/target/devicetarget.h"
#include "device/target/targetdownload.h"
#include "project/file/project.h"
#include "project/finder/filefinder.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "program/eval/expression.h"
#include "program/tables/prog.h"
#include "script/host/bscript.h"
#include "targetio/semihost/semihost.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/statusbar.h"

#include <QFileInfo>

namespace {

void SetStatus(const char* sText)
{
    CStatusBar::Get().SetStatusMessage(QString::fromLatin1(sText));
}

/// Runs a function that replaces a job with that job's reports suppressed, as the controller finishes by itself.
void RunReplacing(int EventId, std::initializer_list<U32> Suppressed)
{
    CDevice& Dev = CDevice::Get();
    for (const U32 Type : Suppressed) Dev.SetJobEventSuppressed(Type, true);
    BScript::ExecScriptFunction(EventId);
    for (const U32 Type : Suppressed) Dev.SetJobEventSuppressed(Type, false);
}

void RunEvent(int EventId)
{
    if (BScript::HasEvent(EventId)) BScript::ExecScriptFunction(EventId);
}

void PrintConnection(const QString& sText)
{
    CConsoleWindow::Get().Print(sText, GetColor(COLOR_LOGGING_BRYLLO), false);
}

} // namespace

void CMainWindow::Start()
{
    if (m_W.pSource->HasModifiedDocument() || m_W.pSource->HasDocumentWithUnsavedChanges()) {
        if (CMessageBox::AskWithThird(MSGBOX_SOURCES_MODIFIED) != 1) {
            UpdateActions();
            const auto Mode = CONNECT_MODES(GetVarValue(VAR_CONNECT_MODE));
            DEVICE_ForEachListener([Mode](CDeviceEventListener& l) { l.OnDeviceConnectCanceled(Mode); });
            SetActionSilent(ACT_DEBUG_START);
            return;
        }
    }
    if (BScript::HasEvent(EVENT_DEBUG_START))
        BScript::ExecScriptFunction(EVENT_DEBUG_START);
    else
        Connect(CONNECT_MODES(GetVarValue(VAR_CONNECT_MODE)));
}

void CMainWindow::Connect(CONNECT_MODES Mode)
{
    CDevice& Dev = CDevice::Get();
    if (Dev.IsConnected()) return;
    SetStatus("Connecting...");
    OnSideBarStateChanged();
    RunEvent(EVENT_BEFORE_TARGET_CONNECT);
    if (BScript::HasEvent(EVENT_TARGET_CONNECT)) {
        RunReplacing(EVENT_TARGET_CONNECT, {BT_CONNECT});
        CDeviceTarget::Get().RequestFinishConnect(CONNECT_MODES(GetVarValue(VAR_CONNECT_MODE)));
    } else {
        Dev.ConnectAsync(Mode);
    }
}

void CMainWindow::Disconnect()
{
    if (!CDevice::Get().IsConnected()) return;
    Core_OnTargetDisconnect();
    RunEvent(EVENT_BEFORE_TARGET_DISCONNECT);
    CDevice::Get().DisconnectAsync();
}

void CMainWindow::Reset(RESET_MODES Mode)
{
    CDevice& Dev = CDevice::Get();
    if (!Dev.IsConnected()) return;
    SetStatus("Resetting Device...");
    RunEvent(EVENT_BEFORE_TARGET_RESET);
    if (BScript::HasEvent(EVENT_TARGET_RESET)) {
        RunReplacing(EVENT_TARGET_RESET, {BT_RESET, BT_HALT});
        CDeviceTarget::Get().RequestFinishReset(Mode == RM_RESET_BEFORE_DOWNLOAD ? Mode : RESET_MODES(GetVarValue(VAR_RESET_MODE)));
    } else {
        Dev.ResetAsync(Mode);
    }
}

void CMainWindow::StartDebugSession()
{
    CDeviceTarget::Get().StartDebugSession();
}

void CMainWindow::OnDeviceEndianessChanged(int, int)
{
    // The core support decodes by the byte order that the target turned out to have.
    if (Core_IsLoaded()) CProject::Get().GetHooks().LoadCorePlugin();
}

void CMainWindow::OnSideBarStateChanged()
{
    // No window shows the instruction trace: left on in the device it would only cost the probe bandwidth.
    if (CDevice::Get().State.InstTraceEnabled) CDevice::Get().DisableSimpleInstTraceAsync();
}

void CMainWindow::RefreshTraceWindows()
{
    for (CWindow* pWindow : m_Windows)
        if (pWindow != this && pWindow->TestFlag(WF_LIVE_ITEMS)) pWindow->Repaint();
}

void CMainWindow::UpdateConnectionLabel()
{
    const CDevice& Dev = CDevice::Get();
    if (!Dev.IsConnected()) {
        CStatusBar::Get().SetConnectionInfo(QStringLiteral("Disconnected"));
        return;
    }
    const I64 Speed = Dev.State.TIFSpeed;
    CStatusBar::Get().SetConnectionInfo(QStringLiteral("Connected @ ") + VarToText(VAR_TIF_SPEED, Speed));
}

void CMainWindow::RunEventOrDefault(int EventId)
{
    if (BScript::HasEvent(EventId))
        BScript::ExecScriptFunction(EventId);
    else
        CDevice::Get().SetResetStateAsync();
}

/// A zone that the target doesn't have would make each access fail while the program runs.
void CMainWindow::CheckMemZoneRunning(int VarID, I64)
{
    const QString sZone = GetVarString(VAR_MEM_ZONE_RUNNING);
    if (VarID != VAR_MEM_ZONE_RUNNING || !CDevice::Get().IsConnected() || sZone.isEmpty() || sZone == "Default") return;
    const QStringList Zones = CDeviceTarget::Get().GetInfo().MemZones;
    if (Zones.contains(sZone, Qt::CaseInsensitive)) return;
    char ac[2300];
    FormatMessage(67, ac, sizeof(ac), sZone.toUtf8().constData());
    QString sText = QString::fromUtf8(ac);
    if (sText.endsWith(u'.')) sText.chop(1);
    LogError(sText + QStringLiteral(". Available memory zones: ") + Zones.join(QStringLiteral(", ")));
    SetVarString(VAR_MEM_ZONE_RUNNING, {}, false);
}

void CMainWindow::OnDeviceConnectDone(CONNECT_MODES Mode)
{
    CWindow::OnDeviceConnectDone(Mode);
    RefreshTraceWindows();
    UpdateActions();
    if (Core_IsLoaded()) PrintConnection(QStringLiteral("Bryllo: connected to target device"));
    SetStatus("Connected");
    CheckMemZoneRunning(VAR_MEM_ZONE_RUNNING, 0);
    UpdateConnectionLabel();
    UpdateActions();
    UpdateTitle();
    Core_OnTargetConnected();
    RunEvent(EVENT_AFTER_TARGET_CONNECT);
    if (GetVarValue(VAR_CONNECT_MODE) != I64(Mode) && Mode != CM_CONNECT_ONLY)
        LogError(QStringLiteral("Changing the connection mode while the connection sequence is in progress may lead "
                                "to undefined behaviour"));
    CDevice& Dev = CDevice::Get();
    switch (DecideAfterConnect(Mode, Dev.IsHalted() || Dev.State.HaltedRaw)) {
    case AFTER_CONNECT_RESET_FOR_DOWNLOAD: Reset(RM_RESET_BEFORE_DOWNLOAD); break;
    case AFTER_CONNECT_HALT: Dev.HaltAsync(); break;
    case AFTER_CONNECT_RUNNING: SetStatus("CPU running..."); break;
    case AFTER_CONNECT_NOTHING: break;
    }
    m_PeriodicUpdateTimer.start();
}

void CMainWindow::OnDeviceConnectFailed(CONNECT_MODES)
{
    SetStatus("Bryllo: error connecting to device");
    PrintConnection(QStringLiteral("Connection failed"));
    UpdateActions();
    UpdateTitle();
}

void CMainWindow::OnDeviceConnectCanceled(CONNECT_MODES)
{
    SetStatus("Ready");
    PrintConnection(QStringLiteral("Connection aborted"));
    UpdateActions();
    UpdateTitle();
}

void CMainWindow::OnDeviceResetDone(U32 NewPC, RESET_MODES Mode)
{
    const AFTER_RESET Next = DecideAfterReset(Mode);
    if (Next == AFTER_RESET_UNKNOWN) {
        LogWarning(QStringLiteral("In function OnDeviceResetDone: unknown reset mode"));
        return;
    }
    CWindow::OnDeviceResetDone(NewPC, Mode);
    if (Next == AFTER_RESET_REFRESH) return;
    RunEventOrDefault(EVENT_AFTER_TARGET_RESET);
    if (Next == AFTER_RESET_DOWNLOAD) {
        Download(CProject::Get().GetProgramFile(), {}, DM_PROGRAM);
        return;
    }
    RefreshTraceWindows();
    switch (Next) {
    case AFTER_RESET_START_HALTED:
        SetStatus("Device was reset");
        StartDebugSession();
        break;
    case AFTER_RESET_CONTINUE: Continue(); break;
    case AFTER_RESET_RUN_TO_SYMBOL:
        if (RunToBreakSymbol() == BREAK_SYMBOL_UNKNOWN) m_MessageBoxTimer.start();
        break;
    default: break;
    }
    ShowPC(NewPC);
    UpdateActions();
}

CMainWindow::BREAK_SYMBOL_RUN CMainWindow::RunToBreakSymbol()
{
    CDevice& Dev = CDevice::Get();
    const I64 Symbol = CProject::Get().GetHooks().GetDeviceParam(DCP_RESET_BREAK_ADDR);
    if (!Dev.IsConnected() || Symbol < 0) return BREAK_SYMBOL_UNKNOWN;
    const U32 Align = std::max<U32>(Core_GetStaticInfo().InstAlignment, 1);
    const U32 Addr = U32(Symbol) - U32(Symbol) % Align;
    if (Dev.IsHalted() && Dev.GetPC() == Addr) return BREAK_SYMBOL_REACHED;
    if (!Dev.IsHalted()) Dev.HaltAsync();
    Dev.RunToAsync(Addr);
    return BREAK_SYMBOL_RUNNING;
}

void CMainWindow::ResolveBreakSymbol()
{
    const QString sSymbol = GetVarString(VAR_BREAK_AT_THIS_SYMBOL);
    I64 Addr = -1;
    if (PROG_IsLoaded() && !sSymbol.isEmpty()) Addr = EVAL_GetAddress(sSymbol);
    if (Addr < 0 && PROG_IsLoaded() && !sSymbol.isEmpty())
        LogMessage(88, sSymbol.toUtf8().constData());
    CProject::Get().GetHooks().SetDeviceParam(DCP_RESET_BREAK_ADDR, Addr < 0 ? -1 : Addr);
}

void CMainWindow::OnMessageBoxTimerTimeout()
{
    CMessageBox::Ask(MSGBOX_BREAK_SYMBOL_UNKNOWN, GetVarString(VAR_BREAK_AT_THIS_SYMBOL));
}

void CMainWindow::Download(const QString& sPath, const QString& sZone, DOWNLOAD_MODES Mode)
{
    Q_UNUSED(sZone);
    CDevice& Dev = CDevice::Get();
    if (!Dev.IsConnected()) return;
    if (Mode != DM_PROGRAM && sPath.isEmpty()) return;
    SetStatus("Writing Memory...");
    emit DataFileAboutToDownload(sPath);
    if (Mode == DM_MEMORY) {
        WriteProgram(sPath, Mode);
        return;
    }
    if (Mode != DM_PROGRAM && Mode != DM_FILE) {
        LogError(QStringLiteral("Error downloading file content: unknown download mode"));
        return;
    }
    RunEvent(EVENT_BEFORE_TARGET_DOWNLOAD);
    if (Mode == DM_FILE) {
        WriteProgram(sPath, Mode);
    } else if (BScript::HasEvent(EVENT_TARGET_DOWNLOAD)) {
        RunReplacing(EVENT_TARGET_DOWNLOAD, {BT_END_DOWNLOAD});
        if (Dev.State.LastDownloadError < 0) OnDownloadFailed(DM_PROGRAM, Dev.State.LastDownloadError);
        OnDownloadDone(DM_PROGRAM);
    } else if (!sPath.isEmpty()) {
        WriteProgram(sPath, Mode);
    } else {
        OnDownloadDone(DM_PROGRAM);
    }
}

void CMainWindow::WriteProgram(const QString& sPath, DOWNLOAD_MODES Mode)
{
    const PROGRAM_DATA Data = GetProgramData(sPath);
    if (!Data.sError.isEmpty()) {
        LogError(Data.sError);
        OnDownloadDone(Mode);
        return;
    }
    QList<CMemBlock> Blocks;
    for (const PROGRAM_DATA_BLOCK& Block : Data.Blocks) Blocks.append(CMemBlock{Block.Addr, Block.Bytes});
    if (DEVICE_ScheduleDownload(Blocks, QFile::encodeName(sPath).constData(), Mode, nullptr, nullptr) < 0) {
        LogError(QStringLiteral("Error downloading file content: no data in file ") + sPath);
        OnDownloadDone(Mode);
    }
}

void CMainWindow::OnDeviceEndDownloadDone(const char* sFilePath, DOWNLOAD_MODES Mode)
{
    if (sFilePath && *sFilePath) SetStatus("Download Complete.");
    OnDownloadDone(Mode);
}

void CMainWindow::OnDeviceEndDownloadFailed(const char*, DOWNLOAD_MODES Mode, int BrylloErrCode)
{
    OnDownloadFailed(Mode, BrylloErrCode);
    OnDownloadDone(Mode);
}

void CMainWindow::OnDownloadFailed(DOWNLOAD_MODES, int Code)
{
    if (!GetVarValue(VAR_VERIFY_DOWNLOAD)) return;
    SetStatus("Download Failed.");
    const QString sWords = QString::fromLatin1(CDeviceTarget::GetDownloadErrorText(Code));
    LogError(QStringLiteral("Download failed: ") + sWords);
    CMessageBox::ShowInfo(QStringLiteral("Download failed"),
                          QStringLiteral("Parts of the program file could not be written.\n") + sWords);
}

void CMainWindow::OnDownloadDone(DOWNLOAD_MODES Mode)
{
    // In a session the write has told everybody already; what the windows have asked for since must be answered.
    if (!CDevice::Get().State.DebugStarted) CDeviceDataManager::Get().Invalidate();
    if (Mode == DM_MEMORY) return;
    if (Mode == DM_FILE) {
        RunEventOrDefault(EVENT_AFTER_TARGET_DOWNLOAD);
        emit DataFileDownloaded(m_S.sProgramPath);
        return;
    }
    if (Mode != DM_PROGRAM) {
        LogWarning(QStringLiteral("In function OnDownloadDone: unimplemented download mode %1").arg(int(Mode)));
        return;
    }
    RunEventOrDefault(EVENT_AFTER_TARGET_DOWNLOAD);
    emit DataFileDownloaded(m_S.sProgramPath);
    RefreshTraceWindows();
    PerformInitialProgramOperation();
}

void CMainWindow::PerformInitialProgramOperation()
{
    const I64 ResetMode = GetVarValue(VAR_RESET_MODE);
    CDevice& Dev = CDevice::Get();
    switch (DecideInitialOperation(GetVarValue(VAR_CONNECT_MODE), ResetMode)) {
    case INITIAL_NOTHING: break;
    case INITIAL_HALT:
        StartDebugSession();
        Dev.HaltAsync();
        break;
    case INITIAL_RUN_TO_SYMBOL:
        switch (RunToBreakSymbol()) {
        case BREAK_SYMBOL_RUNNING:
            Dev.State.DebugStarted = 1; // the arrival tells the halt, and tells it once
            break;
        case BREAK_SYMBOL_REACHED: StartDebugSession(); break;
        case BREAK_SYMBOL_UNKNOWN:
            m_MessageBoxTimer.start();
            StartDebugSession();
            Dev.HaltAsync();
        }
        break;
    case INITIAL_CONTINUE:
        StartDebugSession();
        Continue();
        break;
    case INITIAL_UNKNOWN:
        LogWarning(
            QStringLiteral("In function PerformInitialProgramOperation: unimplemented reset mode: %1").arg(ResetMode));
        break;
    }
}

void CMainWindow::OnDeviceDisconnectDone()
{
    CWindow::OnDeviceDisconnectDone();
    PrintConnection(QStringLiteral("Bryllo: disconnected from target device"));
    SetStatus("Ready");
    CStatusBar::Get().EndProgress();
    UpdateConnectionLabel();
    UpdateActions();
    UpdateTitle();
    RunEvent(EVENT_AFTER_TARGET_DISCONNECT);
    const PENDING_ACTIONS Pending = m_S.PendingAction;
    m_S.PendingAction = PENDING_NOTHING;
    if (Pending == PENDING_OPEN_PROJECT) {
        const QString sPath = std::exchange(m_S.sStoredProject, QString());
        OpenProject(sPath);
    } else if (Pending == PENDING_CLOSE) {
        close();
    }
}

void CMainWindow::OnDeviceAboutToDisconnect()
{
    m_TargetHaltedTimer.stop();
}

void CMainWindow::OnDeviceConnectionLost()
{
    PrintConnection(QStringLiteral("Bryllo: connection to target device lost."));
    if (CDevice::Get().IsConnected() && CMessageBox::Ask(MSGBOX_CONNECTION_LOST) == QDialogButtonBox::Yes)
        Disconnect();
    UpdateActions();
    UpdateTitle();
}

void CMainWindow::OnDeviceExecCmdDone(const char*)
{
    UpdateActions();
}

void CMainWindow::OnDeviceWriteMemFailed(U32 Addr, U32, U8*)
{
    LogError(QString::asprintf("could not write target memory @ 0x%08X", Addr));
}

void CMainWindow::OnDeviceLogMsg(const char* sMsg, U32 Flags)
{
    LogDeviceMsg(QString::fromUtf8(sMsg), Flags);
}

void CMainWindow::OnDeviceSetStatusMsg(const char* sMsg)
{
    CStatusBar::Get().SetStatusMessage(QString::fromUtf8(sMsg));
}

void CMainWindow::OnDeviceSetProgressMsg(const char* sMsg)
{
    CStatusBar::Get().SetProgressMessage(QString::fromUtf8(sMsg));
}

void CMainWindow::OnDeviceStartProgress(int Min, int Max)
{
    CStatusBar::Get().StartProgress(Min, Max);
}

void CMainWindow::OnDeviceEndProgress()
{
    CStatusBar::Get().EndProgress();
}

void CMainWindow::OnDeviceSetProgressValue(int Value)
{
    CStatusBar::Get().SetProgressValue(Value);
}

// ---- Commands ------------------------------------------------------------------------------------------

namespace {

bool RequireConnected(int Id)
{
    if (CDevice::Get().IsConnected()) return true;
    SetActionError(Id, ERR_NOT_CONNECTED);
    return false;
}

void OnDebugStart(int Id)
{
    if (!CheckParamCount(Id)) return;
    if (CDevice::Get().IsConnected()) return SetActionError(Id, ERR_ALREADY_CONNECTED);
    CMainWindow::Get().Start();
}

void OnDebugConnect(int Id)
{
    if (!CheckParamCount(Id)) return;
    if (CDevice::Get().IsConnected()) return SetActionError(Id, ERR_ALREADY_CONNECTED);
    CMainWindow::Get().Connect(CONNECT_MODES(GetVarValue(VAR_CONNECT_MODE)));
}

void OnDebugStop(int Id)
{
    if (CheckParamCount(Id) && RequireConnected(Id)) CMainWindow::Get().Disconnect();
}

void OnDebugDownload(int Id)
{
    if (CheckParamCount(Id) && RequireConnected(Id))
        CMainWindow::Get().Download(CProject::Get().GetProgramFile(), {}, DM_PROGRAM);
}

void OnDebugReset(int Id)
{
    if (!CheckParamCount(Id) || !RequireConnected(Id)) return;
    CSemiHost::Get().CancelOperation();
    CMainWindow::Get().Reset(RESET_MODES(GetVarValue(VAR_RESET_MODE)));
}

/// The mode that the parameter of Debug.SetConnectMode or Debug.SetResetMode names; null if it names none.
const CONSTANT* FindMode(int Id)
{
    I64 Value = 0;
    const QString sPrefix = Id == ACT_DEBUG_SET_CONNECT_MODE ? QStringLiteral("CM_") : QStringLiteral("RM_");
    // A project's own constants may begin like the modes, which are three of each.
    return ParseNumberOrConstant(GetActionParam(Id), &Value) && Value <= 2 ? FindConstantByValue(sPrefix, Value) : nullptr;
}

void SetMode(int Id, int VarID)
{
    if (!CheckParamCount(Id)) return;
    if (const CONSTANT* pMode = FindMode(Id))
        SetVar(VarID, pMode->Value, false);
    else
        SetActionError(Id, ERR_INVALID_PARAM);
}

void OnSetConnectMode(int Id)
{
    SetMode(Id, VAR_CONNECT_MODE);
}

void OnSetResetMode(int Id)
{
    SetMode(Id, VAR_RESET_MODE);
}

/// An entry of a drop-down button: sets the mode, then runs the button's main command.
template <int MODE_COMMAND, int MAIN_COMMAND> void OnModeEntry(const char* sModeName)
{
    ::PerformAction(MODE_COMMAND, QString::fromLatin1(sModeName));
    ::PerformAction(MAIN_COMMAND);
}

void OnExecConnect(int Id)
{
    if (!CheckParamCount(Id)) return;
    CDevice::Get().ConnectAsync(CM_CONNECT_ONLY);
}

void OnExecReset(int Id)
{
    if (CheckParamCount(Id) && RequireConnected(Id)) CDevice::Get().ResetAsync(RM_RESET_HARDWARE);
}

void OnExecDownload(int Id)
{
    if (!CheckParamCount(Id) || !RequireConnected(Id)) return;
    const QString sPath = CFileFinder::Get().Resolve(GetActionParam(Id));
    if (!QFileInfo(sPath).isFile()) return SetActionError(Id, ERR_FILE_NOT_FOUND);
    CMainWindow::Get().Download(sPath, {}, DM_MEMORY);
}

void OnExecCommand(int Id)
{
    if (!CheckParamCount(Id)) return;
    CDevice::Get().ExecBrylloCmdAsync(GetActionParam(Id).toUtf8().constData());
}

} // namespace

void CanonicalizeModeParam(int ActionId)
{
    if ((ActionId != ACT_DEBUG_SET_CONNECT_MODE && ActionId != ACT_DEBUG_SET_RESET_MODE) ||
        GetActionParams(ActionId).size() != 1)
        return;
    if (const CONSTANT* pMode = FindMode(ActionId)) SetActionParams(ActionId, pMode->Name);
}

void RegisterConnectCommands()
{
    SetCommandHandler(ACT_DEBUG_START, OnDebugStart);
    SetCommandHandler(ACT_DEBUG_STOP, OnDebugStop);
    SetCommandHandler(ACT_DEBUG_CONNECT, OnDebugConnect);
    SetCommandHandler(ACT_DEBUG_DISCONNECT, OnDebugStop);
    SetCommandHandler(ACT_DEBUG_DOWNLOAD, OnDebugDownload);
    SetCommandHandler(ACT_DEBUG_RESET, OnDebugReset);
    SetCommandHandler(ACT_DEBUG_SET_CONNECT_MODE, OnSetConnectMode);
    SetCommandHandler(ACT_DEBUG_SET_RESET_MODE, OnSetResetMode);
    SetCommandHandler(ACT_DEBUG_DOWNLOAD_RESET, [](int) {
        OnModeEntry<ACT_DEBUG_SET_CONNECT_MODE, ACT_DEBUG_START>("CM_DOWNLOAD_RESET");
    });
    SetCommandHandler(ACT_DEBUG_ATTACH,
                      [](int) { OnModeEntry<ACT_DEBUG_SET_CONNECT_MODE, ACT_DEBUG_START>("CM_ATTACH"); });
    SetCommandHandler(ACT_DEBUG_ATTACH_HALT,
                      [](int) { OnModeEntry<ACT_DEBUG_SET_CONNECT_MODE, ACT_DEBUG_START>("CM_ATTACH_HALT"); });
    SetCommandHandler(ACT_DEBUG_RESET_HALT,
                      [](int) { OnModeEntry<ACT_DEBUG_SET_RESET_MODE, ACT_DEBUG_RESET>("RM_RESET_HALT"); });
    SetCommandHandler(ACT_DEBUG_RESET_BREAK_AT_SYMBOL,
                      [](int) { OnModeEntry<ACT_DEBUG_SET_RESET_MODE, ACT_DEBUG_RESET>("RM_BREAK_AT_SYMBOL"); });
    SetCommandHandler(ACT_DEBUG_RESET_RUN,
                      [](int) { OnModeEntry<ACT_DEBUG_SET_RESET_MODE, ACT_DEBUG_RESET>("RM_RESET_AND_RUN"); });
    SetCommandHandler(ACT_EXEC_CONNECT, OnExecConnect);
    SetCommandHandler(ACT_EXEC_RESET, OnExecReset);
    SetCommandHandler(ACT_EXEC_DOWNLOAD, OnExecDownload);
    SetCommandHandler(ACT_EXEC_COMMAND, OnExecCommand);
}
