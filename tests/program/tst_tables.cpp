// The program tables against gdb and nm, and the rules of the look-ups.
#include "program/tables/addrindex.h"
#include "program/tables/functionmap.h"
#include "program/tables/innermostmap.h"
#include "program/tables/prog.h"
#include "testbuild.h"

#include <QFileInfo>
#include <QRandomGenerator>
#include <QtTest>
#include <atomic>
#include <map>
#include <thread>

namespace {

void AddBuildRows()
{
    QTest::addColumn<int>("Index");
    const QList<BUILD> aBuild = CTestBuild::All();
    for (int i = 0; i < aBuild.size(); i++) QTest::newRow(aBuild[i].Name().constData()) << i;
}

bool Load(int Index)
{
    return PROG_Load(CTestBuild::Get(CTestBuild::All()[Index])) == 0;
}

ELF_SYM_HANDLE Function(const char* sName)
{
    return PROG_FindSymbols(sName, true, false, false, false, true).value(0);
}

QList<U32> MappedAddrs()
{
    QList<U32> aAddr;
    for (I64 Addr = PROG_GetNextMappedAddr(0); Addr >= 0; Addr = PROG_GetNextMappedAddr(U32(Addr))) aAddr.append(U32(Addr));
    return aAddr;
}

} // namespace

class tst_tables : public QObject {
    Q_OBJECT
private slots:
    void cleanup() { PROG_Unload(); }
    void neutral();
    void gdbLines_data() { AddBuildRows(); }
    void gdbLines();
    void functions_data() { AddBuildRows(); }
    void functions();
    void bothWays_data() { AddBuildRows(); }
    void bothWays();
    void fallback();
    void inlines();
    void names();
    void functionAtZero_data();
    void functionAtZero();
    void locationText();
    void files();
    void lineAnalysis();
    void bytes();
    void macros();
    void innermostMap();
    void functionMap();
    void addrIndex();
    void threads();
    void loadBeside();
    void cancel();
};

void tst_tables::neutral()
{
    QCOMPARE(PROG_Load("/nonexistent.elf"), -1);
    QVERIFY(!PROG_IsLoaded() && PROG_GetPath().isEmpty());
    QVERIFY(PROG_GetFunctions().isEmpty() && PROG_GetSrcLocs(0x8000).isEmpty() && PROG_GetFiles().isEmpty());
    QVERIFY(!PROG_GetFirstSrcLoc(0x8000).IsValid());
    QCOMPARE(PROG_GetNextMappedAddr(0), -1);
    QCOMPARE(PROG_GetFirstAddr(CSrcLoc(1, 1)), -1);
    QCOMPARE(PROG_GetFunctionAt(0x8000, 0), ELF_SYM_HANDLE(0));
    QCOMPARE(PROG_GetFile("main.c"), 0xFFFFFFFFu);
    QCOMPARE(PROG_ReadBytes(0x8000, 4, nullptr), -1);
    QCOMPARE(PROG_GetEntryPoint(), 0xFFFFFFFFu);
    int Kind = 5;
    PROG_ResolveLocationText("main", &Kind);
    QCOMPARE(Kind, -1);
    U32 Next;
    QCOMPARE(PROG_GetNextLineAddr(0x8000, &Next), -1);
}

void tst_tables::gdbLines()
{
    QFETCH(int, Index);
    QVERIFY(Load(Index));
    const QList<U32> aAddr = MappedAddrs();
    QVERIFY(aAddr.size() > 10);
    QStringList asCommand;
    for (const U32 Addr : aAddr) asCommand.append(QString("info line *0x%1").arg(Addr, 0, 16));
    const QList<QByteArray> aAnswer = CTestBuild::Gdb(PROG_GetPath(), asCommand);
    QCOMPARE(aAnswer.size(), aAddr.size());
    static const QRegularExpression Line("Line (\\d+) of \"([^\"]+)\"");
    int NumCompared = 0;
    for (qsizetype i = 0; i < aAddr.size(); i++) {
        const auto Match = Line.match(aAnswer[i]);
        if (!Match.hasMatch()) continue;
        const QString sName = QFileInfo(Match.captured(2)).fileName();
        // gdb takes the last statement of an address; the table holds all lines of it, and leaves out none.
        QStringList asOurs;
        for (const CSrcLoc& Loc : PROG_GetSrcLocs(aAddr[i])) asOurs.append(QFileInfo(PROG_GetFilePath(Loc.File)).fileName() + ":" + QString::number(Loc.Line));
        const QString sTheirs = sName + ":" + Match.captured(1);
        // Where no row of the address begins a statement, gdb names the statement before it.
        if (!asOurs.contains(sTheirs)) {
            bool IsStmt = false;
            const CProgLock Lock;
            for (U32 n = 0; n < ELF_GetLineCount(PROG_GetFileHandle()); n++) {
                IsStmt |= ELF_GetLineAddr(PROG_GetFileHandle(), n) == aAddr[i] && ELF_LineIsStmt(PROG_GetFileHandle(), n) && !ELF_LineIsEndOfSequence(PROG_GetFileHandle(), n);
            }
            QVERIFY2(!IsStmt, qPrintable(QString::number(aAddr[i], 16) + " " + sTheirs + " / " + asOurs.join(' ')));
            continue;
        }
        NumCompared++;
    }
    QVERIFY(NumCompared * 3 > aAddr.size());
}

