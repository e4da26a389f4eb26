#include "app/batch/paintpacer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

namespace {
constexpr int FRAME_MS = 16; ///< of a display with 60 pictures a second
} // namespace

CPaintPacer::CPaintPacer(QWidget* pWindow) : m_pWindow(pWindow)
{
    m_Timer.setSingleShot(true);
    // The window still has what is to be painted; it waits for the request, of which it sends no second one.
    connect(&m_Timer, &QTimer::timeout, this,
            [this] { QCoreApplication::postEvent(m_pWindow, new QEvent(QEvent::UpdateRequest)); });
    m_pWindow->installEventFilter(this);
}

CPaintPacer::~CPaintPacer()
{
    m_pWindow->removeEventFilter(this);
    if (m_Timer.isActive()) QCoreApplication::postEvent(m_pWindow, new QEvent(QEvent::UpdateRequest));
}

bool CPaintPacer::eventFilter(QObject*, QEvent* pEvent)
{
    if (pEvent->type() != QEvent::UpdateRequest) return false;
    if (m_Timer.isActive()) return true;
    if (m_SincePaint.isValid() && m_SincePaint.elapsed() < FRAME_MS) {
        m_Timer.start(FRAME_MS - int(m_SincePaint.elapsed()));
        return true;
    }
    m_SincePaint.start();
    return false;
}
