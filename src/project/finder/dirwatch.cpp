#include "project/finder/dirwatch.h"

#include <algorithm>

#ifdef __linux__
#include <sys/inotify.h>
#include <unistd.h>

namespace {
/// The user's other programs draw on the same supply of watches.
constexpr qsizetype MAX_WATCHES = 8192;
constexpr U32 EVENTS =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr U32 LOSSES = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED | IN_Q_OVERFLOW;
} // namespace

CDirWatch::~CDirWatch()
{
    Clear();
}

void CDirWatch::Clear()
{
    if (m_Queue >= 0) {
        close(m_Queue);
        m_Queue = -1;
    }
    m_Watches.clear();
}

CDirWatch::WATCH* CDirWatch::_Add(const QByteArray& Folder)
{
    if (m_Queue < 0) {
        m_Queue = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    }
    if (m_Queue < 0 || m_Watches.size() >= MAX_WATCHES) {
        return nullptr;
    }
    const int Id = inotify_add_watch(m_Queue, Folder.constData(), EVENTS);
    return Id < 0 ? nullptr : &m_Watches[Id];
}

CDirWatch::RESULTS CDirWatch::_Handle(U32 Mask, int Id, const char* sName)
{
    if (Mask & LOSSES) {
        return LOST;
    }
    const auto it = m_Watches.constFind(Id);
    if (it == m_Watches.constEnd()) {
        return NOTHING;
    }
    if (!it->Entries.isEmpty() && it->Entries.contains(QByteArray(sName))) {
        return LOST;
    }
    for (const std::shared_ptr<bool>& pChanged : it->Changed) {
        *pChanged = true;
    }
    return it->Changed.empty() ? NOTHING : CHANGED;
}

CDirWatch::RESULTS CDirWatch::Poll()
{
    RESULTS Result = NOTHING;
    alignas(inotify_event) char aBuffer[16384];
    while (m_Queue >= 0) {
        const ssize_t NumBytes = read(m_Queue, aBuffer, sizeof(aBuffer));
        if (NumBytes <= 0) {
            break;
        }
        for (ssize_t Pos = 0; Pos < NumBytes;) {
            const auto* pEvent = reinterpret_cast<const inotify_event*>(aBuffer + Pos);
            Result = std::max(Result, _Handle(pEvent->mask, pEvent->wd, pEvent->len > 0 ? pEvent->name : ""));
            Pos += static_cast<ssize_t>(sizeof(inotify_event) + pEvent->len);
        }
        if (Result == LOST) {
            Clear();
        }
    }
    return Result;
}
#else
// Without a queue of changes every folder is asked for its time stamp.
CDirWatch::~CDirWatch() = default;

void CDirWatch::Clear() {}

CDirWatch::WATCH* CDirWatch::_Add(const QByteArray&)
{
    return nullptr;
}

CDirWatch::RESULTS CDirWatch::Poll()
{
    return NOTHING;
}
#endif

bool CDirWatch::WatchEntries(const QByteArray& Folder, const std::shared_ptr<bool>& pChanged)
{
    WATCH* pWatch = _Add(Folder);
    if (pWatch) {
        // What nobody else holds belongs to an earlier reading of the folder.
        std::erase_if(pWatch->Changed, [](const auto& p) { return p.use_count() == 1; });
        pWatch->Changed.push_back(pChanged);
    }
    return pWatch != nullptr;
}

bool CDirWatch::WatchEntry(const QByteArray& Folder, const QByteArray& Name)
{
    WATCH* pWatch = _Add(Folder);
    if (pWatch) {
        pWatch->Entries.insert(Name);
    }
    return pWatch != nullptr;
}
