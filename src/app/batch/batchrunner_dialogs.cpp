// Who answers message boxes and dialogs while nobody sits at the screen.
#include "app/batch/batchrunner.h"

#include "app/console/consolewindow.h"
#include "views/framework/messagebox.h"

#include <QApplication>
#include <QInputDialog>
#include <QPushButton>
#include <QThread>
#include <QTimer>
#include <utility>

namespace {
constexpr int WATCH_MS = 20;

int GetButtons(const QDialog* pDialog)
{
    const auto* pBox = pDialog->findChild<QDialogButtonBox*>();
    return pBox ? int(pBox->standardButtons()) : 0;
}
} // namespace

int CBatchRunner::TakeAnswer(const QString& sTitle, int Buttons, int Default)
{
    if (m_Answers.isEmpty()) return Default;
    const QString sAnswer = m_Answers.takeFirst();
    const int Found = CMessageBox::FindButton(sAnswer, CMessageBox::BUTTONS(Buttons));
    if (!Found) Fail(QStringLiteral("the box \"%1\" has no button \"%2\"").arg(sTitle, sAnswer));
    return Found ? Found : Default;
}

void CBatchRunner::PrintBox(const QString& sTitle, const QString& sText, int Buttons, int Answer)
{
    CConsoleWindow::Get().Flush();
    Print(QStringLiteral("[%1] %2 (%3) -> %4")
              .arg(sTitle, sText, CMessageBox::GetButtonNames(CMessageBox::BUTTONS(Buttons)).join(QStringLiteral(", ")),
                   CMessageBox::GetButtonName(Answer)));
}

int CBatchRunner::OnMessageBox(const QString& sTitle, const QString& sText, int Buttons)
{
    const int Answer = TakeAnswer(sTitle.trimmed(), Buttons, CMessageBox::GetDefaultButton(CMessageBox::BUTTONS(Buttons)));
    PrintBox(sTitle.trimmed(), sText, Buttons, Answer);
    return Answer;
}

/// A timer of its own for each look: one that is being served doesn't fire in the loops within.
void CBatchRunner::WatchLoops()
{
    QTimer::singleShot(WATCH_MS, this, &CBatchRunner::OnLoopWatched);
}

void CBatchRunner::OnLoopWatched()
{
    WatchLoops();
    const int Level = QThread::currentThread()->loopLevel();
    QWidget* pWaiting = QApplication::activePopupWidget();
    if (!pWaiting) pWaiting = QApplication::activeModalWidget();
    // A dialog or menu without a loop of its own waits for nobody: the lines go on beside it.
    if (Level <= m_LoopLevel || !pWaiting) return;
    const int OuterLevel = std::exchange(m_LoopLevel, Level);
    Serve(pWaiting);
    m_LoopLevel = OuterLevel;
}

/// Runs the directives that follow while a dialog or menu is open, then closes it.
void CBatchRunner::Serve(const QPointer<QWidget>& pWaiting)
{
    const auto IsOpen = [&pWaiting] { return pWaiting && pWaiting->isVisible(); };
    while (IsOpen() && m_Answers.isEmpty() && HasNextStep() &&
           ParseBatchLine(m_Lines[m_Next], int(m_Next) + 1).Kind != BATCH_STEP_COMMAND)
        RunNextStep();
    if (!IsOpen()) return;
    if (auto* pDialog = qobject_cast<QDialog*>(pWaiting.data()))
        AnswerDialog(pDialog);
    else
        pWaiting->close();
}

/// What asks for input and gets none is canceled.
void CBatchRunner::AnswerDialog(QDialog* pDialog)
{
    const auto* pInput = qobject_cast<const QInputDialog*>(pDialog);
    const int Buttons = GetButtons(pDialog);
    const int Answer = TakeAnswer(pDialog->windowTitle(), Buttons, QDialogButtonBox::Cancel);
    PrintBox(pDialog->windowTitle(), pInput ? pInput->labelText() : QString(), Buttons, Answer);
    const auto* pBox = pDialog->findChild<QDialogButtonBox*>();
    QPushButton* pButton = pBox ? pBox->button(QDialogButtonBox::StandardButton(Answer)) : nullptr;
    if (pButton && pButton->isEnabled() && Answer != QDialogButtonBox::Cancel)
        pButton->click();
    else
        pDialog->reject();
}
