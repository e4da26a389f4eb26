// Types from texts.
#include "program/symbols/ctype.h"
#include "app/services/log.h"
#include "program/symbols/typenames.h"

namespace {

struct BASE_ROW {
    int Id;
    U32 Size;
    const char* sName;
};
constexpr BASE_ROW BASE_TYPES[] = {
    {CTYPE_BOOL, 1, "bool"},
    {CTYPE_INT, 4, "int"},
    {CTYPE_UINT, 4, "unsigned int"},
    {CTYPE_LONGLONG, 8, "long long int"},
    {CTYPE_ULONGLONG, 8, "long long unsigned int"},
    {CTYPE_DOUBLE, 8, "double"},
    {CTYPE_VOIDPTR, 4, "void*"},
    {CTYPE_LONG, 4, "long int"},
    {CTYPE_SHORT, 2, "short"},
    {CTYPE_CHAR, 1, "char"},
    {CTYPE_ULONG, 4, "long unsigned int"},
    {CTYPE_USHORT, 2, "unsigned short"},
    {CTYPE_UCHAR, 1, "unsigned char"},
    {CTYPE_FLOAT, 4, "float"},
};

struct END_ROW {
    const char* sEnd;
    int Id;
};
/// Ends of normalised identifiers, longer ones before those that they end with.
constexpr END_ROW TYPE_ENDS[] = {
    {"bool", CTYPE_BOOL},       {"_Bool", CTYPE_BOOL},   {"uchar", CTYPE_UCHAR}, {"ushort", CTYPE_USHORT},
    {"uint", CTYPE_UINT},       {"long ulong", CTYPE_ULONGLONG}, {"ulong", CTYPE_ULONG}, {"char", CTYPE_CHAR},
    {"short", CTYPE_SHORT},     {"int", CTYPE_INT},      {"long long", CTYPE_LONGLONG}, {"long", CTYPE_LONG},
    {"float", CTYPE_FLOAT},     {"double", CTYPE_DOUBLE},
};

constexpr U32 POINTER_SIZE = 4;

bool IsModifier(const QString& sToken)
{
    static const QStringList MODIFIERS{"const", "restrict", "volatile", "static", "register", "extern", "typedef", "auto"};
    return MODIFIERS.contains(sToken);
}

bool IsWordChar(QChar c) { return c.isLetterOrNumber() || c == QLatin1Char('_') || c == QLatin1Char(':') || c == QLatin1Char('$'); }

QStringList Tokens(const QString& sText)
{
    QStringList asToken;
    for (qsizetype i = 0; i < sText.size();) {
        if (sText[i].isSpace()) {
            i++;
            continue;
        }
        qsizetype End = i + 1;
        if (IsWordChar(sText[i])) {
            while (End < sText.size() && IsWordChar(sText[End])) End++;
        }
        asToken.append(sText.mid(i, End - i));
        i = End;
    }
    return asToken;
}

bool IsIdentifier(const QString& sToken) { return IsWordChar(sToken[0]) && !sToken[0].isDigit(); }

int IdOf(const QString& sIdentifier)
{
    for (const END_ROW& Row : TYPE_ENDS) {
        const QLatin1String End(Row.sEnd);
        // The end must be whole words: "point" is no "int".
        if (sIdentifier == End || sIdentifier.endsWith(QLatin1Char(' ') + QString(End))) return Row.Id;
    }
    return sIdentifier.startsWith(QLatin1String("enum")) ? CTYPE_ENUM : CTYPE_UNKNOWN;
}

} // namespace

