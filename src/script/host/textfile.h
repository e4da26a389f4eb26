// Text files of the project: read with all line ends as LF, written with CR LF.
#pragma once
#include <QString>

/// The text of a file as UTF-8; false if it can't be read. A missing file leaves *psText empty.
bool ReadTextFile(const QString& sPath, QString* psText);

/// Writes a text to a file as a whole or not at all; false with the reason in *psError.
bool WriteTextFile(const QString& sPath, const QString& sText, QString* psError);
