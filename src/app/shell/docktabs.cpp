#include "app/shell/docktabs.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QMouseEvent>
#include <QPointer>
#include <QTabBar>
#include <QTimer>

namespace {
constexpr char PROPERTY_TAKEN[] = "isDockTabs"; ///< on a tab bar that is looked after already
}

CDockTabs::CDockTabs(QMainWindow* pMainWindow) : QObject(pMainWindow), m_pMainWindow(pMainWindow) {}

void CDockTabs::Update()
{
    for (QTabBar* pTabs : m_pMainWindow->findChildren<QTabBar*>(QString(), Qt::FindDirectChildrenOnly)) {
        pTabs->setElideMode(Qt::ElideRight);
        pTabs->setDocumentMode(true);
        pTabs->setShape(QTabBar::RoundedNorth); // which the style sheet draws flat, like the tabs of the documents
        if (pTabs->accessibleName().isEmpty()) pTabs->setAccessibleName(QStringLiteral("Docked windows"));
        pTabs->setMovable(true);
        if (pTabs->property(PROPERTY_TAKEN).toBool()) continue;
        pTabs->setProperty(PROPERTY_TAKEN, true);
        pTabs->installEventFilter(this);
        connect(pTabs, &QTabBar::tabMoved, this, [this] { m_WasMoved = true; });
    }
}

QDockWidget* CDockTabs::FindDock(const QString& sTitle) const
{
    for (QDockWidget* pDock : m_pMainWindow->findChildren<QDockWidget*>())
        if (pDock->windowTitle() == sTitle && !pDock->isHidden() && !pDock->isFloating()) return pDock;
    return nullptr;
}

QDockWidget* CDockTabs::GetDockAt(const QTabBar* pTabs, const QPoint& Pos) const
{
    const int Index = pTabs->tabAt(Pos);
    return Index < 0 ? nullptr : FindDock(pTabs->tabText(Index));
}

bool CDockTabs::eventFilter(QObject* pObject, QEvent* pEvent)
{
    auto* pTabs = qobject_cast<QTabBar*>(pObject);
    if (pTabs && pEvent->type() == QEvent::MouseButtonPress) {
        m_WasMoved = false;
        // The tab bar itself first brings the window to the front.
        if (QPointer<QDockWidget> pDock = GetDockAt(pTabs, static_cast<QMouseEvent*>(pEvent)->pos()))
            QTimer::singleShot(0, this, [pDock] {
                if (pDock) pDock->setFocus(Qt::MouseFocusReason);
            });
    }
    if (pTabs && pEvent->type() == QEvent::MouseButtonRelease && m_WasMoved) {
        m_WasMoved = false;
        QTimer::singleShot(0, this, [this, pTabs = QPointer<QTabBar>(pTabs)] {
            if (pTabs) StoreOrder(pTabs);
        });
    }
    return QObject::eventFilter(pObject, pEvent);
}

void CDockTabs::StoreOrder(QTabBar* pTabs)
{
    // Without this the tabs would fall back into their old order with the next layout of the group.
    QList<QDockWidget*> Docks;
    for (int i = 0; i < pTabs->count(); i++)
        if (QDockWidget* pDock = FindDock(pTabs->tabText(i))) Docks.append(pDock);
    QDockWidget* pCurrent = FindDock(pTabs->tabText(pTabs->currentIndex()));
    for (int i = 1; i < Docks.size(); i++) m_pMainWindow->tabifyDockWidget(Docks[0], Docks[i]);
    if (pCurrent) {
        pCurrent->raise();
        pCurrent->setFocus();
    }
    Update();
}

#include "moc_docktabs.cpp"
