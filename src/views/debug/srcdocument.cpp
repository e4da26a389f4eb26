#include "views/debug/srcdocument.h"

#include "app/services/log.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {
constexpr int MAX_EDITS = 10000;

EOL_FORMATS DetectEol(const QByteArray& Bytes)
{
    qsizetype NumUnix = 0, NumWindows = 0, NumMac = 0;
    for (qsizetype i = 0; i < Bytes.size(); i++) {
        if (Bytes[i] == '\n') NumUnix++;
        if (Bytes[i] != '\r') continue;
        if (i + 1 < Bytes.size() && Bytes[i + 1] == '\n') {
            NumWindows++;
            i++;
        } else
            NumMac++;
    }
    if ((NumUnix > 0) + (NumWindows > 0) + (NumMac > 0) > 1) return EOL_MIXED;
    return NumWindows ? EOL_WINDOWS : NumMac ? EOL_MAC : EOL_UNIX;
}
} // namespace

CSrcDocument::CSrcDocument(const QString& sPath, U32 FileNo) : m_sPath(sPath), m_FileNo(FileNo) {}

QString CSrcDocument::GetFileName() const
{
    return QFileInfo(m_sPath).fileName();
}

bool CSrcDocument::Load()
{
    QFile File(m_sPath);
    if (!File.open(QIODevice::ReadOnly)) return false;
    SetText(File.readAll());
    m_Found = true;
    QElapsedTimer Timer;
    Timer.start();
    m_Erased = EraseComments(m_Lines);
    LogDebug(QStringLiteral("Erased comments within source file in: %1").arg(Timer.elapsed()));
    return true;
}

void CSrcDocument::SetText(const QByteArray& Bytes)
{
    m_ContentHash = qHash(Bytes, 0);
    m_Eol = DetectEol(Bytes);
    QString sText = QString::fromUtf8(Bytes);
    sText.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(u'\r', u'\n');
    m_Lines = sText.split(u'\n');
    m_Edits.clear();
    m_UndoPos = m_CleanPos = 0;
    ForgetScan(0);
}

QByteArray CSrcDocument::GetBytes(EOL_FORMATS Format) const
{
    const QString sEol = Format == EOL_WINDOWS ? QStringLiteral("\r\n")
                         : Format == EOL_MAC   ? QStringLiteral("\r")
                                               : QStringLiteral("\n");
    return m_Lines.join(sEol).toUtf8();
}

bool CSrcDocument::Save(EOL_FORMATS Format, QString* psError)
{
    // Written beside the file and moved over it, so that a full disk can't destroy the old text.
    QSaveFile File(m_sPath);
    const QByteArray Bytes = GetBytes(Format);
    if (!File.open(QIODevice::WriteOnly) || File.write(Bytes) != Bytes.size() || !File.flush() || !File.commit()) {
        *psError = File.errorString();
        return false;
    }
    m_ContentHash = qHash(Bytes, 0);
    m_Eol = Format;
    m_CleanPos = m_UndoPos;
    return true;
}

const QString& CSrcDocument::GetLine(int Line) const
{
    static const QString s_Empty;
    return Line >= 0 && Line < m_Lines.size() ? m_Lines[Line] : s_Empty;
}

QString CSrcDocument::GetLineWithoutComments(int Line) const
{
    if (m_Erased.isEmpty()) m_Erased = EraseComments(m_Lines);
    return Line >= 0 && Line < m_Erased.size() ? m_Erased[Line] : QString();
}

QList<SYNTAX_SPAN> CSrcDocument::GetSpans(int Line)
{
    QList<SYNTAX_SPAN> Spans;
    if (Line < 0 || Line >= m_Lines.size()) return Spans;
    if (m_States.isEmpty()) m_States.append(SYNTAX_STATE_CODE);
    while (m_States.size() <= Line)
        m_States.append(ScanSyntax(m_Lines[m_States.size() - 1], m_States.last(), nullptr));
    ScanSyntax(m_Lines[Line], m_States[Line], &Spans);
    return Spans;
}

