// Identification registers and the reset values of the system control space.
#include <stdint.h>
#define REG(a) (*(volatile uint32_t*)(a))
int main(void)
{
    uint32_t Sum = 0;
    for (uint32_t a = 0xE000ED40; a < 0xE000ED80; a += 4) Sum += REG(a);
    Sum += REG(0xE000ED00) + REG(0xE000ED08) + REG(0xE000ED0C) + REG(0xE000ED10);
    Sum += REG(0xE000ED18) + REG(0xE000ED1C) + REG(0xE000ED20) + REG(0xE000ED24) + REG(0xE000ED28) + REG(0xE000ED2C);
#if defined(__ARM_FP)
    Sum += REG(0xE000EF34) + REG(0xE000EF3C);
#endif
    REG(0xE000ED0C) = 0x05FA0700;
    Sum += REG(0xE000ED0C);
    REG(0xE000E400) = 0x01234567;
    Sum += REG(0xE000E400) + *(volatile uint8_t*)0xE000E401;
    REG(0xE000E100) = 0xFFFFFFFF;
    Sum += REG(0xE000E100) + REG(0xE000E104);
    REG(0xE000E180) = 0x0F0F0F0F;
    Sum += REG(0xE000E180);
    return (int)Sum;
}
