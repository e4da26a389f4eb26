// The script language: what each statement does, and which error each mistake gives. All
// expectations are worked out by hand from the rules of the language.
#include "scriptrig.h"

#include <QTest>

namespace {
const char* const NL = "\n";

/// A function f with the usual variables: a, b, c are 1, 2, 3; i is an int and n an __int64 of -1;
/// arr is 10, 20, 30; ch is a char of 255.
QByteArray Wrap(const QByteArray& Body)
{
    return "int Two(void) { return 2; }\n"
           "int Add(int x, int y) { return x + y; }\n"
           "void f(void) { int a; int b; int c; int i; __int64 n; int arr[3]; char ch; __int64 x; a = 1; b = "
           "2; c = 3; "
           "i = -1; n = -1; arr[0] = 10; arr[1] = 20; arr[2] = 30; ch = 255; x = 0;\n" +
           Body + "\n}\n";
}
} // namespace

class tst_script : public QObject {
    Q_OBJECT
private slots:
    void Expression_data();
    void Expression();
    void Statement_data();
    void Statement();
    void Error_data();
    void Error();
    void ParseError_data();
    void ParseError();
    void WholeScript_data();
    void WholeScript();
    void CallsFromHost();
    void AbortEndsRun();
    void NestedCallKeepsPlace();
    void DepthIsAnError_data();
    void DepthIsAnError();
    void HeapRunsOut();
    void SmallHeaps();
    void Symbols();
};

void tst_script::Expression_data()
{
    QTest::addColumn<QByteArray>("Expr");
    QTest::addColumn<qint64>("Value");
    struct ROW {
        const char* Expr;
        qint64 Value;
    };
    static constexpr ROW ROWS[] = {
        // literals
        {"0", 0},
        {"42", 42},
        {"010", 10},
        {"0x1F", 31},
        {"0xabCD", 0xABCD},
        {"0x", 0},
        {"-5", -5},
        {"- 5", -5},
        {"9223372036854775807", INT64_MAX},
        {"18446744073709551615", -1},
        {"18446744073709551617", 1},
        {"0xFFFFFFFFFFFFFFFF", -1},
        {"0x10000000000000001", 1},
        {"-9223372036854775808", INT64_MIN},
        // precedence: each row would differ under C's rules or under left association
        {"3 * 2 + 1", 7},
        {"1 + 2 * 3", 7},
        {"10 - 4 - 3", 9},
        {"10 - 4 + 3", 3},
        {"10 + 4 - 3", 11},
        {"100 / 10 / 5", 50},
        {"100 / 10 * 5", 2},
        {"100 * 10 / 5", 200},
        {"7 / 2 * 2", 1},
        {"1 << 2 << 1", 16},
        {"256 >> 2 << 1", 16},
        {"1 << 2 >> 1", 2},
        {"1 + 2 << 3", 24},
        {"1 << 2 + 1", 8},
        {"3 > 2 > 1", 1},
        {"5 < 3 < 2", 0},
        {"1 == 1 == 1", 1},
        {"2 == 2 == 1", 0},
        {"4 & 6 == 6", 0},
        {"1 | 2 ^ 3 & 2", 1},
        {"1 | 6 & 4", 5},
        {"0 || 1 && 0", 0},
        {"1 || 0 && 0", 1},
        {"a == 1 && b == 2", 1},
        {"a == 1 && b == 3", 0},
        {"(10 - 4) - 3", 3},
        {"(1 + 2) * (3 + 4)", 21},
        {"((((5))))", 5},
        {"2 * (3 + 4) * 2", 28},
        // relational operators have numbers of their own
        {"1 < 2 == 1", 1},
        {"2 >= 2 != 0", 1},
        {"3 <= 2", 0},
        {"2 >= 3 < 1", 1},
        {"1 != 1 == 0", 1},
        // arithmetic wraps at 64 bits
        {"9223372036854775807 + 1", INT64_MIN},
        {"-9223372036854775808 - 1", INT64_MAX},
        {"4611686018427387904 * 2", INT64_MIN},
        {"-9223372036854775808 / -1", INT64_MIN},
        {"-7 / 2", -3},
        {"7 / -2", -3},
        {"-9223372036854775808 * -1", INT64_MIN},
        {"1 << 63", INT64_MIN},
        {"1 << 64", 1},
        {"1 << 65", 2},
        {"1 << -1", INT64_MIN},
        {"-8 >> 1", -4},
        {"-1 >> 63", -1},
        {"16 >> 68", 1},
        {"12 & 10", 8},
        {"12 | 10", 14},
        {"12 ^ 10", 6},
        {"-1 ^ 0xFF", -256},
        {"2 && 4", 1},
        {"0 || 7", 1},
        {"0 && 7", 0},
        {"0 || 0", 0},
        // prefix operators work on a copy, one at most
        {"!0", 1},
        {"!5", 0},
        {"~0", -1},
        {"~0xF", -16},
        {"+7", 7},
        {"-a", -1},
        {"--5", 4},
        {"++5", 6},
        {"++a + a", 3},
        {"--a + a", 1},
        {"- -5", 5},
        {"!-5", 0},
        {"~-1", 0},
        {"+-5", -5},
        {"-(2 + 3)", -5},
        {"!(a == 2)", 1},
        {"-a + b", 1},
        {"!a + b", 2},
        {"a - -5", 6},
        {"a--5", 6},
        {"a---5", -3},
        {"a+-5", -4},
        {"-9223372036854775807 - 2", INT64_MAX},
        // variables read zero-extended
        {"i", 4294967295},
        {"i == -1", 0},
        {"i == 0xFFFFFFFF", 1},
        {"i < 0", 0},
        {"n", -1},
        {"n == -1", 1},
        {"n < 0", 1},
        {"ch", 255},
        {"ch == -1", 0},
        {"-i", -4294967295},
        {"i + 1", 4294967296},
        {"arr[0] + arr[1] * arr[2]", 610},
        {"arr[a]", 20},
        {"arr[a + 1]", 30},
        {"arr[arr[0] - 9]", 20},
        {"-arr[0]", -10},
        {"arr [ 2 ]", 30},
        // constants are sign-extended from 32 bits
        {"SEVEN", 7},
        {"ALL_ONES", -1},
        {"SEVEN * SEVEN", 49},
        {"-SEVEN", -7},
        // calls
        {"Two()", 2},
        {"Two() * Two() + Two()", 6},
        {"Add(1, 2)", 3},
        {"Add(1 2)", 3},
        {"Add(Add(1, 2), Add(3, 4))", 10},
        {"Add(-1, 0)", 4294967295},
        {"Add(0x1FFFFFFFF, 0)", 4294967295},
        {"Ret(-3)", -3},
        {"Ret(0xFFFFFFFF)", -1},
        {"Ret(0x100000005)", 5},
        {"Nine(1, 2, 3, 4, 5, 6, 7, 8, 9)", 0},
        {"-Two()", -2},
        {"arr[Two()]", 30},
        // white space and comments may stand between any two words
        {"1/*x*/+/* y */2", 3},
        {"1 // one\n + 2", 3},
        {"a\t+\r\n b", 3},
        {"6 /2", 3},
        {"8 / /* by */ 2", 4},
    };
    for (const ROW& Row : ROWS) {
        QTest::newRow(Row.Expr) << QByteArray(Row.Expr) << Row.Value;
    }
}

