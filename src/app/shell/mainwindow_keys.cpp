// Keys: which row of the action table a key press runs, and what a command works on that comes without a
// parameter from a key or a button.
#include "app/actions/actions.h"
#include "app/shell/mainwindow.h"
#include "program/tables/prog.h"
#include "views/debug/disassemblywindow.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/statusbar.h"

#include <QAction>
#include <QApplication>
#include <QFileInfo>
#include <QKeyEvent>
#include <QKeySequence>

bool CMainWindow::HandleKey(QKeyEvent* pKey)
{
    if (pKey->key() == Qt::Key_Escape && pKey->modifiers() == Qt::NoModifier) {
        for (CWindow* pWindow : m_Windows)
            if (pWindow->IsEscKeyOpActive()) return false;
        // Work that takes long is an operation of Esc as well: its button has no other key.
        if (CStatusBar& Bar = CStatusBar::Get(); Bar.IsCancelOffered()) {
            Bar.OnButtonCancelClicked();
            return true;
        }
        m_W.pSource->setFocus();
        return true;
    }
    const Qt::KeyboardModifiers Modifiers = pKey->modifiers() & ~Qt::KeypadModifier;
    if (pKey->key() == Qt::Key_S && Modifiers == (Qt::ShiftModifier | Qt::AltModifier)) {
        m_W.pSource->setFocus();
        return true;
    }
    // A bare letter, digit or editing key belongs to the widget with the focus when it takes text.
    const bool Plain = !(Modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    const QWidget* pFocus = QApplication::focusWidget();
    const bool TakesText = pFocus && pFocus->testAttribute(Qt::WA_InputMethodEnabled);
    if (Plain && TakesText && (pKey->key() < Qt::Key_F1 || pKey->key() > Qt::Key_F35)) return false;
    // Two rows may share a key: the focused window's own comes first, and of one window's what can run.
    int Best = -1, BestRank = 0;
    const QString sKey =
        QKeySequence(QKeyCombination(Modifiers, Qt::Key(pKey->key()))).toString(QKeySequence::PortableText);
    for (const int ID : FindActionsByHotKey(sKey)) {
        const QAction* pAction = GetAction(ID);
        const auto* pOwner = pAction ? qobject_cast<CWindow*>(pAction->parent()) : nullptr;
        if (!pOwner) continue;
        const bool Focused = pOwner != this && pOwner->HasFocus();
        if (!Focused && pOwner != this && pOwner != m_W.pSource) continue;
        const int Rank = 1 + (Focused ? 2 : 0) + (IsCommandEnabled(ID) ? 1 : 0);
        if (Rank <= BestRank) continue;
        Best = ID;
        BestRank = Rank;
    }
    if (Best < 0) return false;
    SetDefaultParam(Best);
    ::PerformAction(Best); // tells it when the command is off
    return true;
}

namespace {

/// The line of the cursor as commands take it; empty without a document.
QString GetCursorLocation(const CSourceWindow& Source)
{
    const CSrcLoc Loc = Source.GetCursorLoc();
    if (!Loc.IsValid()) return {};
    const QString sText = PROG_GetSrcLocText(Loc);
    return sText.isEmpty()
               ? QStringLiteral("%1:%2").arg(QFileInfo(Source.GetActiveFile()).fileName()).arg(Loc.Line)
               : sText;
}

} // namespace

void CMainWindow::SetDefaultParam(int ID)
{
    const CSourceWindow& Source = *m_W.pSource;
    const bool InSource = Source.HasFocus();
    QString sWord = InSource ? Source.GetSelectedTextOrWordUnderCursor() : QString();
    if (sWord.contains(u'\n')) sWord.clear();
    if (m_W.pDisassembly->HasFocus() && m_W.pDisassembly->GetSelectedAddr() != ADDR_NONE)
        sWord = QString::asprintf("0x%08X", m_W.pDisassembly->GetSelectedAddr());
    // Elsewhere the current row tells what is meant.
    for (const CWindow* pWindow : m_Windows)
        if (pWindow != this && pWindow->HasFocus() && sWord.isEmpty()) sWord = pWindow->GetViewParam(GetCommandName(ID));
    QStringList Params;
    switch (ID) {
    case ACT_VIEW_SOURCE:
    case ACT_VIEW_DISASSEMBLY:
        Params << (sWord.isEmpty() && InSource ? GetCursorLocation(Source)
                                               : sWord); // between words the line is meant
        break;
    case ACT_VIEW_DATA:
    case ACT_VIEW_MEMORY_MAP:
    case ACT_VIEW_CALL_GRAPH:
    case ACT_WATCH_ADD:
    case ACT_DATA_GRAPH_ADD:
        Params << sWord;
        break;
    case ACT_SOURCE_OPEN_INCLUDE_FILE:
        Params << Source.GetFileNameUnderCursor();
        break;
    case ACT_BREAK_SET_ON_SRC:
        Params << GetCursorLocation(Source);
        break;
    case ACT_BREAK_SET_ON_DATA:
        Params << Source.GetSelectedTextOrWordUnderCursor();
        break;
    case ACT_TRACE_SET_POINT:
        Params << QStringLiteral("TP_OP_START") << GetCursorLocation(Source);
        break;
    default:
        return;
    }
    if (Params.last().isEmpty())
        ClearAction(ID); // an earlier place isn't meant any more
    else
        SetActionParamList(ID, Params);
}
