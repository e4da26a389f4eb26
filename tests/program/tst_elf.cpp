// The ELF layer against readelf, and against files that are not what they should be.
#include "fuzz/elf/anyframe.h"
#include "program/elf/elf.h"
#include "program/symbols/elfsym.h"
#include "program/symbols/locpieces.h"
#include "testbuild.h"

#include <QFile>
#include <QRandomGenerator>
#include <QtTest>
#include <algorithm>
#include <tuple>

namespace {

QList<U32> s_aCode;  ///< codes of the diagnostics since the last clear
QList<U32> s_aFlags;
QStringList s_asText; ///< lines that come with their text

void Collect(const ELF_DIAG* pDiag)
{
    if (pDiag->sText) {
        s_asText << QString::fromUtf8(pDiag->sText);
        return;
    }
    s_aCode.append(pDiag->Code);
    s_aFlags.append(pDiag->Flags);
}

QByteArray ReadAll(const QString& sPath)
{
    QFile File(sPath);
    return File.open(QIODevice::ReadOnly) ? File.readAll() : QByteArray();
}

QString WriteTemp(const QByteArray& Data, const QString& sName = "temp.elf")
{
    const QString sPath = CTestBuild::Dir() + "/" + sName;
    QFile File(sPath);
    if (File.open(QIODevice::WriteOnly)) File.write(Data);
    return sPath;
}

ELF_HANDLE Open(const QString& sPath, bool Debug = true)
{
    s_aCode.clear();
    s_aFlags.clear();
    return ELF_Open(sPath.toUtf8().constData(), Debug);
}

void TouchLocation(const ELF_SYM_LOC& Loc)
{
    CAnyFrame Frame;
    const ELF_SYM_LOC Value = ELF_EvalExpression(Loc, Frame);
    ELF_GetLocText(Loc, 0);
    ELF_LocIsValid(Loc);
    ELF_GetLocText(Value, 1);
}

void TouchPieces(ELF_SYM_HANDLE h, U32 PC)
{
    CAnyFrame Frame;
    const ELF_SYM_PIECES aPiece = ELF_EvalPieces(h, PC, Frame);
    for (const U64 First : {0ull, 13ull, 8ull << 32}) {
        U64 NumBits = 0;
        for (const ELF_SYM_PIECE& Piece : ELF_SlicePieces(aPiece, First, 45, PC & 1)) {
            I32 Offset;
            ELF_GetPointee(Piece.Part, &Offset);
            NumBits += Piece.NumBits;
        }
        QCOMPARE(NumBits, 45u);
    }
}

/// Asks everything there is to ask about a symbol; the answers only have to come.
void TouchSymbol(ELF_SYM_HANDLE h, int Depth)
{
    const U32 Low = ELF_GetSymRangeLow(h, 0);
    ELF_GetSymName(h);
    ELF_GetSymTypeText(h);
    ELF_GetSymSize(h);
    ELF_GetSymAccess(h);
    ELF_SymIsSigned(h);
    ELF_GetSymBitOffset(h);
    ELF_GetSymDeclFile(h, 0x3A);
    ELF_GetSymLinkageName(h);
    U32 Size;
    ELF_GetSymBlock(h, 0x1C, &Size);
    ELF_ARRAY_INFO Info;
    ELF_GetArrayInfo(h, &Info);
    for (const U32 PC : {0u, Low, Low + 8}) {
        TouchLocation(ELF_GetSymLoc(h, PC));
        TouchPieces(h, PC);
        ELF_SYM_LOC Passed;
        I64 Add;
        TouchLocation(ELF_GetArrayBoundLoc(h, 0, PC, &Add));
        ELF_FindCallValue(h, h, PC, PC & 15, &Passed);
        TouchLocation(Passed);
    }
    for (U32 i = 0; i < ELF_GetSymRangeCount(h) && i < 20; i++) ELF_GetSymRangeHigh(h, i);
    if (Depth <= 0) return;
    for (U32 i = 0; i < ELF_GetSymLocalCount(h) && i < 20; i++) TouchSymbol(ELF_GetSymLocal(h, i), 0);
    for (U32 i = 0; i < ELF_GetSymMemberCount(h) && i < 20; i++) TouchSymbol(ELF_GetSymMember(h, i), 0);
    for (U32 i = 0; i < ELF_GetSymBaseCount(h) && i < 20; i++) TouchSymbol(ELF_GetSymBase(h, i), 0);
    TouchSymbol(ELF_GetSymType(h), 0);
    TouchSymbol(ELF_GetSymParent(h), 0);
}

void TouchFile(ELF_HANDLE hFile)
{
    for (U32 List = 0; List < ELF_NUM_LISTS; List++) {
        const U32 Count = std::min(ELF_GetListCount(hFile, ELF_LIST(List)), 200u);
        for (U32 i = 0; i < Count; i++) TouchSymbol(ELF_GetListItem(hFile, ELF_LIST(List), i), 1);
    }
    for (U32 i = 0; i < ELF_GetLineCount(hFile); i++) ELF_GetLineFile(hFile, i);
    for (U32 i = 0; i < ELF_GetMacroCount(hFile); i++) ELF_GetMacroText(hFile, i);
    ELF_SYM_LOC aRule[40];
    for (U32 i = 0; i < std::min(ELF_GetFdeCount(hFile), 50u); i++) {
        const U32 PC = ELF_GetFdeLowPc(hFile, i);
        ELF_GetFrameRules(PC, 40, aRule);
        ELF_GetFrameSize(PC);
        ELF_GetCfa(PC + 2);
    }
    for (U32 i = 0; i < ELF_GetSectionCount(hFile); i++) ELF_GetSectionData(hFile, i);
    for (U32 i = 0; i < ELF_GetSegmentCount(hFile); i++) ELF_GetSegmentData(hFile, i);
    ELF_FindFunctionSymbol(hFile, 0x8010, false);
    ELF_FindSymbolByAddr(hFile, 0x8010, false, -1);
}

void AddBuildRows()
{
    QTest::addColumn<int>("Index");
    const QList<BUILD> aBuild = CTestBuild::All();
    for (int i = 0; i < aBuild.size(); i++) QTest::newRow(aBuild[i].Name().constData()) << i;
}

/// A program with one unit that has nothing but a language (-1: none) and a name.
QString MakeUnit(int Language, const char* sName)
{
    const QString sUnit = QStringLiteral(
        ".text\n.global _start\n_start: nop\n"
        ".section .debug_abbrev,\"\",%%progbits\n.uleb128 1, 0x11\n.byte 0\n%1.uleb128 3, 8, 0, 0\n.byte 0\n"
        ".section .debug_info,\"\",%%progbits\n.4byte 9f - 8f\n8: .2byte 4\n.4byte 0\n.byte 4\n.uleb128 1\n%2.asciz \"%3\"\n9:\n");
    const QString sText = QString(sUnit).replace("%%", "%").arg(Language < 0 ? "" : ".uleb128 0x13, 5\n", Language < 0 ? "" : QStringLiteral(".2byte %1\n").arg(Language), sName);
    const QString sSource = WriteTemp(sText.toUtf8(), "unit.s"), sElf = CTestBuild::Dir() + "/unit.elf";
    CTestBuild::Run("arm-none-eabi-gcc", {"-nostdlib", sSource, "-o", sElf});
    return sElf;
}

} // namespace

