// The command line, read once into one process-wide record.
//
//   SetCmdLineArgs(ParseCmdLine(QCoreApplication::arguments()));
//   if (GetCmdLineArgs().Debug) ...
#pragma once
#include <QString>
#include <QStringList>

/// All texts are empty and all flags false where an option was not given.
struct CmdLineArgs {
    QString Device;            ///< target device name
    QString HostIF;            ///< "USB" or "IP"
    QString HostID;            ///< serial number or network address of the probe
    QString TargetIF;          ///< target interface name
    QString Speed;             ///< target interface speed as text
    QString ProgramFile;       ///< program or data file path
    QString ProjectFile;       ///< project file path
    QString LogFile;           ///< application log file path
    QString LogInterval;       ///< batch threshold of the application log in bytes, as text
    QString BrylloScriptFile;  ///< probe script file path
    QString JTAGConfig;        ///< JTAG chain position text
    QString LogTimestampsFile; ///< path of the time stamp log
    bool Debug = false;        ///< a text console is attached to the process

    QString BatchFile;      ///< command file of batch mode, "-" for standard input
    QString SettingsDir;    ///< folder of the settings store, empty for the user's own
    bool KeepGoing = false; ///< batch mode goes on after a failure
};

/// Reads arguments, the program path included. Unknown options are passed over without a message.
CmdLineArgs ParseCmdLine(const QStringList& Args);

/// Stores the record of the process. Main thread, before any other thread runs.
void SetCmdLineArgs(const CmdLineArgs& Args);
/// A copy of the record. Any thread.
CmdLineArgs GetCmdLineArgs();
/// True when -debug was given. Any thread, without a lock.
bool IsDebugConsole();

/// Slashes forward and single, "." and ".." resolved as far as the text allows.
QString NormalizePath(const QString& sPath);
/// Removes one leading and one trailing double quote.
QString StripQuotes(const QString& sText);

/// Canonical program path and the arguments, joined by blanks.
QString GetCommandLineText();
/// The arguments without the program name.
QStringList GetArguments();