void tst_script::Expression()
{
    QFETCH(QByteArray, Expr);
    QFETCH(qint64, Value);
    CScriptRig Rig(Wrap("Out(" + Expr + ");"));
    QCOMPARE(Rig.ParseResult, 0);
    const QString sOutput = Rig.Run();
    QCOMPARE(Rig.Errors, QStringList());
    QCOMPARE(sOutput, QString::number(Value));
    QCOMPARE(Rig.CallResult, 0);
}

void tst_script::Statement_data()
{
    QTest::addColumn<QByteArray>("Body");
    QTest::addColumn<QString>("Output");
    struct ROW {
        const char* Body;
        const char* Output;
    };
    static constexpr ROW ROWS[] = {
        // assignment
        {"a = 5; Out(a);", "5"},
        {"a += 4; Out(a);", "5"},
        {"a -= 2; Out(a);", "4294967295"},
        {"n -= 2; Out(n);", "-3"},
        {"a = 6; a *= 7; Out(a);", "42"},
        {"a = 43; a /= 6; Out(a);", "7"},
        {"a = 12; a &= 10; Out(a);", "8"},
        {"a = 12; a |= 3; Out(a);", "15"},
        {"a = 12; a ^= 10; Out(a);", "6"},
        {"a = 3; a <<= 4; Out(a);", "48"},
        {"i >>= 1; Out(i);", "2147483647"},
        {"n >>= 1; Out(n);", "-1"},
        {"ch += 1; Out(ch);", "0"},
        {"ch = 0x1234; Out(ch);", "52"},
        {"arr[1] = 7; Out(arr[0]); Out(arr[1]); Out(arr[2]);", "10 7 30"},
        {"arr[b] = a; Out(arr[2]);", "1"},
        {"arr[0]=1;arr[1]=2;Out(arr[0]+arr[1]);", "3"},
        {"char s[4]; s[0] = 1; s[1] = 2; s[2] = 3; s[3] = 0x104; Out(s[0]); Out(s[3]);", "1 4"},
        {"__int64 w[2]; w[1] = -5; w[0] = 1; Out(w[1]);", "-5"},
        {"unsigned int u; u = 3; Out(u);", "3"},
        {"const volatile int u; u = 3; Out(u);", "3"},
        {"signed char k; k = -1; Out(k);", "255"},
        {"int a; a = 9; Out(a);", "9"}, // a second declaration of a name is never found
        // branches
        {"if (1) Out(1); else Out(2);", "1"},
        {"if (0) Out(1); else Out(2);", "2"},
        {"if (0) Out(1); Out(3);", "3"},
        {"if (a) { Out(1); } else { Out(2); }", "1"},
        {"if (0) { if (1) Out(1); else Out(2); } else Out(3);", "3"},
        {"if (1) if (0) Out(1); else Out(2);", "2"},
        {"if (0) if (1) Out(1); else Out(2); Out(4);", "4"},
        {"if (a == 1) { Out(1); } else if (a == 2) { Out(2); } else { Out(3); }", "1"},
        {"if (b == 1) { Out(1); } else if (b == 2) { Out(2); } else { Out(3); }", "2"},
        {"if (c == 1) { Out(1); } else if (c == 2) { Out(2); } else { Out(3); }", "3"},
        {"int z; z = 0; if (z) { x = 1 / z; } Out(8);", "8"},
        {"if (0) { arr[99] = 1; a = arr[77]; Util.Log(\"no\"); } Out(8);", "8"},
        {"if (0) { return 1; } Out(5);", "5"},
        {"if (0) return 1; Out(5);", "5"},
        {"{ if (0) return 1; } Out(5);", "5"},
        {"if (0) { return 1; Out(1); { Out(2); } } Out(5);", "5"},
        {"if (0) { while (1) { return 1; } } Out(5);", "5"},
        {"if (0) { do { return 1; } while (1); } Out(5);", "5"},
        {"if (0) { int q; } q = 4; Out(q);", "4"}, // a declaration takes effect in any branch
        {"if (0) { Two(); Add(1, 2); Add(Out(7), 1); } Out(6);", "6"},
        // both sides of && and || run
        {"x = 0 && Out(1); Out(x);", "1 0"},
        {"x = 1 || Out(1); Out(x);", "1 1"},
        // loops
        {"while (a < 4) { Out(a); a += 1; }", "1 2 3"},
        {"while (0) { Out(1); } Out(2);", "2"},
        {"while (a < 3) a += 1; Out(a);", "3"},
        {"while (a < 3) { b = 0; while (b < 2) { Out(a * 10 + b); b += 1; } a += 1; }", "10 11 20 21"},
        {"do { Out(a); a += 1; } while (a < 3);", "1 2"},
        {"do { Out(a); } while (0); Out(9);", "1 9"},
        {"do a += 1; while (a < 5); Out(a);", "5"},
        {"while (a < 9) { if (a == 4) { Out(a); return 0; } a += 1; } Out(0);", "4"},
        {"do { if (a == 3) return 0; Out(a); a += 1; } while (1);", "1 2"},
        {"while (a < 3) { int t; t = a; Out(t); a += 1; }", "1 2"},
        {"if (a) while (b) { b -= 1; Out(b); } else Out(9);", "1 0"},
        // statements
        {"{ } { { } } Out(1);", "1"},
        {"return 1; Out(1);", ""},
        {"{ Out(1); return 0; } Out(2);", "1"},
        {"Two(); Add(1, 2); Out(3);", "3"},
        {"Util.Log(\"text\");", "text"},
        {"Util.Log(\"a\\tb\\\\\\r\\n\\b\");", "a\tb\\\r\n\b"},
        {"Util.Log(\"cut\\0off\");", "cut"},
        {"Util.Log((\"in parentheses\"));", "in parentheses"},
        {"Util.Log(-\"prefix is dropped\");", "prefix is dropped"},
        {"Util.Log(7);", "<7>"},
        {"Eight(1,2,3,4,5,6,7,8);", "1,2,3,4,5,6,7,8"},
        {"Eight(1 2 3 4 5 6 7 8);", "1,2,3,4,5,6,7,8"},
        {"Nine(1,2,3,4,5,6,7,8,9); Out(1);", "1"}, // not called: more than 8
    };
    for (const ROW& Row : ROWS) {
        QTest::newRow(Row.Body) << QByteArray(Row.Body) << QString::fromUtf8(Row.Output);
    }
}

