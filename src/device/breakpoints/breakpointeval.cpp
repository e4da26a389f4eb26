// CBreakpointsDataModel: editing of conditions and extras, the decision on a hit, and what a halt sets off.
#include "app/services/log.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/breakpoints/breakpointtext.h"
#include "device/queue/device.h"
#include "device/target/devicetarget.h"
#include "program/tables/prog.h"

void CBreakpointsDataModel::EditBreakpoint(const CBreakpoint& Record)
{
    if (Record.IsSource())
        _EditSourceBreakpoint(Record);
    else
        _EditInstructionBreakpoint(Record);
    UpdateFromDevice();
}

bool CBreakpointsDataModel::_EditInstructionBreakpoint(const CBreakpoint& Record)
{
    if (Record.Addr == ~U64(0)) return false;
    const auto It = m_Instructions.find(U32(Record.Addr));
    if (It == m_Instructions.end()) {
        LogError("cannot edit breakpoint: breakpoint is not set");
        return false;
    }
    // A value of another condition is nothing to compare with.
    const bool SameCondition = It->Condition == Record.Condition;
    const I64 LastValue = It->LastValue;
    *It = Record;
    It->LastValue = SameCondition ? LastValue : -1;
    CDeviceTarget::Get().Lists.BpListSetCondition(U32(Record.Addr), Record.HasCondition());
    return true;
}

void CBreakpointsDataModel::_EditSourceBreakpoint(const CBreakpoint& Record)
{
    const auto It = m_Sources.find(_GetKey(Record.Loc));
    if (It == m_Sources.end()) {
        LogError("cannot edit breakpoint: breakpoint is not set");
        return;
    }
    *It = Record;
    for (U32 Addr : GetDerivedAddrs(Record.Loc)) {
        CBreakpoint Derived = Record;
        Derived.Addr = Addr;
        Derived.Loc = CSrcLoc();
        if (const auto Old = m_Instructions.constFind(Addr); Old != m_Instructions.constEnd()) {
            Derived.State = Old->State;
            Derived.ActualImpl = Old->ActualImpl;
            if (Record.PermittedImpl == BP_TYPE_MIXED) Derived.PermittedImpl = Old->PermittedImpl;
        }
        _EditInstructionBreakpoint(Derived);
    }
}

// ---- A hit ---------------------------------------------------------------------------------------------

void CBreakpointsDataModel::OnDeviceEvalBPCondition(U32 Addr)
{
    CDeviceTarget::Get().PostBPConditionResult(Addr, EvalHit(Addr));
}

bool CBreakpointsDataModel::EvalHit(U32 Addr)
{
    const auto It = m_Instructions.find(Addr);
    if (It == m_Instructions.end() || It->State != BP_STATE_ON) return true;
    PROG_SetCurrentFunction(PROG_GetFunctionAt(Addr, 0));
    // This hit has been counted already.
    const U64 Hits = CDeviceTarget::Get().GetBreakpoint(Addr).HitCount;
    It->HitCount = Hits;
    const U64 Skip = It->SkipCount;
    if (Skip > 0 && (It->ReloadSkip || Hits <= Skip) && Hits % (Skip + 1) != 0) return false;
    if (!It->TaskName.isEmpty() && !_IsTaskMatch(It->TaskName)) return false;

    // The evaluation may run events that mirror the lists; it works on a copy, whose value is kept.
    CBreakpoint Record = *It;
    const bool IsMet = _EvalBPCondition(Record);
    if (const auto Kept = m_Instructions.find(Addr); Kept != m_Instructions.end()) Kept->LastValue = Record.LastValue;
    return IsMet;
}

bool CBreakpointsDataModel::_IsTaskMatch(const QString& sTask) const
{
    const BREAKPOINT_HOOKS& Hooks = BP_GetHooks();
    bool IsNumber = false;
    U64 Id = sTask.toULongLong(&IsNumber, 0);
    if (!IsNumber) Id = Hooks.FindTaskId ? Hooks.FindTaskId(sTask) : 0;
    return Id == (Hooks.GetCurrTaskId ? Hooks.GetCurrTaskId() : 0);
}

