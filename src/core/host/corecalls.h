// What the core support plug-in knows, one question a function. Each gives a neutral
// result when there is no plug-in or the plug-in doesn't offer the function; the callers
// never see a function pointer.
//
// Main thread and device worker; the decoding functions on both at once without a lock.
#pragma once
#include "app/services/types.h"
#include "core/plugin/coreplugin.h"

#include <QString>

// ---- Registers ---------------------------------------------------------------------------------

int Core_ReadReg(U32 RegId, U64* pValue);      ///< 0 or -1
int Core_WriteReg(U32 RegId, U64 Value);       ///< 0 or -1
/// Reads many registers; a status byte other than 0 marks a failed one. 0 or -1.
int Core_ReadRegs(U32 NumRegs, const U32* paRegId, U64* paValue, U8* paStatus);
int Core_ReadCPReg(const char* sName, U64* pValue); ///< 0 or -1; 0 with value 0 if the plug-in has none
int Core_WriteCPReg(const char* sName, U64 Value);  ///< 0 or -1; 0 if the plug-in has none
U32 Core_GetRegId(U32 RegIdx);                 ///< 0xFFFFFFFF if there is none
/// Register number for ReadReg of the PC and of the stack pointer; 0xFFFFFFFF without a plug-in.
U32 Core_GetPCRegId();
U32 Core_GetSPRegId();

// ---- Modes -------------------------------------------------------------------------------------

U32 Core_GetCPUMode();                         ///< a plug-in value, 0 on failure
U32 Core_GetExecMode();                        ///< a plug-in value, 0 on failure
QString Core_GetCPUModeName(U32 Mode);         ///< empty if unknown
QString Core_GetExecModeName(U32 Mode);        ///< empty if unknown
U32 Core_GetBPMode(U64 Addr);                  ///< bits for the type word of a breakpoint, 0 if none

// ---- Decoding ----------------------------------------------------------------------------------

int Core_AnalyzeInst(U64 Addr, CORE_INST_INFO* pInfo); ///< 0, or negative with a zero record
/// The four texts give the length in bytes that the text stands for; 0 or negative with an empty text.
int Core_GetInstMnemonic(U64 Addr, U32 Length, char* pBuffer, U32 Size);
int Core_DisassembleInst(U64 Addr, U32 Length, char* pBuffer, U32 Size);
int Core_GetDataMnemonic(U64 Addr, U32 Length, char* pBuffer, U32 Size);
int Core_DisassembleData(U64 Addr, U32 Length, char* pBuffer, U32 Size);

// ---- Program file ------------------------------------------------------------------------------

QByteArray Core_GetMapSymPrefix();             ///< empty: the core has no mapping symbols
int Core_ParseMapSym(const char* sName, U32* pKind); ///< 0, or -1 if the name is no mapping symbol
int Core_GetElfByteOrders(const void* pHeader, U32* pDataByteOrder, U32* pInstByteOrder); ///< 0 or -1
bool Core_CanRunElf(const void* pHeader);      ///< true as well if the plug-in can't tell
int Core_GetCallFrameSize(U64 Addr);           ///< bytes, -1 if not known

// ---- Frames ------------------------------------------------------------------------------------

/// 0: the plug-in has taken the frame; other: it has no opinion. A missing function counts as 0.
int Core_GetUnwindRules(const CORE_REG_SET* pRegSet, CORE_UNWIND_REQUEST* pRequest);
QString Core_GetFrameName(const CORE_REG_SET* pRegSet); ///< empty if the plug-in has no text

// ---- Register files ----------------------------------------------------------------------------

QString Core_GetCPURegFile(int CoreId);        ///< file name, empty if none
QString Core_GetPeriphRegFile(int CoreId);     ///< file name, empty if none

// ---- Events ------------------------------------------------------------------------------------

int Core_OnTargetConnected();                  ///< all: 0, also without the function; else the plug-in's answer
int Core_OnTargetDisconnect();
int Core_SetResetState();
int Core_OnTargetHalted();
int Core_OnTargetResume();
QString Core_GetEventBody(U32 EventId);        ///< empty: use the debugger's own template

// ---- Semihosting -------------------------------------------------------------------------------

bool Core_HasSemihosting();                    ///< the plug-in can detect requests
bool Core_HasInitSemihosting();
int Core_InitSemihosting(const char* sConfig); ///< 0, also without the function
int Core_DeinitSemihosting();                  ///< 0, also without the function
/// CORE_SEMIHOST_..., other values are the plug-in's fault. Device worker.
int Core_HandleSemihosting(U64 Addr, U32* pOpCode, U64* pParam);
int Core_FinishSemihosting(I64 Result);        ///< Result -1: the operation failed
