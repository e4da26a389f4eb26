// The program of the step benchmark: no peripherals, so that it runs on the simulated device and on an emulator's
// board alike. Its main loop mixes lines of straight code, calls, loops and a condition.
#include <stdint.h>

extern uint32_t _estack;
int main(void);
void Reset_Handler(void);

volatile uint32_t Sum;
static uint32_t _aTable[16];

__attribute__((section(".vectors"), used)) void* const Vectors[16] = {&_estack, (void*)Reset_Handler};

void Reset_Handler(void)
{
    main();
    for (;;) {
    }
}

static uint32_t Mix(uint32_t a, uint32_t b)
{
    a ^= b << 3;
    a += b >> 2;
    return a * 2654435761u;
}

static void Fill(uint32_t Seed)
{
    for (int i = 0; i < 16; i++) {
        _aTable[i] = Mix(Seed, (uint32_t)i);
    }
}

int main(void)
{
    uint32_t Round = 0;
    for (;;) {
        Round++;
        Fill(Round);
        uint32_t Local = _aTable[Round & 15];
        if (Local & 1) {
            Local = Mix(Local, Round);
        } else {
            Local += 3;
        }
        Sum += Local;
    }
}
