// ArmCpu: the door to the core for the layers above.
#include "armcpu.h"

#include "armcore.h"

namespace Sim {

ArmCpu::ArmCpu(const ArmCpuConfig& Config, ArmBus* pBus) : m_pCore(std::make_unique<ArmCore>(Config, pBus)) {}
ArmCpu::~ArmCpu() = default;

const ArmCpuConfig& ArmCpu::GetConfig() const
{
    return m_pCore->Config;
}

// --- memory -------------------------------------------------------------------------------

bool ArmCpu::MapMemory(const MemRegion& Region)
{
    return m_pCore->MapMemory(Region);
}
void ArmCpu::UnmapAll()
{
    m_pCore->UnmapAll();
}
void ArmCpu::InvalidateCode(uint32_t Addr, uint32_t NumBytes)
{
    m_pCore->InvalidateCode(Addr, NumBytes);
}

bool ArmCpu::DebugRead(uint32_t Addr, unsigned NumBytes, uint32_t* pValue)
{
    uint32_t Value = 0;
    if (NumBytes != 1 && NumBytes != 2 && NumBytes != 4) return false;
    bool Ok = m_pCore->DebugAccess(Addr, NumBytes, Value, false);
    *pValue = Ok ? Value : 0;
    return Ok;
}

bool ArmCpu::DebugWrite(uint32_t Addr, unsigned NumBytes, uint32_t Value)
{
    if (NumBytes != 1 && NumBytes != 2 && NumBytes != 4) return false;
    return m_pCore->DebugAccess(Addr, NumBytes, Value, true);
}

// --- registers ----------------------------------------------------------------------------

bool ArmCpu::GetReg(unsigned Index, uint64_t* pValue) const
{
    const ArmCore& C = *m_pCore;
    *pValue = 0;
    if (Index < 16) {
        *pValue = C.R[Index];
        return true;
    }
    if (Index >= kRegS0 && Index < kRegS0 + 32) {
        if (C.HasFpu) *pValue = C.S[Index - kRegS0];
        return C.HasFpu;
    }
    switch (Index) {
    case kRegXpsr:
        *pValue = C.GetXpsr();
        return true;
    case kRegMsp:
        *pValue = C.GetSp(false);
        return true;
    case kRegPsp:
        *pValue = C.GetSp(true);
        return true;
    case kRegPrimask:
        *pValue = C.Primask;
        return true;
    case kRegControl:
        *pValue = C.Control;
        return true;
    case kRegCycles:
        *pValue = C.Cycles;
        return true;
    case kRegBasepri:
        *pValue = C.Basepri;
        return !C.IsV6M;
    case kRegFaultmask:
        *pValue = C.Faultmask;
        return !C.IsV6M;
    case kRegMsplim:
        *pValue = C.SpLimit[0];
        return C.IsV8M;
    case kRegPsplim:
        *pValue = C.SpLimit[1];
        return C.IsV8M;
    case kRegFpscr:
        *pValue = C.Fpscr;
        return C.HasFpu;
    default:
        return false;
    }
}

bool ArmCpu::SetReg(unsigned Index, uint64_t Value64)
{
    ArmCore& C = *m_pCore;
    uint32_t Value = uint32_t(Value64);
    C.Attend();
    if (Index < 13 || Index == kRegLr) {
        C.R[Index] = Value;
        return true;
    }
    if (Index >= kRegS0 && Index < kRegS0 + 32) {
        if (C.HasFpu) C.S[Index - kRegS0] = Value;
        return C.HasFpu;
    }
    switch (Index) {
    case kRegSp:
        C.R[13] = Value & ~3u;
        return true;
    case kRegPc:
        C.R[15] = Value & ~1u;
        return true;
    case kRegXpsr:
        C.SetXpsr(Value);
        return true;
    case kRegMsp:
        C.SetSp(false, Value);
        return true;
    case kRegPsp:
        C.SetSp(true, Value);
        return true;
    case kRegPrimask:
        C.Primask = Value & 1;
        return true;
    case kRegControl:
        C.SetControl(Value);
        return true;
    case kRegBasepri:
        if (!C.IsV6M) C.Basepri = Value & C.PrioMask();
        return !C.IsV6M;
    case kRegFaultmask:
        if (!C.IsV6M) C.Faultmask = Value & 1;
        return !C.IsV6M;
    case kRegMsplim:
    case kRegPsplim:
        if (C.IsV8M) C.SpLimit[Index - kRegMsplim] = Value & ~7u;
        return C.IsV8M;
    case kRegFpscr:
        if (C.HasFpu) C.Fpscr = Value & 0xF7C0009F;
        return C.HasFpu;
    default:
        return false;
    }
}

uint32_t ArmCpu::GetPc() const
{
    return m_pCore->R[15];
}

// --- running ------------------------------------------------------------------------------

void ArmCpu::Reset()
{
    m_pCore->Reset();
}
StopInfo ArmCpu::Run(uint64_t UntilCycle, uint8_t Flags)
{
    return m_pCore->Run(UntilCycle, Flags);
}
StopInfo ArmCpu::Step(uint8_t Flags)
{
    return m_pCore->Step(Flags);
}
void ArmCpu::RequestStop()
{
    m_pCore->StopFlag = true;
}
void ArmCpu::ClearStopRequest()
{
    m_pCore->StopFlag = false;
}
bool ArmCpu::IsSleeping() const
{
    return m_pCore->Sleeping;
}
bool ArmCpu::IsLockedUp() const
{
    return m_pCore->LockedUp;
}
uint64_t ArmCpu::GetCycles() const
{
    return m_pCore->Cycles;
}
uint64_t ArmCpu::GetInstructions() const
{
    return m_pCore->NumInstr;
}

// --- interrupts and time --------------------------------------------------------------------

void ArmCpu::SetIrqLevel(unsigned Irq, bool High)
{
    m_pCore->SetIrqLevel(Irq, High);
}

void ArmCpu::SetIrqPending(unsigned Irq)
{
    if (Irq < m_pCore->Config.NumIrqs) m_pCore->SetPend(16 + Irq);
}

void ArmCpu::SetNmi()
{
    m_pCore->SetPend(kExcNmi);
}

void ArmCpu::SetEvent()
{
    m_pCore->EventReg = true;
    m_pCore->Attend();
}

void ArmCpu::ScheduleEvent(uint64_t Cycle)
{
    m_pCore->EventCycle = Cycle;
    m_pCore->Attend();
}

// --- debug unit -----------------------------------------------------------------------------

void ArmCpu::SetBreakpoint(uint32_t Addr)
{
    Addr &= ~1u;
    if (m_pCore->Breakpoints.insert(Addr).second) m_pCore->InvalidateCode(Addr, 1);
}

void ArmCpu::ClearBreakpoint(uint32_t Addr)
{
    Addr &= ~1u;
    if (m_pCore->Breakpoints.erase(Addr)) m_pCore->InvalidateCode(Addr, 1);
}

void ArmCpu::ClearAllBreakpoints()
{
    for (uint32_t Addr : m_pCore->Breakpoints) m_pCore->InvalidateCode(Addr, 1);
    m_pCore->Breakpoints.clear();
}

bool ArmCpu::HasBreakpoint(uint32_t Addr) const
{
    return m_pCore->Breakpoints.count(Addr & ~1u) != 0;
}

void ArmCpu::SetWatch(unsigned Index, const DataWatch& Watch)
{
    if (Index >= kNumDataWatches) return;
    m_pCore->Watches[Index] = Watch;
    m_pCore->AnyWatch = false;
    for (const DataWatch& W : m_pCore->Watches) m_pCore->AnyWatch |= W.Enabled;
    m_pCore->UpdateTlbAllowed();
}

const DataWatch& ArmCpu::GetWatch(unsigned Index) const
{
    return m_pCore->Watches[Index & (kNumDataWatches - 1)];
}

void ArmCpu::SetVectorCatch(uint32_t DemcrBits)
{
    m_pCore->Scs.Demcr = (m_pCore->Scs.Demcr & ~0x7F1u) | (DemcrBits & 0x7F1u);
}

uint32_t ArmCpu::GetVectorCatch() const
{
    return m_pCore->Scs.Demcr & 0x7F1u;
}
void ArmCpu::SetDebugEnabled(bool Enabled)
{
    m_pCore->DebugEnabled = Enabled;
}

// --- trace ----------------------------------------------------------------------------------

void ArmCpu::SetTraceRing(TraceRing* pRing)
{
    m_pCore->pTrace = pRing && pRing->Capacity ? pRing : nullptr;
}

void ArmCpu::SetCodeCounters(uint32_t Base, uint32_t NumBytes, CodeCounter* pCounters)
{
    std::erase_if(m_pCore->Counters, [&](const ArmCore::CounterRange& Range) { return Range.Base == Base; });
    if (pCounters && NumBytes) m_pCore->Counters.push_back({Base, NumBytes & ~1u, pCounters});
}

} // namespace Sim
