// The host's files that the target has open.
#include "targetio/semihost/semihostfiles.h"

#include <QIODevice>
#include <cerrno>
#include <iterator>

namespace {

constexpr U32 LAST_READ_MODE = 3;
constexpr QIODevice::OpenMode OPEN_MODES[] = {
    QIODevice::ReadOnly,                         // r, rb
    QIODevice::ReadOnly,
    QIODevice::ReadWrite,                        // r+, r+b
    QIODevice::ReadWrite,
    QIODevice::WriteOnly | QIODevice::Truncate,  // w, wb
    QIODevice::WriteOnly | QIODevice::Truncate,
    QIODevice::ReadWrite | QIODevice::Truncate,  // w+, w+b
    QIODevice::ReadWrite | QIODevice::Truncate,
    QIODevice::WriteOnly | QIODevice::Append,    // a, ab
    QIODevice::WriteOnly | QIODevice::Append,
    QIODevice::ReadWrite,                        // a+, a+b
    QIODevice::ReadWrite,
};

} // namespace

int CSemiHostFiles::Open(const QString& sName, U32 Mode)
{
    if (Mode >= std::size(OPEN_MODES)) {
        m_Errno = EINVAL;
        return -1;
    }
    auto pFile = std::make_unique<QFile>(sName);
    if (Mode <= LAST_READ_MODE && !pFile->exists()) {
        m_Errno = ENOENT;
        return -1;
    }
    errno = 0;
    // Without a buffer the file on the disk is what the program has written.
    if (!pFile->open(OPEN_MODES[Mode] | QIODevice::Unbuffered)) {
        m_Errno = errno ? errno : EACCES;
        return -1;
    }
    const int Handle = pFile->handle();
    if (Handle < 0) return -1;
    m_Files[U32(Handle)] = std::move(pFile);
    return Handle;
}

QFile* CSemiHostFiles::Find(U32 Handle) const
{
    const auto it = m_Files.find(Handle);
    return it == m_Files.end() ? nullptr : it->second.get();
}

bool CSemiHostFiles::Close(U32 Handle)
{
    return m_Files.erase(Handle) > 0;
}
