// Expressions without a program: numbers, operators, precedence, casts as text, failures. What needs symbols and a
// target is shown by the batch transcripts.
#include "program/eval/evalhooks.h"
#include "program/eval/expression.h"
#include "program/eval/exprtokens.h"

#include <QTest>
#include <algorithm>
#include <cmath>

class tst_Eval : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void Values_data();
    void Values();
    void Errors_data();
    void Errors();
    void Postfix_data();
    void Postfix();
    void Pieces_data();
    void Pieces();
};

void tst_Eval::initTestCase()
{
    EVAL_HOOKS Hooks;
    Hooks.FindConstant = [](const QString& sName, I64* pValue) {
        *pValue = 1;
        return sName.compare("RM_BREAK_AT_SYMBOL", Qt::CaseInsensitive) == 0;
    };
    EVAL_SetHooks(Hooks);
}

void tst_Eval::Values_data()
{
    QTest::addColumn<QString>("Expr");
    QTest::addColumn<QString>("Value");
    QTest::addColumn<QString>("Type");
    const char* const ULL = "long long unsigned int";
    const char* const LL = "long long int";
    const struct { const char* Expr; const char* Value; const char* Type; } Rows[] = {
        {"1 + 2", "3", ULL}, {"1 - 2", "18446744073709551615", ULL}, {"-1", "-1", LL}, {"- 1 + 3", "2", LL},
        {"5 / 0", "0", ULL}, {"5 % 0", "0", ULL}, {"5.0 / 0", "0", "double"}, {"7.5 / 2", "3.75", "double"},
        {"7.5 + 1", "8.5", "double"}, {"2 + 3 * 4", "14", ULL}, {"(2 + 3) * 4", "20", ULL}, {"20 - 5 - 3", "12", ULL},
        {"100 / 5 / 2", "10", ULL}, {"1 << 4 + 1", "32", ULL}, {"0x80000000 | 0", "18446744071562067968", ULL},
        {"0xFF & 0x0F", "15", ULL}, {"6 ^ 3", "5", ULL}, {"~0", "18446744073709551615", ULL}, {"!0", "1", LL},
        {"!5", "0", LL}, {"3 < 4", "1", LL}, {"3 >= 4", "0", LL}, {"1 == 1 && 2 == 3", "0", LL},
        {"0 || 7", "1", LL}, {"1 != 2", "1", LL}, {"10UL", "10", ULL}, {"0x10", "16", ULL}, {"010", "8", ULL},
        {"sizeof(1)", "8", "unsigned int"}, {"rm_break_at_symbol + 1", "2", ULL},
        {"-9223372036854775807 - 1", "-9223372036854775808", LL}, {"(-9223372036854775807 - 1) / -1", "-9223372036854775808", LL},
    };
    for (const auto& Row : Rows) QTest::newRow(Row.Expr) << Row.Expr << Row.Value << Row.Type;
}

void tst_Eval::Values()
{
    QFETCH(QString, Expr);
    QFETCH(QString, Value);
    QFETCH(QString, Type);
    const EVAL_TEXT Text = EVAL_GetText(Expr);
    QCOMPARE(Text.sError, QString());
    QCOMPARE(Text.sValue, Value);
    QCOMPARE(Text.sType, Type);
    QCOMPARE(Text.sLocation, QStringLiteral("const"));
}

