#include "testmachine.h"

using namespace Sim;

const BoardInfo kBoardM0{"Cortex-M0", ArmCoreKind::M0, "microbit", "-mcpu=cortex-m0", 0, 0x40000,
                         0x20000000,  0x4000,          false};
const BoardInfo kBoardM3{"Cortex-M3", ArmCoreKind::M3, "mps2-an385", "-mcpu=cortex-m3", 0, 0x400000,
                         0x20000000,  0x400000,        false};
const BoardInfo kBoardM4F{"Cortex-M4F",
                          ArmCoreKind::M4F,
                          "mps2-an386",
                          "-mcpu=cortex-m4 -mfloat-abi=hard -mfpu=fpv4-sp-d16",
                          0,
                          0x400000,
                          0x20000000,
                          0x400000,
                          true};
const BoardInfo kBoardM7F{"Cortex-M7F",
                          ArmCoreKind::M7F,
                          "mps2-an500",
                          "-mcpu=cortex-m7 -mfloat-abi=hard -mfpu=fpv5-sp-d16",
                          0,
                          0x400000,
                          0x20000000,
                          0x400000,
                          true};
const BoardInfo kBoardM33{
    "Cortex-M33", ArmCoreKind::M33, "mps2-an505", "-mcpu=cortex-m33 -mfloat-abi=hard -mfpu=fpv5-sp-d16",
    0x10000000,   0x400000,         0x38000000,   0x200000,
    true};

namespace {

ArmCpuConfig ConfigFor(const BoardInfo& Info)
{
    ArmCpuConfig Config;
    Config.Kind = Info.Kind;
    Config.NumIrqs = 32;
    Config.NumPrioBits = 8; // as the emulator's boards
    Config.VectorTable = Info.Rom;
    Config.NumMpuRegions = Info.Kind == ArmCoreKind::M33 ? 16 : 8;
    return Config;
}

} // namespace

TestMachine::TestMachine(const BoardInfo& Info)
    : m_Info(Info), m_Rom(Info.RomSize), m_Ram(Info.RamSize), m_Cpu(ConfigFor(Info), this)
{
    m_Cpu.MapMemory({Info.Rom, Info.RomSize, m_Rom.data(), kMemRead | kMemWrite | kMemExec});
    m_Cpu.MapMemory({Info.Ram, Info.RamSize, m_Ram.data(), kMemRead | kMemWrite | kMemExec});
}

uint64_t TestMachine::OnEvent(uint64_t Cycle)
{
    if (m_EventIrq != ~0u) m_Cpu.SetIrqPending(m_EventIrq);
    return m_EventPeriod ? Cycle + m_EventPeriod : ~uint64_t(0);
}

void TestMachine::OnItmWrite(unsigned Port, unsigned Size, uint32_t Value)
{
    m_Itm.insert(m_Itm.end(), {Port, Size, Value});
}

void TestMachine::LoadRom(const QByteArray& Image)
{
    std::copy(Image.begin(), Image.end(), m_Rom.begin());
    m_Cpu.InvalidateCode(m_Info.Rom, m_Info.RomSize);
    m_Cpu.Reset();
}

uint64_t TestMachine::GetReg(unsigned Index) const
{
    uint64_t Value = 0;
    m_Cpu.GetReg(Index, &Value);
    return Value;
}

CpuState TestMachine::GetState() const
{
    CpuState State;
    for (unsigned i = 0; i < 16; ++i) State.R[i] = uint32_t(GetReg(i));
    State.Xpsr = uint32_t(GetReg(kRegXpsr));
    if (!m_Info.HasFp) return State;
    for (unsigned i = 0; i < 32; ++i) State.S[i] = uint32_t(GetReg(kRegS0 + i));
    State.Fpscr = uint32_t(GetReg(kRegFpscr));
    return State;
}
