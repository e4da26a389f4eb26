#include "platform/probe/sim/peripherals/smallperipherals.h"

namespace Sim {

bool CRng::Read(U32 Offset, U32* pValue)
{
    *pValue = Peek(Offset);
    if (Offset == DATA) {
        m_State ^= m_State << 13;
        m_State ^= m_State >> 17;
        m_State ^= m_State << 5;
    }
    return Offset <= DATA;
}

bool CRng::Write(U32 Offset, U32 Value)
{
    if (Offset == SEED) {
        m_State = Value != 0 ? Value : DEFAULT_SEED; // 0 would stay 0 for ever
    }
    return Offset <= DATA;
}

bool CDiag::Read(U32 Offset, U32* pValue)
{
    if (Offset == READS) {
        ++m_NumReads;
    }
    *pValue = Peek(Offset);
    return Offset <= SCRATCH;
}

bool CDiag::Write(U32 Offset, U32 Value)
{
    if (Offset == READS) {
        m_NumReads = Value;
    } else if (Offset == SCRATCH) {
        m_Scratch = Value;
    }
    return Offset <= SCRATCH;
}

} // namespace Sim
