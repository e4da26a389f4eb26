#include "objdump.h"

#include "core/plugin/coreplugin.h"

#include <QHash>
#include <QRegularExpression>
#include <cmath>
#include <cstdio>

namespace {

/// Expands "r4-r7" to its registers.
QString ExpandRange(const QString& s) {
    static const QRegularExpression Pattern(QStringLiteral("^([rsd])(\\d+)-[rsd](\\d+)$"));
    const auto Match = Pattern.match(s);
    if (!Match.hasMatch()) return s;
    QStringList aReg;
    for (int i = Match.captured(2).toInt(); i <= Match.captured(3).toInt(); i++) aReg << Match.captured(1) + QString::number(i);
    return aReg.join(',');
}

QString NormaliseNumber(const QString& s) {
    bool Ok = false;
    const qint64 Value = s.toLongLong(&Ok, 0);
    if (Ok) return QString::number(static_cast<quint32>(Value));
    const double Float = s.toDouble(&Ok);
    return Ok ? QString::number(Float) : s;
}

/// The number that VMOV's constant of 8 bits stands for; objdump prints the bits.
double ExpandConstant(int Bits) {
    const int Exponent = ((Bits >> 4) & 3) + ((Bits & 0x40) ? -3 : 1);
    const double Value = std::ldexp(1.0 + (Bits & 15) / 16.0, Exponent);
    return (Bits & 0x80) ? -Value : Value;
}

} // namespace

QByteArray RunCommand(const QString& sCommand) {
    // Not QProcess: the way in which it clones the process isn't understood by the thread sanitizer.
    QByteArray aOutput;
    FILE* pPipe = popen(sCommand.toUtf8().constData(), "r");
    char ac[4096];
    for (size_t Count = 1; pPipe && Count > 0;) {
        Count = fread(ac, 1, sizeof ac, pPipe);
        aOutput.append(ac, static_cast<qsizetype>(Count));
    }
    if (pPipe) pclose(pPipe);
    return aOutput;
}

QList<LINE> ReadObjdump(const QString& sPath) {
    const QByteArray aText = RunCommand(QStringLiteral("arm-none-eabi-objdump -d -z -w \"%1\"").arg(sPath));
    QList<LINE> aLine;
    static const QRegularExpression Pattern(QStringLiteral("^ +([0-9a-f]+):\t([0-9a-f]{4})( [0-9a-f]{4})? *\t([^\t]+)\t?(.*)$"));
    for (const QByteArray& aLineText : aText.split('\n')) {
        const auto Match = Pattern.match(QString::fromUtf8(aLineText));
        if (!Match.hasMatch()) continue;
        LINE Line{Match.captured(1).toUInt(nullptr, 16), Match.captured(3).isEmpty() ? 2 : 4, Match.captured(4).trimmed(),
                  Match.captured(5)};
        if (Line.sOperands.isEmpty()) { // "cpsid i" comes without a tab
            Line.sOperands = Line.sMnemonic.section(' ', 1);
            Line.sMnemonic = Line.sMnemonic.section(' ', 0, 0);
        }
        static const QRegularExpression Constant(QStringLiteral("^(s|d)\\d+, #(\\d+)"));
        if (const auto Move = Constant.match(Line.sOperands); Line.sMnemonic.startsWith("vmov") && Move.hasMatch()) {
            const QString sValue = QString::number(ExpandConstant(Move.captured(2).toInt()), 'e', 8);
            Line.sOperands = Line.sOperands.section(',', 0, 0) + ", #" + sValue;
        }
        if (Line.sMnemonic.startsWith('.') || Line.sMnemonic.startsWith('<')) continue;
        aLine.append(Line);
    }
    return aLine;
}

QString NormaliseOperands(QString s) {
    s = s.toLower();
    static const QRegularExpression Comment(QStringLiteral("[;@<]"));
    s = s.left(s.indexOf(Comment));
    QStringList aToken;
    static const QRegularExpression Token(QStringLiteral("[\\w.+-]+|[\\[\\]{}!:]"));
    for (auto It = Token.globalMatch(s); It.hasNext();) {
        const QString sToken = It.next().captured(0);
        static const QHash<QString, QString> Alias{{"sb", "r9"}, {"sl", "r10"}, {"fp", "r11"}, {"ip", "r12"}};
        aToken << ExpandRange(NormaliseNumber(Alias.value(sToken, sToken)));
    }
    return aToken.join(',').replace(QStringLiteral(",0,]"), QStringLiteral(",]"));
}

