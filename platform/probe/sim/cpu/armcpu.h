// Interpreter of the simulated microcontroller's Arm Cortex-M cores, with its interrupt
// controller, system control space and debug unit. One object is one core.
//
//   ArmCpuConfig Config;  Config.Kind = ArmCoreKind::M4F;
//   ArmCpu Cpu(Config, &Bus);                       // Bus: the device's peripherals
//   Cpu.MapMemory({0, 0x80000, pFlash, kMemRead | kMemExec});
//   Cpu.MapMemory({0x20000000, 0x20000, pRam, kMemRead | kMemWrite | kMemExec});
//   Cpu.Reset();
//   StopInfo Info = Cpu.Run(Cpu.GetCycles() + 1000000, kRunStepOverBreakpoint);
//
// Threads: every call is made by the one thread that owns the object at that time;
// RequestStop() alone may come from any thread. No locks inside. Everything is a function
// of the calls made and the cycles they were made at: two equal runs are bit-identical.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace Sim {

struct ArmCore;

enum class ArmCoreKind : uint8_t {
    M0,     // ARMv6-M, no VTOR, always privileged
    M0Plus, // ARMv6-M with VTOR and unprivileged mode
    M3,     // ARMv7-M
    M4,     // ARMv7E-M: with DSP instructions
    M4F,    // and the single precision FPv4 unit
    M7F,    // and the single precision part of FPv5
    M33     // ARMv8-M mainline, DSP, FPv5 single precision, no security extension
};

struct ArmCpuConfig {
    ArmCoreKind Kind = ArmCoreKind::M4F;
    uint16_t NumIrqs = 64;      // external interrupts: 1 to 480 (32 at most on M0 and M0Plus)
    uint8_t NumPrioBits = 4;    // implemented bits of a priority, 2 to 8; 2 on M0 and M0Plus whatever is said
    uint8_t NumMpuRegions = 8;  // MPU_TYPE.DREGION: 0, 8 or 16 (0: no MPU)
    bool BigEndianData = false; // data accesses big-endian, instructions and system registers little-endian
    uint32_t VectorTable = 0;   // VTOR at reset; the place of the vectors for good where there is no VTOR
    uint32_t SysTickCalib = 0;  // SYST_CALIB as it reads
};

// Memory that is read and written without a call. Regions don't overlap. The bytes stay the
// caller's and must live until UnmapAll() or the end of the core.
enum : uint8_t { kMemRead = 1, kMemWrite = 2, kMemExec = 4 };
struct MemRegion {
    uint32_t Base;  // multiple of 1024
    uint32_t Size;  // bytes, multiple of 1024, above 0
    uint8_t* pData; // Size bytes
    uint8_t Flags;  // kMem...: an access that isn't named goes to the bus
};

// What the core reaches outside its regions and its own system space (0xE0000000-0xE00FFFFF).
// Code is only fetched from regions. All calls come from inside Run()/Step()/Reset() or a
// memory access of the owner, in the owner's thread. An implementation may call the core's
// SetIrqLevel(), SetIrqPending(), ScheduleEvent(), RequestStop(), GetCycles() and
// InvalidateCode() from inside, nothing else.
class ArmBus {
public:
    virtual ~ArmBus() = default;
    // Size is 1, 2 or 4, Addr a multiple of it. Value is right-justified. False: bus error
    // (BusFault in the program).
    virtual bool Read(uint32_t Addr, unsigned Size, uint32_t* pValue) = 0;
    virtual bool Write(uint32_t Addr, unsigned Size, uint32_t Value) = 0;
    // The cycle named by ScheduleEvent() has come; called between two instructions. Answers
    // the absolute cycle of the next event, ~0 for none.
    virtual uint64_t OnEvent(uint64_t Cycle)
    {
        (void)Cycle;
        return ~uint64_t(0);
    }
    // The program asked for a reset by AIRCR.SYSRESETREQ; called between two instructions.
    // The core resets itself after this call.
    virtual void OnSystemReset() {}
    // A stimulus port write that passed ITM_TCR, ITM_TER and the privilege check.
    virtual void OnItmWrite(unsigned Port, unsigned Size, uint32_t Value)
    {
        (void)Port;
        (void)Size;
        (void)Value;
    }
    // The core went to sleep or woke up (for the power channel).
    virtual void OnSleep(bool Sleeping) { (void)Sleeping; }
};