void tst_tables::functions()
{
    QFETCH(int, Index);
    QVERIFY(Load(Index));
    // "00008000 00000064 t helper"
    int NumFound = 0;
    std::map<U32, U32> Ends;
    for (const ELF_SYM_HANDLE h : PROG_GetFunctions()) {
        const CAddrRange Range = PROG_GetSymRange(h);
        QVERIFY(PROG_IsFunction(h) && Range.Size > 0);
        Ends[Range.Start] = U32(Range.End());
    }
    for (const QByteArray& Text : CTestBuild::Run("arm-none-eabi-nm", {"-S", PROG_GetPath()}).split('\n')) {
        const QList<QByteArray> aField = Text.split(' ');
        if (aField.size() != 4 || !QByteArray("tTwW").contains(aField[2])) continue;
        const U32 Addr = aField[0].toUInt(nullptr, 16) & ~1u, Size = aField[1].toUInt(nullptr, 16);
        if (Size < 2) continue;
        QVERIFY2(Ends.count(Addr), Text.constData());
        // Assembler code without exact sizes may differ by its padding.
        if (!aField[3].startsWith("__")) QCOMPARE(Ends[Addr], Addr + Size);
        for (const U32 At : {Addr, (Addr + Size / 2) & ~1u, Addr + Size - 2}) {
            const ELF_SYM_HANDLE h = PROG_GetFunctionAt(At, 1);
            QVERIFY(h);
            QCOMPARE(PROG_GetSymRange(h).Start, Addr);
        }
        NumFound++;
    }
    QVERIFY(NumFound >= 3);
    QCOMPARE(PROG_GetFunctionAt(0x100, 1), ELF_SYM_HANDLE(0));
    const ELF_SYM_HANDLE hMain = PROG_GetMainFunction();
    QCOMPARE(PROG_GetSymName(hMain, PROG_NAME_PLAIN), "main");
    const CSrcLoc Loc = PROG_GetMainSrcLoc();
    QVERIFY(Loc.IsValid());
    QVERIFY(PROG_GetFileFunctions(Loc.File).contains(hMain));
    QVERIFY(PROG_GetFileOfAddr(PROG_GetSymRange(hMain).Start) == Loc.File);
}

void tst_tables::bothWays()
{
    QFETCH(int, Index);
    QVERIFY(Load(Index));
    const QList<U32> aAddr = MappedAddrs();
    int NumPairs = 0;
    for (const U32 Addr : aAddr) {
        const QList<CSrcLoc> aLoc = PROG_GetSrcLocs(Addr);
        QVERIFY(!aLoc.isEmpty() && std::is_sorted(aLoc.begin(), aLoc.end()));
        QCOMPARE(PROG_GetFirstSrcLoc(Addr), aLoc.first());
        QCOMPARE(PROG_GetLastSrcLoc(Addr), aLoc.last());
        QVERIFY(PROG_HasExactSrcLoc(Addr));
        for (const CSrcLoc& Loc : aLoc) {
            const QList<U32> aBack = PROG_GetAddrs(Loc);
            QVERIFY(aBack.contains(Addr));
            QVERIFY(std::is_sorted(aBack.begin(), aBack.end()) && std::adjacent_find(aBack.begin(), aBack.end()) == aBack.end());
            QCOMPARE(PROG_GetFirstAddr(Loc), I64(aBack.first()));
            QCOMPARE(PROG_GetNextLineWithCode(Loc), CSrcLoc(Loc.File, Loc.Line));
            QCOMPARE(PROG_GetPrevLineWithCode(Loc), CSrcLoc(Loc.File, Loc.Line));
            NumPairs++;
        }
        U32 Next;
        if (PROG_GetNextLineAddr(Addr, &Next) == 0) {
            QVERIFY(Next > Addr && !PROG_GetFirstSrcLoc(Next).IsSameLine(aLoc.first()));
            for (U32 At = Addr + 2; At < Next; At += 2) {
                const CSrcLoc Loc = PROG_GetFirstSrcLoc(At);
                QVERIFY(!Loc.IsValid() || Loc.IsSameLine(aLoc.first()));
            }
        }
    }
    QVERIFY(NumPairs >= aAddr.size());
    QCOMPARE(PROG_GetPrevMappedAddr(0xFFFFFFFF), I64(aAddr.last()));
    QCOMPARE(PROG_GetNextMappedAddr(aAddr.last()), -1);
}

