#include "project/finder/dircache.h"

#include <QFile>
#include <chrono>
#include <dirent.h>
#include <sys/stat.h>
#ifdef __linux__
#include <sys/vfs.h>
#endif

namespace {
constexpr qsizetype MAX_PATH_BYTES = 4096; ///< the system refuses longer ones
constexpr I64 CHECK_WATCHED_MS = 3000;     ///< mounts, and links further up, aren't reported
constexpr I64 TRUST_REMOTE_MS = 2000;
constexpr I64 TRUST_PER_MS = 100; ///< a folder that takes 1 ms to answer is left alone for 100 ms more
/// A folder changed this short a time ago may change again under the same time stamp.
constexpr I64 STAMP_NS = 2'000'000'000;

enum FOLDER_STATES : U8 {
    FOLDER_MISSING,
    FOLDER_READ, ///< Entries holds all
    FOLDER_ASK,  ///< can't be read, or is too large: each name is asked for
};

I64 ToNs(const timespec& t)
{
    return I64(t.tv_sec) * 1'000'000'000 + t.tv_nsec;
}

I64 WallNs()
{
    timespec t = {};
    clock_gettime(CLOCK_REALTIME, &t);
    return ToNs(t);
}

PATH_KINDS AskKind(const QString& sPath)
{
    struct stat Info = {};
    const QByteArray Path = QFile::encodeName(sPath);
    if (Path.contains('\0') || stat(Path.constData(), &Info) != 0) {
        return PATH_NONE;
    }
    return S_ISREG(Info.st_mode) ? PATH_FILE : PATH_OTHER;
}

bool IsRemote(const QByteArray& Folder)
{
#ifdef __linux__
    struct statfs Info = {};
    if (statfs(Folder.constData(), &Info) != 0) {
        return false;
    }
    switch (static_cast<U32>(Info.f_type)) {
    case 0x6969:     // NFS
    case 0x517B:     // SMB
    case 0xFF534D42: // CIFS
    case 0xFE534D42: // SMB2
    case 0x65735546: // FUSE: sshfs and others
    case 0x01021997: // 9P
    case 0x00C36400: // Ceph
    case 0x5346414F: // AFS
        return true;
    default:
        return false;
    }
#else
    return !Folder.isEmpty(); // nothing is watched there, so questions are spared as on a network
#endif
}

QString ParentOf(const QString& sPath)
{
    const qsizetype Slash = sPath.lastIndexOf(QLatin1Char('/'));
    return Slash > 0 ? sPath.left(Slash) : QStringLiteral("/");
}

QString NameOf(const QString& sPath)
{
    return sPath.mid(sPath.lastIndexOf(QLatin1Char('/')) + 1);
}

/// Calls fOnEntry(name, kind) for each entry until it gives false; kind PATH_NONE is one that the
/// folder doesn't tell. False if the folder can't be read to its end.
template <typename F> bool ForEachEntry(const QByteArray& Folder, F fOnEntry)
{
    DIR* pDir = opendir(Folder.constData());
    if (!pDir) {
        return false;
    }
    bool Complete = true;
    while (const dirent* pEntry = readdir(pDir)) {
        PATH_KINDS Kind = PATH_NONE;
#ifdef _DIRENT_HAVE_D_TYPE
        if (pEntry->d_type == DT_REG) {
            Kind = PATH_FILE;
        } else if (pEntry->d_type != DT_LNK && pEntry->d_type != DT_UNKNOWN) {
            Kind = PATH_OTHER;
        }
#endif
        if (!fOnEntry(QByteArray(pEntry->d_name), Kind)) {
            Complete = false;
            break;
        }
    }
    closedir(pDir);
    return Complete;
}
} // namespace

struct CDirCache::FOLDER {
    FOLDER_STATES State = FOLDER_MISSING;
    bool Watched = false;
    bool Fresh = false;                          ///< too young for its time stamp to tell a change
    std::shared_ptr<bool> pChanged;              ///< set by the watch
    QHash<QByteArray, PATH_KINDS> Entries;       ///< PATH_NONE: to be asked for
    QMultiHash<QString, QByteArray> FoldedNames; ///< filled by the first lookup that ignores case
    dev_t Device = 0;
    ino_t Inode = 0;
    I64 StampNs = 0;
    I64 CheckedMs = 0;
    I64 TrustMs = 0;
};

CDirCache::CDirCache(bool Watch, int MaxEntries)
    : m_Now(GetTime()), m_DoWatch(Watch), m_MaxEntries(MaxEntries)
{
}
CDirCache::~CDirCache() = default;

void CDirCache::Clear()
{
    m_Folders.clear();
    m_Matched.clear();
    m_Parents.clear();
    m_Watch.Clear();
}

