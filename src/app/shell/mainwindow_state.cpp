// The enabled state of the commands: what console and scripts may run, and what menus offer.
#include "app/actions/actions.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "core/host/corehost.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/queue/device.h"
#include "project/file/project.h"
#include "project/settings/sysvars.h"
#include "views/debug/sourcewindow.h"
#include "views/theme/icons.h"

#include <QToolButton>

namespace {

/// A command whose two states are the same.
void SetBoth(std::initializer_list<int> Ids, bool Enabled)
{
    for (const int Id : Ids) SetCommandState(Id, Enabled, Enabled);
}

void Set(std::initializer_list<int> Ids, bool Command, bool Gui)
{
    for (const int Id : Ids) SetCommandState(Id, Command, Gui);
}

} // namespace

void CMainWindow::UpdateActions()
{
    CWindow::UpdateActions();
    if (m_S.Closing || !m_W.pSource || !m_apAction[ACT_DEBUG_START]) return;
    const CDevice& Dev = CDevice::Get();
    const CProject& Project = CProject::Get();
    const bool C = IsTargetUsable(), S = Dev.IsConnected(), H = Dev.IsHalted();
    const bool DocModified = m_W.pSource->HasDocumentWithUnsavedChanges();

    SetBoth({ACT_FILE_SAVE}, m_W.pSource->IsDocumentModified(m_W.pSource->GetActiveFileNo()));
    SetBoth({ACT_FILE_SAVE_PROJECT_AS}, Project.IsOpen());
    SetBoth({ACT_FILE_SAVE_ALL}, (Project.IsOpen() && Project.IsModified()) || DocModified);
    SetBoth({ACT_DEBUG_START, ACT_DEBUG_ATTACH, ACT_DEBUG_ATTACH_HALT}, C && !S);
    SetBoth({ACT_DEBUG_RESET, ACT_DEBUG_RESET_BREAK_AT_SYMBOL, ACT_DEBUG_RESET_HALT, ACT_DEBUG_RESET_RUN}, C && S);
    Set({ACT_DEBUG_STOP}, C, C && S);
    m_apAction[ACT_DEBUG_STOP]->setVisible(S);
    m_apAction[ACT_DEBUG_START]->setVisible(true);
    Set({ACT_DEBUG_STEP_INTO, ACT_DEBUG_STEP_OVER, ACT_DEBUG_STEP_OUT}, C, C && S && H);
    for (const int Id : {ACT_DEBUG_SET_NEXT_PC, ACT_DEBUG_SET_NEXT_STATEMENT, ACT_DEBUG_RUN_TO})
        SetCommandState(Id, C, C && HasActionParams(Id));
    SetBoth({ACT_DEBUG_CONNECT, ACT_DEBUG_DISCONNECT, ACT_DEBUG_DOWNLOAD, ACT_DEBUG_READ_INTO_INST_CACHE,
             ACT_DEBUG_DOWNLOAD_RESET},
            C);
    SetBoth({ACT_PROJECT_SET_DEVICE, ACT_PROJECT_SET_BRYLLO_SCRIPT, ACT_PROJECT_SET_HOST_IF, ACT_PROJECT_SET_TARGET_IF,
             ACT_PROJECT_SET_JTAG_CONFIG, ACT_PROJECT_SET_CORE_PLUGIN},
            !S);
    for (const int Id : {ACT_VIEW_INST_TRACE, ACT_VIEW_MEMORY, ACT_VIEW_PC, ACT_VIEW_PC_LINE}) {
        SetBoth({Id}, S);
        GetAction(Id)->setVisible(S);
    }
    GetAction(ACT_FILE_OPEN_RECENT)->setVisible(false);
    SetBoth({ACT_FILE_OPEN_RECENT}, true);
    const CBreakpointsDataModel& Points = CBreakpointsDataModel::Get();
    SetBoth({ACT_BREAK_CLEAR_ALL}, !Points.GetBreakpoints(true).isEmpty());
    SetBoth({ACT_BREAK_CLEAR_ALL_ON_DATA}, !Points.GetWatchpoints().isEmpty());
    SetBoth({ACT_TRACE_CLEAR_ALL_POINTS}, !Points.GetTracepoints().isEmpty());
    for (const int Id : {ACT_VIEW_DATA, ACT_VIEW_MEMORY_MAP, ACT_VIEW_SOURCE, ACT_VIEW_DISASSEMBLY, ACT_VIEW_CALL_GRAPH,
                         ACT_WATCH_ADD, ACT_WATCH_INSERT, ACT_WATCH_REMOVE, ACT_DATA_GRAPH_ADD})
        SetCommandState(Id, true, HasActionParams(Id));
    // What a menu can't do is grey there; console and keys get the reason.
    for (const SHOW_ACTION& Show : SHOW_ACTIONS)
        SetCommandState(Show.ID, true, m_WindowOfAction.contains(Show.ID));
    for (const int Id : {ACT_FILE_NEW_PROJECT_WIZARD, ACT_FILE_EXPORT_DISASSEMBLY, ACT_TOOLS_BRYLLO_SETTINGS,
                         ACT_TOOLS_TRACE_SETTINGS, ACT_TOOLS_PREFERENCES, ACT_TOOLS_SYS_VARS, ACT_HELP_USER_GUIDE})
        SetCommandState(Id, true, !IsCommandAbsent(Id));
    UpdateActionDebugHaltResume();
}

void CMainWindow::OnDeviceBPStateChanged()
{
    UpdateActions();
}

void CMainWindow::OnDeviceWPStateChanged()
{
    UpdateActions();
}

void CMainWindow::OnDeviceTPStateChanged()
{
    UpdateActions();
}

void CMainWindow::UpdateModeButtons()
{
    struct MODE_LOOK {
        int Action;
        const char* Icon;
    };
    static constexpr MODE_LOOK CONNECT_LOOKS[] = {{ACT_DEBUG_DOWNLOAD_RESET, "control-power-green"},
                                                  {ACT_DEBUG_ATTACH, "control-green"},
                                                  {ACT_DEBUG_ATTACH_HALT, "control-cursor-green"}};
    static constexpr MODE_LOOK RESET_LOOKS[] = {{ACT_DEBUG_RESET_HALT, "reset"},
                                                {ACT_DEBUG_RESET_BREAK_AT_SYMBOL, "arrow-stop-180"},
                                                {ACT_DEBUG_RESET_RUN, "reset-program"}};
    const auto Apply = [this](const MODE_LOOK* paLooks, I64 Mode, int MainCommand) {
        if (Mode < 0 || Mode > 2 || !m_apAction[size_t(MainCommand)]) return;
        const MODE_LOOK& Look = paLooks[Mode];
        QAction* pMain = m_apAction[size_t(MainCommand)];
        pMain->setIcon(GetIcon(QLatin1String(Look.Icon)));
        const ACTION_ROW* pRow = GetActionRow(Look.Action);
        pMain->setToolTip(QStringLiteral("%1 (%2)").arg(QLatin1String(GetActionToolTip(*pRow)),
                                                        QLatin1String(GetActionRow(MainCommand)->HotKey)));
        pMain->setStatusTip(QLatin1String(pRow->Description));
    };
    Apply(CONNECT_LOOKS, GetVarValue(VAR_CONNECT_MODE), ACT_DEBUG_START);
    Apply(RESET_LOOKS, GetVarValue(VAR_RESET_MODE), ACT_DEBUG_RESET);
}
