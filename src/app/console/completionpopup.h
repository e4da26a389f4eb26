// The list of completions below the console's input line, and the hint about the command being typed.
//
// It never takes the focus: the input line keeps it, and hands over the keys that belong to the list. No row
// is selected until the user chooses one, so that Enter runs what was typed.
#pragma once
#include "app/console/commandcompletion.h"

#include <QFrame>

class QLabel;
class QListWidget;

class CCompletionPopup : public QFrame {
    Q_OBJECT
public:
    explicit CCompletionPopup(QWidget* pInput);

    /// Shows items (none: no list) and a hint in rich text (empty: no hint) with the left edge at x in the
    /// input line. Hides itself when there is neither.
    void Show(const QList<COMPLETION_ITEM>& Items, const QString& sHint, int x);
    bool HasList() const; ///< on the screen with at least one item
    /// The chosen item, null if the user has chosen none.
    const COMPLETION_ITEM* GetChosen() const;
    /// Moves the choice by rows; from none to the first or the last one, over the ends to the other end.
    void MoveChoice(int Rows, bool Wrap = true);
    int GetPageRows() const;
    QStringList GetTexts() const;
    QString GetHintText() const;

signals:
    void Accepted(); ///< an item was clicked; GetChosen() gives it

protected:
    void changeEvent(QEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;

private:
    void Place(int x);
    void FitHeight();
    void ShowHintOfChoice();

    QWidget* m_pInput;
    QListWidget* m_pList;
    QLabel* m_pHint;
    QString m_sHint; ///< while no command is chosen
    QList<COMPLETION_ITEM> m_Items;
};
