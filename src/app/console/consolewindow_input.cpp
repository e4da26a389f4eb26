// The input line of the console, and the echo of actions as command text.
#include "app/console/consolewindow.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/console/commandhelp.h"
#include "project/settings/sysvars.h"

#include <QAction>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTextBlock>

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
    if (_IsActivation(pObject, pEvent)) {
        const QPoint Pos = pEvent->type() == QEvent::KeyPress ? m_pText->cursorRect().center()
                                                              : static_cast<QMouseEvent*>(pEvent)->pos();
        emit LineActivated(m_pText->cursorForPosition(Pos).block().text());
        return pEvent->type() == QEvent::KeyPress; // a double click selects a word as well
    }
    if (pObject == m_pText && pEvent->type() == QEvent::KeyPress) return _TypeIntoInput(static_cast<QKeyEvent*>(pEvent));
    return CWindow::eventFilter(pObject, pEvent);
}

bool CConsoleWindow::_IsActivation(QObject* pObject, QEvent* pEvent) const
{
    if (pObject == m_pText->viewport())
        return pEvent->type() == QEvent::MouseButtonDblClick && static_cast<QMouseEvent*>(pEvent)->button() == Qt::LeftButton;
    if (pObject != m_pText || pEvent->type() != QEvent::KeyPress) return false;
    const int Key = static_cast<QKeyEvent*>(pEvent)->key();
    return Key == Qt::Key_Return || Key == Qt::Key_Enter;
}

bool CConsoleWindow::_TypeIntoInput(QKeyEvent* pEvent)
{
    const bool IsPaste = pEvent->matches(QKeySequence::Paste);
    const bool IsShortcut = pEvent->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    const bool IsText = !IsShortcut && !pEvent->text().isEmpty() && pEvent->text().front().isPrint();
    if (!IsPaste && !IsText) return false;
    m_pInput->setFocus();
    QCoreApplication::sendEvent(m_pInput, pEvent);
    return true;
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
    m_pText->moveCursor(QTextCursor::End); // a selection holds the view, but now the answer is to be seen
    if (!sText.isEmpty())
        ExecuteCommand(sText);
    else
        _Write(QString(), _GetLook(Qt::transparent, false));
}

void CConsoleWindow::_TakePastedLines(const QString& sText)
{
    static const QRegularExpression LineEnd(QStringLiteral("\r\n|\r|\n"));
    QStringList Lines = sText.split(LineEnd);
    m_pInput->setText(Lines.takeLast());
    _HideCompletion();
    // What was recorded in a project script brings its comments and empty lines along.
    for (const QString& sLine : Lines)
        if (const QString s = sLine.trimmed(); !s.isEmpty() && !s.startsWith(QLatin1String("//"))) m_PastedLines.append(s);
    if (!m_PasteTimer.isActive()) m_PasteTimer.start();
}

void CConsoleWindow::_RunPastedLine()
{
    if (m_PastedLines.isEmpty()) return m_PasteTimer.stop();
    // Twice in a row: between two links of a chain of work nothing is under way for a moment.
    m_NumIdleLooks = m_IsBusy && m_IsBusy() ? 0 : m_NumIdleLooks + 1;
    if (m_NumIdleLooks < 2) return;
    m_NumIdleLooks = 0;
    const QString sLine = m_PastedLines.takeFirst();
    const QString sBegun = m_pInput->text();
    OnCommandEntered(sLine);
    if (m_pInput->text().isEmpty()) m_pInput->setText(sBegun);
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