void tst_script::Statement()
{
    QFETCH(QByteArray, Body);
    QFETCH(QString, Output);
    CScriptRig Rig(Wrap(Body));
    const QString sOutput = Rig.Run();
    QCOMPARE(Rig.Errors, QStringList());
    QCOMPARE(sOutput, Output);
    QCOMPARE(Rig.CallResult, 0);
}

void tst_script::Error_data()
{
    QTest::addColumn<QByteArray>("Body");
    QTest::addColumn<QString>("Output");
    QTest::addColumn<QStringList>("Errors"); ///< without the line where all stand on the body's first
    QTest::addColumn<int>("Result");
    const auto Stops = [](const char* sBody, const char* sError, const char* sOutput = "") {
        QTest::newRow(sBody) << QByteArray(sBody) << QString(sOutput)
                             << QStringList{QString::fromUtf8(sError)} << -1;
    };
    const auto GoesOn = [](const char* sBody, const char* sError, const char* sOutput) {
        QTest::newRow(sBody) << QByteArray(sBody) << QString(sOutput)
                             << QStringList{QString::fromUtf8(sError)} << 0;
    };
    Stops("Foo(1); Out(1);", "syntax error.@4");
    Stops("Out(1); Foo = 1;", "syntax error.@4", "1");
    Stops(";", "syntax error.@4");
    Stops("a++;", "syntax error.@4");
    Stops("++a;", "syntax error.@4");
    Stops("a;", "syntax error.@4");
    Stops("5;", "syntax error.@4");
    Stops("(a) = 5;", "syntax error.@4");
    Stops("SEVEN = 5;", "syntax error.@4");
    Stops("__api__ int z;", "syntax error.@4");
    Stops("return;", "expected a value or an identifier.@4");
    Stops("int x = 1;", "Expected a ';'@4");
    Stops("a = 1", "Expected a ';'@5"); // the "}" of the next line stands there
    Stops("a = 1 2;", "Expected a ';'@4");
    Stops("a = ;", "expected a value or an identifier.@4");
    Stops("a = 1 + ;", "expected a value or an identifier.@4");
    Stops("a = !!1;", "expected a value or an identifier.@4");
    Stops("a = Undefined;", "unknown identifier.@4");
    Stops("a = int;", "syntax error. Unexpected type@4");
    Stops("a = __api__;", "syntax error. Unexpected type@4");
    Stops("a = const;", "syntax error. Unexpected type@4");
    Stops("a = (1 + 2;", "Expected a ')'@4");
    Stops("a = arr;", "Expected a '['@4");
    Stops("arr = 1;", "Expected a '['@4");
    Stops("a = arr[1;", "Expected a ']'@4");
    Stops("arr[3] = 1;", "array index out of range.@4");
    Stops("arr[-1] = 1;", "array index out of range.@4");
    Stops("a = arr[3];", "array index out of range.@4");
    Stops("a = arr[i];", "array index out of range.@4");
    Stops("arr[0] += 1;", "expected a base type.@4");
    Stops("arr[\"x\"] = 1;", "expected a value.@4");
    Stops("a = arr[\"x\"];", "expected a value.@4");
    Stops("int z[0]; z[0] = 1;", "array index out of range.@4");
    Stops("int z[n];", "expected an integer value@4");
    Stops("int z[];", "expected an integer value@4");
    Stops("int z[2;", "Expected a ']'@4");
    Stops("int z[-1];", "out of memory.@4");
    Stops("int z[250001];", "out of memory.@4");
    Stops("__int64 z[0x2000000000000001];", "out of memory.@4");
    Stops("int 5;", "expected an identifier.@4");
    Stops("int ;", "expected an identifier.@4");
    Stops("int * p;", "currently only basic data types for local variables are allowed.@4");
    Stops("unsigned SEVEN z;", "currently only basic data types for local variables are allowed.@4");
    Stops("unsigned Nothing z;", "syntax error.@4");
    Stops("void v; v = 1;", "base type size must be at least 1 byte@4");
    Stops("void v; a = v;", "unsupported base type size.@4");
    Stops("if a Out(1);", "Expected a '('@4");
    Stops("if (a Out(1);", "Expected a ')'@4");
    Stops("if () Out(1);", "expected a value or an identifier.@4");
    Stops("if (\"x\") Out(1);", "expected a base type.@4");
    Stops("a = \"x\";", "expected a base type.@4");
    Stops("a = 1 + \"x\";", "expected a base type.@4");
    Stops("a = (\"x\") + 1;", "expected a base type.@4");
    Stops("a = -(\"x\");", "expected a base type.@4");
    Stops("return \"x\";", "expected a base type.@4");
    Stops("Out(\"x\" + 1);", "Expected a ')'@4"); // a string takes no operators
    Stops("else Out(1);", "keyword \"else\" is not allowed without \"if\"@4");
    Stops("for (;;) { }", "keyword \"for\" is not yet supported@4");
    Stops("do { a += 1; } Out(1);", "syntax error. Missing \"while\" at line 4@4");
    Stops("do { a += 1; }\n\nOut(1);", "syntax error. Missing \"while\" at line 6@6");
    Stops("do { a += 1; } while (0) Out(1);", "Expected a ';'@4");
    Stops("a = 1 / 0;", "division by zero.@4");
    Stops("a = b / (c - 3);", "division by zero.@4");
    Stops("a /= 0;", "division by zero.@4");
    Stops("x = Add(1, 2, 3);", "Expected a ')'@4");
    Stops("x = Add(1);", "expected a value or an identifier.@4");
    Stops("x = Two;", "Expected a '('@4");
    Stops("x = Add 1, 2);", "Expected a '('@4");
    Stops("Add(1, 2, 3);", "Expected a ')'@4");
    Stops("Add(1, 2)", "Expected a ';'@5");
    Stops("a = 08x;", "Expected a ';'@4");
    Stops("a = 0X10;", "Expected a ';'@4");
    Stops("a = 'x';", "expected a value or an identifier.@4");
    Stops("a = 7 % 2;", "Expected a ';'@4");
    Stops("a = b ? 1 : 2;", "Expected a ';'@4");
    Stops("a = b = c;", "Expected a ';'@4");
    Stops("a = (int) b;", "syntax error. Unexpected type@4");
    Stops("if (0) { Nothing(1); } Out(1);", "syntax error.@4"); // a branch not taken is still read
    Stops("if (0) { x = Nothing; } Out(1);", "unknown identifier.@4");
    Stops("while (a < 3) {\n a += 1;\n }\n Bad;", "syntax error.@7"); // lines are right behind a loop
    Stops("/* two\nlines */ Bad;", "syntax error.@5");
    Stops("a = 1; // Bad;\nWorse;", "syntax error.@5");
    Stops("x = Add(Undefined, 1); Out(1);", "unknown identifier.@4"); // in an expression it stops
    // A bad argument of a statement is reported, the call left out, and the script goes on.
    GoesOn("Util.Log(Undefined); Out(1);", "unknown identifier.@4", "1");
    GoesOn("Out(Undefined + 1); Out(1);", "unknown identifier.@4", "1");
    GoesOn("Out((Undefined)); Out(1);", "unknown identifier.@4", "1");
    GoesOn("Out(1 / 0); Out(1);", "division by zero.@4", "1");
    GoesOn("Out(arr[7]); Out(1);", "array index out of range.@4", "1");
    GoesOn("Out(1 + \"x\"); Out(1);", "expected a base type.@4", "1");
    GoesOn("Out(); Out(1);", "expected a value or an identifier.@4", "1");
    GoesOn("Add(Undefined, Out(5)); Out(1);", "unknown identifier.@4", "1");
    GoesOn("Util.Log(\"bad \\x escape\"); Out(1);", "unexpected escape character.@4", "1");
    GoesOn("Util.Log(\"bad \\\"); Out(1);", "unexpected escape character.@4", "1");
    GoesOn("Out(Add(1)); Out(1);", "expected a value or an identifier.@4", "1");
    GoesOn("Out(int); Out(1);", "syntax error. Unexpected type@4", "1");
    // Two reports: the first is cleared, the second is not an argument's.
    QTest::newRow("string to the end of the line")
        << QByteArray("Util.Log(\"open); Out(1);\nOut(2);") << QString()
        << QStringList{QStringLiteral("illegal character in string@4"),
                       QStringLiteral("illegal character in string@4")}
        << -1;
    QTest::newRow("two bad statements")
        << QByteArray("Out(p); Out(q); Out(3);") << QStringLiteral("3")
        << QStringList{QStringLiteral("unknown identifier.@4"), QStringLiteral("unknown identifier.@4")} << 0;
}

