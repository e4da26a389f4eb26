// Port of 16 pins.
#pragma once
#include "platform/probe/sim/peripherals/peripheral.h"

namespace Sim {

class CGpio : public CPeripheral {
public:
    CGpio(CPeripheralHost& Host, unsigned Irq);
    void Reset() override;
    bool Read(U32 Offset, U32* pValue) override;
    bool Write(U32 Offset, U32 Value) override;
    U32 Peek(U32 Offset) override;

    static constexpr unsigned NUM_PINS = 16;
    /// Level that the outside world puts on a pin; kept over resets.
    void SetPin(unsigned Pin, bool High);
    /// Level of the pin as it is: its output when it is one, else the outside's.
    bool GetPin(unsigned Pin) const { return (GetIn() >> Pin & 1) != 0; }

private:
    enum {
        DIR = 0x00,
        OUT = 0x04,
        IN = 0x08,
        SET = 0x0C,
        CLR = 0x10,
        TGL = 0x14,
        RISE = 0x18,
        FALL = 0x1C,
        FLAGS = 0x20
    };
    U32 GetIn() const { return (m_Out & m_Dir) | (m_External & ~m_Dir); }
    void Update(U32 Before);

    const unsigned m_Irq;
    U32 m_Dir = 0; // 1: output
    U32 m_Out = 0;
    U32 m_External = 0;
    U32 m_Rise = 0; // interrupt on rising edge
    U32 m_Fall = 0;
    U32 m_Flags = 0; // edges seen; written 1 clears
};

} // namespace Sim
