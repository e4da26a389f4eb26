// A simulated board: one device with its memories, peripherals and cores, its power supply and its
// pace. It keeps its state from session to session, as a board on the desk does.
//
//   CBoard Board(*FindDevice("VS4F-512"), false, Log);
//   Board.SetRunning(0, true);
//   while (...) Board.RunSlice(Now);          // the runner's thread, one slice after another
//
// Used under the library's lock only.
#pragma once
#include "platform/probe/core/probelog.h"
#include "platform/probe/sim/core.h"
#include "platform/probe/sim/cpu/armcpu.h"
#include "platform/probe/sim/devicetable.h"
#include "platform/probe/sim/flash.h"
#include "platform/probe/sim/peripherals/adc.h"
#include "platform/probe/sim/peripherals/gpio.h"
#include "platform/probe/sim/peripherals/smallperipherals.h"
#include "platform/probe/sim/peripherals/sysctl.h"
#include "platform/probe/sim/peripherals/timer.h"
#include "platform/probe/sim/peripherals/uart.h"

#include <array>
#include <chrono>
#include <memory>
#include <utility>
#include <vector>

namespace Sim {

class CBoard final : private CPeripheralHost {
public:
    using Clock = std::chrono::steady_clock;
    enum class ECoreState { HeldInReset, Halted, Running };

    /// The device's core must be one that CreateCore() offers. Flash is erased, power is on and
    /// the first core runs.
    CBoard(const CDeviceEntry& Device, bool BigEndian, Probe::CProbeLog& Log);
    ~CBoard();

    const CDeviceEntry& GetDevice() const { return m_Device; }
    bool IsBigEndian() const { return m_BigEndian; }
    /// The strap that selects the byte order, sampled at reset.
    void StrapEndian(bool BigEndian) { m_EndianStrap = BigEndian && m_Device.BigEndian; }

    void SetPower(bool On); // off: memories but flash are lost
    bool IsPowered() const { return m_Powered; }
    /// Reset by the debugger: everything, and that core halts before its first instruction. The
    /// breakpoints of the cores stay unless the byte order has changed; then RecreatedCores().
    void Reset(unsigned HaltedCore);
    /// True once after a reset that made the cores anew.
    bool TakeRecreated() { return std::exchange(m_Recreated, false); }

    CCore& Core(unsigned Index) { return *m_Cores[Index].pCore; }
    ECoreState GetState(unsigned Core) const { return m_Cores[Core].State; }
    void Halt(unsigned Core);
    void Go(unsigned Core);
    CCoreStop Step(unsigned Core, bool MaskInterrupts);
    bool IsAnyRunning() const;
    /// While set nothing runs: flash is being programmed.
    void Freeze(bool Frozen) { m_Frozen = Frozen; }

    /// Runs what runs for about a millisecond at most, if it is time, and answers when it wants
    /// to be called again.
    Clock::time_point RunSlice(Clock::time_point Now);
    /// Pace: 0 as fast as possible, 1 the CPU's own clock, else cycles a second.
    void SetSpeedLimit(U32 Hz);
    U32 GetCpuHz() const { return m_SysCtl.GetClockHz(); }

    /// Memory bank that holds NumBytes at Addr as a whole; null: none.
    struct CBank {
        U32 Addr;
        U32 NumBytes;
        U8* pData;
        bool IsFlash;
    };
    const CBank* FindBank(U32 Addr, U32 NumBytes) const;
    /// One item of 1, 2, 4 or 8 bytes as the debug port of a core reads and writes it, bytes in
    /// the order of memory. Flash is read as it is and refuses writes. False: bus error.
    bool ReadItem(unsigned Core, U32 Addr, unsigned NumBytes, U8* pData);
    bool WriteItem(unsigned Core, U32 Addr, unsigned NumBytes, const U8* pData);
    /// Memory at Addr has changed: the cores forget what they decoded of it.
    void Invalidate(U32 Addr, U32 NumBytes);

    CFlash& Flash() { return m_Flash; }
    CUart& Uart() { return m_Uart; }
    CDiag& Diag() { return m_Diag; }
    CGpio& Gpio(unsigned Port) { return Port == 0 ? m_GpioA : m_GpioB; }

    // Bus of the cores.
    bool BusRead(U32 Addr, unsigned NumBytes, U32* pValue);
    bool BusWrite(U32 Addr, unsigned NumBytes, U32 Value);
    U64 DispatchEvents(U64 Cycle);
    void OnProgramReset(unsigned Core);

private:
    struct CCoreSlot {
        std::unique_ptr<ArmBus> pBus;
        std::unique_ptr<CCore> pCore;
        ECoreState State = ECoreState::HeldInReset;
        bool StepOver = false; // the next run starts on a breakpoint it has stopped at
        bool LockupTold = false;
    };

    // CPeripheralHost
    U64 GetNow() const override;
    U32 GetClockHz() const override { return m_SysCtl.GetClockHz(); }
    void SetIrq(unsigned Irq, bool High) override;
    void EventsChanged() override;

    void CreateCores();
    void ResetPeripherals(CSysCtl::EResetCause Cause);
    U64 GetNextEvent() const;
    CPeripheral* FindPeripheral(U32 Addr) const;
    void OnStop(unsigned Index, const CCoreStop& Stop);
    void RunQuantum(U64 NumCycles);

    const CDeviceEntry& m_Device;
    Probe::CProbeLog& m_Log;
    bool m_BigEndian;
    bool m_EndianStrap;
    bool m_Recreated = false;
    bool m_Powered = true;
    bool m_Frozen = false;
    bool m_OtherReset = false; // the program of one core has reset the system: the other follows

    CFlash m_Flash;
    std::vector<std::vector<U8>> m_Ram;
    std::vector<CBank> m_Banks;
    std::vector<CCoreSlot> m_Cores;

    CSysCtl m_SysCtl;
    CGpio m_GpioA;
    CGpio m_GpioB;
    CUart m_Uart;
    CTimer m_Timer;
    CAdc m_Adc;
    CRng m_Rng;
    CDiag m_Diag;
    std::array<CPeripheral*, 8> m_Peripherals; // at 0x40000000, 4 KB apart

    // Pace
    U32 m_SpeedLimit = 1;
    U64 m_SliceCycles = 20000;
    Clock::time_point m_Due{};        // not before this
    Clock::time_point m_AnchorTime{}; // at this time ...
    U64 m_AnchorCycles = 0;           // ... the count of the pace stood here
    U64 m_PaceCycles = 0;             // cycles run since power-on, of the busiest core
    U32 m_AnchorHz = 0;
};

} // namespace Sim
