// The searches of the finder, by the kind of file, and the report of a resolution.
#include "project/finder/filefinder.h"

#include "app/services/log.h"

#include <QDir>
#include <QFileInfo>

namespace {
#ifdef Q_OS_WIN
constexpr const char* PLUGIN_EXTENSION = "dll";
#elif defined(Q_OS_MACOS)
constexpr const char* PLUGIN_EXTENSION = "dylib";
#else
constexpr const char* PLUGIN_EXTENSION = "so";
#endif

struct FILE_CLASS_ROW {
    FILE_CLASSES Class;
    const char* Extensions; ///< each between blanks
};
constexpr FILE_CLASS_ROW FILE_CLASS_ROWS[] = {
    {FILE_CLASS_SOURCE, " h c hpp cpp s "}, {FILE_CLASS_REGISTERS, " svd xml "},
    {FILE_CLASS_PLUGIN, " dll so dylib "},  {FILE_CLASS_DATA, " bin mot srec hex elf out axf "},
    {FILE_CLASS_PROJECT, " bdebug "},       {FILE_CLASS_DOCUMENT, " txt pdf html "},
};

bool IsExistingFile(const QString& sPath)
{
    return !sPath.isEmpty() && QFileInfo(sPath).isFile();
}

QString FileName(const QString& sPath)
{
    return sPath.mid(sPath.lastIndexOf(QLatin1Char('/')) + 1);
}

/// The path with what follows the last "." of its file name replaced; appended if there is none.
QString WithExtension(const QString& sPath, const char* sExtension)
{
    const qsizetype Name = sPath.lastIndexOf(QLatin1Char('/')) + 1;
    const qsizetype Dot = sPath.lastIndexOf(QLatin1Char('.'));
    return (Dot >= Name ? sPath.left(Dot) : sPath) + QLatin1Char('.') + QLatin1String(sExtension);
}
/// A name with an extension that no class knows is taken for a source file (".cc", ".inl"), one
/// without an extension for data.
bool CountsAsSource(const QString& sPath)
{
    const FILE_CLASSES Class = CFileFinder::GetFileClass(sPath);
    return Class == FILE_CLASS_SOURCE ||
           (Class == FILE_CLASS_NONE && FileName(CFileFinder::Normalise(sPath)).contains(QLatin1Char('.')));
}
} // namespace

FILE_CLASSES CFileFinder::GetFileClass(const QString& sPath)
{
    const QString sName = FileName(Normalise(sPath));
    const qsizetype Dot = sName.lastIndexOf(QLatin1Char('.'));
    if (Dot < 0) {
        return FILE_CLASS_NONE;
    }
    const QString sExtension = sName.mid(Dot + 1).toLower();
    if (sExtension.isEmpty() || sExtension.contains(QLatin1Char(' '))) {
        return FILE_CLASS_NONE;
    }
    const QString sWord = QLatin1Char(' ') + sExtension + QLatin1Char(' ');
    for (const FILE_CLASS_ROW& Row : FILE_CLASS_ROWS) {
        if (QLatin1String(Row.Extensions).contains(sWord)) {
            return Row.Class;
        }
    }
    return FILE_CLASS_NONE;
}

QString CFileFinder::_Test(const QString& sFolder, const QString& sRelativePath) const
{
    if (sFolder.isEmpty()) {
        return QString();
    }
    const bool HasSlash = sFolder.endsWith(QLatin1Char('/')) || sRelativePath.startsWith(QLatin1Char('/'));
    const QString sCandidate = sFolder + (HasSlash ? QString() : QStringLiteral("/")) + sRelativePath;
    LogDebug(QStringLiteral("Testing %1").arg(sCandidate));
    return QFileInfo::exists(sCandidate) ? Clean(sCandidate) : QString();
}