enum class StopReason : uint8_t {
    Budget,          // the cycle asked for is reached
    Step,            // Step() has done its instruction
    Breakpoint,      // at a comparator's address, the instruction there not executed
    Watch,           // a data comparator hit; PC is the instruction after the accessing one
    BkptInstruction, // at a BKPT, not executed: the owner moves PC on (semihosting) or takes it out
    VectorCatch,     // exception entered that was to be caught, its first instruction not executed
    Lockup,          // a fault at the priority of HardFault; the core does nothing until Reset()
    StopRequested,   // RequestStop() came
    Sleeping,        // the cycle asked for is reached and the core is in WFI or WFE
    Reset            // the program reset the system and vector catch of the reset is on
};

struct StopInfo {
    StopReason Reason = StopReason::Budget;
    uint32_t Pc = 0;        // address of the next instruction
    uint8_t BkptImm = 0;    // BkptInstruction: the immediate (0xAB semihosting)
    uint8_t WatchIndex = 0; // Watch: which comparator, the lowest when several hit
    uint8_t WatchSize = 0;  // Watch: the access in bytes (1, 2, 4)
    bool WatchIsWrite = false;
    uint32_t WatchAddr = 0;  // Watch: address of the access
    uint32_t WatchValue = 0; // Watch: what was read or written
    uint32_t WatchPc = 0;    // Watch: address of the accessing instruction
};

// A data comparator. It hits when any byte of the access has an address that agrees with
// Addr outside AddrMask, and the value read or written agrees with Value outside ValueMask
// (bits set in a mask are ignored; ValueMask ~0: any value; bits above the access's size are
// never compared), and direction and size are among the named ones. The accessing
// instruction completes (a load or store of several registers too), then the core stops.
// Instruction fetches and exception stacking don't hit.
enum : uint8_t { kWatchRead = 1, kWatchWrite = 2 };
struct DataWatch {
    uint32_t Addr = 0;
    uint32_t AddrMask = 0;
    uint32_t Value = 0;
    uint32_t ValueMask = ~0u;
    uint8_t Access = kWatchRead | kWatchWrite;
    uint8_t Sizes = 1 | 2 | 4; // sum of access sizes in bytes
    bool Enabled = false;
};
constexpr unsigned kNumDataWatches = 4;

// One executed instruction of the trace.
struct TraceRecord {
    uint32_t Pc;    // bit 0 set: fetched but skipped, its IT or branch condition failed
    uint32_t Cycle; // low word of the cycle count before the instruction
};
// Ring of the newest instructions, owned by the caller. Record n (counted from 0) lies at
// pRecords[n & (Capacity - 1)].
struct TraceRing {
    TraceRecord* pRecords = nullptr;
    uint32_t Capacity = 0; // power of two, above 0
    uint64_t Count = 0;    // records written since the ring was set up
};
// Counters of one half word of code, of the instruction that starts there.
struct CodeCounter {
    uint32_t NumFetched; // executed or skipped
    uint32_t NumSkipped; // among them: condition failed
};

// Register indexes of GetReg()/SetReg().
enum ArmReg : unsigned {
    kRegSp = 13, // the active one
    kRegLr = 14,
    kRegPc = 15,
    kRegXpsr = 16, // APSR, IPSR and EPSR; T and IT included
    kRegMsp = 17,
    kRegPsp = 18,
    kRegPrimask = 19,
    kRegBasepri = 20,
    kRegFaultmask = 21,
    kRegControl = 22,
    kRegMsplim = 23,
    kRegPsplim = 24,
    kRegS0 = 32, // to 63: S31
    kRegFpscr = 64,
    kRegCycles = 65 // 64 bit, read only
};

// Flags of Run() and Step().
enum : uint8_t {
    // The first instruction is executed though a breakpoint lies on it, if no exception is
    // taken before it. Without this flag a breakpoint on PC stops at once.
    kRunStepOverBreakpoint = 1,
    // No PendSV, SysTick or external interrupt is taken in this call (probes do so while
    // stepping); faults and SVC are. They stay pending for the next call.
    kRunMaskInterrupts = 2
};

class ArmCpu {
public:
    // Bus stays the caller's and must outlive the core.
    ArmCpu(const ArmCpuConfig& Config, ArmBus* pBus);
    ~ArmCpu();
    ArmCpu(const ArmCpu&) = delete;
    ArmCpu& operator=(const ArmCpu&) = delete;

    const ArmCpuConfig& GetConfig() const;

