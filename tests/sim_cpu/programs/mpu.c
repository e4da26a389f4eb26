// Memory protection of ARMv7-M (regions, subregions, access rights, privilege) and ARMv8-M.
#include <stdint.h>

#define REG(a) (*(volatile uint32_t*)(a))

static volatile uint32_t Sum;
static void Note(uint32_t Value) { Sum = (Sum << 3 | Sum >> 29) + Value; }
static uint32_t Area[2048] __attribute__((aligned(8192)));

__attribute__((used)) static void FaultBody(uint32_t* pFrame)
{
    uint32_t Cfsr = REG(0xE000ED28);
    Note(Cfsr);
    if (Cfsr & 0x80) Note(REG(0xE000ED34) - (uint32_t)Area);
    if (Cfsr & 0x101) pFrame[6] = pFrame[5];
    else pFrame[6] += *(uint16_t*)pFrame[6] >> 11 >= 0x1D ? 4 : 2;
    REG(0xE000ED28) = Cfsr;
}
__attribute__((naked)) void MemManageHandler(void)
{
    __asm__ volatile("tst lr,#4\n ite eq\n mrseq r0,msp\n mrsne r0,psp\n b FaultBody");
}
void HardFaultHandler(void) __attribute__((alias("MemManageHandler")));
__attribute__((naked)) void BusFaultHandler(void)
{
    __asm__ volatile("tst lr,#4\n ite eq\n mrseq r0,msp\n mrsne r0,psp\n b FaultBody");
}
// SVC: back to privileged code.
__attribute__((naked)) void SvcHandler(void)
{
    __asm__ volatile("movs r0,#0\n msr control,r0\n bx lr");
}

static __attribute__((noinline)) void Touch(uint32_t Offset)
{
    uint32_t Value = 0x11, Address = (uint32_t)Area + Offset;
    __asm__ volatile("ldr %0,[%1]" : "+r"(Value) : "r"(Address));
    Note(Value);
    __asm__ volatile("str %0,[%1]" ::"r"(Offset), "r"(Address) : "memory");
    __asm__ volatile("ldrt %0,[%1]" : "+r"(Value) : "r"(Address));
    Note(Value);
    __asm__ volatile("strbt %0,[%1]" ::"r"(Offset), "r"(Address) : "memory");
}

static void TouchAll(void)
{
    for (uint32_t Offset = 0; Offset < 8192; Offset += 212) Touch(Offset & ~3u);
    // Code in the area: BX LR.
    __asm__ volatile("blx %0" ::"r"((uint32_t)Area + 0x41) : "lr", "r0", "r1", "r2", "r3", "r12", "cc", "memory");
}

static void Unprivileged(void (*pFn)(void))
{
    __asm__ volatile("movs r0,#1\n msr control,r0\n isb" ::: "r0", "memory");
    pFn();
    uint32_t Value = 7;
    __asm__ volatile("ldr %0,[%1]" : "+r"(Value) : "r"(0xE000ED00)); // refused
    Note(Value);
    __asm__ volatile("cpsid i\n mrs %0,primask" : "=r"(Value)); // ignored
    Note(Value);
    __asm__ volatile("svc #0" ::: "r0", "r1", "r2", "r3", "r12", "lr", "memory");
}

static void Region(uint32_t Number, uint32_t Rbar, uint32_t Attributes)
{
    REG(0xE000ED98) = Number;
    REG(0xE000ED9C) = Rbar;
    REG(0xE000EDA0) = Attributes;
    Note(REG(0xE000EDA0));
}

int main(void)
{
    REG(0xE000ED24) = 7u << 16;
    Note(REG(0xE000ED90) >> 16);
    for (unsigned i = 0; i < 2048; ++i) Area[i] = 0x47704770;
    uint32_t Ram = (uint32_t)Area & 0xFFFF0000u;
#if defined(__ARM_ARCH_8M_MAIN__)
    REG(0xE000EDC0) = 0xFF;
    for (uint32_t Ap = 0; Ap < 8; ++Ap) { // access rights and execute never
        REG(0xE000ED94) = 0;
        Region(0, 0x10000000 | 3 << 1, 0x103FFFE0 | 1);
        Region(1, Ram | 1 << 1, ((uint32_t)Area - 32) | 1);
        Region(2, (uint32_t)Area | Ap, ((uint32_t)Area + 0x3E0) | 1);
        Region(3, ((uint32_t)Area + 0x2000) | 1 << 1 | 1, (Ram + 0xFFE0) | 1);
        Region(4, ((uint32_t)Area + 0x400) | 1 << 1 | 1, ((uint32_t)Area + 0x17E0) | (Ap & 1));
        Region(5, ((uint32_t)Area + 0x1600) | 1 << 1 | 1, ((uint32_t)Area + 0x1AE0) | 1); // overlaps when 4 is on
        REG(0xE000ED94) = Ap & 4 ? 1 : 5;
        __asm__ volatile("dsb\n isb");
        TouchAll();
        Unprivileged(TouchAll);
        REG(0xE000ED94) = 0;
    }
#else
    for (uint32_t Ap = 0; Ap < 8; ++Ap) {
        if (Ap == 4) continue;
        REG(0xE000ED94) = 0;
        Region(0, 0, 6u << 24 | 21 << 1 | 1);              // code, 4 MB, read only
        Region(1, Ram, 3u << 24 | 15 << 1 | 1);            // 64 KB
        Region(2, (uint32_t)Area, Ap << 24 | 10 << 1 | 1); // 2 KB
        Region(3, (uint32_t)Area, 1u << 28 | 6u << 24 | 0xA5u << 8 | 12 << 1 | 1); // 8 KB, subregions
        REG(0xE000ED9C) = (uint32_t)Area | 0x14; // region 4 by VALID
        REG(0xE000EDA0) = Ap & 1 ? 3u << 24 | 4 << 1 | 1 : 0;
        Note(REG(0xE000ED98));
        REG(0xE000ED94) = Ap & 2 ? 1 : 5;
        __asm__ volatile("dsb\n isb");
        TouchAll();
        Unprivileged(TouchAll);
        REG(0xE000ED94) = 0;
    }
#endif
    return (int)Sum;
}
