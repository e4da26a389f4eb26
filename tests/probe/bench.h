// What the tests of the probe library share: a fresh connection, commands, registers, programs.
#pragma once
#include "platform/probe/bryllo.h"

#include <QHash>
#include <QList>
#include <QString>

namespace Bench {

/// Selects the first probe, takes all faults off, and connects to the device with power new, flash
/// erased and the CPU halted after reset. False: it did not work.
bool Connect(const char* sDevice, unsigned Core = 0);
/// Runs a text command; the answer text in *pAnswer.
int Exec(const QString& Cmd, QString* pAnswer = nullptr);
/// Value of a command that answers with a number; -1 on failure.
qint64 Query(const QString& Cmd);

U64 Reg(U32 Index);
bool SetReg(U32 Index, U64 Value);
inline U32 Pc()
{
    return U32(Reg(BRYLLO_REG_PC));
}
U32 Word(U32 Addr);

/// Lets the target run and waits until it halts; false after ten seconds.
bool RunToHalt();
bool WaitHalted();

/// Loads the segments of an ELF file inside a download bracket and resets. Answers EndDownload's
/// result, -1000 when the file cannot be read or written.
int LoadElf(const QString& Path);
/// Path of an example program.
QString Example(const QString& Name, const QString& Level = QStringLiteral("O0"));
/// Symbols of an ELF file, as nm lists them.
QHash<QString, U32> Symbols(const QString& Path);
/// Address and text of each instruction, as objdump lists them, by ascending address.
struct CInst {
    U32 Addr;
    QString Text;
};
QList<CInst> Disassemble(const QString& Path);

/// Downloads a program for any of the Cortex-M cores: it counts in R0, stores the count as a word
/// at the start of RAM and loads it again, for ever. LoopAddr is the address of its ADDS.
bool LoadLoop(U32 FlashAddr, U32 RAMAddr, U32* pLoopAddr);

} // namespace Bench
