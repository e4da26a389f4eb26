// Sorting, checksums, 64-bit division, strings and number formatting.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifndef ROUNDS
#define ROUNDS 3
#endif

static uint32_t Seed = 12345;
static uint32_t Next(void)
{
    Seed = Seed * 1664525u + 1013904223u;
    return Seed;
}

static uint32_t Crc(const uint8_t* p, unsigned NumBytes)
{
    uint32_t Result = ~0u;
    while (NumBytes--) {
        Result ^= *p++;
        for (int i = 0; i < 8; ++i) Result = (Result >> 1) ^ (Result & 1 ? 0xEDB88320u : 0);
    }
    return ~Result;
}

static int Compare(const void* a, const void* b)
{
    int32_t A = *(const int32_t*)a, B = *(const int32_t*)b;
    return (A > B) - (A < B);
}

static int32_t Values[300];
static char Text[128], Copy[160];

static uint64_t Divide(void)
{
    uint64_t Sum = 0;
    for (int i = 0; i < 120; ++i) {
        uint64_t A = (uint64_t)Next() << 32 | Next();
        uint64_t B = ((uint64_t)Next() << 32 | Next()) >> (i % 60);
        Sum += A / (B | 1) + A % (B | 1);
        Sum ^= (uint64_t)((int64_t)A / (int64_t)(B | 1));
        Sum += (uint32_t)A / ((uint32_t)B | 1);
        Sum -= (uint64_t)((int32_t)A % ((int32_t)B | 1));
        Sum = Sum << 7 | Sum >> 57;
    }
    return Sum;
}

static unsigned Bits(uint32_t V)
{
    unsigned Result = 0;
    for (int i = 0; i < 32; ++i) {
        switch ((V >> i) & 7) {
        case 0: Result += 1; break;
        case 1: Result ^= V; break;
        case 2: Result -= (uint32_t)__builtin_clz(V | 1); break;
        case 3: Result += (uint32_t)__builtin_ctz(V | 0x80000000u); break;
        case 4: Result = __builtin_bswap32(Result); break;
        case 5: Result += (uint16_t)V; break;
        case 6: Result ^= (uint32_t)(int8_t)V; break;
        default: Result = Result << 3 | Result >> 29; break;
        }
    }
    return Result;
}

int main(void)
{
    uint32_t Sum = 0;
    for (int Round = 0; Round < ROUNDS; ++Round) {
        for (unsigned i = 0; i < 300; ++i) Values[i] = (int32_t)Next();
        qsort(Values, 300, sizeof Values[0], Compare);
        Sum += Crc((const uint8_t*)Values, sizeof Values);
        uint64_t D = Divide();
        Sum ^= (uint32_t)D + (uint32_t)(D >> 32) + Bits(Sum);
        int n = snprintf(Text, sizeof Text, "%d %u %08lx %s %c %lld", Round, (unsigned)Next(), (unsigned long)Sum, "text", 'x',
                         (long long)D);
        memset(Copy, 'a' + Round % 20, sizeof Copy);
        memcpy(Copy + Round % 7, Text, (unsigned)n + 1);
        memmove(Copy + 3, Copy + Round % 7, (unsigned)n + 1);
        Sum += strlen(Copy + 3) + (unsigned)strcmp(Copy + 3, Text) + (unsigned)strncmp(Copy, Text, 9);
        Sum += (unsigned)strtoul(strchr(Text, ' ') + 1, 0, 10) + (unsigned)memcmp(Copy, Text, 20);
        Sum += Crc((const uint8_t*)Copy, sizeof Copy);
    }
    return (int)Sum;
}
