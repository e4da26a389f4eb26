// Exceptions raised at exactly known instructions: SVC, PendSV context switch with
// floating-point tasks, nested and masked interrupts, faults with their status registers.
#include <stdint.h>

#define REG(a) (*(volatile uint32_t*)(a))
#define ISER REG(0xE000E100)
#define ICER REG(0xE000E180)
#define ISPR REG(0xE000E200)
#define ICPR REG(0xE000E280)
#define IABR REG(0xE000E300)
#define IPR ((volatile uint8_t*)0xE000E400)
#define ICSR REG(0xE000ED04)
#define AIRCR REG(0xE000ED0C)
#define CCR REG(0xE000ED14)
#define SHPR ((volatile uint8_t*)0xE000ED18)
#define SHCSR REG(0xE000ED24)
#define CFSR REG(0xE000ED28)
#define HFSR REG(0xE000ED2C)
#define BFAR REG(0xE000ED38)
#define STIR REG(0xE000EF00)
#define FPCCR REG(0xE000EF34)

static volatile uint32_t Sum;
static void Note(uint32_t Value) { Sum = (Sum << 3 | Sum >> 29) + Value; }
static inline void Barrier(void) { __asm__ volatile("dsb\n isb" ::: "memory"); }

void Irq0Handler(void)
{
    Note(0x100 + (ICSR & 0x3FFu));
    Note(IABR);
    ISPR = 1u << 1; // higher priority: nests at once
    Note(IABR);
    ISPR = 1u << 2; // lower priority: tail-chains
    Note(ISPR);
}
void Irq1Handler(void)
{
    Note(0x200 + (ICSR & 0x1FFu));
    STIR = 3;
    Note(ISPR);
}
void Irq2Handler(void) { Note(0x300 + (ICSR >> 12 & 0x1FF)); }
void Irq3Handler(void)
{
    uint32_t Sp;
    __asm__ volatile("mov %0, sp" : "=r"(Sp));
    Note(0x400 + (Sp & 7));
#if defined(__ARM_FP)
    float F = (float)Sum;
    __asm__ volatile("vadd.f32 %0,%0,%0" : "+t"(F));
    Note((uint32_t)F);
#endif
}
void SysTickHandler(void) { Note(0x500); }

// Number of the SVC from its instruction, arguments and result in the frame.
__attribute__((used)) static void SvcBody(uint32_t* pFrame)
{
    uint32_t Number = ((uint8_t*)pFrame[6])[-2];
    pFrame[0] = pFrame[0] * 3 + pFrame[1] + Number;
    Note(Number + ((uint8_t*)pFrame)[31]);
}
__attribute__((naked)) void SvcHandler(void)
{
    __asm__ volatile("tst lr,#4\n ite eq\n mrseq r0,msp\n mrsne r0,psp\n b SvcBody");
}

static uint32_t CallSvc(uint32_t A, uint32_t B)
{
    register uint32_t R0 __asm__("r0") = A;
    register uint32_t R1 __asm__("r1") = B;
    __asm__ volatile("svc #42" : "+r"(R0) : "r"(R1) : "r2", "r3", "r12", "lr", "memory");
    return R0;
}

// --- two tasks switched by PendSV ----------------------------------------------------------
static uint32_t Stacks[2][128];
static uint32_t* pTaskSp[2];
static volatile uint32_t Current, Switches;

__attribute__((used)) static uint32_t* Switch(uint32_t* pSp)
{
    pTaskSp[Current] = pSp;
    Current ^= 1;
    ++Switches;
    return pTaskSp[Current];
}
__attribute__((naked)) void PendSvHandler(void)
{
    __asm__ volatile("mrs r0,psp\n"
#if defined(__ARM_FP)
                     "tst lr,#16\n it eq\n vstmdbeq r0!,{s16-s31}\n"
#endif
                     "stmdb r0!,{r4-r11,lr}\n"
                     "bl Switch\n"
                     "ldmia r0!,{r4-r11,lr}\n"
#if defined(__ARM_FP)
                     "tst lr,#16\n it eq\n vldmiaeq r0!,{s16-s31}\n"
#endif
                     "msr psp,r0\n bx lr");
}

