// State of the plug-in for RV32 cores and the functions of its table, a group a file.
#pragma once
#include "../common/coreregs.h"
#include "core/plugin/coreplugin.h"

#include <cstdint>

/// Register indexes; in the probe library and in the debug information a register has the same number.
enum RV_REGS : uint32_t {
    RV_REG_ZERO = 0,
    RV_REG_RA = 1,
    RV_REG_SP = 2,
    RV_REG_T0 = 5, ///< the other link register
    RV_REG_A0 = 10,
    RV_REG_A1 = 11,
    RV_REG_PC = 32,
    RV_NUM_REGS = 33,
};

/// Debugger functions; all null before CORE_PLUGIN_SetAPI.
const CORE_DEBUGGER_API& RV_GetDebugger();

/// Bytes of program or target through the debugger; 0 or -1.
int RV_ReadMem(uint32_t Addr, uint32_t Size, void* pBuffer);
int RV_ReadU32(uint32_t Addr, uint32_t* pValue); ///< a word of data or of code

/// One instruction in memory: its bits, and 2 or 4 bytes as they say.
struct RV_INST {
    uint32_t Addr;
    uint32_t Bits;
    uint32_t NumBytes;
};
/// Reads an instruction; 0, or -1 if its bytes can't be read or are of a longer form. It need not be valid.
int RV_Fetch(uint64_t Addr, RV_INST* pInst);
/// Length in bytes if the instruction is valid on RV32IMAC, else 0. sText may be null.
int RV_Decode(const RV_INST& Inst, char* sText, uint32_t Size);
/// Fills the record of a valid instruction.
void RV_Classify(const RV_INST& Inst, CORE_INST_INFO* pInfo);
/// Offset from the stack pointer at which the instruction stores RA; false for any other.
bool RV_GetSaveOfRA(const RV_INST& Inst, int32_t* pOffset);

// Registers and modes.
int RV_WriteReg(uint32_t RegId, uint32_t Size, const uint64_t* pValue);
uint32_t RV_GetRegIdOfIndex(uint32_t RegIdx);
int RV_GetCPURegFile(int32_t CoreId, char* pBuffer, uint32_t Size);

// Decoding.
int RV_AnalyzeInst(uint64_t Addr, CORE_INST_INFO* pInfo);
int RV_GetInstMnemonic(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
int RV_DisassembleInst(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
int RV_GetDataMnemonic(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
int RV_DisassembleData(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);

// Frames.
int RV_GetUnwindRules(const CORE_REG_SET* pRegSet, CORE_UNWIND_REQUEST* pRequest);

// Program file.
int RV_GetMapSymPrefix(char* pBuffer, uint32_t Size);
int RV_ParseMapSym(const char* sName, uint32_t* pKind, char* pBuffer, uint32_t Size);
int RV_GetElfByteOrders(uint32_t Size, const void* pHeader, uint32_t* pDataByteOrder, uint32_t* pInstByteOrder);
int RV_CheckElf(uint32_t Size, const void* pHeader);

// Events.
int RV_SetResetState();
int RV_InitSemihosting(const char* sConfig);
int RV_DeinitSemihosting();
int RV_HandleSemihosting(uint64_t Addr, uint32_t* pOpCode, uint64_t* pParam);
int RV_FinishSemihosting(int64_t Result, int64_t Result2);
