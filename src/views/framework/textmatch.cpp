#include "views/framework/textmatch.h"

#include <algorithm>

namespace {

/// The folded form of an ASCII letter; every other character stands for itself. Two characters outside ASCII fold to
/// letters in it: the Kelvin sign and the long s.
char16_t Fold(char16_t Char)
{
    if (Char >= u'A' && Char <= u'Z') return char16_t(Char + 32);
    if (Char == 0x212A) return u'k';
    return Char == 0x017F ? u's' : Char;
}

} // namespace

CTextMatch::CTextMatch(const QString& sFilter)
{
    QStringView sText = sFilter;
    const bool FreeEnd = sText.endsWith(u'*');
    if (FreeEnd) sText.chop(1);
    const bool FreeStart = sText.startsWith(u'*') || (FreeEnd && sText.isEmpty());
    if (sText.startsWith(u'*')) sText = sText.mid(1);
    m_AtStart = FreeEnd && !FreeStart;
    m_AtEnd = FreeStart && !FreeEnd;
    m_sText = sText.toString().toCaseFolded();
    m_IsAscii = std::all_of(m_sText.cbegin(), m_sText.cend(), [](QChar Char) { return Char.unicode() < 0x80; });
}

qsizetype CTextMatch::FindAscii(QStringView sCell) const
{
    const char16_t* pCell = sCell.utf16();
    const char16_t* pText = reinterpret_cast<const char16_t*>(m_sText.utf16());
    const qsizetype Length = m_sText.size();
    for (qsizetype Pos = 0; Pos + Length <= sCell.size(); Pos++) {
        if (Fold(pCell[Pos]) != pText[0]) continue;
        qsizetype i = 1;
        while (i < Length && Fold(pCell[Pos + i]) == pText[i]) i++;
        if (i == Length) return Pos;
    }
    return -1;
}

qsizetype CTextMatch::Find(QStringView sCell) const
{
    if (m_sText.isEmpty()) return 0;
    if (m_AtStart) return sCell.startsWith(m_sText, Qt::CaseInsensitive) ? 0 : -1;
    if (m_AtEnd) return sCell.endsWith(m_sText, Qt::CaseInsensitive) ? sCell.size() - m_sText.size() : -1;
    return m_IsAscii ? FindAscii(sCell) : sCell.indexOf(m_sText, 0, Qt::CaseInsensitive);
}