class tst_elf : public QObject {
    Q_OBJECT
private slots:
    void languages_data()
    {
        QTest::addColumn<int>("Code");
        QTest::addColumn<QByteArray>("Name");
        QTest::addColumn<bool>("IsCpp");
        const struct { const char* sRow; int Code; const char* sName; bool IsCpp; } Rows[] = {
            {"C89", 1, "a.c", false}, {"C", 2, "a.c", false}, {"Ada 83", 3, "a.adb", false}, {"C++", 4, "a.cc", true},
            {"C99", 0xC, "a.c", false}, {"C++03", 0x19, "a.cc", true}, {"C++11", 0x1A, "a.cc", true}, {"Rust", 0x1C, "a.rs", false},
            {"C11", 0x1D, "a.c", false}, {"C++14", 0x21, "a.cc", true}, {"C++17", 0x2A, "a.cc", true}, {"C++20", 0x2B, "a.cc", true},
            {"C17", 0x2C, "a.c", false}, {"Ada 2012", 0x2F, "a.adb", false}, {"assembly", 0x31, "a.s", false}, {"C++23", 0x3A, "a.cc", true},
            {"C23", 0x3E, "a.c", false}, {"assembler of MIPS", 0x8001, "a.s", false}, {"C, odd name", 2, "a.cpp", false},
            {"none, C++ name", -1, "a.cpp", true}, {"none, C name", -1, "a.c", false}, {"none, other name", -1, "a.x", false},
        };
        for (const auto& Row : Rows) QTest::newRow(Row.sRow) << Row.Code << QByteArray(Row.sName) << Row.IsCpp;
    }

    void languages()
    {
        QFETCH(int, Code);
        QFETCH(QByteArray, Name);
        QFETCH(bool, IsCpp);
        s_asText.clear();
        const ELF_HANDLE hFile = Open(MakeUnit(Code, Name));
        QCOMPARE(ELF_GetListCount(hFile, ELF_LIST_COMPILATION_UNITS), 1u);
        QCOMPARE(ELF_GetSrcLang(hFile), IsCpp ? ELF_SRC_LANG_CPP : ELF_SRC_LANG_C);
        QVERIFY(s_asText.contains(IsCpp ? "Source Language: C++" : "Source Language: C"));
    }

