// Texts of variables: value lists and ranges, a user's text to a value, a value to its text.
#include "project/settings/sysvars.h"
#include "project/settings/sysvartable.h"

#include <algorithm>
#include <cstdio>

namespace {
SETTINGS_HOOKS s_Hooks;

constexpr const char* RANGE_MIN = "SysVarMin=";
constexpr const char* RANGE_MAX = "SysVarMax=";
constexpr const char* ERR_RANGE = "  ***ERROR: The value is out of range (Min: %1, Max: %2)\n\n";
constexpr const char* ERR_HEX = "  ***ERROR: Expected a hex value\n\n";
constexpr const char* ERR_DEC = "  ***ERROR: Expected a dec value\n\n";

struct RANGE {
    bool Valid = false;
    I64 Min = 0;
    U64 Max = 0;

    /// For an unsigned row the bits of Value, for a signed one its sign counts.
    bool Holds(I64 Value, bool Signed) const
    {
        if (Signed) {
            return Value >= Min && Value <= static_cast<I64>(Max);
        }
        return static_cast<U64>(Value) >= static_cast<U64>(Min) && static_cast<U64>(Value) <= Max;
    }
};

bool IsSigned(int VarID)
{
    return GetSysVarRows()[VarID].Type == SVT_INT;
}

/// A number of the range text, decimal or hexadecimal, with a sign.
bool ReadNumber(const QString& sText, U64* pValue)
{
    bool Ok = false;
    *pValue = sText.startsWith(QLatin1Char('-')) ? static_cast<U64>(sText.toLongLong(&Ok, 0))
                                                 : sText.toULongLong(&Ok, 0);
    return Ok;
}

RANGE ReadRange(int VarID)
{
    RANGE Range;
    bool HasMin = false;
    bool HasMax = false;
    for (const QString& sPart : QString::fromLatin1(GetSysVarRows()[VarID].Range).split(QLatin1Char(','))) {
        U64 Value = 0;
        if (sPart.startsWith(QLatin1String(RANGE_MIN)) && ReadNumber(sPart.mid(10), &Value)) {
            Range.Min = static_cast<I64>(Value);
            HasMin = true;
        } else if (sPart.startsWith(QLatin1String(RANGE_MAX)) && ReadNumber(sPart.mid(10), &Value)) {
            Range.Max = Value;
            HasMax = true;
        }
    }
    Range.Valid = HasMin && HasMax;
    return Range;
}

QString StripQuotes(const QString& sText)
{
    QString s = sText.trimmed();
    if (s.size() >= 2 && s.startsWith(QLatin1Char('"')) && s.endsWith(QLatin1Char('"'))) {
        s = s.mid(1, s.size() - 2).trimmed();
    }
    return s;
}

/// A number in C notation; an 8 byte row takes all of the unsigned range.
bool ReadUserNumber(int VarID, const QString& sText, I64* pValue)
{
    bool Ok = false;
    *pValue = sText.toLongLong(&Ok, 0);
    if (!Ok && GetSysVarRows()[VarID].Type == SVT_ULONGLONG) {
        *pValue = static_cast<I64>(sText.toULongLong(&Ok, 0));
    } else if (Ok && *pValue < 0 && !IsSigned(VarID)) {
        Ok = false;
    }
    return Ok;
}

QString RangeText(const char* sFormat, const RANGE& Range, bool Signed)
{
    return QString::fromLatin1(sFormat).arg(Range.Min).arg(
        Signed ? QString::number(static_cast<I64>(Range.Max)) : QString::number(Range.Max));
}

/// Text of a value of a row with a range; the result code says whether it lies in it.
int NumberToText(int VarID, I64 Value, QString* psText)
{
    const bool Signed = IsSigned(VarID);
    const RANGE Range = ReadRange(VarID);
    const QString sNumber = Signed ? QString::number(Value) : QString::number(static_cast<U64>(Value));
    if (!Range.Valid) {
        *psText = QStringLiteral("%1 (Could not check range).").arg(sNumber);
        return 0;
    }
    if (!Range.Holds(Value, Signed)) {
        *psText =
            QStringLiteral("Value %1 is out of range (Min: %2, Max: %3)")
                .arg(sNumber, QString::number(Range.Min),
                     Signed ? QString::number(static_cast<I64>(Range.Max)) : QString::number(Range.Max));
        return -3;
    }
    *psText = sNumber;
    return 0;
}

int ToText(int VarID, I64 Value, QString* psText)
{
    switch (GetSysVarRows()[VarID].Type) {
    case SVT_SELECTION: {
        const qsizetype Pos = GetValues(VarID).indexOf(Value);
        *psText = Pos >= 0 ? GetValueTexts(VarID).at(Pos) : QString();
        return Pos >= 0 ? 0 : -2;
    }
    case SVT_UINT:
    case SVT_INT:
        return NumberToText(VarID, Value, psText);
    case SVT_FREQ:
        *psText = s_Hooks.pfFreqText ? s_Hooks.pfFreqText(Value) : QString::number(Value);
        return 0;
    case SVT_STRING:
        *psText = GetVarString(VarID);
        return 0;
    case SVT_ULONGLONG:
        *psText = QString::number(static_cast<U64>(Value));
        return 0;
    }
    return -1;
}

/// The rule of a number typed for a row with a range: decimal, or hexadecimal behind "0x".
bool ParseRangeNumber(int VarID, const QString& sText, I64* pValue, QString* psError)
{
    const bool Signed = IsSigned(VarID);
    QString s = sText.trimmed();
    const bool Negative = Signed && s.startsWith(QLatin1Char('-'));
    if (Negative) {
        s.remove(0, 1);
    }
    const bool Hex = s.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    bool Ok = false;
    const U64 Magnitude = Hex ? s.mid(2).toULongLong(&Ok, 16) : s.toULongLong(&Ok, 10);
    if (!Ok) {
        *psError = QString::fromLatin1(Hex ? ERR_HEX : ERR_DEC);
        return false;
    }
    const RANGE Range = ReadRange(VarID);
    *pValue = static_cast<I64>(Negative ? 0 - Magnitude : Magnitude);
    const bool Wrapped = Signed && (Magnitude >> 63) != 0;
    if (Wrapped || !Range.Holds(*pValue, Signed)) {
        *psError = RangeText(ERR_RANGE, Range, Signed);
        return false;
    }
    return true;
}
} // namespace

