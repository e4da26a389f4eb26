#include "app/shell/sourcestats.h"

#include "app/services/log.h"
#include "program/tables/prog.h"
#include "project/finder/filefinder.h"
#include "script/host/bscript.h"

#include <utility>

namespace {
constexpr U32 NO_FILE = 0xFFFFFFFF;

/// What was told last: a file that is looked up again and again changes nothing.
std::pair<U32, U32> s_Told;
/// The paths have changed within a script function, which may go on to change more of them.
bool s_LookUpLater = false;

void Tell()
{
    const CFileFinder& Finder = CFileFinder::Get();
    const std::pair<U32, U32> Counts(Finder.GetNumResolved(), Finder.GetNumUnresolved());
    if (Counts == std::exchange(s_Told, Counts)) return;
    if (Counts.first > 0) LogInfo(QStringLiteral("%1 source file paths resolved").arg(Counts.first));
    if (Counts.second > 0) LogInfo(QStringLiteral("%1 source files not found").arg(Counts.second));
}

/// A source file of the program lies elsewhere than the program says: all that asks for its path gets the one here,
/// and the file that is open under that path is known for the program's.
void TakeResolvedPath(const QString& sOrigPath, const QString& sResolvedPath)
{
    const U32 File = PROG_GetFile(sOrigPath);
    if (File == NO_FILE || PROG_GetOrigFilePath(File) != sOrigPath) return; // not a path of the program's own
    const U32 Owner = PROG_GetFile(sResolvedPath);
    // Two files that were found as one: the path stands for one of them only.
    if (Owner != NO_FILE && Owner != File) return;
    if (PROG_GetFilePath(File) != sResolvedPath)
        PROG_SetFilePath(File, sResolvedPath == sOrigPath ? QString() : sResolvedPath);
}
} // namespace

void WireSourceStats()
{
    CFileFinder& Finder = CFileFinder::Get();
    QObject::connect(&Finder, &CFileFinder::SrcFileResStatsChanged, &Finder, Tell);
    QObject::connect(&Finder, &CFileFinder::SrcFilePathResolved, &Finder, TakeResolvedPath);
}

void LookUpProgramSources()
{
    s_Told = {};
    s_LookUpLater = false;
    CFileFinder& Finder = CFileFinder::Get();
    Finder.SetLogResolutions(false); // headers of C++ have no extension; they are counted out, not told one by one
    for (const U32 File : PROG_GetFiles()) Finder.Resolve(PROG_GetOrigFilePath(File));
    Finder.SetLogResolutions(true);
}

void OnSourcePathsChanged()
{
    if (!PROG_IsLoaded()) return;
    for (const U32 File : PROG_GetFiles())
        if (PROG_GetFilePath(File) != PROG_GetOrigFilePath(File)) PROG_SetFilePath(File, QString());
    if (BScript::IsRunning())
        s_LookUpLater = true;
    else
        LookUpProgramSources();
}

void OnSourcePathsSettled()
{
    if (s_LookUpLater) LookUpProgramSources();
}
