#include "uart.h"

#include "../../common/vantrelsim.h"

/// Bytes sent and received since the start.
typedef struct {
    unsigned NumSent;
    unsigned NumReceived;
} UART_STATS;

static UART_STATS _Stats;

void UART_Init(unsigned BaudRate)
{
    UART0->BAUD = BaudRate;
    UART0->CTRL = 1;
    _Stats.NumSent = 0;
    _Stats.NumReceived = 0;
}

static void _SendByte(char Byte)
{
    while ((UART0->STATUS & UART_TXREADY) == 0) {
    }
    UART0->DATA = (unsigned char)Byte;
    _Stats.NumSent++;
}

void UART_Write(const char* pData, int NumBytes)
{
    for (int i = 0; i < NumBytes; i++) {
        if (pData[i] == '\n') {
            _SendByte('\r');
        }
        _SendByte(pData[i]);
    }
}

int UART_Read(char* pData, int NumBytes)
{
    int NumRead = 0;
    while (NumRead < NumBytes && (UART0->STATUS & UART_RXREADY) != 0) {
        pData[NumRead++] = (char)UART0->DATA;
        _Stats.NumReceived++;
    }
    return NumRead;
}