void tst_tables::fallback()
{
    // A function whose one line covers far more than the fallback reaches.
    const QString sSrc = CTestBuild::Dir() + "/far.c";
    QFile File(sSrc);
    QVERIFY(File.open(QIODevice::WriteOnly));
    File.write("void far_function(void)\n{\n__asm volatile(\".rept 400\\n nop\\n .endr\");\n}\nint main(void) { far_function(); return 0; }\n");
    for (int i = 0; i < 1200; i++) File.write("\n");
    File.write("int last(void) { return 7; }\n");
    File.close();
    const QString sElf = CTestBuild::Dir() + "/far.elf";
    CTestBuild::Run("arm-none-eabi-gcc", {"-mcpu=cortex-m4", "-mthumb", "-g", "-O0", "-nostdlib", "-Wl,-Ttext=0x8000", "-Wl,-emain", "-o", sElf, sSrc});
    QCOMPARE(PROG_Load(sElf), 0);
    const U32 FileNo = PROG_GetFile("far.c");
    QVERIFY(FileNo != 0xFFFFFFFFu);
    const U32 Addr = U32(PROG_GetFirstAddr(CSrcLoc(FileNo, 3)));
    QVERIFY(PROG_HasSrcLoc(Addr + 256));
    QCOMPARE(PROG_GetFirstSrcLoc(Addr + 256).Line, 3u);
    QVERIFY(!PROG_HasExactSrcLoc(Addr + 256));
    QVERIFY(!PROG_HasSrcLoc(Addr + 257) && !PROG_HasSrcLoc(Addr + 258));
    QVERIFY(!PROG_GetFirstSrcLoc(0).IsValid() && !PROG_GetFirstSrcLoc(0xFFFFFFFF).IsValid());
    // Behind the last function nothing answers, however close.
    const CAddrRange Last = PROG_GetSymRange(Function("last"));
    QVERIFY(PROG_HasSrcLoc(U32(Last.End()) - 2) && !PROG_HasSrcLoc(U32(Last.End()) + 2));
    // Line 5 is the last with code before the gap; from 1000 lines before the next one it is found, not from 1001.
    const U32 LastLine = PROG_GetFirstSrcLoc(Last.Start).Line;
    QCOMPARE(PROG_GetNextLineWithCode(CSrcLoc(FileNo, LastLine - 1000)).Line, LastLine);
    QVERIFY(!PROG_GetNextLineWithCode(CSrcLoc(FileNo, LastLine - 1001)).IsValid());
    QCOMPARE(PROG_GetPrevLineWithCode(CSrcLoc(FileNo, LastLine - 1)).Line, 5u);
    const QList<CAddrRange> aRun = PROG_GetLineInstructions(3, PROG_GetSymRange(Function("far_function")));
    QCOMPARE(aRun.size(), 1);
    QVERIFY(aRun[0].Start == Addr && aRun[0].Size >= 800);
}

void tst_tables::inlines()
{
    for (int Index = 0; Index < CTestBuild::All().size(); Index++) {
        const BUILD Build = CTestBuild::All()[Index];
        if (Build.IsCpp || Build.Opt == 0) continue;
        QVERIFY(Load(Index));
        const ELF_SYM_HANDLE hInl = Function("inl");
        QCOMPARE(PROG_GetSymTag(hInl), U32(ELF_TAG_INLINED_SUBROUTINE));
        const ELF_SYM_LIST aInst = PROG_GetInlineInstances(ELF_GetSymOrigin(hInl));
        QVERIFY(aInst.contains(hInl));
        const QList<CAddrRange> aRange = PROG_GetSymRanges(hInl);
        QVERIFY(!aRange.isEmpty());
        for (const CAddrRange& Range : aRange) {
            QCOMPARE(PROG_GetFunctionAt(Range.Start, 0), hInl);
            QCOMPARE(PROG_GetSymName(PROG_GetFunctionAt(Range.Start, 1), 0), "main");
        }
        // The call site stands in main, the declaration of the origin at the function's own line.
        const CSrcLoc Call = PROG_GetSymSrcLoc(hInl), Decl = PROG_GetSymSrcLoc(ELF_GetSymOrigin(hInl));
        QVERIFY(Call.Line > Decl.Line && Call.File == Decl.File);
        QVERIFY(PROG_FindSymbolsAtSrcLoc(CSrcLoc(Decl.File, Decl.Line)).contains(hInl));
    }
}

