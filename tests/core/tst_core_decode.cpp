// The decoding of CorePluginARM against GNU objdump, instruction by instruction, over linked
// programs with library code for every architecture profile.
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "objdump.h"
#include "testelf.h"

#include <QRegularExpression>
#include <QTest>
#include <thread>

namespace {

/// A program, and how much of each kind it holds at least: a test that found less would have compared nothing.
struct BUILD {
    const char* sName;
    int CoreId;
    int NumInsts;
    int NumTargets;
    int NumStackChanges;
    int NumLiterals;
};
constexpr BUILD aBuild[] = {
    {"decode_m0", 0x060000FF, 5000, 500, 100, 50},     {"decode_m0_os", 0x060100FF, 5000, 500, 100, 50},
    {"decode_m3", 0x030000FF, 5000, 500, 100, 50},     {"decode_m4f", 0x0E0100FF, 5000, 500, 100, 50},
    {"decode_m7f", 0x0E0200FF, 5000, 500, 100, 50},    {"decode_m33", 0x0E0300FF, 5000, 500, 100, 50},
    {"blinky/O0/blinky", 0x0E0100FF, 500, 60, 30, 20}, {"blinky/O2/blinky", 0x0E0100FF, 300, 40, 10, 15},
    {"cpp/O0/cpp", 0x0E0100FF, 500, 60, 30, 10},       {"cpp/O2/cpp", 0x0E0100FF, 300, 40, 10, 10},
};

/// Examples lie in a folder of their own, all else with the test's data.
QString GetElfPath(const char* sName) {
    const QLatin1String Name(sName);
    return (Name.contains('/') ? QStringLiteral(VANTREL_BINARY_DIR "/examples/%1.elf") : QStringLiteral(CORE_TEST_DATA "/%1.elf")).arg(Name);
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
        QVERIFY2(aLine.size() > aBuild[Index].NumInsts, qPrintable(QString::number(aLine.size())));
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
        QVERIFY2(NumTargets > aBuild[Index].NumTargets, qPrintable(QString::number(NumTargets)));
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
        static const QRegularExpression PreIndexed(QStringLiteral("\\[,sp,(\\d+),\\],!$"));
        static const QRegularExpression PostIndexed(QStringLiteral("\\[,sp,\\],(\\d+)$"));
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
            else if (aPart[1].contains(PreIndexed)) Expected = static_cast<int>(aOperand[aOperand.size() - 3].toUInt());
            else if (aPart[1].contains(PostIndexed)) Expected = Last;
            CORE_INST_INFO Info;
            QCOMPARE(Core_AnalyzeInst(Line.Addr, &Info), 0);
            if (Info.SPChange != Expected) QFAIL(qPrintable(QStringLiteral("%1: %2 %3: %4, expected %5").arg(Line.Addr, 0, 16).arg(aPart[0], aPart[1]).arg(Info.SPChange).arg(Expected)));
            NumChanges += Expected != 0;
        }
        QVERIFY2(NumChanges > aBuild[Index].NumStackChanges, qPrintable(QString::number(NumChanges)));
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
        QVERIFY2(NumLiterals > aBuild[Index].NumLiterals, qPrintable(QString::number(NumLiterals)));
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
