/* The compiler's library exists for little-endian targets only: what the test programs need of it. And the start of the
   program for an emulator of programs, which has a stack elsewhere. */
__attribute__((naked)) void Start(void)
{
    __asm volatile("ldr sp, =_stack\n b Reset_Handler");
}

float __aeabi_i2f(int value)
{
    union {
        unsigned bits;
        float number;
    } result = {0};
    unsigned size = value < 0 ? 0u - (unsigned)value : (unsigned)value;
    unsigned exponent = 127 + 23;
    if (!value) return result.number;
    for (; size < 0x800000u; size <<= 1) exponent--;
    for (; size >= 0x1000000u; size >>= 1) exponent++;
    result.bits = (value < 0 ? 0x80000000u : 0) | exponent << 23 | (size & 0x7FFFFFu);
    return result.number;
}

int __aeabi_f2iz(float number)
{
    union {
        float number;
        unsigned bits;
    } value = {number};
    int exponent = (int)(value.bits >> 23 & 0xFF) - 127;
    unsigned size = (value.bits & 0x7FFFFFu) | 0x800000u;
    if (exponent < 0 || exponent > 30) return 0;
    size = exponent > 23 ? size << (exponent - 23) : size >> (23 - exponent);
    return value.bits >> 31 ? -(int)size : (int)size;
}
