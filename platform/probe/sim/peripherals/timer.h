// Timer that counts down from its reload value and raises an interrupt at 0.
#pragma once
#include "platform/probe/sim/peripherals/peripheral.h"

namespace Sim {

class CTimer : public CPeripheral {
public:
    using CPeripheral::CPeripheral;
    void Reset() override;
    bool Read(U32 Offset, U32* pValue) override;
    bool Write(U32 Offset, U32 Value) override;
    U32 Peek(U32 Offset) override;
    U64 GetNextEvent() const override { return m_Expires; }
    void OnEvent(U64 Cycle) override;

private:
    enum { CTRL = 0x00, PRESC = 0x04, RELOAD = 0x08, COUNT = 0x0C, STATUS = 0x10 };
    enum { CTRL_ENABLE = 1, CTRL_IE = 2, CTRL_ONESHOT = 4 };
    U64 GetPeriod() const { return (U64(m_Presc) + 1) * (U64(m_Reload) + 1); }
    void Restart();
    void UpdateIrq();

    U32 m_Ctrl = 0;
    U32 m_Presc = 0; // the count falls every m_Presc + 1 cycles
    U32 m_Reload = 0;
    U32 m_Status = 0; // bit 0: has reached 0; written 1 clears
    U64 m_Expires = NO_EVENT;
};

} // namespace Sim