    /// What is told of a file that was read, and of what is read later.
    void summary()
    {
        // Unit, T, two of S and itself, g, s, f with p, l and m, main; not the base types and the block.
        const QString sSource = WriteTemp("#define TWO 2\ntypedef int T;\nstruct S { int a; char b; } s;\nT g;\n"
                                          "int f(int p) { int l = p; { int m = l; l = m * TWO; } return l; }\nint main(void) { return f(g); }\n", "summary.c");
        const QString sElf = CTestBuild::Dir() + "/summary.elf";
        CTestBuild::Run("arm-none-eabi-gcc", {"-g3", "-O0", "-nostdlib", "-Wl,-emain", sSource, "-o", sElf});
        s_asText.clear();
        const ELF_HANDLE hFile = Open(sElf);
        QStringList asKey;
        for (const QString& s : std::as_const(s_asText)) asKey << s.section(':', 0, 0);
        QCOMPARE(asKey.join('|'), QString("parsed type unit tree in ms|parsed debug info tree in ms|parsed source file info in ms|parsed source line info in ms|"
                                          "parsed macro info in ms|parsed call frame info in ms|intialized symbol name index in ms|File Size|DWARF Symbol Count|"
                                          "ELF Symbol Count|Data Encoding|Source Language|total init time|DWARF Version"));
        QVERIFY2(s_asText.contains("DWARF Symbol Count: 12"), qPrintable(s_asText.join('\n')));
        s_asText.clear();
        QVERIFY(ELF_GetMacroCount(hFile) > 0);
        QCOMPARE(s_asText.size(), 1);
        QVERIFY(s_asText[0].startsWith("parsed macro info in ms: "));
        ELF_GetMacroCount(hFile);
        QCOMPARE(s_asText.size(), 1);
    }

    void initTestCase() { ELF_SetDiagCallback(Collect); }
    void cleanup()
    {
        for (U32 Slot = 0; Slot < 3; Slot++) ELF_Close(ELF_GetFileInSlot(Slot));
        ELF_ClearRelocations();
        ELF_SetCoreParameters(1, 0);
    }
    void refusals_data();
    void refusals();
    void fourthFile();
    void noDebugInfo();
    void tables_data() { AddBuildRows(); }
    void tables();
    void lines_data() { AddBuildRows(); }
    void lines();
    void frames_data() { AddBuildRows(); }
    void frames();
    void twins_data();
    void twins();
    void shrunkenLines();
    void functionSymbols();
    void relocation();
    void badHandles();
    void truncation();
    void mutation_data();
    void mutation();
};

void tst_elf::refusals_data()
{
    QTest::addColumn<QByteArray>("Data");
    QTest::addColumn<U32>("Code");
    const QByteArray Good = ReadAll(CTestBuild::Get({"gcc", false, 4, 0, ""}));
    QVERIFY(Good.size() > 1000);
    auto Patched = [&Good](qsizetype At, char Byte) {
        QByteArray Data = Good;
        Data[At] = Byte;
        return Data;
    };
    QTest::newRow("empty") << QByteArray() << U32(ELF_ERR_FILE_SIZE);
    QTest::newRow("four bytes of text") << QByteArray("abcd") << U32(ELF_ERR_MAGIC);
    QTest::newRow("magic only") << Good.left(4) << U32(ELF_ERR_READ);
    QTest::newRow("relocatable") << Patched(16, 1) << U32(ELF_ERR_NOT_EXECUTABLE);
    QTest::newRow("shared object") << Patched(16, 3) << U32(ELF_ERR_NOT_EXECUTABLE);
    QTest::newRow("core dump") << Patched(16, 4) << U32(ELF_ERR_NOT_EXECUTABLE);
    QTest::newRow("class none") << Patched(4, 0) << U32(ELF_ERR_CLASS_NONE);
    QTest::newRow("class 64") << Patched(4, 2) << U32(ELF_ERR_NOT_EXECUTABLE);
    QTest::newRow("data none") << Patched(5, 0) << U32(ELF_ERR_DATA_NONE);
    QTest::newRow("ident version") << Patched(6, 2) << U32(ELF_ERR_HEADER_VERSION);
    QTest::newRow("file version") << Patched(20, 0) << U32(ELF_ERR_FILE_VERSION);
    QTest::newRow("cut in half") << Good.left(Good.size() / 2) << U32(ELF_ERR_READ);
    QTest::newRow("program header size") << Patched(42, 8) << U32(ELF_ERR_READ);
}

