// What the plug-in host takes from the layers above it. Each layer fills in its own
// fields at start, before the first Core_Load; an empty field means that the service
// isn't there, and the host does without it as told beside the field.
//
//   Core_GetHooks().LockDevice = [] { CDevice::Get().Lock(); };
//
// Filled on the main thread before other threads run; called on the thread of the
// operation that needs them.
#pragma once
#include "app/services/types.h"
#include "core/plugin/coreplugin.h"

#include <QString>
#include <functional>

struct CORE_HOOKS {
    // Project and user.
    std::function<QString()> GetAppDir;             ///< default: the folder of the executable
    std::function<QString()> GetProjectPluginPath;  ///< path stored in the project; empty: none
    std::function<void(const QString& sPath)> SetProjectPluginPath; ///< stores it, empty clears it
    std::function<bool()> IsInteractive;            ///< a dialog may be shown; default no
    std::function<QString(const QString& sTitle, const QString& sText)> AskPluginPath; ///< empty: no choice

    // Device.
    std::function<void(U32* pDataByteOrder, U32* pInstByteOrder)> GetByteOrders; ///< default: both 0, little endian
    std::function<void()> LockDevice;               ///< takes the recursive device mutex
    std::function<void()> UnlockDevice;
    std::function<bool()> CanReadTarget;            ///< connected and halted; any thread; default no
    std::function<int(U64 Addr, U32 Size, void* pBuffer)> ReadTarget;      ///< 0 or -1; any thread
    std::function<int(U64 Addr, U32 Size, void* pBuffer)> ReadTargetCache; ///< 0 or -1; asked first off the main thread
    std::function<void(U32 NumSlots)> SizeRegCache; ///< a core came up: slots of the register cache

    // Code analysis.
    std::function<int()> BindProgram;    ///< binds the open program file, if any; 0, or negative on failure
    std::function<void()> UnbindProgram; ///< before the library goes: frees decoded pages and the binding
    std::function<void()> ClearInstCache;
    std::function<int(U64 Addr, const char** psName, U64* pStart, U64* pEnd)> GetCodeSection; ///< default -1
    std::function<int(U64 Addr, const char** psName, U64* pAddr, U64* pEnd)> GetLabel;        ///< default -1
    std::function<int(U64 Addr, U32 Size, void* pBuffer)> ReadElfSection;  ///< 0 if one section holds the range, else -1
    std::function<int(U64 Addr, U32 Size, void* pBuffer)> ReadProgramData; ///< Size, or -1
    std::function<int(U64* paRange)> GetProgramRange; ///< three values; default -1 for each

    // Unwinder.
    std::function<void(U32 NumRegs)> SizeFrameRegs; ///< registers of a frame's register set; 0 frees them
    std::function<int(const CORE_REG_SET** ppRegSet)> GetRegSet; ///< default -1
};

/// The one set of hooks of the process.
CORE_HOOKS& Core_GetHooks();
