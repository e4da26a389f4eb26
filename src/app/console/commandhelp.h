// What the console tells about a command: its lines of help, and the hint below the input line.
#pragma once
#include <QString>
#include <QStringList>

/// True for "? Name" and "help Name"; *psTopic is then what stands behind the first word.
bool IsHelpRequest(const QString& sLine, QString* psTopic);
/// Help for a command by its name or old name, or the commands of a family ("Debug"). Empty if the topic is
/// neither.
QStringList GetCommandHelp(const QString& sTopic);
/// How a command is written: "Break.SetEx (unsigned int Addr, int Type)".
QString GetCommandUsage(int ActionId);
/// The same as rich text with one parameter in bold, and the description in a second line. ArgIndex -1: none.
QString GetCommandHint(int ActionId, int ArgIndex);
