// Text files of the project. A text is worked on with LF line ends; what is written back differs from the file only in
// the lines that were changed: all others keep their bytes, their line ends and the mark at the file's start.
//
//   QString sText;
//   if (ReadTextFile(sPath, &sText)) { sText += "x;\n"; WriteTextFile(sPath, sText, &sError); }
#pragma once
#include <QByteArray>
#include <QString>

/// The text of a file: UTF-8, or UTF-16 and UTF-32 with their mark. False if it can't be read. A missing file leaves
/// *psText empty.
bool ReadTextFile(const QString& sPath, QString* psText);

/// Bytes for a text that stands in for OldBytes: lines that both have keep their bytes, new ones end like their
/// neighbours. A text without a predecessor (empty OldBytes) is UTF-8 with CR LF.
QByteArray RenderText(const QByteArray& OldBytes, const QString& sText);

/// Writes a text to a file as a whole or not at all; false with the reason in *psError. sLikePath names the file
/// whose form the text keeps; empty: the file itself.
bool WriteTextFile(const QString& sPath, const QString& sText, QString* psError, const QString& sLikePath = {});
