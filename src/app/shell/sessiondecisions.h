// Decisions of the debug session as pure functions: what follows which report, in which mode.
// The main window carries them out; here they can be read and tested in one place.
#pragma once
#include "device/queue/devicetypes.h"

#include <QString>

/// What the controller does after a finished connect.
enum AFTER_CONNECT {
    AFTER_CONNECT_RESET_FOR_DOWNLOAD, ///< reset, the program download follows
    AFTER_CONNECT_HALT,               ///< halt job; also for a target that is found halted, so that it is reported
    AFTER_CONNECT_RUNNING,            ///< leave it running, tell the user so
    AFTER_CONNECT_NOTHING,            ///< a script goes on by itself
};
AFTER_CONNECT DecideAfterConnect(CONNECT_MODES Mode, bool Halted);

/// What the controller does after a finished reset.
enum AFTER_RESET {
    AFTER_RESET_DOWNLOAD,        ///< publish PC and SP, then write the program
    AFTER_RESET_START_HALTED,    ///< "Device was reset", the session starts halted
    AFTER_RESET_RUN_TO_SYMBOL,
    AFTER_RESET_CONTINUE,
    AFTER_RESET_REFRESH,         ///< only the windows
    AFTER_RESET_UNKNOWN,         ///< no such mode
};
AFTER_RESET DecideAfterReset(RESET_MODES Mode);

/// The first operation of a program that was just downloaded.
enum INITIAL_OPERATION {
    INITIAL_NOTHING, ///< the session was not started with a download
    INITIAL_HALT,
    INITIAL_RUN_TO_SYMBOL,
    INITIAL_CONTINUE,
    INITIAL_UNKNOWN, ///< no such reset mode
};
INITIAL_OPERATION DecideInitialOperation(I64 ConnectMode, I64 ResetMode);

/// Where the PC is shown after a halt.
enum SHOW_PC_IN { SHOW_PC_NOWHERE, SHOW_PC_SOURCE, SHOW_PC_DISASSEMBLY };
struct SHOW_PC_FACTS {
    bool ConsoleHasFocus = false;
    bool DisassemblyHasFocus = false;
    bool HasSourceLine = false;         ///< the PC belongs to a line of the program
    bool HasUnknownBreakpoint = false;  ///< an enabled breakpoint stands at the PC that no source location stands for
};
SHOW_PC_IN DecideShowPC(const SHOW_PC_FACTS& Facts);

/// What File.Open does with a path.
enum OPEN_KIND { OPEN_PROJECT, OPEN_SOURCE, OPEN_DATA };
OPEN_KIND DecideOpenKind(const QString& sPath);

/// True for the names of data files: *.bin *.mot *.srec *.hex *.elf *.out *.axf, ignoring case.
bool IsDataFileName(const QString& sPath);
