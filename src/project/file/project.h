// The project: one text file that is a script, and whose text the dialogs edit in place.
//
//   CProject::Get().Open("p.bdebug");     // opens as soon as no script function runs
//   connect(&CProject::Get(), &CProject::Opened, this, &CMainWindow::OnProjectFileOpened);
//   CProject::Get().HandleCommand(id);    // the effect of a Project.* command
//
// Main thread only. What a command changes outside this layer (device configuration, terminal,
// trace, plug-ins, windows) goes through PROJECT_HOOKS, which the main window fills at start.
#pragma once
#include "app/services/cmdline.h"
#include "app/services/types.h"

#include <QDateTime>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <functional>

/// What the project asks of the rest of the program. An empty function counts as "nothing to do"
/// or as a negative answer.
struct PROJECT_HOOKS {
    /// Device configuration by the numbers of DEV_CONFIG_PARAMS.
    std::function<void(int ParamId, I64 Value)> SetDeviceParam;
    std::function<void(int ParamId, const QString& sValue)> SetDeviceParamText;
    std::function<I64(int ParamId)> GetDeviceParam;
    std::function<QString(int ParamId)> GetDeviceParamText;
    std::function<QString()> SelectDevice; ///< the device selection dialog; empty on cancel

    std::function<void()> PathsChanged; ///< root, search, alias or substitute paths were added
    std::function<void(const QStringList&)> RegisterFilesChanged;
    std::function<QString(const QString& sPath)> LoadOSPlugin; ///< error text, empty on success
    std::function<bool()> IsOSPluginSet;
    std::function<bool()> LoadCorePlugin;         ///< loads the selected device's core support anew
    std::function<bool()> IsCorePluginMissing;    ///< device has a core and no core support is loaded
    std::function<bool()> HasCPURegisters;        ///< the first register window holds the CPU group
    std::function<QString()> DefaultRegisterFile; ///< description file for the selected core, empty if none
    std::function<bool(const QString& sSymbol)> HasSymbol; ///< the open program has such a symbol
    std::function<bool()> IsProgramOpen;
    std::function<bool()> CanProgramRun; ///< core support accepts the open program
    std::function<bool()> DataEndianMatches;
    std::function<bool()> InstEndianMatches;

    std::function<QString(const QString& sDevice)>
        DefaultPeripheralFile; ///< description file of the peripherals of a device, empty if none
    std::function<void(int VarID, I64 Value)>
        SysVarChanged; ///< after a command has set a variable, changed or not
    std::function<void(int VarID, I64 Value)> PreferenceChanged; ///< the same for a preference
    std::function<bool(bool OnOff)> SetSemihosting;
    std::function<bool(const QString& sConfig)> ConfigSemihosting;
    std::function<bool(bool OnOff)> SetMemlane;
    std::function<bool(U32 Addr, U32 Size)> AddMemlaneSearchRange; ///< false: the buffer is full
    std::function<bool(const QString& sSymbols, int Offset)> RelocateSymbols;
    std::function<bool(const QString& sPath)> SetConsoleLogFile;
    std::function<bool(const QString& sPath)> SetTerminalLogFile;

    std::function<QString(const QString& sCaption, const QString& sFolder)>
        AskSavePath; ///< "Save Project as..."
    std::function<void(const QString& sText)> ShowErrorBox;
    std::function<void()> ShowConsole;
};

/// A target interface speed in Hz: a bare number is kHz, other texts follow the frequency rule; 0
/// "auto" and 65535 "adaptive" stay, all else is rounded to whole kHz. -1 for no speed.
I64 ParseTIFSpeed(const QString& sText);
/// The text of a speed in Hz: "auto", "adaptive", "4 MHz" where it has a name, "1234 kHz" otherwise.
QString FormatTIFSpeed(I64 Hz);

