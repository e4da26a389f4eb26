// Commands that name files and folders.
#include "app/actions/actions.h"
#include "app/services/log.h"
#include "project/file/deviceparams.h"
#include "project/file/project.h"
#include "project/file/projectcommands.h"
#include "project/finder/filefinder.h"

#include <QFile>
#include <QFileInfo>

namespace {
const PROJECT_HOOKS& Hooks()
{
    return CProject::Get().GetHooks();
}

/// True if the file can be written. One that isn't there is made for the test and removed again.
bool CanWrite(const QString& sPath)
{
    if (sPath.isEmpty() || QFileInfo(sPath).isDir()) {
        return false;
    }
    const bool Existed = QFileInfo::exists(sPath);
    QFile File(sPath);
    if (!File.open(Existed ? QIODevice::ReadWrite : QIODevice::WriteOnly)) {
        return false;
    }
    File.close();
    if (!Existed) {
        File.remove();
    }
    return true;
}

void SetBrylloScript(int Id)
{
    const QString sPath = GetActionParam(Id);
    const QString sFile = CFileFinder::Get().Resolve(sPath);
    if (sFile.isEmpty()) {
        SetActionError(Id, ERR_FILE_NOT_FOUND, sPath);
    } else if (Hooks().SetDeviceParamText) {
        Hooks().SetDeviceParamText(DEVICE_PARAM_SCRIPT_FILE, sFile);
    }
}

void SetBrylloLogFile(int Id)
{
    const QString sPath = CFileFinder::Clean(CFileFinder::Get().Expand(GetActionParam(Id)));
    if (!CanWrite(sPath)) {
        SetActionError(Id, ERR_INVALID_FILENAME, sPath);
    } else if (Hooks().SetDeviceParamText) {
        Hooks().SetDeviceParamText(DEVICE_PARAM_LOG_FILE, sPath);
    }
}

void AddSvdFile(int Id)
{
    const QString sPath = GetActionParam(Id);
    if (CFileFinder::GetFileClass(sPath) != FILE_CLASS_REGISTERS) {
        SetActionError(Id, QLatin1String(ERR_INVALID_PARAM));
        return;
    }
    const QString sFile = CFileFinder::Get().Resolve(sPath);
    if (sFile.isEmpty()) {
        SetActionError(Id, ERR_FILE_NOT_FOUND, sPath);
    } else {
        CProject::Get().AddRegisterFile(sFile);
    }
}

void AddPath(int Id)
{
    CFileFinder& Finder = CFileFinder::Get();
    const QStringList Params = GetActionParams(Id);
    if (Id == ACT_PROJECT_ADD_ROOT_PATH) {
        Finder.AddRootPath(Params[0]);
    } else if (Id == ACT_PROJECT_ADD_SEARCH_PATH) {
        Finder.AddSearchPath(Params[0]);
    } else if (Id == ACT_PROJECT_ADD_FILE_ALIAS) {
        Finder.AddFileAlias(Params[0], Params[1]);
    } else {
        Finder.AddPathSubstitute(Params[0], Params[1]);
    }
    if (Hooks().PathsChanged) {
        Hooks().PathsChanged();
    }
}

void SetOSPlugin(int Id)
{
    const QString sPath = GetActionParam(Id);
    const QString sFile = CFileFinder::Get().ResolvePlugin(sPath);
    if (sFile.isEmpty()) {
        SetActionError(Id, ERR_FILE_NOT_FOUND, sPath);
        return;
    }
    const QString sError = Hooks().LoadOSPlugin ? Hooks().LoadOSPlugin(sFile) : QString();
    if (sError.isEmpty()) {
        LogInfo(QStringLiteral("RTOS awareness plugin loaded: ") + sFile);
    } else {
        SetActionError(Id, sError);
    }
}

void SetCorePlugin(int Id)
{
    const QString sPath = GetActionParam(Id);
    const QString sFile = CFileFinder::Get().ResolvePlugin(sPath);
    CProject& Project = CProject::Get();
    if (sFile.isEmpty()) {
        SetActionError(Id, ERR_FILE_NOT_FOUND, sPath);
        return;
    }
    if (Project.GetCorePluginFile() != sFile) {
        Project.SetCorePluginFile(sFile);
    }
    const bool HasDevice =
        Hooks().GetDeviceParamText && !Hooks().GetDeviceParamText(DEVICE_PARAM_NAME).isEmpty();
    if (HasDevice && Hooks().LoadCorePlugin) {
        Hooks().LoadCorePlugin();
    }
}

void SetLogFile(int Id, const std::function<bool(const QString&)>& Hook)
{
    const QString sPath = GetActionParam(Id);
    const QString sFile = sPath.isEmpty() ? sPath : CFileFinder::Clean(CFileFinder::Get().Expand(sPath));
    if (Hook && !Hook(sFile)) {
        SetActionError(Id, ERR_INVALID_FILENAME, sFile);
    }
}
} // namespace

bool HandleFileSetting(int ActionId)
{
    void (*pfHandler)(int) = nullptr;
    switch (ActionId) {
    case ACT_PROJECT_SET_BRYLLO_SCRIPT:
        pfHandler = SetBrylloScript;
        break;
    case ACT_PROJECT_SET_BRYLLO_LOG_FILE:
        pfHandler = SetBrylloLogFile;
        break;
    case ACT_PROJECT_ADD_SVD_FILE:
        pfHandler = AddSvdFile;
        break;
    case ACT_PROJECT_ADD_ROOT_PATH:
    case ACT_PROJECT_ADD_SEARCH_PATH:
    case ACT_PROJECT_ADD_FILE_ALIAS:
    case ACT_PROJECT_ADD_PATH_SUBSTITUTE:
        pfHandler = AddPath;
        break;
    case ACT_PROJECT_SET_OS_PLUGIN:
        pfHandler = SetOSPlugin;
        break;
    case ACT_PROJECT_SET_CORE_PLUGIN:
        pfHandler = SetCorePlugin;
        break;
    case ACT_PROJECT_SET_CONSOLE_LOG_FILE:
        pfHandler = [](int Id) { SetLogFile(Id, Hooks().SetConsoleLogFile); };
        break;
    case ACT_PROJECT_SET_TERMINAL_LOG_FILE:
        pfHandler = [](int Id) { SetLogFile(Id, Hooks().SetTerminalLogFile); };
        break;
    default:
        return false;
    }
    if (CheckParamCount(ActionId)) {
        pfHandler(ActionId);
    }
    return true;
}
