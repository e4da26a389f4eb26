#include "app/batch/batchrunner.h"

#include "app/actions/actions.h"
#include "app/batch/userinput.h"
#include "app/console/consolewindow.h"
#include "app/shell/mainwindow.h"
#include "device/queue/device.h"
#include "program/eval/expression.h"
#include "program/unwind/callstack.h"
#include "project/file/project.h"
#include "project/finder/filefinder.h"
#include "script/host/bscript.h"
#include "views/framework/messagebox.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QPixmap>
#include <QDir>
#include <QRegularExpression>
#include <QThread>
#include <QTimer>
#include <cstdio>

namespace {

/// Longest time that a line may take to settle. A target that runs is settled; what is waited for are jobs, updates and
/// steps under way, so a line that isn't settled by then is not going to be.
constexpr int SETTLE_MS = 20'000;
constexpr int RETRY_MS = 10; ///< until the start is looked at again
constexpr int DISPLAY_DELAY_MS = 250; ///< longest timer of a display that gathers changes

/// A dialog, menu or list on the screen by its title; null if there is none.
QWidget* FindOpenDialog(const QString& sTitle)
{
    for (QWidget* pWidget : QApplication::topLevelWidgets())
        if (pWidget->isVisible() && !pWidget->inherits("QMainWindow") && pWidget->windowTitle() == sTitle) return pWidget;
    return nullptr;
}

} // namespace

const CBatchRunner::DIRECTIVE CBatchRunner::DIRECTIVES[] = {
    {"waithalt", 1, &CBatchRunner::DoWaitHalt},
    {"waitidle", 1, &CBatchRunner::DoWaitIdle},
    {"print", 1, &CBatchRunner::DoPrint},
    {"eval", 1, &CBatchRunner::DoEval},
    {"frame", 1, &CBatchRunner::DoFrame},
    {"menu", 1, &CBatchRunner::DoMenu},
    {"key", 1, &CBatchRunner::DoKey},
    {"click", 3, &CBatchRunner::DoClick},
    {"type", 1, &CBatchRunner::DoType},
    {"answer", 1, &CBatchRunner::DoAnswer},
    {"screenshot", 1, &CBatchRunner::DoScreenshot},
    {"time", 0, &CBatchRunner::DoTime},
    {"expect", 1, &CBatchRunner::DoExpect},
    {"script", 1, &CBatchRunner::DoScript},
    {"quit", 0, &CBatchRunner::DoQuit},
};

CBatchRunner::CBatchRunner(const QString& sFile, bool KeepGoing) : m_sFile(sFile), m_KeepGoing(KeepGoing), m_PaintPacer(&CMainWindow::Get())
{
    CConsoleWindow::Get().SetTranscriptSink([this](const QString& sText, bool) { Print(sText); });
    CMessageBox::SetInterceptor([this](const QString& sTitle, const QString& sText, CMessageBox::BUTTONS Buttons) {
        return OnMessageBox(sTitle, sText, int(Buttons));
    });
}

CBatchRunner::~CBatchRunner()
{
    CConsoleWindow::Get().SetTranscriptSink({});
    CMessageBox::SetInterceptor({});
}

bool CBatchRunner::Open()
{
    QFile File(m_sFile);
    const bool Opened = m_sFile == "-" ? File.open(stdin, QIODevice::ReadOnly) : File.open(QIODevice::ReadOnly);
    if (!Opened) {
        std::fprintf(stderr, "vantrel: batch file not found: %s\n", qPrintable(m_sFile));
        m_Status = BATCH_BAD_ARGUMENTS;
        return false;
    }
    m_Lines = QString::fromUtf8(File.readAll()).split('\n');
    return true;
}

