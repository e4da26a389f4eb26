// Parsers of the two text formats.
#include "program/datafiles/recordparser.h"

namespace BFile {

namespace {

int Digit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

/// Number of Count hexadecimal digits; false if one isn't.
bool GetHex(QByteArrayView Line, qsizetype Pos, qsizetype Count, U32& Value)
{
    Value = 0;
    for (qsizetype i = Pos; i < Pos + Count; i++) {
        const int d = i < Line.size() ? Digit(Line[i]) : -1;
        if (d < 0) return false;
        Value = Value << 4 | static_cast<U32>(d);
    }
    return true;
}

/// Sum of the bytes in [First, Last) and the checksum that follows; false for what are no digits.
bool GetSum(QByteArrayView Line, qsizetype First, qsizetype Last, U32& Sum, U32& Check)
{
    Sum = 0;
    for (qsizetype i = First; i < Last; i += 2) {
        U32 Byte;
        if (i + 1 >= Last || !GetHex(Line, i, 2, Byte)) return false;
        Sum += Byte;
    }
    return GetHex(Line, Last, 2, Check);
}

QByteArray GetData(QByteArrayView Line, qsizetype First, qsizetype Last)
{
    return QByteArray::fromHex(QByteArray::fromRawData(Line.data() + First, Last - First));
}

} // namespace

bool ParseSRecord(QByteArrayView Line, DATA_RECORD& Rec)
{
    const qsizetype Length = Line.size();
    if (Length < 10 || Line[0] != 'S') return false;
    U32 Count, Sum, Check;
    if (!GetHex(Line, 2, 2, Count) || !GetSum(Line, 2, Length - 2, Sum, Check)) return false;
    if (((~Sum) & 0xFF) != Check || static_cast<qsizetype>(Count) * 2 != Length - 4) return false;
    qsizetype NumDigits;
    switch (Line[1]) {
    case '0':
    case '1':
    case '5':
    case '9': NumDigits = 4; break;
    case '2':
    case '8': NumDigits = 6; break;
    case '3':
    case '7': NumDigits = 8; break;
    default: return false;
    }
    if (4 + NumDigits > Length - 2 || !GetHex(Line, 4, NumDigits, Rec.Addr)) return false;
    Rec.Type = static_cast<U32>(Line[1] - '0');
    Rec.Data = GetData(Line, 4 + NumDigits, Length - 2);
    Rec.Size = static_cast<U32>(Rec.Data.size());
    return true;
}

bool ParseHexRecord(QByteArrayView Line, U32& Base, DATA_RECORD& Rec)
{
    const qsizetype Length = Line.size();
    if (Length < 11 || Line[0] != ':' || Line[7] != '0') return false;
    U32 Count, Sum, Check, Addr;
    if (!GetHex(Line, 1, 2, Count) || !GetSum(Line, 1, Length - 2, Sum, Check) || !GetHex(Line, 3, 4, Addr)) return false;
    if (((0u - Sum) & 0xFF) != Check || static_cast<qsizetype>(Count) * 2 != Length - 11) return false;
    Rec = DATA_RECORD();
    Rec.Type = static_cast<U32>(Digit(Line[8]));
    switch (Rec.Type) {
    case 0:
        Rec.Addr = Base + Addr;
        Rec.Data = GetData(Line, 9, Length - 2);
        Rec.Size = static_cast<U32>(Rec.Data.size());
        return true;
    case 1: return Length == 11;
    case 2:
    case 4: {
        U32 Upper;
        if (Length != 15 || Addr != 0 || !GetHex(Line, 9, 4, Upper)) return false;
        Base = Upper << (Rec.Type == 2 ? 4 : 16);
        return true;
    }
    case 3:
    case 5: return Length == 19 && Addr == 0;
    default: return false;
    }
}

} // namespace BFile
