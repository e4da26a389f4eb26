#include "project/wizard/statecommands.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "core/host/corehost.h"
#include "device/target/devicetable.h"
#include "project/wizard/statetext.h"

namespace {
QString GetHostIdent(const HOST_INTERFACE_STATE& State)
{
    if (State.ConnectMode == HOST_CONNECT_TCPIP) return State.sHostName;
    return State.UseSerialNo ? QString::number(State.USBSerialNo) : QString();
}

QString MakeHostCommand(const HOST_INTERFACE_STATE& State)
{
    const bool IsIP = State.ConnectMode == HOST_CONNECT_TCPIP;
    return FormatCommand(ACT_PROJECT_SET_HOST_IF, {IsIP ? QStringLiteral("IP") : QStringLiteral("USB"), GetHostIdent(State)});
}

QString MakeChainCommand(U32 DRPre, U32 IRPre)
{
    return FormatCommand(ACT_PROJECT_SET_JTAG_CONFIG, {QString::number(DRPre), QString::number(IRPre)});
}

bool IsSameChain(const TARGET_INTERFACE_STATE& a, const TARGET_INTERFACE_STATE& b)
{
    return a.DRPre == b.DRPre && a.IRPre == b.IRPre && a.MultipleTargets == b.MultipleTargets;
}
} // namespace

QStringList GetStateCommands(const QString& sState)
{
    const TARGET_STATE State(sState);
    QStringList Commands;
    if (!State.Device.sDeviceName.isEmpty()) Commands << FormatCommand(ACT_PROJECT_SET_DEVICE, {State.Device.sDeviceName});
    if (State.Device.Endian) Commands << FormatCommand(ACT_TARGET_SET_ENDIANESS, {QStringLiteral("1")});
    Commands << MakeHostCommand(State.Host);
    if (const QString sName = GetTargetIFName(State.Interface.TargetIF); !sName.isEmpty())
        Commands << FormatCommand(ACT_PROJECT_SET_TARGET_IF, {sName});
    Commands << FormatCommand(ACT_PROJECT_SET_TIF_SPEED, {GetSpeedText(State.Interface)});
    if (State.Interface.MultipleTargets) Commands << MakeChainCommand(State.Interface.DRPre, State.Interface.IRPre);
    return Commands;
}

QStringList GetChangeCommands(const QString& sOld, const QString& sNew)
{
    const TARGET_STATE Old(sOld), New(sNew);
    const QStringList OldCommands = GetStateCommands(sOld);
    QStringList Commands;
    for (const QString& sCommand : GetStateCommands(sNew))
        if (!OldCommands.contains(sCommand)) Commands << sCommand;
    if (Old.Device.Endian && !New.Device.Endian) Commands << FormatCommand(ACT_TARGET_SET_ENDIANESS, {QStringLiteral("0")});
    if (!New.Interface.MultipleTargets && !IsSameChain(Old.Interface, New.Interface)) Commands << MakeChainCommand(0, 0);
    return Commands;
}

QStringList GetSilentCommands(const QString& sState)
{
    const TARGET_STATE State(sState);
    QStringList Commands;
    if (!State.Device.Endian) Commands << FormatCommand(ACT_TARGET_SET_ENDIANESS, {QStringLiteral("0")});
    if (!State.Interface.MultipleTargets) Commands << MakeChainCommand(State.Interface.DRPre, State.Interface.IRPre);
    return Commands;
}

QStringList GetUntouchedCommands(const QString& sOld, const QString& sNew)
{
    const TARGET_STATE New(sNew);
    QStringList Names;
    if (UsesSamePlugin(sOld, sNew)) Names << GetCommandName(ACT_PROJECT_SET_CORE_PLUGIN);
    if (New.Device.sDeviceName.isEmpty()) Names << GetCommandName(ACT_PROJECT_SET_DEVICE);
    if (GetTargetIFName(New.Interface.TargetIF).isEmpty()) Names << GetCommandName(ACT_PROJECT_SET_TARGET_IF);
    return Names;
}

bool UsesSamePlugin(const QString& sOld, const QString& sNew)
{
    const DEVICE_ENTRY* pOld = DEVICE_FindEntry(TARGET_STATE(sOld).Device.sDeviceName);
    const DEVICE_ENTRY* pNew = DEVICE_FindEntry(TARGET_STATE(sNew).Device.sDeviceName);
    return !pOld || !pNew || QByteArray(Core_GetDefaultPluginName(int(pOld->Core))) == Core_GetDefaultPluginName(int(pNew->Core));
}
