#include "program/eval/exproperators.h"

#include "program/tables/prog.h"

#include <cmath>
#include <functional>

namespace {

/// Classes of operands, as bits; a check names those that it takes.
enum OPERAND_CLASSES : U32 {
    CLS_POINTER = 1,
    CLS_ARRAY = 2,
    CLS_BASE = 4,
    CLS_INTEGRAL = 8,
    CLS_NAMED = 16,
    CLS_IDENTIFIER = 32,
    CLS_NAMED_POINTER = 64,
    CLS_ANY = 128,
    CLS_NONE = 0, ///< no operand allowed there
};

bool IsClass(const CSymbol& s, U32 Classes)
{
    if (s.IsEmpty()) return false;
    const bool IsPointer = s.GetKind() == SYMBOL_POINTER;
    const U32 Tag = s.hType ? ELF_GetSymTag(s.hType) : ELF_BAD_TAG;
    const bool IsReference = Tag == ELF_TAG_REFERENCE || Tag == ELF_TAG_RVALUE_REFERENCE;
    const bool IsNamedPointer = IsPointer && s.Type.Declarators.size() <= 1 && s.hType;
    return ((Classes & CLS_ANY) != 0) || ((Classes & CLS_POINTER) && IsPointer) ||
           ((Classes & CLS_ARRAY) && s.GetKind() == SYMBOL_ARRAY) || ((Classes & CLS_BASE) && EVAL_IsBase(s.Type)) ||
           ((Classes & CLS_INTEGRAL) && s.Type.IsIntegral()) ||
           ((Classes & CLS_NAMED) && (s.GetKind() == SYMBOL_AGGREGATE || IsReference)) ||
           ((Classes & CLS_NAMED_POINTER) && IsNamedPointer) ||
           ((Classes & CLS_IDENTIFIER) && EXPR_IsIdentifier(s.Name));
}

struct CHECK_ROW {
    int Id;
    U32 Left;
    U32 Right;
};
constexpr CHECK_ROW CHECKS[] = {
    {OP_PLUS, CLS_POINTER | CLS_BASE, CLS_NONE}, {OP_MINUS, CLS_POINTER | CLS_BASE, CLS_NONE},
    {OP_ADD, CLS_POINTER | CLS_ARRAY | CLS_BASE, CLS_POINTER | CLS_BASE}, {OP_SUB, CLS_POINTER | CLS_BASE, CLS_POINTER | CLS_BASE},
    {OP_MUL, CLS_BASE, CLS_BASE}, {OP_DIV, CLS_BASE, CLS_BASE}, {OP_MOD, CLS_POINTER | CLS_BASE, CLS_INTEGRAL},
    {OP_COMPL, CLS_INTEGRAL, CLS_NONE}, {OP_NOT, CLS_POINTER | CLS_BASE, CLS_NONE},
    {OP_AND, CLS_INTEGRAL, CLS_INTEGRAL}, {OP_OR, CLS_INTEGRAL, CLS_INTEGRAL}, {OP_XOR, CLS_INTEGRAL, CLS_INTEGRAL},
    {OP_SHL, CLS_INTEGRAL, CLS_INTEGRAL}, {OP_SHR, CLS_INTEGRAL, CLS_INTEGRAL},
    {OP_LOG_AND, CLS_POINTER | CLS_BASE, CLS_POINTER | CLS_BASE}, {OP_LOG_OR, CLS_POINTER | CLS_BASE, CLS_POINTER | CLS_BASE},
    {OP_EQ, CLS_POINTER | CLS_BASE, CLS_POINTER | CLS_BASE}, {OP_NE, CLS_POINTER | CLS_BASE, CLS_POINTER | CLS_BASE},
    {OP_LT, CLS_POINTER | CLS_BASE, CLS_POINTER | CLS_BASE}, {OP_GT, CLS_POINTER | CLS_BASE, CLS_POINTER | CLS_BASE},
    {OP_LE, CLS_POINTER | CLS_BASE, CLS_POINTER | CLS_BASE}, {OP_GE, CLS_POINTER | CLS_BASE, CLS_POINTER | CLS_BASE},
    {OP_INDEX, CLS_POINTER | CLS_ARRAY, CLS_INTEGRAL}, {OP_ADDR, CLS_ANY, CLS_NONE},
    {OP_DEREF, CLS_POINTER | CLS_ARRAY, CLS_NONE}, {OP_ARROW, CLS_NAMED_POINTER, CLS_IDENTIFIER},
    {OP_MEMBER, CLS_NAMED, CLS_IDENTIFIER}, {OP_SIZEOF, CLS_ANY, CLS_NONE},
};

/// An operand's number: an integer for an integral class, else a double.
struct NUMBER {
    bool IsInteger = true;
    I64 Integer = 0;
    double Double = 0;
    double AsDouble(const CSymbol& s) const
    {
        if (!IsInteger) return Double;
        return s.Type.IsSignedIntegral() ? double(Integer) : double(U64(Integer));
    }
};

int ReadOperand(CSymbol& s)
{
    if (s.IsEmpty()) return -1;
    if (s.IsValueValid()) return 0;
    if (s.Loc.NumParts == 0) return -4;
    return s.Read() == 0 ? 0 : -5;
}

/// What an operand points to can be reached: it isn't null, or it is a pointer without a value whose target is known.
int ReadPointer(CSymbol& s)
{
    if (s.IsDroppedPointer()) return 0;
    if (const int Result = ReadOperand(s); Result < 0) return Result;
    I64 Addr = 0;
    return s.GetInteger(&Addr) && Addr != 0 ? 0 : -3;
}

int ReadNumber(CSymbol& s, NUMBER* pNumber)
{
    if (const int Result = ReadOperand(s); Result < 0) return Result;
    pNumber->IsInteger = s.Type.IsIntegral();
    if (pNumber->IsInteger) return s.GetInteger(&pNumber->Integer) ? 0 : -3;
    return s.GetDouble(&pNumber->Double) ? 0 : -3;
}

I64 IntegerArithmetic(int Id, I64 a, I64 b)
{
    const U64 ua = U64(a), ub = U64(b);
    switch (Id) {
    case OP_ADD: return I64(ua + ub);
    case OP_SUB: return I64(ua - ub);
    case OP_MUL: return I64(ua * ub);
    // Division by zero has no value; the smallest number divided by -1 would trap.
    case OP_DIV: return b == 0 ? 0 : b == -1 ? I64(0 - ua) : a / b;
    default: return b == 0 || b == -1 ? 0 : a % b;
    }
}

double DoubleArithmetic(int Id, double a, double b)
{
    switch (Id) {
    case OP_ADD: return a + b;
    case OP_SUB: return a - b;
    case OP_MUL: return a * b;
    case OP_DIV: return b == 0 ? 0.0 : a / b;
    default: return b == 0 ? 0.0 : a - std::trunc(std::trunc(a / b) * std::trunc(b));
    }
}

bool Compare(int Id, double a, double b)
{
    switch (Id) {
    case OP_EQ: return a == b;
    case OP_NE: return a != b;
    case OP_LT: return a < b;
    case OP_GT: return a > b;
    case OP_LE: return a <= b;
    case OP_GE: return a >= b;
    case OP_LOG_AND: return a != 0 && b != 0;
    default: return a != 0 || b != 0;
    }
}

QString JoinNames(const CSymbol& a, const EXPR_OPERATOR& Op, const CSymbol& b)
{
    return a.Name + QLatin1String(Op.Text) + b.Name;
}

int RunPointerAdd(CSymbol& Left, CSymbol& Right, CSymbol* pResult, int* pFailing)
{
    NUMBER Index;
    *pFailing = 1;
    if (const int r = ReadNumber(Right, &Index); r < 0) return r;
    if (!Index.IsInteger || Index.Integer < 0) return -3;
    *pFailing = 0;
    const QString sName = QStringLiteral("(%1+%2)").arg(Left.Name).arg(Index.Integer);
    if (Left.GetKind() == SYMBOL_ARRAY) {
        const I64 Base = Left.GetMemAddr();
        if (Base < 0) return -4;
        *pResult = Left;
        pResult->Loc.aPart[0].Addr = U32(Base + Index.Integer * I64(Left.ElemSize));
        pResult->Value.clear();
    } else {
        if (const int r = ReadOperand(Left); r < 0) return r;
        I64 Base = 0;
        if (!Left.GetInteger(&Base)) return -3;
        const CSymbol Target = Left.GetPointee(0);
        const U64 Sum = U32(U64(Base) + U64(Index.Integer) * std::max<U32>(Target.ByteSize, 1));
        *pResult = Left;
        pResult->IsConst = true;
        pResult->Loc = {};
        pResult->Value = QByteArray(reinterpret_cast<const char*>(&Sum), 4);
    }
    pResult->Name = pResult->FullName = sName;
    return 0;
}

int RunBinaryNumbers(const EXPR_OPERATOR& Op, CSymbol& Left, CSymbol& Right, CSymbol* pResult, int* pFailing)
{
    NUMBER a, b;
    *pFailing = 0;
    if (const int r = ReadNumber(Left, &a); r < 0) return r;
    *pFailing = 1;
    if (const int r = ReadNumber(Right, &b); r < 0) return r;
    const QString sName = JoinNames(Left, Op, Right);
    const bool LeftSigned = Left.Type.IsSignedIntegral();
    switch (Op.Id) {
    case OP_ADD: case OP_SUB: case OP_MUL: case OP_DIV: case OP_MOD:
        if (a.IsInteger && b.IsInteger) {
            const bool Unsigned = !LeftSigned && !Right.Type.IsSignedIntegral();
            *pResult = CSymbol::FromInteger(sName, U64(IntegerArithmetic(Op.Id, a.Integer, b.Integer)),
                                            Unsigned ? CTYPE_ULONGLONG : CTYPE_LONGLONG);
        } else {
            *pResult = CSymbol::FromDouble(sName, DoubleArithmetic(Op.Id, a.AsDouble(Left), b.AsDouble(Right)));
        }
        return 0;
    case OP_AND: case OP_OR: case OP_XOR: case OP_SHL: case OP_SHR: {
        if ((Op.Id == OP_SHL || Op.Id == OP_SHR) && U64(b.Integer) > 31) return -3;
        const I64 Bits = Op.Id == OP_AND   ? a.Integer & b.Integer
                         : Op.Id == OP_OR  ? a.Integer | b.Integer
                         : Op.Id == OP_XOR ? a.Integer ^ b.Integer
                         : Op.Id == OP_SHL ? I64(U64(a.Integer) << b.Integer)
                                           : a.Integer >> b.Integer;
        *pResult = CSymbol::FromInteger(sName, U64(I64(I32(Bits))), LeftSigned ? CTYPE_LONGLONG : CTYPE_ULONGLONG);
        return 0;
    }
    default:
        *pResult = CSymbol::FromInteger(sName, Compare(Op.Id, a.AsDouble(Left), b.AsDouble(Right)), CTYPE_LONGLONG);
        return 0;
    }
}

int RunUnary(const EXPR_OPERATOR& Op, CSymbol& s, CSymbol* pResult)
{
    NUMBER n;
    switch (Op.Id) {
    case OP_SIZEOF:
        *pResult = CSymbol::FromInteger(QStringLiteral("sizeof(%1)").arg(s.Name), s.ByteSize, CTYPE_UINT);
        return 0;
    case OP_ADDR: {
        const I64 Addr = s.GetMemAddr();
        if (Addr < 0) return -1;
        *pResult = CSymbol::FromInteger('@' + s.Name, U64(Addr), CTYPE_UINT);
        pResult->Type = s.Type;
        pResult->Type.Declarators.append(QStringLiteral("*"));
        pResult->Type.Text = s.Type.Text + '*';
        return 0;
    }
    case OP_DEREF:
        if (s.GetKind() == SYMBOL_ARRAY) {
            *pResult = s.GetElement(0);
            return 0;
        }
        if (const int r = ReadPointer(s); r < 0) return r;
        *pResult = s.GetPointee(0);
        return pResult->IsEmpty() ? -3 : 0;
    default: break;
    }
    if (const int r = ReadNumber(s, &n); r < 0) return r;
    const QString sName = QLatin1String(Op.Id == OP_MINUS ? "-" : Op.Id == OP_PLUS ? "+" : Op.Text) + s.Name;
    switch (Op.Id) {
    case OP_PLUS:
        *pResult = n.IsInteger ? CSymbol::FromInteger(sName, U64(n.Integer), s.Type.IsSignedIntegral() ? CTYPE_LONGLONG : CTYPE_ULONGLONG)
                               : CSymbol::FromDouble(sName, n.Double);
        return 0;
    case OP_MINUS:
        *pResult = n.IsInteger ? CSymbol::FromInteger(sName, 0 - U64(n.Integer), CTYPE_LONGLONG)
                               : CSymbol::FromDouble(sName, -n.Double);
        return 0;
    case OP_COMPL: *pResult = CSymbol::FromInteger(sName, ~U64(n.Integer), CTYPE_ULONGLONG); return 0;
    case OP_NOT:
        *pResult = CSymbol::FromInteger(sName, n.IsInteger ? n.Integer == 0 : n.Double == 0, CTYPE_LONGLONG);
        return 0;
    default: return 0; // increments compile, but have no value
    }
}

int RunIndex(CSymbol& Left, CSymbol& Right, CSymbol* pResult, int* pFailing)
{
    NUMBER Index;
    *pFailing = 1;
    if (const int r = ReadNumber(Right, &Index); r < 0) return r;
    if (Left.GetKind() == SYMBOL_ARRAY) {
        *pResult = Left.GetElement(Index.Integer);
        return 0;
    }
    *pFailing = 0;
    if (const int r = ReadPointer(Left); r < 0) return r;
    *pFailing = 1;
    *pResult = Left.GetPointee(Index.Integer);
    return pResult->IsEmpty() ? -3 : 0;
}

int RunMember(const EXPR_OPERATOR& Op, CSymbol& Left, CSymbol& Right, CSymbol* pResult, int* pFailing)
{
    CSymbol Object = Left;
    *pFailing = 0;
    if (Op.Id == OP_ARROW || Left.GetKind() == SYMBOL_POINTER) {
        if (const int r = ReadPointer(Left); r < 0) return r;
        Object = Left.GetPointee(0);
        if (Object.IsEmpty()) return -3;
    }
    *pFailing = 1;
    *pResult = Object.GetChild(Right.Name);
    if (pResult->IsEmpty()) return -3;
    pResult->FullName = Left.FullName + QLatin1String(Op.Text) + Right.Name;
    return 0;
}

int RunCast(CSymbol& Left, CSymbol& Right, CSymbol* pResult, int* pFailing)
{
    CCType Type(Left.Name);
    *pFailing = 1;
    I64 Addr = 0;
    if (Right.GetKind() == SYMBOL_AGGREGATE || Right.GetKind() == SYMBOL_ARRAY) {
        Addr = Right.GetMemAddr();
        if (Addr < 0) return -1;
    } else {
        NUMBER n;
        if (ReadNumber(Right, &n) == 0) Addr = n.IsInteger ? n.Integer : EVAL_ToInteger(n.Double);
    }
    if (!Type.IsPointer() && !Type.IsArray()) return -1;
    ELF_SYM_HANDLE hBase = 0;
    const ELF_SYM_LIST Found = PROG_FindSymbols(Type.BaseText, false, false, true, false, true);
    if (!Found.isEmpty()) hBase = ELF_GetSymType(Found.first(), true);
    const U32 ElemSize = hBase ? ELF_GetSymSize(hBase) : CCType::GetIdSize(Type.TypeId);
    if (Type.IsArray()) {
        *pResult = CSymbol::FromMemory(QStringLiteral("[0]"), 0, Type, U32(Addr), ElemSize * Type.NumElems);
        pResult->ElemSize = ElemSize;
        pResult->Dims = {Type.NumElems};
        return ElemSize && Type.NumElems ? 0 : -3;
    }
    const U32 Pointer = U32(Addr);
    *pResult = CSymbol::FromInteger(Left.Name, Pointer, CTYPE_UINT);
    pResult->Type = Type;
    // The pointer itself is computed; what it points to is found through its base type.
    for (const ELF_SYM_HANDLE h : PROG_GetTypes())
        if (hBase && ELF_GetSymTag(h) == ELF_TAG_POINTER && ELF_GetSymType(h) == hBase) pResult->hType = h;
    return 0;
}

} // namespace

