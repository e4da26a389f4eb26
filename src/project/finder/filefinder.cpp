// The finder's lists, variables and the mapping of paths; the resolution stands in filefinder_resolve.cpp
// and its searches in filefinder_search.cpp.
#include "project/finder/filefinder.h"

#include "app/services/appdirs.h"
#include "app/services/log.h"

#include <QDir>
#include <QFileInfo>

namespace {
/// In the order in which a text is searched for them.
constexpr const char* PATH_VARIABLES[] = {"$(DocDir)",       "$(PluginDir)",     "$(ProjectDir)",
                                          "$(InstallDir)",   "$(ExecutableDir)", "$(AppDir)",
                                          "$(AppBundleDir)", "$(ConfigDir)",     "$(LibraryDir)"};

/// The next token of an environment variable at or behind Pos: "$(NAME)", or "%NAME%" if the text
/// has no token of the first form left. False if there is none.
bool FindToken(const QString& sText, qsizetype Pos, qsizetype* pStart, qsizetype* pEnd, QString* psName)
{
    const qsizetype Open = sText.indexOf(QLatin1String("$("), Pos);
    const qsizetype Close = Open < 0 ? -1 : sText.indexOf(QLatin1Char(')'), Open);
    if (Close >= 0) {
        *pStart = Open;
        *pEnd = Close + 1;
        *psName = sText.mid(Open + 2, Close - Open - 2).trimmed();
        return true;
    }
    const qsizetype First = sText.indexOf(QLatin1Char('%'), Pos);
    const qsizetype Second = First < 0 ? -1 : sText.indexOf(QLatin1Char('%'), First + 1);
    if (Second < 0) {
        return false;
    }
    *pStart = First;
    *pEnd = Second + 1;
    *psName = sText.mid(First + 1, Second - First - 1).trimmed();
    return true;
}
} // namespace

CFileFinder& CFileFinder::Get()
{
    static CFileFinder Instance;
    return Instance;
}

CFileFinder::CFileFinder()
{
    m_DelayTimer.setSingleShot(true);
    connect(&m_DelayTimer, &QTimer::timeout, this, &CFileFinder::OnDelayTimerTimeout);
    Reset();
}

FILEFINDER_HOOKS& CFileFinder::Hooks()
{
    return m_Hooks;
}

void CFileFinder::SetHooks(const FILEFINDER_HOOKS& Hooks)
{
    m_Hooks = Hooks;
}

void CFileFinder::Reset()
{
    m_RootPaths.clear();
    m_Aliases.clear();
    m_Substitutes.clear();
    m_SearchPaths.clear();
    m_Reported.clear();
    _PathsChanged();
    m_Dirs.Clear();
    m_FoundThroughProject = false;
    m_LogResolutions = true;
}

void CFileFinder::_ClearStatistics()
{
    m_Resolved.clear();
    m_Unresolved.clear();
}

void CFileFinder::_PathsChanged()
{
    _ClearStatistics();
    _ForgetLookups();
    m_AliasIndex.clear();
    for (auto it = m_Aliases.begin(); it != m_Aliases.end(); ++it) {
        const QString sFolded = Clean(it.key()).toCaseFolded();
        if (!m_AliasIndex.contains(sFolded)) { // of two that stand for the same path the first wins
            m_AliasIndex.insert(sFolded, it.value());
        }
    }
}

QString CFileFinder::Normalise(const QString& sPath)
{
    QString s = sPath;
    s.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (s.contains(QLatin1String("//"))) {
        s.replace(QLatin1String("//"), QLatin1String("/"));
    }
    return s;
}

QString CFileFinder::Clean(const QString& sPath)
{
    return QDir::cleanPath(Normalise(sPath));
}

bool CFileFinder::IsRelative(const QString& sPath)
{
    const bool HasDrive = sPath.indexOf(QLatin1Char(':')) == 1 && sPath[0].isLetter();
    return !HasDrive && QFileInfo(sPath).isRelative();
}