void tst_script::Error()
{
    QFETCH(QByteArray, Body);
    QFETCH(QString, Output);
    QFETCH(QStringList, Errors);
    QFETCH(int, Result);
    CScriptRig Rig(Wrap(Body));
    QCOMPARE(Rig.ParseResult, 0);
    const QString sOutput = Rig.Run();
    QCOMPARE(Rig.Errors, Errors);
    QCOMPARE(sOutput, Output);
    QCOMPARE(Rig.CallResult, Result);
    QCOMPARE(Rig.Ctx->Error, Result < 0 ? 1 : 0);
}

void tst_script::ParseError_data()
{
    QTest::addColumn<QByteArray>("Text");
    QTest::addColumn<int>("Result");
    QTest::addColumn<QString>("ErrorText");
    const auto Row = [](const char* sText, int Result, const char* sError) {
        QTest::newRow(sText) << QByteArray(sText) << Result << QString::fromUtf8(sError);
    };
    Row("", 0, "");
    Row("  \t\r\n", 0, "");
    Row("// only a comment", 0, "");
    Row("/* a */ // b\n/* c\n*/", 0, "");
    Row("void f (void) { }", 0, "");
    Row("void f () { }", 0, "");
    Row("int f(int a, int b){}", 0, "");
    Row("int f(int a int b){}", 0, "");
    Row("const unsigned int f(const char* s, volatile int v){}", 0, "");
    Row("void f(void* p) {}", 0, "");
    Row("void f(void) { { } { { } } }", 0, "");
    Row("void f(void) { nonsense % 12 ] ( }", 0, ""); // only run time reads a body
    Row("void f(void) { // }\n /* } */ }", 0, "");
    Row("int x;", -1, "Expected a '('@1");
    Row("int x = 1;", -1, "Expected a '('@1");
    Row("foo", -1, "syntax error.@1");
    Row("#include <x>", -1, "syntax error.@1");
    Row("typedef int t;", -1, "syntax error.@1");
    Row("struct s { int a; };", -1, "syntax error.@1");
    Row("\n\nenum e { A };", -1, "syntax error.@3");
    Row("SEVEN f(void) { }", -1, "syntax error.@1");
    Row("const nothing f(void) { }", -1, "syntax error.@1");
    Row("unsigned", -1, "syntax error.@1");
    Row("int", -1, "expected an identifier.@1");
    Row("int 5(void) {}", -1, "expected an identifier.@1");
    Row("int* f(void) {}", -1, "expected an identifier.@1");
    Row("int f(int) {}", -1, "expected an identifier.@1");
    Row("int f(int a, ) {}", 0, ""); // a "," is optional, before a ")" too
    Row("int f(int a,, int b) {}", -1, "syntax error.@1");
    Row("int f(char** p) {}", -1, "expected an identifier.@1");
    Row("int f(int a", -1, "syntax error.@1");
    Row("int f(nothing a) {}", -1, "syntax error.@1");
    Row("int f[3];", -1, "Expected a '('@1");
    Row("}", -1, "syntax error.@1");
    Row("/* open", -1, "C-comment has not been closed properly@1");
    Row("void f(void);", 0, "expected '{'@1");
    Row("void f(void)", 0, "expected '{'@1");
    Row("void f(void) { ", 0, "unexpected end of file looking for '}'@1");
    Row("void f(void) {\n { }\n", 0, "unexpected end of file looking for '}'@3");
    Row("void f(void) { /* }", 0, "C-comment has not been closed properly@1");
    Row("void f(void) { } }", -1, "syntax error.@1");
    Row("void f(void) { Util.Log(\"}\"); }", -1, "syntax error.@1"); // the brace in the string counts
    Row("void f(void) { Util.Log(\"{\"); }", 0, "unexpected end of file looking for '}'@1");
    Row("void f(void) { Util.Log(\"http://x}\");\n}", 0, ""); // "//" begins a comment even there
}

