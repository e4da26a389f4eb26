// libFuzzer target: any bytes as lines of both text formats.
#include "program/datafiles/recordparser.h"

#include <cstddef>

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, std::size_t Size)
{
    U32 Base = 0;
    const QByteArrayView All(reinterpret_cast<const char*>(pData), static_cast<qsizetype>(Size));
    for (qsizetype Start = 0; Start < All.size();) {
        qsizetype End = Start;
        while (End < All.size() && All[End] != '\n') End++;
        const QByteArrayView Line = All.sliced(Start, End - Start);
        BFile::DATA_RECORD Rec;
        if (BFile::ParseSRecord(Line, Rec) && Rec.Size != static_cast<U32>(Rec.Data.size())) __builtin_trap();
        if (BFile::ParseHexRecord(Line, Base, Rec) && Rec.Size != static_cast<U32>(Rec.Data.size())) __builtin_trap();
        Start = End + 1;
    }
    return 0;
}
