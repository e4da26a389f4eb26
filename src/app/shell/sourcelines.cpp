#include "app/shell/sourcelines.h"

#include "project/finder/filefinder.h"

#include <QFile>
#include <QFileInfo>

namespace {
constexpr int MAX_FILES = 64;
constexpr qint64 MAX_FILE_SIZE = 16 * 1024 * 1024; ///< bytes; nothing larger is source code
constexpr qint64 CHECK_INTERVAL_MS = 2000;         ///< between looks for a newer file
} // namespace

CSourceLines& CSourceLines::Get()
{
    static CSourceLines s_Instance;
    return s_Instance;
}

void CSourceLines::Load(FILE_LINES& File, const QString& sPath)
{
    File.Checked.start();
    const QString sFound = CFileFinder::Get().Resolve(sPath);
    const QFileInfo Info(sFound);
    const bool IsThere = !sFound.isEmpty() && Info.isFile() && Info.size() <= MAX_FILE_SIZE;
    const QDateTime Modified = IsThere ? Info.lastModified() : QDateTime();
    if (IsThere && sFound == File.sFile && Modified == File.Modified) return;
    File.sFile.clear();
    File.Lines.clear();
    QFile Input(sFound);
    if (!IsThere || !Input.open(QIODevice::ReadOnly)) return;
    File.sFile = sFound;
    File.Modified = Modified;
    File.Lines = QString::fromUtf8(Input.readAll()).split(u'\n');
    for (QString& sLine : File.Lines)
        if (sLine.endsWith(u'\r')) sLine.chop(1);
}

QString CSourceLines::GetLine(const QString& sPath, U32 Line)
{
    if (sPath.isEmpty() || Line == 0) return {};
    auto it = m_Files.find(sPath);
    if (it == m_Files.end()) {
        if (m_Files.size() >= MAX_FILES) m_Files.clear();
        it = m_Files.insert(sPath, {});
        Load(*it, sPath);
    } else if (it->Checked.elapsed() >= CHECK_INTERVAL_MS) {
        Load(*it, sPath);
    }
    return qsizetype(Line) <= it->Lines.size() ? it->Lines[qsizetype(Line) - 1] : QString();
}
