// CorePluginRISCV against GNU objdump, instruction by instruction, and its regions, frames and host functions.
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "fakeprobe.h"
#include "objdump.h"
#include "testelf.h"

#include <QRegularExpression>
#include <QTest>
#include <cstring>

namespace {

constexpr int RV32IMAC = 0x13000001;
constexpr U32 REG_SP = 2;
constexpr U32 REG_PC = 32;

QString GetElfPath(const char* sName) {
    return QStringLiteral(CORE_TEST_DATA "/%1.elf").arg(QLatin1String(sName));
}

QList<LINE> ReadListing(const QString& sPath) {
    QList<LINE> aLine;
    static const QRegularExpression Pattern(QStringLiteral("^ +([0-9a-f]+):\t([0-9a-f]{4}|[0-9a-f]{8}) *\t([^\t]+)\t?(.*)$"));
    const QByteArray aText = RunCommand(QStringLiteral("riscv64-unknown-elf-objdump -d -z -w \"%1\"").arg(sPath));
    for (const QByteArray& aLineText : aText.split('\n')) {
        const auto Match = Pattern.match(QString::fromUtf8(aLineText));
        if (!Match.hasMatch() || Match.captured(3).startsWith('.')) continue;
        aLine.append({Match.captured(1).toUInt(nullptr, 16), int(Match.captured(2).size() / 2), Match.captured(3).trimmed(), Match.captured(4)});
    }
    return aLine;
}

/// The listing writes an operation with an immediate like the one with a register.
QString Normalise(QString m, QString o) {
    m = m.toLower();
    o = o.toLower().remove(QRegularExpression(QStringLiteral("[#<;].*"))).remove(' ').trimmed();
    QStringList aOperand = o.split(QRegularExpression(QStringLiteral("[,()]+")), Qt::SkipEmptyParts);
    bool IsNumber = false;
    for (QString& s : aOperand) {
        const qint64 Value = s.toLongLong(&IsNumber, 0);
        if (IsNumber) s = QString::number(Value);
    }
    static const QStringList asImmediate{"add", "sll", "srl", "sra", "and", "or", "xor", "csrs", "csrc", "csrw"};
    if (IsNumber && asImmediate.contains(m)) m += 'i';
    if (m == "zext.b") m = "andi", aOperand << "255";
    if (m == "fence" && aOperand.join(',') == "iorw,iorw") aOperand.clear(); // the fence of everything
    return m + ' ' + aOperand.join(',');
}

bool IsCall(const QString& m) {
    return m == "jal" || m == "jalr";
}

/// What the mnemonic says of the flow.
U32 GetExpected(const LINE& Line) {
    const QString& m = Line.sMnemonic;
    if (IsCall(m)) return CORE_INST_BRANCH | CORE_INST_CALL | (m == "jal" ? U32(CORE_INST_DIRECT) : 0u);
    if (m == "j") return CORE_INST_BRANCH | CORE_INST_DIRECT;
    if (m == "jr") return CORE_INST_BRANCH | (Line.sOperands == "t0" ? U32(CORE_INST_RETURN) : 0u);
    if (m == "ret" || m == "mret") return CORE_INST_BRANCH | CORE_INST_RETURN;
    if (m.startsWith('b')) return CORE_INST_BRANCH | CORE_INST_DIRECT | CORE_INST_CONDITIONAL;
    if (m == "ecall") return CORE_INST_FLOW_OTHER;
    return m == "ebreak" ? CORE_INST_SKIP_ON_RESUME : 0u;
}

} // namespace

class tst_core_decode_rv : public QObject {
    Q_OBJECT
    CTestElf Elf;

private slots:
    void initTestCase_data() {
        QTest::addColumn<QString>("Path");
        for (const char* s : {"rv_o0", "rv_o2"}) QTest::newRow(s) << GetElfPath(s);
    }

    void init() {
        QFETCH_GLOBAL(QString, Path);
        Elf = CTestElf();
        QVERIFY(Elf.Load(Path));
        Elf.InstallHooks();
        Core_GetHooks().GetProjectPluginPath = [] { return QStringLiteral(CORE_PLUGIN_RISCV); };
        QVERIFY(Core_Load(RV32IMAC) >= 0);
    }

