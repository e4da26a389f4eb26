// CBatchRunner: the debugger without hands. Reads console commands and directives from a file, runs each after the
// one before it has settled, prints the console's output and ends the application with the run's status.
//
//   CBatchRunner Runner(sFile, KeepGoing);
//   if (!Runner.Open()) return 2;
//   QTimer::singleShot(0, &Runner, &CBatchRunner::Run);
//
// A dialog or menu that waits for a user in an event loop of its own gets the directives that follow, as key strokes and
// clicks or as an answer; before the next command it is closed. So nothing ever waits for a user who isn't there.
//
// Main thread only.
#pragma once
#include "app/batch/batchscript.h"
#include "app/batch/paintpacer.h"
#include "app/services/types.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <functional>

class CWindow;
class QDialog;
class QWidget;

enum BATCH_STATUS { BATCH_OK = 0, BATCH_FAILED = 1, BATCH_BAD_ARGUMENTS = 2 };

class CBatchRunner : public QObject {
    Q_OBJECT

public:
    CBatchRunner(const QString& sFile, bool KeepGoing);
    ~CBatchRunner() override;

    bool Open(); ///< reads the whole text; false when it can't be read
    /// The run's status so far.
    int GetStatus() const { return m_Status; }

public slots:
    /// Runs everything, or up to the line that leaves the program; then leaves the event loop with the status.
    void Run();

private:
    using HANDLER = bool (CBatchRunner::*)(const BATCH_STEP& Step);
    struct DIRECTIVE {
        const char* Name;
        int MinArgs;
        HANDLER pfHandler;
    };
    static const DIRECTIVE DIRECTIVES[];

    bool HasNextStep() const { return m_Next < m_Lines.size() && !m_Quit && !IsProgramLeft(); }
    void RunNextStep();
    bool RunStep(const BATCH_STEP& Step);
    bool RunCommand(const BATCH_STEP& Step);
    bool Fail(const QString& sText);
    void Print(const QString& sText);
    U64 GetErrorCount() const; ///< of commands and of the log since the start
    int OnMessageBox(const QString& sTitle, const QString& sText, int Buttons);
    int TakeAnswer(const QString& sTitle, int Buttons, int Default); ///< the next answer, or the default
    void PrintBox(const QString& sTitle, const QString& sText, int Buttons, int Answer);
    void WatchLoops();
    void OnLoopWatched();
    void Serve(const QPointer<QWidget>& pWaiting);
    void AnswerDialog(QDialog* pDialog);
    void Settle();
    static bool IsProgramLeft();
    QString GetUnsettled() const; ///< what is still under way; empty when all has settled
    bool IsSettled() const { return GetUnsettled().isEmpty(); }
    bool WaitUntil(const std::function<bool()>& Done, int Ms);
    CWindow* RequireWindow(const QString& sName);
    bool RequireMs(const BATCH_STEP& Step, int* pMs); ///< the first argument as milliseconds

    bool DoWaitHalt(const BATCH_STEP& Step);
    bool DoWaitIdle(const BATCH_STEP& Step);
    bool DoPrint(const BATCH_STEP& Step);
    bool DoEval(const BATCH_STEP& Step);
    bool DoFrame(const BATCH_STEP& Step);
    bool DoMenu(const BATCH_STEP& Step);
    bool DoKey(const BATCH_STEP& Step);
    bool DoClick(const BATCH_STEP& Step);
    bool DoType(const BATCH_STEP& Step);
    bool DoAnswer(const BATCH_STEP& Step);
    bool DoScreenshot(const BATCH_STEP& Step);
    bool DoTime(const BATCH_STEP& Step);
    bool DoExpect(const BATCH_STEP& Step);
    bool DoScript(const BATCH_STEP& Step);
    bool DoQuit(const BATCH_STEP& Step);

    QString m_sFile;
    bool m_KeepGoing;
    QStringList m_Lines;
    qsizetype m_Next = 0;         ///< index of the line to run next
    int m_LoopLevel = 0;          ///< depth of event loops in which lines are run
    int m_Status = BATCH_OK;
    bool m_Quit = false;
    CPaintPacer m_PaintPacer;
    QString m_sFirstFailure;
    bool m_CommandFailed = false; ///< the present step has failed by its own check
    U64 m_NumErrorsTold = 0; ///< errors that the lines so far account for
    QStringList m_StepOutput;     ///< what the present step printed
    QStringList m_LastOutput;     ///< what the step before it printed, for @expect
    QStringList m_Answers;        ///< for the next boxes
    QElapsedTimer m_StepTime;
    qint64 m_LastTimeMs = 0;      ///< of the last command
};
