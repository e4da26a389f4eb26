#include "coreregs.h"

#include "platform/probe/bryllo.h"

int COREREGS_Read(uint32_t RegId, uint32_t Size, uint64_t* pValue) {
    uint8_t Status = 1;
    if (!pValue || Size < 8) return -1;
    return BRYLLOARM_ReadRegs(&RegId, pValue, &Status, 1) == 0 && Status == 0 ? 0 : -1;
}

int COREREGS_ReadAll(uint32_t NumRegs, const uint32_t* paRegId, uint32_t BufferSize, uint64_t* paValue, uint8_t* paStatus) {
    if (!paRegId || !paValue || !paStatus || BufferSize / 8 < NumRegs) return -1;
    return BRYLLOARM_ReadRegs(paRegId, paValue, paStatus, NumRegs) == 0 ? 0 : -1;
}

int COREREGS_Write(uint32_t RegId, uint32_t Size, const uint64_t* pValue) {
    uint8_t Status = 1;
    if (!pValue || Size < 8) return -1;
    return BRYLLOARM_WriteRegs(&RegId, pValue, &Status, 1) == 0 && Status == 0 ? 0 : -1;
}

int COREREGS_ReadNamed(const char* sName, uint32_t Size, uint64_t* pValue) {
    return sName && pValue && Size >= 8 && BRYLLOARM_ReadCPReg(sName, pValue) == 0 ? 0 : -1;
}

int COREREGS_WriteNamed(const char* sName, uint32_t Size, const uint64_t* pValue) {
    return sName && pValue && Size >= 8 && BRYLLOARM_WriteCPReg(sName, *pValue) == 0 ? 0 : -1;
}

int COREREGS_ReadWord(uint32_t RegId, uint32_t* pValue) {
    uint64_t Value = 0;
    if (COREREGS_Read(RegId, 8, &Value) != 0) return -1;
    *pValue = static_cast<uint32_t>(Value);
    return 0;
}

int COREREGS_WriteWord(uint32_t RegId, uint32_t Value) {
    const uint64_t Wide = Value;
    return COREREGS_Write(RegId, 8, &Wide);
}
