// Vector table and start-up of the programs that run in lockstep with an emulator. A program
// ends in TestEnd's endless branch.
#include <stdint.h>

extern uint32_t LoadStart, DataStart, DataEnd, BssStart, BssEnd, StackTop;
extern void (*InitStart[])(void);
extern void (*InitEnd[])(void);
int main(void);

__attribute__((noinline, used, noreturn)) void TestEnd(uint32_t Result)
{
    register uint32_t R0 __asm__("r0") = Result;
#if defined(SEMIHOSTING_EXIT)
    __asm__ volatile("movs r0,#0x18\n ldr r1,=0x20026\n bkpt 0xAB" ::: "r0", "r1", "memory");
#endif
    __asm__ volatile("1: b 1b" ::"r"(R0));
    __builtin_unreachable();
}

__attribute__((noreturn, used)) void ResetHandler(void)
{
    uint32_t* pFrom = &LoadStart;
    for (uint32_t* p = &DataStart; p < &DataEnd;) *p++ = *pFrom++;
    for (uint32_t* p = &BssStart; p < &BssEnd;) *p++ = 0;
#if defined(__ARM_FP)
    *(volatile uint32_t*)0xE000ED88 |= 0xFu << 20;
    __asm__ volatile("dsb\n isb");
#endif
    for (void (**pInit)(void) = InitStart; pInit < InitEnd; ++pInit) (*pInit)();
    TestEnd((uint32_t)main());
}

void DefaultHandler(void) { TestEnd(0xDEAD0000); }
#define WEAK __attribute__((weak, alias("DefaultHandler")))
WEAK void NmiHandler(void);
WEAK void HardFaultHandler(void);
WEAK void MemManageHandler(void);
WEAK void BusFaultHandler(void);
WEAK void UsageFaultHandler(void);
WEAK void SvcHandler(void);
WEAK void DebugMonHandler(void);
WEAK void PendSvHandler(void);
WEAK void SysTickHandler(void);
WEAK void Irq0Handler(void);
WEAK void Irq1Handler(void);
WEAK void Irq2Handler(void);
WEAK void Irq3Handler(void);

__attribute__((section(".vectors"), used)) const void* Vectors[48] = {
    &StackTop,        ResetHandler,      NmiHandler,     HardFaultHandler, MemManageHandler, BusFaultHandler,
    UsageFaultHandler, 0,                0,              0,                0,                SvcHandler,
    DebugMonHandler,  0,                 PendSvHandler,  SysTickHandler,   Irq0Handler,      Irq1Handler,
    Irq2Handler,      Irq3Handler,
};
