#include "app/actions/actions.h"

namespace {
constexpr int COLUMN_ARGS = 29;
constexpr int COLUMN_HOTKEY = 56;
constexpr int COLUMN_DESCRIPTION = 76;
constexpr int RULE_LENGTH = 150;

QString MakeLine(const QString& sName, const QString& sArgs, const QString& sHotKey,
                 const QString& sDescription)
{
    QString s = sName.leftJustified(COLUMN_ARGS) + sArgs;
    s = s.leftJustified(COLUMN_HOTKEY) + sHotKey;
    return s.leftJustified(COLUMN_DESCRIPTION) + sDescription;
}
} // namespace

QStringList GetCommandList()
{
    QStringList Lines;
    for (int i = 0; i < NUM_ACTIONS; i++) {
        const ACTION_ROW& Row = *GetActionRow(i);
        const QString sName = GetCommandName(i);
        if (!Row.Listed || sName.isEmpty() || !GetAction(i)) continue;
        Lines.append(MakeLine(sName, QString::fromLatin1(Row.ArgLabel), QString::fromLatin1(Row.HotKey),
                              QString::fromLatin1(Row.Description)));
    }
    Lines.sort();
    Lines.removeDuplicates();
    const QString sRule(RULE_LENGTH, '-');
    return QStringList{sRule, QString(), MakeLine("Command", "Arguments", "Hotkey", "Description"), sRule} +
           Lines;
}