    void LengthAndText() {
        QFETCH_GLOBAL(QString, Path);
        const QList<LINE> aLine = ReadListing(Path);
        QVERIFY(aLine.size() > 1500);
        QStringList aDifference;
        for (const LINE& Line : aLine) {
            CORE_INST_INFO Info;
            char acText[128];
            QVERIFY2(Core_AnalyzeInst(Line.Addr, &Info) == 0, qPrintable(QStringLiteral("%1 %2").arg(Line.Addr, 0, 16).arg(Line.sMnemonic)));
            QCOMPARE(Info.Length, Line.Length);
            QCOMPARE(Info.Class, U32(Line.Length == 2 ? CORE_INST_CLASS_SECOND : CORE_INST_CLASS_FIRST));
            QCOMPARE(Core_DisassembleInst(Line.Addr, 4, acText, sizeof acText), Line.Length);
            const QStringList aPart = QString::fromUtf8(acText).split('\t');
            const bool IsTarget = Info.Flags & CORE_INST_DIRECT;
            const QString sOurs = Normalise(aPart[0], IsTarget ? QString() : aPart.value(1));
            const QString sTheirs = Normalise(Line.sMnemonic, IsTarget ? QString() : Line.sOperands);
            if (sOurs != sTheirs) aDifference << QStringLiteral("%1: %2 | %3").arg(Line.Addr, 0, 16).arg(sOurs, sTheirs);
        }
        for (const QString& s : aDifference.mid(0, 40)) qInfo("%s", qPrintable(s));
        qInfo("%d instructions", int(aLine.size()));
        QCOMPARE(aDifference.size(), 0);
    }

    void FlowAndStack() {
        QFETCH_GLOBAL(QString, Path);
        const U32 Mask = CORE_INST_BRANCH | CORE_INST_CALL | CORE_INST_RETURN | CORE_INST_DIRECT | CORE_INST_FLOW_OTHER |
                         CORE_INST_CONDITIONAL | CORE_INST_SKIP_ON_RESUME;
        static const QRegularExpression Target(QStringLiteral("([0-9a-f]+) <"));
        static const QRegularExpression Stack(QStringLiteral("^sp,sp,(-?\\d+)$"));
        int NumTargets = 0;
        int NumChanges = 0;
        for (const LINE& Line : ReadListing(Path)) {
            CORE_INST_INFO Info;
            QCOMPARE(Core_AnalyzeInst(Line.Addr, &Info), 0);
            const QByteArray aWhere = QStringLiteral("%1: %2 %3").arg(Line.Addr, 0, 16).arg(Line.sMnemonic, Line.sOperands).toUtf8();
            QVERIFY2((Info.Flags & Mask) == GetExpected(Line), aWhere);
            const auto Change = Stack.match(Line.sOperands);
            const int Expected = Line.sMnemonic == "add" && Change.hasMatch() ? Change.captured(1).toInt() : 0;
            QVERIFY2(Info.SPChange == Expected, aWhere);
            NumChanges += Expected != 0;
            if (!(Info.Flags & CORE_INST_DIRECT)) continue;
            const auto Match = Target.match(Line.sOperands);
            QVERIFY2(Match.hasMatch(), aWhere);
            QCOMPARE(Info.BranchTarget, U64(Match.captured(1).toUInt(nullptr, 16)));
            NumTargets++;
        }
        QVERIFY(NumTargets > 100);
        QVERIFY(NumChanges > 10);
    }

    void NoInstructions() {
        CORE_INST_INFO Info;
        Core_GetHooks().ReadElfSection = [](U64 Addr, U32 Size, void* p) {
            static const U8 ab[] = {0x00, 0x00, 0x1F, 0x00, 0x13, 0x05}; // a trap, a longer form, a word that is cut
            if (Addr + Size > sizeof ab) return -1;
            memcpy(p, ab + Addr, Size);
            return 0;
        };
        QCOMPARE(Core_AnalyzeInst(0, &Info), 0);
        QCOMPARE(Info.Flags, U32(CORE_INST_FLOW_OTHER));
        for (const U64 Addr : {1u, 2u, 4u, 0xFFFFFFFFu}) QVERIFY(Core_AnalyzeInst(Addr, &Info) < 0);
    }

