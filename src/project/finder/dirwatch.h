// Tells which of a number of folders have changed since they were asked for last, without a thread
// and without an event loop: the system queues the changes, and reading the queue empties it.
#pragma once
#include "app/services/types.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <memory>
#include <vector>

class CDirWatch {
public:
    CDirWatch() = default;
    ~CDirWatch();
    CDirWatch(const CDirWatch&) = delete;
    CDirWatch& operator=(const CDirWatch&) = delete;

    /// Reports any change of the folder's entries by setting *pChanged. False: it can't be watched.
    bool WatchEntries(const QByteArray& Folder, const std::shared_ptr<bool>& pChanged);
    /// Reports only what happens to one entry, and reports it as a loss (see Poll).
    bool WatchEntry(const QByteArray& Folder, const QByteArray& Name);

    enum RESULTS { NOTHING, CHANGED, LOST };
    /// LOST: a watched folder itself was moved, removed or replaced, or the queue ran over. All
    /// watches are gone then, and what is known of any folder is worth nothing.
    RESULTS Poll();
    void Clear();

private:
    struct WATCH {
        std::vector<std::shared_ptr<bool>> Changed; ///< one for each path that leads to the folder
        QSet<QByteArray> Entries;
    };
    WATCH* _Add(const QByteArray& Folder);
    RESULTS _Handle(U32 Mask, int Id, const char* sName);

    int m_Queue = -1; ///< descriptor, -1 before the first watch
    QHash<int, WATCH> m_Watches;
};
