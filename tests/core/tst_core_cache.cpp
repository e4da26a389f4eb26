// The instruction cache over linked programs: every instruction and every data item of objdump's listing, straight
// runs of code, texts and labels, ranges that are refused, and reading on two threads while one decodes.
#include "app/services/log.h"
#include "core/cache/core.h"
#include "core/cache/instcache.h"
#include "core/cache/spanindex.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "objdump.h"
#include "program/tables/prog.h"

#include <QMap>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <cstring>
#include <thread>

namespace {

QString GetElf(const char* sName) {
    return QStringLiteral(CORE_TEST_DATA "/%1.elf").arg(QLatin1String(sName));
}

U32 GetAddr(const char* sName) {
    const ELF_SYM_LIST aSym = PROG_FindSymbols(sName, true, true, false, true, false);
    return aSym.isEmpty() ? 0xFFFFFFFF : static_cast<U32>(PROG_GetSymAddr(aSym[0])) & ~1u;
}

/// The programs that the listings of objdump are compared over.
void AddPrograms(std::initializer_list<const char*> Decode) {
    QTest::addColumn<QString>("Path");
    for (const char* s : Decode) QTest::newRow(s) << GetElf(s);
    for (const char* s : {"blinky/O0/blinky", "blinky/O2/blinky", "cpp/O0/cpp", "cpp/O2/cpp"}) {
        QTest::newRow(s) << QStringLiteral(VANTREL_BINARY_DIR "/examples/%1.elf").arg(QLatin1String(s));
    }
}

struct CODE_SECTION {
    U32 Start;
    U32 End; ///< exclusive
};

/// Sections with code, by index, as readelf lists them.
QMap<int, CODE_SECTION> ReadCodeSections(const QString& sPath) {
    QMap<int, CODE_SECTION> aSection;
    static const QRegularExpression Row(QStringLiteral("^ +\\[ *(\\d+)\\] \\S+ +PROGBITS +([0-9a-f]+) [0-9a-f]+ ([0-9a-f]+) \\d+ +(\\w+)"));
    for (const QByteArray& aLine : RunCommand(QStringLiteral("readelf -SW \"%1\"").arg(sPath)).split('\n')) {
        const auto Match = Row.match(QString::fromUtf8(aLine));
        if (!Match.hasMatch() || !Match.captured(4).contains('X')) continue;
        const U32 Start = Match.captured(2).toUInt(nullptr, 16);
        aSection[Match.captured(1).toInt()] = {Start, Start + Match.captured(3).toUInt(nullptr, 16)};
    }
    return aSection;
}

/// Mapping symbols of the code sections by address, true for data; of several at one address the last counts.
QMap<U32, bool> ReadMapSymbols(const QString& sPath, const QMap<int, CODE_SECTION>& aSection) {
    QMap<U32, bool> aMap;
    static const QRegularExpression Row(QStringLiteral("^ +\\d+: ([0-9a-f]+) +\\d+ NOTYPE +LOCAL +\\w+ +(\\w+) (\\$[atd])(\\.|$)"));
    for (const QByteArray& aLine : RunCommand(QStringLiteral("readelf -sW \"%1\"").arg(sPath)).split('\n')) {
        const auto Match = Row.match(QString::fromUtf8(aLine));
        if (!Match.hasMatch() || !aSection.contains(Match.captured(2).toInt())) continue;
        aMap[Match.captured(1).toUInt(nullptr, 16) & ~1u] = Match.captured(3) == "$d";
    }
    return aMap;
}

} // namespace

class tst_core_cache : public QObject {
    Q_OBJECT
    QStringList m_asFile; ///< texts that went to the log file

    void Load(const QString& sPath) {
        if (PROG_GetPath() != sPath) QCOMPARE(PROG_Load(sPath), 0);
        Core::ClearCache();
        Core::AnalyzeProgram();
    }

private slots:
    void initTestCase() {
        Core::RegisterHooks();
        Core_GetHooks().GetProjectPluginPath = [] { return QStringLiteral(CORE_PLUGIN_ARM); };
        QCOMPARE(Core_Load(0x0E0100FF), 0);
    }