CCType::CCType(const QString& sTypeText) : Text(sTypeText)
{
    const QStringList asToken = Tokens(sTypeText);
    qsizetype Pos = 0;
    while (Pos < asToken.size() && IsModifier(asToken[Pos])) Modifiers.append(asToken[Pos++]);
    if (Pos > 0 && Pos == asToken.size()) LogWarning(QStringLiteral("Error parsing type modifiers: ") + sTypeText); // of no type
    QStringList asWord;
    for (; Pos < asToken.size() && IsIdentifier(asToken[Pos]); Pos++) {
        // "char const*" means the same as "const char*".
        if (IsModifier(asToken[Pos])) Modifiers.append(asToken[Pos]);
        else asWord.append(asToken[Pos]);
    }
    if (asWord.isEmpty() && Pos < asToken.size()) LogWarning(QStringLiteral("Error parsing type identifier: ") + sTypeText);
    BaseText = QString::fromStdString(NormalizedTypeName(asWord.join(QLatin1Char(' ')).toStdString()));
    bool InArray = false;
    U64 Count = 1;
    bool CountGood = true;
    for (; Pos < asToken.size(); Pos++) {
        const QString& sToken = asToken[Pos];
        if (sToken == QLatin1String("*")) {
            Declarators.append(QStringLiteral("*"));
        } else if (sToken == QLatin1String("[")) {
            Declarators.append(QStringLiteral("[]"));
            InArray = true;
            if (Pos + 1 < asToken.size() && asToken[Pos + 1] != QLatin1String("]") && CountGood) {
                const U32 Dim = asToken[Pos + 1].toUInt(&CountGood);
                if (CountGood) Count = Count * Dim > 0xFFFFFFFFull ? 0xFFFFFFFFull : Count * Dim;
                else LogWarning(QStringLiteral("Error parsing array size: ") + sTypeText);
                Pos++;
            }
        } else if (sToken == QLatin1String("]") && InArray) {
            InArray = false;
        } else if (!IsModifier(sToken) && sToken != QLatin1String("(") && sToken != QLatin1String(")")) {
            LogWarning(QStringLiteral("Error parsing type declarators: ") + sTypeText);
            break;
        }
    }
    NumElems = static_cast<U32>(Count);
    TypeId = BaseText.isEmpty() ? CTYPE_UNKNOWN : IdOf(BaseText);
    if (sTypeText.isEmpty()) return;
    if (IsPointer() || (TypeId == CTYPE_ENUM && Declarators.isEmpty())) {
        Size = POINTER_SIZE;
    } else if (IsArray()) {
        const bool OfPointers = Declarators.contains(QStringLiteral("*"));
        const U64 ElemSize = OfPointers || TypeId == CTYPE_ENUM ? POINTER_SIZE : GetIdSize(TypeId);
        const U64 Total = ElemSize * NumElems;
        Size = Total ? static_cast<U32>(Total > 0xFFFFFFFFull ? 0xFFFFFFFFull : Total) : POINTER_SIZE;
    } else {
        Size = GetIdSize(TypeId);
    }
}

U32 CCType::GetIdSize(int Id)
{
    for (const BASE_ROW& Row : BASE_TYPES) {
        if (Row.Id == Id) return Row.Size;
    }
    return 0;
}

QString CCType::GetIdName(int Id)
{
    for (const BASE_ROW& Row : BASE_TYPES) {
        if (Row.Id == Id) return QString::fromLatin1(Row.sName);
    }
    return {};
}

bool CCType::IsSignedIntegral() const
{
    if (IsPointer()) return false;
    if (TypeId == CTYPE_ENUM) return true;
    if (!Declarators.isEmpty() || TypeId == CTYPE_UNKNOWN) return false;
    switch (TypeId) {
    case CTYPE_UCHAR:
    case CTYPE_USHORT:
    case CTYPE_UINT:
    case CTYPE_ULONG:
    case CTYPE_ULONGLONG:
    case CTYPE_VOIDPTR: return false;
    default: return true;
    }
}

bool CCType::IsIntegral() const
{
    if (IsPointer() || TypeId == CTYPE_ENUM) return true;
    if (!Declarators.isEmpty()) return false;
    switch (TypeId) {
    case CTYPE_BOOL:
    case CTYPE_CHAR:
    case CTYPE_UCHAR:
    case CTYPE_SHORT:
    case CTYPE_USHORT:
    case CTYPE_INT:
    case CTYPE_UINT:
    case CTYPE_LONG:
    case CTYPE_ULONG:
    case CTYPE_LONGLONG:
    case CTYPE_ULONGLONG: return true;
    default: return false;
    }
}
