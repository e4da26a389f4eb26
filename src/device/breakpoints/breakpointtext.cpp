#include "device/breakpoints/breakpointtext.h"
#include "app/services/log.h"
#include "program/tables/prog.h"

#include <QList>
#include <QPair>
#include <QStringList>
#include <cstring>

namespace {
constexpr const char* KEY_BREAKPOINT = "Breakpoint";
constexpr const char* KEY_WATCHPOINT = "DataBreakpoint";
constexpr const char* KEY_TRACEPOINT = "Tracepoint";

struct NAME_ROW {
    U32 Value;
    const char* sName;
};
constexpr NAME_ROW aState[] = {
    {BP_STATE_OFF, "BP_STATE_OFF"},           {BP_STATE_ON, "BP_STATE_ON"},       {BP_STATE_ON_HIDDEN, "BP_STATE_ON_HIDDEN"},
    {BP_STATE_DISABLED, "BP_STATE_DISABLED"}, {BP_STATE_MIXED, "BP_STATE_MIXED"}, {BP_STATE_UNKNOWN, "BP_STATE_UNKNOWN"},
};
constexpr NAME_ROW aType[] = {
    {BP_TYPE_ANY, "BP_TYPE_ANY"},     {BP_TYPE_HARD, "BP_TYPE_HARD"}, {BP_TYPE_SOFT, "BP_TYPE_SOFT"},
    {BP_TYPE_FLASH, "BP_TYPE_FLASH"}, {BP_TYPE_RAM, "BP_TYPE_RAM"},   {BP_TYPE_PENDING, "BP_TYPE_PENDING"},
    {BP_TYPE_MIXED, "BP_TYPE_MIXED"},
};
constexpr NAME_ROW aAccessType[] = {
    {AT_READ_ONLY, "AT_READ_ONLY"},
    {AT_WRITE_ONLY, "AT_WRITE_ONLY"},
    {AT_READ_WRITE, "AT_READ_WRITE"},
    {AT_NO_ACCESS, "AT_NO_ACCESS"},
};
constexpr NAME_ROW aAccessSize[] = {
    {AW_ANY, "AW_ANY"},
    {AW_BYTE, "AW_BYTE"},
    {AW_HALF_WORD, "AW_HALF_WORD"},
    {AW_WORD, "AW_WORD"},
};
constexpr NAME_ROW aTraceOp[] = {{TP_OP_START, "TP_OP_START"}, {TP_OP_STOP, "TP_OP_STOP"}};

template <size_t N> QString NameOf(const NAME_ROW (&aRow)[N], U32 Value)
{
    for (const NAME_ROW& Row : aRow)
        if (Row.Value == Value) return QString::fromLatin1(Row.sName);
    return {};
}
/// By name, or by its number.
template <size_t N> bool ValueOf(const NAME_ROW (&aRow)[N], const QString& sText, U32* pValue)
{
    bool IsNumber = false;
    const U32 Number = sText.toUInt(&IsNumber, 0);
    for (const NAME_ROW& Row : aRow) {
        if ((IsNumber && Row.Value == Number) || sText.compare(QLatin1String(Row.sName), Qt::CaseInsensitive) == 0) {
            *pValue = Row.Value;
            return true;
        }
    }
    return false;
}

QString Hex(U64 Value) { return "0x" + QString::number(Value, 16).toUpper(); }
QString Quoted(const QString& sText) { return '"' + sText + '"'; }
QString QuotedIfBlank(const QString& sText) { return sText.contains(' ') ? Quoted(sText) : sText; }
QString Unquoted(QString sText)
{
    if (sText.size() >= 2 && sText.startsWith('"') && sText.endsWith('"')) return sText.mid(1, sText.size() - 2);
    return sText;
}
bool ParseHex(const QString& sText, U64* pValue)
{
    bool Ok = false;
    *pValue = sText.toULongLong(&Ok, 16);
    return Ok;
}
bool IsTrue(const QString& sText) { return sText.toInt(nullptr, 0) != 0 || sText.compare("true", Qt::CaseInsensitive) == 0; }

class CLine {
public:
    void Add(const char* sKey, const QString& sValue) { m_asItem << QString("%1=%2").arg(QLatin1String(sKey), sValue); }
    QString Text() const { return m_asItem.join(", "); }

private:
    QStringList m_asItem;
};

/// The items of a line, a comma inside of quotes being part of its text.
QStringList SplitItems(const QString& sLine)
{
    QStringList asItem(QString{});
    bool InQuotes = false;
    for (QChar c : sLine) {
        if (c == '"') InQuotes = !InQuotes;
        if (c == ',' && !InQuotes)
            asItem << QString();
        else
            asItem.last() += c;
    }
    return asItem;
}

QList<QPair<QString, QString>> ParseItems(const QString& sLine)
{
    QList<QPair<QString, QString>> Items;
    for (const QString& sItem : SplitItems(sLine)) {
        const qsizetype Pos = sItem.indexOf('=');
        if (Pos < 0) {
            if (!sItem.trimmed().isEmpty())
                LogWarning("Syntax error in user preference file (.bdebug.user): " + sItem.trimmed());
            continue;
        }
        Items << qMakePair(sItem.left(Pos).trimmed(), Unquoted(sItem.mid(Pos + 1).trimmed()));
    }
    return Items;
}

/// The field becomes 0 when its text is unknown.
template <size_t N> U32 ParseEnum(const NAME_ROW (&aRow)[N], const QString& sText, const char* sWhat)
{
    U32 Value = 0;
    if (!ValueOf(aRow, sText, &Value))
        LogError(QString("configuration error. not a valid %1 %2").arg(QLatin1String(sWhat), sText));
    return Value;
}
} // namespace

