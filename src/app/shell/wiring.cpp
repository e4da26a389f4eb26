#include "app/shell/wiring.h"

#include "app/actions/actions.h"
#include "app/actions/constants.h"
#include "app/console/consolewindow.h"
#include "app/services/diaglog.h"
#include "app/services/log.h"
#include "app/services/messages.h"
#include "app/shell/commandtable.h"
#include "app/shell/elfdiag.h"
#include "app/shell/mainwindow.h"
#include "app/shell/sourcestats.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "device/stepping/devicestepping.h"
#include "device/target/devicetarget.h"
#include "program/datafiles/fileworker.h"
#include "program/elf/elf.h"
#include "program/eval/evalhooks.h"
#include "program/eval/expression.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"
#include "project/file/project.h"
#include "project/file/projectcommands.h"
#include "project/finder/filefinder.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"
#include "targetio/semihost/semihostdevice.h"
#include "views/framework/messagebox.h"
#include "views/framework/statusbar.h"

#include <QFileInfo>
#include <algorithm>
#include <climits>
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
    Hooks.CanonicalizeParams = [](int Id) {
        CanonicalizeSettingsParams(Id);
        CanonicalizeModeParam(Id);
    };
    Hooks.CheckStringArg = BScript::CheckStringArg;
    Hooks.ReadStringArg = BScript::ReadStringArg;
    Hooks.WaitJob = [](int JobType, int Flag) { CDevice::Get().WaitUntilDone(U32(JobType), Flag != 0); };
    Hooks.GetNumAddrsOfLocation = GetNumBreakAddrs;
    SetActionHooks(Hooks);
    BScript::BindSettings();
}

void WireScript()
{
    BSCRIPT_HOOKS Hooks;
    Hooks.IsProjectClosing = [] { return CMainWindow::Exists() && CMainWindow::Get().GetSession().Closing; };
    Hooks.EvalExpr = [](const QString& sExpr, I64* pValue) { return EVAL_GetInteger(sExpr, pValue); };
    Hooks.ShowConsole = [] {
        CMainWindow::Get().ShowWindow(QStringLiteral("Console"));
        CMainWindow::Get().ShowScriptError();
    };
    // A long run shows in the status bar, whose button ends it.
    static bool s_IsShown = false;
    Hooks.IsRunCanceled = [] {
        CStatusBar& Bar = CStatusBar::Get();
        if (s_IsShown) return Bar.WasCanceled();
        if (Bar.IsProgressRunning()) return false;
        Bar.SetProgressMessage(QStringLiteral("Executing script..."));
        Bar.StartProgress(0, 0);
        s_IsShown = true;
        return false;
    };
    Hooks.RunEnded = [] {
        if (s_IsShown) CStatusBar::Get().EndProgress();
        s_IsShown = false;
        OnSourcePathsSettled();
    };
    Hooks.GetEventBody = [](int EventId) { return Core_GetEventBody(U32(EventId)); };
    BScript::SetHooks(Hooks);
}