QString NormaliseMnemonic(QString s) {
    s = s.toLower();
    static const QRegularExpression Width(QStringLiteral("\\.[nw]$"));
    s.remove(Width);
    return s;
}

QString NormaliseText(const QString& sMnemonic, const QString& sOperands) {
    QString m = NormaliseMnemonic(sMnemonic);
    QString o = NormaliseOperands(sOperands);
    static const QRegularExpression Suffix(QStringLiteral("^(v?)(ldm|stm)ia"));
    m.replace(Suffix, QStringLiteral("\\1\\2"));
    if (o.startsWith("sp,!,")) {
        static const QRegularExpression Pop(QStringLiteral("^(v?)ldm"));
        static const QRegularExpression Push(QStringLiteral("^(v?)stmdb"));
        m.replace(Pop, QStringLiteral("\\1pop"));
        m.replace(Push, QStringLiteral("\\1push"));
        if (m.contains("pop") || m.contains("push")) o = o.mid(5);
    }
    if (m == "mov" && o == "r8,r8") return QStringLiteral("nop ");
    if (m.startsWith("neg")) m.replace("neg", "rsb"), o += ",0";
    if (m == "add" && o.contains(",pc,")) m = "adr", o.replace(",pc,", ",");
    static const QRegularExpression SameCarry(QStringLiteral("(hs|lo)(?=$|\\.)"));
    static const auto Rename = [](QString& sText) {
        if (const auto Match = SameCarry.match(sText); Match.hasMatch()) {
            sText.replace(Match.capturedStart(), 2, Match.captured(1) == "hs" ? "cs" : "cc");
        }
    };
    Rename(m);
    if (m.startsWith("it")) Rename(o);
    QStringList aOperand = o.split(',');
    static const QRegularExpression Move(QStringLiteral("^mov(.*)$"));
    static const QStringList asShift{"lsl", "lsr", "asr", "ror", "rrx"};
    if (const auto Match = Move.match(m); Match.hasMatch() && aOperand.size() > 2 && asShift.contains(aOperand[2])) {
        m = aOperand.takeAt(2) + Match.captured(1);
    }
    if (aOperand.size() == 3 && aOperand[0] == aOperand[2] && aOperand[1] != "[") aOperand.removeLast();
    if (aOperand.size() == 3 && aOperand[0] == aOperand[1]) aOperand.removeAt(1);
    return m + ' ' + aOperand.join(',');
}

U32 GetExpectedFlags(const LINE& Line) {
    const QString m = NormaliseMnemonic(Line.sMnemonic);
    const QString o = NormaliseOperands(Line.sOperands);
    static const QRegularExpression Jump(QStringLiteral("^b(eq|ne|cs|cc|hs|lo|mi|pl|vs|vc|hi|ls|ge|lt|gt|le|al)?$"));
    static const QRegularExpression Call(QStringLiteral("^bl(eq|ne|cs|cc|hs|lo|mi|pl|vs|vc|hi|ls|ge|lt|gt|le|al)?$"));
    static const QRegularExpression Reg(QStringLiteral("^(bx|bxns|mov)(eq|ne|cs|cc|hs|lo|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?$"));
    const U32 Direct = CORE_INST_BRANCH | CORE_INST_DIRECT;
    if (Call.match(m).hasMatch()) return Direct | CORE_INST_CALL;
    if (Jump.match(m).hasMatch() || m == "cbz" || m == "cbnz") return Direct;
    if (m.startsWith("blx")) return CORE_INST_BRANCH | CORE_INST_CALL;
    if (m.startsWith("bx")) return CORE_INST_BRANCH | (o == "lr" ? CORE_INST_RETURN : 0u);
    if (m.startsWith("pop") || m.startsWith("ldm")) return o.contains("pc") ? CORE_INST_BRANCH | CORE_INST_RETURN : 0u;
    if (m == "tbb" || m == "tbh") return CORE_INST_BRANCH;
    if (Reg.match(m).hasMatch() && o.startsWith("pc")) return CORE_INST_BRANCH | (o == "pc,lr" ? CORE_INST_RETURN : 0u);
    if (m.startsWith("ldr") && o.startsWith("pc")) return CORE_INST_BRANCH | (o.contains("sp") ? CORE_INST_RETURN : 0u);
    if (m.startsWith("add") && o.startsWith("pc")) return CORE_INST_BRANCH;
    if (m == "svc" || m == "udf") return CORE_INST_FLOW_OTHER;
    if (m == "bkpt") return CORE_INST_SKIP_ON_RESUME;
    if (m.startsWith("it")) return CORE_INST_PREFIX;
    return 0;
}
