// Interrupts at cycles that follow from the cycle count alone: SysTick, an external timer,
// sleeping, the cycle counter. Any change of the run shows in the sums.
#include <stdint.h>

#define REG(a) (*(volatile uint32_t*)(a))

static volatile uint32_t Ticks, Events, Sum, Woken;

static void Note(uint32_t Value) { Sum = (Sum << 7 | Sum >> 25) ^ Value; }

void SysTickHandler(void)
{
    ++Ticks;
    Note(REG(0xE000E018));
    if (Ticks % 3 == 0) REG(0xE000ED04) = 1u << 28;
}
void Irq0Handler(void)
{
    ++Events;
    Note(REG(0xE0001004));
    for (volatile int i = 0; i < (int)(Events & 15); ++i) Note((uint32_t)i);
}
void PendSvHandler(void) { Note(0xABCD + Ticks); }

// Many IT blocks and exclusive accesses for the interrupts to fall into.
static __attribute__((noinline)) uint32_t Work(uint32_t Value)
{
    uint32_t Result = Value, Status;
    static uint32_t Cell;
    __asm__ volatile("1: ldrex r2,[%3]\n adds r2,%0\n strex %1,r2,[%3]\n cmp %1,#0\n bne 1b\n"
                     "tst %2,#1\n ittee ne\n addne %0,#3\n lslne %0,#1\n subeq %0,#1\n eoreq %0,%2\n"
                     "tst %2,#4\n itete eq\n addeq %0,#7\n rorne %0,%2\n mvneq %0,%0\n subne %0,#9\n"
                     : "+r"(Result), "=&r"(Status)
                     : "r"(Value), "r"(&Cell)
                     : "r2", "cc", "memory");
    return Result + Cell;
}

int main(void)
{
    REG(0xE000EDFC) = 1u << 24;
    REG(0xE0001000) = 1;
    REG(0xE000ED20) = 0x80FF0000;
    REG(0xE000E400) = 0x40;
    REG(0xE000E100) = 1;
    REG(0xE000E014) = 996;
    REG(0xE000E018) = 0;
    REG(0xE000E010) = 7;
    uint32_t Value = 1;
    while (Ticks < 120) {
        for (int i = 0; i < 20; ++i) Value = Work(Value);
#if defined(__ARM_FP)
        float F = (float)(Value & 0xFFFF) * 1.25f;
        Note((uint32_t)F);
#endif
        if ((Ticks & 7) == 5) {
            __asm__ volatile("wfi");
            ++Woken;
        }
        Note(Value);
    }
    REG(0xE000E010) = 0;
    __asm__ volatile("cpsid i");
    Note(Events);
    Note(Woken);
    return (int)Sum;
}
