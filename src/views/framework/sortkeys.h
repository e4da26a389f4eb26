// CSortKeys, the order of a large table's rows by one column, worked out once before a sort: what a comparison would
// have to ask the model for, two texts or two numbers, is then a look at two integers.
//
//   CSortKeys Keys;
//   Keys.Build(Model, Column, IsNumeric);
//   Keys.IsLess(LeftRow, RightRow);
#pragma once
#include "app/services/types.h"

#include <QString>
#include <vector>

class QAbstractItemModel;

class CSortKeys {
public:
    /// Ranks the top-level rows: numbers by ROLE_SORT_VALUE and then by the text of column 0, texts ignoring case.
    /// False, with no keys, if a number is missing or isn't whole; such rows have to be compared one by one.
    bool Build(const QAbstractItemModel& Model, int Column, bool IsNumeric);
    void Clear();
    bool IsBuilt() const { return !m_Ranks.empty(); }
    int GetColumn() const { return m_Column; }
    bool IsLess(int Left, int Right) const { return m_Ranks[size_t(Left)] < m_Ranks[size_t(Right)]; }
    /// Puts rows, given in the model's order, into that of the keys: pinned rows first under either
    /// direction, equal ones as they come.
    void Sort(std::vector<int>& Rows, bool Ascending) const;
    bool IsPinned(int Row) const { return m_AnyPinned && m_Pinned[size_t(Row)]; }

private:
    int m_Column = -1;
    bool m_AnyPinned = false;
    U32 m_NumRanks = 0;
    std::vector<U32> m_Ranks; ///< by row; equal rows have equal ranks
    std::vector<bool> m_Pinned;
};
