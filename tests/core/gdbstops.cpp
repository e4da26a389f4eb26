#include "gdbstops.h"
#include "objdump.h"

#include <QFile>
#include <QTemporaryDir>

QString GetElf(const QString& sName) {
    return QStringLiteral(CORE_TEST_DATA "/%1.elf").arg(sName);
}

QList<STOP> RunGdb(const QString& sElf, bool IsBigEndian) {
    QTemporaryDir Dir;
    qputenv("SNAPSHOT_DIR", Dir.path().toUtf8());
    const QString sCommand = QStringLiteral("gdb-multiarch -nx -batch \"%1\" -ex 'target remote | qemu-system-arm -M mps2-an385 -kernel \"%1\" -S "
                                            "-gdb stdio -display none -serial none -monitor none' -x \"" CORE_TEST_SOURCE "/data/snapshots.py\" 2>&1");
    // An emulator of programs listens at a socket in place of its standard input.
    const QString sUserCommand = QStringLiteral("qemu-armeb -g %2/gdb \"%1\" & for i in $(seq 100); do [ -S %2/gdb ] && break; sleep 0.1; done; "
                                                "SNAPSHOT_STATUS=cpsr gdb-multiarch -nx -batch \"%1\" -ex 'target remote %2/gdb' -x \"" CORE_TEST_SOURCE
                                                "/data/snapshots.py\" 2>&1; kill $! 2>/dev/null; wait");
    const QByteArray aOutput = RunCommand("ulimit -c 0; " + (IsBigEndian ? sUserCommand.arg(sElf, Dir.path()) : sCommand.arg(sElf)));
    QList<STOP> aStop;
    for (const QByteArray& aLine : aOutput.split('\n')) {
        const QStringList aWord = QString::fromUtf8(aLine).split(' ');
        if (aWord[0] == "STOP") {
            aStop.append(STOP());
        } else if (aWord[0] == "LIVE") {
            for (const QString& s : aWord.mid(1)) aStop.last().aLive << s.toUInt(nullptr, 16);
        } else if (aWord[0] == "FRAME" && !aStop.isEmpty()) {
            aStop.last().aFrame << GDB_FRAME{aWord[2].toInt(), aWord[3], aWord[4].toUInt(nullptr, 16), aWord.mid(5)};
        } else if (aWord[0] == "SEEN" && !aStop.isEmpty()) {
            aStop.last().Seen[aWord[1].toInt()] = aWord.mid(2);
            aStop.last().Seen[aWord[1].toInt()].removeAll(QString());
        } else if (aWord[0] == "LOCAL" && !aStop.isEmpty()) {
            aStop.last().aLocal << GDB_LOCAL{aWord[1].toInt(), aWord[2].toUInt(), aWord[3], aWord[4].toUInt(), aWord[5].toULongLong(nullptr, 16), -1};
        } else if (aWord[0] == "LENGTH" && !aStop.isEmpty()) {
            aStop.last().aLocal.last().Length = aWord[4].toInt();
        } else if (aWord[0] == "VALUE" && !aStop.isEmpty()) {
            aStop.last().aValue << GDB_VALUE{aWord[1].toInt(), aWord[2].toUInt(), aWord[3], aWord[4], aWord[5], aWord[6].toULongLong(nullptr, 16)};
        }
    }
    for (int i = 0; i < aStop.size(); i++) {
        QFile File(Dir.filePath(QStringLiteral("ram%1.bin").arg(i)));
        if (File.open(QIODevice::ReadOnly)) aStop[i].aRam = File.readAll();
    }
    return aStop;
}