void CFileFinder::AddRootPath(const QString& sPath)
{
    QString s = Clean(Expand(sPath));
    if (!s.isEmpty() && IsRelative(s)) {
        _BeginLookup();
        // The root may be given relative to the project; one that exists nowhere stays as written.
        const QString sFound = _SearchRelative(s, false);
        m_FoundThroughProject = false;
        if (!sFound.isEmpty()) {
            s = QDir::cleanPath(QFileInfo(sFound).absoluteFilePath());
        }
    }
    m_RootPaths.append(s);
    _PathsChanged();
}

void CFileFinder::AddSearchPath(const QString& sPath)
{
    m_SearchPaths.append(Clean(Expand(sPath)));
    _PathsChanged();
}

void CFileFinder::AddFileAlias(const QString& sOldPath, const QString& sNewPath)
{
    m_Aliases.insert(Expand(sOldPath), Clean(Expand(sNewPath)));
    _PathsChanged();
}

void CFileFinder::AddPathSubstitute(const QString& sPath, const QString& sSubstitute)
{
    m_Substitutes.insert(Normalise(Expand(sPath)), Normalise(Expand(sSubstitute)));
    _PathsChanged();
}

QString CFileFinder::GetVariable(const QString& sName) const
{
    const auto Is = [&sName](const char* s) {
        return sName.compare(QLatin1String(s), Qt::CaseInsensitive) == 0;
    };
    if (Is("$(DocDir)")) {
        return _Folder("Doc");
    }
    if (Is("$(ConfigDir)")) {
        return _Folder("Config");
    }
    if (Is("$(LibraryDir)")) {
        return _Folder("Lib");
    }
    if (Is("$(PluginDir)")) {
        return _Folder("Plugins");
    }
    if (Is("$(ExecutableDir)") || Is("$(InstallDir)") || Is("$(AppBundleDir)")) {
        return _InstallDir();
    }
    if (Is("$(AppDir)")) {
        return _ProgramFile().isEmpty() ? QString() : QFileInfo(_ProgramFile()).absolutePath();
    }
    if (Is("$(ProjectDir)")) {
        return _ProjectPath().isEmpty() ? QString() : QFileInfo(_ProjectPath()).absolutePath();
    }
    return QString();
}

QString CFileFinder::Expand(const QString& sText) const
{
    QString s = sText;
    if (s.contains(QLatin1Char('$'))) {
        for (const char* sVariable : PATH_VARIABLES) {
            const QLatin1String Variable(sVariable);
            if (s.contains(Variable, Qt::CaseInsensitive)) {
                s.replace(Variable, GetVariable(Variable), Qt::CaseInsensitive);
            }
        }
        if (s != sText) {
            LogDebug(QStringLiteral("FileFinder: expanded %1 to %2").arg(sText, s));
        }
    }
    return _ExpandEnvironment(s);
}

QString CFileFinder::_ExpandEnvironment(const QString& sText) const
{
    if (!sText.contains(QLatin1String("$(")) && !sText.contains(QLatin1Char('%'))) {
        return sText;
    }
    QString s = sText;
    qsizetype Pos = 0;
    qsizetype Start = 0;
    qsizetype End = 0;
    QString sName;
    while (FindToken(s, Pos, &Start, &End, &sName)) {
        const QString sValue =
            sName.isEmpty() ? QString() : qEnvironmentVariable(sName.toLocal8Bit().constData());
        if (sValue.isEmpty()) {
            Pos = End; // the token stays in the text
            continue;
        }
        const QString sToken = s.mid(Start, End - Start);
        const QString sHead = s.left(Start);
        s = sHead + s.mid(Start).replace(sToken, sValue);
        Pos = Start + sValue.size(); // a value that holds a token of its own is not expanded again
    }
    return s;
}