void tst_script::ParseError()
{
    QFETCH(QByteArray, Text);
    QFETCH(int, Result);
    QFETCH(QString, ErrorText);
    CScriptRig Rig(Text);
    QCOMPARE(Rig.Errors.join(NL), ErrorText);
    QCOMPARE(Rig.ParseResult, Result);
    QCOMPARE(Rig.Ctx->Error, ErrorText.isEmpty() ? 0 : 1);
}

void tst_script::WholeScript_data()
{
    QTest::addColumn<QByteArray>("Text");
    QTest::addColumn<QString>("Output");
    QTest::addColumn<QString>("Errors");
    const auto Row = [](const char* sName, const char* sText, const char* sOutput, const char* sErrors = "") {
        QTest::newRow(sName) << QByteArray(sText) << QString(sOutput) << QString(sErrors);
    };
    Row("one branch logs",
        "void f (void) { int x; x = 1; if (x) { Util.Log(\"a\"); } else { Util.Log(\"b\"); } }", "a");
    Row("two functions of one name: the first",
        "void f(void){ Out(g()); } int g(void){ return 1; } int g(void){ return 2; }", "1");
    Row("an API name can't be taken over", "int Ret(int x) { return 77; } void f(void) { Out(Ret(5)); }",
        "5");
    Row("a function without a return gives -1", "int g(void){ } void f(void){ Out(g()); }", "-1");
    Row("recursion",
        "int fact(int n){ if (n < 2) { return 1; } return n * fact(n - 1); } void f(void){ Out(fact(10)); }",
        "3628800");
    Row("locals of a call are its own",
        "int g(int a){ a = a + 1; return a; } void f(void){ int a; a = 5; Out(g(a)); Out(a); }", "6 5");
    Row("the caller's locals are not seen",
        "int g(void){ return a; } void f(void){ int a; a = 5; Out(g()); a = g(); }", "",
        "unknown identifier.@1\nunknown identifier.@1");
    Row("a char parameter reads one byte", "int g(char c){ return c; } void f(void){ Out(g(0x1234)); }",
        "52");
    Row("an __int64 parameter reads all", "int g(__int64 c){ return c; } void f(void){ Out(g(-5)); }", "-5");
    Row("the value of a script function is 64 bits",
        "int g(void){ return 0x123456789A; } void f(void){ Out(g()); }", "78187493530");
    Row("a pointer parameter can't be read",
        "int g(const char* s){ return s; } void f(void){ int a; a = g(\"x\"); }", "",
        "expected a base type.@1");
    Row("a pointer parameter can't be set",
        "int g(const char* s){ s = 1; return 0; } void f(void){ int a; a = g(\"x\"); }", "",
        "assignments are allowed for base types only@1");
    Row("a pointer parameter can't be added to",
        "int g(int* s){ s += 1; return 0; } void f(void){ int a; a = g(1); }", "", "expected a base type.@1");
    Row("a string where a number is declared gives its address",
        "int g(__int64 p){ return p != 0; } void f(void){ Out(g(\"abc\")); }", "1");
    Row("a string passes on through an __int64",
        "int g(__int64 p){ Util.Log(p); return 1; } void f(void){ g(\"abc\"); }", "abc");
    Row("names hold dots",
        "int My.Func.2(void){ return 3; } void f(void){ int a.b; a.b = My.Func.2(); Out(a.b); }", "3");
    Row("keywords end where an identifier would",
        "void f(void){ int returned; int if.x; returned = 4; if.x = 5; Out(returned + if.x); }", "9");
    Row("a name of a keyword's spelling is the keyword", "void f(void){ int while; while = 1; }", "",
        "Expected a '('@1");
    Row("case counts", "void f(void){ int A; int a; A = 1; a = 2; Out(A); OUT(1); }", "1", "syntax error.@1");
    Row("a void function may return a value", "void g(void){ return 5; } void f(void){ Out(g()); }", "5");
    Row("a call in an argument fails inside", "int g(void){ Bad; } void f(void){ Out(g()); Out(2); }", "2",
        "syntax error.@1");
    Row("line of an error in another function", "int g(void){\n\n  Bad;\n}\nvoid f(void){\n\n\n  g();\n}", "",
        "syntax error.@3");
    Row("a body that ends at a brace in a string runs into it", "void f(void) { Out(1); Util.Log(\"{}\"); }",
        "1 {}");
    Row("CR LF lines", "void f(void)\r\n{\r\n  Out(1);\r\n  Bad;\r\n}\r\n", "1", "syntax error.@4");
    Row("bytes above 127 in a string and a comment", "void f(void){ /* \xC3\xA4 */ Util.Log(\"\xC3\xA4\"); }",
        "\xC3\xA4");
    Row("bytes above 127 elsewhere", "void f(void){ \xC3\xA4 = 1; }", "", "syntax error.@1");
}

