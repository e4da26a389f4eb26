// GNU objdump's view of a program, the oracle of the decoding tests.
#pragma once
#include "app/services/types.h"

#include <QByteArray>
#include <QList>
#include <QString>

/// One instruction line.
struct LINE {
    U32 Addr;
    int Length;
    QString sMnemonic;
    QString sOperands;
};

/// Runs a shell command; gives its standard output.
QByteArray RunCommand(const QString& sCommand);
/// Instruction lines of a file; data lines are left out.
QList<LINE> ReadObjdump(const QString& sPath);
/// Operands with numbers, register names and ranges in one spelling, joined by ",".
QString NormaliseOperands(QString s);
/// Mnemonic without width suffix, in small letters.
QString NormaliseMnemonic(QString s);
/// Instruction text with synonyms brought to one form.
QString NormaliseText(const QString& sMnemonic, const QString& sOperands);
/// What the text says about the flow: bits of CORE_INST_INFO::Flags but for the condition.
U32 GetExpectedFlags(const LINE& Line);
