// CTextMatch, a filter text made ready to be looked for in many cells.
#pragma once
#include <QString>
#include <QStringView>

/// "*" stands for anything at the ends of the text. With a "*" at both ends or at neither the rest may stand anywhere
/// in a cell, with one behind it the cell has to begin with it, with one before it to end with it. Case doesn't count.
class CTextMatch {
public:
    CTextMatch() = default;
    explicit CTextMatch(const QString& sFilter);

    /// Position of the match in a cell's text; -1 for none. A filter without text matches every cell at 0.
    qsizetype Find(QStringView sCell) const;
    qsizetype GetLength() const { return m_sText.size(); }

private:
    qsizetype FindAscii(QStringView sCell) const;

    QString m_sText; ///< folded
    bool m_AtStart = false;
    bool m_AtEnd = false;
    bool m_IsAscii = true;
};
