// CFlatRows, which rows of a flat table are shown and in which order: row numbers of the view to those of the
// model and back. As long as all rows are shown in the model's order nothing is stored, so that a table of
// any length costs nothing.
//
//   CFlatRows Rows;
//   Rows.Take({7, 3, 5}, 10);        // three of ten rows
//   Rows.ToSource(0) == 7; Rows.ToView(3) == 1; Rows.ToView(0) == -1;
#pragma once
#include <vector>

class CFlatRows {
public:
    bool IsPlain() const
    {
        return m_IsPlain;
    } ///< all rows in the model's order; the calls below are for other orders
    void SetPlain();
    /// Model rows in the order of the view, each at most once; those that are missing aren't shown.
    void Take(std::vector<int>&& ToSource, int NumSourceRows);

    int GetNumRows() const { return int(m_ToSource.size()); }
    int ToSource(int Row) const { return m_IsPlain ? Row : m_ToSource[std::size_t(Row)]; }
    int ToView(int SourceRow) const; ///< -1 = not shown, also for a row that this hasn't heard of yet

    void InsertSource(int First, int Count); ///< the model has new rows; none of them is shown yet
    void RemoveSource(int First, int Count); ///< the model has lost rows; none of them is shown any more
    void Show(int Row, int SourceRow);       ///< ahead of the view's row
    void Hide(int Row, int Count);           ///< rows of the view

private:
    void Renumber(std::size_t From);

    bool m_IsPlain = true;
    std::vector<int> m_ToSource;
    std::vector<int> m_ToView;
};
