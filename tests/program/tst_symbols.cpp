// The symbol model against gdb: types, sizes, members and where variables lie.
#include "program/symbols/ctype.h"
#include "program/symbols/elfsym.h"
#include "program/symbols/typenames.h"
#include "testbuild.h"

#include <QHash>
#include <QtTest>
#include <optional>

namespace {

/// One row for each build, or only for those of one language.
void AddBuildRows(std::optional<bool> IsCpp = {})
{
    QTest::addColumn<int>("Index");
    const QList<BUILD> aBuild = CTestBuild::All();
    for (int i = 0; i < aBuild.size(); i++)
        if (!IsCpp || aBuild[i].IsCpp == *IsCpp) QTest::newRow(aBuild[i].Name().constData()) << i;
}

ELF_SYM_HANDLE FindIn(ELF_HANDLE hFile, ELF_LIST List, const char* sName)
{
    for (U32 i = 0; i < ELF_GetListCount(hFile, List); i++) {
        const ELF_SYM_HANDLE h = ELF_GetListItem(hFile, List, i);
        if (qstrcmp(ELF_GetSymName(h), sName) == 0 && (List != ELF_LIST_FUNCTIONS || ELF_GetSymRangeCount(h))) return h;
    }
    return 0;
}

QString RegName(const QString& sGdb)
{
    static const QHash<QString, QString> Names{{"sp", "13"}, {"lr", "14"}, {"pc", "15"}};
    return Names.value(sGdb, sGdb.startsWith('r') ? sGdb.mid(1) : sGdb);
}

/// A location in the words of this test, for comparison with gdb's.
QString Describe(const ELF_SYM_LOC& Loc)
{
    QStringList asPart;
    for (U32 i = 0; i < Loc.NumParts; i++) {
        const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
        QString s;
        switch (Part.Type) {
        case ELF_LOC_CONST: s = QString("const %1").arg(qint64(Part.Value)); break;
        case ELF_LOC_MEM_FIXED: s = QString("static %1").arg(Part.Addr, 0, 16); break;
        case ELF_LOC_REG: s = QString("reg %1").arg(Part.Reg); break;
        case ELF_LOC_MEM_FB_OFFSET: s = QString("fb %1").arg(Part.Offset); break;
        case ELF_LOC_MEM_REG_OFFSET: s = QString("breg %1 %2").arg(Part.Reg).arg(Part.Offset); break;
        default: s = QString("type %1").arg(Part.Type); break;
        }
        if (Part.Size) s += QString(" piece %1").arg(Part.Size);
        asPart.append(s);
    }
    return asPart.join(", ");
}

/// gdb's words for one location in the words of this test, empty for what has no simple form.
QString DescribeGdb(QString s)
{
    static const QRegularExpression Reg("a variable in \\$(\\w+)(?: \\[(\\d+)-byte piece\\])?"), Const("(?:the constant|a constant with value) (-?\\d+)"),
        Static("static storage at address 0x([0-9a-f]+)"), Fbreg("0: DW_OP_fbreg (-?\\d+)\\s*$"), Breg("0: DW_OP_breg(\\d+) (-?\\d+) \\[\\$\\w+\\]\\s*$"),
        ConstValue("0: DW_OP_(?:consts|constu) (-?\\d+)\\s+\\d+: DW_OP_stack_value\\s*$"), Lit("0: DW_OP_lit(\\d+)\\s+\\d+: DW_OP_stack_value\\s*$");
    static const QRegularExpression FrameBase("a variable at frame base reg \\$\\w+ offset -?\\d+\\+(-?\\d+)");
    s = s.trimmed();
    if (auto m = FrameBase.match(s); m.hasMatch()) return "fb " + m.captured(1);
    if (s.contains("complex")) {
        if (auto m = Fbreg.match(s); m.hasMatch()) return "fb " + m.captured(1);
        if (auto m = Breg.match(s); m.hasMatch()) return QString("breg %1 %2").arg(m.captured(1), m.captured(2));
        if (auto m = ConstValue.match(s); m.hasMatch()) return "const " + m.captured(1);
        if (auto m = Lit.match(s); m.hasMatch()) return "const " + m.captured(1);
        return {};
    }
    QStringList asPart;
    for (auto it = Reg.globalMatch(s); it.hasNext();) {
        const auto m = it.next();
        asPart.append("reg " + RegName(m.captured(1)) + (m.captured(2).isEmpty() ? QString() : " piece " + m.captured(2)));
    }
    if (!asPart.isEmpty()) return asPart.join(", ");
    if (auto m = Const.match(s); m.hasMatch()) return "const " + m.captured(1);
    if (auto m = Static.match(s); m.hasMatch()) return "static " + m.captured(1);
    return {};
}

} // namespace

