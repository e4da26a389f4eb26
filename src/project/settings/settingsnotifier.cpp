// The one notifier of the settings tables.
#include "project/settings/settingsnotifier.h"

CSettingsNotifier& CSettingsNotifier::Get()
{
    static CSettingsNotifier Instance;
    return Instance;
}

#include "moc_settingsnotifier.cpp"
