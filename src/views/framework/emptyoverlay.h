// CEmptyOverlay, what a window without content shows: a text that says why, and sometimes a button.
#pragma once
#include <QFrame>

class QLabel;
class QPushButton;

class CEmptyOverlay : public QFrame {
    Q_OBJECT

public:
    explicit CEmptyOverlay(QWidget* pParent);

    void SetTexts(const QString& sText, const QString& sButton); ///< an empty text hides its part
    void SetTextMinimumSize(const QSize& Size); ///< of the text's label
    QString GetText() const;
    QString GetButtonText() const;
    QRect GetButtonRect() const; ///< in coordinates of the parent; empty without a button

private:
    QLabel* m_pLabel = nullptr;
    QPushButton* m_pButton = nullptr;
};
