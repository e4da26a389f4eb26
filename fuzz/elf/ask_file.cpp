// Opens one file as the debugger does, asks what its windows ask, and tells what came of it:
//
//   ask_file program.elf        a program file: loaded, then asked
//   ask_file -rows program.elf  counts the rows of the line tables as well, which are read again for that
//   ask_file -data image.hex    a data file, as for a download
//
// Each message is printed once, then one line a number. Exit code 0 if the file was opened, 1 if it was
// refused.
#include "askprogram.h"

#include "app/services/cmdline.h"
#include "app/services/log.h"
#include "app/services/mainthread.h"
#include "program/datafiles/fileworker.h"
#include "program/elf/elf.h"
#include "program/tables/prog.h"

#include <QSet>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {
constexpr QLatin1String ENTRIES("DWARF Symbol Count: ");
constexpr qsizetype MAX_MESSAGES = 50; ///< that are printed; all are counted

void PrintMessages()
{
    const auto Print = [](const QString& sText) {
        static QSet<QString> s_Shown;
        if (const qsizetype Pos = sText.indexOf(ENTRIES); Pos >= 0)
            std::printf("entries: %s\n", qPrintable(sText.mid(Pos + ENTRIES.size())));
        if (s_Shown.size() >= MAX_MESSAGES || s_Shown.contains(sText)) return;
        s_Shown.insert(sText);
        std::printf("message: %s\n", sText.toUtf8().constData());
    };
    SetLogStdoutSink(Print);
}

int AskData(const QString& sPath)
{
    const QList<CFileBlock> aBlock = BFile::CFileWorker::Instance().ReadFile(sPath);
    U64 Total = 0;
    for (const CFileBlock& Block : aBlock) Total += Block.Size;
    std::printf("blocks: %lld\nbytes: %llu\n", static_cast<long long>(aBlock.size()),
                static_cast<unsigned long long>(Total));
    return aBlock.isEmpty() ? 1 : 0;
}

int AskElf(const QString& sPath, bool WithRows)
{
    if (PROG_Load(sPath) < 0) return 1;
    std::printf("load: %ld ms\n", static_cast<long>(std::clock() * 1000 / CLOCKS_PER_SEC));
    AskLoaded();
    std::printf("asked: %ld ms\n", static_cast<long>(std::clock() * 1000 / CLOCKS_PER_SEC));
    const ELF_HANDLE hFile = PROG_GetFileHandle();
    const struct {
        const char* sName;
        long long Value;
    } aNumber[] = {{"symbols", ELF_GetSymbolCount(hFile)}, {"functions", PROG_GetFunctions().size()},
                   {"globals", PROG_GetGlobals().size()},  {"types", PROG_GetTypes().size()},
                   {"files", PROG_GetFiles().size()},      {"frames", ELF_GetFdeCount(hFile)},
                   {"macros", ELF_GetMacroCount(hFile)}};
    for (const auto& Row : aNumber) std::printf("%s: %lld\n", Row.sName, Row.Value);
    if (WithRows) std::printf("rows: %u\n", ELF_GetLineCount(hFile));
    PROG_Unload();
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    const bool IsData = argc == 3 && std::strcmp(argv[1], "-data") == 0;
    const bool WithRows = argc == 3 && std::strcmp(argv[1], "-rows") == 0;
    if (argc != 2 && !IsData && !WithRows) {
        std::fprintf(stderr, "usage: ask_file [-data | -rows] file\n");
        return 2;
    }
    SetMainThread();
    CmdLineArgs Args;
    Args.Debug = true;
    SetCmdLineArgs(Args);
    PrintMessages();
    const QString sPath = QString::fromLocal8Bit(argv[argc - 1]);
    const int Result = IsData ? AskData(sPath) : AskElf(sPath, WithRows);
    std::printf("%s\n", Result ? "refused" : "opened");
    return Result;
}
