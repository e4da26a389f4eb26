// Editing of the project text in place.
#include "project/file/projecttext.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/actions/constants.h"
#include "project/file/project.h"
#include "project/file/projectlines.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"

#include <QMap>
#include <QRegularExpression>
#include <algorithm>

namespace {
constexpr const char* NO_DIALOG_SECTION =
    "could not find dialog-generated text section in script function 'OnProjectLoad'";
constexpr const char* NO_USER_SECTION =
    "could not find user settings text section in script function 'OnProjectLoad'";

struct SECTION {
    int Begin = 0;
    int End = 0;
};

SECTION FindSection(const QString& sText, bool IsDialog, QStringList* pWarnings)
{
    SECTION Section;
    FindProjectLoadBody(sText, &Section.Begin, &Section.End);
    const QString sMark = IsDialog ? BScript::GetDialogSectionMark() : BScript::GetUserSectionMark();
    const qsizetype Mark = sText.indexOf(sMark, Section.Begin);
    if (Mark < 0 || Mark + sMark.size() > Section.End) {
        pWarnings->append(QLatin1String(IsDialog ? NO_DIALOG_SECTION : NO_USER_SECTION));
        return Section;
    }
    Section.Begin = static_cast<int>(Mark + sMark.size());
    if (IsDialog) {
        const qsizetype User = sText.indexOf(BScript::GetUserSectionMark(), Section.Begin);
        if (User >= 0 && User < Section.End) {
            Section.End = static_cast<int>(User);
        }
    }
    return Section;
}

/// The expression for a name. A command is found under its old name, too: a line of that name behind the new one would
/// undo what is written.
QRegularExpression GetNamePattern(const QString& sName)
{
    const int Id = FindCommand(sName);
    const QString sAlias = Id >= 0 && GetCommandName(Id) == sName ? GetCommandAlias(Id) : QString();
    return QRegularExpression(sAlias.isEmpty() ? sName : QStringLiteral("%1|%2").arg(sName, sAlias));
}

void RemoveLines(QString* psText, const QStringList& Names)
{
    int Begin = 0;
    int End = 0;
    if (Names.isEmpty() || !FindProjectLoadBody(*psText, &Begin, &End)) {
        return;
    }
    QList<QRegularExpression> Patterns;
    for (const QString& sName : Names) {
        Patterns.append(GetNamePattern(sName));
    }
    QStringList Kept;
    const QStringList Lines = psText->mid(Begin, End - Begin).split(QLatin1Char('\n'));
    for (const PROJECT_STATEMENT& Statement : SplitStatements(Lines)) {
        const auto Hits = [&Statement](const QRegularExpression& Pattern) {
            return Pattern.match(Statement.Text).hasMatch();
        };
        if (std::none_of(Patterns.begin(), Patterns.end(), Hits)) {
            Kept += Lines.mid(Statement.FirstLine, Statement.NumLines);
        }
    }
    psText->replace(Begin, End - Begin, Kept.join(QLatin1Char('\n')));
}

void InsertLines(QString* psText, const QStringList& NewLines, bool IsDialog, bool Merge,
                 QStringList* pWarnings)
{
    if (NewLines.isEmpty()) {
        return;
    }
    const SECTION Section = FindSection(*psText, IsDialog, pWarnings);
    QStringList Lines = psText->mid(Section.Begin, Section.End - Section.Begin).split(QLatin1Char('\n'));
    if (Merge) {
        Lines = NewLines + Lines;
    } else {
        // What follows the last line end is no line: the next marker or the brace stands there.
        const QString sRest = Lines.last().trimmed().isEmpty() ? Lines.takeLast() : QString();
        Lines += NewLines;
        Lines += sRest;
    }
    for (QString& sLine : Lines) {
        const QString sTrimmed = sLine.trimmed();
        if (!sTrimmed.isEmpty()) {
            sLine = QStringLiteral("  ") + sTrimmed;
        }
    }
    psText->replace(Section.Begin, Section.End - Section.Begin, Lines.join(QLatin1Char('\n')));
}

/// A parameter as the command takes it: the number behind a constant's name or another notation, else the text.
QString ValueOf(const QString& sParam)
{
    I64 Value = 0;
    bool IsNumber = GetConstantValue(sParam, &Value);
    if (!IsNumber) {
        Value = sParam.toLongLong(&IsNumber, 0);
    }
    return IsNumber ? QString::number(Value) : sParam;
}

/// Commands whose parameter is a name that is looked up without regard to case.
bool IsNameCommand(int Id)
{
    return Id == ACT_PROJECT_SET_DEVICE || Id == ACT_PROJECT_SET_HOST_IF || Id == ACT_PROJECT_SET_TARGET_IF;
}

} // namespace