class CProject : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool Modified READ IsModified NOTIFY ModifiedChanged)
public:
    static CProject& Get();
    /// Joins the project with the script host, the file finder and the settings tables. Once at
    /// start, before a project is opened.
    void Init();
    void SetHooks(const PROJECT_HOOKS& Hooks);
    const PROJECT_HOOKS& GetHooks() const;

    void Open(const QString& sPath); ///< deferred: opens when no script function runs
    void Close();
    bool Save(const QString& sPath);
    int CreateFromCommands(const QStringList& Commands); ///< 0, or -1 if the text didn't load
    QStringList GetCommandsFromSettings() const;

    bool IsOpen() const;
    bool IsModified() const;
    bool IsOpening() const;  ///< a path waits for running script functions to end
    QString GetPath() const; ///< empty for a new project
    QString GetName() const; ///< path, or "New Project"
    QString GetSessionPath() const;
    QString GetProbeSettingsPath() const; ///< empty unless the file exists
    static QString GetProbeSettingsPath(const QString& sProjectPath);
    void SetFromCmdLine(
        const QStringList& Commands); ///< the project was made from the command line; empty: it wasn't

    /// Edits the text of the project file in place: removes the lines of OnProjectLoad that hold
    /// one of the names, inserts the commands into the dialog or the user section, and touches
    /// nothing else. sPath empty or missing asks for one. True on success; a failure is shown and logged.
    bool WriteSettings(const QString& sPath, bool Merge, const QStringList& Commands,
                       const QStringList& Names, const QStringList& Silent = {});
    bool WriteVar(const QString& sPath, int VarID, const QString& sValue);
    bool WriteProjectSettings(const QStringList& Commands);
    bool WriteTraceSettings(const QStringList& Commands);
    bool WriteSystemSettings();
    /// Silent: commands that aren't written, but a line that says the same stays. Untouched: names of commands whose
    /// lines stay whatever they say.
    bool WriteBrylloSettings(const QStringList& Commands, const QStringList& Silent = {},
                             const QStringList& Untouched = {});
    /// Writes the commands of SetFromCmdLine() into a project file. Its own description files stay
    /// the project's: those of the command line are only defaults. The notice is logged if the
    /// text changed.
    bool WriteCmdLineSettings(const QString& sPath);

    QStringList GetWarnings() const; ///< all current warnings, built anew
    void AddWarning(const QString& sText);
    int LogNewWarnings(); ///< logs what wasn't reported yet; returns the number
    int LogScriptError(); ///< the same for the errors of the script alone
    void ForgetScriptErrors(); ///< those of now count as not reported: they are in a new text
    QStringList GetDuplicateCommands() const;

    /// What has to happen between loading a project and running OnProjectLoad: the variables that a
    /// project sets by its mere text.
    void PrepareProjectLoad();
    /// Commands of a new project from the command line record; empty, with the reason logged, if a
    /// required field is missing.
    QStringList CreateFromCmdLine(const CmdLineArgs& Args) const;

    static bool GetFunctionBounds(const QString& sText, int* pBegin, int* pEnd);
    bool HasCommand(const QString& sName) const;

    void AddRegisterFile(const QString& sPath);
    QStringList GetRegisterFiles() const;
    void SetProgramFile(const QString& sPath);
    QString GetProgramFile() const;
    QDateTime GetProgramFileTime() const;
    QString GetCorePluginFile() const;
    void SetCorePluginFile(const QString& sPath);

    /// Performs one of this layer's commands (Project.*, Edit.SysVar, Edit.Preference, Edit.Color,
    /// Edit.Font, Script.*) with the parameters stored in its action; sets the action's error.
    /// False if the id is none of them.
    bool HandleCommand(int ActionId);

signals:
    void ModifiedChanged(bool Modified);
    void AboutToOpen(const QString& sPath);
    void AboutToClose(const QString& sPath);
    void Opened(const QString& sPath);
    void Closed(const QString& sPath);
    void Written(const QString& sPath); ///< the text in the file was changed

public slots:
    void OnOpenTimeout();

private:
    CProject();
    void _OpenNow(const QString& sPath);
    void _SetModified(bool Modified);
    bool _ReportNew(const QString& sWarning);
    int _ReportAllNew(const QStringList& Warnings);
    bool _WriteFailed(const QString& sReason) const;
    QString _GetTextToSave(const QString& sPath, const QString& sOldPath) const;
    bool _WriteGroup(const QStringList& Commands, const QStringList& Names, const char* sNotice,
                     const QStringList& Silent = {});

    PROJECT_HOOKS m_Hooks;
    QTimer m_OpenTimer;
    bool m_Open = true;
    bool m_Modified = false;
    bool m_FromCmdLine = false;
    QStringList m_CmdLineCommands;
    QSet<size_t> m_ReportedWarnings;
    QStringList m_Warnings;
    QString m_sPathToOpen;
    QStringList m_RegisterFiles;
    QString m_sProgramFile;
    QString m_sCorePluginFile;
    QDateTime m_ProgramFileTime;
};
