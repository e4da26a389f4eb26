// CDockTitleBar, the title of a dock with its close button; it stands out while the dock has the focus. A
// double click floats the dock and brings it back.
#pragma once
#include <QFont>
#include <QWidget>

class CDockWindow;
class QToolButton;

class CDockTitleBar : public QWidget {
    Q_OBJECT

public:
    explicit CDockTitleBar(CDockWindow* pDock);

    void SetHighlighted(bool Highlighted);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;

private:
    QToolButton* AddButton(const char* sName, const char* sIcon, const QString& sToolTip);

    CDockWindow* m_pDock;
    QToolButton* m_pButtonClose = nullptr;
    bool m_Highlighted = false;
    mutable QSize m_Hint; ///< for the title and font below; invalid at first
    mutable QString m_sHintTitle;
    mutable QFont m_HintFont;
};