void tst_script::WholeScript()
{
    QFETCH(QByteArray, Text);
    QFETCH(QString, Output);
    QFETCH(QString, Errors);
    CScriptRig Rig(Text);
    const QString sOutput = Rig.Run();
    QCOMPARE(Rig.Errors.join(NL), Errors);
    QCOMPARE(sOutput, Output);
}

void tst_script::CallsFromHost()
{
    CScriptRig Rig("int Sum(int a, __int64 b, char c){ return a + b + c; }\n"
                   "int Bad(int a){ return a / 0; }\n"
                   "int Nothing(void){ }\n"
                   "int Wide(int a, int b, int c, int d, int e, int f, int g, int h){ return a + h; }\n");
    I64 Result = 0;
    const I64 aArgs[] = {1, -10, 0x105, 4, 5, 6, 7, 8};
    QCOMPARE(Script::CallByName(Rig.Ctx, "Sum", 3, aArgs, &Result), 0);
    QCOMPARE(Result, I64(-4));
    QCOMPARE(Script::CallByName(Rig.Ctx, "Sum", 1, aArgs, &Result), 0); // missing ones are 0
    QCOMPARE(Result, I64(1));
    QCOMPARE(Script::CallByName(Rig.Ctx, "Wide", 8, aArgs, &Result), 0);
    QCOMPARE(Result, I64(9));
    QCOMPARE(Script::CallByName(Rig.Ctx, "Nothing", 0, nullptr, &Result), 0);
    QCOMPARE(Result, I64(-1));
    QCOMPARE(Script::CallByName(Rig.Ctx, "None", 0, nullptr, &Result), -2);
    QCOMPARE(Script::CallByName(Rig.Ctx, "SEVEN", 0, nullptr, &Result), -2);
    QCOMPARE(Script::CallByName(Rig.Ctx, "Ret", 1, aArgs + 1, &Result), 0); // a host function by name
    QCOMPARE(Result, I64(-10));
    // A failed run with arguments clears the error, one without keeps it.
    QCOMPARE(Script::CallByName(Rig.Ctx, "Bad", 1, aArgs, &Result), -1);
    QCOMPARE(Rig.Ctx->Error, 0);
    QCOMPARE(Rig.Errors.size(), 1);
    QCOMPARE(Script::CallByName(Rig.Ctx, "Bad"), -1);
    QCOMPARE(Rig.Ctx->Error, 1);
    QCOMPARE(Script::CallByName(Rig.Ctx, "Nothing"), -1);
    QCOMPARE(Rig.Errors.size(), 2);
}