void tst_Eval::Errors_data()
{
    QTest::addColumn<QString>("Expr");
    QTest::addColumn<int>("Code");
    QTest::addColumn<QString>("Error");
    QTest::newRow("empty") << "" << int(EXPR_UNKNOWN_ERROR) << "";
    QTest::newRow("open bracket") << "(1" << int(EXPR_SYNTAX_ERROR) << "error converting expression to postfix notation";
    QTest::newRow("close bracket") << "1)" << int(EXPR_SYNTAX_ERROR) << "error converting expression to postfix notation";
    QTest::newRow("two operands") << "1 2" << int(EXPR_SYNTAX_ERROR) << "syntax error";
    QTest::newRow("no operand") << "1 +" << int(EXPR_SYNTAX_ERROR) << "syntax error";
    QTest::newRow("bad character") << "a ? b" << int(EXPR_SYNTAX_ERROR) << "syntax error";
    QTest::newRow("bad number") << "12ab" << int(EXPR_SYNTAX_ERROR) << "syntax error";
    QTest::newRow("plain cast") << "(int)5" << int(EXPR_SYNTAX_ERROR) << "syntax error";
    QTest::newRow("shift") << "1 << 32" << int(EXPR_EVALUATION_ERROR)
                           << "Error evaluating operator << : right operand has invalid value 32 (0x0000000000000020)";
    QTest::newRow("unknown name") << "nothing" << int(EXPR_UNKNOWN_ERROR) << "";
    QTest::newRow("unknown operand") << "nothing + 1" << int(EXPR_EVALUATION_ERROR)
                                     << "Error evaluating operator + : left operand has invalid type ";
    QTest::newRow("increment") << "1++" << int(EXPR_UNKNOWN_ERROR) << "";
}

void tst_Eval::Errors()
{
    QFETCH(QString, Expr);
    QFETCH(int, Code);
    QFETCH(QString, Error);
    CExpression Expression(Expr);
    QCOMPARE(Expression.Evaluate(), Code);
    QCOMPARE(Expression.GetError(), Error);
    // A second evaluation of the same object gives the same answer.
    QCOMPARE(Expression.Evaluate(), Code);
}

void tst_Eval::Postfix_data()
{
    QTest::addColumn<QString>("Expr");
    QTest::addColumn<QString>("Out");
    QTest::newRow("members") << "a.b->c[1].d" << "a b . c -> 1 [] d .";
    QTest::newRow("deref of an index") << "*p[1]" << "p 1 [] `";
    QTest::newRow("address") << "&a.b" << "a b . @";
    QTest::newRow("unary after binary") << "a * -b" << "a b ' *";
    QTest::newRow("cast") << "(char *)p" << "char * p $";
    QTest::newRow("file scope") << "main.c::counter + 1" << "main.c counter :: 1 +";
    QTest::newRow("nested index") << "a[b[1]+2]" << "a b 1 [] 2 + []";
}

void tst_Eval::Postfix()
{
    QFETCH(QString, Expr);
    QFETCH(QString, Out);
    QStringList Tokens;
    QString sError;
    QCOMPARE(EXPR_Compile(Expr, &Tokens, &sError), 0);
    QCOMPARE(Tokens.join(' '), Out);
}

/// Registers, and memory from 0x1000 on, that pieces lie in.
static U64 s_aReg[4];
static U8 s_abMem[8];

static U8* PlaceOf(const ELF_SYM_LOC& Loc)
{
    const ELF_SYM_LOC_PART& Part = Loc.aPart[0];
    return Part.Type == ELF_LOC_REG ? reinterpret_cast<U8*>(&s_aReg[Part.Reg]) : s_abMem + (Part.Addr - 0x1000);
}

static ELF_SYM_PIECE Piece(U32 Type, U64 Place, U32 NumBits, U32 BitOffset)
{
    ELF_SYM_PIECE Piece{};
    Piece.Part.Type = Type;
    if (Type == ELF_LOC_REG) Piece.Part.Reg = U32(Place);
    else if (Type == ELF_LOC_CONST) Piece.Part.Value = Place;
    else Piece.Part.Addr = U32(Place);
    Piece.NumBits = NumBits;
    Piece.BitOffset = BitOffset;
    Piece.IsNumber = Type != ELF_LOC_MEM_FIXED;
    return Piece;
}