    void Listing_data() {
        AddPrograms({"decode_m0_os", "decode_m3", "decode_m4f"});
    }

    /// What objdump lists as instructions is in the cache with that length, and nothing else is.
    void Listing() {
        QFETCH(QString, Path);
        Load(Path);
        const QList<LINE> aLine = ReadObjdump(Path);
        QHash<U32, int> aLength;
        int NumBytes = 0;
        for (const LINE& Line : aLine) {
            aLength[Line.Addr] = Line.Length;
            NumBytes += Line.Length;
            CORE_INST_INFO Info;
            QCOMPARE(Core::GetInstInfo(&Info, Line.Addr), 0);
            QCOMPARE(Info.Length, Line.Length);
            QVERIFY(Core::IsInstStart(Line.Addr) && !Core::IsData(Line.Addr));
            QCOMPARE(int(Core::GetInstSize(Line.Addr)), Line.Length);
            if (Line.Length == 4 && !aLength.contains(Line.Addr + 2)) QCOMPARE(int(Core::GetInstSize(Line.Addr + 2)) , 2);
        }
        Core::ClearCache();
        QCOMPARE(Core::AnalyzeProgram(), NumBytes);
        U32 NumAll = 0;
        for (const CODE_SECTION& Section : ReadCodeSections(Path)) {
            U32 NumStarts = 0;
            for (U32 Addr = Section.Start; Addr < Section.End; Addr += 2) {
                QCOMPARE(Core::IsInstStart(Addr), aLength.contains(Addr));
                NumStarts += aLength.contains(Addr);
            }
            QCOMPARE(Core::CountInsts(Section.Start, Section.End), NumStarts);
            NumAll += NumStarts;
        }
        QCOMPARE(NumAll, U32(aLine.size()));
        // Neighbours.
        for (int i = 1; i < aLine.size(); i++) {
            U64 Addr = 0;
            const bool IsNear = aLine[i].Addr - aLine[i - 1].Addr <= 4;
            QCOMPARE(Core::GetPrevInst(aLine[i].Addr, &Addr), IsNear ? 0 : -1);
            if (IsNear) QCOMPARE(Addr, U64(aLine[i - 1].Addr));
            QCOMPARE(Core::GetNextInst(aLine[i - 1].Addr, &Addr), IsNear ? 0 : -1);
            if (IsNear) QCOMPARE(Addr, U64(aLine[i].Addr));
        }
    }

    void DataInCode_data() {
        AddPrograms({"decode_m0_os", "decode_m33", "regions"});
    }

    /// Literal pools and tables inside of code, against the mapping symbols that readelf lists.
    void DataInCode() {
        QFETCH(QString, Path);
        Load(Path);
        const QMap<int, CODE_SECTION> aSection = ReadCodeSections(Path);
        const QMap<U32, bool> aMap = ReadMapSymbols(Path, aSection);
        QVERIFY(aMap.size() >= 3);
        int NumItems = 0;
        for (const CODE_SECTION& Section : aSection) {
            for (U32 Addr = Section.Start; Addr < Section.End; Addr += 2) {
                auto Next = aMap.upperBound(Addr);
                const U32 End = Next == aMap.end() || Next.key() > Section.End ? Section.End : Next.key();
                const bool IsData = Next != aMap.begin() && *std::prev(Next);
                QVERIFY2(Core::IsData(Addr) == IsData, qPrintable(QString::number(Addr, 16)));
                if (!IsData) {
                    QCOMPARE(Core::GetDataItemSize(Addr), 0u);
                    continue;
                }
                QVERIFY(!Core::IsInstStart(Addr));
                // The last region of a section runs on to the next one; what is compared ends inside of it.
                if (Next != aMap.end()) QCOMPARE(Core::GetDataItemSize(Addr), std::min(4u, Next.key() - Addr));
                char acText[128];
                if (Addr + 4 <= End) QCOMPARE(Core::GetInstText(Addr, acText, sizeof acText), 4);
                NumItems++;
            }
        }
        QVERIFY(NumItems > 2);
        qInfo("%d half words of data", NumItems);
    }

