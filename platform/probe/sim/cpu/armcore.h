// State of one core and the primitives that the instruction handlers use. Internal to the
// simulated core: everything is public to its source files, ArmCpu is the door for others.
//
// The run loop (armcore.cpp) executes one Op an instruction and looks at nothing else until
// Cycles reaches Deadline. Whatever needs attention between two instructions (a fault, an
// exception that became pending, a stop) sets Deadline to 0.
#pragma once

#include "armcpu.h"
#include "armop.h"

#include <cstring>
#include <unordered_set>
#include <vector>

namespace Sim {

constexpr uint64_t kNever = ~uint64_t(0);
constexpr unsigned kNumExceptions = 16 + 480;

// A MemRegion with its decode cache. Ops are allocated when code first runs there.
struct CodeRegion {
    MemRegion Mem{};
    Op* pOps = nullptr;             // one a half word, as decoded outside IT blocks
    Op* pItOps = nullptr;           // the same inside IT blocks (16-bit instructions set no flags there)
    std::vector<uint8_t> CodePages; // a page of 1024 bytes has decoded ops
};

// Direct-mapped cache of 1024-byte pages that can be accessed without any check. While data
// comparators, the MPU or big-endian data are on it stays empty and every access takes the
// slow way.
struct TlbEntry {
    uint32_t Tag = kNoTag;
    uint8_t* pPage = nullptr;
    static constexpr uint32_t kNoTag = 0x200; // no masked address has this bit
};
constexpr unsigned kPageShift = 10;
constexpr uint32_t kPageSize = 1u << kPageShift;
constexpr unsigned kTlbSize = 256;

enum class FaultKind : uint8_t {
    None,
    UndefInstr,
    InvState,
    InvPc,
    NoCp,
    StackOverflow,
    Unaligned,
    DivByZero,
    FetchMpu,
    DataMpu,
    FetchBus,
    DataBus,
    LazyBus,
    LazyMpu,
    Svc,
    Bkpt
};

enum : unsigned {
    kExcReset = 1,
    kExcNmi = 2,
    kExcHardFault = 3,
    kExcMemManage = 4,
    kExcBusFault = 5,
    kExcUsageFault = 6,
    kExcSvc = 11,
    kExcDebugMon = 12,
    kExcPendSv = 14,
    kExcSysTick = 15
};

enum AccessFlags : unsigned {
    kAccUnpriv = 1, // check as unprivileged
    kAccStack = 2,  // exception stacking: no watch hit, no fault raised, the caller does
};

// System control space registers that are plain storage.
struct ScsState {
    uint32_t Vtor = 0, Aircr = 0, Scr = 0, Ccr = 0, Actlr = 0;
    uint32_t Cfsr = 0, Hfsr = 0, Dfsr = 0, Mmfar = 0, Bfar = 0, Afsr = 0;
    uint32_t Cpacr = 0, Fpccr = 0, Fpcar = 0, Fpdscr = 0;
    uint32_t ShcsrEnables = 0; // MEMFAULTENA, BUSFAULTENA, USGFAULTENA
    uint32_t Demcr = 0;
    uint32_t SysTickCtrl = 0, SysTickLoad = 0;
    uint32_t SysTickVal = 0;       // while stopped
    uint64_t SysTickNext = kNever; // cycle of the next transition to 0
    uint32_t DwtCtrl = 0, DwtBase = 0, DwtHeld = 0;
    uint32_t ItmTer = 0, ItmTpr = 0, ItmTcr = 0;
    uint32_t MpuCtrl = 0, MpuRnr = 0, MpuMair[2] = {};
    uint32_t MpuRbar[16] = {}, MpuRasr[16] = {}; // RASR is RLAR on ARMv8-M
};

struct ArmCore {
    ArmCore(const ArmCpuConfig& Cfg, ArmBus* pDeviceBus);
    ~ArmCore();

    // --- architecture state -------------------------------------------------------------
    uint32_t R[16] = {}; // R[13] is the active SP, R[15] the address of this instruction
    uint32_t NextPc = 0;
    uint32_t FlagN = 0; // bit 31
    uint32_t FlagZ = 1; // 0 means Z is set
    uint32_t FlagC = 0; // 0 or 1
    uint32_t FlagV = 0; // bit 31
    uint32_t FlagQ = 0; // 0 or 1
    uint32_t Ge = 0;    // 4 bits
    uint8_t It = 0;     // EPSR.IT as ITSTATE[7:0]
    bool Thumb = true;  // EPSR.T
    uint32_t Ipsr = 0;
    uint32_t OtherSp = 0; // the stack pointer that isn't in R[13]
    bool SpIsPsp = false; // R[13] holds PSP
    uint32_t Primask = 0, Basepri = 0, Faultmask = 0;
    uint32_t Control = 0;     // nPRIV 1, SPSEL 2, FPCA 4
    uint32_t SpLimit[2] = {}; // MSPLIM, PSPLIM
    uint32_t S[32] = {};
    uint32_t Fpscr = 0;
    bool ExclActive = false;
    uint32_t ExclAddr = 0;
    bool EventReg = false;

