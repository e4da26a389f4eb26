// Keys, mouse and editing of the source editor.
#include "project/settings/sysvars.h"
#include "views/debug/cppsyntax.h"
#include "views/debug/sourceeditor.h"
#include "views/debug/srcdocument.h"

#include <QApplication>
#include <QClipboard>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>

namespace {
constexpr int EXPANSION_BAR_WIDTH = 14;
bool IsWordChar(QChar Char) { return Char.isLetterOrNumber() || Char == u'_'; }
} // namespace

// ---- Editing ---------------------------------------------------------------------------------------------

bool CSourceEditor::Edit(QPoint From, QPoint To, const QString& sText)
{
    if (!m_pDocument || m_ReadOnly) return false;
    if (m_EditGuard && !m_EditGuard()) return false;
    AfterEdit(m_pDocument->Replace(From, To, sText));
    return true;
}

void CSourceEditor::AfterEdit(QPoint Cursor)
{
    RebuildRows();
    SetCursorTextPos(Cursor);
    EnsureRowVisible(GetRowOfLine(U32(m_Cursor.y() + 1)), false);
    emit DocumentEdited();
    emit ViewChanged();
}

void CSourceEditor::InsertText(const QString& sText)
{
    const auto [From, To] = GetSelectionRange();
    Edit(From, To, QString(sText).replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(u'\r', u'\n'));
}

void CSourceEditor::Undo()
{
    QPoint Cursor;
    if (m_pDocument && !m_ReadOnly && m_pDocument->Undo(&Cursor)) AfterEdit(Cursor);
}

void CSourceEditor::Redo()
{
    QPoint Cursor;
    if (m_pDocument && !m_ReadOnly && m_pDocument->Redo(&Cursor)) AfterEdit(Cursor);
}

void CSourceEditor::Copy() const
{
    if (HasSelection()) QApplication::clipboard()->setText(GetSelectedText());
}

void CSourceEditor::Cut()
{
    if (!HasSelection()) return;
    const QString sText = GetSelectedText();
    const auto [From, To] = GetSelectionRange();
    if (Edit(From, To, QString())) QApplication::clipboard()->setText(sText);
}

void CSourceEditor::Paste()
{
    const QString sText = QApplication::clipboard()->text();
    if (!sText.isEmpty()) InsertText(sText);
}

// ---- Keys ------------------------------------------------------------------------------------------------

void CSourceEditor::keyPressEvent(QKeyEvent* pEvent)
{
    if (!m_pDocument || !OnKeyPressed(pEvent)) {
        pEvent->ignore();
        return;
    }
    pEvent->accept();
}

