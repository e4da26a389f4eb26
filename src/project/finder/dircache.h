// What stands in which folder, remembered, so that thousands of lookups cost one reading of each
// folder instead of a question to the file system for each candidate.
//
//   CDirCache Dirs;
//   Dirs.Poll();                                    // once before a group of lookups
//   if (Dirs.GetKind("/src/a.c") == PATH_FILE) ...
//
// Nothing stale is given out: a change in a folder of this machine is reported by the system and seen
// by the next Poll(). A folder that can't be watched is asked for its time stamp at each use, one on a
// network at intervals that follow from how long it takes to answer, so that slow folders hold up
// the caller for a small share of the time only. One thread.
#pragma once
#include "app/services/types.h"
#include "project/finder/dirwatch.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <memory>

enum PATH_KINDS : U8 {
    PATH_NONE,  ///< nothing, or a link that leads nowhere
    PATH_FILE,  ///< a regular file, also through links
    PATH_OTHER, ///< a folder, device or the like
};

class CDirCache {
public:
    /// A larger folder isn't kept but asked for each name.
    static constexpr int MAX_ENTRIES = 50000;

    /// Watch false: changes are told from time stamps alone, as where the system reports none.
    explicit CDirCache(bool Watch = true, int MaxEntries = MAX_ENTRIES);
    ~CDirCache();
    CDirCache(const CDirCache&) = delete;
    CDirCache& operator=(const CDirCache&) = delete;

    /// Takes notice of what changed. True if an earlier answer may be different now.
    bool Poll();
    /// The steady clock that all times here go by, in ms.
    static I64 GetTime();
    I64 GetPollTime() const; ///< at the last Poll()
    /// True if an answer since the last call rests on a folder that isn't watched.
    bool TakeUnwatched();
    /// Forgets everything.
    void Clear();

    /// What stands at an absolute, clean path.
    PATH_KINDS GetKind(const QString& sPath);
    /// True if the folder (absolute, clean) holds a file of that name. Encoded is the name as the
    /// system writes it (QFile::encodeName), so that a search of many folders works it out once.
    bool HasFile(const QString& sFolder, const QString& sName, const QByteArray& Encoded);
    /// Name, as the folder spells it, of the file or folder whose name equals this one ignoring case;
    /// an exact match wins. Empty if none.
    QString FindIgnoringCase(const QString& sFolder, const QString& sName);
    /// The existing path that equals an absolute, clean one ignoring case; empty if none.
    QString MatchIgnoringCase(const QString& sPath);

private:
    struct FOLDER;
    FOLDER& _GetFolder(const QString& sFolder);
    void _Read(FOLDER& Folder, const QString& sFolder);
    bool _WatchParents(const QString& sFolder);
    bool _Sweep();
    bool _IsValid(FOLDER& Folder, const QString& sFolder) const;
    PATH_KINDS _GetKindIn(const FOLDER& Folder, const QByteArray& Name, const QString& sPath) const;

    QHash<QString, std::shared_ptr<FOLDER>> m_Folders;
    QHash<QString, QString> m_Matched; ///< results of MatchIgnoringCase that rest on watched folders
    QHash<QString, bool> m_Parents;    ///< results of _WatchParents
    CDirWatch m_Watch;
    I64 m_Now = 0;
    I64 m_SweptMs = 0;
    bool m_DoWatch;
    int m_MaxEntries;
    bool m_Unwatched = false;
};
