// The devices that the probe library knows, as a user chooses one.
//
//   for (const DEVICE_ENTRY& Entry : DEVICE_GetTable()) ... Entry.sName, Entry.sCore ...
#pragma once
#include "app/services/types.h"

#include <QList>
#include <QString>

struct DEVICE_ENTRY {
    int Index = -1; ///< in the library's table, 1 or above
    QString sName;
    QString sManu;      ///< manufacturer
    QString sCore;      ///< name of the core
    U32 Core = 0;       ///< core id; the top byte is the core family
    U32 NumCores = 1;   ///< entries of the table that bear this name, one for each core
    U32 FlashSize = 0;  ///< bytes, 0 for none
    U32 RAMSize = 0;    ///< bytes
};

/// All devices in the order of the library, "Unspecified" left out. Read once and kept. Needs no open probe. Main thread.
const QList<DEVICE_ENTRY>& DEVICE_GetTable();
/// The entry of a name, ignoring case; null if there is none. Main thread.
const DEVICE_ENTRY* DEVICE_FindEntry(const QString& sName);
/// True for a core family that a core support plug-in may know.
bool DEVICE_IsSupportedFamily(U32 Family);
