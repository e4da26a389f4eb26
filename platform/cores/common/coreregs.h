// Registers of the target through the probe library, as all plug-ins reach them. Each answers 0, or -1 on failure; values
// are 8 bytes wide. Device worker and main thread; the library locks.
#pragma once
#include <cstdint>

int COREREGS_Read(uint32_t RegId, uint32_t Size, uint64_t* pValue);
/// paStatus: a byte a register, 0 where it was read. BufferSize is that of paValue, in bytes.
int COREREGS_ReadAll(uint32_t NumRegs, const uint32_t* paRegId, uint32_t BufferSize, uint64_t* paValue, uint8_t* paStatus);
int COREREGS_Write(uint32_t RegId, uint32_t Size, const uint64_t* pValue);
int COREREGS_ReadNamed(const char* sName, uint32_t Size, uint64_t* pValue);
int COREREGS_WriteNamed(const char* sName, uint32_t Size, const uint64_t* pValue);

/// The low 32 bits of one register.
int COREREGS_ReadWord(uint32_t RegId, uint32_t* pValue);
int COREREGS_WriteWord(uint32_t RegId, uint32_t Value);
