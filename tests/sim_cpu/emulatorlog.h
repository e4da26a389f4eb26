// The emulator's log of all registers before every instruction, read from a pipe while it
// runs. Each translation block holds one instruction, so that nothing is left out.
#pragma once

#include "testmachine.h"

#include <QString>

class EmulatorLog {
public:
    EmulatorLog() = default;
    ~EmulatorLog() { Stop(); }
    EmulatorLog(const EmulatorLog&) = delete;
    EmulatorLog& operator=(const EmulatorLog&) = delete;

    // Starts the emulator with a raw image at the board's ROM. False with a message in
    // GetError() when it isn't installed or can't be started.
    bool Start(const BoardInfo& Info, const QString& sImageFile);
    void Stop();
    // The next record; false when the emulator ended or said something unexpected.
    bool Next(CpuState& State);
    QString GetError() const { return m_sError; }

private:
    bool FillBuffer();
    bool ReadLine(const char*& pLine, size_t& NumBytes);
    bool m_HasFp = false;
    int m_Pid = -1;
    int m_Fd = -1;
    std::vector<char> m_Buffer;
    size_t m_Begin = 0, m_End = 0;
    QString m_sError;
};
