// The interpreter of the Arm cores behind the interface that the board works with.
#pragma once
#include "platform/probe/sim/core.h"
#include "platform/probe/sim/cpu/armcpu.h"

namespace Sim {

class CArmAdapter : public CCore {
public:
    CArmAdapter(const ArmCpuConfig& Config, ArmBus* pBus);

    bool Map(const CMapping& Mapping) override;
    void Invalidate(U32 Addr, U32 NumBytes) override;
    bool BusRead(U32 Addr, unsigned NumBytes, U32* pValue) override;
    bool BusWrite(U32 Addr, unsigned NumBytes, U32 Value) override;
    bool IsBigEndian(U32 Addr) const override;
    void Reset() override;
    CCoreStop Run(U64 UntilCycle, bool StepOverBP) override;
    CCoreStop Step(bool MaskInterrupts) override;
    U64 GetCycles() const override { return m_Cpu.GetCycles(); }
    U64 GetInstructions() const override { return m_Cpu.GetInstructions(); }
    bool ReadReg(U32 Index, U64* pValue) const override;
    bool WriteReg(U32 Index, U64 Value) override;
    bool ReadNamedReg(const std::string& Name, U64* pValue) override;
    bool WriteNamedReg(const std::string& Name, U64 Value) override;
    void SetBreakpoint(U32 Addr) override { m_Cpu.SetBreakpoint(Addr); }
    void ClearBreakpoint(U32 Addr) override { m_Cpu.ClearBreakpoint(Addr); }
    void SetDataMatch(unsigned Index, const CDataMatch* pMatch) override;
    unsigned GetNumDataMatches() const override { return kNumDataWatches; }
    void SetIrqLevel(unsigned Irq, bool High) override { m_Cpu.SetIrqLevel(Irq, High); }
    void ScheduleEvent(U64 Cycle) override { m_Cpu.ScheduleEvent(Cycle); }

private:
    static CCoreStop Translate(const StopInfo& Info);

    ArmCpu m_Cpu;
};

} // namespace Sim
