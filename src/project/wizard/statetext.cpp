#include "project/wizard/statetext.h"

#include "project/file/project.h"
#include "registers/svd/xmlfile.h"

#include <QXmlStreamWriter>

namespace {
constexpr qsizetype MARK_LENGTH = 14; ///< characters that tell the begin and the end of an element
constexpr qsizetype MAX_NUMBER = 20;  ///< digits

QString Number(const char* sName, U64 Value)
{
    const QString sDigits = QString::number(Value, 16).left(MAX_NUMBER);
    return QStringLiteral("<%1>0x%2</%1>").arg(QLatin1String(sName), sDigits);
}

QString Text(const char* sName, const QString& sValue)
{
    return QStringLiteral("<%1>%2</%1>").arg(QLatin1String(sName), sValue.toHtmlEscaped());
}

/// The elements of a text, which stand side by side and have no root of their own.
class CStateReader {
public:
    CStateReader(const QString& sText, const char* sElement)
    {
        if (m_File.Parse("<State>" + sText.toUtf8() + "</State>").isEmpty())
            m_Node = m_File.GetRoot().GetChild(sElement);
    }
    bool IsValid() const { return m_Node.IsValid(); }
    U32 GetNumber(const char* sName, U32 Otherwise) const
    {
        bool Ok = false;
        const U32 Value = m_Node.GetText(sName).toUInt(&Ok, 0);
        return Ok ? Value : Otherwise;
    }
    QString GetText(const char* sName) const { return m_Node.GetText(sName); }

private:
    CXmlFile m_File;
    CXmlNode m_Node;
};

} // namespace

bool ReadState(const QString& sText, TARGET_DEVICE_STATE* pState)
{
    const CStateReader Reader(sText, "TargetDevice");
    if (!Reader.IsValid()) return false;
    pState->CoreIndex = Reader.GetNumber("CoreIndex", pState->CoreIndex);
    pState->Endian = Reader.GetNumber("Endian", pState->Endian);
    pState->sDeviceName = Reader.GetText("DeviceName").remove('"').remove('\'');
    return true;
}

bool ReadState(const QString& sText, HOST_INTERFACE_STATE* pState)
{
    const CStateReader Reader(sText, "HostInterface");
    if (!Reader.IsValid()) return false;
    pState->ConnectMode = Reader.GetNumber("ConnectMode", pState->ConnectMode);
    pState->USBSerialNo = Reader.GetNumber("USBSerialNo", pState->USBSerialNo);
    pState->sHostName = Reader.GetText("HostName");
    pState->UseSerialNo = Reader.GetNumber("UseSerialNo", pState->UseSerialNo) != 0;
    return true;
}

bool ReadState(const QString& sText, TARGET_INTERFACE_STATE* pState)
{
    const CStateReader Reader(sText, "TargetInterface");
    if (!Reader.IsValid()) return false;
    pState->TargetIF = Reader.GetNumber("TargetIF", pState->TargetIF);
    pState->DRPre = Reader.GetNumber("DRPre", pState->DRPre);
    pState->IRPre = Reader.GetNumber("IRPre", pState->IRPre);
    pState->MultipleTargets = Reader.GetNumber("MultipleTargets", pState->MultipleTargets) != 0;
    pState->Speed = Reader.GetNumber("Speed", pState->Speed);
    pState->UseAdaptive = Reader.GetNumber("UseAdaptive", pState->UseAdaptive) != 0;
    pState->UseMaxSpeed = Reader.GetNumber("UseMaxSpeed", pState->UseMaxSpeed) != 0;
    return true;
}

TARGET_STATE::TARGET_STATE(const QString& sText)
{
    ReadState(sText, &Device);
    ReadState(sText, &Host);
    ReadState(sText, &Interface);
}

QString WriteState(const TARGET_DEVICE_STATE& State)
{
    return QStringLiteral("<TargetDevice>") + Number("CoreIndex", State.CoreIndex) + Number("Endian", State.Endian) +
           Text("DeviceName", '"' + State.sDeviceName + '"') + QStringLiteral("</TargetDevice>");
}

QString WriteState(const HOST_INTERFACE_STATE& State)
{
    return QStringLiteral("<HostInterface>") + Number("ConnectMode", State.ConnectMode) +
           Number("USBSerialNo", State.USBSerialNo) + Text("HostName", State.sHostName) +
           Number("UseSerialNo", State.UseSerialNo) + QStringLiteral("</HostInterface>");
}

