#include "platform/probe/sim/peripherals/gpio.h"

namespace Sim {

constexpr U32 PINS = (1u << CGpio::NUM_PINS) - 1;

CGpio::CGpio(CPeripheralHost& Host, unsigned Irq) : CPeripheral(Host), m_Irq(Irq) {}

void CGpio::Reset()
{
    m_Dir = m_Out = m_Rise = m_Fall = m_Flags = 0;
    m_Host.SetIrq(m_Irq, false);
}

void CGpio::Update(U32 Before)
{
    const U32 Now = GetIn();
    m_Flags |= (Now & ~Before & m_Rise) | (~Now & Before & m_Fall);
    m_Host.SetIrq(m_Irq, m_Flags != 0);
}

void CGpio::SetPin(unsigned Pin, bool High)
{
    const U32 Before = GetIn();
    m_External = High ? m_External | 1u << Pin : m_External & ~(1u << Pin);
    Update(Before);
}

U32 CGpio::Peek(U32 Offset)
{
    switch (Offset) {
    case DIR:
        return m_Dir;
    case OUT:
        return m_Out;
    case IN:
        return GetIn();
    case RISE:
        return m_Rise;
    case FALL:
        return m_Fall;
    case FLAGS:
        return m_Flags;
    default:
        return 0; // SET, CLR and TGL are for writing
    }
}

bool CGpio::Read(U32 Offset, U32* pValue)
{
    *pValue = Peek(Offset);
    return Offset <= FLAGS;
}

bool CGpio::Write(U32 Offset, U32 Value)
{
    const U32 Before = GetIn();
    Value &= PINS;
    switch (Offset) {
    case DIR:
        m_Dir = Value;
        break;
    case OUT:
        m_Out = Value;
        break;
    case IN:
        break;
    case SET:
        m_Out |= Value;
        break;
    case CLR:
        m_Out &= ~Value;
        break;
    case TGL:
        m_Out ^= Value;
        break;
    case RISE:
        m_Rise = Value;
        break;
    case FALL:
        m_Fall = Value;
        break;
    case FLAGS:
        m_Flags &= ~Value;
        break;
    default:
        return false;
    }
    Update(Before);
    return true;
}

} // namespace Sim
