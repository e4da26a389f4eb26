#include "signal.h"

/// Newton's iteration, so that a float loop can be watched at work.
float SIGNAL_Sqrt(float Value)
{
    if (Value <= 0.0f) {
        return 0.0f;
    }
    float Guess = Value > 1.0f ? Value / 2.0f : 1.0f;
    for (int i = 0; i < 12; i++) {
        float Next = 0.5f * (Guess + Value / Guess);
        float Step = Next - Guess;
        Guess = Next;
        if (Step < 1e-4f && Step > -1e-4f) {
            break;
        }
    }
    return Guess;
}

static void _Update(SIGNAL* pSignal)
{
    float Sum = 0.0f;
    float SumOfSquares = 0.0f;
    uint16_t Min = 0xFFFF;
    uint16_t Max = 0;
    for (unsigned i = 0; i < SIGNAL_LENGTH; i++) {
        const uint16_t Sample = pSignal->aSamples[i];
        const float x = (float)Sample - 2048.0f;
        Sum += (float)Sample;
        SumOfSquares += x * x;
        if (Sample < Min) {
            Min = Sample;
        }
        if (Sample > Max) {
            Max = Sample;
        }
    }
    pSignal->Stats.Mean = Sum / SIGNAL_LENGTH;
    pSignal->Stats.Rms = SIGNAL_Sqrt(SumOfSquares / SIGNAL_LENGTH);
    pSignal->Stats.Min = Min;
    pSignal->Stats.Max = Max;
}

void SIGNAL_Add(SIGNAL* pSignal, uint16_t Sample)
{
    pSignal->aSamples[pSignal->Next] = Sample;
    pSignal->Next = (pSignal->Next + 1) % SIGNAL_LENGTH;
    if (pSignal->Next == 0) {
        _Update(pSignal);
    }
}