bool FindProjectLoadBody(const QString& sText, int* pBegin, int* pEnd)
{
    const qsizetype Name = sText.indexOf(QLatin1String("OnProjectLoad"));
    const qsizetype Brace = Name < 0 ? -1 : sText.indexOf(QLatin1Char('{'), Name);
    const qsizetype LineEnd = Brace < 0 ? -1 : sText.indexOf(QLatin1Char('\n'), Brace);
    if (LineEnd < 0) {
        return false;
    }
    int Level = 1;
    for (qsizetype i = LineEnd + 1; i < sText.size(); ++i) {
        Level += sText[i] == QLatin1Char('{') ? 1 : 0;
        Level -= sText[i] == QLatin1Char('}') ? 1 : 0;
        if (Level == 0) {
            *pBegin = static_cast<int>(LineEnd + 1);
            *pEnd = static_cast<int>(i);
            return true;
        }
    }
    return false;
}

bool EditProjectText(QString* psText, const PROJECT_EDIT& Edit, QStringList* pWarnings)
{
    int Begin = 0;
    int End = 0;
    if (!FindProjectLoadBody(*psText, &Begin, &End)) {
        return false;
    }
    // A brace on a line that goes or comes would move the end of the body into the functions behind it.
    QString sEdited = *psText;
    const qsizetype Behind = psText->size() - End;
    const auto EndsAsBefore = [&] {
        return FindProjectLoadBody(sEdited, &Begin, &End) && sEdited.size() - End == Behind;
    };
    RemoveLines(&sEdited, Edit.Names);
    if (!EndsAsBefore()) {
        return false;
    }
    QStringList Dialog;
    QStringList User;
    for (const QString& sCommand : Edit.Commands) {
        (IsDialogCommand(sCommand) ? Dialog : User).append(sCommand);
    }
    InsertLines(&sEdited, User, false, Edit.Merge, pWarnings);
    if (!EndsAsBefore()) {
        return false;
    }
    InsertLines(&sEdited, Dialog, true, Edit.Merge, pWarnings);
    if (!EndsAsBefore()) {
        return false;
    }
    *psText = sEdited;
    return true;
}

bool IsSameCommand(const QString& sLine, const QString& sCommand)
{
    const PARSED_COMMAND Line = ParseCommand(sLine);
    const PARSED_COMMAND Command = ParseCommand(sCommand);
    if (Line.Id < 0 || Line.Id != Command.Id) {
        return false;
    }
    if (Line.Id == ACT_PROJECT_SET_TIF_SPEED) {
        const I64 Speed = ParseTIFSpeed(Line.Params.value(0));
        return Speed >= 0 && Speed == ParseTIFSpeed(Command.Params.value(0));
    }
    // A parameter that is left out and an empty one mean the same.
    for (qsizetype i = 0; i < std::max(Line.Params.size(), Command.Params.size()); ++i) {
        if (ValueOf(Line.Params.value(i)).compare(ValueOf(Command.Params.value(i)),
                                                  IsNameCommand(Line.Id) ? Qt::CaseInsensitive
                                                                         : Qt::CaseSensitive) != 0) {
            return false;
        }
    }
    return true;
}

void DropUnchanged(const QString& sText, PROJECT_EDIT* pEdit,
                   const std::function<bool(const QString& sLine, const QString& sCommand)>& IsSame)
{
    int Begin = 0;
    int End = 0;
    if (!FindProjectLoadBody(sText, &Begin, &End)) {
        return;
    }
    const QList<PROJECT_STATEMENT> Statements =
        SplitStatements(sText.mid(Begin, End - Begin).split(QLatin1Char('\n')));
    struct GROUP {
        QString sName;
        QRegularExpression Name;
        QStringList Lines; ///< with their comments
        QStringList Code;  ///< without
        QStringList Commands;
        bool Same = false;
    };
    QList<GROUP> Groups;
    for (const QString& sName : pEdit->Names) {
        GROUP Group{sName, GetNamePattern(sName), {}, {}, {}, false};
        for (const PROJECT_STATEMENT& Statement : Statements) {
            if (Statement.Code.contains(Group.Name)) {
                Group.Lines += Statement.Text;
                Group.Code += Statement.Code;
            }
        }
        Group.Commands = (pEdit->Commands + pEdit->Silent).filter(Group.Name);
        Group.Same = !Group.Code.isEmpty() && Group.Code.size() == Group.Commands.size() &&
                     std::equal(Group.Code.begin(), Group.Code.end(), Group.Commands.begin(), IsSame);
        Groups += Group;
    }
    // A line that another name removes can't be left to stand for its command.
    for (bool Changed = true; Changed;) {
        Changed = false;
        for (GROUP& Group : Groups) {
            for (const GROUP& Other : Groups) {
                if (Group.Same && !Other.Same && !Group.Lines.filter(Other.Name).isEmpty()) {
                    Group.Same = false;
                    Changed = true;
                }
            }
        }
    }
    for (const GROUP& Group : Groups) {
        if (Group.Same) {
            pEdit->Names.removeAll(Group.sName);
            pEdit->Commands.removeIf([&Group](const QString& s) { return Group.Commands.contains(s); });
        }
    }
}

