// The one logger through which every part of the program writes.
//
//   LogInfo("Download Complete.");            // application log, -debug console, console window
//   Log(text, MSG_ERROR | MSG_CONSOLE);       // routing chosen by the caller
//
// Any thread may log. The console window and the application log are sinks that the
// application registers at start; without a sink the text is dropped for that way out.
#pragma once
#include "app/services/types.h"

#include <QString>
#include <functional>

/// Routing and level bits of a log call; several may be combined.
enum MSG_FLAGS : U32 {
    MSG_INFO = 0x001,       ///< level information; log prefix " i  "
    MSG_WARNING = 0x002,    ///< level warning; log prefix "[W] "
    MSG_ERROR = 0x004,      ///< level error; log prefix "[E] "
    MSG_STDOUT = 0x008,     ///< to the text console of -debug
    MSG_FILE = 0x010,       ///< to the application log file
    MSG_CONSOLE = 0x020,    ///< to the console window
    MSG_ALL = 0x040,        ///< to all three
    MSG_QT = 0x080,         ///< came from the Qt message handler
    MSG_THREAD = 0x100,     ///< came by way of a message that another thread raised
    MSG_DARK = 0x200,       ///< console text in dark blue
    MSG_LEVEL_CALL = 0x400, ///< came through one of the four level functions
};

/// Writes one message; at most 2,048 characters are kept. Returns 0, or -1 for an empty text. Any thread.
int Log(const QString& sText, U32 Flags);

void LogDebug(const QString& sText);   ///< only when an application log file is open
void LogInfo(const QString& sText);    ///< always
void LogWarning(const QString& sText); ///< only with a log file or -debug
void LogError(const QString& sText);   ///< always

/// True when debug and warning texts have somewhere to go (a log file is open or -debug was given). Any thread.
bool IsLoggingOn();