class tst_symbols : public QObject {
    Q_OBJECT
private slots:
    void cleanup()
    {
        for (U32 Slot = 0; Slot < 3; Slot++) ELF_Close(ELF_GetFileInSlot(Slot));
    }
    void locals_data() { AddBuildRows(); }
    void locals();
    void globals_data() { AddBuildRows(); }
    void globals();
    void members_data() { AddBuildRows(false); } // plain structures are in the C program
    void members();
    void classes_data() { AddBuildRows(true); }
    void classes();
    void typeTexts_data();
    void typeTexts();
    void typeNames_data();
    void typeNames();
    void locationTexts_data();
    void locationTexts();
    void predicates();
    void cTypes_data();
    void cTypes();
    void twoPieces();
};

void tst_symbols::locals()
{
    QFETCH(int, Index);
    const QString sPath = CTestBuild::Get(CTestBuild::All()[Index]);
    const ELF_HANDLE hFile = ELF_Open(sPath.toUtf8().constData(), true);
    QVERIFY(hFile);
    QList<ELF_SYM_HANDLE> ahFunc;
    QStringList asCommand;
    for (U32 i = 0; i < ELF_GetFunctionCount(hFile); i++) {
        const ELF_SYM_HANDLE h = ELF_GetFunction(hFile, i);
        if (!ELF_GetSymRangeCount(h)) continue;
        ahFunc.append(h);
        asCommand.append(QString("info scope *0x%1").arg(ELF_GetSymRangeLow(h, 0), 0, 16));
    }
    const QList<QByteArray> aAnswer = CTestBuild::Gdb(sPath, asCommand);
    QCOMPARE(aAnswer.size(), ahFunc.size());
    // gdb names each symbol once: "Symbol x is ..., length 4."; a list has a line a range.
    static const QRegularExpression Symbol("Symbol (\\S+) is (.*?), length (\\d+)\\.", QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression Range("Range 0x([0-9a-f]+)-0x([0-9a-f]+): ([^\\n]*(?:\\n +\\d+: DW_OP[^\\n]*)*)");
    int NumCompared = 0;
    for (qsizetype f = 0; f < ahFunc.size(); f++) {
        QHash<QString, ELF_SYM_HANDLE> Locals;
        for (U32 i = 0; i < ELF_GetSymLocalCount(ahFunc[f]); i++) {
            const ELF_SYM_HANDLE h = ELF_GetSymLocal(ahFunc[f], i);
            if (!Locals.contains(ELF_GetSymName(h))) Locals.insert(ELF_GetSymName(h), h);
        }
        const QString sAnswer = QString::fromUtf8(aAnswer[f]);
        for (auto it = Symbol.globalMatch(sAnswer); it.hasNext();) {
            const auto Match = it.next();
            const QString sName = Match.captured(1), sWhere = Match.captured(2);
            if (sWhere.contains("Symbol ")) continue; // one without a length swallowed the next
            if (!Locals.contains(sName)) continue;    // gdb goes out to the file's own names too
            const ELF_SYM_HANDLE h = Locals[sName];
            QCOMPARE(ELF_GetSymSize(h), Match.captured(3).toUInt());
            const QByteArray Context = QByteArray(ELF_GetSymName(ahFunc[f])) + " " + sName.toUtf8();
            if (!sWhere.contains("multi-location")) {
                const QString sTheirs = DescribeGdb(sWhere);
                if (sTheirs.isEmpty()) continue;
                const QString sOurs = Describe(ELF_GetSymLoc(h, ELF_GetSymRangeLow(ahFunc[f], 0)));
                QVERIFY2(sOurs == sTheirs, (Context + ": " + sOurs.toUtf8() + " / " + sTheirs.toUtf8()).constData());
                NumCompared++;
                continue;
            }
            for (auto itRange = Range.globalMatch(sWhere); itRange.hasNext();) {
                const auto R = itRange.next();
                const U32 Low = R.captured(1).toUInt(nullptr, 16), High = R.captured(2).toUInt(nullptr, 16);
                const QString sTheirs = DescribeGdb(R.captured(3));
                if (sTheirs.isEmpty() || High < Low + 2) continue;
                // Not at the first address: an empty range that begins there would come first.
                const QString sOurs = Describe(ELF_GetSymLoc(h, Low + 1));
                QVERIFY2(sOurs == sTheirs, (Context + ": " + sOurs.toUtf8() + " / " + sTheirs.toUtf8()).constData());
                QVERIFY(Describe(ELF_GetSymLoc(h, High - 1)) == sTheirs);
                NumCompared++;
            }
        }
    }
    QVERIFY2(NumCompared >= 3, qPrintable(QString::number(NumCompared)));
}

void tst_symbols::globals()
{
    QFETCH(int, Index);
    const QString sPath = CTestBuild::Get(CTestBuild::All()[Index]);
    const ELF_HANDLE hFile = ELF_Open(sPath.toUtf8().constData(), true);
    QVERIFY(hFile);
    QStringList asCommand;
    QList<ELF_SYM_HANDLE> ahVar;
    for (U32 i = 0; i < ELF_GetGlobalVarCount(hFile); i++) {
        const ELF_SYM_HANDLE h = ELF_GetGlobalVar(hFile, i);
        if (ELF_SymIsStatic(h) || QByteArray(ELF_GetSymName(h)) == "s_val") continue; // not visible by a plain name
        ahVar.append(h);
        asCommand << QString("print/x (unsigned long)&%1").arg(ELF_GetSymName(h)) << QString("print sizeof(%1)").arg(ELF_GetSymName(h));
    }
    const QList<QByteArray> aAnswer = CTestBuild::Gdb(sPath, asCommand);
    QCOMPARE(aAnswer.size(), asCommand.size());
    for (qsizetype i = 0; i < ahVar.size(); i++) {
        const ELF_SYM_LOC Loc = ELF_GetSymLoc(ahVar[i], 0);
        QCOMPARE("= 0x" + QByteArray::number(Loc.aPart[0].Addr, 16), aAnswer[2 * i].mid(aAnswer[2 * i].indexOf("= ")).trimmed());
        QCOMPARE("= " + QByteArray::number(ELF_GetSymSize(ahVar[i])), aAnswer[2 * i + 1].mid(aAnswer[2 * i + 1].indexOf("= ")).trimmed());
    }
    QVERIFY(!ahVar.isEmpty());
}

void tst_symbols::members()
{
    QFETCH(int, Index);
    const BUILD Build = CTestBuild::All()[Index];
    const QString sPath = CTestBuild::Get(Build);
    const ELF_HANDLE hFile = ELF_Open(sPath.toUtf8().constData(), true);
    // "/*      8: 3   |       2 */        short b : 5;"
    static const QRegularExpression Line("/\\*\\s*(\\d+)(?:: (\\d+))?\\s*\\|\\s*(\\d+) \\*/\\s+.*?(\\w+)(?:\\[\\d+\\])*(?: : (\\d+))?;");
    int NumCompared = 0;
    for (const char* sName : {"g_t", "g_u", "g_first"}) {
        const ELF_SYM_HANDLE hVar = FindIn(hFile, ELF_LIST_GLOBAL_VARS, sName);
        QVERIFY(hVar);
        // Members of inner structures stand in gdb's answer with offsets of the whole.
        QHash<QString, QPair<U32, ELF_SYM_HANDLE>> Members;
        auto Collect = [&](auto&& Self, ELF_SYM_HANDLE hType, U32 Base) -> void {
            for (U32 i = 0; i < ELF_GetSymMemberCount(hType); i++) {
                const ELF_SYM_HANDLE h = ELF_GetSymMember(hType, i);
                const ELF_SYM_LOC Loc = ELF_GetSymLoc(h, 0);
                QCOMPARE(Loc.NumParts, 1u);
                QCOMPARE(Loc.aPart[0].Type, U32(ELF_LOC_PARENT_LOC));
                Members.insert(ELF_GetSymName(h), {Base + U32(Loc.aPart[0].Offset), h});
                Self(Self, ELF_GetSymType(h), Base + U32(Loc.aPart[0].Offset));
            }
        };
        const ELF_SYM_HANDLE hType = ELF_GetSymType(hVar);
        Collect(Collect, hType, 0);
        const QString sAnswer = CTestBuild::Gdb(sPath, {QString("ptype /o %1").arg(ELF_GetSymTag(hType) == ELF_TAG_UNION ? "union U" : QString(sName) == "g_t" ? "T" : "struct node")}).value(0);
        for (auto it = Line.globalMatch(sAnswer); it.hasNext();) {
            const auto m = it.next();
            QVERIFY2(Members.contains(m.captured(4)), qPrintable(m.captured(0)));
            const auto [Offset, h] = Members[m.captured(4)];
            const U32 BitSize = m.captured(5).toUInt();
            QCOMPARE(ELF_GetSymBitSize(h), BitSize);
            // A storage unit may be named at different offsets: the bit's place in the structure counts.
            QCOMPARE(Offset * 8 + (BitSize ? ELF_GetSymBitOffset(h) : 0), m.captured(1).toUInt() * 8 + m.captured(2).toUInt());
            QCOMPARE(ELF_GetSymSize(h), m.captured(3).toUInt());
            NumCompared++;
        }
    }
    QVERIFY(NumCompared >= 8);
}

void tst_symbols::classes()
{
    QFETCH(int, Index);
    const BUILD Build = CTestBuild::All()[Index];
    const ELF_HANDLE hFile = ELF_Open(CTestBuild::Get(Build).toUtf8().constData(), true);
    QCOMPARE(ELF_GetSrcLang(hFile), ELF_SRC_LANG_CPP);
    const ELF_SYM_HANDLE hDerived = FindIn(hFile, ELF_LIST_TYPES, "Derived"), hBase = FindIn(hFile, ELF_LIST_TYPES, "Base");
    QVERIFY(hDerived && hBase);
    QCOMPARE(ELF_GetSymTag(hDerived), U32(ELF_TAG_CLASS));
    QCOMPARE(ELF_GetSymBaseCount(hDerived), 1u);
    QCOMPARE(ELF_GetSymType(ELF_GetSymBase(hDerived, 0)), hBase);
    QCOMPARE(ELF_GetSymLoc(ELF_GetSymBase(hDerived, 0), 0).aPart[0].Type, U32(ELF_LOC_PARENT_LOC));
    QHash<QByteArray, ELF_SYM_HANDLE> Members;
    for (U32 i = 0; i < ELF_GetSymMemberCount(hDerived); i++) Members.insert(ELF_GetSymName(ELF_GetSymMember(hDerived, i)), ELF_GetSymMember(hDerived, i));
    QVERIFY(Members.contains("m_v") && Members.contains("m_flag") && Members.contains("f"));
    QCOMPARE(ELF_GetSymAccess(Members["m_v"]), 3u);
    // Version 2 of gcc leaves the word out for public members of a class.
    if (Build.Dwarf > 2) QCOMPARE(ELF_GetSymAccess(Members["f"]), 1u);
    QCOMPARE(ELF_GetSymVirtuality(Members["f"]), 1u);
    QCOMPARE(ELF_GetSymBitSize(Members["m_flag"]), 1u);
    // The method's definition stands outside of the class and takes name and type from the declaration.
    const ELF_SYM_HANDLE hMethod = FindIn(hFile, ELF_LIST_FUNCTIONS, "f");
    QVERIFY(hMethod);
    QCOMPARE(QByteArray(ELF_GetSymTypeText(hMethod)), QByteArray("virtual int(int)"));
    QVERIFY(ELF_GetSymRangeHigh(hMethod, 0) > ELF_GetSymRangeLow(hMethod, 0));
    QVERIFY(QByteArray(ELF_GetSymLinkageName(hMethod)).startsWith("_ZN2ns2in7Derived1fEi"));
    bool HasThis = false;
    for (U32 i = 0; i < ELF_GetSymLocalCount(hMethod); i++) HasThis |= QByteArray(ELF_GetSymName(ELF_GetSymLocal(hMethod, i))) == "this";
    QVERIFY(HasThis);
    const ELF_SYM_HANDLE hThis = ELF_GetSymThis(hMethod);
    if (hThis) QCOMPARE(ELF_GetSymName(hThis), "this");
}

void tst_symbols::typeTexts_data()
{
    QTest::addColumn<QString>("Name");
    QTest::addColumn<QString>("Text");
    QTest::newRow("two dimensions") << "g_arr" << "int[3][4]";
    QTest::newRow("pointer to constant") << "g_name" << "const char*";
    QTest::newRow("typedef of a nameless structure") << "g_t" << "struct T";
    QTest::newRow("unsigned long long") << "g_ull" << "long ulong";
    QTest::newRow("enumeration") << "g_col" << "enum color";
    QTest::newRow("pointer to function") << "g_fp" << "int(char)*";
    QTest::newRow("pointer to void") << "g_vp" << "void*";
    QTest::newRow("union") << "g_u" << "union U";
    QTest::newRow("static local") << "calls" << "static int";
    QTest::newRow("volatile") << "s_counter" << "volatile int";
    QTest::newRow("long long") << "g_total" << "long long";
}

void tst_symbols::typeTexts()
{
    QFETCH(QString, Name);
    QFETCH(QString, Text);
    for (const BUILD& Build : CTestBuild::All()) {
        if (Build.IsCpp) continue;
        const ELF_HANDLE hFile = ELF_Open(CTestBuild::Get(Build).toUtf8().constData(), true);
        const ELF_SYM_HANDLE h = FindIn(hFile, ELF_LIST_GLOBAL_VARS, Name.toUtf8().constData());
        QVERIFY2(h, Build.Name().constData());
        QCOMPARE(QString(ELF_GetSymTypeText(h)), Text);
        ELF_ARRAY_INFO Info;
        QCOMPARE(ELF_GetArrayInfo(h, &Info), Name == "g_arr" ? 0 : -1);
        if (Name == "g_arr") {
            QCOMPARE(Info.NumElems, 12u);
            QCOMPARE(Info.ElemSize, 4u);
            QCOMPARE(Info.TotalSize, 48u);
            QCOMPARE(Info.NumDims, 2u);
        }
        ELF_Close(hFile);
    }
}

void tst_symbols::typeNames_data()
{
    QTest::addColumn<QString>("Name");
    QTest::addColumn<QString>("Short");
    const char* aRow[][2] = {{"unsigned char", "uchar"}, {"signed char", "char"}, {"char", "char"}, {"short unsigned int", "ushort"},
                             {"unsigned short", "ushort"}, {"short int", "short"}, {"short", "short"}, {"unsigned int", "uint"},
                             {"int", "int"}, {"long unsigned int", "ulong"}, {"unsigned long", "ulong"}, {"long int", "long"},
                             {"long long unsigned int", "long ulong"}, {"unsigned long long", "long ulong"},
                             {"long long int", "long long"}, {"long long", "long long"}, {"_Bool", "_Bool"}, {"double", "double"}};
    for (const auto& Row : aRow) QTest::newRow(Row[0]) << Row[0] << Row[1];
}

void tst_symbols::typeNames()
{
    QFETCH(QString, Name);
    QFETCH(QString, Short);
    QCOMPARE(QString::fromStdString(NormalizedTypeName(Name.toStdString())), Short);
}

void tst_symbols::locationTexts_data()
{
    QTest::addColumn<U32>("Type");
    QTest::addColumn<U32>("Reg");
    QTest::addColumn<int>("Offset");
    QTest::addColumn<QString>("Text");
    QTest::newRow("frame base memory") << U32(ELF_LOC_MEM_FB_OFFSET) << 0u << -8 << "[BP - 8]";
    QTest::newRow("frame base memory, 0") << U32(ELF_LOC_MEM_FB_OFFSET) << 0u << 0 << "[BP]";
    QTest::newRow("register") << U32(ELF_LOC_REG) << 7u << 0 << "R7";
    QTest::newRow("undefined") << U32(ELF_LOC_REG) << 1034u << 0 << "<undefined>";
    QTest::newRow("same value") << U32(ELF_LOC_REG) << 1035u << 0 << "same as caller";
    QTest::newRow("register offset") << U32(ELF_LOC_REG_OFFSET) << 7u << 4 << "R7 + 4";
    QTest::newRow("register offset 0") << U32(ELF_LOC_REG_OFFSET) << 7u << 0 << "R7";
    QTest::newRow("memory at register") << U32(ELF_LOC_MEM_REG_OFFSET) << 3u << 12 << "[R3] + 12";
    QTest::newRow("memory at register, 0") << U32(ELF_LOC_MEM_REG_OFFSET) << 3u << 0 << "[R3]";
    QTest::newRow("CFA") << U32(ELF_LOC_CFA_OFFSET) << 0u << -4 << "CFA - 4";
    QTest::newRow("memory at CFA") << U32(ELF_LOC_MEM_CFA_OFFSET) << 0u << -4 << "[CFA - 4]";
    QTest::newRow("parent") << U32(ELF_LOC_PARENT_LOC) << 0u << 4 << "Parent loc + 4";
    QTest::newRow("entry") << U32(ELF_LOC_ENTRY_VALUE) << 0u << 0 << "? (on entry)";
    QTest::newRow("computed") << U32(ELF_LOC_COMPUTED) << 0u << 0 << "N/A";
    QTest::newRow("lowest offset") << U32(ELF_LOC_SP_OFFSET) << 0u << INT_MIN << "SP - 2147483648";
    QTest::newRow("unknown type") << 99u << 0u << 0 << "N/A";
}

void tst_symbols::locationTexts()
{
    QFETCH(U32, Type);
    QFETCH(U32, Reg);
    QFETCH(int, Offset);
    QFETCH(QString, Text);
    ELF_SYM_LOC Loc{};
    Loc.NumParts = 1;
    Loc.aPart[0].Type = Type;
    Loc.aPart[0].Reg = Reg;
    Loc.aPart[0].Offset = Offset;
    QCOMPARE(QString(ELF_GetLocText(Loc, 0)), Text);
    QCOMPARE(QString(ELF_GetLocText(Loc, 1)), QString("N/A"));
}

void tst_symbols::predicates()
{
    ELF_SYM_LOC Loc{};
    QVERIFY(!ELF_LocIsValid(Loc) && !ELF_LocIsMemory(Loc) && !ELF_LocIsRegister(Loc) && !ELF_LocIsSingle(Loc));
    Loc.NumParts = 2;
    Loc.aPart[0].Type = ELF_LOC_REG;
    Loc.aPart[1].Type = ELF_LOC_MEM_FIXED;
    QVERIFY(ELF_LocIsMixed(Loc) && !ELF_LocIsRegister(Loc) && !ELF_LocIsMemory(Loc) && ELF_LocIsValid(Loc));
    Loc.aPart[1].Type = ELF_LOC_REG_OFFSET;
    QVERIFY(!ELF_LocIsMixed(Loc) && ELF_LocIsRegister(Loc) && ELF_LocIsValid(Loc));
    Loc.aPart[1].Reg = ELF_REG_UNDEFINED;
    QVERIFY(!ELF_LocIsValid(Loc));
    Loc.NumParts = 1;
    Loc.aPart[0].Type = ELF_LOC_MEM_FB_OFFSET;
    QVERIFY(ELF_LocIsMemory(Loc) && ELF_LocIsSingle(Loc) && !ELF_LocIsValid(Loc));
}

void tst_symbols::cTypes_data()
{
    QTest::addColumn<QString>("Text");
    QTest::addColumn<U32>("Size");
    QTest::addColumn<int>("Id");
    QTest::addColumn<QString>("Traits"); ///< p pointer, a array, i integral, s signed integral
    auto Row = [](const char* sText, U32 Size, int Id, const char* sTraits) { QTest::newRow(*sText ? sText : "empty") << QString(sText) << Size << Id << QString(sTraits); };
    Row("", 0, -1, "");
    Row("int", 4, 2, "is");
    Row("long long", 8, 4, "is");
    Row("unsigned long long int", 8, 5, "i");
    Row("ulong", 4, 132, "i");
    Row("unsigned char", 1, 134, "i");
    Row("const volatile short int", 2, 130, "is");
    Row("char*", 4, 131, "pi");
    Row("char const *", 4, 131, "pi");
    Row("int[3][2]", 24, 2, "a");
    Row("struct T*[5]", 20, -1, "a");
    Row("int[]", 4, 2, "a");
    Row("int[0]", 4, 2, "a");
    Row("enum color", 4, 257, "is");
    Row("double", 8, 6, "s");
    Row("bool", 1, 1, "is");
    Row("_Bool", 1, 1, "is");
    Row("struct point", 0, -1, "");
    Row("void*", 4, -1, "pi");
}

void tst_symbols::cTypes()
{
    QFETCH(QString, Text);
    QFETCH(U32, Size);
    QFETCH(int, Id);
    QFETCH(QString, Traits);
    const CCType Type(Text);
    QCOMPARE(Type.Text, Text);
    QCOMPARE(Type.Size, Size);
    QCOMPARE(Type.TypeId, Id);
    QString sTraits;
    if (Type.IsPointer()) sTraits += 'p';
    if (Type.IsArray()) sTraits += 'a';
    if (Type.IsIntegral()) sTraits += 'i';
    if (Type.IsSignedIntegral()) sTraits += 's';
    QCOMPARE(sTraits, Traits);
}

void tst_symbols::twoPieces()
{
    // A double parameter in two registers has two parts with their sizes.
    const ELF_HANDLE hFile = ELF_Open(CTestBuild::Get({"gcc", false, 5, 2, ""}).toUtf8().constData(), true);
    const ELF_SYM_HANDLE hFunc = FindIn(hFile, ELF_LIST_FUNCTIONS, "other");
    QVERIFY(hFunc);
    const ELF_SYM_LOC Loc = ELF_GetSymLoc(ELF_GetSymLocal(hFunc, 1), ELF_GetSymRangeLow(hFunc, 0));
    QCOMPARE(Describe(Loc), QString("reg 2 piece 4, reg 3 piece 4"));
    QVERIFY(ELF_LocIsRegister(Loc) && !ELF_LocIsSingle(Loc));
    // Behind its last range it has no location.
    QCOMPARE(ELF_GetSymLoc(ELF_GetSymLocal(hFunc, 1), ELF_GetSymRangeHigh(hFunc, 0) + 64).NumParts, 0u);
}

QTEST_GUILESS_MAIN(tst_symbols)
#include "tst_symbols.moc"
