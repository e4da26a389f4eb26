/* Boot code at address 0 beside functions that the linker drops. */
volatile int g_value;

static inline int scale(int n)
{
    return n * 3 + g_value;
}

#ifdef DROPPED
int dropped_large(int n)
{
    volatile int aBuffer[32];
    for (int i = 0; i < 32; i++) aBuffer[i] = scale(n + i);
    return aBuffer[n & 31] + scale(n);
}
#endif

__attribute__((noinline)) int kept(int n)
{
    return n + g_value;
}

__attribute__((section(".boot"))) int boot(void)
{
    int last = 0;
    g_value = 1;
    for (int i = 0; i < 4; i++) last += kept(i);
    g_value = scale(last);
    return last;
}

#ifdef DROPPED
int dropped_small(int n)
{
    return scale(n);
}
#endif
