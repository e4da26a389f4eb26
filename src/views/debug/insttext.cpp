#include "views/debug/insttext.h"

#include "project/settings/settingids.h"
#include "views/theme/theme.h"

#include <QPainter>
#include <QRegularExpression>

namespace {

/// Characters of a column, a multiple of the step that leaves a blank.
int GetColumnChars(qsizetype Length) { return (int(Length) / INST_COLUMN_STEP + 1) * INST_COLUMN_STEP; }

int GetOperandColor(const QString& sWord)
{
    static const QRegularExpression s_Immediate(QStringLiteral("^(#.*|-?0[xX][0-9A-Fa-f]+|-?[0-9]+)$"));
    static const QRegularExpression s_Register(
        QStringLiteral("^(r\\d+|sp|lr|pc|ip|fp|s\\d+|d\\d+|q\\d+|[xa]\\d+|t\\d+|ra|gp|tp|zero|apsr|xpsr|msp|psp|primask|control|basepri|faultmask|fpscr)(_\\w+)?!?$"),
        QRegularExpression::CaseInsensitiveOption);
    if (s_Immediate.match(sWord).hasMatch()) return COLOR_SYNTAX_IMMEDIATE;
    if (s_Register.match(sWord).hasMatch()) return COLOR_SYNTAX_REGISTER;
    return COLOR_SYNTAX_TEXT;
}

} // namespace

void PaintInst(QPainter& Painter, QPoint TopLeft, int RowHeight, double CharWidth, const VIEW_INST& Inst, const QColor& Single)
{
    int Column = 0;
    auto Draw = [&](const QString& sText, const QColor& Color) {
        Painter.setPen(Single.isValid() ? Single : Color);
        Painter.drawText(QRectF(TopLeft.x() + Column * CharWidth, TopLeft.y(), double(sText.size() + 2) * CharWidth, RowHeight),
                         Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, sText);
    };
    Draw(FormatAddr(Inst.Addr, false), CTheme::GetWeakTextColor());
    Column += INST_COLUMN_STEP;
    if (!Inst.sEncoding.isEmpty()) {
        Draw(Inst.sEncoding, CTheme::GetWeakTextColor());
        Column += GetColumnChars(Inst.sEncoding.size());
    }
    static const QRegularExpression s_Blanks(QStringLiteral("\\s+"));
    const int MnemonicEnd = int(Inst.sText.indexOf(s_Blanks));
    const QString sMnemonic = MnemonicEnd < 0 ? Inst.sText : Inst.sText.left(MnemonicEnd);
    Draw(sMnemonic, CTheme::GetColor(COLOR_SYNTAX_MNEMONIC));
    if (MnemonicEnd < 0) return;
    Column += qMax(8, int(sMnemonic.size()) + 1);
    const QString sOperands = Inst.sText.mid(MnemonicEnd).trimmed();
    for (int Pos = 0; Pos < sOperands.size();) {
        // A comment or label behind ";" stays one piece.
        int End = Pos;
        if (sOperands[Pos] == u';') {
            End = int(sOperands.size());
        } else {
            const auto IsPart = [](QChar Char) { return Char.isLetterOrNumber() || Char == u'_' || Char == u'#' || Char == u'-'; };
            const bool Word = IsPart(sOperands[Pos]);
            while (End < sOperands.size() && sOperands[End] != u';' && IsPart(sOperands[End]) == Word) End++;
        }
        const QString sPiece = sOperands.mid(Pos, End - Pos);
        Draw(sPiece, CTheme::GetColor(sPiece.startsWith(u';') ? COLOR_SYNTAX_COMMENT : GetOperandColor(sPiece)));
        Column += int(sPiece.size());
        Pos = End;
    }
}

QString GetInstLine(const VIEW_INST& Inst)
{
    QStringList Columns{FormatAddr(Inst.Addr, false)};
    if (!Inst.sEncoding.isEmpty()) Columns.append(Inst.sEncoding);
    Columns.append(Inst.sText.simplified());
    return Columns.join(u'\t');
}
