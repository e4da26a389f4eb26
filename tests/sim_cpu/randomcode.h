// Streams of random valid instructions with random operands, for the comparison with an
// independent emulator.
#pragma once

#include "testmachine.h"

#include <random>

class RandomCode {
public:
    RandomCode(const BoardInfo& Info, uint32_t Seed) : m_Info(Info), m_Random(Seed) {}
    // An image with a vector table, NumInstructions random instructions (about) and an endless
    // branch. *pEnd: address of that branch.
    QByteArray Make(unsigned NumInstructions, uint32_t* pEnd);

private:
    uint32_t Below(uint32_t Limit) { return uint32_t(m_Random() % Limit); }
    void Half(uint32_t Value);
    void Instr(uint32_t Value, unsigned Size);
    void LoadImmediate(unsigned Reg, uint32_t Value);
    uint32_t Interesting();
    void RefreshRegister();
    void RefreshFloat();
    void Pattern(bool InIt);
    void Memory();
    void Multiple();
    void ExclusivePair();
    void ItBlock();
    void SkipBranch();
    uint32_t Fill(const char* sPattern, unsigned* pSize);

    const BoardInfo& m_Info;
    std::mt19937 m_Random;
    QByteArray m_Code;
};
