// State of the plug-in and the functions of its table, a group a file.
#pragma once
#include "../common/coreregs.h"
#include "armflags.h"
#include "armkinds.h"
#include "core/plugin/coreplugin.h"

#include <cstdint>

/// Debugger functions; all null before CORE_PLUGIN_SetAPI.
const CORE_DEBUGGER_API& ARM_GetDebugger();
/// The configured core. The first row of the table before Init.
const ARM_KIND& ARM_GetKind();
bool ARM_IsDataBigEndian();

/// Copies a text into a buffer of the debugger. 0, or -1 if it doesn't fit or the buffer is missing.
int ARM_CopyText(const char* sText, char* pBuffer, uint32_t Size);

/// Bytes of program or target through the debugger; 0 or -1.
int ARM_ReadMem(uint32_t Addr, uint32_t Size, void* pBuffer);
/// A word or half word in the data byte order; 0 or -1.
int ARM_ReadU32(uint32_t Addr, uint32_t* pValue);
int ARM_ReadU16(uint32_t Addr, uint16_t* pValue);

/// One instruction in memory with the IT state in which it runs.
struct ARM_INST {
    uint32_t Addr;
    ARM_ENCODING Encoding;
    uint32_t NumBytes;   ///< 2 or 4, as the encoding says
    uint8_t ITState;
};
/// Reads an instruction; 0, or -1 if its bytes can't be read. Its encoding need not be valid.
int ARM_Fetch(uint64_t Addr, ARM_INST* pInst);
/// Length in bytes if the encoding is valid on the core, else 0. Text as of ARMDIS_Decode, may be null.
int ARM_Decode(const ARM_INST& Inst, char* sText, uint32_t Size);

// Registers and modes.
int ARM_GetCPUMode(uint32_t* pMode);
int ARM_GetExecMode(uint32_t* pMode);
int ARM_GetCPUModeName(uint32_t Mode, char* pBuffer, uint32_t Size);
int ARM_GetExecModeName(uint32_t Mode, char* pBuffer, uint32_t Size);
uint32_t ARM_GetBPMode(uint64_t Addr);
uint32_t ARM_GetRegIdOfIndex(uint32_t RegIdx);
int ARM_GetCPURegFile(int32_t CoreId, char* pBuffer, uint32_t Size);

// Decoding.
int ARM_AnalyzeInst(uint64_t Addr, CORE_INST_INFO* pInfo);
int ARM_GetInstMnemonic(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
int ARM_DisassembleInst(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
int ARM_GetDataMnemonic(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
int ARM_DisassembleData(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);

// Frames.
int ARM_GetUnwindRules(const CORE_REG_SET* pRegSet, CORE_UNWIND_REQUEST* pRequest);
int ARM_GetFrameName(const CORE_REG_SET* pRegSet, char* pBuffer, uint32_t Size);
int ARM_GetCallFrameSize(uint64_t Addr, uint32_t Flags);

// Program file.
int ARM_GetMapSymPrefix(char* pBuffer, uint32_t Size);
int ARM_ParseMapSym(const char* sName, uint32_t* pKind, char* pBuffer, uint32_t Size);
int ARM_GetElfByteOrders(uint32_t Size, const void* pHeader, uint32_t* pDataByteOrder, uint32_t* pInstByteOrder);
int ARM_CheckElf(uint32_t Size, const void* pHeader);

// Events.
int ARM_SetResetState();
int ARM_InitSemihosting(const char* sConfig);
int ARM_DeinitSemihosting();
int ARM_HandleSemihosting(uint64_t Addr, uint32_t* pOpCode, uint64_t* pParam);
int ARM_FinishSemihosting(int64_t Result, int64_t Result2);
int ARM_GetEventBody(uint32_t EventId, char* pBuffer, uint32_t Size);
