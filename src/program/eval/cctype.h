// CCType: a C type reduced to what the evaluator needs, made from a text or from a type of the program.
//
//   CCType Type = CCType::FromText("unsigned char *");
//   if (Type.IsPointer()) ...
#pragma once
#include "app/services/types.h"
#include "program/symbols/elfsym.h"

#include <QString>
#include <QStringList>

/// Ids of base types; the display name of each is fixed.
enum CC_TYPE_IDS : int {
    CC_UNKNOWN = -1,
    CC_BOOL = 1,
    CC_INT = 2,
    CC_UINT = 3,
    CC_LLONG = 4,
    CC_ULLONG = 5,
    CC_DOUBLE = 6,
    CC_VOID_PTR = 128,
    CC_LONG = 129,
    CC_SHORT = 130,
    CC_CHAR = 131,
    CC_ULONG = 132,
    CC_USHORT = 133,
    CC_UCHAR = 134,
    CC_FLOAT = 135,
    CC_ENUM = 257,
};

class CCType {
public:
    U32 Size = 0;             ///< bytes
    int TypeId = CC_UNKNOWN;  ///< CC_TYPE_IDS of the base
    QString Text;             ///< as given
    QString BaseText;         ///< the identifier without modifiers
    QStringList Modifiers;
    QStringList Declarators;  ///< "*" and "[]", innermost last
    U32 ElementCount = 0;     ///< product of the array sizes

    static CCType FromText(const QString& sText);
    /// The type of a variable, member or type symbol of the program.
    static CCType FromSymbol(ELF_SYM_HANDLE hSym);
    static CCType FromId(int TypeId);
    static U32 GetSizeOfId(int TypeId);
    static QString GetNameOfId(int TypeId);

    bool IsPointer() const { return !Declarators.isEmpty() && Declarators.last() == "*"; }
    bool IsArray() const { return !Declarators.isEmpty() && Declarators.last() == "[]"; }
    bool IsBase() const { return TypeId != CC_UNKNOWN && Declarators.isEmpty(); }
    bool IsIntegral() const;
    bool IsSignedIntegral() const;
    bool IsFloat() const { return Declarators.isEmpty() && (TypeId == CC_FLOAT || TypeId == CC_DOUBLE); }
    bool IsNamed() const { return TypeId == CC_UNKNOWN && !BaseText.isEmpty(); }
};