int EXPR_RunOperator(const EXPR_OPERATOR& Op, CSymbol& Left, CSymbol* pRight, CSymbol* pResult, int* pFailing)
{
    const CProgLock Lock;
    *pFailing = 0;
    for (const CHECK_ROW& Row : CHECKS) {
        if (Row.Id != Op.Id) continue;
        if (!IsClass(Left, Row.Left)) return -2;
        *pFailing = 1;
        if (pRight && !IsClass(*pRight, Row.Right)) return -2;
        *pFailing = 0;
    }
    if (!pRight) return RunUnary(Op, Left, pResult);
    switch (Op.Id) {
    case OP_INDEX: return RunIndex(Left, *pRight, pResult, pFailing);
    case OP_MEMBER:
    case OP_ARROW: return RunMember(Op, Left, *pRight, pResult, pFailing);
    case OP_CAST: return RunCast(Left, *pRight, pResult, pFailing);
    case OP_ADD:
        if (Left.GetKind() == SYMBOL_POINTER || Left.GetKind() == SYMBOL_ARRAY)
            return RunPointerAdd(Left, *pRight, pResult, pFailing);
        break;
    default: break;
    }
    return RunBinaryNumbers(Op, Left, *pRight, pResult, pFailing);
}

QString EXPR_GetOperatorError(const EXPR_OPERATOR& Op, int Code, int Failing, const CSymbol& Operand)
{
    const QString sSide = Failing ? QStringLiteral("right") : QStringLiteral("left");
    QString sText = QStringLiteral("Error evaluating operator %1 : ").arg(QLatin1String(Op.Text));
    switch (Code) {
    case -2: return sText + sSide + QStringLiteral(" operand has invalid type ") + Operand.Type.Text;
    case -3: {
        QString sValue = Operand.GetValueStr(10);
        if (const QString sHex = Operand.GetValueStr(16); !sHex.isEmpty() && sHex != sValue) sValue += QStringLiteral(" (%1)").arg(sHex);
        return sText + sSide + QStringLiteral(" operand has invalid value ") + sValue;
    }
    case -4: return sText + sSide + QStringLiteral(" operand has invalid data location");
    case -5: return sText + sSide + QStringLiteral(" operand value could not be read from target hardware");
    default: return sText + QStringLiteral("unknown error");
    }
}
