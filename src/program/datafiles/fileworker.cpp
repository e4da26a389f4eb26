// Readers and writer of data files.
#include "program/datafiles/fileworker.h"
#include "app/services/log.h"
#include "app/services/messages.h"
#include "program/datafiles/filetypes.h"
#include "program/datafiles/recordparser.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <vector>

namespace BFile {

namespace {

constexpr qint64 CHUNK_SIZE = 1000000;
/// The largest memories that lie in the address space of a microcontroller. A file beyond that is something else, and it
/// would be held in memory as a whole.
constexpr qint64 MAX_BINARY_SIZE = 256 << 20;
constexpr int MSG_CORRUPT_RECORD = 94;

/// Start of the next line end in [From, size), -1 if there is none.
qsizetype FindLineEnd(const QByteArray& Chunk, qsizetype From)
{
    for (qsizetype i = From; i < Chunk.size(); i++) {
        if (Chunk[i] == '\n' || Chunk[i] == '\r') return i;
    }
    return -1;
}

bool IsBlank(char c) { return QChar::fromLatin1(c).isSpace(); }

/// Bytes for an address, and where they are.
struct PIECE {
    U32 Addr;
    U32 Size; ///< bytes
    size_t Pos;
};

/// Parser of the text formats with what it keeps from line to line.
class CTextReader {
public:
    explicit CTextReader(const QString& sSuffix) : m_IsHex(sSuffix == QLatin1String("hex")) {}

    /// Takes one chunk and returns how many of its bytes are done, -1 if the file is no text of lines.
    qsizetype TakeChunk(const QByteArray& Chunk)
    {
        qsizetype Start = 0;
        qsizetype End = FindLineEnd(Chunk, 0);
        const bool HasNoEnd = End < 0;
        if (HasNoEnd) End = Chunk.size();
        for (;;) {
            const bool IsGood = _TakeLine(QByteArrayView(Chunk.constData() + Start, End - Start));
            Start = End;
            while (Start < Chunk.size() && IsBlank(Chunk[Start])) Start++;
            // No record is as long as a chunk: the file isn't what its name says, and there may be gigabytes of it.
            if (HasNoEnd && Chunk.size() >= CHUNK_SIZE) {
                if (FirstBadLine < 0) FirstBadLine = m_LineNo;
                return -1;
            }
            End = FindLineEnd(Chunk, Start);
            if (End < 0) return Start;
            if (!IsGood && FirstBadLine < 0) FirstBadLine = m_LineNo;
            m_LineNo++;
        }
    }

    /// The data that were taken, as blocks.
    QList<CFileBlock> GetBlocks();

    int FirstBadLine = -1;

private:
    bool _TakeLine(QByteArrayView Line)
    {
        DATA_RECORD Rec;
        const bool IsGood = m_IsHex ? ParseHexRecord(Line, m_Base, Rec) : ParseSRecord(Line, Rec);
        if (!IsGood) {
            qWarning("Discarded invalid record in s-record file");
            return false;
        }
        const bool IsData = m_IsHex ? Rec.Type == 0 : Rec.Type >= 1 && Rec.Type <= 3;
        if (!IsData || !Rec.Size) return true;
        m_aPiece.push_back({Rec.Addr, Rec.Size, static_cast<size_t>(m_Data.size())});
        m_Data.append(Rec.Data);
        return true;
    }

