// Calls of the script's functions: the nesting of calls, their results, and what happens during a long one.
#include "script/host/bscript.h"

#include "app/services/log.h"
#include "app/services/mainthread.h"
#include "script/host/scriptstate.h"

#include <QCoreApplication>
#include <QElapsedTimer>

namespace BScript {

namespace {
constexpr int MAX_CALL_DEPTH = 11;
constexpr int MAX_CALL_ARGS = 7;

enum RUN_RESULTS : int {
    RUN_NO_SCRIPT = -1,
    RUN_UNKNOWN = -2,
    RUN_BAD_PROTOTYPE = -3,
    RUN_SYNTAX_ERROR = -4,
    RUN_TOO_DEEP = -5,
    RUN_TOO_MANY_ARGS = -6,
};

int Refuse(const char* sText, int Result)
{
    S().sErrorText = QString::fromLatin1(sText);
    S().ErrorLine = -1;
    S().sErrorStatement.clear();
    return Result;
}

constexpr int BREATH_MS = 100; ///< a script that runs longer lets the window live in between

QElapsedTimer& LastBreath()
{
    static QElapsedTimer Timer;
    return Timer;
}

/// Counts a running call for its life.
class CRunning {
public:
    CRunning(int EventId, SCRIPT_CTX* pCtx)
        : m_pCtx(pCtx), m_pOuterCtx(S().pRunningCtx), m_OldEvent(S().RunningEvent)
    {
        S().pRunningCtx = pCtx;
        if (S().CallDepth++ == 0) LastBreath().start();
        if (EventId >= 0) {
            S().RunningEvent = EventId;
        }
    }
    ~CRunning()
    {
        S().RunningEvent = m_OldEvent;
        S().pRunningCtx = m_pOuterCtx;
        if (--S().CallDepth > 0) return;
        // A run that was canceled ends here; the script stays usable.
        if (!S().Closing) m_pCtx->Abort = 0;
        if (S().Hooks.RunEnded) S().Hooks.RunEnded();
    }
    CRunning(const CRunning&) = delete;
    CRunning& operator=(const CRunning&) = delete;

private:
    SCRIPT_CTX* m_pCtx; ///< lives longer
    SCRIPT_CTX* m_pOuterCtx;
    int m_OldEvent;
};

/// Puts the fields that a call changes back when an exception leaves the interpreter in the middle of it.
class CCallState {
public:
    explicit CCallState(SCRIPT_CTX* pCtx)
        : m_pCtx(pCtx), m_HeapHigh(pCtx->HeapHigh), m_Cursor(pCtx->Cursor), m_LineStart(pCtx->LineStart), m_Line(pCtx->Line),
          m_Depth(pCtx->Depth), m_Locals(pCtx->Locals), m_LocalsTail(pCtx->LocalsTail)
    {
    }
    void Restore() const
    {
        m_pCtx->HeapHigh = m_HeapHigh;
        m_pCtx->Cursor = m_Cursor;
        m_pCtx->LineStart = m_LineStart;
        m_pCtx->Line = m_Line;
        m_pCtx->Depth = m_Depth;
        m_pCtx->Locals = m_Locals;
        m_pCtx->LocalsTail = m_LocalsTail;
    }

private:
    SCRIPT_CTX* m_pCtx;
    U8* m_HeapHigh;
    const char* m_Cursor;
    const char* m_LineStart;
    int m_Line, m_Depth;
    SCRIPT_SYM* m_Locals;
    SCRIPT_SYM* m_LocalsTail;
};

int Exec(const QString& sName, int EventId, int NumArgs, const I64* aArgs, I64* pResult)
{
    // The reference keeps the block alive if the script is closed while the call runs.
    const std::shared_ptr<SCRIPT_INSTANCE> pScript = S().pScript;
    const CRunning Running(EventId, pScript->pCtx);
    const QByteArray Name = sName.toUtf8();
    const CCallState Before(pScript->pCtx);
    int Result = 0;
    try {
        Result = NumArgs > 0 ? Script::CallByName(pScript->pCtx, Name.constData(), NumArgs, aArgs, pResult)
                             : Script::CallByName(pScript->pCtx, Name.constData(), pResult);
    } catch (...) {
        Before.Restore();
        const QString sPrototype = GetEventPrototype(EventId);
        SetErrorState(QStringLiteral("Error in script function ") +
                          (sPrototype.isEmpty() ? sName : sPrototype),
                      -1, QString());
        return RUN_SYNTAX_ERROR;
    }
    if (Result == -2) {
        return Refuse("unknown function", RUN_UNKNOWN);
    }
    if (EventId == EVENT_ON_PROJECT_LOAD && pScript == S().pScript)
        S().LoadEventFailed = S().ErrorFlag || pScript->pCtx->Abort;
    if (NumArgs > 0 && pScript == S().pScript) {
        if (Result < 0 && S().ErrorFlag) S().ErrorTexts.removeOne(GetErrorText()); // the caller tells it
        S().ErrorFlag = false;
    }
    return Result == 0 || pScript->pCtx->Abort ? 0 : RUN_SYNTAX_ERROR;
}
} // namespace

bool IsProjectClosing()
{
    const auto& IsProgramClosing = S().Hooks.IsProjectClosing;
    return (S().pScript && S().Closing) || (IsProgramClosing && IsProgramClosing());
}

void OnScriptStatement(SCRIPT_CTX* pCtx)
{
    QElapsedTimer& Timer = LastBreath();
    if (!Timer.isValid() || Timer.elapsed() < BREATH_MS) return;
    // A hook that answers true has been asked by the user to stop.
    const auto& IsCanceled = S().Hooks.IsRunCanceled;
    QCoreApplication::processEvents();
    if (IsCanceled && IsCanceled()) pCtx->Abort = 1;
    Timer.restart();
}

int RunEvent(int EventId)
{
    if (EventId > EVENT_BEFORE_TARGET_RESUME || EventId < EVENT_ON_PROJECT_LOAD) {
        return Refuse("unknown function", RUN_UNKNOWN);
    }
    const QString sName = GetEventName(EventId);
    return sName.isEmpty() ? Refuse("invalid function prototype", RUN_BAD_PROTOTYPE)
                           : RunFunction(sName, EventId, 0, nullptr, nullptr);
}

int RunFunction(const QString& sName, int EventId, int NumArgs, const I64* aArgs, I64* pResult)
{
    AssertMainThread("BScript::RunFunction");
    const STATE& s = S();
    if (!s.pScript) {
        return Refuse("Script interpreter not allocated", RUN_NO_SCRIPT);
    }
    if (s.Closing) {
        return Refuse("script is closing", 0);
    }
    if (s.ErrorFlag) {
        return Refuse("syntax error", RUN_SYNTAX_ERROR);
    }
    if (sName.isEmpty()) {
        return Refuse("empty function name", RUN_UNKNOWN);
    }
    if (s.CallDepth >= MAX_CALL_DEPTH) {
        return Refuse("maximum call level reached.", RUN_TOO_DEEP);
    }
    if (NumArgs > MAX_CALL_ARGS) {
        return Refuse("maximum amount of parameters 7 exceeded", RUN_TOO_MANY_ARGS);
    }
    return Exec(sName, EventId, NumArgs, aArgs, pResult);
}

namespace {
/// Logs what nobody has seen: all warnings of a project whose script no longer runs, else the errors that a
/// run went on behind. True if there were any.
bool TellErrors()
{
    const auto& Tell = S().ErrorFlag ? S().Hooks.LogNewWarnings : S().Hooks.LogScriptError;
    return !S().ErrorTexts.isEmpty() && Tell && Tell() > 0;
}

int ExecLogged(const QString& sName, int EventId, int NumArgs, const I64* aArgs, I64* pResult)
{
    if (IsProjectClosing()) {
        LogInfo(QStringLiteral("Not executing script function: %1. Project is about to close").arg(sName));
        return 0;
    }
    LogDebug(QStringLiteral("Executing script function: ") + sName);
    const int Result = RunFunction(sName, EventId, NumArgs, aArgs, pResult);
    // Nobody else tells of an event whose function is left out.
    if (Result == RUN_TOO_DEEP && EventId >= 0) LogError(sName + QStringLiteral(": ") + GetErrorText());
    if (TellErrors() && S().Hooks.ShowConsole) {
        S().Hooks.ShowConsole();
    }
    return Result;
}
} // namespace

int ExecScriptFunction(int EventId)
{
    const QString sName = GetEventName(EventId);
    return sName.isEmpty() ? RunEvent(EventId) : ExecLogged(sName, EventId, 0, nullptr, nullptr);
}

int ExecScriptFunction(const QString& sName, int NumArgs, const I64* aArgs, I64* pResult)
{
    return ExecLogged(sName, -1, NumArgs, aArgs, pResult);
}

} // namespace BScript
