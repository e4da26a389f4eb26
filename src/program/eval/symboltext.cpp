// The texts of a symbol: value, location, size.
#include "program/eval/evalhooks.h"
#include "program/eval/symbol.h"
#include "program/tables/prog.h"

#include <QStringList>

namespace {

enum { DW_AT_const_value = 0x1C };
constexpr U32 MAX_STRING = 128; ///< characters of a string that a pointer points to

/// Characters as they stand in a C literal.
QString Escape(const QByteArray& Bytes, char Quote)
{
    QString s(QLatin1Char{Quote});
    for (const char c : Bytes) {
        switch (c) {
        case '\0': s += QStringLiteral("\\0"); break;
        case '\n': s += QStringLiteral("\\n"); break;
        case '\r': s += QStringLiteral("\\r"); break;
        case '\t': s += QStringLiteral("\\t"); break;
        case '\\': s += QStringLiteral("\\\\"); break;
        default:
            if (c == Quote)
                s += QStringLiteral("\\%1").arg(QLatin1Char(c));
            else if (U8(c) < 0x20 || U8(c) >= 0x7F)
                s += QStringLiteral("\\x%1").arg(U8(c), 2, 16, QLatin1Char('0'));
            else
                s += QLatin1Char(c);
        }
    }
    return s + QLatin1Char(Quote);
}

QString FormatInteger(I64 Value, bool Signed, U32 Bits, int Radix)
{
    const U64 Mask = Bits >= 64 ? ~U64(0) : (U64(1) << Bits) - 1;
    const U64 Raw = U64(Value) & Mask;
    if (Radix == 16) return QStringLiteral("0x%1").arg(Raw, int((Bits + 3) / 4), 16, QLatin1Char('0')).toUpper().replace(QStringLiteral("0X"), QStringLiteral("0x"));
    if (Radix == 2) return QStringLiteral("0b%1").arg(Raw, int(Bits), 2, QLatin1Char('0'));
    return Signed ? QString::number(Value) : QString::number(Raw);
}

QString EnumeratorName(ELF_SYM_HANDLE hType, I64 Value)
{
    for (U32 i = 0; i < ELF_GetSymMemberCount(hType); i++) {
        const ELF_SYM_HANDLE h = ELF_GetSymMember(hType, i);
        bool Found = false;
        if (ELF_GetSymTag(h) == ELF_TAG_ENUMERATOR && I64(ELF_GetSymAttr(h, DW_AT_const_value, &Found)) == Value && Found)
            return QString::fromUtf8(ELF_GetSymName(h));
    }
    return {};
}

} // namespace

QString CSymbol::GetCharText() const
{
    const SYMBOL_KINDS Kind = GetKind();
    if (Kind == SYMBOL_ARRAY) {
        if (Value.isEmpty()) return {};
        const qsizetype End = Value.indexOf('\0');
        QString s = Escape(End >= 0 ? Value.left(End) : Value, '"');
        if (End < 0 && U32(Value.size()) < ByteSize) s += QStringLiteral("...");
        return s;
    }
    if (Kind == SYMBOL_POINTER) {
        I64 Addr = 0;
        const EVAL_HOOKS& Hooks = EVAL_GetHooks();
        if (!GetInteger(&Addr) || Addr == 0 || !Hooks.ReadMem) return {};
        QByteArray Bytes;
        U8 c = 0;
        while (U32(Bytes.size()) < MAX_STRING && Hooks.ReadMem(U32(Addr) + U32(Bytes.size()), 1, &c) == 0 && c)
            Bytes.append(char(c));
        return Bytes.isEmpty() && c ? QString() : Escape(Bytes, '"');
    }
    I64 Integer = 0;
    return GetInteger(&Integer) ? Escape(QByteArray(1, char(Integer)), '\'') : QString();
}

