/* Names that mean different variables in different blocks and expansions. */
extern unsigned _stack[];
void Reset_Handler(void);
__attribute__((section(".vectors"), used)) void* const Vectors[16] = {_stack, (void*)Reset_Handler};
volatile int Sink;
volatile int Source;
volatile int hidden = 1000;

__attribute__((noinline, used)) void Stop(void)
{
    __asm volatile("nop" ::: "memory");
}

__attribute__((noinline)) static void Keep(volatile int* p)
{
    Sink += *p;
}

/* One after another: each block has an i and a value of its own. */
__attribute__((noinline)) static int Siblings(int n)
{
    volatile int sum = n;
    {
        volatile int i = 11 + n;
        volatile int value = 1;
        Stop();
        sum += i + value;
    }
    {
        volatile int i = 22 + n;
        volatile short value = 2;
        Stop();
        sum += i + value;
    }
    hidden++;
    return sum;
}

/* One in another, below a parameter of the name, and beside a variable of the file. */
__attribute__((noinline)) static int Nested(int n, int i)
{
    volatile int hidden = 5 + n;
    for (volatile int k = 0; k < 1; k++) {
        volatile int hidden = 60 + i;
        {
            volatile char i = (char)(n + 3);
            volatile int deep = hidden + k;
            Stop();
            Sink = deep + i;
        }
        Keep(&hidden);
    }
    return hidden + i;
}

/* Expansions in expansions, from their first instruction on, each with a local of the same name. */
static inline __attribute__((always_inline)) int Inner(int a)
{
    volatile int local = a * 3;
    volatile int onlyInner = local + 1;
    Stop();
    return local + onlyInner;
}

static inline __attribute__((always_inline)) int Middle(int b)
{
    volatile int local = b + 7;
    volatile int onlyMiddle = local * 2;
    {
        volatile int block = Inner(b + 1);
        onlyMiddle += block;
    }
    return local + onlyMiddle;
}

__attribute__((noinline)) static int Outer(int c)
{
    volatile int local = c - 1;
    {
        volatile int block = 4;
        Sink = Middle(c + 2) + block;
    }
    return local;
}

static inline __attribute__((always_inline)) void Whole(int w)
{
    volatile int held = w;
    Stop();
    Sink = held;
}

__attribute__((noinline)) static void Wrapper(void)
{
    Whole(Source);
}

__attribute__((noinline)) int main(void)
{
    volatile int total = 6 + Source;
    total += Siblings(total);
    total += Nested(total, 9);
    total += Outer(total);
    Wrapper();
    Stop();
    return total + hidden;
}

void Reset_Handler(void)
{
    main();
    for (;;) {
    }
}
