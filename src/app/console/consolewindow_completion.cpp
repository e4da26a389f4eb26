// The list of completions and the hint of the console's input line, and the keys that belong to them.
//
// Tab fills in what is certain, then opens the list, then walks through it; Enter takes a row that was chosen
// and otherwise runs what was typed; Esc closes.
#include "app/actions/commandtext.h"
#include "app/console/commandarguments.h"
#include "app/console/commandhelp.h"
#include "app/console/completionpopup.h"
#include "app/console/consolewindow.h"

#include <QKeyEvent>
#include <QLineEdit>

namespace {
constexpr int MIN_TYPED = 2; ///< characters of a command's name before the list opens by itself

/// Lists that are short enough to be shown before anything is typed.
bool IsShortList(ARGUMENT_KINDS Kind)
{
    switch (Kind) {
    case ARG_WINDOW:
    case ARG_TOOLBAR:
    case ARG_CONSTANT:
    case ARG_WORDS:
    case ARG_SYS_VAR:
    case ARG_PREFERENCE:
    case ARG_VAR_VALUE:
    case ARG_COLOR_ID:
    case ARG_FONT_ID:
        return true;
    default:
        return false;
    }
}

/// Whether the list opens while the user only types.
bool IsWorthShowing(const COMPLETION& c, const QString& sWord)
{
    // A list of what stands there already would only be in the way.
    if (c.Items.size() == 1 && c.Items[0].Insert.trimmed().compare(sWord.trimmed(), Qt::CaseInsensitive) == 0)
        return false;
    if (c.ArgIndex < 0) return sWord.size() >= MIN_TYPED;
    return !sWord.isEmpty() || IsShortList(GetArgumentInfo(c.ActionId, c.ArgIndex).Kind);
}

bool IsWordChar(QChar c)
{
    return c.isLetterOrNumber() || c == '_';
}

/// How much of the text behind the cursor the completed text brings along itself: the rest of the same word, and a
/// blank or a closing quote that stands there already. Added is what the completion writes behind what was typed.
qsizetype GetOverlap(const QString& sAdded, const QString& sBehind)
{
    const bool HasEnd = sAdded.endsWith(' ') || sAdded.endsWith('"');
    const QString sWord = HasEnd ? sAdded.chopped(1) : sAdded;
    qsizetype Length = qMin(sWord.size(), sBehind.size());
    while (Length > 0) {
        const bool Same = sWord.right(Length).compare(sBehind.left(Length), Qt::CaseInsensitive) == 0;
        // A word that only begins with the end of what is added is another one.
        if (Same && (Length == sWord.size() || Length == sBehind.size() || !IsWordChar(sBehind[Length]))) break;
        Length--;
    }
    if (HasEnd && Length < sBehind.size() && sBehind[Length] == sAdded.back()) Length++;
    return Length;
}
} // namespace

bool CConsoleWindow::IsEscKeyOpActive() const
{
    return m_pPopup->isVisible() && m_pInput->hasFocus();
}

bool CConsoleWindow::_HandleCompletionKey(QKeyEvent* pEvent)
{
    const bool HasList = m_pPopup->HasList();
    const bool MovesInList = HasList && (m_IsListRequested || m_pPopup->GetChosen());
    switch (pEvent->key()) {
    case Qt::Key_Tab:
        if (pEvent->modifiers() != Qt::NoModifier) return false;
        // In an empty line the key moves the focus as everywhere.
        if (m_pInput->text().isEmpty()) return false;
        _CompleteInput();
        return true;
    case Qt::Key_Backtab:
        if (HasList) m_pPopup->MoveChoice(-1);
        return HasList;
    case Qt::Key_Space:
        if (pEvent->modifiers() != Qt::ControlModifier) return false;
        m_IsHintClosed = false;
        _UpdateCompletion(true);
        return true;
    case Qt::Key_Up:
        if (MovesInList) m_pPopup->MoveChoice(-1);
        return MovesInList;
    case Qt::Key_Down:
        if (HasList) m_pPopup->MoveChoice(1);
        return HasList;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        if (HasList)
            m_pPopup->MoveChoice(
                pEvent->key() == Qt::Key_PageUp ? -m_pPopup->GetPageRows() : m_pPopup->GetPageRows(), false);
        return HasList;
    case Qt::Key_Escape:
        if (!m_pPopup->isVisible()) return false;
        m_IsHintClosed = true;
        _HideCompletion();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter: {
        if (!m_pPopup->GetChosen()) return false;
        const QString sBefore = m_pInput->text();
        _AcceptChoice();
        // What was chosen stood there already: the key runs it.
        return m_pInput->text().trimmed() != sBefore.trimmed();
    }
    default:
        return false;
    }
}

