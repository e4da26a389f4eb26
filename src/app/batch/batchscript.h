// The text of a batch run, split into its steps.
//
//   BATCH_STEP Step = ParseBatchLine("@waithalt 500", 3);
//   // Step.Kind == BATCH_STEP_DIRECTIVE, Step.Name == "waithalt", Step.Args == {"500"}
#pragma once
#include <QString>
#include <QStringList>

enum BATCH_STEP_KIND {
    BATCH_STEP_NONE,      ///< an empty line or a comment
    BATCH_STEP_COMMAND,   ///< a console command, run as if typed
    BATCH_STEP_DIRECTIVE, ///< a line that begins with '@'
};

/// One line of a batch text.
struct BATCH_STEP {
    BATCH_STEP_KIND Kind = BATCH_STEP_NONE;
    int Line = 0;     ///< line number in the text, 1 for the first
    QString Text;     ///< the line, trimmed
    QString Name;     ///< directives: the word behind '@' in lower case
    QString Rest;     ///< directives: all that follows the word, trimmed
    QStringList Args; ///< directives: Rest split at blanks; text in double quotes stays together
};

/// Classifies one line. Never fails: an unknown directive is told by the runner.
BATCH_STEP ParseBatchLine(const QString& sLine, int Line);

/// Splits at blanks outside of double quotes and removes the quotes.
QStringList SplitBatchArgs(const QString& sText);
