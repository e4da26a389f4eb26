/* Code of many shapes for the decoder tests: switches, calls through pointers, 64 bit and floating point
   arithmetic, variable arrays, conditional assignments that become IT blocks, and library code. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef int (*OP)(int, int);

volatile int Sink;
volatile float FSink;
volatile double DSink;
static int aTable[64];
const char* const asName[] = {"zero", "one", "two", "three"};

static int Add(int a, int b) { return a + b; }
static int Mul(int a, int b) { return a * b; }
static int Div(int a, int b) { return b ? a / b : -1; }
static const OP apfOp[] = {Add, Mul, Div};

__attribute__((noinline)) int Dense(int i) {
    switch (i) {
    case 0: return Sink + 3;
    case 1: return Sink * 7;
    case 2: return Sink - 11;
    case 3: return Sink ^ 0x5A5A5A5A;
    case 4: return Sink << 3;
    case 5: return Sink >> 5;
    case 6: return Sink / 10;
    case 7: return Sink % 13;
    default: return -1;
    }
}

__attribute__((noinline)) int Clamp(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }

__attribute__((noinline)) unsigned Bits(unsigned v) {
    unsigned n = 0;
    for (; v; v &= v - 1) n++;
    return (n << 16) | (unsigned short)__builtin_bswap16((unsigned short)v) | (unsigned)__builtin_clz(n | 1);
}

__attribute__((noinline)) long long Wide(long long a, long long b, unsigned s) {
    long long r = a * b + (a >> (s & 63));
    if (r < b) r -= a;
    return r ^ ((long long)s << 33);
}

__attribute__((noinline)) float Poly(const float* p, int n, float x) {
    float r = 0;
    for (int i = 0; i < n; i++) r = r * x + p[i];
    return r > 100.0f ? 100.0f : r < -1.0f ? sqrtf(-r) : r;
}

__attribute__((noinline)) double Mixed(double a, int i, unsigned u, float f) {
    return a * i + (double)u / 3.0 - f + (double)(int)a + (float)(unsigned)f;
}

__attribute__((noinline)) int Alloca(int n) {
    volatile char a[n + 1];
    for (int i = 0; i < n; i++) a[i] = (char)(i * n);
    return a[n / 2];
}

struct BIG { int a[24]; char s[9]; short h[5]; };
__attribute__((noinline)) struct BIG Copy(struct BIG b, int i) {
    b.a[i & 7] += b.s[i & 3] - b.h[i & 3];
    return b;
}

__attribute__((noinline)) int Recurse(int n) { return n < 2 ? n : Recurse(n - 1) + Recurse(n - 2); }

void SysTick_Handler(void) { aTable[1]++; }

__attribute__((naked, noinline)) void Special(void) {
    __asm volatile(
        ".syntax unified\n mrs r0, msp\n msr psp, r0\n mrs r1, control\n msr control, r1\n mrs r2, primask\n cpsid i\n cpsie i\n"
        "dsb\n isb\n dmb\n nop\n wfi\n wfe\n sev\n yield\n svc 5\n bkpt 0xAB\n bkpt 1\n"
        "rev r0, r1\n rev16 r2, r3\n revsh r4, r5\n uxtb r0, r1\n sxth r2, r3\n muls r0, r1\n adr r0, .Lhere\n"
        "ldr r3, .Lhere\n mov r8, r0\n add r9, r8\n blx r3\n cmp r8, r9\n"
#if __ARM_ARCH >= 7 || defined(__ARM_ARCH_8M_MAIN__)
        "ite eq\n moveq r0, #1\n movne r0, #2\n itttt ge\n addge r1, #4\n ldrge.w r2, [r3, #0x124]\n"
        "subge r4, r5, r6\n blge Special\n it ne\n bxne lr\n tbb [pc, r0]\n tbh [pc, r1, lsl #1]\n"
        "ldrexb r0, [r1]\n strexh r2, r3, [r4]\n clrex\n ldrd r0, r1, [sp, #8]\n strd r2, r3, [sp, #-8]!\n"
        "push.w {r4-r11, lr}\n ldmdb r0!, {r1-r5}\n str r4, [sp, #-4]!\n ldr r4, [sp], #4\n movw r0, #0x1234\n"
        "movt r0, #0xABCD\n ubfx r1, r2, #3, #5\n bfi r3, r4, #7, #9\n bfc r5, #1, #30\n sbfx r6, r7, #0, #32\n"
        "umull r0, r1, r2, r3\n smlal r4, r5, r6, r7\n mla r0, r1, r2, r3\n mls r0, r1, r2, r3\n udiv r0, r1, r2\n"
        "sdiv r3, r4, r5\n clz r6, r7\n rbit r8, r9\n ssat r0, #8, r1\n usat r2, #5, r3, lsl #4\n"
        "add.w sp, sp, #0x400\n sub.w sp, sp, #0x1F8\n addw sp, sp, #0x123\n subw sp, sp, #0x7\n"
        "ldr.w pc, [r0, r1, lsl #2]\n pop.w {r4-r11, pc}\n ldm r2, {r0, r1, pc}\n ldr pc, [sp], #4\n pld [r0, #4]\n"
        "tst.w r0, #0xFF00FF00\n teq r1, r2, ror #5\n orn r3, r4, #0xAB00AB\n adc.w r0, r1, r2, rrx\n"
        "mrs r3, basepri\n msr basepri_max, r3\n mrs r4, faultmask\n udf.w #7\n mov pc, r3\n mov pc, lr\n"
#endif
#if defined(__ARM_FEATURE_DSP)
        "qadd r0, r1, r2\n smlabb r3, r4, r5, r6\n uadd8 r0, r1, r2\n sel r3, r4, r5\n smuad r0, r1, r2\n"
        "pkhbt r0, r1, r2, lsl #4\n uxtab r3, r4, r5, ror #8\n usad8 r0, r1, r2\n smmul r3, r4, r5\n"
#endif
#if defined(__ARM_FP)
        "vpush {s16-s19}\n vpop {s16-s19}\n vpush {d8-d9}\n vldr s0, [r0, #4]\n vstr s1, [sp, #8]\n vmov s2, r3\n"
        "vmov r4, r5, s6, s7\n vadd.f32 s0, s1, s2\n vfma.f32 s3, s4, s5\n vcvt.s32.f32 s6, s7\n vcvt.f32.u32 s8, s9\n"
        "vcmpe.f32 s10, #0.0\n vmrs APSR_nzcv, fpscr\n vmsr fpscr, r0\n vsqrt.f32 s11, s12\n vmov.f32 s13, #1.5\n"
        "vldmia r0!, {s0-s7}\n vstmdb sp!, {s20-s21}\n vneg.f32 s0, s1\n vcvtr.s32.f32 s2, s3\n vcvtb.f32.f16 s4, s5\n"
#endif
#if defined(__ARM_ARCH_8M_MAIN__)
        "tt r0, r1\n ttt r2, r3\n sg\n ldaex r0, [r1]\n stl r2, [r3]\n mrs r4, msplim\n bxns lr\n blxns r3\n"
#endif
        "bx lr\n .align 2\n.Lhere: .word 0x12345678\n");
}

int main(void) {
    struct BIG b = {.s = "abcdefg"};
    static const float aPoly[] = {1.0f, 2.5f, -3.25f};
    for (int i = 0; i < 10; i++) {
        Sink = Dense(i) + Clamp(i, 2, 5) + (int)Bits((unsigned)i) + apfOp[i % 3](i, 3) + Alloca(i) + Recurse(i);
        Sink += (int)Wide(Sink, i, (unsigned)i);
        FSink = Poly(aPoly, 3, (float)i) + sinf((float)i);
        DSink = Mixed(DSink, i, (unsigned)i, FSink) + pow(2.5, i);
        b = Copy(b, i);
        printf("%s %d %f %p\n", asName[i & 3], Sink, (double)FSink, (void*)&b);
        aTable[i] = (int)strtol(asName[i & 3], 0, 16);
    }
    Special();
    qsort(aTable, 64, sizeof aTable[0], (int (*)(const void*, const void*))Add);
    return 0;
}
