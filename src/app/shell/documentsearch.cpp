#include "app/shell/documentsearch.h"

#include <algorithm>

namespace {
bool IsBefore(QPoint a, QPoint b)
{
    return a.y() < b.y() || (a.y() == b.y() && a.x() < b.x());
}

QList<QPoint> FindAll(const QString& sText, const QString& sPattern)
{
    QList<QPoint> Places;
    const QStringList Lines = sText.split('\n');
    for (int Line = 0; Line < int(Lines.size()); Line++)
        for (qsizetype Pos = Lines[Line].indexOf(sPattern, 0, Qt::CaseInsensitive); Pos >= 0;
             Pos = Lines[Line].indexOf(sPattern, Pos + sPattern.size(), Qt::CaseInsensitive))
            Places.append(QPoint(int(Pos), Line));
    return Places;
}
} // namespace

void CDocumentSearch::Start(const QString& sText, const QStringList& Documents, const QString& sPath,
                            QPoint From)
{
    m_sText = sText;
    m_Documents = Documents;
    m_Document = std::max(0, int(Documents.indexOf(sPath)));
    m_Pos = From;
    m_IsMatch = false;
}

SEARCH_MATCH CDocumentSearch::Step(bool Forward, const GET_TEXT& GetText)
{
    const int NumDocuments = int(m_Documents.size());
    if (m_sText.isEmpty() || NumDocuments == 0) return {};
    // The document where the search stands comes twice: behind the place, and at last before it.
    for (int i = 0; i <= NumDocuments; i++) {
        const int Document = (m_Document + (Forward ? i : NumDocuments - i)) % NumDocuments;
        const QList<QPoint> Places = FindAll(GetText(m_Documents[Document]), m_sText);
        int Index = Forward ? 0 : int(Places.size()) - 1;
        if (i == 0) {
            // A match that is shown already is left; a place where the search begins may be one.
            while (Forward && Index < int(Places.size()) &&
                   (IsBefore(Places[Index], m_Pos) || (m_IsMatch && Places[Index] == m_Pos)))
                Index++;
            while (!Forward && Index >= 0 && !IsBefore(Places[Index], m_Pos)) Index--;
        }
        if (Index < 0 || Index >= int(Places.size())) continue;
        m_Document = Document;
        m_Pos = Places[Index];
        m_IsMatch = true;
        return {m_Documents[Document], m_Pos, int(m_sText.size())};
    }
    return {};
}