bool CSourceEditor::event(QEvent* pEvent)
{
    // Typed text belongs to the editor before it can be a window's one-key shortcut.
    if (pEvent->type() == QEvent::ShortcutOverride) {
        auto* pKey = static_cast<QKeyEvent*>(pEvent);
        const bool Plain = !(pKey->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
        if (Plain && !m_ReadOnly && !pKey->text().isEmpty() && pKey->text()[0].isPrint()) {
            pEvent->accept();
            return true;
        }
    }
    if (pEvent->type() == QEvent::FontChange || pEvent->type() == QEvent::PaletteChange) viewport()->update();
    return QAbstractScrollArea::event(pEvent);
}

bool CSourceEditor::OnKeyPressed(QKeyEvent* pEvent)
{
    if (OnMoveKeyPressed(pEvent)) return true;
    if (pEvent->matches(QKeySequence::Copy)) return Copy(), true;
    if (pEvent->matches(QKeySequence::SelectAll)) return SelectAll(), true;
    return !m_ReadOnly && OnKeyPressedEditMode(pEvent);
}

QPoint CSourceEditor::GetWordStep(QPoint Pos, int Direction) const
{
    const QString& sLine = m_pDocument->GetLine(Pos.y());
    int x = Pos.x();
    if (Direction > 0) {
        if (x >= sLine.size()) return Pos.y() + 1 < m_pDocument->GetNumLines() ? QPoint(0, Pos.y() + 1) : Pos;
        const bool Word = IsWordChar(sLine[x]);
        while (x < sLine.size() && IsWordChar(sLine[x]) == Word && !sLine[x].isSpace()) x++;
        while (x < sLine.size() && sLine[x].isSpace()) x++;
    } else {
        if (x == 0) return Pos.y() > 0 ? QPoint(int(m_pDocument->GetLine(Pos.y() - 1).size()), Pos.y() - 1) : Pos;
        while (x > 0 && sLine[x - 1].isSpace()) x--;
        const bool Word = x > 0 && IsWordChar(sLine[x - 1]);
        while (x > 0 && !sLine[x - 1].isSpace() && IsWordChar(sLine[x - 1]) == Word) x--;
    }
    return QPoint(x, Pos.y());
}

void CSourceEditor::MoveTo(QPoint Pos, bool KeepAnchor)
{
    m_WantedX = -1;
    SetCursorTextPos(Pos, KeepAnchor);
    EnsureRowVisible(GetRowOfLine(U32(m_Cursor.y() + 1)), false);
    const int x = GetViewportPos(m_Cursor).x();
    if (x < GetTextLeft()) horizontalScrollBar()->setValue(horizontalScrollBar()->value() - (GetTextLeft() - x) - int(4 * m_CharWidth));
    else if (x > viewport()->width() - int(2 * m_CharWidth)) horizontalScrollBar()->setValue(horizontalScrollBar()->value() + x - viewport()->width() + int(6 * m_CharWidth));
}

void CSourceEditor::MoveByRows(int NumRows, bool KeepAnchor)
{
    const int Row = m_InstRow >= 0 ? m_InstRow : GetRowOfLine(U32(m_Cursor.y() + 1));
    const int Target = qBound(0, Row + NumRows, GetNumRows() - 1);
    if (Target < 0) return;
    if (m_WantedX < 0) m_WantedX = GetColumnX(m_pDocument->GetLine(m_Cursor.y()), m_Cursor.x());
    const int WantedX = m_WantedX;
    const int Line = int(m_Rows[Target].Line) - 1;
    SetCursorTextPos(QPoint(GetColumnAtX(m_pDocument->GetLine(Line), WantedX), Line), KeepAnchor);
    SetSelectedInstRow(Target); // a source row unsets it
    m_WantedX = WantedX;
    EnsureRowVisible(Target, false);
    emit Clicked(Target);
}

bool CSourceEditor::OnMoveKeyPressed(QKeyEvent* pEvent)
{
    const bool Shift = pEvent->modifiers() & Qt::ShiftModifier;
    const bool Ctrl = pEvent->modifiers() & Qt::ControlModifier;
    if (pEvent->modifiers() & (Qt::AltModifier | Qt::MetaModifier)) return false;
    const QPoint Pos = m_Cursor;
    const QString& sLine = m_pDocument->GetLine(Pos.y());
    switch (pEvent->key()) {
    case Qt::Key_Left:
        if (Ctrl) MoveTo(GetWordStep(Pos, -1), Shift);
        else if (HasSelection() && !Shift) MoveTo(GetSelectionRange().first, false);
        else if (Pos.x() > 0) MoveTo(QPoint(Pos.x() - 1, Pos.y()), Shift);
        else if (Pos.y() > 0) MoveTo(QPoint(int(m_pDocument->GetLine(Pos.y() - 1).size()), Pos.y() - 1), Shift);
        return true;
    case Qt::Key_Right:
        if (Ctrl) MoveTo(GetWordStep(Pos, 1), Shift);
        else if (HasSelection() && !Shift) MoveTo(GetSelectionRange().second, false);
        else if (Pos.x() < sLine.size()) MoveTo(QPoint(Pos.x() + 1, Pos.y()), Shift);
        else if (Pos.y() + 1 < m_pDocument->GetNumLines()) MoveTo(QPoint(0, Pos.y() + 1), Shift);
        return true;
    case Qt::Key_Up:
        if (Ctrl) verticalScrollBar()->setValue(verticalScrollBar()->value() - 1);
        else MoveByRows(-1, Shift);
        return true;
    case Qt::Key_Down:
        if (Ctrl) verticalScrollBar()->setValue(verticalScrollBar()->value() + 1);
        else MoveByRows(1, Shift);
        return true;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown: {
        if (Ctrl) return false;
        const int Step = verticalScrollBar()->pageStep() * (pEvent->key() == Qt::Key_PageUp ? -1 : 1);
        verticalScrollBar()->setValue(verticalScrollBar()->value() + Step);
        MoveByRows(Step, Shift);
        return true;
    }
    case Qt::Key_Home: {
        int Indent = 0;
        while (Indent < sLine.size() && sLine[Indent].isSpace()) Indent++;
        if (Ctrl) MoveTo(QPoint(0, 0), Shift);
        else MoveTo(QPoint(Pos.x() == Indent ? 0 : Indent, Pos.y()), Shift);
        return true;
    }
    case Qt::Key_End:
        if (Ctrl) MoveTo(QPoint(int(m_pDocument->GetLine(m_pDocument->GetNumLines() - 1).size()), m_pDocument->GetNumLines() - 1), Shift);
        else MoveTo(QPoint(int(sLine.size()), Pos.y()), Shift);
        return true;
    default:
        return false;
    }
}

bool CSourceEditor::OnKeyPressedEditMode(QKeyEvent* pEvent)
{
    if (pEvent->matches(QKeySequence::Undo)) return Undo(), true;
    if (pEvent->matches(QKeySequence::Redo)) return Redo(), true;
    if (pEvent->matches(QKeySequence::Cut)) return Cut(), true;
    if (pEvent->matches(QKeySequence::Paste)) return Paste(), true;
    const bool Plain = !(pEvent->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    const auto [From, To] = GetSelectionRange();
    switch (pEvent->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: {
        if (!Plain) return false;
        const QString& sLine = m_pDocument->GetLine(From.y());
        int Indent = 0;
        while (Indent < qMin(From.x(), int(sLine.size())) && sLine[Indent].isSpace()) Indent++;
        Edit(From, To, u'\n' + sLine.left(Indent));
        return true;
    }
    case Qt::Key_Backspace: {
        QPoint Start = From;
        if (!HasSelection()) {
            if (pEvent->modifiers() & Qt::ControlModifier) Start = GetWordStep(From, -1);
            else if (From.x() > 0) Start = QPoint(From.x() - 1, From.y());
            else if (From.y() > 0) Start = QPoint(int(m_pDocument->GetLine(From.y() - 1).size()), From.y() - 1);
        }
        if (Start != To) Edit(Start, To, QString());
        return true;
    }
    case Qt::Key_Delete: {
        if (!Plain || (pEvent->modifiers() & Qt::ShiftModifier)) return false;
        QPoint End = To;
        if (!HasSelection()) End = To.x() < m_pDocument->GetLine(To.y()).size() ? QPoint(To.x() + 1, To.y()) : m_pDocument->Clamp(QPoint(0, To.y() + 1));
        if (From != End && !(End.y() == From.y() && End.x() < From.x())) Edit(From, End, QString());
        return true;
    }
    case Qt::Key_Tab:
        if (!Plain) return false;
        Edit(From, To, QStringLiteral("\t"));
        return true;
    default:
        break;
    }
    const QString sText = pEvent->text();
    if (!Plain || sText.isEmpty() || !sText[0].isPrint()) return false;
    Edit(From, To, sText);
    return true;
}

// ---- Mouse -----------------------------------------------------------------------------------------------

void CSourceEditor::mousePressEvent(QMouseEvent* pEvent)
{
    pEvent->accept();
    if (!m_pDocument) return;
    const int Row = qBound(0, GetRowAt(pEvent->pos().y()), GetNumRows() - 1);
    if (Row < 0) return;
    if (IsExpansionBarShown() && pEvent->button() == Qt::LeftButton && pEvent->pos().x() < EXPANSION_BAR_WIDTH &&
        GetRowAt(pEvent->pos().y()) == Row && IsLineExpandable(Row)) {
        const U32 Line = m_Rows[Row].Line;
        SetLineExpanded(Line, !IsLineExpanded(Line));
        emit LineExpansionStateToggled(int(Line) - 1);
        return;
    }
    m_WantedX = -1;
    if (m_Rows[Row].IsInst) {
        SetCursorTextPos(QPoint(0, int(m_Rows[Row].Line) - 1));
        SetSelectedInstRow(Row);
    } else {
        const int Line = int(m_Rows[Row].Line) - 1;
        const QPoint Pos(GetColumnAtX(m_pDocument->GetLine(Line), pEvent->pos().x() - GetTextLeft() + horizontalScrollBar()->value()), Line);
        const bool IsLeft = pEvent->button() == Qt::LeftButton;
        // A right click within the selection keeps it for the menu.
        const auto [From, To] = GetSelectionRange();
        const bool Inside = HasSelection() && Line >= From.y() && Line <= To.y();
        if (IsLeft || !Inside) SetCursorTextPos(Pos, IsLeft && (pEvent->modifiers() & Qt::ShiftModifier));
        m_Dragging = IsLeft;
    }
    emit Clicked(Row);
}

void CSourceEditor::mouseMoveEvent(QMouseEvent* pEvent)
{
    if (m_Dragging && m_pDocument) {
        const int Row = qBound(0, GetRowAt(pEvent->pos().y()), GetNumRows() - 1);
        const int Line = int(m_Rows[Row].Line) - 1;
        SetCursorTextPos(QPoint(GetColumnAtX(m_pDocument->GetLine(Line), pEvent->pos().x() - GetTextLeft() + horizontalScrollBar()->value()), Line), true);
        EnsureRowVisible(Row, false);
        return;
    }
    const bool OnBar = IsExpansionBarShown() && pEvent->pos().x() < EXPANSION_BAR_WIDTH;
    viewport()->setCursor(OnBar ? Qt::ArrowCursor : Qt::IBeamCursor);
    emit MouseHovered(pEvent->pos());
}

void CSourceEditor::mouseReleaseEvent(QMouseEvent*) { m_Dragging = false; }

void CSourceEditor::mouseDoubleClickEvent(QMouseEvent* pEvent)
{
    const QPoint Pos = GetTextPosAt(pEvent->pos());
    if (!m_pDocument || Pos.y() < 0) return;
    int Start = 0;
    const QString sWord = GetWordAt(m_pDocument->GetLine(Pos.y()), Pos.x(), false, &Start);
    if (sWord.isEmpty()) return;
    SetCursorTextPos(QPoint(Start, Pos.y()));
    SetCursorTextPos(QPoint(Start + int(sWord.size()), Pos.y()), true);
}

void CSourceEditor::leaveEvent(QEvent* pEvent)
{
    QAbstractScrollArea::leaveEvent(pEvent);
    emit MouseLeft();
}

void CSourceEditor::focusInEvent(QFocusEvent* pEvent)
{
    QAbstractScrollArea::focusInEvent(pEvent);
    RestartBlink();
    viewport()->update();
}

void CSourceEditor::focusOutEvent(QFocusEvent* pEvent)
{
    QAbstractScrollArea::focusOutEvent(pEvent);
    m_BlinkTimer.stop();
    m_CaretOn = false;
    viewport()->update();
}

void CSourceEditor::hideEvent(QHideEvent* pEvent)
{
    QAbstractScrollArea::hideEvent(pEvent);
    m_BlinkTimer.stop();
}

bool CSourceEditor::viewportEvent(QEvent* pEvent)
{
    if (pEvent->type() == QEvent::ToolTip) return true; // the window shows tool tips after a delay of its own
    if (pEvent->type() == QEvent::Leave) emit MouseLeft();
    return QAbstractScrollArea::viewportEvent(pEvent);
}
