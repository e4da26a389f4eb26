// The bytes of what is to be written to the target: the open program's segments, or a data file.
#pragma once
#include "app/services/types.h"

#include <QByteArray>
#include <QList>
#include <QString>

struct PROGRAM_DATA_BLOCK {
    U32 Addr;         ///< load address
    QByteArray Bytes;
};

struct PROGRAM_DATA {
    QList<PROGRAM_DATA_BLOCK> Blocks; ///< ascending, not overlapping
    QString sError;                   ///< why there are none, empty when all is well
};

/// Data of the open program if the path is its own or of the loaded data file, else of the file at the path.
/// BinAddr: where a binary file's first byte lies. Main thread.
PROGRAM_DATA GetProgramData(const QString& sPath, U32 BinAddr = 0);

/// Reads a file that is no program (HEX, S-record, binary) and keeps it as the session's data. Returns the error, empty
/// on success.
QString LoadOtherProgramData(const QString& sPath, U32 BinAddr);
void ClearProgramData();
/// Gives the session's data to the core analysis as blocks of code; without effect while a program file is bound. Main
/// thread, under the device mutex.
void BindOtherProgramData();

/// What is opened as a program: any file with the extension (elf, out, axf) or with the magic of an ELF file. A data file
/// (BFile::IsElfFile) must have the extension or none, so that no firmware image is taken for something else by its bytes.
bool IsElfProgram(const QString& sPath);
