// The operations of CSemiHost. Each gives 0 when it is done, 1 when it stays pending and -1 when it fails as such; a
// failure that is the program's to deal with is a result value and an error text. Device worker, target halted.
#include "targetio/semihost/semihost.h"

#include "targetio/semihost/semihostmemory.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <memory>

namespace {

constexpr U32 FAILED = U32(-1);
constexpr U32 SINGLE_CHARACTER = 0xFFFFFFFF;
constexpr U32 MAX_NAME_LEN = 254;
constexpr I32 MAX_WRITE_SIZE = 999'999;
constexpr I32 READ_SIZE_LIMIT = 1'000'000; ///< exclusive
constexpr U32 STRING_CHUNK = 128;
constexpr U32 STRING_PAGE = 4096;          ///< no chunk crosses it: memory ends at such a boundary
constexpr U32 MAX_STRING_SIZE = 4096;
constexpr int MAX_STRING_FAILURES = 3;
constexpr U32 HEAP_INFO_SIZE = 16;

// Reasons of SYS_EXIT. The register holds one, or the address of a block that begins with one.
constexpr U32 FIRST_EXIT_REASON = 0x20000;
constexpr U32 LAST_EXIT_REASON = 0x20026;
constexpr U32 EXIT_RUN_TIME_ERROR = 0x20023;
constexpr U32 EXIT_APPLICATION = 0x20026;

/// CR in front of each LF that has none; LastChar is the byte before the text.
QByteArray WithCarriageReturns(const QByteArray& Text, char LastChar)
{
    QByteArray s;
    for (const char c : Text) {
        if (c == '\n' && LastChar != '\r') s += '\r';
        s += c;
        LastChar = c;
    }
    return s;
}

} // namespace

const CSemiHost::OP_ROW CSemiHost::OP_TABLE[] = {
    {SYS_OPEN, "SYS_OPEN", &CSemiHost::_Open, nullptr},
    {SYS_CLOSE, "SysClose", &CSemiHost::_Close, nullptr},
    {SYS_WRITEC, "SysWriteC", &CSemiHost::_WriteC, nullptr},
    {SYS_WRITE0, "SysWrite0", &CSemiHost::_Write0, nullptr},
    {SYS_WRITE, "SysWrite", &CSemiHost::_Write, nullptr},
    {SYS_READ, "SysRead", &CSemiHost::_Read, nullptr},
    {SYS_READC, "SysReadC", &CSemiHost::_ReadC, nullptr},
    {SYS_ISERROR, "SysIsError", &CSemiHost::_IsError, nullptr},
    {SYS_ISTTY, "SysIsTty", &CSemiHost::_IsTty, nullptr},
    {SYS_SEEK, "SysSeek", &CSemiHost::_Seek, nullptr},
    {SYS_FLEN, "SysFlen", &CSemiHost::_FLen, nullptr},
    {SYS_TMPNAM, "SysTmpNam", nullptr, "Command SYS_TMPNAM failed: declined for security reasons."},
    {SYS_REMOVE, "SysRemove", nullptr,
     "Command SYS_REMOVE failed: target tries to remove file. Declined for security reasons."},
    {SYS_RENAME, "SysRename", nullptr,
     "Command SYS_RENAME failed: target tries to rename file. Declined for security reasons."},
    {SYS_CLOCK, "SysClock", &CSemiHost::_Clock, nullptr},
    {SYS_TIME, "SysTime", &CSemiHost::_Time, nullptr},
    {SYS_SYSTEM, "SysSystem", nullptr,
     "Command SYS_SYSTEM failed: target tries to pass a command to host command interpreter. Declined for security "
     "reasons."},
    {SYS_ERRNO, "SysErrno", &CSemiHost::_Errno, nullptr},
    {SYS_GET_CMDLINE, "SysGetCmdLine", &CSemiHost::_GetCmdLine, nullptr},
    {SYS_HEAPINFO, "SysHeapInfo", &CSemiHost::_HeapInfo, nullptr},
    {SYS_ENTERSVC, "", &CSemiHost::_EnterSVC, nullptr},
    {SYS_EXIT, "SysExit", &CSemiHost::_Exit, nullptr},
    {SYS_ELAPSED, "SysElapsed", nullptr, "Command SYS_ELAPSED failed: command is not supported."},
    {SYS_TICKFREQ, "SysTickFreq", nullptr, "Command SYS_TICKFREQ failed: command not supported."},
    {0, nullptr, nullptr, nullptr},
};

