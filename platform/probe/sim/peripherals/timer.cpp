#include "platform/probe/sim/peripherals/timer.h"

namespace Sim {

void CTimer::Reset()
{
    m_Ctrl = m_Presc = m_Status = 0;
    m_Reload = 0xFFFFFFFF;
    m_Expires = NO_EVENT;
    UpdateIrq();
    m_Host.EventsChanged();
}

void CTimer::UpdateIrq()
{
    m_Host.SetIrq(IRQ_TIMER0, (m_Status & 1) != 0 && (m_Ctrl & CTRL_IE) != 0);
}

void CTimer::Restart()
{
    m_Expires = (m_Ctrl & CTRL_ENABLE) != 0 ? m_Host.GetNow() + GetPeriod() : NO_EVENT;
    m_Host.EventsChanged();
}

void CTimer::OnEvent(U64 Cycle)
{
    if (Cycle < m_Expires) {
        return;
    }
    m_Status |= 1;
    if ((m_Ctrl & CTRL_ONESHOT) != 0) {
        m_Ctrl &= ~U32(CTRL_ENABLE);
        m_Expires = NO_EVENT;
    } else {
        // From the instant it was due, not from when it was noticed: the period does not drift.
        const U64 Period = GetPeriod();
        m_Expires += ((Cycle - m_Expires) / Period + 1) * Period;
    }
    UpdateIrq();
}

U32 CTimer::Peek(U32 Offset)
{
    switch (Offset) {
    case CTRL:
        return m_Ctrl;
    case PRESC:
        return m_Presc;
    case RELOAD:
        return m_Reload;
    case COUNT: {
        const U64 Now = m_Host.GetNow();
        if (m_Expires == NO_EVENT || m_Expires <= Now) {
            return 0;
        }
        return static_cast<U32>((m_Expires - Now - 1) / (U64(m_Presc) + 1));
    }
    case STATUS:
        return m_Status;
    default:
        return 0;
    }
}

bool CTimer::Read(U32 Offset, U32* pValue)
{
    *pValue = Peek(Offset);
    return Offset <= STATUS;
}

bool CTimer::Write(U32 Offset, U32 Value)
{
    switch (Offset) {
    case CTRL: {
        const bool WasOn = (m_Ctrl & CTRL_ENABLE) != 0;
        m_Ctrl = Value & (CTRL_ENABLE | CTRL_IE | CTRL_ONESHOT);
        if (WasOn != ((m_Ctrl & CTRL_ENABLE) != 0)) {
            Restart();
        }
        break;
    }
    case PRESC:
        m_Presc = Value & 0xFFFF;
        Restart();
        break;
    case RELOAD:
        m_Reload = Value;
        Restart();
        break;
    case COUNT:
        Restart(); // any value starts the count anew
        break;
    case STATUS:
        m_Status &= ~Value;
        break;
    default:
        return false;
    }
    UpdateIrq();
    return true;
}

} // namespace Sim
