#include "emulatorlog.h"

#include <QStandardPaths>

#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

bool EmulatorLog::Start(const BoardInfo& Info, const QString& sImageFile)
{
    QString sProgram = QStandardPaths::findExecutable("qemu-system-arm");
    if (sProgram.isEmpty()) {
        m_sError = "qemu-system-arm is not installed: the lockstep tests compare with it";
        return false;
    }
    m_HasFp = Info.HasFp;
    m_Buffer.resize(1 << 20);
    m_Begin = m_End = 0;
    QByteArray Loader =
        QString("loader,file=%1,addr=0x%2,force-raw=on").arg(sImageFile).arg(Info.Rom, 0, 16).toLocal8Bit();
    QByteArray Program = sProgram.toLocal8Bit();
    const char* aArgs[] = {Program.constData(),
                           "-M",
                           Info.sMachine,
                           "-display",
                           "none",
                           "-serial",
                           "none",
                           "-monitor",
                           "none",
                           "-device",
                           Loader.constData(),
                           "-singlestep",
                           "-D",
                           "/dev/stdout",
                           "-d",
                           m_HasFp ? "cpu,fpu,nochain" : "cpu,nochain",
                           nullptr};
    int Pipe[2];
    if (pipe2(Pipe, O_CLOEXEC) != 0) return false;
    fcntl(Pipe[0], F_SETPIPE_SZ, 1 << 20);
    m_Pid = fork();
    if (m_Pid == 0) {
        dup2(Pipe[1], 1);
        int Null = open("/dev/null", O_WRONLY);
        if (Null >= 0) dup2(Null, 2);
        execv(aArgs[0], const_cast<char**>(aArgs));
        _exit(127);
    }
    close(Pipe[1]);
    m_Fd = Pipe[0];
    return m_Pid > 0;
}

void EmulatorLog::Stop()
{
    if (m_Pid > 0) {
        kill(m_Pid, SIGKILL);
        waitpid(m_Pid, nullptr, 0);
    }
    if (m_Fd >= 0) close(m_Fd);
    m_Pid = m_Fd = -1;
}

bool EmulatorLog::FillBuffer()
{
    memmove(m_Buffer.data(), m_Buffer.data() + m_Begin, m_End - m_Begin);
    m_End -= m_Begin;
    m_Begin = 0;
    if (m_End == m_Buffer.size()) return false;
    ssize_t Count = read(m_Fd, m_Buffer.data() + m_End, m_Buffer.size() - m_End);
    if (Count <= 0) return false;
    m_End += size_t(Count);
    return true;
}

bool EmulatorLog::ReadLine(const char*& pLine, size_t& NumBytes)
{
    for (;;) {
        const char* p = m_Buffer.data() + m_Begin;
        if (const void* pEnd = memchr(p, '\n', m_End - m_Begin)) {
            pLine = p;
            NumBytes = size_t(static_cast<const char*>(pEnd) - p);
            m_Begin += NumBytes + 1;
            return true;
        }
        if (!FillBuffer()) {
            m_sError = "the emulator ended";
            return false;
        }
    }
}

namespace {

uint32_t Hex(const char* p)
{
    uint32_t Value = 0;
    for (int i = 0; i < 8; ++i) {
        char c = p[i];
        Value = Value << 4 | uint32_t(c <= '9' ? c - '0' : c - 'a' + 10);
    }
    return Value;
}

} // namespace

// Four lines of general registers "R00=........ R01=...", one "XPSR=...", and with floating
// point sixteen "s00=........ s01=........ d00=..." and one "FPSCR: ........".
bool EmulatorLog::Next(CpuState& State)
{
    const char* p;
    size_t NumBytes;
    while (ReadLine(p, NumBytes)) {
        if (NumBytes >= 51 && p[0] == 'R' && p[3] == '=') {
            unsigned First = unsigned(p[1] - '0') * 10 + unsigned(p[2] - '0');
            for (unsigned i = 0; i < 4 && First < 13; ++i) State.R[First + i] = Hex(p + 4 + 13 * i);
        } else if (NumBytes >= 13 && !memcmp(p, "XPSR=", 5)) {
            State.Xpsr = Hex(p + 5);
            if (!m_HasFp) return true;
        } else if (NumBytes >= 25 && p[0] == 's' && p[3] == '=') {
            unsigned First = unsigned(p[1] - '0') * 10 + unsigned(p[2] - '0');
            if (First < 31) {
                State.S[First] = Hex(p + 4);
                State.S[First + 1] = Hex(p + 17);
            }
        } else if (NumBytes >= 15 && !memcmp(p, "FPSCR: ", 7)) {
            State.Fpscr = Hex(p + 7);
            return true;
        }
    }
    return false;
}