/// Looks for what isn't reported: a file system mounted over a folder, a link further up that leads
/// elsewhere now.
bool CDirCache::_Sweep()
{
    bool Changed = false;
    m_SweptMs = m_Now;
    for (auto it = m_Folders.begin(); it != m_Folders.end();) {
        const bool Valid = !it.value()->Watched || _IsValid(*it.value(), it.key());
        Changed |= !Valid;
        it = Valid ? std::next(it) : m_Folders.erase(it);
    }
    return Changed;
}

bool CDirCache::Poll()
{
    m_Now = GetTime();
    const CDirWatch::RESULTS Result = m_Watch.Poll();
    if (Result == CDirWatch::LOST) {
        Clear();
    }
    const bool Due = m_Now - m_SweptMs >= CHECK_WATCHED_MS;
    const bool Changed = (Due && _Sweep()) || Result != CDirWatch::NOTHING;
    if (Changed) {
        m_Matched.clear();
    }
    return Changed;
}

I64 CDirCache::GetTime()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

I64 CDirCache::GetPollTime() const
{
    return m_Now;
}

bool CDirCache::TakeUnwatched()
{
    return std::exchange(m_Unwatched, false);
}

/// Watches, in all folders above this one, the entry that leads to it: if one comes, goes or is
/// replaced, the path means another folder. False if one of them can't be watched.
bool CDirCache::_WatchParents(const QString& sFolder)
{
    if (sFolder == QLatin1String("/")) {
        return true;
    }
    const auto it = m_Parents.constFind(sFolder);
    if (it != m_Parents.constEnd()) {
        return *it;
    }
    const QString sParent = ParentOf(sFolder);
    // Where the parent is missing too, the entry that leads to it tells when it comes.
    const bool Watched =
        (m_Watch.WatchEntry(QFile::encodeName(sParent), QFile::encodeName(NameOf(sFolder))) ||
         AskKind(sParent) != PATH_OTHER) &&
        _WatchParents(sParent);
    m_Parents.insert(sFolder, Watched);
    return Watched;
}

void CDirCache::_Read(FOLDER& Folder, const QString& sFolder)
{
    const QByteArray Path = QFile::encodeName(sFolder);
    const I64 Start = GetTime();
    Folder = FOLDER();
    Folder.CheckedMs = m_Now;
    Folder.Watched = m_DoWatch && _WatchParents(sFolder);
    struct stat Info = {};
    if (stat(Path.constData(), &Info) != 0 || !S_ISDIR(Info.st_mode)) {
        return;
    }
    const bool Remote = IsRemote(Path);
    Folder.pChanged = std::make_shared<bool>(false);
    // The watch comes before the reading: what changes in between is then reported and read again.
    Folder.Watched = Folder.Watched && !Remote && m_Watch.WatchEntries(Path, Folder.pChanged);
    Folder.State = FOLDER_READ;
    Folder.Device = Info.st_dev;
    Folder.Inode = Info.st_ino;
    Folder.StampNs = ToNs(Info.st_mtim);
    Folder.Fresh = !Folder.Watched && !Remote && WallNs() - Folder.StampNs < STAMP_NS;
    int NumEntries = 0;
    const auto Keep = [this, &Folder, &NumEntries](const QByteArray& Name, PATH_KINDS Kind) {
        Folder.Entries.insert(Name, Kind);
        return ++NumEntries <= m_MaxEntries;
    };
    if (Folder.Fresh || !ForEachEntry(Path, Keep)) {
        Folder.State = FOLDER_ASK;
        Folder.Entries.clear();
    }
    Folder.TrustMs = Remote ? TRUST_REMOTE_MS + TRUST_PER_MS * (GetTime() - Start) : 0;
}

bool CDirCache::_IsValid(FOLDER& Folder, const QString& sFolder) const
{
    if (Folder.pChanged && *Folder.pChanged) {
        return false;
    }
    const I64 Age = m_Now - Folder.CheckedMs;
    if (Age < (Folder.Watched ? CHECK_WATCHED_MS : Folder.TrustMs)) {
        return true;
    }
    Folder.CheckedMs = m_Now;
    struct stat Info = {};
    const bool IsThere = stat(QFile::encodeName(sFolder).constData(), &Info) == 0 && S_ISDIR(Info.st_mode);
    if (!IsThere || Folder.State == FOLDER_MISSING) {
        return !IsThere && Folder.State == FOLDER_MISSING;
    }
    return Info.st_dev == Folder.Device && Info.st_ino == Folder.Inode &&
           ToNs(Info.st_mtim) == Folder.StampNs && (!Folder.Fresh || WallNs() - Folder.StampNs < STAMP_NS);
}

CDirCache::FOLDER& CDirCache::_GetFolder(const QString& sFolder)
{
    std::shared_ptr<FOLDER>& pFolder = m_Folders[sFolder];
    if (!pFolder) {
        pFolder = std::make_shared<FOLDER>();
        _Read(*pFolder, sFolder);
    } else if (!_IsValid(*pFolder, sFolder)) {
        m_Matched.clear();
        _Read(*pFolder, sFolder);
    }
    m_Unwatched |= !pFolder->Watched;
    return *pFolder;
}