QString CFileFinder::_SearchRelative(const QString& sRelativePath, bool NoCurrentDir)
{
    for (const QString& sRoot : m_RootPaths) {
        const QString sFound = _Test(sRoot, sRelativePath);
        if (!sFound.isEmpty()) {
            return sFound;
        }
    }
    QString sFound = _Test(GetVariable(QStringLiteral("$(ProjectDir)")), sRelativePath);
    if (!sFound.isEmpty()) {
        m_FoundThroughProject = true;
        return sFound;
    }
    sFound = _Test(_InstallDir(), sRelativePath);
    if (sFound.isEmpty()) {
        sFound = _Test(GetVariable(QStringLiteral("$(AppDir)")), sRelativePath);
    }
    if (sFound.isEmpty() && !NoCurrentDir) {
        sFound = _Test(QDir::currentPath(), sRelativePath);
    }
    return sFound;
}

QString CFileFinder::_SearchFolders(const QString& sFileName, const QStringList& Folders,
                                    bool CaseInsensitiveScan)
{
    if (Folders.isEmpty() || sFileName.isEmpty()) {
        return QString();
    }
    LogDebug(QStringLiteral("Looking for %1 in search directories.").arg(sFileName));
    for (const QString& sListed : Folders) {
        const QString sFolder = IsRelative(sListed) ? _SearchRelative(sListed, false) : sListed;
        if (sFolder.isEmpty()) {
            continue;
        }
        QString sFound;
        if (CaseInsensitiveScan) {
            for (const QString& sEntry : QDir(sFolder).entryList()) {
                if (sEntry.compare(sFileName, Qt::CaseInsensitive) == 0) {
                    sFound = Clean(sFolder + QLatin1Char('/') + sEntry);
                    break;
                }
            }
        } else {
            const QString sCandidate = Clean(sFolder + QLatin1Char('/') + sFileName);
            if (IsExistingFile(sCandidate)) {
                sFound = sCandidate;
            }
        }
        if (!sFound.isEmpty()) {
            LogDebug(QStringLiteral("Found %1 in %2").arg(sFileName, sFound));
            return sFound;
        }
    }
    return QString();
}

QString CFileFinder::_ResolveSource(const QString& sPath)
{
    LogDebug(QStringLiteral("Resolving source file path: %1").arg(sPath));
    QString s = sPath;
    if (IsRelative(sPath)) {
        QString sFound = _SearchRelative(sPath, true);
        if (sFound.isEmpty() && m_Hooks.QualifySrcPath) {
            sFound = m_Hooks.QualifySrcPath(sPath);
        }
        if (!sFound.isEmpty()) {
            s = sFound;
        }
    }
    return IsExistingFile(s) ? s : _SearchFolders(FileName(sPath), m_SearchPaths, false);
}

QString CFileFinder::_ResolveData(const QString& sPath, const QStringList& MoreFolders)
{
    if (IsRelative(sPath)) {
        const QString sFound = _SearchRelative(sPath, true);
        if (IsExistingFile(sFound)) {
            return sFound;
        }
        m_FoundThroughProject = false;
    }
    return IsExistingFile(sPath) ? sPath
                                 : _SearchFolders(FileName(sPath), m_SearchPaths + MoreFolders, false);
}

QString CFileFinder::_ResolveRegisters(const QString& sPath)
{
    const QString sConfig = _Folder("Config");
    const QStringList Folders =
        QStringList{sConfig, sConfig + QStringLiteral("/CPU/"), sConfig + QStringLiteral("/Peripherals/")} +
        m_SearchPaths;
    for (const char* sExtension : {"svd", "xml"}) {
        const QString s = WithExtension(sPath, sExtension);
        QString sFound = IsRelative(s) ? _SearchRelative(s, true) : (IsExistingFile(s) ? s : QString());
        if (!IsExistingFile(sFound)) {
            m_FoundThroughProject = false;
            sFound = _SearchFolders(FileName(s), Folders, false);
        }
        if (!sFound.isEmpty()) {
            return sFound;
        }
    }
    return QString();
}

