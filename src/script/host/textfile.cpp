// Reading and writing of text files with their line ends.
#include "script/host/textfile.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QList>
#include <QSaveFile>
#include <QStringConverter>
#include <fcntl.h>
#include <optional>
#include <unistd.h>
#include <vector>

namespace {
constexpr char UTF8_MARK[] = "\xEF\xBB\xBF";
constexpr qsizetype UTF8_MARK_SIZE = 3;
/// Cells of the table of common lines; beyond it, which no project comes near, lines are matched in one pass.
constexpr qsizetype MAX_LCS_CELLS = 4'000'000;

/// One line of a file.
struct FILE_LINE {
    QByteArray Bytes; ///< without its end
    QByteArray End;   ///< "\n", "\r\n", "\r", empty at the end of a file
};

bool ReadBytes(const QString& sPath, QByteArray* pBytes)
{
    pBytes->clear();
    QFile File(sPath);
    if (!QFileInfo(sPath).isFile() || !File.open(QIODevice::ReadOnly)) return false;
    *pBytes = File.readAll();
    return File.error() == QFileDevice::NoError;
}

/// The encoding that a mark at the start names, if it isn't UTF-8.
std::optional<QStringConverter::Encoding> GetWideEncoding(const QByteArray& Bytes)
{
    const auto Encoding = QStringConverter::encodingForData(Bytes);
    return Encoding && *Encoding != QStringConverter::Utf8 ? Encoding : std::nullopt;
}

QString Normalise(QString s)
{
    s.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    return s.replace(QLatin1Char('\r'), QLatin1Char('\n'));
}

QString Decode(const QByteArray& Bytes)
{
    QStringDecoder Decoder(GetWideEncoding(Bytes).value_or(QStringConverter::Utf8));
    return Normalise(Decoder(Bytes));
}

QList<FILE_LINE> SplitLines(const QByteArray& Bytes)
{
    QList<FILE_LINE> Lines;
    qsizetype Begin = 0;
    for (qsizetype i = 0; i < Bytes.size(); i++) {
        if (Bytes[i] != '\n' && Bytes[i] != '\r') continue;
        const bool IsPair = Bytes[i] == '\r' && i + 1 < Bytes.size() && Bytes[i + 1] == '\n';
        Lines.append({Bytes.mid(Begin, i - Begin), Bytes.mid(i, IsPair ? 2 : 1)});
        i += IsPair ? 1 : 0;
        Begin = i + 1;
    }
    Lines.append({Bytes.mid(Begin), {}});
    return Lines;
}

QByteArray GetCommonEnd(const QList<FILE_LINE>& Lines)
{
    QHash<QByteArray, int> Counts;
    for (const FILE_LINE& Line : Lines)
        if (!Line.End.isEmpty()) Counts[Line.End]++;
    QByteArray Best = "\r\n";
    int Most = 0;
    for (auto it = Counts.cbegin(); it != Counts.cend(); ++it) {
        if (it.value() > Most) {
            Most = it.value();
            Best = it.key();
        }
    }
    return Best;
}

/// For each line of New[Begin, NewEnd) the index of the line of Old[Begin, OldEnd) that it is, -1 for a new one.
void MatchMiddle(const QStringList& Old, const QStringList& New, qsizetype Begin, qsizetype OldEnd, qsizetype NewEnd,
                 QList<qsizetype>* pOrigin)
{
    const qsizetype Rows = OldEnd - Begin, Cols = NewEnd - Begin;
    if (Rows <= 0 || Cols <= 0) return;
    if (Rows > MAX_LCS_CELLS / Cols) {
        qsizetype From = Begin;
        for (qsizetype j = Begin; j < NewEnd; j++) {
            const qsizetype Found = Old.indexOf(New[j], From);
            if (Found < 0 || Found >= OldEnd) continue;
            (*pOrigin)[j] = Found;
            From = Found + 1;
        }
        return;
    }
    // Length of the longest common run of lines from (i, j) on.
    std::vector<int> aLength(size_t((Rows + 1) * (Cols + 1)), 0);
    const auto At = [&](qsizetype i, qsizetype j) -> int& { return aLength[size_t(i * (Cols + 1) + j)]; };
    for (qsizetype i = Rows - 1; i >= 0; i--) {
        for (qsizetype j = Cols - 1; j >= 0; j--) {
            At(i, j) = Old[Begin + i] == New[Begin + j] ? At(i + 1, j + 1) + 1 : std::max(At(i + 1, j), At(i, j + 1));
        }
    }
    for (qsizetype i = 0, j = 0; i < Rows && j < Cols;) {
        if (Old[Begin + i] == New[Begin + j])
            (*pOrigin)[Begin + j++] = Begin + i++;
        else if (At(i + 1, j) >= At(i, j + 1))
            i++;
        else
            j++;
    }
}

QList<qsizetype> MatchLines(const QStringList& Old, const QStringList& New)
{
    QList<qsizetype> Origin(New.size(), -1);
    qsizetype Begin = 0, OldEnd = Old.size(), NewEnd = New.size();
    for (; Begin < OldEnd && Begin < NewEnd && Old[Begin] == New[Begin]; Begin++) Origin[Begin] = Begin;
    for (; OldEnd > Begin && NewEnd > Begin && Old[OldEnd - 1] == New[NewEnd - 1]; OldEnd--, NewEnd--)
        Origin[NewEnd - 1] = OldEnd - 1;
    MatchMiddle(Old, New, Begin, OldEnd, NewEnd, &Origin);
    return Origin;
}

/// A text in the encoding of a file that isn't UTF-8, where lines can't be copied byte by byte but for their ends.
QByteArray RenderWide(const QByteArray& OldBytes, QStringConverter::Encoding Encoding, const QString& sText)
{
    QStringDecoder Decoder(Encoding);
    const QString sOld = Decoder(OldBytes);
    const QByteArray Utf8 = RenderText(sOld.toUtf8(), sText);
    QStringEncoder Encoder(Encoding, QStringConverter::Flag::WriteBom);
    return Encoder(QString::fromUtf8(Utf8));
}

/// Writes into the file itself, for a place where no second file can take its name. The space is made sure of before
/// the first byte is changed, so that a full disk leaves the old text.
bool WriteInPlace(const QString& sPath, const QByteArray& Bytes, QString* psError)
{
    QFile File(sPath);
    const bool Ok = File.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) &&
                    (Bytes.isEmpty() || posix_fallocate(File.handle(), 0, Bytes.size()) == 0) &&
                    File.write(Bytes) == Bytes.size() && File.flush() && File.resize(Bytes.size()) &&
                    fsync(File.handle()) == 0;
    if (!Ok) *psError = File.error() == QFileDevice::NoError ? QStringLiteral("no space left on device") : File.errorString();
    return Ok;
}