QString CFileFinder::Collapse(const QString& sPath, const QString& sVariable) const
{
    const QString sValue = Clean(GetVariable(sVariable));
    if (sValue.isEmpty()) {
        return sPath;
    }
    const QString s = Normalise(sPath);
    const QDir Folder(sValue);
    for (qsizetype Length = s.size(); Length > 0; Length = s.lastIndexOf(QLatin1Char('/'), Length - 1)) {
        if (QDir(s.left(Length)) == Folder) {
            QString sRest = s.mid(Length);
            while (sRest.startsWith(QLatin1Char('/'))) {
                sRest.remove(0, 1);
            }
            const QString sResult = sVariable + QLatin1Char('/') + sRest;
            LogDebug(QStringLiteral("FileFinder: collapsed %1 to %2").arg(sPath, sResult));
            return sResult;
        }
    }
    return sPath;
}

QString CFileFinder::MapReverse(const QString& sPath) const
{
    for (auto it = m_Aliases.begin(); it != m_Aliases.end(); ++it) {
        if (it.value().compare(sPath, Qt::CaseInsensitive) == 0) {
            return it.key();
        }
    }
    return sPath;
}

QString CFileFinder::_ApplyAliases(const QString& sPath) const
{
    if (m_Aliases.isEmpty()) {
        return QString();
    }
    LogDebug(QStringLiteral("Applying file aliases to ") + sPath);
    const auto it = m_AliasIndex.constFind(Clean(sPath).toCaseFolded());
    if (it == m_AliasIndex.constEnd()) {
        return QString();
    }
    LogDebug(QStringLiteral("mapped %1 to %2").arg(sPath, *it));
    return *it;
}

QString CFileFinder::_ApplySubstitutes(const QString& sPath) const
{
    if (m_Substitutes.isEmpty()) {
        return QString();
    }
    LogDebug(QStringLiteral("Applying path substitutes in : ") + sPath);
    QString s = Normalise(sPath);
    for (auto it = m_Substitutes.begin(); it != m_Substitutes.end(); ++it) {
        if (!it.key().isEmpty() && s.contains(it.key(), Qt::CaseInsensitive)) {
            s.replace(it.key(), it.value(), Qt::CaseInsensitive);
            LogDebug(QStringLiteral("Path substituted: %1 -> %2").arg(it.key(), it.value()));
        }
    }
    return s;
}

QString CFileFinder::_InstallDir() const
{
    return m_Hooks.InstallDir ? m_Hooks.InstallDir() : GetInstallDir();
}

QString CFileFinder::_Folder(const char* sName) const
{
    return _InstallDir() + QLatin1Char('/') + QLatin1String(sName);
}

QString CFileFinder::_ProjectPath() const
{
    return m_Hooks.ProjectPath ? m_Hooks.ProjectPath() : QString();
}

QString CFileFinder::_ProgramFile() const
{
    return m_Hooks.ProgramFile ? m_Hooks.ProgramFile() : QString();
}

U32 CFileFinder::GetNumResolved() const
{
    return static_cast<U32>(m_Resolved.size());
}
U32 CFileFinder::GetNumUnresolved() const
{
    return static_cast<U32>(m_Unresolved.size());
}
const QHash<QString, QString>& CFileFinder::GetResolvedSrcFiles() const
{
    return m_Resolved;
}
const QHash<QString, bool>& CFileFinder::GetUnresolvedSrcFiles() const
{
    return m_Unresolved;
}
const QStringList& CFileFinder::GetRootPaths() const
{
    return m_RootPaths;
}
const QStringList& CFileFinder::GetSearchPaths() const
{
    return m_SearchPaths;
}
void CFileFinder::SetLogResolutions(bool OnOff)
{
    m_LogResolutions = OnOff;
}

bool CFileFinder::IsTellingPending() const
{
    return m_DelayTimer.isActive();
}

void CFileFinder::OnDelayTimerTimeout()
{
    const I64 Left = m_LastReportMs + STATS_DELAY_MS - CDirCache::GetTime();
    if (Left > 0) {
        m_DelayTimer.start(static_cast<int>(Left));
        return;
    }
    emit SrcFileResStatsChanged();
}

#include "moc_filefinder.cpp"
