/* Code of many kinds for the RV32 decoder; the floating point comes as calls into the compiler's library. */
#include <stdint.h>

volatile uint32_t Sink;
volatile double Double = 1.5;
volatile float Float = 2.5f;
int64_t Wide = 0x123456789ALL;

__attribute__((noinline)) int Choose(int n)
{
    switch (n) {
    case 0: return 17;
    case 1: return (int)Sink;
    case 2: return -1;
    case 3: return n * 1000;
    case 4: return (int)(Sink / 7);
    case 5: return (int)(Sink % 11);
    default: return Choose(n - 6);
    }
}

__attribute__((noinline)) int Recurse(int a, int b, int c, int d, int e, int f, int g, int h, int i)
{
    volatile int aLocal[40];
    aLocal[a & 31] = b;
    if (a <= 0) return aLocal[3] + c + d + e + f + g + h + i;
    return Recurse(a - 1, c, d, e, f, g, h, i, b) + aLocal[a & 31];
}

static uint32_t Atomics(uint32_t* p)
{
    uint32_t Old = __atomic_fetch_add(p, 3, __ATOMIC_SEQ_CST);
    Old ^= __atomic_exchange_n(p, 7, __ATOMIC_ACQUIRE);
    Old |= __atomic_fetch_or(p, 1, __ATOMIC_RELEASE) + __atomic_fetch_and(p, 15, __ATOMIC_RELAXED);
    __atomic_compare_exchange_n(p, &Old, 9, 0, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return Old;
}

int main(void)
{
    uint32_t n = 5;
    int (*volatile pfChoose)(int) = Choose;
    for (int i = 0; i < 20; i++) Sink += (uint32_t)(pfChoose(i) + Recurse(i, 1, 2, 3, 4, 5, 6, 7, 8));
    Sink += Atomics(&n);
    Double = Double * 3.25 + Float / 1.75f - (double)Wide;
    Wide = Wide / 77 * (int64_t)Double % 1234567;
    Sink = (uint32_t)((int32_t)Sink >> 3) ^ (Sink << 5) ^ (Sink >> 9);
    __asm volatile("fence\n fence.i\n csrr a0, mstatus\n csrw mtvec, a0\n csrsi mie, 8\n csrc mip, a1\n ebreak\n c.ebreak\n"
                   " ecall\n wfi\n mret\n .word 0x01234567\n" ::: "a0", "a1");
    return (int8_t)Sink < 3 && (uint16_t)Sink > 9;
}

void _start(void)
{
    main();
    for (;;) {
    }
}
