// CDocumentSearch: the search of a text through documents, step by step. It keeps what was found last, so
// that the next and the previous match are those of this search.
#pragma once
#include <QPoint>
#include <QString>
#include <QStringList>
#include <functional>

/// A match: the column and the line count from 0.
struct SEARCH_MATCH {
    QString sPath; ///< empty if there is none
    QPoint Pos;
    int Length = 0;
};

class CDocumentSearch {
public:
    using GET_TEXT = std::function<QString(const QString& sPath)>;

    /// A new search through these documents in this order, from a place in one of them on. Ignores case.
    void Start(const QString& sText, const QStringList& Documents, const QString& sPath, QPoint From);
    /// The next or previous match, around the ends once; an empty match if the text stands in no document.
    SEARCH_MATCH Step(bool Forward, const GET_TEXT& GetText);
    const QString& GetText() const { return m_sText; } ///< empty before the first search

private:
    QString m_sText;
    QStringList m_Documents;
    int m_Document = 0;
    QPoint m_Pos;           ///< of the last match, or where the search begins
    bool m_IsMatch = false; ///< a match stands at m_Pos
};
