#include "platform/probe/sim/peripherals/sysctl.h"

namespace Sim {

CSysCtl::CSysCtl(CPeripheralHost& Host, U32 DeviceId, U32 ClockHz, unsigned NumCores)
    : CPeripheral(Host), m_DeviceId(DeviceId), m_BaseHz(ClockHz), m_NumCores(NumCores)
{
}

void CSysCtl::Reset()
{
    m_ClkDiv = 0;
    m_Cpu1Released = false;
}

U32 CSysCtl::Peek(U32 Offset)
{
    switch (Offset) {
    case DEVID:
        return m_DeviceId;
    case RSTCAUSE:
        return m_ResetCause;
    case CLKDIV:
        return m_ClkDiv;
    case CLKHZ:
        return GetClockHz();
    case CPU1CTRL:
        return m_Cpu1Released ? 1 : 0;
    default:
        return 0;
    }
}

bool CSysCtl::Read(U32 Offset, U32* pValue)
{
    *pValue = Peek(Offset);
    return Offset < CPU1CTRL || (Offset == CPU1CTRL && m_NumCores > 1);
}

bool CSysCtl::Write(U32 Offset, U32 Value)
{
    switch (Offset) {
    case DEVID:
    case CLKHZ:
        return true;
    case RSTCAUSE:
        m_ResetCause &= ~Value;
        return true;
    case CLKDIV:
        m_ClkDiv = Value & 0xFF;
        return true;
    case CPU1CTRL:
        m_Cpu1Released = m_Cpu1Released || (Value & 1) != 0;
        return m_NumCores > 1;
    default:
        return false;
    }
}

} // namespace Sim
