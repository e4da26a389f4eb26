#include "device/stepping/devicestepping.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "platform/probe/bryllo.h"
#include "program/tables/prog.h"

#include <algorithm>

namespace {
/// Two instructions first: a line that is left, or a call that is entered that soon, needs nothing more.
constexpr U32 FIRST_SINGLE_STEPS = 2;

bool IsOtherLine(const CSrcLoc& Loc, U32 File, U32 Line)
{
    return Loc.File != File || Loc.Line != Line;
}
U32 InstSize(U64 Addr)
{
    CORE_INST_INFO Inst = {};
    Core::ReadInst(&Inst, Addr);
    return Inst.Length > 0 ? U32(Inst.Length) : 0;
}
} // namespace

CDeviceStepping& CDeviceStepping::Get()
{
    static auto* pStepping = new CDeviceStepping;
    return *pStepping;
}

void CDeviceStepping::_StoreContext()
{
    const DEVICE_STATE& State = _State();
    m_Context = SRC_STEP_CONTEXT();
    m_Context.PC = State.PC;
    m_Context.SP = State.SP;
    m_Context.ReturnAddr = State.ReturnAddr;
    m_Context.PCStatus = State.PCStatus;
    m_Context.SPStatus = State.SPStatus;
    m_Context.ReturnAddrStatus = State.ReturnAddrStatus;
    m_Context.SrcFile = State.SrcFile;
    m_Context.SrcLine = State.SrcLine;
    m_Context.Function = PROG_GetFunctionAt(U32(m_Context.PC), 0);
    m_Context.ReturnFunction = PROG_GetFunctionAt(U32(m_Context.ReturnAddr), 0);
}

int CDeviceStepping::_Finish()
{
    _State().PendingJob = 0;
    _Target().OnStepped();
    _State().SrcStepActive = 0;
    return 0;
}

/// A run that is to complete the step's job. 1 when the target was resumed.
int CDeviceStepping::_RunTo(U64 Addr, U32 PendingJob)
{
    _State().PendingJob = PendingJob;
    const int Ret = _Target().RunTo(Addr);
    if (Ret != 1) _State().PendingJob = 0;
    return Ret;
}

// ---- Single instructions -------------------------------------------------------------------------------

int CDeviceStepping::StepInstBasic()
{
    DEVICE_STATE& State = _State();
    if (!State.Connected) return -1;
    const int Answer = BRYLLOARM_Step();
    State.ReturnAddr = 0;
    State.ReturnAddrStatus = DATA_INVALID;
    State.NewInstTraceData = 1;
    // A step that fails may have lost the target to a run; then the watcher takes over.
    if (Answer != 0 && State.Connected) _Target().TestConnectionLost();
    return Answer;
}

int CDeviceStepping::StepInst()
{
    if (!_Target().IsReadyToStep()) return -1;
    if (StepInstBasic() != 0) return -1;
    _Target().OnStepped();
    return 0;
}

/// One instruction, then the registers. False when the step failed.
bool CDeviceStepping::_StepAndRead(U64* pPC, U64* pSP)
{
    if (StepInstBasic() != 0) return false;
    _Target().ReadReg(Core_GetPCRegId(), pPC);
    // A semihosting request inside of a line is served on the way, as a run would serve it.
    auto* pfSemihosting = TARGET_GetHooks().CheckHandleSemihostingIRQ;
    const int Stop = pfSemihosting ? pfSemihosting(U32(*pPC), false) : SEMIHOST_STOP_NONE;
    if (Stop == SEMIHOST_STOP_SERVED) _Target().ReadReg(Core_GetPCRegId(), pPC);
    if (pSP) _Target().ReadReg(Core_GetSPRegId(), pSP);
    return Stop != SEMIHOST_STOP_PENDING;
}

// ---- Tests ---------------------------------------------------------------------------------------------

bool CDeviceStepping::_HasLineInfo(const CAddrRange& Range) const
{
    if (PROG_HasSrcLoc(Range.Start)) return true;
    const I64 Next = PROG_GetNextMappedAddr(Range.Start);
    return Next >= 0 && U64(Next) < Range.End();
}

bool CDeviceStepping::_IsUserBPOnNewLine(U32 PC, const CSrcLoc& Loc, U32 File, U32 Line) const
{
    return _Target().GetBreakpoint(PC).State == BP_STATE_ON && IsOtherLine(Loc, File, Line);
}

