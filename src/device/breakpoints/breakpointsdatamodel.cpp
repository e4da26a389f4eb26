// CBreakpointsDataModel: records, source lines, sending.
#include "device/breakpoints/breakpointsdatamodel.h"
#include "app/services/log.h"
#include "device/queue/device.h"
#include "device/target/devicetarget.h"
#include "program/tables/prog.h"
#include "project/settings/settingsnotifier.h"
#include "project/settings/sysvars.h"

#include <algorithm>

namespace {
BREAKPOINT_HOOKS s_Hooks;

constexpr U32 ADDR_NO_BREAKPOINT = 0xFFFFFFFF; ///< cleared for its report alone

QString SourceText(const CSrcLoc& Loc)
{
    return Loc.IsValid() && s_Hooks.GetSourceText ? s_Hooks.GetSourceText(Loc).simplified() : QString();
}
} // namespace

void BP_SetHooks(const BREAKPOINT_HOOKS& Hooks) { s_Hooks = Hooks; }
const BREAKPOINT_HOOKS& BP_GetHooks() { return s_Hooks; }

CBreakpointsDataModel& CBreakpointsDataModel::Get()
{
    // Never destroyed: windows that go last still look into it.
    static auto* pModel = new CBreakpointsDataModel;
    return *pModel;
}

CBreakpointsDataModel::CBreakpointsDataModel()
{
    connect(&CSettingsNotifier::Get(), &CSettingsNotifier::VarChanged, this, &CBreakpointsDataModel::_OnVarChanged);
}

// ---- Records -------------------------------------------------------------------------------------------

CBreakpoint CBreakpointsDataModel::GetBreakpoint(U32 Addr) const
{
    return m_Instructions.value(Addr);
}

CBreakpoint CBreakpointsDataModel::GetBreakpoint(const CSrcLoc& Loc) const
{
    return m_Sources.value(_GetKey(Loc));
}

CBreakpoint CBreakpointsDataModel::FindBreakpoint(const QString& sText) const
{
    bool IsHex = false;
    const U32 Addr = sText.trimmed().toUInt(&IsHex, 16);
    return IsHex ? GetBreakpoint(Addr) : GetBreakpoint(PROG_ParseSrcLoc(sText));
}

QList<CBreakpoint> CBreakpointsDataModel::GetBreakpoints(bool WithDerived) const
{
    QList<CBreakpoint> Records;
    for (const CBreakpoint& Record : m_Instructions)
        if (WithDerived || !Record.Derived) Records << Record;
    QList<CBreakpoint> Sources = m_Sources.values();
    std::sort(Sources.begin(), Sources.end(), [](const CBreakpoint& A, const CBreakpoint& B) {
        return A.Loc.File != B.Loc.File ? A.Loc.File < B.Loc.File : A.Loc.Line < B.Loc.Line;
    });
    return Records + Sources;
}

bool CBreakpointsDataModel::IsSet(U32 Addr, BP_STATES State, BP_TYPES Type) const
{
    const auto It = m_Instructions.constFind(Addr);
    return It != m_Instructions.constEnd() && It->State == U32(State) && It->ActualImpl == U32(Type);
}

bool CBreakpointsDataModel::IsSet(const CSrcLoc& Loc, BP_STATES State, BP_TYPES Type) const
{
    const auto It = m_Sources.constFind(_GetKey(Loc));
    return It != m_Sources.constEnd() && It->State == U32(State) && It->ActualImpl == U32(Type);
}

bool CBreakpointsDataModel::HasBreakpointOnLine(const CSrcLoc& Loc) const
{
    for (const CBreakpoint& Record : m_Instructions) {
        if (Record.Derived) continue;
        for (const CSrcLoc& At : PROG_GetSrcLocs(U32(Record.Addr)))
            if (At.IsSameLine(Loc)) return true;
    }
    return false;
}

// ---- Source lines --------------------------------------------------------------------------------------

QList<U32> CBreakpointsDataModel::GetDerivedAddrs(const CSrcLoc& Loc)
{
    QList<U32> Addrs;
    for (U32 Addr : PROG_GetAddrs(Loc)) {
        if (!PROG_HasExactSrcLoc(Addr)) continue;
        bool StartsRun = PROG_GetAddrs(PROG_GetExactSrcLoc(Addr)).size() == 1;
        if (!StartsRun) {
            const I64 Prev = PROG_GetPrevMappedAddr(Addr);
            const QList<CSrcLoc> Before = Prev >= 0 ? PROG_GetSrcLocs(U32(Prev)) : QList<CSrcLoc>();
            StartsRun = std::none_of(Before.begin(), Before.end(), [&](const CSrcLoc& At) { return At.IsSameLine(Loc); });
        }
        if (StartsRun) Addrs << Addr;
    }
    return Addrs;
}

