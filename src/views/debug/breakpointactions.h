// CBreakpointActions: what the user does with the breakpoint under the cursor of a code window, by key and by the
// window's context menu: set or clear (F9), enable or disable (Shift+F9), edit (F8). The keys are those of the breakpoint
// window's rows.
//
//   m_pBreakpointActions = new CBreakpointActions(this, {[this] { return GetPoint(); }, ...});
//   m_pBreakpointActions->AddTo(Menu);
//
// Main thread only. The window owns it.
#pragma once
#include "views/debug/debugviewhooks.h"

#include <QObject>
#include <functional>

class QAction;
class QMenu;

/// The place under the cursor of a code window.
struct BREAKPOINT_PLACE {
    std::function<VIEW_POINT()> GetPoint;             ///< its breakpoint
    std::function<QString()> GetLocation;             ///< as a command's parameter
    std::function<void(bool ToggleState)> RunCommand; ///< true: enables or disables, false: sets or clears
};

class CBreakpointActions : public QObject {
    Q_OBJECT
public:
    CBreakpointActions(QWidget* pWindow, const BREAKPOINT_PLACE& Place);
    void AddTo(QMenu& Menu); ///< the entries that the place allows, in words that tell what they will do

private slots:
    void OnEditTriggered();

private:
    QAction* AddAction(QWidget* pWindow, const char* sText, const char* sShortcut, const char* sStatusTip);

    BREAKPOINT_PLACE m_Place;
    QAction* m_pActionSet = nullptr;
    QAction* m_pActionState = nullptr;
    QAction* m_pActionEdit = nullptr;
};
