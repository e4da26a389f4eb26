// Host of the core support plug-in: finds the library, binds it, validates what it says
// about itself and keeps it in step with the device setting. One plug-in at a time, all
// state is of the module. What the plug-in knows is asked through core/host/corecalls.h.
//
//   if (Core_Load(CoreId) < 0) { /* go on without a core */ }
//   Addr -= Addr % Core_GetStaticInfo().InstAlignment;
//
// Loading and unloading happen on the main thread with the device mutex held, so that
// the device worker, which works under that mutex, never meets a table being replaced.
#pragma once
#include "app/services/types.h"
#include "core/plugin/coreplugin.h"

#include <QString>
#include <vector>

/// From the core id to a running plug-in. 0: loaded; 1: the plug-in in use stays as it is;
/// 2: the plug-in in use was reconfigured; -1: failure, there may be no core then. Main thread.
int Core_Load(int CoreId);

/// Releases the plug-in. 0, also if none was loaded; -1 when the library can't be released. Main thread.
int Core_Unload();

/// True while a plug-in is initialised. Any thread.
bool Core_IsLoaded();

/// File name, without suffix, of the plug-in that comes with the program for a core; null if there is none.
const char* Core_GetDefaultPluginName(int CoreId);

/// The path that a load for the core id would use. May ask the user for the file. 0, or -1 with
/// an empty path when there is no way to tell it. Main thread.
int Core_GetPluginPath(int CoreId, QString* pPath);

/// Path of the plug-in in use, empty if none. Main thread.
QString Core_GetCurrentPath();

/// Core id of the last load, 0 before the first. Main thread.
int Core_GetCoreId();

/// Configuration that the plug-in has; all zero without one.
const CORE_CONFIG& Core_GetConfig();

/// Constants of the core. Without a plug-in all are zero but the instruction alignment, which is 2.
const CORE_STATIC_INFO& Core_GetStaticInfo();

/// Buffers for all registers of the core, indexed by register index.
struct CORE_REG_BUFFER {
    std::vector<U32> aRegId;     ///< number for ReadRegs; 0xFFFFFFFF: none
    std::vector<U64> aValue;
    std::vector<U8> aStatus;     ///< 0 valid, 3 not read, other: failed
    std::vector<CORE_LOC> aRule; ///< unwind rules
};

CORE_REG_BUFFER& Core_GetLiveRegs();    ///< registers as the target has them; empty without a core. Main thread
CORE_REG_BUFFER& Core_GetScratchRegs(); ///< for work in progress. Main thread

/// Reads all registers of the core into a buffer. A register that can't be read has a status other
/// than 0. 0, or -1 when none could be read.
int Core_ReadAllRegs(CORE_REG_BUFFER& Regs);

/// What a program file's header doesn't fit in; bits.
enum CORE_PROGRAM_FAULTS : U32 {
    CORE_PROGRAM_NOT_EXECUTABLE = 1, ///< "this ELF file cannot be executed on the selected target"
    CORE_PROGRAM_DATA_ORDER = 2,     ///< "the ELF file's data endianess does not match the target configuration"
    CORE_PROGRAM_INST_ORDER = 4,     ///< "the ELF file's instruction endianess does not match the target configuration"
};

/// Compares an ELF32 header of 52 bytes with core and configuration; gives CORE_PROGRAM_FAULTS, 0 when it
/// fits or when the plug-in can't tell.
U32 Core_CheckProgram(const void* pHeader);
