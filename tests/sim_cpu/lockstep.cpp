#include "lockstep.h"

#include "emulatorlog.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QString ProgramPath(const QString& sName)
{
    return QString(VANTREL_SOURCE_DIR "/tests/sim_cpu/programs/") + sName;
}

// By fork and exec: the thread sanitizer can't follow the way QProcess starts programs.
bool RunTool(const QString& sProgram, const QStringList& aArgs, QString* psError,
             QByteArray* pOutput = nullptr)
{
    QList<QByteArray> aTexts{sProgram.toLocal8Bit()};
    for (const QString& sArg : aArgs) aTexts << sArg.toLocal8Bit();
    std::vector<char*> aPointers;
    for (QByteArray& Text : aTexts) aPointers.push_back(Text.data());
    aPointers.push_back(nullptr);
    int Pipe[2];
    if (pipe2(Pipe, O_CLOEXEC) != 0) return false;
    pid_t Pid = fork();
    if (Pid == 0) {
        dup2(Pipe[1], 1);
        dup2(Pipe[1], 2);
        execvp(aPointers[0], aPointers.data());
        _exit(127);
    }
    close(Pipe[1]);
    QByteArray Output;
    char Buffer[4096];
    for (ssize_t Count; (Count = read(Pipe[0], Buffer, sizeof Buffer)) > 0;) Output.append(Buffer, Count);
    close(Pipe[0]);
    int Status = -1;
    if (Pid > 0) waitpid(Pid, &Status, 0);
    if (WIFEXITED(Status) && WEXITSTATUS(Status) == 0) {
        if (pOutput) *pOutput = Output;
        return true;
    }
    if (WIFEXITED(Status) && WEXITSTATUS(Status) == 127)
        *psError = sProgram + " is not installed: the test programs are compiled with it";
    else
        *psError = sProgram + " failed:\n" + QString::fromLocal8Bit(Output);
    return false;
}

QString Describe(const CpuState& Before, const CpuState& Ours, const CpuState& Theirs)
{
    QString sText;
    auto Row = [&](const QString& sName, uint32_t A, uint32_t B) {
        if (A != B)
            sText += QString("  %1: ours %2, emulator %3\n")
                         .arg(sName)
                         .arg(A, 8, 16, QChar('0'))
                         .arg(B, 8, 16, QChar('0'));
    };
    for (int i = 0; i < 16; ++i) Row(QString("R%1").arg(i), Ours.R[i], Theirs.R[i]);
    Row("XPSR", Ours.Xpsr, Theirs.Xpsr);
    for (int i = 0; i < 32; ++i) Row(QString("S%1").arg(i), Ours.S[i], Theirs.S[i]);
    Row("FPSCR", Ours.Fpscr, Theirs.Fpscr);
    sText += "  both before:";
    for (int i = 0; i < 15; ++i) sText += QString(" R%1=%2").arg(i).arg(Before.R[i], 0, 16);
    return sText;
}

// The emulator's Cortex-M33 has the security extension: its EXC_RETURN says "secure".
uint32_t WithoutSecurity(uint32_t Value)
{
    return (Value & 0xFFFFFF80u) == 0xFFFFFF80u ? Value & ~0x41u : Value;
}

bool Same(const CpuState& Ours, CpuState Theirs, bool HasSecurity)
{
    if (Ours == Theirs) return true;
    if (!HasSecurity) return false;
    CpuState A = Ours;
    for (int i = 0; i < 15; ++i) {
        A.R[i] = WithoutSecurity(A.R[i]);
        Theirs.R[i] = WithoutSecurity(Theirs.R[i]);
    }
    return A == Theirs;
}

// The emulator logs the next instruction before it sees that an interrupt is pending there.
// Such a record must be the state that our exception entry has just stacked.
bool IsInterrupted(const TestMachine& Machine, const CpuState& Ours, const CpuState& Theirs)
{
    if (!(Ours.Xpsr & 0x1FF) || Ours.R[14] < 0xFFFFFF00u) return false;
    uint32_t Frame =
        uint32_t(Machine.GetReg(Ours.R[14] & 4 ? Sim::kRegPsp : Sim::kRegMsp)) - Machine.m_Info.Ram;
    if (Frame > Machine.m_Ram.size() - 32) return false;
    uint32_t Words[8];
    memcpy(Words, Machine.m_Ram.data() + Frame, sizeof Words);
    return Words[0] == Theirs.R[0] && Words[3] == Theirs.R[3] && Words[6] == Theirs.R[15] &&
           ((Words[7] ^ Theirs.Xpsr) & ~0x200u) == 0 && std::equal(Ours.R + 4, Ours.R + 12, Theirs.R + 4);
}

} // namespace