void tst_tables::names()
{
    for (int Index = 0; Index < CTestBuild::All().size(); Index++) {
        const BUILD Build = CTestBuild::All()[Index];
        if (!Build.IsCpp) continue;
        QVERIFY(Load(Index));
        const ELF_SYM_HANDLE hMethod = Function("ns::in::Derived::f");
        QVERIFY2(hMethod, Build.Name().constData());
        QCOMPARE(PROG_GetSymName(hMethod, PROG_NAME_QUALIFIED), "ns::in::Derived::f");
        QCOMPARE(PROG_GetSymName(hMethod, PROG_NAME_PLAIN), "f");
        QCOMPARE(Function("in::Derived::f"), hMethod);
        QCOMPARE(Function("other::f"), ELF_SYM_HANDLE(0));
        QCOMPARE(PROG_GetSymName(Function("main"), PROG_NAME_QUALIFIED), "classesmain.cpp::main");
        QCOMPARE(PROG_FindSymbols("s_val", false, true, false, false, true).size(), 1);
        QVERIFY(PROG_FindSymbols("Derived", false, false, true, false, false).size() >= 1);
        // Locals of the current function answer before globals; `this` only where there is one.
        PROG_SetCurrentFunction(hMethod);
        const ELF_SYM_LIST aThis = PROG_FindSymbols("this", false, true, false, false, false);
        QCOMPARE(aThis.size(), 1);
        QCOMPARE(PROG_FindSymbols("k", false, true, false, false, false).size(), 1);
        PROG_SetCurrentFunction(Function("main"));
        QVERIFY(PROG_FindSymbols("this", false, true, false, false, false).isEmpty());
        QVERIFY(PROG_FindSymbols("k", false, true, false, false, false).isEmpty());
    }
}

void tst_tables::functionAtZero_data()
{
    QTest::addColumn<QStringList>("Options");
    QTest::newRow("ARM, version 4") << QStringList{"-mcpu=arm7tdmi", "-marm", "-gdwarf-4"};
    QTest::newRow("ARM, version 5") << QStringList{"-mcpu=arm7tdmi", "-marm", "-gdwarf-5"};
    QTest::newRow("Thumb") << QStringList{"-mcpu=cortex-m4", "-mthumb", "-gdwarf-5"};
}

void tst_tables::functionAtZero()
{
    // Boot code at address 0, where the linker has left the debug information of functions that it has dropped too.
    QFETCH(QStringList, Options);
    const QString sElf = CTestBuild::Dir() + "/zero.elf", sTwin = CTestBuild::Dir() + "/zerotwin.elf";
    for (const QString& sOut : {sElf, sTwin}) {
        CTestBuild::Run("arm-none-eabi-gcc", Options + QStringList{sOut == sElf ? "-DDROPPED" : "-DNONE", "-O1", "-nostdlib", "-ffreestanding", "-ffunction-sections",
                                                                   "-Wl,--gc-sections", "-Wl,--section-start=.boot=0", "-Wl,-Ttext=0x100", "-Wl,-eboot", "-o", sOut,
                                                                   VANTREL_SOURCE_DIR "/tests/program/programs/zero.c"});
    }
    QCOMPARE(PROG_Load(sElf), 0);
    const ELF_SYM_HANDLE hBoot = Function("boot");
    QVERIFY(hBoot && !Function("dropped_small") && !Function("dropped_large"));
    const CAddrRange Range = PROG_GetSymRange(hBoot);
    QCOMPARE(Range.Start, 0u);
    QVERIFY(Range.Size > 8);
    QStringList asCommand;
    const U32 Step = Options.contains("-marm") ? 4 : 2;
    for (U32 Addr = Step; Addr < Range.End(); Addr += Step) asCommand << QString("info line *%1").arg(Addr);
    // gdb answers for a program of the same code without the dropped functions, which it takes for real.
    const QList<QByteArray> asLine = CTestBuild::Gdb(sTwin, asCommand);
    QCOMPARE(asLine.size(), asCommand.size());
    static const QRegularExpression Line("Line (\\d+) of");
    for (U32 Addr = Step; Addr < Range.End(); Addr += Step) {
        QCOMPARE(PROG_GetFunctionAt(Addr, 1), hBoot);
        // gdb takes the last row of an address, which may be that of another line: its line has to be among ours.
        const U32 Theirs = Line.match(asLine[int(Addr / Step) - 1]).captured(1).toUInt();
        QList<U32> aOurs;
        for (const CSrcLoc& Loc : PROG_GetSrcLocs(Addr)) aOurs.append(Loc.Line);
        QVERIFY2(aOurs.contains(Theirs), (asLine[int(Addr / Step) - 1] + QByteArray::number(aOurs.value(0))).constData());
    }
    // The expansion in it counts, those in the dropped functions don't.
    const ELF_SYM_LIST ahScale = PROG_FindSymbols("scale", true, false, false, false, false);
    QCOMPARE(std::count_if(ahScale.begin(), ahScale.end(), [](ELF_SYM_HANDLE h) { return !PROG_GetSymRange(h).IsEmpty(); }), 1);
    // The frame is that of the code, which pushes four registers first (the dropped ones push none or take 128 bytes).
    QCOMPARE(ELF_GetCfa(0).aPart[0].Offset, 0);
    QCOMPARE(ELF_GetCfa(Step).aPart[0].Offset, 16);
}

