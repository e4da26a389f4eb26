/* Situations for the unwinder tests; the debugger stops at each call of Stop. Runs on mps2-an385. */
typedef unsigned int U32;
#define ICSR (*(volatile U32*)0xE000ED04)
#define NOINLINE __attribute__((noinline))

volatile U32 Sink;
volatile U32 ProcessSP;
static U32 aProcessStack[256];

/* A leaf without a frame of its own. */
NOINLINE void Stop(U32 Id) { Sink = Id; }

static inline __attribute__((always_inline)) void InlinedInner(U32 n) {
    Sink += n * 3;
    Stop(n);
    Sink += n * 5;
}

static inline __attribute__((always_inline)) U32 InlinedOuter(U32 n) {
    Sink ^= n;
    InlinedInner(n + 1);
    return Sink;
}

NOINLINE U32 Recurse(U32 n) {
    volatile U32 a[7];
    a[n & 3] = n;
    if (n == 0) {
        return InlinedOuter(7) + a[0];
    }
    return Recurse(n - 1) + a[n & 3];
}

NOINLINE U32 ManyRegs(U32 a, U32 b, U32 c, U32 d) {
    U32 e = a * b + Sink, f = b * c + Sink, g = c * d + Sink, h = d * a + Sink;
    Recurse(2);
    return e ^ f ^ g ^ h ^ a ^ b ^ c ^ d;
}

NOINLINE U32 Variable(U32 n) {
    volatile char a[n * 8 + 1];
    a[n] = (char)n;
    Stop(20);
    return (U32)a[n];
}

/* No call frame information: only its code tells the frame. */
void NoFrameInfo(U32 n);
__asm(".syntax unified\n.thumb\n.text\n.align 2\n.global NoFrameInfo\n.type NoFrameInfo, %function\n.thumb_func\n"
      "NoFrameInfo:\n push {r4, r5, r7, lr}\n sub sp, #24\n mov r4, r0\n adds r5, r4, #1\n str r5, [sp, #4]\n"
      " mov r0, r4\n bl Stop\n adds r0, r4, r5\n add sp, #24\n pop {r4, r5, r7, pc}\n.size NoFrameInfo, .-NoFrameInfo\n");

NOINLINE void CallNoFrameInfo(U32 n) {
    NoFrameInfo(n);
    Sink++;
}

NOINLINE void HandlerWork(U32 n) {
    Stop(n);
    Sink++;
}

void SysTick_Handler(void) {
    HandlerWork(40);
    Sink++;
}

void PendSV_Handler(void) {
    U32 SP;
    __asm volatile("mrs %0, psp" : "=r"(SP));
    ProcessSP = SP;
    ICSR = 1u << 26; /* the timer has the higher priority and interrupts this handler */
    __asm volatile("dsb\n isb");
    HandlerWork(50);
    Sink++;
}

/* A leaf that is interrupted: its return address is in LR and nowhere else. */
NOINLINE void Interrupted(U32 Bit) {
    ICSR = 1u << Bit;
    __asm volatile("dsb\n isb\n nop\n nop");
    Sink++;
}

NOINLINE void Thread(void) {
    Interrupted(28);
    Sink++;
}

int main(void) {
    ManyRegs(3, 5, 7, 11);
    Variable(5);
    CallNoFrameInfo(30);
    Interrupted(26);
    /* From here on the thread runs on the process stack. */
    *(volatile U32*)0xE000ED20 = 0x00FF0000; /* PendSV lowest, SysTick highest priority */
    __asm volatile("msr psp, %0\n movs r3, #2\n msr control, r3\n isb\n bl Thread\n" ::"r"(&aProcessStack[200])
                   : "r0", "r1", "r2", "r3", "r12", "lr", "memory");
    for (;;) Sink++;
}

void Reset_Handler(void) { main(); }
void Default_Handler(void) { for (;;) {} }

extern U32 _stack;
__attribute__((section(".vectors"), used)) void (*const aVector[16])(void) = {
    (void (*)(void))&_stack, Reset_Handler, Default_Handler, Default_Handler, Default_Handler, Default_Handler,
    Default_Handler, 0, 0, 0, 0, Default_Handler, Default_Handler, 0, PendSV_Handler, SysTick_Handler};