void tst_elf::refusals()
{
    QFETCH(QByteArray, Data);
    QFETCH(U32, Code);
    QVERIFY(!Open(WriteTemp(Data)));
    QCOMPARE(s_aCode, QList<U32>{Code});
    QCOMPARE(s_aFlags, QList<U32>{68});
    QVERIFY(*ELF_GetErrorText(Code));
    QVERIFY(!Open(CTestBuild::Dir()));
    QCOMPARE(s_aCode, QList<U32>{ELF_ERR_OPEN});
}

void tst_elf::fourthFile()
{
    const QString sPath = CTestBuild::Get({"gcc", false, 4, 0, ""});
    ELF_HANDLE ahFile[3];
    for (ELF_HANDLE& hFile : ahFile) QVERIFY((hFile = Open(sPath)));
    QVERIFY(!Open(sPath));
    QCOMPARE(s_aCode, QList<U32>{ELF_ERR_TOO_MANY_FILES});
    QCOMPARE(ELF_GetErrorText(124), "a maximum number of ELF files are already open");
    for (int i = 0; i < 3; i++) {
        QCOMPARE(ELF_GetSlot(ahFile[i]), i);
        QVERIFY(ELF_GetSymbolCount(ahFile[i]) > 10);
    }
    const ELF_SYM_HANDLE hSym = ELF_GetFunction(ahFile[1], 0);
    QVERIFY(*ELF_GetSymName(hSym));
    ELF_Close(ahFile[1]);
    QCOMPARE(ELF_GetSymName(hSym), "");
    QCOMPARE(ELF_GetSymTag(hSym), ELF_BAD_TAG);
    ELF_Close(ahFile[0]);
    ELF_Close(ahFile[2]);
}

void tst_elf::noDebugInfo()
{
    const QString sStripped = CTestBuild::Dir() + "/stripped.elf";
    CTestBuild::Run("arm-none-eabi-strip", {"-g", "-o", sStripped, CTestBuild::Get({"gcc", false, 4, 0, ""})});
    ELF_HANDLE hFile = Open(sStripped);
    QVERIFY(hFile);
    QCOMPARE(s_aCode, (QList<U32>{ELF_ERR_LIB_NO_DEBUG_INFO, ELF_ERR_DEBUG_SYMBOLS}));
    for (U32 List = 0; List < ELF_NUM_LISTS; List++) QCOMPARE(ELF_GetListCount(hFile, ELF_LIST(List)), 0u);
    QCOMPARE(ELF_GetLineCount(hFile), 0u);
    QVERIFY(ELF_FindSymbolByName(hFile, "main") > 0);
    ELF_Close(hFile);
    CTestBuild::Run("arm-none-eabi-strip", {"-s", sStripped});
    QVERIFY((hFile = Open(sStripped, false)));
    QCOMPARE(s_aCode.size(), 0);
    QCOMPARE(ELF_GetSymbolCount(hFile), 0u);
    ELF_Close(hFile);
}

void tst_elf::tables()
{
    QFETCH(int, Index);
    const QString sPath = CTestBuild::Get(CTestBuild::All()[Index]);
    const ELF_HANDLE hFile = Open(sPath);
    QVERIFY(hFile);
    QCOMPARE(s_aCode.size(), 0);
    QCOMPARE(ELF_GetDwarfVersion(hFile) >= U32(CTestBuild::All()[Index].Dwarf), true);
    // "   12: 00008001   100 FUNC    LOCAL  DEFAULT    1 helper"
    static const QRegularExpression Line("^\\s*(\\d+): ([0-9a-f]{8})\\s+(\\S+) (\\w+)\\s+(\\w+)\\s+\\w+\\s+(\\w+)(?: (\\S+))?");
    int NumSymbols = 0;
    for (const QByteArray& Text : CTestBuild::Run("arm-none-eabi-readelf", {"-sW", sPath}).split('\n')) {
        const auto Match = Line.match(Text);
        if (!Match.hasMatch()) continue;
        const U32 i = Match.captured(1).toUInt();
        NumSymbols++;
        QCOMPARE(ELF_GetSymbolValue(hFile, i), Match.captured(2).toUInt(nullptr, 16));
        const U32 Size = Match.captured(3).toUInt(nullptr, 0);
        if (Size) QCOMPARE(ELF_GetSymbolSize(hFile, i), Size);
        QCOMPARE(ELF_GetSymbolType(hFile, i) == 2, Match.captured(4) == "FUNC");
        if (Match.captured(4) != "SECTION") QCOMPARE(QString(ELF_GetSymbolName(hFile, i)), Match.captured(7));
    }
    QCOMPARE(ELF_GetSymbolCount(hFile), U32(NumSymbols));
    // "  [ 1] .text             PROGBITS        00008000 008000 000128 00  AX  0   0  4"
    static const QRegularExpression Section("^\\s*\\[\\s*(\\d+)\\] (\\S*)\\s+(\\w+)\\s+([0-9a-f]{8}) ([0-9a-f]{6}) ([0-9a-f]{6})");
    int NumSections = 0;
    for (const QByteArray& Text : CTestBuild::Run("arm-none-eabi-readelf", {"-SW", sPath}).split('\n')) {
        const auto Match = Section.match(Text);
        if (!Match.hasMatch()) continue;
        const U32 i = Match.captured(1).toUInt();
        NumSections++;
        QCOMPARE(QString(ELF_GetSectionName(hFile, i)), Match.captured(2));
        QCOMPARE(ELF_GetSectionAddr(hFile, i), Match.captured(4).toUInt(nullptr, 16));
        QCOMPARE(ELF_GetSectionOffset(hFile, i), Match.captured(5).toUInt(nullptr, 16));
        QCOMPARE(ELF_GetSectionSize(hFile, i), Match.captured(6).toUInt(nullptr, 16));
    }
    QVERIFY(NumSections > 10);
    ELF_Close(hFile);
}

