#include "app/shell/wiring.h"

#include "app/actions/actions.h"
#include "app/actions/constants.h"
#include "app/console/consolewindow.h"
#include "app/services/diaglog.h"
#include "app/services/log.h"
#include "app/services/messages.h"
#include "app/shell/mainwindow.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "device/target/devicetarget.h"
#include "program/elf/elf.h"
#include "program/eval/evalhooks.h"
#include "program/eval/expression.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"
#include "project/file/project.h"
#include "project/finder/filefinder.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"

#include <QFileInfo>
#include <cstring>

namespace {

void WireActions()
{
    ACTION_HOOKS Hooks;
    Hooks.PrintError = [](const QString& sText, const QString& sError) { CConsoleWindow::Get().PrintError(sText, sError); };
    Hooks.GetSrcLocText = [](const QString& sText) {
        const CSrcLoc Loc = PROG_ParseSrcLoc(sText);
        return Loc.IsValid() ? PROG_GetSrcLocText(Loc) : QString();
    };
    Hooks.CheckStringArg = [](I64 Value, const QString& sName) {
        return BScript::CheckStringArg(Value, sName.toUtf8().constData());
    };
    Hooks.ReadStringArg = [](I64 Value) { return QString::fromUtf8(reinterpret_cast<const char*>(Value)); };
    Hooks.WaitJob = [](int JobType, int Flag) { CDevice::Get().WaitForJobAndEvent(U32(JobType), Flag != 0); };
    Hooks.GetNumAddrsOfLocation = [](const QString& sLocation) {
        const CSrcLoc Loc = PROG_ParseSrcLoc(sLocation);
        return Loc.IsValid() ? int(PROG_GetAddrs(Loc).size()) : 1;
    };
    SetActionHooks(Hooks);
    BScript::BindSettings();
}

void WireScript()
{
    BSCRIPT_HOOKS Hooks;
    Hooks.IsProjectClosing = [] { return CMainWindow::Exists() && CMainWindow::Get().GetSession().Closing; };
    Hooks.EvalExpr = [](const QString& sExpr, I64* pValue) { return EVAL_GetInteger(sExpr, pValue); };
    Hooks.ShowConsole = [] { CMainWindow::Get().ShowWindow(QStringLiteral("Console")); };
    Hooks.HasNewWarnings = [] { return CProject::Get().HasNewWarnings(); };
    BScript::SetHooks(Hooks);
}

void WireFinder()
{
    FILEFINDER_HOOKS Hooks;
    Hooks.ProjectPath = [] { return BScript::GetProjectPath(); };
    Hooks.ProgramFile = [] { return CProject::Get().GetProgramFile(); };
    CFileFinder::Get().SetHooks(Hooks);
}

void WireCore()
{
    CORE_HOOKS& Hooks = Core_GetHooks();
    Hooks.GetProjectPluginPath = [] { return CProject::Get().GetCorePluginFile(); };
    Hooks.GetByteOrders = [](U32* pData, U32* pInst) {
        *pData = CDevice::Get().State.DataEndian;
        *pInst = CDevice::Get().State.InstEndian;
    };
    Hooks.LockDevice = [] { CDevice::Get().GetDeviceMutex().lock(); };
    Hooks.UnlockDevice = [] { CDevice::Get().GetDeviceMutex().unlock(); };
    Hooks.CanReadTarget = [] { return CDevice::Get().IsConnected() && CDevice::Get().State.HaltedRaw; };
    Hooks.ReadTarget = [](U64 Addr, U32 Size, void* pBuffer) {
        return CDeviceTarget::Get().ReadMemBlocking(U32(Addr), nullptr, Size, pBuffer, nullptr);
    };
    Hooks.SizeRegCache = [](U32 NumSlots) { CDeviceDataManager::Get().InitRegCache(NumSlots); };
    Hooks.ReadProgramData = [](U64 Addr, U32 Size, void* pBuffer) {
        return PROG_ReadBytes(U32(Addr), Size, pBuffer) == int(Size) ? int(Size) : -1;
    };
    Hooks.GetProgramRange = [](U64* paRange) {
        U64 LowVirt = ~0ull, LowLoad = ~0ull;
        for (const PROG_BLOCK& Block : PROG_GetBlocks()) {
            LowVirt = std::min(LowVirt, Block.VirtAddr);
            LowLoad = std::min(LowLoad, Block.LoadAddr);
        }
        paRange[0] = LowVirt;
        paRange[1] = LowLoad;
        const U32 Entry = PROG_GetEntryPoint();
        paRange[2] = Entry == ADDR_NONE ? ~0ull : Entry;
        return 0;
    };
}

/// Reads one location for the evaluator. Blocks on the target, as every evaluation does.
int ReadLocBlocking(const ELF_SYM_LOC& Loc, U32 nBytes, U8* paData)
{
    return CDeviceDataManager::Get().ReadSymDataBlocking(Loc, nBytes, nullptr, paData) == 0 ? 0 : -1;
}

void WireEvaluator()
{
    EVAL_HOOKS Hooks;
    Hooks.IsConnected = [] { return CDevice::Get().IsConnected(); };
    Hooks.GetFramePC = [] {
        const CCallStack& Stack = CCallStack::GetInstance();
        const CCallFrame& Frame = Stack.GetSelectedFrame();
        if (Frame.Index >= 0) return U32(Stack.GetFramePC(Frame));
        return CDevice::Get().IsHalted() ? CDevice::Get().GetPC() : ADDR_NONE;
    };
    Hooks.ResolveLoc = [](const ELF_SYM_LOC& Loc) {
        CCallStack& Stack = CCallStack::GetInstance();
        return Stack.ResolveLocation(Stack.GetSelectedFrame(), Loc);
    };
    Hooks.ReadLoc = ReadLocBlocking;
    Hooks.ReadMem = [](U32 Addr, U32 nBytes, U8* paData) {
        return CDeviceDataManager::Get().ReadMemBlocking(Addr, nBytes, paData) == 0 ? 0 : -1;
    };
    Hooks.FindConstant = [](const QString& sName, I64* pValue) { return GetConstantValue(sName, pValue); };
    Hooks.FindSysVar = [](const QString& sName, I64* pValue) {
        const int Index = GetVarIndex(sName);
        if (Index < 0) return false;
        *pValue = GetVarValue(Index);
        return true;
    };
    EVAL_SetHooks(Hooks);
}

/// A diagnostic of the program file reader: the ready text, or the message of the table.
void OnElfDiag(const ELF_DIAG* pDiag)
{
    const U64 hProgram = U64(reinterpret_cast<quintptr>(ELF_GetCurrentFile()));
    LogProgramDiag(GetElfDiagText(*pDiag), pDiag->Flags, hProgram);
}

} // namespace

void WireLayers()
{
    ELF_SetDiagCallback(OnElfDiag);
    DEVICE_RegisterTarget();
    DEVICE_RegisterStepping();
    WireActions();
    WireScript();
    WireFinder();
    Core::RegisterHooks();
    WireCore();
    WireEvaluator();
}
