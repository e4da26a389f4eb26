#include "device/queue/deviceeventworker.h"
#include "device/queue/device.h"

CDeviceEventWorker::CDeviceEventWorker(QObject* pParent) : QTimer(pParent)
{
    setSingleShot(true);
    setInterval(INTERVAL_MS);
    CDevice::Get()._SetEventWorker(this);
    start(); // what was posted before there was a worker
}

CDeviceEventWorker::~CDeviceEventWorker()
{
    CDevice::Get()._SetEventWorker(nullptr);
}

void CDeviceEventWorker::timerEvent(QTimerEvent* pEvent)
{
    QTimer::timerEvent(pEvent);
    stop();
    if (CDevice::Get().DispatchEvents(MAX_EVENTS) > 0) start();
}

#include "moc_deviceeventworker.cpp"