void tst_elf::lines()
{
    QFETCH(int, Index);
    const QString sPath = CTestBuild::Get(CTestBuild::All()[Index]);
    const ELF_HANDLE hFile = Open(sPath);
    QVERIFY(hFile);
    using ROW = std::tuple<QByteArray, U32, U32>;
    QList<ROW> aTheirs, aOurs;
    // "main.c       18      0x8000       1       x"; the line "-" ends a sequence
    static const QRegularExpression Line("^(\\S+)\\s+(\\d+)\\s+(0x[0-9a-f]+|0)\\b");
    for (const QByteArray& Text : CTestBuild::Run("arm-none-eabi-readelf", {"--debug-dump=decodedline", "-W", sPath}).split('\n')) {
        const auto Match = Line.match(Text);
        const QByteArray Name = Match.captured(1).toUtf8();
        if (Match.hasMatch()) aTheirs.append({Name.mid(Name.lastIndexOf('/') + 1), Match.captured(2).toUInt(), Match.captured(3).toUInt(nullptr, 0)});
    }
    for (U32 i = 0; i < ELF_GetLineCount(hFile); i++) {
        if (ELF_LineIsEndOfSequence(hFile, i)) continue;
        const QByteArray File = ELF_GetLineFile(hFile, i);
        aOurs.append({File.mid(File.lastIndexOf('/') + 1), ELF_GetLineNumber(hFile, i), ELF_GetLineAddr(hFile, i)});
    }
    ELF_Close(hFile);
    std::sort(aTheirs.begin(), aTheirs.end());
    std::sort(aOurs.begin(), aOurs.end());
    QVERIFY(aTheirs.size() > 10);
    QCOMPARE(aOurs.size(), aTheirs.size());
    QVERIFY(aOurs == aTheirs);
}

void tst_elf::frames()
{
    QFETCH(int, Index);
    const QString sPath = CTestBuild::Get(CTestBuild::All()[Index]);
    ELF_SetCoreParameters(2, 13);
    const ELF_HANDLE hFile = Open(sPath);
    QVERIFY(hFile);
    // Rows of the register table: "   LOC   CFA      r4    ra" and "00008002 r13+8    c-8   c-4"
    int NumRows = 0;
    QList<QByteArray> aColumn;
    for (const QByteArray& Text : CTestBuild::Run("arm-none-eabi-readelf", {"--debug-dump=frames-interp", "-W", sPath}).split('\n')) {
        const QList<QByteArray> aField = Text.simplified().split(' ');
        if (aField.first() == "LOC") {
            aColumn = aField;
            continue;
        }
        bool IsAddr;
        const U32 Addr = aField.first().toUInt(&IsAddr, 16);
        if (!IsAddr || aField.first().size() != 8 || aField.size() != aColumn.size() || Text.contains("CIE") || Text.contains("FDE")) continue;
        ELF_SYM_LOC aRule[16];
        if (ELF_GetFrameRules(Addr, 16, aRule) == 0) continue; // the initial row of a CIE stands at address 0
        NumRows++;
        const ELF_SYM_LOC Cfa = ELF_GetCfa(Addr);
        QCOMPARE(Cfa.NumParts, 1u);
        QCOMPARE(Cfa.aPart[0].Type, U32(ELF_LOC_REG_OFFSET));
        QCOMPARE(QByteArray("r") + QByteArray::number(Cfa.aPart[0].Reg) + "+" + QByteArray::number(Cfa.aPart[0].Offset), aField[1]);
        QVERIFY(ELF_LocIsEqual(aRule[13], Cfa));
        for (qsizetype i = 2; i < aField.size(); i++) {
            const U32 Reg = aColumn[i] == "ra" ? 14 : aColumn[i].mid(1).toUInt();
            const ELF_SYM_LOC_PART& Part = aRule[Reg].aPart[0];
            if (aField[i] == "u" || aField[i] == "s") QCOMPARE(Part.Type, U32(ELF_LOC_REG));
            else QCOMPARE(QByteArray("c") + QByteArray::number(Part.Offset), aField[i]);
        }
    }
    ELF_Close(hFile);
    ELF_SetCoreParameters(1, 0);
    QVERIFY(NumRows >= (CTestBuild::All()[Index].sCompiler[0] == 'g' ? 4 : 0));
}

