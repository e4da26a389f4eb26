#include "fakeprobe.h"

FAKE_PROBE& GetFakeProbe() {
    static FAKE_PROBE Probe{};
    return Probe;
}

extern "C" {
int BRYLLOARM_ReadRegs(const U32* paRegIdx, U64* paValue, U8* paStatus, U32 NumRegs) {
    if (GetFakeProbe().IsFailing) return -1;
    for (U32 i = 0; i < NumRegs; i++) {
        paStatus[i] = paRegIdx[i] >= 66;
        paValue[i] = paStatus[i] ? 0 : GetFakeProbe().aReg[paRegIdx[i]];
    }
    return 0;
}

int BRYLLOARM_WriteRegs(const U32* paRegIdx, const U64* paValue, U8* paStatus, U32 NumRegs) {
    if (GetFakeProbe().IsFailing) return -1;
    for (U32 i = 0; i < NumRegs; i++) {
        paStatus[i] = paRegIdx[i] >= 66;
        if (!paStatus[i]) GetFakeProbe().aReg[paRegIdx[i]] = paValue[i];
    }
    return 0;
}

int BRYLLOARM_ReadCPReg(const char* sName, U64* pValue) {
    const auto It = GetFakeProbe().CPReg.find(sName);
    if (It == GetFakeProbe().CPReg.end()) return -1;
    *pValue = It->second;
    return 0;
}

int BRYLLOARM_WriteCPReg(const char* sName, U64 Value) {
    GetFakeProbe().CPReg[sName] = Value;
    return 0;
}
}