int CSemiHost::_Fail(REQUEST& Request, const QString& sText)
{
    Request.Result = FAILED;
    emit PrintError(sText);
    return SEMIHOST_DONE;
}

int CSemiHost::_FailHandle(REQUEST& Request, const QString& sText)
{
    m_Files.SetErrno(EBADF);
    return _Fail(Request, sText);
}

int CSemiHost::_Open(REQUEST& Request)
{
    U32 aParam[3];
    QByteArray Name;
    const QString sUnreadable = QStringLiteral("Command SYS_OPEN failed: target memory could not be read");
    if (SEMIHOST_ReadWords(Request.Operand, 3, aParam) != 0) return _Fail(Request, sUnreadable);
    if (aParam[2] > MAX_NAME_LEN)
        return _Fail(Request, QStringLiteral("Command SYS_OPEN failed: max. file name size exceeded"));
    if (SEMIHOST_ReadBytes(aParam[0], aParam[2], &Name) != 0) return _Fail(Request, sUnreadable);
    if (const qsizetype End = Name.indexOf('\0'); End >= 0) Name.truncate(End);
    Request.Result = Name == SEMIHOST_CONSOLE_NAME ? SEMIHOST_HANDLE_TTY
                                                   : U32(m_Files.Open(QFile::decodeName(Name), aParam[1]));
    return SEMIHOST_DONE;
}

int CSemiHost::_Close(REQUEST& Request)
{
    U32 Handle = 0;
    if (SEMIHOST_ReadWords(Request.Operand, 1, &Handle) != 0)
        return _Fail(Request, QStringLiteral("Command SYS_CLOSE failed. target memory could not be read."));
    if (!m_Files.Close(Handle))
        return _FailHandle(Request, QStringLiteral("Command SYS_CLOSE failed. Invalid file handle."));
    return SEMIHOST_DONE;
}

int CSemiHost::_WriteC(REQUEST& Request)
{
    U8 Byte = 0;
    if (SEMIHOST_ReadByte(Request.Operand, &Byte) != 0)
        return _Fail(Request, QStringLiteral("Command SYS_WRITEC failed. Could not read target memory."));
    _PrintBytes(QByteArray(1, char(Byte)));
    return SEMIHOST_DONE;
}

int CSemiHost::_Write0(REQUEST& Request)
{
    U32 Addr = Request.Operand;
    U32 ChunkSize = STRING_CHUNK;
    U32 NumRead = 0;
    int NumFailures = 0;
    char LastChar = '\0';
    while (NumRead < MAX_STRING_SIZE) {
        const U32 Size = std::min({ChunkSize, STRING_PAGE - Addr % STRING_PAGE, MAX_STRING_SIZE - NumRead});
        QByteArray Chunk;
        if (SEMIHOST_ReadBytes(Addr, Size, &Chunk) != 0) {
            ChunkSize = std::max(ChunkSize / 2, 1u);
            if (++NumFailures == MAX_STRING_FAILURES) break;
            continue;
        }
        const qsizetype End = Chunk.indexOf('\0');
        if (End >= 0) Chunk.truncate(End);
        _PrintBytes(WithCarriageReturns(Chunk, LastChar));
        if (End >= 0) return SEMIHOST_DONE;
        LastChar = Chunk.back();
        NumRead += Size;
        Addr += Size;
        QThread::msleep(1);
        if (m_Canceled) break;
    }
    emit PrintError(QStringLiteral("Command SYS_WRITE0 failed. Could not find string terminating 0. %1 bytes read.")
                        .arg(NumRead));
    return SEMIHOST_DONE;
}

