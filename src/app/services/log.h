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

/// True when debug and warning texts have somewhere to go (a log file is open or -debug was given). Any
/// thread.
bool IsLoggingOn();

// Ways out. A sink is called under the logger's lock, so it must not log itself; what it logs is dropped.

/// Receives the text without a level prefix, first character upper-cased, and the flags of the call.
using LOG_CONSOLE_SINK = std::function<void(const QString& sText, U32 Flags)>;
/// Receives the text with its level prefix and without a line end.
using LOG_STDOUT_SINK = std::function<void(const QString& sLine)>;

/// Sets the console window as sink; an empty function takes it out again. Any thread.
void SetLogConsoleSink(LOG_CONSOLE_SINK Sink);
/// Sets what stands for the text console of -debug; an empty function restores the standard output.
void SetLogStdoutSink(LOG_STDOUT_SINK Sink);

/// The prefix of the level in Flags: " i  ", "[W] ", "[E] " or an empty text.
QString GetLogPrefix(U32 Flags);

/// Writes what the batch of the application log still holds to the file. Any thread.
void FlushLog();
/// Bytes in the batch of the application log that are not in the file yet. Any thread.
int GetLogBatchSize();
/// Flushes, and forgets sinks and the batch threshold, which is read again at the next write.
void ShutdownLog();

/// Makes the logger the receiver of Qt's own messages. Main thread, at start.
void InstallQtMessageHandler();
