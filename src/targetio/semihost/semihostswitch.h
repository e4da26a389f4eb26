// CSemihostSwitch: turns semihosting on and off, and keeps the core plug-in's hardware in step with it over connects
// and downloads. Its lines are the terminal's.
//
//   CSemihostSwitch::Get().SetCapture(true);
//
// Main thread only.
#pragma once
#include "device/queue/deviceeventlistener.h"

#include <QObject>
#include <QString>

class CSemihostSwitch : public QObject, public CDeviceEventListener {
    Q_OBJECT
public:
    static CSemihostSwitch& Get();

    void SetCapture(bool OnOff);             ///< tells it, stores it in VAR_SEMIHOSTING_ENABLED and applies it
    void Configure(const QString& sConfig);  ///< a text for the plug-in; applied at once
    void Restart();                          ///< the hardware anew, after a download has used the target
    void Suspend();                          ///< the hardware off, before a download
    bool IsEnabled() const;

    void OnDeviceConnectDone(CONNECT_MODES Mode) override;
    void OnDeviceAboutToDisconnect() override;

signals:
    void TextAdded(QString sText); ///< a line for the terminal, with its line end

private:
    CSemihostSwitch() = default;
    void _Init();   ///< prepares the hardware; a failure turns the switch off
    void _Apply();

    QString m_sConfig;
};
