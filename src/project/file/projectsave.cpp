// Writing the project: the edit of its file in place, and a new text from the current settings.
#include "project/file/project.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/actions/constants.h"
#include "app/services/log.h"
#include "project/file/deviceparams.h"
#include "project/file/projectlines.h"
#include "project/file/projecttext.h"
#include "project/finder/filefinder.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"
#include "script/host/textfile.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

namespace {
constexpr const char* ERR_WRITING = "Error writing project settings";
constexpr const char* NOTICE_PROJECT = "Project settings were written to the project file";
constexpr const char* SAVE_CAPTION = "Save Project as...";

/// The text that stands for a value in a command: the name of a constant, if that constant has just
/// this value, else the number. The text of a list entry alone is no word of the script language.
QString GetVarParam(int VarID)
{
    if (IsStringVar(VarID)) {
        return GetVarString(VarID);
    }
    I64 Value = 0;
    const QString sConstant = GetCanonicalConstantName(VarToText(VarID));
    const bool IsName =
        !sConstant.isEmpty() && GetConstantValue(sConstant, &Value) && Value == GetVarValue(VarID);
    return IsName ? sConstant : QString::number(GetVarValue(VarID));
}

QString FormatVarCommand(int VarID, const QString& sValue)
{
    const QString sName = QLatin1String(GetVar(VarID)->Name);
    if (IsStringVar(VarID)) {
        // The prototype declares a number; a script passes the text all the same.
        return QStringLiteral("%1 (%2, \"%3\");").arg(GetCommandName(ACT_EDIT_SYS_VAR), sName, sValue);
    }
    return FormatCommand(VarID < FIRST_PREFERENCE ? ACT_EDIT_SYS_VAR : ACT_EDIT_PREFERENCE, {sName, sValue});
}

QString TargetIFName(I64 Value)
{
    for (const char* sName : {"JTAG", "cJTAG", "FINE", "SWD"}) {
        I64 Known = 0;
        if (GetConstantValue(QLatin1String(sName), &Known) && Known == Value) {
            return QLatin1String(sName);
        }
    }
    return QStringLiteral("SWD");
}

int CountCommand(const QString& sText, int Id)
{
    int Begin = 0;
    int End = 0;
    int Count = 0;
    if (FindProjectLoadBody(sText, &Begin, &End)) {
        const QStringList Lines = sText.mid(Begin, End - Begin).split(QLatin1Char('\n'));
        for (const PROJECT_STATEMENT& Statement : SplitStatements(Lines)) {
            Count += FindCommand(GetNameOfCommandText(Statement.Code)) == Id ? 1 : 0;
        }
    }
    return Count;
}
} // namespace

QString FormatTIFSpeed(I64 Hz)
{
    if (const CONSTANT* pRow = FindConstantByValue(QStringLiteral("FREQ_"), Hz)) {
        return pRow->DisplayName;
    }
    return QStringLiteral("%1 kHz").arg(Hz / 1000);
}

QStringList CProject::GetCommandsFromSettings() const
{
    const auto Number = [this](int Id) {
        return m_Hooks.GetDeviceParam ? m_Hooks.GetDeviceParam(Id) : I64(0);
    };
    const QString sDevice =
        m_Hooks.GetDeviceParamText ? m_Hooks.GetDeviceParamText(DEVICE_PARAM_NAME) : QString();
    CFileFinder& Finder = CFileFinder::Get();
    QStringList Commands;
    Commands += FormatCommand(ACT_PROJECT_SET_DEVICE, {sDevice});
    // The probe stays unnamed unless the user has chosen one.
    const bool IsIP = Number(DEVICE_PARAM_HOST_IF) == HOST_IF_IP;
    QString sIdent;
    if (IsIP && m_Hooks.GetDeviceParamText) {
        sIdent = m_Hooks.GetDeviceParamText(DEVICE_PARAM_HOST_NAME);
    } else if (!IsIP && Number(DEVICE_PARAM_USE_SERIAL) != 0) {
        sIdent = QString::number(Number(DEVICE_PARAM_USB_SERIAL));
    }
    Commands += FormatCommand(ACT_PROJECT_SET_HOST_IF,
                              {IsIP ? QStringLiteral("IP") : QStringLiteral("USB"),
                               sIdent == QLatin1String(DEFAULT_HOST_NAME) ? QString() : sIdent});
    Commands += FormatCommand(ACT_PROJECT_SET_TARGET_IF, {TargetIFName(Number(DEVICE_PARAM_TARGET_IF))});
    Commands += FormatCommand(ACT_PROJECT_SET_TIF_SPEED, {FormatTIFSpeed(Number(DEVICE_PARAM_SPEED))});
    for (const QString& sFile : m_RegisterFiles) {
        Commands += FormatCommand(ACT_PROJECT_ADD_SVD_FILE,
                                  {Finder.Collapse(sFile, QStringLiteral("$(InstallDir)"))});
    }
    if (!m_sProgramFile.isEmpty()) {
        const QString sVariable = QStringLiteral("$(ProjectDir)");
        Commands += FormatCommand(ACT_FILE_OPEN, {Finder.Collapse(m_sProgramFile, sVariable)});
        const QString sFolder = BScript::GetProjectDir();
        if (!sFolder.isEmpty()) {
            Commands += FormatCommand(ACT_PROJECT_ADD_PATH_SUBSTITUTE, {sFolder, sVariable});
            // Build tools of systems without regard to case write their paths in lower case.
            if (sFolder != sFolder.toLower()) {
                Commands += FormatCommand(ACT_PROJECT_ADD_PATH_SUBSTITUTE, {sFolder.toLower(), sVariable});
            }
        }
    }
    return Commands;
}

