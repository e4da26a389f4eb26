#include "program/eval/exprtokens.h"

#include <QRegularExpression>
#include <cmath>

namespace {

constexpr EXPR_OPERATOR OPERATORS[] = {
    {OP_POST_INC, "++", false, true, 1}, {OP_POST_DEC, "--", false, true, 1}, {OP_OPEN_INDEX, "[", true, true, 1},
    {OP_CLOSE_INDEX, "]", false, false, 1}, {OP_INDEX, "[]", true, true, 1}, {OP_MEMBER, ".", true, true, 1},
    {OP_ARROW, "->", true, true, 1}, {OP_OPEN, "(", false, true, 1}, {OP_CLOSE, ")", false, true, 1},
    {OP_CAST, "$", true, true, 1}, {OP_SCOPE, "::", true, true, 1}, {OP_PRE_INC, "++", false, true, 2},
    {OP_PRE_DEC, "--", false, true, 2}, {OP_COMPL, "~", false, false, 2}, {OP_NOT, "!", false, false, 2},
    {OP_DEREF, "`", false, false, 2}, {OP_ADDR, "@", false, false, 2}, {OP_SIZEOF, "sizeof", false, false, 2},
    {OP_PLUS, "#", false, false, 2}, {OP_MINUS, "'", false, false, 2}, {OP_MUL, "*", true, true, 3},
    {OP_DIV, "/", true, true, 3}, {OP_MOD, "%", true, true, 3}, {OP_ADD, "+", true, true, 4},
    {OP_SUB, "-", true, true, 4}, {OP_SHL, "<<", true, true, 5}, {OP_SHR, ">>", true, true, 5},
    {OP_LT, "<", true, true, 6}, {OP_LE, "<=", true, true, 6}, {OP_GT, ">", true, true, 6},
    {OP_GE, ">=", true, true, 6}, {OP_EQ, "==", true, true, 7}, {OP_NE, "!=", true, true, 7},
    {OP_AND, "&", true, true, 8}, {OP_XOR, "^", true, true, 9}, {OP_OR, "|", true, true, 10},
    {OP_LOG_AND, "&&", true, true, 11}, {OP_LOG_OR, "||", true, true, 12},
};

bool IsDigit(QChar c) { return c >= '0' && c <= '9'; }
bool IsLetter(QChar c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsHexLetter(QChar c) { return (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

/// "*", "&", "+", "-" where no operand stands before them.
void ResolveAmbiguous(QStringList& Tokens)
{
    for (qsizetype i = 0; i < Tokens.size(); i++) {
        if (i > 0 && (Tokens[i - 1] == ")" || Tokens[i - 1] == "]")) continue;
        if (i > 0 && !EXPR_FindOperator(Tokens[i - 1])) continue;
        if (Tokens[i] == "*") Tokens[i] = "`";
        else if (Tokens[i] == "&") Tokens[i] = "@";
        else if (Tokens[i] == "+") Tokens[i] = "#";
        else if (Tokens[i] == "-") Tokens[i] = "'";
    }
}

/// "( char * ) p" -> "char *" "$" "p". Only casts to a pointer or an array exist.
void ResolveCasts(QStringList& t)
{
    for (qsizetype i = 0; i + 1 < t.size(); i++) {
        const bool PointerCast = t[i] == "*" && t[i + 1] == ")";
        const bool ArrayCast = t[i] == "]" && t[i + 1] == ")" && i + 2 < t.size() && !EXPR_FindOperator(t[i + 2]);
        if (!PointerCast && !ArrayCast) continue;
        const qsizetype j = t.lastIndexOf("(", i);
        if (j < 0) {
            if (i == 0) continue;
            t[i - 1] += '*';
            t.removeAt(i);
            continue;
        }
        const QString sType = QStringList(t.mid(j + 1, i - j)).join(' ').trimmed();
        t.erase(t.begin() + j, t.begin() + i + 2);
        t.insert(j, sType);
        t.insert(j + 1, QStringLiteral("$"));
        i = j;
    }
}

/// "main . c :: counter" -> "main.c" "::" "counter".
void ResolveFileScopes(QStringList& t)
{
    for (qsizetype i = 0; i + 3 < t.size(); i++) {
        if (t[i + 1] != "." || t[i + 3] != "::") continue;
        t[i] = t[i] + '.' + t[i + 2];
        t.removeAt(i + 1);
        t.removeAt(i + 1);
    }
}

int ToPostfix(const QStringList& Tokens, QStringList* pOut)
{
    QStringList Stack;
    const auto PopUntil = [&](const char* sOpen) {
        while (!Stack.isEmpty() && Stack.last() != QLatin1String(sOpen)) pOut->append(Stack.takeLast());
        if (Stack.isEmpty()) return false;
        Stack.removeLast();
        return true;
    };
    for (const QString& s : Tokens) {
        const EXPR_OPERATOR* pOp = EXPR_FindOperator(s);
        if (!pOp) {
            pOut->append(s);
        } else if (s == "(" || s == "[") {
            // An index binds to the whole operand before it: members in front are complete by then.
            if (s == "[")
                while (!Stack.isEmpty() && Stack.last() != "(" && Stack.last() != "[" &&
                       EXPR_FindOperator(Stack.last())->Priority <= 1)
                    pOut->append(Stack.takeLast());
            Stack.append(s);
        } else if (s == ")") {
            if (!PopUntil("(")) return -2;
        } else if (s == "]") {
            if (!PopUntil("[")) return -2;
            pOut->append(QStringLiteral("[]"));
        } else {
            while (!Stack.isEmpty() && Stack.last() != "(" && Stack.last() != "[") {
                const int Top = EXPR_FindOperator(Stack.last())->Priority;
                if (!(pOp->LeftAssoc ? pOp->Priority >= Top : pOp->Priority > Top)) break;
                pOut->append(Stack.takeLast());
            }
            Stack.append(s);
        }
    }
    while (!Stack.isEmpty()) {
        if (Stack.last() == "(" || Stack.last() == "[") return -2;
        pOut->append(Stack.takeLast());
    }
    return 0;
}

} // namespace

const EXPR_OPERATOR* EXPR_FindOperator(const QString& sText)
{
    for (const EXPR_OPERATOR& Op : OPERATORS)
        if (sText == QLatin1String(Op.Text)) return &Op;
    return nullptr;
}

bool EXPR_IsIdentifier(const QString& sText)
{
    if (sText.isEmpty() || !(IsLetter(sText[0]) || sText[0] == '_')) return false;
    for (const QChar c : sText)
        if (!IsLetter(c) && !IsDigit(c) && c != '_') return false;
    return true;
}

bool EXPR_ParseNumber(const QString& sText, bool* pIsInteger, U64* pInteger, double* pDouble)
{
    QString s = sText;
    s.replace(',', '.').remove(QChar(0x2008));
    if (s.startsWith(QStringLiteral("b'"))) s = s.mid(2);
    if (s.isEmpty()) return false;
    static const QString UNITS = QStringLiteral("kMGTP");
    double Factor = 1;
    if (const qsizetype Unit = UNITS.indexOf(s.back()); Unit >= 0 && s.size() > 1) {
        s.chop(1);
        Factor = std::pow(1000.0, double(Unit + 1));
    }
    for (int i = 0; i < 2 && !s.isEmpty() && QStringLiteral("lLuU").contains(s.back()); i++) s.chop(1);
    bool Ok = false;
    const U64 Integer = s.toULongLong(&Ok, 0);
    const bool StartOk = !s.isEmpty() && (IsDigit(s[0]) || s[0] == 'x' || s[0] == 'X' || IsHexLetter(s[0]) || s[0] == '-');
    if (Ok && StartOk && Factor == 1) {
        *pIsInteger = true;
        *pInteger = Integer;
        *pDouble = double(Integer);
        return true;
    }
    if (Ok && StartOk) {
        *pIsInteger = true;
        *pInteger = U64(double(Integer) * Factor);
        *pDouble = double(Integer) * Factor;
        return true;
    }
    *pIsInteger = false;
    *pInteger = 0;
    *pDouble = s.toDouble(&Ok) * Factor;
    return Ok;
}

int EXPR_Tokenise(const QString& sText, QStringList* pTokens)
{
    const qsizetype n = sText.size();
    for (qsizetype i = 0; i < n;) {
        const QChar c = sText[i];
        if (c == ' ') {
            i++;
            continue;
        }
        qsizetype End = i;
        if (IsDigit(c)) {
            while (End < n && (IsDigit(sText[End]) || sText[End] == 'x' || sText[End] == 'X' || IsHexLetter(sText[End]) ||
                               sText[End] == '.' || sText[End] == ','))
                End++;
            while (End < n && QStringLiteral("lLuU").contains(sText[End])) End++;
            bool IsInteger = false;
            U64 Integer = 0;
            double Double = 0;
            if (!EXPR_ParseNumber(sText.mid(i, End - i), &IsInteger, &Integer, &Double)) return -2;
        } else if (IsLetter(c) || c == '_') {
            while (End < n && (IsLetter(sText[End]) || IsDigit(sText[End]) || sText[End] == '_')) End++;
        } else if (i + 1 < n && sText.mid(i, 2) != "[]" && EXPR_FindOperator(sText.mid(i, 2))) {
            End = i + 2;
        } else if (EXPR_FindOperator(QString(c)) && !QStringLiteral("$`@#'").contains(c)) {
            End = i + 1;
        } else {
            return -2;
        }
        pTokens->append(sText.mid(i, End - i));
        i = End;
    }
    return 0;
}

int EXPR_Compile(const QString& sText, QStringList* pPostfix, QString* psError)
{
    QStringList Tokens;
    pPostfix->clear();
    if (EXPR_Tokenise(sText, &Tokens) < 0) {
        *psError = QStringLiteral("syntax error");
        return -2;
    }
    ResolveAmbiguous(Tokens);
    ResolveCasts(Tokens);
    ResolveFileScopes(Tokens);
    if (ToPostfix(Tokens, pPostfix) < 0) {
        *psError = QStringLiteral("error converting expression to postfix notation");
        return -2;
    }
    return 0;
}
