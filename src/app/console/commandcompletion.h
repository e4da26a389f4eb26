// Completion of command names and constants in the console's input line.
#pragma once
#include <QString>
#include <QStringList>

struct COMPLETION {
    QString Text;           ///< the text completed as far as all candidates agree
    QStringList Candidates; ///< names that begin with the last word, sorted; empty if nothing matches
};

/// Completes the last word of a text: a command name at its start, the name of a constant behind that.
COMPLETION CompleteCommand(const QString& sText);
