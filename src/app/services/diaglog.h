// Entry of messages that come out of the device layer and the program file reader.
//
// Both are talkative: a message that no way out would show is dropped before it costs a lock,
// and a diagnostic of the program file is written once per program file.
#pragma once
#include "app/services/log.h"

/// True when at least one way out that Flags name is open: the console window always counts,
/// the log file and standard output only while they exist. Any thread.
bool IsLogRouteOpen(U32 Flags);

/// A message of the device layer; dropped when no route is open. Any thread.
void LogDeviceMsg(const QString& sText, U32 Flags);

/// A diagnostic of the program file reader. hProgram is the handle of the open program file (0 for
/// none): on the main thread a text is written once per handle. Other threads write each time.
void LogProgramDiag(const QString& sText, U32 Flags, U64 hProgram);
