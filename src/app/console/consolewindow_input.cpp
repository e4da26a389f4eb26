// The input line of the console, and the echo of actions as command text.
#include "app/console/consolewindow.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/console/commandhelp.h"
#include "project/settings/sysvars.h"

#include <QAction>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QTextEdit>

// ---- Input
// -------------------------------------------------------------------------------------------------

bool CConsoleWindow::eventFilter(QObject* pObject, QEvent* pEvent)
{
    if (pObject == m_pInput && (pEvent->type() == QEvent::FocusOut || pEvent->type() == QEvent::Hide)) _HideCompletion();
    if (pObject == m_pInput && pEvent->type() == QEvent::KeyPress) {
        auto* pKey = static_cast<QKeyEvent*>(pEvent);
        pKey->ignore();
        OnInputFieldKeyPressed(pKey);
        if (pKey->isAccepted()) return true;
        pKey->accept();
        return false;
    }
    return CWindow::eventFilter(pObject, pEvent);
}

void CConsoleWindow::OnInputFieldKeyPressed(QKeyEvent* pEvent)
{
    if (_HandleCompletionKey(pEvent)) {
        pEvent->accept();
        return;
    }
    QString sLine;
    switch (pEvent->key()) {
    case Qt::Key_Up:
        sLine = m_History.GoOlder();
        break;
    case Qt::Key_Down:
        sLine = m_History.GoNewer();
        break;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        // What is above the line is read without leaving it.
        m_pText->verticalScrollBar()->triggerAction(pEvent->key() == Qt::Key_PageUp ? QScrollBar::SliderPageStepSub
                                                                                     : QScrollBar::SliderPageStepAdd);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        OnCommandEntered(m_pInput->text());
        break;
    default:
        return;
    }
    pEvent->accept();
    if (!sLine.isNull()) m_pInput->setText(sLine);
    _HideCompletion();
}

void CConsoleWindow::OnCommandEntered(QString sText)
{
    m_History.Add(sText);
    m_pInput->clear();
    _HideCompletion();
    m_IsHintClosed = false;
    if (!sText.isEmpty())
        ExecuteCommand(sText);
    else
        _Write(QString(), _GetLook(Qt::transparent, false));
}

int CConsoleWindow::ExecuteCommand(QString sText)
{
    QString sTopic;
    const QStringList Lines = IsHelpRequest(sText, &sTopic) ? GetCommandHelp(sTopic) : QStringList();
    if (Lines.isEmpty()) return ::ExecuteCommand(sText);
    PrintLines(Lines);
    return EXECUTE_DONE;
}

void CConsoleWindow::PrintCommandHelp()
{
    PrintLines(GetCommandList());
}

void CConsoleWindow::PrintCommandDisabled(QString sName)
{
    PrintError(sName, ERR_COMMAND_DISABLED);
}

void CConsoleWindow::OnActionHelpTriggered()
{
    ::PerformAction(ACT_HELP_COMMANDS);
}

void CConsoleWindow::OnActionShowSidebarTriggered()
{
    SetVar(PREF_SHOW_TIMESTAMPS_CONSOLE, m_pActionShowSidebar->isChecked(), true);
    SetPreference(PREF_SHOW_TIMESTAMPS_CONSOLE, m_pActionShowSidebar->isChecked());
}

// ---- Echo
// --------------------------------------------------------------------------------------------------

void CConsoleWindow::AddCommandListener(CWindow* pWindow)
{
    if (!pWindow || m_Listeners.contains(pWindow)) return;
    m_Listeners.removeAll(QPointer<CWindow>());
    m_Listeners.append(pWindow);
    connect(pWindow, &CWindow::ActionTriggered, this,
            qOverload<QAction*>(&CConsoleWindow::OnActionTriggered));
    connect(pWindow, &CWindow::ActionPerformed, this,
            qOverload<QAction*>(&CConsoleWindow::OnActionPerformed));
}

void CConsoleWindow::RemoveCommandListener(CWindow* pWindow)
{
    if (!pWindow || m_Listeners.removeAll(pWindow) == 0) return;
    disconnect(pWindow, &CWindow::ActionTriggered, this,
               qOverload<QAction*>(&CConsoleWindow::OnActionTriggered));
    disconnect(pWindow, &CWindow::ActionPerformed, this,
               qOverload<QAction*>(&CConsoleWindow::OnActionPerformed));
}

void CConsoleWindow::OnActionTriggered(QAction* pAction)
{
    const int Id = GetActionId(pAction);
    const ACTION_ROW* pRow = GetActionRow(Id);
    if (!pRow || pRow->EchoAfter) return;
    const QString sText = GetCommandText(Id);
    if (sText.isEmpty()) {
        ClearAction(Id);
        return;
    }
    if (pRow->Listed) PrintCommand(sText);
}

void CConsoleWindow::OnActionPerformed(QAction* pAction)
{
    const int Id = GetActionId(pAction);
    const ACTION_ROW* pRow = GetActionRow(Id);
    if (!pRow) return;
    const QString sError = GetActionError(Id);
    QString sText = GetCommandText(Id);
    if (IsActionSilent(Id) || sText.isEmpty()) {
        ClearAction(Id);
        return;
    }
    if (pRow->EchoAfter && pRow->Listed) PrintCommand(sText);
    if (!sError.isEmpty()) PrintError(sText.remove(';'), sError);
    ClearAction(Id);
}
