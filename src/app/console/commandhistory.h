// The lines that were typed into the console, newest first, and the place in them.
#pragma once
#include <QString>
#include <QStringList>

class CCommandHistory {
public:
    /// Puts a line at the head unless it is already in the list, and goes back to the start.
    void Add(const QString& sLine);
    /// The next older line, from the oldest back to the newest. Null text if the history is empty.
    QString GoOlder();
    /// The next newer line; in front of the second newest it goes on with the oldest. Null text if empty.
    QString GoNewer();
    const QStringList& GetLines() const { return m_Lines; }

private:
    QStringList m_Lines;
    int m_Index = -1;
};