QString BP_StateToText(U32 State) { return NameOf(aState, State); }
QString BP_TypeToText(U32 Type) { return NameOf(aType, Type); }
bool BP_StateFromText(const QString& sText, U32* pState) { return ValueOf(aState, sText, pState); }
bool BP_TypeFromText(const QString& sText, U32* pType) { return ValueOf(aType, sText, pType); }

QString BP_ToText(const CBreakpoint& Record)
{
    const CBreakpoint Default;
    CLine Line;
    Line.Add(KEY_BREAKPOINT, Record.IsSource() ? PROG_GetSrcLocText(Record.Loc) : Hex(Record.Addr));
    if (Record.PermittedImpl != Default.PermittedImpl) Line.Add("Permitted Impl.", BP_TypeToText(Record.PermittedImpl));
    if (Record.State != Default.State) Line.Add("State", BP_StateToText(Record.State));
    if (!Record.Condition.isEmpty()) Line.Add("Condition", Quoted(Record.Condition));
    if (Record.TriggerOnChange) Line.Add("TriggerOnChange", "1");
    if (!Record.TaskName.isEmpty()) Line.Add("TaskName", QuotedIfBlank(Record.TaskName));
    if (Record.SkipCount > 0) Line.Add("SkipCount", QString::number(Record.SkipCount));
    if (Record.ReloadSkip) Line.Add("ReloadSkip", "1");
    if (!Record.ConsoleMsg.isEmpty()) Line.Add("ConsoleMsg", QuotedIfBlank(Record.ConsoleMsg));
    if (!Record.PopupMsg.isEmpty()) Line.Add("PopupMsg", QuotedIfBlank(Record.PopupMsg));
    if (!Record.ScriptCallback.isEmpty()) Line.Add("ScriptCallback", QuotedIfBlank(Record.ScriptCallback));
    return Line.Text();
}

CBreakpoint BP_FromText(const QString& sLine)
{
    CBreakpoint Record;
    for (const auto& [sKey, sValue] : ParseItems(sLine)) {
        if (sKey == KEY_BREAKPOINT) {
            U64 Addr = 0;
            if (ParseHex(sValue, &Addr))
                Record.Addr = Addr;
            else
                Record.Loc = PROG_ParseSrcLoc(sValue);
        } else if (sKey == "Permitted Impl." || sKey == "Actual Impl.") {
            Record.PermittedImpl = ParseEnum(aType, sValue, "breakpoint type");
        } else if (sKey == "State") {
            Record.State = ParseEnum(aState, sValue, "breakpoint state");
        } else if (sKey == "Condition") {
            Record.Condition = sValue;
        } else if (sKey == "TriggerOnChange") {
            Record.TriggerOnChange = IsTrue(sValue);
        } else if (sKey == "TaskName") {
            Record.TaskName = sValue;
        } else if (sKey == "SkipCount") {
            Record.SkipCount = sValue.toUInt();
        } else if (sKey == "ReloadSkip") {
            Record.ReloadSkip = IsTrue(sValue);
        } else if (sKey == "ConsoleMsg") {
            Record.ConsoleMsg = sValue;
        } else if (sKey == "PopupMsg") {
            Record.PopupMsg = sValue;
        } else if (sKey == "ScriptCallback") {
            Record.ScriptCallback = sValue;
        }
    }
    return Record;
}

