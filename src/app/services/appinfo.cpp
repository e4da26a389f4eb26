#include "app/services/appinfo.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>

QString FormatVersion(int Major, int Minor, int Revision)
{
    QString s = QString::asprintf("V%d.%02d", Major, Minor);
    if (Revision > 26) return s + QString::asprintf("z%02d", Revision - 26);
    if (Revision > 0) s += QLatin1Char(char('a' + Revision - 1));
    return s;
}

QString GetVersionText()
{
    return FormatVersion(VERSION_MAJOR, VERSION_MINOR, VERSION_REVISION);
}

QString GetProductName(U32 Flags)
{
    QString s = QStringLiteral("Vantrel");
    if (!(Flags & PRODUCT_NAME_LONG)) return s;
    s += QLatin1String(" - The Bryllo Debugger");
    if (Flags & PRODUCT_NAME_VERSION) s += ' ' + GetVersionText();
    return s;
}

QString GetBuildDate()
{
    const QFileInfo Info(QCoreApplication::applicationFilePath());
    QDateTime Time = Info.birthTime();
    if (!Time.isValid()) Time = Info.lastModified();
    return Time.toString(Qt::ISODate).left(10);
}

QString GetWindowTitle(const WINDOW_TITLE_STATE& State)
{
    const QString sProduct = GetProductName(PRODUCT_NAME_LONG | PRODUCT_NAME_VERSION);
    if (State.SessionActive && !State.ProgramFile.isEmpty())
        return GetProductName(PRODUCT_NAME_LONG) + " - " + State.ProgramFile;
    if (!State.ProjectOpen) return sProduct;
    QString sName = State.ProjectPath;
    if (State.SessionActive) sName = QFileInfo(sName).completeBaseName();
    if (State.ProjectPath.isEmpty()) sName = QStringLiteral("New Project");
    return sProduct + (State.Modified ? " - *" : " - ") + sName;
}
