// A peripheral of the simulated device: 1 KB of registers of 32 bits, interrupts, and events in
// the cycle count of the first core. Everything it does is a function of what the program does
// and when, so that two runs are alike.
#pragma once
#include "platform/probe/bryllo.h"

namespace Sim {

constexpr U64 NO_EVENT = ~U64(0);
constexpr U32 PERIPHERAL_SIZE = 0x400;

/// What a peripheral needs of the board.
class CPeripheralHost {
public:
    virtual U64 GetNow() const = 0; // cycles
    virtual U32 GetClockHz() const = 0;
    virtual void SetIrq(unsigned Irq, bool High) = 0;
    /// A peripheral's next event has changed.
    virtual void EventsChanged() = 0;

protected:
    ~CPeripheralHost() = default;
};

/// Interrupt numbers, as the SVD file tells them.
enum { IRQ_TIMER0 = 0, IRQ_UART0 = 1, IRQ_GPIOA = 2, IRQ_ADC0 = 3, IRQ_GPIOB = 4 };

class CPeripheral {
public:
    explicit CPeripheral(CPeripheralHost& Host) : m_Host(Host) {}
    virtual ~CPeripheral() = default;
    CPeripheral(const CPeripheral&) = delete;
    CPeripheral& operator=(const CPeripheral&) = delete;

    virtual void Reset() = 0;
    /// A register as a whole, with what reading it does. False: no such register.
    virtual bool Read(U32 Offset, U32* pValue) = 0;
    virtual bool Write(U32 Offset, U32 Value) = 0;
    /// The register without what reading it does: what a narrow write keeps of it.
    virtual U32 Peek(U32 Offset) = 0;
    /// Absolute cycle at which OnEvent() is wanted.
    virtual U64 GetNextEvent() const { return NO_EVENT; }
    virtual void OnEvent(U64 Cycle) { (void)Cycle; }

protected:
    CPeripheralHost& m_Host;
};

} // namespace Sim