    // --- run state ----------------------------------------------------------------------
    uint64_t Cycles = 0;
    uint64_t Deadline = 0;
    uint64_t NumInstr = 0;
    uint64_t Until = 0; // of this Run()
    uint64_t EventCycle = kNever;
    FaultKind Fault = FaultKind::None;
    uint32_t FaultAddr = 0;
    uint32_t ExcReturn = 0; // EXC_RETURN value branched to, 0: none
    bool Sleeping = false;  // in WFI or WFE
    bool SleepIsWfe = false;
    bool SleepReported = false; // the bus was told
    bool LockedUp = false;
    bool ResetRequested = false;
    bool MaskInterrupts = false;
    bool StopPending = false; // Stop says why
    bool Stepping = false;
    bool CatchPending = false; // the fault being taken is to stop at its handler
    StopInfo Stop;
    std::atomic<bool> StopFlag{false};

    // --- configuration of the core ------------------------------------------------------
    ArmCpuConfig Config;
    ArmBus* pBus;
    bool IsV6M = false, IsV8M = false, HasDsp = false, HasFpu = false, HasFpv5 = false;
    bool HasVtor = true, HasUnpriv = true, HasMpu = false, HasBitBand = false;

    // --- code window: half words that can be executed without a further check ------------
    uint32_t WindowBase = 0, WindowSize = 0;
    Op* pWindowOps = nullptr;   // of WindowBase
    Op* pWindowItOps = nullptr; // null until needed
    CodeRegion* pWindowRegion = nullptr;
    std::vector<std::unique_ptr<CodeRegion>> Regions; // sorted by base
    std::vector<Handler> Wrapped;
    TlbEntry ReadTlb[kTlbSize], WriteTlb[kTlbSize];
    bool TlbAllowed = true;

    // --- debug unit and trace -----------------------------------------------------------
    std::unordered_set<uint32_t> Breakpoints;
    DataWatch Watches[kNumDataWatches];
    bool AnyWatch = false;
    bool DebugEnabled = true;
    TraceRing* pTrace = nullptr;
    struct CounterRange {
        uint32_t Base, Size;
        CodeCounter* pCounters;
    };
    std::vector<CounterRange> Counters;

    // --- exceptions ---------------------------------------------------------------------
    uint8_t Prio[kNumExceptions] = {};
    uint64_t Enabled[8] = {}, Pending[8] = {}, Active[8] = {}, Level[8] = {};
    unsigned NumExc = 16; // 16 + NumIrqs
    ScsState Scs;

    // === armcore.cpp ====================================================================
    void Reset();
    StopInfo Run(uint64_t UntilCycle, uint8_t Flags);
    StopInfo Step(uint8_t Flags);
    template <bool WithTrace> void RunLoop();
    template <bool WithTrace> void ExecuteOne(bool IgnoreBreakpoint);
    bool Attention(); // true: stop
    void WakeUp();
    bool CheckSleep(); // true: stays asleep until Until
    void StopWith(StopReason Reason);
    void Trace(uint32_t Pc, uint32_t Cycle, bool Skipped);
    bool OpenWindow(uint32_t Pc); // false: fault raised
    void CloseWindow() { WindowSize = 0; }
    void AdvanceIt() { It = (It & 7) ? uint8_t((It & 0xE0) | ((It << 1) & 0x1F)) : uint8_t(0); }
    // Fills O for the instruction at Pc, which lies in the window. A failed fetch of the
    // second half word gives an op that raises the fault.
    void Decode(uint32_t Pc, bool InIt, bool IgnoreBreakpoint, Op& O);

