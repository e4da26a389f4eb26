// What is known of the probe library, the probe and the device: texts and numbers that the worker finds out
// and the windows show. A copy is taken under a lock.
#pragma once
#include "app/services/types.h"

#include <QList>
#include <QString>
#include <QStringList>

struct DEVICE_INFO {
    U32 LibVersion = 0;      ///< major * 10000 + minor * 100 + revision
    QString LibVersionText;  ///< "6.21b"
    QString LibPath;
    U32 SerialNo = 0;        ///< of the probe
    QString FirmwareText;
    QString WebUrl;          ///< of the probe's web server, empty when there is none
    int NumDevices = 0;      ///< entries of the device table
    QString DeviceName;      ///< "Unspecified" for an entry without a name
    QString ManuName;
    U32 CoreId = 0;
    U32 CoreFamily = 0;      ///< top byte of the core id
    QString CoreName;
    U32 RAMAddr = 0xFFFFFFFF; ///< 0xFFFFFFFF when unknown
    U32 RAMSize = 0;
    U32 FlashAddr = 0;
    U32 FlashSize = 0;
    QList<U32> SupportedCores; ///< distinct core ids of the device table
    QStringList MemZones;      ///< names, at most 16
};

/// Text of a library version number: major, minor with two digits, revision as a letter.
QString FormatLibVersion(U32 Version);