bool CDeviceStepping::_IsNewLine(U32 StartPC, U32 PC, const CSrcLoc& Loc, U32 File, U32 Line) const
{
    if (!PROG_HasSrcLoc(PC)) return false;
    return !PROG_HasSrcLoc(StartPC) || IsOtherLine(Loc, File, Line);
}

// ---- Step into -----------------------------------------------------------------------------------------

int CDeviceStepping::StepIntoSimple()
{
    CDevice& Dev = _Dev();
    DEVICE_STATE& State = _State();
    const U32 StartPC = U32(State.PC.Get());
    const ELF_SYM_HANDLE StartFunc = PROG_GetFunctionAt(StartPC, 0);
    const U32 File = State.SrcFile;
    const U32 Line = State.SrcLine;
    U64* const paVisited = m_Context.aVisitedPC;
    U64 PC = StartPC;
    U32 NumSteps = 0;
    while (NumSteps < MAX_STEP_INSTS && !Dev.IsStopping()) {
        paVisited[NumSteps] = PC;
        if (!_StepAndRead(&PC, nullptr)) break;
        NumSteps++;
        const U32 PC32 = U32(PC);
        const CSrcLoc Loc = PROG_GetFirstSrcLoc(PC32);
        const ELF_SYM_HANDLE Func = PROG_GetFunctionAt(PC32, 0);
        const char* sEnd = nullptr;
        if (_IsUserBPOnNewLine(PC32, Loc, File, Line))
            sEnd = "User breakpoint hit";
        else if (std::find(paVisited, paVisited + NumSteps, PC) != paVisited + NumSteps)
            sEnd = "Circular step sequence encountered";
        else if (_IsNewLine(StartPC, PC32, Loc, File, Line))
            sEnd = "PC is on a new source line";
        else if (!Func && StartFunc)
            sEnd = "Unknown function was entered";
        else if (!_HasLineInfo(PROG_GetSymRange(Func)))
            sEnd = "Function was entered that has no source line info";
        if (sEnd) {
            Dev.LogDebugMsg("%s", sEnd);
            break;
        }
    }
    Dev.LogDebugMsg("Stepped %d machine instruction(s)", int(NumSteps));
    State.PC = PC;
    State.PCStatus = DATA_VALID;
    return 0;
}

int CDeviceStepping::StepInto()
{
    if (!_Target().IsReadyToStep()) return -1;
    _Dev().LogDebugMsg("-------------------- Step Into -------------------------");
    _State().SrcStepActive = 1;
    StepIntoSimple();
    return _Finish();
}

// ---- Step over -----------------------------------------------------------------------------------------

/// The address behind the call, where the function that was entered comes back to.
void CDeviceStepping::_SetReturnAddr(U64 CallAddr)
{
    const U32 Align = std::max(Core_GetStaticInfo().InstAlignment, 1u);
    const U64 Addr = CallAddr + InstSize(CallAddr);
    _State().ReturnAddr = Addr - Addr % Align;
    _State().ReturnAddrStatus = DATA_VALID;
}

