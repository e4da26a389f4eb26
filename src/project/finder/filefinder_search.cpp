// The searches of the finder: one candidate, the places of a relative path, the search paths.
#include "project/finder/filefinder.h"

#include "app/services/log.h"

#include <QDir>
#include <QFile>

/// Takes over what may have changed since the last lookup. All that was concluded from it goes with it.
void CFileFinder::_BeginLookup()
{
    m_Debug = IsLoggingOn();
    m_pKept = nullptr;
    m_IgnoreCase = false;
    bool Changed = m_Dirs.Poll();
    PLACES Places;
    Places.sProjectPath = _ProjectPath();
    Places.sProgramFile = _ProgramFile();
    Places.sInstallDir = _InstallDir();
    if (Places.sProjectPath != m_Places.sProjectPath || Places.sProgramFile != m_Places.sProgramFile ||
        Places.sInstallDir != m_Places.sInstallDir) {
        Places.sProjectDir = GetVariable(QStringLiteral("$(ProjectDir)"));
        Places.sAppDir = GetVariable(QStringLiteral("$(AppDir)"));
        Places.sCurrentDir = m_Places.sCurrentDir;
        m_Places = Places;
        Changed = true;
    }
    if (m_UsesCurrentDir && m_Places.sCurrentDir != QDir::currentPath()) {
        Changed = true;
    }
    if (Changed) {
        _ForgetLookups();
    }
}

void CFileFinder::_ForgetLookups()
{
    m_pKept = nullptr;
    m_Lookups.clear();
    m_SearchFolders.clear();
    m_UsesCurrentDir = false;
}

/// The path as the system knows it: absolute and clean. Empty for one of another system's drives.
QString CFileFinder::_ToAbsolute(const QString& sPath)
{
    if (sPath.startsWith(QLatin1Char('/'))) {
        return Clean(sPath);
    }
    if (sPath.isEmpty() || !IsRelative(sPath)) {
        return QString();
    }
    if (!m_UsesCurrentDir) {
        m_Places.sCurrentDir = QDir::currentPath();
        m_UsesCurrentDir = true;
    }
    return Clean(m_Places.sCurrentDir + QLatin1Char('/') + sPath);
}

/// The path if a file stands there; in the second round, the path of the file whose path equals it
/// ignoring case. Empty if there is none.
QString CFileFinder::_ExistingFile(const QString& sPath)
{
    const QString sAbsolute = _ToAbsolute(sPath);
    if (!m_IgnoreCase) {
        return m_Dirs.GetKind(sAbsolute) == PATH_FILE ? sPath : QString();
    }
    const QString sMatch = m_Dirs.MatchIgnoringCase(sAbsolute);
    return m_Dirs.GetKind(sMatch) == PATH_FILE ? sMatch : QString();
}

QString CFileFinder::_Test(const QString& sFolder, const QString& sRelativePath)
{
    if (sFolder.isEmpty()) {
        return QString();
    }
    const bool HasSlash = sFolder.endsWith(QLatin1Char('/')) || sRelativePath.startsWith(QLatin1Char('/'));
    const QString sCandidate = sFolder + (HasSlash ? QString() : QStringLiteral("/")) + sRelativePath;
    if (m_Debug && !m_IgnoreCase) {
        LogDebug(QStringLiteral("Testing ") + sCandidate);
    }
    const QString sAbsolute = _ToAbsolute(sCandidate);
    if (m_IgnoreCase) {
        return m_Dirs.MatchIgnoringCase(sAbsolute);
    }
    return m_Dirs.GetKind(sAbsolute) == PATH_NONE ? QString() : Clean(sCandidate);
}

QString CFileFinder::_SearchRelative(const QString& sRelativePath, bool NoCurrentDir)
{
    for (const QString& sRoot : m_RootPaths) {
        const QString sFound = _Test(sRoot, sRelativePath);
        if (!sFound.isEmpty()) {
            return sFound;
        }
    }
    QString sFound = _Test(m_Places.sProjectDir, sRelativePath);
    if (!sFound.isEmpty()) {
        m_FoundThroughProject = true;
        return sFound;
    }
    sFound = _Test(m_Places.sInstallDir, sRelativePath);
    if (sFound.isEmpty()) {
        sFound = _Test(m_Places.sAppDir, sRelativePath);
    }
    if (sFound.isEmpty() && !NoCurrentDir) {
        sFound = _Test(QDir::currentPath(), sRelativePath);
        m_Keep = false; // the next lookup may be made from another folder
    }
    return sFound;
}

/// The folders of a list as absolute paths; one that exists nowhere drops out.
QList<CFileFinder::SEARCH_FOLDER> CFileFinder::_ToSearchFolders(const QStringList& Folders)
{
    const bool FoundThroughProject = m_FoundThroughProject;
    const bool IgnoreCase = m_IgnoreCase;
    m_IgnoreCase = false;
    QList<SEARCH_FOLDER> Result;
    for (const QString& sFolder : Folders) {
        m_FoundThroughProject = false;
        const QString sFound = _ToAbsolute(IsRelative(sFolder) ? _SearchRelative(sFolder, false) : sFolder);
        if (!sFound.isEmpty()) {
            Result.append({sFound, m_FoundThroughProject});
        }
    }
    m_IgnoreCase = IgnoreCase;
    m_FoundThroughProject = FoundThroughProject;
    return Result;
}

/// Encoded: the name as the system writes it, worked out once for all folders.
QString CFileFinder::_SearchFolder(const QString& sFolder, const QString& sFileName,
                                   const QByteArray& Encoded)
{
    if (!m_IgnoreCase && !m_Dirs.HasFile(sFolder, sFileName, Encoded)) {
        return QString();
    }
    const QString sName = m_IgnoreCase ? m_Dirs.FindIgnoringCase(sFolder, sFileName) : sFileName;
    const QString sCandidate = Clean(sFolder + QLatin1Char('/') + sName);
    return !sName.isEmpty() && m_Dirs.GetKind(sCandidate) == PATH_FILE ? sCandidate : QString();
}

QString CFileFinder::_SearchFolders(const QString& sFileName, const QList<SEARCH_FOLDER>& Folders)
{
    if (Folders.isEmpty() || sFileName.isEmpty()) {
        return QString();
    }
    if (m_Debug && !m_IgnoreCase) {
        LogDebug(QStringLiteral("Looking for %1 in search directories.").arg(sFileName));
    }
    const QByteArray Encoded = QFile::encodeName(sFileName);
    for (const SEARCH_FOLDER& Folder : Folders) {
        m_FoundThroughProject |= Folder.ThroughProject;
        const QString sFound = _SearchFolder(Folder.sPath, sFileName, Encoded);
        if (!sFound.isEmpty()) {
            if (m_Debug) {
                LogDebug(QStringLiteral("Found %1 in %2").arg(sFileName, sFound));
            }
            return sFound;
        }
    }
    return QString();
}

/// The search paths of the project, of which there may be many lookups.
const QList<CFileFinder::SEARCH_FOLDER>& CFileFinder::_GetSearchFolders()
{
    if (m_SearchFolders.isEmpty() && !m_SearchPaths.isEmpty()) {
        m_SearchFolders = _ToSearchFolders(m_SearchPaths);
    }
    return m_SearchFolders;
}