bool WriteBytes(const QString& sPath, const QByteArray& Bytes, QString* psError)
{
    // Replacing needs no right to write the file itself, only its folder: a read-only file stays.
    const QFileInfo Info(sPath);
    constexpr auto MAY_WRITE = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    if (Info.exists() && (!Info.isWritable() || !(Info.permissions() & MAY_WRITE))) {
        *psError = QStringLiteral("file is write-protected");
        return false;
    }
    // The new file takes the name of the old one only when all of it is on the disk.
    QSaveFile File(sPath);
    const bool IsOpen = File.open(QIODevice::WriteOnly);
    // What the buffer holds is flushed here: a failure of the flush inside commit() would go unseen, and a part of the
    // text would take the place of the old file.
    if (IsOpen && File.write(Bytes) == Bytes.size() && File.flush() && File.commit()) return true;
    *psError = File.errorString();
    // A folder without the right to make files, or a file that is mounted by itself, takes no other file; any other
    // failure would not get better by writing directly.
    const bool CanReplace = IsOpen && File.error() != QFileDevice::RenameError;
    return !CanReplace && Info.isFile() && WriteInPlace(sPath, Bytes, psError);
}

} // namespace

bool ReadTextFile(const QString& sPath, QString* psText)
{
    psText->clear();
    QByteArray Bytes;
    if (!ReadBytes(sPath, &Bytes)) return false;
    *psText = Decode(Bytes);
    return true;
}

QByteArray RenderText(const QByteArray& OldBytes, const QString& sText)
{
    const QString sNew = Normalise(sText);
    if (OldBytes.isEmpty()) return QString(sNew).replace(QLatin1Char('\n'), QLatin1String("\r\n")).toUtf8();
    if (const auto Wide = GetWideEncoding(OldBytes)) return RenderWide(OldBytes, *Wide, sNew);
    const bool HasMark = OldBytes.startsWith(UTF8_MARK);
    const QList<FILE_LINE> OldLines = SplitLines(HasMark ? OldBytes.mid(UTF8_MARK_SIZE) : OldBytes);
    QStringList Old;
    for (const FILE_LINE& Line : OldLines) Old << QString::fromUtf8(Line.Bytes);
    const QStringList New = sNew.split(QLatin1Char('\n'));
    const QList<qsizetype> Origin = MatchLines(Old, New);
    const QByteArray CommonEnd = GetCommonEnd(OldLines);
    QByteArray Bytes = HasMark ? QByteArray(UTF8_MARK) : QByteArray();
    QByteArray LastEnd = CommonEnd;
    for (qsizetype i = 0; i < New.size(); i++) {
        const FILE_LINE* pOld = Origin[i] < 0 ? nullptr : &OldLines[Origin[i]];
        Bytes += pOld ? pOld->Bytes : New[i].toUtf8();
        if (i + 1 == New.size()) break;
        if (pOld && !pOld->End.isEmpty()) LastEnd = pOld->End;
        Bytes += LastEnd;
    }
    return Bytes;
}

bool WriteTextFile(const QString& sPath, const QString& sText, QString* psError, const QString& sLikePath)
{
    QByteArray Old;
    ReadBytes(sLikePath.isEmpty() ? sPath : sLikePath, &Old);
    return WriteBytes(sPath, RenderText(Old, sText), psError);
}