QString BP_WatchToText(const WP& Wp)
{
    const WP Default;
    CLine Line;
    Line.Add(KEY_WATCHPOINT, Wp.Expression[0] ? QuotedIfBlank(QString::fromUtf8(Wp.Expression)) : Hex(Wp.Addr));
    if (Wp.AddrMask != Default.AddrMask) Line.Add("AddrMask", Hex(Wp.AddrMask));
    if (Wp.AccessType != Default.AccessType) Line.Add("AccessType", NameOf(aAccessType, Wp.AccessType));
    if (Wp.AccessSize != Default.AccessSize) Line.Add("AccessSize", NameOf(aAccessSize, Wp.AccessSize));
    if (Wp.MatchValue != Default.MatchValue) Line.Add("MatchValue", Hex(Wp.MatchValue));
    if (Wp.ValueMask != Default.ValueMask) Line.Add("ValueMask", Hex(Wp.ValueMask));
    if (Wp.State != Default.State) Line.Add("State", BP_StateToText(Wp.State));
    return Line.Text();
}

WP BP_WatchFromText(const QString& sLine)
{
    WP Wp;
    for (const auto& [sKey, sValue] : ParseItems(sLine)) {
        U64 Number = 0;
        const bool IsNumber = ParseHex(sValue, &Number);
        if (sKey == KEY_WATCHPOINT) {
            if (IsNumber) {
                Wp.Addr = U32(Number);
            } else {
                const QByteArray Text = sValue.toUtf8().left(qsizetype(sizeof Wp.Expression) - 1);
                std::memcpy(Wp.Expression, Text.constData(), size_t(Text.size()));
            }
        } else if (sKey == "AddrMask" && IsNumber) {
            Wp.AddrMask = U32(Number);
        } else if (sKey == "AccessType") {
            Wp.AccessType = ParseEnum(aAccessType, sValue, "access type");
        } else if (sKey == "AccessSize") {
            Wp.AccessSize = ParseEnum(aAccessSize, sValue, "access size");
        } else if (sKey == "MatchValue" && IsNumber) {
            Wp.MatchValue = U32(Number);
        } else if (sKey == "ValueMask" && IsNumber) {
            Wp.ValueMask = Number;
        } else if (sKey == "State") {
            Wp.State = ParseEnum(aState, sValue, "breakpoint state");
        }
    }
    return Wp;
}

QString BP_TraceToText(const TP& Tp)
{
    CLine Line;
    const CSrcLoc Loc = Tp.HasSourceInfo ? PROG_GetFirstSrcLoc(U32(Tp.Addr)) : CSrcLoc();
    Line.Add(KEY_TRACEPOINT, Loc.IsValid() ? PROG_GetSrcLocText(Loc) : Hex(Tp.Addr));
    if (Tp.Op != TP_OP_START) Line.Add("Type", NameOf(aTraceOp, Tp.Op));
    if (Tp.State != BP_STATE_OFF) Line.Add("State", BP_StateToText(Tp.State));
    return Line.Text();
}

TP BP_TraceFromText(const QString& sLine)
{
    TP Tp;
    for (const auto& [sKey, sValue] : ParseItems(sLine)) {
        if (sKey == KEY_TRACEPOINT) {
            U64 Addr = 0;
            if (ParseHex(sValue, &Addr)) {
                Tp.Addr = Addr;
            } else if (const I64 First = PROG_GetFirstAddr(PROG_ParseSrcLoc(sValue)); First >= 0) {
                Tp.Addr = U64(First);
                Tp.HasSourceInfo = 1;
            }
        } else if (sKey == "Type") {
            Tp.Op = U8(ParseEnum(aTraceOp, sValue, "tracepoint operation"));
        } else if (sKey == "State") {
            Tp.State = U8(ParseEnum(aState, sValue, "breakpoint state"));
        }
    }
    return Tp;
}

BP_LINE_KINDS BP_GetLineKind(const QString& sLine)
{
    const QString sText = sLine.trimmed();
    if (sText.startsWith(QLatin1String(KEY_BREAKPOINT) + '=')) return BP_LINE_BREAKPOINT;
    if (sText.startsWith(QLatin1String(KEY_WATCHPOINT) + '=')) return BP_LINE_WATCHPOINT;
    if (sText.startsWith(QLatin1String(KEY_TRACEPOINT) + '=')) return BP_LINE_TRACEPOINT;
    return BP_LINE_NONE;
}