void tst_tables::locationText()
{
    QVERIFY(Load(0));
    int Kind;
    QCOMPARE(PROG_ResolveLocationText("8010", &Kind), CAddrRange(0x8010, 0));
    QCOMPARE(Kind, int(PROG_LOCATION_ADDRESS));
    QCOMPARE(PROG_ResolveLocationText("0x8010", &Kind), CAddrRange(0x8010, 0));
    QCOMPARE(PROG_ResolveLocationText("main", &Kind), PROG_GetSymRange(PROG_GetMainFunction()));
    QCOMPARE(Kind, int(PROG_LOCATION_SYMBOL));
    QCOMPARE(PROG_ResolveLocationText("g_arr", &Kind).Size, 48u);
    const CSrcLoc Main = PROG_GetMainSrcLoc();
    const QString sText = PROG_GetSrcLocText(CSrcLoc(Main.File, Main.Line));
    QCOMPARE(sText, QString("main.c:%1").arg(Main.Line));
    QCOMPARE(PROG_ParseSrcLoc(sText), CSrcLoc(Main.File, Main.Line));
    QCOMPARE(PROG_ParseSrcLoc(sText + ":7"), CSrcLoc(Main.File, Main.Line, 7));
    QCOMPARE(PROG_ParseSrcLoc(PROG_GetFilePath(Main.File) + ":12"), CSrcLoc(Main.File, 12));
    QCOMPARE(PROG_ResolveLocationText(sText, &Kind).Start, PROG_GetSymRange(PROG_GetMainFunction()).Start);
    QCOMPARE(Kind, int(PROG_LOCATION_SOURCE));
    for (const char* s : {"", "nothing", "main.c", "main.c:0", "main.c:x", "other.c:12", ":12", "main.c:99999"}) {
        QCOMPARE(PROG_ResolveLocationText(s, &Kind), CAddrRange());
        QCOMPARE(Kind, -1);
    }
}

void tst_tables::files()
{
    QVERIFY(Load(0));
    const U32 FileNo = PROG_GetFile("main.c");
    QVERIFY(FileNo != 0xFFFFFFFFu);
    const QString sPath = PROG_GetFilePath(FileNo);
    QVERIFY(sPath.endsWith("programs/main.c") && PROG_GetFileExists(FileNo));
    QCOMPARE(PROG_GetFile(sPath.toUpper()), FileNo);
    QCOMPARE(PROG_GetFile(QString(sPath).replace("programs/", "programs/../programs//")), FileNo);
    QCOMPARE(PROG_GetFile("programs\\MAIN.C"), FileNo);
    QCOMPARE(PROG_GetFile("ain.c"), 0xFFFFFFFFu);
    PROG_SetFilePath(FileNo, "/elsewhere/main.c");
    QCOMPARE(PROG_GetFilePath(FileNo), "/elsewhere/main.c");
    QCOMPARE(PROG_GetOrigFilePath(FileNo), sPath);
    QCOMPARE(PROG_GetFile("/ELSEWHERE/main.c"), FileNo);
    QVERIFY(!PROG_GetFileExists(FileNo));
    PROG_SetFilePath(FileNo, QString());
    QVERIFY(PROG_GetFileExists(FileNo));
    QVERIFY(PROG_GetFileFunctions(FileNo).size() >= 3);
    QVERIFY(PROG_GetFileCodeSize(FileNo) >= 100);
    QCOMPARE(PROG_GetFileRanges(FileNo).size(), 1);
    // Numbers are hashes of the paths: the next load gives the same ones.
    QVERIFY(Load(1));
    QCOMPARE(PROG_GetFile("main.c"), FileNo);
    QCOMPARE(PROG_GetFilePath(FileNo), sPath);
}