QString CSymbol::GetScalarText(int Radix) const
{
    I64 Integer = 0;
    const U32 Bits = BitSize ? BitSize : U32(Value.size()) * 8;
    if (EVAL_IsFloat(Type) && Radix != 16 && Radix != 2) {
        double Double = 0;
        if (!GetDouble(&Double)) return {};
        return QString::number(Double, 'g', Value.size() == 2 ? 5 : Value.size() == 4 ? 9 : 17);
    }
    if (!GetInteger(&Integer)) return {};
    const bool Signed = IsSigned();
    const QString sNumber = FormatInteger(Integer, Signed, Bits, Radix);
    if (Type.TypeId == CTYPE_ENUM && hType) {
        const CProgLock Lock;
        if (const QString sName = EnumeratorName(hType, Integer); !sName.isEmpty())
            return QStringLiteral("%1 (%2)").arg(sName, sNumber);
    }
    if (Type.TypeId == CTYPE_BOOL) return Integer ? QStringLiteral("true") : QStringLiteral("false");
    return sNumber;
}

QString CSymbol::GetValueStr(int Radix) const
{
    constexpr int RADIX_CHAR = 8;
    if (IsFunction) return FormatInteger(GetMemAddr(), false, 32, 16);
    const SYMBOL_KINDS Kind = GetKind();
    if (Kind == SYMBOL_AGGREGATE) return {};
    const bool IsChars = Type.TypeId == CTYPE_CHAR || Type.TypeId == CTYPE_UCHAR;
    if (Kind == SYMBOL_ARRAY) return Type.TypeId == CTYPE_CHAR && Dims.size() == 1 ? GetCharText() : QString();
    if (Value.isEmpty()) return {};
    if (Radix == RADIX_CHAR) return IsChars ? GetCharText() : GetScalarText(10);
    const int Shown = Radix ? Radix : Kind == SYMBOL_POINTER ? 16 : 10;
    QString s = GetScalarText(Shown);
    const bool IsString = Kind == SYMBOL_POINTER && Type.Declarators.size() == 1 && Type.TypeId == CTYPE_CHAR;
    if (IsString || (Kind == SYMBOL_SCALAR && Type.TypeId == CTYPE_CHAR && !BitSize))
        if (const QString sChars = GetCharText(); !sChars.isEmpty()) s += QLatin1Char(' ') + sChars;
    return s;
}

QString CSymbol::GetLocationStr() const
{
    if (IsNullMember) return QStringLiteral("<null>");
    if (IsConst) return QStringLiteral("const");
    if (Loc.NumParts == 0) return QStringLiteral("<outofscope>");
    QList<ELF_SYM_LOC_PART> aPart(Loc.aPart, Loc.aPart + Loc.NumParts);
    if (!Pieces.isEmpty()) aPart.clear();
    for (const ELF_SYM_PIECE& Piece : Pieces) aPart << Piece.Part;
    QStringList Parts;
    for (const ELF_SYM_LOC_PART& Part : std::as_const(aPart)) {
        const QString sOffset = QStringLiteral("%1%2").arg(Part.Offset < 0 ? '-' : '+')
                                    .arg(U32(Part.Offset < 0 ? -I64(Part.Offset) : I64(Part.Offset)), 0, 16);
        switch (Part.Type) {
        case ELF_LOC_CONST: Parts << QStringLiteral("const"); break;
        case ELF_LOC_MEM_FIXED: Parts << QStringLiteral("%1").arg(Part.Addr, 8, 16, QLatin1Char('0')).toUpper(); break;
        case ELF_LOC_MEM_ADDR_OFFSET:
            Parts << QStringLiteral("%1").arg(Part.Addr + U32(Part.Offset), 8, 16, QLatin1Char('0')).toUpper();
            break;
        case ELF_LOC_REG: Parts << QStringLiteral("R%1").arg(Part.Reg); break;
        case ELF_LOC_REG_OFFSET: Parts << QStringLiteral("R%1").arg(Part.Reg) + sOffset; break;
        case ELF_LOC_MEM_REG_OFFSET: Parts << QStringLiteral("[R%1]").arg(Part.NestedReg) + sOffset; break;
        default: Parts << QStringLiteral("<outofscope>");
        }
    }
    return Parts.join(QStringLiteral(", "));
}

QString CSymbol::GetSizeStr() const
{
    return BitSize ? QString::number(BitSize) : QString::number(ByteSize);
}