void WireFinder()
{
    FILEFINDER_HOOKS Hooks;
    Hooks.ProjectPath = [] { return BScript::GetProjectPath(); };
    Hooks.ProgramFile = [] { return CProject::Get().GetProgramFile(); };
    Hooks.QualifySrcPath = [](const QString& sPath) { return PROG_GetFilePath(PROG_GetFile(sPath)); };
    CFileFinder::Get().SetHooks(Hooks);
    WireSourceStats();
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
        if (Addr > ADDR_NONE) return -1;
        return CDeviceTarget::Get().ReadMemBlocking(U32(Addr), nullptr, Size, pBuffer, nullptr);
    };
    Hooks.ReadTargetCache = [](U64 Addr, U32 Size, void* pBuffer) {
        return Addr > ADDR_NONE ? -1 : CDeviceDataManager::ReadImage(U32(Addr), Size, pBuffer);
    };
    Hooks.SizeRegCache = [](U32 NumSlots) { CDeviceDataManager::Get().InitRegCache(NumSlots); };
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
        const CCallFrame& Frame = Stack.GetFrame(std::max(Stack.GetSelectedFrame(), 0));
        if (CDevice::Get().IsHalted() && Stack.IsPCValid(Frame)) return U32(Stack.GetPC(Frame));
        return CDevice::Get().IsHalted() ? CDevice::Get().GetPC() : ADDR_NONE;
    };
    Hooks.GetLocationPC = [] {
        const CCallStack& Stack = CCallStack::GetInstance();
        const CCallFrame& Frame = Stack.GetFrame(std::max(Stack.GetSelectedFrame(), 0));
        return CDevice::Get().IsHalted() && Stack.IsPCValid(Frame) ? U32(Stack.GetLocationPC(Frame)) : EVAL_GetHooks().GetFramePC();
    };
    Hooks.GetFrameFunction = [] {
        const CCallStack& Stack = CCallStack::GetInstance();
        const CCallFrame& Frame = Stack.GetFrame(std::max(Stack.GetSelectedFrame(), 0));
        return CDevice::Get().IsHalted() && Stack.IsPCValid(Frame) ? Frame.hFunc : 0;
    };
    Hooks.ResolveLoc = [](const ELF_SYM_LOC& Loc) {
        const CCallStack& Stack = CCallStack::GetInstance();
        const CCallFrame& Frame = Stack.GetFrame(std::max(Stack.GetSelectedFrame(), 0));
        // Without a frame only what lies at a fixed place has a location.
        return Frame.IsEmpty() && (ELF_LocIsMemory(Loc) && Loc.aPart[0].Type == ELF_LOC_MEM_FIXED)
                   ? Loc
                   : Stack.ResolveLocation(Frame, Loc);
    };
    Hooks.ResolvePieces = [](ELF_SYM_HANDLE hSym) {
        const CCallStack& Stack = CCallStack::GetInstance();
        return Stack.ResolvePieces(Stack.GetFrame(std::max(Stack.GetSelectedFrame(), 0)), hSym);
    };
    Hooks.ReadLoc = ReadLocBlocking;
    Hooks.WriteLoc = [](const ELF_SYM_LOC& Loc, U32 nBytes, const U8* paData) {
        return CDeviceDataManager::Get().WriteSymDataAsync(Loc, nBytes, nullptr, paData);
    };
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

/// The unwinder's way to target data: answers come back through a listener of its own.
class CUnwindReader : public CDeviceEventListener {
public:
    /// Asks for what lies at the location itself: the unwinder adds the location's offset to the answer.
    int Read(const ELF_SYM_LOC& Loc, U32 nBytes)
    {
        m_Asked = m_Plain = Loc;
        m_Plain.aPart[0].Offset = 0;
        return CDeviceDataManager::Get().ReadSymDataCached(this, m_Plain, nBytes, nullptr) == CDeviceDataManager::REFUSED
                   ? -1
                   : 0;
    }
    void OnDeviceReadLocDone(const ELF_SYM_LOC& Loc, U32 nBytes, const char*, U8* paData) override
    {
        if (ELF_LocIsEqual(Loc, m_Plain)) CCallStack::GetInstance().OnReadLocDone(m_Asked, nBytes, paData);
    }
    void OnDeviceReadLocFailed(const ELF_SYM_LOC& Loc, U32 nBytes, const char*, U8*) override
    {
        if (ELF_LocIsEqual(Loc, m_Plain)) CCallStack::GetInstance().OnReadLocDone(m_Asked, nBytes, nullptr);
    }
    void OnDeviceReadLocsDone(U32 Cnt, ELF_SYM_LOC*, U64* paValues, U8* paStatus, U32 Tag) override
    {
        CCallStack::GetInstance().OnReadLocsDone(Tag, Cnt, paValues, paStatus);
    }
    void OnDeviceReadLocsFailed(U32, ELF_SYM_LOC*, U32 Tag) override { CCallStack::GetInstance().OnReadLocsFailed(Tag); }

    // It stands before all windows in the list of listeners: what they unwind next begins with the new registers.
    void OnDeviceHaltDone(U32, HALT_REASONS) override { CCallStack::GetInstance().Invalidate(); }
    void OnDeviceStepped(U32) override { CCallStack::GetInstance().Invalidate(); }
    void OnDeviceResetDone(U32, RESET_MODES) override { CCallStack::GetInstance().Invalidate(); }
    void OnDeviceWriteAccess() override { CCallStack::GetInstance().Invalidate(); }
    void OnDeviceResumeDone(RESUME_MODES) override { CCallStack::GetInstance().Invalidate(); }
    void OnDeviceDisconnectDone() override { CCallStack::GetInstance().Clear(); }

private:
    ELF_SYM_LOC m_Asked{}; ///< the location under way, as the unwinder knows it
    ELF_SYM_LOC m_Plain{}; ///< and without its offset
};

