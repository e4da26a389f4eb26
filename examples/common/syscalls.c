// What newlib asks of the system: output to the UART, a heap, and nothing else.
#include "../blinky/drivers/uart.h"

#include <errno.h>
#include <sys/stat.h>

extern char __heap_start__, __heap_end__;

int _write(int File, const char* pData, int NumBytes)
{
    (void)File;
    UART_Write(pData, NumBytes);
    return NumBytes;
}

int _read(int File, char* pData, int NumBytes)
{
    (void)File;
    return UART_Read(pData, NumBytes);
}

void* _sbrk(int Increment)
{
    static char* pBreak = &__heap_start__;
    if (pBreak + Increment > &__heap_end__) {
        errno = ENOMEM;
        return (void*)-1;
    }
    char* pOld = pBreak;
    pBreak += Increment;
    return pOld;
}

int _close(int File)
{
    (void)File;
    return -1;
}

int _fstat(int File, struct stat* pStat)
{
    (void)File;
    pStat->st_mode = S_IFCHR;
    return 0;
}

int _isatty(int File)
{
    (void)File;
    return 1;
}

int _lseek(int File, int Offset, int Whence)
{
    (void)File;
    (void)Offset;
    (void)Whence;
    return 0;
}

void _exit(int Status)
{
    (void)Status;
    for (;;) {
    }
}

int _kill(int Process, int Signal)
{
    (void)Process;
    (void)Signal;
    errno = EINVAL;
    return -1;
}

int _getpid(void)
{
    return 1;
}
