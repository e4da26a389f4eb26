// Reading the tables in tests/app/data: one record a line, fields separated by tabs.
#pragma once
#include <QFile>
#include <QList>
#include <QStringList>

inline QList<QStringList> ReadTable(const char* sName)
{
    QFile File(QStringLiteral(VANTREL_SOURCE_DIR "/tests/app/data/") + sName);
    QList<QStringList> Rows;
    if (!File.open(QIODevice::ReadOnly)) return Rows;
    const QString sText = QString::fromUtf8(File.readAll());
    for (const QString& sLine : sText.split('\n'))
        if (!sLine.isEmpty()) Rows.append(sLine.split('\t'));
    return Rows;
}
