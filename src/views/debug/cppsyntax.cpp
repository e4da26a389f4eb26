#include "views/debug/cppsyntax.h"

#include <QSet>
#include <QStringView>

namespace {

const QSet<QString>& Keywords()
{
    static const QSet<QString> s_Keywords = [] {
        const QString sAll = QStringLiteral(
            "alignas alignof and and_eq asm auto bitand bitor bool break case catch char char16_t char32_t class compl const "
            "constexpr const_cast continue decltype default delete do double dynamic_cast else enum explicit export extern "
            "false final float for friend goto if inline int long mutable namespace new noexcept not not_eq nullptr operator "
            "or or_eq override private protected public register reinterpret_cast return short signed sizeof static "
            "static_assert static_cast struct switch template this thread_local throw true try typedef typeid typename uchar "
            "uint ulong ushort union unsigned using virtual void volatile wchar_t while xor xor_eq null");
        const QStringList Words = sAll.split(u' ');
        return QSet<QString>(Words.begin(), Words.end());
    }();
    return s_Keywords;
}

const QSet<QString>& Directives()
{
    static const QSet<QString> s_Directives{
        QStringLiteral("include"), QStringLiteral("define"), QStringLiteral("undef"), QStringLiteral("if"),
        QStringLiteral("ifdef"),   QStringLiteral("ifndef"), QStringLiteral("error"), QStringLiteral("pragma"),
        QStringLiteral("else"),    QStringLiteral("elif"),   QStringLiteral("endif")};
    return s_Directives;
}

bool IsWordStart(QChar Char) { return Char.isLetter() || Char == u'_'; }
bool IsWord(QChar Char) { return Char.isLetterOrNumber() || Char == u'_'; }

/// End of a string or character constant that starts at Pos; an unfinished one ends with the line.
int SkipString(const QString& sLine, int Pos)
{
    const QChar Quote = sLine[Pos++];
    while (Pos < sLine.size() && sLine[Pos] != Quote) Pos += sLine[Pos] == u'\\' ? 2 : 1;
    return qMin(Pos + 1, int(sLine.size()));
}

class CScanner {
public:
    CScanner(const QString& sLine, QList<SYNTAX_SPAN>* pSpans) : m_sLine(sLine), m_pSpans(pSpans) {}

    SYNTAX_STATE Run(SYNTAX_STATE State)
    {
        if (State == SYNTAX_STATE_LINE_COMMENT) return LineComment(0);
        int Pos = 0;
        if (State == SYNTAX_STATE_COMMENT && (Pos = BlockComment(0, 0)) < 0) return SYNTAX_STATE_COMMENT;
        bool OnlyBlanks = Pos == 0;
        while (Pos < m_sLine.size()) {
            const QChar Char = m_sLine[Pos];
            const QChar Next = Pos + 1 < m_sLine.size() ? m_sLine[Pos + 1] : QChar();
            if (Char == u'/' && Next == u'/') return LineComment(Pos);
            if (Char == u'/' && Next == u'*') {
                if ((Pos = BlockComment(Pos, Pos + 2)) < 0) return SYNTAX_STATE_COMMENT;
                continue;
            }
            if (Char == u'#' && OnlyBlanks)
                Pos = Directive(Pos);
            else if (Char == u'"' || (Char == u'\'' && (Pos == 0 || !IsWord(m_sLine[Pos - 1])))) {
                const int End = SkipString(m_sLine, Pos);
                Add(Pos, End - Pos, SYNTAX_STRING);
                Pos = End;
            } else if (IsWordStart(Char)) {
                int End = Pos;
                while (End < m_sLine.size() && IsWord(m_sLine[End])) End++;
                if (Keywords().contains(m_sLine.mid(Pos, End - Pos))) Add(Pos, End - Pos, SYNTAX_KEYWORD);
                Pos = End;
            } else if (Char.isDigit())
                while (Pos < m_sLine.size() && (IsWord(m_sLine[Pos]) || m_sLine[Pos] == u'\'')) Pos++;
            else
                Pos++;
            if (!Char.isSpace()) OnlyBlanks = false;
        }
        return SYNTAX_STATE_CODE;
    }

private:
    void Add(int Pos, int Length, SYNTAX_CLASSES Class)
    {
        if (m_pSpans && Length > 0) m_pSpans->append({Pos, Length, Class});
    }
    SYNTAX_STATE LineComment(int Pos)
    {
        Add(Pos, int(m_sLine.size()) - Pos, SYNTAX_COMMENT);
        return m_sLine.endsWith(u'\\') ? SYNTAX_STATE_LINE_COMMENT : SYNTAX_STATE_CODE;
    }
    /// Position behind the comment, -1 when it goes on in the next line.
    int BlockComment(int Pos, int SearchFrom)
    {
        const int End = int(m_sLine.indexOf(QLatin1String("*/"), SearchFrom));
        Add(Pos, (End < 0 ? int(m_sLine.size()) : End + 2) - Pos, SYNTAX_COMMENT);
        return End < 0 ? -1 : End + 2;
    }
    int Directive(int Pos)
    {
        int Word = Pos + 1;
        while (Word < m_sLine.size() && m_sLine[Word].isSpace()) Word++;
        int End = Word;
        while (End < m_sLine.size() && IsWord(m_sLine[End])) End++;
        const QString sName = m_sLine.mid(Word, End - Word);
        if (!Directives().contains(sName)) return Pos + 1;
        // "#if defined" and "#elif defined" are directives as a whole.
        if (sName == QLatin1String("if") || sName == QLatin1String("elif")) {
            int Next = End;
            while (Next < m_sLine.size() && m_sLine[Next].isSpace()) Next++;
            if (QStringView(m_sLine).mid(Next).startsWith(QLatin1String("defined"))) End = Next + 7;
        }
        Add(Pos, End - Pos, SYNTAX_DIRECTIVE);
        if (sName == QLatin1String("include")) {
            const int Open = int(m_sLine.indexOf(u'<', End));
            const int Close = int(m_sLine.indexOf(u'>', Open));
            if (Open >= 0 && Close > Open) {
                Add(Open, Close - Open + 1, SYNTAX_STRING);
                return Close + 1;
            }
        }
        return End;
    }

