// The state of the three target dialogs as text: one XML element a dialog, which one dialog hands to the next.
//
//   TARGET_DEVICE_STATE State;
//   ReadState(sText, &State);            // what the text doesn't hold keeps its value
//   State.sDeviceName = "VS4F-512";
//   ReplaceState(&sText, WriteState(State));
#pragma once
#include "app/services/types.h"

#include <QString>
#include <QStringList>

struct TARGET_DEVICE_STATE {
    U32 CoreIndex = 0;  ///< among the device's cores
    U32 Endian = 0;     ///< 0 little, 1 big
    QString sDeviceName;
};

/// How the probe is reached.
enum HOST_CONNECT_MODES : U32 { HOST_CONNECT_USB = 1, HOST_CONNECT_TCPIP = 2 };

struct HOST_INTERFACE_STATE {
    U32 ConnectMode = HOST_CONNECT_USB;
    U32 USBSerialNo = 0;
    QString sHostName;
    bool UseSerialNo = false; ///< a serial number selects the probe
};

struct TARGET_INTERFACE_STATE {
    U32 TargetIF = 1; ///< 0 JTAG, 1 SWD, 3 FINE, 7 cJTAG
    U32 DRPre = 0;    ///< position in the scan chain
    U32 IRPre = 0;    ///< sum of the instruction register lengths closer to TDO
    bool MultipleTargets = false;
    U32 Speed = 4000; ///< kHz
    bool UseAdaptive = false;
    bool UseMaxSpeed = false;
};

/// What the three elements of a text say; an element that it lacks has its defaults.
struct TARGET_STATE {
    explicit TARGET_STATE(const QString& sText);
    TARGET_DEVICE_STATE Device;
    HOST_INTERFACE_STATE Host;
    TARGET_INTERFACE_STATE Interface;
};

/// Reads one dialog's element out of a text. False, with *pState as it was, if the text has none.
bool ReadState(const QString& sText, TARGET_DEVICE_STATE* pState);
bool ReadState(const QString& sText, HOST_INTERFACE_STATE* pState);
bool ReadState(const QString& sText, TARGET_INTERFACE_STATE* pState);

/// The same as a value: the defaults where the text has no such element.
template <typename STATE> STATE GetState(const QString& sText)
{
    STATE State;
    ReadState(sText, &State);
    return State;
}

QString WriteState(const TARGET_DEVICE_STATE& State);
QString WriteState(const HOST_INTERFACE_STATE& State);
QString WriteState(const TARGET_INTERFACE_STATE& State);

/// Puts an element in the place of the one of the same name in a text, or behind it when there is none.
void ReplaceState(QString* psText, const QString& sElement);

/// One line that tells the choice to a reader: "VS4F-512, Big Endian"; "USB: SN=42"; "SWD, 4 MHz".
QString DescribeState(const TARGET_DEVICE_STATE& State, U32 NumCores);
QString DescribeState(const HOST_INTERFACE_STATE& State);
QString DescribeState(const TARGET_INTERFACE_STATE& State);

/// The elements of a text as the configuration that the device reads (CDevice::ConfigureAsync).
QString GetConfigXml(const QString& sText);

/// Speeds that are offered, the fastest first.
const QStringList& GetTIFSpeedTexts();
/// Speed of a state as a command takes it: "4 MHz", "auto", "adaptive".
QString GetSpeedText(const TARGET_INTERFACE_STATE& State);

/// "JTAG", "SWD", "FINE", "cJTAG"; empty for any other number.
QString GetTargetIFName(U32 TargetIF);