int CSemiHost::_Write(REQUEST& Request)
{
    U32 aParam[3];
    QByteArray Data;
    const QString sUnreadable = QStringLiteral("Command SYS_WRITE failed. target memory could not be read.");
    if (SEMIHOST_ReadWords(Request.Operand, 3, aParam) != 0) return _Fail(Request, sUnreadable);
    const I32 Size = I32(aParam[2]);
    if (Size < 1) return SEMIHOST_DONE;
    const bool IsTerminal = SEMIHOST_IsTerminal(aParam[0]);
    QFile* pFile = m_Files.Find(aParam[0]);
    if (!IsTerminal && !pFile)
        return _FailHandle(Request, QStringLiteral("Command SYS_WRITE failed. Invalid file handle."));
    if (Size > MAX_WRITE_SIZE)
        return _Fail(Request, QStringLiteral("Command SYS_WRITE failed. data limit exceeded."));
    if (SEMIHOST_ReadBytes(aParam[1], U32(Size), &Data) != 0) return _Fail(Request, sUnreadable);
    if (IsTerminal) {
        _PrintBytes(Data);
        return SEMIHOST_DONE;
    }
    errno = 0;
    const qint64 NumWritten = std::max<qint64>(pFile->write(Data), 0);
    if (NumWritten < Size) m_Files.SetErrno(errno ? errno : EIO);
    Request.Result = U32(Size - NumWritten);
    return SEMIHOST_DONE;
}

int CSemiHost::_Read(REQUEST& Request)
{
    U32 aParam[3];
    if (SEMIHOST_ReadWords(Request.Operand, 3, aParam) != 0) {
        _Fail(Request, QStringLiteral("Semihosting Command SYS_READ failed. could not read target memory."));
        return -1;
    }
    const I32 Size = I32(aParam[2]);
    if (Size <= 0) return SEMIHOST_DONE;
    const bool IsTerminal = SEMIHOST_IsTerminal(aParam[0]);
    QFile* pFile = m_Files.Find(aParam[0]);
    if (!IsTerminal && !pFile)
        return _FailHandle(Request, QStringLiteral("Semihosting Command SYS_READ failed. Invalid file handle."));
    if (Size >= READ_SIZE_LIMIT)
        return _Fail(Request, QStringLiteral("Command SYS_READ failed. data size exceeds limit."));
    if (IsTerminal) {
        m_InputAddr = aParam[1];
        m_InputCount = Size;
        emit InputRequestStarted(U32(Size));
        return SEMIHOST_PENDING;
    }
    const std::unique_ptr<char[]> pData(new (std::nothrow) char[size_t(Size)]);
    if (!pData) return _Fail(Request, QStringLiteral("Command SYS_READ failed. out of memory"));
    errno = 0;
    const qint64 NumRead = pFile->read(pData.get(), Size);
    if (NumRead < 0) m_Files.SetErrno(errno ? errno : EIO);
    const QByteArray Data(pData.get(), std::max<qint64>(NumRead, 0));
    if (SEMIHOST_WriteBytes(aParam[1], Data) != 0)
        return _Fail(Request, QStringLiteral("Command SYS_READ failed. could not write target memory."));
    Request.Result = U32(Size - Data.size());
    return SEMIHOST_DONE;
}

int CSemiHost::_ReadC(REQUEST&)
{
    m_InputAddr = SINGLE_CHARACTER;
    m_InputCount = 1;
    emit InputRequestStarted(1);
    return SEMIHOST_PENDING;
}

int CSemiHost::_IsError(REQUEST&)
{
    return SEMIHOST_DONE;
}

int CSemiHost::_IsTty(REQUEST& Request)
{
    U32 Handle = 0;
    if (SEMIHOST_ReadWords(Request.Operand, 1, &Handle) != 0)
        return _Fail(Request, QStringLiteral("Command SysIsTty failed. target memory could not be read."));
    Request.Result = SEMIHOST_IsTerminal(Handle);
    return SEMIHOST_DONE;
}

int CSemiHost::_Seek(REQUEST& Request)
{
    U32 aParam[2];
    if (SEMIHOST_ReadWords(Request.Operand, 2, aParam) != 0)
        return _Fail(Request, QStringLiteral("Command SYS_SEEK failed. Target memory could not be read."));
    QFile* pFile = m_Files.Find(aParam[0]);
    if (!pFile) return _FailHandle(Request, QStringLiteral("Command SYS_SEEK failed. Invalid file handle."));
    errno = 0;
    if (!pFile->seek(aParam[1])) {
        m_Files.SetErrno(errno ? errno : EINVAL);
        return _Fail(Request, QStringLiteral("Command SYS_SEEK failed. Could not seek position."));
    }
    return SEMIHOST_DONE;
}

