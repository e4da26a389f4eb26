#include "app/services/log.h"

#include "app/services/cmdline.h"
#include "app/services/logfile.h"

#include <QByteArray>
#include <algorithm>
#include <cstdio>
#include <mutex>

namespace {
constexpr int MAX_LOG_CHARS = 2048;
constexpr int DEFAULT_BATCH_THRESHOLD = 512;

struct LOGGER {
    std::mutex Mutex;
    LOG_CONSOLE_SINK ConsoleSink;
    LOG_STDOUT_SINK StdoutSink;
    QByteArray Batch;
    int Threshold = -1; ///< bytes, -1 until first read from the command line
};

LOGGER& Logger()
{
    static LOGGER Instance;
    return Instance;
}

/// True while this thread is inside the logger: a sink or a file operation that logs would wait for itself.
thread_local bool IsInLogger = false;

struct LOGGER_LOCK {
    explicit LOGGER_LOCK(LOGGER& Log) : Guard(Log.Mutex) { IsInLogger = true; }
    ~LOGGER_LOCK() { IsInLogger = false; }
    std::lock_guard<std::mutex> Guard;
};

const char* GetPrefix(U32 Flags)
{
    if (Flags & MSG_INFO) return " i  ";
    if (Flags & MSG_WARNING) return "[W] ";
    if (Flags & MSG_ERROR) return "[E] ";
    return "";
}

QString PrepareText(const QString& sText)
{
    qsizetype n = std::min<qsizetype>(sText.size(), MAX_LOG_CHARS);
    while (n > 0 && (sText[n - 1] == '\n' || sText[n - 1] == '\r' || sText[n - 1] == ' ')) n--;
    // Most texts are right as they are, and then nothing is copied.
    QString s = n == sText.size() ? sText : sText.left(n);
    if (n > 0 && sText[0] != sText[0].toUpper()) s[0] = sText[0].toUpper();
    return s;
}

int ReadThreshold()
{
    const int n = GetCmdLineArgs().LogInterval.toInt();
    return n < 1 ? DEFAULT_BATCH_THRESHOLD : n;
}

void WriteStdout(const LOGGER& Log, const QString& sLine)
{
    if (Log.StdoutSink) {
        Log.StdoutSink(sLine);
        return;
    }
    const QByteArray Bytes = sLine.toUtf8() + '\n';
    std::fwrite(Bytes.constData(), 1, size_t(Bytes.size()), stdout);
    std::fflush(stdout);
}

void FlushBatch(LOGGER& Log)
{
    if (Log.Batch.isEmpty()) return;
    WriteLogFile(LOG_SLOT_APP, Log.Batch);
    Log.Batch.clear();
}

void AppendToBatch(LOGGER& Log, const char* sPrefix, const QString& sText)
{
    if (Log.Threshold < 0) Log.Threshold = ReadThreshold();
    if (Log.Batch.size() >= Log.Threshold) FlushBatch(Log);
    Log.Batch += sPrefix;
    Log.Batch += sText.toUtf8();
    Log.Batch += '\n';
}

void OnQtMessage(QtMsgType Type, const QMessageLogContext&, const QString& sText)
{
    U32 Flags = MSG_INFO | MSG_STDOUT | MSG_FILE;
    if (Type == QtWarningMsg) Flags = MSG_WARNING | MSG_STDOUT | MSG_FILE;
    if (Type == QtCriticalMsg || Type == QtFatalMsg) Flags = MSG_ERROR | MSG_STDOUT | MSG_FILE | MSG_CONSOLE;
    if (!(Flags & MSG_CONSOLE) && !IsLoggingOn()) return;
    Log(sText, Flags | MSG_QT);
    // Qt ends the program behind a fatal message: what the batch holds would be lost.
    if (Type == QtFatalMsg) FlushLog();
}
} // namespace

QString GetLogPrefix(U32 Flags)
{
    return QString::fromLatin1(GetPrefix(Flags));
}

int Log(const QString& sText, U32 Flags)
{
    if (sText.isEmpty()) return -1;
    if (IsInLogger) return -1;
    LOGGER& Log = Logger();
    const LOGGER_LOCK Lock(Log);
    const QString s = PrepareText(sText);
    if ((Flags & (MSG_CONSOLE | MSG_ALL)) && Log.ConsoleSink) Log.ConsoleSink(s, Flags);
    if ((Flags & (MSG_STDOUT | MSG_ALL)) && IsDebugConsole()) WriteStdout(Log, GetLogPrefix(Flags) + s);
    if ((Flags & (MSG_FILE | MSG_ALL)) && IsLogFileOpen(LOG_SLOT_APP)) AppendToBatch(Log, GetPrefix(Flags), s);
    return 0;
}

void LogDebug(const QString& sText)
{
    if (IsLogFileOpen(LOG_SLOT_APP)) Log(sText, MSG_INFO | MSG_FILE | MSG_LEVEL_CALL);
}

void LogInfo(const QString& sText)
{
    Log(sText, MSG_INFO | MSG_ALL | MSG_LEVEL_CALL);
}

void LogWarning(const QString& sText)
{
    if (IsLoggingOn()) Log(sText, MSG_WARNING | MSG_STDOUT | MSG_FILE | MSG_LEVEL_CALL);
}

void LogError(const QString& sText)
{
    Log(sText, MSG_ERROR | MSG_ALL | MSG_LEVEL_CALL);
}

bool IsLoggingOn()
{
    return IsLogFileOpen(LOG_SLOT_APP) || IsDebugConsole();
}

void SetLogConsoleSink(LOG_CONSOLE_SINK Sink)
{
    LOGGER& Log = Logger();
    const LOGGER_LOCK Lock(Log);
    Log.ConsoleSink = std::move(Sink);
}

void SetLogStdoutSink(LOG_STDOUT_SINK Sink)
{
    LOGGER& Log = Logger();
    const LOGGER_LOCK Lock(Log);
    Log.StdoutSink = std::move(Sink);
}

void FlushLog()
{
    if (IsInLogger) return;
    LOGGER& Log = Logger();
    const LOGGER_LOCK Lock(Log);
    FlushBatch(Log);
}

int GetLogBatchSize()
{
    LOGGER& Log = Logger();
    const LOGGER_LOCK Lock(Log);
    return int(Log.Batch.size());
}

void ShutdownLog()
{
    LOGGER& Log = Logger();
    const LOGGER_LOCK Lock(Log);
    FlushBatch(Log);
    Log.ConsoleSink = nullptr;
    Log.StdoutSink = nullptr;
    Log.Threshold = -1;
}

void InstallQtMessageHandler()
{
    qInstallMessageHandler(OnQtMessage);
}