    /// Straight runs against the branches that objdump lists, over ranges picked at random.
    void Linear() {
        Load(GetElf("decode_m3"));
        const QList<LINE> aLine = ReadObjdump(GetElf("decode_m3"));
        QRandomGenerator Random(1);
        int NumLinear = 0;
        for (int i = 0; i < 3000; i++) {
            const int First = Random.bounded(static_cast<int>(aLine.size()) - 12);
            const int Last = First + Random.bounded(12);
            bool IsLinear = true;
            for (int n = First; n < Last; n++) {
                const U32 Flags = GetExpectedFlags(aLine[n]);
                if (Flags & CORE_INST_FLOW_OTHER || ((Flags & CORE_INST_BRANCH) && !(Flags & CORE_INST_CALL))) IsLinear = false;
            }
            QCOMPARE(Core::IsLinear(aLine[First].Addr, aLine[Last].Addr), IsLinear);
            NumLinear += IsLinear;
        }
        QVERIFY(NumLinear > 300 && NumLinear < 2700);
    }

    void LinearCases() {
        Load(GetElf("regions"));
        const U32 Start = GetAddr("Start");
        QVERIFY(Core::IsLinear(Start, Start));         // empty
        QVERIFY(Core::IsLinear(Start + 4, Start));     // reversed
        QVERIFY(Core::IsLinear(Start, Start + 10));    // a call in between comes back
        QVERIFY(!Core::IsLinear(Start, Start + 12));   // the supervisor call may not
        QVERIFY(!Core::IsLinear(Start + 12, Start + 20)); // the branch
        QVERIFY(Core::IsLinear(Start + 20, Start + 24)); // nothing but a literal pool
        QVERIFY(!Core::IsLinear(Start + 11, Start + 12)); // rounded down to the supervisor call
    }

    void Texts() {
        Load(GetElf("regions"));
        const U32 Start = GetAddr("Start");
        const U32 Pool = Start + 20;
        const U32 Table = GetAddr("Table");
        const U32 Clipped = GetAddr("Clipped");
        char acText[128];
        QVERIFY(Core::IsData(Pool) && !Core::IsInstStart(Pool));
        QCOMPARE(Core::GetInstText(Pool, acText, sizeof acText), 4);
        QCOMPARE(QString(acText), QStringLiteral("DC32\t0x%1\t; Table").arg(Table, 8, 16, QLatin1Char('0')).toUpper().replace("0X", "0x").replace("TABLE", "Table"));
        QCOMPARE(Core::GetInstText(Table, acText, sizeof acText), 4);
        QVERIFY2(QString(acText).endsWith("; Start"), acText); // a pointer to a function, with its mode bit
        QCOMPARE(Core::GetDataItemSize(Table + 4), 2u); // the program ends behind it
        QCOMPARE(Core::GetInstText(Table + 4, acText, sizeof acText), 2);
        QCOMPARE(QString(acText), QString("DC16\t0x1234"));
        QCOMPARE(Core::GetDataItemSize(Start), 0u);
        // An instruction whose second half lies in a data region reads as the data that it is cut to.
        QCOMPARE(Core::GetInstText(Clipped, acText, sizeof acText), 2);
        QVERIFY2(QString(acText).startsWith("DC16\t0xF"), acText);
        QCOMPARE(Core::GetInstText(Start + 4, acText, sizeof acText), 4);
        QVERIFY2(QString(acText).startsWith("BL\t0x") && QString(acText).endsWith("\t; Callee"), acText);
        QVERIFY(Core::GetInstText(Start + 14, acText, sizeof acText) == 2);
        QVERIFY2(QString(acText).contains("\t; [0x") && QString(acText).endsWith("]=Table"), acText);
        QCOMPARE(Core::GetMnemonic(Start + 4, acText), 4);
        QCOMPARE(QString(acText), QString("BL"));
        QVERIFY(Core::GetInstText(0x60000000, acText, sizeof acText) < 1);
        QCOMPARE(acText[0], '\0');

        QVERIFY(!Core::IsTextCached(Start));
        QCOMPARE(Core::DecodeText(Start), 2u);
        QCOMPARE(Core::GetCachedText(Start), QString("MOVS       R0, #0x1"));
        QCOMPARE(Core::DecodeText(Start + 4), 4u);
        QVERIFY(!Core::GetCachedText(Start + 4).contains('\t'));
        QCOMPARE(Core::DecodeText(0x60000000), 2u);
        QVERIFY(!Core::IsTextCached(0x60000000));
    }

