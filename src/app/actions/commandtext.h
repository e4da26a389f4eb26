// Command text: parsing a line of the console or of a project, and generating one for the echo.
#pragma once
#include "app/actions/actionrow.h"

#include <QString>
#include <QStringList>

struct PARSED_COMMAND {
    int Id = -1;        ///< -1: no such command
    QString Name;       ///< name as it stood in the line
    QStringList Params; ///< empty: called without parameters
};

/// Parses one line, `Name (a, "b c");` or `Name a "b c"`. Touches no action.
PARSED_COMMAND ParseCommand(const QString& sLine);
/// The name of a command in a line or prototype: the word before the "(", or the first word.
QString GetNameOfCommandText(const QString& sLine);
/// The arguments of a line, split and with their quotes removed.
QStringList SplitCommandArgs(const QString& sLine);

/// Generates the line of a command: `File.Open ("a.elf");`. Empty for a row without a name.
QString FormatCommand(int Id, const QStringList& Params);
/// The line of an action with the parameters stored in it.
QString GetCommandText(int Id);

/// Value of a frequency text in Hz ("4 MHz", "auto", "12,5 kHz"); -1 if the text is none.
I64 ParseFrequency(const QString& sText);
