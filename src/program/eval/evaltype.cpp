#include "program/eval/evaltype.h"

#include <cmath>
#include <limits>

namespace {

/// The id of a DWARF base type, from its encoding and size: names differ between compilers.
int IdOfBaseType(ELF_SYM_HANDLE hType)
{
    enum { DW_AT_encoding = 0x3E };
    enum { ATE_BOOLEAN = 2, ATE_FLOAT = 4, ATE_SIGNED = 5, ATE_SIGNED_CHAR = 6, ATE_UNSIGNED = 7, ATE_UNSIGNED_CHAR = 8,
           ATE_UTF = 0x10 };
    const U32 Size = ELF_GetSymSize(hType);
    bool Found = false;
    const U64 Encoding = ELF_GetSymAttr(hType, DW_AT_encoding, &Found);
    if (!Found) return CTYPE_UNKNOWN;
    const bool IsLong = QString::fromUtf8(ELF_GetSymName(hType)).contains(QStringLiteral("long"));
    switch (Encoding) {
    case ATE_BOOLEAN: return CTYPE_BOOL;
    case ATE_FLOAT: return Size == 4 || Size == 2 ? CTYPE_FLOAT : Size == 8 ? CTYPE_DOUBLE : CTYPE_UNKNOWN;
    case ATE_SIGNED_CHAR:
    case ATE_SIGNED:
        return Size == 1 ? CTYPE_CHAR : Size == 2 ? CTYPE_SHORT : Size == 4 ? (IsLong ? CTYPE_LONG : CTYPE_INT) : Size == 8 ? CTYPE_LONGLONG
                                                                                                                : CTYPE_UNKNOWN;
    case ATE_UNSIGNED_CHAR:
        // Plain char is unsigned on ARM; its text is still that of a character.
        return Size == 1 ? (QLatin1String(ELF_GetSymName(hType)) == QLatin1String("char") ? CTYPE_CHAR : CTYPE_UCHAR) : CTYPE_UNKNOWN;
    case ATE_UTF:
    case ATE_UNSIGNED:
        return Size == 1 ? CTYPE_UCHAR : Size == 2 ? CTYPE_USHORT : Size == 4 ? (IsLong ? CTYPE_ULONG : CTYPE_UINT)
                                                          : Size == 8   ? CTYPE_ULONGLONG
                                                                        : CTYPE_UNKNOWN;
    default: return CTYPE_UNKNOWN;
    }
}

constexpr int MAX_TYPE_DEPTH = 16; ///< levels of pointers and arrays that are followed

} // namespace

CCType EVAL_MakeType(int TypeId)
{
    CCType Type;
    Type.TypeId = TypeId;
    Type.Size = CCType::GetIdSize(TypeId);
    Type.Text = Type.BaseText = CCType::GetIdName(TypeId);
    return Type;
}

CCType EVAL_GetType(ELF_SYM_HANDLE hSym)
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
                Type.NumElems = Info.NumElems;
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
            Type.TypeId = CTYPE_ENUM;
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
        Type.TypeId = CTYPE_VOIDPTR;
        Type.BaseText = QStringLiteral("void");
    }
    return Type;
}

I64 EVAL_ToInteger(double Value)
{
    constexpr double LIMIT = 9223372036854775808.0;
    if (std::isnan(Value)) return 0;
    if (Value >= LIMIT) return std::numeric_limits<I64>::max();
    return Value < -LIMIT ? std::numeric_limits<I64>::min() : I64(Value);
}
