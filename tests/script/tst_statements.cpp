// The script language case by case, from statements.txt, which says how a case is written; and
// expressions made at random, whose values are worked out in another way.
#include "scriptrig.h"

#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>
#include <limits>
#include <optional>

namespace {
enum SECTIONS { SECTION_EXPRESSIONS, SECTION_STATEMENTS, SECTION_SCRIPTS, SECTION_HEADS };
const QStringList SECTION_NAMES{"[expressions]", "[statements]", "[scripts]", "[heads]"};
/// A section that lost its cases would otherwise pass.
constexpr int MIN_CASES[] = {280, 390, 90, 70};

/// The function that a case of the first two sections stands in; the case begins the last line.
const char* const BEFORE =
    "int Two(void) { return 2; }\n"
    "int Add(int x, int y) { return x + y; }\n"
    "void f(void) { int a; int b; int c; int i; __int64 n; int arr[3]; char ch; __int64 x; "
    "a = 1; b = 2; c = 3; i = -1; n = -1; arr[0] = 10; arr[1] = 20; arr[2] = 30; "
    "ch = 255; x = 0;\n";
const char* const AFTER = "\n}\n";

QString Unmark(QString s)
{
    return s.replace(QChar(0x00B6), '\n')
        .replace(QChar(0x240D), '\r')
        .replace(QChar(0x2409), '\t')
        .replace(QChar(0x2408), '\b');
}

QByteArray MakeScript(int Section, const QString& sCase)
{
    switch (Section) {
    case SECTION_EXPRESSIONS:
        return BEFORE + ("Out(" + sCase + ");").toUtf8() + AFTER;
    case SECTION_STATEMENTS:
        return BEFORE + sCase.toUtf8() + AFTER;
    default:
        return sCase.toUtf8();
    }
}

/// What a run gave, as statements.txt writes it.
QString Describe(const CScriptRig& Rig, int FirstLine)
{
    static const QRegularExpression MissingWhile("(Missing \"while\" at line )(\\d+)$");
    QString s = Rig.Output.join(' ');
    for (int i = 0; i < Rig.Errors.size(); ++i) {
        const qsizetype At = Rig.Errors[i].lastIndexOf('@');
        const int Line = Rig.Errors[i].mid(At + 1).toInt() - FirstLine + 1;
        QString sText = Rig.Errors[i].left(At);
        const QRegularExpressionMatch Match = MissingWhile.match(sText);
        if (Match.hasMatch()) { // names the line of the whole script
            sText = sText.left(Match.capturedStart(2)) +
                    QString::number(Match.captured(2).toInt() - FirstLine + 1);
        }
        const bool IsLast = i + 1 == Rig.Errors.size() && Rig.Ctx->Error;
        s += QString(s.isEmpty() ? "%1 %2: %3" : " %1 %2: %3").arg(IsLast ? "!!" : "!").arg(Line).arg(sText);
    }
    return s;
}
} // namespace

class tst_statements : public QObject {
    Q_OBJECT
private slots:
    void Case_data();
    void Case();
    void RandomExpressions();
};

void tst_statements::Case_data()
{
    QTest::addColumn<int>("Section");
    QTest::addColumn<QString>("Text");
    QTest::addColumn<QString>("Expected");
    QFile File(VANTREL_SOURCE_DIR "/tests/script/statements.txt");
    QVERIFY(File.open(QIODevice::ReadOnly));
    int Section = -1;
    int Number = 0;
    int Counts[4] = {};
    for (const QString& sLine : QString::fromUtf8(File.readAll()).split('\n')) {
        ++Number;
        if (SECTION_NAMES.contains(sLine)) {
            Section = static_cast<int>(SECTION_NAMES.indexOf(sLine));
            continue;
        }
        if (sLine.isEmpty() || sLine.startsWith("# ") || sLine == "#") {
            continue;
        }
        const qsizetype Arrow = sLine.lastIndexOf(" -->");
        QVERIFY2(Section >= 0 && Arrow >= 0, qPrintable(QString("line %1 is no case").arg(Number)));
        ++Counts[Section];
        QTest::addRow("line %d: %s", Number, qPrintable(sLine.left(Arrow)))
            << Section << Unmark(sLine.left(Arrow)) << Unmark(sLine.mid(Arrow + 5));
    }
    for (int i = 0; i < 4; ++i) {
        QVERIFY2(Counts[i] >= MIN_CASES[i],
                 qPrintable(QString("%1 has %2 cases").arg(SECTION_NAMES[i]).arg(Counts[i])));
    }
}

