// The decoding of CorePluginARM against GNU objdump, instruction by instruction, over linked
// programs with library code for every architecture profile.
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "testelf.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <thread>

namespace {

struct LINE {
    U32 Addr;
    int Length;
    QString sMnemonic;
    QString sOperands;
};

/// Instruction lines of objdump; data lines are left out.
QList<LINE> ReadObjdump(const QString& sPath) {
    QProcess Process;
    Process.start(QStringLiteral("arm-none-eabi-objdump"), {QStringLiteral("-d"), QStringLiteral("-w"), sPath});
    Process.waitForFinished(60000);
    QList<LINE> aLine;
    static const QRegularExpression Pattern(QStringLiteral("^ +([0-9a-f]+):\t([0-9a-f]{4})( [0-9a-f]{4})? *\t([^\t]+)\t?(.*)$"));
    for (const QByteArray& aText : Process.readAllStandardOutput().split('\n')) {
        const auto Match = Pattern.match(QString::fromUtf8(aText));
        if (!Match.hasMatch()) continue;
        LINE Line{Match.captured(1).toUInt(nullptr, 16), Match.captured(3).isEmpty() ? 2 : 4, Match.captured(4).trimmed(),
                  Match.captured(5)};
        if (Line.sOperands.isEmpty()) { // "cpsid i" comes without a tab
            Line.sOperands = Line.sMnemonic.section(' ', 1);
            Line.sMnemonic = Line.sMnemonic.section(' ', 0, 0);
        }
        if (Line.sMnemonic.startsWith('.') || Line.sMnemonic.startsWith('<')) continue;
        aLine.append(Line);
    }
    return aLine;
}

/// Expands "r4-r7" to its registers.
QString ExpandRange(const QString& s) {
    static const QRegularExpression Pattern(QStringLiteral("^([rsd])(\\d+)-[rsd](\\d+)$"));
    const auto Match = Pattern.match(s);
    if (!Match.hasMatch()) return s;
    QStringList aReg;
    for (int i = Match.captured(2).toInt(); i <= Match.captured(3).toInt(); i++) aReg << Match.captured(1) + QString::number(i);
    return aReg.join(',');
}

QString NormaliseNumber(const QString& s) {
    bool Ok = false;
    const qint64 Value = s.toLongLong(&Ok, 0);
    if (Ok) return QString::number(static_cast<quint32>(Value));
    const double Float = s.toDouble(&Ok);
    return Ok ? QString::number(Float) : s;
}

/// One spelling for what the two tools write differently.
QString NormaliseOperands(QString s) {
    s = s.toLower();
    static const QRegularExpression Comment(QStringLiteral("[;@<]"));
    s = s.left(s.indexOf(Comment));
    QStringList aToken;
    static const QRegularExpression Token(QStringLiteral("[\\w.+-]+|[\\[\\]{}!:]"));
    for (auto It = Token.globalMatch(s); It.hasNext();) {
        const QString sToken = It.next().captured(0);
        static const QHash<QString, QString> Alias{{"sb", "r9"}, {"sl", "r10"}, {"fp", "r11"}, {"ip", "r12"}};
        aToken << ExpandRange(NormaliseNumber(Alias.value(sToken, sToken)));
    }
    return aToken.join(',').replace(QStringLiteral(",0,]"), QStringLiteral(",]"));
}

QString NormaliseMnemonic(QString s) {
    s = s.toLower();
    static const QRegularExpression Width(QStringLiteral("\\.[nw]$"));
    s.remove(Width);
    return s;
}

/// Instruction text with synonyms brought to one form.
QString NormaliseText(const QString& sMnemonic, const QString& sOperands) {
    QString m = NormaliseMnemonic(sMnemonic);
    QString o = NormaliseOperands(sOperands);
    static const QRegularExpression Suffix(QStringLiteral("^(v?)(ldm|stm)ia"));
    m.replace(Suffix, QStringLiteral("\\1\\2"));
    if (o.startsWith("sp,!,")) {
        static const QRegularExpression Pop(QStringLiteral("^(v?)ldm"));
        static const QRegularExpression Push(QStringLiteral("^(v?)stmdb"));
        m.replace(Pop, QStringLiteral("\\1pop"));
        m.replace(Push, QStringLiteral("\\1push"));
        if (m.contains("pop") || m.contains("push")) o = o.mid(5);
    }
    if (m == "mov" && o == "r8,r8") return QStringLiteral("nop ");
    if (m.startsWith("neg")) m.replace("neg", "rsb"), o += ",0";
    if (m == "add" && o.contains(",pc,")) m = "adr", o.replace(",pc,", ",");
    static const QRegularExpression SameCarry(QStringLiteral("(hs|lo)(?=$|\\.)"));
    static const auto Rename = [](QString& sText) {
        if (const auto Match = SameCarry.match(sText); Match.hasMatch()) {
            sText.replace(Match.capturedStart(), 2, Match.captured(1) == "hs" ? "cs" : "cc");
        }
    };
    Rename(m);
    if (m.startsWith("it")) Rename(o);
    QStringList aOperand = o.split(',');
    static const QRegularExpression Move(QStringLiteral("^mov(.*)$"));
    static const QStringList asShift{"lsl", "lsr", "asr", "ror", "rrx"};
    if (const auto Match = Move.match(m); Match.hasMatch() && aOperand.size() > 2 && asShift.contains(aOperand[2])) {
        m = aOperand.takeAt(2) + Match.captured(1);
    }
    // The constants of VMOV are written as they are encoded by the one and as numbers by the other.
    if (m.startsWith("vmov.f") && aOperand.size() == 2 && aOperand[1][0] != 's' && aOperand[1][0] != 'd') aOperand.removeLast();
    if (aOperand.size() == 3 && aOperand[0] == aOperand[2] && aOperand[1] != "[") aOperand.removeLast();
    if (aOperand.size() == 3 && aOperand[0] == aOperand[1]) aOperand.removeAt(1);
    return m + ' ' + aOperand.join(',');
}

struct BUILD {
    const char* sName;
    int CoreId;
};
constexpr BUILD aBuild[] = {{"decode_m0", 0x060000FF},  {"decode_m0_os", 0x060100FF}, {"decode_m3", 0x030000FF},
                            {"decode_m4f", 0x0E0100FF}, {"decode_m7f", 0x0E0200FF},   {"decode_m33", 0x0E0300FF}};

QString GetElfPath(const char* sName) {
    return QStringLiteral(CORE_TEST_DATA "/%1.elf").arg(QLatin1String(sName));
}

/// What objdump's text says about the flow.
U32 GetExpectedFlags(const LINE& Line) {
    const QString m = NormaliseMnemonic(Line.sMnemonic);
    const QString o = NormaliseOperands(Line.sOperands);
    static const QRegularExpression Jump(QStringLiteral("^b(eq|ne|cs|cc|hs|lo|mi|pl|vs|vc|hi|ls|ge|lt|gt|le|al)?$"));
    static const QRegularExpression Call(QStringLiteral("^bl(eq|ne|cs|cc|hs|lo|mi|pl|vs|vc|hi|ls|ge|lt|gt|le|al)?$"));
    static const QRegularExpression Reg(QStringLiteral("^(bx|bxns|mov)(eq|ne|cs|cc|hs|lo|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?$"));
    const U32 Direct = CORE_INST_BRANCH | CORE_INST_DIRECT;
    if (Call.match(m).hasMatch()) return Direct | CORE_INST_CALL;
    if (Jump.match(m).hasMatch() || m == "cbz" || m == "cbnz") return Direct;
    if (m.startsWith("blx")) return CORE_INST_BRANCH | CORE_INST_CALL;
    if (m.startsWith("bx")) return CORE_INST_BRANCH | (o == "lr" ? CORE_INST_RETURN : 0u);
    if (m.startsWith("pop") || m.startsWith("ldm")) return o.contains("pc") ? CORE_INST_BRANCH | CORE_INST_RETURN : 0u;
    if (m == "tbb" || m == "tbh") return CORE_INST_BRANCH;
    if (Reg.match(m).hasMatch() && o.startsWith("pc")) return CORE_INST_BRANCH | (o == "pc,lr" ? CORE_INST_RETURN : 0u);
    if (m.startsWith("ldr") && o.startsWith("pc")) return CORE_INST_BRANCH | (o.contains("sp") ? CORE_INST_RETURN : 0u);
    if (m.startsWith("add") && o.startsWith("pc")) return CORE_INST_BRANCH;
    if (m == "svc" || m == "udf") return CORE_INST_FLOW_OTHER;
    if (m == "bkpt") return CORE_INST_SKIP_ON_RESUME;
    if (m.startsWith("it")) return CORE_INST_PREFIX;
    return 0;
}

} // namespace

