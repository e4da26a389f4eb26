#include "app/console/commandhelp.h"

#include "app/actions/actions.h"

namespace {
QString GetDescription(int ActionId)
{
    return QString::fromLatin1(GetActionRow(ActionId)->Description).trimmed();
}

QStringList GetFamilyHelp(const QString& sFamily)
{
    const QString sStart = sFamily.endsWith('.') ? sFamily : sFamily + '.';
    QStringList Lines;
    for (const QString& sLine : GetCommandList())
        if (sLine.startsWith(sStart, Qt::CaseInsensitive)) Lines.append(sLine);
    return Lines;
}
} // namespace

bool IsHelpRequest(const QString& sLine, QString* psTopic)
{
    const QString s = sLine.simplified();
    for (const char* sWord : {"? ", "help "}) {
        if (!s.startsWith(QLatin1String(sWord), Qt::CaseInsensitive)) continue;
        *psTopic = s.mid(s.indexOf(' ') + 1);
        return true;
    }
    return false;
}

QString GetCommandUsage(int ActionId)
{
    QStringList Params;
    for (int i = 0; i < GetParamCount(ActionId); i++) Params.append(GetParamDecl(ActionId, i));
    return GetCommandName(ActionId) + " (" + Params.join(", ") + ')';
}

QStringList GetCommandHelp(const QString& sTopic)
{
    const int Id = FindCommand(sTopic);
    if (Id < 0) return GetFamilyHelp(sTopic);
    const ACTION_ROW& Row = *GetActionRow(Id);
    QStringList Lines{GetCommandUsage(Id), "    " + GetDescription(Id)};
    if (*Row.HotKey) Lines.append(QStringLiteral("    Hotkey: ") + QLatin1String(Row.HotKey));
    if (const QString sAlias = GetCommandAlias(Id); !sAlias.isEmpty())
        Lines.append(QStringLiteral("    Other name: ") + sAlias);
    if (!IsCommandEnabled(Id)) Lines.append(QStringLiteral("    Disabled at present"));
    return Lines;
}

QString GetCommandHint(int ActionId, int ArgIndex)
{
    QStringList Params;
    for (int i = 0; i < GetParamCount(ActionId); i++) {
        const QString sDecl = GetParamDecl(ActionId, i).toHtmlEscaped();
        Params.append(i == ArgIndex ? "<b>" + sDecl + "</b>" : sDecl);
    }
    return GetCommandName(ActionId) + " (" + Params.join(", ") + ")<br>" +
           GetDescription(ActionId).toHtmlEscaped();
}
