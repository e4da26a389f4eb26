// The run loop: fetch from the decode cache, one handler an instruction, and what is looked
// at between two instructions when Deadline is reached.
#include "armcore.h"
#include "armexec.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace Sim {

// A stop request from another thread is seen after this many cycles at most.
constexpr uint64_t kPollCycles = 20000;
constexpr uint64_t kMaxSleepStep = uint64_t(1) << 28;

ArmCore::ArmCore(const ArmCpuConfig& Cfg, ArmBus* pDeviceBus) : Config(Cfg), pBus(pDeviceBus)
{
    ArmCoreKind Kind = Config.Kind;
    IsV6M = Kind == ArmCoreKind::M0 || Kind == ArmCoreKind::M0Plus;
    IsV8M = Kind == ArmCoreKind::M33;
    HasFpu = Kind == ArmCoreKind::M4F || Kind == ArmCoreKind::M7F || IsV8M;
    HasFpv5 = Kind == ArmCoreKind::M7F || IsV8M;
    HasDsp = HasFpu || Kind == ArmCoreKind::M4;
    HasVtor = Kind != ArmCoreKind::M0;
    HasUnpriv = Kind != ArmCoreKind::M0;
    HasBitBand = Kind == ArmCoreKind::M3 || Kind == ArmCoreKind::M4 || Kind == ArmCoreKind::M4F;
    if (IsV6M) Config.NumPrioBits = 2;
    if (Kind == ArmCoreKind::M0) Config.NumMpuRegions = 0;
    Config.NumPrioBits = std::clamp<uint8_t>(Config.NumPrioBits, 2, 8);
    Config.NumIrqs = std::clamp<uint16_t>(Config.NumIrqs, 1, IsV6M ? 32 : 480);
    Config.NumMpuRegions = std::min<uint8_t>(Config.NumMpuRegions, 16) & 0x18;
    HasMpu = Config.NumMpuRegions != 0;
    NumExc = 16u + Config.NumIrqs;
    Reset();
}

ArmCore::~ArmCore()
{
    UnmapAll();
}

void ArmCore::Reset()
{
    std::fill(std::begin(R), std::end(R), 0u);
    FlagN = FlagC = FlagV = FlagQ = Ge = 0;
    FlagZ = 1;
    It = 0;
    Ipsr = 0;
    SpIsPsp = false;
    OtherSp = 0;
    Primask = Basepri = Faultmask = Control = 0;
    SpLimit[0] = SpLimit[1] = 0;
    std::fill(std::begin(S), std::end(S), 0u);
    Fpscr = 0;
    ExclActive = EventReg = false;
    Fault = FaultKind::None;
    ExcReturn = 0;
    WakeUp();
    LockedUp = ResetRequested = StopPending = false;
    std::fill(std::begin(Prio), std::end(Prio), uint8_t(0));
    for (auto* p : {Enabled, Pending, Active}) std::fill(p, p + 8, uint64_t(0));
    std::copy(std::begin(Level), std::end(Level), std::begin(Pending));
    ResetScs();
    UpdateTlbAllowed();
    CloseWindow();
    R[14] = IsV6M ? 0 : 0xFFFFFFFF;
    uint32_t Sp = 0, Pc = 0;
    RawLoad(Scs.Vtor, 4, Sp, true);
    RawLoad(Scs.Vtor + 4, 4, Pc, true);
    R[13] = Sp & ~3u;
    R[15] = Pc & ~1u;
    Thumb = Pc & 1;
    Attend();
}

void ArmCore::StopWith(StopReason Reason)
{
    if (!StopPending) Stop.Reason = Reason;
    StopPending = true;
    Attend();
}

// --- fetch ------------------------------------------------------------------------------

bool ArmCore::OpenWindow(uint32_t Pc)
{
    CodeRegion* pRegion = FindRegion(Pc);
    bool NeverExecutes = (Pc >= 0x40000000 && Pc < 0x60000000) || Pc >= 0xA0000000;
    if (NeverExecutes || (MpuEnabled() && !MpuAllows(Pc, MpuAccess::Fetch, IsPrivileged()))) {
        RaiseFault(FaultKind::FetchMpu, Pc);
        return false;
    }
    if (!pRegion || !(pRegion->Mem.Flags & kMemExec)) {
        RaiseFault(FaultKind::FetchBus, Pc);
        return false;
    }
    if (!pRegion->pOps) {
        // Zeroed by the system page by page as code is met there: big regions cost nothing.
        pRegion->pOps = static_cast<Op*>(calloc(pRegion->Mem.Size / 2, sizeof(Op)));
        pRegion->pItOps = static_cast<Op*>(calloc(pRegion->Mem.Size / 2, sizeof(Op)));
        if (!pRegion->pOps || !pRegion->pItOps) throw std::bad_alloc();
        pRegion->CodePages.assign(pRegion->Mem.Size >> kPageShift, 0);
    }
    WindowBase = pRegion->Mem.Base;
    WindowSize = pRegion->Mem.Size;
    if (MpuEnabled()) { // permissions can change every 32 bytes
        WindowBase = Pc & ~31u;
        WindowSize = 32;
    }
    pWindowRegion = pRegion;
    pWindowOps = pRegion->pOps + (WindowBase - pRegion->Mem.Base) / 2;
    pWindowItOps = pRegion->pItOps + (WindowBase - pRegion->Mem.Base) / 2;
    return true;
}

