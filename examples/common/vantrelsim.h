// Registers of the simulated devices, as VantrelSim.svd describes them.
#ifndef VANTRELSIM_H
#define VANTRELSIM_H

#include <stdint.h>

typedef volatile uint32_t REG;

typedef struct {
    const REG DEVID;
    REG RSTCAUSE;
    REG CLKDIV;
    const REG CLKHZ;
    REG CPU1CTRL;
} SYSCTL_REGS;

typedef struct {
    REG DIR;
    REG OUT;
    const REG IN;
    REG SET;
    REG CLR;
    REG TGL;
    REG RISE;
    REG FALL;
    REG FLAGS;
} GPIO_REGS;

typedef struct {
    REG DATA;
    REG STATUS;
    REG CTRL;
    REG BAUD;
} UART_REGS;

typedef struct {
    REG CTRL;
    REG PRESC;
    REG RELOAD;
    REG COUNT;
    REG STATUS;
} TIMER_REGS;

typedef struct {
    REG CTRL;
    REG STATUS;
    REG CHANNEL;
    REG DATA;
} ADC_REGS;

#define SYSCTL ((SYSCTL_REGS*)0x40000000u)
#define GPIOA ((GPIO_REGS*)0x40001000u)
#define GPIOB ((GPIO_REGS*)0x40002000u)
#define UART0 ((UART_REGS*)0x40003000u)
#define TIMER0 ((TIMER_REGS*)0x40004000u)
#define ADC0 ((ADC_REGS*)0x40005000u)
#define RNG_DATA (*(REG*)0x40006004u)

#define IRQ_TIMER0 0
#define IRQ_UART0 1

#define UART_TXREADY 1u
#define UART_RXREADY 2u

// Core peripherals
#define SYST_CSR (*(REG*)0xE000E010u)
#define SYST_RVR (*(REG*)0xE000E014u)
#define SYST_CVR (*(REG*)0xE000E018u)
#define NVIC_ISER (*(REG*)0xE000E100u)
#define SCB_CPACR (*(REG*)0xE000ED88u)

#endif
