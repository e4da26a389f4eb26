#include "program/eval/cctype.h"

#include "program/eval/exprtokens.h"

namespace {

struct BASE_TYPE_ROW {
    int Id;
    U32 Size;
    const char* Name;
};
constexpr BASE_TYPE_ROW BASE_TYPES[] = {
    {CC_BOOL, 1, "bool"},           {CC_INT, 4, "int"},
    {CC_UINT, 4, "unsigned int"},   {CC_LLONG, 8, "long long int"},
    {CC_ULLONG, 8, "long long unsigned int"}, {CC_DOUBLE, 8, "double"},
    {CC_VOID_PTR, 4, "void*"},      {CC_LONG, 4, "long int"},
    {CC_SHORT, 2, "short"},         {CC_CHAR, 1, "char"},
    {CC_ULONG, 4, "long unsigned int"}, {CC_USHORT, 2, "unsigned short"},
    {CC_UCHAR, 1, "unsigned char"}, {CC_FLOAT, 4, "float"},
};

/// Spellings, normalised to single blanks; longer ones before their suffixes.
struct SPELLING {
    const char* Text;
    int Id;
};
constexpr SPELLING SPELLINGS[] = {
    {"bool", CC_BOOL}, {"_Bool", CC_BOOL}, {"uchar", CC_UCHAR}, {"ushort", CC_USHORT}, {"uint", CC_UINT},
    {"long ulong", CC_ULLONG}, {"ulong", CC_ULONG}, {"char", CC_CHAR}, {"short", CC_SHORT}, {"int", CC_INT},
    {"long long", CC_LLONG}, {"long", CC_LONG}, {"float", CC_FLOAT}, {"double", CC_DOUBLE},
};

/// "long unsigned int" -> "ulong", "short int" -> "short", ...: one spelling for what C writes in many ways.
QString NormaliseBase(const QString& sText)
{
    QStringList Words = sText.split(' ', Qt::SkipEmptyParts);
    const bool Unsigned = Words.removeAll(QStringLiteral("unsigned")) > 0;
    Words.removeAll(QStringLiteral("signed"));
    const auto Longs = Words.count(QStringLiteral("long"));
    const bool IsInt = Words.removeAll(QStringLiteral("int")) > 0;
    QString sBase = Words.join(' ');
    if (sBase.isEmpty() && (IsInt || Unsigned || sText.contains("signed"))) sBase = QStringLiteral("int");
    if (!Unsigned) return sBase;
    if (Longs == 2) return QStringLiteral("long ulong");
    return 'u' + sBase;
}

int FindId(const QString& sBase)
{
    const QString s = NormaliseBase(sBase);
    for (const SPELLING& Spelling : SPELLINGS)
        if (s == QLatin1String(Spelling.Text)) return Spelling.Id;
    return s.startsWith(QStringLiteral("enum ")) ? CC_ENUM : CC_UNKNOWN;
}

/// The id of a DWARF base type, from its encoding and size: names differ between compilers.
int IdOfBaseType(ELF_SYM_HANDLE hType)
{
    enum { DW_AT_encoding = 0x3E };
    enum { ATE_BOOLEAN = 2, ATE_FLOAT = 4, ATE_SIGNED = 5, ATE_SIGNED_CHAR = 6, ATE_UNSIGNED = 7, ATE_UNSIGNED_CHAR = 8,
           ATE_UTF = 0x10 };
    const U32 Size = ELF_GetSymSize(hType);
    bool Found = false;
    const U64 Encoding = ELF_GetSymAttr(hType, DW_AT_encoding, &Found);
    if (!Found) return CC_UNKNOWN;
    const bool IsLong = QString::fromUtf8(ELF_GetSymName(hType)).contains(QStringLiteral("long"));
    switch (Encoding) {
    case ATE_BOOLEAN: return CC_BOOL;
    case ATE_FLOAT: return Size == 4 ? CC_FLOAT : Size == 8 ? CC_DOUBLE : CC_UNKNOWN;
    case ATE_SIGNED_CHAR:
    case ATE_SIGNED:
        return Size == 1 ? CC_CHAR : Size == 2 ? CC_SHORT : Size == 4 ? (IsLong ? CC_LONG : CC_INT) : Size == 8 ? CC_LLONG
                                                                                                                : CC_UNKNOWN;
    case ATE_UNSIGNED_CHAR:
        // Plain char is unsigned on ARM; its text is still that of a character.
        return Size == 1 ? (QLatin1String(ELF_GetSymName(hType)) == QLatin1String("char") ? CC_CHAR : CC_UCHAR) : CC_UNKNOWN;
    case ATE_UTF:
    case ATE_UNSIGNED:
        return Size == 1 ? CC_UCHAR : Size == 2 ? CC_USHORT : Size == 4 ? (IsLong ? CC_ULONG : CC_UINT)
                                                          : Size == 8   ? CC_ULLONG
                                                                        : CC_UNKNOWN;
    default: return CC_UNKNOWN;
    }
}

constexpr int MAX_TYPE_DEPTH = 16; ///< levels of pointers and arrays that are followed

} // namespace