class tst_core_decode : public QObject {
    Q_OBJECT
    CTestElf Elf;

    bool Start(const BUILD& Build) {
        Elf = CTestElf();
        if (!Elf.Load(GetElfPath(Build.sName))) return false;
        Elf.InstallHooks();
        Core_GetHooks().GetProjectPluginPath = [] { return QStringLiteral(CORE_PLUGIN_ARM); };
        return Core_Load(Build.CoreId) >= 0;
    }

private slots:
    void initTestCase_data() {
        QTest::addColumn<int>("Index");
        for (int i = 0; i < static_cast<int>(std::size(aBuild)); i++) QTest::newRow(aBuild[i].sName) << i;
    }

    void init() {
        QFETCH_GLOBAL(int, Index);
        QVERIFY(Start(aBuild[Index]));
    }

    void LengthAndText() {
        QFETCH_GLOBAL(int, Index);
        const QList<LINE> aLine = ReadObjdump(GetElfPath(aBuild[Index].sName));
        QVERIFY(aLine.size() > 5000);
        int NumUndecoded = 0;
        int NumTexts = 0;
        QStringList aDifference;
        for (const LINE& Line : aLine) {
            CORE_INST_INFO Info;
            if (Core_AnalyzeInst(Line.Addr, &Info) != 0) {
                NumUndecoded++;
                aDifference << QStringLiteral("%1: not decoded: %2 %3").arg(Line.Addr, 0, 16).arg(Line.sMnemonic, Line.sOperands);
                continue;
            }
            if (Info.Length != Line.Length) QFAIL(qPrintable(QStringLiteral("length at %1").arg(Line.Addr, 0, 16)));
            char acText[128];
            QCOMPARE(Core_DisassembleInst(Line.Addr, 4, acText, sizeof acText), Line.Length);
            const QStringList aPart = QString::fromUtf8(acText).split('\t');
            const bool IsTarget = Info.Flags & (CORE_INST_DIRECT | CORE_INST_INDIRECT_MEM);
            const QString sOurs = NormaliseText(aPart[0], IsTarget ? QString() : aPart.value(1));
            const QString sTheirs = NormaliseText(Line.sMnemonic, IsTarget ? QString() : Line.sOperands);
            NumTexts += sOurs == sTheirs;
            if (sOurs != sTheirs) aDifference << QStringLiteral("%1: %2 | %3").arg(Line.Addr, 0, 16).arg(sOurs, sTheirs);
        }
        for (const QString& s : aDifference.mid(0, 40)) qInfo("%s", qPrintable(s));
        qInfo("%d instructions, %d not decoded, %d texts differ", int(aLine.size()), NumUndecoded, int(aLine.size()) - NumTexts - NumUndecoded);
        QVERIFY(NumUndecoded == 0);
        QCOMPARE(aDifference.size(), 0);
    }

