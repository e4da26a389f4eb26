// Exceptions of ARMv6-M: SVC, PendSV, interrupts with two priority bits, HardFault.
#include <stdint.h>

#define REG(a) (*(volatile uint32_t*)(a))

static volatile uint32_t Sum;
static void Note(uint32_t Value) { Sum = (Sum << 3 | Sum >> 29) + Value; }

static uint32_t Ipsr(void)
{
    uint32_t Value;
    __asm__ volatile("mrs %0,ipsr" : "=r"(Value));
    return Value;
}

void Irq0Handler(void)
{
    Note(0x100 + Ipsr());
    REG(0xE000E200) = 2;
    Note(REG(0xE000E280));
    REG(0xE000E200) = 4;
    REG(0xE000ED04) = 1u << 28;
}
void Irq1Handler(void) { Note(0x200 + Ipsr()); }
void Irq2Handler(void) { Note(0x300); }
void PendSvHandler(void) { Note(0x400); }
__attribute__((used)) static void SvcBody(uint32_t* pFrame) { pFrame[0] += 5; }
__attribute__((naked)) void SvcHandler(void) { __asm__ volatile("mov r0,sp\n ldr r1,=SvcBody\n bx r1"); }
__attribute__((used)) static void FaultBody(uint32_t* pFrame)
{
    Note(Ipsr());
    pFrame[6] += *(uint16_t*)pFrame[6] >> 11 >= 0x1D ? 4 : 2;
}
__attribute__((naked)) void HardFaultHandler(void) { __asm__ volatile("mov r0,sp\n ldr r1,=FaultBody\n bx r1"); }

int main(void)
{
    REG(0xE000E400) = 0x00C04080;
    Note(REG(0xE000E400));
    REG(0xE000ED20) = 0x00FF0000;
    REG(0xE000E100) = 7;
    for (int i = 0; i < 3; ++i) {
        REG(0xE000E200) = 1u << i;
        register uint32_t R0 __asm__("r0") = Sum;
        __asm__ volatile("svc #1" : "+r"(R0)::"r1", "r2", "r3", "r12", "lr", "memory");
        Note(R0);
    }
    __asm__ volatile("cpsid i");
    REG(0xE000E200) = 7;
    Note(REG(0xE000E200));
    __asm__ volatile("wfi\n cpsie i\n nop");
    Note(Sum);
    uint32_t Value = 1;
    __asm__ volatile("udf #0");
    __asm__ volatile("ldr %0,[%1]" : "+l"(Value) : "l"(0x20000001));
    __asm__ volatile("ldrh %0,[%1]" : "+l"(Value) : "l"(0x20000001));
    __asm__ volatile("cpsid i\n cpsie i");
    Note(Value);
    return (int)Sum;
}
