// Builds the test programs with the cross compilers and runs the tools that serve as oracles.
#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// One way of building a program.
struct BUILD {
    const char* sCompiler; ///< "gcc" or "clang"
    bool IsCpp;
    int Dwarf;             ///< version of the debug information
    int Opt;               ///< optimisation level
    const char* sExtra;    ///< further options, may be empty
    QByteArray Name() const;
};

class CTestBuild {
public:
    /// Path of the program, empty if the build failed (with a message). Each is built once a process.
    static QString Get(const BUILD& Build);
    /// All combinations of compilers, languages, versions 2 to 5 and levels 0 and 2.
    static QList<BUILD> All();
    /// Standard output of a tool; empty if it can't be run.
    static QByteArray Run(const QString& sProgram, const QStringList& asArg);
    /// Answers of gdb, one for each command.
    static QList<QByteArray> Gdb(const QString& sElf, const QStringList& asCommand);
    static QString Dir();
};
