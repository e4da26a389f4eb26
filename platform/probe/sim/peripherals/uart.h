// Serial port. A byte takes ten bit times at the baud rate; what the program sends is kept for
// the tester to read and, on request, appended to a file.
#pragma once
#include "platform/probe/sim/peripherals/peripheral.h"

#include <cstdio>
#include <deque>
#include <string>

namespace Sim {

class CUart : public CPeripheral {
public:
    explicit CUart(CPeripheralHost& Host);
    ~CUart() override;
    void Reset() override;
    bool Read(U32 Offset, U32* pValue) override;
    bool Write(U32 Offset, U32 Value) override;
    U32 Peek(U32 Offset) override;
    U64 GetNextEvent() const override;
    void OnEvent(U64 Cycle) override;

    /// Everything sent since the last call.
    std::string TakeOutput();
    /// Bytes that arrive from now on, one byte time after the other.
    void Feed(const std::string& Bytes);
    /// Output goes to this file as well, "" ends it. False: cannot be opened.
    bool SetFile(const std::string& Path);

private:
    enum { DATA = 0x00, STATUS = 0x04, CTRL = 0x08, BAUD = 0x0C };
    enum { ST_TXREADY = 1, ST_RXREADY = 2, ST_TXBUSY = 4, ST_OVERRUN = 8 };
    enum { CTRL_ENABLE = 1, CTRL_RXIE = 2, CTRL_TXIE = 4 };
    static constexpr std::size_t FIFO_SIZE = 16;
    static constexpr std::size_t MAX_OUTPUT = 1 << 20; // older bytes fall out when nobody reads

    U64 GetByteTime() const; // cycles
    U32 GetStatus() const;
    void UpdateIrq();
    void StartReceive();

    U32 m_Ctrl = 0;
    U32 m_Baud = 0;
    bool m_Overrun = false;
    U64 m_TxDone = 0;         // cycle at which the sender is free again
    U64 m_TxEvent = NO_EVENT; // the same while an interrupt waits for it
    U64 m_RxNext = NO_EVENT;  // cycle at which the next byte is in
    std::deque<U8> m_RxFifo;
    std::deque<U8> m_RxLine; // bytes still on the line
    std::string m_Output;
    std::FILE* m_pFile = nullptr;
};

} // namespace Sim