void CBatchRunner::Print(const QString& sText)
{
    m_StepOutput << sText.split('\n');
    const QByteArray Bytes = sText.toUtf8();
    std::fwrite(Bytes.constData(), 1, size_t(Bytes.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

U64 CBatchRunner::GetErrorCount() const
{
    return GetActionErrorCount() + CConsoleWindow::Get().GetLogErrorCount();
}

bool CBatchRunner::Fail(const QString& sText)
{
    Print(QStringLiteral("batch: ") + sText);
    m_CommandFailed = true;
    return false;
}

/// File.Exit has been followed: there is no project, no session and no window to work with any more.
bool CBatchRunner::IsProgramLeft()
{
    return CMainWindow::Get().GetSession().Closing;
}

QString CBatchRunner::GetUnsettled() const
{
    if (IsProgramLeft()) return {};
    if (CProject::Get().IsOpening()) return QStringLiteral("a project is opening");
    if (BScript::IsRunning()) return QStringLiteral("a script function runs");
    if (!CDevice::Get().IsIdle()) return QStringLiteral("the device is busy");
    for (const CWindow* pWindow : CMainWindow::Get().GetWindows())
        if (pWindow->IsUpdatePending()) return QStringLiteral("window %1 has an update to do").arg(pWindow->GetName());
    if (CFileFinder::Get().IsTellingPending()) return QStringLiteral("the source files found are about to be told");
    if (CMainWindow::Get().IsMessageBoxPending()) return QStringLiteral("a message is about to be shown");
    return {};
}

bool CBatchRunner::WaitUntil(const std::function<bool()>& Done, int Ms)
{
    QElapsedTimer Time;
    Time.start();
    for (int Idle = 0;;) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        CConsoleWindow::Get().Flush();
        if (IsProgramLeft()) return true; // nothing will come any more
        // Twice in a row: a queued call of the last event may only now start new work.
        Idle = Done() ? Idle + 1 : 0;
        if (Idle == 0 && CDevice::Get().IsIdle())
            for (CWindow* pWindow : CMainWindow::Get().GetWindows()) pWindow->FlushUpdate();
        if (Idle >= 2) return true;
        if (Time.elapsed() > Ms) return false;
        if (Idle == 0) QThread::usleep(50);
    }
}

void CBatchRunner::Settle()
{
    if (!WaitUntil([this] { return IsSettled(); }, SETTLE_MS))
        Fail(QStringLiteral("the line before has not settled: ") + GetUnsettled());
}

void CBatchRunner::Run()
{
    // What delivers this may be the loop within a script function that the start runs; waited for from in there, it
    // would never end.
    if (BScript::IsRunning()) {
        QTimer::singleShot(RETRY_MS, this, &CBatchRunner::Run);
        return;
    }
    m_LoopLevel = QThread::currentThread()->loopLevel();
    WatchLoops();
    Settle();
    m_NumErrorsTold = GetErrorCount(); // those of the start were told as they came
    while (HasNextStep()) RunNextStep();
    if (!m_sFirstFailure.isEmpty()) std::fprintf(stderr, "vantrel: batch failed at %s\n", qPrintable(m_sFirstFailure));
    // A session that is still there is ended in order before the window closes.
    m_Answers.clear();
    if (!IsProgramLeft() && CDevice::Get().IsConnected()) {
        CMainWindow::Get().Disconnect();
        Settle();
    }
    QCoreApplication::exit(m_Status);
}

void CBatchRunner::RunNextStep()
{
    const qsizetype Line = m_Next++;
    const BATCH_STEP Step = ParseBatchLine(m_Lines[Line], int(Line) + 1);
    if (Step.Kind == BATCH_STEP_NONE || RunStep(Step)) return;
    if (m_sFirstFailure.isEmpty()) m_sFirstFailure = QStringLiteral("%1:%2: %3").arg(m_sFile).arg(Step.Line).arg(Step.Text);
    m_Status = BATCH_FAILED;
    if (!m_KeepGoing) m_Next = m_Lines.size();
}

bool CBatchRunner::RunStep(const BATCH_STEP& Step)
{
    m_CommandFailed = false;
    m_LastOutput = std::exchange(m_StepOutput, {});
    if (Step.Kind == BATCH_STEP_COMMAND) return RunCommand(Step);
    // @expect and @time look back at the command, through directives that print nothing.
    if (m_StepOutput.isEmpty() && (Step.Name == "expect" || Step.Name == "time" || Step.Name == "answer"))
        m_StepOutput = {};
    for (const DIRECTIVE& Directive : DIRECTIVES) {
        if (Step.Name != QLatin1String(Directive.Name)) continue;
        if (Step.Args.size() < Directive.MinArgs) return Fail(QStringLiteral("@%1: wrong parameter count").arg(Step.Name));
        const bool Ok = (this->*Directive.pfHandler)(Step);
        if (!m_Quit) Settle();
        if (Step.Name == "expect" || Step.Name == "time" || Step.Name == "answer") {
            // What was printed before stays the subject of a further @expect.
            m_StepOutput = m_LastOutput;
        }
        // What a command has set off may fail only while the next line waits for its end.
        const bool HasNewErrors = Step.Name.startsWith(QLatin1String("wait")) && GetErrorCount() != m_NumErrorsTold;
        m_NumErrorsTold = GetErrorCount();
        return Ok && !m_CommandFailed && !HasNewErrors;
    }
    return Fail(QStringLiteral("unknown directive @%1").arg(Step.Name));
}

bool CBatchRunner::RunCommand(const BATCH_STEP& Step)
{
    const U64 Errors = GetErrorCount();
    m_StepTime.start();
    const int Result = CConsoleWindow::Get().ExecuteCommand(Step.Text);
    Settle();
    m_LastTimeMs = m_StepTime.elapsed();
    m_NumErrorsTold = GetErrorCount();
    if (Result == EXECUTE_DONE && m_NumErrorsTold == Errors && !m_CommandFailed) return true;
    // A command without a handler says nothing, and a transcript that stops without a word leaves its reader guessing.
    if (m_StepOutput.isEmpty()) Fail(QStringLiteral("this command is not available"));
    return false;
}

CWindow* CBatchRunner::RequireWindow(const QString& sName)
{
    CWindow* pWindow = CMainWindow::Get().FindWindow(sName, false);
    if (!pWindow) Fail(QStringLiteral("unknown window ") + sName);
    return pWindow;
}

bool CBatchRunner::RequireMs(const BATCH_STEP& Step, int* pMs)
{
    bool Ok = false;
    *pMs = Step.Args[0].toInt(&Ok);
    return (Ok && *pMs >= 0) || Fail(QStringLiteral("@%1: not a number: %2").arg(Step.Name, Step.Args[0]));
}

bool CBatchRunner::DoWaitHalt(const BATCH_STEP& Step)
{
    const CDevice& Dev = CDevice::Get();
    int Ms = 0;
    if (!RequireMs(Step, &Ms)) return false;
    if (WaitUntil([this, &Dev] { return Dev.IsHalted() && IsSettled(); }, Ms)) return true;
    return Fail(QStringLiteral("not halted after %1 ms").arg(Step.Args[0]));
}

bool CBatchRunner::DoWaitIdle(const BATCH_STEP& Step)
{
    int Ms = 0;
    if (!RequireMs(Step, &Ms)) return false;
    if (WaitUntil([this] { return IsSettled(); }, Ms)) return true;
    return Fail(QStringLiteral("not idle after %1 ms").arg(Step.Args[0]));
}

bool CBatchRunner::DoPrint(const BATCH_STEP& Step)
{
    // The name may hold blanks without being quoted; a last word that is a number is the depth.
    QStringList Words = Step.Args;
    int Depth = -1;
    bool IsNumber = false;
    if (Words.size() > 1) {
        const int Last = Words.last().toInt(&IsNumber);
        if (IsNumber && !CMainWindow::Get().FindWindow(Words.join(' '), false)) {
            Depth = Last;
            Words.removeLast();
        }
    }
    CWindow* pWindow = RequireWindow(Words.join(' '));
    if (!pWindow) return false;
    // A closed window follows nothing: whoever wants to read one opens it. The keys still go where they went
    // before.
    const QPointer<QWidget> pFocus = QApplication::focusWidget();
    if (!pWindow->IsOpen() && CMainWindow::Get().ShowWindow(pWindow->GetName())) {
        if (pFocus) pFocus->setFocus();
        Settle();
    }
    for (int Round = 0; Round < 20 && pWindow->PrepareText(Depth); Round++) Settle();
    for (const QString& sLine : pWindow->GetText(Depth)) Print(sLine);
    return true;
}

bool CBatchRunner::DoEval(const BATCH_STEP& Step)
{
    const EVAL_TEXT Result = EVAL_GetText(Step.Rest);
    if (!Result.sError.isEmpty()) return Fail(Result.sError);
    Print(Result.sValue + '\t' + Result.sType + '\t' + Result.sLocation);
    return true;
}

bool CBatchRunner::DoFrame(const BATCH_STEP& Step)
{
    bool Ok = false;
    const int Index = Step.Args[0].toInt(&Ok);
    if (!Ok || Index < 0 || Index >= CCallStack::GetInstance().GetFrameCount())
        return Fail(QStringLiteral("no frame ") + Step.Args[0]);
    emit CMainWindow::Get().CallSiteSelected(Index);
    return true;
}

bool CBatchRunner::DoMenu(const BATCH_STEP& Step)
{
    QString sError;
    return UserInput::TriggerAction(Step.Rest, &sError) || Fail(sError);
}

bool CBatchRunner::DoKey(const BATCH_STEP& Step)
{
    return UserInput::PressKeys(Step.Rest) || Fail(QStringLiteral("unknown key ") + Step.Rest);
}

bool CBatchRunner::DoClick(const BATCH_STEP& Step)
{
    const QString sName = Step.Args.mid(0, Step.Args.size() - 2).join(' ');
    CWindow* pWindow = RequireWindow(sName);
    if (!pWindow) return false;
    bool RowOk = false, ColumnOk = false;
    const int Row = Step.Args[Step.Args.size() - 2].toInt(&RowOk);
    const int Column = Step.Args.last().toInt(&ColumnOk);
    if (!RowOk || !ColumnOk) return Fail(QStringLiteral("@click: row and column are numbers"));
    return UserInput::Click(pWindow, Row, Column) || Fail(QStringLiteral("no cell %1, %2").arg(Row).arg(Column));
}

bool CBatchRunner::DoType(const BATCH_STEP& Step)
{
    UserInput::TypeText(Step.Rest);
    return true;
}

bool CBatchRunner::DoAnswer(const BATCH_STEP& Step)
{
    m_Answers << Step.Rest;
    return true;
}

bool CBatchRunner::DoScreenshot(const BATCH_STEP& Step)
{
    QWidget* pWidget = &CMainWindow::Get();
    if (Step.Args.size() > 1) {
        const QString sName = Step.Args.mid(1).join(' ');
        QWidget* pPopup = QApplication::activePopupWidget();
        pWidget = pPopup && pPopup->objectName() == sName ? pPopup : FindOpenDialog(sName);
        if (!pWidget) pWidget = RequireWindow(sName);
        if (!pWidget) return false;
    }
    // The status bar and other displays gather changes in short timers; a picture shows what a user would see.
    QElapsedTimer Painted;
    Painted.start();
    WaitUntil([&Painted] { return Painted.elapsed() >= DISPLAY_DELAY_MS; }, 2 * DISPLAY_DELAY_MS);
    const QString sPath = Step.Args[0];
    QDir().mkpath(QFileInfo(sPath).absolutePath());
    return pWidget->grab().save(sPath, "PNG") || Fail(QStringLiteral("could not write ") + sPath);
}

bool CBatchRunner::DoTime(const BATCH_STEP&)
{
    Print(QStringLiteral("time_ms: %1").arg(m_LastTimeMs));
    return true;
}

bool CBatchRunner::DoExpect(const BATCH_STEP& Step)
{
    const QRegularExpression Pattern(Step.Rest, QRegularExpression::MultilineOption);
    if (!Pattern.isValid()) return Fail(QStringLiteral("bad expression: ") + Pattern.errorString());
    const QString sOutput = m_LastOutput.join('\n');
    if (Pattern.match(sOutput).hasMatch()) return true;
    return Fail(QStringLiteral("expected: %1\nfound: %2").arg(Step.Rest, sOutput));
}

bool CBatchRunner::DoScript(const BATCH_STEP& Step)
{
    QList<I64> Args;
    for (const QString& sArg : Step.Args.mid(1)) {
        bool Ok = false;
        Args << sArg.toLongLong(&Ok, 0);
        if (!Ok) return Fail(QStringLiteral("not a number: ") + sArg);
    }
    I64 Result = 0;
    const int Answer = BScript::ExecScriptFunction(Step.Args[0], int(Args.size()), Args.constData(), &Result);
    CConsoleWindow::Get().Flush(); // what the function has said comes before its value
    if (Answer < 0) return Fail(BScript::GetErrorText());
    Print(QString::number(Result));
    return true;
}

bool CBatchRunner::DoQuit(const BATCH_STEP& Step)
{
    m_Quit = true;
    if (!Step.Args.isEmpty()) m_Status = Step.Args[0].toInt();
    return true;
}

#include "moc_batchrunner.cpp"
