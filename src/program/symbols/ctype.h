// A C type written as text, reduced to what casts and literals need: size, base type, pointer and array levels.
//
//   CCType Type("const unsigned char*");
//   if (Type.IsPointer()) ...           // Size 4, TypeId CTYPE_UCHAR
//
// A value class. The ids are constants of our own and independent of the tool kit's version.
#pragma once
#include "app/services/types.h"

#include <QString>
#include <QStringList>

enum CTYPE_ID : int {
    CTYPE_UNKNOWN = -1,
    CTYPE_BOOL = 1,
    CTYPE_INT = 2,
    CTYPE_UINT = 3,
    CTYPE_LONGLONG = 4,
    CTYPE_ULONGLONG = 5,
    CTYPE_DOUBLE = 6,
    CTYPE_VOIDPTR = 128,
    CTYPE_LONG = 129,
    CTYPE_SHORT = 130,
    CTYPE_CHAR = 131,
    CTYPE_ULONG = 132,
    CTYPE_USHORT = 133,
    CTYPE_UCHAR = 134,
    CTYPE_FLOAT = 135,
    CTYPE_ENUM = 257,
};

class CCType {
public:
    CCType() = default;
    explicit CCType(const QString& sTypeText);

    U32 Size = 0;              ///< bytes; 0 if unknown
    int TypeId = CTYPE_UNKNOWN;///< CTYPE_ID of the base type
    QString Text;              ///< the text it was built from
    QString BaseText;          ///< the identifier without its modifiers
    QStringList Modifiers;     ///< "const", "volatile", ...
    QStringList Declarators;   ///< "*" for a pointer level, "[]" for an array level, innermost last
    U32 NumElems = 1;          ///< product of the array sizes

    bool IsPointer() const { return !Declarators.isEmpty() && Declarators.last() == QLatin1String("*"); }
    bool IsArray() const { return !Declarators.isEmpty() && Declarators.last() == QLatin1String("[]"); }
    bool IsSignedIntegral() const;
    bool IsIntegral() const;

    /// Size in bytes and display name of a base type; 0 and an empty text for any other id.
    static U32 GetIdSize(int Id);
    static QString GetIdName(int Id);
};
