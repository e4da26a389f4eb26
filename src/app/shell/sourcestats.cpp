#include "app/shell/sourcestats.h"

#include "app/services/log.h"
#include "program/tables/prog.h"
#include "project/finder/filefinder.h"

#include <utility>

namespace {
/// What was told last: a file that is looked up again and again changes nothing.
std::pair<U32, U32> s_Told;

void Tell()
{
    const CFileFinder& Finder = CFileFinder::Get();
    const std::pair<U32, U32> Counts(Finder.GetNumResolved(), Finder.GetNumUnresolved());
    if (Counts == std::exchange(s_Told, Counts)) return;
    if (Counts.first > 0) LogInfo(QStringLiteral("%1 source file paths resolved").arg(Counts.first));
    if (Counts.second > 0) LogInfo(QStringLiteral("%1 source files not found").arg(Counts.second));
}
} // namespace

void WireSourceStats()
{
    CFileFinder& Finder = CFileFinder::Get();
    QObject::connect(&Finder, &CFileFinder::SrcFileResStatsChanged, &Finder, Tell);
}

void LookUpProgramSources()
{
    s_Told = {};
    QStringList Paths = PROG_GetFilePaths();
    Paths.removeDuplicates();
    CFileFinder& Finder = CFileFinder::Get();
    Finder.SetLogResolutions(false); // headers of C++ have no extension; they are counted out, not told one by one
    for (const QString& sPath : Paths) Finder.Resolve(sPath);
    Finder.SetLogResolutions(true);
}