void tst_script::AbortEndsRun()
{
    for (const char* sBody : {"while (1) { Out(1); Stop(); }", "do { Out(1); Stop(); } while (1);",
                              "Out(1); Stop(); Out(2);", "g(); Out(2);"}) {
        CScriptRig Rig(QByteArray("void g(void) { Out(1); Stop(); Out(2); } void f(void) { ") + sBody + " }");
        QCOMPARE(Rig.Run(), QStringLiteral("1"));
        QCOMPARE(Rig.Errors, QStringList());
    }
}

// A host function that calls back into the script, as an event during a wait does.
void tst_script::NestedCallKeepsPlace()
{
    CScriptRig Rig("int g(int a){ int t; t = a * 2;\n\n return t; }\n"
                   "void f(void){ int t; t = 5; Nest(); Out(t); Bad; }");
    static SCRIPT_CTX* s_pCtx = nullptr;
    static I64 s_Result = 0;
    s_pCtx = Rig.Ctx;
    QCOMPARE(Script::RegisterFunction(
                 Rig.Ctx, "__api__ int Nest (void);",
                 [](int, const I64*, int) {
                     const I64 Arg = 21;
                     return Script::CallByName(s_pCtx, "g", 1, &Arg, &s_Result);
                 },
                 0),
             0);
    QCOMPARE(Rig.Run(), QStringLiteral("5"));
    QCOMPARE(s_Result, I64(42));
    QCOMPARE(Rig.Errors, QStringList{QStringLiteral("syntax error.@4")});
    QCOMPARE(Script::RegisterFunction(Rig.Ctx, "__api__ int Open (void)", nullptr, 0), -1); // no ";"
}

void tst_script::DepthIsAnError_data()
{
    QTest::addColumn<QByteArray>("Text");
    const int Many = 100000;
    QTest::newRow("recursion") << QByteArray("int g(void){ return g(); } void f(void){ int a; a = g(); }");
    QTest::newRow("mutual recursion") << QByteArray(
        "int h(int a){ return g(a); } int g(int a){ return h(a); } void f(void){ int a; a = g(1); }");
    QTest::newRow("parentheses") << "void f(void){ int a; a = " + QByteArray(Many, '(') + "1" +
                                        QByteArray(Many, ')') + "; }";
    QTest::newRow("chain of operators")
        << "void f(void){ int a; a = " + QByteArray("1+").repeated(Many) + "1; }";
    QTest::newRow("blocks") << "void f(void){ " + QByteArray(Many, '{') + QByteArray(Many, '}') + " }";
    QTest::newRow("ifs") << "void f(void){ " + QByteArray("if(1)").repeated(Many) + "Out(1); }";
    QTest::newRow("ifs not taken") << "void f(void){ " + QByteArray("if(0)").repeated(Many) + "Out(1); }";
    QTest::newRow("indexes") << "void f(void){ int a[1]; int b; b = " + QByteArray("a[").repeated(Many) +
                                    "0" + QByteArray(Many, ']') + "; }";
}

