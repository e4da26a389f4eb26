#include "views/framework/flatrows.h"

#include <utility>

void CFlatRows::SetPlain()
{
    *this = CFlatRows();
}

int CFlatRows::ToView(int SourceRow) const
{
    if (m_IsPlain) return SourceRow;
    return std::size_t(SourceRow) < m_ToView.size() ? m_ToView[std::size_t(SourceRow)] : -1;
}

void CFlatRows::Take(std::vector<int>&& ToSource, int NumSourceRows)
{
    m_IsPlain = false;
    m_ToSource = std::move(ToSource);
    m_ToView.assign(std::size_t(NumSourceRows), -1);
    Renumber(0);
}

void CFlatRows::Renumber(std::size_t From)
{
    for (std::size_t i = From; i < m_ToSource.size(); i++) m_ToView[std::size_t(m_ToSource[i])] = int(i);
}

void CFlatRows::InsertSource(int First, int Count)
{
    for (int& Row : m_ToSource)
        if (Row >= First) Row += Count;
    m_ToView.insert(m_ToView.begin() + First, std::size_t(Count), -1);
}

void CFlatRows::RemoveSource(int First, int Count)
{
    for (int& Row : m_ToSource)
        if (Row >= First) Row -= Count;
    m_ToView.erase(m_ToView.begin() + First, m_ToView.begin() + First + Count);
}

void CFlatRows::Show(int Row, int SourceRow)
{
    m_ToSource.insert(m_ToSource.begin() + Row, SourceRow);
    Renumber(std::size_t(Row));
}

void CFlatRows::Hide(int Row, int Count)
{
    for (int i = Row; i < Row + Count; i++) m_ToView[std::size_t(m_ToSource[std::size_t(i)])] = -1;
    m_ToSource.erase(m_ToSource.begin() + Row, m_ToSource.begin() + Row + Count);
    Renumber(std::size_t(Row));
}
