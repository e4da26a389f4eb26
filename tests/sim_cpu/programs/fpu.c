// Single precision arithmetic: all rounding modes, flush to zero, default NaN, special
// values, conversions, library functions.
#include <math.h>
#include <stdint.h>
#include <string.h>

#ifndef STEP
#define STEP 2 // through the pairs of special values
#endif

static uint32_t Seed = 99;
static uint32_t Next(void)
{
    Seed = Seed * 1664525u + 1013904223u;
    return Seed >> 3 ^ Seed << 7;
}

static float FromBits(uint32_t Bits)
{
    float Result;
    memcpy(&Result, &Bits, 4);
    return Result;
}

static uint32_t ToBits(float Value)
{
    uint32_t Result;
    memcpy(&Result, &Value, 4);
    return Result;
}

static const uint32_t Special[] = {0,          0x80000000, 0x3F800000, 0xBF800000, 0x7F800000, 0xFF800000, 0x7FC00000, 0x7F800001,
                                   0xFFC12345, 0xFF812345, 1,          0x80000001, 0x007FFFFF, 0x00800000, 0x7F7FFFFF, 0xFF7FFFFF,
                                   0x4F000000, 0xCF000000, 0x4F7FFFFF, 0x3EFFFFFF, 0x3F000000, 0xBF000000, 0x33800000, 0x47800000};

static volatile uint32_t Sink;
static uint32_t Sum;
static void Note(float Value) { Sum = (Sum << 5 | Sum >> 27) + ToBits(Value); }

static __attribute__((noinline)) void Pair(float A, float B, float C)
{
    Note(A + B);
    Note(A - B);
    Note(A * B);
    Note(A / B);
    Note(sqrtf(A));
    Note(fmaf(A, B, C));
    float D = C;
    __asm__ volatile("vmla.f32 %0,%1,%2" : "+t"(D) : "t"(A), "t"(B));
    Note(D);
    __asm__ volatile("vnmls.f32 %0,%1,%2" : "+t"(D) : "t"(A), "t"(B));
    Note(D);
    __asm__ volatile("vfnms.f32 %0,%1,%2" : "+t"(D) : "t"(B), "t"(C));
    Note(D);
    __asm__ volatile("vfnma.f32 %0,%1,%2" : "+t"(D) : "t"(B), "t"(C));
    Note(D);
    __asm__ volatile("vcvtb.f16.f32 %0,%1" : "+t"(D) : "t"(A));
    __asm__ volatile("vcvtt.f16.f32 %0,%1" : "+t"(D) : "t"(B));
    Note(D);
    __asm__ volatile("vcvtb.f32.f16 %0,%0" : "+t"(D));
    Note(D);
    Sum += (uint32_t)(int32_t)A + (uint32_t)B;
    __asm__ volatile("vcvtr.s32.f32 %0,%1" : "=t"(D) : "t"(A));
    Note(D);
    D = A;
    __asm__ volatile("vcvt.u16.f32 %0,%0,#7" : "+t"(D));
    Note(D);
    D = B;
    __asm__ volatile("vcvt.f32.s32 %0,%0,#12" : "+t"(D));
    Note(D);
    Sum += (uint32_t)(A < B) + 2u * (A == B) + 4u * (A >= B) + 8u * (A != A);
    Note((float)(int32_t)ToBits(A));
    Note((float)ToBits(B));
}

static void SetFpscr(uint32_t Value) { __asm__ volatile("vmsr fpscr,%0" ::"r"(Value)); }
static uint32_t GetFpscr(void)
{
    uint32_t Value;
    __asm__ volatile("vmrs %0,fpscr" : "=r"(Value));
    return Value;
}

int main(void)
{
    const unsigned NumSpecial = sizeof Special / sizeof Special[0];
    for (unsigned Mode = 0; Mode < 8; ++Mode) {
        static const uint32_t Modes[8] = {0, 1u << 22, 2u << 22, 3u << 22, 1u << 24, 1u << 25, 3u << 24 | 1u << 22, 1u << 26};
        for (unsigned i = 0; i < NumSpecial; ++i)
            for (unsigned k = 0; k < NumSpecial; k += STEP) {
                SetFpscr(Modes[Mode]);
                Pair(FromBits(Special[i]), FromBits(Special[k]), FromBits(Special[(i * 7 + k) % NumSpecial]));
                Sum += GetFpscr();
            }
        for (unsigned i = 0; i < 150; ++i) {
            SetFpscr(Modes[Mode]);
            uint32_t A = Next(), B = i & 1 ? (A & 0xFF800000u) ^ (Next() & 0x81FFFFFFu) : Next();
            Pair(FromBits(A), FromBits(B), FromBits(Next()));
            Sum += GetFpscr();
        }
    }
    SetFpscr(0);
    for (int i = -40; i < 40; ++i) {
        float X = (float)i * 0.37f;
        Note(sinf(X));
        Note(expf(X * 0.5f));
        Note(logf(X * X + 0.5f));
        Note(atan2f(X, 2.0f));
        Note(powf(fabsf(X) + 0.1f, 1.7f));
        Note(floorf(X) + roundf(X));
    }
    double Slow = 1.0;
    for (int i = 1; i < 30; ++i) Slow = Slow * 1.25 + 1.0 / i;
    Note((float)Slow);
    Sink = Sum;
    return (int)Sum;
}