QStringList CProject::CreateFromCmdLine(const CmdLineArgs& Args) const
{
    struct FIELD {
        QString sValue;
        const char* Name;
    };
    for (const FIELD& Field : {FIELD{Args.Device, "device"}, FIELD{Args.HostIF, "host interface"},
                               FIELD{Args.TargetIF, "target interface"}}) {
        if (Field.sValue.isEmpty()) {
            LogError(QStringLiteral("failed to create project from command line arguments: required argument "
                                    "\"%1\" is missing.")
                         .arg(QLatin1String(Field.Name)));
            return {};
        }
    }
    QStringList Commands;
    const auto Add = [&Commands](int Id, const QStringList& Params) {
        if (!Params[0].isEmpty()) {
            Commands += FormatCommand(Id, Params);
        }
    };
    Add(ACT_PROJECT_SET_DEVICE, {Args.Device});
    Add(ACT_PROJECT_SET_HOST_IF, {Args.HostIF, Args.HostID});
    Add(ACT_PROJECT_SET_TARGET_IF, {Args.TargetIF});
    Add(ACT_PROJECT_SET_TIF_SPEED, {Args.Speed});
    Add(ACT_PROJECT_SET_BRYLLO_SCRIPT, {Args.BrylloScriptFile});
    const QStringList JTAG = Args.JTAGConfig.split(QLatin1Char(','));
    if (JTAG.size() == 2) {
        Add(ACT_PROJECT_SET_JTAG_CONFIG, {JTAG[0].trimmed(), JTAG[1].trimmed()});
    }
    const auto AddDescription = [&Add](const QString& sFile) {
        Add(ACT_PROJECT_ADD_SVD_FILE,
            {sFile.isEmpty() ? sFile : CFileFinder::Get().Collapse(sFile, QStringLiteral("$(InstallDir)"))});
    };
    AddDescription(m_Hooks.DefaultRegisterFile ? m_Hooks.DefaultRegisterFile() : QString());
    AddDescription(m_Hooks.DefaultPeripheralFile ? m_Hooks.DefaultPeripheralFile(Args.Device) : QString());
    Add(ACT_FILE_OPEN, {Args.ProgramFile});
    return Commands;
}

bool CProject::_WriteFailed(const QString& sReason) const
{
    const QString sText = QStringLiteral("%1: %2").arg(QLatin1String(ERR_WRITING), sReason);
    if (m_Hooks.ShowErrorBox) {
        m_Hooks.ShowErrorBox(sText);
    }
    LogError(sText);
    return false;
}

bool CProject::WriteSettings(const QString& sPath, bool Merge, const QStringList& Commands,
                             const QStringList& Names, const QStringList& Silent)
{
    QString sFile = sPath;
    if (!QFileInfo(sFile).isFile()) {
        const QString sFolder =
            BScript::GetProjectDir().isEmpty() ? QDir::homePath() : BScript::GetProjectDir();
        sFile = m_Hooks.AskSavePath ? m_Hooks.AskSavePath(QLatin1String(SAVE_CAPTION), sFolder) : QString();
        if (sFile.isEmpty()) {
            return _WriteFailed(QStringLiteral("project file path not specified"));
        }
        if (!Save(sFile)) {
            return false;
        }
    }
    QString sText;
    if (!ReadTextFile(sFile, &sText) || sText.isEmpty()) {
        return _WriteFailed(QStringLiteral("file contents could not be read"));
    }
    QStringList Warnings;
    PROJECT_EDIT Edit{Merge, Commands, Names, Silent};
    DropUnchanged(sText, &Edit, IsSameCommand);
    const QString sBefore = sText;
    const bool HasBody = EditProjectText(&sText, Edit, &Warnings);
    for (const QString& sWarning : Warnings) {
        LogWarning(sWarning);
    }
    if (!HasBody) {
        return _WriteFailed(QStringLiteral("could not determine text insertion position.\nVerify that script "
                                           "function 'OnProjectLoad' is present."));
    }
    QString sError;
    if (sText != sBefore) {
        if (!WriteTextFile(sFile, sText, &sError)) {
            return _WriteFailed(sError);
        }
        emit Written(sFile);
    }
    return true;
}

