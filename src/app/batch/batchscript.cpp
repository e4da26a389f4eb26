#include "app/batch/batchscript.h"

QStringList SplitBatchArgs(const QString& sText)
{
    QStringList Args;
    QString sArg;
    bool InQuotes = false, HasArg = false;
    for (const QChar c : sText) {
        if (c == '"') {
            InQuotes = !InQuotes;
            HasArg = true;
        } else if (c.isSpace() && !InQuotes) {
            if (HasArg) Args.append(sArg);
            sArg.clear();
            HasArg = false;
        } else {
            sArg.append(c);
            HasArg = true;
        }
    }
    if (HasArg) Args.append(sArg);
    return Args;
}

BATCH_STEP ParseBatchLine(const QString& sLine, int Line)
{
    BATCH_STEP Step;
    Step.Line = Line;
    Step.Text = sLine.trimmed();
    if (Step.Text.isEmpty() || Step.Text.startsWith("//")) return Step;
    if (!Step.Text.startsWith('@')) {
        Step.Kind = BATCH_STEP_COMMAND;
        return Step;
    }
    Step.Kind = BATCH_STEP_DIRECTIVE;
    qsizetype End = 1;
    while (End < Step.Text.size() && !Step.Text[End].isSpace()) ++End;
    Step.Name = Step.Text.mid(1, End - 1).toLower();
    Step.Rest = Step.Text.mid(End).trimmed();
    Step.Args = SplitBatchArgs(Step.Rest);
    return Step;
}