bool CBreakpointsDataModel::_EvalBPCondition(CBreakpoint& Record)
{
    if (Record.Condition.isEmpty()) return true;
    BP_COND_RESULT Result;
    Result.Kind = BP_COND_PARSE_ERROR;
    if (BP_GetHooks().EvalCondition) Result = BP_GetHooks().EvalCondition(Record.Condition, U32(Record.Addr));
    // The target stays halted at a faulty text, so that the user sees what is wrong.
    if (Result.Kind == BP_COND_PARSE_ERROR) return true;
    LogDebug("Evaluating BP condition: " + Record.Condition);
    if (Result.Kind == BP_COND_EVAL_ERROR) {
        LogWarning("error: " + Result.Error);
        return false;
    }
    if (Result.Kind != BP_COND_VALUE) return true;
    LogDebug(QString("result: %1").arg(Result.Value));
    const I64 Last = Record.LastValue;
    Record.LastValue = Result.Value;
    if (!Record.TriggerOnChange) return Result.Value != 0;
    // The first value is only remembered.
    return Last != -1 && Result.Value != Last;
}

void CBreakpointsDataModel::OnBreakpointHalt(U32 PC)
{
    const CBreakpoint Record = GetBreakpoint(PC);
    if (Record.State != BP_STATE_ON) return;
    const BREAKPOINT_HOOKS& Hooks = BP_GetHooks();
    if (!Record.ScriptCallback.isEmpty() && Hooks.CallScript) Hooks.CallScript(Record.ScriptCallback);
    if (!Record.ConsoleMsg.isEmpty() && Hooks.ShowConsoleMsg) Hooks.ShowConsoleMsg(Record.ConsoleMsg);
    if (!Record.PopupMsg.isEmpty() && Hooks.ShowPopupMsg) Hooks.ShowPopupMsg("Breakpoint", Record.PopupMsg);
}

// ---- Extras text ---------------------------------------------------------------------------------------

QList<BP_EXTRA> CBreakpointsDataModel::GetExtras(const CBreakpoint& Record)
{
    QList<BP_EXTRA> Parts;
    auto Key = [&](const QString& sText) { Parts << BP_EXTRA{sText, false}; };
    auto Value = [&](const QString& sText) { Parts << BP_EXTRA{sText, true}; };
    auto Separate = [&] {
        if (!Parts.isEmpty()) Key(", ");
    };
    if (!Record.Condition.isEmpty()) {
        Key("When ");
        Value(Record.Condition);
        if (Record.TriggerOnChange) Key(" changes");
    }
    if (!Record.TaskName.isEmpty()) {
        Key(Parts.isEmpty() ? "Task " : " in task ");
        Value(Record.TaskName);
    }
    if (Record.SkipCount > 0) {
        const bool IsFirst = Parts.isEmpty();
        Key(IsFirst ? "Skip " : " and ");
        Value(QString::number(Record.SkipCount));
        if (!IsFirst) Key(" skipped");
        if (Record.ReloadSkip) Key(" (reload)");
    }
    if (!Record.ScriptCallback.isEmpty()) {
        Separate();
        Key("call ");
        Value(Record.ScriptCallback);
    }
    if (!Record.ConsoleMsg.isEmpty() || !Record.PopupMsg.isEmpty()) {
        Separate();
        Key("show ");
        Value("message");
    }
    const bool IsConnected = CDevice::Get().IsConnected();
    const U32 Type = IsConnected ? Record.ActualImpl : Record.PermittedImpl;
    if (Type != U32(IsConnected ? BP_TYPE_HARD : BP_TYPE_ANY)) {
        Separate();
        Key("Type=");
        Value(BP_TypeToText(Type));
    }
    if (!Record.Source.isEmpty()) {
        Separate();
        Value(Record.Source);
    }
    return Parts;
}

QString CBreakpointsDataModel::ExtrasText(const CBreakpoint& Record)
{
    QString sText;
    for (const BP_EXTRA& Part : GetExtras(Record)) sText += Part.Text;
    return sText;
}
