#include "app/shell/sessiondecisions.h"

#include <QFileInfo>
#include <QStringList>

AFTER_CONNECT DecideAfterConnect(CONNECT_MODES Mode, bool Halted)
{
    switch (Mode) {
    case CM_DOWNLOAD_RESET: return AFTER_CONNECT_RESET_FOR_DOWNLOAD;
    case CM_ATTACH_HALT: return AFTER_CONNECT_HALT;
    case CM_ATTACH: return Halted ? AFTER_CONNECT_HALT : AFTER_CONNECT_RUNNING;
    default: return AFTER_CONNECT_NOTHING;
    }
}

AFTER_RESET DecideAfterReset(RESET_MODES Mode)
{
    switch (Mode) {
    case RM_RESET_BEFORE_DOWNLOAD: return AFTER_RESET_DOWNLOAD;
    case RM_RESET_HALT: return AFTER_RESET_START_HALTED;
    case RM_BREAK_AT_SYMBOL: return AFTER_RESET_RUN_TO_SYMBOL;
    case RM_RESET_AND_RUN: return AFTER_RESET_CONTINUE;
    case RM_EXEC_STATE_SET: return AFTER_RESET_REFRESH;
    default: return AFTER_RESET_UNKNOWN;
    }
}

INITIAL_OPERATION DecideInitialOperation(I64 ConnectMode, I64 ResetMode)
{
    if (ConnectMode != CM_DOWNLOAD_RESET) return INITIAL_NOTHING;
    switch (ResetMode) {
    case RM_RESET_HALT: return INITIAL_HALT;
    case RM_BREAK_AT_SYMBOL: return INITIAL_RUN_TO_SYMBOL;
    case RM_RESET_AND_RUN: return INITIAL_CONTINUE;
    default: return INITIAL_UNKNOWN;
    }
}

SHOW_PC_IN DecideShowPC(const SHOW_PC_FACTS& Facts)
{
    // Somebody who types commands keeps the focus where it is.
    if (Facts.ConsoleHasFocus) return SHOW_PC_NOWHERE;
    if (Facts.HasUnknownBreakpoint) return SHOW_PC_DISASSEMBLY;
    if (!Facts.DisassemblyHasFocus && Facts.HasSourceLine) return SHOW_PC_SOURCE;
    return SHOW_PC_DISASSEMBLY;
}

bool IsDataFileName(const QString& sPath)
{
    static const QStringList Suffixes = {"bin", "mot", "srec", "hex", "elf", "out", "axf"};
    return Suffixes.contains(QFileInfo(sPath).suffix().toLower());
}

OPEN_KIND DecideOpenKind(const QString& sPath)
{
    const QString sSuffix = QFileInfo(sPath).suffix().toLower();
    if (sSuffix == "bdebug") return OPEN_PROJECT;
    // A program without an extension is common on Linux; a text with an unknown one is more likely source.
    return sSuffix.isEmpty() || IsDataFileName(sPath) ? OPEN_DATA : OPEN_SOURCE;
}
