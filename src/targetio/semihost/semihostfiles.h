// The host's files that the target has open, by the handle that it knows them by. Device worker.
#pragma once
#include "app/services/types.h"

#include <QFile>
#include <QString>
#include <map>
#include <memory>

inline constexpr U32 SEMIHOST_HANDLE_TTY = 0xFFFFFF00;  ///< -256: what the console name opens
inline constexpr U32 SEMIHOST_HANDLE_STDOUT = 1;        ///< the terminal as well
inline constexpr char SEMIHOST_CONSOLE_NAME[] = ":tt";

inline bool SEMIHOST_IsTerminal(U32 Handle)
{
    return Handle == SEMIHOST_HANDLE_TTY || Handle == SEMIHOST_HANDLE_STDOUT;
}

class CSemiHostFiles {
public:
    /// Opens a file in one of the modes 0 to 11 of fopen's order; the handle, or -1. Modes that read need a file.
    int Open(const QString& sName, U32 Mode);
    QFile* Find(U32 Handle) const;  ///< null for a handle that isn't open
    bool Close(U32 Handle);         ///< false for a handle that isn't open
    void CloseAll() { m_Files.clear(); }

    int GetErrno() const { return m_Errno; } ///< of the last failure
    void SetErrno(int Errno) { m_Errno = Errno; }

private:
    std::map<U32, std::unique_ptr<QFile>> m_Files;
    int m_Errno = 0;
};
