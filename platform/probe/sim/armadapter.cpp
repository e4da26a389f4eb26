#include "platform/probe/sim/armadapter.h"

#include "platform/probe/core/armregs.h"
#include "platform/probe/sim/devicetable.h"

#include <cstdio>
#include <optional>

namespace Sim {

namespace {

std::optional<ArmCoreKind> ToKind(U32 Core)
{
    switch (Core) {
    case BRYLLO_CORE_CORTEX_M0:
        return ArmCoreKind::M0;
    case BRYLLO_CORE_CORTEX_M0P:
        return ArmCoreKind::M0Plus;
    case BRYLLO_CORE_CORTEX_M3:
        return ArmCoreKind::M3;
    case BRYLLO_CORE_CORTEX_M4:
        return ArmCoreKind::M4;
    case BRYLLO_CORE_CORTEX_M4F:
        return ArmCoreKind::M4F;
    case BRYLLO_CORE_CORTEX_M7F:
        return ArmCoreKind::M7F;
    case BRYLLO_CORE_CORTEX_M33:
        return ArmCoreKind::M33;
    default:
        return std::nullopt;
    }
}

} // namespace

bool CanSimulate(const CDeviceEntry& Device)
{
    return ToKind(Device.Core).has_value();
}

std::unique_ptr<CCore> CreateCore(const CDeviceEntry& Device, bool BigEndian, ArmBus* pBus)
{
    const auto Kind = ToKind(Device.Core);
    if (!Kind) {
        return nullptr;
    }
    ArmCpuConfig Config;
    Config.Kind = *Kind;
    Config.NumIrqs = 32;
    Config.BigEndianData = BigEndian;
    Config.VectorTable = Device.FlashAlias ? 0 : Device.Flash.Addr;
    Config.NumMpuRegions = *Kind == ArmCoreKind::M0 ? 0 : 8;
    Config.SysTickCalib = Device.ClockHz / 100 - 1; // reload for 10 ms
    return std::make_unique<CArmAdapter>(Config, pBus);
}

CArmAdapter::CArmAdapter(const ArmCpuConfig& Config, ArmBus* pBus) : m_Cpu(Config, pBus) {}

bool CArmAdapter::Map(const CMapping& Mapping)
{
    const U8 Flags = Mapping.Writable ? kMemRead | kMemWrite | kMemExec : kMemRead | kMemExec;
    return m_Cpu.MapMemory({Mapping.Addr, Mapping.NumBytes, Mapping.pData, Flags});
}

void CArmAdapter::Invalidate(U32 Addr, U32 NumBytes)
{
    m_Cpu.InvalidateCode(Addr, NumBytes);
}

bool CArmAdapter::BusRead(U32 Addr, unsigned NumBytes, U32* pValue)
{
    return m_Cpu.DebugRead(Addr, NumBytes, pValue);
}

bool CArmAdapter::BusWrite(U32 Addr, unsigned NumBytes, U32 Value)
{
    return m_Cpu.DebugWrite(Addr, NumBytes, Value);
}

bool CArmAdapter::IsBigEndian(U32 Addr) const
{
    return m_Cpu.GetConfig().BigEndianData && (Addr < 0xE0000000u || Addr > 0xE00FFFFFu);
}

void CArmAdapter::Reset()
{
    m_Cpu.ClearStopRequest();
    m_Cpu.Reset();
}

CCoreStop CArmAdapter::Translate(const StopInfo& Info)
{
    char acText[128];
    switch (Info.Reason) {
    case StopReason::Budget:
    case StopReason::Step:
    case StopReason::StopRequested:
        return {ECoreStop::Budget, {}};
    case StopReason::Sleeping:
        return {ECoreStop::Sleeping, {}};
    case StopReason::Lockup:
        return {ECoreStop::Lockup, {}};
    case StopReason::Breakpoint:
        std::snprintf(acText, sizeof(acText), "breakpoint at 0x%08X", Info.Pc);
        break;
    case StopReason::Watch:
        std::snprintf(acText, sizeof(acText),
                      "data event: %u byte %s at 0x%08X, value 0x%X, by the instruction at 0x%08X",
                      Info.WatchSize, Info.WatchIsWrite ? "write" : "read", Info.WatchAddr, Info.WatchValue,
                      Info.WatchPc);
        break;
    case StopReason::BkptInstruction:
        std::snprintf(acText, sizeof(acText), "breakpoint instruction 0x%02X at 0x%08X", Info.BkptImm,
                      Info.Pc);
        break;
    case StopReason::VectorCatch:
        std::snprintf(acText, sizeof(acText), "vector catch at 0x%08X", Info.Pc);
        break;
    case StopReason::Reset:
        std::snprintf(acText, sizeof(acText), "reset by the program, caught at 0x%08X", Info.Pc);
        break;
    }
    return {ECoreStop::Halted, acText};
}

CCoreStop CArmAdapter::Run(U64 UntilCycle, bool StepOverBP)
{
    return Translate(m_Cpu.Run(UntilCycle, StepOverBP ? kRunStepOverBreakpoint : 0));
}

CCoreStop CArmAdapter::Step(bool MaskInterrupts)
{
    return Translate(m_Cpu.Step(MaskInterrupts ? kRunMaskInterrupts : 0));
}

bool CArmAdapter::ReadReg(U32 Index, U64* pValue) const
{
    return m_Cpu.GetReg(Index, pValue);
}

bool CArmAdapter::WriteReg(U32 Index, U64 Value)
{
    return m_Cpu.SetReg(Index, Value);
}

bool CArmAdapter::ReadNamedReg(const std::string& Name, U64* pValue)
{
    const Probe::CNamedReg* pReg = Probe::FindNamedReg(Name);
    if (!pReg) {
        return false;
    }
    if (pReg->IsIndex()) {
        return m_Cpu.GetReg(pReg->IndexOrAddr, pValue);
    }
    U32 Value = 0;
    const bool Ok = m_Cpu.DebugRead(pReg->IndexOrAddr, 4, &Value);
    *pValue = Value;
    return Ok;
}

bool CArmAdapter::WriteNamedReg(const std::string& Name, U64 Value)
{
    const Probe::CNamedReg* pReg = Probe::FindNamedReg(Name);
    if (!pReg) {
        return false;
    }
    return pReg->IsIndex() ? m_Cpu.SetReg(pReg->IndexOrAddr, Value)
                                   : m_Cpu.DebugWrite(pReg->IndexOrAddr, 4, static_cast<U32>(Value));
}

void CArmAdapter::SetDataMatch(unsigned Index, const CDataMatch* pMatch)
{
    DataWatch Watch;
    if (pMatch) {
        Watch.Addr = pMatch->Addr;
        Watch.AddrMask = pMatch->AddrMask;
        Watch.Value = pMatch->Data;
        Watch.ValueMask = pMatch->DataMask;
        Watch.Access = static_cast<U8>((pMatch->Read ? kWatchRead : 0) | (pMatch->Write ? kWatchWrite : 0));
        Watch.Sizes = pMatch->Sizes;
        Watch.Enabled = true;
    }
    m_Cpu.SetWatch(Index, Watch);
}

} // namespace Sim
