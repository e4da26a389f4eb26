#include "app/services/appdirs.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <atomic>

namespace {
bool IsMatched(const char* sFilters, const QString& sName)
{
    return QDir::match(QString::fromLatin1(sFilters).split(' '), sName);
}
} // namespace

QString GetInstallDir()
{
    enum { UNKNOWN, SEARCHING, KNOWN };
    static std::atomic<int> State{UNKNOWN};
    static QString sDir;
    int Expected = UNKNOWN;
    if (State.compare_exchange_strong(Expected, SEARCHING)) {
        sDir = QFileInfo(QCoreApplication::applicationFilePath()).canonicalPath();
        State.store(KNOWN, std::memory_order_release);
    }
    return State.load(std::memory_order_acquire) == KNOWN ? sDir : QString();
}

QString GetCurrentDir()
{
    return QDir::currentPath();
}
QString GetConfigDir()
{
    return GetInstallDir() + "/Config";
}
QString GetLibDir()
{
    return GetInstallDir() + "/Lib";
}
QString GetDocDir()
{
    return GetInstallDir() + "/Doc";
}
QString GetPluginsDir()
{
    return GetInstallDir() + "/Plugins";
}
QString GetPeripheralsDir()
{
    return GetConfigDir() + "/Peripherals";
}

QString GetDefaultDir(const QString& sFileName)
{
    const QFileInfo Info(sFileName);
    if (Info.isFile()) return Info.canonicalPath();
    const QString sName = Info.fileName();
    if (IsMatched("*.svd *.xml", sName)) return GetPeripheralsDir();
    if (IsMatched("*.txt *.pdf *.html", sName)) return GetDocDir();
    if (IsMatched("*.dll *.so *.dylib", sName)) return GetPluginsDir();
    return GetInstallDir();
}
