#include "views/framework/sortkeys.h"

#include "views/framework/itemroles.h"

#include <QAbstractItemModel>
#include <algorithm>
#include <numeric>

namespace {

/// Texts of a column, folded, each with the head of what follows the stretch that all of them share: names of one
/// program begin alike, and their heads then decide nearly every comparison.
class CTextKeys {
public:
    CTextKeys(const QAbstractItemModel& Model, int Column)
    {
        const int NumRows = Model.rowCount();
        m_Texts.reserve(size_t(NumRows));
        for (int Row = 0; Row < NumRows; Row++) m_Texts.push_back(Model.index(Row, Column).data().toString().toCaseFolded());
        qsizetype Common = m_Texts.empty() ? 0 : m_Texts.front().size();
        for (const QString& sText : m_Texts) {
            const qsizetype Limit = std::min(Common, sText.size());
            const QChar* pFirst = m_Texts.front().constData();
            Common = std::mismatch(pFirst, pFirst + Limit, sText.constData()).first - pFirst;
        }
        m_Heads.reserve(m_Texts.size());
        for (const QString& sText : m_Texts) m_Heads.push_back(GetHead(sText, Common));
    }
    /// Below 0, 0 or above 0.
    int Compare(U32 Left, U32 Right) const
    {
        if (m_Heads[Left] != m_Heads[Right]) return m_Heads[Left] < m_Heads[Right] ? -1 : 1;
        return QString::compare(m_Texts[Left], m_Texts[Right], Qt::CaseSensitive);
    }

private:
    static U64 GetHead(const QString& sText, qsizetype From)
    {
        U64 Head = 0;
        for (qsizetype i = 0; i < 4; i++)
            Head = Head << 16 | (From + i < sText.size() ? sText[From + i].unicode() : 0);
        return Head;
    }

    std::vector<QString> m_Texts;
    std::vector<U64> m_Heads;
};

bool ReadNumbers(const QAbstractItemModel& Model, int Column, std::vector<I64>& Numbers)
{
    const int NumRows = Model.rowCount();
    Numbers.reserve(size_t(NumRows));
    for (int Row = 0; Row < NumRows; Row++) {
        const QVariant Value = Model.index(Row, Column).data(ROLE_SORT_VALUE);
        const int Type = Value.typeId();
        if (!Value.isValid() || Type == QMetaType::Double || Type == QMetaType::Float) return false;
        Numbers.push_back(Value.toLongLong());
    }
    return true;
}

} // namespace

void CSortKeys::Clear()
{
    *this = CSortKeys();
}

bool CSortKeys::Build(const QAbstractItemModel& Model, int Column, bool IsNumeric)
{
    Clear();
    std::vector<I64> Numbers;
    if (IsNumeric && !ReadNumbers(Model, Column, Numbers)) return false;
    const CTextKeys Texts(Model, IsNumeric ? 0 : Column);
    const auto Compare = [&](U32 Left, U32 Right) {
        if (IsNumeric && Numbers[Left] != Numbers[Right]) return Numbers[Left] < Numbers[Right] ? -1 : 1;
        return Texts.Compare(Left, Right);
    };
    std::vector<U32> Order(size_t(Model.rowCount()));
    std::iota(Order.begin(), Order.end(), 0u);
    std::sort(Order.begin(), Order.end(), [&](U32 Left, U32 Right) { return Compare(Left, Right) < 0; });
    m_Ranks.resize(Order.size());
    U32 Rank = 0;
    for (size_t i = 0; i < Order.size(); i++) {
        if (i > 0 && Compare(Order[i - 1], Order[i]) != 0) Rank++;
        m_Ranks[Order[i]] = Rank;
    }
    m_NumRanks = Rank + 1;
    m_Pinned.resize(Order.size());
    for (size_t i = 0; i < Order.size(); i++) {
        m_Pinned[i] = Model.index(int(i), Column).data(ROLE_PINNED).toBool();
        m_AnyPinned = m_AnyPinned || m_Pinned[i];
    }
    m_Column = Column;
    return true;
}

void CSortKeys::Sort(std::vector<int>& Rows, bool Ascending) const
{
    // Ranks are small whole numbers without gaps: counting how many rows have each gives all rows their
    // places.
    const auto GetPlace = [&](int Row) {
        const U32 Rank = m_Ranks[size_t(Row)];
        return size_t(IsPinned(Row) ? 0 : m_NumRanks) + (Ascending ? Rank : m_NumRanks - 1 - Rank);
    };
    std::vector<U32> Starts(size_t(m_NumRanks) * 2 + 1);
    for (const int Row : Rows) Starts[GetPlace(Row) + 1]++;
    std::partial_sum(Starts.begin(), Starts.end(), Starts.begin());
    std::vector<int> Sorted(Rows.size());
    for (const int Row : Rows) Sorted[Starts[GetPlace(Row)]++] = Row;
    Rows.swap(Sorted);
}