    void FlowFlags() {
        QFETCH_GLOBAL(int, Index);
        const QList<LINE> aLine = ReadObjdump(GetElfPath(aBuild[Index].sName));
        const U32 Mask = CORE_INST_BRANCH | CORE_INST_CALL | CORE_INST_RETURN | CORE_INST_DIRECT | CORE_INST_FLOW_OTHER |
                         CORE_INST_PREFIX | CORE_INST_SKIP_ON_RESUME;
        int NumTargets = 0;
        for (const LINE& Line : aLine) {
            CORE_INST_INFO Info;
            QCOMPARE(Core_AnalyzeInst(Line.Addr, &Info), 0);
            const QByteArray aWhere = QStringLiteral("%1: %2 %3").arg(Line.Addr, 0, 16).arg(Line.sMnemonic, Line.sOperands).toUtf8();
            if ((Info.Flags & Mask) != GetExpectedFlags(Line)) {
                QFAIL(qPrintable(QStringLiteral("flags %1, expected %2 at ").arg(Info.Flags & Mask, 0, 16).arg(GetExpectedFlags(Line), 0, 16) + QString(aWhere)));
            }
            if (!(Info.Flags & CORE_INST_DIRECT)) continue;
            static const QRegularExpression Target(QStringLiteral("([0-9a-f]+) <"));
            const auto Match = Target.match(Line.sOperands);
            QVERIFY2(Match.hasMatch(), aWhere);
            QCOMPARE(Info.BranchTarget, U64(Match.captured(1).toUInt(nullptr, 16)));
            NumTargets++;
        }
        QVERIFY(NumTargets > 500);
        qInfo("%d branch targets", NumTargets);
    }

    /// Every instruction that objdump prints with a condition is flagged, and no other.
    void ConditionalFlag() {
        QFETCH_GLOBAL(int, Index);
        static const QRegularExpression It(QStringLiteral("^it([te]*)$"));
        int Rest = 0;
        for (const LINE& Line : ReadObjdump(GetElfPath(aBuild[Index].sName))) {
            CORE_INST_INFO Info;
            QCOMPARE(Core_AnalyzeInst(Line.Addr, &Info), 0);
            const QString m = NormaliseMnemonic(Line.sMnemonic);
            const bool IsInBlock = Rest > 0;
            if (Rest > 0) Rest--;
            if (const auto Match = It.match(m); Match.hasMatch()) Rest = 1 + int(Match.captured(1).size());
            static const QRegularExpression Jump(QStringLiteral("^(cbn?z|b(eq|ne|cs|cc|hs|lo|mi|pl|vs|vc|hi|ls|ge|lt|gt|le))$"));
            const bool IsConditional = IsInBlock || Jump.match(m).hasMatch();
            QVERIFY2(IsConditional == bool(Info.Flags & CORE_INST_CONDITIONAL), qPrintable(QStringLiteral("%1 %2").arg(Line.Addr, 0, 16).arg(m)));
        }
    }