void CSrcDocument::ForgetScan(int FromLine)
{
    m_Erased.clear();
    if (m_States.size() > FromLine + 1) m_States.resize(FromLine + 1);
}

QPoint CSrcDocument::Clamp(QPoint Pos) const
{
    const int Line = qBound(0, Pos.y(), GetNumLines() - 1);
    return QPoint(qBound(0, Pos.x(), int(m_Lines[Line].size())), Line);
}

QString CSrcDocument::GetText(QPoint From, QPoint To) const
{
    From = Clamp(From);
    To = Clamp(To);
    if (From.y() == To.y()) return m_Lines[From.y()].mid(From.x(), To.x() - From.x());
    QStringList Parts{m_Lines[From.y()].mid(From.x())};
    for (int Line = From.y() + 1; Line < To.y(); Line++) Parts.append(m_Lines[Line]);
    Parts.append(m_Lines[To.y()].left(To.x()));
    return Parts.join(u'\n');
}

QPoint CSrcDocument::Apply(QPoint From, const QString& sRemoved, const QString& sInserted)
{
    const int NumRemovedLines = int(sRemoved.count(u'\n'));
    const int LastLine = From.y() + NumRemovedLines;
    const int LastCol = NumRemovedLines ? int(sRemoved.size() - sRemoved.lastIndexOf(u'\n') - 1)
                                        : From.x() + int(sRemoved.size());
    const QString sTail = m_Lines[LastLine].mid(LastCol);
    QStringList NewLines = (m_Lines[From.y()].left(From.x()) + sInserted).split(u'\n');
    const QPoint End(int(NewLines.last().size()), From.y() + int(NewLines.size()) - 1);
    NewLines.last() += sTail;
    m_Lines.remove(From.y(), NumRemovedLines + 1);
    for (int i = 0; i < NewLines.size(); i++) m_Lines.insert(From.y() + i, NewLines[i]);
    ForgetScan(From.y());
    return End;
}

QPoint CSrcDocument::Replace(QPoint From, QPoint To, const QString& sText)
{
    From = Clamp(From);
    To = Clamp(To);
    const QString sRemoved = GetText(From, To);
    if (sRemoved.isEmpty() && sText.isEmpty()) return From;
    if (m_CleanPos > m_UndoPos) m_CleanPos = -1;
    m_Edits.resize(m_UndoPos);
    EDIT* pLast = m_Edits.isEmpty() ? nullptr : &m_Edits.last();
    const bool Typed = sRemoved.isEmpty() && sText.size() == 1 && !sText[0].isSpace();
    const bool Joins = pLast && Typed && m_CleanPos != m_UndoPos && pLast->sRemoved.isEmpty() &&
                       !pLast->sInserted.contains(u'\n') && !pLast->sInserted.endsWith(u' ') &&
                       From == QPoint(pLast->Pos.x() + int(pLast->sInserted.size()), pLast->Pos.y());
    if (Joins)
        pLast->sInserted += sText;
    else {
        m_Edits.append({From, sRemoved, sText});
        if (m_Edits.size() > MAX_EDITS) {
            m_Edits.removeFirst();
            m_CleanPos = m_CleanPos > 0 ? m_CleanPos - 1 : -1;
        }
        m_UndoPos = int(m_Edits.size());
    }
    return Apply(From, sRemoved, sText);
}

bool CSrcDocument::Undo(QPoint* pCursor)
{
    if (m_UndoPos == 0) return false;
    const EDIT& Edit = m_Edits[--m_UndoPos];
    *pCursor = Apply(Edit.Pos, Edit.sInserted, Edit.sRemoved);
    return true;
}

bool CSrcDocument::Redo(QPoint* pCursor)
{
    if (m_UndoPos == m_Edits.size()) return false;
    const EDIT& Edit = m_Edits[m_UndoPos++];
    *pCursor = Apply(Edit.Pos, Edit.sRemoved, Edit.sInserted);
    return true;
}
