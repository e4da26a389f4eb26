#include "app/console/commandcompletion.h"

#include "app/actions/actions.h"
#include "app/actions/constants.h"

#include <algorithm>

namespace {
qsizetype FindWordStart(const QString& sText)
{
    qsizetype i = sText.size();
    while (i > 0 && (sText[i - 1].isLetterOrNumber() || sText[i - 1] == '_' || sText[i - 1] == '.')) i--;
    return i;
}

QStringList CollectCommands(const QString& sPrefix)
{
    QStringList Names;
    for (int i = 0; i < NUM_ACTIONS; i++) {
        const QString sName = GetCommandName(i);
        if (!sName.isEmpty() && sName.startsWith(sPrefix, Qt::CaseInsensitive)) Names.append(sName);
    }
    return Names;
}

QStringList CollectConstants(const QString& sPrefix)
{
    QStringList Names;
    for (const CONSTANT& c : GetConstants())
        if (c.Name.startsWith(sPrefix, Qt::CaseInsensitive)) Names.append(c.Name);
    return Names;
}

QString GetCommonStart(const QStringList& Names)
{
    QString s = Names[0];
    for (const QString& sName : Names) {
        qsizetype n = 0;
        while (n < s.size() && n < sName.size() && s[n].toLower() == sName[n].toLower()) n++;
        s.truncate(n);
    }
    return s;
}
} // namespace

COMPLETION CompleteCommand(const QString& sText)
{
    COMPLETION c;
    c.Text = sText;
    const qsizetype Start = FindWordStart(sText);
    const QString sWord = sText.mid(Start);
    if (sWord.isEmpty()) return c;
    const bool IsFirstWord = sText.left(Start).trimmed().isEmpty();
    c.Candidates = IsFirstWord ? CollectCommands(sWord) : CollectConstants(sWord);
    if (c.Candidates.isEmpty()) return c;
    c.Candidates.sort(Qt::CaseInsensitive);
    c.Text = sText.left(Start) + GetCommonStart(c.Candidates);
    return c;
}
