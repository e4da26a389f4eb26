// A frame that has an answer to everything, for location expressions of damaged programs.
#pragma once
#include "program/symbols/locexpr.h"

class CAnyFrame : public CLocFrame {
    static bool Any(U64 Seed, U64* pValue) { return *pValue = Seed * 0x9E3779B97F4A7C15ull, true; }
    bool ReadReg(U32 Reg, U64* p) override { return Any(Reg, p); }
    bool ReadMem(U32 Addr, U32, U64* p) override { return Any(Addr, p); }
    bool GetFrameBase(U64* p) override { return Any(5, p); }
    bool GetCfa(U64* p) override { return Any(6, p); }
    bool ReadEntryReg(U32 Reg, U64* p) override { return Any(Reg + 7, p); }
};