void tst_elf::twins_data()
{
    QTest::addColumn<QString>("Extra");
    QTest::newRow("big endian") << "-mbig-endian";
    QTest::newRow("compressed") << "-gz=zlib";
    QTest::newRow("compressed, older form") << "-gz=zlib-gnu";
    QTest::newRow("type units") << "-fdebug-types-section";
    QTest::newRow("64-bit DWARF") << "-gdwarf64";
}

void tst_elf::twins()
{
    QFETCH(QString, Extra);
    for (const int Dwarf : {4, 5}) {
        for (const bool IsCpp : {false, true}) {
            const QByteArray Option = Extra.toUtf8();
            const QString sTwin = CTestBuild::Get({"gcc", IsCpp, Dwarf, 2, Option.constData()});
            const QString sPlain = CTestBuild::Get({"gcc", IsCpp, Dwarf, 2, Extra == "-mbig-endian" ? "-Wl,--unresolved-symbols=ignore-all" : ""});
            QVERIFY(!sTwin.isEmpty());
            const ELF_HANDLE hPlain = Open(sPlain), hTwin = Open(sTwin);
            QVERIFY(hPlain && hTwin);
            QCOMPARE(s_aCode.size(), 0);
            QCOMPARE(ELF_GetByteOrder(hTwin), Extra == "-mbig-endian" ? 1 : 0);
            QCOMPARE(ELF_GetFunctionCount(hTwin), ELF_GetFunctionCount(hPlain));
            QCOMPARE(ELF_GetGlobalVarCount(hTwin), ELF_GetGlobalVarCount(hPlain));
            if (Extra != "-mbig-endian") QCOMPARE(ELF_GetLineCount(hTwin), ELF_GetLineCount(hPlain));
            for (U32 i = 0; i < ELF_GetFunctionCount(hPlain); i++) {
                const ELF_SYM_HANDLE a = ELF_GetFunction(hPlain, i), b = ELF_GetFunction(hTwin, i);
                QCOMPARE(QByteArray(ELF_GetSymName(b)), QByteArray(ELF_GetSymName(a)));
                QCOMPARE(QByteArray(ELF_GetSymTypeText(b)), QByteArray(ELF_GetSymTypeText(a)));
                QCOMPARE(ELF_GetSymLocalCount(b), ELF_GetSymLocalCount(a));
                for (U32 n = 0; n < ELF_GetSymLocalCount(a); n++) {
                    const ELF_SYM_HANDLE va = ELF_GetSymLocal(a, n), vb = ELF_GetSymLocal(b, n);
                    QCOMPARE(QByteArray(ELF_GetSymTypeText(vb)), QByteArray(ELF_GetSymTypeText(va)));
                    QCOMPARE(ELF_GetSymSize(vb), ELF_GetSymSize(va));
                    QCOMPARE(ELF_GetSymMemberCount(ELF_GetSymType(vb)), ELF_GetSymMemberCount(ELF_GetSymType(va)));
                }
            }
            ELF_Close(hPlain);
            ELF_Close(hTwin);
        }
    }
}

void tst_elf::shrunkenLines()
{
    // The same statement over and over, three a line, each row with its column: the table has 90 KB, more than what is
    // unpacked at any ratio, and shrinks to less than a hundredth. It is a sound one all the same.
    const QString sSource = CTestBuild::Dir() + "/repeats.c";
    QFile Source(sSource);
    QVERIFY(Source.open(QIODevice::WriteOnly));
    Source.write("volatile int x;\nint main(void) {\n");
    for (int i = 0; i < 10000; i++) Source.write("  x++; x++; x++;\n");
    Source.write("  return 0;\n}\n");
    Source.close();
    U32 aCount[2] = {};
    for (const bool Packed : {false, true}) {
        const QString sElf = sSource + (Packed ? ".packed.elf" : ".elf");
        CTestBuild::Run("arm-none-eabi-gcc", {"-mcpu=cortex-m4", "-g", "-O0", "-nostdlib", "-Wl,-e,main", Packed ? "-gz=zlib" : "-gz=none", sSource, "-o", sElf});
        const ELF_HANDLE hFile = Open(sElf);
        QVERIFY(hFile);
        QCOMPARE(s_aCode.size(), 0);
        aCount[Packed] = ELF_GetLineCount(hFile);
        ELF_Close(hFile);
    }
    QVERIFY(aCount[0] > 30000);
    QCOMPARE(aCount[1], aCount[0]);
}

