#include "device/target/deviceconfig.h"

#include <QHash>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <algorithm>

namespace {
struct INT_ROW {
    U32 Id;
    const char* sKey; ///< attribute of the XML form, null when the value isn't part of it
    int Default;
    int XmlDefault;   ///< of a missing attribute
};
constexpr INT_ROW aIntRow[] = {
    {DCP_DEVICE_INDEX, nullptr, -1, 0},
    {DCP_CORE_INDEX, "CoreIndex", 0, 0},
    {DCP_USB_SERIAL_NO, "USBSerialNo", 0, 0},
    {DCP_USE_SERIAL_NO, "UseSerialNo", 0, 0},
    {DCP_CONNECT_MODE, "ConnectMode", 1, 1},
    {DCP_TARGET_IF, "TargetIF", 0, 1},
    {DCP_SPEED, "Speed", 0, 0},
    {DCP_USE_MAX_SPEED, "UseMaxSpeed", 1, 0},
    {DCP_USE_ADAPTIVE, "UseAdaptive", 0, 0},
    {DCP_ENDIAN, "Endian", 0, 0},
    {DCP_DR_PRE, "DRPre", 0, 0},
    {DCP_IR_PRE, "IRPre", 0, 0},
    {DCP_MULTIPLE_TARGETS, "MultipleTargets", 0, 0},
    {13, nullptr, 0, 0}, // no parameter
    {DCP_RESET_BREAK_ADDR, nullptr, -1, 0},
    {DCP_MEMLANE_ADDR, nullptr, 0, 0},
    {DCP_MEMLANE_RANGE_CNT, nullptr, 0, 0},
};
constexpr U32 NO_PARAM = 13;
constexpr bool RowsInOrder()
{
    for (U32 i = 0; i < std::size(aIntRow); i++)
        if (aIntRow[i].Id != i) return false;
    return true;
}
static_assert(std::size(aIntRow) == DCP_NUM_INT_PARAMS && RowsInOrder());

struct STRING_ROW {
    U32 Id;
    int MaxLen;
    const char* sDefault;
};
constexpr STRING_ROW aStringRow[] = {
    {DCP_HOST_NAME, 255, "192.168.0.1"},
    {DCP_DEVICE_NAME, 255, ""},
    {DCP_SCRIPT_FILE, 2'047, ""},
    {DCP_LOG_FILE, 2'047, ""},
};
static_assert(std::size(aStringRow) == DCP_NUM_PARAMS - DCP_FIRST_STRING);

/// A number with any base prefix; 0 for a text that is none ("auto" among them).
int ParseNumber(const QString& sText)
{
    bool Ok = false;
    const qlonglong Value = sText.trimmed().toLongLong(&Ok, 0);
    return Ok ? int(U32(Value)) : 0;
}
} // namespace

bool CDeviceConfig::IsIntParam(U32 Id)
{
    return Id < DCP_NUM_INT_PARAMS && Id != NO_PARAM;
}

void CDeviceConfig::Reset()
{
    std::lock_guard Lock(m_Mutex);
    for (const INT_ROW& Row : aIntRow) m_aInt[Row.Id] = Row.Default;
    for (const STRING_ROW& Row : aStringRow) m_asText[Row.Id - DCP_FIRST_STRING] = QString::fromLatin1(Row.sDefault);
    m_sXml = _BuildXml();
}

int CDeviceConfig::GetInt(U32 Id) const
{
    std::lock_guard Lock(m_Mutex);
    return Id < DCP_NUM_INT_PARAMS ? m_aInt[Id] : 0;
}

QString CDeviceConfig::GetString(U32 Id) const
{
    std::lock_guard Lock(m_Mutex);
    return IsStringParam(Id) ? m_asText[Id - DCP_FIRST_STRING] : QString();
}

int CDeviceConfig::SetInt(U32 Id, int Value)
{
    if (!IsIntParam(Id)) return -1;
    std::lock_guard Lock(m_Mutex);
    m_aInt[Id] = Value;
    switch (Id) {
    case DCP_USE_MAX_SPEED:
        if (Value > 0) m_aInt[DCP_SPEED] = SPEED_AUTO;
        break;
    case DCP_USE_ADAPTIVE:
        if (Value > 0) m_aInt[DCP_SPEED] = SPEED_ADAPTIVE;
        break;
    default:
        break;
    }
    const bool TouchesSpeed = Id == DCP_SPEED || (Value > 0 && (Id == DCP_USE_MAX_SPEED || Id == DCP_USE_ADAPTIVE));
    if (TouchesSpeed) {
        m_aInt[DCP_USE_MAX_SPEED] = m_aInt[DCP_SPEED] == SPEED_AUTO;
        m_aInt[DCP_USE_ADAPTIVE] = m_aInt[DCP_SPEED] == SPEED_ADAPTIVE;
    }
    m_sXml = _BuildXml();
    return 0;
}

int CDeviceConfig::SetString(U32 Id, const QString& sValue)
{
    if (!IsStringParam(Id)) return -1;
    std::lock_guard Lock(m_Mutex);
    m_asText[Id - DCP_FIRST_STRING] = sValue.left(aStringRow[Id - DCP_FIRST_STRING].MaxLen);
    m_sXml = _BuildXml();
    return 0;
}

U32 CDeviceConfig::GetSpeedKHz() const
{
    std::lock_guard Lock(m_Mutex);
    if (m_aInt[DCP_USE_MAX_SPEED]) return SPEED_AUTO;
    if (m_aInt[DCP_USE_ADAPTIVE]) return SPEED_ADAPTIVE;
    return U32(m_aInt[DCP_SPEED]) / 1000;
}

QString CDeviceConfig::GetXml() const
{
    std::lock_guard Lock(m_Mutex);
    return m_sXml;
}

QString CDeviceConfig::_BuildXml() const
{
    QString sXml;
    QXmlStreamWriter Writer(&sXml);
    auto Number = [&](U32 Id) {
        Writer.writeAttribute(aIntRow[Id].sKey, "0x" + QString::number(U32(m_aInt[Id]), 16).toUpper());
    };
    Writer.writeStartElement("BrylloSettings");

    Writer.writeStartElement("HostInterface");
    Number(DCP_CONNECT_MODE);
    Number(DCP_USB_SERIAL_NO);
    Writer.writeAttribute("HostName", m_asText[DCP_HOST_NAME - DCP_FIRST_STRING]);
    Number(DCP_USE_SERIAL_NO);
    Writer.writeEndElement();

    Writer.writeStartElement("TargetDevice");
    Number(DCP_CORE_INDEX);
    Number(DCP_ENDIAN);
    QString sDevice = m_asText[DCP_DEVICE_NAME - DCP_FIRST_STRING];
    if (sDevice.contains(' ')) sDevice = '"' + sDevice + '"';
    Writer.writeAttribute("DeviceName", sDevice);
    Writer.writeEndElement();

    Writer.writeStartElement("TargetInterface");
    Number(DCP_TARGET_IF);
    Number(DCP_DR_PRE);
    Number(DCP_IR_PRE);
    Number(DCP_MULTIPLE_TARGETS);
    const U32 KHz = U32(m_aInt[DCP_SPEED]) / 1000;
    Writer.writeAttribute("Speed", KHz == 0 ? QString("auto") : QString::number(KHz));
    Number(DCP_USE_ADAPTIVE);
    Number(DCP_USE_MAX_SPEED);
    Writer.writeEndElement();

    Writer.writeEndElement();
    return sXml;
}

int CDeviceConfig::ParseXml(const QString& sXml, XML_VALUES* pValues)
{
    // An attribute counts where it is met first: on the root, then on each child of the root in turn.
    QHash<QString, QString> Attrs;
    QXmlStreamReader Reader(sXml);
    int Depth = 0;
    while (!Reader.atEnd()) {
        const auto Token = Reader.readNext();
        if (Token == QXmlStreamReader::StartElement) {
            if (++Depth > 2) continue;
            for (const QXmlStreamAttribute& Attr : Reader.attributes())
                if (!Attrs.contains(Attr.name().toString()))
                    Attrs.insert(Attr.name().toString(), Attr.value().toString());
        } else if (Token == QXmlStreamReader::EndElement) {
            Depth--;
        }
    }
    if (Reader.hasError()) return -1;

    *pValues = XML_VALUES();
    for (const INT_ROW& Row : aIntRow) {
        pValues->aInt[Row.Id] = Row.XmlDefault;
        if (!Row.sKey) continue;
        const auto It = Attrs.constFind(Row.sKey);
        if (It != Attrs.constEnd()) pValues->aInt[Row.Id] = ParseNumber(*It);
    }
    // The text holds kHz.
    const I64 Hz = I64(pValues->aInt[DCP_SPEED]) * 1000;
    pValues->aInt[DCP_SPEED] = Hz >= 0 && Hz <= 0x7FFFFFFF ? int(Hz) : SPEED_AUTO;
    pValues->HasHostName = Attrs.contains("HostName");
    pValues->HostName = Attrs.value("HostName");
    pValues->HasDeviceName = Attrs.contains("DeviceName");
    pValues->DeviceName = Attrs.value("DeviceName").remove('"');
    return 0;
}