QByteArray BuildProgram(const BoardInfo& Info, const QString& sSource, const QStringList& aOptions,
                        QString* psError)
{
    QTemporaryDir Dir;
    QFile Template(ProgramPath("program.ld.in"));
    QFile Script(Dir.filePath("program.ld"));
    if (!Template.open(QIODevice::ReadOnly) || !Script.open(QIODevice::WriteOnly)) {
        *psError = "cannot write the linker script";
        return {};
    }
    QByteArray Text = Template.readAll();
    Text.replace("@ROM@", QByteArray::number(Info.Rom)).replace("@RAM@", QByteArray::number(Info.Ram));
    Text.replace("@RAMSIZE@", QByteArray::number(std::min(Info.RamSize, 0x8000u)));
    Script.write(Text);
    Script.close();

    QStringList aArgs = QString(Info.sGccFlags).split(' ');
    aArgs << "-mthumb"
          << "-g"
          << "-ffunction-sections"
          << "-fno-exceptions"
          << "-nostartfiles"
          << "--specs=nosys.specs"
          << "-T" << Script.fileName() << "-Wl,--gc-sections"
          << "-w" << aOptions << "-x"
          << "c" << ProgramPath("startup.c");
    bool IsCpp = sSource.endsWith(".cpp");
    aArgs << "-x" << (IsCpp ? "c++" : "c") << ProgramPath(sSource) << "-o" << Dir.filePath("program.elf")
          << "-lm";
    if (!RunTool(IsCpp ? "arm-none-eabi-g++" : "arm-none-eabi-gcc", aArgs, psError)) return {};
    QStringList aCopy{"-O", "binary", Dir.filePath("program.elf"), Dir.filePath("program.bin")};
    if (!RunTool("arm-none-eabi-objcopy", aCopy, psError)) return {};
    QFile Image(Dir.filePath("program.bin"));
    if (!Image.open(QIODevice::ReadOnly)) return {};
    return Image.readAll();
}

namespace {

// Vectors whose handlers are the symbols of the same name where the source has them.
constexpr const char* kVectors = R"(
 .macro vec name
 .weak \name
 .thumb_func
 .type \name, %function
 .word \name
 .endm
 .word 0x%1
 .word start + 1
 vec nmi
 vec hardfault
 vec memmanage
 vec busfault
 vec usagefault
 .word 0, 0, 0, 0
 vec svcall
 vec debugmon
 .word 0
 vec pendsv
 vec systick
 vec irq0
 vec irq1
)";

QByteArray Assemble(const BoardInfo& Info, const QByteArray& SourceText, QMap<QString, uint32_t>* pSymbols,
                    QString* psError)
{
    QTemporaryDir Dir;
    QFile Source(Dir.filePath("source.s"));
    if (!Source.open(QIODevice::WriteOnly)) return {};
    Source.write(".syntax unified\n.thumb\n.text\n");
    Source.write(SourceText);
    Source.write("\n");
    Source.close();
    QStringList aArgs = QString(Info.sGccFlags).split(' ');
    aArgs << "-mthumb"
          << "-nostdlib"
          << "-Wl,-Ttext=0x" + QString::number(Info.Rom, 16) << "-Wl,-e,0" << Source.fileName() << "-o"
          << Dir.filePath("source.elf");
    QByteArray Names;
    if (!RunTool("arm-none-eabi-gcc", aArgs, psError) ||
        !RunTool("arm-none-eabi-objcopy",
                 {"-O", "binary", Dir.filePath("source.elf"), Dir.filePath("source.bin")}, psError) ||
        !RunTool("arm-none-eabi-nm", {Dir.filePath("source.elf")}, psError, &Names))
        return {};
    for (const QByteArray& Line : Names.split('\n')) {
        QList<QByteArray> aParts = Line.split(' ');
        if (aParts.size() == 3) pSymbols->insert(QString(aParts[2]), aParts[0].toUInt(nullptr, 16));
    }
    QFile Image(Dir.filePath("source.bin"));
    if (!Image.open(QIODevice::ReadOnly)) return {};
    return Image.readAll();
}

} // namespace

