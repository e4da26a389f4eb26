// CDockTabs, the tab bars that the main window makes where docks share a place: tabs can be dragged into another order,
// and a click on one gives its window the focus.
//
//   m_pDockTabs->Update();   // after docks were shown, hidden or moved
//
// Main thread only.
#pragma once
#include <QObject>

class QDockWidget;
class QMainWindow;
class QTabBar;

class CDockTabs : public QObject {
    Q_OBJECT

public:
    explicit CDockTabs(QMainWindow* pMainWindow); ///< which owns it
    QDockWidget* GetDockAt(const QTabBar* pTabs, const QPoint& Pos) const; ///< of the tab there; null beside them
    void Update(); ///< takes new tab bars over; the toolkit makes and drops them as docks come and go

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;

private:
    QDockWidget* FindDock(const QString& sTitle) const;
    void StoreOrder(QTabBar* pTabs);

    QMainWindow* m_pMainWindow;
    bool m_WasMoved = false; ///< a tab changed its place since the button went down
};