bool CProject::WriteVar(const QString& sPath, int VarID, const QString& sValue)
{
    if (!GetVar(VarID)) {
        return false;
    }
    QStringList Commands;
    if (IsStringVar(VarID)) {
        if (sValue != QLatin1String(GetVar(VarID)->DefaultText)) {
            Commands += FormatVarCommand(VarID, sValue);
        }
    } else {
        bool Ok = false;
        const I64 Value = ParseVar(VarID, sValue, &Ok);
        if (!Ok) {
            return _WriteFailed(
                QStringLiteral("\"%1\" is no value of %2").arg(sValue, QLatin1String(GetVar(VarID)->Name)));
        }
        if (Value != GetVarDefault(VarID)) {
            const QString sConstant = GetCanonicalConstantName(VarToText(VarID, Value));
            I64 Named = 0;
            const bool IsName = !sConstant.isEmpty() && GetConstantValue(sConstant, &Named) && Named == Value;
            Commands += FormatVarCommand(VarID, IsName ? sConstant : QString::number(Value));
        }
    }
    return WriteSettings(sPath, true, Commands, {GetVarCommandName(VarID)});
}

bool CProject::_WriteGroup(const QStringList& Commands, const QStringList& Names, const char* sNotice,
                           const QStringList& Silent)
{
    if (!WriteSettings(GetPath(), true, Commands, Names, Silent)) {
        return false;
    }
    LogInfo(QLatin1String(sNotice));
    return true;
}

bool CProject::WriteProjectSettings(const QStringList& Commands)
{
    QSet<QString> Names;
    for (const QString& sCommand : Commands) {
        Names.insert(GetNameOfCommandText(sCommand));
    }
    return _WriteGroup(Commands, Names.values(), NOTICE_PROJECT);
}

bool CProject::WriteCmdLineSettings(const QString& sPath)
{
    QString sBefore;
    QString sAfter;
    ReadTextFile(sPath, &sBefore);
    const bool HasDescriptions = CountCommand(sBefore, ACT_PROJECT_ADD_SVD_FILE) > 0;
    QStringList Commands;
    QStringList Names;
    for (const QString& sCommand : m_CmdLineCommands) {
        const QString sName = GetNameOfCommandText(sCommand);
        if (HasDescriptions && FindCommand(sName) == ACT_PROJECT_ADD_SVD_FILE) {
            continue;
        }
        Commands += sCommand;
        Names += sName;
    }
    Names.removeDuplicates();
    if (!WriteSettings(sPath, true, Commands, Names)) {
        return false;
    }
    if (ReadTextFile(sPath, &sAfter) && sAfter != sBefore) {
        LogInfo(QLatin1String(NOTICE_PROJECT));
    }
    return true;
}

bool CProject::WriteTraceSettings(const QStringList& Commands)
{
    return _WriteGroup(Commands, GetTraceSettingNames(), "Trace settings were written to the project file");
}

bool CProject::WriteBrylloSettings(const QStringList& Commands, const QStringList& Silent,
                                   const QStringList& Untouched)
{
    QStringList Names = GetProbeSettingNames();
    Names.removeIf([&Untouched](const QString& sName) { return Untouched.contains(sName); });
    return _WriteGroup(Commands, Names, "Bryllo settings were written to the project file", Silent);
}

bool CProject::WriteSystemSettings()
{
    QStringList Commands;
    for (int VarID = 0; VarID < NUM_SYS_VARS; ++VarID) {
        if (!GetVar(VarID)->Editable || !IsVarChanged(VarID)) {
            continue;
        }
        const int Id = GetVarAction(VarID);
        Commands +=
            Id >= 0 ? FormatCommand(Id, {GetVarParam(VarID)}) : FormatVarCommand(VarID, GetVarParam(VarID));
    }
    return _WriteGroup(Commands, GetSystemSettingNames(), "System settings were written to the project file");
}

