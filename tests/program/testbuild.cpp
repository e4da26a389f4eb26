// Cross compilers and oracles.
#include "testbuild.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QHash>
#include <cstdio>

QByteArray BUILD::Name() const
{
    QByteArray Text = QByteArray(sCompiler) + (IsCpp ? "-cpp" : "-c") + "-v" + QByteArray::number(Dwarf) + "-O" + QByteArray::number(Opt);
    for (const char* p = sExtra; *p; p++) Text += (*p == ' ' || *p == '/' || *p == '=') ? '_' : *p;
    return Text;
}

QString CTestBuild::Dir()
{
    static QTemporaryDir s_Dir;
    return s_Dir.path();
}

QByteArray CTestBuild::Run(const QString& sProgram, const QStringList& asArg)
{
    // By the C library's own way of starting a program: the one of the tool kit ends the thread sanitizer.
    QByteArray Command = sProgram.toUtf8();
    for (const QString& sArg : asArg) Command += " '" + QString(sArg).replace("'", "'\\''").toUtf8() + "'";
    FILE* pPipe = popen(Command.constData(), "r");
    if (!pPipe) return {};
    QByteArray Out;
    char acBuffer[65536];
    while (const size_t Count = fread(acBuffer, 1, sizeof(acBuffer), pPipe)) Out.append(acBuffer, qsizetype(Count));
    if (pclose(pPipe) != 0) qWarning() << Command;
    return Out;
}

QString CTestBuild::Get(const BUILD& Build)
{
    static QHash<QByteArray, QString> s_Built;
    const QByteArray Name = Build.Name();
    if (s_Built.contains(Name)) return s_Built[Name];
    const QString sSrc = QStringLiteral(VANTREL_SOURCE_DIR "/tests/program/programs/");
    const QString sOut = Dir() + "/" + Name + ".elf";
    const bool IsGcc = qstrcmp(Build.sCompiler, "gcc") == 0;
    QStringList asArg{"-mcpu=cortex-m4", "-mthumb", QString("-gdwarf-%1").arg(Build.Dwarf), "-g3",
                      QString("-O%1").arg(Build.Opt), "-nostdlib", "-ffreestanding", "-fno-builtin",
                      "-Wl,-Ttext=0x8000", "-Wl,-emain", "-o", sOut};
    if (!IsGcc) asArg << "--target=arm-none-eabi" << "-fuse-ld=lld";
    if (Build.IsCpp) asArg << "-fno-exceptions" << "-fno-rtti" << "-x" << "c++" << sSrc + "classes.cpp" << sSrc + "classesmain.cpp";
    else asArg << sSrc + "main.c" << sSrc + "second.c";
    asArg << QString(Build.sExtra).split(' ', Qt::SkipEmptyParts);
    // Run-time help for floating point; there is none for the other byte order.
    const QByteArray Extra(Build.sExtra);
    const bool IsBigEndian = Extra.contains("big-endian");
    if (IsBigEndian) asArg << "-Wl,--unresolved-symbols=ignore-all";
    const QByteArray LibGcc = Run("arm-none-eabi-gcc", {"-mcpu=cortex-m4", "-mthumb", "-print-libgcc-file-name"}).trimmed();
    if (!IsBigEndian && !Extra.contains("ignore-all")) asArg << "-x" << "none" << LibGcc;
    Run(IsGcc ? (Build.IsCpp ? "arm-none-eabi-g++" : "arm-none-eabi-gcc") : (Build.IsCpp ? "clang++" : "clang"), asArg);
    s_Built[Name] = QFile::exists(sOut) ? sOut : QString();
    return s_Built[Name];
}

QList<BUILD> CTestBuild::All()
{
    QList<BUILD> aBuild;
    for (const char* sCompiler : {"gcc", "clang"}) {
        for (const bool IsCpp : {false, true}) {
            for (int Dwarf = 2; Dwarf <= 5; Dwarf++) {
                for (const int Opt : {0, 2}) aBuild.append({sCompiler, IsCpp, Dwarf, Opt, ""});
            }
        }
    }
    return aBuild;
}

QList<QByteArray> CTestBuild::Gdb(const QString& sElf, const QStringList& asCommand)
{
    QStringList asArg{"-batch", "-nx", "-ex", "set width 0", "-ex", "set pagination off"};
    for (const QString& sCommand : asCommand) asArg << "-ex" << "echo @@@\\n" << "-ex" << sCommand;
    QList<QByteArray> aAnswer;
    QByteArray Out = Run("gdb-multiarch", asArg << sElf);
    qsizetype Pos = Out.indexOf("@@@\n");
    while (Pos >= 0) {
        const qsizetype Next = Out.indexOf("@@@\n", Pos + 4);
        aAnswer.append(Out.mid(Pos + 4, Next < 0 ? -1 : Next - Pos - 4));
        Pos = Next;
    }
    return aAnswer;
}