void tst_elf::functionSymbols()
{
    const ELF_HANDLE hFile = Open(CTestBuild::Get({"gcc", false, 4, 0, ""}));
    QVERIFY(hFile);
    U32 Last = 0;
    for (U32 i = 0; i < ELF_GetFunctionSymbolCount(hFile); i++) {
        const U32 Symbol = U32(ELF_GetFunctionSymbol(hFile, i));
        const U32 Value = ELF_GetSymbolValue(hFile, Symbol), Size = ELF_GetSymbolSize(hFile, Symbol);
        QVERIFY(Value > Last);
        QVERIFY(ELF_GetSymbolName(hFile, Symbol)[0] != '$');
        Last = Value;
        // The first and the last byte are in the function, for a Thumb function too; the one behind isn't.
        QCOMPARE(ELF_FindFunctionSymbol(hFile, Value & ~1u, true), int(Symbol));
        QCOMPARE(ELF_FindFunctionSymbol(hFile, (Value & ~1u) + Size - 1, true), int(Symbol));
        QVERIFY(ELF_FindFunctionSymbol(hFile, (Value & ~1u) + Size, true) != int(Symbol));
    }
    QCOMPARE(ELF_FindFunctionSymbol(hFile, 0x100, false), -1);
    const int End = ELF_FindFunctionSymbol(hFile, 0x7FFFFFFF, false);
    QVERIFY(End >= 0);
    QCOMPARE(ELF_FindFunctionSymbol(hFile, 0x7FFFFFFF, true), -1);
    // "hook" and "hook_alias" share an address; of equal sizes the lower index counts.
    const int Hook = ELF_FindSymbolByName(hFile, "hook"), Alias = ELF_FindSymbolByName(hFile, "hook_alias");
    QVERIFY(Hook > 0 && Alias > 0);
    QCOMPARE(ELF_FindFunctionSymbol(hFile, ELF_GetSymbolValue(hFile, U32(Hook)) & ~1u, true), std::min(Hook, Alias));
    const int Mapping = ELF_FindSymbolByAddr(hFile, ELF_GetSymbolValue(hFile, U32(Hook)), false, -1);
    QVERIFY(Mapping >= 0 && ELF_GetSymbolName(hFile, U32(Mapping))[0] != '$');
    ELF_Close(hFile);
}

void tst_elf::relocation()
{
    const ELF_HANDLE hFile = Open(CTestBuild::Get({"gcc", false, 4, 0, ""}));
    QVERIFY(hFile);
    QCOMPARE(ELF_ToRuntimeAddr(0x8000, 1, 0), 0x8000u);
    QCOMPARE(ELF_AddRelocation("no_such_symbol", 4), -1);
    QCOMPARE(ELF_AddRelocation("0-0", 4), -1);
    ELF_ClearRelocations();
    QCOMPARE(ELF_AddRelocation(".text", 0x100000), 0);
    const U32 Text = ELF_GetSectionAddr(hFile, U32(ELF_FindSection(hFile, ".text")));
    const U32 End = Text + ELF_GetSectionSize(hFile, U32(ELF_FindSection(hFile, ".text")));
    QCOMPARE(ELF_ToRuntimeAddr(Text, 1, 0), Text + 0x100000);
    QCOMPARE(ELF_ToRuntimeAddr(Text, 0, 1), Text);
    QCOMPARE(ELF_ToRuntimeAddr(End, 0, 1), End + 0x100000);
    QCOMPARE(ELF_ToRuntimeAddr(End, 1, 0), End);
    QCOMPARE(ELF_FromRuntimeAddr(Text + 0x100000, 1, 0), Text);
    QCOMPARE(ELF_GetLineAddr(hFile, 0), ELF_FromRuntimeAddr(ELF_GetLineAddr(hFile, 0), 1, 0) + 0x100000);
    ELF_ClearRelocations();
    QCOMPARE(ELF_AddRelocation("*", 0x10), 0);
    QCOMPARE(ELF_ToRuntimeAddr(0, 1, 0), 0x10u);
    QCOMPARE(ELF_ToRuntimeAddr(0xFFFFFFF8u, 1, 0), 0xFFFFFFF8u); // would wrap
    QCOMPARE(ELF_ToRuntimeAddr(0xFFFFFFFFu, 1, 0), 0xFFFFFFFFu);
    ELF_ClearRelocations();
    ELF_Close(hFile);
}