/// One instruction of a step over and the verdict on it; *pIsOver tells whether the answer ends the loop.
int CDeviceStepping::_OverRound(U64* pPC, U64* pSP, U32 MaxSingleSteps, bool* pIsOver)
{
    CDevice& Dev = _Dev();
    SRC_STEP_CONTEXT& Ctx = m_Context;
    *pIsOver = true;
    if (Ctx.NumSteps >= MAX_STEP_INSTS) return OVER_STOPPED;
    Ctx.aVisitedPC[Ctx.NumSteps++] = *pPC;
    if (!_StepAndRead(pPC, pSP)) return OVER_STOPPED;

    const U32 PC = U32(*pPC);
    const U32 StartPC = U32(Ctx.PC);
    const ELF_SYM_HANDLE Func = PROG_GetFunctionAt(PC, 0);
    const CSrcLoc Loc = PROG_GetFirstSrcLoc(PC);
    const bool IsNewFunc = Func && Func != Ctx.Function && Func != Ctx.ReturnFunction && *pSP <= Ctx.SP;
    const bool IsInlined = IsNewFunc && PROG_GetSymTag(Func) == ELF_TAG_INLINED_SUBROUTINE;

    auto End = [&](const char* sText, int Answer) {
        Dev.LogDebugMsg("%s", sText);
        return Answer;
    };
    if (_IsUserBPOnNewLine(PC, Loc, Ctx.SrcFile, Ctx.SrcLine)) return End("User breakpoint hit", OVER_DONE);
    U64* const pEnd = Ctx.aVisitedPC + Ctx.NumSteps;
    if (std::find(Ctx.aVisitedPC, pEnd, *pPC) != pEnd)
        return End("Circular step sequence encountered", OVER_CIRCULAR);
    if (IsNewFunc && !IsInlined) {
        _SetReturnAddr(pEnd[-1]);
        return End("Function was entered", OVER_ENTERED);
    }
    // The lines of an inlined instance do not end the step.
    if (!IsInlined && _IsNewLine(StartPC, PC, Loc, Ctx.SrcFile, Ctx.SrcLine))
        return End("PC is on a new source line", OVER_DONE);
    if (!Func && Ctx.Function) {
        _SetReturnAddr(pEnd[-1]);
        return End("Unknown function was entered", OVER_ENTERED);
    }
    if (!_HasLineInfo(PROG_GetSymRange(_State().FuncHandle)))
        return End("Function was entered that has no source line info", OVER_DONE);
    if (Ctx.NumSteps >= MaxSingleSteps) return End("Maximum step count reached", OVER_MAX_STEPS);
    if (Dev.IsStopping()) return OVER_STOPPED;
    *pIsOver = false;
    return OVER_STOPPED;
}

int CDeviceStepping::StepOverSimple(U32 MaxSingleSteps)
{
    DEVICE_STATE& State = _State();
    U64 PC = State.PC;
    U64 SP = State.SP;
    int Answer = OVER_STOPPED;
    for (bool IsOver = false; !IsOver;) Answer = _OverRound(&PC, &SP, MaxSingleSteps, &IsOver);
    _Dev().LogDebugMsg("Stepped a total of %d machine instruction(s)", int(m_Context.NumSteps));
    State.PC = PC;
    State.SP = SP;
    State.PCStatus = DATA_VALID;
    State.SPStatus = DATA_VALID;
    return Answer;
}

/// The next line's address, where nothing between here and there may branch away. 0, or -1.
int CDeviceStepping::_GetNextLineAddrInFunction(U32 FuncAddr, const CSrcLoc& Loc, U32* pAddr) const
{
    const CSrcLoc Next = PROG_GetNextLineWithCode(CSrcLoc(Loc.File, Loc.Line + 1));
    if (!Next.IsValid()) return -1;
    const I64 First = PROG_GetFirstAddr(Next);
    if (First < 0 || First <= I64(FuncAddr) || First > 0xFFFFFFFE) return -1;
    const U32 Addr = U32(First);
    const ELF_SYM_HANDLE Func = PROG_GetFunctionAt(FuncAddr, 0);
    if (!Func || PROG_GetFunctionAt(Addr, 0) != Func) return -1;
    if (!Core::IsLinear(FuncAddr, Addr)) return -1;
    *pAddr = Addr;
    return 0;
}

int CDeviceStepping::StepOver(bool DoStoreContext)
{
    CDevice& Dev = _Dev();
    DEVICE_STATE& State = _State();
    if (!_Target().IsReadyToStep()) return -1;
    Dev.LogDebugMsg("-------------------- Step Over -------------------------");
    State.SrcStepActive = 1;
    if (DoStoreContext) _StoreContext();

    int Answer = StepOverSimple(FIRST_SINGLE_STEPS);
    if (Answer != OVER_DONE && !Dev.IsStopping()) {
        U32 Addr = 0;
        const CSrcLoc Loc(m_Context.SrcFile, m_Context.SrcLine);
        if (_GetNextLineAddrInFunction(U32(m_Context.PC), Loc, &Addr) == 0 && _RunTo(Addr, BT_STEP_OVER) == 1) return 1;
    }
    if (Answer == OVER_MAX_STEPS) Answer = StepOverSimple(MAX_STEP_INSTS);
    Dev.SetStatusMsg("CPU halted");
    if (Answer == OVER_ENTERED) {
        Dev.LogDebugMsg("Stepping out");
        if (State.ReturnAddr != State.PC) {
            if (State.ReturnAddrStatus != DATA_VALID) return StepOut();
            if (_RunTo(State.ReturnAddr, BT_STEP_OVER) == 1) return 1;
        }
    }
    if (Answer == OVER_CIRCULAR && State.PC != m_Context.PC) {
        Dev.LogDebugMsg("Stepping out of circular instruction sequence");
        const U32 PC = U32(State.PC.Get());
        U32 Next = 0;
        if (PROG_GetNextLineAddr(PC, &Next) == 0 && PROG_GetFunctionAt(Next, 0) == PROG_GetFunctionAt(PC, 0) &&
            _RunTo(Next, BT_STEP_OVER) == 1)
            return 1;
    }
    return _Finish();
}

