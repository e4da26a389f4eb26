// The interpreter from outside: calls by the host, aborting, nesting, the limits of heap and stack, the
// symbols. What the statements of the language do stands in statements.txt.
#include "scriptrig.h"

#include <QTest>

namespace {
const char* const NL = "\n";
} // namespace

class tst_script : public QObject {
    Q_OBJECT
private slots:
    void CallsFromHost();
    void AbortEndsRun();
    void NestedCallKeepsPlace();
    void DepthIsAnError_data();
    void DepthIsAnError();
    void HeapRunsOut();
    void SmallHeaps();
    void Symbols();
};

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
