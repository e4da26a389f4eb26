#include "platform/probe/sim/peripherals/uart.h"

#include <algorithm>
#include <utility>

namespace Sim {

constexpr U32 DEFAULT_BAUD = 115200;

CUart::CUart(CPeripheralHost& Host) : CPeripheral(Host) {}

CUart::~CUart()
{
    SetFile({});
}

void CUart::Reset()
{
    m_Ctrl = 0;
    m_Baud = DEFAULT_BAUD;
    m_Overrun = false;
    m_TxDone = 0;
    m_TxEvent = m_RxNext = NO_EVENT;
    m_RxFifo.clear();
    StartReceive();
    UpdateIrq();
}

U64 CUart::GetByteTime() const
{
    return std::max<U64>(1, U64(m_Host.GetClockHz()) * 10 / std::max<U32>(1, m_Baud));
}

U32 CUart::GetStatus() const
{
    const bool Busy = m_Host.GetNow() < m_TxDone;
    return (Busy ? ST_TXBUSY : ST_TXREADY) | (m_RxFifo.empty() ? 0 : ST_RXREADY) |
           (m_Overrun ? ST_OVERRUN : 0);
}

void CUart::UpdateIrq()
{
    const U32 Status = GetStatus();
    const bool Enabled = (m_Ctrl & CTRL_ENABLE) != 0;
    const bool Rx = (m_Ctrl & CTRL_RXIE) != 0 && (Status & ST_RXREADY) != 0;
    const bool Tx = (m_Ctrl & CTRL_TXIE) != 0 && (Status & ST_TXREADY) != 0;
    m_Host.SetIrq(IRQ_UART0, Enabled && (Rx || Tx));
    m_TxEvent = (m_Ctrl & CTRL_TXIE) != 0 && (Status & ST_TXBUSY) != 0 ? m_TxDone : NO_EVENT;
    m_Host.EventsChanged();
}

void CUart::StartReceive()
{
    if (m_RxNext == NO_EVENT && !m_RxLine.empty() && (m_Ctrl & CTRL_ENABLE) != 0) {
        m_RxNext = m_Host.GetNow() + GetByteTime();
    }
}

U64 CUart::GetNextEvent() const
{
    return std::min(m_TxEvent, m_RxNext);
}

void CUart::OnEvent(U64 Cycle)
{
    if (Cycle >= m_RxNext) {
        if (m_RxFifo.size() < FIFO_SIZE) {
            m_RxFifo.push_back(m_RxLine.front());
        } else {
            m_Overrun = true;
        }
        m_RxLine.pop_front();
        m_RxNext = NO_EVENT;
        StartReceive();
    }
    UpdateIrq();
}

U32 CUart::Peek(U32 Offset)
{
    switch (Offset) {
    case DATA:
        return m_RxFifo.empty() ? 0 : m_RxFifo.front();
    case STATUS:
        return GetStatus();
    case CTRL:
        return m_Ctrl;
    case BAUD:
        return m_Baud;
    default:
        return 0;
    }
}

bool CUart::Read(U32 Offset, U32* pValue)
{
    *pValue = Peek(Offset);
    if (Offset == DATA && !m_RxFifo.empty()) {
        m_RxFifo.pop_front();
        UpdateIrq();
    }
    return Offset <= BAUD;
}

bool CUart::Write(U32 Offset, U32 Value)
{
    switch (Offset) {
    case DATA:
        // A byte written while the last one is on its way is lost, as on a port without a buffer.
        if ((m_Ctrl & CTRL_ENABLE) != 0 && (GetStatus() & ST_TXREADY) != 0) {
            m_Output += static_cast<char>(Value);
            if (m_Output.size() > MAX_OUTPUT) {
                m_Output.erase(0, MAX_OUTPUT / 2);
            }
            if (m_pFile) {
                std::fputc(static_cast<int>(Value & 0xFF), m_pFile);
                std::fflush(m_pFile);
            }
            m_TxDone = m_Host.GetNow() + GetByteTime();
        }
        break;
    case STATUS:
        m_Overrun = m_Overrun && (Value & ST_OVERRUN) == 0;
        break;
    case CTRL:
        m_Ctrl = Value & (CTRL_ENABLE | CTRL_RXIE | CTRL_TXIE);
        StartReceive();
        break;
    case BAUD:
        m_Baud = Value;
        break;
    default:
        return false;
    }
    UpdateIrq();
    return true;
}

std::string CUart::TakeOutput()
{
    return std::exchange(m_Output, {});
}

void CUart::Feed(const std::string& Bytes)
{
    m_RxLine.insert(m_RxLine.end(), Bytes.begin(), Bytes.end());
    StartReceive();
    m_Host.EventsChanged();
}

bool CUart::SetFile(const std::string& Path)
{
    if (m_pFile) {
        std::fclose(m_pFile);
        m_pFile = nullptr;
    }
    if (!Path.empty()) {
        m_pFile = std::fopen(Path.c_str(), "ab");
    }
    return Path.empty() || m_pFile;
}

} // namespace Sim
