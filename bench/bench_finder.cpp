// Resolves the source paths of a large program against many search folders, and beside it, on the
// same input, what one would write by hand: each candidate asked of the system, and an index of all
// folders by file name. One figure a line, in milliseconds; the better of three runs.
//
//   bench_finder [paths [folders]]
#include "project/finder/filefinder.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace {
namespace fs = std::filesystem;
constexpr int NUM_RUNS = 3;

struct INPUT {
    std::vector<std::string> Folders;
    QStringList Paths;              ///< as debug information has them
    std::vector<std::string> Names; ///< file name of each path
};

void Touch(const fs::path& Path)
{
    QFile File(QString::fromStdString(Path.string()));
    if (!File.open(QIODevice::WriteOnly)) {
        std::fprintf(stderr, "can't write %s\n", Path.c_str());
        std::exit(1);
    }
}

/// Of ten paths eight come from a foreign build machine with a namesake in a search folder, one
/// exists as it stands, and one exists nowhere.
INPUT MakeInput(const fs::path& Root, int NumPaths, int NumFolders)
{
    INPUT In;
    for (int i = 0; i < NumFolders; ++i) {
        In.Folders.push_back((Root / "project" / ("component" + std::to_string(i)) / "source").string());
        fs::create_directories(In.Folders.back());
    }
    for (int i = 0; i < NumPaths / 500 + 1; ++i) {
        fs::create_directories(Root / "here" / std::to_string(i));
    }
    for (int i = 0; i < NumPaths; ++i) {
        const std::string sName = "module_" + std::to_string(i) + (i % 3 == 0 ? ".h" : ".c");
        const std::string sUnit = std::to_string(i / 50);
        QString sPath = QString::fromStdString("C:\\build\\agent\\work\\unit" + sUnit + "\\src\\" + sName);
        if (i % 10 == 8) {
            const fs::path Here = Root / "here" / std::to_string(i / 500) / sName;
            Touch(Here);
            sPath = QString::fromStdString(Here.string());
        } else if (i % 10 == 9) {
            sPath = QString::fromStdString("/home/builder/unit" + sUnit + "/../lib/" + sName);
        } else {
            Touch(fs::path(In.Folders[static_cast<std::size_t>(i) % In.Folders.size()]) / sName);
        }
        In.Paths += sPath;
        In.Names.push_back(sName);
    }
    return In;
}

/// Milliseconds of the best run; Prepare isn't timed.
double Best(const std::function<void()>& Prepare, const std::function<void()>& Run)
{
    double Result = 1e9;
    for (int i = 0; i < NUM_RUNS; ++i) {
        Prepare();
        QElapsedTimer Timer;
        Timer.start();
        Run();
        Result = std::min(Result, static_cast<double>(Timer.nsecsElapsed()) / 1e6);
    }
    return Result;
}

void Print(const char* sWhat, double Ms)
{
    std::printf("%-52s %10.1f ms\n", sWhat, Ms);
}

void BenchFinder(const INPUT& In)
{
    CFileFinder Finder;
    int NumFound = 0;
    const auto Prepare = [&] {
        Finder.Reset();
        for (const std::string& s : In.Folders) {
            Finder.AddSearchPath(QString::fromStdString(s));
        }
    };
    const auto ResolveAll = [&] {
        NumFound = 0;
        for (const QString& sPath : In.Paths) {
            NumFound += Finder.Resolve(sPath).isEmpty() ? 0 : 1;
        }
    };
    Print("finder: first time", Best(Prepare, ResolveAll));
    Print("finder: second time", Best([] {}, ResolveAll));
    int Number = 0;
    const auto ChangeOne = [&] {
        Touch(fs::path(In.Folders.front()) / ("new" + std::to_string(++Number) + ".c"));
    };
    Print("finder: after a change in one folder", Best(ChangeOne, ResolveAll));
    std::printf("%-52s %10d of %d\n", "finder: found", NumFound, static_cast<int>(In.Paths.size()));
}

void BenchProbing(const INPUT& In)
{
    int NumFound = 0;
    const auto ProbeAll = [&] {
        NumFound = 0;
        std::error_code Error;
        for (std::size_t i = 0; i < In.Names.size(); ++i) {
            bool Found = fs::is_regular_file(In.Paths[static_cast<qsizetype>(i)].toStdString(), Error);
            for (std::size_t f = 0; !Found && f < In.Folders.size(); ++f) {
                Found = fs::is_regular_file(In.Folders[f] + '/' + In.Names[i], Error);
            }
            NumFound += Found ? 1 : 0;
        }
    };
    Print("peer, each candidate asked of the system", Best([] {}, ProbeAll));
    std::printf("%-52s %10d\n", "peer, asking: found", NumFound);
}

void BenchIndex(const INPUT& In)
{
    std::unordered_map<std::string, std::string> Index;
    int NumFound = 0;
    const auto Build = [&] {
        Index.clear();
        for (const std::string& sFolder : In.Folders) {
            for (const auto& Entry : fs::directory_iterator(sFolder)) {
                if (Entry.is_regular_file()) {
                    Index.emplace(Entry.path().filename().string(), Entry.path().string());
                }
            }
        }
    };
    const auto Look = [&] {
        NumFound = 0;
        std::error_code Error;
        for (std::size_t i = 0; i < In.Names.size(); ++i) {
            const bool IsHere = fs::is_regular_file(In.Paths[static_cast<qsizetype>(i)].toStdString(), Error);
            NumFound += IsHere || Index.count(In.Names[i]) != 0 ? 1 : 0;
        }
    };
    Print("peer, index by name: first time", Best([] {},
                                                  [&] {
                                                      Build();
                                                      Look();
                                                  }));
    Print("peer, index by name: second time, changes not seen", Best([] {}, Look));
    std::printf("%-52s %10d\n", "peer, index: found", NumFound);
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication App(argc, argv);
    const int NumPaths = argc > 1 ? std::max(1, std::atoi(argv[1])) : 50000;
    const int NumFolders = argc > 2 ? std::max(1, std::atoi(argv[2])) : 20;
    QTemporaryDir Dir;
    const INPUT In = MakeInput(Dir.path().toStdString(), NumPaths, NumFolders);
    std::printf("%d paths, %d search folders\n", NumPaths, NumFolders);
    BenchFinder(In);
    BenchProbing(In);
    BenchIndex(In);
    return 0;
}
