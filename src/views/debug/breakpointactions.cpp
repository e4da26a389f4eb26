#include "views/debug/breakpointactions.h"

#include <QAction>
#include <QMenu>

CBreakpointActions::CBreakpointActions(QWidget* pWindow, const BREAKPOINT_PLACE& Place)
    : QObject(pWindow), m_Place(Place)
{
    m_pActionSet = AddAction(pWindow, "Set &Breakpoint", "F9", "Sets or clears the Breakpoint");
    m_pActionState =
        AddAction(pWindow, "Disable Breakpoint", "Shift+F9", "Disables or enables the Breakpoint");
    m_pActionEdit =
        AddAction(pWindow, "Ed&it Breakpoint...", "F8", "Edits the Properties of the Breakpoint");
    connect(m_pActionSet, &QAction::triggered, this, [this] { m_Place.RunCommand(false); });
    connect(m_pActionState, &QAction::triggered, this, [this] { m_Place.RunCommand(true); });
    connect(m_pActionEdit, &QAction::triggered, this, &CBreakpointActions::OnEditTriggered);
}

/// Without a name of its own: the action table's rows belong to the breakpoint window.
QAction* CBreakpointActions::AddAction(QWidget* pWindow, const char* sText, const char* sShortcut,
                                       const char* sStatusTip)
{
    auto* pAction = new QAction(QString::fromLatin1(sText), pWindow);
    pAction->setShortcut(QKeySequence(QLatin1String(sShortcut)));
    pAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    pAction->setStatusTip(QString::fromLatin1(sStatusTip));
    pWindow->addAction(pAction);
    return pAction;
}

void CBreakpointActions::AddTo(QMenu& Menu)
{
    const VIEW_POINT Point = m_Place.GetPoint();
    m_pActionSet->setText(Point.Exists ? QStringLiteral("Clear &Breakpoint")
                                       : QStringLiteral("Set &Breakpoint"));
    Menu.addAction(m_pActionSet);
    if (!Point.Exists) return;
    m_pActionState->setText(Point.State == BP_STATE_DISABLED ? QStringLiteral("E&nable Breakpoint")
                                                             : QStringLiteral("Disable Breakpoint"));
    Menu.addAction(m_pActionState);
    Menu.addAction(m_pActionEdit);
}

void CBreakpointActions::OnEditTriggered()
{
    const auto Edit = GetDebugViewHooks().EditBreakpoint;
    if (!Edit || !m_Place.GetPoint().Exists) return;
    VIEW_BREAKPOINT Breakpoint;
    Breakpoint.Kind = VIEW_BREAKPOINT::CODE;
    Breakpoint.sLocation = m_Place.GetLocation();
    Edit(Breakpoint);
}

#include "moc_breakpointactions.cpp"
