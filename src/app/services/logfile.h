// The log files of the process, by slot.
#pragma once
#include "app/services/types.h"

#include <QByteArray>
#include <QString>

enum LOG_SLOTS : int {
    LOG_SLOT_APP = 0,       ///< application log
    LOG_SLOT_CONSOLE = 1,   ///< console log
    LOG_SLOT_TERMINAL = 2,  ///< terminal log
    LOG_SLOT_TIMESTAMP = 3, ///< time stamp log
    NUM_LOG_SLOTS = 4,
};

/// A file longer than LOG_FILE_MAX_SIZE bytes is cut to its first LOG_FILE_KEEP_SIZE bytes before a write.
inline constexpr I64 LOG_FILE_MAX_SIZE = 16'000'000;
inline constexpr I64 LOG_FILE_KEEP_SIZE = 16'000;

/// Opens (and empties) a file in a slot; what was open there is closed. Returns whether the file is
/// open; an empty path changes nothing and gives false. Any thread.
bool OpenLogFile(int Slot, const QString& sPath);
/// Closes the slot's file. Any thread.
void CloseLogFile(int Slot);
/// Any thread, without a lock.
bool IsLogFileOpen(int Slot);
/// Path of the slot's file, empty if none was opened.
QString GetLogFilePath(int Slot);
/// Writes by the size rule and flushes. False when no file is open or the write failed. Any thread.
bool WriteLogFile(int Slot, const QByteArray& Data);