void tst_tables::lineAnalysis()
{
    QVERIFY(Load(0));
    const CAddrRange Range = PROG_GetSymRange(Function("helper"));
    const QMap<U32, CAddrRange> Lines = PROG_GetFunctionLines(Range);
    QVERIFY(Lines.size() >= 5);
    QCOMPARE(PROG_GetLineCount(Range), U32(Lines.size()));
    U32 Total = 0;
    for (auto it = Lines.begin(); it != Lines.end(); ++it) {
        QVERIFY(it->Size > 0);
        QCOMPARE(PROG_GetFirstSrcLoc(it->Start).Line, it.key());
        QCOMPARE(PROG_GetLineInstructions(it.key(), Range).first(), it.value());
        for (const CAddrRange& Run : PROG_GetLineInstructions(it.key(), Range)) Total += Run.Size;
    }
    QCOMPARE(Total, Range.Size);
    QVERIFY(PROG_GetFunctionLines(CAddrRange(Range.Start, 0)).isEmpty());
    QVERIFY(PROG_GetFunctionLines(CAddrRange(Range.Start, 10000001)).isEmpty());
    // The literal pool behind the code is marked by the symbols as data.
    U32 Sections = 0, Gaps = 0;
    for (const CAddrRange& r : PROG_GetSymbolSections(Range)) Sections += r.Size;
    for (const CAddrRange& r : PROG_GetRangeGaps(Range)) Gaps += r.Size;
    QCOMPARE(Sections + Gaps, Range.Size);
    QVERIFY(Gaps >= 4 && Gaps % 4 == 0);
}

void tst_tables::bytes()
{
    QVERIFY(Load(0));
    const QString sBin = CTestBuild::Dir() + "/text.bin";
    CTestBuild::Run("arm-none-eabi-objcopy", {"-O", "binary", "-j", ".text", PROG_GetPath(), sBin});
    QFile File(sBin);
    QVERIFY(File.open(QIODevice::ReadOnly));
    const QByteArray Text = File.readAll();
    QByteArray Ours(Text.size(), 0);
    QCOMPARE(PROG_ReadBytes(0x8000, U32(Text.size()), Ours.data()), int(Text.size()));
    QCOMPARE(Ours, Text);
    QCOMPARE(PROG_ReadBytes(0x8010, 2, nullptr), 2);
    QCOMPARE(PROG_ReadBytes(0x7000, 2, nullptr), -1);
}

void tst_tables::macros()
{
    for (int Index = 0; Index < CTestBuild::All().size(); Index++) {
        const BUILD Build = CTestBuild::All()[Index];
        if (Build.IsCpp || qstrcmp(Build.sCompiler, "gcc") != 0) continue;
        QVERIFY(Load(Index));
        QCOMPARE(PROG_GetMacroText("MAGIC"), "42");
        QCOMPARE(PROG_GetMacroText("SQR(x)"), "((x)*(x))");
        QCOMPARE(PROG_GetMacroText("__ARM_ARCH"), "7");
        QVERIFY(PROG_GetMacroText("NO_SUCH_MACRO").isEmpty());
    }
}

void tst_tables::innermostMap()
{
    // Random intervals against a look at all of them: the shortest around an address, of equal ones the last.
    QRandomGenerator Random(1);
    struct ENTRY {
        U64 Low, High;
    };
    QList<ENTRY> aEntry;
    CInnermostMap Map;
    for (int i = 0; i < 3000; i++) {
        const U64 Low = Random.bounded(20000), High = Low + (i % 50 ? Random.bounded(20) : Random.bounded(15000));
        aEntry.append({Low, High});
        Map.Add(Low, High, U32(i));
    }
    aEntry.append({0xFFFFFFF0u, 0xFFFFFFFEu});
    Map.Add(0xFFFFFFF0u, 0xFFFFFFFEu, 3000);
    Map.Add(5, 4, 3001);
    Map.Build();
    QList<U64> aAddr{0, 0xFFFFFFEFu, 0xFFFFFFF0u, 0xFFFFFFFEu, 0xFFFFFFFFu};
    for (U64 Addr = 0; Addr < 36000; Addr += 3) aAddr.append(Addr);
    for (const U64 Addr : std::as_const(aAddr)) {
        qsizetype Expected = -1;
        for (qsizetype i = 0; i < aEntry.size(); i++) {
            const ENTRY& Entry = aEntry[i];
            if (Addr < Entry.Low || Addr > Entry.High) continue;
            if (Expected < 0 || Entry.High - Entry.Low <= aEntry[Expected].High - aEntry[Expected].Low) Expected = i;
        }
        const U32* pFound = Map.Find(Addr);
        QCOMPARE(pFound ? qsizetype(*pFound) : -1, Expected);
    }
}