int CSemiHost::_FLen(REQUEST& Request)
{
    U32 Handle = 0;
    if (SEMIHOST_ReadWords(Request.Operand, 1, &Handle) != 0)
        return _Fail(Request, QStringLiteral("Command SYS_FLEN failed. Target memory could not be read."));
    if (SEMIHOST_IsTerminal(Handle)) return SEMIHOST_DONE;
    const QFile* pFile = m_Files.Find(Handle);
    if (!pFile) {
        m_Files.SetErrno(EBADF);
        Request.Result = FAILED;
        emit PrintDebug(QStringLiteral("Command SYS_FLEN failed. Invalid file handle."));
        return SEMIHOST_DONE;
    }
    Request.Result = U32(pFile->size());
    return SEMIHOST_DONE;
}

int CSemiHost::_Clock(REQUEST& Request)
{
    Request.Result = U32(QDateTime::currentMSecsSinceEpoch() / 10);
    return SEMIHOST_DONE;
}

int CSemiHost::_Time(REQUEST& Request)
{
    Request.Result = U32(QDateTime::currentSecsSinceEpoch());
    return SEMIHOST_DONE;
}

int CSemiHost::_Errno(REQUEST& Request)
{
    Request.Result = U32(m_Files.GetErrno());
    return SEMIHOST_DONE;
}

int CSemiHost::_GetCmdLine(REQUEST& Request)
{
    U32 aParam[2];
    if (SEMIHOST_ReadWords(Request.Operand, 2, aParam) != 0)
        return _Fail(Request, QStringLiteral("Command SYS_GET_CMDLINE failed. Target memory could not be read."));
    QByteArray Text = QCoreApplication::arguments().join(QLatin1Char(' ')).toUtf8();
    if (aParam[1] == 0) return _Fail(Request, QStringLiteral("Command SYS_GET_CMDLINE failed. The buffer is empty."));
    if (aParam[1] <= U32(Text.size())) Text.truncate(qsizetype(aParam[1]) - 1);
    const U32 Length = U32(Text.size());
    if (SEMIHOST_WriteBytes(aParam[0], Text.append('\0')) != 0 || SEMIHOST_WriteWord(Request.Operand + 4, Length) != 0)
        return _Fail(Request, QStringLiteral("Command SYS_GET_CMDLINE failed. Target memory could not be written."));
    return SEMIHOST_DONE;
}

int CSemiHost::_HeapInfo(REQUEST& Request)
{
    U32 Addr = 0;
    if (SEMIHOST_ReadWords(Request.Operand, 1, &Addr) != 0)
        return _Fail(Request, QStringLiteral("Command SYS_HeapInfo failed: target memory could not be read."));
    if (SEMIHOST_WriteBytes(Addr, QByteArray(HEAP_INFO_SIZE, '\0')) != 0)
        return _Fail(Request, QStringLiteral("Command SYS_HeapInfo failed: target memory could not be written."));
    return SEMIHOST_DONE;
}

int CSemiHost::_EnterSVC(REQUEST&)
{
    return SEMIHOST_DONE;
}

int CSemiHost::_Exit(REQUEST& Request)
{
    U32 Reason = Request.Operand;
    const bool IsReason = Reason >= FIRST_EXIT_REASON && Reason <= LAST_EXIT_REASON;
    if (!IsReason && SEMIHOST_ReadWords(Request.Operand, 1, &Reason) != 0) return SEMIHOST_DONE;
    switch (Reason) {
    case EXIT_APPLICATION: emit PrintDebug(QStringLiteral("Target application exited normally.\n")); return SEMIHOST_DONE;
    case EXIT_RUN_TIME_ERROR:
        emit PrintDebug(QStringLiteral("Target application exited with error.\n"));
        return SEMIHOST_DONE;
    default:
        emit PrintDebug(QStringLiteral("Target application exited with unknown status (0x%1).\n")
                            .arg(QString::number(Reason, 16).toUpper()));
        return SEMIHOST_PENDING;
    }
}

void CSemiHost::_PrintBytes(const QByteArray& Bytes)
{
    // The decoder keeps the first bytes of a character whose rest comes with the next request.
    const QString sText = m_Decoder.decode(Bytes);
    if (!sText.isEmpty()) emit PrintDebug(sText);
}