CUnwindReader* s_pUnwindReader = nullptr;

void WireUnwinder()
{
    if (!s_pUnwindReader) s_pUnwindReader = new CUnwindReader;
    UNWIND_HOOKS Hooks;
    Hooks.IsTargetHalted = [] { return CDevice::Get().IsConnected() && CDevice::Get().IsHalted(); };
    Hooks.ReadLoc = [](const ELF_SYM_LOC& Loc, U32 NumBytes) { return s_pUnwindReader->Read(Loc, NumBytes); };
    Hooks.ReadMem = [](U32 Addr, U32 NumBytes, void* pData) {
        return CDeviceDataManager::Get().ReadMemBlocking(Addr, NumBytes, pData);
    };
    Hooks.ReadLocs = [](U32 Count, const ELF_SYM_LOC* paLoc, U32 Tag) {
        return CDevice::Get().ReadLocsAsync(Count, paLoc, Tag);
    };
    Hooks.SetTopReturnAddr = [](U64 ReturnAddr) {
        CDeviceTarget::Get().SetReturnAddr(ReturnAddr);
    };
    Hooks.GetDepthLimit = [] { return U32(std::max<I64>(GetVarValue(PREF_CALLSTACK_DEPTH_LIMIT), 1)); };
    UNWIND_SetHooks(Hooks);
    CCallStack::RegisterHooks();
}

void WireBreakpointLogic()
{
    BREAKPOINT_HOOKS Hooks;
    Hooks.EvalCondition = [](const QString& sExpr, U32) {
        BP_COND_RESULT Result;
        CExpression Expr(sExpr);
        if (Expr.GetResultCode() == EXPR_SYNTAX_ERROR) {
            Result.Kind = BP_COND_PARSE_ERROR;
            return Result;
        }
        // The stack is that of the last halt that was reported; this one is judged before.
        CCallStack::GetInstance().Invalidate();
        CCallStack::GetInstance().UpdateTopFrame();
        if (Expr.Evaluate() < 0) {
            Result.Kind = Expr.GetResult().IsEmpty() && Expr.GetError().isEmpty() ? BP_COND_NO_RESULT : BP_COND_EVAL_ERROR;
            Result.Error = Expr.GetError();
            return Result;
        }
        CSymbol Value = Expr.GetResult();
        Value.Read();
        double Double = 0;
        if (EVAL_IsFloat(Value.Type) && Value.GetDouble(&Double))
            Result.Value = Double != 0;
        else if (!Value.GetInteger(&Result.Value))
            Result.Kind = BP_COND_UNREADABLE;
        return Result;
    };
    Hooks.CallScript = [](const QString& sFunc) { BScript::ExecScriptFunction(sFunc); };
    Hooks.ShowConsoleMsg = [](const QString& sText) { CConsoleWindow::Get().PrintInColor(sText, COLOR_LOGGING_SCRIPT); };
    Hooks.ShowPopupMsg = [](const QString& sTitle, const QString& sText) { CMessageBox::ShowInfo(sTitle, sText); };
    Hooks.GetSourceText = [](const CSrcLoc& Loc) { return GetSrcLineText(Loc); };
    BP_SetHooks(Hooks);
}

/// Reading and saving of data files show in the status bar, which is drawn between two chunks of a file.
void WireDataFiles()
{
    BFile::PROGRESS_HOOKS Hooks;
    Hooks.Start = [](const QString& sText, qint64 Maximum) {
        CStatusBar::Get().SetProgressMessage(sText);
        CStatusBar::Get().StartProgress(0, int(std::min<qint64>(Maximum, INT_MAX)));
        CStatusBar::Get().Flush();
    };
    Hooks.Set = [](qint64 Value) {
        CStatusBar::Get().SetProgressValue(int(std::min<qint64>(Value, INT_MAX)));
        CStatusBar::Get().Flush();
        CStatusBar::Get().repaint();
    };
    Hooks.End = [] { CStatusBar::Get().EndProgress(); };
    BFile::CFileWorker::Instance().SetProgressHooks(Hooks);
}

} // namespace

void WireLayers()
{
    ELF_SetDiagCallback(OnElfDiag);
    DEVICE_RegisterTarget();
    DEVICE_RegisterStepping();
    SEMIHOST_Register();
    WireActions();
    WireScript();
    WireFinder();
    Core::RegisterHooks();
    WireCore();
    WireEvaluator();
    WireUnwinder();
    WireBreakpointLogic();
    WireDataFiles();
}
