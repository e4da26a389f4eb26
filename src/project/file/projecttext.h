// The text of a project as the dialogs edit it: the body of OnProjectLoad, its two marked sections,
// and which commands belong to which.
//
//   PROJECT_EDIT Edit{.Merge = true, .Commands = {...}, .Names = {...}};
//   if (!EditProjectText(&sText, Edit, &Warnings)) ... // no OnProjectLoad
//
// Nothing outside the body is touched, and inside it only the lines that hold one of the names and
// the section that gets new lines. Pure functions over text with LF line ends.
#pragma once
#include <QString>
#include <QStringList>
#include <functional>

struct PROJECT_EDIT {
    bool Merge = true;    ///< new lines come before the old ones of their section, else behind
    QStringList Commands; ///< command lines to write
    QStringList Names;    ///< regular expressions; lines of the body that hold one are removed
    QStringList Silent = {}; ///< commands that aren't written, but whose like stays when DropUnchanged() meets it
};

/// The body of OnProjectLoad: [*pBegin, *pEnd), from behind the line of its "{" up to its "}".
bool FindProjectLoadBody(const QString& sText, int* pBegin, int* pEnd);

/// Takes out of an edit what the body says already: the commands of a name whose lines, in order, have the same effect
/// leave those lines as the user wrote them. IsSame compares a line with a command of the same name.
void DropUnchanged(const QString& sText, PROJECT_EDIT* pEdit,
                   const std::function<bool(const QString& sLine, const QString& sCommand)>& IsSame);
/// The same command with the same parameters, however the line spells them.
bool IsSameCommand(const QString& sLine, const QString& sCommand);

/// Applies an edit. Marker warnings go to *pWarnings. False if the text has no body.
bool EditProjectText(QString* psText, const PROJECT_EDIT& Edit, QStringList* pWarnings);

/// Names (as regular expressions) of the commands whose lines belong to the dialog section.
QStringList GetProbeSettingNames();
QStringList GetTraceSettingNames();
QStringList GetSystemSettingNames();
/// True if the line belongs to the dialog section.
bool IsDialogCommand(const QString& sLine);

/// "Edit.SysVar.*VAR_RESET_MODE": reaches the command of one variable or preference.
QString GetVarCommandName(int VarID);
/// Id of the command that sets a variable directly, -1 if there is none.
int GetVarAction(int VarID);

/// Names of commands that stand twice or more in a body, each once, in the order of their second
/// place; repeatable commands and comments are left out.
QStringList FindDuplicateCommands(const QString& sBody);
