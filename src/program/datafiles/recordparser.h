// Lines of Motorola S-record and Intel HEX files.
//
//   BFile::DATA_RECORD Rec;
//   if (BFile::ParseSRecord(Line, Rec) && Rec.Size) ...
#pragma once
#include "app/services/types.h"

#include <QByteArray>
#include <QByteArrayView>

namespace BFile {

/// One parsed line. Type is the record's type digit.
struct DATA_RECORD {
    U32 Addr = 0; ///< absolute address of the data
    U32 Size = 0; ///< bytes
    QByteArray Data;
    U32 Type = 0;
};

/// False for a line that breaks a rule of the format. The line comes without its end.
bool ParseSRecord(QByteArrayView Line, DATA_RECORD& Rec);
/// Base is the upper part of the addresses; it starts at 0 and is kept for the whole file.
bool ParseHexRecord(QByteArrayView Line, U32& Base, DATA_RECORD& Rec);

} // namespace BFile
