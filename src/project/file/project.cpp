// Opening, closing and the state of the project.
#include "project/file/project.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/services/log.h"
#include "app/services/messages.h"
#include "app/services/messagetable.h"
#include "project/file/projecttext.h"
#include "project/finder/filefinder.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"
#include "script/host/textfile.h"

#include <QFileInfo>

namespace {
constexpr int OPEN_INTERVAL_MS = 10;
constexpr const char* PROJECT_EXTENSION = "bdebug";
constexpr const char* PROBE_SETTINGS_EXTENSION = "bryllo";
} // namespace

CProject& CProject::Get()
{
    static CProject Instance;
    return Instance;
}

CProject::CProject()
{
    m_OpenTimer.setInterval(OPEN_INTERVAL_MS);
    connect(&m_OpenTimer, &QTimer::timeout, this, &CProject::OnOpenTimeout);
}

void CProject::Init()
{
    BScript::BindSettings();
    FILEFINDER_HOOKS& Finder = CFileFinder::Get().Hooks();
    Finder.ProjectPath = [] { return BScript::GetProjectPath(); };
    Finder.ProgramFile = [this] { return m_sProgramFile; };
}

void CProject::SetHooks(const PROJECT_HOOKS& Hooks)
{
    m_Hooks = Hooks;
    BScript::Hooks().LogNewWarnings = [this] { return LogNewWarnings(); };
    BScript::Hooks().LogScriptError = [this] { return LogScriptError(); };
}
const PROJECT_HOOKS& CProject::GetHooks() const
{
    return m_Hooks;
}

void CProject::Open(const QString& sPath)
{
    BScript::RequestClose();
    emit AboutToOpen(sPath);
    m_sPathToOpen = sPath;
    m_OpenTimer.start();
}

// A project may be opened by a command inside a script, and its block must not go while it runs.
void CProject::OnOpenTimeout()
{
    if (m_sPathToOpen.isEmpty() || BScript::IsRunning()) {
        return;
    }
    m_OpenTimer.stop();
    const QString sPath = m_sPathToOpen;
    m_sPathToOpen.clear();
    _OpenNow(sPath);
}

void CProject::_OpenNow(const QString& sPath)
{
    if (!QFileInfo(sPath).isFile()) {
        qWarning("file not found");
        m_Open = false;
        return;
    }
    Close();
    BScript::Load(sPath);
    m_Open = true;
    m_Modified = false;
    emit ModifiedChanged(false);
    emit Opened(sPath);
}

void CProject::Close()
{
    m_ReportedWarnings.clear();
    const QString sPath = GetPath();
    if (!sPath.isEmpty()) emit AboutToClose(sPath);
    BScript::RequestClose();
    BScript::SetProjectPath(QString());
    CFileFinder::Get().Reset();
    m_Warnings.clear();
    m_sProgramFile.clear();
    m_ProgramFileTime = QDateTime();
    m_sCorePluginFile.clear();
    m_RegisterFiles.clear();
    if (m_Hooks.RegisterFilesChanged) {
        m_Hooks.RegisterFilesChanged(m_RegisterFiles);
    }
    _SetModified(false);
    m_Open = true;
    emit Closed(sPath);
}

int CProject::CreateFromCommands(const QStringList& Commands)
{
    const int Result = BScript::LoadText(BScript::GetNewProjectText(Commands));
    if (Result == 0) {
        BScript::ExecScriptFunction(EVENT_ON_PROJECT_LOAD);
    }
    m_Open = true;
    m_Modified = true;
    emit ModifiedChanged(true);
    return Result;
}

void CProject::PrepareProjectLoad()
{
    SetVarString(VAR_BREAK_AT_THIS_SYMBOL, QString::fromLatin1(GetVar(VAR_BREAK_AT_THIS_SYMBOL)->DefaultText),
                 false);
    SetVar(VAR_TRACE_SOURCE, 0, false);
    if (GetPath().isEmpty()) {
        return;
    }
    SetVar(VAR_TRACE_OVERRIDE_TIMINGS, HasCommand(GetCommandName(ACT_PROJECT_SET_TRACE_TIMING)), false);
    SetVar(VAR_TRACE_FILE_ENABLED, HasCommand(GetCommandName(ACT_PROJECT_SET_TRACE_FILE)), false);
}

bool CProject::IsOpen() const
{
    return m_Open;
}
bool CProject::IsModified() const
{
    return m_Modified;
}
bool CProject::IsOpening() const
{
    return m_OpenTimer.isActive();
}

void CProject::_SetModified(bool Modified)
{
    if (m_Modified != Modified) {
        m_Modified = Modified;
        emit ModifiedChanged(Modified);
    }
}

QString CProject::GetPath() const
{
    return BScript::GetProjectPath();
}

QString CProject::GetName() const
{
    return GetPath().isEmpty() ? QStringLiteral("New Project") : GetPath();
}

QString CProject::GetSessionPath() const
{
    const QString sPath = GetPath();
    const qsizetype Dot = sPath.lastIndexOf(QLatin1Char('.'));
    return Dot < 0 ? QString() : sPath.left(Dot + 1) + QStringLiteral("bdebug.user");
}

QString CProject::GetProbeSettingsPath(const QString& sProjectPath)
{
    QString s = sProjectPath;
    const qsizetype Pos = s.lastIndexOf(QLatin1String(PROJECT_EXTENSION));
    if (Pos < 0) {
        return QString();
    }
    s.replace(Pos, static_cast<qsizetype>(qstrlen(PROJECT_EXTENSION)),
              QLatin1String(PROBE_SETTINGS_EXTENSION));
    return QFileInfo(s).isFile() ? s : QString();
}

QString CProject::GetProbeSettingsPath() const
{
    return GetProbeSettingsPath(GetPath());
}

void CProject::SetFromCmdLine(const QStringList& Commands)
{
    m_FromCmdLine = !Commands.isEmpty();
    m_CmdLineCommands = Commands;
}

bool CProject::GetFunctionBounds(const QString& sText, int* pBegin, int* pEnd)
{
    if (!FindProjectLoadBody(sText, pBegin, pEnd)) {
        LogWarning(QStringLiteral("Could not determine text bounds of script function OnProjectLoad"));
        return false;
    }
    return true;
}

bool CProject::HasCommand(const QString& sName) const
{
    QString sText;
    int Begin = 0;
    int End = 0;
    return ReadTextFile(GetPath(), &sText) && GetFunctionBounds(sText, &Begin, &End) &&
           sText.mid(Begin, End - Begin).contains(sName);
}

void CProject::AddRegisterFile(const QString& sPath)
{
    m_RegisterFiles.append(sPath);
    if (m_Hooks.RegisterFilesChanged) {
        m_Hooks.RegisterFilesChanged(m_RegisterFiles);
    }
}
QStringList CProject::GetRegisterFiles() const
{
    return m_RegisterFiles;
}

void CProject::SetProgramFile(const QString& sPath)
{
    m_sProgramFile = sPath;
    m_ProgramFileTime = sPath.isEmpty() ? QDateTime() : QFileInfo(sPath).lastModified();
}
QString CProject::GetProgramFile() const
{
    return m_sProgramFile;
}
QDateTime CProject::GetProgramFileTime() const
{
    return m_ProgramFileTime;
}
QString CProject::GetCorePluginFile() const
{
    return m_sCorePluginFile;
}
void CProject::SetCorePluginFile(const QString& sPath)
{
    m_sCorePluginFile = sPath;
}

#include "moc_project.cpp"
