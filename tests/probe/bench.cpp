#include "bench.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QThread>

#include <elf.h>

#include <cstdio>

namespace Bench {

int Exec(const QString& Cmd, QString* pAnswer)
{
    char acOut[8192] = {};
    const int Result = BRYLLOARM_ExecCommand(Cmd.toUtf8().constData(), acOut, sizeof(acOut));
    if (pAnswer) {
        // The reason of a failure, or the value that lies behind the empty text.
        *pAnswer = QString::fromUtf8(acOut[0] ? acOut : acOut + 1);
    }
    return Result;
}

qint64 Query(const QString& Cmd)
{
    QString Answer;
    return Exec(Cmd, &Answer) >= 0 ? Answer.toLongLong() : -1;
}

bool Connect(const char* sDevice, unsigned Core)
{
    Exec("Sim.ClearFaults");
    Exec("Sim.ResetCaps");
    Exec("Sim.SetSpeed max");
    BRYLLOARM_Close();
    BRYLLOARM_SetEndian(0);
    if (BRYLLOARM_SelectUSB(0) < 0 || BRYLLOARM_Open() || Exec(QString("device=%1").arg(sDevice)) != 0) {
        return false;
    }
    BRYLLOARM_TIF_Select(BRYLLO_TIF_SWD);
    BRYLLOARM_SetCoreIndex(Core);
    if (BRYLLOARM_Connect() != 0 || Exec("Sim.Erase") != 0) {
        return false;
    }
    BRYLLOARM_EnableSoftBPs(1);
    return BRYLLOARM_Halt() == 0 && BRYLLOARM_Reset() == 0 && BRYLLOARM_IsHalted() == 1;
}

U64 Reg(U32 Index)
{
    U64 Value = 0;
    U8 Status = 1;
    return BRYLLOARM_ReadRegs(&Index, &Value, &Status, 1) == 0 && Status == 0 ? Value : ~U64(0);
}

bool SetReg(U32 Index, U64 Value)
{
    U8 Status = 1;
    return BRYLLOARM_WriteRegs(&Index, &Value, &Status, 1) == 0 && Status == 0;
}

U32 Word(U32 Addr)
{
    U32 Value = 0xDEADBEEF;
    BRYLLOARM_ReadMemU32(Addr, 1, &Value, nullptr);
    return Value;
}

bool WaitHalted()
{
    QElapsedTimer Timer;
    Timer.start();
    while (BRYLLOARM_IsHalted() != 1) {
        if (Timer.elapsed() > 60000) {
            return false;
        }
        QThread::usleep(200);
    }
    return true;
}

bool RunToHalt()
{
    return BRYLLOARM_GoEx(0, 1) == 0 && WaitHalted();
}

QString Example(const QString& Name, const QString& Level)
{
    return QString(VANTREL_BINARY_DIR "/examples/%1/%2/%1.elf").arg(Name, Level);
}

int LoadElf(const QString& Path)
{
    QFile File(Path);
    if (!File.open(QIODevice::ReadOnly)) {
        return -1000;
    }
    const QByteArray Data = File.readAll();
    if (Data.size() < int(sizeof(Elf32_Ehdr))) {
        return -1000;
    }
    const auto* pHeader = reinterpret_cast<const Elf32_Ehdr*>(Data.constData());
    if (BRYLLOARM_BeginDownload(0) != 0 ||
        pHeader->e_phoff + pHeader->e_phnum * sizeof(Elf32_Phdr) > size_t(Data.size())) {
        return -1000;
    }
    const auto* pSegments = reinterpret_cast<const Elf32_Phdr*>(Data.constData() + pHeader->e_phoff);
    for (int i = 0; i < pHeader->e_phnum; ++i) {
        const Elf32_Phdr& s = pSegments[i];
        if (s.p_type == PT_LOAD && s.p_filesz != 0 && s.p_offset + s.p_filesz <= size_t(Data.size()) &&
            BRYLLOARM_WriteMemEx(s.p_paddr, s.p_filesz, Data.constData() + s.p_offset, 0) !=
                int(s.p_filesz)) {
            return -1000;
        }
    }
    const int Result = BRYLLOARM_EndDownload();
    return BRYLLOARM_Reset() == 0 ? Result : -1000;
}

/// popen instead of QProcess, whose way to fork the thread sanitizer does not survive.
static QString RunTool(const QString& CmdLine)
{
    std::FILE* pPipe = popen(CmdLine.toUtf8().constData(), "r");
    if (!pPipe) {
        return {};
    }
    QByteArray Output;
    char acPart[4096];
    while (const std::size_t NumBytes = std::fread(acPart, 1, sizeof(acPart), pPipe)) {
        Output.append(acPart, int(NumBytes));
    }
    return pclose(pPipe) == 0 ? QString::fromUtf8(Output) : QString();
}

QHash<QString, U32> Symbols(const QString& Path)
{
    QHash<QString, U32> Table;
    const QStringList Lines = RunTool("arm-none-eabi-nm '" + Path + "'").split('\n');
    for (const QString& Line : Lines) {
        const QStringList Words = Line.split(' ', Qt::SkipEmptyParts);
        if (Words.size() == 3) {
            Table[Words[2]] = Words[0].toUInt(nullptr, 16);
        }
    }
    return Table;
}

QList<CInst> Disassemble(const QString& Path)
{
    QList<CInst> List;
    static const QRegularExpression Inst("^ +([0-9a-f]+):\t[0-9a-f ]+\t(.*)$");
    const QStringList Lines = RunTool("arm-none-eabi-objdump -d '" + Path + "'").split('\n');
    for (const QString& Line : Lines) {
        const auto Match = Inst.match(Line);
        if (Match.hasMatch()) {
            List.append({Match.captured(1).toUInt(nullptr, 16), Match.captured(2)});
        }
    }
    return List;
}

bool LoadLoop(U32 FlashAddr, U32 RAMAddr, U32* pLoopAddr)
{
    const U32 Start = FlashAddr + 0x100;
    const U32 aVectors[2] = {RAMAddr + 0x400, Start | 1};
    const U16 aCode[] = {
        0x4902, // ldr  r1, [pc, #8]
        0x2000, // movs r0, #0
        0x3001, // adds r0, #1
        0x6008, // str  r0, [r1]
        0x680A, // ldr  r2, [r1]
        0xE7FB, // b    adds
    };
    *pLoopAddr = Start + 4;
    return BRYLLOARM_BeginDownload(0) == 0 &&
           BRYLLOARM_WriteMem(FlashAddr, sizeof(aVectors), aVectors) == sizeof(aVectors) &&
           BRYLLOARM_WriteMem(Start, sizeof(aCode), aCode) == sizeof(aCode) &&
           BRYLLOARM_WriteU32(Start + 12, RAMAddr) == 0 && BRYLLOARM_EndDownload() >= 0 &&
           BRYLLOARM_Reset() == 0;
}

} // namespace Bench