U32 CCType::GetSizeOfId(int TypeId)
{
    if (TypeId == CC_ENUM) return 4;
    for (const BASE_TYPE_ROW& Row : BASE_TYPES)
        if (Row.Id == TypeId) return Row.Size;
    return 0;
}

QString CCType::GetNameOfId(int TypeId)
{
    for (const BASE_TYPE_ROW& Row : BASE_TYPES)
        if (Row.Id == TypeId) return QString::fromLatin1(Row.Name);
    return {};
}

CCType CCType::FromId(int TypeId)
{
    CCType Type;
    Type.TypeId = TypeId;
    Type.Size = GetSizeOfId(TypeId);
    Type.Text = Type.BaseText = GetNameOfId(TypeId);
    return Type;
}

CCType CCType::FromText(const QString& sText)
{
    static const QStringList MODIFIERS = {"const", "restrict", "volatile", "static", "register", "extern", "typedef", "auto"};
    CCType Type;
    Type.Text = sText;
    QStringList Tokens;
    if (EXPR_Tokenise(sText, &Tokens) < 0) return Type;
    qsizetype i = 0;
    QStringList Words;
    for (; i < Tokens.size(); i++) {
        if (MODIFIERS.contains(Tokens[i]))
            Type.Modifiers.append(Tokens[i]);
        else if (EXPR_IsIdentifier(Tokens[i]))
            Words.append(Tokens[i]);
        else
            break;
    }
    Type.BaseText = Words.join(' ');
    Type.TypeId = FindId(Type.BaseText);
    U32 Count = 0;
    for (; i < Tokens.size(); i++) {
        if (Tokens[i] == "*") {
            Type.Declarators.append(QStringLiteral("*"));
        } else if (Tokens[i] == "[" || Tokens[i] == "[]") {
            Type.Declarators.append(QStringLiteral("[]"));
            bool Ok = false;
            const U32 n = i + 1 < Tokens.size() ? Tokens[i + 1].toUInt(&Ok, 10) : 0;
            if (Ok) Count = Count ? Count * n : n;
        }
    }
    Type.ElementCount = Count;
    if (sText.trimmed().isEmpty())
        Type.Size = 0;
    else if (Type.IsPointer())
        Type.Size = 4;
    else if (Type.IsArray())
        Type.Size = std::max<U32>(GetSizeOfId(Type.TypeId) * Count, 4);
    else
        Type.Size = GetSizeOfId(Type.TypeId);
    return Type;
}

CCType CCType::FromSymbol(ELF_SYM_HANDLE hSym)
{
    CCType Type;
    Type.Text = QString::fromUtf8(ELF_GetSymTypeText(hSym));
    ELF_SYM_HANDLE hType = ELF_GetSymType(hSym, true);
    Type.Size = ELF_GetSymSize(hType);
    for (int Depth = 0; hType && Depth < MAX_TYPE_DEPTH; Depth++) {
        switch (ELF_GetSymTag(hType)) {
        case ELF_TAG_POINTER: Type.Declarators.prepend(QStringLiteral("*")); break;
        case ELF_TAG_ARRAY: {
            ELF_ARRAY_INFO Info;
            if (Depth == 0 && ELF_GetArrayInfo(hType, &Info) == 0) {
                Type.Size = Info.TotalSize;
                Type.ElementCount = Info.NumElems;
            }
            Type.Declarators.prepend(QStringLiteral("[]"));
            break;
        }
        case ELF_TAG_REFERENCE:
        case ELF_TAG_RVALUE_REFERENCE: break;
        case ELF_TAG_BASE_TYPE:
            Type.TypeId = IdOfBaseType(hType);
            Type.BaseText = QString::fromUtf8(ELF_GetSymName(hType));
            return Type;
        case ELF_TAG_ENUM:
            Type.TypeId = CC_ENUM;
            Type.BaseText = QString::fromUtf8(ELF_GetSymName(hType));
            return Type;
        default: Type.BaseText = QString::fromUtf8(ELF_GetSymName(hType)); return Type;
        }
        const ELF_SYM_HANDLE hNext = ELF_GetSymType(hType);
        if (hNext == hType) break;
        hType = hNext;
    }
    // A pointer to nothing that has a type.
    if (Type.Declarators == QStringList{"*"}) {
        Type.TypeId = CC_VOID_PTR;
        Type.BaseText = QStringLiteral("void");
    }
    return Type;
}

bool CCType::IsIntegral() const
{
    if (IsPointer() || TypeId == CC_ENUM) return true;
    if (!Declarators.isEmpty()) return false;
    switch (TypeId) {
    case CC_BOOL: case CC_CHAR: case CC_UCHAR: case CC_SHORT: case CC_USHORT: case CC_INT: case CC_UINT: case CC_LONG:
    case CC_ULONG: case CC_LLONG: case CC_ULLONG: return true;
    default: return false;
    }
}

bool CCType::IsSignedIntegral() const
{
    if (IsPointer()) return false;
    if (TypeId == CC_ENUM) return true;
    if (!Declarators.isEmpty()) return false;
    switch (TypeId) {
    case CC_UNKNOWN: case CC_UCHAR: case CC_USHORT: case CC_UINT: case CC_ULONG: case CC_ULLONG: case CC_VOID_PTR:
        return false;
    default: return true;
    }
}