void tst_tables::functionMap()
{
    // Random intervals, nested, equal and overlapping ones among them, against a look at all of them.
    struct INTERVAL {
        U32 Low, High;
        CFunctionMap::KIND Kind;
    };
    QRandomGenerator Random(3);
    for (int Round = 0; Round < 40; Round++) {
        CFunctionMap Map;
        std::vector<INTERVAL> aAll;
        const U32 Span = Round % 2 ? 200 : 100000;
        for (int i = 0; i < 10 * Round; i++) {
            const U32 Low = 0x1000 + Random.bounded(Span), High = Low + Random.bounded(Span / 4);
            const auto Kind = static_cast<CFunctionMap::KIND>(Random.bounded(3));
            aAll.push_back({Low, High, Kind});
            Map.Add(Low, High, 100 + i, Kind);
        }
        Map.Build();
        for (int n = 0; n < 300; n++) {
            const U32 Addr = 0xFF0 + Random.bounded(Span * 5 / 4);
            U64 hOuter = 0, hFirst = 0, hInner = 0;
            U32 OuterSize = 0, FirstSize = 0, InnerSize = 0;
            for (size_t i = 0; i < aAll.size(); i++) {
                const INTERVAL& I = aAll[i];
                const U32 Size = I.High - I.Low;
                if (Addr < I.Low || Addr > I.High) continue;
                if (!hFirst || Size > FirstSize) hFirst = 100 + i, FirstSize = Size;
                if (I.Kind == CFunctionMap::KIND::FUNCTION && (!hOuter || Size > OuterSize)) hOuter = 100 + i, OuterSize = Size;
                if (I.Kind == CFunctionMap::KIND::EXPANSION && (!hInner || Size <= InnerSize)) hInner = 100 + i, InnerSize = Size;
            }
            if (!hOuter) hOuter = hFirst;
            if (!hInner) hInner = hOuter;
            const CFunctionMap::STRETCH* p = Map.Find(Addr);
            QCOMPARE(p ? Map.Handle(p->Outer) : 0, hOuter);
            QCOMPARE(p ? Map.Handle(p->Inner) : 0, hInner);
        }
    }
    CFunctionMap Top;
    Top.Add(0xFFFFFF00, 0xFFFFFFFE, 7, CFunctionMap::KIND::FUNCTION);
    Top.Build();
    QCOMPARE(Top.Handle(Top.Find(0xFFFFFFFE)->Outer), U64(7));
    QCOMPARE(Top.Handle(Top.Find(0xFFFFFFFF)->Outer), U64(0));
    QVERIFY(!Top.Find(0xFFFFFEFF));
}

void tst_tables::addrIndex()
{
    struct ROW {
        U32 Addr;
    };
    QRandomGenerator Random(5);
    auto IsBelow = [](const ROW& a, const ROW& b) { return a.Addr < b.Addr; };
    for (const U32 Blocks : {1u, 3u, 4000u}) {
        // The second array lies partly elsewhere: each must be right where only the other has rows.
        std::vector<ROW> aRow, aOther;
        for (int i = 0; i < 20000; i++) aRow.push_back({(Random.bounded(Blocks) << 20) + Random.bounded(i % 2 ? 0x100000 : 0x400)});
        for (int i = 0; i < 5000; i++) aOther.push_back({((1 + Random.bounded(Blocks)) << 20) + Random.bounded(0x100000)});
        std::sort(aRow.begin(), aRow.end(), IsBelow);
        std::sort(aOther.begin(), aOther.end(), IsBelow);
        CAddrIndex<2> Index;
        Index.Build(aRow, aOther);
        auto Compare = [&](const std::vector<ROW>& aIn, const ROW* pLower, const ROW* pUpper, U32 Addr) {
            QCOMPARE(pLower - aIn.data(), std::lower_bound(aIn.begin(), aIn.end(), ROW{Addr}, IsBelow) - aIn.begin());
            QCOMPARE(pUpper - aIn.data(), std::upper_bound(aIn.begin(), aIn.end(), ROW{Addr}, IsBelow) - aIn.begin());
        };
        for (int i = 0; i < 20000; i++) {
            const U32 Addr = i % 3 ? aRow[Random.bounded(20000)].Addr + Random.bounded(3) - 1 : Random.generate();
            Compare(aRow, Index.LowerBound<0>(aRow, Addr), Index.UpperBound<0>(aRow, Addr), Addr);
            const auto itFloor = std::upper_bound(aOther.begin(), aOther.end(), ROW{Addr}, IsBelow);
            const ROW* pFloor = Index.Floor<1>(aOther, Addr);
            QCOMPARE(pFloor == nullptr, itFloor == aOther.begin());
            if (pFloor) QCOMPARE(pFloor - aOther.data(), std::lower_bound(aOther.begin(), itFloor, itFloor[-1], IsBelow) - aOther.begin());
            Compare(aOther, Index.LowerBound<1>(aOther, Addr), Index.UpperBound<1>(aOther, Addr), Addr);
        }
    }
    CAddrIndex<1> Empty;
    const std::vector<ROW> aNone;
    Empty.Build(aNone);
    QVERIFY(Empty.LowerBound<0>(aNone, 5) == aNone.data());
}