    // === armmem.cpp =====================================================================
    bool MapMemory(const MemRegion& Region);
    void UnmapAll();
    CodeRegion* FindRegion(uint32_t Addr);
    void InvalidateCode(uint32_t Addr, uint32_t NumBytes);
    void FlushTlb();
    void UpdateTlbAllowed();
    enum class MpuAccess : uint8_t { Read, Write, Fetch };
    // Bytes of the single accesses that this one is made of; 0: a fault was raised.
    unsigned CheckAccess(uint32_t Addr, unsigned Size, MpuAccess Kind, bool Priv);
    bool LoadSlow(uint32_t Addr, unsigned Size, uint32_t& Value, unsigned Flags);
    bool StoreSlow(uint32_t Addr, unsigned Size, uint32_t Value, unsigned Flags);
    // Aligned access without alignment, MPU and watch checks; false: bus error, nothing raised.
    bool RawLoad(uint32_t Addr, unsigned Size, uint32_t& Value, bool Priv);
    bool RawStore(uint32_t Addr, unsigned Size, uint32_t Value, bool Priv);
    bool BusFaultIgnored(uint32_t Addr);
    bool FetchHalf(uint32_t Addr, uint32_t& Value);
    void CheckWatch(uint32_t Addr, unsigned Size, uint32_t Value, bool IsWrite);
    bool DebugAccess(uint32_t Addr, unsigned Size, uint32_t& Value, bool Write);

    // === armmpu.cpp =====================================================================
    bool MpuAllows(uint32_t Addr, MpuAccess Kind, bool Priv) const;
    bool MpuEnabled() const { return Scs.MpuCtrl & 1; }
    uint32_t MpuRead(uint32_t Offset) const;
    void MpuWrite(uint32_t Offset, uint32_t Value);
    uint32_t TestTarget(uint32_t Addr, bool Unpriv) const; // TT, TTT

    // === armexcept.cpp ==================================================================
    bool IsPrivileged() const { return Ipsr != 0 || !(Control & 1); }
    bool IsHandler() const { return Ipsr != 0; }
    void SetPsp(bool Psp); // makes PSP (or MSP) the active stack pointer
    uint32_t GetSp(bool Psp) const { return Psp == SpIsPsp ? R[13] : OtherSp; }
    void SetSp(bool Psp, uint32_t Value) { (Psp == SpIsPsp ? R[13] : OtherSp) = Value & ~3u; }
    void SetControl(uint32_t Value);
    uint32_t GetXpsr() const;
    void SetXpsr(uint32_t Value); // all of it, IPSR, IT and T included
    void TakeFault();
    void RaiseSync(unsigned Exc, uint32_t HfsrBit); // pends it or HardFault, or locks up
    bool TryTakeException();
    uint32_t PushFrame(); // answers EXC_RETURN
    void PushFp(uint32_t Frame);
    bool StackAccess(uint32_t Addr, uint32_t& Value, bool Write, bool Priv);
    void EnterHandler(unsigned Exc, uint32_t ExcReturnValue);
    void DoExceptionReturn();
    bool PopFrame(uint32_t Value); // false: fault pending
    void StackFault(bool Mpu, unsigned CfsrBit);
    bool TailChain(uint32_t ExcReturnValue);
    unsigned Preempting(); // exception that may be taken now, 0: none
    unsigned NumActive() const;
    void LockUp();
    bool PrepareFp(); // access check, lazy stacking, new FP context; false: fault raised

    // === armnvic.cpp ====================================================================
    bool Bit(const uint64_t* p, unsigned Exc) const { return p[Exc >> 6] >> (Exc & 63) & 1; }
    void SetBit(uint64_t* p, unsigned Exc, bool On)
    {
        uint64_t Mask = uint64_t(1) << (Exc & 63);
        p[Exc >> 6] = On ? p[Exc >> 6] | Mask : p[Exc >> 6] & ~Mask;
    }
    int GroupPrio(int Prio8) const; // without the sub-priority bits
    int ExcPrio(unsigned Exc) const;
    bool ExcEnabled(unsigned Exc) const;
    int RawExecPrio() const; // of the active exceptions alone
    int ExecPrio(bool IgnorePrimask = false) const;
    unsigned HighestPending(int* pPrio) const; // 0: none; by full priority
    bool HasWakeup() const;
    void SetPend(unsigned Exc, bool On = true);
    void SetIrqLevel(unsigned Irq, bool High);
    uint32_t NvicRead(uint32_t Offset) const;
    void NvicWrite(uint32_t Offset, uint32_t Value, uint32_t LaneMask);
    uint8_t PrioMask() const { return uint8_t(0xFF << (8 - Config.NumPrioBits)); }