// ---- Step out ------------------------------------------------------------------------------------------

int CDeviceStepping::StepOutSimple()
{
    CDevice& Dev = _Dev();
    DEVICE_STATE& State = _State();
    const U64 StartSP = State.SP;
    U64 PC = State.PC;
    U64 SP = StartSP;
    U32 NumSteps = 0;
    while (NumSteps < MAX_STEP_INSTS && !Dev.IsStopping()) {
        if (!_StepAndRead(&PC, &SP)) break;
        NumSteps++;
        if (SP > StartSP) {
            Dev.LogDebugMsg("Function was exited");
            break;
        }
    }
    Dev.LogDebugMsg("Stepped %d machine instruction(s)", int(NumSteps));
    State.PC = PC;
    State.SP = SP;
    State.PCStatus = DATA_VALID;
    State.SPStatus = DATA_VALID;
    return 0;
}

int CDeviceStepping::StepOut()
{
    DEVICE_STATE& State = _State();
    if (!_Target().IsReadyToStep()) return -1;
    _Dev().LogDebugMsg("-------------------- Step Out -------------------------");
    _Dev().SetStatusMsg("Stepping out...");
    State.SrcStepActive = 1;
    if (State.ReturnAddrStatus == DATA_VALID && _RunTo(State.ReturnAddr, BT_STEP_OUT) == 1) return 1;
    StepOutSimple();
    return _Finish();
}

// ---- The halt on the hidden breakpoint -----------------------------------------------------------------

int CDeviceStepping::CompleteSrcStepOnHiddenBP(U32 PC)
{
    DEVICE_STATE& State = _State();
    const U32 Job = State.PendingJob;
    auto Finish = [&] {
        // The halt sequence still reports the job.
        _Target().OnStepped();
        State.SrcStepActive = 0;
        return 0;
    };
    if (Job != BT_STEP_INTO && Job != BT_STEP_OVER) return Finish();
    if (PROG_HasSrcLoc(PC)) {
        if (PC == m_Context.PC) return Finish();
        const CSrcLoc Start = PROG_GetFirstSrcLoc(U32(m_Context.PC));
        const QList<CSrcLoc> Locs = PROG_GetSrcLocs(PC);
        const bool IsOnStartLine =
            std::any_of(Locs.begin(), Locs.end(), [&](const CSrcLoc& Loc) { return Loc.IsSameLine(Start); });
        if (!IsOnStartLine) return Finish();
    }
    _Dev().LogDebugMsg("Continueing source step after resume/halt cycle");
    _Target().RemoveHiddenBreakpoint();
    if (StepOver(false) == 1) return 1;
    return Finish();
}

// ---- Registration --------------------------------------------------------------------------------------

void DEVICE_RegisterStepping()
{
    CDevice::SetExecutor(BT_STEP_INST, [](CDevice&, DEVICE_JOB&) { return CDeviceStepping::Get().StepInst(); });
    CDevice::SetExecutor(BT_STEP_INTO, [](CDevice&, DEVICE_JOB&) { return CDeviceStepping::Get().StepInto(); });
    CDevice::SetExecutor(BT_STEP_OVER, [](CDevice&, DEVICE_JOB&) { return CDeviceStepping::Get().StepOver(true); });
    CDevice::SetExecutor(BT_STEP_OUT, [](CDevice&, DEVICE_JOB&) { return CDeviceStepping::Get().StepOut(); });
    TARGET_HOOKS Hooks = TARGET_GetHooks();
    Hooks.CompleteSrcStepOnHiddenBP = [](U32 PC) { return CDeviceStepping::Get().CompleteSrcStepOnHiddenBP(PC); };
    TARGET_SetHooks(Hooks);
}
