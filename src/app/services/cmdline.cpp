#include "app/services/cmdline.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QReadWriteLock>
#include <atomic>

namespace {
enum VALUE_KINDS { VALUE_NONE, VALUE_TEXT, VALUE_PATH };

struct OPTION {
    const char* sName;
    VALUE_KINDS Kind;
    QString CmdLineArgs::*pField; ///< null for options that do more than fill a field
};

constexpr OPTION OPTIONS[] = {
    {"device", VALUE_TEXT, &CmdLineArgs::Device},
    {"if", VALUE_TEXT, &CmdLineArgs::TargetIF},
    {"speed", VALUE_TEXT, &CmdLineArgs::Speed},
    {"datafile", VALUE_PATH, &CmdLineArgs::ProgramFile},
    {"programfile", VALUE_PATH, &CmdLineArgs::ProgramFile},
    {"project", VALUE_PATH, &CmdLineArgs::ProjectFile},
    {"logfile", VALUE_PATH, &CmdLineArgs::LogFile},
    {"loginterval", VALUE_TEXT, &CmdLineArgs::LogInterval},
    {"logtimestamps", VALUE_PATH, &CmdLineArgs::LogTimestampsFile},
    {"brylloscriptfile", VALUE_TEXT, &CmdLineArgs::BrylloScriptFile},
    {"jtagconfig", VALUE_TEXT, &CmdLineArgs::JTAGConfig},
    {"settings", VALUE_PATH, &CmdLineArgs::SettingsDir},
    {"usb", VALUE_TEXT, nullptr},
    {"ip", VALUE_TEXT, nullptr},
    {"select", VALUE_TEXT, nullptr},
    {"batch", VALUE_TEXT, nullptr},
    {"kestrelboard", VALUE_NONE, nullptr},
    {"debug", VALUE_NONE, nullptr},
    {"keepgoing", VALUE_NONE, nullptr},
};

const OPTION* FindOption(const QString& sName)
{
    for (const OPTION& o : OPTIONS) {
        if (sName.compare(QLatin1String(o.sName), Qt::CaseInsensitive) == 0) return &o;
    }
    return nullptr;
}

void SetHost(CmdLineArgs& Args, const char* sHostIF, const QString& sId)
{
    Args.HostIF = sHostIF;
    Args.HostID = sId;
}

/// "usb=123" and "ip=host": the same as -usb and -ip with the identifier as value.
void SelectProbe(CmdLineArgs& Args, const QString& sValue)
{
    const QString sHost = sValue.section('=', 0, 0).trimmed();
    const QString sId = sValue.section('=', 1).trimmed();
    if (sHost.compare("usb", Qt::CaseInsensitive) == 0) SetHost(Args, "USB", sId);
    if (sHost.compare("ip", Qt::CaseInsensitive) == 0) SetHost(Args, "IP", sId);
}

void ApplySpecialOption(CmdLineArgs& Args, const QString& sName, const QString& sValue)
{
    if (sName == "usb") SetHost(Args, "USB", sValue);
    if (sName == "ip") SetHost(Args, "IP", sValue);
    if (sName == "select") SelectProbe(Args, sValue);
    if (sName == "batch") Args.BatchFile = sValue;
    if (sName == "debug") Args.Debug = true;
    if (sName == "keepgoing") Args.KeepGoing = true;
    if (sName == "kestrelboard") {
        Args.Device = "MK66FN2M0XXX18";
        Args.TargetIF = "SWD";
        Args.Speed = "2000";
    }
}

struct CMD_LINE_STORE {
    QReadWriteLock Lock;
    CmdLineArgs Args;
    std::atomic<bool> Debug{false};
};

CMD_LINE_STORE& Store()
{
    static CMD_LINE_STORE Instance;
    return Instance;
}
} // namespace

QString StripQuotes(const QString& sText)
{
    QString s = sText;
    if (s.startsWith('"')) s.remove(0, 1);
    if (s.endsWith('"')) s.chop(1);
    return s;
}

QString NormalizePath(const QString& sPath)
{
    QString s = sPath;
    s.replace('\\', '/');
    s.replace(QLatin1String("//"), QLatin1String("/"));
    return s.isEmpty() ? s : QDir::cleanPath(s);
}

CmdLineArgs ParseCmdLine(const QStringList& Args)
{
    CmdLineArgs r;
    for (qsizetype i = 0; i < Args.size(); i++) {
        const QString& sArg = Args[i];
        if (!sArg.startsWith('-')) continue;
        qsizetype n = 0;
        while (n < sArg.size() && sArg[n] == '-') n++;
        const OPTION* pOption = FindOption(sArg.mid(n));
        if (!pOption) continue;
        QString sValue;
        // A lone "-" is the name of standard input for -batch.
        const bool IsStdin =
            qstrcmp(pOption->sName, "batch") == 0 && i + 1 < Args.size() && Args[i + 1] == "-";
        if (i + 1 < Args.size() && (IsStdin || !Args[i + 1].startsWith('-')))
            sValue = StripQuotes(Args[i + 1]).trimmed();
        if (pOption->Kind == VALUE_PATH) sValue = NormalizePath(sValue);
        if (pOption->pField)
            r.*pOption->pField = sValue;
        else
            ApplySpecialOption(r, QString::fromLatin1(pOption->sName), sValue);
    }
    return r;
}

void SetCmdLineArgs(const CmdLineArgs& Args)
{
    CMD_LINE_STORE& s = Store();
    const QWriteLocker Lock(&s.Lock);
    s.Args = Args;
    s.Debug = Args.Debug;
}

CmdLineArgs GetCmdLineArgs()
{
    CMD_LINE_STORE& s = Store();
    const QReadLocker Lock(&s.Lock);
    return s.Args;
}

bool IsDebugConsole()
{
    return Store().Debug.load(std::memory_order_relaxed);
}

QString GetCommandLineText()
{
    QStringList Parts = QCoreApplication::arguments();
    const QString sProgram = QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath();
    if (Parts.isEmpty()) return sProgram;
    Parts[0] = sProgram;
    return Parts.join(' ');
}

QStringList GetArguments()
{
    return QCoreApplication::arguments().mid(1);
}
