// CSourceLines: lines of source files that no document of the source window holds, read from where the file finder
// sees the file and kept, since a disassembly asks for the same few files at each paint.
//
//   QString sText = CSourceLines::Get().GetLine(PROG_GetFilePath(Loc.File), Loc.Line);
//
// Main thread only.
#pragma once
#include "app/services/types.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QHash>
#include <QString>
#include <QStringList>

class CSourceLines {
public:
    static CSourceLines& Get();
    /// Text of a line, numbers from 1; empty for a line or a file that isn't there.
    QString GetLine(const QString& sPath, U32 Line);
    /// Forgets everything: paths may lead elsewhere now.
    void Clear() { m_Files.clear(); }

private:
    struct FILE_LINES {
        QString sFile; ///< where the finder sees it; empty if nowhere
        QDateTime Modified;
        QElapsedTimer Checked;
        QStringList Lines;
    };
    static void Load(FILE_LINES& File, const QString& sPath);

    QHash<QString, FILE_LINES> m_Files; ///< by the program's path
};