    // --- memory -------------------------------------------------------------------------
    // False: misaligned, empty, overlapping, or in the system space.
    bool MapMemory(const MemRegion& Region);
    void UnmapAll();
    // Bytes of a region were changed other than by this core's stores (download, host write,
    // software breakpoint, another core): forgets what was decoded there. NumBytes 0: nothing.
    void InvalidateCode(uint32_t Addr, uint32_t NumBytes);
    // Accesses as the debug port makes them: system space, regions (whatever their flags for
    // reading; kMemWrite needed for writing) and bus, no MPU, no watch hits, no faults in the
    // program. NumBytes 1, 2 or 4, any alignment. False: bus error.
    bool DebugRead(uint32_t Addr, unsigned NumBytes, uint32_t* pValue);
    bool DebugWrite(uint32_t Addr, unsigned NumBytes, uint32_t Value);

    // --- registers ----------------------------------------------------------------------
    // False: this core has no such register (pValue is set to 0), or it is read only.
    bool GetReg(unsigned Index, uint64_t* pValue) const;
    bool SetReg(unsigned Index, uint64_t Value);
    uint32_t GetPc() const;

    // --- running ------------------------------------------------------------------------
    // Reset as by the reset pin: registers, system space, IT and exclusive state, then SP and
    // PC from the vector table. Breakpoints, comparators, vector catch, the trace settings
    // and the cycle count stay.
    void Reset();
    // Runs until the cycle count is at least UntilCycle (absolute) or something stops it.
    // At least one instruction is executed when UntilCycle is above the count. Asleep, the
    // count jumps to the next event. Stopping anywhere and going on is the same run as not
    // stopping.
    StopInfo Run(uint64_t UntilCycle, uint8_t Flags = 0);
    // Executes exactly one instruction. A pending exception that may be taken is entered
    // first (unless kRunMaskInterrupts), and its handler's first instruction is then the one
    // executed. An exception raised by the instruction itself (SVC, a fault) is entered
    // within the same step and PC is its handler. Breakpoints on PC are stepped over. Asleep:
    // time goes on to the event that wakes the core; without any the answer is Sleeping.
    // Reasons: Step, Sleeping, BkptInstruction, Watch, VectorCatch, Lockup, Reset.
    StopInfo Step(uint8_t Flags = 0);
    // Any thread: ends a Run() soon, at an instruction border; kept for the next Run() when
    // none is active.
    void RequestStop();
    void ClearStopRequest();

    bool IsSleeping() const; // in WFI or WFE
    bool IsLockedUp() const;
    uint64_t GetCycles() const;       // since construction, never set back
    uint64_t GetInstructions() const; // executed or skipped since construction

    // --- interrupts and time ------------------------------------------------------------
    // Level-sensitive input: pending again after the handler as long as it is high. Irq is
    // the external number (0 is exception 16); others are ignored.
    void SetIrqLevel(unsigned Irq, bool High);
    void SetIrqPending(unsigned Irq); // an edge
    void SetNmi();
    void SetEvent(); // SEV of another core: ends or prevents one WFE
    // ArmBus::OnEvent() is to be called at this absolute cycle, ~0: not at all. Replaces the
    // earlier one.
    void ScheduleEvent(uint64_t Cycle);

    // --- debug unit ---------------------------------------------------------------------
    // Breakpoints are a set of addresses without a limit; the layer above grants as many as
    // its device has units. They cost nothing while running. BKPT instructions written into
    // memory work beside them (call InvalidateCode()).
    void SetBreakpoint(uint32_t Addr); // bit 0 is ignored
    void ClearBreakpoint(uint32_t Addr);
    void ClearAllBreakpoints();
    bool HasBreakpoint(uint32_t Addr) const;
    void SetWatch(unsigned Index, const DataWatch& Watch); // Index below kNumDataWatches
    const DataWatch& GetWatch(unsigned Index) const;
    // Bits as in DEMCR (VC_CORERESET 0, MMERR 4, NOCPERR 5, CHKERR 6, STATERR 7, BUSERR 8,
    // INTERR 9, HARDERR 10). 0 at the start.
    void SetVectorCatch(uint32_t DemcrBits);
    uint32_t GetVectorCatch() const;
    // As the program sees it in DHCSR.C_DEBUGEN; while off BKPT is a HardFault or DebugMonitor
    // exception instead of a stop. On at the start.
    void SetDebugEnabled(bool Enabled);

    // --- trace --------------------------------------------------------------------------
    // Null switches off. The interpreter without trace is another instance of the same
    // template, so that nothing is paid while it is off.
    void SetTraceRing(TraceRing* pRing);
    // Counters for the half words from Base (pCounters[(Pc - Base) / 2]), kept while a trace
    // ring is set; null pCounters takes the range at Base away. The caller keeps the array.
    void SetCodeCounters(uint32_t Base, uint32_t NumBytes, CodeCounter* pCounters);

private:
    std::unique_ptr<ArmCore> m_pCore;
};

} // namespace Sim
