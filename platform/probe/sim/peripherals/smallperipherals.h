// The two peripherals of a few registers: the random number register and the probe register that
// shows unwanted reads.
#pragma once
#include "platform/probe/sim/peripherals/peripheral.h"

namespace Sim {

/// Random numbers that are the same in every run: the seed is fixed until the program sets one.
class CRng : public CPeripheral {
public:
    using CPeripheral::CPeripheral;
    void Reset() override { m_State = DEFAULT_SEED; }
    bool Read(U32 Offset, U32* pValue) override;
    bool Write(U32 Offset, U32 Value) override;
    U32 Peek(U32 Offset) override { return Offset == SEED || Offset == DATA ? m_State : 0; }

private:
    enum { SEED = 0x00, DATA = 0x04 };
    static constexpr U32 DEFAULT_SEED = 0x2545F491;
    U32 m_State = DEFAULT_SEED;
};

/// READS counts how often it has been read: a debugger that refreshes windows must not touch
/// registers nobody asked for, and here it shows.
class CDiag : public CPeripheral {
public:
    using CPeripheral::CPeripheral;
    void Reset() override { m_NumReads = m_Scratch = 0; }
    bool Read(U32 Offset, U32* pValue) override;
    bool Write(U32 Offset, U32 Value) override;
    U32 Peek(U32 Offset) override { return Offset == READS ? m_NumReads : Offset == SCRATCH ? m_Scratch : 0; }
    U32 GetNumReads() const { return m_NumReads; }

private:
    enum { READS = 0x00, SCRATCH = 0x04 };
    U32 m_NumReads = 0;
    U32 m_Scratch = 0;
};

} // namespace Sim
