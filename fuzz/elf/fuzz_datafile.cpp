// libFuzzer target: any bytes as a data file of one text format (VANTREL_FUZZ_SUFFIX), read and put together as for a
// download, and line by line.
#include "program/datafiles/fileworker.h"
#include "program/datafiles/recordparser.h"

#include <QFile>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdlib>

namespace {
void ReadLines(QByteArrayView All)
{
    U32 Base = 0;
    for (qsizetype Start = 0; Start < All.size();) {
        qsizetype End = Start;
        while (End < All.size() && All[End] != '\n') End++;
        const QByteArrayView Line = All.sliced(Start, End - Start);
        BFile::DATA_RECORD Rec;
        if (BFile::ParseSRecord(Line, Rec) && Rec.Size != static_cast<U32>(Rec.Data.size())) std::abort();
        if (BFile::ParseHexRecord(Line, Base, Rec) && Rec.Size != static_cast<U32>(Rec.Data.size())) std::abort();
        Start = End + 1;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, std::size_t Size)
{
    static const QTemporaryDir Dir(QStringLiteral("/dev/shm/vantrel_fuzz_XXXXXX"));
    static const QString sPath = Dir.path() + QStringLiteral("/data." VANTREL_FUZZ_SUFFIX);
    const QByteArrayView All(reinterpret_cast<const char*>(pData), static_cast<qsizetype>(Size));
    ReadLines(All);
    QFile File(sPath);
    if (!File.open(QIODevice::WriteOnly) || File.write(All.data(), All.size()) != All.size()) return 0;
    File.close();
    U64 Total = 0;
    U64 End = 0;
    for (const CFileBlock& Block : BFile::CFileWorker::Instance().ReadFile(sPath)) {
        // Blocks come in the order of their addresses and don't overlap.
        if (Block.LoadAddr < End) std::abort();
        End = U64(Block.LoadAddr) + Block.Size;
        Total += Block.Size;
    }
    if (Total > Size) std::abort(); // two digits make a byte
    return 0;
}
