// Reading and writing of text files with their line ends.
#include "script/host/textfile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTextStream>

bool ReadTextFile(const QString& sPath, QString* psText)
{
    psText->clear();
    QFile File(sPath);
    if (!QFileInfo(sPath).isFile() || !File.open(QIODevice::ReadOnly)) {
        return false;
    }
    QTextStream Stream(&File);
    *psText = Stream.readAll();
    psText->replace(QLatin1String("\r\n"), QLatin1String("\n"));
    psText->replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return File.error() == QFileDevice::NoError;
}

bool WriteTextFile(const QString& sPath, const QString& sText, QString* psError)
{
    QString s = sText;
    s.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    s.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    s.replace(QLatin1Char('\n'), QLatin1String("\r\n"));
    const QByteArray Bytes = s.toUtf8();
    // The file is replaced only when all of it is on the disk. Where the folder doesn't allow a
    // second file but the file itself may be written, it is written directly.
    QSaveFile File(sPath);
    File.setDirectWriteFallback(true);
    // Replacing needs no right to write the file itself, only its folder: a read-only file stays.
    const QFileInfo Info(sPath);
    if (Info.exists() && !Info.isWritable()) {
        *psError = QStringLiteral("file is write-protected");
        return false;
    }
    if (!File.open(QIODevice::WriteOnly) || File.write(Bytes) != Bytes.size() || !File.commit()) {
        *psError = File.errorString();
        return false;
    }
    return true;
}