void tst_script::DepthIsAnError()
{
    QFETCH(QByteArray, Text);
    CScriptRig Rig(Text);
    QCOMPARE(Rig.ParseResult, 0);
    QCOMPARE(Rig.Run(), QString());
    QCOMPARE(Rig.CallResult, -1);
    QCOMPARE(Rig.Errors.size(), 1);
    QVERIFY2(Rig.Errors[0].startsWith(QStringLiteral("out of memory.@")), qPrintable(Rig.Errors[0]));
    QCOMPARE(Rig.Ctx->Depth, 0);
    QCOMPARE(Rig.Ctx->HeapHigh, Rig.Ctx->HeapEnd); // nothing of the failed run stays behind
}

void tst_script::HeapRunsOut()
{
    // A literal in a loop takes new memory at each pass. As an argument of a statement it is
    // reported and the loop goes on; in an expression it ends the run.
    const QByteArray Head("int g(__int64 s){ return 1; } void f(void){ int i; i = 0; while (i < 20000) { ");
    CScriptRig Statement(Head + "Ret(\"0123456789\"); i += 1; } Out(i); }");
    QCOMPARE(Statement.Run(), QStringLiteral("20000"));
    QVERIFY(Statement.Errors.size() > 1000);
    CScriptRig Expression(Head + "i += g(\"0123456789\"); } Out(i); }");
    QCOMPARE(Expression.Run(), QString());
    QCOMPARE(Expression.CallResult, -1);
    QCOMPARE(Expression.Errors, QStringList{QStringLiteral("out of memory.@1")});

    CScriptRig Locals("int g(void){ int a[200000]; a[199999] = 3; return a[199999]; }\n"
                      "void f(void){ int i; i = 0; while (i < 50) { i += 1; g(); } Out(i); Out(g()); }");
    QCOMPARE(Locals.Run(), QStringLiteral("50 3"));
    QCOMPARE(Locals.Errors, QStringList());
    QCOMPARE(Locals.Ctx->HeapHigh, Locals.Ctx->HeapEnd);
}

void tst_script::SmallHeaps()
{
    // Whatever the size of the block, the outcome is a context or none, and a report instead of a write
    // outside.
    for (std::size_t Size = 0; Size < 6000; Size += 40) {
        CScriptRig Rig("int g(int a, int b){ int c[4]; c[3] = a; return c[3] + b; } void f(void){ Out(g(1, "
                       "2)); Util.Log(\"abc\"); }",
                       Size);
        if (Rig.Ctx) {
            Rig.Run();
            QVERIFY(Rig.Output.join(QLatin1Char(' ')) == QStringLiteral("3 abc") || !Rig.Errors.isEmpty() ||
                    Rig.CallResult == -2);
        }
    }
}

void tst_script::Symbols()
{
    CScriptRig Rig("int g(int a){ return a; }");
    const SCRIPT_SYM* pChar = Script::FindSymbol(Rig.Ctx, "char");
    QVERIFY(pChar && pChar->Kind == SYM_BASE_TYPE && pChar->Value == 1);
    QVERIFY(!Script::FindSymbol(Rig.Ctx, "cha"));
    QVERIFY(!Script::FindSymbol(Rig.Ctx, "charx"));
    const SCRIPT_SYM* pConst = Script::FindSymbol(Rig.Ctx, "__const_char");
    QVERIFY(pConst && pConst->Attributes &&
            pConst->Attributes->Qualifier == Script::FindSymbol(Rig.Ctx, "const"));
    // The order of the predefined symbols.
    QStringList Names;
    for (const SCRIPT_SYM* p = Rig.Ctx->Globals; p && Names.size() < 10; p = p->Next) {
        Names += QString::fromLatin1(p->Name, static_cast<qsizetype>(p->NameLen));
    }
    QCOMPARE(
        Names.join(NL),
        QStringLiteral("volatile\nconst\nsigned\nunsigned\n__api__\nchar\nint\n__int64\nvoid\n__const_char"));
    // A constant takes 40 bytes and is left out when less is free.
    U8* pLow = Rig.Ctx->HeapLow;
    QCOMPARE(Script::RegisterConstant(Rig.Ctx, "K", 1, -2), 0);
    QCOMPARE(Rig.Ctx->HeapLow - pLow, qptrdiff(40));
    Rig.Ctx->HeapHigh = Rig.Ctx->HeapLow + 39;
    QCOMPARE(Script::RegisterConstant(Rig.Ctx, "L", 1, 1), -1);
    QCOMPARE(Rig.Ctx->Error, 0);
    QVERIFY(!Script::FindSymbol(Rig.Ctx, "L"));
    // Addresses outside the block are no strings.
    QVERIFY(!Script::IsHeapString(Rig.Ctx, 0));
    QVERIFY(!Script::IsHeapString(Rig.Ctx, 7));
    QVERIFY(!Script::IsHeapString(Rig.Ctx, -1));
    QVERIFY(
        !Script::IsHeapString(Rig.Ctx, static_cast<I64>(reinterpret_cast<std::uintptr_t>(Rig.Ctx->HeapEnd))));
}

QTEST_GUILESS_MAIN(tst_script)
#include "tst_script.moc"