void tst_statements::Case()
{
    QFETCH(int, Section);
    QFETCH(QString, Text);
    QFETCH(QString, Expected);
    CScriptRig Rig(MakeScript(Section, Text));
    const bool HasHeader = Section == SECTION_EXPRESSIONS || Section == SECTION_STATEMENTS;
    if (Section != SECTION_HEADS) {
        QCOMPARE(Rig.ParseResult, 0);
        Rig.Run();
    }
    QCOMPARE(Describe(Rig, HasHeader ? 4 : 1), Expected);
    QCOMPARE(Rig.Ctx->Depth, 0);
    QCOMPARE(Rig.Ctx->HeapHigh, Rig.Ctx->HeapEnd); // nothing of a run stays behind
    if (Section != SECTION_HEADS && !Rig.Ctx->Abort) {
        QCOMPARE(Rig.CallResult, Rig.Ctx->Error ? -1 : 0);
    }
}

namespace {
struct OPERATOR {
    const char* Text;
    int Precedence;
};
constexpr OPERATOR OPERATORS[] = {
    {"*", 21},  {"/", 20},  {"+", 18}, {"-", 17}, {"<<", 16}, {">>", 15}, {"<", 14}, {"<=", 13}, {">", 12},
    {">=", 11}, {"==", 10}, {"!=", 9}, {"&", 8},  {"^", 7},   {"|", 6},   {"&&", 5}, {"||", 4},
};

/// The value of Operands[0] Ops[0] Operands[1] ..., found from the root of its tree: the operator
/// of the lowest number, of several the leftmost, as they associate to the right. No value: the
/// expression fails.
std::optional<qint64> ValueOf(const QList<qint64>& Operands, const QList<int>& Ops)
{
    if (Ops.isEmpty()) {
        return Operands[0];
    }
    qsizetype Root = 0;
    for (qsizetype i = 1; i < Ops.size(); ++i) {
        if (OPERATORS[Ops[i]].Precedence < OPERATORS[Ops[Root]].Precedence) {
            Root = i;
        }
    }
    const std::optional<qint64> Left = ValueOf(Operands.first(Root + 1), Ops.first(Root));
    const std::optional<qint64> Right = ValueOf(Operands.sliced(Root + 1), Ops.sliced(Root + 1));
    if (!Left || !Right) {
        return std::nullopt;
    }
    const __int128 a = *Left;
    const __int128 b = *Right;
    const int Shift = static_cast<int>(static_cast<quint64>(*Right) % 64);
    const auto Wrap = [](__int128 v) { return static_cast<qint64>(static_cast<quint64>(v)); };
    switch (OPERATORS[Ops[Root]].Precedence) {
    case 21:
        return Wrap(a * b);
    case 20:
        return b == 0 || a / b > std::numeric_limits<qint64>::max() ? std::nullopt
                                                                    : std::optional(Wrap(a / b));
    case 18:
        return Wrap(a + b);
    case 17:
        return Wrap(a - b);
    case 16:
        return Wrap(a * (static_cast<__int128>(1) << Shift));
    case 15: // rounds down, unlike a division
        return Wrap((a - ((a % (static_cast<__int128>(1) << Shift)) + (static_cast<__int128>(1) << Shift)) %
                             (static_cast<__int128>(1) << Shift)) /
                    (static_cast<__int128>(1) << Shift));
    case 14:
        return a < b;
    case 13:
        return a <= b;
    case 12:
        return a > b;
    case 11:
        return a >= b;
    case 10:
        return a == b;
    case 9:
        return a != b;
    case 8:
        return *Left & *Right;
    case 7:
        return *Left ^ *Right;
    case 6:
        return *Left | *Right;
    case 5:
        return a != 0 && b != 0;
    default:
        return a != 0 || b != 0;
    }
}
} // namespace

void tst_statements::RandomExpressions()
{
    QRandomGenerator Random(4711);
    for (int n = 0; n < 3000; ++n) {
        QList<qint64> Operands;
        QList<int> Ops;
        QByteArray Expr;
        const int NumOperands = 2 + static_cast<int>(Random.bounded(8));
        for (int i = 0; i < NumOperands; ++i) {
            if (i > 0) {
                Ops += static_cast<int>(Random.bounded(17));
                Expr += ' ';
                Expr += OPERATORS[Ops.last()].Text;
                Expr += ' ';
            }
            const int Bits = static_cast<int>(Random.bounded(65));
            qint64 Value = static_cast<qint64>(Bits == 0 ? 0 : Random.generate64() >> (64 - Bits));
            if (Random.bounded(3) == 0) {
                Value = static_cast<qint64>(Random.bounded(7)) - 3;
            }
            Operands += Value;
            Expr += QByteArray::number(Value);
        }
        const std::optional<qint64> Expected = ValueOf(Operands, Ops);
        CScriptRig Rig("void f(void) { Out(" + Expr + "); }");
        const QString sOutput = Rig.Run();
        QVERIFY2(sOutput == (Expected ? QString::number(*Expected) : QString()), Expr.constData());
        QCOMPARE(Rig.Errors.isEmpty(), Expected.has_value());
    }
}

QTEST_GUILESS_MAIN(tst_statements)
#include "tst_statements.moc"
