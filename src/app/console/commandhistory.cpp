#include "app/console/commandhistory.h"

void CCommandHistory::Add(const QString& sLine)
{
    m_Index = -1;
    if (!sLine.isEmpty() && !m_Lines.contains(sLine)) m_Lines.prepend(sLine);
}

QString CCommandHistory::GoOlder()
{
    if (m_Lines.isEmpty()) return {};
    m_Index++;
    if (m_Index >= m_Lines.size()) m_Index = 0;
    return m_Lines[m_Index];
}

QString CCommandHistory::GoNewer()
{
    if (m_Lines.isEmpty()) return {};
    m_Index--;
    if (m_Index < 1 || m_Index >= m_Lines.size()) m_Index = int(m_Lines.size()) - 1;
    return m_Lines[m_Index];
}
