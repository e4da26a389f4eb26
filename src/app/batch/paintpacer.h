// CPaintPacer: lets a window paint as often as a display would show it. A platform without a display paints at every
// turn of the event loop, pictures that nobody sees and that cost a batch run more than its debugging.
#pragma once
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class QWidget;

class CPaintPacer : public QObject {
public:
    /// Holds back the paint requests of a top-level window while this object lives. pWindow outlives it.
    explicit CPaintPacer(QWidget* pWindow);
    ~CPaintPacer() override;
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;

private:
    QWidget* m_pWindow;
    QElapsedTimer m_SincePaint;
    QTimer m_Timer; ///< runs while a request is held back
};
