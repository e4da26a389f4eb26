/* Values that compilers take apart: objects in many registers and constants, bit fields, pointers to what isn't stored. */
extern unsigned _stack[];
void Reset_Handler(void);
__attribute__((section(".vectors"), used)) void* const Vectors[16] = {_stack, (void*)Reset_Handler};
volatile int Sink;
volatile int Source;
volatile long long Long = 0x123456789LL;
int Global = 77;

struct Four {
    int first;
    short second;
    signed char third;
    unsigned char fourth;
    int fifth;
    unsigned sixth;
};

struct Bits {
    unsigned low : 3;
    int middle : 11;
    unsigned high : 18;
    int next;
    int last;
};

struct Node {
    int key;
    const struct Four* pFour;
    int* pValue;
    int last; /* GDB breaks off where the list of pieces ends before the object does */
};

struct Wide {
    long long big;
    int small;
    float ratio;
    int last;
};

__attribute__((noinline, used)) void Stop(void)
{
    __asm volatile("nop" ::: "memory");
}

static inline int SumOf(const struct Four* p, int* pCount)
{
    int sum = p->first + p->second + p->third + p->fifth;
    *pCount += 1;
    Stop();
    return sum * *pCount + p->fourth + (int)p->sixth;
}

__attribute__((noinline)) static int Scalars(int x, int y)
{
    struct Four t = {x + 1, (short)(y * 3), (signed char)x, (unsigned char)y, y - x, 0xF00Du};
    const struct Four* p = &t;
    int count = 4;
    int result = SumOf(p, &count);
    Stop();
    return result + t.first + t.second * t.third + p->fifth + (int)p->sixth + count;
}

__attribute__((noinline)) static int Fields(int x)
{
    struct Bits bits = {(unsigned)x & 7, -x, 0x2345u, x * 2, 5};
    struct Bits other = {5, -3, 0x1FFFFu, 7, Source};
    const struct Bits* pBits = &bits;
    const struct Bits* pOther = &other;
    const struct Bits** ppOther = &pOther;
    Stop();
    return (int)bits.low + bits.middle + (int)bits.high + pBits->next + bits.last + (*ppOther)->middle + pOther->last + (int)other.high;
}

__attribute__((noinline)) static int Follow(int x)
{
    int value = x * 9;
    const struct Four leaf = {x, 2, 3, 4, x + 5, 6};
    struct Node node = {x ^ 1, &leaf, &value, 8};
    struct Node* pNode = &node;
    struct Node** ppNode = &pNode;
    int* pGlobal = &Global;
    Stop();
    return (*ppNode)->key + pNode->pFour->fifth + *pNode->pValue + leaf.first + *pGlobal + value + node.last;
}

__attribute__((noinline)) static int Arrays(int x)
{
    int three[3] = {x, x + 1, 42};
    struct Wide wide = {Long, x + 3, (float)x, 4};
    const struct Wide* pWide = &wide;
    int* p = &three[1];
    Stop();
    return three[0] + p[0] + p[1] + (int)(wide.big >> 31) + pWide->small + (int)wide.ratio + pWide->last;
}

int main(void)
{
    int start = 6 + Source;
    int total = Scalars(start, start + 70);
    total += Fields(start);
    total += Follow(start);
    total += Arrays(start);
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