    // === armscs.cpp =====================================================================
    void ResetScs();
    bool SystemAccess(uint32_t Addr, unsigned Size, uint32_t& Value, bool Write, bool Priv, bool Debug);
    uint32_t ScbRead(uint32_t Offset, bool Debug);
    void ScbWrite(uint32_t Offset, uint32_t Value, uint32_t LaneMask, bool Debug);
    uint32_t SysTickRead(uint32_t Offset, bool Debug);
    void SysTickWrite(uint32_t Offset, uint32_t Value);
    void SysTickSync();
    uint32_t SysTickValue() const;
    bool ItmAccess(uint32_t Offset, unsigned Size, uint32_t& Value, bool Write, bool Priv);
    uint32_t DwtRead(uint32_t Offset) const;
    void DwtWrite(uint32_t Offset, uint32_t Value);
    uint32_t DwtCycles() const;

    // === primitives of the handlers =======================================================
    void Attend() { Deadline = 0; }
    // The instruction ends without effect; its exception is taken before the next one.
    void RaiseFault(FaultKind Kind, uint32_t Addr = 0)
    {
        if (Fault == FaultKind::None) {
            Fault = Kind;
            FaultAddr = Addr;
        }
        NextPc = R[15];
        Deadline = 0;
    }

    template <typename T> bool Load(uint32_t Addr, uint32_t& Value)
    {
        const TlbEntry& E = ReadTlb[(Addr >> kPageShift) & (kTlbSize - 1)];
        if ((Addr & (~(kPageSize - 1) | (sizeof(T) - 1))) == E.Tag) [[likely]] {
            T Raw;
            memcpy(&Raw, E.pPage + (Addr & (kPageSize - 1)), sizeof Raw);
            Value = Raw;
            return true;
        }
        return LoadSlow(Addr, sizeof(T), Value, 0);
    }
    template <typename T> bool Store(uint32_t Addr, uint32_t Value)
    {
        const TlbEntry& E = WriteTlb[(Addr >> kPageShift) & (kTlbSize - 1)];
        if ((Addr & (~(kPageSize - 1) | (sizeof(T) - 1))) == E.Tag) [[likely]] {
            T Raw = T(Value);
            memcpy(E.pPage + (Addr & (kPageSize - 1)), &Raw, sizeof Raw);
            return true;
        }
        return StoreSlow(Addr, sizeof(T), Value, 0);
    }
    // Word accesses that must be aligned whatever CCR says (LDM, LDRD, LDREX, VLDR).
    bool AlignedWord(uint32_t Addr)
    {
        if (Addr & 3) [[unlikely]] {
            RaiseFault(FaultKind::Unaligned, Addr);
            return false;
        }
        return true;
    }
    // A new value of SP by writeback or arithmetic; false: below the limit, fault raised.
    bool SpAllowed(uint32_t Value)
    {
        if (IsV8M && Value < SpLimit[SpIsPsp]) [[unlikely]] {
            RaiseFault(FaultKind::StackOverflow);
            return false;
        }
        return true;
    }

    void SetNz(uint32_t Result) { FlagN = FlagZ = Result; }
    uint32_t AddWithCarry(uint32_t A, uint32_t B, uint32_t CarryIn)
    {
        uint64_t Sum = uint64_t(A) + B + CarryIn;
        uint32_t Result = uint32_t(Sum);
        FlagN = FlagZ = Result;
        FlagC = uint32_t(Sum >> 32);
        FlagV = (A ^ Result) & (B ^ Result);
        return Result;
    }
    bool CondPassed(unsigned Cond) const
    {
        bool Result = true;
        switch (Cond >> 1) {
        case 0:
            Result = FlagZ == 0;
            break;
        case 1:
            Result = FlagC != 0;
            break;
        case 2:
            Result = FlagN >> 31;
            break;
        case 3:
            Result = FlagV >> 31;
            break;
        case 4:
            Result = FlagC && FlagZ;
            break;
        case 5:
            Result = !((FlagN ^ FlagV) >> 31);
            break;
        case 6:
            Result = FlagZ && !((FlagN ^ FlagV) >> 31);
            break;
        default:
            return true;
        }
        return Result != bool(Cond & 1);
    }
    void Branch(uint32_t Target)
    {
        NextPc = Target & ~1u;
        Cycles += 2;
    }
    // A branch that may change the instruction set or return from an exception.
    void BranchExchange(uint32_t Target)
    {
        Cycles += 2;
        if (Target >= 0xF0000000u && IsHandler() && (!IsV8M || Target >= 0xFF000000u)) [[unlikely]] {
            ExcReturn = Target;
            NextPc = Target & ~1u;
            Attend();
            return;
        }
        NextPc = Target & ~1u;
        if (!(Target & 1)) [[unlikely]] {
            Thumb = false;
            Attend();
        }
    }
};

} // namespace Sim
