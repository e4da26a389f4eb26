// What a resolution does for each kind of file, and the report of its outcome.
#include "project/finder/filefinder.h"

#include "app/services/log.h"

#include <utility>

namespace {
#ifdef Q_OS_WIN
constexpr const char* PLUGIN_EXTENSION = "dll";
#elif defined(Q_OS_MACOS)
constexpr const char* PLUGIN_EXTENSION = "dylib";
#else
constexpr const char* PLUGIN_EXTENSION = "so";
#endif

struct EXTENSION_ROW {
    const char* Extension;
    FILE_CLASSES Class;
};
constexpr EXTENSION_ROW EXTENSION_ROWS[] = {
    {"h", FILE_CLASS_SOURCE},      {"c", FILE_CLASS_SOURCE},     {"hpp", FILE_CLASS_SOURCE},
    {"cpp", FILE_CLASS_SOURCE},    {"s", FILE_CLASS_SOURCE},     {"svd", FILE_CLASS_REGISTERS},
    {"xml", FILE_CLASS_REGISTERS}, {"dll", FILE_CLASS_PLUGIN},   {"so", FILE_CLASS_PLUGIN},
    {"dylib", FILE_CLASS_PLUGIN},  {"bin", FILE_CLASS_DATA},     {"mot", FILE_CLASS_DATA},
    {"srec", FILE_CLASS_DATA},     {"hex", FILE_CLASS_DATA},     {"elf", FILE_CLASS_DATA},
    {"out", FILE_CLASS_DATA},      {"axf", FILE_CLASS_DATA},     {"bdebug", FILE_CLASS_PROJECT},
    {"txt", FILE_CLASS_DOCUMENT},  {"pdf", FILE_CLASS_DOCUMENT}, {"html", FILE_CLASS_DOCUMENT},
};

QString FileName(const QString& sPath)
{
    return sPath.mid(sPath.lastIndexOf(QLatin1Char('/')) + 1);
}

/// What follows the last "." of the file name; empty without one.
QStringView Extension(QStringView Path)
{
    const qsizetype Name = std::max(Path.lastIndexOf(u'/'), Path.lastIndexOf(u'\\')) + 1;
    const qsizetype Dot = Path.lastIndexOf(u'.');
    return Dot >= Name ? Path.mid(Dot + 1) : QStringView();
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
    return Class == FILE_CLASS_SOURCE || (Class == FILE_CLASS_NONE && !Extension(sPath).isEmpty());
}
} // namespace

FILE_CLASSES CFileFinder::GetFileClass(const QString& sPath)
{
    const QStringView Word = Extension(sPath);
    for (const EXTENSION_ROW& Row : EXTENSION_ROWS) {
        if (Word.compare(QLatin1String(Row.Extension), Qt::CaseInsensitive) == 0) {
            return Row.Class;
        }
    }
    return FILE_CLASS_NONE;
}

QString CFileFinder::_ResolveSource(const QString& sPath)
{
    if (m_Debug && !m_IgnoreCase) {
        LogDebug(QStringLiteral("Resolving source file path: ") + sPath);
    }
    QString s = sPath;
    if (IsRelative(sPath)) {
        QString sFound = _SearchRelative(sPath, true);
        if (sFound.isEmpty() && m_Hooks.QualifySrcPath) {
            sFound = m_Hooks.QualifySrcPath(sPath);
            m_Keep = false; // another program may be opened before the next lookup
        }
        if (!sFound.isEmpty()) {
            s = sFound;
        }
    }
    const QString sFile = _ExistingFile(s);
    return sFile.isEmpty() ? _SearchFolders(FileName(sPath), _GetSearchFolders()) : sFile;
}

/// A relative path through the relative search, where only a file counts.
QString CFileFinder::_ResolveRelative(const QString& sPath)
{
    const QString sFound = IsRelative(sPath) ? _ExistingFile(_SearchRelative(sPath, true)) : QString();
    if (sFound.isEmpty()) {
        m_FoundThroughProject = false;
    }
    return sFound;
}

QString CFileFinder::_ResolveData(const QString& sPath, const QStringList& MoreFolders)
{
    QString sFound = _ResolveRelative(sPath);
    if (sFound.isEmpty()) {
        sFound = _ExistingFile(sPath);
    }
    if (sFound.isEmpty()) {
        sFound = _SearchFolders(FileName(sPath), _GetSearchFolders() + _ToSearchFolders(MoreFolders));
    }
    return sFound;
}

QString CFileFinder::_ResolveRegisters(const QString& sPath)
{
    const QString sConfig = _Folder("Config");
    const QStringList Own{sConfig, sConfig + QStringLiteral("/CPU"),
                          sConfig + QStringLiteral("/Peripherals")};
    const QList<SEARCH_FOLDER> Folders = _ToSearchFolders(Own) + _GetSearchFolders();
    for (const char* sExtension : {"svd", "xml"}) {
        const QString s = WithExtension(sPath, sExtension);
        QString sFound = _ResolveRelative(s);
        if (sFound.isEmpty()) {
            sFound = _SearchFolders(FileName(s), Folders);
        }
        if (!sFound.isEmpty()) {
            return sFound;
        }
    }
    return QString();
}

