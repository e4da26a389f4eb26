#include "platform/probe/sim/peripherals/adc.h"

namespace Sim {

/// Sine of a turn of 65536, amplitude 2047, by the parabola approximation: whole numbers only, so
/// that the signal is the same on every machine.
static int Sine(unsigned Turn)
{
    const int Half = int(Turn & 0x7FFF);
    const int Parabola = int((long long)(Half) * (0x8000 - Half) * 2047 / (0x4000ll * 0x4000));
    return (Turn & 0x8000) != 0 ? -Parabola : Parabola;
}

void CAdc::Reset()
{
    m_Ctrl = m_Status = m_Channel = m_Data = 0;
    m_Done = NO_EVENT;
    m_Start = m_Host.GetNow();
    UpdateIrq();
    m_Host.EventsChanged();
}

void CAdc::UpdateIrq()
{
    m_Host.SetIrq(IRQ_ADC0, (m_Status & 1) != 0 && (m_Ctrl & CTRL_IE) != 0);
}

U32 CAdc::Sample(U64 Cycle) const
{
    const U64 Period = m_Host.GetClockHz() / SIGNAL_HZ + 1;
    const unsigned Turn = static_cast<unsigned>(Cycle % Period * 65536 / Period);
    switch (m_Channel) {
    case 0:
        return static_cast<U32>(2048 + Sine(Turn));
    case 1:
        return Turn < 32768 ? Turn / 8 : (65535 - Turn) / 8;
    case 2:
        return Turn / 16;
    default: {
        U64 x = Cycle * 0x9E3779B97F4A7C15ull;
        x ^= x >> 29;
        return static_cast<U32>(x * 0xBF58476D1CE4E5B9ull >> 52);
    }
    }
}

void CAdc::OnEvent(U64 Cycle)
{
    if (Cycle < m_Done) {
        return;
    }
    m_Data = Sample(m_Done - m_Start);
    m_Status |= 1;
    m_Done = (m_Ctrl & CTRL_CONTINUOUS) != 0 ? m_Done + CONVERSION_CYCLES : NO_EVENT;
    UpdateIrq();
}

U32 CAdc::Peek(U32 Offset)
{
    switch (Offset) {
    case CTRL:
        return m_Ctrl;
    case STATUS:
        return m_Status | (m_Done != NO_EVENT ? 2 : 0);
    case CHANNEL:
        return m_Channel;
    case DATA:
        return m_Data;
    default:
        return 0;
    }
}

bool CAdc::Read(U32 Offset, U32* pValue)
{
    *pValue = Peek(Offset);
    if (Offset == DATA) {
        m_Status &= ~1u;
        UpdateIrq();
    }
    return Offset <= DATA;
}

bool CAdc::Write(U32 Offset, U32 Value)
{
    switch (Offset) {
    case CTRL:
        m_Ctrl = Value & (CTRL_ENABLE | CTRL_CONTINUOUS | CTRL_IE); // START is an order, not a state
        if ((m_Ctrl & CTRL_ENABLE) == 0) {
            m_Done = NO_EVENT;
        } else if ((Value & CTRL_START) != 0 && m_Done == NO_EVENT) {
            m_Done = m_Host.GetNow() + CONVERSION_CYCLES;
        }
        m_Host.EventsChanged();
        break;
    case STATUS:
        m_Status &= ~(Value & 1);
        break;
    case CHANNEL:
        m_Channel = Value & 3;
        break;
    case DATA:
        break;
    default:
        return false;
    }
    UpdateIrq();
    return true;
}

} // namespace Sim
