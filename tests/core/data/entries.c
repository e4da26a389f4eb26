/* Expansions that are the first in their functions, in several ranges, and beside each other. */
extern unsigned _stack[];
void Reset_Handler(void);
__attribute__((section(".vectors"), used)) void* const Vectors[16] = {_stack, (void*)Reset_Handler};
volatile int Sink;
volatile int aState[4];

static inline int IsReady(int n)
{
    return aState[n & 3] > n;
}

static inline int IsFree(int n)
{
    return IsReady(n) && aState[0] == 0;
}

__attribute__((noinline)) static int Work(int n)
{
    Sink = n;
    return Sink * 3;
}

/* Its code before the first check is the check itself. */
__attribute__((noinline)) int Guarded(int n)
{
    if (!IsReady(n)) return -1;
    return Work(n + 1) + Work(n + 2);
}

__attribute__((noinline)) int Twice(int n, int m)
{
    if (!IsFree(n) || !IsReady(m)) return 0;
    return Work(n) - Work(m) * Guarded(n);
}

__attribute__((noinline)) int Chain(int n)
{
    return IsFree(n) ? Twice(n, 2) : Guarded(n);
}

void Reset_Handler(void)
{
    for (;;) Sink = Chain(Sink);
}
