// Compiles test programs and runs an image in both worlds, comparing all registers before
// every instruction.
#pragma once

#include "testmachine.h"

#include <QMap>
#include <QString>
#include <QStringList>

struct LockstepResult {
    uint64_t NumInstructions = 0;
    uint32_t LastPc = 0;
    uint32_t ExceptionPc = 0; // instruction before the latest exception entry
    QString sError;           // empty: no difference
};

// The raw image of programs/<sSource> with the start-up code for a board; empty with a
// message in *psError when the compiler is missing or refuses.
QByteArray BuildProgram(const BoardInfo& Info, const QString& sSource, const QStringList& aOptions,
                        QString* psError);

// Assembles a source behind a vector table and starts the machine with it. The table has the
// symbols start, hardfault, svcall, irq0 and so on where the source defines them. Symbols by
// name. False: a warning was written.
bool LoadAssembled(TestMachine& Machine, const char* sSource, QMap<QString, uint32_t>* pSymbols);

// Runs until the program stays on one instruction or MaxInstructions are compared. What is
// the same in both by agreement (EXC_RETURN of cores with and without security extension) is
// left out.
LockstepResult RunLockstep(const BoardInfo& Info, const QByteArray& Image, uint64_t MaxInstructions,
                           uint32_t* pResult = nullptr);