    void ConditionalText() {
        Load(GetElf("regions"));
        const U32 Callee = GetAddr("Callee");
        QVERIFY(Core::DecodeText(Callee + 2) == 2);
        QVERIFY2(Core::GetCachedText(Callee + 2).startsWith("ADDEQ "), qPrintable(Core::GetCachedText(Callee + 2)));
    }

    void Labels() {
        Load(GetElf("regions"));
        const U32 Start = GetAddr("Start");
        const U32 Table = GetAddr("Table");
        const char* sName = nullptr;
        U64 Addr = 0;
        U64 End = 0;
        QVERIFY(Core::GetLabelAt(Start, true, Core::LABEL_ANY, &sName, &Addr, &End) != Core::LABEL_NONE);
        QCOMPARE(QString(sName), QString("Start"));
        QCOMPARE(Addr, U64(Start));
        QCOMPARE(End, U64(Start + 24));
        QCOMPARE(Core::GetLabelAt(Start + 2, true, Core::LABEL_ANY, &sName, &Addr, &End), Core::LABEL_NONE);
        QVERIFY(Core::GetLabelAt(Start + 2, false, 2, &sName, &Addr, &End) != Core::LABEL_NONE);
        QCOMPARE(Addr, U64(Start));
        QVERIFY(Core::GetLabelAt(Table + 1, false, 1, &sName, &Addr, &End) != Core::LABEL_NONE);
        QCOMPARE(QString(sName), QString("Table"));
        QCOMPARE(Core::GetLabelAt(0xFFFFFFFF, false, Core::LABEL_ANY, &sName, &Addr, &End), Core::LABEL_NONE);
        QVERIFY(Core::GetPointerLabelAt(Start + 20, true, Core::LABEL_ANY, &sName, &Addr, &End) != Core::LABEL_NONE);
        QCOMPARE(QString(sName), QString("Table"));
        QCOMPARE(Addr, U64(Table));
    }

    void RefusedRanges() {
        Load(GetElf("regions"));
        const U8 ab[8] = {};
        QCOMPARE(Core::AnalyzeAdd(16, 16, ab), U64(0));
        QCOMPARE(Core::AnalyzeAdd(0xFFFFFFF0, 0xFFFFFFFF, ab), U64(0));
        QCOMPARE(Core::AnalyzeAdd(0x20000000, 0x20000008, nullptr), U64(0));
        U32 aAddr[2];
        QCOMPARE(Core::WalkInsts(8, 8, 2, aAddr), -1);
        QCOMPARE(Core::WalkInsts(0, 100'000'000, 2, aAddr), -1);
        QCOMPARE(Core::CountInsts(0, 100'000'000), 0u);
        QCOMPARE(Core::CountInsts(8, 4), 0u);
        const CAddrRange aRange[2] = {{0, 200'000'000}, {GetAddr("Start"), 8}};
        QCOMPARE(Core::DecodeRanges(2, aRange), 1);
        QVERIFY(Core::IsTextCached(GetAddr("Start")));
    }

    void WalksAndCounts() {
        Load(GetElf("regions"));
        const U32 Start = GetAddr("Start");
        U32 aAddr[3] = {};
        QCOMPARE(Core::WalkInsts(Start + 1, Start + 10, 3, aAddr), 4); // an odd start is rounded down
        QCOMPARE(aAddr[0], Start);
        QCOMPARE(aAddr[2], Start + 4);
        QCOMPARE(Core::CountInsts(Start, Start + 20), 8u);
        QCOMPARE(Core::CountInsts(Start, Start + 20), 8u);
        const CAddrRange aRange[2] = {{Start, 4}, {Start + 8, 4}};
        QCOMPARE(Core::CountInstsInRanges(2, aRange), 4u);
        QCOMPARE(Core::CountFunctionInsts(Start + 6), 8);
        QCOMPARE(Core::CountFunctionInsts(0x60000000), -1);
    }