    void MapSymbolsAndHeader() {
        U32 Kind = 9;
        for (const char* s : {"$x", "$xrv32i2p1_m2p0", "$x.4"}) {
            QCOMPARE(Core_ParseMapSym(s, &Kind), 0);
            QCOMPARE(Kind & 0xFF, U32(CORE_MAPSYM_CODE));
        }
        QCOMPARE(Core_ParseMapSym("$d", &Kind), 0);
        QCOMPARE(Kind & 0xFF, U32(CORE_MAPSYM_DATA));
        for (const char* s : {"$", "$t", "$dx", "main", ""}) QCOMPARE(Core_ParseMapSym(s, &Kind), -1);
        U8 abHeader[52] = {0x7F, 'E', 'L', 'F', 1, 1, 1};
        abHeader[18] = 243;
        QCOMPARE(Core_CheckProgram(abHeader), 0u);
        abHeader[4] = 2; // of 64 bit
        QCOMPARE(Core_CheckProgram(abHeader), U32(CORE_PROGRAM_NOT_EXECUTABLE));
        abHeader[4] = 1;
        abHeader[18] = 40;
        QCOMPARE(Core_CheckProgram(abHeader), U32(CORE_PROGRAM_NOT_EXECUTABLE));
    }

    /// A function of which only the code is known, at each of its instructions.
    void Prologue() {
        static const U8 abCode[] = {0x01, 0x11,              // addi sp, sp, -32
                                    0x06, 0xCE,              // sw ra, 28(sp)
                                    0x13, 0x01, 0x01, 0xFE,  // addi sp, sp, -32
                                    0x01, 0x00};             // nop
        Core_GetHooks().ReadElfSection = [](U64 Addr, U32 Size, void* p) {
            if (Addr < 0x1000 || Addr + Size > 0x1000 + sizeof abCode) return -1;
            memcpy(p, abCode + (Addr - 0x1000), Size);
            return 0;
        };
        struct CASE {
            U32 PC;
            int Depth;
            U32 SavedAt; ///< 0: still in its register
        };
        for (const CASE& Case : {CASE{0x1000, 0, 0}, CASE{0x1002, 32, 0}, CASE{0x1004, 32, 0x2000 + 28}, CASE{0x1008, 64, 0x2000 + 60}}) {
            U64 aValue[33] = {};
            U8 aStatus[33] = {};
            CORE_LOC aRule[33] = {};
            CORE_LOC aOwn[33] = {};
            aValue[REG_SP] = 0x2000;
            aValue[REG_PC] = Case.PC;
            const CORE_REG_SET Set{0x1000, 0x100A, 33, 8, aValue, aStatus, aOwn};
            CORE_UNWIND_REQUEST Request{1, 33, 0, aRule};
            QCOMPARE(Core_GetUnwindRules(&Set, &Request), 0);
            QCOMPARE(aRule[REG_SP].aPart[0].Type, U32(CORE_LOC_SP_PLUS));
            QCOMPARE(aRule[REG_SP].aPart[0].Offset, Case.Depth);
            QCOMPARE(aRule[1].aPart[0].Type, U32(Case.SavedAt ? CORE_LOC_MEM : CORE_LOC_REG));
            if (Case.SavedAt) QCOMPARE(aRule[1].aPart[0].Address, Case.SavedAt);
            aOwn[REG_SP].NumParts = 1; // the program file knows the frame
            QVERIFY(Core_GetUnwindRules(&Set, &Request) != 0);
        }
    }

    void Semihosting() {
        static const U32 aCode[] = {0x01F01013, 0x00100073, 0x40705013, 0x00100073};
        Core_GetHooks().ReadElfSection = [](U64 Addr, U32 Size, void* p) {
            if (Addr < 0x1000 || Addr + Size > 0x1000 + sizeof aCode) return -1;
            memcpy(p, reinterpret_cast<const U8*>(aCode) + (Addr - 0x1000), Size);
            return 0;
        };
        FAKE_PROBE& Probe = GetFakeProbe();
        U32 Op = 0;
        U64 Param = 0;
        Probe.aReg[10] = 5;
        Probe.aReg[11] = 0x20000010;
        Probe.aReg[32] = 0x1004;
        QCOMPARE(Core_HandleSemihosting(0x100C, &Op, &Param), int(CORE_SEMIHOST_NO)); // a breakpoint of another kind
        QCOMPARE(Core_HandleSemihosting(0x1004, &Op, &Param), int(CORE_SEMIHOST_SERVE));
        QCOMPARE(Op, 5u);
        QCOMPARE(Param, U64(0x20000010));
        QCOMPARE(Core_FinishSemihosting(-1), 0);
        QCOMPARE(Probe.aReg[10], U64(0xFFFFFFFF));
        QCOMPARE(Probe.aReg[32], U64(0x1008));
        QCOMPARE(Core_FinishSemihosting(0), 0);
        QCOMPARE(Probe.aReg[32], U64(0x1008));
    }

    void cleanupTestCase() { QCOMPARE(Core_Unload(), 0); }
};

QTEST_GUILESS_MAIN(tst_core_decode_rv)
#include "tst_core_decode_rv.moc"
