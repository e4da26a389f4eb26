// Opening of the session's program file without holding up the window.
#pragma once
#include <QString>

/// Replaces the loaded program by the file at the path. The reading runs on a thread of its own; meanwhile the events
/// of the application are processed and the status bar shows the progress, whose cancel button ends it. 0, or -1 if
/// the file can't be opened, was cancelled, or another one is being opened: no program is loaded then. Main thread.
int LoadProgramFile(const QString& sPath);
/// Decodes the data file that stands for a program (LoadOtherProgramData), in the same manner; a cancel leaves the rest of
/// it undecoded. Main thread, no program file loaded.
void DecodeOtherProgram();
