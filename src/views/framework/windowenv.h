// What windows ask of the rest of the program: the debug state and commands.
// The application registers the answers once at start; without them a window behaves as with no target.
//
//   WINDOW_ENV Env;
//   Env.GetPC = [] { return CDevice::Get().GetPC(); };
//   SetWindowEnv(Env);
#pragma once
#include "app/services/types.h"
#include "device/queue/devicetypes.h"

#include <QString>
#include <QStringList>
#include <functional>

class QWidget;

/// Answers of the program to its windows. Every member may be left empty. Main thread only.
struct WINDOW_ENV {
    std::function<bool()> IsConnected;     ///< a target connection exists; default false
    std::function<bool()> IsHalted;        ///< connected and halted; default false
    std::function<bool()> IsDebugging;     ///< a debug session has started; default IsConnected
    std::function<bool()> IsStepPending;   ///< a step job is queued or runs; default false
    std::function<U32()> GetPC;            ///< present PC of the device; default ADDR_NONE
    std::function<U32()> GetInstAlignment; ///< bytes, a power of two; default 2
    /// Runs a command of the action table by its name with its parameters; -1 on failure.
    std::function<int(const QString& sCommand, const QStringList& Params)> PerformCommand;
    /// True if a command may run now; default true.
    std::function<bool(const QString& sCommand)> IsCommandEnabled;
    std::function<void(QWidget* pWindow)>
        LinkActions; ///< ties a window's QAction children to the action table
    std::function<void(QWidget* pWindow)> UnlinkActions; ///< the reverse, before the window dies
};

/// Replaces the program's answers. Call before the first window is made.
void SetWindowEnv(const WINDOW_ENV& Env);
const WINDOW_ENV& GetWindowEnv();

/// \name The answers with their defaults applied
///@{
bool IsTargetConnected();
bool IsTargetHalted();
bool IsDebugSessionActive();
bool IsStepJobPending();
U32 GetTargetPC();
U32 AlignToInst(U32 Addr); ///< rounded down to the instruction alignment; ADDR_NONE stays ADDR_NONE
DEBUG_STATES GetDebugState();
int PerformWindowCommand(const QString& sCommand, const QStringList& Params = {});
bool IsWindowCommandEnabled(const QString& sCommand);
///@}
