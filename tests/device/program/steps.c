/* The program that the tests of run control, stepping and breakpoints work on. Lines bear markers, "@name",
 * by which the tests find them; what the code does is written so that each line has the shape that its test
 * wants at -O0. */
typedef unsigned int U32;

volatile U32 g_Count;     /* calls of Work */
volatile U32 g_Sum;
volatile U32 g_aData[8];
volatile U32 g_Flag;

extern U32 __stack_top;
void Reset_Handler(void);
void Fault_Handler(void);

__attribute__((section(".vectors"), used)) static void* const s_aVector[16] = {
    &__stack_top, (void*)Reset_Handler, (void*)Fault_Handler, (void*)Fault_Handler,
    (void*)Fault_Handler, (void*)Fault_Handler, (void*)Fault_Handler,
};

__attribute__((noinline)) static U32 Leaf(U32 x)
{
    return x * 3 + 1; /* @leaf */
}

__attribute__((noinline)) static U32 Deep(U32 x)
{
    U32 y = Leaf(x);  /* @deep1 */
    return y + 2;     /* @deep2 */
}

/* Without line information, as a function of a library is. */
__asm__(".section .text.NoLines, \"ax\", %progbits\n"
        ".thumb\n.syntax unified\n.global NoLines\n.type NoLines, %function\n.thumb_func\n"
        "NoLines:\n adds r0, r0, #7\n bx lr\n.size NoLines, . - NoLines\n.text\n");
U32 NoLines(U32 x);

__attribute__((noinline)) void Work(void)
{
    g_Count++;                /* @work */
    g_Sum = g_Sum + g_Count;  /* @work2 */
}

static inline __attribute__((always_inline)) U32 Inlined(U32 x)
{
    U32 y = x ^ 5;            /* @inl1 */
    y = y << 1;               /* @inl2 */
    return y;                 /* @inl3 */
}

int main(void)
{
    U32 a = 1;                /* @first */
    U32 b = 2;                /* @second */
    a = a + b;                /* @straight */
    b = Deep(a);              /* @call */
    a = b + 1;                /* @aftercall */
    a = NoLines(a);           /* @nolines */
    b = Inlined(a);           /* @inlined */
    a = Leaf(1) + Leaf(2);    /* @twocalls */
    for (b = 0; b < 3; b++) g_aData[b] = b; /* @oneline */
    g_Flag = a;               /* @afterloop */
    __asm__ volatile(".rept 600\n b.n 1f\n nop\n1: nop\n .endr"); /* @long */
    g_Flag = 7;               /* @afterlong */
    for (b = 0; b < 2; b++) { /* @head */
        g_aData[b] = a;       /* @body */
    }
    for (;;) {
        Work();               /* @loop */
        if (g_Count == 1000000) break; /* @test */
    }
    return 0;
}

void Reset_Handler(void)
{
    g_Count = 0;              /* @reset */
    g_Sum = 0;
    g_Flag = 0;
    main();
    for (;;) {}               /* @end */
}

void Fault_Handler(void)
{
    for (;;) {}               /* @never */
}
