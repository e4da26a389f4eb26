// CFindBar, the line below the source text that finds a text in the current document.
#pragma once
#include <QFrame>

class QLabel;
class QLineEdit;
class QToolButton;

class CFindBar : public QFrame {
    Q_OBJECT

public:
    explicit CFindBar(QWidget* pParent = nullptr);

    void Open(const QString& sText); ///< an empty text keeps what was searched last
    QString GetText() const;
    void SetText(const QString& sText);
    bool IsMatchCase() const;
    bool IsWholeWord() const;
    void SetResult(int Index, int NumMatches); ///< 1-based place of the current match; 0 matches show as not found

signals:
    void FindRequested(bool Forward);
    void PatternChanged();
    void Closed();

protected:
    void keyPressEvent(QKeyEvent* pEvent) override;

private:
    QToolButton* AddButton(const char* sName, const QString& sText, const char* sIcon, bool Checkable);

    QLineEdit* m_pEdit = nullptr;
    QToolButton* m_pButtonCase = nullptr;
    QToolButton* m_pButtonWord = nullptr;
    QLabel* m_pLabelResult = nullptr;
};