PATH_KINDS CDirCache::_GetKindIn(const FOLDER& Folder, const QByteArray& Name, const QString& sPath) const
{
    if (Folder.State == FOLDER_ASK) {
        return AskKind(sPath);
    }
    const auto it = Folder.Entries.constFind(Name);
    if (it == Folder.Entries.constEnd()) {
        return PATH_NONE;
    }
    return *it == PATH_NONE ? AskKind(sPath) : *it;
}

PATH_KINDS CDirCache::GetKind(const QString& sPath)
{
    if (!sPath.startsWith(QLatin1Char('/')) || sPath.size() >= MAX_PATH_BYTES) {
        return PATH_NONE;
    }
    const QString sName = NameOf(sPath);
    if (sName.isEmpty()) {
        return AskKind(sPath); // the root
    }
    const FOLDER& Folder = _GetFolder(ParentOf(sPath));
    return Folder.State == FOLDER_MISSING ? PATH_NONE : _GetKindIn(Folder, QFile::encodeName(sName), sPath);
}

bool CDirCache::HasFile(const QString& sFolder, const QString& sName, const QByteArray& Encoded)
{
    if (!sFolder.startsWith(QLatin1Char('/')) || sFolder.size() >= MAX_PATH_BYTES || sName.isEmpty()) {
        return false;
    }
    const FOLDER& Folder = _GetFolder(sFolder);
    if (Folder.State == FOLDER_MISSING ||
        (Folder.State == FOLDER_READ && !Folder.Entries.contains(Encoded))) {
        return false;
    }
    return _GetKindIn(Folder, Encoded, sFolder + QLatin1Char('/') + sName) == PATH_FILE;
}

QString CDirCache::FindIgnoringCase(const QString& sFolder, const QString& sName)
{
    if (!sFolder.startsWith(QLatin1Char('/')) || sFolder.size() >= MAX_PATH_BYTES || sName.isEmpty()) {
        return QString();
    }
    FOLDER& Folder = _GetFolder(sFolder);
    if (Folder.State == FOLDER_MISSING) {
        return QString();
    }
    const QString sFolded = sName.toCaseFolded();
    QByteArray Found;
    // Of several the smallest, so that the answer doesn't hang on the order of the folder.
    const auto Take = [&Found, &sName](const QByteArray& Name) {
        const QString s = QFile::decodeName(Name);
        if (s == sName || Found.isEmpty() || (Name < Found && QFile::decodeName(Found) != sName)) {
            if (QFile::encodeName(s) == Name) { // else no path of ours reaches it
                Found = Name;
            }
        }
    };
    if (Folder.State == FOLDER_READ) {
        if (Folder.FoldedNames.isEmpty()) {
            for (auto it = Folder.Entries.constBegin(); it != Folder.Entries.constEnd(); ++it) {
                Folder.FoldedNames.insert(QFile::decodeName(it.key()).toCaseFolded(), it.key());
            }
        }
        for (auto it = Folder.FoldedNames.constFind(sFolded);
             it != Folder.FoldedNames.constEnd() && it.key() == sFolded; ++it) {
            Take(it.value());
        }
    } else {
        ForEachEntry(QFile::encodeName(sFolder), [&](const QByteArray& Name, PATH_KINDS) {
            if (QFile::decodeName(Name).toCaseFolded() == sFolded) Take(Name);
            return true;
        });
    }
    return QFile::decodeName(Found);
}

QString CDirCache::MatchIgnoringCase(const QString& sPath)
{
    if (!sPath.startsWith(QLatin1Char('/')) || sPath.size() >= MAX_PATH_BYTES) {
        return QString();
    }
    if (sPath == QLatin1String("/")) {
        return sPath;
    }
    const auto it = m_Matched.constFind(sPath);
    if (it != m_Matched.constEnd()) {
        return *it;
    }
    const bool WasUnwatched = std::exchange(m_Unwatched, false);
    QString sFound;
    if (GetKind(sPath) != PATH_NONE) {
        sFound = sPath;
    } else if (const QString sParent = MatchIgnoringCase(ParentOf(sPath)); !sParent.isEmpty()) {
        const QString sName = FindIgnoringCase(sParent, NameOf(sPath));
        const bool IsRoot = sParent == QLatin1String("/");
        const QString sMatch = (IsRoot ? QString() : sParent) + QLatin1Char('/') + sName;
        if (!sName.isEmpty() && GetKind(sMatch) != PATH_NONE) {
            sFound = sMatch;
        }
    }
    if (!m_Unwatched) {
        m_Matched.insert(sPath, sFound);
    }
    m_Unwatched |= WasUnwatched;
    return sFound;
}