void ArmCore::Decode(uint32_t Pc, bool InIt, bool IgnoreBreakpoint, Op& O)
{
    O = Op();
    if (!IgnoreBreakpoint && !Breakpoints.empty() && Breakpoints.count(Pc)) {
        O.Fn = &OpBreakpoint;
        O.Cycles = 0;
        O.Flags = kOpUnconditional;
        return;
    }
    uint32_t First = 0, Second = 0;
    FetchHalf(Pc, First);
    DecodeContext X{*this, Pc, InIt};
    if ((First >> 11) < 0x1D) return Decode16(X, First, O);
    uint32_t SecondPc = Pc + 2;
    bool Allowed = !MpuEnabled() || MpuAllows(SecondPc, MpuAccess::Fetch, IsPrivileged());
    if (!Allowed || !FetchHalf(SecondPc, Second)) {
        O.Fn = &OpFetchFault;
        O.Len = 4;
        O.Sub = uint8_t(Allowed ? FaultKind::FetchBus : FaultKind::FetchMpu);
        O.Imm = SecondPc;
        O.Flags = kOpUnconditional;
        return;
    }
    Decode32(X, First << 16 | Second, O);
}

namespace {

// Decodes into the cache and remembers that the page has ops, so that stores look. An
// instruction that reaches beyond its region isn't kept: stores there would not find it.
Op* Fill(ArmCore& C, uint32_t Pc, Op& Slot, Op& Fresh)
{
    C.Decode(Pc, C.It != 0, false, Fresh);
    CodeRegion& Region = *C.pWindowRegion;
    if (Pc - Region.Mem.Base + Fresh.Len > Region.Mem.Size) return &Fresh;
    for (uint32_t Addr : {Pc, Pc + Fresh.Len - 1}) {
        uint32_t Page = (Addr - Region.Mem.Base) >> kPageShift;
        if (Region.CodePages[Page]) continue;
        Region.CodePages[Page] = 1;
        C.WriteTlb[(Addr >> kPageShift) & (kTlbSize - 1)].Tag = TlbEntry::kNoTag;
    }
    Slot = Fresh;
    return &Slot;
}

} // namespace

// --- execution --------------------------------------------------------------------------

void ArmCore::Trace(uint32_t Pc, uint32_t Cycle, bool Skipped)
{
    pTrace->pRecords[pTrace->Count & (pTrace->Capacity - 1)] = {Pc | (Skipped ? 1u : 0u), Cycle};
    ++pTrace->Count;
    for (const CounterRange& Range : Counters) {
        if (Pc - Range.Base >= Range.Size) continue;
        CodeCounter& Counter = Range.pCounters[(Pc - Range.Base) / 2];
        ++Counter.NumFetched;
        Counter.NumSkipped += Skipped;
        break;
    }
}

template <bool WithTrace> void ArmCore::ExecuteOne(bool IgnoreBreakpoint)
{
    uint32_t Pc = R[15];
    uint32_t Offset = Pc - WindowBase;
    if (Offset >= WindowSize) [[unlikely]] {
        if (!OpenWindow(Pc)) return;
        Offset = Pc - WindowBase;
    }
    Op* pOp = (It ? pWindowItOps : pWindowOps) + (Offset >> 1);
    Op Fresh;
    if (!pOp->Fn) [[unlikely]]
        pOp = Fill(*this, Pc, *pOp, Fresh);
    if (IgnoreBreakpoint && pOp->Fn == &OpBreakpoint) [[unlikely]] {
        Decode(Pc, It != 0, true, Fresh);
        pOp = &Fresh;
    }
    uint32_t Cycle = uint32_t(Cycles);
    // A store of the instruction may clear Fn under us, never the operands.
    uint8_t Len = pOp->Len, OpFlags = pOp->Flags;
    bool Skipped = false;
    NextPc = Pc + Len;
    Cycles += pOp->Cycles;
    ++NumInstr;
    if (It == 0) [[likely]] {
        pOp->Fn(*this, *pOp);
    } else if (CondPassed(It >> 4) || (OpFlags & kOpUnconditional)) {
        pOp->Fn(*this, *pOp);
        bool Completed = Fault == FaultKind::None || Fault == FaultKind::Svc;
        bool Halted = StopPending && NextPc == Pc;
        if (Completed && !Halted) AdvanceIt();
    } else {
        Skipped = true;
        Cycles += 1 - uint64_t(pOp->Cycles);
        AdvanceIt();
    }
    R[15] = NextPc;
    if (WithTrace && !(StopPending && NextPc == Pc)) {
        if ((OpFlags & kOpCondBranch) && NextPc == Pc + Len) Skipped = true;
        Trace(Pc, Cycle, Skipped);
    }
}