void tst_Eval::Pieces_data()
{
    QTest::addColumn<ELF_SYM_PIECES>("List");
    QTest::addColumn<U32>("Value");
    QTest::addColumn<QString>("Location");
    QTest::addColumn<bool>("IsWritable");
    // Registers hold 0x11223344 + 0x01010101 * n, memory the bytes A0, A1, ...
    const auto Reg = [](U64 n, U32 Bits, U32 Offset) { return Piece(ELF_LOC_REG, n, Bits, Offset); };
    const auto Mem = [](U64 n, U32 Bits, U32 Offset) { return Piece(ELF_LOC_MEM_FIXED, 0x1000 + n, Bits, Offset); };
    QTest::newRow("registers") << ELF_SYM_PIECES{Reg(0, 8, 0), Reg(1, 16, 0), Reg(2, 8, 0)} << 0x46344544u << "R0, R1, R2" << true;
    QTest::newRow("one register twice") << ELF_SYM_PIECES{Reg(0, 16, 16), Reg(0, 16, 0)} << 0x33441122u << "R0, R0" << true;
    QTest::newRow("memory") << ELF_SYM_PIECES{Mem(3, 8, 0), Mem(1, 16, 0), Mem(0, 8, 0)} << 0xA0A2A1A3u << "00001003, 00001001, 00001000" << true;
    QTest::newRow("bits of memory") << ELF_SYM_PIECES{Mem(0, 12, 4), Mem(4, 20, 3)} << 0x4D4B4A1Au << "00001000, 00001004" << true;
    QTest::newRow("constant") << ELF_SYM_PIECES{Reg(0, 4, 4), Piece(ELF_LOC_CONST, 0xABC, 12, 0), Mem(0, 16, 0)} << 0xA1A0ABC4u << "R0, const, 00001000" << false;
}

void tst_Eval::Pieces()
{
    QFETCH(ELF_SYM_PIECES, List);
    QFETCH(U32, Value);
    QFETCH(QString, Location);
    QFETCH(bool, IsWritable);
    for (U32 i = 0; i < 4; i++) s_aReg[i] = 0x11223344 + 0x01010101 * i;
    for (U32 i = 0; i < 8; i++) s_abMem[i] = U8(0xA0 + i);
    EVAL_HOOKS Hooks = EVAL_GetHooks();
    const EVAL_HOOKS Kept = Hooks;
    Hooks.IsConnected = [] { return true; };
    Hooks.ReadLoc = [](const ELF_SYM_LOC& Loc, U32 nBytes, U8* pData) { return std::copy_n(PlaceOf(Loc), nBytes, pData), 0; };
    Hooks.WriteLoc = [](const ELF_SYM_LOC& Loc, U32 nBytes, const U8* pData) { return std::copy_n(pData, nBytes, PlaceOf(Loc)), 0; };
    EVAL_SetHooks(Hooks);
    CSymbol Symbol = CSymbol::FromMemory("s", 0, EVAL_MakeType(CTYPE_UINT), 0, 4);
    Symbol.Loc.aPart[0] = List[0].Part;
    Symbol.Pieces = List;
    I64 Number = 0;
    CSymbol Before = Symbol;
    QCOMPARE(Before.Read(), 0);
    QVERIFY(Before.GetInteger(&Number));
    QCOMPARE(QString::number(Number, 16), QString::number(Value, 16));
    if (!Location.isEmpty()) QCOMPARE(Before.GetLocationStr(), Location);

    // A write changes the bits of the pieces and no others.
    U64 aReg[4];
    U8 abMem[8];
    std::copy_n(s_aReg, 4, aReg);
    std::copy_n(s_abMem, 8, abMem);
    const U32 New = ~Value;
    QCOMPARE(Symbol.Write(QByteArray(reinterpret_cast<const char*>(&New), 4)), IsWritable ? 0 : -1);
    CSymbol After = Symbol;
    After.Read();
    QVERIFY(After.GetInteger(&Number));
    QCOMPARE(U32(Number), IsWritable ? New : Value);
    int NumChanged = 0;
    for (int i = 0; i < 4; i++) NumChanged += qPopulationCount(aReg[i] ^ s_aReg[i]);
    for (int i = 0; i < 8; i++) NumChanged += qPopulationCount(U8(abMem[i] ^ s_abMem[i]));
    QCOMPARE(NumChanged, IsWritable ? 32 : 0);
    EVAL_SetHooks(Kept);
}

QTEST_GUILESS_MAIN(tst_Eval)
#include "tst_eval.moc"
