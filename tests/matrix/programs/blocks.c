// Locals in nested blocks, names that hide one another, values in pieces, constants, variable length arrays.
#include "matrix.h"

extern volatile int g_sink;
volatile int g_sink;

static long long widen(int a, int b)
{
    long long product = (long long)a * b;
    product += a;
    return product;
}

__attribute__((noinline)) static double mix(double x, float y, long long n)
{
    double sum = x + (double)y;
    for (long long i = 0; i < n; i++) {
        double step = sum / (double)(i + 1);
        sum += step;
    }
    return sum;
}

__attribute__((noinline)) static int nested(int n)
{
    int total = 0;
    for (int i = 0; i < n; i++) {
        int value = i * 3;
        if (value & 1) {
            int value = total + 1;
            total += clamp(value, 0, 100);
            g_sink = value;
        } else {
            long value = total - 1;
            total += (int)clamp((int)value, -5, 50);
            g_sink = (int)value;
        }
        total += value;
    }
    return total;
}

__attribute__((noinline)) static int lengths(int n)
{
    int row[n];
    int last = 0;
    for (int i = 0; i < n; i++) row[i] = i * i;
    for (int i = 0; i < n; i++) last += row[i];
    return last;
}

__attribute__((noinline)) static int choose(int n)
{
    static int calls;
    register int answer = 0;
    calls++;
    switch (n) {
    case 0: answer = 11; break;
    case 1: answer = 17; break;
    case 2: answer = calls; break;
    case 3: answer = 31; break;
    case 4: answer = n * calls; break;
    case 5: answer = 99; break;
    default: answer = -n; break;
    }
    return answer;
}

int use_blocks(int n)
{
    const int factor = 3;
    long long wide = widen(n, factor);
    double mixed = mix(1.5, 2.5f, wide);
    return nested(n) + lengths(clamp(n, 1, 8)) + choose(n) + (int)mixed + (int)wide;
}