CSrcLoc CBreakpointsDataModel::GetCodeLine(const CSrcLoc& Loc)
{
    if (s_Hooks.IsSourceOutOfDate && s_Hooks.IsSourceOutOfDate(Loc.File)) return Loc;
    if (!PROG_GetAddrs(Loc).isEmpty()) return Loc;
    const I64 Addr = PROG_GetFirstAddr(PROG_GetNextLineWithCode(Loc));
    if (Addr < 0) return Loc;
    // Of several locations at that address the one in the user's own file is meant.
    for (const CSrcLoc& At : PROG_GetSrcLocs(U32(Addr)))
        if (At.File == Loc.File && At.Line > Loc.Line) return CSrcLoc(At.File, At.Line);
    const CSrcLoc First = PROG_GetFirstSrcLoc(U32(Addr));
    return CSrcLoc(First.File, First.Line);
}

CSrcLoc CBreakpointsDataModel::GetCodeLineWarning(const CSrcLoc& Loc)
{
    const CSrcLoc Code = GetCodeLine(Loc);
    if (!Code.IsSameLine(Loc))
        LogWarning(QString("Cannot set breakpoint on source location \"%1\". Setting breakpoint on next code line "
                           "\"%2\" instead.")
                       .arg(PROG_GetSrcLocText(Loc), PROG_GetSrcLocText(Code)));
    return Code;
}

void CBreakpointsDataModel::SetSourceBreakpoint(const CSrcLoc& Loc, BP_STATES State, BP_TYPES Type)
{
    if (!Loc.IsValid()) return;
    const QList<U32> Addrs = GetDerivedAddrs(Loc);
    if (Addrs.size() > qsizetype(BP_LIST_SIZE)) {
        LogError("cannot set source breakpoint: too many derived breakpoints");
        return;
    }
    CBreakpoint& Record = m_Sources[_GetKey(Loc)];
    Record.Loc = Loc;
    Record.State = State;
    Record.PermittedImpl = Type;
    if (const QString sText = SourceText(Loc); !sText.isEmpty()) Record.Source = sText;
    _ClearLeftAddrs(_GetKey(Loc), Addrs);

    CDevice& Dev = CDevice::Get();
    if (Addrs.isEmpty()) {
        // Changes nothing in the device, but its report brings the windows up to date.
        Dev.SetBreakpointAsync(0, BP_STATE_OFF, BP_TYPE_ANY);
    } else if (State == BP_STATE_MIXED) {
        for (U32 Addr : Addrs)
            Dev.SetBreakpointAsync(Addr, BP_STATES(CDeviceTarget::Get().GetBreakpoint(Addr).State), Type);
    } else if (Addrs.size() == 1) {
        Dev.SetBreakpointAsync(Addrs[0], State, Type);
    } else {
        Dev.SetBreakpointsAsync(U32(Addrs.size()), Addrs.constData(), State, Type);
    }
}

/// Where the line's code has moved with a new program, its old places are no breakpoints of anybody.
void CBreakpointsDataModel::_ClearLeftAddrs(U32 Key, const QList<U32>& Addrs)
{
    const QList<U32> Old = std::exchange(m_SourceAddrs[Key], Addrs);
    for (U32 Addr : Old) {
        const bool IsUsed = std::any_of(m_SourceAddrs.begin(), m_SourceAddrs.end(),
                                        [Addr](const QList<U32>& Used) { return Used.contains(Addr); });
        if (!IsUsed && m_Instructions.contains(Addr)) CDevice::Get().ClearBreakpointAsync(Addr);
    }
}

void CBreakpointsDataModel::ClearSourceBreakpoint(const CSrcLoc& Loc)
{
    const QList<U32> Addrs = GetDerivedAddrs(Loc);
    if (Addrs.size() > qsizetype(BP_LIST_SIZE)) {
        LogError("cannot set source breakpoint: too many derived breakpoints");
        return;
    }
    m_Sources.remove(_GetKey(Loc));
    m_SourceAddrs.remove(_GetKey(Loc));
    if (Addrs.isEmpty())
        CDevice::Get().ClearBreakpointAsync(ADDR_NO_BREAKPOINT);
    else
        CDevice::Get().ClearBreakpointsAsync(U32(Addrs.size()), Addrs.constData());
}

