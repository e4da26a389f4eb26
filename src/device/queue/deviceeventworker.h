// CDeviceEventWorker: delivers device events on the GUI thread, ten a turn, so that the GUI gets its
// turn between batches. Made by CDevice::CreateEventWorker and owned by the main window.
#pragma once
#include <QTimer>

class CDeviceEventWorker : public QTimer {
    Q_OBJECT
public:
    explicit CDeviceEventWorker(QObject* pParent);
    ~CDeviceEventWorker() override;

    static constexpr int INTERVAL_MS = 1;
    static constexpr int MAX_EVENTS = 10; ///< a turn

protected:
    void timerEvent(QTimerEvent* pEvent) override;
};
