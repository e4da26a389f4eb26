#include "device/target/devicetable.h"

#include "app/services/mainthread.h"
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"

#include <QHash>
#include <algorithm>
#include <cstring>

namespace {

QList<DEVICE_ENTRY> ReadTable()
{
    QList<DEVICE_ENTRY> Table;
    QHash<QString, U32> NumOfName;
    const int Num = BRYLLOARM_DEVICE_GetInfo(-1, nullptr);
    for (int i = 1; i < Num; i++) {
        BRYLLOARM_DEVICE_INFO Device;
        std::memset(&Device, 0, sizeof Device);
        Device.SizeOfStruct = sizeof Device;
        if (BRYLLOARM_DEVICE_GetInfo(i, &Device) < 0 || !Device.sName || !*Device.sName) continue;
        DEVICE_ENTRY Entry;
        Entry.Index = i;
        Entry.sName = QString::fromUtf8(Device.sName);
        Entry.sManu = QString::fromUtf8(Device.sManu ? Device.sManu : "");
        Entry.Core = Device.Core;
        Entry.sCore = CDeviceTarget::Get().GetCoreName(Device.Core);
        Entry.FlashSize = Device.FlashSize;
        Entry.RAMSize = Device.RAMSize;
        if (NumOfName[Entry.sName.toLower()]++ == 0) Table << Entry; // further cores are no devices of their own
    }
    for (DEVICE_ENTRY& Entry : Table) Entry.NumCores = NumOfName.value(Entry.sName.toLower());
    return Table;
}

} // namespace

const QList<DEVICE_ENTRY>& DEVICE_GetTable()
{
    AssertMainThread("DEVICE_GetTable");
    static const QList<DEVICE_ENTRY> Table = ReadTable();
    return Table;
}

const DEVICE_ENTRY* DEVICE_FindEntry(const QString& sName)
{
    const QList<DEVICE_ENTRY>& Table = DEVICE_GetTable();
    const auto it = std::find_if(Table.begin(), Table.end(), [&sName](const DEVICE_ENTRY& Entry) {
        return Entry.sName.compare(sName, Qt::CaseInsensitive) == 0;
    });
    return it == Table.end() ? nullptr : &*it;
}

bool DEVICE_IsSupportedFamily(U32 Family)
{
    return Family == 1 || Family == 3 || (Family >= 6 && Family <= 12) || Family == 14 || Family == 15 || Family == 19;
}