    void SafeStart() {
        Load(GetElf("regions"));
        bool IsFound = true;
        const U32 Start = GetAddr("Start");
        QCOMPARE(Core::GetSafeStartAddr(0x60000000, &IsFound), U64(0x60000000));
        QVERIFY(!IsFound);
        QCOMPARE(Core::GetSafeStartAddr(Start + 8, &IsFound), U64(Start));
        QVERIFY(IsFound);
        QCOMPARE(Core::GetSafeStartAddr(GetAddr("Callee") + 4, &IsFound), U64(GetAddr("Callee")));
    }

    /// Code that is on the target only.
    void CodeFromTheTarget() {
        Load(GetElf("regions"));
        // movs r0, #1; bl .+0x100; bx lr
        const U8 abCode[8] = {0x01, 0x20, 0x00, 0xF0, 0x7E, 0xF8, 0x70, 0x47};
        const U32 Addr = 0x20000100;
        Core::ExpectRead(Addr, sizeof abCode);
        QCOMPARE(Core::OnReadDone(Addr + 4, sizeof abCode, abCode), U64(0)); // an answer to something else
        QVERIFY(!Core::IsInstStart(Addr));
        QCOMPARE(Core::OnReadDone(Addr, sizeof abCode, abCode), U64(8));
        QVERIFY(Core::IsInstStart(Addr + 2) && !Core::IsInstStart(Addr + 4) && Core::IsInstStart(Addr + 6));
        CORE_INST_INFO Info;
        QCOMPARE(Core::GetInstInfo(&Info, Addr + 2), 0);
        QCOMPARE(Info.BranchTarget, U64(Addr + 2 + 0x100));
        Core::ClearCache();
        QVERIFY(!Core::IsInstStart(Addr));
    }

    void BlocksOfADataFile() {
        PROG_Unload();
        Core::ClearCache();
        const U8 abCode[7] = {0x00, 0x01, 0x20, 0x70, 0x47, 0x00, 0xBF};
        const BFile::RAW_BLOCK Block{0x08000001, 0x08000001, sizeof abCode, abCode};
        Core::SetBlocks(&Block, 1);
        QCOMPARE(Core::AnalyzeProgram(), 6); // from the first even address
        QVERIFY(Core::IsInstStart(0x08000002) && Core::IsInstStart(0x08000006));
        QVERIFY(!Core::IsInstStart(0x08000001));
        Core::Unbind();
    }

    /// Pieces of any size give the records that the whole gives; a binding that changes ends the work.
    void AnalysisInPieces() {
        Load(GetElf("decode_m4f"));
        QHash<U32, int> aLength;
        for (const CODE_SECTION& Section : ReadCodeSections(GetElf("decode_m4f"))) {
            for (U32 Addr = Section.Start; Addr < Section.End; Addr += 2) {
                if (Core::IsInstStart(Addr)) aLength[Addr] = Core::GetInstSize(Addr);
            }
        }
        for (const U64 Piece : {U64(1), U64(6), U64(0x1000)}) {
            Core::ClearCache();
            Core::CProgramAnalysis Analysis;
            U32 Before = 0;
            while (Analysis.Step(Piece)) {
                QVERIFY(Analysis.GetPermille() >= Before && Analysis.GetPermille() <= 1000);
                Before = Analysis.GetPermille();
            }
            QCOMPARE(Analysis.GetPermille(), 1000u);
            U64 NumBytes = 0;
            for (auto It = aLength.cbegin(); It != aLength.cend(); ++It) {
                CORE_INST_INFO Info;
                QCOMPARE(Core::GetInstInfo(&Info, It.key()), 0);
                QCOMPARE(Info.Length, It.value());
                NumBytes += U64(Info.Length);
            }
            QCOMPARE(Analysis.GetNumDecoded(), NumBytes);
        }
        Core::CProgramAnalysis Analysis;
        QVERIFY(Analysis.Step(2));
        PROG_Unload();
        QVERIFY(!Analysis.Step(2));
        QVERIFY(Analysis.GetPermille() < 1000);
    }

