// Opening of the session's program file without holding up the window.
#pragma once
#include <QString>

/// Replaces the loaded program by the file at the path. The reading runs on a thread of its own; meanwhile the events
/// of the application are processed and the status bar shows the progress, whose cancel button ends it. 0, or -1 if
/// the file can't be opened, was cancelled, or another one is being opened: no program is loaded then. Main thread.
int LoadProgramFile(const QString& sPath);
/// Decodes the program anew, or the data file that stands for one (LoadOtherProgramData), in the same manner: for a data file
/// that was opened, and for a core support that was loaded behind its program. A cancel leaves the rest undecoded; it is
/// decoded where it is asked for. Main thread.
void DecodeProgram();
