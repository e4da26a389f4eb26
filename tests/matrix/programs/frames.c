// Recursion, many parameters, tail calls, aliases, code at the edges of sections, and the entry.
#include "matrix.h"

struct pair {
    int a, b;
};

__attribute__((noinline)) static int depth(int n)
{
    if (n <= 0) return 0;
    int below = depth(n - 1);
    return below + n;
}

__attribute__((noinline)) static struct pair many(int a, int b, int c, int d, int e, long long f, struct pair g)
{
    struct pair sum = {a + b + c + d, e + (int)f + g.a + g.b};
    return sum;
}

__attribute__((noinline)) static int last(int n)
{
    return depth(n + 1);
}

int visible(int n)
{
    return n + 1;
}
int also_visible(int n) __attribute__((alias("visible")));

int unused_function(int n)
{
    int local = n * 5;
    return local + unused_function(local);
}

int use_frames(int n)
{
    struct pair in = {n, 2};
    struct pair out = many(1, 2, n, 4, 5, 6, in);
    return last(n) + out.a + out.b + also_visible(n);
}

int main(void)
{
    int sum = 0;
    for (int i = 0; i < 5; i++) sum += use_records(i) + use_blocks(i) + use_frames(i);
    return sum;
}

// What compilers call for copies and clears on their own.
void* memcpy(void* pTo, const void* pFrom, unsigned size)
{
    unsigned char* p = pTo;
    for (const unsigned char* q = pFrom; size; size--) *p++ = *q++;
    return pTo;
}
#ifdef __arm__
void __aeabi_memcpy(void* pTo, const void* pFrom, unsigned size)
{
    memcpy(pTo, pFrom, size);
}
#endif
void* memset(void* pTo, int value, unsigned size)
{
    for (unsigned char* p = pTo; size; size--) *p++ = (unsigned char)value;
    return pTo;
}

void _start(void)
{
    main();
    for (;;) {
    }
}