void SetSettingsHooks(const SETTINGS_HOOKS& Hooks)
{
    s_Hooks = Hooks;
}

bool HasValueList(int VarID)
{
    const SYS_VAR* pRow = GetVar(VarID);
    return pRow && (pRow->Type == SVT_SELECTION || !ReadRange(VarID).Valid);
}

QStringList GetValueTexts(int VarID)
{
    QStringList Texts;
    if (HasValueList(VarID)) {
        for (const QString& sPart :
             QString::fromLatin1(GetSysVarRows()[VarID].Range).split(QLatin1Char(','))) {
            Texts.append(sPart.left(sPart.lastIndexOf(QLatin1Char('='))));
        }
    }
    return Texts;
}

QList<I64> GetValues(int VarID)
{
    QList<I64> Values;
    if (HasValueList(VarID)) {
        for (const QString& sPart :
             QString::fromLatin1(GetSysVarRows()[VarID].Range).split(QLatin1Char(','))) {
            U64 Value = 0;
            ReadNumber(sPart.mid(sPart.lastIndexOf(QLatin1Char('=')) + 1), &Value);
            Values.append(static_cast<I64>(Value));
        }
    }
    return Values;
}

bool GetVarRange(int VarID, I64* pMin, U64* pMax)
{
    if (!GetVar(VarID) || HasValueList(VarID)) {
        return false;
    }
    const RANGE Range = ReadRange(VarID);
    *pMin = Range.Min;
    *pMax = Range.Max;
    return true;
}

bool IsVarValueValid(int VarID, I64 Value)
{
    if (!GetVar(VarID) || IsStringVar(VarID)) {
        return false;
    }
    return HasValueList(VarID) ? GetValues(VarID).contains(Value)
                               : ReadRange(VarID).Holds(Value, IsSigned(VarID));
}

I64 ParseVar(int VarID, const QString& sText, bool* pOk)
{
    *pOk = false;
    if (!GetVar(VarID) || IsStringVar(VarID)) {
        return 0;
    }
    const QString s = StripQuotes(sText);
    const bool List = HasValueList(VarID);
    const QList<I64> Values = GetValues(VarID);
    if (List) {
        const QStringList Texts = GetValueTexts(VarID);
        for (qsizetype i = 0; i < Texts.size(); ++i) {
            if (s.compare(Texts[i], Qt::CaseInsensitive) == 0) {
                *pOk = true;
                return Values[i];
            }
        }
    }
    I64 Value = 0;
    bool Found =
        s_Hooks.pfFindConstant && s_Hooks.pfFindConstant(s, &Value) && (!List || Values.contains(Value));
    if (!Found) {
        Found = ReadUserNumber(VarID, s, &Value);
    }
    if (!Found && GetSysVarRows()[VarID].Type == SVT_FREQ && s_Hooks.pfParseFreq) {
        Value = s_Hooks.pfParseFreq(s);
        Found = Value >= 0;
    }
    if (!Found) {
        return 0;
    }
    *pOk = IsVarValueValid(VarID, Value);
    return *pOk ? Value : 0;
}

int ParseVarText(int VarID, int Store, const QString& sText, QString* psError)
{
    const SYS_VAR* pRow = GetVar(VarID);
    QString sError;
    I64 Value = 0;
    bool Ok = false;
    if (pRow && pRow->Type == SVT_STRING) {
        return SetVarString(VarID, sText, Store > 0);
    }
    if (pRow && (pRow->Type == SVT_UINT || pRow->Type == SVT_INT)) {
        Ok = ParseRangeNumber(VarID, StripQuotes(sText), &Value, &sError);
    } else if (pRow && pRow->Type == SVT_FREQ && s_Hooks.pfParseFreq) {
        Value = s_Hooks.pfParseFreq(StripQuotes(sText));
        Ok = Value >= 0 && ParseRangeNumber(VarID, QString::number(Value), &Value, &sError);
    } else if (pRow) {
        Value = ParseVar(VarID, sText, &Ok);
    }
    if (psError) {
        *psError = sError;
    }
    if (!Ok) {
        return -1;
    }
    SetVar(VarID, Value, Store > 0);
    return 0;
}

QString VarToText(int VarID, I64 Value)
{
    QString sText;
    if (GetVar(VarID)) {
        ToText(VarID, Value == -1 ? GetVarValue(VarID) : Value, &sText);
    }
    return sText;
}

int VarToTextBuffer(int VarID, I64 Value, char* pBuffer, int BufferSize)
{
    QString sText;
    if (!GetVar(VarID) || BufferSize < 1) {
        return -1;
    }
    const int Result = ToText(VarID, Value == -1 ? GetVarValue(VarID) : Value, &sText);
    const QByteArray Bytes = sText.toUtf8();
    if (Bytes.size() >= BufferSize) {
        return -1;
    }
    std::copy(Bytes.begin(), Bytes.end(), pBuffer);
    pBuffer[Bytes.size()] = 0;
    return Result;
}
