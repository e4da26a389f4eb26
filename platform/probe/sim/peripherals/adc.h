// Converter of 12 bits over four synthetic signals: sine, triangle, saw tooth and noise, all
// functions of the cycles since reset.
#pragma once
#include "platform/probe/sim/peripherals/peripheral.h"

namespace Sim {

class CAdc : public CPeripheral {
public:
    using CPeripheral::CPeripheral;
    void Reset() override;
    bool Read(U32 Offset, U32* pValue) override;
    bool Write(U32 Offset, U32 Value) override;
    U32 Peek(U32 Offset) override;
    U64 GetNextEvent() const override { return m_Done; }
    void OnEvent(U64 Cycle) override;

private:
    enum { CTRL = 0x00, STATUS = 0x04, CHANNEL = 0x08, DATA = 0x0C };
    enum { CTRL_ENABLE = 1, CTRL_START = 2, CTRL_CONTINUOUS = 4, CTRL_IE = 8 };
    static constexpr U64 CONVERSION_CYCLES = 64;
    static constexpr unsigned SIGNAL_HZ = 50;
    U32 Sample(U64 Cycle) const;
    void UpdateIrq();

    U32 m_Ctrl = 0;
    U32 m_Status = 0;  // bit 0: a result is there; read DATA or write 1 clears
    U32 m_Channel = 0; // 0 sine, 1 triangle, 2 saw tooth, 3 noise
    U32 m_Data = 0;
    U64 m_Done = NO_EVENT;
    U64 m_Start = 0; // cycle of the last reset: the signals begin there, so that runs are alike
};

} // namespace Sim
