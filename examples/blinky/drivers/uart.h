// Serial port, polled.
#ifndef UART_H
#define UART_H

void UART_Init(unsigned BaudRate);
void UART_Write(const char* pData, int NumBytes);
/// Bytes that have arrived, at most NumBytes; does not wait.
int UART_Read(char* pData, int NumBytes);

#endif