void tst_tables::threads()
{
    // Readers on other threads get whole answers or neutral ones while the program is loaded again and again.
    std::atomic<bool> Stop{false};
    std::atomic<int> NumAnswers{0}, NumWrong{0};
    std::vector<std::thread> aThread;
    for (int t = 0; t < 2; t++) {
        aThread.emplace_back([&] {
            while (!Stop) {
                const ELF_SYM_HANDLE h = PROG_GetFunctionAt(0x8004, 1);
                const QString sName = PROG_GetSymName(h, PROG_NAME_PLAIN);
                const CSrcLoc Loc = PROG_GetFirstSrcLoc(0x8004);
                if (Loc.IsValid() && Loc.Line > 1000) NumWrong++;
                if (!sName.isEmpty()) NumAnswers++;
                PROG_FindSymbols("main", true, true, true, true, true);
            }
        });
    }
    for (int i = 0; i < 6; i++) {
        QVERIFY(Load(i % 2));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        if (i % 3 == 2) PROG_Unload();
    }
    QVERIFY(Load(0));
    while (NumAnswers == 0) std::this_thread::yield();
    Stop = true;
    for (std::thread& Thread : aThread) Thread.join();
    QCOMPARE(NumWrong.load(), 0);
}

void tst_tables::loadBeside()
{
    // What a load on another thread gives must be what a plain one gives, and nobody sees it before it is published.
    const QString sElf = CTestBuild::Get(CTestBuild::All()[0]);
    QCOMPARE(PROG_Load(sElf), 0);
    auto Names = [] {
        QStringList asName;
        for (const ELF_SYM_HANDLE h : PROG_GetFunctions() + PROG_GetGlobals()) asName.append(PROG_GetSymName(h, PROG_NAME_QUALIFIED));
        for (const U32 Addr : MappedAddrs()) asName.append(PROG_GetSrcLocText(PROG_GetFirstSrcLoc(Addr)));
        return asName;
    };
    const QStringList asPlain = Names();
    PROG_Unload();
    CProgLoad Load(sElf);
    std::atomic<bool> Done = false;
    bool Good = false;
    auto Beside = [&](const std::function<bool()>& Job) {
        Done = false;
        std::thread Thread([&] {
            Good = Job();
            Done = true;
        });
        do {
            QVERIFY(!PROG_IsLoaded() && PROG_GetFunctions().isEmpty() && !PROG_GetFirstSrcLoc(0x8000).IsValid());
            QVERIFY(!ELF_GetCurrentFile());
        } while (!Done);
        Thread.join();
        QVERIFY(Good);
    };
    Beside([&Load] { return Load.ReadFile(); });
    QVERIFY(Load.BindCore());
    Beside([&Load] { return Load.BuildTables(); });
    QVERIFY(!PROG_IsLoaded());
    QCOMPARE(Load.Publish(), 0);
    QVERIFY(Load.Progress().Permille > 900);
    QCOMPARE(PROG_GetPath(), sElf);
    QCOMPARE(Names(), asPlain);
}

void tst_tables::cancel()
{
    const QString sElf = CTestBuild::Get(CTestBuild::All()[0]);
    for (int When = 0; When < 3; When++) {
        CProgLoad Load(sElf);
        if (When == 0) Load.Progress().Cancel = true;
        QCOMPARE(Load.ReadFile(), When != 0);
        if (When == 1) Load.Progress().Cancel = true;
        QCOMPARE(Load.BindCore(), When != 0);
        QCOMPARE(Load.BuildTables(), When == 2);
        Load.Progress().Cancel = true;
        QCOMPARE(Load.Publish(), -1);
        QVERIFY(!PROG_IsLoaded());
    }
    // Its place in the table of open files is free again.
    for (int i = 0; i < 5; i++) QCOMPARE(PROG_Load(sElf), 0);
}

QTEST_GUILESS_MAIN(tst_tables)
#include "tst_tables.moc"
