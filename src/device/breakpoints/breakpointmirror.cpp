// CBreakpointsDataModel: mirroring of the device's lists.
#include "app/services/log.h"
#include "core/cache/core.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/target/devicetarget.h"
#include "program/tables/prog.h"

#include <QByteArray>

namespace {
constexpr U32 MAX_FUNCTION_SIZE = 1'000'000; ///< bytes of a function that is decoded for one breakpoint
constexpr U32 MAX_INST_LEN = 8;

/// Bytes of the program at a range, decoded into the instruction cache. False when the program hasn't got them.
bool Analyze(U32 Start, U32 Size)
{
    if (Size == 0 || Size > MAX_FUNCTION_SIZE) return false;
    QByteArray Bytes(qsizetype(Size), 0);
    if (PROG_ReadBytes(Start, Size, Bytes.data()) != int(Size)) return false;
    return Core::AnalyzeAdd(Start, U64(Start) + Size, reinterpret_cast<const U8*>(Bytes.constData())) > 0;
}

/// The windows ask for the instruction at each breakpoint.
void EnsureDecoded(U32 Addr)
{
    if (Core::IsInstStart(Addr)) return;
    if (const ELF_SYM_HANDLE hFunc = PROG_GetFunctionAt(Addr, 1)) {
        const CAddrRange Range = PROG_GetSymRange(hFunc);
        if (Range.Contains(Addr) && Analyze(Range.Start, Range.Size)) return;
    }
    for (U32 Size = MAX_INST_LEN; Size >= 2 && !Analyze(Addr, Size); Size /= 2) {}
}

void CopyExtras(const CBreakpoint& Source, CBreakpoint& Derived)
{
    Derived.Condition = Source.Condition;
    Derived.TaskName = Source.TaskName;
    Derived.TriggerOnChange = Source.TriggerOnChange;
    Derived.ReloadSkip = Source.ReloadSkip;
    Derived.SkipCount = Source.SkipCount;
    Derived.ConsoleMsg = Source.ConsoleMsg;
    Derived.PopupMsg = Source.PopupMsg;
    Derived.ScriptCallback = Source.ScriptCallback;
    CDeviceTarget::Get().Lists.BpListSetCondition(U32(Derived.Addr), Derived.HasCondition());
}

QString SourceTextAt(U32 Addr)
{
    const CSrcLoc Loc = PROG_GetFirstSrcLoc(Addr);
    return Loc.IsValid() && BP_GetHooks().GetSourceText ? BP_GetHooks().GetSourceText(Loc).simplified() : QString();
}
} // namespace

void CBreakpointsDataModel::_MirrorInstructions()
{
    CDeviceLists& Lists = CDeviceTarget::Get().Lists;
    BP aBp[BP_LIST_SIZE];
    const U32 Cnt = Lists.BpListCopy(aBp);
    QMap<U32, CBreakpoint> Records;
    m_NewAddrs.clear();
    for (U32 i = 0; i < Cnt; i++) {
        const BP& Bp = aBp[i];
        if (Bp.Addr == 0) continue;
        CBreakpoint Record;
        if (const auto Old = m_Instructions.constFind(Bp.Addr); Old != m_Instructions.constEnd()) {
            Record = *Old;
        } else {
            Record.Addr = Bp.Addr;
            Record.PermittedImpl = Bp.Type;
            m_NewAddrs << Bp.Addr;
        }
        Record.State = Bp.State;
        Record.ActualImpl = Bp.ImplType;
        Record.HitCount = Bp.HitCount;
        Record.Source = SourceTextAt(Bp.Addr);
        Record.Derived = false;
        Records.insert(Bp.Addr, Record);
        // The device forgets the mark when it makes an entry anew, the model does not forget what it stands for.
        if (bool(Bp.HasCondition) != Record.HasCondition()) Lists.BpListSetCondition(Bp.Addr, Record.HasCondition());
        EnsureDecoded(Bp.Addr);
    }
    m_Instructions = Records;
}

void CBreakpointsDataModel::_MirrorSources()
{
    for (CBreakpoint& Source : m_Sources) {
        const CBreakpoint* pFirst = nullptr;
        bool StateDiffers = false;
        bool ImplDiffers = false;
        for (U32 Addr : GetDerivedAddrs(Source.Loc)) {
            const auto It = m_Instructions.find(Addr);
            if (It == m_Instructions.end()) continue;
            It->Derived = true;
            // A place that the line has moved to takes over what the user has set on the line.
            if (m_NewAddrs.contains(Addr)) CopyExtras(Source, *It);
            if (!pFirst) {
                pFirst = &*It;
                continue;
            }
            if (StateDiffers || ImplDiffers) continue; // all are marked, the comparison is over
            StateDiffers = It->State != pFirst->State;
            ImplDiffers = It->ActualImpl != pFirst->ActualImpl;
        }
        if (StateDiffers) Source.State = BP_STATE_MIXED;
        if (ImplDiffers) Source.PermittedImpl = BP_TYPE_MIXED;
        if (!pFirst || StateDiffers || ImplDiffers) continue;
        // All agree: what the derived ones are is what the line is.
        Source.ActualImpl = pFirst->ActualImpl;
        if (Source.State == BP_STATE_MIXED) Source.State = pFirst->State;
        if (Source.PermittedImpl == BP_TYPE_MIXED) Source.PermittedImpl = pFirst->PermittedImpl;
    }
}

void CBreakpointsDataModel::UpdateFromDevice()
{
    _MirrorInstructions();
    _MirrorSources();

    CDeviceLists& Lists = CDeviceTarget::Get().Lists;
    WP aWp[BP_LIST_SIZE];
    const U32 NumWps = Lists.WpListCopy(aWp);
    m_Watchpoints = QList<WP>(aWp, aWp + NumWps);
    TP aTp[BP_LIST_SIZE];
    const U32 NumTps = Lists.TpListCopy(aTp);
    m_Tracepoints = QList<TP>(aTp, aTp + NumTps);

    emit Changed();

    for (const WP& Wp : std::as_const(m_Watchpoints)) {
        const char* sText = Wp.ErrorCode ? CDeviceTarget::GetWatchpointErrorText(Wp.ErrorCode) : "";
        if (*sText)
            LogError(QString("Error setting data breakpoint @ %1: %2")
                         .arg(QString("%1").arg(Wp.Addr, 8, 16, QChar('0')).toUpper(), QLatin1String(sText)));
    }
}