void CConsoleWindow::_CompleteInput()
{
    if (m_pPopup->GetChosen()) {
        _AcceptChoice();
        return;
    }
    const QString sBefore = m_pInput->text().left(m_pInput->cursorPosition());
    const COMPLETION c = CompleteCommand(sBefore);
    if (c.Items.isEmpty()) return;
    const QString sWord = sBefore.mid(c.Start);
    if (c.Common != sWord) {
        const bool Extends = c.Common.compare(sWord, Qt::CaseInsensitive) != 0;
        _ReplaceWord(c, c.Common);
        if (c.Items.size() == 1 && !c.Items[0].GoesOn) {
            _UpdateCompletion(false);
            return;
        }
        _UpdateCompletion(true);
        if (Extends) return;
    }
    if (c.Items.size() == 1) return;
    if (m_pPopup->HasList() && m_IsListRequested)
        m_pPopup->MoveChoice(1);
    else
        _UpdateCompletion(true);
}

void CConsoleWindow::_AcceptChoice()
{
    const COMPLETION_ITEM* pItem = m_pPopup->GetChosen();
    if (!pItem) return;
    const COMPLETION_ITEM Item = *pItem;
    _ReplaceWord(CompleteCommand(m_pInput->text().left(m_pInput->cursorPosition())), Item.Insert);
    m_pInput->setFocus();
    _UpdateCompletion(Item.GoesOn);
}

void CConsoleWindow::_ReplaceWord(const COMPLETION& Completion, const QString& sText)
{
    // Through the selection, so that the line's own undo takes it back.
    const QString sBehind = m_pInput->text().mid(Completion.Start + Completion.Length);
    const QString sWord = m_pInput->text().mid(Completion.Start, Completion.Length);
    const qsizetype NumTyped = sText.startsWith(sWord, Qt::CaseInsensitive) ? sWord.size() : 0;
    m_pInput->setSelection(Completion.Start, Completion.Length + int(GetOverlap(sText.mid(NumTyped), sBehind)));
    m_pInput->insert(sText);
}

void CConsoleWindow::_UpdateCompletion(bool IsRequested)
{
    const QString sBefore = m_pInput->text().left(m_pInput->cursorPosition());
    COMPLETION c = CompleteCommand(sBefore);
    const QString sWord = sBefore.mid(c.Start);
    if (sBefore.isEmpty()) m_IsHintClosed = false;
    if (!IsRequested && !IsWorthShowing(c, sWord)) c.Items.clear();
    if (m_IsHintClosed && !IsRequested) c.Items.clear();
    m_IsListRequested = IsRequested && !c.Items.isEmpty();
    const QString sHint =
        c.ActionId >= 0 && !m_IsHintClosed ? GetCommandHint(c.ActionId, c.ArgIndex) : QString();
    const int CursorX = m_pInput->inputMethodQuery(Qt::ImCursorRectangle).toRect().x();
    m_pPopup->Show(c.Items, sHint, CursorX - m_pInput->fontMetrics().horizontalAdvance(sWord));
}

void CConsoleWindow::_HideCompletion()
{
    m_IsListRequested = false;
    m_pPopup->Show({}, {}, 0);
}