    void NoMappingSymbols() {
        QTemporaryDir Dir;
        const QString sPath = Dir.filePath("stripped.elf");
        RunCommand(QStringLiteral("arm-none-eabi-strip -s -o \"%1\" \"%2\"").arg(sPath, GetElf("regions")));
        U32 Start = 0;
        Load(GetElf("regions"));
        Start = GetAddr("Start");
        QCOMPARE(PROG_Load(sPath), 0);
        Core::ClearCache();
        QCOMPARE(Core::AnalyzeProgram(), 0);
        QVERIFY(!Core::IsInstStart(Start));
        QCOMPARE(Core::FindRegion(Start), -1);
        CORE_INST_INFO Info;
        Core::ReadInst(&Info, Start + 4); // the plug-in answers
        QCOMPARE(Info.Length, 4);
        QVERIFY(Info.Flags & CORE_INST_CALL);
        QCOMPARE(int(Core::GetInstSize(Start + 4)), 4);
        U64 Prev = 0;
        QCOMPARE(Core::GetPrevInst(Start + 8, &Prev), -1);
        PROG_Unload();
    }

    /// A table at the start of a section that no symbol marks: what lies behind its end is decoded all the same.
    void StartWithoutMappingSymbol() {
        QTemporaryDir Dir;
        const QString sPath = Dir.filePath("vectors.elf"), sSource = Dir.filePath("vectors.s");
        QFile Source(sSource);
        QVERIFY(Source.open(QIODevice::WriteOnly));
        Source.write(".syntax unified\n.cpu cortex-m3\n.thumb\n.text\n.word 0x20001000, Start+1\n"
                     ".globl Start\n.thumb_func\nStart: movs r0, #1\n bl Start\n");
        Source.close();
        RunCommand(QStringLiteral("arm-none-eabi-gcc -nostdlib -Wl,-Ttext=0x100,-eStart -o \"%1\" \"%2\"").arg(sPath, sSource));
        RunCommand(QStringLiteral("arm-none-eabi-objcopy --strip-symbol='$d' \"%1\"").arg(sPath));
        QCOMPARE(PROG_Load(sPath), 0);
        Core::ClearCache();
        QCOMPARE(Core::FindRegion(0x100), -1);
        QCOMPARE(Core::AnalyzeProgram(), 6);
        QVERIFY(!Core::IsInstStart(0x100));
        QVERIFY(Core::IsInstStart(0x108));
        QVERIFY(Core::IsInstStart(0x10A));
        PROG_Unload();
    }

    void WithoutAPlugin() {
        Load(GetElf("regions"));
        const U32 Start = GetAddr("Start");
        QCOMPARE(Core_Unload(), 0);
        const U8 ab[8] = {};
        QCOMPARE(Core::AnalyzeAdd(0x20000000, 0x20000008, ab), U64(0));
        QVERIFY(!Core::IsInstStart(Start));
        CORE_INST_INFO Info;
        Core::ReadInst(&Info, Start);
        QCOMPARE(Info.Length, 0);
        QCOMPARE(Info.Flags, 0u);
        QCOMPARE(Core_Load(0x0E0100FF), 0); // binds the open program again
        Core::AnalyzeProgram();
        QVERIFY(Core::IsInstStart(Start));
    }

