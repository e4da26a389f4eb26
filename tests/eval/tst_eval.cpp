// Expressions without a program: numbers, operators, precedence, casts as text, failures. What needs symbols and a
// target is shown by the batch transcripts.
#include "program/eval/evalhooks.h"
#include "program/eval/expression.h"
#include "program/eval/exprtokens.h"

#include <QTest>
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

QTEST_GUILESS_MAIN(tst_Eval)
#include "tst_eval.moc"