QString GetVarCommandName(int VarID)
{
    const SYS_VAR* pRow = GetVar(VarID);
    return pRow ? GetCommandName(VarID < FIRST_PREFERENCE ? ACT_EDIT_SYS_VAR : ACT_EDIT_PREFERENCE) +
                      QStringLiteral(".*") + QLatin1String(pRow->Name) + QStringLiteral("\\b")
                : QString();
}

int GetVarAction(int VarID)
{
    for (int Id = 0; Id < NUM_ACTIONS; ++Id) {
        if (GetActionRow(Id)->SysVar == VarID) {
            return Id;
        }
    }
    return -1;
}

QStringList GetProbeSettingNames()
{
    QStringList Names;
    for (const int Id : {ACT_PROJECT_SET_CORE_PLUGIN, ACT_PROJECT_SET_DEVICE, ACT_PROJECT_SET_HOST_IF,
                         ACT_PROJECT_SET_TARGET_IF, ACT_PROJECT_SET_TIF_SPEED, ACT_PROJECT_SET_JTAG_CONFIG,
                         ACT_TARGET_SET_ENDIANESS}) {
        Names += GetCommandName(Id);
    }
    return Names;
}

QStringList GetTraceSettingNames()
{
    QStringList Names;
    for (const int Id :
         {ACT_PROJECT_SET_TRACE_SOURCE, ACT_PROJECT_SET_TRACE_TIMING, ACT_PROJECT_SET_TRACE_FILE,
          ACT_PROJECT_SET_TRACE_PORT_WIDTH, ACT_PROJECT_CONFIG_SWO}) {
        Names += GetCommandName(Id);
    }
    for (const int VarID : {VAR_TRACE_INIT_ON_ATTACH, VAR_TRACE_TIMESTAMPS_ENABLED, VAR_TRACE_CORE_CLOCK}) {
        Names += GetVarCommandName(VarID);
    }
    return Names;
}

QStringList GetSystemSettingNames()
{
    QStringList Names;
    for (int VarID = 0; VarID < NUM_SYS_VARS; ++VarID) {
        if (!GetVar(VarID)->Editable) {
            continue;
        }
        Names += GetVarCommandName(VarID);
        const int Id = GetVarAction(VarID);
        if (Id >= 0) {
            Names += GetCommandName(Id);
        }
    }
    return Names;
}

bool IsDialogCommand(const QString& sLine)
{
    QStringList Names = GetProbeSettingNames() + GetTraceSettingNames() + GetSystemSettingNames();
    for (const int Id :
         {ACT_TARGET_ADD_MEMORY_SEGMENT, ACT_PROJECT_ADD_SVD_FILE, ACT_PROJECT_ADD_PATH_SUBSTITUTE}) {
        Names += GetCommandName(Id);
    }
    const QString sTrimmed = sLine.trimmed();
    for (const QString& sName : Names) {
        const QRegularExpression Pattern(sName, QRegularExpression::NoPatternOption);
        if (Pattern
                .match(sTrimmed, 0, QRegularExpression::NormalMatch,
                       QRegularExpression::AnchorAtOffsetMatchOption)
                .hasMatch()) {
            return true;
        }
    }
    return false;
}

QStringList FindDuplicateCommands(const QString& sBody)
{
    QMap<int, int> Counts;
    QStringList Duplicates;
    for (const QString& sLine : sBody.split(QLatin1Char('\n'))) {
        const QString sTrimmed = sLine.trimmed();
        if (sTrimmed.isEmpty() || sTrimmed.startsWith(QLatin1String("//"))) {
            continue;
        }
        const int Id = FindCommand(GetNameOfCommandText(sTrimmed));
        if (Id >= 0 && !GetActionRow(Id)->Repeatable && ++Counts[Id] == 2) {
            Duplicates += GetCommandName(Id);
        }
    }
    return Duplicates;
}
