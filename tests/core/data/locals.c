/* Locals that compilers keep in every way: on the stack, in registers, in pieces, computed from others, as constants. */
extern unsigned _stack[];
void Reset_Handler(void);
__attribute__((section(".vectors"), used)) void* const Vectors[16] = {_stack, (void*)Reset_Handler};
volatile int Sink;
volatile int Source;

struct Pair {
    int first;
    int second;
};

__attribute__((noinline, used)) void Stop(void)
{
    __asm volatile("nop" ::: "memory");
}

__attribute__((noinline)) static int RuntimeLength(int n)
{
    int row[n];
    short table[n + 1][3];
    int last = n * 2;
    for (int i = 0; i < n; i++) row[i] = i * last;
    for (int i = 0; i <= n; i++) table[i][1] = (short)(i + n);
    Sink = row[n - 1] + table[n][1];
    Stop();
    return row[n / 2] + table[1][1];
}

__attribute__((noinline)) static int Computed(int a, unsigned b)
{
    int scaled = a * 5 + 3;
    short narrow = (short)(a * 7);
    unsigned char low = (unsigned char)b;
    signed char sign = (signed char)(b >> 3);
    long long wide = (long long)a * 3;
    unsigned mask = (b ^ 0x55) & 0xFFF;
    int isLess = a < 100;
    float ratio = (float)a;
    double precise = (double)b;
    Stop();
    Sink = a + (int)b;
    return Sink;
}

__attribute__((noinline)) static int Pieces(int a, long long big, struct Pair pair)
{
    struct Pair copy = {pair.second + 1, pair.first - 1};
    long long more = big + 1;
    int array[4] = {a, a + 1, a + 2, a + 3};
    Sink = array[a & 3];
    Stop();
    Sink = copy.first + copy.second + array[Sink & 3];
    return (int)more + Sink;
}

static inline int Expanded(int x, int y)
{
    int product = x * y;
    int difference = product - x;
    Stop();
    return product + difference;
}

__attribute__((noinline)) static int Outer(int n)
{
    int before = n + Source;
    int inner = Expanded(before, 3);
    return inner + before;
}

__attribute__((noinline)) static int Deep(int* pValue, int count)
{
    int saved = *pValue + count;
    if (count == 0) {
        Stop();
        return saved;
    }
    int next = *pValue * 2;
    int result = Deep(&next, count - 1);
    Sink = result;
    return result + saved;
}

int main(void)
{
    int start = 6 + Source;
    int total = RuntimeLength(start);
    total += Computed(start * 4, 0x1234u + (unsigned)Source);
    total += Pieces(start, 0x123456789LL + Source, (struct Pair){start, 9});
    total += Outer(start);
    total += Deep(&start, 2);
    Sink = total;
    Stop();
    return total;
}

void Reset_Handler(void)
{
    main();
    for (;;) {
    }
}