void CBreakpointsDataModel::ClearAll()
{
    m_Sources.clear();
    m_SourceAddrs.clear();
    CDevice::Get().ClearAllBreakpointsAsync();
}

// ---- Sending -------------------------------------------------------------------------------------------

void CBreakpointsDataModel::ResendBreakpoints()
{
    _Resend(false, BP_TYPE_ANY);
    CDevice& Dev = CDevice::Get();
    if (!m_Watchpoints.isEmpty()) Dev.SetWatchpointsAsync(U32(m_Watchpoints.size()), m_Watchpoints.constData());
    if (!m_Tracepoints.isEmpty()) Dev.SetTracepointsAsync(U32(m_Tracepoints.size()), m_Tracepoints.constData());
}

void CBreakpointsDataModel::_Resend(bool WithType, BP_TYPES Type)
{
    for (const CBreakpoint& Record : GetBreakpoints(false)) {
        const auto State = BP_STATES(Record.State);
        const auto Impl = WithType ? Type : BP_TYPES(Record.PermittedImpl);
        if (Record.IsSource())
            SetSourceBreakpoint(Record.Loc, State, Impl);
        else if (State == BP_STATE_OFF || State == BP_STATE_ON || State == BP_STATE_DISABLED)
            CDevice::Get().SetBreakpointAsync(U32(Record.Addr), State, Impl);
    }
}

void CBreakpointsDataModel::_OnVarChanged(int VarID, I64 Value)
{
    if (VarID == VAR_BREAKPOINT_TYPE) _Resend(true, BP_TYPES(Value));
}

void CBreakpointsDataModel::OnDeviceConnectDone(CONNECT_MODES Mode)
{
    switch (Mode) {
    case CM_ATTACH:
    case CM_ATTACH_HALT:
        ResendBreakpoints();
        break;
    case CM_DOWNLOAD_RESET:
        // What is in the target now is about to be overwritten.
        m_SendsAfterDownload = !PROG_GetPath().isEmpty();
        if (!m_SendsAfterDownload) ResendBreakpoints();
        break;
    default:
        break;
    }
}

void CBreakpointsDataModel::OnDataFileDownloaded(const QString& sPath)
{
    if (sPath.isEmpty() || !m_SendsAfterDownload) return;
    m_SendsAfterDownload = false;
    ResendBreakpoints();
}

void CBreakpointsDataModel::OnDeviceResetDone(U32, RESET_MODES Mode)
{
    UpdateFromDevice();
    if (Mode == RM_RESET_BEFORE_DOWNLOAD || Mode == RM_EXEC_STATE_SET) return;
    // A new run: hits and the values that conditions are compared with count from here.
    for (CBreakpoint& Record : m_Instructions) Record.LastValue = -1;
    CDevice::Get().ResetBreakpointsAsync();
}

void CBreakpointsDataModel::RestoreBreakpoint(const CBreakpoint& Record)
{
    CDevice& Dev = CDevice::Get();
    const auto State = BP_STATES(Record.State);
    if (Record.IsSource())
        SetSourceBreakpoint(Record.Loc, State, BP_TYPES(Record.PermittedImpl));
    else if (Record.Addr != ~U64(0))
        Dev.SetBreakpointAsync(U32(Record.Addr), State, BP_TYPES(Record.PermittedImpl));
    else
        return;
    Dev.WaitUntilDone(BT_SET_BPS, false);
    Dev.WaitUntilDone(BT_SET_BP, false);
    UpdateFromDevice();

    const CBreakpoint Set = Record.IsSource() ? GetBreakpoint(Record.Loc) : GetBreakpoint(U32(Record.Addr));
    if (Set.State == BP_STATE_OFF) return;
    CBreakpoint Edited = Record;
    Edited.State = Set.State;
    Edited.PermittedImpl = Set.PermittedImpl;
    Edited.ActualImpl = Set.ActualImpl;
    Edited.HitCount = Set.HitCount;
    Edited.Source = Set.Source;
    Edited.Derived = Set.Derived;
    EditBreakpoint(Edited);
}

#include "moc_breakpointsdatamodel.cpp"
