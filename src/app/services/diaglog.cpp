#include "app/services/diaglog.h"

#include "app/services/cmdline.h"
#include "app/services/logfile.h"
#include "app/services/mainthread.h"

#include <QByteArray>
#include <QSet>

namespace {
U32 HashText(const QByteArray& Text)
{
    U32 h = 5381;
    for (const char c : Text) h = h * 33 + U8(c);
    return h;
}
} // namespace

bool IsLogRouteOpen(U32 Flags)
{
    if (Flags & (MSG_CONSOLE | MSG_ALL)) return true;
    if ((Flags & MSG_FILE) && IsLogFileOpen(LOG_SLOT_APP)) return true;
    return (Flags & MSG_STDOUT) && IsDebugConsole();
}

void LogDeviceMsg(const QString& sText, U32 Flags)
{
    if (IsLogRouteOpen(Flags)) Log(sText, Flags);
}

void LogProgramDiag(const QString& sText, U32 Flags, U64 hProgram)
{
    if (!IsLogRouteOpen(Flags)) return;
    if (IsMainThread()) {
        static QSet<U32> Seen;
        static U64 hSeen = 0;
        if (hSeen != hProgram) {
            Seen.clear();
            hSeen = hProgram;
        }
        const U32 Hash = HashText(sText.toUtf8());
        if (Seen.contains(Hash)) return;
        Seen.insert(Hash);
    }
    Log(sText, Flags | MSG_THREAD);
}