static void Yield(void)
{
    ICSR = 1u << 28;
    Barrier();
}

static void TaskBody(uint32_t Id)
{
    float F = (float)Id + 0.5f;
    for (uint32_t i = 0; i < 12; ++i) {
        F = F * 1.5f + (float)i;
        Note(Id * 1000 + i + (uint32_t)F);
        if (i % 3 == Id) Note(CallSvc(i, Id));
        Yield();
    }
}
static void Task1(void)
{
    for (;;) TaskBody(1);
}

static void RunTasks(void)
{
    uint32_t ExcReturn = 0;
    // EXC_RETURN differs between cores: take a handler's own with the PSP bit set.
    extern uint32_t ThreadExcReturn(void);
    ExcReturn = ThreadExcReturn();
    uint32_t* p = &Stacks[1][128] - 8;
    p[5] = 0;
    p[6] = (uint32_t)Task1 & ~1u;
    p[7] = 0x01000000;
    p -= 9;
    p[8] = ExcReturn;
    pTaskSp[1] = p;
    uint32_t Psp = (uint32_t)&Stacks[0][128];
    // Onto PSP with a frame of our own, back to MSP after the work.
    __asm__ volatile("msr psp,%0\n movs r1,#2\n msr control,r1\n isb" ::"r"(Psp) : "r1", "memory");
    TaskBody(0);
    __asm__ volatile("movs r1,#0\n msr control,r1\n isb" ::: "r1", "memory");
    Note(Switches);
}

static volatile uint32_t LastLr;
__attribute__((naked)) void NmiHandler(void)
{
    __asm__ volatile("ldr r0,=LastLr\n str lr,[r0]\n bx lr");
}
uint32_t ThreadExcReturn(void)
{
    ICSR = 1u << 31;
    Barrier();
    return LastLr | 0x1C; // thread, process stack, basic frame
}

// --- faults --------------------------------------------------------------------------------
// The handlers note the status and skip the faulting instruction, whose length its first half
// word tells.
__attribute__((used)) static void FaultBody(uint32_t* pFrame)
{
    Note(ICSR & 0x1FF);
    Note(CFSR);
    Note(HFSR);
    Note(SHCSR);
    if (CFSR & 0x8000) Note(BFAR);
    uint32_t Instr = CFSR & 0x101 ? 0 : *(uint16_t*)pFrame[6];
    if (CFSR & 0x101) pFrame[6] = pFrame[5]; // nothing can be fetched there: back to the caller
    else pFrame[6] += Instr >> 11 >= 0x1D ? 4 : 2;
    // T set and IT on by one; byte-wise, bit 20 differs with the security extension.
    uint8_t* pXpsr = (uint8_t*)&pFrame[7];
    uint32_t It = (pXpsr[1] & 0xFCu) | (pXpsr[3] >> 1 & 3u);
    It = It & 7 ? (It & 0xE0) | (It << 1 & 0x1F) : 0;
    pXpsr[1] = (uint8_t)((pXpsr[1] & 3) | (It & 0xFC));
    pXpsr[3] = (uint8_t)((pXpsr[3] & 0xF8) | (It & 3) << 1 | 1);
    CFSR = CFSR;
    HFSR = HFSR;
}
__attribute__((naked)) void HardFaultHandler(void)
{
    __asm__ volatile("tst lr,#4\n ite eq\n mrseq r0,msp\n mrsne r0,psp\n b FaultBody");
}
void UsageFaultHandler(void) __attribute__((alias("HardFaultHandler")));
void BusFaultHandler(void) __attribute__((alias("HardFaultHandler")));
void MemManageHandler(void) __attribute__((alias("HardFaultHandler")));

