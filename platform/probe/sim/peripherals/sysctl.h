// System control: what chip this is, its clock, why it was reset, and the second core's start.
#pragma once
#include "platform/probe/sim/peripherals/peripheral.h"

namespace Sim {

class CSysCtl : public CPeripheral {
public:
    enum EResetCause : U32 { POWER_ON = 1, PIN = 2, SOFTWARE = 4 };

    /// ClockHz: of the CPU after reset. NumCores tells whether CPU1CTRL exists.
    CSysCtl(CPeripheralHost& Host, U32 DeviceId, U32 ClockHz, unsigned NumCores);
    void Reset() override;
    bool Read(U32 Offset, U32* pValue) override;
    bool Write(U32 Offset, U32 Value) override;
    U32 Peek(U32 Offset) override;

    void AddResetCause(EResetCause Cause)
    {
        m_ResetCause = Cause == POWER_ON ? U32(Cause) : m_ResetCause | Cause;
    }
    /// CPU clock in force.
    U32 GetClockHz() const { return m_BaseHz / (m_ClkDiv + 1); }
    /// The program has let the second core go.
    bool IsCpu1Released() const { return m_Cpu1Released; }

private:
    enum { DEVID = 0x00, RSTCAUSE = 0x04, CLKDIV = 0x08, CLKHZ = 0x0C, CPU1CTRL = 0x10 };

    const U32 m_DeviceId;
    const U32 m_BaseHz;
    const unsigned m_NumCores;
    U32 m_ResetCause = 0; // written 1 clears; kept over resets but that of power
    U32 m_ClkDiv = 0;
    bool m_Cpu1Released = false;
};

} // namespace Sim
