// CDockWindow, the frame of a debug window: title bar with its own close button, focus highlight, keys passed
// inward.
//
//   auto* pDock = new CDockWindow(pMainWindow);
//   pDock->SetWindow(pWindow);                       // takes ownership, title and object name follow the
//   window pMainWindow->addDockWidget(Qt::RightDockWidgetArea, pDock);
#pragma once
#include <QDockWidget>

class CDockTitleBar;
class CWindow;

class CDockWindow : public QDockWidget {
    Q_OBJECT

public:
    explicit CDockWindow(QWidget* pParent = nullptr);

    /// The window becomes the dock's widget and focus proxy and is owned by it. Whoever places the dock
    /// connects visibilityChanged and topLevelChanged to the window's VisibilityChanged and
    /// FloatingStateChanged.
    void SetWindow(CWindow* pWindow);
    CWindow* GetWindow() const; ///< null before SetWindow
    void SetTitle(const QString& sTitle);
    QString GetTitle() const { return m_sTitle; } ///< windowTitle() holds each "&" twice, for tabs and menus
    void SetHighlighted(bool Highlighted);        ///< the look of the dock that holds the focus
    bool IsHighlighted() const { return m_Highlighted; }
    void RequestClose();   ///< emits CloseRequested() if anybody listens, else closes
    bool IsTabbed() const; ///< shares its place with others, so that a tab bar shows its title

    QSize sizeHint() const override;

signals:
    void MenuRequested(QPoint GlobalPos); ///< of the title, docked or floating
    void CloseRequested(); ///< the close button was clicked; without a receiver the dock closes itself

protected:
    void keyPressEvent(QKeyEvent* pEvent) override;
    void contextMenuEvent(QContextMenuEvent* pEvent) override;
    void closeEvent(QCloseEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;

private:
    void UpdateMinimumSize();

    CDockTitleBar* m_pTitleBar = nullptr;
    QString m_sTitle;
    bool m_Highlighted = false;
};