    const QString& m_sLine;
    QList<SYNTAX_SPAN>* m_pSpans;
};

} // namespace

SYNTAX_STATE ScanSyntax(const QString& sLine, SYNTAX_STATE State, QList<SYNTAX_SPAN>* pSpans)
{
    return CScanner(sLine, pSpans).Run(State);
}

QStringList EraseComments(const QStringList& Lines)
{
    QStringList Erased;
    Erased.reserve(Lines.size());
    SYNTAX_STATE State = SYNTAX_STATE_CODE;
    QList<SYNTAX_SPAN> Spans;
    for (const QString& sLine : Lines) {
        Spans.clear();
        State = ScanSyntax(sLine, State, &Spans);
        QString sPlain = sLine;
        for (const SYNTAX_SPAN& Span : std::as_const(Spans))
            if (Span.Class == SYNTAX_COMMENT)
                for (int i = Span.Pos; i < Span.Pos + Span.Length; i++) sPlain[i] = u' ';
        Erased.append(sPlain);
    }
    return Erased;
}

QString GetIncludedFile(const QString& sLine)
{
    const QString sPlain = sLine.trimmed();
    if (!sPlain.startsWith(u'#') || !QStringView(sPlain).mid(1).trimmed().startsWith(QLatin1String("include"))) return QString();
    for (const auto& [Open, Close] : {std::pair{u'"', u'"'}, std::pair{u'<', u'>'}}) {
        const int Start = int(sPlain.indexOf(QChar(Open)));
        const int End = Start < 0 ? -1 : int(sPlain.indexOf(QChar(Close), Start + 1));
        if (End > Start) return sPlain.mid(Start + 1, End - Start - 1);
    }
    return QString();
}

QString GetWordAt(const QString& sLine, int Pos, bool WholeChain, int* pStart)
{
    if (Pos < 0 || Pos > sLine.size()) return QString();
    int Start = Pos;
    int End = Pos;
    while (Start > 0 && IsWord(sLine[Start - 1])) Start--;
    while (End < sLine.size() && IsWord(sLine[End])) End++;
    if (Start == End || sLine[Start].isDigit()) return QString();
    while (WholeChain && Start > 0) {
        const bool IsDot = sLine[Start - 1] == u'.';
        const bool IsArrow = Start > 1 && sLine[Start - 1] == u'>' && sLine[Start - 2] == u'-';
        if (!IsDot && !IsArrow) break;
        int Word = Start - (IsDot ? 1 : 2);
        // An element of an array belongs to the chain.
        if (Word > 0 && sLine[Word - 1] == u']') {
            const int Open = int(sLine.lastIndexOf(u'[', Word - 1));
            if (Open <= 0) break;
            Word = Open;
        }
        int First = Word;
        while (First > 0 && IsWord(sLine[First - 1])) First--;
        if (First == Word) break;
        Start = First;
    }
    if (pStart) *pStart = Start;
    return sLine.mid(Start, End - Start);
}
