// CToolBar: a tool bar of the main window. Its buttons settle what their command works on before they trigger
// it, and what finds no room is reached by a button at the end that can be seen in both schemes.
#pragma once
#include <QToolBar>
#include <functional>

class CToolBar : public QToolBar {
    Q_OBJECT

public:
    CToolBar(const QString& sTitle, QWidget* pParent);

    /// What a pressed button does before its action is triggered, and what is undone when the button is let
    /// go beside itself and triggers nothing. Both are called with the id given to AddCommand().
    struct PRESS_HOOKS {
        std::function<void(int ID)> Prepare;
        std::function<void(int ID)> Forget;
    };
    void SetPressHooks(const PRESS_HOOKS& Hooks) { m_Hooks = Hooks; }

    /// Appends a command's button.
    void AddCommand(QAction* pAction, int ID);

protected:
    bool event(QEvent* pEvent) override;

private:
    void DressOverflowButton();

    PRESS_HOOKS m_Hooks;
};