    /// The worker reads while the main thread decodes further code.
    void TwoThreads() {
        Load(GetElf("decode_m3"));
        const U32 Main = GetAddr("main");
        const bool Expected = Core::IsLinear(Main, Main + 200);
        std::atomic<bool> IsDone{false};
        std::atomic<int> NumWrong{0};
        std::atomic<int> NumRounds{0};
        std::thread Worker([&] {
            while (!IsDone) {
                NumWrong += Core::IsLinear(Main, Main + 200) != Expected;
                for (U32 Addr = Main; Addr < Main + 200; Addr += 2) {
                    CORE_INST_INFO Info;
                    Core::ReadInst(&Info, Addr);
                    NumWrong += Core::IsInstStart(Addr) && Info.Length == 0;
                    Core::FindRegion(Addr);
                }
                NumRounds++;
            }
        });
        const U8 abCode[4] = {0x01, 0x20, 0x70, 0x47};
        for (int i = 0; i < 300 || NumRounds < 5; i++) {
            Core::AnalyzeAdd(0x20000000 + static_cast<U32>(i % 64) * 0x10000, 0x20000004 + static_cast<U32>(i % 64) * 0x10000, abCode);
            Core::AnalyzeAdd(Main, Main + 4, abCode); // the same again
            Core::DecodeText(Main + static_cast<U32>(i));
            if (i == 0) Core::AnalyzeProgram();
        }
        IsDone = true;
        Worker.join();
        QVERIFY(NumRounds > 0);
    }

    /// Every field of a record comes back, however strange the plug-in that made it and however many kinds there are.
    void Records() {
        constexpr U32 NUM_RECORDS = 20'000;
        const auto Make = [](U32 i) {
            const U64 Target = i % 3 ? U64(i) * 0x9E3779B97F4A7C15ull : i * 2;
            return CORE_INST_INFO{i % 7, static_cast<I32>(i % 5) - 1, Target, static_cast<I32>(i % 4001) - 2000, i % 11 ? i : ~i};
        };
        const auto GetAddr = [](U32 i) { return i * 0x346DCu; }; // over the whole address space
        for (const bool Again : {false, true}) {
            for (U32 i = 0; i < NUM_RECORDS; i++) Core::StoreInst(GetAddr(i), Make(i + Again));
            for (U32 i = 0; i < NUM_RECORDS; i++) {
                const CORE_INST_INFO Expected = Make(i + Again);
                CORE_INST_INFO Info;
                QCOMPARE(Core::LoadInst(GetAddr(i), &Info), Expected.Length > 0);
                QCOMPARE(Core::HasInst(GetAddr(i)), Expected.Length > 0);
                QVERIFY(!Core::HasInst(GetAddr(i) + 2));
                if (Expected.Length > 0) QVERIFY2(std::memcmp(&Info, &Expected, sizeof Info) == 0, qPrintable(QString::number(i)));
            }
        }
        Core::ClearCache();
        QVERIFY(!Core::HasInst(GetAddr(3)));
    }

    /// The first range in the list that holds what is asked for, against a walk over all.
    void Spans() {
        struct RANGE {
            U64 Start, End;
        };
        QRandomGenerator Random(7);
        for (const U32 MaxSize : {8u, 100u, 4000u}) { // apart, some over others, all in a heap
            std::vector<RANGE> aRange;
            for (int i = 0; i < 200; i++) {
                const U64 Start = Random.bounded(5000u);
                aRange.push_back({Start, Start + Random.bounded(MaxSize)});
            }
            Core::CSpanIndex Index;
            Index.Build(aRange);
            for (U64 Addr = 0; Addr < 10'000; Addr += 3) {
                const U64 Size = 1 + Random.bounded(MaxSize);
                int Expected = -1;
                U64 NextExpected = ~U64(0), Next = ~U64(0);
                for (int i = 0; i < 200; i++) {
                    const RANGE& Range = aRange[static_cast<size_t>(i)];
                    if (Expected < 0 && Addr >= Range.Start && Addr + Size <= Range.End) Expected = i;
                    if (Range.Start > Addr) NextExpected = std::min(NextExpected, Range.Start);
                }
                QCOMPARE(Index.Find(Addr, Size), Expected);
                QCOMPARE(Index.FindNext(Addr, &Next), NextExpected != ~U64(0));
                QCOMPARE(Next, NextExpected);
            }
        }
    }

    void cleanupTestCase() {
        PROG_Unload();
        QCOMPARE(Core_Unload(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_core_cache)
#include "tst_core_cache.moc"
