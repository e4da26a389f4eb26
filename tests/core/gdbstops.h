// Stops of a program in an emulator: memory and registers as they were, and what GDB says of frames and values there.
#pragma once
#include "app/services/types.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

constexpr U32 RAM = 0x20000000;
constexpr int NUM_STOPS = 6;

struct GDB_FRAME {
    int Kind;
    QString sName;
    U32 PC;
    QStringList aSaved; ///< R4 to R11
};

/// A variable of a frame as GDB shows it.
struct GDB_LOCAL {
    int Level;
    U32 Line;
    QString sName;
    U32 Size;    ///< bytes; 0: Value is the address of an array
    U64 Value;
    int Length;  ///< of an array, else -1
};

/// One number in a variable, or behind a pointer of it, as GDB shows it.
struct GDB_VALUE {
    int Level;
    U32 Line;
    QString sName;
    QString sPath;  ///< .member, [index] and > (what a pointer points to), "-" for the variable itself
    QString sState; ///< "=", "LOST", or "SYNTHETIC": a pointer without a value
    U64 Value;
};

struct STOP {
    QList<U32> aLive; ///< R0 to R12, SP, LR, PC, XPSR
    QList<GDB_FRAME> aFrame;
    QList<GDB_LOCAL> aLocal;
    QMap<int, QStringList> Seen; ///< names of the variables that a frame's source sees, by level
    QList<GDB_VALUE> aValue;
    QByteArray aRam;
};

QString GetElf(const QString& sName); ///< path of a test program
/// Runs a program and takes the snapshots. Big-endian ones run in an emulator of programs, the others in one of a board.
QList<STOP> RunGdb(const QString& sElf, bool IsBigEndian = false);
