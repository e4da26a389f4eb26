// Statements of several lines.
#include "project/file/projectlines.h"

namespace {
/// Reads lines for their parentheses, across the comments that go over several of them.
class CLineScanner {
public:
    /// What the line holds beside comments.
    QString Scan(const QString& sLine)
    {
        QString sCode;
        for (qsizetype i = 0; i < sLine.size(); ++i) {
            const QStringView Rest = QStringView(sLine).mid(i);
            if (m_InComment) {
                if (!Rest.startsWith(QLatin1String("*/"))) continue;
                m_InComment = false;
                ++i;
            } else if (Rest.startsWith(QLatin1String("//"))) {
                break;
            } else if (Rest.startsWith(QLatin1String("/*"))) {
                m_InComment = true;
                ++i;
            } else if (sLine[i] == QLatin1Char('"')) {
                const qsizetype End = sLine.indexOf(QLatin1Char('"'), i + 1);
                const qsizetype Len = (End < 0 ? sLine.size() : End + 1) - i;
                sCode += Rest.left(Len);
                i += Len - 1;
            } else {
                Count(sLine[i]);
                sCode += sLine[i];
            }
        }
        return sCode.trimmed();
    }
    bool IsOpen() const { return m_Depth > 0; }

private:
    void Count(QChar c)
    {
        if (c == QLatin1Char('(') || c == QLatin1Char('[')) {
            ++m_Depth;
        } else if ((c == QLatin1Char(')') || c == QLatin1Char(']')) && m_Depth > 0) {
            --m_Depth;
        } else if (c == QLatin1Char(';') || c == QLatin1Char('{') || c == QLatin1Char('}')) {
            m_Depth = 0; // what is left open in a faulty line doesn't take in the following ones
        }
    }

    int m_Depth = 0;
    bool m_InComment = false;
};
} // namespace

QList<PROJECT_STATEMENT> SplitStatements(const QStringList& Lines)
{
    QList<PROJECT_STATEMENT> Statements;
    CLineScanner Scanner;
    for (qsizetype i = 0; i < Lines.size(); ++i) {
        const bool IsContinued = Scanner.IsOpen();
        const QString sCode = Scanner.Scan(Lines[i]);
        if (!IsContinued) {
            Statements += {i, 1, Lines[i].trimmed(), sCode};
            continue;
        }
        PROJECT_STATEMENT& Statement = Statements.last();
        ++Statement.NumLines;
        Statement.Text += QLatin1Char(' ') + Lines[i].trimmed();
        Statement.Code += QLatin1Char(' ') + sCode;
    }
    return Statements;
}