void tst_elf::badHandles()
{
    const ELF_HANDLE hFile = Open(CTestBuild::Get({"gcc", false, 4, 0, ""}));
    int Dummy;
    const ELF_HANDLE hBad = reinterpret_cast<ELF_HANDLE>(&Dummy);
    for (const ELF_HANDLE h : {ELF_HANDLE(nullptr), hBad}) {
        QCOMPARE(ELF_GetClass(h), 3u);
        QCOMPARE(ELF_GetByteOrder(h), int(ELF_UNKNOWN_ENDIAN));
        QCOMPARE(ELF_GetSymbolCount(h), 0u);
        QVERIFY(!ELF_GetFileImage(h));
        QCOMPARE(ELF_GetLowestCodeAddr(h), -1);
        ELF_Close(h);
    }
    const ELF_SYM_HANDLE hGood = ELF_GetFunction(hFile, 0);
    for (const ELF_SYM_HANDLE h : QList<ELF_SYM_HANDLE>{0, hGood ^ (1ull << 50), hGood | (3ull << 35), hGood ^ (3ull << 32),
                                                        hGood | 0x7FFFFFFFull, hGood | (1ull << 38)}) {
        QCOMPARE(ELF_GetSymTag(h), ELF_BAD_TAG);
        QCOMPARE(ELF_GetSymName(h), "");
        QCOMPARE(ELF_GetSymSize(h), 0u);
        QCOMPARE(ELF_GetSymLoc(h, 0).NumParts, 0u);
        QCOMPARE(ELF_GetSymParent(h), ELF_SYM_HANDLE(0));
        QCOMPARE(ELF_GetSymTypeText(h), "");
    }
    ELF_Close(hFile);
}

void tst_elf::truncation()
{
    const QByteArray Good = ReadAll(CTestBuild::Get({"gcc", true, 5, 0, ""}));
    for (qsizetype Size = 0; Size < Good.size(); Size += Size < 64 ? 1 : 97) {
        const ELF_HANDLE hFile = Open(WriteTemp(Good.left(Size)));
        QVERIFY2(!hFile && s_aCode.size() == 1, qPrintable(QString::number(Size)));
    }
}

void tst_elf::mutation_data()
{
    QTest::addColumn<int>("Index");
    const QList<BUILD> aBuild = CTestBuild::All();
    for (int i = 0; i < aBuild.size(); i++) {
        if (aBuild[i].Opt == 2 && aBuild[i].Dwarf >= 4) QTest::newRow(aBuild[i].Name().constData()) << i;
    }
}

void tst_elf::mutation()
{
    QFETCH(int, Index);
    const QString sPath = CTestBuild::Get(CTestBuild::All()[Index]);
    const QByteArray Good = ReadAll(sPath);
    ELF_HANDLE hFile = Open(sPath);
    struct SPAN {
        U32 Offset, Size;
    };
    QList<SPAN> aSpan;
    for (U32 i = 0; i < ELF_GetSectionCount(hFile); i++) {
        const QByteArray Name = ELF_GetSectionName(hFile, i);
        const bool IsDebug = Name.startsWith(".debug_") || Name == ".eh_frame" || Name == ".symtab" || Name == ".strtab";
        if (IsDebug && ELF_GetSectionSize(hFile, i)) aSpan.append({ELF_GetSectionOffset(hFile, i), ELF_GetSectionSize(hFile, i)});
    }
    ELF_Close(hFile);
    QVERIFY(aSpan.size() > 5);
    QRandomGenerator Random(U32(Index) + 1);
    int NumOpened = 0;
    for (int Round = 0; Round < 60; Round++) {
        QByteArray Data = Good;
        for (int n = Random.bounded(1, 12); n > 0; n--) {
            const SPAN Span = aSpan[Random.bounded(int(aSpan.size()))];
            const U32 At = Span.Offset + Random.bounded(Span.Size);
            static constexpr char INTERESTING[] = {0, 1, 0x7F, char(0x80), char(0xFF)};
            Data[At] = Random.bounded(2) ? INTERESTING[Random.bounded(5)] : char(Random.bounded(256));
        }
        if (Round % 10 == 9) { // and the headers now and then
            for (int n = 0; n < 3; n++) Data[Good.size() - 1 - Random.bounded(400)] = char(Random.bounded(256));
        }
        hFile = Open(WriteTemp(Data));
        if (!hFile) continue;
        NumOpened++;
        TouchFile(hFile);
        ELF_Close(hFile);
    }
    QVERIFY(NumOpened > 30);
}

QTEST_GUILESS_MAIN(tst_elf)
#include "tst_elf.moc"
