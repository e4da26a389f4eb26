#include "app/actions/commandtext.h"

#include "app/actions/actions.h"
#include "app/actions/constants.h"
#include "app/actions/rowcache.h"
#include "app/services/cmdline.h"

#include <QMap>

namespace {
/// The arguments of a line as one text, and the character that separates them.
QString GetArgsText(const QString& sLine, QChar* pSeparator)
{
    const qsizetype Open = sLine.indexOf('(');
    if (Open >= 0) {
        *pSeparator = ',';
        const qsizetype Close = sLine.lastIndexOf(')');
        return Close > Open ? sLine.mid(Open + 1, Close - Open - 1) : QString();
    }
    *pSeparator = ' ';
    const qsizetype Blank = sLine.indexOf(' ');
    return Blank >= 0 ? sLine.mid(Blank + 1).trimmed() : QString();
}

QString StripQuotePair(const QString& s)
{
    return s.size() >= 2 && s.startsWith('"') && s.endsWith('"') ? s.mid(1, s.size() - 2) : s;
}

QString FormatStringArg(const QString& sParam)
{
    QString s = sParam;
    if (s.contains(':') && s.contains('.') && GetActionHooks().GetSrcLocText) {
        const QString sLocation = GetActionHooks().GetSrcLocText(s);
        if (!sLocation.isEmpty()) s = sLocation;
    }
    return '"' + s.remove('"') + '"';
}

QString FormatValueArg(const QString& sParam)
{
    const QString sConstant = GetCanonicalConstantName(sParam);
    if (!sConstant.isEmpty()) return sConstant;
    bool IsNumber = false;
    (void)sParam.toULongLong(&IsNumber, 0);
    if (IsNumber) return sParam;
    const I64 Frequency = ParseFrequency(sParam);
    if (Frequency >= 0) return QString::number(Frequency);
    // The text of a variable; bare it would be read back as two parameters, or without its blanks.
    if (!sParam.contains(',') && sParam == sParam.trimmed()) return sParam;
    return '"' + QString(sParam).remove('"') + '"';
}

/// Among the rows of one name the one that takes this many parameters, else the one that takes most.
int FindRow(const QString& sName, qsizetype NumParams)
{
    QMap<int, int> Rows;
    for (int i = 0; i < NUM_ACTIONS; i++) {
        const ROW_INFO& Info = GetRowInfo(i);
        if (Info.Name.isEmpty()) continue;
        const bool Hit = Info.Name.compare(sName, Qt::CaseInsensitive) == 0 ||
                         (!Info.Alias.isEmpty() && Info.Alias.compare(sName, Qt::CaseInsensitive) == 0);
        if (Hit) Rows.insert(GetParamCount(i), i);
    }
    if (Rows.isEmpty()) return -1;
    return Rows.value(int(NumParams), Rows.last());
}
} // namespace

QString GetNameOfCommandText(const QString& sLine)
{
    const QString s = sLine.trimmed();
    const qsizetype Open = s.indexOf('(');
    if (Open < 0) return s.section(' ', 0, 0);
    const QString sHead = s.left(Open).trimmed();
    return sHead.mid(sHead.lastIndexOf(' ') + 1);
}

QStringList SplitCommandArgs(const QString& sLine)
{
    QChar Separator;
    const QString sArgs = GetArgsText(sLine.trimmed(), &Separator);
    if (sArgs.trimmed().isEmpty()) return {};
    QStringList Args;
    QString sArg;
    bool IsQuoted = false;
    for (const QChar c : sArgs) {
        if (c == '"') IsQuoted = !IsQuoted;
        if (c == Separator && !IsQuoted) {
            Args.append(StripQuotePair(sArg.trimmed()));
            sArg.clear();
        } else {
            sArg.append(c);
        }
    }
    Args.append(StripQuotePair(sArg.trimmed()));
    if (Args.size() == 1 && Args[0].compare("void", Qt::CaseInsensitive) == 0) return {};
    return Args;
}

PARSED_COMMAND ParseCommand(const QString& sLine)
{
    PARSED_COMMAND Command;
    Command.Name = GetNameOfCommandText(sLine);
    Command.Params = SplitCommandArgs(sLine);
    Command.Id = FindRow(Command.Name, Command.Params.size());
    return Command;
}

QString FormatCommand(int Id, const QStringList& Params)
{
    const QString sName = GetCommandName(Id);
    if (sName.isEmpty()) return {};
    if (Params.isEmpty()) return sName + "();";
    QStringList Args;
    for (int i = 0; i < Params.size(); i++)
        Args.append(IsStringParam(Id, i) ? FormatStringArg(Params[i]) : FormatValueArg(Params[i]));
    return sName + " (" + Args.join(", ") + ");";
}

QString GetCommandText(int Id)
{
    return FormatCommand(Id, GetRawActionParams(Id));
}