static void Faults(void)
{
    uint32_t A = 5, B = 0, Q = 1;
    __asm__ volatile("udf #1");
    __asm__ volatile(".short 0xF7F0, 0xA000"); // UDF.W
    __asm__ volatile("sdiv %0,%1,%2" : "+r"(Q) : "r"(A), "r"(B));
    Note(Q);
    __asm__ volatile("ldr %0,[%1]" : "+r"(Q) : "r"(0x70000000u));
    Note(Q);
    __asm__ volatile("str %0,[%1,#8]" ::"r"(Q), "r"(0x70000000u) : "memory");
    __asm__ volatile("ldrd r2,r3,[%0]" ::"r"((uint32_t)Stacks + 2) : "r2", "r3");
    __asm__ volatile("ldr %0,[%1]" : "+r"(Q) : "r"((uint32_t)Stacks + 1));
    Note(Q & 0);
    __asm__ volatile("blx %0" ::"r"(0x70000001u) : "lr", "memory", "r0", "r1", "r2", "r3", "r12");
    __asm__ volatile("blx %0" ::"r"(0xE0000001u) : "lr", "memory", "r0", "r1", "r2", "r3", "r12");
    __asm__ volatile("mrc p7,0,r0,c0,c0,0" ::: "r0");
    __asm__ volatile("ittte eq\n moveq r0,#1\n udfeq #3\n moveq r1,#2\n movne r1,#3" ::: "r0", "r1", "cc");
}

static void Masks(void)
{
    __asm__ volatile("cpsid i");
    ISPR = 1;
    ICSR = 1u << 26;
    Note(ICSR);
    __asm__ volatile("wfi"); // pending: goes on
    __asm__ volatile("cpsie i");
    Note(Sum);
    for (uint32_t Level = 0; Level < 256; Level += 0x20) {
        __asm__ volatile("msr basepri,%0" ::"r"(Level));
        ISPR = 1;
        ICSR = 1u << 26;
        Note(ICSR >> 12);
        __asm__ volatile("msr basepri_max,%0" ::"r"(0x60));
        uint32_t Now;
        __asm__ volatile("mrs %0,basepri" : "=r"(Now));
        Note(Now);
        __asm__ volatile("msr basepri,%0" ::"r"(0));
    }
    __asm__ volatile("cpsid f");
    ISPR = 2;
    uint32_t Fault;
    __asm__ volatile("mrs %0,faultmask" : "=r"(Fault));
    Note(Fault);
    __asm__ volatile("cpsie f");
    ICPR = 0xF;
}

int main(void)
{
    // NMI leaves the priority machinery alone; SysTick is only ever made pending by hand.
    for (int Group = 0; Group < 8; Group += 1) {
        AIRCR = 0x05FA0000u | (uint32_t)Group << 8;
        IPR[0] = 0x80;
        IPR[1] = 0x40;
        IPR[2] = 0xA0;
        IPR[3] = 0x4A;
        SHPR[7] = 0x20;   // SVC
        SHPR[10] = 0xFF;  // PendSV
        SHPR[11] = 0x83;  // SysTick
        ISER = 0xF;
        for (int i = 0; i < 4; ++i) {
            ISPR = 1u << i;
            Barrier();
            Note(CallSvc((uint32_t)i, Sum));
        }
        Masks();
        Note(ISER ^ ICER);
    }
    AIRCR = 0x05FA0000u;
    RunTasks();
    CCR = 0x218; // trap unaligned and division by zero
    Faults();
    SHCSR |= 7u << 16;
    Faults();
    CCR = 0x200;
    Faults();
#if defined(__ARM_FP)
    for (uint32_t Mode = 0; Mode < 4; ++Mode) { // automatic and lazy saving on and off
        FPCCR = Mode << 30;
        RunTasks();
        ISPR = 8;
        Barrier();
#if !defined(__ARM_ARCH_8M_MAIN__) // bits of the security extension show there
        uint32_t Control;
        __asm__ volatile("mrs %0,control" : "=r"(Control));
        Note(Control);
        Note(REG(0xE000EF38));
#endif
    }
#endif
    return (int)Sum;
}