QString CFileFinder::_ResolvePluginFile(const QString& sPath)
{
    QString sFound = _ResolveRelative(sPath);
    if (!sFound.isEmpty()) {
        return sFound;
    }
    const QString sPlugins = _Folder("Plugins");
    const QStringList Own{sPlugins, sPlugins + QStringLiteral("/OS"), sPlugins + QStringLiteral("/Core")};
    // A library's name is compared without regard to case from the first, whatever the platform.
    const bool IgnoreCase = std::exchange(m_IgnoreCase, true);
    sFound = _SearchFolders(FileName(sPath), _ToSearchFolders(Own) + _GetSearchFolders());
    m_IgnoreCase = IgnoreCase;
    return sFound;
}

QString CFileFinder::_FindMapped(const QString& sPath)
{
    const QString sFile = _ExistingFile(sPath);
    if (!sFile.isEmpty()) {
        return sFile;
    }
    switch (GetFileClass(sPath)) {
    case FILE_CLASS_REGISTERS:
        return _ResolveRegisters(sPath);
    case FILE_CLASS_PLUGIN:
        return _ResolvePluginFile(sPath);
    case FILE_CLASS_DATA:
    case FILE_CLASS_PROJECT:
        return _ResolveData(sPath, {});
    case FILE_CLASS_DOCUMENT:
        return _ResolveData(sPath, {_Folder("Doc")});
    case FILE_CLASS_SOURCE:
    case FILE_CLASS_NONE:
        break;
    }
    return CountsAsSource(sPath) ? _ResolveSource(sPath) : _ResolveData(sPath, {});
}

QString CFileFinder::_Find(const QString& sPath)
{
    if (m_Debug) {
        LogDebug(QStringLiteral("Starting to resolve: ") + sPath);
    }
    m_pKept = nullptr;
    if (sPath.isEmpty()) {
        return QString();
    }
    QString s = Expand(sPath);
    // Once more the same path: nothing has changed since, or the lookups would be forgotten. With the
    // log open every step is to be seen in it.
    if (const auto it = m_Lookups.find(s); !m_Debug && it != m_Lookups.end()) {
        m_FoundThroughProject = it->ThroughProject;
        m_pKept = s == sPath ? &*it : nullptr;
        return it->sResult;
    }
    const QString sExpanded = s;
    m_Keep = true;
    m_Dirs.TakeUnwatched();
    const QString sAlias = _ApplyAliases(s);
    if (!sAlias.isEmpty()) {
        s = sAlias;
    }
    const QString sSubstituted = _ApplySubstitutes(s);
    if (!sSubstituted.isEmpty()) {
        s = sSubstituted;
    }
    s = Clean(s);
    QString sResult = _FindMapped(s);
    if (sResult.isEmpty()) {
        // The path may come from a system that doesn't tell case apart in file names.
        m_FoundThroughProject = false;
        m_IgnoreCase = true;
        sResult = _FindMapped(s);
        m_IgnoreCase = false;
    }
    if (m_Keep && !m_Dirs.TakeUnwatched()) {
        const bool HasVariables = sExpanded != sPath;
        LOOKUP& Kept = *m_Lookups.insert(sExpanded, {sResult, m_FoundThroughProject, false});
        m_pKept = HasVariables ? nullptr : &Kept;
    }
    return sResult;
}

QString CFileFinder::Resolve(const QString& sPath)
{
    _BeginLookup();
    const QString sResult = _Find(sPath);
    if (!sPath.isEmpty()) {
        _Report(sPath, sResult);
    }
    m_FoundThroughProject = false;
    return sResult;
}

QString CFileFinder::ResolvePlugin(const QString& sPath)
{
    _BeginLookup();
    QString sResult = _Find(sPath);
    if (sResult.isEmpty() && !sPath.isEmpty()) {
        // A project written on another platform names that platform's library, or leaves the
        // extension out. Only the outcome of both tries is reported.
        m_FoundThroughProject = false;
        sResult = _Find(WithExtension(Normalise(sPath), PLUGIN_EXTENSION));
        m_pKept = nullptr; // that was kept under another path
    }
    if (!sPath.isEmpty()) {
        _Report(sPath, sResult);
    }
    m_FoundThroughProject = false;
    return sResult;
}

void CFileFinder::_Count(const QString& sOrigPath, const QString& sResult)
{
    if (sResult.isEmpty()) {
        m_Unresolved.insert(sOrigPath, true);
        m_Resolved.remove(sOrigPath);
    } else {
        m_Resolved.insert(sOrigPath, sResult);
        m_Unresolved.remove(sOrigPath);
    }
}

void CFileFinder::_ReportSource(const QString& sOrigPath, const QString& sResult)
{
    if (!m_pKept || !m_pKept->IsCounted) {
        _Count(sOrigPath, sResult);
        if (m_pKept) {
            m_pKept->IsCounted = true;
        }
    }
    // The timer runs on from the last lookup; setting it anew for each would cost more than the lookup.
    m_LastReportMs = m_Dirs.GetPollTime();
    if (!m_DelayTimer.isActive()) {
        m_DelayTimer.start(STATS_DELAY_MS);
    }
    if (!sResult.isEmpty()) {
        emit SrcFilePathResolved(sOrigPath, sResult);
    }
}

void CFileFinder::_Report(const QString& sOrigPath, const QString& sResult)
{
    const bool Good = !sResult.isEmpty();
    if (CountsAsSource(sOrigPath)) {
        _ReportSource(sOrigPath, sResult);
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