QString CFileFinder::_ResolvePluginFile(const QString& sPath)
{
    if (IsRelative(sPath)) {
        const QString sFound = _SearchRelative(sPath, true);
        if (IsExistingFile(sFound)) {
            return sFound;
        }
        m_FoundThroughProject = false;
    }
    const QString sPlugins = _Folder("Plugins");
    const QStringList Folders =
        QStringList{sPlugins, sPlugins + QStringLiteral("/OS/"), sPlugins + QStringLiteral("/Core/")} +
        m_SearchPaths;
    return _SearchFolders(FileName(sPath), Folders, true);
}

QString CFileFinder::_Find(const QString& sPath)
{
    LogDebug(QStringLiteral("Starting to resolve: %1").arg(sPath));
    if (sPath.isEmpty()) {
        return QString();
    }
    QString s = Expand(sPath);
    const QString sAlias = _ApplyAliases(s);
    if (!sAlias.isEmpty()) {
        s = sAlias;
    }
    const QString sSubstituted = _ApplySubstitutes(s);
    if (!sSubstituted.isEmpty()) {
        s = sSubstituted;
    }
    s = Clean(s);
    QString sResult;
    if (IsExistingFile(s)) {
        sResult = s;
    } else {
        switch (GetFileClass(s)) {
        case FILE_CLASS_SOURCE:
            sResult = _ResolveSource(s);
            break;
        case FILE_CLASS_REGISTERS:
            sResult = _ResolveRegisters(s);
            break;
        case FILE_CLASS_PLUGIN:
            sResult = _ResolvePluginFile(s);
            break;
        case FILE_CLASS_DATA:
        case FILE_CLASS_PROJECT:
            sResult = _ResolveData(s, {});
            break;
        case FILE_CLASS_DOCUMENT:
            sResult = _ResolveData(s, {_Folder("Doc")});
            break;
        case FILE_CLASS_NONE:
            sResult = CountsAsSource(s) ? _ResolveSource(s) : _ResolveData(s, {});
            break;
        }
    }
    return sResult;
}

QString CFileFinder::Resolve(const QString& sPath)
{
    const QString sResult = _Find(sPath);
    if (!sPath.isEmpty()) {
        _Report(sPath, sResult);
    }
    m_FoundThroughProject = false;
    return sResult;
}

QString CFileFinder::ResolvePlugin(const QString& sPath)
{
    QString sResult = _Find(sPath);
    if (sResult.isEmpty() && !sPath.isEmpty()) {
        // A project written on another platform names that platform's library, or leaves the
        // extension out. Only the outcome of both tries is reported.
        m_FoundThroughProject = false;
        sResult = _Find(WithExtension(Normalise(sPath), PLUGIN_EXTENSION));
    }
    if (!sPath.isEmpty()) {
        _Report(sPath, sResult);
    }
    m_FoundThroughProject = false;
    return sResult;
}

void CFileFinder::_Report(const QString& sOrigPath, const QString& sResult)
{
    const bool Good = IsExistingFile(sResult);
    if (CountsAsSource(sOrigPath)) {
        if (Good) {
            m_Resolved.insert(sOrigPath, sResult);
            m_Unresolved.remove(sOrigPath);
            emit SrcFilePathResolved(sOrigPath, sResult);
        } else {
            m_Unresolved.insert(sOrigPath, true);
            m_Resolved.remove(sOrigPath);
        }
        m_DelayTimer.start();
        return;
    }
    if (Good && (sResult == sOrigPath || m_FoundThroughProject)) {
        return;
    }
    if (!m_Reported.contains(sOrigPath) && m_LogResolutions) {
        LogInfo(Good
                    ? QStringLiteral("File path resolved: \"%1\" was found at \"%2\"").arg(sOrigPath, sResult)
                    : QStringLiteral("File not found: %1").arg(sOrigPath));
    }
    m_Reported.insert(sOrigPath, true);
}
