#include "app/batch/userinput.h"

#include "app/actions/actions.h"
#include "app/shell/mainwindow.h"
#include "views/framework/sidebar.h"
#include "views/framework/window.h"

#include <QAbstractScrollArea>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPointer>
#include <QTreeView>
#include <QWindow>

namespace {

constexpr int FOCUS_MS = 2000; ///< a window that isn't active by then won't be

QAction* FindAction(const QString& sName)
{
    if (const int Id = FindCommand(sName); Id >= 0 && GetAction(Id)) return GetAction(Id);
    for (CWindow* pWindow : CMainWindow::Get().GetWindows()) {
        if (auto* pAction = pWindow->findChild<QAction*>(sName)) return pAction;
        for (QAction* pAction : pWindow->findChildren<QAction*>())
            if (pAction->text().remove('&') == sName) return pAction;
    }
    return nullptr;
}

/// Without a window manager nobody gives the focus back when the dialog that had it is gone; and a dialog that has only
/// just opened has it a few events later.
void TakeFocus()
{
    if (QApplication::activePopupWidget()) return;
    const QPointer<QWidget> pModal = QApplication::activeModalWidget(); // an event may close it
    const auto HasFocus = [&pModal] {
        const QWidget* pActive = QApplication::activeWindow();
        return pActive && (!pModal || pActive == pModal);
    };
    QElapsedTimer Time;
    for (Time.start(); !HasFocus() && Time.elapsed() < FOCUS_MS;) {
        (pModal ? pModal.data() : &CMainWindow::Get())->activateWindow();
        QCoreApplication::processEvents();
    }
}

QWidget* Target()
{
    if (QWidget* pFocus = QApplication::focusWidget()) return pFocus;
    return &CMainWindow::Get();
}

/// Sends a key the way the window system does, so that the application's key dispatch sees it.
void SendKey(int Key, Qt::KeyboardModifiers Modifiers, const QString& sText)
{
    QWidget* pTarget = Target();
    QObject* pReceiver = pTarget;
    if (QWindow* pHandle = pTarget->window()->windowHandle()) pReceiver = pHandle;
    for (const QEvent::Type Type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent Event(Type, Key, Modifiers, sText);
        QCoreApplication::sendEvent(pReceiver, &Event);
    }
}

void SendClick(QWidget* pWidget, QPoint Pos)
{
    const QPointF Global = pWidget->mapToGlobal(Pos);
    // The toolkit gives the focus to what is clicked only when the event comes from the window system.
    TakeFocus();
    if (pWidget->focusPolicy() & Qt::ClickFocus)
        pWidget->setFocus(Qt::MouseFocusReason);
    else if (QWidget* pParent = pWidget->parentWidget(); pParent && pParent->focusPolicy() & Qt::ClickFocus)
        pParent->setFocus(Qt::MouseFocusReason);
    for (const QEvent::Type Type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        const auto Buttons = Type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
        QMouseEvent Event(Type, Pos, Global, Qt::LeftButton, Buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(pWidget, &Event);
    }
}

} // namespace

bool UserInput::TriggerAction(const QString& sName, QString* psError)
{
    QAction* pAction = FindAction(sName);
    if (!pAction)
        *psError = QStringLiteral("unknown action ") + sName;
    else if (!pAction->isEnabled() || !pAction->isVisible())
        *psError = QStringLiteral("action %1 is disabled").arg(sName);
    else
        pAction->trigger();
    return psError->isEmpty();
}

bool UserInput::PressKeys(const QString& sSequence)
{
    const QKeySequence Sequence = QKeySequence::fromString(sSequence, QKeySequence::PortableText);
    if (Sequence.isEmpty() || Sequence[0].key() == Qt::Key_unknown) return false;
    TakeFocus();
    for (int i = 0; i < Sequence.count(); i++) {
        const QKeyCombination Combination = Sequence[uint(i)];
        const bool Plain = !(Combination.keyboardModifiers() & (Qt::ControlModifier | Qt::AltModifier));
        const bool Printable = Plain && Combination.key() >= Qt::Key_Space && Combination.key() <= Qt::Key_AsciiTilde;
        SendKey(Combination.key(), Combination.keyboardModifiers(),
                Printable ? QString(QChar(int(Combination.key()))).toLower() : QString());
    }
    return true;
}

bool UserInput::Click(CWindow* pWindow, int Row, int Column)
{
    if (auto* pView = pWindow->findChild<QTreeView*>()) {
        QModelIndex Index = pView->model() ? pView->model()->index(0, 0) : QModelIndex();
        for (int i = 0; i < Row && Index.isValid(); i++) Index = pView->indexBelow(Index);
        Index = Index.isValid() ? Index.siblingAtColumn(Column) : Index;
        if (!Index.isValid()) return false;
        pView->scrollTo(Index);
        SendClick(pView->viewport(), pView->visualRect(Index).center());
        return true;
    }
    // A text window: its margin knows where the rows are.
    auto* pMargin = pWindow->findChild<CSideBar*>();
    auto* pText = pWindow->findChild<QAbstractScrollArea*>();
    if (!pMargin || !pText) return false;
    for (int y = 0; y < pMargin->height(); y++) {
        if (pMargin->GetRowAt(y) != Row) continue;
        const int Inside = y + pMargin->GetSymbolStripWidth() / 2;
        if (Column == 0)
            SendClick(pMargin, QPoint(pMargin->GetSymbolStripWidth() / 2, Inside));
        else
            SendClick(pText->viewport(), QPoint(pText->fontMetrics().averageCharWidth() * Column, Inside));
        return true;
    }
    return false;
}

void UserInput::TypeText(const QString& sText)
{
    TakeFocus();
    for (qsizetype i = 0; i < sText.size(); i++) {
        if (sText[i] == '\\' && i + 1 < sText.size() && sText[i + 1] == 'n') {
            SendKey(Qt::Key_Return, Qt::NoModifier, QStringLiteral("\r"));
            i++;
            continue;
        }
        SendKey(sText[i].toUpper().unicode(), sText[i].isUpper() ? Qt::ShiftModifier : Qt::NoModifier, QString(sText[i]));
    }
}