    bool m_IsHex;
    U32 m_Base = 0;
    int m_LineNo = 0;
    QByteArray m_Data; ///< of all records, one behind the other: a file has millions of them
    std::vector<PIECE> m_aPiece;
};

/// Sorts the pieces by address and joins those that touch or overlap; where they overlap the later one in sorted order
/// wins. pData is what their positions count from.
QList<CFileBlock> MergeBlocks(std::vector<PIECE>& aPiece, const char* pData)
{
    std::stable_sort(aPiece.begin(), aPiece.end(), [](const PIECE& a, const PIECE& b) { return a.Addr < b.Addr; });
    QList<CFileBlock> aMerged;
    for (size_t First = 0; First < aPiece.size();) {
        const U64 Start = aPiece[First].Addr;
        U64 End = Start + aPiece[First].Size;
        size_t Last = First + 1;
        for (; Last < aPiece.size() && aPiece[Last].Addr <= End; Last++) {
            End = std::max<U64>(End, static_cast<U64>(aPiece[Last].Addr) + aPiece[Last].Size);
        }
        CFileBlock Range;
        Range.LoadAddr = Range.VirtAddr = static_cast<U32>(Start);
        Range.Size = static_cast<U32>(End - Start);
        Range.Data.resize(static_cast<qsizetype>(End - Start));
        for (; First < Last; First++) {
            std::copy_n(pData + aPiece[First].Pos, aPiece[First].Size, Range.Data.begin() + static_cast<qsizetype>(aPiece[First].Addr - Start));
        }
        aMerged.append(Range);
    }
    return aMerged;
}

QList<CFileBlock> CTextReader::GetBlocks()
{
    return MergeBlocks(m_aPiece, m_Data.constData());
}

} // namespace

CFileWorker& CFileWorker::Instance()
{
    static CFileWorker s_Worker;
    return s_Worker;
}

void CFileWorker::_StartProgress(const QString& sText, qint64 Maximum)
{
    if (m_Hooks.Start) m_Hooks.Start(sText, Maximum);
}
void CFileWorker::_SetProgress(qint64 Value)
{
    if (m_Hooks.Set) m_Hooks.Set(Value);
}
void CFileWorker::_EndProgress()
{
    if (m_Hooks.End) m_Hooks.End();
}

QList<CFileBlock> CFileWorker::ReadFile(const QString& sPath, I64 LoadAddr)
{
    if (!QFileInfo(sPath).isFile()) return {};
    // The suffix as it stands: one in capitals is no suffix of a data file here.
    if (!QLatin1String(DATA_FILES).contains(GetSuffix(sPath))) return {};
    QList<CFileBlock> aBlock;
    if (IsBinFile(sPath)) {
        aBlock = _ReadBinary(sPath);
    } else if (IsElfFile(sPath)) {
        aBlock = _ReadElf(sPath);
    } else if (IsHexFile(sPath)) {
        int FirstBadLine = -1;
        aBlock = _ReadText(sPath, FirstBadLine);
        if (FirstBadLine != -1) {
            char acText[8192]; // a path has up to 4096 bytes
            FormatMessage(MSG_CORRUPT_RECORD, acText, sizeof(acText), sPath.toUtf8().constData(), FirstBadLine);
            LogError(QString::fromUtf8(acText));
            return {};
        }
    }
    if (LoadAddr != -1 && !aBlock.isEmpty()) {
        const auto itLow = std::min_element(aBlock.begin(), aBlock.end(), [](const CFileBlock& a, const CFileBlock& b) { return a.LoadAddr < b.LoadAddr; });
        const U32 Move = static_cast<U32>(LoadAddr) - itLow->LoadAddr;
        for (CFileBlock& Block : aBlock) Block.LoadAddr += Move;
    }
    return aBlock;
}

QList<CFileBlock> CFileWorker::ToBlocks(U32 Count, const RAW_BLOCK* paBlock)
{
    QList<CFileBlock> aBlock;
    for (U32 i = 0; paBlock && i < Count; i++) {
        aBlock.append(CFileBlock{static_cast<U32>(paBlock[i].LoadAddr), paBlock[i].Size, static_cast<U32>(paBlock[i].VirtAddr),
                                 QByteArray::fromRawData(reinterpret_cast<const char*>(paBlock[i].pData), static_cast<qsizetype>(paBlock[i].Size)), {}});
    }
    return aBlock;
}

QList<CFileBlock> CFileWorker::_ReadBinary(const QString& sPath)
{
    QFile File(sPath);
    if (!File.open(QIODevice::ReadOnly)) return {};
    if (File.size() > MAX_BINARY_SIZE) {
        LogError(QStringLiteral("Could not open file %1: file is larger than the memory of any target").arg(sPath));
        return {};
    }
    _StartProgress(QStringLiteral("Reading File..."), File.size());
    CFileBlock Block;
    for (;;) {
        const QByteArray Chunk = File.read(CHUNK_SIZE);
        Block.Data.append(Chunk);
        _SetProgress(Block.Data.size());
        if (Chunk.size() < CHUNK_SIZE) break;
    }
    Block.Size = static_cast<U32>(Block.Data.size());
    _EndProgress();
    return {Block};
}

QList<CFileBlock> CFileWorker::_ReadText(const QString& sPath, int& FirstBadLine)
{
    QFile File(sPath);
    if (!File.open(QIODevice::ReadOnly)) return {};
    _StartProgress(QStringLiteral("Reading File..."), File.size());
    CTextReader Reader(GetSuffix(sPath));
    for (qint64 Pos = 0; File.seek(Pos);) {
        const QByteArray Chunk = File.read(CHUNK_SIZE);
        const qsizetype Done = Chunk.isEmpty() ? 0 : Reader.TakeChunk(Chunk);
        if (Done < 0) break;
        Pos += Done;
        _SetProgress(Pos);
        if (Chunk.size() < CHUNK_SIZE) break;
    }
    _EndProgress();
    FirstBadLine = Reader.FirstBadLine;
    return Reader.GetBlocks();
}

QList<CFileBlock> CFileWorker::_ReadElf(const QString& sPath)
{
    const CElfLock Lock;
    ELF_HANDLE hOpen = nullptr;
    // The session's program is open already; it is read as it was loaded.
    for (U32 Slot = 0; Slot < 3; Slot++) {
        const ELF_HANDLE h = ELF_GetFileInSlot(Slot);
        if (h && sPath == QString::fromUtf8(ELF_GetPath(h))) hOpen = h;
    }
    const ELF_HANDLE hBefore = ELF_GetCurrentFile();
    const ELF_HANDLE hFile = hOpen ? hOpen : ELF_Open(sPath.toUtf8().constData(), false);
    QList<CFileBlock> aBlock;
    const QList<RAW_BLOCK> aRaw = GetElfBlocks(hFile);
    for (const RAW_BLOCK& Raw : aRaw) {
        aBlock.append(CFileBlock{static_cast<U32>(Raw.LoadAddr), Raw.Size, static_cast<U32>(Raw.VirtAddr),
                                 QByteArray(reinterpret_cast<const char*>(Raw.pData), static_cast<qsizetype>(Raw.Size)), {}});
    }
    if (!hOpen && hFile) {
        ELF_Close(hFile);
        ELF_SetCurrentFile(hBefore);
    }
    return aBlock;
}

int CFileWorker::SaveFile(const QString& sPath, const void* pData, U32 Size)
{
    QFile File(sPath);
    if (!pData || !Size || !File.open(QIODevice::WriteOnly)) return -1;
    _StartProgress(QStringLiteral("Saving File..."), Size);
    const qint64 Chunk = std::min<qint64>(Size, CHUNK_SIZE);
    for (qint64 Done = 0; Done < Size;) {
        // The last chunk takes all that remains.
        const qint64 Count = Size - Done < 2 * Chunk ? Size - Done : Chunk;
        if (File.write(static_cast<const char*>(pData) + Done, Count) != Count || !File.flush()) {
            File.close();
            File.remove();
            _EndProgress();
            return -1;
        }
        Done += Count;
        _SetProgress(Done);
    }
    File.close();
    _EndProgress();
    emit FileSaved(sPath, Size);
    return 0;
}

} // namespace BFile

#include "moc_fileworker.cpp"