namespace {
/// True when a line of the project names just the file that a generated command names.
bool IsSameFile(const QString& sLine, const QString& sCommand)
{
    const PARSED_COMMAND Line = ParseCommand(sLine);
    const PARSED_COMMAND Command = ParseCommand(sCommand);
    if (Line.Id != Command.Id || (Line.Id != ACT_FILE_OPEN && Line.Id != ACT_PROJECT_ADD_SVD_FILE)) {
        return false;
    }
    CFileFinder& Finder = CFileFinder::Get();
    const QString sNamed = QFileInfo(Finder.Resolve(Line.Params.value(0))).canonicalFilePath();
    return !sNamed.isEmpty() &&
           sNamed == QFileInfo(Finder.Expand(Command.Params.value(0))).canonicalFilePath();
}
} // namespace

// What the user has written beside the settings (event functions, further commands) is kept: the
// commands are written into the text that stands in the file or was loaded. Only without such a
// text a new one is made.
QString CProject::_GetTextToSave(const QString& sPath, const QString& sOldPath) const
{
    QString sText;
    // What is in force isn't what a project with an error asks for; its text is the better one.
    if (BScript::HasLoadFailed() && ReadTextFile(sOldPath, &sText) && !sText.isEmpty()) {
        return sText;
    }
    const QStringList Commands = GetCommandsFromSettings();
    // Another file that is saved over becomes this project; only a project that has no file yet
    // takes the text of the one that it is given.
    if (sPath == sOldPath || sOldPath.isEmpty()) {
        ReadTextFile(sPath, &sText);
    }
    if (sText.isEmpty()) {
        sText = BScript::GetScriptText();
    }
    QStringList Names;
    for (const int Id : {ACT_PROJECT_SET_DEVICE, ACT_PROJECT_SET_HOST_IF, ACT_PROJECT_SET_TARGET_IF,
                         ACT_PROJECT_SET_TIF_SPEED, ACT_PROJECT_ADD_SVD_FILE}) {
        Names += GetCommandName(Id);
    }
    PROJECT_EDIT Edit{true, Commands, Names, {}};
    const auto IsSubstitute = [](const QString& s) {
        return FindCommand(GetNameOfCommandText(s)) == ACT_PROJECT_ADD_PATH_SUBSTITUTE;
    };
    const int NumOpened = CountCommand(sText, ACT_FILE_OPEN);
    if (NumOpened > 0) {
        // The substitutes belong to the first program of a new project.
        Edit.Commands.removeIf(IsSubstitute);
    }
    if (NumOpened > 1) {
        // Several files are opened by hand: which of them is the program is the user's to say.
        Edit.Commands.removeIf(
            [](const QString& s) { return FindCommand(GetNameOfCommandText(s)) == ACT_FILE_OPEN; });
    } else if (!m_sProgramFile.isEmpty()) {
        Edit.Names += GetCommandName(ACT_FILE_OPEN);
        for (const QString& sCommand : Edit.Commands) {
            if (IsSubstitute(sCommand)) {
                Edit.Names += QRegularExpression::escape(sCommand);
            }
        }
    }
    DropUnchanged(sText, &Edit, [](const QString& sLine, const QString& sCommand) {
        return IsSameCommand(sLine, sCommand) || IsSameFile(sLine, sCommand);
    });
    QStringList Warnings;
    return EditProjectText(&sText, Edit, &Warnings) ? sText : BScript::GetNewProjectText(Commands);
}

bool CProject::Save(const QString& sPath)
{
    const QString sOldPath = GetPath();
    BScript::SetProjectPath(sPath);
    const bool IsProject = CFileFinder::GetFileClass(sPath) == FILE_CLASS_PROJECT;
    if (m_FromCmdLine && IsProject && QFileInfo(sPath).isFile()) {
        const bool Written = WriteCmdLineSettings(sPath);
        _SetModified(m_Modified && !Written);
        return Written;
    }
    const QString sText = _GetTextToSave(sPath, sOldPath);
    QString sError;
    if (!WriteTextFile(sPath, sText, &sError, QFileInfo(sOldPath).isFile() ? sOldPath : sPath)) {
        BScript::SetProjectPath(sOldPath);
        return _WriteFailed(sError);
    }
    if (!BScript::GetScriptText().isEmpty()) {
        BScript::SetTextHash(sText);
    } else if (BScript::IsLoaded() || BScript::IsFileChanged()) {
        BScript::LoadText(sText); // but not the text once more that has just failed to load
    }
    m_Modified = false;
    emit ModifiedChanged(false);
    emit Written(sPath);
    return true;
}