bool LoadAssembled(TestMachine& Machine, const char* sSource, QMap<QString, uint32_t>* pSymbols)
{
    QString sError;
    pSymbols->clear();
    QByteArray Text = QString(kVectors).arg(Machine.m_Info.Ram + 0x1000, 0, 16).toLatin1() + sSource;
    QByteArray Image = Assemble(Machine.m_Info, Text, pSymbols, &sError);
    if (Image.isEmpty())
        qWarning("%s", qPrintable(sError));
    else
        Machine.LoadRom(Image);
    return !Image.isEmpty();
}

LockstepResult RunLockstep(const BoardInfo& Info, const QByteArray& Image, uint64_t MaxInstructions,
                           uint32_t* pResult)
{
    LockstepResult Result;
    QTemporaryDir Dir;
    QFile File(Dir.filePath("image.bin"));
    if (!File.open(QIODevice::WriteOnly) || File.write(Image) != Image.size()) {
        Result.sError = "cannot write the image";
        return Result;
    }
    File.close();
    TestMachine Machine(Info);
    Machine.LoadRom(Image);
    EmulatorLog Log;
    if (!Log.Start(Info, File.fileName())) {
        Result.sError = Log.GetError();
        return Result;
    }
    bool HasSecurity = Info.Kind == Sim::ArmCoreKind::M33;
    CpuState Ours = Machine.GetState(), Before, Theirs, TheirsBefore;
    while (Result.NumInstructions < MaxInstructions) {
        if (!Log.Next(Theirs)) {
            Result.sError = QString("%1 after %2 instructions, ours at %3")
                                .arg(Log.GetError())
                                .arg(Result.NumInstructions)
                                .arg(Ours.R[15], 0, 16);
            return Result;
        }
        if (Result.NumInstructions == 0) { // unknown at reset: the link register and the flags
            Machine.m_Cpu.SetReg(Sim::kRegLr, Theirs.R[14]);
            Machine.m_Cpu.SetReg(Sim::kRegXpsr, (Ours.Xpsr & 0x07FFFFFF) | (Theirs.Xpsr & 0xF8000000));
            Ours = Machine.GetState();
        }
        // Where nothing can be fetched the emulator logs the handler only.
        if (Result.NumInstructions && ((Ours.Xpsr ^ Theirs.Xpsr) & 0x1FF) &&
            !IsInterrupted(Machine, Ours, Theirs)) {
            uint64_t NumExecuted = Machine.m_Cpu.GetInstructions();
            Machine.RunOne();
            if (Machine.m_Cpu.GetInstructions() == NumExecuted) Ours = Machine.GetState();
        }
        bool IsSame = Same(Ours, Theirs, HasSecurity);
        // A block that was left before its instruction is logged again.
        if (!IsSame && Result.NumInstructions &&
            (Theirs == TheirsBefore || IsInterrupted(Machine, Ours, Theirs)))
            continue;
        if (!IsSame) {
            Result.sError = QString("difference after %1 instructions; the last one was at %2\n%3")
                                .arg(Result.NumInstructions)
                                .arg(Before.R[15], 8, 16, QChar('0'))
                                .arg(Describe(Before, Ours, Theirs));
            return Result;
        }
        if (Result.NumInstructions && Ours == Before) break; // "b ." at the end
        Before = Ours;
        TheirsBefore = Theirs;
        Machine.RunOne();
        Ours = Machine.GetState();
        ++Result.NumInstructions;
        if ((Ours.Xpsr & 0x1FF) && !(Before.Xpsr & 0x1FF)) Result.ExceptionPc = Before.R[15];
    }
    Result.LastPc = Ours.R[15];
    if (pResult) *pResult = Ours.R[0];
    return Result;
}
