// The functions that the debugger gives to a core support plug-in.
#pragma once
#include "app/services/types.h"
#include "core/plugin/coreplugin.h"

/// The filled table.
const CORE_DEBUGGER_API& Core_GetDebuggerAPI();

/// Memory as the plug-in sees it: the program file's sections, its data blocks, then the target.
/// 0 or -1. Any thread.
int Core_ReadMem(U64 Addr, U32 Size, void* pBuffer);

/// Writes a text at one of the levels CORE_LOG_...; 0, or -1 for an unknown level. Any thread.
int Core_Log(const char* sText, U32 Level);
