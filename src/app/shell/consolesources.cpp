#include "app/shell/consolesources.h"

#include "app/console/commandcompletion.h"
#include "app/shell/mainwindow.h"
#include "program/tables/prog.h"
#include "project/file/project.h"
#include "project/finder/filefinder.h"
#include "registers/svd/cpuregisters.h"
#include "script/host/bscript.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>

namespace {
bool IsLess(const QString& a, const QString& b)
{
    return a.compare(b, Qt::CaseInsensitive) < 0;
}

QStringList GetSortedNames(const ELF_SYM_LIST& Symbols)
{
    QStringList Names;
    Names.reserve(Symbols.size());
    for (const ELF_SYM_HANDLE hSym : Symbols)
        if (const QString sName = PROG_GetSymName(hSym, PROG_NAME_PLAIN); !sName.isEmpty())
            Names.append(sName);
    std::sort(Names.begin(), Names.end(), IsLess);
    Names.erase(std::unique(Names.begin(), Names.end()), Names.end());
    return Names;
}

/// The names of a program, sorted once: a program of many symbols must not be walked at every key press.
struct PROGRAM_NAMES {
    bool IsValid = false;
    QStringList Functions;
    QStringList Globals;

    void Update()
    {
        if (IsValid) return;
        IsValid = PROG_IsLoaded();
        Functions = GetSortedNames(PROG_GetFunctions());
        Globals = GetSortedNames(PROG_GetGlobals());
    }
};

PROGRAM_NAMES s_Names;

void AppendMatches(QStringList& Out, const QStringList& Sorted, const QString& sPrefix, int Max)
{
    for (auto it = std::lower_bound(Sorted.begin(), Sorted.end(), sPrefix, IsLess);
         it != Sorted.end() && it->startsWith(sPrefix, Qt::CaseInsensitive) && Out.size() < Max; ++it)
        Out.append(*it);
}

QStringList FindSymbols(const QString& sPrefix, bool FunctionsOnly, int Max)
{
    const CProgLock Lock;
    s_Names.Update();
    QStringList Names;
    if (!FunctionsOnly) {
        AppendMatches(Names, GetSortedNames(PROG_GetCurrentLocals()), sPrefix, Max);
        AppendMatches(Names, s_Names.Globals, sPrefix, Max);
    }
    AppendMatches(Names, s_Names.Functions, sPrefix, Max);
    Names.removeDuplicates();
    return Names;
}

QStringList GetSourceFiles()
{
    QStringList Names;
    for (const QString& sPath : PROG_GetFilePaths()) Names.append(QFileInfo(sPath).fileName());
    Names.removeDuplicates();
    return Names;
}

/// Functions that the project's script defines.
QStringList GetScriptFunctions()
{
    static const QRegularExpression Pattern(
        QStringLiteral("^[A-Za-z_][\\w \\t*]*?(\\w+)\\s*\\([^;{]*\\)\\s*\\{"),
        QRegularExpression::MultilineOption);
    QStringList Names;
    for (auto it = Pattern.globalMatch(BScript::GetScriptText()); it.hasNext();)
        Names.append(it.next().captured(1));
    return Names;
}

QStringList GetRegisters()
{
    QStringList Names;
    for (const CPU_REGISTER_GROUP& Group : GetCpuRegisterGroups())
        for (const CPU_REGISTER& Register : Group.Registers) Names.append(Register.Name);
    Names.removeDuplicates();
    return Names;
}
} // namespace

void WireConsoleCompletion(CMainWindow& Main)
{
    COMPLETION_SOURCES Sources;
    Sources.FindSymbols = FindSymbols;
    Sources.GetSourceFiles = GetSourceFiles;
    Sources.GetWindows = [&Main] {
        QStringList Names;
        for (const CWindow* pWindow : Main.GetWindows())
            if (pWindow != &Main) Names.append(pWindow->GetName());
        return Names;
    };
    Sources.GetToolBars = [] {
        QStringList Names;
        for (const TOOLBAR_LAYOUT& Layout : TOOLBARS) Names.append(QLatin1String(Layout.Title));
        return Names;
    };
    Sources.GetRegisters = GetRegisters;
    Sources.GetScriptFunctions = GetScriptFunctions;
    Sources.ExpandPath = [](const QString& sPath) { return CFileFinder::Get().Expand(sPath); };
    Sources.GetBaseFolder = [] {
        const QString sFolder = BScript::GetProjectDir();
        return sFolder.isEmpty() ? QDir::currentPath() : sFolder;
    };
    SetCompletionSources(Sources);
    const auto Forget = [] { s_Names.IsValid = false; };
    QObject::connect(&Main, &CMainWindow::DataFileOpened, &Main, Forget);
    QObject::connect(&CProject::Get(), &CProject::Closed, &Main, Forget);
}
