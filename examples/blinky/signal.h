// A small signal chain over the converter: sample, filter, statistics.
#ifndef SIGNAL_H
#define SIGNAL_H

#include <stdint.h>

#define SIGNAL_LENGTH 16

typedef struct {
    float Mean;
    float Rms;
    uint16_t Min;
    uint16_t Max;
} SIGNAL_STATS;

typedef struct {
    uint16_t aSamples[SIGNAL_LENGTH];
    unsigned Next;
    SIGNAL_STATS Stats;
} SIGNAL;

void SIGNAL_Add(SIGNAL* pSignal, uint16_t Sample);
float SIGNAL_Sqrt(float Value);

#endif
