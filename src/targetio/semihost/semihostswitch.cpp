// CSemihostSwitch: turns semihosting on and off.
#include "targetio/semihost/semihostswitch.h"

#include "core/host/corecalls.h"
#include "device/queue/device.h"
#include "project/settings/sysvars.h"
#include "targetio/semihost/semihost.h"

namespace {
constexpr char TEXT_ACTIVE[] = ">> Semihosting IO active\n";
constexpr char TEXT_INACTIVE[] = ">> Semihosting IO inactive\n";
constexpr char TEXT_INIT_FAILED[] =
    ">> Failed to initialize hardware for semihosting IO: target core support plugin function 'InitSemihosting' "
    "returned error code.\n";
} // namespace

CSemihostSwitch& CSemihostSwitch::Get()
{
    static CSemihostSwitch* const pSwitch = new CSemihostSwitch; // a listener to the end of the process
    return *pSwitch;
}

bool CSemihostSwitch::IsEnabled() const
{
    return CSemiHost::Get().IsEnabled();
}

void CSemihostSwitch::_Init()
{
    // A plug-in that can't prepare the hardware can't promise to see a request either.
    if (Core_HasInitSemihosting() && Core_InitSemihosting(m_sConfig.toUtf8().constData()) == 0) return;
    emit TextAdded(QLatin1String(TEXT_INIT_FAILED));
    CSemiHost::Get().SetEnabled(false);
    SetVar(VAR_SEMIHOSTING_ENABLED, 0, false);
    emit TextAdded(QLatin1String(TEXT_INACTIVE));
}

void CSemihostSwitch::_Apply()
{
    if (!CDevice::Get().IsConnected()) return;
    if (IsEnabled())
        _Init();
    else
        Core_DeinitSemihosting();
}

void CSemihostSwitch::SetCapture(bool OnOff)
{
    CSemiHost::Get().SetEnabled(OnOff);
    emit TextAdded(QLatin1String(OnOff ? TEXT_ACTIVE : TEXT_INACTIVE));
    SetVar(VAR_SEMIHOSTING_ENABLED, OnOff, false);
    _Apply();
}

void CSemihostSwitch::Configure(const QString& sConfig)
{
    m_sConfig = sConfig;
    if (!CDevice::Get().IsConnected()) return;
    Core_DeinitSemihosting();
    if (IsEnabled()) _Init();
}

void CSemihostSwitch::Restart()
{
    if (!CDevice::Get().IsConnected()) return;
    Core_DeinitSemihosting();
    _Apply();
}

void CSemihostSwitch::Suspend()
{
    if (CDevice::Get().IsConnected()) Core_DeinitSemihosting();
}

void CSemihostSwitch::OnDeviceConnectDone(CONNECT_MODES)
{
    // The variable may have been set in other ways than by the switch.
    CSemiHost::Get().SetEnabled(GetVarValue(VAR_SEMIHOSTING_ENABLED) != 0);
    _Apply();
}

void CSemihostSwitch::OnDeviceAboutToDisconnect()
{
    CSemiHost::Get().CancelOperation();
    Core_DeinitSemihosting();
}

#include "moc_semihostswitch.cpp"