    /// The change of the stack pointer against what the text of the instruction says.
    void StackChange() {
        QFETCH_GLOBAL(int, Index);
        int NumChanges = 0;
        for (const LINE& Line : ReadObjdump(GetElfPath(aBuild[Index].sName))) {
            const QStringList aPart = NormaliseText(Line.sMnemonic, Line.sOperands).split(' ');
            const QStringList aOperand = aPart[1].split(',');
            const QString m = aPart[0];
            int Expected = 0;
            const int WordSize = aOperand.value(1).startsWith('d') ? 8 : 4;
            const int NumRegs = static_cast<int>(aOperand.size()) - 2; // without the braces
            const int Last = static_cast<int>(aOperand.last().toUInt());
            if (m.startsWith("push") || m.startsWith("vpush")) Expected = -NumRegs * WordSize;
            else if (m.startsWith("pop") || m.startsWith("vpop")) Expected = NumRegs * WordSize;
            else if (m.startsWith("sub") && aOperand[0] == "sp" && aOperand.size() == 2) Expected = -Last;
            else if (m.startsWith("add") && aOperand[0] == "sp" && aOperand.size() == 2) Expected = Last;
            else if (aPart[1].contains(QRegularExpression(QStringLiteral("\\[,sp,(\\d+),\\],!$")))) Expected = static_cast<int>(aOperand[aOperand.size() - 3].toUInt());
            else if (aPart[1].contains(QRegularExpression(QStringLiteral("\\[,sp,\\],(\\d+)$")))) Expected = Last;
            CORE_INST_INFO Info;
            QCOMPARE(Core_AnalyzeInst(Line.Addr, &Info), 0);
            if (Info.SPChange != Expected) QFAIL(qPrintable(QStringLiteral("%1: %2 %3: %4, expected %5").arg(Line.Addr, 0, 16).arg(aPart[0], aPart[1]).arg(Info.SPChange).arg(Expected)));
            NumChanges += Expected != 0;
        }
        QVERIFY(NumChanges > 100);
    }

    /// Literal loads give the address that objdump computes, and the stored value in the text.
    void Literals() {
        QFETCH_GLOBAL(int, Index);
        static const QRegularExpression Literal(QStringLiteral("\\[pc, #-?\\d+\\].*[;@] \\(?([0-9a-f]+) <"));
        int NumLiterals = 0;
        for (const LINE& Line : ReadObjdump(GetElfPath(aBuild[Index].sName))) {
            if (NormaliseMnemonic(Line.sMnemonic) != "ldr") continue;
            const auto Match = Literal.match(Line.sOperands);
            if (!Match.hasMatch()) continue;
            CORE_INST_INFO Info;
            QCOMPARE(Core_AnalyzeInst(Line.Addr, &Info), 0);
            QVERIFY(Info.Flags & CORE_INST_INDIRECT_MEM);
            QCOMPARE(Info.BranchTarget, U64(Match.captured(1).toUInt(nullptr, 16)));
            U32 Value = 0;
            QCOMPARE(Elf.Read(Info.BranchTarget, 4, &Value), 0);
            char acText[128];
            QVERIFY(Core_DisassembleInst(Line.Addr, 4, acText, sizeof acText) > 0);
            QVERIFY2(QString::fromUtf8(acText).contains(QStringLiteral("=0x%1").arg(Value, 8, 16, QLatin1Char('0')), Qt::CaseInsensitive), acText);
            NumLiterals++;
        }
        QVERIFY(NumLiterals > 50);
    }

    /// Two threads decode the same program at once and see what one alone sees.
    void Threads() {
        const CTestElf::SECTION* pText = nullptr;
        for (const CTestElf::SECTION& S : Elf.aSection) {
            if (S.sName == ".text") pText = &S;
        }
        QVERIFY(pText);
        const U32 Start = pText->Addr;
        const U32 Count = std::min<U32>(8000, static_cast<U32>(pText->aData.size()) / 2);
        auto Decode = [Start, Count](std::vector<std::string>& asText) {
            for (U32 i = 0; i < Count; i++) {
                char acText[128];
                Core_DisassembleInst(Start + 2 * i, 4, acText, sizeof acText);
                asText.emplace_back(acText);
            }
        };
        std::vector<std::string> asAlone;
        std::vector<std::string> asFirst;
        std::vector<std::string> asSecond;
        Decode(asAlone);
        std::thread Other([&] { Decode(asFirst); });
        Decode(asSecond);
        Other.join();
        QVERIFY(asFirst == asAlone);
        QVERIFY(asSecond == asAlone);
    }

    void cleanupTestCase() {
        QCOMPARE(Core_Unload(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_core_decode)
#include "tst_core_decode.moc"
