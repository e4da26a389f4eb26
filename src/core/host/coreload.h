// From library file to running plug-in and back. Inside of the host only.
#pragma once
#include "app/services/types.h"
#include "core/plugin/coreplugin.h"

/// Holds the device mutex, so that the worker doesn't meet a table being replaced.
class CCoreDeviceLock {
public:
    CCoreDeviceLock();
    ~CCoreDeviceLock();
    CCoreDeviceLock(const CCoreDeviceLock&) = delete;
    CCoreDeviceLock& operator=(const CCoreDeviceLock&) = delete;
};

/// Loads the library, binds and starts it. 0 or -1, which leaves no plug-in. The device mutex is held.
int Core_Init(const CORE_CONFIG& Config);

/// Releases the library and all that hangs on it. 0 or -1. The device mutex is held.
int Core_Deinit();

/// The plug-in can't take a new configuration while it runs.
inline constexpr int CORE_RECONFIGURE_NEEDS_RELOAD = -2;

/// Gives the plug-in in use a new configuration. 0 applied, 1 nothing to change, -1 failure (the old
/// configuration stays noted), or CORE_RECONFIGURE_NEEDS_RELOAD.
int Core_Reconfigure(const CORE_CONFIG& Config);

/// The bound table; all entries are null without a plug-in.
const CORE_PLUGIN_API& Core_GetPluginAPI();

/// Sizes both register buffers and fills in their register numbers; 0 frees them.
void Core_SizeBuffers(U32 NumRegs);
