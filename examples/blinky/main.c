// Example program: lights on port A that step through modes, fed by two interrupts, with a line
// on the UART for every round.
#include "../common/vantrelsim.h"
#include "drivers/uart.h"
#include "signal.h"

#include <stdio.h>

#define NUM_LEDS 4
#define TICKS_PER_SECOND 1000u

typedef enum { MODE_CHASE, MODE_COUNT, MODE_RANDOM, NUM_MODES } LED_MODE;

typedef union {
    uint32_t Word;
    uint8_t aBytes[4];
    struct {
        uint32_t Leds : NUM_LEDS;
        uint32_t Round : 12;
        uint32_t Mode : 2;
        uint32_t Unused : 14;
    } Bits;
} LED_STATE;

typedef uint32_t STEP_FUNC(uint32_t Leds, uint32_t Round);

typedef struct {
    const char* sName;
    STEP_FUNC* pfStep;
    uint32_t NumRounds;
} MODE_ENTRY;

typedef struct NODE {
    struct NODE* pNext;
    int Value;
} NODE;

static uint32_t _StepChase(uint32_t Leds, uint32_t Round);
static uint32_t _StepCount(uint32_t Leds, uint32_t Round);
static uint32_t _StepRandom(uint32_t Leds, uint32_t Round);

const MODE_ENTRY aModes[NUM_MODES] = {
    {"chase", _StepChase, 8},
    {"count", _StepCount, 16},
    {"random", _StepRandom, 4},
};

volatile uint32_t NumTicks;       // by SysTick, one a millisecond
volatile uint32_t NumTimerEvents; // by TIMER0
SIGNAL Signal;
LED_STATE State = {.Bits = {.Leds = 1, .Mode = MODE_CHASE}};
int FibResult;
float Temperature = 21.5f;
double Energy;
const char sGreeting[] = "Blinky\n";

static NODE _aNodes[3] = {{&_aNodes[1], 10}, {&_aNodes[2], 20}, {0, 30}};
static uint32_t _NumModeChanges;

void SysTick_Handler(void)
{
    NumTicks++;
}

void TIMER0_Handler(void)
{
    TIMER0->STATUS = 1;
    NumTimerEvents++;
    ADC0->CTRL = 3; // the result is there long before the next event
    if (ADC0->STATUS & 1) {
        SIGNAL_Add(&Signal, (uint16_t)ADC0->DATA);
    }
}

static uint32_t _StepChase(uint32_t Leds, uint32_t Round)
{
    (void)Round;
    Leds <<= 1;
    return Leds & ((1u << NUM_LEDS) - 1) ? Leds : 1;
}

static uint32_t _StepCount(uint32_t Leds, uint32_t Round)
{
    (void)Leds;
    return Round & ((1u << NUM_LEDS) - 1);
}

static uint32_t _StepRandom(uint32_t Leds, uint32_t Round)
{
    (void)Round;
    return (Leds ^ RNG_DATA) & ((1u << NUM_LEDS) - 1);
}

int Fibonacci(int n)
{
    if (n < 2) {
        return n;
    }
    return Fibonacci(n - 1) + Fibonacci(n - 2);
}

static int _SumList(const NODE* pNode)
{
    int Sum = 0;
    while (pNode) {
        Sum += pNode->Value;
        pNode = pNode->pNext;
    }
    return Sum;
}

static void _InitHardware(void)
{
    SYST_RVR = SYSCTL->CLKHZ / TICKS_PER_SECOND - 1;
    SYST_CVR = 0;
    SYST_CSR = 7;
    TIMER0->PRESC = 15;
    TIMER0->RELOAD = 999;
    TIMER0->CTRL = 3;
    NVIC_ISER = 1u << IRQ_TIMER0;
    GPIOA->DIR = (1u << NUM_LEDS) - 1;
    UART_Init(115200);
}

static void _Wait(uint32_t NumMS)
{
    const uint32_t Start = NumTicks;
    while (NumTicks - Start < NumMS) {
        __asm volatile("wfi");
    }
}

static void _NextRound(void)
{
    const MODE_ENTRY* pMode = &aModes[State.Bits.Mode];
    uint32_t Round = State.Bits.Round + 1u;
    if (Round >= pMode->NumRounds) {
        Round = 0;
        State.Bits.Mode = (State.Bits.Mode + 1u) % NUM_MODES;
        _NumModeChanges++;
    }
    State.Bits.Round = Round & 0xFFFu;
    State.Bits.Leds = pMode->pfStep(State.Bits.Leds, Round) & 0xFu;
    GPIOA->OUT = State.Bits.Leds;
}

int main(void)
{
    _InitHardware();
    UART_Write(sGreeting, (int)sizeof(sGreeting) - 1);
    for (;;) {
        _NextRound();
        FibResult = Fibonacci((int)State.Bits.Round % 10);
        Temperature += 0.25f * (float)(_SumList(_aNodes) - FibResult) / 60.0f;
        if (Temperature > 40.0f) {
            Temperature = 21.5f;
        }
        Energy += (double)Temperature * 0.001;
        printf("%s %lu: fib %d, mean %d\n", aModes[State.Bits.Mode].sName, (unsigned long)State.Bits.Round, FibResult,
               (int)Signal.Stats.Mean);
        _Wait(50);
    }
}
