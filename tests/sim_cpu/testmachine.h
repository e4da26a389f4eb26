// A simulated core with memory as the emulator's boards have it, for the tests.
#pragma once

#include "platform/probe/sim/cpu/armcpu.h"

#include <QByteArray>

#include <vector>

// Registers before an instruction.
struct CpuState {
    uint32_t R[16] = {};
    uint32_t Xpsr = 0;
    uint32_t S[32] = {};
    uint32_t Fpscr = 0;
    bool operator==(const CpuState&) const = default;
};

struct BoardInfo {
    const char* sName;
    Sim::ArmCoreKind Kind;
    const char* sMachine;  // of the emulator
    const char* sGccFlags; // architecture
    uint32_t Rom, RomSize, Ram, RamSize;
    bool HasFp;
};
extern const BoardInfo kBoardM0, kBoardM3, kBoardM4F, kBoardM7F, kBoardM33;

class TestMachine : public Sim::ArmBus {
public:
    explicit TestMachine(const BoardInfo& Info);
    bool Read(uint32_t, unsigned, uint32_t*) override { return false; }
    bool Write(uint32_t, unsigned, uint32_t) override { return false; }
    uint64_t OnEvent(uint64_t Cycle) override;
    void OnItmWrite(unsigned Port, unsigned Size, uint32_t Value) override;
    void OnSleep(bool Sleeping) override { m_NumSleeps += Sleeping; }

    void LoadRom(const QByteArray& Image); // and resets
    CpuState GetState() const;
    uint64_t GetReg(unsigned Index) const;
    // One instruction and the exceptions taken before the next, as the emulator logs it.
    void RunOne() { m_Cpu.Run(m_Cpu.GetCycles() + 1, Sim::kRunStepOverBreakpoint); }

    const BoardInfo& m_Info;
    std::vector<uint8_t> m_Rom, m_Ram;
    Sim::ArmCpu m_Cpu;
    unsigned m_NumSleeps = 0;
    unsigned m_EventIrq = ~0u;  // made pending by the event
    uint64_t m_EventPeriod = 0; // 0: no further event
    std::vector<uint32_t> m_Itm;
};