template <bool WithTrace> void ArmCore::RunLoop()
{
    for (;;) {
        if (Cycles >= Deadline) [[unlikely]]
            if (Attention()) return;
        ExecuteOne<WithTrace>(false);
    }
}

StopInfo ArmCore::Run(uint64_t UntilCycle, uint8_t Flags)
{
    Until = UntilCycle;
    MaskInterrupts = Flags & kRunMaskInterrupts;
    Stepping = false;
    uint32_t StartPc = R[15];
    Attend();
    bool Stopped = Attention();
    if (!Stopped) {
        bool Over = (Flags & kRunStepOverBreakpoint) && R[15] == StartPc;
        if (pTrace) {
            ExecuteOne<true>(Over);
            RunLoop<true>();
        } else {
            ExecuteOne<false>(Over);
            RunLoop<false>();
        }
    }
    StopPending = false;
    Stop.Pc = R[15];
    return Stop;
}

StopInfo ArmCore::Step(uint8_t Flags)
{
    // Asleep without anything that wakes the core a step must end nevertheless.
    Until = Cycles + kMaxSleepStep;
    MaskInterrupts = Flags & kRunMaskInterrupts;
    Stepping = true;
    Attend();
    if (!Attention()) {
        if (pTrace) {
            ExecuteOne<true>(true);
        } else {
            ExecuteOne<false>(true);
        }
        // The instruction's own exception or return belongs to it; others wait.
        bool HadFault = Fault != FaultKind::None;
        if (HadFault) TakeFault();
        if (ExcReturn) DoExceptionReturn();
        if (HadFault) TryTakeException();
        if (!StopPending) Stop.Reason = LockedUp ? StopReason::Lockup : StopReason::Step;
    }
    StopPending = false;
    Stepping = false;
    Stop.Pc = R[15];
    return Stop;
}

// --- between two instructions -------------------------------------------------------------

void ArmCore::WakeUp()
{
    Sleeping = false;
    if (SleepReported) pBus->OnSleep(false);
    SleepReported = false;
}

bool ArmCore::CheckSleep()
{
    if (HasWakeup() || (SleepIsWfe && EventReg)) {
        if (SleepIsWfe) EventReg = false;
        WakeUp();
        return false;
    }
    if (!SleepReported) pBus->OnSleep(true);
    SleepReported = true;
    uint64_t Next = std::min(EventCycle, Scs.SysTickNext);
    if (Next <= Until && Next != kNever) {
        Cycles = std::max(Cycles, Next);
        return false;
    }
    if (!Stepping) Cycles = std::max(Cycles, Until);
    Stop.Reason = StopReason::Sleeping;
    return true;
}

bool ArmCore::Attention()
{
    if (MpuEnabled()) CloseWindow(); // the privilege or the masks may have changed
    for (;;) {
        if (Fault != FaultKind::None) TakeFault();
        if (ExcReturn) DoExceptionReturn();
        if (ResetRequested) {
            pBus->OnSystemReset();
            Reset();
            if (Scs.Demcr & 1) StopWith(StopReason::Reset);
        }
        if (LockedUp) {
            Stop.Reason = StopReason::Lockup;
            return true;
        }
        if (StopPending) return true;
        if (Cycles >= EventCycle) {
            uint64_t Next = pBus->OnEvent(EventCycle);
            EventCycle = Next == kNever ? kNever : std::max(Next, Cycles + 1);
        }
        if (Cycles >= Scs.SysTickNext) SysTickSync();
        if (Sleeping) {
            if (StopFlag.exchange(false)) {
                Stop.Reason = StopReason::StopRequested;
                return true;
            }
            if (CheckSleep()) return true;
            if (Sleeping) continue; // time went on to an event
        }
        if (TryTakeException()) continue;
        if (!Thumb) {
            RaiseFault(FaultKind::InvState);
            continue;
        }
        if (StopFlag.load(std::memory_order_relaxed) && !Stepping) {
            StopFlag = false;
            Stop.Reason = StopReason::StopRequested;
            return true;
        }
        if (Cycles >= Until) {
            Stop.Reason = StopReason::Budget;
            return true;
        }
        Deadline = std::min({Until, EventCycle, Scs.SysTickNext, Cycles + kPollCycles});
        return false;
    }
}

} // namespace Sim
