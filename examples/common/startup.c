// Vector table and reset code of the Cortex-M4F examples.
#include "vantrelsim.h"

extern uint32_t __stack_top__, __data_load__, __data_start__, __data_end__, __bss_start__, __bss_end__;
extern void __libc_init_array(void);
extern int main(void);

void Reset_Handler(void);

static void Default_Handler(void)
{
    for (;;) {
    }
}

#define WEAK_HANDLER __attribute__((weak, alias("Default_Handler")))
void NMI_Handler(void) WEAK_HANDLER;
void HardFault_Handler(void) WEAK_HANDLER;
void MemManage_Handler(void) WEAK_HANDLER;
void BusFault_Handler(void) WEAK_HANDLER;
void UsageFault_Handler(void) WEAK_HANDLER;
void SVC_Handler(void) WEAK_HANDLER;
void DebugMon_Handler(void) WEAK_HANDLER;
void PendSV_Handler(void) WEAK_HANDLER;
void SysTick_Handler(void) WEAK_HANDLER;
void TIMER0_Handler(void) WEAK_HANDLER;
void UART0_Handler(void) WEAK_HANDLER;
void GPIOA_Handler(void) WEAK_HANDLER;
void ADC0_Handler(void) WEAK_HANDLER;
void GPIOB_Handler(void) WEAK_HANDLER;

typedef union {
    void (*pfHandler)(void);
    uint32_t* pStack;
} VECTOR;

__attribute__((section(".vectors"), used)) const VECTOR __vectors__[] = {
    {.pStack = &__stack_top__},
    {Reset_Handler},
    {NMI_Handler},
    {HardFault_Handler},
    {MemManage_Handler},
    {BusFault_Handler},
    {UsageFault_Handler},
    {0},
    {0},
    {0},
    {0},
    {SVC_Handler},
    {DebugMon_Handler},
    {0},
    {PendSV_Handler},
    {SysTick_Handler},
    {TIMER0_Handler},
    {UART0_Handler},
    {GPIOA_Handler},
    {ADC0_Handler},
    {GPIOB_Handler},
};

void Reset_Handler(void)
{
    SCB_CPACR |= 0xFu << 20; // the C code may use the FPU from here on
    __asm volatile("dsb\n isb");
    const uint32_t* pFrom = &__data_load__;
    for (uint32_t* p = &__data_start__; p < &__data_end__;) {
        *p++ = *pFrom++;
    }
    for (uint32_t* p = &__bss_start__; p < &__bss_end__;) {
        *p++ = 0;
    }
    __libc_init_array();
    main();
    for (;;) {
    }
}

// Called by __libc_init_array; the toolchain's own start files are not linked.
void _init(void)
{
}