QString WriteState(const TARGET_INTERFACE_STATE& State)
{
    return QStringLiteral("<TargetInterface>") + Number("TargetIF", State.TargetIF) + Number("DRPre", State.DRPre) +
           Number("IRPre", State.IRPre) + Number("MultipleTargets", State.MultipleTargets) +
           Number("Speed", State.Speed) + Number("UseAdaptive", State.UseAdaptive) +
           Number("UseMaxSpeed", State.UseMaxSpeed) + QStringLiteral("</TargetInterface>");
}

void ReplaceState(QString* psText, const QString& sElement)
{
    const qsizetype Begin = psText->indexOf(sElement.left(MARK_LENGTH));
    const QString sEnd = sElement.right(MARK_LENGTH);
    const qsizetype End = psText->lastIndexOf(sEnd);
    if (Begin < 0 || End < Begin)
        *psText += sElement;
    else
        psText->replace(Begin, End + sEnd.size() - Begin, sElement);
}

QString DescribeState(const TARGET_DEVICE_STATE& State, U32 NumCores)
{
    QString s = State.sDeviceName;
    if (NumCores > 1) s += QStringLiteral(", Core #%1").arg(State.CoreIndex);
    if (State.Endian) s += QStringLiteral(", Big Endian");
    return s;
}

QString DescribeState(const HOST_INTERFACE_STATE& State)
{
    if (State.ConnectMode == HOST_CONNECT_TCPIP) return QStringLiteral("TCP/IP: ") + State.sHostName;
    return State.UseSerialNo ? QStringLiteral("USB: SN=%1").arg(State.USBSerialNo) : QStringLiteral("USB");
}

QString DescribeState(const TARGET_INTERFACE_STATE& State)
{
    QString s = GetTargetIFName(State.TargetIF) + QStringLiteral(", ") + GetSpeedText(State);
    if (State.MultipleTargets) s += QStringLiteral(", position %1, IRPre %2").arg(State.DRPre).arg(State.IRPre);
    return s;
}

QString GetConfigXml(const QString& sText)
{
    const auto [Device, Host, Target] = TARGET_STATE(sText);
    QString sXml;
    QXmlStreamWriter Writer(&sXml);
    const auto Attribute = [&Writer](const char* sName, U32 Value) {
        Writer.writeAttribute(sName, QStringLiteral("0x") + QString::number(Value, 16));
    };
    Writer.writeStartElement("BrylloSettings");
    Writer.writeEmptyElement("HostInterface");
    Attribute("ConnectMode", Host.ConnectMode);
    Attribute("USBSerialNo", Host.USBSerialNo);
    Writer.writeAttribute("HostName", Host.sHostName);
    Attribute("UseSerialNo", Host.UseSerialNo);
    Writer.writeEmptyElement("TargetDevice");
    Attribute("CoreIndex", Device.CoreIndex);
    Attribute("Endian", Device.Endian);
    // A nameless device would replace the one that the project has.
    if (!Device.sDeviceName.isEmpty()) Writer.writeAttribute("DeviceName", '"' + Device.sDeviceName + '"');
    Writer.writeEmptyElement("TargetInterface");
    Attribute("TargetIF", Target.TargetIF);
    Attribute("DRPre", Target.DRPre);
    Attribute("IRPre", Target.IRPre);
    Attribute("MultipleTargets", Target.MultipleTargets);
    Writer.writeAttribute("Speed", QString::number(Target.Speed));
    Attribute("UseAdaptive", Target.UseAdaptive);
    Attribute("UseMaxSpeed", Target.UseMaxSpeed);
    Writer.writeEndElement();
    return sXml;
}

const QStringList& GetTIFSpeedTexts()
{
    static const QStringList SPEEDS = {"50 MHz",  "25 MHz",  "20 MHz",  "15 MHz", "12 MHz", "10 MHz", "8 MHz",
                                       "5 MHz",   "4 MHz",   "3 MHz",   "2 MHz",  "1 MHz",  "500 kHz", "200 kHz",
                                       "100 kHz", "50 kHz",  "20 kHz",  "10 kHz", "5 kHz",  "2 kHz",  "1 kHz"};
    return SPEEDS;
}

QString GetSpeedText(const TARGET_INTERFACE_STATE& State)
{
    constexpr I64 HZ_PER_KHZ = 1000;
    if (State.UseAdaptive) return QStringLiteral("adaptive");
    return State.UseMaxSpeed ? QStringLiteral("auto") : FormatTIFSpeed(I64(State.Speed) * HZ_PER_KHZ);
}

QString GetTargetIFName(U32 TargetIF)
{
    switch (TargetIF) {
    case 0: return QStringLiteral("JTAG");
    case 1: return QStringLiteral("SWD");
    case 3: return QStringLiteral("FINE");
    case 7: return QStringLiteral("cJTAG");
    default: return {};
    }
}
